// Lookups in the reference tables, and what the installed tables must hold.
#include <oprj/project.h>

#include <cmath>
#include <limits>

#include "tests/tables_support.h"

namespace {

using namespace orvik::test;

using Lookup = SmallTables;

constexpr double kR = 6370997.0;  // the small table's ball
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// A lookup with sound arguments; says whether it found something, which is freed if it is new.
struct LookupCase {
  const char *function;
  std::function<bool(Oint_Toolkit *, Oerr_Report **)> call;
};

bool found(char *text) { return TextPtr(text) != nullptr; }
bool found(Oprj_ProParameters *record) { return ParametersPtr(record) != nullptr; }
bool found(Oprj_CharStr *text) {
  oprj_CharStrFree(text);
  return text != nullptr;
}
template <class Result>
bool found(Result result) {
  return result;
}

template <class Operation, class... Arguments>
LookupCase lookup(const char *function, Operation operation, Arguments... arguments) {
  return {function, [=](auto tk, auto err) { return found(operation(tk, arguments..., err)); }};
}

std::vector<LookupCase> everyLookup() {
  static const SpheroidPtr spheroid(oprj_SpheroidCreate(nullptr));
  static const ParametersPtr record(oprj_ProParametersCreate(nullptr));
  static Oprj_CharStr text = {};
  static double parms[15] = {19};
  static const Oprj_DblArray array = {15, parms};
  Oprj_Spheroid *out = spheroid.get();
  return {
      lookup("oprj_InitDataGet", oprj_InitDataGet),
      lookup("oprj_SpheroidByName", oprj_SpheroidByName, "Ball", out),
      lookup("oprj_SpheroidByNum", oprj_SpheroidByNum, 19, out),
      lookup("oprj_SpheroidByAxes", oprj_SpheroidByAxes, 2, 1, out),
      lookup("oprj_SpheroidByParms", oprj_SpheroidByParms, &array, out),
      lookup("oprj_SpheroidEntryByName", oprj_SpheroidEntryByName, "Ball"),
      lookup("oprj_SpheroidEntryByNumber", oprj_SpheroidEntryByNumber, 19),
      lookup("oprj_SpheroidNumberByName", oprj_SpheroidNumberByName, "Ball"),
      lookup("oprj_DatumByName", oprj_DatumByName, "Clarke 1866", "Shifted", out->datum),
      lookup("oprj_GetSpheroidNameByAxes", oprj_GetSpheroidNameByAxes, kR, kR),
      lookup("oprj_GetSpheroidNameByAxesWithTolerance", oprj_GetSpheroidNameByAxesWithTolerance, kR,
             kR, 8),
      lookup("oprj_GetSpheroidNameByDatumName", oprj_GetSpheroidNameByDatumName, "Egg datum"),
      lookup("oprj_QueryByName", oprj_QueryByName, "Outside"),
      lookup("oprj_QueryByNumber", oprj_QueryByNumber, 41),
      lookup("oprj_QueryByExample", oprj_QueryByExample, record.get()),
      lookup("oprj_ProjName", oprj_ProjName, 41, &text),
      lookup("oprj_ProParametersCreateByName", oprj_ProParametersCreateByName, "outside"),
      lookup("oprj_SPEntryByNames", oprj_SPEntryByNames, "ALPHA", "north", 2),
      lookup("oprj_SPEntryByZoneNumber", oprj_SPEntryByZoneNumber, 101, 2),
  };
}

TEST_F(Lookup, EveryLookupNeedsAToolkitAndTables) {
  Slot slot;
  for (const auto &[function, call] : everyLookup()) {
    EXPECT_FALSE(call(nullptr, slot));
    expectReport(slot, function, 1, "Toolkit has not been initialized");
    EXPECT_TRUE(call(toolkit(), slot)) << slot.chain();
    expectNoReport(slot);
    EXPECT_TRUE(call(toolkit(), nullptr)) << function << " without a slot";
  }
  breakAndUnload();
  for (const auto &[function, call] : everyLookup()) {
    EXPECT_FALSE(call(toolkit(), slot)) << function;
    const bool byName = std::string(function) == "oprj_QueryByName";
    expectReport(slot, function, 2, byName ? "oprj_Init failed" : "Error returned from oprj_Init");
    expectReport(oerr_CauseGet(slot.get()), "oprj_Init", 1, "Failed to initialize toolkit");
  }
  repair();
}

TEST_F(Lookup, EveryAllocationMayFail) {
  for (const auto &[function, call] : everyLookup()) {
    SCOPED_TRACE(function);
    forEachAllocationFailure([&, call = call](auto err) { return call(toolkit(), err); });
  }
  for (const char *datum : {"Shifted", "Regressed", "Undefined"}) {
    const SpheroidPtr target(oprj_SpheroidCreate(nullptr));
    forEachAllocationFailure(
        [&](auto err) { return oprj_DatumByName(toolkit(), "C66", datum, target->datum, err); });
  }
}

TEST_F(Lookup, TellsWhatWasNotFound) {
  const SpheroidPtr spheroid(oprj_SpheroidCreate(nullptr));
  const ParametersPtr record(oprj_ProParametersCreate(nullptr));
  record->proNumber = 999;
  Oprj_Spheroid *out = spheroid.get();
  Oprj_CharStr text = {};
  Oint_Toolkit *tk = toolkit();
  Slot err;
  const auto refused = [&](const auto &result, const std::string &chain) {
    expectRefusal(result, err, "oprj_" + chain);
  };
  refused(oprj_SpheroidByName(tk, nullptr, out, err), "SpheroidByName: Invalid spheroid name (3)");
  refused(oprj_SpheroidByName(tk, "Ball", nullptr, err),
          "SpheroidByName: Invalid output Oprj_Spheroid (4)");
  refused(oprj_SpheroidByName(tk, "ball", out, err),
          "SpheroidByName: Error returned from oprj_SpheroidEntryByName (5) < "
          "oprj_SpheroidEntryByName: Spheroid number not found in Spheroid table (4)");
  refused(oprj_SpheroidEntryByName(tk, "", err),
          "SpheroidEntryByName: Invalid input spheroid name (3)");
  refused(oprj_SpheroidByNum(tk, 20, out, err),
          "SpheroidByNum: Error returned from oprj_SpheroidEntryByNumber (4) < "
          "oprj_SpheroidEntryByNumber: Spheroid number not found in Spheroid table (3)");
  refused(oprj_SpheroidNumberByName(tk, "none", err),
          "SpheroidNumberByName: Error returned from oprj_SpheroidEntryByName (3) < "
          "oprj_SpheroidEntryByName: Spheroid number not found in Spheroid table (4)");
  refused(oprj_SpheroidByParms(tk, nullptr, out, err),
          "SpheroidByParms: Invalid input Oprj_DblArrayPtr (3)");
  for (const auto &[count, number, problem] :
       {std::tuple{14, -1.0, "Insufficient projection parameters (5)"},
        {15, -1.0, "Invalid spheroid axes (7)"},
        {15, 1e10, "Invalid spheroid number (6)"},
        {15, kNaN, "Invalid spheroid number (6)"}}) {
    double values[15] = {number};
    const Oprj_DblArray array = {count, values};
    refused(oprj_SpheroidByParms(tk, &array, out, err), std::string("SpheroidByParms: ") + problem);
  }
  refused(oprj_DatumByName(tk, "Ball", "Shifted", nullptr, err),
          "DatumByName: Invalid output Oprj_Datum (3)");
  refused(oprj_DatumByName(tk, "Cube", "Shifted", out->datum, err),
          "DatumByName: Error returned from oprj_SpheroidEntryByName (5) < "
          "oprj_SpheroidEntryByName: Spheroid number not found in Spheroid table (4)");
  refused(oprj_DatumByName(tk, "Ball", "Shifted", out->datum, err),
          "DatumByName: Datum name not found in Spheroid table (6)");
  refused(oprj_GetSpheroidNameByAxes(tk, 1, 1, err),
          "GetSpheroidNameByAxes: Error returned from "
          "oprj_GetSpheroidNameByAxesWithTolerance (3) < "
          "oprj_GetSpheroidNameByAxesWithTolerance: Spheroid name not found in Spheroid "
          "table (3)");
  refused(oprj_GetSpheroidNameByDatumName(tk, "", err),
          "GetSpheroidNameByDatumName: The input datum name is not valid (3)");
  refused(oprj_GetSpheroidNameByDatumName(tk, "shifted", err),
          "GetSpheroidNameByDatumName: Spheroid name not found based on the given "
          "datum name (4)");
  refused(oprj_QueryByName(tk, "geographic", err),
          "QueryByName: Projection name not found in query list (3)");
  refused(oprj_QueryByExample(tk, nullptr, err),
          "QueryByExample: Invalid input Oprj_ProParameters (3)");
  refused(oprj_QueryByExample(tk, record.get(), err),
          "QueryByExample: Projection number not found in query list (4)");
  record->proType = OPRJ_EXTERNAL;
  refused(oprj_QueryByExample(tk, record.get(), err),
          "QueryByExample: Projection name not found in query list (5)");
  refused(oprj_ProjName(tk, 0, nullptr, err), "ProjName: Invalid output Oprj_CharStrPtr (3)");
  refused(oprj_ProjName(tk, 999, &text, err),
          "ProjName: Error returned from oprj_QueryByNumber (4) < "
          "oprj_QueryByNumber: Projection number not found in query list (3)");
  refused(oprj_ProParametersCreateByName(tk, nullptr, err),
          "ProParametersCreateByName: Invalid Projection Name (3)");
  refused(oprj_SPEntryByNames(tk, "Alpha", "South", 1, err),
          "SPEntryByNames: State name and Zone name not found in State Plane table (3)");
  refused(oprj_SPEntryByZoneNumber(tk, 3601, 1, err),
          "SPEntryByZoneNumber: Zone number not found in State Plane table (3)");
  refused(oprj_ProjectionDescribe(nullptr, record.get(), err),
          "ProjectionDescribe: Toolkit has not been initialized (1)");
  refused(oprj_ProjectionDescribe(tk, nullptr, err),
          "ProjectionDescribe: Invalid input Oprj_ProParameters (3)");
}

// --- spheroids ---

TEST_F(Lookup, SpheroidByNameAndNumber) {
  const SpheroidPtr target(oprj_SpheroidCreate(nullptr));
  oprj_CharStrCreate("stale", &target->datum->datumname, nullptr);
  ASSERT_NE(oprj_SpheroidByName(toolkit(), "clrk66", target.get(), nullptr), nullptr);
  EXPECT_STREQ(target->sphereName.data, "Clarke 1866");  // an alias finds the entry's own name
  EXPECT_EQ(target->a, 6378206.4);
  EXPECT_STREQ(target->datum->datumname.data, "stale");  // the datum stays
  ASSERT_NE(oprj_SpheroidByNum(toolkit(), -3, target.get(), nullptr), nullptr);
  EXPECT_STREQ(target->sphereName.data, "Egg");
  EXPECT_LT(target->eSquared, 0.0);
  EXPECT_EQ(oprj_SpheroidNumberByName(toolkit(), "Ball", nullptr), 19);
  Slot slot;
  EXPECT_EQ(oprj_SpheroidNumberByName(toolkit(), "C66", slot), 0);
  expectNoReport(slot);
}

TEST_F(Lookup, DerivedNumbersOfTheSpheroid) {
  const struct {
    double a, b, eSquared, eTolerance, radius, radiusTolerance;
  } cases[] = {
      // [TR8350.2] table 3.3: WGS 84; [Moritz2000]: GRS 80; [Snyder87] p. 13 and 16: Clarke 1866
      {6378137, 6356752.3142, 6.69437999014e-3, 5e-14, 6371007.1809, 5e-4},
      {6378137, 6356752.3141, 6.69438002290e-3, 5e-14, 6371007.1810, 5e-4},
      {6378206.4, 6356583.8, 0.00676866, 5e-9, 6370997, 0.5},
      {kR, kR, 0, 0, kR, 0}};
  const SpheroidPtr target(oprj_SpheroidCreate(nullptr));
  for (const auto &c : cases) {
    ASSERT_NE(oprj_SpheroidByAxes(toolkit(), c.a, c.b, target.get(), nullptr), nullptr);
    // The axes above carry four decimals: e² is good to 2 (db/a) b/a = 2e-11.
    EXPECT_NEAR(target->eSquared, c.eSquared, c.eTolerance > 0 ? c.eTolerance + 2e-11 : 0) << c.b;
    EXPECT_NEAR(target->radius, c.radius, c.radiusTolerance) << c.b;
    EXPECT_EQ(target->sphereName.data, nullptr);
  }
  // The area over 4π, by the other closed form: the polar radius leads, with the eccentricity of
  // the meridian ellipse seen from its longer axis.
  const auto areaRadius = [](double a, double b) {
    const double e = std::sqrt(std::fabs((a - b) * (a + b))) / std::max(a, b);
    const double cap = a > b ? b * b / (a * e) * std::log((1 + e) / std::sqrt((1 - e) * (1 + e)))
                             : b / e * std::asin(e);
    return std::sqrt((a * a + a * cap) / 2);
  };
  for (const double ratio : {1e-3, 0.5, 0.9, 0.9966, 1.003, 1.5, 40.0}) {
    const double a = 6378137.0, b = a * ratio;
    oprj_SpheroidByAxes(toolkit(), a, b, target.get(), nullptr);
    EXPECT_NEAR(target->radius, areaRadius(a, b), 1e-13 * std::max(a, b)) << ratio;
  }
  target->a = 7.0;
  Slot slot;
  for (const double bad : {0.0, -1.0, kNaN, kInfinity})
    for (const auto &[a, b] : {std::pair(bad, 1.0), std::pair(1.0, bad)}) {
      expectRefusal(oprj_SpheroidByAxes(toolkit(), a, b, target.get(), slot), slot,
                    "oprj_SpheroidByAxes: Invalid spheroid axes (4)");
      EXPECT_EQ(target->a, 7.0);
    }
  oprj_SpheroidByAxes(toolkit(), 1.0, std::nextafter(1.0, 0.0), target.get(), nullptr);
  EXPECT_NEAR(target->radius, 1.0, 1e-15);
  oprj_SpheroidByAxes(toolkit(), 1.0, 1e-12, target.get(), nullptr);  // a disk: two faces
  EXPECT_NEAR(target->radius, std::sqrt(0.5), 1e-12);
}

TEST_F(Lookup, SpheroidByParms) {
  const struct {
    double number, major, minor;
    const char *name;
    double a, b;
    int32_t params;
  } cases[] = {{-1, kR, 0, "Unknown", kR, kR, 7},
               {-0.5, kR, -3, "Unknown", kR, kR, 7},
               {-1, 6378206.4, 6356583.8, "Unknown", 6378206.4, 6356583.8, 7},
               {19.9, 1, 1, "Ball", kR, kR, 0},
               {-0.0, 1, 1, "Clarke 1866", 6378206.4, 6356583.8, 0}};
  for (const auto &c : cases) {
    double values[16] = {c.number, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, c.major, c.minor};
    const Oprj_DblArray parms = {16, values};
    const SpheroidPtr target(oprj_SpheroidCreate(nullptr));
    Oprj_Datum *datum = target->datum;
    oprj_CharStrCreate("NAD27", &datum->datumname, nullptr);
    datum->type = OPRJ_DATUM_GRID;
    ASSERT_EQ(oprj_SpheroidByParms(toolkit(), &parms, target.get(), nullptr), target.get());
    EXPECT_STREQ(target->sphereName.data, c.name);
    EXPECT_TRUE(target->a == c.a && target->b == c.b) << target->a << " " << target->b;
    EXPECT_EQ(target->eSquared == 0.0, c.a == c.b);
    EXPECT_EQ(target->datum, datum);
    EXPECT_STREQ(datum->datumname.data, "Undefined");
    EXPECT_TRUE(datum->type == OPRJ_DATUM_NONE && datum->params.count == c.params);
  }
}

TEST_F(Lookup, NamesByAxesUseAStrictTolerance) {
  for (const auto &[a, b, tolerance, name] :
       {std::tuple<double, double, double, const char *>{kR + 9e-6, kR, 1e-5, "Ball"},
        {kR + 1, kR, 1, "(null)"},
        {kR, kR + 1, 1, "(null)"},
        {kR + 1, kR, 1.5, "Ball"},
        {kR, kR, 0, "(null)"},
        {kNaN, kR, 1e9, "(null)"}})
    EXPECT_EQ(taken(oprj_GetSpheroidNameByAxesWithTolerance(toolkit(), a, b, tolerance, nullptr)),
              name);
  EXPECT_EQ(taken(oprj_GetSpheroidNameByAxes(toolkit(), 6000000, 6500000, nullptr)), "Egg");
  EXPECT_EQ(taken(oprj_GetSpheroidNameByDatumName(toolkit(), "Drawn", nullptr)), "Clarke 1866");
}

// --- datums ---

TEST_F(Lookup, DatumByNameFillsByType) {
  const SpheroidPtr holder(oprj_SpheroidCreate(nullptr));
  Oprj_Datum *target = holder->datum;
  Slot slot;
  ASSERT_EQ(oprj_DatumByName(toolkit(), "Clarke 1866", "Shifted", target, slot), target);
  EXPECT_EQ(target->type, OPRJ_DATUM_PARAMETRIC);
  ASSERT_EQ(target->params.count, 7);
  EXPECT_EQ(target->params.data[1], 160.5);
  ASSERT_EQ(oprj_DatumByName(toolkit(), "C66", "Regressed", target, slot), target);
  EXPECT_EQ(target->type, OPRJ_DATUM_REGRESSION);
  EXPECT_STREQ(target->datumname.data, "Regressed");
  EXPECT_EQ(target->params.count, 0);
  // A missing grid file leaves the datum named.
  EXPECT_EQ(oprj_DatumByName(toolkit(), "Clarke 1866", "Gridded", target, slot), nullptr);
  expectReport(slot, "oprj_DatumByName", 10, "Error returned from datafileOpen");
  EXPECT_NE(oerr_CauseGet(slot.get()), nullptr);
  EXPECT_STREQ(target->datumname.data, "Gridded");
  EXPECT_EQ(target->type, OPRJ_DATUM_GRID);
  EXPECT_STREQ(target->gridname.data, "no-such-file.grd");
  EXPECT_EQ(target->gridData, nullptr);
  // An empty name or "Undefined", in any case, leaves it undefined.
  for (const auto &[spheroid, datum] : {std::pair<const char *, const char *>{"C66", "undefINED"},
                                        {"C66", ""},
                                        {"", "Shifted"},
                                        {nullptr, nullptr}}) {
    EXPECT_EQ(oprj_DatumByName(toolkit(), spheroid, datum, target, slot), target);
    expectNoReport(slot);
    EXPECT_STREQ(target->datumname.data, "Undefined");
    EXPECT_TRUE(target->type == OPRJ_DATUM_NONE && target->params.count == 0);
    EXPECT_EQ(target->gridname.data, nullptr);
    oprj_DatumByName(toolkit(), "C66", "Shifted", target, nullptr);
  }
}

// --- projections ---

TEST_F(Lookup, RecordsByName) {
  Slot slot;
  const ParametersPtr internal(oprj_ProParametersCreateByName(toolkit(), "eVERYTHING", slot));
  ASSERT_NE(internal, nullptr) << slot.chain();
  EXPECT_TRUE(internal->proType == OPRJ_INTERNAL && internal->proNumber == 41);
  EXPECT_STREQ(internal->proName.data, "Everything");
  EXPECT_EQ(internal->proName.count, 11);
  EXPECT_EQ(internal->proParams.count, 12);  // slot 11 is asked in a branch
  for (int i = 0; i < 12; ++i) EXPECT_EQ(internal->proParams.data[i], 0.0);
  EXPECT_STREQ(internal->proSpheroid->sphereName.data, "Clarke 1866");
  EXPECT_STREQ(internal->proSpheroid->datum->datumname.data, "Clarke 1866");
  EXPECT_EQ(internal->proSpheroid->datum->type, OPRJ_DATUM_PARAMETRIC);

  const ParametersPtr external(oprj_ProParametersCreateByName(toolkit(), "OUTSIDE", slot));
  EXPECT_TRUE(external->proType == OPRJ_EXTERNAL && external->proNumber == 0);
  EXPECT_STREQ(external->proExeName.data, "helper");
  EXPECT_EQ(external->proExeName.count, 6);  // kept: without the terminating zero
  EXPECT_EQ(external->proParams.count, 2);

  const ParametersPtr none(oprj_ProParametersCreateByName(toolkit(), "geographic", slot));
  EXPECT_EQ(none->proParams.count, 0);
}

TEST_F(Lookup, QueriesByNumberNameAndExample) {
  directory_.write(
      "mapprojections.dat",
      "\"Ext\" { External \"five\" } \"First\" { Internal 5 } \"Twin\" { Internal 5 }\n"
      "\"Other\" { External \"5\" }");
  reload();
  const Oprj_Query *first = oprj_QueryByName(toolkit(), "First", nullptr);
  EXPECT_EQ(oprj_QueryByNumber(toolkit(), 5, nullptr), first);
  const ParametersPtr record(oprj_ProParametersCreate(nullptr));
  record->proNumber = 5;
  const auto example = [&](int32_t type, const char *name, const char *executable) {
    record->proType = type;
    oprj_CharStrCreate(name, &record->proName, nullptr);
    oprj_CharStrCreate(executable, &record->proExeName, nullptr);
    const Oprj_Query *query = oprj_QueryByExample(toolkit(), record.get(), nullptr);
    return query ? query->name : "none";
  };
  EXPECT_STREQ(example(0, "anything", "5"), "First");
  EXPECT_STREQ(example(0, "tWIN", ""), "Twin");
  EXPECT_STREQ(example(0, nullptr, nullptr), "First");
  EXPECT_STREQ(example(1, "First", "5"), "Other");
  EXPECT_STREQ(example(1, "Ext", "five"), "Ext");
  EXPECT_STREQ(example(1, "Ext", "six"), "none");
  EXPECT_STREQ(example(3, "Ext", "five"), "none");

  Oprj_CharStr name = {};
  EXPECT_EQ(oprj_ProjName(toolkit(), 5, &name, nullptr), &name);
  EXPECT_STREQ(name.data, "First");
  oprj_CharStrFree(&name);
}

TEST_F(Lookup, ZonesByNamesNumberAndFips) {
  const auto *first = oprj_InitDataGet(toolkit(), nullptr)->statePlaneTable;
  EXPECT_EQ(oprj_SPEntryByNames(toolkit(), "alpha", "NORTH", 1, nullptr), first);
  EXPECT_EQ(oprj_SPEntryByNames(toolkit(), "alpha", "NORTH", 2, nullptr), first->next);
  EXPECT_EQ(oprj_SPEntryByNames(toolkit(), nullptr, nullptr, 1, nullptr), nullptr);
  EXPECT_EQ(oprj_SPEntryByZoneNumber(toolkit(), 101, 1, nullptr), first);
  EXPECT_EQ(oprj_SPEntryByZoneNumber(toolkit(), -5101, 2, nullptr), first->next);
  EXPECT_EQ(oprj_SPEntryByZoneNumber(toolkit(), 5101, 2, nullptr), nullptr);
  EXPECT_EQ(oprj_SPEntryByZoneNumber(toolkit(), -101, 2, nullptr), nullptr);
}

TEST_F(Lookup, Descriptions) {
  const ParametersPtr record(oprj_ProParametersCreate(nullptr));
  oprj_CharStrCreate("The Name", &record->proName, nullptr);
  oprj_DblArrayCreate(1, &record->proParams, nullptr);
  const auto describe = [&](int32_t number, int32_t zone, double nad, int32_t type = 0) {
    record->proType = type;
    record->proNumber = number;
    record->proZone = zone;
    record->proParams.data[0] = nad;
    return taken(oprj_ProjectionDescribe(toolkit(), record.get(), nullptr));
  };
  EXPECT_EQ(describe(1, 17, 0), "UTM, Zone 17");
  EXPECT_EQ(describe(2, -3601, 0), "State Plane, FIPS Zone 3601");
  EXPECT_EQ(describe(2, std::numeric_limits<int32_t>::min(), 0),
            "State Plane, FIPS Zone -2147483648");
  EXPECT_EQ(describe(2, 101, 1), "State Plane, Zone 101 (FIPS Zone 5101)");
  EXPECT_EQ(describe(2, 3601, 2), "State Plane, Zone 3601 (FIPS Zone 3601)");
  EXPECT_EQ(describe(9, 4, 0), "The Name");
  EXPECT_EQ(describe(1, 17, 0, OPRJ_EXTERNAL), "The Name");
  std::string text;
  const std::string complaint = complained([&] { text = describe(2, 3601, 1); });
  EXPECT_EQ(text, "State Plane, Zone 3601");
  EXPECT_NE(complaint.find("Zone number not found in State Plane table"), std::string::npos);
  oprj_CharStrCreate(nullptr, &record->proName, nullptr);
  EXPECT_EQ(describe(9, 4, 0), "");
  forEachAllocationFailure([&](Oerr_Report **err) {
    return TextPtr(oprj_ProjectionDescribe(toolkit(), record.get(), err)) != nullptr;
  });
}

// --- the installed tables ---

// What stands in the files, the test of the reference data compares with its sources.
TEST(InstalledTables, AreReadWholeWithoutAWord) {
  const LogCapture log;
  EXPECT_EQ(complained([] { EXPECT_EQ(oprj_Init(toolkit(), nullptr), nullptr); }), "");
  EXPECT_EQ(log.lines(), std::vector<std::string>{});
  const Oprj_InitData *data = oprj_InitDataGet(toolkit(), nullptr);
  ASSERT_NE(data, nullptr);
  const auto length = [](const auto *list) {
    int elements = 0;
    for (; list; list = list->next) ++elements;
    return elements;
  };
  int datums = 0;
  for (const auto *entry = data->spheroidTable; entry; entry = entry->next)
    datums += length(entry->datums);
  EXPECT_EQ(length(data->queryTable), 70);
  EXPECT_EQ(length(data->spheroidTable), 73);
  EXPECT_EQ(datums, 312 + 781);
  EXPECT_EQ(length(data->statePlaneTable), 259);
}

// What the page shows as a table that works alone does so.
TEST(InstalledTables, TheDocumentedTableServesTheInstalledProjections) {
  const std::string page = readFile(OPRJ_SOURCE_DIR "/docs/reference-files.md");
  const size_t start = page.find("spheroidfile \"A table");
  const TemporaryDirectory directory;
  directory.write("spheroid.tab", page.substr(start, page.find("```", start) - start));
  {
    const ScopedEnvironment datums("ORVIK_DATUMS_PATH", directory.path().c_str());
    ASSERT_EQ(oprj_Init(toolkit(), nullptr), nullptr);
    Slot slot;
    for (const auto *query = oprj_InitDataGet(toolkit(), nullptr)->queryTable; query;
         query = query->next)
      EXPECT_TRUE(ParametersPtr(oprj_ProParametersCreateByName(toolkit(), query->name, slot)))
          << slot.chain();
    EXPECT_GT(oprj_ConvertLonSizeToMeters(toolkit(), nullptr, 1, 0, slot), 111000) << slot.chain();
    const SpheroidPtr spheroid(oprj_SpheroidCreate(nullptr));
    const std::pair<const char *, const char *> needed[] = {{"clrk66", "NAD27 (CONUS)"},
                                                            {"GRS 1980", "NAD83"},
                                                            {"GRS 1980", "NAD83 (DMA)"},
                                                            {"WGS 84", "WGS 84"}};
    for (const auto &[name, datum] : needed)
      EXPECT_TRUE(oprj_DatumByName(toolkit(), name, datum, spheroid->datum, slot)) << slot.chain();
  }
  EXPECT_EQ(oprj_Init(toolkit(), nullptr), nullptr);  // the installed ones again
}

TEST(InstalledTables, EveryProjectionMakesARecordLongEnoughForItsFamily) {
  for (const auto *query = oprj_InitDataGet(toolkit(), nullptr)->queryTable; query;
       query = query->next) {
    Slot slot;
    const ParametersPtr record(oprj_ProParametersCreateByName(toolkit(), query->name, slot));
    ASSERT_NE(record, nullptr) << slot.chain();
    Oprj_MapProjectionEx *handle = nullptr;
    oprj_ProjectionInit(toolkit(), record.get(), &handle, slot);
    oprj_ProjectionFree(&handle);
    // All zeros may be refused for their values, but not for their number.
    EXPECT_EQ(slot.chain().find("Insufficient"), std::string::npos) << slot.chain();
  }
}

}  // namespace
