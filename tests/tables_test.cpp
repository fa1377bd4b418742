// Start and reference data: loading, its failures, reloading, threads, the spheroid table map.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "tests/tables_support.h"

namespace {

using namespace orvik::test;

using Start = SmallTables;
using SpheroidTable = SmallTables;

// --- start ---

TEST_F(Start, LookupsLoadTheTablesThemselves) {
  breakAndUnload();
  repair();
  Slot slot;
  const Oprj_Query *query = oprj_QueryByName(toolkit(), "Everything", slot);
  expectNoReport(slot);
  EXPECT_EQ(query, oprj_QueryByNumber(toolkit(), 41, nullptr));  // loaded once, then only read
  const Oprj_InitData *data = oprj_InitDataGet(toolkit(), slot);
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(data->reserved, nullptr);
  EXPECT_NE(data->dictionary, nullptr);
  EXPECT_NE(data->proParametersDesign, nullptr);
}

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
  Slot slot;
  InitDataPtr data(oprj_InitProjectionData("absent.dat", nullptr, nullptr, slot));
  expectReport(slot, "oprj_InitProjectionData", 2, "Error returned from oprj_QueryTableRead");
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(data->queryTable, nullptr);
  EXPECT_NE(data->spheroidTable, nullptr);
  EXPECT_NE(data->statePlaneTable, nullptr);
  EXPECT_NE(data->dictionary, nullptr);
  // The file and every place searched.
  const std::string message = oerr_MessageGet(oerr_RootCauseGet(slot.get()));
  EXPECT_NE(message.find("absent.dat"), std::string::npos) << message;
  EXPECT_NE(message.find(directory_.path()), std::string::npos) << message;

  data.reset(oprj_InitProjectionData("absent.dat", "absent.tab", "absent.sp", slot));
  expectReport(slot, "oprj_InitProjectionData", 4, "Error returned from oprj_SPTableRead");
  data.reset(oprj_InitProjectionData(nullptr, "absent.tab", nullptr, slot));
  EXPECT_TRUE(slot.chain().starts_with(
      "oprj_InitProjectionData: Error returned from oprj_SpheroidTableRead (3) < "
      "oprj_SpheroidTableRead: Error returned from oprj_SpheroidTableParse (2) < "
      "oprj_SpheroidTableParse: Error returned from olex_Parse (2) < "))
      << slot.chain();
  EXPECT_EQ(data->spheroidTable, nullptr);
  EXPECT_NE(data->queryTable, nullptr);
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
  const struct {
    std::function<void(Oerr_Report **)> read;
    const char *function;
  } cases[] = {
      {[](auto err) { oprj_QueryTableRead(nullptr, nullptr, err); }, "oprj_QueryTableRead"},
      {[](auto err) { oprj_SpheroidTableRead(nullptr, nullptr, err); }, "oprj_SpheroidTableRead"},
      {[](auto err) { oprj_SPTableRead(nullptr, nullptr, err); }, "oprj_SPTableRead"}};
  for (const auto &c : cases) {
    Slot slot;
    c.read(slot);
    expectReport(slot, c.function, 1, "Invalid input InitData");
  }
  oprj_InitDataFree(nullptr);
  Oprj_InitData *none = nullptr;
  oprj_InitDataFree(&none);
}

TEST_F(Start, ThreadsThatStartTogetherLoadOnce) {
  for (int round = 0; round < 20; ++round) {
    breakAndUnload();
    repair();
    constexpr int kThreads = 4;
    std::atomic<int> waiting{kThreads};
    const Oprj_Query *found[kThreads] = {};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, i] {
        --waiting;
        while (waiting > 0) std::this_thread::yield();
        found[i] = oprj_QueryByName(toolkit(), "Everything", nullptr);
        for (int n = 0; n < 1000; ++n)
          if (oprj_QueryByNumber(toolkit(), 41, nullptr) != found[i]) found[i] = nullptr;
      });
    }
    for (auto &thread : threads) thread.join();
    for (int i = 0; i < kThreads; ++i) {
      ASSERT_NE(found[i], nullptr);
      ASSERT_EQ(found[i], found[0]);
    }
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
  breakAndUnload();  // empties the spheroid table map
  repair();
  const LeakCheck leaks;
  const InitDataPtr data(oprj_InitDataCreate(nullptr));
  const auto none = [&] {
    EXPECT_EQ(data->queryTable, nullptr);
    EXPECT_EQ(data->statePlaneTable, nullptr);
  };
  forEachAllocationFailure(
      [&](Oerr_Report **err) { return oprj_QueryTableRead(data.get(), nullptr, err) != nullptr; },
      none);
  oprj_QueryFree(&data->queryTable);
  forEachAllocationFailure(
      [&](Oerr_Report **err) { return oprj_SPTableRead(data.get(), nullptr, err) != nullptr; },
      none);
  const std::string file = directory_.write("more.tab",
                                            "\"More\" { 99 3 2 alias \"M\" description \"d\"\n"
                                            "\"New datum\" grid \"g\" description \"d\" }");
  forEachAllocationFailure(
      [&](Oerr_Report **err) {
        return oprj_SpheroidTableRead(data.get(), file.c_str(), err) != nullptr;
      },
      [&] { EXPECT_EQ(data->spheroidTable, nullptr); });
  EXPECT_NE(data->spheroidTable, nullptr);
}

TEST_F(Start, EveryAllocationOfTheDirectoryWalkMayFail) {
  breakAndUnload();  // empties the map
  repair();
  const LeakCheck leaks;
  // A file name that cannot be formed is printed, and the walk goes on.
  bool walked = false;
  complained([&] {
    forEachAllocationFailure(
        [&](Oerr_Report **err) {
          const SpheroidListPtr list(oprj_SpheroidTableParse(nullptr, nullptr, err));
          walked = list != nullptr;
          return !*err;
        },
        {}, OnFailure::kMayRecover);
  });
  EXPECT_TRUE(walked);
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

TEST_F(SpheroidTable, ReadsEveryConstruct) {
  const Oprj_SpheroidTableEntry *clarke = oprj_InitDataGet(toolkit(), nullptr)->spheroidTable;
  EXPECT_EQ(namesOf(clarke),
            "Clarke 1866:Clarke 1866,Shifted,Gridded,Regressed,Moved,Imaged,Drawn,;"
            "Ball:;Egg:Egg datum,;");
  EXPECT_EQ(clarke->number, 0);
  EXPECT_EQ(clarke->a, 6378206.4);
  EXPECT_STREQ(clarke->aliases->name, "clrk66");
  EXPECT_STREQ(clarke->aliases->next->name, "C66");
  EXPECT_STREQ(clarke->description, "old");
  const Oprj_DatumTableEntry *shifted = clarke->datums->next;
  EXPECT_EQ(shifted->type, OPRJ_DATUM_PARAMETRIC);
  EXPECT_EQ(shifted->params[1], 160.5);
  EXPECT_EQ(shifted->params[4], -2e-6);
  EXPECT_EQ(shifted->params[6], 5e-7);
  EXPECT_STREQ(shifted->description, "seven");
  EXPECT_STREQ(shifted->next->gridname, "no-such-file.grd");
  EXPECT_EQ(shifted->next->next->type, OPRJ_DATUM_REGRESSION);
  const Oprj_DatumTableEntry *moved = shifted->next->next->next;
  ASSERT_NE(moved->surface, nullptr);
  EXPECT_EQ(moved->type, OPRJ_DATUM_SURFACE);
  EXPECT_EQ(moved->surface->longitudeShift, 1.5);
  EXPECT_EQ(moved->surface->latitudeShift, -2.0);
  EXPECT_STREQ(moved->surface->baseDatum, "Shifted");
  EXPECT_EQ(moved->surface->fromDatum, 0);
  const Oprj_SurfaceSource &raster = *moved->next->surface;
  EXPECT_EQ(raster.kind, 1);
  EXPECT_STREQ(raster.longitudeFile, "a.img");
  EXPECT_STREQ(raster.latitudeFile, "b.img");
  EXPECT_EQ(raster.bilinear, 1);
  EXPECT_EQ(raster.hasNodata, 1);
  EXPECT_EQ(raster.nodata, -9.0);
  EXPECT_EQ(raster.baseIsGrid, 1);
  EXPECT_EQ(raster.fromDatum, 1);
  const Oprj_SurfaceSource &vector = *moved->next->next->surface;
  EXPECT_EQ(vector.kind, 2);
  EXPECT_STREQ(vector.longitudeFile, "v.vec");
  EXPECT_EQ(vector.bilinear, 0);
}

TEST_F(SpheroidTable, FilesJoinInByteOrderAndTheFirstDatumWins) {
  const TemporaryDirectory second;
  directory_.write("spheroidX.tab", "\"Ball\" { 19 6370997 6370997 \"Mine\" regression }");
  directory_.write("spheroid_1.tab", "\"Ball\" { 19 6370997 6370997 \"Mine\" grid \"late\" }");
  directory_.write("myspheroid.tab", "\"Not read\" { 1 1 1 }");
  second.write("spheroid.tab",
               "\"Egg\" { 4 1 1 alias \"new alias\" \"Shifted\" regression \"Egg 2\" regression }\n"
               "\"Last\" { 5 2 1 }");
  const ScopedEnvironment both("ORVIK_DATUMS_PATH",
                               (directory_.path() + ";" + second.path()).c_str());
  const LogCapture log;
  reload();
  const auto *list = oprj_InitDataGet(toolkit(), nullptr)->spheroidTable;
  EXPECT_EQ(namesOf(list),
            "Clarke 1866:Clarke 1866,Shifted,Gridded,Regressed,Moved,Imaged,Drawn,;"
            "Ball:Mine,;Egg:Egg datum,Egg 2,;Last:;");
  EXPECT_EQ(list->next->datums->type, OPRJ_DATUM_REGRESSION);
  EXPECT_EQ(list->next->next->a, 6000000.0);
  EXPECT_EQ(list->next->next->number, -3);
  EXPECT_EQ(log.lines(),
            (std::vector<std::string>{
                "Mine is not loaded because the datum with same name already exists",
                "Egg keeps the number and the axes that were read first",
                "Shifted is not loaded because the datum with same name already exists"}));
}

TEST_F(SpheroidTable, SyntaxErrorsArePrintedAndWhatCameBeforeStays) {
  directory_.write("spheroid.tab", "\"A\" { 1 2 1 \"D\" regression }\n\"B\" { 2 0 1 }");
  directory_.write("spheroidb.tab", "\"C\" { 3 2 1 }");
  const std::string complaint = complained([&] { reload(); });
  EXPECT_EQ(namesOf(oprj_InitDataGet(toolkit(), nullptr)->spheroidTable), "A:D,;C:;");
  EXPECT_NE(complaint.find("spheroid.tab:2:9: expected the length of an axis, above 0, found \"0"),
            std::string::npos)
      << complaint;
}

TEST_F(SpheroidTable, TellsWhereAndWhatItExpected) {
  const struct {
    const char *text, *message;
  } cases[] = {
      {"spheroidfile 5", "text:1:14: expected a title in quotes, found \"5\""},
      {"\"Q\" { 1 2 1 alias x", "text:1:19: expected a name in quotes, found \"x\""},
      {"\"Q\" { 1 2 nan", "text:1:11: expected the length of an axis, above 0, found \"nan\""},
      {"\"Q\" { 1 2 1 5", "text:1:13: expected a datum's name in quotes or \"}\", found \"5\""},
      {"\"Q\" { 1 2 1 \"d\" gridded",
       "text:1:17: expected parametric, grid, regression or surface, found \"gridded\""},
      {"\"Q\" { 1 2 1 \"d\" parametric 1 2 3 4 5 6 }",
       "text:1:40: expected seven parameters, found \"}\""},
      {"\"Q\" { 1 2 1 \"d\" surface grid",
       "text:1:25: expected constant, raster or vector, found \"grid\""},
      {"\"Q\" { 1 2 1 \"d\" surface constant longitude 1 latitude 2 fromdatum",
       "text:1:57: expected basedatum or gridbasedatum, found \"fromdatum\""},
      {"\"Q\" { 1 2 1 \"d\" surface raster longitude \"a\" latitude \"b\" resample cubic",
       "text:1:68: expected bilinear or nothing, found \"cubic\""}};
  for (const auto &c : cases) {
    Slot slot;
    SpheroidListPtr list;
    const std::string complaint =
        complained([&] { list.reset(oprj_SpheroidTableParse(c.text, nullptr, slot)); });
    expectNoReport(slot);
    EXPECT_NE(complaint.find(c.message), std::string::npos) << complaint;
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
    EXPECT_EQ(oprj_SpheroidTableRead(data.get(), nullptr, slot),
              oprj_InitDataGet(toolkit(), nullptr)->spheroidTable);
    EXPECT_EQ(log.lines().size(), 8u);
    EXPECT_EQ(oprj_SpheroidTableRead(data.get(), nullptr, slot), data->spheroidTable);
  }
  EXPECT_STREQ(oprj_InitDataGet(toolkit(), nullptr)->spheroidTable->name, "Clarke 1866");
  directory_.write("spheroid.tab", "\"Fresh\" { 1 2 1 }");
  reload();  // the last user goes, so this one finds the map empty
  EXPECT_EQ(namesOf(oprj_InitDataGet(toolkit(), nullptr)->spheroidTable), "Fresh:;");
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
  breakAndUnload();
  repair();
  Slot slot;
  directory_.write("own.tab", "\"Own\" { 1 2 1 }");
  SpheroidListPtr list(oprj_SpheroidTableParse(nullptr, "own.tab", slot));
  EXPECT_EQ(namesOf(list.get()), "Own:;");
  list.reset();
  list.reset(oprj_SpheroidTableParse(nullptr, (directory_.path() + "/own.tab").c_str(), slot));
  EXPECT_EQ(namesOf(list.get()), "Own:;");
  list.reset();
  // A text wins over a file name.
  list.reset(oprj_SpheroidTableParse("\"Text\" { 1 2 1 }", "own.tab", slot));
  EXPECT_EQ(namesOf(list.get()), "Text:;");
  list.reset();
  EXPECT_EQ(oprj_SpheroidTableParse(nullptr, "absent.tab", slot), nullptr);
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
