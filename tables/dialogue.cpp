// The dialogue on standard input and output: chooses a projection, a spheroid and a datum, and asks
// a dictionary entry's questions.
#include <oprj/ocvt.h>
#include <oprj/ostr.h>

#include <algorithm>
#include <cstdio>
#include <numbers>
#include <string>

#include "tables/reference_data.h"
#include "tables/table_records.h"
#include "toolkit/c_locale.h"

namespace {

using namespace orvik::oprj;

constexpr double kRadiansPerDegree = std::numbers::pi / 180.0;

/// How many characters of an answer count; the rest of the line is passed over.
constexpr size_t kSpheroidNameLength = 50, kDatumNameLength = 60, kLineLength = 1000;

/// oprj_DatumByName's code for a grid file that cannot be opened; the datum is filled but for it.
constexpr int32_t kGridFileMissing = 10;

constexpr const char *kAskSpheroid = "Enter name of spheroid: ";
constexpr const char *kAskDatum = "Enter name of datum: ";

/// One answer: a line of standard input without its end and what surrounds it.
class Answer {
 public:
  /// Writes the prompt and reads the answer; false at the end of input.
  bool ask(const char *prompt, size_t length = kLineLength) {
    std::fputs(prompt, stdout);
    std::fflush(stdout);
    text_.clear();
    int c = std::getchar();
    if (c == EOF) return false;
    for (; c != EOF && c != '\n'; c = std::getchar())
      if (text_.size() < length) text_ += static_cast<char>(c);
    text_.erase(text_.find_last_not_of(" \t\r") + 1);
    text_.erase(0, text_.find_first_not_of(" \t"));
    return true;
  }
  const char *text() const { return text_.c_str(); }
  bool is(const char *word) const { return ostr_EqualIgnoringCase(text(), word); }
  bool integer(int32_t &value) const { return ostr_ToInt32(text(), &value); }
  bool number(double &value) const { return ostr_ToDouble(text(), &value); }

 private:
  std::string text_;
};

/// Asks the questions of a dictionary entry and puts the answers into a record.
class Questions {
 public:
  Questions(Oint_Toolkit *toolkit, Oprj_ProParameters &record, ErrorScope &e)
      : toolkit_(toolkit), record_(record), e_(e) {}

  bool askAll(const Oprj_QueryEntry *list) {
    for (const Oprj_QueryEntry *entry = list; entry; entry = entry->next)
      if (!ask(*entry)) return false;
    return true;
  }

 private:
  bool ask(const Oprj_QueryEntry &entry) {
    switch (entry.kind) {
      case OPRJ_QUERY_SPHEROID:
        return askSpheroid(entry) && askDatum();
      case OPRJ_QUERY_SPHEROID_BY_NAME:
        return setSpheroid(entry.valueArea.spheroidName) && askDatum();
      case OPRJ_QUERY_UTM_ZONE:
        return askUtmZone(entry);
      case OPRJ_QUERY_STATE_PLANE_ZONE:
        return askStatePlaneZone(entry);
      case OPRJ_QUERY_NAD_CODE:
        return askNadCode(entry);
      case OPRJ_QUERY_CONDITION:
        return askCondition(entry);
      case OPRJ_QUERY_NUMBER:
      case OPRJ_QUERY_ANGLE:
      case OPRJ_QUERY_DISTANCE:
      case OPRJ_QUERY_INTEGER:
        return askValue(entry);
      default:
        return e_.fail(9, "Invalid data type");
    }
  }

  /// Asks until `take` accepts the answer.
  template <class Take>
  bool repeat(const char *prompt, size_t length, Take take) {
    Answer answer;
    while (answer.ask(prompt, length)) {
      if (take(answer)) return true;
      std::printf("Invalid value. Enter again!\n");
    }
    return e_.fail(10, "End of input");
  }
  template <class Take>
  bool repeat(const Oprj_QueryEntry &entry, Take take) {
    return repeat((std::string(textOf(entry.prompt)) + ": ").c_str(), kLineLength, take);
  }

  bool askSpheroid(const Oprj_QueryEntry &entry) {
    const Oprj_SpheroidTableEntry *spheroid = nullptr;
    return repeat(entry,
                  [&](const Answer &answer) {
                    spheroid = oprj_SpheroidEntryByName(toolkit_, Flat(answer.text()), nullptr);
                    return spheroid != nullptr;
                  }) &&
           setSpheroid(spheroid->name);
  }

  bool setSpheroid(const Oprj_Char *name) {
    if (!oprj_SpheroidByName(toolkit_, name, record_.proSpheroid, e_.cause()))
      return e_.fail(11, "Error returned from oprj_SpheroidByName");
    return true;
  }

  bool askDatum() {
    const auto *table =
        oprj_SpheroidEntryByName(toolkit_, record_.proSpheroid->sphereName.data, nullptr);
    std::string name;
    return repeat(kAskDatum, kDatumNameLength,
                  [&](const Answer &answer) {
                    name = answer.text();
                    return name.empty() || answer.is(kUndefinedDatum) ||
                           (table && findDatumEntry(*table, Flat(name)));
                  }) &&
           setDatum(name.c_str());
  }

  /// That a datum's grid file is missing hinders nobody who shifts no points: the report stands
  /// beside the record.
  bool setDatum(const char *name) {
    Oprj_Spheroid &spheroid = *record_.proSpheroid;
    if (oprj_DatumByName(toolkit_, spheroid.sphereName.data, Flat(name), spheroid.datum,
                         e_.cause()))
      return true;
    const bool usable = oerr_CodeGet(e_.causeReport()) == kGridFileMissing;
    e_.fail(12, "Error returned from oprj_DatumByName.");
    return usable;
  }

  bool askUtmZone(const Oprj_QueryEntry &entry) {
    return repeat(entry, [&](const Answer &answer) {
      int32_t zone = 0;
      if (!answer.integer(zone) || zone < 1 || zone > 60) return false;
      record_.proZone = zone;
      return true;
    });
  }

  /// A zone number, or the negative of a FIPS code, of either datum: which one may be asked later.
  bool askStatePlaneZone(const Oprj_QueryEntry &entry) {
    return repeat(entry, [&](const Answer &answer) {
      int32_t zone = 0;
      if (!answer.integer(zone) || (!oprj_SPEntryByZoneNumber(toolkit_, zone, 1, nullptr) &&
                                    !oprj_SPEntryByZoneNumber(toolkit_, zone, 2, nullptr)))
        return false;
      record_.proZone = zone;
      return true;
    });
  }

  bool askNadCode(const Oprj_QueryEntry &entry) {
    const NadDatum *chosen = nullptr;
    const bool answered = repeat(entry, [&](const Answer &answer) {
      int32_t code = 0;
      answer.integer(code);
      chosen = nullptr;
      for (const NadDatum &nad : kNadDatums)
        if (code == nad.code || answer.is(nad.datum)) chosen = &nad;
      return chosen && hasZone(*chosen);
    });
    if (!answered) return false;
    return setSpheroid(Flat(chosen->spheroid)) && setDatum(chosen->datum) &&
           store(entry, chosen->code);
  }

  /// Whether the State Plane zone that was given, if any, is one of this datum's.
  bool hasZone(const NadDatum &nad) const {
    constexpr int32_t kStatePlane = 2;
    if (record_.proType != OPRJ_INTERNAL || record_.proNumber != kStatePlane || !record_.proZone)
      return true;
    return oprj_SPEntryByZoneNumber(toolkit_, record_.proZone, nad.tableCode(), nullptr);
  }

  /// The values that select a branch are shown with their labels; either is an answer.
  bool askCondition(const Oprj_QueryEntry &entry) {
    {
      const orvik::toolkit::ClassicLocale points;
      for (const auto *branch = entry.conditionalList; branch; branch = branch->next)
        std::printf("%lg: %s\n", branch->value, textOf(branch->label).c_str());
    }
    const Oprj_CondQueryEntry *chosen = nullptr;
    const bool answered = repeat(entry, [&](const Answer &answer) {
      double value = 0.0;
      const bool isNumber = answer.number(value);
      chosen = entry.conditionalList;
      while (chosen && !(isNumber ? chosen->value == value : answer.is(textOf(chosen->label))))
        chosen = chosen->next;
      return chosen != nullptr;
    });
    return answered && store(entry, chosen->value) && askAll(chosen->queryEntryList);
  }

  bool askValue(const Oprj_QueryEntry &entry) {
    double value = 0.0;
    return repeat(entry, [&](const Answer &answer) { return read(answer, entry, value); }) &&
           store(entry, value);
  }

  /// The answer in the record's units, radians and metres.
  static bool read(const Answer &answer, const Oprj_QueryEntry &entry, double &value) {
    if (entry.kind == OPRJ_QUERY_INTEGER) {
      int32_t integer = 0;
      if (!answer.integer(integer)) return false;
      value = integer;
      return true;
    }
    if (entry.kind == OPRJ_QUERY_ANGLE && entry.unit == OPRJ_QUERY_UNIT_DD) {
      if (!ocvt_AngleParse(answer.text(), &value)) return false;
      value *= kRadiansPerDegree;
      return true;
    }
    if (!answer.number(value)) return false;
    if (entry.kind == OPRJ_QUERY_DISTANCE && entry.unit == OPRJ_QUERY_UNIT_FEET)
      value = ocvt_UnitsConvertByName(value, "feet", "meters", nullptr);
    return true;
  }

  bool store(const Oprj_QueryEntry &entry, double value) {
    if (entry.index < 0 || entry.index >= record_.proParams.count)
      return e_.fail(13, "Invalid parameter index");
    record_.proParams.data[entry.index] = value;
    return true;
  }

  Oint_Toolkit *toolkit_;
  Oprj_ProParameters &record_;
  ErrorScope &e_;
};

}  // namespace

const Oprj_Query *oprj_QuerySelect(Oint_Toolkit *toolkit, Oerr_Report **err) {
  ErrorScope e("oprj_QuerySelect", err);
  if (!referenceData(e, toolkit)) return nullptr;
  return orvik::toolkit::guarded(e, 4, [&]() -> const Oprj_Query * {
    Answer answer;
    while (answer.ask("Enter name of projection: ")) {
      if (const Oprj_Query *query = oprj_QueryByName(toolkit, Flat(answer.text()), nullptr))
        return query;
      std::printf("Invalid name. Enter again!\n");
    }
    return e.fail(3, "End of input");
  });
}

Oprj_Spheroid *oprj_SpheroidSelect(Oint_Toolkit *toolkit, Oprj_Spheroid *target,
                                   Oerr_Report **err) {
  ErrorScope e("oprj_SpheroidSelect", err);
  if (!referenceData(e, toolkit)) return nullptr;
  if (!target) return e.fail(3, "Invalid output Oprj_Spheroid");
  return orvik::toolkit::guarded(e, 8, [&]() -> Oprj_Spheroid * {
    Answer spheroid, datum;
    if (!spheroid.ask(kAskSpheroid, kSpheroidNameLength) || !datum.ask(kAskDatum, kDatumNameLength))
      return e.fail(4, "End of input");
    if (!oprj_SpheroidByName(toolkit, Flat(spheroid.text()), target, e.cause()))
      return e.fail(5, "Error returned from oprj_SpheroidByName");
    if (!target->datum && !oprj_DatumInit(&target->datum, e.cause()))
      return e.fail(6, "Error returned from oprj_DatumInit");
    if (!oprj_DatumByName(toolkit, Flat(spheroid.text()), Flat(datum.text()), target->datum,
                          e.cause()))
      return e.fail(7, "Error returned from oprj_DatumByName");
    return target;
  });
}

Oprj_ProParameters *oprj_ProParametersQuery(Oint_Toolkit *toolkit, const Oprj_Query *query,
                                            Oprj_ProParameters *record, Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersQuery", err);
  if (!referenceData(e, toolkit)) return nullptr;
  if (!query) return e.fail(3, "Invalid input Oprj_Query");
  return orvik::toolkit::guarded(e, 14, [&]() -> Oprj_ProParameters * {
    // Asked aside: a dialogue that breaks off leaves the caller's record as it was.
    OwnedParameters made{record ? oprj_ProParametersCopy(record, nullptr, e.cause())
                                : oprj_ProParametersCreate(e.cause())};
    if (!made && record) return e.fail(4, "Error returned from oprj_ProParametersCopy");
    if (!made) return e.fail(5, "Error returned from oprj_ProParametersCreate");
    if (!made->proSpheroid) made->proSpheroid = oprj_SpheroidCreate(e.cause());
    if (!made->proSpheroid) return e.fail(6, "Error returned from oprj_SpheroidCreate");
    if (!setProjection(*made, *query)) return e.fail(7, "Error allocating projection name");
    const int32_t slots =
        std::max(slotsAsked(query->paramsQuerylist), slotsAsked(query->proParamsQuerylist));
    if (!oprj_DblArrayCreate(slots, &made->proParams, e.cause()))
      return e.fail(8, "Error returned from oprj_DblArrayCreate");
    Questions questions(toolkit, *made, e);
    if (!questions.askAll(query->paramsQuerylist) || !questions.askAll(query->proParamsQuerylist))
      return nullptr;
    if (!record) return made.release();
    exchange(*record, *made);
    return record;
  });
}
