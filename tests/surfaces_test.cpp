// Surface datums and the classes behind them: routes through bases, laws, everything that may be
// wrong with tables and files.
#include <oprj/datum_model.h>

#include <bit>
#include <random>

#include "tests/surfaces_support.h"

namespace {

using namespace orvik::test;
using namespace OrvikDatum;

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
