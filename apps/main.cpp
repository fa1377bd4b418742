// oprj: map projections and datum shifts from a shell.
#include <csignal>
#include <cstdio>
#include <iostream>

#include "commands.h"
#include "manual.h"
#include "system.h"

int main(int argc, char **argv) {
  using namespace program;
  std::signal(SIGPIPE, SIG_IGN);  // a closed pipe is noticed as a failed write

  Console console;
  Action action;
  CLI::App app("Projects points between coordinate systems and shifts geodetic datums.", "oprj");
  app.footer(kSystemHelp);
  app.set_version_flag("-V,--version", "oprj " OPRJ_VERSION);
  app.add_flag("-v,--verbose", console.verbose, "Tell what is done, on standard error");
  app.add_flag("-q,--quiet", console.quiet, "No warnings");
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
    app.parse(argc, argv);
  } catch (const CLI::ParseError &problem) {
    return app.exit(problem) == 0 ? kGood : kUsage;
  }
  try {
    const Status status = action();
    if (std::fflush(stdout) != 0) throw Stop(kInputOutput, "cannot write to standard output");
    return status;
  } catch (const Stop &stop) {
    std::fprintf(stderr, "oprj: %s\n", stop.what());
    return stop.status;
  } catch (const std::exception &problem) {
    std::fprintf(stderr, "oprj: %s\n", problem.what());
    return kInputOutput;
  }
}
