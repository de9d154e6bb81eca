#include "engine/Tag.h"

#include <algorithm>
#include <cstring>

#include "engine/Index.h"
#include "engine/RecordSet.h"
#include "engine/Table.h"

namespace zk::engine {
namespace {

constexpr int kDepthLimit = 64;
constexpr int kHopefulTries = 3;

}  // namespace

bool KeyPlace::isBefore(const KeyPlace &other) const noexcept {
  const int order = std::memcmp(bytes, other.bytes, std::min(length, other.length));
  if (order != 0) return order < 0;
  if (length == other.length) return !behindEquals && other.behindEquals;
  // What begins with the longer key begins with the shorter one as well.
  return length < other.length ? !behindEquals : other.behindEquals;
}

void KeyRange::intersect(const KeyRange &other) noexcept {
  if (from.isBefore(other.from)) from = other.from;
  if (other.to.isBefore(to)) to = other.to;
}

int Tag::open(std::string_view name, std::uint32_t offset, std::uint64_t fileLength) {
  const std::size_t length = std::min<std::size_t>(name.size(), kTagNameSize);
  const unsigned char *upper = platform::upperCaseMap();
  for (std::size_t i = 0; i < length; ++i) {
    name_[i] = static_cast<char>(upper[static_cast<unsigned char>(name[i])]);
  }
  offset_ = offset;
  int status = header_.read(index_.file(), offset, fileLength);
  if (status != kOk) return status;
  layout_.length = header_.keyLength;
  layout_.fill = 0;

  const Context::Quiet quiet(table_.context());  // what cannot be evaluated is that tag's problem
  problem_ = compileExpressions();
  if (problem_ == kOk) layout_ = keys_.form().layout();
  return kOk;
}

int Tag::compileExpressions() {
  if (header_.foreignCollation) return kErrIndex;
  const int status = keys_.compile(table_, header_.expression, header_.filter);
  if (status != kOk) return status;
  return keys_.match(header_.keyLength) ? kOk : kErrSubexpressionType;
}

SeekKey Tag::keyOf(std::string_view text) const noexcept {
  SeekKey key;
  if (problem_ == kOk) key.sought = keys_.form().putSought(text, key.bytes, key.length);
  return key;
}

SeekKey Tag::keyOf(double number) const noexcept {
  SeekKey key;
  if (problem_ == kOk) key.sought = keys_.form().putSought(number, key.bytes, key.length);
  return key;
}

// ---- For changes

void Tag::setRoot(std::uint32_t root) noexcept {
  header_.root = root;
  rootVersion_ = index_.foreignVersion();
}

int Tag::refreshRoot() noexcept {
  if (rootVersion_ == index_.foreignVersion()) return kOk;
  unsigned char root[4];
  const int status = index_.file().read(offset_, root, sizeof root);
  if (status == kOk) setRoot(readLittle32(root));
  return status;
}

int Tag::evaluate(unsigned char *key, bool &inTag) noexcept {
  return problem_ == kOk ? keys_.evaluate(key, inTag) : problem_;
}

// ---- The pages of one moment

int Tag::reported(int status) noexcept {
  if (status >= 0) return status;
  if (status == kErrIndex) return index_.damaged();
  return table_.context().fail(status, index_.path().c_str());
}

// A few times in the hope that no writer comes between, then with the writers kept out.
template <typename Step>
int Tag::consistently(Step step) noexcept {
  RangeLock lock;
  bool locked = false;
  for (int tries = 0;;) {
    // At first without a look: when nothing has changed afterwards, nothing had before.
    int status = tries > 0 || locked ? index_.refresh() : index_.checkUsable();
    if (status == kLocked && locked) return index_.fallBehind();
    if (status != kOk && status != kLocked) return status;
    if (status == kOk) {
      const std::uint64_t version = index_.version();
      {
        // Pages that do not belong together look damaged.
        const Context::Quiet quiet(table_.context());
        // A try that met such pages may also have lost its leaf.
        const bool astray = leafPage_ != kNoPage ? version_ != version : atRecord_ != 0;
        if (astray) status = recover();
        if (status == kOk) status = step();
      }
      if (locked || !index_.file().othersMayWrite()) return reported(status);
      const int seen = index_.refresh();
      if (seen == kOk && index_.version() == version) return reported(status);
      if (seen != kOk && seen != kLocked) return seen;
      if (++tries < kHopefulTries) continue;
    }
    status = index_.waitForWriters(lock);
    if (status != kOk) {
      version_ = 0;  // the leaf may be one that the tries went to
      return status;
    }
    locked = index_.file().needsLocks();
  }
}

// The leaf is read anew at the entry that the last call gave, or where it was.
int Tag::recover() noexcept {
  leafPage_ = kNoPage;
  leafPending_ = false;
  leaf_.clear();
  at_ = 0;
  if (atRecord_ == 0) return kOk;
  const int status = toBound({atKey_, layout_.length, atRecord_, false});
  if (status != kOk && status != kEndOfFile) return status;
  displaced_ = atEnd() || leaf_.record(at_) != atRecord_ ||
               std::memcmp(leaf_.key(at_), atKey_, layout_.length) != 0;
  return kOk;
}

int Tag::report(int status, std::uint32_t &record) noexcept {
  record = 0;
  if (status == kLocked) return status;  // where it was
  if (leafPending_) {
    atRecord_ = record = pendingRecord_;
    std::memcpy(atKey_, pendingKey_, layout_.length);
    return status;
  }
  atRecord_ = 0;
  if (status == kOk || status == kNextGreater || status == kBeginningOfFile) {
    if (!atEnd()) {
      atRecord_ = record = leaf_.record(at_);
      std::memcpy(atKey_, leaf_.key(at_), layout_.length);
    }
  }
  return status;
}

// ---- Pages

int Tag::readLeaf(std::uint32_t offset) noexcept {
  IndexPage room;
  const IndexPage *page = nullptr;
  const int status = index_.viewPage(offset, room, page);
  return status == kOk ? takeLeaf(offset, *page) : status;
}

int Tag::takeLeaf(std::uint32_t offset, const IndexPage &page) noexcept {
  switch (leaf_.read(page, layout_)) {
    case LeafKeys::Result::kDone:
      break;
    case LeafKeys::Result::kDamaged:
      leafPage_ = kNoPage;
      leafPending_ = false;
      return index_.damaged();
    case LeafKeys::Result::kNoMemory:
      leafPage_ = kNoPage;
      leafPending_ = false;
      return table_.context().fail(kErrMemory);
  }
  displaced_ = leafPending_ = false;
  leafPage_ = offset;
  leafLeft_ = page.left();
  leafRight_ = page.right();
  version_ = index_.version();
  return kOk;
}

// From the root to a leaf, by the child that `choose` picks of each interior page.
template <typename Choose>
int Tag::descend(Choose choose) noexcept {
  return descend(choose, [this](std::uint32_t offset, const IndexPage &leaf) {
    return takeLeaf(offset, leaf);
  });
}

template <typename Choose, typename Take>
int Tag::descend(Choose choose, Take take) noexcept {
  const int rooted = refreshRoot();
  if (rooted != kOk) return rooted;
  std::uint32_t offset = header_.root;
  IndexPage room;
  for (int depth = 0; depth < kDepthLimit; ++depth) {
    const IndexPage *page = nullptr;
    const int status = index_.viewPage(offset, room, page);
    if (status != kOk) return status;
    if (page->isLeaf()) return take(offset, *page);
    InteriorEntries entries;
    if (!entries.open(*page, layout_)) return index_.damaged();
    offset = entries.child(choose(entries));
  }
  return index_.damaged();
}

// To the next leaf with keys on that side; kEndOfFile when there is none. The keys must go on where
// the leaf before ended, so that pages that go in a circle are noticed.
int Tag::moveToSibling(std::uint32_t sibling, bool right) noexcept {
  unsigned char edge[kLongestKey];
  std::uint32_t edgeRecord = 0;
  const bool compare = leaf_.count() > 0;
  if (compare) {
    const std::uint32_t i = right ? leaf_.count() - 1 : 0;
    std::memcpy(edge, leaf_.key(i), layout_.length);
    edgeRecord = leaf_.record(i);
  }
  for (std::uint32_t pages = 0; pages <= index_.pageLimit(); ++pages) {
    if (sibling == kNoPage) return kEndOfFile;
    const int status = readLeaf(sibling);
    if (status != kOk) return status;
    if (leaf_.count() > 0) {
      const std::uint32_t i = right ? 0 : leaf_.count() - 1;
      const int order =
          compare ? compareKeys(leaf_.key(i), leaf_.record(i), edge, edgeRecord, layout_.length)
                  : 0;
      if (compare && (right ? order <= 0 : order >= 0)) return index_.damaged();
      at_ = i;
      return kOk;
    }
    sibling = right ? leafRight_ : leafLeft_;
  }
  return index_.damaged();
}

// ---- Steps through the file, upward and downward

int Tag::toLowest() noexcept {
  const int status = descend([](const InteriorEntries &) { return 0u; });
  if (status != kOk) return status;
  at_ = 0;
  return atEnd() ? moveToSibling(leafRight_, true) : kOk;
}

int Tag::toHighest() noexcept {
  const int status = descend([](const InteriorEntries &entries) { return entries.count() - 1; });
  if (status != kOk) return status;
  if (leaf_.count() == 0) return moveToSibling(leafLeft_, false);
  at_ = leaf_.count() - 1;
  return kOk;
}

// To the first entry that is not before the bound; kEndOfFile, positioned behind the last entry,
// when there is none.
int Tag::toBound(const KeyBound &bound) noexcept {
  const int status =
      descend([&bound](const InteriorEntries &entries) { return entries.find(bound); });
  if (status != kOk) return status;
  at_ = leaf_.find(bound);
  if (!atEnd()) return kOk;
  if (leafRight_ == kNoPage) return kEndOfFile;
  return moveToSibling(leafRight_, true);
}

// A seek for a whole key ends at its entry, mostly, and the leaf is not needed after that.
int Tag::seekWhole(const SeekKey &key) noexcept {
  const KeyBound bound(key.bytes, key.length, 0, false);
  return descend([&bound](const InteriorEntries &entries) { return entries.find(bound); },
                 [this, &key](std::uint32_t offset, const IndexPage &leaf) {
                   LeafSearch search;
                   if (search.find(leaf, layout_, key.bytes) != LeafSearch::Result::kFound) {
                     return kNextGreater;
                   }
                   leafPage_ = offset;
                   version_ = index_.version();
                   at_ = search.at;
                   pendingRecord_ = search.record;
                   std::memcpy(pendingKey_, key.bytes, key.length);
                   leafPending_ = true;
                   displaced_ = false;
                   return static_cast<int>(kOk);
                 });
}

int Tag::up() noexcept {
  if (leafPage_ == kNoPage) return toLowest();
  if (leafPending_) {
    const int status = readLeaf(leafPage_);
    if (status != kOk) return status;
  }
  const bool alreadyBehind = displaced_;
  displaced_ = false;
  if (!atEnd() && !alreadyBehind) ++at_;
  if (!atEnd()) return kOk;
  return leafRight_ == kNoPage ? kEndOfFile : moveToSibling(leafRight_, true);
}

int Tag::down() noexcept {
  if (leafPage_ == kNoPage) return toHighest();
  if (leafPending_) {
    const int status = readLeaf(leafPage_);
    if (status != kOk) return status;
  }
  displaced_ = false;
  if (at_ > 0) {
    --at_;
    return kOk;
  }
  return moveToSibling(leafLeft_, false);
}

// ---- In the tag's direction

int Tag::first(std::uint32_t &record) noexcept {
  const int status = consistently([this] { return header_.descending ? toHighest() : toLowest(); });
  return report(status, record);
}

int Tag::last(std::uint32_t &record) noexcept {
  const int status = consistently([this] { return header_.descending ? toLowest() : toHighest(); });
  return report(status, record);
}

int Tag::next(std::uint32_t &record) noexcept {
  const int status = consistently([this] { return header_.descending ? down() : up(); });
  return report(status, record);
}

int Tag::previous(std::uint32_t &record) noexcept {
  int status = consistently([this] { return header_.descending ? up() : down(); });
  if (status == kEndOfFile) {
    status = first(record);
    return status == kOk ? kBeginningOfFile : status;
  }
  return report(status, record);
}

int Tag::seekUp(const SeekKey &key) noexcept {
  if (key.sought == SoughtKey::kEqual && key.length == layout_.length) {
    const int found = seekWhole(key);
    if (found != kNextGreater) return found;
  }
  const int status = toBound({key.bytes, key.length, 0, key.sought == SoughtKey::kBehind});
  return status == kOk ? compareHere(key) : status;
}

// Descending: what the walk meets first is the last entry that is not behind the key.
int Tag::seekDown(const SeekKey &key) noexcept {
  int status = toBound({key.bytes, key.length, 0, key.sought != SoughtKey::kBefore});
  if (status == kEndOfFile) {
    status = toHighest();
  } else if (status == kOk) {
    status = down();
  }
  return status == kOk ? compareHere(key) : status;
}

int Tag::compareHere(const SeekKey &key) const noexcept {
  const bool equal =
      key.sought == SoughtKey::kEqual && std::memcmp(leaf_.key(at_), key.bytes, key.length) == 0;
  return equal ? kOk : kNextGreater;
}

int Tag::seek(const SeekKey &key, std::uint32_t &record) noexcept {
  const int status =
      consistently([this, &key] { return header_.descending ? seekDown(key) : seekUp(key); });
  return report(status, record);
}

int Tag::seekCurrentRecord(std::uint32_t &record) noexcept {
  unsigned char key[kLongestKey];
  int status = problem_ == kOk ? keys_.evaluateKey(key) : problem_;
  if (status != kOk) return table_.context().fail(status, index_.path().c_str());
  const std::uint32_t number = table_.recordNumber();
  status = consistently([this, &key, number] {
    int found = toBound({key, layout_.length, number, false});
    if (found == kOk && leaf_.record(at_) == number &&
        std::memcmp(leaf_.key(at_), key, layout_.length) == 0) {
      return kOk;
    }
    if (found == kEndOfFile && header_.descending) {
      found = toHighest();
    } else if (found == kOk && header_.descending) {
      found = down();
    }
    return found == kOk ? kNextGreater : found;
  });
  return report(status, record);
}

// ---- Many entries at once

// Calls `entry` with the record of each entry in the range, in the file's order, until it gives
// something else than kOk.
template <typename Visit>
int Tag::visit(const KeyRange &range, Visit entry) noexcept {
  const KeyBound end = {range.to.bytes, range.to.length, 0, range.to.behindEquals};
  int status = toBound({range.from.bytes, range.from.length, 0, range.from.behindEquals});
  while (status == kOk) {
    for (; !atEnd() && status == kOk; ++at_) {
      if (!end.isBehind(leaf_.key(at_), leaf_.record(at_))) return kOk;
      status = entry(leaf_.record(at_));
    }
    if (status == kOk) status = moveToSibling(leafRight_, true);
  }
  return status == kEndOfFile ? kOk : status;
}

int Tag::collect(const KeyRange &range, std::uint32_t most, RecordSet &records) noexcept {
  losePosition();
  const int status = consistently([&] {
    records.clear();
    return visit(range, [&](std::uint32_t record) {
      if (!records.add(record)) return index_.damaged();
      return records.size() <= most ? kOk : kEndOfFile;
    });
  });
  losePosition();
  return status;
}

int Tag::order(const KeyRange &range, const RecordSet &set, base::Vector<std::uint32_t> &records) {
  records.reserve(set.size());
  losePosition();
  const int status = consistently([&] {
    records.clear();
    return visit(range, [&](std::uint32_t record) {
      if (record < 1 || record > set.largest()) return index_.damaged();
      if (!set.contains(record)) return kOk;
      if (records.size() == set.size()) return index_.damaged();  // some record twice
      records.push_back(record);
      return kOk;
    });
  });
  losePosition();
  if (header_.descending) std::reverse(records.begin(), records.end());
  return status;
}

int Tag::countKeys(std::uint32_t &count) noexcept {
  losePosition();
  const int status = consistently([this, &count] {
    count = 0;
    return visit(KeyRange(), [&count](std::uint32_t) {
      ++count;
      return kOk;
    });
  });
  losePosition();
  return status;
}

void Tag::losePosition() noexcept {
  leafPage_ = kNoPage;
  leafPending_ = false;
  leaf_.clear();
  at_ = 0;
  displaced_ = false;
  atRecord_ = 0;
}

}  // namespace zk::engine
