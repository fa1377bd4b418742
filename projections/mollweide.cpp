// Mollweide, homalographic. [Snyder87] p. 249-252, eqs. 31-1 to 31-8.
//
// Reads entries 4 (central meridian), 6 and 7 (false easting and northing). A sphere of radius a.
// Domain: the whole globe; the inverse takes the ellipse with semi-axes 2 sqrt(2) a and sqrt(2) a.
// Constants: 2 sqrt(2)/pi and sqrt(2) to twelve and thirteen digits (at most 0.02 mm).
#include "projections/longitude.h"
#include "projections/mollweide_angle.h"
#include "projections/outline.h"

namespace orvik::oprj::OPRJ_SET {

struct MollweideBlock {
  double a, e, es;
  double lon0, falseEast, falseNorth;
};

struct Mollweide : FamilyBase<MollweideBlock> {
  static constexpr Row row{
      .number = 28, .minimum = 8, .angles = entries(4), .compared = entries(4) | entries(6, 7)};
  static constexpr StopText kIterations{
      4, "Iteration failed to converge in Mollweide forward transformation, point # %ld:  %lf, %lf",
      nullptr, kMollweideIterations};

  static bool derive(const Entries &p, const Ellipsoid &s, MollweideBlock &b) {
    b = {s.a, s.e, s.es, meridianOf(p[4]), p[6], p[7]};
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const V dLon = wrapDifference(lon - V(b.lon0));
    const Parallel<V> parallel = mollweideParallel(lat, sin(0.5 * (kHalfPi - abs(lat))));
    stop.when(~parallel.converged, kIterations);
    return {b.a * kMollweideWidth * dLon * parallel.width + b.falseEast,
            b.a * kMollweideHeight * parallel.height + b.falseNorth};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V height = (y - V(b.falseNorth)) * (1.0 / (b.a * kMollweideHeight));
    const V side = (x - V(b.falseEast)) * (1.0 / (b.a * kMollweideWidth));
    stop.when(testEllipse(side * (1.0 / kPi), height).off, kInputData);
    const MollweideLatitude<V> at = mollweideLatitude(clampToUnit(height));
    return {
        wrapDifference(b.lon0 + select(at.width > V(0.0), clampTo(side / at.width, kPi), V(0.0))),
        at.lat};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(Mollweide, oprj_MollweideInit, oprj_MollweideFromLL, oprj_MollweideToLL,
            oprj_MollweideCopyParameters, oprj_MollweideProParametersEqual)
