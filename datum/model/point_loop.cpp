// The loop over points for every kind of surface.
//
// Points that a surface has no shift for pass as they are. Against its direction a shift is found
// by the iteration of the grid shift: the first estimate is the target, each next one is corrected
// by how far its shift misses the target. Surfaces are asked for the shifts of a group at a time,
// later rounds of the iteration for those of its points that still move.
#include <oprj/datum_model.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "datum/degrees.h"
#include "datum/shift/grid_kernels.h"
#include "datum/shift/tally.h"
#include "toolkit/error_scope.h"

namespace OrvikDatum {

using namespace orvik::oprj;
using orvik::toolkit::ErrorScope;

namespace {

constexpr int32_t kGroupPoints = 256;  // 20 KB on the stack

/// Folds a latitude over the poles and wraps the longitude.
Oprj_Point foldedRadians(Degrees place) {
  if (std::fabs(place.lat) > 90.0) {
    place.lat = std::copysign(180.0, place.lat) - place.lat;
    place.lon += 180.0;
  }
  return {wrappedDegrees(place.lon) / kDegreesPerRadian, place.lat / kDegreesPerRadian};
}

/// The points of a group that are not done yet.
struct Group {
  struct Moving {
    int32_t index;  ///< in the group
    Degrees target, estimate;
  };
  int32_t count = 0;
  Moving points[kGroupPoints];

  /// Takes the points with numbers; the others are done: NaN makes a pair of NaN, infinity stays.
  Group(const Oprj_Point *in, Oprj_Point *out, int32_t total) {
    for (int32_t k = 0; k < total; ++k) {
      const Oprj_Point point = in[k];
      if (std::isfinite(point.x) && std::isfinite(point.y)) {
        const Degrees place = degreesOf(point);
        points[count++] = {k, place, place};
      } else {
        constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
        out[k] = std::isnan(point.x) || std::isnan(point.y) ? Oprj_Point{kNaN, kNaN} : point;
      }
    }
  }
};

/// Where shifted points go, and what is told of them.
struct Results {
  const Oprj_Point *in;
  Oprj_Point *out;
  Oprj_PointReason *reasons;  ///< may be null
  Oprj_ShiftTally &tally;

  void pass(int32_t k) {
    out[k] = in[k];
    ++tally.unshifted;
    if (reasons) reasons[k] = OPRJ_POINT_OUTSIDE_GRID;
  }
  void move(int32_t k, Degrees to) { out[k] = foldedRadians(to); }
  void giveUp(int32_t k, Degrees to) {
    move(k, to);
    ++tally.unconverged;
    if (reasons) reasons[k] = OPRJ_POINT_NO_CONVERGENCE;
  }
};

/// One round against the direction of shifts: true when the point needs another one.
bool corrected(Group::Moving &point, const Degrees *shifted, int round, Results &results) {
  const Degrees to = shifted ? *shifted : point.estimate;
  const double lonError = to.lon - point.target.lon, latError = to.lat - point.target.lat;
  const bool moves =
      std::fabs(lonError) > kInverseTolerance || std::fabs(latError) > kInverseTolerance;
  if (moves && round < kInverseRounds) {
    point.estimate = {point.estimate.lon - lonError, point.estimate.lat - latError};
    return true;
  }
  if (moves) results.giveUp(point.index, point.estimate);
  else if (shifted) results.move(point.index, point.estimate);
  else results.pass(point.index);
  return false;
}

bool shiftGroup(const ShiftSurface &surface, Group &group, bool inverse, Results &results,
                Oerr_Report **err) {
  for (int round = 1; group.count > 0; ++round) {
    double lonLat[2 * kGroupPoints];
    Shift by[kGroupPoints];
    for (int32_t i = 0; i < group.count; ++i) {
      lonLat[2 * i] = wrappedDegrees(group.points[i].estimate.lon);
      lonLat[2 * i + 1] = group.points[i].estimate.lat;
    }
    if (!surface.GetShifts(lonLat, by, group.count, err)) return false;
    int32_t left = 0;
    for (int32_t i = 0; i < group.count; ++i) {
      Group::Moving &point = group.points[i];
      const Degrees to = {point.estimate.lon + by[i].east / kSecondsPerDegree,
                          point.estimate.lat + by[i].north / kSecondsPerDegree};
      const bool shifted = std::isfinite(to.lon) && std::isfinite(to.lat);
      if (inverse) {
        if (corrected(point, shifted ? &to : nullptr, round, results)) group.points[left++] = point;
      } else if (shifted) {
        results.move(point.index, to);
      } else {
        results.pass(point.index);
      }
    }
    group.count = left;
  }
  return true;
}

}  // namespace

bool ShiftSurface::GetShifts(const double *lonLat, Shift *shifts, int32_t count,
                             Oerr_Report **) const {
  for (int32_t k = 0; k < count; ++k)
    if (!GetShift(lonLat[2 * k], lonLat[2 * k + 1], shifts[k])) shifts[k] = NoShift();
  return true;
}

bool ShiftSurface::ShiftPoints(const Oprj_Point *in, Oprj_Point *out, int32_t count, bool inverse,
                               Oerr_Report **err) const {
  return ShiftPoints(in, out, count, inverse, nullptr, err);
}

bool ShiftSurface::ShiftPoints(const Oprj_Point *in, Oprj_Point *out, int32_t count, bool inverse,
                               Oprj_PointReason *reasons, Oerr_Report **err) const {
  ErrorScope e("ShiftSurface::ShiftPoints", err);
  if (!in || !out || count < 1) return e.fail(1, "Empty argument(s).");
  if (IsVertical()) return e.fail(2, "A vertical surface has no horizontal shifts");
  Oprj_ShiftTally tally{};
  for (int32_t done = 0; done < count; done += kGroupPoints) {
    Group group(in + done, out + done, std::min(count - done, kGroupPoints));
    Results results = {in + done, out + done, reasons ? reasons + done : nullptr, tally};
    if (!shiftGroup(*this, group, inverse, results, e.cause()))
      return e.fail(3, "The surface cannot tell its shifts");
  }
  shiftTally().unshifted += tally.unshifted;
  shiftTally().unconverged += tally.unconverged;
  return true;
}

}  // namespace OrvikDatum
