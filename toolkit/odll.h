/* Shared libraries opened while the program runs. Every Odll_Library is one file, however many
   times it is opened and by whichever name: opening it again counts another user, and the last
   close takes it out of the process, unless the file itself asks to stay (linked with -z nodelete).
   Opening and closing run under the toolkit's guard; the code of a library may be called without.
 */
#ifndef OPRJ_ODLL_H
#define OPRJ_ODLL_H

#include "ofio.h"

OPRJ_BEGIN_C

typedef struct Odll_Library Odll_Library;

/** Opens a library, all its symbols resolved and none lent to others. A name with a slash or a
   drive is taken as it stands; another is looked for beside the toolkit's own library, in the
   folder oPrj there, then where the system looks: as it stands and, without its ending ".dll", as
   the platform spells a library's name ("thing.dll", "thing": "libthing.so"). Never in the current
   folder. Null with a report: 1 "Invalid input library name", 2 "NAME:  Library not found", 3
   "Cannot open the library NAME" over the system's reason, 4 "Out of memory". */
OPRJ_API Odll_Library *odll_Open(const char *name, Oerr_Report **err);

/** The same for the first file called `name`, as it stands, along a list: 1 as above, 2 "Error
    returned from ofio_Which", 3, 4 as above. */
OPRJ_API Odll_Library *odll_OpenAlong(const Ofio_SearchList *list, const char *name,
                                      Oerr_Report **err);

/** The address of what a library calls `symbol`, or null when it has none (or for null). */
OPRJ_API void *odll_FindIfPresent(const Odll_Library *library, const char *symbol);

/** The path of the library's file; borrowed. */
OPRJ_API const char *odll_PathGet(const Odll_Library *library);

/** Ends one use and nulls the pointer; null and *null are accepted. */
OPRJ_API void odll_Close(Odll_Library **library);

/* --- lists of opened libraries, for who keeps something of his own for each --- */

typedef struct Odlm_List Odlm_List;

/** An empty list; free with odlm_ListFree. Null with 1 "Error allocating list of libraries". */
OPRJ_API Odlm_List *odlm_NewList(Oerr_Report **err);

/** The library of that file in the list: another use, to be closed. Null without a report when the
    list has none, with 1 "Invalid input list of libraries", 2 "Error returned from
    ofio_FileStampGet". */
OPRJ_API Odll_Library *odlm_Element(const Odlm_List *list, const char *path, Oerr_Report **err);

/** Adds a library, for which the list counts as a user until it is freed or has it removed; one
   that it holds is not added again. 1, or 0 with 1 "Invalid input list of libraries", 2 "Out of
   memory".
 */
OPRJ_API int32_t odlm_Add(Odlm_List *list, Odll_Library *library, Oerr_Report **err);

/** Takes a library out of the list and ends the list's use of it; 1 when it was there, else 0. */
OPRJ_API int32_t odlm_Remove(Odlm_List *list, const Odll_Library *library);

/** Frees a list, ending its uses, and nulls the pointer. */
OPRJ_API void odlm_ListFree(Odlm_List **list);

OPRJ_END_C

#endif
