// Texts, numbers in them whatever the locale, and suggestions of names.
#include <locale.h>
#include <oprj/ocvt.h>
#include <oprj/ostr.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "tests/support.h"
#include "toolkit/nearest.h"

namespace {

using namespace orvik::test;

std::string taken(char *text) {
  std::string copy = text ? text : "(null)";
  omsc_HeapFree(text);
  return copy;
}

TEST(Text, CopiesAndComparisons) {
  const LeakCheck leaks;
  EXPECT_EQ(taken(ostr_Duplicate("abc \xC3\xA9")), "abc \xC3\xA9");
  EXPECT_EQ(taken(ostr_Duplicate("")), "");
  EXPECT_EQ(ostr_Duplicate(nullptr), nullptr);
  EXPECT_EQ(taken(ostr_DuplicateN("abcdef", 3)), "abc");
  EXPECT_EQ(taken(ostr_DuplicateN("abc", SIZE_MAX)), "abc");
  EXPECT_EQ(ostr_DuplicateN(nullptr, 3), nullptr);
  const char notEnded[3] = {'a', 'b', 'c'};
  EXPECT_EQ(taken(ostr_DuplicateN(notEnded, 3)), "abc");

  struct Case {
    const char *first, *second;
    int32_t equal;
  };
  for (const Case &c : {Case{"WGS 84", "wgs 84", 1},
                        {"a", "ab", 0},
                        {nullptr, "", 1},
                        {nullptr, nullptr, 1},
                        {nullptr, "a", 0},
                        {"@[`{", "`{@[", 0},
                        {"\xC3\x89", "\xC3\xA9", 0}}) {  // only ASCII letters have two cases
    EXPECT_EQ(ostr_EqualIgnoringCase(c.first, c.second), c.equal);
    EXPECT_EQ(ostr_EqualIgnoringCase(c.second, c.first), c.equal);
  }

  for (char *(*make)() : {+[] { return ostr_Duplicate("x"); }, +[] { return ostr_Format("%d", 1); },
                          +[] { return ostr_DuplicateN("x", 1); }}) {
    omsc_HeapFailNth(1);
    EXPECT_EQ(make(), nullptr);
    EXPECT_EQ(omsc_HeapFailNth(0), 1);
  }
}

TEST(Text, NumbersAreWholeTexts) {
  struct Case {
    const char *text;
    double value;
  };
  for (const Case &c : {Case{"0.1", 0.1},
                        {"+5", 5.0},
                        {" \t-2.5e3\r\n", -2500.0},
                        {"1E+2", 100.0},
                        {".5", 0.5},
                        {"5.", 5.0},
                        {"007", 7.0},
                        {"-0", -0.0},
                        {"+.5", 0.5},
                        {"6378206.4", 6378206.4},
                        {"1e-310", 1e-310},
                        {"1e-400", 0.0},
                        {"-1e-400", -0.0},
                        {"4.9e-324", 4.9e-324},
                        {"179769313486231570000e288", 1.7976931348623157e308}}) {
    double value = 77.0;
    EXPECT_EQ(ostr_ToDouble(c.text, &value), 1) << c.text;
    EXPECT_EQ(value, c.value) << c.text;
    EXPECT_EQ(std::signbit(value), std::signbit(c.value)) << c.text;
    EXPECT_EQ(ostr_ToDouble(c.text, nullptr), 1) << c.text;
  }
  for (const char *text : {"", " ", "+", "-", ".", "+-5", "++5", "- 5", "5 6", "5x", "1e", "1e400",
                           "-1e400", "0x10", "inf", "-nan", "1,5", "1d3"}) {
    double value = 77.0;
    EXPECT_EQ(ostr_ToDouble(text, &value), 0) << text;
    EXPECT_EQ(value, 77.0) << text;
  }
  EXPECT_EQ(ostr_ToDouble(nullptr, nullptr), 0);

  const std::pair<const char *, int32_t> integers[] = {
      {"2147483647", INT32_MAX}, {"-2147483648", INT32_MIN}, {" +17 ", 17}};
  for (const auto &[text, expected] : integers) {
    int32_t value = 77;
    EXPECT_EQ(ostr_ToInt32(text, &value), 1) << text;
    EXPECT_EQ(value, expected);
  }
  for (const char *text : {"2147483648", "-2147483649", "1.0", "", "+-1", "1e2", "0x1"}) {
    int32_t value = 77;
    EXPECT_EQ(ostr_ToInt32(text, &value), 0) << text;
    EXPECT_EQ(value, 77) << text;
  }
  EXPECT_EQ(ostr_ToInt32(nullptr, nullptr), 0);
}

/// A locale with a decimal comma for the process: an installed one, or one made on the spot.
class CommaLocale {
 public:
  CommaLocale() : path_("LOCPATH", nullptr) {
    for (const char *name : {"de_DE.UTF-8", "fr_FR.UTF-8", "nl_NL.UTF-8"})
      if (activate(name)) return;
    std::string source = "comment_char %\nescape_char /\n";
    for (const char *category : {"LC_CTYPE", "LC_COLLATE", "LC_MONETARY", "LC_TIME", "LC_MESSAGES"})
      source += category + std::string("\ncopy \"POSIX\"\nEND ") + category + "\n";
    source += "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\n";
    source += "grouping -1\nEND LC_NUMERIC\n";
    const std::string command = "localedef -c -i '" + directory_.write("source", source) +
                                "' -f ANSI_X3.4-1968 '" + directory_.path() + "/comma'";
    if (FILE *run = popen((command + " >/dev/null 2>&1").c_str(), "r")) pclose(run);
    setenv("LOCPATH", directory_.path().c_str(), 1);
    activate("comma");
  }
  ~CommaLocale() { setlocale(LC_ALL, "C"); }
  CommaLocale(const CommaLocale &) = delete;
  CommaLocale &operator=(const CommaLocale &) = delete;
  bool active() const { return active_; }

 private:
  bool activate(const char *name) {
    return active_ = setlocale(LC_ALL, name) && localeconv()->decimal_point == std::string(",");
  }
  TemporaryDirectory directory_;
  ScopedEnvironment path_;
  bool active_ = false;
};

TEST(Text, TheLocaleOfTheProcessDoesNotMatter) {
  const CommaLocale locale;
  if (!locale.active()) GTEST_SKIP() << "no locale with a decimal comma, and localedef makes none";
  char native[16];
  std::snprintf(native, sizeof native, "%.1f", 0.5);
  ASSERT_STREQ(native, "0,5");

  EXPECT_EQ(taken(ostr_Format("%.2f %lg", 0.25, 1.5)), "0.25 1.5");
  double value = 0.0;
  EXPECT_EQ(ostr_ToDouble("2.5", &value), 1);
  EXPECT_EQ(value, 2.5);
  EXPECT_EQ(ostr_ToDouble("2.5e-400", &value), 1);
  EXPECT_EQ(ostr_ToDouble("2,5", &value), 0);
  EXPECT_EQ(ocvt_AngleParse("2:30.6", &value), 1);
  EXPECT_DOUBLE_EQ(value, 2.51);
  Oerr_Report *report = oerr_CreateErrorReport("f", 1, 2, nullptr, "%f", 1.5);
  EXPECT_STREQ(oerr_MessageGet(report), "1.500000");
  oerr_DeleteErrorReport(&report);
  const LogCapture log;
  oerr_LogMessage("%g", 0.5);
  EXPECT_EQ(log.lines(), std::vector<std::string>{"0.5"});
  std::snprintf(native, sizeof native, "%.1f", 0.5);
  EXPECT_STREQ(native, "0,5") << "the caller's locale must be given back";
}

TEST(Nearest, SuggestsWhatWasProbablyMeant) {
  const std::vector<std::string> projections = {"Geographic (Lat/Lon)",
                                                "UTM",
                                                "State Plane",
                                                "Albers Conical Equal Area",
                                                "Lambert Conformal Conic",
                                                "Mercator",
                                                "Polar Stereographic",
                                                "Lambert Azimuthal Equal-area",
                                                "Transverse Mercator",
                                                "Oblique Mercator (Hotine)",
                                                "Mercator"};
  struct Case {
    const char *query, *hint;
  };
  for (const Case &c :
       {Case{"Mercatro", " (nearest: \"Mercator\")"},  // neighbours swapped: one edit
        {"mercator",
         " (nearest: \"Mercator\", \"Transverse Mercator\", \"Oblique Mercator "
         "(Hotine)\")"},
        {"lambert conformal", " (nearest: \"Lambert Conformal Conic\")"},
        {"LAMBERT", " (nearest: \"Lambert Conformal Conic\", \"Lambert Azimuthal Equal-area\")"},
        {"UTN", " (nearest: \"UTM\")"},
        {"Stat Plain", " (nearest: \"State Plane\")"},
        {"albers conic equal area", " (nearest: \"Albers Conical Equal Area\")"},
        {"xy", ""},
        {"", ""},
        {"something else altogether", ""}})
    EXPECT_EQ(orvik::toolkit::nearestHint(c.query, projections), c.hint) << c.query;
  EXPECT_EQ(orvik::toolkit::nearestHint(std::string(1 << 20, 'a'),
                                        std::vector<std::string>{"aa", std::string(1000, 'a')}),
            "");
}

}  // namespace
