#include "ground.h"

#include <cmath>
#include <limits>

#include "shift.h"

namespace program {
namespace {

constexpr double kNowhere = std::numeric_limits<double>::quiet_NaN();

}  // namespace

double distanceBetween(const Oprj_Spheroid &spheroid, const Oprj_Point &one,
                       const Oprj_Point &other) {
  // The chord in space, and the arc over it on the sphere of the middle's mean curvature: exact to
  // the flattening squared for the distances between mistakes.
  const double a = spheroid.a, es = 1 - spheroid.b * spheroid.b / (a * a);
  double difference[3];
  const auto place = [&](const Oprj_Point &p, double sign) {
    const double n = a / std::sqrt(1 - es * std::sin(p.y) * std::sin(p.y));
    difference[0] += sign * n * std::cos(p.y) * std::cos(p.x);
    difference[1] += sign * n * std::cos(p.y) * std::sin(p.x);
    difference[2] += sign * n * (1 - es) * std::sin(p.y);
  };
  difference[0] = difference[1] = difference[2] = 0;
  place(one, 1);
  place(other, -1);
  const double chord = std::hypot(difference[0], difference[1], difference[2]);
  return 2 * a * std::asin(std::min(1.0, chord / (2 * a)));
}

Area usualArea(Oint_Toolkit *toolkit, const System &system) {
  constexpr double kAround = 3;  // degrees
  Slot err;
  const OwnedRecord zone(system.record->proNumber == 2
                             ? oprj_StatePlaneDetailsGet(toolkit, system.record.get(), err.get())
                             : nullptr);
  const Oprj_ProParameters &record = zone ? *zone : *system.record;
  const Oprj_DblArray &slots = record.proParams;
  const int32_t number = record.proNumber;
  if (number == 1) {
    const double meridian = 6.0 * record.proZone - 183;
    const bool south = slots.count > 3 && slots.data[3] < 0;
    return {meridian - kAround, south ? -80.0 : 0.0, meridian + kAround, south ? 0.0 : 84.0};
  }
  if (system.geographic || slots.count < 6) return {-179, -80, 179, 80};
  const double lon = slots.data[number == 67 ? 3 : 4] / kDegree,
               lat = slots.data[number == 67 ? 2 : 5] / kDegree;
  return {lon - kAround, std::max(lat - kAround, -89.0), lon + kAround,
          std::min(lat + kAround, 89.0)};
}

Oprj_Point placeOf(const Oprj_MapProjectionEx &handle, const System &system, Oprj_Point point) {
  const Oprj_Point in{point.x * system.unitFactor, point.y * system.unitFactor};
  Oprj_Point place;
  Slot err;
  handle.applyInverse(handle.ownedData, &in, &place, 1, err.get());
  return err ? Oprj_Point{kNowhere, kNowhere} : place;
}

Ground::Ground(Oint_Toolkit *toolkit, const System &first, const System &second,
               const Console &console)
    : first_(first),
      second_(second),
      from_(requireProjection(toolkit, first, console)),
      to_(requireProjection(toolkit, second, console)),
      shifts_(shiftsBetween(first, second)) {
  if (shifts_) requireShift(second, first);
}

double Ground::apart(const Oprj_Point &place) const {
  Slot err;
  Oprj_Point projected;
  from_->apply(from_->ownedData, &place, &projected, 1, err.get());
  if (err) return kNowhere;
  const Oprj_Point point{projected.x / first_.unitFactor, projected.y / first_.unitFactor};
  // Both ways back, so that what a projection loses on its way does not count.
  const Oprj_Point own = placeOf(*from_, first_, point);
  Oprj_Point other = placeOf(*to_, second_, point);
  if (shifts_ && std::isfinite(other.x)) {
    const Oprj_Point unshifted = other;
    oprj_DatumShift(&unshifted, &second_.spheroid(), &other, &first_.spheroid(), 1, err.get());
    if (err) return kNowhere;
  }
  return distanceBetween(first_.spheroid(), own, other);
}

}  // namespace program
