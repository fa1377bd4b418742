// What the regression shift's kernels run on; it crosses instruction sets.
#ifndef OPRJ_DATUM_REGRESSION_KERNELS_H
#define OPRJ_DATUM_REGRESSION_KERNELS_H

#include <oprj/point_reason.h>
#include <oprj/values.h>

#include <cstdint>

#include "datum/shift/regression_equations.h"

namespace orvik::oprj {

/// Adds `sign` times the shifts to `count` points, in place when `in` is `out`. Returns how many
/// lay outside of the area of the equations; `reasons` may be null.
using RegressionKernel = int64_t (*)(const Oprj_Point *in, Oprj_Point *out, int32_t count,
                                     Oprj_PointReason *reasons, double sign);

struct RegressionKernels {
  RegressionKernel shift[kRegressionDatums];
  /// Folds latitudes over the poles and wraps longitudes, nothing else.
  void (*normalise)(Oprj_Point *points, int32_t count);
};

}  // namespace orvik::oprj

#endif
