// The flat operations of all families (descriptor.h).
#include <oprj/families.h>
#include <oprj/omsc.h>
#include <oprj/parameters.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "projections/descriptor.h"
#include "records/records.h"
#include "toolkit/error_scope.h"

namespace orvik::oprj {
namespace {

using toolkit::ErrorScope;

/// Radius used when no spheroid was ever filled in: the sphere of nominal radius, metres.
constexpr double kNominalRadius = 6370997.0;

bool usable(const double *block, int32_t length) {
  for (int32_t i = 0; i < length; ++i) {
    if (!std::isfinite(block[i])) return false;
  }
  return block[0] >= 0.0;  // the semi-major axis
}

/// Whether a map can have these entries: angles that still tell places apart, and offsets whose
/// last bit is below 0.6 mm on the ground at the sheet's scale.
bool bearable(const Row &row, const Entries &values, double a) {
  const double unit = a * (row.scale < 0 ? 1.0 : std::fabs(values[row.scale]));
  const double farthestOffset = kClose / std::numeric_limits<double>::epsilon() * unit;
  for (int32_t i = 0; i < 32; ++i) {
    const double magnitude = std::fabs(values[i]);
    if ((row.angles >> i & 1u) && !(magnitude <= kFarthestAngle)) return false;
    if ((row.offsets >> i & 1u) && !(magnitude <= farthestOffset)) return false;
  }
  return true;
}

struct BlockFree {
  void operator()(double *block) const { omsc_HeapFree(block); }
};
using OwnedBlock = std::unique_ptr<double, BlockFree>;

}  // namespace

constexpr int32_t kCommonStopCode = 20;
const StopText kCannotProject{kCommonStopCode, "Point cannot be projected, point # %ld:  %lf, %lf"};
const StopText kInputData{kCommonStopCode, "Input data error, point # %ld:  %lf, %lf"};

Ellipsoid ellipsoidOf(const Oprj_Spheroid *spheroid) {
  if (!spheroid || spheroid->a == 0.0) return {kNominalRadius, 0.0, 0.0};
  double es = std::isinf(spheroid->eSquared) ? std::nan("") : spheroid->eSquared;
  if (es > 1.0) {
    const double ratio = es / spheroid->a;
    es = 1.0 - ratio * ratio;
  }
  if (!(es > 0.0) && !std::isnan(es)) es = 0.0;
  return {spheroid->a, std::sqrt(es), es};
}

Oprj_MapProjection *familyInit(const Family &family, const Oprj_ProParameters *record,
                               Oerr_Report **err) {
  ErrorScope e(family.init.name, err);
  if (!record) return e.fail(1, "Invalid projection parameters");
  if (entryCount(*record) < family.row.minimum)
    return e.fail(2, "Insufficient projection parameters");
  const Entries values{entriesOf(*record)};
  const Ellipsoid ellipsoid = ellipsoidOf(record->proSpheroid);
  int32_t code = 2;  // value checks count from behind it, whichever of them fails
  for (const ValueCheck &check : family.checks) {
    if (!check.sharesCode) ++code;
    if (check.fails(values, ellipsoid)) return e.fail(code, "%s", check.text);
  }
  ++code;

  OwnedBlock block(oprj_ParametersCreate(family.blockLength, e.cause()));
  if (!block) return e.fail(code, "%s", family.row.noBlock);
  toolkit::Owner<Oprj_ProParameters, oprj_ProParametersFree> copy(
      oprj_ProParametersCopy(record, nullptr, e.cause()));
  if (!copy) return e.fail(code + 1, "%s", family.row.noCopy);
  Oprj_MapProjection *object = oprj_ProjectionCreate(e.cause());
  if (!object) return e.fail(code + 2, "Error returned from oprj_ProjectionCreate");
  const bool derived = ellipsoid.es < 1.0 && bearable(family.row, values, ellipsoid.a) &&
                       family.derive(values, ellipsoid, block.get());
  if (!derived || !usable(block.get(), family.blockLength)) {
    omsc_HeapFree(object);
    return e.fail(code + 3, "%s", family.row.unusable);
  }
  object->proParameters = copy.release();
  object->parameters = block.release();
  object->toLL = family.toLL.function;
  object->fromLL = family.fromLL.function;
  object->toLL3D = family.row.toLL3D;
  object->fromLL3D = family.row.fromLL3D;
  object->copyParameters = family.copy.function;
  object->proParametersEqual = family.equal.function;
  return object;
}

void reportStop(toolkit::ErrorScope &e, const PointRun &how, const Oprj_Point *in) {
  const Oprj_Point &p = in[how.index];
  const long index = how.index;
  const StopText &why = *how.why;
  if (why.solver) {
    *e.cause() = oerr_CreateErrorReport(why.solver, 1, OERR_SEVERITY_ERROR, nullptr,
                                        "Latitude failed to converge after %ld iterations",
                                        static_cast<long>(why.iterations));
  }
  if (std::strchr(why.text, '%')) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    e.failAtPoint(index, p.x, p.y, why.code, why.text, index, p.x, p.y);
#pragma GCC diagnostic pop
  } else {
    e.failAtPoint(index, p.x, p.y, why.code, "%s", why.text);
  }
}

double *copyBlock(const Family &family, const double *block, double *old, Oerr_Report **err) {
  ErrorScope e(family.copy.name, err);
  if (!block) {
    omsc_HeapFree(old);
    return e.fail(1, "Invalid input parameters");
  }
  double *copy = oprj_ParametersCreate(family.blockLength, e.cause());
  if (copy) std::memcpy(copy, block, static_cast<size_t>(family.blockLength) * sizeof(double));
  omsc_HeapFree(old);  // behind the copying, so that `old` may be `block`
  if (!copy) return e.fail(2, "Error returned from oprj_ParametersCreate");
  return copy;
}

int32_t recordsEqual(const char *operation, const Row &row, const Oprj_ProParameters *first,
                     const Oprj_ProParameters *second, Oerr_Report **err) {
  ErrorScope e(operation, err);
  if (!first || !second) return e.fail(1, "Invalid input parmArray");
  const int32_t number = row.comparedNumber >= 0 ? row.comparedNumber : row.number;
  if (first->proType != OPRJ_INTERNAL || second->proType != OPRJ_INTERNAL ||
      first->proNumber != number || second->proNumber != number)
    return 0;
  if (entryCount(*first) <
          (row.comparedMinimumFirst >= 0 ? row.comparedMinimumFirst : row.minimum) ||
      entryCount(*second) <
          (row.comparedMinimumSecond >= 0 ? row.comparedMinimumSecond : row.minimum))
    return e.fail(2, "%s", row.tooFewCompared);
  const Entries left{entriesOf(*first)}, right{entriesOf(*second)};
  for (int32_t i = 0; i < 32; ++i) {
    if ((row.compared >> i & 1u) && !(left[i] == right[i])) return 0;
  }
  const int32_t equal = oprj_SpheroidsEqual(first->proSpheroid, second->proSpheroid, e.cause());
  if (e.calleeFailed()) return e.fail(3, "Error returned from oprj_SpheroidsEqual");
  return equal;
}

}  // namespace orvik::oprj

double *oprj_ParametersCreate(int32_t count, Oerr_Report **err) {
  orvik::toolkit::ErrorScope e("oprj_ParametersCreate", err);
  auto *block = static_cast<double *>(
      omsc_HeapCalloc(static_cast<size_t>(count > 0 ? count : 0), sizeof(double)));
  if (!block) return e.fail(1, "Error allocating Parameters");
  return block;
}
