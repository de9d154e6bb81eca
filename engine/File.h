// A file of the engine: handle, mode, and the locks through which programs share it.
//
// Lock places (all programs that share tables agree on those below 2 GiB):
//
//   0x40000000 + record's byte position   one byte: the record (header byte 28 zero)
//   0x7FFFFFFE - record number            one byte: the record (header byte 28 non-zero)
//   0x7FFFFFFE                            one byte: appending to a table, writing to a memo file
//   0x40000000 .. 0x7FFFFFFE              the whole file, together with 0x7FFFFFFF to the end
//   kPresenceByte                         every opener holds it shared, an exclusive one alone
//   kWriterByte                           every opener that writes shared, a deny-write one alone
//
// The two presence bytes do the work of share modes where the system has none.
#pragma once

#include <cstdint>
#include <utility>

#include "base/Memory.h"
#include "engine/Context.h"
#include "platform/File.h"

namespace zk::engine {

constexpr std::uint64_t kLockBase = 0x40000000;
constexpr std::uint64_t kFileLockSize = 0x3FFFFFFF;
constexpr std::uint64_t kAppendLockByte = 0x7FFFFFFE;
constexpr std::uint64_t kPresenceByte = 0x7FFFFFFFFFFFFF00;
constexpr std::uint64_t kWriterByte = kPresenceByte + 1;

class File {
 public:
  File() noexcept = default;
  ~File() { close(); }
  File(const File &) = delete;
  File &operator=(const File &) = delete;

  // Opens an existing file; `path` is native. A file that cannot be written opens read-only when
  // the context's settings allow it. -60 when it does not exist or its other openers do not go
  // with the mode. With `presence` false the file is guarded by another one (a memo file by its
  // table) and takes no presence locks.
  int open(Context &context, const char *path, OpenMode mode, bool presence);

  // Opens or creates a file exclusively and empties it. -20 when another program has it open.
  int create(Context &context, const char *path);

  int close() noexcept;

  // The other file's handle, mode and path become this one's, whose own file is closed.
  void takeOver(File &other) noexcept;

  // Exactly `size` bytes, or -70.
  int read(std::uint64_t offset, void *data, std::size_t size) noexcept;
  // As many as there are.
  int readUpTo(std::uint64_t offset, void *data, std::size_t size, std::size_t &got) noexcept;
  int write(std::uint64_t offset, const void *data, std::size_t size) noexcept;
  int length(std::uint64_t &length) noexcept;
  int sync() noexcept;

  Context &context() const noexcept { return *context_; }
  const base::String &path() const noexcept { return path_; }
  // After a rename: the name under which the file is found now.
  void setPath(base::String &&path) noexcept { path_ = std::move(path); }
  platform::NativeFile handle() const noexcept { return handle_; }
  const platform::FileIdentity &identity() const noexcept { return identity_; }
  OpenMode mode() const noexcept { return mode_; }
  bool readOnly() const noexcept { return readOnly_; }
  // Whether what was read can change under us.
  bool othersMayWrite() const noexcept { return othersMayWrite_; }
  // No lock is taken on a file that is held exclusively or read-only.
  bool needsLocks() const noexcept { return mode_ != OpenMode::kExclusive && !readOnly_; }

  // Makes this the only opener for a while (for the work that replaces the file), waiting as the
  // lock attempts say; 50 when another program keeps it open.
  int becomeOnlyOpener() noexcept;
  void allowOtherOpeners() noexcept;
  // After `create`: the mode that the file is used in from now on.
  void settleIntoMode(OpenMode mode) noexcept;

 private:
  int openHandle(const char *path, platform::Access access, platform::Creation creation,
                 OpenMode mode) noexcept;
  platform::IoStatus openAs(const char *path, platform::Access access,
                            platform::Creation creation) noexcept;
  platform::IoStatus takePresence() noexcept;
  void reopen() noexcept;
  int refused(int code, const char *text = nullptr) noexcept;
  void refreshOthersMayWrite() noexcept;

  Context *context_ = nullptr;
  platform::NativeFile handle_;
  platform::FileIdentity identity_;
  base::String path_;
  OpenMode mode_ = OpenMode::kShared;
  bool readOnly_ = false;
  bool presence_ = false;
  bool othersMayWrite_ = true;
};

// Waits for a lock that another program holds: polls at short, growing intervals, for about as many
// seconds as the lock attempts say.
//
// Messages that are dispatched meanwhile can lead to other calls of the library. They must leave
// alone the table that the waiting call is in the midst of.
class LockWait {
 public:
  explicit LockWait(const Context &context) noexcept;
  // Waits a little; false when the attempts have run out or the application is asked to quit.
  bool again() noexcept;

 private:
  int attempts_;
  std::uint32_t pause_;
  std::uint64_t deadline_ = 0;
};

class Table;
// The call that begins now works on that table.
void workOn(const Table &table) noexcept;
// Whether a call further out, which waits, works on it, or on any table.
bool isWaiting(const Table &table) noexcept;
bool isAnyWaiting() noexcept;
// Waits so long, for what other programs do; false when the application is asked to quit.
bool waitForOthers(std::uint32_t microseconds) noexcept;

// A byte range held until the end of its scope. A lock that this process itself holds is not waited
// for: the call that holds it cannot go on before this one returns.
class RangeLock {
 public:
  RangeLock() noexcept = default;
  ~RangeLock() { release(); }
  RangeLock(const RangeLock &) = delete;
  RangeLock &operator=(const RangeLock &) = delete;

  // 0 (also when the file needs no locks), 50, or -50.
  int acquire(File &file, std::uint64_t start, std::uint64_t length,
              platform::LockKind kind = platform::LockKind::kExclusive) noexcept;
  // 0 or -110.
  int release() noexcept;

 private:
  bool heldByThisProcess(const File &file, std::uint64_t start,
                         std::uint64_t length) const noexcept;

  File *file_ = nullptr;
  std::uint64_t start_ = 0;
  std::uint64_t length_ = 0;
  RangeLock *next_ = nullptr;
};

}  // namespace zk::engine
