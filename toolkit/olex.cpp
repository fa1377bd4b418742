#include <oprj/olex.h>

#include <algorithm>
#include <string_view>

#include "toolkit/error_scope.h"
#include "toolkit/heap.h"

namespace {

using namespace orvik::toolkit;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr size_t kLongestQuote = 20;

/// The codes of olex_Parse in the order of its steps.
enum Step { kGrammar = 1, kSource, kWhich, kRead, kMemory, kResult, kSyntax };

bool isPrintable(unsigned char c) { return c >= 0x20 && c != 0x7F; }
bool isContinuation(unsigned char c) { return (c & 0xC0) == 0x80; }

/// What stands at `offset`, for a message: a quoted piece of the line, or a word for what cannot be
/// quoted.
std::string_view describeFound(std::string_view text, size_t offset, char *buffer, size_t size) {
  if (offset == text.size()) return "end of file";
  const auto first = static_cast<unsigned char>(text[offset]);
  if (first == '\n' || first == '\r') return "end of line";
  int length;
  if (isPrintable(first)) {
    const std::string_view rest = text.substr(offset, kLongestQuote + 1);
    size_t quoted = 0;
    while (quoted < rest.size() && isPrintable(static_cast<unsigned char>(rest[quoted]))) ++quoted;
    if (quoted > kLongestQuote) {  // cut before a character, not inside of one
      quoted = kLongestQuote;
      while (quoted > 1 && isContinuation(static_cast<unsigned char>(rest[quoted]))) --quoted;
    }
    length = std::snprintf(buffer, size, "\"%.*s\"", static_cast<int>(quoted), rest.data());
  } else {
    length = std::snprintf(buffer, size, "byte 0x%02X", static_cast<unsigned>(first));
  }
  return {buffer, static_cast<size_t>(length)};
}

Failed failSyntax(ErrorScope &e, const char *name, std::string_view text, size_t offset,
                  const char *expected) {
  const std::string_view before = text.substr(0, offset);
  const auto line = std::count(before.begin(), before.end(), '\n') + 1;
  const size_t lineEnd = before.rfind('\n');
  const size_t column = lineEnd == std::string_view::npos ? offset + 1 : offset - lineEnd;
  char buffer[kLongestQuote + 8];
  const std::string_view found = describeFound(text, offset, buffer, sizeof buffer);
  return e.fail(kSyntax, "%s:%lld:%zu: expected %s, found %.*s", name, static_cast<long long>(line),
                column, expected ? expected : "something else", static_cast<int>(found.size()),
                found.data());
}

}  // namespace

int32_t olex_Parse(const char *text, const Ofio_SearchList *list, const char *name,
                   Olex_Grammar grammar, void *result, Oerr_Report **err) {
  ErrorScope e("olex_Parse", err);
  if (!grammar) return e.fail(kGrammar, "Invalid input grammar");
  if (!text && (!name || !*name)) return e.fail(kSource, "Invalid input text and file name");

  HeapBlock<char> path, content;
  std::string_view input;
  if (text) {
    name = "text";
    input = text;
  } else {
    path.reset(ofio_Which(list, name, e.cause()));
    if (!path) return e.fail(kWhich, "Error returned from ofio_Which");
    name = path.get();
    size_t size = 0;
    content.reset(ofio_FileRead(name, &size, e.cause()));
    if (!content) return e.fail(kRead, "Error returned from ofio_FileRead");
    input = {content.get(), size};
  }
  if (input.starts_with(kByteOrderMark)) input.remove_prefix(kByteOrderMark.size());

  return guarded(e, kMemory, [&]() -> int32_t {
    constexpr int64_t kEverythingRead = -1, kNoMemory = -2;
    const char *expected = nullptr;
    const int64_t stop = grammar(input.data(), input.size(), result, &expected);
    if (stop == kEverythingRead) return 1;
    if (stop == kNoMemory) return e.fail(kMemory, "Out of memory");
    if (stop < 0 || static_cast<uint64_t>(stop) > input.size())
      return e.fail(kResult, "Invalid offset returned from grammar: %lld",
                    static_cast<long long>(stop));
    failSyntax(e, name, input, static_cast<size_t>(stop), expected);
    if (err) oerr_KindSet(*err, OLEX_SYNTAX);
    return 0;
  });
}
