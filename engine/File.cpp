#include "engine/File.h"

#include "platform/System.h"

namespace zk::engine {
namespace {

using platform::IoStatus;
using platform::LockKind;

RangeLock *heldLocks = nullptr;

const Table *worked = nullptr;
struct WaitingCall {
  const Table *table;
  const WaitingCall *outer;
};
const WaitingCall *waitingCalls = nullptr;

constexpr std::uint32_t kFirstPauseMicroseconds = 20;
constexpr std::uint32_t kLongestPauseMicroseconds = 5000;
// A file may be replaced between opening and locking it; more often than this means trouble.
constexpr int kOpenTries = 100;

platform::Sharing sharingOf(OpenMode mode) {
  switch (mode) {
    case OpenMode::kExclusive:
      return platform::Sharing::kNone;
    case OpenMode::kDenyWrite:
      return platform::Sharing::kReaders;
    case OpenMode::kShared:
      break;
  }
  return platform::Sharing::kAll;
}

}  // namespace

int File::refused(int code, const char *text) noexcept {
  return context_->fail(code, path_.c_str(), text);
}

void File::refreshOthersMayWrite() noexcept {
  // A read-only handle cannot keep writers out, whatever its mode.
  othersMayWrite_ = mode_ == OpenMode::kShared || (readOnly_ && !platform::hasShareModes());
}

// Shared presence for an ordinary opener, sole presence for an exclusive one; likewise for the
// right to write. A read-only handle can only hold shared locks.
IoStatus File::takePresence() noexcept {
  if (!presence_ || platform::hasShareModes()) return IoStatus::kOk;
  const bool alone = mode_ == OpenMode::kExclusive && !readOnly_;
  IoStatus status = platform::lockRange(handle_, kPresenceByte, 1,
                                        alone ? LockKind::kExclusive : LockKind::kShared);
  if (status != IoStatus::kOk || readOnly_) return status;
  return platform::lockRange(handle_, kWriterByte, 1,
                             mode_ == OpenMode::kShared ? LockKind::kShared : LockKind::kExclusive);
}

// Opens and announces the presence; kLocked when the other openers do not go with that.
IoStatus File::openAs(const char *path, platform::Access access,
                      platform::Creation creation) noexcept {
  readOnly_ = access == platform::Access::kRead;
  IoStatus status = platform::openFile(path, access, creation, sharingOf(mode_), handle_);
  if (status != IoStatus::kOk) return status;
  status = takePresence();
  if (status == IoStatus::kOk) status = platform::identifyFile(handle_, identity_);
  if (status != IoStatus::kOk) platform::closeFile(handle_);
  return status;
}

// Opens, announces the presence, and makes sure that the path still leads to the file that was
// opened: another program may have put a new file in its place meanwhile.
int File::openHandle(const char *path, platform::Access access, platform::Creation creation,
                     OpenMode mode) noexcept {
  mode_ = mode;
  const bool existing = creation == platform::Creation::kOpenExisting;
  const bool fallback =
      existing && access == platform::Access::kReadWrite && context_->settings.readOnlyFallback;
  for (int i = 0; i < kOpenTries; ++i) {
    IoStatus status = openAs(path, access, creation);
    // Where another program denies writing a shared opener can still read.
    const bool writingDenied =
        status == IoStatus::kDenied || (status == IoStatus::kLocked && mode == OpenMode::kShared);
    if (writingDenied && fallback) status = openAs(path, platform::Access::kRead, creation);
    if (status != IoStatus::kOk) break;

    platform::FileIdentity atPath;
    if (platform::identifyPath(path, atPath) == IoStatus::kOk && atPath == identity_) {
      refreshOthersMayWrite();
      return kOk;
    }
    platform::closeFile(handle_);
  }
  return refused(existing ? kErrOpening : kErrCreating);
}

int File::open(Context &context, const char *path, OpenMode mode, bool presence) {
  close();
  context_ = &context;
  path_ = path;
  presence_ = presence;
  readOnly_ = false;
  return openHandle(path, platform::Access::kReadWrite, platform::Creation::kOpenExisting, mode);
}

int File::create(Context &context, const char *path) {
  close();
  context_ = &context;
  path_ = path;
  presence_ = true;
  readOnly_ = false;
  const int status = openHandle(path, platform::Access::kReadWrite,
                                platform::Creation::kOpenOrCreate, OpenMode::kExclusive);
  if (status != kOk) return status;
  if (platform::setFileLength(handle_, 0) != IoStatus::kOk) {
    close();
    return refused(kErrCreating);
  }
  return kOk;
}

int File::close() noexcept {
  if (!handle_.valid()) return kOk;
  return platform::closeFile(handle_) == IoStatus::kOk ? kOk : refused(kErrClosing);
}

void File::takeOver(File &other) noexcept {
  close();
  context_ = other.context_;
  handle_ = other.handle_;
  identity_ = other.identity_;
  path_.swap(other.path_);
  mode_ = other.mode_;
  readOnly_ = other.readOnly_;
  presence_ = other.presence_;
  othersMayWrite_ = other.othersMayWrite_;
  other.handle_ = platform::NativeFile();
}

int File::readUpTo(std::uint64_t offset, void *data, std::size_t size, std::size_t &got) noexcept {
  const IoStatus first = platform::readAt(handle_, offset, data, size, got);
  if (first == IoStatus::kOk) return kOk;
  // Where locks are mandatory a read can meet another program's lock: it waits like a lock.
  LockWait wait(*context_);
  for (IoStatus status = first; status == IoStatus::kLocked;) {
    if (!wait.again()) return kLocked;
    status = platform::readAt(handle_, offset, data, size, got);
    if (status == IoStatus::kOk) return kOk;
  }
  return refused(kErrReading);
}

int File::read(std::uint64_t offset, void *data, std::size_t size) noexcept {
  std::size_t got = 0;
  const int status = readUpTo(offset, data, size, got);
  if (status != kOk) return status;
  return got == size ? kOk : refused(kErrReading);
}

int File::write(std::uint64_t offset, const void *data, std::size_t size) noexcept {
  if (readOnly_) return refused(kErrWriting, "Attempt to write to a read-only file");
  const IoStatus first = platform::writeAt(handle_, offset, data, size);
  if (first == IoStatus::kOk) return kOk;
  LockWait wait(*context_);
  for (IoStatus status = first; status == IoStatus::kLocked;) {
    if (!wait.again()) return kLocked;
    status = platform::writeAt(handle_, offset, data, size);
    if (status == IoStatus::kOk) return kOk;
  }
  return refused(kErrWriting);
}

int File::length(std::uint64_t &length) noexcept {
  if (platform::fileLength(handle_, length) == IoStatus::kOk) return kOk;
  return refused(kErrDeterminingLength);
}

int File::sync() noexcept {
  return platform::syncFile(handle_) == IoStatus::kOk ? kOk : refused(kErrWriting);
}

int File::becomeOnlyOpener() noexcept {
  if (mode_ == OpenMode::kExclusive) return kOk;
  if (platform::hasShareModes()) {
    // Only a new handle can ask for more; the file is closed for that moment.
    LockWait wait(*context_);
    platform::closeFile(handle_);
    for (;;) {
      if (platform::openFile(path_.c_str(), platform::Access::kReadWrite,
                             platform::Creation::kOpenExisting, platform::Sharing::kNone,
                             handle_) == IoStatus::kOk) {
        platform::identifyFile(handle_, identity_);
        return kOk;
      }
      if (!wait.again()) break;
    }
    const int status = openHandle(path_.c_str(), platform::Access::kReadWrite,
                                  platform::Creation::kOpenExisting, mode_);
    return status == kOk ? kLocked : status;
  }
  LockWait wait(*context_);
  for (;;) {
    const IoStatus status = platform::lockRange(handle_, kPresenceByte, 1, LockKind::kExclusive);
    if (status == IoStatus::kOk) return kOk;
    if (status != IoStatus::kLocked) return refused(kErrLocking);
    if (!wait.again()) return kLocked;
  }
}

// Only a new handle can ask for less. Another program can be faster and keep this one out for a
// while.
void File::reopen() noexcept {
  LockWait wait(*context_);
  platform::closeFile(handle_);
  IoStatus status;
  do {
    status = openAs(path_.c_str(), platform::Access::kReadWrite, platform::Creation::kOpenExisting);
  } while (status != IoStatus::kOk && wait.again());
  if (status != IoStatus::kOk) refused(kErrOpening);
  refreshOthersMayWrite();
}

void File::allowOtherOpeners() noexcept {
  if (!handle_.valid() || mode_ == OpenMode::kExclusive) return;
  if (platform::hasShareModes()) {
    reopen();
  } else {
    platform::lockRange(handle_, kPresenceByte, 1, LockKind::kShared);
  }
}

void File::settleIntoMode(OpenMode mode) noexcept {
  mode_ = mode;
  if (platform::hasShareModes()) {
    reopen();
  } else {
    takePresence();
    refreshOthersMayWrite();
  }
}

void workOn(const Table &table) noexcept { worked = &table; }

bool isWaiting(const Table &table) noexcept {
  for (const WaitingCall *call = waitingCalls; call != nullptr; call = call->outer) {
    if (call->table == &table) return true;
  }
  return false;
}

bool isAnyWaiting() noexcept { return waitingCalls != nullptr; }

bool waitForOthers(std::uint32_t microseconds) noexcept {
  const WaitingCall call = {worked, waitingCalls};
  waitingCalls = &call;
  const bool goOn = platform::waitMicroseconds(microseconds);
  waitingCalls = call.outer;
  worked = call.table;
  return goOn;
}

LockWait::LockWait(const Context &context) noexcept
    : attempts_(context.settings.lockAttempts), pause_(kFirstPauseMicroseconds) {}

bool LockWait::again() noexcept {
  if (attempts_ == 0 || attempts_ == 1) return false;
  if (attempts_ > 1) {
    const std::uint64_t now = platform::monotonicMilliseconds();
    if (deadline_ == 0) deadline_ = now + static_cast<std::uint64_t>(attempts_ - 1) * 1000;
    if (now >= deadline_) return false;
  }
  const bool goOn = waitForOthers(pause_);
  pause_ = pause_ * 2 < kLongestPauseMicroseconds ? pause_ * 2 : kLongestPauseMicroseconds;
  return goOn;
}

bool RangeLock::heldByThisProcess(const File &file, std::uint64_t start,
                                  std::uint64_t length) const noexcept {
  for (const RangeLock *lock = heldLocks; lock != nullptr; lock = lock->next_) {
    if (lock->file_->identity() == file.identity() && lock->start_ < start + length &&
        start < lock->start_ + lock->length_) {
      return true;
    }
  }
  return false;
}

int RangeLock::acquire(File &file, std::uint64_t start, std::uint64_t length,
                       LockKind kind) noexcept {
  if (!file.needsLocks()) return kOk;
  LockWait wait(file.context());
  for (;;) {
    const IoStatus status = platform::lockRange(file.handle(), start, length, kind);
    if (status == IoStatus::kOk) break;
    if (status != IoStatus::kLocked) {
      return file.context().fail(kErrLocking, file.path().c_str());
    }
    if (heldByThisProcess(file, start, length) || !wait.again()) return kLocked;
  }
  file_ = &file;
  start_ = start;
  length_ = length;
  next_ = heldLocks;
  heldLocks = this;
  return kOk;
}

int RangeLock::release() noexcept {
  if (file_ == nullptr) return kOk;
  RangeLock **link = &heldLocks;
  while (*link != this) link = &(*link)->next_;
  *link = next_;
  File &file = *file_;
  file_ = nullptr;
  if (platform::unlockRange(file.handle(), start_, length_) == IoStatus::kOk) return kOk;
  return file.context().fail(kErrUnlocking, file.path().c_str());
}

}  // namespace zk::engine
