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
// finite. `certain` tells of which of those it is known what `point` would find, so that it need
// not be asked. `point` defines the behaviour: it writes the result, or writes nothing and returns
// why the point stops. `group` and `point` must give the same bits for ordinary points.
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
inline constexpr uint64_t kEachByte = 0x0101010101010101;

/// The lanes of a group that are out of the ordinary, and those that stop first because an
/// iteration did not end.
struct Odd {
  Mask lanes;
  Mask iterated = never<Lanes>();
};
/// Odd lanes of which it is certain what `point` would find.
struct Certain {
  Mask notNumbers;                                                 ///< the point went in as NaN
  Mask elsewhere = never<Lanes>(), notConverged = never<Lanes>();  ///< it stops, for that fault
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

/// A byte of 1 for each of the eight lowest bits.
OPRJ_INLINE uint64_t bytesOf(uint32_t bits) {
  const uint64_t apart = (bits & 0xff) * kEachByte & 0x8040201008040201;
  return (apart + 0x7f * kEachByte) >> 7 & kEachByte;
}

/// Writes the faults of a group's bad points, eight at a time, where there is none yet.
OPRJ_INLINE void noteFaults(uint32_t bad, PointFault elsewhere, const Certain &is,
                            PointFault *faults) {
  const auto codes = [](PointFault fault, uint32_t bits) {
    return static_cast<uint64_t>(fault) * bytesOf(bits);
  };
  // mostly there is one kind
  const uint32_t none = any(is.notNumbers) ? bitsOfPoints(is.notNumbers) : 0;
  const uint32_t open = any(is.notConverged) ? bitsOfPoints(is.notConverged) : 0;
  const uint32_t beside = bad & ~(none | open);
  constexpr int kAtOnce = kLanes < 8 ? kLanes : 8;
  for (int k = 0; k < kLanes; k += kAtOnce) {
    uint64_t now = 0;
    __builtin_memcpy(&now, faults + k, kAtOnce);
    const uint64_t noted = (now + 0x7f * kEachByte) >> 7 & kEachByte;
    now |= (codes(PointFault::kNotANumber, none >> k) | codes(elsewhere, beside >> k) |
            codes(PointFault::kNotConverged, open >> k)) &
           ~(noted * 0xff);
    __builtin_memcpy(faults + k, &now, kAtOnce);
  }
}

/// The rest of a group in which some lanes are odd. Their points in `ready` are NaN, the second
/// coordinate a number where an iteration is to blame; `from` are the group's points as the lanes
/// had them. False when the run ended.
template <class Kernel, class Point>
[[gnu::noinline]] bool oddGroup(const typename Kernel::Block &block, const Point *from,
                                const Point *ready, const Point *in, Point *out, int32_t first,
                                int32_t count, PointRun &how) {
  if constexpr (requires(Lanes x, Odd odd) { Kernel::certain(x, x, odd); }) {
    Lanes x, y, u, v;
    loadPairs(&ready->x, u, v);
    loadPairs(&from->x, x, y);
    const Mask odd = u != u;
    const Certain is = Kernel::certain(x, y, Odd{odd, odd & (v == v)});
    const Mask stops = is.elsewhere | is.notConverged;
    if (count == kLanes && !any(odd & ~(is.notNumbers | stops)) && (how.goesOn || !any(stops))) {
      storePairs(&out->x, u, select(odd, Lanes(kNaN), v));
      if (!how.goesOn) return true;
      const uint32_t bad = bitsOfPoints(odd);
      how.bad += static_cast<int32_t>((bytesOf(bad) + bytesOf(bad >> 8)) * kEachByte >> 56);
      if (how.faults) noteFaults(bad, Kernel::kElsewhere, is, how.faults + first);
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
      Point ready[kLanes];
      const Lanes blame = select(odd.iterated, Lanes(1.0), Lanes(kNaN));
      storePairs(&ready->x, select(odd.lanes, Lanes(kNaN), u), select(odd.lanes, blame, v));
      if (!oddGroup<Kernel>(block, from, ready, in + done, out + done, done, here, how)) break;
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
