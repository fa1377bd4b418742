// What goes wrong below, on its way to Python: a chain of reports becomes an exception of
// oprj.errors.
#ifndef OPRJ_PYTHON_FAILURE_H
#define OPRJ_PYTHON_FAILURE_H

#include <oprj/oprj.h>

#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace oprj_python {

/// The name of an exception class of oprj.errors.
enum class Trouble { kError, kSystem };

struct Report {
  std::string function;
  int32_t code, severity;
  std::string message;
};

/// A chain of reports, outermost first. No Python object: it may be thrown without the lock.
struct Failure : std::exception {
  Failure(Trouble kind, const Oerr_Report *report);
  Failure(Trouble kind, std::string message);
  const char *what() const noexcept override { return reports.front().message.c_str(); }

  Trouble trouble;
  std::vector<Report> reports;
  std::vector<std::string> suggestions;
};

std::vector<Report> chainOf(const Oerr_Report *report);

/// An error slot that frees its report.
class Slot {
 public:
  Slot() = default;
  ~Slot() { oerr_DeleteErrorReport(&report_); }
  Slot(const Slot &) = delete;
  Slot &operator=(const Slot &) = delete;
  /// The slot to hand to an operation, emptied.
  Oerr_Report **get() {
    oerr_DeleteErrorReport(&report_);
    return &report_;
  }
  const Oerr_Report *report() const { return report_; }
  explicit operator bool() const { return report_ != nullptr; }
  Failure failure(Trouble kind = Trouble::kError) const { return {kind, report_}; }

 private:
  Oerr_Report *report_ = nullptr;
};

template <auto Free>
struct FreeBy {
  template <class T>
  void operator()(T *record) const {
    Free(&record);
  }
};
template <class T, auto Free>
using Owned = std::unique_ptr<T, FreeBy<Free>>;

struct FreeText {
  void operator()(char *text) const { omsc_HeapFree(text); }
};
using OwnedText = std::unique_ptr<char, FreeText>;

}  // namespace oprj_python

#endif
