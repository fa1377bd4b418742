#include "fields.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace program {
namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }

/// Behind the quote that closes the one at `p`, a doubled one standing for one; null when there is
/// none.
const char *quoteEnd(const char *p, const char *end) {
  for (++p; p < end; ++p) {
    if (*p != '"') continue;
    if (p + 1 < end && p[1] == '"') ++p;
    else return p + 1;
  }
  return nullptr;
}

/// The end of the field that starts at `p`: a delimiter outside of quotes, or the end of the line.
const char *fieldEnd(const char *p, const char *end, char delimiter) {
  const char *q = p;
  while (q < end && isBlank(*q) && *q != delimiter) ++q;
  if (q < end && *q == '"') q = quoteEnd(q, end);
  const void *found =
      q && q < end ? std::memchr(q, delimiter, static_cast<size_t>(end - q)) : nullptr;
  return found ? static_cast<const char *>(found) : end;
}

/// Calls `visit(field)` for each field until it returns false.
template <class Visit>
void forEachField(std::string_view line, Delimiter delimiter, Visit visit) {
  const char *p = line.data(), *const end = p + line.size();
  if (delimiter.blanks()) {
    while (true) {
      while (p < end && isBlank(*p)) ++p;
      if (p == end) return;
      const char *begin = p;
      if (const char *const past = *p == '"' ? quoteEnd(p, end) : nullptr) p = past;
      while (p < end && !isBlank(*p)) ++p;
      if (!visit(std::string_view(begin, static_cast<size_t>(p - begin)))) return;
    }
  }
  while (true) {
    const char *stop = fieldEnd(p, end, delimiter.character);
    if (!visit(std::string_view(p, static_cast<size_t>(stop - p)))) return;
    if (stop == end) return;
    p = stop + 1;
  }
}

}  // namespace

std::string separatorsIn(std::string_view line) {
  constexpr std::string_view kSeparators = "\t;,";
  bool found[kSeparators.size()] = {};
  bool begins = true;  // a field may begin here
  for (size_t i = 0; i < line.size(); ++i) {
    if (const char *const past =
            begins && line[i] == '"' ? quoteEnd(&line[i], line.data() + line.size()) : nullptr)
      i = static_cast<size_t>(past - line.data()) - 1;
    const size_t which = kSeparators.find(line[i]);
    if (which != std::string_view::npos) found[which] = true;
    begins = which != std::string_view::npos || isBlank(line[i]);
  }
  std::string result;
  for (size_t i = 0; i < kSeparators.size(); ++i) {
    if (found[i]) result += kSeparators[i];
  }
  return result;
}

std::vector<std::string_view> splitLine(std::string_view line, Delimiter delimiter) {
  std::vector<std::string_view> fields;
  forEachField(line, delimiter, [&](std::string_view field) {
    fields.push_back(field);
    return true;
  });
  return fields;
}

Coordinates findCoordinates(std::string_view line, Delimiter delimiter, int32_t xColumn,
                            int32_t yColumn) {
  Coordinates found;
  const int32_t last = std::max(xColumn, yColumn);
  forEachField(line, delimiter, [&](std::string_view field) {
    if (found.fields == xColumn) found.x = field;
    if (found.fields == yColumn) found.y = field;
    return found.fields++ < last;
  });
  return found;
}

char *writeShortest(char *to, double value) {
  constexpr double kSmallest = 1e-5, kLargest = 1e15;
  const double size = std::fabs(value);
  if (size == 0.0) value = 0.0;
  if (size < kLargest && (size >= kSmallest || size == 0.0))
    return std::to_chars(to, to + kLongestNumber, value, std::chars_format::fixed).ptr;
  return std::to_chars(to, to + kLongestNumber, value).ptr;
}

namespace {

/// What std::to_chars wrote, less the sign of a zero.
char *withoutSignOfZero(char *from, char *end) {
  if (*from != '-' || std::any_of(from, end, [](char c) { return c >= '1' && c <= '9'; }))
    return end;
  return std::copy(from + 1, end, from);
}

}  // namespace

char *writeFixed(char *to, double value, int digits) {
  // up to here a power of ten times a number is a double with its fraction and its rounding error
  constexpr double kPowers[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
  constexpr int kMostDigits = 9;
  constexpr double kLargest = 0x1p52;
  if (digits > kMostDigits || !(std::fabs(value) * kPowers[digits] < kLargest))
    return withoutSignOfZero(
        to, std::to_chars(to, to + kLongestNumber, value, std::chars_format::fixed, digits).ptr);

  const double power = kPowers[digits], scaled = std::fabs(value) * power;
  auto whole = static_cast<uint64_t>(scaled);
  const double beyondHalf = scaled - static_cast<double>(whole) - 0.5;
  // only at the half can the product's rounding error turn the scale, and it is exact
  const double error = beyondHalf == 0.0 ? std::fma(std::fabs(value), power, -scaled) : 0.0;
  if (beyondHalf > 0.0 || (beyondHalf == 0.0 && (error > 0.0 || (error == 0.0 && whole % 2 == 1))))
    ++whole;
  if (std::signbit(value) && whole != 0) *to++ = '-';
  if (digits == 0) return std::to_chars(to, to + kLongestNumber, whole).ptr;
  // the quotient of doubles is right or one too large; dividing the integers takes ten times as
  // long
  const auto unit = static_cast<uint64_t>(power);
  auto integer = static_cast<uint64_t>(static_cast<double>(whole) / power);
  if (integer * unit > whole) --integer;
  to = std::to_chars(to, to + kLongestNumber, integer).ptr;
  char *const point = to;  // for a moment a 1 that keeps the zeros behind it
  to = std::to_chars(to, to + kLongestNumber, whole - integer * unit + unit).ptr;
  *point = '.';
  return to;
}

}  // namespace program
