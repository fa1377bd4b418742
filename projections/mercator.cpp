// Mercator. [Snyder87] p. 44-45: eqs. 7-6, 7-7 (forward, with the scale of p. 44), 7-9, 7-10
// (inverse); [EPSG7-2], Mercator variant B.
//
// Reads entries 4 (central meridian), 5 (latitude of true scale, not an origin: y counts from the
// equator), 6 and 7 (false easting and northing). Domain: all but the poles; the sheet repeats, and
// inverse points up to a full turn from the central meridian are wrapped.
#include <cmath>

#include "projections/auxiliary_latitude.h"
#include "projections/family.h"
#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

struct MercatorBlock {
  double a, e, es;
  double lon0, latTrue, falseEast, falseNorth;
  double radius;  // a m(latTrue): radius of the parallel of true scale
  ConformalLatitude conformal;
};

struct Mercator : FamilyBase<MercatorBlock> {
  static constexpr Row row{
      .number = 5, .minimum = 8, .angles = entries(4, 5), .compared = entries(4, 7)};
  static constexpr ValueCheck checks[] = {
      {[](const Entries &p, const Ellipsoid &) { return abs(std::cos(p[5])) <= kClose; },
       "Improper parameter"}};
  static constexpr StopText kPhi2{4, "Error returned from oprj_Phi2", "oprj_Phi2", kPhi2Iterations};

  static bool derive(const Entries &p, const Ellipsoid &s, MercatorBlock &b) {
    if (isTooFlat(s.es)) return false;
    b = {s.a, s.e, s.es, meridianOf(p[4]), p[5], p[6], p[7], 0.0, conformalLatitudeOf(s.e, s.es)};
    b.radius = s.a * oprj_Msfn(s.e, std::sin(p[5]), std::cos(p[5]), nullptr);
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    stop.when(atPole(lat), kCannotProject);
    return {fma(V(b.radius), wrapDifference(lon - V(b.lon0)), V(b.falseEast)),
            fma(V(b.radius), isometricLatitude(b.conformal, sincos(lat)), V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const Solved<V> lat =
        latitudeOfIsometric(b.conformal, (y - V(b.falseNorth)) * V(1.0 / b.radius));
    stop.when(~lat.converged, kPhi2);
    return {repeatedLongitude(b.lon0, (x - V(b.falseEast)) * V(1.0 / b.radius), stop), lat.phi};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(Mercator, oprj_MercatorInit, oprj_MercatorFromLL, oprj_MercatorToLL,
            oprj_MercatorCopyParameters, oprj_MercatorProParametersEqual)
