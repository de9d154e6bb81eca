#include "zk/file.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>

#include "SRC/AppComponent.h"
#include "SRC/FileSearch.h"
#include "SRC/Fname.h"
#include "SRC/LineReader.h"
#include "SRC/Str.h"
#include "base/Guard.h"
#include "base/Number.h"
#include "platform/File.h"
#include "platform/FileSystem.h"
#include "platform/Path.h"

namespace zk {
namespace {

using base::String;
using platform::IoStatus;
using platform::PathKind;

constexpr int32_t kLineLength = 512;
constexpr std::size_t kCopyBlock = 16383;
constexpr std::size_t kSliceBlock = 65535;

// Serves every copying operation here.
char copyBuffer[kCopyBlock + 1];

bool isEmpty(const char *text) { return text == nullptr || *text == '\0'; }

// ---- Names and attributes ----------------------------------------------------------------------

bool isFile(const char *nativePath) { return platform::pathKind(nativePath) == PathKind::kFile; }

// Runs `body` with the native path; 0 for an empty name or when memory is refused.
template <typename Body>
int withNativePath(const char *path, Body body) {
  if (isEmpty(path)) return 0;
  return base::guarded(0, [&] { return body(platform::nativePath(path).c_str()) ? 1 : 0; });
}

bool isSameFile(const String &a, const String &b) {
  platform::FileIdentity first;
  platform::FileIdentity second;
  return platform::identifyPath(a.c_str(), first) == IoStatus::kOk &&
         platform::identifyPath(b.c_str(), second) == IoStatus::kOk && first == second;
}

// Whether the names are the same apart from case, wherever the files are.
bool isSameName(const char *a, const char *b) {
  return compareIgnoringCase(platform::fullPath(a), platform::fullPath(b)) == 0;
}

bool modificationTime(const char *path, int64_t &seconds) {
  return withNativePath(path, [&](const char *native) {
           return platform::modificationTime(native, seconds);
         }) != 0;
}

// The read-only mark protects a file from being deleted on every platform.
bool deleteNative(const char *nativePath) {
  return !platform::isReadOnly(nativePath) && platform::removeFile(nativePath) == IoStatus::kOk;
}

// ---- Contents ----------------------------------------------------------------------------------

// A file that is read or written from one end to the other.
class SequentialFile {
 public:
  SequentialFile() = default;
  ~SequentialFile() { platform::closeFile(file_); }
  SequentialFile(const SequentialFile &) = delete;
  SequentialFile &operator=(const SequentialFile &) = delete;

  bool openToRead(const String &nativePath) {
    return open(nativePath, platform::Access::kRead, platform::Creation::kOpenExisting);
  }
  // Creates the file where there is none; starts behind what it holds.
  bool openToAppend(const String &nativePath) {
    return open(nativePath, platform::Access::kReadWrite, platform::Creation::kOpenOrCreate) &&
           platform::fileLength(file_, position_) == IoStatus::kOk;
  }
  // Creates or empties the file.
  bool openToWrite(const String &nativePath) { return openToAppend(nativePath) && truncate(0); }

  bool length(uint64_t &length) const {
    return platform::fileLength(file_, length) == IoStatus::kOk;
  }
  uint64_t position() const { return position_; }

  // `got` is less than `size` only at the end.
  bool read(char *data, std::size_t size, std::size_t &got) {
    if (platform::readAt(file_, position_, data, size, got) != IoStatus::kOk) return false;
    position_ += got;
    return true;
  }
  bool write(const char *data, std::size_t size) {
    if (platform::writeAt(file_, position_, data, size) != IoStatus::kOk) return false;
    position_ += size;
    return true;
  }
  bool truncate(uint64_t length) {
    position_ = length;
    return platform::setFileLength(file_, length) == IoStatus::kOk;
  }
  void takeAttributes(const SequentialFile &other) { platform::copyAttributes(other.file_, file_); }
  bool close() { return platform::closeFile(file_) == IoStatus::kOk; }

 private:
  bool open(const String &nativePath, platform::Access access, platform::Creation creation) {
    return platform::openFile(nativePath.c_str(), access, creation, platform::Sharing::kAll,
                              file_) == IoStatus::kOk;
  }

  platform::NativeFile file_;
  uint64_t position_ = 0;
};

bool copyContents(SequentialFile &from, SequentialFile &to) {
  for (;;) {
    std::size_t got = 0;
    if (!from.read(copyBuffer, kCopyBlock, got)) return false;
    if (got == 0) return true;
    if (!to.write(copyBuffer, got)) return false;
  }
}

// Copies contents and time. What a failure leaves half written is removed.
enum class Attributes { kDefault, kKeep };
bool copyFile(const String &from, const String &to, Attributes attributes) {
  SequentialFile source;
  SequentialFile target;
  int64_t time = 0;
  if (!source.openToRead(from) || !platform::modificationTime(from.c_str(), time) ||
      !target.openToWrite(to)) {
    return false;
  }
  const bool copied = copyContents(source, target);
  if (attributes == Attributes::kKeep) target.takeAttributes(source);
  if (!target.close() || !copied) {
    platform::removeFile(to.c_str());
    return false;
  }
  platform::setModificationTime(to.c_str(), time);
  return true;
}

bool appendFile(const String &to, const String &from) {
  SequentialFile source;
  SequentialFile target;
  if (isSameFile(to, from) || !source.openToRead(from) || !target.openToAppend(to)) return false;
  const uint64_t before = target.position();
  if (copyContents(source, target)) return target.close();
  target.truncate(before);
  return false;
}

// Moves to another device: a copy under a temporary name first, so that `to` is never half there.
bool moveAcross(const String &from, const String &to) {
  String temporary;
  do {
    temporary = String(pathPart(to)) + nextTemporaryName().text;
  } while (platform::pathExists(temporary.c_str()));
  if (!copyFile(from, temporary, Attributes::kKeep)) return false;
  if (platform::replaceFile(temporary.c_str(), to.c_str()) != IoStatus::kOk) {
    platform::removeFile(temporary.c_str());
    return false;
  }
  platform::setReadOnly(from.c_str(), false);  // renaming would not have minded the mark
  return platform::removeFile(from.c_str()) == IoStatus::kOk;
}

bool moveFile(const String &from, const String &to) {
  if (platform::pathKind(from.c_str()) == PathKind::kNone) return false;
  if (isSameFile(from, to)) return true;
  if (platform::pathKind(to.c_str()) == PathKind::kDirectory || platform::isReadOnly(to.c_str())) {
    return false;
  }
  const IoStatus status = platform::replaceFile(from.c_str(), to.c_str());
  return status == IoStatus::kOk || (status == IoStatus::kFailed && moveAcross(from, to));
}

// ---- Lines -------------------------------------------------------------------------------------

struct StrListDestroyer {
  void operator()(StrList *list) const { zk_StrList_destroy(list); }
};
using OwnedStrList = std::unique_ptr<StrList, StrListDestroyer>;

struct StreamCloser {
  void operator()(std::FILE *stream) const { std::fclose(stream); }
};
using OwnedStream = std::unique_ptr<std::FILE, StreamCloser>;

// Empty when there is no such file. Binary: readLine deals with line ends alike everywhere.
OwnedStream openLines(const char *path) {
  const String native = platform::nativePath(path);
  return OwnedStream(isFile(native.c_str()) ? platform::openStream(native.c_str(), "rb") : nullptr);
}

// The lines of a file after `edit`, whose argument has room for one more character; null when there
// are none.
StrList *readLines(const char *path, void (*edit)(char *line)) {
  const OwnedStream stream = openLines(path);
  OwnedStrList lines;
  char line[kLineLength + 2];
  while (readLine(stream.get(), line, kLineLength) != 0) {
    if (!lines) lines.reset(zk_StrList_create(nullptr));
    edit(line);
    if (!lines || zk_StrList_insEnd(lines.get(), line) == 0) return nullptr;
  }
  return lines.release();
}

// ---- Deleting ----------------------------------------------------------------------------------

// Both count what they delete as they go, so that memory refused later does not hide it.
void deleteListed(const char *listPath, int &deleted) {
  base::Vector<String> names;
  {
    // Read as a whole first: the list may name itself.
    const OwnedStream list = openLines(listPath);
    char line[kLineLength + 1];
    while (readLine(list.get(), line, kLineLength) != 0) names.push_back(line);
  }
  for (const String &name : names) deleted |= zk_File_deleteSingle(name.c_str());
}

void deleteMatching(const char *pattern, int &deleted) {
  const String directory(pathPart(pattern));
  String native = platform::nativePath(directory.empty() ? "." : directory.c_str());
  if (!native.empty() && !isPathSeparator(native.back()) && native.back() != ':') native += '/';
  for (const platform::DirectoryEntry &entry : searchFiles(pattern)) {
    if (entry.directory || !deleteNative((native + entry.name).c_str())) continue;
    deleted = 1;
    revalidatePath((directory + entry.name).c_str());
  }
}

// ---- Pieces ------------------------------------------------------------------------------------

// The native names of a file's pieces. Nothing is allocated once it is made, so that no refused
// memory ends the work half way.
class PieceNames {
 public:
  explicit PieceNames(const char *path) : name_(rmvExt(path)) {
    name_ += ".1";
    // Further pieces are made from the spelling of the first.
    name_ = platform::nativePath(name_.c_str());
    stem_ = name_.size() - 1;
    name_.reserve(stem_ + kDigits);
  }
  // Valid until the next call.
  const String &operator()(int32_t number) {
    char digits[kDigits];
    name_.resize(stem_);
    return name_.append(digits, base::formatInteger(digits, kDigits, number));
  }

 private:
  static constexpr std::size_t kDigits = 10;
  String name_;
  std::size_t stem_;
};

void removePieces(PieceNames &names, int32_t count) {
  for (int32_t i = 1; i <= count; ++i) platform::removeFile(names(i).c_str());
}

// Writes the next `size` bytes of `source`, or what there is up to its end, as one piece; half a
// piece is removed.
bool writePiece(SequentialFile &source, const String &name, uint64_t size, char *buffer) {
  SequentialFile piece;
  if (!piece.openToWrite(name)) return false;
  bool written = true;
  while (size > 0 && written) {
    const std::size_t wanted = static_cast<std::size_t>(std::min<uint64_t>(size, kSliceBlock));
    std::size_t got = 0;
    written = source.read(buffer, wanted, got) && piece.write(buffer, got);
    if (got < wanted) break;
    size -= got;
  }
  if (piece.close() && written) return true;
  platform::removeFile(name.c_str());
  return false;
}

int32_t sliceFile(const char *path, int32_t pieceSize) {
  const String native = platform::nativePath(path);
  SequentialFile source;
  uint64_t length = 0;
  if (!source.openToRead(native) || !source.length(length)) return 0;
  const uint64_t pieces = length / pieceSize + 1;  // an exact multiple ends with an empty piece
  if (pieces > INT32_MAX) return 0;
  const int32_t count = static_cast<int32_t>(pieces);
  const base::OwnedBlock<char> buffer(static_cast<char *>(base::allocate(kSliceBlock + 1)));
  if (!buffer) return 0;
  PieceNames names(path);
  for (int32_t i = 1; i <= count; ++i) {
    if (isSameFile(native, names(i))) return 0;
  }
  for (int32_t i = 1; i <= count; ++i) {
    if (!writePiece(source, names(i), pieceSize, buffer.get())) {
      removePieces(names, i - 1);
      return 0;
    }
  }
  return count;
}

bool joinPieces(PieceNames &names, int32_t count, const String &to) {
  SequentialFile target;
  if (!target.openToWrite(to)) return false;
  bool joined = true;
  for (int32_t i = 1; i <= count && joined; ++i) {
    SequentialFile piece;
    joined = piece.openToRead(names(i)) && copyContents(piece, target);
  }
  if (target.close() && joined) return true;
  platform::removeFile(to.c_str());
  return false;
}

// The pieces go only when all of them are joined, so that a failure loses none.
int32_t mendFile(const char *path) {
  const String to = platform::nativePath(path);
  PieceNames names(path);
  int32_t count = 0;
  while (count < INT32_MAX && isFile(names(count + 1).c_str())) {
    ++count;
    if (isSameFile(names(count), to)) return 0;
  }
  if (count == 0 || !joinPieces(names, count, to)) return 0;
  removePieces(names, count);
  return count;
}

// ---- Scrambling --------------------------------------------------------------------------------

// Part of the file format: never to be changed.
constexpr std::array<unsigned char, 512> makeScramblingTable() {
  std::array<unsigned char, 512> table = {};
  uint32_t state = 0x5A4B1997u;
  for (unsigned char &entry : table) {
    state = state * 1664525u + 1013904223u;
    entry = static_cast<unsigned char>(state >> 24);
  }
  return table;
}
constexpr std::array<unsigned char, 512> kScramblingTable = makeScramblingTable();

bool scrambleFile(const String &to, const String &from) {
  SequentialFile source;
  SequentialFile target;
  // The destination first: it is left empty when there is no source. That is meant.
  if (isSameFile(to, from) || !target.openToWrite(to) || !source.openToRead(from)) return false;
  for (;;) {
    const uint64_t position = source.position();
    std::size_t got = 0;
    if (!source.read(copyBuffer, kCopyBlock, got)) return false;
    if (got == 0) return target.close();
    for (std::size_t i = 0; i < got; ++i) {
      const auto entry = static_cast<std::size_t>((position + i) % kScramblingTable.size());
      const int scrambled = static_cast<unsigned char>(copyBuffer[i]) ^ kScramblingTable[entry];
      copyBuffer[i] = static_cast<char>(scrambled);
    }
    if (!target.write(copyBuffer, got)) {
      target.truncate(0);
      return false;
    }
  }
}

// ---- Relative names ----------------------------------------------------------------------------

// "C:", "\\server\share", or nothing: what two paths must share to be relative to each other.
std::string_view rootOf(std::string_view path) {
  if (path.size() > 1 && path[1] == ':') return path.substr(0, 2);
  if (path.size() < 2 || !isPathSeparator(path[0]) || !isPathSeparator(path[1])) return {};
  const std::size_t server = path.find_first_of("\\/", 2);
  if (server == std::string_view::npos) return path;
  return path.substr(0, path.find_first_of("\\/", server + 1));
}

// Takes the first component off `path`; empty at its end.
std::string_view nextComponent(std::string_view &path) {
  while (!path.empty() && isPathSeparator(path.front())) path.remove_prefix(1);
  const std::string_view component = path.substr(0, path.find_first_of("\\/"));
  path.remove_prefix(component.size());
  return component;
}

void appendComponent(String &path, std::string_view component) {
  if (!path.empty()) path += '\\';
  path += component;
}

String relativeName(const char *base, const char *path) {
  const String fullBase = platform::fullPath(base);
  const String fullPath = platform::fullPath(path);
  std::string_view from = fullBase;
  std::string_view to = fullPath;
  const std::string_view root = rootOf(from);
  if (from.empty() || to.empty() || compareIgnoringCase(root, rootOf(to)) != 0) return path;
  from.remove_prefix(root.size());
  to.remove_prefix(root.size());

  std::string_view fromComponent = nextComponent(from);
  std::string_view toComponent = nextComponent(to);
  while (!fromComponent.empty() && compareIgnoringCase(fromComponent, toComponent) == 0) {
    fromComponent = nextComponent(from);
    toComponent = nextComponent(to);
  }
  String relative;
  for (; !fromComponent.empty(); fromComponent = nextComponent(from)) {
    appendComponent(relative, "..");
  }
  for (; !toComponent.empty(); toComponent = nextComponent(to)) {
    appendComponent(relative, toComponent);
  }
  return relative;
}

String networkPath(const char *path) {
  const char *colon = std::strchr(path, ':');
  String remote;
  if (colon == nullptr || !platform::networkName(String(path, colon + 1).c_str(), remote)) {
    return path;
  }
  return remote + (colon + 1);
}

// Puts what `make` makes into a static buffer, or `otherwise` when memory is refused.
template <typename Make>
const char *keepText(char *result, const char *otherwise, Make make) {
  const bool made = base::guarded(false, [&] {
    copyBounded(result, make(), kPathLength);
    return true;
  });
  if (!made) copyBounded(result, otherwise, kPathLength);
  return result;
}

// ---- The host's search -------------------------------------------------------------------------

struct Search {
  base::Vector<platform::DirectoryEntry> found;
  std::size_t next = 0;
};
// Plain, so that nothing runs at unload.
Search *currentSearch = nullptr;

void endSearch() { base::Owned<Search>(std::exchange(currentSearch, nullptr)).reset(); }

}  // namespace

int readLine(std::FILE *stream, char *buffer, int32_t size) {
  if (stream == nullptr || size < 0 || std::feof(stream)) return 0;
  int32_t length = 0;
  const auto store = [&](int c) {
    if (length == size) return;  // the rest of a long line is dropped
    if (buffer != nullptr) buffer[length] = static_cast<char>(c);
    ++length;
  };
  bool any = false;
  bool carriageReturn = false;
  int c;
  while ((c = std::getc(stream)) != EOF) {
    any = true;
    if (c == '\n') break;
    if (carriageReturn) store('\r');
    carriageReturn = c == '\r';
    if (!carriageReturn) store(c);
  }
  if (carriageReturn && c == EOF) store('\r');
  if (buffer != nullptr) buffer[length] = '\0';
  return any ? 1 : 0;
}

}  // namespace zk

using namespace zk;

int zk_File_exists(const char *path) {
  if (isEmpty(path)) return 0;
  const std::optional<bool> answer = zk::componentFileExists(path);
  return answer ? *answer : withNativePath(path, isFile);
}

int zk_File_revalidate(const char *path) { return !isEmpty(path) && revalidatePath(path) ? 1 : 0; }

int zk_File_hasAccess(const char *path, int mode) {
  if (mode != 0 && mode != 2 && mode != 4 && mode != 6) return 0;
  return withNativePath(path, [mode](const char *native) {
    return platform::hasAccess(native, (mode & 4) != 0, (mode & 2) != 0);
  });
}

int zk_File_isWriteEnabled(const char *path) { return zk_File_hasAccess(path, 2); }

int zk_File_setReadOnlyAccess(const char *path) {
  return withNativePath(path,
                        [](const char *native) { return platform::setReadOnly(native, true); });
}

int zk_File_setReadWriteAccess(const char *path) {
  return withNativePath(path,
                        [](const char *native) { return platform::setReadOnly(native, false); });
}

int32_t zk_File_length(FILE *stream) {
  if (stream == nullptr) return -1;
  return static_cast<int32_t>(std::min<int64_t>(platform::streamLength(stream), INT32_MAX));
}

int zk_File_getTime(const char *path, time_t *time) {
  int64_t seconds = 0;
  if (time == nullptr || !modificationTime(path, seconds)) return -1;
  if (static_cast<time_t>(seconds) != seconds) return -1;
  *time = static_cast<time_t>(seconds);
  return 0;
}

int zk_File_setTime(const char *path, time_t time) {
  return withNativePath(
      path, [time](const char *native) { return platform::setModificationTime(native, time); });
}

int zk_File_cmpTime(const char *pathA, const char *pathB) {
  int64_t timeA = 0;
  int64_t timeB = 0;
  if (!modificationTime(pathA, timeA)) return -1;
  if (!modificationTime(pathB, timeB)) return 1;
  return (timeA > timeB) - (timeA < timeB);
}

int zk_File_findFirst(const char *pattern, char *name) {
  endSearch();
  if (isEmpty(pattern) || name == nullptr) return -1;
  return base::guarded(-1, [&] {
    base::Owned<Search> search = base::make<Search>();
    if (!search) return -1;
    search->found = searchFiles(pattern);
    currentSearch = search.release();
    return zk_File_findNext(name);
  });
}

int zk_File_findNext(char *name) {
  if (currentSearch == nullptr || name == nullptr) return -1;
  if (currentSearch->next == currentSearch->found.size()) {
    endSearch();
    return -1;
  }
  copyBounded(name, currentSearch->found[currentSearch->next++].name, kPathLength);
  return 0;
}

int zk_File_readLine(FILE *stream, char *buffer, int32_t size) {
  return readLine(stream, buffer, size);
}

StrList *zk_File_readFile(const char *path) {
  if (isEmpty(path)) return nullptr;
  return base::guarded<StrList *>(nullptr, [&] {
    return readLines(path,
                     [](char *line) { std::replace(line, line + std::strlen(line), '\t', ' '); });
  });
}

StrList *zk_File_readFileExactly(const char *path) {
  if (isEmpty(path)) return nullptr;
  return base::guarded<StrList *>(
      nullptr, [&] { return readLines(path, [](char *line) { std::strcat(line, "\n"); }); });
}

int zk_File_copy(const char *source, const char *destination) {
  if (isEmpty(source) || isEmpty(destination)) return 1;
  return base::guarded(1, [&] {
    const String from = platform::nativePath(source);
    const String to = platform::nativePath(destination);
    // A file that is its own copy already counts as a failure. That is meant.
    if (isSameName(source, destination) || isSameFile(from, to)) return 1;
    if (!copyFile(from, to, Attributes::kDefault)) return 1;
    revalidatePath(destination);
    return 0;
  });
}

int zk_File_copyRest(FILE *destination, FILE *source) {
  if (destination == nullptr || source == nullptr || platform::isSameFile(destination, source)) {
    return 0;
  }
  std::size_t got;
  while ((got = std::fread(copyBuffer, 1, kCopyBlock, source)) > 0) {
    if (std::fwrite(copyBuffer, 1, got, destination) != got) return 0;
  }
  return std::ferror(source) ? 0 : 1;
}

int zk_File_append(const char *destination, const char *source) {
  if (isEmpty(destination) || isEmpty(source)) return 1;
  return base::guarded(1, [&] {
    return appendFile(platform::nativePath(destination), platform::nativePath(source)) ? 0 : 1;
  });
}

int zk_File_move(const char *source, const char *destination) {
  if (isEmpty(source) || isEmpty(destination)) return 0;
  return base::guarded(0, [&] {
    if (!moveFile(platform::nativePath(source), platform::nativePath(destination))) return 0;
    revalidatePath(source);
    revalidatePath(destination);
    return 1;
  });
}

int zk_File_delete(const char *pattern, int listFlag) {
  if (isEmpty(pattern)) return 0;
  int deleted = 0;
  base::guarded(false, [&] {
    (listFlag != 0 ? deleteListed : deleteMatching)(pattern, deleted);
    return true;
  });
  return deleted;
}

int zk_File_deleteSingle(const char *path) {
  if (isEmpty(path)) return 0;
  revalidatePath(path);
  return withNativePath(path, deleteNative);
}

int zk_File_create(const char *path) {
  return withNativePath(path, [](const char *native) {
    if (isFile(native)) return true;
    SequentialFile file;
    return file.openToAppend(native) && file.close();
  });
}

int32_t zk_File_slice(const char *path, int32_t pieceSize) {
  if (isEmpty(path) || pieceSize < 1) return 0;
  return base::guarded(0, [&] { return sliceFile(path, pieceSize); });
}

int32_t zk_File_mend(const char *path) {
  if (isEmpty(path)) return 0;
  return base::guarded(0, [&] { return mendFile(path); });
}

const char *zk_File_getUNCPathName(const char *path) {
  static char result[kPathLength + 1];
  if (path == nullptr) path = "";
  return keepText(result, path, [&] { return networkPath(path); });
}

const char *zk_File_getRelativeFilename(const char *base, const char *path) {
  static char result[kPathLength + 1];
  if (path == nullptr) path = "";
  return keepText(result, path, [&] {
    return base == nullptr || *path == '\0' ? String(path) : relativeName(base, path);
  });
}

int zk_File_encrypt(const char *destination, const char *source) {
  if (isEmpty(destination) || isEmpty(source)) return 0;
  return base::guarded(0, [&] {
    return scrambleFile(platform::nativePath(destination), platform::nativePath(source)) ? 1 : 0;
  });
}

int zk_File_decrypt(const char *destination, const char *source) {
  return zk_File_encrypt(destination, source);
}
