/* The three records that describe a coordinate system: the projection parameters, the spheroid and
   the datum that the spheroid owns. Lookups take the toolkit's record first and load the reference
   tables when that has not happened: 1 "Toolkit has not been initialized", 2 "Error returned from
   oprj_Init". */
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

/** A new record: zeros, and a spheroid of oprj_SpheroidCreate. */
OPRJ_API Oprj_ProParameters *oprj_ProParametersCreate(Oerr_Report **err);
/** Deep copy into `target`, or into a new record when it is null. */
OPRJ_API Oprj_ProParameters *oprj_ProParametersCopy(const Oprj_ProParameters *source,
                                                    Oprj_ProParameters *target, Oerr_Report **err);
OPRJ_API void oprj_ProParametersFree(Oprj_ProParameters **record);
/** Writes the record to standard output. */
OPRJ_API void oprj_ProParametersPrint(const Oprj_ProParameters *record, Oerr_Report **err);

OPRJ_API Oprj_Spheroid *oprj_SpheroidCreate(Oerr_Report **err);
/** Copies name, numbers and datum (never opened grid data) into `target` or a new record. */
OPRJ_API Oprj_Spheroid *oprj_SpheroidCopy(const Oprj_Spheroid *source, Oprj_Spheroid *target,
                                          Oerr_Report **err);
OPRJ_API void oprj_SpheroidFree(Oprj_Spheroid **spheroid);

/** Allocates *datum when it is null, else empties it; then names it "Undefined" with type 3. */
OPRJ_API Oprj_Datum *oprj_DatumInit(Oprj_Datum **datum, Oerr_Report **err);
OPRJ_API void oprj_DatumFree(Oprj_Datum **datum);

/* --- spheroid and datum lookups --- */

OPRJ_API Oprj_Spheroid *oprj_SpheroidByName(Oint_Toolkit *toolkit, const char *name,
                                            Oprj_Spheroid *target, Oerr_Report **err);
OPRJ_API Oprj_Spheroid *oprj_SpheroidByNum(Oint_Toolkit *toolkit, int32_t number,
                                           Oprj_Spheroid *target, Oerr_Report **err);
/** Stores the axes (metres, finite and above 0) with e² and the authalic radius; name and datum
 * stay. */
OPRJ_API Oprj_Spheroid *oprj_SpheroidByAxes(Oint_Toolkit *toolkit, double a, double b,
                                            Oprj_Spheroid *target, Oerr_Report **err);
/** From a 15-element parameter array: element 0 a spheroid number, or negative with axes in 13
 * and 14. */
OPRJ_API Oprj_Spheroid *oprj_SpheroidByParms(Oint_Toolkit *toolkit, const Oprj_DblArray *params,
                                             Oprj_Spheroid *target, Oerr_Report **err);
OPRJ_API int32_t oprj_SpheroidNumberByName(Oint_Toolkit *toolkit, const char *name,
                                           Oerr_Report **err);
/** Asks on standard output, reads names from standard input. */
OPRJ_API Oprj_Spheroid *oprj_SpheroidSelect(Oint_Toolkit *toolkit, Oprj_Spheroid *target,
                                            Oerr_Report **err);
/** Fills `target` (reset first) with a datum of the spheroid's table entry; an empty name or
   "Undefined" leaves it undefined. A grid datum's file is opened. */
OPRJ_API Oprj_Datum *oprj_DatumByName(Oint_Toolkit *toolkit, const char *spheroidName,
                                      const char *datumName, Oprj_Datum *target, Oerr_Report **err);
/** New text: the first table entry whose axes differ by less than 1e-5 m (or `tolerance`). */
OPRJ_API char *oprj_GetSpheroidNameByAxes(Oint_Toolkit *toolkit, double a, double b,
                                          Oerr_Report **err);
OPRJ_API char *oprj_GetSpheroidNameByAxesWithTolerance(Oint_Toolkit *toolkit, double a, double b,
                                                       double tolerance, Oerr_Report **err);
OPRJ_API char *oprj_GetSpheroidNameByDatumName(Oint_Toolkit *toolkit, const char *datumName,
                                               Oerr_Report **err);

/** A new record from the dictionary entry of that name (any case): parameters all zero, spheroid
    "Clarke 1866" with its datum of the same name. */
OPRJ_API Oprj_ProParameters *oprj_ProParametersCreateByName(Oint_Toolkit *toolkit, const char *name,
                                                            Oerr_Report **err);
/** New text: "UTM, Zone 17" and the like, else the projection's name. */
OPRJ_API char *oprj_ProjectionDescribe(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                       Oerr_Report **err);
/** The number of an internal projection in the older numbering: 0 to 20 only. */
OPRJ_API int32_t oprj_Proj7xNumber(int32_t number, Oerr_Report **err);

/* --- equality --- */

/** Axes and radius within 1e-5 m, e² within 1e-9, then the datums by name and parameters. `flag` 0
   makes an "Undefined" datum on one side only unequal; otherwise "Undefined" equals any datum. */
OPRJ_API int32_t oprj_SpheroidsEqual2(const Oprj_Spheroid *first, const Oprj_Spheroid *second,
                                      int32_t flag, Oerr_Report **err);
OPRJ_API int32_t oprj_SpheroidsEqual(const Oprj_Spheroid *first, const Oprj_Spheroid *second,
                                     Oerr_Report **err);
OPRJ_API int32_t oprj_ProParametersEqual(const Oprj_ProParameters *first,
                                         const Oprj_ProParameters *second, Oerr_Report **err);
OPRJ_API int32_t oprj_ProParametersEqual2(const Oprj_ProParameters *first,
                                          const Oprj_ProParameters *second, int32_t flag,
                                          Oerr_Report **err);

OPRJ_END_C

#endif
