// Shift surfaces, which are not built yet.
#include <oprj/datum_shift.h>

#include "tables/upward.h"
#include "toolkit/error_scope.h"

using orvik::toolkit::ErrorScope;

void oprj_DatumShift4EllipsoidSurfaceDatum(const Oprj_Point *in, const Oprj_Spheroid *source,
                                           Oprj_Point *out, const Oprj_Spheroid *destination,
                                           int32_t count, Oerr_Report **err) {
  ErrorScope e("oprj_DatumShift4EllipsoidSurfaceDatum", err);
  if (!in || !out || count < 1 || !source || !destination)
    return void(e.fail(1, "Empty argument(s)."));
  e.fail(2, "Shift surfaces are not built yet");
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
