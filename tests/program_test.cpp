// The program as its users meet it: arguments and input in; results, messages and exit status out.
#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstring>
#include <sstream>

#include "tests/program_support.h"

namespace {

using namespace orvik::test;

class Program : public ProgramTest {};

const std::string kFromTo =
    "project --from 'geographic; datum=NAD27 (CONUS)' --to 'utm; zone=18; datum=WGS 84' ";

TEST_F(Program, ReplacesTheCoordinatesAndKeepsTheRest) {
  const std::string file = folder_.write("point", "-75 40\n");
  const std::string named = folder_.write("named", "lat,lon\n40,-75");
  struct {
    std::string options, in, out;
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
      {"", "75W,40n\n", "500033.67,4427758.55\n"},
      // what sets the fields apart is outside of quotes, and makes a point of the line
      {"--columns 2,3", "\"A; b\",-75,40\n", "\"A; b\",500033.67,4427758.55\n"},
      {"", "\"x; y\",lon,lat\n,-75,40\n", "\"x; y\",easting,northing\n,500033.67,4427758.55\n"},
      {"--delimiter blank", "-75 40 Reading, PA\n", "500033.67 4427758.55 Reading, PA\n"},
      {"", "-75 40 \"Reading, PA\"\n", "500033.67 4427758.55 \"Reading, PA\"\n"},
      {"--columns 2,3", "\"A b\" -75 40\n", "\"A b\" 500033.67 4427758.55\n"},
      {"", "-75 0 0,40 0 0\n", "500033.67,4427758.55\n"},
      // a header names columns, and none of its fields would be a coordinate
      {"", "-75,40,Long Beach,North Shore\n-75,40,a,b\n",
       "500033.67,4427758.55,Long Beach,North Shore\n500033.67,4427758.55,a,b\n"},
      {"", "7,lon,lat\n7,-75,40\n", "7,easting,northing\n7,500033.67,4427758.55\n"},
      {"", "id,decimalLatitude,decimalLongitude\n7,40,-75\n",
       "id,northing,easting\n7,4427758.55,500033.67\n"},
      {"", "E,N\n-75,40\n", "easting,northing\n500033.67,4427758.55\n"},
      {"", "Hochwert;Rechtswert\n40;-75\n", "northing;easting\n4427758.55;500033.67\n"},
      // comments and blank lines pass on, a line of spreadsheets too
      {"", "sep=;\r\n# 1;2\n-75;40\n \n", "sep=;\r\n# 1;2\n500033.67;4427758.55\n \n"},
      {"", "# a comment\n-75,40\n\n  # another\n",
       "# a comment\n500033.67,4427758.55\n\n  # another\n"},
      {"--decimal-comma", "-75,0;40,0;1,5\n", "500033,67;4427758,55;1,5\n"},
      // axes
      {"--swap-in", "40,-75,x\n", "500033.67,4427758.55,x\n"},
      {"--swap-out", "-75,40,x\n", "4427758.55,500033.67,x\n"},
      {"--swap-in --swap-out", "40 -75\n", "4427758.55 500033.67\n"},
      {"--swap-in", "y,x\n-75,40\n", "northing,easting\n4427758.55,500033.67\n"},
      // names in other words, blanks around them, numbers beside them
      {"", "Latitude (deg),POINT_LON\n40,-75\n", "northing,easting\n4427758.55,500033.67\n"},
      {"--columns ' A , B '", "A,B\n-75,40\n", "easting,northing\n500033.67,4427758.55\n"},
      {"--columns lon,lat", "7,lon,lat\n,-75,40\n", "7,easting,northing\n,500033.67,4427758.55\n"},
      // one header for all files, a line each although the first file ends in one
      {named + " " + named, "", "northing,easting\n4427758.55,500033.67\n4427758.55,500033.67"},
      // files in their order, standard input between them
      {file + " - " + file, "-75 40 x\n",
       "500033.67 4427758.55\n500033.67 4427758.55 x\n500033.67 4427758.55\n"},
  };
  for (const auto &row : cases) {
    const Outcome outcome = run(kFromTo + "--digits 2 " + row.options, row.in);
    EXPECT_EQ(outcome.out, row.out) << row.in;
    EXPECT_EQ(outcome.status, 0) << row.in << outcome.err;
    EXPECT_EQ(outcome.err, "") << row.in;
  }
}

TEST_F(Program, ABadLineKeepsItsPlaceAndIsToldWithReason) {
  const Outcome outcome =
      run(kFromTo + "--digits 2",
          "-75,40\nabc,def\n,\n-75\n\n-75,95\n-400,40\n-75,4O\nnan,40\n1e999,2\n-75,40\n");
  EXPECT_EQ(outcome.status, 1);
  std::string expected = "500033.67,4427758.55\n";
  for (int i = 0; i < 9; ++i) expected += i == 3 ? "\n" : "nan,nan\n";
  EXPECT_EQ(outcome.out, expected + "500033.67,4427758.55\n");
  expectParts(outcome.err,
              "<stdin>:2:1: a coordinate is not a number|<stdin>:3:1: a coordinate is missing|"
              "<stdin>:4:4: the line has too few columns|"
              "<stdin>:6:5: latitude beyond 90 degrees|<stdin>:7:1: longitude beyond 360 degrees|"
              "<stdin>:8:5: a coordinate is not a number|<stdin>:9:1: a coordinate is not a number|"
              "<stdin>:10:1: a coordinate is not a number");
}

TEST_F(Program, LinesThatCannotBeReadSpoilNoOthers) {
  const std::string good = "-75,40\n", result = "500033.67,4427758.55\n";
  struct {
    std::string before, out, err;
  } const cases[] = {
      // what other ways to write the same would make of them
      {"-75 0 0 W 40 0 0 N\n", "nan nan 0 W 40 0 0 N\n", "<stdin>:1:1: degrees, minutes and"},
      {"-75,5 40,5\n", "nan,nan,5\n", "<stdin>:1:1: the coordinates have a decimal comma"},
      {"-75,5;40,5\n", "nan;nan\n", "<stdin>:1:1: a coordinate has a decimal comma (see --dec"},
      {"-75 40 Reading, PA\n", "nan,nan\n", "<stdin>:1:1: a coordinate is not a number"},
      {"abc def\n", "nan nan\n", "first line \"abc def\" is no header|<stdin>:1:1: a coordinate"},
      {"Breite,Laenge\n", "nan,nan\n", "first line \"Breite,Laenge\" is no header"},
      {"40N,75W\n", "nan,nan\n", "<stdin>:1:1: a latitude stands where|the axes look swapped"},
      {"-75,40E\n", "nan,nan\n", "<stdin>:1:5: a longitude stands where"},
      {{"-7\0+07,40\n", 10}, "nan,nan\n", "<stdin>:1:1: a coordinate is not a number"},
      {good + std::string(3 << 20, '1') + "\n", result + "nan,nan\n",
       "<stdin>:2:1: the line is longer than 1048576 bytes"},
      {good + "-75,40," + std::string(3 << 20, 'x') + "\n",
       result + "nan,nan," + std::string(3 << 20, 'x') + "\n", "<stdin>:2:1: the line is longer"},
  };
  for (const auto &row : cases) {
    const Outcome outcome = run(kFromTo + "--digits 2", row.before + good);
    EXPECT_TRUE(outcome.out == row.out + result) << row.before.substr(0, 60) << "\n"
                                                 << outcome.out.substr(0, 200);
    EXPECT_EQ(outcome.status, 1);
    expectParts(outcome.err, row.err);
  }
}

TEST_F(Program, TellsTwentyReasonsAndThenASummary) {
  std::string in;
  for (int i = 0; i < 1500; ++i) in += "-75 99\n-75 40\n";
  const Outcome outcome = run(kFromTo + "--report " + path("r.json"), "# told\n\n" + in + "-7 4\n");
  EXPECT_EQ(outcome.status, 1);
  size_t lines = 0;
  for (size_t at = 0; (at = outcome.err.find("<stdin>:", at)) != std::string::npos; ++at) ++lines;
  EXPECT_EQ(lines, 20u);
  expectParts(outcome.err,
              "1500 of 3001 points failed|1500: latitude beyond 90 degrees|warning: 1 point lies");
  expectParts(readFile(path("r.json")),
              "\"points\": 3001,|\"failed\": 1500,|\"comments\": 1,|\"blank_lines\": 1,|"
              "\"causes\": {\"latitude beyond 90 degrees\": 1500}|\"warnings\": [\"1 point lies|"
              "\"status\": 1");
}

TEST_F(Program, PointsThatAProjectionRefusesAreToldWithTheirLine) {
  // The far hemisphere cannot be drawn by an orthographic map; lines 1500 on are a second batch's.
  std::string in;
  for (int i = 0; i < 3000; ++i) in += i == 1500 || i == 2999 ? "100 -40\n" : "-80 40\n";
  const Outcome outcome =
      run("project --from 'geographic; datum=WGS 84' "
          "--to 'Orthographic; datum=WGS 84; lon_0=-80; lat_0=40'",
          in);
  EXPECT_EQ(outcome.status, 1);
  expectParts(
      outcome.err,
      "<stdin>:1501:1: outside the projection's domain\n|<stdin>:3000:1: outside the projection's");
  expectParts(outcome.out, "nan nan\n");
}

TEST_F(Program, RefusesWhatItDoesNotKnowWithTheNearestNames) {
  struct {
    const char *from, *message;
  } const cases[] = {
      {"geographc; datum=WGS 84", "(did you mean \"Geographic\"?)"},
      {"geographic; datum=WGS85", "\"WGS 84\""},
      {"geographic; spheroid=Clarke 1886", "\"Clarke 1866\""},
      {"geographic; datum=WGS 84; lat_0=3", "has no key \"lat_0\""},
      {"utm; zone=61; datum=WGS 84", "UTM zones are 1 to 60"},
      {"utm; datum=WGS 84", "utm needs a zone"},
      {"utm; zone=17", "needs a datum"},
      {"utm; zone=17; datum=WGS 84; spheroid=Clarke 1866", "belongs to the spheroid \"WGS 84\""},
      {"utm; zone=17; datum=WGS 84; lon_o=3", "has no key \"lon_o\""},
      {"Transverse Mercator; datum=WGS 84; lon_o=3", "did you mean \"lon_0\""},
      {"Transverse Mercator; datum=WGS 84; lon_0=x", "not an angle"},
      {"Transverse Mercator; datum=WGS 84; k_0=0", "k_0=0 must not be 0"},
      {"Transverse Mercator; datum=WGS 84; lon_0=3; lon_0=4", "given twice"},
      {"Transverse Mercator; datum=WGS 84; p15=3", "p0 to p14"},
      {"99; datum=WGS 84", "no projection number 99"},
      // keys before values; abbreviations, years, other spellings
      {"utm; zone=17; datm=WGS 84", "has no key \"datm\" (did you mean \"datum\"?)"},
      {"geographic; datum=ED50", "may be one of |\n  \"European 1950 (Mean)\""},
      {"geographic; datum=OSGB36", "\"Ordnance Survey of Great Britain 1936 (Mean)\""},
      {"geographic; datum=Tokio", "\"Tokyo (Japan)\""},
      {"geographic; datum=nda27", "\"NAD27\""},
      {"geographic; spheroid=grs1981", "\"GRS 1980\""},
      {"lcc; datum=WGS 84", "\"Lambert Conformal Conic\""},
      {"latlong; datum=WGS 84", "\"Geographic\""},
      // State Plane zones belong to a datum
      {"state plane; zone=405; datum=WGS 84", "needs nad"},
      {"state plane; zone=405; spheroid=GRS 1980", "needs nad"},
      {"state plane; zone=405; nad=27; datum=NAD83", "nad=27 contradicts datum=NAD83"},
      {"state plane; zone=405; nad=27; datum=WGS 84", "has its zones on \"Clarke 1866\""},
      {"state plane; zone=405; nad=83; p0=1", "has no key \"p0\""},
      {"state plane; zone=999; nad=83", "no State Plane zone \"999\" under NAD83"},
      {"utm; zone=17; nad=27; datum=NAD83", "nad=27 contradicts datum=NAD83"},
      {"utm; zone=17; nad=27; a=6378137", "leave out spheroid, datum and nad"},
      {"utm; zone=17N; south; datum=WGS 84", "zone=17N contradicts south"},
      {"utm; zone=17S; south=no; datum=WGS 84", "zone=17S contradicts south=no"},
      // each slot once, and only those that are read
      {"5; datum=WGS 84; lat_0=10; lat_ts=45", "has no key \"lat_0\" (did you mean \"lat_ts\"?)"},
      {"5; datum=WGS 84; lat_ts=45; p5=0.1", "\"lat_ts\" and \"p5\" fill the same slot"},
      {"5; datum=WGS 84; p4=1; p04=2", "fill the same slot p4: it is given twice"},
      {"5; datum=WGS 84; p9=1", "does not read \"p9\""},
      {"20; datum=WGS 84; azimuth=30; lat_1=3", "does not read \"azimuth\" here|p12=1"},
      {"20; datum=WGS 84; p12=7", "the choices are 0 (Two points on it), 1 ("},
      // values that none has, and values that have no natural one
      {"5; datum=WGS 84; lat_ts=45W", "not an angle of latitude"},
      {"5; datum=WGS 84; lon_0=3N", "not an angle of longitude"},
      {"5; datum=WGS 84; p5=95d", "p5=95d must lie between -90 and 90"},
      {"5; datum=WGS 84; lat_ts=90", "Mercator: lat_ts=90 must lie between -90 and 90"},
      {"3; datum=WGS 84; lat_1=30; lat_2=-30", "Equal Area: lat_1=30, lat_2=-30: "},
      {"4; datum=WGS 84; lat_2=40", "needs lat_1"},
      {"6; datum=WGS 84; lon_0=3", "needs lat_ts"},
      {"49; datum=WGS 84; lon_0=3", "needs lat_0"},
      {"Hotine Oblique Mercator (azimuth, centre); datum=WGS 84; k_0=0", "k_0=0 must not be 0"},
      {"state plane; zone=Texas Centrall; nad=83", "Texas"},
      {"PROJCS[\"x\"]", "cannot be read"},
      {"geographic; datum=WGS 84; units=furlongz", "furlongz"},
      {"geographic; datum=WGS 84; units=meters", "not a unit of angle"},
      {"", "empty"},
      {"geographic; a=-1", "Invalid spheroid axes"},
  };
  for (const auto &row : cases) {
    SCOPED_TRACE(row.from);
    const Outcome outcome = run(
        std::string("project --from '") + row.from + "' --to 'geographic; datum=WGS 84'", "1 2\n");
    EXPECT_EQ(outcome.status, 3);
    expectParts(outcome.err, row.message);
    EXPECT_EQ(outcome.out, "");
  }
}

TEST_F(Program, AnswersTellsAndEndsWithItsStatus) {
  const std::string dms =
      "project --from 'utm; zone=18; datum=WGS 84' --to 'geographic; datum=WGS 84' --dms ";
  struct {
    std::string arguments, in;
    int status;
    std::string out, err;
  } const cases[] = {
      {"project --digits 9 --from 'geographic; datum=NAD27' --to 'geographic; datum=WGS 84'",
       "-122.4194 37.7749\n", 0, "-122.420482174 37.774829514\n", ""},
      {"project --digits 2 --from 'State Plane; zone=405; nad=27' --to 'utm; zone=11; datum=NAD83'",
       "1300000 4000000\n", 0, "", ""},
      {"project --digits 2 --from 'geographic; datum=NAD27' --to 'utm; zone=18; datum=NAD27'",
       "-75 40\n", 0, "500000.00 4427547.18\n", ""},
      {"project --from 'geographic; datum=WGS 84' --to 'utm; zone=18; spheroid=Clarke 1866'",
       "-75 40\n-74 40\n", 0, "", "without a datum|2 points were not shifted"},
      // results that are no place, and those of formulas beyond their zone
      {"project --from 'utm; zone=18; datum=WGS 84' --to 'geographic; datum=WGS 84'", "5e7 3\n", 1,
       "nan nan\n", "<stdin>:1:1: "},
      {"project --from 'geographic; datum=WGS 84' --to 'utm; zone=18; datum=WGS 84'",
       "-60 40\n-75 40\n300 40\n", 0, "", "2 points lie more than 10 degrees beside the central"},
      // one parallel is both; letters and minutes mean degrees
      {"project --digits 2 --from 'geographic; datum=WGS 84' --to '4; datum=WGS 84; lat_1=40'",
       "1 41\n", 0, "84146.25 4894993.25\n", ""},
      {"project --from 'geographic; datum=WGS 84; units=radians' --to 'utm; zone=18; datum=WGS 84'",
       "1:30:00,0:30:00\n", 1, "nan,nan\n", "<stdin>:1:1: a coordinate is not a number"},
      {"define", "state plane\nnad83\n999\nCalifornia 5\n", 0,
       "State Plane; datum=NAD83; zone=405; nad=83\n", "(27, 83 or harn)|no State Plane zone"},
      // wrong arguments, in a line that says what may have been meant
      {"", "", 2, "", "oprj: a command is missing; `oprj --help` lists them"},
      {"--form x", "", 2, "", "oprj: there is no option --form in front of a command"},
      {"project --frm a", "", 2, "",
       "no option --frm (did you mean \"--from\"?); `oprj project --h"},
      {"describe a b", "", 2, "", "oprj: there is no place for \"b\""},
      {"project --from a", "", 2, "", "oprj: --to is required; `oprj project --help` tells more"},
      {kFromTo + "list", "", 4, "", "oprj: cannot open list: "},  // a file with a command's name
      {"describe \"$(printf 'a\\033[2J\\302\\233')\"", "", 3, "", "\"a\\x1b[2J\\x9b\""},
      // points that do not come back, marked when that is asked for
      {kFromTo + "--digits 0", "-75 40\n-40 10\n", 0, "", "--verify marks the points"},
      {kFromTo + "--digits 0 --verify", "-75 40\n-40 10\n", 1, "500034 4427759\nnan nan\n",
       "<stdin>:2:1: inaccurate"},
      {"project --from 'Orthographic; datum=WGS 84' --to 'geographic; datum=WGS 84'", "1e8 1e8\n",
       1, "nan nan\n", "<stdin>:1:1: outside the sheet"},
      {kFromTo + "--verify 1e7 --threads 2 -", "-75 40\n-40 10\n", 0, "", ""},
      {kFromTo + "--verify=x", "", 2, "", "oprj: --verify: x is no distance in metres above 0"},
      {kFromTo + "--report json", "", 2, "", "ends in .json"},
      {kFromTo + "--report - .json", "", 2, "", "ends in .json"},
      {"project -I --digits 2 --to 'geographic; nad=83' --from 'utm; zone=18; nad=83'", "-75 40\n",
       0, "500000.00 4427757.22\n", ""},
      {kFromTo, "lon,lat,elevation\n-75,40,3\n", 0, "easting,northing,elevation\n5",
       "<stdin>: the heights in column 3 are passed on as they are: heights are not shifted"},
      {kFromTo + "--columns 2,3", "#1,-75,40\n# x\n", 0, "#1,-75,40\n# x\n",
       "1 lines that start with # were passed on as comments, although they could be read"},
      // completion
      {"__complete pro", "", 0, "project\n", ""},
      {"__complete project --fr", "", 0, "--from\n", ""},
      {"__complete project --header \\'", "", 0, "auto\nno\nyes\n", ""},
      {"__complete project --from \"'transverse m\"", "", 0, "Transverse Mercator\n", ""},
      {"__complete project --from 'utm\\;\\ zo'", "", 0, "utm; zone=\n", ""},
      {"__complete describe '9; lat_0=3;lo'", "", 0, "9; lat_0=3;lon_0=\n", ""},
      {"__complete describe 'utm; datum=wgs 84'", "", 0, "utm; datum=WGS 84\n", ""},
      {"__complete describe 'State Plane; zone=oregon n'", "", 0, "zone=Oregon North\n", ""},
      {"__complete project -o x", "", 0, "<files>\n", ""},
      {"project --help", "", 0, "--decimal-comma|Exit status: 0 all|OPRJ_ISA", ""},
      {"prject", "", 2, "", "no command \"prject\" (did you mean \"project\"?)"},
      {dms + "--digits 3", "500000 0\n", 0, "-75:00:00.000 0:00:00.000\n", ""},
      {dms + "--digits 2", "500000 4427757.2187\n", 0, "-75:00:00.00 40:00:00.00\n", ""},
      {"describe 'utm; zone=17; datum=NAD27 (CONUS)'", "", 0,
       "UTM, Zone 17|Clarke 1866|6378206.4|dX = -8, dY = 160, dZ = 176|easting, northing in meters",
       ""},
      {"describe 'Albers Conical Equal Area; datum=WGS 84; lat_1=29:30; lat_2=45.5'", "", 0,
       "lat_1 = 29.5 degrees|lat_0 = 0 degrees", ""},
      {"explain --from 'utm; zone=17; datum=NAD27 (CONUS)' --to 'geographic; datum=WGS 84'", "", 0,
       "Molodensky|published accuracy of \"NAD27 (CONUS)\": sigma 5 5 6 m (TR 8350.2 NAS-C)\n", ""},
      // a number chooses from the list after a bad answer; Enter takes what is offered
      {"define", "No such thing\nutm\nDHDN\n2\n61\n32\n", 0,
       "UTM; datum=Deutsches Hauptdreiecksnetz (EPSG 1673); zone=32N\n",
       "there is no projection|choose one:|West Germany all states|UTM zones are 1 to 60"},
      {"define", "20\nWGS84\n\n95\n40\n3\nits azimuth at the centre\n30\n-100\n\n\n", 0,
       "Oblique Mercator (Hotine); datum=WGS 84; k_0=1; lat_0=40; p12=1; azimuth=30; lon_0=-100\n",
       "k_0 (a number; Enter for 1)|lat_0 (degrees; Enter for 0)|must lie between -90 and 90"},
      {"define", "?\nUTM\n", 3, "", "  28  Mollweide|  39  Eckert IV|End of input"},
      {"manual", "", 0, ".TH \"oprj\" 1|oprj\\-project|CS is written|EXIT STATUS", ""},
      {"--help", "", 0, "longitude, latitude", ""},
      {"--version", "", 0, "oprj ", ""},
  };
  for (const auto &row : cases) {
    SCOPED_TRACE(row.arguments);
    const Outcome outcome = run(row.arguments, row.in);
    EXPECT_EQ(outcome.status, row.status) << outcome.err;
    expectParts(outcome.out, row.out);
    expectParts(outcome.err, row.err);
  }
  for (const std::string &wrong : std::vector<std::string>{
           "", "projekt", "project", "project --from x", "list", "list planets",
           "project --digits 99 --from a --to b", "project --csv --binary --from a --to b",
           dms + "--columns 1", kFromTo + "--dms", kFromTo + "--binary --digits 3",
           kFromTo + "--columns 1,1", kFromTo + "--columns 2,x"})
    EXPECT_EQ(run(wrong, "1 2\n").status, 2) << wrong;
}

TEST_F(Program, BinaryAgreesWithText) {
  const double in[] = {-75, 40, -74.5, 41, 400, 1, NAN, 2};
  const std::string bytes(reinterpret_cast<const char *>(in), sizeof in);
  const Outcome outcome = run(kFromTo + "--binary -o " + path("bin"), bytes);
  EXPECT_EQ(outcome.status, 1);
  expectParts(outcome.err, "<stdin>:3:1: longitude beyond 360 degrees");
  const std::string result = readFile(path("bin"));
  ASSERT_EQ(result.size(), sizeof in);
  double out[8];
  std::memcpy(out, result.data(), sizeof out);
  std::istringstream text(run(kFromTo, "-75 40\n-74.5 41\n").out);
  for (int i = 0; i < 4; ++i) {
    double value = 0;
    text >> value;
    EXPECT_EQ(out[i], value);
  }
  for (int i = 4; i < 8; ++i) EXPECT_TRUE(std::isnan(out[i]));
  expectParts(outcome.err, "<stdin>:4:1: a coordinate is not a number");
  std::string many;
  for (int i = 0; i < 3000; ++i) many += bytes;
  EXPECT_TRUE(run(kFromTo + "--binary --threads 3", many).out ==
              run(kFromTo + "--binary", many).out);
  const double exchanged[] = {40, -75};
  const std::string first(reinterpret_cast<const char *>(exchanged), sizeof exchanged);
  EXPECT_EQ(run(kFromTo + "--binary --swap-in", first).out, result.substr(0, 16));
  EXPECT_EQ(run(kFromTo + "--binary --swap-in --swap-out", first).out,
            result.substr(8, 8) + result.substr(0, 8));
  const Outcome cut = run(kFromTo + "--binary", bytes.substr(0, 20));
  EXPECT_EQ(cut.status, 4);
  EXPECT_EQ(cut.out, result.substr(0, 16)) << "what was whole";
  expectParts(cut.err, "middle of a point");
}

TEST_F(Program, InputAndOutputFailuresAreNoticed) {
  const std::string points = folder_.write("points", "-75 40\n");
  EXPECT_EQ(run(kFromTo + path("missing")).status, 4);
  EXPECT_EQ(run(kFromTo + "-o /dev/full " + points).status, 4);
  EXPECT_EQ(run(kFromTo + "-o /nowhere/out " + points).status, 4);
  EXPECT_EQ(run(kFromTo + "-o " + points + " " + points).status, 2);
  // an output keeps what it holds until there are results
  for (const std::string &wrong : {points + " " + path("missing"), "--columns a,b " + points})
    EXPECT_NE(run(kFromTo + "-o " + path("kept") + " " + wrong).status, 0);
  EXPECT_EQ(access(path("kept").c_str(), F_OK), -1) << "nor is it made";
  EXPECT_EQ(run(kFromTo + "-o " + path("in") + " -", "-75 40\n").status, 2) << "stdin's own file";
  EXPECT_EQ(readFile(path("in")), "-75 40\n");
  EXPECT_EQ(run(kFromTo + "-o " + points + " " + points).status, 2);
  EXPECT_EQ(readFile(points), "-75 40\n") << "not emptied";
  for (const std::string answer : {"--help", "--version", "list units"})
    EXPECT_EQ(run(answer + " > /dev/full").status, 4) << answer;
  // a reader that goes away ends the program as every other
  std::string many;
  for (int i = 0; i < 100000; ++i) many += "-75 40\n";
  const Outcome cut = run(kFromTo, many, "", "| head -n 1");
  EXPECT_EQ(cut.status, 128 + SIGPIPE);
  EXPECT_EQ(cut.err, "");
  // closed descriptors are no place for files and messages
  EXPECT_EQ(run(kFromTo + "- <&- 2> /dev/null; (exit $?)").status, 4);
  EXPECT_EQ(run(kFromTo + ">&-", "-75 40\n").status, 4);
  const std::string bad = folder_.write("bad", "a b\n");
  EXPECT_EQ(run(kFromTo + "-o " + path("kept") + " " + bad + " 2>&-; (exit $?)").status, 1);
  EXPECT_EQ(readFile(path("kept")), "nan nan\n");
}

TEST_F(Program, PackedAndWideFilesAreReadAsTheTextTheyHold) {
  std::string text = "lon,lat,n\xC3\xA4me\r\n";
  for (int i = 0; i < 30000; ++i) text += "-75,40,\xE2\x82\xAC \xF0\x9F\x98\x80\r\n";
  const std::string file = folder_.write("plain", text);
  const Outcome plain = run(kFromTo + file);
  ASSERT_EQ(plain.status, 0) << plain.err;
  for (const std::string way :
       {"iconv -t UTF-16", "iconv -t UTF-16BE", "gzip", "iconv -t UTF-16 | gzip",
        "(head -c 1000 | gzip; cat | gzip)", "(printf '\\357\\273\\277'; cat)"}) {
    const std::string packed = path("packed");
    ASSERT_EQ(std::system(("cat " + file + " | " + way + " > " + packed).c_str()), 0) << way;
    const Outcome outcome = run(kFromTo + packed);
    EXPECT_EQ(outcome.err, "") << way;
    EXPECT_TRUE(outcome.out == plain.out) << way << outcome.out.substr(0, 100);
  }
  const std::string gzip = path("gzip");
  ASSERT_EQ(std::system(("gzip < " + file + " > " + gzip).c_str()), 0);
  const std::string bytes = readFile(gzip);
  for (const auto &[damaged, what] :
       {std::pair{bytes.substr(0, bytes.size() - 9), "ends in the middle of its packed data"},
        {bytes.substr(0, 40) + std::string(40, 'x') + bytes.substr(80),
         "packed data is damaged"}}) {
    const Outcome outcome = run(kFromTo + folder_.write("damaged", damaged));
    EXPECT_EQ(outcome.status, 4);
    expectParts(outcome.err, what);
  }
}

TEST_F(Program, AnyNumberOfThreadsWritesTheSame) {
  std::string text;
  for (int i = 0; i < 200000; ++i)
    text += i % 999 ? std::to_string(-78 + i * 3e-5) + ",40.5,x\n" : i % 2 ? "bad,40\n" : "\n";
  const std::string file = folder_.write("points", text);
  const std::string files = file + " - " + file;
  const Outcome one = run(kFromTo + files, "-75,40");
  EXPECT_EQ(one.status, 1);
  for (const std::string threads : {"2", "3"}) {
    const Outcome many = run(kFromTo + "--threads " + threads + " " + files, "-75,40");
    EXPECT_TRUE(many.out == one.out) << threads;
    EXPECT_EQ(many.err, one.err);
  }
}

TEST_F(Program, PartsOfAFileJoinToTheWhole) {
  const std::string longLine = std::string(1100000, 'x') + "\n";  // nan, wherever blocks begin
  const struct {
    std::string options, text;
    int64_t parts;  // 0: one for every byte, and more
  } cases[] = {
      {"", "lon,lat,n\n-75,40,a\n\n# c\n-75,41,b\nbad,1,c\n-74,40,d\n", 0},
      {"--columns Hoch,Rechts --swap-in", "Hoch;Rechts\r\n40;-75\r\n41;-75\r\n", 0},
      {"", "\xEF\xBB\xBF-75 40\n-75 41\n-75 x\n-74 41", 0},
      {"", "\n\n\n", 0},
      {"", "", 3},
      {"", "a title\n1\n\n# -75 40\nsep\nname\tlat\tlon\televation\nA\t40\t-75\t7\n", 0},
      {"--header no --delimiter semicolon", "nothing;here\nis;a point\n-75;40\n", 0},
      {"", longLine + "-75 40\n" + longLine + "-75 41\n-75 40 " + longLine, 7},
      {"--threads 3",
       [] {
         std::string many;
         for (int i = 0; i < 30000; ++i) many += std::to_string(-78 + i * 2e-4) + ",40.5,x\n";
         return many + "-75";
       }(),
       5},
      {"--binary", std::string(5 * 16 + 3, 'A'), 0},
  };
  for (const auto &each : cases) {
    const std::string file = folder_.write("file", each.text);
    const Outcome whole = run(kFromTo + each.options + " " + file);
    const auto size = static_cast<int64_t>(each.text.size());
    std::string joined, told;
    const int64_t parts = each.parts ? each.parts : size + 2;
    for (int64_t i = 1; i <= parts; ++i) {
      const Outcome part = run(kFromTo + each.options + " --part " + std::to_string(i) + "/" +
                               std::to_string(parts) + " " + file);
      joined += part.out;
      EXPECT_LE(part.status, whole.status) << each.text.substr(0, 40);
      std::istringstream lines(part.err);
      for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with("oprj: warning")) told += line + "\n";
      }
    }
    EXPECT_TRUE(joined == whole.out) << each.text.substr(0, 40) << "\n" << joined.substr(0, 400);
    // the same reasons, at the bytes where the lines of the whole begin
    std::istringstream lines(whole.err);
    std::string expected;
    for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("oprj: warning")) continue;
      if (line.starts_with(file + ":") && each.options != "--binary") {
        int number = std::stoi(line.substr(file.size() + 1));
        size_t at = each.text.starts_with("\xEF") && number == 1 ? 3 : 0;
        while (--number > 0) at = each.text.find('\n', at) + 1;
        line =
            file + ":byte " + std::to_string(at + 1) + line.substr(line.find(':', file.size() + 1));
      }
      expected += line + "\n";
    }
    EXPECT_EQ(told, expected);
  }
}

TEST_F(Program, PartsAreCutOnlyWhereAFileCanBeCut) {
  const std::string file = folder_.write("file", "-75 40\n-75 41\n");
  const std::string wide = folder_.write("wide", std::string("-\0"
                                                             "7\0"
                                                             "5\0 \0",
                                                             8));
  ASSERT_EQ(std::system(("gzip < " + file + " > " + path("packed")).c_str()), 0);
  const struct {
    std::string arguments, message;
  } cases[] = {
      {"1/2 -", "--part cuts a file at its bytes: standard input has no parts"},
      {"1/2", "standard input has no parts"},
      {"1/2 /dev/zero", "/dev/zero is no plain file"},
      {"2/2 " + path("packed"), path("packed") + " is packed by gzip"},
      {"2/2 --binary " + path("packed"), path("packed") + " is packed by gzip"},
      {"2/2 " + wide, wide + " is UTF-16"},
      {"1/2 " + file + " " + file, "--part shares out one file"},
      {"0/2 " + file, "--part: 0/2 is no part I/N, with I from 1 to N"},
      {"3/2 " + file, "3/2 is no part"},
      {"1 " + file, "1 is no part"},
      {"1/x " + file, "1/x is no part"},
  };
  for (const auto &each : cases) {
    const Outcome outcome = run(kFromTo + "--part " + each.arguments);
    EXPECT_EQ(outcome.status, 2) << each.arguments;
    EXPECT_EQ(outcome.out, "");
    expectParts(outcome.err, each.message);
  }
  EXPECT_EQ(run(kFromTo + "--digits 0 --part 2147483647/2147483647 " + file).out, "");
}

TEST_F(Program, TheSamePointByEveryWayToNameAZone) {
  std::string first;
  for (const std::string zone :
       {"405", "-405", "California 5", "California Zone 5", "california, 5"}) {
    const Outcome outcome =
        run("project --digits 3 --from 'geographic; datum=NAD83 (DMA)' --to "
            "'state plane; zone=" +
                zone + "; nad=83; datum=NAD83 (DMA)'",
            "-118 34\n");
    EXPECT_EQ(outcome.status, 0) << zone << outcome.err;
    if (first.empty()) first = outcome.out;
    EXPECT_EQ(outcome.out, first) << zone;
  }
}

TEST_F(Program, ListsAsTextAndAsJson) {
  for (const auto &[what, least] : {std::pair<std::string, int>{"projections", 70},
                                    {"spheroids", 73},
                                    {"datums", 1000},
                                    {"zones", 259},
                                    {"units", 30}}) {
    const Outcome text = run("list " + what);
    EXPECT_GE(std::count(text.out.begin(), text.out.end(), '\n'), least) << what;
    const Outcome json = run("list --json " + what, "", "",
                             "| python3 -c 'import json, sys; print(len(json.load(sys.stdin)))'");
    EXPECT_GE(std::stoi(json.out), least) << what;
  }
}

TEST_F(Program, OneInstructionSetAsGoodAsAnother) {
  const std::string in = "-75.1 40.2\n-76.3 41.7\n-72.2 33.3\n-77 45\n";
  const Outcome wide = run(kFromTo + "--digits 6", in);
  for (const std::string set : {"baseline", "avx2", "avx512"})
    EXPECT_EQ(run(kFromTo + "--digits 6", in, "OPRJ_ISA=" + set).out, wide.out) << set;
  expectParts(run("list zones", "", "OPRJ_ISA=mmx").err, "OPRJ_ISA=mmx");
}

}  // namespace
