// One measurement: a piece of work in a child process of its own, so that no side inherits the
// heap, the caches or the open files that another one leaves behind.
#pragma once

#include <cstddef>
#include <functional>
#include <stdexcept>
#include <string>

namespace zk::bench {

// Processor time of this process, the system's work for it included. With every file in the page
// cache nothing has to wait, and what other programs do meanwhile does not count. The time by the
// clock is kept beside it.
class Stopwatch {
 public:
  void start();
  void stop();
  double seconds() const { return seconds_; }
  double clockSeconds() const { return clockSeconds_; }

 private:
  double seconds_ = 0;
  double clockSeconds_ = 0;
};

// Does the work, between start and stop of the watch, and returns a checksum of what it met.
// Failures are thrown.
using Work = std::function<double(Stopwatch &watch)>;

inline void require(bool condition, const char *what) {
  if (!condition) throw std::runtime_error(what);
}

// Lets the process keep a heap of that size whose pages are in place. The first touch of a page
// costs what the machine happens to make of it, several times the price of the allocation itself.
void growHeap(std::size_t bytes);

// The same for the pages of files: writes a file of that size in large pieces and removes it.
void growPageCache(const std::string &path, std::size_t bytes);

// Has the pages of a file that is there in the page cache: the system may have given up those that
// nobody has read for a while.
void readThrough(const std::string &path);

// Reads something of each page. A child process pays for the first access to every page that it has
// from its parent, which is no part of any work.
void touch(const void *data, std::size_t bytes);

// Runs the work in a child process. Throws when the work failed or came to another checksum than
// `expected`.
Stopwatch measureInChild(const Work &work, double expected);

// Makes the work known to Google Benchmark; a repetition is one measurement. `repetitions` 0 leaves
// their number to the command line.
void addBenchmark(const std::string &name, const Work &work, double expected, int repetitions = 0);

}  // namespace zk::bench
