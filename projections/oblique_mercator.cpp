// Oblique Mercator (Hotine): 20 by an azimuth or two points, 64 by an azimuth, 65 and 66 by two
// points. [Snyder87] p. 71-75, whose letters the constants keep; u_c after [EPSG7-2], Hotine
// variant B. 20, 64 and 65 have the false origin at the projection centre, 66 has it where the
// central line crosses the aposphere's equator.
//
// 20 reads entries 2 (scale factor at the centre), 5 (latitude of the centre), 6 and 7 (false
// easting and northing at the centre) and 12: not 0, the central line has the azimuth of entry 3 at
// longitude 4; 0, it runs through the points 8 (longitude), 9 (latitude) and 10, 11. The sheet is
// turned by the central line's azimuth at the centre. 64 reads 2 to 7, 65 and 66 read 2, 5 to 11,
// in the same meaning; 64 takes a line either way, 65 and 66 one of the points on the equator too.
// Domain: all points but the two poles of the
// oblique system, which project into infinity; scale grows with the distance from the central line.
// Formulation: everything is multiplied by 2 q, and with [Snyder87]'s S, T, U, V
//   (T U)² + M² + cos²(B dlon) = T², M = S cos g0 + V sin g0,
// so that v = -(A/B) sign(U) ln((T + |T U|) / hypot(M, cos(B dlon))) keeps its digits everywhere,
// as does the latitude backwards, where the same holds with M = S cos g0 - V sin g0.
//
// Kept: "projectes" in the stop's text.
#include <cmath>
#include <cstddef>

#include "projections/auxiliary_latitude.h"
#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

struct ObliqueMercatorBlock {
  double a, e, es;
  double k0, azimuth, lonCentre, lat0, falseEast, falseNorth, form;
  double lon0;                // where the central line crosses the aposphere's equator
  double A, B, E, uCentre;    // B exceeds 1; u of the centre
  double sinGamma, cosGamma;  // azimuth of the central line at lon0
  double sinAlpha, cosAlpha;  // and at the centre
  double D;
  // what the formulas need beside them
  double radius, perRadius, perB, lnE;  // radius: A / B
  ConformalLatitude conformal;
};
static_assert(offsetof(ObliqueMercatorBlock, radius) == 20 * sizeof(double));

inline bool isPole(double lat) { return std::fabs(std::fabs(lat) - kHalfPi) <= kClose; }

/// Whether the entries give no central line: one on the equator has no centre there; one that runs
/// backwards would come out mirrored.
inline bool hasNoLine(const Entries &p) {
  if (p[12] != 0.0) return std::fabs(p[5]) <= kClose || std::cos(p[3]) < -kClose;
  return std::fabs(p[9] - p[11]) <= kClose || std::fabs(p[9]) <= kClose || isPole(p[9]);
}
/// The same of 65 and 66.
inline bool areNoTwoPoints(const Entries &p) {
  return std::fabs(p[9] - p[11]) <= kClose || isPole(p[9]);
}

struct ObliqueMercator : FamilyBase<ObliqueMercatorBlock> {
  static constexpr Row row{.number = 20,
                           .minimum = 12,
                           .angles = entries(3, 5) | entries(8, 11),
                           .scale = 2,
                           .compared = entries(2, 12)};
  static constexpr ValueCheck checks[] = {
      kNoScale,
      {[](const Entries &p, const Ellipsoid &) { return isPole(p[5]) || hasNoLine(p); },
       "Improper parameter"}};
  static constexpr StopText kInfinite{4, "Point projectes into infinity"};
  static constexpr StopText kPhi2{4, "Error returned from oprj_Phi2", "oprj_Phi2", kPhi2Iterations};

  static bool derive(const Entries &p, const Ellipsoid &s, ObliqueMercatorBlock &b) {
    b = {};
    b.azimuth = p[3];
    b.lonCentre = p[4];
    b.form = p[12];
    setLine(p, s, b);
    return true;
  }

  template <class V>
  OPRJ_INLINE static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const SinCos<V> along = sincos(b.B * wrapDifference(lon - V(b.lon0)));
    const V q = exp(fma(V(b.B), isometricLatitude(b.conformal, sincos(lat)), V(b.lnE)));
    const V q2 = q * q, twoQ = q + q;
    const V t = q2 + V(1.0), s = q2 - V(1.0), v = twoQ * along.sin;
    const V tu = fma(V(b.sinGamma), s, -b.cosGamma * v);
    const V m = fma(V(b.cosGamma), s, b.sinGamma * v), c = twoQ * along.cos;
    stop.when(abs(abs(tu) - t) <= kClose * t, kInfinite);
    const V acrossLine = b.radius * copysign(log((t + abs(tu)) / sqrt(fma(m, m, c * c))), -tu);
    const V alongLine = fma(V(b.radius), atan2(m, c), V(-b.uCentre));
    return {fma(V(b.cosAlpha), acrossLine, fma(V(b.sinAlpha), alongLine, V(b.falseEast))),
            fma(V(b.cosAlpha), alongLine, fma(V(-b.sinAlpha), acrossLine, V(b.falseNorth)))};
  }

  template <class V>
  OPRJ_INLINE static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V east = x - V(b.falseEast), north = y - V(b.falseNorth);
    const V acrossLine = fma(V(b.cosAlpha), east, -b.sinAlpha * north);
    const V alongLine = fma(V(b.cosAlpha), north, fma(V(b.sinAlpha), east, V(b.uCentre)));
    const V turn = alongLine * b.perRadius;
    const SinCos<V> along = sincos(select(isFinite(turn), notTooFar(turn), turn));
    const V q = exp(-acrossLine * b.perRadius);
    const V q2 = q * q, twoQ = q + q;
    const V t = q2 + V(1.0), s = q2 - V(1.0), v = twoQ * along.sin;
    const V tu = fma(V(b.sinGamma), s, b.cosGamma * v);
    const V m = fma(V(b.cosGamma), s, -b.sinGamma * v), c = twoQ * along.cos;
    const V psi = copysign(log((t + abs(tu)) / sqrt(fma(m, m, c * c))), tu);
    const Solved<V> lat = latitudeOfIsometric(b.conformal, (psi - V(b.lnE)) * b.perB);
    stop.when(~lat.converged, kPhi2);
    stop.when(abs(turn) > V(kTwoPi + kClose), kInputData);  // the sheet repeats, as Mercator's
    return {wrapDifference(b.lon0 - atan2(m, c) * b.perB), lat.phi};
  }

 protected:
  /// The constants, by the azimuth of the block or by two points as its form says.
  static void setLine(const Entries &p, const Ellipsoid &s, ObliqueMercatorBlock &b) {
    b.a = s.a;
    b.e = s.e;
    b.es = s.es;
    b.k0 = p[2];
    b.lat0 = p[5];
    b.falseEast = p[6];
    b.falseNorth = p[7];
    const double sin0 = std::sin(b.lat0), cos0 = std::cos(b.lat0);
    const double n0 = 1.0 - s.es * sin0 * sin0, rootEs = std::sqrt(1.0 - s.es);
    b.B = std::sqrt(1.0 + s.es * cos0 * cos0 * cos0 * cos0 / (1.0 - s.es));
    b.A = s.a * b.B * b.k0 * rootEs / n0;
    const double root = rootEs * sin0 / (cos0 * std::sqrt(n0));  // ±sqrt(D² - 1)
    b.D = std::hypot(1.0, root);
    b.E = std::exp(std::asinh(root)) * powerOfT(b, b.lat0);
    double gamma, alpha;
    if (b.form != 0.0) {
      alpha = b.azimuth;
      // Arcsines as angles whose cosines are known: near 90 degrees they keep their digits.
      gamma = std::atan2(std::sin(alpha), std::hypot(root, std::cos(alpha)));
      b.lon0 = b.lonCentre - std::atan2(root * std::sin(gamma), std::cos(alpha)) / b.B;
    } else {
      const double lon1 = p[8], lon2 = lon1 + std::remainder(p[10] - lon1, kTwoPi);
      const double h = powerOfT(b, p[9]), l = powerOfT(b, p[11]);
      const double j = (b.E * b.E - l * h) / (b.E * b.E + l * h);
      const double across = j * std::tan(0.5 * b.B * (lon1 - lon2)) * (l + h) / (l - h);
      b.lon0 = 0.5 * (lon1 + lon2) - std::atan(across) / b.B;
      // from the first point, or from the second where the line crosses its equator at the first
      const bool first = std::fabs(p[9]) > kClose;
      const double f = b.E / (first ? h : l), at = first ? lon1 : lon2;
      const double fromLine = std::sin(b.B * std::remainder(at - b.lon0, kTwoPi));
      gamma = std::atan(fromLine / (0.5 * (f - 1.0 / f)));
      alpha = oprj_Asin(b.D * std::sin(gamma), nullptr);
    }
    b.lon0 = meridianOf(b.lon0);
    b.sinGamma = std::sin(gamma);
    b.cosGamma = std::cos(gamma);
    b.sinAlpha = std::sin(alpha);
    b.cosAlpha = std::cos(alpha);
    // The signs go to the angle here and to the logarithm below: A's own is the scale factor's.
    b.uCentre = b.A / b.B * std::copysign(std::atan2(std::fabs(root), b.cosAlpha), b.lat0);
    b.radius = b.A / b.B;
    b.perRadius = b.B / b.A;
    b.perB = 1.0 / b.B;
    b.lnE = std::log(b.E);
    b.conformal = conformalLatitudeOf(b.e, b.es);
  }

  static double powerOfT(const ObliqueMercatorBlock &b, double lat) {
    return std::pow(oprj_Tsfn(b.e, lat, std::sin(lat), nullptr), b.B);
  }
};

struct HotineAzimuthCenter : ObliqueMercator {
  static constexpr Row row{
      .number = 64, .minimum = 8, .angles = entries(3, 5), .scale = 2, .compared = entries(2, 7)};
  static constexpr ValueCheck checks[] = {
      kNoScale,
      {[](const Entries &p, const Ellipsoid &) { return isPole(p[5]); }, "Improper parameter",
       true}};

  static bool derive(const Entries &p, const Ellipsoid &s, ObliqueMercatorBlock &b) {
    b = {};
    // the line is the same one backwards, for which the formulas are not made
    b.azimuth = std::cos(p[3]) < -kClose ? p[3] - kPi : p[3];
    b.lonCentre = p[4];
    b.form = 1.0;
    setLine(p, s, b);
    return true;
  }
};

constexpr Row twoPointRow(int32_t number) {
  return {.number = number,
          .minimum = 12,
          .angles = entries(5) | entries(8, 11),
          .scale = 2,
          .compared = entries(2) | entries(5, 11)};
}

struct HotineTwoPointCenter : ObliqueMercator {
  static constexpr Row row = twoPointRow(65);
  static constexpr ValueCheck checks[] = {
      kNoScale,
      {[](const Entries &p, const Ellipsoid &) { return isPole(p[5]) || areNoTwoPoints(p); },
       "Improper parameter", true}};

  static bool derive(const Entries &p, const Ellipsoid &s, ObliqueMercatorBlock &b) {
    b = {};
    setLine(p, s, b);
    return true;
  }
};

struct HotineTwoPointNaturalOrigin : HotineTwoPointCenter {
  static constexpr Row row = twoPointRow(66);

  static bool derive(const Entries &p, const Ellipsoid &s, ObliqueMercatorBlock &b) {
    HotineTwoPointCenter::derive(p, s, b);
    b.uCentre = 0.0;
    return true;
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(ObliqueMercator, oprj_ObliqueMercatorInit, oprj_ObliqueMercatorFromLL,
            oprj_ObliqueMercatorToLL, oprj_ObliqueMercatorCopyParameters,
            oprj_ObliqueMercatorProParametersEqual)
OPRJ_ENGINE_FAMILY(HotineAzimuthCenter, HotineAzimuthCenter)
OPRJ_ENGINE_FAMILY(HotineTwoPointCenter, HotineTwoPointCenter)
OPRJ_ENGINE_FAMILY(HotineTwoPointNaturalOrigin, HotineTwoPointNaturalOrigin)
