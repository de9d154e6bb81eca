#include "platform/File.h"

#include <windows.h>

namespace zk::platform {
namespace {

HANDLE handleOf(NativeFile file) { return reinterpret_cast<HANDLE>(file.value); }

IoStatus statusOf(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
      return IoStatus::kNotFound;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      return IoStatus::kExists;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_WRITE_PROTECT:
      return IoStatus::kDenied;
    case ERROR_LOCK_VIOLATION:
      return IoStatus::kLocked;
    default:
      return IoStatus::kFailed;
  }
}

IoStatus lastStatus() { return statusOf(GetLastError()); }

DWORD dispositionOf(Creation creation) {
  switch (creation) {
    case Creation::kOpenOrCreate:
      return OPEN_ALWAYS;
    case Creation::kCreateNew:
      return CREATE_NEW;
    case Creation::kOpenExisting:
      break;
  }
  return OPEN_EXISTING;
}

DWORD shareModeOf(Sharing sharing) {
  switch (sharing) {
    case Sharing::kNone:
      return 0;
    case Sharing::kReaders:
      return FILE_SHARE_READ;
    case Sharing::kAll:
      break;
  }
  return FILE_SHARE_READ | FILE_SHARE_WRITE;
}

OVERLAPPED at(std::uint64_t offset) {
  OVERLAPPED position = {};
  position.Offset = static_cast<DWORD>(offset);
  position.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return position;
}

// One system call moves at most this much.
constexpr std::size_t kLargestTransfer = 1u << 30;

constexpr int kLongestPath = 1024;

DWORD transferSize(std::size_t size) {
  return static_cast<DWORD>(size < kLargestTransfer ? size : kLargestTransfer);
}

FileIdentity identityOf(const BY_HANDLE_FILE_INFORMATION &facts) {
  return {facts.dwVolumeSerialNumber,
          static_cast<std::uint64_t>(facts.nFileIndexHigh) << 32 | facts.nFileIndexLow};
}

// Renames a file by its handle, which was opened for that; what has the name is replaced.
IoStatus moveOpenFile(NativeFile file, const char *path) {
  struct {
    FILE_RENAME_INFO info;  // its last member is the name's first unit
    WCHAR name[kLongestPath];
  } order = {};
  char full[kLongestPath];
  const DWORD length = GetFullPathNameA(path, sizeof full, full, nullptr);
  if (length == 0 || length >= sizeof full) return IoStatus::kFailed;
  const int units = MultiByteToWideChar(CP_ACP, 0, full, -1, order.info.FileName, kLongestPath);
  if (units == 0) return IoStatus::kFailed;
  order.info.ReplaceIfExists = TRUE;
  order.info.FileNameLength = static_cast<DWORD>(units - 1) * sizeof(WCHAR);
  return SetFileInformationByHandle(handleOf(file), FileRenameInfo, &order, sizeof order)
             ? IoStatus::kOk
             : lastStatus();
}

}  // namespace

IoStatus openFile(const char *path, Access access, Creation creation, Sharing sharing,
                  NativeFile &file) noexcept {
  const DWORD wanted = access == Access::kReadWrite ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ;
  const auto open = [&](DWORD rights) {
    return CreateFileA(path, rights, shareModeOf(sharing), nullptr, dispositionOf(creation),
                       FILE_ATTRIBUTE_NORMAL, nullptr);
  };
  HANDLE opened = INVALID_HANDLE_VALUE;
  // See replaceOpenFile; not everybody who may write may rename.
  if (access == Access::kReadWrite && sharing == Sharing::kNone) opened = open(wanted | DELETE);
  if (opened == INVALID_HANDLE_VALUE) opened = open(wanted);
  if (opened == INVALID_HANDLE_VALUE) return lastStatus();
  BY_HANDLE_FILE_INFORMATION facts;
  const bool usable =
      GetFileType(opened) == FILE_TYPE_DISK && GetFileInformationByHandle(opened, &facts) &&
      // Whoever may do everything can write where the attribute is a matter of permissions only.
      (access == Access::kRead || (facts.dwFileAttributes & FILE_ATTRIBUTE_READONLY) == 0);
  if (!usable) {
    CloseHandle(opened);
    return IoStatus::kDenied;
  }
  file.value = reinterpret_cast<std::intptr_t>(opened);
  return IoStatus::kOk;
}

IoStatus closeFile(NativeFile &file) noexcept {
  if (!file.valid()) return IoStatus::kOk;
  const BOOL closed = CloseHandle(handleOf(file));
  file.value = -1;
  return closed ? IoStatus::kOk : IoStatus::kFailed;
}

IoStatus readAt(NativeFile file, std::uint64_t offset, void *data, std::size_t size,
                std::size_t &got) noexcept {
  got = 0;
  while (got < size) {
    OVERLAPPED position = at(offset + got);
    DWORD count = 0;
    if (!ReadFile(handleOf(file), static_cast<char *>(data) + got, transferSize(size - got), &count,
                  &position)) {
      if (GetLastError() == ERROR_HANDLE_EOF) break;
      return lastStatus();
    }
    if (count == 0) break;
    got += count;
  }
  return IoStatus::kOk;
}

IoStatus writeAt(NativeFile file, std::uint64_t offset, const void *data,
                 std::size_t size) noexcept {
  std::size_t done = 0;
  while (done < size) {
    OVERLAPPED position = at(offset + done);
    DWORD count = 0;
    if (!WriteFile(handleOf(file), static_cast<const char *>(data) + done,
                   transferSize(size - done), &count, &position)) {
      return lastStatus();
    }
    done += count;
  }
  return IoStatus::kOk;
}

IoStatus fileLength(NativeFile file, std::uint64_t &length) noexcept {
  LARGE_INTEGER size;
  if (!GetFileSizeEx(handleOf(file), &size)) return lastStatus();
  length = static_cast<std::uint64_t>(size.QuadPart);
  return IoStatus::kOk;
}

IoStatus setFileLength(NativeFile file, std::uint64_t length) noexcept {
  LARGE_INTEGER position;
  position.QuadPart = static_cast<LONGLONG>(length);
  if (!SetFilePointerEx(handleOf(file), position, nullptr, FILE_BEGIN)) return lastStatus();
  return SetEndOfFile(handleOf(file)) ? IoStatus::kOk : lastStatus();
}

IoStatus syncFile(NativeFile file) noexcept {
  return FlushFileBuffers(handleOf(file)) ? IoStatus::kOk : lastStatus();
}

IoStatus identifyFile(NativeFile file, FileIdentity &identity) noexcept {
  BY_HANDLE_FILE_INFORMATION facts;
  if (!GetFileInformationByHandle(handleOf(file), &facts)) return lastStatus();
  identity = identityOf(facts);
  return IoStatus::kOk;
}

IoStatus identifyPath(const char *path, FileIdentity &identity) noexcept {
  const HANDLE opened = CreateFileA(path, 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (opened == INVALID_HANDLE_VALUE) return lastStatus();
  NativeFile file;
  file.value = reinterpret_cast<std::intptr_t>(opened);
  const IoStatus status = identifyFile(file, identity);
  CloseHandle(opened);
  return status;
}

IoStatus lockRange(NativeFile file, std::uint64_t start, std::uint64_t length,
                   LockKind kind) noexcept {
  const auto low = [](std::uint64_t value) { return static_cast<DWORD>(value); };
  const auto high = [](std::uint64_t value) { return static_cast<DWORD>(value >> 32); };
  if (kind == LockKind::kExclusive) {
    return LockFile(handleOf(file), low(start), high(start), low(length), high(length))
               ? IoStatus::kOk
               : lastStatus();
  }
  OVERLAPPED position = at(start);
  return LockFileEx(handleOf(file), LOCKFILE_FAIL_IMMEDIATELY, 0, low(length), high(length),
                    &position)
             ? IoStatus::kOk
             : lastStatus();
}

IoStatus unlockRange(NativeFile file, std::uint64_t start, std::uint64_t length) noexcept {
  return UnlockFile(handleOf(file), static_cast<DWORD>(start), static_cast<DWORD>(start >> 32),
                    static_cast<DWORD>(length), static_cast<DWORD>(length >> 32))
             ? IoStatus::kOk
             : lastStatus();
}

bool hasShareModes() noexcept { return true; }

IoStatus replaceFile(const char *from, const char *to) noexcept {
  // A file that somebody reads just now cannot be replaced.
  constexpr int kTries = 20;
  constexpr DWORD kPauseMilliseconds = 5;
  for (int i = 1;; ++i) {
    if (MoveFileExA(from, to, MOVEFILE_REPLACE_EXISTING)) return IoStatus::kOk;
    const IoStatus status = lastStatus();
    const DWORD attributes = GetFileAttributesA(to);
    const bool mayPass = status == IoStatus::kDenied && attributes != INVALID_FILE_ATTRIBUTES &&
                         (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY)) == 0;
    if (i == kTries || !mayPass) return status;
    Sleep(kPauseMilliseconds);
  }
}

IoStatus replaceOpenFile(NativeFile from, const char *, NativeFile to, const char *toPath,
                         const char *aside) noexcept {
  IoStatus status = moveOpenFile(to, aside);
  if (status != IoStatus::kOk) return status;
  status = moveOpenFile(from, toPath);
  if (status != IoStatus::kOk) {
    moveOpenFile(to, toPath);
    return status;
  }
  FILE_DISPOSITION_INFO removal = {TRUE};
  SetFileInformationByHandle(handleOf(to), FileDispositionInfo, &removal, sizeof removal);
  return IoStatus::kOk;
}

void settleReplacement(const char *path, const char *aside) noexcept {
  constexpr int kLooks = 200;
  constexpr DWORD kPauseMilliseconds = 5;
  for (int i = 0; i < kLooks && !pathExists(path) && pathExists(aside); ++i) {
    // Whoever is still at it has it open and lets nobody move it.
    if (!MoveFileExA(aside, path, 0)) Sleep(kPauseMilliseconds);
  }
}

IoStatus removeFile(const char *path) noexcept {
  return DeleteFileA(path) ? IoStatus::kOk : lastStatus();
}

bool pathExists(const char *path) noexcept {
  return GetFileAttributesA(path) != INVALID_FILE_ATTRIBUTES;
}

void copyAttributes(NativeFile, NativeFile) noexcept {
  // A new file takes its security from its directory, as the old one did.
}

base::String finalPath(const char *path) { return base::String(path); }

}  // namespace zk::platform
