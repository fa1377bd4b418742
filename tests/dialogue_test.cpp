// The dialogue on standard input and output.
#include <cstdio>
#include <numbers>

#include "tests/tables_support.h"

namespace {

using namespace orvik::test;

constexpr double kDegree = std::numbers::pi / 180;

class Dialogue : public SmallTables {
 protected:
  /// Makes the answers standard input, from their beginning.
  void type(const std::string &answers) {
    const std::string file = directory_.write("answers", answers);
    EXPECT_NE(std::freopen(file.c_str(), "r", stdin), nullptr);
  }
  /// What an operation makes of the answers; what it prints stays in `shown_`.
  template <class Operation>
  auto answered(const std::string &answers, Operation operation) {
    type(answers);
    decltype(operation()) result{};
    shown_ = printed([&] { result = operation(); });
    return result;
  }
  /// Asks the questions of the projection `name`.
  ParametersPtr ask(const char *name, const std::string &answers, Slot &slot,
                    Oprj_ProParameters *record = nullptr) {
    return answered(answers, [&] {
      return ParametersPtr(oprj_ProParametersQuery(
          toolkit(), oprj_QueryByName(toolkit(), name, nullptr), record, slot));
    });
  }
  /// Asks for a spheroid and a datum.
  const Oprj_Spheroid *select(const std::string &answers, Slot &slot) {
    return answered(answers, [&] { return oprj_SpheroidSelect(toolkit(), spheroid_.get(), slot); });
  }
  SpheroidPtr spheroid_{oprj_SpheroidCreate(nullptr)};
  std::string shown_;
};

TEST_F(Dialogue, SelectsAProjection) {
  const Oprj_Query *query =
      answered("Nowhere\n  Everything \r\n", [] { return oprj_QuerySelect(toolkit(), nullptr); });
  EXPECT_EQ(shown_,
            "Enter name of projection: Invalid name. Enter again!\nEnter name of projection: ");
  ASSERT_NE(query, nullptr);
  EXPECT_STREQ(query->name, "Everything");
}

TEST_F(Dialogue, EndOfInputIsReported) {
  Slot slot;
  expectRefusal(answered("Nowhere\n", [&] { return oprj_QuerySelect(toolkit(), slot); }), slot,
                "oprj_QuerySelect: End of input (3)");
  expectRefusal(select("Ball\n", slot), slot, "oprj_SpheroidSelect: End of input (4)");
  EXPECT_EQ(spheroid_->a, 0.0);
  expectRefusal(ask("Outside", "no number\n", slot), slot,
                "oprj_ProParametersQuery: End of input (10)");
  EXPECT_EQ(shown_, "Only slot: Invalid value. Enter again!\nOnly slot: ");
}

TEST_F(Dialogue, SelectsASpheroidAndItsDatum) {
  Slot slot;
  EXPECT_EQ(select("C66\nShifted", slot), spheroid_.get());
  EXPECT_EQ(shown_, "Enter name of spheroid: Enter name of datum: ");
  EXPECT_STREQ(spheroid_->sphereName.data, "Clarke 1866");
  EXPECT_STREQ(spheroid_->datum->datumname.data, "Shifted");
  EXPECT_EQ(select("Cube\nShifted\n", slot), nullptr);
  expectReport(slot, "oprj_SpheroidSelect", 5, "Error returned from oprj_SpheroidByName");
  // Characters beyond the fiftieth do not count.
  EXPECT_NE(select("Ball" + std::string(46, ' ') + "not read\n\n", slot), nullptr);
  expectNoReport(slot);
  EXPECT_STREQ(spheroid_->sphereName.data, "Ball");
  EXPECT_STREQ(spheroid_->datum->datumname.data, "Undefined");
}

TEST_F(Dialogue, AsksEveryKindOfQuestion) {
  directory_.write("spheroid.tab",
                   "\"Clarke 1866\" { 0 6378206.4 6356583.8 \"NAD27\" regression\n"
                   "  \"Clarke 1866\" regression }\n"
                   "\"GRS 1980\" { 8 6378137 6356752.3 \"NAD83\" regression }");
  reload();
  Slot slot;
  const ParametersPtr record = ask("Everything",
                                   "Cube\nGRS 1980\nNAD28\nNAD83\n"  // spheroid, datum
                                   "0\n61\n5.5\n17\n"                // UTM zone
                                   "102\n-5101\n"                    // State Plane zone
                                   "0,9996\n0.9996\n"                // number
                                   "12:60:0\n-12:30:36\n"            // angle in degrees
                                   "1.25\n"                          // angle in radians
                                   "1000\n-5e5\n"                    // feet, metres
                                   "4\nnad27\n"                      // NAD code
                                   "2\nTWO\n3\n1\n-0.5\n"            // condition and its branch
                                   "2.5\n7\n",                       // integer
                                   slot);
  ASSERT_NE(record, nullptr) << slot.chain();
  EXPECT_EQ(record->proNumber, 41);
  EXPECT_STREQ(record->proName.data, "Everything");
  EXPECT_EQ(record->proZone, -5101);  // both zones are asked here; the last answer stands
  ASSERT_EQ(record->proParams.count, 12);
  const double expected[] = {1, 0,    0.9996, -12.51 * kDegree, 1.25, 304.8, -5e5, 7, -1.5,
                             1, -0.5, 3};
  for (int i = 0; i < 12; ++i) EXPECT_DOUBLE_EQ(record->proParams.data[i], expected[i]) << i;
  // The NAD code came last and set its own pair.
  EXPECT_STREQ(record->proSpheroid->sphereName.data, "Clarke 1866");
  EXPECT_STREQ(record->proSpheroid->datum->datumname.data, "NAD27");
  const std::string again = "Invalid value. Enter again!\n";
  EXPECT_EQ(shown_, "Spheroid: " + again + "Spheroid: Enter name of datum: " + again +
                        "Enter name of datum: UTM zone: " + again + "UTM zone: " + again +
                        "UTM zone: " + again + "UTM zone: State zone: " + again +
                        "State zone: Scale: " + again + "Scale: Latitude: " + again +
                        "Latitude: Azimuth: Easting: Northing: Datum: " + again +
                        "Datum: 0: One\n-1.5: Two\nForm: " + again +
                        "Form: Path: 1: In\nDeeper: " + "Row: Count: " + again + "Count: ");
}

TEST_F(Dialogue, NadCodeSetsItsPairAndReportsWhenItCannot) {
  directory_.write("mapprojections.dat", "\"N\" { Internal 2 \"D\" <0:nadcode> }");
  directory_.write("spheroid.tab",
                   "\"Clarke 1866\" { 0 6378206.4 6356583.8 \"NAD27\" grid \"absent.grd\" }\n"
                   "\"GRS 1980\" { 8 6378137 6356752.3 \"HARN\" regression }");
  reload();
  Slot slot;
  const struct {
    const char *answer;
    double code;
    const char *spheroid, *datum;
  } cases[] = {{"harn\n", 3, "GRS 1980", "HARN"},
               {"3\n", 3, "GRS 1980", "HARN"},
               {"1\n", 1, "Clarke 1866", "NAD27"}};
  for (const auto &c : cases) {
    const ParametersPtr record = ask("N", c.answer, slot);
    ASSERT_NE(record, nullptr) << slot.chain();
    EXPECT_EQ(record->proParams.data[0], c.code);
    EXPECT_STREQ(record->proSpheroid->sphereName.data, c.spheroid);
    EXPECT_STREQ(record->proSpheroid->datum->datumname.data, c.datum);
    // A missing grid file is told beside a record that lacks nothing.
    EXPECT_EQ(slot.get() != nullptr, c.code == 1) << slot.chain();
    if (c.code == 1)
      expectReport(slot, "oprj_ProParametersQuery", 12, "Error returned from oprj_DatumByName.");
  }
  EXPECT_EQ(ask("N", "NAD83\n", slot), nullptr);
  expectReport(slot, "oprj_ProParametersQuery", 12, "Error returned from oprj_DatumByName.");
}

TEST_F(Dialogue, SpheroidByNameIsSetUnasked) {
  directory_.write("mapprojections.dat",
                   "\"B\" { Internal 5 \"never shown\" <spheroidname \"Clarke 1866\"> }\n"
                   "\"C\" { Internal 6 \"x\" <spheroidname \"Cube\"> }");
  reload();
  Slot slot;
  const ParametersPtr record = ask("B", "Shifted\n", slot);
  ASSERT_NE(record, nullptr) << slot.chain();
  EXPECT_EQ(shown_, "Enter name of datum: ");
  EXPECT_STREQ(record->proSpheroid->sphereName.data, "Clarke 1866");
  EXPECT_STREQ(record->proSpheroid->datum->datumname.data, "Shifted");
  EXPECT_EQ(record->proParams.count, 0);
  EXPECT_EQ(ask("C", "", slot), nullptr);
  expectReport(slot, "oprj_ProParametersQuery", 11, "Error returned from oprj_SpheroidByName");
}

TEST_F(Dialogue, FillsARecordOfTheCallersOnlyWhenItEnds) {
  const ParametersPtr record(oprj_ProParametersCreateByName(toolkit(), "Everything", nullptr));
  record->proZone = 5;
  Slot slot;
  EXPECT_EQ(ask("Outside", "", slot, record.get()), nullptr);
  EXPECT_EQ(record->proNumber, 41);
  EXPECT_EQ(record->proParams.count, 12);
  EXPECT_EQ(ask("Outside", "2.5\n", slot, record.get()).release(), record.get());
  expectNoReport(slot);
  EXPECT_EQ(record->proType, OPRJ_EXTERNAL);
  EXPECT_STREQ(record->proExeName.data, "helper");
  ASSERT_EQ(record->proParams.count, 2);
  EXPECT_EQ(record->proParams.data[1], 2.5);
  EXPECT_EQ(record->proZone, 5);  // not asked, so kept
  EXPECT_EQ(oprj_ProParametersQuery(toolkit(), nullptr, nullptr, slot), nullptr);
  expectReport(slot, "oprj_ProParametersQuery", 3, "Invalid input Oprj_Query");
}

TEST_F(Dialogue, EveryAllocationMayFail) {
  const auto *query = oprj_QueryByName(toolkit(), "Geographic", nullptr);
  printed([&] {
    forEachAllocationFailure([&](Oerr_Report **err) {
      type("C66\nShifted\n");
      const SpheroidPtr spheroid(oprj_SpheroidCreate(err));
      return spheroid && oprj_SpheroidSelect(toolkit(), spheroid.get(), err);
    });
    forEachAllocationFailure([&](Oerr_Report **err) {
      type("C66\nShifted\n");
      return ParametersPtr(oprj_ProParametersQuery(toolkit(), query, nullptr, err)) != nullptr;
    });
  });
}

}  // namespace
