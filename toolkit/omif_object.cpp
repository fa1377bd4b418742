// Objects of designs between records in memory and their MIF bytes.
//
//   object        = { item }                              in the order of the design
//   item          = element * count                       in place
//                 | count u32, offset u32, element * count    behind "*" and "p"; absent: 0, 0
//   offset        position of the byte behind it, counted from the beginning of the whole
//
// All numbers are little-endian, nothing is aligned.
#include <oprj/omif_object.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "toolkit/mif_codec.h"

namespace orvik::toolkit::mif {

namespace {

// ---- Bytes

template <class T>
T load(const uint8_t *at) {
  std::make_unsigned_t<T> bits = 0;
  for (size_t i = 0; i < sizeof(T); ++i)
    bits = static_cast<decltype(bits)>(bits | static_cast<decltype(bits)>(at[i]) << (8 * i));
  return static_cast<T>(bits);
}
double loadDouble(const uint8_t *at) { return std::bit_cast<double>(load<uint64_t>(at)); }
float loadSingle(const uint8_t *at) { return std::bit_cast<float>(load<uint32_t>(at)); }

template <class T>
void store(T value, uint8_t *at) {
  const auto bits = static_cast<std::make_unsigned_t<T>>(value);
  for (size_t i = 0; i < sizeof(T); ++i) at[i] = static_cast<uint8_t>(bits >> (8 * i));
}

/// Element `index` of an integer kind.
int64_t integerAt(char kind, const uint8_t *at, uint64_t index) {
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
double numberAt(char kind, const uint8_t *at, uint64_t index) {
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

/// The bytes of an object, each of which is looked at once.
class Reader {
 public:
  Reader(const uint8_t *bytes, int32_t size, uint32_t base)
      : bytes_(bytes), left_(static_cast<uint32_t>(size)), base_(base) {}

  [[noreturn]] void damaged(const Step &step, const char *problem) const {
    refuse(kDamaged, "Damaged object at byte %u, item \"%s\": %s", base_ + at_,
           step.item->name.c_str(), problem);
  }
  const uint8_t *take(const Step &step, uint64_t count) {
    if (count > left_) damaged(step, "it is cut short");
    const uint8_t *taken = bytes_ + at_;
    at_ += static_cast<uint32_t>(count);
    left_ -= static_cast<uint32_t>(count);
    return taken;
  }
  /// The number of elements behind a pointer, which are known to have room; 0: absent.
  uint32_t pointer(const Step &step) {
    const uint8_t *head = take(step, kPointerBytes);
    const auto count = load<uint32_t>(head);
    if (count == 0) return 0;
    if (load<uint32_t>(head + 4) != base_ + at_)
      damaged(step, "its offset is not that of the next byte");
    if (step.item->pointer == '*' && count != step.count)
      damaged(step, "its count is not that of the design");
    const uint64_t least =
        step.element ? uint64_t{count} * step.element->least : bytesOf(step.item->kind, count);
    if (least == 0 && count > 1) damaged(step, "it counts elements of no bytes");
    if (least > left_) damaged(step, "its count is beyond the end");
    return count;
  }
  const uint8_t *start() const { return bytes_; }
  const uint8_t *here() const { return bytes_ + at_; }

 private:
  const uint8_t *bytes_;
  uint32_t left_, at_ = 0;
  uint32_t base_;
};

/// Goes through an object and hands its items to the sink by the numbers of their steps. False when
/// what follows a table is not known.
template <class Sink>
bool walkItems(const Plan &plan, Reader &in, const Sink &sink) {
  for (size_t i = 0; i < plan.steps.size(); ++i) {
    const Step &step = plan.steps[i];
    const uint32_t count = step.item->pointer ? in.pointer(step) : step.count;
    if (count == 0) {
      sink.absent(i);
    } else if (step.element) {
      for (uint32_t n = 0; n < count; ++n)
        if (!walk(*step.element, in, sink.object(in, i, n, count))) return false;
    } else if (step.item->kind == 'b') {
      const uint8_t *head = in.take(step, bytesOf('b', 1));
      sink.table(i, load<int32_t>(head), load<int32_t>(head + 4));
      return false;
    } else {
      sink.values(in, i, in.take(step, bytesOf(step.item->kind, count)), count);
    }
  }
  return true;
}
template <class Sink>
bool walk(const Plan &plan, Reader &in, const Sink &sink) {
  const bool whole = walkItems(plan, in, sink);
  sink.end();
  return whole;
}

// ---- Records

template <class T>
T &at(char *record, const Step &step) {
  return *reinterpret_cast<T *>(record + step.offset);
}
template <class T>
const T &at(const char *record, const Step &step) {
  return *reinterpret_cast<const T *>(record + step.offset);
}

size_t elementSize(const Step &step) { return step.host == Host::kDoubles ? sizeof(double) : 1; }

void *allocate(size_t size) { return HeapAllocator<char>().allocate(size); }

void freeItems(const Plan &plan, char *record) {
  for (const Step &step : plan.steps) switch (step.host) {
      case Host::kText:
      case Host::kBytes:
      case Host::kDoubles:
        omsc_HeapFree(at<Counted<void>>(record, step).data);
        break;
      case Host::kPointer:
        if (char *inner = at<char *>(record, step)) {
          freeItems(*step.element, inner);
          omsc_HeapFree(inner);
        }
        break;
      case Host::kRecord:
        freeItems(*step.element, record + step.offset);
        break;
      default:
        break;
    }
}

/// Into a record of zeros, which is whole at any moment.
void copyItems(const Plan &plan, const char *source, char *target) {
  for (const Step &step : plan.steps) switch (step.host) {
      case Host::kInt32:
      case Host::kEnumeration:
        at<int32_t>(target, step) = at<int32_t>(source, step);
        break;
      case Host::kDouble:
        at<double>(target, step) = at<double>(source, step);
        break;
      case Host::kPointer:
        if (const char *inner = at<const char *>(source, step)) {
          at<void *>(target, step) = allocate(step.element->hostSize);
          copyItems(*step.element, inner, at<char *>(target, step));
        }
        break;
      case Host::kRecord:
        copyItems(*step.element, source + step.offset, target + step.offset);
        break;
      default: {
        const auto &from = at<Counted<void>>(source, step);
        if (from.count <= 0 || !from.data) break;
        // A text may be counted without its terminating zero; its copy has one.
        const size_t size = static_cast<size_t>(from.count) * elementSize(step);
        void *data = allocate(size + (step.host == Host::kText));
        std::memcpy(data, from.data, size);
        at<Counted<void>>(target, step) = {from.count, data};
      }
    }
}

void exchangeItems(const Plan &plan, char *first, char *second) {
  for (const Step &step : plan.steps) switch (step.host) {
      case Host::kInt32:
      case Host::kEnumeration:
        std::swap(at<int32_t>(first, step), at<int32_t>(second, step));
        break;
      case Host::kDouble:
        std::swap(at<double>(first, step), at<double>(second, step));
        break;
      case Host::kPointer:
        std::swap(at<void *>(first, step), at<void *>(second, step));
        break;
      case Host::kRecord:
        exchangeItems(*step.element, first + step.offset, second + step.offset);
        break;
      default:
        std::swap(at<Counted<void>>(first, step), at<Counted<void>>(second, step));
    }
}

/// A record that is being filled; it goes with what it has when something is refused.
class NewRecord {
 public:
  explicit NewRecord(const Plan &plan)
      : plan_(plan), record_(static_cast<char *>(allocate(plan.hostSize))) {}
  ~NewRecord() {
    if (!record_) return;
    freeItems(plan_, record_);
    omsc_HeapFree(record_);
  }
  NewRecord(const NewRecord &) = delete;
  NewRecord &operator=(const NewRecord &) = delete;

  char *get() { return record_; }
  /// The record itself, or its items in the place of those of `target`.
  void *give(void *target) {
    if (!target) return std::exchange(record_, nullptr);
    exchangeItems(plan_, record_, static_cast<char *>(target));
    return target;
  }

 private:
  const Plan &plan_;
  char *record_;
};

// ---- From bytes

/// Fills a record of zeros, or skips an object that has no place (null).
struct RecordSink {
  const Binding *binding;
  char *record;

  const Link *linkOf(size_t i) const {
    if (!record) return nullptr;
    const Link &link = binding->links[i];
    return link.host ? &link : nullptr;
  }
  void absent(size_t) const {}
  void table(size_t, int32_t, int32_t) const {}
  void end() const {}

  RecordSink object(const Reader &in, size_t i, uint32_t, uint32_t count) const {
    const Link *link = linkOf(i);
    if (!link) return {nullptr, nullptr};
    if (link->host->host == Host::kRecord) return {link->inner, record + link->host->offset};
    if (count != 1) in.damaged(*link->host, "it holds more than one object");
    at<void *>(record, *link->host) = allocate(link->inner->host->hostSize);
    return {link->inner, at<char *>(record, *link->host)};
  }

  void values(const Reader &in, size_t i, const uint8_t *bytes, uint32_t count) const {
    const Link *link = linkOf(i);
    if (!link) return;
    const Step &step = *link->host;
    const char kind = binding->written->steps[i].item->kind;
    switch (step.host) {
      case Host::kInt32: {
        const int64_t value = integerAt(kind, bytes, 0);
        if (value > INT32_MAX) in.damaged(step, "its value is above 2147483647");
        at<int32_t>(record, step) = static_cast<int32_t>(value);
        break;
      }
      case Host::kEnumeration: {
        auto value = static_cast<int32_t>(integerAt(kind, bytes, 0));
        if (!link->numbers.empty())
          value = static_cast<size_t>(value) < link->numbers.size()
                      ? link->numbers[static_cast<size_t>(value)]
                      : -1;
        if (value < 0) in.damaged(step, "its value has another name than any that is known");
        at<int32_t>(record, step) = value;
        break;
      }
      case Host::kDouble:
        at<double>(record, step) = numberAt(kind, bytes, 0);
        break;
      case Host::kText: {
        const auto *text = reinterpret_cast<const char *>(bytes);
        const size_t length = strnlen(text, count);
        if (length >= INT32_MAX) in.damaged(step, "a text of 2147483647 bytes");
        auto *data = static_cast<char *>(allocate(length + 1));
        std::memcpy(data, text, length);
        at<Counted<char>>(record, step) = {static_cast<int32_t>(length + 1), data};
        break;
      }
      case Host::kBytes: {
        void *data = allocate(count);
        std::memcpy(data, bytes, count);
        at<Counted<void>>(record, step) = {static_cast<int32_t>(count), data};
        break;
      }
      default: {  // doubles
        auto *data = static_cast<double *>(allocate(uint64_t{count} * sizeof(double)));
        for (uint32_t n = 0; n < count; ++n) data[n] = numberAt(kind, bytes, n);
        at<Counted<double>>(record, step) = {static_cast<int32_t>(count), data};
      }
    }
  }
};

void *decode(const Binding &binding, const uint8_t *bytes, int32_t size, uint32_t base,
             void *object) {
  Reader in(bytes, size, base);
  NewRecord record(*binding.host);
  walk(*binding.written, in, RecordSink{&binding, record.get()});
  return record.give(object);
}

// ---- To bytes

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

// ---- To another place

/// Adds to every offset.
struct MoveSink {
  const Plan *plan;
  uint8_t *bytes;
  uint32_t by;

  void absent(size_t) const {}
  void end() const {}
  void table(size_t, int32_t, int32_t) const {}
  /// The elements of an item begin at `first`, behind its offset if it has one.
  void shift(size_t i, const uint8_t *start, const uint8_t *first) const {
    if (!plan->steps[i].item->pointer) return;
    uint8_t *offset = bytes + (first - start) - sizeof(uint32_t);
    store(load<uint32_t>(offset) + by, offset);
  }
  MoveSink object(const Reader &in, size_t i, uint32_t index, uint32_t) const {
    if (index == 0) shift(i, in.start(), in.here());
    return {plan->steps[i].element, bytes, by};
  }
  void values(const Reader &in, size_t i, const uint8_t *first, uint32_t) const {
    shift(i, in.start(), first);
  }
};

// ---- For printing

struct VisitSink {
  const Plan *plan;
  const Omif_Visitor *visitor;
  void *context;

  Omif_ItemInfo infoOf(size_t i) const { return plan->steps[i].item->info(); }

  void absent(size_t i) const {
    const Omif_ItemInfo info = infoOf(i);
    if (visitor->absent) visitor->absent(context, &info);
  }
  void table(size_t i, int32_t rows, int32_t columns) const {
    const Omif_ItemInfo info = infoOf(i);
    if (visitor->table) visitor->table(context, &info, rows, columns);
  }
  VisitSink object(const Reader &, size_t i, uint32_t index, uint32_t count) const {
    const Omif_ItemInfo info = infoOf(i);
    const VisitSink inner{plan->steps[i].element, visitor, context};
    inner.begin(&info, index, count);
    return inner;
  }
  void begin(const Omif_ItemInfo *info, int64_t index, int64_t count) const {
    if (visitor->objectBegin)
      visitor->objectBegin(context, info, plan->design->name.c_str(), index, count);
  }
  void end() const {
    if (visitor->objectEnd) visitor->objectEnd(context);
  }
  void values(const Reader &, size_t i, const uint8_t *bytes, uint32_t count) const {
    const Omif_ItemInfo info = infoOf(i);
    if (info.kind == 'c') {
      const auto *text = reinterpret_cast<const char *>(bytes);
      if (visitor->text)
        visitor->text(context, &info, text, static_cast<int64_t>(strnlen(text, count)));
      return;
    }
    if (!visitor->numbers) return;
    const bool isComplex = info.kind == 'm' || info.kind == 'M';
    const int64_t total = int64_t{count} * (isComplex ? 2 : 1);
    double some[256];
    for (int64_t first = 0; first < total;) {
      const int64_t size = std::min<int64_t>(total - first, std::size(some));
      for (int64_t n = 0; n < size; ++n)
        some[n] = numberAt(info.kind, bytes, static_cast<uint64_t>(first + n));
      visitor->numbers(context, &info, some, first, size, total);
      first += size;
    }
  }
};

int32_t givenSize(const uint8_t *bytes, int32_t size) {
  if (size < 0 || (!bytes && size > 0)) refuse(kNoObject, "Invalid input bytes");
  return size;
}

const Omif_Design &given(const Omif_Design *design) {
  if (!design) refuse(kNoDesign, "Invalid input design");
  return *design;
}

int32_t visit(ErrorScope &e, const Omif_Design *design, const uint8_t *bytes, int32_t size,
              uint32_t base, const Omif_Visitor *visitor, void *context) {
  return attempt(e, [&]() -> int32_t {
    const VisitSink sink{&planOf(given(design)), visitor, context};
    if (!visitor) refuse(kNoObject, "Invalid input visitor");
    Reader in(bytes, givenSize(bytes, size), base);
    sink.begin(nullptr, 0, 1);
    walk(*sink.plan, in, sink);
    return 1;
  });
}

}  // namespace

std::unique_ptr<Codec> codecOf(const Omif_Design *host, const Omif_Design *written,
                               Oerr_Report **err) {
  ErrorScope e("omif_DesignBind", err);
  return std::unique_ptr<Codec>(
      attempt(e, [&]() -> Codec * { return new Codec(given(host), given(written)); }));
}

int32_t objectSize(const Codec &codec, const void *object, Oerr_Report **err) {
  ErrorScope e("omif_ObjectSize", err);
  return attempt(e, [&] { return sizeOf(codec.binding(), object); });
}

int32_t encodeObject(const Codec &codec, const void *object, uint8_t *bytes, int32_t size,
                     uint32_t base, Oerr_Report **err) {
  ErrorScope e("omif_ConvertToMIF", err);
  return attempt(e, [&] { return encode(codec.binding(), object, bytes, size, base); });
}

void *decodeObject(const Codec &codec, const uint8_t *bytes, int32_t size, uint32_t base,
                   void *object, Oerr_Report **err) {
  ErrorScope e("omif_ConvertToHost", err);
  return attempt(e, [&] { return decode(codec.binding(), bytes, size, base, object); });
}

int32_t moveObject(const Omif_Design *design, uint8_t *bytes, int32_t size, uint32_t from,
                   uint32_t to, Oerr_Report **err) {
  ErrorScope e("moveObject", err);
  return attempt(e, [&]() -> int32_t {
    Reader in(bytes, size, from);
    const Plan &plan = planOf(given(design));
    if (!walk(plan, in, MoveSink{&plan, bytes, to - from}))
      refuse(kDamaged, "What follows the table in the object is not known");
    return 1;
  });
}

int32_t visitObject(const Omif_Design *design, const uint8_t *bytes, int32_t size, uint32_t base,
                    const Omif_Visitor *visitor, void *context, Oerr_Report **err) {
  ErrorScope e("omif_MIFVisit", err);
  return visit(e, design, bytes, size, base, visitor, context);
}

}  // namespace orvik::toolkit::mif

using namespace orvik::toolkit;
using namespace orvik::toolkit::mif;

namespace {

/// The binding of a design to itself.
const Binding &ownBinding(const Omif_Design *design) { return hostPlanOf(given(design)).self; }

template <class T>
T *givenObject(T *object) {
  if (!object) refuse(kNoObject, "Invalid input object");
  return object;
}

}  // namespace

size_t omif_DesignHostSize(const Omif_Design *design, Oerr_Report **err) {
  ErrorScope e("omif_DesignHostSize", err);
  size_t size = 0;
  attempt(e, [&] {
    size = hostPlanOf(given(design)).hostSize;
    return 1;
  });
  return size;
}

int32_t omif_DesignHostSizeSet(Omif_Design *design, size_t size, Oerr_Report **err) {
  ErrorScope e("omif_DesignHostSizeSet", err);
  if (!design) return e.fail(kNoDesign, "Invalid input design");
  if (design->hostSize == size) return 1;
  if (design->plan.load(std::memory_order_acquire))
    return e.fail(kTooLate, "Design \"%s\" is in use", design->name.c_str());
  design->hostSize = size;
  return 1;
}

Omif_Dictionary *omif_DictionaryOfDesign(const Omif_Design *design, Oerr_Report **err) {
  ErrorScope e("omif_DictionaryOfDesign", err);
  return attempt(e, [&]() -> Omif_Dictionary * {
    auto dictionary = companionsOf(given(design));
    if (!dictionary) dictionary = std::make_unique<Omif_Dictionary>();
    auto copy = std::make_unique<Omif_Design>(*design);
    dictionary->adopt(copy);
    return dictionary.release();
  });
}

void *omif_ObjectAllocate(const Omif_Design *design, Oerr_Report **err) {
  ErrorScope e("omif_ObjectAllocate", err);
  return attempt(e, [&] { return NewRecord(hostPlanOf(given(design))).give(nullptr); });
}

void omif_ObjectFree(const Omif_Design *design, void **object) {
  if (!object || !*object) return;
  ErrorScope e("omif_ObjectFree", nullptr);
  attempt(e, [&] {
    // The plan is there: the object was made by it.
    freeItems(hostPlanOf(given(design)), static_cast<char *>(*object));
    omsc_HeapFree(std::exchange(*object, nullptr));
    return 1;
  });
}

void *omif_ObjectCopy(const Omif_Design *design, const void *source, void *target,
                      Oerr_Report **err) {
  ErrorScope e("omif_ObjectCopy", err);
  return attempt(e, [&] {
    NewRecord copy(hostPlanOf(given(design)));
    copyItems(hostPlanOf(*design), static_cast<const char *>(givenObject(source)), copy.get());
    return copy.give(target);
  });
}

void *omif_ObjectConvert(const Omif_Design *design, const void *source, const Omif_Design *wanted,
                         Oerr_Report **err) {
  ErrorScope e("omif_ObjectConvert", err);
  return attempt(e, [&] {
    const Binding &own = ownBinding(design);
    const Codec codec(given(wanted), *design);
    HeapVector<uint8_t> bytes(static_cast<size_t>(sizeOf(own, givenObject(source))));
    const auto size = static_cast<int32_t>(bytes.size());
    encode(own, source, bytes.data(), size, 0);
    return decode(codec.binding(), bytes.data(), size, 0, nullptr);
  });
}

int32_t omif_ObjectSize(const Omif_Design *design, const void *object, Oerr_Report **err) {
  ErrorScope e("omif_ObjectSize", err);
  return attempt(e, [&] { return sizeOf(ownBinding(design), givenObject(object)); });
}

int32_t omif_ConvertToMIF(const Omif_Design *design, const void *object, uint8_t *bytes,
                          int32_t size, Oerr_Report **err) {
  ErrorScope e("omif_ConvertToMIF", err);
  return attempt(e, [&] {
    return encode(ownBinding(design), givenObject(object), bytes, givenSize(bytes, size), 0);
  });
}

int32_t omif_ConvertToMIFAs(const Omif_Design *design, const void *object,
                            const Omif_Design *written, uint8_t *bytes, int32_t size,
                            Oerr_Report **err) {
  ErrorScope e("omif_ConvertToMIFAs", err);
  return attempt(e, [&] {
    const Codec codec(given(design), given(written));
    return encode(codec.binding(), givenObject(object), bytes, givenSize(bytes, size), 0);
  });
}

void *omif_ConvertToHost(const Omif_Design *design, const uint8_t *bytes, int32_t size,
                         void *object, Oerr_Report **err) {
  ErrorScope e("omif_ConvertToHost", err);
  return attempt(
      e, [&] { return decode(ownBinding(design), bytes, givenSize(bytes, size), 0, object); });
}

void *omif_ConvertToHostAs(const Omif_Design *written, const uint8_t *bytes, int32_t size,
                           const Omif_Design *wanted, void *object, Oerr_Report **err) {
  ErrorScope e("omif_ConvertToHostAs", err);
  return attempt(e, [&] {
    const Codec codec(given(wanted), given(written));
    return decode(codec.binding(), bytes, givenSize(bytes, size), 0, object);
  });
}

int32_t omif_MIFVisit(const Omif_Design *design, const uint8_t *bytes, int32_t size,
                      const Omif_Visitor *visitor, void *context, Oerr_Report **err) {
  ErrorScope e("omif_MIFVisit", err);
  return visit(e, design, bytes, size, 0, visitor, context);
}
