// The multi-grid file as a grid file (layout: multi_grid.h). Unlike the grid shift, which looks at
// what a point needs, this reader checks the whole table.
#include <algorithm>
#include <cmath>

#include "datum/grids/grid_content.h"
#include "datum/grids/grid_output.h"
#include "datum/grids/multi_grid.h"
#include "datum/grids/tree.h"

namespace orvik::oprj {

namespace {

bool sensible(const GridRecord &record) {
  return record.columns >= 2 && record.rows >= 2 && record.west < record.east &&
         record.south < record.north && std::isfinite(record.lonScale() + record.latScale());
}

bool openTable(const SharedImage &image, GridHeader &header, ErrorScope &e) {
  const Oprj_GridData file{{}, image, {}};
  return header.open(&file, e);
}

/// There is no mark: the first record must make sense.
bool recognise(const Fields &file) {
  constexpr int64_t kPosition = 16;
  const int64_t position = file.get<int32_t>(kPosition);
  if (position <= kGridRecordBytes || !file.holds(0, kGridRecordBytes)) return false;
  const GridRecord record = gridRecordAt(file.at(0));
  constexpr double kFarthest = 1080;  // degrees
  return sensible(record) && std::fabs(record.west) <= kFarthest &&
         std::fabs(record.south) <= kFarthest;
}

bool read(Fields file, const char *, GridContent &content, ErrorScope &e) {
  GridHeader header;
  if (!openTable(content.image, header, e)) return false;
  content.subGrids.reserve(static_cast<size_t>(header.count()));
  content.nodes.reserve(static_cast<size_t>(header.count()));
  for (int64_t i = 0; i < header.count(); ++i) {
    const GridRecord record = header.record(i);
    if (!sensible(record))
      return e.fail(kGridBounds, "Sub-grid \"%s\" has bounds or counts that make no sense",
                    record.name);
    const int64_t count = int64_t{record.columns} * record.rows;
    const int64_t position = int64_t{record.dataPosition} - 1;
    if (position < header.count() * kGridRecordBytes ||
        !file.holds(position, count, kGridNodeBytes))
      return e.fail(kGridCut, "The nodes of sub-grid \"%s\" are not in the file", record.name);
    NodeNumbers numbers;
    numbers.first[0] = file.at(position);
    numbers.first[1] = file.at(position) + sizeof(float);
    numbers.factor[0] = -1;
    numbers.columnStep = kGridNodeBytes;
    numbers.rowStep = record.columns * kGridNodeBytes;
    if (!content.add(
            {record.name, -1, record.west, record.south, record.east, record.north,
             1 / record.lonScale(), 1 / record.latScale(), record.columns, record.rows, false},
            numbers, e))
      return false;
  }
  return true;
}

/// A part of a sub-grid: some of its columns, turned by a whole number of turns.
struct Piece {
  int32_t subGrid, firstColumn, columns;
  double turn;  // degrees
  const char *suffix;
};

/// Bounds are not taken modulo 360 in this format, so that a grid across the antimeridian is cut
/// there. Each piece reaches one column beyond: the inverse shift looks there.
void cut(int32_t index, const Grid &grid, toolkit::HeapVector<Piece> &pieces) {
  constexpr double kNearly = 1e-9;  // columns
  const double turn = -360 * std::floor((grid.west + 180) / 360);
  const int32_t columns = grid.columns + (grid.isClosed ? 1 : 0);
  const double atCut = (180 - grid.west - turn) / grid.lonStep;
  if (atCut >= columns - 1 - kNearly && !grid.isClosed) {
    pieces.push_back({index, 0, columns, turn, ""});
    return;
  }
  const auto last = static_cast<int32_t>(std::ceil(atCut - kNearly)) + 1;
  const auto first = std::max(static_cast<int32_t>(std::floor(atCut + kNearly)) - 1, 0);
  const int32_t east = grid.isClosed ? last + 1 : std::min(last + 1, columns);
  pieces.push_back({index, 0, east, turn, ""});
  pieces.push_back({index, first, columns - first, turn - 360, " 2"});
}

bool write(const GridContent &content, GridOutput &output, ErrorScope &e) {
  if (!holdsShifts(content, e)) return false;
  toolkit::HeapVector<Piece> pieces;
  for (const int32_t i : childrenFirst(content))
    cut(i, content.subGrids[static_cast<size_t>(i)], pieces);
  tellWhatIsLeftOut(content, "multi-grid");

  int64_t position = static_cast<int64_t>(pieces.size()) * kGridRecordBytes + 1;
  for (const Piece &piece : pieces) {
    const Grid &grid = content.subGrids[static_cast<size_t>(piece.subGrid)];
    if (position > std::numeric_limits<int32_t>::max())
      return e.fail(kGridCounts, "It would be larger than 2 GiB");
    const size_t suffix = std::strlen(piece.suffix);
    output.text(
        (grid.name.empty() ? "grid" : grid.name).substr(0, kGridNameBytes - suffix) + piece.suffix,
        kGridNameBytes, '\0');
    output.number(static_cast<int32_t>(position));
    const double west = grid.west + piece.turn + piece.firstColumn * grid.lonStep;
    output.number(static_cast<float>(west));
    output.number(static_cast<float>(grid.south));
    output.number(static_cast<float>(west + (piece.columns - 1) * grid.lonStep));
    output.number(static_cast<float>(grid.north));
    output.number(piece.columns);
    output.number(grid.rows);
    position += kGridNodeBytes * piece.columns * grid.rows;
  }
  for (const Piece &piece : pieces) {
    const Grid &grid = content.subGrids[static_cast<size_t>(piece.subGrid)];
    for (int32_t row = 0; row < grid.rows; ++row) {
      for (int32_t column = 0; column < piece.columns; ++column) {
        float node[4];
        content.node(piece.subGrid, (piece.firstColumn + column) % grid.columns, row, node);
        output.number(-node[0]);
        output.number(node[1]);
      }
    }
  }
  return true;
}

}  // namespace

const GridFormatRow multiGridFormat = {GridFormat::MultiGrid, "multi-grid", recognise, read, write};

}  // namespace orvik::oprj
