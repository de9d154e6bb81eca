// The memo file of a table (extension FPT). Numbers are big-endian.
//
//   0..3   number of the next free block      6..7  block size      ..511 reserved
//   A block starts at its number times the block size: type (4 bytes, 1 text), length (4), data.
//   A memo takes as many blocks as header and data need.
//
// A record refers to a memo by block number: decimal digits, right-justified, blanks for none; or,
// in a field of width 4, 4 bytes little-endian, 0 for none.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/Memory.h"
#include "engine/File.h"

namespace zk::engine {

constexpr std::size_t kMemoHeaderSize = 512;
constexpr std::size_t kMemoPrefix = 8;  // type and length before the data

// The text of one memo field of the current record. The buffer only grows.
class MemoText {
 public:
  MemoText() noexcept = default;
  MemoText(MemoText &&other) noexcept { swap(other); }
  MemoText &operator=(MemoText &&other) noexcept {
    swap(other);
    return *this;
  }
  ~MemoText() { base::release(block_); }

  bool loaded = false;   // holds the text that the record refers to
  bool changed = false;  // holds a text that the record does not refer to yet

  std::string_view text() const { return {data(), size_}; }
  bool assign(std::string_view text) noexcept;  // false when memory is refused
  bool reserve(std::size_t size) noexcept;      // keeps prefix and content

  // The block as it lies in the file, prefix included.
  unsigned char *image() noexcept { return reinterpret_cast<unsigned char *>(block_); }
  std::size_t capacity() const noexcept { return capacity_; }
  void setSize(std::size_t size) noexcept { size_ = size; }
  std::size_t size() const noexcept { return size_; }

 private:
  const char *data() const { return block_ == nullptr ? "" : block_ + kMemoPrefix; }
  void swap(MemoText &other) noexcept;

  char *block_ = nullptr;  // prefix and `capacity_` bytes
  std::size_t capacity_ = 0;
  std::size_t size_ = 0;
};

class Memo {
 public:
  int open(Context &context, const char *path, OpenMode mode);
  // Writes the header of a new memo file.
  static int writeNewHeader(File &file, std::uint16_t blockSize) noexcept;
  // Adopts a file that was just written with writeNewHeader.
  int adopt(std::uint16_t blockSize) noexcept;

  File &file() noexcept { return file_; }
  std::uint32_t blockSize() const noexcept { return blockSize_; }

  // Reads the memo at `block` (0: the empty text). 0; -70 for a reference or length that does not
  // fit the file; -920.
  int read(std::uint32_t block, MemoText &memo) noexcept;

  // Stores the text: in the blocks of `block` when it fits them, else in new blocks at the end;
  // `block` becomes its place (0 stays 0 for an empty text). The caller holds the memo lock, one
  // byte at kAppendLockByte.
  int write(MemoText &memo, std::uint32_t &block) noexcept;

  // Appends the memo at `block` of this file, whatever its type, to `target`.
  int copyTo(Memo &target, std::uint32_t &block, MemoText &buffer) noexcept;

 private:
  int damaged() noexcept;
  bool blockIsPossible(std::uint32_t block, std::uint64_t &offset) const noexcept;
  std::uint64_t blocksFor(std::uint64_t size) const noexcept;
  int fits(std::uint32_t block, std::size_t size, bool &result) noexcept;
  int writeAtEnd(MemoText &memo, std::uint32_t type, std::uint32_t &block) noexcept;
  int writeImage(MemoText &memo, std::uint32_t type, std::uint32_t block) noexcept;

  File file_;
  std::uint32_t blockSize_ = 0;
};

std::uint32_t readMemoReference(const char *bytes, std::uint32_t width) noexcept;
// False when the field is too narrow for the number; its bytes stay as they were.
bool writeMemoReference(char *bytes, std::uint32_t width, std::uint32_t block) noexcept;

}  // namespace zk::engine
