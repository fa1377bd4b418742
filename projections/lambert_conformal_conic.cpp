// Lambert Conformal Conic with two standard parallels. [Snyder87] p. 107-109, eqs. 15-1 to 15-11;
// [EPSG7-2], Lambert Conic Conformal (2SP).
//
// Reads entries 2 and 3 (standard parallels), 4 (central meridian), 5 (latitude of origin), 6 and 7
// (false easting and northing). Domain: all but the pole opposite to the apex. A parallel at a pole
// and an origin at the opposite pole are unusable.
// The cone constant is a quotient of differences formed without cancellation, so that parallels may
// be as close as 1e-10 rad.
#include "projections/conformal_cone.h"
#include "projections/family.h"

namespace orvik::oprj::OPRJ_SET {

struct LambertConformalConicBlock {
  double a, e, es;
  double phi1, phi2, lon0, lat0, falseEast, falseNorth;
  ConformalCone cone;
};

struct LambertConformalConic : FamilyBase<LambertConformalConicBlock> {
  static constexpr Row row{
      .number = 4, .minimum = 8, .angles = entries(2, 5), .compared = entries(2, 7)};
  static constexpr ValueCheck checks[] = {kOppositeParallels};
  static constexpr StopText kPhi2{4, "Error returned from oprj_Phi2", "oprj_Phi2", kPhi2Iterations};

  static bool derive(const Entries &p, const Ellipsoid &s, LambertConformalConicBlock &b) {
    b = {s.a, s.e, s.es, p[2], p[3], meridianOf(p[4]), p[5], p[6], p[7], {}};
    if (isTooFlat(s.es) || !betweenPoles(b.phi1) || !betweenPoles(b.phi2)) return false;
    ConformalCone &c = b.cone;
    setReference(c, s, b.phi1);
    c.n = coneConstant(s, b.phi1, b.phi2);
    c.scale = s.a;
    c.lon0 = b.lon0;
    c.east = b.falseEast;
    // from the reference parallel to the origin's; an origin at the apex has rho 0
    const SinCos<double> origin{std::sin(b.lat0), std::cos(b.lat0)};
    double growth = -1.0;
    if (std::fabs(origin.cos) > kClose) {
      growth = std::expm1(-c.n * (isometricLatitude(c.conformal, origin) - c.psi1));
    } else if (origin.sin * c.n < 0.0) {
      return false;
    }
    c.north = b.falseNorth + s.a * c.r1 / c.n * growth;
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    return coneForward(b.cone, lon, lat, kCannotProject, stop);
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    return coneInverse(b.cone, x, y, kPhi2, stop);
  }

 private:
  /// ln(m1/m2) / (psi2 - psi1), [Snyder87] eq. 15-8, of the parallels' differences.
  static double coneConstant(const Ellipsoid &s, double phi1, double phi2) {
    if (oneParallel(phi1, phi2)) return std::sin(phi1);
    if (std::cos(phi1) < std::cos(phi2)) return coneConstant(s, phi2, phi1);
    const double s1 = std::sin(phi1), s2 = std::sin(phi2), c2 = std::cos(phi2);
    // m1²/m2² - 1
    const double excess =
        squaredSineDifference(phi1, phi2) * (1.0 - s.es) / ((1.0 - s.es * s1 * s1) * c2 * c2);
    const double step = sineDifference(phi1, phi2);
    const double dPsi =
        std::atanh(step / (1.0 - s1 * s2)) - s.e * std::atanh(s.e * step / (1.0 - s.es * s1 * s2));
    return 0.5 * std::log1p(excess) / dPsi;
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(LambertConformalConic, oprj_LambertConformalConicInit, oprj_LambertConformalConicFromLL,
            oprj_LambertConformalConicToLL, oprj_LambertConformalConicCopyParameters,
            oprj_LambertConformalConicProParametersEqual)
