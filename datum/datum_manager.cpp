// Where datum definitions and grids are looked for.
#include "tables/upward.h"

Ofio_SearchList *OrvikDatum::DatumManagerGetConfigurationSearchList(Oerr_Report **err) {
  return ofio_CreateSLFromEnv("ORVIK_DATUMS_PATH", ".", err);
}
