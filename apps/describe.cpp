// oprj describe: everything known of a coordinate system.
#include <cstdio>

#include "commands.h"
#include "slots.h"
#include "system.h"

namespace program {
namespace {

const char *datumKind(int32_t type) {
  switch (type) {
    case OPRJ_DATUM_PARAMETRIC:
      return "parametric";
    case OPRJ_DATUM_GRID:
      return "grid";
    case OPRJ_DATUM_REGRESSION:
      return "multiple regression";
    case OPRJ_DATUM_SURFACE:
      return "surface";
    default:
      return "none";
  }
}

void line(const char *label, const std::string &value) {
  std::printf("%-16s%s\n", label, value.c_str());
}

std::string slotText(const Question &question, double value) {
  switch (question.kind) {
    case OPRJ_QUERY_ANGLE:
      return numberText(value / kDegree) + " degrees";
    case OPRJ_QUERY_DISTANCE:
      return numberText(value) + " m";
    default:
      return numberText(value);
  }
}

Status describe(const std::string &text, const Console &console) {
  Oint_Toolkit *toolkit = startLibrary(console);
  const System system = readSystem(toolkit, text, console);
  const Oprj_ProParameters &record = *system.record;
  Slot err;
  const OwnedText title(oprj_ProjectionDescribe(toolkit, system.record.get(), err.get()));
  line("system", title ? title.get() : "");
  line("projection", record.proType == OPRJ_EXTERNAL
                         ? std::string("external, ") + record.proExeName.data
                         : std::to_string(record.proNumber) + ", " + record.proName.data);

  const Oprj_Query *query = oprj_QueryByExample(toolkit, system.record.get(), err.get());
  if (query) {
    for (const Question &question : questionsOf(*query, record.proParams.data)) {
      if (question.slot < record.proParams.count)
        line("", "p" + std::to_string(question.slot) + " = " +
                     slotText(question, record.proParams.data[question.slot]) + "   (" +
                     question.prompt + ")");
    }
  }
  const Oprj_Spheroid &spheroid = system.spheroid();
  line("spheroid", spheroid.sphereName.data ? spheroid.sphereName.data : "");
  line("", "a = " + numberText(spheroid.a) + " m, b = " + numberText(spheroid.b) + " m");
  if (spheroid.a != spheroid.b)
    line("", "1/f = " + numberText(spheroid.a / (spheroid.a - spheroid.b)) +
                 ", e² = " + numberText(spheroid.eSquared));
  line("", "authalic radius = " + numberText(spheroid.radius) + " m");
  const Oprj_Datum &datum = *spheroid.datum;
  line("datum", std::string(system.datumName()) + " (" + datumKind(datum.type) + ")");
  if (datum.type == OPRJ_DATUM_PARAMETRIC && datum.params.count >= 7) {
    const double *p = datum.params.data;
    line("", "to WGS 84: dX = " + numberText(p[0]) + ", dY = " + numberText(p[1]) +
                 ", dZ = " + numberText(p[2]) + " m");
    if (p[3] != 0 || p[4] != 0 || p[5] != 0 || p[6] != 0)
      line("", "rX = " + numberText(p[3]) + ", rY = " + numberText(p[4]) +
                   ", rZ = " + numberText(p[5]) +
                   " rad (coordinate frame), scale difference = " + numberText(p[6]));
  }
  if (datum.type == OPRJ_DATUM_GRID) {
    line("", std::string("grid file = ") + (datum.gridname.data ? datum.gridname.data : ""));
    if (!system.gridTrouble.empty()) line("", system.gridTrouble);
  }
  line("points", system.geographic ? "longitude, latitude in " + system.unit
                                   : "easting, northing in " + system.unit);

  Oprj_MapProjectionEx *made = nullptr;
  const bool usable = oprj_ProjectionInit(toolkit, system.record.get(), &made, err.get()) != 0;
  const OwnedHandle handle(made);
  line("computed", usable ? "natively" : "not at all: " + err.text());
  return usable ? kGood : kUnusable;
}

}  // namespace

void addDescribe(CLI::App &app, const Console &console, Action &action) {
  CLI::App *command =
      app.add_subcommand("describe", "Tell everything known of a coordinate system");
  auto text = std::make_shared<std::string>();
  command->add_option("system", *text, "Coordinate system")->required()->type_name("CS");
  command->footer(kSystemHelp);
  command->callback([text, &console, &action] {
    action = [text, &console] { return describe(*text, console); };
  });
}

}  // namespace program
