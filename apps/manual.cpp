#include "manual.h"

#include <cstdio>

#include "complete.h"
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

std::string escaped(const std::string &text) {
  std::string result;
  bool lineStart = true;
  for (const char c : text) {
    if (lineStart && (c == '.' || c == '\'')) result += "\\&";
    if (c == '\\' || c == '-') result += '\\';
    result += c;
    lineStart = c == '\n';
  }
  return result;
}

void printOptions(const CLI::App &app) {
  for (const CLI::Option *option : app.get_options()) {
    const std::string name = option->get_name(option->get_positional(), true);
    std::printf(".TP\n\\fB%s\\fR", escaped(name).c_str());
    if (option->get_items_expected_max() > 0)
      std::printf(" %s", escaped(option->get_type_name()).c_str());
    std::printf("\n%s\n", escaped(option->get_description()).c_str());
  }
}

void printCommands(const CLI::App &app, const std::string &before) {
  for (const CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; })) {
    const std::string name = before + command->get_name();
    std::printf(".SH COMMAND %s\n%s\n", name.c_str(), escaped(command->get_description()).c_str());
    printOptions(*command);
    printCommands(*command, name + " ");
  }
}

void printManual(const CLI::App &app) {
  std::printf(".TH OPRJ 1 \"\" \"oprj %s\"\n.SH NAME\noprj \\- %s\n", OPRJ_VERSION,
              escaped(app.get_description()).c_str());
  std::printf(".SH SYNOPSIS\n.B oprj\nCOMMAND [OPTIONS]\n.SH OPTIONS\n");
  printOptions(app);
  printCommands(app, "");
  std::printf(".SH COORDINATE SYSTEMS\n.nf\n%s.fi\n", escaped(kSystemHelp).c_str());
  std::printf(".SH EXIT STATUS AND ENVIRONMENT\n.nf\n%s.fi\n", escaped(kEndHelp).c_str());
}

}  // namespace

void addManual(CLI::App &app, Action &action) {
  CLI::App *manual =
      app.add_subcommand("manual", "Print the manual page (troff), or completion for shells");
  auto shell = std::make_shared<std::string>();
  manual->add_option("--completion", *shell, "Print the completion script of a shell instead")
      ->check(CLI::IsMember({"bash", "zsh", "fish"}));
  manual->callback([&app, &action, shell] {
    action = [&app, shell] {
      shell->empty() ? printManual(app) : void(std::fputs(completionScript(*shell), stdout));
      return kGood;
    };
  });
}

}  // namespace program
