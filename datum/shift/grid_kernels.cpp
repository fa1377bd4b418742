// The grid shift on lanes: search of the sub-grid, bilinear interpolation, and the inverse's
// iteration. Angles are degrees inside, as in the files.
//
// The first sub-grid in the file's order that contains a point serves it. A group of points usually
// lies in the sub-grid of the group before; that it lies in none of the earlier ones that overlap
// it is asked for the group as a whole, by their common box first. Where the group is of several
// minds each lane gets numbers of its own, and the arithmetic is the same.
//
// Inverse: fixed-point iteration from the target, up to ten rounds, each lane until its own error
// is below 1e-9 degree; the result is the last estimate at which shifts were taken.
//
// Special points go one by one: NaN makes a pair of NaN, also out of a node; an infinite point
// stays as it is; a sub-grid that is not wholly in the file is asked cell by cell.
#include <cstring>

#include "datum/shift/grid_kernels.h"
#include "lanes/lanes.h"

namespace orvik::oprj::OPRJ_SET {

// Kept: these rounded constants are those of the documented shift.
inline constexpr double kDegreesPerRadian = 57.29577951308232;
inline constexpr double kRadiansPerDegree = 0.017453292519943295;
inline constexpr double kDegreesPerSecond = 0.000277777777778;

template <class V>
struct Position {
  V lon, lat;
};

/// Shifts in degrees, and what they were taken from.
template <class V>
struct Shifts {
  V lon, lat;
  Truth<V> outside;      ///< of all sub-grids: the shifts are 0
  Truth<V> odd;          ///< no numbers; of lanes: or for the scalar way to settle
  bool missing = false;  ///< nodes are not in the file
};

template <class V>
OPRJ_INLINE Truth<V> contains(const GridBox &box, Position<V> p) {
  return (V(box.west) <= p.lon) & (p.lon <= V(box.east)) & (V(box.south) <= p.lat) &
         (p.lat <= V(box.north));
}

/// The numbers of the sub-grid that serves a point, lane by lane.
template <class V>
struct Serving {
  V west, south, lonScale, latScale, lastColumn, lastRow, columns;
};

/// The nodes of a cell: shifts west and north at its corners, [column][row].
template <class V>
struct Corners {
  V west[2][2], north[2][2];
};

/// A number for each lane in memory, in the order of the lanes.
struct Spread {
  alignas(64) double value[kLanes];

  OPRJ_INLINE void put(Lanes x) {
    nativeStore(value, x.half[0]);
    nativeStore(value + kNativeWidth, x.half[1]);
  }
  OPRJ_INLINE Lanes get() const { return {nativeLoad(value), nativeLoad(value + kNativeWidth)}; }
};

/// Nodes of the cells that begin at `cell`: two in this row and two in the row of `up` bytes later.
OPRJ_INLINE Corners<Lanes> cornersAt(const unsigned char *const (&cell)[kLanes],
                                     const int64_t (&up)[kLanes]) {
  Corners<Lanes> corners;
  for (int row = 0; row < 2; ++row) {
    const unsigned char *from[kLanes];
    for (int k = 0; k < kLanes; ++k) from[k] = cell[k] + (row == 0 ? 0 : up[k]);
    Native found[4][2];
    nativeLoadFours(from, found);
    corners.west[0][row] = {found[0][0], found[0][1]};
    corners.north[0][row] = {found[1][0], found[1][1]};
    corners.west[1][row] = {found[2][0], found[2][1]};
    corners.north[1][row] = {found[3][0], found[3][1]};
  }
  return corners;
}
OPRJ_INLINE Corners<double> cornersAt(const unsigned char *cell, int64_t up) {
  Corners<double> corners;
  for (int row = 0; row < 2; ++row) {
    float pair[4];
    std::memcpy(pair, cell + (row == 0 ? 0 : up), sizeof pair);
    corners.west[0][row] = pair[0];
    corners.north[0][row] = pair[1];
    corners.west[1][row] = pair[2];
    corners.north[1][row] = pair[3];
  }
  return corners;
}

template <class V>
OPRJ_INLINE V interpolated(const V (&node)[2][2], V u, V v) {
  const V along = node[1][0] - node[0][0], across = node[0][1] - node[0][0];
  const V twist = node[1][1] - node[0][1] - node[1][0] + node[0][0];
  return fma(v, fma(twist, u, across), fma(along, u, node[0][0]));
}

/// A point's cell: its first node and the place in it.
template <class V>
struct Cell {
  V index, u, v;
};
template <class V>
OPRJ_INLINE Cell<V> cellOf(const Serving<V> &s, Position<V> p) {
  const V x = (p.lon - s.west) * s.lonScale, y = (p.lat - s.south) * s.latScale;
  // On the last bound u or v is 1: the edge node's value without one beyond.
  const V column = min(floor(x), s.lastColumn), row = min(floor(y), s.lastRow);
  return {fma(row, s.columns, column), x - column, y - row};
}

template <class V>
OPRJ_INLINE Shifts<V> shiftsIn(const Corners<V> &corners, const Cell<V> &cell, Truth<V> outside) {
  const V west = interpolated(corners.west, cell.u, cell.v);
  const V north = interpolated(corners.north, cell.u, cell.v);
  return {-west, north, outside, ~(isFinite(west) & isFinite(north))};
}

OPRJ_INLINE Serving<double> servingOf(const SubGrid &g) {
  return {g.box.west, g.box.south, g.lonScale, g.latScale, g.lastColumn, g.lastRow, g.columns};
}

/// What serves lanes outside of everything: a cell of zeros.
static const float kNothing[4] = {};

/// The search in one file; remembers where the last points were.
class Search {
 public:
  explicit Search(const SubGrids &grids) : grids_(grids) {}

  Shifts<double> shifts(Position<double> p) {
    const int32_t at = find(p);
    if (at < 0) return {0.0, 0.0, true, false};
    const SubGrid &grid = grids_.grid[at];
    const Cell<double> cell = cellOf(servingOf(grid), p);
    if (!grid.complete && !(grid.available > 0 &&
                            cell.index + grid.columns + 2.0 <= static_cast<double>(grid.available)))
      return {0.0, 0.0, false, false, true};
    const auto index = static_cast<int64_t>(cell.index),
               columns = static_cast<int64_t>(grid.columns);
    return shiftsIn(cornersAt(grid.nodes + index * kGridNodeBytes, columns * kGridNodeBytes), cell,
                    Flag(false));
  }

  /// Lanes that only the scalar way can do are odd.
  OPRJ_INLINE Shifts<Lanes> shifts(Position<Lanes> p) {
    const unsigned char *cells[kLanes];
    int64_t up[kLanes];
    Spread index;
    if (allInLast(p)) [[likely]] {
      const SubGrid &g = grids_.grid[last_];
      const Serving<Lanes> serving = {g.box.west,   g.box.south, g.lonScale, g.latScale,
                                      g.lastColumn, g.lastRow,   g.columns};
      const Cell<Lanes> cell = cellOf(serving, p);
      index.put(cell.index);
      const int64_t row = static_cast<int64_t>(g.columns) * kGridNodeBytes;
      for (int k = 0; k < kLanes; ++k) {
        cells[k] = g.nodes + static_cast<int64_t>(index.value[k]) * kGridNodeBytes;
        up[k] = row;
      }
      return shiftsIn(cornersAt(cells, up), cell, never<Lanes>());
    }
    return mixed(p);
  }

 private:
  int32_t find(Position<double> p) {
    if (contains(grids_.grid[last_].box, p).value) {
      const SubGrid &grid = grids_.grid[last_];
      bool first = true;
      for (int32_t k = 0; k < grid.earlierCount && first; ++k)
        first = !contains(grids_.grid[grids_.earlier[grid.earlier + k]].box, p).value;
      if (first) return last_;
    }
    for (int32_t k = 0; k < grids_.count; ++k) {
      if (contains(grids_.grid[k].box, p).value) return last_ = k;
    }
    return -1;
  }

  /// The last sub-grid serves all lanes, and holds all its nodes.
  OPRJ_INLINE bool allInLast(Position<Lanes> p) const {
    const SubGrid &grid = grids_.grid[last_];
    if (!grid.complete || !all(contains(grid.box, p))) return false;
    if (grid.earlierCount == 0 || !any(contains(grid.earlierBox, p))) return true;
    for (int32_t k = 0; k < grid.earlierCount; ++k) {
      if (any(contains(grids_.grid[grids_.earlier[grid.earlier + k]].box, p))) return false;
    }
    return true;
  }

  /// Lanes that different sub-grids serve, or none.
  [[gnu::noinline]] Shifts<Lanes> mixed(Position<Lanes> p) {
    Mask left = (p.lon == p.lon) & (p.lat == p.lat);
    Lanes which = -1.0;
    for (int32_t k = 0; k < grids_.count && any(left); ++k) {
      const Mask here = contains(grids_.grid[k].box, p) & left;
      which = select(here, Lanes(double(k)), which);
      left = left & ~here;
    }
    Spread found, numbers[7], index, odd;
    found.put(which);
    const unsigned char *nodes[kLanes];
    int64_t up[kLanes];
    for (int k = 0; k < kLanes; ++k) {
      const auto at = static_cast<int32_t>(found.value[k]);
      Serving<double> serving{};
      nodes[k] = reinterpret_cast<const unsigned char *>(kNothing);
      const bool served = at >= 0 && grids_.grid[at].complete;
      odd.value[k] = at >= 0 && !served ? 1.0 : 0.0;
      if (served) {
        last_ = at;
        serving = servingOf(grids_.grid[at]);
        nodes[k] = grids_.grid[at].nodes;
      }
      up[k] = static_cast<int64_t>(serving.columns) * kGridNodeBytes;
      const double all[7] = {serving.west,     serving.south,      serving.lonScale,
                             serving.latScale, serving.lastColumn, serving.lastRow,
                             serving.columns};
      for (int i = 0; i < 7; ++i) numbers[i].value[k] = all[i];
    }
    const Serving<Lanes> serving = {numbers[0].get(), numbers[1].get(), numbers[2].get(),
                                    numbers[3].get(), numbers[4].get(), numbers[5].get(),
                                    numbers[6].get()};
    const Mask outside = which < Lanes(0.0);
    const Cell<Lanes> cell =
        cellOf(serving, p);  // 0, 0 and the zeros for those that are not served
    index.put(cell.index);
    for (int k = 0; k < kLanes; ++k)
      nodes[k] += static_cast<int64_t>(index.value[k]) * kGridNodeBytes;
    Shifts<Lanes> to = shiftsIn(cornersAt(nodes, up), cell, outside);
    to.odd = to.odd | (odd.get() != Lanes(0.0));
    return to;
  }

  const SubGrids &grids_;
  int32_t last_ = 0;
};

/// One turn back for what lies beyond +-180 degrees.
template <class V>
OPRJ_INLINE V wrapped(V lon) {
  return select(lon < V(-180.0), lon + 360.0, select(lon > V(180.0), lon - 360.0, lon));
}

template <class V>
OPRJ_INLINE Position<V> inDegrees(V lon, V lat) {
  return {wrapped(lon * kDegreesPerRadian), lat * kDegreesPerRadian};
}

/// Folds the latitude over the poles, wraps the longitude; radians.
template <class V>
OPRJ_INLINE Position<V> result(Position<V> p) {
  const Truth<V> north = p.lat > V(90.0), south = p.lat < V(-90.0);
  const V lat = select(north, 180.0 - p.lat, select(south, -p.lat - 180.0, p.lat));
  const V lon = select(north | south, p.lon + 180.0, p.lon);
  return {wrapped(lon) * kRadiansPerDegree, lat * kRadiansPerDegree};
}

/// A point with its shifts added: degrees.
template <class V>
OPRJ_INLINE Position<V> moved(Position<V> p, const Shifts<V> &by) {
  return {fma(by.lon, V(kDegreesPerSecond), p.lon), fma(by.lat, V(kDegreesPerSecond), p.lat)};
}

/// Where a point went and what is to be said of it.
template <class V>
struct Outcome {
  Position<V> to;
  Truth<V> unshifted, unconverged, odd;
  bool missing;
};

struct Forward {
  template <class V>
  OPRJ_INLINE static Outcome<V> shift(Search &search, Position<V> p) {
    const Shifts<V> by = search.shifts(p);
    return {moved(p, by), by.outside, never<V>(), by.odd, by.missing};
  }
};

struct Inverse {
  template <class V>
  OPRJ_INLINE static Outcome<V> shift(Search &search, Position<V> target) {
    Position<V> estimate = target;
    for (int32_t round = 1;; ++round) {
      const Shifts<V> by = search.shifts(estimate);
      const Position<V> there = moved(estimate, by);
      const V lonError = there.lon - target.lon, latError = there.lat - target.lat;
      const Truth<V> moves =
          (abs(lonError) > V(kInverseTolerance)) | (abs(latError) > V(kInverseTolerance));
      if (round == kInverseRounds || by.missing || any(by.odd) || !any(moves))
        return {estimate, by.outside & ~moves, moves, by.odd, by.missing};
      estimate = {select(moves, estimate.lon - lonError, estimate.lon),
                  select(moves, estimate.lat - latError, estimate.lat)};
    }
  }
};

/// Counts a point and tells why its result stands for nothing.
OPRJ_INLINE void note(int64_t &counter, Oprj_PointReason *reason, Oprj_PointReason why) {
  ++counter;
  if (reason) *reason = why;
}
OPRJ_INLINE void note(Mask points, int64_t &counter, Oprj_PointReason *reasons,
                      Oprj_PointReason why) {
  if (!any(points)) [[likely]]
    return;
  Oprj_Point flags[kLanes];
  storePairs(&flags->x, select(points, Lanes(1.0), Lanes(0.0)), Lanes(0.0));
  for (int32_t k = 0; k < kLanes; ++k) {
    if (flags[k].x != 0.0) note(counter, reasons ? reasons + k : nullptr, why);
  }
}

/// One point. False when the file does not hold the nodes.
template <class Direction>
static bool shiftPoint(Search &search, Oprj_Point in, Oprj_Point &out, Oprj_PointReason *reason,
                       GridCounts &counts) {
  if (in.x != in.x || in.y != in.y) {
    out = {kNaN, kNaN};
    return true;
  }
  if (abs(in.x) == kInfinity || abs(in.y) == kInfinity) {
    out = in;
    return true;
  }
  const Outcome<double> outcome = Direction::shift(search, inDegrees(in.x, in.y));
  if (outcome.missing) return false;
  const Position<double> to = result(outcome.to);
  out = outcome.odd.value ? Oprj_Point{kNaN, kNaN} : Oprj_Point{to.lon, to.lat};
  if (outcome.unshifted.value) note(counts.unshifted, reason, OPRJ_POINT_OUTSIDE_GRID);
  if (outcome.unconverged.value) note(counts.unconverged, reason, OPRJ_POINT_NO_CONVERGENCE);
  return true;
}

/// A full group: its points all done (kLanes), or so many before one whose nodes are missing.
template <class Direction>
OPRJ_INLINE int32_t shiftGroup(Search &search, const Oprj_Point *in, Oprj_Point *out,
                               Oprj_PointReason *reasons, GridCounts &counts) {
  Lanes lon, lat;
  loadPairs(&in->x, lon, lat);
  if (all(isFinite(lon) & isFinite(lat))) [[likely]] {
    const Outcome<Lanes> outcome = Direction::shift(search, inDegrees(lon, lat));
    if (!any(outcome.odd)) [[likely]] {
      const Position<Lanes> to = result(outcome.to);
      storePairs(&out->x, to.lon, to.lat);
      note(outcome.unshifted, counts.unshifted, reasons, OPRJ_POINT_OUTSIDE_GRID);
      note(outcome.unconverged, counts.unconverged, reasons, OPRJ_POINT_NO_CONVERGENCE);
      return kLanes;
    }
  }
  for (int32_t k = 0; k < kLanes; ++k) {
    if (!shiftPoint<Direction>(search, in[k], out[k], reasons ? reasons + k : nullptr, counts))
      return k;
  }
  return kLanes;
}

template <class Direction>
int32_t shiftPoints(const SubGrids &all, const Oprj_Point *in, Oprj_Point *out, int32_t count,
                    Oprj_PointReason *reasons, GridCounts &counts) {
  const SubGrids grids = all;
  Search search(grids);
  const auto reasonOf = [&](int32_t k) { return reasons ? reasons + k : nullptr; };
  int32_t done = 0;
  for (; count - done >= kLanes; done += kLanes) {
    const int32_t good =
        shiftGroup<Direction>(search, in + done, out + done, reasonOf(done), counts);
    if (good < kLanes) return done + good;
  }
  for (; done < count; ++done) {
    if (!shiftPoint<Direction>(search, in[done], out[done], reasonOf(done), counts)) return done;
  }
  return -1;
}

extern const GridKernels gridKernels;
const GridKernels gridKernels = {shiftPoints<Forward>, shiftPoints<Inverse>};

}  // namespace orvik::oprj::OPRJ_SET
