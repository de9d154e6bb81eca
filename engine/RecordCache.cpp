#include "engine/RecordCache.h"

#include <cstring>

#include "engine/Header.h"

namespace zk::engine {
namespace {

constexpr std::uint32_t kWindowBytes = 128 * 1024;
constexpr std::uint32_t kTailBytes = 96 * 1024;

std::uint32_t recordsIn(std::uint32_t bytes, std::uint32_t recordLength) {
  return bytes / recordLength > 0 ? bytes / recordLength : 1;
}

}  // namespace

RecordCache::~RecordCache() {
  base::release(window_);
  base::release(tail_);
}

void RecordCache::setLayout(std::uint32_t headerLength, std::uint32_t recordLength) noexcept {
  headerLength_ = headerLength;
  recordLength_ = recordLength;
  windowCapacity_ = recordsIn(kWindowBytes, recordLength);
  tailCapacity_ = recordsIn(kTailBytes, recordLength);
  forget();
}

int RecordCache::fillWindow(std::uint32_t first, std::uint32_t count) noexcept {
  forget();
  if (window_ == nullptr) {
    window_ = static_cast<char *>(
        base::allocate(static_cast<std::size_t>(windowCapacity_) * recordLength_));
    if (window_ == nullptr) return file_.context().fail(kErrMemory);
  }
  const int status =
      file_.read(offsetOf(first), window_, static_cast<std::size_t>(count) * recordLength_);
  if (status != kOk) return status;
  windowFirst_ = first;
  windowCount_ = count;
  return kOk;
}

int RecordCache::read(std::uint32_t number, std::uint32_t count, char *out) noexcept {
  const std::uint32_t previous = lastRead_;
  lastRead_ = number;
  if (inTail(number)) {
    std::memcpy(out, tail_ + static_cast<std::size_t>(number - tailFirst_) * recordLength_,
                recordLength_);
    return kOk;
  }
  if (!inWindow(number)) {
    const std::uint32_t inFile = tailCount_ > 0 ? tailFirst_ - 1 : count;
    const bool forward = number == previous + 1;
    const bool backward = number + 1 == previous;
    if (!forward && !backward) return file_.read(offsetOf(number), out, recordLength_);
    std::uint32_t wanted = backward ? number : inFile - number + 1;
    if (wanted > windowCapacity_) wanted = windowCapacity_;
    const int status = fillWindow(backward ? number - wanted + 1 : number, wanted);
    if (status != kOk) return status;
  }
  std::memcpy(out, window_ + static_cast<std::size_t>(number - windowFirst_) * recordLength_,
              recordLength_);
  return kOk;
}

int RecordCache::write(std::uint32_t number, const char *record) noexcept {
  if (inTail(number)) {
    std::memcpy(tail_ + static_cast<std::size_t>(number - tailFirst_) * recordLength_, record,
                recordLength_);
    return kOk;
  }
  const int status = file_.write(offsetOf(number), record, recordLength_);
  if (status == kOk && inWindow(number)) {
    std::memcpy(window_ + static_cast<std::size_t>(number - windowFirst_) * recordLength_, record,
                recordLength_);
  }
  return status;
}

int RecordCache::append(std::uint32_t number, const char *record) noexcept {
  if (tail_ == nullptr) {
    tail_ = static_cast<char *>(
        base::allocate(static_cast<std::size_t>(tailCapacity_) * recordLength_ + 1));
    if (tail_ == nullptr) return file_.context().fail(kErrMemory);
  }
  if (tailCount_ == 0) tailFirst_ = number;
  std::memcpy(tail_ + static_cast<std::size_t>(tailCount_) * recordLength_, record, recordLength_);
  ++tailCount_;
  return kOk;
}

int RecordCache::writeTail(std::uint32_t &lastNumber) noexcept {
  lastNumber = 0;
  if (tailCount_ == 0) return kOk;
  const std::size_t bytes = static_cast<std::size_t>(tailCount_) * recordLength_;
  tail_[bytes] = static_cast<char>(kFileEnd);
  const int status = file_.write(offsetOf(tailFirst_), tail_, bytes + 1);
  if (status != kOk) return status;
  lastNumber = tailFirst_ + tailCount_ - 1;
  tailCount_ = 0;
  return kOk;
}

}  // namespace zk::engine
