// The nodes of a file, as far as somebody asked for them, with the changes that are not committed.
//
// A list of children is read as far as it is needed. A reader's tree is a snapshot: what a writer
// commits meanwhile stands in new entries, and the old ones keep their bytes.
#ifndef OPRJ_TOOLKIT_OHFA_TREE_H
#define OPRJ_TOOLKIT_OHFA_TREE_H

#include <deque>
#include <unordered_map>
#include <unordered_set>

#include "toolkit/ohfa_storage.h"

namespace orvik::toolkit::nodefile {

template <class Key, class Value>
using HeapMap = std::unordered_map<Key, Value, std::hash<Key>, std::equal_to<Key>,
                                   HeapAllocator<std::pair<const Key, Value>>>;

using Bytes = HeapVector<uint8_t>;
struct Node;

/// The children of a node by name: a table of open addresses, half full at most.
class ChildIndex : public HeapRecord {
 public:
  explicit ChildIndex(uint32_t children) { grow(children); }
  /// The first node that was added under the name; null: there is none.
  Node *find(std::string_view name) const;
  void add(Node &node);
  void remove(const Node &node);
  /// A name stands twice: the index has its first node.
  bool ambiguous() const { return ambiguous_; }

 private:
  void grow(size_t nodes);
  void place(Node &node);

  HeapVector<Node *> slots_;
  size_t used_ = 0;  // with those of removed nodes
  bool ambiguous_ = false;
};

/// Where entries lie: each in the 128 bytes that its first byte is in, 1 + its place there.
class EntryMap {
 public:
  /// Takes the 128 bytes at a position; false when an entry has some of them.
  bool take(uint32_t position);

 private:
  static constexpr uint32_t kSlots = 512;  // a page
  struct Page : HeapRecord {
    uint8_t places[kSlots] = {};
  };
  uint8_t &placeIn(uint32_t slot);

  HeapMap<uint32_t, std::unique_ptr<Page>> pages_;
  Page *last_ = nullptr;
  uint32_t lastNumber_ = 0;
};

struct Node {
  HeapText name;
  const HeapText *design = nullptr;  // of the tree's designs
  Node *parent = nullptr, *previous = nullptr, *next = nullptr;
  Node *first = nullptr, *last = nullptr;  // children that were read or made
  uint32_t unread = 0;                     // entry of the first child behind them; 0: none
  uint32_t childCount = 0;                 // of those that were read or made
  size_t hash = 0;                         // of the name, once it is in an index
  std::unique_ptr<ChildIndex> index;       // of long lists

  uint32_t data = 0;  // position of the object, 0: none or pending
  int32_t size = 0;   // bytes of the object, pending or not
  uint32_t time = 0;
  std::unique_ptr<Bytes> pending;  // an object with offsets from its own first byte

  uint32_t entry = 0;  // position of the entry, 0: not written yet
  /// What the entry in the file says.
  struct {
    uint32_t next = 0, previous = 0, parent = 0, first = 0;
  } stored;
  bool changed = false;  // the entry must be written anew
  bool touched = false;  // the list of children, or something below, differs from the file
  bool removed = false;

  bool isRoot() const { return !parent; }
};

/// Names from the root's child down; empty: the root.
using NodePath = HeapVector<HeapText>;

class Tree {
 public:
  /// Reads header, record and root.
  explicit Tree(Storage &storage, bool ownChanges);

  const Record &record() const { return record_; }
  Record &record() { return record_; }
  Node *root() { return root_; }

  // Null: there is none. What cannot be told for damage is a Problem.
  Node *firstChild(Node &parent) { return parent.first ? parent.first : readChild(parent); }
  Node *nextSibling(Node &node) {
    return node.next ? node.next : node.parent && !node.removed ? readChild(*node.parent) : nullptr;
  }
  Node *child(Node &parent, std::string_view name);
  Node *nextInPreorder(Node &node);
  Node *find(const NodePath &path);

  /// A new last child; `object` (null: none) is taken when it succeeds.
  Node &add(Node &parent, std::string_view name, std::string_view design,
            std::unique_ptr<Bytes> &object, uint32_t time);
  void rename(Node &node, std::string_view name, uint32_t time);
  void remove(Node &node);
  static void replaceObject(Node &node, std::unique_ptr<Bytes> object, uint32_t time);

 private:
  Node *readChild(Node &parent);
  Node *load(uint32_t position, Node *parent);
  bool isFree(uint32_t position) const;
  const HeapText *intern(std::string_view design);
  static void linkLast(Node &parent, Node &node);
  static void indexIfLong(Node &parent);
  static void unindex(Node &node);
  static void touch(Node *node);
  static void markChanged(Node &node);

  Storage &storage_;
  bool ownChanges_;
  Record record_;
  std::deque<Node, HeapAllocator<Node>> nodes_;
  std::unordered_set<HeapText, std::hash<std::string_view>, std::equal_to<>,
                     HeapAllocator<HeapText>>
      designs_;
  const HeapText *lastDesign_ = nullptr;
  EntryMap entries_;
  Node *root_ = nullptr;
};

/// The path of a node for messages: names joined by ":", `""` for the root; of a very long one the
/// end.
HeapText pathText(const Node &node);
NodePath pathOf(const Node &node);

}  // namespace orvik::toolkit::nodefile

#endif
