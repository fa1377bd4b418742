// The slots of a projection's parameters: what the dictionary asks, the short names of the keys
// that fill them, and the rules of filling.
#ifndef OPRJ_APPS_SLOTS_H
#define OPRJ_APPS_SLOTS_H

#include <map>

#include "program.h"

namespace program {

/// A question of the dictionary about one slot of proParams.
struct Question {
  int32_t slot;
  int32_t kind;
  std::string prompt;
};
/// Those that the values of `slots` lead to; all of all branches without them.
std::vector<Question> questionsOf(const Oprj_Query &query, const double *slots = nullptr);

inline constexpr int32_t kSlots = 15;

/// Whether a key names a slot by its number: p0 to p14 (and p15, to be refused).
bool isSlotKey(std::string_view key);
/// The short names that a projection knows.
std::vector<std::string> slotKeys(const Oprj_Query &query);
/// Fills the record's slots from keys and values; each slot once, none that the projection does not
/// read, none left out that has no natural value. Throws Stop.
void fillSlots(const Oprj_Query &query, const std::map<std::string, std::string> &values,
               Oprj_ProParameters &record);

}  // namespace program

#endif
