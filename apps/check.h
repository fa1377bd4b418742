// What is doubtful in a .prj file.
#ifndef OPRJ_APPS_CHECK_H
#define OPRJ_APPS_CHECK_H

#include "system.h"

namespace program {

/// Whether a file is one by its name or its first word.
bool isPrjFile(const std::string &path);
/// Prints a line per finding: kSomePointsFailed when there are some. Throws Stop.
Status checkPrj(const std::string &path, const Console &console);

}  // namespace program

#endif
