// Arrays of points from system to system: the same results for every count, exact reports, what
// the output holds after a failure, units, sizes, threads, memory.
#include <proj.h>

#include "tests/points_support.h"

namespace {

using namespace orvik::test;

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
