// Both libraries in one process: records pass to the one with wide texts and back.
#include <oprj/bridges.h>
#include <oprj/otxt.h>
#include <oprj/wrapped.h>
#include <unistd.h>

#include <cstring>
#include <set>

#include "tests/portable_support.h"

namespace {

using namespace orvik::test;
using WidePtr = orvik::toolkit::Owner<Oprj_MapProjectionExU, oprj_ProjectionFreeU>;
using InfoPtr = orvik::toolkit::Owner<Oprj_ElevationInfo, oprj_ElevationInfoFree>;

WidePtr widened(const HandlePtr &handle, Oerr_Report **err) {
  return WidePtr(oprj_MapProjectionToUNICODE(handle.get(), err));
}
HandlePtr narrowed(const WidePtr &handle, Oerr_Report **err) {
  return HandlePtr(oprj_MapProjectionToASCII(handle.get(), err));
}
/// A handle of the wide library as its callers see it: its texts are of 16-bit units.
const Oprj_MapProjectionEx *seen(const WidePtr &wide) {
  return reinterpret_cast<const Oprj_MapProjectionEx *>(wide.get());
}
Oprj_ProParameters &recordOf(const Oprj_MapProjectionEx *handle) {
  return *static_cast<Oprj_MapProjection *>(handle->ownedData)->proParameters;
}
std::u16string unitsOf(const Oprj_CharStr &text) {
  return text.data ? reinterpret_cast<const char16_t *>(text.data) : u"(null)";
}
/// All that a system says, as bytes.
std::string stateOf(const HandlePtr &handle) {
  void *object = nullptr;
  Omif_Design *design = nullptr;
  EXPECT_TRUE(oprj_ProjectionConvertToMIFable(handle.get(), &object, &design, nullptr));
  const auto &inner = static_cast<Oprj_MapProjection842 *>(object)->projection.MIFObject;
  std::string bytes(inner.data, inner.data + inner.count);
  omif_ObjectFree(design, &object);
  omif_DesignFree(&design);
  return bytes;
}

std::vector<RecordPtr> everyProjection() {
  std::vector<RecordPtr> records = everyFamily();
  for (const char *text :
       {"geographic; datum=NAD27", "utm; zone=17S; datum=WGS 84", "state plane; zone=4203; nad=83",
        "space oblique mercator; satellite=4; path=31; datum=WGS 84",
        "utm; zone=60; datum=Undefined; "
        "spheroid=Clarke 1866"}) {
    Slot slot;
    records.emplace_back(oprj_ProParametersFromText(theToolkit(), text, nullptr, nullptr, slot));
    EXPECT_NE(records.back(), nullptr) << slot.chain();
  }
  return records;
}

/// Plans of designs are made once and stay, in either library.
struct Bridges : testing::Test {
  static void SetUpTestSuite() {
    narrowed(widened(makeHandle(geographic()), nullptr), nullptr);
    const InfoPtr info(oprj_ElevationInfoCreate(nullptr));
    auto *wide = oprj_ElevationInfoToUNICODE(info.get(), nullptr);
    const InfoPtr back(oprj_ElevationInfoToASCII(wide, nullptr)),
        freed(reinterpret_cast<Oprj_ElevationInfo *>(wide));
  }
};

TEST_F(Bridges, EveryProjectionComesBackAsItWas) {
  std::set<int32_t> met;
  for (const RecordPtr &record : everyProjection()) {
    SCOPED_TRACE(record->proNumber);
    met.insert(record->proNumber);
    const HandlePtr handle = makeHandle(record);
    const std::string before = stateOf(handle);
    Slot slot;
    const WidePtr wide = widened(handle, slot);
    ASSERT_NE(wide, nullptr) << slot.chain();
    const HandlePtr back = narrowed(wide, slot);
    ASSERT_NE(back, nullptr) << slot.chain();
    EXPECT_TRUE(stateOf(back) == before);
    constexpr int32_t kNeverEqual = 69;  // not even to its own copy
    EXPECT_EQ(oprj_MapProjectionEqual(handle.get(), back.get(), nullptr),
              record->proNumber != kNeverEqual);
    // the wide library computes the same bits
    const Oprj_Point place = {record->proSpheroid->a > 1e7 ? 0.1 : 0.3, 0.2};
    Oprj_Point narrow[1] = {{0, 0}}, other[1] = {{0, 0}};
    oprj_ProjectFromLatLon(&place, handle.get(), narrow, 1, nullptr);
    oprj_ProjectFromLatLon(&place, seen(wide), other, 1, nullptr);
    EXPECT_EQ(std::memcmp(narrow, other, sizeof narrow), 0);
  }
  for (const auto *query = oprj_InitDataGet(theToolkit(), nullptr)->queryTable; query;
       query = query->next) {
    if (query->type == OPRJ_INTERNAL && oprj_QueryIsComputed(query)) {
      EXPECT_TRUE(met.count(query->number)) << query->name;
    }
  }
}

TEST_F(Bridges, TextsPassUnitByUnit) {
  const struct {
    const char *narrow;
    const char16_t *wide;
  } rows[] = {{"Mercator", u"Mercator"},
              {"", u""},
              {"\xE3", u"\xDCE3"},  // no UTF-8
              {"a\xC3\xA9\xE2\x82\xAC", u"a\u00E9\u20AC"},
              {"\xF0\x9F\x98\x80", u"\xD83D\xDE00"},    // U+1F600
              {"\xED\xA0\x80", u"\xDCED\xDCA0\xDC80"},  // a surrogate is no character
              {"\xC0\x80\xF5\x80", u"\xDCC0\xDC80\xDCF5\xDC80"}};
  for (const auto &row : rows) {
    const LeakCheck leaks;
    const RecordPtr record = transverseMercator(9);
    oprj_CharStrCreate(row.narrow, &record->proName, nullptr);
    const HandlePtr handle = makeHandle(record);
    Slot slot;
    const WidePtr wide = widened(handle, slot);
    ASSERT_NE(wide, nullptr) << slot.chain();
    EXPECT_EQ(unitsOf(recordOf(seen(wide)).proName), row.wide);
    const HandlePtr back = narrowed(wide, slot);
    ASSERT_NE(back, nullptr) << slot.chain();
    EXPECT_STREQ(recordOf(back.get()).proName.data, row.narrow);

    char16_t *units = otxt_Text_Ascii2Unicode(row.narrow, slot);
    ASSERT_NE(units, nullptr);
    EXPECT_EQ(std::u16string(units), row.wide);
    EXPECT_EQ(taken(otxt_Text_Unicode2Ascii(units, slot)), row.narrow);
    omsc_HeapFree(units);
  }
  Slot slot;
  const std::string back = "otxt_Text_Unicode2Ascii: ";
  for (const char16_t *lone : {u"a\xD800", u"\xDC00z", u"\xD83Dx\xDE00"})
    expectFailure(otxt_Text_Unicode2Ascii(lone, slot), slot,
                  back + "Half of a surrogate pair: U+D");
  expectRefusal(otxt_Text_Unicode2Ascii(nullptr, slot), slot, back + "Invalid input text (1)");
  expectRefusal(otxt_Text_Ascii2Unicode(nullptr, slot), slot,
                "otxt_Text_Ascii2Unicode: Invalid input text (1)");
}

InfoPtr heights(const char *datum) {
  InfoPtr info(oprj_ElevationInfoCreate(nullptr));
  oprj_CharStrCreate(datum, &info->verticalDatum->datumname, nullptr);
  oprj_CharStrCreate("feet", &info->elevationUnit, nullptr);
  info->elevationType = OPRJ_ELEVATION_TYPE_DEPTH;
  return info;
}

TEST_F(Bridges, ElevationInfosPass) {
  const LeakCheck leaks;
  for (const char *datum : {"Undefined", "EGM96", "\xE3", ""}) {
    const InfoPtr info = heights(datum);
    Slot slot;
    Oprj_ElevationInfoU *wide = oprj_ElevationInfoToUNICODE(info.get(), slot);
    ASSERT_NE(wide, nullptr) << slot.chain();
    auto *const same = reinterpret_cast<Oprj_ElevationInfo *>(wide);
    EXPECT_EQ(unitsOf(same->elevationUnit), u"feet");
    const InfoPtr back(oprj_ElevationInfoToASCII(wide, slot));
    InfoPtr freed(same);  // one heap, one layout
    ASSERT_NE(back, nullptr) << slot.chain();
    EXPECT_EQ(oprj_ElevationInfosEqual(info.get(), back.get(), nullptr), 1);
  }
}

TEST_F(Bridges, WhatCannotPassIsTold) {
  const LeakCheck leaks;
  Slot slot;
  expectRefusal(oprj_MapProjectionToUNICODE(nullptr, slot), slot,
                "oprj_MapProjectionToUNICODE: Invalid ANSI MapProjection structure (1)");
  expectRefusal(oprj_MapProjectionToASCII(nullptr, slot), slot,
                "oprj_MapProjectionToASCII: Invalid UNICODE MapProjection structure (1)");
  expectRefusal(oprj_ElevationInfoToUNICODE(nullptr, slot), slot,
                "oprj_ElevationInfoToUNICODE: Empty input Oprj_ElevationInfoA parameter (1)");
  expectRefusal(oprj_ElevationInfoToASCII(nullptr, slot), slot,
                "oprj_ElevationInfoToASCII: Empty input Oprj_ElevationInfoU parameter (1)");
  // half of a pair in a wide record
  const WidePtr wide = widened(makeHandle(transverseMercator(9)), slot);
  ASSERT_NE(wide, nullptr);
  auto *name = reinterpret_cast<char16_t *>(recordOf(seen(wide)).proName.data);
  name[0] = 0xD800;
  expectFailure(narrowed(wide, slot), slot,
                "oprj_MapProjectionToASCII: oprj_MapProjectionToASCII:oprj_ProjectionConvertToMIF "
                "failed (4) < oprj_ProjectionConvertToMIF: oprj_ProjectionConvertToMIFable failed "
                "(2)");
  EXPECT_NE(slot.chain().find("A text is no UTF-16"), std::string::npos) << slot.chain();
  // what the wide library does not take
  const HandlePtr odd = makeHandle(transverseMercator(9));
  recordOf(odd.get()).proNumber = 1000;
  expectFailure(widened(odd, slot), slot,
                "oprj_MapProjectionToUNICODE: "
                "oprj_MapProjectionToUNICODE:ProjectionConvertFromMIFable failed (5)");
}

TEST_F(Bridges, RecordsAreFreedOnEitherSide) {
  const LeakCheck leaks;
  Slot slot;
  auto *pair = oprj_ProjectionPairCreate(nullptr);
  for (Oprj_MapProjectionEx **end : {&pair->in, &pair->out})
    *end = reinterpret_cast<Oprj_MapProjectionEx *>(
        widened(makeHandle(transverseMercator(9, "Clarke 1866", "NAD27")), slot).release());
  auto *wide = reinterpret_cast<Oprj_ProjectionPairU *>(pair);
  oprj_ProjectionPairFreeU(&wide);
  EXPECT_EQ(wide, nullptr);
  auto *record = reinterpret_cast<Oprj_ProParametersU *>(geographic().release());
  oprj_ProParametersFreeU(&record);
  Oprj_Datum *datum = nullptr;
  oprj_DatumInit(&datum, nullptr);
  auto *wideDatum = reinterpret_cast<Oprj_DatumU *>(datum);
  oprj_DatumFreeU(&wideDatum);
  auto *info = reinterpret_cast<Oprj_MapInfoU *>(oprj_MapInfoCreate(nullptr));
  oprj_MapInfoFreeU(&info);
  EXPECT_TRUE(!record && !wideDatum && !info);
  oprj_ProjectionFreeU(nullptr);
}

TEST_F(Bridges, ThreadsCross) {
  inThreads(4, [](size_t number) {
    for (int i = 0; i < 50; ++i) {
      const HandlePtr handle = makeHandle(transverseMercator(static_cast<double>(number)));
      const HandlePtr back = narrowed(widened(handle, nullptr), nullptr);
      ASSERT_EQ(oprj_MapProjectionEqual(handle.get(), back.get(), nullptr), 1);
    }
  });
}

TEST_F(Bridges, EveryFailedAllocationIsSurvived) {
  const HandlePtr handle = makeHandle(transverseMercator(9));
  const WidePtr wide = widened(handle, nullptr);
  narrowed(wide, nullptr);
  const InfoPtr info = heights("EGM96");
  const LeakCheck leaks;
  // names that the tables would have completed are a luxury; freed behind all, because freeing a
  // wide handle looks for its library
  std::vector<WidePtr> made;
  forEachAllocationFailure(
      [&](auto err) {
        made.push_back(widened(handle, err));
        return made.back() != nullptr;
      },
      {}, OnFailure::kMayRecover);
  made.clear();
  forEachAllocationFailure([&](auto err) { return narrowed(wide, err) != nullptr; }, {},
                           OnFailure::kMayRecover);
  forEachAllocationFailure(
      [&](auto err) {
        auto *passed = oprj_ElevationInfoToUNICODE(info.get(), err);
        InfoPtr freed(reinterpret_cast<Oprj_ElevationInfo *>(passed));
        return passed != nullptr;
      },
      {}, OnFailure::kMayRecover);
}

/// Runs in a process of its own, started by the test below, and tells what the bridges say.
TEST(BridgesWithoutModule, DISABLED_Tell) {
  const HandlePtr handle = makeHandle(transverseMercator(9));
  Slot slot;
  for (const bool projection : {true, false}) {
    if (projection) oprj_MapProjectionToUNICODE(handle.get(), slot);
    else oprj_ElevationInfoToUNICODE(heights("x").get(), slot);
    std::printf("TOLD %s\n", slot.chain().c_str());
  }
  // only looked at for null before the library is there
  oprj_MapProjectionToASCII(reinterpret_cast<const Oprj_MapProjectionExU *>(handle.get()), slot);
  std::printf("TOLD %s\n", slot.chain().c_str());
  oprj_ElevationInfoToASCII(reinterpret_cast<const Oprj_ElevationInfoU *>(handle.get()), slot);
  std::printf("TOLD %s\n", slot.chain().c_str());
}

// The narrow library in a folder of its own: without a wide one, beside one of another version,
// beside one that lacks the functions.
TEST(BridgesWithoutModule, IsTold) {
  namespace files = std::filesystem;
  const std::string lookups[] = {
      "oprj_MapProjectionToUNICODE: Failed to retrieve oprj_ProjectionConvertFromMIF from "
      "oPrjU.dll (3)",
      "oprj_ElevationInfoToUNICODE: Failed to find oprj_ElevationInfoConvertFromMIF function "
      "pointer in oPrjU.dll (3)"};
  const std::string load =
      "oprj_MapProjectionToASCII: oprj_MapProjectionToASCII: Failed to load oPrjU.dll (2)";
  const std::string find =
      "oprj_MapProjectionToASCII: Failed to find oprj_ProjectionConvertToMIF function pointer in "
      "oPrjU.dll (3)";
  const std::string info =
      "oprj_ElevationInfoToASCII: Failed to find oprj_ElevationInfoConvertToMIF function pointer "
      "in oPrjU.dll (3)";
  const struct {
    const char *module;
    std::string third;
    const char *cause;
  } rows[] = {{nullptr, load, "odll_Open: oPrjU.dll:  Library not found"},
              {"libwide_of_another_version.so", load, "of another version"},
              {"libwide_without_functions.so", find, ""}};
  const std::string lib = OPRJ_BINARY_DIR "/lib/";
  for (const auto &row : rows) {
    const TemporaryDirectory place;
    for (const char *library : {"liboPrj.so.0", "liboPrjToolkit.so.0"})
      files::copy_file(lib + library, place.path() + "/" + library);
    if (row.module) files::copy_file(lib + row.module, place.path() + "/liboPrjU.so");
    const std::string out = place.path() + "/out";
    const std::string command = "LD_LIBRARY_PATH=" + place.path() + " " +
                                files::read_symlink("/proc/self/exe").string() +
                                " --gtest_also_run_disabled_tests "
                                "--gtest_filter=BridgesWithoutModule.DISABLED_Tell > " +
                                out;
    ASSERT_EQ(std::system(command.c_str()), 0) << readFile(out);
    std::vector<std::string> told;
    std::ifstream lines(out);
    for (std::string line; std::getline(lines, line);)
      if (line.starts_with("TOLD ")) told.push_back(line.substr(5));
    const std::string expected[] = {lookups[0], lookups[1], row.third, info};
    ASSERT_EQ(told.size(), std::size(expected)) << readFile(out);
    for (size_t i = 0; i < told.size(); ++i) {
      EXPECT_EQ(told[i].substr(0, expected[i].size()), expected[i]);
      EXPECT_NE(told[i].find(row.cause), std::string::npos) << told[i];
    }
  }
}

}  // namespace
