// The same projection as a plug-in library, which is faster and takes part in the process: points
// are handed over where they lie. It needs the header plugin.h alone.
#include <oprj/plugin.h>

#include <new>

#include "natural_earth.h"

namespace {

void *create(Oerr_Report **) { return new (std::nothrow) NaturalEarth; }

int32_t init(void *self, const Oprj_ProParameters *record, Oerr_Report **) {
  const double a = record->proSpheroid ? record->proSpheroid->a : 0;
  return naturalEarthInit(static_cast<NaturalEarth *>(self), a, record->proParams.data,
                          record->proParams.count);
}

template <void (*kPoint)(const NaturalEarth *, const double *, double *)>
int32_t each(void *self, const Oprj_Point *in, Oprj_Point *out, int32_t count, Oerr_Report **) {
  for (int32_t i = 0; i < count; ++i)
    kPoint(static_cast<NaturalEarth *>(self), &in[i].x, &out[i].x);
  return 1;
}

void destroy(void *self) { delete static_cast<NaturalEarth *>(self); }

}  // namespace

extern "C" OPRJ_API const Oprj_ProjectionPlugIn *oprj_ProjectionPlugInGet(uint32_t version) {
  static const Oprj_ProjectionPlugIn table = {OPRJ_PROJECTION_PLUGIN_VERSION,
                                              sizeof table,
                                              "Natural Earth",
                                              create,
                                              init,
                                              each<naturalEarthForward>,
                                              each<naturalEarthInverse>,
                                              destroy};
  return version == OPRJ_PROJECTION_PLUGIN_VERSION ? &table : nullptr;
}
