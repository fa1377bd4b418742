// Node files: the public operations.
#include <oprj/ohfa.h>
#include <oprj/ostr.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>

#include "toolkit/ohfa_file.h"

using namespace orvik::toolkit;
using namespace orvik::toolkit::nodefile;

struct Ohfa_Position : HeapRecord {
  NodePath path;
  bool atEnd = false;
};

namespace {

Ohfa_File &given(Ohfa_File *file) {
  if (!file) throw Problem(OHFA_INVALID, "Invalid input file");
  return *file;
}
Ohfa_File &givenForUpdate(Ohfa_File *file) {
  if (!given(file).writable) throw Problem(OHFA_READ_ONLY, "The file is open for reading");
  return *file;
}
const char *givenPath(const char *path) {
  if (!path || !*path) throw Problem(OHFA_INVALID, "Invalid input file name");
  return path;
}
const Omif_Design &givenDesign(const Omif_Design *design) {
  if (!design) throw Problem(OHFA_INVALID, "Invalid input design");
  return *design;
}

/// A name that a new node may have.
std::string_view givenName(const char *name) {
  const std::string_view text(name ? name : "");
  if (text.empty() || text.size() >= Entry::kNameSize)
    throw Problem(OHFA_INVALID, "Invalid node name \"%s\": it must have 1 to 63 bytes",
                  name ? name : "");
  for (const char c : text) {
    if (c == ':' || (c >= 0 && c < ' ') || c == '\x7F')
      throw Problem(OHFA_INVALID, "Invalid node name \"%s\": it has a \":\" or a control byte",
                    name);
  }
  return text;
}

/// Seconds since 1970; SOURCE_DATE_EPOCH makes files reproducible.
uint32_t timeOfChange() {
  if (const char *fixed = std::getenv("SOURCE_DATE_EPOCH")) {
    double seconds = 0;
    if (ostr_ToDouble(fixed, &seconds) && seconds >= 0 && seconds <= UINT32_MAX)
      return static_cast<uint32_t>(seconds);
  }
  return static_cast<uint32_t>(std::time(nullptr));
}

[[noreturn]] void taken(const Node &node) {
  throw Problem(OHFA_EXISTS, "There is a node \"%s\" already", pathText(node).c_str());
}

/// A new file that has no name yet, open for update.
std::unique_ptr<Ohfa_File> unnamedFile(const char *path, uint32_t time) {
  PlatformFile file = PlatformFile::temporaryFor(path);
  if (!file.lock()) throw Problem(OHFA_LOCKED, "File \"%s\" cannot be locked", path);
  {
    const Bytes bytes = emptyFile(time);
    file.write(0, bytes.data(), bytes.size());
    file.sync();
  }
  return std::make_unique<Ohfa_File>(std::move(file), true);
}

void publish(Ohfa_File &file, const char *path, bool replace) {
  if (!file.storage.file().publish(path, replace))
    throw Problem(OHFA_EXISTS, "There is a file \"%s\" already", path);
}

[[noreturn]] void lockedElsewhere(const char *path) {
  throw Problem(OHFA_LOCKED, "File \"%s\" is open for update elsewhere", path);
}

/// A file for update that is ours and still has its name: another one may have taken its place
/// between opening and locking.
PlatformFile lockedFile(const char *path) {
  for (;;) {
    PlatformFile file(path, true);
    if (!file.lock()) lockedElsewhere(path);
    if (file.isAt(path)) return file;
  }
}

Ohfa_EntryInfo infoOf(const Node &node) {
  Ohfa_EntryInfo info = {};
  node.name.copy(info.name, sizeof info.name - 1);
  node.design->copy(info.design, sizeof info.design - 1);
  info.entry = node.entry;
  info.data = node.data;
  info.size = node.size;
  info.time = node.time;
  return info;
}

/// Moves to a place that was found; 0 when it was none.
int32_t moveTo(Ohfa_File &file, const Place &place) {
  if (!place.node) return 0;
  file.moveTo(place);
  file.sought = place;
  return 1;
}

}  // namespace

// --- files ---

Ohfa_File *ohfa_FileCreate(const char *path, int32_t replace, Oerr_Report **err) {
  ErrorScope e("ohfa_FileCreate", err);
  return operate(e, [&] {
    auto made = unnamedFile(givenPath(path), timeOfChange());
    std::unique_ptr<PlatformFile> old;
    if (replace) {
      try {
        old = std::make_unique<PlatformFile>(path, true);
      } catch (const Problem &) {
        // nothing to be replaced, or nothing that could be open here
      }
      if (old && !old->lock()) lockedElsewhere(path);
    }
    publish(*made, path, replace != 0);
    return made.release();
  });
}

Ohfa_File *ohfa_FileOpen(const char *path, int32_t mode, Oerr_Report **err) {
  ErrorScope e("ohfa_FileOpen", err);
  return operate(e, [&]() -> Ohfa_File * {
    givenPath(path);
    if (mode != OHFA_READ && mode != OHFA_UPDATE)
      throw Problem(OHFA_INVALID, "Invalid input mode %d", static_cast<int>(mode));
    const bool update = mode == OHFA_UPDATE;
    return std::make_unique<Ohfa_File>(update ? lockedFile(path) : PlatformFile(path, false),
                                       update)
        .release();
  });
}

int32_t ohfa_FileFlush(Ohfa_File *file, Oerr_Report **err) {
  ErrorScope e("ohfa_FileFlush", err);
  return operate(e, [&] {
    givenForUpdate(file).commit();
    return 1;
  });
}

int32_t ohfa_FileClose(Ohfa_File **file, Oerr_Report **err) {
  ErrorScope e("ohfa_FileClose", err);
  if (!file || !*file) return e.fail(OHFA_INVALID, "Invalid input file");
  if ((*file)->writable && !ohfa_FileFlush(*file, e.cause()))
    return e.fail(oerr_CodeGet(e.causeReport()), "Error returned from ohfa_FileFlush");
  ohfa_FileDiscard(file);
  return 1;
}

void ohfa_FileDiscard(Ohfa_File **file) {
  if (file) delete std::exchange(*file, nullptr);
}

int32_t ohfa_FileIsWritable(const Ohfa_File *file) { return file && file->writable; }

int32_t ohfa_FileCopy(Ohfa_File *file, const char *path, Oerr_Report **err) {
  ErrorScope e("ohfa_FileCopy", err);
  return operate(e, [&] {
    Ohfa_File &source = given(file);
    givenPath(path);
    source.refresh();
    Tree &from = *source.tree;
    auto made = unnamedFile(path, from.root()->time);
    Tree &to = *made->tree;
    source.dictionary();
    made->dictionary();
    made->designs.copy(source.designs);

    constexpr size_t kAtOnce = size_t{64} << 20;  // bytes of objects between two commits
    size_t pending = 0;
    Node *copy = to.root();  // of `node`
    for (Node *node = from.root(); node;) {
      // The next node in preorder, the place in the copy going along.
      if (Node *child = from.firstChild(*node)) {
        node = child;
      } else {
        Node *next = nullptr;
        while (node && !next) {
          next = from.nextSibling(*node);
          if (next) break;
          node = node->parent;
          copy = copy->parent;
        }
        if (!next) break;
        node = next;
        copy = copy->parent;
      }
      std::unique_ptr<Bytes> bytes;
      if (!node->design->empty()) {
        const Ohfa_File::Object object = source.objectOf(*node);
        bytes = std::make_unique<Bytes>(object.bytes, object.bytes + object.size);
        source.moveObject(*node, *bytes, object.base, 0);
        pending += bytes->size();
      }
      copy = &to.add(*copy, node->name, *node->design, bytes, node->time);
      if (pending > kAtOnce) {
        made->commit();
        pending = 0;
      }
    }
    made->commit();
    publish(*made, path, false);
    return 1;
  });
}

// --- dictionary ---

const Omif_Dictionary *ohfa_DictionaryGet(Ohfa_File *file, Oerr_Report **err) {
  ErrorScope e("ohfa_DictionaryGet", err);
  return operate(e, [&] { return &given(file).dictionary(); });
}

int32_t ohfa_DesignAdd(Ohfa_File *file, const Omif_Design *design, Oerr_Report **err) {
  ErrorScope e("ohfa_DesignAdd", err);
  return operate(e, [&] {
    const Omif_Dictionary &dictionary = givenForUpdate(file).dictionary();
    const char *name = omif_DesignName(&givenDesign(design));
    const Omif_Design *known = omif_DictionarySearchByName(&dictionary, name, nullptr);
    if (known && !omif_DesignsEqual(known, design))
      throw Problem(OHFA_OTHER_DESIGN, "The file's dictionary has a different design \"%s\"", name);
    if (!known) file->designs.add(*design);
    return 1;
  });
}

// --- going about ---

int32_t ohfa_EntrySeek(Ohfa_File *file, int32_t code, const char *designName, Oerr_Report **err) {
  ErrorScope e("ohfa_EntrySeek", err);
  return operate(e, [&] {
    Ohfa_File &at = given(file);
    return moveTo(at, at.follow(at.here(), code, designName));
  });
}

int32_t ohfa_PathSeek(Ohfa_File *file, const char *path, Oerr_Report **err) {
  ErrorScope e("ohfa_PathSeek", err);
  return operate(e, [&] { return moveTo(given(file), file->find(path)); });
}

int32_t ohfa_EntryPeek(Ohfa_File *file, int32_t code, Ohfa_EntryInfo *info, Oerr_Report **err) {
  ErrorScope e("ohfa_EntryPeek", err);
  if (info) *info = {};
  return operate(e, [&] {
    Ohfa_File &at = given(file);
    if (!info) throw Problem(OHFA_INVALID, "Invalid output entry information");
    const Place place = at.follow(at.here(), code, nullptr);
    if (!place.node) return 0;
    *info = infoOf(*place.node);
    return 1;
  });
}

Ohfa_Position *ohfa_EntryPositionGet(Ohfa_File *file, Oerr_Report **err) {
  ErrorScope e("ohfa_EntryPositionGet", err);
  return operate(e, [&] {
    auto position = std::make_unique<Ohfa_Position>();
    const Node *node = given(file).here().node;
    position->atEnd = !node;
    if (node) position->path = pathOf(*node);
    return position.release();
  });
}

int32_t ohfa_EntryPositionSet(Ohfa_File *file, const Ohfa_Position *position, Oerr_Report **err) {
  ErrorScope e("ohfa_EntryPositionSet", err);
  return operate(e, [&] {
    Ohfa_File &at = given(file);
    if (!position) throw Problem(OHFA_INVALID, "Invalid input position");
    at.refresh();
    Node *node = position->atEnd ? nullptr : at.tree->find(position->path);
    if (!node && !position->atEnd)
      throw Problem(OHFA_ABSENT, "The node \"%s\" is gone", position->path.back().c_str());
    at.moveTo({at.tree, node});
    return 1;
  });
}

void ohfa_EntryPositionFree(Ohfa_Position **position) {
  if (position) delete std::exchange(*position, nullptr);
}

// --- nodes ---

int32_t ohfa_NodeCreate(Ohfa_File *file, const char *parent, const char *name, Oerr_Report **err) {
  ErrorScope e("ohfa_NodeCreate", err);
  return operate(e, [&] {
    const Place place = givenForUpdate(file).require(parent);
    const std::string_view text = givenName(name);
    if (const Node *known = place.tree->child(*place.node, text)) taken(*known);
    std::unique_ptr<Bytes> none;
    place.tree->add(*place.node, text, "", none, timeOfChange());
    return 1;
  });
}

int32_t ohfa_NodeRename(Ohfa_File *file, const char *path, const char *name, Oerr_Report **err) {
  ErrorScope e("ohfa_NodeRename", err);
  return operate(e, [&] {
    const Place place = givenForUpdate(file).require(path);
    const std::string_view text = givenName(name);
    if (place.node->isRoot()) throw Problem(OHFA_INVALID, "The root keeps its name");
    if (place.node->name == text) return 1;
    if (const Node *known = place.tree->child(*place.node->parent, text)) taken(*known);
    place.tree->rename(*place.node, text, timeOfChange());
    return 1;
  });
}

int32_t ohfa_NodeRemove(Ohfa_File *file, const char *path, Oerr_Report **err) {
  ErrorScope e("ohfa_NodeRemove", err);
  return operate(e, [&] {
    const Place place = givenForUpdate(file).require(path);
    if (place.node->isRoot()) throw Problem(OHFA_INVALID, "The root stays");
    const auto isBelow = [&](const Node *node) {
      while (node && node != place.node) node = node->parent;
      return node != nullptr;
    };
    if (isBelow(file->here().node)) file->moveTo({place.tree, place.node->parent});
    if (isBelow(file->sought.node)) file->sought.node = nullptr;
    place.tree->remove(*place.node);
    return 1;
  });
}

// --- objects ---

namespace {

/// Reads the object of a node that has the design.
void *readObject(ErrorScope &e, Ohfa_File &file, const Node &node, const Omif_Design &design,
                 void *record) {
  const mif::Codec &codec = file.codecFor(design, *node.design);
  const Ohfa_File::Object object = file.objectOf(node);
  void *read = mif::decodeObject(codec, object.bytes, object.size, object.base, record, e.cause());
  if (!read)
    return e.fail(OHFA_OBJECT, "Node \"%s\": its object cannot be read", pathText(node).c_str());
  return read;
}

/// Where a reading operation leads. The children and siblings that it looks for have the design,
/// others must.
Place placeToRead(Ohfa_File &file, const Place &from, int32_t code, const char *designName) {
  const bool looks = code == OHFA_CHILD || code == OHFA_SIBLING;
  const Place place = file.follow(from, code, looks ? designName : nullptr);
  if (place.node && *place.node->design != designName)
    throw Problem(OHFA_OTHER_DESIGN, "Node \"%s\" is of design \"%s\", not \"%s\"",
                  pathText(*place.node).c_str(), place.node->design->c_str(), designName);
  return place;
}

/// Reads and moves; null without a report when there is no such node.
void *readAndMove(ErrorScope &e, Ohfa_File &file, const char *path, const Place &from,
                  const Omif_Design &design, int32_t code, void *record) {
  const Place place = placeToRead(file, from, code, omif_DesignName(&design));
  if (!place.node) return nullptr;
  void *read = readObject(e, file, *place.node, design, record);
  if (!read) return nullptr;
  file.moveTo(place, !path && code == OHFA_CURRENT);
  return read;
}

}  // namespace

void *ohfa_ObjectRead(Ohfa_File *file, const char *path, const Omif_Design *design, int32_t code,
                      void *record, Oerr_Report **err) {
  ErrorScope e("ohfa_ObjectRead", err);
  return operate(e, [&]() -> void * {
    const Place from = given(file).require(path);
    void *read = readAndMove(e, *file, path, from, givenDesign(design), code, record);
    if (!read && !e.failed())
      throw Problem(OHFA_ABSENT, "There is no node of design \"%s\" %s \"%s\"",
                    omif_DesignName(design),
                    code == OHFA_CHILD     ? "below"
                    : code == OHFA_SIBLING ? "behind"
                                           : "at",
                    from.node ? pathText(*from.node).c_str() : "");
    return read;
  });
}

int32_t ohfa_ObjectReadIfPresent(Ohfa_File *file, const char *path, const Omif_Design *design,
                                 int32_t code, void **record, Oerr_Report **err) {
  ErrorScope e("ohfa_ObjectReadIfPresent", err);
  return operate(e, [&]() -> int32_t {
    const Place from = given(file).find(path);
    if (!record) throw Problem(OHFA_INVALID, "Invalid output record");
    void *read = readAndMove(e, *file, path, from, givenDesign(design), code, *record);
    if (!read) return 0;
    *record = read;
    return 1;
  });
}

int32_t ohfa_ObjectWrite(Ohfa_File *file, const char *parent, const char *name,
                         const Omif_Design *design, const void *record, int32_t mode,
                         Oerr_Report **err) {
  ErrorScope e("ohfa_ObjectWrite", err);
  return operate(e, [&]() -> int32_t {
    if (mode != OHFA_NEW && mode != OHFA_REPLACE)
      throw Problem(OHFA_INVALID, "Invalid input mode %d", static_cast<int>(mode));
    Place place = givenForUpdate(file).require(parent);
    const HeapText designName(omif_DesignName(&givenDesign(design)));
    if (!record) throw Problem(OHFA_INVALID, "Invalid input record");
    if (designName.size() >= Entry::kDesignSize)
      throw Problem(OHFA_INVALID, "Design name \"%s\" has more than 31 bytes", designName.c_str());
    Node *node = nullptr;
    if (mode == OHFA_NEW || name) node = place.tree->child(*place.node, givenName(name));
    else if (!parent) node = place.node;
    if (mode == OHFA_NEW && node) taken(*node);
    if (mode == OHFA_REPLACE && !node)
      throw Problem(OHFA_ABSENT, "There is no node \"%s\" below \"%s\"", name ? name : "",
                    pathText(*place.node).c_str());
    if (node && *node->design != designName)
      throw Problem(OHFA_OTHER_DESIGN, "Node \"%s\" is of design \"%s\", not \"%s\"",
                    pathText(*node).c_str(), node->design->c_str(), designName.c_str());
    if (!omif_DictionarySearchByName(&file->dictionary(), designName.c_str(), nullptr))
      file->designs.add(*design);

    const mif::Codec &codec = file->codecFor(*design, designName);
    Oerr_Report **cause = e.cause();
    auto bytes =
        std::make_unique<Bytes>(static_cast<size_t>(mif::objectSize(codec, record, cause)));
    if (*cause ||
        (!bytes->empty() && !mif::encodeObject(codec, record, bytes->data(),
                                               static_cast<int32_t>(bytes->size()), 0, e.cause())))
      return e.fail(OHFA_OBJECT, "The object of design \"%s\" cannot be written",
                    designName.c_str());
    if (!node) {
      node = &place.tree->add(*place.node, givenName(name), designName, bytes, timeOfChange());
    } else if (!file->holds(*node, *bytes)) {
      Tree::replaceObject(*node, std::move(bytes), timeOfChange());
    }
    file->moveTo({place.tree, node});
    return 1;
  });
}

int32_t ohfa_ObjectVisit(Ohfa_File *file, const char *path, int32_t code,
                         const Omif_Visitor *visitor, void *context, Oerr_Report **err) {
  ErrorScope e("ohfa_ObjectVisit", err);
  return operate(e, [&]() -> int32_t {
    const Place place = given(file).follow(file->require(path), code, nullptr);
    if (!visitor) throw Problem(OHFA_INVALID, "Invalid input visitor");
    if (!place.node) throw Problem(OHFA_ABSENT, "There is no such node");
    const Node &node = *place.node;
    if (node.isRoot() || node.design->empty()) return 1;
    const Omif_Design &design = file->designNamed(*node.design);
    const Ohfa_File::Object object = file->objectOf(node);
    if (!mif::visitObject(&design, object.bytes, object.size, object.base, visitor, context,
                          e.cause()))
      return e.fail(OHFA_OBJECT, "Node \"%s\": its object cannot be read", pathText(node).c_str());
    return 1;
  });
}
