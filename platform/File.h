// Positional file I/O and byte-range locks, in the library's own terms.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/Memory.h"

namespace zk::platform {

enum class IoStatus {
  kOk,
  kNotFound,  // no such file or directory
  kExists,    // kCreateNew, and something of that name exists
  kDenied,    // permission, share mode, read-only, or a directory where a file is needed
  kLocked,    // another holder has the range
  kFailed,    // anything else: disk full, I/O error, bad argument
};

enum class Access { kRead, kReadWrite };
enum class Creation { kOpenExisting, kOpenOrCreate, kCreateNew };

// What other openers may do meanwhile. On Windows these are share modes; on Linux they are kept by
// presence locks (see engine/File.h), and the value is ignored here.
enum class Sharing { kAll, kReaders, kNone };

struct NativeFile {
  std::intptr_t value = -1;
  bool valid() const { return value != -1; }
};

// Which file a handle is, whatever its name.
struct FileIdentity {
  std::uint64_t volume = 0;
  std::uint64_t index = 0;
  bool operator==(const FileIdentity &) const = default;
};

// `path` is native (see Path.h). A file that the system or its attributes mark read-only is kDenied
// for kReadWrite, even for the superuser.
IoStatus openFile(const char *path, Access access, Creation creation, Sharing sharing,
                  NativeFile &file) noexcept;
IoStatus closeFile(NativeFile &file) noexcept;

// Reads up to `size` bytes; `got` is less only at the end of the file.
IoStatus readAt(NativeFile file, std::uint64_t offset, void *data, std::size_t size,
                std::size_t &got) noexcept;
// Writes all bytes or fails.
IoStatus writeAt(NativeFile file, std::uint64_t offset, const void *data,
                 std::size_t size) noexcept;
IoStatus fileLength(NativeFile file, std::uint64_t &length) noexcept;
IoStatus setFileLength(NativeFile file, std::uint64_t length) noexcept;
// Waits until the file's data is on the disk.
IoStatus syncFile(NativeFile file) noexcept;
IoStatus identifyFile(NativeFile file, FileIdentity &identity) noexcept;
IoStatus identifyPath(const char *path, FileIdentity &identity) noexcept;

// Byte-range locks. They belong to this handle, exclude every other handle of this and any other
// process, and never wait. Locking a range that this handle holds in another kind converts it.
enum class LockKind { kShared, kExclusive };
IoStatus lockRange(NativeFile file, std::uint64_t start, std::uint64_t length,
                   LockKind kind) noexcept;
IoStatus unlockRange(NativeFile file, std::uint64_t start, std::uint64_t length) noexcept;

// True when share modes do the work of presence locks (Windows).
bool hasShareModes() noexcept;

// Renames within a directory, replacing `to` at once when it exists.
IoStatus replaceFile(const char *from, const char *to) noexcept;
// The same while both are open, by handles that keep everybody else out (Sharing::kNone); `from`
// stays open, `to` is gone when it is closed. Windows: `to` is moved to the name `aside` first, and
// for a moment there is no file of its name.
IoStatus replaceOpenFile(NativeFile from, const char *fromPath, NativeFile to, const char *toPath,
                         const char *aside) noexcept;
// When somebody is in the midst of that, waits for the end of it; takes it back when the program
// died there.
void settleReplacement(const char *path, const char *aside) noexcept;
IoStatus removeFile(const char *path) noexcept;
bool pathExists(const char *path) noexcept;
// Gives `to` the permissions and, where allowed, the owner of `from`.
void copyAttributes(NativeFile from, NativeFile to) noexcept;
// The path with symbolic links followed, so that replacing it replaces the file itself; the path
// as given where that is not possible. Throws std::bad_alloc.
base::String finalPath(const char *path);

}  // namespace zk::platform
