// Every family, both directions, every instruction set, beside PROJ and libgctp.
#include <oprj/oprj.h>
#include <proj.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <memory>
#include <random>
#include <string>

#include "floors.h"
#include "lanes/kernels.h"
#include "projections/registry.h"
#include "report.h"
#include "tests/family_cases.h"
#include "tests/gctp_peer.h"

namespace bench {
namespace {

using oprj_test::FamilyCase;

/// A row this near to the mere reading and writing of its points is bound by memory.
constexpr double kNearMemory = 1.5;
/// A row whose divisions and roots alone take this part of its time is bound by them.
constexpr double kMostOfIt = 0.5;

std::vector<Oprj_Point> randomPoints(const oprj_test::Grid &box, int count) {
  std::mt19937_64 source(20240229);
  std::uniform_real_distribution<double> lon(box.west, box.east), lat(box.south, box.north);
  std::vector<Oprj_Point> points(static_cast<size_t>(count));
  for (Oprj_Point &p : points) p = {lon(source) * oprj_test::kDeg, lat(source) * oprj_test::kDeg};
  return points;
}

std::string withAxes(const FamilyCase &family) {
  char text[80];
  if (family.axes.a == family.axes.b) std::snprintf(text, sizeof text, " +R=%.17g", family.axes.a);
  else std::snprintf(text, sizeof text, " +a=%.17g +b=%.17g", family.axes.a, family.axes.b);
  return family.proj + std::string(text);
}

struct Ratios {
  std::map<std::string, std::vector<double>> best;  // by instruction set
  std::vector<double> memory;                       // ns of reading and writing the points
  double worstHalf = 0.0;                           // half bad against all good
};

/// What a row has to do at least: its floors at the widest set, in nanoseconds a point.
struct Bounds {
  std::map<std::string, SlowOperations> operations = slowOperations();
  double division = 0.0, root = 0.0;

  /// Times one division and one root, which run beside all else and not one after the other.
  Bounds(const std::vector<Oprj_Point> &in, int repetitions) {
    const auto count = static_cast<int32_t>(in.size());
    std::vector<Oprj_Point> out(in.size());
    orvik::oprj::chooseInstructionSet(orvik::oprj::widestInstructionSet());
    const orvik::oprj::Floors &floors = orvik::oprj::floorsInUse();
    const Times times =
        measure({{"divisions", count, [&] { floors.divisions(in.data(), out.data(), count); }},
                 {"roots", count, [&] { floors.roots(in.data(), out.data(), count); }}},
                repetitions);
    division = times.at("divisions") / orvik::oprj::kFloorOperations;
    root = times.at("roots") / orvik::oprj::kFloorOperations;
  }

  const char *of(const Oprj_MapProjection *object, bool forward, bool closed, double time,
                 double memory) const {
    if (time <= kNearMemory * memory) return "memory";
    if (!closed) return "iterations";
    const Oprj_PointFunction function = forward ? object->fromLL : object->toLL;
    for (const orvik::oprj::RegistryRow &row : orvik::oprj::kRegistry) {
      if ((forward ? row.forward : row.inverse).function != function) continue;
      constexpr std::string_view kInit = "Init";
      const std::string stem(row.name.substr(0, row.name.size() - kInit.size()));
      const SlowOperations &slow = operations.at(stem + (forward ? "FromLL" : "ToLL"));
      const double least = slow.divisions * division + slow.roots * root;
      return least >= kMostOfIt * time ? "divisions" : "arithmetic";
    }
    return "arithmetic";
  }
};

/// A family's projection and the geographic system of its spheroid, as the two ends of a pair.
class Ends {
 public:
  Ends(const oprj_test::Projection &projection, bool forward) {
    const Oprj_MapProjection *object = projection.object();
    oprj_ProjectionSet(&family_, OPRJ_TITLE_NATIVE, const_cast<Oprj_MapProjection *>(object),
                       nullptr);
    Oprj_ProParameters *record = oprj_ProParametersCopy(object->proParameters, nullptr, nullptr);
    record->proNumber = 0;
    oprj_ProjectionInit(nullptr, record, &geographic_, nullptr);
    oprj_ProParametersFree(&record);
    pair_.in = forward ? geographic_ : &family_;
    pair_.out = forward ? &family_ : geographic_;
  }
  ~Ends() { oprj_ProjectionFree(&geographic_); }
  Ends(const Ends &) = delete;
  Ends &operator=(const Ends &) = delete;
  void each(const std::vector<Oprj_Point> &in, std::vector<Oprj_Point> &out,
            std::vector<Oprj_PointReason> &reasons) const {
    oprj_ProjectEach(&pair_, in.data(), out.data(), reasons.data(), nullptr,
                     static_cast<int64_t>(in.size()), nullptr);
  }

 private:
  Oprj_MapProjectionEx family_{}, *geographic_ = nullptr;
  Oprj_ProjectionPair pair_{};
};

/// Every second point, by chance, where neither globe nor sheet has a place.
std::vector<Oprj_Point> halfOf(const std::vector<Oprj_Point> &points) {
  std::mt19937 source(5);
  std::vector<Oprj_Point> half = points;
  for (Oprj_Point &p : half)
    if (source() % 2) p.x = 1e9;
  return half;
}

void row(const FamilyCase &family, const oprj_test::Projection &projection, bool forward,
         const std::vector<Oprj_Point> &in, int repetitions, const Bounds &bounds, Ratios &ratios) {
  const auto count = static_cast<int32_t>(in.size());
  std::vector<Oprj_Point> out(in.size()), peerPoints(in.size());
  const Oprj_MapProjection *object = projection.object();
  std::vector<Job> jobs;
  for (int32_t set = 0; set <= orvik::oprj::widestInstructionSet(); ++set) {
    jobs.push_back({orvik::oprj::instructionSetName(set), count, [&, set] {
                      orvik::oprj::chooseInstructionSet(set);
                      (forward ? object->fromLL : object->toLL)(in.data(), object->parameters,
                                                                out.data(), count, nullptr);
                    }});
  }
  jobs.push_back({"one by one", count / 10, [&] {
                    orvik::oprj::chooseInstructionSet(orvik::oprj::widestInstructionSet());
                    for (int32_t i = 0; i < count / 10; ++i)
                      (forward ? object->fromLL : object->toLL)(
                          &in[static_cast<size_t>(i)], object->parameters,
                          &out[static_cast<size_t>(i)], 1, nullptr);
                  }});
  const Ends ends(projection, forward);
  const std::vector<Oprj_Point> half = halfOf(in);
  std::vector<Oprj_PointReason> reasons(in.size());
  for (const auto &[name, points] : {std::pair("good", &in), std::pair("half", &half)})
    jobs.push_back({name, count, [&, given = points] {
                      orvik::oprj::chooseInstructionSet(orvik::oprj::widestInstructionSet());
                      ends.each(*given, out, reasons);
                    }});
  jobs.push_back({"memory", count, [&] {
                    orvik::oprj::chooseInstructionSet(orvik::oprj::widestInstructionSet());
                    orvik::oprj::floorsInUse().nothing(in.data(), out.data(), count);
                  }});
  std::unique_ptr<PJ, decltype(&proj_destroy)> peer(nullptr, proj_destroy);
  if (*family.proj) peer.reset(proj_create(nullptr, withAxes(family).c_str()));
  if (peer && (forward || proj_pj_info(peer.get()).has_inverse)) {
    jobs.push_back({"PROJ", count, [&] {
                      peerPoints = in;
                      proj_trans_generic(peer.get(), forward ? PJ_FWD : PJ_INV, &peerPoints[0].x,
                                         sizeof(Oprj_Point), in.size(), &peerPoints[0].y,
                                         sizeof(Oprj_Point), in.size(), nullptr, 0, 0, nullptr, 0,
                                         0);
                    }});
  }
  if (family.gctp >= 0) {
    double parameters[15] = {family.axes.a, family.axes.b};
    for (const auto &[index, value] : family.entries) parameters[index] = value;
    for (const int index : family.angles)
      parameters[index] = ocvt_Radians2GCTPPackedDMS(parameters[index], nullptr);
    if (gctp_peer_init(family.gctp, parameters) == 0) {
      jobs.push_back({"GCTP", count, [&] {
                        for (size_t i = 0; i < in.size(); ++i)
                          (forward ? gctp_peer_forward : gctp_peer_inverse)(
                              family.gctp, in[i].x, in[i].y, &peerPoints[i].x, &peerPoints[i].y);
                      }});
    }
  }
  const Times times = measure(jobs, repetitions);
  const char *const reference = times.count("PROJ") ? "PROJ" : "GCTP";
  const bool closed = forward ? family.closedForward : family.closedInverse;
  const std::string widest = orvik::oprj::instructionSetName(orvik::oprj::widestInstructionSet());
  const char *const binds =
      bounds.of(object, forward, closed, times.at(widest), times.at("memory"));
  const auto ratiosOf = [&](const std::string &peer) {
    return perSet(" / ", [&](const char *set) { return ratio(times, peer, set); });
  };
  std::printf("| %s %s | %s | %s | %s | %s | %s | %s | %s | %s | %s |\n", family.name,
              forward ? "fwd" : "inv", closed ? "closed" : "iterative",
              nanoseconds(times, "PROJ").c_str(), nanoseconds(times, "GCTP").c_str(),
              perSet(" | ", [&](const char *set) { return nanoseconds(times, set); }).c_str(),
              ratiosOf("PROJ").c_str(), ratiosOf("GCTP").c_str(),
              nanoseconds(times, "one by one").c_str(), ratio(times, "half", "good").c_str(),
              binds);
  std::fflush(stdout);
  for (const auto &[set, time] : times) {
    if (times.count(reference)) ratios.best[set].push_back(times.at(reference) / time);
  }
  ratios.memory.push_back(times.at("memory"));
  ratios.worstHalf = std::max(ratios.worstHalf, times.at("half") / times.at("good"));
}

/// The processor's name as the system tells it.
std::string processorName() {
  std::ifstream info("/proc/cpuinfo");
  std::string line, model, number;
  while (std::getline(info, line) && !line.empty()) {
    if (line.rfind("model name", 0) == 0) model = line.substr(line.find(':') + 2);
    else if (line.rfind("model", 0) == 0) number = line.substr(line.find(':') + 2);
  }
  return model + ", model " + number;
}

}  // namespace

void benchFamilies(int repetitions, int points, const std::string &only) {
  const auto join = [](const char *separator) {
    return perSet(separator, [](const char *set) { return std::string(set); });
  };
  std::printf(
      "Nanoseconds of processor time a point, one core of %s, %d random points, medians of %d "
      "interleaved runs; ratios are how many times faster, %s. \"Half bad\": how many times as "
      "long "
      "as with good points only oprj_ProjectEach takes when every second point has no place.\n\n",
      processorName().c_str(), points, repetitions, join(" / ").c_str());
  std::printf(
      "| family | form | PROJ | GCTP | %s | x PROJ | x GCTP | one point a call | half "
      "bad | binds |\n",
      join(" | ").c_str());
  std::printf("|---|---|---|---|%s|---|---|---|---|---|\n",
              perSet("|", [](const char *) { return std::string("---"); }).c_str());
  Ratios ratios;
  const Bounds bounds(randomPoints({-180, 180, -89, 89, 5}, points), repetitions);
  for (const FamilyCase &family : oprj_test::familyCases()) {
    if (!only.empty() && std::string(family.name).find(only) == std::string::npos) continue;
    const oprj_test::Projection projection(family.init, family.number, family.entries, family.axes);
    const std::vector<Oprj_Point> geographic = randomPoints(family.box, points);
    std::vector<Oprj_Point> sheet;
    row(family, projection, true, geographic, repetitions, bounds, ratios);
    projection.forward(geographic, sheet, nullptr);
    row(family, projection, false, sheet, repetitions, bounds, ratios);
  }
  std::printf(
      "\nMedian over families and directions, against PROJ where it has the projection, else "
      "GCTP:");
  std::printf(" %s", perSet(", ", [&](const char *set) {
                       char text[64];
                       std::snprintf(text, sizeof text, "%s %.1f", set, median(ratios.best[set]));
                       return std::string(text);
                     }).c_str());
  std::printf(
      ". Reading and writing the points alone: %.1f ns; a division %.2f ns, a root %.2f ns. ",
      median(ratios.memory), bounds.division, bounds.root);
  std::printf("Half bad at worst: %.2f times.\n", ratios.worstHalf);
}

}  // namespace bench
