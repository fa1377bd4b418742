#include "interchange/text_names.h"

#include <oprj/ofio.h>
#include <oprj/olex.h>
#include <oprj/ostr.h>

#include <algorithm>
#include <optional>

#include "interchange/common_names.h"
#include "toolkit/nearest.h"

namespace orvik::oprj {
namespace {

using toolkit::equalIgnoringCase;
using toolkit::nearest_detail::isLetterOrDigit;

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

std::vector<std::string> nearest(std::string_view query, const std::vector<std::string> &names) {
  std::vector<std::string> near;
  for (const std::string_view name : toolkit::nearestNames(query, names)) near.emplace_back(name);
  return near;
}

/// "California Zone 5", "California 5" and "California V" mean the same, in any case.
std::string squeezedZone(std::string_view name) {
  std::string result, word;
  const auto finish = [&] {
    word = arabic(word);
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

/// Letters and digits alone, in small letters: "WGS84", "WGS_84" and "wgs 84" are one name.
std::string squeezed(std::string_view name) {
  std::string result;
  for (const char c : name) {
    if (isLetterOrDigit(c)) result += toolkit::lowerAscii(c);
  }
  return result;
}

/// What a name that people type stands for: a name of the tables as it is, else without regard to
/// what separates its words, else a common name, else the name of which the tables hold variants.
/// `Each` hands (name, item) of the tables to a visitor, aliases included.
template <class Item, class Each>
Item resolve(const char *what, int32_t unknown, int32_t commonKind, const std::string &name,
             Notes &notes, Each each) {
  std::optional<Item> same;  // without a list of all, which most names do not need
  each([&](const Oprj_Char *known, Item item) {
    if (!same && equalIgnoringCase(textOf(known).view(), name)) same = item;
  });
  if (same) return *same;

  struct Known {
    TableText name;
    Item item;
  };
  std::vector<Known> table;
  each([&](const Oprj_Char *known, Item item) { table.push_back({TableText(Utf8(known)), item}); });
  const auto find = [&table](auto matches) {
    return std::find_if(table.begin(), table.end(), matches);
  };
  std::string bare = squeezed(name);
  if (!bare.empty() && bare.find_first_not_of("0123456789") == std::string::npos)
    bare = "epsg" + bare;
  if (const auto like = find([&](const Known &k) { return squeezed(k.name) == bare; });
      like != table.end() && !bare.empty())
    return like->item;

  std::vector<const Known *> meant;
  const auto add = [&meant](const Known &known) {
    if (std::none_of(meant.begin(), meant.end(),
                     [&](const Known *other) { return other->name == known.name; }))
      meant.push_back(&known);
  };
  for (const std::string &target : commonNames(commonKind, bare)) {
    const auto known = find([&](const Known &k) { return k.name == target; });
    if (known != table.end()) add(*known);
  }
  if (meant.empty() && !bare.empty()) {
    for (const Known &known : table) {
      const TableText head = known.name.substr(0, known.name.find(" ("));
      if (head != known.name && squeezed(head) == bare) add(known);
    }
  }
  if (meant.empty()) {  // "GRS80" for "GRS 1980"
    const toolkit::nearest_detail::Squeezed asked(name);
    for (const Known &known : table) {
      if (toolkit::nearest_detail::sameButForTheCentury(
              asked, toolkit::nearest_detail::Squeezed(known.name)))
        add(known);
    }
  }
  if (meant.size() == 1) {
    notes.add(OPRJ_NOTE_NAME,
              inQuotes(name) + " is taken as the " + what + " " + inQuotes(meant.front()->name));
    return meant.front()->item;
  }
  if (!meant.empty()) {
    TextRefusal refusal{OPRJ_TEXT_AMBIGUOUS, inQuotes(name) + " may be one of " +
                                                 std::to_string(meant.size()) + " " + what + "s"};
    for (const Known *known : meant) refusal.suggestions.emplace_back(known->name);
    throw refusal;
  }
  std::vector<std::string> names;
  for (const Known &known : table) names.emplace_back(known.name);
  throw TextRefusal{unknown,
                    "there is no " + std::string(what) + " " + inQuotes(name) + " in the tables",
                    nearest(name, names)};
}

}  // namespace

Oprj_Note *Notes::release() const {
  toolkit::Owner<Oprj_Note, oprj_NotesFree> list;
  for (auto note = notes_.rbegin(); note != notes_.rend(); ++note) {
    auto *made = allocateRecord<Oprj_Note>();
    if (!made) throw std::bad_alloc();
    made->next = list.release();
    list.reset(made);
    made->kind = note->kind;
    made->text = newText(note->text).release();
    if (!made->text) throw std::bad_alloc();
  }
  return list.release();
}

std::string lower(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), toolkit::lowerAscii);
  return result;
}

std::string_view trimmed(std::string_view text) {
  const size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

std::string arabic(const std::string &word) {
  static constexpr const char *kRoman[] = {"i",  "ii",  "iii",  "iv", "v",
                                           "vi", "vii", "viii", "ix", "x"};
  for (size_t i = 0; i < std::size(kRoman); ++i) {
    if (equalIgnoringCase(word, kRoman[i])) return std::to_string(i + 1);
  }
  return word;
}

const Oprj_Query &findProjection(const Oprj_InitData &data, const std::string &name) {
  int32_t number;
  const bool isNumber = ostr_ToInt32(name.c_str(), &number) != 0;
  std::vector<std::string> names;
  const Oprj_Query *like = nullptr;
  for (const Oprj_Query *query = data.queryTable; query; query = query->next) {
    const Utf8 known = textOf(query->name);
    if (isNumber ? query->type == OPRJ_INTERNAL && query->number == number
                 : equalIgnoringCase(known.view(), name))
      return *query;
    if (!like && squeezed(known.view()) == squeezed(name)) like = query;
    names.emplace_back(known);
  }
  if (isNumber)
    throw TextRefusal{OPRJ_TEXT_NO_PROJECTION,
                      "there is no projection number " + name + " in the dictionary"};
  if (like) return *like;
  TextRefusal refusal{OPRJ_TEXT_NO_PROJECTION,
                      "there is no projection " + inQuotes(name) + " in the dictionary"};
  for (const auto &[elsewhere, here] : kElsewhere) {
    if (equalIgnoringCase(elsewhere, name)) refusal.suggestions = {here};
  }
  if (refusal.suggestions.empty()) refusal.suggestions = nearest(name, names);
  throw refusal;
}

const Oprj_SpheroidTableEntry &findSpheroid(const Oprj_InitData &data, const std::string &name,
                                            Notes &notes) {
  return *resolve<const Oprj_SpheroidTableEntry *>(
      "spheroid", OPRJ_TEXT_NO_SPHEROID, kSpheroidNames, name, notes, [&data](auto visit) {
        for (const auto *entry = data.spheroidTable; entry; entry = entry->next) {
          visit(entry->name, entry);
          for (const auto *alias = entry->aliases; alias; alias = alias->next)
            visit(alias->name, entry);
        }
      });
}

FoundDatum findDatum(const Oprj_InitData &data, const std::string &name, Notes &notes) {
  return resolve<FoundDatum>(
      "datum", OPRJ_TEXT_NO_DATUM, kDatumNames, name, notes, [&data](auto visit) {
        for (const auto *entry = data.spheroidTable; entry; entry = entry->next) {
          for (const auto *datum = entry->datums; datum; datum = datum->next)
            visit(datum->name, FoundDatum{entry, datum});
        }
      });
}

const NadDatum &findNad(const std::string &value) {
  const std::string bare = squeezed(value);
  for (const NadDatum &nad : kNadDatums) {
    if (bare == nad.key || bare == squeezed(nad.datum)) return nad;
  }
  throw TextRefusal{
      OPRJ_TEXT_VALUE, "nad=" + value + ": the choices are 27, 83 and harn", {"27", "83", "harn"}};
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
    throw TextRefusal{
        OPRJ_TEXT_NO_ZONE,
        "the table of State Plane zones (sptable.tab) is not found along ORVIK_PROJECTIONS_PATH"};
  TextRefusal refusal{OPRJ_TEXT_NO_ZONE, "there is no State Plane zone " + inQuotes(text) +
                                             " under NAD" + (nad.tableCode() == 1 ? "27" : "83")};
  if (int32_t number; ostr_ToInt32(text.c_str(), &number)) {
    if (!oprj_SPEntryByZoneNumber(toolkit, number, nad.tableCode(), nullptr)) throw refusal;
    return number;
  }
  std::vector<std::string> names;
  const std::string wanted = squeezedZone(text);
  for (const auto *entry = data.statePlaneTable; entry; entry = entry->next) {
    if (entry->nadCode != nad.tableCode()) continue;
    const std::string name = textOf(entry->stateName).str() + " " + textOf(entry->zoneName).c_str();
    if (squeezedZone(name) == wanted) return entry->zoneNumber;
    names.push_back(name);
  }
  refusal.suggestions = nearest(text, names);
  throw refusal;
}

std::string messageOf(const TextRefusal &refusal) {
  std::string names;
  if (refusal.kind != OPRJ_TEXT_AMBIGUOUS) {
    for (const std::string &name : refusal.suggestions)
      names += (names.empty() ? "" : ", ") + inQuotes(name);
  }
  return refusal.message + (names.empty() ? "" : " (did you mean " + names + "?)") + refusal.more;
}

}  // namespace orvik::oprj

void oprj_NotesFree(Oprj_Note **list) {
  if (!list) return;
  while (Oprj_Note *dead = *list) {
    *list = dead->next;
    omsc_HeapFree(dead->text);
    omsc_HeapFree(dead);
  }
}
