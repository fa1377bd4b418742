// NADCON's pairs of files: NAME.las holds the shifts in latitude, NAME.los those in longitude;
// little-endian, one sub-grid. Either file consists of records of 4 (columns + 1) bytes.
//
//   the first record
//     0  56 + 8 characters  description, program
//    64  3 int32            columns, rows, 1
//    76  5 float32          west, step in longitude, south, step in latitude, angle (0)
//   each row: an idle word, then a float32 a node
//
// Degrees, positive east; shifts are arc-seconds, positive WEST and north. Rows run from the south,
// each from the west.
#include <algorithm>
#include <cmath>

#include "datum/grids/grid_content.h"
#include "datum/grids/grid_output.h"
#include "datum/grids/tree.h"

namespace orvik::oprj {

namespace {

constexpr int64_t kText = 64, kHeader = kText + 3 * 4 + 5 * 4, kWord = 4;

int64_t recordBytes(int32_t columns) { return kWord * (int64_t{columns} + 1); }

/// There is no mark: texts, counts and the file's size must fit each other.
bool recognise(const Fields &file) {
  if (!file.holds(0, kHeader)) return false;
  const auto printable = [](unsigned char c) { return c >= ' ' && c < 0x7f; };
  if (!std::all_of(file.at(0), file.at(kText), printable)) return false;
  const auto columns = file.get<int32_t>(kText), rows = file.get<int32_t>(kText + kWord);
  constexpr int32_t kMost = 1 << 24;  // of float32 coordinates on a row
  return columns >= 2 && columns < kMost && rows >= 2 && file.get<int32_t>(kText + 2 * kWord) == 1;
}

bool readOne(const Fields &file, Grid &grid, NodeNumbers &numbers, int band, ErrorScope &e) {
  const auto real = [&](int index) -> double {
    return file.get<float>(kText + (3 + index) * kWord);
  };
  grid.columns = file.get<int32_t>(kText);
  grid.rows = file.get<int32_t>(kText + kWord);
  grid.west = real(0);
  grid.lonStep = real(1);
  grid.south = real(2);
  grid.latStep = real(3);
  grid.east = grid.west + (grid.columns - 1.0) * grid.lonStep;
  grid.north = grid.south + (grid.rows - 1.0) * grid.latStep;
  if (real(4) != 0) return e.fail(kGridMeaning, "The grid is turned by an angle of %g", real(4));
  const int64_t record = recordBytes(grid.columns);
  if (!file.holds(record, grid.rows, record))
    return e.fail(kGridCut, "The file ends before its %d x %d nodes",
                  static_cast<int>(grid.columns), static_cast<int>(grid.rows));
  if (record < kHeader)
    return e.fail(kGridCounts, "Rows of %d columns are shorter than the header",
                  static_cast<int>(grid.columns));
  numbers.first[band] = file.at(record + kWord);
  numbers.columnStep = kWord;
  numbers.rowStep = record;
  return true;
}

/// Of a pair: the names with .las and with .los behind them, in the case of the given one.
struct PairNames {
  std::string las, los;
  bool isLas = false;  ///< the given one
  bool known = false;  ///< it was one of either

  explicit PairNames(const std::string &path) {
    constexpr size_t kSuffix = 4;
    const std::string stem = path.substr(0, path.size() - std::min(path.size(), kSuffix));
    const std::string suffix = path.substr(stem.size());
    struct {
      const char *las, *los;
    } const cases[] = {{".las", ".los"}, {".LAS", ".LOS"}};
    for (const auto &c : cases) {
      if (suffix != c.las && suffix != c.los) continue;
      known = true;
      isLas = suffix == c.las;
      las = stem + c.las;
      los = stem + c.los;
    }
    if (!known) {
      las = path + ".las";
      los = path + ".los";
    }
  }
};

bool read(Fields file, const char *path, GridContent &content, ErrorScope &e) {
  content.pairImage = content.image;
  bool isLas = true;
  if (path) {
    const PairNames names(path);
    if (!names.known)
      return e.fail(kGridMeaning,
                    "Its name ends in neither .las nor .los: which shifts it holds "
                    "is not known");
    isLas = names.isLas;
    content.pairImage = GridImage::open((isLas ? names.los : names.las).c_str(), e.cause());
    if (!content.pairImage) return e.fail(kGridMeaning, "The other file of the pair is missing");
  }
  const Fields other(*content.pairImage);
  if (!recognise(other)) return e.fail(kGridMeaning, "The other file of the pair is none");
  Grid grid{"", -1, 0, 0, 0, 0, 0, 0, 0, 0, false}, second = grid;
  NodeNumbers numbers;
  if (!readOne(file, grid, numbers, isLas ? 1 : 0, e) ||
      !readOne(other, second, numbers, isLas ? 0 : 1, e))
    return false;
  if (grid.columns != second.columns || grid.rows != second.rows || grid.west != second.west ||
      grid.south != second.south || grid.lonStep != second.lonStep ||
      grid.latStep != second.latStep)
    return e.fail(kGridBounds, "The two files have different bounds, steps or counts");
  numbers.factor[0] = -1;
  return content.add(std::move(grid), numbers, e);
}

bool write(const GridContent &content, GridOutput &las, ErrorScope &e) {
  if (!holdsShifts(content, e) || !holdsOneSubGrid(content, e)) return false;
  const Grid &grid = content.subGrids.front();
  const int64_t record = recordBytes(grid.columns);
  if (record < kHeader)
    return e.fail(kGridCounts, "It has %d columns, and the format at least %d",
                  static_cast<int>(grid.columns), static_cast<int>(kHeader / kWord - 1));
  tellWhatIsLeftOut(content, ".las and .los");
  const PairNames names(las.path());
  GridOutput &los = las.pair(names.las, names.los);
  for (const int band : {0, 1}) {
    GridOutput &output = band == 0 ? los : las;
    output.text(band == 0 ? "SHIFTS IN LONGITUDE" : "SHIFTS IN LATITUDE", 56, ' ');
    output.text("NADGRD", 8, ' ');
    for (const int32_t count : {grid.columns, grid.rows, int32_t{1}}) output.number(count);
    for (const double real : {grid.west, grid.lonStep, grid.south, grid.latStep, 0.0})
      output.number(static_cast<float>(real));
    output.text("", static_cast<size_t>(record - kHeader), '\0');
    for (int32_t row = 0; row < grid.rows; ++row) {
      output.number(0.0f);
      for (int32_t column = 0; column < grid.columns; ++column) {
        float node[4];
        content.node(0, column, row, node);
        output.number(band == 0 ? -node[0] : node[1]);
      }
    }
  }
  return true;
}

}  // namespace

const GridFormatRow lasLosFormat = {GridFormat::LasLos, "las/los", recognise, read, write};

}  // namespace orvik::oprj
