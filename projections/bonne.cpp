// Bonne, with Werner's map (parallel at a pole). [Snyder87] p. 138-140, eqs. 19-1 to 19-16.
//
// Reads entries 4 (central meridian), 5 (standard parallel phi1, not the equator), 6 and 7 (false
// easting and northing, at the parallel). Areas are true, parallels are concentric arcs of true
// length. Domain: the whole globe; the inverse takes the sheet and 0.6 mm beyond.
// Formulation: heights are sums of what does not cancel, so that a parallel next to the equator,
// whose arcs have huge radii, loses nothing: y = M - M1 + 2 rho sin²(E/2), and backwards M - M1 =
// rho1 - rho = (2 rho1 y - x² - y²) / (rho1 + rho).
#include "projections/longitude.h"
#include "projections/rectifying_latitude.h"

namespace orvik::oprj::OPRJ_SET {

struct BonneBlock {
  double a, e, es;
  double lon0, lat1, falseEast, falseNorth;
  double distance1, radius1;  // of phi1 over a: from the equator, and of its arc
  double pole;                // of the pole over a, from the equator
  double perA;
  RectifyingLatitude rectifying;
};

struct Bonne : FamilyBase<BonneBlock> {
  static constexpr Row row{
      .number = 49, .minimum = 8, .angles = entries(4, 5), .compared = entries(4, 7)};
  static constexpr ValueCheck checks[] = {{[](const Entries &p, const Ellipsoid &) {
                                             return __builtin_fabs(p[5]) <= kClose ||
                                                    __builtin_fabs(p[5]) > kHalfPi + kClose;
                                           },
                                           "Improper parameter"}};
  static constexpr double kAtPole = 1e-15;  // rad from a pole, where longitudes mean nothing

  static bool derive(const Entries &p, const Ellipsoid &s, BonneBlock &b) {
    if (isTooFlatForSeries(s.es)) return false;
    b = {};
    b.a = s.a;
    b.e = s.e;
    b.es = s.es;
    b.lon0 = meridianOf(p[4]);
    b.lat1 = clampTo(p[5], kHalfPi);
    b.falseEast = p[6];
    b.falseNorth = p[7];
    b.perA = 1.0 / s.a;
    b.rectifying = rectifyingLatitudeOf(s.es);
    const SinCos<double> at = sincos(b.lat1);
    b.distance1 = meridianDistance(b.rectifying, b.lat1, at);
    b.radius1 = parallelRadius(b, at) / at.sin;
    b.pole = kHalfPi * b.rectifying.radius;
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &) {
    const SinCos<V> p = sincos(lat);
    const V rise = meridianDistance(b.rectifying, lat, p) - V(b.distance1);
    const V radius = b.radius1 - rise;
    const V angle = parallelRadius(b, p) * wrapDifference(lon - V(b.lon0)) / radius;
    const SinCos<V> half = sincos(0.5 * notTooFar(angle));
    const V chord = 2.0 * radius * half.sin;
    return {fma(b.a * chord, half.cos, V(b.falseEast)),
            fma(V(b.a), fma(chord, half.sin, rise), V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V east = (x - V(b.falseEast)) * b.perA, north = (y - V(b.falseNorth)) * b.perA;
    const V square2 = fma(east, east, north * north);
    const V toApex = b.radius1 - north;
    const double side = b.radius1 < 0.0 ? -1.0 : 1.0;
    const V radius = side * sqrt(fma(east, east, toApex * toApex));
    const V rise = fma(V(2.0 * b.radius1), north, -square2) / (b.radius1 + radius);
    const V distance = b.distance1 + rise;
    stop.when(abs(distance) > V(b.pole + kClose), kInputData);
    const MeridianPlace<V> at = latitudeAtDistance(b.rectifying, clampTo(distance, b.pole));
    const V arc = radius * atan2(side * east, side * toApex), width = parallelRadius(b, at.of);
    stop.when(abs(arc) > fma(V(kPi), width, V(kClose)), kInputData);
    const V dLon = select(width > V(kAtPole), clampTo(arc / width, kPi), V(0.0));
    return {wrapDifference(b.lon0 + dLon), clampTo(at.phi, kHalfPi)};
  }

 private:
  /// Radius of the parallel over a.
  template <class V>
  OPRJ_INLINE static V parallelRadius(const Block &b, SinCos<V> p) {
    return p.cos / sqrt(fma(V(-b.es) * p.sin, p.sin, V(1.0)));
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_ENGINE_FAMILY(Bonne, Bonne)
