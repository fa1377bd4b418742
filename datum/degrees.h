// Places in degrees, as surfaces and grid files have them.
#ifndef OPRJ_DATUM_DEGREES_H
#define OPRJ_DATUM_DEGREES_H

#include <oprj/values.h>

namespace orvik::oprj {

struct Degrees {
  double lon, lat;
};

/// One turn back for what lies beyond 180 degrees.
inline double wrappedDegrees(double lon) {
  return lon < -180.0 ? lon + 360.0 : lon > 180.0 ? lon - 360.0 : lon;
}

inline constexpr double kDegreesPerRadian = 57.295779513082320877;
inline constexpr double kSecondsPerDegree = 3600.0;

inline Degrees degreesOf(Oprj_Point point) {
  return {wrappedDegrees(point.x * kDegreesPerRadian), point.y * kDegreesPerRadian};
}

}  // namespace orvik::oprj

#endif
