// The library's calls come here because a program's own functions go before the system's of the
// same name.
#include <cerrno>
#include <cstdio>

#include <dlfcn.h>
#include <unistd.h>

#include "tests/file_calls.h"

namespace file_calls {
namespace {

// The system's own function of that name.
template <typename Function>
Function *next(const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

// A call that is done or not.
template <typename Call>
int whole(int error, Call call) {
  if (!arriveWhole()) {
    errno = error;
    return -1;
  }
  const int result = call();
  leave();
  return result;
}

}  // namespace

void watchCalls() {}

void endAtOnce(int code) { _exit(code); }

}  // namespace file_calls

#define SEEN_BY_THE_LIBRARY extern "C" __attribute__((visibility("default")))

SEEN_BY_THE_LIBRARY ssize_t pwrite(int file, const void *bytes, size_t size, off_t offset) {
  using namespace file_calls;
  static const auto write = next<ssize_t(int, const void *, size_t, off_t)>("pwrite");
  const Fate fate = arrive();
  if (fate == Fate::kFails) {
    errno = ENOSPC;
    return -1;
  }
  const ssize_t written = write(file, bytes, fate == Fate::kHalf ? (size + 1) / 2 : size, offset);
  leave();
  return written;
}

SEEN_BY_THE_LIBRARY ssize_t pread(int file, void *bytes, size_t size, off_t offset) {
  using namespace file_calls;
  static const auto read = next<ssize_t(int, void *, size_t, off_t)>("pread");
  arriveAtRead();
  return read(file, bytes, size, offset);
}

// Nobody waits for the disk here: the system keeps what a program wrote, however it ends.
SEEN_BY_THE_LIBRARY int fdatasync(int) {
  return file_calls::whole(EIO, [] { return 0; });
}

SEEN_BY_THE_LIBRARY int rename(const char *from, const char *to) noexcept {
  using namespace file_calls;
  static const auto move = next<int(const char *, const char *)>("rename");
  return whole(EIO, [=] { return move(from, to); });
}

// What makes room never fails.

SEEN_BY_THE_LIBRARY int ftruncate(int file, off_t length) noexcept {
  using namespace file_calls;
  static const auto truncate = next<int(int, off_t)>("ftruncate");
  if (!endsTheProgram()) return truncate(file, length);
  return whole(EIO, [=] { return truncate(file, length); });
}

SEEN_BY_THE_LIBRARY int unlink(const char *path) noexcept {
  using namespace file_calls;
  static const auto remove = next<int(const char *)>("unlink");
  if (!endsTheProgram()) return remove(path);
  return whole(EIO, [=] { return remove(path); });
}
