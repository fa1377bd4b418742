// Vertical Near-side Perspective of the sphere (15, 63). [Snyder87] p. 169-181, eqs. 23-3, 22-4,
// 22-5, inverse 20-14, 20-15, 23-4.
//
// Reads entries 2 (height of the perspective point above the sphere, metres), 4 (longitude of the
// centre), 5 (its latitude), 6 and 7 (false easting and northing). The sphere has radius a. Domain:
// what is seen from the perspective point, cos c >= 1/P with P = 1 + height/a, its edge included.
// Formulation: with t = a / height the factor is 1 / (1 + t (1 - cos c)), which keeps its digits at
// any height, and the inverse becomes (m = sin c / rho, q = rho / a, D = 1 - q² (1 + 2t))
//   m = (1 + t q² (1 + 2t) / (1 + √D)) / (1 + q² t²),   1 - cos c = q² m / (1 + √D).
// With growing height this becomes the Orthographic (t = 0).
#include "projections/azimuthal.h"

namespace orvik::oprj::OPRJ_SET {

struct VerticalPerspectiveBlock {
  double a, e, es;
  double height, lon0, lat0, falseEast, falseNorth;
  double sin0, cos0, sinHalf0, cosHalf0, perA;
  double t;     // a / height
  double edge;  // 1 - cos c of the horizon: 1 - 1/P
};
static_assert(sizeof(VerticalPerspectiveBlock) == 15 * sizeof(double));

struct VerticalPerspective : FamilyBase<VerticalPerspectiveBlock> {
  static constexpr Row row{
      .number = 15, .minimum = 8, .angles = entries(4, 5), .compared = entries(2) | entries(4, 7)};
  static constexpr ValueCheck checks[] = {
      {[](const Entries &p, const Ellipsoid &) { return !(p[2] > 0.0); }, "Improper parameter"}};
  static constexpr StopText kBeyondHorizon{4, "Point cannot be projected"};
  static constexpr StopText kOffTheSheet{4, "Improper parameter"};

  static bool derive(const Entries &p, const Ellipsoid &s, VerticalPerspectiveBlock &b) {
    setCentre(p, s, b);
    b.height = p[2];
    b.t = b.a / b.height;
    b.edge = 1.0 / (1.0 + b.t);
    return true;
  }

  template <class V>
  OPRJ_INLINE static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const FromCentre<V> from = seenFromCentre(b, lon, lat);
    stop.when(from.minus > V(b.edge + kClose), kBeyondHorizon);
    const V k = b.a / fma(V(b.t), from.minus, V(1.0));
    return {fma(k, from.east, V(b.falseEast)), fma(k, from.north, V(b.falseNorth))};
  }

  template <class V>
  OPRJ_INLINE static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const OnSheet<V> at = onSheet(b, x, y);
    const V d = fma(V(-1.0 - 2.0 * b.t), at.rho2, V(1.0));
    const Truth<V> within = d >= V(-kClose);
    stop.when(~within, kOffTheSheet);
    const V perRoot = 1.0 / (1.0 + sqrt(max(d, V(0.0))));
    const V q = at.rho2 * perRoot;
    const V m = fma(V(b.t * (1.0 + 2.0 * b.t)), q, V(1.0)) / fma(V(b.t * b.t), at.rho2, V(1.0));
    return fromOffset(b, at.x * m, at.y * m, fma(-q, m, V(1.0)));
  }
};

struct NearSidePerspective : VerticalPerspective {
  static constexpr Row row{
      .number = 63, .minimum = 8, .angles = entries(4, 5), .compared = entries(2) | entries(4, 7)};
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(VerticalPerspective, oprj_GeneralVerticalNear_SidePerspectiveInit,
            oprj_GeneralVerticalNear_SidePerspectiveFromLL,
            oprj_GeneralVerticalNear_SidePerspectiveToLL,
            oprj_GeneralVerticalNear_SidePerspectiveCopyParameters,
            oprj_GeneralVerticalNear_SidePerspectiveProParametersEqual)
OPRJ_ENGINE_FAMILY(NearSidePerspective, NearSidePerspective)
