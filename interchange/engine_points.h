/* Points through systems of the Projection Engine (engine.h). */
#ifndef OPRJ_ENGINE_POINTS_H
#define OPRJ_ENGINE_POINTS_H

#include "engine.h"
#include "values.h"

OPRJ_BEGIN_C

/** Projects `count` points in place: longitude and latitude in the units of the system's geographic
    part and from its prime meridian, easting and northing in the system's unit. Returns how many
   were done: the first that cannot be computed ends the call and stays as it was. NaN becomes a
   pair of NaN. Reports (oawp_PE_ReportTake): 1 "Args", 2 the system cannot be computed (kind
    OAWP_PE_NO_FORMULA: there is no formula for its projection), 20 the point. */
OPRJ_API int32_t oawp_PE_pe_geog_to_proj(const Oawp_PE_PROJCS *system, int32_t count,
                                         Oprj_Point *points);
/** The other way. */
OPRJ_API int32_t oawp_PE_pe_proj_to_geog(const Oawp_PE_PROJCS *system, int32_t count,
                                         Oprj_Point *points);

OPRJ_END_C

#endif
