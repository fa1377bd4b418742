#include "toolkit/ohfa_file.h"

#include <cinttypes>

namespace orvik::toolkit::nodefile {

namespace {

constexpr size_t kLargestText = size_t{16} << 20;  // decoding takes thirty times that
constexpr size_t kTextPiece = 4096;

/// A result of a callee whose report becomes the problem's text.
template <class Result, class Call>
Result required(int32_t code, const char *what, Call call) {
  Oerr_Report *report = nullptr;
  Result result = call(&report);
  if (result) return result;
  const Problem problem(code, "%s: %s", what, oerr_MessageGet(oerr_RootCauseGet(report)));
  oerr_DeleteErrorReport(&report);
  throw Problem(problem);
}

}  // namespace

void FileDictionary::read(Storage &storage, uint32_t position) {
  HeapText text;
  for (;;) {
    const uint64_t at = position + text.size();
    const uint64_t left = at < storage.size() ? storage.size() - at : 0;
    const uint64_t count = std::min<uint64_t>(kTextPiece, left);
    const auto *piece = reinterpret_cast<const char *>(
        storage.require(at, std::max<uint64_t>(count, 1), "dictionary without an end"));
    const size_t length = strnlen(piece, count);
    text.append(piece, length);
    if (length < count) break;
    if (text.size() > kLargestText)
      throw Problem(OHFA_DAMAGED, "The dictionary at byte %" PRIu32 " takes more than 16 MiB",
                    position);
  }
  char place[48];
  std::snprintf(place, sizeof place, "The dictionary at byte %" PRIu32, position);
  OwnedDictionary decoded(required<Omif_Dictionary *>(OHFA_DAMAGED, place, [&](auto *err) {
    return omif_DictionaryDecodeFromString(text.c_str(), err);
  }));
  earlier_.push_back(std::move(decoded_));
  decoded_ = std::move(decoded);
  text_.swap(text);
  position_ = position;
}

const Omif_Dictionary &FileDictionary::get(Storage &storage, uint32_t position) {
  if (!decoded_ || (!pending_ && position != position_)) read(storage, position);
  return *decoded_;
}

void FileDictionary::add(const Omif_Design &design) {
  const auto encoded = [](const Omif_Dictionary *dictionary) {
    return HeapBlock<char>(required<char *>(OHFA_OBJECT, "The dictionary", [&](auto *err) {
      return omif_DictionaryEncodeToString(dictionary, err);
    }));
  };
  const OwnedDictionary wanted(required<Omif_Dictionary *>(
      OHFA_OBJECT, "The design", [&](auto *err) { return omif_DictionaryOfDesign(&design, err); }));
  OwnedDictionary fresh(required<Omif_Dictionary *>(OHFA_DAMAGED, "The dictionary", [&](auto *err) {
    return omif_DictionaryDecodeFromString(text_.c_str(), err);
  }));
  const auto before = encoded(fresh.get());
  for (int32_t i = 0; i < omif_DictionaryDesignCount(wanted.get()); ++i) {
    const Omif_Design *each = omif_DictionaryDesign(wanted.get(), i);
    if (omif_DictionarySearchByName(fresh.get(), omif_DesignName(each), nullptr)) continue;
    required<const Omif_Design *>(OHFA_OBJECT, "The dictionary", [&](auto *err) {
      return omif_DictionaryAddDesign(fresh.get(), each, err);
    });
  }
  const auto after = encoded(fresh.get());
  // What was there keeps its bytes, which may be other than those that encoding makes of it.
  HeapText text(text_, 0, text_.size() - 1);
  text += after.get() + std::strlen(before.get()) - 1;
  if (text.size() > kLargestText)
    throw Problem(OHFA_TOO_LARGE, "The dictionary would take more than 16 MiB");
  earlier_.push_back(std::move(decoded_));
  decoded_ = std::move(fresh);
  text_.swap(text);
  pending_ = true;
}

void FileDictionary::copy(const FileDictionary &other) {
  OwnedDictionary decoded(required<Omif_Dictionary *>(
      OHFA_DAMAGED, "The dictionary",
      [&](auto *err) { return omif_DictionaryDecodeFromString(other.text_.c_str(), err); }));
  text_ = other.text_;
  decoded_ = std::move(decoded);
  pending_ = true;
}

}  // namespace orvik::toolkit::nodefile

using namespace orvik::toolkit;
using namespace orvik::toolkit::nodefile;

Ohfa_File::Ohfa_File(PlatformFile file, bool update)
    : storage(std::move(file)), writable(update), snapshot(storage.look()) {
  tree = std::allocate_shared<Tree>(HeapAllocator<Tree>(), storage, writable);
  current_ = {tree, tree->root()};
}

void Ohfa_File::refresh() {
  if (writable) return;
  const Stamp now = storage.look();
  if (now == snapshot) return;
  auto fresh = std::allocate_shared<Tree>(HeapAllocator<Tree>(), storage, writable);
  Node *node = nullptr;
  try {
    if (here().node) node = fresh->find(pathOf(*here().node));
  } catch (const Problem &) {
    // told to whoever asks for that node
  }
  tree = std::move(fresh);
  if (node) moveTo({tree, node});
  snapshot = now;
}

const Omif_Design &Ohfa_File::designNamed(const HeapText &name) {
  const Omif_Design *design = omif_DictionarySearchByName(&dictionary(), name.c_str(), nullptr);
  if (!design && !writable && storage.look() != designsSeen_) {
    designsSeen_ = storage.look();  // a writer may have added it since the record was read
    storage.forget();
    const Record record = Tree(storage, false).record();
    design = omif_DictionarySearchByName(&designs.get(storage, record.dictionary), name.c_str(),
                                         nullptr);
    tree->record().dictionary = record.dictionary;
  }
  if (!design)
    throw Problem(OHFA_OTHER_DESIGN, "The file's dictionary has no design \"%s\"", name.c_str());
  return *design;
}

Ohfa_File::Object Ohfa_File::objectOf(const Node &node) {
  if (node.pending) return {node.pending->data(), node.size, 0};
  const uint8_t *bytes =
      node.size < 0 ? nullptr : storage.at(node.data, static_cast<uint64_t>(node.size));
  if (!bytes)
    throw Problem(OHFA_DAMAGED,
                  "Node \"%s\": its object at byte %" PRIu32 " (%" PRId32
                  " bytes) lies outside of the file",
                  pathText(node).c_str(), node.data, node.size);
  return {bytes, node.size, node.data};
}

bool Ohfa_File::holds(const Node &node, const Bytes &bytes) {
  if (static_cast<int64_t>(bytes.size()) != node.size) return false;
  try {
    const Object object = objectOf(node);
    Bytes stored(object.bytes, object.bytes + object.size);
    moveObject(node, stored, object.base, 0);
    return stored == bytes;
  } catch (const Problem &) {
    return false;  // a damaged object is replaced
  }
}

void Ohfa_File::moveObject(const Node &node, Bytes &bytes, uint32_t from, uint32_t to) {
  required<int32_t>(OHFA_OBJECT, ("Node \"" + pathText(node) + "\"").c_str(), [&](auto *err) {
    return mif::moveObject(&designNamed(*node.design), bytes.data(),
                           static_cast<int32_t>(bytes.size()), from, to, err);
  });
}

const mif::Codec &Ohfa_File::codecFor(const Omif_Design &host, const HeapText &name) {
  const Omif_Design &written = designNamed(name);
  for (const Layout &layout : layouts_) {
    if (layout.host == &host && layout.written == &written) return *layout.codec;
  }
  auto codec = required<std::unique_ptr<mif::Codec>>(
      OHFA_OBJECT, ("Design \"" + name + "\"").c_str(),
      [&](auto *err) { return mif::codecOf(&host, &written, err); });
  layouts_.push_back({&host, &written, std::move(codec)});
  return *layouts_.back().codec;
}

Place &Ohfa_File::here() {
  if (stepOn_) current_.node = current_.tree->nextInPreorder(*current_.node);
  stepOn_ = false;
  return current_;
}

Place Ohfa_File::find(const char *path) {
  if (!path) return here();
  if (*path != ':') refresh();
  std::string_view names(path);
  Place place{tree, tree->root()};
  if (names.empty()) return place;
  if (names.front() == ':') {
    place = here();
    names.remove_prefix(1);
  }
  while (place.node) {
    const size_t end = std::min(names.find(':'), names.size());
    place.node = place.tree->child(*place.node, names.substr(0, end));
    if (end == names.size()) break;
    names.remove_prefix(end + 1);
  }
  return place;
}

Place Ohfa_File::require(const char *path) {
  Place place = find(path);
  if (place.node) return place;
  if (!path) throw Problem(OHFA_ABSENT, "There is no current entry");
  throw Problem(OHFA_ABSENT, "There is no node \"%s\"", path);
}

Place Ohfa_File::follow(const Place &from, int32_t code, const char *designName) {
  const auto fits = [&](const Node &node) { return !designName || *node.design == designName; };
  Place place = code == OHFA_SOUGHT ? sought : from;
  Node *&node = place.node;
  switch (code) {
    case OHFA_PARENT:
      if (node) node = node->parent;
      break;
    case OHFA_CHILD:
      if (node) node = place.tree->firstChild(*node);
      while (node && !fits(*node)) node = place.tree->nextSibling(*node);
      break;
    case OHFA_SIBLING:
      do {
        if (node) node = place.tree->nextSibling(*node);
      } while (node && !fits(*node));
      break;
    case OHFA_SOUGHT:
    case OHFA_CURRENT:
      break;
    default:
      throw Problem(OHFA_INVALID, "Invalid input code %" PRId32, code);
  }
  if (node && (node->removed || !fits(*node))) node = nullptr;
  return place;
}
