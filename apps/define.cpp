// oprj define: asks on the terminal for a coordinate system and writes it as `NAME; key=value;
// ...`.
#include <cstdio>
#include <iostream>

#include "commands.h"
#include "project_streams.h"
#include "shift.h"

namespace program {
namespace {

/// The dialogue: prompts and complaints on standard error, answers from standard input.
class Dialogue {
 public:
  Dialogue(Oint_Toolkit *toolkit, const Console &console) : toolkit_(toolkit), console_(console) {}

  /// The whole description, which can be read and computed.
  std::string run() {
    const Oprj_Query &query = askProjection();
    text_ = query.name;
    if (asks(query, OPRJ_QUERY_STATE_PLANE_ZONE)) {
      askKey("nad", "North American Datum (27, 83 or harn)");
      askKey("zone", "State Plane zone (number, FIPS code or STATE ZONE)");
    } else {
      askDatum();
      if (asks(query, OPRJ_QUERY_UTM_ZONE)) askKey("zone", "UTM zone (1 to 60, then N or S)");
      else askQuestions(query.proParamsQuerylist);
    }
    const System system = readSystem(toolkit_, text_, console_);
    requireProjection(toolkit_, system, console_);
    Slot err;
    const OwnedText text(
        oprj_ProParametersToText(toolkit_, system.record.get(), nullptr, err.get()));
    if (!text) throw Stop(kUnusable, err.text());
    return text.get();
  }

 private:
  static std::string ask(const std::string &prompt) {
    std::fprintf(stderr, "%s: ", prompt.c_str());
    std::string answer;
    if (!std::getline(std::cin, answer)) {
      std::fprintf(stderr, "\n");
      throw Stop(kUnusable, "End of input");
    }
    return std::string(trimmed(answer));
  }

  static bool asks(const Oprj_Query &query, int32_t kind) {
    for (const auto *entry = query.paramsQuerylist; entry; entry = entry->next) {
      if (entry->kind == kind) return true;
    }
    return false;
  }

  const Oprj_Query &askProjection() {
    while (true) {
      const std::string answer = ask("Projection (name or number; ? lists them)");
      Slot err;
      const Oprj_Query *query = oprj_QueryFromText(toolkit_, answer.c_str(), err.get());
      if (query && oprj_QueryIsComputed(query)) return *query;
      if (answer == "?") listProjections();
      else if (query)
        complain("\"" + std::string(query->name) + "\" cannot be computed by this version");
      else complain(refusalText(err.report()));
    }
  }
  void listProjections() const {
    for (const auto *query = referenceData(toolkit_).queryTable; query; query = query->next) {
      if (oprj_QueryIsComputed(query))
        std::fprintf(stderr, "  %d  %s\n", query->number, query->name);
    }
  }
  static void complain(const std::string &message) { tell("  " + message); }

  /// Adds `key=answer` to the text; false, after telling why, when it cannot be. What else is still
  /// missing is asked later.
  bool take(const std::string &key, const std::string &answer) {
    const std::string longer = text_ + "; " + key + "=" + answer;
    Slot err;
    const OwnedRecord record(
        oprj_ProParametersFromText(toolkit_, longer.c_str(), nullptr, nullptr, err.get()));
    choices_.clear();
    if (record || oerr_KindGet(err.report()) == OPRJ_TEXT_INCOMPLETE) {
      text_ = longer;
      return true;
    }
    for (int32_t i = 0; const char *choice = oerr_SuggestionGet(err.report(), i); ++i)
      choices_.emplace_back(choice);
    complain(oerr_MessageGet(err.report()) + std::string(choices_.empty() ? "" : "; choose one:"));
    for (size_t i = 0; i < choices_.size(); ++i)
      complain("  " + std::to_string(i + 1) + "  " + choiceText(toolkit_, choices_[i].c_str()));
    return false;
  }

  /// Asks until the answer can be taken: as it is, or as the number of a choice that was offered.
  void askKey(const std::string &key, const std::string &prompt) {
    choices_.clear();
    while (true) {
      std::string answer = ask(prompt);
      if (answer.empty()) continue;
      if (int32_t number; ostr_ToInt32(answer.c_str(), &number) && number >= 1 &&
                          static_cast<size_t>(number) <= choices_.size())
        answer = choices_[static_cast<size_t>(number) - 1];
      if (take(key, answer)) return;
    }
  }

  void askDatum() {
    choices_.clear();
    askKey("datum", "Datum (`oprj list datums` lists them; Undefined for none)");
    if (text_.ends_with("=Undefined")) askKey("spheroid", "Spheroid");
  }

  void askQuestions(const Oprj_QueryEntry *list) {
    for (const Oprj_QueryEntry *entry = list; entry; entry = entry->next) {
      if (entry->kind == OPRJ_QUERY_CONDITION) askQuestions(askBranch(*entry).queryEntryList);
      else askValue(*entry);
    }
  }

  const Oprj_CondQueryEntry &askBranch(const Oprj_QueryEntry &entry) {
    while (true) {
      for (const auto *branch = entry.conditionalList; branch; branch = branch->next)
        complain(numberText(branch->value) + "  " + branch->label);
      const std::string answer = ask(entry.prompt);
      for (const auto *branch = entry.conditionalList; branch; branch = branch->next) {
        if ((answer == numberText(branch->value) ||
             ostr_EqualIgnoringCase(answer.c_str(), branch->label)) &&
            take("p" + std::to_string(entry.index), numberText(branch->value)))
          return *branch;
      }
    }
  }

  void askValue(const Oprj_QueryEntry &entry) {
    const bool angle = entry.kind == OPRJ_QUERY_ANGLE;
    const std::string unit = angle                               ? "degrees"
                             : entry.kind == OPRJ_QUERY_DISTANCE ? "metres"
                             : entry.kind == OPRJ_QUERY_INTEGER  ? "a whole number"
                                                                 : "a number";
    const std::string otherwise =
        entry.needed
            ? ""
            : "; Enter for " + (entry.defaultKey ? std::string("that of ") + entry.defaultKey
                                                 : numberText(entry.defaultValue));
    const std::string slot = "p" + std::to_string(entry.index);
    const std::string prompt = std::string(entry.prompt) +
                               (entry.key ? std::string(", ") + entry.key : "") + " (" + unit +
                               otherwise + ")";
    while (true) {
      const std::string answer = ask(prompt);
      if (answer.empty() && !entry.needed) return;
      if (answer.empty()) continue;
      if (take(entry.key ? entry.key : slot, answer + (entry.key || !angle ? "" : "d"))) return;
    }
  }

  Oint_Toolkit *toolkit_;
  const Console &console_;
  std::string text_;
  std::vector<std::string> choices_;  ///< offered after a bad answer
};

Status define(const std::string &file, const Console &console) {
  const std::string text = Dialogue(startLibrary(console), console).run();
  Output output(file);
  output.put(text + "\n");
  output.finish();
  return kGood;
}

}  // namespace

void addDefine(CLI::App &app, const Console &console, Action &action) {
  CLI::App *command = app.add_subcommand(
      "define", "Ask for a coordinate system and write it as the other commands take it");
  auto file = std::make_shared<std::string>();
  command->add_option("-o,--output", *file, "Write there instead of to standard output")
      ->type_name("FILE");
  command->callback(
      [file, &console, &action] { action = [file, &console] { return define(*file, console); }; });
}

}  // namespace program
