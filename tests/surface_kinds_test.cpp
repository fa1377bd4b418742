// Surfaces of scattered points against a search by brute force, and those of plug-ins.
#include <dlfcn.h>
#include <oprj/datum_model.h>

#include <array>
#include <random>
#include <sstream>

#include "tests/surfaces_support.h"

namespace {

using namespace orvik::test;
using namespace OrvikDatum;

struct Known {
  double lon, lat, east, north;
};

ShiftSurface::Ptr drawn(const TemporaryDirectory &folder, const std::vector<Known> &points,
                        ShiftMethod method, Oerr_Report **err) {
  std::ostringstream text;
  text.precision(17);
  for (const Known &p : points)
    text << p.lon << ',' << p.lat << '\t' << p.east << ' ' << p.north << "\r\n";
  return VectorShiftSurface::Make(folder.write("points.txt", text.str()).c_str(), method,
                                  NoNodata(), err);
}

/// Delaunay by definition: the triangle around p that has no other point in its circumcircle.
bool byDefinition(const std::vector<Known> &points, double x, double y, Shift &shift) {
  const auto cross = [](const Known &a, const Known &b, double px, double py) {
    return (b.lon - a.lon) * (py - a.lat) - (b.lat - a.lat) * (px - a.lon);
  };
  for (const Known &a : points)
    for (const Known &b : points)
      for (const Known &c : points) {
        const double area = cross(a, b, c.lon, c.lat);
        const double wa = cross(b, c, x, y) / area, wb = cross(c, a, x, y) / area, wc = 1 - wa - wb;
        if (!(area > 0 && wa >= 0 && wb >= 0 && wc >= 0)) continue;
        bool empty = true;
        for (const Known &d : points) {
          const auto row = [&](const Known &p) {
            const double px = p.lon - d.lon, py = p.lat - d.lat;
            return std::array{px, py, px * px + py * py};
          };
          const auto p = row(a), q = row(b), r = row(c);
          const double in = p[0] * (q[1] * r[2] - q[2] * r[1]) -
                            p[1] * (q[0] * r[2] - q[2] * r[0]) + p[2] * (q[0] * r[1] - q[1] * r[0]);
          empty &= !(in > 1e-12);
        }
        if (!empty) continue;
        shift = {wa * a.east + wb * b.east + wc * c.east,
                 wa * a.north + wb * b.north + wc * c.north, 0};
        return true;
      }
  return false;
}

TEST(VectorSurfaces, AreDelaunaysTrianglesAndNearestPoints) {
  const TemporaryDirectory folder;
  std::mt19937 random(7);
  std::uniform_real_distribution<double> unit(0, 1);
  for (const double west : {-3.0, 176.0}) {  // beside Greenwich, across 180 degrees
    std::vector<Known> points;
    for (int i = 0; i < 14; ++i)
      points.push_back(
          {west + 8 * unit(random), 50 + 5 * unit(random), unit(random), unit(random)});
    auto written = points;
    for (Known &p : written) p.lon = std::remainder(p.lon, 360);
    Slot err;
    const auto linear = drawn(folder, written, ShiftMethod::Linear, err),
               nearest = drawn(folder, written, ShiftMethod::Nearest, err);
    ASSERT_TRUE(linear && nearest) << err.chain();
    int covered = 0;
    for (int i = 0; i < 1000; ++i) {
      const double x = west + 8 * unit(random), y = 50 + 5 * unit(random);
      Shift wanted, found;
      const bool has = byDefinition(points, x, y, wanted);
      ASSERT_EQ(linear->GetShift(std::remainder(x, 360), y, found), has) << x << ' ' << y;
      if (!has) continue;
      ++covered;
      ASSERT_NEAR(found.east, wanted.east, 1e-5);  // points are rounded to 1e-7 degree
      ASSERT_NEAR(found.north, wanted.north, 1e-5);
      ASSERT_TRUE(nearest->GetShift(std::remainder(x, 360), y, found));
      const auto distance = [&](const Known &p) { return std::hypot(p.lon - x, p.lat - y); };
      const Known &closest = *std::min_element(
          points.begin(), points.end(),
          [&](const Known &a, const Known &b) { return distance(a) < distance(b); });
      ASSERT_EQ(found.east, closest.east);
    }
    EXPECT_GT(covered, 300);
    Extent extent;
    EXPECT_TRUE(linear->GetExtent(extent));
    EXPECT_EQ(extent.west > extent.east, west > 0);
  }
}

TEST(VectorSurfaces, RepeatLinearShiftsOnLatticesAndSlivers) {
  const TemporaryDirectory folder;
  std::vector<Known> regular, hedgehog;  // four on every circle; triangles as thin as can be
  const auto add = [](std::vector<Known> &to, double lon, double lat) {
    to.push_back({lon, lat, lon / 7 + lat, 3 - lat / 2});
  };
  for (int i = 0; i <= 60; ++i)
    for (int k = 0; k <= 60; ++k) add(regular, -170 + i * 5.5, -88 + k * 2.9);
  for (int i = 0; i <= 300; ++i) {
    add(hedgehog, i * 0.01, 0.002 * (i % 2) + 1e-7 * (i % 3));
    add(hedgehog, i * 0.01 + 0.005, 60 + i * i * 1e-6);
  }
  std::mt19937 random(3);
  std::uniform_real_distribution<double> unit(0, 1);
  for (const auto &[points, west, east, south, north] :
       {std::tuple(regular, -170.0, 160.0, -88.0, 86.0), {hedgehog, 0.1, 2.9, 0.01, 59.9}}) {
    Slot err;
    const auto surface = drawn(folder, points, ShiftMethod::Linear, err);
    ASSERT_TRUE(surface) << err.chain();
    for (int i = 0; i < 20000; ++i) {
      const double lon = west + (east - west) * unit(random),
                   lat = south + (north - south) * unit(random);
      Shift found;
      ASSERT_TRUE(surface->GetShift(lon, lat, found)) << lon << ' ' << lat;
      ASSERT_NEAR(found.east, lon / 7 + lat, 1e-6);
      ASSERT_NEAR(found.north, 3 - lat / 2, 1e-6);
    }
  }
}

TEST(VectorSurfaces, RefuseBadFiles) {
  const TemporaryDirectory folder;
  const struct {
    std::string content;
    int32_t code;
    const char *message;  ///< behind the path
  } cases[] = {
      {"", 4, ": fewer than three points, or all on one line"},
      {"0 0 1 1\n1 0 1 1\n", 4, ": fewer than three points, or all on one line"},
      {"0 0 1 1\n1 1 1 1\n2 2 1 1\n3 3 1 1", 4, ": fewer than three points, or all on one line"},
      {"# c\n\n0 0 1\n", 2, ":3: expected longitude, latitude and the two shifts"},
      {"0 0 1 1 1\n", 2, ":1: expected longitude, latitude and the two shifts"},
      {"0 0 1 nan\n", 2, ":1: expected longitude, latitude and the two shifts"},
      {"0 0 1 1e999\n", 2, ":1: expected longitude, latitude and the two shifts"},
      {"0 90.1 1 1\n", 2, ":1: not a place on the globe"},
      {"361 0 1 1\n", 2, ":1: not a place on the globe"},
      {"0 0 1 1\n5 5 1 1\n\n0.00000001 0 2 2\n3 9 1 1", 3,
       ":4: two points at one place, the other in line 1"},
      {"180 0 1 1\n-180 0 1 1\n3 3 3 3", 3, ":2: two points at one place, the other in line 1"},
  };
  for (const auto &[content, code, message] : cases) {
    const std::string path = folder.write("bad.txt", content);
    Slot err;
    EXPECT_FALSE(VectorShiftSurface::Make(path.c_str(), ShiftMethod::Linear, NoNodata(), err));
    expectReport(err, "VectorShiftSurface::Make", code, (path + message).c_str());
  }
  Slot err;
  EXPECT_FALSE(
      VectorShiftSurface::Make(folder.path().c_str(), ShiftMethod::Linear, NoNodata(), err));
  expectReport(err, "VectorShiftSurface::Make", 1, "Error returned from ofio_FileRead");
  // a corner without a value takes its triangles with it
  const auto holed = VectorShiftSurface::Make(
      folder.write("holed.txt", "0 0 1 1\n2 0 1 1\n2 2 1 1\n0 2.2 -9 1").c_str(),
      ShiftMethod::Linear, -9, err);
  Shift shift;
  EXPECT_TRUE(holed && holed->GetShift(1.9, 1, shift) && !holed->GetShift(0.1, 1, shift));
}

// --- plug-ins ---

TEST(PlugIns, ServeAndLeave) {
  const LeakCheck leaks;
  const auto isLoaded = [](const std::string &path) {
    void *handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle) dlclose(handle);
    return handle != nullptr;
  };
  Slot err;
  {
    const auto surface = PlugInShiftSurface::Make(kPlugIn.c_str(), "bounds 170 0 -170 10", err);
    ASSERT_TRUE(surface) << err.chain();
    Extent extent;
    EXPECT_TRUE(surface->GetExtent(extent) && extent.west == 170 && extent.north == 10);
    Shift shift;
    EXPECT_TRUE(surface->GetShift(-175, 5, shift) && shift.east == -17.5 && shift.north == 0.5);
    EXPECT_FALSE(surface->GetShift(165, 5, shift) || surface->GetShift(175, 11, shift));
    const auto everywhere = PlugInShiftSurface::Make(kPlugIn.c_str(), nullptr, err);
    EXPECT_TRUE(everywhere && !everywhere->GetExtent(extent));
    EXPECT_FALSE(everywhere->GetShift(0, -1, shift)) << "it says that it has none";
    const auto mute = PlugInShiftSurface::Make(kPlugIn.c_str(), "cannot tell", err);
    Oprj_Point point = {1, 1};
    Oprj_ShiftTally before, after;
    oprj_ShiftTallyGet(&before);
    EXPECT_FALSE(mute && mute->ShiftPoints(&point, &point, 1, true, err));
    oprj_ShiftTallyGet(&after);
    EXPECT_EQ(err.chain(),
              "ShiftSurface::ShiftPoints: The surface cannot tell its shifts (3) < "
              "PlugInShiftSurface::GetShifts: The plug-in test cannot tell its shifts (1)");
    EXPECT_EQ(after.unshifted, before.unshifted);
  }
  EXPECT_FALSE(isLoaded(kPlugIn));
  const std::string nothing = kPlugIn + " has no shift surfaces of version 1";
  const struct {
    std::string library, argument;
    const char *fault;
    int32_t code;
    std::string message;
  } cases[] = {
      {"/no/such.so", "", nullptr, 1, "Error returned from odll_Open"},
      {kNoEntry, "", nullptr, 2, kNoEntry + " does not export oprj_ShiftSurfacePlugInGet"},
      {kPlugIn, "", "null", 3, nothing},
      {kPlugIn, "", "version", 3, nothing},
      {kPlugIn, "", "size", 3, nothing},
      {kPlugIn, "", "hole", 3, nothing},
      {kPlugIn, "fails", nullptr, 4, kPlugIn + ": open failed: " + std::string(255, 'x')},
      {kPlugIn, "bounds 0 10 5 -10", nullptr, 5, kPlugIn + ": bad extent"},
      {kPlugIn, "bounds nan 0 5 10", nullptr, 5, kPlugIn + ": bad extent"},
      {kPlugIn, "bounds 0 0 500 10", nullptr, 5, kPlugIn + ": bad extent"},
  };
  for (const auto &[library, argument, fault, code, message] : cases) {
    const ScopedEnvironment kind("OPRJ_TEST_PLUGIN", fault);
    EXPECT_FALSE(PlugInShiftSurface::Make(library.c_str(), argument.c_str(), err));
    expectReport(err, "PlugInShiftSurface::Make", code, message.c_str());
    EXPECT_FALSE(isLoaded(library)) << message;
  }
  forEachAllocationFailure(
      [&](auto slot) { return PlugInShiftSurface::Make(kPlugIn.c_str(), "", slot) != nullptr; });
}

}  // namespace
