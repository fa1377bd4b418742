// The loaded reference data, as the rooms of this library reach it.
#ifndef OPRJ_TABLES_REFERENCE_DATA_H
#define OPRJ_TABLES_REFERENCE_DATA_H

#include <oprj/tables.h>

#include "records/records.h"

namespace orvik::oprj {

/// How every lookup begins: the reference data, loaded when the slot is empty. Null after reporting
/// 1 "Toolkit has not been initialized" or 2 "Error returned from oprj_Init". Takes no lock once
/// the data is there.
const Oprj_InitData *referenceData(ErrorScope &e, Oint_Toolkit *toolkit);

/// The same without a report of its own: null with oprj_Init's report.
const Oprj_InitData *loadedData(Oint_Toolkit *toolkit, Oerr_Report **err);

}  // namespace orvik::oprj

#endif
