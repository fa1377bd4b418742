// Whole coordinate systems as one object, elevation infos in portable form, and both in transit.
#include <oprj/wrapped.h>

#include <cstring>

#include "tests/portable_support.h"

namespace {

using namespace orvik::test;
using ElevationPtr = orvik::toolkit::Owner<Oprj_ElevationInfo, oprj_ElevationInfoFree>;

ElevationPtr heights(const char *datum = "EGM96", const char *unit = "feet") {
  ElevationPtr info(oprj_ElevationInfoCreate(nullptr));
  oprj_CharStrCreate(datum, &info->verticalDatum->datumname, nullptr);
  oprj_CharStrCreate(unit, &info->elevationUnit, nullptr);
  info->verticalDatum->type = OPRJ_DATUM_PARAMETRIC;
  info->elevationType = OPRJ_ELEVATION_TYPE_DEPTH;
  return info;
}

HandlePtr engineHandle() {
  const RecordPtr record = geographic();
  oprj_CharStrCreate(
      "PROJCS[\"U\",GEOGCS[\"G\",DATUM[\"D_WGS_1984\",SPHEROID[\"WGS_1984\",6378137.0,"
      "298.257223563]],PRIMEM[\"Greenwich\",0.0],UNIT[\"Degree\",0.0174532925199433]],"
      "PROJECTION[\"Transverse_Mercator\"],PARAMETER[\"Central_Meridian\",-81.0],"
      "UNIT[\"Meter\",1.0]]",
      &record->proExeName, nullptr);
  return makeHandle(record);
}

/// The ten outputs of a projection in transit.
struct Transit {
  Transit() = default;
  Transit(const Transit &) = delete;
  Transit &operator=(const Transit &) = delete;
  ~Transit() {
    for (void *block :
         {static_cast<void *>(dictionary), static_cast<void *>(name), static_cast<void *>(object),
          static_cast<void *>(innerDictionary), static_cast<void *>(innerName),
          static_cast<void *>(innerObject), static_cast<void *>(title)})
      omsc_HeapFree(block);
  }
  int32_t take(const HandlePtr &handle, Oerr_Report **err) {
    return oprj_ProjectionConvertToMIF(handle.get(), &dictionary, &name, &object, &size,
                                       &innerDictionary, &innerName, &innerObject, &innerSize,
                                       &title, &version, err);
  }
  HandlePtr give(Oerr_Report **err) const {
    return HandlePtr(oprj_ProjectionConvertFromMIF(nullptr, nullptr, nullptr, 0, innerDictionary,
                                                   innerName, innerObject, innerSize, title,
                                                   version, err));
  }
  char *dictionary = nullptr, *name = nullptr, *innerDictionary = nullptr, *innerName = nullptr,
       *title = nullptr;
  uint8_t *object = nullptr, *innerObject = nullptr;
  int32_t size = 0, innerSize = 0, version = 0;
};

/// Parts of a system in portable form.
struct Wrapped : testing::Test {
  Wrapped() {
    EXPECT_TRUE(oprj_ProjectionConvertToMIFable830(handle.get(), &projection.object,
                                                   &projection.design, nullptr));
    EXPECT_TRUE(oprj_ElevationInfoConvertToMIFable(info.get(), &elevation.object, &elevation.design,
                                                   nullptr));
    wrap(whole, nullptr);
  }
  int32_t wrap(Portable &made, Oerr_Report **err) const {
    return oprj_MIFableCoordinateSystemWrap(projection.object, projection.design, "meters",
                                            elevation.object, elevation.design, &made.object,
                                            &made.design, err);
  }
  /// Plans and texts of the library's designs are made once and stay.
  static void SetUpTestSuite() {
    const ElevationPtr info = heights();
    char *texts[2];
    uint8_t *object;
    int32_t size;
    oprj_ElevationInfoConvertToMIF(info.get(), &texts[0], &texts[1], &object, &size, nullptr);
    ElevationPtr(oprj_ElevationInfoConvertFromMIF(texts[0], texts[1], object, size, nullptr));
    for (void *block : {static_cast<void *>(texts[0]), static_cast<void *>(texts[1]),
                        static_cast<void *>(object)})
      omsc_HeapFree(block);
    const HandlePtr handles[] = {makeHandle(geographic()), engineHandle()};
    for (const HandlePtr &each : handles) {
      Transit transit;
      transit.take(each, nullptr);
      transit.give(nullptr);
    }
  }
  const HandlePtr handle = makeHandle(transverseMercator(9));
  const ElevationPtr info = heights();
  Portable projection, elevation, whole;
};

TEST_F(Wrapped, SystemsComeBackAsTheyWere) {
  const LeakCheck leaks;
  for (const char *unit : {"meters", "", static_cast<const char *>(nullptr)}) {
    for (const bool high : {true, false}) {
      Portable made;
      Slot slot;
      ASSERT_TRUE(oprj_MIFableCoordinateSystemWrap(
          projection.object, projection.design, unit, high ? elevation.object : nullptr,
          high ? elevation.design : nullptr, &made.object, &made.design, slot))
          << slot.chain();
      Oprj_MapProjectionEx *read = nullptr;
      Oprj_ElevationInfo *readInfo = nullptr;
      char *readUnit = nullptr;
      ASSERT_TRUE(oprj_MIFableCoordinateSystemToOPRJ(made.object, made.design, &read, &readUnit,
                                                     &readInfo, slot))
          << slot.chain();
      const HandlePtr owned(read);
      const ElevationPtr ownedInfo(readInfo);
      EXPECT_EQ(taken(readUnit), unit ? unit : "(null)");
      EXPECT_EQ(oprj_MapProjectionEqual(handle.get(), read, nullptr), 1);
      if (high) {
        EXPECT_EQ(oprj_ElevationInfosEqual(info.get(), readInfo, nullptr), 1);
      } else {
        EXPECT_EQ(readInfo, nullptr);
      }
    }
  }
}

TEST_F(Wrapped, PartsAreCopies) {
  const LeakCheck leaks;
  Portable first, second;
  char *unit = nullptr;
  Slot slot;
  ASSERT_TRUE(oprj_MIFableCoordinateSystemUnwrap(whole.object, whole.design, &first.object,
                                                 &first.design, &unit, &second.object,
                                                 &second.design, slot))
      << slot.chain();
  EXPECT_EQ(taken(unit), "meters");
  for (const auto &[made, given] : {std::pair{&first, &projection}, {&second, &elevation}}) {
    EXPECT_NE(made->object, given->object);
    EXPECT_TRUE(omif_DesignsEqual(made->design, given->design));
    std::vector<uint8_t> bytes[2];
    for (int i = 0; i < 2; ++i) {
      const Portable &each = *(i ? given : made);
      const int32_t size = omif_ObjectSize(each.design, each.object, nullptr);
      bytes[i].resize(static_cast<size_t>(size));
      omif_ConvertToMIF(each.design, each.object, bytes[i].data(), size, nullptr);
    }
    EXPECT_EQ(bytes[0], bytes[1]);
  }
}

// A handle of the Projection Engine is translated for its 830; the handle itself is left as it is.
TEST_F(Wrapped, EngineHandlesAreTranslated) {
  const HandlePtr engine = engineHandle();
  Portable made;
  Slot slot;
  ASSERT_TRUE(oprj_ProjectionConvertToMIFable830(engine.get(), &made.object, &made.design, slot))
      << slot.chain();
  EXPECT_STREQ(omif_DesignName(made.design), "Oprj_MapProjection830");
  EXPECT_STREQ(engine->title, OPRJ_TITLE_PE);
  const auto &record = *static_cast<Oprj_MapProjection830 *>(made.object)->projectionObject;
  EXPECT_STREQ(record.proName.data, "Transverse Mercator");
}

TEST_F(Wrapped, WhatIsNoSystemIsTold) {
  const LeakCheck leaks;
  const auto *datum = oprj_InitDataGet(theToolkit(), nullptr)->datumDesign;
  Portable wrapper;
  ASSERT_TRUE(
      oprj_ProjectionConvertToMIFable(handle.get(), &wrapper.object, &wrapper.design, nullptr));
  const std::string wraps = "oprj_MIFableCoordinateSystemWrap: ",
                    unwraps = "oprj_MIFableCoordinateSystemUnwrap: ";
  const struct {
    const void *projection;
    const Omif_Design *design;
    const void *elevation;
    const Omif_Design *elevationDesign;
    const char *told;
  } rows[] = {
      {projection.object, nullptr, nullptr, nullptr,
       "oprj_MIFableCoordinateSystemWrap: Invalid input Projection design (2)"},
      {wrapper.object, wrapper.design, nullptr, nullptr, "Unrecognized projection design (3)"},
      {projection.object, projection.design, elevation.object, nullptr,
       "Unrecognized elevation info design (4)"},
      {projection.object, projection.design, elevation.object, datum,
       "Unrecognized elevation info design (4)"},
      {nullptr, projection.design, nullptr, nullptr, "omif_ObjectCopy failed (7)"},
      {projection.object, projection.design, nullptr, elevation.design,
       "omif_ObjectCopy failed (7)"}};
  Slot slot;
  for (const auto &row : rows) {
    Portable made;
    expectFailure(
        oprj_MIFableCoordinateSystemWrap(row.projection, row.design, "meters", row.elevation,
                                         row.elevationDesign, &made.object, &made.design, slot),
        slot, wraps + row.told);
    EXPECT_TRUE(!made.object && !made.design);
  }
  Portable first, second;
  char *unit = nullptr;
  const auto unwrap = [&](const void *object, const Omif_Design *design, void **out) {
    return oprj_MIFableCoordinateSystemUnwrap(object, design, out, &first.design, &unit,
                                              &second.object, &second.design, slot);
  };
  expectRefusal(unwrap(whole.object, datum, &first.object), slot,
                unwraps + "Unrecognized coordinate system design (2)");
  expectRefusal(unwrap(nullptr, whole.design, &first.object), slot, unwraps + "Args (1)");
  expectRefusal(unwrap(whole.object, whole.design, nullptr), slot, unwraps + "Args (1)");
  Oprj_MapProjectionEx *read = nullptr;
  Oprj_ElevationInfo *readInfo = nullptr;
  expectRefusal(
      oprj_MIFableCoordinateSystemToOPRJ(whole.object, datum, &read, &unit, &readInfo, slot), slot,
      wraps + "oprj_MIFableCoordinateSystemUnwrap failed (2) < " + unwraps +
          "Unrecognized coordinate system design (2)");
  auto &units =
      static_cast<Oprj_CoordinateSystem *>(whole.object)->projectionObject->projectionObject;
  const int32_t number = std::exchange(units->proNumber, 1000);
  expectFailure(
      oprj_MIFableCoordinateSystemToOPRJ(whole.object, whole.design, &read, &unit, &readInfo, slot),
      slot, wraps + "oprj_ProjectionConvertFromMIFable failed (3)");
  units->proNumber = number;
  expectRefusal(oprj_ElevationInfoConvertFromMIFable(elevation.object, datum, slot), slot,
                "oprj_ElevationInfoConvertFromMIFable: Can't create an Oprj_ElevationInfo from a "
                "Oprj_Datum object (1)");
  expectRefusal(oprj_ElevationInfoConvertToMIFable(nullptr, &first.object, &first.design, slot),
                slot, "oprj_ElevationInfoConvertToMIFable: Invalid input Oprj_ElevationInfo (2)");
  expectRefusal(oprj_ProjectionConvertToMIFable830(nullptr, &first.object, &first.design, slot),
                slot, "oprj_ProjectionConvertToMIFable830: Args (1)");
}

TEST_F(Wrapped, ProjectionsPassInTenParts) {
  const LeakCheck leaks;
  const HandlePtr engine = engineHandle();
  for (const HandlePtr *each : {&handle, &engine}) {
    Transit transit;
    Slot slot;
    ASSERT_TRUE(transit.take(*each, slot)) << slot.chain();
    EXPECT_STREQ(transit.name, "Oprj_MapProjection842");
    EXPECT_STREQ(transit.title, (*each)->title);
    EXPECT_EQ(transit.version, 1);
    // the outer bytes hold the inner ones
    const std::string outer(transit.object, transit.object + transit.size),
        inner(transit.innerObject, transit.innerObject + transit.innerSize);
    EXPECT_NE(outer.find(inner), std::string::npos);
    const HandlePtr read = transit.give(slot);
    ASSERT_NE(read, nullptr) << slot.chain();
    EXPECT_EQ(oprj_MapProjectionEqual(each->get(), read.get(), nullptr), 1);
  }
}

TEST_F(Wrapped, DamagedTransitsAreTold) {
  const LeakCheck leaks;
  const std::string reads = "oprj_ProjectionConvertFromMIF: ",
                    below = "oprj_ProjectionConvertFromMIFable failed (4)";
  Transit transit;
  Slot slot;
  ASSERT_TRUE(transit.take(handle, slot));
  char empty[] = "", wrong[] = "Nobody";
  const auto expect = [&](auto &part, auto value, const std::string &told) {
    const auto kept = std::exchange(part, value);
    expectFailure(transit.give(slot), slot, reads + told);
    part = kept;
  };
  for (char **text : {&transit.innerDictionary, &transit.innerName, &transit.title}) {
    expect(*text, nullptr, "Args (1)");
    expect(*text, empty, below);
    expect(*text, wrong, below);
  }
  expect(transit.innerObject, nullptr, "Args (1)");
  expect(transit.innerSize, -1, "Args (1)");
  for (int32_t size = 0; size < transit.innerSize; ++size) expect(transit.innerSize, size, below);
  expect(transit.version, 2, "Unknown version 2 of the form (2)");
  char *outer = nullptr;
  expectRefusal(
      oprj_ProjectionConvertToMIF(handle.get(), nullptr, &outer, nullptr, nullptr, nullptr, nullptr,
                                  nullptr, nullptr, nullptr, nullptr, slot),
      slot, "oprj_ProjectionConvertToMIF: Args (1)");
}

TEST_F(Wrapped, ElevationInfosPassInFourParts) {
  const LeakCheck leaks;
  const ElevationPtr names[] = {heights(), heights("\xE3", "meters"), heights("", ""),
                                ElevationPtr(oprj_ElevationInfoCreate(nullptr))};
  for (const ElevationPtr &each : names) {
    char *dictionary = nullptr, *name = nullptr;
    uint8_t *object = nullptr;
    int32_t size = 0;
    Slot slot;
    ASSERT_TRUE(
        oprj_ElevationInfoConvertToMIF(each.get(), &dictionary, &name, &object, &size, slot))
        << slot.chain();
    const auto read = [&](const char *design, int32_t bytes) {
      return ElevationPtr(
          oprj_ElevationInfoConvertFromMIF(dictionary, design, object, bytes, slot));
    };
    const ElevationPtr back = read(name, size);
    ASSERT_NE(back, nullptr) << slot.chain();
    EXPECT_EQ(oprj_ElevationInfosEqual(each.get(), back.get(), nullptr), 1);
    const std::string reads = "oprj_ElevationInfoConvertFromMIF: ";
    expectFailure(read("Nobody", size), slot, reads + "Design Nobody not found in dictionary (3)");
    for (int32_t bytes = 0; bytes < size; ++bytes)
      expectFailure(read(name, bytes), slot, reads + "omif_ConvertToHost failed (4)");
    for (void *block :
         {static_cast<void *>(dictionary), static_cast<void *>(name), static_cast<void *>(object)})
      omsc_HeapFree(block);
  }
}

TEST_F(Wrapped, SurvivesEveryFailedAllocation) {
  const LeakCheck leaks;
  forEachAllocationFailure([&](auto err) {
    Portable made;
    return wrap(made, err);
  });
  const auto toLibrary = [&](auto err) {
    Oprj_MapProjectionEx *read = nullptr;
    Oprj_ElevationInfo *readInfo = nullptr;
    char *unit = nullptr;
    const bool done = oprj_MIFableCoordinateSystemToOPRJ(whole.object, whole.design, &read, &unit,
                                                         &readInfo, err);
    oprj_ProjectionFree(&read);
    oprj_ElevationInfoFree(&readInfo);
    omsc_HeapFree(unit);
    return done;
  };
  forEachAllocationFailure(toLibrary, {}, OnFailure::kMayRecover);
  Transit kept;
  ASSERT_TRUE(kept.take(handle, nullptr));
  forEachAllocationFailure([&](auto err) { return Transit().take(handle, err); });
  forEachAllocationFailure([&](auto err) { return kept.give(err) != nullptr; }, {},
                           OnFailure::kMayRecover);
}

}  // namespace
