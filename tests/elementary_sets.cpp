// One set's elementary functions for elementary_test.cpp; built once for every set.
#include "elementary_sets.h"

#include "lanes/kernels.h"
#include "lanes/lanes.h"

namespace orvik::oprj::OPRJ_SET {
namespace {

template <class V>
V valueOf(int function, V x) {
  switch (function) {
    case 0:
      return sin(x);
    case 1:
      return cos(x);
    case 2:
      return atan(x);
    case 3:
      return asin(x);
    case 4:
      return log(x);
    case 5:
      return exp(x);
    case 6:
      return expm1(x);
    case 7:
      return sinh(x);
    case 8:
      return atanh(x);
    case 9:
      return cbrt(x);
    case 10:
      return sincos(x).sin;
    default:
      return sincos(x).cos;
  }
}

void lanesOf(int function, const double *x, double *out, int32_t count) {
  for (int32_t i = 0; i + 2 * kNativeWidth <= count; i += 2 * kNativeWidth) {
    const Lanes y = valueOf(function, Lanes(nativeLoad(x + i), nativeLoad(x + i + kNativeWidth)));
    nativeStore(out + i, y.half[0]);
    nativeStore(out + i + kNativeWidth, y.half[1]);
  }
}

/// The number, or NaN when the lanes are another.
double sameOnLanes(double alone, Lanes lanes) { return alone == lanes.half[1][1] ? alone : kNaN; }

}  // namespace

extern const oprj_test::ElementarySet elementarySet;
const oprj_test::ElementarySet elementarySet = {
    valueOf<double>,
    lanesOf,
    [](double y, double x) { return sameOnLanes(atan2(y, x), atan2(Lanes(y), Lanes(x))); },
    [](double n, double d) {
      return sameOnLanes(logOfQuotient(n, d), logOfQuotient(Lanes(n), Lanes(d)));
    },
    [](double x) { return floor(Lanes(x)).half[1][0]; },
    [](double a, double b) { return min(Lanes(a), Lanes(b)).half[0][1]; },
    [](double a, double b) { return max(Lanes(a), Lanes(b)).half[0][1]; }};

}  // namespace orvik::oprj::OPRJ_SET

#if OPRJ_FLAT
#define OPRJ_DECLARE_SET(SET, ...)                     \
  namespace orvik::oprj::SET {                         \
  extern const oprj_test::ElementarySet elementarySet; \
  }
OPRJ_SETS(OPRJ_DECLARE_SET, )

oprj_test::ElementarySet oprj_test::elementarySet(int set) {
#define OPRJ_PICK_SET(SET, INDEX, ...) \
  if (set == INDEX) return orvik::oprj::SET::elementarySet;
  OPRJ_SETS(OPRJ_PICK_SET, )
  return {};
}
#endif
