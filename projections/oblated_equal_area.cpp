// Oblated Equal Area of the sphere. [Snyder88] (The American Cartographer 15(4), p. 341-356),
// also in [GCTP]; the Lambert Azimuthal Equal Area is m = n = 2.
//
// Reads entries 2 and 3 (the shape parameters m and n, plain numbers that must not be 0), 4
// (longitude of the centre), 5 (its latitude), 6 and 7 (false easting and northing), 8 (rotation of
// the oval, radians). The sphere has radius a. Domain: depends on m and n; where the sheet would
// fold over itself (an arcsine beyond 1 or a double angle beyond 90 degrees) points are refused in
// both directions. With m and n of at least 2 that is all but the antipode and 1.4e-5 rad around.
// Formulation: M = asin(x'/2) as an arctangent of two numbers that keep their digits, N by its sine
// and cosine: no digits are lost where M passes near 90 degrees.
#include "projections/azimuthal.h"

namespace orvik::oprj::OPRJ_SET {

struct OblatedEqualAreaBlock {
  double a, e, es;
  double m, n, lon0, lat0, falseEast, falseNorth, theta;
  double sin0, cos0, sinHalf0, cosHalf0, perA;
  double sinTheta, cosTheta;
};
static_assert(sizeof(OblatedEqualAreaBlock) == 17 * sizeof(double));

struct OblatedEqualArea : FamilyBase<OblatedEqualAreaBlock> {
  static constexpr Row row{
      .number = 33, .minimum = 9, .angles = entries(4, 5) | entries(8), .compared = entries(2, 8)};
  static constexpr ValueCheck checks[] = {
      {[](const Entries &p, const Ellipsoid &) { return p[2] == 0.0 || p[3] == 0.0; },
       "Improper parameter"}};

  static bool derive(const Entries &p, const Ellipsoid &s, OblatedEqualAreaBlock &b) {
    setCentre(p, s, b);
    b.m = p[2];
    b.n = p[3];
    b.theta = p[8];
    b.sinTheta = __builtin_sin(b.theta);
    b.cosTheta = __builtin_cos(b.theta);
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const FromCentre<V> from = lengthened(seenFromCentre(b, lon, lat));
    const V east = fma(from.east, V(b.cosTheta), from.north * b.sinTheta);
    const V north = fma(from.north, V(b.cosTheta), -from.east * b.sinTheta);
    // sin M = x'/2 = east / root, cos M = adjacent / root with root² = 2 (1 + cos c)
    const V adjacent = sqrt(fma(from.plus, from.plus, north * north));
    const V angleM = (2.0 / b.m) * atan2(east, adjacent);
    const SinCos<V> m = sincos(angleM);
    const V sinN = north * adjacent / (2.0 * from.plus * m.cos);
    const V angleN = (2.0 / b.n) * asin(clampToUnit(sinN));
    const SinCos<V> n = sincos(angleN);
    const Truth<V> antipode = from.plus <= V(kClose);
    const Truth<V> flat =
        Truth<V>(abs(angleM) < V(kHalfPi)) & (abs(angleN) < V(kHalfPi)) & (abs(sinN) <= V(1.0));
    stop.when(antipode | ~flat, kCannotProject);
    const V cosN = sqrt((1.0 - sinN) * (1.0 + sinN));
    return {fma(b.a * b.m * m.sin, cosN / n.cos, V(b.falseEast)),
            fma(V(b.a * b.n), n.sin, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const OnSheet<V> at = onSheet(b, x, y);
    const V sin2N = at.y * (1.0 / b.n), clamped2N = clampToUnit(sin2N);  // of 2N/n
    const V cos2N = sqrt((1.0 - clamped2N) * (1.0 + clamped2N));
    const V angleN = (0.5 * b.n) * asin(clamped2N);
    const SinCos<V> n = sincos(angleN);
    const V sin2M = at.x * (1.0 / b.m) * cos2N / n.cos, clamped2M = clampToUnit(sin2M);  // of 2M/m
    const V cos2M = sqrt((1.0 - clamped2M) * (1.0 + clamped2M));
    const V angleM = (0.5 * b.m) * asin(clamped2M);
    const SinCos<V> m = sincos(angleM);
    const V half = n.sin * cos2M / m.cos;               // y'/2; x'/2 is sin M
    const V sinHalf2 = fma(m.sin, m.sin, half * half);  // sin²(c/2)
    const Truth<V> inside = Truth<V>(abs(sin2N) <= V(1.0 + kClose)) &
                            (abs(sin2M) <= V(1.0 + kClose)) & (abs(angleN) <= V(kHalfPi)) &
                            (abs(angleM) <= V(kHalfPi)) &
                            (sinHalf2 <= V((1.0 + kClose) * (1.0 + kClose)));
    stop.when(~inside, kInputData);
    const V within = min(sinHalf2, V(1.0));
    const V twice = 2.0 * sqrt(1.0 - within);
    const V east = twice * m.sin, north = twice * half;
    return fromOffset(b, fma(east, V(b.cosTheta), -north * b.sinTheta),
                      fma(north, V(b.cosTheta), east * b.sinTheta), fma(V(-2.0), within, V(1.0)));
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(OblatedEqualArea, oprj_OblatedEqualAreaInit, oprj_OblatedEqualAreaFromLL,
            oprj_OblatedEqualAreaToLL, oprj_OblatedEqualAreaCopyParameters,
            oprj_OblatedEqualAreaProParametersEqual)
