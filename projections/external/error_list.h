// The reports that a child sends behind a status that is not 0: fields of five characters ("%5ld")
// and texts. A report is its code, the length of a function's name and the name, its severity, the
// length of a message and the message.
#ifndef OPRJ_PROJECTIONS_EXTERNAL_ERROR_LIST_H
#define OPRJ_PROJECTIONS_EXTERNAL_ERROR_LIST_H

#include <oprj/oerr.h>

#include <cstddef>

namespace orvik::oprj {

/// More than any child has to say; beyond it something else is in the pipe.
inline constexpr size_t kMostListReports = 64, kMostListBytes = 65536;

/// Where the list comes from: takes `size` bytes and answers how many came, fewer only at the end.
struct ListSource {
  size_t (*take)(void *context, char *bytes, size_t size);
  void *context;
};

/// What was read: the first report with the others as its causes, and what is wrong with the rest.
struct ErrorList {
  Oerr_Report *chain = nullptr;
  int32_t problemCode = 0;        ///< 0: all was read
  const char *problem = nullptr;  ///< why the bytes that follow mean nothing
};

/// Reads a list of `announced` bytes, or, where that is 0, one that five blanks or the end of the
/// stream in the place of a code bring to its end.
ErrorList readErrorList(const ListSource &source, size_t announced);

}  // namespace orvik::oprj

#endif
