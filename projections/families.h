/* Projection families: the five operations behind each projection number.

   An initialiser checks a parameter record and makes a projection object: 1 "Invalid projection
   parameters" without a record, 2 "Insufficient projection parameters" below the family's minimum
   count, then the family's value checks. The point functions take the object's block and fill `out`
   point by point: 1 "Invalid input parameters", 2 and 3 for missing arrays, nothing for a count
   below 1. A NaN coordinate gives a NaN pair. A point that cannot be projected stops the call;
   earlier points are written, and the report carries the point's index and coordinates
   (oerr_PointGet). `in` and `out` may be the same array. Calls on different arrays may run at once.
   docs/projections.md describes each family. */
#ifndef OPRJ_FAMILIES_H
#define OPRJ_FAMILIES_H

#include "map_projection.h"
#include "oint.h"

OPRJ_BEGIN_C

/** Declares the operations of one family: oprj_NAMEInit, oprj_NAMEFromLL (geographic to projected),
    oprj_NAMEToLL, oprj_NAMECopyParameters (frees `old`, returns a new block) and
    oprj_NAMEProParametersEqual (exact comparison of the entries that the family reads). */
#define OPRJ_DECLARE_FAMILY(NAME)                                                        \
  OPRJ_API Oprj_MapProjection *oprj_##NAME##Init(                                        \
      Oint_Toolkit *toolkit, const Oprj_ProParameters *record, Oerr_Report **err);       \
  OPRJ_API void oprj_##NAME##FromLL(const Oprj_Point *geog, const double *parameters,    \
                                    Oprj_Point *proj, int32_t count, Oerr_Report **err); \
  OPRJ_API void oprj_##NAME##ToLL(const Oprj_Point *proj, const double *parameters,      \
                                  Oprj_Point *geog, int32_t count, Oerr_Report **err);   \
  OPRJ_API double *oprj_##NAME##CopyParameters(const double *parameters, double *old,    \
                                               Oerr_Report **err);                       \
  OPRJ_API int32_t oprj_##NAME##ProParametersEqual(                                      \
      const Oprj_ProParameters *first, const Oprj_ProParameters *second, Oerr_Report **err);

OPRJ_DECLARE_FAMILY(Geographic)                          /*  0 */
OPRJ_DECLARE_FAMILY(AlbersConicalEqualArea)              /*  3 */
OPRJ_DECLARE_FAMILY(LambertConformalConic)               /*  4 */
OPRJ_DECLARE_FAMILY(Mercator)                            /*  5 */
OPRJ_DECLARE_FAMILY(PolarStereographic)                  /*  6 */
OPRJ_DECLARE_FAMILY(Polyconic)                           /*  7 */
OPRJ_DECLARE_FAMILY(EquidistantConic)                    /*  8 */
OPRJ_DECLARE_FAMILY(TransverseMercator)                  /*  9 */
OPRJ_DECLARE_FAMILY(Stereographic)                       /* 10 */
OPRJ_DECLARE_FAMILY(LambertAzimuthalEqual_Area)          /* 11 */
OPRJ_DECLARE_FAMILY(AzimuthalEquidistant)                /* 12 */
OPRJ_DECLARE_FAMILY(Gnomonic)                            /* 13 */
OPRJ_DECLARE_FAMILY(Orthographic)                        /* 14 */
OPRJ_DECLARE_FAMILY(GeneralVerticalNear_SidePerspective) /* 15 */
OPRJ_DECLARE_FAMILY(Sinusoidal)                          /* 16 */
OPRJ_DECLARE_FAMILY(Equirectangular)                     /* 17 */
OPRJ_DECLARE_FAMILY(MillerCylindrical)                   /* 18 */
OPRJ_DECLARE_FAMILY(VanderGrintenI)                      /* 19 */
OPRJ_DECLARE_FAMILY(ObliqueMercator)                     /* 20 */
OPRJ_DECLARE_FAMILY(MTM)                                 /* 22 */
OPRJ_DECLARE_FAMILY(ESOM)                                /* 23 */
OPRJ_DECLARE_FAMILY(ROBIN)                               /* 24 */
OPRJ_DECLARE_FAMILY(SOMGeneric)                          /* 25 */
OPRJ_DECLARE_FAMILY(AlaskaConformal)                     /* 26 */
OPRJ_DECLARE_FAMILY(InterruptedGoode)                    /* 27 */
OPRJ_DECLARE_FAMILY(Mollweide)                           /* 28 */
OPRJ_DECLARE_FAMILY(InterruptedMollweide)                /* 29 */
OPRJ_DECLARE_FAMILY(Hammer)                              /* 30 */
OPRJ_DECLARE_FAMILY(WagnerIV)                            /* 31 */
OPRJ_DECLARE_FAMILY(WagnerVII)                           /* 32 */
OPRJ_DECLARE_FAMILY(OblatedEqualArea)                    /* 33 */
OPRJ_DECLARE_FAMILY(AnchoredLSR)                         /* 53 */
OPRJ_DECLARE_FAMILY(LambertConformalConicSSP)            /* 67 */
OPRJ_DECLARE_FAMILY(PseudoMercator)                      /* 68 */
OPRJ_DECLARE_FAMILY(MercatorVariantA)                    /* 69 */

/* Families that build another family's object and keep their own record and comparison. */
OPRJ_API Oprj_MapProjection *oprj_UTMInit(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                          Oerr_Report **err); /* 1 */
OPRJ_API int32_t oprj_UTMProParametersEqual(const Oprj_ProParameters *first,
                                            const Oprj_ProParameters *second, Oerr_Report **err);
OPRJ_API Oprj_MapProjection *oprj_StatePlaneInit(Oint_Toolkit *toolkit,
                                                 const Oprj_ProParameters *record,
                                                 Oerr_Report **err); /* 2 */
OPRJ_API int32_t oprj_StatePlaneProParametersEqual(const Oprj_ProParameters *first,
                                                   const Oprj_ProParameters *second,
                                                   Oerr_Report **err);
OPRJ_API Oprj_MapProjection *oprj_SOMInit(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                          Oerr_Report **err); /* 21 */
OPRJ_API int32_t oprj_SOMProParametersEqual(const Oprj_ProParameters *first,
                                            const Oprj_ProParameters *second, Oerr_Report **err);
/** Numbers 34 to 52 and 54 to 66: computed through the Projection Engine. */
OPRJ_API Oprj_MapProjection *oprj_PEAdditionalInit(Oint_Toolkit *toolkit,
                                                   const Oprj_ProParameters *record,
                                                   Oerr_Report **err);

/* Anchored LSR (53) in three dimensions: longitude, latitude, height to x, y, z and back. */
OPRJ_API void oprj_AnchoredLSRFromLL3D(const Oprj_Point3D *geog, const double *parameters,
                                       Oprj_Point3D *proj, int32_t count, Oerr_Report **err);
OPRJ_API void oprj_AnchoredLSRToLL3D(const Oprj_Point3D *proj, const double *parameters,
                                     Oprj_Point3D *geog, int32_t count, Oerr_Report **err);

/** Builds the object of a record through the family that its number names (null toolkit: the
   process's own record). */
OPRJ_API Oprj_MapProjection *oprj_ProjectionPre842Init(Oint_Toolkit *toolkit,
                                                       const Oprj_ProParameters *record,
                                                       Oerr_Report **err);

/** A new parameter block of `count` zeros; failure: "Error allocating Parameters". */
OPRJ_API double *oprj_ParametersCreate(int32_t count, Oerr_Report **err);

/** A new Transverse Mercator record that describes a UTM record's system. */
OPRJ_API Oprj_ProParameters *oprj_UTMDetailsGet(Oint_Toolkit *toolkit,
                                                const Oprj_ProParameters *record,
                                                Oerr_Report **err);
/** The UTM zone of a longitude in radians; 0 with a report for a longitude without zone. Longitudes
    strictly between -6 and 0 degrees give 31. */
OPRJ_API int32_t oprj_UTMZoneFromLongitude(double longitude, Oerr_Report **err);
/** A new record of the projection under a State Plane record's zone. */
OPRJ_API Oprj_ProParameters *oprj_StatePlaneDetailsGet(Oint_Toolkit *toolkit,
                                                       const Oprj_ProParameters *record,
                                                       Oerr_Report **err);
/** 1 for NAD 27, 2 for NAD 83, from entry 0 of a State Plane record or its datum's name. */
OPRJ_API int32_t oprj_NADCodeGet(const Oprj_ProParameters *record);

/** Converts the angles of a 15-entry array in place, all or nothing: entries 3 to 5 for projections
   9, 15 and 20, else 2 to 5. `direction` 0: packed degrees-minutes-seconds to radians, 1: back.
   Returns 1, or 0 with a report. */
OPRJ_API int32_t oprj_GCTPProParamsConvert(Oprj_DblArray *array, int32_t number, int32_t direction,
                                           Oerr_Report **err);
OPRJ_API int32_t oprj_GCTPProParams2Radians(Oprj_DblArray *array, int32_t number,
                                            Oerr_Report **err);
OPRJ_API int32_t oprj_Radians2GCTPProParams(Oprj_DblArray *array, int32_t number,
                                            Oerr_Report **err);

OPRJ_END_C

#endif
