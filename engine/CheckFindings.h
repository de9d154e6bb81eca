// What a check finds wrong: one sentence each, passed on at once.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/Memory.h"

namespace zk::engine {

class Findings {
 public:
  using Report = void (*)(const char *file, const char *text, void *user);
  // Of each file so many are passed on; of the others only the number.
  static constexpr std::uint32_t kShownPerFile = 50;

  // `prefix` begins every finding; it must be static.
  Findings(Report report, void *user, const char *prefix = "") noexcept
      : report_(report), user_(user), prefix_(prefix) {}

  // What is added from here on is about that file. Throws std::bad_alloc.
  void beginFile(const base::String &path);
  void endFile() noexcept;

  [[gnu::format(printf, 2, 3)]] void add(const char *format, ...) noexcept;
  // Counts one that is not shown: only while `full`.
  void addUnseen() noexcept;
  // A sentence that is no finding.
  [[gnu::format(printf, 2, 3)]] void note(const char *format, ...) noexcept;

  // Whether what the file has more is only counted.
  bool full() const noexcept { return inFile_ >= kShownPerFile; }
  std::uint32_t count() const noexcept { return count_; }

 private:
  void pass(const char *text) const noexcept;

  Report report_;
  void *user_;
  const char *prefix_;
  base::String path_;
  std::uint32_t inFile_ = 0;
  std::uint32_t count_ = 0;
};

// Bytes between quotation marks, for a finding: what is not printable ASCII as \xNN, long ones cut.
class Quoted {
 public:
  Quoted(const void *bytes, std::size_t size) noexcept;
  const char *text() const noexcept { return text_; }

 private:
  static constexpr std::size_t kMostBytes = 40;
  char text_[4 * kMostBytes + 8];
};

}  // namespace zk::engine
