/* The self-describing designs of the library's records. */
#ifndef OPRJ_DESIGNS_H
#define OPRJ_DESIGNS_H

#include "omif.h"
#include "tables.h"

OPRJ_BEGIN_C

/* Each makes its design in `dictionary` and returns it, or null with 1 "Error returned from
   omif_DefineObject". */
OPRJ_API Omif_Design *oprj_DatumDesignDefine(Omif_Dictionary *dictionary, Oerr_Report **err);
OPRJ_API Omif_Design *oprj_SpheroidDesignDefine(Omif_Dictionary *dictionary, Oerr_Report **err);
OPRJ_API Omif_Design *oprj_ProParametersDesignDefine(Omif_Dictionary *dictionary,
                                                     Oerr_Report **err);
OPRJ_API Omif_Design *oprj_CoordinateDesignDefine(Omif_Dictionary *dictionary, Oerr_Report **err);
OPRJ_API Omif_Design *oprj_SizeDesignDefine(Omif_Dictionary *dictionary, Oerr_Report **err);
OPRJ_API Omif_Design *oprj_MapInfoDesignDefine(Omif_Dictionary *dictionary, Oerr_Report **err);

/** A private copy of the shared elevation-info design, added to `dictionary` when one is given
   (which then owns it); without a dictionary the copy is the caller's (omif_DesignFree). */
OPRJ_API Omif_Design *oprj_ElevationInfoDesignDefine(Omif_Dictionary *dictionary,
                                                     Oerr_Report **err);

/** Builds the dictionary of record designs and keeps four of them in `data`. */
OPRJ_API Omif_Dictionary *oprj_InitDictionaryCreate(Oprj_InitData *data, Oerr_Report **err);

OPRJ_END_C

#endif
