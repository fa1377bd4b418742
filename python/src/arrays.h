// Points that lie in NumPy arrays of any shape and strides, read and written where they are.
#ifndef OPRJ_PYTHON_ARRAYS_H
#define OPRJ_PYTHON_ARRAYS_H

#include <oprj/values.h>

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <vector>

namespace oprj_python {

/// Whether a point is none, or beyond the limit: no comparison with NaN is true.
inline bool isBeyond(const Oprj_Point &p, double limit) {
  return !((std::fabs(p.x) <= DBL_MAX) & (std::fabs(p.y) <= limit));
}

/// Two doubles by their bits.
using Two = int64_t __attribute__((vector_size(16), aligned(8), may_alias));

/// Whether any of many points is: in vectors, and by the bits, whose order is that of positive
/// numbers with NaN behind them all, so that a difference tells by its sign.
class Beyond {
 public:
  explicit Beyond(double limit)
      : limits_{std::bit_cast<int64_t>(DBL_MAX), std::bit_cast<int64_t>(limit)} {}
  void look(Two point) { found_ |= limits_ - (point & INT64_MAX); }
  bool any() const { return (found_[0] | found_[1]) < 0; }

 private:
  Two limits_, found_{};
};

/// One array of doubles: its first element and the bytes between neighbours along each axis.
struct Doubles {
  char *first;
  std::vector<int64_t> strides;
};

/// The coordinates of points in two arrays of one shape, whose elements are counted in C order.
class Coordinates {
 public:
  Coordinates(const std::vector<int64_t> &shape, const Doubles &x, const Doubles &y);

  /// The points where they are, when they stand side by side; else null.
  Oprj_Point *packed() const;
  /// Brings the points from `start` on into `points`; tells whether one is none, or has a y beyond
  /// the limit.
  /// `kLooks` false: it does not look, and tells false.
  template <bool kLooks>
  bool gather(int64_t start, int64_t count, double limit, Oprj_Point *points) const;
  /// Brings points there, and tells the same of them. Where the whole array does not fit into the
  /// caches anyway, past them, which endOfScattering completes in each thread.
  template <bool kLooks>
  bool scatter(int64_t start, int64_t count, double limit, const Oprj_Point *points,
               bool pastCaches) const;
  static void endOfScattering();

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
