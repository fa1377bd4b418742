// The portable form of the Projection Engine's systems, for their function set.
#ifndef OPRJ_INTERCHANGE_ENGINE_PORTABLE_H
#define OPRJ_INTERCHANGE_ENGINE_PORTABLE_H

#include <oprj/omif.h>

namespace orvik::oprj {

/// A new coordinate system object from one of the design "PE_COORDSYS" or "PE_PROJCS": 1
/// "Unrecognized design name", 2 to 4 (the text cannot be had), 5 "OAWP_FCLL_PE
/// (pe_coordsys_from_string) failed".
void *peProjectionConvertFromMIFable(const void *object, const Omif_Design *design,
                                     Oerr_Report **err);
/// A new object with the system's whole text, and its design, lent: 1 "OAWP_FCLL_PE
/// (pe_coordsys_to_string) failed", 2 and 3.
void *peProjectionConvertToMIFable(const void *data, const Omif_Design **design, Oerr_Report **err);

}  // namespace orvik::oprj

#endif
