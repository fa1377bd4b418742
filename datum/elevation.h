/* Elevations between vertical datums, units and directions. */
#ifndef OPRJ_ELEVATION_H
#define OPRJ_ELEVATION_H

#include "elevation_info.h"

OPRJ_BEGIN_C

/** Converts `count` elevations at places `lonLat` (longitude, latitude in radians, on the base
   datum of `from`) into `out`, which may be `in`, or into a new array (omsc_HeapFree) when it is
   null. A vertical datum is a parametric one (heights above its spheroid) or a surface datum whose
   surface holds metres above its base, which again may be a vertical one. Between spheroids heights
   change by oprj_Molod's dH, or geocentrically where datums are turned or scaled. With a datum
   "Undefined" (or missing) on one side unit and direction alone are converted, and the message log
   tells so. OPRJ_ELEVATION_TYPE_UNKNOWN changes no sign. An elevation becomes NaN where a surface
   has no value; such points are counted as `unshifted` (oprj_ShiftTallyGet).

    Null with a report: 1 "Empty argument(s).", 2 "Wrong datum types." (no vertical datum; a base of
    another type than said), 3 "Cannot create space", 4 "Cannot get datum by name", 5 "Error
   returned from ocvt_UnitSetByName for from", 6 "... for to", 7 "Cannot do parametric shift", 8
   "Cannot get spheroid by name". */
OPRJ_API double *oprj_ElevationConvert(const Oprj_Point *lonLat, const double *in,
                                       const Oprj_ElevationInfo *from, double *out,
                                       const Oprj_ElevationInfo *to, int32_t count,
                                       Oerr_Report **err);

OPRJ_END_C

#endif
