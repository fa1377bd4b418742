// oprj library: projection libraries and what is in them.
#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "codes.h"
#include "commands.h"
#include "libraries.h"
#include "system.h"
#include "table.h"

namespace program {
namespace {

using Words = std::vector<std::string>;

struct Wanted {
  std::string words, category;
  std::vector<double> place;
  bool json = false;
  bool any() const { return !words.empty() || !category.empty() || !place.empty(); }
};

std::string placeOf(const Oprj_ProjectionLibrary *library, const Oprj_ProjectionItem &item) {
  return "@" + std::string(oprj_ProjectionLibraryName(library)) + "/" + item.title;
}

Table listLibraries(Oint_Toolkit *toolkit) {
  Table table({"library", "items", "description"});
  for (const std::string &name : libraryNames(toolkit)) {
    const OwnedLibrary library = openLibrary(toolkit, name);
    table.add({name, oprj_ProjectionLibraryCount(library.get()),
               oprj_ProjectionLibraryDescription(library.get())});
  }
  return table;
}

/// A side of an area; nothing where there is none.
Cell side(const Oprj_ProjectionItem &item, double degrees) {
  Cell cell(degrees);
  if (!item.hasArea) {
    cell.text.clear();
    cell.json = "null";
  }
  return cell;
}

void addItems(Table &table, const Oprj_ProjectionLibrary *library, const Wanted &wanted) {
  Slot err;
  int32_t count = 0;
  const Oprj_Coordinate place =
      wanted.place.empty() ? Oprj_Coordinate{} : Oprj_Coordinate{wanted.place[0], wanted.place[1]};
  const std::unique_ptr<int32_t, decltype([](int32_t *block) { omsc_HeapFree(block); })> found(
      oprj_ProjectionLibrarySearch(library, wanted.words.c_str(), wanted.category.c_str(),
                                   wanted.place.empty() ? nullptr : &place, &count, err.get()));
  if (!found) throw Stop(kUnusable, err.text());
  for (int32_t i = 0; i < count; ++i) {
    const Oprj_ProjectionItem &item = *oprj_ProjectionLibraryItem(library, found.get()[i]);
    const auto text = [](const char *words) { return words ? words : ""; };
    table.add({placeOf(library, item), text(item.code), text(item.category), text(item.unit),
               side(item, item.west), side(item, item.south), side(item, item.east),
               side(item, item.north)});
  }
}

/// All libraries, the items of one, or those of all that are wanted.
Status list(Oint_Toolkit *toolkit, const std::string &name, const Wanted &wanted) {
  if (name.empty() && !wanted.any()) {
    listLibraries(toolkit).print(wanted.json);
    return kGood;
  }
  Table table({"system", "code", "category", "units", "west", "south", "east", "north"});
  for (const std::string &each : name.empty() ? libraryNames(toolkit) : Words{name})
    addItems(table, openLibrary(toolkit, each).get(), wanted);
  table.print(wanted.json);
  return kGood;
}

/// In each library the first item that is the same system.
Status like(Oint_Toolkit *toolkit, const std::string &text, bool json, const Console &console) {
  const System system = readSystem(toolkit, text, console);
  requireProjection(toolkit, system, console);
  Slot err;
  Oprj_MapProjectionEx *made = nullptr;
  oprj_ProjectionInit(toolkit, system.record.get(), &made, err.get());
  const OwnedHandle handle(made);
  Table table({"system", "code"});
  bool found = false;
  for (const std::string &name : libraryNames(toolkit)) {
    const OwnedLibrary library = openLibrary(toolkit, name);
    const Oprj_ProjectionItem *item = oprj_ProjectionLibraryEquivalent(
        library.get(), handle.get(), system.unit.c_str(), err.get());
    if (err) throw Stop(kUnusable, name + ": " + err.text());
    if (item) table.add({placeOf(library.get(), *item), item->code ? item->code : ""});
    found = found || item;
  }
  table.print(json);
  if (!found) console.warn("no library has a system that means the same");
  return found ? kGood : kSomePointsFailed;
}

/// What is doubtful in a library's file: items that cannot be made, datums that are only names.
Status check(Oint_Toolkit *toolkit, const std::string &path) {
  const OwnedLibrary library = openLibrary(toolkit, path);
  Console quiet;
  quiet.quiet = true;
  logTo(quiet);
  Words findings;
  for (int32_t i = 0; i < oprj_ProjectionLibraryCount(library.get()); ++i) {
    const Oprj_ProjectionItem &item = *oprj_ProjectionLibraryItem(library.get(), i);
    const auto find = [&](const std::string &finding) {
      findings.push_back("\"" + std::string(item.title) + "\": " + finding);
    };
    Slot err;
    Oprj_MapProjectionEx *made = nullptr;
    quiet.warnings.clear();
    if (!oprj_ProjectionItemInit(toolkit, &item, &made, err.get())) find(err.rootMessage());
    const OwnedHandle handle(made);
    for (const std::string &warning : quiet.warnings) find(warning);
    if (item.unit && *item.unit && !ocvt_UnitSetByName(item.unit, err.get()))
      find(err.rootMessage());
    if (!item.elevation || !*item.elevation) continue;
    Oprj_ElevationInfo *elevation = oprj_ElevationInfoFromPEString(item.elevation, err.get());
    if (!elevation) find("its elevations: " + err.rootMessage());
    oprj_ElevationInfoFree(&elevation);
  }
  for (const std::string &finding : findings)
    std::printf("%s: %s\n", printable(path).c_str(), printable(finding).c_str());
  if (findings.empty()) std::printf("%s: nothing doubtful\n", printable(path).c_str());
  oerr_LogSinkSet(nullptr, nullptr);
  return findings.empty() ? kGood : kSomePointsFailed;
}

Status add(Oint_Toolkit *toolkit, const std::string &path, const std::string &title,
           const std::string &text, const std::string &category, const Console &console) {
  if (!lower(path).ends_with(".plib"))
    throw Stop(kUsage, "libraries are found in files whose names end in .plib");
  const System system = readSystem(toolkit, text, console);
  Slot err;
  OwnedLibrary library;
  if (std::filesystem::exists(path)) library = openLibrary(toolkit, path);
  else
    library.reset(oprj_ProjectionLibraryCreate(std::filesystem::path(path).stem().string().c_str(),
                                               err.get()));
  if (!library) throw Stop(kUnusable, err.text());
  Oprj_ProjectionItem item{};
  item.title = title.c_str();
  item.category = category.c_str();
  item.record = system.record.get();
  // The unit is told where it is not the usual one.
  if (system.unit != (system.geographic ? "dd" : "meters")) item.unit = system.unit.c_str();
  std::string codeText;
  if (const Oprj_Code *code = text.find_first_of(";[@") == text.npos ? findCode(text) : nullptr) {
    codeText = textOf(*code);
    item.code = codeText.c_str();
    item.hasArea = 1;
    item.west = code->west;
    item.south = code->south;
    item.east = code->east;
    item.north = code->north;
  }
  bool added = oprj_ProjectionLibraryAdd(library.get(), &item, err.get()) != 0;
  if (!added && isEngineText(system.text)) {  // the text says what no record of an item can
    item.string = system.text.c_str();
    item.unit = nullptr;
    added = oprj_ProjectionLibraryAdd(library.get(), &item, err.get()) != 0;
  }
  if (!added) throw Stop(kUnusable, err.text());
  if (!oprj_ProjectionLibraryWrite(library.get(), path.c_str(), err.get()))
    throw Stop(kInputOutput, err.text());
  return kGood;
}

}  // namespace

void addLibrary(CLI::App &app, const Console &console, Action &action) {
  CLI::App *command = app.add_subcommand(
      "library", "List and search projection libraries, check and extend their files");
  auto name = std::make_shared<std::string>(), title = std::make_shared<std::string>(),
       system = std::make_shared<std::string>(), path = std::make_shared<std::string>();
  auto wanted = std::make_shared<Wanted>();
  command->add_option("name", *name, "A library by name or file; all when it is left out")
      ->type_name("LIBRARY");
  command->add_option("--match", wanted->words, "Only items with these words, in any case")
      ->type_name("WORDS");
  command->add_option("--category", wanted->category, "Only items in this category")
      ->type_name("CATEGORY");
  command
      ->add_option("--at", wanted->place,
                   "Only items for this place in degrees, those for the smallest areas first")
      ->expected(2)
      ->delimiter(',')
      ->type_name("LON,LAT");
  command->add_flag("--json", wanted->json, "As JSON");
  command->footer(kSystemHelp);
  command->callback([=, &console, &action] {
    if (!command->get_subcommands().empty()) return;  // which has set what is run
    action = [=, &console] { return list(startLibrary(console), *name, *wanted); };
  });

  const auto verb = [&](const char *word, const char *help) {
    CLI::App *made = command->add_subcommand(word, help);
    made->footer(kSystemHelp);
    return made;
  };
  CLI::App *same = verb("like", "Find the items that are a coordinate system");
  same->add_option("system", *system, "Coordinate system")->required()->type_name("CS");
  same->add_flag("--json", wanted->json, "As JSON");
  same->callback([=, &console, &action] {
    action = [=, &console] { return like(startLibrary(console), *system, wanted->json, console); };
  });
  CLI::App *lint = verb("check", "Tell what is wrong in a library's file, or doubtful");
  lint->add_option("file", *path, "Library file")->required()->type_name("FILE");
  lint->callback([=, &console, &action] {
    action = [=, &console] { return check(startLibrary(console), *path); };
  });
  CLI::App *extend = verb("add", "Write a coordinate system into a library's file");
  extend->add_option("file", *path, "Library file; made when it is missing")
      ->required()
      ->type_name("FILE.plib");
  extend->add_option("title", *title, "Title of the item")->required()->type_name("TITLE");
  extend->add_option("system", *system, "Coordinate system")->required()->type_name("CS");
  extend
      ->add_option("--category", wanted->category,
                   "The categories around it, with \"/\" between them")
      ->type_name("CATEGORY");
  extend->callback([=, &console, &action] {
    action = [=, &console] {
      return add(startLibrary(console), *path, *title, *system, wanted->category, console);
    };
  });
}

}  // namespace program
