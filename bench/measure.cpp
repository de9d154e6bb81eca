#include "measure.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <malloc.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <limits>
#include <vector>

namespace zk::bench {
namespace {

constexpr std::size_t kPage = 4096;

struct Outcome {
  Stopwatch watch;
  double checksum;
  char error[200];
};

Outcome perform(const Work &work) {
  Outcome outcome{};
  try {
    outcome.checksum = work(outcome.watch);
  } catch (const std::exception &error) {
    std::snprintf(outcome.error, sizeof outcome.error, "%s", error.what());
  }
  return outcome;
}

[[noreturn]] void performAndExit(const Work &work, int output) {
  const Outcome outcome = perform(work);
  const bool written = write(output, &outcome, sizeof outcome) == sizeof outcome;
  _exit(written ? 0 : 1);
}

double now(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

}  // namespace

void Stopwatch::start() {
  clockSeconds_ -= now(CLOCK_MONOTONIC);
  seconds_ -= now(CLOCK_PROCESS_CPUTIME_ID);
}

void Stopwatch::stop() {
  seconds_ += now(CLOCK_PROCESS_CPUTIME_ID);
  clockSeconds_ += now(CLOCK_MONOTONIC);
}

void touch(const void *data, std::size_t bytes) {
  const auto *pages = static_cast<const volatile char *>(data);
  for (std::size_t place = 0; place < bytes; place += kPage) (void)pages[place];
}

void growHeap(std::size_t bytes) {
  mallopt(M_MMAP_MAX, 0);                                      // from the heap, and
  mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());  // never given back
  auto *block = static_cast<volatile char *>(std::malloc(bytes));
  require(block != nullptr, "no memory");
  for (std::size_t place = 0; place < bytes; place += kPage) block[place] = 0;
  std::free(const_cast<char *>(block));
}

void growPageCache(const std::string &path, std::size_t bytes) {
  const std::vector<char> piece(1024 * 1024);
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  bool written = file >= 0;
  for (std::size_t place = 0; written && place < bytes; place += piece.size()) {
    written = write(file, piece.data(), piece.size()) == static_cast<ssize_t>(piece.size());
  }
  close(file);
  unlink(path.c_str());
  require(written, "cannot write");
}

void readThrough(const std::string &path) {
  std::vector<char> piece(1024 * 1024);
  const int file = open(path.c_str(), O_RDONLY);
  ssize_t got = file >= 0 ? 1 : -1;
  while (got > 0) got = read(file, piece.data(), piece.size());
  close(file);
  require(got == 0, "cannot read the input");
}

Stopwatch measureInChild(const Work &work, double expected) {
  int ends[2];
  require(pipe(ends) == 0, "no pipe");
  const pid_t child = fork();
  require(child >= 0, "no child process");
  if (child == 0) performAndExit(work, ends[1]);
  close(ends[1]);
  Outcome outcome{};
  const bool complete = read(ends[0], &outcome, sizeof outcome) == sizeof outcome;
  close(ends[0]);
  waitpid(child, nullptr, 0);
  require(complete, "the child process died");
  require(outcome.error[0] == '\0', outcome.error);
  require(outcome.checksum == expected, "wrong checksum");
  return outcome.watch;
}

void addBenchmark(const std::string &name, const Work &work, double expected, int repetitions) {
  const auto repetition = [work, expected](benchmark::State &state) {
    for (auto _ : state) {
      try {
        const Stopwatch watch = measureInChild(work, expected);
        state.SetIterationTime(watch.seconds());
        state.counters["clock_ms"] = watch.clockSeconds() * 1000;
      } catch (const std::exception &error) {
        state.SkipWithError(error.what());
        break;
      }
    }
  };
  auto *added = benchmark::RegisterBenchmark(name.c_str(), repetition);
  added->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond)->ReportAggregatesOnly();
  if (repetitions > 0) added->Repetitions(repetitions);
}

}  // namespace zk::bench
