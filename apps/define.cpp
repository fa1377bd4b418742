// oprj define: asks the dictionary's questions on the terminal and prints the record.
#include <cstdio>

#include "commands.h"

namespace program {

void addDefine(CLI::App &app, const Console &console, Action &action) {
  CLI::App *command =
      app.add_subcommand("define", "Ask the dictionary's questions and print the result");
  command->callback([&console, &action] {
    action = [&console] {
      Oint_Toolkit *toolkit = startLibrary(console);
      Slot err;
      const Oprj_Query *query = oprj_QuerySelect(toolkit, err.get());
      if (!query) throw Stop(kUnusable, err.text());
      const OwnedRecord record(oprj_ProParametersQuery(toolkit, query, nullptr, err.get()));
      if (!record) throw Stop(kUnusable, err.text());
      if (err) console.warn(err.text());  // a grid that is missing hinders nobody yet
      std::printf("\n");
      oprj_ProParametersPrint(record.get(), err.get());
      return kGood;
    };
  });
}

}  // namespace program
