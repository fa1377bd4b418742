// From a record to an engine's system.
#include <oprj/families.h>
#include <oprj/ostr.h>

#include <algorithm>
#include <cmath>

#include "interchange/translation_parts.h"
#include "pipeline/function_sets.h"
#include "projections/registry.h"

namespace orvik::oprj {
namespace {

class Writing {
 public:
  Writing(const Tables &tables, const Oprj_ProParameters &record, const char *unitName)
      : tables_(tables), record_(record) {
    if (record.proType != OPRJ_INTERNAL) refuse();
    const bool angles = isGeographic(record);
    unit_ = tables_.need(ocvt_UnitSetByName(unitName ? unitName
                                            : angles ? "dd"
                                                     : "meters",
                                            tables_.e.cause()));
    if (unit_->factor == 0 || unit_->kind != (angles ? OCVT_KIND_ANGLE : OCVT_KIND_DISTANCE))
      throw Untranslatable{inQuotes(unit_->name) + " is no unit of " +
                           (angles ? "angle" : "length")};
    if (!record.proSpheroid) throw Untranslatable{"Invalid input Oprj_Spheroid"};
  }

  OwnedObject write() const {
    if (isGeographic(record_)) return writeEarth(*record_.proSpheroid, engineUnit(*unit_));
    // Zones stand on a plain projection, whose axes are the zone's.
    OwnedParameters details;
    if (record_.proNumber == 1)
      details.reset(tables_.need(oprj_UTMDetailsGet(tables_.toolkit, &record_, tables_.e.cause())));
    if (record_.proNumber == 2)
      details.reset(
          tables_.need(oprj_StatePlaneDetailsGet(tables_.toolkit, &record_, tables_.e.cause())));
    const Oprj_ProParameters &plain = details ? *details : record_;
    double slots[kLeastSlots] = {};
    const auto given = elementsOf(plain.proParams);
    std::copy_n(given.begin(), std::min(given.size(), std::size(slots)), slots);

    // An oblique zone is written by its natural origin.
    const bool oblique = record_.proNumber == 2 && plain.proNumber == 20;
    const ProjectionRow &row =
        rowOf(oblique ? record_.proNumber : plain.proNumber, *plain.proSpheroid, slots);
    if (row.rule == Rule::kTwoParallels && slots[8] == 0) slots[3] = slots[2];
    if (row.rule == Rule::kOrigin) moveOffsets(-1, *plain.proSpheroid, slots);

    OwnedObject geogcs = writeEarth(
        *plain.proSpheroid, engineUnit(*tables_.need(ocvt_UnitSetByName("dd", tables_.e.cause()))));
    OwnedObject system = engine::make(Kind::kProjcs, nameOf(*geogcs, row));
    engine::adopt(*system, std::move(geogcs));
    engine::adopt(*system, engine::make(Kind::kProjection, row.name));
    for (const Binding &binding : bindingsOf(row)) writeParameter(binding, slots, *system);
    engine::adopt(*system, engineUnit(*unit_));
    return system;
  }

 private:
  [[noreturn]] void refuse() const {
    throw Untranslatable{"Projection number " + std::to_string(record_.proNumber) +
                         " has no Projection Engine counterpart"};
  }

  /// The row that writes a number with these entries.
  const ProjectionRow &rowOf(int32_t number, const Oprj_Spheroid &spheroid,
                             const double *slots) const {
    bool known = false;
    for (const ProjectionRow &row : projectionRows()) {
      if (!row.written || row.number != number) continue;
      known = true;
      if ((row.rule == Rule::kSphere && spheroid.a != spheroid.b) ||
          (row.rule == Rule::kNorth && slots[5] < 0) ||
          (row.rule == Rule::kSouth && slots[5] >= 0) ||
          (row.rule == Rule::kAzimuth && slots[12] == 0) ||
          (row.rule == Rule::kTwoPoints && slots[12] != 0))
        continue;
      return row;
    }
    if (!known) refuse();
    throw Untranslatable{"Projection number " + std::to_string(record_.proNumber) +
                         " has no Projection Engine counterpart on this spheroid: it is computed "
                         "on a sphere, the engine's on the spheroid"};
  }

  void writeParameter(const Binding &binding, const double *slots, EngineObject &system) const {
    double value = binding.value;
    switch (binding.form) {
      case Form::kAccepted:
      case Form::kAbsent:
        return;
      case Form::kFixed:
        if (binding.slot >= 0 && slots[binding.slot] != value)
          throw Untranslatable{inQuotes(textOf(record_.proName).view()) +
                               " has a counterpart only where entry " +
                               std::to_string(binding.slot) + " is " + shortest(value)};
        break;
      default:
        value = inText(parameterRow(binding.parameter).quantity, slots[binding.slot]);
    }
    if (!std::isfinite(value)) throw Untranslatable{inQuotes(binding.name) + " is not finite"};
    engine::adopt(system, engine::make(Kind::kParameter, binding.name, std::span(&value, 1)));
  }

  double inText(Quantity quantity, double value) const {
    switch (quantity) {
      case Quantity::kLength:
        return quotient(value, unit_->factor);
      case Quantity::kAngle:
      case Quantity::kLongitude:
        return quotient(value, kRadiansPerDegree);
      default:
        return value;
    }
  }

  /// "NAD_1983_UTM_Zone_17N", "NAD_1983_StatePlane_Texas_Central_FIPS_4203",
  /// "WGS_1984_Mollweide": the datum and what lies on it.
  std::string nameOf(const EngineObject &geogcs, const ProjectionRow &row) const {
    std::string name(std::string_view(geogcs.name).substr(4));  // without "GCS_"
    if (constexpr std::string_view kLong = "North_American_"; name.starts_with(kLong))
      name.replace(0, kLong.size(), "NAD_");
    const auto slots = elementsOf(record_.proParams);
    if (record_.proNumber == 1)
      return name + "_UTM_Zone_" + std::to_string(record_.proZone) +
             (slots.size() > 3 && slots[3] < 0 ? "S" : "N");
    std::string rest = row.name;
    if (record_.proNumber == 2) {
      const auto *zone = tables_.need(oprj_SPEntryByZoneNumber(
          tables_.toolkit, record_.proZone, oprj_NADCodeGet(&record_), tables_.e.cause()));
      const std::string code = std::to_string(-zone->fipsCode);
      const std::string zoneName = textOf(zone->zoneName).str();
      rest = "StatePlane " + textOf(zone->stateName).str() +
             (zoneName == "---" ? "" : " " + zoneName) + " FIPS " +
             std::string(code.size() < 4 ? 4 - code.size() : 0, '0') + code;
    }
    name += "_" + rest;
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
  }

  const Tables &tables_;
  const Oprj_ProParameters &record_;
  const Ocvt_Unit *unit_ = nullptr;
};

}  // namespace
}  // namespace orvik::oprj

using namespace orvik::oprj;

Oawp_PE_COORDSYS *oprj_ProParametersToCOORDSYS(const Oprj_ProParameters *record,
                                               const Oprj_Char *unitName,
                                               Oawp_PE_GEOGTRAN **transform, Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersToCOORDSYS", err);
  if (transform) *transform = nullptr;
  if (!record) return e.fail(1, "Args");
  return translating(e, 2, [&]() -> Oawp_PE_COORDSYS * {
    OwnedObject system = [&] {
      const Tables tables(e);
      return Writing(tables, *record, Utf8(unitName)).write();
    }();
    if (transform) *transform = writeTransform(*record->proSpheroid).release();
    return system.release();
  });
}

Oawp_PE_COORDSYS *oprj_MapProjectionToCOORDSYS(const Oprj_MapProjectionEx *projection,
                                               const Oprj_Char *unitName,
                                               Oawp_PE_GEOGTRAN **transform, Oerr_Report **err) {
  ErrorScope e("oprj_MapProjectionToCOORDSYS", err);
  if (transform) *transform = nullptr;
  if (!projection) return e.fail(1, "Args");
  if (sameTitle(projection->title, OPRJ_TITLE_NATIVE)) {
    const auto *object = static_cast<const Oprj_MapProjection *>(projection->ownedData);
    Oawp_PE_COORDSYS *system =
        oprj_ProParametersToCOORDSYS(object->proParameters, unitName, transform, e.cause());
    if (!system) return e.fail(2, "Error returned from oprj_ProParametersToCOORDSYS");
    return system;
  }
  const auto *own = static_cast<const Oawp_PE_COORDSYS *>(projection->ownedData);
  OwnedObject system;
  if (unitName) {
    system.reset(oprj_COORDSYSUnitChange(own, unitName, e.cause()));
    if (!system) return e.fail(4, "oprj_COORDSYSUnitChange failed");
  } else {
    system.reset(OAWP_FCLL_PE(pe_coordsys_clone)(own));
    oawp_PE_ReportTake(e.cause());
    if (!system) return e.fail(3, "OAWP_FCLL_PE(pe_coordsys_clone) failed");
  }
  return system.release();
}
