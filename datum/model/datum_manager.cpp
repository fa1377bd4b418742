// The datums of the process, and where their files are looked for.
#include <dlfcn.h>

#include <algorithm>
#include <boost/signals2/signal.hpp>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <optional>

#include "datum/model/make.h"
#include "datum/model/surface_record.h"
#include "records/records.h"
#include "tables/table_records.h"
#include "tables/upward.h"
#include "toolkit/lasting.h"

using namespace orvik::oprj;
using orvik::toolkit::HeapText;
using orvik::toolkit::HeapVector;

namespace OrvikDatum {

namespace {

/// Of the toolkit's image-processing programs, in the order of their search.
constexpr const char *kPlaces =
    "$PERSONAL;$SURVIEW_HOME/fixes;$SURVIEW_HOME/etc;$SURVIEW_HOME/bin/$ARCHM";

/// The folder of the reference data: that of the installation, or of the build, which the library
/// holding this code belongs to. Empty when there is none.
std::filesystem::path dataFolder() {
  namespace fs = std::filesystem;
  Dl_info library;
  if (!dladdr(kPlaces, &library) || !library.dli_fname) return {};
  std::error_code ignored;
  // where the file really is: /lib may be a link to /usr/lib
  fs::path above = fs::canonical(library.dli_fname, ignored).parent_path();
  constexpr int kLevels = 2;  // lib, lib/x86_64-linux-gnu
  for (int level = 0; level < kLevels; ++level) {
    above = above.parent_path();
    if (fs::path folder = above / OPRJ_INSTALL_DATA; fs::is_directory(folder, ignored))
      return folder;
  }
  return {};
}

/// Calls all slots of a signal; what one throws is logged and the next one is called.
struct CallEach {
  typedef void result_type;
  template <class Slots>
  void operator()(Slots slot, Slots last) const {
    for (; slot != last; ++slot) {
      try {
        *slot;
      } catch (const std::exception &problem) {
        oerr_LogMessage("DatumManager: a slot of ConnectChanged threw: %s", problem.what());
      } catch (...) {
        oerr_LogMessage("DatumManager: a slot of ConnectChanged threw");
      }
    }
  }
};
using Changed = boost::signals2::signal<void(DatumChange, const char *), CallEach>;

struct State {
  std::mutex mutex;
  std::optional<HeapText> path;       ///< of SetDatumsPath
  std::optional<HeapText> installed;  ///< once somebody has asked
  HeapVector<Datum::Ptr> own;
  Changed *changed = nullptr;  ///< made for the first slot, kept for the process's life

  HeapVector<Datum::Ptr>::iterator find(const char *name) {
    return std::find_if(own.begin(), own.end(), [name](const Datum::Ptr &datum) {
      return std::strcmp(datum->GetName(), name) == 0;
    });
  }
};

State &state() {
  static orvik::toolkit::Lasting<State> state;
  return *state;
}

void tellChange(Changed *changed, DatumChange change, const char *name) {
  try {
    if (changed) (*changed)(change, name);
  } catch (const std::exception &problem) {
    oerr_LogMessage("DatumManager: slots of ConnectChanged were not called: %s", problem.what());
  }
}

/// A datum of the tables as an object; null after a report.
Datum::Ptr datumOf(const Oprj_DatumTableEntry &entry, const char *spheroid, Oerr_Report **err) {
  const Utf8 name(entry.name), description(entry.description);
  switch (entry.type) {
    case OPRJ_DATUM_PARAMETRIC:
      return EllipsoidDatum::MakeParametric(name, spheroid, description, entry.params, err);
    case OPRJ_DATUM_GRID:
      return EllipsoidDatum::MakeGrid(name, spheroid, description, Utf8(entry.gridname), err);
    case OPRJ_DATUM_REGRESSION:
      return EllipsoidDatum::MakeRegression(name, spheroid, description, err);
    default:
      break;
  }
  const Owner<Oprj_ShiftSurface, oprj_ShiftSurfaceFree> record(
      shiftSurfaceFromSource(*entry.surface, err));
  if (!record) return Datum::Ptr();
  const char *base = record->baseDatum.c_str();
  if (record->surface->IsVertical())
    return VerticalDatum::Make(name, spheroid, description, record->surface, base, err);
  return SurfaceDatum::Make(name, spheroid, description, record->surface, base, record->baseIsGrid,
                            record->fromDatum, err);
}

}  // namespace

// --- places ---

Ofio_SearchList *DatumManagerGetConfigurationSearchList(Oerr_Report **err) {
  ErrorScope e("DatumManagerGetConfigurationSearchList", err);
  return guarded(e, 1, [&]() -> Ofio_SearchList * {
    {
      // No variable of the environment is called so: the list is the text's.
      constexpr const char *kNoVariable = "DatumManager::SetDatumsPath";
      const std::lock_guard lock(state().mutex);
      if (const auto &path = state().path)
        return ofio_CreateSLFromEnv(kNoVariable, path->c_str(), err);
    }
    const std::string places =
        std::string(kPlaces) + ";" + DatumManager::Instance().GetInstallDirectory();
    return ofio_CreateSLFromEnv("ORVIK_DATUMS_PATH", places.c_str(), err);
  });
}

DatumManager &DatumManager::Instance() {
  static DatumManager manager;
  return manager;
}

Ofio_SearchList *DatumManager::GetConfigurationSearchList(Oerr_Report **err) const {
  return DatumManagerGetConfigurationSearchList(err);
}

bool DatumManager::SetDatumsPath(const char *path, Oerr_Report **err) {
  ErrorScope e("DatumManager::SetDatumsPath", err);
  return guarded(e, 1, [&]() -> bool {
    std::optional<HeapText> text;
    if (path) text = path;
    const std::lock_guard lock(state().mutex);
    state().path.swap(text);
    return true;
  });
}

const char *DatumManager::GetInstallDirectory() const {
  const std::lock_guard lock(state().mutex);
  auto &installed = state().installed;
  try {
    if (!installed) installed = dataFolder().string().c_str();
    return installed->c_str();
  } catch (const std::exception &) {
    return "";  // no memory: the next call asks again
  }
}

char *DatumManager::ResolveDatumFileName(const char *name, Oerr_Report **err) const {
  ErrorScope e("DatumManager::ResolveDatumFileName", err);
  const OwnedSearchList places(DatumManagerGetConfigurationSearchList(e.cause()));
  if (!places) return e.fail(1, "Error returned from ofio_CreateSLFromEnv");
  char *path = ofio_Which(places.get(), name, e.cause());
  if (!path) return e.fail(2, "Error returned from ofio_Which");
  return path;
}

// --- datums ---

Datum::Ptr DatumManager::GetDatum(const char *name, Oerr_Report **err) const {
  ErrorScope e("DatumManager::GetDatum", err);
  return guardedMake<Datum::Ptr>(e, 4, [&]() -> Datum::Ptr {
    const auto refuse = [](Failed) { return Datum::Ptr(); };
    if (!*orEmpty(name)) return refuse(e.fail(1, "Invalid datum name"));
    {
      const std::lock_guard lock(state().mutex);
      if (const auto at = state().find(name); at != state().own.end()) return *at;
    }
    Oint_Toolkit *toolkit = oint_InitToolkit(nullptr);
    const Flat wanted(name);
    const OwnedText home(oprj_GetSpheroidNameByDatumName(toolkit, wanted, e.cause()));
    if (!home) return refuse(e.fail(2, "Error returned from oprj_GetSpheroidNameByDatumName"));
    const auto *spheroid = oprj_SpheroidEntryByName(toolkit, home.get(), e.cause());
    const auto *entry = spheroid ? findDatumEntry(*spheroid, wanted) : nullptr;
    Datum::Ptr datum = entry ? datumOf(*entry, Utf8(home.get()), e.cause()) : Datum::Ptr();
    if (!datum) return refuse(e.fail(3, "The datum \"%s\" cannot be made", name));
    return datum;
  });
}

bool DatumManager::GetDatumNames(std::vector<std::string> &names, Oerr_Report **err) const {
  ErrorScope e("DatumManager::GetDatumNames", err);
  return guarded(e, 2, [&]() -> bool {
    std::vector<std::string> all;
    {
      const std::lock_guard lock(state().mutex);
      for (const Datum::Ptr &datum : state().own) all.push_back(datum->GetName());
    }
    const Oprj_InitData *data = oprj_InitDataGet(oint_InitToolkit(nullptr), e.cause());
    if (!data) return e.fail(1, "Error returned from oprj_InitDataGet");
    for (const auto *spheroid = data->spheroidTable; spheroid; spheroid = spheroid->next)
      for (const auto *datum = spheroid->datums; datum; datum = datum->next)
        all.emplace_back(textOf(datum->name));
    names.swap(all);
    return true;
  });
}

bool DatumManager::AddDatum(const Datum::Ptr &datum, Oerr_Report **err) {
  ErrorScope e("DatumManager::AddDatum", err);
  if (!datum) return e.fail(1, "Invalid input Datum");
  const char *name = datum->GetName();
  const OwnedText home(
      oprj_GetSpheroidNameByDatumName(oint_InitToolkit(nullptr), Flat(name), e.cause()));
  Changed *changed = nullptr;
  const bool added = guarded(e, 3, [&]() -> bool {
    const std::lock_guard lock(state().mutex);
    if (home || state().find(name) != state().own.end())
      return e.fail(2, "Datum \"%s\" exists already", name);
    state().own.push_back(datum);
    changed = state().changed;
    return true;
  });
  if (added) tellChange(changed, DatumChange::Added, name);
  return added;
}

bool DatumManager::RemoveDatum(const char *name, Oerr_Report **err) {
  ErrorScope e("DatumManager::RemoveDatum", err);
  Datum::Ptr removed;  // so that its name lives
  Changed *changed = nullptr;
  {
    const std::lock_guard lock(state().mutex);
    const auto at = state().find(orEmpty(name));
    if (at == state().own.end())
      return e.fail(1, "Datum \"%s\" is not the program's own", orEmpty(name));
    removed = *at;
    state().own.erase(at);
    changed = state().changed;
  }
  tellChange(changed, DatumChange::Removed, removed->GetName());
  return true;
}

boost::signals2::connection DatumManager::ConnectChanged(
    const boost::function<void(DatumChange, const char *)> &slot) {
  try {
    const std::lock_guard lock(state().mutex);
    if (!state().changed) state().changed = new Changed;
    return state().changed->connect(slot);
  } catch (const std::exception &) {
    return boost::signals2::connection();
  }
}

}  // namespace OrvikDatum
