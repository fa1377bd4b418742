// Hammer (30), often called Hammer-Aitoff (62): Lambert's azimuthal equal-area projection of the
// globe with halved longitudes, stretched twofold. [SnyderVoxland89].
//
// Reads entries 4 (central meridian), 6 and 7 (false easting and northing). A sphere of radius a.
// Domain: the whole globe; the inverse takes the ellipse with semi-axes 2 sqrt(2) a and sqrt(2) a.
// Formulation of the inverse, with X = x/(2 sqrt(2) a) and Y = y/(sqrt(2) a): D = 1 - X² - Y² is
// the cosine of the distance from the centre, so (D, X sqrt(1 + D), Y sqrt(1 + D)) is the point on
// the sphere; two arctangents keep all digits at the poles and on the outline.
// Kept: in 30 sqrt(2) has nine places, in both directions so that the inverse closes; against the
// exact root of 62 its sheet is up to 5 mm smaller.
#include "projections/longitude.h"
#include "projections/outline.h"

namespace orvik::oprj::OPRJ_SET {

struct HammerBlock {
  double a, e, es;
  double lon0, falseEast, falseNorth;
  double height, perHeight;  // of the pole, sqrt(2) a, and 1 over it
};

template <class Family>
struct HammerFormulas : FamilyBase<HammerBlock> {
  static bool derive(const Entries &p, const Ellipsoid &s, HammerBlock &b) {
    const double height = s.a * Family::kRootOfTwo;
    b = {s.a, s.e, s.es, meridianOf(p[4]), p[6], p[7], height, 1.0 / height};
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &) {
    const SinCos<V> l = sincos(0.5 * wrapDifference(lon - V(b.lon0)));
    const SinCos<V> p = sincos(lat);
    const V scale = b.height / sqrt(fma(p.cos, l.cos, V(1.0)));
    return {2.0 * scale * p.cos * l.sin + b.falseEast, scale * p.sin + b.falseNorth};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V across = (x - V(b.falseEast)) * (0.5 * b.perHeight);
    const V up = (y - V(b.falseNorth)) * b.perHeight;
    const EllipseTest<V> outline = testEllipse(across, up);
    stop.when(outline.off, kInputData);
    const V d = max(-outline.excess, V(0.0)), k = sqrt(1.0 + d);
    const V east = across * k;
    return {wrapDifference(b.lon0 + 2.0 * atan2(east, d)),
            atan2(up * k, sqrt(fma(d, d, east * east)))};
  }
};

constexpr Row hammerRow(int32_t number) {
  return {
      .number = number, .minimum = 8, .angles = entries(4), .compared = entries(4) | entries(6, 7)};
}

struct Hammer : HammerFormulas<Hammer> {
  static constexpr Row row = hammerRow(30);
  static constexpr double kRootOfTwo = 1.414213562;
};

struct HammerAitoff : HammerFormulas<HammerAitoff> {
  static constexpr Row row = hammerRow(62);
  static constexpr double kRootOfTwo = 1.4142135623730950488;
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(Hammer, oprj_HammerInit, oprj_HammerFromLL, oprj_HammerToLL, oprj_HammerCopyParameters,
            oprj_HammerProParametersEqual)
OPRJ_ENGINE_FAMILY(HammerAitoff, HammerAitoff)
