// Whole jobs: UTM on NAD27 to UTM on WGS 84, one point a call, making pairs, starting the library.
#include <oprj/oprj.h>
#include <proj.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <random>
#include <thread>

#include "lanes/kernels.h"
#include "report.h"

namespace bench {
namespace {

constexpr double kDegree = 3.14159265358979323846 / 180;
/// NAD27 (CONUS) to WGS 84 by the standard Molodensky formulas, as oPrj does it.
constexpr const char *kProjPipeline =
    "+proj=pipeline +step +inv +proj=utm +zone=17 +ellps=clrk66%s "
    "+step +proj=molodensky +ellps=clrk66 +dx=-8 +dy=160 +dz=176 +da=-69.4 +df=-3.7264639e-05 "
    "+step +proj=utm +zone=18 +ellps=WGS84%s";

PJ *projPipeline(bool approx) {
  const char *form = approx ? " +approx" : "";
  char text[400];
  std::snprintf(text, sizeof text, kProjPipeline, form, form);
  return proj_create(nullptr, text);
}

Oprj_ProParameters *system(const char *projection, int32_t zone, const char *spheroid,
                           const char *datum) {
  Oint_Toolkit *toolkit = oint_InitToolkit(nullptr);
  Oerr_Report *err = nullptr;
  Oprj_ProParameters *record = oprj_ProParametersCreateByName(toolkit, projection, &err);
  if (record) {
    oprj_SpheroidByName(toolkit, spheroid, record->proSpheroid, &err);
    if (!err) oprj_DatumByName(toolkit, spheroid, datum, record->proSpheroid->datum, &err);
    record->proZone = zone;
  }
  if (err) {
    oerr_PrintErrorReport(err);
    std::exit(1);
  }
  return record;
}

template <class Call>
double nanosecondsOf(Call call, int rounds) {
  std::vector<double> all;
  for (int i = 0; i < rounds; ++i) {
    const auto start = std::chrono::steady_clock::now();
    call();
    all.push_back(
        std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count());
  }
  return median(all);
}

}  // namespace

void benchPipeline(int repetitions, int points) {
  Oprj_ProParameters *from = system("UTM", 17, "Clarke 1866", "NAD27 (CONUS)"),
                     *to = system("UTM", 18, "WGS 84", "WGS 84"),
                     *geographic = system("Geographic", 0, "Clarke 1866", "NAD27 (CONUS)");
  Oint_Toolkit *toolkit = oint_InitToolkit(nullptr);
  Oprj_ProjectionPair *pair = oprj_ProjectionPairInit(toolkit, from, to, nullptr);
  std::mt19937_64 source(7);
  std::uniform_real_distribution<double> lon(-84, -78), lat(24, 50);
  std::vector<Oprj_Point> geo(static_cast<size_t>(points)), in(geo.size()), out(geo.size()),
      peer(geo.size());
  for (Oprj_Point &p : geo) p = {lon(source) * kDegree, lat(source) * kDegree};
  oprj_ProjectFromLatLon(geo.data(), pair->in, in.data(), points, nullptr);

  std::vector<Job> jobs;
  for (int32_t set = 0; set <= orvik::oprj::widestInstructionSet(); ++set)
    jobs.push_back({orvik::oprj::instructionSetName(set), points, [&, set] {
                      orvik::oprj::chooseInstructionSet(set);
                      oprj_ProjectPair(pair, in.data(), out.data(), points, nullptr);
                    }});
  std::unique_ptr<PJ, decltype(&proj_destroy)> exact(nullptr, proj_destroy),
      approximate(nullptr, proj_destroy);
  for (const bool approx : {false, true}) {
    auto &made = approx ? approximate : exact;
    made.reset(projPipeline(approx));
    jobs.push_back({approx ? "PROJ +approx" : "PROJ", points, [&] {
                      peer = in;
                      proj_trans_generic(made.get(), PJ_FWD, &peer[0].x, sizeof(Oprj_Point),
                                         peer.size(), &peer[0].y, sizeof(Oprj_Point), peer.size(),
                                         nullptr, 0, 0, nullptr, 0, 0);
                    }});
  }
  Times times = measure(jobs, repetitions);
  const std::string sets = perSet(" | ", [](const char *set) { return std::string(set); });
  std::printf(
      "| job | PROJ | PROJ +approx | %s | x PROJ | x PROJ +approx |\n|---|---|---|%s|---|---|\n",
      sets.c_str(), perSet("|", [](const char *) { return std::string("---"); }).c_str());
  const auto row = [&](const char *name) {
    const auto ratiosOf = [&](const std::string &peer) {
      return perSet(" / ", [&](const char *set) { return ratio(times, peer, set); });
    };
    std::printf("| %s | %s | %s | %s | %s | %s |\n", name, nanoseconds(times, "PROJ").c_str(),
                nanoseconds(times, "PROJ +approx").c_str(),
                perSet(" | ", [&](const char *set) { return nanoseconds(times, set); }).c_str(),
                ratiosOf("PROJ").c_str(), ratiosOf("PROJ +approx").c_str());
  };
  row("oprj_ProjectPair, UTM 17 on NAD27 (CONUS) to UTM 18 on WGS 84");

  // UTM alone, forward and inverse, through the pipeline's single legs.
  for (const bool forward : {true, false}) {
    jobs.clear();
    const std::vector<Oprj_Point> &points_in = forward ? geo : in;
    for (int32_t set = 0; set <= orvik::oprj::widestInstructionSet(); ++set)
      jobs.push_back({orvik::oprj::instructionSetName(set), points, [&, set] {
                        orvik::oprj::chooseInstructionSet(set);
                        (forward ? oprj_ProjectFromLatLon : oprj_ProjectToLatLon)(
                            points_in.data(), pair->in, out.data(), points, nullptr);
                      }});
    for (const bool approx : {false, true}) {
      auto &made = approx ? approximate : exact;
      made.reset(proj_create(nullptr, approx ? "+proj=utm +zone=17 +ellps=clrk66 +approx"
                                             : "+proj=utm +zone=17 +ellps=clrk66"));
      jobs.push_back({approx ? "PROJ +approx" : "PROJ", points, [&] {
                        peer = points_in;
                        proj_trans_generic(made.get(), forward ? PJ_FWD : PJ_INV, &peer[0].x,
                                           sizeof(Oprj_Point), peer.size(), &peer[0].y,
                                           sizeof(Oprj_Point), peer.size(), nullptr, 0, 0, nullptr,
                                           0, 0);
                      }});
    }
    times = measure(jobs, repetitions);
    row(forward ? "UTM forward" : "UTM inverse");
  }

  // One point a call.
  const int calls = points / 10;
  for (const bool forward : {true, false}) {
    jobs.clear();
    const std::vector<Oprj_Point> &points_in = forward ? geo : in;
    for (int32_t set = 0; set <= orvik::oprj::widestInstructionSet(); ++set)
      jobs.push_back({orvik::oprj::instructionSetName(set), calls, [&, set] {
                        orvik::oprj::chooseInstructionSet(set);
                        for (size_t i = 0; i < static_cast<size_t>(calls); ++i) {
                          if (forward)
                            oprj_ProjectFromLatLon(&points_in[i], pair->in, &out[i], 1, nullptr);
                          else oprj_ProjectToLatLon(&points_in[i], pair->in, &out[i], 1, nullptr);
                        }
                      }});
    for (const bool approx : {false, true}) {
      auto &made = approx ? approximate : exact;
      jobs.push_back({approx ? "PROJ +approx" : "PROJ", calls, [&] {
                        for (size_t i = 0; i < static_cast<size_t>(calls); ++i) {
                          const PJ_COORD c =
                              proj_trans(made.get(), forward ? PJ_FWD : PJ_INV,
                                         proj_coord(points_in[i].x, points_in[i].y, 0, 0));
                          peer[i] = {c.xy.x, c.xy.y};
                        }
                      }});
    }
    times = measure(jobs, repetitions);
    row(forward ? "UTM forward, one point a call" : "UTM inverse, one point a call");
  }
  jobs.clear();
  for (int32_t set = 0; set <= orvik::oprj::widestInstructionSet(); ++set)
    jobs.push_back({orvik::oprj::instructionSetName(set), calls, [&, set] {
                      orvik::oprj::chooseInstructionSet(set);
                      for (size_t i = 0; i < static_cast<size_t>(calls); ++i)
                        oprj_ProjectPair(pair, &in[i], &out[i], 1, nullptr);
                    }});
  for (const bool approx : {false, true}) {
    auto &made = approx ? approximate : exact;
    made.reset(projPipeline(approx));
    jobs.push_back({approx ? "PROJ +approx" : "PROJ", calls, [&] {
                      for (size_t i = 0; i < static_cast<size_t>(calls); ++i) {
                        const PJ_COORD c =
                            proj_trans(made.get(), PJ_FWD, proj_coord(in[i].x, in[i].y, 0, 0));
                        peer[i] = {c.xy.x, c.xy.y};
                      }
                    }});
  }
  times = measure(jobs, repetitions);
  row("oprj_ProjectPair, one point a call");

  orvik::oprj::chooseInstructionSet(orvik::oprj::widestInstructionSet());

  // A result for every point, against the pair: all good, half of them bad, shared out, verified.
  std::vector<Oprj_Point> half = in;
  for (size_t i = 0; i < half.size(); ++i)
    if (source() % 2) half[i].x = 1e9;
  std::vector<Oprj_PointReason> reasons(in.size());
  const auto each = [&](const char *name, const std::vector<Oprj_Point> &given, int32_t threads,
                        double verify) {
    jobs.push_back({name, points, [&, threads, verify] {
                      Oprj_ProjectOptions options = OPRJ_PROJECT_OPTIONS;
                      options.threads = threads;
                      options.verify = verify;
                      oprj_ProjectEach(pair, given.data(), out.data(), reasons.data(), &options,
                                       points, nullptr);
                    }});
  };
  jobs.clear();
  jobs.push_back(
      {"pair", points, [&] { oprj_ProjectPair(pair, in.data(), out.data(), points, nullptr); }});
  each("good", in, 1, 0.0);
  each("half", half, 1, 0.0);
  each("verified", in, 1, 1e3);
  times = measure(jobs, repetitions);
  std::printf(
      "\noprj_ProjectEach, nanoseconds a point: %s (oprj_ProjectPair %s); half of them bad %s; "
      "verified %s.\n",
      nanoseconds(times, "good").c_str(), nanoseconds(times, "pair").c_str(),
      nanoseconds(times, "half").c_str(), nanoseconds(times, "verified").c_str());
  const auto shared = [&](int32_t threads) {
    return nanosecondsOf(
        [&] {
          Oprj_ProjectOptions options = OPRJ_PROJECT_OPTIONS;
          options.threads = threads;
          oprj_ProjectEach(pair, in.data(), out.data(), reasons.data(), &options, points, nullptr);
        },
        2 * repetitions + 1);
  };
  if (std::thread::hardware_concurrency() > 1)
    std::printf("Two threads: %.2f times one.\n", shared(1) / shared(2));
  std::printf("\nMaking and freeing a projection pair: %.1f us.\n",
              nanosecondsOf(
                  [&] {
                    Oprj_ProjectionPair *made = oprj_ProjectionPairInit(toolkit, from, to, nullptr);
                    oprj_ProjectionPairFree(&made);
                  },
                  2001) /
                  1e3);
  std::printf("Loading the reference data (oprj_Init): %.2f ms.\n",
              nanosecondsOf(
                  [&] {
                    Oerr_Report *err = nullptr;
                    oprj_Init(toolkit, &err);
                    oerr_DeleteErrorReport(&err);
                  },
                  21) /
                  1e6);
  oprj_ProjectionPairFree(&pair);
  oprj_ProParametersFree(&from);
  oprj_ProParametersFree(&to);
  oprj_ProParametersFree(&geographic);
}

}  // namespace bench
