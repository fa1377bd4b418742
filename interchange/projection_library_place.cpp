// Items of libraries as people name them: @LIBRARY/TITLE.
#include <oprj/ostr.h>
#include <oprj/translation.h>

#include "interchange/projection_library_content.h"
#include "interchange/text_names.h"
#include "tables/reference_data.h"

namespace orvik::oprj {
namespace {

/// Fills what a text says, but for a unit that is known.
bool readText(Oint_Toolkit *toolkit, Oprj_System &system, ErrorScope &e, int32_t code) {
  const Ocvt_Unit *unit = nullptr;
  system.record =
      oprj_ProParametersFromText(toolkit, system.description, &unit, &system.notes, e.cause());
  if (!system.record)
    return e.fail(code, "%s", oerr_MessageGet(oerr_RootCauseGet(e.causeReport())));
  if (!system.unit) system.unit = unit;
  return true;
}

}  // namespace

bool readLibraryPlace(Oint_Toolkit *toolkit, const std::string &place, Oprj_System &system,
                      ErrorScope &e, int32_t code) {
  const size_t slash = place.find('/');
  if (slash == place.npos)
    return e.fail(code, "\"%s\" is not of the form @LIBRARY/TITLE", place.c_str());
  const std::string name = place.substr(1, slash - 1), title = place.substr(slash + 1);
  const OwnedLibrary library(oprj_ProjectionLibraryOpen(toolkit, Flat(name), e.cause()));
  if (!library) return e.fail(code, "%s", oerr_MessageGet(oerr_RootCauseGet(e.causeReport())));
  const Oprj_ProjectionItem *item = oprj_ProjectionLibraryFind(library.get(), Flat(title));
  if (!item)
    return e.fail(code, "There is no \"%s\" in the library \"%s\"%s", title.c_str(), name.c_str(),
                  toolkit::nearestHint(title, titlesOf(*library->content)).c_str());
  if (!isBlank(item->unit)) {
    system.unit = ocvt_UnitSetByName(textOf(item->unit), e.cause());
    if (!system.unit) return e.fail(code, "%s", oerr_MessageGet(e.causeReport()));
  }
  const Oprj_InitData *data = referenceData(e, toolkit);
  if (!data) return false;
  const auto keep = [&system](OwnedText text) {
    if (!text) throw std::bad_alloc();
    system.description = text.release();
  };
  if (item->string) {
    keep(duplicate(item->string));
    return readText(toolkit, system, e, code);
  }
  return usingItems(e, code, [&]() -> bool {
    OwnedParameters record = recordOfSystem(toolkit, *data, *item->system, false);
    // As a text it goes the usual way, with its notes; what none describes has a datum or a
    // spheroid that the tables lack.
    if (OwnedText text{oprj_ProParametersToText(toolkit, record.get(), system.unit, nullptr)}) {
      keep(std::move(text));
      return readText(toolkit, system, e, code);
    }
    keep(newText(place));
    const Oprj_Datum &datum = *record->proSpheroid->datum;
    Notes notes;
    if (datum.type == OPRJ_DATUM_NONE && !isUndefined(&datum))
      notes.add(OPRJ_NOTE_KEPT_DATUM, "the datum " + inQuotes(textOf(datum.datumname).view()) +
                                          " is not in the tables: it is not shifted to any other");
    system.notes = notes.release();
    system.record = record.release();
    return true;
  });
}

}  // namespace orvik::oprj
