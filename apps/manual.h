// The manual pages and shell completion, made from the option table.
#ifndef OPRJ_APPS_MANUAL_H
#define OPRJ_APPS_MANUAL_H

#include "commands.h"

namespace program {

/// What ends the help of every command: exit statuses and variables.
extern const char *const kEndHelp;

/// Tells of the commands that are there when it runs: all of them must be.
void addManual(CLI::App &app, const Console &console, Action &action);

}  // namespace program

#endif
