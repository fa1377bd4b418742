// The records of the reference tables: owners, construction without reports, and the grammars that
// build them.
#ifndef OPRJ_TABLES_TABLE_RECORDS_H
#define OPRJ_TABLES_TABLE_RECORDS_H

#include <oprj/ofio.h>
#include <oprj/tables.h>

#include <string_view>

#include "records/records.h"

namespace orvik::oprj {

using OwnedQuery = Owner<Oprj_Query, oprj_QueryFree>;
using OwnedQueryEntry = Owner<Oprj_QueryEntry, oprj_QueryEntryFree>;
using OwnedCondQueryEntry = Owner<Oprj_CondQueryEntry, oprj_CondQueryEntryFree>;
using OwnedZone = Owner<Oprj_SPTableEntry, oprj_SPTableEntryFree>;
using OwnedInitData = Owner<Oprj_InitData, oprj_InitDataFree>;
using OwnedSearchList = Owner<Ofio_SearchList, ofio_SearchListFree>;

/// The highest slot of a parameter array that a question may fill.
inline constexpr int32_t kLastSlot = 9999;
/// How deep conditions may lie within conditions in a dictionary file.
inline constexpr int kConditionDepth = 32;
/// The constants of a State Plane zone.
inline constexpr int32_t kZoneConstants = 9;

/// The name of the variable that says where the dictionary and the zone table are.
inline constexpr const char *kProjectionsPath = "ORVIK_PROJECTIONS_PATH";

/// One more than the highest slot that the questions fill, branches included; 0 for none.
int32_t slotsAsked(const Oprj_QueryEntry *list);

/// Gives the record the name, type and number or executable of a dictionary entry; false, and the
/// record untouched, without memory.
bool setProjection(Oprj_ProParameters &record, const Oprj_Query &query);

/// Links `record` behind the list whose last link is `tail`, and moves `tail` on.
template <class Record>
void append(Record **&tail, Record *record) {
  *tail = record;
  tail = &record->next;
}
/// The last link of a list.
template <class Record>
Record **tailOf(Record **list) {
  while (*list) list = &(*list)->next;
  return list;
}

/// The datum of that name (case included) in a spheroid's entry, or null.
const Oprj_DatumTableEntry *findDatumEntry(const Oprj_SpheroidTableEntry &entry,
                                           const Oprj_Char *name);

/// Frees a list of spheroid entries that the spheroid table map does not hold.
void freeSpheroidEntries(Oprj_SpheroidTableEntry *list);

/// Grammars for olex_Parse. `result` is the address of the list's head, null at first.
int64_t dictionaryGrammar(const char *text, size_t size, void *result, const char **expected);
int64_t zoneGrammar(const char *text, size_t size, void *result, const char **expected);
/// A spheroid that the file leaves unfinished is not in the list.
int64_t spheroidGrammar(const char *text, size_t size, void *result, const char **expected);

}  // namespace orvik::oprj

#endif
