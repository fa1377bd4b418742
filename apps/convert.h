// Coordinate systems in other forms than they were written in.
#ifndef OPRJ_APPS_CONVERT_H
#define OPRJ_APPS_CONVERT_H

#include "system.h"

namespace program {

/// The system as a text of the Projection Engine: as it was written when it was one. Throws Stop
/// with kUnusable for what has no such text.
std::string engineTextOf(Oint_Toolkit *toolkit, const System &system);
/// The system as `NAME; key=value; ...`.
std::string descriptionOf(Oint_Toolkit *toolkit, const System &system);

}  // namespace program

#endif
