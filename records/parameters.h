/* The three records that describe a coordinate system: the projection parameters, the spheroid and
   the datum that the spheroid owns. */
#ifndef OPRJ_PARAMETERS_H
#define OPRJ_PARAMETERS_H

#include "oint.h"
#include "values.h"

OPRJ_BEGIN_C

/** proType of Oprj_ProParameters. */
enum { OPRJ_INTERNAL = 0, OPRJ_EXTERNAL = 1 };

/** type of Oprj_Datum. */
enum {
  OPRJ_DATUM_PARAMETRIC = 0,
  OPRJ_DATUM_GRID = 1,
  OPRJ_DATUM_REGRESSION = 2,
  OPRJ_DATUM_NONE = 3,
  OPRJ_DATUM_SURFACE = 4
};

typedef struct Oprj_GridData Oprj_GridData;         /**< an opened grid file */
typedef struct Oprj_ShiftSurface Oprj_ShiftSurface; /**< the shifts of a surface datum */

typedef struct {
  Oprj_CharStr datumname;
  int32_t type;
  /** A parametric datum's shift to WGS 84: dX, dY, dZ (metres), rX, rY, rZ (radians, coordinate
     frame), scale difference (pure number). */
  Oprj_DblArray params;
  Oprj_CharStr gridname;           /**< grid file of a grid datum */
  Oprj_GridData *gridData;         /**< owned; null until opened */
  Oprj_ShiftSurface *shiftSurface; /**< owned */
  void *reserved;                  /**< owned; released with the datum */
} Oprj_Datum;

typedef struct {
  Oprj_CharStr sphereName;
  double a;        /**< semi-major axis, metres */
  double b;        /**< semi-minor axis, metres */
  double eSquared; /**< eccentricity squared */
  double radius;   /**< radius of the sphere of equal area, metres */
  Oprj_Datum *datum;
} Oprj_Spheroid;

typedef struct {
  int32_t proType;
  int32_t proNumber;
  Oprj_CharStr proExeName;
  Oprj_CharStr proName;
  int32_t proZone; /**< UTM zone, State Plane zone, or negated FIPS zone number */
  Oprj_DblArray proParams;
  Oprj_Spheroid *proSpheroid;
} Oprj_ProParameters;

/* --- creation, copy, release --- */

/** A new record: zeros, and a spheroid of oprj_SpheroidCreate; 1 "Error allocating ProParameters",
   2 "Error returned from oprj_SpheroidCreate". */
OPRJ_API Oprj_ProParameters *oprj_ProParametersCreate(Oerr_Report **err);
/** Deep copy into `target` (unchanged on failure), or into a new record when it is null: 1 "Invalid
   input Oprj_ProParameters", 2 "Error allocating ProParameters", 3 to 6 callees. */
OPRJ_API Oprj_ProParameters *oprj_ProParametersCopy(const Oprj_ProParameters *source,
                                                    Oprj_ProParameters *target, Oerr_Report **err);
/** Frees a record with all it owns and nulls the pointer. */
OPRJ_API void oprj_ProParametersFree(Oprj_ProParameters **record);
/** Writes the record to standard output; 1 "Invalid input Oprj_ProParameters". */
OPRJ_API void oprj_ProParametersPrint(const Oprj_ProParameters *record, Oerr_Report **err);

/** A new spheroid: zeros, and a datum of oprj_DatumInit; 1 "Error allocating Spheroid", 2 "Error
   returned from oprj_DatumInit". */
OPRJ_API Oprj_Spheroid *oprj_SpheroidCreate(Oerr_Report **err);
/** Copies name, numbers and datum (never opened grid data) into `target` or a new record: 1
   "Invalid input Oprj_Spheroid", 2 "Error returned from oprj_SpheroidCreate", 3 to 7 callees. */
OPRJ_API Oprj_Spheroid *oprj_SpheroidCopy(const Oprj_Spheroid *source, Oprj_Spheroid *target,
                                          Oerr_Report **err);
/** Frees a spheroid with its datum and nulls the pointer. */
OPRJ_API void oprj_SpheroidFree(Oprj_Spheroid **spheroid);

/** Allocates *datum when it is null, else empties it; then names it "Undefined" with type 3. 1
   "Invalid output Oprj_Datum", 2 "Error allocating Datum", 3 "Error returned from
   oprj_CharStrCreate". */
OPRJ_API Oprj_Datum *oprj_DatumInit(Oprj_Datum **datum, Oerr_Report **err);
/** Frees a datum with what it opened and nulls the pointer. */
OPRJ_API void oprj_DatumFree(Oprj_Datum **datum);

/** The number of an internal projection in the older numbering: 0 to 20 only, else 0 with 1
   "Invalid projection number". */
OPRJ_API int32_t oprj_Proj7xNumber(int32_t number, Oerr_Report **err);

/* --- equality --- */

/** Axes and radius within 1e-5 m, e² within 1e-9, then the datums by name and parameters. `flag` 0
   makes an "Undefined" datum on one side only unequal; otherwise "Undefined" equals any datum. Two
   nulls are equal, one is 0 with 1 "One of the input spheroid's is NULL". */
OPRJ_API int32_t oprj_SpheroidsEqual2(const Oprj_Spheroid *first, const Oprj_Spheroid *second,
                                      int32_t flag, Oerr_Report **err);
/** oprj_SpheroidsEqual2 with flag 1. */
OPRJ_API int32_t oprj_SpheroidsEqual(const Oprj_Spheroid *first, const Oprj_Spheroid *second,
                                     Oerr_Report **err);

OPRJ_END_C

#endif
