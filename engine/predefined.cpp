// Predefined objects (predefined.h).
#include "engine/predefined.h"

#include <algorithm>
#include <charconv>

#include "engine/report.h"
#include "engine/tables.h"

namespace orvik::engine {
namespace {

using enum Kind;
using toolkit::ErrorScope;
using toolkit::Failed;
using toolkit::HeapVector;

enum Code { kNotFound = 1, kNoDatabase, kMemory };

/// Objects that are handed out as a list.
using Objects = HeapVector<OwnedObject>;

template <class Result>
Result *listOf(Objects &objects, int32_t *count) {
  auto *list = static_cast<Object **>(omsc_HeapCalloc(objects.size() + 1, sizeof(Object *)));
  if (!list) throw std::bad_alloc();
  for (size_t i = 0; i < objects.size(); ++i) list[i] = objects[i].release();
  if (count) *count = static_cast<int32_t>(objects.size());
  return list;
}

OwnedObject withCode(OwnedObject object, int32_t code) {
  object->code = code;
  return object;
}

OwnedObject unitOf(const UnitRow &row) {
  return withCode(make(kUnit, row.name, {&row.factor, 1}), row.code);
}

OwnedObject parameterOf(const NameRow &row) {
  const double standard = defaultOf(row.name);
  return withCode(make(kParameter, row.name, {&standard, 1}), row.code);
}

/// Calls `add(name, default)` for each parameter of a projection.
template <class Add>
void forParameters(const ProjectionRow &row, Add add) {
  add("False_Easting", 0.0);
  add("False_Northing", 0.0);
  std::string_view rest = row.parameters;
  while (!rest.empty()) {
    const std::string_view entry = rest.substr(0, rest.find(' '));
    rest.remove_prefix(std::min(entry.size() + 1, rest.size()));
    const std::string_view name = entry.substr(0, entry.find_first_of(":="));
    const size_t equals = entry.find('=');
    double standard = defaultOf(name);
    if (equals != entry.npos)
      std::from_chars(entry.data() + equals + 1, entry.data() + entry.size(), standard);
    add(name, standard);
  }
}

/// Runs a body that makes an object or a list, under the rules of this file's functions.
template <class Body>
auto called(const char *function, Body body) {
  Call e(function);
  return guarded(e, kMemory, [&] { return body(e); });
}

template <class Rows, class Make>
Object **tableList(const char *function, int32_t *count, const Rows &rows, Make make) {
  if (count) *count = 0;
  return called(function, [&](Call &) {
    Objects objects;
    for (const auto &row : rows)
      if (OwnedObject object = make(row)) objects.push_back(std::move(object));
    return listOf<Object *>(objects, count);
  });
}

OwnedObject ownByCode(int32_t code) {
  const auto row = [code](const auto &table) {
    const auto found =
        std::ranges::find_if(table, [code](const auto &r) { return r.code == code; });
    return found == table.end() ? nullptr : &*found;
  };
  if (const auto *projection = row(projectionTable()))
    return withCode(make(kProjection, projection->name), code);
  if (const auto *parameter = row(parameterTable())) return parameterOf(*parameter);
  if (const auto *unit = row(unitTable())) return unitOf(*unit);
  return nullptr;
}

Failed noDatabase(Call &e) {
  e.fail(kNoDatabase, "The database of predefined objects is not bound yet");
  e.setKind(OAWP_PE_NO_DATABASE);
  return {};
}

Object *byCode(const char *function, int32_t code, Kinds kinds) {
  return called(function, [&](Call &e) -> Object * {
    OwnedObject object = code > 0 ? ownByCode(code) : nullptr;
    if (object && (kinds & setOf(object->kind))) return object.release();
    return noDatabase(e);
  });
}

Object **databaseList(const char *function, int32_t *count) {
  if (count) *count = 0;
  return called(function, [&](Call &e) -> Object ** { return noDatabase(e); });
}

}  // namespace

bool complete(const Object &, Oerr_Report **err) {
  ErrorScope e("completePredefined", err);
  return e.fail(kNoDatabase, "The database of predefined objects is not bound yet");
}

}  // namespace orvik::engine

using namespace orvik::engine;
using enum Kind;

Oawp_PE_PARAMETER **oawp_PE_pe_parameter_projection_defaults(const Oawp_PE_PROJECTION *projection) {
  return called("pe_parameter_projection_defaults", [&](Call &e) -> Object ** {
    const Object *known = as(projection, kAnyMethod);
    const ProjectionRow *row = known ? projectionOf(known->name) : nullptr;
    if (!row) return e.fail(kNotFound, "No projection \"%.60s\"", known ? known->name.c_str() : "");
    Objects objects;
    forParameters(*row, [&](std::string_view name, double standard) {
      objects.push_back(make(kParameter, name, {&standard, 1}));
    });
    return listOf<Object *>(objects, nullptr);
  });
}

void *oawp_PE_pe_factory(int32_t code) { return byCode("pe_factory", code, ~Kinds{0}); }
Oawp_PE_DATUM *oawp_PE_pe_factory_datum(int32_t code) {
  return byCode("pe_factory_datum", code, setOf(kDatum));
}
Oawp_PE_PARAMETER *oawp_PE_pe_factory_parameter(int32_t code) {
  return byCode("pe_factory_parameter", code, setOf(kParameter));
}
Oawp_PE_VDATUM *oawp_PE_pe_factory_vdatum(int32_t code) {
  return byCode("pe_factory_vdatum", code, setOf(kVdatum));
}

int32_t oawp_PE_pe_factory_code(const void *object) {
  const auto *known = static_cast<const Object *>(object);
  return known ? known->code : 0;
}

Oawp_PE_UNIT **oawp_PE_pe_predefined_angular_unit(int32_t *count) {
  return tableList("pe_predefined_angular_unit", count, unitTable(),
                   [](const UnitRow &row) { return row.isAngle ? unitOf(row) : nullptr; });
}
Oawp_PE_UNIT **oawp_PE_pe_predefined_linear_unit(int32_t *count) {
  return tableList("pe_predefined_linear_unit", count, unitTable(),
                   [](const UnitRow &row) { return row.isAngle ? nullptr : unitOf(row); });
}
Oawp_PE_PARAMETER **oawp_PE_pe_predefined_parameter(int32_t *count) {
  return tableList("pe_predefined_parameter", count, parameterTable(), parameterOf);
}
Oawp_PE_PROJECTION **oawp_PE_pe_predefined_projection(int32_t *count) {
  return tableList("pe_predefined_projection", count, projectionTable(),
                   [](const auto &row) { return withCode(make(kProjection, row.name), row.code); });
}
Oawp_PE_METHOD **oawp_PE_pe_predefined_method(int32_t *count) {
  return tableList("pe_predefined_method", count, methodTable(),
                   [](const auto &row) { return withCode(make(kMethod, row.name), row.code); });
}

#define OPRJ_PREDEFINED(name, TYPE)                               \
  Oawp_PE_##TYPE **oawp_PE_pe_predefined_##name(int32_t *count) { \
    return databaseList("pe_predefined_" #name, count);           \
  }
OPRJ_PREDEFINED(datum, DATUM)
OPRJ_PREDEFINED(geogcs, GEOGCS)
OPRJ_PREDEFINED(geogtran, GEOGTRAN)
OPRJ_PREDEFINED(primem, PRIMEM)
OPRJ_PREDEFINED(projcs, PROJCS)
OPRJ_PREDEFINED(spheroid, SPHEROID)
OPRJ_PREDEFINED(vdatum, VDATUM)
