// The bytes of node files: little-endian numbers, header, file record, entries.
//
//   header         0  "OHFA_HEADER_TAG" and a zero      16  position of the file record
//   file record    0  version 1      4  free list      8  root entry     12  entry length 128 (16
//   bit)
//                 14  dictionary text
//   entry          0  next sibling   4  previous       8  parent         12  first child
//                 16  object        20  its bytes     24  name (64)      88  design (32)
//                120  time         124  zero
#ifndef OPRJ_TOOLKIT_OHFA_BYTES_H
#define OPRJ_TOOLKIT_OHFA_BYTES_H

#include <oprj/ohfa.h>

#include <exception>

#include "toolkit/error_scope.h"
#include "toolkit/heap.h"

namespace orvik::toolkit::nodefile {

/// What keeps an operation on a node file from its work; becomes its report.
class Problem : public std::exception {
 public:
  Problem(int32_t code, const char *format, ...) OPRJ_PRINTF(3, 4);
  const char *what() const noexcept override { return text_.c_str(); }
  int32_t code() const { return code_; }

 private:
  int32_t code_;
  HeapText text_;
};

/// Runs the body of an operation and turns what it throws into the report.
template <class Body>
auto operate(ErrorScope &e, Body body) -> decltype(body()) {
  try {
    return body();
  } catch (const Problem &problem) {
    return e.fail(problem.code(), "%s", problem.what());
  } catch (const std::bad_alloc &) {
    return e.fail(OHFA_MEMORY, "Out of memory");
  }
}

inline uint32_t getU16(const uint8_t *at) { return uint32_t{at[0]} | uint32_t{at[1]} << 8; }
inline uint32_t getU32(const uint8_t *at) { return getU16(at) | getU16(at + 2) << 16; }
inline void putU32(uint8_t *at, uint32_t value) {
  for (int i = 0; i < 4; ++i) at[i] = static_cast<uint8_t>(value >> 8 * i);
}

inline constexpr uint64_t kLargestFile = uint64_t{1} << 32;  // positions are of 32 bits
inline constexpr uint32_t kHeaderSize = 20;
inline constexpr uint32_t kRecordSize = 18;
inline constexpr uint32_t kEntrySize = 128;

/// The file record with the place where it stands.
struct Record {
  uint32_t position = kHeaderSize;
  uint32_t freeList = 0;  // kept as it is, never used
  uint32_t root = kEntrySize;
  uint32_t dictionary = 2 * kEntrySize;
  uint32_t dictionaryField() const { return position + 14; }
};

/// Fields of an entry that are stored alone.
enum EntryField : uint32_t { kNext = 0, kPrevious = 4, kParent = 8, kFirst = 12 };

struct Entry {
  static constexpr size_t kNameSize = 64, kDesignSize = 32;
  uint32_t next = 0, previous = 0, parent = 0, first = 0;
  uint32_t data = 0;
  int32_t size = 0;
  std::string_view name, design;  // of 63 and 31 bytes at most where they are written
  uint32_t time = 0;

  void encode(uint8_t bytes[kEntrySize]) const;
  /// The texts stay in `bytes`. Nothing is checked: what is wrong in an entry matters to whoever
  /// uses it.
  static Entry decode(const uint8_t bytes[kEntrySize]);
};

/// The bytes of a file that holds nothing but the root.
HeapVector<uint8_t> emptyFile(uint32_t time);

}  // namespace orvik::toolkit::nodefile

#endif
