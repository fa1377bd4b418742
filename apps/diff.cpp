// oprj diff: what is different in two coordinate systems, and how far the same coordinates lie
// apart on the ground.
#include <algorithm>
#include <cstdio>
#include <map>

#include "codes.h"
#include "commands.h"
#include "convert.h"
#include "ground.h"

namespace program {
namespace {

/// The parameters of a system that the Projection Engine computes, as it names them.
void addParts(const Oawp_PE_COORDSYS *engine, std::map<std::string, std::string> &parts) {
  if (!oawp_PE_pe_projcs_p(engine)) return;
  parts["projection"] = oawp_PE_pe_projection_name(oawp_PE_pe_projcs_projection(engine));
  const auto *const *parameter = oawp_PE_pe_projcs_parameters(engine);
  for (; parameter && *parameter; ++parameter)
    parts[oawp_PE_pe_parameter_name(*parameter)] =
        numberText(oawp_PE_pe_parameter_value(*parameter));
}

/// The description's parts by their keys; the projection's name under "projection".
std::map<std::string, std::string> partsOf(Oint_Toolkit *toolkit, const System &system) {
  std::map<std::string, std::string> parts;
  Slot err;
  const OwnedText text(oprj_ProParametersToText(toolkit, system.record.get(), nullptr, err.get()));
  const OwnedEngineSystem engine = engineSystemOf(*system.record);
  std::string_view rest = text && !engine ? text.get() : system.title.c_str();
  for (bool first = true; first || !rest.empty(); first = false) {
    const size_t end = std::min(rest.find(';'), rest.size());
    const std::string_view part = trimmed(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    const size_t equals = std::min(part.find('='), part.size());
    if (first) parts["projection"] = part;
    else
      parts[std::string(part.substr(0, equals))] = part.substr(std::min(equals + 1, part.size()));
  }
  if (engine) addParts(engine.get(), parts);
  parts.erase("spheroid");
  const Oprj_Spheroid &spheroid = system.spheroid();
  parts["spheroid"] = spheroid.sphereName.data ? spheroid.sphereName.data : "";
  parts["a"] = numberText(spheroid.a);
  parts["b"] = numberText(spheroid.b);
  parts["datum"] = system.datumName();
  parts["units"] = system.unit;
  return parts;
}

int tellParts(Oint_Toolkit *toolkit, const System &first, const System &second) {
  const auto one = partsOf(toolkit, first), other = partsOf(toolkit, second);
  std::map<std::string, std::pair<std::string, std::string>> all;
  for (const auto &[key, value] : one) all[key].first = value;
  for (const auto &[key, value] : other) all[key].second = value;
  int count = 0;
  for (const auto &[key, values] : all) {
    if (values.first == values.second) continue;
    const auto shown = [](const std::string &value) { return value.empty() ? "-" : value.c_str(); };
    std::printf("%-11s %s  |  %s\n", key.c_str(), shown(values.first), shown(values.second));
    ++count;
  }
  if (!count) std::printf("No parameter differs.\n");
  return count;
}

/// Where the first system is used: as asked, as its code says, or around its origin.
Area areaOf(Oint_Toolkit *toolkit, const std::vector<double> &asked, const std::string &written,
            const System &system) {
  if (!asked.empty()) {
    if (!(asked[1] <= asked[3]))
      throw Stop(kUsage, "--area takes west, south, east and north in degrees");
    return {asked[0], asked[1], asked[2], asked[3]};
  }
  if (written.find_first_of(";[") == std::string::npos && !lower(written).ends_with(".prj")) {
    if (const Oprj_Code *code = findCode(written)) return program::areaOf(*code);
  }
  return usualArea(toolkit, system);
}

Status diff(const std::string &one, const std::string &other, const std::vector<double> &asked,
            const Console &console) {
  constexpr int kSteps = 24;  // across the area
  Oint_Toolkit *toolkit = startLibrary(console);
  const System first = readSystem(toolkit, one, console),
               second = readSystem(toolkit, other, console);
  int differences = tellParts(toolkit, first, second);
  const Area area = areaOf(toolkit, asked, one, first);
  const Ground ground(toolkit, first, second, console);
  const double width = area.east < area.west ? area.east - area.west + 360 : area.east - area.west;
  double worst = -1;
  Oprj_Point where{};
  int failed = 0;
  for (int i = 0; i <= kSteps; ++i) {
    for (int j = 0; j <= kSteps; ++j) {
      const Oprj_Point place{(area.west + width * i / kSteps) * kDegree,
                             (area.south + (area.north - area.south) * j / kSteps) * kDegree};
      const double distance = ground.apart(place);
      if (!(distance >= 0)) ++failed;
      else if (distance > worst) {
        worst = distance;
        where = place;
      }
    }
  }
  const auto side = [](double degrees) { return numberText(std::round(degrees * 1e4) / 1e4); };
  const std::string over = " over " + side(area.west) + ".." + side(area.east) + ", " +
                           side(area.south) + ".." + side(area.north) + " degrees";
  if (worst < 0) {
    std::printf("No place%s can be compared.\n", over.c_str());
    return kUnusable;
  }
  constexpr double kSame = 1e-6;  // m: what rounding does
  std::printf("The same coordinates lie up to %s m apart%s, at longitude %s, latitude %s.\n",
              numberText(worst, worst < 1 ? 6 : 3).c_str(), over.c_str(),
              side(where.x / kDegree).c_str(), side(where.y / kDegree).c_str());
  if (failed) console.warn(std::to_string(failed) + " places of the area cannot be compared");
  return worst > kSame || differences ? kSomePointsFailed : kGood;
}

}  // namespace

void addDiff(CLI::App &app, const Console &console, Action &action) {
  CLI::App *command = app.add_subcommand(
      "diff", "Tell what differs in two systems, and how far the same coordinates lie apart");
  auto first = std::make_shared<std::string>(), second = std::make_shared<std::string>();
  auto area = std::make_shared<std::vector<double>>();
  command->add_option("first", *first, "Coordinate system")->required()->type_name("CS");
  command->add_option("second", *second, "Coordinate system")->required()->type_name("CS");
  command->add_option("--area", *area, "Where: degrees; else where the first system is used")
      ->expected(4)
      ->delimiter(',')
      ->allow_extra_args(false)
      ->type_name("W,S,E,N");
  command->footer(std::string(kSystemHelp) + "The exit status is 1 where anything differs.\n");
  command->callback([=, &console, &action] {
    action = [=, &console] { return diff(*first, *second, *area, console); };
  });
}

}  // namespace program
