// The function sets that a handle can name, and what they share. A set is a constant table; a
// handle reaches its set through its title.
#ifndef OPRJ_PIPELINE_FUNCTION_SETS_H
#define OPRJ_PIPELINE_FUNCTION_SETS_H

#include <oprj/projection.h>

#include <cstring>

#include "records/records.h"

namespace orvik::oprj {

using OwnedHandle = Owner<Oprj_MapProjectionEx, oprj_ProjectionFree>;

/// Titled OPRJ_TITLE_NATIVE: the data is an Oprj_MapProjection.
extern const Oprj_MapProjectionFunctions kNativeSet;

/// Its two point operations. Inlined, they spare single points a call, and an indirect one.
template <bool kForward>
inline void nativeLeg(void *data, const Oprj_Point *in, Oprj_Point *out, int32_t count,
                      Oerr_Report **err) {
  const auto *projection = static_cast<const Oprj_MapProjection *>(data);
  const auto run = !projection ? nullptr : kForward ? projection->fromLL : projection->toLL;
  Oerr_Report *cause = nullptr;
  if (run) run(in, projection->parameters, out, count, &cause);
  if (err) *err = nullptr;
  if (run && !cause) [[likely]]
    return;  // no scope where there is nothing to report
  ErrorScope e(kForward ? "nativeProjectionApply" : "nativeProjectionApplyInverse", err);
  if (!run) return void(e.fail(2, "conversion not supported"));
  *e.cause() = cause;
  e.fail(1, kForward ? "fromLL failed" : "toLL failed");
}
/// The point operation of a handle that has one.
template <bool kForward>
inline void runLeg(const Oprj_MapProjectionEx &handle, const Oprj_Point *in, Oprj_Point *out,
                   int32_t count, Oerr_Report **err) {
  const auto leg = kForward ? handle.apply : handle.applyInverse;
  if (leg == nativeLeg<kForward>) [[likely]]
    nativeLeg<kForward>(handle.ownedData, in, out, count, err);
  else leg(handle.ownedData, in, out, count, err);
}

/// Its portable form, which the room that knows the designs supplies (interchange/mifable.cpp).
void *nativeProjectionConvertFromMIFable(const void *object, const Omif_Design *design,
                                         Oerr_Report **err);
void *nativeProjectionConvertToMIFable(const void *data, const Omif_Design **design,
                                       Oerr_Report **err);

/// The set with that title, null for any other.
const Oprj_MapProjectionFunctions *functionsFromTitle(const char *title);

/// Every operation reports "Unimplemented": what a further set starts from. No title reaches it.
extern const Oprj_MapProjectionFunctions kDefaultSet;

/// What the room that binds the Projection Engine supplies (interchange/engine_set.cpp): the set
/// titled OPRJ_TITLE_PE and the reader of its objects.
struct EngineSet {
  Oprj_MapProjectionFunctions functions;
  /// A new coordinate system object from its text, or null with a report.
  void *(*fromString)(const char *text, Oerr_Report **err);
  /// The same of the native set's data, its points in a unit (null: metres or degrees).
  void *(*fromNative)(void *data, const char *unitName, Oerr_Report **err);
};
extern const EngineSet kEngineSet;

/// An internal record whose executable name holds text: the text describes the system, and the set
/// titled OPRJ_TITLE_PE computes it.
bool asksForEngine(const Oprj_ProParameters &record);

/// Whether the text that such a record holds is of a geographic system.
bool holdsGeographicText(const Oprj_ProParameters &record);

/// A record that holds a text has number 0, whatever its system is: the text goes before.
inline bool isGeographic(const Oprj_ProParameters &record) {
  return record.proType == OPRJ_INTERNAL && record.proNumber == 0 &&
         (!asksForEngine(record) || holdsGeographicText(record));
}

/// Titles are compared by pointer, then by text.
inline bool sameTitle(const char *first, const char *second) {
  return first == second || (first && second && std::strcmp(first, second) == 0);
}

/// Whether points between the two geographic systems are to be shifted: both spheroids and their
/// datums are named, neither datum is of the undefined type, and the datum names differ, case
/// included.
bool shiftDue(const Oprj_Spheroid *source, const Oprj_Spheroid *target);

/// A point count as an array length.
inline uint32_t arrayLength(int32_t count) { return count > 0 ? static_cast<uint32_t>(count) : 0; }

}  // namespace orvik::oprj

#endif
