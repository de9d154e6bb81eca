#include "engine/IndexUpdate.h"

#include <cstring>

#include "engine/Table.h"
#include "engine/TagEditor.h"

namespace zk::engine {

template <typename Operation>
int IndexUpdate::forEachBegun(Operation operation) noexcept {
  for (IndexFile *index : table_.indexesInLockOrder()) {
    if (!index->change().begun()) continue;
    const int status = operation(index->change());
    if (status != kOk) return status;
  }
  return kOk;
}

IndexUpdate::~IndexUpdate() {
  if (step_ == Step::kDone) return;
  forEachBegun([this](IndexChange &change) {
    if (step_ == Step::kPages) {
      change.fail();
    } else {
      change.abandon();
    }
    return kOk;
  });
}

// ---- Collecting

// The keys of the record buffer, or with `stored` of what it holds for a moment instead.
int IndexUpdate::evaluateAll(std::uint32_t number, bool stored) noexcept {
  const std::uint32_t before = table_.recordNumber_;
  table_.recordNumber_ = number;
  int status = kOk;
  for (const base::Owned<IndexFile> &index : table_.indexes()) {
    for (const base::Owned<Tag> &tag : index->tags()) {
      KeyChange &keys = tag->keyChange();
      if (status != kOk) break;
      status = stored ? tag->evaluate(keys.oldKey, keys.leaves)
                      : tag->evaluate(keys.newKey, keys.enters);
    }
  }
  table_.recordNumber_ = before;
  return status;
}

int IndexUpdate::collectAppend(std::uint32_t number) noexcept {
  if (table_.indexes().empty()) return kOk;
  appending_ = true;
  for (const base::Owned<IndexFile> &index : table_.indexes()) {
    for (const base::Owned<Tag> &tag : index->tags()) tag->keyChange().leaves = false;
  }
  const int status = evaluateAll(number, false);
  return status == kOk ? collect(number) : status;
}

int IndexUpdate::collectUpdate(std::uint32_t number) noexcept {
  if (table_.indexes().empty()) return kOk;
  int status = evaluateAll(number, false);
  if (status == kOk) status = table_.readStored(number);
  if (status != kOk) return status;
  std::swap(table_.record_, table_.spare_);
  status = evaluateAll(number, true);
  std::swap(table_.record_, table_.spare_);
  if (status != kOk || !dropUnchanged()) return status;
  return collect(number);
}

// Keys that stay what they are; whether any others are left.
bool IndexUpdate::dropUnchanged() noexcept {
  bool any = false;
  for (const base::Owned<IndexFile> &index : table_.indexes()) {
    for (const base::Owned<Tag> &tag : index->tags()) {
      KeyChange &keys = tag->keyChange();
      if (keys.leaves && keys.enters &&
          std::memcmp(keys.oldKey, keys.newKey, tag->layout().length) == 0) {
        keys.leaves = keys.enters = false;
      }
      any = any || keys.leaves || keys.enters;
    }
  }
  return any;
}

int IndexUpdate::collect(std::uint32_t number) noexcept {
  for (IndexFile *index : table_.indexesInLockOrder()) {
    bool concerned = appending_;
    for (const base::Owned<Tag> &tag : index->tags()) {
      concerned = concerned || tag->keyChange().leaves || tag->keyChange().enters;
    }
    if (!concerned) continue;
    int status = index->change().begin();
    // With the append lock, or with this index locked, the count is that of all who keep the index.
    if (status == kOk && !appending_ && table_.rereads()) status = table_.refreshCount();
    if (status == kOk) status = index->change().expectRecords(table_.count_);
    for (const base::Owned<Tag> &tag : index->tags()) {
      if (status == kOk) status = collectTag(*index, *tag, number);
    }
    if (status != kOk) return status;
  }
  return kOk;
}

int IndexUpdate::collectTag(IndexFile &index, Tag &tag, std::uint32_t number) noexcept {
  const KeyChange &keys = tag.keyChange();
  if (!keys.leaves && !keys.enters) return kOk;
  TagEditor editor(index, tag);
  int status = kOk;
  if (keys.enters && tag.header().unique()) {
    bool taken = false;
    status = editor.hasKeyOfOther(keys.newKey, number, taken);
    if (taken) status = table_.context().fail(kErrUnique, tag.name());
  }
  if (status == kOk && keys.leaves) {
    status = editor.remove(keys.oldKey, number);
    if (status == kErrUnexpectedInformation) status = keyIsMissing(index, tag, editor, number);
  }
  if (status == kOk && keys.enters) {
    status = editor.insert(keys.newKey, number);
    if (status == kErrUnexpectedInformation) status = mismatch(index);
  }
  return status;
}

// Other programs leave records out of a unique tag that has their key already.
int IndexUpdate::keyIsMissing(IndexFile &index, Tag &tag, TagEditor &editor,
                              std::uint32_t number) noexcept {
  bool underOther = false;
  if ((tag.header().options & kOptionUnique) != 0) {
    const int status = editor.hasKeyOfOther(tag.keyChange().oldKey, number, underOther);
    if (status != kOk) return status;
  }
  return underOther ? kOk : mismatch(index);
}

// The tag does not tell of the record as it is stored.
int IndexUpdate::mismatch(IndexFile &index) noexcept {
  index.change().fail();
  return table_.context().fail(kErrUnexpectedInformation, index.path().c_str(),
                               "Index does not match its table");
}

// ---- Writing

int IndexUpdate::begin() noexcept {
  step_ = Step::kBegun;
  const int status = forEachBegun([](IndexChange &change) { return change.beginWriting(); });
  if (status != kOk) return status;
  return forEachBegun([](IndexChange &change) { return change.writeNewPages(); });
}

int IndexUpdate::writePages() noexcept {
  step_ = Step::kPages;
  return forEachBegun([](IndexChange &change) { return change.writePages(); });
}

int IndexUpdate::finish() noexcept {
  const int status =
      forEachBegun([this](IndexChange &change) { return change.finish(appending_ ? 1 : 0); });
  if (status != kOk) return status;
  step_ = Step::kDone;
  for (const base::Owned<IndexFile> &index : table_.indexes()) {
    for (const base::Owned<Tag> &tag : index->tags()) {
      if (tag->keyChange().leaves || tag->keyChange().enters) tag->forgetPosition();
    }
  }
  return kOk;
}

}  // namespace zk::engine
