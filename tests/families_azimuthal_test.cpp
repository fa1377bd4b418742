// Azimuthal projections (10 to 15, 33) and the two maps of Alaska (22, 26): published examples,
// peers in every aspect, digits, stops and edges. The contract that all families share:
// laws_test.cpp.
#include <cmath>

#include "family_support.h"
#include "support.h"

namespace oprj_test {
namespace {

using orvik::test::Slot;

constexpr double kPi = M_PI;
constexpr Axes kBall = kNominalSphere;
constexpr double kR = kBall.a;

const Family kStereographic{"Stereographic", oprj_StereographicInit, 10},
    kEqualArea{"LambertAzimuthalEqual_Area", oprj_LambertAzimuthalEqual_AreaInit, 11},
    kEquidistant{"AzimuthalEquidistant", oprj_AzimuthalEquidistantInit, 12},
    kGnomonic{"Gnomonic", oprj_GnomonicInit, 13},
    kOrthographic{"Orthographic", oprj_OrthographicInit, 14},
    kPerspective{"GeneralVerticalNear_SidePerspective",
                 oprj_GeneralVerticalNear_SidePerspectiveInit, 15},
    kMtm{"MTM", oprj_MTMInit, 22}, kAlaska{"AlaskaConformal", oprj_AlaskaConformalInit, 26},
    kOblated{"OblatedEqualArea", oprj_OblatedEqualAreaInit, 33};

Projection make(const Family &family, const Entries &entries, Axes axes = kBall) {
  return Projection(family, entries, axes);
}
void expectNear(Oprj_Point found, Oprj_Point expected, double tolerance) {
  EXPECT_NEAR(found.x, expected.x, tolerance);
  EXPECT_NEAR(found.y, expected.y, tolerance);
}
void expectWithin(const Difference &difference, double metres, double degrees) {
  EXPECT_LE(difference.forward, metres);
  EXPECT_LE(difference.inverseDeg, degrees);
}
/// Entries with a centre in degrees.
Entries centredAt(double lon, double lat, Entries entries = {}) {
  entries.insert(entries.end(), {{4, lon * kDeg}, {5, lat * kDeg}});
  return entries;
}
/// What the Perspective and the Oblated need; the others do not read it.
const Entries kShape = {{2, 1e7}, {3, 3}};

TEST(Azimuthal, PublishedExamples) {
  const Entries centre = centredAt(-100, 40);
  const Axes three{3, 3}, km6371{6371, 6371};
  checkExamples({
      {"[Snyder87] p. 311, Orthographic", oprj_OrthographicInit, 14, centre, kUnitSphere, -110, 30,
       -0.1503837, -0.1651911, 5.1e-8, 1e-5},
      {"[Snyder87] p. 312, Stereographic", oprj_StereographicInit, 10, centre, kUnitSphere, -75, 30,
       0.3807224, -0.1263802, 5.1e-8, 1e-5},
      {"[Snyder87] p. 319, Gnomonic", oprj_GnomonicInit, 13, centre, kUnitSphere, -110, 30,
       -0.1542826, -0.1694739, 5.1e-8, 1e-5},
      {"[Snyder87] p. 320, Vertical Perspective, in km",
       oprj_GeneralVerticalNear_SidePerspectiveInit, 15, centredAt(-77, 39, {{2, 500}}), km6371,
       -74, 41, 247.19409, 222.48596, 5.1e-6, 1e-6},
      {"[Snyder87] p. 332, Lambert Azimuthal Equal-Area", oprj_LambertAzimuthalEqual_AreaInit, 11,
       centre, three, 100, -20, -4.2339303, 4.0257775, 5.1e-8, 1e-5},
      {"[Snyder87] p. 337, Azimuthal Equidistant", oprj_AzimuthalEquidistantInit, 12, centre, three,
       100, -20, -5.8311398, 5.5444634, 5.1e-8, 1e-5},
  });
}

// --- peers ---

constexpr Grid kGlobe{-178, 177, -87, 88, 5}, kNorth{-180, 180, 5, 89, 3},
    kSouth{-180, 180, -90, -4, 3}, kAmerica{-160, -40, -8, 82, 3}, kDateLine{130, 230, -40, 40, 3},
    kSide{-140, -60, 0, 80, 2}, kAlps{7, 11, 46, 48, 0.1}, kPacific{-250, -70, -60, 80, 3};

TEST(Azimuthal, AgreesWithPeersAndComesBack) {
  const Entries satellite = {{2, 35786000}}, aircraft = {{2, 10000}}, round = {{2, 2}, {3, 2}},
                wide = {{2, 2.5}, {3, 3}, {8, 45 * kDeg}},
                turned = {{2, 3}, {3, 2.2}, {8, -110 * kDeg}},
                narrow = {{2, 1.33}, {3, 2}, {8, 15 * kDeg}};
  const struct {
    Family family;
    const char *proj;
    double lon, lat;
    Grid grid;
    int32_t gctp;  ///< its code there; -1 leaves it out
    Entries entries = {};
  } rows[] = {
      {kStereographic, "stere", -100, 40, kAmerica, 10},
      {kStereographic, "stere", 10, -35, kGlobe, 10},
      {kStereographic, "stere", -45, 90, kNorth, -1},
      {kStereographic, "stere", -45, -90, kSouth, -1},
      {kEqualArea, "laea", -100, 40, kAmerica, 11},
      {kEqualArea, "laea", 10, -35, kGlobe, 11},
      {kEqualArea, "laea", 170, 90, kNorth, 11},
      {kEqualArea, "laea", 170, -90, kSouth, 11},
      {kEquidistant, "aeqd", -100, 40, kAmerica, 12},
      {kEquidistant, "aeqd", 10, -35, kGlobe, 12},
      {kEquidistant, "aeqd", 180, 0, kDateLine, 12},
      {kGnomonic, "gnom", -100, 40, kSide, 13},
      {kGnomonic, "gnom", 0, -90, kSouth, -1},
      {kOrthographic, "ortho", -100, 40, {-150, -50, 0, 80, 2}, 14},
      {kOrthographic, "ortho", 180, 0, kDateLine, 14},
      {kPerspective, "nsper +h=35786000", -100, 40, kSide, 15, satellite},
      {kPerspective, "nsper +h=10000", 9, 47, kAlps, 15, aircraft},
      {kOblated, "oea +m=2.5 +n=3 +theta=45", -160, 15, kPacific, -1, wide},
      {kOblated, "oea +m=3 +n=2.2 +theta=-110", 20, 90, kNorth, -1, turned},
      {kOblated, "oea +m=2 +n=2 +theta=0", 30, -20, kGlobe, -1, round},  // the Equal-Area
      {kOblated, "oea +m=1.33 +n=2 +theta=15", -100, 40, {-151, -49, 1, 81, 2}, 30, narrow},
  };
  for (const auto &row : rows) {
    Entries entries = centredAt(row.lon, row.lat, row.entries);
    std::string proj = std::string("+proj=") + row.proj + " +lon_0=" + std::to_string(row.lon) +
                       " +lat_0=" + std::to_string(row.lat);
    if (row.gctp != 30) {  // that package swaps the Oblated's offsets
      entries.insert(entries.end(), {{6, 1e6}, {7, -2e6}});
      proj += " +x_0=1000000 +y_0=-2000000";
    }
    SCOPED_TRACE(proj);
    const Projection projection = make(row.family, entries);
    expectWithin(againstProj(projection, proj, row.grid), 1e-4, 1e-11);
    if (row.gctp >= 0)
      expectWithin(againstGctp(projection, row.gctp, {4, 5, 8}, row.grid), 1e-4, 1e-11);
    EXPECT_LE(roundTripDeg(projection, row.grid), 1e-10);
  }
}

TEST(Azimuthal, AlaskaAgreesWithPeers) {
  const Projection projection = make(kAlaska, {{6, 1e6}, {7, -2e6}}, kClarke1866);
  const Grid alaska{170, 230, 48, 75, 1};
  expectWithin(againstGctp(projection, 23, {}, alaska), 1e-4, 1e-9);
  // PROJ's e² is rounded to eight decimals: 3 mm.
  const char *const proj = "+proj=alsk +ellps=clrk66 +x_0=1000000 +y_0=-2000000";
  expectWithin(againstProj(projection, proj, alaska), 5e-3, 5e-8);
  expectNear(projection.forward(-152, 64), {1e6, -2e6}, 1e-8);
}

// The figures of [Snyder87] 8-26 to 8-29, computed with thirty digits.
TEST(ModifiedTransverseMercator, FollowsItsFormulas) {
  const struct {
    double lon, lat, x, y;
  } rows[] = {
      {-150, 58, 0.0, -0.408726231701951},
      {-135, 60, 824263.919192762, 316075.774493115},
      {-141, 69.5, 354316.685340663, 1304968.09447781},
      {172, 53, -2414620.53514243, 153870.234243848},
      {-150, -90, 0.0, -16419826.25},
      {31, 90, -145329.23491564, 4207342.73630996},
  };
  const Projection map = make(kMtm, {}, kClarke1866);
  for (const auto &row : rows) {
    SCOPED_TRACE(row.lon);
    expectNear(map.forward(row.lon, row.lat), {row.x, row.y}, 1e-7);
    expectNear(map.inverse(row.x, row.y), {row.lon, row.lat}, 1e-9);
  }
  EXPECT_LE(roundTripDeg(map, {-180, 180, -90, 90, 2}), 1e-11);
  // The map was drawn as an Equidistant Conic of Clarke 1866 with the scale 0.9992 along its
  // meridians (here in the axes); its figures leave out the small terms of the meridian distance.
  const char *const conic =
      "+proj=eqdc +lat_1=53.5 +lat_2=66.09 +lat_0=58 +lon_0=-150 "
      "+a=6373103.83488 +b=6351498.53296";
  expectWithin(againstProj(map, conic, {170, 230, 50, 72, 2}), 10, 1e-4);
}

// --- digits ---

TEST(Azimuthal, DistancesKeepTheirDigits) {
  const Entries centre = centredAt(10, -35);
  const Projection stereographic = make(kStereographic, centre),
                   equalArea = make(kEqualArea, centre), equidistant = make(kEquidistant, centre);
  const auto distance = [](const Projection &projection, Oprj_Point p) {
    const Oprj_Point at = projection.forward(p.x / kDeg, p.y / kDeg);
    return std::hypot(at.x, at.y);
  };
  for (const double d : {1.5e-5, 1e-4, 1e-3, 0.1}) {  // from the antipode; input rounds to 1e-16
    SCOPED_TRACE(d);
    const Oprj_Point p{-170 * kDeg, 35 * kDeg + d};
    const double share = 4e-16 / d + 4e-15;
    EXPECT_NEAR(distance(stereographic, p) * std::tan(d / 2) / (2 * kR), 1.0, share);
    EXPECT_NEAR(distance(equalArea, p), 2 * kR * std::cos(d / 2), 2 * kR * share);
    EXPECT_NEAR(distance(equidistant, p), kR * (kPi - d), 1e-8);
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
  // The higher, the nearer to the Orthographic.
  const Projection orthographic = make(kOrthographic, centredAt(9, 47)),
                   infinite = make(kPerspective, centredAt(9, 47, {{2, 1e300}}));
  for (const Oprj_Point &p : Grid{-51, 69, 0, 90, 10}.points()) {
    const Oprj_Point at = infinite.forward(p.x / kDeg, p.y / kDeg);
    expectNear(at, orthographic.forward(p.x / kDeg, p.y / kDeg), 1e-8);
    EXPECT_NEAR(infinite.inverse(at.x, at.y).y * kDeg, p.y, 1e-13);
  }
  // From one metre up the horizon is 560 m / kR away; literal formulas have eight digits left.
  const Projection low = make(kPerspective, centredAt(9, 47, {{2, 1}}));
  const long double c = 5e-4L, h = 1 / static_cast<long double>(kR);
  const long double expected = kR * h * sinl(c) / (h + 2 * sinl(c / 2) * sinl(c / 2));
  const Oprj_Point at = low.forward(9, 47 + 5e-4 / kDeg);
  EXPECT_NEAR(at.y / static_cast<double>(expected), 1.0, 1e-12);
  EXPECT_NEAR(low.inverse(at.x, at.y).y, 47 + 5e-4 / kDeg, 1e-9);
}

// --- whole domains ---

// Where a sheet folds or ends, what is accepted comes back and the rest is refused.
TEST(Azimuthal, WhatIsAcceptedComesBack) {
  const auto oblated = [](double m, double n) {
    return centredAt(0, 10, {{2, m}, {3, n}, {6, 1e6}, {7, -2e6}, {8, 0.5}});
  };
  const struct {
    Family family;
    Entries entries;
    Axes axes;
    Grid grid;
    double degrees;
    int least, most;  ///< points accepted
  } rows[] = {
      {kOblated, oblated(1.33, 2), kBall, kGlobe, 6e-7, 1000, 2592},
      {kOblated, oblated(0.7, 0.7), kBall, kGlobe, 6e-7, 50, 1000},
      {kOblated, oblated(5, 5), kBall, kGlobe, 6e-7, 2000, 2592},
      {kOblated, oblated(-2.5, 1.2), kBall, kGlobe, 6e-7, 300, 2591},
      {kOblated, oblated(1e-3, 1), kBall, kGlobe, 6e-7, 0, 100},
      {kAlaska, {}, kClarke1866, {-180, 179, -90, 90, 0.5}, 1e-9, 45000, 109000},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(testing::Message() << row.family.stem << " " << &row - rows);
    const Projection projection = make(row.family, row.entries, row.axes);
    const Oprj_MapProjection *object = projection.object();
    int accepted = 0;
    for (const Oprj_Point &p : row.grid.points()) {
      Oprj_Point sheet;
      Slot err;
      object->fromLL(&p, object->parameters, &sheet, 1, err);
      if (err.failed()) continue;
      ++accepted;
      const Oprj_Point back = projection.inverse(sheet.x, sheet.y);
      EXPECT_NEAR(back.y, p.y / kDeg, row.degrees);
      EXPECT_NEAR(std::remainder(back.x - p.x / kDeg, 360) * std::cos(p.y), 0, row.degrees);
    }
    EXPECT_GE(accepted, row.least);
    EXPECT_LE(accepted, row.most);
  }
}

// Up to the stop the radius of an equal-area sheet holds the distance from the antipode to 2 mm.
TEST(Azimuthal, EqualAreaNearTheAntipode) {
  for (const Entries &entries : {centredAt(-100, 40), centredAt(20, -75, {{2, 2}, {3, 2}}),
                                 centredAt(179, 3, {{2, 3}, {3, 2.5}, {8, 0.3}})}) {
    const double lon = entries[entries.size() - 2].second + kPi, lat = -entries.back().second;
    const Family &family = entries.size() > 2 ? kOblated : kEqualArea;
    const Projection projection = make(family, entries);
    for (int i = 0; i < 360; ++i) {
      for (const double c : {1e-2, 1e-3, 1e-4, 1.5e-5}) {
        const double dLat = c * std::cos(i * kDeg), dLon = c * std::sin(i * kDeg) / std::cos(lat);
        const Oprj_Point sheet = projection.forward((lon + dLon) / kDeg, (lat + dLat) / kDeg),
                         back = projection.inverse(sheet.x, sheet.y);
        EXPECT_NEAR(back.y * kDeg, lat + dLat, 2e-3 / kR);
        EXPECT_NEAR(std::remainder(back.x * kDeg - lon - dLon, 2 * kPi) * std::cos(lat), 0,
                    2e-3 / kR);
      }
    }
  }
}

// Whatever the inverse accepts of the whole plane, forward brings back to the same point of it.
TEST(Azimuthal, NoPlaceOffTheSheet) {
  const Entries centre = centredAt(-100, 40, kShape);
  const struct {
    Family family;
    Entries entries;
    double reach;  ///< of the sheet, over a
  } rows[] = {
      {kEqualArea, centre, 2},
      {kEquidistant, centre, kPi},
      {kOrthographic, centre, 1},
      {kPerspective, centre, 0.6630},
      {kOblated, {{2, 4}, {3, 3}, {5, 0.7}}, 4},
      {kOblated, {{2, 1.33}, {3, 1.1}, {8, 1}}, 1.33},  // folds
      {kOblated, {{2, 0.2}, {3, 9}, {8, 1}}, 2},        // tiny
      {kAlaska, {}, 1},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(testing::Message() << row.family.stem << " " << row.reach);
    const Projection projection = make(row.family, row.entries);
    const Oprj_MapProjection *object = projection.object();
    int inside = 0, outside = 0;
    for (int i = -60; i <= 60; ++i) {
      for (int k = -60; k <= 60; ++k) {
        const Oprj_Point at{kR * row.reach * i / 49.7, kR * row.reach * k / 49.7};
        Oprj_Point place;
        Slot err;
        object->toLL(&at, object->parameters, &place, 1, err);
        ++(err.failed() ? outside : inside);
        if (err.failed()) continue;
        expectNear(projection.forward(place.x / kDeg, place.y / kDeg), at, 1e-5);
      }
    }
    EXPECT_GT(inside, 500);
    EXPECT_GT(outside, 1000);
  }
}

TEST(Azimuthal, CentresAndPoles) {
  for (const double lat0 : {90.0, 60.0, 0.0, -0.0, -45.0, -90.0}) {
    for (const double lon0 : {0.0, 180.0, -180.0, 350.0, -77.0}) {
      for (const Family &family : {kStereographic, kEqualArea, kEquidistant, kGnomonic,
                                   kOrthographic, kPerspective, kOblated}) {
        SCOPED_TRACE(testing::Message() << family.stem << " " << lon0 << " " << lat0);
        const Projection projection =
            make(family, centredAt(lon0, lat0, {{2, 1e7}, {3, 3}, {6, 1e6}, {7, -2e6}}));
        expectNear(projection.forward(lon0, lat0), {1e6, -2e6}, 3e-9);
        const Oprj_Point back = projection.inverse(1e6, -2e6);
        EXPECT_NEAR(back.y, lat0, 5e-14);
        if (std::fabs(lat0) < 90) {
          EXPECT_NEAR(std::remainder(back.x - lon0, 360), 0, 1e-13);
        }
        EXPECT_TRUE(back.x > -180 - 1e-9 && back.x <= 180 + 1e-9) << back.x;
        if (std::fabs(lat0) < 45) continue;
        // the pole in view: any longitude is the same place
        const double pole = std::copysign(90.0, lat0);
        const Oprj_Point one = projection.forward(12, pole);
        expectNear(projection.forward(-170, pole), one, 1e-8);
        EXPECT_NEAR(projection.inverse(one.x, one.y).y, pole, 1e-12);
      }
    }
  }
}

// --- stops ---

TEST(Azimuthal, Stops) {
  const char *const bads = "Improper parameters", *const hidden = "Point cannot be projected",
                    *const infinity = "Point projects into infinity",
                    *const circle = "Point projects into a circle";
  const Entries centre = centredAt(-100, 40, kShape);
  const Oprj_Point good{-100 * kDeg, 40 * kDeg};
  const Oprj_Point antipode{80 * kDeg, -40 * kDeg}, nearby{80 * kDeg, -40 * kDeg + 1.4e-5};
  const Oprj_Point horizon{-100 * kDeg, -50 * kDeg}, beyond{-100 * kDeg, -50 * kDeg - 2e-10};
  const double out = 1 + 1.1e-10;
  const auto check = [&](const Family &family, int32_t code, const char *offTheSheet,
                         std::vector<StopCase> stops) {
    SCOPED_TRACE(family.stem);
    for (const Oprj_Point far : {Oprj_Point{-kInf, 0}, {0, kInf}, {kInf, kInf}, {-1e300, 1e300}}) {
      if (family.number != 10 || !std::isfinite(far.x))  // one sheet has no end
        stops.push_back({"far", false, far, code, offTheSheet});
    }
    checkStops(make(family, centre), good, stops);
  };
  check(kStereographic, 20, kInverse,
        {{"antipode", true, antipode, 4, infinity},
         {"within 1.4e-5 of it", true, nearby, 4, infinity}});
  check(kEqualArea, 4, kUnusable,
        {{"antipode", true, antipode, 4, circle},
         {"within 1.4e-5 of it", true, nearby, 4, circle},
         {"2e-6 m outside", false, {2 * kR + 2e-6, 0}, 4, kUnusable}});
  check(kEquidistant, 4, kUnusable,
        {{"antipode", true, antipode, 4, circle},
         {"within 1.4e-5 of it", true, nearby, 4, circle},
         {"outside", false, {0, kR * (kPi + 1.1e-10)}, 4, kUnusable}});
  check(kGnomonic, 20, kInverse,
        {{"horizon", true, horizon, 4, infinity},
         {"antipode", true, antipode, 4, infinity},
         {"squares overflow", false, {0, 1e180}, 20, kInverse}});
  check(kOrthographic, 4, bads,
        {{"beyond the horizon", true, beyond, 4, hidden},
         {"outside", false, {kR * out, 0}, 4, bads}});
  const double p = 1 + 1e7 / kR, edge = std::acos(1 / p), rim = kR * std::sqrt((p - 1) / (p + 1));
  const Oprj_Point over{good.x, good.y - edge - 2e-10};
  check(kPerspective, 4, kUnusable,
        {{"beyond the horizon", true, over, 4, hidden},
         {"outside", false, {rim * out, 0}, 4, kUnusable}});
  check(kOblated, 20, kInverse,
        {{"antipode", true, antipode, 20, kForward},
         {"above", false, {0, 3 * kR * out}, 20, kInverse}});
  checkStops(make(kOblated, centredAt(-100, 40, {{2, 1.2}, {3, 1.2}})), good,
             {{"folds eastward", true, {20 * kDeg, -20 * kDeg}, 20, kForward},
              {"folds southward", true, {good.x, -75 * kDeg}, 20, kForward},
              {"right of the sheet", false, {1.2 * kR * out, 0}, 20, kInverse}});
  const char *const loop =
      "Too many iterations for Alaska Conformal inverse transformation, point # %ld:  %lf, %lf";
  checkStops(make(kAlaska, {}, kClarke1866), {-150 * kDeg, 61 * kDeg},
             {{"too far", true, {-152 * kDeg, 25 * kDeg}, 20, kForward},
              {"other side", true, {28 * kDeg, -64 * kDeg}, 20, kForward},
              {"too far out", false, {0, -5.5e6}, 20, kInverse},
              {"infinite", false, {0, kInf}, 4, loop},
              {"absurd", false, {-1e300, 1e300}, 4, loop}});
  checkStops(make(kMtm, {}, kClarke1866), {-150 * kDeg, 60 * kDeg},
             {{"above the pole", false, {0, 3.7e6}, 20, kInverse},
              {"below the other", false, {0, -2e7}, 20, kInverse},
              {"in the wedge", false, {0, 1e7}, 20, kInverse},
              {"absurd", false, {1e100, 0}, 20, kInverse},
              {"infinite", false, {kInf, 0}, 4, "Too many iterations"},
              {"squares overflow", false, {0, 1e300}, 4, "Too many iterations"}});

  // A rounding outside is the outline.
  const struct {
    Family family;
    double x, y, lat, tolerance;
  } rims[] = {{kStereographic, 1e200, 0, -40, 1e-12},  // as far as it gets: the antipode
              {kEqualArea, 0, -(2 * kR + 5e-7), -40, 1e-5},
              {kEquidistant, kR * (kPi + 0.9e-10), 0, -40, 1e-12},
              {kGnomonic, 0, -1e100, -50, 1e-12},
              {kOrthographic, 0, -kR * (1 + 0.9e-10), -50, 1e-6},
              {kPerspective, 0, -rim * (1 + 0.4e-10), 40 - edge / kDeg, 1e-3}};
  for (const auto &row : rims)
    EXPECT_NEAR(make(row.family, centre).inverse(row.x, row.y).y, row.lat, row.tolerance)
        << row.family.stem;
  EXPECT_NEAR(make(kOrthographic, centre).forward(-100, -50).y, -kR, 1e-8);
  EXPECT_NEAR(make(kPerspective, centre).forward(-100, 40 - (edge - 1e-11) / kDeg).y, -rim, 1e-4);
}

// --- records ---

TEST(Azimuthal, Records) {
  // An unusable number is found behind block, record copy and object (3 to 5), or a value check
  // and these.
  const struct {
    Family family;
    int32_t minimum;
    std::initializer_list<int> compared;
    int32_t code;
  } rows[] = {{kStereographic, 10, {4, 5, 6, 7, 8, 9}, 6},
              {kEqualArea, 9, {4, 5, 6, 7, 8}, 6},
              {kEquidistant, 8, {4, 5, 6, 7}, 6},
              {kGnomonic, 8, {4, 5, 6, 7}, 6},
              {kOrthographic, 8, {4, 5, 6, 7}, 6},
              {kPerspective, 8, {2, 4, 5, 6, 7}, 7},
              {kOblated, 9, {2, 3, 4, 5, 6, 7, 8}, 7},
              {kAlaska, 8, {6, 7}, 6},
              {kMtm, 4, {}, 6}};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.family.stem);
    std::vector<RefusalCase> refusals = {{"count", kShape, row.minimum - 1, 2, kTooFew}};
    for (const int entry : row.compared) {
      if (entry < 4 || entry > 7) continue;
      for (const double number : {kNaN, -kInf}) {
        Entries entries = kShape;
        entries.push_back({entry, number});
        refusals.push_back({"not a number", entries, row.minimum, row.code,
                            row.family.number == 14 ? "Improper parameters" : kUnusable});
      }
    }
    checkRefusals(row.family, kBall, refusals);
    const Projection projection = make(row.family, kShape);
    checkCompared(projection.object()->proParametersEqual, row.family.number, row.compared);
  }
  checkRefusals(kOrthographic, {-1, -1}, {{"negative axis", {}, 8, 6, "Improper parameters"}});
  checkRefusals(kMtm, {-1, -1}, {{"negative axis", {}, 4, 6, kUnusable}});
  checkRefusals(kPerspective, kBall,
                {{"no height", {}, 8, 3, kUnusable},
                 {"below ground", {{2, -1}}, 8, 3, kUnusable},
                 {"NaN height", {{2, kNaN}}, 8, 3, kUnusable},
                 {"infinite height", {{2, kInf}}, 8, 7, kUnusable}});
  checkRefusals(kOblated, kBall,
                {{"m", {{3, 1}}, 9, 3, kUnusable},
                 {"n, minus zero", {{2, 1}, {3, -0.0}}, 9, 3, kUnusable},
                 {"NaN angle", {{2, 1}, {3, 1}, {8, kNaN}}, 9, 7, kUnusable},
                 {"infinite m", {{2, kInf}, {3, 1}}, 9, 7, kUnusable}});
}

}  // namespace
}  // namespace oprj_test
