// Datum shifts through grids and by regression, on points scattered over the conterminous states;
// PROJ on the official grid in CTABLE V2, when the file is named.
#include <oprj/grid_file.h>
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

}  // namespace

void benchShifts(int repetitions, int points, const std::string &grid) {
  std::mt19937_64 source(7);
  std::uniform_real_distribution<double> lon(-124, -67), lat(25, 49);
  std::vector<Oprj_Point> in(static_cast<size_t>(points)), out(in.size()), peer;
  for (Oprj_Point &p : in) p = {lon(source) * kDegree, lat(source) * kDegree};
  const std::string sets = perSet(" | ", [](const char *set) { return std::string(set); });
  std::printf("| shift | PROJ | %s | x PROJ | million points/s |\n|---|---|%s|---|---|\n",
              sets.c_str(), perSet("|", [](const char *) { return std::string("---"); }).c_str());
  for (const auto &job : kJobs) {
    std::vector<Job> jobs;
    for (int32_t set = 0; set <= orvik::oprj::widestInstructionSet(); ++set)
      jobs.push_back({orvik::oprj::instructionSetName(set), points, [&, set] {
                        orvik::oprj::chooseInstructionSet(set);
                        job.run(in, out);
                      }});
    std::unique_ptr<PJ, decltype(&proj_destroy)> made(nullptr, proj_destroy);
    if (job.proj && !grid.empty()) {
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
  benchOpening(repetitions);
}

}  // namespace bench
