// oprj project --binary.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "project.h"

namespace program {

void runBinary(const JobParts &parts, const std::string &path) {
  Input input(path);
  Progress progress;
  std::vector<Oprj_Point> points(kBatch);
  std::vector<Failure> failures;
  char *const bytes = reinterpret_cast<char *>(points.data());
  int64_t total = 0;
  size_t held = 0;
  for (bool ended = false; !ended;) {
    const size_t got = input.read(bytes + held, points.size() * sizeof(Oprj_Point) - held);
    progress.show(input);
    ended = got == 0;
    held += got;
    const size_t whole = held / sizeof(Oprj_Point);
    if (!ended && whole < points.size() && input.ready()) continue;
    const auto count = static_cast<int32_t>(whole);
    failures.clear();
    for (int32_t i = 0; i < count; ++i) {
      Oprj_Point &point = points[static_cast<size_t>(i)];
      if (const char *reason = implausible(point, parts.from.geographic, parts.from.unitFactor)) {
        point = {NAN, NAN};
        failures.push_back({i, reason, ""});
      }
    }
    const std::vector<Failure> &refused = parts.projector.project(points.data(), count);
    failures.insert(failures.end(), refused.begin(), refused.end());
    std::sort(failures.begin(), failures.end(),
              [](const Failure &a, const Failure &b) { return a.index < b.index; });
    for (const Failure &failure : failures)
      parts.tally.addFailure(input.name(), total + failure.index + 1, 1, failure.cause,
                             failure.chain);
    parts.output.put({bytes, whole * sizeof(Oprj_Point)});
    parts.tally.addPoints(count);
    total += count;
    held -= whole * sizeof(Oprj_Point);
    std::memmove(bytes, bytes + whole * sizeof(Oprj_Point), held);
    if (!ended && !input.ready()) parts.output.flush();  // what waits for more is shown meanwhile
  }
  if (held != 0)
    throw Stop(kInputOutput, input.name() + ": ends in the middle of a point (" +
                                 std::to_string(held) + " bytes are left over)");
}

}  // namespace program
