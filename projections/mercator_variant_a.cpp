// Mercator variant A: scale factor at the equator. [EPSG7-2] (method 9804), [Snyder87] eqs. 7-6,
// 7-7 (forward), 3-5, 7-10, 7-13 (inverse).
//
// Reads entries 2 (scale factor at the natural origin), 4 (its longitude), 6 and 7 (false easting
// and northing). Domain: all but the poles; the sheet repeats, and inverse points up to a full turn
// from the central meridian are wrapped.
// The inverse is the closed series to e^8 on the Earth's spheroids and the iteration of
// oprj_Phi2 on flatter ones.
//
// Kept: the comparison asks both records for number 5 (Mercator), so that two records of this
// number never compare equal; it reads entries 3 and 5 as well, which no formula does.
#include "projections/auxiliary_latitude.h"
#include "projections/family.h"
#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

struct MercatorVariantABlock {
  double a, e, es;
  double k0, lon0, falseEast, falseNorth;
  double radius;                // a k0
  double series[kSeriesOrder];  // (phi - chi) / sin 2chi by cos 2chi
  ConformalLatitude conformal;
};

struct MercatorVariantA : FamilyBase<MercatorVariantABlock> {
  static constexpr Row row{.number = 69,
                           .minimum = 8,
                           .angles = entries(4),
                           .scale = 2,
                           .compared = entries(2, 7),
                           .comparedNumber = 5};
  static constexpr ValueCheck checks[] = {kNoScale};
  static constexpr StopText kPhi2{4, "Error returned from oprj_Phi2", "oprj_Phi2", kPhi2Iterations};
  /// e² of the flattest spheroid of the Earth, Clarke's of 1880, is 0.00680.
  static constexpr double kSeriesUpTo = 0.007;

  static bool derive(const Entries &p, const Ellipsoid &s, MercatorVariantABlock &b) {
    b = {s.a,  s.e,  s.es,       p[2], meridianOf(p[4]),
         p[6], p[7], s.a * p[2], {},   conformalLatitudeOf(s.e, s.es)};
    const double e2 = s.es, e4 = e2 * e2, e6 = e2 * e4, e8 = e4 * e4;
    fillSineSeries(e2 / 2 + e4 * (5.0 / 24) + e6 / 12 + e8 * (13.0 / 360),
                   e4 * (7.0 / 48) + e6 * (29.0 / 240) + e8 * (811.0 / 11520),
                   e6 * (7.0 / 120) + e8 * (81.0 / 1120), e8 * (4279.0 / 161280), 0.0, b.series);
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    stop.when(atPole(lat), kCannotProject);
    return {fma(V(b.radius), wrapDifference(lon - V(b.lon0)), V(b.falseEast)),
            fma(V(b.radius), isometricLatitude(b.conformal, sincos(lat)), V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V psi = (y - V(b.falseNorth)) * V(1.0 / b.radius);
    const V t = exp(-abs(psi));
    const V lon = repeatedLongitude(b.lon0, (x - V(b.falseEast)) * V(1.0 / b.radius), stop);
    if (b.es > kSeriesUpTo) {
      const Solved<V> lat = latitudeOfIsometric(b.conformal, psi);
      stop.when(~lat.converged, kPhi2);
      return {lon, lat.phi};
    }
    const V lat = kHalfPi - 2.0 * atan(t) + sineSeries(conformalOfT(t), b.series);
    return {lon, copysign(lat, psi)};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(MercatorVariantA, oprj_MercatorVariantAInit, oprj_MercatorVariantAFromLL,
            oprj_MercatorVariantAToLL, oprj_MercatorVariantACopyParameters,
            oprj_MercatorVariantAProParametersEqual)
