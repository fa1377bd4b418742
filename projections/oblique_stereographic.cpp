// Stereographic (50) and Double Stereographic (55) of the ellipsoid, every aspect: stereographic
// projections of two spheres onto which the ellipsoid is mapped conformally. [Snyder87] p. 160-162,
// eqs. 21-24 to 21-40 (50: latitudes become conformal ones); [EPSG7-2], Oblique Stereographic (55:
// Gauss's sphere).
//
// Reads entries 2 (scale factor at the centre), 4 (longitude of the centre), 5 (its latitude), 6
// and 7 (false easting and northing). Domain: all but the antipode and 1.4e-5 rad around it, in 55
// also but the strip, 0.6 degrees wide at most, of longitudes that overlap there on the sphere.
#include "projections/azimuthal.h"
#include "projections/gauss_sphere.h"

namespace orvik::oprj::OPRJ_SET {

struct ObliqueStereographicBlock {
  double a, e, es;
  double k0, lon0, lat0, falseEast, falseNorth;
  double sin0, cos0, sinHalf0, cosHalf0;  // of the centre's latitude on the sphere
  double perA;                            // 1 / radius
  double radius;                          // of the sphere, times k0
  GaussSphere sphere;
};

/// Half of a latitude chi from tan(pi/4 - chi/2).
template <class V>
OPRJ_INLINE SinCos<V> halfLatitude(V t) {
  const V length = sqrt(V(2.0) * fma(t, t, V(1.0)));
  return {(1.0 - t) / length, (1.0 + t) / length};
}

template <class Family>
struct ObliqueStereographic : FamilyBase<ObliqueStereographicBlock> {
  static constexpr ValueCheck checks[] = {kNoScale};
  static constexpr StopText kInfinite{4, "Point projects into infinity"};
  static constexpr StopText kPhi2{4, "Error returned from oprj_Phi2", "oprj_Phi2", kPhi2Iterations};

  static bool derive(const Entries &p, const Ellipsoid &s, ObliqueStereographicBlock &b) {
    if (isTooFlat(s.es)) return false;
    b = {};
    setCentre(p, s, b);
    b.k0 = p[2];
    b.sphere = gaussSphereOf(s, b.lat0);
    const double radius = b.k0 * Family::centre(s, b);
    b.sin0 = 2.0 * b.sinHalf0 * b.cosHalf0;
    b.cos0 = (b.cosHalf0 - b.sinHalf0) * (b.cosHalf0 + b.sinHalf0);
    b.radius = radius;
    b.perA = 1.0 / radius;
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const V dLon = wrapDifference(lon - V(b.lon0));
    const OnGaussSphere<V> on = Family::onto(b, dLon, sincos(lat), stop);
    const FromCentre<V> from = seenFromCentre(b, sincos(0.5 * on.lon), halfLatitude(on.t));
    stop.when(from.plus <= V(kClose), kInfinite);
    const V k = 2.0 * b.radius / from.plus;
    return {fma(k, from.east, V(b.falseEast)), fma(k, from.north, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const OnSheet<V> sheet = onSheet(b, x, y);
    const V w = 1.0 / fma(V(0.25), sheet.rho2, V(1.0));  // (1 + cos c) / 2
    const Offset<V> at = offsetOf(b, sheet.x * w, sheet.y * w, fma(V(2.0), w, V(-1.0)));
    const Solved<V> lat = Family::from(b, at.lat);
    stop.when(~lat.converged, kPhi2);
    return {wrapDifference(b.lon0 + at.dLon * Family::perExponent(b)), lat.phi};
  }
};

constexpr Row stereographicRow(int32_t number) {
  return {.number = number,
          .minimum = 8,
          .angles = entries(4, 5),
          .scale = 2,
          .compared = entries(2) | entries(4, 7)};
}

struct StereographicEllipsoidal : ObliqueStereographic<StereographicEllipsoidal> {
  static constexpr Row row = stereographicRow(50);

  static double centre(const Ellipsoid &s, Block &b) {
    const double sine = __builtin_sin(b.lat0), cosine = __builtin_cos(b.lat0);
    const double t = conformalT<double>(b.sphere.conformal, {__builtin_fabs(sine), cosine});
    const SinCos<double> half = halfLatitude(t);
    b.sinHalf0 = __builtin_copysign(half.sin, sine);
    b.cosHalf0 = half.cos;
    // m / cos chi, whose cosine of the latitude is divided out: 21-27 and its limit 21-33
    const double wave = s.e * __builtin_atanh(s.e * __builtin_fabs(sine));
    return s.a * (1.0 + __builtin_fabs(sine)) * (1.0 + t * t) * __builtin_exp(-wave) /
           (2.0 * __builtin_sqrt(1.0 - s.es * sine * sine));
  }
  template <class V>
  OPRJ_INLINE static OnGaussSphere<V> onto(const Block &b, V dLon, SinCos<V> p, Stops<V> &) {
    return {conformalT(b.sphere.conformal, p), dLon};
  }
  template <class V>
  OPRJ_INLINE static Solved<V> from(const Block &b, SinCos<V> chi) {
    const Solved<V> r = northernLatitudeOfT(b.sphere.conformal, chi.cos / (1.0 + abs(chi.sin)));
    return {copysign(r.phi, chi.sin), r.converged};
  }
  static double perExponent(const Block &) { return 1.0; }
};

struct DoubleStereographic : ObliqueStereographic<DoubleStereographic> {
  static constexpr Row row = stereographicRow(55);

  static double centre(const Ellipsoid &, Block &b) {
    const double half = 0.5 * __builtin_asin(b.sphere.sineCentre);
    b.sinHalf0 = __builtin_sin(half);
    b.cosHalf0 = __builtin_cos(half);
    return b.sphere.radius;
  }
  template <class V>
  OPRJ_INLINE static OnGaussSphere<V> onto(const Block &b, V dLon, SinCos<V> p, Stops<V> &stop) {
    return ontoGaussSphere(b.sphere, dLon, p, stop);
  }
  template <class V>
  OPRJ_INLINE static Solved<V> from(const Block &b, SinCos<V> chi) {
    return fromGaussSphere(b.sphere, chi);
  }
  static double perExponent(const Block &b) { return 1.0 / b.sphere.exponent; }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_ENGINE_FAMILY(StereographicEllipsoidal, StereographicEllipsoidal)
OPRJ_ENGINE_FAMILY(DoubleStereographic, DoubleStereographic)
