// Times, J. Moir's map of 1965: Gall's parallels, meridians less curved than circles. After [PROJ],
// which alone publishes figures.
//
//   t = tan(phi/2), x = a dlam (0.74482 - 0.34588 sin²(pi t / 4)), y = 1.70711 a t
#include "projections/pseudocylindrical.h"

namespace orvik::oprj::OPRJ_SET {

struct Times : Pseudocylindrical<Times> {
  static constexpr Row row = worldMapRow(60);
  static constexpr double kTop = 1.70711, kEquator = 0.74482, kNarrowing = 0.34588;

  template <class V>
  OPRJ_INLINE static V width(V t) {
    return fma(V(-kNarrowing), square(sin(t * (kPi / 4))), V(kEquator));
  }
  template <class V>
  OPRJ_INLINE static Line<V> parallel(const Block &, V lat) {
    const SinCos<V> half = sincos(0.5 * lat);
    const V t = half.sin / half.cos;
    return {kTop * t, width(t)};
  }
  template <class V>
  OPRJ_INLINE static Place<V> place(const Block &, V height) {
    const V t = height * (1.0 / kTop);
    return {clampTo(2.0 * atan(t), kHalfPi), width(t)};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_ENGINE_FAMILY(Times, Times)
