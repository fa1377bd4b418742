#include "draw_page.h"

#include <dlfcn.h>

#include "program.h"

namespace program::draw {

std::unique_ptr<Page> makePage(bool svg, int width, int height) {
  // It stands beside the library, and is never unloaded.
  Dl_info library;
  if (!dladdr(dlsym(RTLD_DEFAULT, "oprj_Init"), &library))
    throw Stop(kInputOutput, "cannot draw: the library's file is not known");
  const std::string path = library.dli_fname;
  const std::string folder = path.substr(0, path.rfind('/') + 1);
  void *module = dlopen((folder + kPageModule).c_str(), RTLD_NOW);
  void *maker = module ? dlsym(module, kPageMaker) : nullptr;
  if (!maker) throw Stop(kInputOutput, std::string("cannot draw: ") + dlerror());
  return std::unique_ptr<Page>(reinterpret_cast<PageMaker *>(maker)(svg, width, height));
}

}  // namespace program::draw

#if defined(__SANITIZE_ADDRESS__)
/// fontconfig, behind cairo, keeps its caches until the process ends.
extern "C" [[gnu::visibility("default")]] const char *__lsan_default_suppressions() {
  return "leak:libfontconfig";
}
#endif
