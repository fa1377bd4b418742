// Whether points can be shifted between the datums of two systems.
#ifndef OPRJ_APPS_SHIFT_H
#define OPRJ_APPS_SHIFT_H

#include "system.h"

namespace program {

bool undefinedDatum(const System &system);
bool sameDatum(const System &from, const System &to);
/// Whether there is anything to shift: two datums, both defined.
bool shiftsBetween(const System &from, const System &to);

/// Throws Stop with kUnusable when no point can be shifted between the two: a grid that is missing,
/// a shift that does not work at all. Points outside of a shift's area are another matter.
void requireShift(const System &from, const System &to);

}  // namespace program

#endif
