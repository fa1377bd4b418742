// Points of engine systems: PROJ computes the projection about its central meridian
// (engine/operation.h), or this library where both compute the same; units, offsets and meridians
// are applied here.
#include <oprj/engine_points.h>
#include <oprj/translation.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "engine/operation.h"
#include "engine/report.h"
#include "interchange/engine_computation.h"
#include "interchange/translation_tables.h"
#include "pipeline/function_sets.h"
#include "projections/registry.h"

namespace orvik::oprj {
namespace {

using engine::Kind;
using engine::Object;
using toolkit::ErrorScope;

constexpr double kPi = std::numbers::pi;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
/// A pole or the edge of a map passed by no more than this is one that was reached: rad.
constexpr double kEdge = 1e-11;
/// Longitudes farther out are no places.
constexpr double kFarthest = 1e6;

double wrapped(double longitude) {
  return std::fabs(longitude) <= kPi ? longitude : std::remainder(longitude, 2.0 * kPi);
}

/// What one unit of the caller's coordinates is, and where they count from.
struct Scales {
  double angle, origin;                  ///< radians a unit; the central meridian from the caller's
  double length, falseEast, falseNorth;  ///< metres a unit; in units
};

/// This library's formulas for a projection that PROJ computes too, about the central meridian and
/// without offsets: on lanes, several times as fast. They serve inside of the map; of its edge, of
/// what lies beyond, and of all that they find no place for PROJ tells.
struct Twin {
  OwnedHandle handle;
  const double *block = nullptr;  ///< null: there is none
  EachFunction forward = nullptr, inverse = nullptr;
  /// How far a sheet reaches of which places beyond its edge are found too: m.
  double width = std::numeric_limits<double>::infinity();

  template <bool kForward>
  bool serves(const Oprj_Point &in, const Oprj_Point &out) const {
    constexpr double kInside = kPi - 1e-9;  // rad; at its edge a map has two meridians
    return std::fabs(kForward ? in.x : out.x) <= kInside && (kForward || std::fabs(in.x) <= width);
  }
  template <bool kForward>
  int32_t run(const Oprj_Point *in, Oprj_Point *out, PointFault *faults, size_t count) const {
    return (kForward ? forward : inverse)(block, in, out, faults, static_cast<int32_t>(count));
  }
};

/// What is kept with the object of a system.
struct Computation : engine::Derived {
  double angle = 1.0, length = 1.0;          ///< radians, metres a unit
  double meridian = 0.0;                     ///< radians east of Greenwich
  double falseEast = 0.0, falseNorth = 0.0;  ///< in the system's unit
  std::unique_ptr<engine::Operation> operation;
  Twin twin;                  ///< of the operation
  OwnedHandle native;         ///< instead: formulas of this library; neither: geographic
  Scales system{}, common{};  ///< of Frame; made once, as single points are many
};

/// The projection of this library that a system is, on the very spheroid of its text; null.
OwnedHandle nativeOf(const Object &system) {
  ErrorScope e("engineNative", nullptr);
  const OwnedParameters record(
      oprj_ProParametersFromCOORDSYS(&system, nullptr, nullptr, e.cause()));
  if (!record || record->proNumber == 0) return nullptr;
  const Object &datum = *partOf(*partOf(system, Kind::kGeogcs), Kind::kDatum);
  const auto [a, rf] = partOf(datum, Kind::kSpheroid)->numbers;
  setAxes(*record->proSpheroid, a, rf == 0.0 ? a : a - a / rf);
  Oprj_MapProjectionEx *handle = nullptr;
  oprj_ProjectionInit(nullptr, record.get(), &handle, e.cause());
  return OwnedHandle(handle);
}

struct TwinRow {
  int32_t number;
  bool cylinder;  ///< leads back from beyond its edges too
};
/// Projections whose formulas and PROJ's are the same to 1e-8 m, or where PROJ's iteration, series
/// or treatment of the poles is what differs (docs/engine-strings.md).
constexpr TwinRow kTwins[] = {{3, false},  {4, false},  {5, true},   {16, false}, {18, true},
                              {36, false}, {37, false}, {38, false}, {39, false}, {40, false},
                              {41, false}, {42, false}, {43, true},  {44, true},  {45, false},
                              {46, false}, {47, false}, {48, false}, {49, false}, {50, false},
                              {55, false}, {56, false}, {57, false}, {58, true},  {59, false},
                              {60, false}, {61, false}, {63, false}, {67, false}, {68, true}};

/// The row of the number, if that has a twin; null.
const TwinRow *twinRowOf(int32_t number) {
  const auto *row = std::ranges::find(kTwins, number, &TwinRow::number);
  return row == std::end(kTwins) ? nullptr : row;
}

/// What computes beside the operation of a system; without block when there is nothing.
Twin twinOf(const Object &system) {
  Twin made;
  const engine::OwnedObject about = engine::clone(system);
  for (Object *part : about->parts) {
    const auto is = [part](const char *name) { return engine::sameName(part->name, name); };
    // the library's other ones are series for narrow zones
    if (is("Transverse_Mercator") || is("Transverse_Mercator_Complex")) part->name = "Gauss_Kruger";
    for (const char *moved : {"False_Easting", "False_Northing", "Central_Meridian",
                              "Longitude_Of_Center", "Longitude_Of_Origin"})
      if (part->kind == Kind::kParameter && is(moved)) part->numbers[0] = 0.0;
    if (part->kind != Kind::kGeogcs) continue;
    for (Object *inner : part->parts)
      if (inner->kind == Kind::kPrimem) inner->numbers[0] = 0.0;
  }
  const auto &name = engine::partOf(*about, setOf(Kind::kProjection, Kind::kMethod))->name;
  if (std::ranges::none_of(projectionsNamed(name), [](const NamedRow &named) {
        return twinRowOf(projectionRows()[named.row].number) != nullptr;
      }))
    return made;
  made.handle = nativeOf(*about);
  if (!made.handle) return made;
  const auto &object = *static_cast<const Oprj_MapProjection *>(made.handle->ownedData);
  const TwinRow *row = twinRowOf(object.proParameters->proNumber);
  made.forward = eachOf(object.fromLL);
  made.inverse = eachOf(object.toLL);
  if (!row || !made.forward || !made.inverse) return made;
  made.block = object.parameters;
  const Oprj_Point edge = {kPi, 0.0};
  Oprj_Point end;
  if (row->cylinder && made.run<true>(&edge, &end, nullptr, 1) == 0)
    made.width = std::fabs(end.x) * (1.0 - 1e-12);
  return made;
}

Scales scalesOf(const Computation &c, Frame frame) {
  // Native handles count from Greenwich and have the offsets in them.
  if (c.native && frame == Frame::kCommon) return {1.0, 0.0, 1.0, 0.0, 0.0};
  if (c.native) return {c.angle, -c.meridian, c.length, 0.0, 0.0};
  const double central = c.operation->centralMeridian();
  if (frame == Frame::kSystem) return {c.angle, central, c.length, c.falseEast, c.falseNorth};
  return {1.0, central + c.meridian, 1.0, c.falseEast * c.length, c.falseNorth * c.length};
}

std::unique_ptr<Computation> derive(const Object &system, ErrorScope &e) {
  auto made = std::make_unique<Computation>();
  const bool projected = system.kind == Kind::kProjcs;
  const Object &geogcs = projected ? *partOf(system, Kind::kGeogcs) : system;
  made->angle = partOf(geogcs, Kind::kUnit)->numbers[0];
  made->meridian = partOf(geogcs, Kind::kPrimem)->numbers[0] * (kPi / 180.0);
  if (!projected) return made;
  made->length = partOf(system, Kind::kUnit)->numbers[0];
  for (const Object *parameter : engine::parametersOf(system)) {
    if (engine::sameName(parameter->name, "False_Easting")) made->falseEast = parameter->numbers[0];
    if (engine::sameName(parameter->name, "False_Northing"))
      made->falseNorth = parameter->numbers[0];
  }
  Oerr_Report **cause = e.cause();
  made->operation = engine::Operation::of(system, cause);
  if (!made->operation && oerr_KindGet(*cause) == OAWP_PE_NO_FORMULA)
    made->native = nativeOf(system);
  else if (made->operation && made->operation->plain()) made->twin = twinOf(system);
  if (made->operation || made->native) {
    made->system = scalesOf(*made, Frame::kSystem);
    made->common = scalesOf(*made, Frame::kCommon);
    return made;
  }
  e.fail(2, "The system \"%.100s\" cannot be computed", system.name.c_str());
  return nullptr;
}

const Computation *computationOf(const Object &system, ErrorScope &e) {
  if (const auto *known = system.derived.load(std::memory_order_acquire))
    return static_cast<const Computation *>(known);
  return toolkit::guarded(e, 2, [&]() -> const Computation * {
    auto made = derive(system, e);
    if (!made) return nullptr;
    engine::Derived *known = nullptr;  // another thread may have been faster
    if (!system.derived.compare_exchange_strong(known, made.get(), std::memory_order_acq_rel))
      return static_cast<const Computation *>(known);
    return made.release();
  });
}

/// Both are, told without a branch.
bool finite(double x, double y) { return x + y - (x + y) == 0.0; }
bool isNaN(const Oprj_Point &p) { return std::isnan(p.x) || std::isnan(p.y); }

constexpr size_t kGroup = 128;

/// Points through a native handle, in place; how many came before the first that stops.
size_t runNative(const Oprj_MapProjectionEx &native, bool forward, Oprj_Point *points, size_t count,
                 Oerr_Report **err) {
  Oprj_Point in[kGroup];
  std::copy_n(points, count, in);
  (forward ? native.apply : native.applyInverse)(native.ownedData, in, points,
                                                 static_cast<int32_t>(count), err);
  int64_t done = static_cast<int64_t>(count);
  if (*err && !oerr_PointGet(*err, &done, nullptr, nullptr)) done = 0;
  return static_cast<size_t>(done);
}

/// Points through the operation, in place, or through its twin where it serves.
template <bool kForward>
bool runOperation(const Computation &c, Oprj_Point *points, size_t count, Oerr_Report **err) {
  if (!c.twin.block) return c.operation->run(kForward, &points->x, count, err);
  Oprj_Point out[kGroup];
  PointFault faults[kGroup] = {};
  c.twin.run<kForward>(points, out, faults, count);
  for (size_t i = 0; i < count; ++i) {
    if (faults[i] == PointFault::kNone && c.twin.serves<kForward>(points[i], out[i]))
      points[i] = out[i];
    else if (!c.operation->run(kForward, &points[i].x, 1, err)) return false;
  }
  return true;
}

/// Brings points to what is computed with: radians from the central meridian, or metres from the
/// origin. Returns how many came before the first that is none; NaN becomes a point like others.
template <bool kForward>
size_t enter(const Scales &s, double reach, const Oprj_Point *in, size_t count,
             Oprj_Point *points) {
  // All are usual, in a loop that the compiler puts on vectors; NaN is not.
  const double near = std::min(reach, kPi);
  bool usual = true;
  for (size_t i = 0; i < count; ++i) {
    const double x = kForward ? in[i].x * s.angle - s.origin : (in[i].x - s.falseEast) * s.length;
    const double y = kForward ? in[i].y * s.angle : (in[i].y - s.falseNorth) * s.length;
    usual &= kForward ? (std::fabs(x) <= near) & (std::fabs(y) <= kPi / 2) : finite(x, y);
    points[i] = {x, y};
  }
  if (usual) return count;
  for (size_t i = 0; i < count; ++i) {
    Oprj_Point &p = points[i];
    if (isNaN(in[i])) {
      p = {0.0, 0.0};
    } else if (kForward) {
      p.x = wrapped(p.x);
      if (!(std::fabs(in[i].x * s.angle) <= kFarthest && std::fabs(p.x) <= reach &&
            std::fabs(p.y) <= kPi / 2 + kEdge))
        return i;
      p.y = std::clamp(p.y, -kPi / 2, kPi / 2);
    } else if (!std::isfinite(p.x + p.y)) {
      return i;
    }
  }
  return count;
}

/// Brings what was computed to the caller's coordinates. Returns how many came before the first
/// without a result.
template <bool kForward>
size_t leave(const Scales &s, double reach, const Oprj_Point *points, size_t count,
             const Oprj_Point *in, Oprj_Point *out) {
  const auto place = [&](double x, double y) -> Oprj_Point {
    return kForward ? Oprj_Point{x / s.length + s.falseEast, y / s.length + s.falseNorth}
                    : Oprj_Point{x / s.angle, y / s.angle};
  };
  const double origin = kForward ? 0.0 : s.origin;
  bool usual = true;
  for (size_t i = 0; i < count; ++i) {
    const auto [x, y] = points[i];
    usual &= (in[i].x == in[i].x) & (in[i].y == in[i].y) &
             (kForward ? finite(x, y)
                       : (std::fabs(x) <= reach) & (std::fabs(x + origin) <= kPi) &
                             (std::fabs(y) <= kPi / 2 + kEdge));
  }
  if (usual) {
    for (size_t i = 0; i < count; ++i) out[i] = place(points[i].x + origin, points[i].y);
    return count;
  }
  for (size_t i = 0; i < count; ++i) {
    const auto [x, y] = points[i];
    if (isNaN(in[i])) {
      out[i] = {kNaN, kNaN};
    } else if (!std::isfinite(x + y) ||
               (!kForward && (std::fabs(x) > reach || std::fabs(y) > kPi / 2 + kEdge))) {
      return i;
    } else {
      out[i] = place(kForward ? x : wrapped(x + origin), y);
    }
  }
  return count;
}

/// Computes up to kGroup points into `out`; returns how many came before the first without a
/// result.
size_t computeGroup(const Computation &c, const Scales &s, bool forward, const Oprj_Point *in,
                    Oprj_Point *out, size_t count, bool &made, Oerr_Report **err) {
  Oprj_Point points[kGroup];
  const double reach =
      c.native ? std::numeric_limits<double>::infinity() : c.operation->reach() + kEdge;
  size_t fit = (forward ? enter<true> : enter<false>)(s, reach, in, count, points);
  made = true;
  if (c.native) {
    fit = runNative(*c.native, forward, points, fit, err);
  } else {
    made = fit == 0 || (forward ? runOperation<true> : runOperation<false>)(c, points, fit, err);
    if (!made) return 0;
  }
  return (forward ? leave<true> : leave<false>)(s, reach, points, fit, in, out);
}

/// One point through a twin, if it serves.
template <bool kForward>
bool runTwin(const Twin &twin, double &x, double &y) {
  if (!twin.block) return false;
  const Oprj_Point in = {x, y};
  Oprj_Point out;
  if (twin.run<kForward>(&in, &out, nullptr, 1) != 0 || !twin.serves<kForward>(in, out))
    return false;
  x = out.x;
  y = out.y;
  return true;
}

/// What computeGroup makes of a single usual point in the common frame, where nothing is scaled.
template <bool kForward>
bool computeOne(const Computation &c, const Oprj_Point &in, Oprj_Point &out) {
  const Scales &s = c.common;
  const double reach = c.operation->reach();
  double x = in.x - (kForward ? s.origin : s.falseEast);
  double y = in.y - (kForward ? 0.0 : s.falseNorth);
  if (kForward ? !((std::fabs(x) <= std::min(reach, kPi)) & (std::fabs(y) <= kPi / 2))
               : !finite(x, y))
    return false;
  if (!runTwin<kForward>(c.twin, x, y) && !c.operation->runOne(kForward, x, y)) return false;
  if (kForward ? !finite(x, y)
               : !((std::fabs(x) <= reach + kEdge) & (std::fabs(x + s.origin) <= kPi) &
                   (std::fabs(y) <= kPi / 2 + kEdge)))
    return false;
  out = kForward ? Oprj_Point{x + s.falseEast, y + s.falseNorth} : Oprj_Point{x + s.origin, y};
  return true;
}

}  // namespace

bool computePoint(bool forward, const void *system, const Oprj_Point *in, Oprj_Point *out) {
  const auto *object = static_cast<const Object *>(system);
  if (!object || !in || !out) return false;
  const auto *c = static_cast<const Computation *>(object->derived.load(std::memory_order_acquire));
  if (!c) return false;
  if (c->operation)
    return forward ? computeOne<true>(*c, *in, *out) : computeOne<false>(*c, *in, *out);
  if (c->native || c->meridian != 0.0) return false;
  *out = *in;
  return true;
}

int32_t computePoints(const Object &system, bool forward, Frame frame, const Oprj_Point *in,
                      Oprj_Point *out, int32_t count, ErrorScope &e) {
  const Computation *c = computationOf(system, e);
  if (!c) return 0;
  if (!c->operation && !c->native) {
    const double shift = forward ? -c->meridian : c->meridian;
    for (int32_t i = 0; i < count; ++i)
      out[i] = {shift == 0.0 ? in[i].x : wrapped(in[i].x + shift), in[i].y};
    return std::max(count, 0);
  }
  const Scales &scales = frame == Frame::kSystem ? c->system : c->common;
  for (int32_t done = 0; done < count;) {
    const size_t group = std::min<size_t>(kGroup, static_cast<size_t>(count - done));
    bool made = false;
    const size_t fit =
        computeGroup(*c, scales, forward, in + done, out + done, group, made, e.cause());
    done += static_cast<int32_t>(fit);
    if (fit == group) continue;
    if (!made) {
      e.fail(2, "The system \"%.100s\" cannot be computed", system.name.c_str());
    } else {
      constexpr int32_t kPointFault = 20;  // as the projection families report it
      const Oprj_Point &p = in[done];
      const long number = done;
      if (forward)
        e.failAtPoint(done, p.x, p.y, kPointFault,
                      "Point cannot be projected, point # %ld:  %lf, %lf", number, p.x, p.y);
      else
        e.failAtPoint(done, p.x, p.y, kPointFault, "Input data error, point # %ld:  %lf, %lf",
                      number, p.x, p.y);
    }
    return done;
  }
  return std::max(count, 0);
}

namespace {

int32_t inPlace(const char *function, const Oawp_PE_Object *system, bool forward, int32_t count,
                Oprj_Point *points) {
  engine::Call e(function);
  const Object *known = engine::as(system, setOf(Kind::kProjcs), e.cause());
  if (!known || (!points && count > 0)) return e.fail(1, "Args");
  return computePoints(*known, forward, Frame::kSystem, points, points, count, e);
}

}  // namespace
}  // namespace orvik::oprj

int32_t oawp_PE_pe_geog_to_proj(const Oawp_PE_PROJCS *system, int32_t count, Oprj_Point *points) {
  return orvik::oprj::inPlace("pe_geog_to_proj", system, true, count, points);
}

int32_t oawp_PE_pe_proj_to_geog(const Oawp_PE_PROJCS *system, int32_t count, Oprj_Point *points) {
  return orvik::oprj::inPlace("pe_proj_to_geog", system, false, count, points);
}
