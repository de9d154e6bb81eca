#include "tests/file_calls.h"

#include <cerrno>
#include <cstdio>

#include <dlfcn.h>
#include <unistd.h>

namespace file_calls {
namespace {

int target = 0;  // 0: calls are not counted
Disturbance disturbance = Disturbance::kNone;
int calls = 0;
int exitCode = 1;
int readsLeft = 0;
std::function<void()> actBeforeRead;

// What is to be done with a call.
enum class Fate { kWhole, kHalf, kFails };

bool ends(Disturbance kind) {
  return kind == Disturbance::kEndBefore || kind == Disturbance::kEndHalfway ||
         kind == Disturbance::kEndAfter;
}

Fate arrive() {
  if (target == 0 || ++calls < target) return Fate::kWhole;
  const bool first = calls == target;
  switch (disturbance) {
    case Disturbance::kNone:
    case Disturbance::kEndAfter:
      return Fate::kWhole;
    case Disturbance::kEndBefore:
      _exit(exitCode);
    case Disturbance::kEndHalfway:
      return Fate::kHalf;
    case Disturbance::kFailOnce:
      return first ? Fate::kFails : Fate::kWhole;
    case Disturbance::kFailHalfway:
      return first ? Fate::kHalf : calls == target + 1 ? Fate::kFails : Fate::kWhole;
    case Disturbance::kFailHalfwayAndOn:
      return first ? Fate::kHalf : Fate::kFails;
    case Disturbance::kFailFromThere:
      return Fate::kFails;
  }
  return Fate::kWhole;
}

void leave() {
  if (target != 0 && calls == target && ends(disturbance)) _exit(exitCode);
}

// The system's own function of that name.
template <typename Function>
Function *next(const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

// A call that is done or not.
template <typename Call>
int whole(int error, Call call) {
  const Fate fate = arrive();
  if (fate == Fate::kFails || (fate == Fate::kHalf && !ends(disturbance))) {
    errno = error;
    return -1;
  }
  if (fate == Fate::kHalf) _exit(exitCode);
  const int result = call();
  leave();
  return result;
}

}  // namespace

void disturb(int n, Disturbance kind) {
  calls = 0;
  target = n;
  disturbance = kind;
}

void setExitCode(int code) { exitCode = code; }

void beforeRead(int n, const std::function<void()> &act) {
  readsLeft = n;
  actBeforeRead = act;
}

bool calm() {
  const bool reached = target != 0 && calls >= target;
  target = 0;
  return reached;
}

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
  if (readsLeft > 0 && --readsLeft == 0) actBeforeRead();
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
  if (!ends(disturbance)) return truncate(file, length);
  return whole(EIO, [=] { return truncate(file, length); });
}

SEEN_BY_THE_LIBRARY int unlink(const char *path) noexcept {
  using namespace file_calls;
  static const auto remove = next<int(const char *)>("unlink");
  if (!ends(disturbance)) return remove(path);
  return whole(EIO, [=] { return remove(path); });
}
