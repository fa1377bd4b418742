// A plug-in that computes by a family of the library: what handing points over costs.
#include <oprj/families.h>
#include <oprj/plugin.h>

namespace {

struct Holder {
  Oprj_MapProjection *family = nullptr;
};

void *create(Oerr_Report **) { return new Holder; }

int32_t init(void *self, const Oprj_ProParameters *record, Oerr_Report **err) {
  auto &family = static_cast<Holder *>(self)->family;
  Oprj_ProParameters internal = *record;
  internal.proType = OPRJ_INTERNAL;
  family = oprj_SinusoidalInit(nullptr, &internal, err);
  return family != nullptr;
}

template <Oprj_PointFunction Oprj_MapProjection::*kRun>
int32_t run(void *self, const Oprj_Point *in, Oprj_Point *out, int32_t count, Oerr_Report **err) {
  const Oprj_MapProjection &family = *static_cast<const Holder *>(self)->family;
  (family.*kRun)(in, family.parameters, out, count, err);
  return !*err;
}

void destroy(void *self) {
  oprj_ProjectionPre842Free(&static_cast<Holder *>(self)->family);
  delete static_cast<Holder *>(self);
}

}  // namespace

extern "C" OPRJ_API const Oprj_ProjectionPlugIn *oprj_ProjectionPlugInGet(uint32_t version) {
  static const Oprj_ProjectionPlugIn table = {OPRJ_PROJECTION_PLUGIN_VERSION,
                                              sizeof table,
                                              "family",
                                              create,
                                              init,
                                              run<&Oprj_MapProjection::fromLL>,
                                              run<&Oprj_MapProjection::toLL>,
                                              destroy};
  return version == OPRJ_PROJECTION_PLUGIN_VERSION ? &table : nullptr;
}
