#include "manual.h"

#include <algorithm>

#include "complete.h"
#include "names.h"
#include "project_streams.h"
#include "system.h"

namespace program {

const char *const kEndHelp =
    "Exit status: 0 all points good, 1 some points failed, 2 usage, 3 a coordinate system or data "
    "file that\n"
    "cannot be used, 4 input or output failed.\n"
    "Variables: ORVIK_PROJECTIONS_PATH, where mapprojections.dat and sptable.tab are found; "
    "ORVIK_DATUMS_PATH, where\n"
    "spheroid*.tab and grids are found (both: folders set apart by colons; the installed data when "
    "unset); OPRJ_ISA,\n"
    "the instruction set to use: baseline, avx2 or avx512.\n";

namespace {

std::string escaped(std::string_view text) {
  std::string result;
  bool lineStart = true;
  for (const char c : text) {
    if (lineStart && (c == '.' || c == '\'')) result += "\\&";
    lineStart = c == '\n';
    constexpr std::pair<char, const char *> kSigns[] = {{'\\', "\\e"},  {'-', "\\-"},
                                                        {'`', "\\(ga"}, {'\'', "\\(aq"},
                                                        {'^', "\\(ha"}, {'~', "\\(ti"}};
    const auto *sign = std::find_if(std::begin(kSigns), std::end(kSigns),
                                    [c](auto &each) { return each.first == c; });
    if (sign == std::end(kSigns)) result += c;
    else result += sign->second;
  }
  return result;
}

/// "-h,--help" with room behind the commas.
std::string spaced(const std::string &names) {
  std::string result;
  for (const char c : names) result += c == ',' ? ", " : std::string(1, c);
  return result;
}
std::string bold(std::string_view text) { return "\\fB" + escaped(text) + "\\fR"; }
std::string slanted(std::string_view text) { return "\\fI" + escaped(text) + "\\fR"; }
std::string sentence(const std::string &text) {
  return escaped(text) + (text.ends_with('.') ? "\n" : ".\n");
}

/// What stands for the value of an option: "CS", "auto|yes|no", "INT"; limits are left out.
std::string valueOf(const CLI::Option &option) {
  if (option.get_items_expected_max() == 0) return "";
  std::string type = option.get_type_name();
  if (const size_t open = type.find('{'); open != std::string::npos) {
    type = type.substr(open + 1, type.find('}') - open - 1);
    std::replace(type.begin(), type.end(), ',', '|');
  } else {
    type = type.substr(0, type.find(':'));
  }
  return slanted(type);
}

/// A word that is no option.
std::string placeOf(const CLI::Option &option) {
  const bool hasChoice = option.get_type_name().find('{') != std::string::npos;
  const std::string name = (hasChoice ? valueOf(option) : slanted(option.get_name(true))) +
                           (option.get_items_expected_max() > 1 ? " ..." : "");
  return option.get_required() ? name : "[" + name + "]";
}

std::string synopsisOf(const CLI::App &command) {
  std::string required, places;
  for (const CLI::Option *option : command.get_options()) {
    if (option->get_positional()) places += placeOf(*option) + "\n";
    else if (option->get_required())
      required += bold(option->get_name()) + " " + valueOf(*option) + "\n";
  }
  return required + "[" + slanted("OPTIONS") + "]\n" + places;
}

std::string optionsOf(const CLI::App &command) {
  std::string text;
  for (const CLI::Option *option : command.get_options()) {
    const std::string value = valueOf(*option);
    text += ".TP\n" + (option->get_positional() ? placeOf(*option)
                                                : bold(spaced(option->get_name(false, true))) +
                                                      (value.empty() ? "" : " " + value));
    text += "\n" + sentence(option->get_description());
    std::string others;
    for (const CLI::Option *other : option->get_excludes())
      others += (others.empty() ? "" : ", ") + other->get_name();
    if (!others.empty()) text += "Not together with " + sentence(others);
  }
  return text;
}

/// What a command's help has behind its options, without what all have in common.
std::string ownHelp(const CLI::App &command) {
  std::string text = command.get_footer();
  for (const std::string_view common : {kSystemHelp, kEndHelp}) {
    if (const size_t at = text.find(common); at != std::string::npos) text.erase(at, common.size());
  }
  return escaped(text);
}

std::vector<const CLI::App *> commandsOf(const CLI::App &app) {
  return app.get_subcommands([](const CLI::App *) { return true; });
}

/// The commands that a command has of its own.
std::string partsOf(const CLI::App &command, const std::string &before) {
  std::string text;
  for (const CLI::App *part : commandsOf(command)) {
    const std::string name = before + " " + part->get_name();
    text += ".SS " + name + "\n" + sentence(part->get_description()) + ".PP\n" + bold(name) + "\n" +
            synopsisOf(*part) + optionsOf(*part) + partsOf(*part, name);
  }
  return text;
}

std::string pageOf(const CLI::App &program, const CLI::App *command = nullptr) {
  const CLI::App &app = command ? *command : program;
  const std::string dashed = command ? "oprj\\-" + command->get_name() : "oprj";
  std::string text = ".TH \"" + dashed +
                     "\" 1 \"\" \"oPrj " OPRJ_VERSION "\" \"oPrj\"\n.SH NAME\n" + dashed + " \\- " +
                     escaped(app.get_description()) + "\n.SH SYNOPSIS\n.B oprj";
  if (command) text += " " + command->get_name() + "\n" + synopsisOf(app);
  else text += "\n" + slanted("COMMAND") + " [" + slanted("OPTIONS") + "] ...\n";
  if (const std::string help = ownHelp(app); !help.empty()) text += ".SH DESCRIPTION\n" + help;
  text += ".SH OPTIONS\n" + optionsOf(app);
  if (command) {
    text += ".PP\nThose of " + bold("oprj") + "(1) are taken too.\n";
    if (!commandsOf(app).empty())
      text += ".SH COMMANDS\n" + partsOf(app, "oprj " + command->get_name());
    if (app.get_footer().find(kSystemHelp) != std::string::npos)
      text += ".SH COORDINATE SYSTEMS\nHow they are written is told in " + bold("oprj") + "(1).\n";
  } else {
    text += ".SH COMMANDS\n";
    for (const CLI::App *each : commandsOf(program))
      text +=
          ".TP\n" + bold("oprj-" + each->get_name()) + "(1)\n" + sentence(each->get_description());
    text += ".SH COORDINATE SYSTEMS\n" + escaped(kSystemHelp);
  }
  return text + ".SH EXIT STATUS AND ENVIRONMENT\n" + escaped(kEndHelp) + ".SH SEE ALSO\n" +
         (command ? bold("oprj") + "(1),\n" : "") + bold("oprj-tables") + "(5),\n" +
         bold("oprj-grids") + "(5)\n";
}

/// All pages, each in a file of its name.
void writePages(const CLI::App &app, const std::string &folder) {
  const auto write = [&folder](const std::string &name, const std::string &page) {
    Output output(folder + "/" + name + ".1");
    output.put(page);
    output.finish();
  };
  write("oprj", pageOf(app));
  for (const CLI::App *command : commandsOf(app))
    write("oprj-" + command->get_name(), pageOf(app, command));
}

struct Options {
  std::string command, folder, shell;
};

Status run(const CLI::App &app, const Options &options) {
  if (!options.folder.empty()) {
    writePages(app, options.folder);
    return kGood;
  }
  const CLI::App *asked = nullptr;
  std::vector<std::string> names;
  for (const CLI::App *command : commandsOf(app)) {
    names.push_back(command->get_name());
    if (names.back() == options.command) asked = command;
  }
  if (!asked && !options.command.empty())
    throw Stop(kUsage, withNearest("there is no command \"" + options.command + "\"",
                                   options.command, names));
  std::fputs(options.shell.empty() ? pageOf(app, asked).c_str() : completionScript(options.shell),
             stdout);
  return kGood;
}

}  // namespace

void addManual(CLI::App &app, const Console &, Action &action) {
  CLI::App *manual = app.add_subcommand(
      "manual",
      "Print the manual page of the program or of a command (troff), or completion for shells");
  auto options = std::make_shared<Options>();
  manual->add_option("command", options->command, "The command; the program when left out");
  CLI::Option *const shell = manual
                                 ->add_option("--completion", options->shell,
                                              "Print the completion script of a shell instead")
                                 ->check(CLI::IsMember({"bash", "zsh", "fish"}));
  manual->add_option("--pages", options->folder, "Write all pages into this folder instead")
      ->type_name("FOLDER")
      ->excludes(shell);
  manual->callback(
      [&app, &action, options] { action = [&app, options] { return run(app, *options); }; });
}

}  // namespace program
