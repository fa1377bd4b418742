// Conformal and authalic latitude on lanes, both ways, for the families that need them.
//
// The functions are those of oprj_Tsfn, oprj_Qsfn, oprj_Phi2 and oprj_Phi1 without their tangents
// and powers. The inverses run the iterations of oprj_Phi2 and oprj_Phi1 with their cap and
// tolerance, but on Earth-like spheroids start from the series in the third flattening, [Karney11]
// eq. 36 and [Karney24] appendix A, cut behind its fifth order: good to 2e-15 rad (1.6e-13 at e² =
// 0.014), so that one step remains. Results differ from those of oprj_Phi2 and oprj_Phi1 by what
// their stop tests leave: for oprj_Phi2 e² times the tolerance, 7e-13 rad on the Earth.
//
// Each set of constants is a struct of doubles, made once a spheroid, that blocks may embed.
#ifndef OPRJ_AUXILIARY_LATITUDE_H
#define OPRJ_AUXILIARY_LATITUDE_H

#include "projections/meridian.h"

namespace orvik::oprj::OPRJ_SET {

/// c[0] + c[1] x + c[2] x² ...
template <class V, int kCount>
OPRJ_INLINE V polynomial(V x, const double (&c)[kCount]) {
  V sum(c[kCount - 1]);
#pragma GCC unroll 16
  for (int i = kCount - 2; i >= 0; --i) sum = fma(x, sum, V(c[i]));
  return sum;
}

inline constexpr int kSeriesOrder = 5;

/// Rewrites c1 sin 2a + c2 sin 4a + ... + c5 sin 10a as sin 2a times a polynomial of cos 2a.
inline void fillSineSeries(double c1, double c2, double c3, double c4, double c5,
                           double (&p)[kSeriesOrder]) {
  p[0] = c1 - c3 + c5;
  p[1] = 2 * c2 - 4 * c4;
  p[2] = 4 * c3 - 12 * c5;
  p[3] = 8 * c4;
  p[4] = 16 * c5;
}

/// The value of such a series at a.
template <class V>
OPRJ_INLINE V sineSeries(SinCos<V> a, const double (&p)[kSeriesOrder]) {
  return 2.0 * a.sin * a.cos * polynomial(fma(-2.0 * a.sin, a.sin, V(1.0)), p);
}

/// The third flattening n = (a - b) / (a + b).
inline double thirdFlattening(double es) {
  const double root = __builtin_sqrt(1.0 - es);
  return (1.0 - root) / (1.0 + root);
}

/// A latitude found by iterating.
template <class V>
struct Solved {
  V phi;
  Truth<V> converged;
};

// --- conformal latitude ---

struct ConformalLatitude {
  double e, earthLike;         ///< earthLike: 1 or 0
  double wave[7];              ///< e atanh(e s) / s by s²; exact to 1e-16 up to kEarthLike
  double start[kSeriesOrder];  ///< (phi - chi) / sin 2chi by cos 2chi
};

/// 1 - e² below which e atanh(e s) leaves too few digits of the isometric latitude.
inline constexpr double kFlattest = 1e-4;
inline bool isTooFlat(double es) { return 1.0 - es < kFlattest; }

inline ConformalLatitude conformalLatitudeOf(double e, double es) {
  ConformalLatitude c{e, es <= kEarthLike ? 1.0 : 0.0, {}, {}};
  double power = es;
  for (int k = 0; k < 7; ++k, power *= es) c.wave[k] = power / (2 * k + 1);
  const double n = thirdFlattening(es), n2 = n * n, n3 = n * n2, n4 = n2 * n2, n5 = n2 * n3;
  fillSineSeries(2 * n - n2 * (2.0 / 3) - 2 * n3 + n4 * (116.0 / 45) + n5 * (26.0 / 45),
                 n2 * (7.0 / 3) - n3 * (8.0 / 5) - n4 * (227.0 / 45) + n5 * (2704.0 / 315),
                 n3 * (56.0 / 15) - n4 * (136.0 / 35) - n5 * (1262.0 / 105),
                 n4 * (4279.0 / 630) - n5 * (332.0 / 35), n5 * (4174.0 / 315), c.start);
  return c;
}

/// e atanh(e s), s = sin phi.
template <class V>
OPRJ_INLINE V eAtanh(const ConformalLatitude &c, V s) {
  if (c.earthLike != 0.0) return s * polynomial(s * s, c.wave);
  return c.e * atanh(c.e * s);
}

/// exp(x) for x = +-e atanh(e s): |x| <= 0.0142 on Earth-like spheroids.
template <class V>
OPRJ_INLINE V expOfWave(const ConformalLatitude &c, V x) {
  if (c.earthLike != 0.0)
    return polynomial(x, 1.0, 1.0, 1.0 / 2, 1.0 / 6, 1.0 / 24, 1.0 / 120, 1.0 / 720);
  return exp(x);
}

/// atanh(sin phi), the isometric latitude of the sphere.
template <class V>
OPRJ_INLINE V sphericalIsometric(SinCos<V> p) {
  return copysign(logOfQuotient(1.0 + abs(p.sin), p.cos), p.sin);
}

/// Isometric latitude psi = atanh s - e atanh(e s) = -ln t, [Snyder87] eq. 7-7.
template <class V>
OPRJ_INLINE V isometricLatitude(const ConformalLatitude &c, SinCos<V> p) {
  return sphericalIsometric(p) - eAtanh(c, p.sin);
}

/// t = tan(pi/4 - phi/2) / ((1 - e s)/(1 + e s))^(e/2), [Snyder87] eq. 15-9.
template <class V>
OPRJ_INLINE V conformalT(const ConformalLatitude &c, SinCos<V> p) {
  const Truth<V> north = p.sin >= V(0.0);
  const V s = 1.0 + abs(p.sin);
  return select(north, p.cos, s) / select(north, s, p.cos) * expOfWave(c, eAtanh(c, p.sin));
}

/// Sine and cosine of the conformal latitude of t: tan(pi/4 - chi/2) = t.
template <class V>
OPRJ_INLINE SinCos<V> conformalOfT(V t) {
  const V scale = 1.0 / fma(t, t, V(1.0));
  return {fma(-t, t, V(1.0)) * scale, 2.0 * t * scale};
}

inline constexpr int kPhi2Iterations = 15;
inline constexpr double kPhi2Tolerance = 1e-10;  // rad, 0.6 mm on the ground

/// The latitude of the northern hemisphere with this t, 0 <= t <= 1. Works on u = tan(pi/4 - phi/2)
/// as the quotient u / v, so that a step has one division and no trigonometry.
template <class V>
OPRJ_INLINE Solved<V> northernLatitudeOfT(const ConformalLatitude &c, V t) {
  V u = t, v(1.0);
  if (c.earthLike != 0.0) {
    const V d = sineSeries(conformalOfT(t), c.start);
    const V tau = d * polynomial(d * d, 1.0 / 2, 1.0 / 24, 1.0 / 240);  // tan(d/2), |d| < 0.008
    u = t - tau;
    v = fma(t, tau, V(1.0));
  }
  Truth<V> open = V(0.0) == V(0.0);
  for (int i = 0; i < kPhi2Iterations && any(open); ++i) {
    const V u2 = u * u, v2 = v * v;
    const V s = (v2 - u2) / (v2 + u2);
    const V next = t * expOfWave(c, -eAtanh(c, s));
    // twice the tangent of half the correction; a NaN never meets it
    const Truth<V> met = 2.0 * abs(fma(next, v, -u)) <= V(kPhi2Tolerance) * fma(u, next, v);
    u = select(open, next, u);
    v = select(open, V(1.0), v);
    open = open & ~met;
  }
  return {kHalfPi - 2.0 * atan(u), ~open};  // v is 1 behind the first step
}

/// The latitude with this t >= 0.
template <class V>
OPRJ_INLINE Solved<V> latitudeOfT(const ConformalLatitude &c, V t) {
  const Truth<V> south = t > V(1.0);
  const Solved<V> r = northernLatitudeOfT(c, select(south, 1.0 / t, t));
  return {select(south, -r.phi, r.phi), r.converged};
}

/// The latitude with this isometric latitude; infinities are the poles.
template <class V>
OPRJ_INLINE Solved<V> latitudeOfIsometric(const ConformalLatitude &c, V psi) {
  const Solved<V> r = northernLatitudeOfT(c, exp(-abs(psi)));
  return {copysign(r.phi, psi), r.converged};
}

// --- authalic latitude ---

/// Eccentricity below which oprj_Qsfn and oprj_Phi1 treat the spheroid as a sphere.
inline constexpr double kAuthalicSphereBelow = 1e-7;

struct AuthalicLatitude {
  double e, es, sphere, earthLike;  ///< the last two: 1 or 0
  double qPole, perQPole;           ///< q of the pole, and 1 over it
  double wave[9];                   ///< q / s by s²; exact to 2e-17 up to kEarthLike
  double start[kSeriesOrder];       ///< (phi - xi) / sin 2xi by cos 2xi
};

/// q of s = sin phi, [Snyder87] eq. 3-12.
template <class V>
OPRJ_INLINE V authalicQ(const AuthalicLatitude &c, V s) {
  if (c.earthLike != 0.0) return s * polynomial(s * s, c.wave);
  return (1.0 - c.es) * (s / fma(V(-c.es) * s, s, V(1.0)) + atanh(c.e * s) * (1.0 / c.e));
}

inline AuthalicLatitude authalicLatitudeOf(double e, double es) {
  const bool sphere = e < kAuthalicSphereBelow;
  if (sphere) es = 0.0;
  AuthalicLatitude c{e, es, sphere ? 1.0 : 0.0, es <= kEarthLike ? 1.0 : 0.0, 2.0, 0.5, {}, {}};
  double power = 1.0 - es;
  for (int k = 0; k < 9; ++k, power *= es) c.wave[k] = power * (2 * k + 2) / (2 * k + 1);
  const double n = thirdFlattening(es), n2 = n * n, n3 = n * n2, n4 = n2 * n2, n5 = n2 * n3;
  fillSineSeries(
      n * (4.0 / 3) + n2 * (4.0 / 45) - n3 * (16.0 / 35) - n4 * (2582.0 / 14175) +
          n5 * (60136.0 / 467775),
      n2 * (46.0 / 45) + n3 * (152.0 / 945) - n4 * (11966.0 / 14175) - n5 * (21016.0 / 51975),
      n3 * (3044.0 / 2835) + n4 * (3802.0 / 14175) - n5 * (94388.0 / 66825),
      n4 * (6059.0 / 4725) + n5 * (41072.0 / 93555), n5 * (768272.0 / 467775), c.start);
  c.qPole = authalicQ(c, 1.0);
  c.perQPole = 1.0 / c.qPole;
  return c;
}

inline constexpr int kPhi1Iterations = 15;
inline constexpr double kPhi1Tolerance = 1e-10;  // rad, 0.6 mm on the ground
/// Distance from the pole's q within which the iteration's noise would exceed its tolerance or its
/// cap: 0.06 degrees from the pole. There the latitude is expanded around the pole.
inline constexpr double kNearPoleQ = 1e-6;
/// Excess over the pole's q that counts as rounding.
inline constexpr double kPoleSlackQ = 1e-10;

/// The latitude with this q. Beyond the pole's q there is none: not converged. On the sphere the
/// argument is clamped, as oprj_Phi1 does.
template <class V>
OPRJ_INLINE Solved<V> latitudeOfQ(const AuthalicLatitude &c, V q) {
  const V sinXi = clampToUnit(q * c.perQPole);
  V phi = asin(sinXi);
  Truth<V> open = ~never<V>();
  if (c.sphere != 0.0) return {phi, open};

  const V magnitude = abs(q), w = c.qPole - magnitude;
  SinCos<V> at{sinXi, sqrt(max(w, V(0.0)) * (c.qPole + magnitude)) * c.perQPole};
  if (c.earthLike != 0.0) {
    const V d = sineSeries(at, c.start);
    phi = phi + d;
    at = turned(at, d);
  }
  const Truth<V> polar = w <= V(kNearPoleQ);
  open = ~polar;
  for (int i = 0; i < kPhi1Iterations && any(open); ++i) {
    const V k = fma(V(-c.es) * at.sin, at.sin, V(1.0));
    const V d = (q - authalicQ(c, at.sin)) * k * k / (V(2.0 * (1.0 - c.es)) * at.cos);
    const V step = select(open, d, V(0.0));
    phi = phi + step;
    at = c.earthLike != 0.0 ? turned(at, step) : sincos(phi);
    const Truth<V> met = abs(d) <= V(kPhi1Tolerance);  // a NaN never meets it
    open = open & ~met;
  }
  if (any(polar)) {
    const V within = max(w, V(0.0));
    const V h = V(0.5 * (1.0 - c.es)) * within * fma(V(c.es), within, V(1.0));
    phi = select(polar, copysign(kHalfPi - 2.0 * asin(sqrt(0.5 * h)), q), phi);
    open = open | (w < V(-kPoleSlackQ));
  }
  // On a very flat spheroid the iteration can leave the globe and settle beyond a pole.
  if (c.earthLike == 0.0) open = open | (abs(phi) > V(kHalfPi + kPhi1Tolerance));
  return {phi, ~open};
}

}  // namespace orvik::oprj::OPRJ_SET

#endif
