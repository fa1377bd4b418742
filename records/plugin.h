/* What a plug-in library supplies. A plug-in is written against this header alone, in C or in what
   can export C functions, and links nothing of oPrj. It exports one function a service:

       const Oprj_ShiftSurfacePlugIn *oprj_ShiftSurfacePlugInGet(uint32_t version);
       const Oprj_ProjectionPlugIn *oprj_ProjectionPlugInGet(uint32_t version);

   which returns a constant table for the interface of `version`, or null when it has none for that.
   Functions of a table may be called from several threads at once. What a plug-in throws ends as a
   failure. */
#ifndef OPRJ_PLUGIN_H
#define OPRJ_PLUGIN_H

#include "parameters.h"

OPRJ_BEGIN_C

#define OPRJ_SHIFT_SURFACE_PLUGIN_VERSION 1u
/** The name of the function that a library with shift surfaces exports. */
#define OPRJ_SHIFT_SURFACE_PLUGIN_ENTRY "oprj_ShiftSurfacePlugInGet"

/** A source of datum shifts. `self` is what `open` returned. */
typedef struct {
  uint32_t version; /**< OPRJ_SHIFT_SURFACE_PLUGIN_VERSION */
  uint32_t size;    /**< sizeof(Oprj_ShiftSurfacePlugIn) */
  const char *name; /**< for messages */
  /** Makes a surface from a text of the plug-in's own meaning (never null). On failure: null, and
      why in `message`, `size` bytes with the zero at the end. */
  void *(*open)(const char *argument, char *message, size_t size);
  /** 1 after storing west, south, east, north in degrees: no other points are asked for (a west
      beyond the east crosses 180 degrees). 0 when the surface has no bounds. */
  int32_t (*extent)(void *self, double bounds[4]);
  /** The shifts at `count` points (longitude, latitude in degrees, longitudes in [-180, 180]):
     pairs of arc-seconds, east and north positive, NaN where there is no shift. 1, or 0 when it
     cannot tell. */
  int32_t (*shift)(void *self, const double *lonLat, double *seconds, int32_t count);
  void (*close)(void *self);
} Oprj_ShiftSurfacePlugIn;

typedef const Oprj_ShiftSurfacePlugIn *(*Oprj_ShiftSurfacePlugInGetter)(uint32_t version);

#define OPRJ_PROJECTION_PLUGIN_VERSION 1u
/** The name of the function that a library with a projection exports. */
#define OPRJ_PROJECTION_PLUGIN_ENTRY "oprj_ProjectionPlugInGet"

/** A projection (docs/external-projections.md). `self` is what `create` returned; the last argument
    of each function is the address of an empty slot for a report (oerr_CreateErrorReport, for
   plug-ins that link the toolkit), which the caller frees. It may stay empty. */
typedef struct {
  uint32_t version; /**< OPRJ_PROJECTION_PLUGIN_VERSION */
  uint32_t size;    /**< sizeof(Oprj_ProjectionPlugIn) */
  const char *name; /**< for messages */
  /** A new instance, or null. */
  void *(*create)(Oerr_Report **err);
  /** Takes the record of the system, which is the caller's and gone afterwards: 1, or 0 when the
      instance cannot project by it. Called once, before any point. */
  int32_t (*init)(void *self, const Oprj_ProParameters *record, Oerr_Report **err);
  /** Longitudes and latitudes in radians to metres, and back: 1, or 0 when the call has failed as a
      whole. A point without a place becomes a pair of NaN, and so does what came with a NaN. `in`
     and `out` may be one array. */
  int32_t (*fromLL)(void *self, const Oprj_Point *in, Oprj_Point *out, int32_t count,
                    Oerr_Report **err);
  int32_t (*toLL)(void *self, const Oprj_Point *in, Oprj_Point *out, int32_t count,
                  Oerr_Report **err);
  void (*destroy)(void *self);
} Oprj_ProjectionPlugIn;

typedef const Oprj_ProjectionPlugIn *(*Oprj_ProjectionPlugInGetter)(uint32_t version);

OPRJ_END_C

#endif
