// Collects medians of the runs and writes them as a table of points per second and ratios.
#ifndef OPRJ_BENCH_REPORT_H
#define OPRJ_BENCH_REPORT_H

#include <benchmark/benchmark.h>
#include <oprj/oerr.h>
#include <oprj/values.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace bench {

/// Times of one job by peer ("avx2", "PROJ", ...): nanoseconds of processor time a point, medians.
using Times = std::map<std::string, double>;

/// One thing to measure: what a peer does with its points once.
struct Job {
  std::string peer;
  int64_t points;
  std::function<void()> run;
};

/// Runs all jobs `repetitions` times in random order and returns the medians.
Times measure(const std::vector<Job> &jobs, int repetitions);

/// "12.3" and "8.4 x"; "-" for a peer that was not measured.
std::string nanoseconds(const Times &times, const std::string &peer);
std::string ratio(const Times &times, const std::string &slow, const std::string &fast);
/// One text for every instruction set that this processor has, narrowest first.
std::string perSet(const char *separator, const std::function<std::string(const char *)> &text);
/// Millions of points per second.
std::string millions(const Times &times, const std::string &peer);
double median(std::vector<double> values);

/// Milliseconds that a step takes; a step that fails ends the benchmark.
double milliseconds(const char *what, const std::function<bool(Oerr_Report **)> &step);
/// Takes the value of a row of one run.
using AddRow = std::function<void(const char *what, const char *goal, double value)>;
/// Runs several times and writes the medians of the rows as a table.
void tellRows(const char *title, int repetitions, const std::function<void(const AddRow &)> &run);

void benchEngine(int repetitions, int points);
/// Programs and plug-ins that compute projections.
void benchExternal(int repetitions, int points);
void benchFamilies(int repetitions, int points, const std::string &only);
void benchPipeline(int repetitions, int points);
/// Self-describing records, one object each.
void benchRecords(int repetitions);
/// `grid`: the official conterminous grid for PROJ, or nothing.
void benchShifts(int repetitions, int points, const std::string &grid);

void benchNodes(int repetitions);
/// Projection libraries of 10,000 items.
void benchLibraries(int repetitions);

}  // namespace bench

#endif
