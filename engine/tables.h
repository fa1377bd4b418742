// What the engine knows without a database: units, parameters, projections and methods, each with
// its code (0: none published).
#ifndef OPRJ_ENGINE_TABLES_H
#define OPRJ_ENGINE_TABLES_H

#include <cstdint>
#include <span>
#include <string_view>

namespace orvik::engine {

struct UnitRow {
  int32_t code;
  bool isAngle;
  const char *name;
  double factor;  ///< radians or metres, as texts give it
};
std::span<const UnitRow> unitTable();
/// The unit of a factor that is that of a row within 1e-12, of the same kind; null.
const UnitRow *unitOfFactor(bool isAngle, double factor);

struct NameRow {
  int32_t code;
  const char *name;
};
std::span<const NameRow> parameterTable();
/// Methods of transformations between geographic systems.
std::span<const NameRow> methodTable();

/// What a projection is computed on: kSphere takes the radius from a spheroid too, kOnlySphere has
/// no formula for one.
enum class Figure : uint8_t { kSpheroid, kSphere, kOnlySphere };

struct ParameterEntry {
  std::string_view name, key;
  double standard;
};
/// Takes the first entry off a row's parameters; false when none is left.
bool nextParameter(std::string_view &parameters, ParameterEntry &entry);

struct ProjectionRow {
  int32_t code;
  const char *name;
  Figure figure;
  /// The operation of PROJ with fixed parameters; null: none computes it.
  const char *operation;
  /// Parameters in the order of texts, behind the offsets that all have, separated by blanks:
  /// NAME[:KEY][=DEFAULT]. KEY is the operation's name for it, DEFAULT what it is when a new system
  /// is begun (0, or 1 for scales, when none stands here).
  const char *parameters;
};
std::span<const ProjectionRow> projectionTable();

/// Calls `use(entry)` for each parameter of a row.
template <class Use>
void forEachParameter(const ProjectionRow &row, Use use) {
  ParameterEntry entry{};
  for (std::string_view rest = row.parameters; nextParameter(rest, entry);) use(entry);
}
/// The row of a name, in any case; null.
const ProjectionRow *projectionOf(std::string_view name);

}  // namespace orvik::engine

#endif
