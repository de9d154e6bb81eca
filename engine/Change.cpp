#include "engine/Change.h"

#include "engine/Bytes.h"
#include "engine/Table.h"
#include "platform/System.h"

namespace zk::engine {

std::uint64_t Change::recordLockByte(std::uint32_t number) const noexcept {
  if (table_.header_.indexFlags != 0) return kAppendLockByte - number;
  return kLockBase + table_.cache_.offsetOf(number);
}

// The memo texts that changed get their blocks, and the record buffer refers to them.
int Change::writeMemos() noexcept {
  if (!table_.memoTouched_) return kOk;
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
  return kOk;
}

int Change::appendToFile(std::uint32_t number) noexcept {
  // Record and end mark go in one write; the buffer has the byte for it.
  const std::uint32_t length = table_.header_.recordLength;
  table_.record_[length] = static_cast<char>(kFileEnd);
  const int status = table_.file_.write(table_.cache_.offsetOf(number), table_.record_, length + 1);
  return status != kOk ? status : table_.writeCount(number);
}

int Change::append(std::uint32_t &number) noexcept {
  const bool shared = table_.file_.othersMayWrite();
  int status = lock_.acquire(table_.file_, kAppendLockByte, 1);
  if (status == kOk && shared) status = table_.refreshCount();
  if (status == kOk && table_.count_ >= INT32_MAX) {
    status = table_.context_.fail(kErrWriting, table_.path().c_str());
  }
  if (status == kOk) status = writeMemos();
  if (status != kOk) return finish(status);

  number = table_.count_ + 1;
  if (table_.file_.mode() == OpenMode::kExclusive) {
    if (table_.cache_.tailIsFull()) status = table_.flushTail();
    if (status == kOk) status = table_.cache_.append(number, table_.record_);
  } else {
    status = appendToFile(number);
    table_.cache_.forget();
  }
  if (status == kOk) table_.count_ = number;
  return finish(status);
}

int Change::update(std::uint32_t number) noexcept {
  int status = lock_.acquire(table_.file_, recordLockByte(number), 1);
  if (status == kOk) status = writeMemos();
  if (status == kOk) status = table_.cache_.write(number, table_.record_);
  if (status == kOk) table_.updateDateDue_ = true;
  return finish(status);
}

int Change::finish(int status) noexcept {
  const int released = lock_.release();
  return status != kOk ? status : released;
}

}  // namespace zk::engine
