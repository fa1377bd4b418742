// What designs and dictionaries are made of, for the sources that read, compile and walk them.
#ifndef OPRJ_TOOLKIT_DESIGN_H
#define OPRJ_TOOLKIT_DESIGN_H

#include <oprj/omif.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string_view>
#include <unordered_map>

#include "toolkit/heap.h"

namespace orvik::toolkit::mif {

constexpr int kDeepest = 64;  // designs inside of designs, written in place or named

struct Plan;  // toolkit/mif_plan.h

struct Item {
  HeapText name;
  int32_t count = 1;
  char pointer = 0;
  char kind = 0;
  int64_t offset = -1;                   // in a record; no part of what a design says
  HeapText design;                       // kind 'o'
  HeapVector<HeapText> values;           // kind 'e'
  std::unique_ptr<Omif_Design> inPlace;  // kind 'x'
  HeapVector<const char *> valueNames;   // `values` as Omif_ItemInfo shows them; see seal()

  Item() = default;
  Item(Item &&) = default;
  Item(const Item &other);
  bool operator==(const Item &other) const;

  Omif_ItemInfo info() const;
};

}  // namespace orvik::toolkit::mif

struct Omif_Design : orvik::toolkit::HeapRecord {
  orvik::toolkit::HeapText name;
  orvik::toolkit::HeapVector<orvik::toolkit::mif::Item> items;
  const Omif_Dictionary *owner = nullptr;
  int depth = 1;
  size_t hostSize = 0;  ///< bytes of a record with members behind its items; 0: of the items
  /// Of a copy that no dictionary owns: what its pointers name.
  std::unique_ptr<Omif_Dictionary> companions;
  // Made on first use inside the guard, and kept.
  mutable std::atomic<const orvik::toolkit::mif::Plan *> plan{nullptr};  ///< how objects are walked
  mutable std::atomic<char *> text{nullptr};                             ///< omif_DesignText

  Omif_Design() = default;
  Omif_Design(const Omif_Design &other);
  Omif_Design &operator=(const Omif_Design &) = delete;
  ~Omif_Design();

  /// To be called when the items stand where they will stay: makes the lists that point into them.
  void seal();
  /// Forgets plan and text, because what the names mean changes.
  void forgetWhatIsKept();
  /// The designs that its pointers name are looked for here; null: nowhere.
  const Omif_Dictionary *names() const { return owner ? owner : companions.get(); }
  bool operator==(const Omif_Design &other) const {
    return name == other.name && items == other.items;
  }
};

struct Omif_Dictionary : orvik::toolkit::HeapRecord {
  using Place = std::pair<const std::string_view, size_t>;

  orvik::toolkit::HeapVector<std::unique_ptr<Omif_Design>> designs;
  std::unordered_map<std::string_view, size_t, std::hash<std::string_view>, std::equal_to<>,
                     orvik::toolkit::HeapAllocator<Place>>
      places;

  /// Where the design of that name stands; the number of designs when there is none.
  size_t placeOf(std::string_view name) const {
    const auto found = places.find(name);
    return found == places.end() ? designs.size() : found->second;
  }
  Omif_Design *find(std::string_view name) const {
    const size_t place = placeOf(name);
    return place < designs.size() ? designs[place].get() : nullptr;
  }
  /// Takes the design over; when memory runs out, the dictionary and `design` are as before.
  Omif_Design *adopt(std::unique_ptr<Omif_Design> &design) {
    if (designs.size() == designs.capacity())
      designs.reserve(std::max<size_t>(8, 2 * designs.size()));
    places.emplace(design->name, designs.size());
    design->owner = this;
    design->forgetWhatIsKept();
    design->companions.reset();
    designs.push_back(std::move(design));
    return designs.back().get();
  }
};

namespace orvik::toolkit::mif {

/// Copies of the designs that the pointers of `design` name, directly or through others, each
/// before those that name it; what its dictionary lacks is left out. Null when it names none.
std::unique_ptr<Omif_Dictionary> companionsOf(const Omif_Design &design);

}  // namespace orvik::toolkit::mif

#endif
