// Conic projections: Albers (3), Lambert Conformal with two parallels (4) and with one (67),
// Polyconic (7), Equidistant (8). Published examples, peers, laws, checks and stops, and the places
// where conics lose their digits: small cone constants, close parallels, poles, the open wedge.
#include <algorithm>
#include <cmath>
#include <limits>

#include "family_support.h"

namespace oprj_test {
namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr const char *kPar = "Equal latitudes for st. parallels on opposite sides of equator";
constexpr const char *kForward = "Point cannot be projected, point # %ld:  %lf, %lf";
constexpr const char *kInverse = "Input data error, point # %ld:  %lf, %lf";
constexpr const char *kPhi1 = "Error returned from oprj_Phi1";
constexpr const char *kPhi2 = "Error returned from oprj_Phi2";

using Entries = std::vector<std::pair<int, double>>;

/// Entries 2 to 7 of the conics with two parallels, degrees and metres; 8 is the selector of number
/// 8, which the others do not read.
Entries conic(double lat1, double lat2, double lon0, double lat0, double east = 0,
              double north = 0) {
  return {{2, lat1 * kDeg},
          {3, lat2 * kDeg},
          {4, lon0 * kDeg},
          {5, lat0 * kDeg},
          {6, east},
          {7, north},
          {8, 1}};
}
Entries singleParallel(double lat0, double lon0, double scale, double east = 0, double north = 0) {
  return {{2, lat0 * kDeg}, {3, lon0 * kDeg}, {4, scale}, {5, east}, {6, north}};
}
Entries polyconic(double lon0, double lat0, double east = 0, double north = 0) {
  return {{4, lon0 * kDeg}, {5, lat0 * kDeg}, {6, east}, {7, north}};
}

struct Family {
  const char *stem;
  Initialiser init;
  int32_t number;
};
const Family kAlbers{"AlbersConicalEqualArea", oprj_AlbersConicalEqualAreaInit, 3};
const Family kLambert{"LambertConformalConic", oprj_LambertConformalConicInit, 4};
const Family kSingle{"LambertConformalConicSSP", oprj_LambertConformalConicSSPInit, 67};
const Family kPolyconic{"Polyconic", oprj_PolyconicInit, 7};
const Family kEquidistant{"EquidistantConic", oprj_EquidistantConicInit, 8};
const Family *const kWithTwoParallels[] = {&kAlbers, &kLambert, &kEquidistant};

Projection make(const Family &family, const Entries &entries, Axes axes) {
  return Projection(family.init, family.number, entries, axes);
}

TEST(Conics, PublishedExamples) {
  const Entries states = conic(29.5, 45.5, -96, 23), lambert = conic(33, 45, -96, 23);
  constexpr Axes clarke{6378206.4, 6356583.8};
  constexpr double kFoot = 1200.0 / 3937;  // U.S. survey foot
  checkExamples({
      {"[Snyder87] p. 291, Albers, sphere", kAlbers.init, 3, states, kUnitSphere, -75, 35,
       0.2952720, 0.2416774, 5.1e-8, 1e-5},
      {"[Snyder87] p. 292, Albers, Clarke 1866", kAlbers.init, 3, states, clarke, -75, 35,
       1885472.7, 1535925.0, 0.051, 1e-6},
      {"[EPSG7-2] Albers Equal Area, Great Lakes", kAlbers.init, 3,
       conic(dms(42, 7, 21.9864), dms(49, 0, 54.6480), dms(-84, 27, 21.4380), dms(45, 34, 8.3172),
             1e6, 1e6),
       kGRS80, dms(-78, 45, 0), dms(42, 45, 0), 1466493.492, 702903.006, 5.1e-4, 1e-8},
      {"[Snyder87] p. 295, Lambert, sphere", kLambert.init, 4, lambert, kUnitSphere, -75, 35,
       0.2966785, 0.2462112, 5.1e-8, 1e-5},
      {"[Snyder87] p. 296, Lambert, Clarke 1866", kLambert.init, 4, lambert, clarke, -75, 35,
       1894410.9, 1564649.5, 0.051, 1e-6},
      {"[EPSG7-2] Lambert Conic Conformal (2SP), Texas South Central", kLambert.init, 4,
       conic(dms(28, 23, 0), dms(30, 17, 0), -99, dms(27, 50, 0), 2e6 * kFoot), clarke, -96, 28.5,
       2963503.91 * kFoot, 254759.80 * kFoot, 0.0051 * kFoot, 1e-7},
      {"[EPSG7-2] Lambert Conic Conformal (1SP), Jamaica",
       kSingle.init,
       67,
       singleParallel(18, -77, 1, 250000, 150000),
       {6378206.4, 6378206.4 * (1 - 1 / 294.9786982)},
       dms(-76, 56, 37.26),
       dms(17, 55, 55.80),
       255966.58,
       142493.51,
       0.0051,
       1e-7},
      {"[Snyder87] p. 298, Equidistant, sphere", kEquidistant.init, 8, states, kUnitSphere, -75, 35,
       0.2952057, 0.2424021, 5.1e-8, 1e-5},
      {"[Snyder87] p. 299, Equidistant, Clarke 1866", kEquidistant.init, 8, states, clarke, -75, 35,
       1885051.9, 1540507.6, 0.051, 1e-6},
      {"[Snyder87] p. 303, Polyconic, sphere", kPolyconic.init, 7, polyconic(-96, 30), kUnitSphere,
       -75, 40, 0.2781798, 0.2074541, 5.1e-8, 1e-5},
      {"[Snyder87] p. 304, Polyconic, Clarke 1866", kPolyconic.init, 7, polyconic(-96, 30), clarke,
       -75, 40, 1776774.5, 1319657.8, 0.051, 1e-6},
  });
}

// --- peers ---

constexpr Grid kNorthAmerica{-170, -50, 5, 85, 2.5}, kNorth{-178, 178, -30, 88, 4},
    kSouth{-178, 178, -88, 30, 4}, kDateLine{130, 230, -80, -5, 2.5}, kWorld{-179, 179, -90, 90, 4};

struct System {
  const char *what;
  const Family &family;
  Entries entries;
  Axes axes;
  const char *proj;
  Grid grid;
  double metres, degrees;  ///< bounds against PROJ
  bool gctp = true;        ///< compared with libgctp too
};

std::vector<System> systems() {
  return {
      {"Albers", kAlbers, conic(29.5, 45.5, -96, 23, 5e5, -1e6), kGRS80,
       "+proj=aea +lat_1=29.5 +lat_2=45.5 +lon_0=-96 +lat_0=23 +x_0=500000 +y_0=-1000000", kNorth,
       1e-7, 1e-10},
      {"Albers, south, across the antimeridian", kAlbers, conic(-20, -60, 175, -40), kInternational,
       "+proj=aea +lat_1=-20 +lat_2=-60 +lon_0=175 +lat_0=-40", kDateLine, 1e-7, 1e-10},
      {"Albers, one parallel", kAlbers, conic(40, 40, 11, 0), kClarke1866,
       "+proj=aea +lat_1=40 +lat_2=40 +lon_0=11 +lat_0=0", kNorth, 1e-7, 1e-10},
      {"Albers, sphere", kAlbers, conic(29.5, 45.5, -96, 23), kNominalSphere,
       "+proj=aea +lat_1=29.5 +lat_2=45.5 +lon_0=-96 +lat_0=23", kNorth, 1e-7, 1e-10},
      {"Lambert", kLambert, conic(33, 45, -96, 23, 5e5, -1e6), kGRS80,
       "+proj=lcc +lat_1=33 +lat_2=45 +lon_0=-96 +lat_0=23 +x_0=500000 +y_0=-1000000", kNorth, 1e-6,
       1e-11},
      {"Lambert, south, across the antimeridian", kLambert, conic(-20, -60, 175, -40),
       kInternational, "+proj=lcc +lat_1=-20 +lat_2=-60 +lon_0=175 +lat_0=-40", kDateLine, 1e-7,
       1e-11},
      {"Lambert, one parallel", kLambert, conic(40, 40, 11, 0), kClarke1866,
       "+proj=lcc +lat_1=40 +lat_2=40 +lon_0=11 +lat_0=0", kNorth, 1e-7, 1e-11},
      {"Lambert, origin at the apex", kLambert, conic(49, 77, -100, 90), kGRS80,
       "+proj=lcc +lat_1=49 +lat_2=77 +lon_0=-100 +lat_0=90", kNorth, 1e-7, 1e-11, false},
      {"Lambert, sphere", kLambert, conic(33, 45, -96, 23), kNominalSphere,
       "+proj=lcc +lat_1=33 +lat_2=45 +lon_0=-96 +lat_0=23", kNorth, 1e-6, 1e-11},
      {"Lambert with a scale factor", kSingle, singleParallel(49.5, -96, 0.99987, 6e5, 2e5), kGRS80,
       "+proj=lcc +lat_1=49.5 +lat_0=49.5 +k_0=0.99987 +lon_0=-96 +x_0=600000 +y_0=200000", kNorth,
       1e-6, 1e-11, false},
      {"Lambert with a scale factor, south", kSingle, singleParallel(-30, 20, 1.01), kClarke1866,
       "+proj=lcc +lat_1=-30 +lat_0=-30 +k_0=1.01 +lon_0=20", kSouth, 1e-6, 1e-11, false},
      // Our meridian series stops behind e^6, like that of libgctp; that of PROJ does not.
      {"Equidistant", kEquidistant, conic(29.5, 45.5, -96, 23, 5e5, -1e6), kGRS80,
       "+proj=eqdc +lat_1=29.5 +lat_2=45.5 +lon_0=-96 +lat_0=23 +x_0=500000 +y_0=-1000000",
       kNorthAmerica, 1e-3, 1e-8},
      {"Equidistant, south", kEquidistant, conic(-20, -60, 175, -40), kInternational,
       "+proj=eqdc +lat_1=-20 +lat_2=-60 +lon_0=175 +lat_0=-40", kDateLine, 1e-3, 1e-8},
      {"Equidistant, sphere", kEquidistant, conic(29.5, 45.5, -96, 23), kNominalSphere,
       "+proj=eqdc +lat_1=29.5 +lat_2=45.5 +lon_0=-96 +lat_0=23", kNorth, 1e-7, 1e-11},
      {"Polyconic", kPolyconic, polyconic(-96, 30, 5e5, -1e6), kGRS80,
       "+proj=poly +lon_0=-96 +lat_0=30 +x_0=500000 +y_0=-1000000", kNorthAmerica, 1e-3, 2e-8},
      {"Polyconic, across the antimeridian", kPolyconic, polyconic(175, -40), kInternational,
       "+proj=poly +lon_0=175 +lat_0=-40", kDateLine, 1e-3, 2e-8},
      {"Polyconic, sphere",
       kPolyconic,
       polyconic(0, 0),
       kNominalSphere,
       "+proj=poly",
       {-75, 75, -85, 85, 5},
       1e-7,
       1e-9},
  };
}

TEST(Conics, AgreeWithPeers) {
  for (const System &s : systems()) {
    SCOPED_TRACE(s.what);
    const Projection ours = make(s.family, s.entries, s.axes);
    const Difference proj = againstProj(ours, s.proj, s.grid);
    EXPECT_LE(proj.forward, s.metres);
    EXPECT_LE(proj.inverseDeg, s.degrees);
    if (!s.gctp) continue;
    // libgctp iterates to coarser tolerances and has no answer in places.
    const Difference gctp =
        againstGctp(ours, s.family.number, s.axes, s.entries, {2, 3, 4, 5}, s.grid);
    EXPECT_LE(gctp.forward, 1e-3);
    EXPECT_LE(gctp.inverseDeg, s.family.number == 7 ? 1e-7 : 1e-8);
  }
}

// --- laws ---

TEST(Conics, RoundTrip) {
  for (const System &s : systems()) {
    SCOPED_TRACE(s.what);
    const Projection ours = make(s.family, s.entries, s.axes);
    const bool conformal = s.family.number == 4 || s.family.number == 67;
    const double limit = conformal || s.family.number == 3 ? 89.9 : 90;
    EXPECT_LE(roundTripDeg(ours, {-180, 180, -limit, limit, limit / 29}), 1e-9);
  }
  // Near the poles, where Albers' q flattens: the bound of its opening comment.
  const Projection albers = make(kAlbers, conic(29.5, 45.5, -96, 23), kGRS80);
  for (double psi = 1; psi > 1e-9; psi /= 3) {
    for (const double side : {-1.0, 1.0}) {
      const Oprj_Point sheet = albers.forward(20, side * (90 - psi));
      const double back = albers.inverse(sheet.x, sheet.y).y;
      EXPECT_NEAR(back, side * (90 - psi), 1.5e-15 / (psi * kDeg) / kDeg + 1e-13) << psi;
    }
  }
}

/// Derivatives of the sheet by longitude and latitude at a place, by central differences.
struct Jacobian {
  double xLon, yLon, xLat, yLat;
};
Jacobian jacobian(const Projection &p, double lonDeg, double latDeg) {
  constexpr double h = 1e-3;
  const Oprj_Point e = p.forward(lonDeg + h, latDeg), w = p.forward(lonDeg - h, latDeg);
  const Oprj_Point n = p.forward(lonDeg, latDeg + h), s = p.forward(lonDeg, latDeg - h);
  const double scale = 1 / (2 * h * kDeg);
  return {(e.x - w.x) * scale, (e.y - w.y) * scale, (n.x - s.x) * scale, (n.y - s.y) * scale};
}

TEST(Conics, KeepWhatTheyAreMadeToKeep) {
  constexpr double es = 0.00669438002290;
  const Projection albers = make(kAlbers, conic(29.5, 45.5, -96, 23), kGRS80);
  const Projection lambert = make(kLambert, conic(33, 45, -96, 23), kGRS80);
  const Projection single = make(kSingle, singleParallel(-30, 20, 1.01), kGRS80);
  const Projection equidistant = make(kEquidistant, conic(29.5, 45.5, -96, 23), kGRS80);
  for (double lat = -60; lat <= 80; lat += 20) {
    for (double lon = -170; lon <= 170; lon += 68) {
      SCOPED_TRACE(std::to_string(lon) + " " + std::to_string(lat));
      const double s = std::sin(lat * kDeg), k = 1 - es * s * s;
      const double parallel = kGRS80.a * std::cos(lat * kDeg) / std::sqrt(k);
      const double meridian = kGRS80.a * (1 - es) / (k * std::sqrt(k));
      const Jacobian a = jacobian(albers, lon, lat);
      EXPECT_NEAR((a.xLon * a.yLat - a.yLon * a.xLat) / (parallel * meridian), 1.0, 1e-8);
      for (const Projection *p : {&lambert, &single}) {
        const Jacobian c = jacobian(*p, lon, lat);
        const double size = std::hypot(c.xLon, c.yLon) / parallel;
        EXPECT_NEAR(c.xLat / meridian, -c.yLon / parallel, 1e-8 * size);
        EXPECT_NEAR(c.yLat / meridian, c.xLon / parallel, 1e-8 * size);
      }
      const Jacobian e = jacobian(equidistant, lon, lat);
      EXPECT_NEAR(std::hypot(e.xLat, e.yLat) / meridian, 1.0, 1e-8);
    }
  }
}

// --- where conics lose their digits ---

TEST(Conics, SmallestConeConstants) {
  // Parallels 1.1e-10 rad from opposite: n is 5e-11, rho 1e17 m, and the sheet is a cylinder's.
  const double lat1 = 30 * kDeg, c = std::cos(lat1);
  for (const Family *family : kWithTwoParallels) {
    SCOPED_TRACE(family->stem);
    const Projection ours =
        make(*family, {{2, lat1}, {3, -lat1 + 1.1e-10}, {5, 0.1}, {8, 1}, {6, 100}}, kUnitSphere);
    const auto height = [&](double phi) {
      switch (family->number) {
        case 3:
          return std::sin(phi) / c;
        case 4:
          return c * std::atanh(std::sin(phi));
        default:
          return phi;
      }
    };
    for (double lat = -80; lat <= 80; lat += 16) {
      for (double lon = -176; lon <= 176; lon += 22) {
        const Oprj_Point sheet = ours.forward(lon, lat);
        EXPECT_NEAR(sheet.x, 100 + c * lon * kDeg, 1e-9) << lon << " " << lat;
        EXPECT_NEAR(sheet.y, height(lat * kDeg) - height(0.1), 1e-9) << lon << " " << lat;
      }
    }
    EXPECT_LE(roundTripDeg(ours, {-180, 180, -85, 85, 5}), 1e-11);
    // The tolerance of the wedge is one on the sheet: a hair beyond the antimeridian is refused.
    Oprj_Point in{100 + c * M_PI + 3e-10, 0.1}, out;
    Oerr_Report *err = nullptr;
    ours.object()->toLL(&in, ours.object()->parameters, &out, 1, &err);
    EXPECT_EQ(oerr_CodeGet(err), 20);
    oerr_DeleteErrorReport(&err);
  }
}

TEST(Conics, CloseParallels) {
  // Two parallels that approach each other give the same sheet as one between them.
  for (const Family *family : kWithTwoParallels) {
    const double lat = 40 * kDeg;
    const Projection one = make(*family, {{2, lat}, {3, lat}, {5, 0.5}, {8, 1}}, kGRS80);
    const Oprj_Point expected = one.forward(50, 60);
    for (double apart = 1e-13; apart < 3e-6; apart *= 7) {
      const Projection two =
          make(*family, {{2, lat - apart / 2}, {3, lat + apart / 2}, {5, 0.5}, {8, 1}}, kGRS80);
      const Oprj_Point found = two.forward(50, 60);
      EXPECT_NEAR(found.x, expected.x, 2e-3) << family->stem << " " << apart;  // n of one: exact
      EXPECT_NEAR(found.y, expected.y, 2e-3) << family->stem << " " << apart;
      EXPECT_LE(roundTripDeg(two, {-100, 100, -50, 70, 10}), 1e-11) << family->stem << apart;
    }
  }
}

TEST(Conics, Poles) {
  struct {
    const Family &family;
    Entries entries;
    bool apexNorth;
  } const cones[] = {{kLambert, conic(33, 45, -96, 23, 1e6, 2e6), true},
                     {kLambert, conic(-33, -45, -96, -23, 1e6, 2e6), false},
                     {kSingle, singleParallel(49.5, -96, 0.9, 1e6, 2e6), true},
                     {kSingle, singleParallel(-49.5, -96, 0.9, 1e6, 2e6), false}};
  for (const auto &cone : cones) {
    const Projection ours = make(cone.family, cone.entries, kGRS80);
    const double side = cone.apexNorth ? 1 : -1;
    // The apex: one point on the central meridian, whatever the longitude, and back to it.
    const Oprj_Point apex = ours.forward(50, side * 90);
    EXPECT_EQ(apex.x, 1e6);
    const Oprj_Point again = ours.forward(-170, side * 90);
    EXPECT_EQ(again.x, apex.x);
    EXPECT_EQ(again.y, apex.y);
    const Oprj_Point back = ours.inverse(apex.x, apex.y);
    EXPECT_NEAR(back.y, side * 90, 1e-9);
    EXPECT_NEAR(back.x, -96, 1e-9);
    const double hair = M_PI_2 - 0.9e-10;
    Oprj_Point in{0.3, side * hair}, out;
    ours.object()->fromLL(&in, ours.object()->parameters, &out, 1, nullptr);
    EXPECT_EQ(out.y, apex.y);
  }
  // Arcs: poles of Albers and Equidistant, and a parallel, an origin and a point at one place.
  for (const Family *family : {&kAlbers, &kEquidistant}) {
    for (const double lat1 : {30.0, 90.0}) {
      const Projection ours = make(*family, conic(lat1, 60, 10, 90), kGRS80);
      const Oprj_Point pole = ours.forward(10, 90);
      EXPECT_NEAR(pole.x, 0, 1e-9);
      EXPECT_NEAR(pole.y, 0, family == &kAlbers && lat1 == 90 ? 0.1 : 1e-8);
      EXPECT_NEAR(ours.inverse(pole.x, pole.y).y, 90, 1e-9);
      const Oprj_Point south = ours.forward(100, -90);
      EXPECT_NEAR(ours.inverse(south.x, south.y).y, -90, 1e-9);
    }
  }
  // Polyconic: poles are points on the central meridian.
  const Projection polar = make(kPolyconic, polyconic(20, 0), kGRS80);
  for (const double side : {-1.0, 1.0}) {
    const Oprj_Point pole = polar.forward(-150, side * 90);
    EXPECT_NEAR(pole.x, 0, 1e-8);
    EXPECT_NEAR(pole.y, side * 10001965.7293, 2e-3);
    EXPECT_NEAR(polar.inverse(pole.x, pole.y).y, side * 90, 1e-12);
  }
}

TEST(Conics, EdgesOfTheGlobe) {
  for (const System &s : systems()) {
    SCOPED_TRACE(s.what);
    const Projection ours = make(s.family, s.entries, s.axes);
    const Oprj_MapProjection *object = ours.object();
    const double lon0 = s.entries[s.family.number == 7 ? 0 : s.family.number == 67 ? 1 : 2].second;
    // Both sides of the antimeridian of the sheet are its edges; a turn more is the same place.
    const Oprj_Point in[] = {{lon0 + M_PI - 1e-9, 0.4},
                             {lon0 - M_PI + 1e-9, 0.4},
                             {lon0 + 0.3, 0.4},
                             {lon0 + 0.3 - 4 * M_PI, 0.4}};
    Oprj_Point out[4];
    object->fromLL(in, object->parameters, out, 4, nullptr);
    const double middle = s.entries[s.family.number == 7    ? 2
                                    : s.family.number == 67 ? 3
                                                            : 4]
                              .second;
    EXPECT_NEAR(out[0].x - middle, -(out[1].x - middle), 0.1);
    EXPECT_NEAR(out[0].y, out[1].y, 0.1);
    EXPECT_NEAR(out[2].x, out[3].x, 1e-7);
    EXPECT_NEAR(out[2].y, out[3].y, 1e-7);
  }
}

TEST(Conics, PolyconicReachesTheWholeGlobe) {
  const Projection ours = make(kPolyconic, polyconic(0, 0), kGRS80);
  EXPECT_LE(roundTripDeg(ours, {-179.999, 179.999, -90, 90, 0.9}), 1e-11);
  // Next to the equator, to the poles, and between the cases of the inverse.
  for (const double lat :
       {1e-12, 1e-8, 5.8e-6, 5.7e-6, 5e-5, 90 - 5.8e-5, 90 - 5.7e-5, 90 - 1e-9}) {
    for (const double lon : {0.0, 1e-6, 70.0, -123.0, 180.0}) {
      const Oprj_Point sheet = ours.forward(lon, lat), back = ours.inverse(sheet.x, sheet.y);
      EXPECT_NEAR(back.y, lat, 1e-12) << lon << " " << lat;
      EXPECT_NEAR(std::fabs(back.x - lon) * std::cos(lat * kDeg), 0, 1e-11) << lon << " " << lat;
    }
  }
  // Where oprj_Phi4 converges too, both mean the same latitude.
  const double es = 0.00669438002290;
  const double e0 = oprj_E0fn(es, nullptr), e1 = oprj_E1fn(es, nullptr),
               e2 = oprj_E2fn(es, nullptr), e3 = oprj_E3fn(es, nullptr);
  for (double lat = -88; lat <= 88; lat += 8) {
    for (double lon = 5; lon <= 75; lon += 10) {
      if (lat == 0) continue;
      const Oprj_Point sheet = ours.forward(lon, lat);
      const double x = sheet.x / kGRS80.a, a = sheet.y / kGRS80.a;
      Oerr_Report *err = nullptr;
      const double literal = oprj_Phi4(es, e0, e1, e2, e3, a, x * x + a * a, nullptr, &err);
      ASSERT_EQ(err, nullptr) << lon << " " << lat;
      EXPECT_NEAR(ours.inverse(sheet.x, sheet.y).y, literal / kDeg, 1e-10) << lon << " " << lat;
    }
  }
}

// --- checks, stops, contract ---

TEST(Conics, Refusals) {
  const Entries good = conic(30, 60, 0, 0);
  for (const Family *family : kWithTwoParallels) {
    const std::string function = std::string("oprj_") + family->stem + "Init";
    const int32_t enough = family->number == 8 ? 9 : 8;
    checkRefusals(family->init, function.c_str(), family->number, kGRS80,
                  {{"too short", good, enough - 1, 2, "Insufficient projection parameters"},
                   {"opposite parallels", conic(30, -30, 0, 0), 15, 3, kPar},
                   {"within 1e-10", {{2, 0.5}, {3, -0.5 + 0.99e-10}, {8, 1}}, 15, 3, kPar},
                   {"both at the equator", conic(0, 0, 0, 0), 15, 3, kPar},
                   {"an entry that is no number",
                    {{2, 0.5}, {3, 0.6}, {4, kNaN}, {8, 1}},
                    15,
                    7,
                    "Improper parameter"},
                   {"an infinite offset",
                    {{2, 0.5}, {3, 0.6}, {6, kInf}, {8, 1}},
                    15,
                    7,
                    "Improper parameter"}});
  }
  checkRefusals(kEquidistant.init, "oprj_EquidistantConicInit", 8, kGRS80,
                {{"one parallel at the equator", {{2, 1e-10}, {3, 0.5}}, 9, 3, kPar}});
  checkRefusals(kLambert.init, "oprj_LambertConformalConicInit", 4, kGRS80,
                {{"a parallel at a pole", conic(90, 40, 0, 0), 8, 7, "Improper parameter"},
                 {"the other one", conic(-40, -90, 0, 0), 8, 7, "Improper parameter"},
                 {"origin opposite to the apex", conic(30, 60, 0, -90), 8, 7, "Improper parameter"},
                 {"degrees for radians", {{2, 30}, {3, 60}}, 8, 7, "Improper parameter"}});
  constexpr const char *kLong =
      "Invalid projection parameters. Latitude of natural origin and scale both cannot be 0";
  checkRefusals(
      kSingle.init, "oprj_LambertConformalConicSSPInit", 67, kGRS80,
      {{"too short", singleParallel(40, 0, 1), 6, 2, "Insufficient projection parameters"},
       {"origin at the equator", {{2, -1e-10}, {4, 1}}, 7, 3, kLong},
       {"scale 0", singleParallel(40, 0, -0.0), 7, 3, kLong},
       {"origin at a pole", singleParallel(90, 0, 1), 7, 7, "Improper parameter"},
       {"an infinite scale", singleParallel(40, 0, kInf), 7, 7, "Improper parameter"}});
  checkRefusals(kPolyconic.init, "oprj_PolyconicInit", 7, kGRS80,
                {{"too short", polyconic(0, 0), 7, 2, "Insufficient projection parameters"},
                 {"an entry that is no number", {{5, kNaN}}, 8, 6, "Improper parameter"}});
  // A spheroid of eccentricity 1 is none.
  checkRefusals(kAlbers.init, "oprj_AlbersConicalEqualAreaInit", 3, {6378137.0, 0.0},
                {{"flat spheroid", good, 8, 7, "Improper parameter"}});
}

TEST(Conics, Stops) {
  constexpr Oprj_Point good{0.2, 0.7};
  const double high = M_PI_2 + 1.1e-10;
  const StopCase everywhere[] = {{"beyond the north pole", true, {0.1, high}, 20, kForward},
                                 {"beyond the south pole", true, {0.1, -2}, 20, kForward},
                                 {"infinite longitude", true, {kInf, 0.1}, 20, kForward},
                                 {"infinite latitude", true, {0.1, -kInf}, 20, kForward}};
  const auto with = [&](std::vector<StopCase> own) {
    own.insert(own.end(), std::begin(everywhere), std::end(everywhere));
    return own;
  };
  // Cones of about half a turn: the wedge is behind the apex, 11,000 km north of the origin.
  const Entries entries = conic(20, 40, 0, 0);
  const double wedge = 3e7;
  checkStops(make(kAlbers, entries, kGRS80), good,
             with({{"wedge", false, {1e6, wedge}, 20, kInverse},
                   {"beyond the pole's arc", false, {1e5, 1.05e7}, 4, kPhi1},
                   {"far out", false, {0, -1e9}, 4, kPhi1},
                   {"absurd", false, {1e300, 1}, 4, kPhi1},
                   {"infinite", false, {kInf, 0}, 4, kPhi1}}));
  checkStops(make(kAlbers, entries, kNominalSphere), good,
             with({{"beyond the pole's arc", false, {1e5, 1.05e7}, 20, kInverse},
                   {"infinite", false, {0, kInf}, 20, kInverse}}));
  checkStops(make(kLambert, entries, kGRS80), good,
             with({{"opposite pole", true, {0.1, -M_PI_2}, 20, kForward},
                   {"a hair from it", true, {0.1, -M_PI_2 + 0.9e-10}, 20, kForward},
                   {"wedge", false, {1e6, wedge}, 20, kInverse},
                   {"infinite", false, {kInf, kInf}, 20, kInverse}}));
  checkStops(make(kSingle, singleParallel(30, 0, 0.5), kGRS80), good,
             with({{"opposite pole", true, {0.1, -M_PI_2}, 4, "Point cannot be projected"},
                   {"wedge", false, {1e6, wedge}, 20, kInverse},
                   {"infinite", false, {kInf, kInf}, 20, kInverse}}));
  checkStops(make(kSingle, singleParallel(-30, 0, -2), kGRS80), {0.2, -0.7},
             {{"opposite pole", true, {0.1, M_PI_2}, 4, "Point cannot be projected"}});
  checkStops(make(kEquidistant, entries, kGRS80), good,
             with({{"wedge", false, {1e6, wedge}, 20, kInverse},
                   {"between apex and pole", false, {0, 1.05e7}, 20, kInverse},
                   {"beyond the south pole", false, {0, -1.1e7}, 20, kInverse},
                   {"infinite", false, {kInf, 0}, 4, "Error returned from oprj_Phi3"}}));
  checkStops(make(kPolyconic, polyconic(0, 0), kGRS80), good,
             with({{"beyond the equator's end", false, {2.1e7, 0}, 20, kInverse},
                   {"above the pole", false, {0, 1.01e7}, 20, kInverse},
                   {"off the sheet", false, {1e9, 1e9}, 4, "Error returned from oprj_Phi4"},
                   {"infinite", false, {0, kInf}, 4, "Error returned from oprj_Phi4"}}));
  // Solvers' failures carry the solver's own report.
  const Projection ours = make(kAlbers, entries, kGRS80);
  const Oprj_Point in{0, -1e9};
  Oprj_Point out;
  Oerr_Report *err = nullptr;
  ours.object()->toLL(&in, ours.object()->parameters, &out, 1, &err);
  const Oerr_Report *cause = oerr_CauseGet(err);
  ASSERT_NE(cause, nullptr);
  EXPECT_STREQ(oerr_FunctionGet(cause), "oprj_Phi1");
  EXPECT_STREQ(oerr_MessageGet(cause), "Latitude failed to converge after 15 iterations");
  oerr_DeleteErrorReport(&err);
}

TEST(Conics, FlatSpheroidsMeetTheCap) {
  // e² = 0.49: oprj_Phi2 gains half a digit a step and does not arrive at low latitudes.
  const Axes flat{6378137.0, 6378137.0 * std::sqrt(0.51)};
  for (const Family *family : {&kLambert, &kSingle}) {
    const Projection ours =
        make(*family, family == &kLambert ? conic(20, 40, 0, 0) : singleParallel(30, 0, 1), flat);
    const Oprj_Point sheet = ours.forward(5, 10);
    checkStops(ours, {0.2, 1.5},
               {{"low latitude", false, sheet, 4,
                 family == &kLambert ? kPhi2 : "Error return from oprj_Phi2"}});
  }
}

TEST(Conics, NegativeScaleTurnsTheSheet) {
  const Projection up = make(kSingle, singleParallel(30, 10, 2, 100, 200), kGRS80),
                   down = make(kSingle, singleParallel(30, 10, -2, 100, 200), kGRS80);
  const Oprj_Point a = up.forward(40, 50), b = down.forward(40, 50);
  EXPECT_NEAR(a.x - 100, 100 - b.x, 1e-8);
  EXPECT_NEAR(a.y - 200, 200 - b.y, 1e-8);
  EXPECT_NEAR(down.inverse(b.x, b.y).x, 40, 1e-12);
  EXPECT_NEAR(down.inverse(b.x, b.y).y, 50, 1e-12);
}

TEST(Conics, ContractAndComparison) {
  for (const Family *family : kWithTwoParallels)
    checkContract(make(*family, conic(30, 60, 5, 7, 1e6, 2e6), kGRS80), family->stem, {0.2, 0.7});
  checkContract(make(kSingle, singleParallel(30, 5, 0.9), kGRS80), kSingle.stem, {0.2, 0.7});
  checkContract(make(kPolyconic, polyconic(5, 7), kGRS80), kPolyconic.stem, {0.2, 0.7});
  checkCompared(oprj_AlbersConicalEqualAreaProParametersEqual, 3, {2, 3, 4, 5, 6, 7});
  checkCompared(oprj_LambertConformalConicProParametersEqual, 4, {2, 3, 4, 5, 6, 7});
  checkCompared(oprj_PolyconicProParametersEqual, 7, {4, 5, 6, 7});
  checkCompared(oprj_EquidistantConicProParametersEqual, 8, {2, 3, 4, 5, 6, 7, 8});
  checkCompared(oprj_LambertConformalConicSSPProParametersEqual, 67, {2, 3, 4, 5, 6});
  // Number 67 has words of its own.
  const Record full(67, {{2, 0.5}, {4, 1}}, kGRS80), few(67, {{2, 0.5}, {4, 1}}, kGRS80, 6);
  Oerr_Report *err = nullptr;
  EXPECT_EQ(oprj_LambertConformalConicSSPProParametersEqual(full.get(), few.get(), &err), 0);
  EXPECT_EQ(oerr_CodeGet(err), 2);
  EXPECT_STREQ(oerr_MessageGet(err), "Too few parameters in input param array");
  oerr_DeleteErrorReport(&err);
}

TEST(Conics, FailingAllocations) {
  struct {
    const Family &family;
    Entries entries;
    int32_t codes[2];
    const char *messages[2];
  } const rows[] = {
      {kAlbers,
       conic(30, 60, 0, 0),
       {4, 5},
       {"Error returned from oprj_ParametersCreate", "Error returned from oprj_ProParametersCopy"}},
      {kSingle,
       singleParallel(30, 0, 1),
       {4, 5},
       {"Error creating parameters", "Error copying parameters"}},
      {kPolyconic,
       polyconic(0, 0),
       {3, 4},
       {"Error returned from oprj_ParametersCreate", "Error returned from oprj_ProParametersCopy"}},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.family.stem);
    Record record(row.family.number, {}, kGRS80);
    for (const auto &[index, value] : row.entries) record->proParams.data[index] = value;
    for (int i = 0; i < 2; ++i) {
      omsc_HeapFailNth(i + 1);
      Oerr_Report *err = nullptr;
      EXPECT_EQ(row.family.init(nullptr, record.get(), &err), nullptr);
      omsc_HeapFailNth(0);
      EXPECT_EQ(oerr_CodeGet(err), row.codes[i]);
      EXPECT_STREQ(oerr_MessageGet(err), row.messages[i]);
      EXPECT_NE(oerr_CauseGet(err), nullptr);
      oerr_DeleteErrorReport(&err);
    }
  }
}

}  // namespace
}  // namespace oprj_test
