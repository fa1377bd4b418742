// Azimuthal projections (10 to 15, 33) and the Alaska Conformal (26): published examples, peers in
// every aspect, laws, stops and edges.
#include <cmath>
#include <limits>

#include "family_support.h"

namespace oprj_test {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kPi = M_PI;
constexpr Axes kBall = kNominalSphere;
constexpr double kR = kBall.a;

TEST(Azimuthal, PublishedExamples) {
  const std::vector<std::pair<int, double>> centre = {{4, -100 * kDeg}, {5, 40 * kDeg}};
  const Axes three{3, 3}, km6371{6371, 6371};
  checkExamples({
      {"[Snyder87] p. 311, Orthographic", oprj_OrthographicInit, 14, centre, kUnitSphere, -110, 30,
       -0.1503837, -0.1651911, 5.1e-8, 1e-5},
      {"[Snyder87] p. 312, Stereographic", oprj_StereographicInit, 10, centre, kUnitSphere, -75, 30,
       0.3807224, -0.1263802, 5.1e-8, 1e-5},
      {"[Snyder87] p. 319, Gnomonic", oprj_GnomonicInit, 13, centre, kUnitSphere, -110, 30,
       -0.1542826, -0.1694739, 5.1e-8, 1e-5},
      {"[Snyder87] p. 320, Vertical Perspective, in km",
       oprj_GeneralVerticalNear_SidePerspectiveInit,
       15,
       {{2, 500}, {4, -77 * kDeg}, {5, 39 * kDeg}},
       km6371,
       -74,
       41,
       247.19409,
       222.48596,
       5.1e-6,
       1e-6},
      {"[Snyder87] p. 332, Lambert Azimuthal Equal-Area", oprj_LambertAzimuthalEqual_AreaInit, 11,
       centre, three, 100, -20, -4.2339303, 4.0257775, 5.1e-8, 1e-5},
      {"[Snyder87] p. 337, Azimuthal Equidistant", oprj_AzimuthalEquidistantInit, 12, centre, three,
       100, -20, -5.8311398, 5.5444634, 5.1e-8, 1e-5},
  });
}

// --- peers ---

constexpr Grid kGlobe{-178, 177, -87, 88, 5}, kNorth{-180, 180, 5, 89, 3},
    kSouth{-180, 180, -90, -4, 3}, kAmerica{-160, -40, -8, 82, 3}, kDateLine{130, 230, -40, 40, 3};

/// A system, what PROJ calls it and the part of the globe on which they are compared.
struct System {
  const char *name;
  Initialiser init;
  int32_t number;
  EntryList entries;
  const char *proj;
  Grid grid;
  int32_t gctp;  ///< its code there; -1 leaves it out
};

#define CENTRE(lon, lat) \
  {4, (lon)*kDeg}, {5, (lat)*kDeg}, {6, 1e6}, { 7, -2e6 }
#define AT(lon, lat) "+lon_0=" #lon " +lat_0=" #lat " +x_0=1000000 +y_0=-2000000"

const System kSystems[] = {
    {"stereographic oblique",
     oprj_StereographicInit,
     10,
     {CENTRE(-100, 40)},
     "+proj=stere " AT(-100, 40),
     kAmerica,
     10},
    {"stereographic globe",
     oprj_StereographicInit,
     10,
     {CENTRE(10, -35)},
     "+proj=stere " AT(10, -35),
     kGlobe,
     10},
    {"stereographic north",
     oprj_StereographicInit,
     10,
     {CENTRE(-45, 90)},
     "+proj=stere " AT(-45, 90),
     kNorth,
     -1},
    {"stereographic south",
     oprj_StereographicInit,
     10,
     {CENTRE(-45, -90)},
     "+proj=stere " AT(-45, -90),
     kSouth,
     -1},
    {"equal area oblique",
     oprj_LambertAzimuthalEqual_AreaInit,
     11,
     {CENTRE(-100, 40)},
     "+proj=laea " AT(-100, 40),
     kAmerica,
     11},
    {"equal area globe",
     oprj_LambertAzimuthalEqual_AreaInit,
     11,
     {CENTRE(10, -35)},
     "+proj=laea " AT(10, -35),
     kGlobe,
     11},
    {"equal area north",
     oprj_LambertAzimuthalEqual_AreaInit,
     11,
     {CENTRE(170, 90)},
     "+proj=laea " AT(170, 90),
     kNorth,
     11},
    {"equal area south",
     oprj_LambertAzimuthalEqual_AreaInit,
     11,
     {CENTRE(170, -90)},
     "+proj=laea " AT(170, -90),
     kSouth,
     11},
    {"equidistant oblique",
     oprj_AzimuthalEquidistantInit,
     12,
     {CENTRE(-100, 40)},
     "+proj=aeqd " AT(-100, 40),
     kAmerica,
     12},
    {"equidistant globe",
     oprj_AzimuthalEquidistantInit,
     12,
     {CENTRE(10, -35)},
     "+proj=aeqd " AT(10, -35),
     kGlobe,
     12},
    {"equidistant equator",
     oprj_AzimuthalEquidistantInit,
     12,
     {CENTRE(180, 0)},
     "+proj=aeqd " AT(180, 0),
     kDateLine,
     12},
    {"gnomonic oblique",
     oprj_GnomonicInit,
     13,
     {CENTRE(-100, 40)},
     "+proj=gnom " AT(-100, 40),
     {-140, -60, 0, 80, 2},
     13},
    {"gnomonic south",
     oprj_GnomonicInit,
     13,
     {CENTRE(0, -90)},
     "+proj=gnom " AT(0, -90),
     kSouth,
     -1},
    {"orthographic oblique",
     oprj_OrthographicInit,
     14,
     {CENTRE(-100, 40)},
     "+proj=ortho " AT(-100, 40),
     {-150, -50, 0, 80, 2},
     14},
    {"orthographic equator",
     oprj_OrthographicInit,
     14,
     {CENTRE(180, 0)},
     "+proj=ortho " AT(180, 0),
     kDateLine,
     14},
    {"perspective oblique",
     oprj_GeneralVerticalNear_SidePerspectiveInit,
     15,
     {CENTRE(-100, 40), {2, 35786000}},
     "+proj=nsper +h=35786000 " AT(-100, 40),
     {-140, -60, 0, 80, 2},
     15},
    {"perspective from an aircraft",
     oprj_GeneralVerticalNear_SidePerspectiveInit,
     15,
     {CENTRE(9, 47), {2, 10000}},
     "+proj=nsper +h=10000 " AT(9, 47),
     {7, 11, 46, 48, 0.1},
     15},
    {"oblated oblique",
     oprj_OblatedEqualAreaInit,
     33,
     {CENTRE(-160, 15), {2, 2.5}, {3, 3}, {8, 45 * kDeg}},
     "+proj=oea +m=2.5 +n=3 +theta=45 " AT(-160, 15),
     {-250, -70, -60, 80, 3},
     -1},
    {"oblated north",
     oprj_OblatedEqualAreaInit,
     33,
     {CENTRE(20, 90), {2, 3}, {3, 2.2}, {8, -110 * kDeg}},
     "+proj=oea +m=3 +n=2.2 +theta=-110 " AT(20, 90),
     kNorth,
     -1},
    // Without offsets, which that package swaps; PROJ is 0.1 m off at the centre itself.
    {"oblated without offsets",
     oprj_OblatedEqualAreaInit,
     33,
     {{4, -100 * kDeg}, {5, 40 * kDeg}, {2, 1.33}, {3, 2}, {8, 15 * kDeg}},
     "+proj=oea +m=1.33 +n=2 +theta=15 +lon_0=-100 +lat_0=40",
     {-151, -49, 1, 81, 2},
     30},
};

TEST(Azimuthal, AgreesWithPeersAndComesBack) {
  for (const System &s : kSystems) {
    SCOPED_TRACE(s.name);
    const Projection projection(s.init, s.number, s.entries, kBall);
    const Difference proj = againstProj(projection, s.proj, s.grid);
    EXPECT_LE(proj.forward, 1e-4);
    EXPECT_LE(proj.inverseDeg, 1e-11);
    if (s.gctp >= 0) {
      const Difference gctp = againstGctp(projection, s.gctp, kBall, s.entries, {4, 5, 8}, s.grid);
      EXPECT_LE(gctp.forward, 1e-4);
      EXPECT_LE(gctp.inverseDeg, 1e-11);
    }
    EXPECT_LE(roundTripDeg(projection, s.grid), 1e-10);
  }
}

TEST(Azimuthal, AlaskaAgreesWithPeers) {
  const EntryList entries = {{6, 1e6}, {7, -2e6}};
  const Projection projection(oprj_AlaskaConformalInit, 26, entries, kClarke1866);
  const Grid alaska{170, 230, 48, 75, 1};
  const Difference gctp = againstGctp(projection, 23, kClarke1866, entries, {}, alaska);
  EXPECT_LE(gctp.forward, 1e-4);
  EXPECT_LE(gctp.inverseDeg, 1e-9);
  // PROJ's e² is rounded to eight decimals: 3 mm.
  const Difference proj =
      againstProj(projection, "+proj=alsk +ellps=clrk66 +x_0=1000000 +y_0=-2000000", alaska);
  EXPECT_LE(proj.forward, 5e-3);
  EXPECT_LE(proj.inverseDeg, 5e-8);
}

// --- laws ---

/// The point at `distance` radians from the antipode of (10 E, 35 S), on its meridian.
Oprj_Point nearAntipode(double distance) { return {-170 * kDeg, 35 * kDeg + distance}; }

TEST(Azimuthal, DistancesKeepTheirDigits) {
  const EntryList entries = {{4, 10 * kDeg}, {5, -35 * kDeg}};
  const Projection stereographic(oprj_StereographicInit, 10, entries, kBall),
      equalArea(oprj_LambertAzimuthalEqual_AreaInit, 11, entries, kBall),
      equidistant(oprj_AzimuthalEquidistantInit, 12, entries, kBall);
  const auto distance = [](const Projection &projection, Oprj_Point p) {
    const Oprj_Point at = projection.forward(p.x / kDeg, p.y / kDeg);
    return std::hypot(at.x, at.y);
  };
  for (const double d : {1.5e-5, 1e-4, 1e-3, 0.1}) {  // from the antipode; input rounds to 1e-16
    SCOPED_TRACE(d);
    const double share = 4e-16 / d + 4e-15;
    EXPECT_NEAR(distance(stereographic, nearAntipode(d)) * std::tan(d / 2) / (2 * kR), 1.0, share);
    EXPECT_NEAR(distance(equalArea, nearAntipode(d)), 2 * kR * std::cos(d / 2), 2 * kR * share);
    EXPECT_NEAR(distance(equidistant, nearAntipode(d)), kR * (kPi - d), 1e-8);
  }
  for (const double d : {0.0, 1e-200, 1e-12, 1e-7, 1e-3}) {  // from the centre
    SCOPED_TRACE(d);
    const Oprj_Point p{10 * kDeg, -35 * kDeg - d};
    const double real = -35 * kDeg - p.y;  // after rounding
    EXPECT_NEAR(distance(equidistant, p), kR * real, 2e-9);
    EXPECT_NEAR(distance(equalArea, p), 2 * kR * std::sin(real / 2), 2e-9);
    EXPECT_NEAR(distance(stereographic, p), 2 * kR * std::tan(real / 2), 2e-9);
  }
}

TEST(Azimuthal, PerspectiveAtAnyHeight) {
  const EntryList centre = {{4, 9 * kDeg}, {5, 47 * kDeg}};
  // The higher, the nearer to the Orthographic.
  const Projection orthographic(oprj_OrthographicInit, 14, centre, kBall);
  const Projection infinite(oprj_GeneralVerticalNear_SidePerspectiveInit, 15,
                            {{2, 1e300}, {4, 9 * kDeg}, {5, 47 * kDeg}}, kBall);
  for (const Oprj_Point &p : Grid{-60, 80, 0, 90, 10}.points()) {
    if (std::sin(47 * kDeg) * std::sin(p.y) +
            std::cos(47 * kDeg) * std::cos(p.y) * std::cos(p.x - 9 * kDeg) <
        0.01)
      continue;
    const Oprj_Point a = orthographic.forward(p.x / kDeg, p.y / kDeg);
    const Oprj_Point b = infinite.forward(p.x / kDeg, p.y / kDeg);
    EXPECT_NEAR(a.x, b.x, 1e-8);
    EXPECT_NEAR(a.y, b.y, 1e-8);
    const Oprj_Point back = infinite.inverse(b.x, b.y);
    EXPECT_NEAR(back.y * kDeg, p.y, 1e-13);
  }
  // From one metre up the horizon is 560 m / kR away; literal formulas have eight digits left.
  const Projection low(oprj_GeneralVerticalNear_SidePerspectiveInit, 15,
                       {{2, 1}, {4, 9 * kDeg}, {5, 47 * kDeg}}, kBall);
  const long double c = 5e-4L, h = 1 / static_cast<long double>(kR);
  const long double expected = kR * h * sinl(c) / (h + 2 * sinl(c / 2) * sinl(c / 2));
  const Oprj_Point at = low.forward(9, 47 + 5e-4 / kDeg);
  EXPECT_NEAR(at.y / static_cast<double>(expected), 1.0, 1e-12);
  EXPECT_NEAR(low.inverse(at.x, at.y).y, 47 + 5e-4 / kDeg, 1e-9);
}

TEST(Azimuthal, OblatedWithRoundShapeIsLambert) {
  const Projection lambert(oprj_LambertAzimuthalEqual_AreaInit, 11, {CENTRE(30, -20)}, kBall);
  const Projection round(oprj_OblatedEqualAreaInit, 33, {CENTRE(30, -20), {2, 2}, {3, 2}}, kBall);
  for (const Oprj_Point &p : kGlobe.points()) {
    const Oprj_Point a = lambert.forward(p.x / kDeg, p.y / kDeg);
    const Oprj_Point b = round.forward(p.x / kDeg, p.y / kDeg);
    EXPECT_NEAR(a.x, b.x, 1e-6);
    EXPECT_NEAR(a.y, b.y, 1e-6);
  }
  EXPECT_LE(roundTripDeg(round, kGlobe), 1e-9);
}

// Where m and n make the sheet fold, what is accepted comes back and the rest is refused.
TEST(Azimuthal, OblatedFoldsAreRefused) {
  const struct {
    double m, n;
    int minimumAccepted;
  } rows[] = {{1.33, 2, 1000}, {0.7, 0.7, 50}, {5, 5, 2000}, {-2.5, 1.2, 300}, {1e-3, 1, 0}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.m);
    const Projection projection(oprj_OblatedEqualAreaInit, 33,
                                {CENTRE(0, 10), {2, row.m}, {3, row.n}, {8, 0.5}}, kBall);
    const Oprj_MapProjection *object = projection.object();
    int accepted = 0;
    for (const Oprj_Point &p : kGlobe.points()) {
      Oprj_Point sheet, back;
      Oerr_Report *err = nullptr;
      object->fromLL(&p, object->parameters, &sheet, 1, &err);
      if (err) {
        EXPECT_EQ(oerr_CodeGet(err), 20);
        oerr_DeleteErrorReport(&err);
        continue;
      }
      ++accepted;
      object->toLL(&sheet, object->parameters, &back, 1, &err);
      ASSERT_EQ(err, nullptr) << p.x / kDeg << " " << p.y / kDeg;
      EXPECT_NEAR(back.y, p.y, 1e-8);
      EXPECT_NEAR(std::remainder(back.x - p.x, 2 * kPi) * std::cos(p.y), 0, 1e-8);
    }
    EXPECT_GE(accepted, row.minimumAccepted);
  }
}

// Whatever the inverse accepts of the whole plane, forward brings back to the same point of it.
TEST(Azimuthal, NoPlaceOffTheSheet) {
  const EntryList centre = {{4, -100 * kDeg}, {5, 40 * kDeg}, {2, 1e7}};
  const struct {
    const char *name;
    Initialiser init;
    int32_t number;
    EntryList entries;
    double reach;  ///< of the sheet, over a
  } rows[] = {
      {"equal area", oprj_LambertAzimuthalEqual_AreaInit, 11, centre, 2},
      {"equidistant", oprj_AzimuthalEquidistantInit, 12, centre, kPi},
      {"orthographic", oprj_OrthographicInit, 14, centre, 1},
      {"perspective", oprj_GeneralVerticalNear_SidePerspectiveInit, 15, centre, 0.6630},
      {"oblated, wide", oprj_OblatedEqualAreaInit, 33, {{2, 4}, {3, 3}, {5, 0.7}}, 4},
      {"oblated, folding", oprj_OblatedEqualAreaInit, 33, {{2, 1.33}, {3, 1.1}, {8, 1}}, 1.33},
      {"oblated, tiny", oprj_OblatedEqualAreaInit, 33, {{2, 0.2}, {3, 9}, {8, 1}}, 2},
      {"Alaska", oprj_AlaskaConformalInit, 26, {}, 1},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    const Projection projection(row.init, row.number, row.entries, kBall);
    const Oprj_MapProjection *object = projection.object();
    int inside = 0, outside = 0;
    for (int i = -60; i <= 60; ++i) {
      for (int k = -60; k <= 60; ++k) {
        const Oprj_Point at{kR * row.reach * i / 49.7, kR * row.reach * k / 49.7};
        Oprj_Point place, again;
        Oerr_Report *err = nullptr;
        object->toLL(&at, object->parameters, &place, 1, &err);
        if (err) {
          ++outside;
          oerr_DeleteErrorReport(&err);
          continue;
        }
        ++inside;
        object->fromLL(&place, object->parameters, &again, 1, &err);
        ASSERT_EQ(err, nullptr) << at.x / kR << " " << at.y / kR << " at " << place.x / kDeg << " "
                                << place.y / kDeg;
        EXPECT_NEAR(again.x, at.x, 1e-5) << at.x / kR << " " << at.y / kR;
        EXPECT_NEAR(again.y, at.y, 1e-5) << at.x / kR << " " << at.y / kR;
      }
    }
    EXPECT_GT(inside, 500);
    EXPECT_GT(outside, 1000);
  }
}

TEST(Azimuthal, CentresAndPoles) {
  for (const double lat0 : {90.0, 60.0, 0.0, -0.0, -45.0, -90.0}) {
    for (const double lon0 : {0.0, 180.0, -180.0, 350.0, -77.0}) {
      SCOPED_TRACE(testing::Message() << lon0 << " " << lat0);
      const EntryList entries = {CENTRE(lon0, lat0), {2, 1e7}, {3, 3.0}};
      const std::pair<Initialiser, int32_t> families[] = {
          {oprj_StereographicInit, 10},        {oprj_LambertAzimuthalEqual_AreaInit, 11},
          {oprj_AzimuthalEquidistantInit, 12}, {oprj_GnomonicInit, 13},
          {oprj_OrthographicInit, 14},         {oprj_GeneralVerticalNear_SidePerspectiveInit, 15},
          {oprj_OblatedEqualAreaInit, 33},
      };
      for (const auto &[init, number] : families) {
        SCOPED_TRACE(number);
        const Projection projection(init, number, entries, kBall);
        const Oprj_Point centre = projection.forward(lon0, lat0);
        EXPECT_NEAR(centre.x, 1e6, 3e-9);
        EXPECT_NEAR(centre.y, -2e6, 3e-9);
        const Oprj_Point back = projection.inverse(1e6, -2e6);
        EXPECT_NEAR(back.y, lat0, 5e-14);
        if (std::fabs(lat0) < 90) {
          EXPECT_NEAR(std::remainder(back.x - lon0, 360), 0, 1e-13);
        }
        EXPECT_TRUE(back.x > -180 - 1e-9 && back.x <= 180 + 1e-9) << back.x;
        if (std::fabs(lat0) >= 45) {  // the pole in view: any longitude is the same place
          const double pole = std::copysign(90.0, lat0);
          const Oprj_Point one = projection.forward(12, pole),
                           other = projection.forward(-170, pole);
          EXPECT_NEAR(one.x, other.x, 1e-8);
          EXPECT_NEAR(one.y, other.y, 1e-8);
          EXPECT_NEAR(projection.inverse(one.x, one.y).y, pole, 1e-12);
        }
      }
    }
  }
}

// --- Alaska ---

TEST(AlaskaConformal, WholeDomainComesBack) {
  const Projection projection(oprj_AlaskaConformalInit, 26, {{6, 5e5}, {7, 1e5}}, kClarke1866);
  const Oprj_MapProjection *object = projection.object();
  const Oprj_Point centre = projection.forward(-152, 64);
  EXPECT_NEAR(centre.x, 5e5, 1e-8);
  EXPECT_NEAR(centre.y, 1e5, 1e-8);
  int accepted = 0, refused = 0;
  for (const Oprj_Point &p : Grid{-180, 179, -90, 90, 0.5}.points()) {
    Oprj_Point sheet, back;
    Oerr_Report *err = nullptr;
    object->fromLL(&p, object->parameters, &sheet, 1, &err);
    if (err) {
      ++refused;
      oerr_DeleteErrorReport(&err);
      continue;
    }
    ++accepted;
    object->toLL(&sheet, object->parameters, &back, 1, &err);
    ASSERT_EQ(err, nullptr) << p.x / kDeg << " " << p.y / kDeg;
    EXPECT_NEAR(back.y, p.y, 2e-11);  // 1e-9 degrees
    EXPECT_NEAR(std::remainder(back.x - p.x, 2 * kPi) * std::cos(p.y), 0, 2e-11)
        << p.x / kDeg << " " << p.y / kDeg;
  }
  EXPECT_GT(accepted, 45000);
  EXPECT_GT(refused, 150000);
}

// --- stops ---

const char *const kForwardStop = "Point cannot be projected, point # %ld:  %lf, %lf";
const char *const kInverseStop = "Input data error, point # %ld:  %lf, %lf";

/// What every family says of absurd points: F0 forward, and backward its own text or I0.
void checkAbsurd(const Projection &projection, int32_t code, const char *message) {
  const Oprj_Point good{-100 * kDeg, 40 * kDeg};
  checkStops(projection, good,
             {{"infinite longitude", true, {kInf, 0.7}, 20, kForwardStop},
              {"infinite latitude", true, {-1.7, -kInf}, 20, kForwardStop},
              {"absurd latitude", true, {-1.7, 1e300}, 20, kForwardStop},
              {"beyond the pole", true, {-1.7, kPi / 2 + 2e-10}, 20, kForwardStop},
              {"infinite easting", false, {-kInf, 0}, code, message},
              {"infinite northing", false, {0, kInf}, code, message},
              {"both", false, {kInf, kInf}, code, message}});
}

TEST(Azimuthal, Stops) {
  const EntryList centre = {{4, -100 * kDeg}, {5, 40 * kDeg}, {2, 1e7}, {3, 3}};
  const Oprj_Point good{-100 * kDeg, 40 * kDeg};
  const Oprj_Point antipode{80 * kDeg, -40 * kDeg}, nearby{80 * kDeg, -40 * kDeg + 1.4e-5};
  const Oprj_Point horizon{-100 * kDeg, -50 * kDeg}, beyond{-100 * kDeg, -50 * kDeg - 2e-10};
  const double in = 1 - 0.9e-10, out = 1 + 1.1e-10;

  const Projection stereographic(oprj_StereographicInit, 10, centre, kBall);
  checkAbsurd(stereographic, 20, kInverseStop);
  checkStops(stereographic, good,
             {{"antipode", true, antipode, 4, "Point projects into infinity"},
              {"within 1.4e-5 of it", true, nearby, 4, "Point projects into infinity"}});
  EXPECT_NEAR(stereographic.inverse(1e200, 0).y, -40, 1e-12);  // as far as it gets: the antipode

  const Projection equalArea(oprj_LambertAzimuthalEqual_AreaInit, 11, centre, kBall);
  checkAbsurd(equalArea, 4, "Improper parameter");
  checkStops(equalArea, good,
             {{"antipode", true, antipode, 4, "Point projects into a circle"},
              {"within 1.4e-5 of it", true, nearby, 4, "Point projects into a circle"},
              {"2e-6 m outside", false, {2 * kR + 2e-6, 0}, 4, "Improper parameter"},
              {"absurd", false, {0, -1e300}, 4, "Improper parameter"}});
  EXPECT_NEAR(equalArea.inverse(0, -(2 * kR + 5e-7)).y, -40, 1e-5);

  const Projection equidistant(oprj_AzimuthalEquidistantInit, 12, centre, kBall);
  checkAbsurd(equidistant, 4, "Improper parameter");
  checkStops(equidistant, good,
             {{"antipode", true, antipode, 4, "Point projects into a circle"},
              {"within 1.4e-5 of it", true, nearby, 4, "Point projects into a circle"},
              {"outside", false, {0, kR * (kPi + 1.1e-10)}, 4, "Improper parameter"},
              {"absurd", false, {1e300, 1}, 4, "Improper parameter"}});
  EXPECT_NEAR(equidistant.inverse(kR * (kPi + 0.9e-10), 0).y, -40, 1e-12);

  const Projection gnomonic(oprj_GnomonicInit, 13, centre, kBall);
  checkAbsurd(gnomonic, 20, kInverseStop);
  checkStops(gnomonic, good,
             {{"horizon", true, horizon, 4, "Point projects into infinity"},
              {"antipode", true, antipode, 4, "Point projects into infinity"},
              {"squares overflow", false, {0, 1e180}, 20, kInverseStop}});
  EXPECT_NEAR(gnomonic.inverse(0, -1e100).y, -50, 1e-12);  // the horizon

  const Projection orthographic(oprj_OrthographicInit, 14, centre, kBall);
  checkAbsurd(orthographic, 4, "Improper parameters");
  checkStops(orthographic, good,
             {{"beyond the horizon", true, beyond, 4, "Point cannot be projected"},
              {"antipode", true, antipode, 4, "Point cannot be projected"},
              {"outside", false, {kR * out, 0}, 4, "Improper parameters"},
              {"absurd", false, {1e300, -1e300}, 4, "Improper parameters"}});
  EXPECT_NEAR(orthographic.forward(-100, -50).y, -kR, 1e-8);  // the limb itself
  EXPECT_NEAR(orthographic.inverse(0, -kR * (2 - in)).y, -50, 1e-6);

  const Projection perspective(oprj_GeneralVerticalNear_SidePerspectiveInit, 15, centre, kBall);
  const double p = 1 + 1e7 / kR, edge = std::acos(1 / p), rim = kR * std::sqrt((p - 1) / (p + 1));
  checkAbsurd(perspective, 4, "Improper parameter");
  checkStops(perspective, good,
             {{"beyond the horizon",
               true,
               {good.x, good.y - edge - 2e-10},
               4,
               "Point cannot be projected"},
              {"antipode", true, antipode, 4, "Point cannot be projected"},
              {"outside", false, {rim * out, 0}, 4, "Improper parameter"},
              {"absurd", false, {0, 1e300}, 4, "Improper parameter"}});
  EXPECT_NEAR(perspective.forward(-100, 40 - (edge - 1e-11) / kDeg).y, -rim, 1e-4);
  EXPECT_NEAR(perspective.inverse(0, -rim * (1 + 0.4e-10)).y, 40 - edge / kDeg, 1e-3);

  const Projection oblated(oprj_OblatedEqualAreaInit, 33, centre, kBall);
  checkAbsurd(oblated, 20, kInverseStop);
  checkStops(oblated, good,
             {{"antipode", true, antipode, 20, kForwardStop},
              {"above", false, {0, 3 * kR * out}, 20, kInverseStop},
              {"absurd", false, {1e300, 0}, 20, kInverseStop}});

  const Projection narrow(oprj_OblatedEqualAreaInit, 33,
                          {{4, -100 * kDeg}, {5, 40 * kDeg}, {2, 1.2}, {3, 1.2}}, kBall);
  checkStops(narrow, good,
             {{"folds eastward", true, {20 * kDeg, -20 * kDeg}, 20, kForwardStop},
              {"folds southward", true, {good.x, -75 * kDeg}, 20, kForwardStop},
              {"right of the sheet", false, {1.2 * kR * out, 0}, 20, kInverseStop}});

  const Projection alaska(oprj_AlaskaConformalInit, 26, {}, kClarke1866);
  const char *const loop =
      "Too many iterations for Alaska Conformal inverse transformation, point # %ld:  %lf, %lf";
  const Oprj_Point anchorage{-150 * kDeg, 61 * kDeg};
  checkStops(alaska, anchorage,
             {{"infinite longitude", true, {kInf, 1}, 20, kForwardStop},
              {"infinite latitude", true, {-2.5, kInf}, 20, kForwardStop},
              {"too far", true, {-152 * kDeg, 25 * kDeg}, 20, kForwardStop},
              {"other side", true, {28 * kDeg, -64 * kDeg}, 20, kForwardStop},
              {"too far out", false, {0, -5.5e6}, 20, kInverseStop},
              {"infinite", false, {0, kInf}, 4, loop},
              {"absurd", false, {-1e300, 1e300}, 4, loop}});
}

// --- records ---

TEST(Azimuthal, Contract) {
  const Oprj_Point good{-1.5, 0.6};
  const EntryList entries = {CENTRE(-100, 40), {2, 1e7}, {3, 3.0}};
  checkContract(Projection(oprj_StereographicInit, 10, entries, kBall), "Stereographic", good);
  checkContract(Projection(oprj_LambertAzimuthalEqual_AreaInit, 11, entries, kBall),
                "LambertAzimuthalEqual_Area", good);
  checkContract(Projection(oprj_AzimuthalEquidistantInit, 12, entries, kBall),
                "AzimuthalEquidistant", good);
  checkContract(Projection(oprj_GnomonicInit, 13, entries, kBall), "Gnomonic", good);
  checkContract(Projection(oprj_OrthographicInit, 14, entries, kBall), "Orthographic", good);
  checkContract(Projection(oprj_GeneralVerticalNear_SidePerspectiveInit, 15, entries, kBall),
                "GeneralVerticalNear_SidePerspective", good);
  checkContract(Projection(oprj_OblatedEqualAreaInit, 33, entries, kBall), "OblatedEqualArea",
                good);
  checkContract(Projection(oprj_AlaskaConformalInit, 26, {}, kClarke1866), "AlaskaConformal",
                {-2.6, 1.1});
}

TEST(Azimuthal, Refusals) {
  const char *const few = "Insufficient projection parameters", *const bad = "Improper parameter";
  // Block, record copy and object take 3 to 5 (and one more behind a value check).
  checkRefusals(oprj_StereographicInit, "oprj_StereographicInit", 10, kBall,
                {{"count", {}, 9, 2, few}, {"NaN centre", {{4, kNaN}}, 10, 6, bad}});
  checkRefusals(oprj_LambertAzimuthalEqual_AreaInit, "oprj_LambertAzimuthalEqual_AreaInit", 11,
                kBall, {{"count", {}, 8, 2, few}, {"infinite latitude", {{5, kInf}}, 9, 6, bad}});
  checkRefusals(oprj_AzimuthalEquidistantInit, "oprj_AzimuthalEquidistantInit", 12, kBall,
                {{"count", {}, 7, 2, few}, {"NaN easting", {{6, kNaN}}, 8, 6, bad}});
  checkRefusals(oprj_GnomonicInit, "oprj_GnomonicInit", 13, kBall,
                {{"count", {}, 7, 2, few}, {"infinite northing", {{7, -kInf}}, 8, 6, bad}});
  checkRefusals(
      oprj_OrthographicInit, "oprj_OrthographicInit", 14, kBall,
      {{"count", {}, 7, 2, few}, {"NaN latitude", {{5, kNaN}}, 8, 6, "Improper parameters"}});
  checkRefusals(oprj_OrthographicInit, "oprj_OrthographicInit", 14, {-1, -1},
                {{"negative axis", {}, 8, 6, "Improper parameters"}});
  checkRefusals(oprj_GeneralVerticalNear_SidePerspectiveInit,
                "oprj_GeneralVerticalNear_SidePerspectiveInit", 15, kBall,
                {{"count", {{2, 1}}, 7, 2, few},
                 {"no height", {}, 8, 3, bad},
                 {"below ground", {{2, -1}}, 8, 3, bad},
                 {"NaN height", {{2, kNaN}}, 8, 3, bad},
                 {"infinite height", {{2, kInf}}, 8, 7, bad}});
  checkRefusals(oprj_OblatedEqualAreaInit, "oprj_OblatedEqualAreaInit", 33, kBall,
                {{"count", {{2, 1}, {3, 1}}, 8, 2, few},
                 {"m", {{3, 1}}, 9, 3, bad},
                 {"n, minus zero", {{2, 1}, {3, -0.0}}, 9, 3, bad},
                 {"NaN angle", {{2, 1}, {3, 1}, {8, kNaN}}, 9, 7, bad},
                 {"infinite m", {{2, kInf}, {3, 1}}, 9, 7, bad}});
  checkRefusals(oprj_AlaskaConformalInit, "oprj_AlaskaConformalInit", 26, kClarke1866,
                {{"count", {}, 7, 2, few}, {"NaN easting", {{6, kNaN}}, 8, 6, bad}});
}

TEST(Azimuthal, ComparedEntries) {
  checkCompared(oprj_StereographicProParametersEqual, 10, {4, 5, 6, 7, 8, 9});
  checkCompared(oprj_LambertAzimuthalEqual_AreaProParametersEqual, 11, {4, 5, 6, 7, 8});
  checkCompared(oprj_AzimuthalEquidistantProParametersEqual, 12, {4, 5, 6, 7});
  checkCompared(oprj_GnomonicProParametersEqual, 13, {4, 5, 6, 7});
  checkCompared(oprj_OrthographicProParametersEqual, 14, {4, 5, 6, 7});
  checkCompared(oprj_GeneralVerticalNear_SidePerspectiveProParametersEqual, 15, {2, 4, 5, 6, 7});
  checkCompared(oprj_AlaskaConformalProParametersEqual, 26, {6, 7});
  checkCompared(oprj_OblatedEqualAreaProParametersEqual, 33, {2, 3, 4, 5, 6, 7, 8});
}

}  // namespace
}  // namespace oprj_test
