// Numbers in the bytes of objects: little-endian, whatever the machine.
#ifndef OPRJ_TOOLKIT_MIF_BYTES_H
#define OPRJ_TOOLKIT_MIF_BYTES_H

#include <bit>

#include "toolkit/mif_plan.h"

namespace orvik::toolkit::mif {

template <class T>
T load(const uint8_t *at) {
  std::make_unsigned_t<T> bits = 0;
  for (size_t i = 0; i < sizeof(T); ++i)
    bits = static_cast<decltype(bits)>(bits | static_cast<decltype(bits)>(at[i]) << (8 * i));
  return static_cast<T>(bits);
}
inline double loadDouble(const uint8_t *at) { return std::bit_cast<double>(load<uint64_t>(at)); }
inline float loadSingle(const uint8_t *at) { return std::bit_cast<float>(load<uint32_t>(at)); }

template <class T>
void store(T value, uint8_t *at) {
  const auto bits = static_cast<std::make_unsigned_t<T>>(value);
  for (size_t i = 0; i < sizeof(T); ++i) at[i] = static_cast<uint8_t>(bits >> (8 * i));
}

/// Element `index` of an integer kind.
inline int64_t integerAt(char kind, const uint8_t *at, uint64_t index) {
  const uint32_t bits = bitsOf(kind);
  if (bits < 8) {
    const auto shift = static_cast<uint32_t>(index * bits % 8);
    return (at[index * bits / 8] >> shift) & ((1 << bits) - 1);
  }
  at += index * bits / 8;
  switch (kind) {
    case 'S':
      return load<int16_t>(at);
    case 's':
    case 'e':
      return load<uint16_t>(at);
    case 'l':
      return load<int32_t>(at);
    case 't':
    case 'L':
      return load<uint32_t>(at);
    default:
      return *at;  // c, C
  }
}

/// Element `index` of a kind of numbers; of complex ones the parts are elements.
inline double numberAt(char kind, const uint8_t *at, uint64_t index) {
  switch (kind) {
    case 'd':
    case 'M':
      return loadDouble(at + 8 * index);
    case 'f':
    case 'm':
      return static_cast<double>(loadSingle(at + 4 * index));
    default:
      return static_cast<double>(integerAt(kind, at, index));
  }
}

}  // namespace orvik::toolkit::mif

#endif
