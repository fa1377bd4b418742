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
  /// Of a family that is computed on the sphere of radius a: how far its sheet lies at most from
  /// that of the ellipsoid, over a e². docs/projections.md says what is compared, and a test
  /// compares it.
  double fromEllipsoid = 0.0;
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
    {10, oprj_StereographicInit, 2.5},
    {11, oprj_LambertAzimuthalEqual_AreaInit, 0.86},
    {12, oprj_AzimuthalEquidistantInit, 1.15},
    {13, oprj_GnomonicInit, 2.6},
    {14, oprj_OrthographicInit, 0.86},
    {15, oprj_GeneralVerticalNear_SidePerspectiveInit, 0.86},
    {16, oprj_SinusoidalInit, 0.85},
    {17, oprj_EquirectangularInit, 0.84},
    {18, oprj_MillerCylindricalInit, 0.66},
    {19, oprj_VanderGrintenIInit, 0.93},
    {20, oprj_ObliqueMercatorInit},
    {21, oprj_SOMInit},
    {22, oprj_MTMInit},
    {23, oprj_ESOMInit},
    {24, oprj_ROBINInit, 0.48},
    {25, oprj_SOMGenericInit},
    {26, oprj_AlaskaConformalInit},
    {27, oprj_InterruptedGoodeInit, 0.71},
    {28, oprj_MollweideInit, 0.52},
    {29, oprj_InterruptedMollweideInit, 0.63},
    {30, oprj_HammerInit, 0.64},
    {31, oprj_WagnerIVInit, 0.48},
    {32, oprj_WagnerVIIInit, 0.52},
    {33, oprj_OblatedEqualAreaInit, 0.78},
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
