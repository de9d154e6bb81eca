// The lock of a change lies on the file itself: an open-file-description lock, which ends with its
// process. As a change puts another file in its place, who gets a lock looks whether what he locked
// is still the file of that name. A missing file is made, empty, to be locked.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>
#include <utility>

#include "component/System.h"

namespace zk::component {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kPatience = std::chrono::seconds(10);
constexpr auto kFirstPause = std::chrono::microseconds(50);
constexpr auto kLongestPause = std::chrono::milliseconds(5);
constexpr std::int64_t kSecond = 1'000'000'000;
// Two seconds is the coarsest step of file times in use.
constexpr std::int64_t kSettled = 2 * kSecond;

constexpr mode_t kPermissions = 07777;
constexpr mode_t kAnyWriter = 0222;

class Descriptor {
 public:
  explicit Descriptor(int value = -1) : value_(value) {}
  Descriptor(Descriptor &&other) noexcept : value_(std::exchange(other.value_, -1)) {}
  Descriptor &operator=(Descriptor &&other) noexcept {
    std::swap(value_, other.value_);
    return *this;
  }
  ~Descriptor() {
    if (value_ != -1) ::close(value_);
  }
  int get() const { return value_; }
  bool ok() const { return value_ != -1; }

 private:
  int value_;
};

std::int64_t nanoseconds(const timespec &time) { return time.tv_sec * kSecond + time.tv_nsec; }

FileStamp stampFrom(const struct stat &status) {
  return {status.st_dev, status.st_ino, static_cast<std::uint64_t>(status.st_size),
          nanoseconds(status.st_mtim), nanoseconds(status.st_ctim)};
}

bool isSettled(const FileStamp &stamp) {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  return nanoseconds(now) - stamp.changed > kSettled;
}

bool readAll(int file, std::string &text) {
  std::size_t length = 0;
  for (;;) {
    text.resize(std::max<std::size_t>(4096, length * 2));
    const ssize_t got = ::read(file, text.data() + length, text.size() - length);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return false;
    if (got == 0) break;
    length += static_cast<std::size_t>(got);
  }
  text.resize(length);
  return true;
}

bool writeAll(int file, std::string_view text) {
  off_t offset = 0;
  while (!text.empty()) {
    const ssize_t put = ::pwrite(file, text.data(), text.size(), offset);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    offset += put;
    text.remove_prefix(static_cast<std::size_t>(put));
  }
  return true;
}

// Whether the name still leads to the open file.
bool isStill(const Path &path, const struct stat &opened) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 && status.st_dev == opened.st_dev &&
         status.st_ino == opened.st_ino;
}

bool waitForLock(int file, Clock::time_point end) {
  struct flock whole = {};
  whole.l_type = F_WRLCK;
  whole.l_whence = SEEK_SET;
  std::chrono::microseconds pause = kFirstPause;
  while (fcntl(file, F_OFD_SETLK, &whole) != 0) {
    if (errno != EAGAIN && errno != EACCES && errno != EINTR) return false;
    if (Clock::now() > end) return false;
    std::this_thread::sleep_for(pause);
    pause = std::min<std::chrono::microseconds>(pause * 2, kLongestPause);
  }
  return true;
}

// What a link leads to is replaced, not the link.
Path behindLinks(const Path &path) {
  std::error_code failed;
  Path target = std::filesystem::canonical(path, failed);
  return failed ? path : target;
}

}  // namespace

std::optional<FileStamp> stampOf(const Path &path) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return stampFrom(status);
}

std::optional<FileContent> readFile(const Path &path) {
  // O_NONBLOCK: a named pipe would block.
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status;
  if (!file.ok() || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
    return std::nullopt;
  }
  FileContent content;
  content.stamp = stampFrom(status);
  content.settled = isSettled(content.stamp);
  if (!readAll(file.get(), content.text)) return std::nullopt;
  return content;
}

struct FileChange::State {
  Path target;
  Path temporary;
  Descriptor locked;
  struct stat status = {};
  bool made = false;  // by this change, and still empty

  // One try; false: it failed for good. Without a lock then: somebody replaced the file meanwhile.
  bool lock(Clock::time_point end) {
    bool isNew = false;
    Descriptor file(::open(target.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK));
    if (!file.ok() && errno == ENOENT) {
      file = Descriptor(::open(target.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
      isNew = file.ok();
      if (!isNew && errno == EEXIST) return true;
    }
    if (!file.ok() || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
    // For the superuser as well.
    if ((status.st_mode & kAnyWriter) == 0) return false;
    if (!waitForLock(file.get(), end)) return false;
    if (!isStill(target, status)) return Clock::now() < end;
    made = isNew;
    locked = std::move(file);
    return true;
  }

  bool writeTemporary(std::string_view text) const {
    // One that a killed process left.
    ::unlink(temporary.c_str());
    const Descriptor file(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!file.ok()) return false;
    // Another owner's file stays his, and his group's, where the system allows it.
    [[maybe_unused]] int refused = fchown(file.get(), static_cast<uid_t>(-1), status.st_gid);
    refused = fchown(file.get(), status.st_uid, static_cast<gid_t>(-1));
    return fchmod(file.get(), status.st_mode & kPermissions) == 0 && writeAll(file.get(), text) &&
           fdatasync(file.get()) == 0;
  }
};

FileChange::FileChange(const Path &path) : state_(std::make_unique<State>()) {
  if (path.empty()) return;
  state_->target = behindLinks(path);
  state_->temporary = state_->target;
  state_->temporary += ".tmp";
  const auto end = Clock::now() + kPatience;
  while (state_->lock(end) && !state_->locked.ok()) continue;
}

FileChange::~FileChange() {
  if (state_->made && isStill(state_->target, state_->status)) ::unlink(state_->target.c_str());
}

std::optional<std::string> FileChange::text() const {
  std::string text;
  if (!state_->locked.ok() || !readAll(state_->locked.get(), text)) return std::nullopt;
  return text;
}

bool FileChange::replaceWith(std::string_view text) {
  if (state_->writeTemporary(text) &&
      ::rename(state_->temporary.c_str(), state_->target.c_str()) == 0) {
    state_->made = false;
    return true;
  }
  ::unlink(state_->temporary.c_str());
  return false;
}

}  // namespace zk::component
