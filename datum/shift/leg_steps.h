// Legs that follow each other.
#ifndef OPRJ_DATUM_LEG_STEPS_H
#define OPRJ_DATUM_LEG_STEPS_H

#include <span>

#include "datum/shift/leg.h"
#include "toolkit/error_scope.h"

namespace orvik::oprj {

/// A leg and what is reported when it fails.
struct LegStep {
  SharedLeg leg;
  int32_t code = 0;
  const char *message = "";
};

/// Runs one leg or more, tile by tile, so that points between two of them stay in cache. `in` and
/// `out` may be the same array.
bool runSteps(std::span<const LegStep> steps, const Oprj_Point *in, Oprj_Point *out, int32_t count,
              Oprj_PointReason *reasons, toolkit::ErrorScope &e);

}  // namespace orvik::oprj

#endif
