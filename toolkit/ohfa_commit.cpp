// How changes get into the file (docs/node-files.md).
//
// Nothing that a reader can reach is written over, but for links: dictionary, objects and entries
// are appended; when they are on the medium, one store of 4 bytes for each changed subtree leads to
// its new top. Within a subtree every entry whose bytes differ is written anew, those with another
// next sibling or first child too, so that the store switches all of it.
#include <algorithm>
#include <cinttypes>

#include "toolkit/ohfa_file.h"

namespace orvik::toolkit::nodefile {

namespace {

/// The bytes that a commit appends, written in pieces.
class Appender {
 public:
  Appender(Storage &storage, uint64_t begin) : storage_(storage), begin_(begin) {}

  void add(const uint8_t *bytes, size_t count) {
    if (piece_.size() + count > kPiece) flush();
    if (count > kPiece) {
      storage_.write(begin_, bytes, count);
      begin_ += count;
    } else {
      piece_.insert(piece_.end(), bytes, bytes + count);
    }
  }
  void padTo(uint64_t position) {
    piece_.insert(piece_.end(), position - (begin_ + piece_.size()), uint8_t{0});
  }
  void flush() {
    if (piece_.empty()) return;
    storage_.write(begin_, piece_.data(), piece_.size());
    begin_ += piece_.size();
    piece_.clear();
  }

 private:
  static constexpr size_t kPiece = size_t{1} << 20;
  Storage &storage_;
  uint64_t begin_;
  Bytes piece_;
};

/// One commit: which entries move, where to, and which links are stored in place.
class Commit {
 public:
  explicit Commit(Ohfa_File &file) : file_(file) {}

  void run() {
    listTouched();
    if (touched_.empty() && file_.designs.pendingText().empty()) return;
    chooseMoved();
    layOut();
    append();
    switchOver();
    settle();
    patchBackLinks();
  }

 private:
  /// A link to be stored in place.
  struct Store {
    Node *holder;
    EntryField field;
    uint32_t value;
  };

  /// The children of touched nodes and the root, in preorder.
  template <class Visit>
  void forEach(Visit visit) {
    Node *node = file_.tree->root();
    while (node) {
      visit(*node);
      if (node->touched && node->first) {
        node = node->first;
        continue;
      }
      while (node && !node->next) node = node->parent;
      if (node) node = node->next;
    }
  }
  /// The nodes whose lists of children differ from the file, or something below.
  void listTouched() {
    forEach([&](Node &node) {
      if (node.touched) touched_.push_back(&node);
    });
  }

  bool isMoved(const Node &node) const { return moved_.count(&node) > 0; }
  uint32_t placeOf(const Node *node) const {
    if (!node) return 0;
    const auto found = moved_.find(node);
    return found == moved_.end() ? node->entry : found->second;
  }
  uint32_t nextOf(const Node &node) const {
    return node.next || !node.parent ? placeOf(node.next) : node.parent->unread;
  }
  uint32_t firstOf(const Node &node) const {
    return node.first ? placeOf(node.first) : node.unread;
  }
  /// Until places are given, an entry that moves is nowhere, which no stored link says.
  static constexpr uint32_t kNowhere = UINT32_MAX;

  void chooseMoved() {
    HeapMap<const Node *, bool> inside;  // of a subtree that is written anew
    for (const Node *node : touched_)
      inside[node] = node->changed || (node->parent && inside[node->parent]);
    for (auto at = touched_.rbegin(); at != touched_.rend(); ++at) {  // children before parents
      const bool below = inside[*at];
      for (Node *child = (*at)->last; child; child = child->previous) {
        if (child->changed || (below && (nextOf(*child) != child->stored.next ||
                                         firstOf(*child) != child->stored.first)))
          moved_.emplace(child, kNowhere);
      }
    }
  }

  /// Gives every new thing its place, objects and entries in the order of the tree.
  void layOut() {
    // Behind what an earlier attempt has left: a link may lead there already.
    uint64_t end = file_.storage.look().size;
    const auto take = [&end](uint64_t count) {
      const uint64_t begin = end;
      end += count;
      if (end > kLargestFile)
        throw Problem(OHFA_TOO_LARGE, "The file would grow past 4294967296 bytes");
      return static_cast<uint32_t>(begin);
    };
    begin_ = end;
    dictionary_ = take(file_.designs.pendingText().size());
    forEach([&](Node &node) {
      if (!isMoved(node)) return;
      order_.push_back(&node);
      objects_.push_back(node.pending ? take(node.pending->size()) : node.data);
    });
    if (order_.empty()) return;
    entries_ = (end + kEntrySize - 1) / kEntrySize * kEntrySize;
    end = entries_;
    for (const Node *node : order_) moved_[node] = take(kEntrySize);
  }

  void append() {
    Appender out(file_.storage, begin_);
    const std::string_view text = file_.designs.pendingText();
    out.add(reinterpret_cast<const uint8_t *>(text.data()), text.size());
    for (size_t i = 0; i < order_.size(); ++i) {
      const Node &node = *order_[i];
      if (!node.pending) continue;
      Bytes bytes(*node.pending);
      file_.moveObject(node, bytes, 0, objects_[i]);
      out.add(bytes.data(), bytes.size());
    }
    if (!order_.empty()) out.padTo(entries_);
    for (size_t i = 0; i < order_.size(); ++i) {
      uint8_t bytes[kEntrySize];
      entryOf(*order_[i], objects_[i]).encode(bytes);
      out.add(bytes, sizeof bytes);
    }
    out.flush();
    file_.storage.sync();
  }

  Entry entryOf(const Node &node, uint32_t object) const {
    Entry entry;
    entry.next = nextOf(node);
    entry.previous = placeOf(node.previous);
    entry.parent = placeOf(node.parent);
    entry.first = firstOf(node);
    entry.data = object;
    entry.size = node.size;
    entry.name = node.name;
    entry.design = *node.design;
    entry.time = node.time;
    return entry;
  }

  static uint32_t &storedBy(const Store &store) {
    return store.field == kFirst ? store.holder->stored.first : store.holder->stored.next;
  }

  void switchOver() {
    Record &record = file_.tree->record();
    if (!file_.designs.pendingText().empty()) {
      file_.storage.writeU32(record.dictionaryField(), dictionary_);
      file_.storage.sync();
      record.dictionary = dictionary_;
      file_.designs.committed(dictionary_);
    }
    for (Node *parent : touched_) {
      if (!isMoved(*parent) && firstOf(*parent) != parent->stored.first)
        stores_.push_back({parent, kFirst, firstOf(*parent)});
      for (Node *child = parent->first; child; child = child->next) {
        if (!isMoved(*child) && nextOf(*child) != child->stored.next)
          stores_.push_back({child, kNext, nextOf(*child)});
      }
    }
    for (const Store &store : stores_) {
      storedBy(store) = kNowhere;  // not known until all is synced
      file_.storage.writeU32(store.holder->entry + store.field, store.value);
    }
    if (!stores_.empty()) file_.storage.sync();
  }

  /// From here on the file is as the tree says.
  void settle() {
    for (const Store &store : stores_) storedBy(store) = store.value;
    for (size_t i = 0; i < order_.size(); ++i) {
      Node &node = *order_[i];
      const Entry entry = entryOf(node, objects_[i]);
      node.stored = {entry.next, entry.previous, entry.parent, entry.first};
      node.data = entry.data;
      node.pending.reset();
      node.changed = false;
    }
    for (const auto &[node, place] : moved_) const_cast<Node *>(node)->entry = place;
    for (Node *node : touched_) node->touched = false;
    file_.snapshot = file_.storage.look();
  }

  /// Links that no reader follows: a loss of theirs is no fault.
  void patchBackLinks() {
    for (Node *parent : touched_) patchChildren(*parent);
    for (Node *parent : order_) patchChildren(*parent);
  }
  void patchChildren(Node &parent) {
    try {
      for (Node *child = file_.tree->firstChild(parent); child;
           child = file_.tree->nextSibling(*child)) {
        patch(*child, kParent, child->stored.parent, parent.entry);
        patch(*child, kPrevious, child->stored.previous,
              child->previous ? child->previous->entry : 0);
      }
    } catch (const std::exception &) {
      // a damaged list, or no memory; the change itself is made
    }
  }
  void patch(Node &node, EntryField field, uint32_t &stored, uint32_t wanted) {
    if (stored == wanted) return;
    file_.storage.writeU32(node.entry + field, wanted);
    stored = wanted;
  }

  Ohfa_File &file_;
  HeapVector<Node *> touched_;
  HeapMap<const Node *, uint32_t> moved_;  // to their places
  HeapVector<Node *> order_;
  HeapVector<uint32_t> objects_;  // positions of their objects
  HeapVector<Store> stores_;
  uint64_t begin_ = 0, entries_ = 0;
  uint32_t dictionary_ = 0;
};

}  // namespace

}  // namespace orvik::toolkit::nodefile

void Ohfa_File::commit() { orvik::toolkit::nodefile::Commit(*this).run(); }
