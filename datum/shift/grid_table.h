// The sub-grids of a multi-grid file as the kernels search them.
#ifndef OPRJ_DATUM_GRID_TABLE_H
#define OPRJ_DATUM_GRID_TABLE_H

#include "datum/grids/multi_grid.h"
#include "datum/shift/grid_kernels.h"

namespace orvik::oprj {

/// It points into its image, which has to outlive it. Making one may throw std::bad_alloc.
class GridTable : public toolkit::HeapRecord {
 public:
  /// That of an opened file, made by the first who asks and kept by the image for all others. Null
  /// with a report as oprj_GridHeaderRead, codes 1 to 3.
  static const GridTable *of(const Oprj_GridData *file, ErrorScope &e);

  GridTable(const GridHeader &header, const GridImage &image);
  GridTable(const Oprj_GridInfo *chain, const GridImage &image);

  SubGrids view() const {
    return {grids_.data(), static_cast<int32_t>(grids_.size()), earlier_.data()};
  }

 private:
  void add(const GridImage &image, const GridBox &box, double lonScale, double latScale,
           int32_t columns, int32_t rows, int32_t dataPosition);
  void findOverlaps();

  toolkit::HeapVector<SubGrid> grids_;
  toolkit::HeapVector<int32_t> earlier_;
};

}  // namespace orvik::oprj

#endif
