// Lines and rings in a plane, cut to a box: of the sheet, or of a patch's own grid.
#ifndef OPRJ_APPS_DRAW_CLIP_H
#define OPRJ_APPS_DRAW_CLIP_H

#include <oprj/values.h>

#include <cmath>
#include <limits>
#include <vector>

namespace program::draw {

using Line = std::vector<Oprj_Point>;

/// Sides may be infinite.
struct Box {
  double west, south, east, north;
  double width() const { return east - west; }
  double height() const { return north - south; }
  bool holds(Oprj_Point p) const {
    return p.x >= west && p.x <= east && p.y >= south && p.y <= north;
  }
};
inline constexpr double kFar = std::numeric_limits<double>::infinity();
inline constexpr Box kEverything{-kFar, -kFar, kFar, kFar};

inline double distance(Oprj_Point a, Oprj_Point b) { return std::hypot(a.x - b.x, a.y - b.y); }
inline Oprj_Point between(Oprj_Point a, Oprj_Point b, double part) {
  return {a.x + (b.x - a.x) * part, a.y + (b.y - a.y) * part};
}

/// Adds the parts of a line that lie in the box. Points on a side get exactly its coordinate.
void clipLine(const Line &line, const Box &box, std::vector<Line> &parts);

/// A ring (closed without repeating its first point) cut to the box: Sutherland and Hodgman (1974).
/// Parts of it that fall apart stay joined along the sides, where an even-odd fill cancels them.
Line clipRing(Line ring, const Box &box);

/// The pieces of the box's own border that lie inside the rings (even-odd).
std::vector<Line> borderInside(const Box &box, const std::vector<Line> &rings);

/// The line with points added so that no step is longer than `x` or `y`.
Line densified(const Line &line, double x, double y);

}  // namespace program::draw

#endif
