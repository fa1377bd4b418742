#include "toolkit/written_unit.h"

#include <charconv>
#include <cmath>
#include <list>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>

#include "toolkit/lasting.h"

namespace orvik::toolkit {
namespace {

/// Reads KEYWORD["NAME",FACTOR]; a quote in the name is doubled, nothing stands between the parts.
bool readWrittenUnit(std::string_view text, int32_t &kind, double &factor) {
  if (text.starts_with("ANG")) kind = OCVT_KIND_ANGLE;
  else kind = OCVT_KIND_DISTANCE;
  if (text.starts_with("ANG") || text.starts_with("LIN")) text.remove_prefix(3);
  constexpr std::string_view kOpening = "UNIT[\"";
  const size_t closing = text.rfind("\",");
  if (!text.starts_with(kOpening) || !text.ends_with("]") || closing == std::string_view::npos ||
      closing < kOpening.size())
    return false;
  const std::string_view name = text.substr(kOpening.size(), closing - kOpening.size());
  for (size_t i = 0; i < name.size(); ++i) {
    if (name[i] != '"') continue;
    if (++i == name.size() || name[i] != '"') return false;
  }
  const std::string_view number = text.substr(closing + 2, text.size() - closing - 3);
  const auto [end, problem] = std::from_chars(number.data(), number.data() + number.size(), factor);
  return problem == std::errc() && end == number.data() + number.size() && std::isfinite(factor) &&
         factor > 0;
}

struct Written {
  std::string text;
  Ocvt_Unit unit;
};

}  // namespace

const Ocvt_Unit *writtenUnit(const char *text) {
  int32_t kind;
  double factor;
  if (!readWrittenUnit(text, kind, factor)) return nullptr;
  static std::mutex mutex;
  static Lasting<std::list<Written>> units;
  static constexpr const char *kNoAliases[] = {nullptr};
  const std::lock_guard lock(mutex);
  for (const Written &known : *units) {
    if (known.text == text) return &known.unit;
  }
  Written &made = (*units).emplace_back(Written{text, {}});
  made.unit = {made.text.c_str(), kNoAliases, kind, factor, 0, 0, "the unit's own text"};
  return &made.unit;
}

}  // namespace orvik::toolkit
