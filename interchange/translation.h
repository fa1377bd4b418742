/* Translation between coordinate systems of this library and objects of the Projection Engine
   (engine.h). docs/engine-names.md lists the names; what one side cannot express is refused with a
   report that says what. Systems without a projection number stay usable as engine objects. */
#ifndef OPRJ_TRANSLATION_H
#define OPRJ_TRANSLATION_H

#include "elevation_info.h"
#include "engine.h"
#include "projection.h"
#include "text.h"

OPRJ_BEGIN_C

/** More kinds of Oprj_Note. */
enum {
  OPRJ_NOTE_KEPT_DATUM = 8,     /**< the engine's datum stands for none of the tables, or for one of
                                     several: its name is kept, and it is not shifted */
  OPRJ_NOTE_OTHER_SPHEROID = 9, /**< the datum lies on another spheroid in the tables */
  OPRJ_NOTE_OWN_SPHEROID = 10   /**< the spheroid is not in the tables */
};

/** A new record of an engine's system (PROJCS or GEOGCS): equal systems give equal records,
   whatever they are called. *unitName (skipped when null) becomes new text: the unit of its points
   as ocvt_UnitSetByName takes it; *notes (nulled first, skipped when null) what is worth telling.
   Null with 1 "Args", 2 what cannot be expressed, 3 memory. A missing grid fails nothing: it is a
   note. */
OPRJ_API Oprj_ProParameters *oprj_ProParametersFromCOORDSYS(const Oawp_PE_COORDSYS *system,
                                                            Oprj_Char **unitName, Oprj_Note **notes,
                                                            Oerr_Report **err);
/** A new native handle of an engine's system: 1 "Args", 2 "Error returned from
    oprj_ProParametersFromCOORDSYS", 3 "Error returned from oprj_ProjectionInit". A datum that is
   only a name here is told to the message log. */
OPRJ_API Oprj_MapProjectionEx *oprj_COORDSYSToMapProjection(const Oawp_PE_COORDSYS *system,
                                                            Oprj_Char **unitName,
                                                            Oerr_Report **err);

/** A new engine's system of a record, its points in `unitName` (null: metres or degrees).
   *transform (nulled first, skipped when null) becomes the shift of a parametric datum to WGS 84
   when it has one (oawp_PE_pe_geogtran_del). Null with 1 "Args", 2 what cannot be expressed, 3
   memory. */
OPRJ_API Oawp_PE_COORDSYS *oprj_ProParametersToCOORDSYS(const Oprj_ProParameters *record,
                                                        const Oprj_Char *unitName,
                                                        Oawp_PE_GEOGTRAN **transform,
                                                        Oerr_Report **err);
/** The same of a handle: 1 "Args", 2 "Error returned from oprj_ProParametersToCOORDSYS" (a native
    one), 3 "OAWP_FCLL_PE(pe_coordsys_clone) failed", 4 "oprj_COORDSYSUnitChange failed" (one of the
    engine). */
OPRJ_API Oawp_PE_COORDSYS *oprj_MapProjectionToCOORDSYS(const Oprj_MapProjectionEx *projection,
                                                        const Oprj_Char *unitName,
                                                        Oawp_PE_GEOGTRAN **transform,
                                                        Oerr_Report **err);

/** The unit of an engine's system's points: new text as ocvt_UnitSetByName takes it. Null with 1
    "Args", 2 memory. */
OPRJ_API Oprj_Char *oprj_COORDSYSUnitName(const Oawp_PE_COORDSYS *system, Oerr_Report **err);
/** A new engine's system with its points in another unit: lengths among the parameters keep their
    meaning, and a system that is in this unit stays as it is, bit for bit. A geographic system
   takes angles, a projected one lengths. Null with 1 "Args", 2 another kind of unit, or one that is
   not known, 3 memory. */
OPRJ_API Oawp_PE_COORDSYS *oprj_COORDSYSUnitChange(const Oawp_PE_COORDSYS *system,
                                                   const Oprj_Char *unitName, Oerr_Report **err);

/** A new record that holds the text of an engine's system whole, whether or not it has a number:
   its projection is the engine's (oprj_ProjectionInit makes a handle of the set "PE"), its name the
    system's, spheroid and datum the translated ones. 1 "Args", 2
   "OAWP_FCLL_PE(pe_coordsys_from_string) failed", 3 memory. */
OPRJ_API Oprj_ProParameters *oprj_ProParametersHoldingPEString(const Oprj_Char *string,
                                                               Oerr_Report **err);

/** The vertical part of a text, which is one alone (VERTCS[...]) or stands behind a horizontal
   part: the datum's name, the unit, and whether depths are counted. 1 "Args", 2 the text cannot be
   read, 3 what cannot be expressed, 4 memory. */
OPRJ_API Oprj_ElevationInfo *oprj_ElevationInfoFromPEString(const Oprj_Char *string,
                                                            Oerr_Report **err);
/** Stores new text (nulled first): 1; or 0 with 1 "Args", 2 what cannot be expressed, 3 memory. */
OPRJ_API int32_t oprj_ElevationInfoToPEString(Oprj_Char **string, const Oprj_ElevationInfo *info,
                                              Oerr_Report **err);

OPRJ_END_C

#endif
