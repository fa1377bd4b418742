#include "fields.h"

#include <oprj/ocvt.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace program {
namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }

/// The end of the field that starts at `p`: a delimiter outside of quotes, or the end of the line.
const char *fieldEnd(const char *p, const char *end, char delimiter) {
  const char *q = p;
  while (q < end && isBlank(*q) && *q != delimiter) ++q;
  if (q < end && *q == '"') {
    for (++q; q < end; ++q) {
      if (*q != '"') continue;
      if (q + 1 < end && q[1] == '"') ++q;  // a doubled quote stands for one
      else break;
    }
  }
  const void *found = q < end ? std::memchr(q, delimiter, static_cast<size_t>(end - q)) : nullptr;
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

Delimiter guessDelimiter(std::string_view line) {
  for (const char c : {'\t', ';', ','}) {
    if (fieldEnd(line.data(), line.data() + line.size(), c) != line.data() + line.size())
      return {c};
  }
  return {' '};
}

std::vector<std::string_view> splitLine(std::string_view line, Delimiter delimiter) {
  std::vector<std::string_view> fields;
  forEachField(line, delimiter, [&](std::string_view field) {
    fields.push_back(field);
    return true;
  });
  return fields;
}

std::string_view bareField(std::string_view field) {
  while (!field.empty() && isBlank(field.front())) field.remove_prefix(1);
  while (!field.empty() && isBlank(field.back())) field.remove_suffix(1);
  if (field.size() >= 2 && field.front() == '"' && field.back() == '"')
    field = field.substr(1, field.size() - 2);
  return field;
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

const char *readNumber(std::string_view field, Notation notation, double *value) {
  constexpr const char *kNoNumber = "a coordinate is not a number";
  // most fields are a number and nothing else
  if (const auto [stop, error] = std::from_chars(field.data(), field.data() + field.size(), *value);
      error == std::errc() && stop == field.data() + field.size())
    return std::isfinite(*value) ? nullptr : kNoNumber;
  field = bareField(field);
  if (field.empty()) return "a coordinate is missing";
  const char *begin = field.data(), *const end = begin + field.size();
  if (*begin == '+' && field.size() > 1 && begin[1] != '-' && begin[1] != '+') ++begin;
  const auto [stop, error] = std::from_chars(begin, end, *value);
  if (error == std::errc() && stop == end) return std::isfinite(*value) ? nullptr : kNoNumber;
  if (notation == Notation::kNumber) return kNoNumber;
  char text[64];
  // a zero byte would end the text early
  if (field.size() >= sizeof text || std::memchr(field.data(), 0, field.size())) return kNoNumber;
  std::memcpy(text, field.data(), field.size());
  text[field.size()] = 0;
  if (!ocvt_AngleParse(text, value)) return kNoNumber;
  const bool ofLatitude = std::strchr("NSns", field.back()) != nullptr;
  const bool ofLongitude = std::strchr("EWew", field.back()) != nullptr;
  if ((ofLatitude || ofLongitude) && notation == Notation::kAngle) return kNoNumber;
  if (ofLatitude && notation == Notation::kLongitude)
    return "a latitude stands where the longitude is expected: the axes look swapped";
  if (ofLongitude && notation == Notation::kLatitude)
    return "a longitude stands where the latitude is expected: the axes look swapped";
  return nullptr;
}

char *writeShortest(char *to, double value) {
  constexpr double kSmallest = 1e-5, kLargest = 1e15;
  const double size = std::fabs(value);
  if (size < kLargest && (size >= kSmallest || size == 0.0))
    return std::to_chars(to, to + kLongestNumber, value, std::chars_format::fixed).ptr;
  return std::to_chars(to, to + kLongestNumber, value).ptr;
}

char *writeFixed(char *to, double value, int digits) {
  // up to here a power of ten times a number is a double with its fraction and its rounding error
  constexpr double kPowers[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
  constexpr int kMostDigits = 9;
  constexpr double kLargest = 0x1p52;
  if (digits > kMostDigits || !(std::fabs(value) * kPowers[digits] < kLargest))
    return std::to_chars(to, to + kLongestNumber, value, std::chars_format::fixed, digits).ptr;

  const double power = kPowers[digits], scaled = std::fabs(value) * power;
  auto whole = static_cast<uint64_t>(scaled);
  const double beyondHalf = scaled - static_cast<double>(whole) - 0.5;
  // only at the half can the product's rounding error turn the scale, and it is exact
  const double error = beyondHalf == 0.0 ? std::fma(std::fabs(value), power, -scaled) : 0.0;
  if (beyondHalf > 0.0 || (beyondHalf == 0.0 && (error > 0.0 || (error == 0.0 && whole % 2 == 1))))
    ++whole;
  if (std::signbit(value)) *to++ = '-';
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
