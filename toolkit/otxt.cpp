#include "toolkit/otxt.h"

#include <cstring>
#include <string>

#include "toolkit/error_scope.h"
#include "toolkit/heap.h"
#include "toolkit/utf16.h"

using namespace orvik::toolkit;

char16_t *otxt_Text_Ascii2Unicode(const char *text, Oerr_Report **err) {
  ErrorScope e("otxt_Text_Ascii2Unicode", err);
  if (!text) return e.fail(1, "Invalid input text");
  const size_t size = std::strlen(text);
  auto *made = static_cast<char16_t *>(omsc_HeapCalloc(size + 1, sizeof(char16_t)));
  if (!made) return e.fail(2, "Out of memory");
  toUtf16(text, size, made, false);
  return made;
}

char *otxt_Text_Unicode2Ascii(const char16_t *text, Oerr_Report **err) {
  ErrorScope e("otxt_Text_Unicode2Ascii", err);
  if (!text) return e.fail(1, "Invalid input text");
  const size_t units = std::char_traits<char16_t>::length(text);
  HeapBlock<char> made(static_cast<char *>(omsc_HeapCalloc(utf8Room(units) + 1, 1)));
  if (!made) return e.fail(2, "Out of memory");
  char16_t lone = 0;
  toUtf8(text, units, made.get(), &lone);
  if (lone) return e.fail(3, "Half of a surrogate pair: U+%04X", static_cast<unsigned>(lone));
  return made.release();
}
