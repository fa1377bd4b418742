/* Map info: ties an image's pixel grid to map coordinates. */
#ifndef OPRJ_MAPINFO_H
#define OPRJ_MAPINFO_H

#include "parameters.h"

OPRJ_BEGIN_C

typedef struct Oprj_MapInfo {
  Oprj_CharStr proName;              /**< projection of the map coordinates */
  Oprj_Coordinate *upperLeftCenter;  /**< owned; centre of the upper-left pixel; may be null */
  Oprj_Coordinate *lowerRightCenter; /**< owned; may be null */
  Oprj_Size *pixelSize;              /**< owned; map units, both positive; may be null */
  Oprj_CharStr units;                /**< name of the map unit */
} Oprj_MapInfo;

/** 1 when both systems are the same: parameters when both are given, else projection names, and
    then units. */
OPRJ_API int32_t oprj_ProjectionsEqual(const Oprj_MapInfo *firstMapInfo,
                                       const Oprj_ProParameters *first,
                                       const Oprj_MapInfo *secondMapInfo,
                                       const Oprj_ProParameters *second, Oerr_Report **err);

OPRJ_END_C

#endif
