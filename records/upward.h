// What records need from the rooms above them: declared here, defined there. The layer test holds
// the list of all such symbols (tests/upward_symbols.txt).
#ifndef OPRJ_RECORDS_UPWARD_H
#define OPRJ_RECORDS_UPWARD_H

#include <oprj/parameters.h>

extern "C" {

// datum/datum_shift.h
void oprj_DatumGridFileClose(Oprj_GridData **grid);
Oprj_ShiftSurface *oprj_ShiftSurfaceDuplicate(const Oprj_ShiftSurface *surface, Oerr_Report **err);
void oprj_ShiftSurfaceFree(Oprj_ShiftSurface **surface);

}  // extern "C"

#endif
