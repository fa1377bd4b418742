// Coordinate systems as texts: reading, writing, names that people type, and the chain between two.
#include <oprj/chain.h>
#include <oprj/engine.h>
#include <oprj/ofio.h>
#include <oprj/ostr.h>
#include <oprj/system.h>

#include <cmath>
#include <cstring>
#include <optional>
#include <set>
#include <thread>

#include "tests/loaded_tables.h"
#include "tests/support.h"
#include "toolkit/error_scope.h"
#include "toolkit/heap.h"

namespace {

using namespace orvik::test;
using orvik::toolkit::Owner;
using Record = Owner<Oprj_ProParameters, oprj_ProParametersFree>;
using Text = orvik::toolkit::HeapBlock<char>;
using NoteList = Owner<Oprj_Note, oprj_NotesFree>;
using Pair = Owner<Oprj_ProjectionPair, oprj_ProjectionPairFree>;
using Steps = Owner<Oprj_ChainStep, oprj_ChainStepsFree>;

Oint_Toolkit *toolkit() { return oint_InitToolkit(nullptr); }

Record recordOf(const std::string &text, Slot &slot) {
  return Record(oprj_ProParametersFromText(toolkit(), text.c_str(), nullptr, nullptr, slot));
}
std::string textOf(const Oprj_ProParameters *record, const Ocvt_Unit *unit, Slot &slot) {
  return taken(oprj_ProParametersToText(toolkit(), record, unit, slot));
}
std::string suggestionsOf(const Slot &slot) {
  std::string all;
  for (int32_t i = 0; const char *name = oerr_SuggestionGet(slot.get(), i); ++i)
    all += (i ? "|" : "") + std::string(name);
  return all;
}

/// A value for each question of a dictionary entry, other than its default, and one that no
/// shortening of digits gives back by chance.
void answer(const Oprj_QueryEntry *entry, const Oprj_QueryEntry *, const Oprj_CondQueryEntry *,
            void *context) {
  auto &text = *static_cast<std::string *>(context);
  if (entry->kind < OPRJ_QUERY_NUMBER || entry->kind == OPRJ_QUERY_CONDITION || !entry->key) return;
  const std::string value = entry->kind == OPRJ_QUERY_INTEGER ? std::to_string(entry->index)
                            : entry->kind == OPRJ_QUERY_ANGLE
                                ? std::to_string(entry->index) + ":7:3.3"
                                : std::to_string(entry->index + 0.1);
  text += std::string("; ") + entry->key + "=" + value;
}

TEST(Text, EveryProjectionGoesThereAndBack) {
  Slot slot;
  const Oprj_InitData *data = oprj_InitDataGet(toolkit(), slot);
  int tried = 0;
  for (const Oprj_Query *query = data->queryTable; query; query = query->next) {
    SCOPED_TRACE(query->name);
    // One text for each branch of the projection's condition, the first without any.
    std::vector<Oprj_DblArray> branches = {{}};
    double slots[2][15] = {};
    slots[1][8] = slots[1][12] = 1;
    for (auto &branch : slots) branches.push_back({.count = 15, .data = branch});
    for (size_t i = 1; i < branches.size(); ++i) {
      std::string text = query->name;
      if (query->number == 1) text += "; zone=17S; datum=WGS 84";
      else if (query->number == 2) text += "; zone=Alaska Zone 1; nad=harn; units=us_survey_feet";
      else text += "; datum=Tokyo (Japan)";
      if (query->number > 2)
        oprj_QueryEntriesVisit(query->proParamsQuerylist, &branches[i], answer, &text);
      const Ocvt_Unit *unit = nullptr, *again = nullptr;
      const Record record(
          oprj_ProParametersFromText(toolkit(), text.c_str(), &unit, nullptr, slot));
      ASSERT_NE(record, nullptr) << text << "\n" << slot.chain();
      const std::string written = textOf(record.get(), unit, slot);
      ASSERT_FALSE(slot.failed()) << slot.chain();
      const Record back(
          oprj_ProParametersFromText(toolkit(), written.c_str(), &again, nullptr, slot));
      ASSERT_NE(back, nullptr) << written << "\n" << slot.chain();
      EXPECT_EQ(unit, again);
      EXPECT_EQ(record->proZone, back->proZone);
      ASSERT_EQ(record->proParams.count, back->proParams.count);
      for (int32_t i = 0; i < record->proParams.count; ++i)
        EXPECT_EQ(0,
                  std::memcmp(record->proParams.data + i, back->proParams.data + i, sizeof(double)))
            << text << "\n"
            << written;
      EXPECT_STREQ(record->proSpheroid->datum->datumname.data,
                   back->proSpheroid->datum->datumname.data);
      ++tried;
    }
  }
  EXPECT_EQ(tried, 140);
}

TEST(Text, WritesTheShortestAndRefusesWhatNoTextGives) {
  const LeakCheck leaks;
  Slot slot;
  const std::pair<const char *, const char *> cases[] = {
      {"geographic;datum=wgs84", "Geographic; datum=WGS 84"},
      {"geographic; a=6378000; b=6356000", "Geographic; a=6378000; b=6356000"},
      {"geographic; a=6370997",
       "Geographic; spheroid=Sphere of Nominal Radius of Earth; datum=Undefined"},
      {"9; nad=83; lon_0=-71:30; lat_0=41:5; k_0=0.99999375; x_0=1e5",
       "Transverse Mercator; datum=NAD83; k_0=0.99999375; lon_0=-71.5; "
       "lat_0=41.083333333333336; x_0=100000"},
      {"8; datum=WGS 84; lat_1=30", "Equidistant Conic; datum=WGS 84; lat_1=30"},
      {"8; datum=WGS 84; lat_1=30; lat_2=50",
       "Equidistant Conic; datum=WGS 84; p8=1; lat_1=30; lat_2=50"},
      {"3; datum=WGS 84; lat_1=0.1; lat_2=0.7",
       "Albers Conical Equal Area; datum=WGS 84; lat_1=0.1; lat_2=0.7"},
      {"5; datum=WGS 84; p4=0.1", "Mercator; datum=WGS 84; lon_0=5.729577951308232"},
      {"External Rover 2; datum=wgs84; P4=90d; p14=-0",
       "external Rover 2; datum=WGS 84; p4=1.5707963267948966; p14=-0"},
  };
  for (const auto &[text, expected] : cases)
    EXPECT_EQ(textOf(recordOf(text, slot).get(), nullptr, slot), expected) << slot.chain();

  const Record record = recordOf("5; datum=Tokyo (Japan)", slot);
  record->proParams.data[9] = 1;  // which Mercator does not read
  EXPECT_EQ(oprj_ProParametersToText(toolkit(), record.get(), nullptr, slot), nullptr);
  EXPECT_EQ(oerr_CodeGet(slot.get()), 9) << slot.chain();
  record->proParams.data[9] = 0;
  record->proSpheroid->datum->params.data[0] += 1;  // not the Tokyo of the tables
  EXPECT_EQ(oprj_ProParametersToText(toolkit(), record.get(), nullptr, slot), nullptr);
  EXPECT_EQ(oerr_CodeGet(slot.get()), 9) << slot.chain();
}

/// What people type is found, or refused with names to choose from.
TEST(Text, NamesThatPeopleType) {
  const struct {
    const char *key, *typed;
    const char *taken;       ///< as the tables have it; null: refused
    const char *suggestion;  ///< one of them
  } cases[] = {
      {"datum", "WGS84", "WGS 84", nullptr},
      {"datum", "wgs-84", "WGS 84", nullptr},
      {"datum", "D_WGS_1984", "WGS 84", nullptr},
      {"datum", "World Geodetic System 1984", "WGS 84", nullptr},
      {"datum", "6326", "WGS 84", nullptr},
      {"datum", "EPSG:6326", "WGS 84", nullptr},
      {"datum", "NAD 27", "NAD27", nullptr},
      {"datum", "North American 1927", "NAD27", nullptr},
      {"datum", "nad1983", "NAD83", nullptr},
      {"datum", "NAD83(2011)", "NAD83 (National Spatial Reference System 2011) (EPSG 9774)",
       nullptr},
      {"datum", "ETRS89", "European Terrestrial Reference System 1989 ensemble (EPSG 1149)",
       nullptr},
      {"datum", "RGF93", "Reseau Geodesique Francais 1993 v1 (EPSG 1671)", nullptr},
      {"datum", "SIRGAS 2000",
       "Sistema de Referencia Geocentrico para las AmericaS 2000 (EPSG 15894)", nullptr},
      {"datum", "DHDN", nullptr, "Deutsches Hauptdreiecksnetz (EPSG 1777)"},
      {"datum", "RD/Amersfoort", nullptr, "Amersfoort (EPSG 15934)"},
      {"datum", "rd", nullptr, "Amersfoort (EPSG 4833)"},
      {"datum", "OSGB", nullptr, "Ordnance Survey of Great Britain 1936 (EPSG 1314)"},
      {"datum", "OSGB36", nullptr, "Ordnance Survey of Great Britain 1936 (England)"},
      {"datum", "Indian1975", nullptr, "Indian 1975 (Thailand)"},
      {"datum", "ED50", nullptr, "European 1950 (Portugal and Spain)"},
      {"datum", "GRS80", "GRS 1980", nullptr},
      {"datum", "Tokio", nullptr, "Tokyo (Japan)"},
      {"datum", "nda27", nullptr, "NAD27"},
      {"datum", "World Geodetic System 1985", nullptr, "World Geodetic System 1972 (EPSG 1237)"},
      {"spheroid", "GRS80", "GRS 1980", nullptr},
      {"spheroid", "WGS84", "WGS 84", nullptr},
      {"spheroid", "clrk66", "Clarke 1866", nullptr},
      {"spheroid", "EPSG 7022", nullptr, "International 1909"},
      {"spheroid", "Clarke 1886", nullptr, "Clarke 1866"},
  };
  for (const auto &row : cases) {
    Slot slot;
    Oprj_Note *notes = nullptr;
    const std::string text = std::string("geographic; ") + row.key + "=" + row.typed;
    const Record record(oprj_ProParametersFromText(toolkit(), text.c_str(), nullptr, &notes, slot));
    const NoteList owned(notes);
    ASSERT_EQ(record != nullptr, row.taken != nullptr) << text << "\n" << slot.chain();
    if (!record) {
      EXPECT_NE(("|" + suggestionsOf(slot) + "|").find(std::string("|") + row.suggestion + "|"),
                std::string::npos)
          << text << ": " << suggestionsOf(slot);
      continue;
    }
    const Oprj_Spheroid &spheroid = *record->proSpheroid;
    EXPECT_STREQ(*row.key == 'd' ? spheroid.datum->datumname.data : spheroid.sphereName.data,
                 row.taken)
        << text;
  }
}

TEST(Text, TakesTextsOfTheProjectionEngine) {
  const std::string geogcs =
      R"(GEOGCS["G",DATUM["D_North_American_1983",SPHEROID["GRS_1980",6378137.0,298.257222101]],PRIMEM["Greenwich",0.0],UNIT["Degree",0.0174532925199433]])";
  const std::string feet = R"(,UNIT["Foot_US",0.3048006096012192]])";
  const auto projcs = [&](const std::string &projection) {
    return "PROJCS[\"P\"," + geogcs + ",PROJECTION[\"" + projection + "\"]" + feet;
  };
  const struct {
    std::string text, unit;
    int32_t number, note;
    bool holds;
  } cases[] = {
      {geogcs, "dd", 0, 0, false},
      {projcs("Mollweide"), "us_survey_feet", 28, 0, false},
      {" \n" + projcs("mollweide"), "us_survey_feet", 28, 0, false},
      // Without a number the record holds the text, and is no geographic one although its number is
      // 0.
      {projcs("Equal_Earth"), "us_survey_feet", 0, OPRJ_NOTE_NO_NUMBER, true},
  };
  for (const auto &row : cases) {
    Slot slot;
    const Ocvt_Unit *unit = nullptr;
    Oprj_Note *made = nullptr;
    const Record record(
        oprj_ProParametersFromText(toolkit(), row.text.c_str(), &unit, &made, slot));
    const NoteList notes(made);
    ASSERT_NE(record, nullptr) << slot.chain();
    EXPECT_EQ(record->proNumber, row.number);
    EXPECT_EQ(unit->name, row.unit);
    EXPECT_EQ(made ? made->kind : 0, row.note);
    EXPECT_EQ(record->proExeName.data && *record->proExeName.data, row.holds);
    if (row.holds) {
      EXPECT_EQ(textOf(record.get(), unit, slot), row.text);
    }
  }
}

TEST(Text, TellsWhatKindOfRefusalAndNotes) {
  const LeakCheck leaks;
  const struct {
    const char *text;
    int32_t kind;
  } refused[] = {
      {"", OPRJ_TEXT_UNREADABLE},
      {"PROJCS[\"x\"]", OPRJ_TEXT_UNREADABLE},
      {"Mercatr; datum=WGS 84", OPRJ_TEXT_NO_PROJECTION},
      {"external ; datum=WGS 84", OPRJ_TEXT_NO_PROJECTION},
      {"external x; datum=WGS 84; lon_0=1", OPRJ_TEXT_NO_KEY},
      {"external x; datum=WGS 84; p15=1", OPRJ_TEXT_NO_KEY},
      {"geographic; spheroid=Clark", OPRJ_TEXT_NO_SPHEROID},
      {"geographic; datum=Xy", OPRJ_TEXT_NO_DATUM},
      {"state plane; nad=83; zone=Texas Centrall", OPRJ_TEXT_NO_ZONE},
      {"geographic; datum=WGS 84; units=degreez", OPRJ_TEXT_NO_UNIT},
      {"5; datum=WGS 84; lat_0=3", OPRJ_TEXT_NO_KEY},
      {"geographic; datum=DHDN", OPRJ_TEXT_AMBIGUOUS},
      {"5; datum=WGS 84; lat_ts=91", OPRJ_TEXT_VALUE},
      {"9; datum=WGS 84; k_0=0", OPRJ_TEXT_VALUE},
      {"4; datum=WGS 84; lon_0=3", OPRJ_TEXT_INCOMPLETE},
      {"geographic", OPRJ_TEXT_INCOMPLETE},
      {"25; datum=WGS 84; satellite=1; inclination=3", OPRJ_TEXT_CONTRADICTION},
      {"5; datum=WGS 84; lon_0=1; lon_0=1", OPRJ_TEXT_CONTRADICTION},
  };
  Slot slot;
  for (const auto &row : refused) {
    EXPECT_EQ(recordOf(row.text, slot), nullptr) << row.text;
    EXPECT_EQ(oerr_KindGet(slot.get()), row.kind) << row.text << "\n" << slot.chain();
  }
  const std::pair<const char *, int32_t> noted[] = {
      {"geographic; datum=etrs89", OPRJ_NOTE_NAME},
      {"geographic; a=6370000", OPRJ_NOTE_NO_DATUM},
      {"geographic; spheroid=Airy", OPRJ_NOTE_NO_DATUM},
      {"geographic; datum=NAD27", OPRJ_NOTE_GRID},  // whose grid file is not there
  };
  const TemporaryDirectory empty;
  for (const auto &[text, kind] : noted) {
    std::optional<ScopedEnvironment> datums;
    if (kind == OPRJ_NOTE_GRID) datums.emplace("ORVIK_DATUMS_PATH", empty.path().c_str());
    Oprj_Note *notes = nullptr;
    const Record record(oprj_ProParametersFromText(toolkit(), text, nullptr, &notes, slot));
    const NoteList owned(notes);
    ASSERT_TRUE(record && notes) << text << slot.chain();
    EXPECT_EQ(notes->kind, kind) << text;
    EXPECT_EQ(notes->next, nullptr) << text;
  }
  EXPECT_EQ(oprj_ProParametersFromText(nullptr, "", nullptr, nullptr, slot), nullptr);
  EXPECT_EQ(slot.chain(), "oprj_ProParametersFromText: Toolkit has not been initialized (1)");
  forEachAllocationFailure([](Oerr_Report **err) {
    const Record made(oprj_ProParametersFromText(
        toolkit(), "Lambert Conformal Conic; datum=ED 79; lat_1=40", nullptr, nullptr, err));
    return !*err;
  });
}

// Texts are known without the engine's database, whose they are: letter for letter, with the table
// of texts and without it.
TEST(Text, CodesMeanWhatTheDatabaseHasOfThem) {
  int32_t count = 0, compared = 0;
  const Oprj_Code *codes = oprj_CodesGet(&count, nullptr);
  const std::set<int32_t> usual = {3857, 4326, 4269, 4267, 4258, 4230};
  constexpr int32_t kEach =
      12;  // asking for all takes a quarter of a minute (code_texts.py --check)
  for (const Oprj_Code *code = codes; code != codes + count; ++code) {
    if ((code - codes) % kEach != 0 && !usual.contains(code->number)) continue;
    // of any kind, and so ended as a table
    void **const made = static_cast<void **>(omsc_HeapCalloc(2, sizeof(void *)));
    made[0] = oawp_PE_pe_factory(code->number);
    const auto *object = static_cast<const Oawp_PE_COORDSYS *>(made[0]);
    if (object && (code->projected ? oawp_PE_pe_projcs_p(object) : oawp_PE_pe_geogcs_p(object))) {
      const Text text(oprj_CodeToPEString(code, nullptr)),
          wanted(oawp_PE_pe_coordsys_to_string(object, nullptr, 0));
      ASSERT_TRUE(text && wanted) << code->number;
      EXPECT_STREQ(text.get(), wanted.get());
      ++compared;
    }
    oawp_PE_pe_table_del(made);
  }
  EXPECT_GT(compared, 650);
}

TEST(Text, SystemsInWhateverWayTheyAreNamed) {
  int32_t count = 0;
  Slot slot;
  const Oprj_Code *codes = oprj_CodesGet(&count, slot);
  ASSERT_TRUE(codes && count > 8000) << slot.chain();
  for (int32_t i = 1; i < count; ++i)
    EXPECT_TRUE(std::strcmp(codes[i - 1].authority, codes[i].authority) < 0 ||
                codes[i - 1].number < codes[i].number);
  omsc_HeapFree(oprj_CodeToPEString(codes, slot));  // maps the table of texts
  const LeakCheck leaks;
  const TemporaryDirectory folder;
  const std::string prj = folder.write("a.PRJ",
                                       "GEOGCS[\"x\",DATUM[\"D_WGS_1984\",SPHEROID[\"WGS_1984\","
                                       "6378137,298.257223563]],PRIMEM[\"Greenwich\",0],"
                                       "UNIT[\"Grad\",0.015707963267948967]]\n");
  const struct {
    std::string written, description, unit;  // of the description: how it begins; null: refused
    int32_t kind = 0;
    std::string message = {};
  } cases[] = {
      {" utm; zone=18; datum=WGS 84 ", "utm; zone=18; datum=WGS 84", "meters"},
      {"epsg: 32618", "PROJCS[\"WGS_1984_UTM_Zone_18N\"", "meters"},
      {"WGS 84 / utm zone-18n", "PROJCS[\"WGS_1984_UTM_Zone_18N\"", "meters"},
      {"ESRI:102003", "PROJCS[\"USA_Contiguous_Albers", "meters"},
      // The number is a datum's too, and of two systems of a name one is no longer used.
      {"EPSG:4326", "GEOGCS[\"GCS_WGS_1984\"", "dd"},
      {prj, "GEOGCS[\"x\"", "grads"},
      {"EPSG:326181", "", "", OPRJ_TEXT_NO_CODE, "there is no coordinate system EPSG:326181"},
      {"EPSG:3a", "", "", OPRJ_TEXT_NO_CODE, "\"EPSG:3a\": a code is a number, as in EPSG:32618"},
      {"Mercatr", "", "", OPRJ_TEXT_NO_PROJECTION, ""},
      {"geographic", "", "", OPRJ_TEXT_INCOMPLETE, ""},
      {folder.write("empty.prj", " \n"), "", "", 0, folder.path() + "/empty.prj is empty"},
      {folder.path() + "/none.prj", "", "", OFIO_FILE_PROBLEM, ""},
      {folder.path() + "/none.img::a", "", "", 0, "File \""},
  };
  for (const auto &row : cases) {
    SCOPED_TRACE(row.written);
    const Owner<Oprj_System, oprj_SystemFree> system(
        oprj_SystemRead(toolkit(), row.written.c_str(), slot));
    EXPECT_EQ(system != nullptr, !row.description.empty()) << slot.chain();
    EXPECT_EQ(oerr_KindGet(slot.get()), row.kind) << slot.chain();
    EXPECT_EQ(std::string(oerr_MessageGet(slot.get())).substr(0, row.message.size()), row.message);
    if (!system) continue;
    EXPECT_TRUE(std::string(system->description).starts_with(row.description))
        << system->description;
    EXPECT_EQ(system->unit->name, row.unit);
  }
  EXPECT_EQ(oprj_SystemRead(toolkit(), nullptr, nullptr), nullptr);
  // An engine's system that cannot be translated is held as its text, also for want of memory.
  for (const auto &[text, rule] :
       {std::pair(prj, OnFailure::kMayRecover),
        std::pair(std::string("5; datum=WGS 84"), OnFailure::kReports)}) {
    forEachAllocationFailure(
        [&text = text](Oerr_Report **err) {
          return Owner<Oprj_System, oprj_SystemFree>(
                     oprj_SystemRead(toolkit(), text.c_str(), err)) != nullptr;
        },
        {}, rule);
  }
}

TEST(Text, TitlesNameZoneAndHemisphere) {
  Slot slot;
  for (const auto &[text, title] : std::initializer_list<std::pair<const char *, const char *>>{
           {"utm; zone=17; datum=WGS 84", "UTM, Zone 17 North"},
           {"utm; zone=17S; datum=WGS 84", "UTM, Zone 17 South"},
           {"state plane; zone=405; nad=27",
            "State Plane, California Zone 5 (NAD27, FIPS Zone 405)"},
           {"state plane; zone=Texas Central; nad=harn",
            "State Plane, Texas Central (NAD83, FIPS Zone 4203)"},
           {"external Rover; datum=WGS 84", "Rover"},
           {"mollweide; datum=WGS 84", "Mollweide"}}) {
    const Record record = recordOf(text, slot);
    EXPECT_EQ(taken(oprj_ProParametersTitle(toolkit(), record.get(), slot)), title);
  }
}

// --- the chain ---

Pair pairOf(const char *from, const char *to, Slot &slot) {
  const Record in = recordOf(from, slot), out = recordOf(to, slot);
  Pair pair(oprj_ProjectionPairInit(toolkit(), in.get(), out.get(), slot));
  EXPECT_NE(pair, nullptr) << slot.chain();
  return pair;
}

TEST(Chain, TellsFormulasAndSizes) {
  const LeakCheck leaks;
  const struct {
    const char *from, *to;
    int32_t formula, fromType;
    double least, greatest;  ///< bounds in metres, from what the datums are known to do
    bool trouble;
  } cases[] = {
      {"utm; zone=17; datum=NAD27 (CONUS)", "geographic; datum=WGS 84", OPRJ_FORMULA_MOLODENSKY,
       OPRJ_DATUM_PARAMETRIC, 1, 500, false},
      {"geographic; datum=Amersfoort (EPSG 15934)", "utm; zone=31; datum=WGS 84",
       OPRJ_FORMULA_SEVEN_PARAMETERS, OPRJ_DATUM_PARAMETRIC, 10, 1000, false},
      {"geographic; spheroid=Airy; datum=Undefined", "utm; zone=31; datum=WGS 84",
       OPRJ_FORMULA_NO_DATUM, OPRJ_DATUM_NONE, 0, 0, false},
      {"geographic; datum=WGS 84", "utm; zone=31; datum=WGS 84", OPRJ_FORMULA_SAME_DATUM,
       OPRJ_DATUM_PARAMETRIC, 0, 0, false},
      {"geographic; datum=NAD27", "utm; zone=31; datum=WGS 84", OPRJ_FORMULA_ROUTE, OPRJ_DATUM_GRID,
       0, 550, false},
  };
  Slot slot;
  for (const auto &row : cases) {
    SCOPED_TRACE(row.from);
    const Pair pair = pairOf(row.from, row.to, slot);
    const Steps steps(oprj_ProjectionPairExplain(toolkit(), pair.get(), slot));
    ASSERT_TRUE(steps && steps->next && steps->next->next && !steps->next->next->next)
        << slot.chain();
    EXPECT_EQ(steps->kind, OPRJ_STEP_INVERSE);
    EXPECT_EQ(steps->next->next->kind, OPRJ_STEP_FORWARD);
    const Oprj_ChainStep &shift = *steps->next;
    EXPECT_EQ(shift.kind, OPRJ_STEP_SHIFT);
    EXPECT_EQ(shift.formula, row.formula);
    EXPECT_EQ(shift.fromType, row.fromType);
    EXPECT_EQ(shift.trouble != nullptr, row.trouble);
    EXPECT_GE(shift.least, row.least);
    EXPECT_LE(shift.greatest, row.greatest);
    EXPECT_LE(shift.least, shift.median);
    EXPECT_LE(shift.median, shift.greatest);
  }
  const Pair equal = pairOf("geographic; datum=WGS 84", "geographic; datum=WGS 84", slot);
  const Steps copy(oprj_ProjectionPairExplain(toolkit(), equal.get(), slot));
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->kind, OPRJ_STEP_COPY);
  EXPECT_EQ(copy->next, nullptr);
  EXPECT_EQ(oprj_ProjectionPairExplain(toolkit(), nullptr, slot), nullptr);
  EXPECT_EQ(oerr_CodeGet(slot.get()), 3);
}

TEST(Chain, PairsBetweenTheLibraryAndTheEngine) {
  Slot slot;
  const auto engine = [&slot](const char *code) {
    const Owner<Oprj_System, oprj_SystemFree> system(oprj_SystemRead(toolkit(), code, slot));
    return Record(oprj_ProParametersCopy(system->record, nullptr, slot));
  };
  const Record greenwich = engine("EPSG:8857"), americas = engine("EPSG:8858"),
               europe = engine("EPSG:3035"), wgs84 = recordOf("geographic; datum=WGS 84", slot),
               utm = recordOf("utm; zone=18; datum=NAD83", slot);
  const auto pairsBetween = [](const Record &from, const Record &to, Oerr_Report **err) {
    Oprj_ProjectionPair *made[OPRJ_MOST_PAIRS];
    const int32_t pairs = oprj_ProjectionPairsBetween(toolkit(), from.get(), to.get(), made, err);
    for (int32_t i = 0; i < pairs; ++i) oprj_ProjectionPairFree(&made[i]);
    return pairs;
  };
  EXPECT_EQ(pairsBetween(greenwich, americas, slot), 1) << slot.chain();  // loads PROJ
  const LeakCheck leaks;
  const struct {
    const Record &from, &to;
    int32_t pairs;
  } cases[] = {{utm, wgs84, 1},     {greenwich, americas, 1}, {wgs84, greenwich, 1},
               {utm, greenwich, 2}, {greenwich, utm, 2},      {europe, greenwich, 3}};
  for (const auto &[from, to, count] : cases) {
    const auto between = [&, &from = from, &to = to](Oerr_Report **err) {
      return pairsBetween(from, to, err);
    };
    EXPECT_EQ(between(slot), count) << slot.chain();
    forEachAllocationFailure(between, {}, OnFailure::kMayRecover);
  }
  EXPECT_EQ(oprj_ProjectionPairsBetween(toolkit(), nullptr, utm.get(), nullptr, slot), 0);
  EXPECT_EQ(slot.chain(), "oprj_ProjectionPairsBetween: Args (1)");
}

TEST(Chain, CautionsAreForThoseThatNeedThem) {
  const char *const wgs = "geographic; datum=WGS 84";
  const struct {
    const char *from, *to;
    std::vector<int32_t> kinds;
  } cases[] = {
      {"utm; zone=17; datum=NAD27 (CONUS)", wgs, {}},
      {"mollweide; datum=WGS 84", wgs, {OPRJ_NOTE_SPHERE}},
      {"mollweide; a=6370997", wgs, {}},
      {"geographic; datum=Bessel", wgs, {OPRJ_NOTE_NAMED_DATUM}},
      {"geographic; datum=Bessel", "utm; zone=17; datum=Bessel", {}},  // nothing is shifted
      {"geographic; datum=WGS 72", wgs, {}},
      {"geographic; datum=GRS 1980", wgs, {}},
      {"9; datum=WGS 84; lat_0=-90", wgs, {OPRJ_NOTE_POLE_ORIGIN}},
      {"9; datum=WGS 84; lat_0=-89", wgs, {}},
      {"9; datum=WGS 84; k_0=-1", wgs, {OPRJ_NOTE_NEGATIVE_SCALE}},
      // the great circle through both points turns back at 44.4 degrees
      {"20; datum=WGS 84; lon_1=-100; lat_1=40; lon_2=-60; lat_2=43; lat_0=60",
       wgs,
       {OPRJ_NOTE_CENTRE_MISSED}},
      {"20; datum=WGS 84; lon_1=-100; lat_1=40; lon_2=-60; lat_2=43; lat_0=41", wgs, {}},
  };
  Slot slot;
  for (const auto &row : cases) {
    const Pair pair = pairOf(row.from, row.to, slot);
    Oprj_Note *notes = nullptr;
    EXPECT_EQ(oprj_ProjectionPairCautions(toolkit(), pair.get(), &notes, slot), 1) << slot.chain();
    const NoteList owned(notes);
    std::vector<int32_t> kinds;
    for (const Oprj_Note *note = notes; note; note = note->next) kinds.push_back(note->kind);
    EXPECT_EQ(kinds, row.kinds) << row.from;
  }
}

}  // namespace
