// Wagner VII: Lambert's azimuthal equal-area projection of a part of the globe (latitudes within 65
// degrees, a third of the longitudes), stretched. [SnyderVoxland89].
//
// Reads entries 4 (central meridian), 6 and 7 (false easting and northing). A sphere of radius a.
// Domain: the whole globe; the poles are curved lines. The inverse takes the projected globe.
// The parallels crowd at the pole lines, where the sheet holds the
// latitude to 6e-16/psi rad only, psi the distance from the pole in radians, 3e-8 rad at worst.
// Kept: sin 65 degrees and the two scales to five places (0.90631, 2.66723, 1.24104).
#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

struct WagnerVIIBlock {
  double a, e, es;
  double lon0, falseEast, falseNorth;
};

struct WagnerVII : FamilyBase<WagnerVIIBlock> {
  static constexpr Row row{
      .number = 32, .minimum = 8, .angles = entries(4), .compared = entries(4) | entries(6, 7)};
  static constexpr double kShare = 0.90631;  // sine of the latitude that the pole becomes
  static constexpr double kEast = 2.66723, kNorth = 1.24104;

  static bool derive(const Entries &p, const Ellipsoid &s, WagnerVIIBlock &b) {
    b = {s.a, s.e, s.es, meridianOf(p[4]), p[6], p[7]};
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &) {
    const Projected<V> p = onUnitSphere(wrapDifference(lon - V(b.lon0)), sin(lat));
    return {b.a * p.x + b.falseEast, b.a * p.y + b.falseNorth};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const double perMetre = 1.0 / b.a;
    const V east = (x - V(b.falseEast)) * perMetre, north = (y - V(b.falseNorth)) * perMetre;
    const V t1 = east * (1.0 / kEast), t2 = north * (1.0 / kNorth);
    const V p2 = fma(t1, t1, t2 * t2);  // (2 sin(c/2))², c the distance from the centre
    const V h = sqrt(max(fma(p2, V(-0.25), V(1.0)), V(0.0)));
    V sine = t2 * h * (1.0 / kShare);
    V dLon = 3.0 * atan2(t1 * h, fma(p2, V(-0.5), V(1.0)));
    const Truth<V> beyond = (abs(sine) > V(1.0)) | (abs(dLon) > V(kPi)) | (p2 > V(4.0));
    if (any(beyond)) {
      // off the sheet when the nearest place on its outline is too far away
      sine = clampToUnit(sine);
      dLon = clampTo(dLon, kPi);
      const Projected<V> edge = onUnitSphere(dLon, sine);
      const Truth<V> near = square(edge.x - east) + square(edge.y - north) <= V(kClose * kClose);
      stop.when(beyond & ~near, kInputData);
    }
    return {wrapDifference(b.lon0 + dLon), asin(sine)};
  }

 private:
  template <class V>
  static Projected<V> onUnitSphere(V dLon, V sinLat) {
    const SinCos<V> l = sincos(dLon * (1.0 / 3));
    const V s = kShare * sinLat, c0 = sqrt((1.0 - s) * (1.0 + s));
    const V c1 = sqrt(2.0 / fma(c0, l.cos, V(1.0)));
    return {kEast * c0 * c1 * l.sin, kNorth * s * c1};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(WagnerVII, oprj_WagnerVIIInit, oprj_WagnerVIIFromLL, oprj_WagnerVIIToLL,
            oprj_WagnerVIICopyParameters, oprj_WagnerVIIProParametersEqual)
