// Albers Conical Equal Area. [Snyder87] p. 101-102, eqs. 14-1 to 14-21 with q by eq. 3-12;
// [EPSG7-2], Albers Equal Area.
//
// Reads entries 2 and 3 (standard parallels), 4 (central meridian), 5 (latitude of origin), 6 and 7
// (false easting and northing). Domain: the globe.
// Formulation: r = n rho / a is sqrt(C - n q); heights are (q - q0) / (r0 + r), and back q = q0 +
// 2 r0 y - n (x² + y²), so that n may be as small as 1e-10.
#include "projections/auxiliary_latitude.h"
#include "projections/cone.h"
#include "projections/family.h"

namespace orvik::oprj::OPRJ_SET {

struct AlbersBlock {
  double a, e, es;
  double phi1, phi2, lon0, lat0, falseEast, falseNorth;
  double n, c, q0, r0;  // cone constant, C of eq. 14-13, q and r of the origin
  AuthalicLatitude authalic;
};

struct AlbersConicalEqualArea : FamilyBase<AlbersBlock> {
  static constexpr Row row{
      .number = 3, .minimum = 8, .angles = entries(2, 5), .compared = entries(2, 7)};
  static constexpr ValueCheck checks[] = {kOppositeParallels};
  // The first two belong to the forward function's reports; neither helper ever fills its slot.
  static constexpr StopText kQsfn{4, "Error returned from oprj_Qsfn"};
  static constexpr StopText kAdjl{5, "Error returned from oprj_Adjl"};
  static constexpr StopText kPhi1{4, "Error returned from oprj_Phi1", "oprj_Phi1", kPhi1Iterations};

  static bool derive(const Entries &p, const Ellipsoid &s, AlbersBlock &b) {
    b = {s.a,  s.e,
         s.es, p[2],
         p[3], meridianOf(p[4]),
         p[5], p[6],
         p[7], 0.0,
         0.0,  0.0,
         0.0,  authalicLatitudeOf(s.e, s.es)};
    const double s1 = std::sin(b.phi1), c1 = std::cos(b.phi1);
    b.n = coneConstant(s, b.phi1, b.phi2);
    b.c = c1 * c1 / (1.0 - s.es * s1 * s1) + b.n * authalicQ(b.authalic, s1);
    b.q0 = authalicQ(b.authalic, std::sin(b.lat0));
    const double r2 = b.c - b.n * b.q0;
    b.r0 = std::sqrt(r2 < 0.0 && r2 >= -kClose ? 0.0 : r2);
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const V q = authalicQ(b.authalic, sin(lat));
    const V r2 = fma(V(-b.n), q, V(b.c));
    stop.when(r2 < V(-kClose), kCannotProject);
    const V r = sqrt(max(r2, V(0.0)));
    const V rise = (q - V(b.q0)) / max(V(b.r0) + r, V(kAtApex));
    const Projected<V> p = ontoFan(b.n, r, rise, wrapDifference(lon - V(b.lon0)));
    return {fma(V(b.a), p.x, V(b.falseEast)), fma(V(b.a), p.y, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V east = (x - V(b.falseEast)) * V(1.0 / b.a),
            north = (y - V(b.falseNorth)) * V(1.0 / b.a);
    const Fan<V> fan = fanOf(b.n, b.r0, east, north);
    const V q = fma(V(2.0 * b.r0), north, fma(V(-b.n), fma(east, east, north * north), V(b.q0)));
    const Solved<V> lat = latitudeOfQ(b.authalic, q);
    if (b.authalic.sphere != 0.0) stop.when(abs(q) > V(2.0 + kClose), kInputData);
    stop.when(~lat.converged, kPhi1);
    return {fanLongitude(b.n, b.lon0, fan, squaredRadius(fan), stop), lat.phi};
  }

 private:
  /// (m1² - m2²) / (q2 - q1), [Snyder87] eq. 14-14, both divided by sin phi2 - sin phi1.
  static double coneConstant(const Ellipsoid &s, double phi1, double phi2) {
    if (oneParallel(phi1, phi2)) return std::sin(phi1);
    const double s1 = std::sin(phi1), s2 = std::sin(phi2), product = s.es * s1 * s2;
    const double step = sineDifference(phi1, phi2);
    const double sum = 2.0 * std::sin(0.5 * (phi1 + phi2)) * std::cos(0.5 * (phi1 - phi2));
    const double k = (1.0 - s.es * s1 * s1) * (1.0 - s.es * s2 * s2);
    const double waves =  // (atanh(e s2) - atanh(e s1)) / (e step)
        s.e < kAuthalicSphereBelow ? 1.0 : std::atanh(s.e * step / (1.0 - product)) / (s.e * step);
    return sum / (1.0 + product + k * waves);
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(AlbersConicalEqualArea, oprj_AlbersConicalEqualAreaInit,
            oprj_AlbersConicalEqualAreaFromLL, oprj_AlbersConicalEqualAreaToLL,
            oprj_AlbersConicalEqualAreaCopyParameters,
            oprj_AlbersConicalEqualAreaProParametersEqual)
