// Pseudo Mercator: the sphere's Mercator with radius a, fed with the geodetic latitude as it is.
// [EPSG7-2], Popular Visualisation Pseudo Mercator.
//
// Reads entries 4 (central meridian), 6 and 7 (false easting and northing). Domain: all but the
// poles; the sheet repeats, and inverse points up to a full turn from the central meridian are
// wrapped.
// Kept: entry 5 belongs to the block and to the comparison, and no formula reads it.
#include "projections/auxiliary_latitude.h"
#include "projections/family.h"
#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

struct PseudoMercatorBlock {
  double a, e, es;
  double lon0, lat0, falseEast, falseNorth;
};

struct PseudoMercator : FamilyBase<PseudoMercatorBlock> {
  static constexpr Row row{
      .number = 68, .minimum = 8, .angles = entries(4), .compared = entries(4, 7)};

  static bool derive(const Entries &p, const Ellipsoid &s, PseudoMercatorBlock &b) {
    b = {s.a, s.e, s.es, meridianOf(p[4]), p[5], p[6], p[7]};
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    stop.when(atPole(lat), kCannotProject);
    return {fma(V(b.a), wrapDifference(lon - V(b.lon0)), V(b.falseEast)),
            fma(V(b.a), sphericalIsometric(sincos(lat)), V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V psi = (y - V(b.falseNorth)) * V(1.0 / b.a);
    return {repeatedLongitude(b.lon0, (x - V(b.falseEast)) * V(1.0 / b.a), stop),
            copysign(kHalfPi - 2.0 * atan(exp(-abs(psi))), psi)};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(PseudoMercator, oprj_PseudoMercatorInit, oprj_PseudoMercatorFromLL,
            oprj_PseudoMercatorToLL, oprj_PseudoMercatorCopyParameters,
            oprj_PseudoMercatorProParametersEqual)
