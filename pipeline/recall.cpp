// Decisions kept by contents (recall.h).
#include "pipeline/recall.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstring>
#include <new>
#include <type_traits>

#include "datum/shift/tally.h"
#include "pipeline/function_sets.h"

namespace orvik::oprj {

namespace {

/// Systems with longer texts or arrays are not kept: none of the tables has such.
constexpr size_t kLongestText = 64;
constexpr size_t kMostEntries = 16;
constexpr size_t kMostParameters = 8;
/// Pairs that a thread may alternate between.
constexpr int kKept = 2;
/// Places for the threads of the process, and how many of them a thread tries.
constexpr int kPlaceBits = 7;
constexpr int kPlaces = 1 << kPlaceBits;
constexpr int kTried = 8;
/// Plans that a handle keeps.
constexpr int kMostPlans = 8;
/// Two systems of this projection are compared by the zone table.
constexpr int32_t kStatePlane = 2;

/// The bits in which two numbers differ.
uint64_t apart(double first, double second) {
  return std::bit_cast<uint64_t>(first) ^ std::bit_cast<uint64_t>(second);
}
uint64_t apart(int32_t first, int32_t second) { return static_cast<uint32_t>(first ^ second); }

/// memcmp of few bytes, which a call would cost more than: in the widest pieces that fit, the last
/// of which may overlap another.
template <class Piece>
inline bool sameIn(const char *first, const char *second, size_t count) {
  const auto apartAt = [&](size_t at) {
    Piece one, other;
    std::memcpy(&one, first + at, sizeof one);
    std::memcpy(&other, second + at, sizeof other);
    return one ^ other;
  };
  Piece found = apartAt(count - sizeof found);
  for (size_t i = 0; i + sizeof found < count; i += sizeof found) found |= apartAt(i);
  if constexpr (sizeof found > sizeof(uint64_t)) return (found[0] | found[1]) == 0;
  else return found == 0;
}
inline bool sameBytes(const void *first, const void *second, size_t count) {
  using Two = uint64_t __attribute__((vector_size(16)));
  const auto *one = static_cast<const char *>(first), *other = static_cast<const char *>(second);
  if (count >= sizeof(Two)) return sameIn<Two>(one, other, count);
  if (count >= sizeof(uint64_t)) return sameIn<uint64_t>(one, other, count);
  if (count >= sizeof(uint32_t)) return sameIn<uint32_t>(one, other, count);
  return count == 0 || std::memcmp(one, other, count) == 0;
}

class TextImage {
 public:
  bool take(const Oprj_CharStr &text) {
    data_ = text.data;
    count_ = text.count;
    const Oprj_Char *const units = unitsOf(text);
    const size_t size = lengthOf(units) + 1;
    if (size > kLongestText) return false;
    std::copy_n(units, size, text_);
    counted_ = text.data && text.count > 0 && size == static_cast<size_t>(text.count);
    return true;
  }
  bool is(const Oprj_CharStr &text) const {
    if (count_ != text.count) return false;
    // the same memory is read whole; how far other memory reaches only its zero tells
    if (counted_ && data_ == text.data)
      return sameBytes(text_, text.data, static_cast<size_t>(count_) * sizeof(Oprj_Char));
    return sameUnits(text_, unitsOf(text));
  }

 private:
  const Oprj_Char *data_;
  int32_t count_;
  bool counted_;  ///< the count is that of the text and its zero
  Oprj_Char text_[kLongestText];
};

template <size_t kMost>
class ArrayImage {
 public:
  bool take(const Oprj_DblArray &array) {
    count_ = array.count;
    const auto values = elementsOf(array);
    size_ = values.size();
    if (size_ > kMost) return false;
    std::copy(values.begin(), values.end(), values_);
    return true;
  }
  bool is(const Oprj_DblArray &array) const {
    const auto values = elementsOf(array);
    return count_ == array.count && size_ == values.size() &&
           sameBytes(values_, values.data(), values.size_bytes());
  }

 private:
  int32_t count_;
  size_t size_;
  double values_[kMost];
};

/// The object of a handle whose every part is the native set's own; null for others.
inline const Oprj_MapProjection *plainObject(const Oprj_MapProjectionEx *handle) {
  if (!handle || handle->functions != &kNativeSet || !handle->ownedData ||
      handle->applyInverse != kNativeSet.applyInverse || handle->apply != kNativeSet.apply)
    return nullptr;
  const auto *object = static_cast<const Oprj_MapProjection *>(handle->ownedData);
  const auto *record = object->proParameters;
  const bool whole = record && record->proSpheroid && record->proSpheroid->datum;
  return whole ? object : nullptr;
}

/// All of a system that comparing and shifting look at.
class SystemImage {
 public:
  bool take(const Oprj_MapProjection &object) {
    const auto &record = *object.proParameters;
    const auto &spheroid = *record.proSpheroid;
    const auto &datum = *spheroid.datum;
    test_ = object.proParametersEqual;
    type_ = record.proType;
    number_ = record.proNumber;
    zone_ = record.proZone;
    a_ = spheroid.a;
    b_ = spheroid.b;
    eSquared_ = spheroid.eSquared;
    radius_ = spheroid.radius;
    datumType_ = datum.type;
    return type_ == OPRJ_INTERNAL && !record.proExeName.data && entries_.take(record.proParams) &&
           name_.take(record.proName) && sphere_.take(spheroid.sphereName) &&
           datum_.take(datum.datumname) && parameters_.take(datum.params);
  }
  bool is(const Oprj_MapProjection &object) const {
    const auto &record = *object.proParameters;
    const auto &spheroid = *record.proSpheroid;
    const auto &datum = *spheroid.datum;
    // one branch for all the numbers: they are the same nearly always
    const uint64_t found = apart(zone_, record.proZone) | apart(number_, record.proNumber) |
                           apart(type_, record.proType) | apart(datumType_, datum.type) |
                           apart(a_, spheroid.a) | apart(b_, spheroid.b) |
                           apart(eSquared_, spheroid.eSquared) | apart(radius_, spheroid.radius);
    return found == 0 && test_ == object.proParametersEqual && !record.proExeName.data &&
           entries_.is(record.proParams) && parameters_.is(datum.params) &&
           datum_.is(datum.datumname) && sphere_.is(spheroid.sphereName) &&
           name_.is(record.proName);
  }

 private:
  Oprj_ParametersTest test_;
  int32_t type_, number_, zone_, datumType_;
  double a_, b_, eSquared_, radius_;
  ArrayImage<kMostEntries> entries_;
  ArrayImage<kMostParameters> parameters_;
  TextImage name_, sphere_, datum_;
};

/// The datum that the plans of a pair are kept with: the first of a grid. Null where none is, or
/// where the shift depends on more than contents and grid files.
Oprj_Datum *gridDatum(const Oprj_MapProjection &in, const Oprj_MapProjection &out) {
  Oprj_Datum *found = nullptr;
  for (const auto *object : {&out, &in}) {
    Oprj_Datum *datum = object->proParameters->proSpheroid->datum;
    if (datum->type == OPRJ_DATUM_SURFACE) return nullptr;
    if (datum->type == OPRJ_DATUM_GRID) found = datum;
  }
  return found;
}

/// What a plan has open under the name of a file, for a datum to have; null without, or without
/// memory.
std::unique_ptr<Oprj_GridData> openedAs(const Oprj_Char *file, const ShiftPlan &plan) {
  const SharedImage image = plan.imageOf(file);
  try {
    if (image) return std::unique_ptr<Oprj_GridData>(new Oprj_GridData{{}, image, {}});
  } catch (const std::bad_alloc &) {
    // the next call tries again
  }
  return nullptr;
}

/// What hangs at a datum, which several threads may have come to.
std::atomic_ref<Oprj_GridData *> openedBy(Oprj_Datum &datum) {
  return std::atomic_ref(datum.gridData);
}

struct Kept {
  bool used;
  const char *title;
  SystemImage in, out;
  alignas(Decision) std::byte decision[sizeof(Decision)];
};
static_assert(std::is_trivially_destructible_v<Decision>);

/// Where a thread keeps its decisions. It belongs to the first thread that takes it, for good, so
/// that nobody ever waits, and to those that come to stand at the same address after it.
struct Place {
  std::atomic<const void *> owner;
  int last;  ///< the one that served last is looked at first
  Kept kept[kKept];
};
// Static, all zero: neither heap nor thread-local data, which could run out.
constinit Place places[kPlaces]{};

/// The calling thread's place; null when others have all that it tries. A locked instruction on
/// each call would wait for the results of the call before.
Place *ownPlace() {
  constexpr uint64_t kSpread = 0x9E3779B97F4A7C15;  // 2^64 over the golden ratio
  const void *const self = &shiftTally();           // what only this thread has tells it apart
  const uint64_t start = reinterpret_cast<uintptr_t>(self) * kSpread >> (64 - kPlaceBits);
  for (uint64_t i = start; i < start + kTried; ++i) {
    Place &place = places[i % kPlaces];
    const void *owner = place.owner.load(std::memory_order_relaxed);
    if (owner == self) [[likely]]
      return &place;
    if (!owner && place.owner.compare_exchange_strong(owner, self, std::memory_order_relaxed))
      return &place;
  }
  return nullptr;
}

}  // namespace

// --- plans ---

struct KeptPlan::Ends : toolkit::HeapRecord {
  SystemImage in, out;
};

KeptPlan::KeptPlan() : lookedUp_(std::chrono::steady_clock::now()) {}
KeptPlan::~KeptPlan() = default;

std::unique_ptr<KeptPlan> KeptPlan::make(const Oprj_MapProjectionEx *in,
                                         const Oprj_MapProjectionEx *out) {
  const auto *from = plainObject(in), *to = plainObject(out);
  if (!from || !to || !gridDatum(*from, *to)) return nullptr;
  try {
    std::unique_ptr<KeptPlan> made(new KeptPlan);
    made->ends_.reset(new Ends);
    if (made->ends_->in.take(*from) && made->ends_->out.take(*to)) return made;
  } catch (const std::bad_alloc &) {
    // the call can do without
  }
  return nullptr;
}

void KeptPlan::keep(std::unique_ptr<KeptPlan> &made, const Oprj_MapProjectionEx *in,
                    const Oprj_MapProjectionEx *out) {
  if (!made) return;
  Oprj_Datum &datum = *gridDatum(*plainObject(in), *plainObject(out));
  Oprj_GridData *grid = openedBy(datum).load(std::memory_order_acquire);
  if (!grid) {
    std::unique_ptr<Oprj_GridData> opened = openedAs(unitsOf(datum.gridname), made->plan);
    if (!opened) return;
    if (openedBy(datum).compare_exchange_strong(grid, opened.get())) grid = opened.release();
  }
  int count = 0;
  for (const Prepared *other = grid->prepared.newest(); other; other = other->next) ++count;
  if (count < kMostPlans) grid->prepared.add(std::move(made));
}

bool KeptPlan::isCurrent(const Oprj_MapProjectionEx *in, const Oprj_MapProjectionEx *out) const {
  const auto now = std::chrono::steady_clock::now();
  if (now - lookedUp_.load(std::memory_order_relaxed) < kLookAgain) return true;
  if (oprj_MapProjectionEqual(in, out, nullptr) || !plan.isCurrent()) return false;
  lookedUp_.store(now, std::memory_order_relaxed);
  return true;
}

const ShiftPlan *KeptPlan::find(const Oprj_MapProjectionEx *in, const Oprj_MapProjectionEx *out) {
  const auto *from = plainObject(in), *to = plainObject(out);
  Oprj_Datum *const datum = gridDatum(*from, *to);
  const Oprj_GridData *grid = datum ? openedBy(*datum).load(std::memory_order_acquire) : nullptr;
  for (const Prepared *made = grid ? grid->prepared.newest() : nullptr; made; made = made->next) {
    const auto &kept = static_cast<const KeptPlan &>(*made);
    if (kept.ends_->in.is(*from) && kept.ends_->out.is(*to) && kept.isCurrent(in, out))
      return &kept.plan;
  }
  return nullptr;
}

// --- decisions ---

bool recall(const Oprj_MapProjectionEx *in, const Oprj_MapProjectionEx *out,
            std::optional<Decision> &decision, const ShiftPlan *&plan) {
  const auto *from = plainObject(in), *to = plainObject(out);
  if (!from || !to || in->title != out->title) return false;
  plan = KeptPlan::find(in, out);
  if (plan) {
    decision.emplace().shifts = true;
    return true;
  }
  Place *const place = ownPlace();
  for (int i = 0; place && i < kKept; ++i) {
    const int number = (place->last + i) % kKept;
    const Kept &kept = place->kept[number];
    if (!kept.used || kept.title != in->title || !kept.in.is(*from) || !kept.out.is(*to)) continue;
    place->last = number;
    decision.emplace(*std::launder(reinterpret_cast<const Decision *>(kept.decision)));
    return true;
  }
  return false;
}

void remember(const Oprj_MapProjectionEx *in, const Oprj_MapProjectionEx *out,
              const Decision &decision) {
  const auto *from = plainObject(in), *to = plainObject(out);
  if (!from || !to || in->title != out->title) return;
  if (from->proParameters->proNumber == kStatePlane && to->proParameters->proNumber == kStatePlane)
    return;
  Place *const place = ownPlace();
  if (!place) return;
  place->last = (place->last + 1) % kKept;
  Kept &kept = place->kept[place->last];
  kept.used = kept.in.take(*from) && kept.out.take(*to);
  kept.title = in->title;
  new (kept.decision) Decision(decision);
}

}  // namespace orvik::oprj
