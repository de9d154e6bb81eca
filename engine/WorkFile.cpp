#include "engine/WorkFile.h"

#include <cstdio>
#include <ctime>

#include "platform/FileSystem.h"
#include "platform/System.h"

namespace zk::engine {
namespace {

using platform::IoStatus;

constexpr int kMostNames = 100;
constexpr std::int64_t kNames = 10000;
constexpr std::uint32_t kPauseMicroseconds = 10000;

base::String nameOf(std::int64_t second) {
  char name[16];
  std::snprintf(name, sizeof name, "TEMP%04d.TMP", static_cast<int>(second % kNames));
  return base::String(name);
}

std::int64_t secondsNow() noexcept { return static_cast<std::int64_t>(std::time(nullptr)); }

}  // namespace

WorkFile::WorkFile(Context &context) noexcept
    : WorkFile(context, {secondsNow, platform::waitMicroseconds}) {}

WorkFile::~WorkFile() {
  if (!handle_.valid()) return;
  // Where open files can be removed it still is ours then.
  if (!platform::hasShareModes()) platform::removeFile(path_.c_str());
  platform::closeFile(handle_);
  if (platform::hasShareModes()) platform::removeFile(path_.c_str());
}

bool WorkFile::waitForNextSecond(std::int64_t second) noexcept {
  while (clock_.seconds() == second) {
    if (!clock_.wait(kPauseMicroseconds)) return false;
  }
  return true;
}

int WorkFile::create() {
  if (handle_.valid()) return kOk;
  base::String directory;
  for (int i = 0; i < kMostNames; ++i) {
    const std::int64_t second = clock_.seconds();
    path_ = directory + nameOf(second);
    const IoStatus status =
        platform::openFile(path_.c_str(), platform::Access::kReadWrite,
                           platform::Creation::kCreateNew, platform::Sharing::kNone, handle_);
    if (status == IoStatus::kOk) return kOk;
    if (status == IoStatus::kExists) {
      if (!waitForNextSecond(second)) break;
    } else if (directory.empty()) {
      directory = platform::temporaryDirectory();
    } else {
      break;
    }
  }
  return context_.fail(kErrCreating, "Temporary Working File");
}

int WorkFile::read(std::uint64_t offset, void *data, std::size_t size) noexcept {
  std::size_t got = 0;
  const IoStatus status = platform::readAt(handle_, offset, data, size, got);
  if (status == IoStatus::kOk && got == size) return kOk;
  return context_.fail(kErrReading, path_.c_str());
}

int WorkFile::write(std::uint64_t offset, const void *data, std::size_t size) noexcept {
  if (platform::writeAt(handle_, offset, data, size) == IoStatus::kOk) return kOk;
  return context_.fail(kErrWriting, path_.c_str());
}

}  // namespace zk::engine
