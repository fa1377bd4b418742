/* Projection libraries: named collections of coordinate systems with titles, codes, units, areas
   and categories, kept in files (docs/projection-libraries.md describes their language). A file is
   read whole and a system made when it is asked for. Any number of threads may read a library;
   whoever changes or frees it must be alone. Files are UTF-8; "any case" is that of ASCII. */
#ifndef OPRJ_PROJECTION_LIBRARY_H
#define OPRJ_PROJECTION_LIBRARY_H

#include "elevation_info.h"
#include "projection.h"

OPRJ_BEGIN_C

typedef struct Oprj_ProjectionLibrary Oprj_ProjectionLibrary;
typedef struct Oprj_ProjectionItemSystem Oprj_ProjectionItemSystem;

/** A coordinate system of a library. Items that a library lends stay as they are until they are
    removed or the library is freed. Of texts null means the same as empty. */
typedef struct {
  const Oprj_Char *title;    /**< unique in its library, in any case */
  const Oprj_Char *category; /**< the categories around it, outermost first, "/" between them */
  const Oprj_Char *code;     /**< "EPSG:32618" and the like */
  const Oprj_Char *unit;     /**< of points; empty: that of `string`, else metres or degrees */
  int32_t hasArea;           /**< 1: the next four say where it is used */
  double west, south, east, north; /**< degrees; east is below west across 180 degrees */
  const Oprj_Char *elevation;      /**< VERTCS[...] */
  /* The system: the first of these that is there. Lent items have `system`, and `string` when they
     hold a text. */
  const Oprj_ProjectionItemSystem *system; /**< that of a lent item */
  const Oprj_Char *string;          /**< PROJCS[...] or GEOGCS[...] of the Projection Engine */
  const Oprj_ProParameters *record; /**< of an item that is to be added */
} Oprj_ProjectionItem;

/** The names of the libraries along ORVIK_PROJECTIONS_PATH (without it the current directory): new,
    *count many, free with oprj_ProjectionLibraryNamesFree. Of several of one name (any case) the
   first counts; files whose name cannot be read are told to the message log. 1 "Invalid output
   count", 2 "Error returned from ofio_CreateSLFromEnv", 3 "Out of memory". */
OPRJ_API Oprj_Char **oprj_ProjectionLibraryNames(Oint_Toolkit *toolkit, int32_t *count,
                                                 Oerr_Report **err);
/** Frees the names and nulls the pointer. */
OPRJ_API void oprj_ProjectionLibraryNamesFree(Oprj_Char ***names);
/** Reads a library by its name (any case), or the file of a name that ends in ".plib": as it
    stands, else along the search list. 1 "Invalid input library name", 2 "Error returned from
    ofio_CreateSLFromEnv", 3 "There is no projection library ..." (the nearest names are its
    suggestions), 4 "Error returned from olex_Parse" (a damaged file: line and column), 5 "Out of
    memory". */
OPRJ_API Oprj_ProjectionLibrary *oprj_ProjectionLibraryOpen(Oint_Toolkit *toolkit,
                                                            const Oprj_Char *nameOrFile,
                                                            Oerr_Report **err);
/** A new library without items: 1 "Invalid input library name" for an empty one or one with "/", or
    that no file can hold it (quotes, line breaks, a blank at its end), 2 "Out of memory". */
OPRJ_API Oprj_ProjectionLibrary *oprj_ProjectionLibraryCreate(const Oprj_Char *name,
                                                              Oerr_Report **err);
/** Writes the library into a file that is there whole or not at all; comments and categories
    without items do not come back. What is written reads back and is written as the same bytes. 1,
    or 0 with 1 "Invalid input Oprj_ProjectionLibrary", 2 "Invalid input file name", 3 the file and
    the system's reason, 4 "Out of memory". */
OPRJ_API int32_t oprj_ProjectionLibraryWrite(const Oprj_ProjectionLibrary *library,
                                             const Oprj_Char *file, Oerr_Report **err);
/** Frees a library with its items and nulls the pointer. */
OPRJ_API void oprj_ProjectionLibraryFree(Oprj_ProjectionLibrary **library);

/** Name and description, lent; "" for none. */
OPRJ_API const Oprj_Char *oprj_ProjectionLibraryName(const Oprj_ProjectionLibrary *library);
OPRJ_API const Oprj_Char *oprj_ProjectionLibraryDescription(const Oprj_ProjectionLibrary *library);

/** The number of items; 0 without a library. */
OPRJ_API int32_t oprj_ProjectionLibraryCount(const Oprj_ProjectionLibrary *library);
/** An item by its place in the file, from 0, or by its title in any case: lent, null when there is
    none. */
OPRJ_API const Oprj_ProjectionItem *oprj_ProjectionLibraryItem(
    const Oprj_ProjectionLibrary *library, int32_t index);
OPRJ_API const Oprj_ProjectionItem *oprj_ProjectionLibraryFind(
    const Oprj_ProjectionLibrary *library, const Oprj_Char *title);

/** Appends a copy of an item: 1, or 0 with 1 "Invalid input Oprj_ProjectionLibrary", 2 "Invalid
    input Oprj_ProjectionItem", 3 "The title ... is taken", 4 what a library cannot hold: texts with
    quotes or line breaks, titles that are empty or end in a blank, an area that is none, records
    with a datum other than the tables have it. 5 "Out of memory". */
OPRJ_API int32_t oprj_ProjectionLibraryAdd(Oprj_ProjectionLibrary *library,
                                           const Oprj_ProjectionItem *item, Oerr_Report **err);
/** Takes an item out: 1, or 0 with 1 "Invalid input Oprj_ProjectionLibrary", 2 "There is no item
    ..." (the nearest titles are its suggestions), 3 "Out of memory". */
OPRJ_API int32_t oprj_ProjectionLibraryRemove(Oprj_ProjectionLibrary *library,
                                              const Oprj_Char *title, Oerr_Report **err);

/** The indices of the items that fit everything asked for; null or empty asks for nothing. `words`:
    each, between blanks, is in title, code or categories, in any case. `category`: one of the
    categories around the item, or several with "/" between them. `place`: longitude and latitude in
    degrees inside the item's area; smaller areas then come first, else the order is the library's.
    A new array (omsc_HeapFree) of *count. Null with 1 "Invalid input Oprj_ProjectionLibrary", 2
    "Invalid output count", 3 "Out of memory". */
OPRJ_API int32_t *oprj_ProjectionLibrarySearch(const Oprj_ProjectionLibrary *library,
                                               const Oprj_Char *words, const Oprj_Char *category,
                                               const Oprj_Coordinate *place, int32_t *count,
                                               Oerr_Report **err);

/** Builds *handle (nulled first) of an item: 1, or 0 with 1 "Args", 2 "Error returned from
    oprj_Init", 3 what is wrong with the item (a spheroid that is not in the tables, a text that
    cannot be read), 4 "Out of memory", 5 "Error returned from oprj_ProjectionInit". A datum that is
    not in the tables is only a name: this is told to the message log. Grids are opened by the shift
    that needs them. */
OPRJ_API int32_t oprj_ProjectionItemInit(Oint_Toolkit *toolkit, const Oprj_ProjectionItem *item,
                                         Oprj_MapProjectionEx **handle, Oerr_Report **err);

/** The first item of the library whose points mean the same as those of `projection` in `unitName`
    (null: metres or degrees), unit factors within 1e-9: lent; null without a report when there is
    none. UTM (1), Transverse Mercator (9) and Gauss-Krueger (36) are compared as Transverse
    Mercator: meridian and latitude within 1e-10 degrees, scale 1e-12, offsets 1e-6 m, axes 1e-5 m,
    datums by name, "Undefined" equal to itself alone. All others as oprj_MapProjectionEqual does.
    Items that cannot be made equal nothing. The first call makes an index. 1 "Args", 2 "Error
    returned from oprj_InitDataGet", 3 "Error returned from ocvt_UnitSetByName", 4 why an engine's
    system that has a number cannot be projected, 5 "Out of memory". */
OPRJ_API const Oprj_ProjectionItem *oprj_ProjectionLibraryEquivalent(
    const Oprj_ProjectionLibrary *library, const Oprj_MapProjectionEx *projection,
    const Oprj_Char *unitName, Oerr_Report **err);

/** A new UTM record that means the same as a record of UTM, Transverse Mercator or Gauss-Krueger
    (1, 9, 36), within the tolerances of oprj_ProjectionLibraryEquivalent; null without a report
   when there is none. 1 "Invalid input Oprj_ProParameters", 2 "Error returned from
   oprj_InitDataGet", 3 "Out of memory". */
OPRJ_API Oprj_ProParameters *oprj_ProParametersEquivalentUTM(Oint_Toolkit *toolkit,
                                                             const Oprj_ProParameters *record,
                                                             Oerr_Report **err);
/** The same for a new Transverse Mercator record (9). */
OPRJ_API Oprj_ProParameters *oprj_ProParametersEquivalentTM(Oint_Toolkit *toolkit,
                                                            const Oprj_ProParameters *record,
                                                            Oerr_Report **err);

OPRJ_END_C

#endif
