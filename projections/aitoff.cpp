// Aitoff (56) and Winkel Tripel (61). [SnyderVoxland89], [Snyder93].
//
// Aitoff is the azimuthal equidistant projection of the globe with halved longitudes, stretched
// twofold; Winkel Tripel is the mean of it and of the equirectangular one that is true in the
// parallel phi1 (the usual one is acos(2/pi)). Entries 4 (central meridian), 6 and 7 (false easting
// and northing); 61 also 5 (phi1, which must not be a pole). A sphere of radius a.
// Domain: the whole globe; the inverse takes the outline and what lies 0.6 mm beyond.
// The inverse of 56 is closed. That of 61 is Newton's method on both coordinates, as in
// [IpbukerBildirici02], started from the mean's own scales and kept on the globe: at most five
// steps for every phi1 up to 89.9 degrees. What it finds must project to where it came from.
#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

struct AitoffBlock {
  double a, e, es;
  double lon0, parallel, falseEast, falseNorth;
  double perA, cosParallel;
};

/// Longitude and latitude as Aitoff's projection takes them: half the longitude, c the distance
/// from the centre, cosC = cos phi cos(dlam/2), ratio = c / sin c.
template <class V>
struct AitoffPlace {
  SinCos<V> half, phi;
  V cosC, sine2, ratio;  // sine2: sin² c
};
template <class V>
OPRJ_INLINE AitoffPlace<V> aitoffPlace(V dLon, V lat) {
  AitoffPlace<V> at{sincos(0.5 * dLon), sincos(lat), V(0.0), V(0.0), V(1.0)};
  const V east = at.phi.cos * at.half.sin;
  at.cosC = at.phi.cos * at.half.cos;
  at.sine2 = fma(east, east, at.phi.sin * at.phi.sin);
  const V sine = sqrt(at.sine2);
  at.ratio = select(sine > V(0.0), atan2(sine, at.cosC) / sine, V(1.0));
  return at;
}
template <class V>
OPRJ_INLINE Projected<V> onAitoffSheet(const AitoffPlace<V> &at) {
  return {2.0 * at.ratio * at.phi.cos * at.half.sin, at.ratio * at.phi.sin};
}

struct Aitoff : FamilyBase<AitoffBlock> {
  static constexpr Row row{
      .number = 56, .minimum = 8, .angles = entries(4), .compared = entries(4) | entries(6, 7)};

  static bool derive(const Entries &p, const Ellipsoid &s, AitoffBlock &b) {
    b = {s.a, s.e, s.es, meridianOf(p[4]), 0.0, p[6], p[7], 1.0 / s.a, 1.0};
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &) {
    const Projected<V> p = onAitoffSheet(aitoffPlace(wrapDifference(lon - V(b.lon0)), lat));
    return {fma(V(b.a), p.x, V(b.falseEast)), fma(V(b.a), p.y, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V across = (x - V(b.falseEast)) * (0.5 * b.perA), up = (y - V(b.falseNorth)) * b.perA;
    const V c = sqrt(fma(across, across, up * up));
    // its distance from the outline is c - pi/2 over the gradient of c on the sheet
    const V gradient = fma(V(0.25) * across, across, up * up), beyond = (c - kHalfPi) * c;
    const Truth<V> off = (beyond > V(0.0)) & (beyond * beyond > kClose * kClose * gradient);
    stop.when(off | (c > V(2.0)), kInputData);
    const SinCos<V> at = sincos(min(c, V(kHalfPi)));
    const V k = select(c > V(0.0), at.sin / c, V(1.0)), east = across * k;
    return {wrapDifference(b.lon0 + 2.0 * atan2(east, at.cos)),
            atan2(up * k, sqrt(fma(at.cos, at.cos, east * east)))};
  }
};

struct WinkelTripel : FamilyBase<AitoffBlock> {
  static constexpr Row row{
      .number = 61, .minimum = 8, .angles = entries(4, 5), .compared = entries(4, 7)};
  static constexpr ValueCheck checks[] = {kParallelAtPole};
  static constexpr int kIterations = 12;
  static constexpr double kTolerance = 1e-8;   // rad; what a step leaves is its square
  static constexpr double kFarOff = 4.0;       // radii; the map ends at pi
  static constexpr double kNearCentre = 1e-4;  // sin² c below which the slopes are those there

  static bool derive(const Entries &p, const Ellipsoid &s, AitoffBlock &b) {
    b = {s.a, s.e, s.es, meridianOf(p[4]), p[5], p[6], p[7], 1.0 / s.a, __builtin_cos(p[5])};
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &) {
    const V dLon = wrapDifference(lon - V(b.lon0));
    const Projected<V> p = mean(b, aitoffPlace(dLon, lat), dLon, lat);
    return {fma(V(b.a), p.x, V(b.falseEast)), fma(V(b.a), p.y, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    V east = (x - V(b.falseEast)) * b.perA, north = (y - V(b.falseNorth)) * b.perA;
    const Truth<V> off = (abs(east) > V(kFarOff)) | (abs(north) > V(kFarOff));
    stop.when(off, kInputData);
    east = select(off, V(0.0), east);  // which costs the others no steps
    north = select(off, V(0.0), north);
    V lat = clampTo(north, kHalfPi);
    V dLon = clampTo(2.0 * east / (b.cosParallel + cos(lat)), kPi);
    Truth<V> open = V(0.0) == V(0.0);
    for (int i = 0; i < kIterations && any(open); ++i) {
      const AitoffPlace<V> at = aitoffPlace(dLon, lat);
      const Projected<V> p = mean(b, at, dLon, lat);
      // d ratio / d(cos c), negative, over sin² c
      const V bend =
          select(at.sine2 > V(kNearCentre), (1.0 - at.ratio * at.cosC) / at.sine2, V(1.0 / 3));
      const V s = at.phi.sin, c = at.phi.cos, across = c * at.half.sin;
      const V xLon = 0.5 * (b.cosParallel + fma(at.ratio, at.cosC, bend * across * across));
      const V xLat = s * at.half.sin * fma(bend, at.cosC, -at.ratio);
      const V yLon = 0.25 * bend * across * s;
      const V yLat = 0.5 * (1.0 + fma(at.ratio, c, bend * s * s * at.half.cos));
      const V perArea = 1.0 / fma(xLon, yLat, -xLat * yLon);
      const V dx = p.x - east, dy = p.y - north;
      const V stepLon = fma(dx, yLat, -dy * xLat) * perArea;
      const V stepLat = fma(dy, xLon, -dx * yLon) * perArea;
      dLon = select(open, clampTo(dLon - stepLon, kPi), dLon);
      lat = select(open, clampTo(lat - stepLat, kHalfPi), lat);
      const Truth<V> met = abs(stepLon) * c + abs(stepLat) <= V(kTolerance);  // not by a NaN
      open = open & ~met;
    }
    const Truth<V> doubtful = open | (abs(dLon) >= V(kPi)) | (abs(lat) >= V(kHalfPi));
    if (any(doubtful)) [[unlikely]] {
      const Projected<V> p = mean(b, aitoffPlace(dLon, lat), dLon, lat);
      const Truth<V> same = square(p.x - east) + square(p.y - north) <= V(kClose * kClose);
      stop.when(doubtful & ~same, kInputData);
    }
    return {wrapDifference(b.lon0 + dLon), lat};
  }

 private:
  template <class V>
  OPRJ_INLINE static Projected<V> mean(const Block &b, const AitoffPlace<V> &at, V dLon, V lat) {
    const Projected<V> p = onAitoffSheet(at);
    return {0.5 * fma(V(b.cosParallel), dLon, p.x), 0.5 * (lat + p.y)};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_ENGINE_FAMILY(Aitoff, Aitoff)
OPRJ_ENGINE_FAMILY(WinkelTripel, WinkelTripel)
