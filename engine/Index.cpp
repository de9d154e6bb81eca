#include "engine/Index.h"

#include <cstring>

#include "base/Guard.h"
#include "engine/FileNames.h"
#include "engine/Table.h"

namespace zk::engine {
namespace {

constexpr int kDepthLimit = 64;
constexpr KeyLayout kNameLayout = {kTagNameSize, ' '};

}  // namespace

int IndexFile::open(const char *path, OpenMode mode) {
  int status = file_.open(table_.context(), path, mode, true);
  if (status == kOk) status = file_.length(fileLength_);
  if (status != kOk) return status;
  IndexHeader header;
  status = header.read(file_, 0, fileLength_);
  if (status == kOk) status = findOutWhetherBehind();
  if (status != kOk) return status;
  layout_ = header.layout();
  if (!header.compound()) return addTag(baseName(file_.path()), 0);
  if (header.keyLength != kTagNameSize) return damaged();
  return readDirectory(header);
}

int IndexFile::reopen() noexcept {
  const OpenMode mode = file_.mode();
  base::Vector<base::Owned<Tag>> before;
  before.swap(tags_);
  file_.close();
  cache_.forget();
  change_.forget();
  ++version_;
  ++foreignVersion_;
  behind_ = false;
  const int status = base::guarded(kErrMemory, [this, mode] {
    const base::String path = file_.path();
    return open(path.c_str(), mode);
  });
  if (status != kOk) {
    file_.close();
    tags_.swap(before);
    behind_ = true;
  }
  return status;
}

// Under the writers' lock, so that no change is half way.
int IndexFile::findOutWhetherBehind() noexcept {
  RangeLock lock;
  const int locked = lock.acquire(file_, kAppendLockByte, 1, platform::LockKind::kShared);
  if (locked != kOk && locked != kLocked) return locked;
  int status = state_.read(file_);
  // In this order, so that no page of that state lies behind the length.
  if (status == kOk) status = file_.length(fileLength_);
  // Without a lock a change that is going on may be that of a living writer; every use looks again.
  const bool calm = !file_.othersMayWrite() || (file_.needsLocks() && locked == kOk);
  if (status == kOk && calm) {
    behind_ = state_.changing() || state_.missesRecords(table_.recordCount());
  }
  return status;
}

// Down to the leftmost leaf of the names, then along the leaves.
int IndexFile::readDirectory(const IndexHeader &header) {
  std::uint32_t offset = header.root;
  IndexPage page;
  for (int depth = 0;; ++depth) {
    const int status = readPage(offset, page);
    if (status != kOk) return status;
    if (page.isLeaf()) break;
    InteriorEntries entries;
    if (depth == kDepthLimit || !entries.open(page, kNameLayout)) return damaged();
    offset = entries.child(0);
  }
  LeafKeys names;
  for (std::uint32_t pages = 0; pages <= pageLimit(); ++pages) {
    switch (names.read(page, kNameLayout)) {
      case LeafKeys::Result::kDone:
        break;
      case LeafKeys::Result::kDamaged:
        return damaged();
      case LeafKeys::Result::kNoMemory:
        return file_.context().fail(kErrMemory, path().c_str());
    }
    int status = addTags(names);
    if (status != kOk) return status;
    if (page.right() == kNoPage) return kOk;
    status = readPage(page.right(), page);
    if (status != kOk) return status;
  }
  return damaged();  // the leaves go in a circle
}

int IndexFile::addTags(const LeafKeys &names) {
  for (std::uint32_t i = 0; i < names.count(); ++i) {
    std::string_view name(reinterpret_cast<const char *>(names.key(i)), kTagNameSize);
    while (!name.empty() && (name.back() == ' ' || name.back() == '\0')) name.remove_suffix(1);
    const int status = addTag(name, names.record(i));
    if (status != kOk) return status;
  }
  return kOk;
}

int IndexFile::addTag(std::string_view name, std::uint32_t offset) {
  base::Owned<Tag> tag = base::make<Tag>(*this, table_);
  if (tag == nullptr) throw std::bad_alloc();
  const int status = tag->open(name, offset, fileLength_);
  if (status == kOk) tags_.push_back(std::move(tag));
  return status;
}

int IndexFile::fallBehind() noexcept {
  behind_ = true;
  return file_.context().fail(kErrIndex, path().c_str(), "Index is behind its table");
}

int IndexFile::refresh() noexcept {
  if (behind_) return fallBehind();
  if (!file_.othersMayWrite()) return kOk;
  IndexState state;
  const int status = state.read(file_);
  if (status != kOk) return status;
  // Whoever keeps the index sets the mark before the count: where there is none, records that are
  // known here and not to the index came without it.
  const bool lacksRecords = state.knowsRecords() && state.recordCount() < table_.knownCount();
  if (state.changing() || lacksRecords) return kLocked;
  return state.counter() == state_.counter() ? kOk : noticeChange(state);
}

int IndexFile::waitForWriters(RangeLock &lock) noexcept {
  if (file_.needsLocks()) {
    return lock.acquire(file_, kAppendLockByte, 1, platform::LockKind::kShared);
  }
  // A change takes well under a second: a mark that stays longer was left by a dead writer.
  constexpr int kLooks = 1000;
  constexpr std::uint32_t kPauseMicroseconds = 1000;
  for (int i = 0; i < kLooks; ++i) {
    const int status = refresh();
    if (status != kLocked) return status;
    if (!waitForOthers(kPauseMicroseconds)) return kLocked;
  }
  return fallBehind();
}

int IndexFile::noticeChange(const IndexState &state) noexcept {
  const int status = file_.length(fileLength_);
  if (status != kOk) return status;
  state_ = state;
  ++version_;
  ++foreignVersion_;
  cache_.forget();
  return kOk;
}

int IndexFile::viewPage(std::uint32_t offset, IndexPage &room, const IndexPage *&page) noexcept {
  if (!isPageOffset(offset, fileLength_)) return damaged();
  return cache_.view(offset, fileLength_, room, page);
}

int IndexFile::readPage(std::uint32_t offset, IndexPage &page) noexcept {
  const IndexPage *found = nullptr;
  const int status = viewPage(offset, page, found);
  if (status == kOk && found != &page) page = *found;
  return status;
}

}  // namespace zk::engine
