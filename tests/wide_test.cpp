// The wide library as its own callers have it: the same operations with texts of UTF-16.
#include <oprj/oprj.h>

#include <cmath>
#include <string>

#include "tests/support.h"
#include "toolkit/error_scope.h"

namespace {

using namespace orvik::test;
using RecordPtr = orvik::toolkit::Owner<Oprj_ProParameters, oprj_ProParametersFree>;
using HandlePtr = orvik::toolkit::Owner<Oprj_MapProjectionEx, oprj_ProjectionFree>;
using InfoPtr = orvik::toolkit::Owner<Oprj_MapInfo, oprj_MapInfoFree>;

static_assert(sizeof(Oprj_Char) == 2 && sizeof(Oprj_CharStr) == 16);

Oint_Toolkit *theToolkit() { return oint_InitToolkit(nullptr); }
std::u16string taken(char16_t *text) {
  std::u16string copy = text ? text : u"(null)";
  omsc_HeapFree(text);
  return copy;
}
RecordPtr fromText(const char16_t *text) {
  Slot slot;
  RecordPtr record(oprj_ProParametersFromText(theToolkit(), text, nullptr, nullptr, slot));
  EXPECT_NE(record, nullptr) << slot.chain();
  return record;
}

TEST(Wide, TextsAreKeptAsTheyAre) {
  const LeakCheck leaks;
  Oprj_CharStr text{}, copy{};
  Slot slot;
  const std::u16string pile = u"\xD83D\xDE00 \xD800 \xDCE3 \u20AC";
  ASSERT_TRUE(oprj_CharStrCreate((pile + u" \r\n").c_str(), &text, slot));
  EXPECT_EQ(text.data, pile);
  EXPECT_EQ(text.count, static_cast<int32_t>(pile.size()) + 1) << "counted in units";
  ASSERT_TRUE(oprj_CharStrCopy(&text, &copy, slot));
  EXPECT_EQ(oprj_CharStrsEqual(&text, &copy, slot), 1);
  copy.data[0] = u'x';
  EXPECT_EQ(oprj_CharStrsEqual(&text, &copy, slot), 0);
  EXPECT_EQ(taken(oprj_CharStrToString(&text)), pile);
  oprj_CharStrFree(&text);
  oprj_CharStrFree(&copy);
  int32_t version = 0, width = 0;
  oprj_BuildGet(&version, &width);
  EXPECT_EQ(version, OPRJ_VERSION);
  EXPECT_EQ(width, 2);
}

TEST(Wide, NamesAreFound) {
  const Oprj_InitData *data = oprj_InitDataGet(theToolkit(), nullptr);
  ASSERT_NE(data, nullptr);
  const LeakCheck leaks;
  Slot slot;
  for (const auto *query = data->queryTable; query; query = query->next)
    EXPECT_EQ(oprj_QueryByName(theToolkit(), query->name, slot), query) << slot.chain();
  for (const auto *entry = data->spheroidTable; entry; entry = entry->next) {
    EXPECT_EQ(oprj_SpheroidEntryByName(theToolkit(), entry->name, slot), entry) << slot.chain();
    for (const auto *datum = entry->datums; datum; datum = datum->next)
      EXPECT_EQ(taken(oprj_GetSpheroidNameByDatumName(theToolkit(), datum->name, slot)),
                entry->name);
  }
  EXPECT_TRUE(oprj_SPEntryByNames(theToolkit(), u"texas", u"CENTRAL", 2, slot)) << slot.chain();
  // messages are of bytes; what no table has is told as it was given
  EXPECT_FALSE(oprj_QueryFromText(theToolkit(), u"Merc\u00E4tor\xD800", slot));
  EXPECT_NE(slot.chain().find("\"Merc\xC3\xA4tor\xED\xA0\x80\""), std::string::npos)
      << slot.chain();
  Oprj_Note *notes = nullptr;
  const RecordPtr record(oprj_ProParametersFromText(theToolkit(), u"utm; zone=17; spheroid=Bessel",
                                                    nullptr, &notes, slot));
  ASSERT_TRUE(record && notes) << slot.chain();
  EXPECT_EQ(std::u16string(notes->text).substr(0, 8), u"\"Bessel\"");
  oprj_NotesFree(&notes);
}

TEST(Wide, TextsOfSystemsGoThereAndBack) {
  fromText(u"geographic; datum=WGS 84");
  const LeakCheck leaks;
  const char16_t *const texts[] = {
      u"Geographic; datum=NAD27", u"UTM; datum=WGS 84; zone=17S",
      u"State Plane; datum=NAD83; zone=4203; nad=83",
      u"Lambert Conformal Conic; datum=NAD83; lat_1=33; lat_2=45; lon_0=-96; lat_0=39"};
  for (const char16_t *text : texts) {
    const RecordPtr record = fromText(text);
    Slot slot;
    EXPECT_EQ(taken(oprj_ProParametersToText(theToolkit(), record.get(), nullptr, slot)), text)
        << slot.chain();
    char16_t *string = nullptr, *unit = nullptr;
    ASSERT_TRUE(oprj_ProParametersToPEString(&string, record.get(), nullptr, slot)) << slot.chain();
    const RecordPtr back(oprj_ProParametersFromPEString(string, &unit, slot));
    ASSERT_NE(back, nullptr) << slot.chain();
    EXPECT_EQ(oprj_ProParametersEqual(record.get(), back.get(), slot), 1) << slot.chain();
    EXPECT_FALSE(taken(unit).empty());
    // a record that holds the text is computed by the engine's set, under the same name
    const RecordPtr holding(oprj_ProParametersHoldingPEString(string, slot));
    Oprj_MapProjectionEx *made = nullptr;
    ASSERT_TRUE(oprj_ProjectionInit(theToolkit(), holding.get(), &made, slot)) << slot.chain();
    const HandlePtr handle(made);
    const std::u16string whole = taken(string);
    EXPECT_NE(whole.find(u"\"" + taken(oprj_MapProjectionName(made, slot)) + u"\""),
              std::u16string::npos);
  }
}

TEST(Wide, FilesOfSystemsAreRead) {
  const TemporaryDirectory place;
  const std::string prj = place.path() + "/\xE2\x82\xAC.prj", img = place.path() + "/a.img";
  const std::u16string name(u"" + std::u16string(place.path().begin(), place.path().end()) +
                            u"/\u20AC.prj");
  const RecordPtr record = fromText(u"utm; zone=17; datum=NAD27");
  const InfoPtr info(oprj_MapInfoCreate(nullptr));
  Slot slot;
  ASSERT_FALSE(oprj_MapInfoUnitsSet(info.get(), u"meters", slot));
  ASSERT_FALSE(oprj_MapInfoProjectionNameSet(info.get(), u"gr\u00FCn", slot));
  ASSERT_TRUE(oprj_PEPrjWrite(name.c_str(), record.get(), info.get(), slot)) << slot.chain();
  EXPECT_TRUE(std::filesystem::exists(prj));
  const InfoPtr other(oprj_MapInfoCreate(nullptr));
  const RecordPtr read(oprj_PEPrjRead(name.c_str(), other.get(), slot));
  ASSERT_NE(read, nullptr) << slot.chain();
  EXPECT_EQ(std::u16string(other->units.data), u"meters");
  EXPECT_EQ(std::u16string(read->proSpheroid->datum->datumname.data), u"NAD27");

  // nodes hold UTF-8, and half of a surrogate pair is nowhere
  Ohfa_File *file = ohfa_FileCreate(img.c_str(), 0, slot);
  ASSERT_NE(file, nullptr) << slot.chain();
  ASSERT_FALSE(oprj_ProParametersWrite(file, u"", record.get(), slot)) << slot.chain();
  ASSERT_FALSE(oprj_MapInfoWrite(file, u"", info.get(), slot)) << slot.chain();
  const RecordPtr stored(oprj_ProParametersRead(file, u"", nullptr, 0, slot));
  ASSERT_NE(stored, nullptr) << slot.chain();
  EXPECT_EQ(oprj_ProParametersEqual(record.get(), stored.get(), slot), 1);
  EXPECT_EQ(std::u16string(stored->proName.data), record->proName.data);
  InfoPtr there(oprj_MapInfoRead(file, u"", nullptr, 0, slot));
  ASSERT_NE(there, nullptr) << slot.chain();
  EXPECT_EQ(oprj_MapInfosEqual(info.get(), there.get(), slot), 1);
  there->proName.data[0] = 0xD800;
  Oerr_Report *refused = oprj_MapInfoWrite(file, u"", there.get(), slot);
  EXPECT_NE(refused, nullptr);
  EXPECT_NE(slot.chain().find("A text is no UTF-16"), std::string::npos) << slot.chain();
  ohfa_FileFlush(file, slot);
  ohfa_FileClose(&file, nullptr);
  EXPECT_NE(readFile(img).find("gr\xC3\xBCn"), std::string::npos);
}

TEST(Wide, PointsAreMovedByNamesAndUnits) {
  const RecordPtr in = fromText(u"geographic; datum=NAD27 (Alaska)"),
                  out = fromText(u"utm; zone=6; datum=WGS 84");
  Slot slot;
  Oprj_ProjectionPair *pair = oprj_ProjectionPairInit(theToolkit(), in.get(), out.get(), slot);
  ASSERT_NE(pair, nullptr) << slot.chain();
  const Oprj_Point place = {-147, 65};
  Oprj_Point feet, metres;
  ASSERT_TRUE(oprj_ProjectPairWithUnits(pair, &place, u"dd", &feet, u"feet", 1, slot))
      << slot.chain();
  Oprj_ProjectOptions options = OPRJ_PROJECT_OPTIONS;
  options.inUnit = u"dd";
  ASSERT_EQ(oprj_ProjectEach(pair, &place, &metres, nullptr, &options, 1, slot), 1) << slot.chain();
  EXPECT_NEAR(feet.x * 0.3048, metres.x, 1e-6);
  EXPECT_NEAR(metres.x, 500000, 500);  // the zone's meridian, and a shift of some 100 m
  EXPECT_FALSE(oprj_ProjectPairWithUnits(pair, &place, u"dd", &feet, u"ell\u00E9", 1, slot));
  EXPECT_NE(slot.chain().find("ell\xC3\xA9"), std::string::npos) << slot.chain();
  oprj_ProjectionPairFree(&pair);
}

// Texts beyond what fits on the stack.
TEST(Wide, LongTextsPass) {
  const RecordPtr record = fromText(u"utm; zone=17; datum=NAD27");
  const std::u16string name(3000, u'\u20AC');
  Slot slot;
  Oprj_CharStr kept = std::exchange(record->proName, {});
  ASSERT_TRUE(oprj_CharStrCreate(name.c_str(), &record->proName, slot));
  Oprj_MapProjectionEx *handle = nullptr;
  ASSERT_TRUE(oprj_ProjectionInit(theToolkit(), record.get(), &handle, slot)) << slot.chain();
  EXPECT_EQ(taken(oprj_MapProjectionName(handle, slot)), name);
  void *object = nullptr;
  Omif_Design *design = nullptr;
  ASSERT_TRUE(oprj_ProjectionConvertToMIFable(handle, &object, &design, slot)) << slot.chain();
  const HandlePtr back(oprj_ProjectionConvertFromMIFable(object, design, slot));
  ASSERT_NE(back, nullptr) << slot.chain();
  EXPECT_EQ(taken(oprj_MapProjectionName(back.get(), slot)), name);
  omif_ObjectFree(design, &object);
  omif_DesignFree(&design);
  oprj_ProjectionFree(&handle);
  oprj_CharStrFree(&record->proName);
  record->proName = kept;
  EXPECT_FALSE(oprj_QueryByName(theToolkit(), name.c_str(), slot));
}

}  // namespace
