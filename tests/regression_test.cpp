// Multiple regression shifts: the report's test cases, values of independent transcriptions, the
// grid of the same datum, special points, instruction sets.
#include <algorithm>
#include <memory>
#include <random>
#include <tuple>

#include "lanes/kernels.h"
#include "tests/datum_support.h"

namespace {

using namespace orvik::test;
using orvik::oprj::chooseInstructionSet;
using orvik::oprj::widestInstructionSet;

constexpr double kPi = 3.14159265358979323846, kDeg = kPi / 180, kSecond = kDeg / 3600;
constexpr const char *kConus = "NAD27 (CONUS) (MRE)";

Points run(const char *datum, const Points &in, int32_t direction) {
  Points out(in.size(), {0.25, 4});
  Slot slot;
  oprj_DatumShiftRegression(in.data(), out.data(), static_cast<int32_t>(in.size()), datum,
                            direction, slot);
  expectNoReport(slot);
  return out;
}

TEST(Regression, ReproducesPrintedShifts) {
  struct {
    const char *datum;
    double lat, lon;            // degrees; printed as degrees, minutes, seconds
    double dLat, dLon;          // arc-seconds
    double latDigit, lonDigit;  // half of the last printed one, or what the note says
  } const cases[] = {
      // [TR8350.2-B], the case printed with each set; that of the first prints 5.480 for 5.4806
      {"Australian Geodetic 1966 (MRE)", -17 - 32.776 / 3600, 144 + 11 / 60. + 37.245 / 3600, 5.480,
       3.922, 7e-4, 5e-4},
      {"Australian Geodetic 1984 (MRE)", -20 - 38 / 60. - 0.673 / 3600,
       144 + 24 / 60. + 29.288 / 3600, 5.505, 4.109, 5e-4, 5e-4},
      {"Campo Inchauspe (MRE)", -29 - 47 / 60. - 45.682 / 3600, 301 + 52 / 60. + 21.803 / 3600,
       1.953, -1.963, 5.1e-4, 5e-4},
      {"Corrego Alegre (MRE)", -20 - 29 / 60. - 1.019 / 3600, 305 + 12 / 60. + 46.829 / 3600,
       -1.030, -2.101, 5e-4, 5e-4},
      {"European 1950 (West Europe) (MRE)", 46 + 41 / 60. + 42.893 / 3600,
       13 + 54 / 60. + 54.088 / 3600, -3.081, -3.486, 5e-4, 5e-4},
      {"NAD27 (Canada) (MRE)", 54 + 26 / 60. + 8.667 / 3600, 249 + 42 / 60. + 57.590 / 3600, 0.289,
       -3.156, 5e-4, 5e-4},
      {kConus, 34 + 47 / 60. + 8.833 / 3600, 273 + 25 / 60. + 7.825 / 3600, 0.356, 0.080, 5.1e-4,
       5e-4},
      {"SAD69 (MRE)", -31 - 56 / 60. - 33.954 / 3600, 294 + 53 / 60. + 41.342 / 3600, -1.356,
       -2.158, 5e-4, 5e-4},
      // independent evaluations of the same sets elsewhere in their areas
      {"Australian Geodetic 1966 (MRE)", -31.5, 117, 4.393558, 5.308964, 5e-6, 5e-6},
      {"Australian Geodetic 1984 (MRE)", -27, 153, 5.710395, 3.970885, 5e-6, 5e-6},
      {"Campo Inchauspe (MRE)", -41.1, -71.3, 1.339302, -3.761460, 5e-6, 5e-6},
      {"Corrego Alegre (MRE)", -12.9, -38.4, -0.846869, 0.094357, 5e-6, 5e-6},
      {"European 1950 (West Europe) (MRE)", 60, 10, -1.680017, -5.132322, 5e-6, 5e-6},
      {"NAD27 (Canada) (MRE)", 47.6, -52.8, -0.213940, 3.576979, 5e-6, 5e-6},
      {"NAD27 (Canada) (MRE)", 62.5, -114.4, 0.747375, -4.542596, 5e-6, 5e-6},
      {kConus, 44.8, -68.8, 0.202934, 1.857721, 5e-6, 5e-6},
      {"SAD69 (MRE)", 4.6, -74.1, -1.198905, -1.385903, 5e-6, 5e-6},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.datum + std::string(" at ") + std::to_string(c.lat));
    const Oprj_Point in = {std::remainder(c.lon, 360) * kDeg, c.lat * kDeg};
    const Oprj_Point to = run(c.datum, {in}, 1)[0], back = run(c.datum, {in}, 0)[0];
    EXPECT_NEAR((to.x - in.x) / kSecond, c.dLon, c.lonDigit);
    EXPECT_NEAR((to.y - in.y) / kSecond, c.dLat, c.latDigit);
    // against the direction: a single evaluation at the given point
    EXPECT_NEAR(back.x, 2 * in.x - to.x, 1e-15);
    EXPECT_NEAR(back.y, 2 * in.y - to.y, 1e-15);
  }
  // there and back does not return, because the inverse does not iterate
  const Points start = {{-122.5 * kDeg, 47.25 * kDeg}};
  const Oprj_Point returned = run(kConus, run(kConus, start, 1), 0)[0];
  EXPECT_NEAR(std::fabs(returned.x - start[0].x) / kSecond, 1.1e-4, 5e-6);
  EXPECT_NEAR(std::fabs(returned.y - start[0].y) / kSecond, 4.2e-5, 5e-7);
}

TEST(Regression, StaysByTheGridOfTheSameDatum) {
  const std::unique_ptr<Oprj_Spheroid, void (*)(Oprj_Spheroid *)> nad27(
      oprj_SpheroidCreate(nullptr), [](Oprj_Spheroid *s) { oprj_SpheroidFree(&s); });
  Oint_Toolkit *toolkit = oint_InitToolkit(nullptr);
  ASSERT_TRUE(oprj_SpheroidByName(toolkit, "Clarke 1866", nad27.get(), nullptr));
  ASSERT_TRUE(oprj_DatumByName(toolkit, "Clarke 1866", "NAD27", nad27->datum, nullptr));
  const System mre(kClarkeA, kClarkeB, kConus, {}, OPRJ_DATUM_REGRESSION, "Clarke 1866");
  Points in;  // inland, where the equations were fitted
  for (int lat = 33; lat <= 45; ++lat)
    for (int lon = -118; lon <= -82; ++lon) in.push_back({lon * kDeg, lat * kDeg});
  in.push_back({-104.9903 * kDeg, 39.7392 * kDeg});  // Denver
  Points out(in.size());
  Slot slot;
  oprj_DatumShift(in.data(), &mre.spheroid, out.data(), nad27.get(),
                  static_cast<int32_t>(in.size()), slot);
  expectNoReport(slot);
  std::vector<double> metres;
  for (size_t i = 0; i < in.size(); ++i)
    metres.push_back(kClarkeA *
                     std::hypot((out[i].x - in[i].x) * std::cos(in[i].y), out[i].y - in[i].y));
  EXPECT_NEAR(metres.back(), 0.79, 0.005);
  std::sort(metres.begin(), metres.end());
  EXPECT_LT(metres[metres.size() / 2], 1.6);
  EXPECT_LT(metres[metres.size() * 95 / 100], 4.1);
  EXPECT_LT(metres.back(), 13.5);
}

TEST(Regression, PointsDependOnNothingButThemselves) {
  std::mt19937_64 random(3);
  std::uniform_real_distribution<double> lon(-3.3, 3.3), lat(-1.6, 1.6);
  Points in(200);
  for (Oprj_Point &p : in) p = {lon(random), lat(random)};
  const double infinity = std::numeric_limits<double>::infinity();
  in[30] = {kNaN, 0.5};
  in[55] = {0.5, kNaN};
  in[70] = {infinity, 0.5};
  in[71] = {0.5, -infinity};
  std::vector<Points> bySet;
  for (int32_t set = 0; set <= widestInstructionSet(); ++set) {
    SCOPED_TRACE("instruction set " + std::to_string(set));
    chooseInstructionSet(set);
    Points all;
    for (const char *datum : {kConus, "SAD69 (MRE)", "Campo Inchauspe (MRE)"}) {
      const Points out = run(datum, in, 1);
      for (size_t i = 0; i < in.size(); ++i)
        EXPECT_TRUE(sameBits({out[i]}, run(datum, {in[i]}, 1))) << i;
      Points inPlace = in;
      oprj_DatumShiftRegression(inPlace.data(), inPlace.data(), 200, datum, 1, nullptr);
      EXPECT_TRUE(sameBits(inPlace, out));
      EXPECT_TRUE(std::isnan(out[30].y) && std::isnan(out[55].x));
      EXPECT_TRUE(sameBits({out[70], out[71]}, {in[70], in[71]}));
      all.insert(all.end(), out.begin(), out.end());
    }
    bySet.push_back(all);
  }
  if (bySet.size() == 3) {
    EXPECT_TRUE(sameBits(bySet[1], bySet[2]));
  }
  chooseInstructionSet(widestInstructionSet());
}

TEST(Regression, AreasNamesAndArguments) {
  // a longitude of another turn means the same place
  const double lat = 40 * kDeg, west = -87 * kDeg;
  const Points turns = run(kConus, {{west, lat}, {west + 2 * kPi, lat}}, 1);
  EXPECT_NEAR(turns[1].x, turns[0].x, 1e-15);
  EXPECT_NEAR(turns[1].y, turns[0].y, 1e-15);
  Oprj_ShiftTally before, after;
  oprj_ShiftTallyGet(&before);
  Points in(40, {west, lat});
  in[3].y = 51 * kDeg;
  in[39].x = -60 * kDeg;
  run(kConus, in, 0);
  oprj_ShiftTallyGet(&after);
  EXPECT_EQ(after.outsideArea - before.outsideArea, 2);
  // a name without equations: the array as it was, folded and wrapped
  for (const char *name : {"NAD27", "nad27 (conus) (mre)", static_cast<const char *>(nullptr)})
    EXPECT_EQ(run(name, {{1, 1}}, 1)[0].x, 0.25 + kPi - 2 * kPi) << (name ? name : "null");
  Oprj_Point p{};
  Slot slot;
  for (const auto &[from, to, count] :
       {std::tuple(&p, &p, 0), {&p, (Oprj_Point *)nullptr, 1}, {(Oprj_Point *)nullptr, &p, 1}}) {
    oprj_DatumShiftRegression(from, to, count, kConus, 1, slot);
    EXPECT_EQ(slot.chain(), "oprj_DatumShiftRegression: Empty argument(s). (1)");
  }
}

}  // namespace
