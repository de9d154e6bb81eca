// Whole files and directories: what a name stands for, attributes, times, listings, streams.
//
// Paths are native (see Path.h) except where a parameter is called `name`. Contents are read and
// written through File.h.
#pragma once

#include <cstdint>
#include <cstdio>

#include "base/Memory.h"

namespace zk::platform {

enum class PathKind { kNone, kFile, kDirectory };
// Links are followed; one that leads nowhere is kNone.
PathKind pathKind(const char *path) noexcept;

// Whether the path exists and allows what is asked for. A file marked read-only is not writable,
// even for the superuser.
bool hasAccess(const char *path, bool read, bool write) noexcept;

// A file's read-only mark (Linux: no write bit). Directories have none: false.
bool isReadOnly(const char *path) noexcept;
bool setReadOnly(const char *path, bool readOnly) noexcept;

// Seconds since 1970, UTC. setModificationTime sets the time of the last access as well.
bool modificationTime(const char *path, std::int64_t &seconds) noexcept;
bool setModificationTime(const char *path, std::int64_t seconds) noexcept;

struct DirectoryEntry {
  base::String name;
  bool directory;
};
// Appends what lies in the directory, hidden or not, except "." and "..", in no order. False when
// it cannot be read. Throws std::bad_alloc.
bool listDirectory(const char *path, base::Vector<DirectoryEntry> &entries);

// The absolute spelling of `name` without "." and "..", a trailing separator kept; empty when there
// is none. The disk is asked for the current directory only. Windows: the system's full path.
// Linux: with "\" when `name` has a drive and a separator ("C:\a"), else with "/". Throws
// std::bad_alloc.
base::String fullPath(const char *name);

// The system's directory for temporary files, with a separator at its end. Throws std::bad_alloc.
base::String temporaryDirectory();

// The network name behind a drive ("X:"); false when it has none (on Linux always). Throws
// std::bad_alloc.
bool networkName(const char *drive, base::String &remote);

// Opens a stream of the C runtime; `mode` as for fopen. Null when that fails.
std::FILE *openStream(const char *path, const char *mode) noexcept;
// The stream's length, bytes not yet written out included; its position stays. -1 on failure.
std::int64_t streamLength(std::FILE *stream) noexcept;
// Whether both streams work on one file on disk, whatever its names.
bool isSameFile(std::FILE *a, std::FILE *b) noexcept;

}  // namespace zk::platform
