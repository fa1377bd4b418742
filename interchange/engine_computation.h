// How systems of the Projection Engine compute points, for the function set "PE" and the engine's
// own functions.
#ifndef OPRJ_INTERCHANGE_ENGINE_COMPUTATION_H
#define OPRJ_INTERCHANGE_ENGINE_COMPUTATION_H

#include <oprj/values.h>

#include "engine/object.h"

namespace orvik::oprj {

/// What coordinates mean: the system's units and meridian, or metres, radians and Greenwich.
enum class Frame { kSystem, kCommon };

/// Computes points of a PROJCS or GEOGCS (which only moves the meridian) and returns how many:
/// fewer than `count` with a report, at the first that cannot be computed. `in` and `out` may be
/// the same. What the system derives from is made once and kept with the object.
int32_t computePoints(const engine::Object &system, bool forward, Frame frame, const Oprj_Point *in,
                      Oprj_Point *out, int32_t count, toolkit::ErrorScope &e);

/// One point in the common frame as computePoints computes it, on a shorter way. False, and nothing
/// is written, where that has to tell: arguments that are none, a system that nothing was derived
/// from yet, a point that is unusual.
bool computePoint(bool forward, const void *system, const Oprj_Point *in, Oprj_Point *out);

}  // namespace orvik::oprj

#endif
