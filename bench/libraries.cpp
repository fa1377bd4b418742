// Projection libraries: opening, searching, the index of equivalents and finding by it.
#include <oprj/oprj.h>

#include <filesystem>
#include <string>
#include <utility>

#include "report.h"

namespace bench {
namespace {

constexpr int kItems = 10000;
constexpr int kAsked = 1000;

Oprj_ProParameters *recordOf(const std::string &text) {
  return oprj_ProParametersFromText(oint_InitToolkit(nullptr), text.c_str(), nullptr, nullptr,
                                    nullptr);
}

/// Systems as an authority has them, in turn: Transverse Mercator on 60 meridians, Lambert, zones
/// of the states, and texts that have a number.
std::string systemOf(int i) {
  const std::string offset = "; x_0=" + std::to_string(i);
  switch (i % 8) {
    case 0:
      return "Lambert Conformal Conic; datum=NAD83; lat_1=33; lat_2=45; lon_0=-96" + offset;
    case 1:
      return "geographic; a=" + std::to_string(6370000 + i);
    default:
      return "Transverse Mercator; datum=WGS 84; k_0=0.9996; lon_0=" +
             std::to_string(i % 60 * 6 - 177) + offset;
  }
}

void run(const AddRow &add) {
  namespace fs = std::filesystem;
  const std::string path = (fs::temp_directory_path() / "oprj-bench.plib").string();
  Oint_Toolkit *toolkit = oint_InitToolkit(nullptr);
  Oprj_ProjectionLibrary *library = oprj_ProjectionLibraryCreate("Bench", nullptr);
  for (int i = 0; i < kItems; ++i) {
    Oprj_ProParameters *record = recordOf(systemOf(i));
    const std::string title = "A system of the country, zone " + std::to_string(i);
    char *text = nullptr;
    Oprj_ProjectionItem item{};
    item.title = title.c_str();
    item.code = "EPSG:12345";
    item.record = record;
    if (i % 8 == 2 && oprj_ProParametersToPEString(&text, record, nullptr, nullptr))
      item.string = text;
    oprj_ProjectionLibraryAdd(library, &item, nullptr);
    oprj_ProParametersFree(&record);
    omsc_HeapFree(text);
  }
  add("10,000 items written and synced, ms", "", milliseconds("writing", [&](Oerr_Report **err) {
        return oprj_ProjectionLibraryWrite(library, path.c_str(), err) != 0;
      }));
  oprj_ProjectionLibraryFree(&library);
  add("that library opened, ms", "below 30", milliseconds("opening", [&](Oerr_Report **err) {
        return (library = oprj_ProjectionLibraryOpen(toolkit, path.c_str(), err)) != nullptr;
      }));
  add("searched by words, ms", "", milliseconds("searching", [&](Oerr_Report **err) {
        int32_t count = 0;
        omsc_HeapFree(
            oprj_ProjectionLibrarySearch(library, "country 9999", nullptr, nullptr, &count, err));
        return count == 1;
      }));
  const auto equivalents = [&](int kind, int count) {
    Oprj_ProParameters *record = recordOf(systemOf(kItems - 8 + kind));
    Oprj_MapProjectionEx *handle = nullptr;
    oprj_ProjectionInit(toolkit, record, &handle, nullptr);
    oprj_ProParametersFree(&record);
    const double took = milliseconds("equivalents", [&](Oerr_Report **err) {
      bool found = true;
      for (int i = 0; i < count; ++i)
        found = found && oprj_ProjectionLibraryEquivalent(library, handle, nullptr, err) != nullptr;
      return found;
    });
    oprj_ProjectionFree(&handle);
    return took;
  };
  const double microseconds = 1000.0 / kAsked;
  add("the first equivalent (the index), ms", "below 500", equivalents(3, 1));
  add("one of Transverse Mercator, us", "below 10", equivalents(3, kAsked) * microseconds);
  add("one of Lambert, us", "below 10", equivalents(0, kAsked) * microseconds);
  add("one of geographic systems, us", "below 10", equivalents(1, kAsked) * microseconds);
  Oprj_ProjectionLibrary *utm = oprj_ProjectionLibraryOpen(toolkit, "UTM", nullptr);
  std::swap(utm, library);
  Oprj_MapProjectionEx *zone = nullptr;
  oprj_ProjectionItemInit(toolkit, oprj_ProjectionLibraryItem(library, 77), &zone, nullptr);
  oprj_ProjectionLibraryEquivalent(library, zone, nullptr, nullptr);
  add("one of UTM among its zones, us", "below 10",
      microseconds * milliseconds("zones", [&](Oerr_Report **err) {
        bool found = true;
        for (int i = 0; i < kAsked; ++i)
          found = found && oprj_ProjectionLibraryEquivalent(library, zone, nullptr, err) != nullptr;
        return found;
      }));
  oprj_ProjectionFree(&zone);
  oprj_ProjectionLibraryFree(&utm);
  oprj_ProjectionLibraryFree(&library);
  fs::remove(path);
}

}  // namespace

void benchLibraries(int repetitions) { tellRows("projection libraries", repetitions, run); }

}  // namespace bench
