#include "draw_page.h"

#include "program.h"

namespace program::draw {

std::unique_ptr<Page> makePage(bool svg, int width, int height) {
  Slot error;
  Odll_Library *const module = odll_Open(kPageModule, error.get());  // it stays open
  void *const maker = module ? odll_FindIfPresent(module, kPageMaker) : nullptr;
  if (!maker) throw Stop(kInputOutput, "cannot draw: " + error.text());
  return std::unique_ptr<Page>(reinterpret_cast<PageMaker *>(maker)(svg, width, height));
}

}  // namespace program::draw

#if defined(__SANITIZE_ADDRESS__)
/// fontconfig, behind cairo, keeps its caches until the process ends.
extern "C" [[gnu::visibility("default")]] const char *__lsan_default_suppressions() {
  return "leak:libfontconfig";
}
#endif
