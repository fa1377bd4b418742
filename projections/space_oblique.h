// Space Oblique Mercator: the formulas that the families of satellite orbits share. [Snyder87]
// p. 214-225, ellipsoid and circular orbit, whose letters the constants keep.
//
// The sheet unrolls the ground track of one revolution: x runs along the track, y across it, to the
// left of the satellite's way. A point's transformed longitude lam (the angle along the orbit) and
// its transformed latitude follow from its position on the ellipsoid in units of a, turned about
// the node by the inclination i:
//   rho = cos phi / n, z = (1-e²) sin phi / n, n = sqrt(1 - e² sin²phi), lt = lon - lon0 + p lam
//   sin lam : cos lam = (z sin i + rho sin lt cos i) : rho cos lt,
//   sin phi'' = z cos i - rho sin lt sin i.
// p, the orbit's period over the Earth's day, makes lam an iteration. Both directions run the
// substitution of the General Cartographic Transformation Package with its cap and tolerance, but
// as Newton steps wherever the substitution converges quickly (|slope| < 1/2); results are closer
// to the solution than the tolerance says (0.4 mm there). Where the slope is steeper, beyond about
// 70 degrees from the track, the plain substitution goes on and may report.
#ifndef OPRJ_SPACE_OBLIQUE_H
#define OPRJ_SPACE_OBLIQUE_H

#include <cmath>

#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

/// An orbit on a spheroid: doubles only, for the end of a block.
struct SpaceObliqueOrbit {
  double p;                  // revolutions a day, inverted
  double sinI, cosI;         // inclination
  double lon0;               // of the ascending node at lam = 0
  double q, t, u, w, j;      // of e² and the inclination
  double b, a2, a4, c1, c3;  // Fourier coefficients of the track
  double endOfPath;          // not 0: points of the northern hemisphere belong to the path's end
};

inline constexpr int kOrbitIterations = 50;
inline constexpr double kOrbitTolerance = 1e-9;  // rad
/// A Newton step below this needs none after it: what it leaves is below its square.
inline constexpr double kNewtonTolerance = 1e-6;  // rad
/// A polar orbit's cosine counts as this.
inline constexpr double kLeastCosine = 1e-9;
inline constexpr double kMinutesPerDay = 1440.0;
/// Where the path begins, as a fraction of half a revolution beyond the northernmost point.
inline constexpr double kPathStart = 0.5161290322580645 + 1.0 / 248.0;

/// Revolutions until the track repeats, of satellites 1 to 3 and of the later ones.
inline constexpr double kEarlyPaths = 251.0, kLatePaths = 233.0;

/// The satellites that fly higher than the later ones and have 251 paths.
inline bool isEarly(double satellite) { return satellite < 4.0; }

/// Whether a satellite (1 to 3 or later) and one of its paths are good; both are truncated.
inline bool isLandsatPath(double satellite, double path) {
  satellite = std::trunc(satellite);
  path = std::trunc(path);
  return satellite >= 1.0 && path >= 1.0 && path <= (isEarly(satellite) ? kEarlyPaths : kLatePaths);
}

/// Derives what depends on the spheroid from p, the inclination and lon0. The coefficients are
/// Simpson sums in steps of 9 degrees over a quarter of the revolution, as the package takes them.
inline SpaceObliqueOrbit orbitOf(double es, double p, double inclination, double lon0,
                                 double endOfPath) {
  SpaceObliqueOrbit o{};
  o.p = p;
  o.sinI = std::sin(inclination);
  o.cosI = std::cos(inclination);
  if (std::fabs(o.cosI) < kLeastCosine) o.cosI = kLeastCosine;
  o.lon0 = meridianOf(lon0);
  o.endOfPath = endOfPath;
  const double oneEs = 1.0 - es, e2s = es * o.sinI * o.sinI, e2c = es * o.cosI * o.cosI;
  o.q = e2s / oneEs;
  o.t = e2s * (2.0 - es) / (oneEs * oneEs);
  o.u = e2c / oneEs;
  o.w = (1.0 - e2c) / oneEs * ((1.0 - e2c) / oneEs) - 1.0;
  o.j = oneEs * oneEs * oneEs;
  constexpr int kIntervals = 10;
  for (int k = 0; k <= kIntervals; ++k) {
    const double weight = k == 0 || k == kIntervals ? 1.0 : k % 2 ? 4.0 : 2.0;
    const double lam = kHalfPi / kIntervals * k, s2 = std::sin(lam) * std::sin(lam);
    const double qs = 1.0 + o.q * s2, ws = 1.0 + o.w * s2;
    const double s = p * o.sinI * std::cos(lam) * std::sqrt((1.0 + o.t * s2) / (ws * qs));
    const double h = std::sqrt(qs / ws) * (ws / (qs * qs) - p * o.cosI);
    const double d = std::sqrt(o.j * o.j + s * s);
    const double along = weight * (h * o.j - s * s) / d, across = weight * s * (h + o.j) / d;
    o.b += along / 30.0;
    o.a2 += along * std::cos(2.0 * lam) / 30.0;
    o.a4 += along * std::cos(4.0 * lam) / 60.0;
    o.c1 += across * std::cos(lam) / 15.0;
    o.c3 += across * std::cos(3.0 * lam) / 45.0;
  }
  return o;
}

/// The orbit of a path of the early or the later satellites.
inline SpaceObliqueOrbit landsatOrbit(double es, bool early, double path) {
  path = std::trunc(path);
  return early ? orbitOf(es, 103.2669323 / kMinutesPerDay, 99.092 * kDegree,
                         (128.87 - 360.0 / kEarlyPaths * path) * kDegree, 0.0)
               : orbitOf(es, 98.8841202 / kMinutesPerDay, 98.2 * kDegree,
                         (129.30 - 360.0 / kLatePaths * path) * kDegree, 0.0);
}

/// Whether the substitution contracts well enough for Newton's step.
template <class V>
OPRJ_INLINE Truth<V> isNewton(V slope) {
  return abs(slope) < V(0.5);
}

/// The step from lam to a solution of lam = f(lam), where f(lam) - lam is the substitution's.
template <class V>
OPRJ_INLINE V orbitStep(V substitution, V slope) {
  return substitution / select(isNewton(slope), 1.0 - slope, V(1.0));
}

/// S over J from the sine and cosine of lam.
template <class V>
OPRJ_INLINE V skewOf(const SpaceObliqueOrbit &o, SinCos<V> lam) {
  const V s2 = lam.sin * lam.sin;
  return (o.p * o.sinI / o.j) * lam.cos *
         sqrt(fma(V(o.t), s2, V(1.0)) / (fma(V(o.w), s2, V(1.0)) * fma(V(o.q), s2, V(1.0))));
}

/// A2 sin 2lam + A4 sin 4lam: what the track's x has beside B lam.
template <class V>
OPRJ_INLINE V trackWaves(const SpaceObliqueOrbit &o, SinCos<V> lam) {
  return lam.sin * lam.cos * fma(lam.sin * lam.sin, V(-8.0 * o.a4), V(2.0 * o.a2 + 4.0 * o.a4));
}

/// C1 sin lam + C3 sin 3lam: the track's y.
template <class V>
OPRJ_INLINE V trackOffset(const SpaceObliqueOrbit &o, SinCos<V> lam) {
  return lam.sin * fma(lam.sin * lam.sin, V(-4.0 * o.c3), V(o.c1 + 3.0 * o.c3));
}

template <class V>
Projected<V> spaceObliqueForward(const SpaceObliqueOrbit &o, double es, V lon, V lat,
                                 Stops<V> &stop, const StopText &notConverged) {
  const SinCos<V> phi = sincos(lat);
  const V n = sqrt(fma(V(-es) * phi.sin, phi.sin, V(1.0)));
  const V rho = phi.cos / n, z = (1.0 - es) * phi.sin / n;
  const V dLon = lon - V(o.lon0);

  // The search starts at the orbit's northernmost or southernmost point. A northern point before it
  // belongs to the path's end, one revolution later: its first run is not worth while.
  const Truth<V> north = lat >= V(0.0);
  V start = select(north, V(o.endOfPath != 0.0 ? 2.5 * kPi : kHalfPi), V(1.5 * kPi));
  V runs = V(3.0);
  if (o.endOfPath == 0.0) {
    const Truth<V> before = north & (cos(dLon + o.p * kHalfPi) > V(0.0));
    start = select(before, V(2.5 * kPi), start);
    runs = select(before, V(2.0), runs);
  }

  constexpr double kFirst = kPathStart * kPi, kLast = kFirst + kTwoPi;
  V lam = start;
  SinCos<V> lt = {V(0.0), V(0.0)};
  Truth<V> pending = V(0.0) == V(0.0), failed = never<V>();
  while (any(pending)) {
    lam = select(pending, start, lam);
    const V sign = select(start == V(1.5 * kPi), V(-1.0), V(1.0));
    Truth<V> open = pending;
    for (int i = 0; i < kOrbitIterations && any(open); ++i) {
      const SinCos<V> now = sincos(fma(V(o.p), lam, dLon));
      const V y = fma(rho * o.cosI, now.sin, z * o.sinI), x = rho * now.cos;
      const V slope = o.p * rho * fma(rho, V(o.cosI), z * o.sinI * now.sin) / fma(x, x, y * y);
      const V d = orbitStep(start + atan2(-sign * x, sign * y) - lam, slope);
      const Truth<V> met =
          abs(d) <= select(isNewton(slope), V(kNewtonTolerance), V(kOrbitTolerance));
      lt.sin = select(open, fma(now.cos, o.p * d, now.sin), lt.sin);
      lt.cos = select(open, fma(-now.sin, o.p * d, now.cos), lt.cos);
      lam = select(open, lam + d, lam);
      open = open & ~met;
    }
    failed = failed | open;
    runs -= V(1.0);
    const Truth<V> early = lam <= V(kFirst), late = lam >= V(kLast), again = runs > V(0.0);
    start = select(early, V(2.5 * kPi), V(kHalfPi));
    pending = pending & ~open & (early | late) & again;
  }
  stop.when(failed, notConverged);

  const V y = fma(rho * o.cosI, lt.sin, z * o.sinI), x = rho * lt.cos;
  const V h = sqrt(fma(x, x, y * y));
  const SinCos<V> at = {y / h, x / h};
  const V sinPhi = z * o.cosI - rho * o.sinI * lt.sin;
  const V skew = skewOf(o, at);
  const V away = atanh(sinPhi) / sqrt(fma(skew, skew, V(1.0)));
  return {fma(V(o.b), lam, trackWaves(o, at)) - away * skew, trackOffset(o, at) + away};
}

template <class V>
Geographic<V> spaceObliqueInverse(const SpaceObliqueOrbit &o, double es, V x, V y, Stops<V> &stop,
                                  const StopText &notConverged) {
  const double perB = 1.0 / o.b;
  V lam = x * perB;
  SinCos<V> at = {V(0.0), V(0.0)};
  Truth<V> open = V(0.0) == V(0.0);
  for (int i = 0; i < kOrbitIterations && any(open); ++i) {
    const SinCos<V> now = sincos(lam);
    const V c2 = fma(-2.0 * now.sin, now.sin, V(1.0));
    const V skew = skewOf(o, now), across = y - trackOffset(o, now);
    // The slope takes S without its square root and leaves A4 and C3 out: within 1 %.
    const V slope =
        -((o.p * o.sinI / o.j) * now.sin * across + 2.0 * o.a2 * c2 + skew * o.c1 * now.cos) * perB;
    const V d = orbitStep((x + skew * across - trackWaves(o, now)) * perB - lam, slope);
    at.sin = select(open, fma(now.cos, d, now.sin), at.sin);
    at.cos = select(open, fma(-now.sin, d, now.cos), at.cos);
    lam = select(open, lam + d, lam);
    const Truth<V> met = abs(d) <= V(kOrbitTolerance);
    open = open & ~met;
  }
  stop.when(open | (abs(lam) > V(kFarthestAngle)), notConverged);

  const V skew = skewOf(o, at);
  const V away = (y - trackOffset(o, at)) * sqrt(fma(skew, skew, V(1.0)));
  // Position in the orbit's axes: r (cos lam, sin lam) in its plane, sin phi'' above; r makes it
  // lie on the ellipsoid.
  const V sinPhi = 1.0 - 2.0 / (exp(2.0 * away) + V(1.0));
  const V quadratic = fma(V(o.q) * at.sin, at.sin, V(1.0));
  const V linear = (es / (1.0 - es) * o.sinI * o.cosI) * at.sin * sinPhi;
  const V constant = fma(V(1.0 + o.u) * sinPhi, sinPhi, V(-1.0));
  const V r = (sqrt(linear * linear - quadratic * constant) - linear) / quadratic;
  const V px = r * at.cos, py = fma(r * at.sin, V(o.cosI), -o.sinI * sinPhi);
  const V pz = fma(r * at.sin, V(o.sinI), o.cosI * sinPhi);
  return {adjustLongitude(adjustLongitude(fma(V(-o.p), lam, atan2(py, px) + V(o.lon0)))),
          atan2(pz, (1.0 - es) * sqrt(fma(px, px, py * py)))};
}

}  // namespace orvik::oprj::OPRJ_SET

#endif
