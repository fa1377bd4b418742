// ESOM: Space Oblique Mercator with the orbit of the later Landsat satellites (inclination 98.2
// degrees, period 98.8841202 minutes, 233 paths), whatever the satellite. [Snyder87] p. 214-225;
// formulas in space_oblique.h.
//
// Reads entries 4 (satellite, only checked), 5 (path), both truncated, 6 and 7 (false easting and
// northing).
#include "projections/space_oblique.h"

namespace orvik::oprj::OPRJ_SET {

struct ESOMBlock {
  double a, e, es;
  double satellite, path, falseEast, falseNorth;
  SpaceObliqueOrbit orbit;
};

struct ESOM : FamilyBase<ESOMBlock> {
  static constexpr Row row{.number = 23, .minimum = 8, .compared = entries(4, 7)};
  static constexpr ValueCheck checks[] = {
      {[](const Entries &p, const Ellipsoid &) { return !isLandsatPath(p[4], p[5]); },
       "Improper parameter"}};
  static constexpr StopText kTooMany{4, "Too many iterations", nullptr, kOrbitIterations};

  static bool derive(const Entries &p, const Ellipsoid &s, ESOMBlock &b) {
    b = {s.a, s.e, s.es, p[4], p[5], p[6], p[7], landsatOrbit(s.es, false, p[5])};
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const Projected<V> p = spaceObliqueForward(b.orbit, b.es, lon, lat, stop, kTooMany);
    return {fma(V(b.a), p.x, V(b.falseEast)), fma(V(b.a), p.y, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    return spaceObliqueInverse(b.orbit, b.es, (x - V(b.falseEast)) * V(1.0 / b.a),
                               (y - V(b.falseNorth)) * V(1.0 / b.a), stop, kTooMany);
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(ESOM, oprj_ESOMInit, oprj_ESOMFromLL, oprj_ESOMToLL, oprj_ESOMCopyParameters,
            oprj_ESOMProParametersEqual)
