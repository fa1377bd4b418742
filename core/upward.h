// What records and tables need from the rooms above them: declared here, defined there.
#ifndef OPRJ_CORE_UPWARD_H
#define OPRJ_CORE_UPWARD_H

#include <oprj/ofio.h>
#include <oprj/parameters.h>
#include <oprj/tables.h>

extern "C" {

// datum/datum_shift.h
Oprj_GridData *oprj_DatumGridFileOpen(const char *name, Oerr_Report **err);
void oprj_DatumGridFileClose(Oprj_GridData **grid);
Oprj_ShiftSurface *oprj_ShiftSurfaceDuplicate(const Oprj_ShiftSurface *surface, Oerr_Report **err);
void oprj_ShiftSurfaceFree(Oprj_ShiftSurface **surface);

// projections/families.h
int32_t oprj_NADCodeGet(const Oprj_ProParameters *record);

}  // extern "C"

namespace OrvikDatum {

/// The directories that hold datum definitions and grids, from "ORVIK_DATUMS_PATH" (unset: the
/// current directory); free with ofio_SearchListFree.
Ofio_SearchList *DatumManagerGetConfigurationSearchList(Oerr_Report **err);

}  // namespace OrvikDatum

namespace orvik::oprj {

/// Takes back a dictionary of oprj_InitDictionaryCreate whose data nobody has seen, unless shared
/// designs were made in it since.
void withdrawDictionary(Omif_Dictionary *dictionary);

/// A new shift surface from its description in a spheroid table; free with oprj_ShiftSurfaceFree.
Oprj_ShiftSurface *shiftSurfaceFromSource(const Oprj_SurfaceSource &source, Oerr_Report **err);

}  // namespace orvik::oprj

#endif
