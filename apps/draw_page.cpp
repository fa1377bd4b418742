#include "draw_page.h"

#include <dlfcn.h>

#include "program.h"

namespace program::draw {

std::unique_ptr<Page> makePage(bool svg, int width, int height) {
  // beside the libraries: along the program's own search path; never unloaded
  void *module = dlopen(kPageModule, RTLD_NOW);
  void *maker = module ? dlsym(module, kPageMaker) : nullptr;
  if (!maker) throw Stop(kInputOutput, std::string("cannot draw: ") + dlerror());
  return std::unique_ptr<Page>(reinterpret_cast<PageMaker *>(maker)(svg, width, height));
}

}  // namespace program::draw
