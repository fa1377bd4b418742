// The parametric shift, prepared: what its kernels run on, and one shift made ready once and run
// over any number of points.
#ifndef OPRJ_DATUM_PARAMETRIC_H
#define OPRJ_DATUM_PARAMETRIC_H

#include <oprj/datum_shift.h>

#include "datum/shift/leg.h"

namespace orvik::oprj {

/// The documented block, and behind it the constants that the rearranged formulas of
/// parametric_kernels.cpp draw from it. Doubles and one integer only: it crosses instruction sets.
struct ParametricBlock {
  Oprj_ShiftParameters shift;
  // Molodensky's latitude increment, with M and N multiplied out (e² and b/a of the source)
  double overA;   ///< 1 / a
  double overM;   ///< 1 / (a (1 - e²))
  double squash;  ///< (da e² / a + df b/a) / (1 - e²)
  double bulge;   ///< df a/b
  // Bowring's latitude on the destination spheroid, both terms divided by a³
  double axes;     ///< 1 - e² = (b/a)²
  double polar;    ///< a² e² / b
  double equator;  ///< e² b³ / a²
};

/// Shifts `count` points; `in` and `out` may be the same array.
using ParametricKernel = void (*)(const ParametricBlock &block, const Oprj_Point *in,
                                  Oprj_Point *out, int32_t count);

/// The shift's two formulas for one instruction set.
struct ParametricKernels {
  ParametricKernel molodensky;  ///< modes 0 and 1
  ParametricKernel geocentric;  ///< mode 2
};

/// A parametric shift between two spheroids. Making it allocates nothing.
class ParametricShift final : public ShiftLeg {
 public:
  constexpr ParametricShift() = default;
  ParametricShift(const Oprj_Spheroid *source, const Oprj_Spheroid *destination);

  /// Reports as oprj_DatumShiftParametric.
  bool run(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oprj_PointReason *reasons,
           Oerr_Report **err) const override;
  /// What the formulas take; zeros for a copy.
  const Oprj_ShiftParameters &parameters() const { return block_.shift; }
  /// No run over an array of points fails.
  bool cannotFail() const { return step_ == Step::kCopy || step_ == Step::kShift; }

 private:
  enum class Step { kNoSpheroid, kWrongTypes, kBadAxes, kBadScale, kBadParameters, kCopy, kShift };
  bool refuseScaleOf(const Oprj_Datum &datum);

  Step step_ = Step::kNoSpheroid;
  ParametricBlock block_{};
  // What the report of a scale that no datum has says.
  static constexpr size_t kLongestName = 64;
  char name_[kLongestName] = "";
  double scale_ = 0.0;
};

}  // namespace orvik::oprj

#endif
