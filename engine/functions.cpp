// The functions of engine.h on objects and texts.
#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <initializer_list>

#include "engine/object.h"
#include "engine/report.h"

namespace orvik::engine {
namespace {

using enum Kind;
using toolkit::guarded;
using toolkit::HeapVector;

constexpr Kinds kPair = setOf(kHvcoordsys);

enum TextCode { kArguments = 1, kSyntax, kMemory };

Object *fromText(const char *function, const char *text, Kinds roots, Kinds wanted = ~Kinds{0}) {
  Call e(function);
  if (!text) return e.fail(kArguments, "Args");
  return guarded(e, kMemory, [&]() -> Object * {
    OwnedObject object = read(text, roots, e, kSyntax);
    if (object && !(wanted & setOf(object->kind))) {
      e.fail(kSyntax, "Byte %zu: expected a vertical system, found the end", std::strlen(text) + 1);
      object.reset();
    }
    if (!object) e.setKind(OAWP_PE_SYNTAX);
    return object.release();
  });
}

/// The object as functions on whole systems mean it: with its vertical part.
const Object *wholeAs(const Object *object, Kinds kinds, Oerr_Report **err) {
  const Object *known = as(object, kinds, err);
  return known && object->kind == kHvcoordsys ? object : known;
}

char *toText(const char *function, const Object *object, Kinds kinds, char *buffer, size_t size) {
  Call e(function);
  if (buffer && size > 0) *buffer = '\0';
  const Object *written = wholeAs(object, kinds, e.cause());
  if (!written) return e.fail(kArguments, "Args");
  return guarded(e, kMemory, [&]() -> char * {
    constexpr size_t kUsualLength = 1024;
    HeapText text;
    text.reserve(kUsualLength);
    write(*written, text);
    if (!buffer) {
      auto copy = toolkit::heapCopy(text);
      if (!copy) return e.fail(kMemory, "Out of memory");
      return copy.release();
    }
    if (text.size() >= size)
      return e.fail(2, "A text of %zu bytes does not fit into %zu", text.size() + 1, size);
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return buffer;
  });
}

Object *cloneOf(const char *function, const Object *object, Kinds kinds) {
  Call e(function);
  const Object *source = wholeAs(object, kinds, e.cause());
  if (!source) return e.fail(kArguments, "Args");
  return guarded(e, 2, [&] { return clone(*source).release(); });
}

void end(Object *object, Kinds kinds) {
  if (knownAs(object, kinds) && !object->owner) delete object;
}

int32_t same(const char *function, const Object *first, const Object *second, Kinds kinds) {
  Call e(function);
  const Object *a = as(first, kinds, e.cause());
  const Object *b = a ? as(second, kinds, e.cause()) : nullptr;
  if (e.calleeFailed()) return e.fail(kArguments, "Args");
  if (!a || !b) return 0;
  return guarded(e, 2, [&]() -> int32_t { return equal(*a, *b); });
}

const char *nameOf(const Object *object, Kinds kinds) {
  const Object *known = knownAs(object, kinds);
  if (known && !known->named) known = as(object, kinds);
  return known ? known->name.c_str() : "";
}

const Object *lent(const Object *object, Kind kind, Kinds part) {
  const Object *known = as(object, setOf(kind));
  return known ? partOf(*known, part) : nullptr;
}

double numberOf(const Object *object, Kind kind) {
  const Object *known = as(object, setOf(kind));
  return known ? known->numbers[0] : 0.0;
}

const Object *const *listOf(const Object *object, Kind kind) {
  const Object *known = as(object, setOf(kind));
  return known ? known->parameters.data() : nullptr;
}

using Parts = std::initializer_list<Object *>;

/// A new object of the kind with its parts: those before the parameters, the parameters (a list
/// that ends with null, or null), those behind.
Object *build(const char *function, Kind kind, const char *name, std::span<const double> numbers,
              Parts before = {}, Object **parameters = nullptr, Parts behind = {}) {
  Call e(function);
  if (!name) return e.fail(kArguments, "Args");
  for (uint32_t i = 0; i < numbers.size(); ++i)
    if (!validNumber(kind, i, numbers[i])) return e.fail(2, "Invalid value");
  return guarded(e, kMemory, [&]() -> Object * {
    HeapVector<Object *> parts(before);
    for (Object **p = parameters; p && *p; ++p) parts.push_back(*p);
    const auto parameterCount = static_cast<ptrdiff_t>(parts.size() - before.size());
    parts.insert(parts.end(), behind);
    // every part is there, free, of a kind that belongs here, and given once
    for (Object *part : parts)
      if (!part || part->owner || !as(part, setOf(part->kind), e.cause()))
        return e.fail(kArguments, "Args");
    size_t belonging = 0;
    for (const Part &p : shapeOf(kind).parts) {
      const auto count = std::ranges::count_if(
          parts, [&p](const Object *part) { return (p.kinds & setOf(part->kind)) != 0; });
      if (count < p.least || count > p.most) return e.fail(kArguments, "Args");
      belonging += static_cast<size_t>(count);
    }
    HeapVector<Object *> apart = parts;
    std::ranges::sort(apart, std::less<>());
    if (belonging != parts.size() || std::ranges::adjacent_find(apart) != apart.end())
      return e.fail(kArguments, "Args");
    const auto firstParameter = parts.begin() + static_cast<ptrdiff_t>(before.size());
    const HeapVector<const Object *> given(firstParameter, firstParameter + parameterCount);
    if (const Object *twice = parameterMetTwice(given))
      return e.fail(2, "Invalid value: parameter \"%.60s\" stands twice", twice->name.c_str());
    OwnedObject made = make(kind, name, numbers);
    made->parts.reserve(parts.size());  // from here on nothing can fail
    if (parameterCount > 0) made->parameters.reserve(given.size() + 1);
    for (Object *part : parts) adopt(*made, OwnedObject(part));
    return made.release();
  });
}

}  // namespace

}  // namespace orvik::engine

using namespace orvik::engine;
using enum Kind;

// --- texts ---

Oawp_PE_COORDSYS *oawp_PE_pe_coordsys_from_string(const char *text) {
  return fromText("pe_coordsys_from_string", text, kCoordsys | kPair);
}
Oawp_PE_HVCOORDSYS *oawp_PE_pe_hvcoordsys_from_string(const char *text) {
  return fromText("pe_hvcoordsys_from_string", text, kCoordsys | kPair, kPair);
}

#define OPRJ_FROM_STRING(name, TYPE, kinds)                           \
  Oawp_PE_##TYPE *oawp_PE_pe_##name##_from_string(const char *text) { \
    return fromText("pe_" #name "_from_string", text, kinds);         \
  }
OPRJ_FROM_STRING(datum, DATUM, setOf(kDatum))
OPRJ_FROM_STRING(spheroid, SPHEROID, setOf(kSpheroid))
OPRJ_FROM_STRING(projection, PROJECTION, kAnyMethod)
OPRJ_FROM_STRING(unit, UNIT, setOf(kUnit))

#define OPRJ_TO_STRING(name, TYPE, kinds)                                                        \
  char *oawp_PE_pe_##name##_to_string(const Oawp_PE_##TYPE *object, char *buffer, size_t size) { \
    return toText("pe_" #name "_to_string", object, kinds, buffer, size);                        \
  }
OPRJ_TO_STRING(coordsys, COORDSYS, kCoordsys)
OPRJ_TO_STRING(hvcoordsys, HVCOORDSYS, kPair)
OPRJ_TO_STRING(projcs, PROJCS, setOf(kProjcs))
OPRJ_TO_STRING(geogcs, GEOGCS, setOf(kGeogcs))
OPRJ_TO_STRING(datum, DATUM, setOf(kDatum))
OPRJ_TO_STRING(spheroid, SPHEROID, setOf(kSpheroid))
OPRJ_TO_STRING(primem, PRIMEM, setOf(kPrimem))
OPRJ_TO_STRING(projection, PROJECTION, kAnyMethod)
OPRJ_TO_STRING(method, METHOD, kAnyMethod)
OPRJ_TO_STRING(parameter, PARAMETER, setOf(kParameter))
OPRJ_TO_STRING(unit, UNIT, setOf(kUnit))
OPRJ_TO_STRING(geogtran, GEOGTRAN, setOf(kGeogtran))

// --- copies, ends, comparison ---

#define OPRJ_CLONE(name, TYPE, kinds)                                       \
  Oawp_PE_##TYPE *oawp_PE_pe_##name##_clone(const Oawp_PE_##TYPE *object) { \
    return cloneOf("pe_" #name "_clone", object, kinds);                    \
  }
OPRJ_CLONE(coordsys, COORDSYS, kCoordsys)
OPRJ_CLONE(projcs, PROJCS, setOf(kProjcs))
OPRJ_CLONE(geogcs, GEOGCS, setOf(kGeogcs))
OPRJ_CLONE(datum, DATUM, setOf(kDatum))
OPRJ_CLONE(projection, PROJECTION, kAnyMethod)
OPRJ_CLONE(parameter, PARAMETER, setOf(kParameter))
OPRJ_CLONE(unit, UNIT, setOf(kUnit))

Oawp_PE_VERTCS *oawp_PE_VertcsClone(const Oawp_PE_VERTCS *object) {
  return cloneOf("oawp_PE_VertcsClone", object, setOf(kVertcs));
}
Oawp_PE_HVCOORDSYS *oawp_PE_HVCoordsysClone(const Oawp_PE_HVCOORDSYS *object) {
  return cloneOf("oawp_PE_HVCoordsysClone", object, kPair);
}

#define OPRJ_DEL(name, TYPE, kinds) \
  void oawp_PE_pe_##name##_del(Oawp_PE_##TYPE *object) { end(object, kinds); }
OPRJ_DEL(coordsys, COORDSYS, kCoordsys)
OPRJ_DEL(hvcoordsys, HVCOORDSYS, kPair)
OPRJ_DEL(projcs, PROJCS, setOf(kProjcs))
OPRJ_DEL(geogcs, GEOGCS, setOf(kGeogcs))
OPRJ_DEL(vertcs, VERTCS, setOf(kVertcs))
OPRJ_DEL(datum, DATUM, kAnyDatum)
OPRJ_DEL(spheroid, SPHEROID, setOf(kSpheroid))
OPRJ_DEL(primem, PRIMEM, setOf(kPrimem))
OPRJ_DEL(projection, PROJECTION, kAnyMethod)
OPRJ_DEL(method, METHOD, kAnyMethod)
OPRJ_DEL(parameter, PARAMETER, setOf(kParameter))
OPRJ_DEL(unit, UNIT, setOf(kUnit))
OPRJ_DEL(geogtran, GEOGTRAN, setOf(kGeogtran))

int32_t oawp_PE_pe_coordsys_eq(const Oawp_PE_COORDSYS *first, const Oawp_PE_COORDSYS *second) {
  return same("pe_coordsys_eq", first, second, kCoordsys);
}
int32_t oawp_PE_pe_parameter_eq(const Oawp_PE_PARAMETER *first, const Oawp_PE_PARAMETER *second) {
  return same("pe_parameter_eq", first, second, setOf(kParameter));
}
int32_t oawp_PE_pe_unit_eq(const Oawp_PE_UNIT *first, const Oawp_PE_UNIT *second) {
  return same("pe_unit_eq", first, second, setOf(kUnit));
}

// --- what an object is and holds ---

#define OPRJ_IS(name, kinds) \
  int32_t oawp_PE_pe_##name##_p(const void *object) { return knownAs(object, kinds) != nullptr; }
OPRJ_IS(hvcoordsys, kPair)
OPRJ_IS(projcs, setOf(kProjcs))
OPRJ_IS(geogcs, setOf(kGeogcs))
OPRJ_IS(vertcs, setOf(kVertcs))
OPRJ_IS(datum, setOf(kDatum))

#define OPRJ_NAME(name, TYPE, kinds)                                   \
  const char *oawp_PE_pe_##name##_name(const Oawp_PE_##TYPE *object) { \
    return nameOf(object, kinds);                                      \
  }
OPRJ_NAME(projcs, PROJCS, setOf(kProjcs))
OPRJ_NAME(geogcs, GEOGCS, setOf(kGeogcs))
OPRJ_NAME(vdatum, VDATUM, kAnyDatum)
OPRJ_NAME(datum, DATUM, setOf(kDatum))
OPRJ_NAME(spheroid, SPHEROID, setOf(kSpheroid))
OPRJ_NAME(primem, PRIMEM, setOf(kPrimem))
OPRJ_NAME(projection, PROJECTION, kAnyMethod)
OPRJ_NAME(parameter, PARAMETER, setOf(kParameter))
OPRJ_NAME(unit, UNIT, setOf(kUnit))
OPRJ_NAME(geogtran, GEOGTRAN, setOf(kGeogtran))

const char *oawp_PE_VertcsName(const Oawp_PE_VERTCS *object) {
  return nameOf(object, setOf(kVertcs));
}

#define OPRJ_PART(name, TYPE, kind, part, PART, kinds)                             \
  const Oawp_PE_##PART *oawp_PE_pe_##name##_##part(const Oawp_PE_##TYPE *object) { \
    return lent(object, kind, kinds);                                              \
  }
OPRJ_PART(projcs, PROJCS, kProjcs, geogcs, GEOGCS, setOf(kGeogcs))
OPRJ_PART(projcs, PROJCS, kProjcs, projection, PROJECTION, kAnyMethod)
OPRJ_PART(projcs, PROJCS, kProjcs, unit, UNIT, setOf(kUnit))
OPRJ_PART(geogcs, GEOGCS, kGeogcs, datum, DATUM, setOf(kDatum))
OPRJ_PART(geogcs, GEOGCS, kGeogcs, primem, PRIMEM, setOf(kPrimem))
OPRJ_PART(geogcs, GEOGCS, kGeogcs, unit, UNIT, setOf(kUnit))
OPRJ_PART(datum, DATUM, kDatum, spheroid, SPHEROID, setOf(kSpheroid))
OPRJ_PART(vertcs, VERTCS, kVertcs, hvdatum, Object, kAnyDatum)
OPRJ_PART(vertcs, VERTCS, kVertcs, unit, UNIT, setOf(kUnit))
OPRJ_PART(hvcoordsys, HVCOORDSYS, kHvcoordsys, coordsys, COORDSYS, kCoordsys)
OPRJ_PART(hvcoordsys, HVCOORDSYS, kHvcoordsys, vertcs, VERTCS, setOf(kVertcs))

const Oawp_PE_PARAMETER *const *oawp_PE_pe_projcs_parameters(const Oawp_PE_PROJCS *object) {
  return listOf(object, kProjcs);
}
const Oawp_PE_PARAMETER *const *oawp_PE_pe_vertcs_parameters(const Oawp_PE_VERTCS *object) {
  return listOf(object, kVertcs);
}

double oawp_PE_pe_primem_longitude(const Oawp_PE_PRIMEM *object) {
  return numberOf(object, kPrimem);
}
double oawp_PE_pe_parameter_value(const Oawp_PE_PARAMETER *object) {
  return numberOf(object, kParameter);
}
double oawp_PE_pe_unit_factor(const Oawp_PE_UNIT *object) { return numberOf(object, kUnit); }

int32_t oawp_PE_SpheroidAxes(const Oawp_PE_SPHEROID *spheroid, double *a, double *rf) {
  const Object *known = as(spheroid, setOf(kSpheroid));
  if (!known) return 0;
  if (a) *a = known->numbers[0];
  if (rf) *rf = known->numbers[1];
  return 1;
}

void oawp_PE_pe_parameter_value_set(Oawp_PE_PARAMETER *parameter, double value) {
  Call e("pe_parameter_value_set");
  if (!as(parameter, setOf(kParameter), e.cause())) e.fail(kArguments, "Args");
  else if (!validNumber(kParameter, 0, value)) e.fail(2, "Invalid value");
  else parameter->numbers[0] = value;
}

// --- making objects ---

Oawp_PE_PROJCS *oawp_PE_pe_projcs_new(const char *name, Oawp_PE_GEOGCS *geogcs,
                                      Oawp_PE_PROJECTION *projection,
                                      Oawp_PE_PARAMETER **parameters, Oawp_PE_UNIT *unit) {
  return build("pe_projcs_new", kProjcs, name, {}, {geogcs, projection}, parameters, {unit});
}
Oawp_PE_GEOGCS *oawp_PE_pe_geogcs_new(const char *name, Oawp_PE_DATUM *datum,
                                      Oawp_PE_PRIMEM *primem, Oawp_PE_UNIT *unit) {
  return build("pe_geogcs_new", kGeogcs, name, {}, {datum, primem, unit});
}
Oawp_PE_DATUM *oawp_PE_pe_datum_new(const char *name, Oawp_PE_SPHEROID *spheroid) {
  return build("pe_datum_new", kDatum, name, {}, {spheroid});
}
Oawp_PE_SPHEROID *oawp_PE_pe_spheroid_new(const char *name, double a, double rf) {
  return build("pe_spheroid_new", kSpheroid, name, std::array{a, rf});
}
Oawp_PE_PRIMEM *oawp_PE_pe_primem_new(const char *name, double degrees) {
  return build("pe_primem_new", kPrimem, name, std::array{degrees});
}
Oawp_PE_UNIT *oawp_PE_pe_unit_new(const char *name, double factor) {
  return build("pe_unit_new", kUnit, name, std::array{factor});
}
Oawp_PE_PARAMETER *oawp_PE_pe_parameter_new(const char *name, double value) {
  return build("pe_parameter_new", kParameter, name, std::array{value});
}
Oawp_PE_VERTCS *oawp_PE_pe_vertcs_new(const char *name, void *hvdatum,
                                      Oawp_PE_PARAMETER **parameters, Oawp_PE_UNIT *unit) {
  return build("pe_vertcs_new", kVertcs, name, {}, {static_cast<Object *>(hvdatum)}, parameters,
               {unit});
}
Oawp_PE_HVCOORDSYS *oawp_PE_pe_hvcoordsys_new(Oawp_PE_COORDSYS *coordsys, Oawp_PE_VERTCS *vertcs) {
  Object *pair = build("pe_hvcoordsys_new", kHvcoordsys, "", {}, {coordsys, vertcs});
  if (pair) pair->word = nullptr;
  return pair;
}
Oawp_PE_GEOGTRAN *oawp_PE_pe_geogtran_new(const char *name, Oawp_PE_GEOGCS *from,
                                          Oawp_PE_GEOGCS *to, Oawp_PE_METHOD *method,
                                          Oawp_PE_PARAMETER **parameters) {
  return build("pe_geogtran_new", kGeogtran, name, {}, {from, to, method}, parameters);
}

void oawp_PE_pe_table_del(void **table) {
  for (void **entry = table; entry && *entry; ++entry) {
    auto *object = static_cast<Object *>(*entry);
    if (!object->owner) delete object;
  }
  omsc_HeapFree(table);
}
