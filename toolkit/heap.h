// The counted heap (omsc.h) for C++: containers and records whose memory is zeroed, counted and may
// be told to fail. Containers throw std::bad_alloc; keep them behind guarded() (error_scope.h).
#ifndef OPRJ_TOOLKIT_HEAP_H
#define OPRJ_TOOLKIT_HEAP_H

#include <oprj/omsc.h>

#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

namespace orvik::toolkit {

template <class T>
struct HeapAllocator {
  using value_type = T;
  HeapAllocator() = default;
  template <class U>
  HeapAllocator(const HeapAllocator<U> &) noexcept {}

  T *allocate(size_t count) {
    void *block = omsc_HeapCalloc(count, sizeof(T));
    if (!block) throw std::bad_alloc();
    return static_cast<T *>(block);
  }
  void deallocate(T *block, size_t) noexcept { omsc_HeapFree(block); }

  template <class U>
  bool operator==(const HeapAllocator<U> &) const noexcept {
    return true;
  }
};

using HeapText = std::basic_string<char, std::char_traits<char>, HeapAllocator<char>>;
template <class T>
using HeapVector = std::vector<T, HeapAllocator<T>>;

/// Base of records that `new` and `delete` place on the counted heap.
struct HeapRecord {
  static void *operator new(size_t size) { return HeapAllocator<char>().allocate(size); }
  static void operator delete(void *block) { omsc_HeapFree(block); }
};

struct FreeHeapBlock {
  void operator()(void *block) const { omsc_HeapFree(block); }
};
/// Owns a block of omsc_HeapMalloc; release() hands it to the caller of a flat operation.
template <class T>
using HeapBlock = std::unique_ptr<T, FreeHeapBlock>;

/// A copy of `text` as a zero-terminated block of its own; null when there is no memory.
inline HeapBlock<char> heapCopy(std::string_view text) {
  HeapBlock<char> copy(static_cast<char *>(omsc_HeapMalloc(text.size() + 1)));
  if (copy && !text.empty()) std::memcpy(copy.get(), text.data(), text.size());
  return copy;
}

}  // namespace orvik::toolkit

#endif
