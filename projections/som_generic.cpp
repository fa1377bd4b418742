// Space Oblique Mercator, generic: a satellite's path by number, or a circular orbit by its
// elements. [Snyder87] p. 214-225; formulas in space_oblique.h.
//
// Reads entries 12 (not 0: path form) and 6, 7 (false easting and northing). Path form: 2
// (satellite) and 3 (path), truncated; satellites 1 to 3 have 251 paths, later ones 233. Orbit
// form: 3 (inclination), 4 (longitude of the ascending node), 8 (period of revolution in minutes)
// and 10 (not 0: northern points belong to the path's end). Entry 9 is not read: the path always
// starts at 0.5201613 of half a revolution.
// Kept: the comparison leaves out entries 4 and 8 and asks for 8 and 13 entries.
#include "projections/space_oblique.h"

namespace orvik::oprj::OPRJ_SET {

struct SOMGenericBlock {
  double a, e, es;
  double satellite, path, node, falseEast, falseNorth, period, endOfPath, form;
  SpaceObliqueOrbit orbit;
};

/// Minutes: a year. What takes longer does not go round the Earth.
inline constexpr double kLongestPeriod = 366 * kMinutesPerDay;

struct SOMGeneric : FamilyBase<SOMGenericBlock> {
  static constexpr Row row{.number = 25,
                           .minimum = 13,
                           .angles = entries(3, 4),
                           .compared = entries(2, 3) | entries(6, 7) | entries(10) | entries(12),
                           .comparedMinimumFirst = 8};
  static constexpr ValueCheck checks[] = {
      {[](const Entries &p, const Ellipsoid &) {
         return !(p[12] != 0.0 ? isLandsatPath(p[2], p[3]) : p[8] > 0.0 && p[8] <= kLongestPeriod);
       },
       "Improper parameter"}};
  static constexpr StopText kForward{
      4, "Too many iterations for SOM forward transformation, point # %ld:  %lf, %lf", nullptr,
      kOrbitIterations};
  static constexpr StopText kInverse{
      4, "Too many iterations for SOM inverse transformation, point # %ld:  %lf, %lf", nullptr,
      kOrbitIterations};

  static bool derive(const Entries &p, const Ellipsoid &s, SOMGenericBlock &b) {
    b = {s.a, s.e, s.es, p[2], p[3], p[4], p[6], p[7], p[8], p[10], p[12], {}};
    b.orbit = b.form != 0.0 ? landsatOrbit(s.es, isEarly(b.satellite), b.path)
                            : orbitOf(s.es, b.period / kMinutesPerDay, b.path, b.node, b.endOfPath);
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const Projected<V> p = spaceObliqueForward(b.orbit, b.es, lon, lat, stop, kForward);
    return {fma(V(b.a), p.x, V(b.falseEast)), fma(V(b.a), p.y, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    return spaceObliqueInverse(b.orbit, b.es, (x - V(b.falseEast)) * V(1.0 / b.a),
                               (y - V(b.falseNorth)) * V(1.0 / b.a), stop, kInverse);
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(SOMGeneric, oprj_SOMGenericInit, oprj_SOMGenericFromLL, oprj_SOMGenericToLL,
            oprj_SOMGenericCopyParameters, oprj_SOMGenericProParametersEqual)
