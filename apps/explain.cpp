// oprj explain: the chain that a point takes between two systems, and how far the datum shift moves
// points.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "commands.h"
#include "legs.h"
#include "shift.h"

namespace program {
namespace {

using OwnedSteps = std::unique_ptr<Oprj_ChainStep, FreeBy<Oprj_ChainStep, oprj_ChainStepsFree>>;

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

std::string shiftFormula(const Oprj_ChainStep &step) {
  switch (step.formula) {
    case OPRJ_FORMULA_NO_DATUM:
      return "no shift: a datum is undefined";
    case OPRJ_FORMULA_SAME_DATUM:
      return "no shift: the same datum";
    case OPRJ_FORMULA_MOLODENSKY:
      return "standard Molodensky formulas (geocentric beyond 88.95 degrees)";
    case OPRJ_FORMULA_SEVEN_PARAMETERS:
      return "seven-parameter geocentric shift (Bowring's formula back)";
    default:
      return std::string("from \"") + step.from + "\" by " + route(step.fromType) + ", to \"" +
             step.to + "\" by " + route(step.toType);
  }
}

/// A grid, or a surface that does not hold everywhere.
bool bounded(int32_t type, const char *datumName) {
  const auto surface = type == OPRJ_DATUM_SURFACE ? surfaceDatum(datumName) : SurfacePtr();
  OrvikDatum::Extent extent;
  return type == OPRJ_DATUM_GRID || (surface && surface->GetSurface()->GetExtent(extent));
}

void printShift(const Oprj_ChainStep &step) {
  const bool isBounded = bounded(step.fromType, step.from) || bounded(step.toType, step.to);
  std::printf("datum: \"%s\" on \"%s\" to \"%s\" on \"%s\"\n     %s\n", step.from,
              step.fromSpheroid, step.to, step.toSpheroid, shiftFormula(step).c_str());
  if (step.trouble) std::printf("     but the shift cannot be made: %s\n", step.trouble);
  else if (step.moved > 0)
    std::printf("     over %s it moves coordinates by %.1f to %.1f m, median %.1f m\n",
                step.moved == step.tried && !isBounded ? "the globe" : "its area", step.least,
                step.greatest, step.median);
  else if (step.tried > 0)
    std::printf("     its area is too small to say how far it moves coordinates\n");
  if (step.formula == OPRJ_FORMULA_MOLODENSKY || step.formula == OPRJ_FORMULA_SEVEN_PARAMETERS)
    std::printf("     %s\n", printable(parametersAccuracy(step.from, step.to)).c_str());
}

void printStep(const Oprj_ChainStep &step, const System &from, const System &to) {
  const char *nothing = step.formula == OPRJ_FORMULA_NOTHING ? " (nothing to do)" : "";
  if (step.kind == OPRJ_STEP_SHIFT) printShift(step);
  else if (step.kind == OPRJ_STEP_INVERSE)
    std::printf("inverse: %s to longitude, latitude on \"%s\"%s\n", step.from, step.fromSpheroid,
                nothing);
  else
    std::printf("forward: longitude, latitude on \"%s\" to %s%s\n", step.toSpheroid, step.to,
                nothing);
  if (step.kind == OPRJ_STEP_SHIFT) return;
  const std::string outside = outsideOf(*(step.kind == OPRJ_STEP_INVERSE ? from : to).record);
  if (!outside.empty()) std::printf("     points leave this program for %s\n", outside.c_str());
}

/// The steps of all pairs: inverse of the first, forward of the last, and the shift of the pair
/// that makes one.
struct Steps {
  std::vector<OwnedSteps> lists;
  std::vector<const Oprj_ChainStep *> shown;
};
Steps stepsOf(Oint_Toolkit *toolkit, const std::vector<OwnedPair> &pairs) {
  Steps steps;
  const auto native = std::ranges::find_if(pairs, [](const OwnedPair &pair) {
    return std::string_view(pair->in->title) == OPRJ_TITLE_NATIVE;
  });
  const OwnedPair &shifting = native == pairs.end() ? pairs.front() : *native;
  for (const OwnedPair &pair : pairs) {
    Slot err;
    steps.lists.emplace_back(oprj_ProjectionPairExplain(toolkit, pair.get(), err.get()));
    if (!steps.lists.back()) throw Stop(kUnusable, err.text());
    for (const Oprj_ChainStep *step = steps.lists.back().get(); step; step = step->next) {
      if (step->kind == OPRJ_STEP_INVERSE   ? pair == pairs.front()
          : step->kind == OPRJ_STEP_FORWARD ? pair == pairs.back()
          : step->kind == OPRJ_STEP_SHIFT   ? pair == shifting
                                            : true)
        steps.shown.push_back(step);
    }
  }
  return steps;
}

/// Longitude and latitude in degrees, as radians.
std::optional<Oprj_Point> placeOf(const std::vector<double> &at) {
  if (at.empty()) return {};
  constexpr double kPole = 90;
  if (!(std::isfinite(at[0]) && std::fabs(at[1]) <= kPole))
    throw Stop(kUsage, "--at takes a longitude and a latitude in degrees");
  return Oprj_Point{at[0] * kDegree, at[1] * kDegree};
}

Status explain(const std::string &fromText, const std::string &toText,
               const std::vector<double> &at, const Console &console) {
  const std::optional<Oprj_Point> place = placeOf(at);
  Oint_Toolkit *toolkit = startLibrary(console);
  const System from = readSystem(toolkit, fromText, console),
               to = readSystem(toolkit, toText, console);
  const std::vector<OwnedPair> pairs = makePairs(toolkit, from, to, console);
  const Steps steps = pairs.empty() ? Steps() : stepsOf(toolkit, pairs);
  Status status = kGood;
  if (pairs.empty() || steps.shown.front()->kind == OPRJ_STEP_COPY) {
    std::printf("Both systems are equal: points are copied%s.\n",
                from.unit == to.unit ? "" : " (but for their unit)");
  } else {
    std::printf("A point goes from \"%s\" (%s) to \"%s\" (%s):\n", from.title.c_str(),
                from.unit.c_str(), to.title.c_str(), to.unit.c_str());
    for (const Oprj_ChainStep *step : steps.shown) {
      std::printf("  %d. ", step->kind);
      printStep(*step, from, to);
      if (step->kind == OPRJ_STEP_SHIFT && shiftsBetween(from, to) && !step->trouble &&
          (place || step->formula == OPRJ_FORMULA_ROUTE))
        printLegs(toolkit, from.spheroid(), to.spheroid(), place, console);
      if (step->trouble) status = kUnusable;
    }
  }
  for (const std::string &caution : cautionsOf(toolkit, pairs))
    std::printf("Note: %s.\n", caution.c_str());
  return status;
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
  auto at = std::make_shared<std::vector<double>>();
  command
      ->add_option(
          "--at", *at,
          "A place on the first datum, in degrees: how far each leg of the datum shift moves it")
      ->expected(2)
      ->delimiter(',')
      ->allow_extra_args(false)
      ->type_name("LON,LAT");
  command->callback([from, to, at, &console, &action] {
    action = [from, to, at, &console] { return explain(*from, *to, *at, console); };
  });
}

}  // namespace program
