// What all surfaces share, and the two that need no file.
#include <oprj/datum_model.h>

#include <algorithm>
#include <cmath>

#include "datum/degrees.h"
#include "datum/model/make.h"
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

bool ConstantShiftSurface::GetShifts(const double *, Shift *shifts, int32_t count,
                                     Oerr_Report **) const {
  std::fill_n(shifts, count, shift_);
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
  const double place[2] = {lon, lat};
  return GetShifts(place, &shift, 1, nullptr) && !std::isnan(shift.east);
}

bool RegressionShiftSurface::GetShifts(const double *lonLat, Shift *shifts, int32_t count,
                                       Oerr_Report **) const {
  constexpr double kSecondsPerRadian = kDegreesPerRadian * kSecondsPerDegree;
  constexpr int32_t kTile = 256;
  const auto &area = kRegressions[equations_].area;
  for (int32_t done = 0; done < count; done += kTile) {
    const int32_t tile = std::min(count - done, kTile);
    const double *place = lonLat + 2 * done;
    Oprj_Point from[kTile], to[kTile];
    for (int32_t k = 0; k < tile; ++k)
      from[k] = {place[2 * k] / kDegreesPerRadian, place[2 * k + 1] / kDegreesPerRadian};
    moveByRegression(equations_, from, to, tile);
    for (int32_t k = 0; k < tile; ++k) {
      const double lon = place[2 * k], lat = place[2 * k + 1];
      const bool inside =
          area.west <= lon && lon <= area.east && area.south <= lat && lat <= area.north;
      shifts[done + k] = inside ? Shift{(to[k].x - from[k].x) * kSecondsPerRadian,
                                        (to[k].y - from[k].y) * kSecondsPerRadian, 0.0}
                                : NoShift();
    }
  }
  return true;
}

}  // namespace OrvikDatum
