// Equality of parameter records, decided by the projection family, and the check before projecting.
#include <oprj/project.h>

#include "pipeline/function_sets.h"

using namespace orvik::oprj;

namespace {

int32_t recordsEqual(ErrorScope &e, const Oprj_ProParameters *first,
                     const Oprj_ProParameters *second, int32_t flag) {
  Oprj_MapProjectionEx *made = nullptr;
  oprj_ProjectionInit(nullptr, first, &made, e.cause());
  const OwnedHandle handle(made);
  if (!handle) return e.fail(1, "Error returned from oprj_ProjectionInit");

  const bool native = sameTitle(handle->title, OPRJ_TITLE_NATIVE);
  if (second && native == asksForEngine(*second)) return 0;  // systems of different sets
  if (native) {
    const int32_t equal = oprj_ProParametersEqualWithProjection(
        first, second, static_cast<const Oprj_MapProjection *>(handle->ownedData), flag, e.cause());
    if (e.calleeFailed())
      return e.fail(2, "Error returned from oprj_ProParametersEqualWithProjection");
    return equal;
  }

  oprj_ProjectionInit(nullptr, second, &made, e.cause());
  const OwnedHandle other(made);
  if (!other) return e.fail(3, "Error returned from oprj_ProjectionInit");
  const int32_t equal = oprj_MapProjectionEqual(handle.get(), other.get(), e.cause());
  if (e.calleeFailed()) return e.fail(4, "Error returned from oprj_MapProjectionEqual");
  return equal;
}

}  // namespace

int32_t oprj_ProParametersEqualWithProjection(const Oprj_ProParameters *first,
                                              const Oprj_ProParameters *second,
                                              const Oprj_MapProjection *projection, int32_t flag,
                                              Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersEqualWithProjection", err);
  if (!first || !second) return e.fail(1, "Invalid input parmArray");
  if (!projection) return e.fail(2, "Invalid input Map Projection structure");
  if (first->proType != second->proType) return 0;
  if (first->proType == OPRJ_EXTERNAL ? !sameText(first->proExeName, second->proExeName)
                                      : first->proNumber != second->proNumber)
    return 0;

  if (projection->proParametersEqual) {
    const int32_t equal = projection->proParametersEqual(first, second, e.cause());
    if (e.calleeFailed()) return e.fail(3, "Error returned from projection parameters comparison");
    if (!equal) return 0;
  } else {
    const int32_t equal = oprj_DblArraysEqual(&first->proParams, &second->proParams, e.cause());
    if (e.calleeFailed()) return e.fail(4, "Error returned from oprj_DblArraysEqual");
    if (!equal) return 0;
  }

  const int32_t equal =
      oprj_SpheroidsEqual2(first->proSpheroid, second->proSpheroid, flag, e.cause());
  if (e.calleeFailed()) return e.fail(5, "Error returned from oprj_SpheroidsEqual2");
  return equal;
}

int32_t oprj_ProParametersEqual(const Oprj_ProParameters *first, const Oprj_ProParameters *second,
                                Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersEqual", err);
  return recordsEqual(e, first, second, 1);
}

int32_t oprj_ProParametersEqual2(const Oprj_ProParameters *first, const Oprj_ProParameters *second,
                                 int32_t flag, Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersEqual2", err);
  return recordsEqual(e, first, second, flag);
}

int32_t oprj_ProjectionsOKToProject(const Oprj_ProParameters *first,
                                    const Oprj_ProParameters *second, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionsOKToProject", err);
  if (!first || !second) return e.fail(1, "Invalid input parmArray");
  for (const auto *record : {first, second})
    if (!record->proSpheroid || !(record->proSpheroid->a > 0)) return e.fail(2, "Empty spheroid.");

  const auto &source = *first->proSpheroid, &target = *second->proSpheroid;
  if (!isUndefined(source.datum) && !isUndefined(target.datum)) return 1;
  const int32_t equal = oprj_SpheroidsEqual(&source, &target, e.cause());
  if (e.calleeFailed()) return e.fail(3, "Error returned from oprj_SpheroidsEqual");
  if (!equal) {
    Oerr_Report *warning = oerr_CreateErrorReport(e.operation(), 4, OERR_SEVERITY_WARNING, nullptr,
                                                  "Spheroid difference ignored due to undefined "
                                                  "datum!");
    oerr_PrintErrorReport(warning);
    oerr_DeleteErrorReport(&warning);
  }
  return 1;
}
