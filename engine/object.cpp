// What nodes look like, and the operations on whole trees.
#include "engine/object.h"

#include <algorithm>
#include <cmath>

#include "engine/predefined.h"
#include "engine/report.h"

namespace orvik::engine {
namespace {

using enum Kind;

constexpr Word kWords[] = {
    {"PROJCS", kProjcs},       {"GEOGCS", kGeogcs},     {"VERTCS", kVertcs},
    {"VERT_CS", kVertcs},      {"DATUM", kDatum},       {"VDATUM", kVdatum},
    {"VERT_DATUM", kVdatum},   {"SPHEROID", kSpheroid}, {"ELLIPSOID", kSpheroid},
    {"PRIMEM", kPrimem},       {"UNIT", kUnit},         {"LINUNIT", kUnit},
    {"ANGUNIT", kUnit},        {"METHOD", kMethod},     {"PROJECTION", kProjection},
    {"PARAMETER", kParameter}, {"GEOGTRAN", kGeogtran}, {"COMPD_CS", kHvcoordsys},
};

constexpr uint32_t kAny = UINT32_MAX;
constexpr Part kProjcsParts[] = {{setOf(kGeogcs), 1, 1, "GEOGCS"},
                                 {kAnyMethod, 1, 1, "PROJECTION"},
                                 {setOf(kUnit), 1, 1, "UNIT"},
                                 {setOf(kParameter), 0, kAny, "PARAMETER"}};
constexpr Part kGeogcsParts[] = {
    {setOf(kDatum), 1, 1, "DATUM"}, {setOf(kPrimem), 1, 1, "PRIMEM"}, {setOf(kUnit), 1, 1, "UNIT"}};
constexpr Part kVertcsParts[] = {{kAnyDatum, 1, 1, "VDATUM or DATUM"},
                                 {setOf(kUnit), 1, 1, "UNIT"},
                                 {setOf(kParameter), 0, kAny, "PARAMETER"}};
constexpr Part kDatumParts[] = {{setOf(kSpheroid), 1, 1, "SPHEROID"}};
constexpr Part kHvcoordsysParts[] = {{kCoordsys, 1, 1, "PROJCS or GEOGCS"},
                                     {setOf(kVertcs), 1, 1, "VERTCS"}};
constexpr Part kGeogtranParts[] = {{setOf(kGeogcs), 2, 2, "GEOGCS"},
                                   {kAnyMethod, 1, 1, "METHOD"},
                                   {setOf(kParameter), 0, kAny, "PARAMETER"}};

/// In the order of the kinds.
constexpr Shape kShapes[] = {{0, {}},           {0, kHvcoordsysParts},
                             {0, kProjcsParts}, {0, kGeogcsParts},
                             {0, kVertcsParts}, {0, kDatumParts},
                             {0, {}},           {2, {}},
                             {1, {}},           {0, {}},
                             {0, {}},           {1, {}},
                             {1, {}},           {0, kGeogtranParts}};
static_assert(std::size(kShapes) == static_cast<size_t>(kGeogtran) + 1);

constexpr char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

/// An order in which names that are equal in any case stand together.
bool before(const Object *first, const Object *second) {
  return std::ranges::lexicographical_compare(first->name, second->name, {}, lower, lower);
}

toolkit::HeapVector<const Object *> inOrder(std::span<const Object *const> parameters) {
  toolkit::HeapVector<const Object *> sorted(parameters.begin(), parameters.end());
  std::ranges::sort(sorted, before);
  return sorted;
}

}  // namespace

bool sameName(std::string_view first, std::string_view second) {
  // the same bytes nearly always, where they are as many
  return first.size() == second.size() &&
         (first == second || std::ranges::equal(first, second, {}, lower, lower));
}

const Word *wordOf(std::string_view text) {
  const auto found =
      std::ranges::find_if(kWords, [text](const Word &word) { return sameName(word.text, text); });
  return found == std::end(kWords) ? nullptr : found;
}

const Word *wordOf(Kind kind) { return std::ranges::find(kWords, kind, &Word::kind); }

const Shape &shapeOf(Kind kind) { return kShapes[static_cast<size_t>(kind)]; }

bool validNumber(Kind kind, uint32_t index, double value) {
  if (!std::isfinite(value)) return false;
  if (kind == kUnit || (kind == kSpheroid && index == 0)) return value > 0.0;
  return kind != kSpheroid || value == 0.0 || value > 1.0;
}

const Object *knownAs(const void *object, Kinds kinds) {
  const auto *known = static_cast<const Object *>(object);
  if (!known) return nullptr;
  if (known->kind == kHvcoordsys && !(kinds & setOf(kHvcoordsys)))
    known = partOf(*known, kCoordsys);
  return known && (kinds & setOf(known->kind)) ? known : nullptr;
}

const Object *as(const void *object, Kinds kinds, Oerr_Report **err) {
  const Object *known = knownAs(object, kinds);
  if (!known || !known->pending.load(std::memory_order_acquire)) return known;
  if (err) return complete(*known, err) ? known : nullptr;
  Oerr_Report *report = nullptr;
  const bool completed = complete(*known, &report);
  keepReport(report);
  return completed ? known : nullptr;
}

const Object *partOf(const Object &object, Kinds kinds) {
  for (const Object *part : object.parts)
    if (kinds & setOf(part->kind)) return part;
  return nullptr;
}

std::span<const Object *const> parametersOf(const Object &object) {
  if (object.parameters.empty()) return {};
  return {object.parameters.data(), object.parameters.size() - 1};
}

const Object *unknownPartOf(const Object &object, std::string_view keyword) {
  for (const Object *part : object.parts) {
    const std::string_view text = part->name;
    if (part->kind == kOther && text.size() > keyword.size() && text[keyword.size()] == '[' &&
        sameName(text.substr(0, keyword.size()), keyword))
      return part;
  }
  return nullptr;
}

double defaultOf(std::string_view parameter) {
  for (const char *scale : {"Scale_Factor", "X_Scale", "Y_Scale"})
    if (sameName(parameter, scale)) return 1.0;
  return 0.0;
}

OwnedObject make(Kind kind, std::string_view name, std::span<const double> numbers) {
  OwnedObject made(new Object);
  made->kind = kind;
  made->word = wordOf(kind);
  made->name = name;
  std::ranges::copy(numbers, made->numbers);
  const auto parts = shapeOf(kind).parts;
  if (!parts.empty() && parts.back().kinds == setOf(kParameter))
    made->parameters.push_back(nullptr);
  return made;
}

void adopt(Object &object, OwnedObject part) {
  object.parts.push_back(part.get());
  Object &adopted = *part.release();
  adopted.owner = &object;
  if (adopted.kind != kParameter || object.parameters.empty()) return;
  object.parameters.push_back(nullptr);
  object.parameters.end()[-2] = &adopted;
}

OwnedObject clone(const Object &object) {
  OwnedObject copy = make(object.kind, object.name, object.numbers);
  copy->word = object.word;
  copy->code = object.code;
  copy->parts.reserve(object.parts.size());
  if (!object.parameters.empty()) copy->parameters.reserve(object.parameters.size());
  for (const Object *part : object.parts) adopt(*copy, clone(*part));
  return copy;
}

bool equal(const Object &first, const Object &second) {
  constexpr double kClose = 1e-12;
  constexpr Kinds kNamed = setOf(kProjection, kMethod, kParameter, kDatum, kSpheroid);
  const auto close = [](double a, double b) {
    return std::fabs(a - b) <= kClose * std::max(std::fabs(a), std::fabs(b));
  };
  const auto kindOf = [](const Object &object) {
    return object.kind == kMethod ? kProjection : object.kind;
  };
  if (kindOf(first) != kindOf(second)) return false;
  if ((kNamed & setOf(first.kind)) && !sameName(first.name, second.name)) return false;
  for (uint32_t i = 0; i < shapeOf(first.kind).numbers; ++i)
    if (!close(first.numbers[i], second.numbers[i])) return false;
  for (const Part &part : shapeOf(first.kind).parts) {
    if (part.kinds == setOf(kParameter)) continue;
    const Object *a = partOf(first, part.kinds), *b = partOf(second, part.kinds);
    if (!a || !b || !equal(*a, *b)) return false;
  }
  // Parameters by name, mostly in the same order; what one side lacks has its default.
  const auto nameOf = [](const Object *parameter) { return std::string_view(parameter->name); };
  const auto valueOf = [](const Object *parameter) { return parameter->numbers[0]; };
  const auto given = parametersOf(first), others = parametersOf(second);
  if (std::ranges::equal(given, others, sameName, nameOf, nameOf))
    return std::ranges::equal(given, others, close, valueOf, valueOf);
  const auto mine = inOrder(given), theirs = inOrder(others);
  for (auto a = mine.begin(), b = theirs.begin(); a != mine.end() || b != theirs.end();) {
    const bool takeA = a != mine.end() && (b == theirs.end() || !before(*b, *a));
    const bool takeB = b != theirs.end() && (a == mine.end() || !before(*a, *b));
    const double standard = defaultOf(takeA ? (*a)->name : (*b)->name);
    if (!close(takeA ? (*a)->numbers[0] : standard, takeB ? (*b)->numbers[0] : standard))
      return false;
    a += takeA;
    b += takeB;
  }
  return true;
}

const Object *parameterMetTwice(std::span<const Object *const> parameters) {
  const auto sorted = inOrder(parameters);
  const auto twice = std::ranges::adjacent_find(
      sorted, [](const Object *a, const Object *b) { return sameName(a->name, b->name); });
  return twice == sorted.end() ? nullptr : *twice;
}

}  // namespace orvik::engine

Oawp_PE_Object::~Oawp_PE_Object() {
  for (Oawp_PE_Object *part : parts) delete part;
  delete derived.load(std::memory_order_relaxed);
}
