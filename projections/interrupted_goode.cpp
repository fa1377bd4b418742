// Interrupted Goode homolosine: the sinusoidal projection between the parallels of 40°44'11.8",
// where both have the same scale, and Mollweide's towards the poles, on two northern and four
// southern lobes. [Goode25]; [SnyderVoxland89].
//
// Reads no entries: the sheet is centred on Greenwich without offsets. A sphere of radius a.
// Domain: the whole globe; the inverse takes the lobes. A point on the edge of two lobes belongs to
// the western one, and longitude -180 degrees to the westernmost.
// Constants: the joint latitude, the shift of Mollweide's part and its scales to twelve digits.
// Mollweide's part begins 0.5 mm below the end of the sinusoidal one, and the two lengths of the
// joint differ by 3e-7 (3.6 m at the far edge of the widest lobe).
#include "projections/family.h"
#include "projections/lobes.h"
#include "projections/mollweide_angle.h"

namespace orvik::oprj::OPRJ_SET {

struct InterruptedGoodeBlock {
  double a, e, es;
};

struct InterruptedGoode : FamilyBase<InterruptedGoodeBlock> {
  static constexpr Row row{.number = 27, .minimum = 0, .offsets = 0};
  static constexpr StopText kIterations{4,
                                        "Too many iterations for Interrupted Goode Homolosine "
                                        "forward transformation, point # %ld:  %lf, %lf",
                                        nullptr, kMollweideIterations};
  static constexpr StopText kGap{4,
                                 "In interrupted area in Interrupted Goode Homolosine inverse "
                                 "transformation, point # %ld:  %lf, %lf"};
  static constexpr StopText kOutside{5,
                                     "Input data error in Interrupted Goode Homolosine inverse "
                                     "transformation, point # %ld:  %lf, %lf"};

  static constexpr double kJoint = 0.710987989993;         // rad
  static constexpr double kJointHeight = 0.7109879899072;  // of Mollweide's part, over a
  static constexpr double kShift = 0.0528035274542;        // how far Mollweide's part moves inwards
  static constexpr double kTop = kMollweideHeight - kShift;
  static constexpr LobeTable<2, 4> kLobes = {
      {{-kPi, -40 * kDegree, -100 * kDegree}, {-40 * kDegree, kPi, 30 * kDegree}},
      {{-kPi, -100 * kDegree, -160 * kDegree},
       {-100 * kDegree, -20 * kDegree, -60 * kDegree},
       {-20 * kDegree, 80 * kDegree, 20 * kDegree},
       {80 * kDegree, kPi, 140 * kDegree}},
      false};

  static bool derive(const Entries &, const Ellipsoid &s, InterruptedGoodeBlock &b) {
    b = {s.a, s.e, s.es};
    return true;
  }

  template <class V>
  static Projected<V> forward(const Block &b, V lon, V lat, Stops<V> &stop) {
    const Lobe<V> lobe = lobeAt(kLobes, lon, lat >= V(0.0));
    const SinCos<V> half = sincos(0.5 * (kHalfPi - abs(lat)));
    V y = lat, width = 2.0 * half.sin * half.cos;  // cos(lat)
    const Truth<V> polar = abs(lat) >= V(kJoint);
    if (any(polar)) {
      const Parallel<V> p = mollweideParallel(lat, half.sin);
      stop.when(polar & ~p.converged, kIterations);
      y = select(polar, kMollweideHeight * p.height - copysign(V(kShift), lat), y);
      width = select(polar, kMollweideWidth * p.width, width);
    }
    return {b.a * fma(lon - lobe.meridian, width, lobe.meridian), b.a * y};
  }

  template <class V>
  static Geographic<V> inverse(const Block &b, V x, V y, Stops<V> &stop) {
    const double perMetre = 1.0 / b.a;
    const V along = x * perMetre, up = abs(y) * perMetre;
    stop.when(up > V(kTop + kClose), kOutside);
    const V north = min(up, V(kTop));
    V lat = min(north, V(kJoint)), width = cos(lat), edgeWidth = width;
    const Truth<V> polar = north >= V(kJointHeight);
    if (any(polar)) {
      const V height = min((north + kShift) * (1.0 / kMollweideHeight), V(1.0));
      const MollweideLatitude<V> p = mollweideLatitude(height);
      lat = select(polar, p.lat, lat);
      width = select(polar, kMollweideWidth * p.width, width);
      edgeWidth =
          select(north - kClose >= V(kJointHeight),
                 kMollweideWidth * mollweideWidth(height - kClose / kMollweideHeight), edgeWidth);
    }
    const OnLobe<V> at =
        onLobe(lobeAt(kLobes, along, y >= V(0.0)), along, width, edgeWidth, kClose);
    stop.when(at.inGap, kGap);
    stop.when(at.outside, kOutside);
    return {at.longitude, copysign(lat, y)};
  }
};

}  // namespace orvik::oprj::OPRJ_SET

OPRJ_FAMILY(InterruptedGoode, oprj_InterruptedGoodeInit, oprj_InterruptedGoodeFromLL,
            oprj_InterruptedGoodeToLL, oprj_InterruptedGoodeCopyParameters,
            oprj_InterruptedGoodeProParametersEqual)
