// External projections: what the pipes to a program and the way into a plug-in cost.
#include <oprj/external_projections.h>
#include <oprj/families.h>
#include <oprj/tables.h>

#include <time.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "report.h"

namespace bench {
namespace {

constexpr int32_t kSinusoidal = 16;

Oprj_MapProjection *made(const char *executable) {
  Oint_Toolkit *toolkit = oint_InitToolkit(nullptr);
  Oprj_ProParameters *record = oprj_ProParametersCreate(nullptr);
  record->proType = executable ? OPRJ_EXTERNAL : OPRJ_INTERNAL;
  record->proNumber = kSinusoidal;
  oprj_CharStrCreate(executable, &record->proExeName, nullptr);
  oprj_DblArrayCreate(15, &record->proParams, nullptr);
  oprj_SpheroidByName(toolkit, "WGS 84", record->proSpheroid, nullptr);
  Oerr_Report *report = nullptr;
  Oprj_MapProjection *object = oprj_ProjectionPre842Init(toolkit, record, &report);
  oprj_ProParametersFree(&record);
  if (object) return object;
  oerr_PrintErrorReport(report);
  std::exit(1);
}

void forward(const Oprj_MapProjection &object, const std::vector<Oprj_Point> &in,
             std::vector<Oprj_Point> &out) {
  Oerr_Report *report = nullptr;
  object.fromLL(in.data(), object.parameters, out.data(), static_cast<int32_t>(in.size()), &report);
  if (!report) return;
  oerr_PrintErrorReport(report);
  std::exit(1);
}

/// Seconds by the clock on the wall: two processes work.
template <class Work>
double seconds(Work work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// Seconds of this thread's processor time.
template <class Work>
double processorSeconds(Work work) {
  const auto now = [] {
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
  };
  const double begin = now();
  work();
  return now() - begin;
}

}  // namespace

void benchExternal(int repetitions, int points) {
  const char *path = std::getenv("ORVIK_PROJECTIONS_PATH");
  setenv("ORVIK_PROJECTIONS_PATH",
         ((path ? path : "") + std::string(";" OPRJ_BENCH_PROGRAMS)).c_str(), 1);
  std::vector<Oprj_Point> in, out(static_cast<size_t>(points));
  for (int i = 0; i < points; ++i)
    in.push_back({-3.0 + 6.0 * i / points, -1.5 + 3.0 * (i % 1000) / 1000});

  std::vector<double> starts, rates;
  for (int i = 0; i < repetitions; ++i) {
    Oprj_MapProjection *child = nullptr;
    std::vector<Oprj_Point> one(1), first(1);
    starts.push_back(1e3 * seconds([&] {
                       child = made("echo_child");
                       forward(*child, one, first);
                     }));
    forward(*child, in, out);  // pages of both processes
    rates.push_back(points * 1e-6 / seconds([&] { forward(*child, in, out); }));
    oprj_ProjectionPre842Free(&child);
  }
  Oprj_MapProjection *family = made(nullptr), *plugIn = made("family_plugin");
  // One right behind the other, in turns first, so that what the machine does besides falls on
  // both.
  std::vector<double> own, ratios;
  for (int i = 0; i < 20 * repetitions; ++i) {
    double took[2];
    for (const int turn : {i % 2, 1 - i % 2})
      took[turn] = processorSeconds([&] { forward(turn ? *plugIn : *family, in, out); });
    own.push_back(took[0] * 1e9 / points);
    ratios.push_back(took[1] / took[0]);
  }
  oprj_ProjectionPre842Free(&family);
  oprj_ProjectionPre842Free(&plugIn);
  std::printf("| external projections | median | goal |\n|---|---|---|\n");
  std::printf("| points a second through a program that echoes, millions | %.1f | 20 |\n",
              median(rates));
  std::printf("| a program started, to its first point, ms | %.2f | below 20 |\n", median(starts));
  std::printf("| Sinusoidal, ns a point | %.2f | |\n", median(own));
  std::printf("| the same through a plug-in, times as long | %.3f | below 1.03 |\n",
              median(ratios));
}

}  // namespace bench
