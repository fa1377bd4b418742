/* The heap. Every record and text that the library hands out comes from here and goes back here. */
#ifndef OPRJ_OMSC_H
#define OPRJ_OMSC_H

#include "obase.h"

OPRJ_BEGIN_C

/** Returns `size` zeroed bytes (a valid block for 0 too), or null when there is no memory. */
OPRJ_API void *omsc_HeapMalloc(size_t size);

/** Returns `count` zeroed elements of `size` bytes, or null when there is no memory or the product
    overflows. */
OPRJ_API void *omsc_HeapCalloc(size_t count, size_t size);

/** Releases a block of omsc_HeapMalloc; null is accepted. */
OPRJ_API void omsc_HeapFree(void *block);

/** The number of blocks that are allocated now, over all threads. */
OPRJ_API int64_t omsc_HeapBlockCount(void);

/** Test hook: the `nth` allocation from now on (1 = the next) made by this thread fails, once; 0 or
    below turns the hook off. Returns how many allocations this thread has made since the hook was
    last set, so that a test can count the allocations of an operation. */
OPRJ_API int64_t omsc_HeapFailNth(int64_t nth);

OPRJ_END_C

#endif
