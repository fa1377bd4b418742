// What the grid shift's kernels run on: plain data and pointers that cross instruction sets.
#ifndef OPRJ_DATUM_GRID_KERNELS_H
#define OPRJ_DATUM_GRID_KERNELS_H

#include <oprj/point_reason.h>
#include <oprj/values.h>

#include <cstdint>

namespace orvik::oprj {

inline constexpr int64_t kGridNodeBytes = 8;

/// Against the direction of shifts: an estimate is good when its shift misses the target by no more
/// than this (0.1 mm on the ground), or is the last one.
inline constexpr double kInverseTolerance = 1e-9;  // degrees
inline constexpr int32_t kInverseRounds = 10;

/// A box of degrees; its bounds are inside.
struct GridBox {
  double west, south, east, north;
};

/// A sub-grid as a shift searches it.
struct SubGrid {
  GridBox box;
  double lonScale, latScale;      ///< nodes per degree
  double lastColumn, lastRow;     ///< of cells: nodes a side less 2
  double columns;                 ///< nodes a row
  const unsigned char *nodes;     ///< the first one
  int64_t available;              ///< nodes up to the file's end
  bool complete;                  ///< all nodes are in the file, and numbers make sense
  int32_t earlier, earlierCount;  ///< sub-grids before this one that overlap it: SubGrids::earlier
  GridBox earlierBox;             ///< around these
};

/// What the kernels get of a file. At least one sub-grid.
struct SubGrids {
  const SubGrid *grid;
  int32_t count;
  const int32_t *earlier;
};

/// What became of the points of a run, besides being shifted.
struct GridCounts {
  int64_t unshifted, unconverged;
};

/// Shifts `count` points, in place when `in` is `out`. Returns -1, or the index of the first point
/// whose nodes the file does not hold; those before it are done. `reasons` may be null.
using GridKernel = int32_t (*)(const SubGrids &grids, const Oprj_Point *in, Oprj_Point *out,
                               int32_t count, Oprj_PointReason *reasons, GridCounts &counts);

struct GridKernels {
  GridKernel forward, inverse;
};

}  // namespace orvik::oprj

#endif
