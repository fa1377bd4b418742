// Grid files of all formats: recognised, checked, searched.
#include <oprj/grid_file.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <string_view>

#include "datum/grids/grid_content.h"
#include "datum/grids/grid_output.h"

namespace orvik::oprj {

using OrvikDatum::GridFile;

namespace {

/// Those with a mark of their own first, then by how much of their header can be checked.
constexpr const GridFormatRow *kFormats[] = {&ntv2Format,     &ntv1Format,   &ctable2Format,
                                             &geoTiffFormat,  &lasLosFormat, &gtxFormat,
                                             &multiGridFormat};

/// Null: no format of ours.
const GridFormatRow *rowOf(GridFormat format) {
  for (const GridFormatRow *row : kFormats)
    if (row->format == format) return row;
  return nullptr;
}

/// A grid whose columns are this near to a whole turn is closed.
constexpr double kClosedTolerance = 1e-6;  // degrees
/// Nodes may lie so far beyond a pole: grids of cells' middles are made to end behind it.
constexpr double kFarthestLatitude = 91;
constexpr double kFarthestLongitude = 1080;

}  // namespace

std::string Fields::text(int64_t at, int64_t length) const {
  if (!holds(at, length)) {
    outside_ = true;
    return {};
  }
  std::string_view found(reinterpret_cast<const char *>(bytes_ + at), static_cast<size_t>(length));
  found = found.substr(0, found.find('\0'));
  const size_t last = found.find_last_not_of(' ');
  return std::string(found.substr(0, last == found.npos ? 0 : last + 1));
}

int32_t nodesBetween(double low, double high, double step) {
  const double steps = (high - low) / step, whole = std::round(steps);
  constexpr double kMost = std::numeric_limits<int32_t>::max() - 1.0;
  if (!(step > 0 && whole >= 1 && whole < kMost && std::fabs(steps - whole) <= kStepTolerance))
    return 0;
  return static_cast<int32_t>(whole) + 1;
}

bool GridContent::add(Grid grid, const NodeNumbers &numbers, ErrorScope &e) {
  const char *name = grid.name.c_str();
  if (grid.columns < 2 || grid.rows < 2)
    return e.fail(kGridCounts, "Sub-grid \"%s\" has %d columns and %d rows", name,
                  static_cast<int>(grid.columns), static_cast<int>(grid.rows));
  const bool bounded =  // so that NaN is not
      std::fabs(grid.west) <= kFarthestLongitude && std::fabs(grid.east) <= kFarthestLongitude &&
      std::fabs(grid.south) <= kFarthestLatitude && std::fabs(grid.north) <= kFarthestLatitude &&
      grid.west < grid.east && grid.south < grid.north;
  if (!bounded)
    return e.fail(kGridBounds, "Sub-grid \"%s\" has the bounds %g %g %g %g", name, grid.west,
                  grid.south, grid.east, grid.north);
  if (!(grid.east - grid.west <= 360 + grid.lonStep))
    return e.fail(kGridBounds, "Sub-grid \"%s\" goes round the globe more than once", name);
  if (nodesBetween(grid.west, grid.east, grid.lonStep) != grid.columns ||
      nodesBetween(grid.south, grid.north, grid.latStep) != grid.rows)
    return e.fail(kGridBounds, "Sub-grid \"%s\" has steps of %g and %g that do not fit its bounds",
                  name, grid.lonStep, grid.latStep);
  grid.isClosed = format != GridFormat::MultiGrid &&
                  std::fabs(grid.columns * grid.lonStep - 360) <= kClosedTolerance;
  subGrids.push_back(std::move(grid));
  nodes.push_back(numbers);
  return true;
}

bool GridContent::setParents(const std::vector<std::string> &names, const char *none,
                             ErrorScope &e) {
  std::map<std::string_view, int32_t> indices;
  for (size_t i = 0; i < subGrids.size(); ++i)
    indices.emplace(subGrids[i].name, static_cast<int32_t>(i));
  for (size_t i = 0; i < names.size(); ++i) {
    if (names[i] == none) continue;
    const auto parent = indices.find(names[i]);
    if (parent == indices.end())
      return e.fail(kGridTree, "Sub-grid \"%s\" has the parent \"%s\", which is not there",
                    subGrids[i].name.c_str(), names[i].c_str());
    subGrids[i].parent = parent->second;
  }
  return true;
}

bool GridContent::finish(ErrorScope &e) {
  const auto count = static_cast<int32_t>(subGrids.size());
  if (count == 0) return e.fail(kGridCounts, "There are no sub-grids");
  below_.assign(subGrids.size(), -1);
  beside_.assign(subGrids.size(), -1);
  for (int32_t i = count - 1; i >= 0; --i) {  // the first ends in front
    const auto at = static_cast<size_t>(i);
    const int32_t parent = subGrids[at].parent;
    int32_t &list = parent < 0 ? top_ : below_[static_cast<size_t>(parent)];
    beside_[at] = std::exchange(list, i);
  }
  // Each sub-grid that the top leads to has its turn; those of a cycle never do.
  toolkit::HeapVector<int32_t> toVisit(1, top_);
  int32_t reached = 0;
  while (!toVisit.empty()) {
    int32_t i = toVisit.back();
    toVisit.pop_back();
    for (; i >= 0; i = beside(i), ++reached)
      if (below(i) >= 0) toVisit.push_back(below(i));
  }
  if (reached != count) return e.fail(kGridTree, "Sub-grids are their own parents in a circle");
  return true;
}

bool GridContent::contains(const Grid &grid, double lon, double lat) const {
  if (!(grid.south <= lat && lat <= grid.north)) return false;
  if (format == GridFormat::MultiGrid) return grid.west <= lon && lon <= grid.east;
  if (!std::isfinite(lon)) return false;
  return grid.isClosed ||
         lon - grid.west - 360 * std::floor((lon - grid.west) / 360) <= grid.east - grid.west;
}

int32_t GridContent::find(double lon, double lat) const {
  int32_t found = -1;
  for (int32_t i = top_; i >= 0;) {
    if (contains(subGrids[static_cast<size_t>(i)], lon, lat)) {
      found = i;
      i = below(i);
    } else {
      i = beside(i);
    }
  }
  return found;
}

bool GridContent::place(double lon, double lat, GridPlace &place) const {
  const int32_t found = find(lon, lat);
  if (found < 0) return false;
  const Grid &grid = subGrids[static_cast<size_t>(found)];
  double east = lon - grid.west;
  if (format != GridFormat::MultiGrid) east -= 360 * std::floor(east / 360);
  const double x = east / grid.lonStep, y = (lat - grid.south) / grid.latStep;
  const int32_t lastColumn = grid.columns - (grid.isClosed ? 1 : 2);
  place.subGrid = found;
  place.column = static_cast<int32_t>(std::min<double>(x, lastColumn));
  place.row = static_cast<int32_t>(std::min<double>(y, grid.rows - 2));
  place.u = std::min(x - place.column, 1.0);
  place.v = std::min(y - place.row, 1.0);
  return true;
}

void GridContent::node(int32_t subGrid, int32_t column, int32_t row, float *values,
                       int count) const {
  const NodeNumbers &numbers = nodes[static_cast<size_t>(subGrid)];
  if (column == subGrids[static_cast<size_t>(subGrid)].columns) column = 0;
  const int64_t offset = column * numbers.columnStep + row * numbers.rowStep;
  for (int k = 0; k < count; ++k) {
    const unsigned char *first = numbers.first[k];
    if (!first) {
      values[k] = k < 2 ? 0.0f : -1.0f;
      continue;
    }
    const double stored = numbers.isDouble ? numberAt<double>(first + offset, numbers.bigEndian)
                                           : numberAt<float>(first + offset, numbers.bigEndian);
    values[k] = stored == numbers.noValue ? std::numeric_limits<float>::quiet_NaN()
                                          : static_cast<float>(stored * numbers.factor[k]);
  }
}

GridFile::Ptr GridContent::open(SharedImage image, const char *path, ErrorScope &e) {
  const Fields fields(*image);
  const char *name = path ? path : image->path();
  const auto row = std::find_if(std::begin(kFormats), std::end(kFormats),
                                [&](const GridFormatRow *r) { return r->recognise(fields); });
  if (row == std::end(kFormats)) {
    e.fail(3, "%s: not a grid file of a known format", name);
    return {};
  }
  auto content = std::make_unique<GridContent>();
  content->format = (*row)->format;
  content->image = std::move(image);
  bool sound = false;
  {
    ErrorScope reader((*row)->name, e.cause());
    sound = (*row)->read(fields, path, *content, reader) && content->finish(reader);
  }
  if (!sound) {
    e.fail(4, "%s: cannot be read as %s", name, (*row)->name);
    return {};
  }
  std::unique_ptr<const GridFile> file(new GridFile(content.get()));
  content.release();
  return GridFile::Ptr(file.release());
}

}  // namespace orvik::oprj

namespace OrvikDatum {

using namespace orvik::oprj;

const char *GetGridFormatName(GridFormat format) {
  const GridFormatRow *row = rowOf(format);
  return row ? row->name : "unknown";
}

GridFile::~GridFile() { delete content_; }

GridFile::Ptr GridFile::Open(const char *path, Oerr_Report **err) {
  ErrorScope e("GridFile::Open", err);
  Ptr file;
  if (!path || !*path) {
    e.fail(1, "Invalid input file name");
    return file;
  }
  guarded(e, 5, [&] {
    SharedImage image = GridImage::open(path, e.cause());
    if (!image) return bool(e.fail(2, "Cannot open the grid file"));
    file = GridContent::open(std::move(image), path, e);
    return bool(file);
  });
  return file;
}

bool GridFile::Write(const char *path, GridFormat format, Oerr_Report **err) const {
  ErrorScope e("GridFile::Write", err);
  if (!path || !*path) return e.fail(1, "Invalid input file name");
  return guarded(e, 4, [&] {
    const GridFormatRow *row = rowOf(format);
    const char *name = GetGridFormatName(format);
    GridOutput output(path);
    bool told = false;
    {
      ErrorScope writer(name, e.cause());
      if (row && row->write) told = row->write(*content_, output, writer);
      else writer.fail(kGridMeaning, "%s files are not written", name);
      if (output.failed()) {
        writer.fail(kGridCut, "%s", output.reason().c_str());
        told = false;
      }
    }
    if (output.failed()) return bool(e.fail(3, "%s: cannot be written", path));
    if (!told) return bool(e.fail(2, "%s cannot hold this grid", name));
    if (output.finish()) return true;
    ErrorScope(name, e.cause()).fail(kGridCut, "%s", output.reason().c_str());
    return bool(e.fail(3, "%s: cannot be written", path));
  });
}

GridFormat GridFile::GetFormat() const { return content_->format; }
const std::vector<Grid> &GridFile::GetSubGrids() const { return content_->subGrids; }
int32_t GridFile::GetBandCount() const { return content_->bands; }
int32_t GridFile::FindSubGrid(double lon, double lat) const { return content_->find(lon, lat); }
bool GridFile::FindPlace(double lon, double lat, GridPlace &place) const {
  return content_->place(lon, lat, place);
}

bool GridFile::GetNode(int32_t subGrid, int32_t column, int32_t row, float node[4]) const {
  const auto &grids = content_->subGrids;
  if (subGrid < 0 || static_cast<size_t>(subGrid) >= grids.size()) return false;
  const Grid &grid = grids[static_cast<size_t>(subGrid)];
  if (column < 0 || column >= grid.columns + (grid.isClosed ? 1 : 0)) return false;
  if (row < 0 || row >= grid.rows) return false;
  content_->node(subGrid, column, row, node);
  return true;
}

std::string GridFile::GetSystemFrom() const { return content_->systemFrom; }
std::string GridFile::GetSystemTo() const { return content_->systemTo; }

}  // namespace OrvikDatum
