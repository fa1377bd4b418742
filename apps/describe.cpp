// oprj describe: everything known of a coordinate system.
#include <cstdio>

#include "commands.h"
#include "shift.h"

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

/// A system that the Projection Engine computes: its projection and what that reads.
void describeEngine(const Oawp_PE_COORDSYS *engine) {
  if (!oawp_PE_pe_projcs_p(engine))
    return line("projection",
                "none: geographic, from the prime meridian " +
                    std::string(oawp_PE_pe_primem_name(oawp_PE_pe_geogcs_primem(engine))));
  line("projection", oawp_PE_pe_projection_name(oawp_PE_pe_projcs_projection(engine)) +
                         std::string(", of the Projection Engine"));
  const auto *const *parameter = oawp_PE_pe_projcs_parameters(engine);
  for (; parameter && *parameter; ++parameter)
    line("", oawp_PE_pe_parameter_name(*parameter) +
                 (" = " + numberText(oawp_PE_pe_parameter_value(*parameter))));
}

/// The slots of a record and its text.
struct Described {
  const Oprj_DblArray &slots;
  std::string_view text;

  /// A slot's value. Angles stand in the text as somebody would write them: 29.5 degrees, not the
  /// 29.500000000000004 that come of the way through radians.
  std::string valueOf(const Oprj_QueryEntry &entry) const {
    const double value = slots.data[entry.index];
    if (entry.kind == OPRJ_QUERY_DISTANCE) return numberText(value) + " m";
    if (entry.kind != OPRJ_QUERY_ANGLE) return numberText(value);
    const std::string before = std::string("; ") + (entry.key ? entry.key : "") + "=";
    const size_t at = entry.key ? text.find(before) : text.npos;
    if (at == text.npos) return numberText(value / kDegree) + " degrees";
    const std::string_view from = text.substr(at + before.size());
    return std::string(from.substr(0, from.find(';'))) + " degrees";
  }
};

/// One slot that the projection reads: its key, value and question.
void printSlot(const Oprj_QueryEntry *entry, const Oprj_QueryEntry *, const Oprj_CondQueryEntry *,
               void *context) {
  const auto &described = *static_cast<const Described *>(context);
  if (entry->kind < OPRJ_QUERY_NUMBER || entry->index < 0 || entry->index >= described.slots.count)
    return;
  const std::string key = entry->key ? entry->key : "p" + std::to_string(entry->index);
  line("", key + " = " + described.valueOf(*entry) + "   (" + entry->prompt +
               (entry->key ? ", p" + std::to_string(entry->index) : "") + ")");
}

Status describe(const std::string &written, const Console &console) {
  Oint_Toolkit *toolkit = startLibrary(console);
  const System system = readSystem(toolkit, written, console);
  const Oprj_ProParameters &record = *system.record;
  Slot err;
  line("system", system.title);
  const OwnedEngineSystem engine = engineSystemOf(record);
  if (engine) describeEngine(engine.get());
  else
    line("projection", record.proType == OPRJ_EXTERNAL
                           ? std::string("external, ") + record.proExeName.data
                           : std::to_string(record.proNumber) + ", " + record.proName.data);
  const OwnedText text(oprj_ProParametersToText(
      toolkit, &record, ocvt_UnitSetByName(system.unit.c_str(), nullptr), err.get()));
  Described described{record.proParams, text ? text.get() : ""};
  if (const Oprj_Query *query = engine ? nullptr : oprj_QueryByExample(toolkit, &record, err.get()))
    oprj_QueryEntriesVisit(query->proParamsQuerylist, &record.proParams, printSlot, &described);
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

  Status status = kGood;
  try {
    const std::string outside = outsideOf(record);
    if (outside.empty() || console.allowExternal) requireProjection(toolkit, system, console);
    line("computed",
         engine ? "by the Projection Engine"
         : outside.empty()
             ? "natively"
             : "outside of this program, by " + outside +
                   (console.allowExternal ? "" : " (not tried: --allow-external runs it)"));
  } catch (const Stop &stop) {
    line("computed", std::string("not at all: ") + stop.what());
    status = stop.status;
  }
  if (text) line("text", text.get());
  for (const std::string &caution : cautionsOf(toolkit, system)) line("note", caution);
  return status;
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
