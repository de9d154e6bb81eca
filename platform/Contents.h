// A file from its opening to its closing, and as a whole.
#pragma once

#include "platform/File.h"

namespace zk::platform {

// Closes the file with its owner.
struct OpenedFile {
  OpenedFile() = default;
  ~OpenedFile() { closeFile(handle); }
  OpenedFile(const OpenedFile &) = delete;
  OpenedFile &operator=(const OpenedFile &) = delete;

  NativeFile handle;
};

// Everything that the file holds. Throws std::bad_alloc.
inline IoStatus readContents(NativeFile file, base::String &contents) {
  std::uint64_t length = 0;
  const IoStatus status = fileLength(file, length);
  if (status != IoStatus::kOk) return status;
  if (length > contents.max_size()) throw std::bad_alloc();
  contents.resize(static_cast<std::size_t>(length));
  std::size_t got = 0;
  const IoStatus read = readAt(file, 0, contents.data(), contents.size(), got);
  contents.resize(got);
  return read;
}

}  // namespace zk::platform
