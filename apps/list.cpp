// oprj list: what the reference tables and the unit service know.
#include <cstdio>

#include "commands.h"

namespace program {
namespace {

/// What a table shows in one place: for people, and in JSON.
struct Cell {
  std::string text, json;
  Cell(const char *words) : text(words), json(jsonText(words)) {}
  Cell(const std::string &words) : Cell(words.c_str()) {}
  Cell(double value) : text(numberText(value)), json(text) {}
  Cell(int32_t value) : text(std::to_string(value)), json(text) {}
  Cell(bool value) : text(value ? "yes" : "no"), json(value ? "true" : "false") {}
};

/// Rows of named columns, as aligned text or as a JSON array of objects.
class Table {
 public:
  explicit Table(std::vector<std::string> columns) : columns_(std::move(columns)) {}
  void add(std::vector<Cell> cells) { rows_.push_back(std::move(cells)); }

  void print(bool json) const {
    if (json) {
      std::printf("[");
      for (size_t r = 0; r < rows_.size(); ++r) {
        std::printf("%s\n  {", r ? "," : "");
        for (size_t c = 0; c < columns_.size(); ++c) {
          std::printf("%s%s: %s", c ? ", " : "", jsonText(columns_[c]).c_str(),
                      rows_[r][c].json.c_str());
        }
        std::printf("}");
      }
      std::printf("\n]\n");
      return;
    }
    std::vector<size_t> widths;
    for (size_t c = 0; c < columns_.size(); ++c) {
      size_t width = 0;
      for (const auto &row : rows_) width = std::max(width, row[c].text.size());
      widths.push_back(width);
    }
    for (const auto &row : rows_) {
      for (size_t c = 0; c < columns_.size(); ++c) {
        const std::string &text = row[c].text;
        const bool last = c + 1 == columns_.size();
        std::printf("%s%s", text.c_str(),
                    last ? "\n" : std::string(widths[c] - text.size() + 2, ' ').c_str());
      }
    }
  }

 private:
  std::vector<std::string> columns_;
  std::vector<std::vector<Cell>> rows_;
};

Table listProjections(const Oprj_InitData &data) {
  Table table({"number", "name", "computed"});
  for (const auto *query = data.queryTable; query; query = query->next)
    table.add({query->type == OPRJ_INTERNAL ? Cell(query->number) : Cell(query->executable),
               query->name, oprj_QueryIsComputed(query) != 0});
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

}  // namespace

void addList(CLI::App &app, const Console &console, Action &action) {
  CLI::App *command =
      app.add_subcommand("list", "List projections, spheroids, datums, State Plane zones or units");
  auto what = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  command->add_option("what", *what, "What to list")
      ->required()
      ->check(CLI::IsMember({"projections", "spheroids", "datums", "zones", "units"}));
  command->add_flag("--json", *json, "As JSON");
  command->callback([what, json, &console, &action] {
    action = [what, json, &console] {
      if (*what == "units") {
        listUnits().print(*json);
        return kGood;
      }
      const Oprj_InitData &data = referenceData(startLibrary(console));
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
