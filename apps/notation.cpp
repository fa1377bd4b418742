#include "notation.h"

#include <oprj/ocvt.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>

namespace program {
namespace {

constexpr std::string_view kBlanks = " \t";

std::string_view withoutBlanks(std::string_view text) {
  const size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return text.substr(0, 0);
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Signs of other alphabets and typesetters, and the plain one that each stands for.
constexpr struct {
  std::string_view sign;
  char plain;
} kSigns[] = {
    {"\xE2\x88\x92", '-'},   // minus
    {"\xE2\x80\x90", '-'},   // hyphen
    {"\xE2\x80\x91", '-'},   // hyphen that does not break
    {"\xE2\x80\x93", '-'},   // en dash
    {"\xC2\xA0", ' '},       // blank that does not break
    {"\xE2\x80\x89", ' '},   // thin blank
    {"\xE2\x80\xAF", ' '},   // thin blank that does not break
    {"\xC2\xB0", 'd'},       // degree
    {"\xC2\xBA", 'd'},       // ordinal
    {"\xCB\x9A", 'd'},       // ring
    {"\xE2\x80\xB2", '\''},  // prime
    {"\xE2\x80\x99", '\''},  // right quotation mark
    {"\xC2\xB4", '\''},      // acute
    {"\xE2\x80\xB3", '"'},   // double prime
    {"\xE2\x80\x9D", '"'},   // right double quotation mark
    // Latin-1: in UTF-8 none of these bytes starts a sign
    {"\xB0", 'd'},
    {"\xBA", 'd'},
    {"\xB4", '\''},
    {"\xA0", ' '},
};

/// Longer fields are no number.
constexpr size_t kLongestField = 96;

/// A field in plain signs. Empty when it is too long, or holds a zero byte.
class PlainText {
 public:
  explicit PlainText(std::string_view field) {
    while (!field.empty()) {
      char plain = field.front();
      size_t length = 1;
      if (static_cast<unsigned char>(plain) >= 0x80) {
        const auto *sign = std::find_if(std::begin(kSigns), std::end(kSigns), [&](const auto &row) {
          return field.starts_with(row.sign);
        });
        if (sign != std::end(kSigns)) {
          plain = sign->plain;
          length = sign->sign.size();
        }
      }
      if (size_ == text_.size() || plain == 0) {
        size_ = 0;
        return;
      }
      text_[size_++] = plain;
      field.remove_prefix(length);
    }
  }
  char *begin() { return text_.data(); }
  char *end() { return text_.data() + size_; }
  std::string_view view() const { return withoutBlanks({text_.data(), size_}); }

 private:
  std::array<char, kLongestField> text_;
  size_t size_ = 0;
};

bool isLetterOf(std::string_view letters, char c) {
  return c != 0 && letters.find(c) != std::string_view::npos;
}
constexpr std::string_view kLatitudeLetters = "NSns", kLongitudeLetters = "EWew";
bool isAxisLetter(char c) {
  return isLetterOf(kLatitudeLetters, c) || isLetterOf(kLongitudeLetters, c);
}

/// The letter of the axis, taken away from behind or in front; 0 when there is none.
char takeAxisLetter(std::string_view &text) {
  const auto take = [&](bool behind) {
    const char c = text.empty() ? 0 : behind ? text.back() : text.front();
    if (!isAxisLetter(c)) return char{0};
    behind ? text.remove_suffix(1) : text.remove_prefix(1);
    text = withoutBlanks(text);
    return c;
  };
  // the s of 40d30m0s means seconds
  const bool seconds = text.size() > 1 && (text.back() == 's' || text.back() == 'S') &&
                       isDigit(text[text.size() - 2]) &&
                       text.find_first_of("mM") != std::string_view::npos;
  const char behind = seconds ? char{0} : take(true);
  return behind ? behind : take(false);
}

/// Degrees, minutes and seconds as d:m:s; empty when they are written in no way that is known.
std::string colonForm(std::string_view text, bool hasLetter) {
  constexpr size_t kParts = 3;
  std::string colons, between;  // what stands behind each part
  size_t parts = 0;
  while (!text.empty()) {
    const size_t length = std::min(text.find_first_not_of("0123456789."), text.size());
    if (length == 0 || ++parts > kParts) return {};
    if (parts > 1) colons += ':';
    colons += text.substr(0, length);
    text.remove_prefix(length);
    const std::string_view rest = withoutBlanks(text);
    if (rest.empty()) break;
    if (const size_t sign = std::string_view(":-dDmM'sS\"").find(rest.front());
        sign != std::string_view::npos) {
      const bool twice = parts == kParts && rest.starts_with("''");  // for a double prime
      between += twice ? 's' : ":-ddmmmsss"[sign];
      text = withoutBlanks(rest.substr(twice ? 2 : 1));
    } else if (rest.size() < text.size()) {
      between += ' ';
      text = rest;
    }
  }
  const size_t gaps = parts - 1;
  for (const std::string_view way : {"::", "  ", "--"}) {
    if (parts > 1 && between == way.substr(0, gaps) && (way != "--" || hasLetter)) return colons;
  }
  const bool signs = !between.empty() && std::string_view("dms").starts_with(between);
  return signs && (between.size() == parts || between.size() == gaps) ? colons : std::string();
}

}  // namespace

std::string_view bareField(std::string_view field) {
  field = withoutBlanks(field);
  if (field.size() >= 2 && field.front() == '"' && field.back() == '"')
    field = field.substr(1, field.size() - 2);
  return field;
}

std::string plainField(std::string_view field) {
  const bool quoted = withoutBlanks(field).starts_with('"');
  std::string text(withoutBlanks(bareField(field)));
  for (size_t at = 0; quoted && (at = text.find("\"\"", at)) != std::string::npos; ++at)
    text.erase(at, 1);
  return text;
}

bool hasDecimalComma(std::string_view field) {
  std::string text = plainField(field);
  const size_t comma = text.find(',');
  if (comma == 0 || comma == std::string::npos || comma + 1 == text.size() ||
      !isDigit(text[comma - 1]))
    return false;
  text[comma] = '.';
  double ignored;
  return !readNumber(text, Notation::kNumber, &ignored);
}

const char *readNumber(std::string_view field, Notation notation, double *value,
                       char decimalPoint) {
  constexpr const char *kNoNumber = "a coordinate is not a number";
  const auto isNumber = [value](const char *begin, const char *end) {
    const auto [stop, error] = std::from_chars(begin, end, *value);
    return error == std::errc() && stop == end;
  };
  const auto judged = [value] { return std::isfinite(*value) ? nullptr : kNoNumber; };
  // most fields are a number and nothing else
  if (isNumber(field.data(), field.data() + field.size())) return judged();
  if (withoutBlanks(bareField(field)).empty()) return "a coordinate is missing";

  PlainText plain(plainField(field));
  if (decimalPoint != '.') {
    if (std::find(plain.begin(), plain.end(), '.') != plain.end()) return kNoNumber;
    std::replace(plain.begin(), plain.end(), decimalPoint, '.');
  }
  std::string_view text = plain.view();
  if (text.empty()) return kNoNumber;
  const bool plus = text.front() == '+', minus = text.front() == '-';
  if (const std::string_view rest = text.substr(plus ? 1 : 0);
      !(plus && rest.find_first_of("+-") == 0) && isNumber(rest.data(), rest.data() + rest.size()))
    return judged();
  if (decimalPoint == '.' && hasDecimalComma(text))
    return "a coordinate has a decimal comma (see --decimal-comma)";
  if (notation == Notation::kNumber) return kNoNumber;

  if (plus || minus) text = text.substr(1);
  const char letter = takeAxisLetter(text);
  if (letter && (plus || minus || notation == Notation::kAngle)) return kNoNumber;
  if (letter && isNumber(text.data(), text.data() + text.size())) {
    if (!std::isfinite(*value) || text.front() == '-') return kNoNumber;
  } else {
    const std::string colons = colonForm(text, letter != 0);
    if (colons.empty() || !ocvt_AngleParse(colons.c_str(), value)) return kNoNumber;
  }
  if (minus || isLetterOf("SWsw", letter)) *value = -*value;
  if (letter && notation == Notation::kLongitude && isLetterOf(kLatitudeLetters, letter))
    return "a latitude stands where the longitude is expected: the axes look swapped";
  if (letter && notation == Notation::kLatitude && isLetterOf(kLongitudeLetters, letter))
    return "a longitude stands where the latitude is expected: the axes look swapped";
  return nullptr;
}

}  // namespace program
