// The manual page and shell completion, made from the option table.
#ifndef OPRJ_APPS_MANUAL_H
#define OPRJ_APPS_MANUAL_H

#include "commands.h"

namespace program {

void addManual(CLI::App &app, Action &action);

}  // namespace program

#endif
