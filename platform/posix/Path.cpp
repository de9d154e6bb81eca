#include "platform/Path.h"

#include <dirent.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "platform/System.h"

namespace zk::platform {
namespace {

constexpr std::size_t kMaxDriveDirectory = 255;
// An empty entry stands for "/".
char driveDirectories[26][kMaxDriveDirectory + 1];

struct DirectoryCloser {
  void operator()(DIR *directory) const noexcept { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

// 0..25, or -1 for anything but an ASCII letter.
int driveIndex(char letter) {
  if (letter >= 'a' && letter <= 'z') return letter - 'a';
  if (letter >= 'A' && letter <= 'Z') return letter - 'A';
  return -1;
}

bool isSeparator(char c) { return c == '/' || c == '\\'; }

// `name` with "/" between the components and its drive letter replaced; looks at no disk.
base::String translate(const char *name) {
  base::String path;
  const int drive = driveIndex(name[0]);
  if (drive >= 0 && name[1] == ':') {
    name += 2;
    if (isSeparator(*name)) {
      path = driveDirectories[drive];
      while (!path.empty() && path.back() == '/') path.pop_back();
    } else if (*name == '\0') {
      return ".";
    }
  }
  const std::size_t start = path.size();
  path += name;
  for (std::size_t i = start; i < path.size(); ++i) {
    if (path[i] == '\\') path[i] = '/';
  }
  return path;
}

// A link that leads nowhere is there, too.
bool exists(const char *path) {
  struct stat status;
  return lstat(path, &status) == 0;
}

bool equalIgnoringCase(const char *a, const char *b, std::size_t length) {
  const unsigned char *lower = lowerCaseMap();
  for (std::size_t i = 0; i < length; ++i) {
    if (lower[static_cast<unsigned char>(a[i])] != lower[static_cast<unsigned char>(b[i])]) {
      return false;
    }
  }
  return true;
}

// Respells the component path[start, end) as the directory before it has it: as it stands when
// there is such an entry, else the first in byte order that differs in case only.
bool respellComponent(base::String &path, std::size_t start, std::size_t end) {
  const std::size_t length = end - start;
  const base::String parent = start == 0 ? base::String(".") : path.substr(0, start);
  const Directory directory(opendir(parent.c_str()));
  if (!directory) return false;
  base::String best;
  while (const dirent *entry = readdir(directory.get())) {
    const char *name = entry->d_name;
    if (std::strlen(name) != length || !equalIgnoringCase(name, path.data() + start, length)) {
      continue;
    }
    if (path.compare(start, length, name) == 0) return true;
    if (best.empty() || best.compare(name) > 0) best = name;
  }
  if (best.empty()) return false;
  path.replace(start, length, best);
  return true;
}

// The length of the longest leading part of whole components that exists as spelled.
std::size_t existingPrefix(base::String &path) {
  std::size_t end = path.size();
  while (end > 0) {
    while (end > 0 && path[end - 1] != '/') --end;
    const std::size_t next = end;
    while (end > 0 && path[end - 1] == '/') --end;
    if (end == 0) return next;
    path[end] = '\0';
    const bool found = exists(path.c_str());
    path[end] = '/';
    if (found) return next;
  }
  return 0;
}

// Respells, component by component, what is not there as spelled, as far as the disk has it.
void respell(base::String &path) {
  std::size_t start = existingPrefix(path);
  while (start < path.size()) {
    std::size_t end = path.find('/', start);
    if (end == base::String::npos) end = path.size();
    if (end > start && !respellComponent(path, start, end)) return;
    start = end + 1;
  }
}

}  // namespace

base::String nativePath(const char *name) {
  if (name == nullptr) return {};
  base::String path = translate(name);
  if (path.empty() || exists(path.c_str())) return path;
  if (errno == ENOENT || errno == ENOTDIR) respell(path);
  return path;
}

bool setDriveDirectory(char letter, const char *directory) noexcept {
  const int drive = driveIndex(letter);
  if (drive < 0) return false;
  if (directory == nullptr) directory = "";
  const std::size_t length = std::strlen(directory);
  if (length > kMaxDriveDirectory) return false;
  std::memmove(driveDirectories[drive], directory, length + 1);
  return true;
}

}  // namespace zk::platform
