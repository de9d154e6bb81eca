#include "platform/FileSystem.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#include <winnetwk.h>

#include <io.h>

#include <algorithm>
#include <string_view>

namespace zk::platform {
namespace {

// Between 1601, where the system's file times begin, and 1970.
constexpr std::int64_t kEpochSeconds = 11644473600;
constexpr std::int64_t kTicksPerSecond = 10000000;

std::int64_t toSeconds(const FILETIME &time) {
  const std::uint64_t ticks =
      static_cast<std::uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
  return static_cast<std::int64_t>(ticks / kTicksPerSecond) - kEpochSeconds;
}

FILETIME toFileTime(std::int64_t seconds) {
  const std::uint64_t ticks = static_cast<std::uint64_t>(seconds + kEpochSeconds) * kTicksPerSecond;
  FILETIME time;
  time.dwLowDateTime = static_cast<DWORD>(ticks);
  time.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
  return time;
}

bool isDirectory(DWORD attributes) { return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }

// Whether the system lets this process open the path for `access`.
bool canOpen(const char *path, DWORD access) {
  const HANDLE file =
      CreateFileA(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return GetLastError() == ERROR_SHARING_VIOLATION;
  CloseHandle(file);
  return true;
}

bool identify(std::FILE *stream, BY_HANDLE_FILE_INFORMATION &information) {
  const std::intptr_t handle = _get_osfhandle(_fileno(stream));
  const HANDLE file = reinterpret_cast<HANDLE>(handle);
  return handle != -1 && GetFileType(file) == FILE_TYPE_DISK &&
         GetFileInformationByHandle(file, &information);
}

}  // namespace

PathKind pathKind(const char *path) noexcept {
  const DWORD attributes = GetFileAttributesA(path);
  if (attributes == INVALID_FILE_ATTRIBUTES) return PathKind::kNone;
  return isDirectory(attributes) ? PathKind::kDirectory : PathKind::kFile;
}

bool hasAccess(const char *path, bool read, bool write) noexcept {
  const DWORD attributes = GetFileAttributesA(path);
  if (attributes == INVALID_FILE_ATTRIBUTES) return false;
  if (isDirectory(attributes) || (!read && !write)) return true;
  if (write && (attributes & FILE_ATTRIBUTE_READONLY) != 0) return false;
  return canOpen(path, (read ? GENERIC_READ : 0) | (write ? GENERIC_WRITE : 0));
}

bool isReadOnly(const char *path) noexcept {
  const DWORD attributes = GetFileAttributesA(path);
  return attributes != INVALID_FILE_ATTRIBUTES && !isDirectory(attributes) &&
         (attributes & FILE_ATTRIBUTE_READONLY) != 0;
}

bool setReadOnly(const char *path, bool readOnly) noexcept {
  const DWORD attributes = GetFileAttributesA(path);
  if (attributes == INVALID_FILE_ATTRIBUTES || isDirectory(attributes)) return false;
  const DWORD others = attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY);
  return SetFileAttributesA(path, readOnly ? others | FILE_ATTRIBUTE_READONLY : others) != 0;
}

bool modificationTime(const char *path, std::int64_t &seconds) noexcept {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (!GetFileAttributesExA(path, GetFileExInfoStandard, &data)) return false;
  seconds = toSeconds(data.ftLastWriteTime);
  return true;
}

bool setModificationTime(const char *path, std::int64_t seconds) noexcept {
  if (seconds < -kEpochSeconds || seconds > INT64_MAX / kTicksPerSecond - kEpochSeconds) {
    return false;
  }
  const HANDLE file = CreateFileA(path, FILE_WRITE_ATTRIBUTES,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  const FILETIME time = toFileTime(seconds);
  const bool done = SetFileTime(file, nullptr, &time, &time) != 0;
  CloseHandle(file);
  return done;
}

bool listDirectory(const char *path, base::Vector<DirectoryEntry> &entries) {
  base::String pattern = path;
  if (!pattern.empty() && std::string_view("\\/:").find(pattern.back()) == std::string_view::npos) {
    pattern += '\\';
  }
  pattern += '*';
  struct Search {
    HANDLE handle;
    ~Search() {
      if (handle != INVALID_HANDLE_VALUE) FindClose(handle);
    }
  };
  WIN32_FIND_DATAA found;
  const Search search{FindFirstFileA(pattern.c_str(), &found)};
  // An empty root directory has not even a "." entry.
  if (search.handle == INVALID_HANDLE_VALUE) return GetLastError() == ERROR_FILE_NOT_FOUND;
  do {
    const std::string_view name = found.cFileName;
    if (name == "." || name == "..") continue;
    entries.push_back({base::String(name), isDirectory(found.dwFileAttributes)});
  } while (FindNextFileA(search.handle, &found));
  return true;
}

base::String fullPath(const char *name) {
  if (*name == '\0') name = ".";
  // By way of wide characters: the narrow call takes short paths only.
  const int units = MultiByteToWideChar(CP_ACP, 0, name, -1, nullptr, 0);
  base::Vector<WCHAR> given(static_cast<std::size_t>(units));
  MultiByteToWideChar(CP_ACP, 0, name, -1, given.data(), units);
  const DWORD size = GetFullPathNameW(given.data(), 0, nullptr, nullptr);
  base::Vector<WCHAR> full(size);
  const DWORD length = size == 0 ? 0 : GetFullPathNameW(given.data(), size, full.data(), nullptr);
  if (length == 0 || length >= size) return {};  // another thread changed the directory
  const int wide = static_cast<int>(length);
  const int bytes = WideCharToMultiByte(CP_ACP, 0, full.data(), wide, nullptr, 0, nullptr, nullptr);
  base::String path(static_cast<std::size_t>(bytes), '\0');
  WideCharToMultiByte(CP_ACP, 0, full.data(), wide, path.data(), bytes, nullptr, nullptr);
  return path;
}

base::String temporaryDirectory() {
  char directory[MAX_PATH + 1];
  const DWORD length = GetTempPathA(sizeof directory, directory);
  return base::String(directory, length < sizeof directory ? length : 0);
}

bool networkName(const char *drive, base::String &remote) {
  char buffer[512];
  DWORD size = sizeof buffer;
  if (WNetGetConnectionA(drive, buffer, &size) != NO_ERROR) return false;
  remote = buffer;
  return true;
}

std::FILE *openStream(const char *path, const char *mode) noexcept {
  // While another program puts a new file in its place the file cannot be opened.
  constexpr int kTries = 20;
  constexpr DWORD kPauseMilliseconds = 5;
  for (int i = 1;; ++i) {
    std::FILE *stream = std::fopen(path, mode);
    if (stream != nullptr || i == kTries || GetLastError() != ERROR_SHARING_VIOLATION) {
      return stream;
    }
    Sleep(kPauseMilliseconds);
  }
}

std::int64_t streamLength(std::FILE *stream) noexcept {
  const std::int64_t length = _filelengthi64(_fileno(stream));
  return length < 0 ? -1 : std::max<std::int64_t>(length, ftello64(stream));
}

bool isSameFile(std::FILE *a, std::FILE *b) noexcept {
  BY_HANDLE_FILE_INFORMATION first;
  BY_HANDLE_FILE_INFORMATION second;
  return identify(a, first) && identify(b, second) &&
         first.dwVolumeSerialNumber == second.dwVolumeSerialNumber &&
         first.nFileIndexHigh == second.nFileIndexHigh &&
         first.nFileIndexLow == second.nFileIndexLow;
}

}  // namespace zk::platform
