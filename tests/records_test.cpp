// Value records, spheroids, datums and parameter records: exact errors, tolerances, ownership, and
// every allocation failing.
#include <gtest/gtest.h>
#include <oprj/map_projection.h>
#include <oprj/parameters.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

#include "tests/support.h"

namespace {

using namespace orvik::test;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// A text record that frees itself.
struct Text : Oprj_CharStr {
  explicit Text(const char *text = nullptr) : Oprj_CharStr{} {
    if (text) oprj_CharStrCreate(text, this, nullptr);
  }
  ~Text() { oprj_CharStrFree(this); }
  Text(const Text &) = delete;
  Text &operator=(const Text &) = delete;
};

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

struct FreeSpheroid {
  void operator()(Oprj_Spheroid *spheroid) const { oprj_SpheroidFree(&spheroid); }
};
using SpheroidPtr = std::unique_ptr<Oprj_Spheroid, FreeSpheroid>;

struct FreeParameters {
  void operator()(Oprj_ProParameters *record) const { oprj_ProParametersFree(&record); }
};
using ParametersPtr = std::unique_ptr<Oprj_ProParameters, FreeParameters>;

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

// --- texts ---

TEST(CharStr, TrimsBlanksAndLineEndsAtTheEndOnly) {
  const LeakCheck leaks;
  const struct {
    const char *source, *stored;
  } cases[] = {{"Mercator \r\n", "Mercator"},
               {"   ", ""},
               {"", ""},
               {" \n inside \n out\t ", " \n inside \n out\t"}};
  for (const auto &c : cases) {
    Slot slot;
    Text text("another text");
    EXPECT_EQ(oprj_CharStrCreate(c.source, &text, slot), &text);
    expectNoReport(slot);
    EXPECT_STREQ(text.data, c.stored);
    EXPECT_EQ(text.count, static_cast<int32_t>(std::strlen(c.stored)) + 1);
  }
  Text text("gone");
  EXPECT_EQ(oprj_CharStrCreate(nullptr, &text, nullptr), &text);
  EXPECT_EQ(text.count, 0);
  EXPECT_EQ(text.data, nullptr);
}

TEST(CharStr, ReusesABufferOfTheSameSizeAndReadsFromTheTargetItself) {
  Text text("seven77");
  const char *buffer = text.data;
  oprj_CharStrCreate("another", &text, nullptr);
  EXPECT_EQ(text.data, buffer);
  oprj_CharStrCreate(text.data + 2, &text, nullptr);
  EXPECT_STREQ(text.data, "other");
}

TEST(CharStr, EqualityAndString) {
  Text unset, empty(""), lower("abc"), upper("Abc"), longer("abcd");
  Oprj_CharStr uncounted = {3, lower.data};  // as external executables are counted
  EXPECT_TRUE(oprj_CharStrsEqual(&unset, &unset, nullptr));
  EXPECT_TRUE(oprj_CharStrsEqual(&unset, &empty, nullptr));
  EXPECT_TRUE(oprj_CharStrsEqual(&empty, &unset, nullptr));
  EXPECT_FALSE(oprj_CharStrsEqual(&empty, &lower, nullptr));
  EXPECT_FALSE(oprj_CharStrsEqual(&lower, &upper, nullptr));
  EXPECT_FALSE(oprj_CharStrsEqual(&lower, &longer, nullptr));
  EXPECT_FALSE(oprj_CharStrsEqual(&lower, &uncounted, nullptr));
  EXPECT_TRUE(oprj_CharStrsEqual(nullptr, nullptr, nullptr));

  const LeakCheck leaks;
  EXPECT_EQ(oprj_CharStrToString(nullptr), nullptr);
  EXPECT_EQ(oprj_CharStrToString(&unset), nullptr);
  char *copy = oprj_CharStrToString(&uncounted);
  EXPECT_STREQ(copy, "abc");
  omsc_HeapFree(copy);
  uncounted.count = 2;
  copy = oprj_CharStrToString(&uncounted);
  EXPECT_STREQ(copy, "ab");
  omsc_HeapFree(copy);
}

// --- arrays ---

TEST(DblArray, CreateZeroesAndKeepsTheRecordOnBadCounts) {
  Array array = {1, 2, 3};
  double *buffer = array.data;
  Slot slot;
  EXPECT_EQ(oprj_DblArrayCreate(-1, &array, slot), nullptr);
  expectReport(slot, "oprj_DblArrayCreate", 2, "Count is less than 0");
  EXPECT_EQ(array.values(), (std::vector<double>{1, 2, 3}));
  EXPECT_EQ(oprj_DblArrayCreate(3, &array, slot), &array);
  expectNoReport(slot);
  EXPECT_EQ(array.data, buffer);
  EXPECT_EQ(array.values(), (std::vector<double>{0, 0, 0}));
  oprj_DblArrayCreate(0, &array, nullptr);
  EXPECT_EQ(array.count, 0);
  EXPECT_EQ(array.data, nullptr);
}

TEST(DblArray, CopyGrowsShrinksAndKeepsSurplusElements) {
  const Array source = {1, 2, 3};
  Array shorter = {9}, kept = {9, 9, 9, 9, 5}, cut = {9, 9, 9, 9, 5};
  oprj_DblArrayCopy(&source, &shorter, 0, nullptr);
  oprj_DblArrayCopy(&source, &kept, 0, nullptr);
  oprj_DblArrayCopy(&source, &cut, 1, nullptr);
  EXPECT_EQ(shorter.values(), (std::vector<double>{1, 2, 3}));
  EXPECT_EQ(kept.values(), (std::vector<double>{1, 2, 3, 9, 5}));
  EXPECT_EQ(cut.values(), (std::vector<double>{1, 2, 3}));
  const Array none = {};
  oprj_DblArrayCopy(&none, &cut, 1, nullptr);
  EXPECT_EQ(cut.count, 0);
  Oprj_DblArray broken = {5, nullptr};  // says five, holds none
  EXPECT_NE(oprj_DblArrayCopy(&source, &broken, 0, nullptr), nullptr);
  EXPECT_EQ(broken.count, 3);
  oprj_DblArrayFree(&broken);
}

TEST(DblArray, EqualWithinTheTolerance) {
  const struct {
    std::initializer_list<double> first, second;
    bool equal;
  } cases[] = {{{1, 2}, {1, 2, 0, 0}, true},     {{1, 2}, {1, 2, 1e-8}, false},
               {{1, 2}, {1, 2, 1e-9}, true},     {{1}, {1 + 1e-10}, true},
               {{1}, {1 + 3e-9}, false},         {{}, {0, -1e-9}, true},
               {{kInfinity}, {kInfinity}, true}, {{kInfinity}, {-kInfinity}, false},
               {{kNaN}, {kNaN}, false},          {{}, {kNaN}, false}};
  for (const auto &c : cases) {
    const Array first(c.first), second(c.second);
    EXPECT_EQ(oprj_DblArraysEqual(&first, &second, nullptr), c.equal);
    EXPECT_EQ(oprj_DblArraysEqual(&second, &first, nullptr), c.equal);
  }
}

// --- coordinates, sizes, points ---

TEST(Values, CoordinatesSizesAndPoints) {
  const LeakCheck leaks;
  Slot slot;
  const Oprj_Coordinate here = {1, 2}, near = {1 + 5e-10, 2}, far = {1, 2.1}, unknown = {kNaN, 2};
  EXPECT_TRUE(oprj_CoordinatesEqual(nullptr, nullptr, slot));
  expectNoReport(slot);
  EXPECT_TRUE(oprj_CoordinatesEqual(&here, &near, nullptr));
  EXPECT_FALSE(oprj_CoordinatesEqual(&here, &far, nullptr));
  EXPECT_FALSE(oprj_CoordinatesEqual(&unknown, &unknown, nullptr));
  Oprj_Coordinate *coordinate = oprj_CoordinateCopy(&far, nullptr, slot);
  EXPECT_EQ(coordinate->y, 2.1);
  EXPECT_EQ(oprj_CoordinateCopy(&here, coordinate, slot), coordinate);
  EXPECT_EQ(coordinate->y, 2.0);
  oprj_CoordinateFree(&coordinate);
  EXPECT_EQ(coordinate, nullptr);

  const Oprj_Size size = {3, 4}, wider = {3.1, 4};
  EXPECT_TRUE(oprj_SizesEqual(nullptr, nullptr, nullptr));
  EXPECT_FALSE(oprj_SizesEqual(&size, &wider, nullptr));
  Oprj_Size *copy = oprj_SizeCopy(&size, nullptr, slot);
  EXPECT_TRUE(oprj_SizesEqual(&size, copy, nullptr));
  oprj_SizeFree(&copy);
  EXPECT_EQ(copy, nullptr);

  Oprj_Point *none = oprj_PointsCreate(0, slot);
  EXPECT_NE(none, nullptr);
  oprj_PointsFree(&none);
  const Oprj_Point two[] = {{1, 2}, {3, 4}};
  Oprj_Point *points = oprj_PointsCopy(two, nullptr, 2, slot);
  EXPECT_EQ(points[1].y, 4.0);
  oprj_PointsFree(&points);
  // More than any memory holds: refused, not attempted in part.
  EXPECT_EQ(oprj_PointsCopy(nullptr, nullptr, 4, slot), nullptr);
}

// --- exact reports ---

struct ReportCase {
  std::function<bool(Oerr_Report **)> operation;  // whether it returned a result
  const char *function;
  int32_t code;
  const char *message;
};

TEST(Records, RefuseMissingArguments) {
  const LeakCheck leaks;
  Oprj_CharStr text = {};
  Oprj_DblArray array = {};
  const Oprj_Coordinate coordinate = {};
  const Oprj_Size size = {};
  const SpheroidPtr spheroid = makeSpheroid();
  const ReportCase cases[] = {
      {[&](auto err) { return oprj_CharStrCreate("x", nullptr, err); }, "oprj_CharStrCreate", 3,
       "Invalid output Oprj_CharStrPtr"},
      {[&](auto err) { return oprj_CharStrCopy(nullptr, &text, err); }, "oprj_CharStrCopy", 1,
       "Invalid input Oprj_CharStrPtr"},
      {[&](auto err) { return oprj_CharStrCopy(&text, nullptr, err); }, "oprj_CharStrCopy", 2,
       "Invalid output Oprj_CharStrPtr"},
      {[&](auto err) { return oprj_CharStrsEqual(&text, nullptr, err); }, "oprj_CharStrsEqual", 1,
       "Invalid input Oprj_CharStrPtr"},
      {[&](auto err) { return oprj_DblArrayCreate(1, nullptr, err); }, "oprj_DblArrayCreate", 3,
       "Invalid output Oprj_DblArrayPtr"},
      {[&](auto err) { return oprj_DblArrayCopy(nullptr, &array, 0, err); }, "oprj_DblArrayCopy", 1,
       "Invalid input Oprj_DblArrayPtr"},
      {[&](auto err) { return oprj_DblArrayCopy(&array, nullptr, 0, err); }, "oprj_DblArrayCopy", 2,
       "Invalid output Oprj_DblArrayPtr"},
      {[&](auto err) { return oprj_DblArraysEqual(nullptr, &array, err); }, "oprj_DblArraysEqual",
       1, "Invalid input Oprj_DblArrayPtr"},
      {[&](auto err) { return oprj_CoordinateCopy(nullptr, nullptr, err); }, "oprj_CoordinateCopy",
       1, "Invalid input Oprj_Coordinate"},
      {[&](auto err) { return oprj_CoordinatesEqual(&coordinate, nullptr, err); },
       "oprj_CoordinatesEqual", 1, "One of the input coord's is NULL"},
      {[&](auto err) { return oprj_SizeCopy(nullptr, nullptr, err); }, "oprj_SizeCopy", 1,
       "Invalid input Oprj_Size"},
      {[&](auto err) { return oprj_SizesEqual(nullptr, &size, err); }, "oprj_SizesEqual", 1,
       "One of the input size's is NULL"},
      {[&](auto err) { return oprj_PointsCopy(nullptr, nullptr, 1, err); }, "oprj_PointsCopy", 1,
       "Invalid input Oprj_Point"},
      {[&](auto err) { return oprj_DatumInit(nullptr, err); }, "oprj_DatumInit", 1,
       "Invalid output Oprj_Datum"},
      {[&](auto err) { return oprj_SpheroidCopy(nullptr, nullptr, err); }, "oprj_SpheroidCopy", 1,
       "Invalid input Oprj_Spheroid"},
      {[&](auto err) { return oprj_SpheroidsEqual(spheroid.get(), nullptr, err); },
       "oprj_SpheroidsEqual", 1, "One of the input spheroid's is NULL"},
      {[&](auto err) { return oprj_SpheroidsEqual2(nullptr, spheroid.get(), 0, err); },
       "oprj_SpheroidsEqual2", 1, "One of the input spheroid's is NULL"},
      {[&](auto err) { return oprj_ProParametersCopy(nullptr, nullptr, err); },
       "oprj_ProParametersCopy", 1, "Invalid input Oprj_ProParameters"},
      {[&](auto err) { return oprj_ProParametersPrint(nullptr, err), false; },
       "oprj_ProParametersPrint", 1, "Invalid input Oprj_ProParameters"},
      {[&](auto err) { return oprj_Proj7xNumber(21, err); }, "oprj_Proj7xNumber", 1,
       "Invalid projection number"},
      {[&](auto err) { return oprj_Proj7xNumber(-1, err); }, "oprj_Proj7xNumber", 1,
       "Invalid projection number"},
  };
  for (const auto &c : cases) {
    Slot slot;
    EXPECT_FALSE(c.operation(slot)) << c.function;
    expectReport(slot, c.function, c.code, c.message);
    EXPECT_FALSE(c.operation(nullptr)) << c.function << " without a slot";
  }
  for (int32_t number = 0; number <= 20; ++number)
    EXPECT_EQ(oprj_Proj7xNumber(number, nullptr), number);
}

/// The report when the n-th allocation of an operation fails.
struct AllocationCase {
  std::function<bool(Oerr_Report **)> operation;
  int64_t nth;
  const char *chain;
};

TEST(Records, ReportWhichAllocationFailed) {
  const LeakCheck leaks;
  Oprj_CharStr text = {};
  Oprj_DblArray array = {};
  const Oprj_Point point = {};
  const Oprj_Coordinate coordinate = {};
  const Oprj_Size size = {};
  const AllocationCase cases[] = {
      {[&](auto err) { return oprj_CharStrCreate("x", &text, err); }, 1,
       "oprj_CharStrCreate: Error allocating localstr (1)"},
      {[&](auto err) { return oprj_CharStrCreate("x", &text, err); }, 2,
       "oprj_CharStrCreate: Error allocating charStr->data (2)"},
      {[&](auto err) { return oprj_DblArrayCreate(2, &array, err); }, 1,
       "oprj_DblArrayCreate: Error allocating dblArray->data (1)"},
      {[](auto err) { return oprj_CoordinateCreate(err); }, 1,
       "oprj_CoordinateCreate: Error allocating Coordinate (1)"},
      {[](auto err) { return oprj_SizeCreate(err); }, 1,
       "oprj_SizeCreate: Error allocating Size (1)"},
      {[](auto err) { return oprj_PointsCreate(2, err); }, 1,
       "oprj_PointsCreate: Error allocating Points (1)"},
      {[&](auto err) { return oprj_CoordinateCopy(&coordinate, nullptr, err); }, 1,
       "oprj_CoordinateCopy: Error returned from oprj_Coordinate (2) < "
       "oprj_CoordinateCreate: Error allocating Coordinate (1)"},
      {[&](auto err) { return oprj_SizeCopy(&size, nullptr, err); }, 1,
       "oprj_SizeCopy: Error returned from oprj_Size (2) < "
       "oprj_SizeCreate: Error allocating Size (1)"},
      {[&](auto err) { return oprj_PointsCopy(&point, nullptr, 1, err); }, 1,
       "oprj_PointsCopy: Error return from oprj_PointsCreate (2) < "
       "oprj_PointsCreate: Error allocating Points (1)"},
      {[](auto err) { return oprj_ProjectionCreate(err); }, 1,
       "oprj_ProjectionCreate: Error allocating MapProjection (1)"},
      {[](auto err) { return oprj_SpheroidCreate(err); }, 1,
       "oprj_SpheroidCreate: Error allocating Spheroid (1)"},
      {[](auto err) { return oprj_ProParametersCreate(err); }, 1,
       "oprj_ProParametersCreate: Error allocating ProParameters (1)"},
      {[](auto err) { return oprj_ProParametersCreate(err); }, 5,
       "oprj_ProParametersCreate: Error returned from oprj_SpheroidCreate (2) < "
       "oprj_SpheroidCreate: Error returned from oprj_DatumInit (2) < "
       "oprj_DatumInit: Error returned from oprj_CharStrCreate (3) < "
       "oprj_CharStrCreate: Error allocating charStr->data (2)"},
  };
  for (const auto &c : cases) {
    Slot slot;
    Oerr_Report **err = slot;
    omsc_HeapFailNth(c.nth);
    EXPECT_FALSE(c.operation(err)) << c.chain;
    omsc_HeapFailNth(0);
    EXPECT_EQ(slot.chain(), c.chain);
  }
}

TEST(Records, EveryAllocationMayFail) {
  const LeakCheck leaks;
  const ParametersPtr source = makeParameters(), target(oprj_ProParametersCreate(nullptr));
  oprj_CharStrCreate("untouched", &target->proName, nullptr);
  const auto *spheroidAddress = target->proSpheroid;
  const auto *datumAddress = target->proSpheroid->datum;
  const auto untouched = [&] {
    EXPECT_STREQ(target->proName.data, "untouched");
    EXPECT_EQ(target->proSpheroid, spheroidAddress);
    EXPECT_EQ(target->proSpheroid->datum, datumAddress);
    EXPECT_STREQ(target->proSpheroid->datum->datumname.data, "Undefined");
    EXPECT_EQ(target->proSpheroid->a, 0.0);
    EXPECT_STREQ(source->proName.data, "A Name");
  };
  forEachAllocationFailure(
      [&](Oerr_Report **err) { return ParametersPtr(oprj_ProParametersCreate(err)) != nullptr; });
  forEachAllocationFailure(
      [&](Oerr_Report **err) {
        return ParametersPtr(oprj_ProParametersCopy(source.get(), nullptr, err)) != nullptr;
      },
      untouched);
  forEachAllocationFailure(
      [&](Oerr_Report **err) {
        return SpheroidPtr(oprj_SpheroidCopy(source->proSpheroid, nullptr, err)) != nullptr;
      },
      untouched);
  const Array longer = {1, 2, 3, 4, 5};
  Array array = {7, 8};
  forEachAllocationFailure(
      [&](Oerr_Report **err) { return oprj_DblArrayCopy(&longer, &array, 0, err) != nullptr; },
      [&] {
        EXPECT_EQ(array.values(), (std::vector<double>{7, 8}));
      });
  Text text("before");
  forEachAllocationFailure(
      [&](Oerr_Report **err) { return oprj_CharStrCreate("much later", &text, err) != nullptr; },
      [&] { EXPECT_STREQ(text.data, "before"); });
  forEachAllocationFailure(
      [&](Oerr_Report **err) {
        return oprj_ProParametersCopy(source.get(), target.get(), err) != nullptr;
      },
      untouched);
  EXPECT_STREQ(target->proName.data, "A Name");
  EXPECT_EQ(target->proSpheroid, spheroidAddress);
  EXPECT_EQ(target->proSpheroid->datum, datumAddress);
  EXPECT_STREQ(target->proSpheroid->datum->datumname.data, "Some Datum");
}

// --- spheroids, datums, parameter records ---

TEST(Datum, InitMakesOrEmpties) {
  const LeakCheck leaks;
  Slot slot;
  Oprj_Datum *datum = nullptr;
  EXPECT_EQ(oprj_DatumInit(&datum, slot), datum);
  expectNoReport(slot);
  EXPECT_STREQ(datum->datumname.data, "Undefined");
  EXPECT_EQ(datum->type, OPRJ_DATUM_NONE);
  oprj_CharStrCreate("NAD27", &datum->datumname, nullptr);
  oprj_CharStrCreate("nad27.dat", &datum->gridname, nullptr);
  oprj_DblArrayCreate(7, &datum->params, nullptr);
  datum->type = OPRJ_DATUM_GRID;
  Oprj_Datum *same = datum;
  EXPECT_EQ(oprj_DatumInit(&datum, slot), same);
  EXPECT_STREQ(datum->datumname.data, "Undefined");
  EXPECT_EQ(datum->type, OPRJ_DATUM_NONE);
  EXPECT_EQ(datum->gridname.data, nullptr);
  EXPECT_EQ(datum->params.count, 0);
  oprj_DatumFree(&datum);
  EXPECT_EQ(datum, nullptr);
  oprj_DatumFree(&datum);
  oprj_DatumFree(nullptr);
}

TEST(Spheroid, CopyFollowsTheDatumsType) {
  const LeakCheck leaks;
  const SpheroidPtr source = makeSpheroid(6378137.0, 6356752.3, "D");
  oprj_DblArrayCreate(7, &source->datum->params, nullptr);
  source->datum->params.data[0] = -87.0;
  oprj_CharStrCreate("file.grd", &source->datum->gridname, nullptr);
  const struct {
    int32_t type;
    bool params, grid;
  } cases[] = {{OPRJ_DATUM_PARAMETRIC, true, false},
               {OPRJ_DATUM_GRID, false, true},
               {OPRJ_DATUM_REGRESSION, false, false},
               {OPRJ_DATUM_NONE, false, false},
               {OPRJ_DATUM_SURFACE, false, false}};
  const SpheroidPtr target = makeSpheroid(1, 1, "old");
  for (const auto &c : cases) {
    source->datum->type = c.type;
    ASSERT_EQ(oprj_SpheroidCopy(source.get(), target.get(), nullptr), target.get());
    EXPECT_EQ(target->a, source->a);
    EXPECT_STREQ(target->sphereName.data, "some spheroid");
    EXPECT_STREQ(target->datum->datumname.data, "D");
    EXPECT_EQ(target->datum->type, c.type);
    EXPECT_EQ(target->datum->params.count, c.params ? 7 : 0);
    EXPECT_EQ(target->datum->gridname.data != nullptr, c.grid);
  }
  oprj_DatumFree(&source->datum);  // a missing datum counts as undefined
  oprj_SpheroidCopy(source.get(), target.get(), nullptr);
  EXPECT_STREQ(target->datum->datumname.data, "Undefined");
  oprj_DatumFree(&target->datum);
  oprj_SpheroidCopy(source.get(), target.get(), nullptr);
  EXPECT_NE(target->datum, nullptr);
  EXPECT_EQ(oprj_SpheroidCopy(target.get(), target.get(), nullptr), target.get());
  EXPECT_STREQ(target->sphereName.data, "some spheroid");
}

TEST(Spheroid, EqualityTolerances) {
  const double a = 6378137.0, b = 6356752.314245179;
  const struct {
    const char *what;
    double da, db, de, dr;
    bool equal;
  } cases[] = {{"nothing", 0, 0, 0, 0, true},         {"a by the tolerance", 1e-5, 0, 0, 0, true},
               {"a beyond", 1.1e-5, 0, 0, 0, false},  {"b by the tolerance", 0, -1e-5, 0, 0, true},
               {"b beyond", 0, -1.1e-5, 0, 0, false}, {"e2 beyond", 0, 0, 1.1e-9, 0, false},
               {"e2 within", 0, 0, 0.9e-9, 0, true},  {"radius beyond", 0, 0, 0, 1.1e-5, false},
               {"a NaN", kNaN, 0, 0, 0, false}};
  for (const auto &c : cases) {
    const SpheroidPtr first = makeSpheroid(a, b), second = makeSpheroid(a, b);
    second->a += c.da;
    second->b += c.db;
    second->eSquared += c.de;
    second->radius += c.dr;
    EXPECT_EQ(oprj_SpheroidsEqual(first.get(), second.get(), nullptr), c.equal) << c.what;
    EXPECT_EQ(oprj_SpheroidsEqual(second.get(), first.get(), nullptr), c.equal) << c.what;
  }
}

TEST(Spheroid, EqualityOfDatums) {
  const struct {
    const char *first, *second;
    bool strict, lenient;
  } cases[] = {{"Undefined", "undefined", true, true}, {"Undefined", "NAD27", false, true},
               {nullptr, "NAD27", false, true},        {nullptr, "Undefined", true, true},
               {"NAD27", "NAD27", true, true},         {"NAD27", "nad27", false, false}};
  for (const auto &c : cases) {
    const SpheroidPtr first = makeSpheroid(), second = makeSpheroid();
    if (c.first) {
      oprj_CharStrCreate(c.first, &first->datum->datumname, nullptr);
    } else {
      oprj_DatumFree(&first->datum);
    }
    oprj_CharStrCreate(c.second, &second->datum->datumname, nullptr);
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

TEST(ProParameters, CopyIsDeepAndExact) {
  const LeakCheck leaks;
  const ParametersPtr source = makeParameters();
  const ParametersPtr longer(oprj_ProParametersCreate(nullptr));
  oprj_DblArrayCreate(15, &longer->proParams, nullptr);
  Slot slot;
  ASSERT_EQ(oprj_ProParametersCopy(source.get(), longer.get(), slot), longer.get());
  expectNoReport(slot);
  EXPECT_EQ(longer->proParams.count, 3);
  EXPECT_EQ(longer->proParams.data[2], 0.25);
  EXPECT_NE(longer->proParams.data, source->proParams.data);
  EXPECT_EQ(longer->proType, OPRJ_EXTERNAL);
  EXPECT_EQ(longer->proZone, -3601);
  EXPECT_STREQ(longer->proExeName.data, "prog");
  EXPECT_TRUE(oprj_SpheroidsEqual2(source->proSpheroid, longer->proSpheroid, 0, nullptr));
  EXPECT_EQ(oprj_ProParametersCopy(source.get(), source.get(), nullptr), source.get());
  EXPECT_STREQ(source->proName.data, "A Name");
  // Kept: an executable counted without its terminating zero is counted with it in the copy.
  source->proExeName.count = 4;
  oprj_ProParametersCopy(source.get(), longer.get(), nullptr);
  EXPECT_EQ(longer->proExeName.count, 5);
}

TEST(ProParameters, Prints) {
  const ParametersPtr record = makeParameters();
  testing::internal::CaptureStdout();
  oprj_ProParametersPrint(record.get(), nullptr);
  record->proType = OPRJ_INTERNAL;
  record->proParams.count = 0;
  oprj_SpheroidFree(&record->proSpheroid);
  oprj_ProParametersPrint(record.get(), nullptr);
  record->proType = 7;
  oprj_ProParametersPrint(record.get(), nullptr);
  const std::string printed = testing::internal::GetCapturedStdout();
  const std::string tail =
      "Projection name = A Name\nZone number = -3601\nProjection parameters\nSpheroid name = \n"
      "Semi-major axis of spheroid = 0.000000\nSemi-minor axis of spheroid = 0.000000\n"
      "Eccentricity-squared of spheroid = 0.000000\nRadius of sphere = 0.000000\n";
  EXPECT_EQ(printed,
            "External projection\nProjection executable name = prog\nProjection name = A Name\n"
            "Zone number = -3601\nProjection parameters\n0 = 0.000000\n1 = 0.000000\n"
            "2 = 0.250000\nSpheroid name = some spheroid\n"
            "Semi-major axis of spheroid = 6378206.400000\n"
            "Semi-minor axis of spheroid = 6356583.800000\n"
            "Eccentricity-squared of spheroid = 0.006769\nRadius of sphere = 6371007.000000\n"
            "Internal projection\nProjection number = 9\n" +
                tail + "What??  Invalid proType.\n" + tail);
}

}  // namespace
