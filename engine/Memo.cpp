#include "engine/Memo.h"

#include <cstring>
#include <utility>

#include "engine/Bytes.h"

namespace zk::engine {
namespace {

constexpr std::uint32_t kTextType = 1;
constexpr std::size_t kFirstRead = 504;  // with the prefix: one usual disk sector
// How far behind the data the header's next block may point: what a writer claimed but died before
// writing. Farther is damage.
constexpr std::uint64_t kBelievableGap = 1 << 20;

}  // namespace

void MemoText::swap(MemoText &other) noexcept {
  std::swap(loaded, other.loaded);
  std::swap(changed, other.changed);
  std::swap(block_, other.block_);
  std::swap(capacity_, other.capacity_);
  std::swap(size_, other.size_);
}

bool MemoText::reserve(std::size_t size) noexcept {
  if (block_ != nullptr && size <= capacity_) return true;
  if (size > SIZE_MAX / 2) return false;
  std::size_t wanted = capacity_ + capacity_ / 2;
  if (wanted < size) wanted = size;
  void *grown = base::reallocate(block_, kMemoPrefix + wanted);
  if (grown == nullptr) return false;
  block_ = static_cast<char *>(grown);
  capacity_ = wanted;
  return true;
}

bool MemoText::assign(std::string_view text) noexcept {
  // The text may be our own: its place is found again after growing.
  const bool own =
      block_ != nullptr && text.data() >= block_ && text.data() < block_ + kMemoPrefix + capacity_;
  const std::size_t at = own ? static_cast<std::size_t>(text.data() - block_) : 0;
  if (!reserve(text.size())) return false;
  if (!text.empty()) {
    std::memmove(block_ + kMemoPrefix, own ? block_ + at : text.data(), text.size());
  }
  size_ = text.size();
  loaded = true;
  changed = true;
  return true;
}

int Memo::damaged() noexcept { return file_.context().fail(kErrReading, file_.path().c_str()); }

int Memo::open(Context &context, const char *path, OpenMode mode) {
  int status = file_.open(context, path, mode, false);
  if (status != kOk) return status;
  unsigned char header[8];
  std::size_t got = 0;
  status = file_.readUpTo(0, header, sizeof header, got);
  if (status == kOk) {
    blockSize_ = got == sizeof header ? readBig16(header + 6) : 0;
    if (blockSize_ == 0) status = context.fail(kErrNotATable, path);
  }
  if (status != kOk) file_.close();
  return status;
}

int Memo::writeNewHeader(File &file, std::uint16_t blockSize) noexcept {
  unsigned char header[kMemoHeaderSize] = {};
  const std::uint32_t firstBlock =
      static_cast<std::uint32_t>((kMemoHeaderSize + blockSize - 1) / blockSize);
  writeBig32(header, firstBlock);
  writeBig16(header + 6, blockSize);
  return file.write(0, header, sizeof header);
}

int Memo::adopt(std::uint16_t blockSize) noexcept {
  blockSize_ = blockSize;
  return writeNewHeader(file_, blockSize);
}

bool Memo::blockIsPossible(std::uint32_t block, std::uint64_t &offset) const noexcept {
  offset = static_cast<std::uint64_t>(block) * blockSize_;
  return offset >= kMemoHeaderSize;
}

std::uint64_t Memo::blocksFor(std::uint64_t size) const noexcept {
  return (kMemoPrefix + size + blockSize_ - 1) / blockSize_;
}

int Memo::read(std::uint32_t block, MemoText &memo) noexcept {
  memo.setSize(0);
  if (block == 0) return kOk;
  std::uint64_t offset;
  if (!blockIsPossible(block, offset)) return damaged();
  if (!memo.reserve(kFirstRead)) return file_.context().fail(kErrMemory);

  // Most memos come with their first bytes in one read.
  std::size_t got = 0;
  int status = file_.readUpTo(offset, memo.image(), kMemoPrefix + kFirstRead, got);
  if (status != kOk) return status;
  if (got < kMemoPrefix) return damaged();
  const std::uint32_t size = readBig32(memo.image() + 4);
  got -= kMemoPrefix;
  if (size > got) {
    // The length is believed only when the file is long enough for it.
    std::uint64_t fileLength;
    status = file_.length(fileLength);
    if (status != kOk) return status;
    if (fileLength < offset + kMemoPrefix + size) return damaged();
    if (!memo.reserve(size)) return file_.context().fail(kErrMemory);
    status = file_.read(offset + kMemoPrefix + got, memo.image() + kMemoPrefix + got, size - got);
    if (status != kOk) return status;
  }
  memo.setSize(size);
  return kOk;
}

// Whether a memo of `size` bytes fits the blocks that the one at `block` takes.
int Memo::fits(std::uint32_t block, std::size_t size, bool &result) noexcept {
  result = false;
  std::uint64_t offset;
  if (block == 0 || !blockIsPossible(block, offset)) return kOk;
  unsigned char prefix[kMemoPrefix];
  std::size_t got = 0;
  int status = file_.readUpTo(offset, prefix, sizeof prefix, got);
  std::uint64_t fileLength = 0;
  if (status == kOk) status = file_.length(fileLength);
  if (status != kOk || got < sizeof prefix) return status;
  const std::uint64_t oldSize = readBig32(prefix + 4);
  // A damaged length must not claim blocks that belong to others.
  if (offset + kMemoPrefix + oldSize > fileLength) return kOk;
  result = blocksFor(size) <= blocksFor(oldSize);
  return kOk;
}

// Header, data and the zeros that fill the last block, in one write.
int Memo::writeImage(MemoText &memo, std::uint32_t type, std::uint32_t block) noexcept {
  const auto bytes = static_cast<std::size_t>(blocksFor(memo.size()) * blockSize_);
  if (!memo.reserve(bytes - kMemoPrefix)) return file_.context().fail(kErrMemory);
  writeBig32(memo.image(), type);
  writeBig32(memo.image() + 4, static_cast<std::uint32_t>(memo.size()));
  std::memset(memo.image() + kMemoPrefix + memo.size(), 0, bytes - kMemoPrefix - memo.size());
  return file_.write(static_cast<std::uint64_t>(block) * blockSize_, memo.image(), bytes);
}

int Memo::writeAtEnd(MemoText &memo, std::uint32_t type, std::uint32_t &block) noexcept {
  unsigned char next[4];
  std::uint64_t fileLength = 0;
  int status = file_.read(0, next, sizeof next);
  if (status == kOk) status = file_.length(fileLength);
  if (status != kOk) return status;
  // The file's length never lies, the header's next block may.
  if (fileLength < kMemoHeaderSize) fileLength = kMemoHeaderSize;
  std::uint64_t place = (fileLength + blockSize_ - 1) / blockSize_;
  const std::uint64_t claimed = readBig32(next);
  if (claimed > place && claimed * blockSize_ <= fileLength + kBelievableGap) place = claimed;
  const std::uint64_t behind = place + blocksFor(memo.size());
  if (behind > UINT32_MAX) return file_.context().fail(kErrWriting, file_.path().c_str());

  // The next block is claimed first: after a kill the space is lost, never used twice.
  writeBig32(next, static_cast<std::uint32_t>(behind));
  status = file_.write(0, next, sizeof next);
  if (status == kOk) status = writeImage(memo, type, static_cast<std::uint32_t>(place));
  if (status == kOk) block = static_cast<std::uint32_t>(place);
  return status;
}

int Memo::write(MemoText &memo, std::uint32_t &block) noexcept {
  if (block == 0 && memo.size() == 0) return kOk;
  if (memo.size() > UINT32_MAX - kMemoPrefix) {
    return file_.context().fail(kErrWriting, file_.path().c_str());
  }
  bool inPlace = false;
  const int status = fits(block, memo.size(), inPlace);
  if (status != kOk) return status;
  return inPlace ? writeImage(memo, kTextType, block) : writeAtEnd(memo, kTextType, block);
}

int Memo::copyTo(Memo &target, std::uint32_t &block, MemoText &buffer) noexcept {
  if (block == 0) return kOk;
  const int status = read(block, buffer);
  if (status != kOk) return status;
  if (buffer.size() == 0) {
    block = 0;
    return kOk;
  }
  const std::uint32_t type = readBig32(buffer.image());
  return target.writeAtEnd(buffer, type, block);
}

std::uint32_t readMemoReference(const char *bytes, std::uint32_t width) noexcept {
  if (width == 4) return readLittle32(reinterpret_cast<const unsigned char *>(bytes));
  std::uint64_t block = 0;
  std::uint32_t i = 0;
  while (i < width && bytes[i] == ' ') ++i;
  for (; i < width && bytes[i] >= '0' && bytes[i] <= '9'; ++i) {
    block = block * 10 + static_cast<unsigned>(bytes[i] - '0');
    if (block > UINT32_MAX) return UINT32_MAX;  // outside of every file: reading reports it
  }
  return static_cast<std::uint32_t>(block);
}

bool writeMemoReference(char *bytes, std::uint32_t width, std::uint32_t block) noexcept {
  if (width == 4) {
    writeLittle32(reinterpret_cast<unsigned char *>(bytes), block);
    return true;
  }
  char digits[10];
  std::uint32_t count = 0;
  for (; block != 0; block /= 10) digits[count++] = static_cast<char>('0' + block % 10);
  if (count > width) return false;
  std::memset(bytes, ' ', width - count);
  for (std::uint32_t i = 0; i < count; ++i) bytes[width - 1 - i] = digits[i];
  return true;
}

}  // namespace zk::engine
