// Portable forms of projections and map infos: there and back, in other versions' layouts, damaged.
#include <oprj/mifable.h>

#include <cstring>

#include "tests/portable_support.h"

namespace {

using namespace orvik::test;
using Bytes = std::vector<uint8_t>;
using Dictionary = orvik::toolkit::Owner<Omif_Dictionary, omif_DictionaryFree>;

bool makePortable(const HandlePtr &handle, Portable &made, Oerr_Report **err) {
  return oprj_ProjectionConvertToMIFable(handle.get(), &made.object, &made.design, err);
}
HandlePtr back(const void *object, const Omif_Design *design, Oerr_Report **err) {
  return HandlePtr(oprj_ProjectionConvertFromMIFable(object, design, err));
}
Bytes encode(const Omif_Design *design, const void *object) {
  Bytes bytes(static_cast<size_t>(omif_ObjectSize(design, object, nullptr)));
  omif_ConvertToMIF(design, object, bytes.data(), static_cast<int32_t>(bytes.size()), nullptr);
  return bytes;
}
/// Replaces a text of a portable object.
void setText(Oprj_CharStr &target, const char *text) { oprj_CharStrCreate(text, &target, nullptr); }
void setText(Omif_Text &target, const char *text) {
  Oprj_CharStr set{target.count, target.data};
  setText(set, text);
  target = {set.count, set.data};
}
/// All that a projection's portable form says, as bytes.
Bytes stateOf(const HandlePtr &handle) {
  Portable portable;
  Slot slot;
  EXPECT_TRUE(makePortable(handle, portable, slot)) << slot.chain();
  return portable.object ? encode(portable.design, portable.object) : Bytes();
}

/// Plans of the library's designs are made once and stay.
struct MIFable : testing::Test {
  static void SetUpTestSuite() {
    Portable portable;
    makePortable(makeHandle(geographic()), portable, nullptr);
    back(portable.object, portable.design, nullptr);
    omif_DesignHostSize(oprj_InitDataGet(theToolkit(), nullptr)->mapInfoDesign, nullptr);
  }
};

TEST_F(MIFable, EverySystemGoesThereAndBackThroughBytes) {
  std::vector<RecordPtr> records = everyFamily();
  for (const char *datum : {"NAD27", "NAD27 (CONUS)", "Undefined"})
    records.push_back(makeRecord(1, {0, 0, 0, 0, 0, 0, 0, 0}, "Clarke 1866", datum, 17));
  for (const auto &record : records) {
    SCOPED_TRACE(record->proNumber);
    const LeakCheck leaks;
    const HandlePtr handle = makeHandle(record);
    Portable portable;
    Slot slot;
    ASSERT_TRUE(makePortable(handle, portable, slot)) << slot.chain();
    // As another component holds it: by bytes and the text of the dictionary alone.
    const Bytes bytes = encode(portable.design, portable.object);
    const Dictionary own(omif_DictionaryOfDesign(portable.design, nullptr));
    const std::string text = taken(omif_DictionaryEncodeToString(own.get(), nullptr));
    const Dictionary other(omif_DictionaryDecodeFromString(text.c_str(), nullptr));
    const auto *design = omif_DictionarySearchByName(other.get(), "Oprj_MapProjection842", nullptr);
    void *object =
        omif_ConvertToHost(design, bytes.data(), static_cast<int32_t>(bytes.size()), nullptr, slot);
    ASSERT_NE(object, nullptr) << slot.chain();
    const HandlePtr read = back(object, design, slot);
    omif_ObjectFree(design, &object);
    ASSERT_NE(read, nullptr) << slot.chain();
    // As a copy is: some comparisons find no two systems equal.
    const HandlePtr copy(oprj_ProjectionCopy(handle.get(), nullptr, nullptr));
    EXPECT_EQ(oprj_MapProjectionEqual(handle.get(), read.get(), nullptr),
              oprj_MapProjectionEqual(handle.get(), copy.get(), nullptr));
    EXPECT_TRUE(stateOf(read) == bytes);
  }
}

/// The portable form of a system whose stored parts `change` has changed, read again.
template <class Change>
HandlePtr changed(Change change, Oerr_Report **err) {
  Portable portable;
  EXPECT_TRUE(makePortable(makeHandle(transverseMercator(9)), portable, nullptr));
  const auto *inner = omif_DictionarySearchByName(
      oprj_InitDataGet(theToolkit(), nullptr)->dictionary, "Oprj_MapProjection830", nullptr);
  auto &bytes = portable.wrapped().MIFObject;
  void *object = omif_ConvertToHost(inner, bytes.data, bytes.count, nullptr, nullptr);
  change(*static_cast<Oprj_MapProjection830 *>(object));
  HandlePtr read = back(object, inner, err);
  omif_ObjectFree(inner, &object);
  return read;
}
const Oprj_ProParameters &recordOf(const HandlePtr &handle) {
  return *static_cast<Oprj_MapProjection *>(handle->ownedData)->proParameters;
}

TEST_F(MIFable, StoredSpheroidsAndDatumsAreCompleted) {
  const struct {
    const char *stored;
    double a, b;
    const char *read;
  } rows[] = {{"Airy 1830", 6377563.396, 6356256.909237285, "Airy 1830"},  // an alias stays
              {"WGS 84", 0, 0, "WGS 84"},
              {"Bessel", 0, 0, "WGS 84"},  // of other axes: the first with these
              {"Nobody's", 0, 0, "WGS 84"},
              {"Nobody's", 0, 6300000, "Nobody's"}};  // known by nobody: as stored
  Slot slot;
  for (const auto &row : rows) {
    const HandlePtr read = changed(
        [&](auto &stored) {
          auto &spheroid = *stored.earthModel->proSpheroid;
          setText(spheroid.sphereName, row.stored);
          if (row.a != 0) spheroid.a = row.a;
          if (row.b != 0) spheroid.b = row.b;
        },
        slot);
    ASSERT_NE(read, nullptr) << slot.chain();
    EXPECT_STREQ(recordOf(read).proSpheroid->sphereName.data, row.read);
  }
  for (int32_t type = 0; type <= 4; ++type) {  // three stays where no table knows better
    const HandlePtr read = changed(
        [&](auto &stored) {
          stored.earthModel->datum->type = type;
          setText(stored.earthModel->datum->datumname, "Nobody's datum");
          setText(stored.earthModel->datum->gridname, "missing.dat");
        },
        slot);
    ASSERT_NE(read, nullptr) << slot.chain();
    EXPECT_EQ(recordOf(read).proSpheroid->datum->type, type);
  }
  const HandlePtr named =
      changed([](auto &stored) { setText(stored.projectionObject->proExeName, "module"); }, slot);
  EXPECT_EQ(recordOf(named).proExeName.data, nullptr) << "a module of an internal projection";
  expectFailure(
      changed([](auto &stored) { oprj_DblArrayFree(&stored.projectionObject->proParams); }, slot),
      slot,
      "oprj_ProjectionConvertFromMIFable: ProjectionConvertFromMIFable failed (9) < "
      "nativeProjectionConvertFromMIFable: oprj_ProjectionPre842Init failed (6)");
}

// The design has no name for surface datums, so that writers stored them as undefined ones.
TEST_F(MIFable, SurfaceDatumsAreKnownByTheirNames) {
  Slot slot;
  Oprj_SpheroidTableEntry *table = oprj_SpheroidTableParse(
      "\"Ball\" { 998 6370000 6370000 \"Bent\" surface constant longitude 1 latitude 2 basedatum "
      "\"Straight\" \"Straight\" parametric 0 0 0 0 0 0 0 }",
      nullptr, slot);
  ASSERT_NE(table, nullptr) << slot.chain();
  for (const auto &[name, type] : {std::pair{"Bent", 4}, {"Straight", 3}}) {
    const HandlePtr read = changed(
        [&](auto &stored) {
          auto &spheroid = *stored.earthModel->proSpheroid;
          setText(spheroid.sphereName, "Ball");
          spheroid.a = spheroid.b = 6370000;
          stored.earthModel->datum->type = 3;
          setText(stored.earthModel->datum->datumname, name);
        },
        slot);
    ASSERT_NE(read, nullptr) << slot.chain();
    EXPECT_EQ(recordOf(read).proSpheroid->datum->type, type);
  }
  oprj_SpheroidTableEntryFree(&table);
}

// An inner dictionary may define a known name otherwise: items are found by name, of any width.
TEST_F(MIFable, OtherLayoutsOfAKnownNameAreReadByItemName) {
  const LeakCheck leaks;
  const HandlePtr handle = makeHandle(transverseMercator(9));
  Portable portable;
  ASSERT_TRUE(makePortable(handle, portable, nullptr));
  Omif_MIFObject &wrapped = portable.wrapped();
  const char *kText =
      "{1:Sversion,1:Sdatum,}Padding,{1:SproZone,0:pdproParams,1:LproNumber,0:pcproExeName,"
      "64:cproName,1:e2:OPRJ_EXTERNAL,OPRJ_INTERNAL,proType,}Parameters,"
      "{1:x{1:db,1:da,0:pcsphereName,1:dradius,1:deSquared,1:oPadding,more,}Oprj_Spheroid,unused,"
      "0:px{1:db,1:da,0:pcsphereName,1:dradius,1:deSquared,}Ball,proSpheroid,"
      "1:*x{1:e1:OPRJ_DATUM_PARAMETRIC,type,0:pdparams,0:pcdatumname,0:pcgridname,}Datum,datum,}"
      "Earth,{1:*oEarth,earthModel,1:*oParameters,projectionObject,}Oprj_MapProjection830,.";
  const Dictionary other(omif_DictionaryDecodeFromString(kText, nullptr));
  const auto *design = omif_DictionarySearchByName(other.get(), "Oprj_MapProjection830", nullptr);
  const auto *inner = omif_DictionarySearchByName(
      oprj_InitDataGet(theToolkit(), nullptr)->dictionary, "Oprj_MapProjection830", nullptr);
  Slot slot;
  void *object =
      omif_ConvertToHost(inner, wrapped.MIFObject.data, wrapped.MIFObject.count, nullptr, slot);
  Bytes bytes(1000);
  const int32_t size = omif_ConvertToMIFAs(inner, object, design, bytes.data(), 1000, slot);
  ASSERT_GT(size, 0) << slot.chain();
  omif_ObjectFree(inner, &object);
  const Omif_MIFObject before = wrapped;
  wrapped.MIFDictionary = {static_cast<int32_t>(strlen(kText)) + 1, const_cast<char *>(kText)};
  wrapped.MIFObject = {size, bytes.data()};
  const HandlePtr read = back(portable.object, portable.design, slot);
  EXPECT_NE(read, nullptr) << slot.chain();
  wrapped = before;
  if (read) {
    EXPECT_EQ(stateOf(read), stateOf(handle));
  }
}

TEST_F(MIFable, WhatCannotBeReadIsTold) {
  const LeakCheck leaks;
  const HandlePtr handle = makeHandle(geographic());
  using Change = std::function<void(Portable &)>;
  const auto setType = [](const char *name) -> Change {
    return [name](Portable &p) { setText(p.wrapped().type.string, name); };
  };
  const auto setDictionary = [](const char *text) -> Change {
    return [text](Portable &p) { setText(p.wrapped().MIFDictionary, text); };
  };
  const std::pair<Change, const char *> rows[] = {
      {setDictionary("{"), "omif_DictionaryDecodeFromString failed (3)"},
      {setType("Nobody"), "Design Nobody not found in dictionary (5)"},
      {setDictionary("."), "Design Oprj_MapProjection830 not found in dictionary (5)"},
      {setType("Oprj_Datum"), "omif_ConvertToHost failed (7)"},
      {[](Portable &p) { --p.wrapped().MIFObject.count; }, "omif_ConvertToHost failed (7)"},
      {[&](Portable &p) {
         setType("Odd")(p);
         setDictionary("{1:fa,}Odd,.")(p);
       },
       "omif_ObjectAllocate failed (6)"},
      {[&](Portable &p) {
         setType("Odd")(p);
         setDictionary("{1:la,}Odd,.")(p);
       },
       "ProjectionConvertFromMIFable failed (9) < nativeProjectionConvertFromMIFable: Unrecognized "
       "design name (1)"},
      {[](Portable &p) { setText(p.whole().title.string, "Other"); },
       "MapProjectionFunctionsFromTitle failed (8)"}};
  Slot slot;
  const std::string function = "oprj_ProjectionConvertFromMIFable: ";
  for (const auto &[change, told] : rows) {
    Portable portable;
    ASSERT_TRUE(makePortable(handle, portable, nullptr));
    change(portable);
    expectFailure(back(portable.object, portable.design, slot), slot, function + told);
  }
  Portable portable;
  ASSERT_TRUE(makePortable(handle, portable, nullptr));
  expectRefusal(back(portable.object, nullptr, slot), slot, function + "NULL design (1)");
  expectRefusal(back(nullptr, portable.design, slot), slot, function + "NULL object (11)");
  const auto *datum = oprj_InitDataGet(theToolkit(), nullptr)->datumDesign;
  expectRefusal(back(portable.object, datum, slot), slot,
                function + "Don't know how to convert from Oprj_Datum (2)");
  Portable none;
  expectRefusal(oprj_ProjectionConvertToMIFable(nullptr, &none.object, &none.design, slot), slot,
                "oprj_ProjectionConvertToMIFable: Args (1)");
}

TEST_F(MIFable, SurvivesEveryFailedAllocation) {
  const LeakCheck leaks;
  const HandlePtr handle = makeHandle(transverseMercator(9));
  Portable kept;
  ASSERT_TRUE(makePortable(handle, kept, nullptr));
  forEachAllocationFailure([&](auto err) {
    Portable portable;
    return makePortable(handle, portable, err);
  });
  // Names that the tables would have completed are a luxury.
  forEachAllocationFailure([&](auto err) { return back(kept.object, kept.design, err) != nullptr; },
                           {}, OnFailure::kMayRecover);
}

TEST_F(MIFable, MapInfosGoThereAndBack) {
  const LeakCheck leaks;
  Slot slot;
  Oprj_MapInfo *info = oprj_MapInfoCreate(slot);
  oprj_MapInfoProjectionNameSet(info, "UTM", slot);
  oprj_MapInfoPixelSizeSet(info, 30, 30, slot);
  Portable portable;
  ASSERT_EQ(oprj_MapInfoConvertToMIFable(info, &portable.object, &portable.design, slot), 1);
  const Dictionary later(omif_DictionaryDecodeFromString(
      "{0:pcproName,1:*x{1:dheight,1:dwidth,1:ln,}Size,pixelSize,}Oprj_MapInfo,.", nullptr));
  const auto *design = omif_DictionaryDesign(later.get(), 0);
  void *other = omif_ObjectConvert(portable.design, portable.object, design, slot);
  Oprj_MapInfo *read = oprj_MapInfoConvertFromMIFable(other, design, slot);
  EXPECT_EQ(oprj_MapInfosEqual(info, read, slot), 1) << slot.chain();
  omif_ObjectFree(design, &other);
  oprj_MapInfoFree(&read);
  EXPECT_EQ(oprj_MapInfoConvertFromMIFable(nullptr, portable.design, slot), nullptr);
  expectNoReport(slot);
  const std::string from = "oprj_MapInfoConvertFromMIFable: Can't create an Oprj_MapInfo from a ";
  expectRefusal(oprj_MapInfoConvertFromMIFable(
                    info, oprj_InitDataGet(theToolkit(), nullptr)->datumDesign, slot),
                slot, from + "Oprj_Datum object (1)");
  Portable none;
  expectRefusal(oprj_MapInfoConvertToMIFable(info, nullptr, &none.design, slot), slot,
                "oprj_MapInfoConvertToMIFable: Args! (1)");
  oprj_MapInfoFree(&info);
}

TEST_F(MIFable, EngineSystemsTravelAsTheirTexts) {
  const char *kText =
      "PROJCS[\"U\",GEOGCS[\"G\",DATUM[\"D\",SPHEROID[\"S\",6378137.0,298.257223563]],"
      "PRIMEM[\"Greenwich\",0.0],UNIT[\"Degree\",0.0174532925199433]],"
      "PROJECTION[\"Transverse_Mercator\"],PARAMETER[\"Central_Meridian\",-81.0],"
      "UNIT[\"Meter\",1.0]]";
  const RecordPtr record = geographic();
  setText(record->proExeName, kText);
  const HandlePtr handle = makeHandle(record);
  const auto textOf = [](const HandlePtr &read) {
    return taken(oawp_PE_pe_coordsys_to_string(
        static_cast<const Oawp_PE_COORDSYS *>(read->ownedData), nullptr, 0));
  };
  Portable portable;
  Slot slot;
  ASSERT_TRUE(makePortable(handle, portable, slot)) << slot.chain();
  EXPECT_STREQ(portable.whole().title.string.data, "PE");
  EXPECT_STREQ(portable.wrapped().type.string.data, "PE_COORDSYS");
  const HandlePtr read = back(portable.object, portable.design, slot);
  ASSERT_NE(read, nullptr) << slot.chain();
  EXPECT_EQ(textOf(read), kText);

  // Another version's projected system: its first text, or what it calls "coordSys".
  const Omif_MIFObject before = portable.wrapped();
  for (std::string layout :
       {"{1:lid,0:pcwkt,0:pcmore,}PE_PROJCS,.", "{1:lid,0:pcname,0:pccoordSys,}PE_PROJCS,."}) {
    const bool named = layout.find("coordSys") != std::string::npos;
    const auto textItem = [](Bytes &bytes, std::string text) {
      const auto offset = static_cast<uint8_t>(bytes.size() + 8);
      const size_t count = text.size() + 1;
      bytes.insert(bytes.end(), {static_cast<uint8_t>(count), static_cast<uint8_t>(count >> 8), 0,
                                 0, offset, 0, 0, 0});
      bytes.insert(bytes.end(), text.c_str(), text.c_str() + count);
    };
    Bytes bytes = {7, 0, 0, 0};
    if (named) textItem(bytes, "no system");
    textItem(bytes, kText);
    if (!named) bytes.insert(bytes.end(), 8, 0);
    std::string type = "PE_PROJCS";
    portable.wrapped() = {{{static_cast<int32_t>(type.size() + 1), type.data()}},
                          {static_cast<int32_t>(layout.size() + 1), layout.data()},
                          {static_cast<int32_t>(bytes.size()), bytes.data()}};
    const HandlePtr other = back(portable.object, portable.design, slot);
    if (other) {
      EXPECT_EQ(textOf(other), kText);
    } else {
      ADD_FAILURE() << slot.chain();
    }
    bytes[named ? 30 : 14] = '!';
    expectFailure(back(portable.object, portable.design, slot), slot,
                  "oprj_ProjectionConvertFromMIFable: ProjectionConvertFromMIFable failed (9) < "
                  "peProjectionConvertFromMIFable: OAWP_FCLL_PE(pe_coordsys_from_string) failed "
                  "(5)");
  }
  portable.wrapped() = before;
}

}  // namespace
