// What may stand next on a command line, for the completion of shells.
#ifndef OPRJ_APPS_COMPLETE_H
#define OPRJ_APPS_COMPLETE_H

#include "commands.h"

namespace program {

/// The command that the scripts call with the words behind `oprj`, up to the one that is completed,
/// as they were typed.
inline constexpr std::string_view kCompleteCommand = "__complete";

/// What is printed for `words`: whole words, a line each; kFiles where a file belongs.
std::vector<std::string> completions(CLI::App &app, std::vector<std::string> words,
                                     const Console &console);
inline constexpr const char *kFiles = "<files>";

/// The script of a shell: bash, zsh or fish.
const char *completionScript(std::string_view shell);

}  // namespace program

#endif
