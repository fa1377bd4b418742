// Systems of the Projection Engine: nanoseconds for texts, and a point against PROJ.
#include <oprj/oprj.h>
#include <proj.h>

#include <cstdio>
#include <memory>

#include "report.h"

namespace bench {

namespace {

constexpr int kObjects = 500;  // a run

std::string geographic() {
  return R"(GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1984",SPHEROID["WGS_1984",6378137.0,298.257223563]],)"
         R"(PRIMEM["Greenwich",0.0],UNIT["Degree",0.0174532925199433]])";
}
std::string systemText(const std::string &projection, const std::string &parameters) {
  return R"(PROJCS["WGS_1984",)" + geographic() + R"(,PROJECTION[")" + projection + "\"]" +
         parameters + R"(,PARAMETER["Central_Meridian",-81.0],UNIT["Meter",1.0]])";
}

void show(const char *what, const std::function<void()> &once, int repetitions) {
  const auto run = [&] {
    for (int i = 0; i < kObjects; ++i) once();
  };
  std::printf("| %s | %s |\n", what,
              nanoseconds(measure({{"oPrj", kObjects, run}}, repetitions), "oPrj").c_str());
}

using Handle = std::unique_ptr<Oprj_MapProjectionEx, void (*)(Oprj_MapProjectionEx *)>;
/// A handle of the engine, whatever number the system has.
Handle handleOf(const std::string &text) {
  return {oprj_ProjectionInitInternal(OPRJ_TITLE_PE, oawp_PE_pe_coordsys_from_string(text.c_str()),
                                      nullptr),
          [](Oprj_MapProjectionEx *handle) { oprj_ProjectionFree(&handle); }};
}
using Peer = std::unique_ptr<PJ, decltype(&proj_destroy)>;

/// Nanoseconds of the first of two jobs, of the second, and how often the second goes into the
/// first.
std::string against(const std::vector<Job> &jobs, int repetitions) {
  const Times times = measure(jobs, repetitions);
  const double ours = times.at(jobs[0].peer), theirs = times.at(jobs[1].peer);
  char text[80];
  std::snprintf(text, sizeof text, "%.1f | %.1f | %.2f", ours, theirs, ours / theirs);
  return text;
}

/// Points through PROJ's own call, one by one.
Job alone(PJ *peer, PJ_DIRECTION direction, const std::vector<Oprj_Point> &in,
          std::vector<Oprj_Point> &out) {
  return {
      "PROJ", static_cast<int64_t>(in.size()), [=, &in, &out] {
        for (size_t i = 0; i < in.size(); ++i) {
          const PJ_COORD made = proj_trans(peer, direction, PJ_COORD{{in[i].x, in[i].y, 0.0, 0.0}});
          out[i] = {made.v[0], made.v[1]};
        }
      }};
}

/// Points through handles and pairs of handles of the engine, and through PROJ's operation of the
/// same systems: arrays, and one point a call.
void benchPoints(int repetitions, int points) {
  const std::string utm =
      R"(,PARAMETER["False_Easting",500000.0],PARAMETER["Scale_Factor",0.9996])";
  const struct {
    const char *name;
    std::string text;
    const char *definition;
  } rows[] = {
      {"geographic", geographic(), "+proj=longlat +ellps=WGS84"},
      {"UTM", systemText("Transverse_Mercator", utm), "+proj=utm +zone=17 +ellps=WGS84"},
      {"Lambert_Conformal_Conic",
       systemText(
           "Lambert_Conformal_Conic",
           R"(,PARAMETER["Standard_Parallel_1",33.0],PARAMETER["Standard_Parallel_2",45.0])"),
       "+proj=lcc +lat_1=33 +lat_2=45 +lon_0=-81 +ellps=WGS84"},
      {"Eckert_IV", systemText("Eckert_IV", ""), "+proj=eck4 +lon_0=-81 +R=6378137"},
      {"Equal_Earth, PROJ's", systemText("Equal_Earth", ""),
       "+proj=eqearth +lon_0=-81 +ellps=WGS84"},
      {"Natural_Earth, PROJ's", systemText("Natural_Earth", ""),
       "+proj=natearth +lon_0=-81 +ellps=WGS84"}};
  constexpr double kDegree = 3.14159265358979323846 / 180;
  const auto count = static_cast<size_t>(points);
  std::vector<Oprj_Point> globe(count), sheet(count), out(count);
  for (size_t i = 0; i < count; ++i)
    globe[i] = {(-84 + 6.0 * static_cast<double>(i) / points) * kDegree,
                (10 + 60.0 * static_cast<double>(i * 7919 % count) / points) * kDegree};
  PJ_CONTEXT *context = proj_context_create();
  std::printf(
      "\n| engine handle | handle ns | PROJ ns | ratio | one point a call | PROJ ns | ratio "
      "|\n|---|---|---|---|---|---|---|\n");
  for (const auto &[name, text, definition] : rows) {
    const Handle handle = handleOf(text);
    const Peer peer(proj_create(context, definition), proj_destroy);
    handle->apply(handle->ownedData, globe.data(), sheet.data(), points, nullptr);
    for (const bool forward : {true, false}) {
      const std::vector<Oprj_Point> &in = forward ? globe : sheet;
      const PJ_DIRECTION direction = forward ? PJ_FWD : PJ_INV;
      const auto leg = forward ? handle->apply : handle->applyInverse;
      const Job array = {"handle", points,
                         [&] { leg(handle->ownedData, in.data(), out.data(), points, nullptr); }};
      const Job theirs = {"PROJ", points, [&] {
                            out = in;
                            proj_trans_generic(peer.get(), direction, &out[0].x, sizeof out[0],
                                               count, &out[0].y, sizeof out[0], count, nullptr, 0,
                                               0, nullptr, 0, 0);
                          }};
      const Job single = {"handle", points, [&] {
                            for (size_t i = 0; i < count; ++i)
                              leg(handle->ownedData, &in[i], &out[i], 1, nullptr);
                          }};
      std::printf("| %s %s | %s | %s |\n", name, forward ? "fwd" : "inv",
                  against({array, theirs}, repetitions).c_str(),
                  against({single, alone(peer.get(), direction, in, out)}, repetitions).c_str());
    }
  }
  std::printf(
      "\n| engine pair, one point a call | oprj_ProjectPair ns | PROJ ns | ratio | "
      "oprj_ProjectEach ns | PROJ ns | ratio |\n|---|---|---|---|---|---|---|\n");
  const struct {
    const char *name;
    std::string from, to;
    const char *definition;
  } pairs[] = {{"geographic to UTM", rows[0].text, rows[1].text, rows[1].definition},
               {"geographic to Equal_Earth", rows[0].text, rows[4].text, rows[4].definition},
               {"UTM to Lambert_Conformal_Conic", rows[1].text, rows[2].text,
                "+proj=pipeline +step +inv +proj=utm +zone=17 +ellps=WGS84 "
                "+step +proj=lcc +lat_1=33 +lat_2=45 +lon_0=-81 +ellps=WGS84"}};
  for (const auto &[name, from, to, definition] : pairs) {
    const Handle source = handleOf(from), target = handleOf(to);
    const Peer peer(proj_create(context, definition), proj_destroy);
    const Oprj_ProjectionPair pair = {source.get(), target.get()};
    source->apply(source->ownedData, globe.data(), sheet.data(), points, nullptr);
    const Job pairs1 = {"pair", points, [&] {
                          for (size_t i = 0; i < count; ++i)
                            oprj_ProjectPair(&pair, &sheet[i], &out[i], 1, nullptr);
                        }};
    const Job each1 = {"each", points, [&] {
                         for (size_t i = 0; i < count; ++i)
                           oprj_ProjectEach(&pair, &sheet[i], &out[i], nullptr, nullptr, 1,
                                            nullptr);
                       }};
    const Job theirs = alone(peer.get(), PJ_FWD, sheet, out);
    std::printf("| %s | %s | %s |\n", name, against({pairs1, theirs}, repetitions).c_str(),
                against({each1, theirs}, repetitions).c_str());
  }
  proj_context_destroy(context);
}

}  // namespace

void benchEngine(int repetitions, int points) {
  const std::string utm =
      systemText("Transverse_Mercator",
                 R"(,PARAMETER["False_Easting",500000.0],PARAMETER["Scale_Factor",0.9996])");
  Oawp_PE_COORDSYS *system = oawp_PE_pe_coordsys_from_string(utm.c_str());
  std::printf("| text | ns |\n|---|---|\n");
  show(
      "read", [&] { oawp_PE_pe_coordsys_del(oawp_PE_pe_coordsys_from_string(utm.c_str())); },
      repetitions);
  show(
      "written", [&] { omsc_HeapFree(oawp_PE_pe_coordsys_to_string(system, nullptr, 0)); },
      repetitions);
  show(
      "made into a native handle",
      [&] {
        Oawp_PE_COORDSYS *read = oawp_PE_pe_coordsys_from_string(utm.c_str());
        Oprj_MapProjectionEx *handle = oprj_COORDSYSToMapProjection(read, nullptr, nullptr);
        oprj_ProjectionFree(&handle);
        oawp_PE_pe_coordsys_del(read);
      },
      repetitions);
  oawp_PE_pe_coordsys_del(system);

  benchPoints(repetitions, points);
}

}  // namespace bench
