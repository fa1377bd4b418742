#include "draw_coast.h"

#include <cerrno>
#include <cstring>
#include <fstream>

#include "program.h"

namespace program::draw {
namespace {

constexpr double kHalfTurn = 180, kTurn = 360;  // degrees
/// Ends of pieces of one ring lie this near the antimeridian where the file cuts it (degrees), and
/// this near each other (degrees of arc).
constexpr double kCut = 2, kJoint = 1;

/// The numbers of the file, with their place for messages.
class Reader {
 public:
  explicit Reader(const std::string &path) : path_(path), file_(path) {
    if (!file_) fail(std::string("cannot be opened: ") + std::strerror(errno));
  }

  /// False at the end of the file.
  bool next(double &number) {
    while (true) {
      const size_t start = line_.find_first_not_of(" \t\r", at_);
      if (start == std::string::npos || line_[start] == '#') {
        if (!std::getline(file_, line_)) return false;
        ++count_;
        at_ = 0;
        continue;
      }
      at_ = std::min(line_.find_first_of(" \t\r#", start), line_.size());
      if (!ostr_ToDouble(line_.substr(start, at_ - start).c_str(), &number)) fail("not a number");
      return true;
    }
  }

  double coordinate(double limit) {
    double number;
    if (!next(number)) fail("the file ends in the middle of a polyline");
    if (!(std::fabs(number) <= limit)) fail("a coordinate out of range");
    return number;
  }

  [[noreturn]] void fail(const std::string &what) const {
    throw Stop(kUnusable, "the coastlines: " + path_ +
                              (count_ > 0 ? ":" + std::to_string(count_) : std::string()) + ": " +
                              what);
  }

 private:
  std::string path_, line_;
  std::ifstream file_;
  size_t at_ = 0;
  int64_t count_ = 0;
};

/// Degrees of arc between two ends at a cut along the antimeridian; infinite between any others.
double gap(Oprj_Point a, Oprj_Point b) {
  if (std::fabs(a.x) < kHalfTurn - kCut || std::fabs(b.x) < kHalfTurn - kCut) return kFar;
  return std::hypot(std::remainder(a.x - b.x, kTurn) * std::cos(a.y * kDegree), a.y - b.y);
}

/// Joins pieces end to start across the cut: to another piece if one begins there, else to itself.
void join(std::vector<Line> &pieces) {
  for (size_t i = 0; i < pieces.size(); ++i) {
    while (true) {
      size_t nearest = i;
      double width = std::min(kJoint, gap(pieces[i].back(), pieces[i].front()));
      for (size_t j = i + 1; j < pieces.size(); ++j) {
        if (gap(pieces[i].back(), pieces[j].front()) < width) {
          nearest = j;
          width = gap(pieces[i].back(), pieces[j].front());
        }
      }
      if (nearest == i) break;
      pieces[i].insert(pieces[i].end(), pieces[nearest].begin(), pieces[nearest].end());
      pieces.erase(pieces.begin() + static_cast<std::ptrdiff_t>(nearest));
    }
    if (gap(pieces[i].back(), pieces[i].front()) < kJoint) pieces[i].push_back(pieces[i].front());
  }
}

/// Turns a ring so that its smaller side lies to its right.
void orient(Line &ring) {
  double twiceArea = 0, latitudes = 0;
  for (size_t i = 0; i + 1 < ring.size(); ++i) {
    twiceArea += ring[i].x * ring[i + 1].y - ring[i + 1].x * ring[i].y;
    latitudes += ring[i].y;
  }
  // A ring around a pole, which is not closed on the plane, has that pole inside.
  const double turned = ring.back().x - ring.front().x;
  const bool around = std::fabs(turned) > kHalfTurn * kDegree;
  if (around ? turned * latitudes > 0 : twiceArea > 0) ring = Line(ring.rbegin(), ring.rend());
}

}  // namespace

Coast readCoast(const std::string &path) {
  Reader reader(path);
  constexpr double kMostPoints = 1e7;
  Coast coast;
  double count;
  while (reader.next(count)) {
    if (!(count >= 2 && count <= kMostPoints) || count != std::floor(count))
      reader.fail("not a number of points");
    Line line;
    for (double i = 0; i < count; ++i) {
      const double lon = reader.coordinate(360), lat = reader.coordinate(90);
      line.push_back({lon, lat});
    }
    const bool closed = line.size() > 3 && distance(line.front(), line.back()) == 0;
    (closed ? coast.rings : coast.lines).push_back(std::move(line));
  }
  join(coast.lines);
  std::vector<Line> open;
  for (Line &line : coast.lines) {
    const bool closed = line.size() > 3 && distance(line.front(), line.back()) == 0;
    (closed ? coast.rings : open).push_back(std::move(line));
  }
  coast.lines = std::move(open);
  for (std::vector<Line> *lines : {&coast.rings, &coast.lines}) {
    for (Line &line : *lines) {
      double lon = line.front().x;  // runs on across the antimeridian
      for (Oprj_Point &p : line) {
        lon += std::remainder(p.x - lon, kTurn);
        p = {lon * kDegree, p.y * kDegree};
      }
    }
  }
  for (Line &ring : coast.rings) orient(ring);
  return coast;
}

}  // namespace program::draw
