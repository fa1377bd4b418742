// The geodetic helpers: published values, edges, iteration caps; and the lanes' auxiliary latitudes
// held against them. Van der Grinten's two solvers are held against that family's inverse, in
// families_world_test.cpp.
#include <gtest/gtest.h>
#include <oprj/oprj.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>

#include "projections/auxiliary_latitude.h"
#include "support.h"

namespace {

namespace lanes = orvik::oprj::baseline;
using orvik::test::expectNoReport;
using orvik::test::Slot;

constexpr double kDeg = M_PI / 180;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kClarke1866 = 0.00676866;  // e² of [Snyder87]'s examples
const double kClarkeE = std::sqrt(kClarke1866);

/// What a helper gives; it must clear its slot.
template <class Helper, class... Values>
auto of(Helper helper, Values... values) {
  Slot err;
  const auto result = helper(values..., err);
  expectNoReport(err);
  return result;
}

double tOf(double e, double phi) { return of(oprj_Tsfn, e, phi, std::sin(phi)); }
double qOf(double e, double phi) { return of(oprj_Qsfn, e, std::sin(phi)); }
double mOf(double e, double phi) { return of(oprj_Msfn, e, std::sin(phi), std::cos(phi)); }

struct MeridianSeries {
  double e0, e1, e2, e3;
  explicit MeridianSeries(double es)
      : e0(of(oprj_E0fn, es)),
        e1(of(oprj_E1fn, es)),
        e2(of(oprj_E2fn, es)),
        e3(of(oprj_E3fn, es)) {}
  double operator()(double phi) const { return of(oprj_Mlfn, e0, e1, e2, e3, phi); }
  double inverse(double m) const { return of(oprj_Phi3, m, e0, e1, e2, e3); }
};

TEST(Helpers, Edges) {
  EXPECT_EQ(of(oprj_Adjl, M_PI), M_PI);
  EXPECT_EQ(of(oprj_Adjl, -M_PI), M_PI);
  EXPECT_EQ(of(oprj_Adjl, 4.0), 4.0 - 2 * M_PI);
  EXPECT_EQ(of(oprj_Adjl, -4.0), 2 * M_PI - 4.0);
  EXPECT_EQ(of(oprj_Adjl, 7.0), 7.0 - 4 * M_PI);  // one step only: beyond -pi
  EXPECT_EQ(of(oprj_Adjl, 2 * M_PI), 0.0);
  EXPECT_TRUE(std::isnan(of(oprj_Adjl, kNaN)));

  EXPECT_EQ(of(oprj_Asin, 1.5), M_PI_2);
  EXPECT_EQ(of(oprj_Asin, -1.5), -M_PI_2);
  EXPECT_EQ(of(oprj_Asin, 0.5), std::asin(0.5));
  EXPECT_TRUE(std::isnan(of(oprj_Asin, kNaN)));

  EXPECT_EQ(of(oprj_Sign, -1e-300), -1);
  EXPECT_EQ(of(oprj_Sign, 0.0), 1);
  EXPECT_EQ(of(oprj_Sign, -0.0), 1);

  double sine = 0, cosine = 0;
  Slot err;
  oprj_Sincos(0.7, &sine, &cosine, err);
  expectNoReport(err);
  EXPECT_EQ(sine, std::sin(0.7));
  EXPECT_EQ(cosine, std::cos(0.7));

  EXPECT_EQ(of(oprj_Phi6, 1.0, 0.2, 1.0, 1.04), M_PI_2);
  EXPECT_EQ(of(oprj_Phi6, 1.0, 1e-11, 0.5, 0.25), M_PI * 0.5 / 1.25);
}

// The intermediate values that [Snyder87] prints with its examples on Clarke 1866, p. 292-297 and
// 303-304.
TEST(Helpers, PublishedValues) {
  const struct {
    double (*of)(double, double);
    double lat, value;
  } rows[] = {{qOf, 29.5, 0.9792529}, {qOf, 45.5, 1.4201080}, {qOf, 23, 0.7767080},
              {qOf, 35, 1.1410831},   {mOf, 29.5, 0.8710708}, {mOf, 45.5, 0.7021191},
              {mOf, 33, 0.8395138},   {mOf, 45, 0.7083064},   {tOf, 33, 0.5449623},
              {tOf, 45, 0.4162031},   {tOf, 23, 0.6636390},   {tOf, 35, 0.5225935}};
  for (const auto &row : rows)
    EXPECT_NEAR(row.of(kClarkeE, row.lat * kDeg), row.value, 6e-8) << row.lat;
  const MeridianSeries distance(kClarke1866);
  EXPECT_NEAR(6378206.4 * distance(40 * kDeg), 4429318.9, 0.06);
  EXPECT_NEAR(6378206.4 * distance(30 * kDeg), 3319933.3, 0.06);
  // The quarter meridian of GRS 80, [Moritz2000]; the series stops behind e^6.
  EXPECT_NEAR(6378137.0 * MeridianSeries(0.00669438002290)(M_PI_2), 10001965.7293, 1e-3);
}

TEST(Helpers, MeridianDistanceIsTheIntegral) {
  const double es = 0.00669438002290;
  constexpr int kSteps = 3000;
  double sum = 0;
  for (int i = 0; i < kSteps; ++i) {  // midpoints
    const double phi = (i + 0.5) / kSteps * 1.2, k = 1 - es * std::pow(std::sin(phi), 2);
    sum += (1 - es) / (k * std::sqrt(k)) * 1.2 / kSteps;
  }
  EXPECT_NEAR(MeridianSeries(es)(1.2), sum, 2e-10);
}

TEST(Helpers, LimitsOnTheSphereAndAtThePole) {
  for (const double s : {-1.0, -0.3, 0.0, 0.8}) {
    EXPECT_EQ(of(oprj_Qsfn, 0.0, s), 2 * s);
    EXPECT_EQ(of(oprj_Qsfn, 9e-8, s), 2 * s);
    EXPECT_NEAR(of(oprj_Qsfn, 1.1e-7, s), 2 * s, 1e-8);  // the logarithm's noise over e
  }
  for (const double q : {-2.5, -2.0, -0.6, 0.0, 1.9, 2.5})
    EXPECT_EQ(of(oprj_Phi1, 9e-8, q), of(oprj_Asin, q / 2));
  EXPECT_EQ(MeridianSeries(0.0)(1.2), 1.2);
  EXPECT_EQ(of(oprj_Tsfn, 0.08, M_PI_2, 1.0), 0.0);
  EXPECT_EQ(of(oprj_Phi2, 0.08, 0.0), M_PI_2);
  EXPECT_EQ(of(oprj_E4fn, 0.0), 1.0);
  // E4 is what t tends to: m / t = 2 / (sqrt(1 - e²) (1 + ...)) -> 2 / E4 at the pole.
  const double e = 0.0819918899790, close = M_PI_2 - 1e-5;
  EXPECT_NEAR(mOf(e, close) / tOf(e, close), 2 / of(oprj_E4fn, e), 1e-9);
}

TEST(Solvers, PolyconicLatitude) {
  const double es = kClarke1866;
  const MeridianSeries m(es);
  for (double lat = -85; lat <= 85; lat += 5) {
    if (lat == 0) continue;
    for (double dLon = 0; dLon <= 70; dLon += 10) {
      SCOPED_TRACE(std::to_string(lat) + " " + std::to_string(dLon));
      const double phi = lat * kDeg, s = std::sin(phi), w = std::sqrt(1 - es * s * s);
      const double cot = 1 / (std::tan(phi) * w), e = dLon * kDeg * s;
      const double x = cot * std::sin(e), a = m(phi) + cot * (1 - std::cos(e));
      double g = 0;
      EXPECT_NEAR(of(oprj_Phi4, es, m.e0, m.e1, m.e2, m.e3, a, x * x + a * a, &g), phi, 2e-12);
      EXPECT_NEAR(g * cot, 1.0, 1e-8);
    }
  }
}

TEST(Solvers, ReportWhenTheirIterationsAreExhausted) {
  const double e = kClarkeE;
  const MeridianSeries m(kClarke1866);
  using Err = Oerr_Report **;
  const struct {
    const char *function;
    int iterations;
    std::function<double(Err)> call;
  } rows[] = {
      {"oprj_Phi1", 15, [=](Err r) { return oprj_Phi1(e, 2.2, r); }},  // beyond the pole
      {"oprj_Phi1", 15, [=](Err r) { return oprj_Phi1(e, kNaN, r); }},
      {"oprj_Phi2", 15, [=](Err r) { return oprj_Phi2(0.9, 0.5, r); }},  // flat spheroid
      {"oprj_Phi2", 15, [=](Err r) { return oprj_Phi2(e, kNaN, r); }},
      {"oprj_Phi3", 15, [=](Err r) { return oprj_Phi3(1, 1, 0.6, 0, 0, r); }},
      {"oprj_Phi3", 15, [=](Err r) { return oprj_Phi3(kNaN, m.e0, m.e1, m.e2, m.e3, r); }},
      {"oprj_Phi4", 15,
       [=](Err r) { return oprj_Phi4(0.007, m.e0, m.e1, m.e2, m.e3, 0.5, 9.0, nullptr, r); }},
      {"oprj_Phi5", 35, [=](Err r) { return oprj_Phi5(1.4, 0.9, 0.01, 0.81, r); }},
      {"oprj_Phi5", 35, [=](Err r) { return oprj_Phi5(kNaN, 0.1, 0.01, 0.02, r); }},
      {"oprj_Phi6", 35, [=](Err r) { return oprj_Phi6(0.5, kNaN, 0.4, 0.5, r); }},
  };
  for (const auto &row : rows) {
    Slot err;
    const double last = row.call(err);
    EXPECT_EQ(err.chain(), std::string(row.function) + ": Latitude failed to converge after " +
                               std::to_string(row.iterations) + " iterations (1)");
    const double again = row.call(nullptr);  // a missing slot is fine
    EXPECT_TRUE(last == again || (std::isnan(last) && std::isnan(again))) << row.function;
  }
}

// --- lanes and helpers, which both have to find what the functions were given ---

/// Runs a formula as double and on lanes; the lanes must give the same, beside any neighbour.
template <class Formula>
double onLanes(Formula formula, double x) {
  const double alone = formula(x);
  const lanes::Lanes group = formula(lanes::Lanes(lanes::Native{x, 0.3}, lanes::Native{0.9, x}));
  EXPECT_EQ(group.half[0][0], alone) << x;
  EXPECT_EQ(group.half[1][1], alone) << x;
  return alone;
}

constexpr double kEccentricities2[] = {0.0, 1e-16, 1e-12, kClarke1866, 0.0139, 0.05, 0.3};

TEST(LanesAgainstHelpers, Functions) {
  for (const double es : kEccentricities2) {
    const double e = std::sqrt(es);
    const auto conformal = lanes::conformalLatitudeOf(e, es);
    const auto authalic = lanes::authalicLatitudeOf(e, es);
    const MeridianSeries m(es);
    for (double lat = -89.75; lat < 90; lat += 0.25) {
      SCOPED_TRACE(std::to_string(es) + " " + std::to_string(lat));
      const double phi = lat * kDeg, t = tOf(e, phi);
      const double psi = onLanes(
          [&](auto x) { return lanes::isometricLatitude(conformal, lanes::sincos(x)); }, phi);
      EXPECT_NEAR(psi, -std::log(t), 4e-15 + 4e-16 / std::cos(phi));  // the tangent's argument
      const double mine =
          onLanes([&](auto x) { return lanes::conformalT(conformal, lanes::sincos(x)); }, phi);
      EXPECT_NEAR(mine / t, 1.0, 1e-15 + 4e-16 / std::cos(phi));
      const double q =
          onLanes([&](auto x) { return lanes::authalicQ(authalic, lanes::sin(x)); }, phi);
      // oprj_Qsfn's logarithm is exact to 1e-16, over e
      EXPECT_NEAR(q, qOf(e, phi), e < 1e-7 ? 1e-15 : 1e-15 + 2e-16 / e);
      const double waves = onLanes(
          [&](auto x) { return lanes::meridianWaves(m.e1, m.e2, m.e3, lanes::sincos(x)); }, phi);
      EXPECT_NEAR(m.e0 * phi + waves, m(phi), 5e-16);
    }
  }
}

TEST(LanesAgainstHelpers, ConformalInverse) {
  for (const double es : kEccentricities2) {
    const double e = std::sqrt(es);
    const auto c = lanes::conformalLatitudeOf(e, es);
    const double left = 1e-10 * es / (1 - es) + 2e-15;  // what the helper's stop test may leave
    int reported = 0;
    for (double lat = -89.99; lat < 90; lat += 0.03) {
      SCOPED_TRACE(std::to_string(es) + " " + std::to_string(lat));
      const double t = tOf(e, lat * kDeg);
      Slot err;
      const double literal = oprj_Phi2(e, t, err);
      const auto byT = lanes::latitudeOfT(c, t),
                 byPsi = lanes::latitudeOfIsometric(c, -std::log(t));
      onLanes([&](auto x) { return lanes::latitudeOfT(c, x).phi; }, t);
      onLanes([&](auto x) { return lanes::latitudeOfIsometric(c, x).phi; }, -std::log(t));
      // where the helper needs more than its 15 steps, so do the lanes
      EXPECT_EQ(byT.converged.value, !err.failed());
      EXPECT_EQ(byPsi.converged.value, !err.failed());
      if (err.failed()) {
        ++reported;
        continue;
      }
      EXPECT_NEAR(byT.phi, literal, left);
      EXPECT_NEAR(byPsi.phi, literal, left);
      EXPECT_NEAR(byT.phi, lat * kDeg, es <= lanes::kEarthLike ? 2e-15 : left);
    }
    EXPECT_EQ(reported > 0, es == 0.3);  // the cap is met on both ways
  }
  const auto c = lanes::conformalLatitudeOf(kClarkeE, kClarke1866);
  EXPECT_EQ(lanes::latitudeOfT(c, 0.0).phi, M_PI_2);
  EXPECT_EQ(lanes::latitudeOfT(c, lanes::kInfinity).phi, -M_PI_2);
  EXPECT_EQ(lanes::latitudeOfT(c, 1.0).phi, 0.0);
  EXPECT_EQ(lanes::latitudeOfIsometric(c, -lanes::kInfinity).phi, -M_PI_2);
  EXPECT_EQ(lanes::latitudeOfIsometric(c, 0.0).phi, 0.0);
  EXPECT_FALSE(lanes::latitudeOfT(c, kNaN).converged.value);
  EXPECT_FALSE(lanes::latitudeOfIsometric(c, kNaN).converged.value);
}

TEST(LanesAgainstHelpers, AuthalicInverse) {
  for (const double es : kEccentricities2) {
    const double e = std::sqrt(es);
    const auto c = lanes::authalicLatitudeOf(e, es);
    for (double lat = -89.9; lat < 90; lat += 0.03) {
      SCOPED_TRACE(std::to_string(es) + " " + std::to_string(lat));
      const double q = lanes::authalicQ(c, std::sin(lat * kDeg));
      Slot err;
      const double literal = oprj_Phi1(e, q, err);
      const auto solved = lanes::latitudeOfQ(c, q);
      onLanes([&](auto x) { return lanes::latitudeOfQ(c, x).phi; }, q);
      EXPECT_TRUE(solved.converged.value);
      const double noise = 3e-16 / std::cos(lat * kDeg);  // of q, where it flattens
      EXPECT_NEAR(solved.phi, lat * kDeg, 3 * noise);
      // the helper's bracket has the logarithm's noise over e
      if (!err.failed()) {
        EXPECT_NEAR(solved.phi, literal, 1e-12 + (e > 0 ? noise / e : 0.0));
      } else {
        EXPECT_TRUE(std::fabs(lat) > 89.0 || noise / e > 1e-11);
      }
    }
  }
}

TEST(LanesAgainstHelpers, AuthalicInverseAtThePole) {
  const double es = kClarke1866;
  const auto c = lanes::authalicLatitudeOf(kClarkeE, es);
  EXPECT_EQ(lanes::latitudeOfQ(c, c.qPole).phi, M_PI_2);
  EXPECT_EQ(lanes::latitudeOfQ(c, -c.qPole).phi, -M_PI_2);
  // Through the seam between iteration and expansion: q of a place ψ from the pole by the half
  // angle.
  for (double psi = 1e-7; psi < 4e-3; psi *= 1.1) {
    const double h = 2 * std::pow(std::sin(psi / 2), 2);  // 1 - sin phi
    // q(1) - q(1 - h) by Gauss-Legendre over dq/ds = 2 (1 - e²) / (1 - e² s²)²
    const auto slope = [&](double s) { return 2 * (1 - es) / std::pow(1 - es * s * s, 2); };
    const double shift = h / 2 / std::sqrt(3.0);
    const double w = h / 2 * (slope(1 - h / 2 - shift) + slope(1 - h / 2 + shift));
    const double tolerance = 4e-16 / psi;  // q near 2 has steps of 4e-16
    EXPECT_NEAR(lanes::latitudeOfQ(c, c.qPole - w).phi, M_PI_2 - psi, tolerance) << psi;
    EXPECT_NEAR(lanes::latitudeOfQ(c, w - c.qPole).phi, psi - M_PI_2, tolerance) << psi;
  }
  EXPECT_TRUE(lanes::latitudeOfQ(c, c.qPole + 0.9e-10).converged.value);
  EXPECT_FALSE(lanes::latitudeOfQ(c, c.qPole + 1.1e-10).converged.value);
  EXPECT_FALSE(lanes::latitudeOfQ(c, -3.0).converged.value);
  EXPECT_FALSE(lanes::latitudeOfQ(c, kNaN).converged.value);
}

TEST(LanesAgainstHelpers, MeridianInverse) {
  for (const double es : {0.0, kClarke1866, 0.0139, 0.05}) {
    const MeridianSeries m(es);
    const auto c = lanes::meridianInverseOf(es, m.e0, m.e1, m.e2, m.e3);
    for (double lat = -90; lat <= 90; lat += 0.25) {
      const double distance = m(lat * kDeg);
      onLanes([&](auto x) { return lanes::latitudeOfDistance(c, x).phi; }, distance);
      const auto found = lanes::latitudeOfDistance(c, distance);
      EXPECT_TRUE(found.converged.value);
      EXPECT_NEAR(found.phi, lat * kDeg, 1e-12);
      EXPECT_NEAR(found.phi, m.inverse(distance), 1e-12) << lat;
      EXPECT_NEAR(found.of.sin, std::sin(found.phi), 1e-15);
      EXPECT_NEAR(found.of.cos, std::cos(found.phi), 1e-15);
    }
    EXPECT_FALSE(lanes::latitudeOfDistance(c, kNaN).converged.value);
  }
}

}  // namespace
