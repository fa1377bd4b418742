// Gnomonic, oblique aspect of the sphere. [Snyder87] p. 164-168, eqs. 22-3 to 22-5, inverse 20-14,
// 20-15, 22-16 (written for the vector instead of the angle).
//
// Reads entries 4 (longitude of the centre), 5 (its latitude), 6 and 7 (false easting and
// northing). The sphere has radius a. Domain: the hemisphere around the centre without its edge,
// which lies at infinity; every finite point of the sheet comes from somewhere (squares of
// coordinates beyond 1e154 a overflow and are refused).
#include "projections/azimuthal.h"

namespace orvik::oprj::OPRJ_SET {

struct Gnomonic : Azimuthal {
  static constexpr Row row{
      .number = 13, .minimum = 8, .angles = entries(4, 5), .compared = entries(4, 7)};
  static constexpr StopText kInfinite{4, "Point projects into infinity"};

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const FromCentre<V> from = seenFromCentre(b, lon, lat);
    const V cosC = 0.5 * (from.plus - from.minus);
    stop.when(cosC <= V(kClose), kInfinite);
    const V k = b.a / cosC;
    return {fma(k, from.east, V(b.falseEast)), fma(k, from.north, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const OnSheet<V> at = onSheet(b, x, y);
    stop.when(~isFinite(at.rho2), kInputData);
    return fromOffset(b, at.x, at.y, V(1.0));  // the vector over cos c
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(Gnomonic, oprj_GnomonicInit, oprj_GnomonicFromLL, oprj_GnomonicToLL,
            oprj_GnomonicCopyParameters, oprj_GnomonicProParametersEqual)
