// Numbers as texts have them.
#ifndef OPRJ_INTERCHANGE_NUMBER_TEXT_H
#define OPRJ_INTERCHANGE_NUMBER_TEXT_H

#include <numbers>
#include <string>

namespace orvik::oprj {

inline constexpr double kRadiansPerDegree = std::numbers::pi / 180.0;

/// The shortest text that reads back as the same double.
std::string shortest(double value);
/// The shortest degrees that read back as the very radians; none for radians that no degrees give.
std::string degreesOf(double radians);

}  // namespace orvik::oprj

#endif
