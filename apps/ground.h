// Coordinates of one system taken for those of another: how far apart that is on the ground.
#ifndef OPRJ_APPS_GROUND_H
#define OPRJ_APPS_GROUND_H

#include "codes.h"
#include "system.h"

namespace program {

/// Metres between two places (radians) on a spheroid.
double distanceBetween(const Oprj_Spheroid &spheroid, const Oprj_Point &one,
                       const Oprj_Point &other);

/// A few degrees around the origin of a system; a whole zone for UTM, the world for maps of it.
Area usualArea(Oint_Toolkit *toolkit, const System &system);

/// The geographic place of coordinates: radians, NaN where there is none.
Oprj_Point placeOf(const Oprj_MapProjectionEx &handle, const System &system, Oprj_Point point);

class Ground {
 public:
  /// Builds both projections. Throws Stop.
  Ground(Oint_Toolkit *toolkit, const System &first, const System &second, const Console &console);
  /// Metres between a place (radians, on the first system's datum) and the one where its
  /// coordinates lie when they are read in the second system; NaN where that cannot be told.
  double apart(const Oprj_Point &place) const;

 private:
  const System &first_, &second_;
  OwnedHandle from_, to_;
  bool shifts_;
};

}  // namespace program

#endif
