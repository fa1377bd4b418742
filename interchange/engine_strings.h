/* Projection Engine strings and .prj files, which hold one of them. docs/engine-strings.md
   describes the language, docs/engine-names.md the translation. */
#ifndef OPRJ_ENGINE_STRINGS_H
#define OPRJ_ENGINE_STRINGS_H

#include "mapinfo.h"
#include "projection.h"

OPRJ_BEGIN_C

/** The string of a .prj file, as new text in *string: line breaks and zero bytes are dropped,
   trailing blanks (spaces) removed; at most 1023 bytes are kept, and the byte 255 ends the file. An
   empty file gives null. 1; or 0 with 1 "Invalid location to return the PRJ String", 2 "PRJ file
   does not exist", 3 the file cannot be read, 4 memory. */
OPRJ_API int32_t oprj_PEPrjStringGet(const Oprj_Char *fileName, Oprj_Char **string,
                                     Oerr_Report **err);

/** A new record of the system in a .prj file; the map info receives its projection's name and unit
   (unchanged on failure). Null with 1 "Invalid input MapInfo", 2 "Failed to read PE string from
   %s", 3 "Fail to convert string to coordsys obj.", 4 "Error returned from
   oprj_COORDSYSToMapProjection.", 5 "Failed to translate PE coordsys to Orvik map projection.", 6
   "OPRJ_PROPARAMETERS_GET failed", 7 "Error returned from oprj_ProParametersCopy.", 8 "Error
   returned from oprj_CharStrCopy.", 9 "Error returned from oprj_CharStrCreate.". */
OPRJ_API Oprj_ProParameters *oprj_PEPrjRead(const Oprj_Char *fileName, Oprj_MapInfo *mapInfo,
                                            Oerr_Report **err);

/** Writes a system, its points in the map info's units, as one line without line end. 1; or 0 with
   1 "Invalid input MapInfo", 2 "Fail to create projection file %s.", 3 "Fail to init mapProjection
   with parameters.", 4 "Error returned from oprj_MapProjectionToCOORDSYS.", 5 "Faled to translate
   orvik map projection to PE coordsys.", 6 "Empty PE projection string buffer." (1024 bytes or
   more), 7 "Error writing string to projection file.". From 3 on the file has been emptied. */
OPRJ_API int32_t oprj_PEPrjWrite(const Oprj_Char *fileName, const Oprj_ProParameters *record,
                                 const Oprj_MapInfo *mapInfo, Oerr_Report **err);

/** A handle of the set "PE" that holds the string's system whole, in *projection (nulled first),
   and the engine's name of its unit, or the unit's whole text when it has none, as new text in
   *unitName (skipped when null). 1; or 0, as context "oprj_MapProjectionInitFromPEString", with 1
   "Args", 2 "OAWP_FCLL_PE(pe_coordsys_from_string) failed", 3 "OAWP_FCLL_PE(pe_unit_to_string)
   failed", 4 "ostr_Duplicate failed", 5 "oprj_ProjectionInitInternal failed". */
OPRJ_API int32_t oprj_MapProjectionFromPEString(const Oprj_Char *string,
                                                Oprj_MapProjectionEx **projection,
                                                Oprj_Char **unitName, Oerr_Report **err);

/** The string of a handle, its points in `unitName` (null: as they are), as new text in *string
   (nulled first). 1; or 0, in the same context, with 1 "Args", 2 "oprj_ProjectionCopy failed", 3
   "oprj_MapProjectionConvert failed", 4 "oprj_MapProjectionCSRGet failed", 5
   "oprj_COORDSYSUnitChange failed", 6 "OAWP_FCLL_PE(pe_coordsys_to_string) failed". */
OPRJ_API int32_t oprj_MapProjectionToPEString(Oprj_Char **string,
                                              const Oprj_MapProjectionEx *projection,
                                              const Oprj_Char *unitName, Oerr_Report **err);

/** The same of a record: 1 "oprj_ProjectionInit failed", 2 "oprj_MapProjectionToPEString failed".
 */
OPRJ_API int32_t oprj_ProParametersToPEString(Oprj_Char **string, const Oprj_ProParameters *record,
                                              const Oprj_Char *unitName, Oerr_Report **err);

/** A new record of a string's system, with what a record can hold, and its unit as new text in
   *unitName (skipped when null). Null with 1 "Invalid argument", 2 "pe_coordsys_from_string
   failed", 3 "Error returned from oprj_COORDSYSToMapProjection", 4 "OPRJ_PROPARAMETERS_GET failed",
   5 "Error returned from oprj_ProParametersCopy". */
OPRJ_API Oprj_ProParameters *oprj_ProParametersFromPEString(const Oprj_Char *string,
                                                            Oprj_Char **unitName,
                                                            Oerr_Report **err);

OPRJ_END_C

#endif
