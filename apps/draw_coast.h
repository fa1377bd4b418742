// The coastlines that maps are drawn with.
#ifndef OPRJ_APPS_DRAW_COAST_H
#define OPRJ_APPS_DRAW_COAST_H

#include <string>

#include "draw_clip.h"

namespace program::draw {

/// Longitude and latitude in radians; longitudes run on across the antimeridian.
struct Coast {
  std::vector<Line>
      rings;  ///< first point repeated, a turn on around a pole; land or lake on the right
  std::vector<Line> lines;  ///< what closes no ring
};

/// Reads a file of polylines (its own header tells the format). Rings that the file cuts at the
/// antimeridian are joined again. Throws Stop.
Coast readCoast(const std::string &path);

}  // namespace program::draw

#endif
