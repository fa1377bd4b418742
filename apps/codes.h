// Coordinate systems by code or name (codes.h of the library), as the commands want them.
#ifndef OPRJ_APPS_CODES_H
#define OPRJ_APPS_CODES_H

#include <span>

#include "program.h"

namespace program {

/// Degrees; east may be below west, across the antimeridian.
struct Area {
  double west, south, east, north;
  /// Whether a place lies in it or within `margin` degrees.
  bool holds(double lon, double lat, double margin) const;
};
/// Where a system is used.
Area areaOf(const Oprj_Code &code);
/// "EPSG:32618".
std::string textOf(const Oprj_Code &code);

/// All systems with a code. Throws Stop.
std::span<const Oprj_Code> allCodes();
/// The system that a code or a name means; null for what is neither. Throws Stop for a code that
/// there is not.
const Oprj_Code *findCode(const std::string &text);
/// The codes or names that contain all words, in any case.
std::vector<const Oprj_Code *> codesWith(const std::vector<std::string> &words);

/// The engine's text of a system. Throws Stop with kUnusable when its database cannot be used.
std::string engineTextOf(const Oprj_Code &code);

}  // namespace program

#endif
