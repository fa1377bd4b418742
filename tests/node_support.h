// What the tests of node files share: a design of their own, files of few words, what writes do.
#ifndef OPRJ_TESTS_NODE_SUPPORT_H
#define OPRJ_TESTS_NODE_SUPPORT_H

#include <oprj/ohfa.h>
#include <oprj/ostr.h>

#include <memory>

#include "tests/support.h"

namespace orvik::test {

/// The record of the tests: a number, a text and doubles.
struct Note {
  int32_t number = 0;
  struct {
    int32_t count = 0;
    char *data = nullptr;
  } text;
  struct {
    int32_t count = 0;
    double *data = nullptr;
  } values;
};

inline const Omif_Item kNoteItems[] = {
    {OMIF_INT32, "number", offsetof(Note, number), nullptr, nullptr},
    {OMIF_STRING, "text", offsetof(Note, text), nullptr, nullptr},
    {OMIF_DOUBLES, "values", offsetof(Note, values), nullptr, nullptr},
    {}};

/// A design of those items, made once.
inline const Omif_Design *noteDesign(const char *name = "Note") {
  static Omif_Dictionary *const dictionary = omif_NewDictionary(nullptr);
  return omif_DesignFromTable(dictionary, name, kNoteItems, nullptr, nullptr);
}

/// A node file in few words; what fails, fails the test.
class Nodes {
 public:
  explicit Nodes(Ohfa_File *file) : file_(file) {}
  static Nodes create(const std::string &path, bool replace = false) {
    Slot slot;
    Nodes made(ohfa_FileCreate(path.c_str(), replace, slot));
    EXPECT_TRUE(made.get()) << slot.chain();
    return made;
  }
  static Nodes open(const std::string &path, int32_t mode = OHFA_READ) {
    Slot slot;
    Nodes made(ohfa_FileOpen(path.c_str(), mode, slot));
    EXPECT_TRUE(made.get()) << slot.chain();
    return made;
  }
  Nodes(Nodes &&other) noexcept : file_(std::exchange(other.file_, nullptr)) {}
  Nodes &operator=(Nodes &&other) noexcept {
    std::swap(file_, other.file_);
    return *this;
  }
  ~Nodes() { ohfa_FileDiscard(&file_); }

  Ohfa_File *get() const { return file_; }
  void write(const char *parent, const char *name, int32_t number, std::string text = "",
             int32_t mode = OHFA_NEW, const Omif_Design *design = noteDesign()) const {
    Note note;
    note.number = number;
    if (!text.empty()) note.text = {static_cast<int32_t>(text.size() + 1), text.data()};
    double half = number / 2.0;
    note.values = {1, &half};
    Slot slot;
    EXPECT_TRUE(ohfa_ObjectWrite(file_, parent, name, design, &note, mode, slot)) << slot.chain();
  }
  /// "number text", " torn" behind it when the doubles are not the number's, or the chain of
  /// reports in brackets.
  std::string read(const char *path, int32_t code = OHFA_CURRENT) const {
    Slot slot;
    void *record = ohfa_ObjectRead(file_, path, noteDesign(), code, nullptr, slot);
    if (!record) return "[" + slot.chain() + "]";
    const auto *note = static_cast<Note *>(record);
    std::string text = std::to_string(note->number);
    if (note->text.data) text += " " + std::string(note->text.data);
    if (note->values.count != 1 || note->values.data[0] != note->number / 2.0) text += " torn";
    omif_ObjectFree(noteDesign(), &record);
    return text;
  }
  void flush() const {
    Slot slot;
    EXPECT_TRUE(ohfa_FileFlush(file_, slot)) << slot.chain();
  }
  void close() {
    Slot slot;
    EXPECT_TRUE(ohfa_FileClose(&file_, slot)) << slot.chain();
  }
  /// The tree as one line: "name=value(children)", from the root.
  std::string dump() const {
    std::string text;
    Slot slot;
    EXPECT_TRUE(ohfa_PathSeek(file_, "", slot)) << slot.chain();
    dumpChildren(text);
    return text;
  }
  /// What ohfa_FileCheck finds, a line each: "severity node@position: problem".
  std::string check(bool harmlessToo = false) const {
    struct Seen {
      bool all;
      std::string text;
    } seen{harmlessToo, ""};
    Slot slot;
    const bool sound = ohfa_FileCheck(
        file_,
        [](void *context, const Ohfa_Finding *finding) {
          auto &lines = *static_cast<Seen *>(context);
          if (finding->severity == OERR_SEVERITY_INFORMATION && !lines.all) return;
          lines.text += std::string(finding->node) + "@" + std::to_string(finding->position) +
                        ": " + finding->problem + "\n";
        },
        &seen, slot);
    EXPECT_EQ(sound, !slot.failed());
    return seen.text;
  }

 private:
  void dumpChildren(std::string &text) const {
    Slot slot;
    bool first = true;
    for (int32_t code = OHFA_CHILD; ohfa_EntrySeek(file_, code, nullptr, slot);
         code = OHFA_SIBLING, first = false) {
      Ohfa_EntryInfo info;
      ohfa_EntryPeek(file_, OHFA_CURRENT, &info, slot);
      text += (first ? "(" : " ") + std::string(info.name);
      if (info.design[0]) {
        Ohfa_EntryInfo arrived;
        text += "=" + read(nullptr, OHFA_SOUGHT);
        EXPECT_TRUE(ohfa_EntryPeek(file_, OHFA_CURRENT, &arrived, slot));
        EXPECT_STREQ(arrived.name, info.name);
      }
      dumpChildren(text);
    }
    if (slot.failed()) text += "[" + slot.chain() + "]";
    if (!first) {
      text += ")";
      EXPECT_TRUE(ohfa_EntrySeek(file_, OHFA_PARENT, nullptr, slot));
    }
  }

  Ohfa_File *file_;
};

/// What reaches the medium while it lives: writes, and syncs as writes of nothing.
class WriteLog {
 public:
  struct Event {
    int64_t position;
    std::string bytes;
    bool isSync;
  };
  WriteLog() { ohfa_WriteHookSet(&WriteLog::note, this); }
  ~WriteLog() { ohfa_WriteHookSet(nullptr, nullptr); }
  WriteLog(const WriteLog &) = delete;
  WriteLog &operator=(const WriteLog &) = delete;

  /// From write or sync number `n` (from 0) on all fail.
  void failFrom(size_t n) { failFrom_ = n; }
  const std::vector<Event> &events() const { return events_; }

 private:
  static int64_t note(void *self, int64_t position, const uint8_t *bytes, int64_t count) {
    auto &log = *static_cast<WriteLog *>(self);
    if (log.events_.size() >= log.failFrom_) return -1;
    log.events_.push_back(
        {position, bytes ? std::string(bytes, bytes + count) : std::string(), !bytes});
    return count;
  }
  size_t failFrom_ = SIZE_MAX;
  std::vector<Event> events_;
};

}  // namespace orvik::test

#endif
