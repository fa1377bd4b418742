#include "draw_trace.h"

#include <algorithm>
#include <utility>

namespace program::draw {
namespace {

/// Halvings of a step before a difference counts as a tear: 1 degree becomes 0.1 mm.
constexpr int kDeepest = 30;
/// Outside the window lines only have to be where they are by this part of their length.
constexpr double kCoarse = 0.05;

/// What a ring may jump, in tolerances (5 pixels): an aposphere does not quite close behind the
/// centre of its map.
constexpr double kSeam = 100;

/// Points that the lines of a map may take, and the points that one costs at which the projection
/// stops, for its report. Maps of a page's width take up to some 200,000.
constexpr int64_t kMostEffort = 3'000'000, kStopEffort = 8;

/// How far inside an edge, or beside a seam, is looked for where it stops: parts of the patch's
/// height, radians.
constexpr double kLeastWay = 1e-9, kMostWay = 0.03;

}  // namespace

void Tracer::Drawing::finish() {
  if (piece.size() > 1) images.push_back(std::move(piece));
  piece.clear();
}

std::optional<Oprj_Point> Tracer::project(const Drawing &drawing, Oprj_Point grid) {
  const auto image = sheet_.project(drawing.patch.place(grid));
  effort_ += image ? 1 : kStopEffort;
  if (effort_ > kMostEffort)
    throw Stop(kUnusable, "the map is too intricate to draw: its lines bend or tear without end");
  return image;
}

Tracer::Seen Tracer::see(const Drawing &drawing, Oprj_Point grid) {
  Seen seen{grid, project(drawing, grid)};
  if (!drawing.keepInside) return seen;
  const double inward = grid.y < 0.5 ? 1 : -1;
  for (double way = kLeastWay; !seen.image && way < kMostWay; way *= 2) {
    for (const auto &[x, y] : {Oprj_Point{0, inward * way}, {way, 0}, {-way, 0}}) {
      if (!seen.image) seen.image = project(drawing, {grid.x + x, grid.y + y});
    }
  }
  return seen;
}

bool Tracer::straight(const Seen &a, const Seen &middle, const Seen &b) const {
  const Oprj_Point chord = between(*a.image, *b.image, 0.5);
  double allowed = tolerance_;
  if (!window_.holds(*a.image) && !window_.holds(*b.image) && !window_.holds(chord))
    allowed = std::max(allowed, kCoarse * distance(*a.image, *b.image));
  return distance(*middle.image, chord) <= allowed;
}

void Tracer::go(Drawing &drawing, const Seen &a, const Seen &b, int depth) {
  if (!a.image && !b.image) return;
  const bool close = a.image && b.image && distance(*a.image, *b.image) <= tolerance_;
  if (!close && depth < kDeepest) {
    const Seen middle = see(drawing, drawing.patch.middle(a.grid, b.grid));
    if (!a.image || !b.image || !middle.image || !straight(a, middle, b)) {
      go(drawing, a, middle, depth + 1);
      go(drawing, middle, b, depth + 1);
      return;
    }
  } else if (!close && !(drawing.keepInside && a.image && b.image &&
                         (drawing.patch.onEdge(a.grid, b.grid) ||
                          distance(*a.image, *b.image) <= kSeam * tolerance_))) {
    drawing.torn = true;
    drawing.finish();
  }
  if (b.image) drawing.piece.push_back(*b.image);
}

void Tracer::trace(Drawing &drawing, const Line &grid) {
  std::optional<Seen> before;
  for (const Oprj_Point p : drawing.patch.stepped(grid, step_)) {
    Seen now = see(drawing, p);
    drawing.torn = drawing.torn || !now.image;
    if (before) go(drawing, *before, now, 0);
    else if (now.image) drawing.piece.push_back(*now.image);
    before = now;
  }
  drawing.finish();
}

void Tracer::line(const Patch &patch, const Line &grid, std::vector<Line> &images) {
  Drawing drawing{patch, images, false};
  trace(drawing, grid);
}

void Tracer::edge(const Patch &patch, const Line &grid, std::vector<Line> &images) {
  Drawing drawing{patch, images, true};
  trace(drawing, grid);
}

Line Tracer::ring(const Patch &patch, const Line &grid) {
  std::vector<Line> images;
  Drawing drawing{patch, images, true};
  trace(drawing, grid);
  return drawing.torn || images.empty() ? Line{} : std::move(images.front());
}

}  // namespace program::draw
