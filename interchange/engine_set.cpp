// The function set titled "PE", whose data is a coordinate system object of the Projection Engine.
// This build binds no engine: objects cannot be made from text, and what would compute with one
// reports so.
#include "interchange/engine_portable.h"
#include "pipeline/function_sets.h"
#include "toolkit/error_scope.h"

namespace orvik::oprj {
namespace {

using toolkit::ErrorScope;
using toolkit::Failed;

Failed noEngine(const char *operation, Oerr_Report **err) {
  ErrorScope e(operation, err);
  return e.fail(1, "The Projection Engine is not built in yet");
}

Failed unimplemented(const char *operation, Oerr_Report **err) {
  ErrorScope e(operation, err);
  return e.fail(1, "Unimplemented");
}

void *engineObjectFromString(const char *, Oerr_Report **err) {
  return noEngine("pe_coordsys_from_string", err);
}

void peProjectionApplyInverse(void *, const Oprj_Point *, Oprj_Point *, int32_t,
                              Oerr_Report **err) {
  noEngine("peProjectionApplyInverse", err);
}
void peProjectionApply(void *, const Oprj_Point *, Oprj_Point *, int32_t, Oerr_Report **err) {
  noEngine("peProjectionApply", err);
}
void *peProjectionCopy(const void *, Oerr_Report **err) {
  return noEngine("peProjectionCopy", err);
}
int32_t peProjectionEqual(const void *, const void *, Oerr_Report **err) {
  return noEngine("peProjectionEqual", err);
}
char *peProjectionName(const void *, Oerr_Report **err) {
  return noEngine("peProjectionName", err);
}
void peProjectionFree(void *, Oerr_Report **err) { noEngine("peProjectionFree", err); }
int32_t peProjectionConvertPossible(const void *, const char *title, Oerr_Report **err) {
  ErrorScope e("peProjectionConvertPossible", err);
  return sameTitle(title, OPRJ_TITLE_NATIVE) || sameTitle(title, OPRJ_TITLE_PE);
}
Failed noConversion(const char *operation, Oerr_Report **err) {
  ErrorScope e(operation, err);
  noEngine("oprj_COORDSYSToMapProjection", e.cause());
  return e.fail(1, "oprj_COORDSYSToMapProjection failed");
}
void *peProjectionConvert(const void *, const char *, Oerr_Report **err) {
  return noConversion("peProjectionConvert", err);
}
void *peProjectionConvertWithUnits(const void *, const char *, char **, Oerr_Report **err) {
  return noConversion("peProjectionConvertWithUnits", err);
}
void *peProjectionCSRGet(const void *data, const char *title, Oerr_Report **err) {
  ErrorScope e("peProjectionCSRGet", err);
  if (!sameTitle(title, OPRJ_TITLE_PE))
    return e.fail(1, "Cannot get coordinate system of type %s", title ? title : "(null)");
  return const_cast<void *>(data);
}
void *peProjectionPCSRGet(const void *, const char *, Oerr_Report **err) {
  return noEngine("peProjectionPCSRGet", err);
}
const void *peProjectionGCSRGet(const void *, const char *, Oerr_Report **err) {
  return noEngine("peProjectionGCSRGet", err);
}
void peGCSTransform(const void *, const void *, int32_t, Oprj_Point *, Oerr_Report **err) {
  ErrorScope e("peGCSTransform", err);
  e.fail(1, "Cannot do a pe based geographic transformation yet");
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
            .applyInverse = peProjectionApplyInverse,
            .apply = peProjectionApply,
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
};

}  // namespace orvik::oprj
