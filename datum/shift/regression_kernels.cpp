// The regression shift on lanes. Coefficients are known to the compiler: Horner in V for each power
// of U, then Horner in U, terms that are 0 left out.
//
// U and V are taken from the longitude wrapped once, the shift is added to the given one, and the
// sum is folded and wrapped. NaN makes a pair of NaN, an infinite point stays as it is.
#include "datum/shift/regression_kernels.h"

#include "lanes/kernels.h"
#include "lanes/lanes.h"

namespace orvik::oprj::OPRJ_SET {

/// Kept: radians per arc-second in the digits of the documented shift.
inline constexpr double kRadiansPerSecond = 4.848136811099238e-6;

inline constexpr int kPowers = RegressionPolynomial::kPowers;

enum class Shift { kLat, kLon };
template <int Datum, Shift Which>
constexpr double coefficient(int u, int v) {
  const RegressionEquations &of = kRegressions[Datum];
  return (Which == Shift::kLat ? of.lat : of.lon).of[u][v];
}
/// The highest power of V beside U^u; -1 when there is no term.
template <int Datum, Shift Which>
constexpr int highestBeside(int u) {
  int v = kPowers - 1;
  while (v >= 0 && coefficient<Datum, Which>(u, v) == 0.0) --v;
  return v;
}

/// What stands beside U^Power, from V^From upwards, divided by V^From.
template <int Datum, Shift Which, int Power, int From, class V>
OPRJ_INLINE V besidePower(V v) {
  constexpr double c = coefficient<Datum, Which>(Power, From);
  if constexpr (From == highestBeside<Datum, Which>(Power)) {
    return V(c);
  } else {
    const V higher = besidePower<Datum, Which, Power, From + 1>(v);
    if constexpr (c == 0.0) return v * higher;
    else return fma(v, higher, V(c));
  }
}
/// The sum from U^From upwards, divided by U^From.
template <int Datum, Shift Which, int From, class V>
OPRJ_INLINE V seconds(V u, V v) {
  constexpr bool any = highestBeside<Datum, Which>(From) >= 0;
  if constexpr (From == kPowers - 1) {
    if constexpr (any) return besidePower<Datum, Which, From, 0>(v);
    else return V(0.0);
  } else {
    const V higher = seconds<Datum, Which, From + 1>(u, v);
    if constexpr (any) return fma(u, higher, besidePower<Datum, Which, From, 0>(v));
    else return u * higher;
  }
}

template <class V>
struct LonLat {
  V lon, lat;
};

/// One turn back for what lies beyond +-180 degrees.
template <class V>
OPRJ_INLINE V wrapped(V lon) {
  return select(lon < V(-kPi), lon + kTwoPi, select(lon > V(kPi), lon - kTwoPi, lon));
}
template <class V>
OPRJ_INLINE LonLat<V> normalised(LonLat<V> p) {
  const Truth<V> north = p.lat > V(kHalfPi), south = p.lat < V(-kHalfPi);
  return {wrapped(select(north | south, p.lon + kPi, p.lon)),
          select(north, kPi - p.lat, select(south, -p.lat - kPi, p.lat))};
}

template <class V>
struct Shifted {
  LonLat<V> to;
  Truth<V> outside;
};
template <int Datum, class V>
OPRJ_INLINE Shifted<V> shifted(LonLat<V> p, double sign) {
  constexpr RegressionEquations of = kRegressions[Datum];
  const V lon = wrapped(p.lon);
  const V u = fma(V(of.scale), p.lat, V(of.latOffset));
  const V v = fma(V(of.scale), lon, V(of.lonOffset));
  const V unit = sign * kRadiansPerSecond;
  const Truth<V> inside = (V(of.area.west * kDegree) <= lon) & (lon <= V(of.area.east * kDegree)) &
                          (V(of.area.south * kDegree) <= p.lat) &
                          (p.lat <= V(of.area.north * kDegree));
  return {normalised<V>({fma(unit, seconds<Datum, Shift::kLon, 0>(u, v), p.lon),
                         fma(unit, seconds<Datum, Shift::kLat, 0>(u, v), p.lat)}),
          ~inside};
}

/// Whether a point is out of the ordinary, and as what it comes out then.
static bool special(Oprj_Point p, Oprj_Point &out) {
  if (p.x != p.x || p.y != p.y) out = {kNaN, kNaN};
  else if (abs(p.x) == kInfinity || abs(p.y) == kInfinity) out = p;
  else return false;
  return true;
}

template <int Datum>
int64_t shiftPoints(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oprj_PointReason *reasons,
                    double sign) {
  int64_t outside = 0;
  const auto note = [&](int32_t k) {
    ++outside;
    if (reasons) reasons[k] = OPRJ_POINT_OUTSIDE_REGRESSION;
  };
  const auto one = [&](int32_t k) {
    if (special(in[k], out[k])) return;
    const Shifted<double> point = shifted<Datum>(LonLat<double>{in[k].x, in[k].y}, sign);
    out[k] = {point.to.lon, point.to.lat};
    if (point.outside.value) note(k);
  };
  int32_t done = 0;
  for (; count - done >= kLanes; done += kLanes) {
    LonLat<Lanes> p;
    loadPairs(&in[done].x, p.lon, p.lat);
    if (!all(isFinite(p.lon) & isFinite(p.lat))) [[unlikely]] {
      for (int32_t k = done; k < done + kLanes; ++k) one(k);
      continue;
    }
    const Shifted<Lanes> points = shifted<Datum>(p, sign);
    storePairs(&out[done].x, points.to.lon, points.to.lat);
    if (any(points.outside)) {
      Oprj_Point flags[kLanes];
      storePairs(&flags->x, select(points.outside, Lanes(1.0), Lanes(0.0)), Lanes(0.0));
      for (int32_t k = 0; k < kLanes; ++k) {
        if (flags[k].x != 0.0) note(done + k);
      }
    }
  }
  for (; done < count; ++done) one(done);
  return outside;
}

static void normalisePoints(Oprj_Point *points, int32_t count) {
  for (int32_t k = 0; k < count; ++k) {
    const LonLat<double> p = normalised<double>({points[k].x, points[k].y});
    points[k] = {p.lon, p.lat};
  }
}

extern const RegressionKernels regressionKernels;
const RegressionKernels regressionKernels = {
    {shiftPoints<0>, shiftPoints<1>, shiftPoints<2>, shiftPoints<3>, shiftPoints<4>, shiftPoints<5>,
     shiftPoints<6>, shiftPoints<7>},
    normalisePoints};

}  // namespace orvik::oprj::OPRJ_SET
