// Oblique Mercator: published examples, both forms against PROJ and libgctp, centres anywhere, the
// oblique poles, and what the initialiser refuses.
#include <cmath>

#include "family_support.h"

namespace {

using namespace oprj_test;

const Family kFamily{"ObliqueMercator", oprj_ObliqueMercatorInit, 20};

Entries azimuthForm(double azimuth, double lonCentre, double lat0, double scale = 0.9999) {
  return {{2, scale},       {3, azimuth * kDeg}, {4, lonCentre * kDeg},
          {5, lat0 * kDeg}, {6, 1000},           {7, -2000},
          {12, 1}};
}
/// Latitude of the centre, then longitude and latitude of two points.
Entries pointsForm(double lat0, double lon1, double lat1, double lon2, double lat2) {
  return {{2, 0.9996},      {5, lat0 * kDeg}, {6, 1000},         {7, -2000},
          {8, lon1 * kDeg}, {9, lat1 * kDeg}, {10, lon2 * kDeg}, {11, lat2 * kDeg}};
}

TEST(ObliqueMercator, PublishedExamples) {
  // [Snyder87] p. 274, x0 = 4000000, y0 = 500000: two points; its coordinates start where the
  // central line crosses the aposphere's equator, ours at the centre, u_c farther along the line.
  const Projection snyder(kFamily,
                          pointsForm(40, dms(-122, 18, 0), 47.5, dms(-80, 12, 0), dms(25, 42, 0)),
                          kClarke1866);
  const double *block = snyder.object()->parameters;
  const double east = 4e6 - 1000 + block[14] * block[17],
               north = 5e5 + 2000 + block[14] * block[18];
  const Oprj_Point p = snyder.forward(-74, dms(40, 48, 0));
  EXPECT_NEAR(p.x + east, 963436.1, 0.05);
  EXPECT_NEAR(p.y + north, 4369142.8, 0.05);
  const Oprj_Point g = snyder.inverse(963436.1 - east, 4369142.8 - north);
  EXPECT_NEAR(g.x, -74, 1e-6);
  EXPECT_NEAR(g.y, dms(40, 48, 0), 1e-6);

  // [EPSG7-2], Hotine Oblique Mercator variant B, Timbalai 1948 / RSO Borneo: its sheet is turned
  // by the rectified grid's angle, ours by the azimuth.
  const double azimuth = dms(53, 18, 56.9537), rectified = dms(53, 7, 48.3685);
  const Projection borneo(kFamily, azimuthForm(azimuth, 115, 4, 0.99984),
                          flattened(6377298.556, 300.8017));
  const Oprj_Point q = borneo.forward(dms(115, 48, 19.8196), dms(5, 23, 14.1129));
  const double x = q.x - 1000, y = q.y + 2000, turn = (rectified - azimuth) * kDeg;
  EXPECT_NEAR(590476.87 + x * std::cos(turn) + y * std::sin(turn), 679245.73, 0.006);
  EXPECT_NEAR(442857.65 - x * std::sin(turn) + y * std::cos(turn), 596562.78, 0.006);
}

TEST(ObliqueMercator, BothFormsMatchTheirPeers) {
  const auto check = [](const Entries &entries, Axes axes, const std::string &definition,
                        const Grid &around, bool gctpToo) {
    SCOPED_TRACE(definition);
    const Projection ours(kFamily, entries, axes);
    const Difference proj =
        againstProj(ours, "+proj=omerc +x_0=1000 +y_0=-2000" + definition, around);
    EXPECT_LT(proj.forward, 1e-6);
    EXPECT_LT(proj.inverseDeg, 1e-9);
    if (gctpToo) {
      const Difference gctp = againstGctp(ours, 20, {3, 4, 5}, around);
      EXPECT_LT(gctp.forward, 1e-5);  // packed angles
      EXPECT_LT(gctp.inverseDeg, 1e-9);
    }
    EXPECT_LT(roundTripDeg(ours, around), 1e-11);
  };
  char text[200];
  const struct {
    double azimuth, lon, lat;
    Axes axes;
  } azimuths[] = {{-36.87, -133.67, 57, kGRS80}, {53.3, 115, 4, kInternational},
                  {89, 10, 45, kClarke1866},     {-89, 10, -45, kClarke1866},
                  {0, 20, 30, kGRS80},           {60, 179, -50, kGRS80},
                  {-10, -179.5, -0.01, kGRS80},  {35, -100, 88, kGRS80},
                  {45, 25, 40, kNominalSphere}};
  for (const auto &[azimuth, lon, lat, axes] : azimuths) {
    std::snprintf(text, sizeof text, " +k_0=0.9999 +alpha=%.17g +lonc=%.17g +lat_0=%.17g", azimuth,
                  lon, lat);
    // libgctp lets u run from -90 to 270 degrees, ours to ±180.
    check(azimuthForm(azimuth, lon, lat), axes, text,
          {lon - 30, lon + 30, std::fmax(lat - 30, -90), std::fmin(lat + 30, 90), 1.25},
          std::fabs(azimuth) < 80);
  }
  const struct {
    double lat0, lon1, lat1, lon2, lat2;
  } points[] = {
      {40, -122.3, 47.5, -80.2, 25.7}, {57, -133.9, 57.3, -133.4, 56.8}, {0, 10, 5, 20, -7},
      {-30, 175, -20, -175, -40},      {10, -170, -20, 160, 30},         {5, 0, 10, 40, -60}};
  for (const auto &[lat0, lon1, lat1, lon2, lat2] : points) {
    std::snprintf(text, sizeof text,
                  " +k_0=0.9996 +lat_0=%.17g +lon_1=%.17g +lat_1=%.17g +lon_2=%.17g +lat_2=%.17g",
                  lat0, lon1, lat1, lon2, lat2);
    check(pointsForm(lat0, lon1, lat1, lon2, lat2), kClarke1866, text,
          {lon1 - 15, lon1 + 15, lat1 - 15, lat1 + 15, 1.1}, false);
  }
}

/// The centre has the false coordinates, the central line its azimuth there and the scale k0.
TEST(ObliqueMercator, CentreAndCentralLine) {
  constexpr double es = 0.006694380022903416, step = 1e-6;  // rad along the line
  for (const double lat0 : {89.0, 45.0, 1.0, 1e-7, -1e-7, -20.0, -85.0}) {
    for (const double azimuth : {-90.0, -40.0, 0.0, 20.0, 70.0, 90.0}) {
      SCOPED_TRACE(std::to_string(azimuth) + " at " + std::to_string(lat0));
      const Projection ours(kFamily, azimuthForm(azimuth, 170, lat0), kGRS80);
      const Oprj_Point centre = ours.forward(170, lat0);
      EXPECT_NEAR(centre.x, 1000, 1e-7);
      EXPECT_NEAR(centre.y, -2000, 1e-7);
      const double s = std::sin(lat0 * kDeg), n = 1 / std::sqrt(1 - es * s * s);
      const double east = std::sin(azimuth * kDeg), north = std::cos(azimuth * kDeg);
      const double dLon = step * east / (n * std::cos(lat0 * kDeg)) / kDeg,
                   dLat = step * north / ((1 - es) * n * n * n) / kDeg;
      const Oprj_Point before = ours.forward(170 - dLon, lat0 - dLat),
                       behind = ours.forward(170 + dLon, lat0 + dLat);
      const double length = 2 * step * kGRS80.a;
      EXPECT_NEAR((behind.x - before.x) / length, 0.9999 * east, 1e-8);
      EXPECT_NEAR((behind.y - before.y) / length, 0.9999 * north, 1e-8);
    }
  }
}

TEST(ObliqueMercator, ANegativeScaleMirrorsTheSheet) {
  for (Entries entries : {azimuthForm(50, -80, 40), pointsForm(40, -122.3, 47.5, -80.2, 25.7)}) {
    const Projection ours(kFamily, entries, kGRS80);
    for (auto &[index, value] : entries)
      if (index == 2) value = -value;
    const Projection mirrored(kFamily, entries, kGRS80);
    const Oprj_Point p = ours.forward(-78, 42), q = mirrored.forward(-78, 42);
    EXPECT_NEAR(q.x - 1000, 1000 - p.x, 1e-8);
    EXPECT_NEAR(q.y + 2000, -2000 - p.y, 1e-8);
    EXPECT_LT(roundTripDeg(mirrored, {-100, -60, 20, 60, 7.3}), 1e-11);
  }
}

TEST(ObliqueMercator, RoundTripsRoundTheGlobe) {
  // B exceeds 1: beyond 180 degrees / B from the line's node the sheet overlaps itself.
  for (const Entries &entries :
       {azimuthForm(30, -100, 40), pointsForm(40, -122.3, 47.5, -80.2, 25.7)}) {
    const Projection ours(kFamily, entries, kGRS80);
    const double node = ours.object()->parameters[10] / kDeg;
    EXPECT_LT(roundTripDeg(ours, {node - 179, node + 179, -90, 90, 7.3}), 1e-11);
  }
}

TEST(ObliqueMercator, StopsAndContract) {
  // On the sphere the line through (0, 45 N) towards east has its poles at (0, 45 S), (180, 45 N).
  const Projection sphere(kFamily, azimuthForm(90, 0, 45), kNominalSphere);
  constexpr const char *kInfinite = "Point projectes into infinity",
                       *kPhi2 = "Error returned from oprj_Phi2";
  checkStops(sphere, {0.1, 0.5},
             {{"oblique pole", true, {0, -45 * kDeg}, 4, kInfinite},
              {"its antipode", true, {180 * kDeg, 45 * kDeg}, 4, kInfinite},
              {"beyond the pole", true, {0.1, 90.001 * kDeg}, 20, kForward},
              {"infinite longitude", true, {kInf, 0.1}, 20, kForward},
              {"more than a turn along the line", false, {1000 + 6.4e6 * 6.3, -2000}, 20, kInverse},
              {"infinite easting", false, {kInf, 0}, 4, kPhi2},
              {"infinite northing", false, {0, -kInf}, 4, kPhi2}});
  // |U| within 1e-10 of 1 is 90 m from the pole: 110 m beside it all is well.
  const Oprj_Point near = sphere.forward(0, -45 + 1e-3);
  EXPECT_NEAR(sphere.inverse(near.x, near.y).y, -45 + 1e-3, 1e-9);
  const Projection ours(kFamily, azimuthForm(-36.87, -133.67, 57), kGRS80);
  checkContract(ours, kFamily.stem, {-130 * kDeg, 55 * kDeg});
  // A latitude a rounding beyond the pole is the pole.
  const Oprj_Point north = ours.forward(10, 90), beyond = ours.forward(10, 90 + 1e-9);
  EXPECT_EQ(north.x, beyond.x);
  EXPECT_EQ(north.y, beyond.y);
  EXPECT_NEAR(ours.inverse(north.x, north.y).y, 90, 1e-12);
}

TEST(ObliqueMercator, Refusals) {
  constexpr const char *kScale = "Invalid scale factor";
  checkRefusals(kFamily, kGRS80,
                {{"eleven entries", azimuthForm(30, 0, 40), 11, 2, kTooFew},
                 {"no scale", azimuthForm(30, 0, 40, 0), 13, 3, kScale},
                 {"no scale reported before the centre", azimuthForm(30, 0, 0, 0), 13, 3, kScale},
                 {"centre on the equator", azimuthForm(30, 0, 5e-9), 13, 4, kUnusable},
                 {"centre at the north pole", azimuthForm(30, 0, 90), 13, 4, kUnusable},
                 {"centre at the south pole", azimuthForm(30, 0, -90), 13, 4, kUnusable},
                 {"backwards", azimuthForm(90.01, 0, 40), 13, 4, kUnusable},
                 {"points of one latitude", pointsForm(40, 0, 30, 50, 30), 12, 4, kUnusable},
                 {"first point on the equator", pointsForm(40, 0, 0, 50, 30), 12, 4, kUnusable},
                 {"first point at a pole", pointsForm(40, 0, -90, 50, 30), 12, 4, kUnusable},
                 {"points, centre at a pole", pointsForm(90, 0, 20, 50, 30), 12, 4, kUnusable},
                 {"no number", azimuthForm(kNaN, 0, 40), 13, 8, kUnusable},
                 {"infinite centre", azimuthForm(30, kInf, 40), 13, 8, kUnusable}});
  checkCompared(oprj_ObliqueMercatorProParametersEqual, 20, {2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
  // Twelve entries leave out the form: two points.
  const Record record(20, pointsForm(40, 5, 30, 25, 50), kGRS80, 12);
  Oprj_MapProjection *object = oprj_ObliqueMercatorInit(nullptr, record.get(), nullptr);
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(object->parameters[9], 0.0);
  EXPECT_EQ(object->parameters[6], 40 * kDeg);
  oprj_ProjectionPre842Free(&object);
}

}  // namespace
