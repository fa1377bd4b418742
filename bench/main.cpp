// bench_oprj [--points N] [--repetitions N] [--only TEXT] [--grid FILE]
// [engine|families|pipeline|records|shifts|nodes]: tables in Markdown on standard output. The grid
// is PROJ's for the shifts.
#include <cstdlib>
#include <cstring>
#include <string>

#include "report.h"

int main(int argc, char **argv) {
  setenv("ORVIK_PROJECTIONS_PATH", OPRJ_SOURCE_DATA, 0);
  setenv("ORVIK_DATUMS_PATH", OPRJ_SOURCE_DATA, 0);
  int points = 1000000, repetitions = 7;
  std::string only, grid, what;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--points") == 0 && i + 1 < argc) points = std::atoi(argv[++i]);
    else if (std::strcmp(argv[i], "--repetitions") == 0 && i + 1 < argc)
      repetitions = std::atoi(argv[++i]);
    else if (std::strcmp(argv[i], "--only") == 0 && i + 1 < argc) only = argv[++i];
    else if (std::strcmp(argv[i], "--grid") == 0 && i + 1 < argc) grid = argv[++i];
    else what = argv[i];
  }
  int none = 2;
  char interleave[] = "--benchmark_enable_random_interleaving=true", name[] = "bench_oprj";
  char *flags[] = {name, interleave, nullptr};
  benchmark::Initialize(&none, flags);
  const auto wanted = [&](const char *part) { return what.empty() || what == part; };
  if (wanted("engine")) bench::benchEngine(repetitions, points);
  if (wanted("families")) bench::benchFamilies(repetitions, points, only);
  if (wanted("pipeline")) bench::benchPipeline(repetitions, points);
  if (wanted("records")) bench::benchRecords(repetitions);
  if (wanted("shifts")) bench::benchShifts(repetitions, points, grid);
  if (wanted("nodes")) bench::benchNodes(repetitions);
}
