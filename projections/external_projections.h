/* Projections that are computed outside of this library. A record of the type OPRJ_EXTERNAL names
   in proExeName

     - a program, which is started as a child process and spoken to over a pair of pipes, or
     - a plug-in library ("NAME.dll", on POSIX also "NAME.so"), which is loaded (plugin.h).

   Both are looked for by name along ORVIK_PROJECTIONS_PATH (".;./bin" when it is unset). A name
   with a slash, a backslash or a drive is never looked for, so that a record cannot point at any
   file of the machine. docs/external-projections.md tells how to write one; external.h helps in C.

   Objects are those of every family: their copies share the child or the instance of the plug-in,
   which goes when the last of them is quit or freed. A child carries one call at a time: threads
   that share an object, or copies of it, take turns. For work in parallel make further objects of
   the record. Points with a NaN coordinate become NaN pairs, whatever is answered for them. */
#ifndef OPRJ_EXTERNAL_PROJECTIONS_H
#define OPRJ_EXTERNAL_PROJECTIONS_H

#include "map_projection.h"

OPRJ_BEGIN_C

/** Starts the program or loads the plug-in that the record names, lets it take the record, and
   returns the object, to be freed with oprj_ProjectionPre842Free. Null with 1 "Invalid projection
   parameters", 2 "Toolkit has not been initialized", 3 "oprj_Init failed", 4
   "ofio_CreateSLFromEnv failed", 5 "ofio_SearchListOpen failed", 6 "Initialization of external
   process %s failed" or 7 "Initialization of projection %s failed" (the path) over what failed, 8
   "Unable to find executable %s or dll %s", 9 "External projections are switched off: %s", 10
   "Out of memory".

   The environment variable ORVIK_EXTERNAL_TIMEOUT holds the seconds for which a child may keep
   still while it is waited for (60 when it is unset, 0: for ever). */
OPRJ_API Oprj_MapProjection *oprj_ExternalInit(Oint_Toolkit *toolkit,
                                               const Oprj_ProParameters *record, Oerr_Report **err);

/** Forward through the child: longitude, latitude in radians to metres. `geog` and `proj` may be
   one array. 1 "Invalid input parameters" (the block is missing or no connection's), 2 and 3
   "Invalid input geog points" (either array), 4 "Bad point count" (below 1), 5 "Bad connection"
   (broken or ended), 6 "pipe write failed: %s", 7 "pipe read failed: %s", 8 "Error returned from
   OPRJ_X_FROMLL command" over the child's own reports, 9 "No data returned from OPRJ_X_FROMLL
   command", 10 "Byte count of data returned is not %ld", 11 "Out of memory". After 6, 7 and 10 the
   connection is broken, and the output is undefined. */
OPRJ_API void oprj_ExternalFromLL(const Oprj_Point *geog, const double *block, Oprj_Point *proj,
                                  int32_t count, Oerr_Report **err);
/** The way back; OPRJ_X_TOLL in the messages. */
OPRJ_API void oprj_ExternalToLL(const Oprj_Point *proj, const double *block, Oprj_Point *geog,
                                int32_t count, Oerr_Report **err);

/** A block that shares the connection of `block`; `old` (may be null) is freed and gives up its
   share. Null with 1 "Invalid input parameters", 2 "Bad interface alert; fix oprj" (no connection's
   block), 3 "oprj_ParametersCreate failed". */
OPRJ_API double *oprj_ExternalCopyParameters(const double *block, double *old, Oerr_Report **err);

/** Gives up the object's share of its connection. The last one tells the child to quit, closes the
   pipes and waits for the child: 2 s, 1 s more after SIGTERM, then it is killed. Whatever is
   reported, the connection is gone: 1 "Invalid input parameters", 2 "pipe write failed: %s", 3
   "pipe read failed: %s", 4 "Error returned from OPRJ_X_QUIT command" over the child's own reports,
   5 "oprj_ExternalQuit failed" when a pipe cannot be closed. Nothing is said to a child whose
   connection is broken, and a second call does nothing. */
OPRJ_API void oprj_ExternalQuit(Oprj_MapProjection *projection, Oerr_Report **err);

/** Forward and inverse of a plug-in. 1 to 4 as above, 5 "Bad DLL instance", 6 "fromLL failed" and
   "toLL failed" over the plug-in's own report. */
OPRJ_API void oprj_DLLFromLL(const Oprj_Point *geog, const double *block, Oprj_Point *proj,
                             int32_t count, Oerr_Report **err);
OPRJ_API void oprj_DLLToLL(const Oprj_Point *proj, const double *block, Oprj_Point *geog,
                           int32_t count, Oerr_Report **err);
/** As oprj_ExternalCopyParameters, for blocks of plug-ins. */
OPRJ_API double *oprj_DLLCopyParameters(const double *block, double *old, Oerr_Report **err);
/** Gives up the object's share of its instance; the last one destroys it, and the library leaves
   the process when none of its instances is left. 1 "Invalid input parameters". */
OPRJ_API void oprj_DLLQuit(Oprj_MapProjection *projection, Oerr_Report **err);

/** New text: the path of the program or plug-in that oprj_ExternalInit would take for the record,
   without touching it; *isPlugIn (skipped when null) becomes 1 for a plug-in, else 0. Null with
   codes 1, 4, 5, 8 and 10 of oprj_ExternalInit. */
OPRJ_API Oprj_Char *oprj_ExternalFind(const Oprj_ProParameters *record, int32_t *isPlugIn,
                                      Oerr_Report **err);

/** Switches external projections off for the process (0), or on again: records come out of files,
   and not everybody who reads one means to run what it names. They are on at first. Objects that
   exist go on. */
OPRJ_API void oprj_ExternalAllow(int32_t allowed);

OPRJ_END_C

#endif
