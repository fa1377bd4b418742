// State Plane: the zones of the United States, each a Transverse Mercator, Lambert Conformal Conic,
// Polyconic or Oblique Mercator of its own. [Snyder87] p. 51-56, table 8.
//
// Reads proZone (a zone number, or a negated FIPS code) and entry 0 (datum generation). The zone's
// constants come from the State Plane table; they make a record of the underlying projection, whose
// object gets the State Plane record and comparison. Its spheroid is the zone's, whatever the
// record says, and comparing records does not look at the spheroids either.
// Kept: entry 0 = 3 means NAD83, as 2 does.
#include <oprj/ostr.h>
#include <oprj/tables.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "projections/registry.h"
#include "records/records.h"

namespace {

using namespace orvik::oprj;

constexpr int32_t kNumber = 2;
static_assert(registeredNumber("oprj_StatePlaneInit") == kNumber);
constexpr int32_t kConstantsNeeded = 9;
constexpr int32_t kEntries = 15;  // the length that the angle conversion asks for
constexpr int32_t kNad27 = 1, kNad83 = 2;
constexpr double kAxisTolerance = 1e-5;  // m: axes that agree so far keep their spheroid's name

/// A projection under a zone, and which constant of the zone goes into which of its entries.
struct Underlying {
  const char *name;  ///< in the projection dictionary
  int32_t number;
  Initialiser init;
  int32_t entriesRead;
  int32_t constants[8];  ///< for entries 0 to 7: the constant's index, kUnused: 0
  double azimuthForm;    ///< entry 12
};
constexpr int32_t kUnused = -1;
constexpr int32_t kAzimuthFormEntry = 12;
constexpr Underlying kUnderlying[] = {
    {"Transverse Mercator",
     9,
     oprj_TransverseMercatorInit,
     8,
     {kUnused, kUnused, 3, kUnused, 2, 6, 7, 8},
     0.0},
    {"Lambert Conformal Conic",
     4,
     oprj_LambertConformalConicInit,
     8,
     {kUnused, kUnused, 5, 4, 2, 6, 7, 8},
     0.0},
    {"Polyconic", 7, oprj_PolyconicInit, 8, {kUnused, kUnused, kUnused, kUnused, 2, 3, 4, 5}, 0.0},
    {"Oblique Mercator (Hotine)",
     20,
     oprj_ObliqueMercatorInit,
     kAzimuthFormEntry + 1,
     {kUnused, kUnused, 3, 5, 2, 6, 7, 8},
     1.0},
};

/// The projection under a zone of the table, or null.
const Underlying *underlyingOf(const Oprj_SPTableEntry &zone) {
  const int32_t kind = zone.projectionNumber;
  return kind >= 1 && kind <= static_cast<int32_t>(std::size(kUnderlying)) ? &kUnderlying[kind - 1]
                                                                           : nullptr;
}

/// The table's entry for the zone of a record; a null toolkit is the process's own.
const Oprj_SPTableEntry *zoneOf(Oint_Toolkit *toolkit, const Oprj_ProParameters &record,
                                Oerr_Report **err) {
  if (!toolkit) toolkit = oint_InitToolkit(err);
  if (!toolkit) return nullptr;
  return oprj_SPEntryByZoneNumber(toolkit, record.proZone, oprj_NADCodeGet(&record), err);
}

/// Writes the entries that a zone means into an array of kEntries zeros, angles in radians.
bool fillEntries(const Underlying &projection, const Oprj_SPTableEntry &zone, Oprj_DblArray &array,
                 Oerr_Report **err) {
  for (int32_t i = 0; i < 8; ++i) {
    const int32_t constant = projection.constants[i];
    if (constant != kUnused) array.data[i] = zone.parameters.data[constant];
  }
  array.data[kAzimuthFormEntry] = projection.azimuthForm;
  return oprj_GCTPProParams2Radians(&array, projection.number, err) == 1;
}

}  // namespace

int32_t oprj_NADCodeGet(const Oprj_ProParameters *record) {
  if (!record || record->proType != OPRJ_INTERNAL || record->proNumber != kNumber) return kNad27;
  const auto entries = elementsOf(record->proParams);
  if (!entries.empty() && entries[0] != 0.0) {
    const double code = std::trunc(entries[0]);
    return code == 2.0 || code == 3.0 ? kNad83 : kNad27;
  }
  const Oprj_Spheroid *spheroid = record->proSpheroid;
  if (!spheroid || !spheroid->datum) return kNad27;
  return sameIgnoringCase(unitsOf(spheroid->datum->datumname), "NAD83") ? kNad83 : kNad27;
}

Oprj_MapProjection *oprj_StatePlaneInit(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                        Oerr_Report **err) {
  ErrorScope e("oprj_StatePlaneInit", err);
  if (!record) return e.fail(1, "Invalid projection parameters");
  if (entryCount(*record) < 1) return e.fail(2, "Insufficient projection parameters");
  const Oprj_SPTableEntry *zone = zoneOf(toolkit, *record, e.cause());
  if (!zone) return e.fail(3, "Error returned from oprj_SPEntryByZoneNumber");
  if (zone->parameters.count < kConstantsNeeded)
    return e.fail(4, "Insufficient parameters in spEntry");
  const Underlying *projection = underlyingOf(*zone);
  if (!projection) return e.fail(9, "Invalid projection parameters");

  OwnedParameters filled(oprj_ProParametersCopy(record, nullptr, e.cause()));
  if (!filled) return e.fail(5, "Error returned from oprj_ProParametersCopy");
  if (!oprj_DblArrayCreate(kEntries, &filled->proParams, e.cause()))
    return e.fail(6, "Error returned from oprj_DblArrayCreate");
  if (!filled->proSpheroid) filled->proSpheroid = oprj_SpheroidCreate(e.cause());
  if (!filled->proSpheroid) return e.fail(10, "Error returned from oprj_SpheroidCreate");
  filled->proSpheroid->a = zone->parameters.data[0];
  filled->proSpheroid->b = zone->parameters.data[1];
  // An initialiser reads an e² above 1 as the semi-minor axis.
  filled->proSpheroid->eSquared = zone->parameters.data[1];
  OwnedMapProjection object;
  if (fillEntries(*projection, *zone, filled->proParams, e.cause()))
    object.reset(projection->init(toolkit, filled.get(), e.cause()));
  if (!object) return e.fail(7, "Error returned from called projection initialization");

  OwnedParameters own(oprj_ProParametersCopy(record, nullptr, e.cause()));
  if (!own) return e.fail(8, "Error returned from oprj_ProParametersCopy");
  oprj_ProParametersFree(&object->proParameters);
  object->proParameters = own.release();
  object->proParametersEqual = oprj_StatePlaneProParametersEqual;
  return object.release();
}

int32_t oprj_StatePlaneProParametersEqual(const Oprj_ProParameters *first,
                                          const Oprj_ProParameters *second, Oerr_Report **err) {
  ErrorScope e("oprj_StatePlaneProParametersEqual", err);
  if (!first || !second) return e.fail(1, "Invalid input parmArray");
  if (first->proType != OPRJ_INTERNAL || second->proType != OPRJ_INTERNAL ||
      first->proNumber != kNumber || second->proNumber != kNumber)
    return 0;
  if (entryCount(*first) < 1 || entryCount(*second) < 1)
    return e.fail(2, "Too few parameters in input parmArray");
  const Oprj_SPTableEntry *firstZone = zoneOf(nullptr, *first, e.cause());
  if (!firstZone) return e.fail(3, "Error returned from oprj_SPEntryByZoneNumber for parmArray1");
  const Oprj_SPTableEntry *secondZone = zoneOf(nullptr, *second, e.cause());
  if (!secondZone) return e.fail(4, "Error returned from oprj_SPEntryByZoneNumber for parmArray2");
  return firstZone == secondZone ? 1 : 0;
}

Oprj_ProParameters *oprj_StatePlaneDetailsGet(Oint_Toolkit *toolkit,
                                              const Oprj_ProParameters *record, Oerr_Report **err) {
  ErrorScope e("oprj_StatePlaneDetailsGet", err);
  if (!record) return e.fail(1, "Invalid projection parameters");
  if (entryCount(*record) < 1) return e.fail(2, "Insufficient projection parameters");
  if (record->proType != OPRJ_INTERNAL || record->proNumber != kNumber)
    return e.fail(3, "Expected a State Plane projection");
  if (!toolkit) toolkit = oint_InitToolkit(e.cause());
  const Oprj_SPTableEntry *zone = toolkit ? zoneOf(toolkit, *record, e.cause()) : nullptr;
  if (!zone) return e.fail(4, "Error returned from oprj_SPEntryByZoneNumber");
  if (zone->parameters.count < kConstantsNeeded)
    return e.fail(5, "Insufficient parameters in spEntry");
  const Underlying *projection = underlyingOf(*zone);
  if (!projection) return e.fail(6, "Invalid projection parameters");

  OwnedParameters details(
      oprj_ProParametersCreateByName(toolkit, Flat(projection->name), e.cause()));
  if (!details) return e.fail(7, "Error returned from oprj_ProParametersCreateByName");
  const int32_t length = std::max(entryCount(*details), projection->entriesRead);
  Oprj_DblArray &array = details->proParams;
  if (!oprj_DblArrayCreate(kEntries, &array, e.cause()))
    return e.fail(8, "Error returned from oprj_DblArrayCreate");
  if (!fillEntries(*projection, *zone, array, e.cause()))
    return e.fail(9, "Error returned from oprj_GCTPProParams2Radians");
  array.count = std::min(length, kEntries);

  // The record's spheroid keeps its datum, but its axes are the zone's.
  OwnedSpheroid spheroid(oprj_SpheroidCreate(e.cause()));
  if (!spheroid) return e.fail(10, "Error returned from oprj_SpheroidCreate");
  if (record->proSpheroid && !oprj_SpheroidCopy(record->proSpheroid, spheroid.get(), e.cause()))
    return e.fail(11, "Error returned from oprj_SpheroidCopy");
  const double a = zone->parameters.data[0], b = zone->parameters.data[1];
  const bool moved =
      !within(spheroid->a, a, kAxisTolerance) || !within(spheroid->b, b, kAxisTolerance);
  if (!oprj_SpheroidByAxes(toolkit, a, b, spheroid.get(), e.cause()))
    return e.fail(12, "Error returned from oprj_SpheroidByAxes");
  if (moved && !setText(spheroid->sphereName, "Unknown", e.cause()))
    return e.fail(13, "Error returned from oprj_CharStrCreate");
  oprj_SpheroidFree(&details->proSpheroid);
  details->proSpheroid = spheroid.release();
  return details.release();
}
