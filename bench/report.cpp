#include "report.h"

#include <cstdio>
#include <ostream>

namespace zk::bench {
namespace {

std::string formatted(const char *format, double value) {
  char text[40];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

std::string formattedNanoseconds(double milliseconds, double operations) {
  return formatted("%.0f ns", milliseconds * 1e6 / operations);
}

}  // namespace

void Report::ReportRuns(const std::vector<Run> &runs) {
  for (const Run &run : runs) {
    failed_ = failed_ || run.error_occurred;
    // A single repetition has no aggregates.
    const bool counts = run.run_type == Run::RT_Iteration || run.aggregate_name == "median";
    if (counts && !run.error_occurred) {
      milliseconds_[run.run_name.function_name] = run.GetAdjustedRealTime();
    }
  }
  ConsoleReporter::ReportRuns(runs);
}

double Report::ratio(const Comparison &comparison) const {
  const auto ours = milliseconds_.find(comparison.ours);
  const auto yardstick = milliseconds_.find(comparison.yardstick);
  if (ours == milliseconds_.end() || yardstick == milliseconds_.end()) return -1;
  return ours->second / yardstick->second;
}

void Report::printTables(std::ostream &out) const {
  if (!comparisons_.empty()) printComparisons(out);
  if (!growths_.empty()) printGrowths(out);
}

void Report::printComparisons(std::ostream &out) const {
  out << "\n| work | this library | yardstick | ratio | limit |\n|---|---|---|---|---|\n";
  for (const Comparison &comparison : comparisons_) {
    const double measured = ratio(comparison);
    if (measured < 0) continue;
    out << "| " << comparison.work << " | "
        << formatted("%.0f ms", milliseconds_.at(comparison.ours)) << " | "
        << comparison.yardstickName << formatted(" %.0f ms", milliseconds_.at(comparison.yardstick))
        << " | " << formatted("%.2f", measured) << " | "
        << (comparison.limit > 0 ? formatted("%.2f", comparison.limit) : "") << " |\n";
  }
}

void Report::printGrowths(std::ostream &out) const {
  out << "\n| work | of " << few_ << " | of " << many_ << " | growth |\n|---|---|---|---|\n";
  for (const Growth &growth : growths_) {
    const auto few = milliseconds_.find(growth.few);
    const auto many = milliseconds_.find(growth.many);
    if (few == milliseconds_.end() || many == milliseconds_.end()) continue;
    const double factor =
        many->second / growth.manyOperations / (few->second / growth.fewOperations);
    out << "| " << growth.work << " | " << formattedNanoseconds(few->second, growth.fewOperations)
        << " | " << formattedNanoseconds(many->second, growth.manyOperations) << " | "
        << formatted("%.2f", factor) << " |\n";
  }
}

bool Report::withinLimits() const {
  if (failed_) return false;
  for (const Comparison &comparison : comparisons_) {
    if (comparison.limit > 0 && ratio(comparison) > comparison.limit) return false;
  }
  return true;
}

}  // namespace zk::bench
