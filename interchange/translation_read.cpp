// From an engine's system to a record.
#include <oprj/ostr.h>

#include <algorithm>
#include <cmath>

#include "interchange/translation_parts.h"
#include "pipeline/function_sets.h"
#include "projections/registry.h"
#include "tables/table_records.h"

namespace orvik::oprj {
namespace {

constexpr double kHalfPi = std::numbers::pi / 2;
// Values that a projection fixes, and those that two parameters share, agree so far: texts have
// fifteen digits at least.
constexpr double kSameValue = 1e-11;
constexpr double kPole = 1e-10;  // rad
constexpr const char *kNoSystem = "The text describes no coordinate system";

/// A parameter of the text in the record's units. `number` is -1 for names that are not known.
struct Given {
  const char *name;
  int number;
  double written, value;
};

class Reading {
 public:
  Reading(const Tables &tables, const EngineObject &system)
      : tables_(tables), projcs_(projectedOf(system)), geogcs_(geographicOf(system)) {
    if (!geogcs_) throw Untranslatable{kNoSystem};
  }

  OwnedParameters read() {
    record_.reset(tables_.need(oprj_ProParametersCreate(tables_.e.cause())));
    readEarth(tables_, *geogcs_, *record_->proSpheroid, notes_);
    const EngineObject &angle = unit(*geogcs_);
    radians_ = exactFactor(angle, OCVT_KIND_ANGLE);
    meridian_ = engine::partOf(*geogcs_, Kind::kPrimem)->numbers[0] * kRadiansPerDegree;
    if (projcs_) {
      readProjected();
    } else {
      if (meridian_ != 0)
        throw Untranslatable{"A geographic system off Greenwich (" +
                             inQuotes(engine::partOf(*geogcs_, Kind::kPrimem)->name) +
                             ") has no projection number"};
      setNumber(tables_, 0, *record_);
      unitName_ = unitNameOf(angle, OCVT_KIND_ANGLE);
    }
    return std::move(record_);
  }
  const std::string &unitName() const { return unitName_; }
  const Notes &notes() const { return notes_; }

 private:
  static const EngineObject &unit(const EngineObject &system) {
    return *engine::partOf(system, Kind::kUnit);
  }

  void readProjected() {
    metres_ = exactFactor(unit(*projcs_), OCVT_KIND_DISTANCE);
    unitName_ = unitNameOf(unit(*projcs_), OCVT_KIND_DISTANCE);
    readParameters();
    tables_.need(oprj_DblArrayCreate(kLeastSlots, &record_->proParams, tables_.e.cause()));
    const auto &name = engine::partOf(*projcs_, Kind::kProjection)->name;
    std::string reasons;
    for (const NamedRow &named : projectionsNamed(name)) {
      const ProjectionRow &row = projectionRows()[named.row];
      const std::string reason = fill(row);
      if (reason.empty()) {
        setNumber(tables_, row.number, *record_);
        narrowToZone(tables_, engine::partOf(*geogcs_, Kind::kDatum)->name, projcs_->name,
                     *record_);
        return;
      }
      if (reasons.find(reason) == std::string::npos)
        reasons += (reasons.empty() ? ": " : "; or ") + reason;
    }
    throw Untranslatable{"The projection " + inQuotes(name) + " has no projection number" +
                         (reasons.empty() ? "" : " here" + reasons)};
  }

  void readParameters() {
    for (const EngineObject *parameter : engine::parametersOf(*projcs_)) {
      Given given{parameter->name.c_str(), parameterNumber(parameter->name), parameter->numbers[0],
                  0};
      given.value = given.number < 0 ? given.written
                                     : inRecord(parameterRow(given.number).quantity, given.written);
      for (const Given &other : given_) {
        if (given.number >= 0 && other.number == given.number)
          throw Untranslatable{inQuotes(other.name) + " and " + inQuotes(given.name) +
                               " mean the same"};
      }
      given_.push_back(given);
    }
  }

  double inRecord(Quantity quantity, double written) const {
    switch (quantity) {
      case Quantity::kLength:
        return written * metres_;
      case Quantity::kAngle:
        return written * radians_;
      case Quantity::kLongitude: {
        const double longitude = written * radians_ + meridian_;
        return std::fabs(longitude) > std::numbers::pi
                   ? std::remainder(longitude, 2 * std::numbers::pi)
                   : longitude;
      }
      default:
        return written;
    }
  }

  const Given *find(const Binding &binding) const {
    const auto found = std::ranges::find(given_, binding.parameter, &Given::number);
    return found == given_.end() ? nullptr : &*found;
  }

  /// Fills the slots by a row; returns why that cannot be, empty when it could.
  std::string fill(const ProjectionRow &row) {
    double *slots = record_->proParams.data;
    std::fill_n(slots, record_->proParams.count, 0.0);
    const Given *filled[kLeastSlots] = {};
    const std::span<const Binding> bindings = bindingsOf(row);
    for (const Binding &binding : bindings) {
      const Given *given = find(binding);
      const ParameterRow &parameter = parameterRow(binding.parameter);
      const double value = given ? given->value : inRecord(parameter.quantity, parameter.missing);
      const auto needed = [&](double wanted) {
        return inQuotes(binding.name) + " would have to be " + shortest(wanted);
      };
      switch (binding.form) {
        case Form::kNeeded:
          if (!given) return inQuotes(binding.name) + " is missing";
          [[fallthrough]];
        case Form::kSlot: {
          const Given *&other = filled[binding.slot];
          if (other && given && std::fabs(other->value - value) > kSameValue)
            return inQuotes(other->name) + " and " + inQuotes(given->name) +
                   " would have to be the same";
          if (other && !given) break;
          slots[binding.slot] = value;
          other = given;
          break;
        }
        case Form::kAbsent:
          if (given) return inQuotes(given->name) + " would have to be left out";
          break;
        case Form::kAccepted:
          if (!given) break;
          [[fallthrough]];
        case Form::kFixed:
          if (!isFixed(parameter, given, binding.value)) return needed(binding.value);
          break;
      }
    }
    for (const Given &given : given_) {
      const bool known = given.number >= 0;
      const double missing = known ? parameterRow(given.number).missing : 0;
      const bool read = known && std::ranges::any_of(bindings, [&given](const Binding &binding) {
                          return binding.parameter == given.number;
                        });
      if (!read && given.written != missing)
        return inQuotes(given.name) + " is not read, and would have to be " + shortest(missing);
    }
    return apply(row.rule, slots);
  }

  /// Whether a parameter has the value (degrees where it is an angle) that its projection fixes.
  bool isFixed(const ParameterRow &parameter, const Given *given, double value) const {
    const bool isAngle =
        parameter.quantity == Quantity::kAngle || parameter.quantity == Quantity::kLongitude;
    const double wanted = isAngle ? value * kRadiansPerDegree : value;
    const double has = given ? given->value : inRecord(parameter.quantity, parameter.missing);
    return std::fabs(has - wanted) <= kSameValue;
  }

  /// What a rule does to filled slots; returns why it does not hold.
  std::string apply(Rule rule, double *slots) const {
    const Oprj_Spheroid &spheroid = *record_->proSpheroid;
    const bool atPole = std::fabs(std::fabs(slots[5]) - kHalfPi) <= kPole;
    switch (rule) {
      case Rule::kSphere:
        return spheroid.a == spheroid.b ? "" : "here it is computed on spheres only";
      case Rule::kNorth:
        return slots[5] >= 0 ? "" : "its parallel would have to lie in the north";
      case Rule::kSouth:
        return slots[5] < 0 ? "" : "its parallel would have to lie in the south";
      case Rule::kPole:
        return atPole ? "" : "its latitude would have to be a pole";
      case Rule::kTrueScale:
        return slots[5] != 0 ? "" : "its latitude would have to tell the pole";
      case Rule::kTwoParallels:
        slots[8] = 1;
        return "";
      case Rule::kTurned:
        slots[2] = -slots[2];
        return "";
      case Rule::kOrigin:
        moveOffsets(1, spheroid, slots);
        return std::isfinite(slots[6]) && std::isfinite(slots[7]) ? "" : "its centre is a pole";
      default:
        return "";
    }
  }

  const Tables &tables_;
  const EngineObject *const projcs_, *const geogcs_;
  OwnedParameters record_;
  Notes notes_;
  std::vector<Given> given_;
  std::string unitName_;
  double radians_ = 1, metres_ = 1, meridian_ = 0;  // a unit; of the prime meridian
};

}  // namespace
}  // namespace orvik::oprj

using namespace orvik::oprj;

Oprj_ProParameters *oprj_ProParametersFromCOORDSYS(const Oawp_PE_COORDSYS *system,
                                                   Oprj_Char **unitName, Oprj_Note **notes,
                                                   Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersFromCOORDSYS", err);
  if (unitName) *unitName = nullptr;
  if (notes) *notes = nullptr;
  if (!system) return e.fail(1, "Args");
  return translating(e, 2, [&]() -> Oprj_ProParameters * {
    const Tables tables(e, notes != nullptr);
    Reading reading(tables, *system);
    OwnedParameters record = reading.read();
    OwnedText unit;
    if (unitName && !(unit = newText(reading.unitName()))) throw std::bad_alloc();
    if (notes) *notes = reading.notes().release();
    if (unitName) *unitName = unit.release();
    return record.release();
  });
}

Oprj_MapProjectionEx *oprj_COORDSYSToMapProjection(const Oawp_PE_COORDSYS *system,
                                                   Oprj_Char **unitName, Oerr_Report **err) {
  ErrorScope e("oprj_COORDSYSToMapProjection", err);
  if (unitName) *unitName = nullptr;
  if (!system) return e.fail(1, "Args");
  Oprj_Char *unit = nullptr;
  const OwnedParameters record(oprj_ProParametersFromCOORDSYS(system, &unit, nullptr, e.cause()));
  OwnedText ownedUnit(unit);
  if (!record) return e.fail(2, "Error returned from oprj_ProParametersFromCOORDSYS");
  const Oprj_Datum &datum = *record->proSpheroid->datum;
  if (datum.type == OPRJ_DATUM_NONE && !isUndefined(&datum))
    oerr_LogMessage("The datum \"%s\" is not shifted to any other", shown(datum.datumname).c_str());
  Oprj_MapProjectionEx *handle = nullptr;
  if (!oprj_ProjectionInit(nullptr, record.get(), &handle, e.cause()))
    return e.fail(3, "Error returned from oprj_ProjectionInit");
  if (unitName) *unitName = ownedUnit.release();
  return handle;
}

Oprj_ProParameters *oprj_ProParametersHoldingPEString(const Oprj_Char *string, Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersHoldingPEString", err);
  if (!string) return e.fail(1, "Args");
  const Utf8 text(string, e);
  if (e.failed()) return nullptr;
  const OwnedObject system(OAWP_FCLL_PE(pe_coordsys_from_string)(text));
  if (!system) {
    oawp_PE_ReportTake(e.cause());
    return e.fail(2, "OAWP_FCLL_PE(pe_coordsys_from_string) failed");
  }
  return translating(e, 3, [&]() -> Oprj_ProParameters * {
    const Tables tables(e);
    OwnedParameters record(tables.need(oprj_ProParametersCreate(e.cause())));
    const EngineObject *projcs = projectedOf(*system), *geogcs = geographicOf(*system);
    if (!geogcs) throw Untranslatable{kNoSystem};
    Notes notes;
    readEarth(tables, *geogcs, *record->proSpheroid, notes);
    const auto &name = (projcs ? projcs : geogcs)->name;
    tables.need(oprj_CharStrCreate(Flat(name.empty() ? "Unknown" : name.c_str()), &record->proName,
                                   e.cause()));
    tables.need(oprj_CharStrCreate(string, &record->proExeName, e.cause()));
    return record.release();
  });
}
