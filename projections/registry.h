// The registry: which family stands behind each projection number. Families check their own number
// against it when they are compiled.
#ifndef OPRJ_REGISTRY_H
#define OPRJ_REGISTRY_H

#include <oprj/families.h>

#include <string_view>

#include "lanes/kernels.h"

namespace orvik::oprj {

using Initialiser = Oprj_MapProjection *(*)(Oint_Toolkit *, const Oprj_ProParameters *,
                                            Oerr_Report **);

/// A point function that ends at no point: those without a place become NaN, and their faults are
/// written to `faults` (one a point, may be null; faults that are there already stay). Other points
/// are as the point function makes them, bit for bit. Returns the number of points that came out as
/// NaN. `in` and `out` may be the same array; no pointer is checked.
using EachFunction = int32_t (*)(const double *block, const Oprj_Point *in, Oprj_Point *out,
                                 PointFault *faults, int32_t count);

/// In the order of their numbers: families with exported operations of their own, those of
/// oprj_PEAdditionalInit, and those whose initialisers build the object of another one. The third
/// figure is `fromEllipsoid` of the row.
// clang-format off
#define OPRJ_REGISTRY(OWN, ENGINE, BUILT) \
  OWN(0, Geographic, 0.0) \
  BUILT(1, UTM) \
  BUILT(2, StatePlane) \
  OWN(3, AlbersConicalEqualArea, 0.0) \
  OWN(4, LambertConformalConic, 0.0) \
  OWN(5, Mercator, 0.0) \
  OWN(6, PolarStereographic, 0.0) \
  OWN(7, Polyconic, 0.0) \
  OWN(8, EquidistantConic, 0.0) \
  OWN(9, TransverseMercator, 0.0) \
  OWN(10, Stereographic, 2.5) \
  OWN(11, LambertAzimuthalEqual_Area, 0.86) \
  OWN(12, AzimuthalEquidistant, 1.15) \
  OWN(13, Gnomonic, 2.6) \
  OWN(14, Orthographic, 0.86) \
  OWN(15, GeneralVerticalNear_SidePerspective, 0.86) \
  OWN(16, Sinusoidal, 0.85) \
  OWN(17, Equirectangular, 0.84) \
  OWN(18, MillerCylindrical, 0.66) \
  OWN(19, VanderGrintenI, 0.93) \
  OWN(20, ObliqueMercator, 0.0) \
  BUILT(21, SOM) \
  OWN(22, MTM, 0.0) \
  OWN(23, ESOM, 0.0) \
  OWN(24, ROBIN, 0.48) \
  OWN(25, SOMGeneric, 0.0) \
  OWN(26, AlaskaConformal, 0.0) \
  OWN(27, InterruptedGoode, 0.71) \
  OWN(28, Mollweide, 0.52) \
  OWN(29, InterruptedMollweide, 0.63) \
  OWN(30, Hammer, 0.64) \
  OWN(31, WagnerIV, 0.48) \
  OWN(32, WagnerVII, 0.52) \
  OWN(33, OblatedEqualArea, 0.78) \
  ENGINE(34, PlateCarree, 0.6) \
  ENGINE(35, EquidistantCylindrical, 0.84) \
  ENGINE(36, GaussKruger, 0.0) \
  ENGINE(37, EckertVI, 0.51) \
  ENGINE(38, EckertV, 0.47) \
  ENGINE(39, EckertIV, 0.5) \
  ENGINE(40, EckertIII, 0.48) \
  ENGINE(41, EckertII, 0.53) \
  ENGINE(42, EckertI, 0.49) \
  ENGINE(43, GallStereographic, 0.62) \
  ENGINE(44, Behrmann, 0.62) \
  ENGINE(45, WinkelI, 0.71) \
  ENGINE(46, WinkelII, 0.63) \
  ENGINE(47, QuarticAuthalic, 0.62) \
  ENGINE(48, Loximuthal, 0.95) \
  ENGINE(49, Bonne, 0.0) \
  ENGINE(50, StereographicEllipsoidal, 0.0) \
  ENGINE(51, Cassini, 0.0) \
  ENGINE(52, TwoPointEquidistant, 0.96) \
  OWN(53, AnchoredLSR, 0.0) \
  ENGINE(54, Krovak, 0.0) \
  ENGINE(55, DoubleStereographic, 0.0) \
  ENGINE(56, Aitoff, 0.71) \
  ENGINE(57, CrasterParabolic, 0.67) \
  ENGINE(58, CylindricalEqualArea, 0.0) \
  ENGINE(59, FlatPolarQuartic, 0.5) \
  ENGINE(60, Times, 0.55) \
  ENGINE(61, WinkelTripel, 0.71) \
  ENGINE(62, HammerAitoff, 0.64) \
  ENGINE(63, NearSidePerspective, 0.86) \
  ENGINE(64, HotineAzimuthCenter, 0.0) \
  ENGINE(65, HotineTwoPointCenter, 0.0) \
  ENGINE(66, HotineTwoPointNaturalOrigin, 0.0) \
  OWN(67, LambertConformalConicSSP, 0.0) \
  OWN(68, PseudoMercator, 0.0) \
  OWN(69, MercatorVariantA, 0.0)
// clang-format on

// What OPRJ_FAMILY makes beside the exported operations.
#define OPRJ_DECLARE_EACH(NUMBER, STEM, ...)                                                      \
  int32_t oprj_##STEM##FromLLEach(const double *, const Oprj_Point *, Oprj_Point *, PointFault *, \
                                  int32_t);                                                       \
  int32_t oprj_##STEM##ToLLEach(const double *, const Oprj_Point *, Oprj_Point *, PointFault *,   \
                                int32_t);
#define OPRJ_DECLARE_NOTHING(...)
OPRJ_REGISTRY(OPRJ_DECLARE_EACH, OPRJ_DECLARE_EACH, OPRJ_DECLARE_NOTHING)
#undef OPRJ_DECLARE_EACH

}  // namespace orvik::oprj

// The operations behind oprj_PEAdditionalInit's objects, which nobody calls by name.
#define OPRJ_DECLARE_ENGINE(NUMBER, STEM, ...)                                                    \
  Oprj_MapProjection *oprj_##STEM##Init(Oint_Toolkit *, const Oprj_ProParameters *,               \
                                        Oerr_Report **);                                          \
  void oprj_##STEM##FromLL(const Oprj_Point *, const double *, Oprj_Point *, int32_t,             \
                           Oerr_Report **);                                                       \
  void oprj_##STEM##ToLL(const Oprj_Point *, const double *, Oprj_Point *, int32_t,               \
                         Oerr_Report **);                                                         \
  double *oprj_##STEM##CopyParameters(const double *, double *, Oerr_Report **);                  \
  int32_t oprj_##STEM##ProParametersEqual(const Oprj_ProParameters *, const Oprj_ProParameters *, \
                                          Oerr_Report **);
OPRJ_REGISTRY(OPRJ_DECLARE_NOTHING, OPRJ_DECLARE_ENGINE, OPRJ_DECLARE_NOTHING)
#undef OPRJ_DECLARE_ENGINE
#undef OPRJ_DECLARE_NOTHING

namespace orvik::oprj {

/// A point function and the one that goes on after bad points.
struct PointLoop {
  Oprj_PointFunction function = nullptr;
  EachFunction each = nullptr;
};

struct RegistryRow {
  int32_t number;
  std::string_view name;  ///< of the initialiser: addresses are no constants to every compiler
  Initialiser init;
  /// Of a family that is computed on the sphere of radius a: how far its sheet lies at most from
  /// that of the ellipsoid, over a e². docs/projections.md says what is compared, and a test
  /// compares it.
  double fromEllipsoid = 0.0;
  PointLoop forward{}, inverse{};
  bool engine = false;  ///< of oprj_PEAdditionalInit
};

#define OPRJ_FAMILY_ROW(NUMBER, STEM, FROM_ELLIPSOID, IS_ENGINE) \
  {NUMBER,                                                       \
   "oprj_" #STEM "Init",                                         \
   oprj_##STEM##Init,                                            \
   FROM_ELLIPSOID,                                               \
   {oprj_##STEM##FromLL, oprj_##STEM##FromLLEach},               \
   {oprj_##STEM##ToLL, oprj_##STEM##ToLLEach},                   \
   IS_ENGINE},
#define OPRJ_OWN_ROW(NUMBER, STEM, FROM_ELLIPSOID) \
  OPRJ_FAMILY_ROW(NUMBER, STEM, FROM_ELLIPSOID, false)
#define OPRJ_ENGINE_ROW(NUMBER, STEM, FROM_ELLIPSOID) \
  OPRJ_FAMILY_ROW(NUMBER, STEM, FROM_ELLIPSOID, true)
#define OPRJ_BUILT_ROW(NUMBER, STEM) {NUMBER, "oprj_" #STEM "Init", oprj_##STEM##Init},
inline constexpr RegistryRow kRegistry[] = {
    OPRJ_REGISTRY(OPRJ_OWN_ROW, OPRJ_ENGINE_ROW, OPRJ_BUILT_ROW)};
#undef OPRJ_FAMILY_ROW
#undef OPRJ_OWN_ROW
#undef OPRJ_ENGINE_ROW
#undef OPRJ_BUILT_ROW

/// The loop that belongs to a family's point function; null for any other function.
EachFunction eachOf(Oprj_PointFunction function);

/// The loop of a geographic system that takes places alone: what lies beyond a pole, or is
/// infinite, is bad, PointFault::kOutsideDomain.
int32_t placesEach(const double *block, const Oprj_Point *in, Oprj_Point *out, PointFault *faults,
                   int32_t count);

/// The number that the initialiser of that name is registered under; -1: none.
constexpr int32_t registeredNumber(std::string_view init) {
  for (const RegistryRow &row : kRegistry) {
    if (row.name == init) return row.number;
  }
  return -1;
}

}  // namespace orvik::oprj

#endif
