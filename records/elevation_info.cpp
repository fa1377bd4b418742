#include <oprj/elevation_info.h>
#include <oprj/ocvt.h>

#include <utility>

#include "records/datum.h"

using namespace orvik::oprj;

namespace {

using OwnedElevationInfo = Owner<Oprj_ElevationInfo, oprj_ElevationInfoFree>;

/// Two names of one unit, or one name that is no unit's.
bool sameUnit(const Oprj_CharStr &first, const Oprj_CharStr &second, ErrorScope &e) {
  if (oprj_CharStrsEqual(&first, &second, nullptr)) return true;
  const auto unitOf = [&e](const Oprj_CharStr &name) {
    return ocvt_UnitSetByName(isBlank(name) ? "meters" : Utf8(name.data, e).c_str(), nullptr);
  };
  const Ocvt_Unit *unit = unitOf(first);
  return unit && unit == unitOf(second);
}

}  // namespace

Oprj_ElevationInfo *oprj_ElevationInfoCreate(Oerr_Report **err) {
  ErrorScope e("oprj_ElevationInfoCreate", err);
  OwnedElevationInfo made{allocateRecord<Oprj_ElevationInfo>()};
  if (!made) return e.fail(1, "Error allocating ElevationInfo");
  if (!oprj_DatumInit(&made->verticalDatum, e.cause()))
    return e.fail(2, "Error returned from oprj_DatumInit");
  return made.release();
}

Oprj_ElevationInfo *oprj_ElevationInfoCopy(const Oprj_ElevationInfo *source,
                                           Oprj_ElevationInfo *target, Oerr_Report **err) {
  ErrorScope e("oprj_ElevationInfoCopy", err);
  if (!source) return e.fail(1, "Invalid input Oprj_ElevationInfo");
  if (source == target) return target;
  OwnedElevationInfo made{oprj_ElevationInfoCreate(e.cause())};
  if (!made) return e.fail(2, "Error returned from oprj_ElevationInfoCreate");
  if (!oprj_CharStrCopy(&source->elevationUnit, &made->elevationUnit, e.cause()))
    return e.fail(3, "Error returned from oprj_CharStrCopy");
  made->elevationType = source->elevationType;
  if (source->verticalDatum && !fillDatum(*source->verticalDatum, *made->verticalDatum, 4, e))
    return nullptr;
  if (!target) return made.release();
  std::swap(*target, *made);
  returnDatums(target->verticalDatum, made->verticalDatum);
  return target;
}

int32_t oprj_ElevationInfosEqual(const Oprj_ElevationInfo *first, const Oprj_ElevationInfo *second,
                                 Oerr_Report **err) {
  ErrorScope e("oprj_ElevationInfosEqual", err);
  if (!first && !second) return 1;
  if (!first || !second) return e.fail(1, "One of the input elevation info's is NULL");
  return first->elevationType == second->elevationType &&
         datumsEqual(first->verticalDatum, second->verticalDatum, 0) &&
         sameUnit(first->elevationUnit, second->elevationUnit, e);
}

void oprj_ElevationInfoFree(Oprj_ElevationInfo **info) {
  if (!info || !*info) return;
  oprj_DatumFree(&(*info)->verticalDatum);
  oprj_CharStrFree(&(*info)->elevationUnit);
  omsc_HeapFree(*info);
  *info = nullptr;
}
