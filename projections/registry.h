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

/// In the order of their numbers: families with formulas of their own, and those whose initialisers
/// build the object of another one. The third figure is `fromEllipsoid` of the row. Numbers up to
/// the last that have no row are the Projection Engine's.
// clang-format off
#define OPRJ_REGISTRY(OWN, BUILT) \
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
  OWN(53, AnchoredLSR, 0.0) \
  OWN(67, LambertConformalConicSSP, 0.0) \
  OWN(68, PseudoMercator, 0.0) \
  OWN(69, MercatorVariantA, 0.0)
// clang-format on

// What OPRJ_FAMILY makes for a family of its own beside the exported operations.
#define OPRJ_DECLARE_EACH(NUMBER, STEM, ...)                                                      \
  int32_t oprj_##STEM##FromLLEach(const double *, const Oprj_Point *, Oprj_Point *, PointFault *, \
                                  int32_t);                                                       \
  int32_t oprj_##STEM##ToLLEach(const double *, const Oprj_Point *, Oprj_Point *, PointFault *,   \
                                int32_t);
#define OPRJ_DECLARE_NOTHING(NUMBER, STEM)
OPRJ_REGISTRY(OPRJ_DECLARE_EACH, OPRJ_DECLARE_NOTHING)
#undef OPRJ_DECLARE_EACH
#undef OPRJ_DECLARE_NOTHING

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
};

#define OPRJ_OWN_ROW(NUMBER, STEM, FROM_ELLIPSOID) \
  {NUMBER,                                         \
   "oprj_" #STEM "Init",                           \
   oprj_##STEM##Init,                              \
   FROM_ELLIPSOID,                                 \
   {oprj_##STEM##FromLL, oprj_##STEM##FromLLEach}, \
   {oprj_##STEM##ToLL, oprj_##STEM##ToLLEach}},
#define OPRJ_BUILT_ROW(NUMBER, STEM) {NUMBER, "oprj_" #STEM "Init", oprj_##STEM##Init},
inline constexpr RegistryRow kRegistry[] = {OPRJ_REGISTRY(OPRJ_OWN_ROW, OPRJ_BUILT_ROW)};
#undef OPRJ_OWN_ROW
#undef OPRJ_BUILT_ROW

/// The loop that belongs to a family's point function; null for any other function.
EachFunction eachOf(Oprj_PointFunction function);

/// The number that the initialiser of that name is registered under; -1: none.
constexpr int32_t registeredNumber(std::string_view init) {
  for (const RegistryRow &row : kRegistry) {
    if (row.name == init) return row.number;
  }
  return -1;
}

}  // namespace orvik::oprj

#endif
