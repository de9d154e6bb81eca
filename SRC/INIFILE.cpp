// INI files read and rewritten as they lie on disk.
#include "zk/ini.h"

#include <cstdio>
#include <memory>

#include "SRC/AppComponent.h"
#include "SRC/Fname.h"
#include "SRC/Ini.h"
#include "SRC/IniLine.h"
#include "SRC/LineReader.h"
#include "SRC/Str.h"
#include "SRC/StrList.h"
#include "base/Guard.h"
#include "platform/Contents.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace zk {
namespace {

using base::String;
using platform::IoStatus;

constexpr int32_t kLineLength = 1024;
constexpr const char *kTemporaryName = "zk_tmp.ini";

// ---- Reading -----------------------------------------------------------------------------------

bool findGroup(std::FILE *stream, std::string_view group) {
  char line[kLineLength + 1];
  while (readLine(stream, line, kLineLength) != 0) {
    if (isHeaderOf(line, group)) return true;
  }
  return false;
}

// Calls visit(line) with every line of the group that is not empty, without the blanks at its
// start, until it gives false. False then, and when there is no such file or group. Throws
// std::bad_alloc.
template <typename Visit>
bool forEachLine(const char *path, const char *group, Visit visit) {
  const String native = platform::nativePath(path);
  if (platform::pathKind(native.c_str()) != platform::PathKind::kFile) return false;
  const std::unique_ptr<std::FILE, int (*)(std::FILE *)> stream(
      platform::openStream(native.c_str(), "rb"),
      [](std::FILE *file) { return std::fclose(file); });
  if (stream == nullptr || !findGroup(stream.get(), group)) return false;

  char buffer[kLineLength + 1];
  while (readLine(stream.get(), buffer, kLineLength) != 0) {
    const std::string_view line = leftTrimmed(buffer);
    if (line.empty()) continue;
    if (line.front() == '[') break;
    if (!visit(line)) return false;
  }
  return true;
}

bool isComment(std::string_view line) { return line.front() == ';'; }

StrList *readLines(const char *path, const char *group, bool keepComments) {
  OwnedStringList lines;
  const bool read = forEachLine(path, group, [&](std::string_view line) {
    if (isComment(line) && !keepComments) return true;
    if (lines == nullptr) lines.reset(newList());
    return lines != nullptr && appendString(*lines, line);
  });
  return read ? lines.release() : nullptr;
}

FldList *readItems(const char *path, const char *group) {
  OwnedFieldList items;
  const bool read = forEachLine(path, group, [&](std::string_view line) {
    const IniVariable variable = parseIniVariable(line);
    if (isComment(line) || variable.name.empty() || variable.value.empty()) return true;
    if (items == nullptr) items.reset(newList());
    const String name(variable.name);
    const String value(variable.value);
    return items != nullptr && appendField(items.get(), name.c_str(),
                                           textValue(ZK_FLD_CHAR, value.c_str())) == ZK_FLD_OK;
  });
  return read ? items.release() : nullptr;
}

// ---- Rewriting ---------------------------------------------------------------------------------

// Takes the first line off `text`, line end included.
std::string_view nextLine(std::string_view &text) {
  const std::size_t end = text.find('\n');
  const std::string_view line = text.substr(0, end == std::string_view::npos ? end : end + 1);
  text.remove_prefix(line.size());
  return line;
}

// The part of a line that the line reader gives.
std::string_view readable(std::string_view line) { return line.substr(0, kLineLength); }

// The contents of a file with one group's variables replaced. Throws std::bad_alloc.
class Rewriter {
 public:
  explicit Rewriter(std::string_view contents) : rest_(contents) {
    std::string_view text = contents;
    const std::string_view first = nextLine(text);
    if (first.ends_with("\r\n")) lineEnd_ = "\r\n";
  }

  String rewrite(std::string_view group, const FldList &list) {
    if (!copyToHeader(group)) {
      result_ += '[';
      result_ += group;
      result_ += ']';
      result_ += lineEnd_;
    }
    forEachIniVariable(list, [this](const char *name, const char *text) {
      result_ += name;
      result_ += '=';
      result_ += text;
      result_ += lineEnd_;
    });
    result_ += lineEnd_;
    dropToNextHeader();
    result_ += rest_;
    return std::move(result_);
  }

 private:
  // Copies up to the group's header and with it, or everything; a last line is ended.
  bool copyToHeader(std::string_view group) {
    bool found = false;
    while (!found && !rest_.empty()) {
      const std::string_view line = nextLine(rest_);
      result_ += line;
      if (line.back() != '\n') result_ += lineEnd_;
      found = isHeaderOf(readable(line), group);
    }
    return found;
  }

  void dropToNextHeader() {
    std::string_view name;
    for (std::string_view text = rest_; !rest_.empty(); rest_ = text) {
      if (parseIniGroup(readable(nextLine(text)), name)) return;
    }
  }

  std::string_view rest_;
  std::string_view lineEnd_ = "\n";
  String result_;
};

// The file that is to take the place of another one. While this holds it nobody else writes one.
class Replacement {
 public:
  explicit Replacement(const String &target)
      : target_(target), path_(String(pathPart(target)) + kTemporaryName) {}
  Replacement(const Replacement &) = delete;
  Replacement &operator=(const Replacement &) = delete;
  ~Replacement() {
    if (!isHeld_) return;
    // Where open files can be removed it still is ours then.
    if (!platform::hasShareModes()) platform::removeFile(path_.c_str());
    platform::closeFile(file_.handle);
    if (platform::hasShareModes()) platform::removeFile(path_.c_str());
  }

  // False when it cannot be made or another program holds it. One that was left behind is emptied.
  bool open() {
    if (compareIgnoringCase(path_, target_) == 0) return false;
    if (platform::openFile(path_.c_str(), platform::Access::kReadWrite,
                           platform::Creation::kOpenOrCreate, platform::Sharing::kNone,
                           file_.handle) != IoStatus::kOk) {
      return false;
    }
    // Where opening does not keep others out a lock does. The file that was opened may meanwhile
    // have been put in place by its writer.
    if (!platform::hasShareModes() &&
        platform::lockRange(file_.handle, 0, 1, platform::LockKind::kExclusive) != IoStatus::kOk) {
      return false;
    }
    isHeld_ = isNow(path_) && !isNow(target_);
    return isHeld_ && platform::setFileLength(file_.handle, 0) == IoStatus::kOk;
  }

  bool write(const String &contents) {
    return platform::writeAt(file_.handle, 0, contents.data(), contents.size()) == IoStatus::kOk;
  }
  void takeAttributes(platform::NativeFile from) { platform::copyAttributes(from, file_.handle); }

  bool putInPlace() {
    // Open files cannot be renamed there.
    if (platform::hasShareModes() && platform::closeFile(file_.handle) != IoStatus::kOk) {
      return false;
    }
    if (platform::replaceFile(path_.c_str(), target_.c_str()) != IoStatus::kOk) return false;
    isHeld_ = false;
    return true;
  }

 private:
  // Whether the file is the one that has this name now.
  bool isNow(const String &path) const {
    platform::FileIdentity own;
    platform::FileIdentity there;
    return platform::identifyFile(file_.handle, own) == IoStatus::kOk &&
           platform::identifyPath(path.c_str(), there) == IoStatus::kOk && own == there;
  }

  const String &target_;
  String path_;
  platform::OpenedFile file_;
  bool isHeld_ = false;
};

bool replaceItems(const char *path, const char *group, const FldList &list) {
  const String target = platform::finalPath(platform::nativePath(path).c_str());
  Replacement replacement(target);
  if (platform::isReadOnly(target.c_str()) || !replacement.open()) return false;

  // Read only now, so that two programs that rewrite one file do not undo each other's work.
  platform::OpenedFile existing;
  String contents;
  const IoStatus status =
      platform::openFile(target.c_str(), platform::Access::kRead, platform::Creation::kOpenExisting,
                         platform::Sharing::kAll, existing.handle);
  if (status == IoStatus::kOk) {
    if (platform::readContents(existing.handle, contents) != IoStatus::kOk) return false;
    replacement.takeAttributes(existing.handle);
    platform::closeFile(existing.handle);
  } else if (status != IoStatus::kNotFound) {
    return false;
  }
  return replacement.write(Rewriter(contents).rewrite(group, list)) && replacement.putInPlace();
}

}  // namespace
}  // namespace zk

using namespace zk;

ZK_EXTERN_C_BEGIN

int ZK_CALL zk_Ini_findGroup(FILE *stream, const char *group) {
  return stream != nullptr && group != nullptr && findGroup(stream, group);
}

StrList *ZK_CALL zk_Ini_getGroupLines(const char *file, const char *group, int keepComments) {
  if (file == nullptr || group == nullptr) return nullptr;
  return base::guarded<StrList *>(nullptr,
                                  [&] { return readLines(file, group, keepComments != 0); });
}

FldList *ZK_CALL zk_Ini_getGroupItems(const char *file, const char *group) {
  if (file == nullptr || group == nullptr) return nullptr;
  return base::guarded<FldList *>(nullptr, [&] { return readItems(file, group); });
}

int ZK_CALL zk_Ini_setGroupItems(const char *file, const char *group, const FldList *list) {
  if (file == nullptr || *file == '\0' || group == nullptr || list == nullptr) return 0;
  if (!base::guarded(false, [&] { return replaceItems(file, group, *list); })) return 0;
  revalidatePath(file);
  return 1;
}

ZK_EXTERN_C_END
