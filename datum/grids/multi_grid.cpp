#include "datum/grids/multi_grid.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "records/text.h"

namespace orvik::oprj {

using toolkit::HeapBlock;
using toolkit::Owner;

static_assert(std::endian::native == std::endian::little, "numbers are taken as they stand");

namespace {

template <class T>
T valueAt(const unsigned char *bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

}  // namespace

bool GridHeader::open(const Oprj_GridData *file, ErrorScope &e) {
  if (!file || !file->image) return e.fail(1, "File not opened yet");
  constexpr int64_t kPosition = 16, kPositionBytes = 4;
  const GridImage &image = *file->image;
  if (image.size() < kPosition + kPositionBytes) return e.fail(2, "Cannot find the data");
  bytes_ = image.bytes();
  count_ = valueAt<int32_t>(bytes_ + kPosition) / kGridRecordBytes;
  if (count_ < 1) return e.fail(2, "Cannot find the data");
  if (count_ * kGridRecordBytes > image.size()) return e.fail(3, "Cannot find the data");
  return true;
}

GridRecord GridHeader::record(int64_t index) const {
  return gridRecordAt(bytes_ + index * kGridRecordBytes);
}

GridRecord gridRecordAt(const unsigned char *at) {
  GridRecord record{};
  std::memcpy(record.name, at, kGridNameBytes);
  record.dataPosition = valueAt<int32_t>(at + 16);
  record.west = valueAt<float>(at + 20);
  record.south = valueAt<float>(at + 24);
  record.east = valueAt<float>(at + 28);
  record.north = valueAt<float>(at + 32);
  record.columns = valueAt<int32_t>(at + 36);
  record.rows = valueAt<int32_t>(at + 40);
  return record;
}

GridNodes::GridNodes(const GridImage &image, int32_t dataPosition) {
  if (dataPosition < 1 || dataPosition > image.size()) return;
  first = image.bytes() + (dataPosition - 1);
  available = (image.size() - (dataPosition - 1)) / kGridNodeBytes;
}

namespace {

/// Fills the cell's coefficients; false when a node is not in the file.
bool readCell(Oprj_GridCell &cell, const Oprj_GridInfo &grid, const GridNodes &nodes,
              int32_t column, int32_t row) {
  const int64_t corner = int64_t{row} * grid.columns + column;
  if (!nodes.hold(corner, grid.columns)) return false;
  float below[4], above[4];
  std::memcpy(below, nodes.first + corner * kGridNodeBytes, sizeof below);
  std::memcpy(above, nodes.first + (corner + grid.columns) * kGridNodeBytes, sizeof above);
  for (const int32_t k : {0, 1}) {
    double *to = k == 0 ? cell.a : cell.b;
    const double a00 = below[k], a10 = below[2 + k], a01 = above[k], a11 = above[2 + k];
    to[0] = a00;
    to[1] = a10 - a00;
    to[2] = a01 - a00;
    to[3] = a11 - a01 - a10 + a00;
  }
  cell.column = column;
  cell.row = row;
  return true;
}

double inCell(const double (&c)[4], double u, double v) {
  return c[0] + c[1] * u + c[2] * v + c[3] * u * v;
}

}  // namespace
}  // namespace orvik::oprj

using namespace orvik::oprj;

Oprj_GridInfo *oprj_GridInfoCreate(Oerr_Report **err) {
  ErrorScope e("oprj_GridInfoCreate", err);
  Owner<Oprj_GridInfo, oprj_GridInfoFree> info(
      static_cast<Oprj_GridInfo *>(omsc_HeapMalloc(sizeof(Oprj_GridInfo))));
  if (info) info->cell = static_cast<Oprj_GridCell *>(omsc_HeapMalloc(sizeof(Oprj_GridCell)));
  if (!info || !info->cell) return e.fail(1, "Error allocating Oprj_GridInfo");
  info->lonScale = info->latScale = 1.0;
  info->cell->column = info->cell->row = -1;
  return info.release();
}

void oprj_GridInfoFree(Oprj_GridInfo **info) {
  if (!info || !*info) return;
  omsc_HeapFree((*info)->name);
  omsc_HeapFree((*info)->cell);
  omsc_HeapFree(*info);
  *info = nullptr;
}

void oprj_GridHeaderFree(Oprj_GridInfo **chain) {
  while (chain && *chain) {
    Oprj_GridInfo *next = (*chain)->next;
    oprj_GridInfoFree(chain);
    *chain = next;
  }
}

Oprj_GridInfo *oprj_GridHeaderRead(const Oprj_GridData *file, Oerr_Report **err) {
  ErrorScope e("oprj_GridHeaderRead", err);
  GridHeader header;
  if (!header.open(file, e)) return nullptr;
  Owner<Oprj_GridInfo, oprj_GridHeaderFree> chain;
  Oprj_GridInfo *last = nullptr;
  for (int64_t i = 0; i < header.count(); ++i) {
    Oprj_GridInfo *info = oprj_GridInfoCreate(e.cause());
    if (!info) return e.fail(4, "Error returned from oprj_GridInfoCreate");
    if (last) last->next = info;
    else chain.reset(info);
    last = info;
    const GridRecord record = header.record(i);
    info->name = newText(record.name).release();
    if (!info->name) return e.fail(4, "Error returned from oprj_GridInfoCreate");
    info->south = record.south;
    info->west = record.west;
    info->north = record.north;
    info->east = record.east;
    info->lonScale = record.lonScale();
    info->latScale = record.latScale();
    info->rows = record.rows;
    info->columns = record.columns;
    info->dataPosition = record.dataPosition;
  }
  return chain.release();
}

int32_t oprj_GetDatumGridExtent(const Oprj_GridInfo *chain, double *west, double *south,
                                double *east, double *north, Oerr_Report **err) {
  // Kept: reports under the name of the surface shift, which asks for extents.
  ErrorScope e("oprj_DatumShift4EllipsoidSurfaceDatum", err);
  if (!chain) return e.fail(1, "gridInfo is NULL");
  double w = chain->west, s = chain->south, o = chain->east, n = chain->north;
  while ((chain = chain->next)) {
    w = std::min(w, chain->west);
    s = std::min(s, chain->south);
    o = std::max(o, chain->east);
    n = std::max(n, chain->north);
  }
  if (west) *west = w;
  if (south) *south = s;
  if (east) *east = o;
  if (north) *north = n;
  return 1;
}

int32_t oprj_GetShifts(Oprj_GridInfo *chain, const Oprj_GridData *file, double lon, double lat,
                       double *dLon, double *dLat, Oerr_Report **err) {
  ErrorScope e("oprj_GetShifts", err);
  if (!chain || !file || !file->image) return e.fail(1, "No proper input grids");
  const Oprj_GridInfo *grid = chain;
  while (grid &&
         !(grid->west <= lon && lon <= grid->east && grid->south <= lat && lat <= grid->north))
    grid = grid->next;
  double east = 0.0, north = 0.0;
  if (grid) {
    const double x = (lon - grid->west) * grid->lonScale;
    const double y = (lat - grid->south) * grid->latScale;
    const double lastColumn = grid->columns - 2.0, lastRow = grid->rows - 2.0;
    // On the last bound the cell is the one before it. Numbers that are none are refused here.
    if (!(x >= 0.0 && y >= 0.0 && lastColumn >= 0.0 && lastRow >= 0.0 && std::isfinite(x) &&
          std::isfinite(y)))
      return e.fail(2, "Cannot find the data");
    const auto column = static_cast<int32_t>(std::min(x, lastColumn));
    const auto row = static_cast<int32_t>(std::min(y, lastRow));
    Oprj_GridCell fresh{-1, -1, {}, {}};
    Oprj_GridCell &cell = grid->cell ? *grid->cell : fresh;
    if ((cell.column != column || cell.row != row) &&
        !readCell(cell, *grid, GridNodes(*file->image, grid->dataPosition), column, row))
      return e.fail(2, "Cannot find the data");
    east = -inCell(cell.a, x - column, y - row);
    north = inCell(cell.b, x - column, y - row);
  }
  if (dLon) *dLon = east;
  if (dLat) *dLat = north;
  return 1;
}
