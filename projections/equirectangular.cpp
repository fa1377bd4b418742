// Equirectangular of the sphere (17, 35), Plate Carrée (34). [Snyder87] p. 90-91, eqs. 12-1 to
// 12-5.
//
// Reads entries 4 (central meridian), 5 (latitude of true scale, which must not be a pole; 34 does
// not read it, it is the equator), 6 and 7 (false easting and northing); y counts from the equator.
// The sphere has radius a. Domain: the whole globe; eastward the sheet repeats: the inverse wraps
// longitudes up to a turn from the central meridian and accepts 1e-10 rad (0.6 mm) beyond the
// edges.
#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

struct EquirectangularBlock {
  double a, e, es;
  double lon0, lat1, falseEast, falseNorth;
  double scale;           // a cos lat1
  double perScale, perA;  // 1 / scale, 1 / a
};
static_assert(sizeof(EquirectangularBlock) == 10 * sizeof(double));

struct Equirectangular : FamilyBase<EquirectangularBlock> {
  static constexpr Row row{
      .number = 17, .minimum = 8, .angles = entries(4, 5), .compared = entries(4, 7)};
  static constexpr ValueCheck checks[] = {kParallelAtPole};
  static constexpr StopText kOffTheSheet{4, "Improper parameter"};

  static bool derive(const Entries &p, const Ellipsoid &s, EquirectangularBlock &b) {
    b = {s.a, s.e, s.es, meridianOf(p[4]), p[5], p[6], p[7], 0.0, 0.0, 0.0};
    b.scale = b.a * __builtin_cos(b.lat1);
    b.perScale = 1.0 / b.scale;
    b.perA = 1.0 / b.a;
    return true;
  }

  template <class V>
  OPRJ_INLINE static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &) {
    const V dLon = wrapDifference(lon - V(b.lon0));
    return {fma(V(b.scale), dLon, V(b.falseEast)), fma(V(b.a), lat, V(b.falseNorth))};
  }

  template <class V>
  OPRJ_INLINE static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V dLon = (x - V(b.falseEast)) * b.perScale, v = (y - V(b.falseNorth)) * b.perA;
    const Truth<V> within =
        Truth<V>(abs(v) <= V(kHalfPi + kClose)) & (abs(dLon) <= V(kTwoPi + kClose));
    stop.when(~within, kOffTheSheet);
    const V phi = clampTo(v, kHalfPi);
    return {wrapDifference(b.lon0 + wrapDifference(dLon)), phi};
  }
};

struct EquidistantCylindrical : Equirectangular {
  static constexpr Row row{
      .number = 35, .minimum = 8, .angles = entries(4, 5), .compared = entries(4, 7)};
};

struct PlateCarree : Equirectangular {
  static constexpr Row row{
      .number = 34, .minimum = 8, .angles = entries(4), .compared = entries(4) | entries(6, 7)};
  static constexpr std::span<const ValueCheck> checks{};

  static bool derive(const Entries &p, const Ellipsoid &s, Block &b) {
    b = {s.a, s.e, s.es, meridianOf(p[4]), 0.0, p[6], p[7], s.a, 1.0 / s.a, 1.0 / s.a};
    return true;
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(Equirectangular, oprj_EquirectangularInit, oprj_EquirectangularFromLL,
            oprj_EquirectangularToLL, oprj_EquirectangularCopyParameters,
            oprj_EquirectangularProParametersEqual)
OPRJ_ENGINE_FAMILY(EquidistantCylindrical, EquidistantCylindrical)
OPRJ_ENGINE_FAMILY(PlateCarree, PlateCarree)
