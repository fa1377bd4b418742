// Texts of the Projection Engine to records and back: what has a number is written, reads back to
// the same projection with the same entries on the same spheroid, and its text then stays.
#include <oprj/omsc.h>
#include <oprj/translation.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "toolkit/error_scope.h"

namespace {

using orvik::toolkit::Owner;
using Record = Owner<Oprj_ProParameters, oprj_ProParametersFree>;
using Text = std::unique_ptr<char, decltype([](char *text) { omsc_HeapFree(text); })>;

Record read(const char *text) {
  Oawp_PE_COORDSYS *system = oawp_PE_pe_coordsys_from_string(text);
  Record record(oprj_ProParametersFromCOORDSYS(system, nullptr, nullptr, nullptr));
  oawp_PE_pe_coordsys_del(system);
  return record;
}

/// Null for entries that the engine's projection does not have.
Text written(const Oprj_ProParameters &record) {
  Oawp_PE_COORDSYS *system = oprj_ProParametersToCOORDSYS(&record, nullptr, nullptr, nullptr);
  Text text(oawp_PE_pe_coordsys_to_string(system, nullptr, 0));
  oawp_PE_pe_coordsys_del(system);
  return text;
}

/// UTM or State Plane.
bool isZone(const Oprj_ProParameters &record) {
  return record.proNumber == 1 || record.proNumber == 2;
}

bool near(double first, double second) {
  constexpr double kRounding = 1e-9;  // entries pass through degrees
  return std::fabs(first - second) <=
         kRounding * std::max({1.0, std::fabs(first), std::fabs(second)});
}

bool same(const Oprj_ProParameters &first, const Oprj_ProParameters &second) {
  const Oprj_DblArray &one = first.proParams, &other = second.proParams;
  return first.proNumber == second.proNumber && first.proZone == second.proZone &&
         near(first.proSpheroid->a, second.proSpheroid->a) &&
         near(first.proSpheroid->b, second.proSpheroid->b) && one.count == other.count &&
         std::equal(one.data, one.data + one.count, other.data, near);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  setenv("ORVIK_PROJECTIONS_PATH", OPRJ_SOURCE_DIR "/data", 1);
  setenv("ORVIK_DATUMS_PATH", OPRJ_SOURCE_DIR "/data", 1);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
  const std::string input(reinterpret_cast<const char *>(bytes), size);
  const Record held(oprj_ProParametersHoldingPEString(input.c_str(), nullptr));
  const Record record = read(input.c_str());
  if (record && !held) std::abort();
  if (!record) return 0;
  const Text first = written(*record);
  if (!first) return 0;
  const Record again = read(first.get());
  if (!again) std::abort();
  if (isZone(*record) != isZone(*again)) return 0;  // at the edge of what counts as one
  if (!same(*record, *again)) std::abort();
  const Text second = written(*again);
  const Record third = second ? read(second.get()) : nullptr;
  const Text last = third ? written(*third) : nullptr;
  if (!last || std::strcmp(second.get(), last.get()) != 0) std::abort();
  return 0;
}
