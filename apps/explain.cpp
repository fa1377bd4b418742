// oprj explain: the chain that a point takes between two systems, and how far the datum shift moves
// points.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "commands.h"
#include "shift.h"

namespace program {
namespace {

/// What the shift does over a grid of the whole globe, every 15 degrees; points outside of its area
/// are left out.
void printShiftSizes(const System &from, const System &to) {
  std::vector<Oprj_Point> in;
  for (int lat = -75; lat <= 75; lat += 15) {
    for (int lon = -180; lon < 180; lon += 15) in.push_back({lon * kDegree, lat * kDegree});
  }
  Slot err;
  std::vector<double> sizes;
  for (const Oprj_Point &point : in) {
    Oprj_Point out;
    oprj_DatumShift(&point, &from.spheroid(), &out, &to.spheroid(), 1, err.get());
    const double east = std::remainder(out.x - point.x, 2 * M_PI) * std::cos(point.y);
    const double size = std::hypot(east, out.y - point.y) * from.spheroid().a;
    if (!err && std::isfinite(size)) sizes.push_back(size);
  }
  if (sizes.empty()) {
    std::printf("     its area is too small to say how far it moves coordinates\n");
    return;
  }
  std::sort(sizes.begin(), sizes.end());
  std::printf("     over %s it moves coordinates by %.1f to %.1f m, median %.1f m\n",
              sizes.size() == in.size() ? "the globe" : "its area", sizes.front(), sizes.back(),
              sizes[sizes.size() / 2]);
}

const char *route(int32_t type) {
  switch (type) {
    case OPRJ_DATUM_GRID:
      return "the grid of the datum, by way of NAD83";
    case OPRJ_DATUM_REGRESSION:
      return "the datum's multiple regression equations, by way of WGS 84";
    case OPRJ_DATUM_SURFACE:
      return "the datum's shift surface";
    default:
      return "its parameters";
  }
}

/// False when no point can be shifted.
bool printShift(const System &from, const System &to) {
  const Oprj_Datum &source = *from.spheroid().datum, &destination = *to.spheroid().datum;
  std::printf("  2. datum: \"%s\" on \"%s\" to \"%s\" on \"%s\"\n", from.datumName(),
              from.spheroid().sphereName.data, to.datumName(), to.spheroid().sphereName.data);
  if (source.type == OPRJ_DATUM_NONE || destination.type == OPRJ_DATUM_NONE) {
    std::printf("     no shift: a datum is undefined\n");
    return true;
  }
  if (sameDatum(from, to)) {
    std::printf("     no shift: the same datum\n");
    return true;
  }
  if (source.type == OPRJ_DATUM_PARAMETRIC && destination.type == OPRJ_DATUM_PARAMETRIC) {
    bool rotated = false;
    for (int i = 3; i < 7; ++i)
      rotated = rotated || (source.params.count > i ? source.params.data[i] : 0.0) !=
                               (destination.params.count > i ? destination.params.data[i] : 0.0);
    std::printf("     %s\n",
                rotated ? "seven-parameter geocentric shift (Bowring's formula back)"
                        : "standard Molodensky formulas (geocentric beyond 88.95 degrees)");
  } else {
    std::printf("     from \"%s\" by %s, to \"%s\" by %s\n", from.datumName(), route(source.type),
                to.datumName(), route(destination.type));
  }
  try {
    requireShift(from, to);
  } catch (const Stop &stop) {
    std::printf("     but %s\n", stop.what());
    return false;
  }
  printShiftSizes(from, to);
  return true;
}

Status explain(const std::string &fromText, const std::string &toText, const Console &console) {
  Oint_Toolkit *toolkit = startLibrary(console);
  const System from = readSystem(toolkit, fromText, console),
               to = readSystem(toolkit, toText, console);
  Slot err;
  const OwnedPair pair(
      oprj_ProjectionPairInit(toolkit, from.record.get(), to.record.get(), err.get()));
  if (!pair) throw Stop(kUnusable, err.text());
  const OwnedText fromTitle(oprj_ProjectionDescribe(toolkit, from.record.get(), err.get())),
      toTitle(oprj_ProjectionDescribe(toolkit, to.record.get(), err.get()));
  if (!fromTitle || !toTitle) throw Stop(kUnusable, "a system cannot be described: " + err.text());
  if (oprj_MapProjectionEqual(pair->in, pair->out, err.get())) {
    std::printf("Both systems are equal: points are copied%s.\n",
                from.unit == to.unit ? "" : " (but for their unit)");
    return kGood;
  }
  std::printf("A point goes from \"%s\" (%s) to \"%s\" (%s):\n", fromTitle.get(), from.unit.c_str(),
              toTitle.get(), to.unit.c_str());
  std::printf("  1. inverse: %s to longitude, latitude on \"%s\"%s\n", fromTitle.get(),
              from.spheroid().sphereName.data, from.geographic ? " (nothing to do)" : "");
  const bool works = printShift(from, to);
  std::printf("  3. forward: longitude, latitude on \"%s\" to %s%s\n",
              to.spheroid().sphereName.data, toTitle.get(),
              to.geographic ? " (nothing to do)" : "");
  return works ? kGood : kUnusable;
}

}  // namespace

void addExplain(CLI::App &app, const Console &console, Action &action) {
  CLI::App *command =
      app.add_subcommand("explain", "Tell the chain that a point takes between two systems");
  auto from = std::make_shared<std::string>(), to = std::make_shared<std::string>();
  command->add_option("--from", *from, "Coordinate system of the input")
      ->required()
      ->type_name("CS");
  command->add_option("--to", *to, "Coordinate system of the output")->required()->type_name("CS");
  command->callback([from, to, &console, &action] {
    action = [from, to, &console] { return explain(*from, *to, console); };
  });
}

}  // namespace program
