// Checks the references of a table's records into its memo file: that each leads to a whole memo,
// and that no two memos share blocks.
//
// The references are collected and sorted by block, so that the file is read from front to back.
#pragma once

#include <cstdint>

#include "engine/CheckFindings.h"
#include "engine/Field.h"
#include "engine/KeySorter.h"
#include "engine/Memo.h"
#include "engine/WorkFile.h"

namespace zk::engine {

class MemoCheck {
 public:
  MemoCheck(Context &context, Memo &memo, Findings &findings) noexcept;

  // All of these throw std::bad_alloc; 0, -70 -120 -920.
  void begin(std::uint32_t recordCount) { references_.begin(recordCount); }
  // A memo field of record `record`, whose bytes begin at `bytes`.
  int add(const char *bytes, const Field &field, std::uint32_t record);
  // After the last record; findings are about the table whose fields these are.
  int finish(const base::Vector<Field> &fields);
  // After that, about the memo file: its header.
  int checkHeader();

 private:
  // Block (BE), number of the field (BE).
  static constexpr std::size_t kKeySize = 6;

  // A memo that a record refers to.
  struct Place {
    std::uint32_t block = 0;
    const Field *field = nullptr;
    std::uint32_t record = 0;
  };

  int checkPlace(const Place &place) noexcept;

  Memo &memo_;
  Findings &findings_;
  WorkFile workFile_;
  KeySorter references_;
  std::uint64_t fileLength_ = 0;
  Place last_;
  std::uint64_t blocksEnd_ = 0;  // the first block behind all memos so far
};

}  // namespace zk::engine
