#include "platform/Directory.h"

#include <windows.h>

#include <direct.h>

namespace zk::platform {

IoStatus createDirectory(const char *path) noexcept {
  if (CreateDirectoryA(path, nullptr)) return IoStatus::kOk;
  return GetLastError() == ERROR_ALREADY_EXISTS ? IoStatus::kExists : IoStatus::kFailed;
}

bool removeDirectory(const char *path) noexcept { return RemoveDirectoryA(path) != 0; }

// The runtime's calls remember each drive's current directory.
bool changeDirectory(const char *path) noexcept { return _chdir(path) == 0; }

void changeDrive(int number) noexcept { _chdrive(number); }

bool isLink(const char *path) noexcept {
  const DWORD attributes = GetFileAttributesA(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

bool removeLink(const char *path) noexcept {
  return isLink(path) && (RemoveDirectoryA(path) || DeleteFileA(path));
}

}  // namespace zk::platform
