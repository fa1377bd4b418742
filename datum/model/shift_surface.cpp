// What all surfaces share, and the two that need no file.
#include <cmath>

#include "datum/model/make.h"
#include "datum/model/point_loop.h"
#include "datum/shift/regression_equations.h"
#include "datum/shift/regression_shift.h"

using namespace orvik::oprj;
using orvik::toolkit::ErrorScope;
using orvik::toolkit::HeapAllocator;

namespace OrvikDatum {

void *HeapObject::operator new(size_t size) { return HeapAllocator<char>().allocate(size); }
void HeapObject::operator delete(void *block) { omsc_HeapFree(block); }

// --- every surface ---

ShiftSurface::ShiftSurface() = default;
ShiftSurface::~ShiftSurface() = default;

bool ShiftSurface::IsVertical() const { return false; }

bool ShiftSurface::ShiftPoints(const Oprj_Point *in, Oprj_Point *out, int32_t count, bool inverse,
                               Oerr_Report **err) const {
  return ShiftPoints(in, out, count, inverse, nullptr, err);
}

bool ShiftSurface::ShiftPoints(const Oprj_Point *in, Oprj_Point *out, int32_t count, bool inverse,
                               Oprj_PointReason *reasons, Oerr_Report **err) const {
  ErrorScope e("ShiftSurface::ShiftPoints", err);
  if (!in || !out || count < 1) return e.fail(1, "Empty argument(s).");
  if (IsVertical()) return e.fail(2, "A vertical surface has no horizontal shifts");
  if (!Run(in, out, count, inverse, reasons, e.cause()))
    return e.fail(3, "The surface cannot tell its shifts");
  return true;
}

bool ShiftSurface::Run(const Oprj_Point *in, Oprj_Point *out, int32_t count, bool inverse,
                       Oprj_PointReason *reasons, Oerr_Report **) const {
  const auto at = [this](double lon, double lat, Shift &shift) {
    return GetShift(lon, lat, shift);
  };
  shiftEach(at, in, out, count, inverse, reasons);
  return true;
}

// --- constant ---

ConstantShiftSurface::ConstantShiftSurface(double east, double north) : shift_{east, north, 0.0} {}

ConstantShiftSurface::Ptr ConstantShiftSurface::Make(double east, double north, Oerr_Report **err) {
  ErrorScope e("ConstantShiftSurface::Make", err);
  constexpr double kMost = 90.0 * kSecondsPerDegree;  // beyond, a point folds over a pole twice
  if (!(std::fabs(east) <= kMost && std::fabs(north) <= kMost)) {
    e.fail(1, "Invalid shift");
    return Ptr();
  }
  return guardedMake<Ptr>(e, 2, [&] { return shared(new ConstantShiftSurface(east, north)); });
}

ShiftSurfaceKind ConstantShiftSurface::GetKind() const { return ShiftSurfaceKind::Constant; }
bool ConstantShiftSurface::GetExtent(Extent &) const { return false; }
bool ConstantShiftSurface::GetShift(double, double, Shift &shift) const {
  shift = shift_;
  return true;
}

bool ConstantShiftSurface::Run(const Oprj_Point *in, Oprj_Point *out, int32_t count, bool inverse,
                               Oprj_PointReason *reasons, Oerr_Report **) const {
  const auto at = [by = shift_](double, double, Shift &shift) {
    shift = by;
    return true;
  };
  shiftEach(at, in, out, count, inverse, reasons);
  return true;
}

// --- regression ---

RegressionShiftSurface::RegressionShiftSurface(int equations) : equations_(equations) {}

RegressionShiftSurface::Ptr RegressionShiftSurface::Make(const char *datumName, Oerr_Report **err) {
  ErrorScope e("RegressionShiftSurface::Make", err);
  const int32_t equations = equationsOf(datumName);
  if (equations < 0) {
    e.fail(1, "Datum \"%s\" has no regression equations", datumName ? datumName : "");
    return Ptr();
  }
  return guardedMake<Ptr>(e, 2, [&] { return shared(new RegressionShiftSurface(equations)); });
}

ShiftSurfaceKind RegressionShiftSurface::GetKind() const { return ShiftSurfaceKind::Regression; }

bool RegressionShiftSurface::GetExtent(Extent &extent) const {
  const auto &area = kRegressions[equations_].area;
  extent = {area.west, area.south, area.east, area.north};
  return true;
}

bool RegressionShiftSurface::GetShift(double lon, double lat, Shift &shift) const {
  const auto &area = kRegressions[equations_].area;
  if (!(area.west <= lon && lon <= area.east && area.south <= lat && lat <= area.north))
    return false;
  const Oprj_Point from = {lon / kDegreesPerRadian, lat / kDegreesPerRadian};
  const Oprj_Point to = movedByRegression(equations_, from);
  constexpr double kSecondsPerRadian = kDegreesPerRadian * kSecondsPerDegree;
  shift = {(to.x - from.x) * kSecondsPerRadian, (to.y - from.y) * kSecondsPerRadian, 0.0};
  return true;
}

}  // namespace OrvikDatum
