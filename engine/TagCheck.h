// Checks one tag of an index file: its tree, and its keys against the table's records.
//
// The keys that the records should have are sorted; then they and the keys of the tree go by side
// by side, so that the work is that of a walk and a sort whatever is wrong.
#pragma once

#include <cstdint>

#include "base/Memory.h"
#include "engine/CheckFindings.h"
#include "engine/IndexHeader.h"
#include "engine/RecordKeys.h"
#include "engine/KeySorter.h"
#include "engine/TreeCheck.h"

namespace zk::engine {

class Table;

class TagCheck final : private KeySink {
 public:
  // `name` says in findings which tag it is.
  TagCheck(Table &table, CheckedIndex &index, Findings &findings, const char *name) noexcept;

  // 0; -70 -120 -920. Throws std::bad_alloc.
  int run(const IndexHeader &header);

  // Whether the engine can evaluate the tag's keys. (When not, that was a finding.)
  bool evaluable() const noexcept { return problem_ == kOk; }

 private:
  void compile(const IndexHeader &header);
  int compileKeys(const IndexHeader &header);

  int collect();

  int take(const TreeKey &found) override;
  int nextExpected() noexcept;
  void reportMissing(const TreeKey *found) noexcept;
  void reportExtra(const TreeKey &found) noexcept;
  bool isLastFound(const unsigned char *key) const noexcept;
  Quoted shown(const unsigned char *key) const noexcept { return {key, layout_.length}; }

  Table &table_;
  Context &context_;
  CheckedIndex &index_;
  Findings &findings_;
  const char *const name_;

  RecordKeys keys_;
  KeyLayout layout_;
  int problem_ = kOk;
  bool fillKnown_ = false;
  bool lengthIsWrong_ = false;
  bool unique_ = false;           // a key may stand in it once
  bool skipsDuplicates_ = false;  // records whose key is there already are left out

  std::uint32_t recordCount_ = 0;
  KeySorter *expectedKeys_ = nullptr;
  // The next key that should come; null behind the last.
  const unsigned char *expected_ = nullptr;
  std::uint32_t expectedRecord_ = 0;
  // The key of the tree before.
  bool anyFound_ = false;
  unsigned char lastFound_[kLongestKey];
};

}  // namespace zk::engine
