// The inner object of the native set: creation, copy, quit and release.
#include <utility>

#include "records/records.h"

using namespace orvik::oprj;

Oprj_MapProjection *oprj_ProjectionCreate(Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionCreate", err);
  auto *made = allocateRecord<Oprj_MapProjection>();
  if (!made) return e.fail(1, "Error allocating MapProjection");
  return made;
}

Oprj_MapProjection *oprj_ProjectionPre842Copy(const Oprj_MapProjection *projection,
                                              Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionPre842Copy", err);
  if (!projection) return e.fail(1, "Invalid input Map Projection structure");
  OwnedMapProjection copy(oprj_ProjectionCreate(e.cause()));
  if (!copy) return e.fail(2, "Error returned from oprj_ProjectionCreate");
  copy->proParameters = oprj_ProParametersCopy(projection->proParameters, nullptr, e.cause());
  if (!copy->proParameters) return e.fail(3, "Error returned from oprj_ProParametersCopy");
  if (projection->parameters) {
    if (!projection->copyParameters) return e.fail(4, "Invalid copyParameters function");
    copy->parameters = projection->copyParameters(projection->parameters, nullptr, e.cause());
    if (!copy->parameters) return e.fail(5, "Error returned from parameters copy");
  }
  // Kept: slot 11 is not carried over, so it stays null.
  copy->toLL = projection->toLL;
  copy->fromLL = projection->fromLL;
  copy->toLL3D = projection->toLL3D;
  copy->fromLL3D = projection->fromLL3D;
  copy->copyParameters = projection->copyParameters;
  copy->proParametersEqual = projection->proParametersEqual;
  copy->quit = projection->quit;
  copy->geographic = projection->geographic;
  return copy.release();
}

int32_t oprj_ProjectionPre842Quit(Oprj_MapProjection *projection, Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionPre842Quit", err);
  if (!projection) return e.fail(1, "Invalid input Map Projection structure");
  const auto quit = std::exchange(projection->quit, nullptr);
  if (!quit) return 1;
  quit(projection, e.cause());
  if (e.calleeFailed()) return e.fail(2, "Error returned from projection quit");
  return 1;
}

void oprj_ProjectionPre842Free(Oprj_MapProjection **projection) {
  if (!projection || !*projection) return;
  oprj_ProjectionPre842Quit(*projection, nullptr);
  oprj_ProParametersFree(&(*projection)->proParameters);
  omsc_HeapFree((*projection)->parameters);
  omsc_HeapFree(*projection);
  *projection = nullptr;
}
