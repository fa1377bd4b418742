// Coordinate systems in whatever way a person names them: which way it is.
#include <oprj/engine.h>
#include <oprj/nodes.h>
#include <oprj/ofio.h>
#include <oprj/ostr.h>
#include <oprj/system.h>
#include <oprj/translation.h>

#include <cstring>

#include "interchange/projection_library_content.h"
#include "interchange/text_refusal.h"
#include "pipeline/function_sets.h"
#include "records/records.h"

namespace orvik::oprj {
namespace {

enum Code { kNoText = 3, kNoFile = 6, kMemory = 7 };

constexpr std::string_view kLayerMark = "::";
constexpr std::string_view kLibraryMark = "@";
constexpr std::string_view kPrjEnding = ".prj";

struct FreeSystem {
  void operator()(Oprj_System *system) const { oprj_SystemFree(&system); }
};
using OwnedSystem = std::unique_ptr<Oprj_System, FreeSystem>;

void deleteObject(Oawp_PE_COORDSYS **object) { oawp_PE_pe_coordsys_del(*object); }
using OwnedObject = toolkit::Owner<Oawp_PE_COORDSYS, deleteObject>;

/// The engine's system of a text; null for other texts.
OwnedObject engineSystem(const char *text) {
  OwnedObject object(oawp_PE_pe_coordsys_from_string(text));
  Oerr_Report *ignored = nullptr;
  oawp_PE_ReportTake(&ignored);
  oerr_DeleteErrorReport(&ignored);
  return object;
}

const char *rootMessage(const ErrorScope &e) {
  return oerr_MessageGet(oerr_RootCauseGet(e.causeReport()));
}

/// The text of a file that is not empty; null with a report.
InnerText fileText(const std::string &path, ErrorScope &e) {
  size_t size = 0;
  InnerText text(ofio_FileRead(path.c_str(), &size, e.cause()));
  const auto refuse = [](Failed) { return InnerText(); };
  if (!text) return refuse(e.fail(kNoFile, "%s", rootMessage(e)));
  e.cause();
  if (std::strlen(text.get()) != size)
    return refuse(e.fail(kNoFile, "%s is no text", path.c_str()));
  if (trimmed(text.get()).empty()) return refuse(e.fail(kNoFile, "%s is empty", path.c_str()));
  return text;
}

bool endsInPrj(std::string_view text) { return lower(text).ends_with(kPrjEnding); }

/// Names with a semicolon or a bracket are descriptions by themselves; what is none of them may be
/// a code, or a name of one, unless the dictionary has it.
bool mayBeCode(Oint_Toolkit *toolkit, const std::string &text) {
  if (text.find_first_of(";[") != std::string::npos) return false;
  return text.find(':') != std::string::npos || !oprj_QueryFromText(toolkit, Flat(text), nullptr);
}

/// The description behind what was written; null with a report in `slot`, which is that of `e`.
Oprj_Char *descriptionBehind(Oint_Toolkit *toolkit, const std::string &written, ErrorScope &e,
                             Oerr_Report **slot) {
  if (endsInPrj(written)) {
    const InnerText content = fileText(written, e);
    OwnedText text = content ? newText(content.get()) : OwnedText();
    if (content && !text) throw std::bad_alloc();
    return text.release();
  }
  if (mayBeCode(toolkit, written)) {
    if (const Oprj_Code *code = oprj_CodeFromText(Flat(written), slot))
      return oprj_CodeToPEString(code, slot);
    if (*slot) return nullptr;
  }
  OwnedText text = newText(written);
  if (!text) throw std::bad_alloc();
  return text.release();
}

/// The unit of points in a layer; null when its map info names none that suits the system.
const Ocvt_Unit *unitOfLayer(Ohfa_File *file, const std::string &layer, bool geographic,
                             Notes &notes) {
  Oerr_Report *problem = nullptr;
  const toolkit::Owner<Oprj_MapInfo, oprj_MapInfoFree> info(
      oprj_MapInfoReadIfPresent(file, Flat(layer), &problem));
  if (problem)
    notes.add(OPRJ_NOTE_MAP_INFO, "the map info of " + inQuotes(layer) + " cannot be read: " +
                                      oerr_MessageGet(oerr_RootCauseGet(problem)));
  oerr_DeleteErrorReport(&problem);
  const std::string name = info ? textOf(info->units).str() : "";
  if (name.empty() || name == "other") return nullptr;
  const Ocvt_Unit *unit = ocvt_UnitSetByName(name.c_str(), nullptr);
  if (unit && unit->kind == (geographic ? OCVT_KIND_ANGLE : OCVT_KIND_DISTANCE)) return unit;
  notes.add(OPRJ_NOTE_MAP_INFO,
            "points are not taken in " + inQuotes(name) +
                ", the unit of the layer's map info, which is none of this system");
  return nullptr;
}

/// The unit of points of a system that does not say more.
const Ocvt_Unit *usualUnit(const Oprj_ProParameters &record) {
  const OwnedObject engine(asksForEngine(record) ? engineSystem(textOf(record.proExeName)).release()
                                                 : nullptr);
  const OwnedText name(engine ? oprj_COORDSYSUnitName(engine.get(), nullptr) : nullptr);
  const Ocvt_Unit *unit = name ? ocvt_UnitSetByName(Utf8(name.get()), nullptr) : nullptr;
  return unit ? unit : ocvt_UnitSetByName(isGeographic(record) ? "dd" : "meters", nullptr);
}

/// Fills the record of a layer, and the unit when its map info tells it. False with a report.
bool readLayer(const std::string &place, Oprj_System &system, ErrorScope &e) {
  const size_t mark = place.find(kLayerMark, 1);
  const std::string path = place.substr(0, mark), layer = place.substr(mark + kLayerMark.size());
  const toolkit::Owner<Ohfa_File, ohfa_FileDiscard> file(
      ohfa_FileOpen(path.c_str(), OHFA_READ, e.cause()));
  if (!file) return e.fail(kNoFile, "%s", rootMessage(e));
  system.record = oprj_ProParametersCreate(e.cause());
  if (!system.record) throw std::bad_alloc();
  Notes notes;
  constexpr int32_t kGridOrSurface = 8, kTableDatum = 6;  // what could not be opened is told so
  if (!oprj_ProParametersRead(file.get(), Flat(layer), system.record, 0, e.cause())) {
    const int32_t code = oerr_CodeGet(e.causeReport());
    if (code != kGridOrSurface && code != kTableDatum)
      return e.fail(kNoFile, "%s has no coordinate system: %s", place.c_str(), rootMessage(e));
    notes.add(OPRJ_NOTE_GRID, rootMessage(e));
  }
  system.unit = unitOfLayer(file.get(), layer, isGeographic(*system.record), notes);
  system.notes = notes.release();
  return true;
}

}  // namespace
}  // namespace orvik::oprj

using namespace orvik::oprj;

Oprj_System *oprj_SystemRead(Oint_Toolkit *toolkit, const Oprj_Char *written, Oerr_Report **err) {
  if (!err) {
    Oerr_Report *unheard = nullptr;
    Oprj_System *const system = oprj_SystemRead(toolkit, written, &unheard);
    oerr_DeleteErrorReport(&unheard);
    return system;
  }
  ErrorScope e("oprj_SystemRead", err);
  if (!written) return e.fail(kNoText, "Invalid input text");
  return orvik::toolkit::guarded(e, kMemory, [&]() -> Oprj_System * {
    OwnedSystem system(static_cast<Oprj_System *>(omsc_HeapCalloc(1, sizeof(Oprj_System))));
    if (!system) throw std::bad_alloc();
    const std::string text(trimmed(Utf8(written).view()));
    if (text.starts_with(kLibraryMark)) {
      if (!readLibraryPlace(toolkit, text, *system, e, kNoFile)) return nullptr;
    } else if (text.find(kLayerMark, 1) != text.npos && !engineSystem(text.c_str())) {
      if (!readLayer(text, *system, e)) return nullptr;
      system->description = newText(text).release();
      if (!system->description) throw std::bad_alloc();
    } else {
      system->description = descriptionBehind(toolkit, text, e, err);
      if (!system->description) return nullptr;
      system->record = oprj_ProParametersFromText(toolkit, system->description, &system->unit,
                                                  &system->notes, err);
      if (!system->record) return nullptr;
    }
    if (!system->unit) system->unit = usualUnit(*system->record);
    return system.release();
  });
}

void oprj_SystemFree(Oprj_System **system) {
  if (!system || !*system) return;
  oprj_ProParametersFree(&(*system)->record);
  omsc_HeapFree((*system)->description);
  oprj_NotesFree(&(*system)->notes);
  omsc_HeapFree(*system);
  *system = nullptr;
}
