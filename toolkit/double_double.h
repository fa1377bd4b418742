// Numbers of two doubles, high and low word, good to about 106 bits: sums and products without
// rounding after Dekker and Knuth ([Dekker71]).
#ifndef OPRJ_TOOLKIT_DOUBLE_DOUBLE_H
#define OPRJ_TOOLKIT_DOUBLE_DOUBLE_H

#include <cmath>

namespace orvik::toolkit {

struct DoubleDouble {
  double high = 0, low = 0;

  DoubleDouble() = default;
  DoubleDouble(double value) : high(value) {}
  DoubleDouble(double highWord, double lowWord) : high(highWord), low(lowWord) {}

  /// The pair of the exact sum, |first| >= |second|.
  static DoubleDouble ordered(double first, double second) {
    const double sum = first + second;
    return {sum, second - (sum - first)};
  }
  static DoubleDouble sum(double first, double second) {
    const double sum = first + second;
    const double part = sum - first;
    return {sum, (first - (sum - part)) + (second - part)};
  }

  DoubleDouble operator-() const { return {-high, -low}; }
  friend DoubleDouble operator+(DoubleDouble a, DoubleDouble b) {
    const DoubleDouble heads = sum(a.high, b.high), tails = sum(a.low, b.low);
    const DoubleDouble partial = ordered(heads.high, heads.low + tails.high);
    return ordered(partial.high, partial.low + tails.low);
  }
  friend DoubleDouble operator-(DoubleDouble a, DoubleDouble b) { return a + -b; }
  friend DoubleDouble operator*(DoubleDouble a, DoubleDouble b) {
    const double product = a.high * b.high;
    const double rest = std::fma(a.high, b.high, -product);
    return ordered(product, rest + (a.high * b.low + a.low * b.high));
  }
  friend DoubleDouble operator/(DoubleDouble a, DoubleDouble b) {
    const double first = a.high / b.high;
    DoubleDouble left = a - b * first;
    const double second = left.high / b.high;
    left = left - b * second;
    return ordered(first, second) + left.high / b.high;
  }
};

}  // namespace orvik::toolkit

#endif
