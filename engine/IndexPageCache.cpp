#include "engine/IndexPageCache.h"

#include <algorithm>

namespace zk::engine {
namespace {

constexpr std::uint32_t kFewestSlots = 16;
constexpr std::uint32_t kMostSlots = sizeof(void *) < 8 ? 2048 : 8192;  // 8 and 32 MiB

}  // namespace

// Room for the whole file, as far as it may be. Memory that is not used yet costs nothing.
void IndexPageCache::reserve(std::uint64_t fileLength) noexcept {
  if (count_ == kMostSlots || (count_ != 0 && fileLength <= std::uint64_t{2} * count_ * kBlockSize))
    return;
  std::uint32_t count = kFewestSlots;
  while (count < kMostSlots && std::uint64_t{count} * kBlockSize < fileLength) count *= 2;
  if (count == count_) return;
  base::OwnedBlock<Block> blocks(static_cast<Block *>(base::allocateZeroed(count, sizeof(Block))));
  base::OwnedBlock<IndexPage> pages(
      static_cast<IndexPage *>(base::allocate(std::size_t{count} * kBlockSize)));
  if (blocks == nullptr || pages == nullptr) return;
  blocks_ = std::move(blocks);
  pages_ = std::move(pages);
  count_ = count;
}

namespace {

// All of a page is on its way to the processor when its first bytes are looked at.
void fetch(const IndexPage &page) {
  constexpr std::size_t kLine = 64;
  for (std::size_t at = 0; at < sizeof page.bytes; at += kLine) __builtin_prefetch(page.bytes + at);
}

}  // namespace

int IndexPageCache::view(std::uint32_t offset, std::uint64_t fileLength, IndexPage &room,
                         const IndexPage *&page) noexcept {
  const std::uint32_t number = offset / kBlockSize;
  const std::uint32_t place = offset % kBlockSize / kIndexPageSize;
  if (count_ != 0) {
    page = pagesOf(number) + place;
    fetch(*page);
    const Block &block = blocks_.get()[number & (count_ - 1)];
    if (holds(block, number) && place < block.pages) return kOk;
  }
  reserve(fileLength);
  page = &room;
  if (count_ == 0) return file_.read(offset, room.bytes, sizeof room.bytes);
  Block &block = blocks_.get()[number & (count_ - 1)];
  const std::uint64_t start = std::uint64_t{number} * kBlockSize;
  const auto pages = static_cast<std::uint32_t>(
      std::min<std::uint64_t>(kBlockPages, (fileLength - start) / kIndexPageSize));
  block.generation = 0;
  const int status = file_.read(start, pagesOf(number), pages * kIndexPageSize);
  if (status != kOk) return status;
  block = {generation_, number, pages};
  page = pagesOf(number) + place;
  return kOk;
}

void IndexPageCache::put(std::uint32_t offset, const IndexPage &page) noexcept {
  if (count_ == 0) return;
  const std::uint32_t number = offset / kBlockSize;
  const std::uint32_t place = offset % kBlockSize / kIndexPageSize;
  Block &block = blocks_.get()[number & (count_ - 1)];
  if (place == 0 && !holds(block, number)) block = {generation_, number, 0};
  if (!holds(block, number) || place > block.pages) return;
  pagesOf(number)[place] = page;
  block.pages = std::max(block.pages, place + 1);
}

}  // namespace zk::engine
