// The shift surface of a datum record, and where the one of a table's datum comes from.
#ifndef OPRJ_DATUM_MODEL_SURFACE_RECORD_H
#define OPRJ_DATUM_MODEL_SURFACE_RECORD_H

#include <oprj/datum_model.h>

#include "toolkit/heap.h"

struct Oprj_ShiftSurface : orvik::toolkit::HeapRecord {
  OrvikDatum::ShiftSurface::Ptr surface;  ///< never null
  orvik::toolkit::HeapText baseDatum;
  bool baseIsGrid = false;
  bool fromDatum = false;  ///< the shifts stand at the base's coordinates and lead away from it
};

#endif
