// Units, packed degrees-minutes-seconds and written angles.
#include <oprj/ocvt.h>
#include <proj.h>

#include <bit>
#include <cmath>
#include <numbers>
#include <set>

#include "tests/support.h"

namespace {

using namespace orvik::test;

constexpr double kPi = std::numbers::pi;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

const Ocvt_Unit *unit(const char *name) {
  Slot slot;
  const Ocvt_Unit *found = ocvt_UnitSetByName(name, slot);
  EXPECT_NE(found, nullptr) << slot.chain();
  return found;
}

std::vector<const Ocvt_Unit *> allUnits() {
  EXPECT_EQ(ocvt_UnitByIndex(-1), nullptr);
  std::vector<const Ocvt_Unit *> units;
  while (const Ocvt_Unit *next = ocvt_UnitByIndex(static_cast<int32_t>(units.size())))
    units.push_back(next);
  return units;
}

// PROJ has the factors of EPSG, cut to 14 or 15 digits.
TEST(Units, AgreeWithTheUnitsOfProj) {
  int count = 0;
  PROJ_UNIT_INFO **peers =
      proj_get_units_from_database(nullptr, nullptr, nullptr, /*allow_deprecated=*/0, &count);
  ASSERT_GT(count, 0);
  std::set<const Ocvt_Unit *> compared;
  for (int i = 0; i < count; ++i) {
    const PROJ_UNIT_INFO &peer = *peers[i];
    const bool linear = std::string(peer.category) == "linear";
    if ((!linear && std::string(peer.category) != "angular") || peer.conv_factor == 0.0) continue;
    const Ocvt_Unit *ours = ocvt_UnitSetByName(peer.name, nullptr);
    if (!ours) continue;
    // PROJ 9.1.1 says 0.01 m to the decimetre; a decimetre is a tenth of a metre.
    const double factor = std::string(peer.name) == "decimeter" ? 0.1 : peer.conv_factor;
    EXPECT_EQ(ours->kind, linear ? OCVT_KIND_DISTANCE : OCVT_KIND_ANGLE) << peer.name;
    EXPECT_NEAR(ours->factor / factor, 1.0, 3e-14) << peer.name;
    if (peer.proj_short_name) {
      EXPECT_EQ(ocvt_UnitSetByName(peer.proj_short_name, nullptr), ours);
    }
    compared.insert(ours);
  }
  proj_unit_list_destroy(peers);
  EXPECT_EQ(unit("US-survey foot"), unit("us_ft"));  // names take any case and separator
  EXPECT_NE(unit("feet"), unit("us_survey_feet"));
  for (const Ocvt_Unit *ours : allUnits())
    EXPECT_EQ(compared.count(ours), ours->factor > 0.0) << ours->name << " has no peer";
  EXPECT_GT(compared.size(), 45u);
}

TEST(Units, ConvertExactlyWhereTheyAreDefinedExactly) {
  const struct {
    double value;
    const char *from, *to;
    double expected;
  } cases[] = {{3937, "us_survey_feet", "meters", 1200},
               {1200, "meters", "us_survey_feet", 3937},
               {1, "feet", "meters", 0.3048},
               {66, "us_survey_feet", "us_survey_chains", 1},
               {1, "us_survey_miles", "us-ft", 5280},
               {39.370147, "sears_feet", "m", 12},
               {7, "clarke_chains", "clarke_links", 700},
               {1e300, "km", "mm", 1e306},
               {1e306, "mm", "km", 1e300},
               {1e307, "mm", "us_ft", 1e307 * 3.937 / 1200},
               {0.3, "dd", "minutes", 18},
               {90, "dd", "grads", 100},
               {360, "degrees", "mils", 6400},
               {180, "dd", "radians", kPi},
               {1, "radians", "microradians", 1e6},
               {-0.0, "feet", "meters", -0.0},
               {kInfinity, "feet", "meters", kInfinity}};
  for (const auto &c : cases) {
    Slot slot;
    const double converted = ocvt_UnitsConvertByName(c.value, c.from, c.to, slot);
    expectNoReport(slot);
    EXPECT_DOUBLE_EQ(converted, c.expected) << c.value << " " << c.from << " to " << c.to;
    EXPECT_EQ(std::signbit(converted), std::signbit(c.expected));
    double array[] = {1.0, c.value};
    EXPECT_EQ(ocvt_UnitsConvertArray(array, 2, unit(c.from), unit(c.to), slot), 1);
    EXPECT_EQ(array[1], converted);
  }
  EXPECT_EQ(ocvt_UnitsConvertByName(3937, "us_survey_feet", "meters", nullptr), 1200.0);
  EXPECT_EQ(ocvt_UnitsConvertByName(180, "dd", "radians", nullptr), kPi);
  EXPECT_TRUE(std::isnan(ocvt_UnitsConvertByName(kNaN, "feet", "meters", nullptr)));

  for (const Ocvt_Unit *each : allUnits()) {
    // To itself even what is no number, and what has no factor, bit by bit.
    const double payload = std::bit_cast<double>(uint64_t{0xFFF0'0000'0000'1234});
    EXPECT_EQ(std::bit_cast<uint64_t>(ocvt_UnitsConvert(payload, each, each, nullptr)),
              std::bit_cast<uint64_t>(payload));
    if (each->factor <= 0.0) continue;
    const Ocvt_Unit *base = unit(each->kind == OCVT_KIND_DISTANCE ? "meters" : "radians");
    EXPECT_DOUBLE_EQ(ocvt_UnitsConvert(1.0, each, base, nullptr), each->factor) << each->name;
    const double there = ocvt_UnitsConvert(1234567.891, each, base, nullptr);
    EXPECT_DOUBLE_EQ(ocvt_UnitsConvert(there, base, each, nullptr), 1234567.891) << each->name;
  }
}

TEST(Units, RefuseWhatDoesNotConvert) {
  const LeakCheck leaks;
  Slot slot;
  const std::pair<const char *, const char *> names[] = {
      {nullptr, "Invalid input unit name (1)"},
      {"metrs", "Unknown unit \"metrs\" (nearest: \"meters\") (2)"},
      {"us_survy_feet",
       "Unknown unit \"us_survy_feet\" (nearest: \"us_survey_feet\", \"us_survey_miles\") (2)"},
      {"goon", "Unknown unit \"goon\" (nearest: \"gon\") (2)"},
      {"zzzzzzzz", "Unknown unit \"zzzzzzzz\" (2)"}};
  for (const auto &[name, problem] : names) {
    const std::string report = std::string("ocvt_UnitSetByName: ") + problem;
    expectRefusal(ocvt_UnitSetByName(name, slot), slot, report);
    const std::string call = "ocvt_UnitsConvertByName: Error returned from ocvt_UnitSetByName ";
    expectRefusal(ocvt_UnitsConvertByName(1.0, name, "dd", slot), slot, call + "(1) < " + report);
    expectRefusal(ocvt_UnitsConvertByName(1.0, "m", name, slot), slot, call + "(2) < " + report);
  }
  const struct {
    const Ocvt_Unit *from, *to;
    const char *problem;
  } pairs[] = {{nullptr, unit("m"), "Invalid input unit (1)"},
               {unit("m"), nullptr, "Invalid input unit (1)"},
               {unit("m"), unit("dd"), "Units of different kinds: \"meters\" and \"dd\" (3)"},
               {unit("dms"), unit("dd"), "Unit \"dms\" has no conversion factor (2)"},
               {unit("radians"), unit("dms"), "Unit \"dms\" has no conversion factor (2)"},
               {unit("m"), unit("other"), "Unit \"other\" has no conversion factor (2)"},
               {unit("m"), unit("pixels"), "Unit \"pixels\" has no conversion factor (2)"}};
  for (const auto &c : pairs) {
    double values[] = {1.0, 2.0};
    expectRefusal(ocvt_UnitsConvert(5.0, c.from, c.to, slot), slot,
                  std::string("ocvt_UnitsConvert: ") + c.problem);
    expectRefusal(ocvt_UnitsConvertArray(values, 2, c.from, c.to, slot), slot,
                  std::string("ocvt_UnitsConvertArray: ") + c.problem);
    EXPECT_EQ(values[0] + values[1], 3.0);
  }
  expectRefusal(ocvt_UnitsConvertArray(nullptr, 1, unit("m"), unit("m"), slot), slot,
                "ocvt_UnitsConvertArray: Invalid input values (4)");
  expectRefusal(ocvt_UnitsConvertByName(1.0, "m", "dd", slot), slot,
                "ocvt_UnitsConvertByName: Error returned from ocvt_UnitsConvert (3) < "
                "ocvt_UnitsConvert: Units of different kinds: \"meters\" and \"dd\" (3)");
}

TEST(PackedAngles, ToRadians) {
  const std::pair<double, double> angles[] = {{0, 0},
                                              {45030030.5, 45 + 30 / 60.0 + 30.5 / 3600},
                                              {-85050000, -(85 + 50 / 60.0)},
                                              {-30, -30 / 3600.0},
                                              {360060060, 361 + 1 / 60.0},
                                              {59059.99, 59 / 60.0 + 59.99 / 3600}};
  Slot slot;
  for (const auto &[packed, degrees] : angles) {
    EXPECT_DOUBLE_EQ(ocvt_GCTPPackedDMS2Radians(packed, slot), degrees * kPi / 180) << packed;
    expectNoReport(slot);
  }
  EXPECT_EQ(ocvt_GCTPPackedDMS2Radians(180e6, nullptr), kPi);
  EXPECT_TRUE(std::signbit(ocvt_GCTPPackedDMS2Radians(-0.0, nullptr)));
  const std::pair<double, const char *> refusals[] = {
      {361000000, "Degrees above 360 in packed angle 361000000 (2)"},
      {-1e300, "Degrees above 360 in packed angle -1.0000000000000001e+300 (2)"},
      {45061000, "Minutes above 60 in packed angle 45061000 (3)"},
      {-45030060.5, "Seconds above 60 in packed angle -45030060.5 (4)"},
      {std::nextafter(45e6, 0), "Minutes above 60 in packed angle 44999999.999999993 (3)"},
      {kNaN, "Packed angle is not finite (1)"},
      {-kInfinity, "Packed angle is not finite (1)"}};
  for (const auto &[packed, problem] : refusals)
    expectRefusal(ocvt_GCTPPackedDMS2Radians(packed, slot), slot,
                  std::string("ocvt_GCTPPackedDMS2Radians: ") + problem);
}

// Every degree and minute, and seconds at the edges of a minute, both ways.
TEST(PackedAngles, ComeBackWhole) {
  for (int minute = 0; minute < 360 * 60; ++minute)
    for (double seconds : {0.0, 1e-3, 29.75, 59.0, 59.999})
      for (double sign : {1.0, -1.0}) {
        const double packed = sign * (minute / 60 * 1e6 + minute % 60 * 1e3 + seconds);
        const double radians = ocvt_GCTPPackedDMS2Radians(packed, nullptr);
        // One unit in the last place of 359e6; whole minutes are carried.
        ASSERT_NEAR(ocvt_Radians2GCTPPackedDMS(radians, nullptr), packed,
                    seconds == 0.0 ? 1e-9 : 6e-8);
      }
  EXPECT_EQ(ocvt_Radians2GCTPPackedDMS(2 * kPi, nullptr), 360e6);
  EXPECT_EQ(ocvt_Radians2GCTPPackedDMS(-kPi / 4, nullptr), -45e6);
  const double second = kPi / 648000;
  EXPECT_EQ(ocvt_Radians2GCTPPackedDMS(60 * second - 4e-10 * second, nullptr), 1000.0);
  EXPECT_LT(ocvt_Radians2GCTPPackedDMS(60 * second - 6e-10 * second, nullptr), 60.0);
  EXPECT_EQ(ocvt_Radians2GCTPPackedDMS(3600 * second - 4e-10 * second, nullptr), 1000000.0);
  const std::pair<double, const char *> refusals[] = {
      {7.0, "Angle above 360 degrees: 7 radians (2)"},
      {-7.0, "Angle above 360 degrees: -7 radians (2)"},
      {kNaN, "Angle is not finite (1)"},
      {kInfinity, "Angle is not finite (1)"}};
  Slot slot;
  for (const auto &[radians, problem] : refusals)
    expectRefusal(ocvt_Radians2GCTPPackedDMS(radians, slot), slot,
                  std::string("ocvt_Radians2GCTPPackedDMS: ") + problem);
}

TEST(WrittenAngles, AreReadInAllForms) {
  constexpr double kHalf = 45.5, kFull = 45 + 30 / 60.0 + 15 / 3600.0;
  // clang-format off
  const std::pair<const char *, double> angles[] = {
      {" -45.5\n", -kHalf}, {"+45.5", kHalf}, {"4.55e1", kHalf}, {"45:30", kHalf},
      {"45:30:15", kFull}, {"-0:30", -0.5}, {"45:30.0", kHalf}, {"45:30:15.00", kFull},
      {"0:0:59.999", 59.999 / 3600}, {"45.5N", kHalf}, {"45:30:15 S", -kFull},
      {"45:30w", -kHalf}, {"45 e", 45}, {"1e1E", 10}, {"45\u00B0", 45},
      {"45\u00B030'15\"", kFull}, {"45\u00B0 30\u2032 15\u2033 W", -kFull},
      {"45d30'15''S", -kFull}, {"45.5\u00B0", kHalf}, {"45D30.0'", kHalf},
      {"45\u00B030", kHalf}, {"-45\u00B030'15", -kFull}, {"45\u00B0 30\u2019 15\u201D", kFull},
      {"-0", -0.0}};
  // clang-format on
  for (const auto &[text, expected] : angles) {
    double degrees = 77.0;
    EXPECT_EQ(ocvt_AngleParse(text, &degrees), 1) << text;
    EXPECT_DOUBLE_EQ(degrees, expected) << text;
    EXPECT_EQ(std::signbit(degrees), std::signbit(expected)) << text;
  }
  // clang-format off
  for (const char *text : {"", "N", "-", "abc", "45x", "45:60", "45:30:60", "45:-30", "45:+30",
       "45.5:30", "45:30.5:15", "45:30:15:1", "45:", "45:30:", ":30", "45: 30", "-45N", "45NS",
       "--45", "45\u00B015\"", "45.5\u00B030'", "45\u00B030.5'15\"", "45\u00B030'15\"x", "45:30'",
       "45 30 15", "nan", "inf", "1e999", "45:1e1", "45\xC2", "30'"}) {
    // clang-format on
    double degrees = 77.0;
    EXPECT_EQ(ocvt_AngleParse(text, &degrees), 0) << text;
    EXPECT_EQ(degrees, 77.0) << text;
  }
  EXPECT_EQ(ocvt_AngleParse(nullptr, nullptr), 0);
}

}  // namespace
