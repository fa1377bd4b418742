// Running the program: arguments and input in; results, messages and exit status out.
#ifndef OPRJ_TESTS_PROGRAM_SUPPORT_H
#define OPRJ_TESTS_PROGRAM_SUPPORT_H

#include <sstream>

#include "tests/support.h"

namespace orvik::test {

struct Outcome {
  int status;
  std::string out, err;
};

class ProgramTest : public testing::Test {
 protected:
  std::string path(const std::string &name) const { return folder_.path() + "/" + name; }

  /// Runs `ENVIRONMENT oprj ARGUMENTS READER` with `input` on standard input; a reader is a pipe
  /// to another program. The search paths are unset before: the program finds its data.
  Outcome run(const std::string &arguments, const std::string &input = "",
              const std::string &environment = "", const std::string &reader = "") const {
    const std::string command = "(env -u ORVIK_PROJECTIONS_PATH -u ORVIK_DATUMS_PATH " +
                                environment + " " OPRJ_BINARY_DIR "/bin/oprj " + arguments + " < " +
                                folder_.write("in", input) + " 2> " + path("err") + "; echo $? > " +
                                path("status") + ") " + reader + " > " + path("out");
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
    return {std::stoi(readFile(path("status"))), readFile(path("out")), readFile(path("err"))};
  }

  TemporaryDirectory folder_;
};

/// Each of the parts, which bars separate, is in the text.
inline void expectParts(const std::string &text, const std::string &parts) {
  std::istringstream all(parts);
  for (std::string part; std::getline(all, part, '|');)
    EXPECT_NE(text.find(part), std::string::npos) << part << "\n" << text;
}

}  // namespace orvik::test

#endif
