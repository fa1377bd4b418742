// Records on their way into and out of the toolkit's objects, whose texts are UTF-8 in both
// libraries.
#ifndef OPRJ_TABLES_TOOLKIT_RECORD_H
#define OPRJ_TABLES_TOOLKIT_RECORD_H

#include <oprj/omif_object.h>

#include "records/records.h"

namespace orvik::oprj {

#if defined(OPRJ_WIDE)

/// A record of one of the library's own designs as the toolkit takes it, borrowing all but its
/// texts. Null with a report: 1 "Out of memory", 2 "A text is no UTF-16".
class ToolkitRecord {
 public:
  ToolkitRecord(const Omif_Design *design, const void *record, Oerr_Report **err);
  ~ToolkitRecord();
  ToolkitRecord(const ToolkitRecord &) = delete;
  ToolkitRecord &operator=(const ToolkitRecord &) = delete;
  explicit operator bool() const { return record_ != nullptr; }
  const void *get() const { return record_; }

 private:
  void *mirror(const Omif_Design *design, const void *record);
  void mirrorTexts(const Omif_Design *design, char *record);
  void *hold(void *block);

  toolkit::HeapVector<void *> blocks_;
  const void *record_ = nullptr;
};

/// What the toolkit has read becomes a record of the library: its texts are stored anew. False with
/// the report 1 "Out of memory"; the record is to be freed then.
bool takeTexts(const Omif_Design *design, void *record, Oerr_Report **err);

#else

class ToolkitRecord {
 public:
  ToolkitRecord(const Omif_Design *, const void *record, Oerr_Report **) : record_(record) {}
  explicit operator bool() const { return true; }
  const void *get() const { return record_; }

 private:
  const void *record_;
};
inline bool takeTexts(const Omif_Design *, void *, Oerr_Report **) { return true; }

#endif

}  // namespace orvik::oprj

#endif
