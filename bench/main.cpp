// bench_oprj [--points N] [--repetitions N] [--only TEXT] [--grid FILE] [PART]: tables in Markdown
// on standard output, of all parts or of one. The grid is PROJ's for the shifts.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "report.h"

namespace {

struct Options {
  int points = 1000000, repetitions = 7;
  std::string only, grid, part;
};

struct Part {
  const char *name, *title;
  void (*run)(const Options &);
};
constexpr Part kParts[] = {
    {"families", "Families",
     [](const Options &o) { bench::benchFamilies(o.repetitions, o.points, o.only); }},
    {"pipeline", "Whole jobs",
     [](const Options &o) { bench::benchPipeline(o.repetitions, o.points); }},
    {"shifts", "Datum shifts",
     [](const Options &o) { bench::benchShifts(o.repetitions, o.points, o.grid); }},
    {"engine", "Systems of the Projection Engine",
     [](const Options &o) { bench::benchEngine(o.repetitions, o.points); }},
    {"records", "Self-describing records",
     [](const Options &o) { bench::benchRecords(o.repetitions); }},
    {"external", "External projections",
     [](const Options &o) { bench::benchExternal(o.repetitions, o.points); }},
    {"nodes", "Node files", [](const Options &o) { bench::benchNodes(o.repetitions); }},
    {"libraries", "Projection libraries",
     [](const Options &o) { bench::benchLibraries(o.repetitions); }},
};

}  // namespace

int main(int argc, char **argv) {
  setenv("ORVIK_PROJECTIONS_PATH", OPRJ_SOURCE_DATA, 0);
  setenv("ORVIK_DATUMS_PATH", OPRJ_SOURCE_DATA, 0);
  Options options;
  for (int i = 1; i < argc; ++i) {
    const char *const value = i + 1 < argc ? argv[i + 1] : nullptr;
    const auto is = [&](const char *name) { return value && std::strcmp(argv[i], name) == 0; };
    if (is("--points")) options.points = std::atoi(argv[++i]);
    else if (is("--repetitions")) options.repetitions = std::atoi(argv[++i]);
    else if (is("--only")) options.only = argv[++i];
    else if (is("--grid")) options.grid = argv[++i];
    else options.part = argv[i];
  }
  int none = 2;
  char interleave[] = "--benchmark_enable_random_interleaving=true", name[] = "bench_oprj";
  char *flags[] = {name, interleave, nullptr};
  benchmark::Initialize(&none, flags);
  bool known = false;
  for (const Part &part : kParts) {
    if (!options.part.empty() && options.part != part.name) continue;
    known = true;
    std::printf("## %s\n\n", part.title);
    part.run(options);
    std::printf("\n");
    std::fflush(stdout);
  }
  if (!known) std::fprintf(stderr, "no part is called \"%s\"\n", options.part.c_str());
  return known ? 0 : 1;
}
