#include "nodes.h"

namespace program {
namespace {

constexpr std::string_view kSeparator = "::";

/// The unit of a layer's map info; null when there is none that suits the system.
const Ocvt_Unit *unitOfLayer(Ohfa_File *file, const std::string &layer, bool geographic,
                             const Console &console) {
  Slot err;
  const OwnedMapInfo info(oprj_MapInfoReadIfPresent(file, layer.c_str(), err.get()));
  if (err) console.warn("the map info of \"" + layer + "\" cannot be read: " + err.text());
  if (!info || !info->units.data || info->units.data == std::string_view("other")) return nullptr;
  const Ocvt_Unit *unit = ocvt_UnitSetByName(info->units.data, nullptr);
  if (unit && unit->kind == (geographic ? OCVT_KIND_ANGLE : OCVT_KIND_DISTANCE)) return unit;
  console.warn("points are not taken in \"" + std::string(info->units.data) +
               "\", the unit of the layer's map info, which is none of this system");
  return nullptr;
}

}  // namespace

bool isLayerPlace(std::string_view text) { return text.find(kSeparator, 1) != text.npos; }

LayerPlace layerPlace(const std::string &text) {
  if (!isLayerPlace(text)) throw Stop(kUsage, "\"" + text + "\" is not of the form FILE::LAYER");
  const size_t at = text.find(kSeparator, 1);
  return {text.substr(0, at), text.substr(at + kSeparator.size())};
}

OwnedFile openNodes(const std::string &file, int32_t mode, bool create) {
  Slot err;
  if (create) {
    OwnedFile made(ohfa_FileCreate(file.c_str(), 0, err.get()));
    if (made) return made;
    if (oerr_CodeGet(err.report()) != OHFA_EXISTS) throw Stop(kInputOutput, err.text());
  }
  OwnedFile opened(ohfa_FileOpen(file.c_str(), mode, err.get()));
  if (!opened) throw Stop(kUnusable, err.text());
  return opened;
}

void makeLayer(Ohfa_File *file, const std::string &layer) {
  Slot err;
  for (size_t end = 0; end < layer.size();) {
    const size_t begin = end == 0 ? 0 : end + 1;
    end = std::min(layer.find(':', begin), layer.size());
    if (ohfa_PathSeek(file, layer.substr(0, end).c_str(), err.get())) continue;
    const std::string parent = layer.substr(0, begin == 0 ? 0 : begin - 1);
    if (err ||
        !ohfa_NodeCreate(file, parent.c_str(), layer.substr(begin, end - begin).c_str(), err.get()))
      throw Stop(kUnusable, "the layer \"" + layer + "\" cannot be made: " + err.text());
  }
}

void closeNodes(OwnedFile file) {
  Slot err;
  Ohfa_File *handle = file.release();
  if (ohfa_FileClose(&handle, err.get())) return;
  ohfa_FileDiscard(&handle);
  throw Stop(kInputOutput, "nothing was written: " + err.rootMessage());
}

System readLayerSystem(Oint_Toolkit *toolkit, const std::string &text, const Console &console) {
  const LayerPlace place = layerPlace(text);
  const OwnedFile file = openNodes(place.file, OHFA_READ);
  System system;
  system.text = text;
  Slot err;
  system.record.reset(oprj_ProParametersCreate(err.get()));
  if (!system.record) throw Stop(kUnusable, err.text());
  constexpr int32_t kGridOrSurface = 8, kTableDatum = 6;  // what could not be opened is told so
  if (!oprj_ProParametersRead(file.get(), place.layer.c_str(), system.record.get(), 0, err.get())) {
    const int32_t code = oerr_CodeGet(err.report());
    if (code != kGridOrSurface && code != kTableDatum)
      throw Stop(kUnusable, text + " has no coordinate system: " + err.rootMessage());
    system.gridTrouble = err.rootMessage();
  }
  finishSystem(toolkit, system,
               unitOfLayer(file.get(), place.layer, isGeographic(*system.record), console));
  return system;
}

}  // namespace program
