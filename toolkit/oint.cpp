// The one per-process record. It lies in static memory, so that making it cannot fail.
#include <oprj/oint.h>

#include <array>
#include <mutex>
#include <string>

#include "toolkit/error_scope.h"
#include "toolkit/lasting.h"

struct Oint_Toolkit {
  struct Slot {
    std::string library;
    void *data = nullptr;
  };
  std::mutex mutex;
  std::array<Slot, 8> slots;  // a process holds the narrow and the wide build, rarely more
  size_t used = 0;
};

using orvik::toolkit::ErrorScope;

Oint_Toolkit *oint_InitToolkit(Oerr_Report **err) {
  const ErrorScope e("oint_InitToolkit", err);
  static orvik::toolkit::Lasting<Oint_Toolkit> toolkit;
  return &*toolkit;
}

void **oint_LibrarySlot(Oint_Toolkit *toolkit, const char *library) {
  if (!toolkit || !library) return nullptr;
  try {
    const std::lock_guard lock(toolkit->mutex);
    for (size_t i = 0; i < toolkit->used; ++i)
      if (toolkit->slots[i].library == library) return &toolkit->slots[i].data;
    if (toolkit->used == toolkit->slots.size()) return nullptr;
    auto &slot = toolkit->slots[toolkit->used];
    slot.library = library;
    ++toolkit->used;
    return &slot.data;
  } catch (const std::exception &) {
    return nullptr;  // no memory for the name
  }
}
