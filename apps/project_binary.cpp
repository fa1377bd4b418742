// oprj project --binary.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "project.h"
#include "project_input.h"

namespace program {

void runBinary(const JobParts &parts, const std::string &path) {
  const Range range =
      parts.part ? rangeOf(path, parts.part, Input::Kind::kBytes, parts.console) : Range();
  Input input(path, Input::Kind::kBytes, parts.console, range);
  Progress progress(parts.console);
  // many for each thread, so that sharing them out pays
  const int32_t most = parts.threads > 1 ? parts.threads * 16 * kBatch : kBatch;
  std::vector<Oprj_Point> points(static_cast<size_t>(most));
  Projector::Work work;
  char *const bytes = reinterpret_cast<char *>(points.data());
  const auto swapAll = [&points](size_t count) {
    for (size_t i = 0; i < count; ++i) std::swap(points[i].x, points[i].y);
  };
  int64_t total = range.begin / static_cast<int64_t>(sizeof(Oprj_Point));
  size_t held = 0;
  for (bool ended = false; !ended;) {
    const size_t got = input.read(bytes + held, points.size() * sizeof(Oprj_Point) - held);
    progress.show(input);
    ended = got == 0;
    held += got;
    const size_t whole = held / sizeof(Oprj_Point);
    if (!ended && whole < points.size() && input.ready()) continue;
    Told told;
    told.points = static_cast<int64_t>(whole);
    if (parts.swapIn) swapAll(whole);
    for (size_t i = 0; i < whole; ++i) {
      const Doubt doubt = implausible(points[i], parts.from.geographic, parts.from.unitFactor);
      if (!doubt.reason) continue;
      points[i] = {NAN, NAN};
      told.failures.push_back({total + static_cast<int64_t>(i) + 1, 1, doubt.reason});
    }
    parts.projector.project(points.data(), static_cast<int32_t>(whole), work, told, parts.threads);
    for (const Failure &failure : work.failures)
      told.failures.push_back({total + failure.index + 1, 1, failure.cause});
    std::sort(told.failures.begin(), told.failures.end(),
              [](const Told::Line &a, const Told::Line &b) { return a.line < b.line; });
    parts.tally.add(input.name(), told);
    if (parts.swapOut) swapAll(whole);
    parts.output.put({bytes, whole * sizeof(Oprj_Point)});
    total += told.points;
    held -= whole * sizeof(Oprj_Point);
    std::memmove(bytes, bytes + whole * sizeof(Oprj_Point), held);
  }
  if (held != 0)
    throw Stop(kInputOutput, input.name() + ": ends in the middle of a point (" +
                                 std::to_string(held) + " bytes are left over)");
}

}  // namespace program
