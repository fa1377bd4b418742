// oprj explain: the chain that a point takes between two systems, and how far the datum shift moves
// points.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "commands.h"
#include "system.h"

namespace program {
namespace {

/// What the shift does over a grid of the whole globe, every 15 degrees.
void printShiftSizes(const System &from, const System &to) {
  std::vector<Oprj_Point> in;
  for (int lat = -75; lat <= 75; lat += 15) {
    for (int lon = -180; lon < 180; lon += 15) in.push_back({lon * kDegree, lat * kDegree});
  }
  std::vector<Oprj_Point> out(in.size());
  Slot err;
  oprj_DatumShift(in.data(), &from.spheroid(), out.data(), &to.spheroid(),
                  static_cast<int32_t>(in.size()), err.get());
  if (err) {
    std::printf("     the shift fails: %s\n", err.text().c_str());
    return;
  }
  std::vector<double> sizes;
  for (size_t i = 0; i < in.size(); ++i) {
    const double east = std::remainder(out[i].x - in[i].x, 2 * M_PI) * std::cos(in[i].y);
    sizes.push_back(std::hypot(east, out[i].y - in[i].y) * from.spheroid().a);
  }
  std::sort(sizes.begin(), sizes.end());
  std::printf("     over the globe it moves coordinates by %.1f to %.1f m, median %.1f m\n",
              sizes.front(), sizes.back(), sizes[sizes.size() / 2]);
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

void printShift(const System &from, const System &to) {
  const Oprj_Datum &source = *from.spheroid().datum, &destination = *to.spheroid().datum;
  std::printf("  2. datum: \"%s\" on \"%s\" to \"%s\" on \"%s\"\n", from.datumName(),
              from.spheroid().sphereName.data, to.datumName(), to.spheroid().sphereName.data);
  if (source.type == OPRJ_DATUM_NONE || destination.type == OPRJ_DATUM_NONE) {
    std::printf("     no shift: a datum is undefined\n");
    return;
  }
  if (oprj_CharStrsEqual(&source.datumname, &destination.datumname, nullptr)) {
    std::printf("     no shift: the same datum\n");
    return;
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
  printShiftSizes(from, to);
}

Status explain(const std::string &fromText, const std::string &toText, const Console &console) {
  Oint_Toolkit *toolkit = startLibrary(console);
  const System from = readSystem(toolkit, fromText, console),
               to = readSystem(toolkit, toText, console);
  Slot err;
  const OwnedPair pair(
      oprj_ProjectionPairInit(toolkit, from.record.get(), to.record.get(), err.get()));
  if (!pair) throw Stop(kUnusable, err.text());
  const OwnedText fromTitle(oprj_ProjectionDescribe(toolkit, from.record.get(), nullptr)),
      toTitle(oprj_ProjectionDescribe(toolkit, to.record.get(), nullptr));
  if (oprj_MapProjectionEqual(pair->in, pair->out, nullptr)) {
    std::printf("Both systems are equal: points are copied%s.\n",
                from.unit == to.unit ? "" : " (but for their unit)");
    return kGood;
  }
  std::printf("A point goes from \"%s\" (%s) to \"%s\" (%s):\n", fromTitle.get(), from.unit.c_str(),
              toTitle.get(), to.unit.c_str());
  std::printf("  1. inverse: %s to longitude, latitude on \"%s\"%s\n", fromTitle.get(),
              from.spheroid().sphereName.data, from.geographic ? " (nothing to do)" : "");
  printShift(from, to);
  std::printf("  3. forward: longitude, latitude on \"%s\" to %s%s\n",
              to.spheroid().sphereName.data, toTitle.get(),
              to.geographic ? " (nothing to do)" : "");
  return kGood;
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
