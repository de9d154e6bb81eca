// One tag of an open index file: its order of the table's records.
//
// A tag has a position: an entry, or the end behind the last one. "Forward" is the tag's own
// direction: of a descending tag, which is stored ascending, backward through the file.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/Memory.h"
#include "engine/IndexHeader.h"
#include "engine/IndexPage.h"
#include "engine/RecordKeys.h"

namespace zk::engine {

class IndexFile;
class RecordSet;
class Table;

// What a seek looks for: a key, the beginning of one, or a place between keys.
struct SeekKey {
  unsigned char bytes[kLongestKey];
  std::size_t length = 0;
  SoughtKey sought = SoughtKey::kNone;
};

// What the change that is being made means for a tag.
struct KeyChange {
  bool leaves = false;  // the old key goes
  bool enters = false;  // the new one comes
  unsigned char oldKey[kLongestKey];
  unsigned char newKey[kLongestKey];
};

// A place between the entries of a tag, in the file's order: before those that begin with the key,
// or (`behindEquals`) behind them. Of an empty key: before all, or behind all.
struct KeyPlace {
  unsigned char bytes[kLongestKey];
  std::size_t length = 0;
  bool behindEquals = false;

  bool isBefore(const KeyPlace &other) const noexcept;
};

// From one place to another; at first everything.
struct KeyRange {
  KeyPlace from;
  KeyPlace to = {{}, 0, true};

  // On both sides.
  bool bounded() const noexcept { return from.length > 0 && to.length > 0; }
  void intersect(const KeyRange &other) noexcept;
};

class Tag {
 public:
  // Use IndexFile::open; this is for its machinery.
  Tag(IndexFile &index, Table &table) noexcept : index_(index), table_(table) {}
  Tag(const Tag &) = delete;
  Tag &operator=(const Tag &) = delete;

  // Reads the header at `offset` and compiles the expressions. A tag whose expression the engine
  // cannot evaluate opens all the same: it can be walked, not sought in. Throws std::bad_alloc.
  int open(std::string_view name, std::uint32_t offset, std::uint64_t fileLength);

  const char *name() const noexcept { return name_; }
  const IndexHeader &header() const noexcept { return header_; }
  IndexFile &index() const noexcept { return index_; }
  // Of the keys; what there is of it when there is a problem, else never null.
  const Expression &expression() const noexcept { return keys_.expression(); }
  // 0, or why the engine cannot evaluate the tag's keys.
  int problem() const noexcept { return problem_; }
  const KeyLayout &layout() const noexcept { return layout_; }

  // ---- For changes (TagEditor.h)

  // Of its header in the file.
  std::uint32_t place() const noexcept { return offset_; }
  void setRoot(std::uint32_t root) noexcept;
  // Reads the root's place when another program may have changed it.
  int refreshRoot() noexcept;
  // The key of the table's current record buffer; `inTag` is false when the filter leaves it out.
  int evaluate(unsigned char *key, bool &inTag) noexcept;
  KeyChange &keyChange() noexcept { return keyChange_; }
  // The current record is elsewhere in the tag now.
  void forgetPosition() noexcept { atRecord_ = 0; }

  // ---- Walking

  // Each gives the record at the new position; kEndOfFile past the last, kBeginningOfFile before
  // the first (the position stays on the first then), or an error. The last two are for a position
  // on an entry (isAt); from the end, go to the last.
  int first(std::uint32_t &record) noexcept;
  int last(std::uint32_t &record) noexcept;
  int next(std::uint32_t &record) noexcept;
  int previous(std::uint32_t &record) noexcept;

  // Goes to the first entry, in the tag's direction, that begins with the key (kOk), else to the
  // next one behind where it would be (kNextGreater), else to the end (kEndOfFile).
  int seek(const SeekKey &key, std::uint32_t &record) noexcept;

  // Goes to the entry of the table's current record; kNextGreater when it has none, positioned on
  // what follows its place.
  int seekCurrentRecord(std::uint32_t &record) noexcept;
  // Whether the position is that record's entry, as the last call left it.
  bool isAt(std::uint32_t record) const noexcept { return atRecord_ == record; }

  // Puts the records with keys in the range into the set, which is for all records of the table and
  // loses what it has; ends early when there are more than `most`. The position is lost. 0, -310,
  // or another error.
  int collect(const KeyRange &range, std::uint32_t most, RecordSet &records) noexcept;
  // Gives those records of the set that have keys in the range, in the tag's order. The position is
  // lost. 0, -310, or another error. Throws std::bad_alloc.
  int order(const KeyRange &range, const RecordSet &set, base::Vector<std::uint32_t> &records);

  // Counts the keys, by walking all leaves. The position is lost. 0, -310, or another error.
  int countKeys(std::uint32_t &count) noexcept;

  // The conversion of a seek argument to this tag's keys: a text (at most the key's length of it
  // counts), or a number.
  SeekKey keyOf(std::string_view text) const noexcept;
  SeekKey keyOf(double number) const noexcept;

 private:
  // Runs `step` on pages that belong together: again when a writer changed the index meanwhile.
  template <typename Step>
  int consistently(Step step) noexcept;
  int reported(int status) noexcept;
  int recover() noexcept;

  int compileExpressions();
  int compareHere(const SeekKey &key) const noexcept;
  int toLowest() noexcept;
  int toHighest() noexcept;
  int toBound(const KeyBound &bound) noexcept;
  int up() noexcept;
  int down() noexcept;
  int seekUp(const SeekKey &key) noexcept;
  int seekDown(const SeekKey &key) noexcept;
  template <typename Visit>
  int visit(const KeyRange &range, Visit entry) noexcept;
  void losePosition() noexcept;

  template <typename Choose>
  int descend(Choose choose) noexcept;
  // Gives the leaf to `take`.
  template <typename Choose, typename Take>
  int descend(Choose choose, Take take) noexcept;
  int seekWhole(const SeekKey &key) noexcept;
  int readLeaf(std::uint32_t offset) noexcept;
  int takeLeaf(std::uint32_t offset, const IndexPage &page) noexcept;
  int moveToSibling(std::uint32_t page, bool right) noexcept;
  int report(int status, std::uint32_t &record) noexcept;
  bool atEnd() const noexcept { return at_ >= leaf_.count(); }

  IndexFile &index_;
  Table &table_;
  char name_[kTagNameSize + 1] = "";
  std::uint32_t offset_ = 0;
  std::uint64_t rootVersion_ = 0;  // of other programs' changes when the root's place was read
  IndexHeader header_;
  KeyLayout layout_;
  RecordKeys keys_;
  int problem_ = 0;
  KeyChange keyChange_;

  // The position: an entry of a leaf; the leaf's count is the end of the tag.
  LeafKeys leaf_;
  std::uint32_t leafPage_ = kNoPage;
  std::uint32_t leafLeft_ = kNoPage;
  std::uint32_t leafRight_ = kNoPage;
  std::uint32_t at_ = 0;
  std::uint64_t version_ = 0;  // of the index when the leaf was read
  bool leafPending_ = false;   // the entry was found in a leaf that is not taken apart
  std::uint32_t pendingRecord_ = 0;
  unsigned char pendingKey_[kLongestKey];
  bool displaced_ = false;  // on what followed the entry, which is gone
  // The entry that the last call gave, to find the place again after a change; 0 none.
  std::uint32_t atRecord_ = 0;
  unsigned char atKey_[kLongestKey];
};

}  // namespace zk::engine
