// The text of a projection library: what reads is written, reads back and is written as the same
// bytes.
#include <cstdlib>

#include "interchange/projection_library_content.h"

using namespace orvik::oprj;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
  const char *expected = nullptr;
  LibraryContent content;
  const int64_t stop =
      libraryGrammar(reinterpret_cast<const char *>(bytes), size, &content, &expected);
  if (stop != -1) {
    if (stop < 0 || static_cast<size_t>(stop) > size || !expected) std::abort();
    return 0;
  }
  const std::string first = libraryText(content);
  LibraryContent again;
  if (libraryGrammar(first.data(), first.size(), &again, &expected) != -1) std::abort();
  if (libraryText(again) != first) std::abort();
  return 0;
}
