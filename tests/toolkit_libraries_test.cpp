// Shared libraries opened while the program runs: names, places, shared references, reports.
#include <dlfcn.h>
#include <oprj/odll.h>

#include "tests/support.h"

namespace {

using namespace orvik::test;

/// Two modules of the tests.
const std::string kFirst = OPRJ_BINARY_DIR "/lib/libshift_plugin.so",
                  kSecond = OPRJ_BINARY_DIR "/lib/libshift_plugin_without_entry.so";

bool isLoaded(const std::string &path) {
  void *handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle) dlclose(handle);
  return handle != nullptr;
}

TEST(Libraries, OneFileIsOpenedOnceAndLeavesWithItsLastUser) {
  const LeakCheck leaks;
  const TemporaryDirectory folder;
  const std::string link = folder.path() + "/link.so";
  std::filesystem::create_symlink(kFirst, link);
  Slot err;
  Odll_Library *first = odll_Open(kFirst.c_str(), err), *again = odll_Open(link.c_str(), err),
               *bare = odll_Open("shift_plugin.dll", err);
  ASSERT_TRUE(first) << err.chain();
  EXPECT_EQ(first, again);
  EXPECT_EQ(first, bare);  // beside the toolkit's own file
  EXPECT_EQ(odll_PathGet(first), kFirst);
  EXPECT_TRUE(odll_FindIfPresent(first, "surfacesOpen"));
  EXPECT_FALSE(odll_FindIfPresent(first, "no such thing"));
  EXPECT_FALSE(odll_FindIfPresent(nullptr, "surfacesOpen"));
  EXPECT_FALSE(dlsym(RTLD_DEFAULT, "surfacesOpen")) << "a library lends its symbols";

  Odlm_List *list = odlm_NewList(err);
  EXPECT_FALSE(odlm_Element(list, kFirst.c_str(), err));
  expectNoReport(err);
  EXPECT_TRUE(odlm_Add(list, first, err) && odlm_Add(list, again, err));
  for (Odll_Library **library : {&first, &again, &bare}) {
    odll_Close(library);
    EXPECT_FALSE(*library);
  }
  EXPECT_TRUE(isLoaded(kFirst)) << "the list uses it";
  first = odlm_Element(list, link.c_str(), err);
  EXPECT_TRUE(first && odlm_Remove(list, first) && !odlm_Remove(list, first));
  EXPECT_TRUE(odlm_Add(list, first, err));
  odll_Close(&first);
  odlm_ListFree(&list);
  odlm_ListFree(&list);
  EXPECT_FALSE(isLoaded(kFirst));
}

TEST(Libraries, AreFoundAlongAListAndNeverInTheCurrentFolder) {
  const LeakCheck leaks;
  const TemporaryDirectory folder;
  std::filesystem::copy_file(kFirst, folder.path() + "/here.so");
  const ScopedEnvironment variable("OPRJ_TEST_LIST", folder.path().c_str());
  Ofio_SearchList *list = ofio_CreateSLFromEnv("OPRJ_TEST_LIST", nullptr, nullptr);
  const auto old = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  Slot err;
  for (const char *name : {"here.so", "here", "here.dll"})
    expectRefusal(odll_Open(name, err), err,
                  "odll_Open: " + std::string(name) + ":  Library not found (2)");
  Odll_Library *found = odll_OpenAlong(list, "here.so", err), *here = odll_Open("./here.so", err);
  EXPECT_TRUE(found && found == here) << err.chain();
  odll_Close(&found);
  odll_Close(&here);
  found = odll_OpenAlong(nullptr, "here.so", err);  // a file name, not one to look up
  EXPECT_TRUE(found) << err.chain();
  odll_Close(&found);
  std::filesystem::current_path(old);
  EXPECT_FALSE(odll_OpenAlong(list, "nowhere.so", err));
  expectReport(err, "odll_OpenAlong", 2, "Error returned from ofio_Which");
  ofio_SearchListFree(&list);
}

TEST(Libraries, ReportWhatCannotBeOpened) {
  const LeakCheck leaks;
  const TemporaryDirectory folder;
  const std::string text = folder.write("text.so", "not a library"),
                    none = folder.path() + "/none.so";
  Slot err;
  for (const char *name : {static_cast<const char *>(nullptr), ""}) {
    expectRefusal(odll_Open(name, err), err, "odll_Open: Invalid input library name (1)");
    expectRefusal(odll_OpenAlong(nullptr, name, err), err,
                  "odll_OpenAlong: Invalid input library name (1)");
  }
  const struct {
    std::string name;
    int32_t code;
    std::string message, cause;
  } cases[] = {{none, 2, none + ":  Library not found", "No such file"},
               {folder.path() + "/.", 2, folder.path() + "/.:  Library not found", "directory"},
               {"C:\\x.dll", 2, "C:\\x.dll:  Library not found", ""},
               {text, 3, "Cannot open the library " + text, "file too short"}};
  for (const auto &[name, code, message, cause] : cases) {
    EXPECT_FALSE(odll_Open(name.c_str(), err)) << name;
    expectReport(err, "odll_Open", code, message.c_str());
    EXPECT_NE(err.chain().find(cause), std::string::npos) << err.chain();
  }
  expectRefusal(odlm_Add(nullptr, nullptr, err), err,
                "odlm_Add: Invalid input list of libraries (1)");
  expectRefusal(odlm_Element(nullptr, "x", err), err,
                "odlm_Element: Invalid input list of libraries (1)");
  EXPECT_FALSE(odll_PathGet(nullptr));
}

TEST(Libraries, EveryAllocationMayFailAndThreadsShare) {
  const LeakCheck leaks;
  for (const char *name : {kSecond.c_str(), "shift_plugin_without_entry"}) {
    forEachAllocationFailure([&](auto err) {
      Odll_Library *library = odll_Open(name, err);
      Odlm_List *list = library ? odlm_NewList(err) : nullptr;
      const bool worked = list && odlm_Add(list, library, err);
      odlm_ListFree(&list);
      odll_Close(&library);
      return worked;
    });
    EXPECT_FALSE(isLoaded(kSecond));
  }
  inThreads(4, [](size_t) {
    for (int i = 0; i < 200; ++i) {
      Odll_Library *library = odll_Open(kSecond.c_str(), nullptr);
      ASSERT_TRUE(odll_FindIfPresent(library, "surfacesOpen"));
      odll_Close(&library);
    }
  });
  EXPECT_FALSE(isLoaded(kSecond));
}

}  // namespace
