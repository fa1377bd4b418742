// Sinusoidal (16), Equirectangular (17), Miller (18) and the Modified Transverse Mercator (22):
// published examples, peers, edges of the sheets, stops.
#include <cmath>
#include <limits>

#include "family_support.h"

namespace oprj_test {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = M_PI;
constexpr Axes kBall = kNominalSphere;
constexpr double kR = kBall.a;
const char *const kForwardStop = "Point cannot be projected, point # %ld:  %lf, %lf";
const char *const kInverseStop = "Input data error, point # %ld:  %lf, %lf";
const char *const kBad = "Improper parameter";

TEST(SimpleFamilies, PublishedExamples) {
  checkExamples({
      {"[Snyder87] p. 365, Sinusoidal",
       oprj_SinusoidalInit,
       16,
       {{4, -90 * kDeg}},
       kUnitSphere,
       -75,
       -50,
       0.1682814,
       -0.8726646,
       5.1e-8,
       1e-5},
      {"[Snyder87] p. 288, Miller",
       oprj_MillerCylindricalInit,
       18,
       {},
       kUnitSphere,
       -75,
       50,
       -1.3089969,
       0.9536371,
       5.1e-8,
       1e-5},
  });
}

constexpr Grid kGlobe{-180, 180, -90, 90, 2};

TEST(SimpleFamilies, AgreeWithPeersAndComeBack) {
  const struct {
    const char *name;
    Initialiser init;
    int32_t number;
    EntryList entries;
    const char *proj;
  } rows[] = {
      {"sinusoidal",
       oprj_SinusoidalInit,
       16,
       {{4, -99 * kDeg}, {6, 5e5}, {7, -2e6}},
       "+proj=sinu +lon_0=-99 +x_0=500000 +y_0=-2000000"},
      {"sinusoidal from 350 E",
       oprj_SinusoidalInit,
       16,
       {{4, 350 * kDeg}},
       "+proj=sinu +lon_0=-10"},
      {"equirectangular",
       oprj_EquirectangularInit,
       17,
       {{4, 133 * kDeg}, {5, -40 * kDeg}, {6, 5e5}, {7, -2e6}},
       "+proj=eqc +lat_ts=-40 +lon_0=133 +x_0=500000 +y_0=-2000000"},
      {"plate carree", oprj_EquirectangularInit, 17, {}, "+proj=eqc"},
      {"miller",
       oprj_MillerCylindricalInit,
       18,
       {{4, -99 * kDeg}, {6, 5e5}, {7, -2e6}},
       "+proj=mill +lon_0=-99 +x_0=500000 +y_0=-2000000"},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    const Projection projection(row.init, row.number, row.entries, kBall);
    // The side of the sheet on which the far meridian lies is a matter of rounding: leave it out.
    const Difference proj = againstProj(projection, row.proj, {-179, 180, -90, 90, 3.5});
    EXPECT_LE(proj.forward, 1e-6);
    EXPECT_LE(proj.inverseDeg, 1e-12);
    const Difference gctp =
        againstGctp(projection, row.number, kBall, row.entries, {4, 5}, {-179, 180, -88, 88, 3.5});
    EXPECT_LE(gctp.forward, 1e-6);
    EXPECT_LE(gctp.inverseDeg, 1e-9);
    EXPECT_LE(roundTripDeg(projection, kGlobe), 1e-12);
  }
}

// The figures of [Snyder87] 8-26 to 8-29, computed with thirty digits.
TEST(ModifiedTransverseMercator, FollowsItsFormulas) {
  const struct {
    double lon, lat, x, y;
  } rows[] = {
      {-150, 58, 0.0, -0.408726231701951},
      {-135, 60, 824263.919192762, 316075.774493115},
      {-141, 69.5, 354316.685340663, 1304968.09447781},
      {172, 53, -2414620.53514243, 153870.234243848},
      {-150, -90, 0.0, -16419826.25},
      {31, 90, -145329.23491564, 4207342.73630996},
  };
  const Projection map(oprj_MTMInit, 22, {}, kClarke1866);
  for (const auto &row : rows) {
    SCOPED_TRACE(row.lon);
    const Oprj_Point at = map.forward(row.lon, row.lat);
    EXPECT_NEAR(at.x, row.x, 1e-7);
    EXPECT_NEAR(at.y, row.y, 1e-7);
    const Oprj_Point back = map.inverse(row.x, row.y);
    EXPECT_NEAR(back.x, row.lon, 1e-9);
    EXPECT_NEAR(back.y, row.lat, 1e-11);
  }
  EXPECT_LE(roundTripDeg(map, kGlobe), 1e-11);
}

// The map was drawn as an Equidistant Conic of Clarke 1866 with the scale 0.9992 along its
// meridians (here in the axes); its figures leave out the small terms of the meridian distance.
TEST(ModifiedTransverseMercator, IsNearlyAnEquidistantConic) {
  const Projection map(oprj_MTMInit, 22, {}, kClarke1866);
  const Difference conic = againstProj(map,
                                       "+proj=eqdc +lat_1=53.5 +lat_2=66.09 +lat_0=58 +lon_0=-150 "
                                       "+a=6373103.83488 +b=6351498.53296",
                                       {170, 230, 50, 72, 2});
  EXPECT_LE(conic.forward, 10);
  EXPECT_LE(conic.inverseDeg, 1e-4);
}

// --- sheets and stops ---

TEST(SimpleFamilies, EdgesOfTheSheets) {
  const Projection sinusoidal(oprj_SinusoidalInit, 16, {{4, -90 * kDeg}}, kBall);
  for (const double lat : {0.0, 60.0, 89.999999, 90.0, -90.0}) {
    SCOPED_TRACE(lat);
    for (const double side : {-1.0, 1.0}) {  // within 0.6 mm beyond the far meridian, and on it
      const double width = kPi * std::cos(lat * kDeg);
      for (const double more : {0.0, 0.9e-10}) {
        const Oprj_Point p = sinusoidal.inverse(side * kR * (width + more), kR * lat * kDeg);
        EXPECT_NEAR(std::remainder(p.x - 90, 360), 0, 1e-12);
        EXPECT_NEAR(p.y, lat, 1e-13);
      }
    }
    EXPECT_NEAR(sinusoidal.inverse(0, kR * lat * kDeg).x, -90, 1e-13);
  }
  EXPECT_EQ(sinusoidal.inverse(0, kR * (kPi / 2 + 0.9e-10)).y, 90);

  // Cylinders repeat once.
  const Projection equirectangular(oprj_EquirectangularInit, 17, {{4, 100 * kDeg}, {5, kPi / 3}},
                                   kBall);
  const Projection miller(oprj_MillerCylindricalInit, 18, {{4, 100 * kDeg}}, kBall);
  for (const double turns :
       {-1.0, -0.9, -0.51, -0.5, 0.0, 0.4, 0.9, 1.0, 1 + 0.9e-10 / (2 * kPi)}) {
    SCOPED_TRACE(turns);
    const double x = 2 * kPi * kR * turns;
    const double one = equirectangular.inverse(x * std::cos(kPi / 3), 0).x;
    const double other = miller.inverse(x, 0).x;
    EXPECT_NEAR(std::remainder(one - 100 - 360 * turns, 360), 0, 1e-8);
    EXPECT_NEAR(std::remainder(other - 100 - 360 * turns, 360), 0, 1e-8);
    EXPECT_LE(std::fmax(std::fabs(one), std::fabs(other)), 180 + 1e-12);
  }
  // Poles are finite lines, and the far meridian belongs to both sides.
  const double top = 1.25 * std::log(std::tan(0.45 * kPi)) * kR;
  EXPECT_NEAR(miller.forward(-20, 90).y, top, 1e-8);
  EXPECT_NEAR(miller.forward(-20, -90).y, -top, 1e-8);
  EXPECT_NEAR(miller.inverse(0, top).y, 90, 1e-12);
  EXPECT_NEAR(std::fabs(miller.forward(-80, 0).x), kPi * kR, 1e-8);
  EXPECT_EQ(miller.forward(100, 0).y, 0);
  EXPECT_EQ(miller.inverse(0, 0).y, 0);
}

TEST(SimpleFamilies, Stops) {
  const Oprj_Point good{-1.5, 0.6};
  const double out = 1.1e-10;
  const Projection sinusoidal(oprj_SinusoidalInit, 16, {{4, -90 * kDeg}}, kBall);
  const Projection equirectangular(oprj_EquirectangularInit, 17, {{5, kPi / 3}}, kBall);
  const Projection miller(oprj_MillerCylindricalInit, 18, {}, kBall);
  const Projection map(oprj_MTMInit, 22, {}, kClarke1866);
  for (const Projection *projection : {&sinusoidal, &equirectangular, &miller, &map}) {
    SCOPED_TRACE(projection->object()->proParameters->proNumber);
    checkStops(*projection, good,
               {{"infinite longitude", true, {-kInf, 0}, 20, kForwardStop},
                {"infinite latitude", true, {1, kInf}, 20, kForwardStop},
                {"beyond the pole", true, {1, -kPi / 2 - 2e-10}, 20, kForwardStop}});
    Oprj_Point pole{good.x, kPi / 2 + 0.5e-10}, exact{good.x, kPi / 2}, a, b;
    const Oprj_MapProjection *object = projection->object();
    object->fromLL(&pole, object->parameters, &a, 1, nullptr);
    object->fromLL(&exact, object->parameters, &b, 1, nullptr);
    EXPECT_EQ(a.y, b.y);  // a hair beyond the pole is the pole
  }
  checkStops(sinusoidal, good,
             {{"above", false, {0, kR * (kPi / 2 + out)}, 4, kBad},
              {"below", false, {0, -kR * (kPi / 2 + out)}, 4, kBad},
              {"right at 60 N", false, {kR * (kPi / 2 + out), kR * kPi / 3}, 4, kBad},
              {"left at the pole", false, {-kR * out, kR * kPi / 2}, 4, kBad},
              {"infinite", false, {kInf, 0}, 4, kBad},
              {"absurd", false, {0, -1e300}, 4, kBad}});
  checkStops(equirectangular, good,
             {{"above", false, {0, kR * (kPi / 2 + out)}, 4, kBad},
              {"below", false, {0, -kR * (kPi / 2 + out)}, 4, kBad},
              {"more than a turn", false, {kR * (kPi + out), 0}, 4, kBad},
              {"infinite", false, {0, kInf}, 4, kBad},
              {"absurd", false, {1e300, 0}, 4, kBad}});
  const double top = 1.25 * std::log(std::tan(0.45 * kPi)) * kR;
  checkStops(miller, good,
             {{"above", false, {0, top * (1 + 3e-10)}, 20, kInverseStop},
              {"below", false, {0, -top * (1 + 3e-10)}, 20, kInverseStop},
              {"more than a turn", false, {-kR * (2 * kPi + out), 0}, 20, kInverseStop},
              {"infinite", false, {-kInf, 0}, 20, kInverseStop},
              {"infinite", false, {0, kInf}, 20, kInverseStop},
              {"absurd", false, {1e300, 1e300}, 20, kInverseStop}});
  checkStops(map, {-150 * kDeg, 60 * kDeg},
             {{"above the pole", false, {0, 3.7e6}, 20, kInverseStop},
              {"below the other", false, {0, -2e7}, 20, kInverseStop},
              {"in the wedge", false, {0, 1e7}, 20, kInverseStop},
              {"absurd", false, {1e100, 0}, 20, kInverseStop},
              {"infinite", false, {kInf, 0}, 4, "Too many iterations"},
              {"squares overflow", false, {0, 1e300}, 4, "Too many iterations"}});
}

// --- records ---

TEST(SimpleFamilies, Records) {
  const Oprj_Point good{-1.5, 0.6};
  checkContract(Projection(oprj_SinusoidalInit, 16, {{4, 3}}, kBall), "Sinusoidal", good);
  checkContract(Projection(oprj_EquirectangularInit, 17, {{4, 3}}, kBall), "Equirectangular", good);
  checkContract(Projection(oprj_MillerCylindricalInit, 18, {{4, 3}}, kBall), "MillerCylindrical",
                good);
  checkContract(Projection(oprj_MTMInit, 22, {}, kClarke1866), "MTM", good);

  const char *const few = "Insufficient projection parameters";
  checkRefusals(oprj_SinusoidalInit, "oprj_SinusoidalInit", 16, kBall,
                {{"count", {}, 7, 2, few}, {"infinite meridian", {{4, kInf}}, 8, 6, kBad}});
  checkRefusals(oprj_EquirectangularInit, "oprj_EquirectangularInit", 17, kBall,
                {{"count", {}, 7, 2, few},
                 {"true at the pole", {{5, kPi / 2}}, 8, 3, kBad},
                 {"nearly", {{5, -kPi / 2 + 0.9e-10}}, 8, 3, kBad},
                 {"NaN easting", {{6, kNaN}}, 8, 7, kBad}});
  checkRefusals(oprj_MillerCylindricalInit, "oprj_MillerCylindricalInit", 18, kBall,
                {{"count", {}, 7, 2, few}, {"NaN northing", {{7, kNaN}}, 8, 6, kBad}});
  checkRefusals(oprj_MTMInit, "oprj_MTMInit", 22, kClarke1866, {{"count", {}, 3, 2, few}});
  checkRefusals(oprj_MTMInit, "oprj_MTMInit", 22, {-1, -1}, {{"negative axis", {}, 4, 6, kBad}});

  checkCompared(oprj_SinusoidalProParametersEqual, 16, {4, 6, 7});
  checkCompared(oprj_EquirectangularProParametersEqual, 17, {4, 5, 6, 7});
  checkCompared(oprj_MillerCylindricalProParametersEqual, 18, {4, 6, 7});
  checkCompared(oprj_MTMProParametersEqual, 22, {});
}

}  // namespace
}  // namespace oprj_test
