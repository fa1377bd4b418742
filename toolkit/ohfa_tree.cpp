#include "toolkit/ohfa_tree.h"

#include <algorithm>
#include <cinttypes>

namespace orvik::toolkit::nodefile {

namespace {

constexpr uint32_t kIndexedFrom = 16;  // shorter lists are searched one by one

Record readRecord(Storage &storage) {
  const uint8_t *header = storage.at(0, 20);
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

Tree::Tree(Storage &storage, bool ownChanges) : storage_(storage), ownChanges_(ownChanges) {
  record_ = readRecord(storage_);
  root_ = load(record_.root, nullptr);
}

/// Takes the bytes of an entry; false when another entry has some of them. That ends cycles and
/// keeps the number of nodes below the number of bytes.
bool Tree::occupy(uint32_t position) {
  const uint32_t slot = position / kEntrySize;
  const auto place = static_cast<uint8_t>(1 + position % kEntrySize);
  const auto before = slot > 0 ? occupied_.find(slot - 1) : occupied_.end();
  const auto behind = occupied_.find(slot + 1);
  if ((before != occupied_.end() && before->second > place) ||
      (behind != occupied_.end() && behind->second < place))
    return false;
  return occupied_.emplace(slot, place).second;
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
    if (!occupy(position))
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
  if (ChildIndex *index = parent.index.get())
    index->ambiguous |= !index->nodes.emplace(node.name, &node).second;
  node.previous = parent.last;
  (parent.last ? parent.last->next : parent.first) = &node;
  parent.last = &node;
  ++parent.childCount;
}

void Tree::indexIfLong(Node &parent) {
  if (parent.index || parent.childCount < kIndexedFrom) return;
  auto index = std::make_unique<ChildIndex>();
  index->nodes.reserve(parent.childCount);
  for (Node *node = parent.first; node; node = node->next)
    index->ambiguous |= !index->nodes.emplace(node->name, node).second;
  parent.index = std::move(index);
}

/// To be called before a node loses its name.
void Tree::unindex(Node &node) {
  auto &index = node.parent->index;
  if (index && index->ambiguous) index.reset();  // made anew when it is needed
  if (index) index->nodes.erase(node.name);
}

Node *Tree::child(Node &parent, std::string_view name) {
  indexIfLong(parent);
  if (parent.index) {
    if (const auto found = parent.index->nodes.find(name); found != parent.index->nodes.end())
      return found->second;
  } else {
    for (Node *node = parent.first; node; node = node->next) {
      if (node->name == name) return node;
    }
  }
  while (Node *node = readChild(parent)) {
    if (node->name == name) return node;
  }
  return nullptr;
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
  node.parent->index.reset();  // made anew when it is needed
  node.name.swap(wanted);
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
