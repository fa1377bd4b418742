// Datum shifts of all kinds, on points scattered over the conterminous states, and what they cost
// before the first point; PROJ on the official grid in CTABLE V2, when the file is named.
#include <oprj/datum_model.h>
#include <oprj/oprj.h>
#include <proj.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>

#include "lanes/kernels.h"
#include "report.h"

namespace bench {
namespace {

constexpr double kDegree = 3.14159265358979323846 / 180;

using Shift = void (*)(const std::vector<Oprj_Point> &in, std::vector<Oprj_Point> &out);

/// NAD27 and NAD83 as the tables have them, with the shipped grids.
const Oprj_Spheroid *named(const char *sphere, const char *datum) {
  Oint_Toolkit *toolkit = oint_InitToolkit(nullptr);
  Oprj_Spheroid *spheroid = oprj_SpheroidCreate(nullptr);
  Oerr_Report *err = nullptr;
  if (!oprj_SpheroidByName(toolkit, sphere, spheroid, &err) ||
      !oprj_DatumByName(toolkit, sphere, datum, spheroid->datum, &err)) {
    oerr_PrintErrorReport(err);
    std::exit(1);
  }
  return spheroid;
}
const Oprj_Datum *nad27() {
  static const Oprj_Spheroid *const spheroid = named("Clarke 1866", "NAD27");
  return spheroid->datum;
}
const Oprj_Datum *nad83() {
  static const Oprj_Spheroid *const spheroid = named("GRS 1980", "NAD83");
  return spheroid->datum;
}
const Oprj_Spheroid *wgs84() {
  static const Oprj_Spheroid *const spheroid = named("WGS 84", "WGS 84");
  return spheroid;
}
/// UTM zone 17 on a datum.
Oprj_ProParameters *utm(const char *sphere, const char *datum) {
  Oerr_Report *err = nullptr;
  Oint_Toolkit *toolkit = oint_InitToolkit(nullptr);
  Oprj_ProParameters *record = oprj_ProParametersCreateByName(toolkit, "UTM", &err);
  if (!record || !oprj_SpheroidByName(toolkit, sphere, record->proSpheroid, &err) ||
      !oprj_DatumByName(toolkit, sphere, datum, record->proSpheroid->datum, &err)) {
    oerr_PrintErrorReport(err);
    std::exit(1);
  }
  record->proZone = 17;
  return record;
}
const Oprj_ProjectionPair *utmPair() {
  static const Oprj_ProjectionPair *const pair = oprj_ProjectionPairInit(
      oint_InitToolkit(nullptr), utm("Clarke 1866", "NAD27"), utm("GRS 1980", "NAD83"), nullptr);
  return pair;
}

const OrvikDatum::ShiftSurface &raster() {
  constexpr const char *kGrid = OPRJ_SOURCE_DATA "/nad27.dat";
  static const auto surface = OrvikDatum::RasterShiftSurface::Make(
      kGrid, kGrid, OrvikDatum::ShiftMethod::Linear, OrvikDatum::NoNodata(), nullptr);
  return *surface;
}
/// 20,000 scattered points.
const OrvikDatum::ShiftSurface &triangles() {
  static const auto surface = [] {
    const std::string path = std::filesystem::temp_directory_path().string() + "/oprj-bench.txt";
    std::mt19937_64 source(4);
    std::uniform_real_distribution<double> lon(-125, -66), lat(24, 50);
    std::ofstream file(path);
    for (int i = 0; i < 20000; ++i)
      file << lon(source) << ' ' << lat(source) << ' ' << i % 7 << ' ' << i % 5 << '\n';
    file.close();
    auto made = OrvikDatum::VectorShiftSurface::Make(path.c_str(), OrvikDatum::ShiftMethod::Linear,
                                                     OrvikDatum::NoNodata(), nullptr);
    std::filesystem::remove(path);
    return made;
  }();
  return *surface;
}
/// The conterminous sub-grid alone, as PROJ has it.
const Oprj_GridInfo *conterminous() {
  static const Oprj_GridInfo *const grid = [] {
    Oprj_GridInfo *chain = oprj_GridHeaderRead(nad27()->gridData, nullptr);
    while (chain && std::string(chain->name) != "conus") chain = chain->next;
    if (chain) chain->next = nullptr;
    return chain;
  }();
  return grid;
}
int32_t countOf(const std::vector<Oprj_Point> &points) {
  return static_cast<int32_t>(points.size());
}

constexpr struct {
  const char *name;
  Shift run;
  const char *proj;  ///< %s: the official conterminous grid
  bool back;
  bool fromUtm = false;  ///< zone 17, of points that lie in it
} kJobs[] = {
    {"grid, forward, one sub-grid",
     [](const auto &in, auto &out) {
       oprj_ShiftForward(conterminous(), nad27()->gridData, in.data(), out.data(), countOf(in),
                         nullptr);
     },
     "+proj=hgridshift +grids=%s", false},
    {"grid, inverse, one sub-grid",
     [](const auto &in, auto &out) {
       oprj_ShiftInverse(conterminous(), nad27()->gridData, in.data(), out.data(), countOf(in),
                         nullptr);
     },
     "+proj=hgridshift +grids=%s", true},
    {"NAD27 to NAD83, 25 sub-grids",
     [](const auto &in, auto &out) {
       oprj_DatumShiftGrid(in.data(), nad27(), out.data(), nad83(), countOf(in), nullptr);
     },
     "+proj=hgridshift +grids=%s", false},
    {"NAD83 to NAD27, 25 sub-grids",
     [](const auto &in, auto &out) {
       oprj_DatumShiftGrid(in.data(), nad83(), out.data(), nad27(), countOf(in), nullptr);
     },
     "+proj=hgridshift +grids=%s", true},
    {"regression, NAD27 (CONUS)",
     [](const auto &in, auto &out) {
       oprj_DatumShiftRegression(in.data(), out.data(), countOf(in), "NAD27 (CONUS) (MRE)", 1,
                                 nullptr);
     },
     nullptr, false},
    {"regression, European 1950",
     [](const auto &in, auto &out) {
       oprj_DatumShiftRegression(in.data(), out.data(), countOf(in),
                                 "European 1950 (West Europe) (MRE)", 1, nullptr);
     },
     nullptr, false},
    {"pair, UTM 17 on NAD27 to UTM 17 on NAD83",
     [](const auto &in, auto &out) {
       oprj_ProjectPair(utmPair(), in.data(), out.data(), countOf(in), nullptr);
     },
     "+proj=pipeline +step +inv +proj=utm +zone=17 +ellps=clrk66 +step +proj=hgridshift +grids=%s "
     "+step +proj=utm +zone=17 +ellps=GRS80",
     false, true},
    {"Molodensky, NAD27 (CONUS) to WGS 84",
     [](const auto &in, auto &out) {
       static const Oprj_Spheroid *const from = named("Clarke 1866", "NAD27 (CONUS)");
       oprj_DatumShift(in.data(), from, out.data(), wgs84(), countOf(in), nullptr);
     },
     "+proj=molodensky +ellps=clrk66 +dx=-8 +dy=160 +dz=176 +da=-69.4 +df=-3.7264639e-05", false},
    {"seven parameters, European 1950 to WGS 84",
     [](const auto &in, auto &out) {
       static const Oprj_Spheroid *const from =
           named("International 1909", "European 1950 (Mean, 7 parameters)");
       oprj_DatumShift(in.data(), from, out.data(), wgs84(), countOf(in), nullptr);
     },
     "+proj=pipeline +step +proj=cart +ellps=intl +step +proj=helmert +x=-102 +y=-102 +z=-129 "
     "+rx=0.413 +ry=-0.184 +rz=0.385 +s=2.4664 +convention=coordinate_frame +step +inv +proj=cart "
     "+ellps=WGS84",
     false},
    {"surface, raster of 25 sub-grids",
     [](const auto &in, auto &out) {
       raster().ShiftPoints(in.data(), out.data(), countOf(in), false, nullptr);
     },
     nullptr, false},
    {"surface, raster, inverse",
     [](const auto &in, auto &out) {
       raster().ShiftPoints(in.data(), out.data(), countOf(in), true, nullptr);
     },
     nullptr, false},
    {"surface, 20,000 scattered points",
     [](const auto &in, auto &out) {
       triangles().ShiftPoints(in.data(), out.data(), countOf(in), false, nullptr);
     },
     nullptr, false},
};

/// An NTv2 file of 100 MB, all of its nodes 0 and not stored.
void writeLargeNtv2(const std::string &path) {
  constexpr int32_t kSide = 2500;
  constexpr double kStep = 10;  // arc-seconds
  std::string bytes;
  const auto record = [&](const char *name, auto value) {
    char field[16] = {};
    std::snprintf(field, sizeof field, "%-8s", name);
    if constexpr (std::is_arithmetic_v<decltype(value)>)
      std::memcpy(field + 8, &value, sizeof value);
    else std::memcpy(field + 8, value, 8);
    bytes.append(field, sizeof field);
  };
  record("NUM_OREC", 11);
  record("NUM_SREC", 11);
  record("NUM_FILE", 1);
  record("GS_TYPE", "SECONDS ");
  for (const char *name : {"VERSION", "SYSTEM_F", "SYSTEM_T"}) record(name, "        ");
  for (const char *name : {"MAJOR_F", "MINOR_F", "MAJOR_T", "MINOR_T"}) record(name, 0.0);
  record("SUB_NAME", "LARGE   ");
  record("PARENT", "NONE    ");
  for (const char *name : {"CREATED", "UPDATED"}) record(name, "        ");
  const double extent = (kSide - 1) * kStep;
  for (const double value : {0.0, extent, 0.0, extent, kStep, kStep}) record("", value);
  record("GS_COUNT", kSide * kSide);
  std::ofstream(path, std::ios::binary) << bytes;
  std::filesystem::resize_file(path, bytes.size() + size_t{16} * kSide * kSide);
}

/// Opening grid files, of which nobody has one open.
void benchOpening(int repetitions) {
  const std::string folder = std::filesystem::temp_directory_path().string() + "/oprj-bench-";
  const std::string proj = "/usr/share/proj/", ntv2 = folder + "large.gsb",
                    tiff = folder + "geoid.tif";
  writeLargeNtv2(ntv2);
  if (const auto geoid = OrvikDatum::GridFile::Open((proj + "egm96_15.gtx").c_str(), nullptr))
    geoid->Write(tiff.c_str(), OrvikDatum::GridFormat::GeoTiff, nullptr);
  std::printf("\n| opening a grid file | microseconds |\n|---|---|\n");
  const struct {
    const char *name;
    std::string path;
  } files[] = {{"NTv2, 100 MB, one sub-grid", ntv2},
               {"NTv2, 0.3 MB", proj + "nzgd2kgrid0005.gsb"},
               {"multi-grid, 2.5 MB, 25 sub-grids", OPRJ_SOURCE_DATA "/nad27.dat"},
               {"GTX, 4 MB", proj + "egm96_15.gtx"},
               {"GeoTIFF, the same, deflated", tiff}};
  for (const auto &file : files) {
    bool opened = true;
    const Times times = measure(
        {{"open", 1,
          [&] { opened = opened && OrvikDatum::GridFile::Open(file.path.c_str(), nullptr); }}},
        repetitions);
    std::printf("| %s | %s |\n", file.name,
                opened ? std::to_string(times.at("open") / 1000).c_str() : "cannot be opened");
  }
  std::filesystem::remove(ntv2);
  std::filesystem::remove(tiff);
}

/// Pairs whose datums somebody has open: each made, used for a point and freed.
void benchPairs(int repetitions) {
  std::printf(
      "\n| a pair that needs a grid, microseconds | made and used for one point | one point a call "
      "|\n|---|---|---|\n");
  struct Ended {
    const char *name;
    const Oprj_ProParameters *record;
  };
  const Ended ends[] = {{"NAD27", utm("Clarke 1866", "NAD27")},
                        {"NAD83", utm("GRS 1980", "NAD83")},
                        {"HARN", utm("GRS 1980", "HARN")},
                        {"WGS 84", utm("WGS 84", "WGS 84")}};
  for (const Ended &from : ends) {
    for (const Ended &to : ends) {
      if (from.record == to.record) continue;
      Oprj_ProjectionPair *lasting =
          oprj_ProjectionPairInit(oint_InitToolkit(nullptr), from.record, to.record, nullptr);
      const Times times =
          measure({{"pair", 1000,
                    [&] {
                      for (int i = 0; i < 1000; ++i) {
                        Oprj_ProjectionPair *pair = oprj_ProjectionPairInit(
                            oint_InitToolkit(nullptr), from.record, to.record, nullptr);
                        Oprj_Point point{500000, 4e6};
                        oprj_ProjectPair(pair, &point, &point, 1, nullptr);
                        oprj_ProjectionPairFree(&pair);
                      }
                    }},
                   {"call", 1000,
                    [&] {
                      Oprj_Point point{500000, 4e6}, out;
                      for (int i = 0; i < 1000; ++i)
                        oprj_ProjectPair(lasting, &point, &out, 1, nullptr);
                    }}},
                  repetitions);
      oprj_ProjectionPairFree(&lasting);
      std::printf("| %s to %s | %.1f | %.2f |\n", from.name, to.name, times.at("pair") / 1000,
                  times.at("call") / 1000);
    }
  }
}

}  // namespace

void benchShifts(int repetitions, int points, const std::string &grid) {
  std::mt19937_64 source(7);
  std::uniform_real_distribution<double> lon(-124, -67), lat(25, 49);
  std::vector<Oprj_Point> in(static_cast<size_t>(points)), out(in.size()), peer;
  for (Oprj_Point &p : in) p = {lon(source) * kDegree, lat(source) * kDegree};
  const std::vector<Oprj_Point> scattered = in;
  std::uniform_real_distribution<double> inZone(-84, -78);
  std::vector<Oprj_Point> eastings(in.size());
  for (Oprj_Point &p : eastings) p = {inZone(source) * kDegree, lat(source) * kDegree};
  oprj_ProjectFromLatLon(eastings.data(), utmPair()->in, eastings.data(), countOf(in), nullptr);
  const std::string sets = perSet(" | ", [](const char *set) { return std::string(set); });
  std::printf(
      "Points scattered over the conterminous states, where neighbours of an array share no cell; "
      "nanoseconds a point.\n\n");
  std::printf("| shift | PROJ | %s | x PROJ | million points/s |\n|---|---|%s|---|---|\n",
              sets.c_str(), perSet("|", [](const char *) { return std::string("---"); }).c_str());
  for (const auto &job : kJobs) {
    in = job.fromUtm ? eastings : scattered;
    std::vector<Job> jobs;
    for (int32_t set = 0; set <= orvik::oprj::widestInstructionSet(); ++set)
      jobs.push_back({orvik::oprj::instructionSetName(set), points, [&, set] {
                        orvik::oprj::chooseInstructionSet(set);
                        job.run(in, out);
                      }});
    std::unique_ptr<PJ, decltype(&proj_destroy)> made(nullptr, proj_destroy);
    if (job.proj && (!grid.empty() || !std::strstr(job.proj, "%s"))) {
      char text[600];
      std::snprintf(text, sizeof text, job.proj, grid.c_str());
      made.reset(proj_create(nullptr, text));
      const int few = points / 10;  // it is slow
      if (made)
        jobs.push_back({"PROJ", few, [&, few] {
                          peer.assign(in.begin(), in.begin() + few);
                          proj_trans_generic(made.get(), job.back ? PJ_INV : PJ_FWD, &peer[0].x,
                                             sizeof(Oprj_Point), static_cast<size_t>(few),
                                             &peer[0].y, sizeof(Oprj_Point),
                                             static_cast<size_t>(few), nullptr, 0, 0, nullptr, 0,
                                             0);
                        }});
    }
    const Times times = measure(jobs, repetitions);
    const auto each = [&](const char *separator, auto text) {
      return perSet(separator, [&](const char *set) { return text(set); });
    };
    std::printf("| %s | %s | %s | %s | %s |\n", job.name, nanoseconds(times, "PROJ").c_str(),
                each(" | ", [&](const char *set) { return nanoseconds(times, set); }).c_str(),
                each(" / ", [&](const char *set) { return ratio(times, "PROJ", set); }).c_str(),
                each(" / ", [&](const char *set) { return millions(times, set); }).c_str());
  }
  orvik::oprj::chooseInstructionSet(orvik::oprj::widestInstructionSet());
  benchOpening(repetitions);
  benchPairs(repetitions);
}

}  // namespace bench
