// Candidates for a name that is not known.
#ifndef OPRJ_APPS_NAMES_H
#define OPRJ_APPS_NAMES_H

#include "program.h"

namespace program {

/// The message, with the names nearest to `query` when there are any.
std::string withNearest(const std::string &message, std::string_view query,
                        const std::vector<std::string> &names);

}  // namespace program

#endif
