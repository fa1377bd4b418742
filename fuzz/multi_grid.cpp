// The multi-grid file: its table is read as a chain, and points around the bounds of every sub-grid
// are shifted there and back at every instruction set.
#include <oprj/datum_shift.h>

#include <algorithm>
#include <vector>

#include "fuzz/fuzzed_image.h"
#include "lanes/kernels.h"

using namespace orvik::oprj;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
  constexpr int kMostPoints = 64;
  if (size == 0) return 0;
  const Oprj_GridData file{{}, fuzzedImage(bytes, size), {}};
  Oprj_GridInfo *chain = oprj_GridHeaderRead(&file, nullptr);
  if (!chain) return 0;
  std::vector<Oprj_Point> points;
  for (const Oprj_GridInfo *grid = chain; grid && points.size() < kMostPoints; grid = grid->next) {
    const double middleLon = (grid->west + grid->east) / 2;
    const double middleLat = (grid->south + grid->north) / 2;
    for (const double lon : {grid->west, middleLon, grid->east})
      for (const double lat : {grid->south, middleLat, grid->north}) points.push_back({lon, lat});
  }
  constexpr double kDegree = 3.14159265358979323846 / 180;
  for (Oprj_Point &p : points) {
    oprj_GetShifts(chain, &file, p.x, p.y, nullptr, nullptr, nullptr);
    p = {p.x * kDegree, p.y * kDegree};
  }
  std::vector<Oprj_Point> moved(points.size());
  const auto count = static_cast<int32_t>(points.size());
  for (int32_t set = 0; set <= widestInstructionSet(); ++set) {
    chooseInstructionSet(set);
    oprj_ShiftForward(chain, &file, points.data(), moved.data(), count, nullptr);
    oprj_ShiftInverse(chain, &file, points.data(), moved.data(), count, nullptr);
  }
  oprj_GridHeaderFree(&chain);
  return 0;
}
