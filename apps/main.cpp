// oprj: map projections and datum shifts from a shell.
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <iostream>

#include "commands.h"
#include "manual.h"
#include "names.h"
#include "system.h"

namespace {

using namespace program;

/// What the first argument that is no option names must be a command.
void refuseUnknownCommand(const CLI::App &app, int argc, char **argv) {
  std::vector<std::string> commands;
  for (const CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; }))
    commands.push_back(command->get_name());
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word.starts_with('-')) continue;  // the program's own options take no values
    if (std::find(commands.begin(), commands.end(), word) == commands.end())
      throw Stop(kUsage, withNearest("there is no command \"" + word + "\"", word, commands) +
                             "; `oprj --help` lists them");
    return;
  }
}

/// Output that could not be written must not go unnoticed.
void finishOutput() {
  std::cout.flush();
  if (!std::cout || std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
    throw Stop(kInputOutput, "cannot write to standard output");
}

Status run(CLI::App &app, const Action &action, int argc, char **argv) {
  refuseUnknownCommand(app, argc, argv);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError &problem) {
    const bool answered = app.exit(problem) == 0;  // --help and --version
    finishOutput();
    return answered ? kGood : kUsage;
  }
  const Status status = action();
  finishOutput();
  return status;
}

}  // namespace

int main(int argc, char **argv) {
  std::signal(SIGPIPE, SIG_IGN);  // a closed pipe is noticed as a failed write

  Console console;
  Action action;
  CLI::App app("Projects points between coordinate systems and shifts geodetic datums.", "oprj");
  app.footer(kSystemHelp);
  app.set_version_flag("-V,--version", "oprj " OPRJ_VERSION);
  app.add_flag("-v,--verbose", console.verbose, "Tell what is done, on standard error");
  app.add_flag("-q,--quiet", console.quiet,
               "No warnings; reasons of failed points are told all the same");
  app.require_subcommand(1);
  app.fallthrough();
  addProject(app, console, action);
  addDescribe(app, console, action);
  addExplain(app, console, action);
  addList(app, console, action);
  addDraw(app, console, action);
  addDefine(app, console, action);
  addManual(app, action);

  try {
    return run(app, action, argc, argv);
  } catch (const Stop &stop) {
    std::fprintf(stderr, "oprj: %s\n", stop.what());
    return stop.status;
  } catch (const std::exception &problem) {
    std::fprintf(stderr, "oprj: %s\n", problem.what());
    return kInputOutput;
  }
}
