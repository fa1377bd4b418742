// Anchored LSR: the published example, PROJ's topocentric coordinates in three dimensions, the
// two-dimensional functions as their part of height 0, the horizon and the outline. The
// two-dimensional contract: laws_test.cpp.
#include <gtest/gtest.h>
#include <proj.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <random>

#include "family_support.h"
#include "support.h"

namespace {

using namespace oprj_test;
using orvik::test::expectNoReport;
using orvik::test::expectReport;
using orvik::test::Slot;

const Family kFamily{"AnchoredLSR", oprj_AnchoredLSRInit, 53};

Projection anchoredAt(double lon, double lat, Axes axes = kWGS84, double east = 0,
                      double north = 0) {
  return Projection(kFamily, {{4, lon * kDeg}, {5, lat * kDeg}, {6, east}, {7, north}}, axes);
}

bool same(const Oprj_Point3D &first, const Oprj_Point3D &second) {
  return std::memcmp(&first, &second, sizeof first) == 0;
}
void expectNear(const Oprj_Point3D &found, const Oprj_Point3D &expected, double metres) {
  EXPECT_NEAR(found.x, expected.x, metres);
  EXPECT_NEAR(found.y, expected.y, metres);
  EXPECT_NEAR(found.z, expected.z, metres);
}

Oprj_Point3D through(const Projection &projection, bool forward, Oprj_Point3D p) {
  const Oprj_MapProjection *object = projection.object();
  Slot err;
  (forward ? object->fromLL3D : object->toLL3D)(&p, object->parameters, &p, 1, err);
  expectNoReport(err);
  return p;
}

TEST(AnchoredLSR, WorkedExample) {
  // [EPSG7-2], topocentric conversion; its origin lies 200 m above the ellipsoid, ours on it.
  const Projection ours = anchoredAt(5, 55);
  const Oprj_Point3D geog{dms(2, 7, 46.38) * kDeg, dms(53, 48, 33.82) * kDeg, 73};
  const Oprj_Point3D published{-189013.869, -128642.040, -4220.171 + 200};
  expectNear(through(ours, true, geog), published, 0.0006);
  const Oprj_Point3D back = through(ours, false, published);
  expectNear({back.x, back.y, 0}, {geog.x, geog.y, 0}, 1e-10);
  EXPECT_NEAR(back.z, 73, 0.001);
  // [EPSG7-2], Orthographic, which on the ellipsoid is the same with the height left out
  const Oprj_Point flat = ours.forward(dms(2, 7, 46.38), dms(53, 48, 33.82));
  expectNear({flat.x, flat.y, 0}, {-189011.711, -128640.567, 0}, 0.0006);
}

TEST(AnchoredLSR, ThreeDimensionsMatchProj) {
  const Oprj_Point anchors[] = {{5, 55}, {-100, 0}, {179.9, -33}, {20, 90}, {0, -89.99}};
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> lon(-180, 180), sine(-1, 1);
  for (const Oprj_Point &anchor : anchors) {
    const Projection ours = anchoredAt(anchor.x, anchor.y, kWGS84, 5000, -7000);
    char text[300];
    std::snprintf(text, sizeof text,
                  "+proj=pipeline +step +proj=cart +ellps=WGS84 +step +proj=topocentric "
                  "+ellps=WGS84 +lon_0=%.17g +lat_0=%.17g +h_0=0",
                  anchor.x, anchor.y);
    std::unique_ptr<PJ, decltype(&proj_destroy)> peer(proj_create(nullptr, text), proj_destroy);
    ASSERT_NE(peer, nullptr);
    // From deep below the surface to beyond the geostationary satellites, all round.
    for (const double height : {-4e6, -1e4, 0.0, 9e3, 8e5, 4.2e7}) {
      for (int i = 0; i < 200; ++i) {
        const Oprj_Point3D geog{lon(random) * kDeg, std::asin(sine(random)), height};
        const PJ_COORD c = proj_trans(peer.get(), PJ_FWD, proj_coord(geog.x, geog.y, geog.z, 0));
        const Oprj_Point3D local = through(ours, true, geog);
        const double metres = 1e-15 * (2e7 + 2 * std::fabs(height));
        expectNear(local, {c.xyz.x + 5000, c.xyz.y - 7000, c.xyz.z}, metres);
        const Oprj_Point3D back = through(ours, false, local);
        EXPECT_NEAR(std::remainder(back.x - geog.x, 2 * M_PI) * std::cos(geog.y), 0, 1e-14);
        EXPECT_NEAR(back.y, geog.y, 1e-14);
        EXPECT_NEAR(back.z, height, metres);
      }
    }
  }
}

/// The two-dimensional functions are east and north of height 0, over the whole visible side.
TEST(AnchoredLSR, TwoDimensionsAreHeightNought) {
  const Axes flat{6378137, 6378137 * 0.9};
  for (const Axes axes : {kWGS84, kNominalSphere, flat}) {
    for (const double lat0 : {0.0, 51.0, -80.0, 90.0}) {
      const Projection ours = anchoredAt(170, lat0, axes, 100, 200);
      int projected = 0;
      for (const Oprj_Point &g : Grid{-180, 180, -90, 90, 4.5}.points()) {
        const double up = std::sin(g.y) * std::sin(lat0 * kDeg) +
                          std::cos(g.y) * std::cos(lat0 * kDeg) * std::cos(g.x - 170 * kDeg);
        if (std::fabs(up) < 1e-9) continue;  // on the horizon but for rounding
        Oprj_Point p = g;
        Slot err;
        ours.object()->fromLL(&p, ours.object()->parameters, &p, 1, err);
        EXPECT_EQ(err.get() == nullptr, up > 0) << g.x / kDeg << " " << g.y / kDeg;
        if (up <= 0) continue;
        ++projected;
        const Oprj_Point3D solid = through(ours, true, {g.x, g.y, 0});
        expectNear({p.x, p.y, solid.z}, solid, 1e-8);
        const Oprj_Point back = ours.inverse(p.x, p.y);
        // Near the horizon a metre on the sheet is many on the ground.
        const double tolerance = 1e-13 / up;
        EXPECT_NEAR(std::remainder(back.x * kDeg - g.x, 2 * M_PI) * std::cos(g.y), 0, tolerance);
        EXPECT_NEAR(back.y * kDeg, g.y, tolerance);
      }
      EXPECT_GT(projected, 1000);
    }
  }
}

TEST(AnchoredLSR, StopsAndRecords) {
  const Projection ours = anchoredAt(0, 0);
  const double a = kWGS84.a, b = kWGS84.b;
  checkStops(ours, {0.2, 0.3},
             {{"the horizon", true, {90 * kDeg + 1e-12, 0}, 20, kForward},
              {"the pole, on the horizon", true, {0, 90.0000001 * kDeg}, 20, kForward},
              {"behind", true, {3, 0.1}, 20, kForward},
              {"outside, east", false, {a * (1 + 1.1e-10), 0}, 20, kInverse},
              {"outside, south", false, {0, -b * (1 + 1.1e-10)}, 20, kInverse},
              {"far outside", false, {1e300, 0}, 20, kInverse},
              {"infinite", false, {0, kInf}, 20, kInverse}});
  // A hair outside is the outline.
  EXPECT_NEAR(ours.inverse(a * (1 + 5e-11), 0).x, 90, 1e-3);
  EXPECT_NEAR(ours.inverse(0, b * (1 + 5e-11)).y, 90, 1e-3);
  checkRefusals(kFamily, kWGS84,
                {{"seven entries", {}, 7, 2, kTooFew},
                 {"no anchor", {{5, kNaN}}, 8, 6, kUnusable},
                 {"infinite offset", {{6, -kInf}}, 8, 6, kUnusable}});
  checkCompared(oprj_AnchoredLSRProParametersEqual, 53, {4, 5, 6, 7});
}

TEST(AnchoredLSR, ThreeDimensionalContract) {
  const Projection ours = anchoredAt(10, 50);
  const Oprj_MapProjection &object = *ours.object();
  ASSERT_EQ(object.fromLL3D, oprj_AnchoredLSRFromLL3D);
  ASSERT_EQ(object.toLL3D, oprj_AnchoredLSRToLL3D);
  const char *const noGeog = "Invalid input geog points";
  const char *const noProjected = "Invalid input projected points";
  for (const bool forward : {true, false}) {
    const char *const name = forward ? "oprj_AnchoredLSRFromLL3D" : "oprj_AnchoredLSRToLL3D";
    SCOPED_TRACE(name);
    const Oprj_PointFunction3D function = forward ? object.fromLL3D : object.toLL3D;
    const double *block = object.parameters;
    const Oprj_Point3D g = forward ? Oprj_Point3D{0.2, 0.9, 100} : Oprj_Point3D{1000, 2000, 300};
    const Oprj_Point3D untouched{-77, -77, -77};
    Oprj_Point3D out = untouched;
    Slot err;
    function(&g, nullptr, &out, 1, err);
    expectReport(err, name, 1, "Invalid input parameters");
    function(nullptr, block, &out, 1, err);
    expectReport(err, name, 2, forward ? noGeog : noProjected);
    function(&g, block, nullptr, 1, err);
    expectReport(err, name, 3, forward ? noProjected : noGeog);
    for (const int32_t count : {0, -3}) function(&g, block, &out, count, err);
    expectNoReport(err);
    EXPECT_TRUE(same(out, untouched));
    // A NaN anywhere gives three, and the others go on; in place.
    const Oprj_Point3D alone = through(ours, forward, g);
    Oprj_Point3D points[] = {g, {kNaN, g.y, g.z}, {g.x, kNaN, g.z}, {g.x, g.y, kNaN}, g};
    function(points, block, points, 5, err);
    expectNoReport(err);
    EXPECT_TRUE(same(points[0], alone) && same(points[4], alone));
    for (const Oprj_Point3D &p : {points[1], points[2], points[3]})
      EXPECT_TRUE(std::isnan(p.x) && std::isnan(p.y) && std::isnan(p.z));
    const Oprj_Point3D beyond =
        forward ? Oprj_Point3D{0.2, 90.001 * kDeg, 0} : Oprj_Point3D{0, 0, -kInf};
    for (const Oprj_Point3D &bad :
         {beyond, {kInf, g.y, g.z}, {g.x, -kInf, g.z}, {g.x, g.y, kInf}}) {
      const Oprj_Point3D in[] = {g, bad, g};
      Oprj_Point3D result[3] = {untouched, untouched, untouched};
      function(in, block, result, 3, err);
      const std::string text = forward ? "Point cannot be projected" : "Input data error";
      expectReport(
          err, name, 20,
          (text + ", point # 1:  " + std::to_string(bad.x) + ", " + std::to_string(bad.y)).c_str());
      int64_t index = -1;
      double x = 0, y = 0;
      EXPECT_TRUE(oerr_PointGet(err.get(), &index, &x, &y));
      EXPECT_TRUE(index == 1 && x == bad.x && y == bad.y) << index << " " << x << " " << y;
      EXPECT_TRUE(same(result[0], alone) && same(result[1], untouched) &&
                  same(result[2], untouched));
    }
  }
}

/// Within 43 km of the centre a point lies on several normals: what is found is one of them, or is
/// reported; outside all is found.
TEST(AnchoredLSR, TheEarthsCentre) {
  const Projection ours = anchoredAt(0, 0);
  const Oprj_MapProjection &object = *ours.object();
  std::mt19937_64 random(2);
  std::normal_distribution<double> any;
  for (const double radius : {1.0, 1e3, 2e4, 4.2e4, 4.3e4, 6e4, 1e6}) {
    for (int i = 0; i < 500; ++i) {
      const double x = any(random), y = any(random), z = any(random);
      const double scale = radius / std::sqrt(x * x + y * y + z * z);
      const Oprj_Point3D p{x * scale, y * scale, z * scale - kWGS84.a};
      Oprj_Point3D geog;
      Slot err;
      object.toLL3D(&p, object.parameters, &geog, 1, err);
      if (err.failed()) {
        EXPECT_LT(radius, 4.3e4);
        continue;
      }
      expectNear(through(ours, true, geog), p, 1e-8);
    }
  }
  Oprj_Point3D centre{0, 0, -kWGS84.a};
  Slot err;
  object.toLL3D(&centre, object.parameters, &centre, 1, err);
  EXPECT_TRUE(err.failed());
}

}  // namespace
