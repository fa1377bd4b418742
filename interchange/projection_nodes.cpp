// Projection parameters in nodes.
#include <oprj/datum_shift.h>
#include <oprj/ostr.h>

#include <cmath>

#include "interchange/layer_node.h"

using namespace orvik::oprj;

namespace {

constexpr LayerNode kProjection = {"Projection", "Oprj_ProParameters"};
constexpr LayerNode kDatum = {"Datum", "Oprj_Datum"};
constexpr NeededDesign kDesigns[] = {
    {"Oprj_Datum", 5, "Error returned from omifAddDesignToDictionary"},
    {"Oprj_Spheroid", 7, "Error returned from omifAddDesignToDictionary"},
    {"Oprj_ProParameters", 8, "Error returned from omifAddDesignToDictionary"}};

constexpr int32_t kStatePlane = 2;  // its first parameter is the NAD code

bool isStatePlane(const Oprj_ProParameters &record) {
  return record.proType == OPRJ_INTERNAL && record.proNumber == kStatePlane;
}

Oprj_Datum *datumOf(const Oprj_ProParameters &record) {
  return record.proSpheroid ? record.proSpheroid->datum : nullptr;
}

/// Empties the items that do not belong to the datum's type.
void clearForeign(Oprj_Datum &datum) {
  const bool others = datum.type == OPRJ_DATUM_REGRESSION || datum.type == OPRJ_DATUM_SURFACE;
  if (datum.type == OPRJ_DATUM_PARAMETRIC || others) oprj_CharStrFree(&datum.gridname);
  if (datum.type == OPRJ_DATUM_GRID || others) oprj_DblArrayFree(&datum.params);
}

/// Writes a node in the place of the one that is there; damage on the way must not give it a twin.
int32_t writeNode(const Oprj_InitData &data, Ohfa_File *file, const char *layer,
                  const LayerNode &node, const void *record, ErrorScope &e) {
  const int32_t found = seekBelow(file, layer, node, e.cause());
  if (e.calleeFailed()) return 0;
  return writeBelow(file, layer, node, found, libraryDesign(data, node.design), record, e.cause());
}

/// Writes the datum below the current entry, the projection; false with a report.
bool writeDatum(ErrorScope &e, const Oprj_InitData &data, Ohfa_File *file,
                const Oprj_ProParameters &record, int32_t code) {
  Oprj_Datum &datum = *datumOf(record);
  clearForeign(datum);
  if (!writeNode(data, file, nullptr, kDatum, &datum, e))
    return e.fail(code, "Error returned from ohfa_ObjectWrite");
  ohfa_EntrySeek(file, OHFA_PARENT, nullptr, nullptr);
  return true;
}

/// The projection now has no datum of its own; an old one must not become its.
bool removeDatum(ErrorScope &e, Ohfa_File *file) {
  while (seekChild(file, kDatum, e.cause())) {
    if (!ohfa_NodeRemove(file, nullptr, e.cause()))
      return e.fail(14, "Error returned from ohfa_NodeRemove");
  }
  if (e.calleeFailed()) return e.fail(14, "Error returned from ohfa_NodeRemove");
  return true;
}

void writeTree(ErrorScope &e, Ohfa_File *file, const char *layer, Oprj_ProParameters *record) {
  const Oprj_InitData *data = startNodes(e, file);
  if (!data) return;
  if (!record) return void(e.fail(3, "Invalid input proParameters"));
  if (!prepareDictionary(e, *data, file, kDesigns)) return;
  const Visit visit(e, file, 9, "Error from ohfa_EntryPositionGet", 10);
  if (!visit) return;
  if (!writeNode(*data, file, layer, kProjection, record, e))
    return void(e.fail(11, "Error returned from ohfa_ObjectWrite"));
  if (datumOf(*record)) writeDatum(e, *data, file, *record, 12);
  else removeDatum(e, file);
}

void writeSimple(ErrorScope &e, Ohfa_File *file, const char *parent, Oprj_ProParameters *record) {
  const Oprj_InitData *data = startNodes(e, file);
  if (!data) return;
  if (!record) return void(e.fail(3, "Invalid input proParameters"));
  if (!prepareDictionary(e, *data, file, kDesigns)) return;
  if (!writeRecord(file, parent, kProjection.name, libraryDesign(*data, kProjection.design), record,
                   OHFA_NEW, e.cause()))
    return void(e.fail(9, "Error returned from ohfa_ObjectWrite"));
  if (record->proType != OPRJ_EXTERNAL && datumOf(*record)) writeDatum(e, *data, file, *record, 10);
  ohfa_EntrySeek(file, OHFA_PARENT, nullptr, nullptr);
}

// ---- Reading

/// Under this name the tables have a surface datum.
bool isSurfaceName(const Oprj_InitData &data, const Oprj_Char *name) {
  for (const auto *entry = data.spheroidTable; entry; entry = entry->next) {
    for (const auto *datum = entry->datums; datum; datum = datum->next) {
      if (datum->type == OPRJ_DATUM_SURFACE && sameText(datum->name, name)) return true;
    }
  }
  return false;
}

/// What a reader's failures are told as.
struct ReaderCodes {
  int32_t datum, opening, tableDatum;
  const char *grid;
};
constexpr ReaderCodes kTreeCodes = {7, 8, 6, "Error returned from ohfa_ObjectRead"};
constexpr ReaderCodes kSimpleCodes = {6, 8, 5, "Error returned from datafileOpen"};

/// A projection while it is read aside; the caller's record is filled when nothing can fail any
/// more but the opening of grids.
class ReadProjection {
 public:
  ReadProjection(ErrorScope &e, const Oprj_InitData &data, const ReaderCodes &codes)
      : e_(e), data_(data), codes_(codes) {}

  /// Takes what was read; false with a report.
  bool take(void *record) {
    made_.reset(static_cast<Oprj_ProParameters *>(record));
    if (!made_) return false;
    if (!made_->proSpheroid) made_->proSpheroid = oprj_SpheroidCreate(e_.cause());
    if (made_->proSpheroid && oprj_DatumInit(&made_->proSpheroid->datum, e_.cause())) return true;
    return e_.fail(3, "Error returned from oprj_ProParametersCreate");
  }

  /// Reads the datum to which `code` leads; false with a report.
  bool readDatum(Ohfa_File *file, int32_t code) {
    Oprj_Datum &datum = *datumOf(*made_);
    if (!readRecord(file, nullptr, libraryDesign(data_, kDatum.design), code, &datum, e_.cause()))
      return e_.fail(codes_.datum, "Error returned from ohfa_ObjectRead");
    // Files number the surface type as their list of names does, which lacks the undefined one.
    if (datum.type == OPRJ_DATUM_NONE && isSurfaceName(data_, datum.datumname.data))
      datum.type = OPRJ_DATUM_SURFACE;
    return true;
  }

  /// A State Plane projection whose NAD code is not set has it from its datum.
  void setNadCode() {
    const Oprj_DblArray &params = made_->proParams;
    if (!isStatePlane(*made_) || elementsOf(params).empty() || params.data[0] != 0.0) return;
    constexpr struct {
      const char *name;
      double code;
    } kCodes[] = {{"NAD27", 1}, {"NAD83", 2}, {"HARN", 3}, {"OPRJ_NSR2007", 4}};
    for (const auto &[name, code] : kCodes) {
      if (sameIgnoringCase(unitsOf(datumOf(*made_)->datumname), name)) params.data[0] = code;
    }
  }

  /// Opens what the datum needs; false with a report.
  bool openDatum() {
    Oprj_Datum &datum = *datumOf(*made_);
    if (datum.type == OPRJ_DATUM_GRID) {
      datum.gridData = oprj_DatumGridFileOpen(unitsOf(datum.gridname), e_.cause());
      if (!datum.gridData) return e_.fail(codes_.opening, "%s", codes_.grid);
    } else if (datum.type == OPRJ_DATUM_SURFACE) {
      datum.shiftSurface = oprj_ShiftSurfaceGetByProParams(made_.get(), e_.cause());
      if (!datum.shiftSurface)
        return e_.fail(codes_.opening, "Error returned from oprj_ShiftSurfaceGetByProParams");
    }
    return true;
  }

  /// Older files have no datum: that of a State Plane projection follows from its NAD code. False
  /// with a report.
  bool setDefaultDatum() {
    if (!isStatePlane(*made_)) return true;
    const auto params = elementsOf(made_->proParams);
    const double code = params.empty() ? 0.0 : std::trunc(params[0]);  // NaN is none either
    const Flat spheroid(code == 2 || code == 3 ? "GRS 1980" : "Clarke 1866");
    const Flat datum(code == 3 ? "HARN" : code == 2 ? "NAD83" : "NAD27");
    Oint_Toolkit *toolkit = oint_InitToolkit(nullptr);
    if (!oprj_SpheroidByName(toolkit, spheroid, made_->proSpheroid, e_.cause())) {
      made_.reset();
      return e_.fail(9, "Error returned from oprj_SpheroidByName");
    }
    if (!oprj_DatumByName(toolkit, spheroid, datum, datumOf(*made_), e_.cause()))
      return e_.fail(codes_.tableDatum, "Error returned from oprj_DatumByName");
    return true;
  }

  /// Hands the record over: into `target`, or as a new one. When opening failed, `opened` being
  /// false, a target is filled all the same.
  Oprj_ProParameters *give(Oprj_ProParameters *target, bool opened) {
    if (!made_ || (!target && !opened)) return nullptr;
    if (!target) return made_.release();
    exchange(*target, *made_);
    return opened ? target : nullptr;
  }

 private:
  ErrorScope &e_;
  const Oprj_InitData &data_;
  const ReaderCodes &codes_;
  OwnedParameters made_;
};

}  // namespace

Oerr_Report *oprj_ProParametersWrite(Ohfa_File *file, const Oprj_Char *layer,
                                     Oprj_ProParameters *record, Oerr_Report **err) {
  WriterSlot slot(err);
  ErrorScope e("oprj_ProParametersWrite", slot);
  const Utf8 place(layer, e);
  if (!e.failed()) writeTree(e, file, place, record);
  return slot.report();
}

Oerr_Report *oprj_ProParametersWriteSimple(Ohfa_File *file, const Oprj_Char *parent,
                                           Oprj_ProParameters *record, Oerr_Report **err) {
  WriterSlot slot(err);
  ErrorScope e("oprj_ProParametersWriteSimple", slot);
  const Utf8 place(parent, e);
  if (!e.failed()) writeSimple(e, file, place, record);
  return slot.report();
}

Oprj_ProParameters *oprj_ProParametersRead(Ohfa_File *file, const Oprj_Char *layer,
                                           Oprj_ProParameters *record, int32_t searchSiblings,
                                           Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersRead", err);
  const Utf8 place(layer, e);
  if (e.failed()) return nullptr;
  const Oprj_InitData *data = startNodes(e, file);
  if (!data) return nullptr;
  const Visit visit(e, file, 10, "Error returned from ohfa_EntryPositionGet", 11);
  if (!visit) return nullptr;
  ReadProjection read(e, *data, kTreeCodes);
  if (!read.take(readLayerNode(e, file, place, kProjection,
                               libraryDesign(*data, kProjection.design), searchSiblings)))
    return nullptr;
  const bool hasDatum = seekChild(file, kDatum, e.cause());
  if (e.calleeFailed()) e.printCause();  // as if there were none, but not in silence
  bool opened;
  if (hasDatum) {
    if (!read.readDatum(file, OHFA_SOUGHT)) return nullptr;
    read.setNadCode();
    opened = read.openDatum();
  } else {
    opened = read.setDefaultDatum();
  }
  return read.give(record, opened);
}

Oprj_ProParameters *oprj_ProParametersReadSimple(Ohfa_File *file, Oprj_ProParameters *record,
                                                 Oerr_Report **err) {
  ErrorScope e("oprj_ProParametersReadSimple", err);
  const Oprj_InitData *data = startNodes(e, file);
  if (!data) return nullptr;
  const auto isNext = [&](const LayerNode &node) {
    Ohfa_EntryInfo info;
    return ohfa_EntryPeek(file, OHFA_CURRENT, &info, e.cause()) &&
           std::string_view(info.design) == node.design;
  };
  const bool isProjection = isNext(kProjection);
  if (e.calleeFailed()) return e.fail(7, "Error returned from ohfa_EntryPeek");
  if (!isProjection) return nullptr;
  ReadProjection read(e, *data, kSimpleCodes);
  void *object = readRecord(file, nullptr, libraryDesign(*data, kProjection.design), OHFA_CURRENT,
                            nullptr, e.cause());
  if (!object) return e.fail(4, "Error returned from ohfa_ObjectRead for child");
  if (!read.take(object)) return nullptr;
  const bool hasDatum = isNext(kDatum);
  if (e.calleeFailed()) e.printCause();
  bool opened;
  if (hasDatum) {
    if (!read.readDatum(file, OHFA_CURRENT)) return nullptr;
    opened = read.openDatum();
  } else {
    opened = read.setDefaultDatum();
  }
  return read.give(record, opened);
}
