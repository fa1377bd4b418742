#include "toolkit/ohfa_bytes.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>

#include "toolkit/c_locale.h"

namespace orvik::toolkit::nodefile {

Problem::Problem(int32_t code, const char *format, ...) : code_(code) {
  va_list values;
  va_start(values, format);
  const int length = formatInto(nullptr, 0, format, values);
  text_.resize(static_cast<size_t>(std::max(length, 0)) + 1);
  formatInto(text_.data(), text_.size(), format, values);
  va_end(values);
  text_.pop_back();
}

namespace {

std::string_view textIn(const uint8_t *bytes, size_t size) {
  const std::string_view all(reinterpret_cast<const char *>(bytes), size);
  return all.substr(0, all.find('\0'));
}

}  // namespace

void Entry::encode(uint8_t bytes[kEntrySize]) const {
  std::memset(bytes, 0, kEntrySize);
  putU32(bytes + kNext, next);
  putU32(bytes + kPrevious, previous);
  putU32(bytes + kParent, parent);
  putU32(bytes + kFirst, first);
  putU32(bytes + 16, data);
  putU32(bytes + 20, static_cast<uint32_t>(size));
  std::copy(name.begin(), name.end(), bytes + 24);
  std::copy(design.begin(), design.end(), bytes + 88);
  putU32(bytes + 120, time);
}

Entry Entry::decode(const uint8_t bytes[kEntrySize]) {
  Entry entry;
  entry.next = getU32(bytes + kNext);
  entry.previous = getU32(bytes + kPrevious);
  entry.parent = getU32(bytes + kParent);
  entry.first = getU32(bytes + kFirst);
  entry.data = getU32(bytes + 16);
  entry.size = static_cast<int32_t>(getU32(bytes + 20));
  entry.name = textIn(bytes + 24, kNameSize);
  entry.design = textIn(bytes + 88, kDesignSize);
  entry.time = getU32(bytes + 120);
  return entry;
}

HeapVector<uint8_t> emptyFile(uint32_t time) {
  const Record record;
  HeapVector<uint8_t> bytes(record.dictionary + 2);
  std::memcpy(bytes.data(), "OHFA_HEADER_TAG", 16);
  putU32(&bytes[16], record.position);
  uint8_t *const fields = &bytes[record.position];
  putU32(fields, 1);
  putU32(fields + 8, record.root);
  fields[12] = kEntrySize;
  putU32(fields + 14, record.dictionary);
  Entry root;
  root.name = root.design = "root";
  root.time = time;
  root.encode(&bytes[record.root]);
  bytes[record.dictionary] = '.';
  return bytes;
}

}  // namespace orvik::toolkit::nodefile
