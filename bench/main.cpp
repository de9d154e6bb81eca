// The benchmarks: this library beside yardsticks that do the same work in the same run.
//
//   zk_bench [--records N] [--check | --growth] [options of Google Benchmark]
//
// --records N  scales the works down from 1,000,000 records
// --check      ends with status 1 when a ratio is over its limit
// --growth     measures instead what works with indexes cost per record, for that many records and
//              for ten times as many
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iostream>

#include "measure.h"
#include "works.h"

namespace zk::bench {

std::string withCommas(std::size_t number) {
  std::string digits = std::to_string(number);
  for (std::size_t place = digits.size(); place > 3;) digits.insert(place -= 3, 1, ',');
  return digits;
}

namespace {

struct Options {
  std::size_t records = 1'000'000;
  bool check = false;
  bool growth = false;
};

// Takes the program's own options out of the arguments.
Options parseOptions(std::vector<char *> &arguments) {
  Options options;
  std::vector<char *> others;
  for (std::size_t index = 0; index < arguments.size(); ++index) {
    if (std::strcmp(arguments[index], "--check") == 0) {
      options.check = true;
    } else if (std::strcmp(arguments[index], "--growth") == 0) {
      options.growth = true;
    } else if (std::strcmp(arguments[index], "--records") == 0 && index + 1 < arguments.size()) {
      options.records = std::stoul(arguments[++index]);
    } else {
      others.push_back(arguments[index]);
    }
  }
  require(options.records >= 10 && options.records <= 10'000'000, "--records: 10 to 10000000");
  require(!options.growth || options.records <= 1'000'000, "--growth: at most 1000000 records");
  arguments = others;
  return options;
}

// Interleaved repetitions, so that both sides of a row see the same noise. What the command line
// says comes later and wins.
void initializeBenchmark(std::vector<char *> arguments) {
  static char repetitions[] = "--benchmark_repetitions=9";
  static char interleaving[] = "--benchmark_enable_random_interleaving=true";
  arguments.insert(arguments.begin() + 1, {repetitions, interleaving});
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  require(count == 1, "unknown option");
}

class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string path = std::filesystem::temp_directory_path() / "zk_bench.XXXXXX";
    require(mkdtemp(path.data()) != nullptr, "no directory for the files");
    path_ = path;
  }
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryDirectory(const TemporaryDirectory &) = delete;
  TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;

  const std::string &path() const { return path_; }

 private:
  std::string path_;
};

Setup makeSetup(const Options &options, const std::string &directory) {
  constexpr std::size_t kRecordsPerAdditional = 50;
  constexpr int kGrowth = 10;
  const std::size_t count = options.growth ? kGrowth * options.records : options.records;
  const std::size_t additional = std::max<std::size_t>(options.records / kRecordsPerAdditional, 1);
  Setup setup{generateRecords(count + additional), {}, directory};
  setup.additional.assign(setup.records.end() - static_cast<std::ptrdiff_t>(additional),
                          setup.records.end());
  setup.records.resize(count);
  return setup;
}

int run(std::vector<char *> arguments) {
  const Options options = parseOptions(arguments);
  initializeBenchmark(arguments);
  const TemporaryDirectory directory;
  const Setup setup = makeSetup(options, directory.path());
  Report report;
  if (options.growth) {
    addGrowth(setup, options.records, report);
  } else {
    addAppending(setup, report);
    addWalking(setup, report);
    addCursors(setup, report);
    addIndexes(setup, report);
    addLists(setup, report);
    addFields(setup, report);
    addGeometry(setup, report);
  }
  benchmark::RunSpecifiedBenchmarks(&report);
  report.printTables(std::cout);
  return report.failed() || (options.check && !report.withinLimits()) ? 1 : 0;
}

}  // namespace
}  // namespace zk::bench

int main(int argc, char **argv) {
  try {
    return zk::bench::run({argv, argv + argc});
  } catch (const std::exception &error) {
    std::fprintf(stderr, "zk_bench: %s\n", error.what());
    return 1;
  }
}
