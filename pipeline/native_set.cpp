// The function set titled "Oprj_ProParameters": its data is the object that a projection family
// fills, its geographic system the spheroid of the object's record.
#include <oprj/datum_shift.h>

#include "pipeline/function_sets.h"

namespace orvik::oprj {
namespace {

const Oprj_MapProjection *objectOf(const void *data) {
  return static_cast<const Oprj_MapProjection *>(data);
}

const Oprj_ProParameters *recordOf(const void *data) {
  return data ? objectOf(data)->proParameters : nullptr;
}

/// The record when `title` asks for the native form; null with a report for another title.
const Oprj_ProParameters *recordForTitle(ErrorScope &e, const void *data, const char *title) {
  if (!sameTitle(title, OPRJ_TITLE_NATIVE))
    return e.fail(1, "Cannot get coordinate system of type %s", title ? title : "(null)");
  if (!recordOf(data)) return e.fail(2, "Invalid input Map Projection structure");
  return recordOf(data);
}

/// The spheroid and its datum are named, and the datum is not of the undefined type.
bool hasDatum(const Oprj_Spheroid *spheroid) {
  return spheroid && !isBlank(spheroid->sphereName) && spheroid->datum &&
         !isBlank(spheroid->datum->datumname) && spheroid->datum->type != OPRJ_DATUM_NONE;
}

}  // namespace

bool shiftDue(const Oprj_Spheroid *source, const Oprj_Spheroid *target) {
  return hasDatum(source) && hasDatum(target) &&
         !sameText(source->datum->datumname, target->datum->datumname);
}

namespace {

void nativeProjectionApplyInverse3D(void *data, const Oprj_Point3D *in, Oprj_Point3D *out,
                                    int32_t count, Oerr_Report **err) {
  ErrorScope e("nativeProjectionApplyInverse3D", err);
  const auto *projection = objectOf(data);
  if (!projection || !projection->toLL3D) {
    e.fail(1, "conversion not supported");
    return;
  }
  projection->toLL3D(in, projection->parameters, out, count, e.cause());
  if (e.calleeFailed()) e.fail(2, "toLL3D failed");
}

void nativeProjectionApply3D(void *data, const Oprj_Point3D *in, Oprj_Point3D *out, int32_t count,
                             Oerr_Report **err) {
  ErrorScope e("nativeProjectionApply3D", err);
  const auto *projection = objectOf(data);
  if (!projection || !projection->fromLL3D) {
    e.fail(1, "conversion not supported");
    return;
  }
  projection->fromLL3D(in, projection->parameters, out, count, e.cause());
  if (e.calleeFailed()) e.fail(2, "fromLL3D failed");
}

void *nativeProjectionCopy(const void *data, Oerr_Report **err) {
  ErrorScope e("nativeProjectionCopy", err);
  auto *copy = oprj_ProjectionPre842Copy(objectOf(data), e.cause());
  if (!copy) return e.fail(1, "oprj_ProjectionPre842Copy failed");
  return copy;
}

/// Equality as the pipeline means it: an undefined datum equals any (flag 1).
int32_t nativeProjectionEqual(const void *first, const void *second, Oerr_Report **err) {
  ErrorScope e("nativeProjectionEqual", err);
  const int32_t equal = oprj_ProParametersEqualWithProjection(recordOf(first), recordOf(second),
                                                              objectOf(first), 1, e.cause());
  if (e.calleeFailed()) return e.fail(1, "oprj_ProParametersEqualWithProjection failed");
  return equal;
}

int32_t nativeProjectionEqual2(const void *first, const void *second, Oerr_Report **err) {
  ErrorScope e("nativeProjectionEqual2", err);
  const int32_t equal = oprj_ProParametersEqual(recordOf(first), recordOf(second), e.cause());
  if (e.calleeFailed()) return e.fail(1, "oprj_ProParametersEqual failed");
  return equal;
}

Oprj_Char *nativeProjectionName(const void *data, Oerr_Report **err) {
  ErrorScope e("nativeProjectionName", err);
  const auto *record = recordOf(data);
  if (!record || !record->proName.data) return nullptr;
  Oprj_Char *name = oprj_CharStrToString(&record->proName);
  if (!name) return e.fail(1, "oprj_CharStrToString failed");
  return name;
}

void nativeProjectionFree(void *data, Oerr_Report **err) {
  ErrorScope e("nativeProjectionFree", err);
  auto *projection = static_cast<Oprj_MapProjection *>(data);
  oprj_ProjectionPre842Free(&projection);
}

int32_t nativeProjectionConvertPossible(const void *, const char *title, Oerr_Report **err) {
  ErrorScope e("nativeProjectionConvertPossible", err);
  return sameTitle(title, OPRJ_TITLE_NATIVE) || sameTitle(title, OPRJ_TITLE_PE);
}

void *convertToEngine(const char *operation, const void *data, const char *unitName,
                      Oerr_Report **err) {
  ErrorScope e(operation, err);
  void *system = kEngineSet.fromNative(const_cast<void *>(data), unitName, e.cause());
  if (!system) return e.fail(1, "oprj_MapProjectionToCOORDSYS failed");
  return system;
}

void *nativeProjectionConvert(const void *data, const char *, Oerr_Report **err) {
  return convertToEngine("nativeProjectionConvert", data, nullptr, err);
}

void *nativeProjectionConvertWithUnits(const void *data, const char *, Oprj_Char **unitName,
                                       Oerr_Report **err) {
  constexpr const char *kOperation = "nativeProjectionConvertWithUnits";
  ErrorScope e(kOperation, err);
  const Utf8 unit(unitName ? *unitName : nullptr, e);
  return e.failed() ? nullptr : convertToEngine(kOperation, data, unit, err);
}

void *nativeProjectionCSRGet(const void *data, const char *title, Oerr_Report **err) {
  ErrorScope e("nativeProjectionCSRGet", err);
  return const_cast<Oprj_ProParameters *>(recordForTitle(e, data, title));
}

void *nativeProjectionPCSRGet(const void *data, const char *title, Oerr_Report **err) {
  ErrorScope e("nativeProjectionPCSRGet", err);
  const auto *record = recordForTitle(e, data, title);
  return record && !isGeographic(*record) ? const_cast<Oprj_ProParameters *>(record) : nullptr;
}

const void *nativeProjectionGCSRGet(const void *data, const char *title, Oerr_Report **err) {
  ErrorScope e("nativeProjectionGCSRGet", err);
  const auto *record = recordForTitle(e, data, title);
  return record ? record->proSpheroid : nullptr;
}

void nativeGCSTransform(const void *sourceGCS, const void *targetGCS, int32_t count,
                        Oprj_Point *points, Oerr_Report **err) {
  ErrorScope e("nativeGCSTransform", err);
  const auto *source = static_cast<const Oprj_Spheroid *>(sourceGCS);
  const auto *target = static_cast<const Oprj_Spheroid *>(targetGCS);
  if (!shiftDue(source, target)) return;
  const OwnedPoints shifted(oprj_PointsCreate(arrayLength(count), e.cause()));
  if (!shifted) {
    e.fail(16346, "oprj_PointsCreate failed");
    return;
  }
  oprj_DatumShift(points, source, shifted.get(), target, count, e.cause());
  if (e.calleeFailed()) {
    e.fail(16350, "oprj_DatumShift failed");
    return;
  }
  if (!oprj_PointsCopy(shifted.get(), points, arrayLength(count), e.cause()))
    e.fail(16355, "oprj_PointsCopy failed");
}

}  // namespace

const Oprj_MapProjectionFunctions kNativeSet = {
    .applyInverse = nativeLeg<false>,
    .apply = nativeLeg<true>,
    .copy = nativeProjectionCopy,
    .equal = nativeProjectionEqual,
    .name = nativeProjectionName,
    .free = nativeProjectionFree,
    .convertFromMIFable = nativeProjectionConvertFromMIFable,
    .convertToMIFable = nativeProjectionConvertToMIFable,
    .convertPossible = nativeProjectionConvertPossible,
    .convert = nativeProjectionConvert,
    .convertWithUnits = nativeProjectionConvertWithUnits,
    .csrGet = nativeProjectionCSRGet,
    .pcsrGet = nativeProjectionPCSRGet,
    .gcsrGet = nativeProjectionGCSRGet,
    .gcsTransform = nativeGCSTransform,
    .equal2 = nativeProjectionEqual2,
    .applyInverse3D = nativeProjectionApplyInverse3D,
    .apply3D = nativeProjectionApply3D,
};

}  // namespace orvik::oprj
