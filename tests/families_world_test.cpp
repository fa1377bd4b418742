// World maps of the sphere: Sinusoidal (16), Equirectangular (17), Miller (18), Van der Grinten I
// (19), Robinson (24), Interrupted Goode (27), Mollweide (28), Interrupted Mollweide (29), Hammer
// (30), Wagner IV (31) and VII (32). Published examples, peers, values computed with 60 digits,
// lobes, stops and edges. The contract that all families share: laws_test.cpp.
#include <oprj/geodetic.h>

#include <cmath>

#include "family_support.h"
#include "gctp_peer.h"
#include "projections/mollweide_angle.h"
#include "support.h"

namespace oprj_test {
namespace {

using orvik::test::expectNoReport;
using orvik::test::Slot;

constexpr Axes kBall = kNominalSphere;
constexpr double kR = kBall.a;
constexpr Grid kGlobe{-180, 180, -90, 90, 2.5};

const Entries kNone, kOffsets = {{4, -75 * kDeg}, {6, 1e6}, {7, -5e5}},
                     kAt60 = {{4, 285 * kDeg}, {5, 60 * kDeg}, {6, 1e6}, {7, -5e5}};

struct Map : Family {
  const Entries &entries;
  Projection make() const { return Projection(*this, entries, kBall); }
  Projection make(const Entries &own) const { return Projection(*this, own, kBall); }
};
const Map kSinusoidal{{"Sinusoidal", oprj_SinusoidalInit, 16}, kOffsets},
    kEquirectangular{{"Equirectangular", oprj_EquirectangularInit, 17}, kAt60},
    kMiller{{"MillerCylindrical", oprj_MillerCylindricalInit, 18}, kOffsets},
    kVanDerGrinten{{"VanderGrintenI", oprj_VanderGrintenIInit, 19}, kOffsets},
    kRobinson{{"ROBIN", oprj_ROBINInit, 24}, kOffsets},
    kGoode{{"InterruptedGoode", oprj_InterruptedGoodeInit, 27}, kNone},
    kMollweide{{"Mollweide", oprj_MollweideInit, 28}, kOffsets},
    kInterrupted{{"InterruptedMollweide", oprj_InterruptedMollweideInit, 29}, kNone},
    kHammer{{"Hammer", oprj_HammerInit, 30}, kOffsets},
    kWagner4{{"WagnerIV", oprj_WagnerIVInit, 31}, kOffsets},
    kWagner7{{"WagnerVII", oprj_WagnerVIIInit, 32}, kOffsets};
const Map *const kMaps[] = {&kSinusoidal, &kEquirectangular, &kMiller,    &kVanDerGrinten,
                            &kRobinson,   &kGoode,           &kMollweide, &kInterrupted,
                            &kHammer,     &kWagner4,         &kWagner7};

TEST(WorldMaps, PublishedExamples) {
  const Entries west85 = {{4, -85 * kDeg}}, west90 = {{4, -90 * kDeg}};
  checkExamples({
      {"[Snyder87] p. 288, Miller", oprj_MillerCylindricalInit, 18, kNone, kUnitSphere, -75, 50,
       -1.3089969, 0.9536371, 5.1e-8, 1e-5},
      {"[Snyder87] p. 365, Sinusoidal", oprj_SinusoidalInit, 16, west90, kUnitSphere, -75, -50,
       0.1682814, -0.8726646, 5.1e-8, 1e-5},
      {"[Snyder87] Appendix A, Van der Grinten", oprj_VanderGrintenIInit, 19, west85, kUnitSphere,
       -160, -50, -1.1954154, -0.9960733, 5.1e-8, 1e-5},
      {"[Snyder87] Appendix A, Mollweide", oprj_MollweideInit, 28, west90, kUnitSphere, -75, -50,
       0.1788845, -0.9208758, 5.1e-8, 1e-5},
  });
}

// [Robinson74] table; scales [Snyder90]. Southern latitudes mirror northern ones.
TEST(Robinson, NodesAreThePublishedTable) {
  constexpr double kLength[] = {1.0000, 0.9986, 0.9954, 0.9900, 0.9822, 0.9730, 0.9600,
                                0.9427, 0.9216, 0.8962, 0.8679, 0.8350, 0.7986, 0.7597,
                                0.7186, 0.6732, 0.6213, 0.5722, 0.5322};
  constexpr double kDistance[] = {0.0000, 0.0620, 0.1240, 0.1860, 0.2480, 0.3100, 0.3720,
                                  0.4340, 0.4958, 0.5571, 0.6176, 0.6769, 0.7346, 0.7903,
                                  0.8435, 0.8936, 0.9394, 0.9761, 1.0000};
  const Projection robinson = kRobinson.make();
  for (int node = 0; node <= 18; ++node) {
    for (const int sign : {1, -1}) {
      const Oprj_Point p = robinson.forward(-75 + 40, sign * 5.0 * node);
      EXPECT_NEAR(p.x - 1e6, 0.8487 * kR * kLength[node] * 40 * kDeg, 2e-8) << node;
      EXPECT_NEAR(p.y + 5e5, 1.3523 * kR * kDistance[node] * sign, 2e-8) << node;
      EXPECT_NEAR(robinson.inverse(p.x, p.y).y, sign * 5.0 * node, 1e-12) << node;
    }
  }
}

TEST(WorldMaps, AgreeWithPeers) {
  const std::string offsets = " +lon_0=-75 +x_0=1000000 +y_0=-500000";
  char shortRoot[64];  // Hammer's short square root of two makes the globe smaller
  std::snprintf(shortRoot, sizeof shortRoot, " +R=%.17g", kR * 1.414213562 / std::sqrt(2.0));
  const struct {
    const Map &map;
    std::string proj;
    Difference fromProj;
    int32_t system;  ///< of the Package, whose own shortcuts bound the agreement
    Difference fromPackage;
  } rows[] = {
      {kSinusoidal, "+proj=sinu" + offsets, {1e-6, 1e-12}, 16, {1e-6, 1e-9}},
      {kEquirectangular, "+proj=eqc +lat_ts=60" + offsets, {1e-6, 1e-12}, 17, {1e-6, 1e-9}},
      {kMiller, "+proj=mill" + offsets, {1e-6, 1e-12}, 18, {1e-6, 1e-9}},
      // The Package forms y from x; its inverse loses digits, as that of Hammer does.
      {kVanDerGrinten, "+proj=vandg" + offsets, {1e-3, 1e-6}, 19, {1e-3, 1e-6}},
      {kGoode, "+proj=igh", {1e-3, 1e-7}, 24, {1e-4, 1e-8}},  // twelve-digit meridians
      // its Newton iteration ends 1e-10 rad short
      {kMollweide, "+proj=moll" + offsets, {1e-4, 1e-9}, 25, {1e-4, 1e-9}},
      {kInterrupted, "", {}, 26, {1e-2, 1e-6}},  // nine-digit meridians
      // sqrt(2) in full in the inverse only
      {kHammer, "+proj=hammer" + offsets + shortRoot, {1e-7, 1e-9}, 27, {1e-7, 2e-7}},
      {kWagner4, "", {}, 28, {1e-7, 1e-9}},
      {kWagner7, "", {}, 29, {1e-7, 1e-9}},
  };
  const Grid grid{-177.5, 177, -87, 88, 5};
  for (const auto &row : rows) {
    SCOPED_TRACE(row.map.stem);
    const Projection ours = row.map.make();
    const Difference package = againstGctp(ours, row.system, {4, 5}, grid);
    EXPECT_LE(package.forward, row.fromPackage.forward);
    EXPECT_LE(package.inverseDeg, row.fromPackage.inverseDeg);
    if (row.proj.empty()) continue;
    const Difference proj = againstProj(ours, row.proj, grid);
    EXPECT_LE(proj.forward, row.fromProj.forward);
    EXPECT_LE(proj.inverseDeg, row.fromProj.inverseDeg);
  }
}

// The Package draws the same shape to other scales; its degree has eleven digits.
TEST(Robinson, BetweenItsNodesAgreesWithThePackage) {
  const Projection robinson = kRobinson.make({});
  const double parameters[15] = {kR, kR};
  ASSERT_EQ(gctp_peer_init(21, parameters), 0);
  for (const Oprj_Point &p : Grid{-179, 180, -90, 90, 1}.points()) {
    Oprj_Point theirs{};
    ASSERT_EQ(gctp_peer_forward(21, p.x, p.y, &theirs.x, &theirs.y), 0);
    const Oprj_Point ours = robinson.forward(p.x / kDeg, p.y / kDeg);
    EXPECT_NEAR(ours.x, theirs.x * 0.8487 / 0.9858, 1e-4) << p.x / kDeg << " " << p.y / kDeg;
    EXPECT_NEAR(ours.y, theirs.y * 1.3523 / (M_PI / 2), 1e-4) << p.x / kDeg << " " << p.y / kDeg;
  }
}

// The defining equations evaluated with 60 digits: near the central meridian, equator, poles and
// outline the usual double formulas lose up to 40 m. The double nearest to pi/2 stands for the
// pole.
TEST(WorldMaps, KeepsItsDigitsWhereFormulasDegenerate) {
  const struct {
    const Map &map;
    double lon, lat, x, y;
  } rows[] = {
      {kVanDerGrinten, 1e-9, 20, 0.000109787118628570964, 2252052.59881582815},
      {kVanDerGrinten, 0.0003, 0.98, 33.3574734160640081, 108974.207105501015},
      {kVanDerGrinten, 0.01, -60, 949.717607766481189, -7645079.27531858231},
      {kVanDerGrinten, 100, 1e-8, 11119487.4284681179, 0.00111194874286587813},
      {kVanDerGrinten, -170, 0.001, -18903128.6280874276, 111.195425305237084},
      {kVanDerGrinten, 179.9999999, 45, 18870395.9029747872, 6671692.45560391369},
      {kVanDerGrinten, -20, 89.9999, -6593.39106994181914, 19985750.8399912559},
      {kVanDerGrinten, 120, -89.99999999, 340.114352009613907, -20014935.6535377893},
      {kVanDerGrinten, 179.99999, 89.99999, 13343.38316989691, 20015072.92270701},
      {kMollweide, 1e-9, 20, 0.0000963356994946703096, 2450839.21778545625},
      {kMollweide, 100, 1e-8, 10011055.9591636081, 0.00123506452442519053},
      {kMollweide, 180, 89.9, 275880.371560942345, 9008894.38572600068},
      {kMollweide, -150, 89.9999, -2299.05717706128919, 9009950.25764180139},
      {kMollweide, 150, -89.9999999, 22.9905714949593494, -9009950.36322777333},
      {kMollweide, 60, 89.999999999, 0.426852423035045225, 9009950.36323831023},
      {kWagner4, 150, -89.9999, 7197922.19941049971, -8637450.18917368782},
      {kWagner4, -33, 89.9999999, -1583542.88385794284, 8637450.18919617332},
      {kWagner4, 77, 44, 6210454.81514513594, 5405373.02662605611},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(testing::Message() << row.map.stem << " " << row.lon << " " << row.lat);
    const Oprj_Point p = row.map.make({}).forward(row.lon, row.lat);
    EXPECT_NEAR(p.x, row.x, 2e-8);
    EXPECT_NEAR(p.y, row.y, 2e-8);
  }
}

TEST(WorldMaps, RoundTrips) {
  for (const Map *map : kMaps) {
    SCOPED_TRACE(map->stem);
    const Projection projection = map->make();
    // Wagner's pole lines: the sheet itself holds 1.7e-6 degrees there.
    const double most = map->number <= 18 ? 1e-12 : 1e-9,
                 poleLine = map->number == 31 || map->number == 32 ? 2e-6 : most;
    EXPECT_LE(roundTripDeg(projection, kGlobe), poleLine);
    EXPECT_LE(roundTripDeg(projection, {-180, 180, -89.99, 89.99, 0.7}), most);
    for (const double lon : {-180.0, -75.0, 20.0, 104.9999999, 105.0000001, 180.0}) {
      EXPECT_LE(roundTripDeg(projection, {lon, lon, -89.99, 89.99, 0.1}), most) << lon;
      EXPECT_LE(roundTripDeg(projection, {lon, lon, 89.9999, 90, 7e-6}), poleLine) << lon;
    }
    // A hair beyond the pole is the pole.
    EXPECT_EQ(projection.forward(20, 90 + 0.5e-10 / kDeg).y, projection.forward(20, 90).y);
  }
}

// The latitude is the one of the public solvers from the usual start, within their tolerance. (Phi5
// converges below about 57 degrees, Phi6 everywhere.)
TEST(VanDerGrinten, LatitudeIsThatOfPhi5AndPhi6) {
  const Projection projection = kVanDerGrinten.make({});
  int low = 0, high = 0;
  for (double r = 0.05; r < 1; r += 0.0631) {
    for (double angle = 3; angle < 90; angle += 4.7) {
      SCOPED_TRACE(testing::Message() << r << " " << angle);
      const double x = r * std::cos(angle * kDeg), y = r * std::sin(angle * kDeg);
      const double w = std::fmin(1, x * x / (1 - y * y));
      const double start = M_PI * y / (1 + y * y + (y - y * y) * w);
      const double phi = projection.inverse(x * M_PI * kR, y * M_PI * kR).y * kDeg;
      Slot err;
      EXPECT_NEAR(oprj_Phi6(start, x, y, x * x + y * y, err), phi, 1e-10);
      expectNoReport(err);
      if (start <= 1) {
        EXPECT_NEAR(oprj_Phi5(start, y, x * x, y * y, err), phi, 1e-10);
        expectNoReport(err);
      }
      (start <= 1 ? low : high)++;
    }
  }
  EXPECT_GT(low, 50);
  EXPECT_GT(high, 50);
}

// One step from the start solves the equation wherever it is used; without steps it is told.
TEST(MollweideAngle, OneStepIsEnough) {
  namespace set = orvik::oprj::baseline;
  for (double k = 0; k <= M_PI; k = k * 1.37 + 1e-300) {
    const auto u = set::auxiliaryAngle(k, 1);
    ASSERT_TRUE(u.converged.value) << k;
    const double half = std::atan2(u.half.sin, u.half.cos);
    ASSERT_NEAR(set::excessOfHalf(half), k, 4e-15 * k) << k;
  }
  EXPECT_FALSE(set::auxiliaryAngle(1.0, 0).converged.value);
  EXPECT_FALSE(set::auxiliaryAngle(std::nan(""), 50).converged.value);
}

const double kMillerTop = 1.25 * std::log(std::tan(0.45 * M_PI));

TEST(WorldMaps, EdgesOfTheSimpleSheets) {
  const Projection sinusoidal = kSinusoidal.make({{4, -90 * kDeg}});
  for (const double lat : {0.0, 60.0, 89.999999, 90.0, -90.0}) {
    SCOPED_TRACE(lat);
    for (const double side : {-1.0, 1.0}) {  // within 0.6 mm beyond the far meridian, and on it
      const double width = M_PI * std::cos(lat * kDeg);
      for (const double more : {0.0, 0.9e-10}) {
        const Oprj_Point p = sinusoidal.inverse(side * kR * (width + more), kR * lat * kDeg);
        EXPECT_NEAR(std::remainder(p.x - 90, 360), 0, 1e-12);
        EXPECT_NEAR(p.y, lat, 1e-13);
      }
    }
    EXPECT_NEAR(sinusoidal.inverse(0, kR * lat * kDeg).x, -90, 1e-13);
  }
  EXPECT_EQ(sinusoidal.inverse(0, kR * (M_PI / 2 + 0.9e-10)).y, 90);

  // Cylinders repeat once.
  const Projection equirectangular = kEquirectangular.make({{4, 100 * kDeg}, {5, M_PI / 3}});
  const Projection miller = kMiller.make({{4, 100 * kDeg}});
  for (const double turns :
       {-1.0, -0.9, -0.51, -0.5, 0.0, 0.4, 0.9, 1.0, 1 + 0.9e-10 / (2 * M_PI)}) {
    SCOPED_TRACE(turns);
    const double x = 2 * M_PI * kR * turns;
    const double one = equirectangular.inverse(x * std::cos(M_PI / 3), 0).x;
    const double other = miller.inverse(x, 0).x;
    EXPECT_NEAR(std::remainder(one - 100 - 360 * turns, 360), 0, 1e-8);
    EXPECT_NEAR(std::remainder(other - 100 - 360 * turns, 360), 0, 1e-8);
    EXPECT_LE(std::fmax(std::fabs(one), std::fabs(other)), 180 + 1e-12);
  }
  EXPECT_NEAR(miller.forward(-20, 90).y, kMillerTop * kR, 1e-8);
  EXPECT_NEAR(std::fabs(miller.forward(-80, 0).x), M_PI * kR, 1e-8);
}

constexpr double kWidth = 0.900316316158;

TEST(InterruptedSheets, BoundariesBelongToOneLobe) {
  // The lobe that owns a boundary lies `side` of it (-1 west, 1 east) and has the meridian
  // `meridian`, which stands at `abscissa`, all in degrees of the sheet's equator.
  const struct {
    const Map &map;
    bool north;
    double lon, side, meridian, abscissa;
  } boundaries[] = {
      {kGoode, true, -40, -1, -100, -100},     {kGoode, false, -100, -1, -160, -160},
      {kGoode, false, -20, -1, -60, -60},      {kGoode, false, 80, -1, 20, 20},
      {kInterrupted, true, 110, 1, -170, -10}, {kInterrupted, true, -100, 1, -30, 130},
      {kInterrupted, false, 140, 1, -140, 20}, {kInterrupted, false, -70, 1, -20, 140}};
  for (const auto &b : boundaries) {
    const Projection projection = b.map.make();
    const Oprj_MapProjection *object = projection.object();
    const double unit = kR * kDeg * (b.map.number == kGoode.number ? 1 : kWidth);
    const double toBoundary = std::remainder(b.lon - b.meridian, 360);
    const double edge = (b.abscissa + toBoundary) * unit;  // where the lobes touch
    for (const double lat : {0.5, 30.0, 40.7366111, 41.0, 75.0, 89.999999, 89.99999999999}) {
      SCOPED_TRACE(std::to_string(b.lon) + " " + std::to_string(lat));
      const double phi = b.north ? lat : -lat;
      // The owner has the boundary itself, the neighbour the next double beyond.
      const Oprj_Point in[] = {{b.lon * kDeg, phi * kDeg},
                               {std::nextafter(b.lon * kDeg, -10 * b.side), phi * kDeg}};
      Oprj_Point sheet[2], back[2];
      object->fromLL(in, object->parameters, sheet, 2, nullptr);
      EXPECT_GT((sheet[0].x - edge) * b.side, 0);
      EXPECT_LT((sheet[1].x - edge) * b.side, 0);
      Slot err;
      object->toLL(sheet, object->parameters, back, 2, err);
      expectNoReport(err);
      for (int i = 0; i < 2; ++i) {
        EXPECT_NEAR((back[i].x - in[i].x) * std::cos(in[i].y), 0, 2e-11) << i;
        EXPECT_NEAR(back[i].y, in[i].y, 2e-11) << i;
      }
    }
    EXPECT_NEAR(projection.forward(b.lon, b.north ? 0 : -1e-300).x, edge, 1e-7);
    // All of a lobe's pole is the one point on its meridian.
    const Oprj_Point pole = projection.forward(b.lon + b.side * 1e-3, b.north ? 90 : -90);
    EXPECT_NEAR(pole.x, b.abscissa * unit, 1e-7);
    EXPECT_NEAR(projection.inverse(pole.x, pole.y).x, b.meridian, 1e-9);
  }
  // 0.5 mm into a gap is on the edge still.
  const Oprj_Point near = kGoode.make().inverse(-40 * kDeg * kR, 80);
  EXPECT_EQ(near.x, -40);
}

TEST(InterruptedSheets, OuterEdgesAndTheEquator) {
  const Projection goode = kGoode.make(), mollweide = kInterrupted.make();
  // -180 stays in the western lobe, +180 in the eastern; the equator is north.
  EXPECT_NEAR(goode.forward(-180, 0).x, -M_PI * kR, 1e-7);
  EXPECT_NEAR(goode.forward(180, 0).x, M_PI * kR, 1e-7);
  EXPECT_NEAR(goode.inverse(-M_PI * kR, 0).x, -180, 1e-12);
  EXPECT_NEAR(goode.inverse(M_PI * kR, 0).x, 180, 1e-12);
  EXPECT_NEAR(mollweide.forward(20, 0).x, -M_PI * kWidth * kR, 1e-7);
  EXPECT_NEAR(mollweide.forward(19.999999, 0).x, (180 - 1e-6) * kDeg * kWidth * kR, 1e-6);
  EXPECT_NEAR(mollweide.forward(180, 10).x, mollweide.forward(-180, 10).x, 1e-7);
  // Goode's poles and the joint of its two parts, from either side.
  EXPECT_NEAR(goode.forward(0, 90).y, (1.4142135623731 - 0.0528035274542) * kR, 1e-7);
  for (const double joint : {0.710987989993, std::nextafter(0.710987989993, 0.0)}) {
    for (const double lon : {-180.0, -41.0, 0.0, 180.0}) {
      const Oprj_Point p = goode.forward(lon, joint / kDeg), back = goode.inverse(p.x, p.y);
      EXPECT_NEAR(p.y, joint * kR, 1e-3);
      EXPECT_NEAR(back.y, joint / kDeg, 1e-8);
      EXPECT_NEAR(back.x, lon, 4e-5);  // the parts' lengths of the joint differ by 3e-7
    }
  }
}

TEST(WorldMaps, Stops) {
  constexpr const char *kGoodeGap =
      "In interrupted area in Interrupted Goode Homolosine inverse transformation, "
      "point # %ld:  %lf, %lf";
  constexpr const char *kGoodeOut =
      "Input data error in Interrupted Goode Homolosine inverse transformation, "
      "point # %ld:  %lf, %lf";
  constexpr const char *kMollweideGap =
      "In interrupted area in Interrupted Mollweide inverse transformation, "
      "point # %ld:  %lf, %lf";
  const double degree = kR * kDeg, unit = degree * kWidth;
  const double goodeTop = 1.4142135623731 - 0.0528035274542;
  const double share = 0.90631;  // of Wagner VII's pole line, which is lowest at the middle
  const double wagner7Top = 1.24104 * share * std::sqrt(2 / (1 + std::sqrt(1 - share * share)));
  const struct {
    int32_t code;
    const char *message;
    double halfWidth;     ///< of the equator over a
    double halfHeight;    ///< of the central meridian, or of the poles, over a
    Oprj_Point corner;    ///< within the box around the sheet but beside it, over a
    double north, south;  ///< where a northern and a southern lobe have their poles
  } outlines[] = {
      {4, kUnusable, M_PI, M_PI / 2, {2.6, 1.2}, 0, 0},
      {4, kUnusable, M_PI, M_PI / 2, {3.2, 1.6}, 0, 0},  // two turns along 60 degrees
      // the tolerance is one of the latitude: 3.2e-10 of the sheet
      {20, kInverse, 2 * M_PI, kMillerTop + 2.2e-10, {6.3, 2.4}, 0, 0},
      {4, kUnusable, M_PI, M_PI, {2.3, 2.3}, 0, 0},
      {4, "Computation error", 0.8487 * M_PI, 1.3523, {2.6, 1.3}, 0, 0},
      {5, kGoodeOut, M_PI, goodeTop, {M_PI, 0.8}, 30 * degree, 20 * degree},
      {20, kInverse, kWidth * M_PI, 1.4142135623731, {2.4, -1.2}, 0, 0},
      {20, kInverse, kWidth * M_PI, 1.4142135623731, {2.81, -1.25}, -10 * unit, 20 * unit},
      {20, kInverse, 2 * 1.414213562, 1.414213562, {2.4, -1.2}, 0, 0},
      {20, kInverse, 0.8631 * M_PI, 1.56548 * 0.866025403795621578, {2.4, -1.2}, 0, 0},
      {20, kInverse, 2.66723, wagner7Top, {2.6, 1.2}, 0, 0},
  };
  for (size_t i = 0; i < std::size(kMaps); ++i) {
    const Map *map = kMaps[i];
    SCOPED_TRACE(map->stem);
    const Projection projection = map->make();
    const auto &[code, message, halfWidth, halfHeight, corner, north, south] = outlines[i];
    const double x0 = map->entries.empty() ? 0 : 1e6, y0 = map->entries.empty() ? 0 : -5e5;
    // less and more than the tolerance
    const double width = halfWidth * kR, top = halfHeight * kR;
    const double near = 0.4e-10 * kR, hair = 1.6e-10 * kR;
    checkStops(projection, {0.3, 0.4},
               {{"east of the outline", false, {x0 + width + hair, y0}, code, message},
                {"west of the outline", false, {x0 - width - hair, y0}, code, message},
                {"north", false, {x0 + north, y0 + top + hair}, code, message},
                {"south", false, {x0 + south, y0 - top - hair}, code, message},
                {"corner", false, {x0 + corner.x * kR, y0 + corner.y * kR}, code, message},
                {"far", false, {1e300, y0}, code, message},
                {"far north", false, {x0, -1e300}, code, message},
                {"infinite x", false, {-kInf, y0}, code, message},
                {"infinite y", false, {x0, kInf}, code, message},
                {"both", false, {kInf, kInf}, code, message}});
    // Within the tolerance it counts as on the outline, and stays on the globe.
    const Oprj_Point within[] = {{x0 + width + near, y0},
                                 {x0 - width - near, y0},
                                 {x0 + north, y0 + top + near},
                                 {x0 + south, y0 - top - near}};
    for (const Oprj_Point &p : within) {
      const Oprj_Point g = projection.inverse(p.x, p.y);
      EXPECT_LE(std::fabs(g.x), 180);
      EXPECT_LE(std::fabs(g.y), 90);
    }
  }
  checkStops(kSinusoidal.make({}), {0.3, 0.4},
             {{"beside the pole", false, {-1.1e-10 * kR, M_PI / 2 * kR}, 4, kUnusable}});
  checkStops(kGoode.make(), {0.3, 0.4},
             {{"between the northern lobes", false, {-40 * degree, 5e6}, 4, kGoodeGap},
              {"beside a pole", false, {29 * degree, 1.36141 * kR}, 4, kGoodeGap},
              {"southern gap", false, {-20 * degree, -3e6}, 4, kGoodeGap},
              {"southern gap", false, {79 * degree, -8e6}, 4, kGoodeGap},
              {"0.8 mm into the gap", false, {-40 * degree, 100}, 4, kGoodeGap},
              {"west of the western lobe", false, {-M_PI * kR, 5e6}, 5, kGoodeOut},
              {"east of the eastern lobe", false, {M_PI * kR, -5e6}, 5, kGoodeOut}});
  checkStops(kInterrupted.make(), {0.3, 0.4},
             {{"northern gap", false, {-90 * unit, 5e6}, 4, kMollweideGap},
              {"northern gap", false, {60 * unit, 8e6}, 4, kMollweideGap},
              {"southern gap", false, {-60 * unit, -5e6}, 4, kMollweideGap},
              {"southern gap", false, {91 * unit, -7e6}, 4, kMollweideGap},
              {"west of the western lobe", false, {-179 * unit, 8e6}, 20, kInverse},
              {"east of the eastern lobe", false, {179 * unit, -8e6}, 20, kInverse}});
}

TEST(WorldMaps, Records) {
  for (const Map *map : kMaps) {
    SCOPED_TRACE(map->stem);
    const std::string name = std::string("oprj_") + map->stem + "Init";
    const Oprj_ParametersTest equal = map->make().object()->proParametersEqual;
    const int32_t code = map->number == 17 ? 7 : 6;  // 17: one check of values before
    checkRefusals(map->init, name.c_str(), map->number, {-1, 1},
                  {{"negative radius", {}, 15, code, kUnusable}});
    if (map->entries.empty()) {
      checkCompared(equal, map->number, {});
      const Record bare(map->number, {}, kBall, 0);  // reads nothing
      Slot err;
      Oprj_MapProjection *object = map->init(nullptr, bare.get(), err);
      EXPECT_NE(object, nullptr) << err.chain();
      oprj_ProjectionPre842Free(&object);
      continue;
    }
    checkRefusals(map->init, name.c_str(), map->number, kBall,
                  {{"too few", {}, 7, 2, kTooFew},
                   {"not a number", {{6, kNaN}}, 8, code, kUnusable},
                   {"not a number", {{7, kNaN}}, 8, code, kUnusable},
                   {"infinite", {{4, kInf}}, 15, code, kUnusable}});
    if (map->number != 17) checkCompared(equal, map->number, {4, 6, 7});
  }
  checkCompared(oprj_EquirectangularProParametersEqual, 17, {4, 5, 6, 7});
  checkRefusals(oprj_EquirectangularInit, "oprj_EquirectangularInit", 17, kBall,
                {{"true at the pole", {{5, M_PI / 2}}, 8, 3, kUnusable},
                 {"nearly", {{5, -M_PI / 2 + 0.9e-10}}, 8, 3, kUnusable}});
}

}  // namespace
}  // namespace oprj_test
