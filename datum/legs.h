// The legs that the dispatcher makes, by kind; null when there is no memory.
#ifndef OPRJ_DATUM_LEGS_H
#define OPRJ_DATUM_LEGS_H

#include <oprj/parameters.h>

#include "datum/shift/leg.h"

namespace orvik::oprj {

/// datum/shift/grid_shift.cpp: reports as oprj_DatumShiftGrid.
SharedLeg makeGridLeg(const Oprj_Datum *source, const Oprj_Datum *destination);

/// datum/shift/regression_shift.cpp: reports as oprj_DatumShiftRegression.
SharedLeg makeRegressionLeg(const char *datumName, bool forward);
/// The name (exact; null: none) is that of a datum with built-in equations.
bool hasRegression(const char *datumName);

/// datum/shift/surface_shift.cpp: reports as oprj_DatumShift4EllipsoidSurfaceDatum.
SharedLeg makeSurfaceLeg(const Oprj_Spheroid *source, const Oprj_Spheroid *destination);

}  // namespace orvik::oprj

#endif
