// Objects into bytes: the same walk counts and writes.
#include <cmath>
#include <cstring>
#include <span>

#include "toolkit/mif_bytes.h"
#include "toolkit/mif_record.h"
#include "toolkit/mif_walk.h"

namespace orvik::toolkit::mif {

namespace {

/// Counts what would be written.
class Counter {
 public:
  void bytes(const void *, uint64_t count) { at_ += count; }
  void zeros(uint64_t count) { at_ += count; }
  template <class T>
  void number(T) {
    at_ += sizeof(T);
  }
  uint64_t position() const { return at_; }

 private:
  uint64_t at_ = 0;
};

/// Writes into a block.
class Block {
 public:
  Block(uint8_t *bytes, int32_t size, uint32_t base)
      : bytes_(bytes), size_(static_cast<uint64_t>(size)), base_(base) {}

  void bytes(const void *source, uint64_t count) {
    if (count != 0) std::memcpy(room(count), source, count);
  }
  void zeros(uint64_t count) {
    if (count != 0) std::memset(room(count), 0, count);
  }
  template <class T>
  void number(T value) {
    store(value, room(sizeof(T)));
  }
  uint64_t position() const { return base_ + at_; }
  uint64_t written() const { return at_; }

 private:
  uint8_t *room(uint64_t count) {
    if (count > size_ - at_)
      refuse(kDamaged, "The object takes more than %llu bytes",
             static_cast<unsigned long long>(size_));
    uint8_t *place = bytes_ + at_;
    at_ += count;
    return place;
  }
  uint8_t *bytes_;
  uint64_t size_, at_ = 0;
  uint64_t base_;
};

[[noreturn]] void hasNoPlace(const Step &step) {
  refuse(kDamaged, "The value of item \"%s\" has no place in the design that is written",
         step.item->name.c_str());
}

template <class Out>
void writeInteger(const Step &to, int64_t value, Out &out) {
  const char kind = to.item->kind;
  const bool isSigned = kind == 'S' || kind == 'l';
  const uint32_t bits = bitsOf(kind);
  const int64_t least = isSigned ? -(int64_t{1} << (bits - 1)) : 0;
  const int64_t most = (int64_t{1} << (isSigned ? bits - 1 : bits)) - 1;
  if (value < least || value > most) hasNoPlace(to);
  if (bits <= 8) out.number(static_cast<uint8_t>(value));
  else if (bits == 16) out.number(static_cast<uint16_t>(value));
  else out.number(static_cast<uint32_t>(value));
}

template <class Out>
void writeReal(const Step &to, double value, Out &out) {
  if (to.item->kind == 'd') {
    out.number(std::bit_cast<uint64_t>(value));
    return;
  }
  const auto single = static_cast<float>(value);
  if (static_cast<double>(single) != value && !std::isnan(value)) hasNoPlace(to);
  out.number(std::bit_cast<uint32_t>(single));
}

template <class Out>
void writePointer(const Step &to, uint64_t count, Out &out) {
  if (to.item->pointer == '*' && count != 0 && count != to.count) hasNoPlace(to);
  out.number(static_cast<uint32_t>(count));
  out.number(count == 0 ? 0 : static_cast<uint32_t>(out.position() + sizeof(uint32_t)));
}

/// The text of a record, and whether it has one; its count may leave out the terminating zero.
std::pair<std::string_view, bool> textOf(const Counted<char> &text) {
  if (text.count <= 0 || !text.data) return {{}, false};
  return {{text.data, strnlen(text.data, static_cast<size_t>(text.count))}, true};
}

template <class Out>
void writeText(const Step &to, const Counted<char> &text, Out &out) {
  const auto [characters, present] = textOf(text);
  uint64_t room = present ? characters.size() + 1 : 0;
  if (to.item->pointer != 'p' && (present || !to.item->pointer)) {  // room for a fixed number
    if (room > to.count) hasNoPlace(to);
    room = to.count;
  }
  if (to.item->pointer) writePointer(to, room, out);
  out.bytes(characters.data(), characters.size());
  out.zeros(room - characters.size());
}

/// The elements of an array; none for an empty or a broken one.
template <class T>
std::span<const T> elementsOf(const Counted<T> &array) {
  if (array.count <= 0 || !array.data) return {};
  return {array.data, static_cast<size_t>(array.count)};
}

/// Nothing would be lost if the item were not written.
bool isBlank(const Step &step, const char *record) {
  switch (step.host) {
    case Host::kInt32:
    case Host::kEnumeration:
      return at<int32_t>(record, step) == 0;
    case Host::kDouble:
      return at<double>(record, step) == 0;
    case Host::kPointer:
      return !at<void *>(record, step);
    case Host::kRecord: {
      const auto &steps = step.element->steps;
      return std::all_of(steps.begin(), steps.end(),
                         [&](const Step &inner) { return isBlank(inner, record + step.offset); });
    }
    default: {
      const auto &array = at<Counted<void>>(record, step);
      return array.count <= 0 || !array.data;
    }
  }
}

int32_t writtenNumber(const Link &link, int32_t value) {
  if (link.numbers.empty()) return value;
  const auto found =
      value < 0 ? link.numbers.end() : std::find(link.numbers.begin(), link.numbers.end(), value);
  if (found == link.numbers.end()) hasNoPlace(*link.host);
  return static_cast<int32_t>(found - link.numbers.begin());
}

template <class Out>
void write(const Binding &binding, const char *record, Out &out) {
  for (size_t i = 0; i < binding.links.size(); ++i) {
    const Step &to = binding.written->steps[i];
    const Link &link = binding.links[i];
    if (!link.host) {
      out.zeros(to.least);
      continue;
    }
    const Step &from = *link.host;
    switch (from.host) {
      case Host::kInt32:
        writeInteger(to, at<int32_t>(record, from), out);
        break;
      case Host::kEnumeration:
        writeInteger(to, writtenNumber(link, at<int32_t>(record, from)), out);
        break;
      case Host::kDouble:
        writeReal(to, at<double>(record, from), out);
        break;
      case Host::kText:
        writeText(to, at<Counted<char>>(record, from), out);
        break;
      case Host::kBytes: {
        const auto bytes = elementsOf(at<Counted<uint8_t>>(record, from));
        writePointer(to, bytes.size(), out);
        out.bytes(bytes.data(), bytes.size());
        break;
      }
      case Host::kDoubles: {
        const auto values = elementsOf(at<Counted<double>>(record, from));
        writePointer(to, values.size(), out);
        for (const double value : values) writeReal(to, value, out);
        break;
      }
      case Host::kPointer: {
        const char *inner = at<const char *>(record, from);
        writePointer(to, inner != nullptr, out);
        if (inner) write(*link.inner, inner, out);
        break;
      }
      default:
        write(*link.inner, record + from.offset, out);
    }
  }
  for (const Step *step : binding.unwritten)
    if (!isBlank(*step, record)) hasNoPlace(*step);
}

}  // namespace

int32_t sizeOf(const Binding &binding, const void *object) {
  Counter counter;
  write(binding, static_cast<const char *>(object), counter);
  if (counter.position() > INT32_MAX)
    refuse(kDamaged, "The object takes more than 2147483647 bytes");
  return static_cast<int32_t>(counter.position());
}

int32_t encode(const Binding &binding, const void *object, uint8_t *bytes, int32_t size,
               uint32_t base) {
  Block block(bytes, size, base);
  write(binding, static_cast<const char *>(object), block);
  return static_cast<int32_t>(block.written());
}

}  // namespace orvik::toolkit::mif
