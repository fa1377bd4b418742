/* Coordinate systems in whatever way a person names them. */
#ifndef OPRJ_SYSTEM_H
#define OPRJ_SYSTEM_H

#include "codes.h"
#include "parameters.h"
#include "text.h"

OPRJ_BEGIN_C

/** One more kind of Oprj_Note: what the map info of a layer does not tell. */
enum { OPRJ_NOTE_MAP_INFO = 24 };

/** A system as it was named. */
typedef struct {
  Oprj_ProParameters *record;
  const Ocvt_Unit *unit; /**< of points; borrowed */
  /** A text of the system, the same to oprj_ProParametersFromText wherever it is read: that of the
      file or of the code, else what was written, of a layer FILE::LAYER itself, as of
      an item that no text describes. */
  Oprj_Char *description;
  Oprj_Note *notes; /**< what is worth telling */
} Oprj_System;

/** The system that a person means by

     NAME; key=value; ...                        a description (text.h)
     PROJCS[...], GEOGCS[...]                     a text of the Projection Engine
     PATH.prj                                     a file with such a text
     EPSG:32618, ESRI:102003                      a code (codes.h)
     WGS 84 / UTM zone 18N                        the name of one
     FILE::LAYER                                  a layer of a node file, in the unit of its map
   info
     @LIBRARY/TITLE                               an item of a projection library

   as a new one; free it with oprj_SystemFree. Null with a report whose message speaks to that
   person: 3 "Invalid input text", 6 a file, a layer or an item that cannot be used, 7 memory, else
   what oprj_CodeFromText, oprj_CodeToPEString and oprj_ProParametersFromText report (the kinds of
   text.h). A grid that is missing is a note: only a shift needs it. */
OPRJ_API Oprj_System *oprj_SystemRead(Oint_Toolkit *toolkit, const Oprj_Char *written,
                                      Oerr_Report **err);
OPRJ_API void oprj_SystemFree(Oprj_System **system);

OPRJ_END_C

#endif
