// Node files: going about, writing, what a writer that is stopped leaves, damage.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <map>
#include <set>

#include "tests/node_support.h"

namespace {

using namespace orvik::test;

/// Files in a folder of their own, times all 0.
class NodeFiles : public testing::Test {
 protected:
  TemporaryDirectory directory;
  ScopedEnvironment time{"SOURCE_DATE_EPOCH", "0"};
  std::string path = directory.path() + "/file.nod";

  void write(const std::string &bytes) const {
    std::filesystem::remove(path);  // some file systems sync what is cut to nothing
    directory.write("file.nod", bytes);
  }
};

/// A layer with a pair of notes, and what stands beside it.
void writePair(const Nodes &file) {
  Slot slot;
  EXPECT_TRUE(ohfa_NodeCreate(file.get(), "", "before", slot));
  file.write("", "layer", 1);
  file.write("layer", "first", 10);
  file.write("layer", "pair", 20, "old");
  file.write("layer:pair", "datum", 20, "old");
  file.write("layer", "last", 30);
  file.write("", "behind", 2);
}
constexpr const char *kPair =
    "(before layer=1(first=10 pair=20 old(datum=20 old) last=30) behind=2)";

TEST_F(NodeFiles, GoingAbout) {
  {
    Nodes made = Nodes::create(path);
    writePair(made);
    EXPECT_EQ(made.dump(), kPair);  // before it is committed
    made.close();
  }
  const Nodes file = Nodes::open(path);
  EXPECT_EQ(file.dump(), kPair);
  EXPECT_EQ(file.check(true), "");
  const struct {
    const char *path;
    int32_t code;
    const char *design, *arrives;  // null: nowhere
  } seeks[] = {
      {"", OHFA_PARENT, nullptr, nullptr},
      {"", OHFA_CHILD, nullptr, "before"},
      {"", OHFA_CHILD, "Note", "layer"},
      {"", OHFA_CHILD, "Other", nullptr},
      {"", OHFA_SIBLING, nullptr, nullptr},
      {"before", OHFA_SIBLING, "Note", "layer"},
      {"before", OHFA_CHILD, nullptr, nullptr},
      {"layer:last", OHFA_SIBLING, nullptr, nullptr},
      {"layer:pair", OHFA_PARENT, nullptr, "layer"},
      {"layer:pair", OHFA_CURRENT, "Note", "pair"},
      {"layer:pair", OHFA_CURRENT, "Other", nullptr},
      {"layer:pair", OHFA_SOUGHT, nullptr, "pair"},
  };
  for (const auto &seek : seeks) {
    SCOPED_TRACE(std::string(seek.path) + ", " + std::to_string(seek.code));
    Slot slot;
    Ohfa_EntryInfo info;
    EXPECT_TRUE(ohfa_PathSeek(file.get(), seek.path, slot));
    const std::string start = std::string(seek.path).substr(std::string(seek.path).rfind(':') + 1);
    EXPECT_EQ(ohfa_EntrySeek(file.get(), seek.code, seek.design, slot), seek.arrives != nullptr);
    expectNoReport(slot);
    EXPECT_TRUE(ohfa_EntryPeek(file.get(), OHFA_CURRENT, &info, slot));
    EXPECT_EQ(std::string(info.name), seek.arrives ? seek.arrives : start.empty() ? "root" : start);
  }
  Slot slot;
  EXPECT_TRUE(ohfa_PathSeek(file.get(), "layer", slot));
  EXPECT_TRUE(ohfa_PathSeek(file.get(), ":pair:datum", slot));
  for (const char *absent : {"Layer", "layer:", ":", "layer::pair", ":pair", "layer:pair:datum:x"})
    EXPECT_FALSE(ohfa_PathSeek(file.get(), absent, slot)) << absent;
  expectNoReport(slot);
  Ohfa_Position *position = ohfa_EntryPositionGet(file.get(), slot);
  EXPECT_EQ(file.read(":pair"), "[ohfa_ObjectRead: There is no node \":pair\" (5)]");
  EXPECT_TRUE(ohfa_PathSeek(file.get(), "", slot));
  EXPECT_EQ(file.read("layer:pair", OHFA_SIBLING), "30");
  EXPECT_TRUE(ohfa_EntryPositionSet(file.get(), position, slot)) << slot.chain();
  ohfa_EntryPositionFree(&position);
  EXPECT_EQ(file.read(nullptr, OHFA_PARENT), "20 old");
  // As a stream, to the end, where there is nothing.
  EXPECT_TRUE(ohfa_PathSeek(file.get(), "layer", slot));
  for (const char *value : {"1", "10", "20 old", "20 old", "30", "2"})
    EXPECT_EQ(file.read(nullptr), value);
  Ohfa_EntryInfo info;
  EXPECT_FALSE(ohfa_EntryPeek(file.get(), OHFA_CURRENT, &info, slot));
  expectNoReport(slot);
}

TEST_F(NodeFiles, ReplacingRenamingRemoving) {
  Nodes file = Nodes::create(path);
  writePair(file);
  for (const bool committed : {false, true}) {
    if (committed) file.flush();
    Slot slot;
    file.write("layer", "pair", 21, "new", OHFA_REPLACE);
    file.write(nullptr, nullptr, 22, "newer", OHFA_REPLACE);
    EXPECT_TRUE(ohfa_PathSeek(file.get(), "layer:pair:datum", slot));
    Ohfa_Position *position = ohfa_EntryPositionGet(file.get(), slot);
    EXPECT_TRUE(ohfa_NodeRemove(file.get(), "layer:first", slot)) << slot.chain();
    EXPECT_TRUE(ohfa_NodeRename(file.get(), "layer:last", "first", slot)) << slot.chain();
    EXPECT_TRUE(ohfa_NodeRemove(file.get(), ":", slot) == 0);
    EXPECT_TRUE(ohfa_NodeRemove(file.get(), "layer:pair", slot)) << slot.chain();
    Ohfa_EntryInfo info;
    EXPECT_TRUE(ohfa_EntryPeek(file.get(), OHFA_CURRENT, &info, slot));
    EXPECT_STREQ(info.name, "layer");  // where the current entry was is gone
    expectRefusal(ohfa_EntryPositionSet(file.get(), position, slot), slot,
                  "ohfa_EntryPositionSet: The node \"datum\" is gone (5)");
    ohfa_EntryPositionFree(&position);
    EXPECT_EQ(file.dump(), "(before layer=1(first=30) behind=2)");
    if (committed) file.flush();
    EXPECT_EQ(Nodes::open(path).dump(), committed ? file.dump() : "");
    if (committed) break;
    EXPECT_TRUE(ohfa_NodeRename(file.get(), "layer:first", "last", slot));
    file.write("layer", "first", 10);
    EXPECT_TRUE(ohfa_NodeRemove(file.get(), "layer:last", slot));
    file.write("layer", "pair", 20, "old");
    file.write(nullptr, "datum", 20, "old");
    file.write("layer", "last", 30);
    EXPECT_EQ(file.dump(), kPair);
  }
  EXPECT_EQ(file.check(), "");
}

TEST_F(NodeFiles, Refusals) {
  Nodes file = Nodes::create(path);
  writePair(file);
  file.flush();
  const Nodes reader = Nodes::open(path);
  Note note;
  Slot slot;
  const std::string longName(64, 'n');
  const auto write = [&](const char *parent, const char *name, int32_t mode,
                         const Omif_Design *design = noteDesign(), Ohfa_File *into = nullptr) {
    return ohfa_ObjectWrite(into ? into : file.get(), parent, name, design, &note, mode, slot);
  };
  const struct {
    std::function<bool()> call;
    const char *report;
  } cases[] = {
      {[&] { return ohfa_FileOpen((path + "x").c_str(), OHFA_READ, slot) != nullptr; },
       "ohfa_FileOpen: File \"PATHx\" cannot be opened: No such file or directory (3)"},
      {[&] { return ohfa_FileOpen(directory.path().c_str(), OHFA_READ, slot) != nullptr; },
       "ohfa_FileOpen: File \"DIR\" cannot be opened: Not a regular file (3)"},
      {[&] { return ohfa_FileOpen(path.c_str(), 2, slot) != nullptr; },
       "ohfa_FileOpen: Invalid input mode 2 (1)"},
      {[&] { return ohfa_FileOpen(path.c_str(), OHFA_UPDATE, slot) != nullptr; },
       "ohfa_FileOpen: File \"PATH\" is open for update elsewhere (9)"},
      {[&] { return ohfa_FileCreate(path.c_str(), 1, slot) != nullptr; },
       "ohfa_FileCreate: File \"PATH\" is open for update elsewhere (9)"},
      {[&] { return ohfa_FileCreate(path.c_str(), 0, slot) != nullptr; },
       "ohfa_FileCreate: There is a file \"PATH\" already (6)"},
      {[&] { return ohfa_FileCopy(file.get(), path.c_str(), slot) != 0; },
       "ohfa_FileCopy: There is a file \"PATH\" already (6)"},
      {[&] { return ohfa_FileFlush(nullptr, slot) != 0; },
       "ohfa_FileFlush: Invalid input file (1)"},
      {[&] { return ohfa_FileFlush(reader.get(), slot) != 0; },
       "ohfa_FileFlush: The file is open for reading (8)"},
      {[&] { return write("", "x", OHFA_NEW, noteDesign(), reader.get()); },
       "ohfa_ObjectWrite: The file is open for reading (8)"},
      {[&] { return write("", "layer", OHFA_NEW); },
       "ohfa_ObjectWrite: There is a node \"layer\" already (6)"},
      {[&] { return write("layer", "no", OHFA_REPLACE); },
       "ohfa_ObjectWrite: There is no node \"no\" below \"layer\" (5)"},
      {[&] { return write("no", "x", OHFA_NEW); }, "ohfa_ObjectWrite: There is no node \"no\" (5)"},
      {[&] { return write("", "layer", OHFA_REPLACE, noteDesign("Other")); },
       "ohfa_ObjectWrite: Node \"layer\" is of design \"Note\", not \"Other\" (7)"},
      {[&] { return write("", "x", 1); }, "ohfa_ObjectWrite: Invalid input mode 1 (1)"},
      {[&] { return write("", "a:b", OHFA_NEW); },
       "ohfa_ObjectWrite: Invalid node name \"a:b\": it has a \":\" or a control byte (1)"},
      {[&] { return write("", "", OHFA_NEW); },
       "ohfa_ObjectWrite: Invalid node name \"\": it must have 1 to 63 bytes (1)"},
      {[&] { return ohfa_NodeCreate(file.get(), "", longName.c_str(), slot) != 0; },
       "ohfa_NodeCreate: Invalid node name \"LONG\": it must have 1 to 63 bytes (1)"},
      {[&] { return ohfa_NodeRename(file.get(), "layer:first", "last", slot) != 0; },
       "ohfa_NodeRename: There is a node \"layer:last\" already (6)"},
      {[&] { return ohfa_NodeRemove(file.get(), "", slot) != 0; },
       "ohfa_NodeRemove: The root stays (1)"},
      {[&] { return ohfa_EntrySeek(file.get(), 3, nullptr, slot) != 0; },
       "ohfa_EntrySeek: Invalid input code 3 (1)"},
      {[&] {
         return ohfa_ObjectRead(file.get(), "layer", noteDesign("Other"), OHFA_CURRENT, nullptr,
                                slot) != nullptr;
       },
       "ohfa_ObjectRead: Node \"layer\" is of design \"Note\", not \"Other\" (7)"},
      {[&] {
         return ohfa_ObjectRead(file.get(), "layer", noteDesign("Other"), OHFA_CHILD, nullptr,
                                slot) != nullptr;
       },
       "ohfa_ObjectRead: There is no node of design \"Other\" below \"layer\" (5)"},
  };
  for (const auto &[call, report] : cases) {
    std::string expected = report;
    for (const auto &[word, value] : {std::pair<std::string, std::string>{"PATH", path},
                                      {"DIR", directory.path()},
                                      {"LONG", longName}}) {
      const size_t at = expected.find(word);
      if (at != std::string::npos) expected.replace(at, word.size(), value);
    }
    expectRefusal(call(), slot, expected);
  }
  void *record = nullptr;
  EXPECT_FALSE(ohfa_ObjectReadIfPresent(file.get(), "no", noteDesign(), OHFA_CHILD, &record, slot));
  EXPECT_FALSE(
      ohfa_ObjectReadIfPresent(file.get(), "before", noteDesign(), OHFA_CHILD, &record, slot));
  expectNoReport(slot);
  EXPECT_EQ(file.dump(), kPair);
  EXPECT_EQ(reader.dump(), kPair);
}

// ---- A writer that is stopped

/// The bytes of a file after some of the events.
void apply(std::string &bytes, const WriteLog::Event &event, size_t count) {
  const auto position = static_cast<size_t>(event.position);
  if (bytes.size() < position + count) bytes.resize(position + count);
  bytes.replace(position, count, event.bytes, 0, count);
}

/// A change of the pair's file that one store must switch, or that some do, each by itself.
struct Change {
  const char *name;
  void (*make)(const Nodes &file);
  std::set<std::string> states;  // besides the first
};
const Change kChanges[] = {
    {"pair",
     [](const Nodes &file) {
       file.write("layer", "pair", 21, "a longer text", OHFA_REPLACE);
       file.write(nullptr, "datum", 21, "new", OHFA_REPLACE);
     },
     {"(before layer=1(first=10 pair=21 a longer text(datum=21 new) last=30) behind=2)"}},
    {"datum made anew",
     [](const Nodes &file) {
       Slot slot;
       EXPECT_TRUE(ohfa_NodeRemove(file.get(), "layer:pair:datum", slot));
       file.write("layer", "pair", 21, "", OHFA_REPLACE);
       file.write(nullptr, "second", 21);
       file.write("layer:pair", "datum", 21);
     },
     {"(before layer=1(first=10 pair=21(second=21 datum=21) last=30) behind=2)"}},
    {"first of all, with all below",
     [](const Nodes &file) {
       Slot slot;
       EXPECT_TRUE(ohfa_NodeRename(file.get(), "before", "renamed", slot));
       file.write("renamed", "x", 7);
     },
     {"(renamed(x=7) layer=1(first=10 pair=20 old(datum=20 old) last=30) behind=2)"}},
    {"removal",
     [](const Nodes &file) { ohfa_NodeRemove(file.get(), "layer:pair", nullptr); },
     {"(before layer=1(first=10 last=30) behind=2)"}},
    {"new with another design",
     [](const Nodes &file) {
       Note note;
       note.number = 5;
       EXPECT_TRUE(ohfa_NodeCreate(file.get(), "", "other", nullptr));
       EXPECT_TRUE(ohfa_ObjectWrite(file.get(), "other", "five", noteDesign("Other"), &note,
                                    OHFA_NEW, nullptr));
       EXPECT_TRUE(ohfa_NodeCreate(file.get(), "other:five", "below", nullptr));
       EXPECT_TRUE(ohfa_NodeRemove(file.get(), "other:five", nullptr));
       file.write("other", "six", 6);
     },
     {"(before layer=1(first=10 pair=20 old(datum=20 old) last=30) behind=2 other(six=6))"}},
    {"two apart",
     [](const Nodes &file) {
       file.write("layer", "pair", 21, "", OHFA_REPLACE);
       file.write("", "behind", 3, "", OHFA_REPLACE);
     },
     {"(before layer=1(first=10 pair=21(datum=20 old) last=30) behind=2)",
      "(before layer=1(first=10 pair=20 old(datum=20 old) last=30) behind=3)",
      "(before layer=1(first=10 pair=21(datum=20 old) last=30) behind=3)"}},
};

TEST_F(NodeFiles, EveryMomentOfACommitLeavesTheOldOrTheNew) {
  for (const Change &change : kChanges) {
    SCOPED_TRACE(change.name);
    {
      Nodes made = Nodes::create(path, true);
      writePair(made);
      made.close();
    }
    const std::string before = readFile(path);
    std::vector<WriteLog::Event> events;
    {
      Nodes file = Nodes::open(path, OHFA_UPDATE);
      change.make(file);
      const WriteLog log;
      file.flush();
      events = log.events();
    }
    std::set<std::string> wanted = change.states, seen;
    wanted.insert(kPair);
    const auto look = [&](const std::string &bytes, const std::string &moment) {
      write(bytes);
      Nodes file = Nodes::open(path);
      const std::string state = file.dump();
      ASSERT_TRUE(wanted.count(state)) << moment << ": " << state;
      ASSERT_EQ(file.check(), "") << moment;
      seen.insert(state);
    };
    std::string synced = before;
    std::vector<WriteLog::Event> open;  // written, but perhaps not on the medium
    for (const auto &event : events) {
      const std::string moment = "event at " + std::to_string(event.position);
      if (event.isSync) {
        for (const auto &each : open) apply(synced, each, each.bytes.size());
        open.clear();
        continue;
      }
      open.push_back(event);
      ASSERT_LT(open.size(), 12u);
      for (unsigned subset = 0; subset < 1u << open.size(); ++subset) {
        std::string bytes = synced;
        for (size_t i = 0; i < open.size(); ++i)
          if (subset >> i & 1) apply(bytes, open[i], open[i].bytes.size());
        look(bytes, moment + ", subset " + std::to_string(subset));
      }
      for (size_t cut = 1; event.bytes.size() > 4 && cut < event.bytes.size(); ++cut) {
        std::string bytes = synced;
        apply(bytes, event, cut);
        look(bytes, moment + ", cut to " + std::to_string(cut));
        if (cut % 61 == 0) {  // the next writer goes on from there
          Nodes next = Nodes::open(path, OHFA_UPDATE);
          next.write("layer", "pair", 40, "", OHFA_REPLACE);
          next.close();
          Nodes again = Nodes::open(path);
          ASSERT_EQ(again.read("layer:pair"), "40");
          ASSERT_EQ(again.check(), "");
        }
      }
    }
    EXPECT_EQ(seen, wanted);
  }
}

TEST_F(NodeFiles, AFailedCommitStaysPending) {
  Nodes made = Nodes::create(path);
  writePair(made);
  made.close();
  const std::string before = readFile(path);
  for (size_t n = 0; n < 20; ++n) {
    write(before);
    Nodes file = Nodes::open(path, OHFA_UPDATE);
    kChanges[0].make(file);
    bool whole;
    {
      WriteLog log;
      log.failFrom(n);
      Slot slot;
      Ohfa_File *handle = file.get();
      whole = ohfa_FileFlush(handle, slot);
      EXPECT_EQ(slot.chain(),
                whole ? "" : "ohfa_FileFlush: File cannot be written: refused by the test (3)");
    }
    EXPECT_EQ(file.dump(), *kChanges[0].states.begin());
    file.close();
    const Nodes again = Nodes::open(path);
    EXPECT_EQ(again.dump(), *kChanges[0].states.begin()) << n;
    EXPECT_EQ(again.check(), "") << n;
    if (whole && n > 0) {
      EXPECT_EQ(n, 4u);  // append, its sync, store, its sync; links back may be lost
      break;
    }
  }
}

TEST_F(NodeFiles, OneWriterAndReadersInManyProcesses) {
  Nodes made = Nodes::create(path);
  writePair(made);
  made.close();
  const auto writeOn = [&](int32_t from) {
    Nodes file = Nodes::open(path, OHFA_UPDATE);
    for (int32_t n = from;; ++n) {
      file.write("layer", "pair", n, std::to_string(n), OHFA_REPLACE);
      file.write("layer:pair", "datum", n, std::to_string(n), OHFA_REPLACE);
      file.flush();
    }
  };
  // Readers: a number only grows, and a pair belongs together.
  const auto readOn = [&] {
    const Nodes file = Nodes::open(path);
    std::string last;
    int changes = 0;
    for (int n = 0; n < 200000 && changes < 20; ++n) {
      const std::string pair = file.read("layer:pair");
      const std::string datum = file.read(":datum");
      if (pair != datum) _exit(10);
      changes += pair != last;
      last = pair;
    }
    _exit(changes >= 20 && !testing::Test::HasFailure() ? 0 : 11);
  };
  const auto inChild = [](const auto &body) {
    const pid_t child = fork();
    if (child == 0) {
      body();
      _exit(12);
    }
    return child;
  };
  pid_t readers[2];
  for (pid_t &reader : readers) reader = inChild(readOn);
  int status = 0;
  size_t running = std::size(readers);
  for (int32_t round = 1; running > 0 && round < 500; ++round) {
    const pid_t writer = inChild([&] { writeOn(round * 1000000); });
    usleep(static_cast<useconds_t>(20000 + 997 * round % 7000));
    kill(writer, SIGKILL);
    ASSERT_EQ(waitpid(writer, &status, 0), writer);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the writer ended by itself: " << status;
    const Nodes file = Nodes::open(path);
    EXPECT_EQ(file.read("layer:pair"), file.read("layer:pair:datum"));
    for (pid_t &reader : readers) {
      if (reader == 0 || waitpid(reader, &status, WNOHANG) != reader) continue;
      EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
      reader = 0;
      --running;
    }
  }
  EXPECT_EQ(running, 0u) << "readers saw no changes";
  for (const pid_t reader : readers) {
    if (reader != 0) kill(reader, SIGKILL);
  }
  EXPECT_EQ(Nodes::open(path).check(), "");
}

// ---- Damage

TEST_F(NodeFiles, EveryDamagedByteIsToldOrHarmless) {
  {
    Nodes made = Nodes::create(path);
    writePair(made);
    made.close();
  }
  const std::string whole = readFile(path);
  ASSERT_EQ(Nodes::open(path).check(), "");
  int noticed = 0;
  for (size_t at = 0; at < whole.size(); ++at) {
    for (const int flip : {0x01, 0x80, 0xFF}) {
      std::string bytes = whole;
      bytes[at] = static_cast<char>(bytes[at] ^ flip);
      write(bytes);
      Slot slot;
      Ohfa_File *handle = ohfa_FileOpen(path.c_str(), OHFA_READ, slot);
      if (!handle) {
        ++noticed;
        EXPECT_LT(at, 256u);  // only header, record and root keep a file from opening
        EXPECT_EQ(oerr_CodeGet(slot.get()), OHFA_DAMAGED);
        continue;
      }
      const Nodes file(handle);
      const std::string state = file.dump();
      const std::string found = file.check();
      noticed += state != kPair || !found.empty();
      // What is read otherwise is a name, or a value of a note, or told.
      EXPECT_TRUE(state.find('[') == std::string::npos || !found.empty())
          << "byte " << at << ": " << state;
    }
  }
  EXPECT_GT(noticed, 1000);
  for (size_t size = 0; size < whole.size(); ++size) {
    write(whole.substr(0, size));
    Slot slot;
    Ohfa_File *handle = ohfa_FileOpen(path.c_str(), OHFA_READ, slot);
    if (!handle) continue;
    const Nodes file(handle);
    EXPECT_NE(file.dump(), kPair) << size;
    EXPECT_NE(file.check(), "") << size;
  }
}

TEST_F(NodeFiles, DamageIsNamedAndTheRestIsRead) {
  {
    Nodes made = Nodes::create(path);
    writePair(made);
    made.close();
  }
  const std::string whole = readFile(path);
  std::map<std::string, size_t> entries;  // by name
  for (size_t at = whole.size() / 128 * 128; at >= 128; at -= 128) {
    if (whole.size() >= at + 128) entries.emplace(whole.substr(at + 24).c_str(), at);
    if (entries.count("before")) break;
  }
  const auto number = [](uint32_t value) {
    std::string bytes;
    for (int i = 0; i < 4; ++i) bytes += static_cast<char>(value >> 8 * i);
    return bytes;
  };
  const auto entry = [&](const char *name) { return static_cast<uint32_t>(entries.at(name)); };
  const struct {
    size_t position;
    std::string bytes;
    const char *state, *finding;
  } cases[] = {
      {entry("layer"), number(entry("before")),
       "(before layer=1(first=10 pair=20 old(datum=20 old) last=30)[ohfa_EntrySeek: Node "
       "\"layer\", "
       "link at byte LAYER: The entry at byte BEFORE is linked twice or overlaps another (4)])",
       "linked twice"},
      {entry("datum") + 12, number(entry("pair")),
       "(before layer=1(first=10 pair=20 old(datum=20 old[ohfa_EntrySeek: Node "
       "\"layer:pair:datum\", link at byte DATUM: The entry at byte PAIR is linked twice or "
       "overlaps another (4)]) last=30) behind=2)",
       "linked twice"},
      {entry("first"), number(entry("pair") + 60), nullptr, "has no design"},
      {entry("last"), number(0xFFFFFFF0u),
       "(before layer=1(first=10 pair=20 old(datum=20 old) last=30[ohfa_EntrySeek: Node",
       "lies outside of the file"},
      {entry("pair") + 20, number(0x80000000u),
       "(before layer=1(first=10 pair=[ohfa_ObjectRead: Node \"layer:pair\": its object at byte",
       "Its object (-2147483648 bytes) lies outside of the file"},
      {entry("pair") + 20, number(0x7FFFFFFFu), nullptr, "lies outside of the file"},
      {entry("pair") + 88, "Nota",
       "(before layer=1(first=10 pair=[ohfa_ObjectRead: Node \"layer:pair\" is of design \"Nota\"",
       "The dictionary has no design \"Nota\""},
      {entry("pair") + 24, "last", "(before layer=1(first=10 last=20 old",
       "An earlier sibling bears its name"},
      {entry("pair") + 24, std::string(64, 'p'), nullptr, "Its name has no end"},
      {34, number(0xFFFFFFF0u), nullptr, "dictionary without an end"},
      {34, number(static_cast<uint32_t>(whole.size()) - 1), nullptr, "dictionary"},
  };
  for (const auto &damage : cases) {
    std::string bytes = whole;
    bytes.replace(damage.position, damage.bytes.size(), damage.bytes);
    write(bytes);
    const Nodes file = Nodes::open(path);
    std::string state = file.dump();
    if (damage.state) {
      std::string wanted = damage.state;
      const std::string words[][2] = {{"LAYER", std::to_string(entry("layer"))},
                                      {"BEFORE", std::to_string(entry("before"))},
                                      {"DATUM", std::to_string(entry("datum") + 12)},
                                      {"PAIR", std::to_string(entry("pair"))}};
      for (const auto &[word, value] : words)
        if (wanted.find(word) != std::string::npos)
          wanted.replace(wanted.find(word), word.size(), value);
      EXPECT_EQ(state.substr(0, wanted.size()), wanted);
    }
    EXPECT_NE(file.check().find(damage.finding), std::string::npos)
        << damage.position << ": " << file.check() << state;
  }
}

TEST_F(NodeFiles, FilesAsLargeAsPositionsGo) {
  Nodes made = Nodes::create(path);
  writePair(made);
  made.close();
  for (const uint64_t size : {(uint64_t{1} << 32) - 1, (uint64_t{1} << 32) + 5}) {
    std::filesystem::resize_file(path, size);
    EXPECT_EQ(Nodes::open(path).dump(), kPair);
    Nodes file = Nodes::open(path, OHFA_UPDATE);
    file.write("layer", "pair", 21, "", OHFA_REPLACE);
    const WriteLog log;
    Slot slot;
    expectRefusal(ohfa_FileFlush(file.get(), slot), slot,
                  "ohfa_FileFlush: The file would grow past 4294967296 bytes (10)");
    EXPECT_TRUE(log.events().empty());
  }
  // The last entry that has a place.
  std::filesystem::resize_file(path, (uint64_t{1} << 32) - 200);
  Nodes file = Nodes::open(path, OHFA_UPDATE);
  file.write("layer", "pair", 21, "", OHFA_REPLACE);
  file.close();
  EXPECT_EQ(Nodes::open(path).read("layer:pair"), "21");
  EXPECT_EQ(std::filesystem::file_size(path), uint64_t{1} << 32);
}

TEST_F(NodeFiles, ACopyHasWhatIsLinked) {
  Nodes file = Nodes::create(path);
  writePair(file);
  for (int32_t n = 0; n < 30; ++n) {
    file.write("layer", "pair", n, std::string(1000, 'x'), OHFA_REPLACE);
    file.flush();
  }
  file.write("layer", "pair", 20, "old", OHFA_REPLACE);  // not committed
  const std::string copied = path + "2";
  Slot slot;
  ASSERT_TRUE(ohfa_FileCopy(file.get(), copied.c_str(), slot)) << slot.chain();
  const Nodes copy = Nodes::open(copied);
  EXPECT_EQ(copy.dump(), kPair);
  EXPECT_EQ(copy.check(true), "");
  // As if it had been written in one go.
  std::filesystem::remove(path);
  Nodes once = Nodes::create(path, true);
  writePair(once);
  once.close();
  EXPECT_EQ(readFile(copied).size(), readFile(path).size());
}

TEST_F(NodeFiles, AllocationFailuresAreReportedAndLeaveNothing) {
  Nodes made = Nodes::create(path);
  writePair(made);
  made.close();
  const std::string before = readFile(path);
  constexpr const char *kChanged =
      "(before layer=1(1st=10 pair=20 old(datum=20 old new=[ohfa_ObjectRead: Node "
      "\"layer:pair:new\" is of design \"Other\", not \"Note\" (7)]) last=30))";
  Note note;
  const auto *note1 = noteDesign(), *other = noteDesign("Other");
  std::vector<std::function<bool(Oerr_Report **)>> steps = {
      [&](Oerr_Report **err) {
        Ohfa_File *file = ohfa_FileOpen(path.c_str(), OHFA_UPDATE, err);
        const bool done =
            file && ohfa_ObjectWrite(file, "layer:pair", "new", other, &note, OHFA_NEW, err) &&
            ohfa_NodeRename(file, "layer:first", "1st", err) &&
            ohfa_NodeRemove(file, "behind", err) && ohfa_FileClose(&file, err);
        ohfa_FileDiscard(&file);
        return done;
      },
      [&](Oerr_Report **err) {
        Ohfa_File *file = ohfa_FileOpen(path.c_str(), OHFA_READ, err);
        void *record = nullptr;
        const bool done =
            file && ohfa_ObjectReadIfPresent(file, "layer", note1, OHFA_CHILD, &record, err) &&
            ohfa_FileCheck(file, nullptr, nullptr, err);
        omif_ObjectFree(note1, &record);
        ohfa_FileDiscard(&file);
        return done;
      },
      [&](Oerr_Report **err) {
        std::filesystem::remove(path + "2");
        Ohfa_File *file = ohfa_FileOpen(path.c_str(), OHFA_READ, err);
        const bool done = file && ohfa_FileCopy(file, (path + "2").c_str(), err);
        EXPECT_EQ(std::filesystem::exists(path + "2"), done);
        ohfa_FileDiscard(&file);
        return done;
      }};
  for (const auto &step : steps) {
    write(before);
    omif_ObjectSize(other, &note, nullptr);  // what designs keep is made once
    omif_ObjectSize(note1, &note, nullptr);
    const auto oldOrNew = [&] {
      const std::string state = Nodes::open(path).dump();
      EXPECT_TRUE(state == kPair || state == kChanged) << state;
    };
    EXPECT_GT(forEachAllocationFailure(step, oldOrNew, OnFailure::kMayRecover), 20);
  }
}

}  // namespace
