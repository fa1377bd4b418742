// The legs of a datum shift: what each does, with which grid or surface, and how far it moves a
// place.
#ifndef OPRJ_APPS_LEGS_H
#define OPRJ_APPS_LEGS_H

#include <oprj/datum_model.h>

#include <optional>

#include "system.h"

namespace program {

using SurfacePtr = OrvikDatum::SurfaceDatum::Ptr;

/// The surface datum of that name; null when there is none.
SurfacePtr surfaceDatum(const std::string &name);

/// What is published of the accuracy of the parameters of two datums.
std::string parametersAccuracy(const std::string &from, const std::string &to);

/// Prints a line or two for each leg between two defined datums of different names. `place`:
/// longitude and latitude on the first datum, radians.
void printLegs(Oint_Toolkit *toolkit, const Oprj_Spheroid &from, const Oprj_Spheroid &to,
               std::optional<Oprj_Point> place, const Console &console);

}  // namespace program

#endif
