// The function set titled "PE", whose data is a coordinate system object of the Projection Engine
// (engine.h). Points are metres, and radians from Greenwich, as those of the native set.
#include <oprj/engine.h>
#include <oprj/families.h>
#include <oprj/ostr.h>
#include <oprj/translation.h>

#include "engine/report.h"
#include "interchange/engine_computation.h"
#include "interchange/engine_portable.h"
#include "pipeline/function_sets.h"
#include "toolkit/error_scope.h"

namespace orvik::oprj {
namespace {

using toolkit::ErrorScope;
using toolkit::Failed;

Failed unimplemented(const char *operation, Oerr_Report **err) {
  ErrorScope e(operation, err);
  return e.fail(1, "Unimplemented");
}

const Oawp_PE_COORDSYS *systemOf(const void *data) {
  return static_cast<const Oawp_PE_COORDSYS *>(data);
}

/// Reports over what the engine's last function reported.
Failed failOver(ErrorScope &e, int32_t code, const char *message) {
  oawp_PE_ReportTake(e.cause());
  return e.fail(code, "%s", message);
}

void *engineObjectFromString(const char *text, Oerr_Report **err) {
  Oawp_PE_COORDSYS *system = oawp_PE_pe_coordsys_from_string(text);
  oawp_PE_ReportTake(err);
  return system;
}

template <bool kForward>
void compute(const void *data, const Oprj_Point *in, Oprj_Point *out, int32_t count,
             Oerr_Report **err) {
  ErrorScope e(kForward ? "peProjectionApply" : "peProjectionApplyInverse", err);
  if (count < 1) return;
  ErrorScope inner(kForward ? "pe_geog_to_proj" : "pe_proj_to_geog", e.cause());
  const engine::Object *system = engine::as(data, engine::kCoordsys);
  if (!system || !in || !out) inner.fail(1, "Args");
  else if (computePoints(*system, kForward, Frame::kCommon, in, out, count, inner) == count) return;
  e.fail(1, kForward ? "OAWP_FCLL_PE(pe_geog_to_proj) failed"
                     : "OAWP_FCLL_PE(pe_proj_to_geog) failed");
}

template <bool kForward>
void peLeg(void *data, const Oprj_Point *in, Oprj_Point *out, int32_t count, Oerr_Report **err) {
  if (count != 1 || !computePoint(kForward, data, in, out))
    return compute<kForward>(data, in, out, count, err);
  if (err) *err = nullptr;
}

void *peProjectionCopy(const void *data, Oerr_Report **err) {
  ErrorScope e("peProjectionCopy", err);
  Oawp_PE_COORDSYS *copy = oawp_PE_pe_coordsys_clone(systemOf(data));
  if (!copy) return failOver(e, 1, "OAWP_FCLL_PE(pe_coordsys_clone) failed");
  return copy;
}
int32_t peProjectionEqual(const void *first, const void *second, Oerr_Report **err) {
  ErrorScope e("peProjectionEqual", err);
  if (!first || !second) return e.fail(1, "Args");
  const engine::Object *one = engine::knownAs(first, engine::kCoordsys),
                       *other = engine::knownAs(second, engine::kCoordsys);
  if (one && other && one->derived && other->derived && one->kind != other->kind) return 0;
  const int32_t equal = oawp_PE_pe_coordsys_eq(systemOf(first), systemOf(second));
  oawp_PE_ReportTake(e.cause());
  if (e.calleeFailed()) return e.fail(2, "OAWP_FCLL_PE(pe_coordsys_eq) failed");
  return equal;
}
Oprj_Char *peProjectionName(const void *data, Oerr_Report **err) {
  ErrorScope e("peProjectionName", err);
  const engine::Object *system = engine::as(data, engine::kCoordsys);
  OwnedText name = newText(system && !system->name.empty() ? system->name.c_str() : "Unknown");
  if (!name) return e.fail(1, "ostr_Duplicate failed");
  return name.release();
}
void peProjectionFree(void *data, Oerr_Report **err) {
  ErrorScope e("peProjectionFree", err);
  oawp_PE_pe_coordsys_del(static_cast<Oawp_PE_COORDSYS *>(data));
}
int32_t peProjectionConvertPossible(const void *, const char *title, Oerr_Report **err) {
  ErrorScope e("peProjectionConvertPossible", err);
  return sameTitle(title, OPRJ_TITLE_NATIVE) || sameTitle(title, OPRJ_TITLE_PE);
}
/// The native set's data for a system.
void *convertToNative(const char *operation, const void *data, Oprj_Char **unitName,
                      Oerr_Report **err) {
  ErrorScope e(operation, err);
  Oprj_Char *unit = nullptr;
  const OwnedHandle handle(oprj_COORDSYSToMapProjection(systemOf(data), &unit, e.cause()));
  OwnedText owned(unit);
  if (!handle) return e.fail(1, "oprj_COORDSYSToMapProjection failed");
  const auto *record = static_cast<const Oprj_ProParameters *>(
      oprj_MapProjectionCSRGet(handle.get(), OPRJ_TITLE_NATIVE, e.cause()));
  void *native = record ? oprj_ProjectionPre842Init(nullptr, record, e.cause()) : nullptr;
  if (!native) return e.fail(2, "oprj_ProjectionPre842Init failed");
  if (unitName) *unitName = owned.release();
  return native;
}
void *peProjectionConvert(const void *data, const char *, Oerr_Report **err) {
  return convertToNative("peProjectionConvert", data, nullptr, err);
}
void *peProjectionConvertWithUnits(const void *data, const char *, Oprj_Char **unitName,
                                   Oerr_Report **err) {
  return convertToNative("peProjectionConvertWithUnits", data, unitName, err);
}
void *engineObjectFromNative(void *data, const char *unitName, Oerr_Report **err) {
  ErrorScope e("engineObjectFromNative", err);
  Oprj_MapProjectionEx handle;  // around data that stays the caller's
  if (!oprj_ProjectionSet(&handle, OPRJ_TITLE_NATIVE, data, e.cause()))
    return e.fail(1, "oprj_ProjectionSet failed");
  const Flat unit(unitName, e);
  if (e.failed()) return nullptr;
  Oawp_PE_COORDSYS *system = oprj_MapProjectionToCOORDSYS(&handle, unit, nullptr, e.cause());
  if (!system) return e.fail(2, "Error returned from oprj_MapProjectionToCOORDSYS");
  return system;
}

/// The object when the title asks for the engine's form; null with a report for another.
const void *objectForTitle(ErrorScope &e, const void *data, const char *title) {
  if (sameTitle(title, OPRJ_TITLE_PE)) return data;
  return e.fail(1, "Cannot get coordinate system of type %s", title ? title : "(null)");
}
void *peProjectionCSRGet(const void *data, const char *title, Oerr_Report **err) {
  ErrorScope e("peProjectionCSRGet", err);
  return const_cast<void *>(objectForTitle(e, data, title));
}
/// The projected part; null without a report when the system is geographic.
void *peProjectionPCSRGet(const void *data, const char *title, Oerr_Report **err) {
  ErrorScope e("peProjectionPCSRGet", err);
  const void *system = objectForTitle(e, data, title);
  return oawp_PE_pe_projcs_p(system) ? const_cast<void *>(system) : nullptr;
}
const void *peProjectionGCSRGet(const void *data, const char *title, Oerr_Report **err) {
  ErrorScope e("peProjectionGCSRGet", err);
  const void *system = objectForTitle(e, data, title);
  return oawp_PE_pe_projcs_p(system) ? oawp_PE_pe_projcs_geogcs(systemOf(system)) : system;
}
/// Nothing to do when both have the same datum: otherwise no two engine handles could be projected
/// between, equal as their systems may be.
void peGCSTransform(const void *source, const void *target, int32_t, Oprj_Point *,
                    Oerr_Report **err) {
  ErrorScope e("peGCSTransform", err);
  const engine::Object *from = oawp_PE_pe_geogcs_datum(systemOf(source));
  const engine::Object *to = oawp_PE_pe_geogcs_datum(systemOf(target));
  if (from && to && guarded(e, 2, [&] { return engine::equal(*from, *to); })) return;
  if (!e.failed()) e.fail(1, "Cannot do a pe based geographic transformation yet");
}
int32_t peProjectionEqual2(const void *, const void *, Oerr_Report **err) {
  return unimplemented("peProjectionEqual2", err);
}
void peProjectionApplyInverse3D(void *, const Oprj_Point3D *, Oprj_Point3D *, int32_t,
                                Oerr_Report **err) {
  unimplemented("peProjectionApplyInverse3D", err);
}
void peProjectionApply3D(void *, const Oprj_Point3D *, Oprj_Point3D *, int32_t, Oerr_Report **err) {
  unimplemented("peProjectionApply3D", err);
}

}  // namespace

const EngineSet kEngineSet = {
    .functions =
        {
            .applyInverse = peLeg<false>,
            .apply = peLeg<true>,
            .copy = peProjectionCopy,
            .equal = peProjectionEqual,
            .name = peProjectionName,
            .free = peProjectionFree,
            .convertFromMIFable = peProjectionConvertFromMIFable,
            .convertToMIFable = peProjectionConvertToMIFable,
            .convertPossible = peProjectionConvertPossible,
            .convert = peProjectionConvert,
            .convertWithUnits = peProjectionConvertWithUnits,
            .csrGet = peProjectionCSRGet,
            .pcsrGet = peProjectionPCSRGet,
            .gcsrGet = peProjectionGCSRGet,
            .gcsTransform = peGCSTransform,
            .equal2 = peProjectionEqual2,
            .applyInverse3D = peProjectionApplyInverse3D,
            .apply3D = peProjectionApply3D,
        },
    .fromString = engineObjectFromString,
    .fromNative = engineObjectFromNative,
};

}  // namespace orvik::oprj
