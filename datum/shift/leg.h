// A datum shift made ready once and run over any number of points: what every kind of shift is to
// the dispatcher and the pipeline.
//
// A leg is made from two spheroids or datums and needs neither afterwards; what it opens or looks
// up it does then. It cannot fail to be made but for want of memory: what is wrong with its ends is
// found there and reported by each run, behind the checks of the run's own arguments, so that a run
// reports as the leg's flat operation does, which is making and running in one. A leg never
// changes: plans and threads share it.
#ifndef OPRJ_DATUM_SHIFT_LEG_H
#define OPRJ_DATUM_SHIFT_LEG_H

#include <oprj/point_reason.h>
#include <oprj/values.h>

#include <memory>
#include <new>
#include <utility>

#include "toolkit/heap.h"

namespace orvik::oprj {

class ShiftLeg : public toolkit::HeapRecord {
 public:
  /// Shifts `count` points (longitude, latitude in radians); `in` and `out` are the same array or
  /// do not overlap. A point's result depends on the point alone. False with a report of the leg's
  /// operation when the points cannot be shifted.
  ///
  /// `reasons`, unless null, holds one a point: the leg sets that of a point for which its result
  /// stands for nothing (outside the grid, say) and leaves the others alone. The result is the same
  /// with reasons and without.
  virtual bool run(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oprj_PointReason *reasons,
                   Oerr_Report **err) const = 0;

 protected:
  ~ShiftLeg() = default;  // a SharedLeg knows the leg's own class
};

using SharedLeg = std::shared_ptr<const ShiftLeg>;

/// A new leg on the counted heap; null when there is no memory.
template <class Leg, class... Ends>
std::shared_ptr<Leg> makeLeg(Ends &&...ends) noexcept {
  try {
    // not allocate_shared, whose tag is a unique symbol: it would keep the library from unloading
    return std::shared_ptr<Leg>(new Leg(std::forward<Ends>(ends)...), std::default_delete<Leg>(),
                                toolkit::HeapAllocator<Leg>());
  } catch (const std::bad_alloc &) {
    return nullptr;
  }
}

}  // namespace orvik::oprj

#endif
