// The header of an index file's tag directory, and of each tag: 1024 bytes, two pages.
//
//   0..3    root page              4..7    first free page (0 or none: no free page)
//   8..11   update counter (BE), of the directory only: every writer changes it
//   12..13  key length             14      options, a sum: 1 unique, 4 candidate, 8 has a filter,
//   15      signature, 1                   0x20 compact, 0x40 compound, 0x80 directory
//   16..35  statistics of newer FoxPro     486..493  name of a collation (newer FoxPro)
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

  // Reads and checks the header at `offset` of a file of `fileLength` bytes. 0, -70, or -310 with
  // "Corrupt index file". Throws std::bad_alloc.
  int read(File &file, std::uint64_t offset, std::uint64_t fileLength);
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
