/* Coordinate systems in use: the handle (Oprj_MapProjectionEx) is what applications hold. It names
   a function set by its title and carries the set's data; the native set's data is the object that
   a projection family fills (map_projection.h). */
#ifndef OPRJ_PROJECTION_H
#define OPRJ_PROJECTION_H

#include "map_projection.h"
#include "omif.h"
#include "parameters.h"

OPRJ_BEGIN_C

typedef struct Oprj_MapInfo Oprj_MapInfo; /* mapinfo.h */

/** The operations of a function set; each takes the set's data first and an error slot last. */
typedef struct {
  void (*applyInverse)(void *data, const Oprj_Point *in, Oprj_Point *out, int32_t count,
                       Oerr_Report **err);
  void (*apply)(void *data, const Oprj_Point *in, Oprj_Point *out, int32_t count,
                Oerr_Report **err);
  void *(*copy)(const void *data, Oerr_Report **err);
  int32_t (*equal)(const void *first, const void *second, Oerr_Report **err);
  Oprj_Char *(*name)(const void *data, Oerr_Report **err);
  void (*free)(void *data, Oerr_Report **err);
  void *(*convertFromMIFable)(const void *object, const Omif_Design *design, Oerr_Report **err);
  void *(*convertToMIFable)(const void *data, const Omif_Design **design, Oerr_Report **err);
  int32_t (*convertPossible)(const void *data, const char *title, Oerr_Report **err);
  void *(*convert)(const void *data, const char *title, Oerr_Report **err);
  void *(*convertWithUnits)(const void *data, const char *title, Oprj_Char **unitName,
                            Oerr_Report **err);
  void *(*csrGet)(const void *data, const char *title, Oerr_Report **err);
  void *(*pcsrGet)(const void *data, const char *title, Oerr_Report **err);
  const void *(*gcsrGet)(const void *data, const char *title, Oerr_Report **err);
  void (*gcsTransform)(const void *sourceGCS, const void *targetGCS, int32_t count,
                       Oprj_Point *points, Oerr_Report **err);
  int32_t (*equal2)(const void *first, const void *second, Oerr_Report **err);
  void (*applyInverse3D)(void *data, const Oprj_Point3D *in, Oprj_Point3D *out, int32_t count,
                         Oerr_Report **err);
  void (*apply3D)(void *data, const Oprj_Point3D *in, Oprj_Point3D *out, int32_t count,
                  Oerr_Report **err);
} Oprj_MapProjectionFunctions;

/** A handle: six words. */
typedef struct {
  void *data;
  void (*applyInverse)(void *data, const Oprj_Point *in, Oprj_Point *out, int32_t count,
                       Oerr_Report **err);
  void (*apply)(void *data, const Oprj_Point *in, Oprj_Point *out, int32_t count,
                Oerr_Report **err);
  const Oprj_MapProjectionFunctions *functions;
  const char *title;
  void *ownedData; /**< the word that the operations pass on */
} Oprj_MapProjectionEx;

/** The titles of the two function sets. */
#define OPRJ_TITLE_NATIVE "Oprj_ProParameters"
#define OPRJ_TITLE_PE "PE"

typedef struct {
  Oprj_MapProjectionEx *in;
  Oprj_MapProjectionEx *out;
} Oprj_ProjectionPair;

/** 1 when both records describe the same system, decided by the projection family; spheroids are
    compared as oprj_SpheroidsEqual2 does under `flag` (1 without one). */
OPRJ_API int32_t oprj_ProParametersEqual(const Oprj_ProParameters *first,
                                         const Oprj_ProParameters *second, Oerr_Report **err);
OPRJ_API int32_t oprj_ProParametersEqual2(const Oprj_ProParameters *first,
                                          const Oprj_ProParameters *second, int32_t flag,
                                          Oerr_Report **err);
/** Compares two records through the family of `projection`, built from the first. */
OPRJ_API int32_t oprj_ProParametersEqualWithProjection(const Oprj_ProParameters *first,
                                                       const Oprj_ProParameters *second,
                                                       const Oprj_MapProjection *projection,
                                                       int32_t flag, Oerr_Report **err);

/* --- handles --- */

/** Builds *handle (nulled first) from a record; returns 1, or 0 with a report. */
OPRJ_API int32_t oprj_ProjectionInit(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                     Oprj_MapProjectionEx **handle, Oerr_Report **err);
/** A new handle of the set titled `title` that owns `data` (on failure the caller still does). */
OPRJ_API Oprj_MapProjectionEx *oprj_ProjectionInitInternal(const char *title, void *data,
                                                           Oerr_Report **err);
/** Attaches a set and its data to a handle; leaves old data alone. */
OPRJ_API int32_t oprj_ProjectionSet(Oprj_MapProjectionEx *handle, const char *title, void *data,
                                    Oerr_Report **err);
/** A copy of `source`; on success an `old` handle (may be null) is freed. */
OPRJ_API Oprj_MapProjectionEx *oprj_ProjectionCopy(const Oprj_MapProjectionEx *source,
                                                   Oprj_MapProjectionEx *old, Oerr_Report **err);
OPRJ_API int32_t oprj_ProjectionQuit(Oprj_MapProjectionEx *handle, Oerr_Report **err);
OPRJ_API void oprj_ProjectionFree(Oprj_MapProjectionEx **handle);

OPRJ_API int32_t oprj_MapProjectionEqual(const Oprj_MapProjectionEx *first,
                                         const Oprj_MapProjectionEx *second, Oerr_Report **err);
/** New text, or null. */
OPRJ_API Oprj_Char *oprj_MapProjectionName(const Oprj_MapProjectionEx *handle, Oerr_Report **err);
OPRJ_API int32_t oprj_MapProjectionConvertPossible(const Oprj_MapProjectionEx *handle,
                                                   const char *title);
OPRJ_API int32_t oprj_MapProjectionConvert(Oprj_MapProjectionEx *handle, const char *title,
                                           Oerr_Report **err);
OPRJ_API int32_t oprj_MapProjectionConvertWithUnits(Oprj_MapProjectionEx *handle, const char *title,
                                                    Oprj_Char **unitName, Oerr_Report **err);
/** The system of the handle as an object of `title`'s set, its projected part, its geographic part;
   all borrowed. */
OPRJ_API void *oprj_MapProjectionCSRGet(const Oprj_MapProjectionEx *handle, const char *title,
                                        Oerr_Report **err);
OPRJ_API void *oprj_MapProjectionPCSRGet(const Oprj_MapProjectionEx *handle, const char *title,
                                         Oerr_Report **err);
OPRJ_API const void *oprj_MapProjectionGCSRGet(const Oprj_MapProjectionEx *handle,
                                               const char *title, Oerr_Report **err);
OPRJ_API void oprj_MapProjectionApply3D(const Oprj_MapProjectionEx *handle, const Oprj_Point3D *in,
                                        Oprj_Point3D *out, int32_t count, Oerr_Report **err);
OPRJ_API void oprj_MapProjectionApplyInverse3D(const Oprj_MapProjectionEx *handle,
                                               const Oprj_Point3D *in, Oprj_Point3D *out,
                                               int32_t count, Oerr_Report **err);

/* --- pairs --- */

OPRJ_API Oprj_ProjectionPair *oprj_ProjectionPairCreate(Oerr_Report **err);
OPRJ_API Oprj_ProjectionPair *oprj_ProjectionPairInit(Oint_Toolkit *toolkit,
                                                      const Oprj_ProParameters *in,
                                                      const Oprj_ProParameters *out,
                                                      Oerr_Report **err);
/** As oprj_ProjectionPairInit, but null without report when both systems are equal. */
OPRJ_API Oprj_ProjectionPair *oprj_ProjectionPairGet(
    Oint_Toolkit *toolkit, const Oprj_MapInfo *inMapInfo, const Oprj_ProParameters *in,
    const Oprj_MapInfo *outMapInfo, const Oprj_ProParameters *out, Oerr_Report **err);
OPRJ_API Oprj_ProjectionPair *oprj_ProjectionPairCopy(const Oprj_ProjectionPair *source,
                                                      Oprj_ProjectionPair *target,
                                                      Oerr_Report **err);
OPRJ_API int32_t oprj_ProjectionPairQuit(Oprj_ProjectionPair *pair, Oerr_Report **err);
OPRJ_API void oprj_ProjectionPairFree(Oprj_ProjectionPair **pair);

OPRJ_END_C

#endif
