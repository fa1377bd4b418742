// oprj find: which system, or which mistake, puts coordinates near a place.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <tuple>

#include "commands.h"
#include "ground.h"

namespace program {
namespace {

struct Candidate {
  double distance;  ///< metres
  int assumptions;  ///< another unit than the system's, exchanged axes
  std::string system, assumed;
};

/// Metres that half a unit of a written latitude's or longitude's last digit may be.
double roundingOf(const std::string &degrees) {
  constexpr double kMetresPerDegree = 111195;  // on a sphere of 6371 km
  const size_t point = degrees.find_first_of('.');
  const size_t digits =
      point == std::string::npos
          ? 0
          : std::min(degrees.find_first_not_of("0123456789", point + 1), degrees.size()) - point -
                1;
  return kMetresPerDegree / 2 * std::pow(10, -static_cast<double>(digits));
}

/// Systems of moons have a place for anything, near everything.
bool isEarth(const Oprj_Spheroid &spheroid) {
  constexpr double kEarth = 6371000, kMargin = 0.01;
  return std::fabs(spheroid.a / kEarth - 1) < kMargin;
}

class Search {
 public:
  /// `rounding`: metres that the place is known to.
  Search(Oint_Toolkit *toolkit, Oprj_Point coordinates, Oprj_Point place, double rounding,
         const Console &console)
      : toolkit_(toolkit),
        coordinates_(coordinates),
        place_(place),
        rounding_(rounding),
        console_(console) {}

  /// Coordinates in degrees, zones by number, and the systems that are used near the place.
  void run() {
    tryText("geographic; datum=WGS 84", "geographic; datum=WGS 84");
    for (int zone = 1; zone <= 60; ++zone) {  // on other datums by code, where they are used
      for (const char *side : {"N", "S"}) {
        const std::string text = "utm; zone=" + std::to_string(zone) + side + "; datum=WGS 84";
        tryText(text, text);
      }
    }
    const Oprj_InitData &data = referenceData(toolkit_);
    for (const auto *zone = data.statePlaneTable; zone; zone = zone->next) {
      const std::string text = "state plane; zone=" + std::to_string(zone->zoneNumber) +
                               "; datum=" + (zone->nadCode == 1 ? "NAD27" : "NAD83");
      tryText(text, text + " (" + zone->stateName + " " + zone->zoneName + ")");
    }
    tryCodes();
    // Within what the place was rounded by no distance is better than another: the system that
    // needs the fewest mistakes comes first.
    const auto rank = [&](const Candidate &candidate) {
      return std::tuple(std::max(candidate.distance, rounding_), candidate.assumptions,
                        candidate.distance);
    };
    std::stable_sort(
        found_.begin(), found_.end(),
        [&](const Candidate &one, const Candidate &other) { return rank(one) < rank(other); });
  }
  const std::vector<Candidate> &found() const { return found_; }

 private:
  void tryCodes() {
    constexpr double kMargin = 2;  // degrees
    const Oprj_Point degrees{place_.x / kDegree, place_.y / kDegree};
    for (const Oprj_Code &code : allCodes()) {
      if (code.deprecated || !areaOf(code).holds(degrees.x, degrees.y, kMargin)) continue;
      try {
        tryText(engineTextOf(code), textOf(code) + " (" + code.name + ")");
      } catch (const Stop &stop) {
        if (untold_) console_.warn(std::string("systems by code are left out: ") + stop.what());
        untold_ = false;
        if (std::string(stop.what()).find("database") != std::string::npos) return;
      }
    }
  }

  /// The system has the place: it leads back to it. Far from its meridian or parallels it may not,
  /// and what it finds near the place is chance.
  bool holds(const Oprj_MapProjectionEx &handle, const Oprj_Spheroid &spheroid) const {
    constexpr double kBack = 1000;  // m
    Oprj_Point there, back;
    Slot err;
    handle.apply(handle.ownedData, &place_, &there, 1, err.get());
    if (err) return false;
    handle.applyInverse(handle.ownedData, &there, &back, 1, err.get());
    return !err && distanceBetween(spheroid, back, place_) <= kBack;
  }

  /// Tries coordinates as they are and with their axes exchanged, in the system's unit and in
  /// others that are taken for it.
  void tryText(const std::string &text, const std::string &shown) {
    Console quiet;
    quiet.quiet = true;
    System system;
    OwnedHandle handle;
    try {
      system = readSystem(toolkit_, text, quiet);
      handle = requireProjection(toolkit_, system, quiet);
    } catch (const Stop &) {
      return;
    }
    if (!isEarth(system.spheroid()) || !holds(*handle, system.spheroid())) return;
    static constexpr const char *kLengths[] = {"meters", "us_survey_feet", "feet", "kilometers"};
    static constexpr const char *kAngles[] = {"dd", "radians", "grads", "seconds"};
    for (const char *unit : system.geographic ? kAngles : kLengths) {
      system.unitFactor = ocvt_UnitSetByName(unit, nullptr)->factor;
      for (const bool swapped : {false, true}) {
        const Oprj_Point point =
            swapped ? Oprj_Point{coordinates_.y, coordinates_.x} : coordinates_;
        const Oprj_Point place = placeOf(*handle, system, point);
        if (!(std::fabs(place.y) <= M_PI / 2 + 1e-9) || !std::isfinite(place.x)) continue;
        const bool otherUnit = unit != system.unit;
        std::string assumed = otherUnit ? std::string(", in ") + unit : "";
        if (swapped) assumed += ", axes exchanged";
        found_.push_back({distanceBetween(system.spheroid(), place, place_), otherUnit + swapped,
                          shown, assumed});
      }
    }
  }

  Oint_Toolkit *toolkit_;
  const Oprj_Point coordinates_, place_;  // place: radians
  const double rounding_;
  const Console &console_;
  std::vector<Candidate> found_;
  bool untold_ = true;
};

Status search(double x, double y, const std::vector<std::string> &near, int count,
              const Console &console) {
  Oint_Toolkit *toolkit = startLibrary(console);
  double place[2], rounding = 0;
  for (size_t i = 0; i < 2; ++i) {
    const char *end = near[i].data() + near[i].size();
    const auto read = std::from_chars(near[i].data(), end, place[i]);
    if (read.ec != std::errc() || read.ptr != end || !(std::fabs(place[i]) <= (i == 0 ? 360 : 90)))
      throw Stop(kUsage, "--near takes LONGITUDE,LATITUDE in degrees");
    rounding = std::max(rounding, roundingOf(near[i]));
  }
  Search search(toolkit, {x, y}, {place[0] * kDegree, place[1] * kDegree}, rounding, console);
  search.run();
  if (search.found().empty()) throw Stop(kUnusable, "no system has a place for these coordinates");
  int shown = 0;
  for (const Candidate &candidate : search.found()) {
    if (shown++ == count) break;
    std::printf("%12s km  %s%s\n", numberText(candidate.distance / 1000, 3).c_str(),
                candidate.system.c_str(), candidate.assumed.c_str());
  }
  return kGood;
}

}  // namespace

void addFind(CLI::App &app, const Console &console, Action &action) {
  CLI::App *command =
      app.add_subcommand("find", "Rank the systems and mistakes that put coordinates near a place");
  auto x = std::make_shared<double>(), y = std::make_shared<double>();
  auto near = std::make_shared<std::vector<std::string>>();
  auto count = std::make_shared<int>(12);
  command->add_option("x", *x, "First coordinate")->required();
  command->add_option("y", *y, "Second coordinate")->required();
  command->add_option("--near", *near, "Where they should be, in degrees")
      ->required()
      ->expected(2)
      ->delimiter(',')
      ->allow_extra_args(false)
      ->type_name("LON,LAT");
  command->add_option("--count", *count, "How many to tell")->check(CLI::PositiveNumber);
  command->callback([=, &console, &action] {
    action = [=, &console] { return search(*x, *y, *near, *count, console); };
  });
}

}  // namespace program
