// Node files as the program's user names them: FILE, and FILE::LAYER for a node in it.
#ifndef OPRJ_APPS_NODES_H
#define OPRJ_APPS_NODES_H

#include "system.h"

namespace program {

struct DiscardFile {
  void operator()(Ohfa_File *file) const { ohfa_FileDiscard(&file); }
};
using OwnedFile = std::unique_ptr<Ohfa_File, DiscardFile>;
using OwnedMapInfo = std::unique_ptr<Oprj_MapInfo, FreeBy<Oprj_MapInfo, oprj_MapInfoFree>>;

/// FILE::LAYER; the layer may be empty: the file's root.
struct LayerPlace {
  std::string file, layer;
};
/// Whether a text has that form.
bool isLayerPlace(std::string_view text);
/// Takes it apart; throws Stop (usage) for a text of another form.
LayerPlace layerPlace(const std::string &text);

/// Opens a file, or makes it when `create`; throws Stop.
OwnedFile openNodes(const std::string &file, int32_t mode, bool create = false);
/// Makes the nodes of a path that are missing; throws Stop.
void makeLayer(Ohfa_File *file, const std::string &layer);
/// Commits; throws Stop.
void closeNodes(OwnedFile file);

}  // namespace program

#endif
