// Points and named systems for tests of grid shifts.
#ifndef OPRJ_TESTS_GRID_SUPPORT_H
#define OPRJ_TESTS_GRID_SUPPORT_H

#include <oprj/tables.h>

#include "tests/datum_support.h"
#include "tests/objects_support.h"

namespace orvik::test {

inline constexpr double kDeg = 3.14159265358979323846 / 180;
using SpheroidPtr = orvik::toolkit::Owner<Oprj_Spheroid, oprj_SpheroidFree>;

inline Points radians(Points points) {
  for (Oprj_Point &p : points) p = {p.x * kDeg, p.y * kDeg};
  return points;
}

/// A named system of the tables.
inline SpheroidPtr named(const char *sphere, const char *datum) {
  Slot slot;
  Oint_Toolkit *toolkit = oint_InitToolkit(nullptr);
  SpheroidPtr spheroid(oprj_SpheroidCreate(nullptr));
  EXPECT_TRUE(oprj_SpheroidByName(toolkit, sphere, spheroid.get(), slot)) << slot.chain();
  EXPECT_TRUE(oprj_DatumByName(toolkit, sphere, datum, spheroid->datum, slot)) << slot.chain();
  return spheroid;
}
inline const char *sphereOf(const std::string &datum) {
  return datum == "NAD27" ? "Clarke 1866" : datum == "WGS 84" ? "WGS 84" : "GRS 1980";
}

}  // namespace orvik::test

#endif
