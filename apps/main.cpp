// oprj: map projections and datum shifts from a shell.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <utility>

#include "commands.h"
#include "complete.h"
#include "manual.h"
#include "names.h"
#include "system.h"

namespace {

using namespace program;

using Names = std::vector<std::string>;

/// The commands, or one of them by its name.
std::vector<CLI::App *> commandsOf(CLI::App &app, const std::string &name = "") {
  return app.get_subcommands(
      [&](const CLI::App *command) { return name.empty() || command->get_name() == name; });
}

using Add = void (*)(CLI::App &, const Console &, Action &);

/// Every command by its name, in the order of the help, and what adds it to the option table.
constexpr struct {
  std::string_view name;
  Add add;
} kCommands[] = {
    {"project", addProject}, {"describe", addDescribe}, {"explain", addExplain},
    {"list", addList},       {"library", addLibrary},   {"draw", addDraw},
    {"grid", addGrid},       {"define", addDefine},     {"convert", addConvert},
    {"info", addInfo},       {"check", addInfo},        {"compact", addInfo},
    {"mapinfo", addMapInfo}, {"diff", addDiff},         {"find", addFind},
    {"manual", addManual},
};

bool isOption(std::string_view word) { return word.size() > 1 && word.starts_with('-'); }

void addOptionNames(const CLI::App &app, Names &names) {
  for (const CLI::Option *option : app.get_options()) {
    for (const std::string &name : option->get_lnames()) names.push_back("--" + name);
    for (const std::string &name : option->get_snames()) names.push_back("-" + name);
  }
}

/// Adds the command that the first argument that is no option names, alone: to make them all takes
/// longer than many a job. All of them where it names none.
void addCommands(CLI::App &app, const Console &console, Action &action, const Names &arguments) {
  const auto word = std::find_if_not(arguments.begin(), arguments.end(), isOption);
  const auto *const asked = std::find_if(
      std::begin(kCommands), std::end(kCommands),
      [&](const auto &command) { return word != arguments.end() && command.name == *word; });
  const Add alone = asked == std::end(kCommands) || asked->add == addManual ? nullptr : asked->add;
  Add last = nullptr;
  for (const auto &[name, add] : kCommands) {
    if (add != std::exchange(last, add) && (!alone || add == alone)) add(app, console, action);
  }
}

/// The first argument that is no option must name a command, which is returned; null when there is
/// none, but one of the options answers by itself.
CLI::App *commandAsked(CLI::App &app, const Names &arguments) {
  bool answers = false;
  for (const std::string &word : arguments) {
    answers = answers || word == "-h" || word == "--help" || word == "-V" || word == "--version";
    if (isOption(word)) {  // one of the program itself: they take no values
      if (Names own; addOptionNames(app, own),
                     (word.starts_with("--") || word.size() == 2) && !app.get_option_no_throw(word))
        throw Stop(kUsage,
                   withNearest("there is no option " + word + " in front of a command", word, own) +
                       "; `oprj --help` lists the commands");
      continue;
    }
    if (const auto found = commandsOf(app, word); !found.empty()) return found.front();
    Names names;
    for (const CLI::App *command : commandsOf(app)) names.push_back(command->get_name());
    throw Stop(kUsage, withNearest("there is no command \"" + word + "\"", word, names) +
                           "; `oprj --help` lists them");
  }
  if (!answers) throw Stop(kUsage, "a command is missing; `oprj --help` lists them");
  return nullptr;
}

/// What is wrong with the arguments, in one line, with what may have been meant.
Stop wrongArguments(const CLI::App &app, const CLI::App *command, const CLI::ParseError &problem) {
  const std::string help =
      "; `oprj " + (command ? command->get_name() + " " : std::string()) + "--help` tells more";
  for (const std::string &word : app.remaining(true)) {
    if (!isOption(word)) return {kUsage, "there is no place for \"" + word + "\"" + help};
    Names names;
    addOptionNames(app, names);
    if (command) addOptionNames(*command, names);
    const std::string option = word.substr(0, word.find('='));
    return {kUsage, withNearest("there is no option " + option, option, names) + help};
  }
  std::string text = problem.what();
  std::replace(text.begin(), text.end(), '\n', ' ');
  return {kUsage, text + help};
}

/// Output that could not be written must not go unnoticed.
void finishOutput() {
  std::cout.flush();
  if (!std::cout || std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
    throw Stop(kInputOutput, "cannot write to standard output");
}

Status run(CLI::App &app, const Console &console, const Action &action, Names arguments) {
  if (!arguments.empty() && arguments.front() == kCompleteCommand) {
    arguments.erase(arguments.begin());
    for (const std::string &word : completions(app, std::move(arguments), console))
      std::printf("%s\n", word.c_str());
    finishOutput();
    return kGood;
  }
  const CLI::App *const command = commandAsked(app, arguments);
  fillVerify(arguments);
  std::reverse(arguments.begin(), arguments.end());  // as the parser takes them
  try {
    app.parse(std::move(arguments));
  } catch (const CLI::Success &answer) {  // --help and --version
    app.exit(answer);
    finishOutput();
    return kGood;
  } catch (const CLI::ParseError &problem) {
    throw wrongArguments(app, command, problem);
  }
  const Status status = action();
  finishOutput();
  return status;
}

/// A standard descriptor that is closed would be given to the first file that is opened, and
/// messages would go there. The null device takes its place, opened so that using it fails.
void occupyStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) != -1 || errno != EBADF) continue;
    if (open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY) != descriptor)
      std::_Exit(kInputOutput);  // there is nobody to tell
  }
}

}  // namespace

int main(int argc, char **argv) {
  occupyStandardDescriptors();
  std::signal(SIGPIPE, SIG_DFL);  // a reader that has enough ends the program, and nothing is told

  Console console;
  Action action;
  CLI::App app("Projects points between coordinate systems and shifts geodetic datums.", "oprj");
  app.footer(std::string(kSystemHelp) + kEndHelp);
  app.set_version_flag("-V,--version", "oprj " OPRJ_VERSION);
  app.add_flag("-v,--verbose", console.verbose, "Tell what is done, on standard error");
  app.add_flag("-q,--quiet", console.quiet,
               "No warnings; reasons of failed points are told all the same");
  app.add_flag("--allow-external", console.allowExternal,
               "Start the programs and load the plug-ins that external projections name");
  app.fallthrough();
  const Names arguments(argv + 1, argv + argc);
  addCommands(app, console, action, arguments);

  for (CLI::App *command : commandsOf(app)) {
    const std::string own = command->get_footer();  // the program's where it has none
    if (!own.ends_with(kEndHelp)) command->footer(own + kEndHelp);
  }

  try {
    return run(app, console, action, arguments);
  } catch (const Stop &stop) {
    tell(std::string("oprj: ") + stop.what());
    for (const std::string &detail : stop.details) tell("  " + detail);
    return stop.status;
  } catch (const std::exception &problem) {
    tell(std::string("oprj: ") + problem.what());
    return kInputOutput;
  }
}
