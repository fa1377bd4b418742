// Meridian distance and its inverse on lanes, for the families that need both.
//
// The distance is the series of oprj_Mlfn, M/a = e0 phi - e1 sin 2phi + e2 sin 4phi - e3 sin 6phi,
// with the multiple angles by double-angle identities. The inverse runs the iteration of oprj_Phi3
// with its cap and tolerance, but starts from the series of [Snyder87] eq. 3-26, which is good to
// 1e-12 rad on Earth-like spheroids, so that one step remains; results differ from oprj_Phi3's by
// at most 6e-14 rad.
#ifndef OPRJ_MERIDIAN_H
#define OPRJ_MERIDIAN_H

#include "lanes/lanes.h"

namespace orvik::oprj::OPRJ_SET {

/// Up to this e² the short series of the lanes (rotations by small corrections, e atanh(e s)) are
/// exact to rounding; it covers every spheroid used for the Earth, the Moon and Mars.
inline constexpr double kEarthLike = 0.014;

/// Turns (sin phi, cos phi) by a small angle d: |d| <= 0.01 to rounding.
template <class V>
OPRJ_INLINE SinCos<V> turned(SinCos<V> angle, V d) {
  const V d2 = d * d;
  const V sinD = d * polynomial(d2, 1.0, -1.0 / 6, 1.0 / 120);
  const V versD = d2 * polynomial(d2, 0.5, -1.0 / 24, 1.0 / 720);  // 1 - cos d
  return {angle.sin + (angle.cos * sinD - angle.sin * versD),
          angle.cos - (angle.sin * sinD + angle.cos * versD)};
}

/// M/a - e0 phi from the sine and cosine of phi.
template <class V>
OPRJ_INLINE V meridianWaves(double e1, double e2, double e3, SinCos<V> a) {
  const V sin2 = 2.0 * a.sin * a.cos;
  const V cos2 = fma(-2.0 * a.sin, a.sin, V(1.0));
  // sin 4phi = 2 sin 2phi C, sin 6phi = sin 2phi (4 C² - 1), C = cos 2phi
  return sin2 * polynomial(cos2, e3 - e1, 2 * e2, -4 * e3);
}

/// What the inverse needs of one spheroid: doubles only, so that blocks may embed it.
struct MeridianInverse {
  double e0, e1, e2, e3, perE0;
  double start2, start4, start6, start8;  ///< [Snyder87] 3-26
  double earthLike;                       ///< 1 or 0
};

/// Fills the constants; e0 to e3 of oprj_E0fn to oprj_E3fn.
inline MeridianInverse meridianInverseOf(double es, double e0, double e1, double e2, double e3) {
  const double root = __builtin_sqrt(1.0 - es);
  const double n = (1.0 - root) / (1.0 + root), n2 = n * n;
  return {e0,
          e1,
          e2,
          e3,
          1.0 / e0,
          n * (3.0 / 2 - n2 * (27.0 / 32)),
          n2 * (21.0 / 16 - n2 * (55.0 / 32)),
          n * n2 * (151.0 / 96),
          n2 * n2 * (1097.0 / 512),
          es <= kEarthLike ? 1.0 : 0.0};
}

/// A latitude with its sine and cosine.
template <class V>
struct Latitude {
  V phi;
  SinCos<V> of;
  Truth<V> converged;
};

inline constexpr int kPhi3Iterations = 15;
inline constexpr double kPhi3Tolerance = 1e-11;  // rad, 0.06 mm on the ground

/// The latitude whose meridian distance over a is m.
template <class V>
Latitude<V> latitudeOfDistance(const MeridianInverse &c, V m) {
  const V mu = m * c.perE0;
  SinCos<V> of = sincos(notTooFar(mu));
  V phi = mu;
  if (c.earthLike != 0.0) {
    const V sin2 = 2.0 * of.sin * of.cos;
    const V cos2 = fma(-2.0 * of.sin, of.sin, V(1.0));
    // sin 2mu (s2 + 2 s4 C + s6 (4C² - 1) + s8 (8C³ - 4C)), C = cos 2mu
    const V d = sin2 * polynomial(cos2, c.start2 - c.start6, 2 * c.start4 - 4 * c.start8,
                                  4 * c.start6, 8 * c.start8);
    phi = mu + d;
    of = turned(of, d);
  }
  Truth<V> open = V(0.0) == V(0.0);
  for (int i = 0; i < kPhi3Iterations && any(open); ++i) {
    const V d = (m - meridianWaves(c.e1, c.e2, c.e3, of)) * c.perE0 - phi;
    const V step = select(open, d, V(0.0));
    phi = phi + step;
    of = c.earthLike != 0.0 ? turned(of, step) : sincos(phi);
    const Truth<V> met = abs(d) <= V(kPhi3Tolerance);  // a NaN never meets it
    open = open & ~met;
  }
  return {phi, of, ~open};
}

}  // namespace orvik::oprj::OPRJ_SET

#endif
