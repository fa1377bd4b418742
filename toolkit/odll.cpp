// POSIX: dlopen and its kin.
#include <dlfcn.h>
#include <link.h>
#include <oprj/odll.h>
#include <oprj/othr.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

#include "toolkit/error_scope.h"
#include "toolkit/heap.h"

using namespace orvik::toolkit;

struct Odll_Library : HeapRecord {
  void *handle = nullptr;
  int64_t users = 1;
  uint64_t device = 0, inode = 0;
  HeapText path;
  Odll_Library *next = nullptr;

  ~Odll_Library() {
    if (handle) dlclose(handle);
  }
};

struct Odlm_List : HeapRecord {
  HeapVector<Odll_Library *> libraries;
};

namespace {

/// Everything that is open, under the toolkit's guard.
Odll_Library *openLibraries = nullptr;

/// The file that the system has opened under a handle; empty when it does not say.
const char *pathOf(void *handle) {
  const link_map *map = nullptr;
  return dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0 && map->l_name ? map->l_name : "";
}

/// Opens a path, or a bare name where the system looks. Null when there is none, `reason` telling
/// why a file cannot be opened.
Odll_Library *openOne(const HeapText &name, HeapText &reason) {
  auto made = std::make_unique<Odll_Library>();
  made->handle = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!made->handle) {
    const char *told = dlerror();
    reason = told ? told : "no reason given";
    return nullptr;
  }
  for (Odll_Library *open = openLibraries; open; open = open->next) {
    if (open->handle != made->handle) continue;
    ++open->users;
    return open;  // `made` gives the handle's second reference back
  }
  made->path = pathOf(made->handle);
  if (Ofio_FileStamp stamp; ofio_FileStampGet(made->path.c_str(), &stamp, nullptr)) {
    made->device = stamp.device;
    made->inode = stamp.inode;
  }
  made->next = openLibraries;
  openLibraries = made.get();
  return made.release();
}

/// The system says this of a bare name that it does not find; of a library that needs another one
/// it names that one.
bool saysAbsent(const HeapText &reason, const HeapText &name) {
  return reason.starts_with(name) && reason.find(": No such file") != HeapText::npos;
}

HeapText ownFolder() {
  Dl_info own;
  if (!dladdr(&openLibraries, &own) || !own.dli_fname) return {};
  const std::string_view path = own.dli_fname;
  const size_t slash = path.rfind('/');
  return slash == path.npos ? HeapText() : HeapText(path.substr(0, slash + 1));
}

Failed cannotOpen(ErrorScope &e, const char *name, const HeapText &reason) {
  *e.cause() =
      oerr_CreateErrorReport("dlopen", 1, OERR_SEVERITY_ERROR, nullptr, "%s", reason.c_str());
  return e.fail(3, "Cannot open the library %s", name);
}

Odll_Library *openPath(ErrorScope &e, const char *path) {
  Ofio_FileStamp stamp;
  if (!ofio_FileStampGet(path, &stamp, e.cause())) return e.fail(2, "%s:  Library not found", path);
  const Guard guard;
  HeapText reason;
  Odll_Library *library = openOne(path, reason);
  if (!library) return cannotOpen(e, path, reason);
  return library;
}

}  // namespace

Odll_Library *odll_Open(const char *name, Oerr_Report **err) {
  ErrorScope e("odll_Open", err);
  if (!name || !*name) return e.fail(1, "Invalid input library name");
  return guarded(e, 4, [&]() -> Odll_Library * {
    const std::string_view given = name;
    if (given.find('/') != given.npos) return openPath(e, name);
    if (given.find('\\') != given.npos || ofnp_IsRooted(name))
      return e.fail(2, "%s:  Library not found", name);

    constexpr std::string_view kForeignEnding = ".dll", kEnding = ".so";
    HeapText native("lib");
    native += given.substr(
        0, given.size() - (given.ends_with(kForeignEnding) ? kForeignEnding.size() : 0));
    native += kEnding;
    const HeapText own = ownFolder(), modules = own + "oPrj/", system;
    const Guard guard;
    HeapText firstReason;
    for (const HeapText *folder : {&own, &modules, &system}) {
      for (const HeapText &spelling : {HeapText(given), native}) {
        const HeapText place = *folder + spelling;
        Ofio_FileStamp stamp;
        if (folder != &system && !ofio_FileStampGet(place.c_str(), &stamp, nullptr)) continue;
        HeapText reason;
        if (Odll_Library *library = openOne(place, reason)) return library;
        if (firstReason.empty() && !saysAbsent(reason, place)) firstReason = reason;
      }
    }
    if (!firstReason.empty()) return cannotOpen(e, name, firstReason);
    return e.fail(2, "%s:  Library not found", name);
  });
}

Odll_Library *odll_OpenAlong(const Ofio_SearchList *list, const char *name, Oerr_Report **err) {
  ErrorScope e("odll_OpenAlong", err);
  if (!name || !*name) return e.fail(1, "Invalid input library name");
  return guarded(e, 4, [&]() -> Odll_Library * {
    const HeapBlock<char> path(ofio_Which(list, name, e.cause()));
    if (!path) return e.fail(2, "Error returned from ofio_Which");
    // A bare path would be looked for where the system looks.
    HeapText found(path.get());
    if (found.find('/') == HeapText::npos) found.insert(0, "./");
    return openPath(e, found.c_str());
  });
}

void *odll_FindIfPresent(const Odll_Library *library, const char *symbol) {
  if (!library || !symbol) return nullptr;
  return dlsym(library->handle, symbol);
}

const char *odll_PathGet(const Odll_Library *library) {
  return library ? library->path.c_str() : nullptr;
}

void odll_Close(Odll_Library **library) {
  if (!library || !*library) return;
  const Guard guard;
  Odll_Library *dead = std::exchange(*library, nullptr);
  if (--dead->users > 0) return;
  Odll_Library **link = &openLibraries;
  while (*link != dead) link = &(*link)->next;
  *link = dead->next;
  delete dead;
}

// --- lists ---

Odlm_List *odlm_NewList(Oerr_Report **err) {
  ErrorScope e("odlm_NewList", err);
  try {
    return new Odlm_List;
  } catch (const std::bad_alloc &) {
    return e.fail(1, "Error allocating list of libraries");
  }
}

Odll_Library *odlm_Element(const Odlm_List *list, const char *path, Oerr_Report **err) {
  ErrorScope e("odlm_Element", err);
  if (!list) return e.fail(1, "Invalid input list of libraries");
  Ofio_FileStamp stamp;
  if (!ofio_FileStampGet(path, &stamp, e.cause()))
    return e.fail(2, "Error returned from ofio_FileStampGet");
  const Guard guard;
  for (Odll_Library *library : list->libraries) {
    if (library->device != stamp.device || library->inode != stamp.inode) continue;
    ++library->users;
    return library;
  }
  return nullptr;
}

int32_t odlm_Add(Odlm_List *list, Odll_Library *library, Oerr_Report **err) {
  ErrorScope e("odlm_Add", err);
  if (!list || !library) return e.fail(1, "Invalid input list of libraries");
  return guarded(e, 2, [&]() -> int32_t {
    const Guard guard;
    auto &held = list->libraries;
    if (std::find(held.begin(), held.end(), library) != held.end()) return 1;
    held.push_back(library);
    ++library->users;
    return 1;
  });
}

int32_t odlm_Remove(Odlm_List *list, const Odll_Library *library) {
  if (!list) return 0;
  const Guard guard;
  auto &held = list->libraries;
  const auto at = std::find(held.begin(), held.end(), library);
  if (at == held.end()) return 0;
  Odll_Library *ended = *at;
  held.erase(at);
  odll_Close(&ended);
  return 1;
}

void odlm_ListFree(Odlm_List **list) {
  if (!list || !*list) return;
  const Guard guard;
  for (Odll_Library *library : (*list)->libraries) odll_Close(&library);
  delete *list;
  *list = nullptr;
}
