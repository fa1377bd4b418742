/* Coordinate systems as people write them: `NAME; key=value; ...`.

   NAME is a projection of the dictionary, in any case, or its number. The keys:

     zone, south   UTM: 1 to 60, also 17N or 17S; State Plane: number, FIPS code or "STATE ZONE"
     nad           27, 83 or harn: the North American Datum, which State Plane zones need
     datum         a datum of the tables, or a common name of one; it brings its spheroid
     spheroid      a spheroid, to go without a datum or to say on which one the datum lies
     a, b          axes in metres, instead of datum and spheroid
     units         of points; degrees or metres when left out
     lon_0, ...    the keys of the projection's questions in the dictionary: degrees (decimal or
                   d:m:s) and metres
     p0 to p14     slots directly, in radians and metres; a suffix d means degrees

   "external PROGRAM" is a projection that a program or a plug-in of that name computes
   (external_projections.h): with the keys of the dictionary where it knows the program, else with
   p0 to p14.

   A text of the Projection Engine (PROJCS[...], GEOGCS[...]; engine.h) is taken as well. */
#ifndef OPRJ_TEXT_H
#define OPRJ_TEXT_H

#include "ocvt.h"
#include "parameters.h"
#include "tables.h"

OPRJ_BEGIN_C

/** Kinds of reports (oerr_KindGet). Where a name is unknown or ambiguous the names that could stand
    instead are suggestions of the report (oerr_SuggestionGet). */
enum {
  OPRJ_TEXT_UNREADABLE = 1, /**< not in this form at all */
  OPRJ_TEXT_NO_PROJECTION = 2,
  OPRJ_TEXT_NO_SPHEROID = 3,
  OPRJ_TEXT_NO_DATUM = 4,
  OPRJ_TEXT_NO_ZONE = 5,
  OPRJ_TEXT_NO_UNIT = 6,
  OPRJ_TEXT_NO_KEY = 7,
  OPRJ_TEXT_AMBIGUOUS = 8,      /**< a common name of several datums or spheroids */
  OPRJ_TEXT_VALUE = 9,          /**< a value that its key cannot have */
  OPRJ_TEXT_INCOMPLETE = 10,    /**< something needed is left out; what is there is right */
  OPRJ_TEXT_CONTRADICTION = 11, /**< keys that exclude each other, or one that is not read */
  OPRJ_TEXT_NO_CODE = 12        /**< of no system (codes.h) */
};

/** kind of Oprj_Note. */
enum {
  OPRJ_NOTE_NAME = 1,     /**< which name was taken for a common one */
  OPRJ_NOTE_NO_DATUM = 2, /**< a system without a datum is not shifted */
  OPRJ_NOTE_GRID = 3,     /**< the grid of the datum cannot be opened: no shift can be made */
  OPRJ_NOTE_NO_NUMBER = 4 /**< the engine's system has no projection number: the record holds its
                               text (oprj_ProParametersHoldingPEString) */
};

/** Something that a user should be told. */
typedef struct Oprj_Note Oprj_Note;
struct Oprj_Note {
  Oprj_Note *next;
  int32_t kind;
  Oprj_Char *text;
};
OPRJ_API void oprj_NotesFree(Oprj_Note **list);

/** A new record of the system that `text` describes; null with a report whose message speaks to
   the person who wrote the text. *unit (skipped when null) becomes the unit of points, borrowed;
   *notes (nulled first, skipped when null) what is worth telling, free with oprj_NotesFree. A grid
   that is missing is a note: only a shift needs it. */
OPRJ_API Oprj_ProParameters *oprj_ProParametersFromText(Oint_Toolkit *toolkit,
                                                        const Oprj_Char *text,
                                                        const Ocvt_Unit **unit, Oprj_Note **notes,
                                                        Oerr_Report **err);

/** The projection of the dictionary that `name` means, by name in any case or by number; null with
   a report of kind OPRJ_TEXT_NO_PROJECTION. Borrowed. */
OPRJ_API const Oprj_Query *oprj_QueryFromText(Oint_Toolkit *toolkit, const Oprj_Char *name,
                                              Oerr_Report **err);
/** 1 when this library computes the projection itself. */
OPRJ_API int32_t oprj_QueryIsComputed(const Oprj_Query *query);

/** New text from which oprj_ProParametersFromText makes an equal record, entry for entry and bit
   for bit. Null with a report when there is none: a projection, datum or zone that the tables do
   not know as the record has it. `unit`: of points; null: degrees or metres. */
OPRJ_API Oprj_Char *oprj_ProParametersToText(Oint_Toolkit *toolkit,
                                             const Oprj_ProParameters *record,
                                             const Ocvt_Unit *unit, Oerr_Report **err);

/** New text, a title for people: "UTM, Zone 17 South", "State Plane, California Zone 5 (NAD83)",
   else the projection's name. */
OPRJ_API Oprj_Char *oprj_ProParametersTitle(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                            Oerr_Report **err);

/** Visits the questions of a list with those of its conditions' branches: of all branches, or of
   those alone that `slots` (may be null) chooses. `condition` and `branch` are the ones around a
   question, null at the top. */
typedef void (*Oprj_QueryVisitor)(const Oprj_QueryEntry *entry, const Oprj_QueryEntry *condition,
                                  const Oprj_CondQueryEntry *branch, void *context);
OPRJ_API void oprj_QueryEntriesVisit(const Oprj_QueryEntry *list, const Oprj_DblArray *slots,
                                     Oprj_QueryVisitor visit, void *context);

OPRJ_END_C

#endif
