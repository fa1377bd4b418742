// Handles, function sets, inner objects, pairs and equality: exact reports and chains, ownership,
// every allocation failing. The program holds the default set itself: no title reaches it.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "pipeline/function_sets.h"
#include "tests/objects_support.h"

// What stands before the library in a process may export its names: its own calls must not end
// here.
double *oprj_ParametersCreate(int32_t, Oerr_Report **) {
  ADD_FAILURE() << "the library calls a function that is not its own";
  return nullptr;
}

namespace {

using namespace orvik::test;
using orvik::oprj::kDefaultSet;

/// An internal record whose executable name asks for the Projection Engine.
RecordPtr engineRecord() {
  auto record = geographic();
  oprj_CharStrCreate("GEOGCS[\"WGS 84\"]", &record->proExeName, nullptr);
  return record;
}
const RecordPtr kNoRecord;

// --- handles ---

TEST(Handles, InitTellsWhatItCannotBuild) {
  const auto good = transverseMercator(9), unknown = makeRecord(70, {}), empty = makeRecord(9, {}),
             engine = engineRecord();
  const std::string tell = "oprj_ProjectionInit: ";
  for (const auto &[record, chain] :
       {std::pair{kNoRecord.get(), tell + "Args (1574)"},
        {unknown.get(), tell + "oprj_ProjectionPre842Init failed (1609) < oprj_ProjectionPre842"},
        {empty.get(), tell + "oprj_ProjectionPre842Init failed (1609) < oprj_ProjectionPre842"},
        {engine.get(), tell + "pe_coordsys_from_string failed (1599) < pe_coordsys_from_string: "
                              "Byte 16: expected DATUM, found ']' (2)"}}) {
    const LeakCheck leaks;
    auto *handle = reinterpret_cast<Oprj_MapProjectionEx *>(8);
    Slot err;
    expectFailure(oprj_ProjectionInit(theToolkit(), record, &handle, err), err, chain);
    EXPECT_EQ(handle, nullptr);
  }
  Slot err;
  expectFailure(oprj_ProjectionInit(theToolkit(), good.get(), nullptr, err), err,
                tell + "Args (1574)");

  // What an executable name says of the set: the code, 0 for a native handle.
  char text[] = "x", nothing[] = "";
  for (const auto &[type, name, code] :
       {std::tuple<int32_t, Oprj_CharStr, int32_t>{0, {0, nullptr}, 0},
        {0, {1, nothing}, 0},
        {0, {1, text}, 1599},
        {0, {2, text}, 1599},
        {0, {2, nullptr}, 0},
        {1, {2, text}, 1609}}) {
    const auto record = geographic();
    record->proType = type;
    record->proExeName = name;
    Oprj_MapProjectionEx *made = nullptr;
    oprj_ProjectionInit(theToolkit(), record.get(), &made, err);
    const HandlePtr handle(made);
    EXPECT_EQ(oerr_CodeGet(err.get()), code) << type << " " << name.count;
    EXPECT_TRUE(!handle || std::string(handle->title) == OPRJ_TITLE_NATIVE);
    record->proExeName = {};
  }
}

TEST(Handles, SetFillsTheSixWordsAndLeavesOldDataAlone) {
  const LeakCheck leaks;
  const auto handle = makeHandle(geographic());
  const auto *set = handle->functions;
  void *old = handle->ownedData;
  EXPECT_TRUE(handle->data == old && handle->applyInverse == set->applyInverse &&
              handle->apply == set->apply);
  Slot err;
  int other = 0;
  const std::string title = "PE";  // found by its text, kept by its constant
  EXPECT_EQ(oprj_ProjectionSet(handle.get(), title.c_str(), &other, err), 1);
  EXPECT_TRUE(handle->data == &other && handle->ownedData == &other && handle->functions != set);
  EXPECT_STREQ(handle->title, OPRJ_TITLE_PE);
  EXPECT_NE(handle->title, title.c_str());
  for (const std::string unknown : {"Oprj_ProParameter", "", "pe"}) {
    const std::string chain =
        "oprj_ProjectionSet: Cannot initialize projection of type " + unknown + " (1500)";
    expectFailure(oprj_ProjectionSet(handle.get(), unknown.c_str(), old, err), err, chain);
    EXPECT_EQ(handle->ownedData, &other);
    expectFailure(oprj_ProjectionInitInternal(unknown.c_str(), old, err), err,
                  "oprj_ProjectionInitInternal: oprj_ProjectionSet failed (1520) < " + chain);
  }
  expectFailure(oprj_ProjectionSet(nullptr, OPRJ_TITLE_PE, old, err), err,
                "oprj_ProjectionSet: Args (1501)");
  oprj_ProjectionSet(handle.get(), OPRJ_TITLE_NATIVE, old, err);
}

TEST(Handles, CopyReplacesTheOldHandle) {
  const LeakCheck leaks;
  const auto source = makeHandle(transverseMercator(9));
  auto old = makeHandle(geographic());
  Slot err;
  const HandlePtr copy(oprj_ProjectionCopy(source.get(), old.release(), err));
  ASSERT_NE(copy, nullptr) << err.chain();
  EXPECT_EQ(oprj_MapProjectionEqual(source.get(), copy.get(), err), 1);
  EXPECT_NE(copy->ownedData, source->ownedData);

  Oprj_MapProjectionFunctions lacking = *source->functions;
  lacking.copy = nullptr;
  Oprj_MapProjectionEx uncopied = *source, untitled = *source;
  uncopied.functions = &lacking;
  untitled.title = "unknown";  // the copied data goes again through its own set
  const std::string tell = "oprj_ProjectionCopy: ";
  for (const auto &[given, chain] :
       {std::pair<const Oprj_MapProjectionEx *, std::string>{nullptr, tell + "Args (1783)"},
        {&uncopied, tell + "ProjectionCopy not implemented by Oprj_ProParameters (1787)"},
        {&untitled, tell + "oprj_ProjectionInitInternal failed (1795) < oprj_ProjectionInitInt"}}) {
    expectFailure(oprj_ProjectionCopy(given, nullptr, err), err, chain);
  }
  forEachAllocationFailure(
      [&](Oerr_Report **slot) {
        return HandlePtr(oprj_ProjectionCopy(source.get(), nullptr, slot)) != nullptr;
      },
      [&] { EXPECT_EQ(oprj_MapProjectionEqual(source.get(), copy.get(), nullptr), 1); });
}

// --- inner objects ---

int32_t never(const Oprj_ProParameters *, const Oprj_ProParameters *, Oerr_Report **err) {
  *err = nullptr;
  return 0;
}

int quits = 0;
bool quitFails = false;
void quit(Oprj_MapProjection *, Oerr_Report **err) {
  ++quits;
  *err = quitFails ? oerr_CreateErrorReport("quit", 1, 2, nullptr, "cannot quit") : nullptr;
}

TEST(InnerObjects, CopyCarriesSlotsThreeToTenOnly) {
  const LeakCheck leaks;
  const ObjectPtr object(marked::object(geographic(), {1, 2, 3}));
  object->fromLL3D = object->toLL3D = [](const Oprj_Point3D *, const double *, Oprj_Point3D *,
                                         int32_t, Oerr_Report **) {};
  object->proParametersEqual = never;
  object->quit = quit;
  object->geographic = object->fromLL;
  object->proParametersEqual2 = [](const Oprj_ProParameters *, const Oprj_ProParameters *, int32_t,
                                   Oerr_Report **) -> int32_t { return 1; };
  Slot err;
  const ObjectPtr copy(oprj_ProjectionPre842Copy(object.get(), err));
  ASSERT_NE(copy, nullptr) << err.chain();
  EXPECT_STREQ(copy->proParameters->proName.data, "a system");
  EXPECT_TRUE(std::equal(copy->parameters, copy->parameters + 3, object->parameters));
  EXPECT_NE(copy->parameters, object->parameters);
  Oprj_MapProjection carried = *object;
  carried.proParameters = copy->proParameters;
  carried.parameters = copy->parameters;
  carried.proParametersEqual2 = nullptr;
  EXPECT_EQ(std::memcmp(copy.get(), &carried, sizeof carried), 0);
  object->quit = copy->quit = nullptr;

  std::string codes;  // each step's own
  forEachAllocationFailure([&](Oerr_Report **slot) {
    const ObjectPtr made(oprj_ProjectionPre842Copy(object.get(), slot));
    const char code = static_cast<char>('0' + oerr_CodeGet(*slot));
    if (codes.empty() || codes.back() != code) codes += code;
    return made != nullptr;
  });
  EXPECT_EQ(codes, "2350");
  expectFailure(oprj_ProjectionPre842Copy(nullptr, err), err,
                "oprj_ProjectionPre842Copy: Invalid input Map Projection structure (1)");
  object->copyParameters = nullptr;
  expectFailure(oprj_ProjectionPre842Copy(object.get(), err), err,
                "oprj_ProjectionPre842Copy: Invalid copyParameters function (4)");
}

TEST(InnerObjects, QuitOnceAndBeforeFreeing) {
  const LeakCheck leaks;
  Slot err;
  quits = 0;
  quitFails = false;
  const auto made = [] {
    auto handle = marked::handle(geographic(), {});
    static_cast<Oprj_MapProjection *>(handle->ownedData)->quit = quit;
    return handle;
  };
  auto handle = made();
  EXPECT_EQ(oprj_ProjectionQuit(handle.get(), err), 1);
  EXPECT_EQ(oprj_ProjectionQuit(handle.get(), err), 1);
  handle.reset();
  EXPECT_EQ(quits, 1);
  made().reset();
  EXPECT_EQ(quits, 2) << "freeing quits what is not quit";

  quitFails = true;
  handle = made();
  expectFailure(oprj_ProjectionQuit(handle.get(), err), err,
                "oprj_ProjectionQuit: oprj_ProjectionPre842Quit failed (1887) < "
                "oprj_ProjectionPre842Quit: Error returned from projection quit (2) < "
                "quit: cannot quit (1)");
  made().reset();  // its report is dropped
  const HandlePtr engine(oprj_ProjectionInitInternal(OPRJ_TITLE_PE, nullptr, err));
  EXPECT_EQ(oprj_ProjectionQuit(engine.get(), err), 1) << "other sets: nothing to do";
  EXPECT_EQ(oprj_ProjectionQuit(nullptr, err), 1);
  oprj_ProjectionPre842Free(nullptr);
  oprj_ProjectionFree(nullptr);

  // Both handles of a pair are quit; the first failure stays.
  PairPtr pair(oprj_ProjectionPairCreate(err));
  pair->in = made().release();
  pair->out = made().release();
  quits = 0;
  const std::string tell = "oprj_ProjectionPairQuit: Error returned from oprj_ProjectionQuit for ";
  expectFailure(oprj_ProjectionPairQuit(pair.get(), err), err, tell + "the input projection (1)");
  EXPECT_EQ(quits, 2);
  oprj_ProjectionFree(&pair->out);
  pair->out = made().release();
  expectFailure(oprj_ProjectionPairQuit(pair.get(), err), err, tell + "the output projection (2)");
  EXPECT_EQ(oprj_ProjectionPairQuit(pair.get(), err), 1);
}

// --- function sets ---

TEST(FunctionSets, DefaultSetAnswersUnimplementedUnderEachName) {
  Slot err;
  const auto tells = [&](const std::string &name, bool result = false) {
    EXPECT_FALSE(result);
    EXPECT_EQ(err.chain(), "prj" + name + ": Unimplemented (1)");
  };
  const auto &set = kDefaultSet;
  set.applyInverse(nullptr, nullptr, nullptr, 1, err), tells("ProjectionApplyInverse");
  set.apply(nullptr, nullptr, nullptr, 1, err), tells("ProjectionApply");
  tells("ProjectionCopy", set.copy(nullptr, err));
  tells("ProjectionEqual", set.equal(nullptr, nullptr, err));
  tells("ProjectionName", set.name(nullptr, err));
  set.free(nullptr, err), tells("ProjectionFree");
  tells("ProjectionConvertFromMIFable", set.convertFromMIFable(nullptr, nullptr, err));
  tells("ProjectionConvertToMIFable", set.convertToMIFable(nullptr, nullptr, err));
  tells("ProjectionConvertPossible", set.convertPossible(nullptr, "other", err));
  tells("ProjectionConvert", set.convert(nullptr, OPRJ_TITLE_PE, err));
  tells("ProjectionConvertWithUnits", set.convertWithUnits(nullptr, "PE", nullptr, err));
  tells("ProjectionCSRGet", set.csrGet(nullptr, "other", err));
  tells("ProjectionPCSRGet", set.pcsrGet(nullptr, "other", err));
  tells("ProjectionGCSRGet", set.gcsrGet(nullptr, "other", err));
  set.gcsTransform(nullptr, nullptr, 1, nullptr, err), tells("GCSTransform");
  tells("ProjectionEqual2", set.equal2(nullptr, nullptr, err));
  set.applyInverse3D(nullptr, nullptr, nullptr, 1, err), tells("ProjectionApplyInverse3D");
  set.apply3D(nullptr, nullptr, nullptr, 1, err), tells("ProjectionApply3D");
}

TEST(FunctionSets, NativeAndEngineOperationsReportUnderTheirNames) {
  Slot err;
  const auto handle = makeHandle(geographic());
  const HandlePtr other(oprj_ProjectionInitInternal(OPRJ_TITLE_PE, nullptr, nullptr));
  const auto &native = *handle->functions, &engine = *other->functions;
  const auto tells = [&](const std::string &chain, bool result = false) {
    expectFailure(result, err, chain);
  };
  native.apply(nullptr, nullptr, nullptr, 1, err);
  tells("nativeProjectionApply: conversion not supported (2)");
  tells(
      "nativeProjectionEqual: oprj_ProParametersEqualWithProjection failed (1) < "
      "oprj_ProParametersEqualWithProjection: Invalid input parmArray (1)",
      native.equal(nullptr, nullptr, err));
  tells("nativeProjectionEqual2: oprj_ProParametersEqual failed (1) < oprj_ProPar",
        native.equal2(nullptr, nullptr, err));
  EXPECT_EQ(native.equal2(handle->ownedData, handle->ownedData, err), 1);
  tells("nativeProjectionConvertFromMIFable: Unrecognized design name (1)",
        native.convertFromMIFable(nullptr, nullptr, err));
  engine.gcsTransform(nullptr, nullptr, 1, nullptr, err);
  tells("peGCSTransform: Cannot do a pe based geographic transformation yet (1)");
  tells(
      "peProjectionConvert: oprj_COORDSYSToMapProjection failed (1) < "
      "oprj_COORDSYSToMapProjection: Args (1)",
      engine.convert(nullptr, OPRJ_TITLE_NATIVE, err));
  tells("peProjectionEqual2: Unimplemented (1)", engine.equal2(nullptr, nullptr, err));
  engine.applyInverse3D(nullptr, nullptr, nullptr, 1, err);
  tells("peProjectionApplyInverse3D: Unimplemented (1)");
  engine.apply3D(nullptr, nullptr, nullptr, 1, err);
  tells("peProjectionApply3D: Unimplemented (1)");
  for (const auto *set : {&native, &engine})
    for (const auto &[title, possible] :
         {std::pair{OPRJ_TITLE_NATIVE, 1}, {OPRJ_TITLE_PE, 1}, {"other", 0}})
      EXPECT_EQ(set->convertPossible(nullptr, title, err), possible);
}

TEST(FunctionSets, NativeHandleShowsItsSystem) {
  const LeakCheck leaks;
  Slot err;
  const auto mercator = makeHandle(transverseMercator(9)), plain = makeHandle(geographic());
  const auto *record = static_cast<const Oprj_MapProjection *>(mercator->ownedData)->proParameters;
  EXPECT_EQ(oprj_MapProjectionCSRGet(mercator.get(), OPRJ_TITLE_NATIVE, err), record);
  EXPECT_EQ(oprj_MapProjectionPCSRGet(mercator.get(), OPRJ_TITLE_NATIVE, err), record);
  EXPECT_EQ(oprj_MapProjectionGCSRGet(mercator.get(), OPRJ_TITLE_NATIVE, err), record->proSpheroid);
  EXPECT_EQ(oprj_MapProjectionPCSRGet(plain.get(), OPRJ_TITLE_NATIVE, err), nullptr);
  expectNoReport(err);
  expectFailure(oprj_MapProjectionCSRGet(mercator.get(), OPRJ_TITLE_PE, err), err,
                "oprj_MapProjectionCSRGet: ProjectionCSRGet failed (2) < "
                "nativeProjectionCSRGet: Cannot get coordinate system of type PE (1)");
  expectFailure(oprj_MapProjectionCSRGet(nullptr, OPRJ_TITLE_NATIVE, err), err,
                "oprj_MapProjectionCSRGet: Args (1)");
  EXPECT_EQ(taken(oprj_MapProjectionName(mercator.get(), err)), "a system");
  EXPECT_EQ(oprj_MapProjectionName(nullptr, err), nullptr);
  expectNoReport(err);
}

TEST(FunctionSets, ConversionReplacesTheDataOnlyOnSuccess) {
  const LeakCheck leaks;
  Slot err;
  auto world = transverseMercator(9);
  world->proNumber = 29;  // it has no counterpart in the engine
  const auto handle = makeHandle(world);
  const void *data = handle->ownedData;
  EXPECT_EQ(oprj_MapProjectionConvert(handle.get(), OPRJ_TITLE_NATIVE, err), 1);
  const std::string tell = "oprj_MapProjectionConvert: ";
  for (const auto &[title, chain] :
       {std::pair<const char *, std::string>{OPRJ_TITLE_PE, tell + "ProjectionConvert failed (3)"},
        {"other", tell + "Cannot convert projection to type other (2)"},
        {nullptr, tell + "Args (1)"}}) {
    expectFailure(oprj_MapProjectionConvert(handle.get(), title, err), err, chain);
    EXPECT_EQ(handle->ownedData, data);
  }
  expectFailure(oprj_MapProjectionConvertWithUnits(handle.get(), OPRJ_TITLE_PE, nullptr, err), err,
                "oprj_MapProjectionConvertWithUnits: ProjectionConvert failed (3)");

  // A set that can convert: the new data takes the old one's place, the old one is freed. It may
  // call an unknown title possible; then nothing is converted.
  static int converted, freed, from, to;
  Oprj_MapProjectionFunctions own = kDefaultSet;
  own.convertPossible = [](const void *, const char *, Oerr_Report **) -> int32_t { return 1; };
  own.convert = [](const void *, const char *, Oerr_Report **) -> void * {
    ++converted;
    return &to;
  };
  own.free = [](void *freedData, Oerr_Report **) { freed += freedData == &from; };
  Oprj_MapProjectionEx other = {&from, own.applyInverse, own.apply, &own, "own", &from};
  expectFailure(oprj_MapProjectionConvert(&other, "unheard of", err), err,
                tell +
                    "oprj_ProjectionSet failed (4) < "
                    "oprj_ProjectionSet: Cannot initialize projection of type unheard of");
  EXPECT_EQ(converted + freed, 0);
  EXPECT_EQ(oprj_MapProjectionConvert(&other, OPRJ_TITLE_PE, err), 1) << err.chain();
  EXPECT_EQ(converted + freed, 2);
  EXPECT_EQ(other.ownedData, &to);
  EXPECT_STREQ(other.title, OPRJ_TITLE_PE);
}

TEST(FunctionSets, ThreeDimensionsWhereTheFamilyHasThem) {
  Slot err;
  // Anchored LSR, anchored at 9 E, 48 N: its anchor is the origin.
  const auto local = makeHandle(makeRecord(53, {0, 0, 0, 0, 9 * kDegree, 48 * kDegree, 0, 0}));
  const Oprj_Point3D anchor{9 * kDegree, 48 * kDegree, 25};
  Oprj_Point3D out{}, back{};
  oprj_MapProjectionApply3D(local.get(), &anchor, &out, 1, err);
  expectNoReport(err);
  oprj_MapProjectionApplyInverse3D(local.get(), &out, &back, 1, err);
  expectNoReport(err);
  EXPECT_NEAR(std::abs(out.x) + std::abs(out.y) + std::abs(out.z - 25), 0, 1e-8);
  EXPECT_NEAR(std::hypot(back.x - anchor.x, back.y - anchor.y), 0, 1e-14);

  oprj_MapProjectionApply3D(makeHandle(geographic()).get(), &anchor, &out, 1, err);
  expectChain(err,
              "oprj_MapProjectionApply3D: ProjectionApply3D failed (2) < "
              "nativeProjectionApply3D: conversion not supported (1)");
  oprj_MapProjectionApplyInverse3D(local.get(), nullptr, &out, 1, err);
  expectChain(err,
              "oprj_MapProjectionApplyInverse3D: ProjectionApplyInverse3D failed (2) < "
              "nativeProjectionApplyInverse3D: toLL3D failed (2) < ");
  oprj_MapProjectionApply3D(nullptr, &anchor, &out, 1, err);
  expectChain(err, "oprj_MapProjectionApply3D: Args (1)");
}

// --- equality ---

TEST(Equality, HandlesOfDifferentSetsAreNeverEqual) {
  Slot err;
  const auto one = makeHandle(transverseMercator(9)), same = makeHandle(transverseMercator(9)),
             other = makeHandle(transverseMercator(15));
  Oprj_MapProjectionEx engine{}, engine2{};
  Oawp_PE_UNIT *metre = oawp_PE_pe_unit_new("Meter", 1.0);  // an object, but no system
  oprj_ProjectionSet(&engine, OPRJ_TITLE_PE, metre, err);
  oprj_ProjectionSet(&engine2, OPRJ_TITLE_PE, metre, err);
  const auto equal = [&](const Oprj_MapProjectionEx *first, const Oprj_MapProjectionEx *second) {
    const int32_t answer = oprj_MapProjectionEqual(first, second, err);
    return err.chain().empty() ? answer : -oerr_CodeGet(err.get());
  };
  EXPECT_EQ(equal(one.get(), one.get()), 1);
  EXPECT_EQ(equal(nullptr, nullptr), 1);
  EXPECT_EQ(equal(one.get(), nullptr), 0);
  EXPECT_EQ(equal(one.get(), same.get()), 1);
  EXPECT_EQ(equal(one.get(), other.get()), 0);
  EXPECT_EQ(equal(one.get(), &engine), 0);
  EXPECT_EQ(equal(&engine, &engine2), 0) << "the engine's own comparison";
  oawp_PE_pe_unit_del(metre);
  const Oprj_MapProjectionEx blank{}, blank2{};
  EXPECT_EQ(equal(&blank, &blank2), -1) << "no comparison";
}

TEST(Equality, RecordsCompareThroughTheirFamilyThenTheSpheroids) {
  const auto variantA = [] { return makeRecord(69, {0, 0, 1, 0, 0, 0, 0, 0}); };
  const auto utm = [](int32_t zone) {
    return makeRecord(1, {0, 0, 0, 0}, "WGS 84", "WGS 84", zone);
  };
  const auto grs = [](const char *datum) { return transverseMercator(9, "GRS 1980", datum); };
  const struct {
    const char *what;
    RecordPtr first, second;
    int32_t lenient, strict;
  } rows[] = {
      {"same", transverseMercator(9), transverseMercator(9), 1, 1},
      {"meridian", transverseMercator(9), transverseMercator(9.0000001), 0, 0},
      {"family", transverseMercator(9), geographic(), 0, 0},
      {"zone", utm(31), utm(32), 0, 0},
      {"undefined datum", grs("NAD83 (DMA)"), grs("Undefined"), 1, 0},
      {"spheroid", transverseMercator(9), transverseMercator(9, "Clarke 1866", "Undefined"), 0, 0},
      {"another set", transverseMercator(9), engineRecord(), 0, 0},
      {"never", variantA(), variantA(), 0, 0}};
  Slot err;
  for (const auto &[what, first, second, lenient, strict] : rows) {
    SCOPED_TRACE(what);
    const LeakCheck leaks;
    EXPECT_EQ(oprj_ProParametersEqual(first.get(), second.get(), err), lenient);
    EXPECT_EQ(oprj_ProParametersEqual2(first.get(), second.get(), 1, err), lenient);
    EXPECT_EQ(oprj_ProParametersEqual2(first.get(), second.get(), 0, err), strict);
    expectNoReport(err);
  }
  forEachAllocationFailure([&](Oerr_Report **slot) {
    return oprj_ProParametersEqual(rows[0].first.get(), rows[0].second.get(), slot);
  });

  // External names compare as texts whatever their counts; without a test of the family, arrays
  // compare within their tolerance.
  const auto external = [](const char *program, int32_t count) {
    auto record = geographic();
    record->proType = OPRJ_EXTERNAL;
    oprj_CharStrCreate(program, &record->proExeName, nullptr);
    record->proExeName.count = count;
    return record;
  };
  const auto array = [](double value) { return makeRecord(70, {1, value}); };
  const ObjectPtr object(marked::object(array(2), {}));
  const auto compare = [&](const RecordPtr &first, const RecordPtr &second) {
    const int32_t equal =
        oprj_ProParametersEqualWithProjection(first.get(), second.get(), object.get(), 1, err);
    return err.chain().empty() ? equal : -oerr_CodeGet(err.get());
  };
  EXPECT_EQ(compare(external("tool", 5), external("tool", 4)), 1);
  EXPECT_EQ(compare(external("tool", 5), external("tools", 6)), 0);
  EXPECT_EQ(compare(external("tool", 5), geographic()), 0);
  EXPECT_EQ(compare(array(2), array(2 + 1e-10)), 1);
  EXPECT_EQ(compare(array(2), array(2.1)), 0);
  EXPECT_EQ(compare(array(2), makeRecord(71, {1, 2})), 0) << "another family";
  EXPECT_EQ(compare(kNoRecord, array(2)), -1);
  EXPECT_EQ(compare(array(2), kNoRecord), -1);
  object->proParametersEqual = never;
  EXPECT_EQ(compare(array(2), array(2)), 0);
  object->proParametersEqual = [](const Oprj_ProParameters *, const Oprj_ProParameters *,
                                  Oerr_Report **slot) -> int32_t {
    *slot = oerr_CreateErrorReport("test", 1, 2, nullptr, "cannot compare");
    return 0;
  };
  EXPECT_EQ(compare(array(2), array(2)), -3);

  oprj_ProParametersEqual(rows[0].first.get(), nullptr, err);
  expectChain(err,
              "oprj_ProParametersEqual: Error returned from "
              "oprj_ProParametersEqualWithProjection (2) < oprj_ProParametersEqualWith");
  oprj_ProParametersEqual(engineRecord().get(), engineRecord().get(), err);
  expectChain(err,
              "oprj_ProParametersEqual: Error returned from oprj_ProjectionInit (1) < "
              "oprj_ProjectionInit: pe_coordsys_from_string failed (1599)");
}

TEST(Equality, OkToProjectWarnsOfIgnoredSpheroids) {
  Slot err;
  const auto wgs = geographic(), clarke = geographic("Clarke 1866", "Clarke 1866"),
             vague = geographic("Clarke 1866", "Undefined"), empty = geographic();
  empty->proSpheroid->a = 0;
  const struct {
    const RecordPtr &first, &second;
    int32_t ok;
    bool warns;
    const char *report;
  } rows[] = {{wgs, clarke, 1, false, ""},
              {wgs, vague, 1, true, ""},
              {vague, wgs, 1, true, ""},
              {clarke, vague, 1, false, ""},  // the figures are the same
              {kNoRecord, wgs, 0, false, "Invalid input parmArray (1)"},
              {wgs, empty, 0, false, "Empty spheroid. (2)"}};
  for (const auto &row : rows) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(oprj_ProjectionsOKToProject(row.first.get(), row.second.get(), err), row.ok);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              row.warns ? "oprj_ProjectionsOKToProject: Spheroid difference ignored due to "
                          "undefined datum! (code 4, severity 1)\n"
                        : "");
    EXPECT_EQ(err.chain(),
              *row.report ? std::string("oprj_ProjectionsOKToProject: ") + row.report : "");
  }
}

// --- pairs ---

Oprj_MapInfo mapInfo(std::string &name, std::string &unit) {
  Oprj_MapInfo info{};
  info.proName = {static_cast<int32_t>(name.size()) + 1, name.data()};
  info.units = {static_cast<int32_t>(unit.size()) + 1, unit.data()};
  return info;
}

TEST(Pairs, SystemsAreEqualByParametersElseByNameThenByUnit) {
  std::string utm = "UTM", mercator = "Mercator", metre = "meters", foot = "feet";
  const auto metres = mapInfo(utm, metre), feet = mapInfo(utm, foot),
             other = mapInfo(mercator, metre);
  const auto record = transverseMercator(9), same = transverseMercator(9),
             differs = transverseMercator(15), broken = makeRecord(70, {});
  constexpr const char *kTooLittle = "Not enough information to do projection (2)";
  const struct {
    const Oprj_MapInfo *first;
    const Oprj_ProParameters *firstRecord;
    const Oprj_MapInfo *second;
    const Oprj_ProParameters *secondRecord;
    int32_t equal;
    const char *pairReport;
  } rows[] = {
      {&metres, record.get(), &metres, same.get(), 1, ""},
      {&metres, record.get(), &metres, differs.get(), 0, ""},
      {&metres, record.get(), &other, same.get(), 1, ""},  // names say nothing beside parameters
      {&metres, record.get(), &feet, same.get(), 0, ""},
      {nullptr, record.get(), nullptr, same.get(), 1, ""},
      {nullptr, record.get(), nullptr, differs.get(), 0, ""},
      {&metres, record.get(), nullptr, same.get(), 0, ""},
      {nullptr, nullptr, nullptr, nullptr, 1, ""},
      {&metres, nullptr, &metres, same.get(), 1, ""},
      {&metres, nullptr, &other, same.get(), 0, kTooLittle},
      {&metres, nullptr, &feet, nullptr, 0, kTooLittle},
      {nullptr, broken.get(), nullptr, same.get(), -1,
       "Error returned from oprj_ProjectionsEqual (1) < oprj_ProjectionsEqual: Error returned from "
       "oprj_ProParametersEqual (1) < "},
      {nullptr, same.get(), nullptr, broken.get(), 0,
       "Error returned from oprj_ProjectionPairInit (3) < oprj_ProjectionPairInit: Error returned "
       "from oprj_ProjectionInit (3) < "},
      {&metres, broken.get(), &other, broken.get(), -1,
       "Error returned from oprj_ProjectionsEqual (1) < "}};
  for (const auto &row : rows) {
    SCOPED_TRACE(&row - rows);
    const LeakCheck leaks;
    Slot err;
    const int32_t equal =
        oprj_ProjectionsEqual(row.first, row.firstRecord, row.second, row.secondRecord, err);
    EXPECT_EQ(err.chain().empty() ? equal : -1, row.equal);
    const PairPtr pair(oprj_ProjectionPairGet(theToolkit(), row.first, row.firstRecord, row.second,
                                              row.secondRecord, err));
    EXPECT_EQ(pair != nullptr, row.equal == 0 && !*row.pairReport);
    if (*row.pairReport) expectChain(err, std::string("oprj_ProjectionPairGet: ") + row.pairReport);
    else expectNoReport(err);
    EXPECT_TRUE(!pair || (pair->in && pair->out));
  }
}

TEST(Pairs, CopiesStandAloneAndFailuresChangeNothing) {
  const LeakCheck leaks;
  Slot err;
  const auto in = transverseMercator(9), out = transverseMercator(15);
  const auto pair = makePair(in, out);
  const PairPtr target(oprj_ProjectionPairCreate(err)), empty(oprj_ProjectionPairCreate(err));
  EXPECT_EQ(oprj_ProjectionPairCopy(pair.get(), target.get(), err), target.get());
  EXPECT_EQ(oprj_MapProjectionEqual(pair->in, target->in, err), 1);
  EXPECT_EQ(oprj_MapProjectionEqual(pair->out, target->out, err), 1);
  EXPECT_NE(PairPtr(oprj_ProjectionPairCopy(empty.get(), nullptr, err)), nullptr);
  expectFailure(oprj_ProjectionPairCopy(nullptr, nullptr, err), err,
                "oprj_ProjectionPairCopy: Invalid input Oprj_ProjectionPair (1)");

  const auto *before = target->in;
  forEachAllocationFailure(
      [&](Oerr_Report **slot) {
        return oprj_ProjectionPairCopy(pair.get(), target.get(), slot) != nullptr;
      },
      [&] { EXPECT_EQ(target->in, before); });
  forEachAllocationFailure([&](Oerr_Report **slot) {
    return PairPtr(oprj_ProjectionPairCopy(pair.get(), nullptr, slot)) != nullptr;
  });
  forEachAllocationFailure([&](Oerr_Report **slot) {
    return PairPtr(oprj_ProjectionPairInit(theToolkit(), in.get(), out.get(), slot)) != nullptr;
  });
}

}  // namespace
