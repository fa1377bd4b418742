// Fuzzed bytes as an opened grid file: a block of exactly their size, so that the sanitizer sees
// the first byte that is read behind them.
#ifndef OPRJ_FUZZED_IMAGE_H
#define OPRJ_FUZZED_IMAGE_H

#include <cstring>

#include "datum/grids/grid_data.h"

namespace orvik::oprj {

inline SharedImage fuzzedImage(const uint8_t *bytes, size_t size) {
  toolkit::HeapBlock<char> block(static_cast<char *>(omsc_HeapMalloc(size)));
  std::memcpy(block.get(), bytes, size);
  return std::make_shared<GridImage>(std::move(block), size);
}

}  // namespace orvik::oprj

#endif
