// Predefined objects (predefined.h).
#include "engine/predefined.h"

#include <algorithm>
#include <charconv>
#include <mutex>

#include "engine/module.h"
#include "engine/report.h"
#include "engine/tables.h"
#include "toolkit/lasting.h"

namespace orvik::engine {
namespace {

using enum Kind;
using toolkit::ErrorScope;
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

/// The kinds of the database in the order in which a code is looked for.
struct StoredKind {
  Kind kind;
  Stored stored;
};
constexpr StoredKind kStored[] = {{kPrimem, Stored::kPrimem}, {kSpheroid, Stored::kSpheroid},
                                  {kGeogcs, Stored::kGeogcs}, {kProjcs, Stored::kProjcs},
                                  {kVertcs, Stored::kVertcs}, {kDatum, Stored::kDatum},
                                  {kVdatum, Stored::kVdatum}, {kGeogtran, Stored::kGeogtran}};

/// Gives units and scales of the database the figures that the engine's texts have.
void refine(Object &object) {
  for (Object *part : object.parts) {
    if (part->kind == kUnit) {
      const UnitRow *row = unitOfFactor(object.kind == kGeogcs, part->numbers[0]);
      if (!row) continue;
      part->name = row->name;
      part->numbers[0] = row->factor;
      part->code = row->code;
    } else if (part->kind == kParameter && sameName(part->name, "Scale_Factor")) {
      // Some scales are stored as millionths.
      constexpr double kLeastScale = 1e-3, kMillionth = 1e-6;
      if (part->numbers[0] > 0.0 && part->numbers[0] < kLeastScale) part->numbers[0] /= kMillionth;
    } else {
      refine(*part);
    }
  }
}

/// The stored object of a code; null when there is none, or with a report.
OwnedObject fetch(const StoredKind &kind, int32_t code, ErrorScope &e) {
  const Module *proj = module(e.cause());
  const toolkit::HeapBlock<char> text(proj ? proj->textOf(kind.stored, code, e.cause()) : nullptr);
  if (!text) {
    if (e.calleeFailed()) e.fail(kNoDatabase, "The stored object %d cannot be fetched", code);
    return nullptr;
  }
  OwnedObject object = read(text.get(), setOf(kind.kind), e, kNoDatabase);
  if (!object) return nullptr;
  refine(*object);
  return withCode(std::move(object), code);
}

Object *byCode(const char *function, int32_t code, Kinds kinds) {
  return called(function, [&](Call &e) -> Object * {
    if (code <= 0) return e.fail(kNotFound, "No predefined object %d", code);
    OwnedObject object = ownByCode(code);
    if (object && (kinds & setOf(object->kind))) return object.release();
    for (const StoredKind &kind : kStored) {
      if (!(kinds & setOf(kind.kind))) continue;
      object = fetch(kind, code, e);
      if (object) return object.release();
      if (e.failed()) {
        e.setKind(OAWP_PE_NO_DATABASE);
        return nullptr;
      }
    }
    return e.fail(kNotFound, "No predefined object %d", code);
  });
}

/// A list that the database fills.
struct Filled {
  Kind kind;
  Objects objects;
  bool whole = true;

  static void add(void *self, int32_t code, const char *name) {
    auto &list = *static_cast<Filled *>(self);
    if (!list.whole) return;
    try {  // nothing is thrown through the module
      OwnedObject object = withCode(make(list.kind, name ? name : ""), code);
      object->named = name != nullptr;
      object->pending.store(true, std::memory_order_relaxed);
      list.objects.push_back(std::move(object));
    } catch (const std::bad_alloc &) {
      list.whole = false;
    }
  }
};

Object **databaseList(const char *function, Kind kind, int32_t *count) {
  if (count) *count = 0;
  return called(function, [&](Call &e) -> Object ** {
    Filled list{kind, {}};
    const auto stored = std::ranges::find(kStored, kind, &StoredKind::kind)->stored;
    const Module *proj = module(e.cause());
    if (!proj || !proj->forEach(stored, Filled::add, &list, e.cause())) {
      e.fail(kNoDatabase, "The stored objects cannot be listed");
      e.setKind(OAWP_PE_NO_DATABASE);
      return nullptr;
    }
    if (!list.whole) throw std::bad_alloc();
    return listOf<Object *>(list.objects, count);
  });
}

}  // namespace

bool complete(const Object &object, Oerr_Report **err) {
  ErrorScope e("completePredefined", err);
  return guarded(e, kMemory, [&]() -> bool {
    static toolkit::Lasting<std::mutex> mutex;
    const std::lock_guard lock(*mutex);
    if (!object.pending.load(std::memory_order_relaxed)) return true;
    const OwnedObject fetched =
        fetch(*std::ranges::find(kStored, object.kind, &StoredKind::kind), object.code, e);
    if (!fetched)
      return e.failed() ? false : e.fail(kNotFound, "No predefined object %d", object.code);
    auto &completed = const_cast<Object &>(object);  // what nobody could look at until now
    if (!object.named) completed.name.swap(fetched->name);
    std::ranges::copy(fetched->numbers, completed.numbers);
    completed.parts.swap(fetched->parts);
    completed.parameters.swap(fetched->parameters);
    completed.word = fetched->word;
    for (Object *part : completed.parts) part->owner = &completed;
    object.pending.store(false, std::memory_order_release);
    return true;
  });
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
    const auto add = [&objects](const ParameterEntry &entry) {
      objects.push_back(make(kParameter, entry.name, {&entry.standard, 1}));
    };
    add({"False_Easting", {}, 0.0});
    add({"False_Northing", {}, 0.0});
    forEachParameter(*row, add);
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

#define OPRJ_PREDEFINED(name, TYPE, kind)                         \
  Oawp_PE_##TYPE **oawp_PE_pe_predefined_##name(int32_t *count) { \
    return databaseList("pe_predefined_" #name, kind, count);     \
  }
OPRJ_PREDEFINED(datum, DATUM, kDatum)
OPRJ_PREDEFINED(geogcs, GEOGCS, kGeogcs)
OPRJ_PREDEFINED(geogtran, GEOGTRAN, kGeogtran)
OPRJ_PREDEFINED(primem, PRIMEM, kPrimem)
OPRJ_PREDEFINED(projcs, PROJCS, kProjcs)
OPRJ_PREDEFINED(spheroid, SPHEROID, kSpheroid)
OPRJ_PREDEFINED(vdatum, VDATUM, kVdatum)
