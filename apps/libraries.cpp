#include "libraries.h"

namespace program {
std::vector<std::string> libraryNames(Oint_Toolkit *toolkit) {
  Slot err;
  int32_t count = 0;
  char **found = oprj_ProjectionLibraryNames(toolkit, &count, err.get());
  if (!found) throw Stop(kUnusable, err.text());
  std::vector<std::string> names(found, found + count);
  oprj_ProjectionLibraryNamesFree(&found);
  return names;
}

OwnedLibrary openLibrary(Oint_Toolkit *toolkit, const std::string &name) {
  Slot err;
  OwnedLibrary library(oprj_ProjectionLibraryOpen(toolkit, name.c_str(), err.get()));
  constexpr int32_t kNoLibrary = 3;
  if (!library)
    throw Stop(kUnusable,
               err.rootMessage() +
                   (oerr_CodeGet(err.report()) == kNoLibrary ? "; `oprj library` lists them" : ""));
  return library;
}

}  // namespace program
