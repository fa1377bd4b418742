/* The toolkit's global guard: one recursive lock around the making of shared things. */
#ifndef OPRJ_OTHR_H
#define OPRJ_OTHR_H

#include "obase.h"

OPRJ_BEGIN_C

OPRJ_API void othr_ThreadUnsafeCodeEnter(void);
OPRJ_API void othr_ThreadUnsafeCodeExit(void);

OPRJ_END_C

#if defined(__cplusplus)
namespace orvik {
namespace toolkit {
/// Holds the global guard for a block.
class Guard {
 public:
  Guard() { othr_ThreadUnsafeCodeEnter(); }
  ~Guard() { othr_ThreadUnsafeCodeExit(); }
  Guard(const Guard &) = delete;
  Guard &operator=(const Guard &) = delete;
};
}  // namespace toolkit
}  // namespace orvik
#endif

#endif
