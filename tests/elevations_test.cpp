// Elevations between vertical datums: against PROJ, over the units and directions, what may be
// wrong.
#include <oprj/elevation.h>
#include <proj.h>

#include <random>

#include "tests/surfaces_support.h"

namespace {

using namespace orvik::test;
using namespace OrvikDatum;

using ElevationPtr = Owner<Oprj_ElevationInfo, oprj_ElevationInfoFree>;

class Elevations : public Surfaces {
 protected:
  static ElevationPtr above(const std::string &datum, int32_t type = OPRJ_ELEVATION_TYPE_HEIGHT,
                            const char *unit = nullptr) {
    ElevationPtr made(oprj_ElevationInfoCreate(nullptr));
    made->elevationType = type;
    oprj_CharStrCreate(unit, &made->elevationUnit, nullptr);
    if (datum == "Undefined") return made;
    const SpheroidPtr spheroid = Surfaces::spheroid(datum.c_str(), nullptr);
    if (spheroid) std::swap(made->verticalDatum, spheroid->datum);
    return made;
  }
  static double converted(const ElevationPtr &from, const ElevationPtr &to, double lon, double lat,
                          double height, Oerr_Report **err) {
    const Oprj_Point place = {lon * kDegree, lat * kDegree};
    double *out = oprj_ElevationConvert(&place, &height, from.get(), nullptr, to.get(), 1, err);
    const double result = out ? *out : kNaN;
    omsc_HeapFree(out);
    return result;
  }
};

TEST_F(Elevations, AreThoseOfProj) {
  const auto projected = [](const std::string &pipeline, double lon, double lat, double height) {
    PJ *peer = proj_create(PJ_DEFAULT_CTX, pipeline.c_str());
    const PJ_COORD out =
        proj_trans(peer, PJ_FWD, proj_coord(lon * kDegree, lat * kDegree, height, 0));
    proj_destroy(peer);
    return out.xyz.z;
  };
  const std::string shifted = "+proj=pipeline +step +proj=cart ",
                    back = " +step +inv +proj=cart +ellps=WGS84";
  const struct {
    const char *from, *to;
    std::string pipeline;
    double tolerance;  ///< metres; Molodensky leaves d² / 2a, 1.8 cm
  } cases[] = {
      {"Geoid", "WGS 84", "+proj=vgridshift +grids=egm96_15.gtx +multiplier=1", 2e-5},
      {"WGS 84", "Geoid", "+proj=vgridshift +grids=egm96_15.gtx +multiplier=-1", 2e-5},
      {"Ordnance Survey of Great Britain 1936 (Mean, 7 parameters)", "WGS 84",
       shifted +
           "+ellps=airy +step +proj=helmert +x=446 +y=-99 +z=544 +rx=-0.945 +ry=-0.261 "
           "+rz=-0.435 +s=-20.8927 +convention=coordinate_frame" +
           back,
       1e-4},
      {"NAD27 (CONUS)", "WGS 84",
       shifted + "+ellps=clrk66 +step +proj=helmert +x=-8 +y=160 +z=176" + back, 0.02},
  };
  std::mt19937 random(11);
  std::uniform_real_distribution<double> unit(0, 1);
  Slot err;
  for (const auto &[from, to, pipeline, tolerance] : cases) {
    const ElevationPtr source = above(from), destination = above(to);
    for (int i = 0; i < 500; ++i) {
      const double lon = -180 + 360 * unit(random), lat = -89 + 178 * unit(random);
      ASSERT_NEAR(converted(source, destination, lon, lat, 100, err),
                  projected(pipeline, lon, lat, 100), tolerance)
          << from << " to " << to << " at " << lon << ' ' << lat << err.chain();
    }
  }
  // printed with the model
  EXPECT_NEAR(converted(above("Geoid"), above("WGS 84"), 0, 0, 0, err), 17.161579, 5e-7);
  EXPECT_NEAR(converted(above("Geoid"), above("WGS 84"), 179.9, -17.3, 0, err), 50.623479, 5e-7);
}

TEST_F(Elevations, ChangeUnitAndDirection) {
  enum {
    H = OPRJ_ELEVATION_TYPE_HEIGHT,
    D = OPRJ_ELEVATION_TYPE_DEPTH,
    U = OPRJ_ELEVATION_TYPE_UNKNOWN
  };
  const double n = 17.1615791;  // at 0, 0
  const struct {
    const char *from, *to;
    int32_t fromType, toType;
    const char *fromUnit, *toUnit;
    double in, out;
    bool told;
  } cases[] = {
      {"Undefined", "Undefined", H, H, "feet", "meters", 10, 3.048, false},
      {"Undefined", "Undefined", H, D, nullptr, "km", 10, -0.01, false},
      {"Undefined", "Undefined", D, U, nullptr, "feet", 3.048, 10, false},
      {"Undefined", "Undefined", U, D, "us_survey_feet", "us_survey_feet", 0.1, 0.1, false},
      {"Geoid", "Undefined", D, H, nullptr, nullptr, 5, -5, true},
      {"Undefined", "WGS 84", H, H, nullptr, nullptr, 5, 5, true},
      {"Geoid", "WGS 84", D, H, nullptr, nullptr, 5, n - 5, false},
      {"Geoid", "WGS 84", D, U, nullptr, nullptr, 5, 5 - n, false},
      {"WGS 84", "Geoid", U, D, "feet", "feet", 10, 10 + n / 0.3048, false},
      {"WGS 84", "WGS 84", D, D, "feet", "feet", 0.1, 0.1, false},
  };
  for (const auto &[from, to, fromType, toType, fromUnit, toUnit, in, out, told] : cases) {
    Slot err;
    LogCapture log;
    const double found =
        converted(above(from, fromType, fromUnit), above(to, toType, toUnit), 0, 0, in, err);
    expectNoReport(err);
    EXPECT_NEAR(found, out, in == out ? 0 : 1e-6)
        << from << ' ' << fromType << " to " << to << ' ' << toType;
    EXPECT_EQ(log.lines().size(), told ? 1u : 0u) << from << " to " << to;
  }
}

/// A file of 3 x 3 nodes from 0, 0, a degree apart: 500, 501, ... and none at the last.
std::string tinyGtx() {
  std::string bytes;
  const auto add = [&](auto value) {
    std::array<char, sizeof value> of = std::bit_cast<std::array<char, sizeof value>>(value);
    bytes.append(of.rbegin(), of.rend());
  };
  for (const double value : {0.0, 0.0, 1.0, 1.0}) add(value);
  for (int32_t i : {3, 3}) add(i);
  for (int i = 0; i < 8; ++i) add(500.0f + static_cast<float>(i));
  add(-88.8888f);
  return bytes;
}

TEST_F(Elevations, OfDatumsUponDatums) {
  Slot err;
  const auto file = GridFile::Open(folder_.write("millimetres.gtx", tinyGtx()).c_str(), err);
  ASSERT_TRUE(file) << err.chain();
  const auto surface = GridShiftSurface::Make(file, ShiftMethod::Linear, NoNodata(), 0.001, err);
  const auto levelling = VerticalDatum::Make("Levelling", "WGS 84", "", surface, "Geoid", err);
  const SpheroidPtr filled(oprj_SpheroidCreate(nullptr));
  ASSERT_TRUE(levelling && levelling->FillSpheroid(filled.get(), err)) << err.chain();
  ElevationPtr local(oprj_ElevationInfoCreate(nullptr));
  std::swap(local->verticalDatum, filled->datum);
  const ElevationPtr geoid = above("Geoid"), ellipsoid = above("WGS 84");
  EXPECT_NEAR(converted(local, geoid, 0.5, 0.5, 1, err), 1.502, 1e-7);
  EXPECT_NEAR(converted(geoid, local, 0.5, 0.5, 1.502, err), 1, 1e-7);
  const double high = converted(local, ellipsoid, 0.5, 0.5, 1, err);
  EXPECT_NEAR(high - converted(geoid, ellipsoid, 0.5, 0.5, 1.502, err), 0, 1e-9);
  // no value: outside, and beside the node without one
  Oprj_ShiftTally before, after;
  oprj_ShiftTallyGet(&before);
  EXPECT_TRUE(std::isnan(converted(local, geoid, 2.5, 0.5, 1, err)));
  EXPECT_TRUE(std::isnan(converted(local, geoid, 1.5, 1.5, 1, err)));
  EXPECT_TRUE(std::isnan(converted(local, geoid, 0.5, 0.5, kNaN, err)));
  oprj_ShiftTallyGet(&after);
  EXPECT_EQ(after.unshifted - before.unshifted, 2);
  EXPECT_FALSE(GridShiftSurface::Make(file, ShiftMethod::Linear, NoNodata(), 0.0, err));
  expectReport(err, "GridShiftSurface::Make", 3, "Invalid unit");
  EXPECT_FALSE(GridShiftSurface::Make(GridFile::Ptr(), ShiftMethod::Linear, NoNodata(), err));
  expectReport(err, "GridShiftSurface::Make", 1, "Invalid input GridFile");
  Oprj_Point point{};
  EXPECT_FALSE(surface->ShiftPoints(&point, &point, 1, false, err));
  expectReport(err, "ShiftSurface::ShiftPoints", 2, "A vertical surface has no horizontal shifts");
}

TEST_F(Elevations, ReportWhatIsWrong) {
  const ElevationPtr good = above("Geoid"), plain = above("WGS 84");
  const Oprj_Point place{};
  double value = 1;
  Slot err;
  expectRefusal(oprj_ElevationConvert(nullptr, &value, good.get(), &value, good.get(), 1, err), err,
                "oprj_ElevationConvert: Empty argument(s). (1)");
  expectRefusal(oprj_ElevationConvert(&place, &value, good.get(), &value, good.get(), 0, err), err,
                "oprj_ElevationConvert: Empty argument(s). (1)");
  ElevationPtr nowhere = above("WGS 84");
  oprj_CharStrCreate("Nowhere", &nowhere->verticalDatum->datumname, nullptr);
  const struct {
    ElevationPtr from, to;
    int32_t code;
    const char *message;
  } cases[] = {{above("Moved"), above("WGS 84"), 2, "Wrong datum types."},
               {above("WGS 84"), above("NAD27"), 2, "Wrong datum types."},
               {above("WGS 84"), std::move(nowhere), 4, "Cannot get datum by name"},
               {above("WGS 84", 0, "elephants"), above("WGS 84"), 5,
                "Error returned from ocvt_UnitSetByName for from"},
               {above("WGS 84"), above("WGS 84", 0, "degrees"), 6,
                "Error returned from ocvt_UnitSetByName for to"}};
  for (const auto &[from, to, code, message] : cases) {
    EXPECT_FALSE(oprj_ElevationConvert(&place, &value, from.get(), &value, to.get(), 1, err));
    expectReport(err, "oprj_ElevationConvert", code, message);
    EXPECT_EQ(value, 1);
  }
  forEachAllocationFailure([&](auto slot) {
    double *out = oprj_ElevationConvert(&place, &value, good.get(), nullptr, plain.get(), 1, slot);
    const bool worked = out != nullptr;
    omsc_HeapFree(out);
    return worked;
  });
}

}  // namespace
