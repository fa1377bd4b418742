// NTv1, the National Transformation of Canada, version 1; big-endian, read only.
//
//   12 records of 16 bytes, 8 characters of name and 8 bytes of value
//      0 HEADER 12   1 S LAT   2 N LAT   3 E LONG   4 W LONG   5 step in latitude   6 in longitude
//   nodes of 16 bytes: float64 shift in latitude, in longitude
//   maybe an "END" record
//
// Bounds are degrees, shifts arc-seconds, longitudes and their shifts positive WEST. Rows run from
// the south, each from the EAST.
#include "datum/grids/grid_content.h"

namespace orvik::oprj {

namespace {

bool recognise(const Fields &file) { return file.startsWith("HEADER  "); }

bool read(Fields file, const char *, GridContent &content, ErrorScope &e) {
  constexpr int64_t kRecord = 16, kValue = 8, kNode = 16;
  constexpr int32_t kRecords = 12;
  constexpr int64_t kHeader = kRecords * kRecord;
  file.bigEndian = true;
  if (!file.holds(0, kHeader)) return e.fail(kGridCut, "The file ends in its header");
  if (file.get<int32_t>(kValue) != kRecords)
    return e.fail(kGridCounts, "The header has not 12 records");
  const auto degrees = [&](int record) { return file.get<double>(record * kRecord + kValue); };
  Grid grid{"", -1, 0 - degrees(4), degrees(1), 0 - degrees(3), degrees(2), degrees(6), degrees(5),
            0,  0,  false};
  grid.columns = nodesBetween(grid.west, grid.east, grid.lonStep);
  grid.rows = nodesBetween(grid.south, grid.north, grid.latStep);
  if (!file.holds(kHeader, int64_t{grid.columns} * grid.rows, kNode))
    return e.fail(kGridCut, "The file ends before its %d x %d nodes",
                  static_cast<int>(grid.columns), static_cast<int>(grid.rows));
  NodeNumbers numbers;
  numbers.bigEndian = numbers.isDouble = true;
  numbers.columnStep = -kNode;
  numbers.rowStep = kNode * grid.columns;
  const unsigned char *southWest = file.at(kHeader) + kNode * (int64_t{grid.columns} - 1);
  numbers.first[0] = southWest + sizeof(double);
  numbers.first[1] = southWest;
  numbers.factor[0] = -1;
  return content.add(std::move(grid), numbers, e);
}

}  // namespace

const GridFormatRow ntv1Format = {GridFormat::NTv1, "NTv1", recognise, read, nullptr};

}  // namespace orvik::oprj
