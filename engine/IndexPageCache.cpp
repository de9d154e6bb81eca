#include "engine/IndexPageCache.h"

namespace zk::engine {
namespace {

constexpr unsigned kFewestBits = 4;
constexpr unsigned kMostBits = 13;  // 4 MiB
// Keys of texts leave one interior page among about so many leaves, short keys fewer.
constexpr std::uint32_t kPagesPerInterior = 8;

}  // namespace

void IndexPageCache::keep(std::uint32_t offset, const IndexPage &page,
                          std::uint32_t filePages) noexcept {
  if (slots_ == nullptr) {
    unsigned bits = kFewestBits;
    while (bits < kMostBits && (1u << bits) < filePages / kPagesPerInterior) ++bits;
    slots_.reset(static_cast<Slot *>(base::allocate(sizeof(Slot) << bits)));
    if (slots_ == nullptr) return;
    shift_ = 32 - bits;
    for (std::size_t i = 0; i < std::size_t{1} << bits; ++i) slots_.get()[i].offset = kNoPage;
  }
  slots_.get()[slotOf(offset)] = {offset, generation_, page};
}

void IndexPageCache::drop(std::uint32_t offset) noexcept {
  if (find(offset) != nullptr) slots_.get()[slotOf(offset)].offset = kNoPage;
}

}  // namespace zk::engine
