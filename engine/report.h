// The report of a thread's last engine function: these have no error slot.
#ifndef OPRJ_ENGINE_REPORT_H
#define OPRJ_ENGINE_REPORT_H

#include "toolkit/error_scope.h"

namespace orvik::engine {

/// Replaces the thread's report (null: none), which then belongs to the thread.
void keepReport(Oerr_Report *report);

struct ReportHolder {
  Oerr_Report *kept = nullptr;
};

/// The error scope of an engine function: what it reports becomes the thread's.
class Call : private ReportHolder, public toolkit::ErrorScope {
 public:
  explicit Call(const char *function) : ErrorScope(function, &kept) {}
  ~Call() { keepReport(kept); }
  /// Gives the report its kind (oerr_KindSet).
  void setKind(int32_t kind) {
    if (kept) oerr_KindSet(kept, kind);
  }
};

}  // namespace orvik::engine

#endif
