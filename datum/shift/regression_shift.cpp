// Multiple regression equations of regional datums.
#include "datum/shift/regression_shift.h"

#include <oprj/datum_shift.h>

#include <cstring>

#include "datum/legs.h"
#include "datum/shift/regression_kernels.h"
#include "datum/shift/tally.h"
#include "lanes/kernels.h"
#include "records/text.h"
#include "toolkit/error_scope.h"

namespace orvik::oprj {

using toolkit::ErrorScope;

OPRJ_KERNELS(RegressionKernels, regressionKernels)

namespace {

constexpr int32_t kNoEquations = -1;

}  // namespace

int32_t equationsOf(const char *datumName) {
  for (int32_t i = 0; datumName && i < kRegressionDatums; ++i) {
    if (std::strcmp(kRegressions[i].datum, datumName) == 0) return i;
  }
  return kNoEquations;
}

void moveByRegression(int32_t equations, const Oprj_Point *in, Oprj_Point *out, int32_t count) {
  constexpr double kForward = 1.0;
  regressionKernelsInUse().shift[equations](in, out, count, nullptr, kForward);
}

bool hasRegression(const char *datumName) { return equationsOf(datumName) != kNoEquations; }

RegressionShift::RegressionShift(const char *datumName, bool forward)
    : datum_(equationsOf(datumName)), forward_(forward) {}

bool RegressionShift::run(const Oprj_Point *in, Oprj_Point *out, int32_t count,
                          Oprj_PointReason *reasons, Oerr_Report **err) const {
  ErrorScope e("oprj_DatumShiftRegression", err);
  if (!in || !out || count < 1) return e.fail(1, "Empty argument(s).");
  const RegressionKernels &kernels = regressionKernelsInUse();
  if (datum_ == kNoEquations) kernels.normalise(out, count);
  else
    shiftTally().outsideArea +=
        kernels.shift[datum_](in, out, count, reasons, forward_ ? 1.0 : -1.0);
  return true;
}

SharedLeg makeRegressionLeg(const char *datumName, bool forward) {
  return makeLeg<RegressionShift>(datumName, forward);
}

}  // namespace orvik::oprj

void oprj_DatumShiftRegression(const Oprj_Point *in, Oprj_Point *out, int32_t count,
                               const Oprj_Char *datumName, int32_t direction, Oerr_Report **err) {
  orvik::toolkit::ErrorScope e("oprj_DatumShiftRegression", err);
  const orvik::oprj::Utf8 name(datumName, e);
  if (e.failed()) return;
  orvik::oprj::RegressionShift(name, direction != 0).run(in, out, count, nullptr, err);
}
