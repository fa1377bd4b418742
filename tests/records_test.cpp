// Value records, spheroids, datums and parameter records: exact errors, tolerances, ownership, and
// every allocation failing.
#include <oprj/elevation_info.h>
#include <oprj/map_projection.h>
#include <oprj/parameters.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "tests/tables_support.h"

namespace {

using namespace orvik::test;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// A text record that frees itself.
struct Text : Oprj_CharStr {
  explicit Text(const char *text = nullptr) : Oprj_CharStr{} {
    oprj_CharStrCreate(text, this, nullptr);
  }
  ~Text() { oprj_CharStrFree(this); }
  Text(const Text &) = delete;
  Text &operator=(const Text &) = delete;
};

using ElevationPtr = Owner<Oprj_ElevationInfo, oprj_ElevationInfoFree>;

/// An array record that frees itself.
struct Array : Oprj_DblArray {
  Array(std::initializer_list<double> values) : Oprj_DblArray{} {
    oprj_DblArrayCreate(static_cast<int32_t>(values.size()), this, nullptr);
    std::copy(values.begin(), values.end(), data);
  }
  ~Array() { oprj_DblArrayFree(this); }
  Array(const Array &) = delete;
  Array &operator=(const Array &) = delete;
  std::vector<double> values() const { return {data, data + count}; }
};
using Values = std::vector<double>;

SpheroidPtr makeSpheroid(double a = 6378137.0, double b = 6356752.314245179,
                         const char *datum = "Undefined") {
  SpheroidPtr made(oprj_SpheroidCreate(nullptr));
  made->a = a;
  made->b = b;
  made->eSquared = 1.0 - b * b / (a * a);
  made->radius = 6371007.0;
  oprj_CharStrCreate("some spheroid", &made->sphereName, nullptr);
  oprj_CharStrCreate(datum, &made->datum->datumname, nullptr);
  if (std::strcmp(datum, "Undefined") != 0) made->datum->type = OPRJ_DATUM_PARAMETRIC;
  return made;
}

ParametersPtr makeParameters() {
  ParametersPtr made(oprj_ProParametersCreate(nullptr));
  made->proType = OPRJ_EXTERNAL;
  made->proNumber = 9;
  made->proZone = -3601;
  oprj_CharStrCreate("prog", &made->proExeName, nullptr);
  oprj_CharStrCreate("A Name", &made->proName, nullptr);
  oprj_DblArrayCreate(3, &made->proParams, nullptr);
  made->proParams.data[2] = 0.25;
  oprj_SpheroidFree(&made->proSpheroid);
  made->proSpheroid = makeSpheroid(6378206.4, 6356583.8, "Some Datum").release();
  oprj_DblArrayCreate(7, &made->proSpheroid->datum->params, nullptr);
  made->proSpheroid->datum->params.data[6] = 1e-6;
  return made;
}

// --- values ---

TEST(CharStr, TrimsTheEndAndReusesABufferOfTheSameSize) {
  const LeakCheck leaks;
  Slot slot;
  for (const auto &[source, stored] : {std::pair{"Mercator \r\n", "Mercator"},
                                       {"   ", ""},
                                       {"", ""},
                                       {" \n in \n out\t ", " \n in \n out\t"}}) {
    Text text("another text");
    EXPECT_EQ(oprj_CharStrCreate(source, &text, slot), &text) << slot.chain();
    EXPECT_STREQ(text.data, stored);
    EXPECT_EQ(text.count, static_cast<int32_t>(std::strlen(stored)) + 1);
  }
  Text text("seven77");
  const char *buffer = text.data;
  oprj_CharStrCreate("another", &text, nullptr);
  EXPECT_EQ(text.data, buffer);
  oprj_CharStrCreate(text.data + 2, &text, nullptr);  // out of the target itself
  EXPECT_STREQ(text.data, "other");
  oprj_CharStrCreate(nullptr, &text, nullptr);
  EXPECT_TRUE(text.count == 0 && !text.data);
}

TEST(CharStr, EqualityAndString) {
  const LeakCheck leaks;
  const Text unset, empty(""), lower("abc"), upper("Abc"), longer("abcd");
  const Oprj_CharStr uncounted = {3, lower.data};  // as external executables are counted
  const struct {
    const Oprj_CharStr *first, *second;
    int32_t equal;
  } cases[] = {{&unset, &empty, 1},  {&empty, &lower, 0},     {&lower, &upper, 0},
               {&lower, &longer, 0}, {&lower, &uncounted, 0}, {&lower, &lower, 1},
               {nullptr, nullptr, 1}};
  for (const auto &c : cases) {
    EXPECT_EQ(oprj_CharStrsEqual(c.first, c.second, nullptr), c.equal);
    EXPECT_EQ(oprj_CharStrsEqual(c.second, c.first, nullptr), c.equal);
  }
  EXPECT_EQ(oprj_CharStrToString(nullptr), nullptr);
  EXPECT_EQ(oprj_CharStrToString(&unset), nullptr);
  EXPECT_EQ(taken(oprj_CharStrToString(&uncounted)), "abc");
  const Oprj_CharStr cut = {2, lower.data};
  EXPECT_EQ(taken(oprj_CharStrToString(&cut)), "ab");
}

TEST(DblArray, CreateZeroesAndCopyKeepsSurplusElements) {
  const LeakCheck leaks;
  const Array source = {1, 2, 3}, none = {};
  Array shorter = {9}, kept = {9, 9, 9, 9, 5}, cut = {9, 9, 9, 9, 5};
  oprj_DblArrayCopy(&source, &shorter, 0, nullptr);
  oprj_DblArrayCopy(&source, &kept, 0, nullptr);
  oprj_DblArrayCopy(&source, &cut, 1, nullptr);
  EXPECT_EQ(shorter.values(), (Values{1, 2, 3}));
  EXPECT_EQ(kept.values(), (Values{1, 2, 3, 9, 5}));
  EXPECT_EQ(cut.values(), (Values{1, 2, 3}));
  Slot slot;
  expectRefusal(oprj_DblArrayCreate(-1, &cut, slot), slot,
                "oprj_DblArrayCreate: Count is less than 0 (2)");
  EXPECT_EQ(cut.values(), (Values{1, 2, 3}));
  const double *buffer = cut.data;
  EXPECT_EQ(oprj_DblArrayCreate(3, &cut, nullptr), &cut);
  EXPECT_EQ(cut.data, buffer);
  EXPECT_EQ(cut.values(), (Values{0, 0, 0}));
  oprj_DblArrayCopy(&none, &cut, 1, nullptr);
  EXPECT_TRUE(cut.count == 0 && !cut.data);
  Oprj_DblArray broken = {5, nullptr};  // says five, holds none
  EXPECT_NE(oprj_DblArrayCopy(&source, &broken, 0, nullptr), nullptr);
  EXPECT_EQ(broken.count, 3);
  oprj_DblArrayFree(&broken);
}

TEST(DblArray, EqualWithinTheTolerance) {
  const struct {
    Array first, second;
    bool equal;
  } cases[] = {{{1, 2}, {1, 2, 0, 0}, true},     {{1, 2}, {1, 2, 1e-8}, false},
               {{1, 2}, {1, 2, 1e-9}, true},     {{1}, {1 + 1e-10}, true},
               {{1}, {1 + 3e-9}, false},         {{}, {0, -1e-9}, true},
               {{kInfinity}, {kInfinity}, true}, {{kInfinity}, {-kInfinity}, false},
               {{kNaN}, {kNaN}, false},          {{}, {kNaN}, false}};
  for (const auto &[first, second, equal] : cases) {
    EXPECT_EQ(oprj_DblArraysEqual(&first, &second, nullptr), equal) << first.count;
    EXPECT_EQ(oprj_DblArraysEqual(&second, &first, nullptr), equal) << first.count;
  }
}

TEST(Values, CoordinatesSizesAndPoints) {
  const LeakCheck leaks;
  const Oprj_Coordinate here = {1, 2}, near = {1 + 5e-10, 2}, far = {1, 2.1}, unknown = {kNaN, 2};
  EXPECT_TRUE(oprj_CoordinatesEqual(nullptr, nullptr, nullptr));
  EXPECT_TRUE(oprj_CoordinatesEqual(&here, &near, nullptr));
  EXPECT_FALSE(oprj_CoordinatesEqual(&here, &far, nullptr));
  EXPECT_FALSE(oprj_CoordinatesEqual(&unknown, &unknown, nullptr));
  Oprj_Coordinate *coordinate = oprj_CoordinateCopy(&far, nullptr, nullptr);
  EXPECT_EQ(oprj_CoordinateCopy(&here, coordinate, nullptr), coordinate);
  EXPECT_EQ(coordinate->y, 2.0);
  oprj_CoordinateFree(&coordinate);
  EXPECT_EQ(coordinate, nullptr);
  const Oprj_Size size = {3, 4}, wider = {3.1, 4}, higher = {3, 4.1};
  EXPECT_FALSE(oprj_SizesEqual(&size, &wider, nullptr));
  EXPECT_FALSE(oprj_SizesEqual(&size, &higher, nullptr));
  Oprj_Size *copy = oprj_SizeCopy(&size, nullptr, nullptr);
  EXPECT_TRUE(oprj_SizesEqual(&size, copy, nullptr));
  oprj_SizeFree(&copy);
  EXPECT_EQ(copy, nullptr);
  Oprj_Point *none = oprj_PointsCreate(0, nullptr);
  EXPECT_NE(none, nullptr);
  oprj_PointsFree(&none);
}

// --- exact reports ---

/// Operations that must fail: their slot, and what they tell behind "oprj_".
class Records : public testing::Test {
 protected:
  template <class Result>
  void refused(const Result &result, const char *chain) {
    expectRefusal(result, err, std::string("oprj_") + chain);
  }
  const LeakCheck leaks;
  const Oprj_Coordinate here = {};
  const Oprj_Size size = {};
  Text text;
  Array array = {};
  Slot err;
};

TEST_F(Records, RefuseMissingArguments) {
  const SpheroidPtr spheroid = makeSpheroid();
  refused(oprj_CharStrCreate("x", nullptr, err),
          "CharStrCreate: Invalid output Oprj_CharStrPtr (3)");
  refused(oprj_CharStrCopy(nullptr, &text, err), "CharStrCopy: Invalid input Oprj_CharStrPtr (1)");
  refused(oprj_CharStrCopy(&text, nullptr, err), "CharStrCopy: Invalid output Oprj_CharStrPtr (2)");
  refused(oprj_CharStrsEqual(&text, nullptr, err),
          "CharStrsEqual: Invalid input Oprj_CharStrPtr (1)");
  refused(oprj_DblArrayCreate(1, nullptr, err),
          "DblArrayCreate: Invalid output Oprj_DblArrayPtr (3)");
  refused(oprj_DblArrayCopy(nullptr, &array, 0, err),
          "DblArrayCopy: Invalid input Oprj_DblArrayPtr (1)");
  refused(oprj_DblArrayCopy(&array, nullptr, 0, err),
          "DblArrayCopy: Invalid output Oprj_DblArrayPtr (2)");
  refused(oprj_DblArraysEqual(nullptr, &array, err),
          "DblArraysEqual: Invalid input Oprj_DblArrayPtr (1)");
  refused(oprj_CoordinateCopy(nullptr, nullptr, err),
          "CoordinateCopy: Invalid input Oprj_Coordinate (1)");
  refused(oprj_CoordinatesEqual(&here, nullptr, err),
          "CoordinatesEqual: One of the input coord's is NULL (1)");
  refused(oprj_SizeCopy(nullptr, nullptr, err), "SizeCopy: Invalid input Oprj_Size (1)");
  refused(oprj_SizesEqual(nullptr, &size, err), "SizesEqual: One of the input size's is NULL (1)");
  refused(oprj_PointsCopy(nullptr, nullptr, 4, err), "PointsCopy: Invalid input Oprj_Point (1)");
  refused(oprj_DatumInit(nullptr, err), "DatumInit: Invalid output Oprj_Datum (1)");
  refused(oprj_SpheroidCopy(nullptr, nullptr, err),
          "SpheroidCopy: Invalid input Oprj_Spheroid (1)");
  refused(oprj_SpheroidsEqual(spheroid.get(), nullptr, err),
          "SpheroidsEqual: One of the input spheroid's is NULL (1)");
  refused(oprj_SpheroidsEqual2(nullptr, spheroid.get(), 0, err),
          "SpheroidsEqual2: One of the input spheroid's is NULL (1)");
  refused(oprj_ProParametersCopy(nullptr, nullptr, err),
          "ProParametersCopy: Invalid input Oprj_ProParameters (1)");
  const ElevationPtr elevations(oprj_ElevationInfoCreate(nullptr));
  refused(oprj_ElevationInfoCopy(nullptr, nullptr, err),
          "ElevationInfoCopy: Invalid input Oprj_ElevationInfo (1)");
  refused(oprj_ElevationInfosEqual(nullptr, elevations.get(), err),
          "ElevationInfosEqual: One of the input elevation info's is NULL (1)");
  oprj_ProParametersPrint(nullptr, err);
  expectReport(err, "oprj_ProParametersPrint", 1, "Invalid input Oprj_ProParameters");
  for (int32_t number : {-1, 21})
    refused(oprj_Proj7xNumber(number, err), "Proj7xNumber: Invalid projection number (1)");
  for (int32_t number = 0; number <= 20; ++number)
    EXPECT_EQ(oprj_Proj7xNumber(number, nullptr), number);
}

TEST_F(Records, ReportWhichAllocationFailed) {
  const Oprj_Point point = {};
  refused(oprj_CharStrCreate("x", &text, err.failing(1)),
          "CharStrCreate: Error allocating localstr (1)");
  refused(oprj_CharStrCreate("x", &text, err.failing(2)),
          "CharStrCreate: Error allocating charStr->data (2)");
  refused(oprj_DblArrayCreate(2, &array, err.failing(1)),
          "DblArrayCreate: Error allocating dblArray->data (1)");
  refused(oprj_CoordinateCopy(&here, nullptr, err.failing(1)),
          "CoordinateCopy: Error returned from oprj_Coordinate (2) < "
          "oprj_CoordinateCreate: Error allocating Coordinate (1)");
  refused(oprj_SizeCopy(&size, nullptr, err.failing(1)),
          "SizeCopy: Error returned from oprj_Size (2) < "
          "oprj_SizeCreate: Error allocating Size (1)");
  refused(oprj_PointsCopy(&point, nullptr, 1, err.failing(1)),
          "PointsCopy: Error return from oprj_PointsCreate (2) < "
          "oprj_PointsCreate: Error allocating Points (1)");
  refused(oprj_ProjectionCreate(err.failing(1)),
          "ProjectionCreate: Error allocating MapProjection (1)");
  refused(oprj_SpheroidCreate(err.failing(1)), "SpheroidCreate: Error allocating Spheroid (1)");
  refused(oprj_ProParametersCreate(err.failing(1)),
          "ProParametersCreate: Error allocating ProParameters (1)");
  refused(oprj_ProParametersCreate(err.failing(5)),
          "ProParametersCreate: Error returned from oprj_SpheroidCreate (2) < "
          "oprj_SpheroidCreate: Error returned from oprj_DatumInit (2) < "
          "oprj_DatumInit: Error returned from oprj_CharStrCreate (3) < "
          "oprj_CharStrCreate: Error allocating charStr->data (2)");
}

TEST_F(Records, EveryAllocationMayFail) {
  const ParametersPtr source = makeParameters(), target(oprj_ProParametersCreate(nullptr));
  oprj_CharStrCreate("untouched", &target->proName, nullptr);
  const std::pair addresses(target->proSpheroid, target->proSpheroid->datum);
  const auto expectKept = [&](const char *name, const char *datum) {
    EXPECT_EQ(std::pair(target->proSpheroid, target->proSpheroid->datum), addresses);
    EXPECT_STREQ(target->proName.data, name);
    EXPECT_STREQ(target->proSpheroid->datum->datumname.data, datum);
  };
  forEachAllocationFailure(
      [](auto slot) { return ParametersPtr(oprj_ProParametersCreate(slot)) != nullptr; });
  const Array longer = {1, 2, 3, 4, 5};
  Array pair = {7, 8};
  forEachAllocationFailure([&](auto slot) { return oprj_DblArrayCopy(&longer, &pair, 0, slot); },
                           [&] {
                             EXPECT_TRUE(pair.values() == Values({7, 8}));
                           });
  Text before("before");
  forEachAllocationFailure([&](auto slot) { return oprj_CharStrCreate("later on", &before, slot); },
                           [&] { EXPECT_STREQ(before.data, "before"); });
  forEachAllocationFailure(
      [&](auto slot) { return oprj_ProParametersCopy(source.get(), target.get(), slot); },
      [&] {
        expectKept("untouched", "Undefined");
        EXPECT_EQ(target->proSpheroid->a, 0.0);
      });
  expectKept("A Name", "Some Datum");
}

// --- spheroids, datums, parameter records ---

TEST(Spheroid, CopyFollowsTheDatumsType) {
  const LeakCheck leaks;
  const SpheroidPtr source = makeSpheroid(6378137.0, 6356752.3, "D");
  oprj_DblArrayCreate(7, &source->datum->params, nullptr);
  oprj_CharStrCreate("file.grd", &source->datum->gridname, nullptr);
  const SpheroidPtr target = makeSpheroid(1, 1, "old");
  for (int32_t type : {OPRJ_DATUM_PARAMETRIC, OPRJ_DATUM_GRID, OPRJ_DATUM_REGRESSION,
                       OPRJ_DATUM_NONE, OPRJ_DATUM_SURFACE}) {
    source->datum->type = type;
    ASSERT_EQ(oprj_SpheroidCopy(source.get(), target.get(), nullptr), target.get());
    EXPECT_EQ(target->a, source->a);
    EXPECT_STREQ(target->sphereName.data, "some spheroid");
    EXPECT_STREQ(target->datum->datumname.data, "D");
    EXPECT_EQ(target->datum->type, type);
    EXPECT_EQ(target->datum->params.count, type == OPRJ_DATUM_PARAMETRIC ? 7 : 0);
    EXPECT_EQ(target->datum->gridname.data != nullptr, type == OPRJ_DATUM_GRID);
  }
  oprj_DatumFree(&source->datum);  // a missing datum counts as undefined
  oprj_SpheroidCopy(source.get(), target.get(), nullptr);
  EXPECT_STREQ(target->datum->datumname.data, "Undefined");
  oprj_DatumFree(&target->datum);
  EXPECT_EQ(target->datum, nullptr);
  oprj_SpheroidCopy(source.get(), target.get(), nullptr);
  EXPECT_NE(target->datum, nullptr);
  EXPECT_EQ(oprj_SpheroidCopy(target.get(), target.get(), nullptr), target.get());
  EXPECT_STREQ(target->sphereName.data, "some spheroid");
}

TEST(Spheroid, EqualityTolerances) {
  const struct {
    const char *what;
    double da, db, de, dr;
    bool equal;
  } cases[] = {{"nothing", 0, 0, 0, 0, true},         {"a by the tolerance", 1e-5, 0, 0, 0, true},
               {"a beyond", 1.1e-5, 0, 0, 0, false},  {"b by the tolerance", 0, -1e-5, 0, 0, true},
               {"b beyond", 0, -1.1e-5, 0, 0, false}, {"e2 beyond", 0, 0, 1.1e-9, 0, false},
               {"e2 within", 0, 0, 0.9e-9, 0, true},  {"radius beyond", 0, 0, 0, 1.1e-5, false},
               {"a NaN", kNaN, 0, 0, 0, false}};
  // Of this size, doubles written 1e-5 apart come out farther apart than 1e-5.
  const SpheroidPtr first = makeSpheroid(9e6, 8.9e6);
  for (const auto &c : cases) {
    const SpheroidPtr second = makeSpheroid(9e6 + c.da, 8.9e6 + c.db);
    second->eSquared = first->eSquared + c.de;
    second->radius += c.dr;
    EXPECT_EQ(oprj_SpheroidsEqual(first.get(), second.get(), nullptr), c.equal) << c.what;
    EXPECT_EQ(oprj_SpheroidsEqual(second.get(), first.get(), nullptr), c.equal) << c.what;
  }
}

TEST(Spheroid, EqualityOfDatums) {
  const struct {
    const char *first, *second;  // the first one may be missing
    bool strict, lenient;
  } cases[] = {{"Undefined", "undefined", true, true}, {"Undefined", "NAD27", false, true},
               {nullptr, "NAD27", false, true},        {nullptr, "Undefined", true, true},
               {"NAD27", "NAD27", true, true},         {"NAD27", "nad27", false, false}};
  for (const auto &c : cases) {
    const SpheroidPtr first = makeSpheroid(1, 1, c.first ? c.first : ""),
                      second = makeSpheroid(1, 1, c.second);
    if (!c.first) oprj_DatumFree(&first->datum);
    EXPECT_EQ(oprj_SpheroidsEqual2(first.get(), second.get(), 0, nullptr), c.strict) << c.second;
    EXPECT_EQ(oprj_SpheroidsEqual2(first.get(), second.get(), 1, nullptr), c.lenient) << c.second;
    EXPECT_EQ(oprj_SpheroidsEqual(second.get(), first.get(), nullptr), c.lenient) << c.second;
  }
  // Parameters count, type and grid name do not; a missing parameter is 0.
  const SpheroidPtr first = makeSpheroid(1, 1, "D"), second = makeSpheroid(1, 1, "D");
  oprj_DblArrayCreate(7, &second->datum->params, nullptr);
  second->datum->type = OPRJ_DATUM_GRID;
  EXPECT_TRUE(oprj_SpheroidsEqual(first.get(), second.get(), nullptr));
  second->datum->params.data[3] = 1e-8;
  EXPECT_FALSE(oprj_SpheroidsEqual(first.get(), second.get(), nullptr));
  EXPECT_TRUE(oprj_SpheroidsEqual(nullptr, nullptr, nullptr));
}

TEST(ElevationInfo, CopyIsDeepAndEqualityIsOfMeaning) {
  const LeakCheck leaks;
  const auto make = [](int32_t type, const char *unit, const char *datum, double dX) {
    ElevationPtr made(oprj_ElevationInfoCreate(nullptr));
    made->elevationType = type;
    oprj_CharStrCreate(unit, &made->elevationUnit, nullptr);
    oprj_CharStrCreate(datum, &made->verticalDatum->datumname, nullptr);
    made->verticalDatum->type = OPRJ_DATUM_PARAMETRIC;
    oprj_DblArrayCreate(7, &made->verticalDatum->params, nullptr);
    made->verticalDatum->params.data[0] = dX;
    return made;
  };
  const auto equal = [](const ElevationPtr &first, const ElevationPtr &second) {
    Slot err;
    const bool is = oprj_ElevationInfosEqual(first.get(), second.get(), err) != 0;
    expectNoReport(err);
    return is;
  };
  const ElevationPtr source = make(OPRJ_ELEVATION_TYPE_DEPTH, "us_survey_feet", "Sea", 3.0);
  const ElevationPtr target(oprj_ElevationInfoCreate(nullptr));
  EXPECT_EQ(target->elevationType, OPRJ_ELEVATION_TYPE_HEIGHT);
  EXPECT_EQ(target->verticalDatum->type, OPRJ_DATUM_NONE);
  const Oprj_Datum *datum = target->verticalDatum;
  forEachAllocationFailure(
      [](auto slot) { return ElevationPtr(oprj_ElevationInfoCreate(slot)) != nullptr; });
  forEachAllocationFailure(
      [&](auto slot) { return oprj_ElevationInfoCopy(source.get(), target.get(), slot); },
      [&] { EXPECT_EQ(target->elevationType, OPRJ_ELEVATION_TYPE_HEIGHT); });
  EXPECT_EQ(target->verticalDatum, datum);
  EXPECT_STREQ(datum->datumname.data, "Sea");
  EXPECT_EQ(datum->params.data[0], 3.0);
  EXPECT_TRUE(equal(source, target));
  EXPECT_TRUE(oprj_ElevationInfosEqual(nullptr, nullptr, nullptr));
  EXPECT_TRUE(equal(make(0, nullptr, "undefined", 0), make(0, "metre", "Undefined", 1)));
  EXPECT_TRUE(equal(make(0, "Elephants", "Sea", 0), make(0, "Elephants", "Sea", 0)));
  for (const ElevationPtr &other :
       {make(0, "us_survey_feet", "Sea", 3.0), make(1, "feet", "Sea", 3.0),
        make(1, nullptr, "Sea", 3.0), make(1, "Elephants", "Sea", 3.0),
        make(1, "us_survey_feet", "Undefined", 3.0), make(1, "us_survey_feet", "Lake", 3.0),
        make(1, "us_survey_feet", "Sea", 3.1)})
    EXPECT_FALSE(equal(source, other)) << other->elevationUnit.data;
}

TEST(ProParameters, CopyIsDeepAndExact) {
  const LeakCheck leaks;
  const ParametersPtr source = makeParameters(), longer(oprj_ProParametersCreate(nullptr));
  oprj_DblArrayCreate(15, &longer->proParams, nullptr);
  // Kept: an executable counted without its terminating zero is counted with it in the copy.
  source->proExeName.count = 4;
  ASSERT_EQ(oprj_ProParametersCopy(source.get(), longer.get(), nullptr), longer.get());
  EXPECT_EQ(longer->proParams.count, 3);
  EXPECT_EQ(longer->proParams.data[2], 0.25);
  EXPECT_NE(longer->proParams.data, source->proParams.data);
  EXPECT_EQ(longer->proType, OPRJ_EXTERNAL);
  EXPECT_EQ(longer->proZone, -3601);
  EXPECT_STREQ(longer->proExeName.data, "prog");
  EXPECT_EQ(longer->proExeName.count, 5);
  EXPECT_TRUE(oprj_SpheroidsEqual2(source->proSpheroid, longer->proSpheroid, 0, nullptr));
  EXPECT_EQ(oprj_ProParametersCopy(source.get(), source.get(), nullptr), source.get());
  EXPECT_STREQ(source->proName.data, "A Name");
}

TEST(ProParameters, Prints) {
  const ParametersPtr record = makeParameters();
  const auto print = [&] { oprj_ProParametersPrint(record.get(), nullptr); };
  EXPECT_EQ(printed(print),
            "External projection\nProjection executable name = prog\nProjection name = A Name\n"
            "Zone number = -3601\nProjection parameters\n0 = 0.000000\n1 = 0.000000\n"
            "2 = 0.250000\nSpheroid name = some spheroid\n"
            "Semi-major axis of spheroid = 6378206.400000\n"
            "Semi-minor axis of spheroid = 6356583.800000\n"
            "Eccentricity-squared of spheroid = 0.006769\nRadius of sphere = 6371007.000000\n");
  record->proParams.count = 0;
  oprj_SpheroidFree(&record->proSpheroid);
  const std::string tail =
      "Projection name = A Name\nZone number = -3601\nProjection parameters\nSpheroid name = \n"
      "Semi-major axis of spheroid = 0.000000\nSemi-minor axis of spheroid = 0.000000\n"
      "Eccentricity-squared of spheroid = 0.000000\nRadius of sphere = 0.000000\n";
  record->proType = OPRJ_INTERNAL;
  EXPECT_EQ(printed(print), "Internal projection\nProjection number = 9\n" + tail);
  record->proType = 7;
  EXPECT_EQ(printed(print), "What??  Invalid proType.\n" + tail);
}

}  // namespace
