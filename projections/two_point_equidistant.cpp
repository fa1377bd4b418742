// Two-Point Equidistant: distances from two points are true. [SnyderVoxland89], [Snyder93].
//
// Reads entries 8 (longitude of the first point), 9 (its latitude), 10 and 11 (those of the
// second), 6 and 7 (false easting and northing, of the middle). A sphere of radius a. The first
// point lies to the left, the second to the right of the middle. Points that are one, or opposite,
// are refused.
// Domain: the whole globe; the inverse takes the ellipse around it, and 0.6 mm beyond. There the
// great circle through the antipodes of the two points is cut open, across which the sheet changes
// with the square of the distance: backwards half the digits are lost.
//
// With the distances z1, z2 from the points, 2 h between them, P = (z1 + z2)/2, Q = (z1 - z2)/2 and
// the sine n of the distance from their great circle, x = P Q / h and, by Heron's formulas on the
// plane and the sphere,
//   y² h² = (P + h)(P - h)(h + Q)(h - Q),
//   n² sin² h cos² h = sin(P + h) sin(P - h) sin(h + Q) sin(h - Q),
// so that y is n times factors x / sin x, which lose nothing beside the line.
#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

struct TwoPointEquidistantBlock {
  double a, e, es;
  double lon1, lat1, lon2, lat2, falseEast, falseNorth;
  double h, sinH, cosH;               // half of the distance between the points
  double middle[3], ahead[3], up[3];  // unit vectors: to the middle, along the line, to its pole
  double perA;
};

/// For the constants, in rectangular coordinates of the globe.
struct Vector {
  double of[3];
};
inline Vector toward(double lon, double lat) {
  const double c = __builtin_cos(lat);
  return {{c * __builtin_cos(lon), c * __builtin_sin(lon), __builtin_sin(lat)}};
}
inline double dot(const Vector &u, const Vector &v) {
  return u.of[0] * v.of[0] + u.of[1] * v.of[1] + u.of[2] * v.of[2];
}
inline double length(const Vector &v) { return __builtin_sqrt(dot(v, v)); }
inline Vector plus(const Vector &u, double factor, const Vector &v) {
  return {{u.of[0] + factor * v.of[0], u.of[1] + factor * v.of[1], u.of[2] + factor * v.of[2]}};
}
inline Vector cross(const Vector &u, const Vector &v) {
  return {{u.of[1] * v.of[2] - u.of[2] * v.of[1], u.of[2] * v.of[0] - u.of[0] * v.of[2],
           u.of[0] * v.of[1] - u.of[1] * v.of[0]}};
}

struct TwoPointEquidistant : FamilyBase<TwoPointEquidistantBlock> {
  static constexpr Row row{
      .number = 52, .minimum = 12, .angles = entries(8, 11), .compared = entries(6, 11)};
  static constexpr ValueCheck checks[] = {{[](const Entries &p, const Ellipsoid &) {
                                             const Vector one = toward(p[8], p[9]),
                                                          other = toward(p[10], p[11]);
                                             const Vector line = cross(one, other);
                                             return !(dot(line, line) > kClose * kClose);
                                           },
                                           "Improper parameter"}};
  static constexpr double kTiny = 1e-60;  // stands for 0 in quotients of four factors

  static bool derive(const Entries &p, const Ellipsoid &s, TwoPointEquidistantBlock &b) {
    b = {};
    b.a = s.a;
    b.e = s.e;
    b.es = s.es;
    b.lon1 = p[8];
    b.lat1 = p[9];
    b.lon2 = p[10];
    b.lat2 = p[11];
    b.falseEast = p[6];
    b.falseNorth = p[7];
    b.perA = 1.0 / s.a;
    const Vector one = toward(p[8], p[9]), other = toward(p[10], p[11]);
    const Vector sum = plus(one, 1.0, other), difference = plus(other, -1.0, one);
    const Vector line = cross(one, other);
    const double sine = length(line);
    b.h = 0.5 * __builtin_atan2(sine, dot(one, other));
    b.sinH = 0.5 * length(difference);
    b.cosH = 0.5 * length(sum);
    for (int i = 0; i < 3; ++i) {
      b.middle[i] = sum.of[i] / (2.0 * b.cosH);
      b.ahead[i] = difference.of[i] / (2.0 * b.sinH);
      b.up[i] = line.of[i] / sine;
    }
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &) {
    const SinCos<V> p = sincos(lat), l = sincos(lon);
    const V at[3] = {p.cos * l.cos, p.cos * l.sin, p.sin};
    const V middle = along(b.middle, at), ahead = along(b.ahead, at), up = along(b.up, at);
    const V up2 = up * up;
    // sines and cosines of the distances from the two points
    const V left = fma(ahead, V(b.cosH), middle * b.sinH);
    const V right = fma(ahead, V(b.cosH), -middle * b.sinH);
    const V z1 = atan2(sqrt(fma(left, left, up2)), fma(middle, V(b.cosH), -ahead * b.sinH));
    const V z2 = atan2(sqrt(fma(right, right, up2)), fma(middle, V(b.cosH), ahead * b.sinH));
    const V sum = 0.5 * (z1 + z2), difference = 0.5 * (z1 - z2);
    const Sides<V> sides = sidesOf(b, sum, difference);
    const V sineAround = sin(sides.around);
    const V sines = sineAround * sin(sides.beyond) * sin(sides.one) * sin(sides.other);
    const V beside = sides.one * sides.other, plane = sides.around * sides.beyond * beside;
    // Opposite to the line, where the sine of P + h vanishes, the plane's formula is the better
    // one.
    const Truth<V> opposite = (sides.around > V(kHalfPi)) & (sineAround < beside);
    const V area = select(opposite, copysign(sqrt(plane), up),
                          up * (b.sinH * b.cosH) * sqrt(plane / max(sines, V(kTiny))));
    const double perH = b.a / b.h;
    return {fma(perH * sum, difference, V(b.falseEast)), fma(V(perH), area, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V u = (x - V(b.falseEast)) * b.perA, v = (y - V(b.falseNorth)) * b.perA;
    const V v2 = v * v;
    const V z1 = sqrt(fma(u + b.h, u + b.h, v2)), z2 = sqrt(fma(u - b.h, u - b.h, v2));
    const V given = 0.5 * (z1 + z2), outside = given + (b.h - kPi);
    // its distance from the outline is that of P over the gradient of P on the sheet
    const V gradient2 = (given - b.h) * (given + b.h) / max(z1 * z2, V(kTiny));
    const Truth<V> off = (outside > V(0.0)) & (outside * outside > kClose * kClose * gradient2);
    stop.when(off | (outside > V(1.0)), kInputData);
    const V sum = min(given, V(kPi - b.h)), difference = u * b.h / sum;
    const Sides<V> sides = sidesOf(b, sum, difference);
    const SinCos<V> p = sincos(sum), q = sincos(difference);
    const V sines = sin(sides.around) * sin(sides.beyond) * sin(sides.one) * sin(sides.other);
    const V plane = sides.around * sides.beyond * sides.one * sides.other;
    const V up = v * sqrt(max(sines, V(0.0)) / plane) * (b.h / (b.sinH * b.cosH));
    const V middle = p.cos * q.cos * (1.0 / b.cosH), ahead = p.sin * q.sin * (1.0 / b.sinH);
    V at[3];
    for (int i = 0; i < 3; ++i)
      at[i] = fma(middle, V(b.middle[i]), fma(ahead, V(b.ahead[i]), up * b.up[i]));
    return {atan2(at[1], at[0]), atan2(at[2], sqrt(fma(at[0], at[0], at[1] * at[1])))};
  }

 private:
  /// P + h, P - h, h + Q, h - Q, none of them quite 0.
  template <class V>
  struct Sides {
    V around, beyond, one, other;
  };
  template <class V>
  OPRJ_INLINE static Sides<V> sidesOf(const Block &b, V sum, V difference) {
    const V tiny(kTiny);
    return {sum + b.h, max(sum - b.h, tiny), max(b.h + difference, tiny),
            max(b.h - difference, tiny)};
  }
  template <class V>
  OPRJ_INLINE static V along(const double (&axis)[3], const V (&at)[3]) {
    return fma(at[0], V(axis[0]), fma(at[1], V(axis[1]), at[2] * axis[2]));
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_ENGINE_FAMILY(TwoPointEquidistant, TwoPointEquidistant)
