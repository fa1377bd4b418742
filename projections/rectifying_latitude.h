// Meridian distance and its inverse to rounding: series in the third flattening n to the fifth
// order and, where they go on, the sixth. [Helmert80] p. 46-48, in the form of [Karney11] eqs. 5
// and A5.
//
// On Earth-like spheroids the distance is good to 1e-9 m and the latitude to 2e-16 rad; what the
// series leave grows with n to the sixth. meridian.h has the shorter series of oprj_Mlfn.
#ifndef OPRJ_RECTIFYING_LATITUDE_H
#define OPRJ_RECTIFYING_LATITUDE_H

#include "projections/auxiliary_latitude.h"

namespace orvik::oprj::OPRJ_SET {

struct RectifyingLatitude {
  double radius, perRadius;       ///< of the circle as long as the meridian, over a
  double earthLike;               ///< 1 or 0
  double distance[kSeriesOrder];  ///< (mu - phi) / sin 2phi by cos 2phi
  double back[kSeriesOrder];      ///< (phi - mu) / sin 2mu by cos 2mu
};

/// Third flattening above which the series are no longer good to a decimetre: 1/f = 9.
inline constexpr double kFlattestSeries = 0.06;
inline bool isTooFlatForSeries(double es) { return thirdFlattening(es) > kFlattestSeries; }

inline RectifyingLatitude rectifyingLatitudeOf(double es) {
  const double n = thirdFlattening(es), n2 = n * n, n3 = n * n2, n4 = n2 * n2, n5 = n2 * n3;
  RectifyingLatitude r{};
  r.radius = (1.0 + n2 * (1.0 / 4 + n2 * (1.0 / 64 + n2 / 256))) / (1.0 + n);
  r.perRadius = 1.0 / r.radius;
  r.earthLike = es <= kEarthLike ? 1.0 : 0.0;
  fillSineSeries(-n * (3.0 / 2) + n3 * (9.0 / 16) - n5 * (3.0 / 32),
                 n2 * (15.0 / 16) - n4 * (15.0 / 32), -n3 * (35.0 / 48) + n5 * (105.0 / 256),
                 n4 * (315.0 / 512), -n5 * (693.0 / 1280), r.distance);
  fillSineSeries(n * (3.0 / 2) - n3 * (27.0 / 32) + n5 * (269.0 / 512),
                 n2 * (21.0 / 16) - n4 * (55.0 / 32) + n * n5 * (6759.0 / 4096),
                 n3 * (151.0 / 96) - n5 * (417.0 / 128),
                 n4 * (1097.0 / 512) - n * n5 * (15543.0 / 2560), n5 * (8011.0 / 2560), r.back);
  return r;
}

/// The distance from the equator, over a.
template <class V>
OPRJ_INLINE V meridianDistance(const RectifyingLatitude &r, V lat, SinCos<V> p) {
  return r.radius * (lat + sineSeries(p, r.distance));
}

/// A latitude with its sine and cosine.
template <class V>
struct MeridianPlace {
  V phi;
  SinCos<V> of;
};
/// The latitude at a distance from the equator.
template <class V>
OPRJ_INLINE MeridianPlace<V> latitudeAtDistance(const RectifyingLatitude &r, V distance) {
  const V mu = distance * r.perRadius;
  const SinCos<V> at = sincos(notTooFar(mu));
  const V d = sineSeries(at, r.back), phi = mu + d;
  return {phi, r.earthLike != 0.0 ? turned(at, d) : sincos(notTooFar(phi))};
}

}  // namespace orvik::oprj::OPRJ_SET

#endif
