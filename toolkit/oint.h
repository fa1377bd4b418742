/* Start of the toolkit: the one per-process record. It exists once even when several libraries
   built on the toolkit are loaded; each library keeps its own data in a slot of its own name. */
#ifndef OPRJ_OINT_H
#define OPRJ_OINT_H

#include "obase.h"
#include "oerr.h"

OPRJ_BEGIN_C

typedef struct Oint_Toolkit Oint_Toolkit;

/** The process's record, always the same; never null. It lives as long as the process. Clears the
   slot. */
OPRJ_API Oint_Toolkit *oint_InitToolkit(Oerr_Report **err);

/** The address of the slot that `library` keeps its data in (null until set), or null for a null
    argument or no room (8 libraries). The address stays valid for the life of the process. */
OPRJ_API void **oint_LibrarySlot(Oint_Toolkit *toolkit, const char *library);

OPRJ_END_C

#endif
