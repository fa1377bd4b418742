// Coordinate systems in the program: the forms in which they are taken and written, compared,
// checked and found.
#include <sys/stat.h>
#include <unistd.h>

#include <sstream>

#include "tests/program_support.h"

namespace {

using namespace orvik::test;

class ProgramSystems : public ProgramTest {
 protected:
  const std::string utm_ =
      R"(PROJCS["NAD_1983_UTM_Zone_17N",GEOGCS["GCS_North_American_1983",DATUM["D_North_American_1983",SPHEROID["GRS_1980",6378137.0,298.257222101]],PRIMEM["Greenwich",0.0],UNIT["Degree",0.0174532925199433]],PROJECTION["Transverse_Mercator"],PARAMETER["False_Easting",500000.0],PARAMETER["False_Northing",0.0],PARAMETER["Central_Meridian",-81.0],PARAMETER["Scale_Factor",0.9996],PARAMETER["Latitude_Of_Origin",0.0],UNIT["Meter",1.0]])";
};

TEST_F(ProgramSystems, GoFromOneFormToAnother) {
  const std::string file = folder_.write("a.PRJ", "\xEF\xBB\xBF" + utm_ + "\r\n");
  const std::string odd =
      folder_.write("odd.prj", "PROJCS(\"x\"" + utm_.substr(30, utm_.size() - 31) + ",A[B,\"c\"])");
  const struct {
    std::string system, form, out;
  } cases[] = {
      {"'utm; zone=17; datum=NAD83'", "wkt", utm_ + "\n"},
      {"'utm; zone=17; datum=NAD83'", "prj", utm_},
      {"'" + utm_ + "'", "text", "UTM; datum=NAD83; zone=17N\n"},
      {file, "text", "UTM; datum=NAD83; zone=17N\n"},
      {file, "wkt", utm_ + "\n"},
      {odd, "prj", "PROJCS[\"x\"" + utm_.substr(30, utm_.size() - 31) + ",A[B,\"c\"]]"},
      {"'Transverse Mercator; datum=WGS 84; k_0=-1; lon_0=15'", "text",
       "Transverse Mercator; datum=WGS 84; k_0=-1; lon_0=15\n"},
      {"'state plane; zone=405; datum=NAD83; units=us_survey_feet'", "text",
       "State Plane; datum=NAD83; zone=405; nad=83; units=us_survey_feet\n"},
  };
  for (const auto &[system, form, out] : cases) {
    const Outcome outcome = run("convert " + system + " --to " + form);
    EXPECT_EQ(outcome.out, out) << outcome.err;
    EXPECT_EQ(outcome.status, 0);
  }
  EXPECT_EQ(run("convert " + file + " --to wkt -o " + path("out.wkt")).status, 0);
  EXPECT_EQ(readFile(path("out.wkt")), utm_ + "\n");
  // What is no file stays what it is: a link, whose file is written, and a pipe.
  ASSERT_EQ(symlink(path("out.wkt").c_str(), path("link").c_str()), 0);
  ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(run("convert " + file + " --to prj -o " + path("link")).status, 0);
  EXPECT_EQ(readFile(path("out.wkt")), utm_);
  EXPECT_EQ(run("convert " + file + " --to prj -o " + path("pipe"), "", "",
                "& { cat " + path("pipe") + "; wait; test -L " + path("link") + " -a -p " +
                    path("pipe") + "; }")
                .out,
            utm_);
  // Nothing is left behind of what cannot be written.
  EXPECT_EQ(run("convert 'Sinusoidal; datum=WGS 84' --to prj -o " + path("none.prj")).status, 3);
  EXPECT_EQ(std::fopen(path("none.prj").c_str(), "r"), nullptr);
  EXPECT_EQ(run("convert " + file + " --to prj -o " + path("no/where")).status, 4);
  const Outcome projected =
      run("project --from 'geographic; datum=NAD83' --to " + file + " --digits 3", "-80 40\n");
  EXPECT_EQ(
      projected.out,
      run("project --from 'geographic; datum=NAD83' --to 'utm; zone=17; datum=NAD83' --digits 3",
          "-80 40\n")
          .out);
  for (const char *bad : {"nowhere.prj", "'PROJCS[\"x\"]'", "EPSG:", "EPSG:99999999", "EPSG:3a"})
    EXPECT_EQ(run("describe " + std::string(bad)).status, 3) << bad;
}

// Systems that only the engine computes, beside others of its own and of the library; and some that
// nobody computes.
TEST_F(ProgramSystems, WithoutANumberGoThroughEveryCommand) {
  const std::string wgs = "--from 'geographic; datum=WGS 84' --to ", file = path("earth.prj"),
                    layer = path("a.img::earth");
  EXPECT_EQ(run("convert EPSG:8857 --to prj -o " + file).status, 0);
  EXPECT_EQ(run("convert " + file + " --to node -o " + layer).status, 0);
  const struct {
    std::string arguments, input;
    int status;
    std::string told;  ///< in the output or among the messages
  } cases[] = {
      // PROJ's name for the parallel of 30 degrees is that of a map of the sphere, 28 km off
      {"project " + wgs + "EPSG:6933 --digits 3", "30 40\n", 0, "2894588.408 4707084.171\n"},
      {"project " + wgs + "EPSG:8857 --digits 3", "10 20\n", 0, "930502.549 2543374.082\n"},
      {"project " + wgs + file + " --digits 3", "10 20\n", 0, "930502.549 2543374.082\n"},
      {"project " + wgs + layer + " --digits 3", "10 20\n", 0, "930502.549 2543374.082\n"},
      {"project -I " + wgs + layer + " --digits 6", "930502.549 2543374.082\n", 0,
       "10.000000 20.000000\n"},
      {"project --from 'utm; zone=33; datum=WGS 84' --to EPSG:8857 --digits 1", "500000 0\n", 0,
       "0.0\n"},
      // By way of longitudes and latitudes, as the expected coordinates were made: shifted, from
      // a projection that the engine does not have, and between two of the engine's.
      {"project --from 'geographic; datum=NAD27' --to EPSG:8857 --digits 2", "-100 40\n", 0,
       "-8497532.48 4921020.72\n"},
      {"project --from '22; datum=NAD27' --to EPSG:8857 --digits 2", "500000 500000\n", 0,
       "-9918590.15 7105999.33\n"},
      {"project --from EPSG:4807 --to EPSG:8857 --digits 3", "0 50\n", 0,
       "192019.157 5466865.055\n"},
      {"explain " + wgs + "EPSG:8857", "", 0, "to WGS_1984_Equal_Earth_Greenwich\n"},
      {"explain --from EPSG:8858 --to " + layer, "", 0, "no shift: the same datum"},
      {"explain --from EPSG:8857 --to " + layer, "", 0, "Both systems are equal"},
      {"explain --from 'geographic; datum=NAD27' --to EPSG:8857", "", 0,
       "from \"NAD27\" by the grid of the datum, by way of NAD83"},
      {"explain --from EPSG:4807 --to EPSG:8857", "", 0, "standard Molodensky formulas"},
      {"describe " + layer, "", 0, "computed        by the Projection Engine\n"},
      {"describe EPSG:4807", "", 0, "longitude, latitude in grads\n"},
      {"convert " + layer + " --to prj", "", 0, readFile(file)},
      {"convert EPSG:8857 --to text", "", 3, "has no projection number, and so no such text"},
      {"draw EPSG:8858 -o " + path("map.svg"), "", 0, ""},
      {"diff EPSG:8857 EPSG:8858", "", 1, "Central_Meridian 0  |  -90\n"},
      {"diff " + file + " " + layer, "", 0, "No parameter differs."},
      {"find 930502.549 2543374.082 --near=10,20 --count 50", "", 0, "EPSG:8857 ("},
      {"describe ESRI:54050", "", 3, "not at all: World_Fuller: No formula for the projection"},
      {"project " + wgs + "ESRI:54051", "1 1\n", 3, "No formula for the projection \"Cube\""},
      {"explain " + wgs + "ESRI:54050", "", 3, "No formula for the projection \"Fuller\""},
      {"draw ESRI:54050 -o " + path("map.svg"), "", 3, "No formula for the projection"},
      {"diff ESRI:54050 EPSG:8857", "", 3, "No formula for the projection \"Fuller\""},
      {"convert ESRI:54051 --to wkt", "", 0, "PROJECTION[\"Cube\"]"},
  };
  for (const auto &[arguments, input, status, told] : cases) {
    const Outcome outcome = run(arguments, input);
    EXPECT_EQ(outcome.status, status) << arguments << "\n" << outcome.err;
    EXPECT_NE((outcome.out + outcome.err).find(told), std::string::npos)
        << arguments << "\n"
        << outcome.out << outcome.err;
  }
}

TEST_F(ProgramSystems, AreComparedOnTheGround) {
  const Outcome same = run("diff 'utm; zone=17; datum=NAD83' '" + utm_ + "'");
  EXPECT_EQ(same.status, 0) << same.out << same.err;
  EXPECT_NE(same.out.find("No parameter differs."), std::string::npos);
  EXPECT_NE(same.out.find("up to 0.000000 m apart"), std::string::npos) << same.out;
  // A metre of offset is a metre on the ground but for the scale of the map, here 0.9996.
  const Outcome moved = run(
      "diff 'Transverse Mercator; datum=WGS 84; k_0=0.9996' 'Transverse Mercator; datum=WGS 84; "
      "k_0=0.9996; x_0=1000' --area=0,0,0,60");
  EXPECT_EQ(moved.status, 1);
  EXPECT_NE(moved.out.find("x_0         -  |  1000"), std::string::npos) << moved.out;
  EXPECT_NE(moved.out.find("up to 1000.400 m apart"), std::string::npos) << moved.out;
  EXPECT_EQ(run("diff '5; datum=WGS 84' '5; datum=WGS 84' --area=1,2").status, 2);
}

TEST_F(ProgramSystems, AreCheckedForWhatIsDoubtful) {
  std::string text = utm_;
  const auto with = [&](const std::string &from, const std::string &to) {
    std::string changed = utm_;
    changed.replace(changed.find(from), from.size(), to);
    return changed;
  };
  const struct {
    std::string text, finding;
  } cases[] = {
      {utm_, ""},
      {utm_.substr(0, 200), "cannot be read: Byte 201"},
      {with("0.0174532925199433", "0.01745329"), "the factor 0.01745329 of \"Degree\" is cut"},
      {with("\"Meter\",1.0", "\"Foot\",0.3048006096012192"), "it is that of us_survey_feet"},
      {with("\"Meter\",1.0", "\"Stadion\",184.8"), "the unit \"Stadion\" is not known"},
      {with("298.257222101", "298.2572"), "axes are those of \"GRS 1980\" but for 1.585 mm"},
      {with("D_North_American_1983", "D_Nowhere"), "\"D_Nowhere\" is not in the tables"},
      {with("-81.0", "-81.016667"), "the value -81.016667 of \"Central_Meridian\" looks cut"},
      {with("\"Greenwich\",0.0", "\"Greenwich\",2.5"), "prime meridian \"Greenwich\" lies at 2.5"},
      {with("Transverse_Mercator", "Transversal_Mercator"),
       "projection \"Transversal_Mercator\" is not known (did you mean \"Transverse_Mercator\""},
      {with("Central_Meridian", "Centrall_Meridian"),
       "parameter \"Centrall_Meridian\" is not known (did you mean \"Central_Meridian\"?)"},
      {with("\"Latitude_Of_Origin\",0.0", "\"Latitude_Of_Origin\",95.0"),
       "the value 95 of \"Latitude_Of_Origin\" lies beyond a pole"},
      {with("Transverse_Mercator", "Fuller"), "No formula for the projection \"Fuller\""},
  };
  for (const auto &[prj, finding] : cases) {
    const Outcome outcome = run("check " + folder_.write("a.prj", prj));
    EXPECT_NE(outcome.out.find(finding), std::string::npos) << outcome.out;
    EXPECT_EQ(outcome.status, finding.empty() ? 0 : 1) << outcome.out << outcome.err;
  }
}

TEST_F(ProgramSystems, AreFoundByWordsAndByPlaces) {
  const Outcome codes = run("list codes 'wgs 84 /' 18n utm");
  EXPECT_NE(codes.out.find("EPSG:32618  projected  WGS 84 / UTM zone 18N"), std::string::npos)
      << codes.out << codes.err;
  EXPECT_EQ(run("list units metres").status, 2);
  const struct {
    std::string arguments, first;
  } cases[] = {
      {"500000 4649776.22 --near=-75,42", "utm; zone=18N; datum=WGS 84"},
      {"4649776.22 500000 --near=-75,42", "utm; zone=18N; datum=WGS 84, axes exchanged"},
      {"42 -75 --near=-75,42", "geographic; datum=WGS 84, axes exchanged"},
      {"1640416.67 15255139.84 --near=-75,42", "utm; zone=18N; datum=WGS 84, in us_survey_feet"},
  };
  for (const auto &[arguments, wanted] : cases) {
    const Outcome outcome = run("find --count 1000 " + arguments);
    std::istringstream lines(outcome.out);
    bool found = false;
    for (std::string line; std::getline(lines, line);) {
      found = found || (line.ends_with("km  " + wanted) && std::stod(line) < 0.002);
      EXPECT_EQ(line.find("ESRI:1049"), std::string::npos) << "a moon: " << line;
      EXPECT_EQ(line.find("(Alaska Zone 2"), std::string::npos) << "70 degrees away: " << line;
    }
    EXPECT_TRUE(found) << wanted << "\n" << outcome.out.substr(0, 400);
  }
  // Known to half a kilometre, no datum is nearer than another, and no mistake comes first.
  const std::string first = run("find --count 1 448262 5411932 --near 2.29 48.86").out;
  EXPECT_EQ(first.find("axes exchanged"), std::string::npos) << first;
  EXPECT_EQ(run("find 1 2 --near=x").status, 2);
}

TEST_F(ProgramSystems, StandInLibraries) {
  const std::string mine = path("mine.plib"),
                    geographic = "--from 'geographic; datum=WGS 84' --to ";
  const auto is = [&](const std::string &arguments, int status, const std::string &part) {
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.status, status) << arguments << "\n" << outcome.err;
    EXPECT_NE((outcome.out + outcome.err).find(part), std::string::npos)
        << arguments << "\n"
        << outcome.out << outcome.err;
  };
  is("library", 0, "State Plane     259   The zones");
  is("library UTM --match 'nad27 18s'", 0, "@UTM/NAD27 / UTM zone 18S");
  is("library --category wyoming --at=-105,43 --json", 0,
     "{\"system\": \"@State Plane/NAD27 / Wyoming East\", \"code\": \"EPSG:32055\", \"category\": "
     "\"NAD27/Wyoming\", \"units\": \"us_survey_feet\", \"west\": -106.33,");
  is("library like EPSG:32618", 0, "@UTM/WGS 84 / UTM zone 18N");
  is("library like 'Sinusoidal; datum=Tokyo (Japan)'", 1, "no library has a system");
  is("library nope", 3, "There is no projection library \"nope\"");
  is("describe '@UTM'", 3, "not of the form @LIBRARY/TITLE");
  is("describe '@UTM/WGS84 / UTM zone 18N'", 3, "(nearest: \"WGS 84 / UTM zone 18N\"");
  is("__complete describe '@UTM/wgs 84 / utm zone 18'", 0, "@UTM/WGS 84 / UTM zone 18S\n");
  is("__complete library ''", 0, "National grids\nState Plane\nUTM\nadd\ncheck\nlike\n");
  is("__complete library like Geog", 0, "Geographic");
  const std::string place = "-75.5 39\n";
  EXPECT_EQ(
      run("project " + geographic + "'@State Plane/NAD83 / Delaware (ftUS)'", place).out,
      run("project " + geographic + "'state plane; zone=700; nad=83; units=us_survey_feet'", place)
          .out);

  is("library add " + path("mine.txt") + " a 'utm; zone=3; nad=27'", 2, ".plib");
  is("library add " + mine + " Home EPSG:28992 --category 'A/B'", 0, "");
  is("library add " + mine + " home 'utm; zone=3; nad=27'", 3, "The title \"home\" is taken");
  is("library add " + mine + " Feet 'utm; zone=3; nad=27; units=feet'", 0, "");
  is("library add " + mine + " Earth EPSG:8857", 0, "");
  is("library check " + mine, 1, "\"Home\": The datum \"D_Amersfoort\" is not shifted");
  is("library check " + folder_.write("bad.plib", "library \"x\"\nitem"), 3, "bad.plib:2:5: ");
  is("library check " +
         folder_.write("odd.plib",
                       "library \"x\" item \"a\" { units \"ells\" 9 spheroid \"Ball\" }"),
     1, "there is no spheroid \"Ball\"");
  EXPECT_TRUE(readFile(mine).starts_with(
      "library \"mine\"\ncategory \"A\" {\n  category \"B\" {\n    item \"Home\" {\n      code "
      "\"EPSG:28992\" area 3.2 50.75 7.22 53.7\n      55 p 2 0.9999079 p 4 5.38763888888889 d p "
      "5 0.9102967268932401 p 6 155000 p 7 463000 spheroid \"Bessel\" datum \"D_Amersfoort\"\n   "
      " }\n  }\n}\nitem \"Feet\" {\n  units \"feet\"\n"))
      << readFile(mine);
  const std::string found =
      "ORVIK_PROJECTIONS_PATH=" + folder_.path() + ":" OPRJ_SOURCE_DIR "/data";
  for (const char *item : {"'@mine/feet'", "'@MINE/home'", "'@mine/Earth'"})
    EXPECT_EQ(run("describe " + std::string(item), "", found).status, 0) << item;
}

// What a program computes is run when it is allowed, and told of in any case.
TEST_F(ProgramSystems, OutsideOfTheProgramAreRunWhenAllowed) {
  const std::string bin = OPRJ_BINARY_DIR "/bin", program = bin + "/natural_earth",
                    system = "'external natural_earth; datum=WGS 84; p4=11.25d' ",
                    geographic = "'geographic; datum=WGS 84' ";
  const std::string dictionary = readFile(OPRJ_SOURCE_DIR "/data/mapprojections.dat") +
                                 "\"Natural Earth\" {\n\tExternal \"natural_earth\"\n"
                                 "\t\"Spheroid\" <spheroid>\n"
                                 "\t\"Central meridian\" <4:angle:dd> key \"lon_0\"\n"
                                 "\t\"Easting\" <6:distance:meters> key \"x_0\"\n"
                                 "\t\"Northing\" <7:distance:meters> key \"y_0\"\n}\n";
  folder_.write("mapprojections.dat", dictionary);
  const std::string refusal = "computed outside of this program, by the program " + program +
                              "; --allow-external runs it",
                    named = "'natural earth; datum=WGS 84; lon_0=11.25' ",
                    leaves = "     points leave this program for the program " + program + "\n";
  const std::string data = "ORVIK_PROJECTIONS_PATH='" OPRJ_SOURCE_DIR "/data;" + bin + "' ",
                    own = "ORVIK_PROJECTIONS_PATH='" + folder_.path() +
                          ";" OPRJ_SOURCE_DIR "/data;" + bin + "' ";
  const struct {
    std::string arguments, environment;
    int status;
    std::string out, err;
  } cases[] = {
      {"project --digits 3 --from " + geographic + "--to " + system, data, 3, "", refusal},
      {"project --digits 3 --allow-external --from " + geographic + "--to " + system, data, 1,
       "-85913.310 5388412.649\nnan nan\n", "latitude beyond 90 degrees"},
      {"project --digits 3 --allow-external --from " + geographic + "--to " + named, own, 1,
       "-85913.310 5388412.649\nnan nan\n", ""},
      {"describe " + system, data, 0, "by the program " + program + " (not tried", ""},
      {"describe --allow-external " + system, data, 0, "by the program " + program + "\n", ""},
      {"describe " + system, data, 0,
       "external natural_earth; datum=WGS 84; p4=0.19634954084936207", ""},
      {"describe " + named, own, 0, "Natural Earth; datum=WGS 84; lon_0=11.25", ""},
      {"describe 'external nothing; datum=WGS 84'", data, 0,
       "by nothing: Unable to find executable nothing or dll nothing.dll", ""},
      {"describe 'external ../bin/x; datum=WGS 84' --allow-external", data, 3, "Unable to find",
       ""},
      {"explain --allow-external --from " + geographic + "--to " + system, data, 0, leaves, ""},
      {"explain --from " + system + "--to " + geographic, data, 3, "", refusal},
      {"convert --to text " + system, data, 0, "external natural_earth", ""},
      {"list projections", own, 0, "Natural Earth", ""},
      {"list projections", own, 0, "no   the program " + program + "\n", ""},
      {"list projections --json", own, 0, "\"outside\": \"the program " + program, ""}};
  for (const auto &[arguments, environment, status, out, err] : cases) {
    const Outcome outcome = run(arguments, "10.25 48\n1 90.5\n", environment);
    EXPECT_EQ(outcome.status, status) << arguments << outcome.err;
    EXPECT_NE(outcome.out.find(out), std::string::npos) << arguments << outcome.out;
    EXPECT_NE(outcome.err.find(err), std::string::npos) << arguments << outcome.err;
  }
  const Outcome back =
      run("project --allow-external --from " + system + "--to " + geographic, "4e7 0\n", data);
  EXPECT_TRUE(back.status == 1 && back.out == "nan nan\n") << back.out;
  EXPECT_NE(back.err.find("outside the sheet"), std::string::npos) << back.err;
}

}  // namespace
