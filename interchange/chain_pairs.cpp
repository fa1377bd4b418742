// The pairs between two systems, which may be of two function sets.
#include <oprj/chain.h>
#include <oprj/engine_points.h>
#include <oprj/tables.h>

#include <array>
#include <memory>
#include <utility>

#include "interchange/text_slots.h"
#include "pipeline/function_sets.h"
#include "records/records.h"

namespace orvik::oprj {
namespace {

enum Code { kArgs = 1, kInit, kNoFormula, kMemory };

using OwnedPair = Owner<Oprj_ProjectionPair, oprj_ProjectionPairFree>;
/// A part of the engine until an object that is made of it takes it.
template <auto Delete>
struct DeletePart {
  void operator()(Oawp_PE_Object *part) const { Delete(part); }
};
template <auto Delete>
using OwnedPart = std::unique_ptr<Oawp_PE_Object, DeletePart<Delete>>;

bool isEngine(const OwnedHandle &handle) { return sameTitle(handle->title, OPRJ_TITLE_PE); }

/// A handle that can be computed with; null with a report.
OwnedHandle handleOf(Oint_Toolkit *toolkit, const Oprj_ProParameters *record, ErrorScope &e) {
  Oprj_MapProjectionEx *made = nullptr;
  if (!oprj_ProjectionInit(toolkit, record, &made, e.cause()))
    return e.fail(kInit, "Error returned from oprj_ProjectionInit"), nullptr;
  OwnedHandle handle(made);
  if (const auto *engine = static_cast<const Oawp_PE_PROJCS *>(
          oprj_MapProjectionPCSRGet(made, OPRJ_TITLE_PE, nullptr))) {
    oawp_PE_pe_geog_to_proj(engine, 0, nullptr);
    oawp_PE_ReportTake(e.cause());
    if (e.calleeFailed()) return e.fail(kNoFormula, "Error returned from pe_geog_to_proj"), nullptr;
  }
  return handle;
}

/// Longitudes and latitudes on an engine system's datum, as one of its systems. Throws
/// std::bad_alloc.
OwnedHandle engineGlobe(const OwnedHandle &system) {
  const auto *geogcs = static_cast<const Oawp_PE_GEOGCS *>(
      oprj_MapProjectionGCSRGet(system.get(), OPRJ_TITLE_PE, nullptr));
  OwnedPart<oawp_PE_pe_datum_del> datum(oawp_PE_pe_datum_clone(oawp_PE_pe_geogcs_datum(geogcs)));
  OwnedPart<oawp_PE_pe_primem_del> meridian(oawp_PE_pe_primem_new("Greenwich", 0));
  OwnedPart<oawp_PE_pe_unit_del> unit(oawp_PE_pe_unit_new("Degree", kRadiansPerDegree));
  OwnedPart<oawp_PE_pe_coordsys_del> globe(
      oawp_PE_pe_geogcs_new("Geographic", datum.get(), meridian.get(), unit.get()));
  if (!globe) throw std::bad_alloc();
  datum.release();
  meridian.release();
  unit.release();
  OwnedHandle handle(oprj_ProjectionInitInternal(OPRJ_TITLE_PE, globe.get(), nullptr));
  if (!handle) throw std::bad_alloc();
  globe.release();
  return handle;
}

/// The same as one of the library's.
OwnedHandle nativeGlobe(Oint_Toolkit *toolkit, const Oprj_ProParameters &system) {
  const OwnedParameters record(
      oprj_ProParametersCreateByName(toolkit, Flat("Geographic"), nullptr));
  Oprj_MapProjectionEx *made = nullptr;
  if (record && oprj_SpheroidCopy(system.proSpheroid, record->proSpheroid, nullptr))
    oprj_ProjectionInit(toolkit, record.get(), &made, nullptr);
  if (!made) throw std::bad_alloc();
  return OwnedHandle(made);
}

/// Engine systems on one datum: between others the engine has no shift.
bool shareDatum(const OwnedHandle &first, const OwnedHandle &second) {
  Oerr_Report *problem = nullptr;
  first->functions->gcsTransform(oprj_MapProjectionGCSRGet(first.get(), OPRJ_TITLE_PE, nullptr),
                                 oprj_MapProjectionGCSRGet(second.get(), OPRJ_TITLE_PE, nullptr), 0,
                                 nullptr, &problem);
  const bool shared = !problem;
  oerr_DeleteErrorReport(&problem);
  return shared;
}

/// Pairs in the order of the way.
class Pairs {
 public:
  void add(OwnedHandle in, OwnedHandle out) {
    OwnedPair pair(oprj_ProjectionPairCreate(nullptr));
    if (!pair) throw std::bad_alloc();
    pair->in = in.release();
    pair->out = out.release();
    pairs_[count_++] = std::move(pair);
  }
  /// Unless both are the same system.
  void addStep(OwnedHandle in, OwnedHandle out) {
    if (!oprj_MapProjectionEqual(in.get(), out.get(), nullptr)) add(std::move(in), std::move(out));
  }
  bool empty() const { return count_ == 0; }
  int32_t release(Oprj_ProjectionPair **to) {
    for (size_t i = 0; i < count_; ++i) to[i] = pairs_[i].release();
    return static_cast<int32_t>(count_);
  }

 private:
  std::array<OwnedPair, OPRJ_MOST_PAIRS> pairs_;
  size_t count_ = 0;
};

}  // namespace
}  // namespace orvik::oprj

using namespace orvik::oprj;

int32_t oprj_ProjectionPairsBetween(Oint_Toolkit *toolkit, const Oprj_ProParameters *from,
                                    const Oprj_ProParameters *to, Oprj_ProjectionPair **pairs,
                                    Oerr_Report **err) {
  ErrorScope e("oprj_ProjectionPairsBetween", err);
  if (!from || !to || !pairs) return e.fail(kArgs, "Args");
  return orvik::toolkit::guarded(e, kMemory, [&]() -> int32_t {
    OwnedHandle in = handleOf(toolkit, from, e);
    if (!in) return 0;
    OwnedHandle out = handleOf(toolkit, to, e);
    if (!out) return 0;
    Pairs made;
    const bool engineIn = isEngine(in), engineOut = isEngine(out);
    if (engineIn == engineOut && (!engineIn || shareDatum(in, out))) {
      made.add(std::move(in), std::move(out));
      return made.release(pairs);
    }
    if (engineIn) {
      OwnedHandle globe = engineGlobe(in);
      made.addStep(std::exchange(in, nativeGlobe(toolkit, *from)), std::move(globe));
    }
    OwnedHandle globe = engineOut ? engineGlobe(out) : nullptr;
    OwnedHandle last = engineOut ? std::exchange(out, nativeGlobe(toolkit, *to)) : nullptr;
    made.addStep(std::move(in), std::move(out));
    if (last) made.addStep(std::move(globe), std::move(last));
    if (made.empty()) made.add(nativeGlobe(toolkit, *from), nativeGlobe(toolkit, *to));
    return made.release(pairs);
  });
}
