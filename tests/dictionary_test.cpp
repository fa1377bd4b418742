// The table languages of the dictionary and the zones: what they mean, what the printers write,
// syntax errors; and damage to all three.
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

// --- meaning and printed form ---

TEST(Dictionary, SortsQuestionsIntoTwoListsAndTakesFreeFormat) {
  const LeakCheck leaks;
  Slot slot;
  const QueryPtr list = parseDictionary(
      "\xEF\xBB\xBF# comment \" with { signs\r\n\"N\"{Internal -3.9,\"n\"<2.9:number>\"s\"\r\n"
      "<spheroidname\"Ball\">\"z\"<spzone>\"c\"<+0:condition>{7e-1:\"bare\",1:\"b\":{\"k\"<"
      "spheroid>}}}# at the very end",
      slot);
  expectNoReport(slot);
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list->number, -3);  // toward zero
  const Oprj_QueryEntry *byName = list->paramsQuerylist;
  ASSERT_TRUE(byName && byName->next && !byName->next->next);
  EXPECT_EQ(byName->kind, OPRJ_QUERY_SPHEROID_BY_NAME);
  EXPECT_STREQ(byName->valueArea.spheroidName, "Ball");
  EXPECT_EQ(byName->next->kind, OPRJ_QUERY_STATE_PLANE_ZONE);
  EXPECT_EQ(byName->next->index, 0);
  const Oprj_QueryEntry *number = list->proParamsQuerylist;
  ASSERT_TRUE(number && number->next && !number->next->next);
  EXPECT_EQ(number->index, 2);
  EXPECT_EQ(number->unit, OPRJ_QUERY_UNIT_NONE);
  const Oprj_CondQueryEntry *bare = number->next->conditionalList;
  EXPECT_EQ(bare->value, 0.7);
  EXPECT_EQ(bare->queryEntryList, nullptr);
  EXPECT_EQ(bare->next->queryEntryList->kind, OPRJ_QUERY_SPHEROID);
}

TEST(Dictionary, PrintsWhatItReads) {
  const LeakCheck leaks;
  // The installed file is in printed form, but for its comments.
  std::string installed;
  std::istringstream lines(readFile(OPRJ_SOURCE_DIR "/data/mapprojections.dat"));
  for (std::string line; std::getline(lines, line);)
    if (!line.starts_with('#')) installed += line + '\n';
  for (const std::string &text : {std::string(kSmallDictionary), installed}) {
    Slot slot;
    const QueryPtr list = parseDictionary(text, slot);
    expectNoReport(slot);
    EXPECT_EQ(printDictionary(list.get()), text);
  }
}

TEST(Dictionary, PrintsOddEntriesAsTheyAre) {
  const LeakCheck leaks;
  Oprj_QueryEntry *list = oprj_QueryEntryCreateSpheroidByName("byname", "Ball", nullptr);
  const std::pair<int32_t, int32_t> odd[] = {
      {12, 4}, {-1, 4}, {OPRJ_QUERY_ANGLE, 7}, {OPRJ_QUERY_DISTANCE, 0}};
  Oprj_QueryEntry **tail = &list->next;
  for (const auto &[kind, unit] : odd) {
    *tail = oprj_QueryEntryCreate("odd", 3, kind, unit, nullptr, nullptr);
    tail = &(*tail)->next;
  }
  const std::string text =
      "\t\"byname\" <What??  Invalid data type\n\t\"odd\" <What??  Invalid data type\n"
      "\t\"odd\" <What??  Invalid data type\n\t\"odd\" <3:angle\t\"odd\" <3:distance";
  EXPECT_EQ(printed([&] { oprj_QueryEntryListPrint(list); }), text);
  const QueryPtr query(oprj_QueryCreate("Q", 2, 5, nullptr, nullptr, list, nullptr));
  EXPECT_EQ(printDictionary(query.get()),
            "\"Q\" {\nWhat??  Invalid projection type\n" + text + "}\n");

  const std::pair<double, const char *> values[] = {// six digits
                                                    {0, "0"},
                                                    {-0.5, "-0.5"},
                                                    {1234567, "1.23457e+06"},
                                                    {1e-7, "1e-07"}};
  for (const auto &[value, number] : values) {
    Oprj_CondQueryEntry *branch = oprj_CondQueryEntryCreate(value, "L", nullptr, nullptr);
    EXPECT_EQ(printed([&] { oprj_CondQueryEntryListPrint(branch); }),
              std::string("\t\t") + number + ":\"L\": {\n\t\t}\n");
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

  Slot slot;
  expectRefusal(oprj_QueryCreate("n", 0, 0, nullptr, nullptr, nullptr, slot.failing(1)), slot,
                "oprj_QueryCreate: Error allocating Query (1)");
  expectRefusal(oprj_QueryEntryCreate("n", 0, 0, 4, nullptr, slot.failing(1)), slot,
                "oprj_QueryEntryCreate: Error allocating Query Entry (1)");
  expectRefusal(oprj_CondQueryEntryCreate(0, "n", nullptr, slot.failing(1)), slot,
                "oprj_CondQueryEntryCreate: Error allocating Conditional Query Entry (1)");
  expectRefusal(oprj_SPTableEntryCreate(slot.failing(1)), slot,
                "oprj_SPTableEntryCreate: Error allocating SPTableEntry (1)");
  expectRefusal(oprj_InitProjectionData(nullptr, nullptr, nullptr, slot.failing(1)), slot,
                "oprj_InitProjectionData: Error returned from oprj_InitDataCreate (1) < "
                "oprj_InitDataCreate: Error allocating InitData (1)");
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

// --- syntax errors and damage ---

/// A text, and where it is told that something else was expected.
struct SyntaxCase {
  std::string text;
  const char *place, *expected;

  std::string chain(const std::string &function) const {
    return function + ": Error returned from olex_Parse (2) < olex_Parse: text:" + place +
           ": expected " + expected + " (7)";
  }
};

TEST(Dictionary, TellsWhereAndWhatItExpected) {
  const LeakCheck leaks;
  std::string deep = "\"N\" { Internal 1 ";
  for (int i = 0; i < 33; ++i) deep += "\"p\" <1:condition> { 1:\"l\": { ";
  const std::string start = "\"N\" { Internal 1 ";
  const SyntaxCase cases[] = {
      {"\"\" {", "1:2", "a name between the quotes, found \"\" {\""},
      {"\"N \" {", "1:3", "a name that does not end in a blank, found \" \" {\""},
      {"\"N\" { External \"e\t\" }", "1:18",
       "a name that does not end in a blank, found byte 0x09"},
      {start + "\"p\" <spheroidname \" \">", "1:37",
       "a name that does not end in a blank, found \" \">\""},
      {"\"N\" { Internal 1.2.3", "1:16", "a projection number, found \"1.2.3\""},
      {"\"N\" { Internal 0x10", "1:16", "a projection number, found \"0x10\""},
      {"\"N\" { Internal 1-2", "1:16", "a projection number, found \"1-2\""},
      {"name {", "1:1", "a projection's name in quotes or the end of the file, found \"name {\""},
      {"\"N\" \n (", "2:2", "\"{\", found \"(\""},
      {"\"N\" { Interna 1", "1:7", "Internal or External, found \"Interna 1\""},
      {"\"N\" { Internals 1", "1:7", "Internal or External, found \"Internals 1\""},
      {"\"N\" { Internal inf }", "1:16", "a projection number, found \"inf }\""},
      {"\"N\" { Internal 2147483648 }", "1:16", "a projection number, found \"2147483648 }\""},
      {"\"N\" { Internal 1e999 }", "1:16", "a projection number, found \"1e999 }\""},
      {"\"N\" { Internal - 1 }", "1:16", "a projection number, found \"- 1 }\""},
      {"\"N\" { External 5", "1:16", "an executable's name in quotes, found \"5\""},
      {start + "\n\"p\" spheroid", "2:5", "\"<\", found \"spheroid\""},
      {start + "\"p\" <sphere>", "1:23",
       "a slot number (0 to 9999) or a kind of question, found \"sphere>\""},
      {start + "\"p\" <-1:number>", "1:23",
       "a slot number (0 to 9999) or a kind of question, found \"-1:number>\""},
      {start + "\"p\" <1:spheroid>", "1:25",
       "number, angle, distance, nadcode, condition or integer, found \"spheroid>\""},
      {start + "\"p\" <1:angle>", "1:30", "\":\", found \">\""},
      {start + "\"p\" <1:angle:feet>", "1:31", "dd or radians, found \"feet>\""},
      {start + "\"p\" <1:distance:dd>", "1:34", "meters or feet, found \"dd>\""},
      {start + "\"p\" <1:number:dd>", "1:31", "\">\", found \":dd>\""},
      {start + "\"p\" <1:nadcode> key", "1:34", "a question or \"}\", found \"key\""},
      {start + "\"p\" <1:number> key k", "1:37", "a key in quotes, found \"k\""},
      {start + "\"p\" <1:number> key \"k\" default x", "1:49",
       "a number or a key in quotes, found \"x\""},
      {start + "\"p\" <1:condition> {1:2", "1:39", "a label in quotes, found \"2\""},
      {start + "\"p\" <1:condition> {1:\"l\" {", "1:43", "a value or \"}\", found \"{\""},
      {start + "\"p", "1:20", "a closing quote, found end of file"},
      {start + "\"p\n\" <spheroid> }", "1:20", "a closing quote, found end of line"},
      {start, "1:18", "a question or \"}\", found end of file"},
      {start + "} }", "1:20", "a projection's name in quotes or the end of the file, found \"}\""},
      {deep, "1:947", "conditions nested less deeply, found \"p\" <1:condition> { 1\""}};
  Slot slot;
  for (const auto &c : cases)
    expectRefusal(parseDictionary(c.text, slot), slot, c.chain("oprj_QueryTableParse"));
}

TEST(ZoneTable, TellsWhereAndWhatItExpected) {
  const LeakCheck leaks;
  const std::string eight = "\"A\" \"B\" 1 nad27 1 5 1 2 3 4 5 6 7 8 ";
  const SyntaxCase cases[] = {
      {"\"\" \"B\"", "1:2", "a name between the quotes, found \"\" \"B\"\""},
      {"\"A\" \"B \"", "1:7", "a name that does not end in a blank, found \" \"\""},
      {eight + "9e", "1:37", "nine constants, found \"9e\""},
      {"\"A\" 5", "1:5", "a zone's name in quotes, found \"5\""},
      {"\"A\" \"B\" nad27", "1:9", "a zone number, found \"nad27\""},
      {"\"A\" \"B\" 1 nad22", "1:11", "nad27 or nad83, found \"nad22\""},
      {"\"A\" \"B\" 1 nad27 x", "1:17", "a projection number, found \"x\""},
      {"\"A\" \"B\" 1 nad27 1 \"", "1:19", "a FIPS code, found \"\"\""},
      {eight + "\"C\"", "1:37", "nine constants, found \"\"C\"\""},
      {eight + "9 10", "1:39", "a state's name in quotes or the end of the file, found \"10\""}};
  Slot slot;
  for (const auto &c : cases)
    expectRefusal(oprj_SPTableParse(c.text.c_str(), nullptr, slot), slot,
                  c.chain("oprj_SPTableParse"));
}

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
  const std::pair<std::string, std::function<void(const std::string &)>> tables[] = {
      {kSmallDictionary, dictionary}, {kSmallSpheroids, spheroids}, {kSmallZones, zones}};
  const LogCapture log;
  const std::string complaints = complained([&] {
    for (const auto &[whole, parse] : tables)
      for (size_t at = 0; at < whole.size(); ++at) {
        parse(whole.substr(0, at));
        for (const char byte : {'"', '{', '}', '0', '-', '#', '\n', '\x01', '\xff'}) {
          std::string damaged = whole;
          damaged[at] = byte;
          parse(damaged);
        }
      }
  });
  EXPECT_NE(complaints.find("expected"), std::string::npos);
}

}  // namespace
