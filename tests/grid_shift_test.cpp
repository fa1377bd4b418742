// Grid shifts: the shipped grids against published values and PROJ, the search of sub-grids, both
// directions, special points, every report, damaged files, sharing and threads.
#include <oprj/tables.h>
#include <proj.h>

#include <array>
#include <cstdint>
#include <random>
#include <set>

#include "lanes/kernels.h"
#include "tests/grid_support.h"
#include "toolkit/error_scope.h"

namespace {

using namespace orvik::test;
using orvik::oprj::chooseInstructionSet;
using orvik::oprj::widestInstructionSet;
using orvik::toolkit::Owner;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
/// Degrees; both sides of the comparison keep shifts in rounded numbers.
constexpr double kForwardTolerance = 5e-10, kInverseTolerance = 1.5e-9;

using File = Owner<Oprj_GridData, oprj_DatumGridFileClose>;
using Chain = Owner<Oprj_GridInfo, oprj_GridHeaderFree>;

/// An opened file with its chain.
struct Opened {
  File file;
  Chain chain;

  explicit Opened(const std::string &path) {
    Slot slot;
    file.reset(oprj_DatumGridFileOpen(path.c_str(), slot));
    EXPECT_NE(file, nullptr) << slot.chain();
    chain.reset(oprj_GridHeaderRead(file.get(), slot));
  }
  Points forward(const Points &in) const { return through(oprj_ShiftForward, in); }
  Points inverse(const Points &in) const { return through(oprj_ShiftInverse, in); }

 private:
  Points through(decltype(&oprj_ShiftForward) shift, const Points &in) const {
    Points out(in.size());
    Slot slot;
    shift(chain.get(), file.get(), in.data(), out.data(), static_cast<int32_t>(in.size()), slot);
    expectNoReport(slot);
    return out;
  }
};

Points degrees(Points points) {
  for (Oprj_Point &p : points) p = {p.x / kDeg, p.y / kDeg};
  return points;
}
void expectNear(const Oprj_Point &a, const Oprj_Point &b, double tolerance) {
  EXPECT_NEAR(a.x, b.x, tolerance);
  EXPECT_NEAR(a.y, b.y, tolerance);
}

Points scattered(const Oprj_GridInfo &grid, size_t count, double margin) {
  std::mt19937_64 random(11);
  std::uniform_real_distribution<double> lon(grid.west - margin, grid.east + margin),
      lat(grid.south - margin, grid.north + margin);
  Points points(count);
  for (Oprj_Point &p : points) p = {lon(random) * kDeg, lat(random) * kDeg};
  return points;
}

Oprj_ShiftTally tally() {
  Oprj_ShiftTally now;
  oprj_ShiftTallyGet(&now);
  return now;
}

/// A grid datum with an opened file, or none; its own name or the shipped ones.
struct GridDatum {
  std::string name, fileName;
  File file;
  Oprj_Datum datum{};

  GridDatum(const char *datumName, const std::string &path, int32_t type = OPRJ_DATUM_GRID)
      : name(datumName), fileName(path) {
    if (!path.empty()) file.reset(oprj_DatumGridFileOpen(path.c_str(), nullptr));
    datum.datumname = {static_cast<int32_t>(name.size() + 1), name.data()};
    datum.gridname = {static_cast<int32_t>(fileName.size() + 1), fileName.data()};
    datum.type = type;
    datum.gridData = file.get();
  }
};

// --- the shipped grids ---

TEST(ShippedGrids, HoldWhatTheyAnnounce) {
  struct {
    const char *file;
    int32_t count;
    const char *first, *last;
    double west, south, east, north;
  } const files[] = {{"nad27.dat", 25, "canada 1", "canada", -180.125, 17, 180.125, 84},
                     {"harn.dat", 110, nullptr, "fl", -162, 17, -62, 50}};
  for (const auto &file : files) {
    SCOPED_TRACE(file.file);
    const Opened opened(file.file);
    ASSERT_NE(opened.chain, nullptr);
    int32_t count = 0;
    const Oprj_GridInfo *last = nullptr;
    std::set<std::string> names;
    for (const Oprj_GridInfo *g = opened.chain.get(); g; g = g->next, ++count) {
      last = g;
      names.insert(g->name);
    }
    EXPECT_EQ(count, file.count);
    EXPECT_EQ(names.size(), static_cast<size_t>(count));
    if (file.first) {
      EXPECT_STREQ(opened.chain->name, file.first);
    }
    EXPECT_STREQ(last->name, file.last);
    double bounds[4];
    EXPECT_EQ(oprj_GetDatumGridExtent(opened.chain.get(), bounds, bounds + 1, bounds + 2,
                                      bounds + 3, nullptr),
              1);
    EXPECT_EQ((std::array{bounds[0], bounds[1], bounds[2], bounds[3]}),
              (std::array{file.west, file.south, file.east, file.north}));
  }
}

TEST(ShippedGrids, GivePublishedValues) {
  // PROJ 9.1.1 with the same official grids, nine decimals; ten where the grid is a HARN one
  struct {
    const char *from, *to;
    Oprj_Point in, out;
    int64_t unshifted;
  } const cases[] = {
      {"NAD27", "NAD83", {-122.4194, 37.7749}, {-122.420482174, 37.774829515}, 0},
      {"NAD27", "WGS 84", {-122.4194, 37.7749}, {-122.420482174, 37.774829514}, 0},
      {"NAD27", "NAD83", {-95.3698, 29.7604}, {-95.370016070, 29.760628107}, 0},
      {"NAD27", "NAD83", {-87.6298, 41.8781}, {-87.629852352, 41.878132968}, 0},
      {"NAD27", "NAD83", {-74.0060, 40.7128}, {-74.005584008, 40.712902422}, 0},
      {"NAD27", "NAD83", {-104.9903, 39.7392}, {-104.990836952, 39.739186898}, 0},
      {"NAD27", "NAD83", {-80.1918, 25.7617}, {-80.191569916, 25.762077305}, 0},
      {"NAD27", "NAD83", {-122.3321, 47.6062}, {-122.333337568, 47.606020596}, 0},
      {"NAD27", "NAD83", {-71.0589, 42.3601}, {-71.058395432, 42.360197436}, 0},
      {"NAD27", "NAD83", {-73.57, 45.50}, {-73.569586979, 45.500040023}, 0},
      {"NAD27", "NAD83", {-149.90, 61.22}, {-149.902206925, 61.219448515}, 0},
      {"NAD27", "NAD83", {-157.858, 21.307}, {-157.855256965, 21.303835837}, 0},
      {"NAD27", "NAD83", {172.9, 52.9}, {172.896968938, 52.898347734}, 0},
      {"NAD83", "HARN", {-81.3792, 28.5383}, {-81.3791959597, 28.5382981167}, 0},
      {"NAD83", "HARN", {-80.1918, 25.7617}, {-80.1917993319, 25.7616992257}, 0},
      {"NAD27", "HARN", {-81.3792, 28.5383}, {-81.3789880210, 28.5385779575}, 0},
      {"HARN", "NAD27", {-81.3792, 28.5383}, {-81.3794119737, 28.5380220321}, 0},
      {"NAD83", "HARN", {-100, 55}, {-100, 55}, 1},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(std::string(c.from) + " to " + c.to);
    const SpheroidPtr from = named(sphereOf(c.from), c.from), to = named(sphereOf(c.to), c.to);
    const Oprj_Point in = radians({c.in})[0];
    Oprj_Point out;
    Slot slot;
    const int64_t before = tally().unshifted;
    oprj_DatumShift(&in, from.get(), &out, to.get(), 1, slot);
    expectNoReport(slot);
    EXPECT_EQ(tally().unshifted - before, c.unshifted);
    expectNear(degrees({out})[0], c.out, kForwardTolerance);
  }
}

/// One sub-grid as an NTv2 file: rows from the east, latitude first, bounds in seconds west.
std::string ntv2(const Oprj_GridInfo &grid, const std::string &file) {
  std::string bytes;
  const auto text = [&](const char *key, const char *value) {
    bytes += (std::string(key) + std::string(8, ' ')).substr(0, 8) +
             (std::string(value) + std::string(8, ' ')).substr(0, 8);
  };
  const auto number = [&](const char *key, double value) {
    text(key, "");
    bytes.resize(bytes.size() - 8);
    put(bytes, value);
  };
  const auto integer = [&](const char *key, int32_t value) {
    text(key, "");
    bytes.resize(bytes.size() - 8);
    put(bytes, value);
    put(bytes, int32_t{0});
  };
  integer("NUM_OREC", 11);
  integer("NUM_SREC", 11);
  integer("NUM_FILE", 1);
  text("GS_TYPE", "SECONDS");
  text("VERSION", "1");
  text("SYSTEM_F", "NAD27");
  text("SYSTEM_T", "NAD83");
  number("MAJOR_F", 6378206.4);
  number("MINOR_F", 6356583.8);
  number("MAJOR_T", 6378137);
  number("MINOR_T", 6356752.314);
  text("SUB_NAME", "ONE");
  text("PARENT", "NONE");
  text("CREATED", "");
  text("UPDATED", "");
  number("S_LAT", grid.south * 3600);
  number("N_LAT", grid.north * 3600);
  number("E_LONG", -grid.east * 3600);
  number("W_LONG", -grid.west * 3600);
  number("LAT_INC", 3600 / grid.latScale);
  number("LONG_INC", 3600 / grid.lonScale);
  integer("GS_COUNT", grid.rows * grid.columns);
  for (int32_t row = 0; row < grid.rows; ++row) {
    for (int32_t column = grid.columns - 1; column >= 0; --column) {
      const char *node = file.data() + grid.dataPosition - 1 + 8 * (row * grid.columns + column);
      bytes.append(node + 4, 4).append(node, 4);
      put(bytes, -1.0f);
      put(bytes, -1.0f);
    }
  }
  text("END", "");
  return bytes;
}

TEST(ShippedGrids, AgreeWithProj) {
  const TemporaryDirectory directory;
  struct {
    const char *file, *grid;
  } const grids[] = {
      {"nad27.dat", "conus"}, {"nad27.dat", "hawaii"}, {"nad27.dat", "canada"}, {"harn.dat", "fl"}};
  for (const auto &of : grids) {
    SCOPED_TRACE(of.grid);
    const std::string path = std::string(OPRJ_SOURCE_DIR "/data/") + of.file;
    const Opened all(path);
    Oprj_GridInfo *grid = all.chain.get();
    while (std::strcmp(grid->name, of.grid) != 0) grid = grid->next;
    const std::string same =
        directory.write(std::string(of.grid) + ".gsb", ntv2(*grid, readFile(path)));
    PJ *peer = proj_create(PJ_DEFAULT_CTX, ("+proj=hgridshift +grids=" + same).c_str());
    ASSERT_NE(peer, nullptr);
    const Points in = scattered(*grid, 4000, -0.5);
    Points forward(in.size()), inverse(in.size());
    Oprj_GridInfo *const behind = std::exchange(grid->next, nullptr);
    oprj_ShiftForward(grid, all.file.get(), in.data(), forward.data(), 4000, nullptr);
    oprj_ShiftInverse(grid, all.file.get(), in.data(), inverse.data(), 4000, nullptr);
    grid->next = behind;
    double worst[2] = {};
    for (size_t i = 0; i < in.size(); ++i) {
      for (const bool back : {false, true}) {
        const PJ_COORD to =
            proj_trans(peer, back ? PJ_INV : PJ_FWD, proj_coord(in[i].x, in[i].y, 0, 0));
        const Oprj_Point ours = back ? inverse[i] : forward[i];
        worst[back] = std::max({worst[back], std::fabs(to.lp.lam - ours.x) / kDeg,
                                std::fabs(to.lp.phi - ours.y) / kDeg});
      }
    }
    EXPECT_LE(worst[0], kForwardTolerance);
    EXPECT_LE(worst[1], kInverseTolerance);
    proj_destroy(peer);
  }
}

// --- the search and both directions ---

/// The documented steps for one point, on oprj_GetShifts.
Oprj_Point plainForward(Oprj_GridInfo *chain, const Oprj_GridData *file, Oprj_Point p) {
  double lon = p.x * 57.29577951308232, lat = p.y * 57.29577951308232, dLon, dLat;
  lon += lon < -180 ? 360 : lon > 180 ? -360 : 0;
  EXPECT_EQ(oprj_GetShifts(chain, file, lon, lat, &dLon, &dLat, nullptr), 1);
  lon += dLon * 0.000277777777778;
  lat += dLat * 0.000277777777778;
  if (std::fabs(lat) > 90) {
    lat = std::copysign(180, lat) - lat;
    lon += 180;
  }
  lon += lon < -180 ? 360 : lon > 180 ? -360 : 0;
  return {lon * 0.017453292519943295, lat * 0.017453292519943295};
}

TEST(GridShift, FollowsTheDocumentedStepsAtEveryInstructionSet) {
  for (const char *name : {"nad27.dat", "harn.dat"}) {
    SCOPED_TRACE(name);
    const Opened opened(name);
    Oprj_GridInfo everywhere{};
    oprj_GetDatumGridExtent(opened.chain.get(), &everywhere.west, &everywhere.south,
                            &everywhere.east, &everywhere.north, nullptr);
    Points in = scattered(everywhere, 3000, 5);
    for (const Oprj_GridInfo *g = opened.chain.get(); g;
         g = g->next) {  // corners, and coherent runs
      for (const double lon : {g->west, g->east})
        for (const double lat : {g->south, g->north}) in.push_back({lon * kDeg, lat * kDeg});
      for (int k = 0; k < 40; ++k)
        in.push_back({(g->west + 0.02 * k) * kDeg, (g->south + 0.01 * k) * kDeg});
    }
    for (const Oprj_Point &special : Points{{kNaN, 0.7},
                                            {-1.5, kNaN},
                                            {kInfinity, 0.7},
                                            {-1.5, -kInfinity},
                                            {-4.2, 0.7},
                                            {9.0, 0.7},
                                            {-1.5, 1.6}})
      in.insert(in.begin() + 100, special);
    std::vector<Points> forward, inverse;
    for (int32_t set = 0; set <= widestInstructionSet(); ++set) {
      SCOPED_TRACE("instruction set " + std::to_string(set));
      chooseInstructionSet(set);
      forward.push_back(opened.forward(in));
      inverse.push_back(opened.inverse(in));
      const Points back = opened.forward(inverse.back());
      for (size_t i = 0; i < in.size(); ++i) {
        // any place, any neighbours, in place
        Points one = {in[i]};
        ASSERT_TRUE(sameBits(opened.forward(one), {forward.back()[i]})) << i;
        ASSERT_TRUE(sameBits(opened.inverse(one), {inverse.back()[i]})) << i;
        const double sum = in[i].x + in[i].y;
        if (std::isnan(sum)) {
          EXPECT_TRUE(std::isnan(forward.back()[i].x) && std::isnan(inverse.back()[i].y));
        } else if (std::isinf(sum)) {
          EXPECT_TRUE(sameBits({forward.back()[i], inverse.back()[i]}, {in[i], in[i]}));
        } else {
          const Oprj_Point plain = plainForward(opened.chain.get(), opened.file.get(), in[i]);
          expectNear(forward.back()[i], plain, 1e-14);
        }
      }
      for (int32_t length = 1; length < 40; ++length) {
        const Points part(in.begin() + 80, in.begin() + 80 + length);
        const Points whole(forward.back().begin() + 80, forward.back().begin() + 80 + length);
        EXPECT_TRUE(sameBits(opened.forward(part), whole)) << length;
      }
      Points inPlace = in;
      oprj_ShiftForward(opened.chain.get(), opened.file.get(), inPlace.data(), inPlace.data(),
                        static_cast<int32_t>(in.size()), nullptr);
      EXPECT_TRUE(sameBits(inPlace, forward.back()));
    }
    if (widestInstructionSet() == 2) {
      EXPECT_TRUE(sameBits(forward[1], forward[2]) && sameBits(inverse[1], inverse[2]));
    }
    chooseInstructionSet(widestInstructionSet());
  }
}

TEST(GridShift, BackAndForthReturnsInside) {
  const Opened opened("nad27.dat");
  for (const Oprj_GridInfo *g = opened.chain.get(); g; g = g->next) {
    // Where pieces of different origin meet, there and back may take different ones.
    if (std::strncmp(g->name, "conus", 5) != 0 && std::strncmp(g->name, "alaska", 6) != 0) continue;
    Oprj_GridInfo alone = *g;
    alone.next = nullptr;
    const Points in = scattered(*g, 2000, -0.2);
    Points out(in.size());
    for (const auto shift : {oprj_ShiftForward, oprj_ShiftInverse}) {
      const Points &from = shift == oprj_ShiftForward ? in : out;
      ASSERT_NE(shift(&alone, opened.file.get(), from.data(), out.data(), 2000, nullptr), nullptr);
    }
    for (size_t i = 0; i < in.size(); ++i) expectNear(out[i], in[i], 1.1e-9 * kDeg);
  }
  // beside the antimeridian, on either side
  const Points beside = radians({{179.9999, 52}, {-179.9999, 52}, {180, 51.3}, {-180, 60}});
  const Points returned = opened.inverse(opened.forward(beside));
  for (size_t i = 0; i < beside.size(); ++i) {
    EXPECT_NEAR(std::remainder(returned[i].x - beside[i].x, 360 * kDeg), 0, 1.1e-9 * kDeg);
    EXPECT_NEAR(returned[i].y, beside[i].y, 1.1e-9 * kDeg);
  }
}

TEST(GridShift, TheFirstSubGridWinsAndBoundsAreInside) {
  const TemporaryDirectory directory;
  const Opened opened(directory.write(
      "g.dat",
      multiGrid({ramp("first", 10, 10, 12, 11, 3, 2), ramp("second", 11, 10, 14, 12, 4, 3, 100),
                 ramp("sixteen letters!", 0, -90, 1, 90, 2, 2, 1000)})));
  EXPECT_STREQ(opened.chain->next->next->name, "sixteen letters!");
  struct {
    double lon, lat, west, north;
  } const cases[] = {
      {10, 10, 0, 0},
      {12, 11, 2, 10},
      {12, 10.5, 2, 5},
      {11.5, 11, 1.5, 10},
      {12.5, 10, 101.5, 0},
      {14, 12, 103, 20},
      {11.25, 11.5, 100.25, 15},
      {14.001, 11, 0, 0},
      {10, 9.999, 0, 0},
      {std::nextafter(12, 13), 11, 101, 10},
  };
  for (const auto &c : cases) {
    double dLon, dLat;
    ASSERT_EQ(
        oprj_GetShifts(opened.chain.get(), opened.file.get(), c.lon, c.lat, &dLon, &dLat, nullptr),
        1);
    EXPECT_NEAR(dLon, -c.west, 1e-9) << c.lon;
    EXPECT_NEAR(dLat, c.north, 1e-9) << c.lon;
  }
  // the prepared search, of few sub-grids and of more than are compared with each other
  std::vector<TestGrid> many = {ramp("first", 10, 10, 12, 11, 3, 2),
                                ramp("second", 11, 10, 14, 12, 4, 3, 100)};
  for (const size_t count : {2u, 5000u}) {
    many.resize(count, ramp("far", 50, 0, 51, 1, 2, 2, 7));
    const Opened prepared(directory.write("many.dat", multiGrid(many)));
    expectNear(degrees(prepared.forward(radians({{11.5, 10.5}})))[0],
               {11.5 - 1.5 / 3600, 10.5 + 5. / 3600}, 1e-9);
    expectNear(degrees(prepared.forward(radians({{12.5, 10.5}})))[0],
               {12.5 - 101.5 / 3600, 10.5 + 5. / 3600}, 1e-9);
    expectNear(degrees(prepared.forward(radians({{50.5, 0.5}})))[0],
               {50.5 - (count > 2 ? 7.5 / 3600 : 0), 0.5 + (count > 2 ? 5. / 3600 : 0)}, 1e-9);
  }
  // the last sub-grid throws points over the poles: folded, and half a turn on
  const Points over = degrees(opened.forward(radians({{0.5, 89.999}, {0.5, -89.9999}})));
  expectNear(over[0], {0.5 - 1000.5 / 3600 - 180, 180 - (89.999 + 10. * 179.999 / 180 / 3600)},
             1e-9);
  expectNear(over[1], {0.5 - 1000.5 / 3600, -89.9999 + 10 * 0.0001 / 180 / 3600}, 1e-9);
}

TEST(GridShift, AnIterationThatDoesNotEndGivesItsTenthEstimate) {
  // The shift changes by more than the way over the cell: estimates run to and fro.
  const TemporaryDirectory directory;
  TestGrid steep{"steep", 0, 0, 1, 1, 2, 2, {{0, 0}, {-7200, 0}, {0, 0}, {-7200, 0}}};
  const Opened opened(directory.write("steep.dat", multiGrid({steep})));
  const Points in(21, Oprj_Point{0.1 * kDeg, 0.5 * kDeg});
  const Oprj_ShiftTally before = tally();
  const Points out = opened.inverse(in);
  EXPECT_EQ(tally().unconverged - before.unconverged, 21);
  EXPECT_EQ(tally().unshifted - before.unshifted, 0);
  double estimate = 0.1, error = 0;
  for (int round = 0; round < 10; ++round) {
    estimate -= error;
    error =
        estimate + (0 <= estimate && estimate <= 1 ? 7200 * estimate * 0.000277777777778 : 0) - 0.1;
  }
  for (const Oprj_Point &p : out) EXPECT_NEAR(p.x, estimate * kDeg, 1e-12);
}

// --- reports ---

TEST(GridShift, DirectionsAreNames) {
  const char *const names[] = {"NAD27", "NAD83", "HARN", "nad27", "", nullptr};
  const int32_t expected[3][3] = {{6, 0, 4}, {1, 6, 2}, {5, 3, 6}};
  for (size_t i = 0; i < std::size(names); ++i) {
    for (size_t k = 0; k < std::size(names); ++k) {
      Slot slot;
      const int32_t direction = oprj_GetDatumShiftDirection(names[i], names[k], slot);
      EXPECT_EQ(direction, i < 3 && k < 3 ? expected[i][k] : 6);
      EXPECT_EQ(slot.chain(),
                direction == 6 ? "oprj_GetDatumShiftDirection: Invalid datum shift (1)" : "");
    }
  }
}

TEST(GridShift, RoutesAndReports) {
  const TemporaryDirectory directory;
  // NAD27's file moves by 1" west, HARN's by 100"; a broken one, and one whose nodes are missing
  const auto constant = [](float west) {
    return multiGrid({{"all", -180, -90, 180, 90, 2, 2, {4, TestNode{west, 0}}}});
  };
  const std::string one = directory.write("one", constant(1)),
                    hundred = directory.write("hundred", constant(100)),
                    empty = directory.write("empty", "12345"),
                    cut = directory.write("cut", constant(1).substr(0, 60));
  const std::string
      shift = "oprj_DatumShiftGrid: ",
      nadcon = shift + "Cannot do datum shift with NADCON (7)",
      noGrids = "No proper input grids (3)",
      noNodes = "Error reported by oprj_GetShifts (4) < oprj_GetShifts: Cannot find the data (2)";
  struct {
    const char *from, *to;
    std::string fromFile, toFile;
    double west;  ///< arc-seconds
    std::string report;
  } const cases[] = {
      {"NAD27", "NAD83", one, one, 1, ""},
      {"NAD83", "NAD27", one, one, -1, ""},
      {"NAD83", "HARN", one, hundred, 100, ""},
      {"HARN", "NAD83", hundred, one, -100, ""},
      {"NAD27", "HARN", one, hundred, 101, ""},
      {"HARN", "NAD27", hundred, one, -101, ""},
      {"NAD83", "NAD83", "", empty, 0, ""},
      {"NAD27", "WGS 84", one, one, 0,
       shift + "Invalid name for datum shift (3) < oprj_GetDatumShiftDirection: Invalid datum "
               "shift (1)"},
      {"NAD27", "NAD83", "", one, 0,
       shift + "Failed to get grid info (4) < oprj_GridHeaderRead: File not opened yet (1)"},
      {"NAD27", "NAD83", empty, one, 0,
       shift + "Failed to get grid info (4) < oprj_GridHeaderRead: Cannot find the data (2)"},
      {"NAD27", "NAD83", one, empty, 0,
       shift + "Failed to get grid info (5) < oprj_GridHeaderRead: Cannot find the data (2)"},
      {"NAD27", "NAD83", cut, cut, 0, nadcon + " < oprj_ShiftForward: " + noNodes},
      {"NAD83", "HARN", one, one, 0, nadcon + " < oprj_ShiftForward: " + noGrids},
      {"NAD27", "HARN", one, one, 0, nadcon + " < oprj_ShiftForward: " + noGrids},
      {"HARN", "NAD27", one, one, 0, nadcon + " < oprj_ShiftInverse: " + noGrids},
      {"NAD27", "HARN", cut, hundred, 0,
       nadcon + " < " + shift + "Cannot do datum shift (6) < oprj_ShiftForward: " + noNodes},
      {"HARN", "NAD27", hundred, cut, 0, nadcon + " < oprj_ShiftInverse: " + noNodes},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(std::string(c.from) + " to " + c.to + ": " + c.report);
    const GridDatum from(c.from, c.fromFile), to(c.to, c.toFile);
    for (const int32_t count : {1, 2500}) {
      const Points in(static_cast<size_t>(count), Oprj_Point{-1.5, 0.7});
      Points out(in.size(), {7, 7});
      Slot slot;
      oprj_DatumShiftGrid(in.data(), &from.datum, out.data(), &to.datum, count, slot);
      EXPECT_EQ(slot.chain(), c.report);
      if (!c.report.empty()) continue;
      for (const Oprj_Point &p : out) expectNear(p, {-1.5 - c.west / 3600 * kDeg, 0.7}, 1e-14);
    }
  }
  const GridDatum good("NAD27", one), other("NAD83", one, OPRJ_DATUM_PARAMETRIC);
  const Oprj_Point p{};
  Oprj_Point out;
  Slot slot;
  oprj_DatumShiftGrid(&p, &good.datum, &out, &other.datum, 1, slot);
  EXPECT_EQ(slot.chain(), shift + "Wrong datum types. (2)");
  const Opened opened(one);
  const std::string forward = "oprj_ShiftForward: ";
  for (const auto &[in, to, count, source] : {std::tuple(&p, &out, 0, &good.datum),
                                              {(const Oprj_Point *)nullptr, &out, 1, &good.datum},
                                              {&p, (Oprj_Point *)nullptr, 1, &good.datum},
                                              {&p, &out, 1, (const Oprj_Datum *)nullptr}}) {
    oprj_DatumShiftGrid(in, source, to, &good.datum, count, slot);
    EXPECT_EQ(slot.chain(), shift + "Empty argument(s). (1)");
  }
  expectRefusal(oprj_ShiftForward(opened.chain.get(), opened.file.get(), &p, &out, 0, slot), slot,
                forward + "No proper input point (1)");
  expectRefusal(oprj_ShiftForward(nullptr, opened.file.get(), &p, nullptr, 1, slot), slot,
                forward + noGrids);
  expectRefusal(oprj_ShiftInverse(opened.chain.get(), nullptr, &p, &out, 1, slot), slot,
                "oprj_ShiftInverse: " + noGrids);
  expectRefusal(oprj_GetShifts(nullptr, opened.file.get(), 0, 0, nullptr, nullptr, slot), slot,
                "oprj_GetShifts: No proper input grids (1)");
  expectRefusal(oprj_GetDatumGridExtent(nullptr, nullptr, nullptr, nullptr, nullptr, slot), slot,
                "oprj_DatumShift4EllipsoidSurfaceDatum: gridInfo is NULL (1)");
  const std::string folder = directory.path();
  expectRefusal(oprj_DatumGridFileOpen(folder.c_str(), slot), slot,
                "oprj_DatumGridFileOpen: " + folder +
                    ":  File not found (3) < ofio_Which: File \"" + folder +
                    "\" not found: Is a directory (2)");
}

// --- damage ---

/// Whatever the bytes are: a report, a point as it was, or some number; never a read outside.
void survives(const TemporaryDirectory &directory, const std::string &bytes) {
  const GridDatum from("NAD27", directory.write("damaged", bytes)), to("NAD83", from.fileName);
  Points in = radians(
      {{10.5, 10.5}, {12, 11}, {14, 12}, {0, 0}, {11.7, 10.2}, {13.9, 11.9}, {10, 10}, {13, 12}});
  in.insert(in.end(), in.begin(), in.end());
  for (const bool back : {false, true}) {
    Points out(in.size());
    Slot slot;
    oprj_DatumShiftGrid(in.data(), back ? &to.datum : &from.datum, out.data(),
                        back ? &from.datum : &to.datum, static_cast<int32_t>(in.size()), slot);
    const Chain chain(oprj_GridHeaderRead(from.file.get(), slot));
    for (const Oprj_Point &p : in)
      oprj_GetShifts(chain.get(), from.file.get(), p.x / kDeg, p.y / kDeg, nullptr, nullptr,
                     nullptr);
  }
}

TEST(DamagedGrids, EveryByteEveryCutEveryCount) {
  const TemporaryDirectory directory;
  const std::string sound =
      multiGrid({ramp("first", 10, 10, 12, 11, 3, 2), ramp("second", 11, 10, 14, 12, 4, 3, 100)});
  for (size_t length = 0; length < sound.size(); ++length)
    survives(directory, sound.substr(0, length));
  for (size_t at = 0; at < 88; ++at) {
    for (const char value : {'\0', '\x01', '\x7f', '\x80', '\xff'}) {
      std::string damaged = sound;
      damaged[at] = value;
      survives(directory, damaged);
    }
  }
  for (size_t record = 0; record < 2; ++record) {
    for (const size_t field : {16, 20, 24, 28, 32, 36, 40}) {
      for (const uint32_t value :
           {0u, 1u, 2u, 45u, 0x7fffffffu, 0x80000000u, 0xffffffffu, 0x7f800000u, 0x7fc00000u}) {
        std::string damaged = sound;
        std::memcpy(damaged.data() + 44 * record + field, &value, sizeof value);
        survives(directory, damaged);
      }
    }
  }
}

TEST(DamagedGrids, WhatIsMissingIsToldWhereItIsNeeded) {
  const TemporaryDirectory directory;
  // the last of three rows is cut off: points of the lower cells are shifted, and a run stops
  // behind
  std::string bytes = multiGrid({ramp("g", 10, 10, 13, 12, 4, 3)});
  bytes.resize(bytes.size() - 4 * 8);
  const Opened opened(directory.write("g.dat", bytes));
  for (const int32_t count : {5, 40}) {
    Points in(static_cast<size_t>(count), Oprj_Point{11.5 * kDeg, 10.5 * kDeg}),
        out(in.size(), {7, 7});
    in[3].y = 11.5 * kDeg;
    Slot slot;
    expectRefusal(oprj_ShiftForward(opened.chain.get(), opened.file.get(), in.data(), out.data(),
                                    count, slot),
                  slot,
                  "oprj_ShiftForward: Error reported by oprj_GetShifts (4) < oprj_GetShifts: "
                  "Cannot find the data (2)");
    for (int32_t i = 0; i < 3; ++i)
      expectNear(degrees(out)[static_cast<size_t>(i)], {11.5 - 1.5 / 3600, 10.5 + 5. / 3600}, 1e-9);
    EXPECT_EQ(out[3].x, 7);
  }
  // a node that is no number, met by every instruction set
  TestGrid hole = ramp("hole", 10, 10, 13, 12, 4, 3);
  hole.nodes[5].north = std::numeric_limits<float>::quiet_NaN();
  const Opened with(directory.write("hole.dat", multiGrid({hole})));
  const Points in(20, Oprj_Point{11.5 * kDeg, 10.5 * kDeg});
  for (const Points &out : {with.forward(in), with.inverse(in)})
    for (const Oprj_Point &p : out) EXPECT_TRUE(std::isnan(p.x) && std::isnan(p.y));
}

// --- sharing ---

TEST(GridFiles, AReplacedFileIsAnotherOne) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("g.dat", multiGrid({ramp("g", 0, 0, 1, 1, 2, 2, 5)}));
  const auto west = [](const Opened &opened) {
    double dLon = kNaN;
    oprj_GetShifts(opened.chain.get(), opened.file.get(), 0, 0, &dLon, nullptr, nullptr);
    return -dLon;
  };
  const Opened before(path);
  const int64_t blocks = omsc_HeapBlockCount();
  {
    const File again(oprj_DatumGridFileOpen(path.c_str(), nullptr));
    EXPECT_EQ(omsc_HeapBlockCount() - blocks, 1);  // the record: no second image
  }
  std::filesystem::rename(directory.write("new", multiGrid({ramp("g", 0, 0, 1, 1, 2, 2, 9)})),
                          path);
  const Opened after(path);
  EXPECT_EQ(west(before), 5);
  EXPECT_EQ(west(after), 9);
  // a large one is mapped: only what is touched takes memory
  const std::string large = directory.write("large", multiGrid({ramp("g", 0, 0, 1, 1, 2, 2, 3)}));
  std::filesystem::resize_file(large, 3ull << 30);
  EXPECT_EQ(west(Opened(large)), 3);
}

TEST(GridFiles, TheFileOnTheWayFromHarnStaysOpenWithIt) {
  const TemporaryDirectory directory;
  for (const char *name : {"nad27.dat", "harn.dat"})
    std::filesystem::copy(std::string(OPRJ_SOURCE_DIR "/data/") + name, directory.path());
  const ScopedEnvironment datums("ORVIK_DATUMS_PATH", directory.path().c_str());
  const LeakCheck leaks;
  const SpheroidPtr harn = named("GRS 1980", "HARN"), wgs84 = named("WGS 84", "WGS 84");
  const Oprj_Point in = {-1.4, 0.5};
  const auto blocksAfter = [&](const SpheroidPtr &from, const SpheroidPtr &to) {
    Oprj_Point out;
    Slot slot;
    oprj_DatumShift(&in, from.get(), &out, to.get(), 1, slot);
    expectNoReport(slot);
    return omsc_HeapBlockCount();
  };
  const int64_t before = omsc_HeapBlockCount(), open = blocksAfter(harn, wgs84);
  EXPECT_GT(open, before);
  EXPECT_EQ(blocksAfter(wgs84, harn), open);
  // a new file takes the old one's place
  const std::string path = directory.path() + "/nad27.dat";
  std::filesystem::rename(directory.write("new", readFile(path)), path);
  EXPECT_EQ(blocksAfter(harn, wgs84), open);
}

TEST(GridFiles, ThreadsShareDatums) {
  const LeakCheck leaks;
  const SpheroidPtr from = named("Clarke 1866", "NAD27"), to = named("GRS 1980", "HARN");
  Oprj_GridInfo florida{};
  florida = {nullptr, nullptr, 24, -88, 32, -80, 1, 1, 2, 2, 1, nullptr};
  const Points in = scattered(florida, 3000, 1);
  Points expected(in.size());
  oprj_DatumShift(in.data(), from.get(), expected.data(), to.get(), 3000, nullptr);
  inThreads(4, [&](size_t) {
    for (int i = 0; i < 20; ++i) {
      Points points = in;  // in place
      const int64_t before = tally().unshifted;
      oprj_DatumShift(points.data(), from.get(), points.data(), to.get(), 3000, nullptr);
      EXPECT_TRUE(sameBits(points, expected));
      EXPECT_GT(tally().unshifted, before);
    }
  });
}

TEST(GridFiles, ReportTheWantOfMemory) {
  const LeakCheck leaks;
  const GridDatum from("NAD27", "nad27.dat"), to("HARN", "harn.dat");
  const Points in(2000, Oprj_Point{-1.4, 0.5});
  forEachAllocationFailure(
      [](Oerr_Report **err) { return File(oprj_DatumGridFileOpen("nad27.dat", err)) != nullptr; });
  forEachAllocationFailure([&](Oerr_Report **err) {
    Points out(in.size());
    oprj_DatumShiftGrid(in.data(), &from.datum, out.data(), &to.datum, 2000, err);
    return !*err;
  });
  forEachAllocationFailure([&](Oerr_Report **err) {
    const Chain chain(oprj_GridHeaderRead(from.file.get(), err));
    if (!chain) return false;
    Oprj_Point *made =
        oprj_ShiftForward(chain.get(), from.file.get(), in.data(), nullptr, 2000, err);
    const bool good = made != nullptr;
    oprj_PointsFree(&made);
    return good;
  });
}

}  // namespace
