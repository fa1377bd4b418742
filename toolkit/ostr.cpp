#include <oprj/ostr.h>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string_view>

#include "toolkit/c_locale.h"
#include "toolkit/heap.h"
#include "toolkit/nearest.h"

namespace {

using namespace orvik::toolkit;

bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

/// The text without surrounding blanks and without a "+" in front of a digit or point.
std::string_view numberText(const char *text) {
  std::string_view number(text ? text : "");
  while (!number.empty() && isBlank(number.front())) number.remove_prefix(1);
  while (!number.empty() && isBlank(number.back())) number.remove_suffix(1);
  if (number.size() > 1 && number[0] == '+' && number[1] != '-') number.remove_prefix(1);
  return number;
}

/// Stores `read` when reading stopped, without an error, at the end of the text.
template <class Number>
int32_t acceptWhole(std::string_view text, std::from_chars_result result, Number read,
                    Number *value) {
  if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return 0;
  if (value) *value = read;
  return 1;
}

}  // namespace

char *ostr_Duplicate(const char *text) { return text ? heapCopy(text).release() : nullptr; }

char *ostr_DuplicateN(const char *text, size_t length) {
  return text ? heapCopy({text, strnlen(text, length)}).release() : nullptr;
}

int32_t ostr_EqualIgnoringCase(const char *first, const char *second) {
  return equalIgnoringCase(first ? first : "", second ? second : "");
}

char *ostr_Format(const char *format, ...) {
  if (!format) return nullptr;
  va_list values;
  va_start(values, format);
  char *text = nullptr;
  const int length = formatInto(nullptr, 0, format, values);
  if (length >= 0) text = static_cast<char *>(omsc_HeapMalloc(static_cast<size_t>(length) + 1));
  if (text) formatInto(text, static_cast<size_t>(length) + 1, format, values);
  va_end(values);
  return text;
}

int32_t ostr_ToDouble(const char *text, double *value) {
  const std::string_view number = numberText(text);
  const size_t first = number.starts_with('-') ? 1 : 0;
  if (first >= number.size()) return 0;
  const char c = number[first];
  if (c != '.' && (c < '0' || c > '9')) return 0;  // from_chars knows "inf" and "nan"
  double read = 0.0;
  auto result = std::from_chars(number.data(), number.data() + number.size(), read);
  if (result.ec == std::errc::result_out_of_range) {  // too large, or so small that it is 0
    read = strtod_l(number.data(), nullptr, classicLocale());
    if (std::isfinite(read)) result.ec = std::errc();
  }
  return acceptWhole(number, result, read, value);
}

int32_t ostr_ToInt32(const char *text, int32_t *value) {
  const std::string_view number = numberText(text);
  int32_t read = 0;
  const auto result = std::from_chars(number.data(), number.data() + number.size(), read);
  return acceptWhole(number, result, read, value);
}

int32_t ostr_NearestNames(const char *query, const char *const *names, int32_t count,
                          const char *found[3]) {
  using orvik::toolkit::NearestNames;
  static_assert(NearestNames::kMost == 3);
  if (!query || !names || count <= 0) return 0;
  const NearestNames nearest =
      orvik::toolkit::nearestNames(query, std::span(names, static_cast<size_t>(count)));
  int32_t stored = 0;
  for (const std::string_view name : nearest) found[stored++] = name.data();  // whole texts
  return stored;
}
