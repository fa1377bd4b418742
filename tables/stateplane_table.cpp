// The State Plane zone table: its records, reading it from a file, and finding a zone.
#include <oprj/olex.h>
#include <oprj/ostr.h>

#include "tables/reference_data.h"
#include "tables/table_records.h"

using namespace orvik::oprj;

Oprj_SPTableEntry *oprj_SPTableEntryCreate(Oerr_Report **err) {
  ErrorScope e("oprj_SPTableEntryCreate", err);
  auto *made = allocateRecord<Oprj_SPTableEntry>();
  if (!made) return e.fail(1, "Error allocating SPTableEntry");
  made->nadCode = 1;
  return made;
}

void oprj_SPTableEntryFree(Oprj_SPTableEntry **list) {
  if (!list) return;
  while (Oprj_SPTableEntry *dead = *list) {
    *list = dead->next;
    omsc_HeapFree(dead->stateName);
    omsc_HeapFree(dead->zoneName);
    oprj_DblArrayFree(&dead->parameters);
    omsc_HeapFree(dead);
  }
}

Oprj_SPTableEntry *oprj_SPTableParse(const Oprj_Char *text, const Oprj_Char *fileName,
                                     Oerr_Report **err) {
  ErrorScope e("oprj_SPTableParse", err);
  const Utf8 source(text, e), file(fileName, e);
  if (e.failed()) return nullptr;
  OwnedSearchList list;
  if (!source) {
    list.reset(ofio_CreateSLFromEnv(kProjectionsPath, ".", e.cause()));
    if (!list) return e.fail(1, "Error returned from ofio_CreateSLFromEnv");
  }
  Oprj_SPTableEntry *read = nullptr;
  const bool whole = olex_Parse(source, list.get(), !source && !file ? "sptable.tab" : file,
                                zoneGrammar, &read, e.cause());
  OwnedZone zones{read};
  if (!whole) return e.fail(2, "Error returned from olex_Parse");
  return zones.release();
}

Oprj_SPTableEntry *oprj_SPTableRead(Oprj_InitData *data, const Oprj_Char *fileName,
                                    Oerr_Report **err) {
  ErrorScope e("oprj_SPTableRead", err);
  if (!data) return e.fail(1, "Invalid input InitData");
  Oprj_SPTableEntry *zones = oprj_SPTableParse(nullptr, fileName, e.cause());
  if (e.calleeFailed()) return e.fail(2, "Error returned from oprj_SPTableParse");
  *tailOf(&data->statePlaneTable) = zones;
  return data->statePlaneTable;
}

const Oprj_SPTableEntry *oprj_SPEntryByNames(Oint_Toolkit *toolkit, const Oprj_Char *stateName,
                                             const Oprj_Char *zoneName, int32_t nadCode,
                                             Oerr_Report **err) {
  ErrorScope e("oprj_SPEntryByNames", err);
  const Oprj_InitData *data = referenceData(e, toolkit);
  if (!data) return nullptr;
  for (const Oprj_SPTableEntry *zone = data->statePlaneTable; zone; zone = zone->next) {
    if (zone->nadCode == nadCode && sameIgnoringCase(zone->stateName, stateName) &&
        sameIgnoringCase(zone->zoneName, zoneName))
      return zone;
  }
  return e.fail(3, "State name and Zone name not found in State Plane table");
}

const Oprj_SPTableEntry *oprj_SPEntryByZoneNumber(Oint_Toolkit *toolkit, int32_t zone,
                                                  int32_t nadCode, Oerr_Report **err) {
  ErrorScope e("oprj_SPEntryByZoneNumber", err);
  const Oprj_InitData *data = referenceData(e, toolkit);
  if (!data) return nullptr;
  for (const Oprj_SPTableEntry *entry = data->statePlaneTable; entry; entry = entry->next) {
    if (entry->nadCode == nadCode && (zone < 0 ? entry->fipsCode : entry->zoneNumber) == zone)
      return entry;
  }
  return e.fail(3, "Zone number not found in State Plane table");
}
