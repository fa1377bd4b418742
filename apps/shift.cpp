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

std::vector<OwnedPair> makePairs(Oint_Toolkit *toolkit, const System &from, const System &to,
                                 const Console &console) {
  for (const System *system : {&from, &to}) requireProjection(toolkit, *system, console);
  Slot err;
  Oprj_ProjectionPair *made[OPRJ_MOST_PAIRS];
  const int32_t count =
      oprj_ProjectionPairsBetween(toolkit, from.record.get(), to.record.get(), made, err.get());
  if (err) throw Stop(kUnusable, err.text());
  std::vector<OwnedPair> pairs;
  for (int32_t i = 0; i < count; ++i) pairs.emplace_back(made[i]);
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
