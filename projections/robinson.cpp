// Robinson. [Robinson74]: a table of the lengths of the parallels and their distances from the
// equator every 5 degrees; [Snyder90] gives the scales. Between the nodes the parabola through the
// node towards the equator and its two neighbours (Stirling's formula to second differences), as
// the General Cartographic Transformation Package draws it.
//
// Reads entries 4 (central meridian), 6 and 7 (false easting and northing). A sphere of radius a.
// Domain: the whole globe; the inverse takes the sheet between the pole lines. The southern
// hemisphere mirrors the northern one.
// The inverse solves the parabola in closed form. Scales are the published 0.8487 and
// 1.3523; the Package's sheet is larger (0.9858, pi/2), of the same shape. Cubic splines through
// the same table differ between the nodes by some hundred metres, near the poles by up to 8 km.
#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

struct RobinsonBlock {
  double a, e, es;
  double lon0, falseEast, falseNorth;
};

constexpr int kIntervals = 18;
constexpr double kInterval = 5 * kDegree;
/// Node -5 degrees, then 0 to 90 degrees.
constexpr double kLengths[kIntervals + 2] = {0.9986, 1.0000, 0.9986, 0.9954, 0.9900, 0.9822, 0.9730,
                                             0.9600, 0.9427, 0.9216, 0.8962, 0.8679, 0.8350, 0.7986,
                                             0.7597, 0.7186, 0.6732, 0.6213, 0.5722, 0.5322};
constexpr double kDistances[kIntervals + 2] = {
    -0.0620, 0.0000, 0.0620, 0.1240, 0.1860, 0.2480, 0.3100, 0.3720, 0.4340, 0.4958,
    0.5571,  0.6176, 0.6769, 0.7346, 0.7903, 0.8435, 0.8936, 0.9394, 0.9761, 1.0000};

/// start + p (slope + p bend) for p from 0 to 1 across an interval.
template <class V>
struct Parabola {
  V start, slope, bend;
  OPRJ_INLINE V at(V p) const { return fma(p, fma(p, bend, slope), start); }
};
constexpr Parabola<double> parabolaFrom(const double *node) {
  return {node[0], (node[1] - node[-1]) / 2, (node[1] + node[-1]) / 2 - node[0]};
}

/// The two parabolas of an interval; a row of the table fills a cache line.
template <class V>
struct alignas(64) Interval {
  Parabola<V> length, distance;
};
struct IntervalTable {
  Interval<double> rows[kIntervals];
  constexpr IntervalTable() : rows{} {
    for (int i = 0; i < kIntervals; ++i)
      rows[i] = {parabolaFrom(kLengths + 1 + i), parabolaFrom(kDistances + 1 + i)};
  }
};
constexpr IntervalTable kTable;

OPRJ_INLINE Interval<double> intervalAt(double index) {
  return kTable.rows[static_cast<int>(index)];
}
/// Loads row by row: gather instructions take twice the time.
OPRJ_INLINE Interval<Lanes> intervalAt(Lanes index) {
  Interval<Lanes> found;
  for (int half = 0; half < 2; ++half) {
    for (int k = 0; k < kNativeWidth; ++k) {
      const Interval<double> &row = kTable.rows[static_cast<int>(index.half[half][k])];
      found.length.start.half[half][k] = row.length.start;
      found.length.slope.half[half][k] = row.length.slope;
      found.length.bend.half[half][k] = row.length.bend;
      found.distance.start.half[half][k] = row.distance.start;
      found.distance.slope.half[half][k] = row.distance.slope;
      found.distance.bend.half[half][k] = row.distance.bend;
    }
  }
  return found;
}

struct Robinson : FamilyBase<RobinsonBlock> {
  static constexpr Row row{
      .number = 24, .minimum = 8, .angles = entries(4), .compared = entries(4) | entries(6, 7)};
  static constexpr double kEast = 0.8487, kNorth = 1.3523;
  static constexpr StopText kOffTheSheet{4, "Computation error"};

  static bool derive(const Entries &p, const Ellipsoid &s, RobinsonBlock &b) {
    b = {s.a, s.e, s.es, meridianOf(p[4]), p[6], p[7]};
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &) {
    const V dLon = wrapDifference(lon - V(b.lon0));
    const V nodes = abs(lat) * (1.0 / kInterval);
    const V index = max(floor(nodes - kClose), V(0.0));  // nodes belong to the interval before them
    const Interval<V> interval = intervalAt(index);
    const V p = nodes - index;
    return {b.a * kEast * dLon * interval.length.at(p) + b.falseEast,
            b.a * kNorth * copysign(interval.distance.at(p), lat) + b.falseNorth};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V north = (y - V(b.falseNorth)) * (1.0 / (b.a * kNorth));
    const V side = (x - V(b.falseEast)) * (1.0 / (b.a * kEast));
    stop.when(abs(north) > V(1.0 + kClose / kNorth), kOffTheSheet);
    const V distance = min(abs(north), V(1.0));
    V index = 0.0;
    for (int i = 1; i < kIntervals; ++i)
      index = index + select(distance > V(kDistances[1 + i]), V(1.0), V(0.0));
    const Interval<V> interval = intervalAt(index);
    const Parabola<V> d = interval.distance;
    const V rise = distance - d.start;
    const V p = 2.0 * rise / (d.slope + sqrt(fma(4.0 * d.bend, rise, d.slope * d.slope)));
    const V length = interval.length.at(p);
    stop.when(abs(side) > fma(V(kPi), length, V(kClose / kEast)), kOffTheSheet);
    const V dLon = side / length;
    return {wrapDifference(b.lon0 + clampTo(dLon, kPi)), copysign((index + p) * kInterval, north)};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(Robinson, oprj_ROBINInit, oprj_ROBINFromLL, oprj_ROBINToLL, oprj_ROBINCopyParameters,
            oprj_ROBINProParametersEqual)
