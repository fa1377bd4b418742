// Projection libraries: their files, items, search and equivalents; the shipped ones against PROJ.
#include <oprj/engine.h>
#include <oprj/ofio.h>
#include <oprj/oprj.h>
#include <proj.h>

#include <cmath>
#include <map>
#include <sstream>

#include "tests/objects_support.h"
#include "toolkit/heap.h"

namespace {

using namespace orvik::test;
using orvik::toolkit::HeapBlock;
using LibraryPtr = orvik::toolkit::Owner<Oprj_ProjectionLibrary, oprj_ProjectionLibraryFree>;

constexpr const char *kShipped[] = {"UTM", "State Plane", "National grids"};

LibraryPtr open(const std::string &name) {
  Slot err;
  LibraryPtr library(oprj_ProjectionLibraryOpen(theToolkit(), name.c_str(), err));
  EXPECT_NE(library, nullptr) << err.chain();
  return library;
}
HandlePtr handleOf(const Oprj_ProjectionItem *item) {
  Slot err;
  Oprj_MapProjectionEx *handle = nullptr;
  oprj_ProjectionItemInit(theToolkit(), item, &handle, err);
  EXPECT_NE(handle, nullptr) << item->title << ": " << err.chain();
  return HandlePtr(handle);
}
const Oprj_ProParameters *recordOf(const HandlePtr &handle) {
  return static_cast<const Oprj_ProParameters *>(
      oprj_MapProjectionCSRGet(handle.get(), OPRJ_TITLE_NATIVE, nullptr));
}
RecordPtr recordOf(const std::string &text) {
  Slot err;
  RecordPtr record(oprj_ProParametersFromText(theToolkit(), text.c_str(), nullptr, nullptr, err));
  EXPECT_NE(record, nullptr) << text << ": " << err.chain();
  return record;
}

const std::string kEqualEarth =
    R"(PROJCS["x, ] {",GEOGCS["g",DATUM["D_WGS_1984",SPHEROID["WGS_1984",6378137.0,298.257223563]],PRIMEM["Greenwich",0.0],UNIT["Degree",0.0174532925199433]],PROJECTION["Equal_Earth"],PARAMETER["Central_Meridian",10.0],UNIT["Foot",0.3048]])";

/// One of each construct, in the way that libraries are written.
const std::string kSmall =
    "library \"Small one\" description \"Each construct, once\"\n"
    "item \"At the top\" {\n"
    "  1 zone 17 p 3 -1 spheroid \"WGS 84\" datum \"WGS 84\"\n"
    "}\n"
    "category \"Europe\" {\n"
    "  category \"France\" {\n"
    "    item \"Lambert\" {\n"
    "      code \"EPSG:1\" units \"feet\" area -5 41 10 51.5\n"
    "      elevation VERTCS[\"v\",VDATUM[\"v\"],PARAMETER[\"Vertical_Shift\",0.0],"
    "PARAMETER[\"Direction\",1.0],UNIT[\"Meter\",1.0]]\n"
    "      4 name \"Conic\" p 2 44 d p 3 49.5 d p 4 0.04079234433197732 p 5 46.5 d p 6 600000 "
    "p 7 -0.1 axes 6378249.2 6356515\n"
    "    }\n"
    "  }\n"
    "  item \"Text\" {\n"
    "    " +
    kEqualEarth +
    "\n"
    "  }\n"
    "}\n"
    "item \"Outside\" {\n"
    "  area 170 -50 -170 -30\n"
    "  external \"helper\" spheroid \"GRS 1980\" datum \"Nobody's\"\n"
    "}\n";

class Libraries : public testing::Test {
 protected:
  /// The file that a library is written as.
  std::string written(const LibraryPtr &library) {
    Slot err;
    const std::string path = folder_.path() + "/written.plib";
    EXPECT_EQ(oprj_ProjectionLibraryWrite(library.get(), path.c_str(), err), 1) << err.chain();
    return readFile(path);
  }
  std::string small() const { return folder_.write("small.plib", kSmall); }
  TemporaryDirectory folder_;
};

TEST_F(Libraries, AreReadAndWrittenAsTheyWere) {
  const LeakCheck leaks;
  const LibraryPtr library = open(small());
  EXPECT_STREQ(oprj_ProjectionLibraryName(library.get()), "Small one");
  EXPECT_STREQ(oprj_ProjectionLibraryDescription(library.get()), "Each construct, once");
  ASSERT_EQ(oprj_ProjectionLibraryCount(library.get()), 4);
  EXPECT_EQ(oprj_ProjectionLibraryItem(library.get(), 4), nullptr);
  EXPECT_EQ(written(library), kSmall);
  const Oprj_ProjectionItem *lambert = oprj_ProjectionLibraryFind(library.get(), "LAMBERT");
  ASSERT_NE(lambert, nullptr);
  EXPECT_EQ(lambert, oprj_ProjectionLibraryItem(library.get(), 1));
  EXPECT_STREQ(lambert->category, "Europe/France");
  const HandlePtr handle = handleOf(lambert);
  const Oprj_ProParameters *record = recordOf(handle);
  EXPECT_STREQ(record->proName.data, "Conic");
  EXPECT_EQ(record->proParams.data[2], 44 * kDegree);
  EXPECT_EQ(record->proParams.data[7], -0.1);
  EXPECT_EQ(record->proSpheroid->b, 6356515);
  EXPECT_EQ(recordOf(handleOf(oprj_ProjectionLibraryFind(library.get(), "text"))), nullptr);

  // The same in other words: blanks, commas, comments, another order of categories.
  const LibraryPtr loose = open(folder_.write(
      "loose.plib",
      "# a comment\r\nlibrary\"x\"category \"A\"{item\"1\"{9,p 4,15 d,p 9 0 spheroid\"WGS 84\"}}"
      "category \"A\" { item \"2\" { projcs(\"a\"(1)) } category \"none\" {} }"));
  EXPECT_EQ(written(loose),
            "library \"x\"\ncategory \"A\" {\n  item \"1\" {\n    9 p 4 15 d p 9 0 spheroid \"WGS "
            "84\"\n  }\n  item \"2\" {\n    projcs(\"a\"(1))\n  }\n}\n");
  for (const char *name : kShipped) {
    std::istringstream lines(readFile(std::string(OPRJ_SOURCE_DIR "/data/") +
                                      (*name == 'U'   ? "utm"
                                       : *name == 'S' ? "state-plane"
                                                      : "national-grids") +
                                      ".plib"));
    std::string file;
    for (std::string line; std::getline(lines, line);)
      if (!line.starts_with('#')) file += line + "\n";
    EXPECT_TRUE(written(open(name)) == file) << name;
  }
}

/// A damaged file gives nothing, and says where and why.
TEST_F(Libraries, DamagedFilesAreToldByLineAndColumn) {
  const LeakCheck leaks;
  const std::string head = "library \"x\"\n", item = head + "item \"a\" {\n ";
  std::string deep = head;
  for (int i = 0; i < 33; ++i) deep += "category \"c\" { ";
  const struct {
    std::string text, place;
  } cases[] = {
      {"", "1:1: expected library, found end of file"},
      {"library x", "1:9: expected a name in quotes, found \"x\""},
      {"library \"a/b\"", "1:11: expected a name without \"/\", found \"/b\"\""},
      {head + "items", "2:1: expected item, category or the end of the file, found \"items\""},
      {item + "1 zone 1 }\nitem \"A\" { 1 }",
       "4:7: expected a title that no other item has, found \"A\" { 1 }\""},
      {item + "code 5", "3:7: expected a code in quotes, found \"5\""},
      {item + "area 1 2 3 91 1 }",
       "3:13: expected a latitude from -90 to 90 degrees, found \"91 1 }\""},
      {item + "area 1 2 3 1 1 }",
       "2:7: expected an item whose area has its south below its north, found \"a\" {\""},
      {item + "elevation PROJCS[\"x\"]", "3:12: expected VERTCS[...], found \"PROJCS[\"x\"]\""},
      {item + "GEOGCS[\"]\",\nB[1]",
       "4:5: expected a bracket that closes the text, found end of file"},
      {item + "}",
       "3:2: expected a projection number, external, PROJCS[...] or GEOGCS[...], found \"}\""},
      {item + "9 p 10000 1 }",
       "3:6: expected the index of a slot (0 to 9999), found \"10000 1 }\""},
      {item + "9 p 4 1 p 4 2 }", "3:12: expected an index above the one before, found \"4 2 }\""},
      {item + "9 p 4 1e999 }", "3:8: expected a number, found \"1e999 }\""},
      {item + "9 axes 1 0 }", "3:11: expected the length of an axis, above 0, found \"0 }\""},
      {item + "9 datum \"x\" spheroid \"y\" }", "3:14: expected \"}\", found \"spheroid \"y\" }\""},
      {item + "9 }\n\"", "4:1: expected item, category or the end of the file, found \"\"\""},
      {head + "category \"a/b\" {", "2:12: expected a name without \"/\", found \"/b\" {\""},
      {deep, "2:491: expected categories nested less deeply, found \"c\" { \""},
  };
  for (const auto &[text, place] : cases) {
    Slot err;
    const std::string path = folder_.write("bad.plib", text);
    EXPECT_EQ(oprj_ProjectionLibraryOpen(theToolkit(), path.c_str(), err), nullptr) << text;
    EXPECT_EQ(err.chain(),
              "oprj_ProjectionLibraryOpen: Error returned from olex_Parse (4) < olex_Parse: " +
                  path + ":" + place + " (7)");
  }
  // Cut anywhere it is read or told, and never half.
  for (size_t length = 0; length < kSmall.size(); ++length) {
    Slot err;
    const std::string path = folder_.write("cut.plib", kSmall.substr(0, length));
    const LibraryPtr library(oprj_ProjectionLibraryOpen(theToolkit(), path.c_str(), err));
    EXPECT_NE(library == nullptr, err.chain().empty()) << length;
    if (!library) continue;
    std::string whole = written(library);
    whole.pop_back();  // the last line may lack its end
    EXPECT_EQ(kSmall.substr(0, length).find(whole), 0u) << length;
  }
}

TEST_F(Libraries, AreFoundByNameAlongTheSearchList) {
  const TemporaryDirectory other;
  small();
  folder_.write("z.plib", "library \"small ONE\"");  // the first one counts
  folder_.write("bad.plib", "nothing");
  other.write("far.plib", "library \"Far\"");
  const ScopedEnvironment paths("ORVIK_PROJECTIONS_PATH",
                                (folder_.path() + ":" + other.path()).c_str());
  const LogCapture log;
  Slot err;
  int32_t count = 0;
  char **names = oprj_ProjectionLibraryNames(theToolkit(), &count, err);
  ASSERT_EQ(count, 2) << err.chain();
  EXPECT_STREQ(names[0], "Small one");
  EXPECT_STREQ(names[1], "Far");
  ofio_NamesFree(&names);
  ASSERT_EQ(log.lines().size(), 1u);
  EXPECT_EQ(log.lines()[0], folder_.path() + "/bad.plib:1:1: expected library, found \"nothing\"");
  EXPECT_EQ(oprj_ProjectionLibraryCount(open("SMALL one").get()), 4);
  EXPECT_STREQ(oprj_ProjectionLibraryName(open("far.plib").get()), "Far");
  expectRefusal(oprj_ProjectionLibraryOpen(theToolkit(), "Smal one", err), err,
                "oprj_ProjectionLibraryOpen: There is no projection library \"Smal one\" (nearest: "
                "\"Small one\") (3)");
  EXPECT_STREQ(oerr_SuggestionGet(err.get(), 0), "Small one");
}

TEST_F(Libraries, TakeAndRefuseItems) {
  const LeakCheck leaks;
  const LibraryPtr library = open(small());
  const RecordPtr utm = recordOf("utm; zone=3; datum=NAD27"), own = recordOf("5; datum=WGS 84");
  own->proSpheroid->datum->params.data[0] = 7;  // not the WGS 84 of the tables
  const RecordPtr infinite = recordOf("5; datum=WGS 84");
  infinite->proParams.data[6] = HUGE_VAL;
  const auto with = [&](auto change) {
    Oprj_ProjectionItem item{};
    item.title = "new";
    item.record = utm.get();
    change(item);
    return item;
  };
  const struct {
    Oprj_ProjectionItem item;
    int32_t code;
    const char *message;
  } cases[] = {
      {with([](auto &i) { i.title = ""; }), 2, "Invalid input Oprj_ProjectionItem"},
      {with([](auto &i) { i.record = nullptr; }), 2, "Invalid input Oprj_ProjectionItem"},
      {with([](auto &i) { i.title = "lamBERT"; }), 3, "The title \"lamBERT\" is taken"},
      {with([](auto &i) { i.title = "a\"b"; }), 4, "the title cannot be written: \"a\"b\""},
      {with([](auto &i) { i.title = "a "; }), 4, "the title cannot be written: \"a \""},
      {with([](auto &i) { i.code = "a\nb"; }), 4, "the code cannot be written: \"a\nb\""},
      {with([](auto &i) { i.category = "a//b"; }), 4, "the category cannot be written: \"a//b\""},
      {with([](auto &i) { i.category = "a /b"; }), 4, "the category cannot be written: \"a \""},
      {with([](auto &i) { i.hasArea = 1, i.south = 1; }), 4, "the area is none"},
      {with([](auto &i) { i.elevation = "VERTCS[1]]"; }), 4,
       "not a text of VERTCS[...]: VERTCS[1]]"},
      {with([](auto &i) { i.string = "PROJCS[1"; }), 4, "not a text of PROJCS[...]: PROJCS[1"},
      {with([&](auto &i) { i.record = infinite.get(); }), 4,
       "the record has a slot that is not finite"},
      {with([&](auto &i) { i.record = own.get(); }), 4,
       "no item gives this record back: its datum or spheroid is not as the tables have it, or it "
       "has more slots"},
  };
  Slot err;
  for (const auto &[item, code, message] : cases) {
    EXPECT_EQ(oprj_ProjectionLibraryAdd(library.get(), &item, err), 0) << message;
    expectReport(err, "oprj_ProjectionLibraryAdd", code, message);
  }
  EXPECT_EQ(written(library), kSmall);

  Oprj_ProjectionItem good = with([](auto &i) { i.unit = "feet"; });
  ASSERT_EQ(oprj_ProjectionLibraryAdd(library.get(), &good, err), 1) << err.chain();
  // An item of one library can be put into another.
  const LibraryPtr other(oprj_ProjectionLibraryCreate("Other", nullptr));
  for (const char *title : {"new", "text", "LAMBERT", "outside"}) {
    ASSERT_EQ(oprj_ProjectionLibraryAdd(other.get(),
                                        oprj_ProjectionLibraryFind(library.get(), title), err),
              1)
        << err.chain();
    EXPECT_EQ(oprj_ProjectionLibraryRemove(library.get(), title, err), 1);
  }
  EXPECT_EQ(oprj_ProjectionLibraryRemove(library.get(), "nev", err), 0);
  expectReport(err, "oprj_ProjectionLibraryRemove", 2, "There is no item \"nev\"");
  EXPECT_EQ(oprj_ProjectionLibraryCount(library.get()), 1);
  const std::string text = written(other);
  EXPECT_EQ(text.find("library \"Other\"\nitem \"new\" {\n  units \"feet\"\n  1 zone 3 spheroid "
                      "\"Clarke 1866\" datum \"NAD27\"\n}\n"),
            0u)
      << text;
  EXPECT_EQ(written(open(folder_.write("other.plib", text))), text);
  EXPECT_EQ(oprj_ProjectionLibraryCreate("a/b", err), nullptr);
  expectReport(err, "oprj_ProjectionLibraryCreate", 1, "Invalid input library name");
  EXPECT_EQ(oprj_ProjectionLibraryWrite(other.get(), "/no/where.plib", err), 0);
  expectReport(
      err, "oprj_ProjectionLibraryWrite", 3,
      "/no/where.plib: no temporary file can be made beside it: No such file or directory");
}

/// Every projection of the dictionary, in numbers that no shortening of digits gives by chance.
TEST_F(Libraries, RecordsComeBackBitForBit) {
  const LibraryPtr library(oprj_ProjectionLibraryCreate("All", nullptr));
  std::vector<RecordPtr> records;
  Slot err;
  const Oprj_InitData *data = oprj_InitDataGet(theToolkit(), err);
  for (const Oprj_Query *query = data->queryTable; query; query = query->next) {
    RecordPtr record = recordOf("utm; zone=7; datum=Tokyo (Japan)");
    record->proNumber = query->number;
    oprj_CharStrCreate(query->name, &record->proName, nullptr);
    for (int32_t i = 0; i < 15 && query->number != 0; ++i)
      record->proParams.data[i] = std::sin(query->number * 15.0 + i) * std::pow(10.0, i - 6);
    if (query->number == 0) oprj_DblArrayCreate(0, &record->proParams, nullptr);
    Oprj_ProjectionItem item{};
    item.title = query->name;
    item.record = record.get();
    ASSERT_EQ(oprj_ProjectionLibraryAdd(library.get(), &item, err), 1) << err.chain();
    records.push_back(std::move(record));
  }
  // Adding compares the record with what the item gives: only the way through the file is left.
  const std::string text = written(library);
  EXPECT_EQ(written(open(folder_.write("again.plib", text))), text);
  EXPECT_EQ(records.size(), 70u);
}

TEST_F(Libraries, AreSearchedByWordsCategoryAndPlace) {
  const LibraryPtr national = open("National grids"), utm = open("UTM"), few = open(small());
  const auto found = [](const LibraryPtr &library, const char *words, const char *category,
                        const Oprj_Coordinate *place) {
    Slot err;
    int32_t count = 0;
    const HeapBlock<int32_t> indices(
        oprj_ProjectionLibrarySearch(library.get(), words, category, place, &count, err));
    EXPECT_NE(indices, nullptr) << err.chain();
    std::string titles;
    for (int32_t i = 0; i < count; ++i)
      titles += (i ? "|" : "") +
                std::string(oprj_ProjectionLibraryItem(library.get(), indices.get()[i])->title);
    return titles;
  };
  EXPECT_EQ(found(few, nullptr, nullptr, nullptr), "At the top|Lambert|Text|Outside");
  EXPECT_EQ(found(few, " france\tLAM ", "", nullptr), "Lambert");
  EXPECT_EQ(found(few, "epsg:1", nullptr, nullptr), "Lambert");
  EXPECT_EQ(found(few, "", "europe", nullptr), "Lambert|Text");
  EXPECT_EQ(found(few, "", "europe/FRANCE", nullptr), "Lambert");
  EXPECT_EQ(found(few, "", "Euro", nullptr), "");
  for (const auto &[lon, titles] :
       {std::pair(175.0, "Outside"), {-175, "Outside"}, {185, "Outside"}, {169.9, ""}, {-5, ""}}) {
    const Oprj_Coordinate place{lon, -40};
    EXPECT_EQ(found(few, nullptr, nullptr, &place), titles) << lon;
  }
  const Oprj_Coordinate delft{4.36, 52.01};
  EXPECT_EQ(found(utm, "31n", "WGS 84", &delft), "WGS 84 / UTM zone 31N");
  EXPECT_EQ(found(national, "amersfoort new", nullptr, &delft), "Amersfoort / RD New");
  const std::string all = found(national, nullptr, nullptr, &delft);
  EXPECT_LT(all.find("Amersfoort / RD New"), all.find("ETRS89-extended / LAEA Europe")) << all;
}

// --- equivalents ---

TEST(Equivalents, EveryUTMZoneIsATransverseMercatorAndBack) {
  Slot err;
  for (const char *datum : {"WGS 84", "NAD27"}) {
    for (int zone = 1; zone <= 60; ++zone) {
      for (const char *side : {"N", "S"}) {
        const std::string text =
            "utm; zone=" + std::to_string(zone) + side + "; datum=" + std::string(datum);
        const RecordPtr utm = recordOf(text);
        const RecordPtr tm(oprj_ProParametersEquivalentTM(theToolkit(), utm.get(), err));
        ASSERT_NE(tm, nullptr) << text << err.chain();
        EXPECT_EQ(tm->proNumber, 9);
        tm->proNumber = zone % 2 ? 36 : 9;
        const RecordPtr back(oprj_ProParametersEquivalentUTM(theToolkit(), tm.get(), err));
        ASSERT_NE(back, nullptr) << text << err.chain();
        EXPECT_EQ(taken(oprj_ProParametersToText(theToolkit(), back.get(), nullptr, err)),
                  taken(oprj_ProParametersToText(theToolkit(), utm.get(), nullptr, err)));
        const HandlePtr one = makeHandle(utm), other = makeHandle(tm);
        const Oprj_Point in{(zone * 6 - 182) * kDegree, 30 * kDegree};
        Oprj_Point first, second;
        one->apply(one->ownedData, &in, &first, 1, err);
        other->apply(other->ownedData, &in, &second, 1, err);
        const double series = tm->proNumber == 36 ? 1e-4 : 0;  // m: what the shorter one leaves
        EXPECT_NEAR(first.x, second.x, series);
        EXPECT_NEAR(first.y, second.y, series);
      }
    }
  }
  for (const char *text : {"Lambert Conformal Conic; datum=WGS 84; lat_1=33", "geographic; nad=83",
                           "Transverse Mercator; datum=WGS 84; lon_0=-75; k_0=0.9996"}) {
    EXPECT_EQ(oprj_ProParametersEquivalentUTM(theToolkit(), recordOf(text).get(), err), nullptr);
    expectNoReport(err);
  }
  EXPECT_EQ(oprj_ProParametersEquivalentTM(theToolkit(), nullptr, err), nullptr);
  expectReport(err, "oprj_ProParametersEquivalentTM", 1, "Invalid input Oprj_ProParameters");
}

/// A system and how far each of its figures may be off.
TEST(Equivalents, AreFoundWithinTheirTolerances) {
  const LibraryPtr library(oprj_ProjectionLibraryCreate("L", nullptr));
  Slot err;
  const auto add = [&](const char *title, const std::string &text, const char *unit) {
    const RecordPtr record = recordOf(text);
    Oprj_ProjectionItem item{};
    item.title = title;
    item.record = record.get();
    item.unit = unit;
    ASSERT_EQ(oprj_ProjectionLibraryAdd(library.get(), &item, err), 1) << err.chain();
  };
  const std::string tm = "Transverse Mercator; k_0=1; lon_0=180; lat_0=10; x_0=3e5; y_0=-2; ";
  add("feet", tm + "datum=Tokyo (Japan)", "feet");
  add("tm", tm + "datum=Tokyo (Japan)", nullptr);
  add("again", tm + "datum=Tokyo (Japan)", nullptr);
  add("no datum", tm + "spheroid=WGS 84; datum=Undefined", nullptr);
  const std::string conic = "Lambert Conformal Conic; datum=NAD83; lat_1=33; lat_2=45; lon_0=-96";
  add("conic", conic, nullptr);
  add("degrees", "geographic; datum=WGS 84", nullptr);
  add("zone", "state plane; zone=405; nad=83", nullptr);
  Oprj_ProjectionItem item{};
  item.title = "text";
  item.string = kEqualEarth.c_str();
  ASSERT_EQ(oprj_ProjectionLibraryAdd(library.get(), &item, err), 1) << err.chain();

  const auto equivalent = [&](const RecordPtr &record, const char *unit) -> std::string {
    const HandlePtr handle = makeHandle(record);
    const auto *found = oprj_ProjectionLibraryEquivalent(library.get(), handle.get(), unit, err);
    EXPECT_FALSE(err.failed()) << err.chain();
    return found ? found->title : "";
  };
  struct Off {
    int slot;
    double by;
    const char *title;
  };
  const double degrees = kDegree;
  for (const auto &[slot, by, title] :
       {Off{0, 0, "tm"}, Off{4, 0.9e-10 * degrees, "tm"}, Off{4, 1.2e-10 * degrees, ""},
        Off{4, -360 * degrees, "tm"}, Off{4, -360 * degrees + 0.9e-10 * degrees, "tm"},
        Off{5, 0.9e-10 * degrees, "tm"}, Off{5, 1.2e-10 * degrees, ""}, Off{2, 0.9e-12, "tm"},
        Off{2, 1.2e-12, ""}, Off{6, 0.9e-6, "tm"}, Off{6, 1.2e-6, ""}, Off{7, -0.9e-6, "tm"},
        Off{7, -1.2e-6, ""}}) {
    const RecordPtr record = recordOf(tm + "datum=Tokyo (Japan)");
    record->proParams.data[slot] += by;
    EXPECT_EQ(equivalent(record, nullptr), title) << slot << " off by " << by;
    record->proNumber = 36;
    EXPECT_EQ(equivalent(record, "m"), title) << slot << " off by " << by;
  }
  const struct {
    std::string text;
    const char *unit, *title;
  } cases[] = {
      {tm + "datum=Tokyo (Japan)", "foot", "feet"},
      {tm + "datum=Tokyo (Japan)", "us_survey_feet", ""},
      {tm + "datum=Tokyo (Mean)", nullptr, ""},
      {tm + "spheroid=Bessel; datum=Undefined", nullptr, ""},
      {tm + "spheroid=WGS 84; datum=Undefined", nullptr, "no datum"},
      {tm + "datum=WGS 84", nullptr, ""},
      {conic, nullptr, "conic"},
      {conic + "; x_0=1e-9", nullptr, ""},
      {conic, "feet", ""},
      {"Lambert Conformal Conic; spheroid=GRS 1980; datum=Undefined; lat_1=33; lat_2=45; lon_0=-96",
       nullptr, "conic"},
      {"geographic; datum=WGS 84", nullptr, "degrees"},
      {"geographic; datum=WGS 84", "radians", ""},
      {"geographic; datum=NAD83", nullptr, ""},
      {"state plane; zone=405; nad=83", nullptr, "zone"},
      {"state plane; zone=404; nad=83", nullptr, ""},
      {kEqualEarth, "feet", "text"},
      {kEqualEarth, nullptr, ""},
      {"Mercator; datum=WGS 84", nullptr, ""},
  };
  for (const auto &[text, unit, title] : cases)
    EXPECT_EQ(equivalent(recordOf(text), unit), title) << text << " in " << (unit ? unit : "");
  EXPECT_EQ(oprj_ProjectionLibraryEquivalent(library.get(), makeHandle(recordOf(conic)).get(),
                                             "cubits", err),
            nullptr);
  EXPECT_EQ(oerr_CodeGet(err.get()), 3) << err.chain();
  // A change of the library is seen.
  ASSERT_EQ(oprj_ProjectionLibraryRemove(library.get(), "tm", err), 1);
  EXPECT_EQ(equivalent(recordOf(tm + "datum=Tokyo (Japan)"), nullptr), "again");
}

/// Items equal themselves, or an earlier one that puts points in the same places; asked for by
/// several threads at once.
TEST(Equivalents, ShippedItemsFindThemselves) {
  const LogCapture log;
  for (const char *name : kShipped) {
    const LibraryPtr library = open(name);
    const int32_t count = oprj_ProjectionLibraryCount(library.get());
    std::map<const Oprj_ProjectionItem *, int32_t> places;
    for (int32_t i = 0; i < count; ++i) places[oprj_ProjectionLibraryItem(library.get(), i)] = i;
    std::atomic<int> others{0};
    inThreads(4, [&](size_t thread) {
      for (auto i = static_cast<int32_t>(thread); i < count; i += 4) {
        const Oprj_ProjectionItem *item = oprj_ProjectionLibraryItem(library.get(), i);
        const HandlePtr handle = handleOf(item);
        std::string unit = item->unit ? item->unit : "";
        if (item->string) {
          Oawp_PE_COORDSYS *system = oawp_PE_pe_coordsys_from_string(item->string);
          unit = taken(oprj_COORDSYSUnitName(system, nullptr));
          oawp_PE_pe_coordsys_del(system);
        }
        Slot err;
        const auto *found =
            oprj_ProjectionLibraryEquivalent(library.get(), handle.get(), unit.c_str(), err);
        ASSERT_NE(found, nullptr) << item->title << ": " << err.chain();
        if (found == item) continue;
        ++others;
        EXPECT_LT(places.at(found), i);
        const HandlePtr other = handleOf(found);
        // In the middle, where numbers 9 and 36 agree.
        const double east = item->east + (item->east < item->west ? 360 : 0);
        const Oprj_Point in{(item->west + east) / 2 * kDegree,
                            (item->south + item->north) / 2 * kDegree};
        Oprj_Point one, two;
        handle->apply(handle->ownedData, &in, &one, 1, err);
        other->apply(other->ownedData, &in, &two, 1, err);
        EXPECT_LT(std::hypot(one.x - two.x, one.y - two.y), 1e-3)
            << item->title << " and " << found->title;
      }
    });
    EXPECT_LT(others, count / 10) << name;
  }
}

// --- the shipped libraries against PROJ ---

/// PROJ's projection of a code: longitude and latitude (radians, from Greenwich) to metres.
class Peer {
 public:
  explicit Peer(const std::string &code) {
    PJ *crs = proj_create(context(), code.c_str());
    PJ *base = proj_crs_get_geodetic_crs(context(), crs);
    PJ *meridian = proj_get_prime_meridian(context(), crs);
    PJ *axes = proj_crs_get_coordinate_system(context(), crs);
    PJ *angles = proj_crs_get_coordinate_system(context(), base);
    double longitude = 0, unit = 0;
    proj_prime_meridian_get_parameters(context(), meridian, &longitude, &unit, nullptr);
    meridian_ = longitude * unit;
    proj_cs_get_axis_info(context(), axes, 0, nullptr, nullptr, nullptr, &metres_, nullptr, nullptr,
                          nullptr);
    proj_cs_get_axis_info(context(), angles, 0, nullptr, nullptr, nullptr, &radians_, nullptr,
                          nullptr, nullptr);
    PJ *plain = proj_create_crs_to_crs_from_pj(context(), base, crs, nullptr, nullptr);
    way_ = proj_normalize_for_visualization(context(), plain);
    for (PJ *part : {crs, base, meridian, axes, angles, plain}) proj_destroy(part);
  }
  ~Peer() { proj_destroy(way_); }
  Peer(const Peer &) = delete;
  Peer &operator=(const Peer &) = delete;

  explicit operator bool() const { return way_ != nullptr; }
  Oprj_Point forward(double lon, double lat) const {
    const PJ_COORD out = proj_trans(
        way_, PJ_FWD, proj_coord((lon - meridian_) / radians_, lat / radians_, 0, HUGE_VAL));
    return {out.xy.x * metres_, out.xy.y * metres_};
  }

 private:
  static PJ_CONTEXT *context() {
    static PJ_CONTEXT *made = [] {
      PJ_CONTEXT *context = proj_context_create();
      proj_log_level(context, PJ_LOG_NONE);
      return context;
    }();
    return made;
  }
  PJ *way_ = nullptr;
  double meridian_ = 0, metres_ = 1, radians_ = 1;
};

/// The middle of an item's area and the middles between it and the corners.
TEST(ShippedLibraries, ProjectAsPROJDoes) {
  // Zones whose constants EPSG rounds, and Guam, whose legal projection is another one.
  const std::map<std::string, double> farther = {
      {"EPSG:32030", 4.1e-3}, {"EPSG:26731", 1.5e-3}, {"EPSG:3993", 1.7e-3}};
  const LogCapture log;  // of datums that are only names
  int compared = 0;
  for (const char *name : kShipped) {
    const LibraryPtr library = open(name);
    for (int32_t i = 0; i < oprj_ProjectionLibraryCount(library.get()); ++i) {
      const Oprj_ProjectionItem &item = *oprj_ProjectionLibraryItem(library.get(), i);
      if (!item.code) continue;  // UTM zones that EPSG does not have
      const Peer peer(item.code);
      ASSERT_TRUE(static_cast<bool>(peer)) << item.code;
      const HandlePtr handle = handleOf(&item);
      const double east = item.east + (item.east < item.west ? 360 : 0);
      double worst = 0;
      for (const auto &[x, y] :
           {std::pair(0.5, 0.5), {0.25, 0.25}, {0.25, 0.75}, {0.75, 0.25}, {0.75, 0.75}}) {
        const double lon = (item.west + x * (east - item.west)) * kDegree;
        const double lat = (item.south + y * (item.north - item.south)) * kDegree;
        const Oprj_Point in{lon, lat}, wanted = peer.forward(lon, lat);
        Oprj_Point out{NAN, NAN};
        Slot err;
        handle->apply(handle->ownedData, &in, &out, 1, err);
        const double off = std::hypot(out.x - wanted.x, out.y - wanted.y);
        worst = std::isnan(off) ? HUGE_VAL : std::max(worst, off);
      }
      ++compared;
      const auto known = farther.find(*name == 'S' ? item.code : "");
      EXPECT_LT(worst, known == farther.end() ? 1e-3 : known->second)
          << item.code << " " << item.title << " in " << name << (item.string ? " (text)" : "");
    }
  }
  EXPECT_GT(compared, 5500);
}

// --- memory ---

TEST_F(Libraries, EveryFailedAllocationIsReported) {
  const std::string path = small();
  const ScopedEnvironment paths("ORVIK_PROJECTIONS_PATH", folder_.path().c_str());
  const LogCapture log;
  forEachAllocationFailure([&](Oerr_Report **err) {
    return LibraryPtr(oprj_ProjectionLibraryOpen(theToolkit(), "small one", err)) != nullptr;
  });
  forEachAllocationFailure([&](Oerr_Report **err) {
    int32_t count;
    char **names = oprj_ProjectionLibraryNames(theToolkit(), &count, err);
    ofio_NamesFree(&names);
    return count == 1;
  });
  const LibraryPtr library = open(path), target(oprj_ProjectionLibraryCreate("T", nullptr));
  const RecordPtr utm = recordOf("utm; zone=3; datum=NAD27");
  Oprj_ProjectionItem item{};
  item.title = "new";
  item.category = "a/b";
  item.record = utm.get();
  const auto unchanged = [&] { EXPECT_EQ(oprj_ProjectionLibraryCount(target.get()), 0); };
  forEachAllocationFailure(
      [&](Oerr_Report **err) {
        // What stays is freed with the library: the copy makes room for its own.
        const LibraryPtr fresh(oprj_ProjectionLibraryCreate("T", err));
        return fresh && oprj_ProjectionLibraryAdd(fresh.get(), &item, err) != 0;
      },
      unchanged);
  for (int32_t i = 0; i < 3; ++i) {
    forEachAllocationFailure(
        [&](Oerr_Report **err) {
          Oprj_MapProjectionEx *handle = nullptr;
          oprj_ProjectionItemInit(theToolkit(), oprj_ProjectionLibraryItem(library.get(), i),
                                  &handle, err);
          return HandlePtr(handle) != nullptr;
        },
        {}, OnFailure::kMayRecover);  // a lookup that finds nothing needs no report
  }
  const HandlePtr handle = handleOf(oprj_ProjectionLibraryItem(library.get(), 1));
  forEachAllocationFailure(
      [&](Oerr_Report **err) {
        const LibraryPtr fresh(oprj_ProjectionLibraryOpen(theToolkit(), path.c_str(), err));
        return fresh &&
               oprj_ProjectionLibraryEquivalent(fresh.get(), handle.get(), "feet", err) != nullptr;
      },
      {}, OnFailure::kMayRecover);  // the index may do with fewer entries in its keys
  forEachAllocationFailure([&](Oerr_Report **err) {
    return RecordPtr(oprj_ProParametersEquivalentTM(theToolkit(), utm.get(), err)) != nullptr;
  });
  forEachAllocationFailure([&](Oerr_Report **err) {
    return RecordPtr(oprj_ProParametersEquivalentUTM(theToolkit(), utm.get(), err)) != nullptr;
  });
}

}  // namespace
