// Units of length and angle, packed degrees-minutes-seconds, and angles as people write them.
#include <oprj/ocvt.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <numbers>
#include <numeric>
#include <span>
#include <string_view>
#include <vector>

#include "toolkit/error_scope.h"
#include "toolkit/nearest.h"
#include "toolkit/written_unit.h"

namespace {

using namespace orvik::toolkit;

constexpr double kPi = std::numbers::pi;

// ---- The table

template <size_t N>
struct Literal {
  char text[N];
  constexpr Literal(const char (&source)[N]) { std::copy_n(source, N, text); }
};
template <Literal... Names>
constexpr const char *const kAliases[] = {Names.text..., nullptr};

using Aliases = const char *const *;

/// A length of numerator/denominator metres, both whole numbers.
constexpr Ocvt_Unit length(const char *name, Aliases aliases, double numerator, double denominator,
                           const char *source) {
  return {name,        aliases, OCVT_KIND_DISTANCE, numerator / denominator, numerator,
          denominator, source};
}
/// An angle of 1/parts half turns.
constexpr Ocvt_Unit angle(const char *name, Aliases aliases, double parts, const char *source) {
  return {name, aliases, OCVT_KIND_ANGLE, kPi / parts, 1.0, parts, source};
}
constexpr Ocvt_Unit radians(const char *name, Aliases aliases, double factor, const char *source) {
  return {name, aliases, OCVT_KIND_ANGLE, factor, 0.0, 0.0, source};
}
constexpr Ocvt_Unit withoutFactor(const char *name, Aliases aliases, int32_t kind,
                                  const char *source) {
  return {name, aliases, kind, 0.0, 0.0, 0.0, source};
}

constexpr const char *kSI = "SI Brochure, BIPM 2019";
constexpr const char *kInternational = "International Yard and Pound Agreement, 1959: 0.9144 m";
constexpr const char *kSurvey = "Mendenhall Order, 1893: 39.37 US inches to the metre";
constexpr const char *kClarke = "A. R. Clarke 1865: foot of 0.3047972654 m (EPSG 9005)";
constexpr const char *kSears = "J. E. Sears 1922: 39.370147 inches to the metre (EPSG 9040)";
constexpr const char *kSearsTruncated = "Sears' yard cut to 0.914398 m (EPSG 9099)";
constexpr const char *kBenoitA = "J.-R. Benoit 1895, yard of 0.9143992 m (EPSG 9050)";
constexpr const char *kBenoitB = "J.-R. Benoit 1895, 39.370113 inches to the metre (EPSG 9060)";
constexpr const char *kIndian = "Indian yard, 39.370142 inches to the metre (EPSG 9084)";

constexpr Ocvt_Unit kUnits[] = {
    length("meters", kAliases<"meter", "metre", "metres", "m">, 1, 1, kSI),
    length("kilometers", kAliases<"kilometer", "kilometre", "kilometres", "km">, 1000, 1, kSI),
    length("decimeters", kAliases<"decimeter", "decimetre", "decimetres", "dm">, 1, 10, kSI),
    length("centimeters", kAliases<"centimeter", "centimetre", "centimetres", "cm">, 1, 100, kSI),
    length("millimeters", kAliases<"millimeter", "millimetre", "millimetres", "mm">, 1, 1000, kSI),

    length("feet",
           kAliases<"foot", "ft", "international_feet", "international_foot", "foot_international">,
           381, 1250, kInternational),
    length("inches", kAliases<"inch", "in">, 127, 5000, kInternational),
    length("yards", kAliases<"yard", "yd">, 1143, 1250, kInternational),
    length("miles",
           kAliases<"mile", "mi", "statute_miles", "statute_mile", "international_miles",
                    "international_mile">,
           201168, 125, kInternational),
    length("fathoms", kAliases<"fathom", "fath">, 1143, 625, kInternational),
    length("chains", kAliases<"chain", "ch">, 12573, 625, kInternational),
    length("links", kAliases<"link">, 12573, 62500, kInternational),
    length("nautical_miles", kAliases<"nautical_mile", "nmi", "kmi">, 1852, 1,
           "International Hydrographic Conference, Monaco 1929"),

    length("us_survey_feet",
           kAliases<"us_survey_foot", "us_foot", "us_feet", "us_ft", "usft", "ftus", "foot_us",
                    "feet_us", "survey_feet", "survey_foot">,
           1200, 3937, kSurvey),
    length("us_survey_inches", kAliases<"us_survey_inch", "us_in", "inch_us">, 100, 3937, kSurvey),
    length("us_survey_yards", kAliases<"us_survey_yard", "us_yd", "yard_us">, 3600, 3937, kSurvey),
    length("us_survey_miles", kAliases<"us_survey_mile", "us_mi", "mile_us">, 6336000, 3937,
           kSurvey),
    length("us_survey_chains", kAliases<"us_survey_chain", "us_ch", "chain_us">, 79200, 3937,
           kSurvey),
    length("us_survey_links", kAliases<"us_survey_link", "link_us">, 792, 3937, kSurvey),

    length("clarke_feet", kAliases<"clarke_foot", "foot_clarke", "clarke's foot">, 1523986327, 5e9,
           kClarke),
    length("clarke_yards", kAliases<"clarke_yard", "yard_clarke", "clarke's yard">, 4571958981, 5e9,
           kClarke),
    length("clarke_chains", kAliases<"clarke_chain", "chain_clarke", "clarke's chain">, 50291548791,
           2.5e9, kClarke),
    length("clarke_links", kAliases<"clarke_link", "link_clarke", "clarke's link">, 50291548791,
           2.5e11, kClarke),

    length("sears_feet", kAliases<"sears_foot", "foot_sears", "british foot (sears 1922)">,
           12000000, 39370147, kSears),
    length("sears_yards", kAliases<"sears_yard", "yard_sears", "british yard (sears 1922)">,
           36000000, 39370147, kSears),
    length("sears_chains", kAliases<"sears_chain", "chain_sears", "british chain (sears 1922)">,
           792000000, 39370147, kSears),
    length("sears_links", kAliases<"sears_link", "link_sears", "british link (sears 1922)">,
           7920000, 39370147, kSears),
    length("sears_feet_truncated",
           kAliases<"sears_foot_truncated", "foot_sears_truncated", "foot_sears_1922_truncated",
                    "british foot (sears 1922 truncated)">,
           457199, 1500000, kSearsTruncated),
    length("sears_chains_truncated",
           kAliases<"sears_chain_truncated", "chain_sears_truncated", "chain_sears_1922_truncated",
                    "british chain (sears 1922 truncated)">,
           5029189, 250000, kSearsTruncated),
    length("sears_yards_truncated",
           kAliases<"sears_yard_truncated", "yard_sears_1922_truncated",
                    "british yard (sears 1922 truncated)">,
           457199, 500000, kSearsTruncated),
    length("sears_links_truncated",
           kAliases<"sears_link_truncated", "link_sears_1922_truncated",
                    "british link (sears 1922 truncated)">,
           5029189, 25000000, kSearsTruncated),
    length("benoit_yards_a",
           kAliases<"benoit_yard_a", "yard_benoit_1895_a", "british yard (benoit 1895 a)">, 1142999,
           1250000, kBenoitA),
    length("benoit_chains_a",
           kAliases<"benoit_chain_a", "chain_benoit_1895_a", "british chain (benoit 1895 a)">,
           12572989, 625000, kBenoitA),
    length("benoit_links_a",
           kAliases<"benoit_link_a", "link_benoit_1895_a", "british link (benoit 1895 a)">,
           12572989, 62500000, kBenoitA),
    length("benoit_yards",
           kAliases<"benoit_yard", "yard_benoit_1895_b", "british yard (benoit 1895 b)">, 36000000,
           39370113, kBenoitB),
    length("benoit_chains",
           kAliases<"benoit_chain", "chain_benoit_1895_b", "british chain (benoit 1895 b)">,
           792000000, 39370113, kBenoitB),
    length("benoit_links",
           kAliases<"benoit_link", "link_benoit_1895_b", "british link (benoit 1895 b)">, 7920000,
           39370113, kBenoitB),
    length("benoit_feet_a",
           kAliases<"benoit_foot_a", "foot_benoit_1895_a", "british foot (benoit 1895 a)">, 1142999,
           3750000, kBenoitA),
    length("benoit_feet",
           kAliases<"benoit_foot", "benoit_feet_b", "foot_benoit_1895_b",
                    "british foot (benoit 1895 b)">,
           12000000, 39370113, kBenoitB),
    length("british_feet_1865", kAliases<"british_foot_1865", "foot_1865", "british foot (1865)">,
           365761, 1200000, "A. R. Clarke 1865: yard of 0.9144025 m (EPSG 9070)"),
    length("british_feet_1936",
           kAliases<"british_foot_1936", "foot_british_1936", "british foot (1936)">, 3048007491,
           1e10, "Retriangulation of Great Britain: 0.3048007491 m (EPSG 9095)"),

    length("indian_feet", kAliases<"indian_foot", "foot_indian">, 12000000, 39370142, kIndian),
    length("indian_feet_1937",
           kAliases<"indian_foot_1937", "foot_indian_1937", "indian foot (1937)", "ind_ft">,
           30479841, 1e8, "Indian foot of 1937: 0.30479841 m (EPSG 9081)"),
    length("indian_feet_1962",
           kAliases<"indian_foot_1962", "foot_indian_1962", "indian foot (1962)">, 761999, 2500000,
           "Indian foot of 1962: 0.3047996 m (EPSG 9082)"),
    length("indian_feet_1975",
           kAliases<"indian_foot_1975", "foot_indian_1975", "indian foot (1975)">, 609599, 2000000,
           "Indian foot of 1975: 0.3047995 m (EPSG 9083)"),
    length("indian_yards", kAliases<"indian_yard", "yard_indian">, 36000000, 39370142, kIndian),
    length("indian_yards_1937",
           kAliases<"indian_yard_1937", "yard_indian_1937", "indian yard (1937)", "ind_yd">,
           91439523, 1e8, "Indian yard of 1937: 0.91439523 m (EPSG 9085)"),
    length("indian_yards_1962",
           kAliases<"indian_yard_1962", "yard_indian_1962", "indian yard (1962)">, 2285997, 2500000,
           "Indian yard of 1962: 0.9143988 m (EPSG 9086)"),
    length("indian_yards_1975",
           kAliases<"indian_yard_1975", "yard_indian_1975", "indian yard (1975)">, 1828797, 2000000,
           "Indian yard of 1975: 0.9143985 m (EPSG 9087)"),
    length("gold_coast_feet", kAliases<"gold_coast_foot", "foot_gold_coast">, 6378300, 20926201,
           "Ghana: axis of the War Office spheroid in both units (EPSG 9094)"),
    length("german_legal_meters",
           kAliases<"german_legal_meter", "german_legal_metre", "german_legal_metres",
                    "legal_meter", "german_meters", "meter_german">,
           2000027193, 2e9, "Prussian copy of the metre: 1.0000135965 m (EPSG 9031)"),

    radians("radians", kAliases<"radian", "rad">, 1.0, kSI),
    radians("microradians", kAliases<"microradian", "urad">, 1e-6, kSI),
    angle("dd",
          kAliases<"degrees", "degree", "deg", "decimal_degrees", "decimal_degree",
                   "degree (supplier to define representation)">,
          180, kSI),
    angle("minutes",
          kAliases<"minute", "arc_minutes", "arc_minute", "arcminutes", "arcminute", "arcmin">,
          10800, kSI),
    angle("seconds",
          kAliases<"second", "arc_seconds", "arc_second", "arcseconds", "arcsecond", "arcsec">,
          648000, kSI),
    angle("milliarcseconds",
          kAliases<"milliarcsecond", "milliarc_seconds", "milliarc_second", "mas">, 648000000, kSI),
    angle("grads", kAliases<"grad", "gons", "gon", "grades", "grade">, 200,
          "ISO 80000-3: 400 to the turn"),
    angle("centesimal_minutes", kAliases<"centesimal_minute", "minute_centesimal">, 20000,
          "ISO 80000-3: 100 to the gon"),
    angle("centesimal_seconds", kAliases<"centesimal_second", "second_centesimal">, 2000000,
          "ISO 80000-3: 10000 to the gon"),
    angle("mils", kAliases<"mil", "mil_6400">, 3200, "NATO: 6400 to the turn (EPSG 9114)"),

    withoutFactor("dms", kAliases<"packed_dms">, OCVT_KIND_ANGLE,
                  "packed DDDMMMSSS.SS: ocvt_GCTPPackedDMS2Radians"),
    withoutFactor("other", kAliases<>, OCVT_KIND_NONE, "a unit that has no name here"),
    withoutFactor("unknown", kAliases<>, OCVT_KIND_NONE, "no unit is known"),
    withoutFactor("pixels", kAliases<"pixel", "px">, OCVT_KIND_NONE,
                  "cells of an image, of any size"),
};

/// Letters in lower case; what separates words is one and the same.
constexpr char folded(char c) {
  if (c == '-' || c == ' ') return '_';
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

constexpr bool standsBefore(const char *first, const char *second) {
  while (*first && folded(*first) == folded(*second)) ++first, ++second;
  return static_cast<unsigned char>(folded(*first)) < static_cast<unsigned char>(folded(*second));
}

struct UnitName {
  const char *name;
  const Ocvt_Unit *unit;
};

/// Tells a visitor every name of every unit.
template <class Visit>
constexpr void eachName(Visit visit) {
  for (const Ocvt_Unit &unit : kUnits) {
    visit(UnitName{unit.name, &unit});
    for (Aliases alias = unit.aliases; *alias; ++alias) visit(UnitName{*alias, &unit});
  }
}

constexpr size_t nameCount() {
  size_t count = 0;
  eachName([&](UnitName) { ++count; });
  return count;
}

/// All names in their order, whatever their case.
constexpr auto kNames = [] {
  std::array<UnitName, nameCount()> names{};
  auto next = names.begin();
  eachName([&](UnitName name) { *next++ = name; });
  std::sort(names.begin(), names.end(),
            [](UnitName a, UnitName b) { return standsBefore(a.name, b.name); });
  return names;
}();
static_assert(std::adjacent_find(kNames.begin(), kNames.end(),
                                 [](UnitName a, UnitName b) {
                                   return !standsBefore(a.name, b.name);
                                 }) == kNames.end(),
              "a name stands twice in the table");

const Ocvt_Unit *findUnit(const char *name) {
  const auto found =
      std::lower_bound(kNames.begin(), kNames.end(), name,
                       [](UnitName a, const char *b) { return standsBefore(a.name, b); });
  return found != kNames.end() && !standsBefore(name, found->name) ? found->unit : nullptr;
}

bool isExact(const Ocvt_Unit &unit) { return unit.denominator > 0.0; }

/// What a value is multiplied and then divided by.
struct Quotient {
  double multiplier, divisor;

  double convert(double value) const {
    const double product = value * multiplier;
    return std::isfinite(product) ? product / divisor : value / divisor * multiplier;
  }
};

/// For two exact units in lowest terms: each number is one that a double holds exactly as long as
/// it is below 2^53.
Quotient quotientOf(const Ocvt_Unit &from, const Ocvt_Unit &to) {
  if (!isExact(from) || !isExact(to)) return {from.factor, to.factor};
  const auto whole = [](double number) { return static_cast<int64_t>(number); };
  int64_t numerators[] = {whole(from.numerator), whole(to.denominator)};
  int64_t denominators[] = {whole(from.denominator), whole(to.numerator)};
  for (int64_t &above : numerators)
    for (int64_t &below : denominators) {
      const int64_t common = std::gcd(above, below);
      above /= common;
      below /= common;
    }
  return {static_cast<double>(numerators[0]) * static_cast<double>(numerators[1]),
          static_cast<double>(denominators[0]) * static_cast<double>(denominators[1])};
}

/// Replaces each value, two at a time in one vector, which every processor of 64 bits has and
/// compilers do not make of loops by themselves.
template <class Step>
void inPairs(double *values, size_t count, Step step) {
  using Pair = double __attribute__((vector_size(16), aligned(8), may_alias));
  size_t i = 0;
  for (; i + 2 <= count; i += 2) {
    auto &pair = *reinterpret_cast<Pair *>(values + i);
    pair = step(pair);
  }
  if (i < count) values[i] = step(values[i]);
}

/// Refuses units that do not convert.
bool convertible(ErrorScope &e, const Ocvt_Unit *from, const Ocvt_Unit *to) {
  if (!from || !to) return e.fail(1, "Invalid input unit");
  if (from == to) return true;
  for (const Ocvt_Unit *unit : {from, to})
    if (!(unit->factor > 0.0)) return e.fail(2, "Unit \"%s\" has no conversion factor", unit->name);
  if (from->kind != to->kind)
    return e.fail(3, "Units of different kinds: \"%s\" and \"%s\"", from->name, to->name);
  return true;
}

// ---- Packed degrees, minutes and seconds

constexpr double kDegree = 1e6, kMinute = 1e3;  // what one of them counts in the packed form
constexpr double kMostDegrees = 360.0;

// ---- Angles in writing

/// Takes pieces off the front of a text.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest_(text) {}

  bool atEnd() const { return rest_.empty(); }
  void skipBlanks() {
    while (!rest_.empty() && (rest_[0] == ' ' || rest_[0] == '\t')) rest_.remove_prefix(1);
  }
  bool take(std::string_view sign) {
    if (!rest_.starts_with(sign)) return false;
    rest_.remove_prefix(sign.size());
    return true;
  }
  bool takeAny(std::span<const std::string_view> signs) {
    for (std::string_view sign : signs)
      if (take(sign)) return true;
    return false;
  }
  /// A number without sign; *whole tells whether it is digits only.
  bool takeNumber(std::chars_format format, double *value, bool *whole) {
    if (rest_.empty() || (rest_[0] != '.' && (rest_[0] < '0' || rest_[0] > '9'))) return false;
    const auto [stop, error] =
        std::from_chars(rest_.data(), rest_.data() + rest_.size(), *value, format);
    if (error != std::errc()) return false;
    const auto taken = static_cast<size_t>(stop - rest_.data());
    *whole = rest_.substr(0, taken).find_first_not_of("0123456789") == std::string_view::npos;
    rest_.remove_prefix(taken);
    return true;
  }

 private:
  std::string_view rest_;
};

using namespace std::string_view_literals;
constexpr std::string_view kDegreeSigns[] = {"\u00B0"sv, "\u00BA"sv, "d"sv, "D"sv};
constexpr std::string_view kSecondSigns[] = {"\""sv, "\u2033"sv, "\u201D"sv, "''"sv,
                                             "\u2032\u2032"sv};
constexpr std::string_view kMinuteSigns[] = {"'"sv, "\u2032"sv, "\u2019"sv};

/// Minutes or seconds: in [0, 60), without exponent; `last` may have a fraction.
bool takeSixtieth(Scanner &scan, double *value, bool *whole) {
  return scan.takeNumber(std::chars_format::fixed, value, whole) && *value < 60.0;
}

/// d:m or d:m:s behind the first colon.
bool takeColonForm(Scanner &scan, double *minutes, double *seconds) {
  bool whole = false;
  if (!takeSixtieth(scan, minutes, &whole)) return false;
  if (scan.take(":")) return whole && takeSixtieth(scan, seconds, &whole) && scan.atEnd();
  return scan.atEnd();
}

/// What may follow the degree sign: minutes, then seconds; the last sign may be missing.
bool takeSignForm(Scanner &scan, double *minutes, double *seconds) {
  bool whole = false;
  scan.skipBlanks();
  if (scan.atEnd()) return true;
  if (!takeSixtieth(scan, minutes, &whole)) return false;
  scan.skipBlanks();
  if (scan.atEnd()) return true;
  if (!scan.takeAny(kMinuteSigns)) return false;
  scan.skipBlanks();
  if (scan.atEnd()) return true;
  if (!whole || !takeSixtieth(scan, seconds, &whole)) return false;
  scan.skipBlanks();
  return scan.atEnd() || (scan.takeAny(kSecondSigns) && scan.atEnd());
}

}  // namespace

const Ocvt_Unit *ocvt_UnitSetByName(const char *name, Oerr_Report **err) {
  ErrorScope e("ocvt_UnitSetByName", err);
  if (!name) return e.fail(1, "Invalid input unit name");
  if (const Ocvt_Unit *unit = findUnit(name)) return unit;
  return guarded(e, 3, [&]() -> const Ocvt_Unit * {
    if (const Ocvt_Unit *unit = writtenUnit(name)) return unit;
    std::vector<std::string_view> names, aliases;
    for (const Ocvt_Unit &unit : kUnits) {
      names.emplace_back(unit.name);
      for (Aliases alias = unit.aliases; *alias; ++alias) aliases.emplace_back(*alias);
    }
    std::string hint = nearestHint(name, names);
    if (hint.empty()) hint = nearestHint(name, aliases);
    return e.fail(2, "Unknown unit \"%s\"%s", name, hint.c_str());
  });
}

const Ocvt_Unit *ocvt_UnitByIndex(int32_t index) {
  const std::span<const Ocvt_Unit> units(kUnits);
  return index >= 0 && static_cast<size_t>(index) < units.size()
             ? &units[static_cast<size_t>(index)]
             : nullptr;
}

double ocvt_UnitsConvert(double value, const Ocvt_Unit *from, const Ocvt_Unit *to,
                         Oerr_Report **err) {
  ErrorScope e("ocvt_UnitsConvert", err);
  if (!convertible(e, from, to)) return 0.0;
  return from == to ? value : quotientOf(*from, *to).convert(value);
}

int32_t ocvt_UnitsConvertArray(double *values, size_t count, const Ocvt_Unit *from,
                               const Ocvt_Unit *to, Oerr_Report **err) {
  ErrorScope e("ocvt_UnitsConvertArray", err);
  if (!convertible(e, from, to)) return 0;
  if (!values && count > 0) return e.fail(4, "Invalid input values");
  if (from == to) return 1;
  const Quotient quotient = quotientOf(*from, *to);
  // Without a quotient to take, as between degrees and radians, the same bits in one step.
  const double multiplier = quotient.multiplier, divisor = quotient.divisor;
  if (divisor == 1.0) inPairs(values, count, [=](auto value) { return value * multiplier; });
  else if (multiplier == 1.0) inPairs(values, count, [=](auto value) { return value / divisor; });
  else
    for (double &value : std::span(values, count)) value = quotient.convert(value);
  return 1;
}

double ocvt_UnitsConvertByName(double value, const char *from, const char *to, Oerr_Report **err) {
  ErrorScope e("ocvt_UnitsConvertByName", err);
  const Ocvt_Unit *fromUnit = ocvt_UnitSetByName(from, e.cause());
  if (!fromUnit) return e.fail(1, "Error returned from ocvt_UnitSetByName");
  const Ocvt_Unit *toUnit = ocvt_UnitSetByName(to, e.cause());
  if (!toUnit) return e.fail(2, "Error returned from ocvt_UnitSetByName");
  const double converted = ocvt_UnitsConvert(value, fromUnit, toUnit, e.cause());
  if (e.calleeFailed()) return e.fail(3, "Error returned from ocvt_UnitsConvert");
  return converted;
}

double ocvt_GCTPPackedDMS2Radians(double packed, Oerr_Report **err) {
  ErrorScope e("ocvt_GCTPPackedDMS2Radians", err);
  if (!std::isfinite(packed)) return e.fail(1, "Packed angle is not finite");
  // fmod is exact, so that no division moves a value just below a whole degree up to it.
  const double size = std::fabs(packed);
  const double belowDegree = std::fmod(size, kDegree);
  const double seconds = std::fmod(belowDegree, kMinute);
  const double minutes = (belowDegree - seconds) / kMinute;
  const double degrees = (size - belowDegree) / kDegree;
  if (degrees > kMostDegrees) return e.fail(2, "Degrees above 360 in packed angle %.17g", packed);
  if (minutes > 60.0) return e.fail(3, "Minutes above 60 in packed angle %.17g", packed);
  if (seconds > 60.0) return e.fail(4, "Seconds above 60 in packed angle %.17g", packed);
  const double angle = degrees + (minutes * 60.0 + seconds) / 3600.0;
  return std::copysign(angle * (kPi / 180.0), packed);
}

double ocvt_Radians2GCTPPackedDMS(double radians, Oerr_Report **err) {
  ErrorScope e("ocvt_Radians2GCTPPackedDMS", err);
  // A whole angle in radians comes back a few units in the last place below itself; at 360 degrees
  // that is 2e-10 seconds.
  constexpr double kCarry = 60.0 - 5e-10;
  if (!std::isfinite(radians)) return e.fail(1, "Angle is not finite");
  const double angle = std::fabs(radians) / (kPi / 180.0);
  if (angle > kMostDegrees) return e.fail(2, "Angle above 360 degrees: %.17g radians", radians);
  double degrees = std::floor(angle);
  const double belowDegree = (angle - degrees) * 60.0;
  double minutes = std::floor(belowDegree);
  double seconds = (belowDegree - minutes) * 60.0;
  if (seconds >= kCarry) {
    seconds = 0.0;
    minutes += 1.0;
  }
  if (minutes >= 60.0) {
    minutes = 0.0;
    degrees += 1.0;
  }
  return std::copysign(degrees * kDegree + minutes * kMinute + seconds, radians);
}

int32_t ocvt_AngleParse(const char *text, double *degrees) {
  if (!text) return 0;
  constexpr std::string_view kBlanks = " \t\r\n";
  std::string_view rest(text);
  const auto trim = [&] {
    rest.remove_prefix(std::min(rest.find_first_not_of(kBlanks), rest.size()));
    rest.remove_suffix(rest.size() - (rest.find_last_not_of(kBlanks) + 1));
  };
  trim();
  bool negative = false;
  if (rest.starts_with('-') || rest.starts_with('+')) {
    negative = rest.front() == '-';
    rest.remove_prefix(1);
  } else if (!rest.empty() && "NSEWnsew"sv.find(rest.back()) != std::string_view::npos) {
    negative = "SWsw"sv.find(rest.back()) != std::string_view::npos;
    rest.remove_suffix(1);
    trim();
  }

  Scanner scan(rest);
  double whole = 0.0, minutes = 0.0, seconds = 0.0;
  bool isWhole = false;
  if (!scan.takeNumber(std::chars_format::general, &whole, &isWhole)) return 0;
  if (!scan.atEnd()) {
    if (scan.take(":")) {
      if (!isWhole || !takeColonForm(scan, &minutes, &seconds)) return 0;
    } else {
      scan.skipBlanks();
      if (!scan.takeAny(kDegreeSigns)) return 0;
      scan.skipBlanks();
      if (!scan.atEnd() && (!isWhole || !takeSignForm(scan, &minutes, &seconds))) return 0;
    }
  }
  const double angle = whole + (minutes * 60.0 + seconds) / 3600.0;
  if (degrees) *degrees = negative ? -angle : angle;
  return 1;
}
