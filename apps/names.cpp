#include "names.h"

#include <algorithm>

namespace program {
namespace {

Stop unusable(const std::string &message) { return {kUnusable, message}; }

/// What other programs call the projections of the dictionary: only ever suggested.
constexpr struct {
  const char *elsewhere, *name;
} kElsewhere[] = {
    {"latlong", "Geographic"},
    {"longlat", "Geographic"},
    {"latlon", "Geographic"},
    {"lonlat", "Geographic"},
    {"aea", "Albers Conical Equal Area"},
    {"aeqd", "Azimuthal Equidistant"},
    {"cea", "Cylindrical Equal Area"},
    {"eqc", "Equirectangular"},
    {"eqdc", "Equidistant Conic"},
    {"gauss kruger", "Gauss Kruger"},
    {"laea", "Lambert Azimuthal Equal-area"},
    {"lcc", "Lambert Conformal Conic"},
    {"omerc", "Oblique Mercator (Hotine)"},
    {"sinu", "Sinusoidal"},
    {"som", "Space Oblique Mercator"},
    {"spcs", "State Plane"},
    {"stere", "Stereographic"},
    {"tmerc", "Transverse Mercator"},
    {"web mercator", "Pseudo Mercator"},
};

/// "California Zone 5", "California 5" and "California V" mean the same, in any case.
std::string squeezed(std::string_view name) {
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
}

}  // namespace

std::string withNearest(const std::string &message, std::string_view query,
                        const std::vector<std::string> &names) {
  const std::string near = nearest(query, names);
  return near.empty() ? message : message + " (did you mean " + near + "?)";
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
  const std::string message = "there is no projection \"" + name + "\" in the dictionary";
  for (const auto &[elsewhere, here] : kElsewhere) {
    if (ostr_EqualIgnoringCase(elsewhere, name.c_str()))
      throw unusable(withNearest(message, here, {here}));
  }
  throw unusable(withNearest(message, name, names) + "; `oprj list projections` lists them");
}

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
  throw unusable(withNearest("there is no spheroid \"" + name + "\" in the tables", name, names) +
                 "; `oprj list spheroids` lists them");
}

FoundDatum findDatum(const Oprj_InitData &data, const std::string &name) {
  std::vector<std::string> names;
  for (const auto *entry = data.spheroidTable; entry; entry = entry->next) {
    for (const auto *datum = entry->datums; datum; datum = datum->next) {
      if (ostr_EqualIgnoringCase(datum->name, name.c_str())) return {entry->name, datum->name};
      names.emplace_back(datum->name);
    }
  }
  throw unusable(withNearest("there is no datum \"" + name + "\" in the tables", name, names) +
                 "; `oprj list datums` lists them");
}

const NadDatum &findNad(const std::string &value) {
  for (const NadDatum &nad : kNadDatums) {
    if (ostr_EqualIgnoringCase(value.c_str(), nad.key) ||
        ostr_EqualIgnoringCase(value.c_str(), nad.datum))
      return nad;
  }
  throw unusable("nad=" + value + ": the choices are 27, 83 and harn");
}

const NadDatum *nadOfDatum(std::string_view datumName) {
  for (const NadDatum &nad : kNadDatums) {
    const std::string_view name = nad.datum;
    if (datumName.starts_with(name) &&
        (datumName.size() == name.size() || datumName.substr(name.size()).starts_with(" (")))
      return &nad;
  }
  return nullptr;
}

int32_t findZone(Oint_Toolkit *toolkit, const Oprj_InitData &data, const std::string &text,
                 const NadDatum &nad) {
  if (!data.statePlaneTable)
    throw unusable(
        "the table of State Plane zones (sptable.tab) is not found along ORVIK_PROJECTIONS_PATH");
  const int32_t tableCode = nad.code == 1 ? 1 : 2;
  const std::string message =
      "there is no State Plane zone \"" + text + "\" under NAD" + (tableCode == 1 ? "27" : "83");
  if (int32_t number; ostr_ToInt32(text.c_str(), &number)) {
    Slot err;
    if (!oprj_SPEntryByZoneNumber(toolkit, number, tableCode, err.get())) throw unusable(message);
    return number;
  }
  std::vector<std::string> names;
  const std::string wanted = squeezed(text);
  for (const auto *entry = data.statePlaneTable; entry; entry = entry->next) {
    if (entry->nadCode != tableCode) continue;
    const std::string name = std::string(entry->stateName) + " " + entry->zoneName;
    if (squeezed(name) == wanted) return entry->zoneNumber;
    names.push_back(name);
  }
  throw unusable(withNearest(message, text, names));
}

}  // namespace program
