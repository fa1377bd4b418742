// Which loop belongs to which point function (each.h).
#include "projections/each.h"

#include <oprj/families.h>

// The families with formulas of their own, by the stem of their operations' names.
// clang-format off
#define OPRJ_FAMILIES(X) \
  X(Geographic) X(AlbersConicalEqualArea) X(LambertConformalConic) X(Mercator) \
  X(PolarStereographic) X(Polyconic) X(EquidistantConic) X(TransverseMercator) \
  X(Stereographic) X(LambertAzimuthalEqual_Area) X(AzimuthalEquidistant) X(Gnomonic) \
  X(Orthographic) X(GeneralVerticalNear_SidePerspective) X(Sinusoidal) X(Equirectangular) \
  X(MillerCylindrical) X(VanderGrintenI) X(ObliqueMercator) X(MTM) \
  X(ESOM) X(ROBIN) X(SOMGeneric) X(AlaskaConformal) \
  X(InterruptedGoode) X(Mollweide) X(InterruptedMollweide) X(Hammer) \
  X(WagnerIV) X(WagnerVII) X(OblatedEqualArea) X(AnchoredLSR) \
  X(LambertConformalConicSSP) X(PseudoMercator) X(MercatorVariantA)
// clang-format on

namespace orvik::oprj {

#define OPRJ_DECLARE_EACH(NAME)                                                                   \
  int32_t oprj_##NAME##FromLLEach(const double *, const Oprj_Point *, Oprj_Point *, PointFault *, \
                                  int32_t);                                                       \
  int32_t oprj_##NAME##ToLLEach(const double *, const Oprj_Point *, Oprj_Point *, PointFault *,   \
                                int32_t);
OPRJ_FAMILIES(OPRJ_DECLARE_EACH)

EachFunction eachOf(Oprj_PointFunction function) {
#define OPRJ_FIND_EACH(NAME)                                           \
  if (function == oprj_##NAME##FromLL) return oprj_##NAME##FromLLEach; \
  if (function == oprj_##NAME##ToLL) return oprj_##NAME##ToLLEach;
  OPRJ_FAMILIES(OPRJ_FIND_EACH)
  return nullptr;
}

}  // namespace orvik::oprj
