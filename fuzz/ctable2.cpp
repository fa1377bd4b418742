// CTABLE V2.
#include "fuzz/grid_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
  orvik::oprj::fuzzGridFormat(orvik::oprj::ctable2Format, bytes, size);
  return 0;
}
