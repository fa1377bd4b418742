// Patches: the pieces of the globe that a map shows, each with a grid of its own that makes its
// edges straight.
#ifndef OPRJ_APPS_DRAW_PATCH_H
#define OPRJ_APPS_DRAW_PATCH_H

#include <optional>

#include "draw_clip.h"
#include "program.h"

namespace program::draw {

inline constexpr double kPi = 3.14159265358979323846;

/// The plane of a coordinate system. Points on the globe are longitude and latitude in radians.
class Sheet {
 public:
  explicit Sheet(OwnedHandle handle) : handle_(std::move(handle)) {}
  /// Nothing where the projection stops.
  std::optional<Oprj_Point> project(Oprj_Point globe) const;
  std::optional<Oprj_Point> unproject(Oprj_Point sheet) const;

 private:
  OwnedHandle handle_;
};

/// A direction from the centre of the globe, of length 1.
struct Vector {
  double x, y, z;
};

/// A net of longitudes u and latitudes v on the globe: the usual one counted from a central
/// meridian, or one turned so that its pole or its equator lies where a map needs it.
class Frame {
 public:
  static Frame upright(double centralMeridian);
  static Frame poleAt(Oprj_Point centre);
  /// Its equator runs through `centre` in the direction `azimuth`; u is 0 there.
  static Frame equatorThrough(Oprj_Point centre, double azimuth);

  Oprj_Point toGlobe(Oprj_Point uv) const;
  /// u within a half turn.
  Oprj_Point fromGlobe(Oprj_Point globe) const;
  /// Halfway between two points near each other; u is that of the nearer turn to `a`.
  Oprj_Point halfway(Oprj_Point a, Oprj_Point b) const;

 private:
  static Frame turned(Oprj_Point pole, Oprj_Point origin);

  bool upright_ = true;
  double centralMeridian_ = 0;
  Vector axes_[3] = {};  // of a turned frame: where u = v = 0, east of it, its pole
};

/// A circle around a piece of the globe, roughly (radians).
struct Reach {
  Oprj_Point centre{0, 0};
  double radius = kPi;

  /// From the circle to a point outside of it, else 0.
  double distance(Oprj_Point globe) const;
  /// The longitudes, around that of the centre, and latitudes that it covers.
  Box range() const;
};

/// A piece of the globe: u within a range (or all around the frame's north pole), v between a lower
/// and an upper edge that the projection's stops may move. Lines inside it are given on its grid:
/// x = u, y = 0 at the lower and 1 at the upper edge.
class Patch {
 public:
  enum Edge : unsigned {
    kNoEdge = 0,
    kWest = 1,
    kEast = 2,
    kSouth = 4,
    kNorth = 8,
    kAllEdges = 15
  };

  /// Between the sides of `range` (radians); `outline` tells which of its edges the map's outline
  /// runs along. Those are pulled in by a hair, so that rounding does not carry points over them.
  static Patch rectangle(Frame frame, Box range, unsigned outline = kAllEdges);
  /// All around the pole of the frame, `radius` wide.
  static Patch cap(Frame frame, double radius);
  /// Beside an axis given by the sheet: between its images `axis`, `halfWidth` to either side.
  static Patch swath(Frame frame, const Line &axis, double halfWidth);

  /// The outline runs along a part of the western and eastern edges only: `part` of their height in
  /// the middle. What is beyond lies inside of the map.
  void shortenSides(double part) { sides_ = part; }
  /// Pulls the edges in to where the projection stops, and finds its reach.
  void settle(const Sheet &sheet);
  const Reach &reach() const { return reach_; }
  /// The corners on its own grid.
  Box bounds() const { return {range_.west, 0, range_.east, 1}; }
  /// How much of the globe lies around a point of the grid, in comparison.
  double weight(Oprj_Point grid) const;
  /// Degrees of arc that it is wide or high, roughly: the lesser of the two, and their mean.
  double extent() const;
  double middlingExtent() const;

  Oprj_Point place(Oprj_Point grid) const;
  Oprj_Point middle(Oprj_Point a, Oprj_Point b) const;
  /// A line on the globe with points added: no step within its reach is longer than `step`; farther
  /// away they grow with the distance, so that the cost is that of what is shown.
  Line sampled(const Line &globe, double step) const;
  /// The line with points added along edges: everywhere else points are as near each other as on
  /// the globe.
  Line stepped(const Line &grid, double step) const;
  /// Both points lie on the same edge.
  bool onEdge(Oprj_Point a, Oprj_Point b) const;
  /// The edges as one ring; the edges of the outline.
  Line ring() const;
  std::vector<Line> outline() const;
  /// The parts of a line on the globe that it holds.
  std::vector<Line> parts(const Line &globe) const;
  /// Rings around what it holds of the area to the right of a closed line (its first point
  /// repeated) that does not hold both poles of the patch's frame.
  std::vector<Line> areas(const Line &globe) const;

 private:
  static constexpr size_t kColumns = 720;

  Patch(Frame frame, Box range, bool round, unsigned outline);
  Reach reachNow() const;
  double width() const;
  double height() const;
  double columnU(size_t column) const;
  /// The edges at u, between the columns.
  double at(const std::vector<double> &edge, double u) const;
  Oprj_Point uvOf(Oprj_Point grid) const;
  /// A line in u and v, with u running on from point to point.
  Line unrolled(const Line &globe) const;
  /// Such a line on the grid, for each turn that brings it over the patch or just `once` as it is.
  std::vector<Line> onGrid(const Line &net, bool once) const;
  Box box() const;

  Frame frame_;
  Box range_;
  bool round_;
  unsigned outline_;
  double sides_ = 1;
  Reach reach_;                                 // the whole globe before it is settled
  std::vector<double> south_, north_, middle_;  // v by column
};

}  // namespace program::draw

#endif
