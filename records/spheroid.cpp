#include <oprj/omsc.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "records/datum.h"
#include "records/records.h"

namespace orvik::oprj {

namespace {

/// Metres: axes and radii this close are the same spheroid's.
constexpr double kAxisTolerance = 1e-5;

/// Equal within the tolerance; axes that were written as differing by exactly the tolerance may
/// come out one unit in their last place farther apart.
bool sameLength(double first, double second) {
  const double size = std::max(std::fabs(first), std::fabs(second));
  const double unit = std::nextafter(size, std::numeric_limits<double>::infinity()) - size;
  return within(first, second, kAxisTolerance + unit);
}

int32_t spheroidsEqual(const Oprj_Spheroid *first, const Oprj_Spheroid *second, int32_t flag,
                       ErrorScope &e) {
  if (!first && !second) return 1;
  if (!first || !second) return e.fail(1, "One of the input spheroid's is NULL");
  if (!sameLength(first->a, second->a) || !sameLength(first->b, second->b) ||
      !within(first->eSquared, second->eSquared, kValueTolerance) ||
      !sameLength(first->radius, second->radius))
    return 0;
  return datumsEqual(first->datum, second->datum, flag);
}

}  // namespace

bool axesUsable(double a, double b) {
  return std::isfinite(a) && std::isfinite(b) && a > 0.0 && b > 0.0;
}

// The radius of the sphere of equal area, a·√((1−e²)/2 · (1/(1−e²) + artanh(e)/e)): half of the
// logarithm ln((1+e)/(1−e)) is artanh(e). For b > a, e is imaginary and artanh(ie)/ie is
// arctan(e)/e. [Snyder87] p. 16, eq. 3-12 and 3-13.
void setAxes(Oprj_Spheroid &spheroid, double a, double b) {
  const double ratio = b / a;
  const double eSquared = ((a - b) / a) * (1.0 + ratio);
  const double e = std::sqrt(std::fabs(eSquared));
  // Where doubles cannot tell the spheroid from a disk (e = 1), the second term is 0.
  double second = 0.0;
  if (eSquared < 0.0) {
    second = ratio * ratio * std::atan(e) / e;
  } else if (e > 0.0 && e < 1.0) {
    second = ratio * ratio * std::atanh(e) / e;
  }
  spheroid.a = a;
  spheroid.b = b;
  spheroid.eSquared = eSquared;
  spheroid.radius = eSquared == 0.0 ? a : a * std::sqrt((1.0 + second) / 2.0);
}

void exchange(Oprj_Spheroid &first, Oprj_Spheroid &second) {
  std::swap(first, second);
  returnDatums(first.datum, second.datum);
}

}  // namespace orvik::oprj

using namespace orvik::oprj;

Oprj_Spheroid *oprj_SpheroidCreate(Oerr_Report **err) {
  ErrorScope e("oprj_SpheroidCreate", err);
  OwnedSpheroid made{allocateRecord<Oprj_Spheroid>()};
  if (!made) return e.fail(1, "Error allocating Spheroid");
  if (!oprj_DatumInit(&made->datum, e.cause()))
    return e.fail(2, "Error returned from oprj_DatumInit");
  return made.release();
}

Oprj_Spheroid *oprj_SpheroidCopy(const Oprj_Spheroid *source, Oprj_Spheroid *target,
                                 Oerr_Report **err) {
  ErrorScope e("oprj_SpheroidCopy", err);
  if (!source) return e.fail(1, "Invalid input Oprj_Spheroid");
  if (source == target) return target;
  OwnedSpheroid made{oprj_SpheroidCreate(e.cause())};
  if (!made) return e.fail(2, "Error returned from oprj_SpheroidCreate");
  if (!oprj_CharStrCopy(&source->sphereName, &made->sphereName, e.cause()))
    return e.fail(3, "Error returned from oprj_CharStrCopy");
  made->a = source->a;
  made->b = source->b;
  made->eSquared = source->eSquared;
  made->radius = source->radius;
  if (source->datum && !fillDatum(*source->datum, *made->datum, 4, e)) return nullptr;
  if (!target) return made.release();
  exchange(*target, *made);
  return target;
}

void oprj_SpheroidFree(Oprj_Spheroid **spheroid) {
  if (!spheroid || !*spheroid) return;
  oprj_CharStrFree(&(*spheroid)->sphereName);
  oprj_DatumFree(&(*spheroid)->datum);
  omsc_HeapFree(*spheroid);
  *spheroid = nullptr;
}

int32_t oprj_SpheroidsEqual2(const Oprj_Spheroid *first, const Oprj_Spheroid *second, int32_t flag,
                             Oerr_Report **err) {
  ErrorScope e("oprj_SpheroidsEqual2", err);
  return spheroidsEqual(first, second, flag, e);
}

int32_t oprj_SpheroidsEqual(const Oprj_Spheroid *first, const Oprj_Spheroid *second,
                            Oerr_Report **err) {
  ErrorScope e("oprj_SpheroidsEqual", err);
  return spheroidsEqual(first, second, 1, e);
}
