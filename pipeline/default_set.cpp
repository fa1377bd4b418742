// The default function set: each operation reports "Unimplemented" under its own name.
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

void prjProjectionApplyInverse(void *, const Oprj_Point *, Oprj_Point *, int32_t,
                               Oerr_Report **err) {
  unimplemented("prjProjectionApplyInverse", err);
}
void prjProjectionApply(void *, const Oprj_Point *, Oprj_Point *, int32_t, Oerr_Report **err) {
  unimplemented("prjProjectionApply", err);
}
void *prjProjectionCopy(const void *, Oerr_Report **err) {
  return unimplemented("prjProjectionCopy", err);
}
int32_t prjProjectionEqual(const void *, const void *, Oerr_Report **err) {
  return unimplemented("prjProjectionEqual", err);
}
Oprj_Char *prjProjectionName(const void *, Oerr_Report **err) {
  return unimplemented("prjProjectionName", err);
}
void prjProjectionFree(void *, Oerr_Report **err) { unimplemented("prjProjectionFree", err); }
void *prjProjectionConvertFromMIFable(const void *, const Omif_Design *, Oerr_Report **err) {
  return unimplemented("prjProjectionConvertFromMIFable", err);
}
void *prjProjectionConvertToMIFable(const void *, const Omif_Design **, Oerr_Report **err) {
  return unimplemented("prjProjectionConvertToMIFable", err);
}
int32_t prjProjectionConvertPossible(const void *, const char *, Oerr_Report **err) {
  return unimplemented("prjProjectionConvertPossible", err);
}
void *prjProjectionConvert(const void *, const char *, Oerr_Report **err) {
  return unimplemented("prjProjectionConvert", err);
}
void *prjProjectionConvertWithUnits(const void *, const char *, Oprj_Char **, Oerr_Report **err) {
  return unimplemented("prjProjectionConvertWithUnits", err);
}
void *prjProjectionCSRGet(const void *, const char *, Oerr_Report **err) {
  return unimplemented("prjProjectionCSRGet", err);
}
void *prjProjectionPCSRGet(const void *, const char *, Oerr_Report **err) {
  return unimplemented("prjProjectionPCSRGet", err);
}
const void *prjProjectionGCSRGet(const void *, const char *, Oerr_Report **err) {
  return unimplemented("prjProjectionGCSRGet", err);
}
void prjGCSTransform(const void *, const void *, int32_t, Oprj_Point *, Oerr_Report **err) {
  unimplemented("prjGCSTransform", err);
}
int32_t prjProjectionEqual2(const void *, const void *, Oerr_Report **err) {
  return unimplemented("prjProjectionEqual2", err);
}
void prjProjectionApplyInverse3D(void *, const Oprj_Point3D *, Oprj_Point3D *, int32_t,
                                 Oerr_Report **err) {
  unimplemented("prjProjectionApplyInverse3D", err);
}
void prjProjectionApply3D(void *, const Oprj_Point3D *, Oprj_Point3D *, int32_t,
                          Oerr_Report **err) {
  unimplemented("prjProjectionApply3D", err);
}

}  // namespace

const Oprj_MapProjectionFunctions kDefaultSet = {
    .applyInverse = prjProjectionApplyInverse,
    .apply = prjProjectionApply,
    .copy = prjProjectionCopy,
    .equal = prjProjectionEqual,
    .name = prjProjectionName,
    .free = prjProjectionFree,
    .convertFromMIFable = prjProjectionConvertFromMIFable,
    .convertToMIFable = prjProjectionConvertToMIFable,
    .convertPossible = prjProjectionConvertPossible,
    .convert = prjProjectionConvert,
    .convertWithUnits = prjProjectionConvertWithUnits,
    .csrGet = prjProjectionCSRGet,
    .pcsrGet = prjProjectionPCSRGet,
    .gcsrGet = prjProjectionGCSRGet,
    .gcsTransform = prjGCSTransform,
    .equal2 = prjProjectionEqual2,
    .applyInverse3D = prjProjectionApplyInverse3D,
    .apply3D = prjProjectionApply3D,
};

}  // namespace orvik::oprj
