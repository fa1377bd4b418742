// bench_oprj [--points N] [--repetitions N] [--only TEXT] [families|pipeline]: tables in Markdown
// on standard output.
#include <cstdlib>
#include <cstring>
#include <string>

#include "report.h"

int main(int argc, char **argv) {
  setenv("ORVIK_PROJECTIONS_PATH", OPRJ_SOURCE_DATA, 0);
  setenv("ORVIK_DATUMS_PATH", OPRJ_SOURCE_DATA, 0);
  int points = 1000000, repetitions = 7;
  std::string only, what;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--points") == 0 && i + 1 < argc) points = std::atoi(argv[++i]);
    else if (std::strcmp(argv[i], "--repetitions") == 0 && i + 1 < argc)
      repetitions = std::atoi(argv[++i]);
    else if (std::strcmp(argv[i], "--only") == 0 && i + 1 < argc) only = argv[++i];
    else what = argv[i];
  }
  int none = 2;
  char interleave[] = "--benchmark_enable_random_interleaving=true", name[] = "bench_oprj";
  char *flags[] = {name, interleave, nullptr};
  benchmark::Initialize(&none, flags);
  if (what != "pipeline") bench::benchFamilies(repetitions, points, only);
  if (what != "families") bench::benchPipeline(repetitions, points);
}
