// Search lists, directories and files.
#include <oprj/ofio.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support.h"
#include "toolkit/error_scope.h"

namespace {

using namespace orvik::test;
using Names = std::vector<std::string>;
using SearchList = orvik::toolkit::Owner<Ofio_SearchList, ofio_SearchListFree>;

SearchList searchList(const char *defaultList) {
  Slot slot;
  SearchList list(ofio_CreateSLFromEnv("OPRJ_TEST_LIST", defaultList, slot));
  expectNoReport(slot);
  return list;
}

Names elementsOf(const SearchList &list) {
  Names names;
  while (const char *element =
             ofio_SearchListElement(list.get(), static_cast<int32_t>(names.size())))
    names.emplace_back(element);
  EXPECT_EQ(ofio_SearchListElement(list.get(), -1), nullptr);
  EXPECT_EQ(ofio_SearchListCount(list.get()), static_cast<int32_t>(names.size()));
  return names;
}

TEST(SearchLists, SplitAndReplaceVariables) {
  const LeakCheck leaks;
  const ScopedEnvironment a("OPRJ_TEST_A", "/alpha"), b("OPRJ_TEST_B", "x:y"),
      none("OPRJ_TEST_NONE", nullptr), empty("OPRJ_TEST_EMPTY", "");
  const std::pair<const char *, Names> cases[] = {
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
  };
  for (const auto &[value, expected] : cases) {
    const ScopedEnvironment variable("OPRJ_TEST_LIST", value);
    EXPECT_EQ(elementsOf(searchList("default")), expected) << value;
    const ScopedEnvironment unset("OPRJ_TEST_LIST", "");  // empty is unset
    EXPECT_EQ(elementsOf(searchList(value)), expected) << value;
  }
  const ScopedEnvironment unset("OPRJ_TEST_LIST", nullptr);
  EXPECT_EQ(elementsOf(searchList("default")), Names{"default"});
  EXPECT_EQ(elementsOf(searchList(nullptr)), Names{});
  EXPECT_EQ(elementsOf(SearchList()), Names{});

  Slot slot;
  expectRefusal(ofio_CreateSLFromEnv(nullptr, ".", slot), slot,
                "ofio_CreateSLFromEnv: Invalid input variable name (1)");
  forEachAllocationFailure([](Oerr_Report **err) {
    const SearchList list(ofio_CreateSLFromEnv(
        "OPRJ_TEST_LIST", "a long directory name that needs memory:$OPRJ_TEST_A", err));
    if (!list) expectReport(*err, "ofio_CreateSLFromEnv", 2, "Error allocating SearchList");
    return list != nullptr;
  });
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
  const ScopedEnvironment unset("OPRJ_TEST_LIST", nullptr);
  const SearchList two = searchList((root + "/1;" + root + "/2/").c_str()),
                   one = searchList(("$OPRJ_TEST_NONE/x:" + root + "/1").c_str()),
                   none = searchList("");
  const auto which = [&](const SearchList &list, const std::string &name, Oerr_Report **err) {
    return ofio_Which(list.get(), name.c_str(), err);
  };
  Slot slot;
  EXPECT_EQ(taken(which(two, "both", slot)), root + "/1/both");
  EXPECT_EQ(taken(which(two, "grid", slot)), root + "/2/grid");
  EXPECT_EQ(taken(which(two, "../2/grid", slot)), root + "/1/../2/grid");
  EXPECT_EQ(taken(which(two, root + "/2/grid", slot)), root + "/2/grid");
  EXPECT_EQ(taken(which(nullptr, root + "/1/both", slot)), root + "/1/both");
  expectNoReport(slot);

  const std::string notFound = "\" not found; searched (OPRJ_TEST_LIST): ";
  expectRefusal(
      which(two, "conus.las", slot), slot,
      "ofio_Which: File \"conus.las" + notFound + "\"" + root + "/1\", \"" + root + "/2/\" (2)");
  expectRefusal(which(one, "grid", slot), slot,
                "ofio_Which: File \"grid" + notFound + "\"" + root + "/1\" [Is a directory]; " +
                    "left out, undefined variable: \"$OPRJ_TEST_NONE/x\" (2)");
  expectRefusal(which(none, "grid", slot), slot,
                "ofio_Which: File \"grid" + notFound + "no directory (2)");
  expectRefusal(which(two, root + "/none", slot), slot,
                "ofio_Which: File \"" + root + "/none\" not found: No such file or directory (2)");
  expectRefusal(which(nullptr, root, slot), slot,
                "ofio_Which: File \"" + root + "\" not found: Is a directory (2)");
  for (const char *name : {static_cast<const char *>(nullptr), ""})
    expectRefusal(ofio_Which(two.get(), name, slot), slot,
                  "ofio_Which: Invalid input file name (1)");
  forEachAllocationFailure(
      [&](Oerr_Report **err) { return taken(which(two, "grid", err)) != "(null)"; });

  // The question whether there is one, where no is an answer.
  char *path = nullptr;
  const auto open = [&](const char *name, Oerr_Report **err) {
    const int32_t found = ofio_SearchListOpen(two.get(), name, &path, err);
    EXPECT_EQ(found, path != nullptr);
    return taken(path);
  };
  EXPECT_EQ(open("grid", slot), root + "/2/grid");
  for (const char *name : {static_cast<const char *>(nullptr), "", "none"})
    EXPECT_EQ(open(name, slot), "(null)");
  expectNoReport(slot);
  for (char **place : {&path, static_cast<char **>(nullptr)})
    expectRefusal(ofio_SearchListOpen(place ? nullptr : two.get(), "grid", place, slot), slot,
                  "ofio_SearchListOpen: Invalid input search list (1)");
  forEachAllocationFailure([&](Oerr_Report **err) { return open("grid", err) != "(null)"; });
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
  const auto list = [](const std::string &path, const char *pattern, Oerr_Report **err) {
    int32_t count = -1;
    char **names = ofio_DirectoryList(path.c_str(), pattern, &count, err);
    EXPECT_EQ(names != nullptr, *err == nullptr);
    const Names listed(names, names + count);
    ofio_NamesFree(&names);
    EXPECT_EQ(names, nullptr);
    return listed;
  };
  const std::pair<const char *, Names> cases[] = {
      {"spheroid*.tab",
       {"spheroid.tab", "spheroidB.tab", "spheroid_b.tab", "spheroid\xC3\xA9.tab"}},
      {"spheroid?.tab", {"spheroidB.tab"}},  // "?" is one byte
      {"a?", {"ab"}},
      {"a*b*c", {"aXbXc"}},
      {"*~", {"spheroid.tab~"}},
      {"**b**", all},
      {"", {}},
      {"none*", {}}};
  Slot slot;
  for (const auto &[pattern, expected] : cases) {
    EXPECT_EQ(list(directory.path(), pattern, slot), expected) << pattern;
    expectNoReport(slot);
  }
  ofio_NamesFree(nullptr);
  const std::string missing = directory.path() + "/none";
  expectRefusal(list(missing, "*", slot).size(), slot,
                "ofio_DirectoryList: Directory \"" + missing +
                    "\" cannot be read: No such file or directory (3)");
  expectRefusal(ofio_DirectoryList(nullptr, "*", nullptr, slot), slot,
                "ofio_DirectoryList: Invalid input directory (1)");
  expectRefusal(list(".", nullptr, slot).size(), slot,
                "ofio_DirectoryList: Invalid input pattern (2)");
  forEachAllocationFailure(
      [&](Oerr_Report **err) { return list(directory.path(), "*", err) == all; });
}

TEST(Files, AreReadWhole) {
  const LeakCheck leaks;
  const TemporaryDirectory directory;
  Slot slot;
  size_t size = 0;
  for (size_t length : {0u, 1u, 4095u, 4096u, 4097u, 4098u, 1000000u}) {
    std::string content(length, '\0');
    for (size_t i = 0; i < length; ++i) content[i] = static_cast<char>(i * 7);
    char *text = ofio_FileRead(directory.write("file", content).c_str(), &size, slot);
    ASSERT_NE(text, nullptr) << slot.chain();
    EXPECT_TRUE(std::string(text, size) == content) << length;
    EXPECT_EQ(text[size], '\0');
    omsc_HeapFree(text);
  }
  // Files whose announced size is wrong: nothing announced, and a page announced for a few bytes.
  const std::string maps = taken(ofio_FileRead("/proc/self/maps", &size, nullptr));
  EXPECT_NE(maps.find("[stack]"), std::string::npos);
  EXPECT_GT(size, 4096u);
  const char *announced = "/sys/devices/system/cpu/online";
  if (std::filesystem::exists(announced)) {
    EXPECT_EQ(taken(ofio_FileRead(announced, &size, nullptr)), readFile(announced));
    EXPECT_LT(size, 4096u);
  }
}

TEST(Files, ThatAreNoneAreRefused) {
  const LeakCheck leaks;
  const TemporaryDirectory directory;
  const std::string pipe = directory.path() + "/pipe", loop = directory.path() + "/loop";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0666), 0);
  ASSERT_EQ(symlink(loop.c_str(), loop.c_str()), 0);
  const std::pair<std::string, const char *> cases[] = {
      {directory.path() + "/none", "cannot be opened: No such file or directory (2)"},
      {loop, "cannot be opened: Too many levels of symbolic links (2)"},
      {directory.path(), "cannot be read: Is a directory (3)"},
      {pipe, "cannot be read: Not a regular file (3)"}};
  Slot slot;
  for (const auto &[path, problem] : cases) {
    size_t size = 99;
    expectRefusal(ofio_FileRead(path.c_str(), &size, slot), slot,
                  "ofio_FileRead: File \"" + path + "\" " + problem);
    EXPECT_EQ(size, 0u);
  }
  expectRefusal(ofio_FileRead(nullptr, nullptr, slot), slot,
                "ofio_FileRead: Invalid input file name (1)");
  const std::string path = directory.write("file", "");
  expectRefusal(ofio_FileRead(path.c_str(), nullptr, slot.failing(1)), slot,
                "ofio_FileRead: File \"" + path + "\" does not fit into memory (4)");
}

TEST(FileNames, JoinAndStandAlone) {
  const LeakCheck leaks;
  const struct {
    const char *directory, *name, *path;
  } cases[] = {{"/d", "n", "/d/n"},    {"/d/", "n", "/d/n"},   {"d\\", "n", "d\\n"},
               {"", "n", "n"},         {nullptr, "n", "n"},    {"/d", "/n", "/n"},
               {"/d", "C:/n", "C:/n"}, {"/d", "C:n", "/d/C:n"}};
  for (const auto &c : cases)
    EXPECT_EQ(taken(ofnp_FileNameSet(c.directory, c.name, nullptr)), c.path);
  Slot slot;
  for (const char *name : {static_cast<const char *>(nullptr), ""})
    expectRefusal(ofnp_FileNameSet("d", name, slot), slot,
                  "ofnp_FileNameSet: Invalid input file name (1)");
  forEachAllocationFailure([](Oerr_Report **err) {
    const std::string path = taken(ofnp_FileNameSet("a directory with a long name", "name", err));
    if (*err) expectReport(*err, "ofnp_FileNameSet", 2, "Error allocating file name");
    return path != "(null)";
  });
  for (const char *name : {"/", "c:\\x"}) EXPECT_EQ(ofnp_IsRooted(name), 1) << name;
  for (const char *name : {"", "a", "c:", "./a", "~/a"}) EXPECT_EQ(ofnp_IsRooted(name), 0) << name;
  EXPECT_EQ(ofnp_IsRooted(nullptr), 0);
}

}  // namespace
