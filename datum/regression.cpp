// Multiple regression equations of regional datums. [TR8350.2] part 2. The equations themselves are
// not built yet.
#include <oprj/datum_shift.h>

#include <algorithm>
#include <cstring>

#include "datum/legs.h"
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

/// The name in the table; null when there are no such equations.
const char *equationsOf(const char *datumName) {
  if (!datumName) return nullptr;
  const auto *found = std::find_if(std::begin(kNames), std::end(kNames), [&](const char *name) {
    return std::strcmp(name, datumName) == 0;
  });
  return found == std::end(kNames) ? nullptr : *found;
}

class RegressionShift final : public ShiftLeg {
 public:
  RegressionShift(const char *name, bool /*forward*/) : name_(equationsOf(name)) {}
  bool run(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oprj_PointReason *,
           Oerr_Report **err) const override {
    toolkit::ErrorScope e("oprj_DatumShiftRegression", err);
    if (!in || !out || count < 1) return e.fail(1, "Empty argument(s).");
    if (!name_) return true;  // Kept: an unknown name is no error.
    return e.fail(2, "The regression equations of datum \"%s\" are not built yet", name_);
  }

 private:
  const char *name_;
};

}  // namespace

bool hasRegression(const char *datumName) { return equationsOf(datumName); }

SharedLeg makeRegressionLeg(const char *datumName, bool forward) {
  return makeLeg<RegressionShift>(datumName, forward);
}

}  // namespace orvik::oprj

void oprj_DatumShiftRegression(const Oprj_Point *in, Oprj_Point *out, int32_t count,
                               const char *datumName, int32_t direction, Oerr_Report **err) {
  orvik::oprj::RegressionShift(datumName, direction != 0).run(in, out, count, nullptr, err);
}
