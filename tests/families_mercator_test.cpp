// Mercator (5), its variant A (69), Pseudo Mercator (68) and Polar Stereographic (6): published
// examples, peers, laws, checks and stops, poles and repeated sheets.
#include <cmath>
#include <limits>

#include "family_support.h"

namespace oprj_test {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr const char *kForward = "Point cannot be projected, point # %ld:  %lf, %lf";
constexpr const char *kInverse = "Input data error, point # %ld:  %lf, %lf";
constexpr const char *kPhi2 = "Error returned from oprj_Phi2";
constexpr const char *kUnusable = "Improper parameter";

using Entries = std::vector<std::pair<int, double>>;

/// Entries 4 to 7, degrees and metres, and the scale of number 69.
Entries entries(double lon0, double lat = 0, double east = 0, double north = 0, double scale = 0) {
  return {{2, scale}, {4, lon0 * kDeg}, {5, lat * kDeg}, {6, east}, {7, north}};
}

struct Family {
  const char *stem;
  Initialiser init;
  int32_t number;
};
const Family kMercator{"Mercator", oprj_MercatorInit, 5};
const Family kPolar{"PolarStereographic", oprj_PolarStereographicInit, 6};
const Family kPseudo{"PseudoMercator", oprj_PseudoMercatorInit, 68};
const Family kVariantA{"MercatorVariantA", oprj_MercatorVariantAInit, 69};

Projection make(const Family &family, const Entries &list, Axes axes) {
  return Projection(family.init, family.number, list, axes);
}

TEST(Mercators, PublishedExamples) {
  const auto flattened = [](double a, double f) { return Axes{a, a * (1 - 1 / f)}; };
  // computed with e = 0.0822719 as printed there
  const Axes clarke{6378206.4, 6378206.4 * std::sqrt(1 - 0.0822719 * 0.0822719)};
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
      {"[Snyder87] p. 314, Polar Stereographic, International",
       kPolar.init,
       6,
       entries(-100, -71),
       {6378388, 6378388 * std::sqrt(1 - 0.00672267)},
       150,
       -75,
       -1540033.6,
       -560526.4,
       0.051,
       1e-6},
      {"[EPSG7-2] Polar Stereographic variant B, Australian Antarctic", kPolar.init, 6,
       entries(70, -71, 6e6, 6e6), kWGS84, 120, -75, 7255380.79, 7053389.56, 0.0051, 1e-7},
  });
}

// --- peers and laws ---

constexpr Grid kWorld{-179, 179, -88, 88, 4}, kNorth{-178, 178, -40, 90, 4},
    kSouth{-178, 178, -90, 40, 4};

struct System {
  const char *what;
  const Family &family;
  Entries list;
  Axes axes;
  const char *proj;
  Grid grid;
  double degrees;  ///< bound of the inverse
  bool gctp;       ///< compared with libgctp too
};

std::vector<System> systems() {
  return {
      {"Mercator", kMercator, entries(-81, 20, 5e5, -1e6), kGRS80,
       "+proj=merc +lon_0=-81 +lat_ts=20 +x_0=500000 +y_0=-1000000", kWorld, 1e-11, true},
      {"Mercator, true scale in the south", kMercator, entries(150, -41), kInternational,
       "+proj=merc +lon_0=150 +lat_ts=-41", kWorld, 1e-11, true},
      {"Mercator, sphere", kMercator, entries(10), kNominalSphere, "+proj=merc +lon_0=10", kWorld,
       1e-11, true},
      {"Variant A", kVariantA, entries(110, 0, 3.9e6, 9e5, 0.997), kGRS80,
       "+proj=merc +lon_0=110 +k_0=0.997 +x_0=3900000 +y_0=900000", kWorld, 2e-10, false},
      {"Variant A, sphere", kVariantA, entries(110, 0, 0, 0, 2), kNominalSphere,
       "+proj=merc +lon_0=110 +k_0=2", kWorld, 1e-11, false},
      {"Pseudo Mercator", kPseudo, entries(10, 0, 5e5, -1e6), kWGS84,
       "+proj=webmerc +lon_0=10 +x_0=500000 +y_0=-1000000", kWorld, 1e-11, false},
      {"Polar, north", kPolar, entries(-45, 71, 5e5, -1e6), kGRS80,
       "+proj=stere +lat_0=90 +lat_ts=71 +lon_0=-45 +x_0=500000 +y_0=-1000000", kNorth, 5e-11,
       true},
      {"Polar, south", kPolar, entries(100, -71, 5e5, -1e6), kInternational,
       "+proj=stere +lat_0=-90 +lat_ts=-71 +lon_0=100 +x_0=500000 +y_0=-1000000", kSouth, 5e-11,
       true},
      {"Polar, scale 1 at the north pole", kPolar, entries(0, 90), kClarke1866,
       "+proj=stere +lat_0=90 +lat_ts=90", kNorth, 5e-11, true},
      {"Polar, scale 1 at the south pole", kPolar, entries(0, -90), kClarke1866,
       "+proj=stere +lat_0=-90 +lat_ts=-90", kSouth, 5e-11, true},
      {"Polar, sphere", kPolar, entries(20, 60), kNominalSphere,
       "+proj=stere +lat_0=90 +lat_ts=60 +lon_0=20", kNorth, 5e-11, true},
  };
}

TEST(Mercators, AgreeWithPeers) {
  for (const System &s : systems()) {
    SCOPED_TRACE(s.what);
    const Projection ours = make(s.family, s.list, s.axes);
    const Difference proj = againstProj(ours, s.proj, s.grid);
    EXPECT_LE(proj.forward, 1e-7);
    EXPECT_LE(proj.inverseDeg, s.degrees);
    if (!s.gctp) continue;
    const Difference gctp = againstGctp(ours, s.family.number, s.axes, s.list, {4, 5}, s.grid);
    EXPECT_LE(gctp.forward, 1e-3);
    EXPECT_LE(gctp.inverseDeg, 1e-8);
  }
}

TEST(Mercators, RoundTripAndConformality) {
  for (const System &s : systems()) {
    SCOPED_TRACE(s.what);
    const Projection ours = make(s.family, s.list, s.axes);
    const bool polar = s.family.number == 6, north = polar && s.list[2].second > 0;
    const Grid grid{-180, 180,
                    polar && north ? -60.0
                    : polar        ? -90.0
                                   : -89.999,
                    polar && north ? 90.0
                    : polar        ? 60.0
                                   : 89.999,
                    4.285};
    EXPECT_LE(roundTripDeg(ours, grid), s.family.number == 69 ? 2e-10 : 1e-12);
    if (s.family.number == 68) continue;  // conformal for the sphere only
    const double es = 1 - std::pow(s.axes.b / s.axes.a, 2);
    for (double lat = -55; lat <= 55; lat += 11) {
      constexpr double h = 1e-3;
      const Oprj_Point e = ours.forward(33 + h, lat), w = ours.forward(33 - h, lat);
      const Oprj_Point n = ours.forward(33, lat + h), q = ours.forward(33, lat - h);
      const double k = 1 - es * std::pow(std::sin(lat * kDeg), 2);
      const double parallel = std::cos(lat * kDeg) / std::sqrt(k);
      const double meridian = (1 - es) / (k * std::sqrt(k));
      const double size = std::hypot(e.x - w.x, e.y - w.y) / parallel;
      EXPECT_NEAR((n.x - q.x) / meridian, -(e.y - w.y) / parallel, 3e-8 * size) << lat;
      EXPECT_NEAR((n.y - q.y) / meridian, (e.x - w.x) / parallel, 3e-8 * size) << lat;
    }
  }
}

TEST(Mercators, TrueScale) {
  // On the parallel of entry 5 (the equator for 69) the sheet's parallel has its length on the
  // globe, times the scale factor; at a pole the meridian tells.
  const double es = 0.00669438002290;
  const auto parallel = [&](double lat) {
    const double s = std::sin(lat * kDeg);
    return kGRS80.a * std::cos(lat * kDeg) / std::sqrt(1 - es * s * s) * 2 * kDeg;
  };
  const Projection mercator = make(kMercator, entries(0, 42), kGRS80);
  EXPECT_NEAR(mercator.forward(1, 42).x - mercator.forward(-1, 42).x, parallel(42), 1e-8);
  const Projection a = make(kVariantA, entries(0, 0, 0, 0, 0.9), kGRS80);
  EXPECT_NEAR(a.forward(1, 42).x - a.forward(-1, 42).x, 0.9 * parallel(0), 1e-8);
  for (const double lat : {71.0, -71.0, 1.0, -1.0}) {
    const Projection polar = make(kPolar, entries(0, lat), kGRS80);
    const Oprj_Point w = polar.forward(-90, lat), e = polar.forward(90, lat);
    EXPECT_NEAR(e.x - w.x, parallel(lat) / kDeg, 1e-7) << lat;
  }
  // Seamless towards the pole, where libgctp changes its formula.
  for (const double side : {-1.0, 1.0}) {
    const double exact = make(kPolar, entries(0, side * 90), kGRS80).forward(90, side * 60).x;
    for (double psi = 1e-4; psi > 1e-13; psi /= 10) {
      const Projection near = make(kPolar, entries(0, side * (90 - psi)), kGRS80);
      EXPECT_NEAR(near.forward(90, side * 60).x, exact, 2e-9 + 300 * psi * psi) << psi;
    }
  }
  // Entry 5 = 0 is the north, and so is -0.0.
  EXPECT_GT(make(kPolar, {{5, -0.0}}, kGRS80).inverse(0, 0).y, 89);
}

// --- edges ---

TEST(Mercators, SheetsRepeat) {
  const double turn = 2 * M_PI * kGRS80.a;
  struct {
    const Family &family;
    double scale;
  } const rows[] = {{kMercator, 1}, {kVariantA, 2}, {kPseudo, 1}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.family.stem);
    const Projection ours = make(row.family, entries(170, 0, 100, 0, row.scale), kGRS80);
    const Oprj_Point sheet = ours.forward(-175, 50);  // 15 degrees east of the central meridian
    EXPECT_NEAR(sheet.x, 100 + row.scale * turn / 24, 1e-7);
    for (const double turns : {-1.0, 0.0}) {
      const Oprj_Point back = ours.inverse(sheet.x + turns * row.scale * turn, sheet.y);
      EXPECT_NEAR(back.x, -175, 1e-12);
      EXPECT_NEAR(back.y, 50, 2e-10);
    }
    EXPECT_NEAR(ours.inverse(100 + row.scale * turn, 0).x, 170, 1e-12);
    // A longitude is taken as it comes, and so is the central meridian.
    EXPECT_NEAR(ours.forward(-175 + 720, 50).x, sheet.x, 1e-6);
    const Projection turned = make(row.family, entries(170 - 360, 0, 100, 0, row.scale), kGRS80);
    EXPECT_NEAR(turned.forward(-175, 50).x, sheet.x, 1e-7);
    // Both sides of the seam.
    EXPECT_NEAR(ours.forward(-10 - 1e-9, 0).x, 100 + row.scale * turn / 2, 1e-3);
    EXPECT_NEAR(ours.forward(-10 + 1e-9, 0).x, 100 - row.scale * turn / 2, 1e-3);
    EXPECT_EQ(ours.forward(0, 0).y, 0.0);
    // Beyond every latitude lie the poles.
    EXPECT_EQ(ours.inverse(0, 1e300).y, 90);
    EXPECT_EQ(ours.inverse(0, -1e300).y, -90);
  }
}

TEST(Mercators, VariantATakesNegativeScales) {
  const Projection down = make(kVariantA, entries(0, 0, 0, 0, -1), kGRS80);
  const Oprj_Point sheet = down.forward(40, 50), back = down.inverse(sheet.x, sheet.y);
  EXPECT_LT(sheet.x, 0);
  EXPECT_LT(sheet.y, 0);
  EXPECT_NEAR(back.x, 40, 1e-12);
  EXPECT_NEAR(back.y, 50, 2e-10);
}

TEST(Mercators, PolarPole) {
  for (const double side : {-1.0, 1.0}) {
    const Projection ours = make(kPolar, entries(-100, side * 71, 2e6, 3e6), kInternational);
    const Oprj_Point pole = ours.forward(40, side * 90);
    EXPECT_EQ(pole.x, 2e6);
    EXPECT_EQ(pole.y, 3e6);
    const Oprj_Point back = ours.inverse(2e6, 3e6);
    EXPECT_EQ(back.x, -100);
    EXPECT_EQ(back.y, side * 90);
    for (const double psi : {1e-9, 1e-5, 0.1}) {  // degrees from it: a plane
      const Oprj_Point sheet = ours.forward(-10, side * (90 - psi));
      EXPECT_NEAR(ours.inverse(sheet.x, sheet.y).y, side * (90 - psi), 1e-13);
    }
    // Far beyond the equator, up to where the sheet ends.
    const Oprj_Point far = ours.forward(-10, side * -89.9999);
    EXPECT_NEAR(ours.inverse(far.x, far.y).x, -10, 1e-9);
    EXPECT_NEAR(ours.inverse(far.x, far.y).y, side * -89.9999, 1e-12);
    EXPECT_EQ(ours.inverse(1e300, -1e300).y, side * -90);
  }
}

// --- checks, stops, contract ---

TEST(Mercators, Refusals) {
  checkRefusals(kMercator.init, "oprj_MercatorInit", 5, kGRS80,
                {{"too short", entries(0), 7, 2, "Insufficient projection parameters"},
                 {"true scale at a pole", entries(0, 90), 8, 3, kUnusable},
                 {"a hair from it", {{5, -M_PI_2 + 0.9e-10}}, 8, 3, kUnusable},
                 {"no number", {{4, kNaN}}, 8, 7, kUnusable},
                 {"infinite", {{7, kInf}}, 8, 7, kUnusable}});
  checkRefusals(kPolar.init, "oprj_PolarStereographicInit", 6, kGRS80,
                {{"too short", entries(0, 90), 7, 2, "Insufficient projection parameters"},
                 {"no number", {{5, kNaN}}, 8, 6, kUnusable}});
  checkRefusals(kPseudo.init, "oprj_PseudoMercatorInit", 68, kGRS80,
                {{"too short", entries(0), 7, 2, "Insufficient projection parameters"},
                 {"no number", {{5, kNaN}}, 8, 6, kUnusable}});
  checkRefusals(kVariantA.init, "oprj_MercatorVariantAInit", 69, kGRS80,
                {{"too short", entries(0, 0, 0, 0, 1), 7, 2, "Insufficient projection parameters"},
                 {"scale 0", entries(0), 8, 3, "Invalid scale factor"},
                 {"scale -0", entries(0, 0, 0, 0, -0.0), 8, 3, "Invalid scale factor"},
                 {"infinite scale", entries(0, 0, 0, 0, kInf), 8, 7, kUnusable}});
  // A negative semi-major axis; one of number 5 would be a mirror.
  checkRefusals(kMercator.init, "oprj_MercatorInit", 5, {-6378137.0, -6356752.3},
                {{"negative axis", entries(0), 8, 7, kUnusable}});
}

TEST(Mercators, Stops) {
  const double turn = 2 * M_PI * kGRS80.a;
  const std::vector<StopCase> cylinder = {
      {"north pole", true, {0.1, M_PI_2}, 20, kForward},
      {"south pole", true, {0.1, -M_PI_2}, 20, kForward},
      {"a hair from a pole", true, {0.1, M_PI_2 - 0.9e-10}, 20, kForward},
      {"beyond a pole", true, {0.1, 1.6}, 20, kForward},
      {"infinite longitude", true, {-kInf, 0}, 20, kForward},
      {"infinite latitude", true, {0, kInf}, 20, kForward},
      {"more than a turn", false, {turn * 1.0001, 0}, 20, kInverse},
      {"less than minus a turn", false, {-turn * 1.0001, 0}, 20, kInverse},
      {"absurd", false, {1e300, 0}, 20, kInverse},
      {"infinite easting", false, {kInf, 0}, 20, kInverse}};
  for (const Family *family : {&kMercator, &kVariantA, &kPseudo})
    checkStops(make(*family, entries(0, 0, 0, 0, 1), kGRS80), {0.2, 0.7}, cylinder);
  checkStops(make(kPolar, entries(0, 71), kGRS80), {0.2, 0.7},
             {{"opposite pole", true, {0.1, -M_PI_2}, 20, kForward},
              {"a hair from it", true, {0.1, -M_PI_2 + 0.9e-10}, 20, kForward},
              {"beyond a pole", true, {0.1, 1.6}, 20, kForward},
              {"infinite longitude", true, {kInf, 0.7}, 20, kForward}});
  checkStops(make(kPolar, entries(0, -71), kGRS80), {0.2, -0.7},
             {{"opposite pole", true, {0.1, M_PI_2}, 20, kForward}});
  // e² = 0.49: oprj_Phi2 gains half a digit a step and does not arrive at low latitudes.
  const Axes flat{6378137.0, 6378137.0 * std::sqrt(0.51)};
  for (const Family *family : {&kMercator, &kPolar}) {
    const Projection ours = make(*family, entries(0, 20), flat);
    checkStops(ours, {0.2, 1.5}, {{"low latitude", false, ours.forward(5, 10), 4, kPhi2}});
    const Oprj_Point in = ours.forward(5, 10);
    Oprj_Point out;
    Oerr_Report *err = nullptr;
    ours.object()->toLL(&in, ours.object()->parameters, &out, 1, &err);
    EXPECT_STREQ(oerr_FunctionGet(oerr_CauseGet(err)), "oprj_Phi2");
    EXPECT_STREQ(oerr_MessageGet(oerr_CauseGet(err)),
                 "Latitude failed to converge after 15 iterations");
    oerr_DeleteErrorReport(&err);
  }
}

TEST(Mercators, ContractAndComparison) {
  for (const Family *family : {&kMercator, &kVariantA, &kPseudo, &kPolar})
    checkContract(make(*family, entries(5, 30, 1e6, 2e6, 0.9), kGRS80), family->stem, {0.2, 0.7});
  checkCompared(oprj_MercatorProParametersEqual, 5, {4, 5, 6, 7});
  checkCompared(oprj_PolarStereographicProParametersEqual, 6, {4, 5, 6, 7});
  checkCompared(oprj_PseudoMercatorProParametersEqual, 68, {4, 5, 6, 7});
}

// Kept: the comparison of number 69 asks for number 5.
TEST(Mercators, KeptVariantAComparesMercators) {
  checkCompared(oprj_MercatorVariantAProParametersEqual, 5, {2, 3, 4, 5, 6, 7});
  const Record first(69, {{2, 1}}, kGRS80), second(69, {{2, 1}}, kGRS80);
  Oerr_Report *err = nullptr;
  EXPECT_EQ(oprj_MercatorVariantAProParametersEqual(first.get(), second.get(), &err), 0);
  EXPECT_EQ(err, nullptr);
}

// Kept: entry 5 of number 68 is part of the block and of the comparison, and changes no point.
TEST(Mercators, KeptPseudoMercatorCarriesEntry5) {
  const Projection plain = make(kPseudo, entries(0), kWGS84),
                   with = make(kPseudo, entries(0, 30), kWGS84);
  EXPECT_EQ(with.object()->parameters[4], 30 * kDeg);
  EXPECT_EQ(with.forward(20, 40).y, plain.forward(20, 40).y);
}

TEST(Mercators, SpheroidsAsTheyCome) {
  // A semi-minor axis in the place of e² is understood; axes the wrong way round mean the sphere.
  Record record(5, {}, kGRS80);
  const Projection plain = make(kMercator, {}, kGRS80),
                   sphere = make(kMercator, {}, {6378137.0, 6378137.0});
  const Oprj_Point in{0.3, 0.8};
  const auto project = [&] {
    Oprj_MapProjection *object = oprj_MercatorInit(nullptr, record.get(), nullptr);
    Oprj_Point out{};
    object->fromLL(&in, object->parameters, &out, 1, nullptr);
    oprj_ProjectionPre842Free(&object);
    return out.y;
  };
  record->proSpheroid->eSquared = kGRS80.b;
  EXPECT_NEAR(project(), plain.forward(0.3 / kDeg, 0.8 / kDeg).y, 1e-7);
  for (const double es : {0.0, -0.1, 6400000.0}) {
    record->proSpheroid->eSquared = es;
    EXPECT_NEAR(project(), sphere.forward(0.3 / kDeg, 0.8 / kDeg).y, 1e-7) << es;
  }
}

}  // namespace
}  // namespace oprj_test
