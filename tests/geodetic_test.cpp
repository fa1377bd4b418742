// The geodetic helpers: published values, edges, iteration caps; and the lanes' auxiliary latitudes
// held against them.
#include <gtest/gtest.h>
#include <oprj/oprj.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>

#include "projections/auxiliary_latitude.h"

namespace {

namespace lanes = orvik::oprj::baseline;

constexpr double kDeg = M_PI / 180;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kClarke1866 = 0.00676866;  // e² of [Snyder87]'s examples

/// A report slot that starts filled with rubbish, as a caller's may be, and cleans up.
struct Slot {
  Oerr_Report *report = reinterpret_cast<Oerr_Report *>(8);
  ~Slot() {
    if (report != reinterpret_cast<Oerr_Report *>(8)) oerr_DeleteErrorReport(&report);
  }
};

double tOf(double e, double phi) { return oprj_Tsfn(e, phi, std::sin(phi), nullptr); }
double qOf(double e, double phi) { return oprj_Qsfn(e, std::sin(phi), nullptr); }

struct MeridianSeries {
  double e0, e1, e2, e3;
  explicit MeridianSeries(double es)
      : e0(oprj_E0fn(es, nullptr)),
        e1(oprj_E1fn(es, nullptr)),
        e2(oprj_E2fn(es, nullptr)),
        e3(oprj_E3fn(es, nullptr)) {}
  double operator()(double phi) const { return oprj_Mlfn(e0, e1, e2, e3, phi, nullptr); }
};

TEST(Helpers, Edges) {
  EXPECT_EQ(oprj_Adjl(M_PI, nullptr), M_PI);
  EXPECT_EQ(oprj_Adjl(-M_PI, nullptr), M_PI);
  EXPECT_EQ(oprj_Adjl(4.0, nullptr), 4.0 - 2 * M_PI);
  EXPECT_EQ(oprj_Adjl(-4.0, nullptr), 2 * M_PI - 4.0);
  EXPECT_EQ(oprj_Adjl(7.0, nullptr), 7.0 - 4 * M_PI);  // one step only: beyond -pi
  EXPECT_EQ(oprj_Adjl(2 * M_PI, nullptr), 0.0);
  EXPECT_TRUE(std::isnan(oprj_Adjl(kNaN, nullptr)));

  EXPECT_EQ(oprj_Asin(1.5, nullptr), M_PI_2);
  EXPECT_EQ(oprj_Asin(-1.5, nullptr), -M_PI_2);
  EXPECT_EQ(oprj_Asin(0.5, nullptr), std::asin(0.5));
  EXPECT_TRUE(std::isnan(oprj_Asin(kNaN, nullptr)));

  EXPECT_EQ(oprj_Sign(-1e-300, nullptr), -1);
  EXPECT_EQ(oprj_Sign(0.0, nullptr), 1);
  EXPECT_EQ(oprj_Sign(-0.0, nullptr), 1);

  double sine = 0, cosine = 0;
  oprj_Sincos(0.7, &sine, &cosine, nullptr);
  EXPECT_EQ(sine, std::sin(0.7));
  EXPECT_EQ(cosine, std::cos(0.7));
}

TEST(Helpers, EachClearsItsSlot) {
  const std::function<void(Oerr_Report **)> calls[] = {
      [](Oerr_Report **e) { oprj_Adjl(1, e); },
      [](Oerr_Report **e) { oprj_Asin(1, e); },
      [](Oerr_Report **e) { oprj_E0fn(0.01, e); },
      [](Oerr_Report **e) { oprj_E1fn(0.01, e); },
      [](Oerr_Report **e) { oprj_E2fn(0.01, e); },
      [](Oerr_Report **e) { oprj_E3fn(0.01, e); },
      [](Oerr_Report **e) { oprj_E4fn(0.1, e); },
      [](Oerr_Report **e) { oprj_Mlfn(1, 0, 0, 0, 1, e); },
      [](Oerr_Report **e) { oprj_Msfn(0.1, 0, 1, e); },
      [](Oerr_Report **e) { oprj_Qsfn(0.1, 0.5, e); },
      [](Oerr_Report **e) { oprj_Tsfn(0.1, 0.5, 0.4, e); },
      [](Oerr_Report **e) { oprj_Sign(1, e); },
      [](Oerr_Report **e) { oprj_Sincos(1, nullptr, nullptr, e); },
      [](Oerr_Report **e) { oprj_Phi1(0.1, 0.5, e); },
      [](Oerr_Report **e) { oprj_Phi2(0.1, 0.5, e); },
      [](Oerr_Report **e) { oprj_Phi3(0.5, 1, 0, 0, 0, e); },
      [](Oerr_Report **e) { oprj_Phi4(0, 1, 0, 0, 0, 0.5, 0.26, nullptr, e); },
      [](Oerr_Report **e) { oprj_Phi5(0.5, 0.2, 0.04, 0.04, e); },
      [](Oerr_Report **e) { oprj_Phi6(0.5, 0.2, 0.3, 0.13, e); },
  };
  for (size_t i = 0; i < std::size(calls); ++i) {
    Slot err;
    calls[i](&err.report);
    EXPECT_EQ(err.report, nullptr) << "helper " << i;
  }
}

// The intermediate values that [Snyder87] prints with its examples on Clarke 1866, p. 292-297 and
// 303-304.
TEST(Helpers, PublishedValues) {
  const double e = std::sqrt(kClarke1866);
  const struct {
    double lat, q;
  } authalic[] = {{29.5, 0.9792529}, {45.5, 1.4201080}, {23, 0.7767080}, {35, 1.1410831}};
  for (const auto &row : authalic) EXPECT_NEAR(qOf(e, row.lat * kDeg), row.q, 6e-8) << row.lat;
  const struct {
    double lat, m;
  } parallels[] = {{29.5, 0.8710708}, {45.5, 0.7021191}, {33, 0.8395138}, {45, 0.7083064}};
  for (const auto &row : parallels) {
    const double phi = row.lat * kDeg;
    EXPECT_NEAR(oprj_Msfn(e, std::sin(phi), std::cos(phi), nullptr), row.m, 6e-8) << row.lat;
  }
  const struct {
    double lat, t;
  } conformal[] = {{33, 0.5449623}, {45, 0.4162031}, {23, 0.6636390}, {35, 0.5225935}};
  for (const auto &row : conformal) EXPECT_NEAR(tOf(e, row.lat * kDeg), row.t, 6e-8) << row.lat;

  const MeridianSeries distance(kClarke1866);
  EXPECT_NEAR(6378206.4 * distance(40 * kDeg), 4429318.9, 0.06);
  EXPECT_NEAR(6378206.4 * distance(30 * kDeg), 3319933.3, 0.06);
}

TEST(Helpers, MeridianDistanceIsTheIntegral) {
  // The quarter meridian of GRS 80, [Moritz2000]; the series stops behind e^6.
  EXPECT_NEAR(6378137.0 * MeridianSeries(0.00669438002290)(M_PI_2), 10001965.7293, 1e-3);
  const double es = 0.00669438002290;
  const MeridianSeries distance(es);
  double sum = 0;
  constexpr int kSteps = 3000;
  for (int i = 0; i < kSteps; ++i) {  // midpoints
    const double phi = (i + 0.5) / kSteps * 1.2, k = 1 - es * std::pow(std::sin(phi), 2);
    sum += (1 - es) / (k * std::sqrt(k)) * 1.2 / kSteps;
  }
  EXPECT_NEAR(distance(1.2), sum, 2e-10);
  const MeridianSeries sphere(0.0);
  EXPECT_EQ(sphere(1.2), 1.2);
}

TEST(Helpers, LimitsOnTheSphereAndAtThePole) {
  for (const double s : {-1.0, -0.3, 0.0, 0.8}) {
    EXPECT_EQ(oprj_Qsfn(0.0, s, nullptr), 2 * s);
    EXPECT_EQ(oprj_Qsfn(9e-8, s, nullptr), 2 * s);
    EXPECT_NEAR(oprj_Qsfn(1.1e-7, s, nullptr), 2 * s, 1e-8);  // the logarithm's noise over e
  }
  for (const double q : {-2.5, -2.0, -0.6, 0.0, 1.9, 2.5}) {
    Slot err;
    EXPECT_EQ(oprj_Phi1(9e-8, q, &err.report), oprj_Asin(q / 2, nullptr));
    EXPECT_EQ(err.report, nullptr);
  }
  EXPECT_EQ(oprj_Tsfn(0.08, M_PI_2, 1.0, nullptr), 0.0);
  EXPECT_EQ(oprj_Phi2(0.08, 0.0, nullptr), M_PI_2);
  EXPECT_EQ(oprj_E4fn(0.0, nullptr), 1.0);
  // E4 is what t tends to: m / t = 2 / (sqrt(1 - e²) (1 + ...)) -> 2 / E4 at the pole.
  const double e = 0.0819918899790, close = M_PI_2 - 1e-5;
  const double ratio = oprj_Msfn(e, std::sin(close), std::cos(close), nullptr) / tOf(e, close);
  EXPECT_NEAR(ratio, 2 / oprj_E4fn(e, nullptr), 1e-9);
}

TEST(Solvers, InvertTheirFunctions) {
  for (const double es : {0.0, kClarke1866, 0.05}) {
    const double e = std::sqrt(es);
    const MeridianSeries m(es);
    for (double lat = -89; lat <= 89; lat += 0.5) {
      SCOPED_TRACE(std::to_string(es) + " " + std::to_string(lat));
      const double phi = lat * kDeg;
      Slot err;
      // e² 0.05: what the stop test leaves is 5 % of its tolerance
      EXPECT_NEAR(oprj_Phi2(e, tOf(e, phi), &err.report), phi, 6e-12);
      EXPECT_EQ(err.report, nullptr);
      EXPECT_NEAR(oprj_Phi3(m(phi), m.e0, m.e1, m.e2, m.e3, &err.report), phi, 6e-13);
      EXPECT_EQ(err.report, nullptr);
      EXPECT_NEAR(oprj_Phi1(e, qOf(e, phi), &err.report), phi, 1e-12);
      EXPECT_EQ(err.report, nullptr);
    }
  }
}

TEST(Solvers, PolyconicLatitude) {
  const double es = kClarke1866;
  const MeridianSeries m(es);
  for (double lat = -85; lat <= 85; lat += 5) {
    if (lat == 0) continue;
    for (double dLon = 0; dLon <= 70; dLon += 10) {
      const double phi = lat * kDeg, s = std::sin(phi), w = std::sqrt(1 - es * s * s);
      const double cot = 1 / (std::tan(phi) * w), e = dLon * kDeg * s;
      const double x = cot * std::sin(e), a = m(phi) + cot * (1 - std::cos(e));
      Slot err;
      double g = 0;
      const double found = oprj_Phi4(es, m.e0, m.e1, m.e2, m.e3, a, x * x + a * a, &g, &err.report);
      EXPECT_EQ(err.report, nullptr) << lat << " " << dLon;
      EXPECT_NEAR(found, phi, 2e-12) << lat << " " << dLon;
      EXPECT_NEAR(g * cot, 1.0, 1e-8) << lat << " " << dLon;
    }
  }
}

TEST(Solvers, VanDerGrintenLatitudes) {
  for (double lat = 1; lat <= 89; lat += 1) {
    for (double dLon = 10; dLon <= 180; dLon += 17) {
      const double s = lat / 90, c = std::sqrt(1 - s * s), t = s / (1 + c);
      const double a = 0.5 * (180 / dLon - dLon / 180), g = c / (s + c - 1), p = g * (2 / s - 1);
      const double d = p * p - g * g, k = a * (p * p - g), k2 = p * p + a * a;
      const double x = d / (k + std::sqrt(k * k + k2 * d));
      const double radius = p - t, y = t + x * x / (radius + std::sqrt(radius * radius - x * x));
      Slot err;
      if (lat <= 57) {
        EXPECT_NEAR(oprj_Phi5(lat * kDeg * 0.99, y, x * x, y * y, &err.report), lat * kDeg, 1e-9)
            << lat << " " << dLon;
        EXPECT_EQ(err.report, nullptr) << lat << " " << dLon;
      }
      EXPECT_NEAR(oprj_Phi6(lat * kDeg * 0.9, x, y, x * x + y * y, &err.report), lat * kDeg, 1e-10)
          << lat << " " << dLon;
      EXPECT_EQ(err.report, nullptr) << lat << " " << dLon;
    }
  }
  EXPECT_EQ(oprj_Phi6(1.0, 0.2, 1.0, 1.04, nullptr), M_PI_2);
  EXPECT_EQ(oprj_Phi6(1.0, 1e-11, 0.5, 0.25, nullptr), M_PI * 0.5 / 1.25);
}

TEST(Solvers, ReportWhenTheirIterationsAreExhausted) {
  const double e = std::sqrt(kClarke1866);
  const MeridianSeries m(kClarke1866);
  const struct {
    const char *function;
    long iterations;
    std::function<double(Oerr_Report **)> call;
  } rows[] = {
      {"oprj_Phi1", 15, [=](Oerr_Report **r) { return oprj_Phi1(e, 2.2, r); }},  // beyond the pole
      {"oprj_Phi1", 15, [=](Oerr_Report **r) { return oprj_Phi1(e, kNaN, r); }},
      {"oprj_Phi2", 15, [=](Oerr_Report **r) { return oprj_Phi2(0.9, 0.5, r); }},  // flat spheroid
      {"oprj_Phi2", 15, [=](Oerr_Report **r) { return oprj_Phi2(e, kNaN, r); }},
      {"oprj_Phi3", 15, [=](Oerr_Report **r) { return oprj_Phi3(1, 1, 0.6, 0, 0, r); }},
      {"oprj_Phi3", 15,
       [=](Oerr_Report **r) { return oprj_Phi3(kNaN, m.e0, m.e1, m.e2, m.e3, r); }},
      {"oprj_Phi4", 15,
       [=](Oerr_Report **r) {
         return oprj_Phi4(kClarke1866, m.e0, m.e1, m.e2, m.e3, 0.5, 9.0, nullptr, r);
       }},
      {"oprj_Phi5", 35, [=](Oerr_Report **r) { return oprj_Phi5(1.4, 0.9, 0.01, 0.81, r); }},
      {"oprj_Phi5", 35, [=](Oerr_Report **r) { return oprj_Phi5(kNaN, 0.1, 0.01, 0.02, r); }},
      {"oprj_Phi6", 35, [=](Oerr_Report **r) { return oprj_Phi6(0.5, kNaN, 0.4, 0.5, r); }},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(row.function);
    Slot err;
    const double last = row.call(&err.report);
    ASSERT_NE(err.report, nullptr);
    EXPECT_STREQ(oerr_FunctionGet(err.report), row.function);
    EXPECT_EQ(oerr_CodeGet(err.report), 1);
    EXPECT_EQ(oerr_MessageGet(err.report), "Latitude failed to converge after " +
                                               std::to_string(row.iterations) + " iterations");
    const double again = row.call(nullptr);  // a missing slot is fine
    EXPECT_TRUE(last == again || (std::isnan(last) && std::isnan(again)));
  }
}

// --- lanes against helpers ---

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
      const double literal = oprj_Phi2(e, t, &err.report);
      const auto byT = lanes::latitudeOfT(c, t),
                 byPsi = lanes::latitudeOfIsometric(c, -std::log(t));
      onLanes([&](auto x) { return lanes::latitudeOfT(c, x).phi; }, t);
      onLanes([&](auto x) { return lanes::latitudeOfIsometric(c, x).phi; }, -std::log(t));
      // where the helper needs more than its 15 steps, so do the lanes
      EXPECT_EQ(byT.converged.value, err.report == nullptr);
      EXPECT_EQ(byPsi.converged.value, err.report == nullptr);
      if (err.report) {
        ++reported;
        continue;
      }
      EXPECT_NEAR(byT.phi, literal, left);
      EXPECT_NEAR(byPsi.phi, literal, left);
      if (es <= lanes::kEarthLike) {
        EXPECT_NEAR(byT.phi, lat * kDeg, 2e-15);
      }
    }
    EXPECT_EQ(reported > 0, es == 0.3);  // the cap is met on both ways
  }
  const auto c = lanes::conformalLatitudeOf(std::sqrt(kClarke1866), kClarke1866);
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
      const double literal = oprj_Phi1(e, q, &err.report);
      const auto solved = lanes::latitudeOfQ(c, q);
      onLanes([&](auto x) { return lanes::latitudeOfQ(c, x).phi; }, q);
      EXPECT_TRUE(solved.converged.value);
      const double noise = 3e-16 / std::cos(lat * kDeg);  // of q, where it flattens
      EXPECT_NEAR(solved.phi, lat * kDeg, 3 * noise);
      // the helper's bracket has the logarithm's noise over e
      if (!err.report) {
        EXPECT_NEAR(solved.phi, literal, 1e-12 + (e > 0 ? noise / e : 0.0));
      } else {
        EXPECT_TRUE(std::fabs(lat) > 89.0 || noise / e > 1e-11);
      }
    }
  }
}

TEST(LanesAgainstHelpers, AuthalicInverseAtThePole) {
  const double es = kClarke1866, e = std::sqrt(es);
  const auto c = lanes::authalicLatitudeOf(e, es);
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
      EXPECT_NEAR(found.phi, oprj_Phi3(distance, m.e0, m.e1, m.e2, m.e3, nullptr), 1e-12) << lat;
      EXPECT_NEAR(found.of.sin, std::sin(found.phi), 1e-15);
      EXPECT_NEAR(found.of.cos, std::cos(found.phi), 1e-15);
    }
    EXPECT_FALSE(lanes::latitudeOfDistance(c, kNaN).converged.value);
  }
}

}  // namespace
