#include "platform/File.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

static_assert(sizeof(off_t) == 8, "tables grow past 2 GiB: build with _FILE_OFFSET_BITS=64");

namespace zk::platform {
namespace {

int descriptor(NativeFile file) { return static_cast<int>(file.value); }

IoStatus statusOf(int error) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return IoStatus::kNotFound;
    case EEXIST:
      return IoStatus::kExists;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ETXTBSY:
      return IoStatus::kDenied;
    default:
      return IoStatus::kFailed;
  }
}

FileIdentity identityOf(const struct stat &facts) {
  return {static_cast<std::uint64_t>(facts.st_dev), static_cast<std::uint64_t>(facts.st_ino)};
}

IoStatus applyLock(NativeFile file, std::uint64_t start, std::uint64_t length, short type) {
  struct flock range = {};
  range.l_type = type;
  range.l_whence = SEEK_SET;
  range.l_start = static_cast<off_t>(start);
  range.l_len = static_cast<off_t>(length);
  for (;;) {
    if (fcntl(descriptor(file), F_OFD_SETLK, &range) == 0) return IoStatus::kOk;
    if (errno == EINTR) continue;
    return errno == EAGAIN || errno == EACCES ? IoStatus::kLocked : IoStatus::kFailed;
  }
}

}  // namespace

IoStatus openFile(const char *path, Access access, Creation creation, Sharing,
                  NativeFile &file) noexcept {
  // A pipe or device of that name must be refused, not waited for.
  int flags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
  flags |= access == Access::kReadWrite ? O_RDWR : O_RDONLY;
  if (creation != Creation::kOpenExisting) flags |= O_CREAT;
  if (creation == Creation::kCreateNew) flags |= O_EXCL;
  int opened;
  do {
    opened = ::open(path, flags, 0666);
  } while (opened < 0 && errno == EINTR);
  if (opened < 0) return statusOf(errno);

  struct stat facts;
  IoStatus status = IoStatus::kOk;
  if (fstat(opened, &facts) != 0) {
    status = statusOf(errno);
  } else if (!S_ISREG(facts.st_mode)) {
    status = IoStatus::kDenied;
  } else if (access == Access::kReadWrite && (facts.st_mode & 0222) == 0) {
    status = IoStatus::kDenied;  // the superuser could write, but the owner said read-only
  }
  if (status != IoStatus::kOk) {
    ::close(opened);
    return status;
  }
  file.value = opened;
  return IoStatus::kOk;
}

IoStatus closeFile(NativeFile &file) noexcept {
  if (!file.valid()) return IoStatus::kOk;
  const int result = ::close(descriptor(file));
  file.value = -1;
  return result == 0 || errno == EINTR ? IoStatus::kOk : IoStatus::kFailed;
}

IoStatus readAt(NativeFile file, std::uint64_t offset, void *data, std::size_t size,
                std::size_t &got) noexcept {
  got = 0;
  while (got < size) {
    const ssize_t count = pread(descriptor(file), static_cast<char *>(data) + got, size - got,
                                static_cast<off_t>(offset + got));
    if (count == 0) break;
    if (count < 0) {
      if (errno == EINTR) continue;
      return IoStatus::kFailed;
    }
    got += static_cast<std::size_t>(count);
  }
  return IoStatus::kOk;
}

IoStatus writeAt(NativeFile file, std::uint64_t offset, const void *data,
                 std::size_t size) noexcept {
  std::size_t done = 0;
  while (done < size) {
    const ssize_t count = pwrite(descriptor(file), static_cast<const char *>(data) + done,
                                 size - done, static_cast<off_t>(offset + done));
    if (count < 0) {
      if (errno == EINTR) continue;
      return IoStatus::kFailed;
    }
    done += static_cast<std::size_t>(count);
  }
  return IoStatus::kOk;
}

IoStatus fileLength(NativeFile file, std::uint64_t &length) noexcept {
  // Not by fstat: after each look at an inode's times the system writes them anew with the next
  // write. The position is used by nobody.
  const off_t end = lseek(descriptor(file), 0, SEEK_END);
  if (end < 0) return IoStatus::kFailed;
  length = static_cast<std::uint64_t>(end);
  return IoStatus::kOk;
}

IoStatus setFileLength(NativeFile file, std::uint64_t length) noexcept {
  int result;
  do {
    result = ftruncate(descriptor(file), static_cast<off_t>(length));
  } while (result != 0 && errno == EINTR);
  return result == 0 ? IoStatus::kOk : IoStatus::kFailed;
}

IoStatus syncFile(NativeFile file) noexcept {
  return fdatasync(descriptor(file)) == 0 ? IoStatus::kOk : IoStatus::kFailed;
}

IoStatus identifyFile(NativeFile file, FileIdentity &identity) noexcept {
  struct stat facts;
  if (fstat(descriptor(file), &facts) != 0) return statusOf(errno);
  identity = identityOf(facts);
  return IoStatus::kOk;
}

IoStatus identifyPath(const char *path, FileIdentity &identity) noexcept {
  struct stat facts;
  if (stat(path, &facts) != 0) return statusOf(errno);
  identity = identityOf(facts);
  return IoStatus::kOk;
}

IoStatus lockRange(NativeFile file, std::uint64_t start, std::uint64_t length,
                   LockKind kind) noexcept {
  return applyLock(file, start, length, kind == LockKind::kShared ? F_RDLCK : F_WRLCK);
}

IoStatus unlockRange(NativeFile file, std::uint64_t start, std::uint64_t length) noexcept {
  return applyLock(file, start, length, F_UNLCK);
}

bool hasShareModes() noexcept { return false; }

IoStatus replaceFile(const char *from, const char *to) noexcept {
  return std::rename(from, to) == 0 ? IoStatus::kOk : statusOf(errno);
}

IoStatus replaceOpenFile(NativeFile, const char *fromPath, NativeFile, const char *toPath,
                         const char *) noexcept {
  return replaceFile(fromPath, toPath);
}

void settleReplacement(const char *, const char *) noexcept {}

IoStatus removeFile(const char *path) noexcept {
  return ::unlink(path) == 0 ? IoStatus::kOk : statusOf(errno);
}

bool pathExists(const char *path) noexcept {
  struct stat facts;
  return stat(path, &facts) == 0;
}

void copyAttributes(NativeFile from, NativeFile to) noexcept {
  struct stat facts;
  if (fstat(descriptor(from), &facts) != 0) return;
  // Only the superuser may give a file away; for everybody else the new owner is right already.
  if (fchown(descriptor(to), facts.st_uid, facts.st_gid) != 0) errno = 0;
  if (fchmod(descriptor(to), facts.st_mode & 07777) != 0) errno = 0;
}

base::String finalPath(const char *path) {
  char resolved[PATH_MAX];
  return ::realpath(path, resolved) != nullptr ? base::String(resolved) : base::String(path);
}

}  // namespace zk::platform
