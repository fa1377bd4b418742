// Interrupted Mollweide: three lobes to each hemisphere, laid out as in the General Cartographic
// Transformation Package. Mollweide's projection: [Snyder87] p. 249-252.
//
// Reads no entries: the sheet begins at 20 degrees east, without offsets. A sphere of radius a.
// Domain: the whole globe; the inverse takes the lobes. A point on the edge of two lobes belongs to
// the eastern one, and the equator to the north.
// Constants: 2 sqrt(2)/pi and sqrt(2) to twelve and thirteen digits (at most 0.02 mm); meridians
// are whole degrees.
#include "projections/family.h"
#include "projections/lobes.h"
#include "projections/mollweide_angle.h"

namespace orvik::oprj::OPRJ_SET {

struct InterruptedMollweideBlock {
  double a, e, es;
};

/// Where the sheet begins, and the longitude in its middle, which is -160 degrees as well.
constexpr double kStart = 20 * kDegree, kMiddle = 200 * kDegree, kMiddleWest = -160 * kDegree;
/// The abscissa of a longitude in degrees on the sheet's equator, from -pi (20 degrees east) to pi.
constexpr double abscissaOf(double degrees) {
  return degrees * kDegree - (degrees >= 20 ? kMiddle : kMiddleWest);
}

struct InterruptedMollweide : FamilyBase<InterruptedMollweideBlock> {
  static constexpr Row row{.number = 29, .minimum = 0, .offsets = 0};
  static constexpr StopText kIterations{4,
                                        "Iteration failed to converge in Interrupted Mollweide "
                                        "forward transformation, point # %ld:  %lf, %lf",
                                        nullptr, kMollweideIterations};
  static constexpr StopText kGap{4,
                                 "In interrupted area in Interrupted Mollweide inverse "
                                 "transformation, point # %ld:  %lf, %lf"};

  static constexpr LobeTable<3, 3> kLobes = {{{-kPi, abscissaOf(110), abscissaOf(60)},
                                              {abscissaOf(110), abscissaOf(-100), abscissaOf(-170)},
                                              {abscissaOf(-100), kPi, abscissaOf(-30)}},
                                             {{-kPi, abscissaOf(140), abscissaOf(90)},
                                              {abscissaOf(140), abscissaOf(-70), abscissaOf(-140)},
                                              {abscissaOf(-70), kPi, abscissaOf(-20)}},
                                             true};

  static bool derive(const Entries &, const Ellipsoid &s, InterruptedMollweideBlock &b) {
    b = {s.a, s.e, s.es};
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const V along = lon - select(lon >= V(kStart), V(kMiddle), V(kMiddleWest));
    const Lobe<V> lobe = lobeAt(kLobes, along, lat >= V(0.0));
    const Parallel<V> p = mollweideParallel(lat, sin(0.5 * (kHalfPi - abs(lat))));
    stop.when(~p.converged, kIterations);
    return {b.a * kMollweideWidth * fma(along - lobe.meridian, p.width, lobe.meridian),
            b.a * kMollweideHeight * p.height};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const V along = x * (1.0 / (b.a * kMollweideWidth));
    const V height = y * (1.0 / (b.a * kMollweideHeight)), onSheet = clampToUnit(height);
    stop.when(abs(height) > V(1.0 + kClose / kMollweideHeight), kInputData);
    const MollweideLatitude<V> p = mollweideLatitude(onSheet);
    const OnLobe<V> on =
        onLobe(lobeAt(kLobes, along, y >= V(0.0)), along, p.width,
               mollweideWidth(abs(onSheet) - kClose / kMollweideHeight), kClose / kMollweideWidth);
    stop.when(on.inGap, kGap);
    stop.when(on.outside, kInputData);
    return {on.longitude + select(on.longitude > V(-kStart), V(kMiddleWest), V(kMiddle)), p.lat};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(InterruptedMollweide, oprj_InterruptedMollweideInit, oprj_InterruptedMollweideFromLL,
            oprj_InterruptedMollweideToLL, oprj_InterruptedMollweideCopyParameters,
            oprj_InterruptedMollweideProParametersEqual)
