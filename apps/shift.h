// Two systems together: their pair, whether points can be shifted between them, cautions.
#ifndef OPRJ_APPS_SHIFT_H
#define OPRJ_APPS_SHIFT_H

#include "system.h"

namespace program {

bool undefinedDatum(const System &system);
bool sameDatum(const System &from, const System &to);
/// Whether there is anything to shift: two datums, both defined.
bool shiftsBetween(const System &from, const System &to);

/// The pair of two systems, of the Projection Engine's handles where one of them has no projection
/// number. Throws Stop with kUnusable, telling the values that a projection cannot have.
OwnedPair makePair(Oint_Toolkit *toolkit, const System &from, const System &to,
                   const Console &console);

/// What a careful user should know of two systems and the shift between them.
std::vector<std::string> cautionsOf(Oint_Toolkit *toolkit, const Oprj_ProjectionPair &pair);
/// The same of one system.
std::vector<std::string> cautionsOf(Oint_Toolkit *toolkit, const System &system);

/// Throws Stop with kUnusable when no point can be shifted between the two: a grid that is missing,
/// a shift that does not work at all. Points outside of a shift's area are another matter.
void requireShift(const System &from, const System &to);
/// The same for what a pair of the Projection Engine's handles does, which knows no shifts.
void requireShift(const Oprj_ProjectionPair &pair, const System &from, const System &to);

}  // namespace program

#endif
