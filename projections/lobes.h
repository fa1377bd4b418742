// Interrupted sheets on lanes: lobes side by side, each with a meridian of its own.
//
// On a sheet every lobe stands where its central meridian would stand on an uninterrupted equator,
// so abscissas and longitudes share one scale: a point at longitude l of the lobe with meridian c
// has the abscissa c + (l - c) w, w the width of its parallel (1 on the equator). Lobes touch on
// the equator and leave gaps that widen towards the poles.
#ifndef OPRJ_LOBES_H
#define OPRJ_LOBES_H

#include "lanes/lanes.h"

namespace orvik::oprj::OPRJ_SET {

/// A lobe's edges and central meridian, radians along the equator of the sheet.
template <class V>
struct Lobe {
  V west, east, meridian;
};

/// Lobes of both hemispheres from west to east, without gaps on the equator.
template <int kNorth, int kSouth>
struct LobeTable {
  Lobe<double> north[kNorth], south[kSouth];
  bool edgesGoEast;  ///< a point on the edge of two lobes belongs to the eastern one
};

template <class V, int kCount>
OPRJ_INLINE Lobe<V> lobeIn(const Lobe<double> (&lobes)[kCount], bool edgesGoEast, V along) {
  Lobe<V> found{lobes[0].west, lobes[0].east, lobes[0].meridian};
  for (int i = 1; i < kCount; ++i) {
    const V edge = lobes[i].west;
    const Truth<V> here = edgesGoEast ? Truth<V>(along >= edge) : Truth<V>(along > edge);
    found = {select(here, edge, found.west), select(here, V(lobes[i].east), found.east),
             select(here, V(lobes[i].meridian), found.meridian)};
  }
  return found;
}

/// The lobe at a longitude of the equator. Because lobes narrow towards their meridians it is also
/// the only one that can hold a point of the sheet with that abscissa.
template <class V, class Table>
OPRJ_INLINE Lobe<V> lobeAt(const Table &table, V along, Truth<V> isNorth) {
  const Lobe<V> north = lobeIn(table.north, table.edgesGoEast, along);
  const Lobe<V> south = lobeIn(table.south, table.edgesGoEast, along);
  return {select(isNorth, north.west, south.west), select(isNorth, north.east, south.east),
          select(isNorth, north.meridian, south.meridian)};
}

/// A point of the sheet within its lobe.
template <class V>
struct OnLobe {
  V longitude;       ///< clamped to the lobe; the meridian where the parallel has no width
  Truth<V> inGap;    ///< beyond an edge that faces another lobe
  Truth<V> outside;  ///< beyond the edge of the sheet
};

/// Undoes the narrowing. A point counts as on the sheet up to `tolerance` beyond the edge of the
/// parallel of the width `edgeWidth`: the one that far nearer to the equator, because at a pole the
/// edges run flat and rounding in y alone moves them by metres.
template <class V>
OPRJ_INLINE OnLobe<V> onLobe(Lobe<V> lobe, V abscissa, V width, V edgeWidth, double tolerance) {
  const V d = abscissa - lobe.meridian;
  const V toEast = lobe.east - lobe.meridian, toWest = lobe.west - lobe.meridian;
  const Truth<V> beyondEast = d > fma(toEast, edgeWidth, V(tolerance));
  const Truth<V> beyondWest = d < fma(toWest, edgeWidth, V(-tolerance));
  const Truth<V> facesEast = lobe.east < V(kPi);
  const Truth<V> facesWest = lobe.west > V(-kPi);
  const V within = min(max(d / width, toWest), toEast);
  const V turn = select(width > V(0.0), within, V(0.0));
  // edges come back exactly
  const V longitude =
      select(turn >= toEast, lobe.east, select(turn <= toWest, lobe.west, lobe.meridian + turn));
  return {longitude, (beyondEast & facesEast) | (beyondWest & facesWest),
          (beyondEast & ~facesEast) | (beyondWest & ~facesWest)};
}

}  // namespace orvik::oprj::OPRJ_SET

#endif
