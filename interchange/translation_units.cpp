// Units and numbers of engine texts.
#include <oprj/engine.h>
#include <oprj/ostr.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "engine/tables.h"
#include "interchange/translation_parts.h"

namespace orvik::oprj {

std::string written(const EngineObject &object) {
  toolkit::HeapText text;
  engine::write(object, text);
  return {text.data(), text.size()};
}

OwnedObject engineUnit(const Ocvt_Unit &unit) {
  for (const engine::UnitRow &row : engine::unitTable()) {
    if (row.isAngle == (unit.kind == OCVT_KIND_ANGLE) && sameFactor(row.factor, unit.factor))
      return engine::make(Kind::kUnit, row.name, std::span(&row.factor, 1));
  }
  if (OwnedObject read{OAWP_FCLL_PE(pe_unit_from_string)(unit.name)}) return read;
  return engine::make(Kind::kUnit, unit.name, std::span(&unit.factor, 1));
}

std::string unitNameOf(const EngineObject &unit, int32_t kind) {
  const Ocvt_Unit *ours = unitOfFactor(kind, unit.numbers[0]);
  if (ours) return ours->name;
  return std::string(kind == OCVT_KIND_ANGLE ? "ANG" : "") +
         written(*engine::make(Kind::kUnit, unit.name, std::span(unit.numbers, 1)));
}

double exactFactor(const EngineObject &unit, int32_t kind) {
  const Ocvt_Unit *ours = unitOfFactor(kind, unit.numbers[0]);
  return ours ? ours->factor : unit.numbers[0];
}

namespace {

/// The part of a system that has the unit of its points, to be changed.
EngineObject *pointsOf(EngineObject &system) {
  constexpr engine::Kinds kSystems = engine::kCoordsys;
  if (kSystems & engine::setOf(system.kind)) return &system;
  const auto part = std::ranges::find_if(system.parts, [](const EngineObject *each) {
    return (kSystems & engine::setOf(each->kind)) != 0;
  });
  return part == system.parts.end() ? nullptr : *part;
}

void changeUnit(EngineObject &system, const Ocvt_Unit &unit) {
  const int32_t kind = system.kind == Kind::kGeogcs ? OCVT_KIND_ANGLE : OCVT_KIND_DISTANCE;
  if (unit.factor == 0 || unit.kind != kind)
    throw Untranslatable{inQuotes(unit.name) + " is no unit of " +
                         (kind == OCVT_KIND_ANGLE ? "angle" : "length")};
  for (EngineObject *&part : system.parts) {
    if (part->kind != Kind::kUnit) continue;
    const double old = exactFactor(*part, kind);
    if (sameFactor(old, unit.factor)) return;
    for (EngineObject *other : system.parts) {
      const int number = other->kind == Kind::kParameter ? parameterNumber(other->name) : -1;
      if (number >= 0 && parameterRow(number).quantity == Quantity::kLength)
        other->numbers[0] = quotient(other->numbers[0] * old, unit.factor);
    }
    OwnedObject made = engineUnit(unit);
    made->owner = &system;
    const OwnedObject dead(std::exchange(part, made.release()));
    return;
  }
}

}  // namespace

double quotient(double value, double factor) {
  if (factor == 1.0 || value == 0.0) return value;
  constexpr int kTried = 4;  // neighbours on either side: quotient and product round once each
  const double nearest = value / factor;
  // What people write has few digits: then the search below is not needed.
  for (const double scale : {1.0, 1e6, 1e12}) {
    const double few = std::round(nearest * scale) / scale;
    if (few * factor == value) return few;
  }
  double tried = nearest, best = nearest;
  size_t digits = std::string::npos;
  for (int i = 0; i < kTried; ++i) tried = std::nextafter(tried, -HUGE_VAL);
  for (int i = 0; i <= 2 * kTried; ++i, tried = std::nextafter(tried, HUGE_VAL)) {
    if (tried * factor != value) continue;
    if (const size_t size = shortest(tried).size(); size < digits) {
      digits = size;
      best = tried;
    }
  }
  return best;
}

}  // namespace orvik::oprj

using namespace orvik::oprj;

Oawp_PE_COORDSYS *oprj_COORDSYSUnitChange(const Oawp_PE_COORDSYS *system, const Oprj_Char *unitName,
                                          Oerr_Report **err) {
  ErrorScope e("oprj_COORDSYSUnitChange", err);
  if (!system || !unitName) return e.fail(1, "Args");
  const Utf8 name(unitName, e);
  if (e.failed()) return nullptr;
  const Ocvt_Unit *unit = ocvt_UnitSetByName(name, e.cause());
  if (!unit) return e.fail(2, "Error returned from ocvt_UnitSetByName");
  return translating(e, 2, [&]() -> Oawp_PE_COORDSYS * {
    OwnedObject changed = orvik::engine::clone(*system);
    EngineObject *points = pointsOf(*changed);
    if (!points) throw Untranslatable{"The text describes no coordinate system"};
    changeUnit(*points, *unit);
    return changed.release();
  });
}

Oprj_Char *oprj_COORDSYSUnitName(const Oawp_PE_COORDSYS *system, Oerr_Report **err) {
  ErrorScope e("oprj_COORDSYSUnitName", err);
  const EngineObject *projcs = system ? projectedOf(*system) : nullptr;
  const EngineObject *points = projcs ? projcs : system ? geographicOf(*system) : nullptr;
  if (!points) return e.fail(1, "Args");
  return orvik::toolkit::guarded(e, 2, [&]() -> Oprj_Char * {
    const std::string name = unitNameOf(*orvik::engine::partOf(*points, Kind::kUnit),
                                        projcs ? OCVT_KIND_DISTANCE : OCVT_KIND_ANGLE);
    Oprj_Char *made = newText(name).release();
    if (!made) throw std::bad_alloc();
    return made;
  });
}
