#include "shift.h"

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

OwnedPair makePair(Oint_Toolkit *toolkit, const System &from, const System &to,
                   const Console &console) {
  Slot err;
  OwnedPair pair(oprj_ProjectionPairCreate(err.get()));
  if (!pair) throw Stop(kUnusable, err.text());
  pair->in = requireProjection(toolkit, from, console).release();
  pair->out = requireProjection(toolkit, to, console).release();
  if (std::string_view(pair->in->title) == pair->out->title) return pair;
  // A pair has one function set: the engine takes the other system too.
  const System &native = pair->in->title == std::string_view(OPRJ_TITLE_NATIVE) ? from : to;
  for (Oprj_MapProjectionEx *handle : {pair->in, pair->out}) {
    if (oprj_MapProjectionConvert(handle, OPRJ_TITLE_PE, err.get())) continue;
    throw Stop(kUnusable,
               native.title + " beside a system of the Projection Engine: " + err.rootMessage());
  }
  return pair;
}

namespace {

std::vector<std::string> textsOf(Oprj_Note *list) {
  const OwnedNotes notes(list);
  std::vector<std::string> texts;
  for (const Oprj_Note *note = list; note; note = note->next) texts.emplace_back(note->text);
  return texts;
}

}  // namespace

std::vector<std::string> cautionsOf(Oint_Toolkit *toolkit, const Oprj_ProjectionPair &pair) {
  Slot err;
  Oprj_Note *notes = nullptr;
  if (!oprj_ProjectionPairCautions(toolkit, &pair, &notes, err.get()))
    throw Stop(kUnusable, err.text());
  return textsOf(notes);
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

void requireShift(const Oprj_ProjectionPair &pair, const System &from, const System &to) {
  Slot err;
  const char *title = pair.in->title;
  if (std::string_view(title) == OPRJ_TITLE_NATIVE) return;  // the systems have told
  const void *source = oprj_MapProjectionGCSRGet(pair.in, title, err.get()),
             *target = oprj_MapProjectionGCSRGet(pair.out, title, err.get());
  pair.in->functions->gcsTransform(source, target, 0, nullptr, err.get());
  if (!err) return;
  throw Stop(kUnusable, std::string("points cannot be shifted from \"") + from.datumName() +
                            "\" to \"" + to.datumName() +
                            "\" where the Projection Engine computes a system: project by way of "
                            "geographic coordinates on the datum of that system");
}

}  // namespace program
