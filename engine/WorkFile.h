// The working file of a sort that does not fit in memory: TEMPnnnn.TMP in the current directory,
// or where that refuses in the one for temporary files; nnnn is the time in seconds modulo 10000.
// It is deleted with its object.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/Memory.h"
#include "engine/Context.h"
#include "platform/File.h"

namespace zk::engine {

class WorkFile {
 public:
  // The time in seconds, and waiting, which is false when the application is asked to quit.
  struct Clock {
    std::int64_t (*seconds)() noexcept;
    bool (*wait)(std::uint32_t microseconds) noexcept;
  };

  explicit WorkFile(Context &context) noexcept;
  WorkFile(Context &context, const Clock &clock) noexcept : context_(context), clock_(clock) {}
  ~WorkFile();
  WorkFile(const WorkFile &) = delete;
  WorkFile &operator=(const WorkFile &) = delete;

  // Creates the file unless it was created before. Where a file of the name exists, the next
  // second's name is tried, 100 names at most; then -20. Throws std::bad_alloc.
  int create();

  // Exactly `size` bytes; or -70, -120.
  int read(std::uint64_t offset, void *data, std::size_t size) noexcept;
  int write(std::uint64_t offset, const void *data, std::size_t size) noexcept;

 private:
  bool waitForNextSecond(std::int64_t second) noexcept;

  Context &context_;
  Clock clock_;
  platform::NativeFile handle_;
  base::String path_;
};

}  // namespace zk::engine
