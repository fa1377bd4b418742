// Surfaces of grid files: one that holds all of a shift, or one for each coordinate.
#include <oprj/datum_model.h>

#include <cmath>
#include <cstring>

#include "datum/degrees.h"
#include "datum/grids/grid_content.h"
#include "datum/model/make.h"

using namespace orvik::oprj;
using orvik::toolkit::ErrorScope;

namespace OrvikDatum {

namespace {

constexpr int kPair = 2;  // bands: shifts in longitude and latitude

/// The four nodes around a place, or one of them.
bool valueAt(const GridContent &file, double lon, double lat, ShiftMethod method, double nodata,
             double (&value)[kPair]) {
  GridPlace place;
  if (!file.place(lon, lat, place)) return false;
  value[0] = value[1] = 0.0;
  const int right = method == ShiftMethod::Nearest ? place.u >= 0.5 : 0;
  const int upper = method == ShiftMethod::Nearest ? place.v >= 0.5 : 0;
  const int across = method == ShiftMethod::Nearest ? 1 : 2;
  for (int i = 0; i < across; ++i) {
    for (int k = 0; k < across; ++k) {
      float node[kPair];
      file.node(place.subGrid, place.column + right + i, place.row + upper + k, node, file.bands);
      const double weight =
          across == 1 ? 1.0
                      : (i == 0 ? 1.0 - place.u : place.u) * (k == 0 ? 1.0 - place.v : place.v);
      for (int band = 0; band < file.bands; ++band) {
        const double at = node[band];
        if (std::isnan(at) || at == nodata) return false;
        value[band] += weight * at;
      }
    }
  }
  return true;
}

bool shiftAt(const GridFile &lonFile, const GridFile &latFile, double lon, double lat,
             ShiftMethod method, double nodata, Shift &shift) {
  const GridContent &one = GridContent::of(lonFile), &other = GridContent::of(latFile);
  double first[kPair], second[kPair];
  if (!valueAt(one, lon, lat, method, nodata, first)) return false;
  if (&one == &other) {
    shift = one.bands == kPair ? Shift{first[0], first[1], 0.0} : Shift{0.0, 0.0, first[0]};
    return true;
  }
  if (!valueAt(other, lon, lat, method, nodata, second)) return false;
  shift = {first[0], second[other.bands == kPair ? 1 : 0], 0.0};
  return true;
}

/// Around all sub-grids. False: round the whole globe.
bool extentOf(const GridFile &file, Extent &extent) {
  constexpr double kTurn = 360.0;
  extent = {HUGE_VAL, HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
  bool closed = false;
  for (const SubGrid &grid : file.GetSubGrids()) {
    extent.west = std::fmin(extent.west, grid.west);
    extent.south = std::fmin(extent.south, grid.south);
    extent.east = std::fmax(extent.east, grid.east);
    extent.north = std::fmax(extent.north, grid.north);
    closed |= grid.isClosed;
  }
  if (closed || extent.east - extent.west >= kTurn) {
    constexpr double kHalf = kTurn / 2.0;
    extent.west = -kHalf;
    extent.east = kHalf;
    return true;
  }
  extent.west = wrappedDegrees(extent.west);
  extent.east = wrappedDegrees(extent.east);
  return true;
}

}  // namespace

// --- one file ---

GridShiftSurface::GridShiftSurface(const GridFile::Ptr &file, ShiftMethod method, double nodata,
                                   double metres)
    : file_(file), method_(method), nodata_(nodata), metres_(metres) {}

GridShiftSurface::Ptr GridShiftSurface::Make(const GridFile::Ptr &file, ShiftMethod method,
                                             double nodata, Oerr_Report **err) {
  return Make(file, method, nodata, 1.0, err);
}

GridShiftSurface::Ptr GridShiftSurface::Make(const GridFile::Ptr &file, ShiftMethod method,
                                             double nodata, double metres, Oerr_Report **err) {
  ErrorScope e("GridShiftSurface::Make", err);
  return guardedMake<Ptr>(e, 2, [&]() -> Ptr {
    if (!file) e.fail(1, "Invalid input GridFile");
    else if (!std::isfinite(metres) || metres == 0.0) e.fail(3, "Invalid unit");
    else return shared(new GridShiftSurface(file, method, nodata, metres));
    return Ptr();
  });
}

ShiftSurfaceKind GridShiftSurface::GetKind() const { return ShiftSurfaceKind::Grid; }
bool GridShiftSurface::GetExtent(Extent &extent) const { return extentOf(*file_, extent); }
bool GridShiftSurface::IsVertical() const { return file_->GetBandCount() != kPair; }
const GridFile::Ptr &GridShiftSurface::GetFile() const { return file_; }

bool GridShiftSurface::GetShift(double lon, double lat, Shift &shift) const {
  if (!shiftAt(*file_, *file_, lon, lat, method_, nodata_, shift)) return false;
  shift.up *= metres_;
  return true;
}

bool GridShiftSurface::GetShifts(const double *lonLat, Shift *shifts, int32_t count,
                                 Oerr_Report **) const {
  for (int32_t k = 0; k < count; ++k)
    if (!GridShiftSurface::GetShift(lonLat[2 * k], lonLat[2 * k + 1], shifts[k]))
      shifts[k] = NoShift();
  return true;
}

// --- two files ---

RasterShiftSurface::RasterShiftSurface(const GridFile::Ptr &lon, const GridFile::Ptr &lat,
                                       ShiftMethod method, double nodata)
    : lon_(lon), lat_(lat), method_(method), nodata_(nodata) {}

RasterShiftSurface::Ptr RasterShiftSurface::Make(const char *lonFile, const char *latFile,
                                                 ShiftMethod method, double nodata,
                                                 Oerr_Report **err) {
  ErrorScope e("RasterShiftSurface::Make", err);
  return guardedMake<Ptr>(e, 3, [&]() -> Ptr {
    const GridFile::Ptr lon = GridFile::Open(lonFile, e.cause());
    if (!lon) {
      e.fail(1, "Error returned from GridFile::Open");
      return Ptr();
    }
    const bool one = latFile && std::strcmp(lonFile, latFile) == 0;
    const GridFile::Ptr lat = one ? lon : GridFile::Open(latFile, e.cause());
    if (!lat) {
      e.fail(2, "Error returned from GridFile::Open");
      return Ptr();
    }
    return shared(new RasterShiftSurface(lon, lat, method, nodata));
  });
}

ShiftSurfaceKind RasterShiftSurface::GetKind() const { return ShiftSurfaceKind::Raster; }
bool RasterShiftSurface::IsVertical() const {
  return lon_ == lat_ && lon_->GetBandCount() != kPair;
}

/// That of the file of longitudes: outside of either there is no shift.
bool RasterShiftSurface::GetExtent(Extent &extent) const { return extentOf(*lon_, extent); }

bool RasterShiftSurface::GetShift(double lon, double lat, Shift &shift) const {
  return shiftAt(*lon_, *lat_, lon, lat, method_, nodata_, shift);
}

bool RasterShiftSurface::GetShifts(const double *lonLat, Shift *shifts, int32_t count,
                                   Oerr_Report **) const {
  for (int32_t k = 0; k < count; ++k)
    if (!RasterShiftSurface::GetShift(lonLat[2 * k], lonLat[2 * k + 1], shifts[k]))
      shifts[k] = NoShift();
  return true;
}

}  // namespace OrvikDatum
