// Ends of the globe, for the families: the central meridian, the difference from it, poles, and the
// longitude on sheets that repeat (the cylindrical projections).
#ifndef OPRJ_LONGITUDE_H
#define OPRJ_LONGITUDE_H

#include "projections/family.h"

namespace orvik::oprj::OPRJ_SET {

/// An entry as the central meridian of the formulas: within (-pi, pi].
inline double meridianOf(double entry) { return adjustLongitude(adjustLongitude(entry)); }

/// The parallel of entry 5 is a pole or no latitude.
inline constexpr ValueCheck kParallelAtPole{
    [](const Entries &p, const Ellipsoid &) { return __builtin_cos(p[5]) <= kClose; },
    "Improper parameter"};

/// adjustLongitude for the difference of two wrapped longitudes, |x| <= 2 pi: the same bits without
/// its division.
template <class V>
OPRJ_INLINE V wrapDifference(V x) {
  return select(x > V(kPi), x - V(kTwoPi), select(x > V(-kPi), x, x + V(kTwoPi)));
}

template <class V>
OPRJ_INLINE Truth<V> atPole(V lat) {
  return abs(lat) >= V(kHalfPi - kClose);
}

/// The longitude `east` radians east of lon0 on a sheet that repeats: up to a full turn is wrapped,
/// farther out there is no place on the globe.
template <class V>
OPRJ_INLINE V repeatedLongitude(double lon0, V east, Stops<V> &stop) {
  stop.when(abs(east) > V(kTwoPi + kClose), kInputData);
  return wrapDifference(V(lon0) + adjustLongitude(east));
}

}  // namespace orvik::oprj::OPRJ_SET

#endif
