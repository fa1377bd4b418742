// Projections out of the dictionary: entries by name, number and example, records made from them,
// and descriptions.
#include <oprj/ostr.h>

#include "tables/reference_data.h"
#include "tables/table_records.h"
#include "tables/upward.h"

namespace {

using namespace orvik::oprj;

enum { kUtm = 1, kStatePlane = 2 };

/// The first projection of the dictionary that the test takes, or null.
template <class Test>
const Oprj_Query *firstQuery(const Oprj_InitData &data, Test test) {
  const Oprj_Query *query = data.queryTable;
  while (query && !test(*query)) query = query->next;
  return query;
}

/// A text of the record's own, not trimmed, counted `extra` beyond its length.
bool assign(const Oprj_Char *source, int32_t extra, Oprj_CharStr &target) {
  target.data = duplicate(source).release();
  target.count = target.data ? static_cast<int32_t>(lengthOf(source)) + extra : 0;
  return target.data != nullptr;
}

bool isExample(const Oprj_Query &query, const Oprj_ProParameters &record) {
  if (query.type != record.proType) return false;
  return query.type == OPRJ_EXTERNAL ? sameText(query.executable, unitsOf(record.proExeName))
                                     : query.number == record.proNumber;
}

/// "State Plane, Zone …" with what the table knows of the zone.
char *describeZone(Oint_Toolkit *toolkit, const Oprj_ProParameters &record, ErrorScope &e) {
  if (record.proZone < 0) {
    // Negated as unsigned: the lowest integer has no positive twin and stays what it is.
    const auto fips = static_cast<int32_t>(0u - static_cast<uint32_t>(record.proZone));
    return ostr_Format("State Plane, FIPS Zone %d", fips);
  }
  const auto *zone =
      oprj_SPEntryByZoneNumber(toolkit, record.proZone, oprj_NADCodeGet(&record), e.cause());
  if (zone)
    return ostr_Format("State Plane, Zone %d (FIPS Zone %d)", record.proZone, -zone->fipsCode);
  e.printCause();
  return ostr_Format("State Plane, Zone %d", record.proZone);
}

}  // namespace

const Oprj_Query *oprj_QueryByName(Oint_Toolkit *toolkit, const Oprj_Char *name,
                                   Oerr_Report **err) {
  ErrorScope e("oprj_QueryByName", err);
  if (!toolkit) return e.fail(1, "Toolkit has not been initialized");
  const Oprj_InitData *data = loadedData(toolkit, e.cause());
  if (!data) return e.fail(2, "oprj_Init failed");
  const Oprj_Query *found =
      firstQuery(*data, [&](const Oprj_Query &query) { return sameText(query.name, name); });
  if (!found) return e.fail(3, "Projection name not found in query list");
  return found;
}

const Oprj_Query *oprj_QueryByNumber(Oint_Toolkit *toolkit, int32_t number, Oerr_Report **err) {
  ErrorScope e("oprj_QueryByNumber", err);
  const Oprj_InitData *data = referenceData(e, toolkit);
  if (!data) return nullptr;
  const Oprj_Query *found = firstQuery(*data, [&](const Oprj_Query &query) {
    return query.type == OPRJ_INTERNAL && query.number == number;
  });
  if (!found) return e.fail(3, "Projection number not found in query list");
  return found;
}

const Oprj_Query *oprj_QueryByExample(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                      Oerr_Report **err) {
  ErrorScope e("oprj_QueryByExample", err);
  const Oprj_InitData *data = referenceData(e, toolkit);
  if (!data) return nullptr;
  if (!record) return e.fail(3, "Invalid input Oprj_ProParameters");
  const auto isAny = [&](const Oprj_Query &query) { return isExample(query, *record); };
  const auto isNamed = [&](const Oprj_Query &query) {
    return isAny(query) && sameIgnoringCase(query.name, unitsOf(record->proName));
  };
  const Oprj_Query *first = firstQuery(*data, isNamed);
  if (!first) first = firstQuery(*data, isAny);
  if (!first && record->proType == OPRJ_EXTERNAL)
    return e.fail(5, "Projection name not found in query list");
  if (!first) return e.fail(4, "Projection number not found in query list");
  return first;
}

Oprj_CharStr *oprj_ProjName(Oint_Toolkit *toolkit, int32_t number, Oprj_CharStr *target,
                            Oerr_Report **err) {
  ErrorScope e("oprj_ProjName", err);
  if (!referenceData(e, toolkit)) return nullptr;
  if (!target) return e.fail(3, "Invalid output Oprj_CharStrPtr");
  const Oprj_Query *query = oprj_QueryByNumber(toolkit, number, e.cause());
  if (!query) return e.fail(4, "Error returned from oprj_QueryByNumber");
  if (!oprj_CharStrCreate(query->name, target, e.cause()))
    return e.fail(5, "Error returned from oprj_CharStrCreate");
  return target;
}

Oprj_ProParameters *oprj_ProParametersCreateByName(Oint_Toolkit *toolkit, const Oprj_Char *name,
                                                   Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersCreateByName", err);
  const Oprj_InitData *data = referenceData(e, toolkit);
  if (!data) return nullptr;
  const Oprj_Query *query = firstQuery(
      *data, [&](const Oprj_Query &candidate) { return sameIgnoringCase(candidate.name, name); });
  if (!query) return e.fail(3, "Invalid Projection Name");

  OwnedParameters made{oprj_ProParametersCreate(e.cause())};
  if (!made) return e.fail(4, "Error returned from oprj_ProParametersCreate");
  if (!setProjection(*made, *query)) return e.fail(5, "Error allocating projection name");
  if (!oprj_DblArrayCreate(slotsAsked(query->proParamsQuerylist), &made->proParams, e.cause()))
    return e.fail(6, "Error returned from oprj_DblArrayCreate");
  const Flat defaultName("Clarke 1866");  // of the spheroid and of its datum
  if (!oprj_SpheroidByName(toolkit, defaultName, made->proSpheroid, e.cause()))
    return e.fail(7, "Error returned from oprj_SpheroidByName");
  if (!oprj_DatumByName(toolkit, defaultName, defaultName, made->proSpheroid->datum, e.cause()))
    return e.fail(8, "Error returned from oprj_DatumByName");
  return made.release();
}

bool orvik::oprj::setProjection(Oprj_ProParameters &record, const Oprj_Query &query) {
  Oprj_CharStr name = {}, executable = {};
  // Kept: the count of an external projection's executable leaves out the terminating zero.
  const bool made = assign(query.name, 1, name) &&
                    (query.type != OPRJ_EXTERNAL || assign(query.executable, 0, executable));
  if (!made) {
    oprj_CharStrFree(&name);
    return false;
  }
  oprj_CharStrFree(&record.proName);
  oprj_CharStrFree(&record.proExeName);
  record.proType = query.type;
  record.proNumber = query.type == OPRJ_EXTERNAL ? 0 : query.number;
  record.proName = name;
  record.proExeName = executable;
  return true;
}

Oprj_Char *oprj_ProjectionDescribe(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                   Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionDescribe", err);
  if (!toolkit) return e.fail(1, "Toolkit has not been initialized");
  if (!record) return e.fail(3, "Invalid input Oprj_ProParameters");
  const bool internal = record->proType == OPRJ_INTERNAL;
  Oprj_Char *text =
      internal && record->proNumber == kUtm ? handOut(ostr_Format("UTM, Zone %d", record->proZone))
      : internal && record->proNumber == kStatePlane ? handOut(describeZone(toolkit, *record, e))
                                                     : copyOf(record->proName.data);
  if (!text) return e.fail(4, "Error allocating projection description");
  return text;
}
