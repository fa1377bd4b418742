// The conformal sphere of Gauss: an ellipsoid mapped conformally to a sphere, with true scale along
// one parallel, near which lengths hardly change. [EPSG7-2], Oblique Stereographic and Krovak,
// [Snyder87] p. 62.
//
// Isometric latitude and longitude become exponent times their own (plus a constant); what follows
// is a projection of the sphere.
#ifndef OPRJ_GAUSS_SPHERE_H
#define OPRJ_GAUSS_SPHERE_H

#include "projections/auxiliary_latitude.h"
#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

struct GaussSphere {
  double exponent, shift;  // n, and K of psi' = n psi + K
  double radius;           // sqrt of the product of the radii of curvature at the parallel
  double sineCentre;       // of the parallel's latitude on the sphere
  double farthestLon;      // pi / n: longitudes beyond overlap on the sphere
  ConformalLatitude conformal;
};

inline GaussSphere gaussSphereOf(const Ellipsoid &s, double lat0) {
  const double sine = __builtin_sin(lat0), cosine = __builtin_cos(lat0), cosine2 = cosine * cosine;
  GaussSphere g{};
  g.conformal = conformalLatitudeOf(s.e, s.es);
  g.exponent = __builtin_sqrt(1.0 + s.es * cosine2 * cosine2 / (1.0 - s.es));
  g.sineCentre = sine / g.exponent;
  g.radius = s.a * __builtin_sqrt(1.0 - s.es) / (1.0 - s.es * sine * sine);
  // atanh(sin phi0 / n) - n psi0, whose parts are infinite at a pole
  g.shift = g.exponent * s.e * __builtin_atanh(s.e * sine);
  if (cosine > kClose)
    g.shift += __builtin_atanh(g.sineCentre) - g.exponent * __builtin_asinh(sine / cosine);
  g.farthestLon = kPi / g.exponent;
  return g;
}

/// Its unit sphere's place of a point.
template <class V>
struct OnGaussSphere {
  V t;    // tan(pi/4 - chi/2)
  V lon;  // from the central meridian
};
template <class V>
OPRJ_INLINE OnGaussSphere<V> ontoGaussSphere(const GaussSphere &g, V dLon, SinCos<V> p,
                                             Stops<V> &stop) {
  stop.when(abs(dLon) > V(g.farthestLon + kClose), kCannotProject);
  const V psi = fma(V(g.exponent), isometricLatitude(g.conformal, p), V(g.shift));
  return {exp(-psi), g.exponent * dLon};
}

/// Stands for the cosine of a pole, whose isometric latitude is infinite.
inline constexpr double kNoCosine = 1e-300;

/// The way back from the sine of the latitude on the sphere and its cosine >= 0.
template <class V>
OPRJ_INLINE Solved<V> fromGaussSphere(const GaussSphere &g, SinCos<V> chi) {
  return latitudeOfIsometric(
      g.conformal, (sphericalIsometric<V>({chi.sin, max(chi.cos, V(kNoCosine))}) - g.shift) *
                       (1.0 / g.exponent));
}

}  // namespace orvik::oprj::OPRJ_SET

#endif
