#include "report.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "lanes/kernels.h"

namespace bench {
namespace {

/// Keeps the medians, prints nothing.
class Collector : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context &) override { return true; }
  void ReportRuns(const std::vector<Run> &runs) override {
    for (const Run &run : runs) {
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")
        times[run.run_name.function_name] =
            run.cpu_accumulated_time / static_cast<double>(run.iterations);
      if (run.run_type == Run::RT_Iteration)
        samples[run.run_name.function_name].push_back(run.cpu_accumulated_time /
                                                      static_cast<double>(run.iterations));
    }
  }
  Times times;
  std::map<std::string, std::vector<double>> samples;
};

}  // namespace

double median(std::vector<double> values) {
  if (values.empty()) return 0.0;
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

Times measure(const std::vector<Job> &jobs, int repetitions) {
  benchmark::ClearRegisteredBenchmarks();
  for (const Job &job : jobs) {
    benchmark::RegisterBenchmark(job.peer.c_str(),
                                 [run = job.run](benchmark::State &state) {
                                   for (auto _ : state) run();
                                 })
        ->Iterations(1)
        ->Repetitions(repetitions);
  }
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  Times times;
  for (const Job &job : jobs) {
    for (const auto &[name, samples] : collector.samples) {
      if (name == job.peer)
        times[job.peer] = median(samples) * 1e9 / static_cast<double>(job.points);
    }
  }
  return times;
}

std::string nanoseconds(const Times &times, const std::string &peer) {
  if (!times.count(peer)) return "-";
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", times.at(peer));
  return text;
}

std::string ratio(const Times &times, const std::string &slow, const std::string &fast) {
  if (!times.count(slow) || !times.count(fast)) return "-";
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", times.at(slow) / times.at(fast));
  return text;
}

std::string perSet(const char *separator, const std::function<std::string(const char *)> &text) {
  std::string all;
  for (int32_t set = 0; set <= orvik::oprj::widestInstructionSet(); ++set)
    all += (set ? separator : "") + text(orvik::oprj::instructionSetName(set));
  return all;
}

std::string millions(const Times &times, const std::string &peer) {
  if (!times.count(peer)) return "-";
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", 1e3 / times.at(peer));
  return text;
}

double milliseconds(const char *what, const std::function<bool(Oerr_Report **)> &step) {
  Oerr_Report *report = nullptr;
  const auto begin = std::chrono::steady_clock::now();
  const bool done = step(&report);
  const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - begin;
  if (!done) {
    std::fprintf(stderr, "%s failed\n", what);
    oerr_PrintErrorReport(report);
    std::exit(1);
  }
  return took.count();
}

void tellRows(const char *title, int repetitions, const std::function<void(const AddRow &)> &run) {
  struct Row {
    const char *what, *goal;
    std::vector<double> values;
  };
  std::vector<Row> rows;
  for (int i = 0; i < repetitions; ++i) {
    size_t row = 0;
    run([&](const char *what, const char *goal, double value) {
      if (rows.size() == row) rows.push_back({what, goal, {}});
      rows[row++].values.push_back(value);
    });
  }
  std::printf("| %s | median | goal |\n|---|---|---|\n", title);
  for (const Row &row : rows)
    std::printf("| %s | %.3f | %s |\n", row.what, median(row.values), row.goal);
}

}  // namespace bench
