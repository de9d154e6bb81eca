#include "Progress.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "Output.h"

namespace zk::tool {
namespace {

constexpr auto kQuietTime = std::chrono::seconds(2);
constexpr int kBarWidth = 40;

}  // namespace

Progress::Progress(bool wanted) : enabled_(wanted && errorIsTerminal()) {}

Progress::~Progress() {
  if (drawn_) std::fprintf(stderr, "\r%*s\r", kBarWidth + 24, "");
}

void Progress::update(const char *stage, std::int64_t done, std::int64_t total) {
  if (!enabled_ || total <= 0) return;
  if (Clock::now() - start_ < kQuietTime) return;
  const auto percent = static_cast<int>(
      std::clamp(100.0 * static_cast<double>(done) / static_cast<double>(total), 0.0, 100.0));
  if (percent != lastPercent_) draw(stage, percent);
}

void Progress::draw(const char *stage, int percent) {
  lastPercent_ = percent;
  drawn_ = true;
  const auto filled = static_cast<std::size_t>(kBarWidth * percent / 100);
  const std::string bar = std::string(filled, '#') + std::string(kBarWidth - filled, '.');
  std::fprintf(stderr, "\r%-12.12s [%s] %3d%%", stage, bar.c_str(), percent);
  std::fflush(stderr);
}

LibraryProgress::LibraryProgress(bool wanted) : progress_(wanted) { zk_Db_setProgress(show, this); }

LibraryProgress::~LibraryProgress() { zk_Db_setProgress(nullptr, nullptr); }

void LibraryProgress::show(const char *stage, int64_t done, int64_t total, void *self) {
  static_cast<LibraryProgress *>(self)->progress_.update(stage, done, total);
}

}  // namespace zk::tool
