// The loop over points for every kind of surface.
//
// Points that a surface has no shift for pass as they are. Against its direction a shift is found
// by the iteration of the grid shift: the first estimate is the target, each next one is corrected
// by how far its shift misses the target.
#ifndef OPRJ_DATUM_MODEL_POINT_LOOP_H
#define OPRJ_DATUM_MODEL_POINT_LOOP_H

#include <oprj/datum_model.h>

#include <cmath>
#include <limits>

#include "datum/shift/grid_kernels.h"
#include "datum/shift/tally.h"

namespace orvik::oprj {

struct Degrees {
  double lon, lat;
};

/// One turn back for what lies beyond 180 degrees.
inline double wrappedDegrees(double lon) {
  return lon < -180.0 ? lon + 360.0 : lon > 180.0 ? lon - 360.0 : lon;
}

inline constexpr double kDegreesPerRadian = 57.295779513082320877;
inline constexpr double kSecondsPerDegree = 3600.0;

inline Degrees degreesOf(Oprj_Point point) {
  return {wrappedDegrees(point.x * kDegreesPerRadian), point.y * kDegreesPerRadian};
}

/// Folds a latitude over the poles and wraps the longitude.
inline Oprj_Point foldedRadians(Degrees place) {
  if (std::fabs(place.lat) > 90.0) {
    place.lat = std::copysign(180.0, place.lat) - place.lat;
    place.lon += 180.0;
  }
  return {wrappedDegrees(place.lon) / kDegreesPerRadian, place.lat / kDegreesPerRadian};
}

/// Moves points by `at(lon, lat, shift)`, which is false where there is no shift, or against it.
/// Counts and reasons as ShiftSurface::ShiftPoints.
template <class At>
void shiftEach(const At &at, const Oprj_Point *in, Oprj_Point *out, int32_t count, bool inverse,
               Oprj_PointReason *reasons) {
  const auto moved = [&at](Degrees place, Degrees &to) {
    OrvikDatum::Shift by;
    if (!at(wrappedDegrees(place.lon), place.lat, by)) return false;
    to = {place.lon + by.east / kSecondsPerDegree, place.lat + by.north / kSecondsPerDegree};
    return std::isfinite(to.lon) && std::isfinite(to.lat);
  };
  Oprj_ShiftTally &tally = shiftTally();
  const auto pass = [&](int32_t k, Oprj_Point point) {
    out[k] = point;
    ++tally.unshifted;
    if (reasons) reasons[k] = OPRJ_POINT_OUTSIDE_GRID;
  };
  for (int32_t k = 0; k < count; ++k) {
    const Oprj_Point point = in[k];
    if (!std::isfinite(point.x) || !std::isfinite(point.y)) {
      constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
      out[k] = std::isnan(point.x) || std::isnan(point.y) ? Oprj_Point{kNaN, kNaN} : point;
      continue;
    }
    const Degrees target = degreesOf(point);
    Degrees to;
    if (!inverse) {
      if (moved(target, to)) out[k] = foldedRadians(to);
      else pass(k, point);
      continue;
    }
    Degrees estimate = target;
    for (int round = 1;; ++round) {
      const bool here = moved(estimate, to);
      if (!here) to = estimate;
      const double lonError = to.lon - target.lon, latError = to.lat - target.lat;
      const bool moves =
          std::fabs(lonError) > kInverseTolerance || std::fabs(latError) > kInverseTolerance;
      if (moves && round < kInverseRounds) {
        estimate = {estimate.lon - lonError, estimate.lat - latError};
        continue;
      }
      if (!here && !moves) {
        pass(k, point);
        break;
      }
      out[k] = foldedRadians(estimate);
      if (moves) {
        ++tally.unconverged;
        if (reasons) reasons[k] = OPRJ_POINT_NO_CONVERGENCE;
      }
      break;
    }
  }
}

}  // namespace orvik::oprj

#endif
