// From the globe to the sheet: lines point by point, as finely as they bend, broken where the sheet
// tears.
#ifndef OPRJ_APPS_DRAW_TRACE_H
#define OPRJ_APPS_DRAW_TRACE_H

#include "draw_patch.h"

namespace program::draw {

class Tracer {
 public:
  /// `tolerance` (sheet units) is how far an image may be from the true curve inside `window`;
  /// `step` (radians) is how far apart points are looked at that seem to be on a straight line.
  /// Operations throw Stop when all of a map's lines would take too many points.
  Tracer(const Sheet &sheet, Box window, double tolerance, double step)
      : sheet_(sheet), window_(window), tolerance_(tolerance), step_(step) {}

  /// Adds the images of a line on the patch's grid. A line breaks where points stop and where the
  /// sheet jumps; both places are closed in on, so that its pieces reach them.
  void line(const Patch &patch, const Line &grid, std::vector<Line> &images);
  /// The same for an edge: where it stops just so, it is drawn a little inside. Where its image
  /// jumps a straight line stands for the point that the sheet stretches to an edge.
  void edge(const Patch &patch, const Line &grid, std::vector<Line> &images);
  /// The image of a ring (its first point repeated), kept inside likewise; empty when the sheet
  /// tears it by more than a few pixels.
  Line ring(const Patch &patch, const Line &grid);

 private:
  struct Seen {
    Oprj_Point grid;
    std::optional<Oprj_Point> image;
  };
  struct Drawing {
    const Patch &patch;
    std::vector<Line> &images;
    bool keepInside;
    bool torn = false;
    Line piece = {};
    void finish();
  };
  std::optional<Oprj_Point> project(const Drawing &drawing, Oprj_Point grid);
  Seen see(const Drawing &drawing, Oprj_Point grid);
  void go(Drawing &drawing, const Seen &a, const Seen &b, int depth);
  bool straight(const Seen &a, const Seen &middle, const Seen &b) const;
  void trace(Drawing &drawing, const Line &grid);

  const Sheet &sheet_;
  Box window_;
  double tolerance_, step_;
  int64_t effort_ = 0;
};

}  // namespace program::draw

#endif
