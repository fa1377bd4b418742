// What part of the globe a map of a coordinate system shows.
#ifndef OPRJ_APPS_DRAW_DOMAIN_H
#define OPRJ_APPS_DRAW_DOMAIN_H

#include "draw_patch.h"

namespace program::draw {

/// The patches of the system's map, as far as the projection goes. Throws Stop.
std::vector<Patch> domainOf(Oint_Toolkit *toolkit, const Oprj_ProParameters &record,
                            const Sheet &sheet);

}  // namespace program::draw

#endif
