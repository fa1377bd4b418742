/* Horizontal datum shifts (docs/datum-shifts.md). Points are longitude, latitude in radians, `in`
   and `out` separate arrays of `count`; oprj_DatumShift, oprj_DatumShiftNew and the parametric
   shift also work in place. Heights are not carried: every shift works at ellipsoidal height 0. */
#ifndef OPRJ_DATUM_SHIFT_H
#define OPRJ_DATUM_SHIFT_H

#include "parameters.h"

OPRJ_BEGIN_C

/** What one parametric shift needs, source minus destination where a difference is meant. */
typedef struct {
  double a, f;       /**< source spheroid: semi-major axis (m), flattening */
  double dX, dY, dZ; /**< metres */
  double rX, rY, rZ; /**< radians, coordinate frame */
  double scale;      /**< ratio (1 + source) / (1 + destination) */
  int32_t mode;      /**< 0 nothing but the spheroid, 1 translation, 2 rotation or scale too */
  double da, df;     /**< destination minus source */
  double eSquared;   /**< source spheroid */
} Oprj_ShiftParameters;

/** Shifts points from the source spheroid's datum to the destination's; routes through NAD 83 or
   WGS 84 where the datum types differ. Returns the report in the slot, or null. A surface source
   keeps its failure to itself: the slot stays null, the points become NaN and the message log
   tells. */
OPRJ_API Oerr_Report *oprj_DatumShift(const Oprj_Point *in, const Oprj_Spheroid *source,
                                      Oprj_Point *out, const Oprj_Spheroid *destination,
                                      int32_t count, Oerr_Report **err);
/** The same for routes with a surface datum on either side and no regression datum. */
OPRJ_API Oerr_Report *oprj_DatumShiftNew(const Oprj_Point *in, const Oprj_Spheroid *source,
                                         Oprj_Point *out, const Oprj_Spheroid *destination,
                                         int32_t count, Oerr_Report **err);

/** Both datums parametric: standard Molodensky formulas for a translation, the seven-parameter
   geocentric shift for rotations and scale, geocentric within 1 degree of the poles (blended
   from 88.95 to 89.05). */
OPRJ_API void oprj_DatumShiftParametric(const Oprj_Point *in, const Oprj_Spheroid *source,
                                        Oprj_Point *out, const Oprj_Spheroid *destination,
                                        int32_t count, Oerr_Report **err);
/** Both datums of the grid type, named "NAD27", "NAD83" or "HARN": bilinear interpolation in the
   multi-grid files that they name (docs/grids.md). "NAD83" names NAD27's file, "HARN" its own.
   Points outside of every sub-grid pass unshifted; oprj_ShiftTallyGet counts them. Works in place.
 */
OPRJ_API void oprj_DatumShiftGrid(const Oprj_Point *in, const Oprj_Datum *source, Oprj_Point *out,
                                  const Oprj_Datum *destination, int32_t count, Oerr_Report **err);
/** Multiple regression between the named datum and WGS 84: `direction` 1 forward, 0 inverse. */
OPRJ_API void oprj_DatumShiftRegression(const Oprj_Point *in, Oprj_Point *out, int32_t count,
                                        const Oprj_Char *datumName, int32_t direction,
                                        Oerr_Report **err);
/** Parametric and surface datums on either side: from a surface datum to its base by its surface,
   to the base's base where that is a surface datum too, and so on, up to a datum that stands above
   both ends or to one that has no base; over by the parametric or the grid shift; down likewise. In
    place too. 1 "Empty argument(s).", 2 "Wrong datum types." (of an end, or of a base; heights), 3
    "Cannot create space", 4 "Cannot get datum by name" (a base; more than 8 of them), 5 "Cannot do
    grid datum shift", 6 "Cannot do parametric shift", 7 "Cannot do surface shift", 8 "Cannot get
    spheroid by name". */
OPRJ_API void oprj_DatumShift4EllipsoidSurfaceDatum(const Oprj_Point *in,
                                                    const Oprj_Spheroid *source, Oprj_Point *out,
                                                    const Oprj_Spheroid *destination, int32_t count,
                                                    Oerr_Report **err);

/** Increments of the standard Molodensky formulas for one point; null outputs are skipped.
    [TR8350.2] 7.2.1. */
OPRJ_API void oprj_Molod(const Oprj_ShiftParameters *params, double lon, double lat, double h,
                         double *dLon, double *dLat, double *dH);
/** Geodetic to geocentric; null outputs are skipped. */
OPRJ_API void oprj_Geog2Geoc(double a, double eSquared, double lon, double lat, double h, double *x,
                             double *y, double *z);
/** The seven-parameter step by the block's mode; "Invalid transformation mode" for any other, and
    "Invalid datum parameters" for shifts, rotations or a scale that are no finite numbers. */
OPRJ_API void oprj_Geoc2Geoc(const Oprj_ShiftParameters *params, double x, double y, double z,
                             double *xOut, double *yOut, double *zOut, Oerr_Report **err);
/** Geocentric to geodetic by Bowring's closed form, one pass; `reserved` is not used. Null outputs
   are skipped. */
OPRJ_API void oprj_Geoc2Geog(double a, double eSquared, double reserved, double x, double y,
                             double z, double *lon, double *lat, double *h);

/** What the datum shifts of this thread, and of those that helped it in oprj_ProjectEach, could do
   no better since the thread began; take the difference of two calls. A point counts once for each
   shift on its way. */
typedef struct {
  int64_t unshifted;   /**< lay outside of every sub-grid and passed as they were */
  int64_t unconverged; /**< got the inverse grid shift's tenth estimate, which still moved */
  int64_t outsideArea; /**< lay outside of the area of a regression's equations, and were shifted */
} Oprj_ShiftTally;
OPRJ_API void oprj_ShiftTallyGet(Oprj_ShiftTally *tally);

/** The cell that a sub-grid was last asked for: column and row (-1, -1: none yet) and its bilinear
   coefficients 1, u, v, uv of the shift in longitude and in latitude. */
typedef struct {
  int32_t column, row;
  double a[4], b[4];
} Oprj_GridCell;

/** A sub-grid of an opened grid file. Bounds in degrees, scales in nodes per degree. */
typedef struct Oprj_GridInfo {
  struct Oprj_GridInfo *next;
  Oprj_Char *name;
  double south, west, north, east;
  double lonScale, latScale;
  int32_t rows, columns;
  int32_t dataPosition; /**< of the first node in the file, counted from 1 */
  Oprj_GridCell *cell;
} Oprj_GridInfo;

/** The sub-grids of a file in their order, as a chain; free it with oprj_GridHeaderFree. It belongs
   to its file. 1 "File not opened yet", 2 and 3 "Cannot find the data" (their number, their
   records), 4 "Error returned from oprj_GridInfoCreate". */
OPRJ_API Oprj_GridInfo *oprj_GridHeaderRead(const Oprj_GridData *file, Oerr_Report **err);
OPRJ_API void oprj_GridHeaderFree(Oprj_GridInfo **chain);
/** A sub-grid without bounds and nodes, its scales 1. 1 "Error allocating Oprj_GridInfo". */
OPRJ_API Oprj_GridInfo *oprj_GridInfoCreate(Oerr_Report **err);
/** Frees one record with its name and cell, not those behind it. */
OPRJ_API void oprj_GridInfoFree(Oprj_GridInfo **info);
/** The union of the bounds of a chain, degrees; null outputs are skipped. 0 with a report for no
   chain. */
OPRJ_API int32_t oprj_GetDatumGridExtent(const Oprj_GridInfo *chain, double *west, double *south,
                                         double *east, double *north, Oerr_Report **err);

/** Shift at a point (degrees) in arc-seconds, east and north: that of the first sub-grid that
   contains the point, bounds included; 0 outside of all. Keeps the cell in the chain, so one chain
   must not be used by two threads at once. 0 with a report: 1 "No proper input grids", 2 "Cannot
   find the data" (nodes that the file does not hold). */
OPRJ_API int32_t oprj_GetShifts(Oprj_GridInfo *chain, const Oprj_GridData *file, double lon,
                                double lat, double *dLon, double *dLat, Oerr_Report **err);
/** Moves points (longitude, latitude in radians) by a file's shifts, or against them by iteration;
   in place too. Without `out` the result is a new array (oprj_PointsFree). Null with a report: 1
   "No proper input point", 2 "Error return from oprj_PointsCreate", 3 "No proper input grids", 4
   "Error reported by oprj_GetShifts", which stops at the point, 5 "Out of memory". */
OPRJ_API Oprj_Point *oprj_ShiftForward(const Oprj_GridInfo *chain, const Oprj_GridData *file,
                                       const Oprj_Point *in, Oprj_Point *out, int32_t count,
                                       Oerr_Report **err);
OPRJ_API Oprj_Point *oprj_ShiftInverse(const Oprj_GridInfo *chain, const Oprj_GridData *file,
                                       const Oprj_Point *in, Oprj_Point *out, int32_t count,
                                       Oerr_Report **err);
/** How the grid shift gets from one datum to the other: 0 "NAD27" to "NAD83", 1 back, 2 "NAD83" to
   "HARN", 3 back, 4 "NAD27" to "HARN", 5 back; 6 with the report 1 "Invalid datum shift" for any
   other names. */
OPRJ_API int32_t oprj_GetDatumShiftDirection(const Oprj_Char *source, const Oprj_Char *destination,
                                             Oerr_Report **err);

/** Opens a grid file found along "ORVIK_DATUMS_PATH"; free with oprj_DatumGridFileClose. 1 "Error
   returned from ofio_CreateSLFromEnv", 2 "Error returned from ofio_Which", 3 "NAME:  File not
   found", 4 "Cannot open the grid file". */
OPRJ_API Oprj_GridData *oprj_DatumGridFileOpen(const Oprj_Char *name, Oerr_Report **err);
OPRJ_API void oprj_DatumGridFileClose(Oprj_GridData **grid);

/** A record of one's own of the same surface, which both share: 1 "Invalid input
   Oprj_ShiftSurface", 2 "Out of memory". */
OPRJ_API Oprj_ShiftSurface *oprj_ShiftSurfaceDuplicate(const Oprj_ShiftSurface *surface,
                                                       Oerr_Report **err);
/** Frees a record, and with the last one its surface, and nulls the pointer. */
OPRJ_API void oprj_ShiftSurfaceFree(Oprj_ShiftSurface **surface);
/** The surface of a system's datum as the tables have it, found by the names of spheroid and datum,
    else by the datum's under the spheroid that it stands with: a record of one's own. 1 "Invalid
    input Oprj_ProParameters", 2 "Error returned from oprj_DatumByName", 3 "Wrong datum types." (not
    a surface datum). */
OPRJ_API Oprj_ShiftSurface *oprj_ShiftSurfaceGetByProParams(const Oprj_ProParameters *record,
                                                            Oerr_Report **err);

OPRJ_END_C

#endif
