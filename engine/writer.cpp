// Objects as texts: keywords in upper case, square brackets, no blanks; all else as it was read.
#include <charconv>
#include <cmath>

#include "engine/object.h"

namespace orvik::engine {
namespace {

void writeName(std::string_view name, HeapText &text) {
  text += '"';
  for (size_t quote; (quote = name.find('"')) != name.npos; name.remove_prefix(quote + 1)) {
    text += name.substr(0, quote + 1);
    text += '"';
  }
  text += name;
  text += '"';
}

}  // namespace

void writeNumber(double number, HeapText &text) {
  // Within these a number is written without exponent.
  constexpr double kLeast = 1e-5, kMost = 1e17;
  const double size = std::fabs(number);
  const bool plain = size == 0.0 || (size >= kLeast && size <= kMost);
  char digits[32];  // 18 digits before the point, or 17 with sign, point and exponent
  const auto [end, error] =
      std::to_chars(digits, std::end(digits), number,
                    plain ? std::chars_format::fixed : std::chars_format::scientific);
  const std::string_view written(digits, error == std::errc() ? end : digits);
  text += written;
  if (plain && written.find('.') == written.npos) text += ".0";
}

void write(const Object &object, HeapText &text) {
  if (object.kind == Kind::kOther) {
    text += object.name;
    return;
  }
  bool first = true;
  if (object.word) {
    text += object.word->text;
    text += '[';
    writeName(object.name, text);
    first = false;
  }
  for (uint32_t i = 0; i < shapeOf(object.kind).numbers; ++i) {
    text += ',';
    writeNumber(object.numbers[i], text);
  }
  for (const Object *part : object.parts) {
    if (!first) text += ',';
    first = false;
    write(*part, text);
  }
  if (object.word) text += ']';
}

}  // namespace orvik::engine
