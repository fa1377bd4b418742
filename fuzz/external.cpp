// What comes over the pipes of external projections: on one side the parameter record, as the kit
// reads it, on the other the list of reports.
#include <oprj/external.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "projections/external/error_list.h"

using namespace orvik::oprj;

namespace {

struct Bytes {
  const uint8_t *at;
  size_t left;
};

size_t take(void *context, char *to, size_t size) {
  auto &from = *static_cast<Bytes *>(context);
  size = std::min(size, from.left);
  std::copy_n(from.at, size, to);
  from.at += size;
  from.left -= size;
  return size;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
  Oprj_ExternalRecord record;
  if (oprj_ExternalRecordRead(bytes, size, &record)) {
    double sum = static_cast<double>(std::strlen(record.executable) + std::strlen(record.name) +
                                     std::strlen(record.spheroid));
    for (int32_t i = 0; i < record.count; ++i) sum += record.entries[i];
    if (sum == 0.125) std::abort();  // so that all is read
    oprj_ExternalRecordFree(&record);
  }
  for (const size_t announced : {size_t{0}, size}) {
    Bytes from{bytes, size};
    ErrorList list = readErrorList({take, &from}, announced);
    if (announced > 0 && !list.problem && from.left > 0) std::abort();  // the next answer is there
    oerr_DeleteErrorReport(&list.chain);
  }
  return 0;
}
