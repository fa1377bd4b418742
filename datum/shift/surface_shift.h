// The shift between parametric and surface datums, prepared.
#ifndef OPRJ_DATUM_SURFACE_SHIFT_H
#define OPRJ_DATUM_SURFACE_SHIFT_H

#include <oprj/parameters.h>

#include "datum/shift/leg_steps.h"

namespace orvik::oprj {

/// From a surface datum through its base and the base's base to the first datum that both ends
/// share, or to one that has no base, over to the other end's, and down to it.
class SurfaceShift final : public ShiftLeg {
 public:
  /// May throw std::bad_alloc.
  SurfaceShift(const Oprj_Spheroid *source, const Oprj_Spheroid *destination);

  /// Reports as oprj_DatumShift4EllipsoidSurfaceDatum.
  bool run(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oprj_PointReason *reasons,
           Oerr_Report **err) const override;

 private:
  /// A report that every run makes again.
  struct KeptReport {
    toolkit::HeapText function, message;
    int32_t code;
  };
  class Maker;

  bool complete_;
  toolkit::HeapVector<KeptReport> failure_;  ///< why there are no steps, outermost first
  toolkit::HeapVector<LegStep> steps_;       ///< none: a copy
};

}  // namespace orvik::oprj

#endif
