/* The pipeline: arrays of points from one coordinate system to another, always through longitude
   and latitude: inverse of the input system, datum shift, forward of the output system. Points are
   pairs of doubles, geographic ones in radians, projected ones in metres unless a unit is named. A
   negative count sizes arrays as 0; nothing grows with the count but the output array. The output
   may be the input array itself, of which operations with two legs or units then keep a copy for
   the call; arrays must not overlap otherwise. */
#ifndef OPRJ_PROJECT_H
#define OPRJ_PROJECT_H

#include "projection.h"

OPRJ_BEGIN_C

/** Projects `count` points into `out` (null: a new array, oprj_PointsFree) and returns it; null
   with a report on failure, with the points before the failing stage's failing point written. */
OPRJ_API Oprj_Point *oprj_Project(const Oprj_Point *in, const Oprj_MapProjectionEx *inHandle,
                                  Oprj_Point *out, const Oprj_MapProjectionEx *outHandle,
                                  int32_t count, Oerr_Report **err);
OPRJ_API Oprj_Point *oprj_ProjectPair(const Oprj_ProjectionPair *pair, const Oprj_Point *in,
                                      Oprj_Point *out, int32_t count, Oerr_Report **err);

/** The same with the units of the points by name; null: metres, or radians for a geographic system.
   The input array is not changed, unless it is the output too. */
OPRJ_API Oprj_Point *oprj_ProjectWithUnits(const Oprj_Point *in,
                                           const Oprj_MapProjectionEx *inHandle, const char *inUnit,
                                           Oprj_Point *out, const Oprj_MapProjectionEx *outHandle,
                                           const char *outUnit, int32_t count, Oerr_Report **err);
OPRJ_API Oprj_Point *oprj_ProjectPairWithUnits(const Oprj_ProjectionPair *pair,
                                               const Oprj_Point *in, const char *inUnit,
                                               Oprj_Point *out, const char *outUnit, int32_t count,
                                               Oerr_Report **err);

/* One leg: inverse only, forward only. */
OPRJ_API Oprj_Point *oprj_ProjectToLatLon(const Oprj_Point *in, const Oprj_MapProjectionEx *handle,
                                          Oprj_Point *out, int32_t count, Oerr_Report **err);
OPRJ_API Oprj_Point *oprj_ProjectFromLatLon(const Oprj_Point *in,
                                            const Oprj_MapProjectionEx *handle, Oprj_Point *out,
                                            int32_t count, Oerr_Report **err);
OPRJ_API Oprj_Point *oprj_ProjectToLatLonWithUnits(const Oprj_Point *in, const char *inUnit,
                                                   const Oprj_MapProjectionEx *handle,
                                                   Oprj_Point *out, const char *outUnit,
                                                   int32_t count, Oerr_Report **err);
OPRJ_API Oprj_Point *oprj_ProjectFromLatLonWithUnits(const Oprj_Point *in, const char *inUnit,
                                                     const Oprj_MapProjectionEx *handle,
                                                     Oprj_Point *out, const char *outUnit,
                                                     int32_t count, Oerr_Report **err);

/** Converts both coordinates of `count` points in place; 1, or 0 with a report and the points
 * unchanged. */
OPRJ_API int32_t oprj_PointsConvertByUnitName(Oprj_Point *points, int32_t count, const char *inUnit,
                                              const char *outUnit, Oerr_Report **err);

/* Sizes in degrees to metres and back on the record's sphere of equal area, or on the nominal
   sphere when there is no record or spheroid. */
OPRJ_API double oprj_ConvertLonSizeToMeters(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                            double lonSize, double latitude, Oerr_Report **err);
OPRJ_API double oprj_ConvertLatSizeToMeters(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                            double latSize, Oerr_Report **err);
OPRJ_API double oprj_ConvertMetersToLonSize(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                            double metres, double latitude, Oerr_Report **err);
OPRJ_API double oprj_ConvertMetersToLatSize(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                            double metres, Oerr_Report **err);

/** 1 when points of one record's system may be projected to the other's; a spheroid difference
   beside an undefined datum is printed as a warning. */
OPRJ_API int32_t oprj_ProjectionsOKToProject(const Oprj_ProParameters *first,
                                             const Oprj_ProParameters *second, Oerr_Report **err);

OPRJ_END_C

#endif
