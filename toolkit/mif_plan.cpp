// Compiling designs: sizes, the places of items in records, and the binding of two versions.
#include "toolkit/mif_plan.h"

#include <oprj/othr.h>

#include <cstdio>

namespace orvik::toolkit::mif {

namespace {

constexpr int64_t kMostItems = 65536;          // in place, objects inside of objects included
constexpr uint64_t kLargestObject = 1u << 31;  // bytes in place, exclusive

/// Alignment inside of a struct, which for doubles is less than alignof on some 32-bit systems.
template <class T>
constexpr size_t alignmentInside() {
  struct Probe {
    char first;
    T second;
  };
  return offsetof(Probe, second);
}

struct Room {
  size_t size, alignment;
};
template <class T>
constexpr Room kRoomOf{sizeof(T), alignmentInside<T>()};

Room roomOf(const Step &step) {
  switch (step.host) {
    case Host::kInt32:
    case Host::kEnumeration:
      return kRoomOf<int32_t>;
    case Host::kDouble:
      return kRoomOf<double>;
    case Host::kText:
    case Host::kBytes:
      return kRoomOf<Counted<uint8_t>>;
    case Host::kDoubles:
      return kRoomOf<Counted<double>>;
    case Host::kPointer:
      return kRoomOf<void *>;
    case Host::kRecord:
      return {step.element->hostSize, step.element->hostAlignment};
    default:
      return {0, 1};
  }
}

constexpr size_t alignedUp(size_t size, size_t alignment) {
  return (size + alignment - 1) / alignment * alignment;
}

/// The host forms of the item kinds of omif_DesignCreate.
Host hostOf(const Item &item, bool isObject) {
  if (item.pointer == 'p' && item.count == 0) {
    if (item.kind == 'c') return Host::kText;
    if (item.kind == 'C') return Host::kBytes;
    if (item.kind == 'd') return Host::kDoubles;
  }
  if (item.count != 1 || item.pointer == 'p') return Host::kNone;
  if (isObject) return item.pointer ? Host::kPointer : Host::kRecord;
  if (item.pointer) return Host::kNone;
  if (item.kind == 'l') return Host::kInt32;
  if (item.kind == 'e') return Host::kEnumeration;
  if (item.kind == 'd') return Host::kDouble;
  return Host::kNone;
}

const Plan &cachedPlan(const Omif_Design &design, int depth);

/// Places the hosted steps in a record.
void placeInRecord(Plan &plan) {
  for (Step &step : plan.steps) {
    const Room room = roomOf(step);
    const size_t offset = alignedUp(plan.hostSize, room.alignment);
    step.offset = static_cast<uint32_t>(offset);
    plan.hostSize = offset + room.size;
    plan.hostAlignment = std::max(plan.hostAlignment, room.alignment);
  }
  plan.hostSize = alignedUp(plan.hostSize, plan.hostAlignment);
  if (plan.design->hostSize == 0) return;
  if (plan.design->hostSize < plan.hostSize)
    refuse(kUnusable, "Records of design \"%s\" are said to be smaller than their items",
           plan.design->name.c_str());
  plan.hostSize = plan.design->hostSize;
}

void bindToItself(Plan &plan) {
  plan.self.written = plan.self.host = &plan;
  for (const Step &step : plan.steps) {
    Link link;
    if (step.host != Host::kNone) link.host = &step;
    if (step.element) link.inner = &step.element->self;
    plan.self.links.push_back(std::move(link));
  }
}

[[noreturn]] void refuseDepth(const Omif_Design &design) {
  refuse(kUnusable, "References through design \"%s\" are deeper than 64", design.name.c_str());
}

/// `names` holds the designs that the pointers name.
std::unique_ptr<Plan> compile(const Omif_Design &design, const Omif_Dictionary *names, int depth) {
  const char *designName = design.name.c_str();
  if (depth > kDeepest) refuseDepth(design);
  auto plan = std::make_unique<Plan>();
  plan->design = &design;
  uint64_t least = 0;
  for (const Item &item : design.items) {
    const Plan *element = nullptr;
    if (item.inPlace) {
      plan->inPlace.push_back(compile(*item.inPlace, names, depth + 1));
      element = plan->inPlace.back().get();
    } else if (item.kind == 'o') {
      const Omif_Design *named = names ? names->find(item.design) : nullptr;
      if (!named)
        refuse(kUnusable, "Item \"%s\" of design \"%s\" names \"%s\", which is not there",
               item.name.c_str(), designName, item.design.c_str());
      element = &cachedPlan(*named, depth + 1);
    }
    if (element) plan->depth = std::max(plan->depth, element->depth + 1);
    const auto count = static_cast<uint64_t>(item.count);
    const uint64_t bytes = item.pointer ? kPointerBytes
                           : element    ? count * element->least
                                        : bytesOf(item.kind, count);
    if (bytes == 0) continue;
    least += bytes;
    plan->items += element && !item.pointer ? element->items : 1;
    if (plan->depth > kDeepest) refuseDepth(design);
    if (least >= kLargestObject || plan->items > kMostItems)
      refuse(kUnusable, "Design \"%s\" is too large at item \"%s\"", designName, item.name.c_str());
    const Host host = hostOf(item, element);
    if (!plan->unhosted && (host == Host::kNone || (element && element->unhosted)))
      plan->unhosted = &item;
    plan->steps.push_back({.item = &item,
                           .count = static_cast<uint32_t>(item.count),
                           .least = static_cast<uint32_t>(bytes),
                           .element = element,
                           .host = host,
                           .offset = 0});
  }
  plan->least = static_cast<uint32_t>(least);
  placeInRecord(*plan);
  bindToItself(*plan);
  return plan;
}

const Plan &cachedPlan(const Omif_Design &design, int depth) {
  if (const Plan *known = design.plan.load(std::memory_order_acquire)) return *known;
  const Plan *made = compile(design, design.names(), depth).release();
  design.plan.store(made, std::memory_order_release);
  return *made;
}

/// Whether a written item can be kept as the host's.
bool fits(const Step &from, const Step &to) {
  const Item &item = *from.item;
  const bool single = !item.pointer && item.count == 1 && !from.element;
  const auto isOneOf = [&](std::string_view kinds) {
    return !from.element && kinds.find(item.kind) != std::string_view::npos;
  };
  switch (to.host) {
    case Host::kInt32:
      return single && isOneOf("124CsStlLe");
    case Host::kEnumeration:
      return single && isOneOf("e");
    case Host::kDouble:
      return single && isOneOf("df");
    case Host::kText:
      return isOneOf("c");
    case Host::kBytes:
      return item.pointer && isOneOf("C");
    case Host::kDoubles:
      return item.pointer && isOneOf("df");
    case Host::kPointer:
      return from.element && (item.pointer == 'p' || (item.pointer && item.count == 1));
    case Host::kRecord:
      return from.element && !item.pointer && item.count == 1;
    default:
      return false;
  }
}

bool beginsWith(const HeapVector<HeapText> &longer, const HeapVector<HeapText> &shorter) {
  return shorter.size() <= longer.size() &&
         std::equal(shorter.begin(), shorter.end(), longer.begin());
}

template <class Value>
using ByName =
    std::unordered_map<std::string_view, Value, std::hash<std::string_view>, std::equal_to<>,
                       HeapAllocator<std::pair<const std::string_view, Value>>>;

HeapVector<int32_t> numbersByName(const HeapVector<HeapText> &written,
                                  const HeapVector<HeapText> &host) {
  HeapVector<int32_t> numbers;
  if (beginsWith(written, host) || beginsWith(host, written)) return numbers;
  ByName<int32_t> known;
  int32_t number = 0;
  for (const HeapText &name : host) known.emplace(name, number++);
  for (const HeapText &name : written) {
    const auto found = known.find(name);
    numbers.push_back(found == known.end() ? -1 : found->second);
  }
  return numbers;
}

}  // namespace

void refuse(int32_t code, const char *format, ...) {
  Refusal refusal;
  refusal.code = code;
  va_list values;
  va_start(values, format);
  std::vsnprintf(refusal.text, sizeof refusal.text, format, values);
  va_end(values);
  throw refusal;
}

const Plan &planOf(const Omif_Design &design) {
  if (const Plan *known = design.plan.load(std::memory_order_acquire)) return *known;
  const Guard guard;  // dictionaries that threads share grow inside of it
  return cachedPlan(design, 1);
}

const Plan &hostPlanOf(const Omif_Design &design) {
  const Plan &plan = planOf(design);
  if (plan.unhosted)
    refuse(kUnusable, "Item \"%s\" of design \"%s\" has no form in memory",
           plan.unhosted->name.c_str(), design.name.c_str());
  return plan;
}

Codec::Codec(const Omif_Design &host, const Omif_Design &written)
    : binding_(&bind(planOf(written), hostPlanOf(host))) {}

const Binding &Codec::bind(const Plan &written, const Plan &host) {
  if (&written == &host) return host.self;
  const auto [place, isNew] = made_.try_emplace({&written, &host});
  Binding &binding = place->second;
  if (!isNew) return binding;
  binding.written = &written;
  binding.host = &host;
  ByName<const Step *> open;
  for (const Step &step : host.steps) open.emplace(step.item->name, &step);
  for (const Step &from : written.steps) {
    const auto found = open.find(from.item->name);
    binding.links.push_back(found == open.end() ? Link() : link(written, from, *found->second));
    if (found != open.end()) open.erase(found);  // of two items of one name the first counts
  }
  for (const auto &[name, step] : open) binding.unwritten.push_back(step);
  return binding;
}

Link Codec::link(const Plan &written, const Step &from, const Step &to) {
  if (!fits(from, to))
    refuse(kMismatch, "Item \"%s\" of design \"%s\" is of another kind than expected",
           from.item->name.c_str(), written.design->name.c_str());
  Link link;
  link.host = &to;
  if (from.element) link.inner = &bind(*from.element, *to.element);
  if (to.host == Host::kEnumeration)
    link.numbers = numbersByName(from.item->values, to.item->values);
  return link;
}

}  // namespace orvik::toolkit::mif

void Omif_Design::forgetWhatIsKept() {
  delete plan.exchange(nullptr, std::memory_order_relaxed);
  omsc_HeapFree(text.exchange(nullptr, std::memory_order_relaxed));
  for (orvik::toolkit::mif::Item &item : items)
    if (item.inPlace) item.inPlace->forgetWhatIsKept();
}
