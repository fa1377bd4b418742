// Datums that were stored: their design has no name for the surface type, so that writers may have
// stored such a datum as one that is not set.
#ifndef OPRJ_INTERCHANGE_STORED_DATUM_H
#define OPRJ_INTERCHANGE_STORED_DATUM_H

#include <oprj/oint.h>
#include <oprj/parameters.h>

namespace orvik::oprj {

/// The datum is of the surface type, or is of the undefined type although it has a name that the
/// tables list as a surface datum of that spheroid.
bool isSurface(Oint_Toolkit *toolkit, const Oprj_Char *spheroidName, const Oprj_Datum &datum);

}  // namespace orvik::oprj

#endif
