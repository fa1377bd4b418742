// Decisions kept by contents (recall.h).
#include "pipeline/recall.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstring>
#include <functional>
#include <new>
#include <thread>
#include <type_traits>

#include "lanes/kernels.h"
#include "pipeline/function_sets.h"

namespace orvik::oprj {

namespace {

/// Systems with longer texts or arrays are not kept: none of the tables has such.
constexpr size_t kLongestText = 64;
constexpr size_t kMostEntries = 16;
constexpr size_t kMostParameters = 8;
/// Pairs that a thread may alternate between.
constexpr int kKept = 2;
/// Places for the threads of the process, by what their identities come to.
constexpr int kPlaceBits = 6;
constexpr int kPlaces = 1 << kPlaceBits;
/// The comparison of State Plane systems asks the zone table.
constexpr int32_t kStatePlane = 2;

class TextImage {
 public:
  bool take(const Oprj_CharStr &text) {
    count_ = text.count;
    const size_t size = std::strlen(textOf(text)) + 1;
    if (size > kLongestText) return false;
    std::memcpy(text_, textOf(text), size);
    return true;
  }
  bool is(const Oprj_CharStr &text) const {
    return count_ == text.count && std::strcmp(text_, textOf(text)) == 0;
  }

 private:
  int32_t count_;
  char text_[kLongestText];
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
           (values.empty() || std::memcmp(values_, values.data(), values.size_bytes()) == 0);
  }

 private:
  int32_t count_;
  size_t size_;
  double values_[kMost];
};

/// The object of a handle whose every part is the native set's own; null for others.
const Oprj_MapProjection *plainObject(const Oprj_MapProjectionEx *handle) {
  if (!handle || handle->functions != &kNativeSet || !handle->ownedData ||
      handle->applyInverse != kNativeSet.applyInverse || handle->apply != kNativeSet.apply)
    return nullptr;
  const auto *object = static_cast<const Oprj_MapProjection *>(handle->ownedData);
  const auto *record = object->proParameters;
  const bool whole = record && record->proSpheroid && record->proSpheroid->datum;
  return whole ? object : nullptr;
}

bool sameBits(double first, double second) {
  return std::bit_cast<uint64_t>(first) == std::bit_cast<uint64_t>(second);
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
    return !record.proExeName.data && number_ != kStatePlane && entries_.take(record.proParams) &&
           name_.take(record.proName) && sphere_.take(spheroid.sphereName) &&
           datum_.take(datum.datumname) && parameters_.take(datum.params);
  }
  bool is(const Oprj_MapProjection &object) const {
    const auto &record = *object.proParameters;
    const auto &spheroid = *record.proSpheroid;
    const auto &datum = *spheroid.datum;
    return zone_ == record.proZone && number_ == record.proNumber && type_ == record.proType &&
           test_ == object.proParametersEqual && !record.proExeName.data &&
           sameBits(a_, spheroid.a) && sameBits(b_, spheroid.b) &&
           sameBits(eSquared_, spheroid.eSquared) && sameBits(radius_, spheroid.radius) &&
           datumType_ == datum.type && entries_.is(record.proParams) &&
           parameters_.is(datum.params) && datum_.is(datum.datumname) &&
           sphere_.is(spheroid.sphereName) && name_.is(record.proName);
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
  int32_t instructions;  ///< the shift holds a formula of this set
  SystemImage in, out;
  alignas(Decision) std::byte decision[sizeof(Decision)];
};
static_assert(std::is_trivially_destructible_v<Decision>);

/// Where a thread keeps its decisions; another that shares the place by chance finds its own there
/// or nothing.
struct Place {
  std::atomic_flag taken;
  int last;  ///< the one that served last is looked at first
  Kept kept[kKept];
};
// Static, all zero: neither heap nor thread-local data, which could run out.
constinit Place places[kPlaces]{};

/// The calling thread's place while nobody else is in it; no one waits.
class Claim {
 public:
  Claim() {
    // neighbouring threads lie a stack apart
    const uint64_t thread = std::hash<std::thread::id>()(std::this_thread::get_id());
    place_ = &places[thread * kSpread >> (64 - kPlaceBits)];
    if (place_->taken.test_and_set(std::memory_order_acquire)) place_ = nullptr;
  }
  ~Claim() {
    if (place_) place_->taken.clear(std::memory_order_release);
  }
  Claim(const Claim &) = delete;
  Claim &operator=(const Claim &) = delete;
  Place *place() const { return place_; }

 private:
  static constexpr uint64_t kSpread = 0x9E3779B97F4A7C15;  // 2^64 over the golden ratio
  Place *place_;
};

}  // namespace

bool recall(const Oprj_MapProjectionEx *in, const Oprj_MapProjectionEx *out, Decision &decision) {
  const auto *from = plainObject(in), *to = plainObject(out);
  if (!from || !to || in->title != out->title) return false;
  const Claim claim;
  Place *place = claim.place();
  for (int i = 0; place && i < kKept; ++i) {
    const int number = (place->last + i) % kKept;
    const Kept &kept = place->kept[number];
    if (!kept.used || kept.instructions != instructionSet || kept.title != in->title ||
        !kept.in.is(*from) || !kept.out.is(*to))
      continue;
    place->last = number;
    decision = *std::launder(reinterpret_cast<const Decision *>(kept.decision));
    return true;
  }
  return false;
}

void remember(const Oprj_MapProjectionEx *in, const Oprj_MapProjectionEx *out,
              const Decision &decision) {
  const auto *from = plainObject(in), *to = plainObject(out);
  if (!from || !to || in->title != out->title) return;
  const Claim claim;
  Place *place = claim.place();
  if (!place) return;
  place->last = (place->last + 1) % kKept;
  Kept &kept = place->kept[place->last];
  kept.used = kept.in.take(*from) && kept.out.take(*to);
  kept.title = in->title;
  kept.instructions = instructionSet;
  new (kept.decision) Decision(decision);
}

}  // namespace orvik::oprj
