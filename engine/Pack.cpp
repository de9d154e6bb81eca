#include "engine/Pack.h"

#include <cstring>

#include "base/Guard.h"
#include "engine/Bytes.h"
#include "engine/Table.h"

namespace zk::engine {
namespace {

constexpr std::size_t kBlockBytes = 1 << 20;

}  // namespace

Context &Packer::table_context() const noexcept { return table_.context(); }

int Packer::run() {
  int status = table_.file_.becomeOnlyOpener();
  if (status != kOk) return status;
  const OpenMode mode = table_.file_.mode();
  status = base::guarded(kErrMemory, [this] { return copyAll(); });
  if (status == kOk) status = base::guarded(kErrMemory, [this] { return replaceFiles(); });
  if (table_.file_.mode() == mode) table_.file_.allowOtherOpeners();
  if (table_.file_.mode() != mode) {
    table_.file_.settleIntoMode(mode);
    if (table_.hasMemoFile()) table_.memo_->file().settleIntoMode(mode);
  }
  table_.cache_.forget();
  const int counted = table_.refreshCount();
  return status != kOk ? status : counted;
}

int Packer::markIndexes() noexcept {
  int status = kOk;
  for (IndexFile *index : table_.indexesInLockOrder()) {
    if (index->behind()) continue;
    if (status == kOk) status = index->change().begin();
    if (status == kOk) status = index->change().beginWriting();
  }
  return status;
}

int Packer::replaceFiles() {
  int status = markIndexes();
  if (status == kOk) status = files_.replace(table_.file_, table_.memo_.get());
  // The new table can be in place though its memo file could not be renamed.
  const bool replaced = files_.tableInPlace();
  for (IndexFile *index : table_.indexesInLockOrder()) {
    if (replaced) {
      index->change().fail();  // until it is written anew
    } else {
      index->change().abandon();
    }
  }
  table_.cache_.forget();
  if (!replaced) return status;
  const int counted = table_.refreshCount();
  const int rebuilt = counted == kOk ? table_.rebuildIndexes() : counted;
  return status != kOk ? status : rebuilt;
}

int Packer::copyAll() {
  // Whoever had it open before us may have appended.
  int status = table_.refreshCount();
  if (status == kOk) status = files_.beginReplacing(table_.path().c_str(), table_.hasMemoFile());
  if (status == kOk && table_.hasMemoFile()) {
    status = files_.memo().adopt(static_cast<std::uint16_t>(table_.memoBlockSize()));
  }
  if (status == kOk) status = copyHeader();
  if (status == kOk) status = copyRecords();
  return status == kOk ? finishFile() : status;
}

int Packer::copyHeader() {
  base::Vector<unsigned char> header(table_.header_.headerLength);
  const int status = table_.file_.read(0, header.data(), header.size());
  if (status != kOk) return status;
  writeLittle32(header.data() + 4, 0);
  end_ = header.size();
  return files_.table().write(0, header.data(), header.size());
}

int Packer::copyMemos(char *record) {
  for (const Field &field : table_.fields_) {
    if (!field.isMemo()) continue;
    char *reference = record + field.offset;
    std::uint32_t block = readMemoReference(reference, field.width);
    if (block == 0) continue;
    const int status = table_.memo_->copyTo(files_.memo(), block, memoBuffer_);
    if (status != kOk) return status;
    if (!writeMemoReference(reference, field.width, block)) {
      return table_.context().fail(kErrWriting, table_.path().c_str());
    }
  }
  return kOk;
}

int Packer::copyRecords() {
  const std::size_t length = table_.header_.recordLength;
  const std::uint32_t perBlock = static_cast<std::uint32_t>(kBlockBytes / length + 1);
  base::Vector<char> block(perBlock * length);
  for (std::uint32_t first = 1; first <= table_.count_;) {
    const std::uint32_t left = table_.count_ - first + 1;
    const std::uint32_t taken = left < perBlock ? left : perBlock;
    int status = table_.file_.read(table_.cache_.offsetOf(first), block.data(), taken * length);
    if (status != kOk) return status;

    std::size_t kept = 0;
    for (std::uint32_t i = 0; i < taken; ++i) {
      char *record = block.data() + i * length;
      if (record[0] != ' ') continue;
      char *target = block.data() + kept * length;
      if (target != record) std::memcpy(target, record, length);
      status = copyMemos(target);
      if (status != kOk) return status;
      ++kept;
    }
    status = files_.table().write(end_, block.data(), kept * length);
    if (status != kOk) return status;
    end_ += kept * length;
    kept_ += static_cast<std::uint32_t>(kept);
    first += taken;
    table_.context().reportProgress("Packing", first - 1, table_.count_);
  }
  return kOk;
}

int Packer::finishFile() {
  const unsigned char mark = kFileEnd;
  int status = files_.table().write(end_, &mark, 1);
  if (status != kOk) return status;
  unsigned char bytes[7];
  Table::stampDate(bytes);
  writeLittle32(bytes + 3, kept_);
  return files_.table().write(1, bytes, sizeof bytes);
}

}  // namespace zk::engine
