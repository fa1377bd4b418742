// The designs of the records.
#include <oprj/designs.h>
#include <oprj/mapinfo.h>
#include <oprj/oint.h>
#include <oprj/omif_object.h>
#include <oprj/tables.h>

#include "interchange/shared_designs.h"
#include "tests/support.h"

namespace {

using namespace orvik::oprj;
using namespace orvik::test;

// Text forms: kinds, counts and names in the order in which files store them.
constexpr const char *kString = "{0:pcstring,}Omif_String,";
constexpr const char *kObject =
    "{1:x{0:pcstring,}Omif_String,type,0:pcMIFDictionary,0:pCMIFObject,}Omif_MIFObject,";
constexpr const char *kElevation =
    "{1:*oOprj_Datum,verticalDatum,0:pcelevationUnit,1:e3:OPRJ_ELEVATION_TYPE_HEIGHT,"
    "OPRJ_ELEVATION_TYPE_DEPTH,OPRJ_ELEVATION_TYPE_UNKNOWN,elevationType,}Oprj_ElevationInfo,";
const std::string kStart =
    std::string(
        "{0:pcdatumname,1:e4:OPRJ_DATUM_PARAMETRIC,OPRJ_DATUM_GRID,OPRJ_DATUM_REGRESSION,"
        "OPRJ_DATUM_SURFACE,type,0:pdparams,0:pcgridname,}Oprj_Datum,"
        "{0:pcsphereName,1:da,1:db,1:deSquared,1:dradius,}Oprj_Spheroid,"
        "{1:e2:OPRJ_INTERNAL,OPRJ_EXTERNAL,proType,1:lproNumber,0:pcproExeName,0:pcproName,"
        "1:lproZone,0:pdproParams,1:*oOprj_Spheroid,proSpheroid,}Oprj_ProParameters,") +
    kElevation +
    "{1:e2:OPRJ_INTERNAL,OPRJ_EXTERNAL,proType,1:lproNumber,0:pcproExeName,0:pcproName,"
    "1:lproZone,0:pdproParams,}Oprj_ProjectionObject830,"
    "{1:*oOprj_Spheroid,proSpheroid,1:*oOprj_Datum,datum,}Oprj_EarthModel830,"
    "{1:*oOprj_ProjectionObject830,projectionObject,1:*oOprj_EarthModel830,earthModel,}"
    "Oprj_MapProjection830," +
    kString + kObject + "{1:x" + std::string(kObject) + "projection,1:x" + kString +
    "title,}Oprj_MapProjection842,"
    "{1:dx,1:dy,}Oprj_Coordinate,"
    "{1:dwidth,1:dheight,}Oprj_Size,"
    "{0:pcproName,1:*oOprj_Coordinate,upperLeftCenter,1:*oOprj_Coordinate,lowerRightCenter,"
    "1:*oOprj_Size,pixelSize,0:pcunits,}Oprj_MapInfo,.";

std::string encode(const Omif_Dictionary *dictionary) {
  return taken(omif_DictionaryEncodeToString(dictionary, nullptr));
}

TEST(Designs, StartBuildsEveryDesignAndKeepsFour) {
  Oprj_InitData data{}, again{};
  Slot err;
  const Omif_Dictionary *dictionary = oprj_InitDictionaryCreate(&data, err);
  ASSERT_NE(dictionary, nullptr) << err.chain();
  expectNoReport(err);
  EXPECT_EQ(encode(dictionary), kStart);
  const std::pair<const Omif_Design *, const char *> kept[] = {
      {data.datumDesign, "Oprj_Datum"},
      {data.proParametersDesign, "Oprj_ProParameters"},
      {data.elevationInfoDesign, "Oprj_ElevationInfo"},
      {data.mapInfoDesign, "Oprj_MapInfo"}};
  for (const auto &[design, name] : kept)
    EXPECT_EQ(design, omif_DictionarySearchByName(dictionary, name, nullptr)) << name;

  const Omif_Dictionary *second = oprj_InitDictionaryCreate(&again, err);
  ASSERT_NE(second, nullptr) << err.chain();
  EXPECT_NE(second, dictionary);
  EXPECT_EQ(encode(second), kStart);
  EXPECT_NE(again.datumDesign, data.datumDesign);

  expectRefusal(oprj_InitDictionaryCreate(nullptr, err), err,
                "oprj_InitDictionaryCreate: Invalid input Oprj_InitData (21)");
}

TEST(Designs, FetchedDesignsAreMadeOnceWhateverTheThread) {
  using Fetch = const Omif_Design *(*)(Oerr_Report **);
  const std::pair<Fetch, std::string> fetches[] = {
      {peCoordsysDesign, std::string("{1:x") + kString + "coordSys,}PE_COORDSYS,"},
      {coordinateSystemDesign,
       "{1:*oOprj_MapProjection830,projectionObject,0:pchorizontalUnits,1:*oOprj_ElevationInfo,"
       "verticalCSObject,}Oprj_CoordinateSystem,"},
      {elevationInfoDesign, kElevation},
      {omifMIFObjectDesign, kObject}};
  Oprj_InitData data{};
  Omif_Dictionary *start = oprj_InitDictionaryCreate(&data, nullptr);  // what the designs point to
  for (const auto &[fetch, text] : fetches) {
    std::vector<const Omif_Design *> seen(8);
    inThreads(seen.size(), [&, fetch = fetch](size_t t) { seen[t] = fetch(nullptr); });
    EXPECT_EQ(seen, std::vector(8, seen.front()));
    ASSERT_NE(seen.front(), nullptr) << text;
    omif_DictionaryAddDesign(start, seen.front(), nullptr);
    EXPECT_NE(encode(start).find(text), std::string::npos) << text << "\n" << encode(start);
  }
}

TEST(Designs, DefinitionsReportADifferentDesignOfTheirName) {
  using Define = Omif_Design *(*)(Omif_Dictionary *, Oerr_Report **);
  const std::string returned = "Error returned from omif_DefineObject (1) < omif_DesignCreate: ";
  const struct {
    Define define;
    std::string name, problem;
    int code;
  } rows[] = {
      {oprj_DatumDesignDefine, "Datum", returned, 9},
      {oprj_SpheroidDesignDefine, "Spheroid", returned, 9},
      {oprj_ProParametersDesignDefine, "ProParameters", returned, 9},
      {oprj_CoordinateDesignDefine, "Coordinate", returned, 9},
      {oprj_SizeDesignDefine, "Size", returned, 9},
      {oprj_MapInfoDesignDefine, "MapInfo", returned, 9},
      {oprj_ElevationInfoDesignDefine, "ElevationInfo",
       "omif_AddDesignToDictionary failed: Failed to add Oprj_ElevationInfo design to dictionary "
       "(3) < omif_AddDesignToDictionary: ",
       4}};
  ASSERT_NE(elevationInfoDesign(nullptr), nullptr);
  const LeakCheck leaks;
  for (const auto &row : rows) {
    const std::string design = "Oprj_" + row.name;
    Omif_Dictionary *dictionary = omif_NewDictionary(nullptr);
    omif_DesignCreate(dictionary, design.c_str(), nullptr, OMIF_INT32, "other", OMIF_END);
    Slot err;
    expectRefusal(row.define(dictionary, err), err,
                  "oprj_" + row.name + "DesignDefine: " + row.problem + "A different design \"" +
                      design + "\" is in the dictionary (" + std::to_string(row.code) + ")");
    omif_DictionaryFree(&dictionary);
  }
}

TEST(Designs, ElevationInfoIsACopyOfItsOwn) {
  const auto *shared = elevationInfoDesign(nullptr);
  const LeakCheck leaks;
  Slot err;
  Omif_Design *copy = oprj_ElevationInfoDesignDefine(nullptr, err);
  expectNoReport(err);
  EXPECT_NE(copy, shared);
  EXPECT_TRUE(omif_DesignsEqual(copy, shared));
  omif_DesignFree(&copy);

  Omif_Dictionary *dictionary = omif_NewDictionary(nullptr);
  const auto *own = oprj_ElevationInfoDesignDefine(dictionary, err);
  EXPECT_EQ(own, omif_DictionarySearchByName(dictionary, "Oprj_ElevationInfo", nullptr));
  EXPECT_EQ(oprj_ElevationInfoDesignDefine(dictionary, err), own) << "an equal one was there";
  EXPECT_EQ(omif_DictionaryDesignCount(dictionary), 1);
  omif_DictionaryFree(&dictionary);
}

/// What is told while a dictionary is built again and again, each allocation failing in turn. What
/// a call that returns nothing leaves behind are designs shared by all; once they are made,
/// nothing.
std::string buildShortOfMemory(bool designsAreMade) {
  std::string told;
  for (int64_t n = 1;; ++n) {
    Oprj_InitData data{};
    Slot slot;
    const int64_t before = omsc_HeapBlockCount();
    const Omif_Dictionary *dictionary = oprj_InitDictionaryCreate(&data, slot.failing(n));
    const int64_t made = omsc_HeapFailNth(0);
    if (!slot.failed()) {
      EXPECT_LT(made, n) << "a failure was not told";
      EXPECT_EQ(encode(dictionary), kStart);
      return told;
    }
    told += slot.chain() + "\n";
    // Only the versioned designs may be missing, and then the dictionary is there all the same.
    const int32_t code = oerr_CodeGet(slot.get());
    const bool versioned = code >= 8 && code < 20;
    EXPECT_EQ(dictionary != nullptr, versioned) << slot.chain();
    EXPECT_EQ(data.datumDesign != nullptr, versioned) << slot.chain();
    if (designsAreMade && !dictionary) {
      EXPECT_EQ(omsc_HeapBlockCount(), before) << slot.chain();
    }
  }
}

// In a process of its own: designs that are fetched before the start lie in a dictionary without
// what they name, so that their objects are walked by those of the reference data.
void fetchedBeforeTheStart() {
  const auto *early = elevationInfoDesign(nullptr);
  Slot err;
  expectRefusal(
      omif_ObjectAllocate(early, err), err,
      "omif_ObjectAllocate: Item \"verticalDatum\" of design \"Oprj_ElevationInfo\" names "
      "\"Oprj_Datum\", which is not there (3)");
  const auto *dictionary = oprj_InitDataGet(oint_InitToolkit(nullptr), nullptr)->dictionary;
  for (const auto fetch : {elevationInfoDesign, coordinateSystemDesign, peCoordsysDesign}) {
    const auto *design = referenceDesign(fetch, err);
    EXPECT_EQ(design, omif_DictionarySearchByName(dictionary, omif_DesignName(design), nullptr));
    void *object = omif_ObjectAllocate(design, err);
    EXPECT_NE(object, nullptr) << err.chain();
    omif_ObjectFree(design, &object);
  }
  exit(testing::Test::HasFailure() ? 1 : 0);
}

/// What a fetch tells when each allocation fails in turn, until it succeeds.
std::string fetchShortOfMemory() {
  std::string told;
  Slot slot;
  for (int64_t n = 1; !peCoordsysDesign(slot.failing(n)); ++n) told += slot.chain() + "\n";
  omsc_HeapFailNth(0);
  return told;
}

void expectAll(const std::string &told, const std::vector<const char *> &wanted) {
  for (const char *message : wanted)
    EXPECT_NE(told.find(message), std::string::npos) << "never told: " << message;
}

// In a process of its own, where no design has been made yet.
void shortOfMemoryFromTheStart() {
  expectAll(fetchShortOfMemory(), {"PE_COORDSYS_Design: Error returned from Omif_String_Design (3)",
                                   "Omif_String_Design: Dictionary create fail (1)",
                                   "Omif_String_Design: Design create failed (2)",
                                   "PE_COORDSYS_Design: Design create failed (2)"});
  expectAll(buildShortOfMemory(false),
            {"Create: Error returned from omif_NewDictionary (1)",
             "Create: Error returned from oprj_DatumDesignDefine (2)",
             "Create: Error returned from oprj_SpheroidDesignDefine (3)",
             "Create: Error returned from oprj_ProParametersDesignDefine (4)",
             "Create: Error returned from oprj_ElevationInfoDesignDefine (2)",
             "Create: OMIF_DESIGN_FETCH failed (8)", "Create: OMIF_DESIGN_FETCH failed (18)",
             "Create: Error returned from oprj_CoordinateDesignDefine (5)",
             "Create: Error returned from oprj_SizeDesignDefine (6)",
             "Create: Error returned from oprj_MapInfoDesignDefine (7)"});
  expectAll(buildShortOfMemory(true), {"Create: omif_DictionaryAddDesign failed (9)",
                                       "Create: omif_DictionaryAddDesign failed (19)"});
  exit(testing::Test::HasFailure() ? 1 : 0);
}

TEST(DesignsDeathTest, ObjectsOfDesignsFetchedBeforeTheStartAreWalked) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(fetchedBeforeTheStart(), testing::ExitedWithCode(0), "");
}

TEST(DesignsDeathTest, EveryFailedAllocationIsToldAndLeaksNothing) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(shortOfMemoryFromTheStart(), testing::ExitedWithCode(0), "");
}

}  // namespace
