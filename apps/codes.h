// Coordinate systems by code or name: codes.tab says which there are, the Projection Engine what
// they are.
#ifndef OPRJ_APPS_CODES_H
#define OPRJ_APPS_CODES_H

#include <cmath>
#include <optional>

#include "program.h"

namespace program {

/// Degrees; east may be below west, across the antimeridian.
struct Area {
  double west, south, east, north;
  /// Whether a place lies in it or within `margin` degrees.
  bool holds(double lon, double lat, double margin) const;
};

/// A system of an authority.
struct Code {
  std::string authority;
  int32_t number = 0;
  bool projected = false, deprecated = false;
  Area area{};
  std::string name, engineName;

  std::string text() const { return authority + ":" + std::to_string(number); }
};

/// All systems of codes.tab, read at first. Throws Stop.
const std::vector<Code> &allCodes();

/// The system that "EPSG:32618" or a name means: names in any case, letters and digits alone; of
/// two of one name the one that is not deprecated. Nothing for what is neither a code nor a name.
/// Throws Stop for a code that there is not.
std::optional<Code> findCode(const std::string &text);
/// The codes or names that contain all words, in any case.
std::vector<const Code *> codesWith(const std::vector<std::string> &words);

/// The engine's text of a system. Throws Stop with kUnusable when its database cannot be used.
std::string engineTextOf(const Code &code);

}  // namespace program

#endif
