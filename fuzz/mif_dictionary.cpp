// The text of a dictionary: what reads is written and read again, and its designs are compiled,
// copied and, when they have records, walked in both directions.
#include <oprj/omif_object.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "toolkit/error_scope.h"
#include "toolkit/heap.h"

using namespace orvik::toolkit;

namespace {

using Dictionary = Owner<Omif_Dictionary, omif_DictionaryFree>;
using Text = HeapBlock<char>;

/// Makes an object of zeros and takes it to bytes and back.
void walk(const Omif_Design *design) {
  constexpr size_t kLargest = 1 << 20;
  const size_t size = omif_DesignHostSize(design, nullptr);
  if (size == 0 || size > kLargest) return;
  void *object = omif_ObjectAllocate(design, nullptr);
  const int32_t bytes = omif_ObjectSize(design, object, nullptr);
  const HeapBlock<uint8_t> block(
      static_cast<uint8_t *>(omsc_HeapMalloc(static_cast<size_t>(bytes))));
  if (omif_ConvertToMIF(design, object, block.get(), bytes, nullptr) != bytes ||
      omif_ConvertToHost(design, block.get(), bytes, object, nullptr) != object)
    std::abort();
  omif_ObjectFree(design, &object);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
  const std::string text(reinterpret_cast<const char *>(bytes), size);
  const Dictionary read(omif_DictionaryDecodeFromString(text.c_str(), nullptr));
  if (!read) return 0;
  const Text written(omif_DictionaryEncodeToString(read.get(), nullptr));
  const Dictionary again(omif_DictionaryDecodeFromString(written.get(), nullptr));
  constexpr int32_t kMostDesigns = 16;
  const int32_t count = omif_DictionaryDesignCount(read.get());
  if (!again || omif_DictionaryDesignCount(again.get()) != count) std::abort();
  for (int32_t i = 0; i < std::min(count, kMostDesigns); ++i) {
    const auto *design = omif_DictionaryDesign(read.get(), i);
    if (!omif_DesignsEqual(design, omif_DictionaryDesign(again.get(), i))) std::abort();
    walk(design);
    Omif_Design *copy = omif_DesignCopy(design, nullptr);
    walk(copy);
    omif_DesignFree(&copy);
  }
  return 0;
}
