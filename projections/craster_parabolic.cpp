// Craster Parabolic, Putnins P4: areas are true, meridians parabolas. [SnyderVoxland89],
// [Snyder93].
//
//   x = sqrt(3/pi) a dlam (2 cos(2 phi / 3) - 1), y = sqrt(3 pi) a sin(phi / 3)
#include "projections/pseudocylindrical.h"

namespace orvik::oprj::OPRJ_SET {

struct CrasterParabolic : Pseudocylindrical<CrasterParabolic> {
  static constexpr Row row = worldMapRow(57);
  static constexpr double kWidth = 0.97720502380583984317;  // sqrt(3 / pi)
  static constexpr double kHeight = 3.0699801238394654654;  // sqrt(3 pi)
  static constexpr double kTop = 0.5 * kHeight;

  template <class V>
  OPRJ_INLINE static V width(V sine) {
    return kWidth * max(fma(V(-2.0), sine, V(1.0)) * fma(V(2.0), sine, V(1.0)), V(0.0));
  }
  template <class V>
  OPRJ_INLINE static Line<V> parallel(const Block &, V lat) {
    const V sine = sin(lat * (1.0 / 3));
    return {kHeight * sine, width(sine)};
  }
  template <class V>
  OPRJ_INLINE static Place<V> place(const Block &, V height) {
    const V sine = height * (1.0 / kHeight);
    return {clampTo(3.0 * asin(sine), kHalfPi), width(sine)};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_ENGINE_FAMILY(CrasterParabolic, CrasterParabolic)
