#include "engine/MemoCheck.h"

#include "engine/Bytes.h"

namespace zk::engine {
namespace {

// Digits, with blanks around; other programs leave zero bytes as well.
bool isReference(const char *bytes, std::uint32_t width) {
  const auto isBlank = [bytes](std::uint32_t i) { return bytes[i] == ' ' || bytes[i] == '\0'; };
  std::uint32_t i = 0;
  while (i < width && isBlank(i)) ++i;
  while (i < width && bytes[i] >= '0' && bytes[i] <= '9') ++i;
  while (i < width && isBlank(i)) ++i;
  return i == width;
}

}  // namespace

MemoCheck::MemoCheck(Context &context, Memo &memo, Findings &findings) noexcept
    : memo_(memo), findings_(findings), workFile_(context), references_(workFile_, kKeySize) {}

int MemoCheck::add(const char *bytes, const Field &field, std::uint32_t record) {
  if (field.width != 4 && !isReference(bytes, field.width)) {
    findings_.add("record %u, field %s: the memo reference %s is no number", record, field.name,
                  Quoted(bytes, field.width).text());
    return kOk;
  }
  const std::uint32_t block = readMemoReference(bytes, field.width);
  if (block == 0) return kOk;
  unsigned char key[kKeySize];
  writeBig32(key, block);
  writeBig16(key + 4, static_cast<std::uint16_t>(field.memoNumber));
  return references_.add(key, record);
}

int MemoCheck::finish(const base::Vector<Field> &fields) {
  int status = memo_.file().length(fileLength_);
  if (status == kOk) status = references_.sort();
  base::Vector<const Field *> memoFields;
  for (const Field &field : fields) {
    if (field.isMemo()) memoFields.push_back(&field);
  }
  while (status == kOk) {
    const unsigned char *key = nullptr;
    std::uint32_t record = 0;
    status = references_.next(key, record);
    if (status == kEndOfFile) return kOk;
    if (status == kOk)
      status = checkPlace({readBig32(key), memoFields[readBig16(key + 4)], record});
  }
  return status;
}

int MemoCheck::checkPlace(const Place &place) noexcept {
  if (place.block == last_.block) {
    findings_.add("record %u, field %s: the memo at block %u is that of record %u, field %s, too",
                  place.record, place.field->name, place.block, last_.record, last_.field->name);
    return kOk;
  }
  if (place.block < blocksEnd_) {
    findings_.add(
        "record %u, field %s: the memo at block %u lies within that of record %u, field %s",
        place.record, place.field->name, place.block, last_.record, last_.field->name);
  }
  const std::uint64_t offset = static_cast<std::uint64_t>(place.block) * memo_.blockSize();
  unsigned char prefix[kMemoPrefix];
  std::size_t got = 0;
  const int status =
      offset < kMemoHeaderSize ? kOk : memo_.file().readUpTo(offset, prefix, sizeof prefix, got);
  if (status != kOk) return status;
  if (got < sizeof prefix) {
    findings_.add("record %u, field %s: block %u lies outside the memo file", place.record,
                  place.field->name, place.block);
    return kOk;
  }
  const std::uint64_t size = kMemoPrefix + std::uint64_t{readBig32(prefix + 4)};
  if (offset + size > fileLength_) {
    findings_.add("record %u, field %s: the memo at block %u is longer (%llu bytes) than its file",
                  place.record, place.field->name, place.block,
                  static_cast<unsigned long long>(size - kMemoPrefix));
    return kOk;
  }
  last_ = place;
  const std::uint64_t end = place.block + (size + memo_.blockSize() - 1) / memo_.blockSize();
  if (end > blocksEnd_) blocksEnd_ = end;
  return kOk;
}

// The next free block leads to where other programs write.
int MemoCheck::checkHeader() {
  unsigned char next[4];
  const int status = memo_.file().read(0, next, sizeof next);
  if (status == kOk && blocksEnd_ > readBig32(next)) {
    findings_.add("header: the next free block is said to be %u, but memos reach up to block %llu",
                  readBig32(next), static_cast<unsigned long long>(blocksEnd_ - 1));
  }
  return status;
}

}  // namespace zk::engine
