// The registry: which initialiser stands behind each projection number. Families check their own
// number against it when they are compiled.
#ifndef OPRJ_REGISTRY_H
#define OPRJ_REGISTRY_H

#include <oprj/families.h>

namespace orvik::oprj {

using Initialiser = Oprj_MapProjection *(*)(Oint_Toolkit *, const Oprj_ProParameters *,
                                            Oerr_Report **);

struct RegistryRow {
  int32_t number;
  Initialiser init;
};

/// In the order of their numbers. Numbers up to the last that have no row are the Projection
/// Engine's.
inline constexpr RegistryRow kRegistry[] = {
    {0, oprj_GeographicInit},
    {1, oprj_UTMInit},
    {2, oprj_StatePlaneInit},
    {3, oprj_AlbersConicalEqualAreaInit},
    {4, oprj_LambertConformalConicInit},
    {5, oprj_MercatorInit},
    {6, oprj_PolarStereographicInit},
    {7, oprj_PolyconicInit},
    {8, oprj_EquidistantConicInit},
    {9, oprj_TransverseMercatorInit},
    {10, oprj_StereographicInit},
    {11, oprj_LambertAzimuthalEqual_AreaInit},
    {12, oprj_AzimuthalEquidistantInit},
    {13, oprj_GnomonicInit},
    {14, oprj_OrthographicInit},
    {15, oprj_GeneralVerticalNear_SidePerspectiveInit},
    {16, oprj_SinusoidalInit},
    {17, oprj_EquirectangularInit},
    {18, oprj_MillerCylindricalInit},
    {19, oprj_VanderGrintenIInit},
    {20, oprj_ObliqueMercatorInit},
    {21, oprj_SOMInit},
    {22, oprj_MTMInit},
    {23, oprj_ESOMInit},
    {24, oprj_ROBINInit},
    {25, oprj_SOMGenericInit},
    {26, oprj_AlaskaConformalInit},
    {27, oprj_InterruptedGoodeInit},
    {28, oprj_MollweideInit},
    {29, oprj_InterruptedMollweideInit},
    {30, oprj_HammerInit},
    {31, oprj_WagnerIVInit},
    {32, oprj_WagnerVIIInit},
    {33, oprj_OblatedEqualAreaInit},
    {53, oprj_AnchoredLSRInit},
    {67, oprj_LambertConformalConicSSPInit},
    {68, oprj_PseudoMercatorInit},
    {69, oprj_MercatorVariantAInit},
};

/// The number that an initialiser is registered under; -1: none.
constexpr int32_t registeredNumber(Initialiser init) {
  for (const RegistryRow &row : kRegistry) {
    if (row.init == init) return row.number;
  }
  return -1;
}

}  // namespace orvik::oprj

#endif
