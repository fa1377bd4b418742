// Parsing by a grammar: where the text comes from and how a syntax error is told.
#include <oprj/olex.h>

#include <stdexcept>

#include "tests/support.h"

namespace {

using namespace orvik::test;

/// Takes texts of letters "a", blanks and line ends; stores how many bytes it was shown.
int64_t lettersA(const char *text, size_t size, void *result, const char **expected) {
  *static_cast<size_t *>(result) = size;
  EXPECT_EQ(text[size], '\0');
  const size_t stop = std::string_view(text, size).find_first_not_of("a \n\r");
  *expected = "the letter a";
  return stop == std::string_view::npos ? -1 : static_cast<int64_t>(stop);
}

class Parse : public testing::Test {
 protected:
  int32_t parse(const char *text, const char *file, const Ofio_SearchList *places = nullptr) {
    return olex_Parse(text, places, file, lettersA, &seen_, slot_);
  }
  LeakCheck leaks_;
  TemporaryDirectory directory_;
  Slot slot_;
  size_t seen_ = 0;
};

TEST_F(Parse, TakesATextOrFindsAFile) {
  const std::string path = directory_.write("table.dat", "\xEF\xBB\xBF\x61\n");
  const ScopedEnvironment list("OPRJ_TEST_LIST", directory_.path().c_str());
  Ofio_SearchList *places = ofio_CreateSLFromEnv("OPRJ_TEST_LIST", nullptr, nullptr);
  EXPECT_EQ(parse(nullptr, "table.dat", places), 1);
  expectNoReport(slot_);
  EXPECT_EQ(seen_, 2u);                             // without the byte order mark
  EXPECT_EQ(parse("aaa", "table.dat", places), 1);  // the text wins
  EXPECT_EQ(seen_, 3u);
  EXPECT_EQ(parse("", nullptr), 1);
  EXPECT_EQ(parse(nullptr, path.c_str()), 1);

  expectRefusal(parse(nullptr, "absent", places), slot_,
                "olex_Parse: Error returned from ofio_Which (3) < ofio_Which: File \"absent\" not "
                "found; searched (OPRJ_TEST_LIST): \"" +
                    directory_.path() + "\" (2)");
  for (const char *name : {static_cast<const char *>(nullptr), ""})
    expectRefusal(parse(nullptr, name), slot_, "olex_Parse: Invalid input text and file name (2)");
  expectRefusal(olex_Parse("a", nullptr, nullptr, nullptr, nullptr, slot_), slot_,
                "olex_Parse: Invalid input grammar (1)");
  forEachAllocationFailure([&](Oerr_Report **err) {
    return olex_Parse(nullptr, places, "table.dat", lettersA, &seen_, err) == 1;
  });
  ofio_SearchListFree(&places);
}

TEST_F(Parse, TellsWhereAndWhat) {
  const struct {
    std::string text, place, found;
  } cases[] = {
      {"b", "1:1", "\"b\""},
      {"aa\r\n\n  x,y", "3:3", "\"x,y\""},
      {"\xEF\xBB\xBF\x61!", "1:2", "\"!\""},  // columns start behind the mark
      {"a\n01234567890123456789", "2:1", "\"01234567890123456789\""},
      {"a\n012345678901234567890", "2:1", "\"01234567890123456789\""},
      {"0123456789012345678\xC3\xA9y", "1:1", "\"0123456789012345678\""},  // no half letter
      {"012345678901234567\xC3\xA9y", "1:1", "\"012345678901234567\xC3\xA9\""},
      {"a\x7F", "1:2", "byte 0x7F"},
      {"x\ty", "1:1", "\"x\""},
      {std::string("a\n\0b", 4), "2:1", "byte 0x00"},  // a byte like others in a file
  };
  for (const auto &c : cases) {
    const std::string message = ":" + c.place + ": expected the letter a, found " + c.found;
    const std::string path = directory_.write("file.tab", c.text);
    expectRefusal(parse(nullptr, path.c_str()), slot_, "olex_Parse: " + path + message + " (7)");
    if (c.text.find('\0') == std::string::npos)
      expectRefusal(parse(c.text.c_str(), nullptr), slot_, "olex_Parse: text" + message + " (7)");
  }
}

TEST_F(Parse, TakesEveryAnswerOfAGrammar) {
  using Answer = std::function<int64_t(size_t, const char **)>;
  std::pair<Answer, const char *> cases[] = {
      {[](size_t size, auto expected) { return *expected = "\"}\"", static_cast<int64_t>(size); },
       "text:2:1: expected \"}\", found end of file (7)"},
      {[](auto...) { return 2; }, "text:1:3: expected something else, found end of line (7)"},
      {[](auto...) { return -2; }, "Out of memory (5)"},
      {[](auto...) -> int64_t { throw std::bad_alloc(); }, "Out of memory (5)"},
      {[](auto...) -> int64_t { throw std::runtime_error("grammar broke"); }, "grammar broke (5)"},
      {[](auto...) { return 4; }, "Invalid offset returned from grammar: 4 (6)"},
      {[](auto...) { return -3; }, "Invalid offset returned from grammar: -3 (6)"}};
  const Olex_Grammar grammar = [](const char *, size_t size, void *answer, const char **expected) {
    return (*static_cast<Answer *>(answer))(size, expected);
  };
  for (auto &[answer, report] : cases)
    expectRefusal(olex_Parse("ab\n", nullptr, nullptr, grammar, &answer, slot_), slot_,
                  std::string("olex_Parse: ") + report);
}

}  // namespace
