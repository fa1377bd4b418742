// Delaunay's triangles over scattered points that hold shifts, and the search in them.
//
// They come from Boost.Polygon's Voronoi diagram, which is exact on integers: coordinates are
// rounded to 1e-7 degree, a centimetre on the ground, for triangulation and search alike.
// Longitudes are counted from the middle of the points, opposite of which lies the widest gap
// between them, so that points on both sides of 180 degrees are neighbours.
#ifndef OPRJ_DATUM_MODEL_TRIANGLES_H
#define OPRJ_DATUM_MODEL_TRIANGLES_H

#include <oprj/datum_model.h>

#include <cmath>

#include "datum/degrees.h"
#include "toolkit/heap.h"

namespace orvik::oprj {

struct Site {
  double lon, lat;       ///< degrees
  double east, north;    ///< arc-seconds; NaN: nothing
  int32_t line;          ///< where it stands in its file
  int32_t x = 0, y = 0;  ///< units of 1e-7 degree, x from the middle of the points
};

/// Making one may throw std::bad_alloc.
class ShiftTriangles : public toolkit::HeapRecord {
 public:
  toolkit::HeapVector<Site> sites;
  OrvikDatum::ShiftMethod method = OrvikDatum::ShiftMethod::Linear;

  /// Rounds the coordinates of the sites; at least one.
  void place();
  /// Makes the triangles; at least three sites, no two at one place. False: all on one line.
  bool triangulate();

  const OrvikDatum::Extent &extent() const { return extent_; }
  bool shiftAt(double lon, double lat, OrvikDatum::Shift &shift) const;

 private:
  /// Into the arrays: of sites, triangles, buckets and what lies in them.
  using Index = uint32_t;
  /// A place in units.
  struct Place {
    double x, y;
  };
  /// With its corners' coordinates: a search looks at many triangles and at few sites.
  struct Triangle {
    Index corner[3];
    int32_t x[3], y[3];
  };
  /// Of a triangle's corners at a point; they sum up to 1.
  struct Weights {
    double of[3];
  };

  Place placeOf(double lon, double lat) const;
  Index bucketOf(double at, double from, double width) const {
    // NaN becomes the first
    return static_cast<Index>(std::fmin(std::fmax((at - from) / width, 0.0), side_ - 1.0));
  }
  struct Buckets {
    Index firstColumn, lastColumn, firstRow, lastRow;
  };
  Buckets bucketsOf(const Triangle &triangle) const;
  template <class Each>
  void eachBucket(const Triangle &triangle, Each each) const;
  void fillBuckets();
  void link();
  bool weightsAt(const Triangle &triangle, Place p, Weights &weights) const;
  bool find(Place p, const Triangle *&triangle, Weights &weights) const;
  Index nearest(Place p, Index start) const;

  toolkit::HeapVector<Triangle> triangles_;
  double middle_ = 0.0;  ///< degrees: the longitude that x counts from
  OrvikDatum::Extent extent_{};
  // Buckets over all sites: the triangles that may reach into each, in one array.
  Index side_ = 1;  ///< buckets a side
  Place origin_{}, bucket_{};
  toolkit::HeapVector<Index> bucketStart_, bucketed_;
  // The neighbours of each site along the triangles' edges, in one array.
  toolkit::HeapVector<Index> neighbourStart_, neighbours_;
};

}  // namespace orvik::oprj

#endif
