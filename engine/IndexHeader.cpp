#include "engine/IndexHeader.h"

#include <cstring>

namespace zk::engine {
namespace {

constexpr std::size_t kCollationAt = 486;
constexpr std::size_t kCollationSize = 8;
constexpr std::string_view kPlainCollation = "MACHINE";
constexpr std::size_t kStampAt = 64;
constexpr char kStampName[] = "ZKST";

// A text of the pool: position and length lie at `at` of the header.
bool poolText(const unsigned char *header, std::size_t at, base::String &text) {
  const std::size_t position = readLittle16(header + at);
  const std::size_t size = readLittle16(header + at + 2);
  if (position + size > kIndexTextPool) return false;
  const char *begin = reinterpret_cast<const char *>(header) + kIndexPageSize + position;
  text.assign(begin, size > 0 ? strnlen(begin, size) : 0);
  return true;
}

bool hasForeignCollation(const unsigned char *header) {
  const char *name = reinterpret_cast<const char *>(header) + kCollationAt;
  const std::string_view collation(name, strnlen(name, kCollationSize));
  return !collation.empty() && collation != kPlainCollation;
}

}  // namespace

bool IndexState::isStamped() const { return std::memcmp(bytes + kStampAt, kStampName, 4) == 0; }

void IndexState::stamp(std::uint32_t counter, bool changing, std::uint32_t recordCount) {
  writeBig32(bytes + 8, counter);
  std::memcpy(bytes + kStampAt, kStampName, 4);
  writeBig32(bytes + 68, changing ? 1 : 0);
  writeBig32(bytes + 72, counter);
  writeBig32(bytes + 76, recordCount);
}

void IndexState::beginChange() { stamp(counter() + 1, true, 0); }

void IndexState::endChange(std::uint32_t recordCount) { stamp(counter() + 1, false, recordCount); }

int corruptIndex(File &file) noexcept {
  return file.context().fail(kErrIndex, file.path().c_str(), "Corrupt index file");
}

int IndexHeader::read(File &file, std::uint64_t offset, std::uint64_t fileLength) {
  if (offset % kIndexPageSize != 0 || fileLength < kIndexHeaderSize ||
      offset > fileLength - kIndexHeaderSize) {
    return corruptIndex(file);
  }
  unsigned char bytes[kIndexHeaderSize];
  int status = file.read(offset, bytes, sizeof bytes);
  // Another program may just have given the tag a root behind what was the end.
  if (status == kOk) status = file.length(fileLength);
  if (status != kOk) return status;
  return parse(bytes) && isPageOffset(root, fileLength) ? kOk : corruptIndex(file);
}

bool IndexHeader::parse(const unsigned char (&bytes)[kIndexHeaderSize]) {
  root = readLittle32(bytes);
  freePage = readLittle32(bytes + 4);
  counter = readBig32(bytes + 8);
  keyLength = readLittle16(bytes + 12);
  options = bytes[14];
  descending = readLittle16(bytes + 502) != 0;
  foreignCollation = hasForeignCollation(bytes);
  if ((options & kOptionCompact) == 0 || keyLength == 0 || keyLength > kLongestKey ||
      !poolText(bytes, 508, expression) || !poolText(bytes, 504, filter)) {
    return false;
  }
  if ((options & kOptionFilter) == 0) filter.clear();
  return true;
}

bool IndexHeader::build(unsigned char (&bytes)[kIndexHeaderSize]) const noexcept {
  const std::size_t expressionSize = expression.size() + 1;
  const std::size_t filterSize = filter.size() + 1;
  if (expressionSize + filterSize > kIndexTextPool) return false;
  std::memset(bytes, 0, sizeof bytes);
  writeLittle32(bytes, root);
  writeLittle32(bytes + 4, freePage);
  writeBig32(bytes + 8, counter);
  writeLittle16(bytes + 12, keyLength);
  bytes[14] = options;
  bytes[15] = 1;
  writeLittle16(bytes + 502, descending ? 1 : 0);
  writeLittle16(bytes + 504, static_cast<std::uint16_t>(expressionSize));
  writeLittle16(bytes + 506, static_cast<std::uint16_t>(filterSize));
  writeLittle16(bytes + 510, static_cast<std::uint16_t>(expressionSize));
  std::memcpy(bytes + kIndexPageSize, expression.c_str(), expressionSize);
  std::memcpy(bytes + kIndexPageSize + expressionSize, filter.c_str(), filterSize);
  return true;
}

}  // namespace zk::engine
