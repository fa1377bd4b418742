// Pseudocylindrical projections of the sphere of radius a: parallels are straight lines at the
// height h(phi), which meridians divide evenly, x = a dlam w(phi), y = a h(phi).
//
// Reads entries 4 (central meridian), 6 and 7 (false easting and northing), some also 5 (a
// parallel). A family is a struct derived from this one with its row and
//
//   static constexpr double kTop;                               // h of the pole, or top() of its
//   own template <class V> static Line<V> parallel(const Block &, V lat);     // height and width
//   template <class V> static Place<V> place(const Block &, V height);    // latitude and width
//
// Domain: the whole globe; the inverse takes the sheet between the poles and the outer meridians,
// and 0.6 mm beyond.
#ifndef OPRJ_PSEUDOCYLINDRICAL_H
#define OPRJ_PSEUDOCYLINDRICAL_H

#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

/// So far below the pole (in units of a) no outline runs so flat that `kClose` nearer to the middle
/// its parallels were longer by as much as kFarBeside.
inline constexpr double kFlatAtPole = 1e-4, kFarBeside = 1e-5;

struct PseudocylindricalBlock {
  double a, e, es;
  double lon0, parallel, falseEast, falseNorth;
  double perA, cosParallel, isometricParallel;  // 1 / a; of the parallel on the sphere
};

/// A parallel on the sheet over a: its height, and its length over that of its longitudes.
template <class V>
struct Line {
  V height, width;
};
/// The latitude of a height, and the width there.
template <class V>
struct Place {
  V lat, width;
};

/// The latitude of a sine, given also what is missing to that of the pole, which a pole line tells
/// to more digits: 1 - |sine|.
template <class V>
OPRJ_INLINE V latitudeOfSine(V sine, V missing) {
  return atan2(sine, sqrt(max(missing, V(0.0)) * (1.0 + abs(sine))));
}

constexpr Row worldMapRow(int32_t number) {
  return {
      .number = number, .minimum = 8, .angles = entries(4), .compared = entries(4) | entries(6, 7)};
}
constexpr Row parallelRow(int32_t number) {
  return {.number = number, .minimum = 8, .angles = entries(4, 5), .compared = entries(4, 7)};
}

template <class Family>
struct Pseudocylindrical : FamilyBase<PseudocylindricalBlock> {
  static bool derive(const Entries &p, const Ellipsoid &s, PseudocylindricalBlock &b) {
    const double parallel = Family::row.angles & entries(5) ? p[5] : 0.0;
    b = {s.a,  s.e,  s.es,      meridianOf(p[4]),        parallel,
         p[6], p[7], 1.0 / s.a, __builtin_cos(parallel), __builtin_asinh(__builtin_tan(parallel))};
    return true;
  }

  template <class V>
  OPRJ_INLINE static V top(const Block &, V) {
    return Family::kTop;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &) {
    const V dLon = wrapDifference(lon - V(b.lon0));
    const Line<V> line = Family::parallel(b, lat);
    return {fma(b.a * line.width, dLon, V(b.falseEast)), fma(V(b.a), line.height, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V height = (y - V(b.falseNorth)) * b.perA, side = (x - V(b.falseEast)) * b.perA;
    const V top = Family::top(b, height), magnitude = min(abs(height), top);
    stop.when(abs(height) > top + kClose, kInputData);
    const Place<V> at = Family::place(b, copysign(magnitude, height));
    const Truth<V> beyond = abs(side) > kPi * at.width;
    if (any(beyond)) [[unlikely]] {
      // where the outline runs flat, by the parallel 0.6 mm nearer to the middle
      V width = at.width;
      const Truth<V> near =
          (abs(side) <= fma(V(kPi), width, V(kFarBeside))) | (magnitude > top - kFlatAtPole);
      if (any(beyond & near)) {
        const V nearer = copysign(max(magnitude - kClose, V(0.0)), height);
        width = max(Family::place(b, nearer).width, width);
      }
      stop.when(beyond & (abs(side) > fma(V(kPi), width, V(kClose))), kInputData);
    }
    const V dLon = select(at.width > V(0.0), clampTo(side / at.width, kPi), V(0.0));
    return {wrapDifference(b.lon0 + dLon), at.lat};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

#endif
