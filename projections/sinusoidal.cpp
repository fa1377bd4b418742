// Sinusoidal of the sphere. [Snyder87] p. 243-248, eqs. 30-1, 30-2, inverse 30-6, 30-7.
//
// Reads entries 4 (central meridian), 6 and 7 (false easting and northing). The sphere has radius
// a. Domain: the whole globe; the inverse accepts 1e-10 a (0.6 mm) beyond the outline.
#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

struct SinusoidalBlock {
  double a, e, es;
  double lon0, falseEast, falseNorth;
  double perA;  // 1 / a
};
static_assert(sizeof(SinusoidalBlock) == 7 * sizeof(double));

struct Sinusoidal : FamilyBase<SinusoidalBlock> {
  static constexpr Row row{
      .number = 16, .minimum = 8, .angles = entries(4), .compared = entries(4) | entries(6, 7)};
  static constexpr StopText kOffTheSheet{4, "Improper parameter"};

  static bool derive(const Entries &p, const Ellipsoid &s, SinusoidalBlock &b) {
    b = {s.a, s.e, s.es, meridianOf(p[4]), p[6], p[7], 1.0 / s.a};
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &) {
    const V dLon = wrapDifference(lon - V(b.lon0));
    return {fma(b.a * dLon, cos(lat), V(b.falseEast)), fma(V(b.a), lat, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V u = (x - V(b.falseEast)) * b.perA, v = (y - V(b.falseNorth)) * b.perA;
    const V phi = clampTo(v, kHalfPi);
    const V width = cos(phi);  // 6e-17, not 0, at the double nearest to pi/2
    const Truth<V> within =
        Truth<V>(abs(v) <= V(kHalfPi + kClose)) & (abs(u) <= fma(V(kPi), width, V(kClose)));
    stop.when(~within, kOffTheSheet);
    const V ratio = u / width;
    const V dLon = clampTo(ratio, kPi);
    return {wrapDifference(b.lon0 + dLon), phi};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(Sinusoidal, oprj_SinusoidalInit, oprj_SinusoidalFromLL, oprj_SinusoidalToLL,
            oprj_SinusoidalCopyParameters, oprj_SinusoidalProParametersEqual)
