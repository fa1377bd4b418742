#include "datum/model/triangles.h"

#include <algorithm>
#include <boost/polygon/voronoi.hpp>
#include <numeric>
#include <utility>

namespace orvik::oprj {

using OrvikDatum::Shift;
using OrvikDatum::ShiftMethod;
using toolkit::HeapVector;

namespace {

constexpr double kUnitsPerDegree = 1e7;
constexpr double kDegreesPerTurn = 360.0;
constexpr double kEdge = 1e-6;  // of a triangle's height: what rounding may put between two

}  // namespace

ShiftTriangles::Place ShiftTriangles::placeOf(double lon, double lat) const {
  return {wrappedDegrees(lon - middle_) * kUnitsPerDegree, lat * kUnitsPerDegree};
}

/// Cuts the globe in the widest gap of longitudes and rounds the coordinates.
void ShiftTriangles::place() {
  HeapVector<double> lons;
  for (const Site &site : sites) lons.push_back(wrappedDegrees(site.lon));
  std::sort(lons.begin(), lons.end());
  double widest = lons.front() + kDegreesPerTurn - lons.back();
  double west = lons.front(), east = lons.back();
  for (size_t i = 1; i < lons.size(); ++i) {
    if (lons[i] - lons[i - 1] <= widest) continue;
    widest = lons[i] - lons[i - 1];
    west = lons[i];
    east = lons[i - 1];
  }
  const auto [south, north] = std::minmax_element(
      sites.begin(), sites.end(), [](const Site &a, const Site &b) { return a.lat < b.lat; });
  extent_ = {west, south->lat, east, north->lat};
  middle_ = wrappedDegrees(west + (kDegreesPerTurn - widest) / 2.0);
  for (Site &site : sites) {
    const Place at = placeOf(site.lon, site.lat);
    site.x = static_cast<int32_t>(std::lround(at.x));
    site.y = static_cast<int32_t>(std::lround(at.y));
  }
}

bool ShiftTriangles::triangulate() {
  namespace polygon = boost::polygon;
  HeapVector<polygon::point_data<int32_t>> points;
  for (const Site &site : sites) points.emplace_back(site.x, site.y);
  polygon::voronoi_diagram<double> diagram;
  polygon::construct_voronoi(points.begin(), points.end(), &diagram);
  // Around a vertex lie the cells of a triangle's corners, or of more points on one circle, which
  // are cut into a fan.
  HeapVector<Index> around;
  for (const auto &vertex : diagram.vertices()) {
    around.clear();
    const auto *edge = vertex.incident_edge();
    do {
      around.push_back(static_cast<Index>(edge->cell()->source_index()));
      edge = edge->rot_next();
    } while (edge != vertex.incident_edge());
    for (size_t i = 2; i < around.size(); ++i) {
      const Site &a = sites[around[0]], &b = sites[around[i - 1]], &c = sites[around[i]];
      triangles_.push_back(
          {{around[0], around[i - 1], around[i]}, {a.x, b.x, c.x}, {a.y, b.y, c.y}});
    }
  }
  if (triangles_.empty()) return false;
  fillBuckets();
  if (method == ShiftMethod::Nearest) link();
  return true;
}

ShiftTriangles::Buckets ShiftTriangles::bucketsOf(const Triangle &triangle) const {
  const auto [west, east] = std::ranges::minmax(triangle.x);
  const auto [south, north] = std::ranges::minmax(triangle.y);
  return {bucketOf(west, origin_.x, bucket_.x), bucketOf(east, origin_.x, bucket_.x),
          bucketOf(south, origin_.y, bucket_.y), bucketOf(north, origin_.y, bucket_.y)};
}

template <class Each>
void ShiftTriangles::eachBucket(const Triangle &triangle, Each each) const {
  const Buckets of = bucketsOf(triangle);
  for (Index row = of.firstRow; row <= of.lastRow; ++row)
    for (Index column = of.firstColumn; column <= of.lastColumn; ++column)
      each(row * side_ + column);
}

/// About as many buckets as triangles; fewer when long triangles reach into too many of them.
void ShiftTriangles::fillBuckets() {
  constexpr int64_t kMostPerTriangle = 16;
  const auto [west, east] = std::minmax_element(
      sites.begin(), sites.end(), [](const Site &a, const Site &b) { return a.x < b.x; });
  const auto [south, north] = std::minmax_element(
      sites.begin(), sites.end(), [](const Site &a, const Site &b) { return a.y < b.y; });
  origin_ = {double(west->x), double(south->y)};
  side_ = static_cast<Index>(std::sqrt(static_cast<double>(triangles_.size()))) + 1;
  for (;; side_ = side_ / 2 + 1) {
    bucket_ = {std::max(east->x - origin_.x, 1.0) / side_,
               std::max(north->y - origin_.y, 1.0) / side_};
    int64_t entries = 0;
    for (const Triangle &triangle : triangles_) {
      const Buckets of = bucketsOf(triangle);
      entries +=
          int64_t{of.lastRow - of.firstRow + 1} * int64_t{of.lastColumn - of.firstColumn + 1};
    }
    constexpr Index kFewest = 2;
    if (side_ <= kFewest || entries <= kMostPerTriangle * static_cast<int64_t>(triangles_.size()))
      break;
  }
  bucketStart_.assign(size_t{side_} * side_ + 1, 0);
  for (const Triangle &triangle : triangles_)
    eachBucket(triangle, [&](Index at) { ++bucketStart_[at + 1]; });
  std::partial_sum(bucketStart_.begin(), bucketStart_.end(), bucketStart_.begin());
  bucketed_.resize(bucketStart_.back());
  HeapVector<Index> next = bucketStart_;
  for (size_t i = 0; i < triangles_.size(); ++i)
    eachBucket(triangles_[i], [&](Index at) { bucketed_[next[at]++] = static_cast<Index>(i); });
}

void ShiftTriangles::link() {
  neighbourStart_.assign(sites.size() + 1, 0);
  constexpr Index kOthers = 2;
  for (const Triangle &triangle : triangles_)
    for (const Index corner : triangle.corner) neighbourStart_[corner + 1] += kOthers;
  std::partial_sum(neighbourStart_.begin(), neighbourStart_.end(), neighbourStart_.begin());
  neighbours_.resize(neighbourStart_.back());
  HeapVector<Index> next = neighbourStart_;
  for (const Triangle &triangle : triangles_)
    for (const Index corner : triangle.corner)
      for (const Index other : triangle.corner)
        if (other != corner) neighbours_[next[corner]++] = other;
}

/// False, most often without a division, where one of them is clearly negative.
bool ShiftTriangles::weightsAt(const Triangle &triangle, Place p, Weights &weights) const {
  // Differences first: they are exact, and small where the triangle is.
  const int32_t(&x)[3] = triangle.x, (&y)[3] = triangle.y;
  const double abX = double(x[1]) - x[0], abY = double(y[1]) - y[0];
  const double acX = double(x[2]) - x[0], acY = double(y[2]) - y[0];
  const double apX = p.x - x[0], apY = p.y - y[0];
  const double area = abX * acY - abY * acX;
  const double areaB = apX * acY - apY * acX, areaC = abX * apY - abY * apX;
  const double outside = -2.0 * kEdge * area * area;
  if (areaB * area < outside || areaC * area < outside || (area - areaB - areaC) * area < outside)
    return false;
  const double ofB = areaB / area, ofC = areaC / area;
  weights = {{1.0 - ofB - ofC, ofB, ofC}};
  return true;
}

bool ShiftTriangles::find(Place p, const Triangle *&triangle, Weights &weights) const {
  const Index column = bucketOf(p.x, origin_.x, bucket_.x),
              row = bucketOf(p.y, origin_.y, bucket_.y);
  const Index at = row * side_ + column;
  double best = -kEdge;
  triangle = nullptr;
  for (Index i = bucketStart_[at]; i < bucketStart_[at + 1] && best < 0.0; ++i) {
    const Triangle &candidate = triangles_[bucketed_[i]];
    Weights there;
    if (!weightsAt(candidate, p, there)) continue;
    const double least = std::min({there.of[0], there.of[1], there.of[2]});
    if (!(least >= best)) continue;
    best = least;
    triangle = &candidate;
    weights = there;
  }
  return triangle != nullptr;
}

/// The nearest site: along the edges of Delaunay's triangles_ every other one has a nearer
/// neighbour.
ShiftTriangles::Index ShiftTriangles::nearest(Place p, Index start) const {
  const auto squared = [&](Index site) {
    const double x = sites[site].x - p.x, y = sites[site].y - p.y;
    return x * x + y * y;
  };
  double least = squared(start);
  for (Index at = start;;) {
    const Index from = at;
    for (Index i = neighbourStart_[from]; i < neighbourStart_[from + 1]; ++i) {
      const double distance = squared(neighbours_[i]);
      if (!(distance < least)) continue;
      least = distance;
      at = neighbours_[i];
    }
    if (at == from) return at;
  }
}

bool ShiftTriangles::shiftAt(double lon, double lat, Shift &shift) const {
  const Place p = placeOf(lon, lat);
  const Triangle *triangle;
  Weights weights;
  if (!find(p, triangle, weights)) return false;
  if (method == ShiftMethod::Nearest) {
    const Site &site = sites[nearest(p, triangle->corner[0])];
    shift = {site.east, site.north, 0.0};
  } else {
    shift = {};
    for (int k = 0; k < 3; ++k) {
      const Site &site = sites[triangle->corner[k]];
      shift.east += weights.of[k] * site.east;
      shift.north += weights.of[k] * site.north;
    }
  }
  return !std::isnan(shift.east) && !std::isnan(shift.north);
}

}  // namespace orvik::oprj
