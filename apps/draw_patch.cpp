#include "draw_patch.h"

#include <algorithm>
#include <utility>

namespace program::draw {
namespace {

constexpr double kHalfPi = kPi / 2, kTurn = 2 * kPi;
/// Edges keep this far inside, so that rounding does not carry a point over them (rad, 6 mm).
constexpr double kInset = 1e-9;
/// Steps in which stops are looked for from the middle of a patch to its edge, and halvings of the
/// step that the first one is found in.
constexpr int kWalk = 90, kHalvings = 40;
/// The longest step of a line (rad), and of one outside a reach in parts of the way to it.
constexpr double kLongest = 1 * kDegree, kNearing = 0.25;

Vector vectorOf(Oprj_Point p) {
  return {std::cos(p.y) * std::cos(p.x), std::cos(p.y) * std::sin(p.x), std::sin(p.y)};
}

Oprj_Point angles(Vector v) {
  return {std::atan2(v.y, v.x), std::atan2(v.z, std::hypot(v.x, v.y))};
}

/// Angle between two points of the globe; exact where it is small.
double arc(Oprj_Point a, Oprj_Point b) {
  const Vector p = vectorOf(a), q = vectorOf(b);
  return 2 * std::asin(std::min(1.0, std::hypot(p.x - q.x, p.y - q.y, p.z - q.z) / 2));
}

}  // namespace

double Reach::distance(Oprj_Point globe) const {
  return std::max(0.0, arc(centre, globe) - radius);
}

Box Reach::range() const {
  const double south = centre.y - radius, north = centre.y + radius;
  if (south <= -kHalfPi || north >= kHalfPi)
    return {centre.x - kPi, std::max(south, -kHalfPi), centre.x + kPi, std::min(north, kHalfPi)};
  const double wide = std::asin(std::sin(radius) / std::cos(centre.y));
  return {centre.x - wide, south, centre.x + wide, north};
}

std::optional<Oprj_Point> Sheet::project(Oprj_Point globe) const {
  Slot err;
  Oprj_Point sheet;
  if (!oprj_ProjectFromLatLon(&globe, handle_.get(), &sheet, 1, err.get()) ||
      !std::isfinite(sheet.x) || !std::isfinite(sheet.y))
    return std::nullopt;
  return sheet;
}

std::optional<Oprj_Point> Sheet::unproject(Oprj_Point sheet) const {
  Slot err;
  Oprj_Point globe;
  if (!oprj_ProjectToLatLon(&sheet, handle_.get(), &globe, 1, err.get()) ||
      !std::isfinite(globe.x) || !std::isfinite(globe.y))
    return std::nullopt;
  return globe;
}

Frame Frame::upright(double centralMeridian) {
  Frame frame;
  frame.centralMeridian_ = centralMeridian;
  return frame;
}

Frame Frame::poleAt(Oprj_Point centre) {
  // u = 0 points south: any meridian would do.
  return turned(centre, {centre.x, centre.y - kHalfPi});
}

Frame Frame::equatorThrough(Oprj_Point centre, double azimuth) {
  // The pole lies a quarter turn to the left of the direction.
  const double bearing = azimuth - kHalfPi;
  const Vector north = vectorOf({centre.x, centre.y + kHalfPi}),
               east = vectorOf({centre.x + kHalfPi, 0});
  const double c = std::cos(bearing), s = std::sin(bearing);
  return turned(angles({c * north.x + s * east.x, c * north.y + s * east.y, c * north.z}), centre);
}

Frame Frame::turned(Oprj_Point pole, Oprj_Point origin) {
  Frame frame;
  frame.upright_ = false;
  const Vector x = vectorOf(origin), z = vectorOf(pole);
  frame.axes_[0] = x;
  frame.axes_[1] = {z.y * x.z - z.z * x.y, z.z * x.x - z.x * x.z, z.x * x.y - z.y * x.x};
  frame.axes_[2] = z;
  return frame;
}

Oprj_Point Frame::toGlobe(Oprj_Point uv) const {
  if (upright_) return {centralMeridian_ + uv.x, uv.y};
  const Vector p = vectorOf(uv);
  const auto sum = [&](double Vector::*c) {
    return p.x * axes_[0].*c + p.y * axes_[1].*c + p.z * axes_[2].*c;
  };
  return angles({sum(&Vector::x), sum(&Vector::y), sum(&Vector::z)});
}

Oprj_Point Frame::fromGlobe(Oprj_Point globe) const {
  if (upright_) return {std::remainder(globe.x - centralMeridian_, kTurn), globe.y};
  const Vector p = vectorOf(globe);
  const auto along = [&](const Vector &axis) { return p.x * axis.x + p.y * axis.y + p.z * axis.z; };
  return angles({along(axes_[0]), along(axes_[1]), along(axes_[2])});
}

Oprj_Point Frame::halfway(Oprj_Point a, Oprj_Point b) const {
  if (upright_) return between(a, b, 0.5);
  const Vector p = vectorOf(a), q = vectorOf(b);
  Oprj_Point middle = angles({p.x + q.x, p.y + q.y, p.z + q.z});
  middle.x += kTurn * std::round((a.x - middle.x) / kTurn);
  return middle;
}

Patch::Patch(Frame frame, Box range, bool round, unsigned outline)
    : frame_(frame),
      range_(range),
      round_(round),
      outline_(outline),
      south_(kColumns + 1, range.south),
      north_(kColumns + 1, range.north),
      middle_(kColumns + 1, round ? range.north : (range.south + range.north) / 2) {}

Patch Patch::rectangle(Frame frame, Box range, unsigned outline) {
  const auto inset = [outline](unsigned edge) { return outline & edge ? kInset : 0; };
  return {frame,
          {range.west + inset(kWest), range.south + inset(kSouth), range.east - inset(kEast),
           range.north - inset(kNorth)},
          false,
          outline};
}

Patch Patch::cap(Frame frame, double radius) {
  return {frame, {-kPi, kHalfPi - radius, kPi, kHalfPi}, true, kSouth};
}

Patch Patch::swath(Frame frame, const Line &axis, double halfWidth) {
  Line net;
  for (const Oprj_Point globe : axis) net.push_back(frame.fromGlobe(globe));
  std::sort(net.begin(), net.end(), [](auto a, auto b) { return a.x < b.x; });
  Patch patch(frame, {net.front().x, -halfWidth, net.back().x, halfWidth}, false, kAllEdges);
  for (size_t column = 0, i = 0; column <= kColumns; ++column) {
    const double u = patch.columnU(column);
    while (i + 2 < net.size() && net[i + 1].x < u) ++i;
    const double v =
        net[i].y + (net[i + 1].y - net[i].y) * (u - net[i].x) / (net[i + 1].x - net[i].x);
    patch.middle_[column] = v;
    patch.south_[column] += v;
    patch.north_[column] += v;
  }
  return patch;
}

double Patch::columnU(size_t column) const {
  return range_.west + range_.width() * static_cast<double>(column) / kColumns;
}

double Patch::at(const std::vector<double> &edge, double u) const {
  if (round_) u = std::remainder(u, kTurn);
  const double place = std::clamp((u - range_.west) / range_.width(), 0.0, 1.0) * kColumns;
  const size_t column = std::min(static_cast<size_t>(place), kColumns - 1);
  const double part = place - static_cast<double>(column);
  return edge[column] + (edge[column + 1] - edge[column]) * part;
}

void Patch::settle(const Sheet &sheet) {
  for (size_t column = 0; column <= kColumns; ++column) {
    const double u = columnU(column);
    const auto holds = [&](double v) { return sheet.project(frame_.toGlobe({u, v})).has_value(); };
    const auto walk = [&](double from, double to) {
      double good = from;
      for (int step = 0; step <= kWalk; ++step) {
        double next = from + (to - from) * step / kWalk;
        if (holds(next)) {
          good = next;
          continue;
        }
        for (int i = 0; i < kHalvings; ++i) {
          const double half = (good + next) / 2;
          (holds(half) ? good : next) = half;
        }
        return good + std::copysign(std::min(kInset, std::fabs(from - good)), from - good);
      }
      return to;
    };
    south_[column] = walk(middle_[column], south_[column]);
    if (!round_) north_[column] = walk(middle_[column], north_[column]);
  }
  if (round_) {
    // Where a cap stops in its first column alone, which is its last, that is a seam, no edge.
    const double beside = std::max(south_[1], south_[kColumns - 1]);
    south_.front() = south_.back() = std::min(south_.front(), beside);
  }
  reach_ = reachNow();
}

Reach Patch::reachNow() const {
  constexpr int kSteps = 24;        // samples across
  constexpr double kBetween = 1.1;  // of the farthest sample, for what lies between
  std::vector<Oprj_Point> samples;
  Vector sum{};
  for (int i = 0; i <= kSteps; ++i) {
    for (int j = 0; j <= kSteps; ++j) {
      const Oprj_Point globe =
          place({range_.west + range_.width() * i / kSteps, static_cast<double>(j) / kSteps});
      const Vector v = vectorOf(samples.emplace_back(globe));
      sum = {sum.x + v.x, sum.y + v.y, sum.z + v.z};
    }
  }
  Reach reach{angles(sum), 0};
  for (const Oprj_Point globe : samples)
    reach.radius = std::max(reach.radius, kBetween * arc(reach.centre, globe));
  reach.radius = std::min(reach.radius, kPi);
  return reach;
}

double Patch::height() const {
  const double high = *std::max_element(north_.begin(), north_.end()) -
                      *std::min_element(south_.begin(), south_.end());
  return (round_ ? 2 * high : high) / kDegree;
}

double Patch::width() const { return round_ ? height() : range_.width() / kDegree; }

double Patch::extent() const { return std::min(width(), height()); }

double Patch::middlingExtent() const {
  constexpr double kLeast = 1.0 / 8;  // of the greater: a graticule for it has not too many lines
  return std::max(std::sqrt(width() * height()), kLeast * std::max(width(), height()));
}

Oprj_Point Patch::uvOf(Oprj_Point grid) const {
  const double south = at(south_, grid.x), north = at(north_, grid.x);
  return {grid.x, south + (north - south) * grid.y};
}

double Patch::weight(Oprj_Point grid) const {
  return std::cos(uvOf(grid).y) * (at(north_, grid.x) - at(south_, grid.x));
}

Oprj_Point Patch::place(Oprj_Point grid) const { return frame_.toGlobe(uvOf(grid)); }

bool Patch::onEdge(Oprj_Point a, Oprj_Point b) const {
  return (a.y == b.y && (a.y == 0 || a.y == 1)) ||
         (!round_ && a.x == b.x && (a.x == range_.west || a.x == range_.east));
}

Oprj_Point Patch::middle(Oprj_Point a, Oprj_Point b) const {
  if (onEdge(a, b)) return between(a, b, 0.5);
  const Oprj_Point uv = frame_.halfway(uvOf(a), uvOf(b));
  const double south = at(south_, uv.x), north = at(north_, uv.x);
  return {uv.x, (uv.y - south) / (north - south)};
}

Line Patch::sampled(const Line &globe, double step) const {
  Line result;
  const auto go = [&](const auto &self, Oprj_Point a, Oprj_Point b) -> void {
    const Oprj_Point middle = between(a, b, 0.5);
    const double longest = std::max(step, kNearing * reach_.distance(middle));
    if (std::max(std::fabs(b.x - a.x), std::fabs(b.y - a.y)) <= std::min(longest, kLongest)) {
      result.push_back(b);
    } else {
      self(self, a, middle);
      self(self, middle, b);
    }
  };
  if (!globe.empty()) result.push_back(globe.front());
  for (size_t i = 1; i < globe.size(); ++i) go(go, globe[i - 1], globe[i]);
  return result;
}

Line Patch::stepped(const Line &grid, double step) const {
  Line result;
  for (size_t i = 0; i < grid.size(); ++i) {
    if (i > 0 && onEdge(grid[i - 1], grid[i])) {
      // On the grid 1 is the whole height, and u of a cap counts around its pole.
      const double height = step / (extent() * kDegree);
      const double wide = round_ ? std::min(2 * height, kLongest) : step;
      const Line edge = densified({grid[i - 1], grid[i]}, wide, height);
      result.insert(result.end(), edge.begin() + 1, edge.end());
    } else {
      result.push_back(grid[i]);
    }
  }
  return result;
}

Box Patch::box() const {
  return round_ ? Box{-kFar, 0, kFar, 1} : Box{range_.west, 0, range_.east, 1};
}

Line Patch::ring() const {
  if (round_) return {{range_.west, 0}, {range_.east, 0}};
  return {{range_.west, 0}, {range_.east, 0}, {range_.east, 1}, {range_.west, 1}, {range_.west, 0}};
}

std::vector<Line> Patch::outline() const {
  std::vector<Line> lines;
  const auto add = [&](unsigned edge, Oprj_Point from, Oprj_Point to) {
    if (outline_ & edge) lines.push_back({from, to});
  };
  add(kSouth, {range_.west, 0}, {range_.east, 0});
  const double from = (1 - sides_) / 2, to = (1 + sides_) / 2;
  add(kEast, {range_.east, from}, {range_.east, to});
  add(kNorth, {range_.east, 1}, {range_.west, 1});
  add(kWest, {range_.west, to}, {range_.west, from});
  return lines;
}

Line Patch::unrolled(const Line &globe) const {
  Line net;
  double pole = 0;  // v of a frame's pole that the line has just passed, else 0
  for (const Oprj_Point p : globe) {
    Oprj_Point uv = frame_.fromGlobe(p);
    // At a pole u means nothing: the line comes in along one meridian and leaves along another.
    const bool atPole = std::fabs(uv.y) > kHalfPi - 10 * kInset;
    if (!net.empty()) {
      if (atPole) uv.x = net.back().x;
      uv.x += kTurn * std::round((net.back().x - uv.x) / kTurn);
    }
    if (pole != 0 && !atPole) net.push_back({uv.x, pole});
    pole = atPole ? uv.y : 0;
    if (!atPole || !net.empty()) net.push_back(uv);
  }
  return net;
}

std::vector<Line> Patch::onGrid(const Line &net, bool once) const {
  if (net.empty()) return {};
  const auto [first, last] =
      std::minmax_element(net.begin(), net.end(), [](auto a, auto b) { return a.x < b.x; });
  const double lowest = once ? 0 : std::ceil((range_.west - last->x) / kTurn);
  const double highest = once ? 0 : std::floor((range_.east - first->x) / kTurn);
  std::vector<Line> copies;
  for (double turn = lowest; turn <= highest; ++turn) {
    Line &grid = copies.emplace_back();
    for (const Oprj_Point p : net) {
      const double u = p.x + turn * kTurn, south = at(south_, u), north = at(north_, u);
      grid.push_back({u, (p.y - south) / (north - south)});
    }
  }
  return copies;
}

std::vector<Line> Patch::parts(const Line &globe) const {
  std::vector<Line> result;
  for (const Line &grid : onGrid(unrolled(globe), round_)) clipLine(grid, box(), result);
  return result;
}

std::vector<Line> Patch::areas(const Line &globe) const {
  Line net = unrolled(globe);
  if (net.size() < 3) return {};
  const double turns = std::round((net.back().x - net.front().x) / kTurn);
  if (turns != 0) {
    // It runs around the frame's axis: what lies to its right ends at the south pole when it runs
    // east. Three turns of it lie over all of a rectangle.
    const double pole = turns > 0 ? -kHalfPi : kHalfPi;
    if (!round_) {
      Line longer;
      net.pop_back();
      for (double turn = -1; turn <= 1; ++turn) {
        for (const Oprj_Point p : net) longer.push_back({p.x + turn * turns * kTurn, p.y});
      }
      net = std::move(longer);
    }
    net.push_back({net.back().x, pole});
    net.push_back({net.front().x, pole});
  }
  std::vector<Line> result;
  for (Line &grid : onGrid(net, round_ || turns != 0)) {
    grid = clipRing(std::move(grid), box());
    if (grid.size() < 3) continue;
    grid.push_back(grid.front());
    result.push_back(std::move(grid));
  }
  return result;
}

}  // namespace program::draw
