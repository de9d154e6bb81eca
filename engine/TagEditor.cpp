#include "engine/TagEditor.h"

#include <algorithm>
#include <cstring>

#include "engine/Index.h"
#include "engine/Tag.h"

namespace zk::engine {

struct TagEditor::EditedLeaf {
  const LeafKeys &leaf;
  std::uint32_t at;
  const unsigned char *added;  // null: the entry at that place is taken out
  std::uint32_t addedRecord;

  std::uint32_t count() const { return added != nullptr ? leaf.count() + 1 : leaf.count() - 1; }
  bool isAdded(std::uint32_t i) const { return added != nullptr && i == at; }
  std::uint32_t source(std::uint32_t i) const {
    return i < at ? i : added != nullptr ? i - 1 : i + 1;
  }
  const unsigned char *key(std::uint32_t i) const {
    return isAdded(i) ? added : leaf.key(source(i));
  }
  std::uint32_t record(std::uint32_t i) const {
    return isAdded(i) ? addedRecord : leaf.record(source(i));
  }
};

TagEditor::TagEditor(IndexFile &index, Tag &tag) noexcept
    : index_(index), change_(index.change()), tag_(tag), layout_(tag.layout()) {}

// ---- Finding the place

int TagEditor::readLeaf(std::uint32_t offset) noexcept {
  IndexPage page;
  const int status = change_.readPage(offset, page);
  if (status != kOk) return status;
  switch (change_.leaf().read(page, layout_)) {
    case LeafKeys::Result::kDone:
      break;
    case LeafKeys::Result::kDamaged:
      return index_.damaged();
    case LeafKeys::Result::kNoMemory:
      return index_.file().context().fail(kErrMemory);
  }
  leafPage_ = offset;
  leafLeft_ = page.left();
  leafRight_ = page.right();
  return kOk;
}

// To the leaf where the entry is or belongs.
int TagEditor::toLeaf(const unsigned char *key, std::uint32_t record) noexcept {
  int status = tag_.refreshRoot();
  std::uint32_t offset = change_.rootOf(tag_);
  depth_ = 0;
  while (status == kOk) {
    IndexPage page;
    status = change_.readPage(offset, page);
    if (status != kOk) break;
    if (page.isLeaf()) return readLeaf(offset);
    InteriorEntries entries;
    if (depth_ == kDepthLimit || !entries.open(page, layout_)) return index_.damaged();
    std::uint32_t low = 0;
    std::uint32_t high = entries.count() - 1;
    while (low < high) {
      const std::uint32_t middle = (low + high) / 2;
      if (compareKeys(entries.key(middle), entries.record(middle), key, record, layout_.length) <
          0) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    path_[depth_++] = {offset, low};
    offset = entries.child(low);
  }
  return status;
}

// The first entry of the leaf that is not before the key.
std::uint32_t TagEditor::placeOf(const unsigned char *key, std::uint32_t record) const noexcept {
  const LeafKeys &leaf = change_.leaf();
  std::uint32_t low = 0;
  std::uint32_t high = leaf.count();
  while (low < high) {
    const std::uint32_t middle = (low + high) / 2;
    if (compareKeys(leaf.key(middle), leaf.record(middle), key, record, layout_.length) < 0) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low;
}

bool TagEditor::isAt(std::uint32_t at, const unsigned char *key,
                     std::uint32_t record) const noexcept {
  const LeafKeys &leaf = change_.leaf();
  return at < leaf.count() && leaf.record(at) == record &&
         std::memcmp(leaf.key(at), key, layout_.length) == 0;
}

int TagEditor::insert(const unsigned char *key, std::uint32_t record) noexcept {
  const int status = toLeaf(key, record);
  if (status != kOk) return status;
  const std::uint32_t at = placeOf(key, record);
  if (isAt(at, key, record)) return kErrUnexpectedInformation;
  return replaceLeaf({change_.leaf(), at, key, record});
}

int TagEditor::remove(const unsigned char *key, std::uint32_t record) noexcept {
  const int status = toLeaf(key, record);
  if (status != kOk) return status;
  const std::uint32_t at = placeOf(key, record);
  if (!isAt(at, key, record)) return kErrUnexpectedInformation;
  return replaceLeaf({change_.leaf(), at, nullptr, 0});
}

// The entries of one key lie side by side: at most two of them have to be looked at.
int TagEditor::hasKeyOfOther(const unsigned char *key, std::uint32_t record,
                             bool &result) noexcept {
  result = false;
  int status = toLeaf(key, 0);
  std::uint32_t at = status == kOk ? placeOf(key, 0) : 0;
  for (std::uint32_t pages = 0; status == kOk; ++at) {
    const LeafKeys &leaf = change_.leaf();
    if (at >= leaf.count()) {
      if (leafRight_ == kNoPage) return kOk;
      if (++pages > index_.pageLimit()) return index_.damaged();
      status = readLeaf(leafRight_);
      at = 0xFFFFFFFF;  // the first one after the step
      continue;
    }
    if (std::memcmp(leaf.key(at), key, layout_.length) != 0) return kOk;
    if (leaf.record(at) != record) {
      result = true;
      return kOk;
    }
  }
  return status;
}

// ---- Leaves

bool TagEditor::pack(const EditedLeaf &keys, std::uint32_t from, std::uint32_t to,
                     IndexPage &page) noexcept {
  std::uint32_t largest = 0;
  for (std::uint32_t i = from; i < to; ++i) largest = std::max(largest, keys.record(i));
  LeafWriter writer;
  writer.begin(page, layout_, largest);
  for (std::uint32_t i = from; i < to; ++i) {
    if (!writer.add(keys.key(i), keys.record(i))) return false;
  }
  writer.finish(kLeafPage, kNoPage, kNoPage);
  return true;
}

// Parts of those sizes; false when one of them does not fit a page.
bool TagEditor::packParts(const EditedLeaf &keys, const std::uint32_t *sizes,
                          std::uint32_t count) noexcept {
  partCount_ = 0;
  std::uint32_t from = 0;
  for (std::uint32_t i = 0; i < count; ++i) {
    if (sizes[i] == 0) continue;
    if (!pack(keys, from, from + sizes[i], parts_[partCount_])) return false;
    sizes_[partCount_++] = sizes[i];
    from += sizes[i];
  }
  return true;
}

// Over as many pages as are needed.
int TagEditor::divide(const EditedLeaf &keys) noexcept {
  const std::uint32_t count = keys.count();
  if (keys.added != nullptr) {
    const std::uint32_t behind = count - keys.at - 1;
    const bool atEdge = (behind == 0 && leafRight_ == kNoPage) ||
                        (keys.at == 0 && leafLeft_ == kNoPage && tag_.header().descending);
    const std::uint32_t halves[] = {count / 2, count - count / 2};
    if (!atEdge && packParts(keys, halves, 2)) return kOk;
    // A page of its own for the new key where both sides need theirs.
    const std::uint32_t before[] = {keys.at, count - keys.at};
    if (!atEdge && packParts(keys, before, 2)) return kOk;
    const std::uint32_t around[] = {keys.at, 1, behind};
    if (packParts(keys, around, 3)) return kOk;
  }
  std::uint32_t from = 0;
  for (partCount_ = 0; from < count; ++partCount_) {
    if (partCount_ == kMostParts) return index_.damaged();
    std::uint32_t size = count - from;
    while (!pack(keys, from, from + size, parts_[partCount_])) --size;  // one key always fits
    sizes_[partCount_] = size;
    from += size;
  }
  return kOk;
}

int TagEditor::replaceLeaf(const EditedLeaf &keys) noexcept {
  const std::uint32_t count = keys.count();
  if (count == 0 && depth_ > 0) {
    const int status = unlink(leafPage_, leafLeft_, leafRight_);
    return status == kOk ? replaceChild(depth_ - 1, Children()) : status;
  }
  if (pack(keys, 0, count, parts_[0])) {
    sizes_[0] = count;
    partCount_ = 1;
  } else {
    const int status = divide(keys);
    if (status != kOk) return status;
  }
  return putParts(keys);
}

// The first part stays where the leaf was, or the last one at the end of the tag: what goes on
// growing there stays beside the pages above it, and is written with them.
int TagEditor::putParts(const EditedLeaf &keys) noexcept {
  std::uint32_t places[kMostParts];
  const std::uint32_t staying = leafRight_ == kNoPage ? partCount_ - 1 : 0;
  int status = kOk;
  for (std::uint32_t i = 0; i < partCount_ && status == kOk; ++i) {
    if (i == staying) {
      places[i] = leafPage_;
    } else {
      status = change_.allocatePage(places[i]);
    }
  }
  const bool isRoot = depth_ == 0;
  Children children;
  std::uint32_t last = 0;
  for (std::uint32_t i = 0; i < partCount_ && status == kOk; ++i) {
    const bool root = isRoot && partCount_ == 1;
    parts_[i].setHead(root ? kLeafPage | kRootPage : kLeafPage, sizes_[i],
                      i == 0 ? leafLeft_ : places[i - 1],
                      i + 1 == partCount_ ? leafRight_ : places[i + 1]);
    status = change_.putPage(places[i], parts_[i]);
    last += sizes_[i];
    if (last > 0) addChild(children, keys.key(last - 1), keys.record(last - 1), places[i]);
  }
  if (status == kOk && staying > 0 && leafLeft_ != kNoPage) {
    status = setSibling(leafLeft_, true, places[0]);
  }
  if (status == kOk && staying == 0 && partCount_ > 1 && leafRight_ != kNoPage) {
    status = setSibling(leafRight_, false, places[partCount_ - 1]);
  }
  if (status != kOk) return status;
  if (!isRoot) return replaceChild(depth_ - 1, children);
  return partCount_ > 1 ? growRoot(children) : kOk;
}

// ---- Interior pages

void TagEditor::addChild(Children &children, const unsigned char *key, std::uint32_t record,
                         std::uint32_t page) const noexcept {
  unsigned char *entry = children.bytes + children.count * entrySize();
  std::memcpy(entry, key, layout_.length);
  writeBig32(entry + layout_.length, record);
  writeBig32(entry + layout_.length + 4, page);
  ++children.count;
}

int TagEditor::putInterior(std::uint32_t offset, std::uint16_t attributes, std::uint32_t left,
                           std::uint32_t right, const unsigned char *entries,
                           std::uint32_t count) noexcept {
  IndexPage page = {};
  page.setHead(attributes, count, left, right);
  std::memcpy(page.bytes + kInteriorHead, entries, count * entrySize());
  return change_.putPage(offset, page);
}

// The entry that was followed at that level becomes those of `children`: the page itself with
// another last key, several pages, or none.
int TagEditor::replaceChild(int level, const Children &children) noexcept {
  const Step &step = path_[level];
  IndexPage page;
  int status = change_.readPage(step.page, page);
  if (status != kOk) return status;
  const std::uint32_t count = page.count();
  const unsigned char *entries = page.bytes + kInteriorHead;
  const unsigned char *followed = entries + step.child * entrySize();
  if (children.count == 1 && std::memcmp(children.bytes, followed, entrySize()) == 0) return kOk;

  Children all;
  const std::size_t before = step.child * entrySize();
  const std::size_t between = children.count * entrySize();
  const std::uint32_t behind = count - step.child - 1;
  std::memcpy(all.bytes, entries, before);
  std::memcpy(all.bytes + before, children.bytes, between);
  std::memcpy(all.bytes + before + between, followed + entrySize(), behind * entrySize());
  all.count = count - 1 + children.count;

  if (all.count == 0) {
    // Only a page with a single child comes to this.
    status = unlink(step.page, page.left(), page.right());
    if (status != kOk) return status;
    return level > 0 ? replaceChild(level - 1, all) : makeRoot(kNoPage);
  }
  if (all.count > InteriorEntries::capacity(layout_)) {
    return splitInterior(level, all, behind == 0);
  }
  if (level == 0 && all.count == 1 && count > 1) {
    const std::uint32_t child = readBig32(all.bytes + layout_.length + 4);
    status = change_.freePage(step.page);
    return status == kOk ? makeRoot(child) : status;
  }
  status =
      putInterior(step.page, page.attributes(), page.left(), page.right(), all.bytes, all.count);
  if (status != kOk || behind > 0 || level == 0) return status;
  Children self;
  const unsigned char *last = all.bytes + (all.count - 1) * entrySize();
  addChild(self, last, readBig32(last + layout_.length), step.page);
  return replaceChild(level - 1, self);
}

int TagEditor::splitInterior(int level, const Children &all, bool atEnd) noexcept {
  const Step &step = path_[level];
  IndexPage page;
  int status = change_.readPage(step.page, page);
  if (status != kOk) return status;
  const std::uint32_t left = page.left();
  const std::uint32_t right = page.right();
  const std::uint32_t capacity = InteriorEntries::capacity(layout_);
  const std::uint32_t parts = (all.count + capacity - 1) / capacity;
  std::uint32_t places[kMostParts];
  const std::uint32_t staying = right == kNoPage ? parts - 1 : 0;
  for (std::uint32_t i = 0; i < parts && status == kOk; ++i) {
    if (i == staying) {
      places[i] = step.page;
    } else {
      status = change_.allocatePage(places[i]);
    }
  }
  Children children;
  std::uint32_t from = 0;
  for (std::uint32_t i = 0; i < parts && status == kOk; ++i) {
    const std::uint32_t even = (all.count - from) / (parts - i);
    const bool full = atEnd && right == kNoPage && i + 1 < parts;
    const std::uint32_t size = full ? std::min(capacity, all.count - from - (parts - i - 1)) : even;
    status =
        putInterior(places[i], 0, i == 0 ? left : places[i - 1],
                    i + 1 == parts ? right : places[i + 1], all.bytes + from * entrySize(), size);
    from += size;
    const unsigned char *last = all.bytes + (from - 1) * entrySize();
    addChild(children, last, readBig32(last + layout_.length), places[i]);
  }
  if (status == kOk && staying > 0 && left != kNoPage) status = setSibling(left, true, places[0]);
  if (status == kOk && staying == 0 && right != kNoPage) {
    status = setSibling(right, false, places[parts - 1]);
  }
  if (status != kOk) return status;
  return level > 0 ? replaceChild(level - 1, children) : growRoot(children);
}

// A new root above the pages that the old one became.
int TagEditor::growRoot(const Children &children) noexcept {
  std::uint32_t place = 0;
  int status = change_.allocatePage(place);
  if (status == kOk) {
    status = putInterior(place, kRootPage, kNoPage, kNoPage, children.bytes, children.count);
  }
  return status == kOk ? change_.setRoot(tag_, place) : status;
}

// The page becomes the root; kNoPage: an empty leaf does.
int TagEditor::makeRoot(std::uint32_t offset) noexcept {
  IndexPage page;
  int status = kOk;
  if (offset == kNoPage) {
    status = change_.allocatePage(offset);
    LeafWriter writer;
    writer.begin(page, layout_, 0);
    writer.finish(kLeafPage | kRootPage, kNoPage, kNoPage);
  } else {
    status = change_.readPage(offset, page);
    if (status == kOk) {
      writeLittle16(page.bytes, static_cast<std::uint16_t>(page.attributes() | kRootPage));
    }
  }
  if (status == kOk) status = change_.putPage(offset, page);
  return status == kOk ? change_.setRoot(tag_, offset) : status;
}

// Takes a page out of the chain of its level, to be used again.
int TagEditor::unlink(std::uint32_t offset, std::uint32_t left, std::uint32_t right) noexcept {
  int status = left != kNoPage ? setSibling(left, true, right) : kOk;
  if (status == kOk && right != kNoPage) status = setSibling(right, false, left);
  return status == kOk ? change_.freePage(offset) : status;
}

int TagEditor::setSibling(std::uint32_t offset, bool right, std::uint32_t sibling) noexcept {
  IndexPage page;
  const int status = change_.readPage(offset, page);
  if (status != kOk) return status;
  writeLittle32(page.bytes + (right ? 8 : 4), sibling);
  return change_.putPage(offset, page);
}

}  // namespace zk::engine
