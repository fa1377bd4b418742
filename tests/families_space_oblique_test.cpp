// Space Oblique Mercator: the generic family, Landsat's record and ESOM. libgctp and PROJ stop
// their iterations at 1e-7 rad, some centimetres on the sheet, so that the formulas as they are
// printed, iterated to rounding, serve as the finer peer.
#include <cmath>
#include <string>

#include "family_support.h"
#include "support.h"

namespace {

using namespace oprj_test;
using orvik::test::Slot;

const Family kGeneric{"SOMGeneric", oprj_SOMGenericInit, 25};
const Family kEsom{"ESOM", oprj_ESOMInit, 23}, kLandsat{"SOM", oprj_SOMInit, 21};
constexpr double kPathStart = 0.5201612903225806 * 180;  // degrees along the orbit

/// A Landsat orbit with the printed formulas of [Snyder87] p. 214-225.
struct Orbit {
  double p, i, node;  // days, rad, rad
  double es = 1 - kClarke1866.b * kClarke1866.b / (kClarke1866.a * kClarke1866.a);
  double q, t, w, j;

  Orbit(int number, int path)
      : p((number < 4 ? 103.2669323 : 98.8841202) / 1440),
        i((number < 4 ? 99.092 : 98.2) * kDeg),
        node((number < 4 ? 128.87 - 360.0 / 251 * path : 129.30 - 360.0 / 233 * path) * kDeg) {
    const double e1 = 1 - es, e2s = es * std::pow(std::sin(i), 2);
    q = e2s / e1;
    t = e2s * (2 - es) / (e1 * e1);
    w = std::pow((1 - es * std::pow(std::cos(i), 2)) / e1, 2) - 1;
    j = std::pow(e1, 3);
  }

  double s(double lam) const {
    const double s2 = std::pow(std::sin(lam), 2);
    return p * std::sin(i) * std::cos(lam) *
           std::sqrt((1 + t * s2) / ((1 + w * s2) * (1 + q * s2)));
  }

  /// The track's x and y as integrals, by a fine trapezium rule.
  Oprj_Point track(double lam) const {
    constexpr int kSteps = 360;
    double b = 0, a2 = 0, a4 = 0, c1 = 0, c3 = 0;
    for (int k = 0; k < kSteps; ++k) {
      const double at = (k + 0.5) * M_PI / 2 / kSteps, s2 = std::pow(std::sin(at), 2);
      const double h = std::sqrt((1 + q * s2) / (1 + w * s2)) *
                       ((1 + w * s2) / std::pow(1 + q * s2, 2) - p * std::cos(i));
      const double d = std::hypot(j, s(at)), f = (h * j - s(at) * s(at)) / d;
      const double g = s(at) * (h + j) / d;
      b += f / kSteps;
      a2 += f * std::cos(2 * at) / kSteps;
      a4 += f * std::cos(4 * at) / 2 / kSteps;
      c1 += g * std::cos(at) * 2 / kSteps;
      c3 += g * std::cos(3 * at) * 2 / 3 / kSteps;
    }
    return {b * lam + a2 * std::sin(2 * lam) + a4 * std::sin(4 * lam),
            c1 * std::sin(lam) + c3 * std::sin(3 * lam)};
  }

  /// The point of the ellipsoid `across` degrees from the track, `along` degrees along the orbit.
  Oprj_Point ground(double along, double across) const {
    const double lam = along * kDeg, phi = across * kDeg;
    const double x = std::cos(phi) * std::cos(lam), y = std::cos(phi) * std::sin(lam);
    const double z = std::sin(phi), turned = y * std::cos(i) - z * std::sin(i);
    const double lon = std::atan2(turned, x) - p * lam + node;
    return {std::remainder(lon, 2 * M_PI),
            std::atan2(y * std::sin(i) + z * std::cos(i), (1 - es) * std::hypot(x, turned))};
  }
  /// Its place on the sheet over a, the transformed longitude iterated from a value within half a
  /// turn of it.
  Oprj_Point sheet(const Oprj_Point &g, double near) const {
    double lam = near;
    for (int k = 0; k < 200; ++k) {
      const double lt = g.x - node + p * lam;
      const double found = std::atan2(
          (1 - es) * std::tan(g.y) * std::sin(i) + std::sin(lt) * std::cos(i), std::cos(lt));
      lam = near + std::remainder(found - near, 2 * M_PI);
    }
    const double sine = std::sin(g.y), n = std::sqrt(1 - es * sine * sine);
    const double phi = std::asin(((1 - es) * std::cos(i) * sine -
                                  std::sin(i) * std::cos(g.y) * std::sin(g.x - node + p * lam)) /
                                 n);
    const double away = std::log(std::tan(M_PI / 4 + phi / 2)), d = std::hypot(j, s(lam));
    const Oprj_Point on = track(lam);
    return {on.x - s(lam) / d * away, on.y + j / d * away};
  }
};

Entries path(double number, double path, double east = 0) {
  return {{2, number}, {3, path}, {6, east}, {7, -2 * east}, {12, 1}};
}

TEST(SpaceOblique, FollowsThePrintedFormulas) {
  for (const auto &[number, way] : {std::pair{2, 15}, {3, 251}, {5, 1}, {4, 200}}) {
    SCOPED_TRACE(way);
    const Orbit orbit(number, way);
    const Projection ours(kGeneric, path(number, way, 1000), kClarke1866);
    for (double along = kPathStart + 0.5; along < kPathStart + 359.5; along += 17.3) {
      for (const double across : {0.0, -1.0, 1.0, -9.0, 25.0, -60.0, 60.0}) {
        // Near its ends, where the path overlaps itself, points far from it have two places.
        if (std::fabs(across) > 10 && std::fabs(along - kPathStart - 180) > 120) continue;
        const Oprj_Point g = orbit.ground(along, across);
        const Oprj_Point expected = orbit.sheet(g, along * kDeg);
        const Oprj_Point p = ours.forward(g.x / kDeg, g.y / kDeg), back = ours.inverse(p.x, p.y);
        EXPECT_NEAR(p.x, 1000 + kClarke1866.a * expected.x, 1e-6) << along << " " << across;
        EXPECT_NEAR(p.y, -2000 + kClarke1866.a * expected.y, 1e-6) << along << " " << across;
        EXPECT_NEAR(std::remainder(back.x * kDeg - g.x, 2 * M_PI) * std::cos(g.y), 0, 1e-12);
        EXPECT_NEAR(back.y * kDeg, g.y, 1e-12);
      }
    }
  }
}

/// What the peers' own tolerance leaves of the agreement.
TEST(SpaceOblique, MatchesItsPeers) {
  const struct {
    int number, path;
    Grid near;  // the track
  } rows[] = {{2, 15, {-80, -70, 30, 45, 1}},     {1, 100, {-200, -185, 30, 45, 1}},
              {4, 40, {60, 75, -20, 0, 1.5}},     {5, 233, {-130, 120, 79, 82, 1}},
              {5, 120, {-160, 170, -89, -81, 2}}, {3, 200, {-40, 60, 60, 89, 2.9}}};
  for (const auto &row : rows) {
    const std::string definition =
        "+proj=lsat +lsat=" + std::to_string(row.number) + " +path=" + std::to_string(row.path);
    SCOPED_TRACE(definition);
    const Projection ours(kGeneric, path(row.number, row.path), kClarke1866);
    for (const Difference &d :
         {againstGctp(ours, 22, {}, row.near), againstProj(ours, definition, row.near)}) {
      EXPECT_LT(d.forward, 0.06);
      EXPECT_LT(d.inverseDeg, 2e-7);
    }
  }
}

/// One place on each third of the way round.
constexpr Oprj_Point kPlaces[] = {{65, -10}, {-120, 80}, {10, -75}};

TEST(SpaceOblique, OrbitForm) {
  // The elements of a Landsat path give that path; entry 9 is not read.
  const Projection landsat(kGeneric, path(4, 40), kClarke1866);
  const double node = 129.30 - 360.0 / 233 * 40;
  const Entries elements = {{3, 98.2 * kDeg}, {4, node * kDeg}, {8, 98.8841202}, {9, 0.7}};
  const Projection orbit(kGeneric, elements, kClarke1866);
  for (const Oprj_Point &p : kPlaces) {
    const Oprj_Point first = landsat.forward(p.x, p.y), second = orbit.forward(p.x, p.y);
    EXPECT_NEAR(first.x, second.x, 1e-6);
    EXPECT_NEAR(first.y, second.y, 1e-6);
  }
  // A prograde orbit; with the end-of-path flag the northern points lie a revolution later.
  for (const double flag : {0.0, 1.0}) {
    const Projection ours(kGeneric, {{3, 66 * kDeg}, {4, 20 * kDeg}, {8, 112.4}, {10, flag}},
                          kClarke1866);
    for (const Grid &grid : {Grid{-80, -50, -60, -40, 1}, Grid{20, 70, 40, 65, 1}}) {
      const Difference d = againstGctp(ours, 22, {3, 4}, grid);
      EXPECT_LT(d.forward, 0.1);
      EXPECT_LT(d.inverseDeg, 3e-7);
      EXPECT_LT(roundTripDeg(ours, grid), 1e-10);
    }
  }
  // A polar orbit is no special case.
  const Projection polar(kGeneric, {{3, 90 * kDeg}, {4, 0.5}, {8, 100}}, kClarke1866);
  EXPECT_LT(roundTripDeg(polar, {-30, 60, -90, 90, 3}), 1e-10);
}

TEST(SpaceOblique, PolesAndAntimeridian) {
  for (const int number : {1, 60, 120, 233}) {
    const Projection ours(kGeneric, path(5, number), kClarke1866);
    EXPECT_LT(roundTripDeg(ours, {-180, 180, 79, 90, 1.1}), 1e-10) << number;
    EXPECT_LT(roundTripDeg(ours, {-180, 180, -90, -79, 1.1}), 1e-10) << number;
    // All longitudes of a pole are one point.
    const Oprj_Point pole = ours.forward(0, 90), again = ours.forward(135, 90);
    EXPECT_NEAR(pole.x, again.x, 1e-6);
    EXPECT_NEAR(pole.y, again.y, 1e-6);
  }
}

TEST(SpaceOblique, StopsAndContract) {
  constexpr const char *kTooMany = "Too many iterations";
  constexpr const char *kTooManyForward =
      "Too many iterations for SOM forward transformation, point # %ld:  %lf, %lf";
  constexpr const char *kTooManyInverse =
      "Too many iterations for SOM inverse transformation, point # %ld:  %lf, %lf";
  // Where the sheet's scale explodes, 85 degrees from the track, the longitude has no solution
  // that the substitution could find.
  const Oprj_Point good{130 * kDeg, 20 * kDeg}, away{21 * kDeg, -13.4 * kDeg};
  const Projection ours(kGeneric, path(4, 233, 1000), kClarke1866);
  checkStops(ours, good,
             {{"far from the track", true, away, 4, kTooManyForward},
              {"infinite longitude", true, {kInf, 0.1}, 20, kForward},
              {"beyond the pole", true, {0.1, -90.001 * kDeg}, 20, kForward},
              {"far across", false, {1e7, 2e8}, 4, kTooManyInverse},
              {"absurdly far across", false, {1e7, -1e300}, 4, kTooManyInverse},
              {"beyond the ellipsoid", false, {1e7, 5e7}, 20, kInverse},
              {"infinite x", false, {kInf, 0}, 4, kTooManyInverse}});
  checkContract(ours, kGeneric.stem, good);
  const Projection esom(kEsom, {{4, 1}, {5, 233}}, kClarke1866);
  checkStops(esom, good,
             {{"far from the track", true, away, 4, kTooMany},
              {"far across", false, {1e7, 2e8}, 4, kTooMany}});
  checkContract(esom, "ESOM", good);
}

TEST(SpaceOblique, Refusals) {
  checkRefusals(kGeneric, kClarke1866,
                {{"twelve entries", path(2, 15), 12, 2, kTooFew},
                 {"satellite 0", path(0.999, 15), 13, 3, kUnusable},
                 {"no satellite", path(kNaN, 15), 13, 3, kUnusable},
                 {"path 0", path(2, 0.5), 13, 3, kUnusable},
                 {"path 252", path(3.9, 252), 13, 3, kUnusable},
                 {"path 234", path(4, 234), 13, 3, kUnusable},
                 {"no path", path(4, kNaN), 13, 3, kUnusable},
                 {"no period", {{3, 1.7}, {4, 0.1}}, 13, 3, kUnusable},
                 {"negative period", {{3, 1.7}, {8, -100}}, 13, 3, kUnusable},
                 {"more than a year", {{3, 1.7}, {8, 367 * 1440}}, 13, 3, kUnusable},
                 {"infinite node", {{3, 1.7}, {4, kInf}, {8, 100}}, 13, 7, kUnusable},
                 {"no offset", path(2, 15, kNaN), 13, 7, kUnusable}});
  checkRefusals(kEsom, kClarke1866,
                {{"seven entries", {{4, 5}, {5, 40}}, 7, 2, kTooFew},
                 {"satellite 0", {{5, 40}}, 8, 3, kUnusable},
                 {"path 234", {{4, 5}, {5, 234}}, 8, 3, kUnusable},
                 {"path 252", {{4, 1}, {5, 252}}, 8, 3, kUnusable}});
  // The bounds themselves, truncated: a refusal would fail.
  for (const auto &[number, last] : {std::pair{3.9, 251.9}, {4.0, 233.9}, {1.0, 1.0}, {99.0, 1.5}})
    Projection(kGeneric, path(number, last), kClarke1866).forward(0, 90);
}

TEST(SpaceOblique, LandsatRecordAndEsom) {
  const orvik::test::LeakCheck leaks;
  // Fractions of satellite and path do not count; ESOM's satellite does not either.
  const Projection generic(kGeneric, path(5, 40, 1000), kClarke1866),
      landsat(kLandsat, {{4, 5.9}, {5, 40.9}, {6, 1000}, {7, -2000}}, kClarke1866),
      esom(kEsom, {{4, 1}, {5, 40}, {6, 1000}, {7, -2000}}, kClarke1866);
  for (const Oprj_Point &p : kPlaces) {
    const Oprj_Point expected = generic.forward(p.x, p.y);
    for (const Projection *other : {&landsat, &esom}) {
      const Oprj_Point q = other->forward(p.x, p.y);
      EXPECT_EQ(q.x, expected.x);
      EXPECT_EQ(q.y, expected.y);
    }
  }
  EXPECT_EQ(landsat.object()->proParameters->proNumber, 21);
  EXPECT_EQ(landsat.object()->proParameters->proParams.data[5], 40.9);
  EXPECT_EQ(landsat.object()->proParametersEqual, oprj_SOMProParametersEqual);
  // Six entries are enough, and a missing spheroid is the nominal sphere.
  const Record six(21, {{4, 2}, {5, 15}}, {0, 0}, 6), whole(21, {{4, 2}, {5, 15}}, kClarke1866);
  oprj_SpheroidFree(&six->proSpheroid);
  for (const Record *record : {&six, &whole}) {
    EXPECT_GT(orvik::test::forEachAllocationFailure([&](Oerr_Report **err) {
                Oprj_MapProjection *made = oprj_SOMInit(nullptr, record->get(), err);
                if (!made) return false;
                EXPECT_EQ(made->parameters[0], record == &six ? 6370997 : kClarke1866.a);
                oprj_ProjectionPre842Free(&made);
                return true;
              }),
              8);
  }
  checkRefusals(kLandsat, kClarke1866,
                {{"five entries", {{4, 2}}, 5, 2, kTooFew},
                 {"path 0", {{4, 2}}, 6, 6, "Error returned from oprj_SOMGenericInit"}});
}

TEST(SpaceOblique, Comparison) {
  checkCompared(oprj_SOMGenericProParametersEqual, 25, {2, 3, 6, 7, 10, 12});
  checkCompared(oprj_SOMProParametersEqual, 21, {4, 5, 6});
  checkCompared(oprj_ESOMProParametersEqual, 23, {4, 5, 6, 7});
  // Kept: the generic test asks for 8 entries of the first record and 13 of the second, Landsat's
  // for 8 of both.
  const struct {
    bool generic;
    int32_t first, second;
    bool enough;
  } rows[] = {{true, 8, 13, true}, {true, 7, 13, false}, {true, 13, 12, false},
              {false, 8, 8, true}, {false, 7, 8, false}, {false, 8, 7, false}};
  for (const auto &[generic, count1, count2, enough] : rows) {
    SCOPED_TRACE(std::to_string(count1) + " and " + std::to_string(count2));
    const int32_t number = generic ? 25 : 21;
    const Record first(number, {}, kGRS80, count1), second(number, {}, kGRS80, count2);
    const auto test = generic ? oprj_SOMGenericProParametersEqual : oprj_SOMProParametersEqual;
    Slot err;
    EXPECT_EQ(test(first.get(), second.get(), err), enough ? 1 : 0);
    const std::string name = generic ? "oprj_SOMGeneric" : "oprj_SOM";
    EXPECT_EQ(err.chain(), enough ? ""
                                  : name +
                                        "ProParametersEqual: Too few parameters in input "
                                        "parmArray (2)");
  }
}

}  // namespace
