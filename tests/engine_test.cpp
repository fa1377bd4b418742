// Objects of the Projection Engine: texts byte for byte, refusals with their place, trees,
// comparison.
#include <oprj/engine.h>
#include <oprj/omsc.h>
#include <proj.h>
#include <sqlite3.h>

#include <cmath>
#include <memory>

#include "tests/support.h"

namespace {

using namespace orvik::test;

struct Delete {
  void operator()(Oawp_PE_COORDSYS *system) const { oawp_PE_pe_coordsys_del(system); }
};
using Object = std::unique_ptr<Oawp_PE_Object, Delete>;

const std::string kGcs =
    R"(GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1984",SPHEROID["WGS_1984",6378137.0,298.257223563]],)"
    R"(PRIMEM["Greenwich",0.0],UNIT["Degree",0.0174532925199433]])";
const std::string kParameters =
    R"(PARAMETER["False_Easting",500000.0],PARAMETER["False_Northing",0.0],)"
    R"(PARAMETER["Central_Meridian",-81.0],PARAMETER["Scale_Factor",0.9996],)"
    R"(PARAMETER["Latitude_Of_Origin",0.0])";
const std::string kProjection = R"(PROJECTION["Transverse_Mercator"])";
const std::string kMeter = R"(UNIT["Meter",1.0])";
const std::string kUtm = R"(PROJCS["WGS_1984_UTM_Zone_17N",)" + kGcs + "," + kProjection + "," +
                         kParameters + "," + kMeter + "]";
const std::string kVertical =
    R"(VERTCS["NAVD_1988",VDATUM["North_American_Vertical_Datum_1988"],)"
    R"(PARAMETER["Vertical_Shift",0.0],PARAMETER["Direction",1.0],UNIT["Meter",1.0]])";

/// kUtm with a piece of it replaced.
std::string with(const std::string &piece, const std::string &instead) {
  std::string text = kUtm;
  const size_t at = text.find(piece);
  EXPECT_NE(at, text.npos) << piece;
  return at == text.npos ? text : text.replace(at, piece.size(), instead);
}

Object read(const std::string &text) {
  return Object(oawp_PE_pe_coordsys_from_string(text.c_str()));
}

std::string written(const Oawp_PE_Object *object) {
  return taken(oawp_PE_pe_coordsys_to_string(object, nullptr, 0));
}

/// The report of the thread's last engine function, which is taken.
std::string report() {
  Oerr_Report *report = nullptr;
  oawp_PE_ReportTake(&report);
  const std::string message = report ? oerr_MessageGet(report) : "";
  oerr_DeleteErrorReport(&report);
  return message;
}

TEST(EngineText, ComesBackAsItWasOrInItsOneForm) {
  const LeakCheck leaks;
  std::string broken = kUtm, parameters, crlf;
  for (char &c : broken) c = c == '[' ? '(' : c == ']' ? ')' : c;
  for (char c : broken) crlf += c == ',' ? std::string(" ,\r\n\t\f\v") : std::string(1, c);
  crlf.replace(crlf.find("500000.0"), 8, "5e5").replace(0, 6, "projcs ");
  for (int i = 0; i < 40000; ++i) parameters += ",PARAMETER[\"p" + std::to_string(i) + "\",1.0]";
  const std::string utf8 = "\xC3\x9C", latin1(1, '\xDC'), name(1 << 19, 'n');
  const struct {
    std::string text, back;  ///< "": the same bytes
  } cases[] = {
      {kUtm, ""},
      {kGcs, ""},
      {crlf, kUtm},
      {" \n" + kUtm + "\r\n ", kUtm},
      {"\xEF\xBB\xBF" + kUtm, kUtm},
      {with("Zone_17N", R"(Zone ""17"" )" + utf8 + latin1), ""},
      {with("WGS_1984_UTM_Zone_17N", ""), ""},
      {with("500000.0", "+5.E+5"), kUtm},
      {with("-81.0", "-81"), kUtm},
      {with("0.9996", ".9996"), kUtm},
      {with("500000.0", "-0"), with("500000.0", "-0.0")},
      {with("500000.0", "0.000001"), with("500000.0", "1e-06")},
      {with("500000.0", "0.00001"), with("500000.0", "0.00001")},
      {with("500000.0", "1E22"), with("500000.0", "1e+22")},
      {with("500000.0", "4.9406564584124654e-324"), with("500000.0", "5e-324")},
      {with("500000.0", "99999999999999990"), with("500000.0", "99999999999999984.0")},
      {with(kMeter + "]", kMeter + R"(,AXIS["E",EAST],AUTHORITY["EPSG",26917]])"), ""},
      {with(kProjection, R"(METADATA["World",-180.0,-90,1262],)" + kProjection), ""},
      {with(kProjection, R"(ext ( "a ""b""" , x[ y ,+1.50e0]),)" + kProjection),
       with(kProjection, R"(ext["a ""b""",x[y,+1.50e0]],)" + kProjection)},
      {with("298.257223563]", R"(298.257223563],TOWGS84[0,0,0,0,0,0,0])"), ""},
      {with("SPHEROID", "ELLIPSOID"), ""},
      {with(R"(UNIT["Meter")", R"(linunit["Meter")"),
       with(R"(UNIT["Meter")", R"(LINUNIT["Meter")")},
      {with("PROJECTION", "METHOD"), ""},
      {with("Transverse_Mercator", "Of_My_Own"), ""},
      {with(kGcs + "," + kProjection, kProjection + "," + kGcs), ""},
      {kUtm + "," + kVertical, ""},
      {kGcs + " , " + kVertical, kGcs + "," + kVertical},
      {"COMPD_CS[\"c\"," + kUtm +
           R"(,VERT_CS["v",VERT_DATUM["d",2005],UNIT["m",1.0],AXIS["Up",UP]]])",
       ""},
      {with(kParameters, kParameters + parameters), ""},
      {with("WGS_1984_UTM_Zone_17N", name), ""},
  };
  for (const auto &[text, back] : cases) {
    SCOPED_TRACE(text.substr(0, 200));
    const Object object = read(text);
    ASSERT_TRUE(object) << report();
    EXPECT_TRUE(written(object.get()) == (back.empty() ? text : back)) << written(object.get());
    EXPECT_EQ(report(), "");
    const Object copy(oawp_PE_pe_coordsys_clone(object.get()));
    EXPECT_TRUE(written(copy.get()) == written(object.get()));
    EXPECT_TRUE(oawp_PE_pe_coordsys_eq(copy.get(), object.get()));
  }
}

TEST(EngineText, IsRefusedWithPlaceAndExpectation) {
  const LeakCheck leaks;
  std::string nested, many;
  for (int i = 0; i < 100000; ++i) nested += "PROJCS[", many += ",A[1]";
  const std::string half = kUtm.substr(0, kUtm.size() - 1);
  const auto byte = [](size_t at) { return "Byte " + std::to_string(at) + ": expected "; };
  const auto at = [&](const std::string &piece, size_t offset = 0) {
    return byte(kUtm.find(piece) + offset + 1);
  };
  const struct {
    std::string text, message;
  } cases[] = {
      {"", "Byte 1: expected PROJCS or GEOGCS, found the end"},
      {" \n ", "Byte 4: expected PROJCS or GEOGCS, found the end"},
      {"nan", "Byte 1: expected PROJCS or GEOGCS, found 'n'"},
      {kVertical, "Byte 1: expected PROJCS or GEOGCS, found 'V'"},
      {half + ")", byte(kUtm.size()) + "\"]\", found ')'"},
      {half, byte(kUtm.size()) + "\",\" or a bracket, found the end"},
      {kUtm + " x", byte(kUtm.size() + 2) + "\",\" or the end, found 'x'"},
      {kUtm + ",", byte(kUtm.size() + 2) + "VERTCS, found the end"},
      {kUtm + "," + kGcs, byte(kUtm.size() + 2) + "VERTCS, found 'G'"},
      {kUtm + "," + kVertical + ",",
       byte(kUtm.size() + kVertical.size() + 2) + "the end, found ','"},
      {kUtm + "]", byte(kUtm.size() + 1) + "\",\" or the end, found ']'"},
      {with("0.9996", "0,9996"), at("0.9996", 2) + "a node, found '9'"},
      {with("0.9996", "nan"), at("0.9996") + "a number, found 'n'"},
      {with("0.9996", "0x1p0"), at("0.9996", 1) + "\",\" or a bracket, found 'x'"},
      {with("0.9996", "1e999"), at("0.9996") + "a number that a double can hold, found '1'"},
      {with("0.9996", "+-1"), at("0.9996") + "a number, found '+'"},
      {with(R"("Scale_Factor",0.9996)", R"("Scale_Factor")"),
       at(R"("Scale_Factor",)", 14) + "\",\" and a number, found ']'"},
      {with(R"("Transverse_Mercator")", ""),
       at(R"("Transverse_Mercator")") + "a text in quotes, found ']'"},
      {with("-81.0", "-81.0,2"), at("-81.0", 6) + "a node, found '2'"},
      {with(R"(UNIT["Meter",1.0])", R"(UNIT["Meter",0])"),
       at(kMeter, 13) + "a number above 0, found '0'"},
      {with("298.257223563", "0.5"), at("298.257223563") + "0 or a number above 1, found '0'"},
      {with("6378137.0", "-1"), at("6378137.0") + "a number above 0, found '-'"},
      {with(R"(PRIMEM["Greenwich",0.0],)", ""),
       byte(kUtm.find("]," + kProjection) - 23) + "PRIMEM, found ']'"},
      {with("," + kMeter, ""), byte(kUtm.size() - kMeter.size() - 1) + "UNIT, found ']'"},
      {with(kMeter, kMeter + "," + kMeter), byte(kUtm.size() + 1) + "a node only once, found 'U'"},
      {with(kMeter, kVertical), at(kMeter) + "a node that belongs here, found 'V'"},
      {with("Central_Meridian", "FALSE_easting"),
       "Byte " + std::to_string(kUtm.size() - 3) + ": parameter \"False_Easting\" stands twice"},
      {with(kMeter, kMeter + ",A[]"), byte(kUtm.size() + 3) + "a number, found ']'"},
      {"PROJCS x", "Byte 8: expected \"[\", found 'x'"},
      {"PROJCS[\"", "Byte 9: expected the end of a text in quotes, found the end"},
      {nested, "Byte 8: expected a text in quotes, found 'P'"},
      {"GEOGCS[\"x\"," + nested, "Byte 12: expected a node that belongs here, found 'P'"},
      {half + many + "]",
       byte(half.size() + 5 * (65536 - 13) + 3) + "no more than 65536 nodes, found '['"},
      {std::string(1100000, ' ') + kUtm,
       "Byte 1048577: expected no more than 1048576 bytes, found 0x20"},
  };
  for (const auto &[text, message] : cases) {
    SCOPED_TRACE(text.substr(0, 700));
    EXPECT_FALSE(read(text));
    EXPECT_EQ(report().substr(0, message.size()), message);
  }
  // Levels of nodes that are not known.
  std::string deep, closed;
  for (int i = 0; i < 31; ++i) deep += "A[", closed += "]";
  EXPECT_TRUE(read(with(kMeter, kMeter + "," + deep + "1" + closed))) << report();
  EXPECT_FALSE(read(with(kMeter, kMeter + "," + deep + "A[1]" + closed)));
  EXPECT_NE(report().find("no more than 32 levels"), std::string::npos);
  for (size_t length = 0; length < kUtm.size(); ++length) {
    EXPECT_FALSE(read(kUtm.substr(0, length))) << length;
    const size_t place = std::stoul(report().substr(5));
    EXPECT_LE(place, length + 1) << length;
  }
}

TEST(EngineText, SystemsOfTheDatabaseComeBackByteForByte) {
  PJ_CONTEXT *context = proj_context_create();
  proj_log_level(context, PJ_LOG_NONE);
  sqlite3 *database = nullptr;
  ASSERT_EQ(sqlite3_open_v2(proj_context_get_database_path(context), &database,
                            SQLITE_OPEN_READONLY, nullptr),
            SQLITE_OK);
  sqlite3_stmt *rows = nullptr;
  sqlite3_prepare_v2(
      database, "SELECT text_definition FROM projected_crs WHERE text_definition LIKE 'PROJCS%'",
      -1, &rows, nullptr);
  const auto sameBytes = [](const std::string &text) {
    const Object object = read(text);
    return object && written(object.get()) == text;
  };
  int stored = 0, made = 0;
  for (; sqlite3_step(rows) == SQLITE_ROW; ++stored) {
    const std::string text = reinterpret_cast<const char *>(sqlite3_column_text(rows, 0));
    EXPECT_TRUE(sameBytes(text)) << text << report();
  }
  EXPECT_GE(stored, 173);
  sqlite3_finalize(rows);
  sqlite3_close(database);
  // What PROJ writes itself; the projected systems are those of the tests of the translation.
  for (const char *authority : {"EPSG", "ESRI"})
    for (const PJ_TYPE type : {PJ_TYPE_GEOGRAPHIC_2D_CRS, PJ_TYPE_VERTICAL_CRS}) {
      PROJ_STRING_LIST codes = proj_get_codes_from_database(context, authority, type, 1);
      for (int i = 0; codes[i]; ++i) {
        PJ *system =
            proj_create_from_database(context, authority, codes[i], PJ_CATEGORY_CRS, 0, nullptr);
        const char *wkt = proj_as_wkt(context, system, PJ_WKT1_ESRI, nullptr);
        std::string text = wkt ? wkt : "";
        if (type == PJ_TYPE_VERTICAL_CRS) text = kGcs + "," + text;  // one alone is no COORDSYS
        // PROJ's own spelling of small numbers, and the second unit of a system with heights.
        if (wkt && text.find("E-0") == text.npos && text.find("LINUNIT") == text.npos) {
          ++made;
          EXPECT_TRUE(sameBytes(text)) << authority << codes[i] << text << report();
        }
        proj_destroy(system);
      }
      proj_string_list_destroy(codes);
    }
  EXPECT_GT(made, 1500);
  proj_context_destroy(context);
}

TEST(EngineObject, PartsAreLentAdoptedAndGivenBack) {
  const LeakCheck leaks;
  const Object system = read(kUtm + "," + kVertical);
  const Oawp_PE_GEOGCS *gcs = oawp_PE_pe_projcs_geogcs(system.get());
  const Oawp_PE_VERTCS *vertical = oawp_PE_pe_hvcoordsys_vertcs(system.get());
  EXPECT_EQ(oawp_PE_pe_projcs_p(system.get()) + 2 * oawp_PE_pe_geogcs_p(system.get()) +
                4 * oawp_PE_pe_hvcoordsys_p(system.get()) + 8 * oawp_PE_pe_datum_p(gcs) +
                16 * oawp_PE_pe_vertcs_p(vertical) + 32 * oawp_PE_pe_geogcs_p(gcs),
            53);
  double a = 0, rf = 0;
  EXPECT_TRUE(
      oawp_PE_SpheroidAxes(oawp_PE_pe_datum_spheroid(oawp_PE_pe_geogcs_datum(gcs)), &a, &rf));
  EXPECT_EQ(a + rf, 6378137.0 + 298.257223563);
  std::string names;
  for (auto *p = oawp_PE_pe_projcs_parameters(system.get()); *p; ++p)
    names += std::string(oawp_PE_pe_parameter_name(*p)) + "=" +
             std::to_string(static_cast<int>(oawp_PE_pe_parameter_value(*p))) + " ";
  for (auto *p = oawp_PE_pe_vertcs_parameters(vertical); *p; ++p)
    names += oawp_PE_pe_parameter_name(*p);
  EXPECT_EQ(names,
            "False_Easting=500000 False_Northing=0 Central_Meridian=-81 Scale_Factor=0 "
            "Latitude_Of_Origin=0 Vertical_ShiftDirection");
  EXPECT_STREQ(oawp_PE_pe_vdatum_name(oawp_PE_pe_vertcs_hvdatum(vertical)),
               "North_American_Vertical_Datum_1988");
  oawp_PE_pe_geogcs_del(const_cast<Oawp_PE_GEOGCS *>(gcs));  // lent: stays
  EXPECT_STREQ(oawp_PE_pe_geogcs_name(gcs), "GCS_WGS_1984");
  // Nothing and the wrong kind.
  for (const void *other :
       {static_cast<const void *>(nullptr), static_cast<const void *>(vertical)}) {
    const auto *object = static_cast<const Oawp_PE_Object *>(other);
    EXPECT_EQ(oawp_PE_pe_projcs_geogcs(object), nullptr);
    EXPECT_EQ(oawp_PE_pe_projcs_parameters(object), nullptr);
    EXPECT_STREQ(oawp_PE_pe_projcs_name(object), "");
    EXPECT_EQ(oawp_PE_pe_unit_factor(object), 0.0);
    EXPECT_EQ(oawp_PE_pe_coordsys_clone(object), nullptr);
    EXPECT_EQ(report(), "Args");
    EXPECT_EQ(oawp_PE_pe_coordsys_eq(object, object), 0);
  }
  char buffer[1024] = "x";
  EXPECT_EQ(oawp_PE_pe_projcs_to_string(system.get(), buffer, 100), nullptr);
  EXPECT_STREQ(buffer, "");
  EXPECT_EQ(oawp_PE_pe_projcs_to_string(system.get(), buffer, sizeof buffer), buffer);
  EXPECT_EQ(buffer, kUtm + "," + kVertical);

  // The same system from its parts.
  Oawp_PE_UNIT *degree = oawp_PE_pe_unit_new("Degree", 0.0174532925199433);
  Oawp_PE_DATUM *datum =
      oawp_PE_pe_datum_new("D_WGS_1984", oawp_PE_pe_spheroid_new("WGS_1984", a, rf));
  Oawp_PE_PRIMEM *greenwich = oawp_PE_pe_primem_new("Greenwich", 0.0);
  EXPECT_EQ(oawp_PE_pe_geogcs_new(nullptr, datum, greenwich, degree), nullptr);
  EXPECT_EQ(oawp_PE_pe_geogcs_new("x", datum, greenwich, nullptr), nullptr);
  EXPECT_EQ(oawp_PE_pe_geogcs_new("x", datum, greenwich, greenwich), nullptr);
  EXPECT_EQ(report(), "Args");
  Oawp_PE_GEOGCS *own = oawp_PE_pe_geogcs_new("GCS_WGS_1984", datum, greenwich, degree);
  EXPECT_EQ(oawp_PE_pe_geogcs_new("x", datum, greenwich, degree), nullptr);  // parts of another
  Oawp_PE_PROJECTION *method = oawp_PE_pe_projection_from_string(kProjection.c_str());
  Oawp_PE_PARAMETER **list = oawp_PE_pe_parameter_projection_defaults(method);
  ASSERT_TRUE(list) << report();
  const double values[] = {500000, 0, -81, 0.9996, 0};
  for (int i = 0; i < 5; ++i) oawp_PE_pe_parameter_value_set(list[i], values[i]);
  oawp_PE_pe_parameter_value_set(list[0], std::nan(""));
  EXPECT_EQ(report(), "Invalid value");
  const Object built(oawp_PE_pe_projcs_new("WGS_1984_UTM_Zone_17N", own, method, list,
                                           oawp_PE_pe_unit_new("Meter", 1.0)));
  oawp_PE_pe_table_del(reinterpret_cast<void **>(list));
  EXPECT_EQ(written(built.get()), kUtm);
  EXPECT_EQ(oawp_PE_pe_spheroid_new("x", 6378137.0, 0.5), nullptr);
  EXPECT_EQ(oawp_PE_pe_unit_new("x", std::nan("")), nullptr);
}

TEST(EngineObject, EqualMeansTheSameNumbersUnderTheNamesThatCount) {
  const struct {
    std::string text;
    int32_t equal;
  } cases[] = {
      {kUtm, 1},
      {kUtm + "," + kVertical, 1},
      {with("WGS_1984_UTM", "x"), 1},
      {with("Meter", "x"), 1},
      {with("GCS_WGS_1984", "x"), 1},
      {with("Greenwich", "x"), 1},
      {with("Transverse_Mercator", "TRANSVERSE_mercator"), 1},
      {with("D_WGS_1984", "d_wgs_1984"), 1},
      {with("Central_Meridian", "central_meridian"), 1},
      {with(R"(PARAMETER["False_Northing",0.0],)", ""), 1},
      {with(kParameters, kParameters + R"(,PARAMETER["X_Scale",1.0],PARAMETER["Azimuth",0])"), 1},
      {with(kParameters, R"(PARAMETER["Scale_Factor",0.9996],PARAMETER["Central_Meridian",-81.0],)"
                         R"(PARAMETER["False_Easting",500000.0])"),
       1},
      {with("-81.0", "-81.00000000000001"), 1},
      {with("-81.0", "-81.0000000001"), 0},
      {with(R"(PARAMETER["Scale_Factor",0.9996],)", ""), 0},
      {with(kParameters, kParameters + R"(,PARAMETER["X_Scale",0.0])"), 0},
      {with("Transverse_Mercator", "Gauss_Kruger"), 0},
      {with("D_WGS_1984", "D_GRS_1980"), 0},
      {with(R"("WGS_1984",6378137.0)", R"("GRS_1980",6378137.0)"), 0},
      {with("298.257223563", "298.257222101"), 0},
      {with("Greenwich\",0.0", "Greenwich\",2.0"), 0},
      {with("Meter\",1.0", "Meter\",0.3048"), 0},
      {kGcs, 0},
  };
  const Object utm = read(kUtm);
  for (const auto &[text, equal] : cases) {
    const Object other = read(text);
    EXPECT_EQ(oawp_PE_pe_coordsys_eq(utm.get(), other.get()), equal) << text;
    EXPECT_EQ(oawp_PE_pe_coordsys_eq(other.get(), utm.get()), equal) << text;
  }
}

TEST(EngineObject, EveryFailingAllocationIsReportedAndLeaksNothing) {
  const LeakCheck leaks;
  const std::string text =
      with(kMeter, kMeter + ",AXIS[\"a name that is not short\",EAST]") + "," + kVertical;
  const Object other = read(kUtm);
  forEachAllocationFailure([&](Oerr_Report **err) {
    *err = nullptr;
    const Object object = read(text);
    if (object) {
      const Object copy(oawp_PE_pe_coordsys_clone(object.get()));
      if (copy && oawp_PE_pe_coordsys_eq(copy.get(), other.get())) {
        char *string = oawp_PE_pe_coordsys_to_string(copy.get(), nullptr, 0);
        if (string && taken(string) == text) return true;
      }
    }
    oawp_PE_ReportTake(err);
    return false;
  });
  // Parts of what could not be made stay the caller's.
  Oawp_PE_SPHEROID *spheroid = oawp_PE_pe_spheroid_new("a name that is not short", 6378137.0, 0.0);
  Oawp_PE_DATUM *datum = nullptr;
  forEachAllocationFailure(
      [&](Oerr_Report **err) {
        *err = nullptr;
        datum = oawp_PE_pe_datum_new("another name that is not short", spheroid);
        if (!datum) oawp_PE_ReportTake(err);
        return datum != nullptr;
      },
      [&] { EXPECT_STREQ(oawp_PE_pe_spheroid_name(spheroid), "a name that is not short"); });
  oawp_PE_pe_datum_del(datum);
}

TEST(EngineObject, ThreadsReadOneObjectAndKeepTheirReports) {
  const Object system = read(kUtm);
  inThreads(4, [&](size_t t) {
    for (int i = 0; i < 200; ++i) {
      EXPECT_EQ(written(system.get()), kUtm);
      EXPECT_EQ(oawp_PE_pe_coordsys_from_string(kUtm.substr(0, 9 + t).c_str()), nullptr);
      EXPECT_EQ(std::stoul(report().substr(5)), 10 + t);
      oawp_PE_pe_coordsys_from_string("left for the thread's end");
    }
  });
}

}  // namespace
