// What systems and their parts are called in texts of the Projection Engine: tables written by
// data/generate/generate.py (docs/engine-names.md shows them), and how they are looked up.
#ifndef OPRJ_INTERCHANGE_TRANSLATION_TABLES_H
#define OPRJ_INTERCHANGE_TRANSLATION_TABLES_H

#include <oprj/ocvt.h>

#include <cmath>
#include <cstdint>
#include <span>
#include <string_view>

namespace orvik::oprj {

/// What the value of a parameter is: in texts numbers as they are, lengths in the system's unit,
/// angles in the geographic system's, longitudes relative to its prime meridian.
enum class Quantity : uint8_t { kNumber, kLength, kAngle, kLongitude };

struct ParameterRow {
  const char *name;
  Quantity quantity;
  double missing;  ///< what it is when a text does not give it
};

/// What a parameter must be for a projection.
enum class Form : uint8_t {
  kSlot,      ///< fills its slot
  kNeeded,    ///< fills its slot, and must be given
  kFixed,     ///< must have the value (a slot may carry it)
  kAccepted,  ///< may be given, with this value; not written
  kAbsent     ///< must not be given
};

struct Binding {
  const char *name;   ///< as it is written
  uint8_t parameter;  ///< of kParameters
  Form form;
  int8_t slot;   ///< of the record; -1: none
  double value;  ///< of kFixed and kAccepted, in degrees where it is an angle
};

/// Conditions on a record that are no matter of single parameters, and what reading and writing
/// change then.
enum class Rule : uint8_t {
  kNone,
  kSphere,        ///< the spheroid is a sphere
  kNorth,         ///< slot 5 not below 0
  kSouth,         ///< slot 5 below 0
  kPole,          ///< slot 5 is a pole
  kTrueScale,     ///< slot 5 is no equator: the latitude of true scale of a polar map
  kTwoParallels,  ///< slot 8 says that both parallels hold
  kTurned,        ///< the axes point south and west: a negative scale factor
  kOrigin,        ///< offsets stand at the natural origin of an oblique Mercator, not the centre
  kAzimuth,       ///< slot 12 says that the line has an azimuth
  kTwoPoints      ///< slot 12 says that the line has two points
};

struct ProjectionRow {
  const char *name;
  int16_t number;
  bool read, written;
  Rule rule;
  uint16_t first, count;  ///< of kBindings
};

struct DatumRow {
  const char *engine;
  const char *reads;  ///< the datum of the tables; empty: several could be meant
};

struct SpheroidRow {
  const char *engine;
  double a, rf;  ///< metres, 1/f (0: a sphere), as the engine's texts have them
  const char *reads;
};

/// The parameter of that name or alias, in any case: its place in the table, or -1.
int parameterNumber(std::string_view name);
const ParameterRow &parameterRow(int number);

/// All rows, in the order of the table: a number is written by its first row whose rule holds.
std::span<const ProjectionRow> projectionRows();
/// The rows as which texts of that name (any case) may be read: their places among all rows.
struct NamedRow {
  const char *name;
  uint16_t row;
};
std::span<const NamedRow> projectionsNamed(std::string_view name);
std::span<const Binding> bindingsOf(const ProjectionRow &row);

/// The row of an engine's datum, with or without "D_" in front, or of the name that the tables have
/// for it; null when there is none.
const DatumRow *engineDatum(std::string_view name);
/// The engine's name of a datum of the tables or of one of its variants; null when there is none.
const char *engineDatumOf(std::string_view name);

const SpheroidRow *engineSpheroid(std::string_view name);
const SpheroidRow *engineSpheroidOf(std::string_view name);

/// Factors of one unit agree so far: the nearest two units differ by 4.7e-9.
inline bool sameFactor(double first, double second) {
  constexpr double kTolerance = 1e-9;  // relative
  return std::fabs(first - second) <= kTolerance * second;
}
/// Our unit of that kind and factor; null when there is none.
const Ocvt_Unit *unitOfFactor(int32_t kind, double factor);

}  // namespace orvik::oprj

#endif
