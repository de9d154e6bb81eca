// The header of an index file's tag directory, and of each tag: 1024 bytes, two pages.
//
//   0..3    root page              4..7    first free page (0 or none: no free page)
//   8..11   update counter (BE), of the directory only: every writer changes it
//   12..13  key length             14      options, a sum: 1 unique, 4 candidate, 8 has a filter,
//   15      signature, 1                   0x20 compact, 0x40 compound, 0x80 directory
//   16..35  statistics of newer FoxPro     486..493  name of a collation (newer FoxPro)
//   64..79  this library's own (IndexState), of the directory only
//   502..503  1 descending         504..505, 506..507  position and length of the filter text
//   508..509, 510..511  position and length of the key text
//   512..1023  the texts, each with its NUL, which counts
//
// In the directory the keys are the tag names (10 bytes, blank-padded) and the record numbers the
// places of the tags' headers.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/Memory.h"
#include "engine/File.h"
#include "engine/IndexPage.h"

namespace zk::engine {

constexpr std::size_t kIndexHeaderSize = 1024;
constexpr std::size_t kIndexTextPool = 512;
constexpr std::uint32_t kTagNameSize = 10;

constexpr std::uint8_t kOptionUnique = 0x01;
constexpr std::uint8_t kOptionCandidate = 0x04;
constexpr std::uint8_t kOptionFilter = 0x08;
constexpr std::uint8_t kOptionCompact = 0x20;
constexpr std::uint8_t kOptionCompound = 0x40;
constexpr std::uint8_t kOptionDirectory = 0x80;

enum class IndexLayout {
  kCompound,
  kSingleTag,  // the one tag's header lies where the directory's is else
};

// What every change of an index file rewrites: the beginning of the directory's header, up to and
// with what this library keeps in reserved bytes.
//
//   64..67  "ZKST": what follows was written by this library
//   68..71  (BE) not 0 while a change is being written, and for ever when its writer died
//   72..75  (BE) the update counter after the last change
//   76..79  (BE) the table's record count after it: another count beside the same counter tells
//           that records were added or removed without the index
struct IndexState {
  static constexpr std::size_t kSize = 80;
  // The root before it belongs to a tag in a single-tag file.
  static constexpr std::size_t kWrittenFrom = 4;

  unsigned char bytes[kSize] = {};

  int read(File &file) noexcept { return file.read(0, bytes, kSize); }
  int write(File &file) const noexcept {
    return file.write(kWrittenFrom, bytes + kWrittenFrom, kSize - kWrittenFrom);
  }

  std::uint32_t freePage() const { return readLittle32(bytes + 4); }
  void setFreePage(std::uint32_t page) { writeLittle32(bytes + 4, page); }
  std::uint32_t counter() const { return readBig32(bytes + 8); }
  bool changing() const { return isStamped() && readBig32(bytes + 68) != 0; }
  // Whether it tells how many records the table had when the index was written last.
  bool knowsRecords() const { return isStamped() && readBig32(bytes + 72) == counter(); }
  std::uint32_t recordCount() const { return readBig32(bytes + 76); }
  // Whether the table's record count is not that one.
  bool missesRecords(std::uint32_t count) const { return knowsRecords() && recordCount() != count; }

  // Both change the counter, so that a reader notices a change that began and one that ended.
  void beginChange();
  void endChange(std::uint32_t recordCount);

 private:
  bool isStamped() const;
  void stamp(std::uint32_t counter, bool changing, std::uint32_t recordCount);
};

struct IndexHeader {
  std::uint32_t root = kNoPage;
  std::uint32_t freePage = kNoPage;
  std::uint32_t counter = 0;
  std::uint16_t keyLength = 0;
  std::uint8_t options = 0;
  bool descending = false;
  bool foreignCollation = false;  // keys in an order that only its writer knows
  base::String expression;
  base::String filter;

  bool unique() const { return (options & (kOptionUnique | kOptionCandidate)) != 0; }
  bool compound() const { return (options & kOptionCompound) != 0; }
  IndexLayout layout() const {
    return compound() ? IndexLayout::kCompound : IndexLayout::kSingleTag;
  }

  // Reads and checks the header at `offset` of a file of `fileLength` bytes. 0, -70, or -310 with
  // "Corrupt index file". Throws std::bad_alloc.
  int read(File &file, std::uint64_t offset, std::uint64_t fileLength);
  // Takes a header's bytes apart; false when they are none. Where the root lies is not looked at.
  // Throws std::bad_alloc.
  bool parse(const unsigned char (&bytes)[kIndexHeaderSize]);
  // The header's bytes; false when the texts do not fit the pool.
  bool build(unsigned char (&bytes)[kIndexHeaderSize]) const noexcept;
};

// Whether a page of the index can lie at `offset`.
inline bool isPageOffset(std::uint64_t offset, std::uint64_t fileLength) {
  return offset != 0 && offset % kIndexPageSize == 0 && fileLength >= kIndexPageSize &&
         offset <= fileLength - kIndexPageSize;
}

// "Corrupt index file" for the file, as -310.
int corruptIndex(File &file) noexcept;

}  // namespace zk::engine
