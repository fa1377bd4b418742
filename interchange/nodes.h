/* Projection parameters and map infos in the nodes of hierarchical images (ohfa.h).

   A layer's node holds a child "Projection" (design Oprj_ProParameters) with a child "Datum"
   (Oprj_Datum), and a child "Map_Info" (Oprj_MapInfo). `layer` is the path of the layer's node;
   null and "" mean the current entry. Tree forms find the node below the layer: the child of that
   name, else the first of the design; they leave the current entry where it was. Simple forms work
   on the current entry as a stream does.

   All operations: 1 "Toolkit has not been initialized", 2 "Error returned from oprj_Init", 13
   "Invalid input file". Writers return the report in the slot, or null; without a slot the report
   is the caller's to delete. They change the open file, not the one on the medium: ohfa_FileFlush.
   A writer that reports 11, 12 or 14 may have made half of its change: ohfa_FileDiscard. */
#ifndef OPRJ_NODES_H
#define OPRJ_NODES_H

#include "mapinfo.h"
#include "ohfa.h"

OPRJ_BEGIN_C

/** Writes the projection of a layer, in the place of the one that it has: a projection and its
   datum appear together. Empties in `record` what is foreign to its datum's type: the grid's name
   of a parametric datum, the parameters of a grid datum, both of others. A record without a datum
   is written without "Datum", which an older projection may have had. 3 "Invalid input
   proParameters", 4 to 8 the file's dictionary, 9 "Error from ohfa_EntryPositionGet", 10 "Error
   returned from ohfa_EntryPositionSet", 11 and 12 "Error returned from ohfa_ObjectWrite"
   (projection, datum), 14 "Error returned from ohfa_NodeRemove". */
OPRJ_API Oerr_Report *oprj_ProParametersWrite(Ohfa_File *file, const Oprj_Char *layer,
                                              Oprj_ProParameters *record, Oerr_Report **err);
/** Makes the node "Projection" below `parent`, with the datum unless the projection is external,
   and leaves the current entry at `parent`. 9 and 10 "Error returned from ohfa_ObjectWrite". */
OPRJ_API Oerr_Report *oprj_ProParametersWriteSimple(Ohfa_File *file, const Oprj_Char *parent,
                                                    Oprj_ProParameters *record, Oerr_Report **err);
/** Reads the projection of a layer into `record`, or a new one when it is null; with
    `searchSiblings` 1 also the layer's next sibling that is a projection. A grid datum's file is
    opened, a surface datum gets its surface. State Plane projections of older files get their datum
    from the NAD code and the NAD code from their datum. 3 "Error returned from
    oprj_ProParametersCreate", 5 "Error returned from ohfa_ObjectRead for child", 4 "... for
   sibling", 7 "Error returned from ohfa_ObjectRead" (datum), 8 the same (its grid) or "Error
   returned from oprj_ShiftSurfaceGetByProParams", 6 "Error returned from oprj_DatumByName", 9
   "Error returned from oprj_SpheroidByName", 10 and 11 the current entry. With 6 and 8 a given
   `record` is complete but for what could not be opened; with others it is as it was. */
OPRJ_API Oprj_ProParameters *oprj_ProParametersRead(Ohfa_File *file, const Oprj_Char *layer,
                                                    Oprj_ProParameters *record,
                                                    int32_t searchSiblings, Oerr_Report **err);
/** Reads the current entry, and the datum when that comes next; null without a report, `record`
    untouched, when it is no projection. 3 "Error returned from oprj_ProParametersCreate", 7 "Error
    returned from ohfa_EntryPeek", 4 "Error returned from ohfa_ObjectRead for child", 6 "Error
   returned from ohfa_ObjectRead", 8 "Error returned from datafileOpen" or of the surface, 5 "Error
   returned from oprj_DatumByName", 9 "Error returned from oprj_SpheroidByName". */
OPRJ_API Oprj_ProParameters *oprj_ProParametersReadSimple(Ohfa_File *file,
                                                          Oprj_ProParameters *record,
                                                          Oerr_Report **err);

/** Writes the map info of a layer, in the place of the one that it has. 3 "Invalid input MapInfo",
   4 to 8 the file's dictionary, 9 "Error returned from ohfa_EntryPositionGet", 10 "Error returned
   from ohfa_EntryPositionSet", 11 "Error returned from ohfa_ObjectWrite", 12
    "oprj_MapInfoReadIfPresent failed". */
OPRJ_API Oerr_Report *oprj_MapInfoWrite(Ohfa_File *file, const Oprj_Char *layer,
                                        const Oprj_MapInfo *record, Oerr_Report **err);
/** Makes the node "Map_Info" below `parent`, where the current entry is left. 9 "Error returned
   from ohfa_ObjectWrite". */
OPRJ_API Oerr_Report *oprj_MapInfoWriteSimple(Ohfa_File *file, const Oprj_Char *parent,
                                              const Oprj_MapInfo *record, Oerr_Report **err);
/** Reads the map info of a layer, as oprj_ProParametersRead. A projection's name that is missing,
    "Other" or "None" becomes "Unknown". 3 "Error returned from oprj_MapInfoCreate", 4, 5, 10 and 11
   as there, 6 "Error returned from oprj_CharStrCreate for proName". */
OPRJ_API Oprj_MapInfo *oprj_MapInfoRead(Ohfa_File *file, const Oprj_Char *layer,
                                        Oprj_MapInfo *record, int32_t searchSiblings,
                                        Oerr_Report **err);
/** A new record, or null without a report when the layer has none. Units that are missing,
   "Unknown" or "None" become "other". 3 "Error returned from oprj_MapInfoCreate", 4
    "ohfa_ObjectReadIfPresent failed", 5 and 6 "oprj_CharStrCreate failed" (name, units). */
OPRJ_API Oprj_MapInfo *oprj_MapInfoReadIfPresent(Ohfa_File *file, const Oprj_Char *layer,
                                                 Oerr_Report **err);
/** Reads the current entry; null without a report, `record` untouched, when it is no map info. 3
    "Error returned from oprj_MapInfoCreate", 4 "Error returned from ohfa_EntryPeek", 5 "Error
   returned from ohfa_ObjectRead", 6 "Error returned from oprj_CharStrCreate for proName". */
OPRJ_API Oprj_MapInfo *oprj_MapInfoReadSimple(Ohfa_File *file, Oprj_MapInfo *record,
                                              Oerr_Report **err);

OPRJ_END_C

#endif
