// Two systems together: their pair, whether points can be shifted between them, cautions.
#ifndef OPRJ_APPS_SHIFT_H
#define OPRJ_APPS_SHIFT_H

#include "system.h"

namespace program {

bool undefinedDatum(const System &system);
bool sameDatum(const System &from, const System &to);
/// Whether there is anything to shift: two datums, both defined.
bool shiftsBetween(const System &from, const System &to);

/// The pairs that points go through, one after another. Where one system is the library's and the
/// other the Projection Engine's, or both are the engine's on different datums, these are by way of
/// longitudes and latitudes; the library's shift stands between them. Throws Stop with kUnusable,
/// telling the values that a projection cannot have.
std::vector<OwnedPair> makePairs(Oint_Toolkit *toolkit, const System &from, const System &to,
                                 const Console &console);

/// What a careful user should know of the systems of pairs and the shifts between them.
std::vector<std::string> cautionsOf(Oint_Toolkit *toolkit, const std::vector<OwnedPair> &pairs);
/// The same of one system.
std::vector<std::string> cautionsOf(Oint_Toolkit *toolkit, const System &system);

/// Throws Stop with kUnusable when no point can be shifted between the two: a grid that is missing,
/// a shift that does not work at all. Points outside of a shift's area are another matter.
void requireShift(const System &from, const System &to);

}  // namespace program

#endif
