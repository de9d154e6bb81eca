#include "engine/TreeCheck.h"

#include <cstdio>
#include <cstring>

#include "engine/Bytes.h"
#include "engine/IndexHeader.h"

namespace zk::engine {
namespace {

constexpr std::size_t kLeafHead = 24;
constexpr std::uint16_t kKnownAttributes = 7;

constexpr std::uint64_t maskOf(std::uint32_t bits) { return (std::uint64_t{1} << bits) - 1; }

// A page's place, or "none".
struct PageName {
  char text[12];
  explicit PageName(std::uint32_t offset) noexcept {
    std::snprintf(text, sizeof text, offset == kNoPage ? "none" : "%u", offset);
  }
};

// How many bytes of its keys a readable leaf stores.
std::size_t storedBytes(const IndexPage &page, const KeyLayout &layout) {
  const std::uint32_t recordBits = page.bytes[20];
  const std::uint32_t countBits[] = {page.bytes[21], page.bytes[22]};
  const std::size_t entrySize = page.bytes[23];
  std::size_t stored = page.count() * layout.length;
  for (std::uint32_t i = 0; i < page.count(); ++i) {
    unsigned char bytes[8] = {};
    std::memcpy(bytes, page.bytes + kLeafHead + i * entrySize, entrySize);
    const std::uint64_t counts = readLittle64(bytes) >> recordBits;
    stored -= static_cast<std::size_t>(counts & maskOf(countBits[0]));
    stored -= static_cast<std::size_t>(counts >> countBits[0] & maskOf(countBits[1]));
  }
  return stored;
}

}  // namespace

TreeCheck::TreeCheck(CheckedIndex &index, Findings &findings, const char *name,
                     const KeyLayout &layout, bool comparable) noexcept
    : index_(index),
      findings_(findings),
      name_(name),
      layout_(layout),
      comparable_(comparable),
      ordered_(comparable) {}

int TreeCheck::run(std::uint32_t root, KeySink &sink) {
  levels_.reserve(kDepthLimit);  // entries point into their pages, which must not move
  int status = visit(root, sink);
  while (status == kOk && !levels_.empty()) {
    Level &level = levels_.back();
    if (level.at == level.entries.count()) {
      levels_.pop_back();
      if (!levels_.empty()) finishChild(levels_.back());
      continue;
    }
    level.keysBefore = keys_;
    level.damagesBefore = damages_;
    const std::uint32_t before = depth();
    status = visit(level.entries.child(level.at), sink);
    if (depth() == before) finishChild(level);
  }
  if (status == kOk) checkRowEnds();
  return status;
}

// What lies below the page that is due is not known.
void TreeCheck::damage() noexcept {
  ++damages_;
  for (std::uint32_t i = depth(); i < kDepthLimit; ++i) rows_[i].known = false;
}

// Goes through the page when it is a leaf, or begins to.
int TreeCheck::visit(std::uint32_t offset, KeySink &sink) {
  if (!isPageOffset(offset, index_.fileLength)) {
    if (levels_.empty()) {
      findings_.add("%s: the root is said to lie at %u, which is no page of the file", name_,
                    offset);
    } else {
      findings_.add("%s, page %u: entry %u leads to %u, which is no page of the file", name_,
                    levels_.back().offset, levels_.back().at + 1, offset);
    }
    damage();
    return kOk;
  }
  if (!index_.pages->claim(offset)) {
    findings_.add("%s, page %u: the page is used twice", name_, offset);
    damage();
    return kOk;
  }
  IndexPage page;
  const int status = index_.file.read(offset, page.bytes, sizeof page.bytes);
  if (status != kOk) return status;
  checkHead(offset, page);
  return page.isLeaf() ? visitLeaf(offset, page, sink) : descend(offset, page);
}

void TreeCheck::checkHead(std::uint32_t offset, const IndexPage &page) noexcept {
  const bool isRoot = levels_.empty();
  if (page.attributes() > kKnownAttributes) {
    findings_.add("%s, page %u: the attributes 0x%04X are unknown", name_, offset,
                  page.attributes());
  }
  if (((page.attributes() & kRootPage) != 0) != isRoot) {
    findings_.add("%s, page %u: the page is %s, but is %smarked as the root", name_, offset,
                  isRoot ? "the root" : "not the root", isRoot ? "not " : "");
  }
  Row &row = rows_[depth()];
  if (row.known && page.left() != row.page) {
    findings_.add("%s, page %u: the left neighbour is said to be %s, but is %s", name_, offset,
                  PageName(page.left()).text, PageName(row.page).text);
  }
  if (row.known && row.page != kNoPage && row.right != offset) {
    findings_.add("%s, page %u: the right neighbour is said to be %s, but is %u", name_, row.page,
                  PageName(row.right).text, offset);
  }
  row = {offset, page.right(), true};
}

void TreeCheck::checkRowEnds() noexcept {
  for (const Row &row : rows_) {
    if (!row.known || row.page == kNoPage || row.right == kNoPage) continue;
    findings_.add("%s, page %u: the right neighbour is said to be %u, but is none", name_, row.page,
                  row.right);
  }
}

int TreeCheck::descend(std::uint32_t offset, const IndexPage &page) {
  if (depth() + 1 == kDepthLimit) {
    findings_.add("%s, page %u: the tree is deeper than any index", name_, offset);
    damage();
    return kOk;
  }
  Level &level = levels_.emplace_back();
  level.offset = offset;
  level.page = page;
  if (level.entries.open(level.page, layout_)) return kOk;
  levels_.pop_back();
  findings_.add("%s, page %u: it cannot have %u entries", name_, offset, page.count());
  damage();
  return kOk;
}

int TreeCheck::visitLeaf(std::uint32_t offset, const IndexPage &page, KeySink &sink) {
  if (leafDepth_ == kDepthLimit) leafDepth_ = depth();
  if (leafDepth_ != depth()) {
    findings_.add("%s, page %u: the leaf lies at depth %u, those before at %u", name_, offset,
                  depth() + 1, leafDepth_ + 1);
  }
  switch (leaf_.read(page, layout_)) {
    case LeafKeys::Result::kDone:
      break;
    case LeafKeys::Result::kDamaged:
      findings_.add("%s, page %u: the keys cannot be read", name_, offset);
      damage();
      return kOk;
    case LeafKeys::Result::kNoMemory:
      throw std::bad_alloc();
  }
  if (leaf_.count() > 0) checkLeafSpace(offset, page);
  for (std::uint32_t i = 0; i < leaf_.count(); ++i) checkKey(offset, i);
  if (damages_ > 0 || (comparable_ && !ordered_)) return kOk;
  int status = kOk;
  for (std::uint32_t i = 0; i < leaf_.count() && status == kOk; ++i) {
    status = sink.take({leaf_.key(i), leaf_.record(i), offset});
  }
  return status;
}

void TreeCheck::checkLeafSpace(std::uint32_t offset, const IndexPage &page) noexcept {
  const unsigned char *bytes = page.bytes;
  if (readLittle32(bytes + 14) != maskOf(bytes[20]) || bytes[18] != maskOf(bytes[21]) ||
      bytes[19] != maskOf(bytes[22])) {
    findings_.add("%s, page %u: the masks of the entries do not go with their bits", name_, offset);
  }
  const std::size_t used =
      kLeafHead + page.count() * std::size_t{bytes[23]} + storedBytes(page, layout_);
  const std::size_t free = kIndexPageSize - used;
  if (readLittle16(bytes + 12) != free) {
    findings_.add("%s, page %u: it is said to have %u free bytes, but has %u", name_, offset,
                  readLittle16(bytes + 12), static_cast<unsigned>(free));
  }
}

void TreeCheck::checkKey(std::uint32_t offset, std::uint32_t i) noexcept {
  const unsigned char *key = leaf_.key(i);
  const std::uint32_t record = leaf_.record(i);
  if (comparable_ && keys_ > 0 &&
      compareKeys(lastKey_, lastRecord_, key, record, layout_.length) >= 0) {
    findings_.add("%s, page %u: key %u (record %u) does not come behind the one before it", name_,
                  offset, i + 1, record);
    ordered_ = false;
  }
  std::memcpy(lastKey_, key, layout_.length);
  lastRecord_ = record;
  ++keys_;
}

// A child has been gone through: its entry must be its last key.
void TreeCheck::finishChild(Level &level) noexcept {
  const std::uint32_t i = level.at++;
  const bool whole = damages_ == level.damagesBefore && keys_ > level.keysBefore;
  if (!comparable_ || !whole ||
      compareKeys(level.entries.key(i), level.entries.record(i), lastKey_, lastRecord_,
                  layout_.length) == 0) {
    return;
  }
  findings_.add("%s, page %u: entry %u is not the last key of page %u", name_, level.offset, i + 1,
                level.entries.child(i));
}

}  // namespace zk::engine
