// Systems of the Projection Engine in use: points, the function set "PE", predefined objects,
// strings and .prj files.
#include <oprj/oprj.h>
#include <proj.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <fstream>
#include <memory>
#include <numbers>

#include "tests/objects_support.h"

namespace {

using namespace orvik::test;

constexpr double kDegree = std::numbers::pi / 180.0;

struct DeleteSystem {
  void operator()(Oawp_PE_COORDSYS *system) const { oawp_PE_pe_coordsys_del(system); }
};
using System = std::unique_ptr<Oawp_PE_COORDSYS, DeleteSystem>;
struct FreeHandle {
  void operator()(Oprj_MapProjectionEx *handle) const { oprj_ProjectionFree(&handle); }
};
using Handle = std::unique_ptr<Oprj_MapProjectionEx, FreeHandle>;
struct FreeRecord {
  void operator()(Oprj_ProParameters *record) const { oprj_ProParametersFree(&record); }
};
using Record = std::unique_ptr<Oprj_ProParameters, FreeRecord>;

/// A geographic system and a projected one upon it.
std::string geographic(const std::string &meridian = "\"Greenwich\",0.0",
                       const std::string &unit = "\"Degree\",0.0174532925199433",
                       const std::string &spheroid = "\"WGS_1984\",6378137.0,298.257223563",
                       const std::string &datum = "D_WGS_1984") {
  return "GEOGCS[\"g\",DATUM[\"" + datum + "\",SPHEROID[" + spheroid + "]],PRIMEM[" + meridian +
         "],UNIT[" + unit + "]]";
}
std::string projected(const std::string &name, const std::string &parameters,
                      const std::string &unit = "\"Meter\",1.0",
                      const std::string &geogcs = geographic()) {
  std::string text = "PROJCS[\"p\"," + geogcs + ",PROJECTION[\"" + name + "\"]";
  for (size_t at = 0; at < parameters.size();) {
    const size_t equals = parameters.find('=', at),
                 end = std::min(parameters.find(' ', at), parameters.size());
    text += ",PARAMETER[\"" + parameters.substr(at, equals - at) + "\"," +
            parameters.substr(equals + 1, end - equals - 1) + "]";
    at = end + 1;
  }
  return text + ",UNIT[" + unit + "]]";
}
const std::string kUtm = projected(
    "Transverse_Mercator", "False_Easting=500000.0 Central_Meridian=-81.0 Scale_Factor=0.9996");

System read(const std::string &text) {
  return System(oawp_PE_pe_coordsys_from_string(text.c_str()));
}

Handle handleOf(const std::string &text, Slot &slot) {
  Oprj_MapProjectionEx *handle = nullptr;
  oprj_MapProjectionFromPEString(text.c_str(), &handle, nullptr, slot);
  return Handle(handle);
}

/// What stays loaded for the life of the process: the module and the tables.
struct Loaded {
  Loaded() {
    oawp_PE_pe_coordsys_del(static_cast<Oawp_PE_COORDSYS *>(oawp_PE_pe_factory(4326)));
    char *text = nullptr;
    const Record record(oprj_ProParametersFromPEString(kUtm.c_str(), &text, nullptr));
    omsc_HeapFree(text);
  }
};

/// The chain of the thread's last engine report.
std::string report() {
  Slot slot;
  oawp_PE_ReportTake(slot);
  return slot.chain();
}

/// A number of a chain's report with this text in it.
void expectHolds(const std::string &chain, const std::string &text) {
  EXPECT_NE(chain.find(text), std::string::npos) << chain;
}

TEST(EnginePoints, AgreeWithProjOnItsOwnDefinition) {
  const Loaded loaded;
  const LeakCheck leaks;
  const std::string ntf = geographic("\"Paris\",2.33722917", "\"Grad\",0.01570796326794897",
                                     "\"Clarke_1880_IGN\",6378249.2,293.4660212936265");
  const struct {
    std::string text, definition;
    double longitude, latitude;  ///< degrees from Greenwich
    double tolerance;            ///< m
  } cases[] = {
      {kUtm, "+proj=utm +zone=17 +ellps=WGS84", -79.5, 43.2, 1e-8},
      {projected("Transverse_Mercator", "Scale_Factor=-1.0 False_Easting=10"),
       "+proj=tmerc +k=-1 +ellps=WGS84", 1, 2, 1e9},  // PROJ refuses a negative scale
      {projected("Eckert_IV", "central_meridian=170.0"), "+proj=eck4 +lon_0=170 +R=6378137", -179,
       -33, 1e-8},
      {projected("Behrmann", ""), "+proj=cea +lat_ts=30 +R=6378137", 20, 33, 1e-8},
      {projected("Lambert_Conformal_Conic",
                 "False_Easting=600000.0 False_Northing=2200000.0 Central_Meridian=0.0 "
                 "Standard_Parallel_1=52.0 Scale_Factor=0.99987742 Latitude_Of_Origin=52.0",
                 "\"Meter\",1.0", ntf),
       "+proj=lcc +lat_1=46.8 +lat_0=46.8 +lon_0=0 +k_0=0.99987742 +x_0=600000 +y_0=2200000 "
       "+a=6378249.2 "
       "+rf=293.4660212936265 +pm=2.33722917",
       3.5, 47.1, 1e-8},
      {projected("Stereographic_South_Pole", "Standard_Parallel_1=-71.0 False_Easting=10.0",
                 "\"Kilometer\",1000.0"),
       "+proj=stere +lat_0=-90 +lat_ts=-71 +x_0=10000 +ellps=WGS84", 100, -75, 1e-8},
      {projected("Hotine_Oblique_Mercator_Azimuth_Natural_Origin",
                 "Scale_Factor=0.9996 Azimuth=337.25556 Longitude_Of_Center=-86.0 "
                 "Latitude_Of_Center=45.30916666666666"),
       "+proj=omerc +no_uoff +lat_0=45.30916666666666 +lonc=-86 +alpha=337.25556 +gamma=337.25556 "
       "+k=0.9996 +ellps=WGS84",
       -85, 44, 1e-8},
      {projected(
           "Cassini",
           "Scale_Factor=0.5 Latitude_Of_Origin=31.0 Central_Meridian=35.0 False_Easting=100.0"),
       "+proj=cass +lat_0=31 +lon_0=35 +x_0=200 +ellps=WGS84 +to_meter=2", 35.5, 31.5, 1e-8},
      {projected("New_Zealand_Map_Grid",
                 "False_Easting=2510000.0 False_Northing=6023150.0 "
                 "Longitude_Of_Origin=173.0 Latitude_Of_Origin=-41.0",
                 "\"Meter\",1.0",
                 geographic("\"Greenwich\",0.0", "\"Degree\",0.0174532925199433",
                            "\"I\",6378388.0,297.0")),
       "+proj=nzmg +lat_0=-41 +lon_0=173 +ellps=intl", 174.7, -36.8, 1e-8},
      // by this library's own formulas
      {projected("Hammer_Aitoff", "Central_Meridian=10.0", "\"Kilometer\",1000.0"),
       "+proj=hammer +lon_0=10 +R=6378137", 33, 44, 1e-7},
      {projected("Equal_Earth", ""), "+proj=eqearth +ellps=WGS84", 33, 44, 1e-8},
      {projected("Goode_Homolosine", "Option=2.0"), "+proj=igh_o +R=6378137", 33, 44, 1e-8},
  };
  PJ_CONTEXT *context = proj_context_create();
  proj_log_level(context, PJ_LOG_NONE);
  for (const auto &[text, definition, longitude, latitude, tolerance] : cases) {
    SCOPED_TRACE(definition);
    Slot slot;
    const Handle handle = handleOf(text, slot);
    ASSERT_TRUE(handle) << slot.chain();
    const Oprj_Point place = {longitude * kDegree, latitude * kDegree};
    Oprj_Point out, back;
    handle->apply(handle->ownedData, &place, &out, 1, slot);
    ASSERT_EQ(slot.chain(), "");
    handle->applyInverse(handle->ownedData, &out, &back, 1, slot);
    ASSERT_EQ(slot.chain(), "");
    // A single point goes a way of its own, to the same bits.
    const Oprj_Point places[] = {place, place};
    Oprj_Point sheet[2], globe[2];
    handle->apply(handle->ownedData, places, sheet, 2, slot);
    handle->applyInverse(handle->ownedData, sheet, globe, 2, slot);
    EXPECT_EQ(std::memcmp(&sheet[1], &out, sizeof out), 0);
    EXPECT_EQ(std::memcmp(&globe[1], &back, sizeof back), 0);
    EXPECT_NEAR(back.x, place.x,
                1e-10);  // PROJ's inverse of the Equal Earth projection is off by 9e-11
    EXPECT_NEAR(back.y, place.y, 1e-10);
    // The engine's own functions count in the system's units, from its meridian.
    const auto *gcs = oawp_PE_pe_projcs_geogcs(static_cast<Oawp_PE_PROJCS *>(handle->ownedData));
    const double unit = oawp_PE_pe_unit_factor(oawp_PE_pe_geogcs_unit(gcs));
    const double meridian = oawp_PE_pe_primem_longitude(oawp_PE_pe_geogcs_primem(gcs)) * kDegree;
    const double metre = oawp_PE_pe_unit_factor(
        oawp_PE_pe_projcs_unit(static_cast<Oawp_PE_PROJCS *>(handle->ownedData)));
    Oprj_Point own = {(place.x - meridian) / unit, place.y / unit};
    EXPECT_EQ(oawp_PE_pe_geog_to_proj(static_cast<Oawp_PE_PROJCS *>(handle->ownedData), 1, &own),
              1);
    EXPECT_NEAR(own.x * metre, out.x, 1e-8);
    EXPECT_NEAR(own.y * metre, out.y, 1e-8);
    PJ *peer = proj_create(context, definition.c_str());
    if (!peer) {
      EXPECT_NE(definition.find("k=-1"), std::string::npos);
      continue;
    }
    const PJ_COORD expected = proj_trans(peer, PJ_FWD, proj_coord(place.x, place.y, 0, 0));
    EXPECT_NEAR(out.x, expected.xy.x, tolerance);
    EXPECT_NEAR(out.y, expected.xy.y, tolerance);
    proj_destroy(peer);
  }
  proj_context_destroy(context);
}

TEST(EnginePoints, NegativeScalesAndAzimuthsTurnTheAxes) {
  const struct {
    std::string plain, turned;
    double xx, xy, yx, yy;
  } cases[] = {
      {projected("Transverse_Mercator", "Scale_Factor=0.9"),
       projected("Transverse_Mercator", "Scale_Factor=-0.9"), -1, 0, 0, -1},
      {projected("Local", "Longitude_Of_Center=1.0 Latitude_Of_Center=2.0"),
       projected("Local",
                 "Longitude_Of_Center=1.0 Latitude_Of_Center=2.0 Azimuth=90.0 Scale_Factor=2.0"),
       0, -2, 2, 0}};
  for (const auto &[plain, turned, xx, xy, yx, yy] : cases) {
    const System first = read(plain), second = read(turned);
    Oprj_Point p = {1.5, 2.25}, q = p, back;
    ASSERT_EQ(
        oawp_PE_pe_geog_to_proj(first.get(), 1, &p) + oawp_PE_pe_geog_to_proj(second.get(), 1, &q),
        2)
        << report();
    EXPECT_NEAR(q.x, xx * p.x + xy * p.y, 1e-8);
    EXPECT_NEAR(q.y, yx * p.x + yy * p.y, 1e-8);
    back = q;
    EXPECT_EQ(oawp_PE_pe_proj_to_geog(second.get(), 1, &back), 1);
    EXPECT_NEAR(back.x, 1.5, 1e-11);
  }
}

// Over the globe and over the sheet beyond its edges: the same points have a place as in PROJ, the
// same one to the tolerance (m, and so much of 2e7 m), alone and in an array to the same bits.
TEST(EnginePoints, OwnFormulasServeWherePlacesAreThoseOfProj) {
  const Loaded loaded;
  const struct {
    std::string name, parameters, definition;
    double width, height, tolerance;
  } cases[] = {
      {"Transverse_Mercator", "Scale_Factor=0.9996", "tmerc +k=0.9996 +ellps=WGS84", 9e6, 1.2e7,
       1e-8},
      {"Lambert_Conformal_Conic", "Standard_Parallel_1=33 Standard_Parallel_2=45",
       "lcc +lat_1=33 +lat_2=45 +ellps=WGS84", 1.5e7, 1.5e7, 2e-7},
      {"Lambert_Conformal_Conic", "Standard_Parallel_1=-40 Latitude_Of_Origin=-40",
       "lcc +lat_1=-40 +lat_0=-40 +ellps=WGS84", 1.5e7, 1.5e7, 2e-7},
      {"Albers", "Standard_Parallel_1=33 Standard_Parallel_2=45",
       "aea +lat_1=33 +lat_2=45 +ellps=WGS84", 1.8e7, 1.8e7, 1e-6},
      {"Mercator", "Standard_Parallel_1=33", "merc +lat_ts=33 +ellps=WGS84", 2.5e7, 2e7, 2e-8},
      {"Miller_Cylindrical", "", "mill +R=6378137", 2.5e7, 1.7e7, 2e-8},
      {"Eckert_VI", "", "eck6 +R=6378137", 2e7, 1e7, 1e-7},
      {"Behrmann", "", "cea +lat_ts=30 +R=6378137", 2.5e7, 9e6, 1e-7},
      {"Stereographic", "Latitude_Of_Origin=40", "stere +lat_0=40 +ellps=WGS84", 2e7, 2e7, 1e-5},
      {"Double_Stereographic", "Latitude_Of_Origin=52", "sterea +lat_0=52 +ellps=WGS84", 2e7, 2e7,
       1e-6},
      {"Aitoff", "", "aitoff +R=6378137", 2.2e7, 1.1e7, 1e-7},
      {"Winkel_Tripel", "Standard_Parallel_1=40", "wintri +lat_1=40 +R=6378137", 2e7, 1.1e7, 1e-7},
      {"Vertical_Near_Side_Perspective", "Latitude_Of_Center=40 Height=5000000",
       "nsper +lat_0=40 +h=5000000 +R=6378137", 5e6, 5e6, 1e-7},
  };
  PJ_CONTEXT *context = proj_context_create();
  for (const auto &[name, parameters, definition, width, height, tolerance] : cases) {
    SCOPED_TRACE(definition);
    Slot slot;
    const Handle handle = handleOf(projected(name, parameters), slot);
    ASSERT_TRUE(handle) << slot.chain();
    PJ *peer = proj_create(context, ("+over +proj=" + definition).c_str());
    for (const bool forward : {true, false}) {
      const auto leg = forward ? handle->apply : handle->applyInverse;
      std::vector<Oprj_Point> good, alone;
      for (int i = 0; i <= 30 * 30; ++i) {
        const double u = i % 31 / 15.0 - 1, v = i / 30 / 15.0 - 1;
        const Oprj_Point in = forward ? Oprj_Point{u * 180 * kDegree, v * 89 * kDegree}
                                      : Oprj_Point{u * width, v * height};
        const PJ_COORD c = proj_trans(peer, forward ? PJ_FWD : PJ_INV, {{in.x, in.y, 0, 0}});
        const bool isPlace = std::isfinite(c.v[0]) &&
                             (forward || (std::fabs(c.v[0]) <= std::numbers::pi + 1e-11 &&
                                          std::fabs(c.v[1]) <= std::numbers::pi / 2 + 1e-11));
        Oprj_Point out;
        leg(handle->ownedData, &in, &out, 1, slot);
        EXPECT_EQ(slot.chain().empty(), isPlace) << in.x << " " << in.y;
        if (!isPlace || !slot.chain().empty()) continue;
        good.push_back(in);
        alone.push_back(out);
        if (!forward && std::fabs(c.v[1]) > 89 * kDegree) continue;
        const double unit = forward ? std::max(1.0, std::hypot(out.x, out.y) / 2e7) : 1 / 6378137.0;
        const double parallel = forward ? 1.0 : std::cos(out.y);
        EXPECT_NEAR(out.x * parallel, c.v[0] * parallel, tolerance * unit) << in.x << " " << in.y;
        EXPECT_NEAR(out.y, c.v[1], tolerance * unit) << in.x << " " << in.y;
      }
      EXPECT_GT(good.size(), 150u);
      std::vector<Oprj_Point> all(good.size());
      leg(handle->ownedData, good.data(), all.data(), static_cast<int32_t>(good.size()), slot);
      EXPECT_EQ(std::memcmp(all.data(), alone.data(), all.size() * sizeof all[0]), 0);
    }
    proj_destroy(peer);
  }
  proj_context_destroy(context);
  // PROJ's inverse finds no place on southern ones.
  Slot slot;
  const Handle bonne = handleOf(projected("Bonne", "Standard_Parallel_1=-10"), slot);
  const Oprj_Point place = {0.4, -0.6};
  Oprj_Point sheet, back;
  bonne->apply(bonne->ownedData, &place, &sheet, 1, slot);
  bonne->applyInverse(bonne->ownedData, &sheet, &back, 1, slot);
  EXPECT_EQ(slot.chain(), "");
  EXPECT_LT(std::hypot(back.x - place.x, back.y - place.y), 1e-13);
}

// PROJ keeps these distances to 0.3 m only.
TEST(EnginePoints, TwoPointEquidistantMapsKeepBothDistances) {
  const System system = read(projected("Two_Point_Equidistant",
                                       "Latitude_Of_1st_Point=40.0 Latitude_Of_2nd_Point=50.0 "
                                       "Longitude_Of_1st_Point=-75.0 Longitude_Of_2nd_Point=15.0"));
  const auto arc = [](Oprj_Point a, Oprj_Point b) {
    const double x = std::sin((b.x - a.x) / 2 * kDegree), y = std::sin((b.y - a.y) / 2 * kDegree);
    return 2 * 6378137.0 *
           std::asin(std::sqrt(y * y + std::cos(a.y * kDegree) * std::cos(b.y * kDegree) * x * x));
  };
  for (const Oprj_Point place : {Oprj_Point{-30, 47}, {-74.9, 40.1}, {-60, -3}, {100, 20}}) {
    const Oprj_Point globe[] = {{-75, 40}, {15, 50}, place};
    Oprj_Point sheet[] = {globe[0], globe[1], globe[2]};
    ASSERT_EQ(oawp_PE_pe_geog_to_proj(system.get(), 3, sheet), 3) << report();
    for (const int point : {0, 1})
      EXPECT_NEAR(std::hypot(sheet[2].x - sheet[point].x, sheet[2].y - sheet[point].y),
                  arc(globe[point], place), 1e-6);
  }
  // What lies beyond a pole of the sheet is no place.
  Oprj_Point beyond = {0, 1.1e7};
  EXPECT_EQ(oawp_PE_pe_proj_to_geog(read(projected("Plate_Carree", "")).get(), 1, &beyond), 0);
  expectHolds(report(), "Input data error");
}

TEST(EnginePoints, StopAtTheFirstThatCannotBeComputed) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  const System system = read(projected("Eckert_IV", "Central_Meridian=170.0"));
  std::vector<Oprj_Point> points(300, {171.0, 10.0});
  points[7] = {kNaN, 3.0};
  points[200] = {171.0, 90.5};
  EXPECT_EQ(oawp_PE_pe_geog_to_proj(system.get(), 300, points.data()), 200);
  EXPECT_EQ(report(),
            "pe_geog_to_proj: Point cannot be projected, point # 200:  171.000000, 90.500000 (20)");
  EXPECT_TRUE(std::isnan(points[7].x) && std::isnan(points[7].y));
  EXPECT_GT(points[199].x, 90000.0);
  EXPECT_EQ(points[200].y, 90.5);
  // Beyond the edge of the map, and places that are none.
  for (const Oprj_Point outside :
       {Oprj_Point{1.7e7, 0}, Oprj_Point{HUGE_VAL, 0}, Oprj_Point{0, 1e9}}) {
    Oprj_Point point = outside;
    EXPECT_EQ(oawp_PE_pe_proj_to_geog(system.get(), 1, &point), 0) << outside.x;
    expectHolds(report(), "Input data error");
  }
  EXPECT_EQ(oawp_PE_pe_geog_to_proj(nullptr, 1, points.data()), 0);
  EXPECT_EQ(report(), "pe_geog_to_proj: Args (1)");
  // What has no formula, and what a projection does not read.
  const struct {
    std::string text, message;
  } cases[] = {
      {projected("Fuller", "Option=0.0"), "No formula for the projection \"Fuller\""},
      {projected("Of_My_Own", ""), "No formula for the projection \"Of_My_Own\""},
      {projected("Goode_Homolosine", "Option=3.0"), "with this Option"},
      {projected("Sinusoidal", "Standard_Parallel_1=4.0"),
       "The projection \"Sinusoidal\" has no parameter \"Standard_Parallel_1\""},
      {projected("Albers", "Standard_Parallel_1=4.0 Standard_Parallel_2=-4.0"),
       "PROJ refuses \"+proj=aea"},
      {projected("Mercator_Auxiliary_Sphere", "Auxiliary_Sphere_Type=3.0"),
       "with this Auxiliary_Sphere_Type"},
  };
  for (const auto &[text, message] : cases) {
    Oprj_Point point = {1, 1};
    EXPECT_EQ(oawp_PE_pe_geog_to_proj(read(text).get(), 1, &point), 0);
    expectHolds(report(), message);
    EXPECT_EQ(point.x, 1.0);
  }
}

TEST(EngineSet, OperationsOfAHandle) {
  const Loaded loaded;
  const LeakCheck leaks;
  Slot slot;
  const Handle handle = handleOf(kUtm, slot), geo = handleOf(geographic("\"Paris\",2.5"), slot);
  ASSERT_TRUE(handle && geo);
  EXPECT_STREQ(handle->title, "PE");
  EXPECT_EQ(taken(oprj_MapProjectionName(handle.get(), slot)), "p");
  EXPECT_EQ(taken(oprj_MapProjectionName(
                handleOf("GEOGCS[\"\"" + geographic().substr(10), slot).get(), slot)),
            "Unknown");
  const Handle copy(oprj_ProjectionCopy(handle.get(), nullptr, slot));
  EXPECT_EQ(oprj_MapProjectionEqual(handle.get(), copy.get(), slot), 1);
  EXPECT_EQ(oprj_MapProjectionEqual(handle.get(), geo.get(), slot), 0);
  EXPECT_EQ(oprj_MapProjectionCSRGet(handle.get(), "PE", slot), handle->ownedData);
  EXPECT_EQ(oprj_MapProjectionPCSRGet(handle.get(), "PE", slot), handle->ownedData);
  EXPECT_EQ(oprj_MapProjectionPCSRGet(geo.get(), "PE", slot), nullptr);
  expectNoReport(slot);
  EXPECT_STREQ(oawp_PE_pe_geogcs_name(static_cast<const Oawp_PE_GEOGCS *>(
                   oprj_MapProjectionGCSRGet(handle.get(), "PE", slot))),
               "g");
  EXPECT_EQ(oprj_MapProjectionGCSRGet(geo.get(), "PE", slot), geo->ownedData);
  expectRefusal(oprj_MapProjectionCSRGet(handle.get(), "Oprj_ProParameters", slot), slot,
                "oprj_MapProjectionCSRGet: ProjectionCSRGet failed (2) < peProjectionCSRGet: "
                "Cannot get coordinate system of type Oprj_ProParameters (1)");
  Oprj_Point place = {-79 * kDegree, 100 * kDegree}, out = {-1, -1};
  handle->apply(handle->ownedData, &place, &out, 1, slot);
  EXPECT_EQ(slot.chain(),
            "peProjectionApply: OAWP_FCLL_PE(pe_geog_to_proj) failed (1) < pe_geog_to_proj: Point "
            "cannot be projected, point # 0:  -1.378810, 1.745329 (20)");
  EXPECT_EQ(out.x, -1.0);
  geo->apply(geo->ownedData, &place, &out, 1, slot);  // only the meridian moves
  EXPECT_NEAR(out.x, -81.5 * kDegree, 1e-15);
  EXPECT_EQ(out.y, place.y);
  // Between two engine handles: equal datums only.
  const Handle other = handleOf(geographic("\"Greenwich\",0.0", "\"Degree\",0.0174532925199433",
                                           "\"GRS_1980\",6378137.0,298.257222101", "D_NAD"),
                                slot);
  const Handle same = handleOf(projected("Mercator", ""), slot);
  place = {500000, 4000000};
  EXPECT_EQ(oprj_Project(&place, handle.get(), &out, same.get(), 1, slot), &out) << slot.chain();
  EXPECT_NEAR(out.x, -81 * kDegree * 6378137.0, 1e-7);
  EXPECT_EQ(oprj_Project(&place, handle.get(), &out, other.get(), 1, slot), nullptr);
  expectHolds(slot.chain(),
              "peGCSTransform: Cannot do a pe based geographic transformation yet (1)");
  // To the native set and back.
  const Handle native(oprj_ProjectionCopy(handle.get(), nullptr, slot));
  ASSERT_EQ(oprj_MapProjectionConvert(native.get(), "Oprj_ProParameters", slot), 1) << slot.chain();
  const auto *record = static_cast<const Oprj_ProParameters *>(
      oprj_MapProjectionCSRGet(native.get(), "Oprj_ProParameters", slot));
  EXPECT_EQ(record->proNumber * 100 + record->proZone, 117);
  char unit[] = "feet", *unitName = unit;
  ASSERT_EQ(oprj_MapProjectionConvertWithUnits(native.get(), "PE", &unitName, slot), 1)
      << slot.chain();
  EXPECT_STREQ(oawp_PE_pe_unit_name(
                   oawp_PE_pe_projcs_unit(static_cast<Oawp_PE_PROJCS *>(native->ownedData))),
               "Foot");
  const Handle fuller = handleOf(projected("Fuller", ""), slot);
  EXPECT_EQ(oprj_MapProjectionConvert(fuller.get(), "Oprj_ProParameters", slot), 0);
  expectHolds(slot.chain(),
              "oprj_MapProjectionConvert: ProjectionConvert failed (3) < peProjectionConvert: "
              "oprj_COORDSYSToMapProjection failed (1) < ");
}

TEST(EngineSet, ThreadsShareOneHandle) {
  Slot slot;
  const Handle handle = handleOf(kUtm, slot);
  std::vector<Oprj_Point> expected(500), places(500);
  for (int i = 0; i < 500; ++i)
    places[static_cast<size_t>(i)] = {(-84 + i * 0.01) * kDegree, i * 0.1 * kDegree};
  handle->apply(handle->ownedData, places.data(), expected.data(), 500, slot);
  ASSERT_EQ(slot.chain(), "");
  // More threads than operations that wait for one of their own.
  inThreads(40, [&](size_t) {
    std::vector<Oprj_Point> out(500);
    for (int run = 0; run < 10; ++run) {
      Slot own;
      const int32_t step = run % 2 == 0 ? 500 : 1;
      for (int32_t i = 0; i < 500; i += step) {
        handle->apply(handle->ownedData, &places[static_cast<size_t>(i)],
                      &out[static_cast<size_t>(i)], step, own);
        EXPECT_EQ(own.chain(), "");
      }
      EXPECT_EQ(std::memcmp(out.data(), expected.data(), 500 * sizeof out[0]), 0);
    }
  });
}

TEST(EngineFactory, ObjectsByCodeAndLists) {
  const Loaded loaded;
  const LeakCheck leaks;
  const struct {
    int32_t code;
    std::string text;
  } cases[] = {
      {32617,
       R"(PROJCS["WGS_1984_UTM_Zone_17N",GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1984",SPHEROID["WGS_1984",6378137.0,298.257223563]],PRIMEM["Greenwich",0.0],UNIT["Degree",0.0174532925199433]],PROJECTION["Transverse_Mercator"],PARAMETER["False_Easting",500000.0],PARAMETER["False_Northing",0.0],PARAMETER["Central_Meridian",-81.0],PARAMETER["Scale_Factor",0.9996],PARAMETER["Latitude_Of_Origin",0.0],UNIT["Meter",1.0]])"},
      {4326,
       R"(GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1984",SPHEROID["WGS_1984",6378137.0,298.257223563]],PRIMEM["Greenwich",0.0],UNIT["Degree",0.0174532925199433]])"},
      {4807,
       R"(GEOGCS["GCS_NTF_Paris",DATUM["D_NTF",SPHEROID["Clarke_1880_IGN",6378249.2,293.466021293627]],PRIMEM["Paris",2.33722917],UNIT["Grad",0.01570796326794897]])"},
  };
  for (const auto &[code, text] : cases) {
    const System system(static_cast<Oawp_PE_COORDSYS *>(oawp_PE_pe_factory(code)));
    ASSERT_TRUE(system) << report();
    EXPECT_EQ(taken(oawp_PE_pe_coordsys_to_string(system.get(), nullptr, 0)), text);
    EXPECT_EQ(oawp_PE_pe_factory_code(system.get()), code);
  }
  EXPECT_EQ(oawp_PE_pe_factory(999999), nullptr);
  EXPECT_EQ(report(), "pe_factory: No predefined object 999999 (1)");
  // A scale that the database gives in millionths, units by the engine's names.
  const System city(static_cast<Oawp_PE_COORDSYS *>(oawp_PE_pe_factory(6997)));
  const std::string text = taken(oawp_PE_pe_coordsys_to_string(city.get(), nullptr, 0));
  expectHolds(text, R"(PARAMETER["Scale_Factor",1.000007])");
  expectHolds(text, R"(UNIT["Foot_US",0.3048006096012192])");
  int32_t count = 0;
  Oawp_PE_PROJCS **systems = oawp_PE_pe_predefined_projcs(&count);
  ASSERT_GT(count, 7000) << report();
  EXPECT_EQ(systems[count], nullptr);
  std::atomic<int> named = 0;
  inThreads(4, [&](size_t) {  // the first look completes, whoever looks
    for (int i = 0; i < count; i += 500)
      named += *oawp_PE_pe_projcs_name(systems[i]) &&
               *oawp_PE_pe_unit_name(oawp_PE_pe_projcs_unit(systems[i]));
  });
  EXPECT_EQ(named, 4 * (1 + (count - 1) / 500));
  oawp_PE_pe_table_del(reinterpret_cast<void **>(systems));
  Oawp_PE_GEOGTRAN **shifts = oawp_PE_pe_predefined_geogtran(&count);
  ASSERT_GT(count, 1500);
  int found = 0;
  for (int i = 0; i < count; ++i)
    if (std::string(oawp_PE_pe_geogtran_name(shifts[i])) == "NAD_1927_To_WGS_1984_4") {
      ++found;
      expectHolds(
          taken(oawp_PE_pe_geogtran_to_string(shifts[i], nullptr, 0)),
          R"(METHOD["Geocentric_Translation"],PARAMETER["X_Axis_Translation",-8.0],PARAMETER["Y_Axis_Translation",160.0],PARAMETER["Z_Axis_Translation",176.0]])");
    }
  EXPECT_EQ(found, 1);
  oawp_PE_pe_table_del(reinterpret_cast<void **>(shifts));
}

/// What engine_program prints.
std::string outputOf(const std::string &environment, const std::string &argument) {
  const std::string command =
      "env " + environment + " " OPRJ_BINARY_DIR "/bin/engine_program '" + argument + "'";
  std::string text;
  FILE *pipe = popen(command.c_str(), "r");
  for (int c; (c = std::getc(pipe)) != EOF;) text += static_cast<char>(c);
  pclose(pipe);
  return text;
}

std::string databaseIn(const std::string &folder) {
  return "PROJ_DATA=" + folder + " PROJ_LIB=" + folder;
}

TEST(EngineDatabase, IsLoadedOnFirstNeedAndToldWithItsPlaceWhenItFails) {
  const TemporaryDirectory empty, damaged, overwritten;
  damaged.write("proj.db", "this is no database");
  std::ifstream file(proj_context_get_database_path(nullptr), std::ios::binary);
  std::string whole(std::istreambuf_iterator<char>(file), {});
  std::fill(whole.begin() + static_cast<long>(whole.size() / 10), whole.end(), '\xA5');
  overwritten.write("proj.db", whole);
  EXPECT_EQ(outputOf("", kUtm), "1 0\nmade\n1\n");
  const std::string missing = outputOf(databaseIn(empty.path()), kUtm),
                    broken = outputOf(databaseIn(damaged.path()), kUtm);
  expectHolds(missing, "PROJ's database proj.db is not in ");
  expectHolds(missing, empty.path());
  expectHolds(broken, "The database " + damaged.path() + "/proj.db cannot be used: ");
  expectHolds(outputOf(databaseIn(overwritten.path()), kUtm),
              "The database " + overwritten.path() + "/proj.db cannot be used: ");
}

// The table of texts spares the database, which says the same of codes that the table does not
// have, whatever stands in it.
TEST(EngineDatabase, IsAskedForCodesThatTheTableOfTextsDoesNotHave) {
  const TemporaryDirectory folder, empty;
  const std::string code = "EPSG:2154", tables = "ORVIK_PROJECTIONS_PATH=" + folder.path() +
                                                 " ORVIK_DATUMS_PATH=" + folder.path() + " ";
  folder.write("codes.tab", readFile(OPRJ_SOURCE_DIR "/data/codes.tab"));
  const std::string found = outputOf(tables, code);
  ASSERT_TRUE(found.starts_with("PROJCS[\"RGF_1993_Lambert_93\"") && found.ends_with("]\n1\n"))
      << found;
  const std::string text = found.substr(0, found.size() - 2);
  const std::string known = readFile(OPRJ_SOURCE_DIR "/data/code_texts.tab");
  const size_t line = known.find("EPSG 2154 "), end = known.find('\n', line) + 1;
  ASSERT_EQ(known.substr(line, end - line), "EPSG 2154 " + text);
  const struct {
    const char *what;
    std::string table;
    bool has = false;
  } cases[] = {
      {"whole", known, true},
      {"this line alone", known.substr(line, end - line), true},
      {"without the end of the line", known.substr(line, end - line - 1), true},
      {"as other systems end lines", "EPSG 2154 " + text.substr(0, text.size() - 1) + "\r\n", true},
      {"nothing between", "EPSG 2154" + text},
      {"the first line", known.substr(line), true},
      {"the last line", known.substr(0, end), true},
      {"all but this line", known.substr(0, line) + known.substr(end)},
      {"no text", "EPSG 2154 \n"},
      {"no code", "EPSG\n"},
      {"no number", "EPSG x PROJCS\n"},
      {"a number too great", "EPSG 99999999999999 PROJCS\n"},
      {"comments", "# EPSG 2154 PROJCS\n#\n"},
      {"empty lines", "\n\n\n"},
      {"zeros", std::string(1000, '\0')},
      {"nothing", ""}};
  for (const auto &row : cases) {
    SCOPED_TRACE(row.what);
    folder.write("code_texts.tab", row.table);
    EXPECT_EQ(outputOf(tables, code), text + (row.has ? "0\n" : "1\n"));
    if (!row.has)
      expectHolds(outputOf(tables + databaseIn(empty.path()), code),
                  "PROJ's database proj.db is not in ");
  }
}

// --- strings and files ---

TEST(EngineStrings, HandlesAndRecords) {
  const Loaded loaded;
  const LeakCheck leaks;
  Slot slot;
  Oprj_MapProjectionEx *made = nullptr;
  char *text = nullptr;
  const std::string nameless = projected("Mercator", "", "\"\",2.5");
  ASSERT_EQ(oprj_MapProjectionFromPEString(nameless.c_str(), &made, &text, slot), 1);
  EXPECT_EQ(taken(text), "UNIT[\"\",2.5]");
  const Handle handle(made);
  ASSERT_EQ(oprj_MapProjectionToPEString(&text, handle.get(), nullptr, slot), 1);
  EXPECT_EQ(taken(text), nameless);
  ASSERT_EQ(oprj_MapProjectionToPEString(&text, handle.get(), "us_survey_feet", slot), 1);
  expectHolds(taken(text), "UNIT[\"Foot_US\",0.3048006096012192]]");
  char *unit = nullptr;
  const Record record(oprj_ProParametersFromPEString(kUtm.c_str(), &unit, slot));
  ASSERT_TRUE(record) << slot.chain();
  EXPECT_EQ(taken(unit), "meters");
  ASSERT_EQ(oprj_ProParametersToPEString(&text, record.get(), "feet", slot), 1) << slot.chain();
  expectHolds(taken(text), "UNIT[\"Foot\",0.3048]]");

  expectRefusal(oprj_MapProjectionFromPEString(nullptr, &made, nullptr, slot), slot,
                "oprj_MapProjectionInitFromPEString: Args (1)");
  expectRefusal(
      oprj_MapProjectionFromPEString("x", &made, nullptr, slot), slot,
      "oprj_MapProjectionInitFromPEString: OAWP_FCLL_PE(pe_coordsys_from_string) failed (2) < "
      "pe_coordsys_from_string: Byte 1: expected PROJCS or GEOGCS, found 'x' (2)");
  EXPECT_EQ(made, nullptr);
  expectRefusal(oprj_MapProjectionToPEString(&text, nullptr, nullptr, slot), slot,
                "oprj_MapProjectionInitFromPEString: Args (1)");
  EXPECT_EQ(oprj_MapProjectionToPEString(&text, handle.get(), "degrees", slot), 0);
  expectHolds(slot.chain(),
              "oprj_MapProjectionInitFromPEString: oprj_COORDSYSUnitChange failed (5) < "
              "oprj_COORDSYSUnitChange: ");
  EXPECT_EQ(oprj_ProParametersToPEString(&text, nullptr, nullptr, slot), 0);
  expectHolds(slot.chain(),
              "oprj_ProParametersToPEString: oprj_ProjectionInit failed (1) < oprj_ProjectionInit: "
              "Args (1574)");
  expectRefusal(oprj_ProParametersFromPEString(nullptr, nullptr, slot), slot,
                "oprj_ProParametersFromPEString: Invalid argument (1)");
  EXPECT_EQ(oprj_ProParametersFromPEString("x", nullptr, slot), nullptr);
  expectHolds(slot.chain(),
              "oprj_ProParametersFromPEString: pe_coordsys_from_string failed (2) < ");
  EXPECT_EQ(oprj_ProParametersFromPEString(projected("Fuller", "").c_str(), nullptr, slot),
            nullptr);
  expectHolds(
      slot.chain(),
      "oprj_ProParametersFromPEString: Error returned from oprj_COORDSYSToMapProjection (3) < ");
  forEachAllocationFailure([&](Oerr_Report **err) {
    const bool written = oprj_MapProjectionToPEString(&text, handle.get(), "feet", err);
    if (written) omsc_HeapFree(text);
    return written;
  });
  forEachAllocationFailure([&](Oerr_Report **err) {
    Oprj_MapProjectionEx *parsed = nullptr;
    const bool read = oprj_MapProjectionFromPEString(kUtm.c_str(), &parsed, &text, err);
    oprj_ProjectionFree(&parsed);
    if (read) omsc_HeapFree(text);
    return read;
  });
}

TEST(EngineStrings, PrjFiles) {
  const Loaded loaded;
  const LeakCheck leaks;
  const TemporaryDirectory directory;
  Slot slot;
  const struct {
    std::string content, string;
  } reads[] = {
      {kUtm, kUtm},
      {kUtm.substr(0, 30) + "\r\n" + kUtm.substr(30, 40) + "\n" + kUtm.substr(70) + "   \r\n",
       kUtm},
      {std::string("a\0b\xFF"
                   "c",
                   5),
       "ab"},
      {"   ", " "},
      {std::string(2000, 'x'), std::string(1023, 'x')},
      {"\r\n\n", "(null)"},
      {"", "(null)"}};
  for (const auto &[content, string] : reads) {
    char *text = nullptr;
    EXPECT_EQ(oprj_PEPrjStringGet(directory.write("a.prj", content).c_str(), &text, slot), 1);
    EXPECT_EQ(taken(text), string);
  }
  Oprj_MapInfo info{};
  char *text = nullptr;
  const std::string file = directory.write("b.prj", kUtm), blank = directory.write("c.prj", "\n"),
                    fuller = directory.write("d.prj", projected("Fuller", ""));
  expectRefusal(oprj_PEPrjStringGet(file.c_str(), nullptr, slot), slot,
                "oprj_PEPrjStringGet: Invalid location to return the PRJ String (1)");
  expectRefusal(oprj_PEPrjStringGet(directory.path().c_str(), &text, slot), slot,
                "oprj_PEPrjStringGet: PRJ file does not exist (2)");
  expectRefusal(oprj_PEPrjRead(file.c_str(), nullptr, slot), slot,
                "oprj_PEPrjRead: Invalid input MapInfo (1)");
  expectRefusal(oprj_PEPrjRead("/none", &info, slot), slot,
                "oprj_PEPrjRead: Failed to read PE string from /none (2) < oprj_PEPrjStringGet: "
                "PRJ file does not exist (2)");
  EXPECT_EQ(oprj_PEPrjRead(blank.c_str(), &info, slot), nullptr);
  expectHolds(slot.chain(), "oprj_PEPrjRead: Fail to convert string to coordsys obj. (3)");
  EXPECT_EQ(oprj_PEPrjRead(fuller.c_str(), &info, slot), nullptr);
  expectHolds(slot.chain(),
              "oprj_PEPrjRead: Error returned from oprj_COORDSYSToMapProjection. (4) < ");
  EXPECT_EQ(info.proName.data, nullptr);
  const Record record(oprj_PEPrjRead(file.c_str(), &info, slot));
  ASSERT_TRUE(record) << slot.chain();
  EXPECT_STREQ(info.units.data, "meters");
  EXPECT_STREQ(info.proName.data, record->proName.data);

  // Written, it is the string and nothing else; a failure leaves an empty file.
  ASSERT_EQ(oprj_PEPrjWrite(file.c_str(), record.get(), &info, slot), 1) << slot.chain();
  ASSERT_EQ(oprj_ProParametersToPEString(&text, record.get(), "meters", slot), 1);
  EXPECT_EQ(readFile(file), taken(text));
  expectRefusal(oprj_PEPrjWrite("/none/x", record.get(), &info, slot), slot,
                "oprj_PEPrjWrite: Fail to create projection file /none/x. (2)");
  expectRefusal(oprj_PEPrjWrite("/dev/full", record.get(), &info, slot), slot,
                "oprj_PEPrjWrite: Error writing string to projection file. (7)");
  expectRefusal(oprj_PEPrjWrite(file.c_str(), record.get(), nullptr, slot), slot,
                "oprj_PEPrjWrite: Invalid input MapInfo (1)");
  EXPECT_EQ(oprj_PEPrjWrite(file.c_str(), nullptr, &info, slot), 0);
  expectHolds(slot.chain(), "oprj_PEPrjWrite: Fail to init mapProjection with parameters. (3) < ");
  EXPECT_EQ(readFile(file), "");
  const std::string longName = projected("Mercator", "");
  const Record held(oprj_ProParametersHoldingPEString(
      (longName.substr(0, 8) + std::string(1000, 'n') + longName.substr(8)).c_str(), slot));
  ASSERT_TRUE(held) << slot.chain();
  EXPECT_EQ(oprj_PEPrjWrite(file.c_str(), held.get(), &info, slot), 0);
  expectHolds(slot.chain(),
              "oprj_PEPrjWrite: Empty PE projection string buffer. (6) < pe_coordsys_to_string: ");
  oprj_CharStrFree(&info.proName);
  oprj_CharStrFree(&info.units);
}

}  // namespace
