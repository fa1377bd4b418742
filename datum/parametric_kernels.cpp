// The parametric shift's formulas on lanes. Standard Molodensky: [TR8350.2] 7.2.1; seven parameters
// in the coordinate-frame convention: [EPSG7-2] method 9607; geocentric to geodetic: [Bowring76].
//
// Both formulas are rearranged so that a point costs two short sine polynomials and a few roots and
// divisions.
//
// Molodensky: with W = sqrt(1 - e² sin²), N = a/W and M = a (1 - e²)/W³ multiplied out, at h = 0,
//   dLat = W³/(a (1 - e²)) (dZ cos - sin (dX cosL + dY sinL))
//          + sin cos (W² (da e²/a + df b/a)/(1 - e²) + df a/b)
//   dLon = W/(a cos) (dY cosL - dX sinL).
//
// Seven parameters: in the frame whose axes point outwards on the meridian's plane (u), eastwards
// (v) and north (z), the point is (R, 0, Z) and
//   u = k (R + Z q) + dX cosL + dY sinL        q = rX sinL - rY cosL
//   v = k (Z w - rZ R) + dY cosL - dX sinL     w = rX cosL + rY sinL
//   z = k (Z - R q) + dZ,
// so that longitude enters with the small shift only and its increment is atan(v/u). The latitude
// comes from Bowring's fraction, both terms multiplied by the cube of the root that sin and cos of
// theta have as denominator, as an increment as well: the angle between the two directions.
// Increments are small angles, so the arctangent is a short series.
//
// Accuracy: latitude within 1.8e-16 rad (Molodensky) and 4.4e-16 rad (seven parameters), longitude
// within 2.3e-16 rad / cos, of the plain formulas in extended precision, on Earth spheroids up to
// 86 degrees of latitude: all below 3 nm.
//
// Special points go through `special`, one by one, in a form without limits: latitudes beyond
// 88.95 degrees (Molodensky's formulas are left there), increments beyond the series, longitudes
// beyond 540 degrees, results that fold over a pole, NaN.
#include "datum/parametric.h"
#include "lanes/point_runner.h"

namespace orvik::oprj::OPRJ_SET {

/// Below the first latitude Molodensky alone, above the second the geocentric result alone, blended
/// between: about 88.95 and 89.05 degrees.
inline constexpr double kBlendFrom = 1.55247, kBlendTo = 1.55422;
/// Tangents of increments up to here: the arctangent's series is exact to rounding.
inline constexpr double kSmall = 0.01;
/// Longitudes up to here need to be wrapped at most once.
inline constexpr double kWrappable = 3 * kPi;

template <class V>
struct LonLat {
  V lon, lat;
};

/// Sine and cosine of |x| <= pi/4, Taylor's series to the 15th and 16th power: 6e-17.
template <class V>
OPRJ_INLINE SinCos<V> sincosNearZero(V x) {
  const V x2 = x * x;
  return {x * polynomial(x2, 1.0, -1.0 / 6, 1.0 / 120, -1.0 / 5040, 1.0 / 362880, -1.0 / 39916800,
                         1.0 / 6227020800.0, -1.0 / 1307674368000.0),
          polynomial(x2, 1.0, -1.0 / 2, 1.0 / 24, -1.0 / 720, 1.0 / 40320, -1.0 / 3628800,
                     1.0 / 479001600, -1.0 / 87178291200.0, 1.0 / 20922789888000.0)};
}
template <class V>
OPRJ_INLINE SinCos<V> doubled(SinCos<V> angle) {
  return {2.0 * angle.sin * angle.cos, fma(-2.0 * angle.sin, angle.sin, V(1.0))};
}
// The shift is a small part of a radian, so sines that are good to 1e-15 leave its last digit
// alone; they cost a third of the library's.
template <class V>
OPRJ_INLINE SinCos<V> sincosOfLatitude(V lat) {
  return doubled(sincosNearZero(0.5 * lat));
}
template <class V>
OPRJ_INLINE SinCos<V> sincosOfLongitude(V wrapped) {
  return doubled(doubled(sincosNearZero(0.25 * wrapped)));
}

/// atan t of |t| <= kSmall.
template <class V>
OPRJ_INLINE V smallAtan(V t) {
  return t * polynomial(t * t, 1.0, -1.0 / 3, 1.0 / 5, -1.0 / 7);
}

/// One turn back for what lies beyond +-180 degrees.
template <class V>
OPRJ_INLINE V wrapped(V lon) {
  return lon - select(lon > V(kPi), V(kTwoPi), select(lon < V(-kPi), V(-kTwoPi), V(0.0)));
}

/// Folds the latitude over the poles, then wraps the longitude, once each. A number that is none
/// makes a pair of NaN.
static Oprj_Point normalised(LonLat<double> p) {
  if (!(abs(p.lon) < kInfinity && abs(p.lat) < kInfinity)) return {kNaN, kNaN};
  if (p.lat > kHalfPi) {
    p = {p.lon + kPi, kPi - p.lat};
  } else if (p.lat < -kHalfPi) {
    p = {p.lon + kPi, -p.lat - kPi};
  }
  return {wrapped(p.lon), p.lat};
}

template <class V>
OPRJ_INLINE LonLat<V> molodenskyIncrements(const ParametricBlock &b, SinCos<V> lon, SinCos<V> lat) {
  const Oprj_ShiftParameters &p = b.shift;
  const V w2 = fma(V(-p.eSquared) * lat.sin, lat.sin, V(1.0));
  const V w = sqrt(w2);
  const V outwards = fma(V(p.dX), lon.cos, p.dY * lon.sin);
  const V eastwards = fma(V(p.dY), lon.cos, -p.dX * lon.sin);
  const V northwards = fma(V(p.dZ), lat.cos, -lat.sin * outwards);
  const V shape = lat.sin * lat.cos * fma(V(b.squash), w2, V(b.bulge));
  return {eastwards * b.overA * (w / lat.cos), fma(northwards * b.overM, w * w2, shape)};
}

/// The shifted point in its meridian's frame: outwards, eastwards, north.
template <class V>
struct Local {
  V u, v, z;
};
template <class V>
OPRJ_INLINE Local<V> shiftedLocally(const ParametricBlock &b, SinCos<V> lon, SinCos<V> lat) {
  const Oprj_ShiftParameters &p = b.shift;
  const V n = p.a / sqrt(fma(V(-p.eSquared) * lat.sin, lat.sin, V(1.0)));
  const V r = n * lat.cos, z = (1.0 - p.eSquared) * n * lat.sin;
  const V q = fma(V(p.rX), lon.sin, -p.rY * lon.cos), w = fma(V(p.rX), lon.cos, p.rY * lon.sin);
  return {fma(V(p.scale), fma(z, q, r), fma(V(p.dX), lon.cos, p.dY * lon.sin)),
          fma(V(p.scale), fma(z, w, -p.rZ * r), fma(V(p.dY), lon.cos, -p.dX * lon.sin)),
          fma(V(p.scale), fma(-r, q, z), V(p.dZ))};
}

/// Bowring's direction of the latitude at distance `p` from the axis: its sine and cosine times the
/// same positive number.
template <class V>
OPRJ_INLINE SinCos<V> bowring(const ParametricBlock &b, V p, V z) {
  const V p2 = p * p, z2 = z * z;
  const V root2 = fma(V(b.axes), p2, z2);
  const V root3 = root2 * sqrt(root2);
  return {z * fma(V(b.polar), z2, root3), p * fma(V(-b.equator), p2, root3)};
}

/// The geocentric shift of any point.
static LonLat<double> geocentricAnywhere(const ParametricBlock &b, double lon, double lat) {
  const SinCos<double> l = sincos(lon);
  const Local<double> at = shiftedLocally(b, l, sincos(lat));
  const SinCos<double> to = bowring(b, sqrt(fma(at.u, at.u, at.v * at.v)), at.z);
  return {atan2(fma(at.u, l.sin, at.v * l.cos), fma(at.u, l.cos, -at.v * l.sin)),
          atan2(to.sin, to.cos)};
}

struct Molodensky {
  template <class V>
  OPRJ_INLINE static LonLat<V> shift(const ParametricBlock &b, V lon, V lat, Truth<V> &odd) {
    const Truth<V> ordinary = (abs(lat) <= V(kBlendFrom)) & (abs(lon) <= V(kWrappable));
    odd = ~ordinary;
    const LonLat<V> d =
        molodenskyIncrements(b, sincosOfLongitude(wrapped(lon)), sincosOfLatitude(lat));
    return {lon + d.lon, lat + d.lat};
  }
  static Oprj_Point special(const ParametricBlock &b, Oprj_Point p) {
    const double beyond = abs(p.y) - kBlendFrom, before = kBlendTo - abs(p.y);
    LonLat<double> result{};
    if (!(before > 0.0)) {
      result = geocentricAnywhere(b, p.x, p.y);
    } else {
      const LonLat<double> d = molodenskyIncrements(b, sincos(p.x), sincos(p.y));
      result = {p.x + d.lon, p.y + d.lat};
      if (beyond > 0.0) {
        LonLat<double> other = geocentricAnywhere(b, p.x, p.y);
        other.lon += kTwoPi * floor((result.lon - other.lon) / kTwoPi + 0.5);
        const double total = beyond + before;
        result = {fma(beyond, other.lon, before * result.lon) / total,
                  fma(beyond, other.lat, before * result.lat) / total};
      }
    }
    return normalised(result);
  }
};

struct Geocentric {
  template <class V>
  OPRJ_INLINE static LonLat<V> shift(const ParametricBlock &b, V lon, V lat, Truth<V> &odd) {
    const V meridian = wrapped(lon);
    const SinCos<V> of = sincosOfLatitude(lat);
    const Local<V> at = shiftedLocally(b, sincosOfLongitude(meridian), of);
    const V east = at.v / at.u, east2 = east * east;
    // the distance from the axis, sqrt(u² + v²)
    const V p = at.u * polynomial(east2, 1.0, 1.0 / 2, -1.0 / 8, 1.0 / 16);
    const SinCos<V> to = bowring(b, p, at.z);
    const V along = fma(to.cos, of.cos, to.sin * of.sin);
    const V north = fma(to.sin, of.cos, -to.cos * of.sin) / along;
    const Truth<V> ordinary = (abs(lat) <= V(kHalfPi)) & (abs(lon) <= V(kWrappable)) &
                              (at.u > V(0.0)) & (along > V(0.0)) & (abs(east) <= V(kSmall)) &
                              (abs(north) <= V(kSmall));
    odd = ~ordinary;
    return {meridian + smallAtan(east), lat + smallAtan(north)};
  }
  static Oprj_Point special(const ParametricBlock &b, Oprj_Point p) {
    return normalised(geocentricAnywhere(b, p.x, p.y));
  }
};

/// A formula as the point runner takes it: no point stops.
template <class Formula>
struct Shift {
  using Block = ParametricBlock;
  static constexpr PointFault kElsewhere = PointFault::kNone;

  /// An absurd point (infinite, for one) stays as it is, for the projection behind the shift to
  /// report.
  static const StopText *point(const Block &b, Oprj_Point p, Oprj_Point *out) {
    Flag odd = false;
    const LonLat<double> to = Formula::template shift<double>(b, p.x, p.y, odd);
    if (!odd.value && abs(to.lat) <= kHalfPi && abs(to.lon) < kInfinity)
      *out = {wrapped(to.lon), to.lat};
    else if (p.x != p.x || p.y != p.y) *out = {kNaN, kNaN};
    else if (max(abs(p.x), abs(p.y)) > kFarthestAngle) *out = p;
    else *out = Formula::special(b, p);
    return nullptr;
  }
  OPRJ_INLINE static Odd group(const Block &b, Lanes x, Lanes y, Lanes &u, Lanes &v) {
    Mask odd;
    const LonLat<Lanes> to = Formula::template shift<Lanes>(b, x, y, odd);
    u = wrapped(to.lon);
    v = to.lat;
    return {odd | ~((abs(to.lat) <= Lanes(kHalfPi)) & isFinite(to.lon))};
  }
  OPRJ_INLINE static Certain certain(Lanes x, Lanes y, Odd) { return {(x != x) | (y != y)}; }
};

template <class Formula>
static void shiftPoints(const ParametricBlock &block, const Oprj_Point *in, Oprj_Point *out,
                        int32_t count) {
  PointRun how;
  runPoints<Shift<Formula>>(block, in, out, count, how);
}

extern const ParametricKernels parametricKernels;
const ParametricKernels parametricKernels = {shiftPoints<Molodensky>, shiftPoints<Geocentric>};

}  // namespace orvik::oprj::OPRJ_SET
