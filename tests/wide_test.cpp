// The wide library as its own callers have it: the same operations with texts of UTF-16.
#include <oprj/oprj.h>

#include <cmath>
#include <functional>
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

using LibraryPtr = orvik::toolkit::Owner<Oprj_ProjectionLibrary, oprj_ProjectionLibraryFree>;

TEST(Wide, ProjectionLibrariesAreOfWideTexts) {
  Slot slot;
  const LibraryPtr zones(oprj_ProjectionLibraryOpen(theToolkit(), u"utm", slot));
  ASSERT_NE(zones, nullptr) << slot.chain();
  EXPECT_EQ(oprj_ProjectionLibraryName(zones.get()), std::u16string(u"UTM"));
  const Oprj_ProjectionItem *zone =
      oprj_ProjectionLibraryFind(zones.get(), u"wgs 84 / utm zone 18n");
  ASSERT_NE(zone, nullptr);
  EXPECT_EQ(zone->code, std::u16string(u"EPSG:32618"));
  Oprj_MapProjectionEx *made = nullptr;
  ASSERT_TRUE(oprj_ProjectionItemInit(theToolkit(), zone, &made, slot)) << slot.chain();
  const HandlePtr handle(made);
  EXPECT_EQ(oprj_ProjectionLibraryEquivalent(zones.get(), made, u"meters", slot), zone);

  // its file is UTF-8, and gives back what was put in
  const TemporaryDirectory place;
  const std::u16string title = u"Gr\u00FCn \xD83D\xDE00", folder = u"\u20AC",
                       file = std::u16string(place.path().begin(), place.path().end()) +
                              u"/\u20AC.plib";
  const RecordPtr record = fromText(u"utm; zone=17; datum=NAD27");
  Oprj_ProjectionItem item{};
  item.title = title.c_str();
  item.category = folder.c_str();
  item.record = record.get();
  const LibraryPtr written(oprj_ProjectionLibraryCreate(u"\u00FCber", slot));
  ASSERT_TRUE(oprj_ProjectionLibraryAdd(written.get(), &item, slot)) << slot.chain();
  EXPECT_FALSE(oprj_ProjectionLibraryAdd(written.get(), &item, slot));
  EXPECT_NE(slot.chain().find("\"Gr\xC3\xBCn \xF0\x9F\x98\x80\" is taken"), std::string::npos);
  item.title = u"half \xD83D";
  EXPECT_FALSE(oprj_ProjectionLibraryAdd(written.get(), &item, slot));
  EXPECT_NE(slot.chain().find("A text is no UTF-16 (4)"), std::string::npos) << slot.chain();
  ASSERT_TRUE(oprj_ProjectionLibraryWrite(written.get(), file.c_str(), slot)) << slot.chain();
  EXPECT_NE(readFile(place.path() + "/\xE2\x82\xAC.plib").find("Gr\xC3\xBCn"), std::string::npos);
  const LibraryPtr read(oprj_ProjectionLibraryOpen(theToolkit(), file.c_str(), slot));
  ASSERT_NE(read, nullptr) << slot.chain();
  int32_t count = 0;
  omsc_HeapFree(oprj_ProjectionLibrarySearch(read.get(), u"gr\u00FCn \xD83D\xDE00", u"\u20AC",
                                             nullptr, &count, slot));
  EXPECT_EQ(count, 1);
  const Oprj_ProjectionItem *back = oprj_ProjectionLibraryItem(read.get(), 0);
  EXPECT_EQ(back->title, title);
  EXPECT_EQ(back->category, folder);
  EXPECT_TRUE(oprj_ProjectionLibraryRemove(read.get(), title.c_str(), slot)) << slot.chain();
  const ScopedEnvironment path("ORVIK_PROJECTIONS_PATH", place.path().c_str());
  char16_t **names = oprj_ProjectionLibraryNames(theToolkit(), &count, slot);
  ASSERT_EQ(count, 1) << slot.chain();
  EXPECT_EQ(names[0], std::u16string(u"\u00FCber"));
  oprj_ProjectionLibraryNamesFree(&names);
  Oprj_System *system = oprj_SystemRead(theToolkit(), (u"@\u00DCBER/" + title).c_str(), slot);
  EXPECT_EQ(system, nullptr) << "only ASCII letters in any case";
  system = oprj_SystemRead(theToolkit(), (u"@\u00FCber/" + title).c_str(), slot);
  ASSERT_NE(system, nullptr) << slot.chain();
  EXPECT_EQ(oprj_ProParametersEqual(system->record, record.get(), slot), 1);
  oprj_SystemFree(&system);
}

using Operation = std::function<bool(Oerr_Report **)>;

/// Runs the operation, which frees what it makes, with its 1st, 2nd, 3rd … allocation failing: it
/// throws nothing, loses nothing, and what it cannot do it tells, never doing what it would not
/// have done with memory. Returns the number of allocations.
int64_t survives(const Operation &operation) {
  Slot untouched;
  const bool works = operation(untouched);
  const std::string told = untouched.chain();
  for (int64_t n = 1;; ++n) {
    SCOPED_TRACE("allocation " + std::to_string(n) + " fails");
    const LeakCheck leaks;
    Slot slot;
    const bool done = operation(slot.failing(n));
    if (omsc_HeapFailNth(0) < n) {
      EXPECT_EQ(done, works);
      EXPECT_EQ(slot.chain(), told);
      return n - 1;
    }
    EXPECT_TRUE(works || !done) << "not with memory: " << told;
    EXPECT_TRUE(done || slot.failed()) << "failed without a report";
    if (testing::Test::HasFailure()) return n;
  }
}

// Texts that do not fit on the stack, wherever an operation takes one.
TEST(Wide, TextsWithoutMemoryAreReported) {
  const std::u16string longText(400, u'\u20AC');
  const char16_t *const text = longText.c_str();
  const RecordPtr utm = fromText(u"utm; zone=17; datum=NAD27"),
                  odd = fromText(u"utm; zone=18; datum=WGS 84"),
                  outside = fromText(u"geographic; datum=WGS 84");
  for (Oprj_CharStr *name : {&odd->proName, &odd->proSpheroid->sphereName,
                             &odd->proSpheroid->datum->datumname, &outside->proExeName})
    ASSERT_TRUE(oprj_CharStrCreate(text, name, nullptr));
  outside->proType = OPRJ_EXTERNAL;
  char16_t *made = nullptr;
  ASSERT_TRUE(oprj_ProParametersToPEString(&made, utm.get(), nullptr, nullptr));
  const std::u16string string = taken(made);
  const auto handleOf = [](const RecordPtr &record, Oerr_Report **err) {
    Oprj_MapProjectionEx *handle = nullptr;
    oprj_ProjectionInit(theToolkit(), record.get(), &handle, err);
    return HandlePtr(handle);
  };
  const RecordPtr holding(oprj_ProParametersHoldingPEString(string.c_str(), nullptr));
  const HandlePtr native = handleOf(utm, nullptr), oddNative = handleOf(odd, nullptr);
  ASSERT_TRUE(native && oddNative && holding);
  const Oprj_ProjectionPair pair = {native.get(), oddNative.get()};
  const InfoPtr info(oprj_MapInfoCreate(nullptr));
  ASSERT_FALSE(oprj_MapInfoUnitsSet(info.get(), text, nullptr));
  using Heights = orvik::toolkit::Owner<Oprj_ElevationInfo, oprj_ElevationInfoFree>;
  const Heights heights(oprj_ElevationInfoCreate(nullptr)),
      others(oprj_ElevationInfoCreate(nullptr));
  ASSERT_TRUE(oprj_CharStrCreate(text, &heights->elevationUnit, nullptr));
  const TemporaryDirectory place;
  Ohfa_File *file = ohfa_FileCreate((place.path() + "/a.img").c_str(), 0, nullptr);
  ASSERT_NE(file, nullptr);
  const Oprj_Point in = {-80, 40};
  Oprj_Point out;
  Oprj_ProjectOptions options = OPRJ_PROJECT_OPTIONS;
  options.outUnit = text;
  const LibraryPtr library(oprj_ProjectionLibraryCreate(u"L", nullptr));
  Oprj_ProjectionItem item{};
  item.title = text;
  item.record = utm.get();
  const auto kept = [](char16_t *result) { return taken(result) != u"(null)"; };
  const struct {
    const char *name;
    Operation operation;
  } rows[] = {
      {"QueryByName", [&](auto err) { return oprj_QueryByName(theToolkit(), text, err); }},
      {"CreateByName",
       [&](auto err) {
         return RecordPtr(oprj_ProParametersCreateByName(theToolkit(), text, err)) != nullptr;
       }},
      {"SPEntryByNames",
       [&](auto err) { return oprj_SPEntryByNames(theToolkit(), text, text, 2, err); }},
      {"SpheroidNumberByName",
       [&](auto err) { return oprj_SpheroidNumberByName(theToolkit(), text, err); }},
      {"SpheroidNameByDatumName",
       [&](auto err) { return kept(oprj_GetSpheroidNameByDatumName(theToolkit(), text, err)); }},
      {"QueryFromText", [&](auto err) { return oprj_QueryFromText(theToolkit(), text, err); }},
      {"CodeFromText", [&](auto err) { return oprj_CodeFromText(text, err); }},
      {"SPTableParse", [&](auto err) { return oprj_SPTableParse(text, nullptr, err); }},
      {"SPTableParse, a file", [&](auto err) { return oprj_SPTableParse(nullptr, text, err); }},
      {"QueryTableParse", [&](auto err) { return oprj_QueryTableParse(text, nullptr, err); }},
      {"SpheroidTableParse", [&](auto err) { return oprj_SpheroidTableParse(text, nullptr, err); }},
      {"PointsConvertByUnitName",
       [&](auto err) { return oprj_PointsConvertByUnitName(&out, 1, u"meters", text, err); }},
      {"ProjectWithUnits",
       [&](auto err) {
         return oprj_ProjectPairWithUnits(&pair, &in, text, &out, nullptr, 1, err);
       }},
      {"ToLatLonWithUnits",
       [&](auto err) {
         return oprj_ProjectToLatLonWithUnits(&in, text, native.get(), &out, nullptr, 1, err);
       }},
      {"FromLatLonWithUnits",
       [&](auto err) {
         return oprj_ProjectFromLatLonWithUnits(&in, nullptr, native.get(), &out, text, 1, err);
       }},
      {"ProjectEach",
       [&](auto err) {
         return oprj_ProjectEach(&pair, &in, &out, nullptr, &options, 1, err) == 1;
       }},
      {"Project", [&](auto err) { return oprj_ProjectPair(&pair, &in, &out, 1, err); }},
      {"DatumShiftRegression",
       [&](auto err) {
         oprj_DatumShiftRegression(&in, &out, 1, text, 1, err);
         return !*err;
       }},
      {"DatumGridFileOpen", [&](auto err) { return oprj_DatumGridFileOpen(text, err); }},
      {"PEPrjRead", [&](auto err) { return oprj_PEPrjRead(text, info.get(), err); }},
      {"PEPrjWrite", [&](auto err) { return oprj_PEPrjWrite(text, utm.get(), info.get(), err); }},
      {"FromPEString",
       [&](auto err) {
         return RecordPtr(oprj_ProParametersFromPEString(string.c_str(), nullptr, err)) != nullptr;
       }},
      {"HoldingPEString",
       [&](auto err) {
         return RecordPtr(oprj_ProParametersHoldingPEString(string.c_str(), err)) != nullptr;
       }},
      {"MapProjectionFromPEString",
       [&](auto err) {
         Oprj_MapProjectionEx *read = nullptr;
         oprj_MapProjectionFromPEString(string.c_str(), &read, nullptr, err);
         return HandlePtr(read) != nullptr;
       }},
      {"ElevationInfoFromPEString",
       [&](auto err) {
         return Heights(oprj_ElevationInfoFromPEString(string.c_str(), err)) != nullptr;
       }},
      {"ToPEString",
       [&](auto err) {
         char16_t *written = nullptr;
         oprj_MapProjectionToPEString(&written, native.get(), text, err);
         return kept(written);
       }},
      {"ProjectionInit of a string", [&](auto err) { return handleOf(holding, err) != nullptr; }},
      {"ProjectionInit of a program", [&](auto err) { return handleOf(outside, err) != nullptr; }},
      {"ToText",
       [&](auto err) {
         return kept(oprj_ProParametersToText(theToolkit(), odd.get(), nullptr, err));
       }},
      {"Title",
       [&](auto err) { return kept(oprj_ProParametersTitle(theToolkit(), odd.get(), err)); }},
      {"Cautions",
       [&](auto err) {
         Oprj_Note *notes = nullptr;
         const bool done = oprj_ProjectionPairCautions(theToolkit(), &pair, &notes, err);
         oprj_NotesFree(&notes);
         return done;
       }},
      {"UnitGetFromMapInfo", [&](auto err) { return oprj_UnitGetFromMapInfo(info.get(), err); }},
      {"ElevationInfosEqual",
       [&](auto err) { return oprj_ElevationInfosEqual(heights.get(), others.get(), err); }},
      {"MapInfoWrite", [&](auto err) { return !oprj_MapInfoWrite(file, text, info.get(), err); }},
      {"MapInfoRead",
       [&](auto err) { return InfoPtr(oprj_MapInfoRead(file, text, nullptr, 0, err)) != nullptr; }},
      {"ProParametersWrite",
       [&](auto err) { return !oprj_ProParametersWrite(file, text, odd.get(), err); }},
      {"ProParametersRead",
       [&](auto err) {
         return RecordPtr(oprj_ProParametersRead(file, text, nullptr, 0, err)) != nullptr;
       }},
      {"ConvertToMIFable",
       [&](auto err) {
         void *object = nullptr;
         Omif_Design *design = nullptr;
         const bool done = oprj_ProjectionConvertToMIFable(oddNative.get(), &object, &design, err);
         const HandlePtr back(done ? oprj_ProjectionConvertFromMIFable(object, design, err)
                                   : nullptr);
         omif_ObjectFree(design, &object);
         omif_DesignFree(&design);
         return back != nullptr;
       }},
      {"ProjectionLibraryOpen",
       [&](auto err) { return oprj_ProjectionLibraryOpen(theToolkit(), text, err); }},
      {"ProjectionLibraryRemove",
       [&](auto err) { return oprj_ProjectionLibraryRemove(library.get(), text, err); }},
      {"ProjectionLibrarySearch",
       [&](auto err) {
         int32_t count = 0;
         int32_t *found =
             oprj_ProjectionLibrarySearch(library.get(), text, text, nullptr, &count, err);
         omsc_HeapFree(found);
         return found != nullptr;
       }},
      {"ProjectionLibraryAdd",
       [&](auto err) {
         const LibraryPtr empty(oprj_ProjectionLibraryCreate(text, err));
         return empty && oprj_ProjectionLibraryAdd(empty.get(), &item, err);
       }},
      {"ElevationInfoConvertFromMIF",
       [&](auto err) {
         const uint8_t byte = 0;
         return Heights(oprj_ElevationInfoConvertFromMIF(text, text, &byte, 1, err)) != nullptr;
       }},
  };
  const LogCapture quiet;
  int64_t allocations = 0;
  for (const auto &row : rows) {
    SCOPED_TRACE(row.name);
    allocations += survives(row.operation);
  }
  EXPECT_GT(allocations, 500) << "names that are only compared take none, texts that are read do";
  ohfa_FileClose(&file, nullptr);
}

}  // namespace
