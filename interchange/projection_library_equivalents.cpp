// Systems that mean the same: Transverse Mercator under its three numbers, and the index by which
// a library's items are found.
#include <oprj/engine.h>
#include <oprj/families.h>
#include <oprj/translation.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "interchange/projection_library_content.h"
#include "interchange/text_slots.h"
#include "interchange/transverse_mercator.h"
#include "pipeline/function_sets.h"
#include "tables/reference_data.h"

namespace orvik::oprj {
namespace {

constexpr int32_t kUTM = 1, kStatePlane = 2, kTransverseMercator = 9, kGaussKruger = 36;

// Tolerances within which two systems are one.
constexpr double kSameAngle = TransverseMercator::kSameAngle;
constexpr double kSameAxis = 1e-5;    // m
constexpr double kSameFactor = 1e-9;  // of units, relative

bool near(double first, double second, double tolerance) {
  return std::fabs(first - second) <= tolerance;
}

/// Of a record of number 1, 9 or 36 that can be projected; nothing for others. Throws
/// std::bad_alloc.
std::optional<TransverseMercator> transverseMercatorOf(Oint_Toolkit *toolkit,
                                                       const Oprj_ProParameters &record) {
  if (record.proType != OPRJ_INTERNAL || asksForEngine(record)) return {};
  OwnedParameters details;
  if (record.proNumber == kUTM) {
    constexpr int32_t kTooFew = 2, kNoZone = 4;
    Oerr_Report *report = nullptr;
    details.reset(oprj_UTMDetailsGet(toolkit, &record, &report));
    const int32_t code = oerr_CodeGet(report);
    oerr_DeleteErrorReport(&report);
    if (!details && code != kTooFew && code != kNoZone) throw std::bad_alloc();
    if (!details) return {};
  } else if (record.proNumber != kTransverseMercator && record.proNumber != kGaussKruger) {
    return {};
  }
  const auto slots = elementsOf((details ? *details : record).proParams);
  constexpr size_t kNeeded = 8;
  if (slots.size() < kNeeded) return {};
  return TransverseMercator{TransverseMercator::wrapped(slots[4]), slots[5], slots[2], slots[6],
                            slots[7]};
}

/// The axes agree, and the datums' names. An undefined datum is equal to itself alone.
bool sameEarth(const Oprj_Spheroid &first, const Oprj_Spheroid &second) {
  const bool undefined = isUndefined(first.datum);
  return near(first.a, second.a, kSameAxis) && near(first.b, second.b, kSameAxis) &&
         undefined == isUndefined(second.datum) &&
         (undefined ||
          std::strcmp(textOf(first.datum->datumname), textOf(second.datum->datumname)) == 0);
}

/// Whether the spheroids of two records can be equal as the native set compares them, which takes
/// an undefined datum for any. Tells most items apart before the comparison does.
bool mayBeEqual(const Oprj_Spheroid &first, const Oprj_Spheroid &second) {
  constexpr double kOtherAxis = 2 * kSameAxis;
  return near(first.a, second.a, kOtherAxis) && near(first.b, second.b, kOtherAxis) &&
         (isUndefined(first.datum) || isUndefined(second.datum) ||
          std::strcmp(textOf(first.datum->datumname), textOf(second.datum->datumname)) == 0);
}

/// The entries that the comparison of a record's family looks at, asked of it: those whose change
/// makes a difference. Families compare entries exactly.
uint32_t comparedEntries(const Oprj_ProParameters &record, Oprj_ParametersTest equal) {
  const OwnedParameters changed(oprj_ProParametersCopy(&record, nullptr, nullptr));
  if (!changed || !equal) return 0;
  uint32_t compared = 0;
  for (int32_t i = 0; i < std::min(changed->proParams.count, kLeastSlots); ++i) {
    double &entry = changed->proParams.data[i];
    const double value = std::exchange(entry, 2 * std::fabs(entry) + 1);
    Oerr_Report *report = nullptr;
    if (!equal(&record, changed.get(), &report) && !report) compared |= 1u << i;
    oerr_DeleteErrorReport(&report);
    entry = value;
  }
  return compared;
}

using OwnedSystem =
    std::unique_ptr<Oawp_PE_COORDSYS,
                    decltype([](Oawp_PE_COORDSYS *system) { oawp_PE_pe_coordsys_del(system); })>;

/// Throws std::bad_alloc.
bool sameText(const Oawp_PE_COORDSYS *first, const Oawp_PE_COORDSYS *second) {
  const bool equal = oawp_PE_pe_coordsys_eq(first, second) != 0;
  Oerr_Report *report = nullptr;
  oawp_PE_ReportTake(&report);
  const bool failed = report != nullptr;
  oerr_DeleteErrorReport(&report);
  if (failed) throw std::bad_alloc();
  return equal;
}

/// The unit of an item's points; null for one that is not known.
const Ocvt_Unit *unitOf(const LibraryItem &item, const Oprj_ProParameters &record) {
  if (item.told.unit) return ocvt_UnitSetByName(item.told.unit, nullptr);
  OwnedText name;
  if (item.system.string) {
    const OwnedSystem system(oawp_PE_pe_coordsys_from_string(item.system.string));
    name.reset(oprj_COORDSYSUnitName(system.get(), nullptr));
    if (!name) throw std::bad_alloc();  // the text has been read before
  }
  return ocvt_UnitSetByName(
      name ? Utf8(name.get()) : textOf(isGeographic(record) ? "dd" : "meters"), nullptr);
}

}  // namespace

struct EquivalentIndex::Entries {
  /// An item that Transverse Mercator tells.
  struct Meridian {
    TransverseMercator projection;
    int32_t item;
    double factor;  ///< of the unit
    OwnedSpheroid earth;
  };
  /// Any other item.
  struct Other {
    int32_t item;
    double factor;
    OwnedParameters record;
    OwnedSystem system;  ///< of a text without a number
  };

  Oint_Toolkit *toolkit;
  std::vector<Meridian> meridians;                          ///< by rising meridian
  std::unordered_map<uint64_t, std::vector<Other>> others;  ///< by their keys, in their order
  std::unordered_map<int32_t, uint32_t> compared;           ///< entries, by number

  /// Equal systems have one key: of the number and the entries that its family compares. A State
  /// Plane zone has several numbers.
  uint64_t keyOf(const Oprj_ProParameters *record) const {
    uint64_t key = 14695981039346656037u;  // FNV-1a
    const auto add = [&key](uint64_t value) { key = (key ^ value) * 1099511628211u; };
    if (!record || record->proType != OPRJ_INTERNAL || asksForEngine(*record)) return key;
    add(static_cast<uint64_t>(record->proNumber));
    if (record->proNumber == kStatePlane)
      add(std::bit_cast<uintptr_t>(
          oprj_SPEntryByZoneNumber(toolkit, record->proZone, oprj_NADCodeGet(record), nullptr)));
    const auto found = compared.find(record->proNumber);
    const auto entries = elementsOf(record->proParams);
    for (size_t i = 0; found != compared.end() && i < std::min<size_t>(entries.size(), 32); ++i) {
      if (found->second >> i & 1u) add(std::bit_cast<uint64_t>(entries[i] + 0.0));  // -0 is 0
    }
    return key;
  }

  /// Learns which entries a number's family compares from the first record that it can project.
  void learn(const Oprj_ProParameters &record) {
    if (record.proType != OPRJ_INTERNAL || asksForEngine(record) ||
        record.proNumber == kStatePlane || compared.contains(record.proNumber))
      return;
    const OwnedMapProjection object(oprj_ProjectionPre842Init(toolkit, &record, nullptr));
    if (object) compared[record.proNumber] = comparedEntries(record, object->proParametersEqual);
  }

  /// Calls visit(meridian) for those that may be near one.
  template <class Visit>
  void forEachNear(double wanted, Visit visit) const {
    constexpr double kTurn = 2 * std::numbers::pi, kReach = 2 * kSameAngle;
    for (const double meridian : {wanted, wanted + kTurn, wanted - kTurn}) {  // -180 is 180
      auto at = std::lower_bound(
          meridians.begin(), meridians.end(), meridian - kReach,
          [](const Meridian &each, double least) { return each.projection.meridian < least; });
      for (; at != meridians.end() && at->projection.meridian <= meridian + kReach; ++at)
        visit(*at);
    }
  }
};

EquivalentIndex::EquivalentIndex(Oint_Toolkit *toolkit, const Oprj_InitData &data,
                                 const LibraryContent &content)
    : entries_(new Entries{toolkit, {}, {}, {}}) {
  std::vector<Entries::Other> others;
  for (size_t i = 0; i < content.items.size(); ++i) {
    const LibraryItem &item = *content.items[i];
    OwnedParameters record;
    try {
      record = recordOfSystem(toolkit, data, item.system, false);
    } catch (const UnusableItem &) {
      continue;  // it equals nothing
    }
    const Ocvt_Unit *unit = unitOf(item, *record);
    if (!unit) continue;
    const auto place = static_cast<int32_t>(i);
    if (const auto projection = transverseMercatorOf(toolkit, *record)) {
      OwnedSpheroid earth(std::exchange(record->proSpheroid, nullptr));
      entries_->meridians.push_back({*projection, place, unit->factor, std::move(earth)});
      continue;
    }
    OwnedSystem system;
    if (asksForEngine(*record)) {
      system.reset(oawp_PE_pe_coordsys_from_string(item.system.string));
      if (!system) throw std::bad_alloc();
    }
    entries_->learn(*record);
    others.push_back({place, unit->factor, std::move(record), std::move(system)});
  }
  std::sort(entries_->meridians.begin(), entries_->meridians.end(),
            [](const auto &first, const auto &second) {
              return first.projection.meridian < second.projection.meridian;
            });
  for (Entries::Other &other : others)
    entries_->others[entries_->keyOf(other.record.get())].push_back(std::move(other));
}

EquivalentIndex::~EquivalentIndex() = default;

int32_t EquivalentIndex::find(const Oprj_MapProjectionEx &projection, const Ocvt_Unit *unit) const {
  OwnedParameters translated;
  OwnedMapProjection made;
  const Oprj_ProParameters *record = nullptr;
  const Oprj_MapProjection *object = nullptr;
  const Oawp_PE_COORDSYS *system = nullptr;
  if (sameTitle(projection.title, OPRJ_TITLE_NATIVE)) {
    object = static_cast<const Oprj_MapProjection *>(projection.ownedData);
    record = object ? object->proParameters : nullptr;
  } else {
    system = static_cast<const Oawp_PE_COORDSYS *>(projection.ownedData);
    constexpr int32_t kInexpressible = 2;
    Oerr_Report *report = nullptr;
    translated.reset(oprj_ProParametersFromCOORDSYS(system, nullptr, nullptr, &report));
    const bool noMemory = !translated && oerr_CodeGet(report) != kInexpressible;
    oerr_DeleteErrorReport(&report);
    if (noMemory) throw std::bad_alloc();
    record = translated.get();
    if (record) {
      made.reset(oprj_ProjectionPre842Init(entries_->toolkit, record, &report));
      const UnusableItem problem{made ? "" : oerr_MessageGet(oerr_RootCauseGet(report))};
      oerr_DeleteErrorReport(&report);
      if (!made) throw problem;
    }
    object = made.get();
  }
  if ((record && !record->proSpheroid) || (!record && !system)) return -1;

  const bool geographic = record ? isGeographic(*record) : oawp_PE_pe_geogcs_p(system) != 0;
  const double factor = unit ? unit->factor : geographic ? kRadiansPerDegree : 1.0;
  int32_t first = INT32_MAX;
  const auto match = [&](const auto &entry, auto same) {
    if (entry.item < first && near(entry.factor, factor, kSameFactor * factor) && same())
      first = entry.item;
  };
  const auto wanted = record ? transverseMercatorOf(entries_->toolkit, *record)
                             : std::optional<TransverseMercator>();
  if (wanted) {
    entries_->forEachNear(wanted->meridian, [&](const Entries::Meridian &each) {
      match(each, [&] {
        return each.projection.same(*wanted) && sameEarth(*each.earth, *record->proSpheroid);
      });
    });
  } else if (const auto found = entries_->others.find(entries_->keyOf(record));
             found != entries_->others.end()) {
    for (const Entries::Other &each : found->second) {
      match(each, [&] {
        if (!record) return sameText(system, each.system.get());
        // As the native set compares.
        return object && mayBeEqual(*record->proSpheroid, *each.record->proSpheroid) &&
               oprj_ProParametersEqualWithProjection(record, each.record.get(), object, 1,
                                                     nullptr) != 0;
      });
    }
  }
  return first == INT32_MAX ? -1 : first;
}

}  // namespace orvik::oprj

using namespace orvik::oprj;

const Oprj_ProjectionItem *oprj_ProjectionLibraryEquivalent(const Oprj_ProjectionLibrary *library,
                                                            const Oprj_MapProjectionEx *projection,
                                                            const Oprj_Char *unitName,
                                                            Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionLibraryEquivalent", err);
  if (!library || !projection) return e.fail(1, "Args");
  Oint_Toolkit *toolkit = oint_InitToolkit(e.cause());
  const Oprj_InitData *data = oprj_InitDataGet(toolkit, e.cause());
  if (!data) return e.fail(2, "Error returned from oprj_InitDataGet");
  const Ocvt_Unit *unit = nullptr;
  if (!isBlank(unitName)) {
    const Utf8 name(unitName, e);
    if (e.failed()) return nullptr;
    unit = ocvt_UnitSetByName(name, e.cause());
    if (!unit) return e.fail(3, "Error returned from ocvt_UnitSetByName");
  }
  return usingItems(e, 4, [&]() -> const Oprj_ProjectionItem * {
    const LibraryContent &content = *library->content;
    const EquivalentIndex *index = nullptr;
    {
      const std::lock_guard making(library->making);
      if (!library->index)
        library->index = std::make_unique<EquivalentIndex>(toolkit, *data, content);
      index = library->index.get();
    }
    const int32_t item = index->find(*projection, unit);
    return item < 0 ? nullptr : &content.items[static_cast<size_t>(item)]->shown;
  });
}

namespace {

/// A new record of another number on the record's spheroid, its slots to be filled.
OwnedParameters onSameEarth(Oint_Toolkit *toolkit, const Oprj_ProParameters &record,
                            int32_t number) {
  OwnedParameters made(oprj_ProParametersCreate(nullptr));
  const Oprj_Query *query = oprj_QueryByNumber(toolkit, number, nullptr);
  if (!made || !query || !setProjection(*made, *query) ||
      !oprj_DblArrayCreate(kLeastSlots, &made->proParams, nullptr) ||
      !oprj_SpheroidCopy(record.proSpheroid, made->proSpheroid, nullptr))
    throw std::bad_alloc();
  return made;
}

/// Runs `make(toolkit, projection)` for the Transverse Mercator that a record is.
template <class Make>
Oprj_ProParameters *equivalentOf(ErrorScope &e, Oint_Toolkit *toolkit,
                                 const Oprj_ProParameters *record, Make make) {
  if (!record || !record->proSpheroid) return e.fail(1, "Invalid input Oprj_ProParameters");
  if (!toolkit) toolkit = oint_InitToolkit(e.cause());
  if (!oprj_InitDataGet(toolkit, e.cause()))
    return e.fail(2, "Error returned from oprj_InitDataGet");
  return guarded(e, 3, [&]() -> Oprj_ProParameters * {
    const auto projection = transverseMercatorOf(toolkit, *record);
    return projection ? make(toolkit, *projection).release() : nullptr;
  });
}

}  // namespace

Oprj_ProParameters *oprj_ProParametersEquivalentTM(Oint_Toolkit *toolkit,
                                                   const Oprj_ProParameters *record,
                                                   Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersEquivalentTM", err);
  return equivalentOf(e, toolkit, record, [&](Oint_Toolkit *tables, const TransverseMercator &is) {
    OwnedParameters made = onSameEarth(tables, *record, kTransverseMercator);
    double *slots = made->proParams.data;
    slots[2] = is.scale;
    slots[4] = is.meridian;
    slots[5] = is.latitude;
    slots[6] = is.easting;
    slots[7] = is.northing;
    return made;
  });
}

Oprj_ProParameters *oprj_ProParametersEquivalentUTM(Oint_Toolkit *toolkit,
                                                    const Oprj_ProParameters *record,
                                                    Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersEquivalentUTM", err);
  return equivalentOf(e, toolkit, record, [&](Oint_Toolkit *tables, const TransverseMercator &is) {
    const auto zone = utmZoneOf(is);
    if (!zone) return OwnedParameters();
    OwnedParameters made = onSameEarth(tables, *record, kUTM);
    made->proZone = zone->number;
    made->proParams.data[3] = zone->south ? -1.0 : 0.0;
    return made;
  });
}
