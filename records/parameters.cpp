#include <oprj/omsc.h>

#include <cstdio>
#include <utility>

#include "records/records.h"
#include "toolkit/c_locale.h"

using namespace orvik::oprj;

void orvik::oprj::exchange(Oprj_ProParameters &first, Oprj_ProParameters &second) {
  std::swap(first, second);
  if (!first.proSpheroid || !second.proSpheroid) return;
  // The caller may hold the address of his spheroid.
  exchange(*first.proSpheroid, *second.proSpheroid);
  std::swap(first.proSpheroid, second.proSpheroid);
}

Oprj_ProParameters *oprj_ProParametersCreate(Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersCreate", err);
  OwnedParameters made{allocateRecord<Oprj_ProParameters>()};
  if (!made) return e.fail(1, "Error allocating ProParameters");
  made->proSpheroid = oprj_SpheroidCreate(e.cause());
  if (!made->proSpheroid) return e.fail(2, "Error returned from oprj_SpheroidCreate");
  return made.release();
}

Oprj_ProParameters *oprj_ProParametersCopy(const Oprj_ProParameters *source,
                                           Oprj_ProParameters *target, Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersCopy", err);
  if (!source) return e.fail(1, "Invalid input Oprj_ProParameters");
  if (source == target) return target;
  OwnedParameters made{allocateRecord<Oprj_ProParameters>()};
  if (!made) return e.fail(2, "Error allocating ProParameters");
  made->proType = source->proType;
  made->proNumber = source->proNumber;
  made->proZone = source->proZone;
  if (!oprj_CharStrCopy(&source->proExeName, &made->proExeName, e.cause()))
    return e.fail(3, "Error returned from oprj_CharStrCopy");
  if (!oprj_CharStrCopy(&source->proName, &made->proName, e.cause()))
    return e.fail(4, "Error returned from oprj_CharStrCopy");
  if (!oprj_DblArrayCopy(&source->proParams, &made->proParams, 1, e.cause()))
    return e.fail(5, "Error returned from oprj_DblArrayCopy");
  if (source->proSpheroid) {
    made->proSpheroid = oprj_SpheroidCopy(source->proSpheroid, nullptr, e.cause());
    if (!made->proSpheroid) return e.fail(6, "Error returned from oprj_SpheroidCopy");
  }
  if (!target) return made.release();
  exchange(*target, *made);
  return target;
}

void oprj_ProParametersFree(Oprj_ProParameters **record) {
  if (!record || !*record) return;
  oprj_CharStrFree(&(*record)->proExeName);
  oprj_CharStrFree(&(*record)->proName);
  oprj_DblArrayFree(&(*record)->proParams);
  oprj_SpheroidFree(&(*record)->proSpheroid);
  omsc_HeapFree(*record);
  *record = nullptr;
}

void oprj_ProParametersPrint(const Oprj_ProParameters *record, Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersPrint", err);
  if (!record) {
    e.fail(1, "Invalid input Oprj_ProParameters");
    return;
  }
  const orvik::toolkit::ClassicLocale points;  // decimal points, whatever the process's locale
  if (record->proType == OPRJ_INTERNAL) {
    std::printf("Internal projection\n");
    std::printf("Projection number = %ld\n", static_cast<long>(record->proNumber));
  } else if (record->proType == OPRJ_EXTERNAL) {
    std::printf("External projection\n");
    std::printf("Projection executable name = %s\n", shown(record->proExeName).c_str());
  } else {
    std::printf("What??  Invalid proType.\n");
  }
  std::printf("Projection name = %s\n", shown(record->proName).c_str());
  std::printf("Zone number = %ld\n", static_cast<long>(record->proZone));
  std::printf("Projection parameters\n");
  long index = 0;
  for (const double value : elementsOf(record->proParams))
    std::printf("%ld = %f\n", index++, value);
  const Oprj_Spheroid unset = {};
  const Oprj_Spheroid &spheroid = record->proSpheroid ? *record->proSpheroid : unset;
  std::printf("Spheroid name = %s\n", shown(spheroid.sphereName).c_str());
  std::printf("Semi-major axis of spheroid = %f\n", spheroid.a);
  std::printf("Semi-minor axis of spheroid = %f\n", spheroid.b);
  std::printf("Eccentricity-squared of spheroid = %f\n", spheroid.eSquared);
  std::printf("Radius of sphere = %f\n", spheroid.radius);
}

int32_t oprj_Proj7xNumber(int32_t number, Oerr_Report **err) {
  ErrorScope e("oprj_Proj7xNumber", err);
  constexpr int32_t kLastCommonNumber = 20;  // Oblique Mercator; later ones have no older number
  if (number < 0 || number > kLastCommonNumber) return e.fail(1, "Invalid projection number");
  return number;
}
