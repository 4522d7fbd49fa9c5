// Runs what the other files add, and prints the table of ratios, in Markdown; a mean that misses its target is bold.
// What is measured is in those files. The
// repetitions of all benchmarks come mixed, so that a drift of the machine falls on both sides: a time by itself says
// nothing.
#include "bench.h"

#include <benchmark/benchmark.h>
#include <stdio.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace {

struct Row {
  std::string name;
  double target;
  std::vector<std::string> charts;
};

std::vector<Row> rows;

std::vector<void (*)()> &files() {
  static std::vector<void (*)()> list;
  return list;
}

void add_benchmark(const std::string &name, std::function<void()> work) {
  benchmark::RegisterBenchmark(name.c_str(), [work = std::move(work)](benchmark::State &state) {
    for (auto _ : state) work();
  })->Unit(benchmark::kMicrosecond);
}

// Collects the repetitions of every benchmark, which come in random order, and prints ratios in the end.
class RatioTable : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context &) override { return true; }

  void ReportRuns(const std::vector<Run> &runs) override {
    for (const Run &run : runs)
      if (run.run_type == Run::RT_Iteration) times_[run.run_name.function_name].push_back(run.GetAdjustedCPUTime());
  }

  void Finalize() override {
    printf("| Operation |");
    for (const Chart &chart : charts()) printf(" %s |", chart.name.c_str());
    printf(" Mean | To reach |\n|---|");
    for (size_t column = 0; column < charts().size() + 2; ++column) printf("---|");
    printf("\n");
    for (const Row &row : rows) print(row);
  }

 private:
  double median(const std::string &name) {
    std::vector<double> &times = times_[name];
    if (times.empty()) return 0;
    std::nth_element(times.begin(), times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2), times.end());
    return times[times.size() / 2];
  }

  void print(const Row &row) {
    std::string text;
    double logarithms = 0;
    for (const std::string &chart : row.charts) {
      const double ratio = median(row.name + "/" + chart + "/ours") / median(row.name + "/" + chart + "/libtiff");
      if (!(ratio > 0)) return;  // left out by a filter
      char cell[16];
      snprintf(cell, sizeof cell, " %.2f |", ratio);
      text += cell;
      logarithms += std::log(ratio);
    }
    const double mean = std::exp(logarithms / static_cast<double>(row.charts.size()));
    const char *missed = mean <= row.target ? "" : "**";
    printf("| %s |%s %s%.2f%s | %.2f |\n", row.name.c_str(), text.c_str(), missed, mean, missed, row.target);
  }

  std::map<std::string, std::vector<double>> times_;
};

}  // namespace

const std::vector<Chart> &charts() {
  static const std::vector<Chart> loaded = [] {
    std::vector<Chart> result;
    for (const char *name : {"itu1", "itu4", "itu5", "itu7"}) result.push_back({name, load_chart(name)});
    return result;
  }();
  return loaded;
}

void compare(const std::string &row, double target, const std::string &chart, std::function<void()> ours,
             std::function<void()> libtiffs) {
  if (rows.empty() || rows.back().name != row) rows.push_back({row, target, {}});
  rows.back().charts.push_back(chart);
  add_benchmark(row + "/" + chart + "/ours", std::move(ours));
  add_benchmark(row + "/" + chart + "/libtiff", std::move(libtiffs));
}

Benchmarks::Benchmarks(void (*add)()) {
  files().push_back(add);
}

int main(int argc, char **argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  for (void (*add)() : files()) add();
  RatioTable table;
  benchmark::RunSpecifiedBenchmarks(&table);
  return 0;
}
