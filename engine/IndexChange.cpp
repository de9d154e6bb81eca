#include "engine/IndexChange.h"

#include <algorithm>
#include <cstring>

#include "base/Guard.h"
#include "engine/Index.h"
#include "engine/Table.h"

namespace zk::engine {
namespace {

constexpr std::uint64_t kLargestFile = kNoPage - kNoPage % kIndexPageSize;

}  // namespace

int IndexChange::begin() noexcept {
  if (index_.behind()) return index_.fallBehind();
  int status = lock_.acquire(index_.file(), kAppendLockByte, 1);
  if (status != kOk) return status;
  begun_ = true;
  state_ = index_.state_;
  if (index_.file().othersMayWrite()) {
    status = state_.read(index_.file());
    if (status == kOk && state_.counter() != index_.state_.counter()) {
      status = index_.noticeChange(state_);
    }
  }
  if (status == kOk && !unsettled_ && state_.changing()) status = index_.fallBehind();
  recordCount_ = state_.knowsRecords() ? state_.recordCount() : index_.table().recordCount();
  fileEnd_ = (index_.fileLength_ + kIndexPageSize - 1) / kIndexPageSize * kIndexPageSize;
  if (status != kOk) end();
  return status;
}

int IndexChange::expectRecords(std::uint32_t count) noexcept {
  return unsettled_ || recordCount_ == count ? kOk : index_.fallBehind();
}

// ---- Collected in memory

IndexChange::ChangedPage *IndexChange::changed(std::uint32_t offset) noexcept {
  for (ChangedPage &page : pages_) {
    if (page.offset == offset) return &page;
  }
  return nullptr;
}

int IndexChange::readPage(std::uint32_t offset, IndexPage &page) noexcept {
  if (const ChangedPage *known = changed(offset)) {
    page = known->page;
    return kOk;
  }
  return index_.readPage(offset, page);
}

int IndexChange::putPage(std::uint32_t offset, const IndexPage &page) noexcept {
  if (ChangedPage *known = changed(offset)) {
    known->page = page;
    return kOk;
  }
  const int status = base::guarded(kErrMemory, [&] {
    pages_.push_back({offset, offset >= index_.fileLength_, page});
    return kOk;
  });
  return status == kOk ? kOk : index_.file().context().fail(kErrMemory);
}

int IndexChange::allocatePage(std::uint32_t &offset) noexcept {
  const std::uint32_t free = state_.freePage();
  if (isPageOffset(free, index_.fileLength_)) {
    IndexPage page;
    const int status = readPage(free, page);
    if (status != kOk) return status;
    if (isFreePage(page)) {
      state_.setFreePage(readLittle32(page.bytes));
      offset = free;
      return putPage(offset, IndexPage());
    }
  }
  if (fileEnd_ >= kLargestFile) {
    return index_.file().context().fail(kErrWriting, index_.path().c_str());
  }
  offset = static_cast<std::uint32_t>(fileEnd_);
  fileEnd_ += kIndexPageSize;
  return putPage(offset, IndexPage());
}

int IndexChange::freePage(std::uint32_t offset) noexcept {
  IndexPage page = {};
  writeLittle32(page.bytes, state_.freePage());
  std::memcpy(page.bytes + 4, kFreePageName, sizeof kFreePageName);
  state_.setFreePage(offset);
  return putPage(offset, page);
}

std::uint32_t IndexChange::rootOf(const Tag &tag) const noexcept {
  for (const ChangedRoot &changed : roots_) {
    if (changed.tag == &tag) return changed.root;
  }
  return tag.header().root;
}

int IndexChange::setRoot(Tag &tag, std::uint32_t root) noexcept {
  for (ChangedRoot &changed : roots_) {
    if (changed.tag != &tag) continue;
    changed.root = root;
    return kOk;
  }
  const int status = base::guarded(kErrMemory, [&] {
    roots_.push_back({&tag, root});
    return kOk;
  });
  return status == kOk ? kOk : index_.file().context().fail(kErrMemory);
}

// ---- Written

int IndexChange::beginWriting() noexcept {
  writing_ = true;
  std::sort(pages_.begin(), pages_.end(),
            [](const ChangedPage &a, const ChangedPage &b) { return a.offset < b.offset; });
  if (unsettled_) return kOk;
  // The list of free pages changes with the pages: a mark that came to the disk in part must not
  // have changed it.
  const std::uint32_t freePage = state_.freePage();
  state_.setFreePage(index_.state_.freePage());
  state_.beginChange();
  const int status = state_.write(index_.file());
  state_.setFreePage(freePage);
  unsettled_ = status == kOk && !index_.file().othersMayWrite() &&
               index_.file().mode() == OpenMode::kExclusive;
  return status;
}

// Pages that lie side by side in one go.
int IndexChange::writeThose(bool newOnes) noexcept {
  constexpr std::size_t kMost = 16;
  IndexPage run[kMost];
  std::size_t length = 0;
  std::uint32_t start = 0;
  for (const ChangedPage &changed : pages_) {
    if (changed.isNew != newOnes) continue;
    if (length == kMost || (length > 0 && changed.offset != start + length * kIndexPageSize)) {
      const int status = index_.file().write(start, run, length * kIndexPageSize);
      if (status != kOk) return status;
      length = 0;
    }
    if (length == 0) start = changed.offset;
    run[length++] = changed.page;
  }
  return length > 0 ? index_.file().write(start, run, length * kIndexPageSize) : kOk;
}

int IndexChange::writeNewPages() noexcept { return writeThose(true); }

int IndexChange::writePages() noexcept {
  int status = writeThose(false);
  for (const ChangedRoot &changed : roots_) {
    if (status != kOk) return status;
    unsigned char root[4];
    writeLittle32(root, changed.root);
    status = index_.file().write(changed.tag->place(), root, sizeof root);
    if (status == kOk) changed.tag->setRoot(changed.root);
  }
  return status;
}

int IndexChange::finish(std::uint32_t added) noexcept {
  if (!unsettled_) {
    state_.endChange(recordCount_ + added);
    const int status = state_.write(index_.file());
    if (status != kOk) return status;
  }
  for (const ChangedPage &changed : pages_) {
    index_.cache_.put(changed.offset, changed.page);
  }
  if (index_.fileLength_ < fileEnd_) index_.fileLength_ = fileEnd_;
  index_.state_ = state_;
  if (!pages_.empty()) ++index_.version_;
  return end();
}

int IndexChange::settle(std::uint32_t recordCount) noexcept {
  if (!unsettled_ || index_.behind()) return kOk;
  state_ = index_.state_;
  state_.endChange(recordCount);
  const int status = state_.write(index_.file());
  if (status != kOk) return status;
  index_.state_ = state_;
  unsettled_ = false;
  return kOk;
}

void IndexChange::abandon() noexcept {
  if (!begun_) return;
  if (writing_ && fileEnd_ > index_.fileLength_) {
    platform::setFileLength(index_.file().handle(), index_.fileLength_);
  }
  if (writing_ && !unsettled_) {
    state_.setFreePage(index_.state_.freePage());
    state_.endChange(recordCount_);
    if (state_.write(index_.file()) == kOk) {
      index_.state_ = state_;
    } else {
      index_.behind_ = true;
    }
  }
  end();
}

void IndexChange::fail() noexcept {
  if (!begun_) return;
  if (!unsettled_ && !writing_) {
    state_ = index_.state_;
    state_.beginChange();
    state_.write(index_.file());
  }
  index_.behind_ = true;
  end();
}

int IndexChange::end() noexcept {
  begun_ = writing_ = false;
  pages_.clear();
  roots_.clear();
  return lock_.release();
}

void IndexChange::forget() noexcept {
  unsettled_ = false;
  end();
}

}  // namespace zk::engine
