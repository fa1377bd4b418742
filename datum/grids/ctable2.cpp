// CTABLE V2, the "binary grid"; little-endian, one sub-grid.
//
//     0  16 characters  "CTABLE V2.0"
//    16  80 characters  description
//    96  2 float64      west, south
//   112  2 float64      steps in longitude, latitude
//   128  2 int32        columns, rows
//   160                 nodes of 8 bytes: float32 shift in longitude, in latitude
//
// All angles are radians; longitudes are positive east, their shifts positive WEST. Rows run from
// the south, each from the west.
#include <cmath>

#include "datum/grids/grid_content.h"
#include "datum/grids/grid_output.h"
#include "datum/grids/tree.h"

namespace orvik::oprj {

namespace {

constexpr std::string_view kMark = "CTABLE V2";
constexpr int64_t kNodes = 160, kNode = 8;
constexpr double kDegreesPerRadian = kSecondsPerRadian / kSecondsPerDegree;

bool recognise(const Fields &file) { return file.startsWith(kMark); }

/// Degrees that were whole thousandths of a second before they became radians are so again.
double degreesOf(double radians) {
  constexpr double kPerDegree = 1000 * kSecondsPerDegree, kRounding = 1e-12;
  const double degrees = radians * kDegreesPerRadian;
  const double whole = std::round(degrees * kPerDegree) / kPerDegree;
  return std::fabs(whole - degrees) <= kRounding * std::fabs(degrees) ? whole : degrees;
}

bool read(Fields file, const char *, GridContent &content, ErrorScope &e) {
  if (!file.holds(0, kNodes)) return e.fail(kGridCut, "The file ends in its header");
  const auto degrees = [&](int64_t at) { return degreesOf(file.get<double>(at)); };
  Grid grid{"",   -1,           degrees(96),  degrees(104),           0,
            0,    degrees(112), degrees(120), file.get<int32_t>(128), file.get<int32_t>(132),
            false};
  grid.east = grid.west + (grid.columns - 1.0) * grid.lonStep;
  grid.north = grid.south + (grid.rows - 1.0) * grid.latStep;
  if (grid.columns > 0 && grid.rows > 0 &&
      !file.holds(kNodes, int64_t{grid.columns} * grid.rows, kNode))
    return e.fail(kGridCut, "The file ends before its %d x %d nodes",
                  static_cast<int>(grid.columns), static_cast<int>(grid.rows));
  NodeNumbers numbers;
  numbers.columnStep = kNode;
  numbers.rowStep = kNode * grid.columns;
  numbers.first[0] = file.at(kNodes);
  numbers.first[1] = file.at(kNodes) + sizeof(float);
  numbers.factor[0] = -kSecondsPerRadian;
  numbers.factor[1] = kSecondsPerRadian;
  return content.add(std::move(grid), numbers, e);
}

bool write(const GridContent &content, GridOutput &output, ErrorScope &e) {
  if (!holdsShifts(content, e) || !holdsOneSubGrid(content, e)) return false;
  tellWhatIsLeftOut(content, "CTABLE V2");
  const Grid &grid = content.subGrids.front();
  output.text("CTABLE V2.0", 16, '\0');
  output.text(grid.name, 80, '\0');
  for (const double degrees : {grid.west, grid.south, grid.lonStep, grid.latStep})
    output.number(degrees / kDegreesPerRadian);
  output.number(grid.columns);
  output.number(grid.rows);
  output.text("", static_cast<size_t>(kNodes - 136), '\0');
  for (int32_t row = 0; row < grid.rows; ++row) {
    for (int32_t column = 0; column < grid.columns; ++column) {
      float node[4];
      content.node(0, column, row, node);
      output.number(static_cast<float>(-node[0] / kSecondsPerRadian));
      output.number(static_cast<float>(node[1] / kSecondsPerRadian));
    }
  }
  return true;
}

}  // namespace

const GridFormatRow ctable2Format = {GridFormat::CTable2, "CTABLE V2", recognise, read, write};

}  // namespace orvik::oprj
