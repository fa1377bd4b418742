// Projections that plug-ins compute, with and without faults, and the samples of both kinds.
#include <dlfcn.h>
#include <proj.h>

#include <cmath>

#include "tests/external_support.h"

namespace {

using namespace orvik::test;

/// The plug-in of the tests, with a fault.
struct PlugIn : Child {
  explicit PlugIn(const char *fault)
      : Child("", "5", kLib), fails("OPRJ_TEST_PLUGIN", *fault ? fault : nullptr) {}
  ScopedEnvironment fails;
};
const std::string kPlugIn = std::string(kLib) + "/libprojection_plugin.so";

bool isLoaded() {
  void *handle = dlopen(kPlugIn.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle) dlclose(handle);
  return handle;
}

TEST(ExternalPlugIn, WithFaultsIsRefusedAndUnloaded) {
  const NothingLeft nothing;
  const std::string open = "DLL open failed (1) < ProjectionInstanceOpen: " + kPlugIn + " has ",
                    asked = " (version 1 is asked for) (7)",
                    made = "ProjectionInstanceInit failed (3)",
                    taken = "init failed for libprojection_plugin (4)",
                    thrown = " < plug-in: an exception was thrown: ";
  const std::pair<const char *, std::string> cases[] = {
      {"null", open + "no table of this version" + asked},
      {"version", open + "a table of another version" + asked},
      {"size", open + "a table that is too small" + asked},
      {"hole 0", open + "no name" + asked},
      {"hole 1", open + "no function create" + asked},
      {"hole 2", open + "no function init" + asked},
      {"hole 3", open + "no function fromLL" + asked},
      {"hole 4", open + "no function toLL" + asked},
      {"hole 5", open + "no function destroy" + asked},
      {"fails create", made},
      {"tells create", made + " < mine: create says so (17)"},
      {"throws create", made + thrown + "thrown by create (1)"},
      {"throws a number", made + thrown + "of an unknown type (1)"},
      {"fails init", taken},
      {"tells init", taken + " < mine: init says so (17)"},
      {"throws init", taken + thrown + "thrown by init (1)"},
  };
  Slot err;
  for (const auto &[fault, why] : cases) {
    const PlugIn plugIn(fault);
    expectRefusal(start(err, external("libprojection_plugin")), err,
                  "oprj_ExternalInit: Initialization of projection " + kPlugIn +
                      " failed (7) < initializeExternalDLL: " + why);
    EXPECT_FALSE(isLoaded()) << fault;
  }
  const PlugIn other("");
  expectFailure(start(err, external("libshift_plugin")), err, "oprj_ExternalInit: ");
  EXPECT_NE(err.chain().find("does not export oprj_ProjectionPlugInGet (6)"), std::string::npos);
}

TEST(ExternalPlugIn, ComputesFailsAndLeavesWithItsLastUser) {
  const NothingLeft nothing;
  {
    const PlugIn plugIn("");
    Slot err;
    ObjectPtr object = start(err, external("libprojection_plugin"));
    ASSERT_TRUE(object) << err.chain();
    ObjectPtr copy(oprj_ProjectionPre842Copy(object.get(), err)),
        another = start(err, external("libprojection_plugin"));
    ASSERT_TRUE(copy && another) << err.chain();
    Points points = {{1, 2}, {std::nan(""), 3}}, back(2);
    EXPECT_EQ(forward(object, points), "");
    EXPECT_TRUE(points[0].x == 2 && points[0].y == 3 && std::isnan(points[1].x));
    copy->toLL(points.data(), copy->parameters, back.data(), 2, err);
    EXPECT_TRUE(back[0].x == 1 && back[0].y == 2);
    const std::string fails[] = {"fails", "tells", "throws"};
    const std::string causes[] = {"", " < mine: fromLL says so (17)",
                                  " < plug-in: an exception was thrown: thrown by fromLL (1)"};
    for (size_t i = 0; i < std::size(fails); ++i) {
      const PlugIn failing((fails[i] + " fromLL").c_str());
      EXPECT_EQ(forward(copy, points), "oprj_DLLFromLL: fromLL failed (6)" + causes[i]);
    }
    const PlugIn failing("fails toLL");
    copy->toLL(points.data(), copy->parameters, back.data(), 2, err);
    EXPECT_EQ(err.chain(), "oprj_DLLToLL: toLL failed (6)");
    oprj_DLLQuit(object.get(), err);
    oprj_DLLQuit(object.get(), err);
    expectNoReport(err);
    EXPECT_EQ(forward(object, points), "oprj_DLLFromLL: Bad DLL instance (5)");
    EXPECT_EQ(forward(copy, points), "");
    copy.reset();
    EXPECT_TRUE(isLoaded());
    const PlugIn late("throws destroy");
    another.reset();
    EXPECT_FALSE(isLoaded());
    inThreads(4, [](size_t) {
      for (int i = 0; i < 50; ++i) {
        Slot report;
        ASSERT_TRUE(start(report, external("libprojection_plugin")));
      }
    });
  }
}

// The same projection in three ways, against PROJ.
TEST(ExternalSamples, AreTheNaturalEarthProjection) {
  constexpr double kTolerance = 1e-6;  // metres; radians times the radius
  constexpr double kRadius = 6378137;
  PJ *peer = proj_create(PJ_DEFAULT_CTX, "+proj=natearth +R=6378137 +lon_0=11.25 +x_0=500000");
  ASSERT_TRUE(peer);
  Points places, expected;
  for (double lat = -90; lat <= 90; lat += 7.5)
    for (double lon = -168; lon <= 190; lon += 17.9)
      places.push_back({lon * kDegree, lat * kDegree});
  for (const Oprj_Point &p : places) {
    const PJ_COORD sheet = proj_trans(peer, PJ_FWD, proj_coord(p.x, p.y, 0, 0));
    expected.push_back({sheet.xy.x, sheet.xy.y});
  }
  proj_destroy(peer);
  const NothingLeft nothing;
  const Child child(
      "", "20",
      std::string(kBin) + ";" + kLib + ";" OPRJ_SOURCE_DIR "/examples/external-projection");
  std::vector<std::string> samples = {"natural_earth", "natural_earth_plugin"};
  if (std::system("python3 -c '' 2> /dev/null") == 0) samples.push_back("natural_earth.py");
  else std::printf("natural_earth.py is left out: there is no python3\n");
  for (const std::string &name : samples) {
    SCOPED_TRACE(name);
    const RecordPtr record = external(name.c_str());
    record->proParams.data[4] = 11.25 * kDegree;
    record->proParams.data[6] = 500000;
    Slot err;
    const ObjectPtr object = start(err, record);
    ASSERT_TRUE(object) << err.chain();
    Points sheet = places, back(places.size());
    EXPECT_EQ(forward(object, sheet), "");
    object->toLL(sheet.data(), object->parameters, back.data(), static_cast<int32_t>(places.size()),
                 err);
    expectNoReport(err);
    for (size_t i = 0; i < places.size(); ++i) {
      EXPECT_NEAR(sheet[i].x, expected[i].x, kTolerance) << i;
      EXPECT_NEAR(sheet[i].y, expected[i].y, kTolerance) << i;
      EXPECT_NEAR(std::remainder(back[i].x - places[i].x, 360 * kDegree), 0, kTolerance / kRadius);
      EXPECT_NEAR(back[i].y, places[i].y, kTolerance / kRadius);
    }
    Points outside = {{0, 1.6}, {HUGE_VAL, 0}};
    EXPECT_EQ(forward(object, outside), "");
    EXPECT_TRUE(std::isnan(outside[0].x) && std::isnan(outside[0].y) && std::isnan(outside[1].x));
    outside[0] = {4e7, 0};
    object->toLL(outside.data(), object->parameters, outside.data(), 1, err);
    EXPECT_TRUE(std::isnan(outside[0].x) && !err.failed());
    expectFailure(start(err, external(name.c_str(), 5)), err, "oprj_ExternalInit: Initialization");
  }
}

}  // namespace
