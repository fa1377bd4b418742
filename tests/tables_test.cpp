// Start and reference data: loading, its failures, reloading, threads, the spheroid table map.
#include <barrier>
#include <chrono>
#include <iomanip>
#include <sstream>

#include "tests/tables_support.h"

namespace {

using namespace orvik::test;

using Start = SmallTables;
using SpheroidTable = SmallTables;

// --- start ---

TEST_F(Start, InitReloadsFromTheFiles) {
  directory_.write("mapprojections.dat", "\"New\" { Internal 77 }");
  EXPECT_NE(oprj_QueryByName(toolkit(), "Everything", nullptr), nullptr);
  EXPECT_EQ(oprj_Init(nullptr, nullptr), nullptr);  // the process's own record
  EXPECT_EQ(oprj_QueryByName(toolkit(), "Everything", nullptr), nullptr);
  EXPECT_NE(oprj_QueryByName(toolkit(), "New", nullptr), nullptr);
}

TEST_F(Start, OneFailedTableKeepsTheSlotEmptyAndEveryLookupTriesAgain) {
  std::filesystem::remove(directory_.path() + "/sptable.tab");
  Slot slot;
  Oerr_Report **err = slot;
  const Oerr_Report *returned = oprj_Init(toolkit(), err);
  EXPECT_EQ(returned, slot.get());  // one report, in the slot and returned
  const std::string root =
      "oprj_Init: Failed to initialize toolkit (1) < "
      "InternalInit: Error returned from oprj_InitProjectionData (2) < "
      "oprj_InitProjectionData: Error returned from oprj_SPTableRead (4) < "
      "oprj_SPTableRead: Error returned from oprj_SPTableParse (2) < "
      "oprj_SPTableParse: Error returned from olex_Parse (2) < ";
  EXPECT_TRUE(slot.chain().starts_with(root)) << slot.chain();
  EXPECT_EQ(oprj_QueryByName(toolkit(), "Geographic", slot), nullptr);
  EXPECT_TRUE(slot.chain().starts_with("oprj_QueryByName: oprj_Init failed (2) < " + root));
  EXPECT_EQ(oprj_SpheroidEntryByNumber(toolkit(), 19, slot), nullptr);
  EXPECT_TRUE(slot.chain().starts_with(
      "oprj_SpheroidEntryByNumber: Error returned from oprj_Init (2) < " + root));
  directory_.write("sptable.tab", kSmallZones);
  EXPECT_NE(oprj_SpheroidEntryByNumber(toolkit(), 19, slot), nullptr);
}

TEST_F(Start, DataComesBackBesideTheReportOfTheLastFailedStep) {
  const LogCapture log;  // the datums are known to the process already
  const struct {
    const char *dictionary, *spheroids, *zones, *chain;
  } cases[] = {{"absent", nullptr, nullptr,
                "oprj_InitProjectionData: Error returned from oprj_QueryTableRead (2) < "
                "oprj_QueryTableRead: Error returned from oprj_QueryTableParse (2) < "
                "oprj_QueryTableParse: Error returned from olex_Parse (2) < "},
               {nullptr, "absent", nullptr,
                "oprj_InitProjectionData: Error returned from oprj_SpheroidTableRead (3) < "
                "oprj_SpheroidTableRead: Error returned from oprj_SpheroidTableParse (2) < "
                "oprj_SpheroidTableParse: Error returned from olex_Parse (2) < "},
               {"absent", "absent", "absent",
                "oprj_InitProjectionData: Error returned from oprj_SPTableRead (4) < "
                "oprj_SPTableRead: Error returned from oprj_SPTableParse (2) < "
                "oprj_SPTableParse: Error returned from olex_Parse (2) < "}};
  for (const auto &c : cases) {
    Slot slot;
    const InitDataPtr data(oprj_InitProjectionData(c.dictionary, c.spheroids, c.zones, slot));
    EXPECT_TRUE(slot.chain().starts_with(c.chain)) << slot.chain();
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(data->queryTable == nullptr, c.dictionary != nullptr);
    EXPECT_EQ(data->spheroidTable == nullptr, c.spheroids != nullptr);
    EXPECT_EQ(data->statePlaneTable == nullptr, c.zones != nullptr);
    EXPECT_NE(data->dictionary, nullptr);
  }
}

TEST_F(Start, DictionariesReadOneAfterTheOtherAreConcatenated) {
  const LeakCheck leaks;
  directory_.write("more.dat", "\"More\" { Internal 1 } \"Geographic\" { Internal 2 }");
  directory_.write("zones.tab", "\"G\" \"Z\" 9 nad27 1 9 1 2 3 4 5 6 7 8 9");
  const InitDataPtr data(oprj_InitDataCreate(nullptr));
  Slot slot;
  oprj_QueryTableRead(data.get(), nullptr, slot);
  EXPECT_EQ(oprj_QueryTableRead(data.get(), "more.dat", slot), data->queryTable);
  expectNoReport(slot);
  std::string names;
  for (const auto *query = data->queryTable; query; query = query->next)
    names += std::string(query->name) + ";";
  EXPECT_EQ(names, "Geographic;Everything;Outside;More;Geographic;");
  oprj_SPTableRead(data.get(), nullptr, slot);
  oprj_SPTableRead(data.get(), "zones.tab", slot);
  EXPECT_STREQ(data->statePlaneTable->next->next->next->stateName, "G");
  // A failed read leaves what is there.
  EXPECT_EQ(oprj_QueryTableRead(data.get(), "absent.dat", slot), nullptr);
  expectReport(slot, "oprj_QueryTableRead", 2, "Error returned from oprj_QueryTableParse");
  EXPECT_STREQ(data->queryTable->name, "Geographic");
}

TEST_F(Start, ReadersRefuseMissingData) {
  Slot slot;
  expectRefusal(oprj_QueryTableRead(nullptr, nullptr, slot), slot,
                "oprj_QueryTableRead: Invalid input InitData (1)");
  expectRefusal(oprj_SpheroidTableRead(nullptr, nullptr, slot), slot,
                "oprj_SpheroidTableRead: Invalid input InitData (1)");
  expectRefusal(oprj_SPTableRead(nullptr, nullptr, slot), slot,
                "oprj_SPTableRead: Invalid input InitData (1)");
  oprj_InitDataFree(nullptr);
}

TEST_F(Start, ThreadsThatStartTogetherLoadOnce) {
  for (int round = 0; round < 20; ++round) {
    unload();
    std::vector<const Oprj_Query *> found(4);
    std::barrier start(std::ssize(found));
    inThreads(found.size(), [&](size_t i) {
      start.arrive_and_wait();
      found[i] = oprj_QueryByName(toolkit(), "Everything", nullptr);
      for (int n = 0; n < 1000; ++n)
        if (oprj_QueryByNumber(toolkit(), 41, nullptr) != found[i]) found[i] = nullptr;
    });
    ASSERT_NE(found[0], nullptr);
    ASSERT_EQ(found, std::vector(4, found[0]));
  }
}

TEST_F(Start, WithoutTheVariableTheCurrentDirectoryIsSearched) {
  const auto here = std::filesystem::current_path();
  const TemporaryDirectory other;
  other.write("mapprojections.dat", "\"From here\" { Internal 5 }");
  const ScopedEnvironment unset("ORVIK_PROJECTIONS_PATH", nullptr);
  std::filesystem::current_path(other.path());
  Slot slot;
  const QueryPtr list(oprj_QueryTableParse(nullptr, nullptr, slot));
  EXPECT_EQ(oprj_SPTableParse(nullptr, nullptr, slot), nullptr);
  std::filesystem::current_path(here);
  ASSERT_NE(list, nullptr);
  EXPECT_STREQ(list->name, "From here");
}

// --- every allocation ---

TEST_F(Start, EveryAllocationOfTheReadersMayFail) {
  unload();
  const LeakCheck leaks;
  const InitDataPtr data(oprj_InitDataCreate(nullptr));
  forEachAllocationFailure([&](auto err) { return oprj_QueryTableRead(data.get(), nullptr, err); },
                           [&] { EXPECT_EQ(data->queryTable, nullptr); });
  forEachAllocationFailure([&](auto err) { return oprj_SPTableRead(data.get(), nullptr, err); },
                           [&] { EXPECT_EQ(data->statePlaneTable, nullptr); });
  const std::string file = directory_.write("more.tab",
                                            "\"More\" { 99 3 2 alias \"M\" description \"d\"\n"
                                            "\"New datum\" grid \"g\" description \"d\" }");
  forEachAllocationFailure(
      [&](auto err) { return oprj_SpheroidTableRead(data.get(), file.c_str(), err); },
      [&] { EXPECT_EQ(data->spheroidTable, nullptr); });
}

TEST_F(Start, EveryAllocationOfTheDirectoryWalkMayFail) {
  unload();
  const LeakCheck leaks;
  // A file name that cannot be formed is printed, and the walk goes on.
  const std::string printed = complained([&] {
    forEachAllocationFailure([&](auto err) {
      return bool(SpheroidListPtr(oprj_SpheroidTableParse(nullptr, nullptr, err)));
    });
  });
  EXPECT_NE(printed.find("oprj_SpheroidTableParse: ofnp_FileNameSet fail (code 5"),
            std::string::npos);
}

TEST_F(Start, InitProjectionDataSurvivesEveryAllocationFailure) {
  const LogCapture log;  // the datums are known to the process already
  // Dictionaries of designs live as long as the process, so blocks are not counted here.
  complained([&] {
    for (int64_t n = 1;; ++n) {
      Slot slot;
      Oerr_Report **err = slot;
      omsc_HeapFailNth(n);
      const InitDataPtr data(oprj_InitProjectionData(nullptr, nullptr, nullptr, err));
      const bool whole = data && data->queryTable && data->spheroidTable && data->statePlaneTable &&
                         data->dictionary;
      const bool untouched = omsc_HeapFailNth(0) < n;
      if (!whole) {
        EXPECT_TRUE(slot.failed()) << "allocation " << n << " failed without a report";
      }
      if (untouched) {
        EXPECT_TRUE(whole) << slot.chain();
        break;
      }
    }
  });
}

// --- the spheroid table map ---

std::string namesOf(const Oprj_SpheroidTableEntry *list) {
  std::string names;
  for (; list; list = list->next) {
    names += std::string(list->name) + ":";
    for (const auto *datum = list->datums; datum; datum = datum->next)
      names += std::string(datum->name) + ",";
    names += ";";
  }
  return names;
}

/// The list that the reference data uses.
const Oprj_SpheroidTableEntry *loadedList() {
  return oprj_InitDataGet(toolkit(), nullptr)->spheroidTable;
}

/// All that an entry holds, "-" standing for no text.
std::string told(const Oprj_SpheroidTableEntry &entry) {
  const auto text = [](const char *held) { return held ? held : "-"; };
  std::ostringstream out;
  out << std::setprecision(9) << entry.name << ' ' << entry.number << ' ' << entry.a << ' '
      << entry.b << ' ' << text(entry.description);
  for (const auto *alias = entry.aliases; alias; alias = alias->next) out << ' ' << alias->name;
  for (const auto *datum = entry.datums; datum; datum = datum->next) {
    out << '\n' << datum->name << ' ' << datum->type;
    for (double parameter : datum->params) out << ' ' << parameter;
    out << ' ' << text(datum->gridname) << ' ' << text(datum->description);
    if (const Oprj_SurfaceSource *surface = datum->surface)
      out << " surface " << surface->kind << ' ' << surface->longitudeShift << ' '
          << surface->latitudeShift << ' ' << text(surface->longitudeFile) << ' '
          << text(surface->latitudeFile) << ' ' << surface->bilinear << surface->hasNodata << ' '
          << surface->nodata << ' ' << surface->baseDatum << ' ' << surface->baseIsGrid
          << surface->fromDatum;
  }
  return out.str();
}

TEST_F(SpheroidTable, ReadsEveryConstruct) {
  EXPECT_EQ(told(*loadedList()),
            "Clarke 1866 0 6378206.4 6356583.8 old clrk66 C66\n"
            "Clarke 1866 0 0 0 0 0 0 0 0 - -\n"
            "Shifted 0 -8 160.5 176 1e-06 -2e-06 3e-06 5e-07 - seven\n"
            "Gridded 1 0 0 0 0 0 0 0 no-such-file.grd -\n"
            "Regressed 2 0 0 0 0 0 0 0 - -\n"
            "Moved 4 0 0 0 0 0 0 0 - - surface 0 1.5 -2 - - 00 0 Shifted 00\n"
            "Imaged 4 0 0 0 0 0 0 0 - - surface 1 0 0 a.img b.img 11 -9 Gridded 11\n"
            "Drawn 4 0 0 0 0 0 0 0 - - surface 2 0 0 v.vec - 00 0 Shifted 00");
}

TEST_F(SpheroidTable, FilesJoinInByteOrderAndTheFirstDatumWins) {
  const TemporaryDirectory second;
  directory_.write("spheroidX.tab",
                   "\"Ball\" { 19 6370997 6370997 \"In ppm\" parametric 1 2 3 0 0 0 -2.5 "
                   "\"Mine\" regression }");
  directory_.write("spheroid_1.tab", "\"Ball\" { 19 6370997 6370997 \"Mine\" grid \"late\" }");
  directory_.write("myspheroid.tab", "\"Not read\" { 1 1 1 }");
  second.write("spheroid.tab",
               "\"Egg\" { 4 1 1 alias \"new alias\" \"Shifted\" regression \"Egg 2\" regression }\n"
               "\"Last\" { 5 2 1 }");
  // what the first holds is told once, though the last leads to it again
  const ScopedEnvironment both(
      "ORVIK_DATUMS_PATH",
      (directory_.path() + ";" + second.path() + ";" + directory_.path() + "/.").c_str());
  const LogCapture log;
  reload();
  const auto *list = loadedList();
  EXPECT_EQ(namesOf(list),
            "Clarke 1866:Clarke 1866,Shifted,Gridded,Regressed,Moved,Imaged,Drawn,;"
            "Ball:Mine,;Egg:Egg datum,Egg 2,;Last:;");
  EXPECT_EQ(list->next->datums->type, OPRJ_DATUM_REGRESSION);
  EXPECT_EQ(list->next->next->a, 6000000.0);
  EXPECT_EQ(list->next->next->number, -3);
  EXPECT_EQ(log.lines(),
            (std::vector<std::string>{
                "In ppm is not loaded because its scale difference -2.5 does not lie between -0.1 "
                "and 0.1",
                "Mine is not loaded because the datum with same name already exists",
                "Egg keeps the number and the axes that were read first",
                "Shifted is not loaded because the datum with same name already exists"}));
}

TEST_F(SpheroidTable, ClashesAreToldAndEqualDefinitionsAreNot) {
  const std::string again = "\"Ball\" { 19 6370997 6370997 ";
  const std::string own = "\"Clarke 1866\" { 0 6378206.4 6356583.8 ";
  const std::string known = " is not loaded because the datum with same name already exists";
  const std::pair<std::string, std::vector<std::string>> cases[] = {
      {kSmallSpheroids, {}},
      {own + "alias \"C66\" alias \"clrk66\" description \"other\" \"Regressed\" regression "
             "description \"other\" \"Gridded\" grid \"no-such-file.grd\" }",
       {}},
      {own + "\"Gridded\" grid \"other.grd\" }", {"Gridded" + known}},
      {own + "\"Shifted\" parametric -8 160.5 176 1e-6 -2e-6 3e-6 5e-8 }", {"Shifted" + known}},
      {own + "\"Moved\" surface constant longitude 1.5 latitude 2 basedatum \"Shifted\" }",
       {"Moved" + known}},
      {again + "\"Regressed\" regression }", {"Regressed" + known}},  // on another spheroid
      {"\"Ball\" { 20 6370997 6370997 }",
       {"Ball keeps the number and the axes that were read first"}},
      {"\"Bullet\" { 19 2 1 }",
       {"The spheroid number 19 finds Ball, not Bullet, which was read later"}},
      {"\"Bullet\" { 98 2 1 alias \"Egg\" alias \"C66\" alias \"Fine\" }",
       {"The spheroid name Egg finds Egg, not Bullet, which was read later",
        "The spheroid name C66 finds Clarke 1866, not Bullet, which was read later"}},
      {"\"clrk66\" { 99 2 1 }",
       {"The spheroid name clrk66 finds Clarke 1866, not clrk66, which was read later"}},
  };
  for (const auto &[table, told] : cases) {
    const LogCapture log;
    directory_.write("spheroid_later.tab", table);
    reload();
    EXPECT_EQ(log.lines(), told) << table;
    for (const char *first : {"Clarke 1866", "Ball", "Egg"})
      EXPECT_STREQ(oprj_SpheroidEntryByName(toolkit(), first, nullptr)->name, first) << table;
  }
  directory_.write("spheroid_later.tab", again + "alias \"Round\" }");  // joins, as datums do
  reload();
  EXPECT_STREQ(oprj_SpheroidEntryByName(toolkit(), "Round", nullptr)->name, "Ball");
}

TEST_F(SpheroidTable, LongTablesTakeTimeInProportion) {
  std::string apart, together;
  for (int i = 0; i < 40000; ++i) {
    const std::string n = std::to_string(i), datum = " \"D" + n + "\" regression }\n";
    apart += "\"S" + n + "\" { " + n + " 2 1 alias \"A" + n + "\"" + datum;
    together += "\"S\" { 1 2 1 alias \"A" + n + "\"" + datum;
  }
  unload();
  for (const auto &[table, count] : {std::pair(apart, 40000), std::pair(together, 1)}) {
    const InitDataPtr data(oprj_InitDataCreate(nullptr));
    const std::string file = directory_.write("long.tab", table);
    const auto start = std::chrono::steady_clock::now();
    const auto *list = oprj_SpheroidTableRead(data.get(), file.c_str(), nullptr);
    EXPECT_EQ(oprj_SpheroidTableRead(data.get(), file.c_str(), nullptr), list);  // nothing new
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    int entries = 0;
    for (; list; list = list->next) ++entries;
    EXPECT_EQ(entries, count);
  }
}

TEST_F(SpheroidTable, SyntaxErrorsArePrintedAndWhatCameBeforeStays) {
  directory_.write("spheroid.tab", "\"A\" { 1 2 1 \"D\" regression }\n\"B\" { 2 0 1 }");
  directory_.write("spheroidb.tab", "\"C\" { 3 2 1 }");
  const std::string complaint = complained([&] { reload(); });
  EXPECT_EQ(namesOf(loadedList()), "A:D,;C:;");
  EXPECT_NE(complaint.find("spheroid.tab:2:9: expected the length of an axis, above 0, found \"0"),
            std::string::npos)
      << complaint;
}

TEST_F(SpheroidTable, TellsWhereAndWhatItExpected) {
  const std::string start = "\"Q\" { 1 2 1 ";
  const std::pair<std::string, const char *> cases[] = {
      {"spheroidfile 5", "1:14: expected a title in quotes, found \"5\""},
      {"\"Q\" { 1 2 1.5.5 }", "1:11: expected the length of an axis, above 0, found \"1.5.5 }\""},
      {"\"Q \" { 1 2 1 }", "1:3: expected a name that does not end in a blank, found \" \" {"},
      {start + "alias \"\"", "1:20: expected a name between the quotes, found \"\"\""},
      {start + "\"d \" regression", "1:15: expected a name that does not end in a blank"},
      {start + "\"d\" grid \"g \"", "1:24: expected a name that does not end in a blank"},
      {start + "alias x", "1:19: expected a name in quotes, found \"x\""},
      {"\"Q\" { 1 2 nan", "1:11: expected the length of an axis, above 0, found \"nan\""},
      {start + "5", "1:13: expected a datum's name in quotes or \"}\", found \"5\""},
      {start + "\"d\" gridded",
       "1:17: expected parametric, grid, regression or surface, found \"gridded\""},
      {start + "\"d\" parametric 1 2 3 4 5 6 }", "1:40: expected seven parameters, found \"}\""},
      {start + "\"d\" surface grid", "1:25: expected constant, raster or vector, found \"grid\""},
      {start + "\"d\" surface constant longitude 1 latitude 2 fromdatum",
       "1:57: expected basedatum or gridbasedatum, found \"fromdatum\""},
      {start + "\"d\" surface raster longitude \"a\" latitude \"b\" resample cubic",
       "1:68: expected bilinear or nothing, found \"cubic\""}};
  for (const auto &[text, message] : cases) {
    Slot slot;
    SpheroidListPtr list;
    const std::string complaint =
        complained([&] { list.reset(oprj_SpheroidTableParse(text.c_str(), nullptr, slot)); });
    expectNoReport(slot);
    EXPECT_NE(complaint.find(std::string("text:") + message), std::string::npos) << complaint;
    EXPECT_EQ(namesOf(list.get()).find("Q:"), std::string::npos) << "unfinished, so not loaded";
  }
}

TEST_F(SpheroidTable, OneListIsSharedAndEmptiesWithItsLastUser) {
  Slot slot;
  {
    const LeakCheck leaks;
    const LogCapture log;
    const InitDataPtr data(oprj_InitDataCreate(nullptr));
    // Known already, so nothing is loaded twice.
    EXPECT_EQ(oprj_SpheroidTableRead(data.get(), nullptr, slot), loadedList());
    EXPECT_EQ(log.lines(), std::vector<std::string>{});  // and nothing differs
    EXPECT_EQ(oprj_SpheroidTableRead(data.get(), nullptr, slot), data->spheroidTable);
  }
  EXPECT_STREQ(loadedList()->name, "Clarke 1866");
  directory_.write("spheroid.tab", "\"Fresh\" { 1 2 1 }");
  reload();  // the last user goes, so this one finds the map empty
  EXPECT_EQ(namesOf(loadedList()), "Fresh:;");
  directory_.write("spheroid.tab", kSmallSpheroids);
  reload();
}

TEST_F(SpheroidTable, ListJoinsOnlyWhatItLacks) {
  Oprj_SpheroidTableEntry a = {}, b = {}, c = {};
  a.next = &b;
  c.next = &b;
  Slot slot;
  EXPECT_EQ(oprj_SpheroidTableEntryList(nullptr, &a, slot), &a);
  EXPECT_EQ(oprj_SpheroidTableEntryList(&a, &a, slot), &a);
  EXPECT_EQ(b.next, nullptr);
  EXPECT_EQ(oprj_SpheroidTableEntryList(&a, &c, slot), &a);
  EXPECT_EQ(b.next, &c);
  EXPECT_EQ(c.next, nullptr);
  EXPECT_EQ(oprj_SpheroidTableEntryList(&a, nullptr, slot), &a);
}

TEST_F(SpheroidTable, NamedFilesAreTakenAsTheyStandThenAlongTheDatumList) {
  unload();
  Slot slot;
  directory_.write("own.tab", "\"Own\" { 1 2 1 }");
  const auto parsed = [&](const char *text, const char *file) {
    return namesOf(SpheroidListPtr(oprj_SpheroidTableParse(text, file, slot)).get());
  };
  EXPECT_EQ(parsed(nullptr, "own.tab"), "Own:;");
  EXPECT_EQ(parsed(nullptr, (directory_.path() + "/own.tab").c_str()), "Own:;");
  EXPECT_EQ(parsed("\"Text\" { 1 2 1 }", "own.tab"), "Text:;");  // a text wins
  EXPECT_EQ(parsed(nullptr, "absent.tab"), "");
  EXPECT_TRUE(
      slot.chain().starts_with("oprj_SpheroidTableParse: Error returned from olex_Parse (2)"));
}

TEST_F(SpheroidTable, DirectoriesWithoutTablesAreLogged) {
  breakAndUnload();
  const TemporaryDirectory empty;
  const ScopedEnvironment path("ORVIK_DATUMS_PATH", empty.path().c_str());
  const LogCapture log;
  Slot slot;
  EXPECT_EQ(oprj_SpheroidTableParse(nullptr, nullptr, slot), nullptr);
  expectNoReport(slot);
  EXPECT_EQ(log.lines(), std::vector<std::string>{"No spheroid*.tab in \"" + empty.path() + "\""});
  repair();
}

}  // namespace
