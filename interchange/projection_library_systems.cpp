// Systems of library items to parameter records and back.
#include <oprj/engine.h>
#include <oprj/oerr.h>
#include <oprj/translation.h>

#include <cmath>

#include "interchange/projection_library_content.h"
#include "interchange/text_slots.h"
#include "pipeline/function_sets.h"

namespace orvik::oprj {
namespace {

/// What an operation made; its report decides between want of memory and what is wrong.
template <class T>
T *need(T *result) {
  if (!result) throw std::bad_alloc();
  return result;
}

const Oprj_SpheroidTableEntry *spheroidEntry(const Oprj_InitData &data, std::string_view name) {
  for (const auto *entry = data.spheroidTable; entry; entry = entry->next) {
    if (name == textOf(entry->name).view()) return entry;
    for (const auto *alias = entry->aliases; alias; alias = alias->next)
      if (name == textOf(alias->name).view()) return entry;
  }
  return nullptr;
}

void setSpheroid(Oint_Toolkit *toolkit, const ItemSystem &system,
                 const Oprj_SpheroidTableEntry *entry, Oprj_Spheroid &spheroid) {
  const bool ownAxes = system.a > 0;
  if (!entry && !ownAxes)
    throw UnusableItem{system.spheroid
                           ? "there is no spheroid " + inQuotes(system.spheroid) + " in the tables"
                           : "it has neither a spheroid nor axes"};
  need(oprj_SpheroidByAxes(toolkit, ownAxes ? system.a : entry->a, ownAxes ? system.b : entry->b,
                           &spheroid, nullptr));
  const Flat name(system.spheroid ? system.spheroid : "Unknown");
  need(oprj_CharStrCreate(entry ? entry->name : name, &spheroid.sphereName, nullptr));
}

/// The datum of the tables with that name, on the spheroid itself before others; one that is not
/// there is a name alone.
void setDatum(Oint_Toolkit *toolkit, const Oprj_InitData &data, const char *name,
              const Oprj_SpheroidTableEntry *spheroid, bool loud, Oprj_Datum &datum) {
  const Flat wanted(name);
  const auto *lies = spheroid && findDatumEntry(*spheroid, wanted) ? spheroid : nullptr;
  for (const auto *entry = data.spheroidTable; entry && !lies; entry = entry->next) {
    if (findDatumEntry(*entry, wanted)) lies = entry;
  }
  const Oprj_DatumTableEntry *found = lies ? findDatumEntry(*lies, wanted) : nullptr;
  if (!found || found->type == OPRJ_DATUM_GRID) {  // a grid is opened by the shift that needs it
    need(oprj_CharStrCreate(wanted, &datum.datumname, nullptr));
    if (found) need(oprj_CharStrCreate(found->gridname, &datum.gridname, nullptr));
    if (found) datum.type = OPRJ_DATUM_GRID;
    else if (loud) oerr_LogMessage("The datum \"%s\" is not shifted to any other", name);
    return;
  }
  Oerr_Report *report = nullptr;
  const bool made = oprj_DatumByName(toolkit, lies->name, wanted, &datum, &report) != nullptr;
  const std::string why = made ? "" : oerr_MessageGet(oerr_RootCauseGet(report));
  oerr_DeleteErrorReport(&report);
  if (made) return;
  if (found->type != OPRJ_DATUM_SURFACE) throw std::bad_alloc();
  throw UnusableItem{"the datum " + inQuotes(name) + ": " + why};
}

OwnedParameters recordOfNumber(Oint_Toolkit *toolkit, const Oprj_InitData &data,
                               const ItemSystem &system, bool loud) {
  OwnedParameters record(need(oprj_ProParametersCreate(nullptr)));
  const char *given = system.name ? system.name : system.executable;
  const Oprj_Char *known = nullptr;
  if (system.executable) {
    record->proType = OPRJ_EXTERNAL;
    need(oprj_CharStrCreate(Flat(system.executable), &record->proExeName, nullptr));
  } else {
    const Oprj_Query *query = data.queryTable;
    while (query && !(query->type == OPRJ_INTERNAL && query->number == system.number))
      query = query->next;
    if (!query)
      throw UnusableItem{"there is no projection number " + std::to_string(system.number)};
    record->proNumber = system.number;
    if (!given) known = query->name;
  }
  need(oprj_CharStrCreate(known ? known : Flat(given), &record->proName, nullptr));
  record->proZone = system.zone;
  int32_t count = !system.executable && system.number == 0 ? 0 : kLeastSlots;
  if (!system.slots.empty()) count = std::max(count, system.slots.back().index + 1);
  need(oprj_DblArrayCreate(count, &record->proParams, nullptr));
  for (const ItemSlot &slot : system.slots) record->proParams.data[slot.index] = slot.value;

  const auto *entry = system.spheroid ? spheroidEntry(data, system.spheroid) : nullptr;
  setSpheroid(toolkit, system, entry, *record->proSpheroid);
  if (system.datum) setDatum(toolkit, data, system.datum, entry, loud, *record->proSpheroid->datum);
  return record;
}

void deleteSystem(Oawp_PE_COORDSYS **system) { oawp_PE_pe_coordsys_del(*system); }

/// The record of an engine's text: translated, or else one that holds the text.
OwnedParameters recordOfString(const char *string, bool loud) {
  constexpr int32_t kNoMemory = 3;
  Oerr_Report *report = nullptr;
  const auto refuse = [&report]() {
    const bool memory = oerr_CodeGet(report) == kNoMemory;
    const std::string why = oerr_MessageGet(oerr_RootCauseGet(report));
    oerr_DeleteErrorReport(&report);
    if (memory) throw std::bad_alloc();
    throw UnusableItem{why};
  };
  const Owner<Oawp_PE_COORDSYS, deleteSystem> system(oawp_PE_pe_coordsys_from_string(string));
  if (!system) {
    oawp_PE_ReportTake(&report);
    refuse();
  }
  OwnedParameters record(oprj_ProParametersFromCOORDSYS(system.get(), nullptr, nullptr, &report));
  if (!record && oerr_CodeGet(report) == kNoMemory) refuse();
  oerr_DeleteErrorReport(&report);
  if (!record) record.reset(oprj_ProParametersHoldingPEString(Flat(string), &report));
  if (!record) refuse();
  const Oprj_Datum &datum = *record->proSpheroid->datum;
  if (loud && datum.type == OPRJ_DATUM_NONE && !isUndefined(&datum))
    oerr_LogMessage("The datum \"%s\" is not shifted to any other",
                    textOf(datum.datumname).c_str());
  return record;
}

/// A name that a file can hold.
const char *named(const char *text, const char *what, LibraryContent &content) {
  const std::string_view name = orEmpty(text);
  if (name.find_first_of("\"\r\n") != name.npos || name.ends_with(' ') || name.ends_with('\t'))
    throw UnusableItem{std::string(what) + " cannot be written: " + inQuotes(name)};
  return content.keep(name);
}

}  // namespace

OwnedParameters recordOfSystem(Oint_Toolkit *toolkit, const Oprj_InitData &data,
                               const ItemSystem &system, bool loud) {
  return system.string ? recordOfString(system.string, loud)
                       : recordOfNumber(toolkit, data, system, loud);
}

ItemSystem systemOfRecord(Oint_Toolkit *toolkit, const Oprj_InitData &data,
                          const Oprj_ProParameters &record, LibraryContent &content) {
  const Oprj_Spheroid *spheroid = record.proSpheroid;
  if (!spheroid || !spheroid->datum) throw UnusableItem{"the record has no spheroid with a datum"};
  ItemSystem system;
  if (asksForEngine(record)) {
    system.string = content.keep(textOf(record.proExeName).view());
    return system;
  }
  if (record.proType == OPRJ_EXTERNAL)
    system.executable = named(textOf(record.proExeName), "the executable's name", content);
  else system.number = record.proNumber;
  const Oprj_Query *query = oprj_QueryByNumber(toolkit, system.number, nullptr);
  const std::string name = textOf(record.proName).str();
  if (system.executable ? name != system.executable : query && name != textOf(query->name).view())
    system.name = named(textOf(record.proName), "the projection's name", content);
  system.zone = record.proZone;
  const auto slots = elementsOf(record.proParams);
  for (size_t i = 0; i < slots.size() && i <= size_t{kLastSlot}; ++i) {
    if (!std::isfinite(slots[i])) throw UnusableItem{"the record has a slot that is not finite"};
    if (slots[i] != 0 || std::signbit(slots[i]))
      system.slots.push_back({static_cast<int32_t>(i), slots[i]});
  }
  system.spheroid = named(textOf(spheroid->sphereName), "the spheroid's name", content);
  const auto *entry = system.spheroid ? spheroidEntry(data, system.spheroid) : nullptr;
  if (!entry || entry->a != spheroid->a || entry->b != spheroid->b) {
    system.a = spheroid->a;
    system.b = spheroid->b;
    if (!axesUsable(system.a, system.b)) throw UnusableItem{"the record's axes are unusable"};
  }
  if (!isUndefined(spheroid->datum))
    system.datum = named(textOf(spheroid->datum->datumname), "the datum's name", content);
  // What cannot be written is found by reading: datums that are not as the tables have them,
  // slots beyond the last one.
  const OwnedParameters back = recordOfSystem(toolkit, data, system, false);
  if (!sameSystem(record, *back))
    throw UnusableItem{
        "no item gives this record back: its datum or spheroid is not as the tables "
        "have it, or it has more slots"};
  return system;
}

}  // namespace orvik::oprj
