// What the azimuthal projections of the sphere share: the way to the centre's view and back.
//
// [Snyder87] p. 141-215 writes x = R k cos phi sin dlam, y = R k (cos phi0 sin phi - sin phi0 cos
// phi cos dlam) with k a function of the distance c from the centre, cos c = sin phi0 sin phi + cos
// phi0 cos phi cos dlam (eqs. 5-3, 20-4, 20-5). Written so, 1 + cos c loses its digits near the
// antipode and 1 - cos c near the centre. From half angles both keep them, and two pairs of sine
// and cosine are all the trigonometry that is needed:
//   1 + cos c = 2 (sin²((phi + phi0)/2) + cos phi cos phi0 cos²(dlam/2))
//   1 - cos c = 2 (sin²((phi - phi0)/2) + cos phi cos phi0 sin²(dlam/2))
// The way back turns the unit vector of the point about the centre: one form for every aspect, with
// neither an arcsine (which loses half the digits near the poles) nor cases for polar centres.
#ifndef OPRJ_AZIMUTHAL_H
#define OPRJ_AZIMUTHAL_H

#include "projections/longitude.h"

namespace orvik::oprj::OPRJ_SET {

/// The block of an azimuthal projection without entries of its own. Blocks with more entries have
/// these members too, each group in its place; the functions below ask for the names only.
struct AzimuthalBlock {
  double a, e, es;
  double lon0, lat0, falseEast, falseNorth;
  double sin0, cos0, sinHalf0, cosHalf0;  // of lat0 and lat0 / 2
  double perA;                            // 1 / a
};
static_assert(sizeof(AzimuthalBlock) == 12 * sizeof(double));

/// Fills the members of AzimuthalBlock: entries 4 (longitude of the centre), 5 (its latitude), 6
/// and 7 (false easting and northing). The sphere has radius a.
template <class Block>
void setCentre(const Entries &p, const Ellipsoid &s, Block &b) {
  b.a = s.a;
  b.e = s.e;
  b.es = s.es;
  b.lon0 = meridianOf(p[4]);
  b.lat0 = p[5];
  b.falseEast = p[6];
  b.falseNorth = p[7];
  b.sin0 = __builtin_sin(b.lat0);
  b.cos0 = __builtin_cos(b.lat0);
  b.sinHalf0 = __builtin_sin(0.5 * b.lat0);
  b.cosHalf0 = __builtin_cos(0.5 * b.lat0);
  b.perA = 1.0 / b.a;
}

/// A point as seen from the centre, at distance c in azimuth Az.
template <class V>
struct FromCentre {
  V east, north;  ///< sin c sin Az, sin c cos Az
  V plus, minus;  ///< 1 + cos c, 1 - cos c
};

/// From half of the longitude's difference from the centre and half of the latitude.
template <class V, class Block>
OPRJ_INLINE FromCentre<V> seenFromCentre(const Block &b, SinCos<V> l, SinCos<V> p) {
  const V cosPhi = (p.cos - p.sin) * (p.cos + p.sin);
  const V sinSum = fma(p.sin, V(b.cosHalf0), p.cos * b.sinHalf0);
  const V sinDifference = fma(p.sin, V(b.cosHalf0), -p.cos * b.sinHalf0);
  const V cosDifference = fma(p.cos, V(b.cosHalf0), p.sin * b.sinHalf0);
  const V across = cosPhi * b.cos0, sin2 = l.sin * l.sin;
  return {2.0 * l.sin * l.cos * cosPhi,
          2.0 * fma(cosPhi * b.sin0, sin2, sinDifference * cosDifference),
          2.0 * fma(across * l.cos, l.cos, sinSum * sinSum),
          2.0 * fma(across, sin2, sinDifference * sinDifference)};
}

template <class V, class Block>
OPRJ_INLINE FromCentre<V> seenFromCentre(const Block &b, V lon, V lat) {
  // a whole turn of the longitude does not matter
  return seenFromCentre(b, sincos(0.5 * (lon - V(b.lon0))), sincos(0.5 * lat));
}

/// The same with (east, north) lengthened to what 1 + cos c says in the far hemisphere, sin²c = (1
/// + cos c)(1 - cos c): near the antipode the radius of an equal-area sheet differs from its edge
/// by the square of what is left, which rounding of the vector itself would swallow (100 m there).
template <class V>
OPRJ_INLINE FromCentre<V> lengthened(FromCentre<V> from) {
  const V sine2 = fma(from.east, from.east, from.north * from.north);
  const V factor = sqrt(select(from.plus < V(1.0), from.plus * (2.0 - from.plus) / sine2, V(1.0)));
  return {from.east * factor, from.north * factor, from.plus, from.minus};
}

/// A point on the sheet over a, its offsets taken off, and the square of its distance.
template <class V>
struct OnSheet {
  V x, y, rho2;
};

template <class V, class Block>
OPRJ_INLINE OnSheet<V> onSheet(const Block &b, V x, V y) {
  const V u = (x - V(b.falseEast)) * b.perA, v = (y - V(b.falseNorth)) * b.perA;
  return {u, v, fma(u, u, v * v)};
}

/// The point that lies (sin c sin Az, sin c cos Az) from the centre: its longitude from there, sine
/// and cosine of its latitude.
template <class V>
struct Offset {
  V dLon;
  SinCos<V> lat;
};
template <class V, class Block>
OPRJ_INLINE Offset<V> offsetOf(const Block &b, V east, V north, V cosC) {
  const V toward = fma(cosC, V(b.cos0), -north * b.sin0);
  const V up = fma(cosC, V(b.sin0), north * b.cos0);
  return {atan2(east, toward), {up, sqrt(fma(east, east, toward * toward))}};
}
template <class V, class Block>
OPRJ_INLINE Geographic<V> fromOffset(const Block &b, V east, V north, V cosC) {
  const Offset<V> at = offsetOf(b, east, north, cosC);
  return {wrapDifference(b.lon0 + at.dLon), atan2(at.lat.sin, at.lat.cos)};
}

/// An azimuthal family whose block is AzimuthalBlock.
struct Azimuthal : FamilyBase<AzimuthalBlock> {
  static bool derive(const Entries &p, const Ellipsoid &s, AzimuthalBlock &b) {
    setCentre(p, s, b);
    return true;
  }
};

}  // namespace orvik::oprj::OPRJ_SET

#endif
