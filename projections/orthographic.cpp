// Orthographic, oblique aspect of the sphere. [Snyder87] p. 145-153, eqs. 20-3 and 20-4, inverse
// 20-14, 20-15 (written for the vector instead of the angle).
//
// Reads entries 4 (longitude of the centre), 5 (its latitude), 6 and 7 (false easting and
// northing). The sphere has radius a. Domain: the hemisphere around the centre with its edge. At
// the limb the distance from the centre comes back to about 1e-8 rad only: there the sheet holds no
// more of it.
#include "projections/azimuthal.h"

namespace orvik::oprj::OPRJ_SET {

struct Orthographic : Azimuthal {
  static constexpr Row row{.number = 14,
                           .minimum = 8,
                           .angles = entries(4, 5),
                           .compared = entries(4, 7),
                           .unusable = "Improper parameters"};
  static constexpr StopText kFarSide{4, "Point cannot be projected"};
  static constexpr StopText kOffTheSheet{4, "Improper parameters"};

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const FromCentre<V> from = seenFromCentre(b, lon, lat);
    stop.when(from.minus > V(1.0 + kClose), kFarSide);
    return {fma(V(b.a), from.east, V(b.falseEast)), fma(V(b.a), from.north, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const OnSheet<V> at = onSheet(b, x, y);
    const Truth<V> within = at.rho2 <= V((1.0 + kClose) * (1.0 + kClose));
    stop.when(~within, kOffTheSheet);
    return fromOffset(b, at.x, at.y, sqrt(max(1.0 - at.rho2, V(0.0))));
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(Orthographic, oprj_OrthographicInit, oprj_OrthographicFromLL, oprj_OrthographicToLL,
            oprj_OrthographicCopyParameters, oprj_OrthographicProParametersEqual)
