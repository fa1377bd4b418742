// The one helper behind every operation that takes an error slot.
//
// clang-format off
//   Oprj_Thing *oprj_ThingMake(const Oprj_Other *other, Oerr_Report **err) {
//     ErrorScope e("oprj_ThingMake", err);                    // clears the slot; null is fine
//     if (!other) return e.fail(1, "Invalid input Oprj_Other");
//     auto part = own(oprj_PartMake(other, e.cause()));       // the callee's slot
//     if (!part) return e.fail(2, "Error returned from oprj_PartMake");  // chains its report
//     ...
//   }
// clang-format on
#ifndef OPRJ_ERROR_SCOPE_H
#define OPRJ_ERROR_SCOPE_H

#include <oprj/oerr.h>

#include <cstdarg>
#include <cstdint>
#include <exception>
#include <memory>
#include <new>
#include <utility>

namespace orvik::toolkit {

/// What a failed operation returns: converts to null, 0, 0.0 and false.
struct Failed {
  template <class T>
  operator T *() const {
    return nullptr;
  }
  operator int32_t() const { return 0; }
  operator double() const { return 0.0; }
  operator bool() const { return false; }
};

class ErrorScope {
 public:
  /// Clears the caller's slot without reading it (it may be uninitialised); null: a private one.
  ErrorScope(const char *operation, Oerr_Report **slot)
      : operation_(operation), slot_(slot ? slot : &own_) {
    *slot_ = nullptr;
  }
  ~ErrorScope() {
    drop(cause_);
    drop(own_);
  }
  ErrorScope(const ErrorScope &) = delete;
  ErrorScope &operator=(const ErrorScope &) = delete;

  /// The slot to hand to a callee; an earlier callee's report that was not used is dropped.
  Oerr_Report **cause() {
    drop(cause_);
    return &cause_;
  }
  /// The last callee's report, borrowed; null when it succeeded.
  const Oerr_Report *causeReport() const { return cause_; }
  bool calleeFailed() const { return cause_ != nullptr; }

  /// Reports with severity 2, the last callee's report as cause; an earlier report of this
  /// operation is replaced.
  Failed fail(int32_t code, const char *format, ...) OPRJ_PRINTF(3, 4) {
    va_list values;
    va_start(values, format);
    report(code, OERR_SEVERITY_ERROR, format, values);
    va_end(values);
    return {};
  }
  /// As fail, with the callee's severity.
  Failed failAsCallee(int32_t code, const char *format, ...) OPRJ_PRINTF(3, 4) {
    va_list values;
    va_start(values, format);
    report(code, cause_ ? oerr_SeverityGet(cause_) : OERR_SEVERITY_ERROR, format, values);
    va_end(values);
    return {};
  }
  /// As fail, for a point of an array: its index and coordinates become fields of the report.
  Failed failAtPoint(int64_t index, double x, double y, int32_t code, const char *format, ...)
      OPRJ_PRINTF(6, 7) {
    va_list values;
    va_start(values, format);
    report(code, OERR_SEVERITY_ERROR, format, values);
    va_end(values);
    oerr_PointSet(*slot_, index, x, y);
    return {};
  }
  /// Prints the last callee's report and drops it.
  void printCause() {
    oerr_PrintErrorReport(cause_);
    oerr_DeleteErrorReport(&cause_);
  }
  bool failed() const { return *slot_ != nullptr; }
  const char *operation() const { return operation_; }

 private:
  /// Tested here, so that success costs no call: operations on single points pass several scopes.
  static void drop(Oerr_Report *&report) {
    if (report) oerr_DeleteErrorReport(&report);
  }
  void report(int32_t code, int32_t severity, const char *format, va_list values) {
    Oerr_Report *made = oerr_CreateErrorReportV(operation_, code, severity,
                                                std::exchange(cause_, nullptr), format, values);
    oerr_DeleteErrorReport(slot_);
    *slot_ = made;
  }

  const char *operation_;
  Oerr_Report **slot_;
  Oerr_Report *own_ = nullptr;
  Oerr_Report *cause_ = nullptr;
};

/// Runs a body that may throw (allocation, C++ libraries) and turns an exception into a report of
/// `code`, so that nothing throws across the flat interface.
template <class Body>
auto guarded(ErrorScope &e, int32_t code, Body body) -> decltype(body()) {
  try {
    return body();
  } catch (const std::bad_alloc &) {
    return e.fail(code, "Out of memory");
  } catch (const std::exception &problem) {
    return e.fail(code, "%s", problem.what());
  }
}

/// Deleter for records whose Free operation takes the address of the pointer.
template <auto FreeOperation>
struct FreeBy {
  template <class T>
  void operator()(T *record) const {
    FreeOperation(&record);
  }
};
template <class T, auto FreeOperation>
using Owner = std::unique_ptr<T, FreeBy<FreeOperation>>;

}  // namespace orvik::toolkit

#endif
