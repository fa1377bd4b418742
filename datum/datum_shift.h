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
/** Both datums of the grid type: bilinear interpolation in NADCON grids. */
OPRJ_API void oprj_DatumShiftGrid(const Oprj_Point *in, const Oprj_Datum *source, Oprj_Point *out,
                                  const Oprj_Datum *destination, int32_t count, Oerr_Report **err);
/** Multiple regression between the named datum and WGS 84: `direction` 1 forward, 0 inverse. */
OPRJ_API void oprj_DatumShiftRegression(const Oprj_Point *in, Oprj_Point *out, int32_t count,
                                        const char *datumName, int32_t direction,
                                        Oerr_Report **err);
/** Parametric and surface datums on either side. */
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

/** Opens a grid file found along "ORVIK_DATUMS_PATH"; free with oprj_DatumGridFileClose. */
OPRJ_API Oprj_GridData *oprj_DatumGridFileOpen(const char *name, Oerr_Report **err);
OPRJ_API void oprj_DatumGridFileClose(Oprj_GridData **grid);

/** A surface of one's own with the same shifts; freeing. */
OPRJ_API Oprj_ShiftSurface *oprj_ShiftSurfaceDuplicate(const Oprj_ShiftSurface *surface,
                                                       Oerr_Report **err);
OPRJ_API void oprj_ShiftSurfaceFree(Oprj_ShiftSurface **surface);

OPRJ_END_C

#endif
