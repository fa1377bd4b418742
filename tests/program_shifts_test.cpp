// The program and datum shifts: grid files, points that a shift does not cover, surface datums.
#include "tests/program_support.h"

namespace {

using namespace orvik::test;

class ProgramShifts : public ProgramTest {};

TEST_F(ProgramShifts, TellsOfGridFiles) {
  const std::string data = OPRJ_SOURCE_DIR "/data/", proj = "/usr/share/proj/";
  const std::string ours = path("g.tif"), heights = path("h.tif");
  folder_.write("text", "no grid");
  folder_.write("nad27.info", "\"conus\" 0.15\n\"bad\" line\n");
  std::filesystem::copy_file(data + "nad27.dat", path("nad27.dat"));
  const std::string geographic = "--from 'geographic; datum=NAD27' --to 'geographic; datum=HARN' ";
  struct {
    std::string arguments;
    int status;
    const char *out, *err;
  } const cases[] = {
      {"grid info " + data + "nad27.dat", 0,
       "multi-grid, shifts|conus|-131|0.15 m (NADCON, US National Geodetic Survey)", ""},
      {"grid info " + path("nad27.dat"), 0, "0.15 m\n", "nad27.info:2: not an accuracy"},
      {"grid info " + proj + "nzgd2kgrid0005.gsb", 0,
       "from \"NZGD49\" to \"NZGD2000\"|163.878  192.403  218.034|up to 0.169 m (nodes)", ""},
      {"grid info --json " + proj + "egm96_15.gtx", 0,
       "\"columns\": 1440|\"least m\": -106.991|\"most m\": 85.391", ""},
      {"grid convert " + data + "nad27.dat " + ours, 0, "", ""},
      {"grid check " + data + "nad27.dat " + ours, 0, "313664 nodes|largest 0.000000 m", ""},
      {"grid convert --format geotiff " + proj + "egm96_15.gtx " + heights, 0, "", ""},
      {"grid check --json --within 0 " + heights + " " + proj + "egm96_15.gtx", 0,
       "\"nodes\": 1038240, \"outside\": 0|\"most\": 0,", ""},
      {"grid check " + proj + "CHENYX06.gsb " + proj + "CHENYX06_etrs.gsb", 1,
       "largest|differ by more", ""},
      {"grid check " + heights + " " + ours, 3, "", "one holds shifts"},
      {"grid convert " + data + "nad27.dat " + path("x.gsb"), 3, "",
       "NTv2 cannot hold this grid: Sub-grids \"canada"},
      {"grid convert " + ours + " " + path("none/x.dat"), 4, "", "cannot be written"},
      {"grid convert " + ours + " " + path("x"), 2, "", "--format does"},
      {"grid info " + path("text"), 3, "", "not a grid file of a known format"},
      {"grid info a b", 2, "", "takes one file"},
      {"__complete grid i", 0, "info\n", ""},
      {"__complete grid info x", 0, "<files>\n", ""},
      {"explain " + geographic + "--at -122.4194 37.7749", 0,
       "a. \"NAD27\" to \"NAD83\": grid |nad27.dat, 25 sub-grids, accurate to 0.05 to 2 m|sub-grid "
       "\"conus\", accurate to 0.15 m|-3.89583\" east, -0.25375\" north|b. \"NAD83\" to "
       "\"HARN\"|\"cn 2\", accurate to 0.05 m",
       ""},
      {"explain " + geographic + "--at 10 50", 0, "outside of every sub-grid, passes unshifted",
       ""},
      {"explain --from 'geographic; datum=HARN' --to 'geographic; datum=WGS 84'", 0,
       "harn.dat, against its direction|b. \"NAD83 (DMA)\" to \"WGS 84\": parameters", ""},
      {"explain " + geographic + "--at 10 95", 2, "", "--at takes a longitude"},
      {"draw -o " + path("m.svg"), 2, "", "a coordinate system is missing"},
      {"draw --shift NAD27 NAD27 -o " + path("m.svg"), 2, "", "nothing to shift"},
      {"draw --grid " + path("text") + " -o " + path("m.svg"), 3, "", "not a grid file"},
      {"draw utm --area 10 20 30 -o " + path("m.svg"), 2, "", ""},
      // from the Aleutian Islands to Greenland, across 180 degrees; the globe
      {"-v draw --no-coast --grid " + data + "nad27.dat -o " + path("m.svg"), 0, "",
       "sheet from 2.763|to 5.649"},
      {"-v draw --no-coast --grid " + proj + "egm96_15.gtx -o " + path("m.svg"), 0, "",
       "sheet from -3.14|to 3.14"},
  };
  for (const auto &row : cases) {
    SCOPED_TRACE(row.arguments);
    const Outcome outcome = run(row.arguments);
    EXPECT_EQ(outcome.status, row.status) << outcome.err;
    expectParts(outcome.out, row.out);
    expectParts(outcome.err, row.err);
  }
  // an extent is drawn and named; arrows stand where there is a shift, as long as it is great
  ASSERT_EQ(run("draw --no-coast --grid " + proj + "nzgd2kgrid0005.gsb -o " + path("m.svg")).status,
            0);
  const std::string plain = readFile(path("m.svg"));
  ASSERT_EQ(
      run("draw --no-coast --shift NAD27 NAD83 --area -130 20 -60 50 -o " + path("m.svg")).status,
      0);
  const std::string arrows = readFile(path("m.svg"));
  const auto count = [](const std::string &text, const std::string &part) {
    size_t found = 0;
    for (size_t at = 0; (at = text.find(part, at)) != text.npos; ++at) ++found;
    return found;
  };
  const std::string overlayInk = "69.019608%";  // 0xB0 of 255: nothing else has it
  EXPECT_GT(count(plain, overlayInk), 0u);
  EXPECT_GT(count(arrows, overlayInk), 100u);
}

TEST_F(ProgramShifts, AMissingGridIsFatalOnlyWhenAShiftNeedsIt) {
  folder_.write("spheroid_lost.tab",
                "\"Ball\" { 99 6370997 6370997 \"Lost\" grid \"lost.dat\" description \"\" }");
  const std::string lost = "'geographic; datum=Lost; spheroid=Ball'",
                    other = " --to 'geographic; datum=WGS 84'";
  struct {
    std::string arguments;
    int status;
    std::string out, err;
  } const cases[] = {
      {"project --from " + lost + other, 3, "",
       "needs the grid of \"Lost\"|lost.dat|ORVIK_DATUMS_PATH|" + folder_.path()},
      {"explain --from " + lost + other, 3, "lost.dat", ""},
      {"project --from " + lost + " --to 'Sinusoidal; datum=Lost; spheroid=Ball'", 0, "0 0\n", ""},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.arguments);
    const Outcome outcome = run(c.arguments, "0 0\n", "ORVIK_DATUMS_PATH=" + folder_.path());
    EXPECT_EQ(outcome.status, c.status) << outcome.err;
    expectParts(outcome.out, c.out);
    expectParts(outcome.err, c.err);
  }
}

// What a datum shift does not cover passes as it is and is counted, or fails where that is asked.
TEST_F(ProgramShifts, PointsThatAShiftDoesNotCover) {
  const std::string report = path("report.json");
  struct {
    std::string from, in, out, told, count;
  } const cases[] = {
      {"NAD27", "144.8 13.5\n-100 40\n", "144.800000 13.500000\n-100.000406 40.000006\n",
       "1 point lies outside of the datum's grid", "\"outside_grid\": 1,"},
      {"NAD27 (CONUS) (MRE)", "-60 40\n", "", "outside of the area", "\"outside_regression\": 1,"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.from);
    const std::string job = "project --digits 6 --from 'geographic; datum=" + c.from +
                            "' --to 'geographic; datum=NAD83' ";
    const Outcome passed = run(job + "--report " + report, c.in);
    EXPECT_EQ(passed.status, 0) << passed.err;
    if (!c.out.empty()) {
      EXPECT_EQ(passed.out, c.out);
    }
    expectParts(passed.err, c.told + "|--strict");
    expectParts(readFile(report), c.count);
    const Outcome strict = run(job + "--strict", c.in);
    EXPECT_EQ(strict.status, 1);
    expectParts(strict.out, "nan nan");
    expectParts(strict.err, "1:1: outside");
  }
}

TEST_F(ProgramShifts, SurfaceDatumsOfATableShiftAreCountedAndExplained) {
  folder_.write("spheroid-own.tab",
                "\"Clarke 1866\" { 0 6378206.4 6356583.8\n"
                "\"Town\" surface vector \"town.txt\" basedatum \"NAD27 (CONUS)\"\n"
                "\"Lost\" surface vector \"lost.txt\" basedatum \"NAD27 (CONUS)\"\n"
                "\"Loop\" surface constant longitude 1 latitude 1 basedatum \"Loop\" }\n");
  folder_.write("town.txt", "-101 39 9 0\n-99 39 9 9\n-99 41 9 9\n-101 41 9 0\n");
  const std::string own = "ORVIK_DATUMS_PATH=" + folder_.path();
  const auto between = [](const std::string &from, const std::string &to) {
    return " --from \"geographic; datum=" + from + "\" --to \"geographic; datum=" + to + "\"";
  };
  const std::string town = between("Town", "NAD27 (CONUS)") + " --digits 6";
  Outcome shifted = run("project" + town, "-100 40\n-98 40\n", own);
  EXPECT_EQ(shifted.out, "-99.997500 40.001250\n-98.000000 40.000000\n");
  EXPECT_NE(shifted.err.find("1 point lies outside"), std::string::npos) << shifted.err;
  EXPECT_EQ(shifted.status, 0);
  EXPECT_EQ(run("project --strict" + town, "-98 40\n", own).status, 1);
  EXPECT_EQ(run("project" + between("Lost", "WGS 84"), "-100 40\n", own).status, 3);
  shifted = run("project" + between("Loop", "WGS 84"), "-100 40\n", own);
  EXPECT_EQ(shifted.out, "nan nan\n");
  EXPECT_NE(shifted.err.find("is it its own?"), std::string::npos) << shifted.err;
  expectParts(
      run("explain" + between("Town", "WGS 84"), "", own).out,
      "over its area it moves coordinates by|a. \"Town\" to \"NAD27 (CONUS)\": shift surface, "
      "between scattered points, covers -101 39 to -99 41, accuracy not published\n|b. \"NAD27 "
      "(CONUS)\" to \"WGS 84\": parameters, published accuracy of \"NAD27 (CONUS)\": sigma 5 5 "
      "6 m (TR 8350.2 NAS-C)\n");
  expectParts(run("explain --at=-100,40" + between("NAD27", "Town"), "", own).out,
              "c. \"NAD27 (CONUS)\" to \"Town\"|, against its direction, accuracy|\" east");
  expectParts(run("explain --at=-98,40" + between("Town", "Town"), "", own).out,
              "points are copied");
  expectParts(run("explain --at=-98,40" + between("Town", "NAD27 (CONUS)"), "", own).out,
              "outside of the surface, passes unshifted");
  const Outcome loop = run("explain" + between("Loop", "WGS 84"), "", own);
  EXPECT_NE((loop.out + loop.err).find("is it its own?"), std::string::npos)
      << loop.out << loop.err;
}

}  // namespace
