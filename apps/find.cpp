// oprj find: which system, or which mistake, puts coordinates near a place.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "commands.h"
#include "ground.h"

namespace program {
namespace {

struct Candidate {
  double distance;  ///< metres
  std::string system, assumed;
};

class Search {
 public:
  Search(Oint_Toolkit *toolkit, Oprj_Point coordinates, Oprj_Point place, const Console &console)
      : toolkit_(toolkit), coordinates_(coordinates), place_(place), console_(console) {}

  /// Coordinates in degrees, zones by number, and the systems that are used near the place.
  void run() {
    tryText("geographic; datum=WGS 84", "geographic; datum=WGS 84");
    for (const char *datum : {"WGS 84", "NAD27", "European 1950 (Mean)"}) {
      for (int zone = 1; zone <= 60; ++zone) {
        for (const char *side : {"N", "S"}) {
          const std::string text = "utm; zone=" + std::to_string(zone) + side + "; datum=" + datum;
          tryText(text, text);
        }
      }
    }
    const Oprj_InitData &data = referenceData(toolkit_);
    for (const auto *zone = data.statePlaneTable; zone; zone = zone->next) {
      const std::string text = "state plane; zone=" + std::to_string(zone->zoneNumber) +
                               "; datum=" + (zone->nadCode == 1 ? "NAD27" : "NAD83");
      tryText(text, text + " (" + zone->stateName + " " + zone->zoneName + ")");
    }
    tryCodes();
    std::stable_sort(
        found_.begin(), found_.end(),
        [](const Candidate &one, const Candidate &other) { return one.distance < other.distance; });
  }
  const std::vector<Candidate> &found() const { return found_; }

 private:
  void tryCodes() {
    constexpr double kMargin = 2;  // degrees
    const Oprj_Point degrees{place_.x / kDegree, place_.y / kDegree};
    for (const Code &code : allCodes()) {
      if (code.deprecated || !code.area.holds(degrees.x, degrees.y, kMargin)) continue;
      try {
        tryText(engineTextOf(code), code.text() + " (" + code.name + ")");
      } catch (const Stop &stop) {
        if (untold_) console_.warn(std::string("systems by code are left out: ") + stop.what());
        untold_ = false;
        if (std::string(stop.what()).find("database") != std::string::npos) return;
      }
    }
  }

  /// Tries coordinates as they are and with their axes exchanged, in the system's unit and in
  /// others that are taken for it.
  void tryText(const std::string &text, const std::string &shown) {
    Console quiet;
    quiet.quiet = true;
    System system;
    try {
      system = readSystem(toolkit_, text, quiet);
    } catch (const Stop &) {
      return;
    }
    Slot err;
    Oprj_MapProjectionEx *made = nullptr;
    oprj_ProjectionInit(toolkit_, system.record.get(), &made, err.get());
    const OwnedHandle handle(made);
    if (!handle) return;
    static constexpr const char *kLengths[] = {"meters", "us_survey_feet", "feet", "kilometers"};
    static constexpr const char *kAngles[] = {"dd", "radians", "grads", "seconds"};
    for (const char *unit : system.geographic ? kAngles : kLengths) {
      system.unitFactor = ocvt_UnitSetByName(unit, nullptr)->factor;
      for (const bool swapped : {false, true}) {
        const Oprj_Point point =
            swapped ? Oprj_Point{coordinates_.y, coordinates_.x} : coordinates_;
        const Oprj_Point place = placeOf(*handle, system, point);
        if (!(std::fabs(place.y) <= M_PI / 2 + 1e-9) || !std::isfinite(place.x)) continue;
        std::string assumed = unit == system.unit ? "" : std::string("in ") + unit;
        if (swapped) assumed += (assumed.empty() ? "" : ", ") + std::string("axes exchanged");
        found_.push_back({distanceBetween(system.spheroid(), place, place_), shown, assumed});
      }
    }
  }

  Oint_Toolkit *toolkit_;
  const Oprj_Point coordinates_, place_;  // place: radians
  const Console &console_;
  std::vector<Candidate> found_;
  bool untold_ = true;
};

Status search(double x, double y, const std::string &near, int count, const Console &console) {
  Oint_Toolkit *toolkit = startLibrary(console);
  double lon = 0, lat = 0;
  if (std::sscanf(near.c_str(), "%lf,%lf", &lon, &lat) != 2 || !(std::fabs(lat) <= 90) ||
      !(std::fabs(lon) <= 360))
    throw Stop(kUsage, "--near takes LONGITUDE,LATITUDE in degrees");
  Search search(toolkit, {x, y}, {lon * kDegree, lat * kDegree}, console);
  search.run();
  if (search.found().empty()) throw Stop(kUnusable, "no system has a place for these coordinates");
  int shown = 0;
  for (const Candidate &candidate : search.found()) {
    if (shown++ == count) break;
    std::printf("%12s km  %s%s\n", numberText(candidate.distance / 1000, 3).c_str(),
                candidate.system.c_str(),
                candidate.assumed.empty() ? "" : (", " + candidate.assumed).c_str());
  }
  return kGood;
}

}  // namespace

void addFind(CLI::App &app, const Console &console, Action &action) {
  CLI::App *command =
      app.add_subcommand("find", "Rank the systems and mistakes that put coordinates near a place");
  auto x = std::make_shared<double>(), y = std::make_shared<double>();
  auto near = std::make_shared<std::string>();
  auto count = std::make_shared<int>(12);
  command->add_option("x", *x, "First coordinate")->required();
  command->add_option("y", *y, "Second coordinate")->required();
  command->add_option("--near", *near, "Where they should be, in degrees")
      ->required()
      ->type_name("LON,LAT");
  command->add_option("--count", *count, "How many to tell")->check(CLI::PositiveNumber);
  command->callback([=, &console, &action] {
    action = [=, &console] { return search(*x, *y, *near, *count, console); };
  });
}

}  // namespace program
