// Projection libraries, for the commands.
#ifndef OPRJ_APPS_LIBRARIES_H
#define OPRJ_APPS_LIBRARIES_H

#include "program.h"

namespace program {

using OwnedLibrary = std::unique_ptr<Oprj_ProjectionLibrary,
                                     FreeBy<Oprj_ProjectionLibrary, oprj_ProjectionLibraryFree>>;

/// The names of all libraries. Throws Stop.
std::vector<std::string> libraryNames(Oint_Toolkit *toolkit);
/// A library by its name or file. Throws Stop with kUnusable.
OwnedLibrary openLibrary(Oint_Toolkit *toolkit, const std::string &name);

}  // namespace program

#endif
