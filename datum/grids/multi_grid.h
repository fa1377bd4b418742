// The multi-grid file: a table of sub-grids, then their nodes. All numbers are little-endian.
//
//   table, 44 bytes a sub-grid, in the order in which they are searched
//      0  16 characters  name, padded with zero bytes
//     16  int32          position of the first node in the file, counted from 1
//     20  4 float32      west, south, east, north: degrees, east positive
//     36  2 int32        nodes a row, rows
//   nodes, rows from south to north, each from west to east
//      0  float32        shift in longitude, arc-seconds, positive WEST
//      4  float32        shift in latitude, arc-seconds, positive north
//
// The number of sub-grids is not stored: nodes follow the table, so it is the first sub-grid's
// position divided by 44.
#ifndef OPRJ_DATUM_MULTI_GRID_H
#define OPRJ_DATUM_MULTI_GRID_H

#include <oprj/datum_shift.h>

#include "datum/grids/grid_data.h"
#include "datum/shift/grid_kernels.h"

namespace orvik::oprj {

inline constexpr int64_t kGridRecordBytes = 44;
inline constexpr size_t kGridNameBytes = 16;

/// One record of the table.
struct GridRecord {
  char name[kGridNameBytes + 1];  ///< ended by us
  int32_t dataPosition;
  double west, south, east, north;
  int32_t columns, rows;

  double lonScale() const { return (columns - 1.0) / (east - west); }
  double latScale() const { return (rows - 1.0) / (north - south); }
};

/// A record as the file holds it.
GridRecord gridRecordAt(const unsigned char *bytes);

/// The table of a file.
class GridHeader {
 public:
  /// Reports as oprj_GridHeaderRead, codes 1 to 3. Nothing is looked at but the table's size.
  bool open(const Oprj_GridData *file, ErrorScope &e);
  int64_t count() const { return count_; }
  GridRecord record(int64_t index) const;

 private:
  const unsigned char *bytes_ = nullptr;
  int64_t count_ = 0;
};

/// Where the nodes of a sub-grid lie in its file.
struct GridNodes {
  const unsigned char *first = nullptr;  ///< null when none can be there
  int64_t available = 0;                 ///< so many whole nodes up to the file's end

  GridNodes() = default;
  GridNodes(const GridImage &image, int32_t dataPosition);
  /// The four nodes of a cell are in the file; `cell` is the index of its south-western one.
  bool hold(int64_t cell, int64_t columns) const { return cell + columns + 2 <= available; }
};

}  // namespace orvik::oprj

#endif
