// Geographic: longitude and latitude in radians, copied as they are. No wrapping, no test of the
// latitude, unless places alone are wanted.
#include <oprj/families.h>

#include <cmath>
#include <limits>

#include "lanes/point_runner.h"
#include "projections/descriptor.h"
#include "records/records.h"
#include "toolkit/error_scope.h"

namespace orvik::oprj {

/// What is no place: coordinates greater than these.
struct Limits {
  double longitude = std::numeric_limits<double>::infinity();
  double latitude = std::numeric_limits<double>::infinity();
};
using CopyKernel = void (*)(const Limits &limits, const Oprj_Point *in, Oprj_Point *out,
                            int32_t count, PointRun &how);

namespace OPRJ_SET {

/// What is no number becomes NaN in both coordinates.
struct GeographicCopy {
  using Block = Limits;
  static constexpr PointFault kElsewhere = PointFault::kOutsideDomain;
  static const StopText *point(const Block &limits, Oprj_Point p, Oprj_Point *out) {
    static constexpr StopText kNoPlace = {1, "Point is no place"};
    const bool number = p.x == p.x && p.y == p.y;
    const bool place = std::fabs(p.x) <= limits.longitude && std::fabs(p.y) <= limits.latitude;
    if (number && !place) return &kNoPlace;
    *out = number ? p : Oprj_Point{kNaN, kNaN};
    return nullptr;
  }
  OPRJ_INLINE static Odd group(const Block &limits, Lanes x, Lanes y, Lanes &u, Lanes &v) {
    u = x;
    v = y;
    return {~((abs(x) <= Lanes(limits.longitude)) & (abs(y) <= Lanes(limits.latitude)))};
  }
  OPRJ_INLINE static Certain certain(Lanes x, Lanes y, Odd odd) {
    const Mask notNumbers = (x != x) | (y != y);
    return {.notNumbers = notNumbers, .elsewhere = odd.lanes & ~notNumbers};
  }
};

static void copyPoints(const Limits &limits, const Oprj_Point *in, Oprj_Point *out, int32_t count,
                       PointRun &how) {
  runPoints<GeographicCopy>(limits, in, out, count, how);
}

extern const CopyKernel copyKernel;
const CopyKernel copyKernel = copyPoints;

}  // namespace OPRJ_SET
}  // namespace orvik::oprj

#if OPRJ_FLAT

namespace orvik::oprj {
OPRJ_KERNELS(CopyKernel, copyKernel)
}

namespace {

using orvik::oprj::PointFault;
using orvik::oprj::PointRun;
using orvik::toolkit::ErrorScope;

struct Geographic {
  struct Block {
    double a, e, es;
  };
  static constexpr orvik::oprj::Row row{.number = 0, .minimum = 0, .offsets = 0};
  static constexpr std::span<const orvik::oprj::ValueCheck> checks{};
  static bool derive(const orvik::oprj::Entries &, const orvik::oprj::Ellipsoid &s, Block &b) {
    b = {s.a, s.e, s.es};
    return true;
  }
};
static_assert(orvik::oprj::registeredNumber("oprj_GeographicInit") == Geographic::row.number);
constexpr orvik::oprj::Family kGeographic = orvik::oprj::familyOf<Geographic>(
    OPRJ_DOOR(oprj_GeographicInit), OPRJ_DOOR(oprj_GeographicFromLL),
    OPRJ_DOOR(oprj_GeographicToLL), OPRJ_DOOR(oprj_GeographicCopyParameters),
    OPRJ_DOOR(oprj_GeographicProParametersEqual));

/// Returns the number of points that are not numbers, or no places within the limits.
int32_t copyPoints(const Oprj_Point *in, Oprj_Point *out, PointFault *faults, int32_t count,
                   const orvik::oprj::Limits &limits = {}) {
  PointRun how{.goesOn = true, .faults = faults};
  orvik::oprj::copyKernelInUse()(limits, in, out, count, how);
  return how.bad;
}

/// Radians: a pole, and what rounding makes of it.
constexpr orvik::oprj::Limits kPlaces = {std::numeric_limits<double>::max(),
                                         1.5707963267948966 + 1e-10};

}  // namespace

namespace orvik::oprj {

int32_t oprj_GeographicFromLLEach(const double *, const Oprj_Point *geog, Oprj_Point *proj,
                                  PointFault *faults, int32_t count) {
  return copyPoints(geog, proj, faults, count);
}
int32_t oprj_GeographicToLLEach(const double *, const Oprj_Point *proj, Oprj_Point *geog,
                                PointFault *faults, int32_t count) {
  return copyPoints(proj, geog, faults, count);
}
int32_t placesEach(const double *, const Oprj_Point *in, Oprj_Point *out, PointFault *faults,
                   int32_t count) {
  return copyPoints(in, out, faults, count, kPlaces);
}

}  // namespace orvik::oprj

Oprj_MapProjection *oprj_GeographicInit(Oint_Toolkit *, const Oprj_ProParameters *record,
                                        Oerr_Report **err) {
  Oprj_MapProjection *object = orvik::oprj::familyInit(kGeographic, record, err);
  if (object) object->geographic = oprj_GeographicFromLL;
  return object;
}

void oprj_GeographicFromLL(const Oprj_Point *geog, const double *parameters, Oprj_Point *proj,
                           int32_t count, Oerr_Report **err) {
  ErrorScope e("oprj_GeographicFromLL", err);
  if (!parameters) return void(e.fail(1, "Invalid input parameters"));
  if (!geog) return void(e.fail(2, "Invalid input geog points"));
  if (!proj) return void(e.fail(3, "Invalid input projected points"));
  copyPoints(geog, proj, nullptr, count);
}

void oprj_GeographicToLL(const Oprj_Point *proj, const double *parameters, Oprj_Point *geog,
                         int32_t count, Oerr_Report **err) {
  ErrorScope e("oprj_GeographicToLL", err);
  if (!parameters) return void(e.fail(1, "Invalid input parameters"));
  if (!proj) return void(e.fail(2, "Invalid input projected points"));
  if (!geog) return void(e.fail(3, "Invalid input geog points"));
  copyPoints(proj, geog, nullptr, count);
}

double *oprj_GeographicCopyParameters(const double *parameters, double *old, Oerr_Report **err) {
  return orvik::oprj::copyBlock(kGeographic, parameters, old, err);
}

/// The names and the whole arrays count, exactly; a missing element is 0.
int32_t oprj_GeographicProParametersEqual(const Oprj_ProParameters *first,
                                          const Oprj_ProParameters *second, Oerr_Report **err) {
  ErrorScope e("oprj_GeographicProParametersEqual", err);
  if (!first || !second) return e.fail(1, "Invalid input parmArray");
  if (first->proType != OPRJ_INTERNAL || second->proType != OPRJ_INTERNAL ||
      first->proNumber != 0 || second->proNumber != 0)
    return 0;
  if (!oprj_CharStrsEqual(&first->proName, &second->proName, nullptr)) return 0;
  const orvik::oprj::Entries left{orvik::oprj::entriesOf(*first)},
      right{orvik::oprj::entriesOf(*second)};
  const int32_t longer =
      std::max(orvik::oprj::entryCount(*first), orvik::oprj::entryCount(*second));
  for (int32_t i = 0; i < longer; ++i) {
    if (!(left[i] == right[i])) return 0;
  }
  const int32_t equal = oprj_SpheroidsEqual(first->proSpheroid, second->proSpheroid, e.cause());
  if (e.calleeFailed()) return e.fail(3, "Error returned from oprj_SpheroidsEqual");
  return equal;
}

#endif
