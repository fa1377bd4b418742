#include "system.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <utility>

namespace program {

const char *const kSystemHelp =
    R"(A coordinate system CS is written as `NAME; key=value; ...`. NAME is a projection of the dictionary
(`oprj list projections`, any case) or its number. Keys: zone (UTM 1 to 60, also 17N or 17S; State Plane
by number, FIPS code or "STATE ZONE"), south, nad (27, 83, harn), spheroid, datum, a, b (metres), units,
lon_0, lat_0, lat_1, lat_2, lat_ts, lon_1, lon_2, azimuth (degrees, decimal or d:m:s), k_0, x_0, y_0, h
(metres), satellite, path, and p0 to p14 for slots directly (radians, metres; a suffix d means degrees).
FILE::LAYER is the coordinate system of a layer in a node file, points being in the unit of its map info.
`oprj define` asks for what a projection needs. What is left out is 0, a scale factor 1, lat_2 the same as
lat_1; keys without a natural value (h, satellite, ...) are refused when left out. Datums and spheroids are
found in any case, without their blanks, and by common names (WGS84, ETRS89, EPSG:6258). State Plane takes
its zones by the datum (NAD27, NAD83, HARN) or by nad. `external PROGRAM; ...` is computed by a program or a plug-in of
that name (with --allow-external).
Also taken are a text of the Projection Engine (PROJCS[...], GEOGCS[...]), the path of a .prj file, a code
(EPSG:32618, ESRI:102003) and its name ("WGS 84 / UTM zone 18N"; `oprj list codes` finds them), and an item
of a projection library: @LIBRARY/TITLE, as in @UTM/WGS 84 / UTM zone 18N (`oprj library` lists them).
Points are longitude, latitude in degrees or easting, northing in metres, in this order, unless `units`
says otherwise. Examples:
  geographic; datum=WGS 84
  utm; zone=17; spheroid=GRS 1980; datum=NAD83
  state plane; zone=California Zone 5; nad=83
  Lambert Conformal Conic; datum=WGS 84; lat_1=33; lat_2=45; lon_0=-96; lat_0=39
)";

namespace {

/// Where the names of a refused kind are listed; null for those that are listed nowhere.
const char *listOf(int32_t kind) {
  switch (kind) {
    case OPRJ_TEXT_NO_PROJECTION:
      return "projections";
    case OPRJ_TEXT_NO_SPHEROID:
      return "spheroids";
    case OPRJ_TEXT_NO_DATUM:
    case OPRJ_TEXT_AMBIGUOUS:
      return "datums";
    case OPRJ_TEXT_NO_ZONE:
      return "zones";
    case OPRJ_TEXT_NO_UNIT:
      return "units";
    case OPRJ_TEXT_NO_CODE:
      return "codes";
    default:
      return nullptr;
  }
}

constexpr int32_t kShown = 8;  // suggestions

/// What the tables say of a datum.
std::string descriptionOf(const Oprj_InitData &data, const char *name) {
  for (const auto *entry = data.spheroidTable; entry; entry = entry->next) {
    for (const auto *datum = entry->datums; datum; datum = datum->next) {
      if (datum->description && std::string_view(name) == datum->name) return datum->description;
    }
  }
  return "";
}

}  // namespace

std::string choiceText(Oint_Toolkit *toolkit, const char *name) {
  const std::string description = descriptionOf(referenceData(toolkit), name);
  return "\"" + std::string(name) + "\"" + (description.empty() ? "" : "  " + description);
}

std::string refusalText(const Oerr_Report *report) {
  std::string text = oerr_MessageGet(report);
  const int32_t kind = oerr_KindGet(report);
  if (const char *list = listOf(kind)) text += "; `oprj list " + std::string(list) + "` lists them";
  return text;
}

namespace {

/// What an ambiguous name may stand for, a line each.
std::vector<std::string> choicesOf(Oint_Toolkit *toolkit, const Oerr_Report *report) {
  std::vector<std::string> lines;
  if (oerr_KindGet(report) != OPRJ_TEXT_AMBIGUOUS) return lines;
  int32_t count = 0;
  for (; const char *name = oerr_SuggestionGet(report, count); ++count) {
    if (count < kShown) lines.push_back(choiceText(toolkit, name));
  }
  if (count > kShown) lines.push_back("and " + std::to_string(count - kShown) + " more");
  return lines;
}

}  // namespace

OwnedEngineSystem readEngineText(const char *text) {
  OwnedEngineSystem system(oawp_PE_pe_coordsys_from_string(text));
  Slot err;
  oawp_PE_ReportTake(err.get());
  return system;
}

bool isEngineText(const std::string &text) { return readEngineText(text.c_str()) != nullptr; }

OwnedEngineSystem engineSystemOf(const Oprj_ProParameters &record) {
  if (record.proType != OPRJ_INTERNAL) return nullptr;
  const OwnedText text(oprj_CharStrToString(&record.proExeName));
  return text && *text ? readEngineText(text.get()) : nullptr;
}

std::string fileText(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  if (!file.is_open() || file.bad()) throw Stop(kUnusable, "cannot read " + path);
  if (trimmed(text).empty()) throw Stop(kUnusable, path + " is empty");
  return text;
}

System readSystem(Oint_Toolkit *toolkit, const std::string &written, const Console &console) {
  Slot err;
  const std::unique_ptr<Oprj_System, FreeBy<Oprj_System, oprj_SystemFree>> read(
      oprj_SystemRead(toolkit, written.c_str(), err.get()));
  if (!read) throw Stop(kUnusable, refusalText(err.report()), choicesOf(toolkit, err.report()));
  System system;
  system.text = read->description;
  system.record.reset(std::exchange(read->record, nullptr));
  for (const Oprj_Note *note = read->notes; note; note = note->next) {
    if (note->kind == OPRJ_NOTE_GRID) system.gridTrouble = note->text;
    else console.warn(note->text);
  }
  system.unit = read->unit->name;
  system.unitFactor = read->unit->factor;
  system.geographic = read->unit->kind == OCVT_KIND_ANGLE;
  const OwnedText title(oprj_ProParametersTitle(toolkit, system.record.get(), err.get()));
  if (!title) throw Stop(kUnusable, err.text());
  system.title = title.get();
  return system;
}

namespace {

/// Whether a projection can be built from a text.
bool computes(Oint_Toolkit *toolkit, const std::string &text) {
  Slot err;
  const OwnedRecord record(
      oprj_ProParametersFromText(toolkit, text.c_str(), nullptr, nullptr, err.get()));
  if (!record) return false;
  Oprj_MapProjectionEx *made = nullptr;
  oprj_ProjectionInit(toolkit, record.get(), &made, err.get());
  return OwnedHandle(made) != nullptr;
}

std::vector<std::string> partsOf(const std::string &text) {
  std::vector<std::string> parts;
  for (size_t begin = 0; begin <= text.size();) {
    const size_t end = std::min(text.find(';', begin), text.size());
    parts.emplace_back(trimmed(std::string_view(text).substr(begin, end - begin)));
    begin = end + 1;
  }
  return parts;
}

/// What a projection says of the parts of a description that it cannot have: those without which,
/// or with another value, it can be built.
std::string complaintOf(Oint_Toolkit *toolkit, const std::string &text, const std::string &reason) {
  const std::vector<std::string> parts = partsOf(text);
  std::vector<std::string> culprits;
  bool poles = false;
  for (size_t part = 1; part < parts.size(); ++part) {
    const size_t equals = std::min(parts[part].find('='), parts[part].size());
    const std::string key = lower(trimmed(parts[part].substr(0, equals)));
    for (const std::string instead : {"", "45", "1000000", "1"}) {
      std::string tried = parts[0];
      for (size_t i = 1; i < parts.size(); ++i) {
        if (i != part) tried += "; " + parts[i];
        else if (!instead.empty()) tried += "; " + key + "=" + instead;
      }
      if (!computes(toolkit, tried)) continue;
      culprits.push_back(parts[part]);
      double degrees = 0;
      if (key.starts_with("lat") && equals < parts[part].size() &&
          ocvt_AngleParse(parts[part].c_str() + equals + 1, &degrees))
        poles = std::fabs(degrees) >= 90;
      break;
    }
  }
  if (culprits.size() == 1 && poles)
    return culprits[0] + " must lie between -90 and 90, both excluded";
  std::string all;
  for (const std::string &culprit : culprits)
    all += culprit + (culprit == culprits.back() ? ": " : ", ");
  return all + reason;
}

}  // namespace

std::string outsideOf(const Oprj_ProParameters &record) {
  if (record.proType != OPRJ_EXTERNAL) return {};
  Slot err;
  int32_t isPlugIn = 0;
  const OwnedText path(oprj_ExternalFind(&record, &isPlugIn, err.get()));
  if (!path) return "nothing: " + err.rootMessage();
  return (isPlugIn ? "the plug-in " : "the program ") + std::string(path.get());
}

OwnedHandle requireProjection(Oint_Toolkit *toolkit, const System &system, const Console &console) {
  Slot err;
  const std::string outside = outsideOf(*system.record);
  if (!outside.empty() && !console.allowExternal)
    throw Stop(kUnusable, system.title + " is computed outside of this program, by " + outside +
                              "; --allow-external runs it");
  Oprj_MapProjectionEx *made = nullptr;
  oprj_ProjectionInit(toolkit, system.record.get(), &made, err.get());
  OwnedHandle handle(made);
  if (!handle) {
    console.detail(err.text());
    const std::string reason = err.rootMessage();
    if (outside.empty())
      throw Stop(kUnusable, system.title + ": " + complaintOf(toolkit, system.text, reason));
    const bool found = outside.find(reason) == outside.npos;
    throw Stop(kUnusable, system.title + (found ? ", by " + outside : "") + ": " + reason);
  }
  if (const auto *engine = static_cast<const Oawp_PE_PROJCS *>(
          oprj_MapProjectionPCSRGet(handle.get(), OPRJ_TITLE_PE, err.get()))) {
    oawp_PE_pe_geog_to_proj(engine, 0, nullptr);
    oawp_PE_ReportTake(err.get());
    if (err) throw Stop(kUnusable, system.title + ": " + err.rootMessage());
  }
  return handle;
}

}  // namespace program
