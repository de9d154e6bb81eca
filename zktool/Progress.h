// A progress bar on standard error for work that takes longer than about two seconds. Draws nothing
// unless standard error is a terminal.
#pragma once

#include <chrono>
#include <cstdint>

#include "zk_baselib.h"

namespace zk::tool {

class Progress {
 public:
  explicit Progress(bool wanted = true);
  ~Progress();  // removes the bar
  Progress(const Progress &) = delete;
  Progress &operator=(const Progress &) = delete;

  // Cheap enough to be called for every record.
  void update(const char *stage, std::int64_t done, std::int64_t total);

 private:
  using Clock = std::chrono::steady_clock;
  void draw(const char *stage, int percent);

  bool enabled_;
  bool drawn_ = false;
  int lastPercent_ = -1;
  Clock::time_point start_ = Clock::now();
};

// Shows what the library reports of its work, as long as this exists.
class LibraryProgress {
 public:
  explicit LibraryProgress(bool wanted = true);
  ~LibraryProgress();
  LibraryProgress(const LibraryProgress &) = delete;
  LibraryProgress &operator=(const LibraryProgress &) = delete;

 private:
  static void ZK_CALL show(const char *stage, int64_t done, int64_t total, void *self);

  Progress progress_;
};

}  // namespace zk::tool
