// The elementary functions of the lanes against [MPFR]: errors over whole ranges, zeros of the
// functions and special values, the same bits in every lane and for a number alone. One object a
// set (elementary_sets.cpp) holds the functions under test.
#include "elementary_sets.h"

#include <gtest/gtest.h>
#include <mpfr.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "lanes/kernels.h"

namespace {

using oprj_test::ElementarySet;
using orvik::oprj::widestInstructionSet;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kHalfPi = 1.57079632679489661923;

/// 160 binary digits: enough for sines of 2^20 next to their zeros.
struct Exact {
  mpfr_t value;
  Exact() { mpfr_init2(value, 160); }
  ~Exact() { mpfr_clear(value); }
  Exact(const Exact &) = delete;
  Exact &operator=(const Exact &) = delete;
};

/// |got - exact| in units in the last place of the exact number.
double ulps(double got, mpfr_srcptr exact) {
  const double nearest = mpfr_get_d(exact, MPFR_RNDN);
  if (!std::isfinite(nearest) || !std::isfinite(got) || nearest == 0.0)
    return got == nearest || (std::isnan(got) && std::isnan(nearest)) ? 0.0 : kInf;
  Exact difference;
  mpfr_sub_d(difference.value, exact, got, MPFR_RNDN);
  return std::fabs(mpfr_get_d(difference.value, MPFR_RNDN)) /
         std::ldexp(1.0, std::max(std::ilogb(nearest) - 52, -1074));
}

/// How arguments are drawn from [from, to].
enum Draw { kEven, kPowersOfTwo, kQuarterTurns };

/// Those of one argument: sin to cbrt, then the two that sincos gives at once.
constexpr int kFunctions = 12;

struct Range {
  const char *name;
  int function;  // index in an ElementarySet
  int (*reference)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
  Draw draw;
  double from, to;
  double bound;     // ulp, with fused multiply-add
  double baseline;  // ulp, without
};

// Bounds are what elementary.h states, and the worst found without fused multiply-add.
const Range kRanges[] = {
    {"sin", 0, mpfr_sin, kEven, -3.2, 3.2, 1.9, 1.9},
    {"sin", 0, mpfr_sin, kEven, -0x1p20, 0x1p20, 1.9, 2.9},
    {"sin", 0, mpfr_sin, kPowersOfTwo, -300, 1, 1.9, 1.9},
    {"sin at its zeros", 0, mpfr_sin, kQuarterTurns, -667000, 667000, 1.6, 2.5},
    {"cos", 1, mpfr_cos, kEven, -3.2, 3.2, 1.9, 1.9},
    {"cos", 1, mpfr_cos, kEven, -0x1p20, 0x1p20, 1.9, 2.9},
    {"cos at its zeros", 1, mpfr_cos, kQuarterTurns, -667000, 667000, 1.6, 2.5},
    {"sine of both", 10, mpfr_sin, kEven, -3.2, 3.2, 1.6, 1.6},
    {"sine of both", 10, mpfr_sin, kEven, -0x1p20, 0x1p20, 1.6, 2.5},
    {"sine of both", 10, mpfr_sin, kPowersOfTwo, -300, 1, 1.6, 1.6},
    {"sine of both at its zeros", 10, mpfr_sin, kQuarterTurns, -667000, 667000, 1.6, 2.5},
    {"cosine of both", 11, mpfr_cos, kEven, -3.2, 3.2, 1.6, 1.6},
    {"cosine of both", 11, mpfr_cos, kEven, -0x1p20, 0x1p20, 1.6, 2.5},
    {"cosine of both at its zeros", 11, mpfr_cos, kQuarterTurns, -667000, 667000, 1.6, 2.5},
    {"atan", 2, mpfr_atan, kPowersOfTwo, -300, 300, 1.5, 1.5},
    {"atan", 2, mpfr_atan, kEven, -2, 2, 1.5, 1.5},
    {"asin", 3, mpfr_asin, kEven, -1, 1, 1.3, 1.3},
    {"asin", 3, mpfr_asin, kPowersOfTwo, -300, 0, 1.3, 1.3},
    {"log", 4, mpfr_log, kPowersOfTwo, -1021, 1023, 0.9, 0.9},
    {"log", 4, mpfr_log, kEven, 0.5, 2, 0.9, 0.9},
    {"exp", 5, mpfr_exp, kEven, -708, 709, 1.1, 1.1},
    {"expm1", 6, mpfr_expm1, kEven, -2, 2, 1.3, 1.3},
    {"expm1", 6, mpfr_expm1, kEven, -60, 709, 1.3, 1.3},
    {"expm1", 6, mpfr_expm1, kPowersOfTwo, -300, 0, 1.3, 1.3},
    {"sinh", 7, mpfr_sinh, kEven, -709, 709, 2.4, 2.4},
    {"sinh", 7, mpfr_sinh, kPowersOfTwo, -300, 3, 2.4, 2.4},
    {"atanh", 8, mpfr_atanh, kEven, -1, 1, 1.8, 1.9},
    {"atanh", 8, mpfr_atanh, kPowersOfTwo, -300, 0, 1.8, 1.9},
    {"cbrt", 9, mpfr_cbrt, kPowersOfTwo, -1000, 1000, 1.0, 1.5},
};

class Elementary : public testing::TestWithParam<int> {
 protected:
  const ElementarySet set = oprj_test::elementarySet(GetParam());
  const bool fused = GetParam() > 0;
};

TEST_P(Elementary, ErrorsStayWithinTheirBounds) {
  std::mt19937_64 source(41);
  Exact x, exact;
  for (const Range &range : kRanges) {
    std::uniform_real_distribution<double> draw(range.from, range.to);
    double worst = 0, where = 0;
    for (int i = 0; i < 8000; ++i) {
      double argument = draw(source);
      if (range.draw == kPowersOfTwo) argument = std::exp2(argument);
      if (range.draw == kPowersOfTwo && range.function != 4 && i % 2) argument = -argument;
      if (range.draw == kQuarterTurns) argument = std::nearbyint(argument) * kHalfPi;
      mpfr_set_d(x.value, argument, MPFR_RNDN);
      range.reference(exact.value, x.value, MPFR_RNDN);
      const double error = ulps(set.single(range.function, argument), exact.value);
      if (error > worst) worst = error, where = argument;
    }
    EXPECT_LE(worst, fused ? range.bound : range.baseline)
        << range.name << " of " << testing::PrintToString(where);
  }
  double worst = 0;
  Exact y;
  std::uniform_real_distribution<double> draw(-40, 40), slope(-3, 3);
  for (int i = 0; i < 20000; ++i) {
    const double b = std::copysign(std::exp2(draw(source)), slope(source));
    const double a =
        i % 2 ? b * slope(source) : std::copysign(std::exp2(draw(source)), slope(source));
    mpfr_set_d(y.value, a, MPFR_RNDN);
    mpfr_set_d(x.value, b, MPFR_RNDN);
    mpfr_atan2(exact.value, y.value, x.value, MPFR_RNDN);
    worst = std::fmax(worst, ulps(set.atan2(a, b), exact.value));
  }
  EXPECT_LE(worst, 1.6) << "atan2";
  worst = 0;
  for (int i = 0; i < 20000; ++i) {
    const double n = 1 + std::fabs(slope(source)), d = n / std::exp2(std::fabs(draw(source)));
    mpfr_set_d(y.value, n, MPFR_RNDN);
    mpfr_div_d(x.value, y.value, d, MPFR_RNDN);
    mpfr_log(exact.value, x.value, MPFR_RNDN);
    worst = std::fmax(worst, ulps(set.logOfQuotient(n, d), exact.value));
  }
  EXPECT_LE(worst, 2.0) << "logOfQuotient";
}

const std::vector<double> kSpecial = {0.0,  -0.0,   1.0,    -1.0,      0.5,    -0.5,      2.0,
                                      kInf, -kInf,  kNaN,   5e-324,    1e-300, 1e300,     -1e300,
                                      710., -710.0, -708.5, 0x1.8p+20, 0.75,   -0x1p-1022};

TEST_P(Elementary, SpecialValuesAreThoseOfC) {
  double (*const plain[])(double) = {std::sin,   std::cos,  std::atan,  std::asin,
                                     std::log,   std::exp,  std::expm1, std::sinh,
                                     std::atanh, std::cbrt, std::sin,   std::cos};
  for (int function = 0; function < kFunctions; ++function) {
    for (const double x : kSpecial) {
      // what elementary.h says otherwise: angles beyond 2^20, denormal results and arguments
      if ((function < 2 || function > 9) && std::fabs(x) > 0x1p20) {
        EXPECT_TRUE(std::isnan(set.single(function, x)));
        continue;
      }
      const double wanted = plain[function](x), got = set.single(function, x);
      const bool flushed = std::fabs(wanted) < 1e-300 && x < -700;
      const bool early = std::isinf(got) && std::fabs(wanted) > 1e307;
      const bool outside =
          (function == 4 || function == 9) && (std::fabs(x) < 1e-307 || std::isinf(x));
      if (flushed || early || (outside && x != 0.0)) continue;
      SCOPED_TRACE(testing::Message() << "function " << function << " of " << x);
      if (std::isnan(wanted)) {
        EXPECT_TRUE(std::isnan(got));
      } else {
        EXPECT_TRUE(got == wanted || std::fabs(got - wanted) <= 4e-16 * std::fabs(wanted)) << got;
        EXPECT_EQ(std::signbit(got), std::signbit(wanted));
      }
    }
  }
  for (const double y : kSpecial) {
    for (const double x : kSpecial) {
      const double wanted = std::isinf(y) && std::isinf(x) ? kNaN : std::atan2(y, x);
      const double got = set.atan2(y, x);
      SCOPED_TRACE(testing::Message() << "atan2 of " << y << ", " << x);
      EXPECT_TRUE(std::isnan(wanted) ? std::isnan(got)
                                     : std::fabs(got - wanted) <= 4e-16 * std::fabs(wanted) &&
                                           std::signbit(got) == std::signbit(wanted))
          << got;
    }
  }
}

TEST_P(Elementary, LanesAndNumbersAloneHaveTheSameBits) {
  std::mt19937_64 source(7);
  std::uniform_real_distribution<double> draw(-60, 20);
  std::vector<double> all = kSpecial;
  while (all.size() < 4096) all.push_back((source() % 2 ? -1 : 1) * std::exp2(draw(source)));
  for (int function = 0; function < kFunctions; ++function) {
    std::vector<double> lanes(all.size());
    set.lanes(function, all.data(), lanes.data(), static_cast<int32_t>(all.size()));
    for (size_t i = 0; i < all.size(); ++i) {
      SCOPED_TRACE(testing::Message() << function << " of " << testing::PrintToString(all[i]));
      const double alone = set.single(function, all[i]);
      if (std::isnan(alone)) {
        ASSERT_TRUE(std::isnan(lanes[i]));
        continue;
      }
      ASSERT_EQ(std::memcmp(&alone, &lanes[i], sizeof alone), 0);
      // from the first set with fused multiply-add on, the width does not matter either
      if (fused) {
        ASSERT_EQ(alone, oprj_test::elementarySet(1).single(function, all[i]));
      }
    }
  }
}

TEST_P(Elementary, FloorMinimumAndMaximum) {
  for (const double x : {0.0, -0.0, 0.5, -0.5, 1.0, -1.0, 1.5, -1.5, 0x1p51 + 0.5, -0x1p51 - 0.5,
                         0x1p52 + 1, -0x1p52 - 1, 1e300, kInf, -kInf, 0x1.fffffffffffffp-1}) {
    const double got = set.floor(x);
    EXPECT_EQ(got, std::floor(x)) << x;
    EXPECT_EQ(std::signbit(got), std::signbit(std::floor(x))) << x;
  }
  EXPECT_TRUE(std::isnan(set.floor(kNaN)));
  for (const double a : kSpecial) {
    for (const double b : kSpecial) {
      const double least = a < b ? a : b, most = a > b ? a : b;
      const double gotLeast = set.min(a, b), gotMost = set.max(a, b);
      EXPECT_EQ(std::memcmp(&gotLeast, &least, sizeof least), 0) << a << " " << b;
      EXPECT_EQ(std::memcmp(&gotMost, &most, sizeof most), 0) << a << " " << b;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Sets, Elementary, testing::Range(0, widestInstructionSet() + 1),
                         [](const testing::TestParamInfo<int> &info) {
                           return orvik::oprj::instructionSetName(info.param);
                         });

}  // namespace
