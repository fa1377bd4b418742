#include "interchange/layer_node.h"

#include <string>

#include "interchange/portable_object.h"

namespace orvik::oprj {

const Oprj_InitData *startNodes(ErrorScope &e, const Ohfa_File *file) {
  const Oprj_InitData *data = referenceData(e, oint_InitToolkit(e.cause()));
  if (data && !file) return e.fail(13, "Invalid input file");
  return data;
}

const Omif_Design *libraryDesign(const Oprj_InitData &data, const char *name) {
  return omif_DictionarySearchByName(data.dictionary, name, nullptr);
}

bool prepareDictionary(ErrorScope &e, const Oprj_InitData &data, Ohfa_File *file,
                       const NeededDesign (&needed)[3]) {
  for (const NeededDesign &each : needed) {
    const int32_t lookup = &each == needed ? 4 : 6;
    const Omif_Dictionary *dictionary = ohfa_DictionaryGet(file, e.cause());
    if (!dictionary) return e.fail(lookup, "Error returned from omif_FindDesignByName");
    if (omif_DictionarySearchByName(dictionary, each.name, nullptr)) continue;
    const Omif_Design *design = libraryDesign(data, each.name);
    if (!design) return e.fail(lookup, "Error returned from omif_FindDesignByName");
    if (!ohfa_DesignAdd(file, design, e.cause())) return e.fail(each.code, "%s", each.message);
  }
  return true;
}

Visit::Visit(ErrorScope &e, Ohfa_File *file, int32_t getCode, const char *getMessage,
             int32_t setCode)
    : file_(file), position_(ohfa_EntryPositionGet(file, e.cause())) {
  if (!position_) {
    e.fail(getCode, "%s", getMessage);
  } else if (!ohfa_EntryPositionSet(file, position_, e.cause())) {
    ohfa_EntryPositionFree(&position_);
    e.fail(setCode, "Error returned from ohfa_EntryPositionSet");
  }
}

Visit::~Visit() {
  if (!position_) return;
  ohfa_EntryPositionSet(file_, position_, nullptr);
  ohfa_EntryPositionFree(&position_);
}

int32_t seekChild(Ohfa_File *file, const LayerNode &node, Oerr_Report **err) {
  const std::string path = std::string(":") + node.name;
  Ohfa_EntryInfo info;
  if (ohfa_PathSeek(file, path.c_str(), err)) {
    if (ohfa_EntryPeek(file, OHFA_CURRENT, &info, err) &&
        std::string_view(info.design) == node.design)
      return 1;
    ohfa_EntrySeek(file, OHFA_PARENT, nullptr, nullptr);
  } else if (*err) {  // damaged behind the child that is looked for, perhaps
    oerr_DeleteErrorReport(err);
  }
  return ohfa_EntrySeek(file, OHFA_CHILD, node.design, err);
}

void *readRecord(Ohfa_File *file, const char *path, const Omif_Design *design, int32_t code,
                 void *record, Oerr_Report **err) {
  void *read = ohfa_ObjectRead(file, path, design, code, record, err);
  if (!read || takeTexts(design, read, err)) return read;
  if (!record) omif_ObjectFree(design, &read);
  return nullptr;
}

int32_t writeRecord(Ohfa_File *file, const char *path, const char *node, const Omif_Design *design,
                    const void *record, int32_t mode, Oerr_Report **err) {
  const ToolkitRecord plain(design, record, err);
  return plain ? ohfa_ObjectWrite(file, path, node, design, plain.get(), mode, err) : 0;
}

void *readLayerNode(ErrorScope &e, Ohfa_File *file, const char *layer, const LayerNode &node,
                    const Omif_Design *design, int32_t searchSiblings) {
  if (!layerPath(layer) || ohfa_PathSeek(file, layer, nullptr)) {
    if (seekChild(file, node, e.cause())) {
      // Damage is told by the one read, absence by the other.
      if (void *record = readRecord(file, nullptr, design, OHFA_SOUGHT, nullptr, e.cause()))
        return record;
      if (searchSiblings != 1) return e.fail(5, "Error returned from ohfa_ObjectRead for child");
      ohfa_EntrySeek(file, OHFA_PARENT, nullptr, nullptr);
    }
  }
  const bool toSibling = searchSiblings == 1;
  void *record = readRecord(file, layerPath(layer), design, toSibling ? OHFA_SIBLING : OHFA_CHILD,
                            nullptr, e.cause());
  if (record) return record;
  if (toSibling) return e.fail(4, "Error returned from ohfa_ObjectRead for sibling");
  return e.fail(5, "Error returned from ohfa_ObjectRead for child");
}

int32_t seekBelow(Ohfa_File *file, const char *layer, const LayerNode &node, Oerr_Report **err) {
  return (!layerPath(layer) || ohfa_PathSeek(file, layer, err)) && seekChild(file, node, err);
}

int32_t writeBelow(Ohfa_File *file, const char *layer, const LayerNode &node, int32_t found,
                   const Omif_Design *design, const void *record, Oerr_Report **err) {
  if (found) return writeRecord(file, nullptr, nullptr, design, record, OHFA_REPLACE, err);
  return writeRecord(file, layerPath(layer), node.name, design, record, OHFA_NEW, err);
}

}  // namespace orvik::oprj
