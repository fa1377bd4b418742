// Transverse Mercator. [Snyder87] p. 60-64: ellipsoid eqs. 8-9 to 8-25 (series), sphere eqs. 8-1 to
// 8-8.
//
// Reads entries 2 (scale factor), 4 (central meridian), 5 (latitude of origin), 6 and 7 (false
// easting and northing). Below e = 1e-5 the closed form of the sphere is used. Domain: the series
// is meant for a few degrees beside the central meridian. The sphere projects (lon0 +- 90 degrees,
// 0) into infinity. Kept: backwards, a footpoint beyond a pole is the pole of the northing's sign,
// so that with the latitude of origin at the south pole northing 0 can be the north pole.
// Formulation: the series is multiplied out so that neither the tangent nor a division by the
// cosine of the latitude occurs forward (t = tan² appears only with powers of cos² in front).
#include <cstddef>

#include "projections/family.h"
#include "projections/longitude.h"
#include "projections/meridian.h"

namespace orvik::oprj::OPRJ_SET {

struct TransverseMercatorBlock {
  double a, e, es;
  double k0, lon0, lat0, falseEast, falseNorth;
  double e0, e1, e2, e3;  // meridian series
  double esp;             // e'² = e² / (1 - e²)
  double m0;              // a M(lat0)
  // what the inverse needs beside them
  double perScale, m0OverA, perOneEs;  // 1 / (a k0), m0 / a, 1 / (1 - e²)
  MeridianInverse meridian;
};
static_assert(offsetof(TransverseMercatorBlock, perScale) == 14 * sizeof(double));

/// Eccentricity below which the sphere's closed form is used.
inline constexpr double kSphereBelow = 1e-5;

struct TransverseMercator : FamilyBase<TransverseMercatorBlock> {
  static constexpr Row row{.number = 9,
                           .minimum = 8,
                           .angles = entries(4, 5),
                           .scale = 2,
                           .compared = entries(2) | entries(4, 7),
                           .stopsBeyondPoles = false};
  static constexpr ValueCheck checks[] = {kNoScale};
  static constexpr StopText kInfinite{4, "Point projects into infinity"};
  static constexpr StopText kPhi3{4, "Error returned from oprj_Phi3", "oprj_Phi3", kPhi3Iterations};

  static bool derive(const Entries &p, const Ellipsoid &s, TransverseMercatorBlock &b) {
    b = {};
    b.a = s.a;
    b.e = s.e;
    b.es = s.es;
    b.k0 = p[2];
    b.lon0 = meridianOf(p[4]);
    b.lat0 = p[5];
    b.falseEast = p[6];
    b.falseNorth = p[7];
    b.e0 = 1.0;
    if (s.es > 0.0) {
      b.e0 = oprj_E0fn(s.es, nullptr);
      b.e1 = oprj_E1fn(s.es, nullptr);
      b.e2 = oprj_E2fn(s.es, nullptr);
      b.e3 = oprj_E3fn(s.es, nullptr);
    }
    if (s.e >= kSphereBelow) {
      b.esp = s.es / (1.0 - s.es);
      b.m0 = s.a * oprj_Mlfn(b.e0, b.e1, b.e2, b.e3, b.lat0, nullptr);
    }
    b.perScale = 1.0 / (b.a * b.k0);
    b.m0OverA = b.m0 / b.a;
    b.perOneEs = 1.0 / (1.0 - b.es);
    b.meridian = meridianInverseOf(b.es, b.e0, b.e1, b.e2, b.e3);
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const V dLon = wrapDifference(lon - V(b.lon0));
    const SinCos<V> p = sincos(lat);
    if (b.e < kSphereBelow) return forwardSphere(b, dLon, lat, p, stop);

    const V q = p.cos * p.cos, l2 = dLon * dLon;
    const V n = b.a / sqrt(fma(V(-b.es) * p.sin, p.sin, V(1.0)));
    const V xSeries =
        polynomial(q, -1.0, 2.0, b.esp) +
        l2 * (1.0 / 20) * polynomial(q, 1.0, -20.0, 24.0 - 58.0 * b.esp, 72.0 * b.esp);
    const V ySeries =
        polynomial(q, -1.0, 6.0, 9.0 * b.esp, 4.0 * b.esp * b.esp) +
        l2 * (1.0 / 30) * polynomial(q, 1.0, -60.0, 120.0 - 330.0 * b.esp, 600.0 * b.esp);
    const V scaled = b.k0 * n * p.cos;
    const V x = scaled * dLon * fma(l2 * (1.0 / 6), xSeries, V(1.0));
    const V fromMeridian = scaled * p.sin * l2 * fma(l2 * (1.0 / 24), ySeries, V(0.5));
    const V m = b.a * fma(V(b.e0), lat, meridianWaves(b.e1, b.e2, b.e3, p));
    return {x + b.falseEast, fma(V(b.k0), m - V(b.m0), fromMeridian) + b.falseNorth};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V east = x - V(b.falseEast), north = y - V(b.falseNorth);
    if (b.e < kSphereBelow) return inverseSphere(b, east, north, stop);

    const Latitude<V> foot =
        latitudeOfDistance(b.meridian, fma(north, V(b.perScale), V(b.m0OverA)));
    stop.when(~foot.converged, kPhi3);
    const Truth<V> pole = abs(foot.phi) >= V(kHalfPi);
    const V s = foot.of.sin, c0 = foot.of.cos;
    const V perCos = 1.0 / c0, tangent = s * perCos, t = tangent * tangent;
    const V c = b.esp * c0 * c0;
    const V k = fma(V(-b.es) * s, s, V(1.0)), root = sqrt(k);
    const V d = east * root * b.perScale, d2 = d * d;  // east / (N k0)
    const V latSeries =
        (5.0 - 9.0 * b.esp) + t * 3.0 + c * (10.0 - 4.0 * c) -
        d2 * (1.0 / 30) * ((61.0 - 252.0 * b.esp) + t * (90.0 + 45.0 * t) + c * (298.0 - 3.0 * c));
    const V phi = foot.phi - tangent * (k * b.perOneEs) * d2 *  // N / R = k / (1 - e²)
                                 (0.5 - d2 * (1.0 / 24) * latSeries);
    const V lonSeries =
        1.0 + 2.0 * t + c -
        d2 * (1.0 / 20) * ((5.0 + 8.0 * b.esp) + t * (28.0 + 24.0 * t) - c * (2.0 + 3.0 * c));
    const V dLon = d * fma(d2 * (-1.0 / 6), lonSeries, V(1.0)) * perCos;
    // so far from the meridian the series leaves the globe
    stop.when(~pole & ((abs(phi) > V(kHalfPi + kClose)) | (abs(dLon) > V(kPi + kClose))),
              kInputData);
    const V lon = wrapDifference(b.lon0 + dLon);
    return {select(pole, V(b.lon0), lon),
            select(pole, select(north >= V(0.0), V(kHalfPi), V(-kHalfPi)), phi)};
  }

 private:
  template <class V>
  static Projected<V> forwardSphere(const Block &b, V dLon, V lat, SinCos<V> p, Stops<V> &stop) {
    const SinCos<V> l = sincos(dLon);
    const V across = p.cos * l.sin;
    const Truth<V> infinite = abs(abs(across) - V(1.0)) <= V(kClose);
    stop.when(infinite, kInfinite);
    const V safe = select(infinite, V(0.0), across);
    const V along = atan2(abs(p.sin), p.cos * l.cos);  // acos near 1 would lose 0.1 m
    return {b.a * b.k0 * atanh(safe) + b.falseEast,
            b.a * b.k0 * (select(lat < V(0.0), -along, along) - V(b.lat0)) + b.falseNorth};
  }

  template <class V>
  static Geographic<V> inverseSphere(const Block &b, V east, V north, Stops<V> &stop) {
    const V g = sinh(east * b.perScale);
    const V t = b.lat0 + north * b.perScale;
    stop.when(abs(t) > V(kPi + kClose), kInputData);  // the poles' far side ends there
    const SinCos<V> p = sincos(t);
    const V phi = atan2(abs(p.sin), sqrt(fma(g, g, p.cos * p.cos)));
    const Truth<V> onAxis = (g == V(0.0)) & (p.cos == V(0.0));
    return {select(onAxis, V(b.lon0), adjustLongitude(atan2(g, p.cos) + b.lon0)),
            select(t < V(0.0), -phi, phi)};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(TransverseMercator, oprj_TransverseMercatorInit, oprj_TransverseMercatorFromLL,
            oprj_TransverseMercatorToLL, oprj_TransverseMercatorCopyParameters,
            oprj_TransverseMercatorProParametersEqual)
