// oprj convert: a coordinate system in another form.
#include <filesystem>
#include <fstream>

#include "commands.h"
#include "convert.h"
#include "nodes.h"
#include "project_streams.h"

namespace program {
namespace {

/// Writes a file that is there whole or not at all; behind a link the file that it leads to.
void writeWhole(const std::string &path, const std::string &content) {
  std::error_code problem;
  const auto target = std::filesystem::weakly_canonical(path, problem);
  const std::string part = target.string() + ".part";
  std::ofstream file(part, std::ios::binary);
  file << content;
  file.close();
  if (file) std::filesystem::rename(part, target, problem);
  if (!file || problem) {
    std::filesystem::remove(part, problem);
    throw Stop(kInputOutput, "cannot write " + path);
  }
}

void writeOut(const std::string &text, const std::string &output) {
  std::error_code none;
  const auto kind = std::filesystem::status(output, none).type();
  const bool isFile =
      kind == std::filesystem::file_type::regular || kind == std::filesystem::file_type::not_found;
  if (!output.empty() && output != "-" && isFile) return writeWhole(output, text);
  Output out(output);  // a device or a pipe is there already, and stays
  out.put(text);
  out.finish();
}

void writeEngineText(Oint_Toolkit *toolkit, const System &system, const std::string &output) {
  writeOut(engineTextOf(toolkit, system) + "\n", output);
}
/// A .prj file has no line break behind its text.
void writePrj(Oint_Toolkit *toolkit, const System &system, const std::string &output) {
  writeOut(engineTextOf(toolkit, system), output);
}
void writeText(Oint_Toolkit *toolkit, const System &system, const std::string &output) {
  writeOut(descriptionOf(toolkit, system) + "\n", output);
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
  void (*write)(Oint_Toolkit *toolkit, const System &system, const std::string &output);
} kForms[] = {
    {"text", writeText}, {"wkt", writeEngineText}, {"prj", writePrj}, {"node", writeNode}};

}  // namespace

std::string engineTextOf(Oint_Toolkit *, const System &system) {
  // One that was given stays as it is, but for the blanks between its parts.
  OwnedEngineSystem object = readEngineText(system.text.c_str());
  if (!object) object = engineSystemOf(*system.record);
  Slot err;
  if (!object)
    object.reset(
        oprj_ProParametersToCOORDSYS(system.record.get(), system.unit.c_str(), nullptr, err.get()));
  if (!object) throw Stop(kUnusable, system.title + ": " + err.rootMessage());
  const OwnedText text(oawp_PE_pe_coordsys_to_string(object.get(), nullptr, 0));
  if (!text) throw Stop(kUnusable, system.title + ": its text cannot be made");
  return text.get();
}

std::string descriptionOf(Oint_Toolkit *toolkit, const System &system) {
  Slot err;
  const OwnedText text(oprj_ProParametersToText(
      toolkit, system.record.get(), ocvt_UnitSetByName(system.unit.c_str(), nullptr), err.get()));
  if (!text) throw Stop(kUnusable, system.title + ": " + err.rootMessage());
  if (isEngineText(text.get()))
    throw Stop(kUnusable, system.title + " has no projection number, and so no such text");
  return text.get();
}

void addConvert(CLI::App &app, const Console &console, Action &action) {
  CLI::App *command = app.add_subcommand("convert", "Write a coordinate system in another form");
  auto text = std::make_shared<std::string>();
  auto to = std::make_shared<std::string>();
  auto output = std::make_shared<std::string>();
  command->add_option("system", *text, "Coordinate system")->required()->type_name("CS");
  std::vector<std::string> names;
  for (const auto &form : kForms) names.emplace_back(form.name);
  command
      ->add_option(
          "--to", *to,
          "text: as the other commands take it; wkt, prj: of the Projection Engine; node: into "
          "FILE::LAYER")
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
