/* What a plug-in library supplies. A plug-in is written against this header alone, in C or in what
   can export C functions, and links nothing of oPrj. It exports one function a service:

       const Oprj_ShiftSurfacePlugIn *oprj_ShiftSurfacePlugInGet(uint32_t version);

   which returns a constant table for the interface of `version`, or null when it has none for that.
   Functions of a table may be called from several threads at once. */
#ifndef OPRJ_PLUGIN_H
#define OPRJ_PLUGIN_H

#include "obase.h"

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

OPRJ_END_C

#endif
