#include "engine/Change.h"

#include "engine/Bytes.h"
#include "engine/IndexUpdate.h"
#include "engine/Table.h"
#include "platform/System.h"

namespace zk::engine {

std::uint64_t Change::recordLockByte(std::uint32_t number) const noexcept {
  if (table_.header_.indexFlags != 0) return kAppendLockByte - number;
  return kLockBase + table_.cache_.offsetOf(number);
}

bool Change::changesMemos() const noexcept {
  if (!table_.memoTouched_) return false;
  for (const MemoText &memo : table_.memoTexts_) {
    if (memo.changed) return true;
  }
  return false;
}

int Change::lockMemos() noexcept {
  return changesMemos() ? memoLock_.acquire(table_.memo_->file(), kAppendLockByte, 1) : kOk;
}

// The memo texts that changed get their blocks, and the record buffer refers to them.
int Change::writeMemos() noexcept {
  if (!changesMemos()) return kOk;
  for (const Field &field : table_.fields_) {
    if (!field.isMemo()) continue;
    MemoText &memo = table_.memoTexts_[static_cast<std::size_t>(field.memoNumber)];
    if (!memo.changed) continue;
    char *reference = table_.memoReference(field);
    const std::uint32_t before = readMemoReference(reference, field.width);
    std::uint32_t block = before;
    const int status = table_.memo_->write(memo, block);
    if (status != kOk) return status;
    if (block != before && !writeMemoReference(reference, field.width, block)) {
      return table_.context_.fail(kErrWriting, table_.path().c_str());
    }
    memo.changed = false;
  }
  return memoLock_.release();
}

int Change::appendRecord(std::uint32_t number) noexcept {
  if (table_.file_.mode() == OpenMode::kExclusive) {
    const int status = table_.cache_.tailIsFull() ? table_.flushTail() : kOk;
    return status == kOk ? table_.cache_.append(number, table_.record_) : status;
  }
  // Record and end mark go in one write; the buffer has the byte for it.
  const std::uint32_t length = table_.header_.recordLength;
  table_.record_[length] = static_cast<char>(kFileEnd);
  table_.cache_.forget();
  return table_.file_.write(table_.cache_.offsetOf(number), table_.record_, length + 1);
}

int Change::appendIndexed(std::uint32_t number) noexcept {
  IndexUpdate indexes(table_);
  int status = lockMemos();
  if (status == kOk) status = indexes.collectAppend(number);
  if (status == kOk) status = writeMemos();
  if (status == kOk) status = indexes.begin();
  if (status == kOk) status = appendRecord(number);
  if (status == kOk) status = indexes.writePages();
  if (status == kOk && table_.file_.mode() != OpenMode::kExclusive) {
    status = table_.writeCount(number);
  }
  if (status != kOk) return status;
  table_.count_ = number;
  return indexes.finish();
}

int Change::append(std::uint32_t &number) noexcept {
  const bool shared = table_.file_.othersMayWrite();
  int status = lock_.acquire(table_.file_, kAppendLockByte, 1);
  if (status == kOk && shared) status = table_.refreshCount();
  if (status == kOk && table_.count_ >= INT32_MAX) {
    status = table_.context_.fail(kErrWriting, table_.path().c_str());
  }
  number = table_.count_ + 1;
  if (status == kOk) status = appendIndexed(number);
  return finish(status);
}

// A record that came to the disk in part becomes the old one again, which the indexes tell of.
int Change::overwriteRecord(std::uint32_t number, IndexUpdate &indexes) noexcept {
  const int status = table_.cache_.write(number, table_.record_);
  if (status >= kOk || table_.indexes().empty()) return status;
  if (table_.cache_.write(number, table_.spare_) != kOk) indexes.loseRecord();
  return status;
}

int Change::updateIndexed(std::uint32_t number) noexcept {
  IndexUpdate indexes(table_);
  int status = lockMemos();
  if (status == kOk) status = indexes.collectUpdate(number);
  if (status == kOk) status = writeMemos();
  if (status == kOk) status = indexes.begin();
  if (status == kOk) status = overwriteRecord(number, indexes);
  if (status == kOk) table_.updateDateDue_ = true;
  if (status == kOk) status = indexes.writePages();
  return status == kOk ? indexes.finish() : status;
}

int Change::update(std::uint32_t number) noexcept {
  int status = lock_.acquire(table_.file_, recordLockByte(number), 1);
  if (status == kOk) status = updateIndexed(number);
  return finish(status);
}

int Change::finish(int status) noexcept {
  const int memoReleased = memoLock_.release();
  const int released = lock_.release();
  if (status == kOk) status = memoReleased;
  return status != kOk ? status : released;
}

}  // namespace zk::engine
