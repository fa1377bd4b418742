// Projection objects by number (registry.h). What a family compares and how many entries it needs
// stands in its own source.
#include "projections/registry.h"

#include <oprj/external_projections.h>
#include <oprj/tables.h>

#include <iterator>

#include "projections/descriptor.h"
#include "records/text.h"
#include "toolkit/error_scope.h"

namespace orvik::oprj {
namespace {

/// A row a number, each in its place.
constexpr bool isComplete() {
  for (size_t i = 0; i < std::size(kRegistry); ++i) {
    if (kRegistry[i].number != static_cast<int32_t>(i)) return false;
  }
  return std::size(kRegistry) == 70;
}
static_assert(isComplete());

/// The row of a number; null: there is no such projection.
const RegistryRow *rowOf(int32_t number) {
  if (number < 0 || static_cast<size_t>(number) >= std::size(kRegistry)) return nullptr;
  return &kRegistry[number];
}

bool holdsText(const Oprj_CharStr &text) { return text.count > 0 && !isBlank(text); }

}  // namespace

EachFunction eachOf(Oprj_PointFunction function) {
  for (const RegistryRow &row : kRegistry) {
    for (const PointLoop &loop : {row.forward, row.inverse}) {
      if (loop.function && loop.function == function) return loop.each;
    }
  }
  return nullptr;
}

}  // namespace orvik::oprj

Oprj_MapProjection *oprj_ProjectionPre842Init(Oint_Toolkit *toolkit,
                                              const Oprj_ProParameters *record, Oerr_Report **err) {
  using namespace orvik::oprj;
  orvik::toolkit::ErrorScope e("oprj_ProjectionPre842Init", err);
  if (!record) return e.fail(1, "Invalid projection parameters");
  if (!toolkit) {
    toolkit = oint_InitToolkit(e.cause());
    if (!toolkit) return e.fail(2, "InternalInit failed; Failed to initialize oprj package.");
  }
  if (!oprj_InitDataGet(toolkit, e.cause()))
    return e.fail(2, "InternalInit failed; Failed to initialize oprj package.");
  if (record->proType == OPRJ_EXTERNAL) {
    Oprj_MapProjection *object = oprj_ExternalInit(toolkit, record, e.cause());
    if (!object) return e.fail(3, "Error returned from external projection initialization");
    return object;
  }
  if (record->proType != OPRJ_INTERNAL) return e.fail(4, "Invalid projection type");
  if (holdsText(record->proExeName)) {
    Oerr_Report *note =
        oerr_CreateErrorReport("oprj_ProjectionPre842Init", 5, OERR_SEVERITY_WARNING, nullptr,
                               "proExeName.data will be ignored");
    oerr_PrintErrorReport(note);
    oerr_DeleteErrorReport(&note);
  }
  const RegistryRow *row = rowOf(record->proNumber);
  if (!row) return e.fail(6, "Invalid projection number");
  Oprj_MapProjection *object = row->init(toolkit, record, e.cause());
  if (!object) return e.fail(7, "Error returned from projection initialization");
  return object;
}

Oprj_MapProjection *oprj_PEAdditionalInit(Oint_Toolkit *toolkit, const Oprj_ProParameters *record,
                                          Oerr_Report **err) {
  using namespace orvik::oprj;
  orvik::toolkit::ErrorScope e("oprj_PEAdditionalInit", err);
  const RegistryRow *row = record ? rowOf(record->proNumber) : nullptr;
  if (!row || !row->engine) return e.fail(1, "Invalid projection parameters");
  return row->init(toolkit, record, err);
}

double oprj_EllipsoidDistanceGet(const Oprj_ProParameters *record, Oerr_Report **err) {
  using namespace orvik::oprj;
  orvik::toolkit::ErrorScope e("oprj_EllipsoidDistanceGet", err);
  if (!record) return e.fail(1, "Invalid projection parameters");
  if (record->proType != OPRJ_INTERNAL) return 0.0;
  const RegistryRow *row = rowOf(record->proNumber);
  if (!row) return 0.0;
  const Ellipsoid ellipsoid = ellipsoidOf(record->proSpheroid);
  return row->fromEllipsoid * ellipsoid.a * ellipsoid.es;
}
