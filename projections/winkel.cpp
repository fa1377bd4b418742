// Winkel I (45) and II (46): the mean of the equirectangular projection, true on a parallel, and
// the sinusoidal one (I) or one with Mollweide's ellipses, twice as wide as high (II).
// [SnyderVoxland89], [Snyder93].
//
// Reads entry 5 (the true parallel, which must not be a pole) besides those of pseudocylindrical.h.
// Winkel II: with Mollweide's angle 2 theta + sin 2theta = pi sin phi (mollweide_angle.h)
//   x = a dlam (cos phi1 + cos theta) / 2, y = a (phi + pi/2 sin theta) / 2.
// Backwards, with u = pi - 2 theta, the distance of a parallel from the pole is d = (psi + pi/2 (1
// - cos(u/2))) / 2, psi = 2 asin sqrt((u - sin u) / 2 pi): u = w² P(w) with w the cube root of d
// and a smooth P, whose polynomial is good to 2e-5; two steps of Newton's method leave rounding.
#include "projections/mollweide_angle.h"
#include "projections/pseudocylindrical.h"

namespace orvik::oprj::OPRJ_SET {

struct WinkelI : Pseudocylindrical<WinkelI> {
  static constexpr Row row = parallelRow(45);
  static constexpr ValueCheck checks[] = {kParallelAtPole};
  static constexpr double kTop = kHalfPi;

  template <class V>
  OPRJ_INLINE static Line<V> parallel(const Block &b, V lat) {
    return {lat, 0.5 * (b.cosParallel + cos(lat))};
  }
  template <class V>
  OPRJ_INLINE static Place<V> place(const Block &b, V height) {
    return {height, 0.5 * (b.cosParallel + cos(height))};
  }
};

struct WinkelII : Pseudocylindrical<WinkelII> {
  static constexpr Row row = parallelRow(46);
  static constexpr ValueCheck checks[] = {kParallelAtPole};
  static constexpr double kTop = kHalfPi;
  static constexpr int kSteps = 2;

  template <class V>
  OPRJ_INLINE static Line<V> parallel(const Block &b, V lat) {
    const Parallel<V> ellipse = mollweideParallel(lat, sin(0.5 * (kHalfPi - abs(lat))));
    return {0.5 * fma(V(kHalfPi), ellipse.height, lat), 0.5 * (b.cosParallel + ellipse.width)};
  }
  template <class V>
  OPRJ_INLINE static Place<V> place(const Block &b, V height) {
    const V d = kHalfPi - abs(height), w = cbrt(d);
    V u = w * w *
          polynomial(w, 3.35300705, -2.459966801, 3.035688254, -3.786656515, 4.11876327,
                     -2.903964611, 1.118465216, -0.1530893024);
    V psi, width;
#pragma GCC unroll 2
    for (int i = 0; i < kSteps; ++i) {
      const SinCos<V> quarter = sincos(0.25 * u);
      const V sine = 2.0 * quarter.sin * quarter.cos;  // of u / 2
      const V half2 = excessOfHalf(0.5 * u) * (0.5 / kPi), half = sqrt(half2);
      psi = 2.0 * asin(half);
      // sin² (u/2) over sin psi, whose limit at the pole is 0
      const V slope = select(half > V(0.0), sine * sine / (kPi * half * sqrt(1.0 - half2)), V(0.0));
      const V bent = 0.5 * slope + (0.125 * kPi) * sine;
      const V missing = d - 0.5 * fma(V(kPi), quarter.sin * quarter.sin, psi);
      const V step = select(bent > V(0.0), missing / bent, V(0.0));
      u = u + step;
      psi = fma(slope, step, psi);
      width = fma(0.5 * step, fma(V(-2.0) * quarter.sin, quarter.sin, V(1.0)), sine);
    }
    return {copysign(kHalfPi - psi, height), 0.5 * (b.cosParallel + width)};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_ENGINE_FAMILY(WinkelI, WinkelI)
OPRJ_ENGINE_FAMILY(WinkelII, WinkelII)
