// Places and boxes in coordinate systems: a box holds the images of all its points.
#include <oprj/location.h>
#include <oprj/project.h>

#include <cmath>
#include <random>

#include "tests/loaded_tables.h"
#include "tests/tables_support.h"

namespace {

using namespace orvik::test;
using orvik::oprj::BoundingBox;
using orvik::oprj::CoordinateSystem;
using orvik::oprj::Location;

CoordinateSystem::Ptr system(const char *text) {
  Slot err;
  const auto made = CoordinateSystem::FromText(text, err);
  EXPECT_TRUE(made) << err.chain();
  return made;
}

constexpr const char
    *kGeographic = "geographic; datum=WGS 84",
    *kUtm = "utm; zone=32; datum=WGS 84",
    *kPolar = "Polar Stereographic; datum=WGS 84; lat_ts=70; lon_0=-45",
    *kMercator = "Mercator; datum=WGS 84",
    *kOrthographic = "Orthographic; datum=WGS 84; lat_0=40; lon_0=10",
    *kConic = "Lambert Conformal Conic; datum=WGS 84; lat_1=33; lat_2=45; lon_0=-96; lat_0=39",
    *kFeet = "utm; zone=14; datum=NAD27; units=us_survey_feet",
    *kMollweide = "Mollweide; datum=WGS 84; lon_0=0",
    *kAzimuthal = "Lambert Azimuthal Equal-area; datum=WGS 84; lat_0=0; lon_0=170";

TEST(Boxes, HoldTheImagesOfTheirPoints) {
  const struct {
    const char *from;
    double xMin, yMin, xMax, yMax;
    const char *to;
    bool partial;
  } cases[] = {
      {kGeographic, 5, 45, 12, 55, kUtm, false},
      {kUtm, 200000, 5e6, 800000, 6e6, kGeographic, false},
      {kUtm, 300000, 5e6, 300001, 5.9e6, kPolar, false},
      {kPolar, -2e6, -3e6, 1e6, 1.5e6, kGeographic, false},  // around the pole
      {kPolar, 1e5, 1e5, 1e6, 1.5e6, kGeographic, false},    // beside it
      {kPolar, -3e6, 0, -1e5, 3e6, kGeographic, false},      // across 180 degrees
      {kGeographic, -180, 60, 180, 90, kPolar, false},
      {kGeographic, 170, -40, -150, 30, kMercator, false},  // cut apart by the map's seam
      {kGeographic, 170, -40, -150, 30, kAzimuthal, false},
      {kGeographic, -180, -80, 180, 80, kMollweide, false},
      {kGeographic, -60, -50, 110, 90, kOrthographic, true},
      {kOrthographic, -7e6, -7e6, 7e6, 7e6, kGeographic, true},
      {kOrthographic, -2e6, 5e6, 5e6, 6.3e6, kGeographic, true},
      {kGeographic, -120, 25, -70, 49, kConic, false},
      {kConic, -2e6, -1.5e6, 2e6, 1.5e6, kFeet, false},
      {"geographic; datum=NAD27", -120, 25, -70, 49, kGeographic, false},
      {kMollweide, -1.9e7, -9.5e6, 1.9e7, 9.5e6, kGeographic, true},
  };
  std::mt19937 random(5);
  std::uniform_real_distribution<double> unit(0, 1);
  for (const auto &[from, xMin, yMin, xMax, yMax, to, partial] : cases) {
    const std::string what = std::string(from) + " to " + to;
    Slot err;
    const auto source = system(from), target = system(to);
    const auto box = BoundingBox::Make(source, xMin, yMin, xMax, yMax, err);
    ASSERT_TRUE(box) << err.chain();
    const auto image = box->Reproject(target, err);
    ASSERT_TRUE(image) << what << ": " << err.chain();
    EXPECT_EQ(image->IsPartial(), partial) << what;

    constexpr int kCount = 10000;
    std::vector<Oprj_Point> points(kCount);
    const double width = (xMax < xMin ? xMax + 360 : xMax) - xMin;
    for (Oprj_Point &p : points)
      p = {xMin + width * unit(random), yMin + (yMax - yMin) * unit(random)};
    if (source->IsGeographic())
      for (Oprj_Point &p : points) p.x = std::remainder(p.x, 360);
    Oprj_ProjectOptions options = OPRJ_PROJECT_OPTIONS;
    options.inUnit = source->GetUnit();
    options.outUnit = target->GetUnit();
    options.keepUncovered = 1;
    Oprj_ProjectionPair *pair =
        oprj_ProjectionPairInit(toolkit(), source->GetParameters(), target->GetParameters(), err);
    oprj_ProjectEach(pair, points.data(), points.data(), nullptr, &options, kCount, err);
    oprj_ProjectionPairFree(&pair);
    int inside = 0, outside = 0;
    Oprj_Point low = {HUGE_VAL, HUGE_VAL}, high = {-HUGE_VAL, -HUGE_VAL};
    for (const Oprj_Point &p : points) {
      if (std::isnan(p.x)) continue;
      const bool held = image->Contains(p.x, p.y);
      ++(held ? inside : outside);
      if (!held && outside < 4) ADD_FAILURE() << what << ": " << p.x << ' ' << p.y;
      low = {std::fmin(low.x, p.x), std::fmin(low.y, p.y)};
      high = {std::fmax(high.x, p.x), std::fmax(high.y, p.y)};
    }
    EXPECT_GT(inside, 1000) << what;
    EXPECT_EQ(outside, 0) << what << ": " << image->GetXMin() << ' ' << image->GetYMin() << ' '
                          << image->GetXMax() << ' ' << image->GetYMax();
    // and not much more: random points come near every bound
    if (image->GetXMin() < image->GetXMax()) {
      const double slack = 0.05;
      EXPECT_LT(image->GetXMax() - image->GetXMin(), (1 + slack) * (high.x - low.x)) << what;
      EXPECT_LT(image->GetYMax() - image->GetYMin(), (1 + slack) * (high.y - low.y)) << what;
    }
  }
}

TEST(Boxes, CrossAndMeetOnTheGlobe) {
  const auto globe = system(kGeographic);
  const auto box = [&](double w, double s, double e, double n) {
    return BoundingBox::Make(globe, w, s, e, n, nullptr);
  };
  const struct {
    double a[4], b[4];
    bool meet;
    double both[4];
  } cases[] = {
      {{0, 0, 10, 10}, {5, 5, 20, 20}, true, {0, 0, 20, 20}},
      {{0, 0, 10, 10}, {10, 10, 20, 20}, true, {0, 0, 20, 20}},
      {{0, 0, 10, 10}, {11, 0, 20, 10}, false, {0, 0, 20, 10}},
      {{0, 0, 10, 10}, {2, 11, 3, 12}, false, {0, 0, 10, 12}},
      {{170, 0, -170, 10}, {-175, 5, -160, 6}, true, {170, 0, -160, 10}},
      {{170, 0, 180, 10}, {-180, 0, -170, 10}, true, {170, 0, -170, 10}},
      {{170, 0, 175, 10}, {-175, 0, -170, 10}, false, {170, 0, -170, 10}},
      {{-180, 0, 180, 10}, {170, 5, -170, 20}, true, {-180, 0, 180, 20}},
      {{-120, 0, 60, 1}, {0, 0, -100, 1}, true, {-180, 0, 180, 1}},
  };
  for (const auto &[a, b, meet, both] : cases) {
    const auto first = box(a[0], a[1], a[2], a[3]), second = box(b[0], b[1], b[2], b[3]);
    ASSERT_TRUE(first && second);
    for (const auto &[one, other] : {std::pair(first, second), std::pair(second, first)}) {
      Slot err;
      EXPECT_EQ(one->Intersects(*other, err), meet) << a[0] << ' ' << b[0];
      const auto sum = one->Union(*other, err);
      ASSERT_TRUE(sum);
      EXPECT_EQ(std::vector({sum->GetXMin(), sum->GetYMin(), sum->GetXMax(), sum->GetYMax()}),
                std::vector(both, both + 4))
          << a[0] << ' ' << b[0];
    }
  }
  Slot err;
  // boxes and places of other systems are taken to the box's own
  const auto utm = system(kUtm);
  const auto germany = box(6, 47, 15, 55);
  const auto kiel = Location::Make(globe, 10.1, 54.3, err);
  const auto there = kiel->Reproject(utm, err);
  ASSERT_TRUE(there) << err.chain();
  EXPECT_NEAR(there->GetY(), 6017e3, 2e3);
  EXPECT_TRUE(germany->Contains(*there, err));
  const auto around = BoundingBox::Make(utm, 5e5, 6e6, 6e5, 6.1e6, err);
  EXPECT_TRUE(around->Contains(*kiel, err) && around->Intersects(*germany, err));
  const auto both = around->Union(*germany, err);
  ASSERT_TRUE(both);
  EXPECT_TRUE(both->Contains(*kiel, err) && both->GetSystem()->IsEqual(*utm));
  expectNoReport(err);
}

TEST(Boxes, RefuseWhatIsNone) {
  const auto globe = system(kGeographic), plane = system(kUtm), half = system(kOrthographic);
  const auto radians = CoordinateSystem::Make(globe->GetParameters(), "radians", nullptr);
  ASSERT_TRUE(radians);
  EXPECT_FALSE(radians->IsEqual(*globe));
  EXPECT_TRUE(globe->IsEqual(*system(kGeographic)));
  const CoordinateSystem::Ptr none;
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  const struct {
    CoordinateSystem::Ptr in;
    double xMin, yMin, xMax, yMax;
    const char *message;
  } cases[] = {{none, 0, 0, 1, 1, "Invalid input CoordinateSystem (1)"},
               {plane, 1, 0, 0, 1, "Invalid bounds (2)"},
               {plane, 0, 1, 1, 0, "Invalid bounds (2)"},
               {plane, kNaN, 0, 1, 1, "Invalid bounds (2)"},
               {plane, 0, 0, HUGE_VAL, 1, "Invalid bounds (2)"},
               {globe, 0, 0, 1, 90.1, "Invalid bounds (2)"},
               {globe, -190, 0, 180, 1, "Invalid bounds (2)"},
               {radians, 0, 0, 1, 1.6, "Invalid bounds (2)"}};
  Slot err;
  for (const auto &[in, xMin, yMin, xMax, yMax, message] : cases)
    expectRefusal(BoundingBox::Make(in, xMin, yMin, xMax, yMax, err), err,
                  "BoundingBox::Make: " + std::string(message));
  const auto box = BoundingBox::Make(globe, -175, -50, -165, -40, err);
  expectRefusal(box->Reproject(none, err), err,
                "BoundingBox::Reproject: Invalid input CoordinateSystem (1)");
  expectRefusal(box->Reproject(half, err), err,
                "BoundingBox::Reproject: No point of the box has a place in the other system (4)");
  const auto place = Location::Make(globe, -170, -45, err);
  expectRefusal(place->Reproject(half, err), err,
                "Location::Reproject: The place has no place in the other system: outside the "
                "projection's domain (4)");
  expectRefusal(Location::Make(globe, kNaN, 0, err), err,
                "Location::Make: Invalid coordinates (2)");
  expectRefusal(CoordinateSystem::Make(nullptr, nullptr, err), err,
                "CoordinateSystem::Make: Invalid input Oprj_ProParameters (1)");
  EXPECT_FALSE(CoordinateSystem::Make(globe->GetParameters(), "meters", err));
  expectReport(err, "CoordinateSystem::Make", 2, "Error returned from ocvt_UnitSetByName");
  EXPECT_FALSE(CoordinateSystem::FromText("no such thing", err));
  expectReport(err, "CoordinateSystem::FromText", 1,
               "Error returned from oprj_ProParametersFromText");
  const LeakCheck leaks;
  forEachAllocationFailure(
      [&](auto slot) { return CoordinateSystem::FromText(kUtm, slot) != nullptr; });
  const auto small = BoundingBox::Make(plane, 5e5, 5e6, 5.1e5, 5.1e6, err);
  forEachAllocationFailure([&](auto slot) { return small->Reproject(globe, slot) != nullptr; });
}

}  // namespace
