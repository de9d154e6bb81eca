#include "zk/dir.h"

#include <cstring>

#include "SRC/AppComponent.h"
#include "SRC/FileSearch.h"
#include "SRC/Fname.h"
#include "SRC/Str.h"
#include "SRC/StrList.h"
#include "base/Guard.h"
#include "platform/Directory.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace zk {
namespace {

using base::String;

void toLower(String &text) { zk_Str_toLower(text.data(), text.c_str()); }

bool isEmpty(const char *text) { return text == nullptr || *text == '\0'; }

bool isDrive(std::string_view path) { return path.size() == 2 && path[1] == ':'; }

// 0 or -1, as the directory functions have it.
int status(bool done) { return done ? 0 : -1; }

int createAlong(const String &path) {
  int result = -1;
  for (std::size_t i = 1; i < path.size(); ++i) {
    if (!isPathSeparator(path[i])) continue;
    const String directory = platform::nativePath(path.substr(0, i).c_str());
    if (platform::pathExists(directory.c_str())) continue;
    result = status(platform::createDirectory(directory.c_str()) == platform::IoStatus::kOk);
  }
  return result;
}

// Without the separator at its end, unless that follows a drive's ":" or is all there is.
String withoutLastSeparator(const char *path) {
  String result = path;
  if (result.size() > 1 && isPathSeparator(result.back()) && result[result.size() - 2] != ':') {
    result.pop_back();
  }
  return result;
}

// Empty for a drive or a root.
String parentOf(const char *path) {
  String full = platform::fullPath(path);
  if (!full.empty() && isPathSeparator(full.back())) full.pop_back();
  full.resize(pathPart(full).size());
  return full.empty() || full.back() == ':' ? String() : full;
}

bool deleteFile(const String &nativePath) {
  revalidatePath(nativePath.c_str());
  return !platform::isReadOnly(nativePath.c_str()) &&
         platform::removeFile(nativePath.c_str()) == platform::IoStatus::kOk;
}

// Listed as a whole first, so that deleting disturbs nothing. `path` is native, and as it was again
// at the end.
bool deleteTree(String &path) {
  if (platform::isLink(path.c_str())) return platform::removeLink(path.c_str());
  base::Vector<platform::DirectoryEntry> entries;
  platform::listDirectory(path.c_str(), entries);
  const std::size_t length = path.size();
  for (const platform::DirectoryEntry &entry : entries) {
    if (!isPathSeparator(path.back())) path += '/';
    path += entry.name;
    if (entry.directory || platform::isLink(path.c_str())) {
      deleteTree(path);
    } else {
      deleteFile(path);
    }
    path.resize(length);
  }
  return platform::removeDirectory(path.c_str());
}

}  // namespace
}  // namespace zk

using namespace zk;

int zk_Dir_exists(const char *path) {
  return !isEmpty(path) && componentDirectoryExists(path).value_or(false) ? 1 : 0;
}

const char *zk_Dir_current(void) {
  static char result[kPathLength + 1];
  return base::guarded<const char *>("", [] {
    const String current = platform::fullPath("");
    copyBounded(result, current.size() <= kPathLength ? current : String(), kPathLength);
    return result;
  });
}

int zk_Dir_create(const char *path) {
  if (isEmpty(path)) return -1;
  return base::guarded(-1, [path] {
    String copy = path;
    toLower(copy);
    if (!isPathSeparator(copy.back())) copy += '\\';
    if (copy.size() > kPathLength) return -1;
    revalidatePath(copy.c_str());
    return createAlong(copy);
  });
}

int zk_Dir_delete(const char *path) {
  if (isEmpty(path)) return -1;
  return base::guarded(
      -1, [path] { return status(platform::removeDirectory(platform::nativePath(path).c_str())); });
}

int zk_Dir_change(const char *path) {
  if (isEmpty(path)) return -1;
  return base::guarded(-1, [path] {
    const String directory = withoutLastSeparator(path);
    if (directory.size() > 1 && directory[1] == ':') {
      const int result = zk_Drive_set(zk_Drive_num(directory[0]));
      if (result != 0 || isDrive(directory)) return result;
    }
    // A drive that was left is not returned to on failure, as zk_Drive_get does not tell it. That
    // is meant.
    return status(platform::changeDirectory(platform::nativePath(directory.c_str()).c_str()));
  });
}

const char *zk_Dir_getParent(const char *path) {
  static char result[kPathLength + 1];
  if (isEmpty(path)) return nullptr;
  return base::guarded<const char *>(nullptr, [path]() -> const char * {
    const String parent = parentOf(path);
    if (parent.empty() || parent.size() > kPathLength) return nullptr;
    copyBounded(result, parent, kPathLength);
    return result;
  });
}

StrList *zk_Dir_list(const char *pattern) {
  if (isEmpty(pattern)) return nullptr;
  return base::guarded<StrList *>(nullptr, [pattern]() -> StrList * {
    const auto found = searchFiles(pattern);
    if (found.empty()) return nullptr;
    OwnedStringList list(newList());
    if (!list) return nullptr;
    for (const platform::DirectoryEntry &entry : found) {
      String path(pathPart(pattern));
      path += entry.name;
      toLower(path);
      if (!appendString(*list, path)) return nullptr;
    }
    return list.release();
  });
}

int zk_Dir_deleteTree(const char *directory) {
  if (isEmpty(directory) || isDrive(directory)) return 0;
  return base::guarded(0, [directory] {
    if (parentOf(directory).empty()) return 0;
    String path = platform::nativePath(withoutLastSeparator(directory).c_str());
    return deleteTree(path) ? 1 : 0;
  });
}
