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

class Report : public benchmark::ConsoleReporter {
 public:
  Report() : ConsoleReporter(OO_Defaults) {}

  void add(Comparison comparison) { comparisons_.push_back(std::move(comparison)); }

  void ReportRuns(const std::vector<Run> &runs) override;

  // Prints a Markdown table of the rows whose two sides were measured.
  void printTable(std::ostream &out) const;

  // No benchmark failed, and no ratio is over its limit.
  bool withinLimits() const;
  bool failed() const { return failed_; }

 private:
  // Negative when a side was not measured.
  double ratio(const Comparison &comparison) const;

  std::vector<Comparison> comparisons_;
  std::map<std::string, double> milliseconds_;  // by benchmark name
  bool failed_ = false;
};

}  // namespace zk::bench
