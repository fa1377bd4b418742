/* Coordinate systems of authorities, by code and by name. codes.tab, beside the other reference
   tables, says which there are; the Projection Engine (engine.h) says what they are. */
#ifndef OPRJ_CODES_H
#define OPRJ_CODES_H

#include "text.h"

OPRJ_BEGIN_C

/** A system with a code. Lives as long as the process. */
typedef struct {
  const Oprj_Char *authority; /**< "EPSG", "ESRI" */
  int32_t number;
  int32_t projected; /**< 0: geographic */
  int32_t deprecated;
  double west, south, east, north; /**< its area, degrees; across the antimeridian east < west */
  const Oprj_Char *name;
  const Oprj_Char
      *engineName; /**< in texts of the Projection Engine; "": not known to be another one */
} Oprj_Code;

/** All systems with a code, `*count` of them, by authority and number: borrowed. They are read
   once, from codes.tab along ORVIK_PROJECTIONS_PATH or else ORVIK_DATUMS_PATH. Null (and 0) with 1
   "The table of codes cannot be read", 2 a line that is none, 5 memory; the next call tries again.
 */
OPRJ_API const Oprj_Code *oprj_CodesGet(int32_t *count, Oerr_Report **err);

/** The system that "EPSG:32618" or a name means; borrowed. Names are taken in any case, by their
   letters and digits alone; of two of one name the one that is not deprecated. Null without a
   report for a text that is neither. Null with 3 "Invalid input text", 4 (kind OPRJ_TEXT_NO_CODE,
   the nearest as suggestions) for a code that is not there, or what oprj_CodesGet reports. */
OPRJ_API const Oprj_Code *oprj_CodeFromText(const Oprj_Char *text, Oerr_Report **err);

/** New text: the system as the Projection Engine writes it, out of code_texts.tab, which is looked
   for as codes.tab is and may be missing, or else out of the engine's database. Null with 3
   "Invalid input Oprj_Code", 4 the engine's database cannot be used or does not have it, 5 memory.
 */
OPRJ_API Oprj_Char *oprj_CodeToPEString(const Oprj_Code *code, Oerr_Report **err);

OPRJ_END_C

#endif
