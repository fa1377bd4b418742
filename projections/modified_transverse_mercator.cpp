// Modified Transverse Mercator: the projection of the U.S. Geological Survey's Alaska Map "E".
// [Snyder87] p. 64-65, eqs. 8-26 to 8-32. Despite its name nearly an Equidistant Conic (parallels
// 53.50 and 66.09 degrees N, scale 0.9992 along the meridians, Clarke 1866).
//
// Reads no entries: the figures of the map are fixed, the spheroid is not used. Map metres at
// 1:2,500,000 are scaled up to the ground. Central meridian 150 degrees W; longitudes count from it
// within a half turn, so the map crosses the antimeridian whole. Domain: the formulas hold for the
// globe and mean something around Alaska.
#include "projections/longitude.h"
#include "projections/meridian.h"

namespace orvik::oprj::OPRJ_SET {

struct MTMBlock {
  double a, e, es;
  double scale;  // of the map
};
static_assert(sizeof(MTMBlock) == 4 * sizeof(double));

struct MTM : FamilyBase<MTMBlock> {
  static constexpr Row row{.number = 22, .minimum = 4, .offsets = 0};
  static constexpr int kCap = 50;
  static constexpr StopText kIterations{4, "Too many iterations", nullptr, kCap};

  static constexpr double kScale = 2500000.0;
  static constexpr double kLon0 = -150.0 * kDegree;
  // [Snyder87] 8-27 to 8-29: y = kY0 - rho cos theta, theta = kCone dlam,
  // rho = kRho0 - kPerDegree phi° + kWave sin 2phi; map metres.
  static constexpr double kCone = 0.8625111;
  static constexpr double kY0 = 1.5616640;
  static constexpr double kRho0 = 4.1320402;
  static constexpr double kPerRadian = 0.04441727 / kDegree;
  static constexpr double kWave = 0.0064816;
  static constexpr double kTolerance = 1e-10;  // rad, 0.6 mm on the ground

  static bool derive(const Entries &, const Ellipsoid &s, MTMBlock &b) {
    b = {s.a, s.e, s.es, kScale};
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &) {
    const SinCos<V> theta = sincos(kCone * wrapDifference(lon - V(kLon0)));
    const V rho = fma(V(-kPerRadian), lat, fma(V(kWave), sin(2.0 * lat), V(kRho0)));
    return {b.scale * rho * theta.sin, b.scale * fma(-rho, theta.cos, V(kY0))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V east = x * (1.0 / b.scale), down = fma(V(-1.0 / b.scale), y, V(kY0));
    const V rho = sqrt(fma(east, east, down * down));
    const V theta = atan2(east, down);

    // 8-31 by substitution, 2 phi = 2 mu + k sin 2 phi: Kepler's equation with a small
    // eccentricity. Its series is 1e-12 rad from the end, so that one step remains.
    constexpr double k = 2.0 * kWave / kPerRadian, k2 = k * k;
    const V mu2 = (kRho0 - rho) * (2.0 / kPerRadian);
    SinCos<V> of = sincos(notTooFar(mu2));
    const V start = of.sin * polynomial(of.cos, k - k * k2 / 2, k2 - k2 * k2 * (5.0 / 3),
                                        k * k2 * 1.5, k2 * k2 * (8.0 / 3));
    V angle = mu2 + start;  // 2 phi
    of = turned(of, start);
    Truth<V> open = ~never<V>();
    for (int i = 0; i < kCap && any(open); ++i) {
      const V d = fma(V(k), of.sin, mu2) - angle;
      const V step = select(open, d, V(0.0));
      angle = angle + step;
      of = turned(of, step);
      const Truth<V> met = abs(d) <= V(2.0 * kTolerance);  // a NaN never meets it
      open = open & ~met;
    }
    stop.when(open, kIterations);
    const V phi = 0.5 * angle;
    const Truth<V> within =
        Truth<V>(abs(theta) <= V(kCone * kPi + kClose)) & (abs(phi) <= V(kHalfPi + kClose));
    stop.when(~within, kInputData);
    return {wrapDifference(kLon0 + clampTo(theta * (1.0 / kCone), kPi)), clampTo(phi, kHalfPi)};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(MTM, oprj_MTMInit, oprj_MTMFromLL, oprj_MTMToLL, oprj_MTMCopyParameters,
            oprj_MTMProParametersEqual)
