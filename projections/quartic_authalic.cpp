// Quartic Authalic (47) and McBryde and Thomas's Flat-Polar Quartic (59): areas are true, meridians
// curves of the fourth order; the poles are points (47) or lines a third as long as the equator
// (59). [SnyderVoxland89], [Snyder93].
//
// 47: x = a dlam cos phi / cos(phi/2), y = 2 a sin(phi/2).
// 59: sin(theta/2) + sin theta = (1 + sqrt(1/2)) sin phi, x = a dlam (1 + 2 cos theta /
// cos(theta/2)) / sqrt(6 + 3 sqrt 2), y = 2 sqrt(3) a sin(theta/2) / sqrt(2 + sqrt 2). With p =
// sin(theta/2) and c = cos(theta/2) the equation is p (1 + 2 c) = q, without an angle. p is smooth
// in the root of what q lacks of its greatest value, 1.76 at theta = 107 degrees; a polynomial of
// it good to 9e-7 and one step of Halley's method leave rounding. The parallels of 59 crowd at the
// pole lines, where the sheet holds the latitude to 2e-16/psi rad.
#include "projections/pseudocylindrical.h"

namespace orvik::oprj::OPRJ_SET {

inline constexpr double kRootOfHalf = 0.70710678118654752440;

struct QuarticAuthalic : Pseudocylindrical<QuarticAuthalic> {
  static constexpr Row row = worldMapRow(47);
  static constexpr double kTop = 2.0 * kRootOfHalf;

  template <class V>
  OPRJ_INLINE static Line<V> parallel(const Block &, V lat) {
    const SinCos<V> half = sincos(0.5 * lat);
    return {2.0 * half.sin, (half.cos - half.sin) * (half.cos + half.sin) / half.cos};
  }
  template <class V>
  OPRJ_INLINE static Place<V> place(const Block &, V height) {
    const V sine = 0.5 * height, cosine = sqrt((1.0 - sine) * (1.0 + sine));
    const V width = (cosine - sine) * (cosine + sine) / cosine;
    return {clampTo(2.0 * asin(sine), kHalfPi), max(width, V(0.0))};
  }
};

struct FlatPolarQuartic : Pseudocylindrical<FlatPolarQuartic> {
  static constexpr Row row = worldMapRow(59);
  static constexpr double kWidth = 0.31245971410378249251;  // 1 / sqrt(6 + 3 sqrt(2))
  static constexpr double kHeight = 1.8747582846226949551;  // 2 sqrt(3) / sqrt(2 + sqrt(2))
  static constexpr double kTop = kHeight * kRootOfHalf;
  static constexpr double kPole = 1.0 + kRootOfHalf;
  static constexpr double kGreatest = 1.7601725930460869194;  // of p (1 + 2 sqrt(1 - p²))

  template <class V>
  OPRJ_INLINE static V width(V p, V c) {
    return fma(V(2.0 * kWidth), (c - p) * (c + p) / c, V(kWidth));
  }
  template <class V>
  OPRJ_INLINE static Line<V> parallel(const Block &, V lat) {
    const V q = kPole * abs(sin(lat)), root = sqrt(kGreatest - q);
    V p = polynomial(root, 0.8053387695, -0.3926256325, -0.1426248007, -0.02865262317,
                     0.06229197572, -0.07514391396, 0.04089151382, -0.01017216009);
    const V p2 = p * p, c = sqrt(1.0 - p2), t2 = p2 / (1.0 - p2);
    const V excess = fma(2.0 * p, c, p) - q;
    const V slope = fma(V(2.0) * c, 1.0 - t2, V(1.0));
    const V bend = -p / c * (3.0 + t2);  // half of the second derivative
    p = p - excess * slope / fma(slope, slope, -excess * bend);
    return {copysign(kHeight * p, lat), width(p, sqrt(1.0 - p * p))};
  }
  template <class V>
  OPRJ_INLINE static Place<V> place(const Block &, V height) {
    const V p = abs(height) * (1.0 / kHeight), c = sqrt(1.0 - p * p);
    const V missing = ((kTop - abs(height)) * (1.0 / kHeight) + square(c - p)) * (1.0 / kPole);
    const V lat = latitudeOfSine(fma(2.0 * p, c, p) * (1.0 / kPole), missing);
    return {copysign(lat, height), width(p, c)};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_ENGINE_FAMILY(QuarticAuthalic, QuarticAuthalic)
OPRJ_ENGINE_FAMILY(FlatPolarQuartic, FlatPolarQuartic)
