// Texts of the Projection Engine: what is read is written, reads back to the same bytes and equals
// its copy.
#include <cstdlib>

#include "engine/object.h"
#include "engine/report.h"

using namespace orvik::engine;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
  Call e("fuzz");
  const std::string_view text(reinterpret_cast<const char *>(bytes), size);
  const OwnedObject object = read(text, ~Kinds{0}, e, 1);
  if (!object) return 0;
  HeapText first, second;
  write(*object, first);
  const OwnedObject again = read(first, ~Kinds{0}, e, 1);
  // Spelled out, numbers may take more room than a text may have.
  if (!again) return first.size() > size ? 0 : (std::abort(), 0);
  write(*again, second);
  if (first != second || !equal(*object, *again) || !equal(*object, *clone(*object))) std::abort();
  return 0;
}
