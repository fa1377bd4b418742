// Predefined objects: from the library's own tables (units, projections, methods, parameters) and
// from PROJ's database.
#ifndef OPRJ_ENGINE_PREDEFINED_H
#define OPRJ_ENGINE_PREDEFINED_H

#include "engine/object.h"

namespace orvik::engine {

/// Fetches what a predefined object holds; false with a report when that fails.
bool complete(const Object &object, Oerr_Report **err);

}  // namespace orvik::engine

#endif
