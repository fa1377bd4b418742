// Spheroids and datums of engine texts.
#include <oprj/ostr.h>

#include <algorithm>
#include <charconv>
#include <cmath>

#include "interchange/translation_parts.h"
#include "tables/table_records.h"

namespace orvik::oprj {
namespace {

constexpr double kNamedAxes = 1e-3;  // m: a name counts when its axes agree so far
constexpr double kRadiansPerSecond = kRadiansPerDegree / 3600;
constexpr double kPpm = 1e-6;
constexpr const char *kUndefinedEngineDatum = "D_Undefined";
constexpr const char *kTarget = "D_WGS_1984";

std::string withBlanks(std::string_view name) {
  std::string text(name);
  std::replace(text.begin(), text.end(), '_', ' ');
  return text;
}
std::string withUnderscores(std::string_view name) {
  std::string text(name);
  std::replace(text.begin(), text.end(), ' ', '_');
  return text;
}
std::string_view withoutMark(std::string_view engineDatum) {
  return engineDatum.substr(engineDatum.starts_with("D_") ? 2 : 0);
}

/// The spheroid of the tables that a name and axes are; null when there is none.
const Oprj_SpheroidTableEntry *spheroidNamed(const Tables &tables, const char *engineName, double a,
                                             double b) {
  const SpheroidRow *row = engineSpheroid(engineName);
  for (const std::string &name : {std::string(row ? row->reads : ""), withBlanks(engineName)}) {
    const auto *entry = oprj_SpheroidEntryByName(tables.toolkit, Flat(name), tables.e.cause());
    if (entry && std::fabs(entry->a - a) <= kNamedAxes && std::fabs(entry->b - b) <= kNamedAxes)
      return entry;
  }
  const OwnedText name(oprj_GetSpheroidNameByAxes(tables.toolkit, a, b, tables.e.cause()));
  return name ? oprj_SpheroidEntryByName(tables.toolkit, name.get(), tables.e.cause()) : nullptr;
}

void readSpheroid(const Tables &tables, const EngineObject &object, Oprj_Spheroid &spheroid,
                  Notes &notes) {
  const char *name = object.name.c_str();
  const double a = object.numbers[0], rf = object.numbers[1];
  const double b = rf != 0 ? a - a / rf : a;
  if (const auto *entry = spheroidNamed(tables, name, a, b)) {
    tables.need(oprj_SpheroidByName(tables.toolkit, entry->name, &spheroid, tables.e.cause()));
    return;
  }
  tables.need(oprj_SpheroidByAxes(tables.toolkit, a, b, &spheroid, tables.e.cause()));
  tables.need(oprj_CharStrCreate(Flat(name), &spheroid.sphereName, tables.e.cause()));
  notes.add(OPRJ_NOTE_OWN_SPHEROID, "the spheroid " + inQuotes(name) + " is not in the tables");
}

/// The numbers of a node TOWGS84[...] (three or seven, position vector, seconds, ppm) as the record
/// has them; false when they are others.
bool readShift(std::string_view text, double (&shift)[7]) {
  text.remove_prefix(std::min(text.find_first_of("[(") + 1, text.size()));
  size_t count = 0;
  for (; count < 7 && !text.empty(); ++count) {
    if (text[0] == '+') text.remove_prefix(1);
    const auto [end, problem] =
        std::from_chars(text.data(), text.data() + text.size(), shift[count]);
    if (problem != std::errc()) return false;
    text.remove_prefix(static_cast<size_t>(end - text.data()));
    if (!text.empty()) text.remove_prefix(1);
  }
  if ((count != 3 && count != 7) || !text.empty()) return false;
  for (int i = 3; i < 6; ++i) shift[i] *= -kRadiansPerSecond;
  shift[6] *= kPpm;
  return true;
}

/// The datum keeps the engine's name. A TOWGS84 says how it is shifted.
void keepDatum(const Tables &tables, const EngineObject &object, const char *why, Oprj_Datum &datum,
               Notes &notes) {
  const char *name = object.name.c_str();
  tables.need(oprj_CharStrCreate(Flat(name), &datum.datumname, tables.e.cause()));
  double shift[7] = {};
  if (const auto *node = engine::unknownPartOf(object, "TOWGS84");
      node && readShift({node->name.data(), node->name.size()}, shift)) {
    tables.need(oprj_DblArrayCreate(7, &datum.params, tables.e.cause()));
    std::copy(std::begin(shift), std::end(shift), datum.params.data);
    datum.type = OPRJ_DATUM_PARAMETRIC;
    return;
  }
  notes.add(OPRJ_NOTE_KEPT_DATUM,
            "the datum " + inQuotes(name) + " " + why + ": it is not shifted to any other");
}

void readDatum(const Tables &tables, const EngineObject &object, Oprj_Spheroid &spheroid,
               Notes &notes) {
  tables.need(oprj_DatumInit(&spheroid.datum, tables.e.cause()));
  const DatumRow *row = engineDatum({object.name.data(), object.name.size()});
  const std::string_view name = row ? row->reads : "";
  if (name == kUndefinedDatum) return;
  // On the record's own spheroid first: names may stand on several.
  const Oprj_SpheroidTableEntry *lies = nullptr;
  const auto *own =
      oprj_SpheroidEntryByName(tables.toolkit, spheroid.sphereName.data, tables.e.cause());
  const Flat wanted(row ? row->reads : "");
  if (!name.empty() && own && findDatumEntry(*own, wanted)) lies = own;
  for (const auto *entry = tables.data.spheroidTable; entry && !lies && !name.empty();
       entry = entry->next) {
    if (findDatumEntry(*entry, wanted)) lies = entry;
  }
  if (!lies) {
    keepDatum(tables, object,
              row && name.empty() ? "may be one of several of the tables" : "is not in the tables",
              *spheroid.datum, notes);
    return;
  }
  if (lies != own)
    notes.add(OPRJ_NOTE_OTHER_SPHEROID, "the datum " + inQuotes(name) + " lies on the spheroid " +
                                            inQuotes(textOf(lies->name).view()) +
                                            " in the tables, here on " +
                                            inQuotes(textOf(spheroid.sphereName).view()));
  // A grid is opened by the shift that needs it, and here only to tell that it is missing.
  Oprj_Datum &datum = *spheroid.datum;
  const Oprj_DatumTableEntry &entry = *findDatumEntry(*lies, wanted);
  if (entry.type == OPRJ_DATUM_GRID && !tables.opensGrids) {
    tables.need(oprj_CharStrCreate(entry.name, &datum.datumname, tables.e.cause()));
    tables.need(oprj_CharStrCreate(entry.gridname, &datum.gridname, tables.e.cause()));
    datum.type = entry.type;
  } else if (!oprj_DatumByName(tables.toolkit, lies->name, wanted, &datum, tables.e.cause())) {
    if (datum.type != OPRJ_DATUM_GRID) tables.need<void>(nullptr);
    notes.add(OPRJ_NOTE_GRID, oerr_MessageGet(oerr_RootCauseGet(tables.e.causeReport())));
  }
}

/// As texts name the datum of a record.
std::string engineNameOf(const Oprj_Datum *datum) {
  if (isUndefined(datum)) return kUndefinedEngineDatum;
  const std::string name = textOf(datum->datumname).str();
  if (const char *engine = engineDatumOf(name)) return engine;
  return (name.starts_with("D_") ? "" : "D_") + withUnderscores(name);
}

OwnedObject writeSpheroid(const Oprj_Spheroid &spheroid) {
  const std::string name = textOf(spheroid.sphereName).str();
  const SpheroidRow *row = engineSpheroidOf(name);
  const double a = spheroid.a, b = spheroid.b;
  if (row && std::fabs(row->a - a) <= kNamedAxes &&
      std::fabs((row->rf != 0 ? row->a - row->a / row->rf : row->a) - b) <= kNamedAxes) {
    const double numbers[] = {row->a, row->rf};
    return engine::make(Kind::kSpheroid, row->engine, numbers);
  }
  const double numbers[] = {a, a == b ? 0 : a / (a - b)};
  for (uint32_t i = 0; i < 2; ++i) {
    if (!engine::validNumber(Kind::kSpheroid, i, numbers[i]))
      throw Untranslatable{"The spheroid " + inQuotes(name) + " (" + shortest(a) + ", " +
                           shortest(b) + " m) has no Projection Engine counterpart"};
  }
  return engine::make(Kind::kSpheroid, name.empty() ? "Unknown" : withUnderscores(name), numbers);
}

OwnedObject geogcsOf(const std::string &datumName, OwnedObject spheroid, OwnedObject unit) {
  OwnedObject datum = engine::make(Kind::kDatum, datumName);
  engine::adopt(*datum, std::move(spheroid));
  OwnedObject geogcs = engine::make(Kind::kGeogcs, "GCS_" + std::string(withoutMark(datumName)));
  engine::adopt(*geogcs, std::move(datum));
  constexpr double kGreenwich[] = {0.0};
  engine::adopt(*geogcs, engine::make(Kind::kPrimem, "Greenwich", kGreenwich));
  engine::adopt(*geogcs, std::move(unit));
  return geogcs;
}

}  // namespace

void readEarth(const Tables &tables, const EngineObject &geogcs, Oprj_Spheroid &spheroid,
               Notes &notes) {
  const EngineObject *datum = engine::partOf(geogcs, Kind::kDatum);
  const EngineObject *shape = datum ? engine::partOf(*datum, Kind::kSpheroid) : nullptr;
  if (!shape) throw Untranslatable{"The geographic system has no datum with a spheroid"};
  readSpheroid(tables, *shape, spheroid, notes);
  readDatum(tables, *datum, spheroid, notes);
}

OwnedObject writeEarth(const Oprj_Spheroid &spheroid, OwnedObject unit) {
  return geogcsOf(engineNameOf(spheroid.datum), writeSpheroid(spheroid), std::move(unit));
}

OwnedObject writeTransform(const Oprj_Spheroid &spheroid) {
  const Oprj_Datum *datum = spheroid.datum;
  const std::string name = engineNameOf(datum);
  if (isUndefined(datum) || datum->type != OPRJ_DATUM_PARAMETRIC || datum->params.count < 7 ||
      name == kTarget)
    return nullptr;
  const Ocvt_Unit *degrees = ocvt_UnitSetByName("dd", nullptr);
  if (!degrees) throw std::bad_alloc();
  const double *shift = datum->params.data;
  const bool turned = std::any_of(shift + 3, shift + 7, [](double value) { return value != 0; });
  const SpheroidRow *wgs84 = engineSpheroidOf("WGS 84");
  const double shape[] = {wgs84->a, wgs84->rf};
  OwnedObject transform =
      engine::make(Kind::kGeogtran, std::string(withoutMark(name)) + "_To_WGS_1984");
  engine::adopt(*transform, writeEarth(spheroid, engineUnit(*degrees)));
  engine::adopt(*transform, geogcsOf(kTarget, engine::make(Kind::kSpheroid, wgs84->engine, shape),
                                     engineUnit(*degrees)));
  engine::adopt(*transform, engine::make(Kind::kMethod,
                                         turned ? "Coordinate_Frame" : "Geocentric_Translation"));
  static constexpr struct {
    const char *name;
    double unit;
  } kEntries[] = {{"X_Axis_Translation", 1},
                  {"Y_Axis_Translation", 1},
                  {"Z_Axis_Translation", 1},
                  {"X_Axis_Rotation", kRadiansPerSecond},
                  {"Y_Axis_Rotation", kRadiansPerSecond},
                  {"Z_Axis_Rotation", kRadiansPerSecond},
                  {"Scale_Difference", kPpm}};
  for (int i = 0; i < (turned ? 7 : 3); ++i) {
    const double value[] = {quotient(shift[i], kEntries[i].unit)};
    engine::adopt(*transform, engine::make(Kind::kParameter, kEntries[i].name, value));
  }
  return transform;
}

}  // namespace orvik::oprj
