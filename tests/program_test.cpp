// The program as its users meet it: arguments and input in; results, messages and exit status out.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Outcome {
  int status;
  std::string out, err;
};

class Program : public testing::Test {
 protected:
  Program() {
    static int number = 0;
    folder_ = fs::temp_directory_path() /
              ("oprj-program-" + std::to_string(getpid()) + "-" + std::to_string(number++));
    fs::create_directories(folder_);
  }
  ~Program() override { fs::remove_all(folder_); }

  std::string path(const std::string &name) const { return (folder_ / name).string(); }
  std::string write(const std::string &name, const std::string &text) const {
    std::ofstream(path(name), std::ios::binary) << text;
    return path(name);
  }
  static std::string read(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
  }
  /// Runs `PREFIX oprj ARGUMENTS` with `input` on standard input. The search paths are unset: the
  /// program finds its data.
  Outcome run(const std::string &arguments, const std::string &input = "",
              const std::string &prefix = "") const {
    const std::string command = "env -u ORVIK_PROJECTIONS_PATH -u ORVIK_DATUMS_PATH " + prefix +
                                " " OPRJ_BINARY_DIR "/bin/oprj " + arguments + " < " +
                                write("in", input) + " > " + path("out") + " 2> " + path("err");
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read(path("out")), read(path("err"))};
  }

  static constexpr const char *kFromTo =
      "project --from 'geographic; datum=NAD27 (CONUS)' --to 'utm; zone=18; datum=WGS 84' ";

 private:
  fs::path folder_;
};

bool contains(const std::string &text, const std::string &part) {
  return text.find(part) != std::string::npos;
}

TEST_F(Program, ReplacesTheCoordinatesAndKeepsTheRest) {
  struct {
    const char *options, *in, *out;
  } const cases[] = {
      // delimiters, by what the first line holds
      {"", "-75 40\n", "500033.67 4427758.55\n"},
      {"", "-75,40,a b\n", "500033.67,4427758.55,a b\n"},
      {"", "-75;40;x\n", "500033.67;4427758.55;x\n"},
      {"", "-75\t40\tx\n", "500033.67\t4427758.55\tx\n"},
      {"", "  -75   40  tail\n", "  500033.67   4427758.55  tail\n"},
      // headers name the columns, and follow the results
      {"", "name,lat,lon\nA,40,-75\n", "name,northing,easting\nA,4427758.55,500033.67\n"},
      {"--columns Rechts,Hoch", "id,Hoch,Rechts\n1,40,-75\n",
       "id,northing,easting\n1,4427758.55,500033.67\n"},
      {"--columns 3,2", "1,40,-75\n", "1,4427758.55,500033.67\n"},
      {"--columns 3,2 --header yes", "a,b,c\n1,40,-75\n",
       "a,northing,easting\n1,4427758.55,500033.67\n"},
      // line ends, a byte order mark, no last line end, quotes, signs, degrees minutes seconds
      {"", "-75,40\r\n-75,40\r\n", "500033.67,4427758.55\r\n500033.67,4427758.55\r\n"},
      {"", "\xEF\xBB\xBF-75,40", "500033.67,4427758.55"},
      {"", "\"-75\",\"+40\",\"a,b\"\n", "500033.67,4427758.55,\"a,b\"\n"},
      {"", "-75:00:00,40:00:00\n", "500033.67,4427758.55\n"},
      {"", "", ""},
  };
  for (const auto &row : cases) {
    const Outcome outcome = run(kFromTo + std::string("--digits 2 ") + row.options, row.in);
    EXPECT_EQ(outcome.out, row.out) << row.in;
    EXPECT_EQ(outcome.status, 0) << row.in << outcome.err;
    EXPECT_EQ(outcome.err, "") << row.in;
  }
}

TEST_F(Program, ABadLineKeepsItsPlaceAndIsToldWithReason) {
  const Outcome outcome =
      run(kFromTo + std::string("--digits 2"),
          "-75,40\nabc,def\n,\n-75\n\n-75,95\n-400,40\n-75,4O\nnan,40\n1e999,2\n-75,40\n");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out,
            "500033.67,4427758.55\nnan,nan\nnan,nan\nnan,nan\nnan,nan\nnan,nan\nnan,nan\nnan,"
            "nan\nnan,nan\nnan,nan\n"
            "500033.67,4427758.55\n");
  const char *const reasons[] = {
      "<stdin>:2:1: a coordinate is not a number", "<stdin>:3:1: a coordinate is missing",
      "<stdin>:4:4: the line has too few columns", "<stdin>:5:1: the line is blank",
      "<stdin>:6:5: latitude beyond 90 degrees",   "<stdin>:7:1: longitude beyond 360 degrees",
      "<stdin>:8:5: a coordinate is not a number", "<stdin>:9:1: a coordinate is not a number",
      "<stdin>:10:1: a coordinate is not a number"};
  for (const char *reason : reasons)
    EXPECT_TRUE(contains(outcome.err, reason)) << reason << "\n" << outcome.err;
}

TEST_F(Program, TellsTwentyReasonsAndThenASummary) {
  std::string in;
  for (int i = 0; i < 3000; ++i) in += i % 2 ? "-75 40\n" : "-75 99\n";
  const Outcome outcome = run(kFromTo + std::string("--report json"), in);
  EXPECT_EQ(outcome.status, 1);
  size_t lines = 0;
  for (size_t at = 0; (at = outcome.err.find("<stdin>:", at)) != std::string::npos; ++at) ++lines;
  EXPECT_EQ(lines, 20u);
  EXPECT_TRUE(contains(outcome.err, "1500 of 3000 points failed"));
  EXPECT_TRUE(contains(outcome.err, "1500: latitude beyond 90 degrees"));
  EXPECT_TRUE(contains(
      outcome.err,
      "{\"points\": 3000, \"failed\": 1500, \"causes\": {\"latitude beyond 90 degrees\": 1500}}"));
}

TEST_F(Program, PointsThatAProjectionRefusesAreToldWithTheirLine) {
  // The far hemisphere cannot be drawn by an orthographic map; lines 1500 on are a second batch's.
  std::string in;
  for (int i = 0; i < 3000; ++i) in += i == 1500 || i == 2999 ? "100 -40\n" : "-80 40\n";
  const Outcome outcome =
      run("project --from 'geographic; datum=WGS 84' --to 'Orthographic; datum=WGS 84; lon_0=-80; "
          "lat_0=40'",
          in);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_TRUE(contains(outcome.err, "<stdin>:1501:1: Point cannot be projected\n")) << outcome.err;
  EXPECT_TRUE(contains(outcome.err, "<stdin>:3000:1: Point cannot be projected\n")) << outcome.err;
  EXPECT_TRUE(contains(outcome.out, "nan nan\n"));
}

TEST_F(Program, RefusesWhatItDoesNotKnowWithTheNearestNames) {
  struct {
    const char *from;
    int status;
    const char *message;
  } const cases[] = {
      {"geographc; datum=WGS 84", 3, "(did you mean \"Geographic\"?)"},
      {"geographic; datum=WGS84", 3, "\"WGS 84\""},
      {"geographic; spheroid=Clarke 1886", 3, "\"Clarke 1866\""},
      {"geographic; datum=WGS 84; lat_0=3", 3, "has no key \"lat_0\""},
      {"utm; zone=61; datum=WGS 84", 3, "UTM zones are 1 to 60"},
      {"utm; datum=WGS 84", 3, "utm needs a zone"},
      {"utm; zone=17", 3, "needs a datum"},
      {"utm; zone=17; datum=WGS 84; spheroid=Clarke 1866", 3, "belongs to the spheroid \"WGS 84\""},
      {"utm; zone=17; datum=WGS 84; lon_o=3", 3, "has no key \"lon_o\""},
      {"Transverse Mercator; datum=WGS 84; lon_o=3", 3, "did you mean \"lon_0\""},
      {"Transverse Mercator; datum=WGS 84; lon_0=x", 3, "not an angle"},
      {"Transverse Mercator; datum=WGS 84; k_0=0", 3, "Invalid scale factor"},
      {"Transverse Mercator; datum=WGS 84; lon_0=3; lon_0=4", 3, "given twice"},
      {"Transverse Mercator; datum=WGS 84; p15=3", 3, "p0 to p14"},
      {"99; datum=WGS 84", 3, "no projection number 99"},
      {"34; datum=WGS 84", 3, "Projection Engine"},
      {"state plane; zone=Texas Centrall; nad=83", 3, "Texas"},
      {"PROJCS[\"x\"]", 3, "cannot be read"},
      {"geographic; datum=WGS 84; units=furlongz", 3, "furlongz"},
      {"geographic; datum=WGS 84; units=meters", 3, "not a unit of angle"},
      {"", 3, "empty"},
      {"geographic; a=-1", 3, "Invalid spheroid axes"},
  };
  for (const auto &row : cases) {
    const Outcome outcome = run(
        std::string("project --from '") + row.from + "' --to 'geographic; datum=WGS 84'", "1 2\n");
    EXPECT_EQ(outcome.status, row.status) << row.from << "\n" << outcome.err;
    EXPECT_TRUE(contains(outcome.err, row.message)) << row.from << "\n" << outcome.err;
    EXPECT_EQ(outcome.out, "") << row.from;
  }
}

TEST_F(Program, AMissingGridIsFatalOnlyWhenAShiftNeedsIt) {
  const Outcome needed =
      run("project --from 'geographic; datum=NAD27' --to 'utm; zone=18; datum=WGS 84'", "-75 40\n");
  EXPECT_EQ(needed.status, 3);
  EXPECT_TRUE(contains(needed.err, "nad27.dat")) << needed.err;
  EXPECT_TRUE(contains(needed.err, "ORVIK_DATUMS_PATH")) << needed.err;
  const Outcome notNeeded =
      run("project --digits 2 --from 'geographic; datum=NAD27' --to 'utm; zone=18; datum=NAD27'",
          "-75 40\n");
  EXPECT_EQ(notNeeded.status, 0) << notNeeded.err;
  EXPECT_EQ(notNeeded.out, "500000.00 4427547.18\n");
}

TEST_F(Program, TellsASkippedShift) {
  const Outcome outcome =
      run("project --from 'geographic; datum=WGS 84' --to 'utm; zone=18; spheroid=Clarke 1866'",
          "-75 40\n-74 40\n");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_TRUE(contains(outcome.err, "without a datum"));
  EXPECT_TRUE(contains(outcome.err, "2 points were not shifted")) << outcome.err;
}

TEST_F(Program, BinaryAgreesWithText) {
  const double in[] = {-75, 40, -74.5, 41, 400, 1, NAN, 2};
  std::string bytes(reinterpret_cast<const char *>(in), sizeof in);
  const Outcome outcome = run(kFromTo + std::string("--binary -o ") + path("bin"), bytes);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_TRUE(contains(outcome.err, "<stdin>:3:1: longitude beyond 360 degrees")) << outcome.err;
  const std::string result = read(path("bin"));
  ASSERT_EQ(result.size(), sizeof in);
  double out[8];
  std::memcpy(out, result.data(), sizeof out);
  const Outcome text = run(kFromTo, "-75 40\n-74.5 41\n");
  double x, y;
  std::istringstream(text.out) >> x >> y;
  EXPECT_EQ(out[0], x);
  EXPECT_EQ(out[1], y);
  EXPECT_TRUE(std::isnan(out[4]) && std::isnan(out[6]));
  const Outcome cut = run(kFromTo + std::string("--binary"), bytes.substr(0, 20));
  EXPECT_EQ(cut.status, 4);
  EXPECT_TRUE(contains(cut.err, "middle of a point")) << cut.err;
}

TEST_F(Program, InputAndOutputFailuresAreNoticed) {
  const std::string points = write("points", "-75 40\n");
  EXPECT_EQ(run(kFromTo + path("missing")).status, 4);
  EXPECT_EQ(run(kFromTo + std::string("-o /dev/full ") + points).status, 4);
  EXPECT_EQ(run(kFromTo + std::string("-o /nowhere/out ") + points).status, 4);
  const Outcome same = run(kFromTo + std::string("-o ") + points + " " + points);
  EXPECT_EQ(same.status, 2);
  EXPECT_EQ(read(points), "-75 40\n");  // not emptied
  std::string many;
  for (int i = 0; i < 100000; ++i) many += "-75 40\n";
  const std::string file = write("many", many);
  const int status =
      std::system(("(" OPRJ_BINARY_DIR "/bin/oprj " + std::string(kFromTo) + file + " 2> " +
                   path("err") + "; echo $? > " + path("code") + ") | head -n 1 > /dev/null")
                      .c_str());
  EXPECT_EQ(status, 0);
  EXPECT_EQ(read(path("code")), "4\n");
  EXPECT_TRUE(contains(read(path("err")), "cannot write"));
}

TEST_F(Program, UsageErrorsHaveStatusTwo) {
  for (const char *arguments :
       {"", "projekt", "project", "project --from x", "list", "list planets",
        "project --digits 99 --from a --to b", "project --csv --binary --from a --to b"})
    EXPECT_EQ(run(arguments).status, 2) << arguments;
  EXPECT_EQ(run("--help").status, 0);
  EXPECT_TRUE(contains(run("--help").out, "longitude, latitude"));
  EXPECT_TRUE(contains(run("--version").out, "oprj "));
  EXPECT_EQ(
      run("project --columns 1 --from 'geographic; datum=WGS 84' --to 'utm; zone=1; datum=WGS 84'",
          "1 2\n")
          .status,
      2);
}

TEST_F(Program, ReadsSeveralFilesInOrderAndStandardInputBetween) {
  const std::string a = write("a", "-75 40\n"), b = write("b", "-75 40\n");
  const Outcome outcome = run(kFromTo + std::string("--digits 0 ") + a + " - " + b, "-74 40\n");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "500034 4427759\n585397 4428237\n500034 4427759\n");
}

TEST_F(Program, GeographicResultsInDegreesMinutesSeconds) {
  const std::string command =
      "project --from 'utm; zone=18; datum=WGS 84' --to 'geographic; datum=WGS 84' --dms ";
  EXPECT_EQ(run(command + "--digits 3", "500000 0\n").out, "-75:00:00.000 0:00:00.000\n");
  EXPECT_EQ(run(command + "--digits 2", "500000 4427757.2187\n").out, "-75:00:00.00 40:00:00.00\n");
}

TEST_F(Program, TheSamePointByEveryWayToNameAZone) {
  std::string first;
  for (const char *zone : {"zone=405", "zone=-405", "zone=California 5", "zone=California Zone 5",
                           "zone=california, 5"}) {
    const Outcome outcome =
        run(std::string(
                "project --digits 3 --from 'geographic; datum=NAD83 (DMA)' --to 'state plane; ") +
                zone + "; nad=83; datum=NAD83 (DMA)'",
            "-118 34\n");
    EXPECT_EQ(outcome.status, 0) << zone << outcome.err;
    if (first.empty()) first = outcome.out;
    EXPECT_EQ(outcome.out, first) << zone;
  }
}

TEST_F(Program, DescribesExplainsLists) {
  const Outcome described = run("describe 'utm; zone=17; datum=NAD27 (CONUS)'");
  EXPECT_EQ(described.status, 0);
  for (const char *part : {"UTM, Zone 17", "Clarke 1866", "6378206.4",
                           "dX = -8, dY = 160, dZ = 176", "easting, northing in meters"})
    EXPECT_TRUE(contains(described.out, part)) << part << "\n" << described.out;
  const Outcome explained =
      run("explain --from 'utm; zone=17; datum=NAD27 (CONUS)' --to 'geographic; datum=WGS 84'");
  EXPECT_TRUE(contains(explained.out, "Molodensky")) << explained.out;
  const std::pair<const char *, size_t> lists[] = {
      {"projections", 70}, {"spheroids", 73}, {"datums", 1000}, {"zones", 259}, {"units", 30}};
  for (const auto &[what, least] : lists) {
    const Outcome listed = run(std::string("list ") + what);
    EXPECT_GE(static_cast<size_t>(std::count(listed.out.begin(), listed.out.end(), '\n')), least)
        << what;
    const std::string json = write("json", run(std::string("list --json ") + what).out);
    const std::string count = "python3 -c 'import json; print(len(json.load(open(\"" + json +
                              "\"))))' > " + path("count");
    EXPECT_EQ(std::system(count.c_str()), 0) << what;
    EXPECT_GE(std::atoi(read(path("count")).c_str()), static_cast<int>(least)) << what;
  }
}

TEST_F(Program, DefineAsksAndEndsCleanlyAtEndOfInput) {
  const Outcome answered =
      run("define", "No such thing\nUTM\nClarke 1866\nNAD27 (CONUS)\n61\n17\n0\n");
  EXPECT_EQ(answered.status, 0) << answered.err << answered.out;
  EXPECT_TRUE(contains(answered.out, "Invalid name. Enter again!")) << answered.out;
  EXPECT_TRUE(contains(answered.out, "Invalid value. Enter again!")) << answered.out;
  EXPECT_TRUE(contains(answered.out, "Zone number = 17")) << answered.out;
  const Outcome ended = run("define", "UTM\n");
  EXPECT_EQ(ended.status, 3);
  EXPECT_TRUE(contains(ended.err, "End of input")) << ended.err;
}

TEST_F(Program, OneInstructionSetAsGoodAsAnother) {
  const std::string in = "-75.1 40.2\n-76.3 41.7\n-72.2 33.3\n-77 45\n";
  const Outcome wide = run(kFromTo + std::string("--digits 6"), in);
  for (const char *set : {"baseline", "avx2", "avx512"})
    EXPECT_EQ(run(kFromTo + std::string("--digits 6"), in, std::string("OPRJ_ISA=") + set).out,
              wide.out)
        << set;
  EXPECT_TRUE(contains(run("list units", "", "OPRJ_ISA=mmx").err, "OPRJ_ISA=mmx"));
}

TEST_F(Program, TheManualComesFromTheOptionTable) {
  const Outcome manual = run("manual");
  for (const char *part : {".TH OPRJ 1", "COMMAND project", "\\-\\-columns", "EXIT STATUS"})
    EXPECT_TRUE(contains(manual.out, part)) << part;
  EXPECT_TRUE(contains(run("manual --completion").out, "complete -F _oprj oprj"));
}

}  // namespace
