// Mercator (5), its variant A (69), Pseudo Mercator (68) and Polar Stereographic (6): published
// examples, peers, checks and stops, poles and repeated sheets.
#include <cmath>

#include "family_support.h"

namespace oprj_test {
namespace {

/// Entries 4 to 7, degrees and metres, and the scale of number 69.
Entries entries(double lon0, double lat = 0, double east = 0, double north = 0, double scale = 0) {
  return {{2, scale}, {4, lon0 * kDeg}, {5, lat * kDeg}, {6, east}, {7, north}};
}

const Family kMercator{"Mercator", oprj_MercatorInit, 5};
const Family kPolar{"PolarStereographic", oprj_PolarStereographicInit, 6};
const Family kPseudo{"PseudoMercator", oprj_PseudoMercatorInit, 68};
const Family kVariantA{"MercatorVariantA", oprj_MercatorVariantAInit, 69};

TEST(Mercators, PublishedExamples) {
  // computed with e = 0.0822719 as printed there
  const Axes clarke{6378206.4, 6378206.4 * std::sqrt(1 - 0.0822719 * 0.0822719)};
  const Axes international{6378388, 6378388 * std::sqrt(1 - 0.00672267)};
  checkExamples({
      {"[Snyder87] p. 266, sphere", kMercator.init, 5, entries(-180), kUnitSphere, -75, 35,
       1.8325957, 0.6528366, 5.1e-8, 1e-5},
      {"[Snyder87] p. 267, Clarke 1866", kMercator.init, 5, entries(-180), clarke, -75, 35,
       11688673.7, 4139145.6, 0.051, 1e-6},
      {"[EPSG7-2] Mercator variant B, Caspian Sea", kMercator.init, 5, entries(51, 42),
       flattened(6378245, 298.3), 53, 53, 165704.29, 5171848.07, 0.0051, 1e-7},
      {"[EPSG7-2] Mercator variant A, Makassar", kVariantA.init, 69,
       entries(110, 0, 3900000, 900000, 0.997), flattened(6377397.155, 299.15281), 120, -3,
       5009726.58, 569150.82, 0.0051, 1e-7},
      {"[EPSG7-2] Popular Visualisation Pseudo Mercator", kPseudo.init, 68, entries(0), kWGS84,
       dms(-100, 20, 0), dms(24, 22, 54.433), -11169055.58, 2800000.00, 0.0051, 1e-7},
      {"[Snyder87] p. 314, Polar Stereographic, International", kPolar.init, 6, entries(-100, -71),
       international, 150, -75, -1540033.6, -560526.4, 0.051, 1e-6},
      {"[EPSG7-2] Polar Stereographic variant B, Australian Antarctic", kPolar.init, 6,
       entries(70, -71, 6e6, 6e6), kWGS84, 120, -75, 7255380.79, 7053389.56, 0.0051, 1e-7},
  });
}

TEST(Mercators, AgreeWithPeersAndComeBack) {
  // Kept: entry 5 of number 68 changes no point.
  const struct {
    const Family &family;
    const char *proj;
    double lon0, lat, scale;
    Axes axes;
    double degrees, back;  ///< bounds of the inverse and of the way there and back
  } rows[] = {
      {kMercator, "merc +lat_ts=20", -81, 20, 0, kGRS80, 1e-11, 1e-12},
      {kMercator, "merc +lat_ts=-41", 510, -41, 0, kInternational, 1e-11, 1e-12},
      {kMercator, "merc", 10, 0, 0, kNominalSphere, 1e-11, 1e-12},
      {kVariantA, "merc +k_0=0.997", 110, 0, 0.997, kGRS80, 2e-10, 2e-10},
      {kVariantA, "merc +k_0=2", 470, 0, 2, kNominalSphere, 1e-11, 1e-12},
      {kVariantA, "merc +k_0=1.2", -20, 0, 1.2, flattened(6378137, 15.4), 2e-9, 1e-9},
      {kPseudo, "webmerc", 370, 30, 0, kWGS84, 1e-11, 1e-12},
      {kPolar, "stere +lat_0=90 +lat_ts=71", -45, 71, 0, kGRS80, 5e-11, 1e-12},
      {kPolar, "stere +lat_0=-90 +lat_ts=-71", 460, -71, 0, kInternational, 5e-11, 1e-12},
      {kPolar, "stere +lat_0=90 +lat_ts=90", 0, 90, 0, kClarke1866, 5e-11, 1e-12},
      {kPolar, "stere +lat_0=-90 +lat_ts=-90", 0, -90, 0, kClarke1866, 5e-11, 1e-12},
      {kPolar, "stere +lat_0=90 +lat_ts=60", 20, 60, 0, kNominalSphere, 5e-11, 1e-12},
  };
  for (const auto &row : rows) {
    const bool polar = &row.family == &kPolar, north = row.lat > 0;
    const std::string definition = std::string("+proj=") + row.proj +
                                   " +lon_0=" + std::to_string(row.lon0) +
                                   " +x_0=500000 +y_0=-1000000";
    SCOPED_TRACE(definition);
    const Projection ours(row.family, entries(row.lon0, row.lat, 5e5, -1e6, row.scale), row.axes);
    const Grid grid = !polar  ? Grid{-179, 179, -88, 88, 4}
                      : north ? Grid{-178, 178, -40, 90, 4}
                              : Grid{-178, 178, -90, 40, 4};
    const Difference proj = againstProj(ours, definition, grid);
    EXPECT_LE(proj.forward, 1e-7);
    EXPECT_LE(proj.inverseDeg, row.degrees);
    if (row.family.number < 60 && row.lon0 < 360) {
      const Difference gctp = againstGctp(ours, row.family.number, {4, 5}, grid);
      EXPECT_LE(gctp.forward, 1e-3);
      EXPECT_LE(gctp.inverseDeg, 1e-8);
    }
    const double lowest = !polar ? -89.999 : north ? -60 : -90;
    EXPECT_LE(roundTripDeg(ours, {-180, 180, lowest, lowest + (polar ? 150 : 179.998), 4.285}),
              row.back);
  }
}

TEST(Mercators, SheetsRepeat) {
  const double turn = 2 * M_PI * kGRS80.a;
  const std::pair<Family, double> rows[] = {
      {kMercator, 1}, {kVariantA, 2}, {kVariantA, -0.5}, {kPseudo, 1}};
  for (const auto &[family, scale] : rows) {
    SCOPED_TRACE(family.stem);
    const Projection ours(family, entries(170, 0, 100, 0, scale), kGRS80);
    const Oprj_Point sheet = ours.forward(-175, 50);  // 15 degrees east of the central meridian
    EXPECT_NEAR(sheet.x, 100 + scale * turn / 24, 1e-7);
    EXPECT_GT(sheet.y * scale, 0);
    for (const double turns : {-1.0, 0.0}) {
      const Oprj_Point back = ours.inverse(sheet.x + turns * scale * turn, sheet.y);
      EXPECT_NEAR(back.x, -175, 1e-12);
      EXPECT_NEAR(back.y, 50, 2e-10);
    }
    EXPECT_NEAR(ours.inverse(100 + scale * turn, 0).x, 170, 1e-12);
    EXPECT_NEAR(ours.forward(-175 + 720, 50).x, sheet.x, 1e-6);
    // Both sides of the seam.
    EXPECT_NEAR(ours.forward(-10 - 1e-9, 0).x, 100 + scale * turn / 2, 1e-3);
    EXPECT_NEAR(ours.forward(-10 + 1e-9, 0).x, 100 - scale * turn / 2, 1e-3);
    EXPECT_EQ(ours.forward(0, 0).y, 0.0);
    // Beyond every latitude lie the poles.
    EXPECT_EQ(ours.inverse(0, scale * 1e300).y, 90);
    EXPECT_EQ(ours.inverse(0, scale * -1e300).y, -90);
  }
}

TEST(Mercators, PolarPole) {
  for (const double side : {-1.0, 1.0}) {
    const Projection ours(kPolar, entries(-100, side * 71, 2e6, 3e6), kInternational);
    const Oprj_Point pole = ours.forward(40, side * 90), back = ours.inverse(2e6, 3e6);
    EXPECT_EQ(pole.x, 2e6);
    EXPECT_EQ(pole.y, 3e6);
    EXPECT_EQ(back.x, -100);
    EXPECT_EQ(back.y, side * 90);
    // Degrees from it: a plane; far beyond the equator, up to where the sheet ends.
    for (const double psi : {1e-9, 1e-5, 0.1, 179.9999}) {
      const Oprj_Point sheet = ours.forward(-10, side * (90 - psi));
      EXPECT_NEAR(ours.inverse(sheet.x, sheet.y).y, side * (90 - psi), psi < 90 ? 1e-13 : 1e-12);
    }
    EXPECT_EQ(ours.inverse(1e300, -1e300).y, side * -90);
    // True scale seamless towards the pole, where libgctp changes its formula.
    const double exact = Projection(kPolar, entries(0, side * 90), kGRS80).forward(90, side * 60).x;
    for (double psi = 1e-4; psi > 1e-13; psi /= 10) {
      const Projection near(kPolar, entries(0, side * (90 - psi)), kGRS80);
      EXPECT_NEAR(near.forward(90, side * 60).x, exact, 2e-9 + 300 * psi * psi) << psi;
    }
  }
  // Entry 5 = 0 is the north, and so is -0.0.
  for (const double lat : {0.0, -0.0})
    EXPECT_EQ(Projection(kPolar, entries(0, lat), kGRS80).inverse(0, 0).y, 90);
}

TEST(Mercators, Refusals) {
  checkRefusals(kMercator, kGRS80,
                {{"too short", entries(0), 7, 2, kTooFew},
                 {"true scale at a pole", entries(0, 90), 8, 3, kUnusable},
                 {"a hair from it", {{5, -M_PI_2 + 0.9e-10}}, 8, 3, kUnusable},
                 {"no number", {{4, kNaN}}, 8, 7, kUnusable},
                 {"infinite", {{7, kInf}}, 8, 7, kUnusable}});
  for (const Family &family : {kPolar, kPseudo}) {
    checkRefusals(family, kGRS80,
                  {{"too short", entries(0, 90), 7, 2, kTooFew},
                   {"no number", {{5, kNaN}}, 8, 6, kUnusable}});
  }
  constexpr const char *kScale = "Invalid scale factor";
  checkRefusals(
      kVariantA, kGRS80,
      {{"too short", entries(0, 0, 0, 0, 1), 7, 2, kTooFew},
       {"scale 0", entries(0), 8, 3, kScale},
       {"scale -0", entries(0, 0, 0, 0, -0.0), 8, 3, kScale},
       {"scale below the offset's last bit", entries(0, 0, 5e5, 0, 1e-13), 8, 7, kUnusable},
       {"infinite scale", entries(0, 0, 0, 0, kInf), 8, 7, kUnusable}});
  // e² of 0.99990: e atanh(e s) cancels the sphere's isometric latitude.
  const Axes disc{6378137, 6378137 * 0.00995};
  checkRefusals(kMercator, disc, {{"a disc", entries(0), 8, 7, kUnusable}});
  checkRefusals(kPolar, disc, {{"a disc", entries(0), 8, 6, kUnusable}});
  // A negative semi-major axis would be a mirror.
  checkRefusals(kMercator, {-6378137.0, -6356752.3},
                {{"negative axis", entries(0), 8, 7, kUnusable}});
}

TEST(Mercators, Stops) {
  const double turn = 2 * M_PI * kGRS80.a;
  for (const Family &family : {kMercator, kVariantA, kPseudo}) {
    SCOPED_TRACE(family.stem);
    checkStops({family, entries(0, 0, 0, 0, 1), kGRS80}, {0.2, 0.7},
               {{"north pole", true, {0.1, M_PI_2}, 20, kForward},
                {"south pole", true, {0.1, -M_PI_2}, 20, kForward},
                {"a hair from a pole", true, {0.1, M_PI_2 - 0.9e-10}, 20, kForward},
                {"beyond a pole", true, {0.1, 1.6}, 20, kForward},
                {"infinite longitude", true, {-kInf, 0}, 20, kForward},
                {"infinite latitude", true, {0, kInf}, 20, kForward},
                {"more than a turn", false, {turn * 1.0001, 0}, 20, kInverse},
                {"less than minus a turn", false, {-turn * 1.0001, 0}, 20, kInverse},
                {"absurd", false, {1e300, 0}, 20, kInverse},
                {"infinite easting", false, {kInf, 0}, 20, kInverse}});
  }
  for (const double side : {-1.0, 1.0})
    checkStops({kPolar, entries(0, side * 71), kGRS80}, {0.2, side * 0.7},
               {{"opposite pole", true, {0.1, side * -M_PI_2}, 20, kForward},
                {"a hair from it", true, {0.1, side * (-M_PI_2 + 0.9e-10)}, 20, kForward},
                {"beyond a pole", true, {0.1, 1.6}, 20, kForward},
                {"infinite longitude", true, {kInf, 0.7}, 20, kForward}});
  for (const Family &family : {kMercator, kPolar, kVariantA}) {
    const Projection flat(family, entries(0, 20, 0, 0, 1), kFlat);
    checkStops(flat, {0.2, 1.5},
               {{"slow", false, flat.forward(5, 10), 4, "Error returned from oprj_Phi2"}});
  }
}

TEST(Mercators, ContractAndComparison) {
  for (const Family &family : {kMercator, kVariantA, kPseudo, kPolar})
    checkContract({family, entries(5, 30, 1e6, 2e6, 0.9), kGRS80}, family.stem, {0.2, 0.7});
  checkCompared(oprj_MercatorProParametersEqual, 5, {4, 5, 6, 7});
  checkCompared(oprj_PolarStereographicProParametersEqual, 6, {4, 5, 6, 7});
  checkCompared(oprj_PseudoMercatorProParametersEqual, 68, {4, 5, 6, 7});
  // Kept: the comparison of number 69 asks for number 5.
  checkCompared(oprj_MercatorVariantAProParametersEqual, 5, {2, 3, 4, 5, 6, 7});
}

}  // namespace
}  // namespace oprj_test
