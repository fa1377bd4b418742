// The functions of lanes.h of one instruction set, behind pointers.
#ifndef OPRJ_TEST_ELEMENTARY_SETS_H
#define OPRJ_TEST_ELEMENTARY_SETS_H

#include <cstdint>

namespace oprj_test {

/// Functions by number: sin, cos, atan, asin, log, exp, expm1, sinh, atanh, cbrt.
struct ElementarySet {
  double (*single)(int function, double x);
  void (*lanes)(int function, const double *x, double *out, int32_t count);
  double (*atan2)(double y, double x), (*logOfQuotient)(double n, double d);
  double (*floor)(double x), (*min)(double a, double b), (*max)(double a, double b);
};

ElementarySet elementarySet(int set);

}  // namespace oprj_test

#endif
