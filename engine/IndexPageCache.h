// Pages of an index file that were read last: blocks of the file, of several pages each.
#pragma once

#include <cstdint>

#include "base/Memory.h"
#include "engine/File.h"
#include "engine/IndexPage.h"

namespace zk::engine {

class IndexPageCache {
 public:
  explicit IndexPageCache(File &file) noexcept : file_(file) {}
  IndexPageCache(const IndexPageCache &) = delete;
  IndexPageCache &operator=(const IndexPageCache &) = delete;

  // The page at an offset of the file, which has that length. It is valid until another page is
  // asked for. Where memory is refused it is read into `room`.
  int view(std::uint32_t offset, std::uint64_t fileLength, IndexPage &room,
           const IndexPage *&page) noexcept;
  // What the file has at that offset now.
  void put(std::uint32_t offset, const IndexPage &page) noexcept;
  void forget() noexcept { ++generation_; }

 private:
  static constexpr std::uint32_t kBlockPages = 8;
  static constexpr std::uint32_t kBlockSize = kBlockPages * kIndexPageSize;

  // What a slot has.
  struct Block {
    std::uint64_t generation;  // of the cache when it was read; 0 never
    std::uint32_t number;
    std::uint32_t pages;  // that the file had of it
  };

  bool holds(const Block &block, std::uint32_t number) const noexcept {
    return block.number == number && block.generation == generation_;
  }
  IndexPage *pagesOf(std::uint32_t number) const noexcept {
    return pages_.get() + (number & (count_ - 1)) * kBlockPages;
  }
  void reserve(std::uint64_t fileLength) noexcept;

  File &file_;
  base::OwnedBlock<Block> blocks_;
  base::OwnedBlock<IndexPage> pages_;  // kBlockPages for each of them
  std::uint32_t count_ = 0;            // a power of two
  std::uint64_t generation_ = 1;
};

}  // namespace zk::engine
