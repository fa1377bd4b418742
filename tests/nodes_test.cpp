// Projections and map infos in node files.
#include <oprj/oprj.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

#include "tests/loaded_tables.h"
#include "tests/node_support.h"
#include "tests/tables_support.h"

namespace {

using namespace orvik::test;
using MapInfoPtr = orvik::toolkit::Owner<Oprj_MapInfo, oprj_MapInfoFree>;

std::string text(const Oprj_CharStr &text) { return text.data ? text.data : "-"; }

std::string text(const Oprj_DblArray &values) {
  std::string all = "[";
  for (int32_t i = 0; i < values.count; ++i) {
    char digits[32];
    std::snprintf(digits, sizeof digits, "%s%.17g", i ? " " : "", values.data[i]);
    all += digits;
  }
  return all + "]";
}

/// Everything that a datum says.
std::string text(const Oprj_Datum *datum) {
  if (!datum) return "none";
  return text(datum->datumname) + " " + std::to_string(datum->type) + " " + text(datum->params) +
         " " + text(datum->gridname);
}

/// Everything that a record says, its datum last.
std::string text(const Oprj_ProParameters *record) {
  if (!record) return "null";
  std::string all = std::to_string(record->proType) + " " + std::to_string(record->proNumber) +
                    " " + text(record->proExeName) + " " + text(record->proName) + " " +
                    std::to_string(record->proZone) + " " + text(record->proParams);
  if (const Oprj_Spheroid *spheroid = record->proSpheroid) {
    const double axes[] = {spheroid->a, spheroid->b, spheroid->eSquared, spheroid->radius};
    all += " " + text(spheroid->sphereName) + " " +
           text(Oprj_DblArray{4, const_cast<double *>(axes)}) + " datum " + text(spheroid->datum);
  }
  return all;
}

/// A record of a projection with these parameters; the datum of the spheroid's table, or as given.
ParametersPtr system(int32_t number, std::vector<double> params, const char *spheroid = "GRS 1980",
                     const char *datum = nullptr, int32_t type = OPRJ_DATUM_PARAMETRIC) {
  Slot slot;
  ParametersPtr made(oprj_ProParametersCreate(slot));
  made->proNumber = number;
  oprj_ProjName(toolkit(), number, &made->proName, slot);
  oprj_DblArrayCreate(static_cast<int32_t>(params.size()), &made->proParams, slot);
  std::copy(params.begin(), params.end(), made->proParams.data);
  EXPECT_TRUE(oprj_SpheroidByName(toolkit(), spheroid, made->proSpheroid, slot)) << slot.chain();
  if (!datum) {
    oprj_DatumFree(&made->proSpheroid->datum);
    return made;
  }
  Oprj_Datum &given = *made->proSpheroid->datum;
  oprj_CharStrCreate(datum, &given.datumname, slot);
  given.type = type;
  oprj_DblArrayCreate(7, &given.params, slot);
  for (int i = 0; i < 7; ++i) given.params.data[i] = i / 8.0;
  oprj_CharStrCreate("nad27.dat", &given.gridname, slot);
  return made;
}

class LayerNodes : public testing::Test {
 protected:
  TemporaryDirectory directory;
  std::string path = directory.path() + "/file.nod";
  Nodes file = Nodes::create(path);

  void SetUp() override {
    Slot slot;
    for (const char *layer : {"L", "M"})
      EXPECT_TRUE(ohfa_NodeCreate(file.get(), "", layer, slot)) << slot.chain();
  }
  void write(const char *layer, const ParametersPtr &record) const {
    Slot slot;
    EXPECT_EQ(oprj_ProParametersWrite(file.get(), layer, record.get(), slot), nullptr)
        << slot.chain();
  }
  /// The record of a layer as text, or the chain in brackets.
  std::string read(const char *layer, int32_t searchSiblings = 0) const {
    Slot slot;
    const ParametersPtr record(
        oprj_ProParametersRead(file.get(), layer, nullptr, searchSiblings, slot));
    return record ? text(record.get()) : "[" + slot.chain() + "]";
  }
  /// Names of all nodes, from the root, and the current entry as before.
  std::string names() const {
    Slot slot;
    Ohfa_Position *position = ohfa_EntryPositionGet(file.get(), slot);
    std::string all;
    ohfa_PathSeek(file.get(), "", slot);
    addChildren(all);
    EXPECT_TRUE(ohfa_EntryPositionSet(file.get(), position, slot)) << slot.chain();
    ohfa_EntryPositionFree(&position);
    return all;
  }
  std::string current() const {
    Ohfa_EntryInfo info;
    return ohfa_EntryPeek(file.get(), OHFA_CURRENT, &info, nullptr) ? info.name : "end";
  }

 private:
  void addChildren(std::string &all) const {
    Slot slot;
    bool any = false;
    for (int32_t code = OHFA_CHILD; ohfa_EntrySeek(file.get(), code, nullptr, slot);
         code = OHFA_SIBLING, any = true) {
      all += (any ? " " : "(") + current();
      addChildren(all);
    }
    if (any) {
      all += ")";
      ohfa_EntrySeek(file.get(), OHFA_PARENT, nullptr, slot);
    }
  }
};

TEST_F(LayerNodes, EveryProjectionAndDatumComesBack) {
  const Oprj_InitData *data = oprj_InitDataGet(toolkit(), nullptr);
  std::map<std::string, std::string> written;  // by layer
  const auto add = [&](const ParametersPtr &record) {
    const std::string layer = "layer " + std::to_string(written.size());
    EXPECT_TRUE(ohfa_NodeCreate(file.get(), "", layer.c_str(), nullptr));
    write(layer.c_str(), record);
    written[layer] = text(record.get());
  };
  for (const Oprj_Query *query = data->queryTable; query; query = query->next) {
    std::vector<double> params(15);
    for (size_t i = 0; i < params.size(); ++i) params[i] = 1.0 / 3.0 + static_cast<double>(i);
    ParametersPtr record = system(query->type == OPRJ_INTERNAL ? query->number : 0, params,
                                  "Clarke 1866", "a datum", OPRJ_DATUM_PARAMETRIC);
    record->proType = query->type;
    oprj_CharStrCreate(query->name, &record->proName, nullptr);
    if (query->type == OPRJ_EXTERNAL) {
      oprj_CharStrCreate(query->executable, &record->proExeName, nullptr);
      record->proExeName.count -= 1;  // as other makers of records count it
    }
    record->proZone = -17;
    add(record);
  }
  EXPECT_GT(written.size(), 40u);
  const double odd[] = {-0.0, std::numeric_limits<double>::infinity(), 5e-324, 1e308};
  for (const int32_t type :
       {OPRJ_DATUM_PARAMETRIC, OPRJ_DATUM_GRID, OPRJ_DATUM_REGRESSION, OPRJ_DATUM_NONE})
    add(system(3, {std::begin(odd), std::end(odd)}, "WGS 84", "NAD27", type));
  add(system(0, {}, "WGS 84", "", OPRJ_DATUM_NONE));
  file.close();
  file = Nodes::open(path);
  for (const auto &[layer, record] : written) EXPECT_EQ(read(layer.c_str()), record) << layer;
  EXPECT_EQ(file.check(true), "");
}

TEST_F(LayerNodes, WritingReplacesAndKeepsTheCurrentEntry) {
  Slot slot;
  for (const char *layer : {"L", "", static_cast<const char *>(nullptr)}) {
    EXPECT_TRUE(ohfa_PathSeek(file.get(), layer && *layer ? "M" : "L", slot));
    const std::string before = current();
    const struct {
      ParametersPtr record;
      const char *names, *datum;
    } writings[] = {
        {system(1, {0}, "WGS 84", "P", OPRJ_DATUM_PARAMETRIC), "(L(Projection(Datum)) M)",
         "P 0 [0 0.125 0.25 0.375 0.5 0.625 0.75] -"},
        {system(1, {0}, "WGS 84", "R", OPRJ_DATUM_REGRESSION), "(L(Projection(Datum)) M)",
         "R 2 [] -"},
        {system(1, {0}, "WGS 84", "G", OPRJ_DATUM_GRID), "(L(Projection(Datum)) M)",
         "G 1 [] nad27.dat"},
        {system(1, {0}, "WGS 84"), "(L(Projection) M)", "Undefined 3 [] -"},  // not the old one
    };
    for (const auto &[record, tree, datum] : writings) {
      write(layer, record);
      EXPECT_EQ(names(), tree);
      EXPECT_EQ(current(), before);
      const std::string seen = read(layer);
      EXPECT_EQ(seen.substr(std::min(seen.size(), seen.rfind("datum ") + 6)), datum);
      EXPECT_EQ(current(), before);
    }
    EXPECT_TRUE(ohfa_NodeRemove(file.get(), "L:Projection", slot));
  }
  // External projections without a datum; and with no spheroid at all, which is made on reading.
  ParametersPtr external = system(0, {1});
  external->proType = OPRJ_EXTERNAL;
  oprj_SpheroidFree(&external->proSpheroid);
  write("L", external);
  EXPECT_EQ(names(), "(L(Projection) M)");
  EXPECT_EQ(read("L"), "1 0 - Geographic 0 [1] - [0 0 0 0] datum Undefined 3 [] -");
}

TEST_F(LayerNodes, OlderStatePlaneProjectionsAreRepaired) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::string clarke = "Clarke 1866 NAD27", grs = "GRS 1980 NAD83", harn = "GRS 1980 HARN";
  const struct {
    std::vector<double> params;
    const char *datum;  // null: no node
    std::string spheroidAndDatum;
    double code;  // what the first parameter becomes
  } cases[] = {
      {{3}, nullptr, harn, 3},
      {{3.9}, nullptr, harn, 3.9},
      {{2.7}, nullptr, grs, 2.7},
      {{1}, nullptr, clarke, 1},
      {{0}, nullptr, clarke, 0},
      {{4}, nullptr, clarke, 4},
      {{1e300}, nullptr, clarke, 1e300},
      {{nan}, nullptr, clarke, nan},
      {{}, nullptr, clarke, 0},
      {{0}, "nad83", "WGS 84 nad83", 2},
      {{-0.0}, "Harn", "WGS 84 Harn", 3},
      {{0}, "NAD27", "WGS 84 NAD27", 1},
      {{0}, "oprj_nsr2007", "WGS 84 oprj_nsr2007", 4},
      {{0}, "Other", "WGS 84 Other", 0},
      {{1}, "nad83", "WGS 84 nad83", 1},
  };
  for (const auto &[params, datum, expected, code] : cases) {
    SCOPED_TRACE(expected + (params.empty() ? "" : " " + std::to_string(params[0])));
    const ParametersPtr record = system(2, params, "WGS 84", datum);
    write("L", record);
    Slot slot;
    ParametersPtr seen(oprj_ProParametersRead(file.get(), "L", nullptr, 0, slot));
    ASSERT_TRUE(seen) << slot.chain();
    const Oprj_Spheroid &spheroid = *seen->proSpheroid;
    EXPECT_EQ(text(spheroid.sphereName) + " " + text(spheroid.datum->datumname), expected);
    EXPECT_TRUE(params.empty() || std::isnan(code) || seen->proParams.data[0] == code);
    EXPECT_EQ(spheroid.datum->type == OPRJ_DATUM_GRID, spheroid.datum->gridData != nullptr);
  }
}

TEST_F(LayerNodes, AGridThatIsMissingKeepsNothingFromBeingFoundAndReplaced) {
  const ParametersPtr record = system(1, {0}, "Clarke 1866", "NAD27", OPRJ_DATUM_GRID);
  oprj_CharStrCreate("missing.dat", &record->proSpheroid->datum->gridname, nullptr);
  write("L", record);
  EXPECT_EQ(read("L").substr(0, 84),
            "[oprj_ProParametersRead: Error returned from ohfa_ObjectRead (8) < oprj_DatumGridFil");
  Slot slot;
  ParametersPtr given = system(7, {1, 2, 3}, "WGS 84", "old");
  const Oprj_Datum *address = given->proSpheroid->datum;
  EXPECT_EQ(oprj_ProParametersRead(file.get(), "L", given.get(), 0, slot), nullptr);
  EXPECT_EQ(oerr_CodeGet(slot.get()), 8);
  EXPECT_EQ(text(given.get()), text(record.get()));  // complete but for the grid
  EXPECT_EQ(given->proSpheroid->datum, address);
  write("L", system(1, {5}, "Clarke 1866", "NAD27", OPRJ_DATUM_GRID));
  EXPECT_EQ(names(), "(L(Projection(Datum)) M)");
  ASSERT_EQ(oprj_ProParametersRead(file.get(), "L", given.get(), 0, slot), given.get());
  EXPECT_NE(given->proSpheroid->datum->gridData, nullptr);
}

TEST_F(LayerNodes, WhereANodeIsFound) {
  Slot slot;
  const auto seen = [&](const char *layer, int32_t siblings) {
    const std::string all = read(layer, siblings);
    return all[0] == '[' ? all : all.substr(0, 3);
  };
  EXPECT_EQ(seen("L", 0),
            "[oprj_ProParametersRead: Error returned from ohfa_ObjectRead for child (5) < "
            "ohfa_ObjectRead: There is no node of design \"Oprj_ProParameters\" below \"L\" (5)]");
  EXPECT_EQ(seen("no", 1),
            "[oprj_ProParametersRead: Error returned from ohfa_ObjectRead for sibling (4) < "
            "ohfa_ObjectRead: There is no node \"no\" (5)]");
  // A node of another name serves when it is of the design, and is the one that is replaced.
  write("L", system(1, {}));
  EXPECT_TRUE(ohfa_NodeRename(file.get(), "L:Projection", "Old", slot));
  write("L", system(3, {}));
  EXPECT_EQ(names(), "(L(Old) M)");
  EXPECT_EQ(seen("L", 0), "0 3");
  // The one of the name goes before it; one of the name but another design stands in the way.
  EXPECT_EQ(oprj_ProParametersWriteSimple(file.get(), "L", system(4, {}).get(), slot), nullptr);
  EXPECT_EQ(seen("L", 0), "0 4");
  file.write("M", "Projection", 1);
  EXPECT_EQ(oerr_CodeGet(oprj_ProParametersWrite(file.get(), "M", system(5, {}).get(), slot)), 11);
  EXPECT_EQ(slot.chain(),
            "oprj_ProParametersWrite: Error returned from ohfa_ObjectWrite (11) < "
            "ohfa_ObjectWrite: There is a node \"M:Projection\" already (6)");
  // Siblings of the layer are asked only on demand.
  EXPECT_EQ(oprj_ProParametersWriteSimple(file.get(), "", system(6, {}).get(), slot), nullptr);
  EXPECT_EQ(current(), "root");
  EXPECT_EQ(seen("M", 0)[0], '[');
  EXPECT_EQ(seen("M", 1), "0 6");
  EXPECT_EQ(seen("L", 1), "0 4");
}

TEST_F(LayerNodes, SimpleFormsAreAStream) {
  Slot slot;
  const ParametersPtr first = system(1, {0}, "WGS 84", "P"), second = system(2, {2}, "WGS 84");
  ParametersPtr external = system(0, {}, "WGS 84", "kept to itself");
  external->proType = OPRJ_EXTERNAL;
  const std::string written = text(first.get());
  EXPECT_EQ(oprj_ProParametersWriteSimple(file.get(), "L", first.get(), slot), nullptr);
  EXPECT_EQ(current(), "L");
  EXPECT_NE(oprj_ProParametersWriteSimple(file.get(), nullptr, first.get(), slot), nullptr);
  EXPECT_EQ(slot.chain(),
            "oprj_ProParametersWriteSimple: Error returned from ohfa_ObjectWrite (9) < "
            "ohfa_ObjectWrite: There is a node \"L:Projection\" already (6)");
  EXPECT_EQ(oprj_ProParametersWriteSimple(file.get(), "M", second.get(), slot), nullptr);
  EXPECT_TRUE(ohfa_NodeCreate(file.get(), "", "N", slot));
  EXPECT_EQ(oprj_ProParametersWriteSimple(file.get(), "N", external.get(), slot), nullptr);
  EXPECT_EQ(names(), "(L(Projection(Datum)) M(Projection) N(Projection))");
  // An entry of another design: nothing is read, and the record is left alone.
  const ParametersPtr record = system(9, {9}, "WGS 84", "old");
  const std::string before = text(record.get());
  EXPECT_TRUE(ohfa_PathSeek(file.get(), "L", slot));
  EXPECT_EQ(oprj_ProParametersReadSimple(file.get(), record.get(), slot), nullptr);
  expectNoReport(slot);
  EXPECT_EQ(text(record.get()), before);
  EXPECT_TRUE(ohfa_PathSeek(file.get(), "L:Projection", slot));
  EXPECT_EQ(oprj_ProParametersReadSimple(file.get(), record.get(), slot), record.get());
  EXPECT_EQ(text(record.get()), text(first.get()));
  EXPECT_EQ(current(), "M");
  EXPECT_TRUE(ohfa_PathSeek(file.get(), "M:Projection", slot));
  const ParametersPtr repaired(oprj_ProParametersReadSimple(file.get(), nullptr, slot));
  ASSERT_TRUE(repaired) << slot.chain();
  EXPECT_EQ(text(repaired->proSpheroid->datum->datumname), "NAD83");
  EXPECT_TRUE(ohfa_PathSeek(file.get(), "N:Projection", slot));
  EXPECT_TRUE(ParametersPtr(oprj_ProParametersReadSimple(file.get(), nullptr, slot)));
  EXPECT_EQ(current(), "end");
  EXPECT_EQ(oprj_ProParametersReadSimple(file.get(), nullptr, slot), nullptr);
  expectNoReport(slot);
}

TEST_F(LayerNodes, MapInfosAreNormalised) {
  const auto made = [](const char *name, const char *units) {
    MapInfoPtr record(oprj_MapInfoCreate(nullptr));
    oprj_CharStrCreate(name, &record->proName, nullptr);
    oprj_CharStrCreate(units, &record->units, nullptr);
    record->upperLeftCenter = oprj_CoordinateCreate(nullptr);
    *record->upperLeftCenter = {1000, 2000};
    record->pixelSize = oprj_SizeCreate(nullptr);
    *record->pixelSize = {30, 60};
    return record;
  };
  const struct {
    const char *name, *units, *readName, *readUnits;
  } cases[] = {
      {"UTM", "feet", "UTM", "feet"},           {"none", "NONE", "Unknown", "other"},
      {"OTHER", "unknown", "Unknown", "other"}, {"", "", "Unknown", "other"},
      {nullptr, nullptr, "Unknown", "other"},   {"Nonesuch", "Other", "Nonesuch", "Other"}};
  Slot slot;
  EXPECT_EQ(oprj_MapInfoReadIfPresent(file.get(), "L", slot), nullptr);
  EXPECT_EQ(oprj_MapInfoReadIfPresent(file.get(), "no", slot), nullptr);
  expectNoReport(slot);
  EXPECT_TRUE(ohfa_PathSeek(file.get(), "M", slot));
  for (const auto &each : cases) {
    const MapInfoPtr record = made(each.name, each.units);
    EXPECT_EQ(oprj_MapInfoWrite(file.get(), "L", record.get(), slot), nullptr) << slot.chain();
    EXPECT_EQ(names(), "(L(Map_Info) M)");
    const MapInfoPtr tree(oprj_MapInfoRead(file.get(), "L", nullptr, 0, slot)),
        present(oprj_MapInfoReadIfPresent(file.get(), "L", slot));
    ASSERT_TRUE(tree && present) << slot.chain();
    EXPECT_EQ(current(), "M");
    EXPECT_EQ(text(tree->proName), each.readName);
    EXPECT_EQ(text(tree->units), text(record->units));
    EXPECT_EQ(text(present->proName), each.readName);
    EXPECT_EQ(text(present->units), each.readUnits);
    EXPECT_EQ(present->upperLeftCenter->y, 2000);
    EXPECT_EQ(present->lowerRightCenter, nullptr);
    EXPECT_EQ(present->pixelSize->height, 60);
    EXPECT_TRUE(ohfa_PathSeek(file.get(), "L:Map_Info", slot));
    const MapInfoPtr simple = made("before", "before");
    EXPECT_EQ(oprj_MapInfoReadSimple(file.get(), simple.get(), slot), simple.get());
    EXPECT_EQ(text(simple->proName), each.readName);
    EXPECT_EQ(oprj_MapInfoReadSimple(file.get(), simple.get(), slot), nullptr);  // M
    expectNoReport(slot);
  }
  EXPECT_EQ(oerr_CodeGet(oprj_MapInfoWriteSimple(file.get(), "L", made("a", "b").get(), slot)), 9);
  EXPECT_EQ(oprj_MapInfoWriteSimple(file.get(), "M", made("a", "b").get(), slot), nullptr);
  EXPECT_EQ(current(), "M");
}

TEST_F(LayerNodes, RefusalsAndDamage) {
  Slot slot;
  const ParametersPtr record = system(1, {});
  const MapInfoPtr mapInfo(oprj_MapInfoCreate(nullptr));
  const struct {
    std::function<const void *()> call;
    int32_t code;
    const char *message;
  } cases[] = {
      {[&] { return oprj_ProParametersWrite(nullptr, "L", record.get(), slot); }, 13,
       "Invalid input file"},
      {[&] { return oprj_ProParametersWriteSimple(nullptr, "L", record.get(), slot); }, 13,
       "Invalid input file"},
      {[&] { return oprj_ProParametersRead(nullptr, "L", nullptr, 0, slot); }, 13,
       "Invalid input file"},
      {[&] { return oprj_ProParametersReadSimple(nullptr, nullptr, slot); }, 13,
       "Invalid input file"},
      {[&] { return oprj_MapInfoRead(nullptr, "L", nullptr, 0, slot); }, 13, "Invalid input file"},
      {[&] { return oprj_MapInfoReadIfPresent(nullptr, "L", slot); }, 13, "Invalid input file"},
      {[&] { return oprj_MapInfoReadSimple(nullptr, nullptr, slot); }, 13, "Invalid input file"},
      {[&] { return oprj_MapInfoWrite(nullptr, "L", mapInfo.get(), slot); }, 13,
       "Invalid input file"},
      {[&] { return oprj_ProParametersWrite(file.get(), "L", nullptr, slot); }, 3,
       "Invalid input proParameters"},
      {[&] { return oprj_MapInfoWrite(file.get(), "L", nullptr, slot); }, 3,
       "Invalid input MapInfo"},
      {[&] { return oprj_ProParametersWrite(file.get(), "no", record.get(), slot); }, 11,
       "Error returned from ohfa_ObjectWrite"},
      {[&] { return oprj_MapInfoWrite(file.get(), "no", mapInfo.get(), slot); }, 11,
       "Error returned from ohfa_ObjectWrite"},
      {[&] { return oprj_MapInfoWriteSimple(file.get(), "no", mapInfo.get(), slot); }, 9,
       "Error returned from ohfa_ObjectWrite"},
      {[&] { return oprj_MapInfoRead(file.get(), "L", nullptr, 0, slot); }, 5,
       "Error returned from ohfa_ObjectRead for child"},
      {[&] { return oprj_MapInfoRead(file.get(), "L", nullptr, 1, slot); }, 4,
       "Error returned from ohfa_ObjectRead for sibling"},
  };
  for (const auto &[call, code, message] : cases) {
    const void *result = call();
    EXPECT_TRUE(result == nullptr || result == slot.get());
    ASSERT_TRUE(slot.failed()) << message;
    EXPECT_EQ(oerr_CodeGet(slot.get()), code);
    EXPECT_STREQ(oerr_MessageGet(slot.get()), message);
  }
  Oerr_Report *own = oprj_ProParametersWrite(file.get(), "no", record.get(), nullptr);
  EXPECT_EQ(oerr_CodeGet(own), 11);
  oerr_DeleteErrorReport(&own);

  // A dictionary that cannot be read, and one that defines the design otherwise: its layout.
  write("L", system(3, {1, 2}, "WGS 84", "P"));
  file.close();
  const std::string whole = readFile(path);
  const size_t at = whole.rfind("{1:e2:OPRJ_INTERNAL");
  ASSERT_NE(at, whole.npos);
  std::string other = whole;
  other.replace(other.find("proNumber", at), 9, "proNumbeR");  // an item that is not known
  directory.write("file.nod", other);
  file = Nodes::open(path);
  EXPECT_EQ(read("L").substr(0, 4), "0 0 ");
  other.replace(at, 1, "[");
  directory.write("file.nod", other);
  file = Nodes::open(path, OHFA_UPDATE);
  EXPECT_NE(read("L").find("Invalid dictionary text at byte"), std::string::npos) << read("L");
  EXPECT_EQ(oerr_CodeGet(oprj_ProParametersWrite(file.get(), "L", record.get(), slot)), 4);
}

/// The bytes that a page writes as lines of "position  16 bytes in hex  |...|" behind a heading.
std::string bytesOfPage(const char *heading) {
  std::ifstream page(OPRJ_SOURCE_DIR "/docs/node-files.md");
  std::string bytes;
  bool inside = false;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with("#")) inside = line.find(heading) != line.npos;
    if (!inside || !line.starts_with("    ") || line.find_first_not_of("0123456789abcdef", 4) != 8)
      continue;
    const auto position = static_cast<size_t>(std::stoul(line.substr(4, 4), nullptr, 16));
    bytes.resize(std::max(bytes.size(), position));  // lines of zeros are left out
    for (size_t at = 10; at + 1 < line.size() && line[at] != '|' && line[at] != ' '; at += 3)
      bytes += static_cast<char>(std::stoi(line.substr(at, 2), nullptr, 16));
  }
  return bytes;
}

TEST(NodeFilePage, ItsBytesAreThoseThatAreWritten) {
  const TemporaryDirectory directory;
  const ScopedEnvironment time("SOURCE_DATE_EPOCH", "0");
  const std::string path = directory.path() + "/file.nod";
  {
    Nodes file = Nodes::create(path);
    file.close();
  }
  EXPECT_EQ(readFile(path), bytesOfPage("empty file"));
  Slot slot;
  {
    Nodes file = Nodes::open(path, OHFA_UPDATE);
    EXPECT_TRUE(ohfa_NodeCreate(file.get(), "", "L", slot));
    const ParametersPtr record = system(1, {0}, "GRS 1980", "NAD83");
    record->proZone = 17;
    oprj_DblArrayFree(&record->proSpheroid->datum->params);
    EXPECT_EQ(oprj_ProParametersWrite(file.get(), "L", record.get(), slot), nullptr);
    file.close();
  }
  EXPECT_EQ(readFile(path), bytesOfPage("a projection"));
}

TEST_F(LayerNodes, AllocationFailures) {
  const ParametersPtr record = system(1, {1, 2}, "WGS 84", "P"),
                      target = system(9, {9}, "WGS 84", "T");
  write("M", record);
  const auto check = [&](auto operation) {
    forEachAllocationFailure(operation, {}, OnFailure::kMayRecover);
  };
  EXPECT_EQ(oprj_ProParametersWrite(file.get(), "L", record.get(), nullptr), nullptr);
  check([&](Oerr_Report **err) {
    return oprj_ProParametersRead(file.get(), "L", target.get(), 0, err) != nullptr;
  });
  check([&](Oerr_Report **err) {
    return ParametersPtr(oprj_ProParametersRead(file.get(), "L", nullptr, 1, err)) != nullptr;
  });
  EXPECT_EQ(text(target.get()), text(record.get()));
}

TEST_F(SmallTables, AnUnnamedTypeUnderTheNameOfASurfaceDatumIsASurface) {
  const Nodes file = Nodes::create(directory_.path() + "/file.nod");
  Slot slot;
  for (const auto &[name, type] : {std::pair<const char *, int32_t>{"Moved", OPRJ_DATUM_SURFACE},
                                   {"Shifted", OPRJ_DATUM_NONE}}) {
    const ParametersPtr record = system(41, {5}, "Clarke 1866", name, OPRJ_DATUM_NONE);
    EXPECT_EQ(oprj_ProParametersWrite(file.get(), nullptr, record.get(), slot), nullptr);
    const ParametersPtr target = system(41, {}, "Clarke 1866");
    // Whatever becomes of the surface, the record is complete.
    oprj_ProParametersRead(file.get(), nullptr, target.get(), 0, slot);
    EXPECT_EQ(target->proSpheroid->datum->type, type) << slot.chain();
  }
}

}  // namespace
