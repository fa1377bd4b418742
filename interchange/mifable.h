/* Portable ("MIFable") forms: records of designs that other components read without knowing this
   library, and the map projections made of them. Records are freed by omif_ObjectFree with their
   design; members are named as the items of the designs. */
#ifndef OPRJ_MIFABLE_H
#define OPRJ_MIFABLE_H

#include "elevation_info.h"
#include "omif_object.h"
#include "projection.h"

OPRJ_BEGIN_C

/** A projection's parameters without the spheroid. */
typedef struct {
  int32_t proType;
  int32_t proNumber;
  Oprj_CharStr proExeName;
  Oprj_CharStr proName;
  int32_t proZone;
  Oprj_DblArray proParams;
} Oprj_ProjectionObject830;

/** In these records a spheroid's datum and what a datum has opened are null: they are no items. */
typedef struct {
  Oprj_Spheroid *proSpheroid;
  Oprj_Datum *datum;
} Oprj_EarthModel830;

/** A projection of the native set. */
typedef struct {
  Oprj_ProjectionObject830 *projectionObject;
  Oprj_EarthModel830 *earthModel;
} Oprj_MapProjection830;

/** A projection of any set: the set's own object, wrapped, and the set's title. */
typedef struct {
  Omif_MIFObject projection;
  Omif_String title;
} Oprj_MapProjection842;

/** The record of the design "PE_COORDSYS": a Projection Engine string. */
typedef struct {
  Omif_String coordSys;
} Oprj_PECoordsys;

/** A whole coordinate system. */
typedef struct {
  Oprj_MapProjection830 *projectionObject;
  Oprj_CharStr horizontalUnits;
  Oprj_ElevationInfo *verticalCSObject;
} Oprj_CoordinateSystem;

/** The portable form of a projection: a new Oprj_MapProjection842 and a copy of its design, both
    the caller's (omif_ObjectFree, omif_DesignFree). 1, or 0 with both null: 1 "Args", 2
    "ProjectionConvertToMIFable failed", 4 "omif_DesignText failed", 5 "omif_ConvertToMIF failed", 6
    "OMIF_DESIGN_FETCH failed", 7 "omif_ObjectCopy failed", 8 "omif_DesignCopy failed". */
OPRJ_API int32_t oprj_ProjectionConvertToMIFable(const Oprj_MapProjectionEx *projection,
                                                 void **object, Omif_Design **design,
                                                 Oerr_Report **err);

/** The projection that an object of the design "Oprj_MapProjection830" or "Oprj_MapProjection842",
    in the layout of any version, describes. A wrapped object is read by the items of its own
    dictionary. 1 "NULL design", 2 "Don't know how to convert from %s"; of the wrapped object 3
    "omif_DictionaryDecodeFromString failed", 4 "omif_DictionarySearchByName failed", 5 "Design %s
    not found in dictionary", 6 "omif_ObjectAllocate failed", 7 "omif_ConvertToHost failed"; 8
    "MapProjectionFunctionsFromTitle failed", 9 "ProjectionConvertFromMIFable failed", 10
    "oprj_ProjectionInitInternal failed", 11 "NULL object". */
OPRJ_API Oprj_MapProjectionEx *oprj_ProjectionConvertFromMIFable(const void *object,
                                                                 const Omif_Design *design,
                                                                 Oerr_Report **err);

OPRJ_END_C

#endif
