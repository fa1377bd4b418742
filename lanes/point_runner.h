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
  Mask notNumbers = never<Lanes>();                                ///< the point went in as NaN
  Mask elsewhere = never<Lanes>(), notConverged = never<Lanes>();  ///< it stops, for that fault
  bool alike = false;  ///< all odd ones stop for the fault `elsewhere`: no need to read the masks
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

/// Writes the faults of the bad points of half `h` of a group, where there is none yet, and returns
/// how many are bad.
OPRJ_INLINE int32_t noteFaults(int h, Mask bad, PointFault elsewhere, const Certain &is,
                               PointFault *faults) {
  const uint64_t all = bytesOfPoints(bad.half[h]);
  if (faults) {
    const auto codes = [](PointFault fault, uint64_t bytes) {
      return static_cast<uint64_t>(fault) * bytes;
    };
    uint64_t found = codes(elsewhere, all);
    if (!is.alike) {
      const uint64_t none = bytesOfPoints(is.notNumbers.half[h]);
      const uint64_t open = bytesOfPoints(is.notConverged.half[h]);
      found = codes(PointFault::kNotANumber, none) | codes(PointFault::kNotConverged, open) |
              codes(elsewhere, all - none - open);
    }
    uint64_t now = 0;
    __builtin_memcpy(&now, faults + h * kNativeWidth, kNativeWidth);
    const uint64_t noted = (now + 0x7f * kEachByte) >> 7 & kEachByte;
    now |= found & ((kEachByte - noted) * 0xff);
    __builtin_memcpy(faults + h * kNativeWidth, &now, kNativeWidth);
  }
  return static_cast<int32_t>(all * kEachByte >> 56);
}

/// The points of a group whose first coordinate is NaN, one by one, and the others as they are.
template <class Kernel, class Point>
[[gnu::noinline]] bool oddOneByOne(Native u0, Native u1, Native v0, Native v1,
                                   const typename Kernel::Block &block, const Point *in, Point *out,
                                   int32_t first, int32_t count, PointRun &how) {
  Point ready[kLanes];
  storePairs(&ready->x, {u0, u1}, {v0, v1});
  return pointByPoint<Kernel>(block, in, ready, out, first, count, how);
}

/// The rest of a group in which some lanes are odd. Numbers and masks come in halves, and go on in
/// halves, which stay in registers: this is as frequent as bad points are, and whole Lanes would
/// pass through memory. False when the run ended.
template <class Kernel, class Point>
[[gnu::noinline]] bool oddGroup(Native u0, Native u1, Native v0, Native v1, NativeMask odd0,
                                NativeMask odd1, NativeMask iterated0, NativeMask iterated1,
                                const typename Kernel::Block &block, const Point *in, Point *out,
                                int32_t first, int32_t count, PointRun &how) {
  const Odd odd{{{odd0, odd1}}, {{iterated0, iterated1}}};
  const Lanes u = select(odd.lanes, Lanes(kNaN), {u0, u1});
  const Lanes v = select(odd.lanes, Lanes(kNaN), {v0, v1});
  if constexpr (requires(Lanes x) { Kernel::certain(x, x, odd); }) {
    if (count == kLanes) [[likely]] {
      Lanes x, y;
      loadPairs(&in->x, x, y);
      const Certain is = Kernel::certain(x, y, odd);
      const Mask stops = is.elsewhere | is.notConverged;
      if (is.alike ? how.goesOn
                   : !any(odd.lanes & ~(is.notNumbers | stops)) && (how.goesOn || !any(stops))) {
        storePairs(&out->x, u, v);
        if (how.goesOn) {
          PointFault *const faults = how.faults ? how.faults + first : nullptr;
          how.bad += noteFaults(0, odd.lanes, Kernel::kElsewhere, is, faults) +
                     noteFaults(1, odd.lanes, Kernel::kElsewhere, is, faults);
        }
        return true;
      }
    }
  }
  return oddOneByOne<Kernel>(u.half[0], u.half[1], v.half[0], v.half[1], block, in, out, first,
                             count, how);
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
      if (!oddGroup<Kernel>(u.half[0], u.half[1], v.half[0], v.half[1], odd.lanes.half[0],
                            odd.lanes.half[1], odd.iterated.half[0], odd.iterated.half[1], block,
                            in + done, out + done, done, here, how))
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
