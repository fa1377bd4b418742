// Miller Cylindrical of the sphere. [Snyder87] p. 86-89, eqs. 11-1 to 11-7.
//
// Reads entries 4 (central meridian), 6 and 7 (false easting and northing). The sphere has radius
// a. Domain: the whole globe, the poles are lines at y = +-2.30 a; eastward the sheet repeats: the
// inverse wraps longitudes up to a turn from the central meridian and accepts 1e-10 rad (0.6 mm)
// beyond the edges.
// Formulation: y = 1.25 a ln tan(pi/4 + 0.4 phi) = 0.625 a ln((1 + s)/(1 - s)), s = sin(0.8 phi),
// inverse phi = 2.5 atan(exp(0.8 y/a)) - 5 pi/8, both of the magnitude: odd to the last bit.
#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

struct MillerCylindricalBlock {
  double a, e, es;
  double lon0, falseEast, falseNorth;
  double perA;  // 1 / a
};
static_assert(sizeof(MillerCylindricalBlock) == 7 * sizeof(double));

struct MillerCylindrical : FamilyBase<MillerCylindricalBlock> {
  static constexpr Row row{
      .number = 18, .minimum = 8, .angles = entries(4), .compared = entries(4) | entries(6, 7)};

  static bool derive(const Entries &p, const Ellipsoid &s, MillerCylindricalBlock &b) {
    b = {s.a, s.e, s.es, meridianOf(p[4]), p[6], p[7], 1.0 / s.a};
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &) {
    const V dLon = wrapDifference(lon - V(b.lon0));
    const V s = sin(0.8 * lat), north = abs(s);
    const V height = copysign(0.625 * logOfQuotient(1.0 + north, 1.0 - north), s);
    return {fma(V(b.a), dLon, V(b.falseEast)), fma(V(b.a), height, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V v = (y - V(b.falseNorth)) * b.perA;
    const V phi = copysign(2.5 * (0.25 * kPi - atan(exp(-0.8 * abs(v)))), v);
    stop.when(abs(phi) > V(kHalfPi + kClose), kInputData);
    const V lon = repeatedLongitude(b.lon0, (x - V(b.falseEast)) * b.perA, stop);
    return {lon, clampTo(phi, kHalfPi)};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(MillerCylindrical, oprj_MillerCylindricalInit, oprj_MillerCylindricalFromLL,
            oprj_MillerCylindricalToLL, oprj_MillerCylindricalCopyParameters,
            oprj_MillerCylindricalProParametersEqual)
