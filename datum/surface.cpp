// Shift surfaces, which are not built yet.
#include <oprj/datum_shift.h>

#include "datum/legs.h"
#include "tables/upward.h"
#include "toolkit/error_scope.h"

using orvik::toolkit::ErrorScope;

namespace orvik::oprj {
namespace {

class SurfaceShift final : public ShiftLeg {
 public:
  SurfaceShift(const Oprj_Spheroid *source, const Oprj_Spheroid *destination)
      : complete_(source && destination) {}
  bool run(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oprj_PointReason *,
           Oerr_Report **err) const override {
    ErrorScope e("oprj_DatumShift4EllipsoidSurfaceDatum", err);
    if (!in || !out || count < 1 || !complete_) return e.fail(1, "Empty argument(s).");
    return e.fail(2, "Shift surfaces are not built yet");
  }

 private:
  bool complete_;
};

}  // namespace

SharedLeg makeSurfaceLeg(const Oprj_Spheroid *source, const Oprj_Spheroid *destination) {
  return makeLeg<SurfaceShift>(source, destination);
}

}  // namespace orvik::oprj

void oprj_DatumShift4EllipsoidSurfaceDatum(const Oprj_Point *in, const Oprj_Spheroid *source,
                                           Oprj_Point *out, const Oprj_Spheroid *destination,
                                           int32_t count, Oerr_Report **err) {
  orvik::oprj::SurfaceShift(source, destination).run(in, out, count, nullptr, err);
}

Oprj_ShiftSurface *oprj_ShiftSurfaceDuplicate(const Oprj_ShiftSurface *surface, Oerr_Report **err) {
  ErrorScope e("oprj_ShiftSurfaceDuplicate", err);
  if (!surface) return e.fail(1, "Invalid input Oprj_ShiftSurface");
  return e.fail(2, "Shift surfaces are not built yet");
}

void oprj_ShiftSurfaceFree(Oprj_ShiftSurface **surface) {
  if (surface) *surface = nullptr;  // there are none
}

Oprj_ShiftSurface *orvik::oprj::shiftSurfaceFromSource(const Oprj_SurfaceSource & /*source*/,
                                                       Oerr_Report **err) {
  ErrorScope e("shiftSurfaceFromSource", err);
  return e.fail(1, "Shift surfaces are not built yet");
}
