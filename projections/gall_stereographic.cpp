// Gall's stereographic cylindrical projection: the sphere seen from the far point of the equator,
// on a cylinder that cuts it in 45 degrees. [SnyderVoxland89].
//
// Reads entries 4 (central meridian), 6 and 7 (false easting and northing). A sphere of radius a.
//   x = sqrt(1/2) a dlam, y = (1 + sqrt(1/2)) a tan(phi/2)
// Domain: the whole globe; eastward the sheet repeats: the inverse wraps longitudes up to a turn
// from the central meridian and accepts 1e-10 a beyond the edges.
#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

struct GallStereographicBlock {
  double a, e, es;
  double lon0, falseEast, falseNorth;
  double width, height;  // a sqrt(1/2), a (1 + sqrt(1/2))
};

struct GallStereographic : FamilyBase<GallStereographicBlock> {
  static constexpr Row row{
      .number = 43, .minimum = 8, .angles = entries(4), .compared = entries(4) | entries(6, 7)};
  static constexpr double kRootOfHalf = 0.70710678118654752440;

  static bool derive(const Entries &p, const Ellipsoid &s, GallStereographicBlock &b) {
    b = {
        s.a, s.e, s.es, meridianOf(p[4]), p[6], p[7], s.a * kRootOfHalf, s.a * (1.0 + kRootOfHalf)};
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &) {
    const SinCos<V> half = sincos(0.5 * lat);
    return {fma(V(b.width), wrapDifference(lon - V(b.lon0)), V(b.falseEast)),
            fma(V(b.height), half.sin / half.cos, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V t = (y - V(b.falseNorth)) * (1.0 / b.height);
    stop.when(abs(t) > V(1.0 + kClose), kInputData);
    return {repeatedLongitude(b.lon0, (x - V(b.falseEast)) * (1.0 / b.width), stop),
            2.0 * atan(clampToUnit(t))};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_ENGINE_FAMILY(GallStereographic, GallStereographic)
