// Loximuthal, by K. Siemon and W. R. Tobler: loxodromes through the point where the central
// parallel meets the central meridian are straight, of true length and azimuth. [SnyderVoxland89]
// [Snyder93].
//
// Reads entry 5 (central parallel phi1, which must not be a pole) besides those of
// pseudocylindrical.h.
//   x = a dlam (phi - phi1) / (psi - psi1), y = a (phi - phi1), psi the isometric latitude.
// Near the central parallel the difference is 2 atanh(sin((phi - phi1)/2) / cos((phi + phi1)/2)),
// which does not cancel. The poles are points, reached so steeply that a nanometre in latitude is
// kilometres on the sheet: cosines count from the double that stands for the pole.
#include "projections/pseudocylindrical.h"

namespace orvik::oprj::OPRJ_SET {

struct Loximuthal : Pseudocylindrical<Loximuthal> {
  static constexpr Row row = parallelRow(48);
  static constexpr ValueCheck checks[] = {kParallelAtPole};
  static constexpr double kBelowPole = 6.123233995736766e-17;  // pi/2 - kHalfPi

  template <class V>
  OPRJ_INLINE static V top(const Block &b, V height) {
    return kHalfPi - select(height < V(0.0), V(-b.parallel), V(b.parallel));
  }
  /// Of the latitude `lat`, `height` from the central parallel.
  template <class V>
  OPRJ_INLINE static V width(const Block &b, V lat, V height) {
    const V z = sin(0.5 * height) / cos(0.5 * (lat + b.parallel));
    const Truth<V> near = abs(z) <= V(0.5);
    const SinCos<V> p = sincos(lat);
    const V fromPole = p.cos - kBelowPole;
    const Truth<V> pole = fromPole <= V(0.0);
    const V psi = copysign(log((1.0 + abs(p.sin)) / select(pole, V(1.0), fromPole)), lat);
    const V run = select(near, 2.0 * atanh(select(near, z, V(0.0))), psi - b.isometricParallel);
    return select(pole, V(0.0), select(height == V(0.0), V(b.cosParallel), height / run));
  }
  template <class V>
  OPRJ_INLINE static Line<V> parallel(const Block &b, V lat) {
    const V height = lat - b.parallel;
    return {height, width(b, lat, height)};
  }
  template <class V>
  OPRJ_INLINE static Place<V> place(const Block &b, V height) {
    const V lat = clampTo(height + b.parallel, kHalfPi);
    return {lat, width(b, lat, height)};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_ENGINE_FAMILY(Loximuthal, Loximuthal)
