// Grid shifts. Grids are looked up already; reading them is not built yet.
#include <oprj/datum_shift.h>
#include <oprj/ofio.h>

#include "datum/legs.h"
#include "tables/upward.h"
#include "toolkit/error_scope.h"
#include "toolkit/heap.h"

using orvik::toolkit::ErrorScope;
using orvik::toolkit::HeapBlock;
using orvik::toolkit::Owner;

Oprj_GridData *oprj_DatumGridFileOpen(const char *name, Oerr_Report **err) {
  ErrorScope e("oprj_DatumGridFileOpen", err);
  const Owner<Ofio_SearchList, ofio_SearchListFree> places(
      OrvikDatum::DatumManagerGetConfigurationSearchList(e.cause()));
  if (!places) return e.fail(1, "Error returned from ofio_CreateSLFromEnv");
  const HeapBlock<char> path(ofio_Which(places.get(), name, e.cause()));
  if (!path) {
    constexpr int32_t kNotFound = 2;  // of ofio_Which
    if (oerr_CodeGet(e.causeReport()) != kNotFound)
      return e.fail(2, "Error returned from ofio_Which");
    return e.fail(3, "%s:  File not found", name);
  }
  return e.fail(4, "Grids cannot be read yet: %s", path.get());
}

void oprj_DatumGridFileClose(Oprj_GridData **grid) {
  if (grid) *grid = nullptr;  // none can be open
}

namespace orvik::oprj {
namespace {

class GridShift final : public ShiftLeg {
 public:
  GridShift(const Oprj_Datum *source, const Oprj_Datum *destination)
      : complete_(source && destination) {}
  bool run(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oprj_PointReason *,
           Oerr_Report **err) const override {
    ErrorScope e("oprj_DatumShiftGrid", err);
    if (!in || !out || count < 1 || !complete_) return e.fail(1, "Empty argument(s).");
    return e.fail(2, "Grid shifts are not built yet");
  }

 private:
  bool complete_;
};

}  // namespace

SharedLeg makeGridLeg(const Oprj_Datum *source, const Oprj_Datum *destination) {
  return makeLeg<GridShift>(source, destination);
}

}  // namespace orvik::oprj

void oprj_DatumShiftGrid(const Oprj_Point *in, const Oprj_Datum *source, Oprj_Point *out,
                         const Oprj_Datum *destination, int32_t count, Oerr_Report **err) {
  orvik::oprj::GridShift(source, destination).run(in, out, count, nullptr, err);
}
