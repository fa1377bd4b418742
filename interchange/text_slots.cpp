#include "interchange/text_slots.h"

#include <oprj/ocvt.h>
#include <oprj/ostr.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace orvik::oprj {
namespace {

template <class Visit>
void forEachQuestion(const Oprj_QueryEntry *list, const Oprj_QueryEntry *condition,
                     const Oprj_CondQueryEntry *branch, const Oprj_DblArray *slots, Visit visit) {
  for (const Oprj_QueryEntry *entry = list; entry; entry = entry->next) {
    visit(Question{entry, condition, branch});
    for (const auto *inner = entry->conditionalList; inner; inner = inner->next) {
      const bool chosen = !slots || (entry->index >= 0 && entry->index < slots->count &&
                                     slots->data[entry->index] == inner->value);
      if (chosen) forEachQuestion(inner->queryEntryList, entry, inner, slots, visit);
    }
  }
}

double readNumber(const std::string &key, const std::string &value) {
  double number;
  if (!ostr_ToDouble(value.c_str(), &number))
    throw TextRefusal{OPRJ_TEXT_VALUE, key + "=" + value + ": not a number"};
  return number;
}

/// Radians; `name` is the key of what is written, which says whether it is a latitude.
double readAngle(const std::string &key, const std::string &value, std::string_view name) {
  const bool latitude = name.starts_with("lat"), longitude = name.starts_with("lon");
  double degrees;
  const bool read = ocvt_AngleParse(value.c_str(), &degrees) != 0;
  const char last = read ? trimmed(value).back() : '\0';
  const bool ofLatitude = last && std::strchr("NSns", last),
             ofLongitude = last && std::strchr("EWew", last);
  if (!read || (ofLatitude && !latitude) || (ofLongitude && !longitude))
    throw TextRefusal{OPRJ_TEXT_VALUE, key + "=" + value + ": not an angle" +
                                           (latitude    ? " of latitude"
                                            : longitude ? " of longitude"
                                                        : "") +
                                           " (decimal degrees or d:m:s)"};
  return degrees * kRadiansPerDegree;
}

/// What a question's default is in the record's units.
double defaultOf(const Oprj_QueryEntry &entry) {
  if (entry.kind == OPRJ_QUERY_ANGLE && entry.unit == OPRJ_QUERY_UNIT_DD)
    return entry.defaultValue * kRadiansPerDegree;
  if (entry.kind == OPRJ_QUERY_DISTANCE && entry.unit == OPRJ_QUERY_UNIT_FEET)
    return ocvt_UnitsConvertByName(entry.defaultValue, "feet", "meters", nullptr);
  return entry.defaultValue;
}

/// An external projection without questions, which may read any slot.
bool asksNothing(const Oprj_Query &query) {
  return query.type == OPRJ_EXTERNAL && !query.proParamsQuerylist;
}

/// A question's key; empty when it has none.
std::string keyOf(const Oprj_QueryEntry *entry) { return entry ? textOf(entry->key).str() : ""; }

/// A key of a text and the slot that it fills.
struct Given {
  std::string key;
  int32_t slot;
  bool answers(const Oprj_QueryEntry &entry) const {
    return entry.index == slot && (isSlotKey(key) || (entry.key && key == keyOf(&entry)));
  }
};

class Filling {
 public:
  Filling(const Oprj_Query &query, Oprj_ProParameters &record)
      : query_(query), questions_(questionsOf(query)), array_(record.proParams) {}

  void put(const std::string &key, const std::string &value) {
    const Oprj_QueryEntry *entry = nullptr;
    int32_t slot;
    double number;
    if (isSlotKey(key)) {
      if (!ostr_ToInt32(key.c_str() + 1, &slot) || slot >= array_.count)
        throw TextRefusal{OPRJ_TEXT_NO_KEY, "the key \"" + key + "\": slots are p0 to p" +
                                                std::to_string(array_.count - 1)};
      entry = find([slot](const Oprj_QueryEntry &e) { return e.index == slot && e.key; });
      number = value.ends_with('d')
                   ? readAngle(key, value.substr(0, value.size() - 1), keyOf(entry))
                   : readNumber(key, value);
    } else {
      entry = find([&key](const Oprj_QueryEntry &e) { return e.key && key == keyOf(&e); });
      slot = entry->index;
      number =
          entry->kind == OPRJ_QUERY_ANGLE ? readAngle(key, value, key) : readNumber(key, value);
      if (entry->kind == OPRJ_QUERY_INTEGER && number != std::floor(number))
        throw TextRefusal{OPRJ_TEXT_VALUE, key + "=" + value + ": not a whole number"};
    }
    check(key + "=" + value, keyOf(entry), number);
    for (const Given &before : given_) {
      if (before.slot == slot)
        throw TextRefusal{OPRJ_TEXT_CONTRADICTION,
                          inQuotes(before.key) + " and " + inQuotes(key) + " fill the same slot p" +
                              std::to_string(slot) + ": it is given twice"};
    }
    given_.push_back({key, slot});
    array_.data[slot] = number;
  }

  void finish() {
    chooseBranches(query_.proParamsQuerylist);
    checkConditions();
    refuseUnread();
    fillRest();
  }

 private:
  std::string queryName() const { return textOf(query_.name).str(); }
  template <class Matches>
  const Oprj_QueryEntry *find(Matches matches) const {
    const auto found = std::find_if(questions_.begin(), questions_.end(),
                                    [&](const Question &q) { return matches(*q.entry); });
    return found == questions_.end() ? nullptr : found->entry;
  }
  bool isGiven(int32_t slot) const {
    return std::any_of(given_.begin(), given_.end(),
                       [slot](const Given &g) { return g.slot == slot; });
  }

  /// What no projection can mean by a value.
  void check(const std::string &written, std::string_view name, double number) const {
    constexpr double kSlack = 1e-10;  // radians
    if (name.starts_with("lat") && std::fabs(number) > std::numbers::pi / 2 + kSlack)
      throw TextRefusal{OPRJ_TEXT_VALUE,
                        queryName() + ": " + written + " must lie between -90 and 90"};
    if (name == "k_0" && number == 0)
      throw TextRefusal{OPRJ_TEXT_VALUE, queryName() + ": " + written + " must not be 0"};
  }

  /// Keys that count only in one branch of a condition choose it, unless the condition is given.
  void chooseBranches(const Oprj_QueryEntry *list) {
    for (const Oprj_QueryEntry *entry = list; entry; entry = entry->next) {
      if (entry->kind != OPRJ_QUERY_CONDITION || entry->index >= array_.count) continue;
      double &choice = array_.data[entry->index];
      if (!isGiven(entry->index)) {
        size_t most = answeredIn(branchOf(*entry, choice));
        for (const auto *branch = entry->conditionalList; branch; branch = branch->next) {
          if (const size_t count = answeredIn(branch); count > most) {
            most = count;
            choice = branch->value;
          }
        }
      }
      if (const auto *branch = branchOf(*entry, choice)) chooseBranches(branch->queryEntryList);
    }
  }
  static const Oprj_CondQueryEntry *branchOf(const Oprj_QueryEntry &condition, double value) {
    const auto *branch = condition.conditionalList;
    while (branch && branch->value != value) branch = branch->next;
    return branch;
  }
  size_t answeredIn(const Oprj_CondQueryEntry *branch) const {
    size_t count = 0;
    if (!branch) return count;
    forEachQuestion(branch->queryEntryList, nullptr, nullptr, nullptr, [&](const Question &q) {
      for (const Given &given : given_) count += given.answers(*q.entry) ? 1 : 0;
    });
    return count;
  }

  void checkConditions() const {
    for (const Question &question : questionsOf(query_, &array_)) {
      const Oprj_QueryEntry &entry = *question.entry;
      if (entry.kind != OPRJ_QUERY_CONDITION || entry.index >= array_.count ||
          branchOf(entry, array_.data[entry.index]))
        continue;
      std::string choices;
      for (const auto *branch = entry.conditionalList; branch; branch = branch->next)
        choices += (choices.empty() ? "" : ", ") + shortest(branch->value) + " (" +
                   textOf(branch->label).c_str() + ")";
      throw TextRefusal{OPRJ_TEXT_VALUE, "p" + std::to_string(entry.index) + "=" +
                                             shortest(array_.data[entry.index]) +
                                             ": the choices are " + choices};
    }
  }

  void refuseUnread() const {
    if (asksNothing(query_)) return;
    const std::vector<Question> read = questionsOf(query_, &array_);
    for (const Given &given : given_) {
      const auto asks = [&given](const Question &question) {
        return given.answers(*question.entry);
      };
      if (std::any_of(read.begin(), read.end(), asks)) continue;
      std::string hint;
      const auto elsewhere = std::find_if(questions_.begin(), questions_.end(), asks);
      if (elsewhere != questions_.end())
        hint = " here: it belongs to " + inQuotes(textOf(elsewhere->branch->label).view()) + " (p" +
               std::to_string(elsewhere->condition->index) + "=" +
               shortest(elsewhere->branch->value) + ")";
      throw TextRefusal{OPRJ_TEXT_CONTRADICTION,
                        inQuotes(queryName()) + " does not read " + inQuotes(given.key) + hint};
    }
  }

  /// What is left out: the natural answers where there are some.
  void fillRest() {
    const std::vector<Question> read = questionsOf(query_, &array_);
    for (const Question &question : read) {
      const Oprj_QueryEntry &entry = *question.entry;
      if (!entry.key || entry.index >= array_.count || isGiven(entry.index)) continue;
      if (entry.needed)
        throw TextRefusal{OPRJ_TEXT_INCOMPLETE, inQuotes(queryName()) + " needs " + keyOf(&entry) +
                                                    " (" + textOf(entry.prompt).c_str() + ")"};
      array_.data[entry.index] = defaultOf(entry);
    }
    for (const Question &question : read) {
      const Oprj_QueryEntry &entry = *question.entry;
      if (!entry.key || !entry.defaultKey || entry.index >= array_.count || isGiven(entry.index))
        continue;
      const auto *other = find([&entry](const Oprj_QueryEntry &e) {
        return e.key && sameText(e.key, entry.defaultKey);
      });
      if (other && other->index < array_.count)
        array_.data[entry.index] = array_.data[other->index];
    }
  }

  const Oprj_Query &query_;
  const std::vector<Question> questions_;
  Oprj_DblArray &array_;
  std::vector<Given> given_;
};

}  // namespace

std::vector<Question> questionsOf(const Oprj_Query &query, const Oprj_DblArray *slots) {
  std::vector<Question> questions;
  forEachQuestion(query.proParamsQuerylist, nullptr, nullptr, slots, [&](const Question &question) {
    if (question.entry->kind >= OPRJ_QUERY_NUMBER && question.entry->index >= 0)
      questions.push_back(question);
  });
  return questions;
}

bool isSlotKey(std::string_view key) {
  return key.size() >= 2 && key[0] == 'p' &&
         key.find_first_not_of("0123456789", 1) == std::string_view::npos;
}

std::vector<std::string> keysOf(const Oprj_Query &query) {
  std::vector<std::string> keys;
  for (const Question &question : questionsOf(query)) {
    std::string key = keyOf(question.entry);
    if (!key.empty() && std::find(keys.begin(), keys.end(), key) == keys.end())
      keys.push_back(std::move(key));
  }
  return keys;
}

void fillSlots(const Oprj_Query &query, const std::map<std::string, std::string> &values,
               Oprj_ProParameters &record) {
  Filling filling(query, record);
  for (const auto &[key, value] : values) filling.put(key, value);
  filling.finish();
}

std::string writeSlots(const Oprj_Query &query, const Oprj_ProParameters &record) {
  const Oprj_DblArray &slots = record.proParams;
  std::string text;
  for (int32_t i = 0; asksNothing(query) && i < slots.count; ++i)
    if (slots.data[i] != 0 || std::signbit(slots.data[i]))
      text += "; p" + std::to_string(i) + "=" + shortest(slots.data[i]);
  std::vector<int32_t> written;
  for (const Question &question : questionsOf(query, &slots)) {
    const Oprj_QueryEntry &entry = *question.entry;
    if (entry.index >= slots.count) continue;
    const double value = slots.data[entry.index];
    if (std::find(written.begin(), written.end(), entry.index) != written.end()) continue;
    written.push_back(entry.index);
    const bool natural = value == 0 && !std::signbit(value) && !entry.needed && !entry.defaultKey &&
                         (!entry.key || entry.defaultValue == 0);
    if (natural) continue;
    std::string key = keyOf(&entry), number;
    if (entry.kind == OPRJ_QUERY_ANGLE) number = degreesOf(value);
    else number = shortest(value);
    if (number.empty()) key.clear();
    if (key.empty()) {
      key = "p" + std::to_string(entry.index);
      number = shortest(value);
    }
    text += "; " + key + "=" + number;
  }
  return text;
}

}  // namespace orvik::oprj

void oprj_QueryEntriesVisit(const Oprj_QueryEntry *list, const Oprj_DblArray *slots,
                            Oprj_QueryVisitor visit, void *context) {
  if (!visit) return;
  orvik::oprj::forEachQuestion(
      list, nullptr, nullptr, slots, [&](const orvik::oprj::Question &question) {
        visit(question.entry, question.condition, question.branch, context);
      });
}
