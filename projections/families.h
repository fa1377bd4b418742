/* Projection families: the five operations behind each projection number.

   The point functions take an object's block and fill `out` point by point, nothing for a count
   below 1. A NaN coordinate gives a NaN pair. A point that cannot be projected stops the call;
   earlier points are written, and the report carries the point's index and coordinates
   (oerr_PointGet). `in` and `out` may be the same array. Calls on different arrays may run at once.
   docs/projections.md describes each family. */
#ifndef OPRJ_FAMILIES_H
#define OPRJ_FAMILIES_H

#include "map_projection.h"
#include "oint.h"

OPRJ_BEGIN_C

/** Declares the operations of one family:

    oprj_NAMEInit makes the object of a record (`toolkit` is not used), to be freed with
    oprj_ProjectionPre842Free; null with 1 "Invalid projection parameters" without a record, 2
    "Insufficient projection parameters" below the family's minimum count, the family's value checks
    from 3, failed allocations, and behind all "Improper parameter" for values that no map can have.

    oprj_NAMEFromLL projects `count` points from longitude and latitude (radians) to easting and
    northing (metres), oprj_NAMEToLL back. 1 "Invalid input parameters", 2 and 3 for missing arrays,
    then the family's stops from 4, and 20 "Point cannot be projected, ..." or "Input data error,
    ..." for a point without a place.

    oprj_NAMECopyParameters returns a new block, to be freed with omsc_HeapFree, and frees `old`; 1
    "Invalid input parameters", 2 "Error returned from oprj_ParametersCreate".

    oprj_NAMEProParametersEqual returns 1 when two records agree exactly in the entries that the
    family compares and in their spheroids, else 0; 1 "Invalid input parmArray", 2 "Too few
    parameters in input parmArray", 3 "Error returned from oprj_SpheroidsEqual". */
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

/** The object of a UTM record: Transverse Mercator's of its zone. 1 and 2 as every family, 3 "Error
    returned from figureUTMzone" for a record without a zone, then failures of what it calls. */
OPRJ_API Oprj_MapProjection *oprj_UTMInit(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                          Oerr_Report **err); /* 1 */
/** 1 when both records mean one zone and hemisphere, and their spheroids are equal. Codes 1 and 2
   as every family, 3 for a record without a zone, 4 "Error returned from oprj_SpheroidsEqual". */
OPRJ_API int32_t oprj_UTMProParametersEqual(const Oprj_ProParameters *first,
                                            const Oprj_ProParameters *second, Oerr_Report **err);
/** The object of a State Plane record: that of the projection under its zone. 1 and 2 as every
    family, 3 "Error returned from oprj_SPEntryByZoneNumber", 4 and 9 for a zone's entry that names
    no projection, 7 "Error returned from called projection initialization". */
OPRJ_API Oprj_MapProjection *oprj_StatePlaneInit(Oint_Toolkit *toolkit,
                                                 const Oprj_ProParameters *record,
                                                 Oerr_Report **err); /* 2 */
/** 1 when both records mean the same zone of the same datum generation. Codes 1 and 2 as every
    family, 3 and 4 when the first or the second record's zone is not found. */
OPRJ_API int32_t oprj_StatePlaneProParametersEqual(const Oprj_ProParameters *first,
                                                   const Oprj_ProParameters *second,
                                                   Oerr_Report **err);
/** The object of a Landsat path: number 25's. 1 and 2 as every family, 6 "Error returned from
    oprj_SOMGenericInit" for a satellite or path that it refuses. */
OPRJ_API Oprj_MapProjection *oprj_SOMInit(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                          Oerr_Report **err); /* 21 */
/** As every family's comparison, by satellite, path and false easting. */
OPRJ_API int32_t oprj_SOMProParametersEqual(const Oprj_ProParameters *first,
                                            const Oprj_ProParameters *second, Oerr_Report **err);
/** The object of a record of numbers 34 to 52 or 54 to 66, the further projections of the
   Projection Engine, by formulas of their own. Codes as every family; 1 for another number too. The
   value checks all have code 3: "Invalid scale factor", "Improper parameter". Reports of the
   object's point functions, copier and comparison name oprj_PEAdditionalFromLL, ...ToLL,
    ...CopyParameters and ...ProParametersEqual. */
OPRJ_API Oprj_MapProjection *oprj_PEAdditionalInit(Oint_Toolkit *toolkit,
                                                   const Oprj_ProParameters *record,
                                                   Oerr_Report **err);

/** Anchored LSR (53) in three dimensions: longitude, latitude (radians), height (metres above the
    ellipsoid) to east, north, up (metres) of the anchor, without a horizon. Codes 1 to 3 and 20 as
    every family. */
OPRJ_API void oprj_AnchoredLSRFromLL3D(const Oprj_Point3D *geog, const double *parameters,
                                       Oprj_Point3D *proj, int32_t count, Oerr_Report **err);
/** The way back. */
OPRJ_API void oprj_AnchoredLSRToLL3D(const Oprj_Point3D *proj, const double *parameters,
                                     Oprj_Point3D *geog, int32_t count, Oerr_Report **err);

/** Builds the object of a record through the family that its number names (null toolkit: the
   process's own record); to be freed with oprj_ProjectionPre842Free. Null with 1 "Invalid
   projection parameters", 2 when the reference data cannot be loaded, 3 over oprj_ExternalInit's, 4
   "Invalid projection type", 6 "Invalid projection number", 7 "Error returned from projection
   initialization" over the family's report. */
OPRJ_API Oprj_MapProjection *oprj_ProjectionPre842Init(Oint_Toolkit *toolkit,
                                                       const Oprj_ProParameters *record,
                                                       Oerr_Report **err);

/** How far, in metres, a sheet that is computed on the sphere of radius a (10 to 19, 24, 27 to 33,
   most of 34 to 63) lies at most from that of the record's ellipsoid; docs/projections.md says what
   is compared. 0 for the families of the ellipsoid and on a sphere. Failure: 0 with 1 "Invalid
   projection parameters". */
OPRJ_API double oprj_EllipsoidDistanceGet(const Oprj_ProParameters *record, Oerr_Report **err);

/** A new parameter block of `count` zeros, to be freed with omsc_HeapFree; failure: 1 "Error
    allocating Parameters". */
OPRJ_API double *oprj_ParametersCreate(int32_t count, Oerr_Report **err);

/** A new Transverse Mercator record that describes a UTM record's system; null with 1 and 2 as
   every family, 3 "Expected UTM projection parameters", 4 "Error returned from figureUTMzone". */
OPRJ_API Oprj_ProParameters *oprj_UTMDetailsGet(Oint_Toolkit *toolkit,
                                                const Oprj_ProParameters *record,
                                                Oerr_Report **err);
/** The UTM zone of a longitude in radians; 0 with 1 "Failed to find UTM zone" for one that is not
    finite. Longitudes strictly between -6 and 0 degrees give 31. */
OPRJ_API int32_t oprj_UTMZoneFromLongitude(double longitude, Oerr_Report **err);
/** A new record of the projection under a State Plane record's zone; null with 1 and 2 as every
    family, 3 "Expected a State Plane projection", 4 "Error returned from oprj_SPEntryByZoneNumber",
    5 and 6 for a zone's entry that names no projection. */
OPRJ_API Oprj_ProParameters *oprj_StatePlaneDetailsGet(Oint_Toolkit *toolkit,
                                                       const Oprj_ProParameters *record,
                                                       Oerr_Report **err);
/** 1 for NAD 27, 2 for NAD 83, from entry 0 of a State Plane record or its datum's name. */
OPRJ_API int32_t oprj_NADCodeGet(const Oprj_ProParameters *record);

/** Converts the angles of a 15-entry array in place, all or nothing: entries 3 to 5 for projections
   9, 15 and 20, else 2 to 5. `direction` 0: packed degrees-minutes-seconds to radians, 1: back.
   Returns 1, or 0 with 1 "Incorrect number of projection parameters" or 2 "Error returned from
   ocvt_GCTPPackedDMS2Radians" (in both directions). */
OPRJ_API int32_t oprj_GCTPProParamsConvert(Oprj_DblArray *array, int32_t number, int32_t direction,
                                           Oerr_Report **err);
/** The same with direction 0, and with direction 1. */
OPRJ_API int32_t oprj_GCTPProParams2Radians(Oprj_DblArray *array, int32_t number,
                                            Oerr_Report **err);
OPRJ_API int32_t oprj_Radians2GCTPProParams(Oprj_DblArray *array, int32_t number,
                                            Oerr_Report **err);

OPRJ_END_C

#endif
