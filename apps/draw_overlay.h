// What `oprj draw` draws above a map: extents of grid files, the shifts between two datums.
#ifndef OPRJ_APPS_DRAW_OVERLAY_H
#define OPRJ_APPS_DRAW_OVERLAY_H

#include <functional>
#include <optional>

#include "draw_clip.h"
#include "system.h"

namespace program::draw {

struct Extent {
  std::string name;
  Line ring;  ///< longitude and latitude in radians, the first point repeated
};
/// The sub-grids of a file, and what is written above the map. Throws Stop.
struct Extents {
  std::vector<Extent> rings;
  std::string text;
  Box around;  ///< radians
};
Extents extentsOf(const std::string &gridPath);

/// The shift between two datums.
class Shifts {
 public:
  /// Names of datums or systems. Throws Stop.
  Shifts(Oint_Toolkit *toolkit, const std::string &from, const std::string &to,
         const Console &console);

  /// Where there is anything to shift, in radians; the whole globe where no grid bounds it.
  Box area() const;
  /// How far a place (radians) moves in longitude and latitude (radians); nothing where it is not
  /// shifted.
  std::optional<Oprj_Point> at(Oprj_Point place) const;
  std::string title() const;

 private:
  System from_, to_;
};

struct Arrow {
  Oprj_Point from, direction;  ///< on the sheet; of length 1
  double metres;
};
/// Arrows on a lattice of the window, so many across.
std::vector<Arrow> arrowsOf(const Shifts &shifts, const Box &window, int across,
                            const std::function<std::optional<Oprj_Point>(Oprj_Point)> &project,
                            const std::function<std::optional<Oprj_Point>(Oprj_Point)> &unproject);

/// The strokes of an arrow of a length.
std::vector<Line> strokesOf(const Arrow &arrow, double length);

}  // namespace program::draw

#endif
