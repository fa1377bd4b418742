// oprj list: what the reference tables and the unit service know.
#include <cstdio>

#include "codes.h"
#include "commands.h"
#include "system.h"
#include "table.h"

namespace program {
namespace {

Table listProjections(const Oprj_InitData &data) {
  Table table({"number", "name", "computed", "outside"});
  for (const auto *query = data.queryTable; query; query = query->next) {
    const bool internal = query->type == OPRJ_INTERNAL;
    Oprj_ProParameters record{};
    record.proType = query->type;
    if (!internal) record.proExeName.data = query->executable;
    table.add({internal ? Cell(query->number) : Cell(query->executable), query->name,
               oprj_QueryIsComputed(query) != 0, outsideOf(record)});
  }
  return table;
}

Table listSpheroids(const Oprj_InitData &data) {
  Table table({"number", "name", "a", "b", "aliases"});
  for (const auto *entry = data.spheroidTable; entry; entry = entry->next) {
    std::string aliases;
    for (const auto *alias = entry->aliases; alias; alias = alias->next)
      aliases += (aliases.empty() ? "" : "; ") + std::string(alias->name);
    table.add({entry->number, entry->name, entry->a, entry->b, aliases});
  }
  return table;
}

Table listDatums(const Oprj_InitData &data) {
  static constexpr const char *kKinds[] = {"parametric", "grid", "regression", "none", "surface"};
  Table table({"name", "kind", "spheroid", "description"});
  for (const auto *entry = data.spheroidTable; entry; entry = entry->next) {
    for (const auto *datum = entry->datums; datum; datum = datum->next)
      table.add({datum->name, kKinds[datum->type], entry->name,
                 datum->description ? datum->description : ""});
  }
  return table;
}

Table listZones(const Oprj_InitData &data) {
  Table table({"zone", "fips", "nad", "state", "name"});
  for (const auto *entry = data.statePlaneTable; entry; entry = entry->next)
    table.add({entry->zoneNumber, -entry->fipsCode, entry->nadCode == 2 ? "NAD83" : "NAD27",
               entry->stateName, entry->zoneName});
  return table;
}

Table listUnits() {
  Table table({"name", "kind", "factor", "aliases"});
  for (int32_t i = 0; const Ocvt_Unit *unit = ocvt_UnitByIndex(i); ++i) {
    std::string aliases;
    for (const char *const *alias = unit->aliases; alias && *alias; ++alias)
      aliases += (aliases.empty() ? "" : "; ") + std::string(*alias);
    table.add({unit->name,
               unit->kind == OCVT_KIND_DISTANCE ? "distance"
               : unit->kind == OCVT_KIND_ANGLE  ? "angle"
                                                : "none",
               unit->factor, aliases});
  }
  return table;
}

Table listCodes(const std::vector<std::string> &words) {
  Table table(
      {"code", "kind", "name", "engine name", "west", "south", "east", "north", "deprecated"});
  for (const Oprj_Code *code : codesWith(words))
    table.add({textOf(*code), code->projected ? "projected" : "geographic", code->name,
               code->engineName, code->west, code->south, code->east, code->north,
               code->deprecated != 0});
  return table;
}

}  // namespace

void addList(CLI::App &app, const Console &console, Action &action) {
  CLI::App *command = app.add_subcommand(
      "list", "List projections, spheroids, datums, State Plane zones, units or codes");
  auto what = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  command->add_option("what", *what, "What to list")
      ->required()
      ->check(CLI::IsMember({"projections", "spheroids", "datums", "zones", "units", "codes"}));
  auto words = std::make_shared<std::vector<std::string>>();
  command->add_option("words", *words, "Codes only: what their names must contain")
      ->type_name("WORDS");
  command->add_flag("--json", *json, "As JSON");
  command->callback([what, words, json, &console, &action] {
    action = [what, words, json, &console] {
      if (!words->empty() && *what != "codes")
        throw Stop(kUsage, "only codes are searched by words");
      if (*what == "units") {
        listUnits().print(*json);
        return kGood;
      }
      const Oprj_InitData &data = referenceData(startLibrary(console));
      if (*what == "codes") {
        listCodes(*words).print(*json);
        return kGood;
      }
      const Table table = *what == "projections" ? listProjections(data)
                          : *what == "spheroids" ? listSpheroids(data)
                          : *what == "datums"    ? listDatums(data)
                                                 : listZones(data);
      table.print(*json);
      return kGood;
    };
  });
}

}  // namespace program
