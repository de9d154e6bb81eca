// Records in memory where nobody else can change them: a window of the file for reading, and in
// exclusive mode a tail of appended records that are not in the file yet.
#pragma once

#include <cstdint>

#include "base/Memory.h"
#include "engine/File.h"

namespace zk::engine {

class RecordCache {
 public:
  explicit RecordCache(File &file) noexcept : file_(file) {}
  ~RecordCache();
  RecordCache(const RecordCache &) = delete;
  RecordCache &operator=(const RecordCache &) = delete;

  void setLayout(std::uint32_t headerLength, std::uint32_t recordLength) noexcept;
  std::uint64_t offsetOf(std::uint32_t number) const noexcept {
    return headerLength_ + static_cast<std::uint64_t>(number - 1) * recordLength_;
  }

  // Copies record `number` of `count` to `out`. Reading forward or backward fills the window; a
  // jump reads one record.
  int read(std::uint32_t number, std::uint32_t count, char *out) noexcept;
  // Overwrites a record, in the tail or in file and window.
  int write(std::uint32_t number, const char *record) noexcept;
  // Appends record `number`, the one behind the last, to the tail, which must not be full.
  int append(std::uint32_t number, const char *record) noexcept;
  bool tailIsFull() const noexcept { return tailCount_ == tailCapacity_; }
  // Writes the tail to the file; `lastNumber` is the file's last record then (0: nothing to do).
  int writeTail(std::uint32_t &lastNumber) noexcept;

  // Forgets the window. (The tail is not a copy: it stays.)
  void forget() noexcept { windowCount_ = 0; }

 private:
  bool inTail(std::uint32_t number) const noexcept {
    return tailCount_ > 0 && number >= tailFirst_;
  }
  bool inWindow(std::uint32_t number) const noexcept {
    return number - windowFirst_ < windowCount_;  // unsigned: false below the window
  }
  int fillWindow(std::uint32_t first, std::uint32_t count) noexcept;

  File &file_;
  std::uint32_t headerLength_ = 0;
  std::uint32_t recordLength_ = 1;

  char *window_ = nullptr;
  std::uint32_t windowCapacity_ = 0;
  std::uint32_t windowFirst_ = 1;
  std::uint32_t windowCount_ = 0;
  std::uint32_t lastRead_ = 0;

  char *tail_ = nullptr;
  std::uint32_t tailCapacity_ = 0;
  std::uint32_t tailFirst_ = 0;
  std::uint32_t tailCount_ = 0;
};

}  // namespace zk::engine
