// .las and .los files, each its own pair.
#include "fuzz/grid_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
  orvik::oprj::fuzzGridFormat(orvik::oprj::lasLosFormat, bytes, size);
  return 0;
}
