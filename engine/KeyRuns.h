// Sorted runs of keys in a working file, and their merge.
//
// A run is a piece of the file: key, record number (BE), key, record number ... Entries compare as
// bytes. A run that goes on where the one before it ended becomes one with it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/Memory.h"
#include "engine/WorkFile.h"

namespace zk::engine {

class KeyRuns {
 public:
  // At most so many runs are merged at once.
  static constexpr std::size_t kFanIn = 64;

  // The buffers take about `budget` bytes.
  KeyRuns(WorkFile &file, std::size_t keyLength, std::size_t budget) noexcept;

  bool empty() const noexcept { return runs_.empty(); }

  // A run: its entries, one at least, in ascending order. beginRun throws std::bad_alloc.
  int beginRun();
  int add(const unsigned char *key, std::uint32_t record) noexcept;
  int endRun() noexcept;

  // After the last run: `next` gives the entries of all of them in order, then kEndOfFile. A key
  // is valid until the next call. startMerge throws std::bad_alloc.
  int startMerge();
  int next(const unsigned char *&key, std::uint32_t &record) noexcept;

 private:
  struct Run {
    std::uint64_t begin;
    std::uint64_t end;
  };
  // A run that is being merged: what is left of it in the file, and a piece of it in memory.
  struct Source {
    Run rest;
    unsigned char *buffer;
    std::size_t filled;
    std::size_t at;      // of the source's next entry in the buffer
    std::uint64_t word;  // which that entry begins with

    const unsigned char *entry() const { return buffer + at; }
  };

  int addEntry(const unsigned char *entry) noexcept;
  int flush() noexcept;

  int mergeOnce();
  int copyMerged();
  int openSources(const Run *runs, std::size_t count);
  int fill(Source &source) noexcept;
  int nextEntry(const unsigned char *&entry) noexcept;
  int advanceFirst() noexcept;
  void look(Source &source) const noexcept;
  bool precedes(const Source &a, const Source &b) const noexcept;
  void siftDown(std::size_t at) noexcept;

  WorkFile &file_;
  const std::size_t keyLength_;
  const std::size_t entrySize_;
  const std::size_t bufferSize_;  // of the output and of each source; whole entries
  base::Vector<Run> runs_;

  base::Vector<unsigned char> output_;
  std::size_t filled_ = 0;            // of the output
  std::uint64_t end_ = 0;             // of the file, where the output goes
  base::Vector<unsigned char> last_;  // entry of the run before
  bool starting_ = false;             // a run that has no entry yet

  base::Vector<unsigned char> buffers_;
  base::Vector<Source> sources_;  // a heap: none precedes the first
  bool taken_ = false;            // the first one's entry was given out
};

}  // namespace zk::engine
