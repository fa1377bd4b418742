// What the harnesses of the formats of grid files share.
#ifndef OPRJ_FUZZED_GRID_FORMAT_H
#define OPRJ_FUZZED_GRID_FORMAT_H

#include "datum/grids/grid_content.h"
#include "fuzz/fuzzed_image.h"

namespace orvik::oprj {

/// Opens bytes that the format recognises; every corner of what comes out is asked, and places in
/// and around it.
inline void fuzzGridFormat(const GridFormatRow &row, const uint8_t *bytes, size_t size) {
  constexpr int32_t kMostSubGrids = 16;
  if (size == 0) return;
  const SharedImage image = fuzzedImage(bytes, size);
  if (!row.recognise(Fields(*image))) return;
  ErrorScope e("fuzzing", nullptr);
  const OrvikDatum::GridFile::Ptr file = GridContent::open(image, nullptr, e);
  if (!file) return;
  const auto &grids = file->GetSubGrids();
  for (int32_t i = 0; i < kMostSubGrids && static_cast<size_t>(i) < grids.size(); ++i) {
    const Grid &grid = grids[static_cast<size_t>(i)];
    float node[4];
    for (const int32_t column : {0, grid.columns / 2, grid.columns - 1}) {
      for (const int32_t line : {0, grid.rows / 2, grid.rows - 1}) {
        if (!file->GetNode(i, column, line, node)) __builtin_trap();
      }
    }
    for (const double lon : {grid.west, grid.east, (grid.west + grid.east) / 2, grid.west + 360}) {
      for (const double lat : {grid.south, grid.north, (grid.south + grid.north) / 2}) {
        GridPlace place;
        if (!file->FindPlace(lon, lat, place)) continue;
        for (const int32_t right : {0, 1}) {
          for (const int32_t up : {0, 1}) {
            if (!file->GetNode(place.subGrid, place.column + right, place.row + up, node))
              __builtin_trap();
          }
        }
      }
    }
  }
}

}  // namespace orvik::oprj

#endif
