// What tells one Transverse Mercator from another, under whichever number, and UTM's zones.
#ifndef OPRJ_INTERCHANGE_TRANSVERSE_MERCATOR_H
#define OPRJ_INTERCHANGE_TRANSVERSE_MERCATOR_H

#include <cmath>
#include <optional>

#include "interchange/number_text.h"

namespace orvik::oprj {

/// Radians and metres.
struct TransverseMercator {
  // Differences up to these are of rounding.
  static constexpr double kSameAngle = 1e-10 * kRadiansPerDegree;  // 0.01 mm on the ground
  static constexpr double kSameScale = 1e-12;
  static constexpr double kSameOffset = 1e-6;  // m

  double meridian, latitude, scale, easting, northing;

  bool same(const TransverseMercator &other) const {
    const auto near = [](double first, double second, double tolerance) {
      return std::fabs(first - second) <= tolerance;
    };
    return near(easting, other.easting, kSameOffset) &&
           near(northing, other.northing, kSameOffset) && near(scale, other.scale, kSameScale) &&
           near(latitude, other.latitude, kSameAngle) &&
           near(wrapped(meridian - other.meridian), 0, kSameAngle);
  }
  /// A longitude within [-pi, pi].
  static double wrapped(double longitude) {
    return std::remainder(longitude, 2 * std::numbers::pi);
  }
};

struct UTMZone {
  int32_t number;
  bool south;
};

/// The zone that a Transverse Mercator is; nothing for others.
inline std::optional<UTMZone> utmZoneOf(const TransverseMercator &projection) {
  constexpr double kScale = 0.9996, kEasting = 500000, kSouthNorthing = 1e7;  // -, m, m
  const double degrees = TransverseMercator::wrapped(projection.meridian) / kRadiansPerDegree;
  const double zone = std::round((degrees + 183) / 6);
  const bool south = projection.northing > kSouthNorthing / 2;
  const TransverseMercator utm{(zone * 6 - 183) * kRadiansPerDegree, 0, kScale, kEasting,
                               south ? kSouthNorthing : 0};
  if (!(zone >= 1 && zone <= 60) || !utm.same(projection)) return {};
  return UTMZone{static_cast<int32_t>(zone), south};
}

}  // namespace orvik::oprj

#endif
