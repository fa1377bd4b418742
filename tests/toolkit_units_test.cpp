// Units, packed degrees-minutes-seconds and written angles.
#include <oprj/ocvt.h>
#include <proj.h>

#include <bit>
#include <cmath>
#include <numbers>
#include <random>
#include <set>
#include <string>
#include <vector>

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
  std::vector<const Ocvt_Unit *> units;
  for (int32_t i = 0; const Ocvt_Unit *next = ocvt_UnitByIndex(i); ++i) units.push_back(next);
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
  for (const Ocvt_Unit *ours : allUnits())
    EXPECT_EQ(compared.count(ours), ours->factor > 0.0) << ours->name << " has no peer";
  EXPECT_GT(compared.size(), 45u);
}

TEST(Units, HaveNamesInAnyCaseAndConsistentFactors) {
  for (const Ocvt_Unit *each : allUnits()) {
    std::vector<std::string> names = {each->name};
    for (const char *const *alias = each->aliases; *alias; ++alias) names.emplace_back(*alias);
    for (std::string name : names) {
      EXPECT_EQ(unit(name.c_str()), each);
      for (char &c : name) c = c == '_' ? '-' : static_cast<char>(std::toupper(c));
      EXPECT_EQ(unit(name.c_str()), each);
    }
    EXPECT_GT(std::string(each->source).size(), 1u);
    const double whole = each->kind == OCVT_KIND_ANGLE ? kPi : 1.0;
    if (each->denominator > 0.0) {
      EXPECT_DOUBLE_EQ(each->factor, whole * each->numerator / each->denominator) << each->name;
    }
  }
  EXPECT_EQ(unit("US-survey foot"), unit("us_ft"));
  EXPECT_NE(unit("feet"), unit("us_survey_feet"));
  EXPECT_EQ(ocvt_UnitByIndex(-1), nullptr);
}

TEST(Units, ConvertExactlyWhereTheyAreDefinedExactly) {
  struct Case {
    double value;
    const char *from, *to;
    double expected;
  };
  for (const Case &c : {Case{3937, "us_survey_feet", "meters", 1200},
                        {1200, "meters", "us_survey_feet", 3937},
                        {1, "feet", "meters", 0.3048},
                        {1, "miles", "feet", 5280},
                        {3, "feet", "inches", 36},
                        {66, "us_survey_feet", "us_survey_chains", 1},
                        {1, "us_survey_miles", "us-ft", 5280},
                        {0.1, "kilometers", "meters", 100},
                        {1, "nautical_miles", "km", 1.852},
                        {39.370147, "sears_feet", "m", 12},
                        {7, "clarke_chains", "clarke_links", 700},
                        {1e300, "km", "mm", 1e306},
                        {1e306, "mm", "km", 1e300},
                        {1e307, "mm", "us_ft", 1e307 * 3.937 / 1200},
                        {0.3, "dd", "minutes", 18},
                        {1, "dd", "seconds", 3600},
                        {90, "dd", "grads", 100},
                        {360, "degrees", "mils", 6400},
                        {180, "dd", "radians", kPi},
                        {45, "dd", "radians", kPi / 4},
                        {1, "radians", "microradians", 1e6},
                        {-0.0, "feet", "meters", -0.0},
                        {kInfinity, "feet", "meters", kInfinity}}) {
    Slot slot;
    const double converted = ocvt_UnitsConvertByName(c.value, c.from, c.to, slot);
    expectNoReport(slot);
    EXPECT_DOUBLE_EQ(converted, c.expected) << c.value << " " << c.from << " to " << c.to;
    EXPECT_EQ(std::signbit(converted), std::signbit(c.expected));
    double array[] = {c.value, 1.0};
    EXPECT_EQ(ocvt_UnitsConvertArray(array, 2, unit(c.from), unit(c.to), slot), 1);
    EXPECT_EQ(array[0], converted);
  }
  EXPECT_EQ(ocvt_UnitsConvertByName(3937, "us_survey_feet", "meters", nullptr), 1200.0);
  EXPECT_EQ(ocvt_UnitsConvertByName(180, "dd", "radians", nullptr), kPi);
  EXPECT_TRUE(std::isnan(ocvt_UnitsConvertByName(kNaN, "feet", "meters", nullptr)));

  std::mt19937_64 random(20);
  for (const Ocvt_Unit *each : allUnits()) {
    for (int i = 0; i < 100; ++i) {
      const double value = std::bit_cast<double>(random());  // NaN and infinities among them
      EXPECT_EQ(std::bit_cast<uint64_t>(ocvt_UnitsConvert(value, each, each, nullptr)),
                std::bit_cast<uint64_t>(value));
    }
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
  struct Case {
    const char *name, *message;
    int32_t code;
  };
  for (const Case &c :
       {Case{nullptr, "Invalid input unit name", 1},
        {"metrs", "Unknown unit \"metrs\" (nearest: \"meters\")", 2},
        {"us_survy_feet",
         "Unknown unit \"us_survy_feet\" (nearest: \"us_survey_feet\", \"us_survey_miles\")", 2},
        {"goon", "Unknown unit \"goon\" (nearest: \"gon\")", 2},
        {"", "Unknown unit \"\"", 2},
        {"zzzzzzzz", "Unknown unit \"zzzzzzzz\"", 2}}) {
    EXPECT_EQ(ocvt_UnitSetByName(c.name, slot), nullptr);
    expectReport(slot, "ocvt_UnitSetByName", c.code, c.message);
  }
  double values[] = {1.0, 2.0};
  const auto refused = [&](const Ocvt_Unit *from, const Ocvt_Unit *to, int32_t code,
                           const char *message) {
    EXPECT_EQ(ocvt_UnitsConvert(5.0, from, to, slot), 0.0);
    expectReport(slot, "ocvt_UnitsConvert", code, message);
    EXPECT_EQ(ocvt_UnitsConvertArray(values, 2, from, to, slot), 0);
    expectReport(slot, "ocvt_UnitsConvertArray", code, message);
    EXPECT_EQ(values[0] + values[1], 3.0);
  };
  refused(nullptr, unit("m"), 1, "Invalid input unit");
  refused(unit("m"), nullptr, 1, "Invalid input unit");
  refused(unit("m"), unit("dd"), 3, "Units of different kinds: \"meters\" and \"dd\"");
  refused(unit("dms"), unit("dd"), 2, "Unit \"dms\" has no conversion factor");
  refused(unit("radians"), unit("dms"), 2, "Unit \"dms\" has no conversion factor");
  for (const char *name : {"other", "unknown", "pixels"})
    refused(unit("meters"), unit(name), 2,
            ("Unit \"" + std::string(name) + "\" has no conversion factor").c_str());

  EXPECT_EQ(ocvt_UnitsConvertByName(1.0, "metrs", "dd", slot), 0.0);
  EXPECT_EQ(slot.chain(),
            "ocvt_UnitsConvertByName: Error returned from ocvt_UnitSetByName (1) < "
            "ocvt_UnitSetByName: Unknown unit \"metrs\" (nearest: \"meters\") (2)");
  EXPECT_EQ(ocvt_UnitsConvertByName(1.0, "m", nullptr, slot), 0.0);
  EXPECT_EQ(slot.chain(),
            "ocvt_UnitsConvertByName: Error returned from ocvt_UnitSetByName (2) < "
            "ocvt_UnitSetByName: Invalid input unit name (1)");
  EXPECT_EQ(ocvt_UnitsConvertByName(1.0, "m", "dd", slot), 0.0);
  EXPECT_EQ(slot.chain(),
            "ocvt_UnitsConvertByName: Error returned from ocvt_UnitsConvert (3) < "
            "ocvt_UnitsConvert: Units of different kinds: \"meters\" and \"dd\" (3)");
}

TEST(PackedAngles, ToRadians) {
  struct Case {
    double packed, degrees;
  };
  for (const Case &c : {Case{0, 0},
                        {45030030.5, 45 + 30 / 60.0 + 30.5 / 3600},
                        {-85050000, -(85 + 50 / 60.0)},
                        {-30, -30 / 3600.0},
                        {360000000, 360},
                        {44060060, 45 + 1 / 60.0},
                        {360060060, 361 + 1 / 60.0},
                        {59059.99, 59 / 60.0 + 59.99 / 3600},
                        {180000000, 180}}) {
    Slot slot;
    const double radians = ocvt_GCTPPackedDMS2Radians(c.packed, slot);
    expectNoReport(slot);
    EXPECT_DOUBLE_EQ(radians, c.degrees * kPi / 180) << c.packed;
  }
  EXPECT_EQ(ocvt_GCTPPackedDMS2Radians(180e6, nullptr), kPi);
  EXPECT_TRUE(std::signbit(ocvt_GCTPPackedDMS2Radians(-0.0, nullptr)));
  struct Refusal {
    double packed;
    int32_t code;
    const char *message;
  };
  for (const Refusal &c :
       {Refusal{361000000, 2, "Degrees above 360 in packed angle 361000000"},
        {-1e300, 2, "Degrees above 360 in packed angle -1.0000000000000001e+300"},
        {45061000, 3, "Minutes above 60 in packed angle 45061000"},
        {-45030060.5, 4, "Seconds above 60 in packed angle -45030060.5"},
        {std::nextafter(45e6, 0), 3, "Minutes above 60 in packed angle 44999999.999999993"},
        {kNaN, 1, "Packed angle is not finite"},
        {-kInfinity, 1, "Packed angle is not finite"}}) {
    Slot slot;
    EXPECT_EQ(ocvt_GCTPPackedDMS2Radians(c.packed, slot), 0.0);
    expectReport(slot, "ocvt_GCTPPackedDMS2Radians", c.code, c.message);
  }
}

// Every degree and minute, and seconds at the edges of a minute, both ways.
TEST(PackedAngles, ComeBackWhole) {
  for (int degrees = 0; degrees <= 359; ++degrees)
    for (int minutes = 0; minutes < 60; ++minutes)
      for (double seconds : {0.0, 1e-3, 29.75, 59.0, 59.999}) {
        const double packed = degrees * 1e6 + minutes * 1e3 + seconds;
        for (double signedPacked : {packed, -packed}) {
          const double radians = ocvt_GCTPPackedDMS2Radians(signedPacked, nullptr);
          const double back = ocvt_Radians2GCTPPackedDMS(radians, nullptr);
          // One unit in the last place of 359e6; whole minutes are carried.
          ASSERT_NEAR(back, signedPacked, seconds == 0.0 ? 1e-9 : 6e-8);
        }
      }
  EXPECT_EQ(ocvt_Radians2GCTPPackedDMS(2 * kPi, nullptr), 360e6);
  EXPECT_EQ(ocvt_Radians2GCTPPackedDMS(-kPi / 4, nullptr), -45e6);
  const double second = kPi / 648000;
  EXPECT_EQ(ocvt_Radians2GCTPPackedDMS(60 * second - 4e-10 * second, nullptr), 1000.0);
  EXPECT_LT(ocvt_Radians2GCTPPackedDMS(60 * second - 6e-10 * second, nullptr), 60.0);
  EXPECT_EQ(ocvt_Radians2GCTPPackedDMS(3600 * second - 4e-10 * second, nullptr), 1000000.0);
  struct Refusal {
    double radians;
    int32_t code;
    const char *message;
  };
  for (const Refusal &c : {Refusal{7.0, 2, "Angle above 360 degrees: 7 radians"},
                           {-7.0, 2, "Angle above 360 degrees: -7 radians"},
                           {kNaN, 1, "Angle is not finite"},
                           {kInfinity, 1, "Angle is not finite"}}) {
    Slot slot;
    EXPECT_EQ(ocvt_Radians2GCTPPackedDMS(c.radians, slot), 0.0);
    expectReport(slot, "ocvt_Radians2GCTPPackedDMS", c.code, c.message);
  }
}

TEST(WrittenAngles, AreReadInAllForms) {
  constexpr double kHalf = 45.5, kFull = 45 + 30 / 60.0 + 15 / 3600.0;
  struct Case {
    const char *text;
    double degrees;
  };
  // clang-format off
  for (const Case &c : {Case{"45.5", kHalf},
       {" -45.5\n", -kHalf}, {"+45.5", kHalf}, {"4.55e1", kHalf}, {"45:30", kHalf},
       {"45:30:15", kFull}, {"-0:30", -0.5}, {"45:30.0", kHalf}, {"45:30:15.00", kFull},
       {"0:0:59.999", 59.999 / 3600}, {"45.5N", kHalf}, {"45:30:15 S", -kFull},
       {"45:30w", -kHalf}, {"45 e", 45}, {"1e1E", 10}, {"45\u00B0", 45},
       {"45\u00B030'15\"", kFull}, {"45\u00B0 30\u2032 15\u2033 W", -kFull},
       {"45d30'15''S", -kFull}, {"45.5\u00B0", kHalf}, {"45D30.0'", kHalf},
       {"45\u00B030", kHalf}, {"-45\u00B030'15", -kFull}, {"45\u00B0 30\u2019 15\u201D", kFull},
       {"-0", -0.0}}) {
    // clang-format on
    double degrees = 77.0;
    EXPECT_EQ(ocvt_AngleParse(c.text, &degrees), 1) << c.text;
    EXPECT_DOUBLE_EQ(degrees, c.degrees) << c.text;
    EXPECT_EQ(std::signbit(degrees), std::signbit(c.degrees)) << c.text;
    EXPECT_EQ(ocvt_AngleParse(c.text, nullptr), 1);
  }
  // clang-format off
  for (const char *text : {"",
       "N", "-", "abc", "45x", "45:60", "45:30:60", "45:-30", "45:+30", "45.5:30", "45:30.5:15",
       "45:30:15:1", "45:", "45:30:", ":30", "45: 30", "-45N", "45NS", "--45", "45\u00B015\"",
       "45.5\u00B030'", "45\u00B030.5'15\"", "45\u00B030'15\"x", "45:30'", "45 30 15", "nan",
       "inf", "1e999", "45:1e1", "45\xC2", "30'"}) {
    // clang-format on
    double degrees = 77.0;
    EXPECT_EQ(ocvt_AngleParse(text, &degrees), 0) << text;
    EXPECT_EQ(degrees, 77.0) << text;
  }
  EXPECT_EQ(ocvt_AngleParse(nullptr, nullptr), 0);
}

}  // namespace
