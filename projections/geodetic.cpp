// The flat helpers of geodetic.h: the formulas as the literature prints them, on libm. The
// families' lanes use rearranged forms of the same formulas (meridian.h, auxiliary_latitude.h);
// tests hold them together.
#include <oprj/geodetic.h>

#include <cmath>

#include "toolkit/error_scope.h"

namespace {

using orvik::toolkit::ErrorScope;

constexpr double kPi = 3.14159265358979323846;
constexpr double kHalfPi = kPi / 2;
constexpr double kTwoPi = 2 * kPi;

/// Eccentricity below which the authalic functions treat the spheroid as a sphere.
constexpr double kSphereBelow = 1e-7;
constexpr long kIterations = 15;
constexpr long kVanDerGrintenIterations = 35;
constexpr double kTolerance = 1e-10;          // rad
constexpr double kMeridianTolerance = 1e-11;  // rad

void clearSlot(Oerr_Report **err) {
  if (err) *err = nullptr;
}

/// Adds corrections to phi until `met` accepts one; a NaN correction is never accepted.
template <class Correction, class Met>
double solve(const char *operation, Oerr_Report **err, double phi, long iterations,
             Correction correction, Met met) {
  ErrorScope e(operation, err);
  for (long i = 0; i < iterations; ++i) {
    const double d = correction(phi);
    phi += d;
    if (met(std::fabs(d))) return phi;
  }
  e.fail(1, "Latitude failed to converge after %ld iterations", iterations);
  return phi;
}

auto within(double tolerance) {
  return [tolerance](double d) { return d <= tolerance; };
}

double clampedAsin(double x) { return std::asin(x > 1.0 ? 1.0 : x < -1.0 ? -1.0 : x); }

}  // namespace

double oprj_Adjl(double x, Oerr_Report **err) {
  clearSlot(err);
  if (x > kPi) return x - std::ceil(std::fabs(x) / kTwoPi) * kTwoPi;
  if (x > -kPi) return x;
  return x + std::ceil(std::fabs(x) / kTwoPi) * kTwoPi;
}

double oprj_Asin(double x, Oerr_Report **err) {
  clearSlot(err);
  return clampedAsin(x);
}

double oprj_E0fn(double es, Oerr_Report **err) {
  clearSlot(err);
  return 1.0 - es / 4.0 * (1.0 + es / 16.0 * (3.0 + 1.25 * es));
}

double oprj_E1fn(double es, Oerr_Report **err) {
  clearSlot(err);
  return 0.375 * es * (1.0 + 0.25 * es * (1.0 + 0.46875 * es));
}

double oprj_E2fn(double es, Oerr_Report **err) {
  clearSlot(err);
  return 0.05859375 * es * es * (1.0 + 0.75 * es);
}

double oprj_E3fn(double es, Oerr_Report **err) {
  clearSlot(err);
  return es * es * es * 0.0113932291666667;  // 35/3072
}

double oprj_E4fn(double e, Oerr_Report **err) {
  clearSlot(err);
  return std::sqrt(std::pow(1.0 + e, 1.0 + e) * std::pow(1.0 - e, 1.0 - e));
}

double oprj_Mlfn(double e0, double e1, double e2, double e3, double phi, Oerr_Report **err) {
  clearSlot(err);
  return e0 * phi - e1 * std::sin(2.0 * phi) + e2 * std::sin(4.0 * phi) - e3 * std::sin(6.0 * phi);
}

double oprj_Msfn(double e, double sinPhi, double cosPhi, Oerr_Report **err) {
  clearSlot(err);
  const double c = e * sinPhi;
  return cosPhi / std::sqrt(1.0 - c * c);
}

double oprj_Qsfn(double e, double sinPhi, Oerr_Report **err) {
  clearSlot(err);
  if (e < kSphereBelow) return 2.0 * sinPhi;
  const double c = e * sinPhi;
  return (1.0 - e * e) * (sinPhi / (1.0 - c * c) - 0.5 / e * std::log((1.0 - c) / (1.0 + c)));
}

double oprj_Tsfn(double e, double phi, double sinPhi, Oerr_Report **err) {
  clearSlot(err);
  const double c = e * sinPhi;
  return std::tan((kHalfPi - phi) / 2.0) / std::pow((1.0 - c) / (1.0 + c), e / 2.0);
}

void oprj_Sincos(double phi, double *sinPhi, double *cosPhi, Oerr_Report **err) {
  clearSlot(err);
  if (sinPhi) *sinPhi = std::sin(phi);
  if (cosPhi) *cosPhi = std::cos(phi);
}

int32_t oprj_Sign(double x, Oerr_Report **err) {
  clearSlot(err);
  return x < 0.0 ? -1 : 1;
}

double oprj_Phi1(double e, double q, Oerr_Report **err) {
  clearSlot(err);
  const double start = clampedAsin(q / 2.0);
  if (e < kSphereBelow) return start;
  const double es = e * e;
  return solve(
      "oprj_Phi1", err, start, kIterations,
      [=](double phi) {
        const double s = std::sin(phi), c = e * s, k = 1.0 - c * c;
        return 0.5 * k * k / std::cos(phi) *
               (q / (1.0 - es) - s / k + 0.5 / e * std::log((1.0 - c) / (1.0 + c)));
      },
      within(kTolerance));
}

double oprj_Phi2(double e, double t, Oerr_Report **err) {
  return solve(
      "oprj_Phi2", err, kHalfPi - 2.0 * std::atan(t), kIterations,
      [=](double phi) {
        const double c = e * std::sin(phi);
        return kHalfPi - 2.0 * std::atan(t * std::pow((1.0 - c) / (1.0 + c), e / 2.0)) - phi;
      },
      within(kTolerance));
}

double oprj_Phi3(double m, double e0, double e1, double e2, double e3, Oerr_Report **err) {
  return solve(
      "oprj_Phi3", err, m, kIterations,
      [=](double phi) {
        return (m + e1 * std::sin(2.0 * phi) - e2 * std::sin(4.0 * phi) +
                e3 * std::sin(6.0 * phi)) /
                   e0 -
               phi;
      },
      within(kMeridianTolerance));
}

double oprj_Phi4(double es, double e0, double e1, double e2, double e3, double a, double b,
                 double *gOut, Oerr_Report **err) {
  double g = 0.0;
  const double phi = solve(
      "oprj_Phi4", err, a, kIterations,
      [&](double at) {
        const double s = std::sin(at), sin2 = std::sin(2.0 * at);
        g = std::tan(at) * std::sqrt(1.0 - es * s * s);
        const double m = oprj_Mlfn(e0, e1, e2, e3, at, nullptr);
        const double dm = e0 - 2.0 * e1 * std::cos(2.0 * at) + 4.0 * e2 * std::cos(4.0 * at) -
                          6.0 * e3 * std::cos(6.0 * at);
        const double n1 = 2.0 * m + g * (m * m + b) - 2.0 * a * (g * m + 1.0);
        const double n2 = es * sin2 * (m * m + b - 2.0 * a * m) / (2.0 * g);
        const double n3 = 2.0 * (a - m) * (g * dm - 2.0 / sin2) - 2.0 * dm;
        return n1 / (n2 + n3);
      },
      within(kMeridianTolerance));
  if (gOut) *gOut = g;
  return phi;
}

double oprj_Phi5(double start, double p, double q, double r, Oerr_Report **err) {
  return solve(
      "oprj_Phi5", err, start, kVanDerGrintenIterations,
      [=](double phi) {
        const double theta = clampedAsin(phi / kHalfPi);
        const double s = std::sin(theta), c = std::cos(theta);
        const double d = c + s - 1.0, a = c / d, t = std::tan(theta / 2.0);
        const double u = p / s - 1.0 / (c + 1.0), w = 2.0 - s;
        const double numerator = kPi * c * ((q + r) - 2.0 * u * a * w - t * t);
        const double denominator =
            4.0 * (u * a * ((c - s) * w / d + (2.0 * c * c + 1.0) / c) +
                   a * w * (p * c / (1.0 - c) + t) / (c + 1.0) - t * (t * t + 1.0));
        return -numerator / denominator;
      },
      [](double d) { return d < kTolerance; });
}

double oprj_Phi6(double start, double p, double q, double r, Oerr_Report **err) {
  clearSlot(err);
  if (q >= 1.0) return kHalfPi;
  if (std::fabs(p) <= kTolerance) return kPi * q / (1.0 + q * q);
  // The answer lies between the parallels through the ordinate q at the outline and at the central
  // meridian.
  double low = kPi * q / (1.0 + q), high = kPi * q / (1.0 + q * q);
  const double first = start < low ? low : start > high ? high : start;
  static_cast<void>(r);
  return solve(
      "oprj_Phi6", err, first, kVanDerGrintenIterations,
      [=](double phi) mutable {
        const double s = phi / kHalfPi < 1.0 ? phi / kHalfPi : 1.0;
        const double c = std::sqrt((1.0 - s) * (1.0 + s)), t = s / (1.0 + c);
        const double d = s + c - 1.0, a = c / d, w = 2.0 - s;
        const double k = a * w / s;  // centre of the parallel's circle
        const double radius = k - t;
        const double chord2 = radius * radius - p * p;
        const double chord = chord2 > 0.0 ? std::sqrt(chord2) : 0.0;
        const double y = t + p * p / (radius + chord);
        if (std::isnan(y)) return y;
        const double dk = ((s - 1.0) * w / (d * d) - a * c) / s - k * c / s;
        const double slope = (radius * (1.0 + t * t) / 2.0 - dk * p * p / (radius + chord)) / chord;
        const double step = kHalfPi * c * (q - y) / slope;
        if (q > y) low = phi;
        else high = phi;
        const double next = phi + step;
        // a chord of 0 takes the middle; the limits themselves are allowed
        if (!(chord > 0.0) || !(next >= low && next <= high)) return 0.5 * (low + high) - phi;
        return step;
      },
      within(kTolerance));
}
