// What the tables need from the rooms above them: declared here, defined there. The layer test
// holds the list of all such symbols (tests/upward_symbols.txt).
#ifndef OPRJ_TABLES_UPWARD_H
#define OPRJ_TABLES_UPWARD_H

#include <oprj/ofio.h>
#include <oprj/tables.h>

extern "C" {

// datum/datum_shift.h
Oprj_GridData *oprj_DatumGridFileOpen(const Oprj_Char *name, Oerr_Report **err);

// projections/families.h
int32_t oprj_NADCodeGet(const Oprj_ProParameters *record);

// interchange/designs.h
Omif_Dictionary *oprj_InitDictionaryCreate(Oprj_InitData *data, Oerr_Report **err);

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
