// Reads a whole node file and tells what is wrong in it.
#include <algorithm>
#include <cinttypes>

#include "toolkit/ohfa_file.h"

using namespace orvik::toolkit;
using namespace orvik::toolkit::nodefile;

namespace {

class Checker {
 public:
  Checker(Ohfa_File &file, Ohfa_FindingSink sink, void *context)
      : storage_(file.storage), sink_(sink), context_(context), tree_(file.storage, false) {}

  /// The number of errors.
  int64_t run() {
    const Record &record = tree_.record();
    use(0, kHeaderSize, nullptr, "the header");
    use(record.position, kRecordSize, nullptr, "the file record");
    try {
      dictionary_ = &designs_.get(storage_, record.dictionary);
      const auto *text = designs_.text().c_str();
      use(record.dictionary, std::strlen(text) + 1, nullptr, "the dictionary");
    } catch (const Problem &problem) {
      error(nullptr, record.dictionary, problem.what());
    }
    for (Node *node = tree_.root(); node; node = next(*node)) look(*node);
    findOverlaps();
    return errors_;
  }

 private:
  /// Bytes that somebody needs.
  struct Extent {
    uint64_t begin, end;
    const Node *node;
    const char *what;
  };

  void use(uint64_t begin, uint64_t size, const Node *node, const char *what) {
    if (size > 0) used_.push_back({begin, begin + size, node, what});
  }
  void tell(int32_t severity, const Node *node, uint64_t position, const char *problem) {
    errors_ += severity == OERR_SEVERITY_ERROR;
    if (!sink_) return;
    const HeapText path = node ? pathText(*node) : HeapText();
    const Ohfa_Finding finding = {severity, path.c_str(), static_cast<int64_t>(position), problem};
    sink_(context_, &finding);
  }
  void error(const Node *node, uint64_t position, const char *problem) {
    tell(OERR_SEVERITY_ERROR, node, position, problem);
  }

  /// The next node in preorder; a list that is damaged ends where it is.
  Node *next(Node &node) {
    const auto follow = [&](Node &at, EntryField field, auto step) -> Node * {
      try {
        return step(at);
      } catch (const Problem &problem) {
        error(&at, at.entry + field, problem.what());
        return nullptr;
      }
    };
    if (Node *child = follow(node, kFirst, [&](Node &at) { return tree_.firstChild(at); }))
      return child;
    for (Node *at = &node; at; at = at->parent) {
      if (Node *sibling = follow(*at, kNext, [&](Node &from) { return tree_.nextSibling(from); }))
        return sibling;
    }
    return nullptr;
  }

  void look(Node &node) {
    const uint8_t *bytes = storage_.require(node.entry, kEntrySize, "entry");
    const bool nameEnds = bytes[24 + Entry::kNameSize - 1] == 0;
    const bool designEnds = bytes[88 + Entry::kDesignSize - 1] == 0;
    use(node.entry, kEntrySize, &node, "the entry");
    if (!nameEnds) error(&node, node.entry + 24, "Its name has no end");
    if (!designEnds) error(&node, node.entry + 88, "The name of its design has no end");
    if (node.name.empty()) error(&node, node.entry + 24, "It has no name");
    if (node.name.find(':') != HeapText::npos)
      error(&node, node.entry + 24, "No path leads to it: its name has a \":\"");
    if (Node *parent = node.parent) {
      try {
        if (tree_.child(*parent, node.name) != &node)
          error(&node, node.entry + 24, "An earlier sibling bears its name");
      } catch (const Problem &) {
        // a damaged list, told when the walk comes there
      }
      if (node.stored.parent != parent->entry)
        tell(OERR_SEVERITY_INFORMATION, &node, node.entry + kParent,
             "Its link back to the parent is out of date, which no reader minds");
    }
    if (node.stored.previous != (node.previous ? node.previous->entry : 0))
      tell(OERR_SEVERITY_INFORMATION, &node, node.entry + kPrevious,
           "Its link back to the previous sibling is out of date, which no reader minds");
    if (!node.isRoot()) lookAtObject(node);
  }

  void lookAtObject(const Node &node) {
    const uint8_t *bytes =
        node.size < 0 ? nullptr : storage_.at(node.data, static_cast<uint64_t>(node.size));
    if (!bytes) {
      char text[96];
      std::snprintf(text, sizeof text, "Its object (%" PRId32 " bytes) lies outside of the file",
                    node.size);
      return error(&node, node.data, text);
    }
    use(node.data, static_cast<uint64_t>(node.size), &node, "the object");
    if (node.design->empty()) {
      if (node.size > 0) error(&node, node.entry + 88, "It has an object, but no design");
      return;
    }
    if (!dictionary_) return;  // told already
    const Omif_Design *design =
        omif_DictionarySearchByName(dictionary_, node.design->c_str(), nullptr);
    if (!design)
      return error(&node, node.entry + 88,
                   ("The dictionary has no design \"" + *node.design + "\"").c_str());
    const Omif_Visitor nothing = {};
    Oerr_Report *report = nullptr;
    if (!mif::visitObject(design, bytes, node.size, node.data, &nothing, nullptr, &report))
      error(&node, node.data, oerr_MessageGet(oerr_RootCauseGet(report)));
    oerr_DeleteErrorReport(&report);
  }

  void findOverlaps() {
    std::sort(used_.begin(), used_.end(),
              [](const Extent &first, const Extent &second) { return first.begin < second.begin; });
    const Extent *longest = nullptr;
    for (const Extent &extent : used_) {
      if (longest && extent.begin < longest->end) {
        const HeapText owner = longest->node ? pathText(*longest->node) : HeapText();
        error(extent.node, extent.begin,
              (HeapText("Bytes of ") + extent.what + " are those of " + longest->what +
               (longest->node ? " of node \"" + owner + "\"" : "") + " too")
                  .c_str());
      }
      if (!longest || extent.end > longest->end) longest = &extent;
    }
  }

  Storage &storage_;
  Ohfa_FindingSink sink_;
  void *context_;
  Tree tree_;
  FileDictionary designs_;
  const Omif_Dictionary *dictionary_ = nullptr;
  HeapVector<Extent> used_;
  int64_t errors_ = 0;
};

}  // namespace

int32_t ohfa_FileCheck(Ohfa_File *file, Ohfa_FindingSink sink, void *context, Oerr_Report **err) {
  ErrorScope e("ohfa_FileCheck", err);
  return operate(e, [&]() -> int32_t {
    if (!file) throw Problem(OHFA_INVALID, "Invalid input file");
    file->storage.look();
    const int64_t errors = Checker(*file, sink, context).run();
    if (errors > 0) throw Problem(OHFA_DAMAGED, "The file is damaged: %" PRId64 " errors", errors);
    return 1;
  });
}
