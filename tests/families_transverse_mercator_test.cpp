// Transverse Mercator: published examples, PROJ and libgctp, the sphere, infinity, poles, values of
// e² that are axes, and what the initialiser refuses.
#include <cmath>

#include "family_support.h"

namespace {

using namespace oprj_test;

const Family kFamily{"TransverseMercator", oprj_TransverseMercatorInit, 9};

Entries entries(double scale, double lon0, double lat0 = 0, double east = 0, double north = 0) {
  return {{2, scale}, {4, lon0 * kDeg}, {5, lat0 * kDeg}, {6, east}, {7, north}};
}
const Entries kUtm17 = entries(0.9996, -81, 0, 500000);

TEST(TransverseMercator, PublishedExamples) {
  checkExamples({
      {"[Snyder87] p. 268, sphere of radius 1", kFamily.init, 9, entries(1, -75), kUnitSphere,
       -73.5, 40.5, 0.0199077, 0.7070276, 5.5e-8, 4e-6},
      {"[Snyder87] p. 269, Clarke 1866", kFamily.init, 9, entries(0.9996, -75), kClarke1866, -73.5,
       40.5, 127106.5, 4484124.4, 0.055, 1e-6},
      {"[EPSG7-2] Transverse Mercator, National Grid (printed from rounded steps, 8 mm off)",
       kFamily.init, 9, entries(0.9996012717, -2, 49, 400000, -100000),
       flattened(6377563.396, 299.3249646), 0.5, 50.5, 577274.99, 69740.50, 0.009, 1e-7},
  });
}

/// The series against the exact projection. Up to 4 degrees the meridian series' own truncation is
/// the larger part (1 mm near the pole); beyond, the terms left out grow with the sixth and seventh
/// power of the longitude difference.
TEST(TransverseMercator, StaysByTheExactProjection) {
  // A central meridian of 639 degrees is 81 west.
  const Projection ours(kFamily, entries(0.9996, 639, 0, 500000), kGRS80);
  const struct {
    double width, latitude, metres, degrees;
  } bounds[] = {
      {2, 2, 1e-5, 2e-10}, {4, 90, 0.001, 3e-8}, {6, 90, 0.012, 5e-7}, {10, 90, 0.41, 1.6e-5}};
  for (const auto &[width, latitude, metres, degrees] : bounds) {
    SCOPED_TRACE(width);
    const Difference d = againstProj(ours, "+proj=tmerc +k_0=0.9996 +lon_0=-81 +x_0=500000",
                                     {279 - width, 279 + width, -latitude, latitude, width / 8});
    EXPECT_LT(d.forward, metres);
    EXPECT_LT(d.inverseDeg, degrees);
  }
}

TEST(TransverseMercator, SphereIsClosed) {
  const Projection sphere(kFamily, entries(0.9999, 20, -10, 1000, -2000), kNominalSphere);
  const Difference d =
      againstProj(sphere, "+proj=tmerc +k_0=0.9999 +lon_0=20 +lat_0=-10 +x_0=1000 +y_0=-2000",
                  {-68.7, 108.7, -89.5, 89.5, 1.7});
  EXPECT_LT(d.forward, 5e-6);  // where the scale is 44
  EXPECT_LT(roundTripDeg(sphere, {-179, 179, -89.5, 89.5, 3.1}), 1e-9);
  // An eccentricity below 1e-5 counts as the sphere, one above it does not.
  for (const double f : {4e-11, 6e-11}) {
    const Projection nearly(kFamily, entries(1, 0), flattened(6370997, 1 / f));
    EXPECT_EQ(nearly.object()->parameters[12] == 0.0, f < 5e-11);
  }
}

TEST(TransverseMercator, AgreesWithGctpAndComesBack) {
  const Projection ours(kFamily, entries(0.9996, -81, 10, 500000, 1e6), kClarke1866);
  const Difference d = againstGctp(ours, 9, {4, 5}, {-87, -75, -85, 85, 1.3});
  EXPECT_LT(d.forward, 1e-6);
  EXPECT_LT(d.inverseDeg, 1e-9);
  for (const Axes axes : {kGRS80, kClarke1866, kNominalSphere}) {  // across the antimeridian
    const Projection mirrored(kFamily, entries(-0.9996, 179, 30, 3e5), axes);
    EXPECT_LT(roundTripDeg(mirrored, {177.5, 180.5, -89, 89, 0.5}), 3e-10);
  }
}

TEST(TransverseMercator, PolesAndBeyond) {
  const Projection ours(kFamily, kUtm17, kGRS80);
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
  // Kept: the pole of the northing's sign, even where the footpoint lies beyond the other one (with
  // an origin at the south pole rounding decides).
  EXPECT_EQ(Projection(kFamily, entries(1, 0, -90.1), kGRS80).inverse(0, 1000).y, 90);
  // A latitude beyond a pole is no stop of this family, and the ellipsoid has no infinity.
  EXPECT_NEAR(ours.forward(-80, 91).y, ours.forward(-80, 89).y, 1e6);
  EXPECT_TRUE(std::isfinite(ours.forward(9, 0).x));
}

TEST(TransverseMercator, StopsAndContract) {
  const Projection sphere(kFamily, kUtm17, kNominalSphere), ours(kFamily, kUtm17, kGRS80);
  const Oprj_Point good{-80.9 * kDeg, 0.5};
  constexpr const char *kInfinite = "Point projects into infinity",
                       *kPhi3 = "Error returned from oprj_Phi3", *kScale = "Invalid scale factor";
  checkStops(sphere, good,
             {{"90 degrees east", true, {9 * kDeg, 0}, 4, kInfinite},
              {"90 degrees west", true, {-171 * kDeg, 0}, 4, kInfinite},
              {"infinite longitude", true, {kInf, 0.5}, 20, kForward},
              {"infinite latitude", true, {0.5, -kInf}, 20, kForward},
              {"infinite northing", false, {0.5, kInf}, 20, kInverse},
              {"infinite easting", false, {kInf, 0.5}, 20, kInverse},
              {"beyond the far pole", false, {0, 5e7}, 20, kInverse}});
  checkStops(ours, good,
             {{"infinite longitude", true, {-kInf, 0.5}, 20, kForward},
              {"infinite latitude", true, {good.x, kInf}, 20, kForward},
              {"infinite northing", false, {5e5, -kInf}, 4, kPhi3},
              {"infinite easting", false, {kInf, 1e6}, 20, kInverse},
              {"absurd easting", false, {1e300, 1e6}, 20, kInverse},
              {"where the series leaves the globe", false, {2e6, 9.5e6}, 20, kInverse},
              {"and turns round it", false, {3.2e6, 9e6}, 20, kInverse}});
  checkContract(ours, kFamily.stem, good);
  checkRefusals(kFamily, kGRS80,
                {{"seven entries", entries(1, 0), 7, 2, kTooFew},
                 {"no scale", {}, 8, 3, kScale},
                 {"negative zero", entries(-0.0, 0), 8, 3, kScale},
                 {"no number", entries(1, kNaN), 8, 7, kUnusable},
                 {"infinite scale", entries(kInf, 0), 8, 7, kUnusable}});
  for (const Axes axes : {Axes{-6378137, 6356752}, {6378137, 0}})
    checkRefusals(kFamily, axes,
                  {{"negative axis, e² of exactly 1", entries(1, 0), 8, 7, kUnusable}});
  checkCompared(oprj_TransverseMercatorProParametersEqual, 9, {2, 4, 5, 6, 7});
}

/// e² above 1 is a semi-minor axis; e² that is not above 0 and a missing spheroid are spheres.
TEST(TransverseMercator, ReadsTheSpheroid) {
  const auto forwardWith = [](double a, double eSquared, bool present = true) {
    const Record record(9, {{2, 1.0}}, kGRS80);
    record->proSpheroid->a = a;
    record->proSpheroid->eSquared = eSquared;
    if (!present) oprj_SpheroidFree(&record->proSpheroid);
    return Projection(kFamily.init, record).forward(2, 50);
  };
  const double a = kGRS80.a;
  const Oprj_Point ellipsoid = forwardWith(a, 0.006694380022903416),
                   byAxis = forwardWith(a, kGRS80.b), sphere = forwardWith(a, 0);
  EXPECT_NEAR(ellipsoid.x, byAxis.x, 1e-7);
  EXPECT_NEAR(ellipsoid.y, byAxis.y, 1e-6);
  EXPECT_GT(std::fabs(sphere.y - ellipsoid.y), 1000);
  const std::pair<Oprj_Point, double> spheres[] = {{forwardWith(a, -0.5), a},
                                                   {forwardWith(a, a), a},      // b = a
                                                   {forwardWith(a, 2 * a), a},  // b > a
                                                   {forwardWith(0, 0), 6370997},
                                                   {forwardWith(1, 0.5, false), 6370997}};
  for (const auto &[p, radius] : spheres) {
    EXPECT_NEAR(p.x, sphere.x * radius / a, 1e-6);
    EXPECT_NEAR(p.y, sphere.y * radius / a, 1e-6);
  }
}

TEST(TransverseMercator, BlockHoldsItsFourteenNumbers) {
  const Projection ours(kFamily, {{2, 0.9996}, {4, -1.4}, {5, 0.2}, {6, 5e5}, {7, -30}},
                        kClarke1866);
  const double a = kClarke1866.a, es = 1 - kClarke1866.b * kClarke1866.b / (a * a);
  const double e0 = oprj_E0fn(es, nullptr), e1 = oprj_E1fn(es, nullptr),
               e2 = oprj_E2fn(es, nullptr), e3 = oprj_E3fn(es, nullptr),
               m0 = a * oprj_Mlfn(e0, e1, e2, e3, 0.2, nullptr), e = std::sqrt(es),
               esp = es / (1 - es);
  const double expected[] = {a, e, es, 0.9996, -1.4, 0.2, 5e5, -30, e0, e1, e2, e3, esp, m0};
  for (size_t i = 0; i < std::size(expected); ++i)
    EXPECT_NEAR(ours.object()->parameters[i], expected[i], 1e-13 * std::fabs(expected[i])) << i;
}

}  // namespace
