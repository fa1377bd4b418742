// What the tables need from the datum model, which is a room above them: declared here, defined
// there.
#ifndef OPRJ_CORE_DATUM_SEARCH_H
#define OPRJ_CORE_DATUM_SEARCH_H

#include <oprj/ofio.h>
#include <oprj/parameters.h>
#include <oprj/tables.h>

namespace OrvikDatum {

/// The directories that hold datum definitions and grids, from "ORVIK_DATUMS_PATH" (unset: the
/// current directory); free with ofio_SearchListFree.
Ofio_SearchList *DatumManagerGetConfigurationSearchList(Oerr_Report **err);

}  // namespace OrvikDatum

namespace orvik::oprj {

/// A new shift surface from its description in a spheroid table; free with oprj_ShiftSurfaceFree.
Oprj_ShiftSurface *shiftSurfaceFromSource(const Oprj_SurfaceSource &source, Oerr_Report **err);

}  // namespace orvik::oprj

#endif
