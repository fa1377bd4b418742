// Transverse Mercator: published examples, PROJ and libgctp, the sphere, infinity, poles, values of
// e² that are axes, and what the initialiser refuses.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

#include "family_support.h"

namespace {

using namespace oprj_test;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr Axes kAiry{6377563.396, 6356256.909237285};  // 1/f 299.3249646

const EntryList kUtm17 = {{2, 0.9996}, {4, -81 * kDeg}, {6, 500000}};

TEST(TransverseMercator, WorkedExamples) {
  checkExamples({
      {"[Snyder87] p. 268, sphere of radius 1",
       oprj_TransverseMercatorInit,
       9,
       {{2, 1.0}, {4, -75 * kDeg}},
       kUnitSphere,
       -73.5,
       40.5,
       0.0199077,
       0.7070276,
       5.5e-8,
       4e-6},
      {"[Snyder87] p. 269, Clarke 1866",
       oprj_TransverseMercatorInit,
       9,
       {{2, 0.9996}, {4, -75 * kDeg}},
       kClarke1866,
       -73.5,
       40.5,
       127106.5,
       4484124.4,
       0.055,
       1e-6},
      {"[EPSG7-2] Transverse Mercator, National Grid (printed from rounded steps, 8 mm off)",
       oprj_TransverseMercatorInit,
       9,
       {{2, 0.9996012717}, {4, -2 * kDeg}, {5, 49 * kDeg}, {6, 400000}, {7, -100000}},
       kAiry,
       0.5,
       50.5,
       577274.99,
       69740.50,
       0.009,
       1e-7},
  });
}

/// The series against the exact projection. Up to 4 degrees the meridian series' own truncation is
/// the larger part (1 mm near the pole); beyond, the terms left out grow with the sixth and seventh
/// power of the longitude difference.
TEST(TransverseMercator, StaysByTheExactProjection) {
  const Projection ours(oprj_TransverseMercatorInit, 9, kUtm17, kGRS80);
  const std::string peer = "+proj=tmerc +k_0=0.9996 +lon_0=-81 +x_0=500000";
  struct {
    double width, latitude, metres, degrees;
  } const bounds[] = {
      {2, 2, 1e-5, 2e-10}, {4, 90, 0.001, 3e-8}, {6, 90, 0.012, 5e-7}, {10, 90, 0.41, 1.6e-5}};
  for (const auto &bound : bounds) {
    SCOPED_TRACE(bound.width);
    const Difference d = againstProj(
        ours, peer,
        {-81 - bound.width, -81 + bound.width, -bound.latitude, bound.latitude, bound.width / 8});
    EXPECT_LT(d.forward, bound.metres);
    EXPECT_LT(d.inverseDeg, bound.degrees);
  }
}

TEST(TransverseMercator, SphereIsClosed) {
  const Projection sphere(oprj_TransverseMercatorInit, 9,
                          {{2, 0.9999}, {4, 20 * kDeg}, {5, -10 * kDeg}, {6, 1000}, {7, -2000}},
                          kNominalSphere);
  const Grid globe{-68.7, 108.7, -89.5, 89.5, 1.7};
  const Difference d = againstProj(
      sphere, "+proj=tmerc +R=6370997 +k_0=0.9999 +lon_0=20 +lat_0=-10 +x_0=1000 +y_0=-2000",
      globe);
  EXPECT_LT(d.forward, 5e-6);  // where the scale is 44
  EXPECT_LT(roundTripDeg(sphere, {-179, 179, -89.5, 89.5, 3.1}), 1e-9);
  // An eccentricity below 1e-5 counts as the sphere, one above it does not.
  const Projection nearly(oprj_TransverseMercatorInit, 9, {{2, 1.0}},
                          {6370997, 6370997 * (1 - 4e-11)});
  EXPECT_EQ(nearly.object()->parameters[12], 0.0);
  const Projection hardly(oprj_TransverseMercatorInit, 9, {{2, 1.0}},
                          {6370997, 6370997 * (1 - 6e-11)});
  EXPECT_GT(hardly.object()->parameters[12], 0.0);
}

TEST(TransverseMercator, AgreesWithGctp) {
  const EntryList entries = {{2, 0.9996}, {4, -81 * kDeg}, {5, 10 * kDeg}, {6, 500000}, {7, 1e6}};
  const Projection ours(oprj_TransverseMercatorInit, 9, entries, kClarke1866);
  const Difference d = againstGctp(ours, 9, kClarke1866, entries, {4, 5}, {-87, -75, -85, 85, 1.3});
  EXPECT_LT(d.forward, 1e-6);
  EXPECT_LT(d.inverseDeg, 1e-9);
}

TEST(TransverseMercator, RoundTripsWithinItsDomain) {
  for (const Axes axes : {kGRS80, kClarke1866, kNominalSphere}) {
    const Projection ours(oprj_TransverseMercatorInit, 9,
                          {{2, -0.9996}, {4, 179 * kDeg}, {5, 30 * kDeg}, {6, 3e5}}, axes);
    EXPECT_LT(roundTripDeg(ours, {177.5, 180.5, -89, 89, 0.5}), 3e-10);  // across the antimeridian
  }
}

/// A central meridian of 279 degrees is 81 west, for the points on both sides of it.
TEST(TransverseMercator, CentralMeridianOfTheOtherTurn) {
  const Projection west(oprj_TransverseMercatorInit, 9, kUtm17, kGRS80);
  const Projection east(oprj_TransverseMercatorInit, 9, {{2, 0.9996}, {4, 279 * kDeg}, {6, 500000}},
                        kGRS80);
  for (const double lon : {-83.0, -81.0000001, -81.0, -79.0, 277.0, 281.0, 639.5}) {
    const double shortest = std::remainder(lon, 360);
    const Oprj_Point expected = west.forward(shortest, 35);
    for (const Oprj_Point &p : {east.forward(lon, 35), west.forward(lon, 35)}) {
      EXPECT_NEAR(p.x, expected.x, 1e-7) << lon;
      EXPECT_NEAR(p.y, expected.y, 1e-7) << lon;
    }
    EXPECT_NEAR(east.inverse(expected.x, expected.y).x, shortest, 1e-8);
  }
}

TEST(TransverseMercator, PolesAndBeyond) {
  const Projection ours(oprj_TransverseMercatorInit, 9, kUtm17, kGRS80);
  const double quarter = 10001965.7293;  // GRS 80, metres
  for (const double sign : {1.0, -1.0}) {
    for (const double lon : {-81.0, -80.0, 99.0}) {
      const Oprj_Point p = ours.forward(lon, sign * 90);
      EXPECT_NEAR(p.x, 500000, 1e-6);
      EXPECT_NEAR(p.y, sign * 0.9996 * quarter, 1e-3);
    }
    EXPECT_NEAR(ours.inverse(500000, sign * 0.9996 * quarter).y, sign * 90, 1e-8);
    // Kept: a footpoint latitude beyond the pole is the pole, at the central meridian.
    const Oprj_Point beyond = ours.inverse(600000, sign * 1.1e7);
    EXPECT_EQ(beyond.x, (-81 * kDeg) / kDeg);
    EXPECT_EQ(beyond.y, sign * 90);
  }
}

TEST(TransverseMercator, StopsAndContract) {
  const double lon0 = -81 * kDeg;
  const Projection sphere(oprj_TransverseMercatorInit, 9, kUtm17, kNominalSphere);
  checkStops(sphere, {lon0 + 0.1, 0.5},
             {{"90 degrees east", true, {lon0 + 90 * kDeg, 0}, 4, "Point projects into infinity"},
              {"90 degrees west", true, {lon0 - 90 * kDeg, 0}, 4, "Point projects into infinity"},
              {"infinite longitude",
               true,
               {kInfinity, 0.5},
               20,
               "Point cannot be projected, point # %ld:  %lf, %lf"},
              {"infinite latitude",
               true,
               {0.5, -kInfinity},
               20,
               "Point cannot be projected, point # %ld:  %lf, %lf"},
              {"infinite northing",
               false,
               {0.5, kInfinity},
               20,
               "Input data error, point # %ld:  %lf, %lf"}});
  const Projection ours(oprj_TransverseMercatorInit, 9, kUtm17, kGRS80);
  checkStops(
      ours, {lon0 + 0.1, 0.5},
      {{"infinite longitude",
        true,
        {-kInfinity, 0.5},
        20,
        "Point cannot be projected, point # %ld:  %lf, %lf"},
       {"infinite latitude",
        true,
        {lon0, kInfinity},
        20,
        "Point cannot be projected, point # %ld:  %lf, %lf"},
       {"infinite northing", false, {5e5, -kInfinity}, 4, "Error returned from oprj_Phi3"},
       {"infinite easting",
        false,
        {kInfinity, 1e6},
        20,
        "Input data error, point # %ld:  %lf, %lf"},
       {"absurd easting", false, {1e300, 1e6}, 20, "Input data error, point # %ld:  %lf, %lf"}});
  // The solver's own report is the cause.
  const Oprj_Point far{5e5, kInfinity};
  Oprj_Point out;
  Oerr_Report *err = nullptr;
  ours.object()->toLL(&far, ours.object()->parameters, &out, 1, &err);
  ASSERT_NE(oerr_CauseGet(err), nullptr);
  EXPECT_STREQ(oerr_FunctionGet(oerr_CauseGet(err)), "oprj_Phi3");
  EXPECT_STREQ(oerr_MessageGet(oerr_CauseGet(err)),
               "Latitude failed to converge after 15 iterations");
  oerr_DeleteErrorReport(&err);
  // The ellipsoid has no infinity, and a latitude beyond a pole is no stop of this family.
  EXPECT_TRUE(std::isfinite(ours.forward(9, 0).x));
  EXPECT_NEAR(ours.forward(-80, 91).y, ours.forward(-80, 89).y, 1e6);

  checkContract(ours, "TransverseMercator", {lon0 + 0.01, 0.7});
  checkRefusals(oprj_TransverseMercatorInit, "oprj_TransverseMercatorInit", 9, kGRS80,
                {{"seven entries", {{2, 1.0}}, 7, 2, "Insufficient projection parameters"},
                 {"no scale", {}, 8, 3, "Invalid scale factor"},
                 {"negative zero", {{2, -0.0}}, 8, 3, "Invalid scale factor"},
                 {"no number", {{2, 1.0}, {4, std::nan("")}}, 8, 7, "Improper parameter"},
                 {"infinite scale", {{2, kInfinity}}, 8, 7, "Improper parameter"}});
  checkRefusals(oprj_TransverseMercatorInit, "oprj_TransverseMercatorInit", 9, {-6378137, 6356752},
                {{"negative axis", {{2, 1.0}}, 8, 7, "Improper parameter"}});
  checkCompared(oprj_TransverseMercatorProParametersEqual, 9, {2, 4, 5, 6, 7});
}

/// e² above 1 is a semi-minor axis; e² that is not above 0 and a missing spheroid are spheres.
TEST(TransverseMercator, ReadsTheSpheroid) {
  const auto forwardWith = [](double a, double eSquared, bool present) {
    const Record record(9, {{2, 1.0}}, kGRS80);
    record->proSpheroid->a = a;
    record->proSpheroid->eSquared = eSquared;
    if (!present) oprj_SpheroidFree(&record->proSpheroid);
    Oprj_MapProjection *object = oprj_TransverseMercatorInit(nullptr, record.get(), nullptr);
    Oprj_Point p{2 * kDeg, 50 * kDeg};
    if (object) object->fromLL(&p, object->parameters, &p, 1, nullptr);
    EXPECT_NE(object, nullptr);
    oprj_ProjectionPre842Free(&object);
    return p;
  };
  const Oprj_Point ellipsoid = forwardWith(kGRS80.a, 0.006694380022903416, true);
  const Oprj_Point byAxis = forwardWith(kGRS80.a, kGRS80.b, true);
  EXPECT_NEAR(ellipsoid.x, byAxis.x, 1e-7);
  EXPECT_NEAR(ellipsoid.y, byAxis.y, 1e-6);
  const Oprj_Point sphere = forwardWith(kGRS80.a, 0.0, true);
  EXPECT_GT(std::fabs(sphere.y - ellipsoid.y), 1000);
  struct {
    double a, eSquared;
    bool present;
    double radius;
  } const spheres[] = {{kGRS80.a, -0.5, true, kGRS80.a},
                       {kGRS80.a, kGRS80.a, true, kGRS80.a},      // b = a
                       {kGRS80.a, 2 * kGRS80.a, true, kGRS80.a},  // b > a
                       {0, 0, true, 6370997},
                       {1, 0.5, false, 6370997}};
  for (const auto &s : spheres) {
    const Oprj_Point p = forwardWith(s.a, s.eSquared, s.present);
    EXPECT_NEAR(p.x, sphere.x * s.radius / kGRS80.a, 1e-6) << s.eSquared;
    EXPECT_NEAR(p.y, sphere.y * s.radius / kGRS80.a, 1e-6) << s.eSquared;
  }
  checkRefusals(oprj_TransverseMercatorInit, "oprj_TransverseMercatorInit", 9, {6378137, 0.0},
                {{"e² of exactly 1", {{2, 1.0}}, 8, 7, "Improper parameter"}});
}

TEST(TransverseMercator, BlockHoldsItsFourteenNumbers) {
  const Projection ours(oprj_TransverseMercatorInit, 9,
                        {{2, 0.9996}, {4, -1.4}, {5, 0.2}, {6, 500000}, {7, -30}}, kClarke1866);
  const double es = 1 - kClarke1866.b * kClarke1866.b / (kClarke1866.a * kClarke1866.a);
  const double e0 = oprj_E0fn(es, nullptr), e1 = oprj_E1fn(es, nullptr),
               e2 = oprj_E2fn(es, nullptr), e3 = oprj_E3fn(es, nullptr);
  const std::array<double, 14> expected = {kClarke1866.a,
                                           std::sqrt(es),
                                           es,
                                           0.9996,
                                           -1.4,
                                           0.2,
                                           500000,
                                           -30,
                                           e0,
                                           e1,
                                           e2,
                                           e3,
                                           es / (1 - es),
                                           kClarke1866.a * oprj_Mlfn(e0, e1, e2, e3, 0.2, nullptr)};
  for (size_t i = 0; i < expected.size(); ++i)
    EXPECT_NEAR(ours.object()->parameters[i], expected[i], 1e-13 * std::fabs(expected[i])) << i;
}

}  // namespace
