// The angles of 15-entry parameter arrays, between packed degrees-minutes-seconds and radians.
#include <oprj/families.h>
#include <oprj/ocvt.h>

#include "toolkit/error_scope.h"

namespace {

using orvik::toolkit::ErrorScope;

constexpr int32_t kEntries = 15;
constexpr int32_t kToRadians = 0, kToPacked = 1;

int32_t convert(ErrorScope &e, Oprj_DblArray *array, int32_t number, int32_t direction) {
  if (!array || array->count != kEntries || !array->data)
    return e.fail(1, "Incorrect number of projection parameters");
  // Entry 2 of these is a scale factor or a height.
  const int32_t first = number == 9 || number == 15 || number == 20 ? 3 : 2;
  double converted[kEntries];
  for (int32_t i = first; i <= 5; ++i) {
    if (direction == kToRadians) {
      converted[i] = ocvt_GCTPPackedDMS2Radians(array->data[i], e.cause());
    } else {
      converted[i] = ocvt_Radians2GCTPPackedDMS(array->data[i], e.cause());
    }
    // Kept: one text for both directions; the cause tells which.
    if (e.calleeFailed()) return e.fail(2, "Error returned from ocvt_GCTPPackedDMS2Radians");
  }
  for (int32_t i = first; i <= 5; ++i) array->data[i] = converted[i];
  return 1;
}

}  // namespace

int32_t oprj_GCTPProParamsConvert(Oprj_DblArray *array, int32_t number, int32_t direction,
                                  Oerr_Report **err) {
  ErrorScope e("oprj_GCTPProParamsConvert", err);
  return convert(e, array, number, direction);
}

int32_t oprj_GCTPProParams2Radians(Oprj_DblArray *array, int32_t number, Oerr_Report **err) {
  ErrorScope e("oprj_GCTPProParams2Radians", err);
  return convert(e, array, number, kToRadians);
}

int32_t oprj_Radians2GCTPProParams(Oprj_DblArray *array, int32_t number, Oerr_Report **err) {
  ErrorScope e("oprj_Radians2GCTPProParams", err);
  return convert(e, array, number, kToPacked);
}
