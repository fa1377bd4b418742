// Point projection: the operations over one list of stages (way.h).
#include <oprj/project.h>

#include <algorithm>

#include "pipeline/way.h"

using namespace orvik::oprj;

namespace {

/// The caller's output array, or a new one that goes again unless the call succeeds.
class Result {
 public:
  Result(Oprj_Point *given, int32_t count, Oerr_Report **err)
      : made_(given ? nullptr : oprj_PointsCreate(arrayLength(count), err)),
        points_(given ? given : made_.get()) {}
  explicit operator bool() const { return points_; }
  Oprj_Point *points() const { return points_; }
  Oprj_Point *done() {
    made_.release();
    return points_;
  }

 private:
  OwnedPoints made_;
  Oprj_Point *points_;
};

/// The caller's input, or a copy of it where the result goes to the same array: a failure is told
/// by the points as they were given.
class Input {
 public:
  Input(const Oprj_Point *given, const Oprj_Point *out, int32_t count, Oerr_Report **err)
      : points_(given) {
    if (!given || given != out) return;
    if (count <= kTilePoints) {
      points_ = few_;
      std::copy_n(given, arrayLength(count), few_);
    } else {
      many_.reset(oprj_PointsCopy(given, nullptr, arrayLength(count), err));
      points_ = many_.get();
      good_ = points_;
    }
  }
  explicit operator bool() const { return good_; }
  const Oprj_Point *points() const { return points_; }

 private:
  const Oprj_Point *points_;
  bool good_ = true;
  OwnedPoints many_;
  Oprj_Point few_[kTilePoints];
};

/// The parameter record of a handle, borrowed.
const Oprj_ProParameters *recordOf(ErrorScope &e, const Oprj_MapProjectionEx *handle) {
  if (!handle) return e.fail(1, "Invalid input projection");
  const auto *record = static_cast<const Oprj_ProParameters *>(
      oprj_MapProjectionCSRGet(handle, OPRJ_TITLE_NATIVE, e.cause()));
  if (!record) return e.fail(2, "OPRJ_PROPARAMETERS_GET failed");
  return record;
}

/// The end of the operations with units, over the finished way.
Oprj_Point *runInUnits(ErrorScope &e, Way &way, const Oprj_Point *in, Oprj_Point *out,
                       int32_t count) {
  Result result(out, count, e.cause());
  if (!result) return e.fail(3, "oprj_PointsCreate failed");
  const Input input(in, out, count, e.cause());
  if (!input) return e.fail(4, "oprj_PointsCopy failed");
  return way.run(e, input.points(), result.points(), count) ? result.done() : nullptr;
}

/// One leg without units: no way to plan, and no copy of the input.
template <bool kForward>
Oprj_Point *runAlone(const char *operation, const Oprj_MapProjectionEx *handle,
                     const Oprj_Point *in, Oprj_Point *out, int32_t count, Oerr_Report **err) {
  ErrorScope e(operation, err);
  if (!handle || !(kForward ? handle->apply : handle->applyInverse))
    return e.fail(1, "Invalid input projection");
  Result result(out, count, e.cause());
  if (!result) return e.fail(2, "oprj_PointsCreate failed");
  runLeg<kForward>(*handle, in, result.points(), count, e.cause());
  if (e.calleeFailed())
    return e.fail(3, kForward ? "ProjectionApply failed" : "ProjectionApplyInverse failed");
  return result.done();
}

}  // namespace

// --- both legs ---

Oprj_Point *oprj_Project(const Oprj_Point *in, const Oprj_MapProjectionEx *inHandle,
                         Oprj_Point *out, const Oprj_MapProjectionEx *outHandle, int32_t count,
                         Oerr_Report **err) {
  ErrorScope e("oprj_Project", err);
  Way way(e.operation());
  way.leadBetween(inHandle, outHandle);
  if (way.copies()) {
    Oprj_Point *copy = oprj_PointsCopy(in, out, arrayLength(count), e.cause());
    if (!copy) return e.fail(10152, "oprj_PointsCopy failed");
    return copy;
  }
  Result result(out, count, e.cause());
  if (!result) return e.fail(10163, "oprj_PointsCreate failed");
  const Input input(in, out, count, e.cause());
  if (!input) return e.fail(10152, "oprj_PointsCopy failed");
  return way.run(e, input.points(), result.points(), count) ? result.done() : nullptr;
}

Oprj_Point *oprj_ProjectWithUnits(const Oprj_Point *in, const Oprj_MapProjectionEx *inHandle,
                                  const Oprj_Char *inUnit, Oprj_Point *out,
                                  const Oprj_MapProjectionEx *outHandle, const Oprj_Char *outUnit,
                                  int32_t count, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectWithUnits", err);
  const auto *inRecord = recordOf(e, inHandle);
  const auto *outRecord = inRecord ? recordOf(e, outHandle) : nullptr;
  if (!outRecord) return nullptr;
  const Utf8 from(inUnit, e), to(outUnit, e);
  if (e.failed()) return nullptr;
  Way way("oprj_Project");
  way.convertIn({from, isGeographic(*inRecord)});
  way.leadBetween(inHandle, outHandle);
  way.convertOut({to, isGeographic(*outRecord)});
  return runInUnits(e, way, in, out, count);
}

Oprj_Point *oprj_ProjectPair(const Oprj_ProjectionPair *pair, const Oprj_Point *in, Oprj_Point *out,
                             int32_t count, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectPair", err);
  if (!pair) return e.fail(2, "Invalid input Oprj_ProjectionPair");
  Oprj_Point *result = oprj_Project(in, pair->in, out, pair->out, count, e.cause());
  if (!result) return e.failAsCallee(1, "Error returned from oprj_Project");
  return result;
}

Oprj_Point *oprj_ProjectPairWithUnits(const Oprj_ProjectionPair *pair, const Oprj_Point *in,
                                      const Oprj_Char *inUnit, Oprj_Point *out,
                                      const Oprj_Char *outUnit, int32_t count, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectPairWithUnits", err);
  if (!pair) return e.fail(2, "Invalid input Oprj_ProjectionPair");
  Oprj_Point *result =
      oprj_ProjectWithUnits(in, pair->in, inUnit, out, pair->out, outUnit, count, e.cause());
  if (!result) return e.failAsCallee(1, "Error returned from oprj_ProjectWithUnits");
  return result;
}

// --- one leg ---

Oprj_Point *oprj_ProjectToLatLon(const Oprj_Point *in, const Oprj_MapProjectionEx *handle,
                                 Oprj_Point *out, int32_t count, Oerr_Report **err) {
  return runAlone<false>("oprj_ProjectToLatLon", handle, in, out, count, err);
}

Oprj_Point *oprj_ProjectFromLatLon(const Oprj_Point *in, const Oprj_MapProjectionEx *handle,
                                   Oprj_Point *out, int32_t count, Oerr_Report **err) {
  return runAlone<true>("oprj_ProjectFromLatLon", handle, in, out, count, err);
}

Oprj_Point *oprj_ProjectToLatLonWithUnits(const Oprj_Point *in, const Oprj_Char *inUnit,
                                          const Oprj_MapProjectionEx *handle, Oprj_Point *out,
                                          const Oprj_Char *outUnit, int32_t count,
                                          Oerr_Report **err) {
  ErrorScope e("oprj_ProjectToLatLonWithUnits", err);
  const auto *record = recordOf(e, handle);
  if (!record) return nullptr;
  const Utf8 from(inUnit, e), to(outUnit, e);
  if (e.failed()) return nullptr;
  Way way("oprj_ProjectToLatLon");
  way.convertIn({from, isGeographic(*record)});
  way.leadToLatLon(handle);
  way.convertOut({to, true});
  return runInUnits(e, way, in, out, count);
}

Oprj_Point *oprj_ProjectFromLatLonWithUnits(const Oprj_Point *in, const Oprj_Char *inUnit,
                                            const Oprj_MapProjectionEx *handle, Oprj_Point *out,
                                            const Oprj_Char *outUnit, int32_t count,
                                            Oerr_Report **err) {
  ErrorScope e("oprj_ProjectFromLatLonWithUnits", err);
  const auto *record = recordOf(e, handle);
  if (!record) return nullptr;
  const Utf8 from(inUnit, e), to(outUnit, e);
  if (e.failed()) return nullptr;
  Way way("oprj_ProjectFromLatLon");
  way.convertIn({from, true});
  way.leadFromLatLon(handle);
  way.convertOut({to, isGeographic(*record)});
  return runInUnits(e, way, in, out, count);
}
