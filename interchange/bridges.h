/* Bridges between this library, whose texts are bytes, and the wide one (oPrjU), whose texts are
   UTF-16: records of the one become records of the other by their portable form. The wide library
   is looked for as odll_Open does ("oPrjU.dll"; beside the toolkit's library first, never in the
   current folder), and stays in the process once it has been loaded. One that tells another
   version, or another width of text, is not there. */
#ifndef OPRJ_BRIDGES_H
#define OPRJ_BRIDGES_H

#include "elevation_info.h"
#include "projection.h"

OPRJ_BEGIN_C

/** Records of the wide library. To it they are those without the U, in memory too. */
typedef struct Oprj_MapProjectionExU Oprj_MapProjectionExU;
typedef struct Oprj_ElevationInfoU Oprj_ElevationInfoU;
typedef struct Oprj_ProParametersU Oprj_ProParametersU;
typedef struct Oprj_DatumU Oprj_DatumU;
typedef struct Oprj_MapInfoU Oprj_MapInfoU;
typedef struct Oprj_ProjectionPairU Oprj_ProjectionPairU;

/** A handle of the wide library (oprj_ProjectionFreeU). Null with 1 "Invalid ANSI MapProjection
    structure", 2 "oprj_ProjectionConvertToMIF failed", 3 "Failed to retrieve
    oprj_ProjectionConvertFromMIF from oPrjU.dll" (also when there is no such library), 4
    "otxt_Text_Ascii2Unicode failed", 5 "oprj_MapProjectionToUNICODE:ProjectionConvertFromMIFable
    failed". */
OPRJ_API Oprj_MapProjectionExU *oprj_MapProjectionToUNICODE(const Oprj_MapProjectionEx *projection,
                                                            Oerr_Report **err);
/** A handle of this library (oprj_ProjectionFree). Null with 1 "Invalid UNICODE MapProjection
    structure", 2 "oprj_MapProjectionToASCII: Failed to load oPrjU.dll", 3 "Failed to find
    oprj_ProjectionConvertToMIF function pointer in oPrjU.dll", 4
    "oprj_MapProjectionToASCII:oprj_ProjectionConvertToMIF failed", 5 "otxt_Text_Unicode2Ascii
    failed", 6 "oprj_ProjectionConvertFromMIF failed". */
OPRJ_API Oprj_MapProjectionEx *oprj_MapProjectionToASCII(const Oprj_MapProjectionExU *projection,
                                                         Oerr_Report **err);
/** The same for elevation infos: 1 "Empty input Oprj_ElevationInfoA parameter", 2
    "oprj_ElevationInfoConvertToMIF failed", 3 "Failed to find oprj_ElevationInfoConvertFromMIF
    function pointer in oPrjU.dll" (or no such library), 4 "otxt_Text_Ascii2Unicode failed", 5
    "oprj_ElevationInfoToUNICODE:oprj_ElevationInfoConvertFromMIF failed". The result is freed as
   the wide library's oprj_ElevationInfoFree does. */
OPRJ_API Oprj_ElevationInfoU *oprj_ElevationInfoToUNICODE(const Oprj_ElevationInfo *info,
                                                          Oerr_Report **err);
/** 1 "Empty input Oprj_ElevationInfoU parameter", 3 "Failed to find oprj_ElevationInfoConvertToMIF
    function pointer in oPrjU.dll" (or no such library), 4
    "oprj_ElevationInfoToASCII:oprj_ElevationInfoConvertToMIF failed", 5 "otxt_Text_Unicode2Ascii
    failed", 6 "oprj_ElevationInfoConvertFromMIF failed". */
OPRJ_API Oprj_ElevationInfo *oprj_ElevationInfoToASCII(const Oprj_ElevationInfoU *info,
                                                       Oerr_Report **err);

/** Frees a wide handle with the wide library's oprj_ProjectionFree and nulls the pointer. A handle
    that cannot be freed is kept, and the report of it printed: "Failed to retrieve
    oprj_ProjectionFree from oPrjU.dll". */
OPRJ_API void oprj_ProjectionFreeU(Oprj_MapProjectionExU **projection);
/* As oprj_ProParametersFree, oprj_DatumFree, oprj_MapInfoFree, oprj_ProjectionPairFree: these
   records are laid out alike in both libraries, and lie in one heap. */
OPRJ_API void oprj_ProParametersFreeU(Oprj_ProParametersU **record);
OPRJ_API void oprj_DatumFreeU(Oprj_DatumU **datum);
OPRJ_API void oprj_MapInfoFreeU(Oprj_MapInfoU **record);
OPRJ_API void oprj_ProjectionPairFreeU(Oprj_ProjectionPairU **pair);

OPRJ_END_C

#endif
