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
/// The comparison of State Plane systems asks the zone table.
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
    return type_ == OPRJ_INTERNAL && !record.proExeName.data && number_ != kStatePlane &&
           entries_.take(record.proParams) && name_.take(record.proName) &&
           sphere_.take(spheroid.sphereName) && datum_.take(datum.datumname) &&
           parameters_.take(datum.params);
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

bool recall(const Oprj_MapProjectionEx *in, const Oprj_MapProjectionEx *out,
            std::optional<Decision> &decision) {
  const auto *from = plainObject(in), *to = plainObject(out);
  if (!from || !to || in->title != out->title) return false;
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
  Place *const place = ownPlace();
  if (!place) return;
  place->last = (place->last + 1) % kKept;
  Kept &kept = place->kept[place->last];
  kept.used = kept.in.take(*from) && kept.out.take(*to);
  kept.title = in->title;
  new (kept.decision) Decision(decision);
}

}  // namespace orvik::oprj
