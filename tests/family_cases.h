// One sensible system per projection family, with its peers: for laws that hold for all families
// and for the benchmarks.
#ifndef OPRJ_TESTS_FAMILY_CASES_H
#define OPRJ_TESTS_FAMILY_CASES_H

#include <utility>
#include <vector>

#include "family_support.h"

namespace oprj_test {

/// A system and the box (degrees) that it is used in. `proj` is PROJ's definition without axes,
/// empty when it has none; `gctp` is libgctp's code, -1 when it has none; `angles` are the entries
/// that are angles. `closed` tells a closed form from an iteration in each direction (forward,
/// inverse).
struct FamilyCase {
  const char *name;
  Initialiser init;
  int32_t number;
  std::vector<std::pair<int, double>> entries;
  Axes axes;
  Grid box;
  const char *proj;
  int32_t gctp;
  std::vector<int> angles;
  bool closedForward, closedInverse;
};

inline const std::vector<FamilyCase> &familyCases() {
  constexpr double d = kDeg;
  constexpr Axes ball = kNominalSphere;
  constexpr Grid states{-125, -67, 25, 50, 1}, continent{-160, -40, -10, 80, 3},
      view{-130, -70, 10, 70, 3}, world{-180, 180, -89, 89, 5};
  const std::vector<std::pair<int, double>> none, west90 = {{4, -90 * d}},
                                                  centre = {{4, -100 * d}, {5, 40 * d}};
  static const std::vector<FamilyCase> cases = {
      FamilyCase("Albers", oprj_AlbersConicalEqualAreaInit, 3,
                 {{2, 29.5 * d}, {3, 45.5 * d}, {4, -96 * d}, {5, 23 * d}}, kGRS80, states,
                 "+proj=aea +lat_1=29.5 +lat_2=45.5 +lon_0=-96 +lat_0=23", 3, {2, 3, 4, 5}, true,
                 false),
      FamilyCase("Lambert conformal conic", oprj_LambertConformalConicInit, 4,
                 {{2, 33 * d}, {3, 45 * d}, {4, -96 * d}, {5, 23 * d}}, kGRS80, states,
                 "+proj=lcc +lat_1=33 +lat_2=45 +lon_0=-96 +lat_0=23", 4, {2, 3, 4, 5}, true,
                 false),
      FamilyCase("Mercator", oprj_MercatorInit, 5, {{4, 10 * d}, {5, 0}}, kGRS80,
                 {-165, 175, -80, 80, 5}, "+proj=merc +lon_0=10", 5, {4, 5}, true, false),
      FamilyCase("Polar stereographic", oprj_PolarStereographicInit, 6, {{4, -45 * d}, {5, 71 * d}},
                 kGRS80, {-180, 180, 55, 89, 3}, "+proj=stere +lat_0=90 +lat_ts=71 +lon_0=-45", 6,
                 {4, 5}, true, false),
      FamilyCase("Polyconic", oprj_PolyconicInit, 7, {{4, -96 * d}, {5, 30 * d}}, kGRS80, states,
                 "+proj=poly +lon_0=-96 +lat_0=30", 7, {4, 5}, true, false),
      FamilyCase("Equidistant conic", oprj_EquidistantConicInit, 8,
                 {{2, 29.5 * d}, {3, 45.5 * d}, {4, -96 * d}, {5, 23 * d}, {8, 1}}, kGRS80, states,
                 "+proj=eqdc +lat_1=29.5 +lat_2=45.5 +lon_0=-96 +lat_0=23", 8, {2, 3, 4, 5}, true,
                 false),
      FamilyCase("Transverse Mercator", oprj_TransverseMercatorInit, 9,
                 {{2, 0.9996}, {4, -81 * d}, {6, 500000}}, kGRS80, {-84, -78, -80, 84, 1},
                 "+proj=tmerc +k_0=0.9996 +lon_0=-81 +x_0=500000", 9, {4, 5}, true, false),
      FamilyCase("Stereographic", oprj_StereographicInit, 10, centre, ball, continent,
                 "+proj=stere +lon_0=-100 +lat_0=40", 10, {4, 5}, true, true),
      FamilyCase("Lambert azimuthal equal-area", oprj_LambertAzimuthalEqual_AreaInit, 11, centre,
                 ball, continent, "+proj=laea +lon_0=-100 +lat_0=40", 11, {4, 5}, true, true),
      FamilyCase("Azimuthal equidistant", oprj_AzimuthalEquidistantInit, 12, centre, ball,
                 continent, "+proj=aeqd +lon_0=-100 +lat_0=40", 12, {4, 5}, true, true),
      FamilyCase("Gnomonic", oprj_GnomonicInit, 13, centre, ball, view,
                 "+proj=gnom +lon_0=-100 +lat_0=40", 13, {4, 5}, true, true),
      FamilyCase("Orthographic", oprj_OrthographicInit, 14, centre, ball, view,
                 "+proj=ortho +lon_0=-100 +lat_0=40", 14, {4, 5}, true, true),
      FamilyCase("Vertical near-side perspective", oprj_GeneralVerticalNear_SidePerspectiveInit, 15,
                 {{2, 20000000}, {4, -100 * d}, {5, 40 * d}}, ball, view,
                 "+proj=nsper +h=20000000 +lon_0=-100 +lat_0=40", 15, {4, 5}, true, true),
      FamilyCase("Sinusoidal", oprj_SinusoidalInit, 16, west90, ball, world,
                 "+proj=sinu +lon_0=-90", 16, {4}, true, true),
      FamilyCase("Equirectangular", oprj_EquirectangularInit, 17, {{4, -90 * d}, {5, 30 * d}}, ball,
                 world, "+proj=eqc +lon_0=-90 +lat_ts=30", 17, {4, 5}, true, true),
      FamilyCase("Miller", oprj_MillerCylindricalInit, 18, west90, ball, world,
                 "+proj=mill +lon_0=-90", 18, {4}, true, true),
      FamilyCase("Van der Grinten I", oprj_VanderGrintenIInit, 19, west90, ball,
                 {-180, 180, -85, 85, 5}, "+proj=vandg +lon_0=-90", 19, {4}, true, false),
      FamilyCase("Oblique Mercator", oprj_ObliqueMercatorInit, 20,
                 {{2, 0.9996}, {3, 53 * d}, {4, 115 * d}, {5, 4 * d}, {12, 1}}, kGRS80,
                 {109, 120, 0, 8, 0.5}, "+proj=omerc +k_0=0.9996 +alpha=53 +lonc=115 +lat_0=4", 20,
                 {3, 4, 5}, true, false),
      FamilyCase("Modified Transverse Mercator", oprj_MTMInit, 22, none, kClarke1866,
                 {-170, -130, 55, 70, 1}, "", -1, {}, true, false),
      FamilyCase("ESOM", oprj_ESOMInit, 23, {{4, 5}, {5, 40}}, kClarke1866, {-86, -76, 30, 50, 1},
                 "", -1, {}, false, false),
      FamilyCase("Robinson", oprj_ROBINInit, 24, west90, ball, world, "+proj=robin +lon_0=-90", 21,
                 {4}, true, true),
      FamilyCase("Space oblique Mercator", oprj_SOMGenericInit, 25, {{2, 2}, {3, 15}, {12, 1}},
                 kClarke1866, {-76, -72, 30, 50, 1}, "", 22, {}, false, false),
      FamilyCase("Alaska conformal", oprj_AlaskaConformalInit, 26, none, kClarke1866,
                 {-170, -135, 55, 70, 1}, "+proj=alsk", 23, {}, true, false),
      FamilyCase("Interrupted Goode", oprj_InterruptedGoodeInit, 27, none, ball,
                 {-179, 179, -89, 89, 5}, "+proj=igh", 24, {}, false, true),
      FamilyCase("Mollweide", oprj_MollweideInit, 28, west90, ball, world, "+proj=moll +lon_0=-90",
                 25, {4}, false, true),
      FamilyCase("Interrupted Mollweide", oprj_InterruptedMollweideInit, 29, none, ball,
                 {-179, 179, -89, 89, 5}, "", 26, {}, false, true),
      FamilyCase("Hammer", oprj_HammerInit, 30, west90, ball, world, "+proj=hammer +lon_0=-90", 27,
                 {4}, true, true),
      FamilyCase("Wagner IV", oprj_WagnerIVInit, 31, west90, ball, world, "+proj=wag4 +lon_0=-90",
                 28, {4}, false, true),
      FamilyCase("Wagner VII", oprj_WagnerVIIInit, 32, west90, ball, world, "+proj=wag7 +lon_0=-90",
                 29, {4}, true, true),
      FamilyCase("Oblated equal-area", oprj_OblatedEqualAreaInit, 33,
                 {{2, 1.33}, {3, 2}, {4, -100 * d}, {5, 40 * d}, {8, 0}}, ball, view,
                 "+proj=oea +m=1.33 +n=2 +theta=0 +lon_0=-100 +lat_0=40", 30, {4, 5, 8}, true,
                 true),
      FamilyCase("Anchored LSR", oprj_AnchoredLSRInit, 53, centre, kGRS80, {-105, -95, 35, 45, 0.5},
                 "", -1, {4, 5}, true, false),
      FamilyCase("Lambert conformal conic, one parallel", oprj_LambertConformalConicSSPInit, 67,
                 {{2, 39 * d}, {3, -96 * d}, {4, 0.9996}}, kGRS80, states,
                 "+proj=lcc +lat_1=39 +lat_0=39 +lon_0=-96 +k_0=0.9996", -1, {2, 3}, true, false),
      FamilyCase("Pseudo Mercator", oprj_PseudoMercatorInit, 68, {{4, 0}}, kWGS84,
                 {-179, 179, -85, 85, 5}, "+proj=webmerc", -1, {4}, true, true),
      FamilyCase("Mercator variant A", oprj_MercatorVariantAInit, 69, {{2, 0.997}, {4, 110 * d}},
                 kGRS80, {20, 179, -80, 80, 5}, "+proj=merc +k_0=0.997 +lon_0=110", -1, {4}, true,
                 true),
  };
  return cases;
}

}  // namespace oprj_test

#endif
