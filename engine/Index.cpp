#include "engine/Index.h"

#include <cstring>

#include "engine/FileNames.h"
#include "engine/Table.h"

namespace zk::engine {
namespace {

constexpr std::uint64_t kCounterAt = 8;
constexpr int kDepthLimit = 64;
constexpr KeyLayout kNameLayout = {kTagNameSize, ' '};

}  // namespace

int IndexFile::open(const char *path, OpenMode mode) {
  int status = file_.open(table_.context(), path, mode, false);
  if (status == kOk) status = file_.length(fileLength_);
  if (status != kOk) return status;
  IndexHeader header;
  status = header.read(file_, 0, fileLength_);
  if (status != kOk) return status;
  counter_ = header.counter;
  if (!header.compound()) return addTag(baseName(file_.path()), 0);
  if (header.keyLength != kTagNameSize) return damaged();
  return readDirectory(header);
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

int IndexFile::refresh() noexcept {
  if (!file_.othersMayWrite()) return kOk;
  unsigned char bytes[4];
  int status = file_.read(kCounterAt, bytes, sizeof bytes);
  if (status != kOk) return status;
  const std::uint32_t counter = readBig32(bytes);
  if (counter == counter_) return kOk;
  status = file_.length(fileLength_);
  if (status != kOk) return status;
  counter_ = counter;
  ++version_;
  return kOk;
}

int IndexFile::readPage(std::uint32_t offset, IndexPage &page) noexcept {
  if (!isPageOffset(offset, fileLength_)) return damaged();
  return file_.read(offset, page.bytes, sizeof page.bytes);
}

}  // namespace zk::engine
