// NTv2, the National Transformation of Canada, version 2: sub-grids with parents.
//
//   overview: 11 records of 16 bytes, 8 characters of name and 8 bytes of value
//      0 NUM_OREC 11   1 NUM_SREC 11   2 NUM_FILE sub-grids   3 GS_TYPE unit   4 VERSION
//      5 SYSTEM_F   6 SYSTEM_T   7 MAJOR_F   8 MINOR_F   9 MAJOR_T   10 MINOR_T
//   each sub-grid: 11 records
//      0 SUB_NAME   1 PARENT ("NONE")   2 CREATED   3 UPDATED
//      4 S_LAT   5 N_LAT   6 E_LONG   7 W_LONG   8 LAT_INC   9 LONG_INC   10 GS_COUNT nodes
//   and its nodes of 16 bytes: float32 shift in latitude, in longitude, accuracy of either
//   "END     "
//
// Values are an int32 and 4 bytes of padding, a float64, or 8 characters; either byte order.
// Longitudes and their shifts are positive WEST. Rows run from the south, each from the EAST.
#include <cmath>

#include "datum/grids/grid_content.h"
#include "datum/grids/grid_output.h"
#include "datum/grids/tree.h"

namespace orvik::oprj {

namespace {

constexpr int64_t kRecord = 16, kHeader = 11 * kRecord, kValue = 8, kNode = 16;
constexpr size_t kText = 8;
constexpr const char *kNoParent = "NONE";

bool recognise(const Fields &file) { return file.startsWith("NUM_OREC"); }

/// Arc-seconds in the unit of bounds and shifts; 0 for one that is not known.
double unitOf(const std::string &type) {
  return type == "SECONDS" ? 1 : type == "MINUTES" ? 60 : type == "DEGREES" ? kSecondsPerDegree : 0;
}

bool read(Fields file, const char *, GridContent &content, ErrorScope &e) {
  const auto value = [](int64_t header, int record) { return header + record * kRecord + kValue; };
  constexpr int32_t kRecords = 11;
  if (!file.holds(0, kHeader)) return e.fail(kGridCut, "The file ends in its overview");
  file.bigEndian = file.get<int32_t>(kValue) != kRecords;
  if (file.get<int32_t>(value(0, 0)) != kRecords || file.get<int32_t>(value(0, 1)) != kRecords)
    return e.fail(kGridCounts, "The headers have not 11 records of 16 bytes each");
  const int64_t count = file.get<int32_t>(value(0, 2));
  if (count < 1) return e.fail(kGridCounts, "NUM_FILE is %d", static_cast<int>(count));
  if (!file.holds(kHeader, count, kHeader))
    return e.fail(kGridCut, "The file cannot hold %d sub-grids", static_cast<int>(count));
  const std::string type = file.text(value(0, 3), kText);
  const double unit = unitOf(type);
  if (unit == 0) return e.fail(kGridMeaning, "GS_TYPE is \"%s\"", type.c_str());
  content.systemFrom = file.text(value(0, 5), kText);
  content.systemTo = file.text(value(0, 6), kText);
  for (int i = 0; i < 4; ++i) content.axes[i] = file.get<double>(value(0, 7 + i));

  std::vector<std::string> parents;
  int64_t at = kHeader;
  for (int32_t i = 0; i < count; ++i) {
    const std::string name = file.text(value(at, 0), kText);
    if (!file.holds(at, kHeader))
      return e.fail(kGridCut, "The file ends in front of sub-grid %d of %d",
                    static_cast<int>(i + 1), static_cast<int>(count));
    const auto degrees = [&](int record) {
      return file.get<double>(value(at, record)) * unit / kSecondsPerDegree;
    };
    Grid grid{name,       -1,         0 - degrees(7), degrees(4), 0 - degrees(6),
              degrees(5), degrees(9), degrees(8),     0,          0,
              false};
    grid.columns = nodesBetween(grid.west, grid.east, grid.lonStep);
    grid.rows = nodesBetween(grid.south, grid.north, grid.latStep);
    const int64_t nodes = file.get<int32_t>(value(at, 10));
    if (nodes != int64_t{grid.columns} * grid.rows || nodes < 1)
      return e.fail(kGridCounts, "Sub-grid \"%s\" has %d nodes, and its bounds and steps say %lld",
                    name.c_str(), static_cast<int>(nodes),
                    static_cast<long long>(int64_t{grid.columns} * grid.rows));
    if (!file.holds(at + kHeader, nodes, kNode))
      return e.fail(kGridCut, "The nodes of sub-grid \"%s\" are not in the file", name.c_str());

    NodeNumbers numbers;
    numbers.bigEndian = file.bigEndian;
    numbers.columnStep = -kNode;
    numbers.rowStep = kNode * grid.columns;
    const unsigned char *southWest = file.at(at + kHeader) + kNode * (grid.columns - 1);
    constexpr int64_t kOrder[] = {1, 0, 3, 2};  // in the file latitude is in front
    for (int k = 0; k < 4; ++k)
      numbers.first[k] = southWest + kOrder[k] * static_cast<int64_t>(sizeof(float));
    numbers.factor[0] = -unit;
    numbers.factor[1] = unit;
    parents.push_back(file.text(value(at, 1), kText));
    if (!content.add(std::move(grid), numbers, e)) return false;
    at += kHeader + nodes * kNode;
  }
  return content.setParents(parents, kNoParent, e);
}

/// Records of a header.
class Records {
 public:
  explicit Records(GridOutput &output) : output_(output) {}
  void text(const char *name, const std::string &value) {
    output_.text(name, kText, ' ');
    output_.text(value, kText, ' ');
  }
  void integer(const char *name, int32_t value) {
    output_.text(name, kText, ' ');
    output_.number(value);
    output_.number(int32_t{0});
  }
  void number(const char *name, double value) {
    output_.text(name, kText, ' ');
    output_.number(value);
  }

 private:
  GridOutput &output_;
};

bool write(const GridContent &content, GridOutput &output, ErrorScope &e) {
  if (!holdsShifts(content, e)) return false;
  const auto parents = parentsOf(content, e);
  if (parents.empty()) return false;
  const auto names = distinctNames(content, kText);
  const auto known = [](const std::string &system) { return system.empty() ? "UNKNOWN" : system; };
  Records records(output);
  records.integer("NUM_OREC", 11);
  records.integer("NUM_SREC", 11);
  records.integer("NUM_FILE", static_cast<int32_t>(parents.size()));
  records.text("GS_TYPE", "SECONDS");
  records.text("VERSION", "NTv2.0");
  records.text("SYSTEM_F", known(content.systemFrom));
  records.text("SYSTEM_T", known(content.systemTo));
  constexpr const char *kAxes[] = {"MAJOR_F", "MINOR_F", "MAJOR_T", "MINOR_T"};
  for (int i = 0; i < 4; ++i) records.number(kAxes[i], content.axes[i]);
  for (const int32_t index : parentsFirst(parents)) {
    const auto i = static_cast<size_t>(index);
    const Grid &grid = content.subGrids[i];
    const int64_t count = int64_t{grid.columns + (grid.isClosed ? 1 : 0)} * grid.rows;
    if (count > std::numeric_limits<int32_t>::max())
      return e.fail(kGridCounts, "Sub-grid \"%s\" has more than 2^31 - 1 nodes", grid.name.c_str());
    // A closed sub-grid gets its first column once more: not every reader closes it.
    const int32_t columns = grid.columns + (grid.isClosed ? 1 : 0);
    const double east = grid.isClosed ? grid.west + 360 : grid.east;
    records.text("SUB_NAME", names[i]);
    records.text("PARENT", parents[i] < 0 ? kNoParent : names[static_cast<size_t>(parents[i])]);
    records.text("CREATED", "");
    records.text("UPDATED", "");
    records.number("S_LAT", grid.south * kSecondsPerDegree);
    records.number("N_LAT", grid.north * kSecondsPerDegree);
    records.number("E_LONG", -east * kSecondsPerDegree);
    records.number("W_LONG", -grid.west * kSecondsPerDegree);
    records.number("LAT_INC", grid.latStep * kSecondsPerDegree);
    records.number("LONG_INC", grid.lonStep * kSecondsPerDegree);
    records.integer("GS_COUNT", static_cast<int32_t>(count));
    for (int32_t row = 0; row < grid.rows; ++row) {
      for (int32_t column = columns - 1; column >= 0; --column) {
        float node[4];
        content.node(index, column, row, node);
        for (const float value : {node[1], -node[0], node[3], node[2]}) output.number(value);
      }
    }
  }
  output.text("END", kText, ' ');
  output.text("", kText, ' ');
  return true;
}

}  // namespace

const GridFormatRow ntv2Format = {GridFormat::NTv2, "NTv2", recognise, read, write};

}  // namespace orvik::oprj
