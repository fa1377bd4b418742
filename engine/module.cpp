// Opens the engine's module (module.h); it then stays open.
#include "engine/module.h"

#include <oprj/odll.h>
#include <oprj/othr.h>

#include <atomic>
#include <string>

#include "toolkit/error_scope.h"

namespace orvik::engine {

const Module *module(Oerr_Report **err) {
  toolkit::ErrorScope e("engineModule", err);
  static std::atomic<const Module *> opened{nullptr};
  if (const Module *known = opened.load(std::memory_order_acquire)) return known;
  const toolkit::Guard guard;
  if (const Module *known = opened.load(std::memory_order_relaxed)) return known;
  Odll_Library *library = odll_Open("oPrjEngine", e.cause());
  if (!library) {
    // in one message: programs show the root of a chain, which tells no more than a file's name
    const std::string reason = oerr_MessageGet(oerr_RootCauseGet(e.causeReport()));
    e.cause();
    return e.fail(1, "The module that reaches PROJ cannot be loaded: %s", reason.c_str());
  }
  const auto *found = static_cast<const Module *>(odll_FindIfPresent(library, kModuleSymbol));
  if (!found) {
    odll_Close(&library);
    return e.fail(2, "The library oPrjEngine lacks %s", kModuleSymbol);
  }
  opened.store(found, std::memory_order_release);
  return found;
}

}  // namespace orvik::engine
