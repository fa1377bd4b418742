// Oblique Mercator: published examples, both forms against PROJ and libgctp, centres anywhere, the
// oblique poles, and what the initialiser refuses.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "family_support.h"

namespace {

using namespace oprj_test;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr Axes kEverest1967{6377298.556, 6377298.556 * (1 - 1 / 300.8017)};

Projection azimuthForm(double azimuth, double lonCentre, double lat0, Axes axes,
                       double scale = 0.9999) {
  return Projection(oprj_ObliqueMercatorInit, 20,
                    {{2, scale},
                     {3, azimuth * kDeg},
                     {4, lonCentre * kDeg},
                     {5, lat0 * kDeg},
                     {6, 1000},
                     {7, -2000},
                     {12, 1}},
                    axes);
}

/// Two-point form: latitude of the centre, then longitude and latitude of two points.
Projection pointsForm(double lat0, double lon1, double lat1, double lon2, double lat2, Axes axes) {
  return Projection(oprj_ObliqueMercatorInit, 20,
                    {{2, 0.9996},
                     {5, lat0 * kDeg},
                     {6, 1000},
                     {7, -2000},
                     {8, lon1 * kDeg},
                     {9, lat1 * kDeg},
                     {10, lon2 * kDeg},
                     {11, lat2 * kDeg}},
                    axes);
}

TEST(ObliqueMercator, PublishedExamples) {
  // [Snyder87] p. 274, x0 = 4000000, y0 = 500000: two points; its coordinates start where the
  // central line crosses the aposphere's equator, ours at the centre, u_c farther along the line.
  const Projection snyder(oprj_ObliqueMercatorInit, 20,
                          {{2, 0.9996},
                           {5, 40 * kDeg},
                           {8, dms(-122, 18, 0) * kDeg},
                           {9, 47.5 * kDeg},
                           {10, dms(-80, 12, 0) * kDeg},
                           {11, dms(25, 42, 0) * kDeg}},
                          kClarke1866);
  const double *block = snyder.object()->parameters;
  const double east = 4e6 + block[14] * block[17], north = 5e5 + block[14] * block[18];
  const Oprj_Point p = snyder.forward(-74, dms(40, 48, 0));
  EXPECT_NEAR(p.x + east, 963436.1, 0.05);
  EXPECT_NEAR(p.y + north, 4369142.8, 0.05);
  const Oprj_Point g = snyder.inverse(963436.1 - east, 4369142.8 - north);
  EXPECT_NEAR(g.x, -74, 1e-6);
  EXPECT_NEAR(g.y, dms(40, 48, 0), 1e-6);

  // [EPSG7-2], Hotine Oblique Mercator variant B, Timbalai 1948 / RSO Borneo: its sheet is turned
  // by the rectified grid's angle, ours by the azimuth.
  const double azimuth = dms(53, 18, 56.9537), rectified = dms(53, 7, 48.3685);
  const Projection borneo(
      oprj_ObliqueMercatorInit, 20,
      {{2, 0.99984}, {3, azimuth * kDeg}, {4, 115 * kDeg}, {5, 4 * kDeg}, {12, 1}}, kEverest1967);
  const Oprj_Point q = borneo.forward(dms(115, 48, 19.8196), dms(5, 23, 14.1129));
  const double turn = (rectified - azimuth) * kDeg;
  EXPECT_NEAR(590476.87 + q.x * std::cos(turn) + q.y * std::sin(turn), 679245.73, 0.006);
  EXPECT_NEAR(442857.65 - q.x * std::sin(turn) + q.y * std::cos(turn), 596562.78, 0.006);
}

TEST(ObliqueMercator, AzimuthFormMatchesItsPeers) {
  const struct {
    double azimuth, lon, lat;
    Axes axes;
  } rows[] = {{-36.87, -133.67, 57, kGRS80}, {53.3, 115, 4, kInternational},
              {89, 10, 45, kClarke1866},     {-89, 10, -45, kClarke1866},
              {0, 20, 30, kGRS80},           {60, 179, -50, kGRS80},
              {-10, -179.5, -0.01, kGRS80},  {35, -100, 88, kGRS80},
              {45, 25, 40, kNominalSphere}};
  for (const auto &row : rows) {
    SCOPED_TRACE(std::to_string(row.azimuth) + " at " + std::to_string(row.lat));
    const Projection ours = azimuthForm(row.azimuth, row.lon, row.lat, row.axes);
    char text[200];
    std::snprintf(text, sizeof text,
                  "+proj=omerc +k_0=0.9999 +alpha=%.17g +lonc=%.17g +lat_0=%.17g +x_0=1000 "
                  "+y_0=-2000",
                  row.azimuth, row.lon, row.lat);
    const double south = std::fmax(row.lat - 30, -90), north = std::fmin(row.lat + 30, 90);
    const Grid around{row.lon - 30, row.lon + 30, south, north, 1.25};
    const Difference d = againstProj(ours, text, around);
    EXPECT_LT(d.forward, 1e-6);
    EXPECT_LT(d.inverseDeg, 1e-9);
    if (std::fabs(row.azimuth) < 80) {  // libgctp lets u run from -90 to 270 degrees, ours to ±180
      const Difference gctp = againstGctp(ours, 20, row.axes,
                                          {{2, 0.9999},
                                           {3, row.azimuth * kDeg},
                                           {4, row.lon * kDeg},
                                           {5, row.lat * kDeg},
                                           {6, 1000},
                                           {7, -2000},
                                           {12, 1}},
                                          {3, 4, 5}, around);
      EXPECT_LT(gctp.forward, 1e-5);  // packed angles
      EXPECT_LT(gctp.inverseDeg, 1e-9);
    }
    EXPECT_LT(roundTripDeg(ours, around), 1e-11);
  }
}

TEST(ObliqueMercator, TwoPointFormMatchesItsPeers) {
  const struct {
    double lat0, lon1, lat1, lon2, lat2;
  } rows[] = {
      {40, -122.3, 47.5, -80.2, 25.7}, {57, -133.9, 57.3, -133.4, 56.8}, {0, 10, 5, 20, -7},
      {-30, 175, -20, -175, -40},      {10, -170, -20, 160, 30},         {5, 0, 10, 40, -60}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.lat1);
    const Projection ours =
        pointsForm(row.lat0, row.lon1, row.lat1, row.lon2, row.lat2, kClarke1866);
    char text[240];
    std::snprintf(text, sizeof text,
                  "+proj=omerc +k_0=0.9996 +lat_0=%.17g +lon_1=%.17g +lat_1=%.17g +lon_2=%.17g "
                  "+lat_2=%.17g +x_0=1000 +y_0=-2000",
                  row.lat0, row.lon1, row.lat1, row.lon2, row.lat2);
    const Grid around{row.lon1 - 15, row.lon1 + 15, row.lat1 - 15, row.lat1 + 15, 1.1};
    const Difference d = againstProj(ours, text, around);
    EXPECT_LT(d.forward, 1e-6);
    EXPECT_LT(d.inverseDeg, 1e-9);
    EXPECT_LT(roundTripDeg(ours, around), 1e-11);
    // Both points lie on the central line: no distance across it.
    const double *block = ours.object()->parameters;
    for (const Oprj_Point &p : {Oprj_Point{row.lon1, row.lat1}, {row.lon2, row.lat2}}) {
      const Oprj_Point q = ours.forward(p.x, p.y);
      EXPECT_NEAR((q.x - 1000) * block[18] - (q.y + 2000) * block[17], 0, 1e-6);
    }
  }
}

/// The centre has the false coordinates, the central line its azimuth there and the scale k0.
TEST(ObliqueMercator, CentreAndCentralLine) {
  for (const double lat0 : {89.0, 45.0, 1.0, 1e-7, -1e-7, -20.0, -85.0}) {
    for (const double azimuth : {-90.0, -40.0, 0.0, 20.0, 70.0, 90.0}) {
      SCOPED_TRACE(std::to_string(azimuth) + " at " + std::to_string(lat0));
      const Projection ours = azimuthForm(azimuth, 170, lat0, kGRS80);
      const Oprj_Point centre = ours.forward(170, lat0);
      EXPECT_NEAR(centre.x, 1000, 1e-7);
      EXPECT_NEAR(centre.y, -2000, 1e-7);
      const double step = 1e-6;  // rad along the line
      const double s = std::sin(lat0 * kDeg), es = 0.006694380022903416;
      const double n = 1 / std::sqrt(1 - es * s * s), m = (1 - es) * n * n * n;
      const double east = std::sin(azimuth * kDeg), north = std::cos(azimuth * kDeg);
      const auto beside = [&](double side) {
        return ours.forward(170 + side * step * east / (n * std::cos(lat0 * kDeg)) / kDeg,
                            lat0 + side * step * north / m / kDeg);
      };
      const Oprj_Point before = beside(-1), behind = beside(1);
      const double length = 2 * step * kGRS80.a;
      EXPECT_NEAR((behind.x - before.x) / length, 0.9999 * east, 1e-8);
      EXPECT_NEAR((behind.y - before.y) / length, 0.9999 * north, 1e-8);
    }
  }
}

TEST(ObliqueMercator, RoundTripsRoundTheGlobe) {
  // B exceeds 1: beyond 180 degrees / B from the line's node the sheet overlaps itself.
  const Projection ours = azimuthForm(30, -100, 40, kGRS80);
  const double node = ours.object()->parameters[10] / kDeg;
  EXPECT_LT(roundTripDeg(ours, {node - 179, node + 179, -90, 90, 7.3}), 1e-11);
  const Projection points = pointsForm(40, -122.3, 47.5, -80.2, 25.7, kClarke1866);
  const double nodeOfPoints = points.object()->parameters[10] / kDeg;
  EXPECT_LT(roundTripDeg(points, {nodeOfPoints - 179, nodeOfPoints + 179, -90, 90, 7.3}), 1e-11);
}

TEST(ObliqueMercator, StopsAndContract) {
  // On the sphere the line through (0, 45 N) towards east has its poles at (0, 45 S), (180, 45 N).
  const Projection sphere = azimuthForm(90, 0, 45, kNominalSphere);
  checkStops(sphere, {0.1, 0.5},
             {{"oblique pole", true, {0, -45 * kDeg}, 4, "Point projectes into infinity"},
              {"its antipode", true, {180 * kDeg, 45 * kDeg}, 4, "Point projectes into infinity"},
              {"beyond the pole",
               true,
               {0.1, 90.001 * kDeg},
               20,
               "Point cannot be projected, point # %ld:  %lf, %lf"},
              {"infinite longitude",
               true,
               {kInfinity, 0.1},
               20,
               "Point cannot be projected, point # %ld:  %lf, %lf"},
              {"infinite easting", false, {kInfinity, 0}, 4, "Error returned from oprj_Phi2"},
              {"infinite northing", false, {0, -kInfinity}, 4, "Error returned from oprj_Phi2"}});
  // |U| within 1e-10 of 1 is 90 m from the pole: 110 m beside it all is well.
  const Oprj_Point near = sphere.forward(0, -45 + 1e-3);
  EXPECT_NEAR(sphere.inverse(near.x, near.y).y, -45 + 1e-3, 1e-9);
  const Projection ours = azimuthForm(-36.87, -133.67, 57, kGRS80);
  checkContract(ours, "ObliqueMercator", {-130 * kDeg, 55 * kDeg});
  // A latitude a rounding beyond the pole is the pole.
  const Oprj_Point north = ours.forward(10, 90);
  const Oprj_Point beyond = ours.forward(10, 90 + 1e-9);
  EXPECT_EQ(north.x, beyond.x);
  EXPECT_EQ(north.y, beyond.y);
  EXPECT_NEAR(ours.inverse(north.x, north.y).y, 90, 1e-12);
}

TEST(ObliqueMercator, Refusals) {
  const char *const improper = "Improper parameter";
  const double nan = std::nan("");
  checkRefusals(
      oprj_ObliqueMercatorInit, "oprj_ObliqueMercatorInit", 20, kGRS80,
      {{"eleven entries",
        {{2, 1}, {3, 0.5}, {5, 0.7}},
        11,
        2,
        "Insufficient projection parameters"},
       {"no scale", {{3, 0.5}, {5, 0.7}, {12, 1}}, 13, 3, "Invalid scale factor"},
       {"no scale reported before the centre", {{12, 1}}, 13, 3, "Invalid scale factor"},
       {"azimuth form, centre on the equator",
        {{2, 1}, {3, 0.5}, {5, 1e-10}, {12, 1}},
        13,
        4,
        improper},
       {"azimuth form, north pole", {{2, 1}, {3, 0.5}, {5, 90 * kDeg}, {12, 1}}, 13, 4, improper},
       {"azimuth form, south pole", {{2, 1}, {3, 0.5}, {5, -90 * kDeg}, {12, 1}}, 13, 4, improper},
       {"azimuth form, backwards", {{2, 1}, {3, 90.01 * kDeg}, {5, 0.7}, {12, 1}}, 13, 4, improper},
       {"two points of one latitude",
        {{2, 1}, {5, 0.7}, {9, 0.5}, {10, 1}, {11, 0.5}},
        12,
        4,
        improper},
       {"first point on the equator",
        {{2, 1}, {5, 0.7}, {9, 0}, {10, 1}, {11, 0.5}},
        12,
        4,
        improper},
       {"first point at a pole",
        {{2, 1}, {5, 0.7}, {9, -90 * kDeg}, {10, 1}, {11, 0.5}},
        12,
        4,
        improper},
       {"two points, centre at a pole",
        {{2, 1}, {5, 90 * kDeg}, {9, 0.3}, {10, 1}, {11, 0.5}},
        12,
        4,
        improper},
       {"no number", {{2, 1}, {3, nan}, {5, 0.7}, {12, 1}}, 13, 8, improper},
       {"infinite offset",
        {{2, 1}, {3, 0.5}, {5, 0.7}, {6, kInfinity}, {12, 1}},
        13,
        8,
        improper}});
  checkCompared(oprj_ObliqueMercatorProParametersEqual, 20, {2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
  // Twelve entries leave out the form: two points.
  const Record record(20, {{2, 1.0}, {5, 0.7}, {8, 0.1}, {9, 0.5}, {10, 0.4}, {11, 0.9}}, kGRS80,
                      12);
  Oprj_MapProjection *object = oprj_ObliqueMercatorInit(nullptr, record.get(), nullptr);
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(object->parameters[9], 0.0);
  EXPECT_EQ(object->parameters[6], 0.7);
  oprj_ProjectionPre842Free(&object);
}

}  // namespace
