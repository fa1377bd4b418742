#include "datum/shift/surface_shift.h"

#include <oprj/datum_shift.h>

#include <algorithm>

#include "datum/legs.h"
#include "datum/model/bases.h"
#include "datum/parametric.h"

namespace orvik::oprj {

using toolkit::HeapVector;

namespace {

constexpr const char *kOperation = "oprj_DatumShift4EllipsoidSurfaceDatum";

enum Code : int32_t {
  kEmpty = 1,
  kGridFailed = 5,
  kParametricFailed = 6,
  kSurfaceFailed = 7,
};

/// One surface, towards its base or away from it.
class SurfaceLeg final : public ShiftLeg {
 public:
  SurfaceLeg(OrvikDatum::ShiftSurface::Ptr surface, bool inverse)
      : surface_(std::move(surface)), inverse_(inverse) {}
  bool run(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oprj_PointReason *reasons,
           Oerr_Report **err) const override {
    return surface_->ShiftPoints(in, out, count, inverse_, reasons, err);
  }

 private:
  OrvikDatum::ShiftSurface::Ptr surface_;
  bool inverse_;
};

/// A leg; for want of memory the whole shift is not made.
template <class Leg>
SharedLeg madeLeg(Leg &&leg) {
  if (!leg) throw std::bad_alloc();
  return std::forward<Leg>(leg);
}

}  // namespace

/// Makes the steps.
class SurfaceShift::Maker {
 public:
  Maker(ErrorScope &e, HeapVector<LegStep> &steps) : bases_(e), steps_(steps) {}

  bool connect(const Oprj_Spheroid &source, const Oprj_Spheroid &destination) {
    for (const Oprj_Spheroid *end : {&source, &destination}) {
      if (typeOf(*end) != OPRJ_DATUM_PARAMETRIC && typeOf(*end) != OPRJ_DATUM_SURFACE)
        return bases_.wrongTypes();
    }
    if (sameDatum(source, destination)) return true;
    constexpr bool kVertical = false;
    Bases::Levels up, down;
    if (!bases_.climb(source, kVertical, up) || !bases_.climb(destination, kVertical, down))
      return false;
    const Bases::Way way = Bases::join(up, down);
    for (size_t i = 0; i < way.up; ++i) addSurface(surfaceOf(*up[i]), true);
    if (!way.shared && !cross(*up.back(), *down.back())) return false;
    for (size_t k = way.down; k > 0; --k) addSurface(surfaceOf(*down[k - 1]), false);
    return true;
  }

 private:
  void addSurface(const Oprj_ShiftSurface &surface, bool towardsBase) {
    steps_.push_back(
        {madeLeg(makeLeg<SurfaceLeg>(surface.surface, surface.fromDatum == towardsBase)),
         kSurfaceFailed, "Cannot do surface shift"});
  }
  void addParametric(const Oprj_Spheroid &from, const Oprj_Spheroid &to) {
    steps_.push_back({madeLeg(makeLeg<ParametricShift>(&from, &to)), kParametricFailed,
                      "Cannot do parametric shift"});
  }
  void addGrid(const Oprj_Spheroid &from, const Oprj_Spheroid &to) {
    steps_.push_back(
        {madeLeg(makeGridLeg(from.datum, to.datum)), kGridFailed, "Cannot do grid datum shift"});
  }

  /// Between two datums that are no surface datums and no namesakes.
  bool cross(const Oprj_Spheroid &from, const Oprj_Spheroid &to) {
    const bool fromGrid = typeOf(from) == OPRJ_DATUM_GRID, toGrid = typeOf(to) == OPRJ_DATUM_GRID;
    if (fromGrid && toGrid) {
      addGrid(from, to);
    } else if (!fromGrid && !toGrid) {
      addParametric(from, to);
    } else {
      const Oprj_Spheroid *grid = bases_.fetch("NAD83");
      const Oprj_Spheroid *parametric = grid ? bases_.fetch("NAD83 (DMA)") : nullptr;
      if (!parametric) return false;
      if (fromGrid) addGrid(from, *grid);
      if (fromGrid) addParametric(*parametric, to);
      if (toGrid) addParametric(from, *parametric);
      if (toGrid) addGrid(*grid, to);
    }
    return true;
  }

  Bases bases_;
  HeapVector<LegStep> &steps_;
};

SurfaceShift::SurfaceShift(const Oprj_Spheroid *source, const Oprj_Spheroid *destination)
    : complete_(source && destination) {
  if (!complete_) return;
  struct Report {
    Oerr_Report *report = nullptr;
    ~Report() { oerr_DeleteErrorReport(&report); }
  } kept;
  ErrorScope e(kOperation, &kept.report);
  if (Maker(e, steps_).connect(*source, *destination)) return;
  steps_.clear();
  for (const Oerr_Report *told = kept.report; told; told = oerr_CauseGet(told))
    failure_.push_back({oerr_FunctionGet(told), oerr_MessageGet(told), oerr_CodeGet(told)});
}

bool SurfaceShift::run(const Oprj_Point *in, Oprj_Point *out, int32_t count,
                       Oprj_PointReason *reasons, Oerr_Report **err) const {
  ErrorScope e(kOperation, err);
  if (!in || !out || count < 1 || !complete_) return e.fail(kEmpty, "Empty argument(s).");
  if (!failure_.empty()) {
    Oerr_Report *cause = nullptr;
    for (size_t i = failure_.size() - 1; i > 0; --i)
      cause = oerr_CreateErrorReport(failure_[i].function.c_str(), failure_[i].code,
                                     OERR_SEVERITY_ERROR, cause, "%s", failure_[i].message.c_str());
    *e.cause() = cause;
    return e.fail(failure_[0].code, "%s", failure_[0].message.c_str());
  }
  if (!steps_.empty()) return runSteps(steps_, in, out, count, reasons, e);
  if (in != out) std::copy_n(in, count, out);
  return true;
}

SharedLeg makeSurfaceLeg(const Oprj_Spheroid *source, const Oprj_Spheroid *destination) {
  return makeLeg<SurfaceShift>(source, destination);
}

}  // namespace orvik::oprj

using namespace orvik::oprj;

void oprj_DatumShift4EllipsoidSurfaceDatum(const Oprj_Point *in, const Oprj_Spheroid *source,
                                           Oprj_Point *out, const Oprj_Spheroid *destination,
                                           int32_t count, Oerr_Report **err) {
  if (const SharedLeg leg = makeSurfaceLeg(source, destination)) {
    leg->run(in, out, count, nullptr, err);
    return;
  }
  ErrorScope e(kOperation, err);
  e.fail(Bases::kNoSpace, "Cannot create space");
}
