#include "nodes.h"

namespace program {
namespace {

constexpr std::string_view kSeparator = "::";

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

}  // namespace program
