// Azimuthal Equidistant, oblique aspect of the sphere. [Snyder87] p. 191-202, eqs. 25-2, 22-4,
// 22-5, inverse 20-14, 20-15, 25-15.
//
// Reads entries 4 (longitude of the centre), 5 (its latitude), 6 and 7 (false easting and
// northing). The sphere has radius a. Domain: all but the antipode and 1.4e-5 rad around it, which
// would be a circle of radius pi a.
#include "projections/azimuthal.h"

namespace orvik::oprj::OPRJ_SET {

struct AzimuthalEquidistant : Azimuthal {
  static constexpr Row row{
      .number = 12, .minimum = 8, .angles = entries(4, 5), .compared = entries(4, 7)};
  static constexpr StopText kCircle{4, "Point projects into a circle"};
  static constexpr StopText kOffTheSheet{4, "Improper parameter"};

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const FromCentre<V> from = seenFromCentre(b, lon, lat);
    stop.when(from.plus <= V(kClose), kCircle);
    const V sinC = sqrt(fma(from.east, from.east, from.north * from.north));
    const V c = atan2(sinC, 0.5 * (from.plus - from.minus));
    const V k = b.a * select(sinC > V(0.0), c / sinC, V(1.0));
    return {fma(k, from.east, V(b.falseEast)), fma(k, from.north, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const OnSheet<V> at = onSheet(b, x, y);
    const V rho = sqrt(at.rho2);
    const Truth<V> within = rho <= V(kPi + kClose);
    stop.when(~within, kOffTheSheet);
    const SinCos<V> c = sincos(min(rho, V(kPi)));
    const V k = select(rho > V(0.0), c.sin / rho, V(1.0));
    return fromOffset(b, at.x * k, at.y * k, c.cos);
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(AzimuthalEquidistant, oprj_AzimuthalEquidistantInit, oprj_AzimuthalEquidistantFromLL,
            oprj_AzimuthalEquidistantToLL, oprj_AzimuthalEquidistantCopyParameters,
            oprj_AzimuthalEquidistantProParametersEqual)
