// Arrays of points from system to system: the same results for every count, exact reports, what
// the output holds after a failure, units, sizes, threads, memory.
#include <proj.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "tests/objects_support.h"

namespace {

using namespace orvik::test;
using Points = std::vector<Oprj_Point>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr int32_t kCount = 3000;  // two whole tiles and a part
constexpr Oprj_Point kUntouched{-77, -78};

bool same(const Oprj_Point *first, const Oprj_Point *second, size_t count) {
  return std::memcmp(first, second, count * sizeof *first) == 0;
}

/// Easting and northing around the zone's middle, or longitude and latitude around 9 E.
Points spread(bool projected) {
  Points points(kCount);
  for (int32_t i = 0; i < kCount; ++i)
    points[static_cast<size_t>(i)] =
        projected
            ? Oprj_Point{500000 + 70.0 * (i % 997 - 500), 2e6 + 1500.0 * (i % 1009)}
            : Oprj_Point{(9 + 0.002 * (i % 997 - 500)) * kDegree, 0.05 * (i % 1511) * kDegree};
  return points;
}

TEST(Pipeline, ResultsDependOnThePointAlone) {
  const struct {
    const char *what;
    RecordPtr in, out;
    bool projected;
  } jobs[] = {{"same datum", transverseMercator(9), transverseMercator(12), true},
              {"translation", transverseMercator(9, "International 1909", "European 1950 (Mean)"),
               makeRecord(1, {0, 0, 0, 0}, "WGS 84", "WGS 84", 33), true},
              {"seven parameters",
               geographic("Airy", "Ordnance Survey of Great Britain 1936 (Mean, 7 parameters)"),
               transverseMercator(9), false}};
  for (const auto &job : jobs) {
    SCOPED_TRACE(job.what);
    const auto pair = makePair(job.in, job.out);
    const Points in = spread(job.projected);
    Points one(kCount), out(kCount);
    Slot err;
    for (size_t i = 0; i < kCount; ++i) {
      ASSERT_EQ(oprj_ProjectPair(pair.get(), &in[i], &one[i], 1, err), &one[i]) << err.chain();
    }
    for (const int32_t count : {1, 2, 7, 1023, 1024, 1025, 2047, 2048, 2049, kCount}) {
      out.assign(kCount, kUntouched);
      const int64_t blocks = omsc_HeapBlockCount();
      omsc_HeapFailNth(1);  // nothing is allocated but an output array
      ASSERT_EQ(oprj_Project(in.data(), pair->in, out.data(), pair->out, count, err), out.data())
          << err.chain();
      EXPECT_EQ(omsc_HeapFailNth(0), 0);
      EXPECT_EQ(omsc_HeapBlockCount(), blocks);
      EXPECT_TRUE(same(out.data(), one.data(), static_cast<size_t>(count))) << count;
      if (count < kCount) {
        EXPECT_EQ(out[static_cast<size_t>(count)].x, kUntouched.x) << count;
      }
    }
    const auto anew = [&](Oerr_Report **slot) {
      Oprj_Point *made = oprj_ProjectPair(pair.get(), in.data(), nullptr, kCount, slot);
      const bool done = made && same(made, one.data(), kCount);
      oprj_PointsFree(&made);
      return done;
    };
    inThreads(4, [&](size_t) {
      for (int run = 0; run < 20; ++run) EXPECT_TRUE(anew(nullptr));
    });
    forEachAllocationFailure(anew);
  }
}

// The whole way against PROJ: signs and order of inverse, shift and forward.
TEST(Pipeline, AgreesWithProj) {
  const auto pair = makePair(transverseMercator(9, "International 1909", "European 1950 (Mean)"),
                             makeRecord(1, {0, 0, 0, 0}, "WGS 84", "WGS 84", 32));
  const std::unique_ptr<PJ, PJ *(*)(PJ *)> peer(
      proj_create(nullptr,
                  "+proj=pipeline "
                  "+step +inv +proj=tmerc +approx +lon_0=9 +k=0.9996 +x_0=500000 +ellps=intl "
                  "+step +proj=molodensky +ellps=intl +da=-251 +df=-1.41927026e-05 "
                  "+dx=-87 +dy=-98 +dz=-121 "
                  "+step +proj=utm +approx +zone=32 +ellps=WGS84"),
      proj_destroy);
  ASSERT_NE(peer, nullptr);
  const Points in = spread(true);
  Points out(kCount);
  EXPECT_NE(oprj_ProjectPair(pair.get(), in.data(), out.data(), kCount, nullptr), nullptr);
  double worst = 0;
  for (size_t i = 0; i < kCount; ++i) {
    const PJ_COORD p = proj_trans(peer.get(), PJ_FWD, proj_coord(in[i].x, in[i].y, 0, 0));
    worst = std::max({worst, std::abs(p.xy.x - out[i].x), std::abs(p.xy.y - out[i].y)});
  }
  EXPECT_LT(worst, 1e-5);
  EXPECT_GT(std::abs(out[0].x - in[0].x), 50) << "the shift is there";
}

TEST(Pipeline, StageByStageDecidesWhatIsReportedAndWritten) {
  const char *const inverse =
      "ProjectionApplyInverse failed (10205) < nativeProjectionApplyInverse: toLL failed (1) < "
      "markedToLL: stopped (4)";
  const char *const shift =
      "GCSTransform failed (10212) < nativeGCSTransform: oprj_DatumShift failed (16350) < "
      "oprj_DatumShift: ";
  const char *const forward =
      "ProjectionApply failed (10220) < nativeProjectionApply: fromLL failed (1) < "
      "markedFromLL: stopped (4)";
  const struct {
    const char *what;
    int32_t stopInverse, stopForward;  ///< index of the point that a leg stops at, or -1
    bool stopShift;
    const char *chain;
    int32_t stopped, inverted, projected;  ///< the point told, and how many got through each leg
  } rows[] = {{"inverse late, forward early", 2500, 10, false, inverse, 2500, 2500, 0},
              {"inverse first", 0, -1, false, inverse, 0, 0, 0},
              {"shift before forward", -1, 10, true, shift, -1, kCount, 0},
              {"inverse before shift", 2900, -1, true, inverse, 2900, 2900, 0},
              {"forward in a later tile", -1, 2047, false, forward, 2047, kCount, 2047}};
  Points in(kCount);
  for (int32_t i = 0; i < kCount; ++i) in[static_cast<size_t>(i)] = {2000.0 * i, -2000.0 * i};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.what);
    const auto record = geographic(), target = geographic();
    if (row.stopShift) {  // a datum that no table holds
      target->proSpheroid->datum->type = OPRJ_DATUM_GRID;
      oprj_CharStrCreate("nowhere", &target->proSpheroid->datum->datumname, nullptr);
    }
    record->proNumber = 1000;
    target->proNumber = 1001;
    const LeakCheck leaks;
    const auto from = marked::handle(record, {0, kNaN, 2000.0 * row.stopInverse});
    const auto to = marked::handle(target, {5, 1000.0 * row.stopForward, kNaN});
    for (const bool units : {false, true}) {
      Points out(kCount, kUntouched), given = in;
      if (units)
        for (auto &p : given) p = {p.x / 1000, p.y / 1000};
      const Points before = given;
      Slot err;
      const auto project = [&](Oprj_Point *result) {
        return units ? oprj_ProjectWithUnits(given.data(), from.get(), "kilometers", result,
                                             to.get(), "meters", kCount, err)
                     : oprj_Project(given.data(), from.get(), result, to.get(), kCount, err);
      };
      // The point is told as it was given, also when it is overwritten.
      const auto refuses = [&](Oprj_Point *result) {
        EXPECT_EQ(project(result), nullptr);
        expectChain(
            err, (units ? "oprj_ProjectWithUnits: Error returned from oprj_Project (6) < " : "") +
                     std::string("oprj_Project: ") + row.chain);
        int64_t index = -1;
        Oprj_Point told{};
        EXPECT_EQ(oerr_PointGet(err.get(), &index, &told.x, &told.y), row.stopped >= 0);
        EXPECT_EQ(index, row.stopped);
        EXPECT_TRUE(row.stopped < 0 || same(&told, &before[static_cast<size_t>(row.stopped)], 1));
      };
      refuses(out.data());
      for (int32_t i = 0; i < kCount; ++i) {
        const double at = i < row.projected  ? 2000.0 * i + 5
                          : i < row.inverted ? 1000.0 * i
                                             : kUntouched.x;
        ASSERT_NEAR(out[static_cast<size_t>(i)].x, at, 1e-9) << i;
      }
      EXPECT_TRUE(same(given.data(), before.data(), kCount)) << "input arrays are never changed";
      refuses(nullptr);  // and the array made for it is gone again: LeakCheck
      refuses(given.data());
    }
  }
}

TEST(Pipeline, EqualSystemsCopyTheirPoints) {
  const LeakCheck leaks;
  const auto pair = makePair(transverseMercator(9), transverseMercator(9));
  Points in = spread(true);
  in[7] = {kNaN, 1e300};
  Slot err;
  Oprj_Point *out = oprj_ProjectPair(pair.get(), in.data(), nullptr, kCount, err);
  ASSERT_NE(out, nullptr) << err.chain();
  EXPECT_TRUE(same(in.data(), out, kCount));
  oprj_PointsFree(&out);
  out = oprj_Project(in.data(), nullptr, nullptr, nullptr, -5, err);
  EXPECT_NE(out, nullptr) << "two missing handles are equal, a negative count is none";
  oprj_PointsFree(&out);
  expectFailure(oprj_ProjectPair(pair.get(), nullptr, nullptr, 3, err), err,
                "oprj_ProjectPair: Error returned from oprj_Project (1) < "
                "oprj_Project: oprj_PointsCopy failed (10152) < oprj_PointsCopy: ");
}

TEST(Pipeline, ReportsWhatItCannotCombine) {
  const LeakCheck leaks;
  const auto mercator = makeHandle(transverseMercator(9)), plain = makeHandle(geographic()),
             shifted = makeHandle(geographic("Clarke 1866", "Clarke 1866"));
  const HandlePtr engine(oprj_ProjectionInitInternal(OPRJ_TITLE_PE, nullptr, nullptr)),
      engine2(oprj_ProjectionInitInternal(OPRJ_TITLE_PE, nullptr, nullptr));
  const auto record = geographic();
  const auto bare = marked::handle(record, {});
  oprj_ProParametersFree(&static_cast<Oprj_MapProjection *>(bare->ownedData)->proParameters);
  // A handle whose set compares, but has no geographic system to give.
  Oprj_MapProjectionFunctions lacking = *plain->functions;
  lacking.gcsrGet = [](const void *, const char *, Oerr_Report **slot) -> const void * {
    *slot = oerr_CreateErrorReport("test", 1, 2, nullptr, "no system");
    return nullptr;
  };
  Oprj_MapProjectionEx vague = *plain;
  vague.functions = &lacking;
  Oprj_Point point{0.1, 0.2}, out{};
  const struct {
    const Oprj_MapProjectionEx *in, *out;
    int32_t count, code;
    const char *message;
  } rows[] = {{plain.get(), nullptr, 1, 10187, "Unimplemented"},
              {nullptr, plain.get(), 1, 10187, "Unimplemented"},
              {plain.get(), engine.get(), 1, 10187, "Unimplemented"},
              {engine.get(), engine2.get(), 1, 10146, "oprj_MapProjectionEqual failed"},
              {bare.get(), plain.get(), 1, 10146, "oprj_MapProjectionEqual failed"},
              {&vague, mercator.get(), 1, 10192, "ProjectionGCSRGet failed"},
              {mercator.get(), &vague, 1, 10196, "ProjectionGCSRGet failed"},
              {shifted.get(), mercator.get(), 0, 10212, "GCSTransform failed"},
              {shifted.get(), mercator.get(), -1, 10212, "GCSTransform failed"},
              {plain.get(), mercator.get(), 0, 0, ""}};
  Slot err;
  for (const auto &row : rows) {
    for (Oprj_Point *result : {&out, static_cast<Oprj_Point *>(nullptr)}) {
      Oprj_Point *made = oprj_Project(&point, row.in, result, row.out, row.count, err);
      EXPECT_EQ(made != nullptr, row.code == 0);
      if (row.code != 0) expectReport(err, "oprj_Project", row.code, row.message);
      if (!result) oprj_PointsFree(&made);
    }
  }
  expectFailure(oprj_Project(nullptr, plain.get(), &out, mercator.get(), 1, err), err,
                "oprj_Project: ProjectionApplyInverse failed (10205)");
  for (const auto leg : {oprj_ProjectToLatLon, oprj_ProjectFromLatLon}) {
    EXPECT_EQ(leg(&point, nullptr, nullptr, 1, err), nullptr);
    EXPECT_TRUE(err.chain().ends_with("LatLon: Invalid input projection (1)")) << err.chain();
    EXPECT_EQ(leg(nullptr, mercator.get(), nullptr, 1, err), nullptr);
    EXPECT_EQ(oerr_CodeGet(err.get()), 3) << err.chain();
  }
  expectFailure(oprj_ProjectPair(nullptr, &point, &out, 1, err), err,
                "oprj_ProjectPair: Invalid input Oprj_ProjectionPair (2)");

  // An undefined datum on either side, or a missing name, turns the shift off.
  Oprj_Point direct{};
  oprj_ProjectFromLatLon(&point, mercator.get(), &direct, 1, err);
  for (const int what : {0, 1, 2}) {
    const auto source = geographic("Clarke 1866", "Clarke 1866");
    if (what == 0) source->proSpheroid->datum->type = OPRJ_DATUM_NONE;
    if (what == 1) oprj_CharStrFree(&source->proSpheroid->datum->datumname);
    if (what == 2) oprj_CharStrFree(&source->proSpheroid->sphereName);
    oprj_Project(&point, makeHandle(source).get(), &out, mercator.get(), 1, err);
    expectNoReport(err);
    EXPECT_TRUE(same(&out, &direct, 1)) << what;
  }
}

// What a child process computes goes there once; all else twice at most when a call fails.
TEST(Pipeline, NoPointIsRepeatedWhereALegForbidsIt) {
  Points in(kCount), out(kCount);
  for (int32_t i = 0; i < kCount; ++i) in[static_cast<size_t>(i)] = {2000.0 * i, -2000.0 * i};
  for (const auto type : {OPRJ_EXTERNAL, OPRJ_INTERNAL}) {
    const auto record = geographic(), target = geographic();
    record->proNumber = 1000;
    target->proNumber = 1001;
    record->proType = target->proType = type;
    oprj_CharStrCreate("its program", &record->proExeName, nullptr);
    const auto from = marked::handle(record, {0, kNaN, 2000.0 * 2500});
    const auto to = marked::handle(target, {5, kNaN, kNaN});
    marked::passed = 0;
    EXPECT_EQ(oprj_Project(in.data(), from.get(), out.data(), to.get(), kCount, nullptr), nullptr);
    if (type == OPRJ_EXTERNAL) {
      EXPECT_EQ(marked::passed, 2501);
    }
    EXPECT_LE(marked::passed, 2 * (kCount + kCount));
  }
}

// A thread keeps what it decided about its last pairs. Another, which has projected between others
// since it came, is the oracle.
TEST(Pipeline, WhatWasDecidedOnceServesNoOtherSystems) {
  using Change = void (*)(Oprj_ProParameters &);
  struct {
    const char *what;
    Change change;
  } const changes[] = {
      {"nothing", [](Oprj_ProParameters &) {}},
      {"datum parameter", [](Oprj_ProParameters &r) { r.proSpheroid->datum->params.data[1] += 9; }},
      {"axis", [](Oprj_ProParameters &r) { r.proSpheroid->a += 100; }},
      {"e squared", [](Oprj_ProParameters &r) { r.proSpheroid->eSquared = 0; }},
      {"datum type", [](Oprj_ProParameters &r) { r.proSpheroid->datum->type = OPRJ_DATUM_NONE; }},
      {"datum name",
       [](Oprj_ProParameters &r) {
         oprj_CharStrCreate("WGS 84", &r.proSpheroid->datum->datumname, nullptr);
       }},
      {"datum name where it stood",
       [](Oprj_ProParameters &r) { std::strcpy(r.proSpheroid->datum->datumname.data, "WGS 84"); }},
      {"spheroid name",
       [](Oprj_ProParameters &r) { oprj_CharStrFree(&r.proSpheroid->sphereName); }},
      {"spheroid name where it stood",
       [](Oprj_ProParameters &r) { *r.proSpheroid->sphereName.data = 0; }},
      {"entries", [](Oprj_ProParameters &r) { r.proParams.data[4] = 12 * kDegree; }},
      {"number", [](Oprj_ProParameters &r) { r.proNumber = 1; }},
      {"all that made them differ",
       [](Oprj_ProParameters &r) {
         r.proParams.data[4] = 12 * kDegree;
         oprj_SpheroidByName(theToolkit(), "WGS 84", r.proSpheroid, nullptr);
         oprj_DatumByName(theToolkit(), "WGS 84", "WGS 84", r.proSpheroid->datum, nullptr);
       }},
      {"spheroid gone", [](Oprj_ProParameters &r) { oprj_SpheroidFree(&r.proSpheroid); }},
      {"entries gone", [](Oprj_ProParameters &r) { oprj_DblArrayFree(&r.proParams); }}};
  const auto record = transverseMercator(9, "International 1909", "European 1950 (Mean)"),
             other = transverseMercator(9, "Clarke 1866", "Clarke 1866");
  const Oprj_Point point{612345, 5123456};
  std::vector<PairPtr> unlike;
  for (int zone = 20; zone < 24; ++zone)
    unlike.push_back(makePair(transverseMercator(zone), transverseMercator(40)));
  struct Outcome {
    Oprj_Point out = kUntouched;
    std::string chain;
    explicit Outcome(const Oprj_ProjectionPair &pair, const Oprj_Point &in) {
      Slot err;
      oprj_Project(&in, pair.in, &out, pair.out, 1, err);
      chain = err.chain();
    }
  };
  const auto forget = [&] {
    for (const auto &others : unlike) Outcome(*others, point);
  };
  const auto check = [&](const Oprj_ProjectionPair &pair) {
    const Outcome here(pair, point);
    inThreads(1, [&](size_t) {
      forget();
      const Outcome anew(pair, point);
      EXPECT_TRUE(same(&here.out, &anew.out, 1));
      EXPECT_EQ(here.chain, anew.chain);
    });
  };
  for (const auto &[what, change] : changes) {
    SCOPED_TRACE(what);
    const auto pair = makePair(record, transverseMercator(12));
    forget();
    check(*pair);
    change(*static_cast<Oprj_MapProjection *>(pair->in->ownedData)->proParameters);
    check(*pair);
  }
  // Handles that are freed and made anew where the old ones lay; replaced; alternating.
  const auto pair = makePair(record, transverseMercator(12));
  for (int i = 0; i < 20; ++i) {
    oprj_ProjectionFree(&pair->in);
    oprj_ProjectionInit(theToolkit(), (i % 3 ? record : other).get(), &pair->in, nullptr);
    check(*pair);
  }
}

// --- a result for every point ---

constexpr Oprj_ProjectOptions kPlain = OPRJ_PROJECT_OPTIONS;

/// A handle of every kind of trouble: what has no place on the sheet, on the globe, no number.
struct EachCase {
  const char *what;
  RecordPtr in, out;
  std::vector<std::pair<Oprj_Point, Oprj_PointReason>> points;
  double verify = 0.0;
};
std::vector<EachCase> eachCases() {
  const double infinity = std::numeric_limits<double>::infinity();
  const auto orthographic = [] { return makeRecord(14, {0, 0, 0, 0, 0.2, 0.7, 0, 0}); };
  RecordPtr atlantis = geographic("Clarke 1866", "Clarke 1866");
  atlantis->proSpheroid->datum->type = OPRJ_DATUM_REGRESSION;
  oprj_CharStrCreate("Atlantis", &atlantis->proSpheroid->datum->datumname, nullptr);
  std::vector<EachCase> cases;
  cases.push_back({"forward",
                   geographic(),
                   orthographic(),
                   {{{0.2, 0.7}, OPRJ_POINT_GOOD},
                    {{-2.9, -0.7}, OPRJ_POINT_OUTSIDE_DOMAIN},
                    {{kNaN, 0.7}, OPRJ_POINT_NOT_A_NUMBER},
                    {{0.1, 1.6}, OPRJ_POINT_OUTSIDE_DOMAIN},
                    {{infinity, 0.1}, OPRJ_POINT_OUTSIDE_DOMAIN}}});
  cases.push_back({"inverse",
                   orthographic(),
                   geographic("Clarke 1866", "Clarke 1866"),
                   {{{1e6, 2e6}, OPRJ_POINT_GOOD},
                    {{7e6, 0}, OPRJ_POINT_OUTSIDE_SHEET},
                    {{1, kNaN}, OPRJ_POINT_NOT_A_NUMBER},
                    {{1, -infinity}, OPRJ_POINT_OUTSIDE_SHEET}}});
  cases.push_back({"both legs",
                   orthographic(),
                   makeRecord(13, {0, 0, 0, 0, 0.3, 0.6, 0, 0}, "Clarke 1866", "Clarke 1866"),
                   {{{1e6, 2e6}, OPRJ_POINT_GOOD},
                    {{7e6, 0}, OPRJ_POINT_OUTSIDE_SHEET},
                    {{-6.37e6, 0}, OPRJ_POINT_OUTSIDE_DOMAIN},
                    {{kNaN, kNaN}, OPRJ_POINT_NOT_A_NUMBER}}});
  cases.push_back(
      {"a shift that gives nothing",
       std::move(atlantis),
       geographic(),
       {{{0.1, 0.2}, OPRJ_POINT_SHIFT_FAILED}, {{kNaN, 0.2}, OPRJ_POINT_NOT_A_NUMBER}}});
  cases.push_back({"outside of a regression's area",
                   geographic("Clarke 1866", "NAD27 (CONUS) (MRE)"),
                   geographic(),
                   {{{-1.5, 0.7}, OPRJ_POINT_GOOD}, {{0.2, 0.7}, OPRJ_POINT_OUTSIDE_REGRESSION}}});
  cases.push_back({"the same system",
                   transverseMercator(9),
                   transverseMercator(9),
                   {{{1, 2}, OPRJ_POINT_GOOD}, {{1, kNaN}, OPRJ_POINT_NOT_A_NUMBER}},
                   1e-3});
  // Far from its meridian the series of Transverse Mercator no longer belong together; with a
  // shift, whose way back is not exact.
  cases.push_back({"verified forward",
                   geographic("International 1909", "European 1950 (Mean)"),
                   transverseMercator(9),
                   {{{10 * kDegree, 0.8}, OPRJ_POINT_GOOD},
                    {{70 * kDegree, 0.8}, OPRJ_POINT_INACCURATE},
                    {{kNaN, 0.8}, OPRJ_POINT_NOT_A_NUMBER},
                    {{12 * kDegree, -0.8}, OPRJ_POINT_GOOD}},
                   1e-3});
  cases.push_back({"verified inverse",
                   transverseMercator(9),
                   geographic("International 1909", "European 1950 (Mean)"),
                   {{{5e5, 4e6}, OPRJ_POINT_GOOD},
                    {{6e6, 4e6}, OPRJ_POINT_INACCURATE},
                    {{6e5, -4e6}, OPRJ_POINT_GOOD}},
                   1e-3});
  // Beyond 180 degrees / B (B of the aposphere, 1.001 here) from the line's node the sheet of an
  // oblique Mercator overlaps itself.
  RecordPtr oblique =
      makeRecord(20, {0, 0, 1, 30 * kDegree, -100 * kDegree, 40 * kDegree, 0, 0, 0, 0, 0, 0, 1});
  const auto handle = makeHandle(oblique);
  const double node = static_cast<Oprj_MapProjection *>(handle->ownedData)->parameters[10];
  cases.push_back({"verified overlap",
                   geographic(),
                   std::move(oblique),
                   {{{node + 178 * kDegree, 0.3}, OPRJ_POINT_GOOD},
                    {{node + 179.95 * kDegree, 0.3}, OPRJ_POINT_INACCURATE}},
                   1e-3});
  return cases;
}

TEST(Each, GoodPointsAreThoseOfThePairAndBadOnesHaveTheirReason) {
  for (const EachCase &job : eachCases()) {
    SCOPED_TRACE(job.what);
    const auto pair = makePair(job.in, job.out);
    const LogCapture log;
    constexpr int64_t kMany = 40000;  // several turns for every thread
    Points in(kMany), expected(kMany);
    std::vector<Oprj_PointReason> reasons(kMany), why(kMany);
    int64_t good = 0;
    for (size_t i = 0; i < in.size(); ++i) {
      const auto &[point, reason] = job.points[i * i % 1013 % job.points.size()];
      in[i] = point;
      why[i] = reason;
      Slot err;
      if (reason == OPRJ_POINT_GOOD) oprj_ProjectPair(pair.get(), &point, &expected[i], 1, err);
      else expected[i] = {kNaN, kNaN};
      good += reason == OPRJ_POINT_GOOD;
    }
    const auto check = [&](const char *what, const Points &out, int64_t count, int64_t returned) {
      SCOPED_TRACE(what);
      if (count == kMany) {
        EXPECT_EQ(returned, good);
      }
      for (size_t i = 0; i < static_cast<size_t>(count); ++i) {
        ASSERT_STREQ(oprj_PointReasonText(reasons[i]), oprj_PointReasonText(why[i])) << i;
        ASSERT_TRUE(reasons[i] ? std::isnan(out[i].x) && std::isnan(out[i].y)
                               : same(&out[i], &expected[i], 1))
            << i;
      }
    };
    Slot err;
    Oprj_ProjectOptions options = kPlain;
    options.verify = job.verify;
    for (const int32_t threads : {0, 1, 2, 5}) {
      options.threads = threads;
      for (const int64_t count : {int64_t{1}, int64_t{1025}, kMany}) {
        Points out(kMany, kUntouched);
        Oprj_ShiftTally before, after;
        oprj_ShiftTallyGet(&before);
        check("apart", out, count,
              oprj_ProjectEach(pair.get(), in.data(), out.data(), reasons.data(), &options, count,
                               err));
        expectNoReport(err);
        oprj_ShiftTallyGet(&after);
        EXPECT_EQ(
            after.outsideArea - before.outsideArea,
            std::count(reasons.begin(), reasons.begin() + count, OPRJ_POINT_OUTSIDE_REGRESSION))
            << "of all threads";
        if (count < kMany) {
          EXPECT_EQ(out[static_cast<size_t>(count)].x, kUntouched.x);
        }
      }
      Points out = in;
      check("in place", out, kMany,
            oprj_ProjectEach(pair.get(), out.data(), out.data(), reasons.data(), &options, kMany,
                             err));
      EXPECT_EQ(oprj_ProjectEach(pair.get(), in.data(), out.data(), nullptr, &options, kMany, err),
                good);
    }
    // Points within larger records, not aligned.
    constexpr size_t kStride = 29;
    std::vector<char> records(kStride * in.size(), 'x'), results(20 * in.size(), 'x');
    for (size_t i = 0; i < in.size(); ++i) std::memcpy(&records[kStride * i], &in[i], sizeof in[i]);
    options.inStride = kStride;
    options.outStride = 20;
    const auto at = [](std::vector<char> &bytes) {
      return reinterpret_cast<Oprj_Point *>(bytes.data());
    };
    const int64_t returned = oprj_ProjectEach(pair.get(), at(records), at(results), reasons.data(),
                                              &options, kMany, err);
    Points out(kMany);
    for (size_t i = 0; i < out.size(); ++i) std::memcpy(&out[i], &results[20 * i], sizeof out[i]);
    check("strides", out, kMany, returned);
    EXPECT_EQ(results[20 * in.size() - 1], 'x') << "nothing but the points is written";
  }
}

TEST(Each, UnitsAreThoseOfThePairWithUnits) {
  const auto pair = makePair(transverseMercator(9), geographic("Clarke 1866", "Clarke 1866"));
  const Points in = spread(true);
  Points out(kCount), expected(kCount);
  Oprj_ProjectOptions options = kPlain;
  options.inUnit = "feet";
  options.outUnit = "degrees";
  options.verify = 1e-3;
  Slot err;
  oprj_ProjectPairWithUnits(pair.get(), in.data(), "feet", expected.data(), "degrees", kCount, err);
  EXPECT_EQ(oprj_ProjectEach(pair.get(), in.data(), out.data(), nullptr, &options, kCount, err),
            kCount);
  EXPECT_TRUE(same(out.data(), expected.data(), kCount));
}

TEST(Each, ReportsOnlyWhatConcernsTheWholeCall) {
  const auto plain = geographic(), mercator = transverseMercator(9),
             grid = geographic("Clarke 1866", "Clarke 1866");
  grid->proSpheroid->datum->type = OPRJ_DATUM_GRID;
  oprj_CharStrCreate("nowhere", &grid->proSpheroid->datum->datumname, nullptr);
  const auto pair = makePair(plain, mercator), lost = makePair(grid, mercator);
  const Oprj_ProjectionPair none{pair->in, nullptr};
  struct Later {
    Oprj_ProjectOptions known;
    int64_t unknown;
  };
  Later later{kPlain, 1};
  later.known.size = sizeof later;
  Oprj_Point in{0.1, 0.2}, out{};
  Slot err;
  Oprj_ProjectOptions options = kPlain;
  const auto refuses = [&](const Oprj_ProjectionPair *through, const Oprj_Point *from,
                           Oprj_Point *to, const Oprj_ProjectOptions *chosen,
                           const std::string &chain) {
    EXPECT_EQ(oprj_ProjectEach(through, from, to, nullptr, chosen, 1, err), 0);
    expectChain(err, "oprj_ProjectEach: " + chain);
    options = kPlain;
  };
  const std::string invalid = "Invalid project options: ", units = "Error returned from ";
  refuses(nullptr, &in, &out, nullptr, "Invalid input Oprj_ProjectionPair (1)");
  refuses(pair.get(), nullptr, &out, nullptr, "Invalid input points (2)");
  refuses(pair.get(), &in, nullptr, nullptr, "Invalid output points (3)");
  options.size = 8;
  refuses(pair.get(), &in, &out, &options, invalid + "size 8 (4)");
  refuses(pair.get(), &in, &out, &later.known,
          invalid + "made for a later version of the library (4)");
  options.inStride = 15;
  refuses(pair.get(), &in, &out, &options, invalid + "stride 15 (4)");
  options.outStride = 24;
  refuses(pair.get(), &in, &in, &options, invalid + "in place with two strides (4)");
  options.threads = -1;
  refuses(pair.get(), &in, &out, &options, invalid + "-1 threads (4)");
  options.verify = kNaN;
  refuses(pair.get(), &in, &out, &options, invalid + "verify nan (4)");
  options.inUnit = "feet";
  refuses(pair.get(), &in, &out, &options,
          units + "oprj_PointsConvertByUnitName for input LL (5) < oprj_PointsConvertByUnitName: ");
  options.outUnit = "furlongs";
  refuses(pair.get(), &in, &out, &options,
          units + "oprj_PointsConvertByUnitName for output projected points (7)");
  refuses(&none, &in, &out, nullptr,
          units + "oprj_Project (6) < oprj_Project: Unimplemented (10187)");
  refuses(lost.get(), &in, &out, nullptr,
          units +
              "oprj_Project (6) < oprj_Project: GCSTransform failed (10212) < "
              "nativeGCSTransform: oprj_DatumShift failed (16350) < oprj_DatumShift: ");
  later.unknown = 0;
  EXPECT_EQ(oprj_ProjectEach(pair.get(), &in, &out, nullptr, &later.known, 1, err), 1);
  EXPECT_EQ(oprj_ProjectEach(pair.get(), &in, &out, nullptr, nullptr, -1, err), 0);
  expectNoReport(err);
  EXPECT_STREQ(oprj_PointReasonText(200), "unknown");
}

// --- units ---

TEST(Units, VariantsAreConversionsAroundTheProjection) {
  const auto pair = makePair(transverseMercator(9), geographic("Clarke 1866", "Clarke 1866"));
  const Points in = spread(true);
  Slot err;
  const auto convert = [&](Points &points, const char *from, const char *to) {
    if (from && to) oprj_PointsConvertByUnitName(points.data(), kCount, from, to, err);
  };
  for (const auto &[inUnit, outUnit] :
       {std::pair<const char *, const char *>{"us_survey_feet", "degrees"},
        {"meters", "radians"},
        {nullptr, "Minutes"},
        {"kilometers", nullptr},
        {nullptr, nullptr}}) {
    SCOPED_TRACE(std::string(inUnit ? inUnit : "-") + " to " + (outUnit ? outUnit : "-"));
    Points metres = in, expected(kCount), out(kCount), given = in;
    convert(metres, inUnit, "meters");
    oprj_ProjectPair(pair.get(), metres.data(), expected.data(), kCount, err);
    convert(expected, "radians", outUnit);
    const int64_t blocks = omsc_HeapBlockCount();
    omsc_HeapFailNth(1);
    EXPECT_NE(oprj_ProjectPairWithUnits(pair.get(), given.data(), inUnit, out.data(), outUnit,
                                        kCount, err),
              nullptr);
    EXPECT_EQ(omsc_HeapFailNth(0), 0) << "no copies of arrays";
    EXPECT_EQ(omsc_HeapBlockCount(), blocks);
    expectNoReport(err);
    EXPECT_TRUE(same(out.data(), expected.data(), kCount));
    EXPECT_TRUE(same(given.data(), in.data(), kCount));

    // The legs alone.
    oprj_ProjectToLatLon(metres.data(), pair->in, expected.data(), kCount, err);
    convert(expected, "radians", outUnit);
    oprj_ProjectToLatLonWithUnits(in.data(), inUnit, pair->in, out.data(), outUnit, kCount, err);
    EXPECT_TRUE(same(out.data(), expected.data(), kCount));
    Points angles = out, back(kCount);
    convert(angles, outUnit, "radians");
    oprj_ProjectFromLatLon(angles.data(), pair->in, expected.data(), kCount, err);
    convert(expected, "meters", inUnit);
    oprj_ProjectFromLatLonWithUnits(out.data(), outUnit, pair->in, back.data(), inUnit, kCount,
                                    err);
    EXPECT_TRUE(same(back.data(), expected.data(), kCount));
  }
  // Between equal systems only the unit changes.
  Oprj_Point feet{3, 6}, metres{};
  oprj_ProjectWithUnits(&feet, pair->in, "feet", &metres, pair->in, "meters", 1, err);
  EXPECT_DOUBLE_EQ(metres.x, 0.9144);
  EXPECT_DOUBLE_EQ(metres.y, 1.8288);
}

TEST(Units, FailuresNameTheStageAndTheKindOfPoints) {
  const LeakCheck leaks;
  const auto mercator = makeHandle(transverseMercator(9)), plain = makeHandle(geographic());
  const HandlePtr engine(oprj_ProjectionInitInternal(OPRJ_TITLE_PE, nullptr, nullptr));
  const auto convert = [](const char *points) {
    return std::string("Error returned from oprj_PointsConvertByUnitName for ") + points;
  };
  const struct {
    const Oprj_MapProjectionEx *in;
    const char *inUnit;
    const Oprj_MapProjectionEx *out;
    const char *outUnit;
    int32_t code;
    std::string message;
  } rows[] = {
      {nullptr, "feet", plain.get(), "degrees", 1, "Invalid input projection"},
      {plain.get(), "feet", nullptr, "degrees", 1, "Invalid input projection"},
      {plain.get(), "feet", engine.get(), "degrees", 2, "OPRJ_PROPARAMETERS_GET failed"},
      {mercator.get(), "furlongs", plain.get(), "?", 5, convert("input projected points")},
      {mercator.get(), "degrees", plain.get(), nullptr, 5, convert("input projected points")},
      {plain.get(), "feet", mercator.get(), nullptr, 5, convert("input LL")},
      {plain.get(), "degrees", mercator.get(), "degrees", 7, convert("output projected points")},
      {mercator.get(), "feet", plain.get(), "other", 7, convert("output LL")}};
  const Oprj_Point point{1, 2};
  Slot err;
  for (const auto &row : rows) {
    EXPECT_FALSE(
        oprj_ProjectWithUnits(&point, row.in, row.inUnit, nullptr, row.out, row.outUnit, 1, err));
    expectReport(err, "oprj_ProjectWithUnits", row.code, row.message.c_str());
  }

  const std::string setUnit = "Error returned from ocvt_UnitSetByName for ";
  for (const auto &[from, to, code, message] :
       {std::tuple<const char *, const char *, int32_t, std::string>{nullptr, "feet", 1,
                                                                     setUnit + "inUnit"},
        {"feet", "fet", 2, setUnit + "outUnit"},
        {"feet", "degrees", 3, "Error returned from ocvt_UnitsConvert for the x value"}}) {
    Oprj_Point kept = point;
    EXPECT_EQ(oprj_PointsConvertByUnitName(&kept, 1, from, to, err), 0);
    expectReport(err, "oprj_PointsConvertByUnitName", code, message.c_str());
    EXPECT_TRUE(same(&kept, &point, 1));
  }
  expectFailure(oprj_PointsConvertByUnitName(nullptr, 1, "feet", "meters", err), err,
                "oprj_PointsConvertByUnitName: Invalid input points (5)");
  EXPECT_EQ(oprj_PointsConvertByUnitName(nullptr, 0, "feet", "meters", err), 1);
}

TEST(Units, SizesOnTheSphere) {
  const LeakCheck leaks;
  Slot err;
  // GRS 1980's authalic radius, 6371007.181 m [Moritz, Geodetic Reference System 1980]; without a
  // record, or with one whose spheroid was never filled in, the nominal sphere.
  const auto grs = geographic("GRS 1980", "NAD83 (DMA)");
  const RecordPtr none, unfilled(oprj_ProParametersCreate(nullptr));
  for (const auto &[record, radius] :
       {std::pair{grs.get(), 6371007.181}, {none.get(), 6370997.0}, {unfilled.get(), 6370997.0}}) {
    const double degree = radius * kDegree;
    EXPECT_NEAR(oprj_ConvertLatSizeToMeters(theToolkit(), record, 1, err), degree, 1e-3);
    EXPECT_NEAR(oprj_ConvertLonSizeToMeters(theToolkit(), record, 2, 60, err), degree, 1e-3);
    EXPECT_NEAR(oprj_ConvertMetersToLatSize(theToolkit(), record, degree, err), 1, 1e-9);
    EXPECT_NEAR(oprj_ConvertMetersToLonSize(theToolkit(), record, degree, -60, err), 2, 1e-9);
  }
  expectNoReport(err);
  oprj_ConvertLonSizeToMeters(nullptr, nullptr, 1, 0, err);
  expectReport(err, "oprj_ConvertLonSizeToMeters", 2, "Error returned from oprj_SpheroidByName");
  oprj_ConvertMetersToLatSize(nullptr, nullptr, 1, err);
  expectReport(err, "oprj_ConvertMetersToLatSize", 2, "Error returned from oprj_SpheroidByName");
  forEachAllocationFailure([&](Oerr_Report **slot) {
    return oprj_ConvertLatSizeToMeters(theToolkit(), nullptr, 1, slot) > 0;
  });
}

}  // namespace
