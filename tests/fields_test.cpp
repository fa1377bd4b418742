// Numbers of the program's lines.
#include "apps/fields.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <random>

namespace {

std::string fixed(double value, int digits) {
  char text[program::kLongestNumber];
  return {text, program::writeFixed(text, value, digits)};
}

std::string byTheLibrary(double value, int digits) {
  char text[program::kLongestNumber];
  const std::string result(
      text, std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, digits).ptr);
  return result.find_first_of("123456789") == std::string::npos && value <= 0
             ? result.substr(std::signbit(value))
             : result;
}

TEST(Fields, FixedDigitsAreTheCorrectlyRoundedOnes) {
  // halves that are exact in binary, halves that only look so, carries, limits of the fast way
  for (const double value : {0.0,
                             0.5,
                             1.5,
                             2.5,
                             0.125,
                             0.375,
                             1.005,
                             2.675,
                             0.015,
                             8.5e-10,
                             5e-10,
                             0.9995,
                             999.9996,
                             9.999999999,
                             4503599627370495.5,
                             4503599627370496.0,
                             9007199254740993.0,
                             4503599.6273704955,
                             1e15,
                             1e22,
                             1e300,
                             5e-324,
                             0x1p-1074,
                             1.7976931348623157e308}) {
    for (int digits = 0; digits <= 17; ++digits) {
      EXPECT_EQ(fixed(value, digits), byTheLibrary(value, digits)) << value << ' ' << digits;
      EXPECT_EQ(fixed(-value, digits), byTheLibrary(-value, digits)) << -value << ' ' << digits;
    }
  }
  std::mt19937_64 source(11);
  for (int i = 0; i < 300000; ++i) {
    const uint64_t bits = source();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    const int digits = static_cast<int>(bits % 12);
    if (!std::isfinite(value)) continue;
    // any double at all, one of a map's size, and one that looks like a half
    for (const double v :
         {value, std::ldexp(value, -std::ilogb(value) + static_cast<int>(bits % 24)),
          std::round(value > 1e9    ? 1e9
                     : value < -1e9 ? -1e9
                                    : value) /
                  1024 +
              0.0005})
      ASSERT_EQ(fixed(v, digits), byTheLibrary(v, digits)) << v << ' ' << digits;
  }
}

TEST(Fields, NumbersAreReadAsTheirColumnMeansThem) {
  using enum program::Notation;
  struct {
    std::string field;
    program::Notation notation;
    double value;  ///< NaN: refused
  } const cases[] = {
      {"-1.5e2", kNumber, -150},
      {" +7 ", kNumber, 7},
      {"\"7\"", kNumber, 7},
      {"", kNumber, NAN},
      {"+-7", kNumber, NAN},
      {"0x10", kNumber, NAN},
      {"inf", kNumber, NAN},
      {"1:30:00", kNumber, NAN},
      {"7W", kNumber, NAN},
      {"-1:30:00", kAngle, -1.5},
      {"7W", kAngle, NAN},
      {"7W", kLongitude, -7},
      {"7e", kLongitude, 7},
      {"7S", kLongitude, NAN},
      {"7S", kLatitude, -7},
      {"7W", kLatitude, NAN},
      // every way to write an angle
      {"77d30m0s", kLongitude, 77.5},
      {"77d30m0sS", kLatitude, -77.5},
      {"77D 30' 0\"", kAngle, 77.5},
      {"\"77\xC2\xB0 30'0\"\" W\"", kLongitude, -77.5},
      {"77\xB0 30' W", kLongitude, -77.5},
      {"77\xC2\xB0 30\xE2\x80\xB2 0\xE2\x80\xB3", kAngle, 77.5},
      {"77\xC2\xB0"
       "30''",
       kAngle, NAN},
      {"77-30-00W", kLongitude, -77.5},
      {"77-30-00", kLongitude, NAN},
      {"W77.5", kLongitude, -77.5},
      {"N 38 15.6", kLatitude, 38.26},
      {"77 30 00 w", kLongitude, -77.5},
      {"-77 30", kAngle, -77.5},
      {"\xE2\x88\x92"
       "77.5",
       kNumber, -77.5},
      {"-77 30 W", kLongitude, NAN},
      {"W 77 30 W", kLongitude, NAN},
      {"77 60", kAngle, NAN},
      {"77.5 30", kAngle, NAN},
      {"77:30 15", kAngle, NAN},
      {"77 30 15 5", kAngle, NAN},
      {"N", kLatitude, NAN},
      {"N-5", kLatitude, NAN},
      {"77,5", kAngle, NAN},
      {{"7\0\0", 3}, kLatitude, NAN},
      {{"7\0", 2}, kNumber, NAN},
  };
  for (const auto &row : cases) {
    double value = NAN;
    const char *reason = program::readNumber(row.field, row.notation, &value);
    EXPECT_EQ(reason != nullptr, std::isnan(row.value)) << row.field;
    EXPECT_TRUE(reason || value == row.value) << row.field << ' ' << value;
  }
}

TEST(Fields, ShortestDigitsHaveNoExponentAtOrdinarySizes) {
  for (const auto &[value, text] : {std::pair{500000.0, "500000"},
                                    {-0.0, "0"},
                                    {1e-5, "0.00001"},
                                    {0.1, "0.1"},
                                    {123456789012345.5, "123456789012345.5"},
                                    {1e15, "1e+15"},
                                    {-1.5e-7, "-1.5e-07"},
                                    {4427757.218878973, "4427757.218878973"}}) {
    char written[program::kLongestNumber];
    EXPECT_EQ(std::string(written, program::writeShortest(written, value)), text);
  }
}

}  // namespace
