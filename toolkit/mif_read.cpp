// Objects out of bytes: into records, to another place, for printing.
#include <cstring>

#include "toolkit/mif_bytes.h"
#include "toolkit/mif_record.h"
#include "toolkit/mif_walk.h"

namespace orvik::toolkit::mif {

namespace {

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

template <class Sink>
bool walk(const Plan &plan, Reader &in, const Sink &sink);

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

/// Tells a visitor.
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

}  // namespace

void *decode(const Binding &binding, const uint8_t *bytes, int32_t size, uint32_t base,
             void *object) {
  Reader in(bytes, size, base);
  NewRecord record(*binding.host);
  walk(*binding.written, in, RecordSink{&binding, record.get()});
  return record.give(object);
}

void move(const Plan &plan, uint8_t *bytes, int32_t size, uint32_t from, uint32_t to) {
  Reader in(bytes, size, from);
  if (!walk(plan, in, MoveSink{&plan, bytes, to - from}))
    refuse(kDamaged, "What follows the table in the object is not known");
}

void visit(const Plan &plan, const uint8_t *bytes, int32_t size, uint32_t base,
           const Omif_Visitor &visitor, void *context) {
  const VisitSink sink{&plan, &visitor, context};
  Reader in(bytes, size, base);
  sink.begin(nullptr, 0, 1);
  walk(plan, in, sink);
}

}  // namespace orvik::toolkit::mif
