// The multi-grid file as a grid file.
#include "fuzz/grid_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
  orvik::oprj::fuzzGridFormat(orvik::oprj::multiGridFormat, bytes, size);
  return 0;
}
