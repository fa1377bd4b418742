// Texts, numbers in them whatever the locale, and suggestions of names.
#include <locale.h>
#include <oprj/ocvt.h>
#include <oprj/ostr.h>

#include <cmath>

#include "tests/support.h"
#include "toolkit/nearest.h"

namespace {

using namespace orvik::test;

TEST(Text, CopiesAndComparisons) {
  const LeakCheck leaks;
  EXPECT_EQ(taken(ostr_Duplicate("abc \xC3\xA9")), "abc \xC3\xA9");
  EXPECT_EQ(ostr_Duplicate(nullptr), nullptr);
  EXPECT_EQ(taken(ostr_DuplicateN("abc", SIZE_MAX)), "abc");
  EXPECT_EQ(ostr_DuplicateN(nullptr, 3), nullptr);
  const char notEnded[3] = {'a', 'b', 'c'};
  EXPECT_EQ(taken(ostr_DuplicateN(notEnded, 3)), "abc");
  for (char *(*make)() : {+[] { return ostr_Duplicate("x"); }, +[] { return ostr_Format("%d", 1); },
                          +[] { return ostr_DuplicateN("x", 1); }}) {
    omsc_HeapFailNth(1);
    EXPECT_EQ(make(), nullptr);
    EXPECT_EQ(omsc_HeapFailNth(0), 1);
  }

  const struct {
    const char *first, *second;
    int32_t equal;
  } cases[] = {{"WGS 84", "wgs 84", 1},    {"a", "ab", 0},    {nullptr, "", 1},
               {nullptr, nullptr, 1},      {nullptr, "a", 0}, {"@[`{", "`{@[", 0},
               {"\xC3\x89", "\xC3\xA9", 0}};  // only ASCII letters have two cases
  for (const auto &c : cases) {
    EXPECT_EQ(ostr_EqualIgnoringCase(c.first, c.second), c.equal) << c.second;
    EXPECT_EQ(ostr_EqualIgnoringCase(c.second, c.first), c.equal) << c.second;
  }
}

TEST(Text, NumbersAreWholeTexts) {
  // The C library rounds as well as we do, but takes more forms and heeds the locale.
  for (const char *text :
       {"0.1", "+5", " \t-2.5e3\r\n", "1E+2", ".5", "5.", "007", "-0", "+.5", "6378206.4", "1e-310",
        "1e-400", "-1e-400", "4.9e-324", "179769313486231570000e288"}) {
    const double expected = std::strtod(text, nullptr);
    double value = 77.0;
    EXPECT_EQ(ostr_ToDouble(text, &value), 1) << text;
    EXPECT_EQ(value, expected) << text;
    EXPECT_EQ(std::signbit(value), std::signbit(expected)) << text;
  }
  for (const char *text : {"", " ", "+", "-", ".", "+-5", "++5", "- 5", "5 6", "5x", "1e", "1e400",
                           "-1e400", "0x10", "inf", "-nan", "1,5", "1d3"}) {
    double value = 77.0;
    EXPECT_EQ(ostr_ToDouble(text, &value), 0) << text;
    EXPECT_EQ(value, 77.0) << text;
  }
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
  EXPECT_EQ(ostr_ToDouble("1", nullptr), 1);
  EXPECT_EQ(ostr_ToDouble(nullptr, nullptr), 0);
  EXPECT_EQ(ostr_ToInt32(nullptr, nullptr), 0);
}

/// A locale with a decimal comma, made on the spot, for the process.
class CommaLocale {
 public:
  CommaLocale() {
    std::string source = "comment_char %\nescape_char /\n";
    for (const char *category : {"LC_CTYPE", "LC_COLLATE", "LC_MONETARY", "LC_TIME", "LC_MESSAGES"})
      source += category + std::string("\ncopy \"POSIX\"\nEND ") + category + "\n";
    source += "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\n";
    source += "grouping -1\nEND LC_NUMERIC\n";
    const std::string command = "localedef -c -i '" + directory_.write("source", source) +
                                "' -f ANSI_X3.4-1968 '" + directory_.path() + "/comma'";
    if (FILE *run = popen((command + " >/dev/null 2>&1").c_str(), "r")) pclose(run);
    setlocale(LC_ALL, "comma");
  }
  ~CommaLocale() { setlocale(LC_ALL, "C"); }
  bool active() const {
    char native[16];
    std::snprintf(native, sizeof native, "%.1f", 0.5);
    return native == std::string("0,5");
  }

 private:
  TemporaryDirectory directory_;
  ScopedEnvironment path_{"LOCPATH", directory_.path().c_str()};
};

TEST(Text, TheLocaleOfTheProcessDoesNotMatter) {
  const CommaLocale locale;
  if (!locale.active()) GTEST_SKIP() << "localedef makes no locale with a decimal comma";
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
  EXPECT_TRUE(locale.active()) << "the caller's locale must be given back";
}

TEST(Nearest, SuggestsWhatWasProbablyMeant) {
  const std::vector<std::string> projections = {"UTM",
                                                "State Plane",
                                                "Albers Conical Equal Area",
                                                "Lambert Conformal Conic",
                                                "Mercator",
                                                "Lambert Azimuthal Equal-area",
                                                "Transverse Mercator",
                                                "Oblique Mercator (Hotine)",
                                                "Mercator",
                                                std::string(1000, 'a')};
  const std::pair<std::string, const char *> cases[] = {
      {"Mercatro", " (nearest: \"Mercator\")"},  // neighbours swapped: one edit
      {"mercator",
       " (nearest: \"Mercator\", \"Transverse Mercator\", \"Oblique Mercator (Hotine)\")"},
      {"LAMBERT", " (nearest: \"Lambert Conformal Conic\", \"Lambert Azimuthal Equal-area\")"},
      {"UTN", " (nearest: \"UTM\")"},
      {"Stat Plain", " (nearest: \"State Plane\")"},
      {"albers conic equal area", " (nearest: \"Albers Conical Equal Area\")"},
      {"xy", ""},
      {"", ""},
      {"something else altogether", ""},
      {std::string(1000, 'a'), ""}};
  for (const auto &[query, hint] : cases)
    EXPECT_EQ(orvik::toolkit::nearestHint(query, projections), hint) << query.substr(0, 80);
  const char *const withHoles[] = {nullptr, "UTM", nullptr};
  const char *found[3];
  EXPECT_EQ(ostr_NearestNames("UTN", withHoles, 3, found), 1);
  EXPECT_STREQ(found[0], "UTM");
}

}  // namespace
