#include "slots.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "fields.h"
#include "names.h"

namespace program {
namespace {

Stop unusable(const std::string &message) { return {kUnusable, message}; }

/// What a short name fills: a slot whose question must be of that kind.
struct SlotName {
  const char *key;
  int32_t kind;  ///< OPRJ_QUERY_ANGLE, _DISTANCE, _NUMBER or _INTEGER
  int32_t slot;
  /// projection numbers; empty: all whose dictionary entry asks the slot
  std::vector<int32_t> only;
  std::vector<int32_t> except;
};

const std::vector<SlotName> &slotNames() {
  static const std::vector<int32_t> kTwoPoints = {20, 52, 65, 66};
  static const std::vector<int32_t> kTrueScale = {5, 6, 17, 35, 45, 46, 58};
  static const std::vector<int32_t> kNoOrigin = {5, 6, 17, 35, 45, 46, 58, 67};
  static const std::vector<SlotName> kNames = {
      {"lon_0", OPRJ_QUERY_ANGLE, 3, {67}, {}},
      {"lon_0", OPRJ_QUERY_ANGLE, 4, {}, {67}},
      {"lat_0", OPRJ_QUERY_ANGLE, 2, {67}, {}},
      {"lat_0", OPRJ_QUERY_ANGLE, 5, {}, kNoOrigin},
      {"lat_ts", OPRJ_QUERY_ANGLE, 5, kTrueScale, {}},
      {"lat_1", OPRJ_QUERY_ANGLE, 9, kTwoPoints, {}},
      {"lat_1", OPRJ_QUERY_ANGLE, 2, {}, kTwoPoints},
      {"lat_2", OPRJ_QUERY_ANGLE, 11, kTwoPoints, {}},
      {"lat_2", OPRJ_QUERY_ANGLE, 3, {3, 4, 8}, {}},
      {"lon_1", OPRJ_QUERY_ANGLE, 8, kTwoPoints, {}},
      {"lon_2", OPRJ_QUERY_ANGLE, 10, kTwoPoints, {}},
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
  return kNames;
}

bool holds(const std::vector<int32_t> &numbers, int32_t number) {
  return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

int32_t numberOf(const Oprj_Query &query) {
  return query.type == OPRJ_INTERNAL ? query.number : -1;
}

/// The short name of this projection that `matches` accepts; null when there is none.
template <class Matches>
const SlotName *slotName(int32_t number, const std::vector<Question> &questions, Matches matches) {
  for (const SlotName &name : slotNames()) {
    if (!matches(name) || (!name.only.empty() && !holds(name.only, number)) ||
        holds(name.except, number))
      continue;
    for (const Question &question : questions) {
      if (question.slot == name.slot && question.kind == name.kind) return &name;
    }
  }
  return nullptr;
}

const SlotName *slotNamed(int32_t number, const std::vector<Question> &questions,
                          std::string_view key) {
  return slotName(number, questions, [key](const SlotName &name) { return key == name.key; });
}

const SlotName *nameOfSlot(int32_t number, const std::vector<Question> &questions, int32_t slot) {
  return slotName(number, questions, [slot](const SlotName &name) { return slot == name.slot; });
}

double plainNumber(const std::string &key, const std::string &value) {
  double number;
  if (!ostr_ToDouble(value.c_str(), &number)) throw unusable(key + "=" + value + ": not a number");
  return number;
}

/// Radians; `name` is the short name of what is written, which says whether it is a latitude.
double angle(const std::string &key, const std::string &value, std::string_view name) {
  const Notation notation = name.starts_with("lat")   ? Notation::kLatitude
                            : name.starts_with("lon") ? Notation::kLongitude
                                                      : Notation::kAngle;
  double degrees;
  if (readNumber(value, Notation::kAngle, &degrees) && readNumber(value, notation, &degrees))
    throw unusable(key + "=" + value + ": not an angle" +
                   (notation == Notation::kLatitude    ? " of latitude"
                    : notation == Notation::kLongitude ? " of longitude"
                                                       : "") +
                   " (decimal degrees or d:m:s)");
  return degrees * kDegree;
}

/// What no projection can mean by a value.
void checkValue(const std::string &key, const std::string &value, std::string_view name,
                double number) {
  constexpr double kSlack = 1e-10;  // radians
  if (name.starts_with("lat") && std::fabs(number) > 90 * kDegree + kSlack)
    throw unusable(key + "=" + value + ": a latitude beyond 90 degrees");
  if (name == "k_0" && !(number > 0))
    throw unusable(key + "=" + value + ": Invalid scale factor, it must be above 0");
}

using Visit = const std::function<void(const Oprj_QueryEntry &, const Oprj_CondQueryEntry *)>;
/// Visits the entries of a list with the branch that holds them (null: none) and, unless `slots`
/// chooses one branch, of all branches.
void forEachEntry(const Oprj_QueryEntry *list, const Oprj_CondQueryEntry *branch,
                  const double *slots, Visit &visit) {
  for (const Oprj_QueryEntry *entry = list; entry; entry = entry->next) {
    visit(*entry, branch);
    for (const auto *inner = entry->conditionalList; inner; inner = inner->next) {
      if (!slots || (entry->index < kSlots && slots[entry->index] == inner->value))
        forEachEntry(inner->queryEntryList, inner, slots, visit);
    }
  }
}

class Filling {
 public:
  Filling(const Oprj_Query &query, Oprj_ProParameters &record)
      : number_(numberOf(query)),
        query_(query),
        questions_(questionsOf(query)),
        name_(record.proName.data),
        slots_(record.proParams.data) {}

  void put(const std::string &key, const std::string &value) {
    int32_t slot;
    double number;
    std::string_view name = key;
    if (isSlotKey(key)) {
      if (!ostr_ToInt32(key.c_str() + 1, &slot) || slot >= kSlots)
        throw unusable("the key \"" + key + "\": slots are p0 to p14");
      const SlotName *known = nameOfSlot(number_, questions_, slot);
      name = known ? known->key : "";
      number = value.ends_with('d') ? angle(key, value.substr(0, value.size() - 1), name)
                                    : plainNumber(key, value);
    } else {
      const SlotName *known = slotNamed(number_, questions_, key);
      slot = known->slot;
      number = known->kind == OPRJ_QUERY_ANGLE ? angle(key, value, name) : plainNumber(key, value);
      if (known->kind == OPRJ_QUERY_INTEGER && number != std::floor(number))
        throw unusable(key + "=" + value + ": not a whole number");
    }
    checkValue(key, value, name, number);
    const auto [before, isNew] = given_.emplace(slot, key);
    if (!isNew)
      throw unusable("\"" + before->second + "\" and \"" + key + "\" fill the same slot p" +
                     std::to_string(slot) + ": it is given twice");
    slots_[slot] = number;
  }

  void finish() {
    chooseBranches();
    checkConditions();
    refuseUnread();
    fillRest();
  }

 private:
  bool isGiven(int32_t slot) const { return given_.count(slot) != 0; }
  bool isGiven(const char *key) const {
    const SlotName *name = slotNamed(number_, questions_, key);
    return name && isGiven(name->slot);
  }

  /// Keys that count only in one branch of a condition choose it, unless the condition is given.
  void chooseBranches() {
    static constexpr struct {
      int32_t number;
      const char *key;
      int32_t slot;
    } kImplied[] = {{8, "lat_2", 8}, {20, "azimuth", 12}, {25, "satellite", 12}, {25, "path", 12}};
    for (const auto &[number, key, slot] : kImplied) {
      if (number == number_ && isGiven(key) && !isGiven(slot)) slots_[slot] = 1;
    }
  }

  void checkConditions() const {
    forEachEntry(query_.proParamsQuerylist, nullptr, slots_,
                 [this](const Oprj_QueryEntry &entry, const Oprj_CondQueryEntry *) {
                   if (entry.kind != OPRJ_QUERY_CONDITION || entry.index >= kSlots) return;
                   std::string choices;
                   for (const auto *branch = entry.conditionalList; branch; branch = branch->next) {
                     if (branch->value == slots_[entry.index]) return;
                     choices += (choices.empty() ? "" : ", ") + numberText(branch->value) + " (" +
                                branch->label + ")";
                   }
                   throw unusable("p" + std::to_string(entry.index) + "=" +
                                  numberText(slots_[entry.index]) + ": the choices are " + choices);
                 });
  }

  void refuseUnread() const {
    const std::vector<Question> read = questionsOf(query_, slots_);
    for (const auto &[slot, key] : given_) {
      const auto asks = [slot = slot](const Question &question) { return question.slot == slot; };
      if (std::any_of(read.begin(), read.end(), asks)) continue;
      std::string hint;
      int32_t condition = 0;
      forEachEntry(query_.proParamsQuerylist, nullptr, nullptr,
                   [&](const Oprj_QueryEntry &entry, const Oprj_CondQueryEntry *branch) {
                     if (entry.kind == OPRJ_QUERY_CONDITION) condition = entry.index;
                     if (entry.index == slot && branch)
                       hint = " here: it belongs to \"" + std::string(branch->label) + "\" (p" +
                              std::to_string(condition) + "=" + numberText(branch->value) + ")";
                   });
      throw unusable("\"" + name_ + "\" does not read \"" + key + "\"" + hint);
    }
  }

  /// What is left out: natural values where there are some; 0 only where it is one.
  void fillRest() {
    if (const SlotName *scale = slotNamed(number_, questions_, "k_0");
        scale && !isGiven(scale->slot))
      slots_[scale->slot] = 1;
    const auto demand = [this](const char *key, const char *why) {
      if (!isGiven(key)) throw unusable("\"" + name_ + "\" needs " + key + why);
    };
    if (number_ == 6) demand("lat_ts", " (its sign picks the pole)");
    if (number_ == 3 || number_ == 4 || number_ == 8) {
      demand("lat_1", " (with one standard parallel lat_1 alone)");
      const SlotName *first = slotNamed(number_, questions_, "lat_1");
      const SlotName *second = slotNamed(number_, questions_, "lat_2");
      if (!isGiven(second->slot)) slots_[second->slot] = slots_[first->slot];
    }
  }

  const int32_t number_;
  const Oprj_Query &query_;
  const std::vector<Question> questions_;
  const std::string name_;
  double *const slots_;
  std::map<int32_t, std::string> given_;  ///< slot, the key that filled it
};

}  // namespace

std::vector<Question> questionsOf(const Oprj_Query &query, const double *slots) {
  std::vector<Question> questions;
  forEachEntry(query.proParamsQuerylist, nullptr, slots,
               [&](const Oprj_QueryEntry &entry, const Oprj_CondQueryEntry *) {
                 if (entry.kind >= OPRJ_QUERY_NUMBER)
                   questions.push_back({entry.index, entry.kind, entry.prompt ? entry.prompt : ""});
               });
  return questions;
}

bool isSlotKey(std::string_view key) {
  return key.size() >= 2 && key[0] == 'p' &&
         key.find_first_not_of("0123456789", 1) == std::string_view::npos;
}

std::vector<std::string> slotKeys(const Oprj_Query &query) {
  const std::vector<Question> questions = questionsOf(query);
  std::vector<std::string> keys;
  for (const SlotName &name : slotNames()) {
    if (slotNamed(numberOf(query), questions, name.key) &&
        std::find(keys.begin(), keys.end(), name.key) == keys.end())
      keys.emplace_back(name.key);
  }
  return keys;
}

void fillSlots(const Oprj_Query &query, const std::map<std::string, std::string> &values,
               Oprj_ProParameters &record) {
  Filling filling(query, record);
  for (const auto &[key, value] : values) filling.put(key, value);
  filling.finish();
}

}  // namespace program
