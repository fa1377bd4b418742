/* The pipeline: arrays of points from one coordinate system to another, always through longitude
   and latitude: inverse of the input system, datum shift, forward of the output system. Points are
   pairs of doubles, geographic ones in radians, projected ones in metres unless a unit is named. A
   negative count sizes arrays as 0; nothing grows with the count but the output array. The output
   may be the input array itself, of which operations with two legs or units then keep a copy for
   the call; arrays must not overlap otherwise. */
#ifndef OPRJ_PROJECT_H
#define OPRJ_PROJECT_H

#include "point_reason.h"
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
                                           const Oprj_MapProjectionEx *inHandle,
                                           const Oprj_Char *inUnit, Oprj_Point *out,
                                           const Oprj_MapProjectionEx *outHandle,
                                           const Oprj_Char *outUnit, int32_t count,
                                           Oerr_Report **err);
OPRJ_API Oprj_Point *oprj_ProjectPairWithUnits(const Oprj_ProjectionPair *pair,
                                               const Oprj_Point *in, const Oprj_Char *inUnit,
                                               Oprj_Point *out, const Oprj_Char *outUnit,
                                               int32_t count, Oerr_Report **err);

/** How oprj_ProjectEach is to work. Start from OPRJ_PROJECT_OPTIONS, which says nothing special. */
typedef struct {
  size_t size; /**< sizeof(Oprj_ProjectOptions): later versions add members at the end */
  const Oprj_Char *inUnit; /**< units by name, null: metres, or radians for a geographic system */
  const Oprj_Char *outUnit;
  int64_t inStride; /**< bytes from one point to the next, 0: sizeof(Oprj_Point) */
  int64_t outStride;
  int32_t threads; /**< share the work among so many, 0 and 1: this thread alone */
  double verify;   /**< metres; above 0: see oprj_ProjectEach */
  /** Not 0: points that no grid of the shift covers, or that lie outside of a regression's area,
      keep the result that oprj_ProjectPair gives them and count as good; their reason tells. */
  int32_t keepUncovered;
  /** Not 0: latitudes beyond a pole, and infinite coordinates, of geographic systems of the library
      are no places: OPRJ_POINT_OUTSIDE_DOMAIN, as points and as results. Formulas take most of them,
      as when longitude and latitude were exchanged. */
  int32_t placesOnly;
} Oprj_ProjectOptions;
#define OPRJ_PROJECT_OPTIONS \
  { sizeof(Oprj_ProjectOptions), 0, 0, 0, 0, 0, 0.0, 0, 0 }

/** Projects every point that can be projected and goes on after those that cannot: they become NaN,
    and `reasons` (null: not wanted; else one a point) tells why (point_reason.h). All others, their
    reason OPRJ_POINT_GOOD, are those of oprj_ProjectPair bit for bit, whatever the number of
    threads. `out` may be `in`, with the same stride, and must not overlap it otherwise. `options`
    may be null.

    With `verify` each leg's points are also projected back, and those that return farther away than
    so many metres on the ground are bad, OPRJ_POINT_INACCURATE: a Transverse Mercator far from its
    meridian, a series on a very flat spheroid, the overlap of an oblique Mercator. A point given on
    the sheet must return to its place there, one that leaves on the sheet must lead back to the
    globe. The datum shift has no part in this, because its formulas are not exactly undone by those
    of the way back.

    Returns how many points are good. A report tells of what concerns the whole call, as systems
   that cannot be combined, an unknown unit, a missing grid: 1 pair, 2 and 3 arrays, 4 options, 5
   and 7 units, 6 what oprj_Project reports. The result is then 0; points that were not reached hold
   what they held. */
OPRJ_API int64_t oprj_ProjectEach(const Oprj_ProjectionPair *pair, const Oprj_Point *in,
                                  Oprj_Point *out, Oprj_PointReason *reasons,
                                  const Oprj_ProjectOptions *options, int64_t count,
                                  Oerr_Report **err);

/* One leg: inverse only, forward only. */
OPRJ_API Oprj_Point *oprj_ProjectToLatLon(const Oprj_Point *in, const Oprj_MapProjectionEx *handle,
                                          Oprj_Point *out, int32_t count, Oerr_Report **err);
OPRJ_API Oprj_Point *oprj_ProjectFromLatLon(const Oprj_Point *in,
                                            const Oprj_MapProjectionEx *handle, Oprj_Point *out,
                                            int32_t count, Oerr_Report **err);
OPRJ_API Oprj_Point *oprj_ProjectToLatLonWithUnits(const Oprj_Point *in, const Oprj_Char *inUnit,
                                                   const Oprj_MapProjectionEx *handle,
                                                   Oprj_Point *out, const Oprj_Char *outUnit,
                                                   int32_t count, Oerr_Report **err);
OPRJ_API Oprj_Point *oprj_ProjectFromLatLonWithUnits(const Oprj_Point *in, const Oprj_Char *inUnit,
                                                     const Oprj_MapProjectionEx *handle,
                                                     Oprj_Point *out, const Oprj_Char *outUnit,
                                                     int32_t count, Oerr_Report **err);

/** Converts both coordinates of `count` points in place; 1, or 0 with a report and the points
 * unchanged. */
OPRJ_API int32_t oprj_PointsConvertByUnitName(Oprj_Point *points, int32_t count,
                                              const Oprj_Char *inUnit, const Oprj_Char *outUnit,
                                              Oerr_Report **err);

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
