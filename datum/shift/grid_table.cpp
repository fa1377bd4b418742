#include "datum/shift/grid_table.h"

#include <oprj/othr.h>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace orvik::oprj {

namespace {

bool isScale(double scale) { return scale > 0.0 && std::isfinite(scale); }

bool overlap(const GridBox &a, const GridBox &b) {
  return a.west <= b.east && b.west <= a.east && a.south <= b.north && b.south <= a.north;
}

GridBox around(const GridBox &a, const GridBox &b) {
  return {std::min(a.west, b.west), std::min(a.south, b.south), std::max(a.east, b.east),
          std::max(a.north, b.north)};
}

}  // namespace

const GridTable *GridTable::of(const Oprj_GridData *file, ErrorScope &e) {
  GridHeader header;
  if (!header.open(file, e)) return nullptr;
  const GridImage &image = *file->image;
  const toolkit::Guard guard;
  if (!image.table_)  // as makeLeg, and for its reason not by allocate_shared
    image.table_.reset(new GridTable(header, image), std::default_delete<const GridTable>(),
                       toolkit::HeapAllocator<GridTable>());
  return image.table_.get();
}

GridTable::GridTable(const GridHeader &header, const GridImage &image) {
  grids_.reserve(static_cast<size_t>(header.count()));
  for (int64_t i = 0; i < header.count(); ++i) {
    const GridRecord record = header.record(i);
    add(image, {record.west, record.south, record.east, record.north}, record.lonScale(),
        record.latScale(), record.columns, record.rows, record.dataPosition);
  }
  findOverlaps();
}

GridTable::GridTable(const Oprj_GridInfo *chain, const GridImage &image) {
  for (; chain; chain = chain->next)
    add(image, {chain->west, chain->south, chain->east, chain->north}, chain->lonScale,
        chain->latScale, chain->columns, chain->rows, chain->dataPosition);
  findOverlaps();
}

void GridTable::add(const GridImage &image, const GridBox &box, double lonScale, double latScale,
                    int32_t columns, int32_t rows, int32_t dataPosition) {
  const GridNodes nodes(image, dataPosition);
  const bool sensible = columns >= 2 && rows >= 2 && isScale(lonScale) && isScale(latScale);
  const bool complete = sensible && int64_t{columns} * rows <= nodes.available;
  grids_.push_back({box, lonScale, latScale, columns - 2.0, rows - 2.0, double(columns),
                    nodes.first, sensible ? nodes.available : 0, complete, 0, 0, box});
}

void GridTable::findOverlaps() {
  // Pairs of more would take minutes: then all earlier ones count as overlapping.
  constexpr size_t kMostCompared = 4096;
  if (grids_.size() > kMostCompared) {
    earlier_.resize(grids_.size());
    std::iota(earlier_.begin(), earlier_.end(), 0);
    for (size_t i = 1; i < grids_.size(); ++i) {
      grids_[i].earlierCount = static_cast<int32_t>(i);
      grids_[i].earlierBox = around(grids_[i - 1].earlierBox, grids_[i - 1].box);
    }
    return;
  }
  for (size_t i = 0; i < grids_.size(); ++i) {
    SubGrid &grid = grids_[i];
    grid.earlier = static_cast<int32_t>(earlier_.size());
    for (size_t k = 0; k < i; ++k) {
      if (!overlap(grids_[k].box, grid.box)) continue;
      grid.earlierBox =
          grid.earlierCount++ ? around(grid.earlierBox, grids_[k].box) : grids_[k].box;
      earlier_.push_back(static_cast<int32_t>(k));
    }
  }
}

}  // namespace orvik::oprj
