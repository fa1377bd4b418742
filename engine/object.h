// The tree behind the functions of engine.h, for the rooms above: kinds, parts, reading, writing.
#ifndef OPRJ_ENGINE_OBJECT_H
#define OPRJ_ENGINE_OBJECT_H

#include <oprj/engine.h>

#include <atomic>
#include <memory>
#include <span>
#include <string_view>

#include "toolkit/error_scope.h"
#include "toolkit/heap.h"

namespace orvik::engine {

/// What a node of a text is. kOther are nodes that are not known: kept as text.
enum class Kind : uint8_t {
  kOther,
  kHvcoordsys,
  kProjcs,
  kGeogcs,
  kVertcs,
  kDatum,
  kVdatum,
  kSpheroid,
  kPrimem,
  kProjection,
  kMethod,
  kParameter,
  kUnit,
  kGeogtran
};

/// A set of kinds.
using Kinds = uint32_t;
constexpr Kinds setOf(Kind kind) { return Kinds{1} << static_cast<unsigned>(kind); }
template <class... More>
constexpr Kinds setOf(Kind kind, More... more) {
  return setOf(kind) | setOf(more...);
}
inline constexpr Kinds kCoordsys = setOf(Kind::kProjcs, Kind::kGeogcs);
inline constexpr Kinds kAnyDatum = setOf(Kind::kDatum, Kind::kVdatum);
inline constexpr Kinds kAnyMethod = setOf(Kind::kProjection, Kind::kMethod);

/// A keyword of the language. Several words can stand for a kind; the first one of each is its own.
struct Word {
  const char *text;
  Kind kind;
};

/// The word of the language in any case, or null.
const Word *wordOf(std::string_view text);
const Word *wordOf(Kind kind);

/// Parts of some kinds that a kind holds: at least and at most so many.
struct Part {
  Kinds kinds;
  uint32_t least, most;
  const char *expected;  ///< for messages
};

/// What a kind looks like: a name (but for a HVCOORDSYS without keyword), then numbers, then parts
/// in any order, nodes that are not known among them.
struct Shape {
  uint32_t numbers;
  std::span<const Part> parts;
};
const Shape &shapeOf(Kind kind);
/// Whether number `index` of a kind may have that value.
bool validNumber(Kind kind, uint32_t index, double value);

/// What is kept with an object that it was derived from.
struct Derived {
  virtual ~Derived() = default;
};

}  // namespace orvik::engine

/// A node. A kOther has no parts, and as name its whole text without blanks.
struct Oawp_PE_Object : orvik::toolkit::HeapRecord {
  orvik::engine::Kind kind = orvik::engine::Kind::kOther;
  bool named = true;                ///< false: predefined, its name is fetched with the rest
  Oawp_PE_Object *owner = nullptr;  ///< what it is part of
  /// Predefined: known by code and name, the rest yet to be fetched.
  mutable std::atomic<bool> pending{false};
  int32_t code = 0;                           ///< of the predefined object, else 0
  const orvik::engine::Word *word = nullptr;  ///< its keyword; null: a HVCOORDSYS of two texts
  orvik::toolkit::HeapText name;
  double numbers[2] = {};
  orvik::toolkit::HeapVector<Oawp_PE_Object *> parts;  ///< owned
  /// Of kinds with parameters: those among the parts, and a null behind.
  orvik::toolkit::HeapVector<const Oawp_PE_Object *> parameters;
  /// What a room above derived from the object, for as long as nothing in it changes.
  mutable std::atomic<orvik::engine::Derived *> derived{nullptr};

  Oawp_PE_Object() = default;
  ~Oawp_PE_Object();
  Oawp_PE_Object(const Oawp_PE_Object &) = delete;
  Oawp_PE_Object &operator=(const Oawp_PE_Object &) = delete;
};

namespace orvik::engine {

using Object = Oawp_PE_Object;
using OwnedObject = std::unique_ptr<Object>;
using toolkit::HeapText;

/// The object when it is of one of the kinds, else null. A coordinate system with a vertical part
/// is seen through to its horizontal part, unless pairs are asked for. Predefined objects are
/// completed; one that cannot be gives null, with a report (no slot: the thread's).
const Object *as(const void *object, Kinds kinds, Oerr_Report **err = nullptr);
/// The same without completing.
const Object *knownAs(const void *object, Kinds kinds);

/// The first part of one of the kinds; null when there is none.
const Object *partOf(const Object &object, Kinds kinds);
inline const Object *partOf(const Object &object, Kind kind) { return partOf(object, setOf(kind)); }
/// The parameters; empty for kinds without.
std::span<const Object *const> parametersOf(const Object &object);
/// The first part that is not known and has the keyword (upper case) in any case; null.
const Object *unknownPartOf(const Object &object, std::string_view keyword);

/// Names equal, ASCII letters in any case.
bool sameName(std::string_view first, std::string_view second);
/// The value that a parameter has when a text does not give it.
double defaultOf(std::string_view parameter);

// These throw std::bad_alloc: to be kept behind guarded().

/// A parameter whose name another one of the list has too, in any case; null.
const Object *parameterMetTwice(std::span<const Object *const> parameters);

/// A new object without parts.
OwnedObject make(Kind kind, std::string_view name, std::span<const double> numbers = {});
/// Adds a part, which then belongs to the object.
void adopt(Object &object, OwnedObject part);
OwnedObject clone(const Object &object);
/// Appends the object's text.
void write(const Object &object, HeapText &text);
/// Appends a number as texts have it.
void writeNumber(double number, HeapText &text);

/// Reads an object of one of the kinds (HVCOORDSYS: two texts or a COMPD_CS; with one of them the
/// kinds of coordinate systems may have a vertical part). Null: `e` has a report, code `code`,
/// which tells byte and expectation.
OwnedObject read(std::string_view text, Kinds roots, toolkit::ErrorScope &e, int32_t code);

/// The same meaning, as oawp_PE_pe_coordsys_eq has it.
bool equal(const Object &first, const Object &second);

}  // namespace orvik::engine

#endif
