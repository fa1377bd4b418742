// Owners of the library's records, and the few helpers that every room needs around them.
#ifndef OPRJ_RECORDS_RECORDS_H
#define OPRJ_RECORDS_RECORDS_H

#include <oprj/map_projection.h>
#include <oprj/omsc.h>
#include <oprj/parameters.h>
#include <oprj/values.h>

#include <span>

#include "records/text.h"
#include "toolkit/error_scope.h"
#include "toolkit/heap.h"

namespace orvik::oprj {

using toolkit::ErrorScope;
using toolkit::Failed;
using toolkit::Owner;

using OwnedParameters = Owner<Oprj_ProParameters, oprj_ProParametersFree>;
using OwnedSpheroid = Owner<Oprj_Spheroid, oprj_SpheroidFree>;
using OwnedDatum = Owner<Oprj_Datum, oprj_DatumFree>;
using OwnedPoints = Owner<Oprj_Point, oprj_PointsFree>;
using OwnedMapProjection = Owner<Oprj_MapProjection, oprj_ProjectionPre842Free>;

/// A zeroed record of the toolkit's heap, null when there is no memory.
template <class T>
T *allocateRecord() {
  return static_cast<T *>(omsc_HeapMalloc(sizeof(T)));
}

/// The elements of an array; none for an empty or a broken record.
inline std::span<const double> elementsOf(const Oprj_DblArray &array) {
  if (array.count <= 0 || !array.data) return {};
  return {array.data, static_cast<size_t>(array.count)};
}

/// The entries of a record; an empty array when it counts some but has none.
inline const Oprj_DblArray &entriesOf(const Oprj_ProParameters &record) {
  static constexpr Oprj_DblArray kNone{};
  return elementsOf(record.proParams).empty() ? kNone : record.proParams;
}
inline int32_t entryCount(const Oprj_ProParameters &record) { return entriesOf(record).count; }

/// The name of a datum that is not set; compared without regard to case.
inline constexpr const char *kUndefinedDatum = "Undefined";
/// 1e-9: the tolerance of arrays, coordinates and sizes.
inline constexpr double kValueTolerance = 1e-9;

/// A datum's scale difference beyond this is no datum's: a number meant in ppm would turn the globe
/// over. The largest known ones are of 1e-4.
inline constexpr double kLargestScaleDifference = 0.1;

/// The two differ by at most `tolerance`. NaN equals nothing, an infinity equals itself.
bool within(double first, double second, double tolerance);

/// The datum is missing or bears the name "Undefined".
bool isUndefined(const Oprj_Datum *datum);

/// Both axes are finite and above 0.
bool axesUsable(double a, double b);
/// Stores the axes with e² and the radius of the sphere of equal area; name and datum stay.
void setAxes(Oprj_Spheroid &spheroid, double a, double b);

/// Exchanges the contents of two records, so that a result that was built aside replaces a caller's
/// record all at once. The datum records keep their addresses where both sides have one.
void exchange(Oprj_Spheroid &first, Oprj_Spheroid &second);
void exchange(Oprj_ProParameters &first, Oprj_ProParameters &second);

}  // namespace orvik::oprj

#endif
