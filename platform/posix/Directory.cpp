#include "platform/Directory.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace zk::platform {

IoStatus createDirectory(const char *path) noexcept {
  if (mkdir(path, 0777) == 0) return IoStatus::kOk;
  return errno == EEXIST ? IoStatus::kExists : IoStatus::kFailed;
}

bool removeDirectory(const char *path) noexcept { return rmdir(path) == 0; }

bool changeDirectory(const char *path) noexcept { return chdir(path) == 0; }

void changeDrive(int) noexcept {}

bool isLink(const char *path) noexcept {
  struct stat status;
  return lstat(path, &status) == 0 && S_ISLNK(status.st_mode);
}

bool removeLink(const char *path) noexcept { return isLink(path) && unlink(path) == 0; }

}  // namespace zk::platform
