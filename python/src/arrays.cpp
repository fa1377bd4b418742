#include "arrays.h"

#include <algorithm>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace oprj_python {
namespace {

constexpr int64_t kDouble = sizeof(double), kPair = sizeof(Oprj_Point);
/// Bytes of a line of the caches, and how far ahead lines are asked for: the processor's own asking
/// begins anew with each block.
constexpr int64_t kLine = 64, kAhead = 4096;

template <class T>
T at(const char *place) {
  T value;
  std::memcpy(&value, place, sizeof value);
  return value;
}
Two &pairAt(Oprj_Point *points, int64_t i) { return reinterpret_cast<Two *>(points)[i]; }
Two pairAt(const Oprj_Point *points, int64_t i) { return reinterpret_cast<const Two *>(points)[i]; }

bool isAligned(const char *place) { return reinterpret_cast<uintptr_t>(place) % sizeof(Two) == 0; }
constexpr auto putAt = [](char *place, Two value) { std::memcpy(place, &value, sizeof value); };
/// To memory, past the caches, whose lines need not be fetched then.
constexpr auto streamAt = [](char *place, Two value) {
#if defined(__SSE2__)
  _mm_stream_si128(reinterpret_cast<__m128i *>(place), reinterpret_cast<__m128i>(value));
#else
  putAt(place, value);
#endif
};

/// x and y of two points that stand beside each other, and back.
Two firstOf(Two one, Two other) { return Two{one[0], other[0]}; }
Two secondOf(Two one, Two other) { return Two{one[1], other[1]}; }

}  // namespace

Coordinates::Coordinates(const std::vector<int64_t> &shape, const Doubles &x, const Doubles &y)
    : x_(x.first), y_(y.first) {
  for (size_t i = 0; i < shape.size(); ++i) {
    if (shape[i] == 1) continue;
    const Axis axis{shape[i], x.strides[i], y.strides[i]};
    if (!axes_.empty() && axes_.back().x == axis.length * axis.x &&
        axes_.back().y == axis.length * axis.y)
      axes_.back() = {axes_.back().length * axis.length, axis.x, axis.y};
    else axes_.push_back(axis);
  }
  if (axes_.empty()) axes_.push_back({1, sizeof(Oprj_Point), sizeof(Oprj_Point)});
}

template <class Run>
void Coordinates::forEachRun(int64_t start, int64_t count, Run run) const {
  while (count > 0) {
    char *x = x_, *y = y_;
    int64_t rest = start;
    for (auto axis = axes_.rbegin(); axis != axes_.rend(); ++axis) {
      x += rest % axis->length * axis->x;
      y += rest % axis->length * axis->y;
      rest /= axis->length;
    }
    const Axis &last = axes_.back();
    const int64_t taken = std::min(count, last.length - start % last.length);
    run(x, y, taken);
    start += taken;
    count -= taken;
  }
}

Oprj_Point *Coordinates::packed() const {
  const Axis &last = axes_.back();
  const bool beside = axes_.size() == 1 && last.x == kPair && last.y == kPair && y_ - x_ == kDouble;
  const bool aligned = reinterpret_cast<uintptr_t>(x_) % alignof(Oprj_Point) == 0;
  return beside && aligned ? reinterpret_cast<Oprj_Point *>(x_) : nullptr;
}

template <bool kLooks>
bool Coordinates::gather(int64_t start, int64_t count, double limit, Oprj_Point *points) const {
  const Axis &last = axes_.back();
  Beyond beyond(limit);
  forEachRun(start, count, [&](const char *x, const char *y, int64_t taken) {
    Beyond here = beyond;  // in a register
    int64_t i = 0;
    const auto take = [&](Two point) {
      if constexpr (kLooks) here.look(point);
      pairAt(points, i++) = point;
    };
    if (last.x == kPair && last.y == kPair && y - x == kDouble) {
      while (i + kLine / kPair <= taken) {
        __builtin_prefetch(x + i * kPair + kAhead);
        for (int64_t k = 0; k < kLine / kPair; ++k) take(at<Two>(x + i * kPair));
      }
    } else if (last.x == kDouble && last.y == kDouble) {
      while (i + kLine / kDouble <= taken) {
        __builtin_prefetch(x + i * kDouble + kAhead);
        __builtin_prefetch(y + i * kDouble + kAhead);
        for (int64_t k = 0; k < kLine / kPair; ++k) {
          const Two xs = at<Two>(x + i * kDouble), ys = at<Two>(y + i * kDouble);
          take(firstOf(xs, ys));
          take(secondOf(xs, ys));
        }
      }
    }
    while (i < taken) take(Two{at<int64_t>(x + i * last.x), at<int64_t>(y + i * last.y)});
    beyond = here;
    points += taken;
  });
  return beyond.any();
}

template <bool kLooks>
bool Coordinates::scatter(int64_t start, int64_t count, double limit, const Oprj_Point *points,
                          bool pastCaches) const {
  const Axis &last = axes_.back();
  Beyond beyond(limit);
  forEachRun(start, count, [&](char *x, char *y, int64_t taken) {
    const bool pairs = last.x == kPair && last.y == kPair && y - x == kDouble;
    const bool columns = last.x == kDouble && last.y == kDouble;
    const bool streams = pastCaches && isAligned(x) && (pairs || isAligned(y));
    Beyond here = beyond;  // in a register
    int64_t i = 0;
    const auto next = [&] {
      const Two point = pairAt(points, i++);
      if constexpr (kLooks) here.look(point);
      return point;
    };
    const auto putPairs = [&](auto put) {
      while (i < taken) {
        char *const to = x + i * kPair;
        put(to, next());
      }
    };
    const auto putColumns = [&](auto put) {
      while (i + 2 <= taken) {
        const int64_t to = i * kDouble;
        const Two one = next(), other = next();
        put(x + to, firstOf(one, other));
        put(y + to, secondOf(one, other));
      }
    };
    if (pairs && streams) putPairs(streamAt);
    else if (pairs) putPairs(putAt);
    else if (columns && streams) putColumns(streamAt);
    else if (columns) putColumns(putAt);
    while (i < taken) {
      char *const toX = x + i * last.x, *const toY = y + i * last.y;
      const Two point = next();
      const int64_t bits[] = {point[0], point[1]};
      std::memcpy(toX, &bits[0], kDouble);
      std::memcpy(toY, &bits[1], kDouble);
    }
    beyond = here;
    points += taken;
  });
  return beyond.any();
}

template bool Coordinates::gather<true>(int64_t, int64_t, double, Oprj_Point *) const;
template bool Coordinates::gather<false>(int64_t, int64_t, double, Oprj_Point *) const;
template bool Coordinates::scatter<true>(int64_t, int64_t, double, const Oprj_Point *, bool) const;
template bool Coordinates::scatter<false>(int64_t, int64_t, double, const Oprj_Point *, bool) const;

void Coordinates::endOfScattering() {
#if defined(__SSE2__)
  _mm_sfence();
#endif
}

}  // namespace oprj_python
