// Polyconic. [Snyder87] p. 129-130: eqs. 18-12 to 18-14 (forward), 18-18 to 18-22 (inverse),
// rearranged.
//
// Reads entries 4 (central meridian), 5 (latitude of origin), 6 and 7 (false easting and northing).
// Domain: the globe, both ways.
// Formulation: with E = dLon sin phi and m the parallel's radius over a, x = m dLon sin E / E and
// y = M - M0 + m dLon sin²(E/2) / (E/2), which needs no case at the equator. The inverse solves
// s w (d² + x²) = 2 c d, d = A - M, w = sqrt(1 - e² s²), with the steps of oprj_Phi4; both sides of
// its quotient are multiplied by sin phi cos phi, so that it has no tangent and one division.
// oprj_Phi4 starts from A and so does not reach places far from the central meridian (from 80
// degrees on); the start used here reaches all within 8 of its 15 steps.
#include <cmath>

#include "projections/family.h"
#include "projections/longitude.h"
#include "projections/meridian.h"

namespace orvik::oprj::OPRJ_SET {

struct PolyconicBlock {
  double a, e, es;
  double lon0, lat0, falseEast, falseNorth;
  double e0, e1, e2, e3;  // meridian series
  double m0, mPole;       // meridian distance over a of the origin and of the pole
};

inline constexpr int kPhi4Iterations = 15;
inline constexpr double kPhi4Tolerance = 1e-11;  // rad, 0.06 mm on the ground
/// |A| below which a place counts as on the equator.
inline constexpr double kNearEquator = 1e-7;
/// Distance from a pole, rad, within which parallels are circles around it to rounding.
inline constexpr double kNearPole = 1e-6;
/// The start from the equator's side is too high on the outer parts of the sheet beyond this
/// latitude, the one from the pole's side too low below it.
inline constexpr double kHighestStart = 0.7;
/// Corrections up to this are turned into the sine and cosine instead of computing them anew.
inline constexpr double kSmallStep = 0.01;

struct Polyconic : FamilyBase<PolyconicBlock> {
  static constexpr Row row{
      .number = 7, .minimum = 8, .angles = entries(4, 5), .compared = entries(4, 7)};
  static constexpr StopText kPhi4{4, "Error returned from oprj_Phi4", "oprj_Phi4", kPhi4Iterations};

  static bool derive(const Entries &p, const Ellipsoid &s, PolyconicBlock &b) {
    b = {s.a, s.e, s.es, meridianOf(p[4]), p[5], p[6], p[7], 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
    b.e0 = oprj_E0fn(s.es, nullptr);
    b.e1 = oprj_E1fn(s.es, nullptr);
    b.e2 = oprj_E2fn(s.es, nullptr);
    b.e3 = oprj_E3fn(s.es, nullptr);
    b.m0 = oprj_Mlfn(b.e0, b.e1, b.e2, b.e3, b.lat0, nullptr);
    b.mPole = b.e0 * kHalfPi;
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &) {
    const V dLon = wrapDifference(lon - V(b.lon0));
    const SinCos<V> p = sincos(lat);
    const V halfE = 0.5 * dLon * p.sin;
    const SinCos<V> h = sincos(halfE);
    const V sinc = select(halfE == V(0.0), V(1.0), h.sin / halfE);
    const V arc = p.cos / sqrt(fma(V(-b.es) * p.sin, p.sin, V(1.0))) * dLon * sinc;
    const V m = fma(V(b.e0), lat, meridianWaves(b.e1, b.e2, b.e3, p));
    return {fma(V(b.a), arc * h.cos, V(b.falseEast)),
            fma(V(b.a), fma(arc, h.sin, m - V(b.m0)), V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V east = (x - V(b.falseEast)) * V(1.0 / b.a);
    const V north = fma(y - V(b.falseNorth), V(1.0 / b.a), V(b.m0));  // A of eq. 18-18
    const V x2 = east * east;

    // Close to the equator and to the poles the sheet is simple; in between these are the start.
    const V low = north / fma(V(0.5), x2, V(1.0 - b.es));
    const V fromPole = b.mPole - abs(north);
    const V psi = V(std::sqrt(1.0 - b.es)) * sqrt(fma(fromPole, fromPole, x2));
    const V high = kHalfPi - psi;
    const Truth<V> equator = abs(north) <= V(kNearEquator), polar = psi <= V(kNearPole);

    Truth<V> open = ~(equator | polar);
    V phi = copysign(min(abs(low), max(high, V(kHighestStart))), north);
    SinCos<V> p = sincos(phi);
    for (int i = 0; i < kPhi4Iterations && any(open); ++i) {
      const V k = fma(V(-b.es) * p.sin, p.sin, V(1.0)), w = sqrt(k);
      const V d = north - fma(V(b.e0), phi, meridianWaves(b.e1, b.e2, b.e3, p));
      const V chord = fma(d, d, x2), sc = p.sin * p.cos;
      const V cos2 = fma(-2.0 * p.sin, p.sin, V(1.0));
      // dM/dphi = e0 - 2 e1 C + 4 e2 (2 C² - 1) - 6 e3 (4 C³ - 3 C), C = cos 2phi
      const V slope = polynomial(cos2, b.e0 - 4 * b.e2, 18 * b.e3 - 2 * b.e1, 8 * b.e2, -24 * b.e3);
      const V numerator = w * p.sin * fma(p.sin * w, chord, -2.0 * p.cos * d);
      const V denominator =
          fma(V(b.es) * sc * p.cos * p.cos, chord,
              2.0 * w * fma(d, fma(p.sin * p.sin * w, slope, V(-1.0)), -slope * sc));
      const V correction = numerator / denominator;
      const V step = select(open, correction, V(0.0));
      phi = phi + step;
      const Truth<V> small = abs(step) <= V(kSmallStep);
      const SinCos<V> near = turned(p, step);
      p = near;
      if (!all(small)) {
        const SinCos<V> anew = sincos(phi);
        p = {select(small, near.sin, anew.sin), select(small, near.cos, anew.cos)};
      }
      const Truth<V> met = abs(correction) <= V(kPhi4Tolerance);  // a NaN never meets it
      open = open & ~met;
    }
    stop.when(open, kPhi4);
    const V w = sqrt(fma(V(-b.es) * p.sin, p.sin, V(1.0)));
    const V d = north - fma(V(b.e0), phi, meridianWaves(b.e1, b.e2, b.e3, p));
    // E = atan2(x s w, c - d s w); at a pole its arguments are x and the distance in front of it
    const V e1 = select(polar, select(north < V(0.0), -east, east), east * p.sin * w);
    const V e2 = select(polar, fromPole, fma(-d * p.sin, w, p.cos));
    const V sine = select(polar, copysign(cos(psi), north), select(equator, V(1.0), p.sin));
    const V dLon = select(equator, east, atan2(e1, e2) / sine);
    phi = select(polar, copysign(high, north), phi);
    phi = select(equator, low, phi);
    stop.when((abs(phi) > V(kHalfPi + kClose)) | (abs(dLon) > V(kPi + kClose)), kInputData);
    return {wrapDifference(V(b.lon0) + clampTo(dLon, kPi)), clampTo(phi, kHalfPi)};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(Polyconic, oprj_PolyconicInit, oprj_PolyconicFromLL, oprj_PolyconicToLL,
            oprj_PolyconicCopyParameters, oprj_PolyconicProParametersEqual)
