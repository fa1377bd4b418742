// The program and node files.
#include "tests/program_support.h"

namespace {

using namespace orvik::test;

class ProgramNodes : public ProgramTest {
 protected:
  /// Runs and expects success with nothing told.
  std::string good(const std::string &arguments) const {
    const Outcome outcome = run(arguments);
    EXPECT_EQ(outcome.status, 0) << arguments << "\n" << outcome.err;
    EXPECT_EQ(outcome.err, "") << arguments;
    return outcome.out;
  }
  std::string file = path("image.nod");
};

TEST_F(ProgramNodes, ALayerIsACoordinateSystem) {
  good("convert 'utm; zone=18; datum=WGS 84' --to node -o " + file + "::deep:layer");
  good("convert 'geographic; datum=NAD27' --to node -o " + file + "::");
  EXPECT_EQ(
      run("project --from 'geographic; datum=WGS 84' --to " + file + "::deep:layer --digits 2",
          "-75 40\n")
          .out,
      "500000.00 4427757.22\n");
  EXPECT_EQ(good("convert " + file + "::deep:layer --to text"),
            good("convert 'utm; zone=18; datum=WGS 84' --to text"));
  EXPECT_EQ(run("project --from " + file + ":: --to " + file + ":: --digits 1", "-75 40\n").out,
            "-75.0 40.0\n");
  // Its map info tells the unit of points.
  const std::string shown =
      good("mapinfo " + file +
           "::deep:layer --projection UTM --units feet --upper-left 1000,2000 "
           "--lower-right 1090,1940 --pixel 30,30");
  EXPECT_EQ(good("mapinfo " + file + "::deep:layer"), shown);
  for (const char *part : {"projection      UTM\n", "units           feet\n",
                           "pixel size      30 30\n", "pixels          4 columns, 3 rows\n",
                           "extent          west 985, south 1925, east 1105, north 2015\n",
                           "upper left      985 2015   longitude, latitude -79.4"})
    EXPECT_NE(shown.find(part), std::string::npos) << part << "\n" << shown;
  EXPECT_EQ(
      run("project --from 'geographic; datum=WGS 84' --to " + file + "::deep:layer --digits 1",
          "-75 40\n")
          .out,
      "1640419.9 14526762.5\n");
  // A new map info takes the name of the projection.
  good("convert 'Mollweide; datum=WGS 84' --to node -o " + path("named") + "::a");
  EXPECT_TRUE(good("mapinfo " + path("named") + "::a --units meters")
                  .starts_with("projection      Mollweide\n"));
  EXPECT_TRUE(good("mapinfo " + path("named") + "::b --units meters")
                  .starts_with("projection      Unknown\n"));
  // A second writing replaces; another layer comes beside it.
  good("convert 'utm; zone=17; datum=WGS 84' --to node -o " + file + "::deep:layer");
  const std::string tree = good("info " + file);
  EXPECT_EQ(tree.substr(0, tree.find("    proZone")),
            "deep\n  layer\n    Projection  (Oprj_ProParameters, 213 bytes)\n"
            "      proType = OPRJ_INTERNAL\n      proNumber = 1\n      proExeName = none\n"
            "      proName = \"UTM\"\n  ");
  EXPECT_NE(tree.find("      proZone = 17\n"), std::string::npos);
  EXPECT_NE(tree.find("      Datum  (Oprj_Datum, "), std::string::npos);
  EXPECT_NE(tree.find("      params = 0 0 0 0 0 0 0\n"), std::string::npos);
  EXPECT_NE(tree.find("\nProjection  ("), std::string::npos);
  EXPECT_EQ(good("check " + file), file + ": the file is whole\n");
  good("compact " + file + " -o " + path("small"));
  EXPECT_EQ(good("info " + path("small")), tree);
}

TEST_F(ProgramNodes, RefusalsAndDamage) {
  good("convert 'utm; zone=18; datum=WGS 84' --to node -o " + file + "::L");
  const struct {
    std::string arguments;
    int status;
    const char *message;
  } cases[] = {
      {"describe " + file + "::M", 3, "::M has no coordinate system: There is no node \"M\""},
      {"describe " + path("none") + "::L", 3, "cannot be opened: No such file or directory"},
      {"mapinfo " + file + "::L", 3, "::L has no map info"},
      {"mapinfo " + file, 2, "is not of the form FILE::LAYER"},
      {"mapinfo " + file + "::L --pixel 30,0", 2, "--pixel takes a width and a height above 0"},
      {"mapinfo " + file + "::L --units metres2", 2, "there is no unit \"metres2\""},
      {"convert 'utm; zone=1; datum=WGS 84' --to node -o " + file, 2,
       "is not of the form FILE::LAYER"},
      {"convert 'utm; zone=1; datum=WGS 84' --to node -o " + path("no/dir") + "::L", 4,
       "cannot be created: No such file or directory"},
      {"convert 'utm; zone=1; datum=WGS 84' --to node -o " + file + "::a::", 3,
       "the layer \"a::\" cannot be made: "},
      {"info " + folder_.write("text", "no node file, but long enough"), 3, "It is no node file"},
      {"compact " + file + " -o " + file, 4, "There is a file \""},
  };
  for (const auto &each : cases) {
    const Outcome outcome = run(each.arguments);
    EXPECT_EQ(outcome.status, each.status) << each.arguments << "\n" << outcome.err;
    EXPECT_NE(outcome.err.find(each.message), std::string::npos) << each.arguments << "\n"
                                                                 << outcome.err;
  }
  std::string bytes = readFile(file);
  bytes.replace(bytes.rfind("Oprj_Datum"), 4, "Nono");
  folder_.write("image.nod", bytes);
  const Outcome checked = run("check " + file);
  EXPECT_EQ(checked.status, 3);
  EXPECT_NE(checked.out.find("node \"L:Projection:Datum\", byte "), std::string::npos);
  EXPECT_NE(checked.out.find("The dictionary has no design \"Nono_Datum\""), std::string::npos);
  EXPECT_NE(checked.err.find("The file is damaged: 1 errors"), std::string::npos);
  const Outcome shown = run("info --json " + file);
  EXPECT_EQ(shown.status, 3);
  EXPECT_NE(shown.out.find("\"proZone\": 18"), std::string::npos);
  EXPECT_NE(shown.out.find("\"problem\": \"The file's dictionary has no design"),
            std::string::npos);
}

TEST_F(ProgramNodes, AMissingGridIsToldAndTheLayerServes) {
  good("convert 'geographic; datum=NAD27' --to node -o " + file + "::L");
  std::string bytes = readFile(file);
  bytes.replace(bytes.find("nad27.dat"), 9, "nad99.dat");
  folder_.write("image.nod", bytes);
  const Outcome described = run("describe " + file + "::L");
  EXPECT_NE(described.out.find("grid file = nad99.dat"), std::string::npos) << described.out;
  EXPECT_NE(described.out.find("File \"nad99.dat\" not found"), std::string::npos) << described.out;
  EXPECT_EQ(run("project --from " + file + "::L --to 'geographic; datum=NAD83'", "-75 40\n").status,
            3);
}

}  // namespace
