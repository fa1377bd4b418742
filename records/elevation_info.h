/* The vertical part of a coordinate system: what elevations count from, in which unit and which
 * way.
 */
#ifndef OPRJ_ELEVATION_INFO_H
#define OPRJ_ELEVATION_INFO_H

#include "parameters.h"

OPRJ_BEGIN_C

/** elevationType of Oprj_ElevationInfo. */
enum {
  OPRJ_ELEVATION_TYPE_HEIGHT = 0, /**< upwards */
  OPRJ_ELEVATION_TYPE_DEPTH = 1,  /**< downwards */
  OPRJ_ELEVATION_TYPE_UNKNOWN = 2
};

typedef struct {
  Oprj_Datum *verticalDatum;  /**< owned; "Undefined" (or null) when it is not known */
  Oprj_CharStr elevationUnit; /**< name of a unit of length; unset: metres */
  int32_t elevationType;
} Oprj_ElevationInfo;

/** A new record: heights in metres above a datum of oprj_DatumInit. 1 "Error allocating
   ElevationInfo", 2 "Error returned from oprj_DatumInit". */
OPRJ_API Oprj_ElevationInfo *oprj_ElevationInfoCreate(Oerr_Report **err);
/** Copies unit, type and datum (never opened grid data) into `target`, unchanged on failure, or
   into a new record when it is null: 1 "Invalid input Oprj_ElevationInfo", 2 "Error returned from
   oprj_ElevationInfoCreate", 3 to 7 callees. */
OPRJ_API Oprj_ElevationInfo *oprj_ElevationInfoCopy(const Oprj_ElevationInfo *source,
                                                    Oprj_ElevationInfo *target, Oerr_Report **err);
/** 1 when elevations of both mean the same: types, datums (an undefined one equals none but
   undefined ones) and units, which need not bear one name. Two nulls are equal, one is 0 with 1
   "One of the input elevation info's is NULL". */
OPRJ_API int32_t oprj_ElevationInfosEqual(const Oprj_ElevationInfo *first,
                                          const Oprj_ElevationInfo *second, Oerr_Report **err);
/** Frees a record with its datum and nulls the pointer. */
OPRJ_API void oprj_ElevationInfoFree(Oprj_ElevationInfo **info);

OPRJ_END_C

#endif
