// Gauss-Krüger: the transverse Mercator projection of the ellipsoid by Krüger's series in the third
// flattening, to the sixth order. [Karney11] eqs. 5 to 17, 35, 36.
//
// Reads entries 2 (scale factor on the central meridian), 4 (central meridian), 5 (latitude of
// origin), 6 and 7 (false easting and northing). Number 9 is the same projection by the shorter
// series, which is meant for a few degrees beside the meridian.
// Domain: up to 100 degrees on the sphere's transverse isometric latitude, 11,100 km or (on the
// equator) 70 degrees from the central meridian. On Earth-like spheroids the series leave 1e-8 m at
// 5000 km, 1e-6 m at 7000 and 5 mm at the end, where the domain ends for that; what they leave
// grows with the seventh power of the flattening.
#include "projections/auxiliary_latitude.h"
#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

inline constexpr int kKruegerOrder = 6;

struct GaussKrugerBlock {
  double a, e, es;
  double k0, lon0, lat0, falseEast, falseNorth;
  double radius, perRadius;  // of the circle as long as the meridian, times k0
  double xi0;                // of lat0
  double ahead[kKruegerOrder], back[kKruegerOrder];  // alpha, beta
  ConformalLatitude conformal;
};

/// zeta + sum c[j] sin 2(j + 1) zeta, from the angle's and the area's functions of 2 zeta.
template <class V>
struct Complex {
  V re, im;
};
template <class V>
OPRJ_INLINE Complex<V> trigonometricSum(const double (&c)[kKruegerOrder], V sin2, V cos2, V sinh2,
                                        V cosh2) {
  // Clenshaw's sum with 2 cos 2zeta = p - i q
  const V p = 2.0 * cos2 * cosh2, q = 2.0 * sin2 * sinh2;
  Complex<V> last{V(0.0), V(0.0)}, sum{V(c[kKruegerOrder - 1]), V(0.0)};
#pragma GCC unroll 6
  for (int j = kKruegerOrder - 2; j >= 0; --j) {
    const Complex<V> next{fma(p, sum.re, fma(q, sum.im, V(c[j]) - last.re)),
                          fma(p, sum.im, fma(-q, sum.re, -last.im))};
    last = sum;
    sum = next;
  }
  const V s = sin2 * cosh2, t = cos2 * sinh2;  // sin 2zeta
  return {fma(s, sum.re, -t * sum.im), fma(s, sum.im, t * sum.re)};
}

struct GaussKruger : FamilyBase<GaussKrugerBlock> {
  static constexpr Row row{.number = 36,
                           .minimum = 8,
                           .angles = entries(4, 5),
                           .scale = 2,
                           .compared = entries(2) | entries(4, 7)};
  static constexpr ValueCheck checks[] = {kNoScale};
  static constexpr StopText kInfinite{4, "Point projects into infinity"};
  static constexpr StopText kPhi2{4, "Error returned from oprj_Phi2", "oprj_Phi2", kPhi2Iterations};
  static constexpr double kFarthest = 100 * kDegree;
  static constexpr double kFlattest = 0.06;  // third flattening; the series leave 0.1 m

  static bool derive(const Entries &p, const Ellipsoid &s, GaussKrugerBlock &b) {
    const double n = thirdFlattening(s.es);
    if (n > kFlattest) return false;
    b = {};
    b.a = s.a;
    b.e = s.e;
    b.es = s.es;
    b.k0 = p[2];
    b.lon0 = meridianOf(p[4]);
    b.lat0 = p[5];
    b.falseEast = p[6];
    b.falseNorth = p[7];
    b.conformal = conformalLatitudeOf(s.e, s.es);
    b.radius = b.a * b.k0 / (1.0 + n) * polynomial(n * n, 1.0, 1.0 / 4, 1.0 / 64, 1.0 / 256);
    b.perRadius = 1.0 / b.radius;
    const double alpha[kKruegerOrder] = {
        polynomial(n, 1.0 / 2, -2.0 / 3, 5.0 / 16, 41.0 / 180, -127.0 / 288, 7891.0 / 37800),
        polynomial(n, 13.0 / 48, -3.0 / 5, 557.0 / 1440, 281.0 / 630, -1983433.0 / 1935360),
        polynomial(n, 61.0 / 240, -103.0 / 140, 15061.0 / 26880, 167603.0 / 181440),
        polynomial(n, 49561.0 / 161280, -179.0 / 168, 6601661.0 / 7257600),
        polynomial(n, 34729.0 / 80640, -3418889.0 / 1995840),
        212378941.0 / 319334400};
    const double beta[kKruegerOrder] = {
        polynomial(n, 1.0 / 2, -2.0 / 3, 37.0 / 96, -1.0 / 360, -81.0 / 512, 96199.0 / 604800),
        polynomial(n, 1.0 / 48, 1.0 / 15, -437.0 / 1440, 46.0 / 105, -1118711.0 / 3870720),
        polynomial(n, 17.0 / 480, -37.0 / 840, -209.0 / 4480, 5569.0 / 90720),
        polynomial(n, 4397.0 / 161280, -11.0 / 504, -830251.0 / 7257600),
        polynomial(n, 4583.0 / 161280, -108847.0 / 3991680),
        20648693.0 / 638668800};
    double power = n;
    for (int j = 0; j < kKruegerOrder; ++j, power *= n) {
      b.ahead[j] = power * alpha[j];
      b.back[j] = -power * beta[j];
    }
    b.xi0 = unitSheet(b, 0.0, sincos(notTooFar(b.lat0))).re;
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const Complex<V> zeta = unitSheet(b, wrapDifference(lon - V(b.lon0)), sincos(lat));
    const Truth<V> within = abs(zeta.im) <= V(kFarthest);  // no NaN
    stop.when(~within, kInfinite);
    return {fma(V(b.radius), zeta.im, V(b.falseEast)),
            fma(V(b.radius), zeta.re - V(b.xi0), V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V eta = (x - V(b.falseEast)) * b.perRadius;
    const V xi = fma(y - V(b.falseNorth), V(b.perRadius), V(b.xi0));
    // the poles' far side ends at pi
    const Truth<V> on = Truth<V>(abs(eta) <= V(kFarthest + kClose)) & (abs(xi) <= V(kPi + kClose));
    stop.when(~on, kInputData);
    const V within = select(on, eta, V(0.0)), along = select(on, xi, V(0.0));
    const SinCos<V> twice = sincos(2.0 * along);
    const V sinh2 = sinh(2.0 * within), cosh2 = sqrt(fma(sinh2, sinh2, V(1.0)));
    const Complex<V> sum = trigonometricSum(b.back, twice.sin, twice.cos, sinh2, cosh2);
    const SinCos<V> p = sincos(along + sum.re);
    const V g = sinh(within + sum.im), cosine = sqrt(fma(g, g, p.cos * p.cos));
    // tan(pi/4 - chi/2) of sin chi = sin xi' / cosh eta', cos chi = cosine / cosh eta'
    const V t = cosine / (sqrt(fma(g, g, V(1.0))) + abs(p.sin));
    const Solved<V> lat = northernLatitudeOfT(b.conformal, t);
    stop.when(~lat.converged, kPhi2);
    return {wrapDifference(b.lon0 + atan2(g, p.cos)), copysign(lat.phi, p.sin)};
  }

 private:
  /// xi and eta: northing and easting over `radius`.
  template <class V>
  OPRJ_INLINE static Complex<V> unitSheet(const Block &b, V dLon, SinCos<V> p) {
    const SinCos<V> chi = conformalOfT(conformalT(b.conformal, p)), l = sincos(dLon);
    const V along = chi.cos * l.cos, across = chi.cos * l.sin;
    const V square2 = fma(along, along, chi.sin * chi.sin);  // 1 - across²
    const V root = sqrt(square2), perSquare = 1.0 / square2;
    const Complex<V> sphere{atan2(chi.sin, along), 2.0 * atanh(across / (1.0 + root))};
    const Complex<V> sum =
        trigonometricSum(b.ahead, 2.0 * chi.sin * along * perSquare,
                         (along - chi.sin) * (along + chi.sin) * perSquare,
                         2.0 * across * perSquare, fma(across, across, V(1.0)) * perSquare);
    return {sphere.re + sum.re, sphere.im + sum.im};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_ENGINE_FAMILY(GaussKruger, GaussKruger)
