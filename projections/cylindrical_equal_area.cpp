// Cylindrical Equal Area of the ellipsoid (58), and Behrmann (44), the one of the sphere that is
// true in 30 degrees. [Snyder87] p. 76-85: eqs. 10-1 to 10-3, 10-13 to 10-17, 3-12.
//
// Reads entries 4 (central meridian), 6 and 7 (false easting and northing), 58 also 5 (latitude of
// true scale, which must not be a pole). 44 is computed on the sphere of radius a.
//   x = a k dlam, y = a q / 2k, k = cos phi1 / sqrt(1 - e² sin² phi1)
// Domain: the whole globe; eastward the sheet repeats: the inverse wraps longitudes up to a turn
// from the central meridian and accepts 1e-10 a beyond the edges. Towards the poles the sheet holds
// the latitude to 2e-16/psi rad only, psi the distance from the pole.
#include "projections/auxiliary_latitude.h"
#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

struct CylindricalEqualAreaBlock {
  double a, e, es;
  double lon0, lat1, falseEast, falseNorth;
  double width, height;  // a k, a / 2k
  AuthalicLatitude authalic;
};

struct CylindricalEqualArea : FamilyBase<CylindricalEqualAreaBlock> {
  static constexpr Row row{
      .number = 58, .minimum = 8, .angles = entries(4, 5), .compared = entries(4, 7)};
  static constexpr ValueCheck checks[] = {kParallelAtPole};
  static constexpr StopText kPhi1{4, "Error returned from oprj_Phi1", "oprj_Phi1", kPhi1Iterations};

  static bool derive(const Entries &p, const Ellipsoid &s, CylindricalEqualAreaBlock &b) {
    fill(p, s, s, p[5], b);
    return true;
  }

  template <class V>
  OPRJ_INLINE static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &) {
    return {fma(V(b.width), wrapDifference(lon - V(b.lon0)), V(b.falseEast)),
            fma(V(b.height), authalicQ(b.authalic, sin(lat)), V(b.falseNorth))};
  }

  template <class V>
  OPRJ_INLINE static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V q = (y - V(b.falseNorth)) * (1.0 / b.height);
    const V limit = V(b.authalic.qPole);
    stop.when(abs(q) > limit + V(kClose * b.a / b.height), kInputData);
    const Solved<V> lat = latitudeOfQ(b.authalic, copysign(min(abs(q), limit), q));
    stop.when(~lat.converged, kPhi1);
    return {repeatedLongitude(b.lon0, (x - V(b.falseEast)) * (1.0 / b.width), stop), lat.phi};
  }

 protected:
  static void fill(const Entries &p, const Ellipsoid &s, const Ellipsoid &drawn, double lat1,
                   CylindricalEqualAreaBlock &b) {
    const double sine = __builtin_sin(lat1);
    const double k = __builtin_cos(lat1) / __builtin_sqrt(1.0 - drawn.es * sine * sine);
    b = {s.a,  s.e,  s.es,    meridianOf(p[4]), lat1,
         p[6], p[7], s.a * k, 0.5 * s.a / k,    authalicLatitudeOf(drawn.e, drawn.es)};
  }
};

struct Behrmann : CylindricalEqualArea {
  static constexpr Row row{
      .number = 44, .minimum = 8, .angles = entries(4), .compared = entries(4) | entries(6, 7)};
  static constexpr std::span<const ValueCheck> checks{};

  static bool derive(const Entries &p, const Ellipsoid &s, CylindricalEqualAreaBlock &b) {
    fill(p, s, {s.a, 0.0, 0.0}, 30 * kDegree, b);
    return true;
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_ENGINE_FAMILY(CylindricalEqualArea, CylindricalEqualArea)
OPRJ_ENGINE_FAMILY(Behrmann, Behrmann)
