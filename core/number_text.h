// Numbers as the printers write them: printf's digits with a decimal point in every locale.
#ifndef OPRJ_CORE_NUMBER_TEXT_H
#define OPRJ_CORE_NUMBER_TEXT_H

#include <charconv>

namespace orvik::oprj {

/// The text of one number, without allocation.
class NumberText {
 public:
  /// As printf's "%f".
  static NumberText fixed(double value) { return NumberText(value, std::chars_format::fixed); }
  /// As printf's "%lg".
  static NumberText general(double value) { return NumberText(value, std::chars_format::general); }

  const char *c_str() const { return digits_; }

 private:
  static constexpr int kPrecision = 6;  // printf's, when the format names none

  NumberText(double value, std::chars_format format) {
    const auto end =
        std::to_chars(digits_, digits_ + sizeof(digits_) - 1, value, format, kPrecision);
    *end.ptr = '\0';
  }

  char digits_[320];  // "-", 309 digits of the largest double, point and six digits
};

}  // namespace orvik::oprj

#endif
