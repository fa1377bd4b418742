// oprj mapinfo: where an image's pixels lie in map coordinates, shown or set.
#include <cmath>
#include <cstdio>

#include "commands.h"
#include "nodes.h"

namespace program {
namespace {

/// What the options set; empty: left as it is.
struct Settings {
  std::string projection, units;
  std::vector<double> upperLeft, lowerRight, pixelSize;
  bool any() const {
    return !projection.empty() || !units.empty() || !upperLeft.empty() || !lowerRight.empty() ||
           !pixelSize.empty();
  }
};

void require(bool good, const Slot &err) {
  if (!good) throw Stop(kUnusable, err.text());
}

OwnedMapInfo readMapInfo(Ohfa_File *file, const LayerPlace &place) {
  Slot err;
  OwnedMapInfo info(oprj_MapInfoReadIfPresent(file, place.layer.c_str(), err.get()));
  require(!err, err);
  return info;
}

/// The name of the layer's projection, which its map info carries too; empty when it has none.
std::string projectionOf(Ohfa_File *file, const LayerPlace &place) {
  Slot unheard;  // a grid that is missing does not change the name
  const OwnedRecord record(oprj_ProParametersCreate(unheard.get()));
  if (!record) return "";
  oprj_ProParametersRead(file, place.layer.c_str(), record.get(), 0, unheard.get());
  return record->proName.data ? record->proName.data : "";
}

void set(const LayerPlace &place, const Settings &settings) {
  const auto isSize = [](const std::vector<double> &size) {
    return size.empty() || (size[0] > 0 && size[1] > 0);
  };
  if (!isSize(settings.pixelSize)) throw Stop(kUsage, "--pixel takes a width and a height above 0");
  if (!settings.units.empty() && !ocvt_UnitSetByName(settings.units.c_str(), nullptr))
    throw Stop(kUsage, "there is no unit \"" + settings.units + "\"; `oprj list units` lists them");
  OwnedFile file = openNodes(place.file, OHFA_UPDATE, true);
  makeLayer(file.get(), place.layer);
  Slot err;
  OwnedMapInfo info = readMapInfo(file.get(), place);
  const bool isNew = !info;
  if (isNew) info.reset(oprj_MapInfoCreate(err.get()));
  require(info != nullptr, err);
  const auto setText = [&](Oprj_CharStr &text, const std::string &value) {
    if (!value.empty()) require(oprj_CharStrCreate(value.c_str(), &text, err.get()), err);
  };
  const auto setCentre = [&](Oprj_Coordinate *&centre, const std::vector<double> &value) {
    if (value.empty()) return;
    if (!centre) centre = oprj_CoordinateCreate(err.get());
    require(centre != nullptr, err);
    *centre = {value[0], value[1]};
  };
  setText(info->proName, isNew && settings.projection.empty() ? projectionOf(file.get(), place)
                                                              : settings.projection);
  setText(info->units, settings.units);
  setCentre(info->upperLeftCenter, settings.upperLeft);
  setCentre(info->lowerRightCenter, settings.lowerRight);
  if (!settings.pixelSize.empty()) {
    if (!info->pixelSize) info->pixelSize = oprj_SizeCreate(err.get());
    require(info->pixelSize != nullptr, err);
    *info->pixelSize = {settings.pixelSize[0], settings.pixelSize[1]};
  }
  require(!oprj_MapInfoWrite(file.get(), place.layer.c_str(), info.get(), err.get()), err);
  closeNodes(std::move(file));
}

void line(const char *label, const std::string &value) {
  std::printf("%-16s%s\n", label, printable(value).c_str());
}

std::string pairText(double x, double y) { return numberText(x) + " " + numberText(y); }

/// The outer corners in map coordinates, and in degrees where the layer has a projection.
void printCorners(const std::string &text, const Oprj_MapInfo &info, const Console &console) {
  if (!info.upperLeftCenter || !info.lowerRightCenter || !info.pixelSize) {
    line("extent", "not known: a centre or the pixel size is missing");
    return;
  }
  const double dx = info.pixelSize->width / 2, dy = info.pixelSize->height / 2;
  const double west = info.upperLeftCenter->x - dx, north = info.upperLeftCenter->y + dy;
  const double east = info.lowerRightCenter->x + dx, south = info.lowerRightCenter->y - dy;
  line("pixels", numberText(std::round((east - west) / info.pixelSize->width)) + " columns, " +
                     numberText(std::round((north - south) / info.pixelSize->height)) + " rows");
  line("extent", "west " + numberText(west) + ", south " + numberText(south) + ", east " +
                     numberText(east) + ", north " + numberText(north));
  const Oprj_Point corners[] = {{west, north}, {east, north}, {west, south}, {east, south}};
  const char *const names[] = {"upper left", "upper right", "lower left", "lower right"};
  Oprj_Point degrees[4];
  std::string problem;
  try {
    Oint_Toolkit *toolkit = startLibrary(console);
    const System system = readSystem(toolkit, text, console);
    Slot err;
    Oprj_MapProjectionEx *made = nullptr;
    oprj_ProjectionInit(toolkit, system.record.get(), &made, err.get());
    const OwnedHandle handle(made);
    if (!handle || !oprj_ProjectToLatLonWithUnits(corners, system.unit.c_str(), handle.get(),
                                                  degrees, "dd", 4, err.get()))
      problem = err.rootMessage();
  } catch (const Stop &stop) {
    problem = stop.what();
  }
  for (int i = 0; i < 4; ++i)
    line(names[i],
         pairText(corners[i].x, corners[i].y) +
             (problem.empty() ? "   longitude, latitude " + pairText(degrees[i].x, degrees[i].y)
                              : ""));
  if (!problem.empty()) line("geographic", "not known: " + problem);
}

Status show(const std::string &text, const LayerPlace &place, const Console &console) {
  const OwnedFile file = openNodes(place.file, OHFA_READ);
  const OwnedMapInfo info = readMapInfo(file.get(), place);
  if (!info) throw Stop(kUnusable, text + " has no map info");
  line("projection", info->proName.data ? info->proName.data : "");
  line("units", info->units.data ? info->units.data : "");
  if (info->pixelSize)
    line("pixel size", pairText(info->pixelSize->width, info->pixelSize->height));
  const auto centre = [](const char *label, const Oprj_Coordinate *at) {
    line(label, at ? pairText(at->x, at->y) : "none");
  };
  centre("first centre", info->upperLeftCenter);
  centre("last centre", info->lowerRightCenter);
  printCorners(text, *info, console);
  return kGood;
}

}  // namespace

void addMapInfo(CLI::App &app, const Console &console, Action &action) {
  CLI::App *command =
      app.add_subcommand("mapinfo", "Show or set where a layer's pixels lie in map coordinates");
  auto text = std::make_shared<std::string>();
  auto settings = std::make_shared<Settings>();
  command->add_option("layer", *text, "The layer; setting makes it when it is missing")
      ->required()
      ->type_name("FILE::LAYER");
  const auto pair = [&](const char *name, std::vector<double> &value, const char *help) {
    command->add_option(name, value, help)->expected(2)->delimiter(',')->type_name("X,Y");
  };
  command
      ->add_option("--projection", settings->projection,
                   "Name of the projection; of a new map info that of the layer's projection")
      ->type_name("NAME");
  command->add_option("--units", settings->units, "Unit of map coordinates")->type_name("UNIT");
  pair("--upper-left", settings->upperLeft, "Centre of the upper left pixel");
  pair("--lower-right", settings->lowerRight, "Centre of the lower right pixel");
  pair("--pixel", settings->pixelSize, "Width and height of a pixel in map units");
  command->callback([text, settings, &console, &action] {
    action = [text, settings, &console] {
      startLibrary(console);
      const LayerPlace place = layerPlace(*text);
      if (settings->any()) set(place, *settings);
      return show(*text, place, console);
    };
  });
}

}  // namespace program
