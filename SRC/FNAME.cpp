#include "zk/file.h"

#include "SRC/Fname.h"
#include "SRC/Str.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>

#include "base/Guard.h"
#include "platform/FileSystem.h"

namespace zk {
namespace {

constexpr std::string_view kEllipsis = "...";

// Where the "." of the extension is, or npos.
std::size_t extensionDot(std::string_view path) {
  for (std::size_t i = path.size(); i > 0 && !isPathSeparator(path[i - 1]); --i) {
    if (path[i - 1] == '.') return i - 1;
  }
  return std::string_view::npos;
}

// Appends what fits into a buffer of `capacity` characters.
void appendBounded(char *path, std::string_view text, std::size_t capacity = kPathLength) {
  const std::size_t length = std::strlen(path);
  if (length < capacity) copyBounded(path + length, text, capacity - length);
}

// A part of a name being built: a missing one is as good as an empty one.
std::string_view partOf(const char *text) { return text != nullptr ? text : ""; }

// "C:\", "C:" or leading separators: what an abbreviated path keeps in front.
std::size_t rootLength(std::string_view path) {
  std::size_t length = path.size() > 1 && path[1] == ':' ? 2 : 0;
  while (length < path.size() && isPathSeparator(path[length])) ++length;
  return length;
}

// The longest beginning of at most `width` bytes that cuts no character.
std::size_t wholeCharacters(const char *text, std::size_t width) {
  std::size_t length = 0;
  for (;;) {
    const std::size_t step = characterLength(text + length);
    if (step == 0 || length + step > width) return length;
    length += step;
  }
}

// Leaves the root, "..." and as many of the last components as fit. False when not even the name
// does.
bool dropDirectories(char *path, std::size_t width) {
  const std::size_t length = std::strlen(path);
  const std::size_t root = rootLength(path);
  for (std::size_t i = root; i < length; ++i) {
    if (isPathSeparator(path[i]) && root + kEllipsis.size() + length - i <= width) {
      std::memmove(path + root + kEllipsis.size(), path + i, length - i + 1);
      kEllipsis.copy(path + root, kEllipsis.size());
      return true;
    }
  }
  return false;
}

// Leaves the file name alone, cut with "..." where it is too long for that, too.
void shortenName(char *path, std::size_t width) {
  const std::string_view name = rmvPath(path);
  std::memmove(path, name.data(), name.size() + 1);
  if (std::strlen(path) <= width) return;
  const bool marked = width > kEllipsis.size();
  const std::size_t kept = wholeCharacters(path, marked ? width - kEllipsis.size() : width);
  copyBounded(path + kept, marked ? kEllipsis : "", kEllipsis.size());
}

base::String buildName(const char *drive, const char *dir, const char *name, const char *ext) {
  base::String path(partOf(drive));
  if (!path.empty() && path.back() != ':') path += ':';
  path += partOf(dir);
  if (!partOf(dir).empty() && !isPathSeparator(path.back())) path += '\\';
  path += partOf(name);
  const std::string_view suffix = partOf(ext);
  if (!suffix.empty() && suffix.front() != '.') path += '.';
  path += suffix;
  return path;
}

}  // namespace

std::string_view pathPart(std::string_view path) {
  std::size_t end = path.size();
  while (end > 0 && !isPathSeparator(path[end - 1]) && path[end - 1] != ':') --end;
  return path.substr(0, end);
}

std::string_view rmvPath(std::string_view path) { return path.substr(pathPart(path).size()); }

std::string_view rmvExt(std::string_view path) { return path.substr(0, extensionDot(path)); }

std::string_view extension(std::string_view path) {
  const std::size_t dot = extensionDot(path);
  return path.substr(dot == std::string_view::npos ? path.size() : dot + 1);
}

void addExt(char *path, std::string_view ext, std::size_t capacity) {
  if (!ext.empty() && ext.front() == '.') ext.remove_prefix(1);
  path[rmvExt(path).size()] = '\0';
  appendBounded(path, ".", capacity);
  appendBounded(path, ext, capacity);
}

TemporaryName nextTemporaryName() {
  // A generator of its own: the host's sequence of random numbers stays as it is.
  static uint32_t state =
      static_cast<uint32_t>(std::chrono::system_clock::now().time_since_epoch().count());
  state = state * 1664525u + 1013904223u;
  TemporaryName name;
  std::snprintf(name.text, sizeof name.text, "zk_%05u",
                static_cast<unsigned>((state >> 8) % 32767));
  return name;
}

}  // namespace zk

using namespace zk;

char *zk_Fname_fixDir(char *path) {
  if (path != nullptr && *path != '\0' && !isPathSeparator(path[std::strlen(path) - 1])) {
    appendBounded(path, "\\");
  }
  return path;
}

char *zk_Fname_addExt(char *path, const char *ext) {
  if (path == nullptr || ext == nullptr) return path;
  char copy[kPathLength + 1];  // `ext` may be a part of the path
  copyBounded(copy, ext, kPathLength);
  addExt(path, copy);
  return path;
}

int zk_Fname_modExt(char *path, const char *ext, int replace) {
  if (path == nullptr) return 0;
  if (replace == 0 && extensionDot(path) != std::string_view::npos) return 1;
  if (ext == nullptr || *ext == '\0') {
    zk_Fname_rmvExt(path);
  } else {
    zk_Fname_addExt(path, ext);
  }
  return 1;
}

int32_t zk_Fname_extractPath(const char *path, char *out) {
  const std::string_view part = pathPart(partOf(path)).substr(0, kPathLength);
  if (out != nullptr) copyBounded(out, part, kPathLength);
  return static_cast<int32_t>(part.size());
}

char *zk_Fname_extractExt(const char *path, char *out) {
  if (out != nullptr) copyBounded(out, extension(partOf(path)), kPathLength);
  return out;
}

char *zk_Fname_rmvPath(char *path) {
  if (path != nullptr) {
    const std::string_view name = rmvPath(path);
    std::memmove(path, name.data(), name.size() + 1);
  }
  return path;
}

char *zk_Fname_rmvExt(char *path) {
  if (path != nullptr) path[rmvExt(path).size()] = '\0';
  return path;
}

char *zk_Fname_build(char *out, const char *drive, const char *dir, const char *name,
                     const char *ext) {
  if (out == nullptr) return nullptr;
  return base::guarded<char *>(nullptr, [&] {
    copyBounded(out, buildName(drive, dir, name, ext), kPathLength);
    return out;
  });
}

char *zk_Fname_abbreviate(char *path, int32_t width) {
  if (path == nullptr) return nullptr;
  const std::size_t limit = width > 0 ? static_cast<std::size_t>(width) : 0;
  if (std::strlen(path) > limit && !dropDirectories(path, limit)) shortenName(path, limit);
  return path;
}

const char *zk_Fname_createTemp(void) {
  static TemporaryName name;
  name = nextTemporaryName();
  return name.text;
}

const char *zk_Fname_fullPath(const char *path) {
  static char result[kPathLength + 1];
  if (path == nullptr) path = "";
  const bool found = base::guarded(false, [&] {
    const base::String full = platform::fullPath(path);
    if (full.empty() || full.size() > kPathLength) return false;
    copyBounded(result, full, kPathLength);
    return true;
  });
  if (!found) copyBounded(result, path, kPathLength);
  return result;
}
