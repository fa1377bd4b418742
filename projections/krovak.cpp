// Krovak, and any oblique conformal conic projection of its kind: Gauss's conformal sphere turned
// until a cone's axis is its pole, then Lambert's cone that is true on one parallel of the turned
// sphere. [EPSG7-2], Krovak; the turn of the plane as Projection Engine strings mean it.
//
// Reads entries 2 (scale factor on the pseudo standard parallel), 3 (azimuth: the distance of the
// cone's axis from the pole, along the central meridian), 4 (longitude of the centre), 5 (its
// latitude), 6 and 7 (false easting and northing), 8 (pseudo standard parallel, neither a pole nor
// the equator), 9 and 10 (factors of the two coordinates, not 0), 11 (rotation of the plane). With
// southing and westing (X, Y) of the cone
//   x = X sx cos r - Y sy sin r + FE, y = X sx sin r + Y sy cos r + FN:
// (1, 1, 0) gives southing and westing, (-1, 1, 90 degrees) easting and northing.
// Domain: all but the point opposite to the axis and the strip, 0.6 degrees wide at most, of
// longitudes that overlap on the sphere; the inverse takes the fan, and 0.6 mm beyond its edges.
#include "projections/gauss_sphere.h"

namespace orvik::oprj::OPRJ_SET {

struct KrovakBlock {
  double a, e, es;
  double k0, azimuth, lon0, lat0, falseEast, falseNorth, parallel, xFactor, yFactor, rotation;
  double sinAxis, cosAxis;
  double n, scale;  // cone constant; radius of the turned equator, m
  double sinTurn, cosTurn;
  GaussSphere sphere;
};

struct Krovak : FamilyBase<KrovakBlock> {
  static constexpr Row row{.number = 54,
                           .minimum = 12,
                           .angles = entries(3, 5) | entries(8) | entries(11),
                           .scale = 2,
                           .compared = entries(2, 11)};
  static constexpr ValueCheck checks[] = {kNoScale,
                                          {[](const Entries &p, const Ellipsoid &) {
                                             return __builtin_cos(p[8]) <= kClose ||
                                                    __builtin_fabs(__builtin_sin(p[8])) <= kClose ||
                                                    p[9] == 0.0 || p[10] == 0.0;
                                           },
                                           "Improper parameter", true}};
  static constexpr StopText kInfinite{4, "Point projects into infinity"};
  static constexpr StopText kPhi2{4, "Error returned from oprj_Phi2", "oprj_Phi2", kPhi2Iterations};
  static constexpr double kApex = 1e-100;  // radius over `scale` that stands for that of the apex

  static bool derive(const Entries &p, const Ellipsoid &s, KrovakBlock &b) {
    if (isTooFlat(s.es)) return false;
    b = {s.a,
         s.e,
         s.es,
         p[2],
         p[3],
         meridianOf(p[4]),
         p[5],
         p[6],
         p[7],
         p[8],
         p[9],
         p[10],
         p[11],
         __builtin_sin(p[3]),
         __builtin_cos(p[3]),
         __builtin_sin(p[8]),
         0.0,
         __builtin_sin(p[11]),
         __builtin_cos(p[11]),
         gaussSphereOf(s, p[5])};
    b.scale = b.k0 * b.sphere.radius / __builtin_tan(b.parallel) *
              __builtin_exp(b.n * __builtin_atanh(b.n));
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const OnGaussSphere<V> on =
        ontoGaussSphere(b.sphere, wrapDifference(b.lon0 - lon), sincos(lat), stop);
    const SinCos<V> u = conformalOfT(on.t), v = sincos(on.lon);
    const V along = u.cos * v.cos, west = u.cos * v.sin;
    const V sine = fma(V(b.cosAxis), u.sin, b.sinAxis * along);  // of the turned latitude
    const V down = fma(V(b.cosAxis), along, -b.sinAxis * u.sin);
    const V cosine = sqrt(fma(down, down, west * west));
    stop.when((cosine <= V(kClose)) & (b.n * sine < V(0.0)), kInfinite);
    const V psi = sphericalIsometric<V>({sine, max(cosine, V(kNoCosine))});
    const V radius = b.scale * exp(-b.n * psi);
    const SinCos<V> turn = sincos(b.n * atan2(west, down));
    const V southing = b.xFactor * radius * turn.cos, westing = b.yFactor * radius * turn.sin;
    return {fma(southing, V(b.cosTurn), fma(-westing, V(b.sinTurn), V(b.falseEast))),
            fma(southing, V(b.sinTurn), fma(westing, V(b.cosTurn), V(b.falseNorth)))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V east = x - V(b.falseEast), north = y - V(b.falseNorth);
    const double perScale = 1.0 / b.scale;  // its sign is that of the radius
    const V southing = fma(east, V(b.cosTurn), north * b.sinTurn) * (perScale / b.xFactor);
    const V westing = fma(north, V(b.cosTurn), -east * b.sinTurn) * (perScale / b.yFactor);
    const V radius = sqrt(fma(southing, southing, westing * westing));
    const V angle = atan2(westing, southing) * (1.0 / b.n);
    const V beyond = max(abs(angle) - kPi, V(0.0)) * radius * (b.n * b.scale);
    stop.when(abs(beyond) > V(kClose * b.a), kInputData);
    const SinCos<V> turned = conformalOfT(exp(log(max(radius, V(kApex))) * (1.0 / b.n)));
    const SinCos<V> turn = sincos(clampTo(angle, kPi));
    const V down = turned.cos * turn.cos, west = turned.cos * turn.sin;
    const V along = fma(V(b.cosAxis), down, b.sinAxis * turned.sin);
    const V up = fma(V(b.cosAxis), turned.sin, -b.sinAxis * down);
    const Solved<V> lat = fromGaussSphere<V>(b.sphere, {up, sqrt(fma(along, along, west * west))});
    stop.when(~lat.converged, kPhi2);
    return {wrapDifference(b.lon0 - atan2(west, along) * (1.0 / b.sphere.exponent)), lat.phi};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_ENGINE_FAMILY(Krovak, Krovak)
