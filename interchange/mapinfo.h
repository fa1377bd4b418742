/* Map info: ties an image's pixel grid to map coordinates. */
#ifndef OPRJ_MAPINFO_H
#define OPRJ_MAPINFO_H

#include "ocvt.h"
#include "ofga.h"
#include "omif_object.h"
#include "parameters.h"

OPRJ_BEGIN_C

typedef struct Oprj_MapInfo {
  Oprj_CharStr proName;              /**< projection of the map coordinates */
  Oprj_Coordinate *upperLeftCenter;  /**< owned; centre of the upper-left pixel; may be null */
  Oprj_Coordinate *lowerRightCenter; /**< owned; may be null */
  Oprj_Size *pixelSize;              /**< owned; map units, both positive; may be null */
  Oprj_CharStr units;                /**< name of the map unit */
} Oprj_MapInfo;

/* --- records --- */

/** A new empty record; 1 "Error allocating MapInfo". */
OPRJ_API Oprj_MapInfo *oprj_MapInfoCreate(Oerr_Report **err);
/** Deep copy into `target` (unchanged on failure), or into a new record when it is null; parts that
    are null stay null. 1 "Invalid input Oprj_MapInfo", 2 to 7 callees. */
OPRJ_API Oprj_MapInfo *oprj_MapInfoCopy(const Oprj_MapInfo *source, Oprj_MapInfo *target,
                                        Oerr_Report **err);
/** Frees a record with all it owns and nulls the pointer. */
OPRJ_API void oprj_MapInfoFree(Oprj_MapInfo **record);

/* The name setters copy the text (NULL is refused) and return the report in the slot, or null;
   without a slot the report is the caller's to delete. 1 "Invalid input mapInfo", 2 "Invalid input
   projection name" or "Invalid input units name", 3 "Error returned from oprj_CharStrCreate". */
OPRJ_API Oerr_Report *oprj_MapInfoProjectionNameSet(Oprj_MapInfo *record, const Oprj_Char *name,
                                                    Oerr_Report **err);
OPRJ_API Oerr_Report *oprj_MapInfoUnitsSet(Oprj_MapInfo *record, const Oprj_Char *units,
                                           Oerr_Report **err);

/* The setters of numbers (map units) make the part on first use: 1, or 0 with 1 "Invalid input
   mapInfo", 2 "Error returned from oprj_CoordinateCreate" or "Error returned from
   oprj_SizeCreate". */
OPRJ_API int32_t oprj_MapInfoUpperLeftCenterSet(Oprj_MapInfo *record, double x, double y,
                                                Oerr_Report **err);
OPRJ_API int32_t oprj_MapInfoLowerRightCenterSet(Oprj_MapInfo *record, double x, double y,
                                                 Oerr_Report **err);
OPRJ_API int32_t oprj_MapInfoPixelSizeSet(Oprj_MapInfo *record, double width, double height,
                                          Oerr_Report **err);

/** 1 when names, coordinates, sizes and units are equal. Two nulls are equal, one is 0 with 1 "One
    of the input mapInfo's is NULL"; a part that only one has is a difference with its comparer's
    report: 2 to 6. */
OPRJ_API int32_t oprj_MapInfosEqual(const Oprj_MapInfo *first, const Oprj_MapInfo *second,
                                    Oerr_Report **err);
/** 1 when both systems are the same: parameters when both are given, else projection names, and
    then units. */
OPRJ_API int32_t oprj_ProjectionsEqual(const Oprj_MapInfo *firstMapInfo,
                                       const Oprj_ProParameters *first,
                                       const Oprj_MapInfo *secondMapInfo,
                                       const Oprj_ProParameters *second, Oerr_Report **err);

/* --- units and transforms --- */

/** The unit that the record names, borrowed: 1 "Invalid input MapInfo", 2 "Invalid input MapInfo
    units", 3 "Error returned by ocvt_UnitSetByName". */
OPRJ_API const Ocvt_Unit *oprj_UnitGetFromMapInfo(const Oprj_MapInfo *record, Oerr_Report **err);

/** The transform from pixels (column, row, from the centre of the upper-left pixel) to map
    coordinates: x = width · column + X0, y = -height · row + Y0. In `target` (of order 1 and 2 x 2
    dimensions at least; terms beyond become zero), or a new one when it is null. 1 "Invalid input
    mapInfo", 7 "Invalid input Oprj_Coordinate", 8 "Invalid input Oprj_Size", 2 "Error returned from
    ofga_PolynomialCreate", 3 "Input polynomial order less than 1", 4 and 5 its dimensions, 6 "Error
    returned from ofga_PolynomialDiagScalar". */
OPRJ_API Ofga_Polynomial *oprj_MapInfoToPolynomial(const Oprj_MapInfo *record,
                                                   Ofga_Polynomial *target, Oerr_Report **err);

/** A new transform from the first's pixels to the second's. When the two name different units, the
    second's upper-left centre and pixel size are converted to the first's unit in place, its unit
    name and lower-right centre staying as they were: hand over a copy.

    Unlike other operations it reads the slot: it must hold null, or null is returned at once. 1
    "Error getting polynomial transform for map info" (of the first) or "Error in map info units", 2
    "Error getting polynomial transform for map info" (of the second), 3 "Error inverting polynomial
    transform for map info", 4 "Error in unit conversion" or "Error in composition of polynomial
    transforms for map info". */
OPRJ_API Ofga_Polynomial *oprj_ComputeTransformBetweenMapInfos(const Oprj_MapInfo *first,
                                                               Oprj_MapInfo *second,
                                                               Oerr_Report **err);
/** How many of the second's units make one of the first's; 0.0 with 1 "Error in map info units", 4
    "Error in unit conversion", and when the slot does not hold null. */
OPRJ_API double oprj_MapInfoComputeUnitScale(const Oprj_MapInfo *first, const Oprj_MapInfo *second,
                                             Oerr_Report **err);

/* --- portable form --- */

/** A copy of the record and of its design (omif_ObjectFree, omif_DesignFree): 1, or 0 with 1
    "Args!", 2 "Invalid input mapInfo", 3 to 6 callees. */
OPRJ_API int32_t oprj_MapInfoConvertToMIFable(const Oprj_MapInfo *record, void **object,
                                              Omif_Design **design, Oerr_Report **err);
/** A new record from an object of the design "Oprj_MapInfo" in any version's layout; a null object
    gives null without report. 1 "Can't create an Oprj_MapInfo from a %s object", 2 and 3
    callees. */
OPRJ_API Oprj_MapInfo *oprj_MapInfoConvertFromMIFable(const void *object, const Omif_Design *design,
                                                      Oerr_Report **err);

OPRJ_END_C

#endif
