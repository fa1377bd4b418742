// Alaska Conformal: a modified stereographic conformal map of the ellipsoid. [Snyder87] p. 203-212,
// eqs. 26-1 to 26-12, sixth order: an oblique stereographic map from 64 degrees N, 152 degrees W,
// bent by a complex polynomial.
//
// Reads entries 6 and 7 (false easting and northing). Eccentricity (Clarke 1866), centre and
// coefficients are fixed; a comes from the spheroid. Domain: Alaska and 38 degrees around the
// centre: where the modulus of the stereographic point is at most 0.7 (from 0.717 on the polynomial
// folds the sheet over itself), also for the inverse.
// Formulation: forward with t = tan(pi/4 - chi/2) throughout, so that the conformal latitude itself
// is never needed. The inverse solves the polynomial by Newton's method, then the latitude.
#include <cmath>
#include <cstddef>

#include "projections/auxiliary_latitude.h"
#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

struct AlaskaConformalBlock {
  double a, e, es;
  double falseEast, falseNorth;
  double sinChi0, cosChi0;  // of the centre's conformal latitude
  ConformalLatitude conformal;
};
static_assert(offsetof(AlaskaConformalBlock, conformal) == 7 * sizeof(double));

/// A complex number per lane.
template <class V>
struct Complex {
  V re, im;
};
template <class V>
OPRJ_INLINE Complex<V> operator*(Complex<V> a, Complex<V> b) {
  return {fma(a.re, b.re, -a.im * b.im), fma(a.re, b.im, a.im * b.re)};
}

struct AlaskaConformal : FamilyBase<AlaskaConformalBlock> {
  static constexpr double kEs = 0.006768657997291094;  // Clarke 1866
  static constexpr Row row{.number = 26, .minimum = 8, .compared = entries(6, 7)};
  static constexpr int kCap = 20;
  static constexpr StopText kIterations{
      4, "Too many iterations for Alaska Conformal inverse transformation, point # %ld:  %lf, %lf",
      nullptr, kCap};

  static constexpr double kLon0 = -152.0 * kDegree, kLat0 = 64.0 * kDegree;
  static constexpr int kOrder = 6;
  static constexpr double kRe[kOrder] = {0.9945303,  0.0052083, 0.0072721,
                                         -0.0151089, 0.0642675, 0.3582802};
  static constexpr double kIm[kOrder] = {0.0,        -0.0027404, 0.0048181,
                                         -0.1932526, -0.1381226, -0.2884586};
  static constexpr double kModulus = 0.7;  // of the stereographic point, 2 tan(c/2)
  static constexpr double kLeastPlus = 8.0 / (4.0 + kModulus * kModulus);  // 1 + cos c there
  static constexpr double kTolerance = 1e-10;  // of the radius, 0.6 mm on the ground
  // From this modulus of the sheet's point on the inverse's iteration cannot end: a step leaves
  // about 5/6 of the modulus, so that behind the cap more than 2.9 is left and steps are longer
  // than 0.1.
  static constexpr double kEndless = 120.0;

  static bool derive(const Entries &p, const Ellipsoid &s, AlaskaConformalBlock &b) {
    b = {s.a, s.e, s.es, p[6], p[7], 0.0, 0.0, conformalLatitudeOf(std::sqrt(kEs), kEs)};
    const double t = conformalT(b.conformal, sincos(kLat0));
    b.sinChi0 = (1.0 - t) * (1.0 + t) / (1.0 + t * t);
    b.cosChi0 = 2.0 * t / (1.0 + t * t);
    return true;
  }

  /// The polynomial without its constant (which is 0) over p: forward is p times it.
  template <class V>
  OPRJ_INLINE static Complex<V> overP(Complex<V> p) {
    Complex<V> sum{V(kRe[kOrder - 1]), V(kIm[kOrder - 1])};
    for (int j = kOrder - 2; j >= 0; --j) {
      sum = sum * p;
      sum.re = sum.re + kRe[j];
      sum.im = sum.im + kIm[j];
    }
    return sum;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const V t = conformalT(b.conformal, sincos(lat));
    const SinCos<V> l = sincos(lon - V(kLon0));
    // times (1 + t²): sin chi = (1 - t²)/(1 + t²), cos chi = 2t/(1 + t²)
    const V t2 = t * t, sinChi = 1.0 - t2, cosChi = 2.0 * t;
    const V toward = cosChi * l.cos;
    const V plus = 1.0 + t2 + fma(V(b.sinChi0), sinChi, b.cosChi0 * toward);  // of 1 + cos c
    const Truth<V> within = plus >= (1.0 + t2) * kLeastPlus;
    stop.when(~within, kCannotProject);
    const V scale = 2.0 / plus;
    const Complex<V> p{scale * cosChi * l.sin,
                       scale * fma(V(b.cosChi0), sinChi, -b.sinChi0 * toward)};
    const Complex<V> w = p * overP(p);
    return {fma(V(b.a), w.re, V(b.falseEast)), fma(V(b.a), w.im, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const Complex<V> w{(x - V(b.falseEast)) * V(1.0 / b.a), (y - V(b.falseNorth)) * V(1.0 / b.a)};
    const Truth<V> endless = fma(w.re, w.re, w.im * w.im) >= V(kEndless * kEndless);
    Complex<V> p{select(endless, V(0.0), w.re), select(endless, V(0.0), w.im)};
    Truth<V> open = ~endless;
    for (int i = 0; i < kCap && any(open); ++i) {
      Complex<V> sum{V(kRe[kOrder - 1]), V(kIm[kOrder - 1])}, slope = sum;
      for (int j = kOrder - 2; j >= 0; --j) {
        sum = sum * p;
        sum.re = sum.re + kRe[j];
        sum.im = sum.im + kIm[j];
        slope = slope * p;
        slope.re = slope.re + sum.re;
        slope.im = slope.im + sum.im;
      }
      sum = sum * p;
      const V re = w.re - sum.re, im = w.im - sum.im;
      const V per = 1.0 / fma(slope.re, slope.re, slope.im * slope.im);
      const V dRe = fma(re, slope.re, im * slope.im) * per;
      const V dIm = fma(im, slope.re, -re * slope.im) * per;
      p.re = p.re + select(open, dRe, V(0.0));
      p.im = p.im + select(open, dIm, V(0.0));
      const Truth<V> met = abs(dRe) + abs(dIm) <= V(kTolerance);  // a NaN never meets it
      open = open & ~met;
    }
    stop.when(open | endless, kIterations);
    const V rho2 = fma(p.re, p.re, p.im * p.im);
    constexpr double limit = kModulus + kClose;
    const Truth<V> within = rho2 <= V(limit * limit);
    stop.when(~within, kInputData);

    // The point about the centre, as a vector times (1 + rho²/4).
    const V q = 0.25 * rho2, along = 1.0 - q;
    const V toward = fma(along, V(b.cosChi0), -p.im * b.sinChi0);
    const V up = fma(along, V(b.sinChi0), p.im * b.cosChi0);
    const V t = sqrt(fma(p.re, p.re, toward * toward)) / (1.0 + q + up);
    // 0 <= t < 1: the domain lies in the northern hemisphere. The iteration ends within 5 steps.
    const Solved<V> latitude = northernLatitudeOfT(b.conformal, t);
    stop.when(~latitude.converged, kIterations);
    return {wrapDifference(kLon0 + atan2(p.re, toward)), latitude.phi};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(AlaskaConformal, oprj_AlaskaConformalInit, oprj_AlaskaConformalFromLL,
            oprj_AlaskaConformalToLL, oprj_AlaskaConformalCopyParameters,
            oprj_AlaskaConformalProParametersEqual)
