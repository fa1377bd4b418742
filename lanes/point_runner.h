// The loop over points, once for all kernels: groups of kLanes points, what remains as a padded
// group, and the points out of the ordinary one by one.
//
// A kernel is a struct of static functions over points as pairs of doubles:
//
//   using Block = ...;  // the constants of a call
//   static Odd group(const Block &, Lanes x, Lanes y, Lanes &u, Lanes &v);
//   static Certain certain(Lanes x, Lanes y, Odd);  // may be left out: nothing is
//   static const StopText *point(const Block &, Point in, Point *out);
//   static constexpr PointFault kElsewhere;  // the fault of a point that stops, iterations aside
//
// `group` gives the results and says which lanes are out of the ordinary; results of the others are
// finite. `certain` tells of which of those it is known what `point` would find. `point` defines
// the behaviour: it writes the result, or writes nothing and returns why the point stops. `group`
// and `point` must give the same bits for ordinary points.
//
// The formula is inlined whole into the loop: a call in it would pass Lanes through memory. That is
// why `group` is called at one place, why all single points share pointByPoint, and why whatever
// follows from an odd lane stands in oddGroup, with its own reading of the points.
#ifndef OPRJ_POINT_RUNNER_H
#define OPRJ_POINT_RUNNER_H

#include "lanes/kernels.h"
#include "lanes/lanes.h"

namespace orvik::oprj::OPRJ_SET {

/// From this many points on, results that do not replace the input are stored past the caches: they
/// would not stay there until somebody reads them.
inline constexpr int32_t kWorthStreaming = 100000;
inline constexpr uintptr_t kCacheLine = 64;  // bytes

/// The lanes of a group that are out of the ordinary, and those where an iteration did not end.
struct Odd {
  Mask lanes;
  Mask iterated = never<Lanes>();
};
/// Odd lanes whose fault is certain, so that a run that goes on need not ask `point`.
struct Certain {
  Mask notNumbers;  ///< the point went in as NaN
  Mask elsewhere;   ///< `point` stops, and no iteration is to blame
};

/// `count` points one by one, the first of them being number `first` of the run. Those that have a
/// result in `ready` (null: none has; NaN: not this one) are only copied. False when the run ended.
template <class Kernel, class Point>
[[gnu::noinline, gnu::flatten]] bool pointByPoint(const typename Kernel::Block &block,
                                                  const Point *in, const Point *ready, Point *out,
                                                  int32_t first, int32_t count, PointRun &how) {
  for (int32_t k = 0; k < count; ++k) {
    if (ready && ready[k].x == ready[k].x) {
      out[k] = ready[k];
      continue;
    }
    const StopText *const why = Kernel::point(block, in[k], out + k);
    if (!why && out[k].x == out[k].x) [[likely]]
      continue;
    if (!how.goesOn) {
      if (!why) continue;  // NaN in, NaN out
      how.index = first + k;
      how.why = why;
      return false;
    }
    out[k] = {kNaN, kNaN};
    ++how.bad;
    if (how.faults && how.faults[first + k] == PointFault::kNone)
      how.faults[first + k] = !why                   ? PointFault::kNotANumber
                              : why->iterations != 0 ? PointFault::kNotConverged
                                                     : Kernel::kElsewhere;
  }
  return true;
}

/// The rest of a group in which some lanes are odd: those whose point in `ready` is NaN. `iterated`
/// is not 0 where an iteration did not end, `from` the group's points as the lanes had them. False
/// when the run ended.
template <class Kernel, class Point>
[[gnu::noinline]] bool oddGroup(const typename Kernel::Block &block, const Point *from,
                                const Point *ready, const Point *iterated, const Point *in,
                                Point *out, int32_t first, int32_t count, PointRun &how) {
  if constexpr (requires(Lanes x, Odd odd) { Kernel::certain(x, x, odd); }) {
    Lanes x, y, u, unended, unused;
    loadPairs(&ready->x, u, unused);
    loadPairs(&iterated->x, unended, unused);
    loadPairs(&from->x, x, y);
    const Odd odd{u != u, unended != Lanes(0.0)};
    const Certain is = Kernel::certain(x, y, odd);
    if (how.goesOn && !any(odd.lanes & ~(is.notNumbers | is.elsewhere))) {
      constexpr PointFault kFaults[] = {PointFault::kNone, PointFault::kNotANumber,
                                        Kernel::kElsewhere};
      Point codes[kLanes];
      storePairs(&codes->x,
                 select(is.notNumbers, Lanes(1.0), select(is.elsewhere, Lanes(2.0), Lanes(0.0))),
                 Lanes(0.0));
      for (int32_t k = 0; k < count; ++k) {
        out[k] = ready[k];
        const PointFault fault = kFaults[static_cast<int>(codes[k].x)];
        how.bad += fault != PointFault::kNone;
        if (how.faults && how.faults[first + k] == PointFault::kNone) how.faults[first + k] = fault;
      }
      return true;
    }
  }
  return pointByPoint<Kernel>(block, in, ready, out, first, count, how);
}

/// The points that come one by one before `out` reaches a cache line, when the results of a run are
/// to be streamed; -1 when they are not.
template <class Point>
OPRJ_INLINE int32_t pointsBeforeStreaming(const Point *in, const Point *out, int32_t count) {
  const uintptr_t start = reinterpret_cast<uintptr_t>(out);
  if (count < kWorthStreaming || in == out || start % sizeof(Point) != 0) return -1;
  return static_cast<int32_t>(-start % kCacheLine / sizeof(Point));
}

template <class Kernel, class Point>
[[gnu::noinline, gnu::flatten]] void pointsInGroups(const typename Kernel::Block &block,
                                                    const Point *in, Point *out, int32_t count,
                                                    PointRun &how) {
  // of its own, so that no store to `out` can change it
  const typename Kernel::Block constants = block;
  const int32_t before = pointsBeforeStreaming(in, out, count);
  const bool streams = before >= 0;
  int32_t here = before > 0 ? before : kLanes;
  for (int32_t done = 0; done < count; done += here, here = kLanes) {
    if (count - done < here) here = count - done;
    const Point *from = in + done;
    Point *to = out + done;
    Point padded[kLanes];
    if (here < kLanes) [[unlikely]] {
      for (int32_t k = 0; k < kLanes; ++k) padded[k] = from[k < here ? k : 0];
      from = to = padded;
    }
    Lanes x, y, u, v;
    loadPairs(&from->x, x, y);
    const Odd odd = Kernel::group(constants, x, y, u, v);
    if (any(odd.lanes)) [[unlikely]] {
      Point ready[kLanes], iterated[kLanes];
      storePairs(&ready->x, select(odd.lanes, Lanes(kNaN), u), select(odd.lanes, Lanes(kNaN), v));
      storePairs(&iterated->x, select(odd.iterated, Lanes(1.0), Lanes(0.0)), Lanes(0.0));
      if (!oddGroup<Kernel>(block, from, ready, iterated, in + done, out + done, done, here, how))
        break;
      continue;
    }
    storePairs(&to->x, u, v, streams && to != padded);
    if (here < kLanes) [[unlikely]] {
      for (int32_t k = 0; k < here; ++k) out[done + k] = padded[k];
    }
  }
  if (streams) nativeFence();
}

/// Runs a kernel over `count` points; `in` and `out` may be the same array.
template <class Kernel, class Point>
OPRJ_INLINE void runPoints(const typename Kernel::Block &block, const Point *in, Point *out,
                           int32_t count, PointRun &how) {
  if (count >= kWorthPadding) {
    pointsInGroups<Kernel>(block, in, out, count, how);
  } else {
    pointByPoint<Kernel>(block, in, static_cast<const Point *>(nullptr), out, 0, count, how);
  }
}

}  // namespace orvik::oprj::OPRJ_SET

#endif
