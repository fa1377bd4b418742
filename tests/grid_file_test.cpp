// Grid files: every format there and back, against PROJ and the installed grids of proj-data, the
// search of sub-grids, refusals, files of which every byte or length is wrong.
#include <oprj/grid_file.h>
#include <proj.h>
#include <tiffio.h>

#include <random>

#include "tests/datum_support.h"

namespace {

using namespace orvik::test;
using OrvikDatum::GridFile;
using OrvikDatum::GridFormat;
using OrvikDatum::GridPlace;
using OrvikDatum::SubGrid;
namespace fs = std::filesystem;

constexpr double kDeg = 3.14159265358979323846 / 180;
const std::string kProjData = "/usr/share/proj/", kData = OPRJ_SOURCE_DIR "/data/";

GridFile::Ptr opened(const std::string &path) {
  Slot slot;
  GridFile::Ptr file = GridFile::Open(path.c_str(), slot);
  EXPECT_TRUE(file) << slot.chain();
  return file;
}
GridFile::Ptr rewritten(const GridFile::Ptr &file, const std::string &path, GridFormat format) {
  Slot slot;
  EXPECT_TRUE(file->Write(path.c_str(), format, slot)) << slot.chain();
  return opened(path);
}

/// A multi-grid file of one sub-grid, with numbers that neither radians nor decimals hold exactly.
std::string rough(int32_t columns = 33, int32_t rows = 9, float latStep = 0.5f) {
  constexpr float west = -80, south = 30;
  TestGrid grid = ramp("one", west, south, west + 0.25f * static_cast<float>(columns - 1),
                       south + latStep * static_cast<float>(rows - 1), columns, rows);
  std::mt19937 random(5);
  std::uniform_real_distribution<float> shift(-4, 4);
  for (TestNode &node : grid.nodes) node = {shift(random), shift(random)};
  return multiGrid({grid});
}

/// Records of a national transformation: names and values of 8 bytes each.
struct Records {
  bool bigEndian = false;
  std::string bytes = {};

  void number(auto value, size_t width) {
    std::string field(reinterpret_cast<const char *>(&value), sizeof value);
    if (bigEndian) std::reverse(field.begin(), field.end());
    field.resize(width, '\0');
    bytes += field;
  }
  void text(std::string value) {
    value.resize(8, ' ');
    bytes += value;
  }
  void record(const char *name, auto value) {
    text(name);
    if constexpr (std::is_arithmetic_v<decltype(value)>) number(value, 8);
    else text(value);
  }
};

struct Ntv2Grid {
  std::string name, parent;
  double west, south, east, north, step;  // degrees
  float shift;                            // arc-seconds, of all nodes
};

std::string ntv2(const std::vector<Ntv2Grid> &grids, bool bigEndian = false) {
  Records file{bigEndian};
  file.record("NUM_OREC", 11);
  file.record("NUM_SREC", 11);
  file.record("NUM_FILE", static_cast<int32_t>(grids.size()));
  for (const char *name : {"GS_TYPE", "VERSION", "SYSTEM_F", "SYSTEM_T"})
    file.record(name, "SECONDS");
  for (const char *name : {"MAJOR_F", "MINOR_F", "MAJOR_T", "MINOR_T"})
    file.record(name, 6378137.0);
  for (const Ntv2Grid &g : grids) {
    file.record("SUB_NAME", g.name);
    file.record("PARENT", g.parent);
    file.record("CREATED", "");
    file.record("UPDATED", "");
    for (const double bound : {g.south, g.north, -g.east, -g.west, g.step, g.step})
      file.record("", bound * 3600);
    const auto side = [&](double low, double high) {
      return static_cast<int32_t>(std::lround((high - low) / g.step)) + 1;
    };
    const int32_t count = side(g.west, g.east) * side(g.south, g.north);
    file.record("GS_COUNT", count);
    for (int32_t i = 0; i < count; ++i)
      for (const float value : {g.shift, -g.shift, 0.5f, 0.25f}) file.number(value, sizeof value);
  }
  return file.bytes;
}

/// The nodes of a file as NTv1 has them, which is big-endian and has rows from the east.
std::string ntv1(const GridFile &of) {
  const SubGrid &g = of.GetSubGrids()[0];
  Records file{true};
  file.record("HEADER", 12);
  file.record("S LAT", g.south);
  file.record("N LAT", g.north);
  file.record("E LONG", -g.east);
  file.record("W LONG", -g.west);
  file.record("N GRID", g.latStep);
  file.record("W GRID", g.lonStep);
  file.record("TYPE", "SECONDS");
  file.record("FROM", "NAD27");
  file.record("TO", "NAD83");  // which PROJ knows the format by
  for (const char *name : {"MAJOR", "MINOR"}) file.record(name, 6378137.0);
  for (int32_t row = 0; row < g.rows; ++row) {
    for (int32_t column = g.columns - 1; column >= 0; --column) {
      float node[4] = {};
      EXPECT_TRUE(of.GetNode(0, column, row, node));
      for (const double value : {double(node[1]), -double(node[0])}) file.number(value, 8);
    }
  }
  return file.bytes;
}
const std::vector<Ntv2Grid> kNested = {{"CHILD", "ROOT", 2, 2, 6, 6, 1, 2},
                                       {"ROOT", "NONE", 0, 0, 10, 10, 2, 1},
                                       {"GRAND", "CHILD", 4, 4, 5, 5, 0.5, 3},
                                       {"BESIDE", "ROOT", 6, 2, 8, 6, 1, 4},
                                       {"FAR", "NONE", 170, 0, 190, 10, 2, 5}};

/// Bounds and every node are the same.
void expectSame(const GridFile &a, const GridFile &b, float tolerance) {
  ASSERT_EQ(a.GetSubGrids().size(), b.GetSubGrids().size());
  for (int32_t i = 0; i < static_cast<int32_t>(a.GetSubGrids().size()); ++i) {
    const SubGrid &g = a.GetSubGrids()[static_cast<size_t>(i)];
    const SubGrid &h = b.GetSubGrids()[static_cast<size_t>(i)];
    ASSERT_EQ(g.columns, h.columns);
    ASSERT_EQ(g.rows, h.rows);
    EXPECT_EQ(g.parent, h.parent);
    for (const auto bound : {&SubGrid::west, &SubGrid::south, &SubGrid::east, &SubGrid::north,
                             &SubGrid::lonStep, &SubGrid::latStep})
      EXPECT_NEAR(g.*bound, h.*bound, 1e-12 + 1e-5 * tolerance);
    for (int32_t row = 0; row < g.rows; ++row) {
      for (int32_t column = 0; column < g.columns; ++column) {
        float x[4], y[4];
        ASSERT_TRUE(a.GetNode(i, column, row, x) && b.GetNode(i, column, row, y));
        for (int k = 0; k < 2; ++k) {
          const bool bothNone = std::isnan(x[k]) && std::isnan(y[k]);
          ASSERT_NEAR(bothNone ? 0 : x[k], bothNone ? 0 : y[k], tolerance);
        }
      }
    }
  }
}

TEST(GridFiles, GoThereAndBackInEveryFormat) {
  const LeakCheck leaks;
  const TemporaryDirectory directory;
  const GridFile::Ptr shifts = opened(directory.write("shifts", rough()));
  const GridFile::Ptr metres = opened(kProjData + "egm96_15.gtx");
  struct {
    GridFormat format;
    const char *name;
    const GridFile::Ptr &from;
    float tolerance;  // of float32 radians
  } const formats[] = {{GridFormat::NTv2, "NTv2", shifts, 0},
                       {GridFormat::CTable2, "CTABLE V2", shifts, 1e-6f},
                       {GridFormat::LasLos, "las/los", shifts, 0},
                       {GridFormat::GTX, "GTX", metres, 0},
                       {GridFormat::GeoTiff, "GeoTIFF", shifts, 0},
                       {GridFormat::GeoTiff, "GeoTIFF", metres, 0}};
  for (const auto &f : formats) {
    SCOPED_TRACE(f.name);
    EXPECT_STREQ(GetGridFormatName(f.format), f.name);
    const auto there = rewritten(f.from, directory.path() + "/there.las", f.format);
    EXPECT_EQ(there->GetFormat(), f.format);
    EXPECT_EQ(there->GetBandCount(), f.from->GetBandCount());
    expectSame(*f.from, *there, f.tolerance);
    const auto back = rewritten(there, directory.path() + "/back", f.from->GetFormat());
    expectSame(*f.from, *back, f.tolerance);
  }
  const auto national = opened(directory.write("ntv1", ntv1(*shifts)));  // not written
  EXPECT_STREQ(GetGridFormatName(national->GetFormat()), "NTv1");
  expectSame(*shifts, *national, 0);
  // sub-grids with names, parents and accuracies
  const auto nested = opened(kProjData + "nzgd2kgrid0005.gsb");
  expectSame(*nested, *rewritten(nested, directory.path() + "/nested", GridFormat::GeoTiff), 0);
  const auto again = rewritten(nested, directory.path() + "/again", GridFormat::NTv2);
  expectSame(*nested, *again, 0);
  // as a table, and as a tree made of the table again
  const auto tree = opened(directory.write("tree", ntv2({kNested.begin(), kNested.begin() + 4})));
  const auto table = rewritten(tree, directory.path() + "/table", GridFormat::MultiGrid);
  expectSame(*rewritten(tree, directory.path() + "/first", GridFormat::NTv2),
             *rewritten(table, directory.path() + "/second", GridFormat::NTv2), 0);
  EXPECT_EQ(again->GetSubGrids()[0].name, nested->GetSubGrids()[0].name);
  EXPECT_EQ(again->GetSystemFrom(), nested->GetSystemFrom());
}

/// What a grid file says of a point, in degrees or metres.
bool shiftAt(const GridFile &file, double lon, double lat, double shift[2]) {
  GridPlace p;
  if (!file.FindPlace(lon, lat, p)) return false;
  float nodes[2][2][4];
  for (const int i : {0, 1}) {
    for (const int k : {0, 1})
      EXPECT_TRUE(file.GetNode(p.subGrid, p.column + k, p.row + i, nodes[i][k]));
  }
  for (const int band : {0, 1}) {
    const double below = nodes[0][0][band] * (1 - p.u) + nodes[0][1][band] * p.u;
    const double above = nodes[1][0][band] * (1 - p.u) + nodes[1][1][band] * p.u;
    shift[band] = below * (1 - p.v) + above * p.v;
  }
  return true;
}

/// PROJ shifts points all over the grids as our reader says.
void expectProjAgrees(const std::string &path, double tolerance) {
  SCOPED_TRACE(path);
  const GridFile::Ptr file = opened(path);
  const bool vertical = file->GetBandCount() == 1;
  PJ *peer = proj_create(
      PJ_DEFAULT_CTX,
      ((vertical ? "+proj=vgridshift +multiplier=1 +grids=" : "+proj=hgridshift +grids=") + path)
          .c_str());
  ASSERT_NE(peer, nullptr);
  std::mt19937_64 random(3);
  double worst = 0;
  for (const SubGrid &g : file->GetSubGrids()) {
    const double beyond = g.isClosed ? g.lonStep : 0;
    std::uniform_real_distribution<double> lon(g.west, g.east + beyond), lat(g.south, g.north);
    for (int i = 0; i < 2000; ++i) {
      const double x = lon(random), y = lat(random);
      double shift[2] = {};
      ASSERT_TRUE(shiftAt(*file, x, y, shift));
      const PJ_COORD to = proj_trans(peer, PJ_FWD, proj_coord(x * kDeg, y * kDeg, 0, 0));
      if (vertical) {
        worst = std::max(worst, std::fabs(to.lpz.z - shift[0]));
      } else {
        worst =
            std::max({worst, std::fabs(std::remainder(to.lp.lam / kDeg - x, 360) - shift[0] / 3600),
                      std::fabs(to.lp.phi / kDeg - y - shift[1] / 3600)});
      }
    }
  }
  EXPECT_LE(worst, tolerance);
  proj_destroy(peer);
}

TEST(GridFiles, AgreeWithProj) {
  constexpr double kDegrees = 5e-10, kMetres = 2e-5;  // PROJ keeps shifts as float32 radians
  for (const char *name : {"BETA2007.gsb", "ntf_r93.gsb", "nzgd2kgrid0005.gsb", "CHENYX06.gsb"})
    expectProjAgrees(kProjData + name, kDegrees);
  expectProjAgrees(kProjData + "egm96_15.gtx", kMetres);
  const TemporaryDirectory directory;
  // PROJ takes the cells of CTABLE V2 files for squares
  const GridFile::Ptr shifts = opened(directory.write("shifts", rough(33, 9, 0.25f)));
  for (const GridFormat format : {GridFormat::NTv2, GridFormat::CTable2, GridFormat::GeoTiff}) {
    const std::string path = directory.path() + "/" + std::to_string(static_cast<int>(format));
    rewritten(shifts, path, format);  // PROJ keeps what it has read of a path
    expectProjAgrees(path, kDegrees);
  }
  expectProjAgrees(directory.write("ntv1", ntv1(*shifts)), kDegrees);
}

TEST(GridFiles, HoldPublishedValues) {
  // NADCON, conterminous United States; longitude shifts positive east here
  const GridFile::Ptr file = opened(kData + "nad27.dat");
  int32_t conus = 0;
  while (file->GetSubGrids()[static_cast<size_t>(conus)].name != "conus") ++conus;
  struct {
    int32_t column, row;
    float lon, lat;
  } const nodes[] = {{0, 0, -3.535506f, 0.864138f},
                     {272, 120, 2.159106f, 0.015358f},
                     {20, 10, -3.139135f, 0.775298f}};
  for (const auto &n : nodes) {
    float node[4];
    ASSERT_TRUE(file->GetNode(conus, n.column, n.row, node));
    EXPECT_NEAR(node[0], n.lon, 1.5e-6);
    EXPECT_NEAR(node[1], n.lat, 1.5e-6);
  }
  // EGM96: at the origin, and between its last column and its first
  const GridFile::Ptr geoid = opened(kProjData + "egm96_15.gtx");
  double value[2];
  ASSERT_TRUE(shiftAt(*geoid, 0, 0, value));
  EXPECT_NEAR(value[0], 17.161579, 1e-6);
  for (const double turn : {-360, 0, 360}) {
    ASSERT_TRUE(shiftAt(*geoid, 179.9 + turn, -17.3, value));
    EXPECT_NEAR(value[0], 50.623479, 1e-6);
  }
}

TEST(GridFiles, TheDeepestSubGridServes) {
  const TemporaryDirectory directory;
  struct {
    double lon, lat;
    int32_t found;
  } const places[] = {
      {1, 1, 1},    {3, 3, 0},      {4.2, 4.2, 2},  {4, 5, 2},     {6, 4, 0},        {7, 3, 3},
      {10, 10, 1},  {10.01, 5, -1}, {-0.01, 5, -1}, {365, 10, 1},  {-175, 5, 4},     {185, 5, 4},
      {-350, 0, 1}, {5, -0.01, -1}, {kNaN, 5, -1},  {5, kNaN, -1}, {INFINITY, 5, -1}};
  for (const bool bigEndian : {false, true}) {
    const auto file = opened(directory.write("nested", ntv2(kNested, bigEndian)));
    // rewritten with parents first; as a table whose first sub-grid serves, children first
    const auto parentsFirst = rewritten(file, directory.path() + "/a", GridFormat::NTv2);
    const auto table = rewritten(file, directory.path() + "/b", GridFormat::MultiGrid);
    EXPECT_EQ(parentsFirst->GetSubGrids()[0].name, "ROOT");
    EXPECT_EQ(table->GetSubGrids()[0].name, "GRAND");
    for (const auto &p : places) {
      SCOPED_TRACE(p.lon);
      EXPECT_EQ(file->FindSubGrid(p.lon, p.lat), p.found);
      double shift[2] = {};
      EXPECT_EQ(shiftAt(*file, p.lon, p.lat, shift), p.found >= 0);
      if (p.found < 0) continue;
      EXPECT_EQ(shift[0], kNested[static_cast<size_t>(p.found)].shift);
      double same[2];
      ASSERT_TRUE(shiftAt(*parentsFirst, p.lon, p.lat, same));
      EXPECT_EQ(same[0], shift[0]);
      const double turned = std::remainder(p.lon, 360);  // tables do not turn
      ASSERT_TRUE(shiftAt(*table, turned, p.lat, same));
      EXPECT_EQ(same[0], shift[0]);
    }
    float node[4];
    ASSERT_TRUE(file->GetNode(0, 0, 0, node));
    EXPECT_EQ(node[2], 0.25f);
    EXPECT_EQ(node[3], 0.5f);
  }
}

TEST(GridFiles, MultiGridsAreCutAtTheAntimeridian) {
  const TemporaryDirectory directory;
  const auto file = opened(directory.write("far", ntv2({kNested[4]})));
  const auto table = rewritten(file, directory.path() + "/far.dat", GridFormat::MultiGrid);
  ASSERT_EQ(table->GetSubGrids().size(), 2u);
  EXPECT_EQ(table->GetSubGrids()[0].east, 182);
  EXPECT_EQ(table->GetSubGrids()[1].west, -182);
  // shifted there and back on both sides
  Oprj_GridData *data = oprj_DatumGridFileOpen((directory.path() + "/far.dat").c_str(), nullptr);
  Oprj_GridInfo *chain = oprj_GridHeaderRead(data, nullptr);
  for (const double lon : {-180., -179.9999, -179.9990, 179.9999, 179.9990, 180., 175., -171.}) {
    const Oprj_Point in = {lon * kDeg, 5 * kDeg};
    Oprj_Point moved, back;
    oprj_ShiftInverse(chain, data, &in, &moved, 1, nullptr);
    oprj_ShiftForward(chain, data, &moved, &back, 1, nullptr);
    EXPECT_NEAR(std::remainder(back.x / kDeg - lon, 360), 0, 1e-9) << lon;
    EXPECT_NEAR(back.y / kDeg, 5, 1e-9) << lon;
    EXPECT_NE(moved.x, in.x) << lon;
  }
  oprj_GridHeaderFree(&chain);
  oprj_DatumGridFileClose(&data);
}

// --- TIFF files of others ---

struct Tiff {
  bool tiled = false, separate = false, pixelIsArea = false, fromSouth = false, bigEndian = false;
  uint16_t format = SAMPLEFORMAT_IEEEFP, bits = 32, modelType = 2;
  double scale = 1;
  std::string type = "HORIZONTAL_OFFSET", unit = "arc-second", positive = "east",
              latitude = "latitude_offset";
  bool placed = true;
};

/// Node (column, row) is (column, 10 row) arc-seconds east and north, or metres, when whole numbers
/// have been scaled; that in the north-east has no value. West of it 20 degrees, south 40, step 1.
std::string tiff(const std::string &path, const Tiff &t) {
  constexpr TIFFFieldInfo kFields[] = {
      {33550, -1, -1, TIFF_DOUBLE, FIELD_CUSTOM, 1, 1, const_cast<char *>("scale")},
      {33922, -1, -1, TIFF_DOUBLE, FIELD_CUSTOM, 1, 1, const_cast<char *>("tie")},
      {34264, -1, -1, TIFF_DOUBLE, FIELD_CUSTOM, 1, 1, const_cast<char *>("matrix")},
      {34735, -1, -1, TIFF_SHORT, FIELD_CUSTOM, 1, 1, const_cast<char *>("keys")},
      {42112, -1, -1, TIFF_ASCII, FIELD_CUSTOM, 1, 0, const_cast<char *>("metadata")},
      {42113, -1, -1, TIFF_ASCII, FIELD_CUSTOM, 1, 0, const_cast<char *>("none")}};
  constexpr int kColumns = 18, kRows = 17, kNone = 99, kTile = 16;
  TIFF *file = TIFFOpen(path.c_str(), t.bigEndian ? "wb" : "wl");
  TIFFMergeFieldInfo(file, kFields, std::size(kFields));
  TIFFSetField(file, TIFFTAG_IMAGEWIDTH, kColumns);
  TIFFSetField(file, TIFFTAG_IMAGELENGTH, kRows);
  TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, 2);
  TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, t.bits);
  TIFFSetField(file, TIFFTAG_SAMPLEFORMAT, t.format);
  TIFFSetField(file, TIFFTAG_PLANARCONFIG,
               t.separate ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
  TIFFSetField(file, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
  if (t.tiled) {
    TIFFSetField(file, TIFFTAG_TILEWIDTH, kTile);
    TIFFSetField(file, TIFFTAG_TILELENGTH, kTile);
  } else {
    TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, 5);
  }
  const double half = t.pixelIsArea ? 0.5 : 0;
  const double scales[] = {1, 1, 0}, tie[] = {0, 0, 0, 20 - half, 40 + kRows - 1 + half, 0};
  const double matrix[16] = {1, 0, 0, 20 - half, 0, 1, 0, 40 - half, 0, 0, 0, 0, 0, 0, 0, 1};
  if (t.placed && t.fromSouth) TIFFSetField(file, 34264, 16, matrix);
  if (t.placed && !t.fromSouth) TIFFSetField(file, 33550, 3, scales);
  if (t.placed && !t.fromSouth) TIFFSetField(file, 33922, 6, tie);
  const uint16_t keys[] = {1,    1, 0, 2,
                           1024, 0, 1, t.modelType,
                           1025, 0, 1, static_cast<uint16_t>(t.pixelIsArea ? 1 : 2)};
  TIFFSetField(file, 34735, 12, keys);
  std::string metadata = "<GDALMetadata><Item name=\"TYPE\">" + t.type + "</Item>";
  const auto item = [&](const char *name, int sample, const std::string &value) {
    metadata += std::string("<Item name=\"") + name + "\" sample=\"" + std::to_string(sample) +
                "\">" + value + "</Item>";
  };
  item("DESCRIPTION", 0, "longitude_offset");  // not in the usual order
  item("DESCRIPTION", 1, t.latitude);
  item("positive_value", 0, t.positive);
  for (const int sample : {0, 1}) {
    item("UNITTYPE", sample, t.unit);
    item("SCALE", sample, std::to_string(t.scale));
  }
  TIFFSetField(file, 42112, (metadata + "</GDALMetadata>").c_str());
  TIFFSetField(file, 42113, "99");
  const auto valueAt = [&](uint32_t x, uint32_t y, int sample) -> double {
    const uint32_t row = t.fromSouth ? y : kRows - 1 - y;
    if (x == kColumns - 1 && row == kRows - 1) return kNone;
    return sample == 0 ? (t.positive == "west" ? -1.0 : 1.0) * x : 10.0 * row / t.scale;
  };
  const uint32_t blockWidth = t.tiled ? kTile : kColumns, blockHeight = t.tiled ? kTile : 5;
  for (int plane = 0; plane < (t.separate ? 2 : 1); ++plane) {
    for (uint32_t top = 0; top < kRows; top += blockHeight) {
      for (uint32_t left = 0; left < kColumns; left += blockWidth) {
        std::string block;
        for (uint32_t y = top; y < top + blockHeight; ++y) {
          for (uint32_t x = left; x < left + blockWidth; ++x) {
            for (int s = plane; s < (t.separate ? plane + 1 : 2); ++s) {
              if (t.format == SAMPLEFORMAT_INT) put(block, static_cast<int16_t>(valueAt(x, y, s)));
              else if (t.bits == 64) put(block, valueAt(x, y, s));
              else put(block, static_cast<float>(valueAt(x, y, s)));
            }
          }
        }
        const auto size = static_cast<tmsize_t>(block.size());
        const auto sample = static_cast<uint16_t>(plane);
        if (t.tiled) TIFFWriteTile(file, block.data(), left, top, 0, sample);
        else TIFFWriteEncodedStrip(file, TIFFComputeStrip(file, top, sample), block.data(), size);
      }
    }
  }
  TIFFClose(file);
  return path;
}

TEST(GeoTiffs, AreReadAsOthersWriteThem) {
  const TemporaryDirectory directory;
  const Tiff variants[] = {{},
                           {.tiled = true},
                           {.tiled = true, .separate = true, .bigEndian = true},
                           {.separate = true, .pixelIsArea = true},
                           {.pixelIsArea = true, .fromSouth = true},
                           {.fromSouth = true, .positive = "west"},
                           {.bigEndian = true, .format = SAMPLEFORMAT_INT, .bits = 16},
                           {.tiled = true, .bits = 64, .scale = 0.5},
                           {.separate = true}};
  for (size_t i = 0; i < 2 * std::size(variants); ++i) {
    // the second time behind PROJ, which has told libtiff of the tags then, in its own way; shifts
    // of 160" are float32 radians there
    if (i == std::size(variants)) expectProjAgrees(directory.path() + "/other.tif", 5e-9);
    const Tiff &variant = variants[i % std::size(variants)];
    SCOPED_TRACE(i);
    const auto file = opened(tiff(directory.path() + "/other.tif", variant));
    const SubGrid &g = file->GetSubGrids()[0];
    EXPECT_EQ((std::vector{g.west, g.south, g.east, g.north, g.lonStep, g.latStep}),
              (std::vector{20., 40., 37., 56., 1., 1.}));
    for (int32_t row = 0; row < g.rows; ++row) {
      for (int32_t column = 0; column < g.columns; ++column) {
        float node[4];
        ASSERT_TRUE(file->GetNode(0, column, row, node));
        if (column == 17 && row == 16) EXPECT_TRUE(std::isnan(node[0]) && std::isnan(node[1]));
        else
          EXPECT_TRUE(node[0] == static_cast<float>(column * variant.scale) &&
                      node[1] == 10.f * static_cast<float>(row))
              << column << " " << row;
      }
    }
  }
  struct {
    Tiff tiff;
    const char *reason;
  } const refused[] = {{{.modelType = 1}, "Its places are not longitudes and latitudes (5)"},
                       {{.type = "VELOCITY"}, "Its type is \"VELOCITY\" (5)"},
                       {{.unit = "furlong"}, "The unit of a sample is \"furlong\" (5)"},
                       {{.positive = "up"}, "Its longitudes are positive towards \"up\" (5)"},
                       {{.latitude = "colour"},
                        "Its samples are neither shifts in longitude and latitude nor heights (5)"},
                       {{.placed = false}, "It does not say where the grid lies (3)"}};
  for (const auto &r : refused) {
    const std::string path = tiff(directory.path() + "/other.tif", r.tiff);
    Slot slot;
    expectRefusal(
        GridFile::Open(path.c_str(), slot), slot,
        "GridFile::Open: " + path + ": cannot be read as GeoTIFF (4) < GeoTIFF: " + r.reason);
  }
}

// --- refusals ---

TEST(GridFiles, TellWhyTheyCannotBeRead) {
  const LeakCheck leaks;
  const TemporaryDirectory directory;
  const auto with = [](std::vector<Ntv2Grid> grids, size_t index, const char *parent) {
    grids[index].parent = parent;
    return ntv2(grids);
  };
  const auto changed = [](std::string bytes, size_t at, auto value) {
    std::memcpy(bytes.data() + at, &value, sizeof value);
    return bytes;
  };
  const std::string sound = ntv2({kNested[1]}),
                    first = ntv1(*opened(directory.write("small", rough(5, 3))));
  struct {
    std::string bytes;
    const char *format, *reason;
  } const cases[] = {
      {with(kNested, 0, "NOBODY"), "NTv2",
       "Sub-grid \"CHILD\" has the parent \"NOBODY\", which is not there (4)"},
      {with(kNested, 1, "GRAND"), "NTv2", "Sub-grids are their own parents in a circle (4)"},
      {with(kNested, 4, "FAR"), "NTv2", "Sub-grids are their own parents in a circle (4)"},
      {changed(sound, 40, 0), "NTv2", "NUM_FILE is 0 (2)"},
      {changed(sound, 40, 0x7fffffff), "NTv2", "The file cannot hold 2147483647 sub-grids (1)"},
      {changed(sound, 8, 12), "NTv2", "The headers have not 11 records of 16 bytes each (2)"},
      {changed(sound, 56, 'X'), "NTv2", "GS_TYPE is \"XECONDS\" (5)"},
      {changed(sound, 176 + 168, 37), "NTv2",
       "Sub-grid \"ROOT\" has 37 nodes, and its bounds and steps say 36 (2)"},
      {changed(sound, 176 + 136, 3600.0 * 3), "NTv2",
       "Sub-grid \"ROOT\" has 36 nodes, and its bounds and steps say 0 (2)"},
      {sound.substr(0, sound.size() - 1), "NTv2",
       "The nodes of sub-grid \"ROOT\" are not in the file (1)"},
      {changed(first, 8, 12), "NTv1", "The header has not 12 records (2)"},
      {changed(first, 88, 0.0), "NTv1", "Sub-grid \"\" has 5 columns and 0 rows (2)"},
      {first.substr(0, 191), "NTv1", "The file ends in its header (1)"},
      {first.substr(0, first.size() - 1), "NTv1", "The file ends before its 5 x 3 nodes (1)"},
      {rough().substr(0, 2000), "multi-grid",
       "The nodes of sub-grid \"one\" are not in the file (1)"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.reason);
    const std::string path = directory.write("damaged", c.bytes);
    Slot slot;
    expectRefusal(GridFile::Open(path.c_str(), slot), slot,
                  "GridFile::Open: " + path + ": cannot be read as " + c.format + " (4) < " +
                      c.format + ": " + c.reason);
  }
  const std::string other =
      directory.write("other", "no grid, but a text of some length, which is long enough");
  Slot slot;
  expectRefusal(GridFile::Open(other.c_str(), slot), slot,
                "GridFile::Open: " + other + ": not a grid file of a known format (3)");
  expectRefusal(GridFile::Open("", slot), slot, "GridFile::Open: Invalid input file name (1)");
  for (const std::string &none : {directory.path(), directory.path() + "/none"}) {
    EXPECT_FALSE(GridFile::Open(none.c_str(), slot));
    EXPECT_EQ(slot.chain().find("GridFile::Open: Cannot open the grid file (2) < "), 0u);
    EXPECT_NE(slot.chain().find(none), std::string::npos);
  }
}

TEST(GridFiles, TellWhyTheyCannotBeWritten) {
  const LeakCheck leaks;
  const TemporaryDirectory directory;
  const auto nested = opened(directory.write("nested", ntv2(kNested)));
  // cut at the antimeridian, its parts overlap there
  const auto table = rewritten(nested, directory.path() + "/table", GridFormat::MultiGrid);
  const auto partly = opened(directory.write(
      "partly", multiGrid({ramp("a", 0, 0, 2, 2, 3, 3), ramp("b", 1, 1, 3, 3, 3, 3)})));
  const auto hidden = opened(directory.write(
      "hidden", multiGrid({ramp("a", 0, 0, 4, 4, 5, 5), ramp("b", 1, 1, 3, 3, 3, 3)})));
  const auto metres = opened(kProjData + "egm96_15.gtx");
  struct {
    const GridFile::Ptr &file;
    GridFormat format;
    const char *reason;
  } const cases[] = {
      {nested, GridFormat::CTable2, "It has 5 sub-grids, and the format one (4)"},
      {nested, GridFormat::GTX, "It holds shifts, and the format metres (5)"},
      {nested, GridFormat::NTv1, "NTv1 files are not written (5)"},
      {metres, GridFormat::NTv2,
       "It holds metres, and the format shifts in longitude and latitude (5)"},
      {partly, GridFormat::NTv2,
       "Sub-grids \"a\" and \"b\" overlap, and neither refines the other (4)"},
      {table, GridFormat::NTv2,
       "Sub-grids \"FAR\" and \"FAR 2\" overlap, and neither refines the other (4)"},
      {hidden, GridFormat::NTv2,
       "Sub-grids \"a\" and \"b\" overlap, and neither refines the other (4)"},
  };
  const std::string target = directory.write("target", "as it was");
  const auto filesThere = [&] {
    return std::distance(fs::directory_iterator(directory.path()), {});
  };
  const auto before = filesThere();
  for (const auto &c : cases) {
    Slot slot;
    const std::string name = GetGridFormatName(c.format);
    expectRefusal(
        c.file->Write(target.c_str(), c.format, slot), slot,
        "GridFile::Write: " + name + " cannot hold this grid (2) < " + name + ": " + c.reason);
  }
  Slot slot;
  for (const std::string &path : {directory.path() + "/no/folder", directory.path()}) {
    EXPECT_FALSE(nested->Write(path.c_str(), GridFormat::NTv2, slot));
    EXPECT_EQ(slot.chain().find("GridFile::Write: " + path + ": cannot be written (3) < "), 0u)
        << slot.chain();
  }
  expectRefusal(
      nested->Write("/dev/full/x", GridFormat::NTv2, slot), slot,
      "GridFile::Write: /dev/full/x: cannot be written (3) < NTv2: no temporary file can be "
      "made beside it: Not a directory (1)");
  EXPECT_EQ(filesThere(), before);
  EXPECT_EQ(readFile(target), "as it was");
  forEachAllocationFailure([&](Oerr_Report **err) {
    return nested->Write((directory.path() + "/memory").c_str(), GridFormat::MultiGrid, err);
  });
  forEachAllocationFailure([&](Oerr_Report **err) {
    return bool(GridFile::Open((directory.path() + "/nested").c_str(), err));
  });
}

// --- damage ---

/// Whatever the bytes are: a report, or a file whose every corner can be asked.
void survives(const std::string &path, const std::string &bytes) {
  {  // in place, which is many times faster than writing files anew
    std::fstream stream(path, std::ios::binary | std::ios::in | std::ios::out);
    stream << bytes;
  }
  fs::resize_file(path, bytes.size());
  Slot slot;
  const GridFile::Ptr file = GridFile::Open(path.c_str(), slot);
  ASSERT_NE(bool(file), slot.failed());
  if (!file) return;
  const auto count = static_cast<int32_t>(file->GetSubGrids().size());
  for (int32_t i = 0; i < count; ++i) {
    const SubGrid &g = file->GetSubGrids()[static_cast<size_t>(i)];
    float node[4];
    for (const int32_t column : {0, g.columns - 1})
      for (const int32_t row : {0, g.rows - 1}) ASSERT_TRUE(file->GetNode(i, column, row, node));
    ASSERT_FALSE(file->GetNode(i, g.columns + 1, 0, node) || file->GetNode(i, 0, g.rows, node) ||
                 file->GetNode(i, -1, 0, node) || file->GetNode(count, 0, 0, node));
    for (const double lon : {g.west, g.east, (g.west + g.east) / 2, g.east + g.lonStep / 2}) {
      for (const double lat : {g.south, g.north, (g.south + g.north) / 2}) {
        double shift[2];
        shiftAt(*file, lon, lat, shift);
      }
    }
  }
}

TEST(DamagedGridFiles, EveryByteEveryCutInEveryFormat) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("damaged.las", "");
  const GridFile::Ptr shifts = opened(directory.write("shifts", rough(25, 2)));
  const auto written = [&](GridFormat format) {
    rewritten(shifts, directory.path() + "/written.las", format);
    return readFile(directory.path() + "/written.las");
  };
  std::string gtx = readFile(kProjData + "egm96_15.gtx").substr(0, 40 + 4 * 6);
  for (const size_t at : {35u, 39u}) gtx[at] = at == 35 ? 2 : 3;  // 2 rows, 3 columns
  gtx[34] = gtx[38] = 0;
  const std::string files[] = {rough(5, 3),
                               ntv2(kNested),
                               ntv2(kNested, true),
                               ntv1(*opened(directory.write("small", rough(5, 3)))),
                               written(GridFormat::CTable2),
                               written(GridFormat::LasLos),
                               written(GridFormat::GeoTiff),
                               gtx};
  std::ofstream(directory.path() + "/damaged.los", std::ios::binary)
      << readFile(directory.path() + "/written.los");
  for (const std::string &sound : files) {
    uint32_t directory = 0;  // behind the nodes of a TIFF file
    std::memcpy(&directory, sound.data() + 4, sizeof directory);
    if (!sound.starts_with("II*")) directory = static_cast<uint32_t>(sound.size());
    const auto isHeader = [&](size_t at) { return at < 360 || at >= directory; };
    survives(path, sound);
    for (size_t length = 0; length < sound.size(); length += length < 360 ? 1 : 13)
      survives(path, sound.substr(0, length));
    for (size_t at = 0; at < sound.size(); ++at) {
      if (!isHeader(at)) continue;
      for (const char value : {'\0', '\x7f', '\xff'}) {
        std::string damaged = sound;
        damaged[at] = value;
        survives(path, damaged);
      }
    }
    // counts and bounds that lie
    for (size_t at = 0; at + 8 <= sound.size(); at += 4) {
      if (!isHeader(at)) continue;
      for (const uint64_t value :
           {0x7fffffffull, 0x80000000ull, 0xffffffffffffffffull, 0x7ff8000000000000ull,
            0x7ff0000000000000ull, 0x7fc000007fc00000ull}) {
        std::string damaged = sound;
        std::memcpy(damaged.data() + at, &value, sizeof value);
        survives(path, damaged);
      }
    }
  }
}

}  // namespace
