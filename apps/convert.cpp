// oprj convert: a coordinate system in another form.
#include "commands.h"
#include "nodes.h"
#include "project_streams.h"

namespace program {
namespace {

using Write = void (*)(Oint_Toolkit *toolkit, const System &system, const std::string &output);

void writeText(Oint_Toolkit *toolkit, const System &system, const std::string &output) {
  Slot err;
  const OwnedText text(oprj_ProParametersToText(
      toolkit, system.record.get(), ocvt_UnitSetByName(system.unit.c_str(), nullptr), err.get()));
  if (!text) throw Stop(kUnusable, err.text());
  Output out(output);
  out.put(std::string(text.get()) + "\n");
  out.finish();
}

void writeNode(Oint_Toolkit *, const System &system, const std::string &output) {
  const LayerPlace place = layerPlace(output);
  OwnedFile file = openNodes(place.file, OHFA_UPDATE, true);
  makeLayer(file.get(), place.layer);
  Slot err;
  // What is foreign to the datum's type is emptied in the record.
  if (oprj_ProParametersWrite(file.get(), place.layer.c_str(), system.record.get(), err.get()))
    throw Stop(kInputOutput, err.text());
  closeNodes(std::move(file));
}

/// The forms, by the word that --to takes.
constexpr struct {
  const char *name;
  Write write;
} kForms[] = {{"text", writeText}, {"node", writeNode}};

}  // namespace

void addConvert(CLI::App &app, const Console &console, Action &action) {
  CLI::App *command = app.add_subcommand("convert", "Write a coordinate system in another form");
  auto text = std::make_shared<std::string>();
  auto to = std::make_shared<std::string>();
  auto output = std::make_shared<std::string>();
  command->add_option("system", *text, "Coordinate system")->required()->type_name("CS");
  std::vector<std::string> names;
  for (const auto &form : kForms) names.emplace_back(form.name);
  command->add_option("--to", *to, "text: as the other commands take it; node: into FILE::LAYER")
      ->required()
      ->check(CLI::IsMember(names));
  command
      ->add_option("-o,--output", *output,
                   "Write there instead of to standard output; FILE::LAYER for a node, which is "
                   "made when it is missing")
      ->type_name("OUT");
  command->footer(kSystemHelp);
  command->callback([text, to, output, &console, &action] {
    action = [text, to, output, &console] {
      Oint_Toolkit *toolkit = startLibrary(console);
      const System system = readSystem(toolkit, *text, console);
      if (!system.gridTrouble.empty()) console.warn(system.gridTrouble);
      for (const auto &form : kForms) {
        if (*to == form.name) form.write(toolkit, system, *output);
      }
      return kGood;
    };
  });
}

}  // namespace program
