/* Geodetic series and iteration helpers after the General Cartographic Transformation Package and
   [Snyder87] (docs/bibliography.md). Angles are radians. Each clears its error slot; only the
   solvers (Phi1 to Phi6) fill it: when their iterations are exhausted they return the last latitude
   and report 1 "Latitude failed to converge after N iterations" under their own name. */
#ifndef OPRJ_GEODETIC_H
#define OPRJ_GEODETIC_H

#include "obase.h"
#include "oerr.h"

OPRJ_BEGIN_C

/** Brings a longitude into (-pi, pi] with one step: right for |x| <= 2 pi; farther out the result
   may lie beyond (7.0 gives about -5.566). */
OPRJ_API double oprj_Adjl(double x, Oerr_Report **err);
/** asin of x clamped to [-1, 1]; NaN passes. */
OPRJ_API double oprj_Asin(double x, Oerr_Report **err);
/** Coefficients of the meridian distance series over a, [Snyder87] eq. 3-21: of phi, sin 2phi, sin
    4phi and sin 6phi, the second and fourth with their signs turned, up to e^6. */
OPRJ_API double oprj_E0fn(double eSquared, Oerr_Report **err);
OPRJ_API double oprj_E1fn(double eSquared, Oerr_Report **err);
OPRJ_API double oprj_E2fn(double eSquared, Oerr_Report **err);
OPRJ_API double oprj_E3fn(double eSquared, Oerr_Report **err);
/** sqrt((1+e)^(1+e) (1-e)^(1-e)), [Snyder87] p. 161. */
OPRJ_API double oprj_E4fn(double e, Oerr_Report **err);
/** Meridian distance over a from the equator, [Snyder87] eq. 3-21, with the coefficients above. */
OPRJ_API double oprj_Mlfn(double e0, double e1, double e2, double e3, double phi,
                          Oerr_Report **err);
/** Radius of the parallel over a, [Snyder87] eq. 14-15. */
OPRJ_API double oprj_Msfn(double e, double sinPhi, double cosPhi, Oerr_Report **err);
/** Authalic q, [Snyder87] eq. 3-12. */
OPRJ_API double oprj_Qsfn(double e, double sinPhi, Oerr_Report **err);
/** Conformal t, [Snyder87] eq. 15-9. */
OPRJ_API double oprj_Tsfn(double e, double phi, double sinPhi, Oerr_Report **err);
/** Sine and cosine of phi; null pointers are left out. */
OPRJ_API void oprj_Sincos(double phi, double *sinPhi, double *cosPhi, Oerr_Report **err);
/** -1 for x < 0, else +1. */
OPRJ_API int32_t oprj_Sign(double x, Oerr_Report **err);
/** Latitude from the authalic q: 15 iterations to 1e-10, [Snyder87] eq. 3-16. */
OPRJ_API double oprj_Phi1(double e, double q, Oerr_Report **err);
/** Latitude from the conformal t: 15 iterations to 1e-10, [Snyder87] eq. 7-9. */
OPRJ_API double oprj_Phi2(double e, double t, Oerr_Report **err);
/** Latitude from the meridian distance over a: 15 iterations to 1e-11. */
OPRJ_API double oprj_Phi3(double m, double e0, double e1, double e2, double e3, Oerr_Report **err);
/** Latitude of the polyconic inverse, [Snyder87] eqs. 18-21; *g receives tan(phi) sqrt(1 - e²
   sin²(phi)). 15 iterations to 1e-11. */
OPRJ_API double oprj_Phi4(double eSquared, double e0, double e1, double e2, double e3, double a,
                          double b, double *g, Oerr_Report **err);
/** Latitudes of the Van der Grinten I inverse from a start: 35 iterations to 1e-10. Phi5 is meant
   for low latitudes (up to about 57 degrees), Phi6 for high ones. p, q, r are |Y|, X², Y² for Phi5
   and |X|, |Y|, X² + Y² for Phi6, X and Y over pi R. */
OPRJ_API double oprj_Phi5(double start, double p, double q, double r, Oerr_Report **err);
OPRJ_API double oprj_Phi6(double start, double p, double q, double r, Oerr_Report **err);

OPRJ_END_C

#endif
