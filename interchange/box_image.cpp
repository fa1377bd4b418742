#include "interchange/box_image.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "records/text.h"

namespace orvik::oprj {
namespace {

using toolkit::ErrorScope;

/// Of the image's diagonal: how far the middle of a piece may lie from the straight line.
constexpr double kStraight = 1e-4;
/// Pieces of a line before they are halved, and how often each may be halved: across a jump or at
/// the limit of the domain that never ends.
constexpr int kPieces = 16;
constexpr int kHalvings = 20;
/// Points of a line that ask for no more halving.
constexpr size_t kMostPoints = 1 << 14;

/// A point of a line and where it went.
struct Node {
  double t;
  Oprj_Point image;
  bool good;
  bool active;  ///< the piece behind it is to be halved
};

/// A closed or open line through the box, given by points at t = 0, 1, 2, ...
struct Line {
  std::vector<Oprj_Point> corners;
  std::vector<Node> nodes;

  Oprj_Point at(double t) const {
    const size_t k = std::min(static_cast<size_t>(t), corners.size() - 2);
    const double u = t - static_cast<double>(k);
    const Oprj_Point &a = corners[k], &b = corners[k + 1];
    return {a.x + (b.x - a.x) * u, a.y + (b.y - a.y) * u};
  }
};

class BoxImage {
 public:
  BoxImage(const Box &from, const BoxWay &way, ErrorScope &e) : from_(from), way_(way), e_(e) {}

  /// The edges and `across` lines each way.
  bool trace(int across) {
    lines_.clear();
    const Box &b = from_;
    lines_.push_back(
        {{{b.xMin, b.yMin}, {b.xMax, b.yMin}, {b.xMax, b.yMax}, {b.xMin, b.yMax}, {b.xMin, b.yMin}},
         {}});
    for (int i = 1; i < across - 1; ++i) {
      const double x = b.xMin + (b.xMax - b.xMin) * i / (across - 1);
      const double y = b.yMin + (b.yMax - b.yMin) * i / (across - 1);
      lines_.push_back({{{b.xMin, y}, {b.xMax, y}}, {}});
      lines_.push_back({{{x, b.yMin}, {x, b.yMax}}, {}});
    }
    for (Line &line : lines_) {
      for (size_t i = 0; i <= kPieces * (line.corners.size() - 1); ++i)
        line.nodes.push_back({static_cast<double>(i) / kPieces, {}, false, true});
      line.nodes.back().active = false;
      if (!project(line, [](const Node &) { return true; })) return false;
    }
    measure();
    for (int round = 0; round < kHalvings; ++round) {
      for (Line &line : lines_)
        if (!halve(line)) return false;
      measure();
    }
    return true;
  }

  bool any() const { return bounds_.xMin <= bounds_.xMax; }
  bool partial() const { return partial_; }

  /// The bounds, grown, with the poles that lie inside.
  bool finish(Box &to) {
    to = {bounds_.xMin - growth_.x, bounds_.yMin - growth_.y, bounds_.xMax + growth_.x,
          bounds_.yMax + growth_.y};
    if (way_.toTurn == 0.0) return true;
    const double pole = way_.toTurn / 4.0;
    bool holds[2] = {false, false};  // the southern, the northern
    if (way_.fromTurn == 0.0 && !findPoles(pole, holds)) return false;
    if (turned_ && !holds[0] && !holds[1]) holds[to.yMin + to.yMax > 0.0] = true;
    if (holds[0]) to.yMin = -pole;
    if (holds[1]) to.yMax = pole;
    to.yMin = std::max(to.yMin, -pole);
    to.yMax = std::min(to.yMax, pole);
    if (holds[0] || holds[1] || to.xMax - to.xMin > way_.toTurn) {
      to.xMin = -way_.toTurn / 2.0;
      to.xMax = way_.toTurn / 2.0;
    }
    return true;
  }

  void growBy(double part) {
    const double more = part * diagonal();
    growth_.x += more;
    growth_.y += more;
  }

 private:
  double diagonal() const {
    return std::hypot(bounds_.xMax - bounds_.xMin, bounds_.yMax - bounds_.yMin);
  }

  bool run(const Oprj_ProjectionPair *pair, const char *fromUnit, const char *toUnit,
           std::vector<Oprj_Point> &points, std::vector<Oprj_PointReason> &reasons) {
    Oprj_ProjectOptions options = OPRJ_PROJECT_OPTIONS;
    const Flat from(fromUnit), to(toUnit);
    options.inUnit = from;
    options.outUnit = to;
    options.keepUncovered = 1;
    reasons.assign(points.size(), OPRJ_POINT_GOOD);
    oprj_ProjectEach(pair, points.data(), points.data(), reasons.data(), &options,
                     static_cast<int64_t>(points.size()), e_.cause());
    if (e_.calleeFailed()) return e_.fail(3, "Error returned from oprj_ProjectEach");
    return true;
  }

  /// Finds where the chosen nodes of a line went.
  template <class Chosen>
  bool project(Line &line, Chosen chosen) {
    points_.clear();
    for (const Node &node : line.nodes) {
      if (!chosen(node)) continue;
      Oprj_Point point = line.at(node.t);
      if (way_.fromTurn != 0.0) point.x = std::remainder(point.x, way_.fromTurn);
      points_.push_back(point);
    }
    if (points_.empty()) return true;
    if (!run(way_.there, way_.fromUnit, way_.toUnit, points_, reasons_)) return false;
    size_t k = 0;
    for (Node &node : line.nodes) {
      if (!chosen(node)) continue;
      node.image = points_[k++];
      node.good = std::isfinite(node.image.x) && std::isfinite(node.image.y);
      partial_ |= !node.good;
    }
    return true;
  }

  /// The same longitude, the turn that is nearest to `beside`.
  double nearTo(double beside, double x) const {
    return way_.toTurn == 0.0 ? x : beside + std::remainder(x - beside, way_.toTurn);
  }

  /// Halves the active pieces of a line and decides which ones go on.
  bool halve(Line &line) {
    auto &nodes = line.nodes;
    const bool room = nodes.size() < kMostPoints;
    if (std::none_of(nodes.begin(), nodes.end(), [](const Node &n) { return n.active; }))
      return true;
    constexpr double kNew = -1.0;
    std::vector<Node> finer;
    for (size_t i = 0; i < nodes.size(); ++i) {
      finer.push_back(nodes[i]);
      if (!nodes[i].active || i + 1 == nodes.size()) continue;
      finer.push_back({(nodes[i].t + nodes[i + 1].t) / 2.0, {kNew, kNew}, false, true});
    }
    std::swap(nodes, finer);
    // the middles are the nodes behind active ones
    std::vector<char> isMiddle(nodes.size(), 0);
    for (size_t i = 1; i < nodes.size(); ++i) isMiddle[i] = nodes[i - 1].active && !isMiddle[i - 1];
    if (!project(line,
                 [&](const Node &n) { return isMiddle[static_cast<size_t>(&n - nodes.data())]; }))
      return false;
    for (size_t i = 1; i + 1 < nodes.size(); ++i) {
      if (!isMiddle[i]) continue;
      const bool goOn = room && !isDone(nodes[i - 1], nodes[i], nodes[i + 1]);
      nodes[i - 1].active = nodes[i].active = goOn;
    }
    return true;
  }

  /// The piece from a to c with its middle b needs no halving.
  bool isDone(const Node &a, const Node &b, const Node &c) {
    if (!a.good && !b.good && !c.good) return true;
    if (!a.good || !b.good || !c.good) return false;
    const double x = nearTo(a.image.x, b.image.x), end = nearTo(x, c.image.x);
    const Oprj_Point off = {std::fabs(x - (a.image.x + end) / 2.0),
                            std::fabs(b.image.y - (a.image.y + c.image.y) / 2.0)};
    if (!(std::hypot(off.x, off.y) <= kStraight * diagonal())) return false;
    growth_ = {std::max(growth_.x, off.x), std::max(growth_.y, off.y)};
    return true;
  }

  /// The bounds of all nodes; longitudes run on along each line, and lines lie beside the edges.
  void measure() {
    constexpr double kFar = std::numeric_limits<double>::infinity();
    bounds_ = {kFar, kFar, -kFar, -kFar};
    double middle = 0.0;
    for (const Line &line : lines_) {
      const bool edges = &line == &lines_.front();
      double low = kFar, high = -kFar, x = 0.0, first = 0.0;
      bool begun = false;
      for (const Node &node : line.nodes) {
        if (!node.good) continue;
        x = begun ? nearTo(x, node.image.x) : nearTo(middle, node.image.x);
        if (!begun) first = x;
        begun = true;
        low = std::min(low, x);
        high = std::max(high, x);
        bounds_.yMin = std::min(bounds_.yMin, node.image.y);
        bounds_.yMax = std::max(bounds_.yMax, node.image.y);
      }
      if (!begun) continue;
      if (edges) {
        turned_ = way_.toTurn != 0.0 && std::fabs(x - first) > way_.toTurn / 2.0;
        middle = (low + high) / 2.0;
      } else {
        const double shift = nearTo(middle, (low + high) / 2.0) - (low + high) / 2.0;
        low += shift;
        high += shift;
      }
      bounds_.xMin = std::min(bounds_.xMin, low);
      bounds_.xMax = std::max(bounds_.xMax, high);
    }
  }

  /// Which poles of the target lie in the box. False after a report.
  bool findPoles(double pole, bool (&holds)[2]) {
    points_ = {{0.0, -pole}, {0.0, pole}};
    if (!run(way_.back, way_.toUnit, way_.fromUnit, points_, reasons_)) return false;
    for (size_t k = 0; k < 2; ++k)
      holds[k] = from_.xMin <= points_[k].x && points_[k].x <= from_.xMax &&
                 from_.yMin <= points_[k].y && points_[k].y <= from_.yMax;
    return true;
  }

  const Box from_;
  const BoxWay &way_;
  ErrorScope &e_;
  std::vector<Line> lines_;  ///< the edges first
  Box bounds_{};
  Oprj_Point growth_{};
  bool partial_ = false, turned_ = false;
  std::vector<Oprj_Point> points_;
  std::vector<Oprj_PointReason> reasons_;
};

}  // namespace

bool imageOf(const Box &from, const BoxWay &way, Box &to, bool &partial, ErrorScope &e) {
  // Where the domain ends within the box its limit is where the image reaches farthest: more lines
  // meet it, and between them it bends by less than the growth.
  constexpr int kAcross = 17, kAcrossLimit = 129;
  BoxImage image(from, way, e);
  if (!image.trace(kAcross)) return false;
  partial = image.partial();
  if (partial && !image.trace(kAcrossLimit)) return false;
  if (!image.any()) return e.fail(4, "No point of the box has a place in the other system");
  if (partial) image.growBy(kStraight);
  return image.finish(to);
}

}  // namespace orvik::oprj
