/* Value records: counted texts, counted arrays of doubles, coordinates, sizes and points. A record
   that embeds an Oprj_CharStr or Oprj_DblArray owns its data buffer. Every operation takes the
   address of an error slot last (null is allowed), clears it without reading it, and fills it on
   failure. */
#ifndef OPRJ_VALUES_H
#define OPRJ_VALUES_H

#include "obase.h"
#include "oerr.h"

/** A unit of text: a byte of UTF-8, in the wide library (OPRJ_WIDE) a unit of UTF-16. */
#if defined(OPRJ_WIDE)
#if !defined(__cplusplus)
#include <uchar.h>
#endif
typedef char16_t Oprj_Char;
#elif defined(OPRJ_TEXTLESS) /* sources that both libraries share */
typedef struct Oprj_AnyChar Oprj_Char;
#else
typedef char Oprj_Char;
#endif

OPRJ_BEGIN_C

/** Which library this is: its version (10000 for a major one, 100 for a minor one, 1 for a patch)
   and the bytes of an Oprj_Char. Null outputs are skipped. */
OPRJ_API void oprj_BuildGet(int32_t *version, int32_t *textWidth);

/** A text: `count` units with the terminating zero; unset: 0 and null. */
typedef struct {
  int32_t count;
  Oprj_Char *data;
} Oprj_CharStr;

/** `count` doubles; empty: 0 and null. */
typedef struct {
  int32_t count;
  double *data;
} Oprj_DblArray;

typedef struct {
  double x, y;
} Oprj_Coordinate;

typedef struct {
  double width, height;
} Oprj_Size;

/** A point of a bare array whose length the caller keeps. Geographic: longitude, latitude in
   radians; projected: easting, northing in metres. */
typedef struct {
  double x, y;
} Oprj_Point;

/** A point in space: longitude, latitude (radians) and height (metres), or x, y, z in metres. */
typedef struct {
  double x, y, z;
} Oprj_Point3D;

/** Stores `source` without its trailing blanks, line feeds and carriage returns; null empties the
   record. `source` may be the target's own data. Returns the target, or null with 1 "Error
   allocating localstr", 2 "Error allocating charStr->data", 3 "Invalid output Oprj_CharStrPtr". */
OPRJ_API Oprj_CharStr *oprj_CharStrCreate(const Oprj_Char *source, Oprj_CharStr *target,
                                          Oerr_Report **err);

/** Copies (and so trims) a text; the target keeps its old text on failure: 1 "Invalid input
   Oprj_CharStrPtr", 2 "Invalid output Oprj_CharStrPtr", 3 "Error returned from
   oprj_CharStrCreate". */
OPRJ_API Oprj_CharStr *oprj_CharStrCopy(const Oprj_CharStr *source, Oprj_CharStr *target,
                                        Oerr_Report **err);

/** 1 for equal texts, case included; an unset text equals the empty one. Two null records are
   equal, one is 0 with 1 "Invalid input Oprj_CharStrPtr". */
OPRJ_API int32_t oprj_CharStrsEqual(const Oprj_CharStr *first, const Oprj_CharStr *second,
                                    Oerr_Report **err);

/** A new zero-terminated copy (omsc_HeapFree), or null for a null record, null data or no memory.
 */
OPRJ_API Oprj_Char *oprj_CharStrToString(const Oprj_CharStr *text);

/** Frees the data and empties the record. */
OPRJ_API void oprj_CharStrFree(Oprj_CharStr *text);

/** Makes the array `count` zeros long and returns it; 0 empties it. Null, the array unchanged, with
   1 "Error allocating dblArray->data", 2 "Count is less than 0", 3 "Invalid output
   Oprj_DblArrayPtr". */
OPRJ_API Oprj_DblArray *oprj_DblArrayCreate(int32_t count, Oprj_DblArray *target,
                                            Oerr_Report **err);

/** Copies the elements. A shorter target grows; a longer one is cut when `shrink` is not 0,
   otherwise it keeps its length and its surplus elements. 1 "Invalid input Oprj_DblArrayPtr", 2
   "Invalid output Oprj_DblArrayPtr", 3 "Error returned from oprj_DblArrayCreate". */
OPRJ_API Oprj_DblArray *oprj_DblArrayCopy(const Oprj_DblArray *source, Oprj_DblArray *target,
                                          int32_t shrink, Oerr_Report **err);

/** 1 when no element differs by more than 1e-9, missing elements counting as 0. Two null arrays are
   equal, one is 0 with 1 "Invalid input Oprj_DblArrayPtr". */
OPRJ_API int32_t oprj_DblArraysEqual(const Oprj_DblArray *first, const Oprj_DblArray *second,
                                     Oerr_Report **err);

/** Frees the elements and empties the record. */
OPRJ_API void oprj_DblArrayFree(Oprj_DblArray *array);

/** A new coordinate (0, 0), freed by oprj_CoordinateFree; 1 "Error allocating Coordinate". */
OPRJ_API Oprj_Coordinate *oprj_CoordinateCreate(Oerr_Report **err);
/** Copies into `target`, or into a new record when it is null: 1 "Invalid input Oprj_Coordinate", 2
   "Error returned from oprj_Coordinate". */
OPRJ_API Oprj_Coordinate *oprj_CoordinateCopy(const Oprj_Coordinate *source,
                                              Oprj_Coordinate *target, Oerr_Report **err);
/** 1 when both fields differ by at most 1e-9; two nulls are equal, one null is 0 with 1 "One
   of the input coord's is NULL". */
OPRJ_API int32_t oprj_CoordinatesEqual(const Oprj_Coordinate *first, const Oprj_Coordinate *second,
                                       Oerr_Report **err);
/** Frees a coordinate and nulls the pointer. */
OPRJ_API void oprj_CoordinateFree(Oprj_Coordinate **coordinate);

/* Sizes as coordinates: "Error allocating Size", "Invalid input Oprj_Size", "Error returned from
   oprj_Size", "One of the input size's is NULL". */
OPRJ_API Oprj_Size *oprj_SizeCreate(Oerr_Report **err);
OPRJ_API Oprj_Size *oprj_SizeCopy(const Oprj_Size *source, Oprj_Size *target, Oerr_Report **err);
OPRJ_API int32_t oprj_SizesEqual(const Oprj_Size *first, const Oprj_Size *second,
                                 Oerr_Report **err);
OPRJ_API void oprj_SizeFree(Oprj_Size **size);

/** A new array of `count` points, all 0.0 (0 gives a valid array); 1 "Error allocating Points". */
OPRJ_API Oprj_Point *oprj_PointsCreate(uint32_t count, Oerr_Report **err);
/** Copies `count` points into `target`, or into a new array when it is null: 1 "Invalid input
   Oprj_Point", 2 "Error return from oprj_PointsCreate". */
OPRJ_API Oprj_Point *oprj_PointsCopy(const Oprj_Point *source, Oprj_Point *target, uint32_t count,
                                     Oerr_Report **err);
/** Frees an array of the library and nulls the pointer. */
OPRJ_API void oprj_PointsFree(Oprj_Point **points);

OPRJ_END_C

#endif
