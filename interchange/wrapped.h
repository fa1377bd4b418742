/* Whole coordinate systems (projection, units, heights) as one portable object, elevation infos in
   portable form, and both in transit: texts and bytes that pass between libraries which share
   nothing else. Objects are freed by omif_ObjectFree with their design, designs by omif_DesignFree,
   texts and bytes by omsc_HeapFree. Outputs are nulled first. Texts inside of portable objects are
   UTF-8 whatever Oprj_Char is. */
#ifndef OPRJ_WRAPPED_H
#define OPRJ_WRAPPED_H

#include "mifable.h"

OPRJ_BEGIN_C

/* --- whole systems --- */

/** The projection as an Oprj_MapProjection830 and a copy of its design; one of the Projection
   Engine is converted for it. 1, or 0 with 1 "Args", 2 "oprj_ProjectionCopy failed", 3
   "oprj_MapProjectionConvert failed", 4 "ProjectionConvertToMIFable failed", 5 "omif_DesignCopy
   failed". */
OPRJ_API int32_t oprj_ProjectionConvertToMIFable830(const Oprj_MapProjectionEx *projection,
                                                    void **object, Omif_Design **design,
                                                    Oerr_Report **err);

/** A new Oprj_CoordinateSystem of copies: an Oprj_MapProjection830, the name of its unit (null:
   none) and an Oprj_ElevationInfo (both null: none). 1, or 0 with 1 "InternalInit failed; Failed to
   initialize oprj package.", 2 "oprj_MIFableCoordinateSystemWrap: Invalid input Projection design",
   3 "Unrecognized projection design", 4 "Unrecognized elevation info design", 5 "OMIF_DESIGN_FETCH
   failed", 6 "omsc_New failed", 7 "omif_ObjectCopy failed", 8 "ostr_Duplicate failed", 9
   "omif_DesignCopy failed", 10 "Args" (no place for the result). */
OPRJ_API int32_t oprj_MIFableCoordinateSystemWrap(const void *projection,
                                                  const Omif_Design *projectionDesign,
                                                  const Oprj_Char *unit, const void *elevation,
                                                  const Omif_Design *elevationDesign, void **object,
                                                  Omif_Design **design, Oerr_Report **err);

/** The parts of such an object as copies; unit and elevation info are null when it has none. 1, or
   0 with 1 "Args" (an output or the object is missing), 2 "Unrecognized coordinate system design",
   3 "OMIF_DESIGN_FETCH failed", 4 "omif_ObjectCopy failed", 5 "ostr_Duplicate failed", 6
   "omif_DesignCopy failed". */
OPRJ_API int32_t oprj_MIFableCoordinateSystemUnwrap(const void *object, const Omif_Design *design,
                                                    void **projection,
                                                    Omif_Design **projectionDesign,
                                                    Oprj_Char **unit, void **elevation,
                                                    Omif_Design **elevationDesign,
                                                    Oerr_Report **err);

/** The parts as the library's own: a handle, the unit's name, an elevation info
   (oprj_ProjectionFree, omsc_HeapFree, oprj_ElevationInfoFree). Its reports bear the name of the
   wrapping operation. 1, or 0 with 1 "Args", 2 "oprj_MIFableCoordinateSystemUnwrap failed", 3
   "oprj_ProjectionConvertFromMIFable failed", 4 "oprj_ElevationInfoConvertFromMIFable failed". */
OPRJ_API int32_t oprj_MIFableCoordinateSystemToOPRJ(const void *object, const Omif_Design *design,
                                                    Oprj_MapProjectionEx **projection,
                                                    Oprj_Char **unit,
                                                    Oprj_ElevationInfo **elevation,
                                                    Oerr_Report **err);

/* --- elevation infos --- */

/** A copy of the record's items and of its design: 1, or 0 with 1 "Args!", 2 "Invalid input
   Oprj_ElevationInfo", 3 "Error returned from oprj_Init", 4 "omif_ObjectCopy failed", 5
   "omif_DesignCopy failed". */
OPRJ_API int32_t oprj_ElevationInfoConvertToMIFable(const Oprj_ElevationInfo *info, void **object,
                                                    Omif_Design **design, Oerr_Report **err);
/** A new record (oprj_ElevationInfoFree) from an object of the design "Oprj_ElevationInfo" in any
   version's layout; a null object gives null without report. The surface of a datum that the tables
   know is made anew. 1 "Can't create an Oprj_ElevationInfo from a %s object", 2 "Error returned
   from oprj_Init", 3 "omif_ObjectConvert failed", 4 "Error returned from oprj_DatumInit". */
OPRJ_API Oprj_ElevationInfo *oprj_ElevationInfoConvertFromMIFable(const void *object,
                                                                  const Omif_Design *design,
                                                                  Oerr_Report **err);

/* --- in transit --- */

/** A projection as texts and bytes: the dictionary, the design's name, the bytes and their number
   of its Oprj_MapProjection842; the dictionary, the design's name, the bytes and their number of
   the object wrapped in it; the title of the function set; the version of this form, 1. 1, or 0
   with 1 "Args", 2 "oprj_ProjectionConvertToMIFable failed", 4 "omif_DesignText failed", 5
   "omif_ConvertToMIF failed", 6 "ostr_Duplicate failed". */
OPRJ_API int32_t oprj_ProjectionConvertToMIF(const Oprj_MapProjectionEx *projection,
                                             Oprj_Char **dictionary, Oprj_Char **designName,
                                             uint8_t **object, int32_t *size,
                                             Oprj_Char **innerDictionary, Oprj_Char **innerName,
                                             uint8_t **innerObject, int32_t *innerSize,
                                             Oprj_Char **title, int32_t *version,
                                             Oerr_Report **err);
/** The projection back from the last six of these; the first four are not read. 1 "Args" (a part is
   missing), 2 "Unknown version %d of the form", 3 "OMIF_DESIGN_FETCH failed", 4
   "oprj_ProjectionConvertFromMIFable failed". */
OPRJ_API Oprj_MapProjectionEx *oprj_ProjectionConvertFromMIF(
    const Oprj_Char *dictionary, const Oprj_Char *designName, const uint8_t *object, int32_t size,
    const Oprj_Char *innerDictionary, const Oprj_Char *innerName, const uint8_t *innerObject,
    int32_t innerSize, const Oprj_Char *title, int32_t version, Oerr_Report **err);

/** An elevation info as texts and bytes: dictionary, name of its design, bytes and their number. 1,
   or 0 with 1 "Args", 2 "oprj_ElevationInfoConvertToMIFable failed", 4 to 6 as above. */
OPRJ_API int32_t oprj_ElevationInfoConvertToMIF(const Oprj_ElevationInfo *info,
                                                Oprj_Char **dictionary, Oprj_Char **designName,
                                                uint8_t **object, int32_t *size, Oerr_Report **err);
/** The record back: 1 "Args", 2 "omif_DictionaryDecodeFromString failed", 3 "Design %s not found in
   dictionary", 4 "omif_ConvertToHost failed", 5 "oprj_ElevationInfoConvertFromMIFable failed". */
OPRJ_API Oprj_ElevationInfo *oprj_ElevationInfoConvertFromMIF(const Oprj_Char *dictionary,
                                                              const Oprj_Char *designName,
                                                              const uint8_t *object, int32_t size,
                                                              Oerr_Report **err);

OPRJ_END_C

#endif
