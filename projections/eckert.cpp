// Eckert I to VI (numbers 42 to 37): pole lines half as long as the equator; I, II with straight
// meridians, III, IV with elliptical and V, VI with sinusoidal ones. Those with even numbers keep
// areas. [Snyder87] p. 253-258 (IV, VI), [SnyderVoxland89], [Snyder93] (formulas of
// all six).
//
// Eckert IV and VI have an angle theta that solves an equation; it starts from a polynomial that is
// good to 4e-6 of it and takes one step of Halley's method, which leaves rounding.
// The parallels of II, IV and VI crowd at the pole lines, where the sheet holds the latitude to
// about 2e-16/psi rad only, psi the distance from the pole, 2e-8 rad at worst.
#include "projections/meridian.h"
#include "projections/pseudocylindrical.h"

namespace orvik::oprj::OPRJ_SET {

struct EckertI : Pseudocylindrical<EckertI> {
  static constexpr Row row = worldMapRow(42);
  static constexpr double kScale = 0.92131773192356127804;  // 2 sqrt(2 / (3 pi))
  static constexpr double kTop = kScale * kHalfPi;

  template <class V>
  OPRJ_INLINE static V width(V lat) {
    return fma(abs(lat), V(-kScale / kPi), V(kScale));
  }
  template <class V>
  OPRJ_INLINE static Line<V> parallel(const Block &, V lat) {
    return {kScale * lat, width(lat)};
  }
  template <class V>
  OPRJ_INLINE static Place<V> place(const Block &, V height) {
    const V lat = clampTo(height * (1.0 / kScale), kHalfPi);
    return {lat, width(lat)};
  }
};

struct EckertII : Pseudocylindrical<EckertII> {
  static constexpr Row row = worldMapRow(41);
  static constexpr double kTop = 1.4472025091165353187;     // sqrt(2 pi / 3)
  static constexpr double kWidth = 0.46065886596178063902;  // 2 / sqrt(6 pi)

  template <class V>
  OPRJ_INLINE static Line<V> parallel(const Block &, V lat) {
    const V sine = sin(abs(lat)), root = sqrt(fma(V(-3.0), sine, V(4.0)));
    return {copysign(3.0 * kTop * sine / (2.0 + root), lat), kWidth * root};  // kTop (2 - root)
  }
  template <class V>
  OPRJ_INLINE static Place<V> place(const Block &, V height) {
    const V h = abs(height) * (1.0 / kTop);
    const V sine = h * (4.0 - h) * (1.0 / 3), missing = (1.0 - h) * (3.0 - h) * (1.0 / 3);
    return {copysign(latitudeOfSine(sine, missing), height), kWidth * (2.0 - h)};
  }
};

struct EckertIII : Pseudocylindrical<EckertIII> {
  static constexpr Row row = worldMapRow(40);
  static constexpr double kWidth = 0.42223820031577120149;  // 2 / sqrt(pi (4 + pi))
  static constexpr double kHeight = 2 * kWidth, kTop = kHeight * kHalfPi;

  template <class V>
  OPRJ_INLINE static V width(V lat) {
    const V magnitude = abs(lat);
    const V root = sqrt((kHalfPi - magnitude) * (kHalfPi + magnitude));
    return fma(root, V(kWidth / kHalfPi), V(kWidth));
  }
  template <class V>
  OPRJ_INLINE static Line<V> parallel(const Block &, V lat) {
    return {kHeight * lat, width(lat)};
  }
  template <class V>
  OPRJ_INLINE static Place<V> place(const Block &, V height) {
    const V lat = clampTo(height * (1.0 / kHeight), kHalfPi);
    return {lat, width(lat)};
  }
};

// theta + sin theta cos theta + 2 sin theta = (2 + pi/2) sin phi has a double root at the pole, so
// the angle is measured from there: u = pi/2 - theta satisfies F(u) = u - sin u cos u + 2 (1 - cos
// u) = s², s = sqrt(4 + pi) sin(psi/2).
struct EckertIV : Pseudocylindrical<EckertIV> {
  static constexpr Row row = worldMapRow(39);
  static constexpr double kTop = 1.3265004281770023222;  // 2 sqrt(pi / (4 + pi))
  static constexpr double kWidth = EckertIII::kWidth,
                          kPole = 2.6723758443732785018;  // sqrt(4 + pi)

  template <class V>
  OPRJ_INLINE static Line<V> parallel(const Block &, V lat) {
    const V s = kPole * sin(0.5 * (kHalfPi - abs(lat)));
    const V u =
        s * polynomial(s, 0.9999958287, -0.3329702598, 0.3139223091, -0.2783328173, 0.2318115994,
                       -0.1462855053, 0.06282952858, -0.0158631201, 0.001787839428);
    const SinCos<V> half = sincos(0.5 * u);
    const V rise = 2.0 * half.sin * half.sin;  // 1 - cos u
    const SinCos<V> at{2.0 * half.sin * half.cos, 1.0 - rise};
    const V excess = fma(-at.sin, at.cos, u) + fma(V(2.0), rise, -s * s);
    const V slope = 2.0 * at.sin * (1.0 + at.sin);
    const V bend = at.cos * fma(V(2.0), at.sin, V(1.0));  // half of the second derivative
    const V divisor = fma(slope, slope, -excess * bend);
    const V step = select(divisor > V(0.0), excess * slope / divisor, V(0.0));
    const SinCos<V> solved = turned(at, -step);
    return {copysign(kTop * solved.cos, lat), fma(V(kWidth), solved.sin, V(kWidth))};
  }
  template <class V>
  OPRJ_INLINE static Place<V> place(const Block &, V height) {
    const V h = abs(height) * (1.0 / kTop), w = sqrt(max((1.0 - h) * (1.0 + h), V(0.0)));
    const V excess = fma(-w, h, atan2(w, h)) + fma(V(-2.0), h, V(2.0));
    const V missing = excess * (1.0 / (2.0 + kHalfPi));
    return {copysign(latitudeOfSine(1.0 - missing, missing), height), fma(V(kWidth), w, V(kWidth))};
  }
};

struct EckertV : Pseudocylindrical<EckertV> {
  static constexpr Row row = worldMapRow(38);
  static constexpr double kScale = 0.44101277172455148219;  // 1 / sqrt(2 + pi)
  static constexpr double kTop = 2 * kScale * kHalfPi;

  template <class V>
  OPRJ_INLINE static Line<V> parallel(const Block &, V lat) {
    return {2.0 * kScale * lat, fma(V(kScale), cos(lat), V(kScale))};
  }
  template <class V>
  OPRJ_INLINE static Place<V> place(const Block &, V height) {
    const V lat = clampTo(height * (0.5 / kScale), kHalfPi);
    return {lat, fma(V(kScale), cos(lat), V(kScale))};
  }
};

// theta + sin theta = (1 + pi/2) sin phi
struct EckertVI : Pseudocylindrical<EckertVI> {
  static constexpr Row row = worldMapRow(37);
  static constexpr double kScale = EckertV::kScale, kTop = EckertV::kTop, kPole = 1.0 + kHalfPi;

  template <class V>
  OPRJ_INLINE static Line<V> parallel(const Block &, V lat) {
    const V sine = sin(lat), s2 = sine * sine;
    const V theta = sine * polynomial(s2, 1.285397405, 0.1770797687, 0.05650262625, 0.03985354681,
                                      -0.0431975057, 0.1095753171, -0.09593238379, 0.04151560183);
    const SinCos<V> at = sincos(theta);
    const V excess = theta + at.sin - kPole * sine, slope = 1.0 + at.cos;
    const V step = excess * slope / fma(slope, slope, 0.5 * excess * at.sin);
    return {2.0 * kScale * (theta - step), fma(V(kScale), turned(at, -step).cos, V(kScale))};
  }
  template <class V>
  OPRJ_INLINE static Place<V> place(const Block &, V height) {
    const V h = abs(height), theta = h * (0.5 / kScale);
    const SinCos<V> at = sincos(theta);
    const V missing = ((kTop - h) * (0.5 / kScale) + (1.0 - at.sin)) * (1.0 / kPole);
    const V lat = latitudeOfSine((theta + at.sin) * (1.0 / kPole), missing);
    return {copysign(lat, height), fma(V(kScale), at.cos, V(kScale))};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_ENGINE_FAMILY(EckertI, EckertI)
OPRJ_ENGINE_FAMILY(EckertII, EckertII)
OPRJ_ENGINE_FAMILY(EckertIII, EckertIII)
OPRJ_ENGINE_FAMILY(EckertIV, EckertIV)
OPRJ_ENGINE_FAMILY(EckertV, EckertV)
OPRJ_ENGINE_FAMILY(EckertVI, EckertVI)
