// The parametric shift, prepared: what its kernels run on, and one shift made ready once and run
// over any number of points.
#ifndef OPRJ_DATUM_PARAMETRIC_H
#define OPRJ_DATUM_PARAMETRIC_H

#include <oprj/datum_shift.h>

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

/// A parametric shift between two spheroids. Preparing it allocates nothing and cannot fail: what
/// is wrong with the spheroids is found there and reported by each run, behind the checks of the
/// run's own arguments, as in one call of oprj_DatumShiftParametric.
class ParametricShift {
 public:
  /// Reads both spheroids; neither is needed afterwards.
  void prepare(const Oprj_Spheroid *source, const Oprj_Spheroid *destination);
  /// Shifts `count` points, in place when `in` is `out`. False with the report of
  /// oprj_DatumShiftParametric.
  bool run(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oerr_Report **err) const;

 private:
  enum class Step { kNoSpheroid, kWrongTypes, kBadAxes, kBadParameters, kCopy, kShift };
  Step step_ = Step::kNoSpheroid;
  ParametricKernel kernel_ = nullptr;
  ParametricBlock block_;
};

}  // namespace orvik::oprj

#endif
