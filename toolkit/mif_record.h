// Records in memory by the plan of their design.
#ifndef OPRJ_TOOLKIT_MIF_RECORD_H
#define OPRJ_TOOLKIT_MIF_RECORD_H

#include <utility>

#include "toolkit/mif_plan.h"

namespace orvik::toolkit::mif {

/// The member that a step speaks of.
template <class T>
T &at(char *record, const Step &step) {
  return *reinterpret_cast<T *>(record + step.offset);
}
template <class T>
const T &at(const char *record, const Step &step) {
  return *reinterpret_cast<const T *>(record + step.offset);
}

/// Zeroed memory of the counted heap; throws std::bad_alloc.
inline void *allocate(size_t size) { return HeapAllocator<char>().allocate(size); }

/// Frees what the items own.
void freeItems(const Plan &plan, char *record);
/// Copies into a record of zeros, which is whole at any moment.
void copyItems(const Plan &plan, const char *source, char *target);
void exchangeItems(const Plan &plan, char *first, char *second);

/// A record that is being filled; it goes with what it has when something is refused.
class NewRecord {
 public:
  explicit NewRecord(const Plan &plan)
      : plan_(plan), record_(static_cast<char *>(allocate(plan.hostSize))) {}
  ~NewRecord() {
    if (!record_) return;
    freeItems(plan_, record_);
    omsc_HeapFree(record_);
  }
  NewRecord(const NewRecord &) = delete;
  NewRecord &operator=(const NewRecord &) = delete;

  char *get() { return record_; }
  /// The record itself, or its items in the place of those of `target`.
  void *give(void *target) {
    if (!target) return std::exchange(record_, nullptr);
    exchangeItems(plan_, record_, static_cast<char *>(target));
    return target;
  }

 private:
  const Plan &plan_;
  char *record_;
};

}  // namespace orvik::toolkit::mif

#endif
