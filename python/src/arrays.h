// Points that lie in NumPy arrays of any shape and strides, read and written where they are.
#ifndef OPRJ_PYTHON_ARRAYS_H
#define OPRJ_PYTHON_ARRAYS_H

#include <oprj/values.h>

#include <cstdint>
#include <vector>

namespace oprj_python {

/// One array of doubles: its first element and the bytes between neighbours along each axis.
struct Doubles {
  char *first;
  std::vector<int64_t> strides;
};

/// The coordinates of points in two arrays of one shape, whose elements are counted in C order.
class Coordinates {
 public:
  Coordinates(const std::vector<int64_t> &shape, const Doubles &x, const Doubles &y);

  /// Whether all are pairs in memory that follow each other.
  bool arePairs() const;
  Oprj_Point *pairs() const { return reinterpret_cast<Oprj_Point *>(x_); }

  /// Brings the points from `start` on into `points`, or there from `points`.
  void gather(int64_t start, int64_t count, Oprj_Point *points) const;
  void scatter(int64_t start, int64_t count, const Oprj_Point *points) const;

 private:
  struct Axis {
    int64_t length, x, y;
  };
  /// Calls `run(x, y, points of the run)` for the stretches along the last axis.
  template <class Run>
  void forEachRun(int64_t start, int64_t count, Run run) const;

  char *x_, *y_;
  std::vector<Axis> axes_;  ///< never empty; neighbours that continue each other are one
};

}  // namespace oprj_python

#endif
