#include "system.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <optional>

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
    "Points are longitude, latitude in degrees or easting, northing in metres, in this order, "
    "unless `units`\n"
    "says otherwise. Examples:\n"
    "  geographic; datum=WGS 84\n"
    "  utm; zone=17; spheroid=GRS 1980; datum=NAD83\n"
    "  state plane; zone=California Zone 5; nad=83\n"
    "  Lambert Conformal Conic; datum=WGS 84; lat_1=33; lat_2=45; lon_0=-96; lat_0=39\n";

namespace {

constexpr int32_t kSlots = 15;

Stop unusable(const std::string &message) { return {kUnusable, message}; }

std::string withNearest(const std::string &message, std::string_view query,
                        const std::vector<std::string> &names) {
  const std::string near = nearest(query, names);
  return near.empty() ? message : message + " (did you mean " + near + "?)";
}

double numberOf(const std::string &key, const std::string &value) {
  double number;
  if (!ostr_ToDouble(value.c_str(), &number)) throw unusable(key + "=" + value + ": not a number");
  return number;
}

double angleOf(const std::string &key, const std::string &value) {
  double degrees;
  if (!ocvt_AngleParse(value.c_str(), &degrees))
    throw unusable(key + "=" + value + ": not an angle (decimal degrees or d:m:s)");
  return degrees * kDegree;
}

/// What a short name fills: a slot whose question must be of that kind.
struct SlotName {
  const char *key;
  int32_t kind;  ///< OPRJ_QUERY_ANGLE, _DISTANCE, _NUMBER or _INTEGER
  int32_t slot;
  std::vector<int32_t>
      only;  ///< projection numbers; empty: all whose dictionary entry asks the slot
  std::vector<int32_t> except;
};

const std::vector<SlotName> &slotNames() {
  static const std::vector<int32_t> twoPoints = {20, 65, 66};
  static const std::vector<SlotName> names = {
      {"lon_0", OPRJ_QUERY_ANGLE, 3, {67}, {}},
      {"lon_0", OPRJ_QUERY_ANGLE, 4, {}, {67}},
      {"lat_0", OPRJ_QUERY_ANGLE, 2, {67}, {}},
      {"lat_0", OPRJ_QUERY_ANGLE, 5, {}, {67}},
      {"lat_ts", OPRJ_QUERY_ANGLE, 5, {5, 6, 17, 35, 45, 46, 58}, {}},
      {"lat_1", OPRJ_QUERY_ANGLE, 9, twoPoints, {}},
      {"lat_1", OPRJ_QUERY_ANGLE, 2, {}, {20, 65, 66}},
      {"lat_2", OPRJ_QUERY_ANGLE, 11, twoPoints, {}},
      {"lat_2", OPRJ_QUERY_ANGLE, 3, {3, 4, 8}, {}},
      {"lon_1", OPRJ_QUERY_ANGLE, 8, twoPoints, {}},
      {"lon_2", OPRJ_QUERY_ANGLE, 10, twoPoints, {}},
      {"azimuth", OPRJ_QUERY_ANGLE, 3, {20, 64}, {}},
      {"k_0", OPRJ_QUERY_NUMBER, 4, {67}, {}},
      {"k_0", OPRJ_QUERY_NUMBER, 2, {9, 20, 36, 50, 51, 54, 55, 64, 65, 66, 69}, {}},
      {"x_0", OPRJ_QUERY_DISTANCE, 5, {67}, {}},
      {"x_0", OPRJ_QUERY_DISTANCE, 6, {}, {67}},
      {"y_0", OPRJ_QUERY_DISTANCE, 6, {67}, {}},
      {"y_0", OPRJ_QUERY_DISTANCE, 7, {}, {67}},
      {"h", OPRJ_QUERY_DISTANCE, 2, {15, 63}, {}},
      {"satellite", OPRJ_QUERY_INTEGER, 4, {21, 23}, {}},
      {"satellite", OPRJ_QUERY_INTEGER, 2, {25}, {}},
      {"path", OPRJ_QUERY_INTEGER, 5, {21, 23}, {}},
      {"path", OPRJ_QUERY_INTEGER, 3, {25}, {}},
  };
  return names;
}

bool holds(const std::vector<int32_t> &numbers, int32_t number) {
  return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

/// The slot that `key` fills in this projection, if it does.
const SlotName *slotFor(std::string_view key, int32_t number,
                        const std::vector<Question> &questions) {
  for (const SlotName &name : slotNames()) {
    if (key != name.key || (!name.only.empty() && !holds(name.only, number)) ||
        holds(name.except, number))
      continue;
    for (const Question &question : questions) {
      if (question.slot == name.slot && question.kind == name.kind) return &name;
    }
  }
  return nullptr;
}

/// The value of a slot condition that makes the named slots count (for instance two parallels).
void chooseBranch(int32_t number, std::string_view key, double *slots) {
  if (number == 8 && key == "lat_2") slots[8] = 1;
  if (number == 20 && key == "azimuth") slots[12] = 1;
  if (number == 25 && (key == "satellite" || key == "path")) slots[12] = 1;
}

void collectQuestions(const Oprj_QueryEntry *list, std::vector<Question> &questions) {
  for (const Oprj_QueryEntry *entry = list; entry; entry = entry->next) {
    if (entry->kind >= OPRJ_QUERY_NUMBER)
      questions.push_back({entry->index, entry->kind, entry->prompt ? entry->prompt : ""});
    for (const Oprj_CondQueryEntry *branch = entry->conditionalList; branch; branch = branch->next)
      collectQuestions(branch->queryEntryList, questions);
  }
}

const Oprj_Query &findProjection(const Oprj_InitData &data, const std::string &name) {
  int32_t number;
  const bool isNumber = ostr_ToInt32(name.c_str(), &number) != 0;
  std::vector<std::string> names;
  for (const Oprj_Query *query = data.queryTable; query; query = query->next) {
    if (isNumber ? query->type == OPRJ_INTERNAL && query->number == number
                 : ostr_EqualIgnoringCase(query->name, name.c_str()))
      return *query;
    names.emplace_back(query->name);
  }
  if (isNumber) throw unusable("there is no projection number " + name + " in the dictionary");
  throw unusable(
      withNearest("there is no projection \"" + name + "\" in the dictionary", name, names));
}

/// The exact name of a spheroid written in any case or by an alias.
std::string findSpheroid(const Oprj_InitData &data, const std::string &name) {
  std::vector<std::string> names;
  for (const auto *entry = data.spheroidTable; entry; entry = entry->next) {
    names.emplace_back(entry->name);
    if (ostr_EqualIgnoringCase(entry->name, name.c_str())) return entry->name;
    for (const auto *alias = entry->aliases; alias; alias = alias->next) {
      if (ostr_EqualIgnoringCase(alias->name, name.c_str())) return entry->name;
      names.emplace_back(alias->name);
    }
  }
  throw unusable(withNearest("there is no spheroid \"" + name + "\" in the tables", name, names));
}

struct FoundDatum {
  std::string spheroid, datum;
};

/// A datum written in any case, with the spheroid that it belongs to.
FoundDatum findDatum(const Oprj_InitData &data, const std::string &name) {
  std::vector<std::string> names;
  for (const auto *entry = data.spheroidTable; entry; entry = entry->next) {
    for (const auto *datum = entry->datums; datum; datum = datum->next) {
      if (ostr_EqualIgnoringCase(datum->name, name.c_str())) return {entry->name, datum->name};
      names.emplace_back(datum->name);
    }
  }
  throw unusable(withNearest("there is no datum \"" + name + "\" in the tables", name, names));
}

/// A State Plane zone by number, FIPS code, or state and zone name.
int32_t findZone(const Oprj_InitData &data, const std::string &text, int32_t nadCode) {
  int32_t number;
  if (ostr_ToInt32(text.c_str(), &number)) return number;
  std::vector<std::string> names;
  // or "Zone 5".
  // "California Zone 5", "California 5" and "California V" mean the same.
  const auto squeezed = [](std::string_view name) {
    static constexpr const char *kRoman[] = {"i",  "ii",  "iii",  "iv", "v",
                                             "vi", "vii", "viii", "ix", "x"};
    std::string result, word;
    const auto finish = [&] {
      for (size_t i = 0; i < std::size(kRoman); ++i) {
        if (word == kRoman[i]) word = std::to_string(i + 1);
      }
      if (!word.empty() && word != "zone") result += word + " ";
      word.clear();
    };
    for (const char c : lower(name)) {
      if (c == ' ' || c == ',' || c == '-' || c == '\t') finish();
      else word += c;
    }
    finish();
    return result;
  };
  const std::string wanted = squeezed(text);
  for (const auto *entry = data.statePlaneTable; entry; entry = entry->next) {
    if (entry->nadCode != nadCode) continue;
    const std::string name = std::string(entry->stateName) + " " + entry->zoneName;
    if (squeezed(name) == wanted) return entry->zoneNumber;
    names.push_back(name);
  }
  throw unusable(withNearest("there is no State Plane zone \"" + text + "\" under NAD" +
                                 (nadCode == 2 ? std::string("83") : std::string("27")),
                             text, names));
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
  const std::map<std::string, std::string> &rest() const { return values_; }

 private:
  std::string name_;
  std::map<std::string, std::string> values_;
};

void fillSpheroid(Oint_Toolkit *toolkit, const Oprj_InitData &data, Keys &keys, System &system,
                  const Console &console) {
  Oprj_Spheroid *spheroid = system.record->proSpheroid;
  std::optional<std::string> spheroidName = keys.take("spheroid"), datumName = keys.take("datum");
  const std::optional<std::string> nad = keys.take("nad"), a = keys.take("a"), b = keys.take("b");
  Slot err;

  if (nad) {
    const std::string code = lower(*nad);
    const int32_t which = code == "27" || code == "nad27"   ? 1
                          : code == "83" || code == "nad83" ? 2
                          : code == "harn"                  ? 3
                                                            : 0;
    if (which == 0) throw unusable("nad=" + *nad + ": the choices are 27, 83 and harn");
    if (!datumName && !a) datumName = which == 1 ? "NAD27" : which == 2 ? "NAD83" : "HARN";
    if (system.record->proNumber == 2) system.record->proParams.data[0] = which;
  }
  oprj_DatumInit(&spheroid->datum, err.get());
  if (a || b) {
    if (spheroidName || datumName)
      throw unusable(
          "a and b stand for themselves: leave out spheroid, datum and nad, or the axes");
    if (!a) throw unusable("b needs a");
    const double major = numberOf("a", *a), minor = b ? numberOf("b", *b) : major;
    if (!oprj_SpheroidByAxes(toolkit, major, minor, spheroid, err.get()))
      throw unusable(err.text());
    OwnedText known(oprj_GetSpheroidNameByAxes(toolkit, major, minor, err.get()));
    oprj_CharStrCreate(known ? known.get() : "Unknown", &spheroid->sphereName, err.get());
    console.warn(std::string("\"") + system.name() +
                 "\" has axes but no datum: it is not shifted to any other");
    return;
  }
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
  if (!oprj_SpheroidByName(toolkit, found.spheroid.c_str(), spheroid, err.get()))
    throw unusable(err.text());
  if (!found.datum.empty() && !oprj_DatumByName(toolkit, found.spheroid.c_str(),
                                                found.datum.c_str(), spheroid->datum, err.get())) {
    if (spheroid->datum->type != OPRJ_DATUM_GRID) throw unusable(err.text());
    system.gridTrouble = err.rootMessage();
  }
}

void fillUTM(Keys &keys, System &system) {
  Oprj_ProParameters &record = *system.record;
  std::string zone = keys.take("zone").value_or("");
  if (zone.empty()) throw unusable("utm needs a zone (1 to 60)");
  bool south = false;
  if (const auto value = keys.take("south")) {
    const std::string answer = lower(*value);
    if (!answer.empty() && answer != "yes" && answer != "no" && answer != "1" && answer != "0")
      throw unusable("south=" + *value + ": the choices are yes and no");
    south = answer != "no" && answer != "0";
  }
  if (zone.ends_with('N') || zone.ends_with('n') || zone.ends_with('S') || zone.ends_with('s')) {
    south = zone.back() == 'S' || zone.back() == 's';
    zone.pop_back();
  }
  if (!ostr_ToInt32(zone.c_str(), &record.proZone) || record.proZone < 1 || record.proZone > 60)
    throw unusable("zone=" + zone + ": UTM zones are 1 to 60");
  record.proParams.data[3] = south ? -1.0 : 0.0;
}

void fillSlots(Keys &keys, const std::vector<Question> &questions, System &system,
               const Console &console) {
  Oprj_ProParameters &record = *system.record;
  std::vector<std::string> known = {"spheroid", "datum", "nad", "a", "b", "units"};
  if (record.proNumber == 1) known.insert(known.end(), {"zone", "south"});
  if (record.proNumber == 2) known.emplace_back("zone");
  for (const SlotName &name : slotNames()) {
    if (slotFor(name.key, record.proNumber, questions) &&
        std::find(known.begin(), known.end(), name.key) == known.end())
      known.emplace_back(name.key);
  }
  // Without a scale factor the natural one; `describe` shows it.
  if (const SlotName *scale = slotFor("k_0", record.proNumber, questions))
    record.proParams.data[scale->slot] = 1;

  for (const auto &[key, value] : keys.rest()) {
    if (key.size() >= 2 && key[0] == 'p' &&
        key.find_first_not_of("0123456789", 1) == std::string::npos) {
      int32_t slot;
      if (!ostr_ToInt32(key.c_str() + 1, &slot) || slot >= kSlots)
        throw unusable("the key \"" + key + "\": slots are p0 to p14");
      const bool degrees = value.ends_with('d');
      record.proParams.data[slot] =
          degrees ? angleOf(key, value.substr(0, value.size() - 1)) : numberOf(key, value);
      continue;
    }
    const SlotName *name = slotFor(key, record.proNumber, questions);
    if (!name) {
      std::string list;
      for (const std::string &each : known) list += (list.empty() ? "" : ", ") + each;
      throw unusable(
          withNearest("\"" + std::string(record.proName.data) + "\" has no key \"" + key + "\"",
                      key, known) +
          "; its keys are " + list + ", p0 to p14");
    }
    const double number =
        name->kind == OPRJ_QUERY_ANGLE ? angleOf(key, value) : numberOf(key, value);
    if (name->kind == OPRJ_QUERY_INTEGER && number != std::floor(number))
      throw unusable(key + "=" + value + ": not a whole number");
    if (key.starts_with("lat") && std::fabs(number) > 90.0001 * kDegree)
      console.warn(key + "=" + value + " is a latitude beyond 90 degrees");
    record.proParams.data[name->slot] = number;
    chooseBranch(record.proNumber, key, record.proParams.data);
  }
}

}  // namespace

std::vector<Question> questionsOf(const Oprj_Query &query) {
  std::vector<Question> questions;
  collectQuestions(query.proParamsQuerylist, questions);
  return questions;
}

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
  Slot err;
  System system;
  system.record.reset(oprj_ProParametersCreateByName(toolkit, query.name, err.get()));
  if (!system.record) throw unusable(err.text());
  system.geographic = query.type == OPRJ_INTERNAL && query.number == 0;
  if (!oprj_DblArrayCreate(system.geographic ? 0 : kSlots, &system.record->proParams, err.get()))
    throw unusable(err.text());

  system.unit = keys.take("units").value_or(system.geographic ? "dd" : "meters");
  const Ocvt_Unit *unit = ocvt_UnitSetByName(system.unit.c_str(), err.get());
  if (!unit) throw unusable("units=" + system.unit + ": " + err.rootMessage());
  if (unit->factor == 0.0 ||
      unit->kind != (system.geographic ? OCVT_KIND_ANGLE : OCVT_KIND_DISTANCE))
    throw unusable("units=" + system.unit + ": not a unit of " +
                   (system.geographic ? "angle" : "length"));

  fillSpheroid(toolkit, data, keys, system, console);
  if (system.record->proNumber == 1) fillUTM(keys, system);
  if (system.record->proNumber == 2) {
    const auto zone = keys.take("zone");
    if (!zone || zone->empty())
      throw unusable("state plane needs a zone (number, FIPS code or name)");
    system.record->proZone = findZone(data, *zone, oprj_NADCodeGet(system.record.get()));
  }
  if (system.geographic && !keys.rest().empty())
    throw unusable(withNearest("\"Geographic\" has no key \"" + keys.rest().begin()->first + "\"",
                               keys.rest().begin()->first,
                               {"spheroid", "datum", "nad", "a", "b", "units"}));
  if (!system.geographic) fillSlots(keys, questionsOf(query), system, console);
  return system;
}

}  // namespace program
