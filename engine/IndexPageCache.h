// The interior pages of an index file that were read last. A seek passes few of them, again and
// again; leaves are not kept.
#pragma once

#include <cstdint>

#include "base/Memory.h"
#include "engine/IndexPage.h"

namespace zk::engine {

class IndexPageCache {
 public:
  // Null when the page is not here.
  const IndexPage *find(std::uint32_t offset) const noexcept {
    if (slots_ == nullptr) return nullptr;
    const Slot &slot = slots_.get()[slotOf(offset)];
    return slot.offset == offset && slot.generation == generation_ ? &slot.page : nullptr;
  }
  // Keeps a copy, for a file of `filePages` pages; when memory is refused, none.
  void keep(std::uint32_t offset, const IndexPage &page, std::uint32_t filePages) noexcept;
  void drop(std::uint32_t offset) noexcept;
  void forget() noexcept { ++generation_; }

 private:
  struct Slot {
    std::uint32_t offset;
    std::uint64_t generation;  // of the cache when the page was kept
    IndexPage page;
  };

  std::size_t slotOf(std::uint32_t offset) const noexcept {
    // Of two offsets in the same slot the later one stays.
    const auto page = static_cast<std::uint32_t>(offset / kIndexPageSize);
    return (page * 0x9E3779B1u) >> shift_;
  }

  base::OwnedBlock<Slot> slots_;
  unsigned shift_ = 32;
  std::uint64_t generation_ = 1;
};

}  // namespace zk::engine
