// Map infos in nodes.
#include <oprj/ostr.h>

#include "interchange/layer_node.h"

using namespace orvik::oprj;

namespace {

constexpr LayerNode kMapInfo = {"Map_Info", "Oprj_MapInfo"};
constexpr NeededDesign kDesigns[] = {
    {"Oprj_Coordinate", 5, "Error returned from omifAddDesignToDictionary for Oprj_Coordinate"},
    {"Oprj_Size", 7, "Error returned from omifAddDesignToDictionary for Oprj_Size"},
    {"Oprj_MapInfo", 8, "Error returned from omifAddDesignToDictionary for Oprj_MapInfo"}};

using OwnedMapInfo = Owner<Oprj_MapInfo, oprj_MapInfoFree>;

/// Gives a text that is missing or one of two words the value that stands for them.
bool normalise(Oprj_CharStr &text, const char *first, const char *second, const char *value,
               Oerr_Report **err) {
  const Oprj_Char *written = unitsOf(text);
  if (*written && !sameIgnoringCase(written, first) && !sameIgnoringCase(written, second))
    return true;
  return setText(text, value, err);
}

bool normaliseName(Oprj_MapInfo &record, Oerr_Report **err) {
  return normalise(record.proName, "Other", "None", "Unknown", err);
}

/// What every reader ends with.
Oprj_MapInfo *finish(ErrorScope &e, OwnedMapInfo read, Oprj_MapInfo *target) {
  if (!normaliseName(*read, e.cause()))
    return e.fail(6, "Error returned from oprj_CharStrCreate for proName");
  if (!target) return read.release();
  std::swap(*target, *read);
  return target;
}

void write(ErrorScope &e, Ohfa_File *file, const char *layer, const Oprj_MapInfo *record,
           bool isTree) {
  const Oprj_InitData *data = startNodes(e, file);
  if (!data) return;
  if (!record) return void(e.fail(3, "Invalid input MapInfo"));
  if (!prepareDictionary(e, *data, file, kDesigns)) return;
  const Omif_Design *design = libraryDesign(*data, kMapInfo.design);
  if (!isTree) {
    if (!writeRecord(file, layer, kMapInfo.name, design, record, OHFA_NEW, e.cause()))
      return void(e.fail(9, "Error returned from ohfa_ObjectWrite"));
    ohfa_EntrySeek(file, OHFA_PARENT, nullptr, nullptr);
    return;
  }
  const Visit visit(e, file, 9, "Error returned from ohfa_EntryPositionGet", 10);
  if (!visit) return;
  const int32_t found = seekBelow(file, layer, kMapInfo, e.cause());
  if (e.calleeFailed()) return void(e.fail(12, "oprj_MapInfoReadIfPresent failed"));
  if (!writeBelow(file, layer, kMapInfo, found, design, record, e.cause()))
    e.fail(11, "Error returned from ohfa_ObjectWrite");
}

}  // namespace

Oerr_Report *oprj_MapInfoWrite(Ohfa_File *file, const Oprj_Char *layer, const Oprj_MapInfo *record,
                               Oerr_Report **err) {
  WriterSlot slot(err);
  ErrorScope e("oprj_MapInfoWrite", slot);
  const Utf8 place(layer, e);
  if (!e.failed()) write(e, file, place, record, true);
  return slot.report();
}

Oerr_Report *oprj_MapInfoWriteSimple(Ohfa_File *file, const Oprj_Char *parent,
                                     const Oprj_MapInfo *record, Oerr_Report **err) {
  WriterSlot slot(err);
  ErrorScope e("oprj_MapInfoWriteSimple", slot);
  const Utf8 place(parent, e);
  if (!e.failed()) write(e, file, place, record, false);
  return slot.report();
}

Oprj_MapInfo *oprj_MapInfoRead(Ohfa_File *file, const Oprj_Char *layer, Oprj_MapInfo *record,
                               int32_t searchSiblings, Oerr_Report **err) {
  ErrorScope e("oprj_MapInfoRead", err);
  const Utf8 place(layer, e);
  if (e.failed()) return nullptr;
  const Oprj_InitData *data = startNodes(e, file);
  if (!data) return nullptr;
  const Visit visit(e, file, 10, "Error returned from ohfa_EntryPositionGet", 11);
  if (!visit) return nullptr;
  OwnedMapInfo read(static_cast<Oprj_MapInfo *>(readLayerNode(
      e, file, place, kMapInfo, libraryDesign(*data, kMapInfo.design), searchSiblings)));
  return read ? finish(e, std::move(read), record) : nullptr;
}

Oprj_MapInfo *oprj_MapInfoReadIfPresent(Ohfa_File *file, const Oprj_Char *layer,
                                        Oerr_Report **err) {
  ErrorScope e("oprj_MapInfoReadIfPresent", err);
  const Utf8 place(layer, e);
  if (e.failed()) return nullptr;
  const Oprj_InitData *data = startNodes(e, file);
  if (!data) return nullptr;
  const Visit visit(e, file, 10, "Error returned from ohfa_EntryPositionGet", 11);
  if (!visit) return nullptr;
  const int32_t isThere = seekBelow(file, place, kMapInfo, e.cause());
  OwnedMapInfo read;
  if (isThere)
    read.reset(static_cast<Oprj_MapInfo *>(readRecord(
        file, nullptr, libraryDesign(*data, kMapInfo.design), OHFA_SOUGHT, nullptr, e.cause())));
  if (e.calleeFailed()) return e.fail(4, "ohfa_ObjectReadIfPresent failed");
  if (!isThere) return nullptr;
  if (!normaliseName(*read, e.cause())) return e.fail(5, "oprj_CharStrCreate failed");
  if (!normalise(read->units, "Unknown", "None", "other", e.cause()))
    return e.fail(6, "oprj_CharStrCreate failed");
  return read.release();
}

Oprj_MapInfo *oprj_MapInfoReadSimple(Ohfa_File *file, Oprj_MapInfo *record, Oerr_Report **err) {
  ErrorScope e("oprj_MapInfoReadSimple", err);
  const Oprj_InitData *data = startNodes(e, file);
  if (!data) return nullptr;
  Ohfa_EntryInfo info;
  const bool isThere = ohfa_EntryPeek(file, OHFA_CURRENT, &info, e.cause());
  if (e.calleeFailed()) return e.fail(4, "Error returned from ohfa_EntryPeek");
  if (!isThere || std::string_view(info.design) != kMapInfo.design) return nullptr;
  OwnedMapInfo read(static_cast<Oprj_MapInfo *>(readRecord(
      file, nullptr, libraryDesign(*data, kMapInfo.design), OHFA_CURRENT, nullptr, e.cause())));
  if (!read) return e.fail(5, "Error returned from ohfa_ObjectRead");
  return finish(e, std::move(read), record);
}
