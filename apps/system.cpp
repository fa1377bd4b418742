#include "system.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>

#include "names.h"
#include "slots.h"

namespace program {

const char *const kSystemHelp =
    "A coordinate system CS is written as `NAME; key=value; ...`. NAME is a projection of the "
    "dictionary\n"
    "(`oprj list projections`, any case) or its number. Keys: zone (UTM 1 to 60, also 17N or 17S; "
    "State Plane\n"
    "by number, FIPS code or \"STATE ZONE\"), south, nad (27, 83, harn), spheroid, datum, a, b "
    "(metres), units,\n"
    "lon_0, lat_0, lat_1, lat_2, lat_ts, lon_1, lon_2, azimuth (degrees, decimal or d:m:s), k_0, "
    "x_0, y_0, h\n"
    "(metres), satellite, path, and p0 to p14 for slots directly (radians, metres; a suffix d "
    "means degrees).\n"
    "What is left out is 0, a scale factor 1; lat_2 left out is lat_1. State Plane takes its zones "
    "by "
    "the datum\n"
    "(NAD27, NAD83, HARN) or by nad.\n"
    "Points are longitude, latitude in degrees or easting, northing in metres, in this order, "
    "unless `units`\n"
    "says otherwise. Examples:\n"
    "  geographic; datum=WGS 84\n"
    "  utm; zone=17; spheroid=GRS 1980; datum=NAD83\n"
    "  state plane; zone=California Zone 5; nad=83\n"
    "  Lambert Conformal Conic; datum=WGS 84; lat_1=33; lat_2=45; lon_0=-96; lat_0=39\n";

namespace {

Stop unusable(const std::string &message) { return {kUnusable, message}; }

bool isInternal(const Oprj_Query &query, int32_t number) {
  return query.type == OPRJ_INTERNAL && query.number == number;
}
bool isGeographic(const Oprj_Query &query) { return isInternal(query, 0); }
bool isUTM(const Oprj_Query &query) { return isInternal(query, 1); }
bool isStatePlane(const Oprj_Query &query) { return isInternal(query, 2); }

double metres(const std::string &key, const std::string &value) {
  double number;
  if (!ostr_ToDouble(value.c_str(), &number)) throw unusable(key + "=" + value + ": not a number");
  return number;
}

/// The keys of a description, each at most once.
class Keys {
 public:
  explicit Keys(const std::string &text) {
    size_t begin = 0;
    bool first = true;
    while (begin <= text.size()) {
      const size_t end = std::min(text.find(';', begin), text.size());
      const std::string_view part = trimmed(std::string_view(text).substr(begin, end - begin));
      begin = end + 1;
      if (first) {
        name_ = part;
        first = false;
        continue;
      }
      if (part.empty()) continue;
      const size_t equals = part.find('=');
      const std::string key = lower(trimmed(part.substr(0, equals)));
      const std::string value(equals == std::string_view::npos ? ""
                                                               : trimmed(part.substr(equals + 1)));
      if (!values_.emplace(key, value).second)
        throw unusable("the key \"" + key + "\" is given twice");
    }
  }
  const std::string &name() const { return name_; }
  std::optional<std::string> take(const std::string &key) {
    const auto found = values_.find(key);
    if (found == values_.end()) return {};
    std::string value = found->second;
    values_.erase(found);
    return value;
  }
  /// Those not taken yet.
  const std::map<std::string, std::string> &rest() const { return values_; }

 private:
  std::string name_;
  std::map<std::string, std::string> values_;
};

/// Misspelt keys, before anything that they would have said is missed.
void refuseUnknownKeys(const Keys &keys, const Oprj_Query &query) {
  std::vector<std::string> known = {"spheroid", "datum", "nad", "a", "b", "units"};
  const bool hasSlots = !isGeographic(query) && !isUTM(query) && !isStatePlane(query);
  if (isUTM(query)) known.insert(known.end(), {"zone", "south"});
  if (isStatePlane(query)) known.emplace_back("zone");
  if (hasSlots) {
    for (const std::string &key : slotKeys(query)) known.push_back(key);
  }
  for (const auto &[key, value] : keys.rest()) {
    if (std::find(known.begin(), known.end(), key) != known.end() || (hasSlots && isSlotKey(key)))
      continue;
    std::string list;
    for (const std::string &each : known) list += (list.empty() ? "" : ", ") + each;
    throw unusable(
        withNearest("\"" + std::string(query.name) + "\" has no key \"" + key + "\"", key, known) +
        "; its keys are " + list + (hasSlots ? ", p0 to p14" : ""));
  }
}

/// A system on axes alone.
void fillAxes(Oint_Toolkit *toolkit, const std::optional<std::string> &a,
              const std::optional<std::string> &b, System &system, const Console &console) {
  Oprj_Spheroid *spheroid = system.record->proSpheroid;
  if (!a) throw unusable("b needs a");
  Slot err;
  const double major = metres("a", *a), minor = b ? metres("b", *b) : major;
  if (!oprj_SpheroidByAxes(toolkit, major, minor, spheroid, err.get())) throw unusable(err.text());
  const OwnedText known(oprj_GetSpheroidNameByAxes(toolkit, major, minor, err.get()));
  oprj_CharStrCreate(known ? known.get() : "Unknown", &spheroid->sphereName, err.get());
  console.warn(std::string("\"") + system.name() +
               "\" has axes but no datum: it is not shifted to any other");
}

/// Spheroid and datum of the record. Returns the North American Datum that `nad` or the datum
/// names; null when neither does.
const NadDatum *fillSpheroid(Oint_Toolkit *toolkit, const Oprj_InitData &data,
                             const Oprj_Query &query, Keys &keys, System &system,
                             const Console &console) {
  Oprj_Spheroid *spheroid = system.record->proSpheroid;
  std::optional<std::string> spheroidName = keys.take("spheroid"), datumName = keys.take("datum");
  const std::optional<std::string> nadText = keys.take("nad"), a = keys.take("a"),
                                   b = keys.take("b");
  const NadDatum *nad = nadText ? &findNad(*nadText) : nullptr;
  Slot err;
  oprj_DatumInit(&spheroid->datum, err.get());
  if (a || b) {
    if (isStatePlane(query))
      throw unusable("a State Plane zone brings its own axes: leave out a and b");
    if (spheroidName || datumName || nad)
      throw unusable(
          "a and b stand for themselves: leave out spheroid, datum and nad, or the axes");
    fillAxes(toolkit, a, b, system, console);
    return nullptr;
  }
  if (nad && !datumName) datumName = nad->datum;
  if (!spheroidName && !datumName)
    throw unusable(
        std::string("\"") + system.name() +
        "\" needs a datum, a spheroid, nad or the axes a and b (for instance datum=WGS 84)");
  FoundDatum found;
  if (datumName && !ostr_EqualIgnoringCase(datumName->c_str(), "Undefined")) {
    found = findDatum(data, *datumName);
    if (spheroidName && findSpheroid(data, *spheroidName) != found.spheroid)
      throw unusable("the datum \"" + found.datum + "\" belongs to the spheroid \"" +
                     found.spheroid + "\", not to \"" + *spheroidName + "\"");
  } else {
    if (!spheroidName) throw unusable("an undefined datum needs a spheroid");
    found.spheroid = findSpheroid(data, *spheroidName);
    if (!datumName)
      console.warn("\"" + found.spheroid +
                   "\" is given without a datum: it is not shifted to any other");
  }
  const NadDatum *nadOfIt = nadOfDatum(found.datum);
  if (nad && nadOfIt != nad && (nadOfIt || !isStatePlane(query)))
    throw unusable("nad=" + *nadText + " contradicts datum=" + *datumName + ": leave one out");
  if (!oprj_SpheroidByName(toolkit, found.spheroid.c_str(), spheroid, err.get()))
    throw unusable(err.text());
  if (!found.datum.empty() && !oprj_DatumByName(toolkit, found.spheroid.c_str(),
                                                found.datum.c_str(), spheroid->datum, err.get())) {
    if (spheroid->datum->type != OPRJ_DATUM_GRID) throw unusable(err.text());
    system.gridTrouble = err.rootMessage();
  }
  return nad ? nad : nadOfIt;
}

/// "yes" and "no" as a key's value; the key alone means yes.
bool isYes(const std::string &key, const std::string &value) {
  const std::string answer = lower(value);
  if (!answer.empty() && answer != "yes" && answer != "no" && answer != "1" && answer != "0")
    throw unusable(key + "=" + value + ": the choices are yes and no");
  return answer != "no" && answer != "0";
}

void fillUTM(Keys &keys, System &system) {
  Oprj_ProParameters &record = *system.record;
  std::string zone = keys.take("zone").value_or("");
  if (zone.empty()) throw unusable("utm needs a zone (1 to 60)");
  const std::string written = zone;
  std::optional<bool> south;
  if (const auto value = keys.take("south")) south = isYes("south", *value);
  if (const char last = static_cast<char>(zone.back() | 0x20); last == 'n' || last == 's') {
    zone.pop_back();
    if (south && *south != (last == 's'))
      throw unusable("zone=" + written + " contradicts south" + (*south ? "" : "=no") +
                     ": leave one out");
    south = last == 's';
  }
  if (!ostr_ToInt32(zone.c_str(), &record.proZone) || record.proZone < 1 || record.proZone > 60)
    throw unusable("zone=" + written + ": UTM zones are 1 to 60");
  record.proParams.data[3] = south.value_or(false) ? -1.0 : 0.0;
}

/// The zone's tables are those of the datum, or of `nad` beside a datum of the same axes.
void fillStatePlane(Oint_Toolkit *toolkit, const Oprj_InitData &data, const NadDatum *nad,
                    Keys &keys, System &system) {
  constexpr double kSameAxis = 1e-3;  // metres: WGS 84 and GRS 1980 differ by 0.1 mm
  const auto zone = keys.take("zone");
  if (!zone || zone->empty())
    throw unusable("state plane needs a zone (number, FIPS code or name)");
  if (!nad)
    throw unusable(
        "state plane needs nad (27, 83 or harn): the datum does not say whose zones are meant");
  Slot err;
  const auto *table = oprj_SpheroidEntryByName(toolkit, nad->spheroid, err.get());
  const Oprj_Spheroid &spheroid = system.spheroid();
  if (table && (std::fabs(table->a - spheroid.a) > kSameAxis ||
                std::fabs(table->b - spheroid.b) > kSameAxis))
    throw unusable(std::string("nad=") + nad->key + " has its zones on \"" + nad->spheroid +
                   "\", not on \"" + spheroid.sphereName.data + "\"");
  system.record->proZone = findZone(toolkit, data, *zone, *nad);
  system.record->proParams.data[0] = nad->code;
}

}  // namespace

System readSystem(Oint_Toolkit *toolkit, const std::string &text, const Console &console) {
  const std::string_view plain = trimmed(text);
  const std::string start = lower(plain.substr(0, 8));
  if (start.starts_with("projcs[") || start.starts_with("geogcs[") ||
      lower(plain).ends_with(".prj"))
    throw unusable("\"" + std::string(plain.substr(0, 60)) +
                   "\": Projection Engine strings and .prj files cannot be read by this version");
  if (plain.find("::") != std::string_view::npos)
    throw unusable("\"" + std::string(plain) + "\": node files cannot be read by this version");
  if (plain.empty()) throw unusable("the coordinate system is empty");

  const Oprj_InitData &data = referenceData(toolkit);
  Keys keys{std::string(plain)};
  const Oprj_Query &query = findProjection(data, keys.name());
  refuseUnknownKeys(keys, query);
  Slot err;
  System system;
  system.record.reset(oprj_ProParametersCreateByName(toolkit, query.name, err.get()));
  if (!system.record) throw unusable(err.text());
  system.geographic = isGeographic(query);
  if (!oprj_DblArrayCreate(system.geographic ? 0 : kSlots, &system.record->proParams, err.get()))
    throw unusable(err.text());

  system.unit = keys.take("units").value_or(system.geographic ? "dd" : "meters");
  const Ocvt_Unit *unit = ocvt_UnitSetByName(system.unit.c_str(), err.get());
  if (!unit)
    throw unusable("units=" + system.unit + ": " + err.rootMessage() +
                   "; `oprj list units` lists them");
  if (unit->factor == 0.0 ||
      unit->kind != (system.geographic ? OCVT_KIND_ANGLE : OCVT_KIND_DISTANCE))
    throw unusable("units=" + system.unit + ": not a unit of " +
                   (system.geographic ? "angle" : "length"));
  system.unitFactor = unit->factor;

  const NadDatum *nad = fillSpheroid(toolkit, data, query, keys, system, console);
  if (isUTM(query)) fillUTM(keys, system);
  else if (isStatePlane(query)) fillStatePlane(toolkit, data, nad, keys, system);
  else if (!system.geographic) fillSlots(query, keys.rest(), *system.record);
  return system;
}

}  // namespace program
