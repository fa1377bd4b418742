// Stereographic, oblique aspect of the sphere, true to scale at the centre. [Snyder87] p. 154-163,
// eqs. 21-2 to 21-4 with k0 = 1, inverse 20-14, 20-15, 21-15.
//
// Reads entries 4 (longitude of the centre), 5 (its latitude), 6 and 7 (false easting and
// northing); entries 8 and 9 must be there and are compared, but mean nothing here. The sphere has
// radius a. Domain: all but the antipode and 1.4e-5 rad around it. Every finite point of the sheet
// comes from somewhere.
// Kept: equality compares entries 8 and 9 although no formula reads them.
#include "projections/azimuthal.h"

namespace orvik::oprj::OPRJ_SET {

struct Stereographic : Azimuthal {
  static constexpr Row row{
      .number = 10, .minimum = 10, .angles = entries(4, 5), .compared = entries(4, 9)};
  static constexpr StopText kInfinite{4, "Point projects into infinity"};

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const FromCentre<V> from = seenFromCentre(b, lon, lat);
    stop.when(from.plus <= V(kClose), kInfinite);
    const V k = 2.0 * b.a / from.plus;
    return {fma(k, from.east, V(b.falseEast)), fma(k, from.north, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &) {
    const OnSheet<V> at = onSheet(b, x, y);
    const V w = 1.0 / fma(V(0.25), at.rho2, V(1.0));  // (1 + cos c) / 2
    return fromOffset(b, at.x * w, at.y * w, fma(V(2.0), w, V(-1.0)));
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(Stereographic, oprj_StereographicInit, oprj_StereographicFromLL, oprj_StereographicToLL,
            oprj_StereographicCopyParameters, oprj_StereographicProParametersEqual)
