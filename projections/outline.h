// The elliptical outline of the globe in Mollweide's and Hammer's projections.
#ifndef OPRJ_OUTLINE_H
#define OPRJ_OUTLINE_H

#include "lanes/lanes.h"
#include "projections/descriptor.h"

namespace orvik::oprj::OPRJ_SET {

/// X² + Y² - 1 of a point on the sheet, X over the half-axis 2 sqrt(2) a and Y over sqrt(2) a, and
/// whether it lies off the sheet: outside of the ellipse by more than kClose a.
template <class V>
struct EllipseTest {
  V excess;
  Truth<V> off;
};
template <class V>
OPRJ_INLINE EllipseTest<V> testEllipse(V x, V y) {
  const V y2 = y * y, excess = fma(x, x, y2) - 1.0;
  // The distance is excess over its gradient, whose square on the outline is (1 + 3 Y²)/(2 a²).
  const V gradient2 = fma(V(1.5), min(y2, V(1.0)), V(0.5));
  return {excess, (excess > V(0.0)) & (excess * excess > kClose * kClose * gradient2)};
}

}  // namespace orvik::oprj::OPRJ_SET

#endif
