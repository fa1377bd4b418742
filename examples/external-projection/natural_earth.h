/* The Natural Earth projection on the sphere of radius a: B. Savric, B. Jenny, T. Patterson, D.
   Petrovic, L. Hurni, "A polynomial equation for the Natural Earth projection", Cartography and
   Geographic Information Science 38 (2011) 363-372. Easting is the longitude times a polynomial of
   the latitude, northing another polynomial of the latitude. */
#ifndef NATURAL_EARTH_H
#define NATURAL_EARTH_H

#include <math.h>

typedef struct {
  double a;      /* radius, metres */
  double lon0;   /* central meridian, radians */
  double x0, y0; /* false easting and northing, metres */
} NaturalEarth;

/* The system of a record's entries (slots 4, 6 and 7, as other projections have them): 1, or 0 when
   they are too few or the radius is none. */
static inline int naturalEarthInit(NaturalEarth *self, double a, const double *entries, int count) {
  if (!(a > 0) || count < 8) return 0;
  self->a = a;
  self->lon0 = entries[4];
  self->x0 = entries[6];
  self->y0 = entries[7];
  return 1;
}

/* The length of a parallel over the equator's, and its distance from there over the radius. */
static inline double naturalEarthLength(double lat) {
  const double p = lat * lat, p2 = p * p;
  return 0.8707 + p * (-0.131979 + p * (-0.013791 + p2 * p * (0.003971 + p * -0.001529)));
}
static inline double naturalEarthHeight(double lat) {
  const double p = lat * lat, p2 = p * p;
  return lat * (1.007226 + p * (0.015085 + p2 * (-0.044475 + p * (0.028874 + p * -0.005916))));
}
static inline double naturalEarthSlope(double lat) { /* of the height */
  const double p = lat * lat, p2 = p * p;
  return 1.007226 +
         p * (3 * 0.015085 + p2 * (7 * -0.044475 + p * (9 * 0.028874 + p * 11 * -0.005916)));
}

/* Longitude and latitude (radians) to easting and northing (metres); NaN where there is none. */
static inline void naturalEarthForward(const NaturalEarth *self, const double in[2],
                                       double out[2]) {
  const double kPi = 3.14159265358979323846;
  const double lon = remainder(in[0] - self->lon0, 2 * kPi), lat = in[1];
  const int outside = !(fabs(lat) <= kPi / 2 && lon == lon);
  out[0] = outside ? NAN : self->x0 + self->a * lon * naturalEarthLength(lat);
  out[1] = outside ? NAN : self->y0 + self->a * naturalEarthHeight(lat);
}

/* The way back, by Newton's method from a latitude near by; NaN outside of the map's outline. */
static inline void naturalEarthInverse(const NaturalEarth *self, const double in[2],
                                       double out[2]) {
  enum { kMost = 20 };
  const double kPi = 3.14159265358979323846, kClose = 1e-15, kEdge = 1e-9; /* radians */
  const double height = (in[1] - self->y0) / self->a;
  double lat = height, lon, step = 1;
  int i, outside;
  for (i = 0; i < kMost && !(fabs(step) <= kClose); ++i) {
    step = (naturalEarthHeight(lat) - height) / naturalEarthSlope(lat);
    lat -= step;
  }
  lon = (in[0] - self->x0) / (self->a * naturalEarthLength(lat));
  outside = !(fabs(lat) <= kPi / 2 + kEdge && fabs(lon) <= kPi + kEdge);
  out[0] = outside ? NAN : remainder(lon + self->lon0, 2 * kPi);
  out[1] = outside ? NAN : lat;
}

#endif
