// Surface datums and the classes behind them: routes through bases, each kind of surface against
// laws or a search by brute force, everything that may be wrong with tables, files and plug-ins.
#include <dlfcn.h>
#include <oprj/datum_model.h>
#include <oprj/elevation.h>
#include <proj.h>

#include <array>
#include <bit>
#include <random>
#include <sstream>

#include "tests/datum_support.h"
#include "tests/loaded_tables.h"
#include "tests/tables_support.h"

namespace {

using namespace orvik::test;
using namespace OrvikDatum;

constexpr double kDegree = M_PI / 180;
const std::string kData = OPRJ_SOURCE_DIR "/data",
                  kPlugIn = OPRJ_BINARY_DIR "/lib/libshift_plugin.so",
                  kNoEntry = OPRJ_BINARY_DIR "/lib/libshift_plugin_without_entry.so";

constexpr const char *kTable = R"tab(spheroidfile "surfaces"
"Clarke 1866" { 0 6378206.4 6356583.8
  "Moved" surface constant longitude 1.5 latitude -2 basedatum "NAD27 (CONUS)"
  "Moved from" surface constant longitude 1.5 latitude -2 basedatum "NAD27 (CONUS)" fromdatum
  "On grid" surface constant longitude 0.5 latitude 0.25 gridbasedatum "NAD27"
  "Second" surface constant longitude 3 latitude 4 basedatum "Moved"
  "Third" surface constant longitude 1 latitude 1 basedatum "Second" fromdatum
  "Drawn" surface vector "drawn.txt" basedatum "NAD27 (CONUS)"
  "Rastered" surface raster longitude "nad27.dat" latitude "nad27.dat" basedatum "NAD83 (DMA)"
  "Loop" surface constant longitude 1 latitude 1 basedatum "Loop too"
  "Loop too" surface constant longitude 1 latitude 1 basedatum "Loop"
  "Orphan" surface constant longitude 1 latitude 1 basedatum "Nowhere"
  "Grid that is none" surface constant longitude 1 latitude 1 gridbasedatum "NAD27 (CONUS)"
  "Grid unsaid" surface constant longitude 1 latitude 1 basedatum "NAD27"
  "On regression" surface constant longitude 1 latitude 1 basedatum "NAD27 (CONUS) (MRE)"
  "No file" surface raster longitude "none.gsb" latitude "none.gsb" basedatum "NAD27 (CONUS)"
  "On no file" surface constant longitude 1 latitude 1 basedatum "No file"
  "Geoid" surface raster longitude "egm96_15.gtx" latitude "egm96_15.gtx" basedatum "WGS 84"
  "On geoid" surface constant longitude 1 latitude 1 basedatum "Geoid"
  "Bad vectors" surface vector "bad.txt" basedatum "NAD27 (CONUS)"
})tab";

/// The installed tables and some surface datums.
class Surfaces : public testing::Test {
 protected:
  Surfaces()
      : projections_("ORVIK_PROJECTIONS_PATH", kData.c_str()),
        datums_("ORVIK_DATUMS_PATH", (folder_.path() + ":/usr/share/proj:" + kData).c_str()) {
    folder_.write("spheroid-surfaces.tab", kTable);
    folder_.write("drawn.txt",
                  "# a square\n-101 39 1 0\n-99 39 1 2\n\n-99 41 3 4 # corner\n-101 41 3 2\n");
    folder_.write("bad.txt", "1 2 3\n");
    oprj_Init(nullptr, nullptr);
  }

  static SpheroidPtr spheroid(const char *datum, Oerr_Report **err) {
    SpheroidPtr made(oprj_SpheroidCreate(nullptr));
    const TextPtr home(oprj_GetSpheroidNameByDatumName(toolkit(), datum, err));
    if (!home || !oprj_SpheroidByName(toolkit(), home.get(), made.get(), err) ||
        !oprj_DatumByName(toolkit(), home.get(), datum, made->datum, err))
      return nullptr;
    return made;
  }

  using Shift4 = decltype(oprj_DatumShift4EllipsoidSurfaceDatum);
  static Points shifted(Shift4 shift, const std::string &from, const std::string &to,
                        const Points &in, Oerr_Report **err) {
    const SpheroidPtr source = spheroid(from.c_str(), err), destination = spheroid(to.c_str(), err);
    Points out(in.size());
    shift(in.data(), source.get(), out.data(), destination.get(), static_cast<int32_t>(in.size()),
          err);
    return out;
  }
  static void anyShift(const Oprj_Point *in, const Oprj_Spheroid *source, Oprj_Point *out,
                       const Oprj_Spheroid *destination, int32_t count, Oerr_Report **err) {
    oprj_DatumShift(in, source, out, destination, count, err);
  }

  TemporaryDirectory folder_;

 private:
  ScopedEnvironment projections_, datums_;
};

/// What is added, in arc-seconds, or the shift to take from the datum before to the next one.
struct Step {
  double east, north;
  const char *from, *to;
};

Points lattice(double west, double south, double east, double north, int side) {
  Points points;
  for (int i = 0; i < side; ++i)
    for (int k = 0; k < side; ++k)
      points.push_back({(west + (east - west) * i / (side - 1)) * kDegree,
                        (south + (north - south) * k / (side - 1)) * kDegree});
  return points;
}

void expectNear(const Points &found, const Points &wanted, double tolerance,
                const std::string &what) {
  for (size_t i = 0; i < wanted.size(); ++i) {
    ASSERT_NEAR(found[i].x, wanted[i].x, tolerance) << what << ", point " << i;
    ASSERT_NEAR(found[i].y, wanted[i].y, tolerance) << what << ", point " << i;
  }
}

TEST_F(Surfaces, LeadThroughTheirBasesAndBack) {
  const struct {
    const char *from, *to;
    std::vector<Step> steps;
  } cases[] = {
      {"Moved", "NAD27 (CONUS)", {{1.5, -2, nullptr, nullptr}}},
      {"Moved from", "NAD27 (CONUS)", {{-1.5, 2, nullptr, nullptr}}},
      {"Moved", "WGS 84", {{1.5, -2, nullptr, nullptr}, {0, 0, "NAD27 (CONUS)", "WGS 84"}}},
      {"Moved", "Moved from", {{3, -4, nullptr, nullptr}}},
      {"Second", "Moved", {{3, 4, nullptr, nullptr}}},
      {"Third", "Moved from", {{2 + 1.5 + 1.5, 3 - 2 - 2, nullptr, nullptr}}},
      {"Third", "Second", {{-1, -1, nullptr, nullptr}}},
      {"On grid", "NAD27", {{0.5, 0.25, nullptr, nullptr}}},
      {"On grid", "NAD83", {{0.5, 0.25, nullptr, nullptr}, {0, 0, "NAD27", "NAD83"}}},
      {"On grid", "WGS 84", {{0.5, 0.25, nullptr, nullptr}, {0, 0, "NAD27", "WGS 84"}}},
      {"WGS 84", "On grid", {{0, 0, "WGS 84", "NAD27"}, {-0.5, -0.25, nullptr, nullptr}}},
      {"On grid",
       "Moved",
       {{0.5, 0.25, nullptr, nullptr},
        {0, 0, "NAD27", "NAD27 (CONUS)"},
        {-1.5, 2, nullptr, nullptr}}},
      {"NAD27", "Moved", {{0, 0, "NAD27", "NAD27 (CONUS)"}, {-1.5, 2, nullptr, nullptr}}},
      {"Rastered", "NAD83 (DMA)", {{0, 0, "NAD27", "NAD83"}}},
      {"NAD83 (DMA)", "Rastered", {{0, 0, "NAD83", "NAD27"}}},
  };
  const Points in = lattice(-119.5, 30.2, -75.3, 48.7, 40);
  for (const auto &[from, to, steps] : cases) {
    const std::string what = std::string(from) + " to " + to;
    Slot err;
    Points wanted = in;
    for (const Step &step : steps) {
      if (step.from) wanted = shifted(anyShift, step.from, step.to, wanted, err);
      else
        for (Oprj_Point &point : wanted)
          point = {point.x + step.east / 3600 * kDegree, point.y + step.north / 3600 * kDegree};
    }
    const Points there = shifted(anyShift, from, to, in, err);
    expectNoReport(err);
    expectNear(there, wanted, 2e-11, what);
    expectNear(shifted(anyShift, to, from, there, err), in, 3e-9, what + " and back");
  }
}

TEST_F(Surfaces, LeaveWhatTheyDoNotCover) {
  Slot err;
  const Points in = {{-100 * kDegree, 40 * kDegree},
                     {-98.9 * kDegree, 40 * kDegree},
                     {kNaN, 0},
                     {1, HUGE_VAL},
                     {-100 * kDegree, 40.5 * kDegree}};
  Oprj_ShiftTally before, after;
  for (const bool inverse : {false, true}) {
    const SpheroidPtr drawn = spheroid("Drawn", err);
    const ShiftSurface::Ptr surface = VectorShiftSurface::Make(
        (folder_.path() + "/drawn.txt").c_str(), ShiftMethod::Linear, NoNodata(), err);
    ASSERT_TRUE(drawn && surface);
    Points out = in;
    Oprj_PointReason reasons[5] = {};
    oprj_ShiftTallyGet(&before);
    EXPECT_TRUE(surface->ShiftPoints(out.data(), out.data(), 5, inverse, reasons, err));
    oprj_ShiftTallyGet(&after);
    EXPECT_EQ(after.unshifted - before.unshifted, 1);
    EXPECT_TRUE(sameBits({in[1], in[3]}, {out[1], out[3]})) << "must pass as they are";
    EXPECT_TRUE(std::isnan(out[2].x) && std::isnan(out[2].y));
    const Oprj_PointReason wanted[5] = {0, OPRJ_POINT_OUTSIDE_GRID, 0, 0, 0};
    EXPECT_TRUE(std::equal(reasons, reasons + 5, wanted));
    // on the square east is lat - 38 (from 1 at the lower side), north lon + 101 + lat - 39
    const double sign = inverse ? -1 : 1;
    EXPECT_NEAR((out[0].x - in[0].x) / kDegree * 3600, sign * 2, inverse ? 1e-2 : 1e-8);
    EXPECT_NEAR((out[4].y - in[4].y) / kDegree * 3600, sign * 2.5, inverse ? 1e-2 : 1e-8);
  }
}

TEST_F(Surfaces, GiveEachPointWhatItGetsAlone) {
  Slot err;
  const std::string drawn = folder_.path() + "/drawn.txt", raster = kData + "/nad27.dat";
  const auto rasterOf = [&](ShiftMethod method) {
    return RasterShiftSurface::Make(raster.c_str(), raster.c_str(), method, NoNodata(), err);
  };
  const auto drawnOf = [&](ShiftMethod method) {
    return VectorShiftSurface::Make(drawn.c_str(), method, NoNodata(), err);
  };
  const ShiftSurface::Ptr surfaces[] = {
      ConstantShiftSurface::Make(1, 2, err),
      RegressionShiftSurface::Make("NAD27 (CONUS) (MRE)", err),
      GridShiftSurface::Make(GridFile::Open(raster.c_str(), err), ShiftMethod::Linear, NoNodata(),
                             err),
      rasterOf(ShiftMethod::Linear),
      rasterOf(ShiftMethod::Nearest),
      drawnOf(ShiftMethod::Linear),
      drawnOf(ShiftMethod::Nearest),
      PlugInShiftSurface::Make(kPlugIn.c_str(), "bounds -100.5 -10 -99.5 41", err)};
  Points in = lattice(-101.5, 38.5, -98.5, 41.5, 31);  // on corners and edges, and outside of them
  const size_t near = in.size();
  for (const Oprj_Point &p : lattice(-131, 20, -63, 50, 9)) in.push_back(p);
  const size_t far = in.size();
  for (const Oprj_Point &p : lattice(179.99, 52, 180.01, 53, 5)) in.push_back(p);
  for (size_t k = 3; k < in.size(); k += 97) in[k] = {k % 2 ? kNaN : HUGE_VAL, 0.7};
  const auto count = static_cast<int32_t>(in.size());
  for (const ShiftSurface::Ptr &surface : surfaces) {
    ASSERT_TRUE(surface) << err.chain();
    for (const bool inverse : {false, true}) {
      SCOPED_TRACE(static_cast<int>(surface->GetKind()) * 10 + inverse);
      Points all = in, alone(in.size());
      std::vector<Oprj_PointReason> reasons(in.size()), own(in.size());
      Oprj_ShiftTally tally[3];
      oprj_ShiftTallyGet(&tally[0]);
      EXPECT_TRUE(surface->ShiftPoints(all.data(), all.data(), count, inverse, &reasons[0], err));
      oprj_ShiftTallyGet(&tally[1]);
      for (size_t k = 0; k < in.size(); ++k)
        EXPECT_TRUE(surface->ShiftPoints(&in[k], &alone[k], 1, inverse, &own[k], err));
      oprj_ShiftTallyGet(&tally[2]);
      EXPECT_TRUE(sameBits(all, alone));
      EXPECT_EQ(reasons, own);
      EXPECT_EQ(tally[1].unshifted - tally[0].unshifted, tally[2].unshifted - tally[1].unshifted);
      if (inverse) continue;
      for (size_t k = 0; surface == surfaces[5] && k < near; ++k) {  // edges are inside
        const double lon = in[k].x / kDegree, lat = in[k].y / kDegree, edge = 1 + 1e-9;
        const bool inside = std::fabs(lon + 100) <= edge && std::fabs(lat - 40) <= edge;
        EXPECT_EQ(reasons[k] == 0, inside || !std::isfinite(in[k].x)) << lon << ' ' << lat;
      }
      // there and back, on both sides of 180 degrees too
      Points back(in.size());
      surface->ShiftPoints(all.data(), back.data(), count, true, &own[0], err);
      for (size_t k = 0; k < in.size(); ++k) {
        // where sub-grids of different origin meet, the ways differ
        const bool smooth =
            surface != surfaces[4] && surface != surfaces[6] && (k < near || k >= far);
        if (!smooth || reasons[k] != 0 || own[k] != 0 || !std::isfinite(in[k].x)) continue;
        EXPECT_NEAR(std::remainder(back[k].x - in[k].x, 2 * M_PI), 0, 2e-9 * kDegree) << k;
        EXPECT_NEAR(back[k].y, in[k].y, 2e-9 * kDegree) << k;
      }
    }
  }
}

TEST_F(Surfaces, HoldTheirFilesThoughTheyAreReplaced) {
  Slot err;
  const std::string path = folder_.path() + "/drawn.txt";
  const SpheroidPtr base = spheroid("NAD27 (CONUS)", err), old = spheroid("Drawn", err);
  std::filesystem::rename(folder_.write("new", "-101 39 9 9\n-99 39 9 9\n-99 41 9 9"), path);
  const SpheroidPtr fresh = spheroid("Drawn", err);
  const auto eastOf = [&](const SpheroidPtr &from) {
    const Oprj_Point in = {-99.5 * kDegree, 39.5 * kDegree};
    Oprj_Point out;
    oprj_DatumShift(&in, from.get(), &out, base.get(), 1, err);
    return (out.x - in.x) / kDegree * 3600;
  };
  EXPECT_NEAR(eastOf(old), 1.5, 1e-8);
  EXPECT_NEAR(eastOf(fresh), 9, 1e-8);
  expectNoReport(err);
}

TEST_F(Surfaces, ReportWhatIsWrongWithDatums) {
  const std::string shift = "oprj_DatumShift4EllipsoidSurfaceDatum: ",
                    noDatum = shift + "Cannot get datum by name (4)";
  const struct {
    const char *from, *to;
    std::string chain;  ///< its beginning
  } cases[] = {
      {"Loop", "WGS 84",
       noDatum + " < oprj_DatumShift4EllipsoidSurfaceDatum: \"Loop\" has more than 8 bases"},
      {"WGS 84", "Orphan", noDatum + " < DatumManager::GetDatum: Error returned from "},
      {"On no file", "WGS 84", noDatum + " < DatumManager::GetDatum: The datum \"No file\" cannot"},
      {"Grid that is none", "WGS 84", shift + "Wrong datum types. (2)"},
      {"Grid unsaid", "WGS 84", shift + "Wrong datum types. (2)"},
      {"On regression", "WGS 84", shift + "Wrong datum types. (2)"},
      {"Geoid", "WGS 84", shift + "Wrong datum types. (2)"},
      {"On geoid", "WGS 84", shift + "Wrong datum types. (2)"},
      {"NAD27", "Moved", shift + "Wrong datum types. (2)"},
      {"WGS 84", "SAD69 (MRE)", shift + "Wrong datum types. (2)"},
  };
  const Points in = {{-1.7, 0.7}};
  for (const auto &[from, to, chain] : cases) {
    Slot err;
    shifted(oprj_DatumShift4EllipsoidSurfaceDatum, from, to, in, err);
    EXPECT_EQ(err.chain().substr(0, chain.size()), chain) << from << " to " << to;
    // the same shift made once reports at every run
    LogCapture log;
    const Points out = shifted(anyShift, "Loop", "WGS 84", in, err);
    expectNoReport(err);
    EXPECT_TRUE(std::isnan(out[0].x) && log.lines().size() > 1);
  }
  Slot err;
  for (const char *name : {"No file", "Bad vectors"}) {
    EXPECT_FALSE(spheroid(name, err));
    expectReport(err, "oprj_DatumByName", 11, "Error returned from oprj_ShiftSurfaceDuplicate");
  }
  const SpheroidPtr moved = spheroid("Moved", err);
  Oprj_Point point = in[0];
  const Oprj_Spheroid *end = moved.get();
  for (const auto &[from, to, count] :
       {std::tuple(end, end, 0), {nullptr, end, 1}, {end, nullptr, 1}}) {
    oprj_DatumShift4EllipsoidSurfaceDatum(&point, from, &point, to, count, err);
    expectReport(err, "oprj_DatumShift4EllipsoidSurfaceDatum", 1, "Empty argument(s).");
  }
  oprj_DatumShift4EllipsoidSurfaceDatum(&point, end, &point, end, 1, err);
  expectNoReport(err);
  EXPECT_EQ(point.x, in[0].x);
  // a record that was read from somewhere has no surface: it is looked up
  oprj_ShiftSurfaceFree(&moved->datum->shiftSurface);
  const SpheroidPtr base = spheroid("NAD27 (CONUS)", err);
  oprj_DatumShift4EllipsoidSurfaceDatum(&point, end, &point, base.get(), 1, err);
  expectNoReport(err);
  EXPECT_NEAR(point.x - in[0].x, 1.5 / 3600 * kDegree, 1e-15);
}

TEST_F(Surfaces, OfRecords) {
  Slot err;
  const LeakCheck leaks;
  ParametersPtr record(oprj_ProParametersCreate(nullptr));
  const auto surfaceOf = [&](const char *sphere, const char *datum, Oerr_Report **slot) {
    oprj_CharStrCreate(sphere, &record->proSpheroid->sphereName, nullptr);
    oprj_CharStrCreate(datum, &record->proSpheroid->datum->datumname, nullptr);
    Oprj_ShiftSurface *found = oprj_ShiftSurfaceGetByProParams(record.get(), slot);
    const bool any = found != nullptr;
    oprj_ShiftSurfaceFree(&found);
    return any;
  };
  EXPECT_TRUE(surfaceOf("Clarke 1866", "Moved", err));
  EXPECT_TRUE(surfaceOf("WGS 84", "Moved", err));  // under the datum's own spheroid
  expectNoReport(err);
  EXPECT_FALSE(surfaceOf("WGS 84", "Nowhere", err));
  expectReport(err, "oprj_ShiftSurfaceGetByProParams", 2, "Error returned from oprj_DatumByName");
  EXPECT_FALSE(surfaceOf("WGS 84", "WGS 84", err));
  expectReport(err, "oprj_ShiftSurfaceGetByProParams", 3, "Wrong datum types.");
  expectRefusal(oprj_ShiftSurfaceGetByProParams(nullptr, err), err,
                "oprj_ShiftSurfaceGetByProParams: Invalid input Oprj_ProParameters (1)");
  expectRefusal(oprj_ShiftSurfaceDuplicate(nullptr, err), err,
                "oprj_ShiftSurfaceDuplicate: Invalid input Oprj_ShiftSurface (1)");

  const SpheroidPtr drawn = spheroid("Drawn", err), base = spheroid("NAD27 (CONUS)", err);
  const Points in = {{-100 * kDegree, 40 * kDegree}};
  Points out(1);
  forEachAllocationFailure([&](auto slot) {
    Oprj_ShiftSurface *copy = oprj_ShiftSurfaceDuplicate(drawn->datum->shiftSurface, slot);
    const bool made = copy != nullptr;
    oprj_ShiftSurfaceFree(&copy);
    return made;
  });
  forEachAllocationFailure([&](auto slot) { return spheroid("Drawn", slot) != nullptr; });
  forEachAllocationFailure([&](auto slot) {
    oprj_DatumShift4EllipsoidSurfaceDatum(in.data(), drawn.get(), out.data(), base.get(), 1, slot);
    return *slot == nullptr;
  });
  forEachAllocationFailure([&](auto slot) {
    return VectorShiftSurface::Make((folder_.path() + "/drawn.txt").c_str(), ShiftMethod::Nearest,
                                    NoNodata(), slot) != nullptr;
  });
}

TEST_F(Surfaces, ServeTwoThreads) {
  Slot err;
  const SpheroidPtr source = spheroid("Third", err), destination = spheroid("Rastered", err);
  const Points in = lattice(-120, 25, -70, 49, 60);
  Points serial(in.size());
  anyShift(in.data(), source.get(), serial.data(), destination.get(), 3600, err);
  inThreads(2, [&](size_t) {
    for (int i = 0; i < 20; ++i) {
      Points out(in.size());
      Slot own;
      anyShift(in.data(), source.get(), out.data(), destination.get(), 3600, own);
      ASSERT_TRUE(!own.failed() && sameBits(out, serial));
    }
  });
}

// --- elevations ---

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

// --- vectors ---

struct Known {
  double lon, lat, east, north;
};

ShiftSurface::Ptr drawn(const TemporaryDirectory &folder, const std::vector<Known> &points,
                        ShiftMethod method, Oerr_Report **err) {
  std::ostringstream text;
  text.precision(17);
  for (const Known &p : points)
    text << p.lon << ',' << p.lat << '\t' << p.east << ' ' << p.north << "\r\n";
  return VectorShiftSurface::Make(folder.write("points.txt", text.str()).c_str(), method,
                                  NoNodata(), err);
}

/// Delaunay by definition: the triangle around p that has no other point in its circumcircle.
bool byDefinition(const std::vector<Known> &points, double x, double y, Shift &shift) {
  const auto cross = [](const Known &a, const Known &b, double px, double py) {
    return (b.lon - a.lon) * (py - a.lat) - (b.lat - a.lat) * (px - a.lon);
  };
  for (const Known &a : points)
    for (const Known &b : points)
      for (const Known &c : points) {
        const double area = cross(a, b, c.lon, c.lat);
        const double wa = cross(b, c, x, y) / area, wb = cross(c, a, x, y) / area, wc = 1 - wa - wb;
        if (!(area > 0 && wa >= 0 && wb >= 0 && wc >= 0)) continue;
        bool empty = true;
        for (const Known &d : points) {
          const auto row = [&](const Known &p) {
            const double px = p.lon - d.lon, py = p.lat - d.lat;
            return std::array{px, py, px * px + py * py};
          };
          const auto p = row(a), q = row(b), r = row(c);
          const double in = p[0] * (q[1] * r[2] - q[2] * r[1]) -
                            p[1] * (q[0] * r[2] - q[2] * r[0]) + p[2] * (q[0] * r[1] - q[1] * r[0]);
          empty &= !(in > 1e-12);
        }
        if (!empty) continue;
        shift = {wa * a.east + wb * b.east + wc * c.east,
                 wa * a.north + wb * b.north + wc * c.north, 0};
        return true;
      }
  return false;
}

TEST(VectorSurfaces, AreDelaunaysTrianglesAndNearestPoints) {
  const TemporaryDirectory folder;
  std::mt19937 random(7);
  std::uniform_real_distribution<double> unit(0, 1);
  for (const double west : {-3.0, 176.0}) {  // beside Greenwich, across 180 degrees
    std::vector<Known> points;
    for (int i = 0; i < 14; ++i)
      points.push_back(
          {west + 8 * unit(random), 50 + 5 * unit(random), unit(random), unit(random)});
    auto written = points;
    for (Known &p : written) p.lon = std::remainder(p.lon, 360);
    Slot err;
    const auto linear = drawn(folder, written, ShiftMethod::Linear, err),
               nearest = drawn(folder, written, ShiftMethod::Nearest, err);
    ASSERT_TRUE(linear && nearest) << err.chain();
    int covered = 0;
    for (int i = 0; i < 1000; ++i) {
      const double x = west + 8 * unit(random), y = 50 + 5 * unit(random);
      Shift wanted, found;
      const bool has = byDefinition(points, x, y, wanted);
      ASSERT_EQ(linear->GetShift(std::remainder(x, 360), y, found), has) << x << ' ' << y;
      if (!has) continue;
      ++covered;
      ASSERT_NEAR(found.east, wanted.east, 1e-5);  // points are rounded to 1e-7 degree
      ASSERT_NEAR(found.north, wanted.north, 1e-5);
      ASSERT_TRUE(nearest->GetShift(std::remainder(x, 360), y, found));
      const auto distance = [&](const Known &p) { return std::hypot(p.lon - x, p.lat - y); };
      const Known &closest = *std::min_element(
          points.begin(), points.end(),
          [&](const Known &a, const Known &b) { return distance(a) < distance(b); });
      ASSERT_EQ(found.east, closest.east);
    }
    EXPECT_GT(covered, 300);
    Extent extent;
    EXPECT_TRUE(linear->GetExtent(extent));
    EXPECT_EQ(extent.west > extent.east, west > 0);
  }
}

TEST(VectorSurfaces, RepeatLinearShiftsOnLatticesAndSlivers) {
  const TemporaryDirectory folder;
  std::vector<Known> regular, hedgehog;  // four on every circle; triangles as thin as can be
  const auto add = [](std::vector<Known> &to, double lon, double lat) {
    to.push_back({lon, lat, lon / 7 + lat, 3 - lat / 2});
  };
  for (int i = 0; i <= 60; ++i)
    for (int k = 0; k <= 60; ++k) add(regular, -170 + i * 5.5, -88 + k * 2.9);
  for (int i = 0; i <= 300; ++i) {
    add(hedgehog, i * 0.01, 0.002 * (i % 2) + 1e-7 * (i % 3));
    add(hedgehog, i * 0.01 + 0.005, 60 + i * i * 1e-6);
  }
  std::mt19937 random(3);
  std::uniform_real_distribution<double> unit(0, 1);
  for (const auto &[points, west, east, south, north] :
       {std::tuple(regular, -170.0, 160.0, -88.0, 86.0), {hedgehog, 0.1, 2.9, 0.01, 59.9}}) {
    Slot err;
    const auto surface = drawn(folder, points, ShiftMethod::Linear, err);
    ASSERT_TRUE(surface) << err.chain();
    for (int i = 0; i < 20000; ++i) {
      const double lon = west + (east - west) * unit(random),
                   lat = south + (north - south) * unit(random);
      Shift found;
      ASSERT_TRUE(surface->GetShift(lon, lat, found)) << lon << ' ' << lat;
      ASSERT_NEAR(found.east, lon / 7 + lat, 1e-6);
      ASSERT_NEAR(found.north, 3 - lat / 2, 1e-6);
    }
  }
}

TEST(VectorSurfaces, RefuseBadFiles) {
  const TemporaryDirectory folder;
  const struct {
    std::string content;
    int32_t code;
    const char *message;  ///< behind the path
  } cases[] = {
      {"", 4, ": fewer than three points, or all on one line"},
      {"0 0 1 1\n1 0 1 1\n", 4, ": fewer than three points, or all on one line"},
      {"0 0 1 1\n1 1 1 1\n2 2 1 1\n3 3 1 1", 4, ": fewer than three points, or all on one line"},
      {"# c\n\n0 0 1\n", 2, ":3: expected longitude, latitude and the two shifts"},
      {"0 0 1 1 1\n", 2, ":1: expected longitude, latitude and the two shifts"},
      {"0 0 1 nan\n", 2, ":1: expected longitude, latitude and the two shifts"},
      {"0 0 1 1e999\n", 2, ":1: expected longitude, latitude and the two shifts"},
      {"0 90.1 1 1\n", 2, ":1: not a place on the globe"},
      {"361 0 1 1\n", 2, ":1: not a place on the globe"},
      {"0 0 1 1\n5 5 1 1\n\n0.00000001 0 2 2\n3 9 1 1", 3,
       ":4: two points at one place, the other in line 1"},
      {"180 0 1 1\n-180 0 1 1\n3 3 3 3", 3, ":2: two points at one place, the other in line 1"},
  };
  for (const auto &[content, code, message] : cases) {
    const std::string path = folder.write("bad.txt", content);
    Slot err;
    EXPECT_FALSE(VectorShiftSurface::Make(path.c_str(), ShiftMethod::Linear, NoNodata(), err));
    expectReport(err, "VectorShiftSurface::Make", code, (path + message).c_str());
  }
  Slot err;
  EXPECT_FALSE(
      VectorShiftSurface::Make(folder.path().c_str(), ShiftMethod::Linear, NoNodata(), err));
  expectReport(err, "VectorShiftSurface::Make", 1, "Error returned from ofio_FileRead");
  // a corner without a value takes its triangles with it
  const auto holed = VectorShiftSurface::Make(
      folder.write("holed.txt", "0 0 1 1\n2 0 1 1\n2 2 1 1\n0 2.2 -9 1").c_str(),
      ShiftMethod::Linear, -9, err);
  Shift shift;
  EXPECT_TRUE(holed && holed->GetShift(1.9, 1, shift) && !holed->GetShift(0.1, 1, shift));
}

// --- plug-ins ---

TEST(PlugIns, ServeAndLeave) {
  const LeakCheck leaks;
  const auto isLoaded = [](const std::string &path) {
    void *handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle) dlclose(handle);
    return handle != nullptr;
  };
  Slot err;
  {
    const auto surface = PlugInShiftSurface::Make(kPlugIn.c_str(), "bounds 170 0 -170 10", err);
    ASSERT_TRUE(surface) << err.chain();
    Extent extent;
    EXPECT_TRUE(surface->GetExtent(extent) && extent.west == 170 && extent.north == 10);
    Shift shift;
    EXPECT_TRUE(surface->GetShift(-175, 5, shift) && shift.east == -17.5 && shift.north == 0.5);
    EXPECT_FALSE(surface->GetShift(165, 5, shift) || surface->GetShift(175, 11, shift));
    const auto everywhere = PlugInShiftSurface::Make(kPlugIn.c_str(), nullptr, err);
    EXPECT_TRUE(everywhere && !everywhere->GetExtent(extent));
    EXPECT_FALSE(everywhere->GetShift(0, -1, shift)) << "it says that it has none";
    const auto mute = PlugInShiftSurface::Make(kPlugIn.c_str(), "cannot tell", err);
    Oprj_Point point = {1, 1};
    Oprj_ShiftTally before, after;
    oprj_ShiftTallyGet(&before);
    EXPECT_FALSE(mute && mute->ShiftPoints(&point, &point, 1, true, err));
    oprj_ShiftTallyGet(&after);
    EXPECT_EQ(err.chain(),
              "ShiftSurface::ShiftPoints: The surface cannot tell its shifts (3) < "
              "PlugInShiftSurface::GetShifts: The plug-in test cannot tell its shifts (1)");
    EXPECT_EQ(after.unshifted, before.unshifted);
  }
  EXPECT_FALSE(isLoaded(kPlugIn));
  const std::string nothing = kPlugIn + " has no shift surfaces of version 1";
  const struct {
    std::string library, argument;
    const char *fault;
    int32_t code;
    std::string message;
  } cases[] = {
      {"/no/such.so", "", nullptr, 1, "Error returned from odll_Open"},
      {kNoEntry, "", nullptr, 2, kNoEntry + " does not export oprj_ShiftSurfacePlugInGet"},
      {kPlugIn, "", "null", 3, nothing},
      {kPlugIn, "", "version", 3, nothing},
      {kPlugIn, "", "size", 3, nothing},
      {kPlugIn, "", "hole", 3, nothing},
      {kPlugIn, "fails", nullptr, 4, kPlugIn + ": open failed: " + std::string(255, 'x')},
      {kPlugIn, "bounds 0 10 5 -10", nullptr, 5, kPlugIn + ": bad extent"},
      {kPlugIn, "bounds nan 0 5 10", nullptr, 5, kPlugIn + ": bad extent"},
      {kPlugIn, "bounds 0 0 500 10", nullptr, 5, kPlugIn + ": bad extent"},
  };
  for (const auto &[library, argument, fault, code, message] : cases) {
    const ScopedEnvironment kind("OPRJ_TEST_PLUGIN", fault);
    EXPECT_FALSE(PlugInShiftSurface::Make(library.c_str(), argument.c_str(), err));
    expectReport(err, "PlugInShiftSurface::Make", code, message.c_str());
    EXPECT_FALSE(isLoaded(library)) << message;
  }
  forEachAllocationFailure(
      [&](auto slot) { return PlugInShiftSurface::Make(kPlugIn.c_str(), "", slot) != nullptr; });
}

// --- classes ---

TEST_F(Surfaces, AndDatumsAsObjects) {
  Slot err;
  DatumManager &manager = DatumManager::Instance();
  std::vector<std::string> names;
  ASSERT_TRUE(manager.GetDatumNames(names, err));
  // what the tables say of a datum, by name and by its object, is the same
  int32_t kinds[5] = {};
  for (const std::string &name : names) {
    const Datum::Ptr datum = manager.GetDatum(name.c_str(), err);
    if (name == "No file" || name == "Bad vectors") {
      expectReport(err, "DatumManager::GetDatum", 3,
                   ("The datum \"" + name + "\" cannot be made").c_str());
      continue;
    }
    ASSERT_TRUE(datum) << err.chain();
    ++kinds[datum->GetDatumType()];
    const SpheroidPtr wanted = spheroid(name.c_str(), err), filled(oprj_SpheroidCreate(nullptr));
    ASSERT_TRUE(wanted && datum->FillSpheroid(filled.get(), err)) << err.chain();
    EXPECT_TRUE(oprj_SpheroidsEqual2(wanted.get(), filled.get(), 0, err)) << name;
    EXPECT_EQ(wanted->datum->type, filled->datum->type) << name;
    EXPECT_EQ(wanted->datum->gridData == nullptr, filled->datum->gridData == nullptr) << name;
    EXPECT_EQ(wanted->datum->shiftSurface == nullptr, filled->datum->shiftSurface == nullptr)
        << name;
  }
  EXPECT_GT(kinds[OPRJ_DATUM_PARAMETRIC], 1000);
  EXPECT_EQ(kinds[OPRJ_DATUM_REGRESSION], 8);
  EXPECT_GT(kinds[OPRJ_DATUM_SURFACE], 10);

  // the program's own
  std::string told;
  LogCapture log;
  const auto first =
      manager.ConnectChanged([](DatumChange, const char *) { throw std::runtime_error("no"); });
  const auto second = manager.ConnectChanged([&](DatumChange change, const char *name) {
    told += (change == DatumChange::Added ? "+" : "-") + std::string(name);
    manager.GetDatum(name, nullptr);  // the lock is free
  });
  const auto regression = RegressionShiftSurface::Make("NAD27 (CONUS) (MRE)", err);
  const auto own =
      SurfaceDatum::Make("Own", "Clarke 1866", "mine", regression, "WGS 84", false, false, err);
  ASSERT_TRUE(own) << err.chain();
  EXPECT_TRUE(manager.AddDatum(own, err));
  EXPECT_FALSE(manager.AddDatum(own, err));
  expectReport(err, "DatumManager::AddDatum", 2, "Datum \"Own\" exists already");
  EXPECT_EQ(manager.GetDatum("Own", err), own);
  const auto upon =
      SurfaceDatum::Make("Upon", "Clarke 1866", nullptr, ConstantShiftSurface::Make(1, 1, err),
                         "Own", false, false, err);
  const SpheroidPtr from(oprj_SpheroidCreate(nullptr)), to = spheroid("WGS 84", err);
  ASSERT_TRUE(upon && upon->FillSpheroid(from.get(), err));
  Points in = {{-100 * kDegree, 40 * kDegree}}, out(1), regressed(1);
  oprj_DatumShift4EllipsoidSurfaceDatum(in.data(), from.get(), out.data(), to.get(), 1, err);
  expectNoReport(err);
  in[0] = {in[0].x + kDegree / 3600, in[0].y + kDegree / 3600};
  oprj_DatumShiftRegression(in.data(), regressed.data(), 1, "NAD27 (CONUS) (MRE)", 1, err);
  expectNear(out, regressed, 1e-15, "own datums");
  EXPECT_TRUE(manager.RemoveDatum("Own", err));
  EXPECT_FALSE(manager.RemoveDatum("Own", err));
  expectReport(err, "DatumManager::RemoveDatum", 1, "Datum \"Own\" is not the program's own");
  EXPECT_EQ(told, "+Own-Own");
  EXPECT_EQ(log.lines().size(), 2u);
  second.disconnect();
  first.disconnect();

  EXPECT_TRUE(manager.SetDatumsPath("/nowhere", err));
  EXPECT_FALSE(manager.ResolveDatumFileName("nad27.dat", err));
  EXPECT_NE(err.chain().find("/nowhere"), std::string::npos) << err.chain();
  EXPECT_TRUE(manager.SetDatumsPath(nullptr, err));
  EXPECT_EQ(taken(manager.ResolveDatumFileName("nad27.dat", err)), kData + "/nad27.dat");
  const double tooLong[7] = {0, 0, 0, 0, 0, 0, 0.2};
  const ShiftSurface::Ptr none;
  EXPECT_FALSE(EllipsoidDatum::MakeParametric("x", "WGS 84", "", tooLong, err));
  expectReport(err, "EllipsoidDatum::MakeParametric", 2, "Invalid datum parameters");
  EXPECT_FALSE(EllipsoidDatum::MakeGrid("x", "WGS 84", "", "", err));
  expectReport(err, "EllipsoidDatum::MakeGrid", 2, "Invalid grid name");
  EXPECT_FALSE(EllipsoidDatum::MakeRegression("x", "WGS 84", "", err));
  expectReport(err, "EllipsoidDatum::MakeRegression", 2, "Datum \"x\" has no regression equations");
  EXPECT_FALSE(SurfaceDatum::Make("x", "WGS 84", "", none, "y", false, false, err));
  expectReport(err, "SurfaceDatum::Make", 3, "Invalid surface");
  EXPECT_FALSE(VerticalDatum::Make("x", "WGS 84", "", regression, "y", err));
  expectReport(err, "VerticalDatum::Make", 3, "Invalid surface");
  EXPECT_FALSE(ConstantShiftSurface::Make(kNaN, 0, err));
  expectReport(err, "ConstantShiftSurface::Make", 1, "Invalid shift");
}

}  // namespace
