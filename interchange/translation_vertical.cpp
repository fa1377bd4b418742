// Vertical systems of engine texts.
#include <oprj/ostr.h>

#include <algorithm>

#include "interchange/translation_parts.h"

namespace orvik::oprj {
namespace {

using OwnedElevation = Owner<Oprj_ElevationInfo, oprj_ElevationInfoFree>;

constexpr engine::Kinds kVertical = engine::setOf(Kind::kVertcs);
constexpr engine::Kinds kRoots = engine::kCoordsys | kVertical | engine::setOf(Kind::kHvcoordsys);

/// The vertical part of a text; null when it has none.
const EngineObject *verticalOf(const EngineObject &system) {
  return system.kind == Kind::kVertcs ? &system : engine::partOf(system, kVertical);
}

OwnedElevation readElevation(const Tables &tables, const EngineObject &vertcs) {
  const EngineObject *datum = engine::partOf(vertcs, engine::kAnyDatum);
  const EngineObject *unit = engine::partOf(vertcs, Kind::kUnit);
  OwnedElevation info(tables.need(oprj_ElevationInfoCreate(tables.e.cause())));
  tables.need(oprj_CharStrCreate(Flat(datum->name.c_str()), &info->verticalDatum->datumname,
                                 tables.e.cause()));
  tables.need(oprj_CharStrCreate(Flat(unitNameOf(*unit, OCVT_KIND_DISTANCE)), &info->elevationUnit,
                                 tables.e.cause()));
  for (const EngineObject *parameter : engine::parametersOf(vertcs)) {
    const double value = parameter->numbers[0];
    if (engine::sameName(parameter->name, "Direction")) {
      if (value != 1 && value != -1)
        throw Untranslatable{"\"Direction\" is 1 or -1, not " + shortest(value)};
      info->elevationType = value < 0 ? OPRJ_ELEVATION_TYPE_DEPTH : OPRJ_ELEVATION_TYPE_HEIGHT;
    } else if (value != 0) {
      throw Untranslatable{inQuotes(parameter->name) + " = " + shortest(value) +
                           " cannot be expressed: elevations have no shift"};
    }
  }
  return info;
}

OwnedObject writeElevation(const Tables &tables, const Oprj_ElevationInfo &info) {
  const std::string name =
      isUndefined(info.verticalDatum) ? "Unknown" : textOf(info.verticalDatum->datumname).str();
  const Ocvt_Unit *unit = tables.need(ocvt_UnitSetByName(
      isBlank(info.elevationUnit) ? "meters" : textOf(info.elevationUnit), tables.e.cause()));
  if (unit->kind != OCVT_KIND_DISTANCE)
    throw Untranslatable{inQuotes(unit->name) + " is no unit of length"};
  if (info.elevationType == OPRJ_ELEVATION_TYPE_UNKNOWN)
    throw Untranslatable{"Elevations that are neither heights nor depths cannot be expressed"};
  OwnedObject vertcs = engine::make(Kind::kVertcs, name);
  engine::adopt(*vertcs, engine::make(Kind::kVdatum, name));
  const double shift[] = {0.0};
  const double direction[] = {info.elevationType == OPRJ_ELEVATION_TYPE_DEPTH ? -1.0 : 1.0};
  engine::adopt(*vertcs, engine::make(Kind::kParameter, "Vertical_Shift", shift));
  engine::adopt(*vertcs, engine::make(Kind::kParameter, "Direction", direction));
  engine::adopt(*vertcs, engineUnit(*unit));
  return vertcs;
}

}  // namespace
}  // namespace orvik::oprj

using namespace orvik::oprj;

Oprj_ElevationInfo *oprj_ElevationInfoFromPEString(const Oprj_Char *string, Oerr_Report **err) {
  ErrorScope e("oprj_ElevationInfoFromPEString", err);
  if (!string) return e.fail(1, "Args");
  return translating(e, 3, [&]() -> Oprj_ElevationInfo * {
    const OwnedObject system = orvik::engine::read(Utf8(string).view(), kRoots, e, 2);
    if (!system) return nullptr;
    const EngineObject *vertcs = verticalOf(*system);
    if (!vertcs) throw Untranslatable{"The text has no vertical part"};
    return readElevation(Tables(e), *vertcs).release();
  });
}

int32_t oprj_ElevationInfoToPEString(Oprj_Char **string, const Oprj_ElevationInfo *info,
                                     Oerr_Report **err) {
  ErrorScope e("oprj_ElevationInfoToPEString", err);
  if (string) *string = nullptr;
  if (!string || !info) return e.fail(1, "Args");
  return translating(e, 2, [&]() -> int32_t {
    const OwnedObject vertcs = writeElevation(Tables(e), *info);
    *string = newText(written(*vertcs)).release();
    if (!*string) throw std::bad_alloc();
    return 1;
  });
}
