#include "datum/shift/leg_steps.h"

#include <algorithm>

namespace orvik::oprj {

bool runSteps(std::span<const LegStep> steps, const Oprj_Point *in, Oprj_Point *out, int32_t count,
              Oprj_PointReason *reasons, toolkit::ErrorScope &e) {
  constexpr int32_t kTilePoints = 1024;  // 16 KB
  const auto failAt = [&](const LegStep &step) { return e.fail(step.code, "%s", step.message); };
  if (steps.size() == 1)
    return steps[0].leg->run(in, out, count, reasons, e.cause()) || failAt(steps[0]);
  // Missing arrays and counts below 1 are for the legs to refuse, so there is always a tile.
  int32_t done = 0;
  do {
    Oprj_Point between[kTilePoints];
    const int32_t tile = std::min(kTilePoints, count - done);
    const Oprj_Point *from = in ? in + done : nullptr;
    for (const LegStep &step : steps) {
      Oprj_Point *to = &step != &steps.back() ? between : out ? out + done : nullptr;
      if (!step.leg->run(from, to, tile, reasons ? reasons + done : nullptr, e.cause()))
        return failAt(step);
      from = to;
    }
    done += tile;
  } while (done < count);
  return true;
}

}  // namespace orvik::oprj
