// UTF-16 and UTF-8, unit by unit, for texts that need not be well-formed: what is no UTF-8 (texts
// of older files in the code pages of their time) passes through UTF-16 and comes back byte for
// byte. Such a byte b is the lone unit U+DC00 + b, as Python's "surrogateescape" has it.
#ifndef OPRJ_TOOLKIT_UTF16_H
#define OPRJ_TOOLKIT_UTF16_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace orvik::toolkit {

inline bool isHighSurrogate(uint32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
inline bool isLowSurrogate(uint32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }
/// A byte that was no UTF-8.
inline bool isStrayByte(uint32_t unit) { return unit >= 0xDC80 && unit <= 0xDCFF; }

/// How many bytes the UTF-8 of `units` units takes at most.
constexpr size_t utf8Room(size_t units) { return 3 * units; }

/// Copies the ASCII that a text begins with, as far as it comes in whole groups; the units taken.
template <class From, class To>
size_t copyAscii(const From *text, size_t size, To *out) {
  constexpr size_t kGroup = 16;
  size_t taken = 0;
  for (; taken + kGroup <= size; taken += kGroup) {
    uint32_t all = 0;
    for (size_t i = 0; i < kGroup; ++i)
      all |= static_cast<std::make_unsigned_t<From>>(text[taken + i]);
    if (all >= 0x80) break;
    for (size_t i = 0; i < kGroup; ++i) out[taken + i] = static_cast<To>(text[taken + i]);
  }
  return taken;
}

/// Writes the UTF-8 of a text and returns its end. A lone surrogate that stands for no byte becomes
/// the three bytes that its number would have, and `*lone` (may be null) is set to it.
inline char *toUtf8(const char16_t *text, size_t units, char *out, char16_t *lone) {
  const auto put = [&](uint32_t byte) { *out++ = static_cast<char>(byte); };
  size_t i = copyAscii(text, units, out);
  for (out += i; i < units; ++i) {
    uint32_t code = text[i];
    if (code < 0x80) {
      put(code);
    } else if (code < 0x800) {
      put(0xC0 | code >> 6);
      put(0x80 | (code & 0x3F));
    } else if (isHighSurrogate(code) && i + 1 < units && isLowSurrogate(text[i + 1])) {
      code = 0x10000 + ((code - 0xD800) << 10) + (text[++i] - 0xDC00u);
      put(0xF0 | code >> 18);
      put(0x80 | (code >> 12 & 0x3F));
      put(0x80 | (code >> 6 & 0x3F));
      put(0x80 | (code & 0x3F));
    } else if (isStrayByte(code)) {
      put(code - 0xDC00);
    } else {
      if (lone && (isHighSurrogate(code) || isLowSurrogate(code))) *lone = text[i];
      put(0xE0 | code >> 12);
      put(0x80 | (code >> 6 & 0x3F));
      put(0x80 | (code & 0x3F));
    }
  }
  return out;
}

/// The character that begins at `text`, of at most `size` bytes, and how many it takes: 0 when
/// these are no UTF-8. Surrogates, overlong forms and what lies beyond U+10FFFF are none, but for
/// surrogates when `surrogates` asks for them.
inline int decodeUtf8(const char *text, size_t size, bool surrogates, uint32_t &code) {
  const auto byte = [&](size_t i) { return static_cast<uint32_t>(static_cast<uint8_t>(text[i])); };
  const uint32_t first = byte(0);
  code = first;
  if (first < 0x80) return 1;
  const int length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  constexpr uint32_t kLowest[] = {0, 0, 0x80, 0x800, 0x10000};
  if (first < 0xC2 || first > 0xF4 || size < static_cast<size_t>(length)) return 0;
  code = first & (0x7Fu >> length);
  for (int i = 1; i < length; ++i) {
    const uint32_t next = byte(static_cast<size_t>(i));
    if ((next & 0xC0) != 0x80) return 0;
    code = code << 6 | (next & 0x3F);
  }
  if (code < kLowest[length] || code > 0x10FFFF) return 0;
  return !surrogates && (isHighSurrogate(code) || isLowSurrogate(code)) ? 0 : length;
}

/// Writes the UTF-16 of `size` bytes, at most as many units, and returns its end. With `surrogates`
/// it undoes toUtf8 for lone surrogates too.
inline char16_t *toUtf16(const char *text, size_t size, char16_t *out, bool surrogates) {
  size_t i = copyAscii(text, size, out);
  for (out += i; i < size;) {
    uint32_t code = 0;
    const int taken = decodeUtf8(text + i, size - i, surrogates, code);
    if (taken == 0) {
      *out++ = static_cast<char16_t>(0xDC00 + static_cast<uint8_t>(text[i++]));
      continue;
    }
    i += static_cast<size_t>(taken);
    if (code >= 0x10000) {
      *out++ = static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
      code = 0xDC00 + ((code - 0x10000) & 0x3FF);
    }
    *out++ = static_cast<char16_t>(code);
  }
  return out;
}

}  // namespace orvik::toolkit

#endif
