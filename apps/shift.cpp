#include "shift.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace program {

bool undefinedDatum(const System &system) {
  return system.spheroid().datum->type == OPRJ_DATUM_NONE;
}

bool sameDatum(const System &from, const System &to) {
  Slot err;
  return oprj_CharStrsEqual(&from.spheroid().datum->datumname, &to.spheroid().datum->datumname,
                            err.get()) != 0;
}

bool shiftsBetween(const System &from, const System &to) {
  return !undefinedDatum(from) && !undefinedDatum(to) && !sameDatum(from, to);
}

namespace {

bool isEngine(const OwnedHandle &handle) {
  return std::string_view(handle->title) == OPRJ_TITLE_PE;
}

OwnedPair pairOf(OwnedHandle in, OwnedHandle out) {
  Slot err;
  OwnedPair pair(oprj_ProjectionPairCreate(err.get()));
  if (!in || !out || !pair) throw Stop(kUnusable, "out of memory");
  pair->in = in.release();
  pair->out = out.release();
  return pair;
}

/// Longitudes and latitudes on an engine system's datum, as one of its systems.
OwnedHandle engineGlobe(const OwnedHandle &system) {
  Slot err;
  const auto *geogcs = static_cast<const Oawp_PE_GEOGCS *>(
      oprj_MapProjectionGCSRGet(system.get(), OPRJ_TITLE_PE, err.get()));
  OwnedEngineSystem globe(oawp_PE_pe_geogcs_new(
      "Geographic", oawp_PE_pe_datum_clone(oawp_PE_pe_geogcs_datum(geogcs)),
      oawp_PE_pe_primem_new("Greenwich", 0), oawp_PE_pe_unit_new("Degree", kDegree)));
  OwnedHandle handle(globe ? oprj_ProjectionInitInternal(OPRJ_TITLE_PE, globe.get(), err.get())
                           : nullptr);
  if (handle) globe.release();
  return handle;
}

/// The same as one of the library's.
OwnedHandle nativeGlobe(Oint_Toolkit *toolkit, const System &system) {
  Slot err;
  const OwnedRecord record(oprj_ProParametersCreateByName(toolkit, "Geographic", err.get()));
  Oprj_MapProjectionEx *made = nullptr;
  if (record && oprj_SpheroidCopy(&system.spheroid(), record->proSpheroid, err.get()))
    oprj_ProjectionInit(toolkit, record.get(), &made, err.get());
  return OwnedHandle(made);
}

/// Engine systems on one datum: between others the engine has no shift.
bool shareDatum(const OwnedHandle &first, const OwnedHandle &second) {
  Slot err;
  const void *from = oprj_MapProjectionGCSRGet(first.get(), OPRJ_TITLE_PE, err.get()),
             *to = oprj_MapProjectionGCSRGet(second.get(), OPRJ_TITLE_PE, err.get());
  first->functions->gcsTransform(from, to, 0, nullptr, err.get());
  return !err;
}

}  // namespace

std::vector<OwnedPair> makePairs(Oint_Toolkit *toolkit, const System &from, const System &to,
                                 const Console &console) {
  std::vector<OwnedPair> pairs;
  OwnedHandle in = requireProjection(toolkit, from, console),
              out = requireProjection(toolkit, to, console);
  const bool engineIn = isEngine(in), engineOut = isEngine(out);
  if (engineIn == engineOut && (!engineIn || shareDatum(in, out))) {
    pairs.push_back(pairOf(std::move(in), std::move(out)));
    return pairs;
  }
  const auto add = [&pairs](OwnedHandle first, OwnedHandle second) {
    OwnedPair pair = pairOf(std::move(first), std::move(second));
    Slot err;
    if (!oprj_MapProjectionEqual(pair->in, pair->out, err.get())) pairs.push_back(std::move(pair));
  };
  if (engineIn) {
    OwnedHandle globe = engineGlobe(in);
    add(std::exchange(in, nativeGlobe(toolkit, from)), std::move(globe));
  }
  OwnedHandle globe = engineOut ? engineGlobe(out) : nullptr;
  OwnedHandle last = engineOut ? std::exchange(out, nativeGlobe(toolkit, to)) : nullptr;
  add(std::move(in), std::move(out));
  if (last) add(std::move(globe), std::move(last));
  return pairs;
}

namespace {

std::vector<std::string> textsOf(Oprj_Note *list) {
  const OwnedNotes notes(list);
  std::vector<std::string> texts;
  for (const Oprj_Note *note = list; note; note = note->next) texts.emplace_back(note->text);
  return texts;
}

}  // namespace

std::vector<std::string> cautionsOf(Oint_Toolkit *toolkit, const std::vector<OwnedPair> &pairs) {
  std::vector<std::string> all;
  for (const OwnedPair &pair : pairs) {
    Slot err;
    Oprj_Note *notes = nullptr;
    if (!oprj_ProjectionPairCautions(toolkit, pair.get(), &notes, err.get()))
      throw Stop(kUnusable, err.text());
    std::ranges::move(textsOf(notes), std::back_inserter(all));
  }
  return all;
}

std::vector<std::string> cautionsOf(Oint_Toolkit *toolkit, const System &system) {
  Slot err;
  Oprj_Note *notes = nullptr;
  if (!oprj_ProParametersCautions(toolkit, system.record.get(), &notes, err.get()))
    throw Stop(kUnusable, err.text());
  return textsOf(notes);
}

void requireShift(const System &from, const System &to) {
  if (!shiftsBetween(from, to)) return;
  const std::string between =
      std::string("the shift between \"") + from.datumName() + "\" and \"" + to.datumName() + "\" ";
  for (const System *system : {&from, &to}) {
    if (!system->gridTrouble.empty())
      throw Stop(kUnusable, between + "needs the grid of \"" + system->datumName() +
                                "\": " + system->gridTrouble);
  }
  // A failure that names no point is one of the shift itself.
  const Oprj_Point anywhere = {0, 0};
  Oprj_Point shifted;
  Slot err;
  oprj_DatumShift(&anywhere, &from.spheroid(), &shifted, &to.spheroid(), 1, err.get());
  int64_t index;
  if (err && !oerr_PointGet(err.report(), &index, nullptr, nullptr))
    throw Stop(kUnusable, between + "cannot be made: " + err.rootMessage());
}

}  // namespace program
