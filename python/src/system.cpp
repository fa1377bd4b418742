#include "system.h"

namespace oprj_python {

namespace {

void deleteObject(Oawp_PE_COORDSYS **object) { oawp_PE_pe_coordsys_del(*object); }
using OwnedObject = Owned<Oawp_PE_COORDSYS, deleteObject>;

/// The engine's text of an object, which is freed.
std::string engineText(Oawp_PE_COORDSYS *object) {
  const OwnedObject owner(object);
  const OwnedText text(oawp_PE_pe_coordsys_to_string(object, nullptr, 0));
  Slot err;
  oawp_PE_ReportTake(err.get());
  if (!text) throw err.failure(Trouble::kSystem);
  return text.get();
}

std::string textOf(const Oprj_CharStr &text) { return text.data ? text.data : ""; }

}  // namespace

std::vector<Report> chainOf(const Oerr_Report *report) {
  std::vector<Report> chain;
  for (; report; report = oerr_CauseGet(report))
    chain.push_back({oerr_FunctionGet(report), oerr_CodeGet(report), oerr_SeverityGet(report),
                     oerr_MessageGet(report)});
  return chain;
}

Failure::Failure(Trouble kind, const Oerr_Report *report)
    : trouble(kind), reports(chainOf(report)) {
  if (reports.empty()) reports.push_back({"oprj", 0, OERR_SEVERITY_ERROR, "Unknown failure"});
  for (int32_t i = 0; const char *text = oerr_SuggestionGet(report, i); ++i)
    suggestions.emplace_back(text);
}

Failure::Failure(Trouble kind, std::string message) : trouble(kind) {
  reports.push_back({"oprj", 0, OERR_SEVERITY_ERROR, std::move(message)});
}

Oint_Toolkit *toolkit() {
  Slot err;
  Oint_Toolkit *const record = oint_InitToolkit(err.get());
  const Oprj_InitData *data = oprj_InitDataGet(record, err.get());
  if (!data) throw err.failure();
  if (!data->queryTable)
    throw Failure(
        Trouble::kError,
        "there is no projection dictionary (mapprojections.dat): set "
        "ORVIK_PROJECTIONS_PATH to the folder of the reference data, before the first use");
  if (!data->spheroidTable)
    throw Failure(Trouble::kError,
                  "there is no table of spheroids (spheroid*.tab): set ORVIK_DATUMS_PATH to the "
                  "folder of the reference data, before the first use");
  return record;
}

System::System(const std::string &written) {
  Slot err;
  if (written.find('\0') != std::string::npos)
    throw Failure(Trouble::kSystem, "the text of the coordinate system holds a zero character");
  system_.reset(oprj_SystemRead(toolkit(), written.c_str(), err.get()));
  if (!system_) throw err.failure(Trouble::kSystem);
}

std::string System::name() const {
  Slot err;
  const OwnedText title(oprj_ProParametersTitle(toolkit(), &record(), err.get()));
  if (!title) throw err.failure(Trouble::kSystem);
  return title.get();
}

std::string System::datum() const { return textOf(record().proSpheroid->datum->datumname); }

std::string System::spheroid() const { return textOf(record().proSpheroid->sphereName); }

std::string System::grid() const {
  const Oprj_Datum &datum = *record().proSpheroid->datum;
  return datum.type == OPRJ_DATUM_GRID ? textOf(datum.gridname) : "";
}

std::string System::toWkt() const {
  // One of the engine's own keeps its names.
  if (Oawp_PE_COORDSYS *own = oawp_PE_pe_coordsys_from_string(system_->description))
    return engineText(own);
  Slot err;
  Oawp_PE_COORDSYS *made =
      oprj_ProParametersToCOORDSYS(&record(), system_->unit->name, nullptr, err.get());
  if (!made) throw err.failure(Trouble::kSystem);
  return engineText(made);
}

std::string System::toText() const {
  Slot err;
  const OwnedText text(oprj_ProParametersToText(toolkit(), &record(), system_->unit, err.get()));
  if (!text) throw err.failure(Trouble::kSystem);
  return text.get();
}

std::vector<std::pair<int32_t, std::string>> System::notes() const {
  std::vector<std::pair<int32_t, std::string>> notes;
  for (const Oprj_Note *note = system_->notes; note; note = note->next)
    notes.emplace_back(note->kind, note->text);
  return notes;
}

std::vector<std::string> textsOf(Oprj_Note *list) {
  const Owned<Oprj_Note, oprj_NotesFree> notes(list);
  std::vector<std::string> texts;
  for (const Oprj_Note *note = list; note; note = note->next) texts.emplace_back(note->text);
  return texts;
}

bool System::lacksGrid() const {
  const Oprj_Note *note = system_->notes;
  while (note && note->kind != OPRJ_NOTE_GRID) note = note->next;
  return note;
}

bool System::equals(const System &other) const {
  constexpr int32_t kUndefinedDiffers = 0;  // an undefined datum equals no other
  return system_->unit->factor == other.system_->unit->factor &&
         isGeographic() == other.isGeographic() &&
         oprj_ProParametersEqual2(&record(), &other.record(), kUndefinedDiffers, Slot().get());
}

}  // namespace oprj_python
