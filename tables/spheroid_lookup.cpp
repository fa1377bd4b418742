// Spheroids and datums out of the reference tables.
#include <oprj/ostr.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "tables/reference_data.h"
#include "tables/table_records.h"
#include "tables/upward.h"

namespace {

using namespace orvik::oprj;

/// Metres: how far a table entry's axes may lie from given ones.
constexpr double kAxisSearchTolerance = 1e-5;

/// Elements of a parametric datum's parameters.
constexpr int32_t kDatumParams = 7;

/// Elements of the parameter array that oprj_SpheroidByParms reads.
constexpr size_t kParmsNeeded = 15, kNumberElement = 0, kMajorElement = 13, kMinorElement = 14;

bool isNamed(const Oprj_SpheroidTableEntry &entry, const Oprj_Char *name) {
  if (sameText(entry.name, name)) return true;
  for (const Oprj_SpheroidAlias *alias = entry.aliases; alias; alias = alias->next)
    if (sameText(alias->name, name)) return true;
  return false;
}

/// Name and axes of a table entry. The datum stays, a stale one too: callers set it afterwards.
bool fillFromEntry(const Oprj_SpheroidTableEntry &entry, Oprj_Spheroid &target, Oerr_Report **err) {
  if (!oprj_CharStrCreate(entry.name, &target.sphereName, err)) return false;
  setAxes(target, entry.a, entry.b);  // the table holds usable axes only
  return true;
}

}  // namespace

const Oprj_DatumTableEntry *orvik::oprj::findDatumEntry(const Oprj_SpheroidTableEntry &entry,
                                                        const Oprj_Char *name) {
  const Oprj_DatumTableEntry *datum = entry.datums;
  while (datum && !sameText(datum->name, name)) datum = datum->next;
  return datum;
}

Oprj_Spheroid *oprj_SpheroidByName(Oint_Toolkit *toolkit, const Oprj_Char *name,
                                   Oprj_Spheroid *target, Oerr_Report **err) {
  ErrorScope e("oprj_SpheroidByName", err);
  if (!referenceData(e, toolkit)) return nullptr;
  if (isBlank(name)) return e.fail(3, "Invalid spheroid name");
  if (!target) return e.fail(4, "Invalid output Oprj_Spheroid");
  const Oprj_SpheroidTableEntry *entry = oprj_SpheroidEntryByName(toolkit, name, e.cause());
  if (!entry) return e.fail(5, "Error returned from oprj_SpheroidEntryByName");
  if (!fillFromEntry(*entry, *target, e.cause()))
    return e.fail(6, "Error returned from oprj_CharStrCreate");
  return target;
}

Oprj_Spheroid *oprj_SpheroidByNum(Oint_Toolkit *toolkit, int32_t number, Oprj_Spheroid *target,
                                  Oerr_Report **err) {
  ErrorScope e("oprj_SpheroidByNum", err);
  if (!referenceData(e, toolkit)) return nullptr;
  if (!target) return e.fail(3, "Invalid output Oprj_Spheroid");
  const Oprj_SpheroidTableEntry *entry = oprj_SpheroidEntryByNumber(toolkit, number, e.cause());
  if (!entry) return e.fail(4, "Error returned from oprj_SpheroidEntryByNumber");
  if (!fillFromEntry(*entry, *target, e.cause()))
    return e.fail(5, "Error returned from oprj_CharStrCreate");
  return target;
}

Oprj_Spheroid *oprj_SpheroidByAxes(Oint_Toolkit *toolkit, double a, double b, Oprj_Spheroid *target,
                                   Oerr_Report **err) {
  ErrorScope e("oprj_SpheroidByAxes", err);
  if (!referenceData(e, toolkit)) return nullptr;
  if (!target) return e.fail(3, "Invalid output Oprj_Spheroid");
  if (!axesUsable(a, b)) return e.fail(4, "Invalid spheroid axes");
  setAxes(*target, a, b);
  return target;
}

Oprj_Spheroid *oprj_SpheroidByParms(Oint_Toolkit *toolkit, const Oprj_DblArray *params,
                                    Oprj_Spheroid *target, Oerr_Report **err) {
  ErrorScope e("oprj_SpheroidByParms", err);
  if (!referenceData(e, toolkit)) return nullptr;
  if (!params) return e.fail(3, "Invalid input Oprj_DblArrayPtr");
  if (!target) return e.fail(4, "Invalid output Oprj_Spheroid");
  const auto values = elementsOf(*params);
  if (values.size() < kParmsNeeded) return e.fail(5, "Insufficient projection parameters");
  const double number = values[kNumberElement];
  const double a = values[kMajorElement];
  const double b = values[kMinorElement] <= 0.0 ? a : values[kMinorElement];
  const bool byAxes = number < 0.0;
  if (!byAxes && !(number <= std::numeric_limits<int32_t>::max()))  // NaN too is no number
    return e.fail(6, "Invalid spheroid number");
  if (byAxes && !axesUsable(a, b)) return e.fail(7, "Invalid spheroid axes");

  // Filled aside, so that the target takes all or nothing. Its datum is "Undefined" already.
  OwnedSpheroid made{oprj_SpheroidCreate(e.cause())};
  if (!made) return e.fail(8, "Error returned from oprj_SpheroidCreate");
  if (byAxes) {
    if (!setText(made->sphereName, "Unknown", e.cause()))
      return e.fail(9, "Error returned from oprj_CharStrCreate");
    if (!oprj_DblArrayCreate(kDatumParams, &made->datum->params, e.cause()))
      return e.fail(10, "Error returned from oprj_DblArrayCreate");
    setAxes(*made, a, b);
  } else if (!oprj_SpheroidByNum(toolkit, static_cast<int32_t>(number), made.get(), e.cause())) {
    return e.fail(11, "Error returned from oprj_SpheroidByNum");
  }
  exchange(*target, *made);
  return target;
}

const Oprj_SpheroidTableEntry *oprj_SpheroidEntryByName(Oint_Toolkit *toolkit,
                                                        const Oprj_Char *name, Oerr_Report **err) {
  ErrorScope e("oprj_SpheroidEntryByName", err);
  const Oprj_InitData *data = referenceData(e, toolkit);
  if (!data) return nullptr;
  if (isBlank(name)) return e.fail(3, "Invalid input spheroid name");
  for (const auto *entry = data->spheroidTable; entry; entry = entry->next)
    if (isNamed(*entry, name)) return entry;
  // Kept: the lookups by name and by number share this message.
  return e.fail(4, "Spheroid number not found in Spheroid table");
}

const Oprj_SpheroidTableEntry *oprj_SpheroidEntryByNumber(Oint_Toolkit *toolkit, int32_t number,
                                                          Oerr_Report **err) {
  ErrorScope e("oprj_SpheroidEntryByNumber", err);
  const Oprj_InitData *data = referenceData(e, toolkit);
  if (!data) return nullptr;
  for (const auto *entry = data->spheroidTable; entry; entry = entry->next)
    if (entry->number == number) return entry;
  return e.fail(3, "Spheroid number not found in Spheroid table");
}

int32_t oprj_SpheroidNumberByName(Oint_Toolkit *toolkit, const Oprj_Char *name, Oerr_Report **err) {
  ErrorScope e("oprj_SpheroidNumberByName", err);
  if (!referenceData(e, toolkit)) return 0;
  const Oprj_SpheroidTableEntry *entry = oprj_SpheroidEntryByName(toolkit, name, e.cause());
  if (!entry) return e.fail(3, "Error returned from oprj_SpheroidEntryByName");
  return entry->number;
}

Oprj_Datum *oprj_DatumByName(Oint_Toolkit *toolkit, const Oprj_Char *spheroidName,
                             const Oprj_Char *datumName, Oprj_Datum *target, Oerr_Report **err) {
  ErrorScope e("oprj_DatumByName", err);
  if (!referenceData(e, toolkit)) return nullptr;
  if (!target) return e.fail(3, "Invalid output Oprj_Datum");
  if (!oprj_DatumInit(&target, e.cause())) return e.fail(4, "Error returned from oprj_DatumInit");
  if (isBlank(spheroidName) || isBlank(datumName) || sameIgnoringCase(datumName, kUndefinedDatum))
    return target;
  const auto *spheroid = oprj_SpheroidEntryByName(toolkit, spheroidName, e.cause());
  if (!spheroid) return e.fail(5, "Error returned from oprj_SpheroidEntryByName");
  const Oprj_DatumTableEntry *datum = findDatumEntry(*spheroid, datumName);
  if (!datum) return e.fail(6, "Datum name not found in Spheroid table");

  if (!oprj_CharStrCreate(datum->name, &target->datumname, e.cause()))
    return e.fail(7, "Error returned from oprj_CharStrCreate");
  target->type = datum->type;
  switch (datum->type) {
    case OPRJ_DATUM_PARAMETRIC:
      if (!oprj_DblArrayCreate(kDatumParams, &target->params, e.cause()))
        return e.fail(8, "Error returned from oprj_DblArrayCreate");
      std::copy_n(datum->params, kDatumParams, target->params.data);
      break;
    case OPRJ_DATUM_GRID:
      if (!oprj_CharStrCreate(datum->gridname, &target->gridname, e.cause()))
        return e.fail(9, "Error returned from oprj_CharStrCreate");
      target->gridData = oprj_DatumGridFileOpen(datum->gridname, e.cause());
      if (!target->gridData) return e.fail(10, "Error returned from datafileOpen");
      break;
    case OPRJ_DATUM_SURFACE:
      target->shiftSurface = shiftSurfaceFromSource(*datum->surface, e.cause());
      if (!target->shiftSurface)
        return e.fail(11, "Error returned from oprj_ShiftSurfaceDuplicate");
      break;
    default:
      break;  // a regression datum is known by its name alone
  }
  return target;
}

Oprj_Char *oprj_GetSpheroidNameByAxes(Oint_Toolkit *toolkit, double a, double b,
                                      Oerr_Report **err) {
  ErrorScope e("oprj_GetSpheroidNameByAxes", err);
  if (!referenceData(e, toolkit)) return nullptr;
  Oprj_Char *name =
      oprj_GetSpheroidNameByAxesWithTolerance(toolkit, a, b, kAxisSearchTolerance, e.cause());
  if (!name) return e.fail(3, "Error returned from oprj_GetSpheroidNameByAxesWithTolerance");
  return name;
}

Oprj_Char *oprj_GetSpheroidNameByAxesWithTolerance(Oint_Toolkit *toolkit, double a, double b,
                                                   double tolerance, Oerr_Report **err) {
  ErrorScope e("oprj_GetSpheroidNameByAxesWithTolerance", err);
  const Oprj_InitData *data = referenceData(e, toolkit);
  if (!data) return nullptr;
  for (const auto *entry = data->spheroidTable; entry; entry = entry->next) {
    if (std::fabs(entry->a - a) < tolerance && std::fabs(entry->b - b) < tolerance) {
      Oprj_Char *name = duplicate(entry->name).release();
      if (!name) return e.fail(4, "Error allocating spheroid name");
      return name;
    }
  }
  return e.fail(3, "Spheroid name not found in Spheroid table");
}

Oprj_Char *oprj_GetSpheroidNameByDatumName(Oint_Toolkit *toolkit, const Oprj_Char *datumName,
                                           Oerr_Report **err) {
  ErrorScope e("oprj_GetSpheroidNameByDatumName", err);
  const Oprj_InitData *data = referenceData(e, toolkit);
  if (!data) return nullptr;
  if (isBlank(datumName)) return e.fail(3, "The input datum name is not valid");
  for (const auto *entry = data->spheroidTable; entry; entry = entry->next) {
    if (findDatumEntry(*entry, datumName)) {
      Oprj_Char *name = duplicate(entry->name).release();
      if (!name) return e.fail(5, "Error allocating spheroid name");
      return name;
    }
  }
  return e.fail(4, "Spheroid name not found based on the given datum name");
}
