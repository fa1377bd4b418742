#include "draw_clip.h"

#include <algorithm>

namespace program::draw {
namespace {

/// A side of a box: the coordinate that it bounds, and which way is in.
struct Side {
  double Oprj_Point::*bounded;
  double Oprj_Point::*free;
  double at;
  bool below;  ///< inside is below it

  bool holds(Oprj_Point p) const { return below ? p.*bounded <= at : p.*bounded >= at; }
  /// Where the way from a to b crosses it.
  Oprj_Point crossing(Oprj_Point a, Oprj_Point b) const {
    const double part = (at - a.*bounded) / (b.*bounded - a.*bounded);
    Oprj_Point p;
    p.*bounded = at;
    p.*free = a.*free + (b.*free - a.*free) * part;
    return p;
  }
};

std::vector<Side> sidesOf(const Box &box) {
  return {{&Oprj_Point::x, &Oprj_Point::y, box.west, false},
          {&Oprj_Point::x, &Oprj_Point::y, box.east, true},
          {&Oprj_Point::y, &Oprj_Point::x, box.south, false},
          {&Oprj_Point::y, &Oprj_Point::x, box.north, true}};
}

}  // namespace

void clipLine(const Line &line, const Box &box, std::vector<Line> &parts) {
  const std::vector<Side> sides = sidesOf(box);
  Line part;
  const auto finish = [&] {
    if (part.size() > 1) parts.push_back(std::move(part));
    part.clear();
  };
  for (size_t i = 0; i + 1 < line.size(); ++i) {
    Oprj_Point a = line[i], b = line[i + 1];
    const bool leaves = !box.holds(b);
    bool outside = false;
    for (const Side &side : sides) {
      const bool aIn = side.holds(a), bIn = side.holds(b);
      outside = outside || (!aIn && !bIn);
      if (outside) break;
      if (!aIn) a = side.crossing(a, b);
      else if (!bIn) b = side.crossing(a, b);
    }
    if (outside) {
      finish();
      continue;
    }
    if (part.empty()) part.push_back(a);
    part.push_back(b);
    if (leaves) finish();
  }
  finish();
}

Line clipRing(Line ring, const Box &box) {
  for (const Side &side : sidesOf(box)) {
    Line kept;
    for (size_t i = 0; i < ring.size(); ++i) {
      const Oprj_Point a = ring[i], b = ring[(i + 1) % ring.size()];
      const bool aIn = side.holds(a), bIn = side.holds(b);
      if (aIn) kept.push_back(a);
      if (aIn != bIn) kept.push_back(side.crossing(a, b));
    }
    ring = std::move(kept);
  }
  return ring;
}

std::vector<Line> borderInside(const Box &box, const std::vector<Line> &rings) {
  std::vector<Line> pieces;
  for (const Side &side : sidesOf(box)) {
    const bool upright = side.bounded == &Oprj_Point::x;
    const double first = upright ? box.south : box.west, last = upright ? box.north : box.east;
    std::vector<double> crossings;
    for (const Line &ring : rings) {
      for (size_t i = 0; i < ring.size(); ++i) {
        const Oprj_Point a = ring[i], b = ring[(i + 1) % ring.size()];
        if ((a.*side.bounded < side.at) != (b.*side.bounded < side.at))
          crossings.push_back(side.crossing(a, b).*side.free);
      }
    }
    std::sort(crossings.begin(), crossings.end());
    for (size_t i = 0; i + 1 < crossings.size(); i += 2) {
      const double from = std::max(crossings[i], first), to = std::min(crossings[i + 1], last);
      if (from >= to) continue;
      Line piece(2);
      piece[0].*side.bounded = piece[1].*side.bounded = side.at;
      piece[0].*side.free = from;
      piece[1].*side.free = to;
      pieces.push_back(std::move(piece));
    }
  }
  return pieces;
}

Line densified(const Line &line, double x, double y) {
  Line result;
  for (size_t i = 0; i + 1 < line.size(); ++i) {
    const Oprj_Point a = line[i], b = line[i + 1];
    const int steps = std::max(
        1, static_cast<int>(
               std::ceil(std::max(std::fabs(b.x - a.x) / x, std::fabs(b.y - a.y) / y) - 1e-9)));
    for (int k = 0; k < steps; ++k) result.push_back(between(a, b, static_cast<double>(k) / steps));
  }
  if (!line.empty()) result.push_back(line.back());
  return result;
}

}  // namespace program::draw
