// Van der Grinten I. [Snyder87] p. 239-242: the construction behind eqs. 29-1 to 29-19.
//
// Reads entries 4 (central meridian), 6 and 7 (false easting and northing). A sphere of radius a.
// Domain: the whole globe; the inverse takes the circle of radius pi a.
// Formulation, with X and Y over pi a, l = |lon - lon0| / pi and T = tan(theta/2), where sin(theta)
// = 2 |phi| / pi: the parallels are the circles T² (X² + Y²) + T = (1 + T³) Y, the meridians the
// circles X² + Y² = 1 - (1 - l²) X / l. Forward, their intersection is a quadratic in X / l in
// which every factor that vanishes at the equator, the central meridian or the poles has been
// divided out. Inverse, T is the root in [0, 1] of (Y - T) (1 - Y T²) = (X T)² and l that of a
// quadratic.
// The root is sought by Halley's method under the caps and tolerance of oprj_Phi5 and oprj_Phi6 and
// reported in their name; it agrees with theirs within their tolerance but takes three steps at
// most, everywhere (Phi5 diverges beyond 79 degrees).
#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

struct VanDerGrintenBlock {
  double a, e, es;
  double lon0, falseEast, falseNorth;
};

struct VanDerGrinten : FamilyBase<VanDerGrintenBlock> {
  static constexpr Row row{
      .number = 19, .minimum = 8, .angles = entries(4), .compared = entries(4) | entries(6, 7)};
  static constexpr int kSolverIterations = 35;
  static constexpr double kSolverTolerance = 1e-10;  // rad
  /// Starts up to this latitude belong to oprj_Phi5, those above to oprj_Phi6.
  static constexpr double kPhi5Upto = 1.0;  // rad
  /// X² + Y² of the outermost point that counts as on the sheet: 0.6 mm outside of the circle.
  static constexpr double kOutermost = 1.0 + 2.0 * kClose / kPi;
  static constexpr StopText kOffTheSheet{4, "Improper parameter"};
  static constexpr StopText kPhi5{5, "Error returned from oprj_Phi5, point # %ld:  %lf, %lf",
                                  "oprj_Phi5", kSolverIterations};
  static constexpr StopText kPhi6{6, "Error returned from oprj_Phi6, point # %ld:  %lf, %lf",
                                  "oprj_Phi6", kSolverIterations};

  static bool derive(const Entries &p, const Ellipsoid &s, VanDerGrintenBlock &b) {
    b = {s.a, s.e, s.es, meridianOf(p[4]), p[6], p[7]};
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &) {
    const V dLon = wrapDifference(lon - V(b.lon0));
    const V l = abs(dLon) * (1.0 / kPi), m = (1.0 - l) * (1.0 + l);
    const V s = abs(lat) * (1.0 / kHalfPi);
    const V c = sqrt((kHalfPi - abs(lat)) * (1.0 / kHalfPi) * (1.0 + s));  // cos(theta)
    const V half = 1.0 / (1.0 + c);
    const V t = s * half, t2 = t * t;
    const V h = 2.0 * c * half;  // 1 - T²
    const V e = fma(t, t2, V(1.0));
    const V n = m * fma(t2, h, V(1.0));
    const V a2 = square(l * e) + square(t2 * m);
    const V perL = 2.0 * h * (1.0 + t2) / (n + sqrt(fma(4.0 * a2, 1.0 + t2, n * n)));  // X / l
    const V y = t * fma(t, fma(-m, perL, V(1.0)), V(1.0)) / e;
    const double radius = kPi * b.a;
    return {b.a * dLon * perL + b.falseEast, radius * copysign(y, lat) + b.falseNorth};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const double perMetre = 1.0 / (kPi * b.a);
    V across = abs(x - V(b.falseEast)) * perMetre, up = abs(y - V(b.falseNorth)) * perMetre;
    const V distance2 = fma(across, across, up * up);
    stop.when(distance2 > V(kOutermost), kOffTheSheet);
    const Truth<V> beyond = distance2 > V(1.0);
    if (any(beyond)) {
      const V onto = select(beyond, 1.0 / sqrt(distance2), V(1.0));
      across = across * onto;
      up = min(up * onto, V(1.0));
    }
    const V x2 = across * across, down = 1.0 - up;

    // Start: exact on the central meridian and on the outline, within half a degree between them.
    V t = 2.0 * up / (1.0 + up + sqrt(fma(down, down, 4.0 * up * x2 / (1.0 + up))));
    const Truth<V> low = kPi * t <= kPhi5Upto * fma(t, t, V(1.0));
    Truth<V> open = t < V(1.0);  // 1 only at the pole
    for (int i = 0; i < kSolverIterations && any(open); ++i) {
      const V t2 = t * t, above = up - t, arc = fma(-up, t2, V(1.0));
      const V f = fma(above, arc, -x2 * t2);
      const V slope = -arc - 2.0 * t * fma(up, above, x2);
      const V bend = fma(3.0 * up, t, -fma(up, up, x2));  // half of the second derivative
      const V d = f * slope / fma(-f, bend, slope * slope);
      t = t - select(open, d, V(0.0));
      // the step in latitude, phi = pi T / (1 + T²)
      const Truth<V> met = kPi * abs(d * (1.0 - t2)) <= V(kSolverTolerance);  // a NaN never does
      open = open & ~met;
    }
    stop.when(open & low, kPhi5);
    stop.when(open & ~low, kPhi6);
    const V phi = kPi * t / fma(t, t, V(1.0));

    const V inside = max(fma(down, 1.0 + up, -x2), V(0.0));  // 1 - X² - Y²
    const V scale = inside + sqrt(fma(inside, inside, 4.0 * x2));
    const V dLon = select(scale > V(0.0), kTwoPi * across / scale, V(0.0));
    return {wrapDifference(b.lon0 + copysign(dLon, x - V(b.falseEast))),
            copysign(phi, y - V(b.falseNorth))};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(VanDerGrinten, oprj_VanderGrintenIInit, oprj_VanderGrintenIFromLL,
            oprj_VanderGrintenIToLL, oprj_VanderGrintenICopyParameters,
            oprj_VanderGrintenIProParametersEqual)
