// Point projection: inverse of the input system, shift between the geographic systems, forward of
// the output system.
//
// A call works in tiles that stay in the first-level cache. The documented behaviour is that each
// stage runs over the whole array before the next begins: it decides which of several failures is
// reported and what the output then holds. Tiles cannot give that; so when a tile fails, the call
// is run again stage by stage (input arrays are never changed), and that run speaks for it.
#include <oprj/ocvt.h>
#include <oprj/project.h>

#include <algorithm>
#include <cstring>

#include "datum/shift_plan.h"
#include "pipeline/function_sets.h"

using namespace orvik::oprj;

namespace {

// 16 KB a tile: input, output and the spare tile fit a first-level cache of 48 KB, and the price of
// a call through a handle vanishes.
constexpr int32_t kTilePoints = 1024;

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
      : copy_(given && given == out ? oprj_PointsCopy(given, nullptr, arrayLength(count), err)
                                    : nullptr),
        points_(given && given == out ? copy_.get() : given),
        good_(points_ || !given) {}
  explicit operator bool() const { return good_; }
  const Oprj_Point *points() const { return points_; }

 private:
  OwnedPoints copy_;
  const Oprj_Point *points_;
  bool good_;
};

/// A failure below this operation. When a report of the chain names a point, this one names the
/// same point as the caller gave it.
Failed failAtPointOf(ErrorScope &e, const Oprj_Point *in, int32_t count, int32_t code,
                     const char *message) {
  int64_t index = 0;
  if (in && oerr_PointGet(e.causeReport(), &index, nullptr, nullptr) && index >= 0 && index < count)
    return e.failAtPoint(index, in[index].x, in[index].y, code, "%s", message);
  return e.fail(code, "%s", message);
}

/// The unit of an array's points: null means the one that the system computes in.
struct PointUnit {
  const char *name;
  bool geographic;
  const char *computed() const { return geographic ? "radians" : "meters"; }
};

/// A conversion between two units that is known to work; none until it is prepared.
class Conversion {
 public:
  /// From the unit that points come in, or to the one that they leave in. False when the unit is
  /// unknown or not one of that kind.
  bool prepareInput(PointUnit unit) { return prepare(unit, from_, to_); }
  bool prepareOutput(PointUnit unit) { return prepare(unit, to_, from_); }
  bool needed() const { return from_ != to_; }
  void apply(Oprj_Point *points, int32_t count) const {
    ocvt_UnitsConvertArray(&points->x, 2 * static_cast<size_t>(count), from_, to_, nullptr);
  }

 private:
  static bool prepare(PointUnit unit, const Ocvt_Unit *&named, const Ocvt_Unit *&computed) {
    static const Ocvt_Unit *const kMetres = ocvt_UnitSetByName("meters", nullptr);
    static const Ocvt_Unit *const kRadians = ocvt_UnitSetByName("radians", nullptr);
    if (!unit.name) return true;
    ErrorScope e("Conversion::prepare", nullptr);
    named = ocvt_UnitSetByName(unit.name, e.cause());
    computed = unit.geographic ? kRadians : kMetres;
    ocvt_UnitsConvert(0.0, named, computed, e.cause());
    return !e.calleeFailed();
  }

  const Ocvt_Unit *from_ = nullptr, *to_ = nullptr;
};

/// A handle as tiles use it: a native one is reached past its set, for the sake of single points.
class Leg {
 public:
  Leg() = default;
  explicit Leg(const Oprj_MapProjectionEx *handle) : handle_(handle) {
    if (!handle || handle->functions != &kNativeSet || !handle->ownedData ||
        handle->applyInverse != kNativeSet.applyInverse || handle->apply != kNativeSet.apply)
      return;
    const auto *object = static_cast<const Oprj_MapProjection *>(handle->ownedData);
    if (object->toLL && object->fromLL && object->proParameters) native_ = object;
  }

  explicit operator bool() const { return handle_; }
  const Oprj_MapProjectionEx *operator->() const { return handle_; }

  /// False when there is no handle, or its set lacks an operation that a projection needs.
  bool complete() const {
    return native_ || (handle_ && handle_->applyInverse && handle_->apply && handle_->functions &&
                       handle_->functions->gcsrGet && handle_->functions->gcsTransform);
  }
  const void *geographicSystem(Oerr_Report **err) const {
    return native_ ? native_->proParameters->proSpheroid
                   : handle_->functions->gcsrGet(handle_->ownedData, handle_->title, err);
  }
  void inverse(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oerr_Report **err) const {
    if (native_) native_->toLL(in, native_->parameters, out, count, err);
    else handle_->applyInverse(handle_->ownedData, in, out, count, err);
  }
  void forward(const Oprj_Point *in, Oprj_Point *out, int32_t count, Oerr_Report **err) const {
    if (native_) native_->fromLL(in, native_->parameters, out, count, err);
    else handle_->apply(handle_->ownedData, in, out, count, err);
  }

  /// True only for native systems of different projections; false says nothing.
  friend bool differAtSight(const Leg &first, const Leg &second) {
    if (!first.native_ || !second.native_) return false;
    const auto &record = *first.native_->proParameters, &other = *second.native_->proParameters;
    return record.proType != other.proType ||
           (record.proType == OPRJ_INTERNAL && record.proNumber != other.proNumber);
  }

 private:
  const Oprj_MapProjectionEx *handle_ = nullptr;
  const Oprj_MapProjection *native_ = nullptr;
};

/// The stages that the points of a call pass. What is absent or not needed is left out.
struct Route {
  Conversion inUnit;
  Leg in;
  const void *source = nullptr, *target = nullptr;  ///< geographic systems
  Leg out;
  Conversion outUnit;
};

/// Leads a route from one system to another that differs from it; 0 with a report when they cannot
/// be combined.
int32_t leadBetween(ErrorScope &e, const Leg &in, const Leg &out, Route &route) {
  if (!in.complete() || !out.complete() || !sameTitle(in->title, out->title))
    return e.fail(10187, "Unimplemented");
  route.source = in.geographicSystem(e.cause());
  if (e.calleeFailed()) return e.fail(10192, "ProjectionGCSRGet failed");
  route.target = out.geographicSystem(e.cause());
  if (e.calleeFailed()) return e.fail(10196, "ProjectionGCSRGet failed");
  route.in = in;
  route.out = out;
  return 1;
}

/// Runs the stages tile by tile; `shift` is null when the geographic systems share their datum.
bool runTiles(const Route &route, ShiftPlan *shift, const Oprj_Point *in, Oprj_Point *out,
              int32_t count) {
  ErrorScope e("runTiles", nullptr);
  // Sets other than the native one transform in place.
  const bool transforms = route.in && route.out && route.in->functions != &kNativeSet;
  Oprj_Point spare[kTilePoints];
  for (int32_t start = 0, tile = 0; start < count; start += tile) {
    tile = std::min(kTilePoints, count - start);
    const Oprj_Point *now = in + start;  // where the tile's points stand
    Oprj_Point *const end = out + start;
    if (route.inUnit.needed()) {
      std::copy_n(now, tile, spare);
      route.inUnit.apply(spare, tile);
      now = spare;
    }
    if (route.in) {
      Oprj_Point *to = shift ? spare : end;
      route.in.inverse(now, to, tile, e.cause());
      if (e.calleeFailed()) return false;
      now = to;
    }
    if (shift) {
      if (!shift->run(now, end, tile, e.cause())) return false;
      now = end;
    } else if (transforms) {
      route.in->functions->gcsTransform(route.source, route.target, tile, end, e.cause());
      if (e.calleeFailed()) return false;
    }
    if (route.out) {
      route.out.forward(now, end, tile, e.cause());
      if (e.calleeFailed()) return false;
      now = end;
    }
    if (now != end) std::copy_n(now, tile, end);
    if (route.outUnit.needed()) route.outUnit.apply(end, tile);
  }
  return true;
}

/// The same with a datum shift, its preparations made once for all tiles.
bool runShifted(const Route &route, const Oprj_Spheroid *source, const Oprj_Spheroid *target,
                const Oprj_Point *in, Oprj_Point *out, int32_t count) {
  ErrorScope e("runShifted", nullptr);
  ShiftPlan shift;
  return shift.prepare(source, target, e.cause()) && runTiles(route, &shift, in, out, count);
}

/// Runs the whole route in tiles. False when a stage failed: which one, and how far the points got,
/// is for the run stage by stage to say.
bool run(const Route &route, const Oprj_Point *in, Oprj_Point *out, int32_t count) {
  if (count < 1 || !in) return false;
  if (route.in && route.out && route.in->functions == &kNativeSet) {
    const auto *source = static_cast<const Oprj_Spheroid *>(route.source);
    const auto *target = static_cast<const Oprj_Spheroid *>(route.target);
    if (haveDatums(source, target) &&
        std::strcmp(textOf(source->datum->datumname), textOf(target->datum->datumname)) != 0)
      return runShifted(route, source, target, in, out, count);
  }
  return runTiles(route, nullptr, in, out, count);
}

/// The parameter record of a handle, borrowed.
const Oprj_ProParameters *recordOf(ErrorScope &e, const Oprj_MapProjectionEx *handle) {
  if (!handle) return e.fail(1, "Invalid input projection");
  const auto *record = static_cast<const Oprj_ProParameters *>(
      oprj_MapProjectionCSRGet(handle, OPRJ_TITLE_NATIVE, e.cause()));
  if (!record) return e.fail(2, "OPRJ_PROPARAMETERS_GET failed");
  return record;
}

/// What the operations with units share. `found` tells whether `route` leads somewhere; `project`
/// is the operation without units, for the run stage by stage.
template <class Project>
Oprj_Point *projectInUnits(ErrorScope &e, Route &route, bool found, const Oprj_Point *in,
                           PointUnit inUnit, Oprj_Point *out, PointUnit outUnit, int32_t count,
                           Project project, const char *projectFailed) {
  Result result(out, count, e.cause());
  if (!result) return e.fail(3, "oprj_PointsCreate failed");
  const Input input(in, out, count, e.cause());
  if (!input) return e.fail(4, "oprj_PointsCopy failed");
  in = input.points();
  if (found && route.inUnit.prepareInput(inUnit) && route.outUnit.prepareOutput(outUnit) &&
      run(route, in, result.points(), count))
    return result.done();

  const Oprj_Point *points = in;
  OwnedPoints converted;
  if (inUnit.name) {
    converted.reset(oprj_PointsCopy(in, nullptr, arrayLength(count), e.cause()));
    if (!converted) return e.fail(4, "oprj_PointsCopy failed");
    if (!oprj_PointsConvertByUnitName(converted.get(), count, inUnit.name, inUnit.computed(),
                                      e.cause()))
      return inUnit.geographic
                 ? e.fail(5, "Error returned from oprj_PointsConvertByUnitName for input LL")
                 : e.fail(5,
                          "Error returned from oprj_PointsConvertByUnitName for input projected "
                          "points");
    points = converted.get();
  }
  if (!project(points, result.points(), e.cause()))
    return failAtPointOf(e, in, count, 6, projectFailed);
  if (outUnit.name && !oprj_PointsConvertByUnitName(result.points(), count, outUnit.computed(),
                                                    outUnit.name, e.cause()))
    return outUnit.geographic
               ? e.fail(7, "Error returned from oprj_PointsConvertByUnitName for output LL")
               : e.fail(7,
                        "Error returned from oprj_PointsConvertByUnitName for output projected "
                        "points");
  return result.done();
}

}  // namespace

// --- both legs ---

Oprj_Point *oprj_Project(const Oprj_Point *in, const Oprj_MapProjectionEx *inHandle,
                         Oprj_Point *out, const Oprj_MapProjectionEx *outHandle, int32_t count,
                         Oerr_Report **err) {
  ErrorScope e("oprj_Project", err);
  const Leg from(inHandle), to(outHandle);
  const int32_t equal =
      !differAtSight(from, to) && oprj_MapProjectionEqual(inHandle, outHandle, e.cause());
  if (e.calleeFailed()) return e.fail(10146, "oprj_MapProjectionEqual failed");
  if (equal) {
    Oprj_Point *copy = oprj_PointsCopy(in, out, arrayLength(count), e.cause());
    if (!copy) return e.fail(10152, "oprj_PointsCopy failed");
    return copy;
  }
  Result result(out, count, e.cause());
  if (!result) return e.fail(10163, "oprj_PointsCreate failed");
  const Input input(in, out, count, e.cause());
  if (!input) return e.fail(10152, "oprj_PointsCopy failed");
  in = input.points();
  Route route;
  if (!leadBetween(e, from, to, route)) return nullptr;
  if (run(route, in, result.points(), count)) return result.done();

  inHandle->applyInverse(inHandle->ownedData, in, result.points(), count, e.cause());
  if (e.calleeFailed()) return failAtPointOf(e, in, count, 10205, "ProjectionApplyInverse failed");
  inHandle->functions->gcsTransform(route.source, route.target, count, result.points(), e.cause());
  if (e.calleeFailed()) return failAtPointOf(e, in, count, 10212, "GCSTransform failed");
  outHandle->apply(outHandle->ownedData, result.points(), result.points(), count, e.cause());
  if (e.calleeFailed()) return failAtPointOf(e, in, count, 10220, "ProjectionApply failed");
  return result.done();
}

Oprj_Point *oprj_ProjectWithUnits(const Oprj_Point *in, const Oprj_MapProjectionEx *inHandle,
                                  const char *inUnit, Oprj_Point *out,
                                  const Oprj_MapProjectionEx *outHandle, const char *outUnit,
                                  int32_t count, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectWithUnits", err);
  const auto *inRecord = recordOf(e, inHandle);
  const auto *outRecord = inRecord ? recordOf(e, outHandle) : nullptr;
  if (!outRecord) return nullptr;

  Route route;  // equal systems: only the units change
  ErrorScope unheard("oprj_ProjectWithUnits", nullptr);
  const int32_t equal = oprj_MapProjectionEqual(inHandle, outHandle, unheard.cause());
  const bool found = !unheard.calleeFailed() &&
                     (equal || leadBetween(unheard, Leg(inHandle), Leg(outHandle), route));
  return projectInUnits(
      e, route, found, in, {inUnit, isGeographic(*inRecord)}, out,
      {outUnit, isGeographic(*outRecord)}, count,
      [&](const Oprj_Point *points, Oprj_Point *projected, Oerr_Report **cause) {
        return oprj_Project(points, inHandle, projected, outHandle, count, cause);
      },
      "Error returned from oprj_Project");
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
                                      const char *inUnit, Oprj_Point *out, const char *outUnit,
                                      int32_t count, Oerr_Report **err) {
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
  ErrorScope e("oprj_ProjectToLatLon", err);
  if (!handle || !handle->applyInverse) return e.fail(1, "Invalid input projection");
  Result result(out, count, e.cause());
  if (!result) return e.fail(2, "oprj_PointsCreate failed");
  if (handle->applyInverse == nativeProjectionApplyInverse)
    nativeProjectionApplyInverse(handle->ownedData, in, result.points(), count, e.cause());
  else handle->applyInverse(handle->ownedData, in, result.points(), count, e.cause());
  if (e.calleeFailed()) return e.fail(3, "ProjectionApplyInverse failed");
  return result.done();
}

Oprj_Point *oprj_ProjectFromLatLon(const Oprj_Point *in, const Oprj_MapProjectionEx *handle,
                                   Oprj_Point *out, int32_t count, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectFromLatLon", err);
  if (!handle || !handle->apply) return e.fail(1, "Invalid input projection");
  Result result(out, count, e.cause());
  if (!result) return e.fail(2, "oprj_PointsCreate failed");
  if (handle->apply == nativeProjectionApply)
    nativeProjectionApply(handle->ownedData, in, result.points(), count, e.cause());
  else handle->apply(handle->ownedData, in, result.points(), count, e.cause());
  if (e.calleeFailed()) return e.fail(3, "ProjectionApply failed");
  return result.done();
}

Oprj_Point *oprj_ProjectToLatLonWithUnits(const Oprj_Point *in, const char *inUnit,
                                          const Oprj_MapProjectionEx *handle, Oprj_Point *out,
                                          const char *outUnit, int32_t count, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectToLatLonWithUnits", err);
  const auto *record = recordOf(e, handle);
  if (!record) return nullptr;
  Route route;
  route.in = Leg(handle);
  return projectInUnits(
      e, route, handle->applyInverse, in, {inUnit, isGeographic(*record)}, out, {outUnit, true},
      count,
      [&](const Oprj_Point *points, Oprj_Point *projected, Oerr_Report **cause) {
        return oprj_ProjectToLatLon(points, handle, projected, count, cause);
      },
      "Error returned from oprj_ProjectToLatLon");
}

Oprj_Point *oprj_ProjectFromLatLonWithUnits(const Oprj_Point *in, const char *inUnit,
                                            const Oprj_MapProjectionEx *handle, Oprj_Point *out,
                                            const char *outUnit, int32_t count, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectFromLatLonWithUnits", err);
  const auto *record = recordOf(e, handle);
  if (!record) return nullptr;
  Route route;
  route.out = Leg(handle);
  return projectInUnits(
      e, route, handle->apply, in, {inUnit, true}, out, {outUnit, isGeographic(*record)}, count,
      [&](const Oprj_Point *points, Oprj_Point *projected, Oerr_Report **cause) {
        return oprj_ProjectFromLatLon(points, handle, projected, count, cause);
      },
      "Error returned from oprj_ProjectFromLatLon");
}
