// The stages of a call and the walks over them (way.h).
#include "pipeline/way.h"

#include <oprj/datum_shift.h>
#include <oprj/project.h>

#include <algorithm>
#include <utility>

#include "datum/shift/tally.h"

namespace orvik::oprj {

namespace {

/// A handle that a projection can go through.
bool complete(const Oprj_MapProjectionEx *handle) {
  return handle && handle->applyInverse && handle->apply && handle->functions &&
         handle->functions->gcsrGet && handle->functions->gcsTransform;
}

/// The record of a native handle; null for others.
const Oprj_ProParameters *nativeRecord(const Oprj_MapProjectionEx *handle) {
  if (!handle || handle->functions != &kNativeSet || !handle->ownedData) return nullptr;
  return static_cast<const Oprj_MapProjection *>(handle->ownedData)->proParameters;
}

/// Points may pass this leg tile by tile, and a second time: not where a child process stands
/// behind it.
bool repeatable(const Oprj_MapProjectionEx *handle) {
  const auto *record = nativeRecord(handle);
  return !record || record->proType == OPRJ_INTERNAL;
}

/// True only for native systems of different projections; false says nothing.
bool differAtSight(const Oprj_MapProjectionEx *first, const Oprj_MapProjectionEx *second) {
  const auto *one = nativeRecord(first), *other = nativeRecord(second);
  return one && other &&
         (one->proType != other->proType ||
          (one->proType == OPRJ_INTERNAL && one->proNumber != other->proNumber));
}

}  // namespace

// --- the list ---

void Way::Conversion::prepare(PointUnit of, bool isInput) {
  static const Ocvt_Unit *const kMetres = ocvt_UnitSetByName("meters", nullptr);
  static const Ocvt_Unit *const kRadians = ocvt_UnitSetByName("radians", nullptr);
  ErrorScope e("Conversion::prepare", nullptr);
  unit = of;
  input = isInput;
  from = ocvt_UnitSetByName(of.name, e.cause());
  to = of.geographic ? kRadians : kMetres;
  ocvt_UnitsConvert(0.0, from, to, e.cause());
  usable = !e.calleeFailed();
  if (!input) std::swap(from, to);
}

bool Way::Conversion::apply(Oprj_Point *points, int32_t count, Oerr_Report **err) const {
  if (!usable) {  // this tells why
    ErrorScope e("oprj_PointsConvertByUnitName", err);
    const Flat given(unit.name, e), computed(unit.computed(), e);
    return !e.failed() && oprj_PointsConvertByUnitName(points, count, input ? given : computed,
                                                       input ? computed : given, err);
  }
  if (count > 0)
    ocvt_UnitsConvertArray(&points->x, 2 * static_cast<size_t>(count), from, to, nullptr);
  return true;
}

void Way::refuse(int32_t code, const char *message, Oerr_Report *report) {
  add(Does::kRefuse, code, message);
  refusal_ = report;
  inTiles_ = false;
}

void Way::convertIn(PointUnit unit) {
  if (!unit.name) return;
  inUnit_.prepare(unit, true);
  if (inUnit_.usable && inUnit_.from == inUnit_.to) return;
  inTiles_ = inTiles_ && inUnit_.usable;
  add(Does::kTake, 4, "oprj_PointsCopy failed");
  add(Does::kConvertIn, 5,
      unit.geographic
          ? "Error returned from oprj_PointsConvertByUnitName for input LL"
          : "Error returned from oprj_PointsConvertByUnitName for input projected points");
}

void Way::convertOut(PointUnit unit) {
  if (!unit.name) return;
  outUnit_.prepare(unit, false);
  if (outUnit_.usable && outUnit_.from == outUnit_.to) return;
  inTiles_ = inTiles_ && outUnit_.usable;
  add(Does::kConvertOut, 7,
      unit.geographic
          ? "Error returned from oprj_PointsConvertByUnitName for output LL"
          : "Error returned from oprj_PointsConvertByUnitName for output projected points");
}

void Way::leadToLatLon(const Oprj_MapProjectionEx *handle) {
  if (!handle || !handle->applyInverse) return refuse(1, "Invalid input projection");
  in_ = handle;
  inTiles_ = inTiles_ && repeatable(handle);
  add(Does::kInverse, 3, "ProjectionApplyInverse failed");
}

void Way::leadFromLatLon(const Oprj_MapProjectionEx *handle) {
  if (!handle || !handle->apply) return refuse(1, "Invalid input projection");
  out_ = handle;
  inTiles_ = inTiles_ && repeatable(handle);
  add(Does::kForward, 3, "ProjectionApply failed");
}

void Way::leadBetween(const Oprj_MapProjectionEx *in, const Oprj_MapProjectionEx *out) {
  const bool known = recall(in, out, decision_, plan_);
  Oerr_Report *cause = nullptr;
  const bool equal = known ? decision_->equal
                           : !differAtSight(in, out) && oprj_MapProjectionEqual(in, out, &cause);
  if (cause) return refuse(10146, "oprj_MapProjectionEqual failed", cause);
  if (equal) {
    if (!known) {
      decision_.emplace().equal = true;
      remember(in, out, *decision_);
    }
    copied_ = in;
    return add(Does::kCopy, 10152, "oprj_PointsCopy failed");
  }

  if (known) {  // native systems in all their parts
    source_ = nativeRecord(in)->proSpheroid;
    target_ = nativeRecord(out)->proSpheroid;
  } else {
    if (!complete(in) || !complete(out) || !sameTitle(in->title, out->title))
      return refuse(10187, "Unimplemented");
    source_ = in->functions->gcsrGet(in->ownedData, in->title, &cause);
    if (cause) return refuse(10192, "ProjectionGCSRGet failed", cause);
    target_ = out->functions->gcsrGet(out->ownedData, out->title, &cause);
    if (cause) return refuse(10196, "ProjectionGCSRGet failed", cause);
  }
  in_ = in;
  out_ = out;
  inTiles_ = inTiles_ && (known || (repeatable(in) && repeatable(out)));
  add(Does::kInverse, 10205, "ProjectionApplyInverse failed");
  constexpr const char *kShiftFailed = "GCSTransform failed";
  const bool native = in->functions == &kNativeSet;
  if (native && !known) {
    decision_.emplace();
    if (Oerr_Report *report = decideShift()) return refuse(10212, kShiftFailed, report);
    if (!plan_) remember(in, out, *decision_);
  }
  if (!native) add(Does::kTransform, 10212, kShiftFailed);
  else if (decision_->shifts) add(Does::kShift, 10212, kShiftFailed);
  add(Does::kForward, 10220, "ProjectionApply failed");
}

/// Whether points are shifted, and how: a plan is kept only where there is more to it than one
/// parametric shift. Answers the report of a shift that cannot be made.
Oerr_Report *Way::decideShift() {
  const auto *source = static_cast<const Oprj_Spheroid *>(source_);
  const auto *target = static_cast<const Oprj_Spheroid *>(target_);
  decision_->shifts = shiftDue(source, target);
  if (!decision_->shifts) return nullptr;
  Oerr_Report *problem = nullptr, *told = nullptr;
  made_ = KeptPlan::make(in_, out_);
  ShiftPlan &plan = made_ ? made_->plan : own_.emplace();
  if (!plan.prepare(source, target, &problem)) {
    ErrorScope e("nativeGCSTransform", &told);
    *e.cause() = problem;
    e.fail(16350, "oprj_DatumShift failed");
  } else if (const ParametricShift *sole = plan.soleParametric()) {
    decision_->shift = *sole;
  } else {
    plan_ = &plan;
    KeptPlan::keep(made_, in_, out_);
  }
  return told;
}

// --- the walk ---

bool Way::run(ErrorScope &e, const Oprj_Point *in, Oprj_Point *out, int32_t count) {
  Oprj_Point spare[kTilePoints];
  Oerr_Report *cause = nullptr;
  if (inTiles_ && in && count > kTilePoints) {
    const Oprj_ShiftTally before = shiftTally();
    int32_t tile = kTilePoints, start = 0;
    for (; start < count; start += tile) {
      tile = std::min(kTilePoints, count - start);
      if (pass(in + start, out + start, tile, spare, &cause)) break;
    }
    if (start >= count) return true;
    shiftTally() = before;  // the points are shifted once more
    oerr_DeleteErrorReport(&cause);
  }
  const Stage *failed = pass(in, out, count, spare, &cause);
  if (failed) report(e, *failed, cause, in, count);
  return !failed;
}

/// Takes `cause` into the report of a stage. When a report of the chain names a point, the
/// outermost one names the same point as the caller gave it.
void Way::report(ErrorScope &e, const Stage &stage, Oerr_Report *cause, const Oprj_Point *in,
                 int32_t count) {
  if (stage.does == Does::kRefuse) cause = std::exchange(refusal_, nullptr);
  int64_t index = -1;
  const bool told =
      in && oerr_PointGet(cause, &index, nullptr, nullptr) && index >= 0 && index < count;
  int32_t code = stage.code;
  const char *message = stage.message, *callee = "";
  if (!stage.ofCaller && std::strcmp(e.operation(), operation_) != 0) {
    ErrorScope inner(operation_, e.cause());
    *inner.cause() = cause;
    inner.fail(code, "%s", message);
    code = 6;
    message = "Error returned from ";
    callee = operation_;
  } else {
    *e.cause() = cause;
  }
  if (told) e.failAtPoint(index, in[index].x, in[index].y, code, "%s%s", message, callee);
  else e.fail(code, "%s%s", message, callee);
}

/// All stages over `count` points, each over all of them before the next; `spare` is a tile for
/// what stands between the arrays, large ones are made. Returns the stage that failed, its cause in
/// the slot, or null.
const Way::Stage *Way::pass(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oprj_Point *spare,
                            Oerr_Report **err) const {
  *err = nullptr;
  OwnedPoints large;
  Oprj_Point *taken = spare;
  const Oprj_Point *now = in;
  for (const Stage *stage = stages_; stage != stages_ + length_; ++stage) {
    bool done = true;
    switch (stage->does) {
      case Does::kRefuse:
        return stage;
      case Does::kTake:
        if (!in || count > kTilePoints) {
          large.reset(oprj_PointsCopy(in, nullptr, arrayLength(count), err));
          taken = large.get();
        } else {
          std::copy_n(in, arrayLength(count), spare);
        }
        now = taken;
        done = now;
        break;
      case Does::kConvertIn:
        done = inUnit_.apply(taken, count, err);
        break;
      case Does::kCopy:
        done = oprj_PointsCopy(now, out, arrayLength(count), err);
        now = out;
        break;
      case Does::kInverse:
        runLeg<false>(*in_, now, out, count, err);
        done = !*err;
        now = out;
        break;
      case Does::kShift:
        done = shift(now, out, count, spare, err);
        break;
      case Does::kTransform:
        in_->functions->gcsTransform(source_, target_, count, out, err);
        done = !*err;
        break;
      case Does::kForward:
        runLeg<true>(*out_, now, out, count, err);
        done = !*err;
        now = out;
        break;
      case Does::kConvertOut:
        if (now != out) std::copy_n(now, arrayLength(count), out);
        now = out;
        done = outUnit_.apply(out, count, err);
        break;
    }
    if (!done) return stage;
  }
  return nullptr;
}

/// The shift in place: either all points are shifted or none.
bool Way::shift(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oprj_Point *spare,
                Oerr_Report **err) const {
  if (!plan_ && count > 0) return decision_->shift.run(in, out, count, nullptr, err);
  ErrorScope e("nativeGCSTransform", err);
  OwnedPoints large;
  if (count > kTilePoints) {
    large.reset(oprj_PointsCreate(arrayLength(count), e.cause()));
    if (!large) return e.fail(16346, "oprj_PointsCreate failed");
    spare = large.get();
  }
  if (plan_) plan_->run(in, spare, count, nullptr, e.cause());
  else  // refuses the count
    oprj_DatumShift(in, static_cast<const Oprj_Spheroid *>(source_), spare,
                    static_cast<const Oprj_Spheroid *>(target_), count, e.cause());
  if (e.calleeFailed()) return e.fail(16350, "oprj_DatumShift failed");
  std::copy_n(spare, arrayLength(count), out);
  return true;
}

}  // namespace orvik::oprj
