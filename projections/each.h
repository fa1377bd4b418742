// The families' loops that go on after bad points.
#ifndef OPRJ_EACH_H
#define OPRJ_EACH_H

#include <oprj/map_projection.h>

#include "lanes/kernels.h"

namespace orvik::oprj {

/// A point function that ends at no point: those without a place become NaN, and their faults are
/// written to `faults` (one a point, may be null; faults that are there already stay). Other points
/// are as the point function makes them, bit for bit. Returns the number of points that came out as
/// NaN. `in` and `out` may be the same array; no pointer is checked.
using EachFunction = int32_t (*)(const double *block, const Oprj_Point *in, Oprj_Point *out,
                                 PointFault *faults, int32_t count);

/// The one that belongs to a family's point function; null for any other function.
EachFunction eachOf(Oprj_PointFunction function);

}  // namespace orvik::oprj

#endif
