// An open table: its fields, the current record, and the operations of a record at a time.
//
// The record buffer is the record as the caller sees and changes it. A change is written when the
// position moves or on demand (Change.h); where other programs may write, every move reads the
// record from the file again.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/Memory.h"
#include "engine/Context.h"
#include "engine/Field.h"
#include "engine/File.h"
#include "engine/Header.h"
#include "engine/Index.h"
#include "engine/IndexBuilder.h"
#include "engine/Memo.h"
#include "engine/RecordCache.h"
#include "platform/System.h"

namespace zk::engine {

class Locate;

constexpr std::size_t kTextBufferSize = 520;  // hex digits of the widest field and more

struct TextBuffer {
  char *data;
  std::size_t size;
};

// Field names to fields, by hashing the upper-cased name.
class FieldNames {
 public:
  void build(const base::Vector<Field> &fields);  // throws std::bad_alloc
  // Any spelling; at most 256 characters are looked at, trailing blanks do not count.
  const Field *find(const base::Vector<Field> &fields, const char *name) const noexcept;

 private:
  // A name of at most 11 bytes as two words. They are put together in registers: words read back
  // right after their bytes were stored would stall.
  struct Name {
    std::uint64_t low = 0;
    std::uint32_t high = 0;
    void put(std::size_t place, char c) noexcept;
    std::size_t hash() const noexcept;
    bool operator==(const Name &) const = default;
  };
  struct Slot {
    Name name;
    std::uint16_t field = 0;  // index + 1, 0 empty
  };
  // The slot of that name, or the empty one where it belongs.
  std::size_t slotOf(const Name &name) const noexcept;

  base::Vector<Slot> slots_;  // a power of two of them
  // Programs ask for the same fields in the same order, record after record: for each field the one
  // that was asked for after it.
  mutable base::Vector<std::uint16_t> followers_;
  mutable std::uint16_t recent_ = 0;
};

class Table {
 public:
  // Opens a table of that name (default extension "DBF"). Null with the error in the context.
  static Table *open(Context &context, const char *name) noexcept;
  // Creates a table and opens it shared. Null with the error in the context; what was there stays.
  static Table *create(Context &context, const char *name, const FieldDefinition *fields,
                       std::size_t count) noexcept;
  // Writes what is pending, closes and frees the table; 0 or the code of what failed.
  int close() noexcept;

  // Use open and create; these are for their machinery.
  explicit Table(Context &context) noexcept;
  ~Table();
  Table(const Table &) = delete;
  Table &operator=(const Table &) = delete;

  // ---- Position
  int top() noexcept;
  int bottom() noexcept;
  int skip(std::int64_t count) noexcept;
  int go(std::int64_t number) noexcept;  // -930 outside 1..count
  // Past the last record, as a skip ends there: kEndOfFile.
  int goEnd() noexcept { return moveToEnd(); }
  bool atEnd() const noexcept { return eof_; }
  bool atBeginning() const noexcept { return bof_; }
  std::uint32_t recordNumber() const noexcept { return recordNumber_; }
  // Writes a pending change and abandons a begun append, as every move does first.
  int leaveRecord() noexcept;
  // Looks at the file where others may append.
  std::uint32_t recordCount() noexcept;
  // As of the last look.
  std::uint32_t knownCount() const noexcept { return count_; }

  // Between these, moves read blocks of records in one go also where others may write: for a walk
  // within one call.
  void beginScan() noexcept;
  void endScan() noexcept;
  bool othersMayWrite() const noexcept { return file_.othersMayWrite(); }

  // Keeps writers out while the two locks are held: the file lock, shared with other readers.
  int lockForReading(RangeLock &records, RangeLock &behind) noexcept;

  // ---- Indexes and order
  const base::Vector<base::Owned<IndexFile>> &indexes() const noexcept { return indexes_; }
  // Changes whenever an index file is opened or closed.
  std::uint32_t indexGeneration() const noexcept { return indexGeneration_; }
  // The first tag of that name, ignoring case; null when there is none.
  Tag *findTag(const char *name) const noexcept;
  // The order of the moves from now on; null is record order.
  void selectTag(Tag *tag) noexcept { selected_ = tag; }
  Tag *selectedTag() const noexcept { return selected_; }
  // In which changes lock them.
  const base::Vector<IndexFile *> &indexesInLockOrder() const noexcept { return lockOrder_; }
  // Opens an index file of that name (default extension "CDX"), or finds it among the open ones.
  int openIndex(const char *name, IndexFile *&index) noexcept;
  // Null when that file is none of the open ones.
  IndexFile *openIndexAt(const platform::FileIdentity &identity) const noexcept;
  // Writes an index file of that name (null or "": the table's own) with those tags and opens it. A
  // file that is there is replaced, or keeps its other tags: 50 when other programs have it open.
  // In exclusive mode a file of the table's own base name becomes its production index.
  enum class Existing { kReplaced, kExtended };
  int createIndex(const char *name, const TagDefinition *tags, std::size_t count, Existing existing,
                  IndexFile *&index) noexcept;
  // Writes every open index anew, for a table that no other program has open.
  int rebuildIndexes() noexcept;
  int closeIndex(IndexFile *index) noexcept;
  bool isProductionIndex(const IndexFile *index) const noexcept { return index == production_; }
  // Seeks in the selected tag: kOk, kNextGreater, kEndOfFile, kNoTag, -1 when its keys have no such
  // form, or an error.
  int seek(std::string_view text) noexcept;
  int seek(double number) noexcept;
  // The search that was begun last (Locate::begin); null without one.
  base::Owned<Locate> &locate() noexcept { return locate_; }

  // ---- The current record
  bool deleted() noexcept { return record()[0] != ' '; }
  void setDeleted(bool deleted) noexcept;
  int writeRecord(std::int64_t number) noexcept;  // becomes the current one; -930 outside 1..count
  int writeCurrent() noexcept { return writeRecord(recordNumber_); }
  int appendStart() noexcept;
  int append() noexcept;
  int appendBlank() noexcept;
  int pack() noexcept;
  // Writes everything that is pending.
  int flush() noexcept;

  // ---- Facts
  Context &context() const noexcept { return context_; }
  const Header &header() const noexcept { return header_; }
  const base::String &path() const noexcept { return file_.path(); }
  const platform::FileIdentity &fileIdentity() const noexcept { return file_.identity(); }
  const base::Vector<Field> &fields() const noexcept { return fields_; }
  const Field *findField(const char *name) const noexcept;
  // The same without reporting an unknown name.
  const Field *lookUpField(const char *name) const noexcept { return names_.find(fields_, name); }
  bool hasMemoFile() const noexcept { return memo_ != nullptr; }
  // As the file says now; month 0 when it is no date.
  platform::Date lastUpdate() noexcept;
  std::uint32_t memoBlockSize() const noexcept { return memo_ != nullptr ? memo_->blockSize() : 0; }
  // Null when the table can be changed, else why it cannot.
  const char *readOnlyReason() const noexcept { return readOnlyReason_; }
  Table *next() const noexcept { return next_; }

  // ---- For fields
  const char *record() noexcept {
    if (deferred_) loadDeferred();
    return record_;
  }
  char *changeRecord() noexcept {
    if (deferred_) loadDeferred();
    changed_ = true;
    return record_;
  }
  TextBuffer textBuffer() noexcept { return {textBuffer_, sizeof textBuffer_}; }
  int memoText(const Field &field, std::string_view &text) noexcept;
  int assignMemo(const Field &field, std::string_view text) noexcept;

 private:
  friend class Change;
  friend class IndexUpdate;
  friend class Packer;
  friend class TableCheck;

  int openFiles(const char *name);
  int openMemo();
  int openProductionIndex();
  int addIndex(const char *path, IndexFile *&index);
  int writeIndex(const char *path, const TagDefinition *tags, std::size_t count, IndexFile *&index);
  int tryWriteIndex(const char *path, const TagDefinition *tags, std::size_t count,
                    IndexFile *&index);
  int rebuildIndex(IndexFile &index);
  int becomeProduction(IndexFile &index);
  void indexesChanged() noexcept;
  int seekKey(const SeekKey &key) noexcept;
  int skipInOrder(std::int64_t count) noexcept;
  int arrive(int status, std::uint32_t record) noexcept;
  int allocateBuffers() noexcept;
  void chooseReadOnlyReason(const FieldFacts &facts) noexcept;
  void attach() noexcept;
  void detach() noexcept;

  int abandonAppend() noexcept;
  int settleChange() noexcept;
  int load(std::uint32_t number) noexcept;
  // The record becomes the current one, but is read only when a field is: a walk in a tag's order
  // jumps through the file. A record that cannot be read then is blank, and cannot be written.
  void defer(std::uint32_t number) noexcept;
  void loadDeferred() noexcept;
  // Record `number`, as it is stored, into the spare buffer.
  int readStored(std::uint32_t number) noexcept;
  void blankRecord() noexcept;
  void forgetMemoTexts() noexcept;
  int detachMemoTexts() noexcept;
  int moveToEnd() noexcept;
  int refreshCount() noexcept;
  bool rereads() const noexcept { return file_.othersMayWrite() && !scanning_; }
  int refuseWriting() noexcept;
  int flushTail() noexcept;
  // Today as the header keeps it: year less 1900, month, day.
  static void stampDate(unsigned char *bytes) noexcept;
  int writeUpdateDate() noexcept;
  int writeCount(std::uint32_t count) noexcept;
  char *memoReference(const Field &field) noexcept {
    if (deferred_) loadDeferred();
    return record_ + field.offset;
  }

  Context &context_;
  Table *next_ = nullptr;
  bool attached_ = false;

  File file_;
  base::Owned<Memo> memo_;
  RecordCache cache_;
  Header header_;
  base::Vector<Field> fields_;
  FieldNames names_;
  base::Vector<MemoText> memoTexts_;
  const char *ownReadOnlyReason_ = nullptr;
  const char *readOnlyReason_ = nullptr;  // the table's own, or an index's

  std::uint32_t count_ = 0;         // records, the unwritten tail included
  std::uint32_t recordNumber_ = 0;  // 0 during an append
  std::uint32_t loadedFrom_ = 0;    // the record whose memo references the buffer holds
  std::uint32_t appendedFrom_ = 0;  // where a begun append goes back to when abandoned
  bool bof_ = false;
  bool eof_ = false;
  bool changed_ = false;    // the buffer differs from the record
  bool appending_ = false;  // between appendStart and append
  bool scanning_ = false;
  bool deferred_ = false;       // the buffer does not hold the current record yet
  int loadFailure_ = 0;         // the code of what kept the current record from being read
  bool memoTouched_ = false;    // some memo text is loaded or changed
  bool updateDateDue_ = false;  // records were rewritten since the header's date was

  base::Vector<base::Owned<IndexFile>> indexes_;
  base::Vector<IndexFile *> lockOrder_;
  IndexFile *production_ = nullptr;
  Tag *selected_ = nullptr;
  std::uint32_t indexGeneration_ = 0;
  base::Owned<Locate> locate_;

  base::OwnedBlock<char> buffers_;  // the three below, each one byte longer than a record
  char *record_ = nullptr;
  char *spare_ = nullptr;  // the next record is read here, then the two change places
  const char *blank_ = nullptr;
  char textBuffer_[kTextBufferSize];
};

}  // namespace zk::engine
