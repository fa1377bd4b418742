// Coordinate systems as people write them: reading, writing, titles.
#include <oprj/families.h>
#include <oprj/ostr.h>
#include <oprj/projection.h>
#include <oprj/translation.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

#include "interchange/text_refusal.h"
#include "interchange/text_slots.h"
#include "pipeline/function_sets.h"
#include "projections/registry.h"
#include "tables/table_records.h"
#include "toolkit/nearest.h"

namespace orvik::oprj {
namespace {

bool isInternal(const Oprj_Query &query, int32_t number) {
  return query.type == OPRJ_INTERNAL && query.number == number;
}
bool isGeographic(const Oprj_Query &query) { return isInternal(query, 0); }
bool isUTM(const Oprj_Query &query) { return isInternal(query, 1); }
bool isStatePlane(const Oprj_Query &query) { return isInternal(query, 2); }

/// The keys of a text, each at most once.
class Keys {
 public:
  explicit Keys(std::string_view text) {
    for (bool first = true; first || !text.empty(); first = false) {
      const size_t end = std::min(text.find(';'), text.size());
      const std::string_view part = trimmed(text.substr(0, end));
      text.remove_prefix(std::min(end + 1, text.size()));
      if (first) name_ = part;
      else if (!part.empty()) add(part);
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
  void add(std::string_view part) {
    const size_t equals = part.find('=');
    const std::string key = lower(trimmed(part.substr(0, equals)));
    const std::string value(equals == std::string_view::npos ? ""
                                                             : trimmed(part.substr(equals + 1)));
    if (!values_.emplace(key, value).second)
      throw TextRefusal{OPRJ_TEXT_CONTRADICTION, "the key " + inQuotes(key) + " is given twice"};
  }

  std::string name_;
  std::map<std::string, std::string> values_;
};

/// "yes" and "no" as a key's value; the key alone means yes.
bool isYes(const std::string &key, const std::string &value) {
  const std::string answer = lower(value);
  if (!answer.empty() && answer != "yes" && answer != "no" && answer != "1" && answer != "0")
    throw TextRefusal{OPRJ_TEXT_VALUE, key + "=" + value + ": the choices are yes and no"};
  return answer != "no" && answer != "0";
}

double metres(const std::string &key, const std::string &value) {
  double number;
  if (!ostr_ToDouble(value.c_str(), &number))
    throw TextRefusal{OPRJ_TEXT_VALUE, key + "=" + value + ": not a number"};
  return number;
}

/// What an external projection is called by that the dictionary does not know: "external NAME".
constexpr std::string_view kExternal = "external ";

/// The projection that a text names: one of the dictionary, or an external one by the name of what
/// computes it. The dictionary's questions go with that where it has any.
class NamedProjection {
 public:
  NamedProjection(const Oprj_InitData &data, const std::string &name) : found_(&own_) {
    if (!lower(name).starts_with(kExternal)) {
      found_ = &findProjection(data, name);
      return;
    }
    name_ = newText(trimmed(std::string_view(name).substr(kExternal.size())));
    if (!name_) throw std::bad_alloc();
    own_.type = OPRJ_EXTERNAL;
    own_.name = own_.executable = name_.get();
    for (const Oprj_Query *query = data.queryTable; query; query = query->next)
      if (query->type == OPRJ_EXTERNAL && sameText(name_.get(), query->executable)) found_ = query;
  }
  NamedProjection(const NamedProjection &) = delete;
  NamedProjection &operator=(const NamedProjection &) = delete;
  const Oprj_Query &query() const { return *found_; }

 private:
  OwnedText name_;
  Oprj_Query own_{};
  const Oprj_Query *found_;
};

/// A text on its way into a record.
class Reading {
 public:
  Reading(Oint_Toolkit *toolkit, const Oprj_InitData &data, std::string_view text, ErrorScope &e)
      : toolkit_(toolkit),
        data_(data),
        keys_(text),
        named_(data, keys_.name()),
        query_(named_.query()),
        e_(e) {}

  OwnedParameters read() {
    refuseUnknownKeys();
    record_.reset(oprj_ProParametersCreate(e_.cause()));
    need(record_.get());
    if (!setProjection(*record_, query_)) throw std::bad_alloc();
    Oprj_DblArray &slots = record_->proParams;
    const int32_t count =
        isGeographic(query_) ? 0 : std::max(kLeastSlots, slotsAsked(query_.proParamsQuerylist));
    need(oprj_DblArrayCreate(count, &slots, e_.cause()));
    readUnit();
    const NadDatum *nad = readSpheroid();
    if (isUTM(query_)) readUTM();
    else if (isStatePlane(query_)) readStatePlane(nad);
    else if (!isGeographic(query_)) fillSlots(query_, keys_.rest(), *record_);
    return std::move(record_);
  }
  const Ocvt_Unit *unit() const { return unit_; }
  const Notes &notes() const { return notes_; }

 private:
  [[noreturn]] static void refuse(int32_t kind, std::string message) {
    throw TextRefusal{kind, std::move(message)};
  }
  std::string name() const { return inQuotes(textOf(query_.name).view()); }
  /// A lookup that fails without the text's fault ends the reading with its report as the cause.
  void need(const void *result) const {
    if (!result) throw TextRefusal{0, oerr_MessageGet(oerr_RootCauseGet(e_.causeReport()))};
  }

  /// Misspelt keys, before anything that they would have said is missed.
  void refuseUnknownKeys() const {
    std::vector<std::string> known = {"spheroid", "datum", "nad", "a", "b", "units"};
    const bool hasSlots = !isGeographic(query_) && !isUTM(query_) && !isStatePlane(query_);
    if (isUTM(query_)) known.insert(known.end(), {"zone", "south"});
    if (isStatePlane(query_)) known.emplace_back("zone");
    if (hasSlots) {
      for (const std::string &key : keysOf(query_)) known.push_back(key);
    }
    for (const auto &[key, value] : keys_.rest()) {
      if (std::find(known.begin(), known.end(), key) != known.end() || (hasSlots && isSlotKey(key)))
        continue;
      std::string list;
      for (const std::string &each : known) list += (list.empty() ? "" : ", ") + each;
      TextRefusal refusal{OPRJ_TEXT_NO_KEY, name() + " has no key " + inQuotes(key)};
      refusal.more = "; its keys are " + list + (hasSlots ? ", p0 to p14" : "");
      for (const std::string_view near : toolkit::nearestNames(key, known))
        refusal.suggestions.emplace_back(near);
      throw refusal;
    }
  }

  void readUnit() {
    const bool geographic = isGeographic(query_);
    const std::string name = keys_.take("units").value_or(geographic ? "dd" : "meters");
    unit_ = ocvt_UnitSetByName(name.c_str(), e_.cause());
    if (!unit_)
      refuse(OPRJ_TEXT_NO_UNIT, "units=" + name + ": " + oerr_MessageGet(e_.causeReport()));
    if (unit_->factor == 0.0 || unit_->kind != (geographic ? OCVT_KIND_ANGLE : OCVT_KIND_DISTANCE))
      refuse(OPRJ_TEXT_VALUE,
             "units=" + name + ": not a unit of " + (geographic ? "angle" : "length"));
  }

  /// A system on axes alone.
  void readAxes(const std::optional<std::string> &a, const std::optional<std::string> &b) {
    if (!a) refuse(OPRJ_TEXT_INCOMPLETE, "b needs a");
    Oprj_Spheroid *spheroid = record_->proSpheroid;
    const double major = metres("a", *a), minor = b ? metres("b", *b) : major;
    if (!oprj_SpheroidByAxes(toolkit_, major, minor, spheroid, e_.cause()))
      refuse(OPRJ_TEXT_VALUE, "a=" + *a + (b ? ", b=" + *b : "") + ": " + rootMessage());
    const OwnedText known{oprj_GetSpheroidNameByAxes(toolkit_, major, minor, nullptr)};
    need(oprj_CharStrCreate(known ? known.get() : Flat("Unknown"), &spheroid->sphereName,
                            e_.cause()));
    notes_.add(OPRJ_NOTE_NO_DATUM,
               name() + " has axes but no datum: it is not shifted to any other");
  }

  /// Spheroid and datum of the record. Returns the North American Datum that `nad` or the datum
  /// names; null when neither does.
  const NadDatum *readSpheroid() {
    Oprj_Spheroid *spheroid = record_->proSpheroid;
    const auto spheroidName = keys_.take("spheroid"), nadText = keys_.take("nad"),
               a = keys_.take("a"), b = keys_.take("b");
    auto datumName = keys_.take("datum");
    const NadDatum *nad = nadText ? &findNad(*nadText) : nullptr;
    need(oprj_DatumInit(&spheroid->datum, e_.cause()));
    if (a || b) {
      if (isStatePlane(query_))
        refuse(OPRJ_TEXT_CONTRADICTION,
               "a State Plane zone brings its own axes: leave out a and b");
      if (spheroidName || datumName || nad)
        refuse(OPRJ_TEXT_CONTRADICTION,
               "a and b stand for themselves: leave out spheroid, datum and nad, or the axes");
      readAxes(a, b);
      return nullptr;
    }
    if (nad && !datumName) datumName = nad->datum;
    if (!spheroidName && !datumName)
      refuse(OPRJ_TEXT_INCOMPLETE,
             name() +
                 " needs a datum, a spheroid, nad or the axes a and b (for instance datum=WGS 84)");
    FoundDatum found;
    if (datumName && !ostr_EqualIgnoringCase(datumName->c_str(), kUndefinedDatum)) {
      found = findDatum(data_, *datumName, notes_);
      if (spheroidName && &findSpheroid(data_, *spheroidName, notes_) != found.spheroid)
        refuse(OPRJ_TEXT_CONTRADICTION, "the datum " + inQuotes(textOf(found.datum->name).view()) +
                                            " belongs to the spheroid " +
                                            inQuotes(textOf(found.spheroid->name).view()) +
                                            ", not to " + inQuotes(*spheroidName));
    } else {
      if (!spheroidName) refuse(OPRJ_TEXT_INCOMPLETE, "an undefined datum needs a spheroid");
      found.spheroid = &findSpheroid(data_, *spheroidName, notes_);
      if (!datumName)
        notes_.add(OPRJ_NOTE_NO_DATUM,
                   inQuotes(textOf(found.spheroid->name).view()) +
                       " is given without a datum: it is not shifted to any other");
    }
    const NadDatum *nadOfIt = found.datum ? nadOfDatum(textOf(found.datum->name).view()) : nullptr;
    if (nad && nadOfIt != nad && (nadOfIt || !isStatePlane(query_)))
      refuse(OPRJ_TEXT_CONTRADICTION,
             "nad=" + *nadText + " contradicts datum=" + *datumName + ": leave one out");
    need(oprj_SpheroidByName(toolkit_, found.spheroid->name, spheroid, e_.cause()));
    if (found.datum && !oprj_DatumByName(toolkit_, found.spheroid->name, found.datum->name,
                                         spheroid->datum, e_.cause())) {
      if (spheroid->datum->type != OPRJ_DATUM_GRID) need(nullptr);
      notes_.add(OPRJ_NOTE_GRID, rootMessage());
      e_.cause();  // a later refusal has another cause
    }
    return nad ? nad : nadOfIt;
  }

  void readUTM() {
    std::string zone = keys_.take("zone").value_or("");
    if (zone.empty()) refuse(OPRJ_TEXT_INCOMPLETE, "utm needs a zone (1 to 60)");
    const std::string written = zone;
    std::optional<bool> south;
    if (const auto value = keys_.take("south")) south = isYes("south", *value);
    if (const char last = static_cast<char>(zone.back() | 0x20); last == 'n' || last == 's') {
      zone.pop_back();
      if (south && *south != (last == 's'))
        refuse(OPRJ_TEXT_CONTRADICTION, "zone=" + written + " contradicts south" +
                                            (*south ? "" : "=no") + ": leave one out");
      south = last == 's';
    }
    int32_t &number = record_->proZone;
    if (!ostr_ToInt32(zone.c_str(), &number) || number < 1 || number > 60)
      refuse(OPRJ_TEXT_VALUE, "zone=" + written + ": UTM zones are 1 to 60");
    record_->proParams.data[3] = south.value_or(false) ? -1.0 : 0.0;
  }

  /// The zone's tables are those of the datum, or of `nad` beside a datum of the same axes.
  void readStatePlane(const NadDatum *nad) {
    constexpr double kSameAxis = 1e-3;  // metres: WGS 84 and GRS 1980 differ by 0.1 mm
    const auto zone = keys_.take("zone");
    if (!zone || zone->empty())
      refuse(OPRJ_TEXT_INCOMPLETE, "state plane needs a zone (number, FIPS code or name)");
    if (!nad)
      refuse(
          OPRJ_TEXT_INCOMPLETE,
          "state plane needs nad (27, 83 or harn): the datum does not say whose zones are meant");
    const auto *table = oprj_SpheroidEntryByName(toolkit_, Flat(nad->spheroid), nullptr);
    const Oprj_Spheroid &spheroid = *record_->proSpheroid;
    if (table && (std::fabs(table->a - spheroid.a) > kSameAxis ||
                  std::fabs(table->b - spheroid.b) > kSameAxis))
      refuse(OPRJ_TEXT_CONTRADICTION, std::string("nad=") + nad->key + " has its zones on " +
                                          inQuotes(nad->spheroid) + ", not on " +
                                          inQuotes(textOf(spheroid.sphereName).view()));
    record_->proZone = findZone(toolkit_, data_, *zone, *nad);
    record_->proParams.data[0] = nad->code;
  }

  std::string rootMessage() const { return oerr_MessageGet(oerr_RootCauseGet(e_.causeReport())); }

  Oint_Toolkit *toolkit_;
  const Oprj_InitData &data_;
  Keys keys_;
  const NamedProjection named_;
  const Oprj_Query &query_;
  ErrorScope &e_;
  OwnedParameters record_;
  const Ocvt_Unit *unit_ = nullptr;
  Notes notes_;
};

/// What is no description of this form, but may be one of another.
void refuseOtherForms(std::string_view text) {
  if (text.find("::") != std::string_view::npos)
    throw TextRefusal{OPRJ_TEXT_UNREADABLE,
                      inQuotes(text) + ": node files cannot be read by this version"};
  if (text.empty()) throw TextRefusal{OPRJ_TEXT_UNREADABLE, "the coordinate system is empty"};
}

/// Whether a text is one of the Projection Engine: a word and a bracket.
bool isEngineText(std::string_view text) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  const size_t end = text.find_first_of("[(");
  if (end == std::string_view::npos) return false;
  const std::string word = lower(trimmed(text.substr(0, end)));
  return word == "projcs" || word == "geogcs" || word == "compd_cs";
}

void deleteSystem(Oawp_PE_COORDSYS **system) { OAWP_FCLL_PE(pe_coordsys_del)(*system); }

/// A record of an engine's text: translated, or else one that holds the text.
OwnedParameters readEngineText(const std::string &text, std::string &unit, Oprj_Note **notes,
                               ErrorScope &e) {
  const toolkit::Owner<Oawp_PE_COORDSYS, deleteSystem> system(
      OAWP_FCLL_PE(pe_coordsys_from_string)(text.c_str()));
  if (!system) {
    oawp_PE_ReportTake(e.cause());
    throw TextRefusal{OPRJ_TEXT_UNREADABLE,
                      std::string("the text of the coordinate system cannot be read: ") +
                          oerr_MessageGet(oerr_RootCauseGet(e.causeReport()))};
  }
  Oprj_Char *made = nullptr;
  OwnedParameters record(oprj_ProParametersFromCOORDSYS(system.get(), &made, notes, e.cause()));
  OwnedText name(made);
  if (record) {
    unit = Utf8(name.get());
    return record;
  }
  const std::string why = oerr_MessageGet(oerr_RootCauseGet(e.causeReport()));
  record.reset(oprj_ProParametersHoldingPEString(Flat(text), e.cause()));
  if (!record) throw TextRefusal{0, oerr_MessageGet(oerr_RootCauseGet(e.causeReport()))};
  Notes told;
  told.add(OPRJ_NOTE_NO_NUMBER, why + ": it is left to the Projection Engine");
  if (notes) *notes = told.release();
  name.reset(oprj_COORDSYSUnitName(system.get(), e.cause()));
  if (!name) throw std::bad_alloc();
  unit = Utf8(name.get());
  return record;
}

bool sameBits(const Oprj_DblArray &first, const Oprj_DblArray &second) {
  return first.count == second.count &&
         (first.count <= 0 || std::memcmp(first.data, second.data,
                                          static_cast<size_t>(first.count) * sizeof(double)) == 0);
}

/// Whether two records of one projection hold the same.
bool sameEntries(const Oprj_ProParameters &first, const Oprj_ProParameters &second) {
  const Oprj_Spheroid &one = *first.proSpheroid, &other = *second.proSpheroid;
  const Oprj_Datum &datum = *one.datum, &otherDatum = *other.datum;
  return first.proZone == second.proZone && one.a == other.a && one.b == other.b &&
         (first.proType != OPRJ_EXTERNAL || sameText(first.proExeName, second.proExeName)) &&
         sameText(one.sphereName, other.sphereName) &&
         sameText(datum.datumname, otherDatum.datumname) && datum.type == otherDatum.type &&
         sameBits(datum.params, otherDatum.params);
}

/// Equal slots, whatever room is behind them.
bool sameSlots(const Oprj_ProParameters &first, const Oprj_ProParameters &second) {
  const auto at = [](const Oprj_ProParameters &record, size_t i) {
    const auto slots = elementsOf(record.proParams);
    return i < slots.size() ? slots[i] : 0.0;
  };
  const size_t count =
      std::max(elementsOf(first.proParams).size(), elementsOf(second.proParams).size());
  for (size_t i = 0; i < count; ++i) {
    const double one = at(first, i), other = at(second, i);
    if (std::memcmp(&one, &other, sizeof one) != 0) return false;
  }
  return true;
}

}  // namespace

bool sameSystem(const Oprj_ProParameters &first, const Oprj_ProParameters &second) {
  return sameEntries(first, second) && sameSlots(first, second);
}

namespace {

std::string spheroidText(const Oprj_Spheroid &spheroid) {
  if (!isUndefined(spheroid.datum)) return "; datum=" + textOf(spheroid.datum->datumname).str();
  const std::string name = textOf(spheroid.sphereName).str();
  if (!name.empty() && name != "Unknown")
    return "; spheroid=" + name + "; datum=" + kUndefinedDatum;
  return "; a=" + shortest(spheroid.a) + "; b=" + shortest(spheroid.b);
}

/// What a text calls the projection of a record by: one of the dictionary, or an external one.
class NameOfRecord {
 public:
  /// No query, with a report, when there is no name.
  NameOfRecord(Oint_Toolkit *toolkit, const Oprj_ProParameters &record, Oerr_Report **err)
      : query(oprj_QueryByExample(toolkit, &record, err)) {
    if (query || record.proType != OPRJ_EXTERNAL) return;
    oerr_DeleteErrorReport(err);
    name_ = newText(std::string(kExternal) + textOf(record.proExeName).c_str());
    if (!name_) throw std::bad_alloc();
    own_.type = OPRJ_EXTERNAL;
    own_.name = name_.get();
    query = &own_;
  }
  NameOfRecord(const NameOfRecord &) = delete;
  NameOfRecord &operator=(const NameOfRecord &) = delete;
  const Oprj_Query *query;

 private:
  OwnedText name_;
  Oprj_Query own_{};
};

std::string systemText(const Oprj_Query &query, const Oprj_ProParameters &record) {
  std::string text = textOf(query.name).c_str() + spheroidText(*record.proSpheroid);
  if (isUTM(query)) {
    const auto slots = elementsOf(record.proParams);
    const bool south = slots.size() > 3 && slots[3] < 0;
    text += "; zone=" + std::to_string(record.proZone) + (south ? "S" : "N");
  } else if (isStatePlane(query)) {
    text += "; zone=" + std::to_string(record.proZone);
    const auto slots = elementsOf(record.proParams);
    for (const NadDatum &nad : kNadDatums) {
      if (!slots.empty() && slots[0] == nad.code) text += std::string("; nad=") + nad.key;
    }
  } else if (!isGeographic(query)) {
    text += writeSlots(query, record);
  }
  return text;
}

/// The zone of a State Plane record; null when the table does not have it.
const Oprj_SPTableEntry *zoneOf(Oint_Toolkit *toolkit, const Oprj_ProParameters &record) {
  return oprj_SPEntryByZoneNumber(toolkit, record.proZone, oprj_NADCodeGet(&record), nullptr);
}

std::string titleOf(Oint_Toolkit *toolkit, const Oprj_ProParameters &record) {
  const std::string name = textOf(record.proName).str(), zone = std::to_string(record.proZone);
  if (record.proType == OPRJ_EXTERNAL && name.empty()) return textOf(record.proExeName).str();
  if (record.proType != OPRJ_INTERNAL || asksForEngine(record)) return name;
  if (record.proNumber == 1) {
    const auto slots = elementsOf(record.proParams);
    const bool south = record.proZone < 0 || (slots.size() > 3 && slots[3] < 0);
    return "UTM, Zone " + zone + (south ? " South" : " North");
  }
  if (record.proNumber != 2) return name;
  const Oprj_SPTableEntry *entry = zoneOf(toolkit, record);
  if (!entry) return "State Plane, Zone " + zone;
  const std::string part = arabic(textOf(entry->zoneName).str());
  const std::string state = textOf(entry->stateName).str();
  const bool isOnly = part.empty() || part == state;
  const bool numbered = !part.empty() && std::isdigit(static_cast<unsigned char>(part[0]));
  return "State Plane, " + state + (isOnly ? "" : (numbered ? " Zone " : " ") + part) + " (NAD" +
         (entry->nadCode == 1 ? "27" : "83") + ", FIPS Zone " + std::to_string(-entry->fipsCode) +
         ")";
}

}  // namespace
}  // namespace orvik::oprj

using namespace orvik::oprj;

Oprj_ProParameters *oprj_ProParametersFromText(Oint_Toolkit *toolkit, const Oprj_Char *given,
                                               const Ocvt_Unit **unit, Oprj_Note **notes,
                                               Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersFromText", err);
  if (unit) *unit = nullptr;
  if (notes) *notes = nullptr;
  const Oprj_InitData *data = referenceData(e, toolkit);
  if (!data) return nullptr;
  if (!given) return e.fail(3, "Invalid input text");
  return reporting(e, err, [&]() -> Oprj_ProParameters * {
    const Utf8 text(given);
    const std::string_view plain = trimmed(text.view());
    if (isEngineText(plain)) {
      std::string name;
      OwnedParameters record = readEngineText(std::string(plain), name, notes, e);
      if (unit) *unit = ocvt_UnitSetByName(name.c_str(), e.cause());
      return record.release();
    }
    refuseOtherForms(plain);
    Reading reading(toolkit, *data, plain, e);
    OwnedParameters record = reading.read();
    if (notes) *notes = reading.notes().release();
    if (unit) *unit = reading.unit();
    return record.release();
  });
}

const Oprj_Query *oprj_QueryFromText(Oint_Toolkit *toolkit, const Oprj_Char *name,
                                     Oerr_Report **err) {
  ErrorScope e("oprj_QueryFromText", err);
  const Oprj_InitData *data = referenceData(e, toolkit);
  if (!data) return nullptr;
  if (!name) return e.fail(3, "Invalid input text");
  return reporting(e, err, [&]() -> const Oprj_Query * {
    return &findProjection(*data, std::string(trimmed(Utf8(name).view())));
  });
}

int32_t oprj_QueryIsComputed(const Oprj_Query *query) {
  return query && query->type == OPRJ_INTERNAL &&
         std::any_of(std::begin(kRegistry), std::end(kRegistry),
                     [query](const RegistryRow &row) { return row.number == query->number; });
}

Oprj_Char *oprj_ProParametersToText(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                    const Ocvt_Unit *unit, Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersToText", err);
  if (!referenceData(e, toolkit)) return nullptr;
  if (!record) return e.fail(3, "Invalid input Oprj_ProParameters");
  if (asksForEngine(*record)) {
    Oprj_Char *held = copyOf(record->proExeName.data);
    if (!held) return e.fail(10, "Error allocating text");
    return held;
  }
  if (!record->proSpheroid || !record->proSpheroid->datum)
    return e.fail(6, "Invalid input Oprj_Spheroid");
  return reporting(e, err, [&]() -> Oprj_Char * {
    const NameOfRecord name(toolkit, *record, e.cause());
    const Oprj_Query *query = name.query;
    if (!query) return e.fail(7, "Error returned from oprj_QueryByExample");
    std::string text = systemText(*query, *record);
    if (unit && unit->name != std::string(isGeographic(*query) ? "dd" : "meters"))
      text += std::string("; units=") + unit->name;
    // What cannot be written is found by reading: names with a semicolon, datums and zones that are
    // not as the tables have them, slots that no question fills.
    const OwnedParameters back{
        oprj_ProParametersFromText(toolkit, Flat(text), nullptr, nullptr, e.cause())};
    if (!back) return e.fail(8, "Error returned from oprj_ProParametersFromText");
    if (!sameSystem(*record, *back))
      return e.fail(9, "No text describes this system: \"%s\" is not the same", text.c_str());
    Oprj_Char *result = newText(text).release();
    if (!result) return e.fail(10, "Error allocating text");
    return result;
  });
}

Oprj_Char *oprj_ProParametersTitle(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                   Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersTitle", err);
  if (!referenceData(e, toolkit)) return nullptr;
  if (!record) return e.fail(3, "Invalid input Oprj_ProParameters");
  return orvik::toolkit::guarded(e, 4, [&]() -> Oprj_Char * {
    Oprj_Char *title = newText(titleOf(toolkit, *record)).release();
    if (!title) return e.fail(5, "Error allocating title");
    return title;
  });
}
