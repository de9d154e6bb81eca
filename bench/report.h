// The table of ratios that follows Google Benchmark's own output.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace zk::bench {

// One row: the median time of the benchmark `ours` over that of the benchmark `yardstick`.
struct Comparison {
  std::string work;
  std::string ours;
  std::string yardstick;
  std::string yardstickName;
  double limit;  // 0: none
};

// The same work in a small and in a large table, and how often each does what the row is about.
struct Growth {
  std::string work;
  std::string few;
  std::string many;
  double fewOperations;
  double manyOperations;
};

class Report : public benchmark::ConsoleReporter {
 public:
  Report() : ConsoleReporter(OO_Defaults) {}

  void add(Comparison comparison) { comparisons_.push_back(std::move(comparison)); }
  void add(Growth growth) { growths_.push_back(std::move(growth)); }
  // What the columns of growths are called.
  void setSizes(std::string few, std::string many) {
    few_ = std::move(few);
    many_ = std::move(many);
  }

  void ReportRuns(const std::vector<Run> &runs) override;

  // Prints Markdown tables of the rows whose two sides were measured.
  void printTables(std::ostream &out) const;

  // No benchmark failed, and no ratio is over its limit.
  bool withinLimits() const;
  bool failed() const { return failed_; }

 private:
  void printComparisons(std::ostream &out) const;
  void printGrowths(std::ostream &out) const;
  // Negative when a side was not measured.
  double ratio(const Comparison &comparison) const;

  std::vector<Comparison> comparisons_;
  std::vector<Growth> growths_;
  std::string few_;
  std::string many_;
  std::map<std::string, double> milliseconds_;  // by benchmark name
  bool failed_ = false;
};

}  // namespace zk::bench
