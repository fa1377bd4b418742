// Wagner IV: Mollweide's projection of latitudes within about 65 degrees, stretched so that areas
// stay true and poles become lines. [SnyderVoxland89].
//
// Reads entries 4 (central meridian), 6 and 7 (false easting and northing). A sphere of radius a.
// Domain: the whole globe; the inverse takes the sheet between the two pole lines.
// Formulation: the parameter theta of theta + sin(theta) = C sin(phi) is Mollweide's angle with
// another constant, u = pi - theta (mollweide_angle.h).
// The parallels crowd at the pole lines, where the sheet holds the
// latitude to 2e-16/psi rad only, psi the distance from the pole in radians, 2e-8 rad at worst.
// Kept: the constants C = 2.9604205062, 1.56548 and 0.8631 to that many places.
#include "projections/longitude.h"
#include "projections/mollweide_angle.h"

namespace orvik::oprj::OPRJ_SET {

struct WagnerIVBlock {
  double a, e, es;
  double lon0, falseEast, falseNorth;
  double poleHeight;  // y of the pole lines over 1.56548 a
};

struct WagnerIV : FamilyBase<WagnerIVBlock> {
  static constexpr Row row{
      .number = 31, .minimum = 8, .angles = entries(4), .compared = entries(4) | entries(6, 7)};
  static constexpr double kC = 2.9604205062;
  static constexpr double kHeight = 1.56548, kWidth = 0.8631;
  static constexpr int kMaxIterations = 30;
  static constexpr StopText kIterations{
      4,
      "Iteration failed to converge for Wagner IV forward transformation, point # %ld:  %lf, %lf",
      nullptr, kMaxIterations};

  static bool derive(const Entries &p, const Ellipsoid &s, WagnerIVBlock &b) {
    const AuxiliaryAngle<double> pole = auxiliaryAngle(kPi - kC, kMaxIterations);
    b = {s.a, s.e, s.es, meridianOf(p[4]), p[6], p[7], pole.half.cos};
    return pole.converged.value;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const V dLon = wrapDifference(lon - V(b.lon0));
    const V halfColatitude = sin(0.5 * (kHalfPi - abs(lat)));
    const AuxiliaryAngle<V> u =
        auxiliaryAngle(fma(2.0 * kC * halfColatitude, halfColatitude, V(kPi - kC)), kMaxIterations);
    stop.when(~u.converged, kIterations);
    return {b.a * kWidth * dLon * u.half.sin + b.falseEast,
            b.a * kHeight * copysign(u.half.cos, lat) + b.falseNorth};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V north = (y - V(b.falseNorth)) * (1.0 / (b.a * kHeight));
    const V side = (x - V(b.falseEast)) * (1.0 / (b.a * kWidth));
    const V height = min(abs(north), V(b.poleHeight));
    stop.when(abs(north) > V(b.poleHeight + kClose / kHeight), kInputData);
    const V width = sqrt((1.0 - height) * (1.0 + height));
    stop.when(abs(side) > fma(V(kPi), width, V(kClose / kWidth)), kInputData);
    const V k = max(excessOfHalf(atan2(width, height)) - (kPi - kC), V(0.0));
    const V colatitude = 2.0 * asin(sqrt(k * (0.5 / kC)));
    return {wrapDifference(b.lon0 + clampTo(side / width, kPi)),
            copysign(kHalfPi - colatitude, north)};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(WagnerIV, oprj_WagnerIVInit, oprj_WagnerIVFromLL, oprj_WagnerIVToLL,
            oprj_WagnerIVCopyParameters, oprj_WagnerIVProParametersEqual)
