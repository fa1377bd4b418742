// GTX: one band, metres; big-endian, one sub-grid.
//
//     0  2 float64  south, west
//    16  2 float64  steps in latitude, longitude
//    32  2 int32    rows, columns
//    40             nodes: float32; -88.8888 is none
//
// Degrees, positive east. Rows run from the south, each from the west.
#include <cmath>

#include "datum/grids/grid_content.h"
#include "datum/grids/grid_output.h"
#include "datum/grids/tree.h"

namespace orvik::oprj {

namespace {

constexpr int64_t kNodes = 40, kNode = 4;
constexpr float kNoValue = -88.8888f;

/// There is no mark: the header must make sense.
bool recognise(const Fields &given) {
  Fields file = given;
  file.bigEndian = true;
  constexpr double kFarthestWest = 360, kLargestStep = 90;
  const double south = file.get<double>(0), west = file.get<double>(8);
  const double latStep = file.get<double>(16), lonStep = file.get<double>(24);
  const auto isStep = [](double step) {
    constexpr double kSmallestStep = 1e-6;
    return step >= kSmallestStep && step <= kLargestStep;
  };
  return file.holds(0, kNodes) && std::fabs(south) <= 90 && std::fabs(west) <= kFarthestWest &&
         isStep(latStep) && isStep(lonStep) && file.get<int32_t>(32) > 0 &&
         file.get<int32_t>(36) > 0;
}

bool read(Fields file, const char *, GridContent &content, ErrorScope &e) {
  file.bigEndian = true;
  content.bands = 1;
  Grid grid{"",
            -1,
            file.get<double>(8),
            file.get<double>(0),
            0,
            0,
            file.get<double>(24),
            file.get<double>(16),
            file.get<int32_t>(36),
            file.get<int32_t>(32),
            false};
  grid.east = grid.west + (grid.columns - 1.0) * grid.lonStep;
  grid.north = grid.south + (grid.rows - 1.0) * grid.latStep;
  if (!file.holds(kNodes, int64_t{grid.columns} * grid.rows, kNode))
    return e.fail(kGridCut, "The file ends before its %d x %d nodes",
                  static_cast<int>(grid.columns), static_cast<int>(grid.rows));
  NodeNumbers numbers;
  numbers.bigEndian = true;
  numbers.columnStep = kNode;
  numbers.rowStep = kNode * grid.columns;
  numbers.first[0] = file.at(kNodes);
  numbers.noValue = kNoValue;
  return content.add(std::move(grid), numbers, e);
}

bool write(const GridContent &content, GridOutput &output, ErrorScope &e) {
  if (content.bands != 1) return e.fail(kGridMeaning, "It holds shifts, and the format metres");
  if (!holdsOneSubGrid(content, e)) return false;
  const Grid &grid = content.subGrids.front();
  output.bigEndian = true;
  for (const double degrees : {grid.south, grid.west, grid.latStep, grid.lonStep})
    output.number(degrees);
  output.number(grid.rows);
  output.number(grid.columns);
  for (int32_t row = 0; row < grid.rows; ++row) {
    for (int32_t column = 0; column < grid.columns; ++column) {
      float node[4];
      content.node(0, column, row, node);
      output.number(std::isnan(node[0]) ? kNoValue : node[0]);
    }
  }
  return true;
}

}  // namespace

const GridFormatRow gtxFormat = {GridFormat::GTX, "GTX", recognise, read, write};

}  // namespace orvik::oprj
