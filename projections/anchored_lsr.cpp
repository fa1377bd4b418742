// Anchored LSR: the local space rectangular system east, north, up of an anchor on the ellipsoid.
// [EPSG7-2], topocentric conversion of geographic coordinates, with the origin's height 0.
//
// Reads entries 4 (longitude of the anchor), 5 (its latitude), 6 and 7 (offsets added to east and
// north). The two-dimensional functions take points of height 0 and leave "up" out: an orthographic
// projection of the ellipsoid. Domain: the ellipsoid down to the anchor's horizon, where the
// surface normal is at right angles to "up"; backwards, the outline of the ellipsoid as seen along
// "up". The three-dimensional functions know no horizon.
// Formulation: with n = sqrt(1 - e² sin²phi0) and lengths in units of a, "up" solves
//   A up² + 2 B up + C = 0, A = cos²phi0 + sin²phi0 / (1 - e²),
//   B = 1/n + north sin phi0 cos phi0 e² / (1 - e²), C = east² + north² (A with phi0 + 90 degrees).
#include <cmath>

#include "projections/longitude.h"
#include "toolkit/error_scope.h"

namespace orvik::oprj::OPRJ_SET {

struct AnchoredLSRBlock {
  double a, e, es;
  double lon0, lat0, falseEast, falseNorth;
  double sin0, cos0;
  double rho0, z0;  // the anchor: distance from the axis and above the equator, over a
  double tilt;      // sin phi0 cos phi0 e² / (1 - e²)
};

struct AnchoredLSR : FamilyBase<AnchoredLSRBlock> {
  static constexpr Row row{.number = 53,
                           .minimum = 8,
                           .angles = entries(4, 5),
                           .compared = entries(4, 7),
                           .fromLL3D = oprj_AnchoredLSRFromLL3D,
                           .toLL3D = oprj_AnchoredLSRToLL3D};

  static bool derive(const Entries &p, const Ellipsoid &s, AnchoredLSRBlock &b) {
    b = {s.a, s.e, s.es, meridianOf(p[4]), p[5], p[6], p[7], std::sin(p[5]), std::cos(p[5]),
         0,   0,   0};
    const double n = std::sqrt(1.0 - s.es * b.sin0 * b.sin0);
    b.rho0 = b.cos0 / n;
    b.z0 = (1.0 - s.es) * b.sin0 / n;
    b.tilt = b.sin0 * b.cos0 * s.es / (1.0 - s.es);
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const SinCos<V> phi = sincos(lat), lam = sincos(lon - V(b.lon0));
    const V up = fma(V(b.cos0) * phi.cos, lam.cos, b.sin0 * phi.sin);
    stop.when(up <= V(0.0), kCannotProject);
    const V n = 1.0 / sqrt(fma(V(-b.es) * phi.sin, phi.sin, V(1.0)));
    const V rho = n * phi.cos, z = n * ((1.0 - b.es) * phi.sin);
    const V north = b.cos0 * (z - V(b.z0)) - b.sin0 * (rho * lam.cos - V(b.rho0));
    return {fma(V(b.a), rho * lam.sin, V(b.falseEast)), fma(V(b.a), north, V(b.falseNorth))};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const double oneEs = 1.0 - b.es;
    const double quadratic = b.cos0 * b.cos0 + b.sin0 * b.sin0 / oneEs;
    const double northSquared = b.sin0 * b.sin0 + b.cos0 * b.cos0 / oneEs;
    const V east = (x - V(b.falseEast)) * V(1.0 / b.a),
            north = (y - V(b.falseNorth)) * V(1.0 / b.a);
    const V linear = fma(V(b.tilt), north, V(b.cos0 * b.rho0 + b.sin0 * b.z0 / oneEs));
    const V constant = fma(east, east, northSquared * north * north);
    const V inside = fma(linear, linear, -quadratic * constant);
    // twice as far below 0 as the point lies outside of the outline
    stop.when(inside < V(-2.0 * kClose), kInputData);
    const V up = -constant / (linear + sqrt(max(inside, V(0.0))));
    const V rho = fma(V(b.cos0), up, fma(V(-b.sin0), north, V(b.rho0)));
    const V z = fma(V(b.sin0), up, fma(V(b.cos0), north, V(b.z0)));
    return {wrapDifference(b.lon0 + atan2(east, rho)),
            atan2(z, oneEs * sqrt(fma(rho, rho, east * east)))};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(AnchoredLSR, oprj_AnchoredLSRInit, oprj_AnchoredLSRFromLL, oprj_AnchoredLSRToLL,
            oprj_AnchoredLSRCopyParameters, oprj_AnchoredLSRProParametersEqual)

#if OPRJ_FLAT

namespace {

using namespace orvik::oprj;
using Block = OPRJ_SET::AnchoredLSRBlock;
using orvik::toolkit::ErrorScope;

constexpr int32_t kNoPointCode = 20;
constexpr int kLatitudeIterations = 15;
constexpr double kLatitudeTolerance = 1e-12;  // rad; the next correction would be a rounding

bool hasNaN(const Oprj_Point3D &p) { return std::isnan(p.x) || std::isnan(p.y) || std::isnan(p.z); }
bool isFinite(const Oprj_Point3D &p) {
  return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}
constexpr Oprj_Point3D kNowhere = {OPRJ_SET::kNaN, OPRJ_SET::kNaN, OPRJ_SET::kNaN};

/// East, north, up of longitude, latitude, height; not finite when there is none.
Oprj_Point3D toLocal(const Block &b, const Oprj_Point3D &geog) {
  if (std::fabs(geog.y) > OPRJ_SET::kHalfPi + kClose || std::fabs(geog.x) > kFarthestAngle)
    return kNowhere;
  const double s = std::sin(geog.y), c = std::cos(geog.y), dLon = geog.x - b.lon0;
  const double n = b.a / std::sqrt(1.0 - b.es * s * s);
  const double rho = (n + geog.z) * c;
  const double outward = rho * std::cos(dLon) - b.a * b.rho0;
  const double z = (n * (1.0 - b.es) + geog.z) * s - b.a * b.z0;
  return {rho * std::sin(dLon) + b.falseEast, b.cos0 * z - b.sin0 * outward + b.falseNorth,
          b.cos0 * outward + b.sin0 * z};
}

/// The way back, not finite when there is none: Bowring's formula [Bowring76] for the latitude,
/// repeated until it stands still. Within 43 km of the Earth's centre, where a point lies on
/// several normals, it may not.
Oprj_Point3D toGeographic(const Block &b, const Oprj_Point3D &local) {
  const double east = local.x - b.falseEast, north = local.y - b.falseNorth;
  const double outward = b.cos0 * local.z - b.sin0 * north + b.a * b.rho0;
  const double z = b.cos0 * north + b.sin0 * local.z + b.a * b.z0;
  const double rho = std::hypot(outward, east), flat = std::sqrt(1.0 - b.es);
  double phi = std::atan2(z, (1.0 - b.es) * rho), correction = 1.0;
  for (int i = 0; i < kLatitudeIterations && std::fabs(correction) > kLatitudeTolerance; ++i) {
    const double beta = std::atan2(flat * std::sin(phi), std::cos(phi));
    const double s = std::sin(beta), c = std::cos(beta);
    const double next = std::atan2(z + b.es / flat * b.a * s * s * s, rho - b.es * b.a * c * c * c);
    correction = next - phi;
    phi = next;
  }
  if (!(std::fabs(correction) <= kLatitudeTolerance) || std::cos(phi) < 0.0) return kNowhere;
  const double s = std::sin(phi), c = std::cos(phi);
  const double lon = b.lon0 + std::atan2(east, outward);
  return {OPRJ_SET::wrapDifference(lon), phi,
          rho * c + z * s - b.a * std::sqrt(1.0 - b.es * s * s)};
}

}  // namespace

void oprj_AnchoredLSRFromLL3D(const Oprj_Point3D *geog, const double *parameters,
                              Oprj_Point3D *proj, int32_t count, Oerr_Report **err) {
  ErrorScope e("oprj_AnchoredLSRFromLL3D", err);
  if (!parameters) return void(e.fail(1, "Invalid input parameters"));
  if (!geog) return void(e.fail(2, "Invalid input geog points"));
  if (!proj) return void(e.fail(3, "Invalid input projected points"));
  const Block &block = *reinterpret_cast<const Block *>(parameters);
  for (int32_t i = 0; i < count; ++i) {
    const Oprj_Point3D p = geog[i], local = hasNaN(p) ? kNowhere : toLocal(block, p);
    if (!isFinite(local) && !hasNaN(p))
      return void(e.failAtPoint(i, p.x, p.y, kNoPointCode,
                                "Point cannot be projected, point # %ld:  %lf, %lf",
                                static_cast<long>(i), p.x, p.y));
    proj[i] = local;
  }
}

void oprj_AnchoredLSRToLL3D(const Oprj_Point3D *proj, const double *parameters, Oprj_Point3D *geog,
                            int32_t count, Oerr_Report **err) {
  ErrorScope e("oprj_AnchoredLSRToLL3D", err);
  if (!parameters) return void(e.fail(1, "Invalid input parameters"));
  if (!proj) return void(e.fail(2, "Invalid input projected points"));
  if (!geog) return void(e.fail(3, "Invalid input geog points"));
  const Block &block = *reinterpret_cast<const Block *>(parameters);
  for (int32_t i = 0; i < count; ++i) {
    const Oprj_Point3D p = proj[i], position = hasNaN(p) ? kNowhere : toGeographic(block, p);
    if (!isFinite(position) && !hasNaN(p))
      return void(e.failAtPoint(i, p.x, p.y, kNoPointCode,
                                "Input data error, point # %ld:  %lf, %lf", static_cast<long>(i),
                                p.x, p.y));
    geog[i] = position;
  }
}

#endif
