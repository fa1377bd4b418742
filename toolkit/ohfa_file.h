// An open node file: its bytes, its nodes, its dictionary and where its user is.
#ifndef OPRJ_TOOLKIT_OHFA_FILE_H
#define OPRJ_TOOLKIT_OHFA_FILE_H

#include "toolkit/mif_codec.h"
#include "toolkit/ohfa_tree.h"

namespace orvik::toolkit::nodefile {

using OwnedDictionary = Owner<Omif_Dictionary, omif_DictionaryFree>;

/// The dictionary of a file: its text is kept byte for byte, new definitions go before its ".".
class FileDictionary {
 public:
  /// The dictionary whose text stands at `position`; read again when that is another one.
  const Omif_Dictionary &get(Storage &storage, uint32_t position);
  /// Adds a design, and what it names, where they are lacking; get() must have succeeded.
  void add(const Omif_Design &design);
  const HeapText &text() const { return text_; }
  /// Takes the text of another dictionary.
  void copy(const FileDictionary &other);
  /// The text with its zero when designs were added; else empty.
  std::string_view pendingText() const {
    return pending_ ? std::string_view(text_.c_str(), text_.size() + 1) : std::string_view();
  }
  /// The pending text stands at `position` now.
  void committed(uint32_t position) {
    position_ = position;
    pending_ = false;
  }

 private:
  void read(Storage &storage, uint32_t position);

  HeapText text_;
  OwnedDictionary decoded_;
  HeapVector<OwnedDictionary> earlier_;  // designs of theirs may be in use
  uint32_t position_ = 0;
  bool pending_ = false;
};

/// A node of a tree that stays as long as it is held.
struct Place {
  std::shared_ptr<Tree> tree;
  Node *node = nullptr;  // null: the end
};

}  // namespace orvik::toolkit::nodefile

struct Ohfa_File : orvik::toolkit::HeapRecord {
  using Storage = orvik::toolkit::nodefile::Storage;
  using Tree = orvik::toolkit::nodefile::Tree;
  using Node = orvik::toolkit::nodefile::Node;

  Ohfa_File(orvik::toolkit::nodefile::PlatformFile file, bool update);

  /// A reader takes a new snapshot when the file has changed; the current entry is found again by
  /// its path, and stays in the old one when it is gone.
  void refresh();
  const Omif_Dictionary &dictionary() { return designs.get(storage, tree->record().dictionary); }
  /// The design of that name in the file's dictionary.
  const Omif_Design &designNamed(const orvik::toolkit::HeapText &name);
  /// The bytes of a node's object, and the position that their offsets count from.
  struct Object {
    const uint8_t *bytes;
    int32_t size;
    uint32_t base;
  };
  Object objectOf(const Node &node);
  /// Whether the node's object has these bytes, their offsets counting from their beginning.
  bool holds(const Node &node, const orvik::toolkit::nodefile::Bytes &bytes);
  /// Turns the offsets of a node's object from one base to another.
  void moveObject(const Node &node, orvik::toolkit::nodefile::Bytes &bytes, uint32_t from,
                  uint32_t to);
  /// How records of `host` are kept in the layout that the file has under the name.
  const orvik::toolkit::mif::Codec &codecFor(const Omif_Design &host,
                                             const orvik::toolkit::HeapText &name);
  /// Writes what is pending; ohfa_commit.cpp.
  void commit();

  /// The node of a path (null: the current entry), in a new snapshot when it is one from the root;
  /// a Problem when there is none.
  orvik::toolkit::nodefile::Place require(const char *path);
  /// The same, but null when there is none.
  orvik::toolkit::nodefile::Place find(const char *path);
  /// Where `code` leads from a place; the node is null when it leads nowhere.
  orvik::toolkit::nodefile::Place follow(const orvik::toolkit::nodefile::Place &from, int32_t code,
                                         const char *designName);

  Storage storage;
  const bool writable;
  orvik::toolkit::nodefile::Stamp snapshot;
  std::shared_ptr<Tree> tree;
  /// Where the current entry is, once what reading put off is made up for: stepping on behind an
  /// object that was read as one of a stream, which damage may prevent.
  orvik::toolkit::nodefile::Place &here();
  void moveTo(const orvik::toolkit::nodefile::Place &place, bool andOn = false) {
    current_ = place;
    stepOn_ = andOn;
  }
  orvik::toolkit::nodefile::Place sought;
  orvik::toolkit::nodefile::FileDictionary designs;

 private:
  struct Layout {
    const Omif_Design *host, *written;
    std::unique_ptr<orvik::toolkit::mif::Codec> codec;
  };
  orvik::toolkit::nodefile::Stamp designsSeen_{};  // when the dictionary was read for a lack
  orvik::toolkit::HeapVector<Layout> layouts_;
  orvik::toolkit::nodefile::Place current_;
  bool stepOn_ = false;
};

#endif
