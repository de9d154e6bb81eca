#include "engine/TagWriter.h"

#include <algorithm>
#include <cstring>

namespace zk::engine {
namespace {

constexpr std::size_t kWindowBytes = std::size_t{1} << 20;
constexpr std::uint64_t kLargestFile = std::uint64_t{1} << 32;  // places are 32-bit numbers

}  // namespace

// ---- Pages

PageWriter::PageWriter(File &file) : file_(file), window_(kWindowBytes) {}

std::uint32_t PageWriter::allocate(std::size_t size) noexcept {
  const auto place = static_cast<std::uint32_t>(end_);
  end_ += size;
  return place;
}

int PageWriter::put(std::uint32_t place, const void *bytes, std::size_t size) noexcept {
  if (end_ > kLargestFile) {
    return file_.context().fail(kErrWriting, file_.path().c_str(), "Index file is too large");
  }
  if (place < windowAt_) return file_.write(place, bytes, size);
  while (place + size > windowAt_ + window_.size()) {
    const int status = writeWindow();
    if (status != kOk) return status;
  }
  std::memcpy(window_.data() + (place - windowAt_), bytes, size);
  return kOk;
}

int PageWriter::writeWindow() noexcept {
  const auto size =
      static_cast<std::size_t>(std::min<std::uint64_t>(window_.size(), end_ - windowAt_));
  const int status = file_.write(windowAt_, window_.data(), size);
  windowAt_ += size;
  return status;
}

int PageWriter::finish() noexcept {
  while (windowAt_ < end_) {
    const int status = writeWindow();
    if (status != kOk) return status;
  }
  return kOk;
}

// ---- Trees

TreeWriter::TreeWriter(PageWriter &pages, const KeyLayout &layout, std::uint32_t largestRecord,
                       std::uint32_t firstPage) noexcept
    : pages_(pages), layout_(layout), largestRecord_(largestRecord), leafPlace_(firstPage) {
  leaf_.begin(leafPage_, layout_, largestRecord_);
}

int TreeWriter::finishLeaf(std::uint16_t attributes, std::uint32_t right) noexcept {
  leaf_.finish(attributes, leafLeft_, right);
  return pages_.put(leafPlace_, leafPage_.bytes, sizeof leafPage_.bytes);
}

int TreeWriter::add(const unsigned char *key, std::uint32_t record) {
  if (!leaf_.add(key, record)) {
    const std::uint32_t next = pages_.allocate();
    int status = finishLeaf(kLeafPage, next);
    if (status == kOk) status = addChild(0, leaf_.lastKey(), lastRecord_, leafPlace_);
    if (status != kOk) return status;
    leafLeft_ = leafPlace_;
    leafPlace_ = next;
    leaf_.begin(leafPage_, layout_, largestRecord_);
    leaf_.add(key, record);
  }
  lastRecord_ = record;
  return kOk;
}

int TreeWriter::addChild(std::size_t level, const unsigned char *key, std::uint32_t record,
                         std::uint32_t child) {
  if (level == levels_.size()) levels_.push_back({{}, pages_.allocate(), kNoPage, 0});
  if (levels_[level].count == InteriorEntries::capacity(layout_)) {
    const std::uint32_t next = pages_.allocate();
    const int status = finishLevel(level, next);
    if (status != kOk) return status;
    levels_[level] = {{}, next, levels_[level].place, 0};
  }
  Level &open = levels_[level];
  InteriorEntries::put(open.page, layout_, open.count++, key, record, child);
  return kOk;
}

int TreeWriter::finishLevel(std::size_t level, std::uint32_t right) {
  Level full = levels_[level];  // the levels may move when one is added
  full.page.setHead(0, full.count, full.left, right);
  const int status = pages_.put(full.place, full.page.bytes, sizeof full.page.bytes);
  if (status != kOk) return status;
  InteriorEntries entries;
  entries.open(full.page, layout_);
  const std::uint32_t last = full.count - 1;
  return addChild(level + 1, entries.key(last), entries.record(last), full.place);
}

int TreeWriter::finish(std::uint32_t &root) {
  root = leafPlace_;
  if (levels_.empty()) return finishLeaf(kRootPage | kLeafPage, kNoPage);
  int status = finishLeaf(kLeafPage, kNoPage);
  if (status == kOk) status = addChild(0, leaf_.lastKey(), lastRecord_, leafPlace_);
  for (std::size_t level = 0; status == kOk && level + 1 < levels_.size(); ++level) {
    status = finishLevel(level, kNoPage);
  }
  if (status != kOk) return status;
  Level &top = levels_.back();
  top.page.setHead(kRootPage, top.count, kNoPage, kNoPage);
  root = top.place;
  return pages_.put(top.place, top.page.bytes, sizeof top.page.bytes);
}

}  // namespace zk::engine
