// The commands of `oprj`: each adds its options to the one option table and stores what it ends
// with.
#ifndef OPRJ_APPS_COMMANDS_H
#define OPRJ_APPS_COMMANDS_H

#include <CLI/CLI.hpp>

#include "program.h"

namespace program {

/// What main runs: set by the command that the arguments name.
using Action = std::function<Status()>;

/// The option --verify takes a number when one stands behind it, and not what else does: gives it
/// its usual value then.
void fillVerify(std::vector<std::string> &arguments);
void addProject(CLI::App &app, const Console &console, Action &action);
void addDescribe(CLI::App &app, const Console &console, Action &action);
void addExplain(CLI::App &app, const Console &console, Action &action);
void addGrid(CLI::App &app, const Console &console, Action &action);
/// Projection libraries.
void addLibrary(CLI::App &app, const Console &console, Action &action);
void addList(CLI::App &app, const Console &console, Action &action);
void addDraw(CLI::App &app, const Console &console, Action &action);
void addDefine(CLI::App &app, const Console &console, Action &action);
void addConvert(CLI::App &app, const Console &console, Action &action);
/// info, check and compact.
void addInfo(CLI::App &app, const Console &console, Action &action);
void addMapInfo(CLI::App &app, const Console &console, Action &action);
void addDiff(CLI::App &app, const Console &console, Action &action);
void addFind(CLI::App &app, const Console &console, Action &action);

}  // namespace program

#endif
