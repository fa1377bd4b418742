// Lambert Azimuthal Equal Area, oblique aspect of the sphere. [Snyder87] p. 182-190, eqs. 24-2,
// 22-4, 22-5, inverse 20-14, 20-15, 24-16.
//
// Reads entries 4 (longitude of the centre), 5 (its latitude), 6 and 7 (false easting and
// northing); entry 8 must be there and is compared, but means nothing here. The sphere has radius
// a. Domain: all but the antipode and 1.4e-5 rad around it, which would be a circle of radius 2 a;
// the inverse accepts 1e-6 m beyond that circle.
// Kept: equality compares entry 8 although no formula reads it.
#include "projections/azimuthal.h"

namespace orvik::oprj::OPRJ_SET {

struct LambertAzimuthalEqualArea : Azimuthal {
  static constexpr Row row{
      .number = 11, .minimum = 9, .angles = entries(4, 5), .compared = entries(4, 8)};
  static constexpr StopText kCircle{4, "Point projects into a circle"};
  static constexpr StopText kOffTheSheet{4, "Improper parameter"};
  static constexpr double kSlack = 1e-6;  // metres beyond the outline that count as rounding

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const FromCentre<V> from = lengthened(seenFromCentre(b, lon, lat));
    stop.when(from.plus <= V(kClose), kCircle);
    const V k = b.a * sqrt(2.0 / from.plus);
    return {fma(k, from.east, V(b.falseEast)), fma(k, from.north, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const OnSheet<V> at = onSheet(b, x, y);
    const double limit = 2.0 + kSlack * b.perA;
    const Truth<V> within = at.rho2 <= V(limit * limit);
    stop.when(~within, kOffTheSheet);
    const V half2 = min(0.25 * at.rho2, V(1.0));  // sin²(c/2)
    const V k = sqrt(1.0 - half2);
    return fromOffset(b, at.x * k, at.y * k, fma(V(-2.0), half2, V(1.0)));
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(LambertAzimuthalEqualArea, oprj_LambertAzimuthalEqual_AreaInit,
            oprj_LambertAzimuthalEqual_AreaFromLL, oprj_LambertAzimuthalEqual_AreaToLL,
            oprj_LambertAzimuthalEqual_AreaCopyParameters,
            oprj_LambertAzimuthalEqual_AreaProParametersEqual)
