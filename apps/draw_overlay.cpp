#include "draw_overlay.h"

#include <oprj/grid_file.h>

#include <algorithm>
#include <cmath>

#include "accuracy.h"
#include "shift.h"

namespace program::draw {
namespace {

constexpr Box kGlobe{-180 * kDegree, -90 * kDegree, 180 * kDegree, 90 * kDegree};

OrvikDatum::GridFile::Ptr openGrid(const std::string &path) {
  Slot err;
  OrvikDatum::GridFile::Ptr file = OrvikDatum::GridFile::Open(path.c_str(), err.get());
  if (!file) throw Stop(kUnusable, err.text());
  return file;
}

Box boxOf(const OrvikDatum::SubGrid &grid) {
  const double limit = 90;
  return {grid.west * kDegree, std::max(grid.south, -limit) * kDegree, grid.east * kDegree,
          std::min(grid.north, limit) * kDegree};
}

/// The smallest box around all sub-grids: it begins behind the widest gap between their longitudes.
Box around(const OrvikDatum::GridFile &file) {
  constexpr double kTurn = 360 * kDegree;
  std::vector<Box> boxes;
  double south = kGlobe.north, north = kGlobe.south, reached = -kFar;
  for (const OrvikDatum::SubGrid &grid : file.GetSubGrids()) {
    Box box = boxOf(grid);
    const double turns = kTurn * std::floor((box.west - kGlobe.west) / kTurn);
    box.west -= turns;
    box.east -= turns;
    if (grid.isClosed) box.east = box.west + kTurn;
    south = std::min(south, box.south);
    north = std::max(north, box.north);
    reached = std::max(reached, box.east - kTurn);
    boxes.push_back(box);
  }
  std::sort(boxes.begin(), boxes.end(), [](const Box &a, const Box &b) { return a.west < b.west; });
  double widest = 0, west = kGlobe.west;
  for (const Box &box : boxes) {
    if (box.west - reached > widest) {
      widest = box.west - reached;
      west = box.west;
    }
    reached = std::max(reached, box.east);
  }
  return {west, south, west + kTurn - widest, north};
}

System datumOrSystem(Oint_Toolkit *toolkit, const std::string &text, const Console &console) {
  const bool isName = text.find_first_of(";[") == text.npos;
  return readSystem(toolkit, isName ? "geographic; datum=" + text : text, console);
}

}  // namespace

Extents extentsOf(const std::string &gridPath) {
  const auto file = openGrid(gridPath);
  Extents extents;
  extents.around = around(*file);
  const auto &grids = file->GetSubGrids();
  for (const OrvikDatum::SubGrid &grid : grids) {
    const Box b = boxOf(grid);
    extents.rings.push_back({grid.name,
                             {{b.west, b.south},
                              {b.east, b.south},
                              {b.east, b.north},
                              {b.west, b.north},
                              {b.west, b.south}}});
  }
  extents.text = gridPath.substr(gridPath.rfind('/') + 1) + ": " +
                 GetGridFormatName(file->GetFormat()) + ", " + std::to_string(grids.size()) +
                 (grids.size() == 1 ? " sub-grid" : " sub-grids");
  return extents;
}

Shifts::Shifts(Oint_Toolkit *toolkit, const std::string &from, const std::string &to,
               const Console &console)
    : from_(datumOrSystem(toolkit, from, console)), to_(datumOrSystem(toolkit, to, console)) {
  if (!shiftsBetween(from_, to_))
    throw Stop(kUsage, "--shift: there is nothing to shift between \"" +
                           std::string(from_.datumName()) + "\" and \"" + to_.datumName() + "\"");
  requireShift(from_, to_);
}

Box Shifts::area() const {
  std::optional<Box> area;
  for (const System *system : {&from_, &to_}) {
    const Oprj_Datum &datum = *system->spheroid().datum;
    if (datum.type != OPRJ_DATUM_GRID) continue;
    const std::string path = gridPathOf(datum.gridname.data);
    if (path.empty()) continue;
    const Box box = around(*openGrid(path));
    // of two grids the smaller: where both have something to say
    if (!area || box.width() * box.height() < area->width() * area->height()) area = box;
  }
  return area.value_or(kGlobe);
}

std::optional<Oprj_Point> Shifts::at(Oprj_Point place) const {
  Oprj_ShiftTally before, after;
  oprj_ShiftTallyGet(&before);
  Slot err;
  Oprj_Point to;
  oprj_DatumShift(&place, &from_.spheroid(), &to, &to_.spheroid(), 1, err.get());
  oprj_ShiftTallyGet(&after);
  const Oprj_Point shift{std::remainder(to.x - place.x, 360 * kDegree), to.y - place.y};
  if (err || after.unshifted != before.unshifted || !std::isfinite(shift.x + shift.y)) return {};
  return shift;
}

std::string Shifts::title() const {
  return std::string("Shift from ") + from_.datumName() + " to " + to_.datumName();
}

std::vector<Arrow> arrowsOf(const Shifts &shifts, const Box &window, int across,
                            const std::function<std::optional<Oprj_Point>(Oprj_Point)> &project,
                            const std::function<std::optional<Oprj_Point>(Oprj_Point)> &unproject) {
  constexpr double kMetres = 6371008.8;  // of a mean sphere, in a radian
  constexpr double kAhead = 1e-4;        // radians: where the direction is looked for
  constexpr double kSameSheet = 1e-6;    // of the window: there and back is the same place
  const double step = window.width() / across;
  const Box area = shifts.area();
  std::vector<Arrow> arrows;
  for (double y = window.south + step / 2; y < window.north; y += step) {
    for (double x = window.west + step / 2; x < window.east; x += step) {
      const auto place = unproject({x, y});
      if (!place || place->y < area.south || place->y > area.north) continue;
      const auto back = project(*place);
      if (!back || distance(*back, {x, y}) > kSameSheet * window.width()) continue;
      const auto shift = shifts.at(*place);
      if (!shift) continue;
      const double size = std::hypot(shift->x * std::cos(place->y), shift->y);
      const double scale = size > 0 ? kAhead / size : 0;
      const auto ahead = project({place->x + shift->x * scale, place->y + shift->y * scale});
      if (!ahead) continue;
      const double length = distance(*ahead, *back);
      const Oprj_Point direction =
          length > 0 ? Oprj_Point{(ahead->x - back->x) / length, (ahead->y - back->y) / length}
                     : Oprj_Point{0, 0};
      arrows.push_back({{x, y}, direction, size * kMetres});
    }
  }
  return arrows;
}

std::vector<Line> strokesOf(const Arrow &arrow, double length) {
  constexpr double kHead = 0.3, kHalfWidth = 0.14;  // of the length
  const auto at = [&](double along, double beside) {
    return Oprj_Point{
        arrow.from.x + length * (along * arrow.direction.x - beside * arrow.direction.y),
        arrow.from.y + length * (along * arrow.direction.y + beside * arrow.direction.x)};
  };
  return {{at(0, 0), at(1, 0)}, {at(1 - kHead, kHalfWidth), at(1, 0), at(1 - kHead, -kHalfWidth)}};
}

}  // namespace program::draw
