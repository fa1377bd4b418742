// Universal Transverse Mercator: Transverse Mercator in 60 zones of 6 degrees. [Snyder87] p. 57.
//
// Reads proZone (1 to 60; 0: from the longitude in entry 2) and the sign of entry 3 (negative:
// southern hemisphere). The object is Transverse Mercator's with the UTM record and comparison.
// Kept: a zone derived from a longitude truncates toward zero, so that longitudes strictly between
// -6 and 0 degrees give zone 31 and zone 30 never comes from a longitude.
#include <oprj/ocvt.h>
#include <oprj/tables.h>

#include <cmath>

#include "projections/registry.h"
#include "records/records.h"
#include "toolkit/error_scope.h"

namespace {

using orvik::oprj::entryCount;
using orvik::oprj::OwnedMapProjection;
using orvik::oprj::OwnedParameters;
using orvik::toolkit::ErrorScope;

constexpr int32_t kEntriesNeeded = 4;
constexpr int32_t kNumber = 1;
static_assert(orvik::oprj::registeredNumber("oprj_UTMInit") == kNumber);
constexpr double kScale = 0.9996;
constexpr double kFalseEasting = 500000.0;     // m
constexpr double kSouthFalseNorthing = 1.0e7;  // m

/// The zone of a record or of a longitude (radians) when `zone` is 0; 0 with a report.
int32_t figureUTMzone(int32_t zone, double longitude, Oerr_Report **err) {
  ErrorScope e("figureUTMzone", err);
  if (zone != 0) {
    if (zone >= 1 && zone <= 60) return zone;
    return e.fail(4, "Illegal zone number");
  }
  const double degrees = ocvt_UnitsConvertByName(longitude, "radians", "dd", e.cause());
  if (e.calleeFailed()) return e.fail(3, "Error returned from ocvt_UnitsConvertByName");
  if (!std::isfinite(degrees)) return e.fail(4, "Illegal zone number");
  const double i = std::trunc(degrees / 6.0);
  double z = std::trunc(std::fmod(i + 30.0, 60.0)) + (i >= 0.0 ? 1.0 : 0.0);
  if (z < 0.0) z += 60.0;
  if (z == 0.0) z = 1.0;
  return static_cast<int32_t>(z);
}

double entry(const Oprj_ProParameters *record, int32_t index) {
  return index < entryCount(*record) ? record->proParams.data[index] : 0.0;
}

int32_t zoneOf(const Oprj_ProParameters *record, Oerr_Report **err) {
  return figureUTMzone(record->proZone, entry(record, 2), err);
}

/// The eight Transverse Mercator entries of a zone; false when the unit service fails.
bool fillEntries(int32_t zone, bool south, double *entries, Oerr_Report **err) {
  Oerr_Report *failure = nullptr;
  const double meridian = ocvt_UnitsConvertByName(zone * 6.0 - 183.0, "dd", "radians", &failure);
  if (failure) {
    *err = failure;
    return false;
  }
  const double values[8] = {0,        0, kScale,        0,
                            meridian, 0, kFalseEasting, south ? kSouthFalseNorthing : 0.0};
  for (int i = 0; i < 8; ++i) entries[i] = values[i];
  return true;
}

}  // namespace

Oprj_MapProjection *oprj_UTMInit(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                 Oerr_Report **err) {
  ErrorScope e("oprj_UTMInit", err);
  if (!record) return e.fail(1, "Invalid projection parameters");
  if (entryCount(*record) < kEntriesNeeded) return e.fail(2, "Insufficient projection parameters");
  const int32_t zone = zoneOf(record, e.cause());
  if (!zone) return e.fail(3, "Error returned from figureUTMzone");
  OwnedParameters copy(oprj_ProParametersCopy(record, nullptr, e.cause()));
  if (!copy) return e.fail(5, "Error returned from oprj_ProParametersCopy");
  if (!oprj_DblArrayCreate(8, &copy->proParams, e.cause()))
    return e.fail(6, "Error returned from oprj_DblArrayCreate");
  if (!fillEntries(zone, entry(record, 3) < 0.0, copy->proParams.data, e.cause()))
    return e.fail(7, "Error returned from ocvt_UnitsConvertByName");
  OwnedMapProjection object(oprj_TransverseMercatorInit(toolkit, copy.get(), e.cause()));
  if (!object) return e.fail(8, "Error returned from oprj_TransverseMercatorInit");
  OwnedParameters own(oprj_ProParametersCopy(record, nullptr, e.cause()));
  if (!own) return e.fail(9, "Error returned from oprj_ProParametersCopy");
  oprj_ProParametersFree(&object->proParameters);
  object->proParameters = own.release();
  object->proParametersEqual = oprj_UTMProParametersEqual;
  return object.release();
}

int32_t oprj_UTMProParametersEqual(const Oprj_ProParameters *first,
                                   const Oprj_ProParameters *second, Oerr_Report **err) {
  ErrorScope e("oprj_UTMProParametersEqual", err);
  if (!first || !second) return e.fail(1, "Invalid input parmArray");
  if (first->proType != OPRJ_INTERNAL || second->proType != OPRJ_INTERNAL ||
      first->proNumber != kNumber || second->proNumber != kNumber)
    return 0;
  if (entryCount(*first) < kEntriesNeeded || entryCount(*second) < kEntriesNeeded)
    return e.fail(2, "Too few parameters in input parmArray");
  const int32_t zone1 = zoneOf(first, e.cause());
  if (!zone1) return e.fail(3, "Error returned from figureUTMzone for zone1");
  const int32_t zone2 = zoneOf(second, e.cause());
  if (!zone2) return e.fail(3, "Error returned from figureUTMzone for zone2");
  if (zone1 != zone2 || (entry(first, 3) < 0.0) != (entry(second, 3) < 0.0)) return 0;
  const int32_t equal = oprj_SpheroidsEqual(first->proSpheroid, second->proSpheroid, e.cause());
  if (e.calleeFailed()) return e.fail(4, "Error returned from oprj_SpheroidsEqual");
  return equal;
}

int32_t oprj_UTMZoneFromLongitude(double longitude, Oerr_Report **err) {
  ErrorScope e("Oprj_UTMZoneFromLongitude", err);
  const int32_t zone = figureUTMzone(0, longitude, e.cause());
  if (!zone) return e.fail(1, "Failed to find UTM zone");
  return zone;
}

Oprj_ProParameters *oprj_UTMDetailsGet(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                       Oerr_Report **err) {
  ErrorScope e("oprj_UTMDetailsGet", err);
  if (!record) return e.fail(1, "Invalid projection parameters");
  if (entryCount(*record) < kEntriesNeeded) return e.fail(2, "Insufficient projection parameters");
  if (record->proType != OPRJ_INTERNAL || record->proNumber != kNumber)
    return e.fail(3, "Expected UTM projection parameters");
  const int32_t zone = zoneOf(record, e.cause());
  if (!zone) return e.fail(4, "Error returned from figureUTMzone");
  if (!toolkit) toolkit = oint_InitToolkit(e.cause());
  OwnedParameters details(
      oprj_ProParametersCreateByName(toolkit, orvik::oprj::Flat("Transverse Mercator"), e.cause()));
  if (!details) return e.fail(5, "Error returned from oprj_ProParametersCreateByName");
  if (!oprj_DblArrayCreate(8, &details->proParams, e.cause()))
    return e.fail(6, "Error returned from oprj_DblArrayCreate");
  if (!fillEntries(zone, entry(record, 3) < 0.0, details->proParams.data, e.cause()))
    return e.fail(7, "Error returned from ocvt_UnitsConvertByName");
  Oprj_Spheroid *spheroid = nullptr;  // a record without one means the nominal sphere
  if (record->proSpheroid) {
    spheroid = oprj_SpheroidCopy(record->proSpheroid, nullptr, e.cause());
    if (!spheroid) return e.fail(8, "Error returned from oprj_SpheroidCopy");
  }
  oprj_SpheroidFree(&details->proSpheroid);
  details->proSpheroid = spheroid;
  return details.release();
}
