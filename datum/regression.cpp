// Multiple regression equations of regional datums. [TR8350.2] part 2. The equations themselves are
// not built yet.
#include "datum/regression.h"

#include <oprj/datum_shift.h>

#include <algorithm>
#include <cstring>

#include "toolkit/error_scope.h"

namespace orvik::oprj {
namespace {

constexpr const char *kNames[] = {
    "Australian Geodetic 1966 (MRE)",
    "Australian Geodetic 1984 (MRE)",
    "Campo Inchauspe (MRE)",
    "Corrego Alegre (MRE)",
    "European 1950 (West Europe) (MRE)",
    "NAD27 (Canada) (MRE)",
    "NAD27 (CONUS) (MRE)",
    "SAD69 (MRE)",
};

}  // namespace

bool hasRegression(const char *datumName) {
  return datumName && std::any_of(std::begin(kNames), std::end(kNames), [&](const char *name) {
           return std::strcmp(name, datumName) == 0;
         });
}

}  // namespace orvik::oprj

void oprj_DatumShiftRegression(const Oprj_Point *in, Oprj_Point *out, int32_t count,
                               const char *datumName, int32_t /*direction*/, Oerr_Report **err) {
  orvik::toolkit::ErrorScope e("oprj_DatumShiftRegression", err);
  if (!in || !out || count < 1) return void(e.fail(1, "Empty argument(s)."));
  // Kept: an unknown name is no error.
  if (orvik::oprj::hasRegression(datumName))
    e.fail(2, "The regression equations of datum \"%s\" are not built yet", datumName);
}
