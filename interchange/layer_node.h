// What projections and map infos in nodes share: where a layer's node is found, and how the file's
// dictionary gets their designs.
#ifndef OPRJ_INTERCHANGE_LAYER_NODE_H
#define OPRJ_INTERCHANGE_LAYER_NODE_H

#include <oprj/nodes.h>

#include "tables/reference_data.h"

namespace orvik::oprj {

/// A writer's result is its report: without a slot of the caller's the report is his through the
/// result alone.
class WriterSlot {
 public:
  explicit WriterSlot(Oerr_Report **err) : slot_(err ? err : &own_) {}
  WriterSlot(const WriterSlot &) = delete;
  WriterSlot &operator=(const WriterSlot &) = delete;
  operator Oerr_Report **() { return slot_; }
  Oerr_Report *report() const { return *slot_; }

 private:
  Oerr_Report *own_ = nullptr;
  Oerr_Report **slot_;
};

/// One of the layer's nodes.
struct LayerNode {
  const char *name;    // of the node that is made
  const char *design;  // of its object
};

/// How every operation begins: the library's data with its dictionary of designs; null with a
/// report.
const Oprj_InitData *startNodes(ErrorScope &e, const Ohfa_File *file);

/// The library's own design of that name; null when it has none.
const Omif_Design *libraryDesign(const Oprj_InitData &data, const char *name);

/// Adds to the file's dictionary those of three designs that it lacks; false with a report.
struct NeededDesign {
  const char *name;
  int32_t code;  // when it cannot be added
  const char *message;
};
bool prepareDictionary(ErrorScope &e, const Oprj_InitData &data, Ohfa_File *file,
                       const NeededDesign (&needed)[3]);

/// Remembers where the file is, and comes back when it goes. Taking it makes a reader see what has
/// been committed since.
class Visit {
 public:
  /// Reports with two codes and messages (current entry, coming back).
  Visit(ErrorScope &e, Ohfa_File *file, int32_t getCode, const char *getMessage, int32_t setCode);
  ~Visit();
  Visit(const Visit &) = delete;
  Visit &operator=(const Visit &) = delete;
  explicit operator bool() const { return position_ != nullptr; }

 private:
  Ohfa_File *file_;
  Ohfa_Position *position_;
};

/// A layer's path, null for the current entry.
inline const char *layerPath(const char *layer) { return layer && *layer ? layer : nullptr; }

/// Moves from the current entry to its child of that name when that has the design, else to its
/// first child of the design: 1; 0 without a report when there is none.
int32_t seekChild(Ohfa_File *file, const LayerNode &node, Oerr_Report **err);

/// ohfa_ObjectRead and ohfa_ObjectWrite for records of the library.
void *readRecord(Ohfa_File *file, const char *path, const Omif_Design *design, int32_t code,
                 void *record, Oerr_Report **err);
int32_t writeRecord(Ohfa_File *file, const char *path, const char *node, const Omif_Design *design,
                    const void *record, int32_t mode, Oerr_Report **err);

/// Reads the object of a layer's node, or with `searchSiblings` 1 the layer's next sibling of that
/// design, into a new record, and moves there; null with the report 5 or 4.
void *readLayerNode(ErrorScope &e, Ohfa_File *file, const char *layer, const LayerNode &node,
                    const Omif_Design *design, int32_t searchSiblings);

/// Moves to a layer's node: 1; 0 without a report when the layer, or its node, is missing.
int32_t seekBelow(Ohfa_File *file, const char *layer, const LayerNode &node, Oerr_Report **err);

/// Writes the object of a layer's node, in the place of the one where seekBelow has gone (`found`).
int32_t writeBelow(Ohfa_File *file, const char *layer, const LayerNode &node, int32_t found,
                   const Omif_Design *design, const void *record, Oerr_Report **err);

}  // namespace orvik::oprj

#endif
