// The multiple regression shift, prepared.
#ifndef OPRJ_DATUM_REGRESSION_SHIFT_H
#define OPRJ_DATUM_REGRESSION_SHIFT_H

#include "datum/shift/leg.h"

namespace orvik::oprj {

/// The index of a datum's equations (regression_equations.h), -1 for a name (null: none) that has
/// none.
int32_t equationsOf(const char *datumName);
/// Where equations move points (radians), counted nowhere.
void moveByRegression(int32_t equations, const Oprj_Point *in, Oprj_Point *out, int32_t count);

/// A shift between one of the eight datums and WGS 84.
class RegressionShift final : public ShiftLeg {
 public:
  RegressionShift(const char *datumName, bool forward);

  /// Reports as oprj_DatumShiftRegression. Kept: a name without equations leaves `out` as it was
  /// but for folding and wrapping.
  bool run(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oprj_PointReason *reasons,
           Oerr_Report **err) const override;

 private:
  int32_t datum_;  ///< index of the equations, or -1
  bool forward_;
};

}  // namespace orvik::oprj

#endif
