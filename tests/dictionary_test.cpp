// The three table languages: what they mean, what the printers write, syntax errors, damage.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <sstream>

#include "tests/tables_support.h"

namespace {

using namespace orvik::test;

QueryPtr parseDictionary(const std::string &text, Slot &slot) {
  return QueryPtr(oprj_QueryTableParse(text.c_str(), nullptr, slot));
}
std::string printDictionary(const Oprj_Query *list) {
  return printed([&] { oprj_QueryListPrint(list); });
}

// --- dictionary ---

TEST(Dictionary, ReadsEveryConstruct) {
  const LeakCheck leaks;
  Slot slot;
  const QueryPtr list = parseDictionary(kSmallDictionary, slot);
  expectNoReport(slot);
  ASSERT_TRUE(list && list->next && list->next->next);
  EXPECT_STREQ(list->name, "Geographic");
  EXPECT_EQ(list->type, OPRJ_INTERNAL);
  EXPECT_EQ(list->number, 0);
  EXPECT_EQ(list->proParamsQuerylist, nullptr);

  const Oprj_Query &all = *list->next;
  EXPECT_EQ(all.number, 41);
  const struct {
    const char *prompt;
    int32_t index, kind, unit;
  } questions[] = {{"Spheroid", 0, OPRJ_QUERY_SPHEROID, OPRJ_QUERY_UNIT_NONE},
                   {"UTM zone", 0, OPRJ_QUERY_UTM_ZONE, OPRJ_QUERY_UNIT_NONE},
                   {"State zone", 0, OPRJ_QUERY_STATE_PLANE_ZONE, OPRJ_QUERY_UNIT_NONE},
                   {"Scale", 2, OPRJ_QUERY_NUMBER, OPRJ_QUERY_UNIT_NONE},
                   {"Latitude", 3, OPRJ_QUERY_ANGLE, OPRJ_QUERY_UNIT_DD},
                   {"Azimuth", 4, OPRJ_QUERY_ANGLE, OPRJ_QUERY_UNIT_RADIANS},
                   {"Easting", 5, OPRJ_QUERY_DISTANCE, OPRJ_QUERY_UNIT_FEET},
                   {"Northing", 6, OPRJ_QUERY_DISTANCE, OPRJ_QUERY_UNIT_METERS},
                   {"Datum", 0, OPRJ_QUERY_NAD_CODE, OPRJ_QUERY_UNIT_NONE},
                   {"Form", 8, OPRJ_QUERY_CONDITION, OPRJ_QUERY_UNIT_NONE},
                   {"Count", 7, OPRJ_QUERY_INTEGER, OPRJ_QUERY_UNIT_NONE}};
  const Oprj_QueryEntry *entry = all.paramsQuerylist;
  for (const auto &q : questions) {
    ASSERT_NE(entry, nullptr) << q.prompt;
    EXPECT_STREQ(entry->prompt, q.prompt);
    EXPECT_EQ(entry->index, q.index) << q.prompt;
    EXPECT_EQ(entry->kind, q.kind) << q.prompt;
    EXPECT_EQ(entry->unit, q.unit) << q.prompt;
    if (q.kind == OPRJ_QUERY_CONDITION) {
      const Oprj_CondQueryEntry *one = entry->conditionalList;
      ASSERT_TRUE(one && one->next && !one->next->next);
      EXPECT_EQ(one->value, 0.0);
      EXPECT_EQ(one->queryEntryList, nullptr);
      EXPECT_EQ(one->next->value, -1.5);
      EXPECT_STREQ(one->next->label, "Two");
      EXPECT_STREQ(one->next->queryEntryList->next->conditionalList->queryEntryList->prompt, "Row");
    }
    entry = entry->next                                  ? entry->next
            : entry->kind <= OPRJ_QUERY_STATE_PLANE_ZONE ? all.proParamsQuerylist
                                                         : nullptr;
  }
  EXPECT_EQ(entry, nullptr);
  EXPECT_EQ(all.next->type, OPRJ_EXTERNAL);
  EXPECT_STREQ(all.next->executable, "helper");
  EXPECT_EQ(all.next->paramsQuerylist, nullptr);
}

TEST(Dictionary, SortsQuestionsIntoTwoListsAndTakesFreeFormat) {
  const LeakCheck leaks;
  Slot slot;
  const QueryPtr list = parseDictionary(
      "\xEF\xBB\xBF# comment \" with { signs\r\n\"N\"{Internal -3.9,\"n\"<2.9:number>\"s\"\r\n"
      "<spheroidname\"Ball\">\"z\"<utmzone>\"c\"<+0:condition>{7e-1:\"bare\",1:\"b\":{\"k\"<"
      "spheroid>"
      "}}}# at the very end",
      slot);
  expectNoReport(slot);
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->number, -3);  // toward zero
  const Oprj_QueryEntry *byName = list->paramsQuerylist;
  ASSERT_TRUE(byName && byName->next && !byName->next->next);
  EXPECT_EQ(byName->kind, OPRJ_QUERY_SPHEROID_BY_NAME);
  EXPECT_STREQ(byName->valueArea.spheroidName, "Ball");
  EXPECT_EQ(byName->next->kind, OPRJ_QUERY_UTM_ZONE);
  EXPECT_EQ(list->proParamsQuerylist->index, 2);
  const Oprj_CondQueryEntry *bare = list->proParamsQuerylist->next->conditionalList;
  EXPECT_EQ(bare->value, 0.7);
  EXPECT_EQ(bare->queryEntryList, nullptr);
  EXPECT_EQ(bare->next->queryEntryList->kind, OPRJ_QUERY_SPHEROID);
}

TEST(Dictionary, PrintsWhatItReads) {
  Slot slot;
  const QueryPtr list = parseDictionary(kSmallDictionary, slot);
  EXPECT_EQ(printDictionary(list.get()), kSmallDictionary);
}

TEST(Dictionary, InstalledFileIsInPrintedForm) {
  const std::string source = readFile(OPRJ_SOURCE_DIR "/data/mapprojections.dat");
  Slot slot;
  const QueryPtr list = parseDictionary(source, slot);
  expectNoReport(slot);
  const std::string once = printDictionary(list.get());
  std::string withoutComments;
  std::istringstream lines(source);
  for (std::string line; std::getline(lines, line);)
    if (!line.starts_with('#')) withoutComments += line + '\n';
  EXPECT_EQ(once, withoutComments);
  const QueryPtr again = parseDictionary(once, slot);
  expectNoReport(slot);
  EXPECT_EQ(printDictionary(again.get()), once);
}

TEST(Dictionary, PrintsOddEntriesAsTheyAre) {
  const LeakCheck leaks;
  Oprj_QueryEntry *list = oprj_QueryEntryCreateSpheroidByName("byname", "Ball", nullptr);
  const struct {
    int32_t kind, unit;
  } odd[] = {{12, 4}, {-1, 4}, {OPRJ_QUERY_ANGLE, 7}, {OPRJ_QUERY_DISTANCE, 0}};
  Oprj_QueryEntry **tail = &list->next;
  for (const auto &o : odd) {
    *tail = oprj_QueryEntryCreate("odd", 3, o.kind, o.unit, nullptr, nullptr);
    tail = &(*tail)->next;
  }
  EXPECT_EQ(printed([&] { oprj_QueryEntryListPrint(list); }),
            "\t\"byname\" <What??  Invalid data type\n\t\"odd\" <What??  Invalid data type\n"
            "\t\"odd\" <What??  Invalid data type\n\t\"odd\" <3:angle\t\"odd\" <3:distance");
  const QueryPtr query(oprj_QueryCreate("Q", 2, 5, nullptr, nullptr, list, nullptr));
  const QueryPtr external(oprj_QueryCreate("X", 1, 5, "exe", nullptr, nullptr, nullptr));
  EXPECT_EQ(printDictionary(query.get()).substr(0, 39),
            "\"Q\" {\nWhat??  Invalid projection type\n\t");
  EXPECT_EQ(printDictionary(external.get()), "\"X\" {\n\tExternal \"exe\"\n}\n");
  EXPECT_EQ(printDictionary(nullptr), "");
}

TEST(Dictionary, NumbersOfBranchesPrintWithSixDigits) {
  const LeakCheck leaks;
  const struct {
    double value;
    const char *text;
  } cases[] = {{0, "0"}, {-0.5, "-0.5"}, {1234567, "1.23457e+06"}, {1e-7, "1e-07"}, {3, "3"}};
  for (const auto &c : cases) {
    Oprj_CondQueryEntry *branch = oprj_CondQueryEntryCreate(c.value, "L", nullptr, nullptr);
    EXPECT_EQ(printed([&] { oprj_CondQueryEntryListPrint(branch); }),
              std::string("\t\t") + c.text + ":\"L\": {\n\t\t}\n");
    oprj_CondQueryEntryFree(&branch);
    EXPECT_EQ(branch, nullptr);
  }
}

TEST(Dictionary, CreatorsAdoptListsOnlyOnSuccess) {
  const LeakCheck leaks;
  Oprj_QueryEntry *entry = oprj_QueryEntryCreate("p", 1, 4, 4, nullptr, nullptr);
  forEachAllocationFailure([&](Oerr_Report **err) {
    Oprj_CondQueryEntry *made = oprj_CondQueryEntryCreate(1, "label", entry, err);
    if (made) made->queryEntryList = nullptr;
    oprj_CondQueryEntryFree(&made);
    return !*err;
  });
  forEachAllocationFailure([&](Oerr_Report **err) {
    Oprj_Query *made = oprj_QueryCreate("n", OPRJ_EXTERNAL, 0, "exe", entry, nullptr, err);
    if (made) made->paramsQuerylist = nullptr;
    oprj_QueryFree(&made);
    return !*err;
  });
  forEachAllocationFailure([&](Oerr_Report **err) {
    Oprj_QueryEntry *made = oprj_QueryEntryCreateSpheroidByName("p", "s", err);
    oprj_QueryEntryFree(&made);
    return !*err;
  });
  EXPECT_STREQ(entry->prompt, "p");
  oprj_QueryEntryFree(&entry);

  const struct {
    std::function<void *(Oerr_Report **)> create;
    const char *chain;
  } cases[] = {
      {[](auto err) { return oprj_QueryCreate("n", 0, 0, nullptr, nullptr, nullptr, err); },
       "oprj_QueryCreate: Error allocating Query (1)"},
      {[](auto err) { return oprj_QueryEntryCreate("n", 0, 0, 4, nullptr, err); },
       "oprj_QueryEntryCreate: Error allocating Query Entry (1)"},
      {[](auto err) { return oprj_CondQueryEntryCreate(0, "n", nullptr, err); },
       "oprj_CondQueryEntryCreate: Error allocating Conditional Query Entry (1)"},
      {[](auto err) { return oprj_SPTableEntryCreate(err); },
       "oprj_SPTableEntryCreate: Error allocating SPTableEntry (1)"},
      {[](auto err) { return oprj_InitDataCreate(err); },
       "oprj_InitDataCreate: Error allocating InitData (1)"},
      {[](auto err) { return oprj_InitProjectionData(nullptr, nullptr, nullptr, err); },
       "oprj_InitProjectionData: Error returned from oprj_InitDataCreate (1) < "
       "oprj_InitDataCreate: Error allocating InitData (1)"}};
  for (const auto &c : cases) {
    Slot slot;
    Oerr_Report **err = slot;
    omsc_HeapFailNth(1);
    EXPECT_EQ(c.create(err), nullptr);
    omsc_HeapFailNth(0);
    EXPECT_EQ(slot.chain(), c.chain);
  }
}

// --- syntax errors ---

struct SyntaxCase {
  const char *text, *message;
};

TEST(Dictionary, TellsWhereAndWhatItExpected) {
  const LeakCheck leaks;
  const SyntaxCase cases[] = {
      {"name {",
       "text:1:1: expected a projection's name in quotes or the end of the file, "
       "found \"name {\""},
      {"\"N\" \n (", "text:2:2: expected \"{\", found \"(\""},
      {"\"N\" { Interna 1", "text:1:7: expected Internal or External, found \"Interna 1\""},
      {"\"N\" { Internals 1", "text:1:7: expected Internal or External, found \"Internals 1\""},
      {"\"N\" { Internal inf }", "text:1:16: expected a projection number, found \"inf }\""},
      {"\"N\" { Internal 2147483648 }",
       "text:1:16: expected a projection number, found \"2147483648 }\""},
      {"\"N\" { Internal 1e999 }", "text:1:16: expected a projection number, found \"1e999 }\""},
      {"\"N\" { Internal - 1 }", "text:1:16: expected a projection number, found \"- 1 }\""},
      {"\"N\" { External 5", "text:1:16: expected an executable's name in quotes, found \"5\""},
      {"\"N\" { Internal 1\n\"p\" spheroid", "text:2:5: expected \"<\", found \"spheroid\""},
      {"\"N\" { Internal 1 \"p\" <sphere>",
       "text:1:23: expected a slot number or a kind of question, found \"sphere>\""},
      {"\"N\" { Internal 1 \"p\" <-1:number>",
       "text:1:23: expected a slot number or a kind of question, found \"-1:number>\""},
      {"\"N\" { Internal 1 \"p\" <1:spheroid>",
       "text:1:25: expected number, angle, distance, nadcode, condition or integer, found "
       "\"spheroid>\""},
      {"\"N\" { Internal 1 \"p\" <1:angle>", "text:1:30: expected \":\", found \">\""},
      {"\"N\" { Internal 1 \"p\" <1:angle:feet>",
       "text:1:31: expected dd or radians, found \"feet>\""},
      {"\"N\" { Internal 1 \"p\" <1:distance:dd>",
       "text:1:34: expected meters or feet, found \"dd>\""},
      {"\"N\" { Internal 1 \"p\" <1:number:dd>", "text:1:31: expected \">\", found \":dd>\""},
      {"\"N\" { Internal 1 \"p\" <1:condition> {1:2",
       "text:1:39: expected a label in quotes, found "
       "\"2\""},
      {"\"N\" { Internal 1 \"p\" <1:condition> {1:\"l\" {",
       "text:1:43: expected a value or \"}\", found \"{\""},
      {"\"N\" { Internal 1 \"p", "text:1:20: expected a closing quote, found end of file"},
      {"\"N\" { Internal 1 \"p\n\" <spheroid> }",
       "text:1:20: expected a closing quote, found end of "
       "line"},
      {"\"N\" { Internal 1", "text:1:17: expected a question or \"}\", found end of file"},
      {"\"N\" { Internal 1 } }",
       "text:1:20: expected a projection's name in quotes or the end of "
       "the file, found \"}\""},
  };
  for (const auto &c : cases) {
    Slot slot;
    EXPECT_EQ(parseDictionary(c.text, slot), nullptr) << c.text;
    expectReport(slot, "oprj_QueryTableParse", 2, "Error returned from olex_Parse");
    EXPECT_STREQ(oerr_MessageGet(oerr_RootCauseGet(slot.get())), c.message);
  }
  std::string deep = "\"N\" { Internal 1 ";
  for (int i = 0; i < 33; ++i) deep += "\"p\" <1:condition> { 1:\"l\": { ";
  Slot slot;
  EXPECT_EQ(parseDictionary(deep, slot), nullptr);
  EXPECT_NE(slot.chain().find("expected conditions nested less deeply"), std::string::npos);
}

TEST(ZoneTable, TellsWhereAndWhatItExpected) {
  const LeakCheck leaks;
  const SyntaxCase cases[] = {
      {"\"A\" 5", "text:1:5: expected a zone's name in quotes, found \"5\""},
      {"\"A\" \"B\" nad27", "text:1:9: expected a zone number, found \"nad27\""},
      {"\"A\" \"B\" 1 nad22", "text:1:11: expected nad27 or nad83, found \"nad22\""},
      {"\"A\" \"B\" 1 nad27 x", "text:1:17: expected a projection number, found \"x\""},
      {"\"A\" \"B\" 1 nad27 1 \"", "text:1:19: expected a FIPS code, found \"\"\""},
      {"\"A\" \"B\" 1 nad27 1 5 1 2 3 4 5 6 7 8 \"C\"",
       "text:1:37: expected nine constants, found \"\"C\"\""},
      {"\"A\" \"B\" 1 nad27 1 5 1 2 3 4 5 6 7 8 9 10",
       "text:1:39: expected a state's name in quotes or the end of the file, found \"10\""}};
  for (const auto &c : cases) {
    Slot slot;
    EXPECT_EQ(oprj_SPTableParse(c.text, nullptr, slot), nullptr) << c.text;
    expectReport(slot, "oprj_SPTableParse", 2, "Error returned from olex_Parse");
    EXPECT_STREQ(oerr_MessageGet(oerr_RootCauseGet(slot.get())), c.message);
  }
}

TEST(ZoneTable, ReadsZones) {
  const LeakCheck leaks;
  Slot slot;
  const ZonePtr zones(oprj_SPTableParse(kSmallZones, nullptr, slot));
  expectNoReport(slot);
  ASSERT_TRUE(zones && zones->next && zones->next->next && !zones->next->next->next);
  EXPECT_STREQ(zones->stateName, "Alpha");
  EXPECT_STREQ(zones->zoneName, "North");
  EXPECT_EQ(zones->zoneNumber, 101);
  EXPECT_EQ(zones->nadCode, 1);
  EXPECT_EQ(zones->projectionNumber, 1);
  EXPECT_EQ(zones->fipsCode, -5101);  // either sign is stored negated
  EXPECT_EQ(zones->next->fipsCode, -5101);
  EXPECT_EQ(zones->next->nadCode, 2);
  EXPECT_EQ(zones->next->parameters.count, 9);
  EXPECT_EQ(zones->next->parameters.data[8], -9.5);
  EXPECT_EQ(zones->next->next->zoneNumber, 3601);
  const ZonePtr fresh(oprj_SPTableEntryCreate(nullptr));
  EXPECT_EQ(fresh->nadCode, 1);
  EXPECT_EQ(fresh->parameters.count, 0);
}

// --- damage ---

TEST(Tables, DamagedTextsAreReportedOrReadButNeverCrashNorLeak) {
  const LeakCheck leaks;
  const auto dictionary = [](const std::string &text) {
    Slot slot;
    const QueryPtr list = parseDictionary(text, slot);
    ASSERT_TRUE(!list || !slot.failed());
    if (!list) return;
    const std::string once = printDictionary(list.get());
    if (once.find("What??") != std::string::npos) return;  // not meant to be read back
    const QueryPtr again = parseDictionary(once, slot);
    expectNoReport(slot);
    EXPECT_EQ(printDictionary(again.get()), once);
  };
  const auto spheroids = [](const std::string &text) {
    Slot slot;
    const SpheroidListPtr list(oprj_SpheroidTableParse(text.c_str(), nullptr, slot));
    expectNoReport(slot);  // syntax errors are printed
  };
  const auto zones = [](const std::string &text) {
    Slot slot;
    const ZonePtr list(oprj_SPTableParse(text.c_str(), nullptr, slot));
    ASSERT_TRUE(!list || !slot.failed());
    for (const auto *zone = list.get(); zone; zone = zone->next)
      ASSERT_EQ(zone->parameters.count, 9);
  };
  const std::function<void(const std::string &)> parsers[] = {dictionary, spheroids, zones};
  const char *texts[] = {kSmallDictionary, kSmallSpheroids, kSmallZones};
  const LogCapture log;
  const std::string complaints = complained([&] {
    for (int i = 0; i < 3; ++i) {
      const std::string whole = texts[i];
      for (size_t length = 0; length < whole.size(); ++length) parsers[i](whole.substr(0, length));
      for (size_t at = 0; at < whole.size(); ++at) {
        for (const char byte : {'"', '{', '}', '0', '-', '#', '\n', '\x01', '\xff'}) {
          std::string damaged = whole;
          damaged[at] = byte;
          parsers[i](damaged);
        }
      }
    }
  });
  EXPECT_NE(complaints.find("expected"), std::string::npos);
}

}  // namespace
