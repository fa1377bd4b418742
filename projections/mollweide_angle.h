// Mollweide's auxiliary angle on lanes, both ways. [Snyder87] p. 251, eqs. 31-3 to 31-8.
//
// The book's theta satisfies 2 theta + sin 2theta = pi sin(phi). Solved for theta that is a triple
// root at the pole, where Newton's method crawls and x goes wrong by tens of metres. Here the angle
// is measured from the pole: u = pi - 2 theta satisfies u - sin u = k with k = 2 pi sin²(psi/2),
// psi = pi/2 - |phi|, and u = s P(s²) with s the cube root of 6k and a smooth P, 1 at the pole.
// Solving for P leaves nothing singular and nothing that cancels: all of it has relative accuracy.
// Wagner's fourth projection has the same equation with another k.
#ifndef OPRJ_MOLLWEIDE_ANGLE_H
#define OPRJ_MOLLWEIDE_ANGLE_H

#include "lanes/lanes.h"

namespace orvik::oprj::OPRJ_SET {

/// 1/n!
constexpr double inverseFactorial(int n) { return n == 0 ? 1.0 : inverseFactorial(n - 1) / n; }

/// `kTerms` terms of 1/n! - w/(n+2)! + w²/(n+4)! - ...
template <int n, int kTerms, class V>
OPRJ_INLINE V alternating(V w) {
  if constexpr (kTerms == 1) return V(inverseFactorial(n));
  else return fma(-w, alternating<n + 2, kTerms - 1>(w), V(inverseFactorial(n)));
}

/// (u - sin u) / u³ from w = u²: to rounding for u <= pi.
template <class V>
OPRJ_INLINE V arcExcess(V w) {
  return alternating<3, 14>(w);
}

/// The angle u of a parallel by the sine and cosine of its half.
template <class V>
struct AuxiliaryAngle {
  SinCos<V> half;
  Truth<V> converged;
};

inline constexpr double kAuxiliaryTolerance = 1e-10;

/// Solves u - sin u = k, 0 <= k <= pi, by Halley's method: a relative step d leaves less than d³.
/// The start is good to 3e-6, so one step suffices.
template <class V>
OPRJ_INLINE AuxiliaryAngle<V> auxiliaryAngle(V k, int iterations) {
  const V s = cbrt(6.0 * k), t = s * s;
  // P(s²) through its values at seven Chebyshev nodes of 0 <= s² <= (6 pi)^(2/3)
  V ratio = polynomial(t, 1.000001169, 0.01665058786, 7.495504354e-4, 1.151106795e-5,
                       1.276166255e-5, -1.61035424e-6, 1.379583699e-7);
  Truth<V> open = V(0.0) == V(0.0);
  for (int i = 0; i < iterations && any(open); ++i) {
    const V square = ratio * ratio, w = t * square;
    const V excess = arcExcess(w);
    const V missing = fma(-square * ratio, excess, V(1.0 / 6));
    const V slope = square * alternating<2, 11>(w);   // d/dP: P² (1 - cos u)/u²
    const V bend = ratio * (0.5 - 0.5 * w * excess);  // half of d²/dP²: P (sin u)/u / 2
    const V d = missing * slope / fma(missing, bend, slope * slope);
    ratio = ratio + select(open, d, V(0.0));
    const Truth<V> met = abs(d) * d * d <= V(kAuxiliaryTolerance);  // a NaN never meets it
    open = open & ~met;
  }
  return {sincos(0.5 * s * ratio), ~open};
}

/// u - sin u from half of u.
template <class V>
OPRJ_INLINE V excessOfHalf(V half) {
  const V w = 4.0 * half * half;
  return 2.0 * half * w * arcExcess(w);
}

// --- Mollweide's parallels ---

/// A parallel on the sheet: its height in units of sqrt(2) a and its width, the factor that the
/// longitude takes besides 2 sqrt(2)/pi a. 0 at the poles.
template <class V>
struct Parallel {
  V height, width;
  Truth<V> converged;
};

inline constexpr double kMollweideHeight = 1.4142135623731;  // sqrt(2)
inline constexpr double kMollweideWidth = 0.900316316158;    // 2 sqrt(2)/pi
inline constexpr int kMollweideIterations = 50;

/// The parallel of a latitude, |lat| <= pi/2. `halfColatitude`: sine of (pi/2 - |lat|) / 2.
template <class V>
OPRJ_INLINE Parallel<V> mollweideParallel(V lat, V halfColatitude) {
  const AuxiliaryAngle<V> u =
      auxiliaryAngle(kTwoPi * halfColatitude * halfColatitude, kMollweideIterations);
  return {copysign(u.half.cos, lat), u.half.sin, u.converged};
}

/// Width of the parallel at a height, |height| <= 1.
template <class V>
OPRJ_INLINE V mollweideWidth(V height) {
  return sqrt((1.0 - height) * (1.0 + height));
}

/// Latitude and width of the parallel at a height, |height| <= 1.
template <class V>
struct MollweideLatitude {
  V lat, width;
};
template <class V>
OPRJ_INLINE MollweideLatitude<V> mollweideLatitude(V height) {
  const V width = mollweideWidth(height);
  const V k = excessOfHalf(atan2(width, abs(height)));
  const V colatitude = 2.0 * asin(sqrt(k * (0.5 / kPi)));
  return {copysign(kHalfPi - colatitude, height), width};
}

}  // namespace orvik::oprj::OPRJ_SET

#endif
