// How operations on texts refuse them: a TextRefusal inside becomes a report that a person can act
// on.
#ifndef OPRJ_INTERCHANGE_TEXT_REFUSAL_H
#define OPRJ_INTERCHANGE_TEXT_REFUSAL_H

#include "interchange/text_names.h"

namespace orvik::oprj {

/// The code of refusals; want of memory has the next one.
inline constexpr int32_t kRefusalCode = 4;

/// MESSAGE (did you mean "A", "B"?) MORE; many choices are left to who can show them.
std::string messageOf(const TextRefusal &refusal);

/// Runs a body that may refuse a text, or throw for want of memory.
template <class Body>
auto reporting(ErrorScope &e, Oerr_Report **slot, Body body) -> decltype(body()) {
  return toolkit::guarded(e, kRefusalCode + 1, [&]() -> decltype(body()) {
    try {
      return body();
    } catch (const TextRefusal &refusal) {
      const auto failed = e.fail(kRefusalCode, "%s", messageOf(refusal).c_str());
      if (slot) {
        oerr_KindSet(*slot, refusal.kind);
        for (const std::string &text : refusal.suggestions) oerr_SuggestionAdd(*slot, text.c_str());
      }
      return failed;
    }
  });
}

}  // namespace orvik::oprj

#endif
