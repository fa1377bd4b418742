#include "arrays.h"

#include <algorithm>
#include <cstring>

namespace oprj_python {
namespace {

constexpr int64_t kDouble = sizeof(double);

/// Strides that are known when the loop is compiled, and those that are not.
template <class Load>
void eachElement(int64_t count, int64_t x, int64_t y, Load load) {
  if (x == kDouble && y == kDouble) {
    for (int64_t i = 0; i < count; ++i) load(i, i * kDouble, i * kDouble);
  } else {
    for (int64_t i = 0; i < count; ++i) load(i, i * x, i * y);
  }
}

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

bool Coordinates::arePairs() const {
  const Axis &axis = axes_.back();
  const bool aligned = reinterpret_cast<uintptr_t>(x_) % alignof(double) == 0;
  return aligned && axes_.size() == 1 && y_ - x_ == kDouble && axis.x == sizeof(Oprj_Point) &&
         axis.y == sizeof(Oprj_Point);
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

void Coordinates::gather(int64_t start, int64_t count, Oprj_Point *points) const {
  const Axis &last = axes_.back();
  forEachRun(start, count, [&](const char *x, const char *y, int64_t taken) {
    eachElement(taken, last.x, last.y, [=](int64_t i, int64_t atX, int64_t atY) {
      std::memcpy(&points[i].x, x + atX, kDouble);
      std::memcpy(&points[i].y, y + atY, kDouble);
    });
    points += taken;
  });
}

void Coordinates::scatter(int64_t start, int64_t count, const Oprj_Point *points) const {
  const Axis &last = axes_.back();
  forEachRun(start, count, [&](char *x, char *y, int64_t taken) {
    eachElement(taken, last.x, last.y, [=](int64_t i, int64_t atX, int64_t atY) {
      std::memcpy(x + atX, &points[i].x, kDouble);
      std::memcpy(y + atY, &points[i].y, kDouble);
    });
    points += taken;
  });
}

}  // namespace oprj_python
