// Lambert Conformal Conic with a single standard parallel and a scale factor. [Snyder87] p.
// 107-109, eqs. 15-1 to 15-11 with n = sin phi0; [EPSG7-2], Lambert Conic Conformal (1SP).
//
// Reads entries 2 (latitude of natural origin), 3 (its longitude), 4 (scale factor there), 5 and 6
// (false easting and northing), in the order of the EPSG note. Domain: all but the pole opposite to
// the apex. A natural origin at a pole is unusable (that is Polar Stereographic); one at the
// equator is refused (that is Mercator).
#include "projections/conformal_cone.h"
#include "projections/family.h"

namespace orvik::oprj::OPRJ_SET {

struct LambertConformalConicSSPBlock {
  double a, e, es;
  double phi0, lon0, k0, falseEast, falseNorth;
  ConformalCone cone;
};

struct LambertConformalConicSSP : FamilyBase<LambertConformalConicSSPBlock> {
  static constexpr Row row{.number = 67,
                           .minimum = 7,
                           .angles = entries(2, 3),
                           .offsets = entries(5, 6),
                           .scale = 4,
                           .compared = entries(2, 6),
                           .tooFewCompared = "Too few parameters in input param array",
                           .noBlock = "Error creating parameters",
                           .noCopy = "Error copying parameters"};
  /// Either of them being 0 is refused, whatever the text says.
  static constexpr ValueCheck checks[] = {
      {[](const Entries &p, const Ellipsoid &) { return std::fabs(p[2]) <= kClose || p[4] == 0.0; },
       "Invalid projection parameters. Latitude of natural origin and scale both cannot be 0"}};
  static constexpr StopText kOppositePole{4, "Point cannot be projected"};
  static constexpr StopText kPhi2{4, "Error return from oprj_Phi2", "oprj_Phi2", kPhi2Iterations};

  static bool derive(const Entries &p, const Ellipsoid &s, LambertConformalConicSSPBlock &b) {
    b = {s.a, s.e, s.es, p[2], meridianOf(p[3]), p[4], p[5], p[6], {}};
    if (isTooFlat(s.es) || !betweenPoles(b.phi0)) return false;
    setReference(b.cone, s, b.phi0);
    b.cone.n = std::sin(b.phi0);
    b.cone.scale = s.a * b.k0;
    b.cone.lon0 = b.lon0;
    b.cone.east = b.falseEast;
    b.cone.north = b.falseNorth;
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    return coneForward(b.cone, lon, lat, kOppositePole, stop);
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    return coneInverse(b.cone, x, y, kPhi2, stop);
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(LambertConformalConicSSP, oprj_LambertConformalConicSSPInit,
            oprj_LambertConformalConicSSPFromLL, oprj_LambertConformalConicSSPToLL,
            oprj_LambertConformalConicSSPCopyParameters,
            oprj_LambertConformalConicSSPProParametersEqual)
