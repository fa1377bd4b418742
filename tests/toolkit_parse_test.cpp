// Parsing by a grammar: where the text comes from and how a syntax error is told.
#include <oprj/olex.h>

#include <stdexcept>
#include <string>

#include "tests/support.h"

namespace {

using namespace orvik::test;

/// Takes texts of letters "a", blanks and line ends; stores how many bytes it was shown.
int64_t lettersA(const char *text, size_t size, void *result, const char **expected) {
  *static_cast<size_t *>(result) = size;
  EXPECT_EQ(text[size], '\0');
  for (size_t i = 0; i < size; ++i)
    if (text[i] != 'a' && text[i] != ' ' && text[i] != '\n' && text[i] != '\r') {
      *expected = "the letter a";
      return static_cast<int64_t>(i);
    }
  return -1;
}

TEST(Parse, TakesATextOrFindsAFile) {
  const LeakCheck leaks;
  const TemporaryDirectory directory;
  directory.write("table.dat",
                  "\xEF\xBB\xBF"
                  "aaa\n");
  const ScopedEnvironment list("OPRJ_TEST_LIST", directory.path().c_str());
  Ofio_SearchList *places = ofio_CreateSLFromEnv("OPRJ_TEST_LIST", nullptr, nullptr);
  Slot slot;
  size_t seen = 0;
  EXPECT_EQ(olex_Parse(nullptr, places, "table.dat", lettersA, &seen, slot), 1);
  expectNoReport(slot);
  EXPECT_EQ(seen, 4u);  // without the byte order mark
  EXPECT_EQ(olex_Parse("aa", places, "table.dat", lettersA, &seen, slot), 1);  // the text wins
  EXPECT_EQ(seen, 2u);
  EXPECT_EQ(olex_Parse("", nullptr, nullptr, lettersA, &seen, slot), 1);
  EXPECT_EQ(seen, 0u);
  const std::string path = directory.path() + "/table.dat";
  EXPECT_EQ(olex_Parse(nullptr, nullptr, path.c_str(), lettersA, &seen, slot), 1);

  EXPECT_EQ(olex_Parse(nullptr, places, "absent", lettersA, &seen, slot), 0);
  EXPECT_EQ(slot.chain(),
            "olex_Parse: Error returned from ofio_Which (3) < ofio_Which: File \"absent\" not "
            "found; searched (OPRJ_TEST_LIST): \"" +
                directory.path() + "\" (2)");
  EXPECT_EQ(olex_Parse("a", nullptr, nullptr, nullptr, &seen, slot), 0);
  expectReport(slot, "olex_Parse", 1, "Invalid input grammar");
  for (const char *name : {static_cast<const char *>(nullptr), ""}) {
    EXPECT_EQ(olex_Parse(nullptr, nullptr, name, lettersA, &seen, slot), 0);
    expectReport(slot, "olex_Parse", 2, "Invalid input text and file name");
  }
  forEachAllocationFailure([&](Oerr_Report **err) {
    return olex_Parse(nullptr, places, "table.dat", lettersA, &seen, err) == 1;
  });
  ofio_SearchListFree(&places);
}

TEST(Parse, TellsWhereAndWhat) {
  const LeakCheck leaks;
  struct Case {
    std::string text, place, found;
  };
  const std::vector<Case> cases = {
      {"b", "1:1", "\"b\""},
      {"aa b ccc\n", "1:4", "\"b ccc\""},
      {"aa\r\n\n  x,y", "3:3", "\"x,y\""},
      {"\xEF\xBB\xBF"
       "a!",
       "1:2", "\"!\""},  // columns start behind the mark
      {"a\n0123456789012345678", "2:1", "\"0123456789012345678\""},
      {"a\n01234567890123456789", "2:1", "\"01234567890123456789\""},
      {"a\n012345678901234567890", "2:1", "\"01234567890123456789\""},
      {"0123456789012345678\xC3\xA9y", "1:1", "\"0123456789012345678\""},  // no half letter
      {"012345678901234567\xC3\xA9y", "1:1", "\"012345678901234567\xC3\xA9\""},
      {"a\tb", "1:2", "byte 0x09"},
      {"a\x7F", "1:2", "byte 0x7F"},
      {"x\ty", "1:1", "\"x\""},
  };
  const TemporaryDirectory directory;
  for (const Case &c : cases) {
    Slot slot;
    size_t seen = 0;
    const std::string message = ":" + c.place + ": expected the letter a, found " + c.found;
    EXPECT_EQ(olex_Parse(c.text.c_str(), nullptr, nullptr, lettersA, &seen, slot), 0);
    expectReport(slot, "olex_Parse", 7, ("text" + message).c_str());
    const std::string path = directory.write("file.tab", c.text);
    EXPECT_EQ(olex_Parse(nullptr, nullptr, path.c_str(), lettersA, &seen, slot), 0);
    expectReport(slot, "olex_Parse", 7, (path + message).c_str());
  }
  // A zero byte in a file is a byte like others.
  Slot slot;
  size_t seen = 0;
  const std::string path = directory.write("zero", std::string("a\n\0b", 4));
  EXPECT_EQ(olex_Parse(nullptr, nullptr, path.c_str(), lettersA, &seen, slot), 0);
  EXPECT_EQ(seen, 4u);
  expectReport(slot, "olex_Parse", 7,
               (path + ":2:1: expected the letter a, found byte 0x00").c_str());
}

TEST(Parse, TakesEveryAnswerOfAGrammar) {
  struct Case {
    Olex_Grammar grammar;
    int32_t code;
    const char *message;
  };
  for (const Case &c :
       {Case{[](const char *, size_t size, void *, const char **expected) {
               *expected = "\"}\"";
               return static_cast<int64_t>(size);
             },
             7, "text:2:1: expected \"}\", found end of file"},
        {[](const char *, size_t, void *, const char **) { return int64_t{2}; }, 7,
         "text:1:3: expected something else, found end of line"},
        {[](const char *, size_t, void *, const char **) { return int64_t{-2}; }, 5,
         "Out of memory"},
        {[](const char *, size_t, void *, const char **) -> int64_t { throw std::bad_alloc(); }, 5,
         "Out of memory"},
        {[](const char *, size_t, void *, const char **) -> int64_t {
           throw std::runtime_error("grammar broke");
         },
         5, "grammar broke"},
        {[](const char *, size_t size, void *, const char **) {
           return static_cast<int64_t>(size) + 1;
         },
         6, "Invalid offset returned from grammar: 4"},
        {[](const char *, size_t, void *, const char **) { return int64_t{-3}; }, 6,
         "Invalid offset returned from grammar: -3"}}) {
    Slot slot;
    EXPECT_EQ(olex_Parse("ab\n", nullptr, nullptr, c.grammar, nullptr, slot), 0);
    expectReport(slot, "olex_Parse", c.code, c.message);
  }
}

}  // namespace
