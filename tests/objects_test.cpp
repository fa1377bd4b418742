// Handles, function sets, inner objects, pairs and equality: exact reports and chains, ownership,
// every allocation failing. The program holds the default set itself: no title reaches it.
#include <algorithm>
#include <cmath>
#include <string>

#include "core/function_sets.h"
#include "tests/objects_support.h"

namespace {

using namespace orvik::test;
using orvik::oprj::kDefaultSet;

// --- making handles ---

TEST(Handles, InitTellsWhatItCannotBuild) {
  const auto good = transverseMercator(9);
  const auto unknown = makeRecord(70, {});
  const auto empty = makeRecord(9, {});
  const auto engine = geographic();
  oprj_CharStrCreate("GEOGCS[\"WGS 84\"]", &engine->proExeName, nullptr);
  const std::pair<const Oprj_ProParameters *, const char *> rows[] = {
      {nullptr, "oprj_ProjectionInit: Args (1574)"},
      {unknown.get(), "oprj_ProjectionInit: oprj_ProjectionPre842Init failed (1609)"},
      {empty.get(), "oprj_ProjectionInit: oprj_ProjectionPre842Init failed (1609)"},
      {engine.get(),
       "oprj_ProjectionInit: pe_coordsys_from_string failed (1599) < pe_coordsys_from_string: The "
       "Projection Engine is not built in yet (1)"}};
  for (const auto &[record, chain] : rows) {
    const LeakCheck leaks;
    auto *handle = reinterpret_cast<Oprj_MapProjectionEx *>(8);
    Slot err;
    EXPECT_EQ(oprj_ProjectionInit(theToolkit(), record, &handle, err), 0);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(err.chain().substr(0, std::string(chain).size()), chain);
  }
  Slot err;
  EXPECT_EQ(oprj_ProjectionInit(theToolkit(), good.get(), nullptr, err), 0);
  expectReport(err, "oprj_ProjectionInit", 1574, "Args");
}

TEST(Handles, ExecutableNameOfAnInternalRecordDecidesAboutTheSet) {
  const auto record = geographic();
  char text[] = "x", nothing[] = "";
  struct Row {
    int32_t type, count;
    char *data;
    int32_t code;  ///< 0: a native handle
  };
  for (const auto &[type, count, data, code] :
       {Row{0, 0, nullptr, 0}, Row{0, 1, nothing, 0}, Row{0, 1, text, 1599}, Row{0, 2, text, 1599},
        Row{0, 2, nullptr, 0}, Row{1, 2, text, 1609}}) {
    record->proType = type;
    record->proExeName = {count, data};
    Oprj_MapProjectionEx *made = nullptr;
    Slot err;
    oprj_ProjectionInit(theToolkit(), record.get(), &made, err);
    const HandlePtr handle(made);
    EXPECT_EQ(oerr_CodeGet(err.get()), code) << type << " " << count;
    if (handle) {
      EXPECT_STREQ(handle->title, OPRJ_TITLE_NATIVE);
    }
  }
  record->proExeName = {};
}

TEST(Handles, SetFillsTheSixWordsAndLeavesOldDataAlone) {
  const auto handle = makeHandle(geographic());
  void *old = handle->ownedData;
  EXPECT_EQ(handle->data, old);
  EXPECT_EQ(handle->applyInverse, handle->functions->applyInverse);
  EXPECT_EQ(handle->apply, handle->functions->apply);

  Slot err;
  int other = 0;
  const std::string title = "PE";  // found by its text
  EXPECT_EQ(oprj_ProjectionSet(handle.get(), title.c_str(), &other, err), 1);
  EXPECT_EQ(handle->data, &other);
  EXPECT_EQ(handle->ownedData, &other);
  EXPECT_STREQ(handle->title, OPRJ_TITLE_PE);
  EXPECT_NE(handle->title, title.c_str());

  const Oprj_MapProjectionEx before = *handle;
  for (const char *unknown : {"Oprj_ProParameter", "", "pe"}) {
    EXPECT_EQ(oprj_ProjectionSet(handle.get(), unknown, old, err), 0);
    expectReport(err, "oprj_ProjectionSet", 1500,
                 ("Cannot initialize projection of type " + std::string(unknown)).c_str());
    EXPECT_EQ(handle->ownedData, before.ownedData);
  }
  EXPECT_EQ(oprj_ProjectionInitInternal("unknown", old, err), nullptr);
  EXPECT_EQ(err.chain(),
            "oprj_ProjectionInitInternal: oprj_ProjectionSet failed (1520) < "
            "oprj_ProjectionSet: Cannot initialize projection of type unknown (1500)");
  EXPECT_EQ(oprj_ProjectionSet(nullptr, OPRJ_TITLE_PE, old, err), 0);
  expectReport(err, "oprj_ProjectionSet", 1501, "Args");
  oprj_ProjectionSet(handle.get(), OPRJ_TITLE_NATIVE, old, err);
}

// --- inner objects ---

int32_t never(const Oprj_ProParameters *, const Oprj_ProParameters *, Oerr_Report **err) {
  *err = nullptr;
  return 0;
}
int32_t strict(const Oprj_ProParameters *, const Oprj_ProParameters *, int32_t, Oerr_Report **err) {
  *err = nullptr;
  return 1;
}

int quits = 0;
bool quitFails = false;
void quit(Oprj_MapProjection *, Oerr_Report **err) {
  ++quits;
  *err = quitFails ? oerr_CreateErrorReport("quit", 1, 2, nullptr, "cannot quit") : nullptr;
}

TEST(InnerObjects, CopyCarriesSlotsThreeToTenOnly) {
  const LeakCheck leaks;
  const auto record = geographic();
  const ObjectPtr object(marked::object(record, {1, 2, 3}));
  object->toLL3D = [](const Oprj_Point3D *, const double *, Oprj_Point3D *, int32_t,
                      Oerr_Report **) {};
  object->fromLL3D = object->toLL3D;
  object->proParametersEqual = never;
  object->quit = quit;
  object->geographic = object->fromLL;
  object->proParametersEqual2 = strict;
  Slot err;
  const ObjectPtr copy(oprj_ProjectionPre842Copy(object.get(), err));
  ASSERT_NE(copy, nullptr) << err.chain();
  expectNoReport(err);
  EXPECT_NE(copy->proParameters, object->proParameters);
  EXPECT_STREQ(copy->proParameters->proName.data, "a system");
  EXPECT_TRUE(std::equal(copy->parameters, copy->parameters + 3, object->parameters));
  EXPECT_NE(copy->parameters, object->parameters);
  EXPECT_EQ(copy->toLL, object->toLL);
  EXPECT_EQ(copy->fromLL, object->fromLL);
  EXPECT_EQ(copy->toLL3D, object->toLL3D);
  EXPECT_EQ(copy->fromLL3D, object->fromLL3D);
  EXPECT_EQ(copy->copyParameters, object->copyParameters);
  EXPECT_EQ(copy->proParametersEqual, object->proParametersEqual);
  EXPECT_EQ(copy->quit, object->quit);
  EXPECT_EQ(copy->geographic, object->geographic);
  EXPECT_EQ(copy->proParametersEqual2, nullptr);
  object->quit = nullptr;
  copy->quit = nullptr;
}

TEST(InnerObjects, CopyReportsEachStep) {
  const auto record = geographic();
  const ObjectPtr object(marked::object(record, {}));
  const LeakCheck leaks;
  Slot err;
  EXPECT_EQ(oprj_ProjectionPre842Copy(nullptr, err), nullptr);
  expectReport(err, "oprj_ProjectionPre842Copy", 1, "Invalid input Map Projection structure");

  object->copyParameters = nullptr;
  EXPECT_EQ(oprj_ProjectionPre842Copy(object.get(), err), nullptr);
  expectReport(err, "oprj_ProjectionPre842Copy", 4, "Invalid copyParameters function");
  object->copyParameters = marked::copy;

  std::vector<int32_t> codes;
  forEachAllocationFailure([&](Oerr_Report **slot) {
    ObjectPtr copy(oprj_ProjectionPre842Copy(object.get(), slot));
    codes.push_back(slot && *slot ? oerr_CodeGet(*slot) : 0);
    return copy != nullptr;
  });
  EXPECT_EQ(codes.front(), 2);
  EXPECT_EQ(codes[1], 3);
  EXPECT_EQ(codes[codes.size() - 2], 5);
  EXPECT_TRUE(std::is_sorted(codes.begin(), codes.end() - 1));
}

TEST(InnerObjects, QuitOnceAndBeforeFreeing) {
  const LeakCheck leaks;
  const auto record = geographic();
  Slot err;
  quits = 0;
  quitFails = false;
  const auto made = [&] {
    auto handle = marked::handle(record, {});
    static_cast<Oprj_MapProjection *>(handle->ownedData)->quit = quit;
    return handle;
  };
  auto handle = made();
  EXPECT_EQ(oprj_ProjectionQuit(handle.get(), err), 1);
  EXPECT_EQ(oprj_ProjectionQuit(handle.get(), err), 1);
  EXPECT_EQ(quits, 1);
  handle.reset();
  EXPECT_EQ(quits, 1);
  made().reset();
  EXPECT_EQ(quits, 2) << "freeing quits what is not quit";

  quitFails = true;
  handle = made();
  EXPECT_EQ(oprj_ProjectionQuit(handle.get(), err), 0);
  EXPECT_EQ(err.chain(),
            "oprj_ProjectionQuit: oprj_ProjectionPre842Quit failed (1887) < "
            "oprj_ProjectionPre842Quit: Error returned from projection quit (2) < "
            "quit: cannot quit (1)");
  made().reset();  // its report is dropped

  // Other sets, and nothing at all: nothing to do.
  const HandlePtr engine(oprj_ProjectionInitInternal(OPRJ_TITLE_PE, nullptr, err));
  EXPECT_EQ(oprj_ProjectionQuit(engine.get(), err), 1);
  EXPECT_EQ(oprj_ProjectionQuit(nullptr, err), 1);
  EXPECT_EQ(oprj_ProjectionPre842Quit(nullptr, err), 0);
  expectReport(err, "oprj_ProjectionPre842Quit", 1, "Invalid input Map Projection structure");
  oprj_ProjectionPre842Free(nullptr);
  oprj_ProjectionFree(nullptr);

  // Both handles of a pair are quit; the first failure stays.
  PairPtr pair(oprj_ProjectionPairCreate(err));
  pair->in = made().release();
  pair->out = made().release();
  quits = 0;
  EXPECT_EQ(oprj_ProjectionPairQuit(pair.get(), err), 0);
  expectReport(err, "oprj_ProjectionPairQuit", 1,
               "Error returned from oprj_ProjectionQuit for the input projection");
  EXPECT_EQ(quits, 2);
  oprj_ProjectionFree(&pair->out);
  pair->out = made().release();
  EXPECT_EQ(oprj_ProjectionPairQuit(pair.get(), err), 0);
  expectReport(err, "oprj_ProjectionPairQuit", 2,
               "Error returned from oprj_ProjectionQuit for the output projection");
  EXPECT_EQ(oprj_ProjectionPairQuit(pair.get(), err), 1);
  EXPECT_EQ(oprj_ProjectionPairQuit(nullptr, err), 0);
  expectReport(err, "oprj_ProjectionPairQuit", 3, "Invalid input Oprj_ProjectionPair");
}

// --- copies of handles ---

TEST(Handles, CopyReplacesTheOldHandle) {
  const LeakCheck leaks;
  const auto source = makeHandle(transverseMercator(9));
  auto old = makeHandle(geographic());
  Slot err;
  const HandlePtr copy(oprj_ProjectionCopy(source.get(), old.release(), err));
  ASSERT_NE(copy, nullptr) << err.chain();
  EXPECT_EQ(oprj_MapProjectionEqual(source.get(), copy.get(), err), 1);
  EXPECT_NE(copy->ownedData, source->ownedData);

  EXPECT_EQ(oprj_ProjectionCopy(nullptr, nullptr, err), nullptr);
  expectReport(err, "oprj_ProjectionCopy", 1783, "Args");

  Oprj_MapProjectionFunctions lacking = *source->functions;
  lacking.copy = nullptr;
  Oprj_MapProjectionEx changed = *source;
  changed.functions = &lacking;
  EXPECT_EQ(oprj_ProjectionCopy(&changed, nullptr, err), nullptr);
  expectReport(err, "oprj_ProjectionCopy", 1787,
               "ProjectionCopy not implemented by Oprj_ProParameters");

  changed = *source;
  changed.title = "unknown";  // the copied data goes again through its own set
  EXPECT_EQ(oprj_ProjectionCopy(&changed, nullptr, err), nullptr);
  EXPECT_EQ(err.chain().substr(0, 72),
            "oprj_ProjectionCopy: oprj_ProjectionInitInternal failed (1795) < oprj_Pr");

  forEachAllocationFailure(
      [&](Oerr_Report **slot) {
        return HandlePtr(oprj_ProjectionCopy(source.get(), nullptr, slot)) != nullptr;
      },
      [&] { EXPECT_EQ(oprj_MapProjectionEqual(source.get(), copy.get(), nullptr), 1); });
}

// --- operations through the sets ---

/// Calls every operation of a set with arguments that none can use and collects the chains.
std::string callAll(const Oprj_MapProjectionFunctions &set) {
  std::string text;
  Slot err;
  const auto note = [&](bool result = false) {
    EXPECT_FALSE(result) << err.chain();
    text += err.chain() + "\n";
  };
  set.applyInverse(nullptr, nullptr, nullptr, 1, err), note();
  set.apply(nullptr, nullptr, nullptr, 1, err), note();
  note(set.copy(nullptr, err));
  note(set.equal(nullptr, nullptr, err));
  note(set.name(nullptr, err));
  set.free(nullptr, err), note();
  note(set.convertFromMIFable(nullptr, nullptr, err));
  note(set.convertToMIFable(nullptr, nullptr, err));
  note(set.convertPossible(nullptr, "other", err));
  note(set.convert(nullptr, OPRJ_TITLE_PE, err));
  note(set.convertWithUnits(nullptr, OPRJ_TITLE_PE, nullptr, err));
  note(set.csrGet(nullptr, "other", err));
  note(set.pcsrGet(nullptr, "other", err));
  note(set.gcsrGet(nullptr, "other", err));
  set.gcsTransform(nullptr, nullptr, 1, nullptr, err), note();
  note(set.equal2(nullptr, nullptr, err));
  set.applyInverse3D(nullptr, nullptr, nullptr, 1, err), note();
  set.apply3D(nullptr, nullptr, nullptr, 1, err), note();
  return text;
}

TEST(FunctionSets, EveryOperationReportsUnderItsOwnName) {
  const std::string missing = ": Unimplemented (1)\n",
                    absent = ": The Projection Engine is not built in yet (1)\n",
                    title = ": Cannot get coordinate system of type other (1)\n";
  const auto lines = [](const std::string &prefix, std::initializer_list<const char *> names,
                        const std::string &text) {
    std::string all;
    for (const char *name : names) all += prefix + name + text;
    return all;
  };
  EXPECT_EQ(callAll(kDefaultSet),
            lines("prjProjection",
                  {"ApplyInverse", "Apply", "Copy", "Equal", "Name", "Free", "ConvertFromMIFable",
                   "ConvertToMIFable", "ConvertPossible", "Convert", "ConvertWithUnits", "CSRGet",
                   "PCSRGet", "GCSRGet"},
                  missing) +
                "prjGCSTransform" + missing +
                lines("prjProjection", {"Equal2", "ApplyInverse3D", "Apply3D"}, missing));

  // Done without data: Name, Free, ConvertPossible, GCSTransform.
  const auto native = makeHandle(geographic());
  EXPECT_EQ(callAll(*native->functions),
            "nativeProjectionApplyInverse: conversion not supported (2)\n"
            "nativeProjectionApply: conversion not supported (2)\n"
            "nativeProjectionCopy: oprj_ProjectionPre842Copy failed (1) < "
            "oprj_ProjectionPre842Copy: Invalid input Map Projection structure (1)\n"
            "nativeProjectionEqual: oprj_ProParametersEqualWithProjection failed (1) < "
            "oprj_ProParametersEqualWithProjection: Invalid input parmArray (1)\n\n\n"
            "nativeProjectionConvertFromMIFable: Unrecognized design name (1)\n"
            "nativeProjectionConvertToMIFable: Unimplemented (1)\n\n" +
                lines("nativeProjection", {"Convert", "ConvertWithUnits"}, missing) +
                lines("nativeProjection", {"CSRGet", "PCSRGet", "GCSRGet"}, title) +
                "\nnativeProjectionEqual2: oprj_ProParametersEqual failed (1) < "
                "oprj_ProParametersEqual2: Error returned from oprj_ProjectionInit (1) < "
                "oprj_ProjectionInit: Args (1574)\n"
                "nativeProjectionApplyInverse3D: conversion not supported (1)\n"
                "nativeProjectionApply3D: conversion not supported (1)\n");

  const HandlePtr engine(oprj_ProjectionInitInternal(OPRJ_TITLE_PE, nullptr, nullptr));
  EXPECT_EQ(callAll(*engine->functions),
            lines("peProjection",
                  {"ApplyInverse", "Apply", "Copy", "Equal", "Name", "Free", "ConvertFromMIFable",
                   "ConvertToMIFable"},
                  absent) +
                "\n" + lines("peProjection", {"Convert", "ConvertWithUnits"}, absent) +
                "peProjectionCSRGet" + title +
                lines("peProjection", {"PCSRGet", "GCSRGet"}, absent) +
                "peGCSTransform: Cannot do a pe based geographic transformation yet (1)\n" +
                lines("peProjection", {"Equal2", "ApplyInverse3D", "Apply3D"}, missing));
}

TEST(FunctionSets, NativeHandleShowsItsSystem) {
  const LeakCheck leaks;
  Slot err;
  const auto mercator = makeHandle(transverseMercator(9));
  const auto plain = makeHandle(geographic());
  const auto *object = static_cast<const Oprj_MapProjection *>(mercator->ownedData);
  EXPECT_EQ(oprj_MapProjectionCSRGet(mercator.get(), OPRJ_TITLE_NATIVE, err),
            object->proParameters);
  EXPECT_EQ(oprj_MapProjectionPCSRGet(mercator.get(), OPRJ_TITLE_NATIVE, err),
            object->proParameters);
  EXPECT_EQ(oprj_MapProjectionPCSRGet(plain.get(), OPRJ_TITLE_NATIVE, err), nullptr);
  expectNoReport(err);
  EXPECT_EQ(oprj_MapProjectionGCSRGet(mercator.get(), OPRJ_TITLE_NATIVE, err),
            object->proParameters->proSpheroid);
  const auto *spheroid = object->proParameters->proSpheroid;
  EXPECT_STREQ(spheroid->sphereName.data, "WGS 84");
  for (const auto get : {oprj_MapProjectionCSRGet, oprj_MapProjectionPCSRGet}) {
    EXPECT_EQ(get(mercator.get(), OPRJ_TITLE_PE, err), nullptr);
    EXPECT_NE(err.chain().find("CSRGet failed (2) < native"), std::string::npos) << err.chain();
    EXPECT_EQ(get(nullptr, OPRJ_TITLE_NATIVE, err), nullptr);
    EXPECT_EQ(oerr_CodeGet(err.get()), 1);
  }
  char *name = oprj_MapProjectionName(mercator.get(), err);
  EXPECT_STREQ(name, "a system");
  omsc_HeapFree(name);
  EXPECT_EQ(oprj_MapProjectionName(nullptr, err), nullptr);
  expectNoReport(err);

  EXPECT_EQ(oprj_MapProjectionConvertPossible(mercator.get(), OPRJ_TITLE_NATIVE), 1);
  EXPECT_EQ(oprj_MapProjectionConvertPossible(mercator.get(), OPRJ_TITLE_PE), 1);
  EXPECT_EQ(oprj_MapProjectionConvertPossible(mercator.get(), "other"), 0);
  EXPECT_EQ(oprj_MapProjectionConvertPossible(nullptr, OPRJ_TITLE_PE), 0);
}

TEST(FunctionSets, ConversionReplacesTheDataOnlyOnSuccess) {
  const LeakCheck leaks;
  Slot err;
  const auto handle = makeHandle(transverseMercator(9));
  const void *data = handle->ownedData;
  EXPECT_EQ(oprj_MapProjectionConvert(handle.get(), OPRJ_TITLE_NATIVE, err), 1);
  const std::pair<const char *, const char *> rows[] = {
      {OPRJ_TITLE_PE,
       "oprj_MapProjectionConvert: ProjectionConvert failed (3) < "
       "nativeProjectionConvert: Unimplemented (1)"},
      {"other", "oprj_MapProjectionConvert: Cannot convert projection to type other (2)"},
      {nullptr, "oprj_MapProjectionConvert: Args (1)"}};
  for (const auto &[title, chain] : rows) {
    EXPECT_EQ(oprj_MapProjectionConvert(handle.get(), title, err), 0);
    EXPECT_EQ(err.chain(), chain);
    EXPECT_EQ(handle->ownedData, data);
  }
  EXPECT_EQ(oprj_MapProjectionConvertWithUnits(handle.get(), OPRJ_TITLE_PE, nullptr, err), 0);
  expectReport(err, "oprj_MapProjectionConvertWithUnits", 3, "ProjectionConvert failed");

  // A set that can convert: the new data takes the old one's place, the old one is freed. It may
  // call an unknown title possible; then nothing is converted.
  static int converted, freed;
  converted = freed = 0;
  static int from, to;
  Oprj_MapProjectionFunctions own = kDefaultSet;
  own.convertPossible = [](const void *, const char *, Oerr_Report **slot) -> int32_t {
    *slot = nullptr;
    return 1;
  };
  own.convert = [](const void *, const char *, Oerr_Report **slot) -> void * {
    *slot = nullptr;
    ++converted;
    return &to;
  };
  own.free = [](void *freedData, Oerr_Report **slot) {
    *slot = nullptr;
    freed += freedData == &from;
  };
  Oprj_MapProjectionEx other = {&from, own.applyInverse, own.apply, &own, "own", &from};
  EXPECT_EQ(oprj_MapProjectionConvert(&other, "unheard of", err), 0);
  EXPECT_EQ(err.chain(),
            "oprj_MapProjectionConvert: oprj_ProjectionSet failed (4) < "
            "oprj_ProjectionSet: Cannot initialize projection of type unheard of (1500)");
  EXPECT_EQ(converted + freed, 0);
  EXPECT_EQ(oprj_MapProjectionConvert(&other, OPRJ_TITLE_PE, err), 1) << err.chain();
  EXPECT_EQ(converted, 1);
  EXPECT_EQ(freed, 1);
  EXPECT_EQ(other.ownedData, &to);
  EXPECT_STREQ(other.title, OPRJ_TITLE_PE);
}

TEST(FunctionSets, ThreeDimensionsWhereTheFamilyHasThem) {
  Slot err;
  const auto flat = makeHandle(geographic());
  // Anchored LSR, anchored at 9 E, 48 N: its anchor is the origin.
  const auto local = makeHandle(makeRecord(53, {0, 0, 0, 0, 9 * kDegree, 48 * kDegree, 0, 0}));
  const Oprj_Point3D anchor{9 * kDegree, 48 * kDegree, 25};
  Oprj_Point3D out{}, back{};
  oprj_MapProjectionApply3D(local.get(), &anchor, &out, 1, err);
  expectNoReport(err);
  oprj_MapProjectionApplyInverse3D(local.get(), &out, &back, 1, err);
  expectNoReport(err);
  EXPECT_NEAR(std::abs(out.x) + std::abs(out.y), 0, 1e-8);
  EXPECT_NEAR(out.z, 25, 1e-8);
  EXPECT_NEAR(back.x, anchor.x, 1e-14);
  EXPECT_NEAR(back.y, anchor.y, 1e-14);

  oprj_MapProjectionApply3D(flat.get(), &anchor, &out, 1, err);
  EXPECT_EQ(err.chain(),
            "oprj_MapProjectionApply3D: ProjectionApply3D failed (2) < "
            "nativeProjectionApply3D: conversion not supported (1)");
  oprj_MapProjectionApplyInverse3D(local.get(), nullptr, &out, 1, err);
  EXPECT_EQ(
      err.chain().find("oprj_MapProjectionApplyInverse3D: ProjectionApplyInverse3D failed (2) "
                       "< nativeProjectionApplyInverse3D: toLL3D failed (2) < "),
      0u)
      << err.chain();
  oprj_MapProjectionApply3D(nullptr, &anchor, &out, 1, err);
  expectReport(err, "oprj_MapProjectionApply3D", 1, "Args");
}

// --- equality ---

TEST(Equality, HandlesOfDifferentSetsAreNeverEqual) {
  Slot err;
  const auto one = makeHandle(transverseMercator(9)), same = makeHandle(transverseMercator(9)),
             other = makeHandle(transverseMercator(15));
  HandlePtr engine(oprj_ProjectionInitInternal(OPRJ_TITLE_PE, one->ownedData, err));
  HandlePtr engine2(oprj_ProjectionInitInternal(OPRJ_TITLE_PE, one->ownedData, err));
  EXPECT_EQ(oprj_MapProjectionEqual(one.get(), one.get(), err), 1);
  EXPECT_EQ(oprj_MapProjectionEqual(nullptr, nullptr, err), 1);
  EXPECT_EQ(oprj_MapProjectionEqual(one.get(), nullptr, err), 0);
  EXPECT_EQ(oprj_MapProjectionEqual(one.get(), same.get(), err), 1);
  EXPECT_EQ(oprj_MapProjectionEqual(one.get(), other.get(), err), 0);
  EXPECT_EQ(oprj_MapProjectionEqual(one.get(), engine.get(), err), 0);
  expectNoReport(err);
  EXPECT_EQ(oprj_MapProjectionEqual(engine.get(), engine2.get(), err), 0);
  EXPECT_EQ(oerr_CodeGet(err.get()), 2);
  engine->ownedData = engine2->ownedData = nullptr;
  const Oprj_MapProjectionEx blank{}, blank2{};
  EXPECT_EQ(oprj_MapProjectionEqual(&blank, &blank2, err), 0);
  expectReport(err, "oprj_MapProjectionEqual", 1, "ProjectionEqual not implemented by (null)");
}

TEST(Equality, RecordsCompareThroughTheirFamilyThenTheSpheroids) {
  struct Row {
    const char *what;
    RecordPtr first, second;
    int32_t lenient, strict;
  };
  const auto variantA = [] { return makeRecord(69, {0, 0, 1, 0, 0, 0, 0, 0}); };
  const auto external = [](const char *program) {
    auto record = geographic();
    record->proType = OPRJ_EXTERNAL;
    oprj_CharStrCreate(program, &record->proExeName, nullptr);
    return record;
  };
  Row rows[] = {
      {"same", transverseMercator(9), transverseMercator(9), 1, 1},
      {"meridian", transverseMercator(9), transverseMercator(9.0000001), 0, 0},
      {"family", transverseMercator(9), geographic(), 0, 0},
      {"zone", makeRecord(1, {0, 0, 0, 0}, "WGS 84", "WGS 84", 31),
       makeRecord(1, {0, 0, 0, 0}, "WGS 84", "WGS 84", 32), 0, 0},
      {"datum", transverseMercator(9, "GRS 1980", "NAD83 (DMA)"),
       transverseMercator(9, "GRS 1980", "Undefined"), 1, 0},
      {"spheroid", transverseMercator(9), transverseMercator(9, "Clarke 1866", "Undefined"), 0, 0},
      {"never", variantA(), variantA(), 0, 0}};
  for (const auto &row : rows) {
    const LeakCheck leaks;
    Slot err;
    EXPECT_EQ(oprj_ProParametersEqual(row.first.get(), row.second.get(), err), row.lenient)
        << row.what;
    expectNoReport(err);
    for (const auto &[flag, equal] : {std::pair{1, row.lenient}, {0, row.strict}}) {
      EXPECT_EQ(oprj_ProParametersEqual2(row.first.get(), row.second.get(), flag, err), equal)
          << row.what;
      EXPECT_EQ(oprj_ProParametersEqual2(row.second.get(), row.first.get(), flag, err), equal)
          << row.what;
      expectNoReport(err);
    }
  }
  forEachAllocationFailure([&](Oerr_Report **slot) {
    return oprj_ProParametersEqual(rows[0].first.get(), rows[0].second.get(), slot);
  });

  // External names compare as texts whatever their counts; without a test of the family, arrays
  // compare within their tolerance.
  const auto program = external("tool"), shorter = external("tool"), another = external("tools");
  shorter->proExeName.count = 4;
  const auto arrays = makeRecord(70, {1, 2}), near = makeRecord(70, {1, 2 + 1e-10}),
             far = makeRecord(70, {1, 2.1});
  const ObjectPtr object(marked::object(arrays, {}));
  const auto compare = [&](const RecordPtr &first, const RecordPtr &second) {
    Slot err;
    const int32_t equal =
        oprj_ProParametersEqualWithProjection(first.get(), second.get(), object.get(), 1, err);
    expectNoReport(err);
    return equal;
  };
  EXPECT_EQ(compare(program, shorter), 1);
  EXPECT_EQ(compare(program, another), 0);
  EXPECT_EQ(compare(program, geographic()), 0) << "type";
  EXPECT_EQ(compare(arrays, near), 1);
  EXPECT_EQ(compare(arrays, far), 0);
  object->proParametersEqual = never;
  EXPECT_EQ(compare(arrays, near), 0);
}

TEST(Equality, ReportsWhatItCannotCompare) {
  Slot err;
  const auto good = transverseMercator(9), engine = geographic();
  oprj_CharStrCreate("GEOGCS[]", &engine->proExeName, nullptr);
  const auto chain = [&](const RecordPtr &first, const RecordPtr &second) {
    EXPECT_EQ(oprj_ProParametersEqual(first.get(), second.get(), err), 0);
    return err.chain();
  };
  EXPECT_EQ(chain(nullptr, good),
            "oprj_ProParametersEqual2: Error returned from oprj_ProjectionInit (1) < "
            "oprj_ProjectionInit: Args (1574)");
  EXPECT_EQ(chain(good, nullptr),
            "oprj_ProParametersEqual2: Error returned from oprj_ProParametersEqualWithProjection "
            "(2) < oprj_ProParametersEqualWithProjection: Invalid input parmArray (1)");
  EXPECT_EQ(chain(good, engine), "") << "systems of different sets differ";
  EXPECT_NE(chain(engine, good).find("pe_coordsys_from_string failed (1599)"), std::string::npos);

  const ObjectPtr object(marked::object(good, {}));
  oprj_SpheroidFree(&good->proSpheroid);
  object->proParametersEqual = nullptr;
  const auto with = [&](const RecordPtr &first, const RecordPtr &second,
                        const Oprj_MapProjection *projection) {
    oprj_ProParametersEqualWithProjection(first.get(), second.get(), projection, 1, err);
    return err.chain().substr(0, err.chain().find(" <"));
  };
  const std::string name = "oprj_ProParametersEqualWithProjection: ";
  EXPECT_EQ(with(good, good, nullptr), name + "Invalid input Map Projection structure (2)");
  EXPECT_EQ(with(good, transverseMercator(9), object.get()),
            name + "Error returned from oprj_SpheroidsEqual2 (5)");
  object->proParametersEqual = [](const Oprj_ProParameters *, const Oprj_ProParameters *,
                                  Oerr_Report **slot) -> int32_t {
    *slot = oerr_CreateErrorReport("test", 1, 2, nullptr, "cannot compare");
    return 0;
  };
  EXPECT_EQ(with(good, good, object.get()),
            name + "Error returned from projection parameters comparison (3)");
}

TEST(Equality, OkToProjectWarnsOfIgnoredSpheroids) {
  Slot err;
  const auto wgs = geographic(), clarke = geographic("Clarke 1866", "Clarke 1866"),
             vague = geographic("Clarke 1866", "Undefined");
  const auto check = [&](const RecordPtr &first, const RecordPtr &second) {
    testing::internal::CaptureStderr();
    const int32_t ok = oprj_ProjectionsOKToProject(first.get(), second.get(), err);
    const std::string printed = testing::internal::GetCapturedStderr();
    EXPECT_EQ(
        printed.find("Spheroid difference ignored due to undefined datum!") != std::string::npos,
        !printed.empty());
    return std::pair(ok, !printed.empty());
  };
  EXPECT_EQ(check(wgs, clarke), std::pair(1, false));
  EXPECT_EQ(check(wgs, vague), std::pair(1, true));
  EXPECT_EQ(check(vague, wgs), std::pair(1, true));
  EXPECT_EQ(check(clarke, vague), std::pair(1, false)) << "the figures are the same";
  expectNoReport(err);
  EXPECT_EQ(check(nullptr, wgs), std::pair(0, false));
  expectReport(err, "oprj_ProjectionsOKToProject", 1, "Invalid input parmArray");
  vague->proSpheroid->a = 0;
  EXPECT_EQ(check(wgs, vague), std::pair(0, false));
  expectReport(err, "oprj_ProjectionsOKToProject", 2, "Empty spheroid.");
}

// --- systems with map info, pairs ---

struct MapInfo : Oprj_MapInfo {
  MapInfo(const char *name, const char *unit) : Oprj_MapInfo{} {
    oprj_CharStrCreate(name, &proName, nullptr);
    oprj_CharStrCreate(unit, &units, nullptr);
  }
  ~MapInfo() {
    oprj_CharStrFree(&proName);
    oprj_CharStrFree(&units);
  }
  MapInfo(const MapInfo &) = delete;
  MapInfo &operator=(const MapInfo &) = delete;
};

TEST(Pairs, SystemsAreEqualByParametersElseByNameThenByUnit) {
  const MapInfo metres("UTM", "meters"), feet("UTM", "feet"), other("Mercator", "meters");
  const auto record = transverseMercator(9), same = transverseMercator(9),
             differs = transverseMercator(15), broken = makeRecord(70, {});
  struct Row {
    const MapInfo *first;
    const Oprj_ProParameters *firstRecord;
    const MapInfo *second;
    const Oprj_ProParameters *secondRecord;
    int32_t equal;
  };
  const Row rows[] = {
      {&metres, record.get(), &metres, same.get(), 1},
      {&metres, record.get(), &metres, differs.get(), 0},
      {&metres, record.get(), &other, same.get(), 1},  // names do not matter beside parameters
      {&metres, record.get(), &feet, same.get(), 0},
      {nullptr, record.get(), nullptr, same.get(), 1},
      {nullptr, record.get(), nullptr, differs.get(), 0},
      {&metres, record.get(), nullptr, same.get(), 0},
      {nullptr, nullptr, nullptr, nullptr, 1},
      {&metres, nullptr, &metres, same.get(), 1},
      {&metres, nullptr, &other, same.get(), 0},
      {&metres, nullptr, &feet, nullptr, 0}};
  Slot err;
  for (const auto &row : rows) {
    const LeakCheck leaks;
    const auto index = &row - rows;
    EXPECT_EQ(oprj_ProjectionsEqual(row.first, row.firstRecord, row.second, row.secondRecord, err),
              row.equal)
        << index;
    expectNoReport(err);
    const PairPtr pair(oprj_ProjectionPairGet(theToolkit(), row.first, row.firstRecord, row.second,
                                              row.secondRecord, err));
    if (row.equal) {
      EXPECT_EQ(pair, nullptr) << index;
      expectNoReport(err);
    } else if (!row.firstRecord || !row.secondRecord) {
      EXPECT_EQ(pair, nullptr) << index;
      expectReport(err, "oprj_ProjectionPairGet", 2, "Not enough information to do projection");
    } else {
      ASSERT_NE(pair, nullptr) << err.chain();
      EXPECT_NE(pair->in, nullptr);
      EXPECT_NE(pair->out, nullptr);
    }
  }
  EXPECT_EQ(oprj_ProjectionsEqual(nullptr, broken.get(), nullptr, same.get(), err), 0);
  expectReport(err, "oprj_ProjectionsEqual", 1, "Error returned from oprj_ProParametersEqual");
  EXPECT_EQ(oprj_ProjectionPairGet(theToolkit(), nullptr, broken.get(), nullptr, same.get(), err),
            nullptr);
  expectReport(err, "oprj_ProjectionPairGet", 1, "Error returned from oprj_ProjectionsEqual");
  EXPECT_EQ(oprj_ProjectionPairGet(theToolkit(), nullptr, same.get(), nullptr, broken.get(), err),
            nullptr);
  expectReport(err, "oprj_ProjectionPairGet", 3, "Error returned from oprj_ProjectionPairInit");
  for (const int32_t code : {2, 3}) {
    oprj_ProjectionPairInit(theToolkit(), code == 2 ? broken.get() : same.get(), broken.get(), err);
    expectReport(err, "oprj_ProjectionPairInit", code, "Error returned from oprj_ProjectionInit");
  }
}

TEST(Pairs, CopiesStandAloneAndFailuresChangeNothing) {
  const LeakCheck leaks;
  Slot err;
  const auto in = transverseMercator(9), out = transverseMercator(15);
  const auto pair = makePair(in, out);
  PairPtr target(oprj_ProjectionPairCreate(err));
  EXPECT_EQ(oprj_ProjectionPairCopy(pair.get(), target.get(), err), target.get());
  EXPECT_EQ(oprj_MapProjectionEqual(pair->in, target->in, err), 1);
  EXPECT_EQ(oprj_MapProjectionEqual(pair->out, target->out, err), 1);
  const PairPtr empty(oprj_ProjectionPairCreate(err));
  const PairPtr copy(oprj_ProjectionPairCopy(empty.get(), nullptr, err));
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->in, nullptr);
  EXPECT_EQ(oprj_ProjectionPairCopy(nullptr, nullptr, err), nullptr);
  expectReport(err, "oprj_ProjectionPairCopy", 1, "Invalid input Oprj_ProjectionPair");

  const auto *before = target->in;
  forEachAllocationFailure([&](Oerr_Report **slot) {
    return PairPtr(oprj_ProjectionPairCopy(pair.get(), nullptr, slot)) != nullptr;
  });
  for (int64_t n = 1;; ++n) {
    omsc_HeapFailNth(n);
    const bool failed = !oprj_ProjectionPairCopy(pair.get(), target.get(), nullptr);
    omsc_HeapFailNth(0);
    if (!failed) break;
    ASSERT_EQ(target->in, before);
  }
  forEachAllocationFailure([&](Oerr_Report **slot) {
    return PairPtr(oprj_ProjectionPairInit(theToolkit(), in.get(), out.get(), slot)) != nullptr;
  });
}

}  // namespace
