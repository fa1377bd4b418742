// Polar Stereographic. [Snyder87] p. 161-162: eqs. 21-30 to 21-34 (forward), 21-36 to 21-40, 20-16
// to 20-18 (inverse); [EPSG7-2], variants A (scale 1 only) and B.
//
// Reads entries 4 (longitude that points down from the pole in the north, up in the south), 5
// (latitude of true scale; its sign picks the pole, 0 is north, +-90 degrees gives scale 1 at the
// pole), 6 and 7 (false easting and northing). Domain: all but the opposite pole.
// Formulation: scale = a m/t has a limit at the pole once cos(latTrue) is divided out, which is the
// 2 a/E4 of eq. 21-33; one formula serves both.
#include <cmath>

#include "projections/auxiliary_latitude.h"
#include "projections/family.h"
#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

struct PolarStereographicBlock {
  double a, e, es;
  double lon0, latTrue, falseEast, falseNorth;
  double pole;   // 1 north, -1 south
  double scale;  // rho / t, m
  ConformalLatitude conformal;
};

struct PolarStereographic : FamilyBase<PolarStereographicBlock> {
  static constexpr Row row{
      .number = 6, .minimum = 8, .angles = entries(4, 5), .compared = entries(4, 7)};
  static constexpr StopText kPhi2{4, "Error returned from oprj_Phi2", "oprj_Phi2", kPhi2Iterations};

  static bool derive(const Entries &p, const Ellipsoid &s, PolarStereographicBlock &b) {
    if (isTooFlat(s.es)) return false;
    b = {s.a,  s.e,
         s.es, meridianOf(p[4]),
         p[5], p[6],
         p[7], p[5] < 0.0 ? -1.0 : 1.0,
         0.0,  conformalLatitudeOf(s.e, s.es)};
    const double sine = std::fabs(std::sin(p[5]));
    b.scale = s.a * (1.0 + sine) / std::sqrt(1.0 - s.es * sine * sine) *
              std::exp(-s.e * std::atanh(s.e * sine));
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const V towardsPole = b.pole * lat;
    stop.when(towardsPole <= V(kClose - kHalfPi), kCannotProject);
    SinCos<V> p = sincos(lat);
    p.sin = b.pole * p.sin;
    const SinCos<V> l = sincos(wrapDifference(lon - V(b.lon0)));
    // the pole's cosine is not 0 in doubles: rho would be 0.4 nm
    const V rho = select(towardsPole >= V(kHalfPi), V(0.0), b.scale * conformalT(b.conformal, p));
    return {fma(rho, l.sin, V(b.falseEast)), fma(-b.pole * rho, l.cos, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V east = x - V(b.falseEast), down = V(b.pole) * (V(b.falseNorth) - y);
    const V rho = sqrt(fma(east, east, down * down));
    const Solved<V> lat = latitudeOfT(b.conformal, rho * V(1.0 / b.scale));
    stop.when(~lat.converged, kPhi2);
    const V lon = wrapDifference(atan2(east, down) + V(b.lon0));
    return {select(rho == V(0.0), V(b.lon0), lon), b.pole * lat.phi};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(PolarStereographic, oprj_PolarStereographicInit, oprj_PolarStereographicFromLL,
            oprj_PolarStereographicToLL, oprj_PolarStereographicCopyParameters,
            oprj_PolarStereographicProParametersEqual)
