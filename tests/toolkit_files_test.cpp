// Search lists, directories and files.
#include <oprj/ofio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "tests/support.h"

namespace {

using namespace orvik::test;

using Names = std::vector<std::string>;

class SearchList {
 public:
  explicit SearchList(const char *defaultList, const char *variable = "OPRJ_TEST_LIST") {
    Slot slot;
    list_ = ofio_CreateSLFromEnv(variable, defaultList, slot);
    expectNoReport(slot);
  }
  ~SearchList() {
    ofio_SearchListFree(&list_);
    EXPECT_EQ(list_, nullptr);
  }
  SearchList(const SearchList &) = delete;
  SearchList &operator=(const SearchList &) = delete;

  operator const Ofio_SearchList *() const { return list_; }
  Names elements() const {
    Names names;
    for (int32_t i = 0; i < ofio_SearchListCount(list_); ++i)
      names.emplace_back(ofio_SearchListElement(list_, i));
    EXPECT_EQ(ofio_SearchListElement(list_, -1), nullptr);
    EXPECT_EQ(ofio_SearchListElement(list_, ofio_SearchListCount(list_)), nullptr);
    return names;
  }

 private:
  Ofio_SearchList *list_;
};

std::string taken(char *text) {
  std::string copy = text ? text : "(null)";
  omsc_HeapFree(text);
  return copy;
}

TEST(SearchLists, SplitAndReplaceVariables) {
  const LeakCheck leaks;
  const ScopedEnvironment a("OPRJ_TEST_A", "/alpha"), b("OPRJ_TEST_B", "x:y"),
      none("OPRJ_TEST_NONE", nullptr), empty("OPRJ_TEST_EMPTY", "");
  struct Case {
    const char *value;
    Names expected;
  };
  for (const Case &c : std::vector<Case>{
           {".;./bin", {".", "./bin"}},
           {"/a:/b;c", {"/a", "/b", "c"}},
           {"C:/data:D:\\x:e", {"C:/data", "D:\\x", "e"}},
           {"a:b:c", {"a", "b", "c"}},    // no slash: not drives
           {"ab:/c", {"ab", "/c"}},       // two letters: not a drive
           {"x;1:/y", {"x", "1", "/y"}},  // not a letter
           {";;:a::;", {"a"}},
           {"$OPRJ_TEST_A/sub:${OPRJ_TEST_A}sub", {"/alpha/sub", "/alphasub"}},
           {"p/${OPRJ_TEST_A}/$OPRJ_TEST_A.d", {"p//alpha//alpha.d"}},
           {"$OPRJ_TEST_B", {"x:y"}},  // a value is not split again
           {"/u/$OPRJ_TEST_NONE/v:/w", {"/w"}},
           {"${OPRJ_TEST_NONE};$OPRJ_TEST_EMPTY;z", {"z"}},
           {"$:a$:$/b:${x:${}", {"$", "a$", "$/b", "${x", "${}"}},
       }) {
    const ScopedEnvironment variable("OPRJ_TEST_LIST", c.value);
    EXPECT_EQ(SearchList("default").elements(), c.expected) << c.value;
    const ScopedEnvironment unset("OPRJ_TEST_LIST", nullptr);
    EXPECT_EQ(SearchList(c.value).elements(), c.expected) << c.value;
  }
  const ScopedEnvironment variable("OPRJ_TEST_LIST", "");  // empty is unset
  EXPECT_EQ(SearchList("default").elements(), Names{"default"});
  EXPECT_EQ(SearchList(nullptr).elements(), Names{});

  Slot slot;
  EXPECT_EQ(ofio_CreateSLFromEnv(nullptr, ".", slot), nullptr);
  expectReport(slot, "ofio_CreateSLFromEnv", 1, "Invalid input variable name");
  EXPECT_GT(forEachAllocationFailure([](Oerr_Report **err) {
              auto *list = ofio_CreateSLFromEnv(
                  "OPRJ_TEST_LIST", "a long directory name that needs memory:$OPRJ_TEST_A", err);
              if (!list)
                expectReport(*err, "ofio_CreateSLFromEnv", 2, "Error allocating SearchList");
              const bool made = list;
              ofio_SearchListFree(&list);
              return made;
            }),
            2);
  EXPECT_EQ(ofio_SearchListCount(nullptr), 0);
  EXPECT_EQ(ofio_SearchListElement(nullptr, 0), nullptr);
}

TEST(SearchLists, FindFilesInOrderAndTellWhereTheyLooked) {
  const LeakCheck leaks;
  const TemporaryDirectory directory;
  const std::string &root = directory.path();
  mkdir((root + "/1").c_str(), 0777);
  mkdir((root + "/2").c_str(), 0777);
  mkdir((root + "/1/grid").c_str(), 0777);  // a directory of the name sought is passed over
  directory.write("1/both", "first");
  directory.write("2/both", "second");
  directory.write("2/grid", "");
  const ScopedEnvironment value("OPRJ_TEST_LIST", (root + "/1;" + root + "/2/").c_str());
  const SearchList list(nullptr);
  Slot slot;
  EXPECT_EQ(taken(ofio_Which(list, "both", slot)), root + "/1/both");
  EXPECT_EQ(taken(ofio_Which(list, "grid", slot)), root + "/2/grid");
  EXPECT_EQ(taken(ofio_Which(list, "../2/grid", slot)), root + "/1/../2/grid");
  EXPECT_EQ(taken(ofio_Which(list, (root + "/2/grid").c_str(), slot)), root + "/2/grid");
  EXPECT_EQ(taken(ofio_Which(nullptr, (root + "/1/both").c_str(), slot)), root + "/1/both");
  expectNoReport(slot);

  EXPECT_EQ(ofio_Which(list, "conus.las", slot), nullptr);
  expectReport(slot, "ofio_Which", 2,
               ("File \"conus.las\" not found; searched (OPRJ_TEST_LIST): \"" + root + "/1\", \"" +
                root + "/2/\"")
                   .c_str());
  const std::string missing = root + "/none";
  EXPECT_EQ(ofio_Which(list, missing.c_str(), slot), nullptr);
  expectReport(slot, "ofio_Which", 2,
               ("File \"" + missing + "\" not found: No such file or directory").c_str());
  EXPECT_EQ(ofio_Which(nullptr, root.c_str(), slot), nullptr);
  expectReport(slot, "ofio_Which", 2, ("File \"" + root + "\" not found: Is a directory").c_str());
  for (const char *name : {static_cast<const char *>(nullptr), ""}) {
    EXPECT_EQ(ofio_Which(list, name, slot), nullptr);
    expectReport(slot, "ofio_Which", 1, "Invalid input file name");
  }
  {
    const ScopedEnvironment odd("OPRJ_TEST_LIST", ("$OPRJ_TEST_NONE/x:" + root + "/1").c_str());
    EXPECT_EQ(ofio_Which(SearchList(nullptr), "grid", slot), nullptr);
    expectReport(slot, "ofio_Which", 2,
                 ("File \"grid\" not found; searched (OPRJ_TEST_LIST): \"" + root +
                  "/1\" [Is a directory]; left out, undefined variable: \"$OPRJ_TEST_NONE/x\"")
                     .c_str());
    const ScopedEnvironment unset("OPRJ_TEST_LIST", nullptr);
    EXPECT_EQ(ofio_Which(SearchList(""), "grid", slot), nullptr);
    expectReport(slot, "ofio_Which", 2,
                 "File \"grid\" not found; searched (OPRJ_TEST_LIST): no directory");
  }
  forEachAllocationFailure([&](Oerr_Report **err) {
    const std::string path = taken(ofio_Which(list, "grid", err));
    return path != "(null)";
  });
}

TEST(Directories, ListMatchingFilesInByteOrder) {
  const LeakCheck leaks;
  const TemporaryDirectory directory;
  const Names all = {"Spheroid.tab",
                     "aXbXc",
                     "ab",
                     "spheroid.tab",
                     "spheroid.tab~",
                     "spheroidB.tab",
                     "spheroid_b.tab",
                     "spheroid\xC3\xA9.tab"};  // in byte order
  for (const std::string &name : all) directory.write(name, "");
  mkdir((directory.path() + "/spheroid_dir.tab").c_str(), 0777);
  struct Case {
    const char *pattern;
    Names expected;
  };
  for (const Case &c : std::vector<Case>{
           {"spheroid*.tab",
            {"spheroid.tab", "spheroidB.tab", "spheroid_b.tab", "spheroid\xC3\xA9.tab"}},
           {"spheroid?.tab", {"spheroidB.tab"}},  // "?" is one byte
           {"a?", {"ab"}},
           {"a*b*c", {"aXbXc"}},
           {"*~", {"spheroid.tab~"}},
           {"**b**", all},
           {"*", all},
           {"", {}},
           {"none*", {}},
       }) {
    Slot slot;
    int32_t count = -1;
    char **names = ofio_DirectoryList(directory.path().c_str(), c.pattern, &count, slot);
    expectNoReport(slot);
    ASSERT_NE(names, nullptr);
    EXPECT_EQ(Names(names, names + count), c.expected) << c.pattern;
    ofio_NamesFree(&names);
    EXPECT_EQ(names, nullptr);
  }
  ofio_NamesFree(nullptr);

  Slot slot;
  int32_t count = -1;
  const std::string missing = directory.path() + "/none";
  EXPECT_EQ(ofio_DirectoryList(missing.c_str(), "*", &count, slot), nullptr);
  EXPECT_EQ(count, 0);
  expectReport(slot, "ofio_DirectoryList", 3,
               ("Directory \"" + missing + "\" cannot be read: No such file or directory").c_str());
  EXPECT_EQ(ofio_DirectoryList(nullptr, "*", &count, slot), nullptr);
  expectReport(slot, "ofio_DirectoryList", 1, "Invalid input directory");
  EXPECT_EQ(ofio_DirectoryList(".", nullptr, &count, slot), nullptr);
  expectReport(slot, "ofio_DirectoryList", 2, "Invalid input pattern");
  forEachAllocationFailure([&](Oerr_Report **err) {
    char **names = ofio_DirectoryList(directory.path().c_str(), "*", nullptr, err);
    const bool made = names;
    ofio_NamesFree(&names);
    return made;
  });
}

TEST(Files, AreReadWhole) {
  const LeakCheck leaks;
  const TemporaryDirectory directory;
  for (size_t length : {0u, 1u, 4095u, 4096u, 4097u, 4098u, 1000000u}) {
    std::string content(length, '\0');
    for (size_t i = 0; i < length; ++i) content[i] = static_cast<char>(i * 7);
    const std::string path = directory.write("file", content);
    Slot slot;
    size_t size = 99;
    char *text = ofio_FileRead(path.c_str(), &size, slot);
    expectNoReport(slot);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(size, length);
    EXPECT_EQ(text[size], '\0');
    EXPECT_TRUE(std::string(text, size) == content);
    omsc_HeapFree(text);
  }
  // Files whose announced size is wrong: nothing announced, and a page announced for a few bytes.
  size_t size = 0;
  EXPECT_NE(taken(ofio_FileRead("/proc/self/maps", &size, nullptr)).find("[stack]"),
            std::string::npos);
  EXPECT_GT(size, 4096u);
  const char *announced = "/sys/devices/system/cpu/online";
  if (std::filesystem::exists(announced)) {
    EXPECT_EQ(taken(ofio_FileRead(announced, &size, nullptr)), readFile(announced));
    EXPECT_LT(size, 4096u);
  }
  const std::string path = directory.write("file", std::string(20000, 'x'));
  EXPECT_EQ(forEachAllocationFailure([&](Oerr_Report **err) {
              char *text = ofio_FileRead(path.c_str(), nullptr, err);
              if (!text)
                expectReport(*err, "ofio_FileRead", 4,
                             ("File \"" + path + "\" does not fit into memory").c_str());
              const bool read = text;
              omsc_HeapFree(text);
              return read;
            }),
            1);
}

TEST(Files, ThatAreNoneAreRefused) {
  const LeakCheck leaks;
  const TemporaryDirectory directory;
  const std::string pipe = directory.path() + "/pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0666), 0);
  const std::string loop = directory.path() + "/loop";
  ASSERT_EQ(symlink(loop.c_str(), loop.c_str()), 0);
  struct Case {
    std::string path, end;
    int32_t code;
  };
  for (const Case &c : {
           Case{directory.path() + "/none", " cannot be opened: No such file or directory", 2},
           {loop, " cannot be opened: Too many levels of symbolic links", 2},
           {directory.path(), " cannot be read: Is a directory", 3},
           {pipe, " cannot be read: Not a regular file", 3},
       }) {
    Slot slot;
    size_t size = 99;
    EXPECT_EQ(ofio_FileRead(c.path.c_str(), &size, slot), nullptr);
    EXPECT_EQ(size, 0u);
    expectReport(slot, "ofio_FileRead", c.code, ("File \"" + c.path + "\"" + c.end).c_str());
  }
  Slot slot;
  EXPECT_EQ(ofio_FileRead(nullptr, nullptr, slot), nullptr);
  expectReport(slot, "ofio_FileRead", 1, "Invalid input file name");
}

TEST(FileNames, JoinAndStandAlone) {
  const LeakCheck leaks;
  struct Case {
    const char *directory, *name, *path;
  };
  for (const Case &c : {Case{"/d", "n", "/d/n"},
                        {"/d/", "n", "/d/n"},
                        {"d\\", "n", "d\\n"},
                        {"", "n", "n"},
                        {nullptr, "n", "n"},
                        {"/d", "/n", "/n"},
                        {"/d", "C:/n", "C:/n"},
                        {"/d", "C:n", "/d/C:n"}})
    EXPECT_EQ(taken(ofnp_FileNameSet(c.directory, c.name, nullptr)), c.path);
  Slot slot;
  for (const char *name : {static_cast<const char *>(nullptr), ""}) {
    EXPECT_EQ(ofnp_FileNameSet("d", name, slot), nullptr);
    expectReport(slot, "ofnp_FileNameSet", 1, "Invalid input file name");
  }
  forEachAllocationFailure([](Oerr_Report **err) {
    char *path = ofnp_FileNameSet("a directory with a long name", "name", err);
    if (!path) expectReport(*err, "ofnp_FileNameSet", 2, "Error allocating file name");
    const bool made = path;
    omsc_HeapFree(path);
    return made;
  });
  EXPECT_EQ(ofnp_IsRooted("/"), 1);
  EXPECT_EQ(ofnp_IsRooted("c:\\x"), 1);
  for (const char *name : {"", "a", "c:", "./a", "~/a"}) EXPECT_EQ(ofnp_IsRooted(name), 0) << name;
  EXPECT_EQ(ofnp_IsRooted(nullptr), 0);
}

}  // namespace
