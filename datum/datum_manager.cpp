// Where datum definitions and grids are looked for.
#include <dlfcn.h>

#include <filesystem>

#include "tables/upward.h"
#include "toolkit/error_scope.h"

using orvik::toolkit::ErrorScope;

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
  fs::path above = fs::absolute(library.dli_fname, ignored).parent_path();
  constexpr int kLevels = 2;  // lib, lib/x86_64-linux-gnu
  for (int level = 0; level < kLevels; ++level) {
    above = above.parent_path();
    if (fs::path folder = above / OPRJ_INSTALL_DATA; fs::is_directory(folder, ignored))
      return folder;
  }
  return {};
}

}  // namespace

Ofio_SearchList *OrvikDatum::DatumManagerGetConfigurationSearchList(Oerr_Report **err) {
  ErrorScope e("DatumManagerGetConfigurationSearchList", err);
  return guarded(e, 1, [&] {
    const std::string places = std::string(kPlaces) + ";" + dataFolder().string();
    return ofio_CreateSLFromEnv("ORVIK_DATUMS_PATH", places.c_str(), err);
  });
}
