// Equidistant Conic. [Snyder87] p. 114-115: eqs. 16-1 to 16-4, 16-7 to 16-11, meridian distance by
// the series of eq. 3-21.
//
// Reads entries 2 and 3 (standard parallels), 4 (central meridian), 5 (latitude of origin), 6 and 7
// (false easting and northing), 8 (0: the only standard parallel is entry 2 and entry 3 is ignored;
// else: both are). Domain: the globe.
// Formulation: with m the meridian distance over a, r = n rho / a is r0 - n (m - m0); heights are
// m - m0, and back m = m0 + (2 r0 y - n (x² + y²)) / (r0 + r), so that n may be as small as 1e-10.
#include "projections/cone.h"
#include "projections/family.h"
#include "projections/meridian.h"

namespace orvik::oprj::OPRJ_SET {

struct EquidistantConicBlock {
  double a, e, es;
  double phi1, phi2, lon0, lat0, falseEast, falseNorth, two;
  double n, m0, r0;  // cone constant, meridian distance and radius of the origin
  MeridianInverse meridian;
};

struct EquidistantConic : FamilyBase<EquidistantConicBlock> {
  static constexpr Row row{
      .number = 8, .minimum = 9, .angles = entries(2, 5), .compared = entries(2, 8)};
  static constexpr ValueCheck checks[] = {{[](const Entries &p, const Ellipsoid &s) {
                                             return p[8] != 0.0 ? kOppositeParallels.fails(p, s)
                                                                : std::fabs(p[2]) <= kClose;
                                           },
                                           kOppositeParallels.text}};
  static constexpr StopText kPhi3{4, "Error returned from oprj_Phi3", "oprj_Phi3", kPhi3Iterations};

  static bool derive(const Entries &p, const Ellipsoid &s, EquidistantConicBlock &b) {
    b = {s.a, s.e, s.es, p[2], p[3], meridianOf(p[4]), p[5], p[6], p[7], p[8], 0.0, 0.0, 0.0, {}};
    const double e0 = oprj_E0fn(s.es, nullptr), e1 = oprj_E1fn(s.es, nullptr),
                 e2 = oprj_E2fn(s.es, nullptr), e3 = oprj_E3fn(s.es, nullptr);
    const auto distance = [=](double phi) { return oprj_Mlfn(e0, e1, e2, e3, phi, nullptr); };
    b.meridian = meridianInverseOf(s.es, e0, e1, e2, e3);
    b.n = b.two == 0.0 ? std::sin(b.phi1) : coneConstant(b);
    b.m0 = distance(b.lat0);
    b.r0 = oprj_Msfn(s.e, std::sin(b.phi1), std::cos(b.phi1), nullptr) +
           b.n * (distance(b.phi1) - b.m0);
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &) {
    const MeridianInverse &c = b.meridian;
    const V rise = fma(V(c.e0), lat, meridianWaves(c.e1, c.e2, c.e3, sincos(lat))) - V(b.m0);
    const Projected<V> p =
        ontoFan(b.n, fma(V(-b.n), rise, V(b.r0)), rise, wrapDifference(lon - V(b.lon0)));
    return {fma(V(b.a), p.x, V(b.falseEast)), fma(V(b.a), p.y, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V east = (x - V(b.falseEast)) * V(1.0 / b.a),
            north = (y - V(b.falseNorth)) * V(1.0 / b.a);
    const Fan<V> fan = fanOf(b.n, b.r0, east, north);
    const V r2 = squaredRadius(fan);
    const V height = fma(V(2.0 * b.r0), north, V(-b.n) * fma(east, east, north * north)) /
                     max(V(b.r0) + sqrt(r2), V(kAtApex));
    const Latitude<V> lat = latitudeOfDistance(b.meridian, V(b.m0) + height);
    stop.when(~lat.converged, kPhi3);
    stop.when(abs(lat.phi) > V(kHalfPi + kClose), kInputData);
    return {fanLongitude(b.n, b.lon0, fan, r2, stop), clampTo(lat.phi, kHalfPi)};
  }

 private:
  /// (m1 - m2) / (M2 - M1), [Snyder87] eq. 16-10, of the parallels' differences.
  static double coneConstant(const EquidistantConicBlock &b) {
    const double phi1 = b.phi1, phi2 = b.phi2;
    if (oneParallel(phi1, phi2)) return std::sin(phi1);
    const double s1 = std::sin(phi1), s2 = std::sin(phi2);
    const double k1 = 1.0 - b.es * s1 * s1, k2 = 1.0 - b.es * s2 * s2;
    const double sum = std::cos(phi1) / std::sqrt(k1) + std::cos(phi2) / std::sqrt(k2);
    const double squares = squaredSineDifference(phi1, phi2) * (1.0 - b.es) / (k1 * k2);
    const MeridianInverse &c = b.meridian;
    const double distance = c.e0 * (phi2 - phi1) - c.e1 * sineDifference(2.0 * phi1, 2.0 * phi2) +
                            c.e2 * sineDifference(4.0 * phi1, 4.0 * phi2) -
                            c.e3 * sineDifference(6.0 * phi1, 6.0 * phi2);
    return squares / (sum * distance);
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(EquidistantConic, oprj_EquidistantConicInit, oprj_EquidistantConicFromLL,
            oprj_EquidistantConicToLL, oprj_EquidistantConicCopyParameters,
            oprj_EquidistantConicProParametersEqual)
