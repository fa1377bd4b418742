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

/// The North American Datums by which State Plane zones are told apart.
struct NadDatum {
  int32_t code;  ///< as slot 0 of a State Plane record
  const char *key, *datum, *spheroid;
  /// As the zones' table has it.
  int32_t tableCode() const { return code == 1 ? 1 : 2; }
};
inline constexpr NadDatum kNadDatums[] = {{1, "27", "NAD27", "Clarke 1866"},
                                          {2, "83", "NAD83", "GRS 1980"},
                                          {3, "harn", "HARN", "GRS 1980"}};

}  // namespace orvik::oprj

#endif
