// The conformal cone: formulas of Lambert Conformal Conic with two parallels and with one parallel
// and a scale factor. [Snyder87] p. 107-109, eqs. 15-1 to 15-11, rearranged.
//
// The radius counts from a reference parallel, r = r1 exp(-n (psi - psi1)), so that heights are
// differences without cancellation: -r1 expm1(-n (psi - psi1)) / n. Back, with r over r1 squared
// as w = 1 + z, psi = psi1 - log1p(z) / 2n; w is the accurate one near the apex, z far from it.
#ifndef OPRJ_CONFORMAL_CONE_H
#define OPRJ_CONFORMAL_CONE_H

#include "projections/auxiliary_latitude.h"
#include "projections/cone.h"

namespace orvik::oprj::OPRJ_SET {

struct ConformalCone {
  double n;            ///< cone constant, not 0
  double r1, psi1;     ///< of the reference parallel: cos phi / sqrt(1 - e² sin²), psi
  double scale;        ///< metres for the length a: a, times a scale factor
  double lon0;         ///< central meridian
  double east, north;  ///< where the central meridian meets the reference parallel, m
  ConformalLatitude conformal;
};

/// Below this cone constant exp(...) - 1 would cost digits: 7e-9 m here, growing with 1/n.
inline constexpr double kFlatCone = 0.1;

/// Fills all but n, scale and the place for a reference parallel of latitude phi.
inline void setReference(ConformalCone &c, const Ellipsoid &s, double phi) {
  const double sine = std::sin(phi), cosine = std::cos(phi);
  c.conformal = conformalLatitudeOf(s.e, s.es);
  c.r1 = cosine / std::sqrt(1.0 - s.es * sine * sine);
  c.psi1 = isometricLatitude<double>(c.conformal, {sine, cosine});
}

/// The pole at the cone's apex is a place; the opposite one stops.
template <class V>
OPRJ_INLINE Projected<V> coneForward(const ConformalCone &c, V lon, V lat, const StopText &noPlace,
                                     Stops<V> &stop) {
  const Truth<V> pole = atPole(lat), opposite = lat * V(c.n) <= V(0.0);
  stop.when(pole & opposite, noPlace);
  const V psi = isometricLatitude(c.conformal, sincos(lat));
  const V exponent = V(-c.n) * (psi - V(c.psi1));
  const V grown = std::fabs(c.n) < kFlatCone ? expm1(exponent) : exp(exponent) - 1.0;
  const V growth = select(pole, V(-1.0), grown);
  const Projected<V> p = ontoFan(c.n, fma(V(c.r1), growth, V(c.r1)), V(-c.r1 / c.n) * growth,
                                 wrapDifference(lon - V(c.lon0)));
  return {fma(V(c.scale), p.x, V(c.east)), fma(V(c.scale), p.y, V(c.north))};
}

template <class V>
OPRJ_INLINE Geographic<V> coneInverse(const ConformalCone &c, V x, V y, const StopText &unsolved,
                                      Stops<V> &stop) {
  const V east = (x - V(c.east)) * V(1.0 / c.scale), north = (y - V(c.north)) * V(1.0 / c.scale);
  const Fan<V> fan = fanOf(c.n, c.r1, east, north);
  const V r2 = squaredRadius(fan);
  const V w = r2 * V(1.0 / (c.r1 * c.r1));
  const V z =
      V(c.n / (c.r1 * c.r1)) * fma(V(c.n), fma(east, east, north * north), V(-2.0 * c.r1) * north);
  const V rounding = z - (w - 1.0);  // of w, over w = 1 + z: to first order times 2 - w
  const V correction = select(abs(z) < V(0.5), rounding * (2.0 - w), V(0.0));
  const V psi = fma(V(-0.5 / c.n), log(w) + correction, V(c.psi1));
  const Solved<V> lat = latitudeOfIsometric(c.conformal, psi);
  stop.when(~lat.converged, unsolved);
  return {fanLongitude(c.n, c.lon0, fan, r2, stop), lat.phi};
}

}  // namespace orvik::oprj::OPRJ_SET

#endif
