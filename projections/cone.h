// What the conic projections share: the check of their standard parallels and the fan on the sheet.
//
// Everything is kept finite for the smallest cone constants n that the check lets through (1e-10,
// where rho is 1e17 m): r = n rho / a stands for the radius, and northings are differences of radii
// that the family forms without subtracting them.
#ifndef OPRJ_CONE_H
#define OPRJ_CONE_H

#include <cmath>

#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

/// Entries 2 and 3 are one latitude on both sides of the equator: a cylinder.
inline constexpr ValueCheck kOppositeParallels{
    [](const Entries &p, const Ellipsoid &) { return std::fabs(p[2] + p[3]) <= kClose; },
    "Equal latitudes for st. parallels on opposite sides of equator"};
/// Parallels this close are one: n is then the sine of the latitude.
inline bool oneParallel(double phi1, double phi2) { return std::fabs(phi1 - phi2) < kClose; }

/// False for poles and for entries that mean no latitude (degrees given for radians, say).
inline bool betweenPoles(double phi) { return std::cos(phi) > kClose; }

/// sin b - sin a without cancellation.
inline double sineDifference(double a, double b) {
  return 2.0 * std::cos(0.5 * (a + b)) * std::sin(0.5 * (b - a));
}
/// sin² b - sin² a without cancellation.
inline double squaredSineDifference(double a, double b) {
  return std::sin(a + b) * std::sin(b - a);
}

/// A place on the fan over a, from the radius r = n rho / a of its parallel, the parallel's height
/// `rise` = (rho0 - rho) / a on the central meridian and the longitude's difference from there:
/// x = rho sin theta, y = rho0 - rho + 2 rho sin²(theta / 2), theta = n dLon.
template <class V>
OPRJ_INLINE Projected<V> ontoFan(double n, V r, V rise, V dLon) {
  const SinCos<V> half = sincos(V(0.5 * n) * dLon);
  const V chord = V(2.0 / n) * r * half.sin;
  return {chord * half.cos, fma(chord, half.sin, rise)};
}

/// Keeps heights defined where the origin and the point are both at the apex.
inline constexpr double kAtApex = 1e-300;

/// The way back: n times the place's distances over a from the central meridian and from the apex.
template <class V>
struct Fan {
  V across, toApex;
};
template <class V>
OPRJ_INLINE Fan<V> fanOf(double n, double r0, V x, V y) {
  return {V(n) * x, fma(V(-n), y, V(r0))};
}
template <class V>
OPRJ_INLINE V squaredRadius(Fan<V> p) {
  return fma(p.across, p.across, p.toApex * p.toApex);
}

/// Its longitude. The wedge that the fan leaves open is no place on the globe; within 0.6 mm of its
/// edge (on the sheet, for the scale 1) a place counts as on the edge, and that close to the apex
/// as on the central meridian.
template <class V>
OPRJ_INLINE V fanLongitude(double n, double lon0, Fan<V> p, V r2, Stops<V> &stop) {
  const V dLon = atan2(p.across, p.toApex) * V(1.0 / n);
  const V beyond = max(abs(dLon) - V(kPi), V(0.0));
  stop.when(r2 * beyond * beyond > V(kClose * kClose), kInputData);
  return select(r2 <= V(kClose * kClose), V(lon0), wrapDifference(V(lon0) + clampTo(dLon, kPi)));
}

}  // namespace orvik::oprj::OPRJ_SET

#endif
