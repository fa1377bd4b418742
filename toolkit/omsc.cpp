// The counted heap: calloc and free underneath, so that leak checkers see every block.
#include <oprj/omsc.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#if defined(__x86_64__)  // where there are lanes
static_assert(alignof(std::max_align_t) >= 16, "blocks must hold pairs of doubles aligned");
#endif

namespace {

std::atomic<int64_t> blockCount{0};

/// What omsc_HeapFailNth counts, for this thread.
struct FailureHook {
  int64_t made = 0;
  int64_t failAt = 0;
};
// Of a library that is opened late, other models allocate on a thread's first use and end the
// process when they cannot.
[[gnu::tls_model("initial-exec")]] constinit thread_local FailureHook hook;

}  // namespace

void *omsc_HeapCalloc(size_t count, size_t size) {
  if (++hook.made == hook.failAt) return nullptr;
  size_t bytes = 0;
  if (__builtin_mul_overflow(count, size, &bytes) || bytes > PTRDIFF_MAX) return nullptr;
  void *block = std::calloc(1, bytes == 0 ? 1 : bytes);
  if (block) blockCount.fetch_add(1, std::memory_order_relaxed);
  return block;
}

void *omsc_HeapMalloc(size_t size) { return omsc_HeapCalloc(1, size); }

void omsc_HeapFree(void *block) {
  if (!block) return;
  std::free(block);
  blockCount.fetch_sub(1, std::memory_order_relaxed);
}

int64_t omsc_HeapBlockCount(void) { return blockCount.load(std::memory_order_relaxed); }

int64_t omsc_HeapFailNth(int64_t nth) {
  const int64_t made = hook.made;
  hook = {.made = 0, .failAt = nth > 0 ? nth : 0};
  return made;
}
