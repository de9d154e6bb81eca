#include "engine/KeyRuns.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "engine/Bytes.h"
#include "engine/IndexPage.h"

namespace zk::engine {
namespace {

constexpr std::size_t kRecordSize = 4;

}  // namespace

KeyRuns::KeyRuns(WorkFile &file, std::size_t keyLength, std::size_t budget) noexcept
    : file_(file),
      keyLength_(keyLength),
      entrySize_(keyLength + kRecordSize),
      bufferSize_(std::max<std::size_t>(budget / (kFanIn + 1) / entrySize_, 1) * entrySize_) {}

// ---- Writing

int KeyRuns::beginRun() {
  const int status = file_.create();
  if (status != kOk) return status;
  output_.resize(bufferSize_);
  last_.resize(entrySize_);
  runs_.push_back({end_, end_});
  starting_ = true;
  return kOk;
}

int KeyRuns::add(const unsigned char *key, std::uint32_t record) noexcept {
  unsigned char entry[kLongestKey + kRecordSize];
  std::memcpy(entry, key, keyLength_);
  writeBig32(entry + keyLength_, record);
  return addEntry(entry);
}

int KeyRuns::addEntry(const unsigned char *entry) noexcept {
  if (starting_) {
    const bool goesOn = runs_.size() > 1 && std::memcmp(last_.data(), entry, entrySize_) <= 0;
    if (goesOn) runs_.pop_back();
    starting_ = false;
  }
  if (filled_ == bufferSize_) {
    const int status = flush();
    if (status != kOk) return status;
  }
  std::memcpy(output_.data() + filled_, entry, entrySize_);
  filled_ += entrySize_;
  return kOk;
}

int KeyRuns::flush() noexcept {
  const int status = file_.write(end_, output_.data(), filled_);
  end_ += filled_;
  filled_ = 0;
  return status;
}

int KeyRuns::endRun() noexcept {
  std::memcpy(last_.data(), output_.data() + filled_ - entrySize_, entrySize_);
  const int status = flush();
  runs_.back().end = end_;
  return status;
}

// ---- Merging

int KeyRuns::startMerge() {
  buffers_.resize(kFanIn * bufferSize_);
  while (runs_.size() > kFanIn) {
    const int status = mergeOnce();
    if (status != kOk) return status;
  }
  return openSources(runs_.data(), runs_.size());
}

// As many runs as can be merged at once become one, until all had their turn.
int KeyRuns::mergeOnce() {
  base::Vector<Run> old;
  old.swap(runs_);
  for (std::size_t first = 0; first < old.size(); first += kFanIn) {
    int status = openSources(old.data() + first, std::min(kFanIn, old.size() - first));
    if (status == kOk) status = copyMerged();
    if (status != kOk) return status;
  }
  return kOk;
}

int KeyRuns::copyMerged() {
  int status = beginRun();
  if (status != kOk) return status;
  for (;;) {
    const unsigned char *entry = nullptr;
    status = nextEntry(entry);
    if (status == kEndOfFile) return endRun();
    if (status == kOk) status = addEntry(entry);
    if (status != kOk) return status;
  }
}

int KeyRuns::openSources(const Run *runs, std::size_t count) {
  taken_ = false;
  sources_.clear();
  for (std::size_t i = 0; i < count; ++i) {
    sources_.push_back({runs[i], buffers_.data() + i * bufferSize_, 0, 0, 0});
    const int status = fill(sources_.back());
    if (status != kOk) return status;
  }
  for (std::size_t i = sources_.size() / 2; i-- > 0;) siftDown(i);
  return kOk;
}

int KeyRuns::fill(Source &source) noexcept {
  source.filled = static_cast<std::size_t>(
      std::min<std::uint64_t>(bufferSize_, source.rest.end - source.rest.begin));
  const int status = file_.read(source.rest.begin, source.buffer, source.filled);
  source.rest.begin += source.filled;
  source.at = 0;
  look(source);
  return status;
}

void KeyRuns::look(Source &source) const noexcept {
  const unsigned char *entry = source.entry();
  source.word = entrySize_ >= 8 ? readBig64(entry) : readBig32(entry);
}

bool KeyRuns::precedes(const Source &a, const Source &b) const noexcept {
  if (a.word != b.word) return a.word < b.word;
  return std::memcmp(a.entry(), b.entry(), entrySize_) < 0;
}

void KeyRuns::siftDown(std::size_t at) noexcept {
  for (;;) {
    std::size_t child = 2 * at + 1;
    if (child >= sources_.size()) return;
    if (child + 1 < sources_.size() && precedes(sources_[child + 1], sources_[child])) ++child;
    if (!precedes(sources_[child], sources_[at])) return;
    std::swap(sources_[child], sources_[at]);
    at = child;
  }
}

int KeyRuns::advanceFirst() noexcept {
  Source &first = sources_.front();
  first.at += entrySize_;
  if (first.at < first.filled) {
    look(first);
  } else if (first.rest.begin < first.rest.end) {
    const int status = fill(first);
    if (status != kOk) return status;
  } else {
    first = sources_.back();
    sources_.pop_back();
  }
  siftDown(0);
  return kOk;
}

int KeyRuns::nextEntry(const unsigned char *&entry) noexcept {
  if (taken_) {
    const int status = advanceFirst();
    if (status != kOk) return status;
  }
  taken_ = !sources_.empty();
  if (!taken_) return kEndOfFile;
  entry = sources_.front().entry();
  return kOk;
}

int KeyRuns::next(const unsigned char *&key, std::uint32_t &record) noexcept {
  const int status = nextEntry(key);
  if (status == kOk) record = readBig32(key + keyLength_);
  return status;
}

}  // namespace zk::engine
