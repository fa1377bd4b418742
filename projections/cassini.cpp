// Cassini-Soldner. [EPSG7-2], Cassini-Soldner: series of the fifth order; sphere: [Snyder87] p. 94,
// eqs. 13-1 to 13-5.
//
// Reads entries 2 (scale factor, of both coordinates), 4 (central meridian), 5 (latitude of
// origin), 6 and 7 (false easting and northing). Below e = 1e-5 the closed form of the sphere is
// used. Domain: all of the sphere; of the ellipsoid 75 degrees beside the central meridian.
// The series itself is the definition here: it leaves the true rectangular coordinates by 2 mm at
// 3 degrees, 5 cm at 5, 3.4 m at 10, 220 m at 20, and at 75 is hardly like them. The inverse is
// that of the series: from the sphere's closed form at the footpoint, by Newton's method.
// Formulation: tan² appears only with powers of cos² in front.
#include "projections/longitude.h"
#include "projections/rectifying_latitude.h"

namespace orvik::oprj::OPRJ_SET {

struct CassiniBlock {
  double a, e, es;
  double k0, lon0, lat0, falseEast, falseNorth;
  double esp;              // e'² = e² / (1 - e²)
  double scale, perScale;  // a k0, and 1 over it
  double distance0;        // of lat0 over a
  double pole;             // of the pole over a
  RectifyingLatitude rectifying;
};

struct Cassini : FamilyBase<CassiniBlock> {
  static constexpr Row row{.number = 51,
                           .minimum = 8,
                           .angles = entries(4, 5),
                           .scale = 2,
                           .compared = entries(2) | entries(4, 7)};
  static constexpr ValueCheck checks[] = {kNoScale};
  static constexpr StopText kIterated{4,
                                      "Iteration failed to converge in Cassini inverse "
                                      "transformation, point # %ld:  %lf, %lf",
                                      nullptr, 12};
  static constexpr double kSphere = 1e-5;  // eccentricity below which the sphere's form is used
  static constexpr double kFarthest = 75 * kDegree;
  static constexpr double kTolerance = 1e-9;  // rad; what a step leaves is its square
  // Radii beside the meridian, of which the series reach 1.4, from which on no step of the inverse
  // stays on the globe.
  static constexpr double kFarOff = 30.0;

  static bool derive(const Entries &p, const Ellipsoid &s, CassiniBlock &b) {
    if (isTooFlatForSeries(s.es)) return false;
    b = {s.a,
         s.e,
         s.es,
         p[2],
         meridianOf(p[4]),
         p[5],
         p[6],
         p[7],
         s.es / (1.0 - s.es),
         s.a * p[2],
         1.0 / (s.a * p[2]),
         p[5],
         kHalfPi,
         rectifyingLatitudeOf(s.es)};
    if (isSphere(b)) return true;
    b.distance0 = meridianDistance(b.rectifying, b.lat0, sincos(notTooFar(b.lat0)));
    b.pole = kHalfPi * b.rectifying.radius;
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const V dLon = wrapDifference(lon - V(b.lon0));
    const SinCos<V> p = sincos(lat);
    Projected<V> at;
    if (isSphere(b)) {
      const SinCos<V> l = sincos(dLon);
      const V along = p.cos * l.cos;
      at = {atan2(p.cos * l.sin, sqrt(fma(along, along, p.sin * p.sin))), atan2(p.sin, along)};
    } else {
      stop.when(abs(dLon) > V(kFarthest + kClose), kCannotProject);
      const Series<V> series = seriesAt(b, dLon, lat, p);
      at = {series.x, series.y};
    }
    return {fma(V(b.scale), at.x, V(b.falseEast)),
            fma(V(b.scale), at.y - V(b.distance0), V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    V east = (x - V(b.falseEast)) * b.perScale;
    V north = fma(y - V(b.falseNorth), V(b.perScale), V(b.distance0));
    if (isSphere(b)) {
      stop.when((abs(east) > V(kHalfPi + kClose)) | (abs(north) > V(kPi + kClose)), kInputData);
      const Geographic<V> at = fromFootpoint(sincos(notTooFar(north)), notTooFar(east));
      return {wrapDifference(b.lon0 + at.lon), at.lat};
    }
    const Truth<V> off = (abs(north) > V(2.0 * b.pole)) | (abs(east) >= V(kFarOff));
    stop.when(off, kInputData);
    east = select(off, V(0.0), east);  // which costs the others no steps
    north = select(off, V(0.0), north);
    const MeridianPlace<V> foot = latitudeAtDistance(b.rectifying, clampTo(north, b.pole));
    const V perNu = sqrt(fma(V(-b.es) * foot.of.sin, foot.of.sin, V(1.0)));
    const Geographic<V> start = fromFootpoint(foot.of, clampTo(east * perNu, kHalfPi));
    V dLon = clampTo(start.lon, kFarthest), lat = start.lat;
    Truth<V> open = V(0.0) == V(0.0), beyond = never<V>();
    for (int i = 0; i < kIterated.iterations && any(open); ++i) {
      const SinCos<V> p = sincos(lat);
      const Series<V> at = seriesAt(b, dLon, lat, p);
      const V dx = at.x - east, dy = at.y - north;
      const V perArea = 1.0 / fma(at.xLon, at.yLat, -at.xLat * at.yLon);
      const V stepLon = fma(dx, at.yLat, -dy * at.xLat) * perArea;
      const V stepLat = fma(dy, at.xLon, -dx * at.yLon) * perArea;
      dLon = select(open, clampTo(dLon - stepLon, kPi), dLon);
      beyond = select(open, abs(lat - stepLat) > V(kHalfPi + kClose), beyond);  // a pole
      lat = select(open, clampTo(lat - stepLat, kHalfPi), lat);
      const Truth<V> met = abs(stepLon) * p.cos + abs(stepLat) <= V(kTolerance);  // not by a NaN
      open = open & ~met;
    }
    stop.when(beyond | (abs(dLon) > V(kFarthest + 2.0 * kClose)), kInputData);
    stop.when(open, kIterated);
    return {wrapDifference(b.lon0 + dLon), lat};
  }

 private:
  static bool isSphere(const Block &b) { return b.e < kSphere; }

  /// The place at the distance `east` from the meridian, square to it at a latitude of the sphere.
  template <class V>
  OPRJ_INLINE static Geographic<V> fromFootpoint(SinCos<V> foot, V east) {
    const SinCos<V> e = sincos(east);
    const V along = foot.cos * e.cos;
    return {atan2(e.sin, along), atan2(foot.sin * e.cos, sqrt(fma(along, along, e.sin * e.sin)))};
  }

  /// The series over a, and its derivatives.
  template <class V>
  struct Series {
    V x, y, xLon, xLat, yLon, yLat;
  };
  template <class V>
  OPRJ_INLINE static Series<V> seriesAt(const Block &b, V dLon, V lat, SinCos<V> p) {
    const V s = p.sin, c = p.cos, s2 = s * s, c2 = c * c, l2 = dLon * dLon;
    const V w = fma(V(-b.es), s2, V(1.0)), nu = 1.0 / sqrt(w);
    const V nuLat = b.es * s * c * nu / w, meridian = (1.0 - b.es) * nu / w;
    // x / nu = c dlam f, y = M + nu s c dlam² h
    const V g = fma(V(8.0), c2, -s2) + 8.0 * b.esp * c2 * c2;
    const V k = fma(V(5.0), c2, -s2) + 6.0 * b.esp * c2 * c2;
    const V across = dLon * (1.0 - l2 * s2 * (1.0 / 6 + l2 * g * (1.0 / 120)));
    const V h = fma(l2 * (1.0 / 24), k, V(0.5)), bow = s * c * l2;
    const V turn = 2.0 * c2 - s2;  // d(c s²) = s turn
    const V gLat = -s * c * fma(V(32.0 * b.esp), c2, V(18.0));
    const V kLat = -s * c * fma(V(24.0 * b.esp), c2, V(12.0));
    return {nu * c * across,
            fma(nu, bow * h, meridianDistance(b.rectifying, lat, p)),
            nu * c * (1.0 - l2 * s2 * (0.5 + l2 * g * (1.0 / 24))),
            fma(nuLat, c * across,
                -nu * dLon *
                    (s + l2 * (s * turn * (1.0 / 6 + l2 * g * (1.0 / 120)) +
                               l2 * c * s2 * gLat * (1.0 / 120)))),
            nu * s * c * dLon * fma(l2 * (1.0 / 6), k, V(1.0)),
            meridian + nuLat * bow * h + nu * l2 * fma(c2 - s2, h, s * c * l2 * kLat * (1.0 / 24))};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_ENGINE_FAMILY(Cassini, Cassini)
