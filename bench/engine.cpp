// Systems of the Projection Engine: microseconds for texts, nanoseconds a point against PROJ.
#include <oprj/oprj.h>
#include <proj.h>

#include <cstdio>

#include "report.h"

namespace bench {

namespace {

constexpr int kObjects = 500;  // a run

std::string systemText(const std::string &projection, const std::string &parameters) {
  return R"(PROJCS["WGS_1984",GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1984",SPHEROID["WGS_1984",6378137.0,)"
         R"(298.257223563]],PRIMEM["Greenwich",0.0],UNIT["Degree",0.0174532925199433]],PROJECTION[")" +
         projection + "\"]" + parameters +
         R"(,PARAMETER["Central_Meridian",-81.0],UNIT["Meter",1.0]])";
}

void show(const char *what, const std::function<void()> &once, int repetitions) {
  const auto run = [&] {
    for (int i = 0; i < kObjects; ++i) once();
  };
  std::printf("| %s | %s |\n", what,
              nanoseconds(measure({{"oPrj", kObjects, run}}, repetitions), "oPrj").c_str());
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

  const struct {
    const char *projection, *parameters, *definition;
  } rows[] = {{"Transverse_Mercator", "", "+proj=tmerc +lon_0=-81 +ellps=WGS84"},
              {"Lambert_Conformal_Conic",
               R"(,PARAMETER["Standard_Parallel_1",33.0],PARAMETER["Standard_Parallel_2",45.0])",
               "+proj=lcc +lat_1=33 +lat_2=45 +lon_0=-81 +ellps=WGS84"},
              {"Eckert_IV", "", "+proj=eck4 +lon_0=-81 +R=6378137"}};
  constexpr double kDegree = 3.14159265358979323846 / 180;
  const auto count = static_cast<size_t>(points);
  std::vector<Oprj_Point> in(count), out(count);
  for (size_t i = 0; i < count; ++i)
    in[i] = {(-84 + 6.0 * static_cast<double>(i) / points) * kDegree,
             (10 + 60.0 * static_cast<double>(i * 7919 % count) / points) * kDegree};
  std::printf("\n| engine handle, forward | handle ns | PROJ ns |\n|---|---|---|\n");
  PJ_CONTEXT *context = proj_context_create();
  for (const auto &[projection, parameters, definition] : rows) {
    Oprj_MapProjectionEx *handle = nullptr;
    oprj_MapProjectionFromPEString(systemText(projection, parameters).c_str(), &handle, nullptr,
                                   nullptr);
    PJ *peer = proj_create(context, definition);
    const Times times = measure(
        {{"handle", points,
          [&] { handle->apply(handle->ownedData, in.data(), out.data(), points, nullptr); }},
         {"PROJ", points,
          [&] {
            out = in;
            proj_trans_generic(peer, PJ_FWD, &out[0].x, sizeof out[0], count, &out[0].y,
                               sizeof out[0], count, nullptr, 0, 0, nullptr, 0, 0);
          }}},
        repetitions);
    std::printf("| %s | %s | %s |\n", projection, nanoseconds(times, "handle").c_str(),
                nanoseconds(times, "PROJ").c_str());
    proj_destroy(peer);
    oprj_ProjectionFree(&handle);
  }
  proj_context_destroy(context);
}

}  // namespace bench
