// The slots of a projection in texts: which key fills which slot, and the rules of filling. Keys,
// defaults and what is needed stand in the dictionary.
#ifndef OPRJ_INTERCHANGE_TEXT_SLOTS_H
#define OPRJ_INTERCHANGE_TEXT_SLOTS_H

#include <map>

#include "interchange/number_text.h"
#include "interchange/text_names.h"

namespace orvik::oprj {

/// Slots that every record but a geographic one has room for: those of the older parameter arrays,
/// whose last two are axes.
inline constexpr int32_t kLeastSlots = 15;

/// A question of a projection with the condition and the branch around it; null at the top.
struct Question {
  const Oprj_QueryEntry *entry, *condition;
  const Oprj_CondQueryEntry *branch;
};
/// The questions whose answers are slots: those of all branches, or those that `slots` leads to.
std::vector<Question> questionsOf(const Oprj_Query &query, const Oprj_DblArray *slots = nullptr);

/// Whether a key names a slot by its number: "p" and digits.
bool isSlotKey(std::string_view key);

/// The keys of a projection's questions, each once.
std::vector<std::string> keysOf(const Oprj_Query &query);

/// Fills the record's slots from keys and values; each slot once, none that the projection does not
/// read, none left out that is needed. Throws TextRefusal.
void fillSlots(const Oprj_Query &query, const std::map<std::string, std::string> &values,
               Oprj_ProParameters &record);

/// The record's slots as "; key=value" for each that filling would not set by itself. Throws
/// TextRefusal when the record has values that no text can give.
std::string writeSlots(const Oprj_Query &query, const Oprj_ProParameters &record);

/// Whether two records of one projection hold the same, bit for bit: zone, spheroid, datum, slots
/// (whatever room is behind them: a record's array may be longer than a text's).
bool sameSystem(const Oprj_ProParameters &first, const Oprj_ProParameters &second);

}  // namespace orvik::oprj

#endif
