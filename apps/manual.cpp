#include "manual.h"

#include <cstdio>

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
    std::printf(".TP\n.B %s\n%s\n", escaped(name).c_str(),
                escaped(option->get_description()).c_str());
  }
}

void printManual(const CLI::App &app) {
  std::printf(".TH OPRJ 1 \"\" \"oprj %s\"\n.SH NAME\noprj \\- %s\n", OPRJ_VERSION,
              escaped(app.get_description()).c_str());
  std::printf(".SH SYNOPSIS\n.B oprj\nCOMMAND [OPTIONS]\n.SH OPTIONS\n");
  printOptions(app);
  for (const CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; })) {
    std::printf(".SH COMMAND %s\n%s\n", command->get_name().c_str(),
                escaped(command->get_description()).c_str());
    printOptions(*command);
  }
  std::printf(".SH COORDINATE SYSTEMS\n.nf\n%s.fi\n", escaped(kSystemHelp).c_str());
  std::printf(
      ".SH EXIT STATUS\n0 all points good, 1 some points failed, 2 usage, 3 a coordinate system or "
      "data file "
      "that cannot be used, 4 input or output failed.\n"
      ".SH ENVIRONMENT\n.TP\n.B ORVIK_PROJECTIONS_PATH\nwhere mapprojections.dat and sptable.tab "
      "are found\n"
      ".TP\n.B ORVIK_DATUMS_PATH\nwhere spheroid*.tab and grids are found\n"
      ".TP\n.B OPRJ_ISA\ninstruction set to use: baseline, avx2 or avx512\n");
}

void printCompletion(const CLI::App &app) {
  std::string commands, cases;
  for (const CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; })) {
    commands += command->get_name() + " ";
    std::string options;
    for (const CLI::Option *option : command->get_options()) {
      for (const std::string &name : option->get_lnames()) options += "--" + name + " ";
    }
    cases += "    " + command->get_name() + ") words=\"" + options + "\" ;;\n";
  }
  std::printf(
      "_oprj() {\n  local words=\"%s\"\n  case \"${COMP_WORDS[1]}\" in\n%s  esac\n"
      "  [ \"$COMP_CWORD\" -eq 1 ] && words=\"%s\"\n"
      "  COMPREPLY=($(compgen -W \"$words\" -f -- \"${COMP_WORDS[COMP_CWORD]}\"))\n}\n"
      "complete -F _oprj oprj\n",
      commands.c_str(), cases.c_str(), commands.c_str());
}

}  // namespace

void addManual(CLI::App &app, Action &action) {
  CLI::App *manual =
      app.add_subcommand("manual", "Print the manual page (troff), or bash completion");
  auto completion = std::make_shared<bool>(false);
  manual->add_flag("--completion", *completion, "Print completion for bash instead");
  manual->callback([&app, &action, completion] {
    action = [&app, completion] {
      *completion ? printCompletion(app) : printManual(app);
      return kGood;
    };
  });
}

}  // namespace program
