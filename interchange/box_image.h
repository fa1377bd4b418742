// The bounds of what becomes of a box in another coordinate system.
#ifndef OPRJ_INTERCHANGE_BOX_IMAGE_H
#define OPRJ_INTERCHANGE_BOX_IMAGE_H

#include <oprj/location.h>
#include <oprj/project.h>

#include <vector>

#include "toolkit/error_scope.h"

namespace orvik::oprj {

/// A box in the unit of its system; xMin <= xMax, also across 180 degrees.
struct Box {
  double xMin, yMin, xMax, yMax;
};

/// How points get from one system to another.
struct BoxWay {
  const Oprj_ProjectionPair *there, *back;
  const char *fromUnit, *toUnit;
  double fromTurn, toTurn;  ///< a full turn in the unit of a geographic system, else 0
};

/// The bounds of the image of `from`. A geographic one's may lie anywhere on the number line and is
/// at most a turn wide. False after report 3 or 4 of BoundingBox::Reproject. May throw
/// std::bad_alloc.
bool imageOf(const Box &from, const BoxWay &way, Box &to, bool &partial, toolkit::ErrorScope &e);

}  // namespace orvik::oprj

#endif
