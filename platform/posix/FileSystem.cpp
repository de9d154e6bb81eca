#include "platform/FileSystem.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

namespace zk::platform {
namespace {

constexpr mode_t kWriteBits = S_IWUSR | S_IWGRP | S_IWOTH;

struct DirectoryCloser {
  void operator()(DIR *directory) const noexcept { closedir(directory); }
};

bool isSeparator(char c) { return c == '/' || c == '\\'; }

bool hasDrive(const char *name) {
  const char letter = name[0];
  return ((letter >= 'A' && letter <= 'Z') || (letter >= 'a' && letter <= 'z')) && name[1] == ':';
}

bool isDirectory(int directory, const dirent *entry) {
  if (entry->d_type == DT_DIR) return true;
  if (entry->d_type != DT_LNK && entry->d_type != DT_UNKNOWN) return false;
  struct stat status;
  return fstatat(directory, entry->d_name, &status, 0) == 0 && S_ISDIR(status.st_mode);
}

bool currentDirectory(base::String &directory) {
  for (std::size_t size = 256; size <= 65536; size *= 2) {
    directory.resize(size);
    if (getcwd(directory.data(), size) != nullptr) {
      directory.resize(std::strlen(directory.c_str()));
      return true;
    }
  }
  return false;
}

// Appends the components of `relative` to `path`, which begins with `rootLength` characters that
// ".." does not leave.
void appendComponents(base::String &path, std::size_t rootLength, std::string_view relative,
                      char separator) {
  std::size_t start = 0;
  while (start < relative.size()) {
    std::size_t end = start;
    while (end < relative.size() && !isSeparator(relative[end])) ++end;
    const std::string_view component = relative.substr(start, end - start);
    if (component == "..") {
      const std::size_t cut = path.rfind(separator);
      path.resize(std::max(rootLength, cut == base::String::npos ? 0 : cut));
    } else if (!component.empty() && component != ".") {
      if (path.back() != separator) path += separator;
      path += component;
    }
    start = end + 1;
  }
}

}  // namespace

PathKind pathKind(const char *path) noexcept {
  struct stat status;
  if (stat(path, &status) != 0) return PathKind::kNone;
  return S_ISDIR(status.st_mode) ? PathKind::kDirectory : PathKind::kFile;
}

bool hasAccess(const char *path, bool read, bool write) noexcept {
  const int wanted = F_OK | (read ? R_OK : 0) | (write ? W_OK : 0);
  return access(path, wanted) == 0 && !(write && isReadOnly(path));
}

bool isReadOnly(const char *path) noexcept {
  struct stat status;
  return stat(path, &status) == 0 && !S_ISDIR(status.st_mode) && (status.st_mode & kWriteBits) == 0;
}

bool setReadOnly(const char *path, bool readOnly) noexcept {
  struct stat status;
  if (stat(path, &status) != 0 || S_ISDIR(status.st_mode)) return false;
  const mode_t mode = status.st_mode & 07777;
  return chmod(path, readOnly ? mode & ~kWriteBits : mode | S_IWUSR) == 0;
}

bool modificationTime(const char *path, std::int64_t &seconds) noexcept {
  struct stat status;
  if (stat(path, &status) != 0) return false;
  seconds = status.st_mtim.tv_sec;
  return true;
}

bool setModificationTime(const char *path, std::int64_t seconds) noexcept {
  timespec time = {};
  time.tv_sec = seconds;
  const timespec times[2] = {time, time};
  return utimensat(AT_FDCWD, path, times, 0) == 0;
}

bool listDirectory(const char *path, base::Vector<DirectoryEntry> &entries) {
  const std::unique_ptr<DIR, DirectoryCloser> directory(opendir(path));
  if (!directory) return false;
  while (const dirent *entry = readdir(directory.get())) {
    const std::string_view name = entry->d_name;
    if (name == "." || name == "..") continue;
    entries.push_back({base::String(name), isDirectory(dirfd(directory.get()), entry)});
  }
  return true;
}

base::String fullPath(const char *name) {
  base::String path;
  std::size_t rootLength = 1;
  char separator = '/';
  if (hasDrive(name) && isSeparator(name[2])) {
    separator = '\\';
    path.assign(name, 2);
    path += separator;
    rootLength = 3;
    name += 3;
  } else {
    if (hasDrive(name)) name += 2;
    if (isSeparator(*name)) {
      path = "/";
    } else if (!currentDirectory(path)) {
      return {};
    }
  }
  const std::string_view rest = name;
  appendComponents(path, rootLength, rest, separator);
  if (!rest.empty() && isSeparator(rest.back()) && path.back() != separator) path += separator;
  return path;
}

base::String temporaryDirectory() {
  const char *named = std::getenv("TMPDIR");
  base::String directory(named != nullptr && named[0] != '\0' ? named : "/tmp");
  if (directory.back() != '/') directory += '/';
  return directory;
}

bool networkName(const char *, base::String &) { return false; }

std::FILE *openStream(const char *path, const char *mode) noexcept {
  char closedOnExec[8];
  const int length = std::snprintf(closedOnExec, sizeof closedOnExec, "%se", mode);
  return length < static_cast<int>(sizeof closedOnExec) ? std::fopen(path, closedOnExec) : nullptr;
}

std::int64_t streamLength(std::FILE *stream) noexcept {
  const int file = fileno(stream);
  struct stat status;
  if (file < 0 || fstat(file, &status) != 0) return -1;
  return std::max<std::int64_t>(status.st_size, ftello(stream));
}

bool isSameFile(std::FILE *a, std::FILE *b) noexcept {
  struct stat first;
  struct stat second;
  const int firstFile = fileno(a);
  const int secondFile = fileno(b);
  if (firstFile < 0 || secondFile < 0 || fstat(firstFile, &first) != 0 ||
      fstat(secondFile, &second) != 0) {
    return false;
  }
  return S_ISREG(first.st_mode) && first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

}  // namespace zk::platform
