// oprj check: what is doubtful in a .prj file.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <set>

#include "check.h"
#include "names.h"

namespace program {
namespace {

/// Collects what is found in one text.
class Lint {
 public:
  Lint(Oint_Toolkit *toolkit, const std::string &text) : toolkit_(toolkit) {
    object_ = oawp_PE_pe_coordsys_from_string(text.c_str());
    Slot err;
    oawp_PE_ReportTake(err.get());
    if (!object_) {
      find("cannot be read: " + err.rootMessage());
      return;
    }
    constexpr size_t kShortReaders = 1023;  // bytes
    if (text.size() > kShortReaders) find("is longer than 1023 bytes: some readers stop there");
    const bool projected = oawp_PE_pe_projcs_p(object_) != 0;
    const Oawp_PE_GEOGCS *geogcs = projected ? oawp_PE_pe_projcs_geogcs(object_) : object_;
    checkUnit(oawp_PE_pe_geogcs_unit(geogcs), OCVT_KIND_ANGLE);
    if (projected) checkUnit(oawp_PE_pe_projcs_unit(object_), OCVT_KIND_DISTANCE);
    checkMeridian(oawp_PE_pe_geogcs_primem(geogcs));
    checkDatum(oawp_PE_pe_geogcs_datum(geogcs));
    if (projected) checkParameters();
    checkMeaning();
  }
  ~Lint() { oawp_PE_pe_coordsys_del(object_); }
  Lint(const Lint &) = delete;
  Lint &operator=(const Lint &) = delete;
  const std::vector<std::string> &findings() const { return findings_; }

 private:
  void find(std::string finding) {
    if (seen_.insert(finding).second) findings_.push_back(std::move(finding));
  }
  static std::string quoted(const char *name) { return "\"" + std::string(name) + "\""; }

  void checkUnit(const Oawp_PE_UNIT *unit, int32_t kind) {
    // The engine's own degree has 15 digits and is 3e-15 off.
    constexpr double kExact = 1e-14, kCut = 1e-4;  // relative
    const char *name = oawp_PE_pe_unit_name(unit);
    const double factor = oawp_PE_pe_unit_factor(unit);
    const Ocvt_Unit *known = ocvt_UnitSetByName(name, nullptr);
    if (!known || known->factor == 0 || known->kind != kind) {
      find("the unit " + quoted(name) + " is not known: its factor alone, " + numberText(factor) +
           ", says what it is");
      return;
    }
    const double off = std::fabs(factor / known->factor - 1);
    if (off <= kExact) return;
    for (int32_t i = 0; const Ocvt_Unit *other = ocvt_UnitByIndex(i); ++i) {
      constexpr double kBetter = 0.1;
      if (other->kind == kind && std::fabs(factor / other->factor - 1) < kBetter * off) {
        find("the factor " + numberText(factor) + " does not fit the name " + quoted(name) +
             ": it is that of " + other->name);
        return;
      }
    }
    find("the factor " + numberText(factor) + " of " + quoted(name) +
         (off < kCut ? " is cut: " : " does not fit the name: ") + "it is " +
         numberText(known->factor));
  }

  void checkMeridian(const Oawp_PE_PRIMEM *meridian) {
    const double longitude = oawp_PE_pe_primem_longitude(meridian);
    const bool greenwich = lower(oawp_PE_pe_primem_name(meridian)) == "greenwich";
    if (greenwich != (longitude == 0))
      find("the prime meridian " + quoted(oawp_PE_pe_primem_name(meridian)) + " lies at " +
           numberText(longitude) + " degrees");
  }

  void checkDatum(const Oawp_PE_DATUM *datum) {
    const std::string name = oawp_PE_pe_datum_name(datum);
    if (!name.starts_with("D_"))
      find("the datum " + quoted(name.c_str()) + " is not named as the engine does: D_...");
    const Oawp_PE_SPHEROID *spheroid = oawp_PE_pe_datum_spheroid(datum);
    double a = 0, rf = 0;
    oawp_PE_SpheroidAxes(spheroid, &a, &rf);
    Oprj_Note *made = nullptr;
    Slot err;
    const OwnedRecord record(oprj_ProParametersFromCOORDSYS(
        oawp_PE_pe_projcs_p(object_) ? oawp_PE_pe_projcs_geogcs(object_) : object_, nullptr, &made,
        err.get()));
    const OwnedNotes notes(made);
    for (const Oprj_Note *note = made; note; note = note->next) {
      if (note->kind != OPRJ_NOTE_GRID) find(note->text);
    }
    checkAxes(oawp_PE_pe_spheroid_name(spheroid), a, rf != 0 ? a - a / rf : a);
  }

  /// Constants that are those of a spheroid of the tables but for some digits.
  void checkAxes(const char *name, double a, double b) {
    constexpr double kSame = 1e-5, kCut = 0.5;  // m
    const Oprj_SpheroidTableEntry *nearest = nullptr;
    double least = kCut;
    for (const auto *entry = referenceData(toolkit_).spheroidTable; entry; entry = entry->next) {
      const double off = std::max(std::fabs(entry->a - a), std::fabs(entry->b - b));
      if (off < least) {
        least = off;
        nearest = entry;
      }
    }
    if (nearest && least > kSame)
      find("the constants of " + quoted(name) + " look cut: its axes are those of " +
           quoted(nearest->name) + " but for " + numberText(least * 1000, 3) + " mm");
  }

  void checkParameters() {
    const double radians =
        oawp_PE_pe_unit_factor(oawp_PE_pe_geogcs_unit(oawp_PE_pe_projcs_geogcs(object_)));
    double parallels[2];
    int found = 0;
    for (const auto *list = oawp_PE_pe_projcs_parameters(object_); *list; ++list) {
      const std::string name = lower(oawp_PE_pe_parameter_name(*list));
      const double value = oawp_PE_pe_parameter_value(*list);
      if (name.starts_with("standard_parallel_") && found < 2) parallels[found++] = value;
      constexpr double kPole = 90.0 * kDegree * (1.0 + 1e-12);
      const bool isLatitude =
          name.starts_with("latitude_") || name.find("parallel") != std::string::npos;
      if (isLatitude && std::fabs(value) * radians > kPole)
        find("the value " + numberText(value) + " of " + quoted(oawp_PE_pe_parameter_name(*list)) +
             " lies beyond a pole");
      // Thirds and sixtieths with few digits are something else than they were meant to be.
      const double minutes = value * 60, off = std::fabs(minutes - std::round(minutes));
      if (name.find("scale") == std::string::npos && !name.starts_with("false_") && off > 0 &&
          off > 1e-11 * std::fabs(minutes) && off < 1e-4)
        find("the value " + numberText(value) + " of " + quoted(oawp_PE_pe_parameter_name(*list)) +
             " looks cut: " + numberText(std::round(minutes) / 60));
    }
    if (found == 2 && parallels[0] > parallels[1])
      find("the first standard parallel lies north of the second: some readers care");
  }

  /// A name that is none of the engine's: told with those that it may be meant for.
  template <class T>
  bool checkName(const char *what, const char *name, T **(*predefined)(int32_t *count),
                 const char *(*nameOf)(const T *)) {
    int32_t count = 0;
    T **table = predefined(&count);
    std::vector<std::string> names;
    for (int32_t i = 0; i < count; ++i) names.emplace_back(nameOf(table[i]));
    oawp_PE_pe_table_del(reinterpret_cast<void **>(table));
    const bool known = std::ranges::any_of(
        names, [name](const std::string &one) { return lower(one) == lower(name); });
    if (!known)
      find(withNearest("the " + std::string(what) + " " + quoted(name) + " is not known", name,
                       names));
    return known;
  }

  /// What other programs call otherwise may still have a meaning here: names are looked at where
  /// there is none.
  void checkMeaning() {
    Slot err;
    const OwnedRecord record(oprj_ProParametersFromCOORDSYS(object_, nullptr, nullptr, err.get()));
    if (record) return;
    bool known = true;
    if (oawp_PE_pe_projcs_p(object_)) {
      known =
          checkName("projection", oawp_PE_pe_projection_name(oawp_PE_pe_projcs_projection(object_)),
                    oawp_PE_pe_predefined_projection, oawp_PE_pe_projection_name);
      for (const auto *list = oawp_PE_pe_projcs_parameters(object_); known && *list; ++list)
        checkName("parameter", oawp_PE_pe_parameter_name(*list), oawp_PE_pe_predefined_parameter,
                  oawp_PE_pe_parameter_name);
    }
    if (!known) return;
    find(err.rootMessage());
    Oprj_Point point{};
    if (oawp_PE_pe_geog_to_proj(object_, 1, &point) == 1) return;
    oawp_PE_ReportTake(err.get());
    if (oerr_KindGet(oerr_RootCauseGet(err.report())) == OAWP_PE_NO_FORMULA)
      find(err.rootMessage());
  }

  Oint_Toolkit *toolkit_;
  Oawp_PE_COORDSYS *object_ = nullptr;
  std::vector<std::string> findings_;
  std::set<std::string> seen_;
};

}  // namespace

bool isPrjFile(const std::string &path) {
  if (lower(path).ends_with(".prj")) return true;
  std::ifstream file(path, std::ios::binary);
  char start[16] = {};
  file.read(start, sizeof start - 1);
  const std::string word = lower(trimmed(start));
  return word.starts_with("projcs") || word.starts_with("geogcs") || word.starts_with("compd_cs");
}

Status checkPrj(const std::string &path, const Console &console) {
  Oint_Toolkit *toolkit = startLibrary(console);
  const Lint lint(toolkit, std::string(trimmed(fileText(path))));
  for (const std::string &finding : lint.findings())
    std::printf("%s: %s\n", printable(path).c_str(), printable(finding).c_str());
  if (lint.findings().empty()) std::printf("%s: nothing doubtful\n", printable(path).c_str());
  return lint.findings().empty() ? kGood : kSomePointsFailed;
}

}  // namespace program
