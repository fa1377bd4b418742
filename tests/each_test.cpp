// A result for every point: good ones as through the pair, a reason for each of the others,
// whatever the count, the threads, the strides and the units.
#include <algorithm>

#include "tests/points_support.h"

namespace {

using namespace orvik::test;

constexpr Oprj_ProjectOptions kPlain = OPRJ_PROJECT_OPTIONS;

/// A handle of every kind of trouble: what has no place on the sheet, on the globe, no number.
struct EachCase {
  const char *what;
  RecordPtr in, out;
  std::vector<std::pair<Oprj_Point, Oprj_PointReason>> points;
  double verify = 0.0;
  int32_t placesOnly = 0;
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
  cases.push_back({"a parametric shift",
                   transverseMercator(9, "International 1909", "European 1950 (Mean)"),
                   transverseMercator(12),
                   {{{5e5, 4e6}, OPRJ_POINT_GOOD},
                    {{kNaN, 4e6}, OPRJ_POINT_NOT_A_NUMBER},
                    {{6e5, -4e6}, OPRJ_POINT_GOOD},
                    {{5.1e9, 0}, OPRJ_POINT_OUTSIDE_SHEET}}});
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
  const double pole = 90 * kDegree;
  const std::vector<std::pair<Oprj_Point, Oprj_PointReason>> placesAndNone = {
      {{0.2, 0.7}, OPRJ_POINT_GOOD},
      {{0.2, -pole}, OPRJ_POINT_GOOD},
      {{0.2, pole + 5e-11}, OPRJ_POINT_GOOD},
      {{0.2, pole + 2e-10}, OPRJ_POINT_OUTSIDE_DOMAIN},
      {{0.2, -40.0 * kDegree - pole}, OPRJ_POINT_OUTSIDE_DOMAIN},
      {{infinity, 0.7}, OPRJ_POINT_OUTSIDE_DOMAIN},
      {{kNaN, 2.0}, OPRJ_POINT_NOT_A_NUMBER},
      {{0.2, kNaN}, OPRJ_POINT_NOT_A_NUMBER}};
  cases.push_back({"places to a sheet", geographic(), transverseMercator(9), placesAndNone, 0, 1});
  cases.push_back({"places of one system", geographic(), geographic(), placesAndNone, 0, 1});
  cases.push_back({"verified places", geographic(), transverseMercator(9), placesAndNone, 1.0, 1});
  cases.push_back({"places between datums",
                   geographic("International 1909", "European 1950 (Mean)"), geographic(),
                   placesAndNone, 0, 1});
  cases.push_back({"places and a regression",
                   geographic("Clarke 1866", "NAD27 (CONUS) (MRE)"),
                   geographic(),
                   {{{-1.5, 0.7}, OPRJ_POINT_GOOD},
                    {{-1.5, 0.7 + pole}, OPRJ_POINT_OUTSIDE_DOMAIN},
                    {{0.2, 0.7}, OPRJ_POINT_OUTSIDE_REGRESSION}},
                   0,
                   1});
  cases.push_back({"places of a sheet",
                   transverseMercator(9),
                   geographic(),
                   {{{5e5, 4e6}, OPRJ_POINT_GOOD}, {{1, kNaN}, OPRJ_POINT_NOT_A_NUMBER}},
                   0,
                   1});
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
    options.placesOnly = job.placesOnly;
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

// A function of somebody else's may lead anywhere.
TEST(Each, ResultsBeyondAPoleAreNoPlaces) {
  const auto pair = makePair(transverseMercator(9), geographic());
  pair->in->applyInverse = [](void *, const Oprj_Point *in, Oprj_Point *out, int32_t count,
                              Oerr_Report **) {
    for (int32_t i = 0; i < count; ++i) out[i] = {in[i].x * 1e-6, in[i].y * 1e-6};
  };
  const Points in = {{1e6, 1e6}, {1e6, 2e6}, {1e6, -2e6}};
  Oprj_ProjectOptions options = kPlain;
  for (options.placesOnly = 0; options.placesOnly < 2; ++options.placesOnly) {
    Points out(in.size());
    Oprj_PointReason reasons[3];
    Slot err;
    const bool refuses = options.placesOnly;
    EXPECT_EQ(oprj_ProjectEach(pair.get(), in.data(), out.data(), reasons, &options, 3, err),
              refuses ? 1 : 3);
    expectNoReport(err);
    EXPECT_DOUBLE_EQ(out[0].y, 1);
    EXPECT_EQ(reasons[0], OPRJ_POINT_GOOD);
    for (const size_t i : {1, 2}) {
      EXPECT_EQ(std::isnan(out[i].y), refuses);
      EXPECT_EQ(reasons[i], refuses ? OPRJ_POINT_OUTSIDE_DOMAIN : OPRJ_POINT_GOOD);
    }
  }
}

TEST(Each, UnitsAreThoseOfThePairWithUnits) {
  const auto pair = makePair(transverseMercator(9), geographic("Clarke 1866", "Clarke 1866"));
  const Points in = spread(true);
  Points out(kCount), expected(kCount);
  Oprj_ProjectOptions options = kPlain;
  options.inUnit = "feet";
  options.outUnit = "degrees";
  Slot err;
  oprj_ProjectPairWithUnits(pair.get(), in.data(), "feet", expected.data(), "degrees", kCount, err);
  for (const double verify : {0.0, 1e-3}) {
    options.verify = verify;
    EXPECT_EQ(oprj_ProjectEach(pair.get(), in.data(), out.data(), nullptr, &options, kCount, err),
              kCount);
    EXPECT_TRUE(same(out.data(), expected.data(), kCount)) << verify;
  }
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

}  // namespace
