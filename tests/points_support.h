// Arrays of points for the tests of the pipeline.
#ifndef OPRJ_TESTS_POINTS_SUPPORT_H
#define OPRJ_TESTS_POINTS_SUPPORT_H

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "tests/objects_support.h"

namespace orvik::test {

using Points = std::vector<Oprj_Point>;

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr int32_t kCount = 3000;  // two whole tiles and a part
inline constexpr Oprj_Point kUntouched{-77, -78};

inline bool same(const Oprj_Point *first, const Oprj_Point *second, size_t count) {
  return std::memcmp(first, second, count * sizeof *first) == 0;
}

/// Easting and northing around the zone's middle, or longitude and latitude around 9 E.
inline Points spread(bool projected) {
  Points points(kCount);
  for (int32_t i = 0; i < kCount; ++i)
    points[static_cast<size_t>(i)] =
        projected
            ? Oprj_Point{500000 + 70.0 * (i % 997 - 500), 2e6 + 1500.0 * (i % 1009)}
            : Oprj_Point{(9 + 0.002 * (i % 997 - 500)) * kDegree, 0.05 * (i % 1511) * kDegree};
  return points;
}

}  // namespace orvik::test

#endif
