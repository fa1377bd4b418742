#include "interchange/number_text.h"

#include <charconv>
#include <cmath>

namespace orvik::oprj {

std::string degreesOf(double radians) {
  constexpr int kTried = 4;  // neighbours on either side: quotient and product round once each
  double degrees = radians / kRadiansPerDegree;
  for (int i = 0; i < kTried; ++i) degrees = std::nextafter(degrees, -HUGE_VAL);
  std::string best;
  for (int i = 0; i <= 2 * kTried; ++i, degrees = std::nextafter(degrees, HUGE_VAL)) {
    const std::string text = shortest(degrees);
    if (degrees * kRadiansPerDegree == radians && (best.empty() || text.size() < best.size()))
      best = text;
  }
  return best;
}

std::string shortest(double value) {
  constexpr double kSmallest = 1e-5, kLargest = 1e15;  // of numbers without an exponent
  const double size = std::fabs(value);
  char text[64];
  char *const end = text + sizeof text;
  return {text, size == 0 || (size >= kSmallest && size < kLargest)
                    ? std::to_chars(text, end, value, std::chars_format::fixed).ptr
                    : std::to_chars(text, end, value).ptr};
}

}  // namespace orvik::oprj
