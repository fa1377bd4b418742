#include "toolkit/ohfa_tree.h"

#include <algorithm>
#include <bit>
#include <cinttypes>
#include <functional>

namespace orvik::toolkit::nodefile {

namespace {

constexpr uint32_t kIndexedFrom = 16;  // shorter lists are searched one by one

Record readRecord(Storage &storage) {
  const uint8_t *header = storage.at(0, kHeaderSize);
  if (!header || std::memcmp(header, "OHFA_HEADER_TAG", 16) != 0)
    throw Problem(OHFA_DAMAGED, "It is no node file: it does not begin with \"OHFA_HEADER_TAG\"");
  Record record;
  record.position = getU32(header + 16);
  const uint8_t *fields = storage.require(record.position, kRecordSize, "file record");
  if (getU32(fields) != 1)
    throw Problem(OHFA_DAMAGED, "File record at byte %" PRIu32 ": version %" PRIu32 " is not known",
                  record.position, getU32(fields));
  if (getU16(fields + 12) != kEntrySize)
    throw Problem(OHFA_DAMAGED,
                  "File record at byte %" PRIu32 ": entries of %" PRIu32 " bytes, not 128",
                  record.position, getU16(fields + 12));
  record.freeList = getU32(fields + 4);
  record.root = getU32(fields + 8);
  record.dictionary = getU32(fields + 14);
  return record;
}

}  // namespace

// ---- Children by name

namespace {

/// Stands in the slots of nodes that were removed, so that searches go on behind them.
Node removedNode;

}  // namespace

void ChildIndex::grow(size_t nodes) {
  HeapVector<Node *> slots(std::bit_ceil(2 * nodes + 2));
  slots.swap(slots_);
  used_ = 0;
  for (Node *node : slots) {
    if (node && node != &removedNode) place(*node);
  }
}

void ChildIndex::place(Node &node) {
  size_t at = node.hash & (slots_.size() - 1);
  while (slots_[at]) at = (at + 1) & (slots_.size() - 1);
  slots_[at] = &node;
  ++used_;
}

Node *ChildIndex::find(std::string_view name) const {
  const size_t hash = std::hash<std::string_view>()(name);
  for (size_t at = hash & (slots_.size() - 1); Node *node = slots_[at];
       at = (at + 1) & (slots_.size() - 1)) {
    if (node != &removedNode && node->hash == hash && node->name == name) return node;
  }
  return nullptr;
}

void ChildIndex::add(Node &node) {
  node.hash = std::hash<std::string_view>()(node.name);
  if (find(node.name)) {
    ambiguous_ = true;
    return;
  }
  if (2 * (used_ + 1) > slots_.size()) grow(used_ + 1);
  place(node);
}

void ChildIndex::remove(const Node &node) {
  for (size_t at = node.hash & (slots_.size() - 1); slots_[at]; at = (at + 1) & (slots_.size() - 1))
    if (slots_[at] == &node) slots_[at] = &removedNode;
}

// ---- Entries in the file

uint8_t &EntryMap::placeIn(uint32_t slot) {
  const uint32_t number = slot / kSlots;
  if (!last_ || lastNumber_ != number) {
    auto &page = pages_[number];
    if (!page) page = std::make_unique<Page>();
    last_ = page.get();
    lastNumber_ = number;
  }
  return last_->places[slot % kSlots];
}

bool EntryMap::take(uint32_t position) {
  const uint32_t slot = position / kEntrySize;
  const auto place = static_cast<uint8_t>(1 + position % kEntrySize);
  if (slot > 0 && placeIn(slot - 1) > place) return false;
  if (const uint8_t behind = placeIn(slot + 1); behind != 0 && behind < place) return false;
  uint8_t &here = placeIn(slot);
  if (here != 0) return false;
  here = place;
  return true;
}

// ---- The tree

Tree::Tree(Storage &storage, bool ownChanges) : storage_(storage), ownChanges_(ownChanges) {
  record_ = readRecord(storage_);
  root_ = load(record_.root, nullptr);
}

/// The header and the file record have none of an entry's bytes.
bool Tree::isFree(uint32_t position) const {
  const auto meets = [position](uint64_t begin, uint64_t size) {
    return position < begin + size && begin < uint64_t{position} + kEntrySize;
  };
  return !meets(0, kHeaderSize) && !meets(record_.position, kRecordSize);
}

const HeapText *Tree::intern(std::string_view design) {
  if (lastDesign_ && *lastDesign_ == design) return lastDesign_;
  lastDesign_ = &*designs_.emplace(design).first;
  return lastDesign_;
}

Node *Tree::load(uint32_t position, Node *parent) {
  const Entry entry = Entry::decode(storage_.require(position, kEntrySize, "entry"));
  Node &node = nodes_.emplace_back();
  try {
    node.name = entry.name;
    node.design = intern(entry.design);
    // That ends cycles, and keeps the number of nodes below that of bytes.
    if (!isFree(position) || !entries_.take(position))
      throw Problem(OHFA_DAMAGED,
                    "The entry at byte %" PRIu32 " is linked twice or overlaps another", position);
  } catch (...) {
    nodes_.pop_back();
    throw;
  }
  node.data = entry.data;
  node.size = entry.size;
  node.time = entry.time;
  node.entry = position;
  node.stored = {entry.next, entry.previous, entry.parent, entry.first};
  node.parent = parent;
  node.unread = entry.first;
  return &node;
}

/// Reads one child more; null at the end of the list.
Node *Tree::readChild(Node &parent) {
  if (parent.unread == 0) return nullptr;
  Node *node;
  try {
    node = load(parent.unread, &parent);
  } catch (const Problem &problem) {
    // A reader may have kept the link from before a commit of the writer.
    const uint32_t from = parent.last ? parent.last->entry + kNext : parent.entry + kFirst;
    uint32_t link = parent.unread;
    if (!ownChanges_) {
      storage_.look();
      storage_.forget();
      if (const uint8_t *again = storage_.at(from, 4)) link = getU32(again);
    }
    if (link == parent.unread)
      throw Problem(problem.code(), "Node \"%s\", link at byte %" PRIu32 ": %s",
                    pathText(parent.last ? *parent.last : parent).c_str(), from, problem.what());
    parent.unread = link;
    if (link == 0) return nullptr;
    node = load(link, &parent);
  }
  parent.unread = node->stored.next;
  linkLast(parent, *node);
  return node;
}

void Tree::linkLast(Node &parent, Node &node) {
  if (parent.index) parent.index->add(node);
  node.previous = parent.last;
  (parent.last ? parent.last->next : parent.first) = &node;
  parent.last = &node;
  ++parent.childCount;
}

void Tree::indexIfLong(Node &parent) {
  if (parent.index || parent.childCount < kIndexedFrom) return;
  auto index = std::make_unique<ChildIndex>(parent.childCount);
  for (Node *node = parent.first; node; node = node->next) index->add(*node);
  parent.index = std::move(index);
}

/// To be called before a node loses its name.
void Tree::unindex(Node &node) {
  auto &index = node.parent->index;
  if (index && index->ambiguous()) index.reset();  // made anew when it is needed
  if (index) index->remove(node);
}

Node *Tree::child(Node &parent, std::string_view name) {
  indexIfLong(parent);
  if (parent.index) {
    if (Node *found = parent.index->find(name)) return found;
  } else {
    for (Node *node = parent.first; node; node = node->next) {
      if (node->name == name) return node;
    }
  }
  Node *node = readChild(parent);
  while (node && node->name != name) node = readChild(parent);
  indexIfLong(parent);
  return node;
}

Node *Tree::nextInPreorder(Node &node) {
  if (Node *child = firstChild(node)) return child;
  for (Node *at = &node; at; at = at->parent) {
    if (Node *next = nextSibling(*at)) return next;
  }
  return nullptr;
}

Node *Tree::find(const NodePath &path) {
  Node *node = root_;
  for (const HeapText &name : path) {
    node = child(*node, name);
    if (!node) break;
  }
  return node;
}

/// What is above a touched node is touched.
void Tree::touch(Node *node) {
  for (; node && !node->touched; node = node->parent) node->touched = true;
}

void Tree::markChanged(Node &node) {
  node.changed = true;
  touch(node.parent);
}

Node &Tree::add(Node &parent, std::string_view name, std::string_view design,
                std::unique_ptr<Bytes> &object, uint32_t time) {
  while (readChild(parent)) {
  }
  Node &node = nodes_.emplace_back();
  try {
    node.name = name;
    node.design = intern(design);
    node.parent = &parent;
    linkLast(parent, node);
  } catch (...) {
    nodes_.pop_back();
    throw;
  }
  replaceObject(node, std::move(object), time);
  return node;
}

void Tree::rename(Node &node, std::string_view name, uint32_t time) {
  HeapText wanted(name);
  unindex(node);
  node.name.swap(wanted);
  try {
    if (node.parent->index) node.parent->index->add(node);
  } catch (const std::bad_alloc &) {
    node.parent->index.reset();
  }
  node.time = time;
  markChanged(node);
}

void Tree::remove(Node &node) {
  Node &parent = *node.parent;
  unindex(node);
  (node.previous ? node.previous->next : parent.first) = node.next;
  (node.next ? node.next->previous : parent.last) = node.previous;
  --parent.childCount;
  node.removed = true;
  node.next = node.previous = nullptr;
  touch(&parent);
}

void Tree::replaceObject(Node &node, std::unique_ptr<Bytes> object, uint32_t time) {
  node.size = object ? static_cast<int32_t>(object->size()) : 0;
  node.pending = std::move(object);
  node.data = 0;
  node.time = time;
  markChanged(node);
}

NodePath pathOf(const Node &node) {
  NodePath path;
  for (const Node *at = &node; at->parent; at = at->parent) path.push_back(at->name);
  std::reverse(path.begin(), path.end());
  return path;
}

HeapText pathText(const Node &node) {
  constexpr int kShown = 16;  // names
  HeapText text;
  int shown = 0;
  for (const Node *at = &node; at->parent; at = at->parent) {
    const bool enough = ++shown > kShown;
    text.insert(0, (enough ? HeapText("...") : at->name) + (text.empty() ? "" : ":"));
    if (enough) break;
  }
  return text;
}

}  // namespace orvik::toolkit::nodefile
