#include "engine/Table.h"

#include <algorithm>
#include <cstring>

#include "base/Guard.h"
#include "engine/Bytes.h"
#include "engine/Change.h"
#include "engine/FileNames.h"
#include "engine/FilePair.h"
#include "engine/Locate.h"
#include "engine/Pack.h"
#include "platform/Path.h"
#include "platform/System.h"

namespace zk::engine {
namespace {

constexpr std::size_t kLongestFieldName = 256;
constexpr std::size_t kHashedBytes = 11;
constexpr std::uint16_t kNewMemoBlockSize = 64;

// While one is alive no lock is waited for.
class OneAttempt {
 public:
  explicit OneAttempt(Context &context) noexcept
      : attempts_(context.settings.lockAttempts), context_(context) {
    context_.settings.lockAttempts = 1;
  }
  ~OneAttempt() { context_.settings.lockAttempts = attempts_; }
  OneAttempt(const OneAttempt &) = delete;
  OneAttempt &operator=(const OneAttempt &) = delete;

 private:
  const int attempts_;
  Context &context_;
};

}  // namespace

void FieldNames::Name::put(std::size_t place, char c) noexcept {
  const auto byte = static_cast<unsigned char>(c);
  if (place < 8) {
    low |= static_cast<std::uint64_t>(byte) << (8 * place);
  } else {
    high |= static_cast<std::uint32_t>(byte) << (8 * (place - 8));
  }
}

std::size_t FieldNames::Name::hash() const noexcept {
  const std::uint64_t mixed =
      (low ^ (static_cast<std::uint64_t>(high) << 17)) * 0x9E3779B97F4A7C15u;
  return static_cast<std::size_t>(mixed >> 32);
}

std::size_t FieldNames::slotOf(const Name &name) const noexcept {
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = name.hash() & mask;
  while (slots_[slot].field != 0 && slots_[slot].name != name) slot = (slot + 1) & mask;
  return slot;
}

void FieldNames::build(const base::Vector<Field> &fields) {
  std::size_t size = 4;
  while (size < 2 * fields.size()) size *= 2;
  slots_.assign(size, Slot());
  followers_.assign(fields.size(), 0);
  recent_ = 0;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    Name name;
    for (std::size_t k = 0; k < kHashedBytes && fields[i].name[k] != '\0'; ++k) {
      name.put(k, fields[i].name[k]);
    }
    // Of equal names the first in the table's order is found.
    Slot &slot = slots_[slotOf(name)];
    if (slot.field == 0) slot = {name, static_cast<std::uint16_t>(i + 1)};
  }
}

const Field *FieldNames::find(const base::Vector<Field> &fields, const char *name) const noexcept {
  if (fields.empty()) return nullptr;
  std::uint16_t &guess = followers_[recent_];
  if (std::strcmp(name, fields[guess].name) != 0) {
    const unsigned char *upper = platform::upperCaseMap();
    Name wanted;
    std::size_t length = 0;
    for (std::size_t i = 0; name[i] != '\0' && i < kLongestFieldName; ++i) {
      if (name[i] == ' ') continue;  // counts only when something follows
      if (i >= kHashedBytes) return nullptr;
      while (length < i) wanted.put(length++, ' ');
      wanted.put(length++, static_cast<char>(upper[static_cast<unsigned char>(name[i])]));
    }
    const Slot &slot = slots_[slotOf(wanted)];
    if (slot.field == 0) return nullptr;
    guess = static_cast<std::uint16_t>(slot.field - 1);
  }
  recent_ = guess;
  return &fields[recent_];
}

// ---- Opening and closing

Table::Table(Context &context) noexcept : context_(context), cache_(file_) {}

Table::~Table() { detach(); }

void Table::attach() noexcept {
  // At the end, so that tables are closed in the order of opening.
  Table **link = &context_.firstTable_;
  while (*link != nullptr) link = &(*link)->next_;
  *link = this;
  attached_ = true;
}

void Table::detach() noexcept {
  if (!attached_) return;
  Table **link = &context_.firstTable_;
  while (*link != this) link = &(*link)->next_;
  *link = next_;
  attached_ = false;
}

Table *Table::open(Context &context, const char *name) noexcept {
  const int mode = context.settings.openMode;
  if (name == nullptr || name[0] == '\0' || mode < 0 || mode > 2) {
    context.fail(kErrParameter, name);
    return nullptr;
  }
  Table *opened = base::guarded(static_cast<Table *>(nullptr), [&]() -> Table * {
    base::Owned<Table> table = base::make<Table>(context);
    if (table == nullptr) throw std::bad_alloc();
    if (table->openFiles(name) != kOk) return nullptr;
    table->attach();
    return table.release();
  });
  // A refused allocation is the one failure that has not been recorded on its way here.
  if (opened == nullptr && context.errorCode() == 0) context.fail(kErrMemory, name);
  return opened;
}

int Table::openFiles(const char *name) {
  const base::String path = platform::nativePath(withDefaultExtension(name, "DBF").c_str());
  const auto mode = static_cast<OpenMode>(context_.settings.openMode);
  FilePair::settle(path.c_str());
  int status = file_.open(context_, path.c_str(), mode, true);
  if (status != kOk) return status;
  FieldFacts facts;
  status = readHeader(file_, header_, fields_, facts);
  if (status != kOk) return status;
  for (Field &field : fields_) field.table = this;
  names_.build(fields_);
  cache_.setLayout(header_.headerLength, header_.recordLength);
  chooseReadOnlyReason(facts);
  if (facts.memo) status = openMemo();
  if (status == kOk) status = allocateBuffers();
  if (status == kOk) status = refreshCount();
  if (status == kOk && header_.hasProductionIndex()) status = openProductionIndex();
  indexesChanged();
  if (status == kOk) status = top();
  return status == kEndOfFile ? kOk : status;
}

void Table::chooseReadOnlyReason(const FieldFacts &facts) noexcept {
  if (file_.readOnly()) {
    ownReadOnlyReason_ = "the file is read-only";
  } else if (facts.unknownType) {
    ownReadOnlyReason_ = "it has fields of an unknown type";
  } else if (facts.autoIncrement) {
    ownReadOnlyReason_ = "it has an autoincrement field";
  }
}

int Table::openMemo() {
  const base::String path =
      platform::nativePath(companionName(file_.path().c_str(), "FPT").c_str());
  int status = FilePair::completeInterrupted(file_, path.c_str());
  if (status != kOk) return status;
  memo_ = base::make<Memo>();
  if (memo_ == nullptr) return context_.fail(kErrMemory);
  status = memo_->open(context_, path.c_str(), file_.mode());
  if (status != kOk) return status;
  if (memo_->file().readOnly() && ownReadOnlyReason_ == nullptr) {
    ownReadOnlyReason_ = "the memo file is read-only";
  }
  std::size_t memos = 0;
  for (const Field &field : fields_) memos += field.isMemo() ? 1 : 0;
  memoTexts_.resize(memos);
  return kOk;
}

// A damaged index does not keep the records from being read; writing them would leave it behind.
int Table::openProductionIndex() {
  if (!context_.settings.openProductionIndex) return kOk;
  const base::String path =
      platform::nativePath(companionName(file_.path().c_str(), "CDX").c_str());
  if (!platform::pathExists(path.c_str())) return kOk;
  const Context::Quiet quiet(context_);
  const int status = addIndex(path.c_str(), production_);
  if (status == kErrMemory) return status;
  if (status != kOk && ownReadOnlyReason_ == nullptr) {
    ownReadOnlyReason_ = "its production index cannot be read";
  }
  return kOk;
}

int Table::allocateBuffers() noexcept {
  const std::size_t size = static_cast<std::size_t>(header_.recordLength) + 1;
  buffers_.reset(static_cast<char *>(base::allocate(3 * size)));
  if (buffers_ == nullptr) return context_.fail(kErrMemory);
  record_ = buffers_.get();
  spare_ = record_ + size;
  char *blank = spare_ + size;
  blank[0] = ' ';
  blank[size - 1] = '\0';
  for (const Field &field : fields_) blankField(field, blank + field.offset);
  blank_ = blank;
  std::memcpy(record_, blank_, size);
  return kOk;
}

Table *Table::create(Context &context, const char *name, const FieldDefinition *definitions,
                     std::size_t count) noexcept {
  if (name == nullptr || name[0] == '\0') {
    context.fail(kErrParameter);
    return nullptr;
  }
  const int status = base::guarded(kErrMemory, [&] {
    base::Vector<char> header;
    bool memo = false;
    const char *text = nullptr;
    const int code = buildHeader(definitions, count, header, memo, text);
    if (code != kOk) return context.fail(code, name, text);

    const base::String path = platform::nativePath(withDefaultExtension(name, "DBF").c_str());
    FilePair files(context);
    int result = files.beginNew(path.c_str(), memo);
    if (result == kOk) result = files.table().write(0, header.data(), header.size());
    if (result == kOk && memo) result = files.memo().adopt(kNewMemoBlockSize);
    return result == kOk ? files.putInPlace() : result;
  });
  if (status == kErrMemory && context.errorCode() == 0) context.fail(kErrMemory, name);
  return status == kOk ? open(context, name) : nullptr;
}

int Table::close() noexcept {
  int result = settleChange();
  changed_ = false;  // what could not be written is dropped
  const int flushed = flush();
  if (result == kOk) result = flushed;
  lockOrder_.clear();
  if (memo_ != nullptr) {
    const int memoClosed = memo_->file().close();
    if (result == kOk) result = memoClosed;
  }
  indexes_.clear();
  const int closed = file_.close();
  if (result == kOk) result = closed;
  base::Owned<Table> self(this);
  return result;
}

// ---- Indexes

IndexFile *Table::openIndexAt(const platform::FileIdentity &identity) const noexcept {
  for (const base::Owned<IndexFile> &index : indexes_) {
    if (index->file().identity() == identity) return index.get();
  }
  return nullptr;
}

int Table::addIndex(const char *path, IndexFile *&index) {
  platform::FileIdentity identity;
  const bool exists = platform::identifyPath(path, identity) == platform::IoStatus::kOk;
  index = exists ? openIndexAt(identity) : nullptr;
  if (index != nullptr) return kOk;
  for (const base::Owned<IndexFile> &closed : indexes_) {
    if (closed->file().handle().valid() || closed->path() != path) continue;
    const int reopened = closed->reopen();  // which failed before
    index = reopened == kOk ? closed.get() : nullptr;
    indexesChanged();
    return reopened;
  }
  lockOrder_.reserve(indexes_.size() + 1);
  base::Owned<IndexFile> opened = base::make<IndexFile>(*this);
  if (opened == nullptr) throw std::bad_alloc();
  const int status = opened->open(path, file_.mode());
  if (status != kOk) return status;
  indexes_.push_back(std::move(opened));
  index = indexes_.back().get();
  indexesChanged();
  return kOk;
}

// Another set of open index files or tags.
void Table::indexesChanged() noexcept {
  ++indexGeneration_;
  lockOrder_.clear();
  readOnlyReason_ = ownReadOnlyReason_;
  for (const base::Owned<IndexFile> &index : indexes_) {
    lockOrder_.push_back(index.get());  // there is room
    if (readOnlyReason_ != nullptr) continue;
    if (index->file().readOnly()) readOnlyReason_ = "an index file is read-only";
    for (const base::Owned<Tag> &tag : index->tags()) {
      if (tag->problem() != kOk) readOnlyReason_ = "the keys of an index tag cannot be maintained";
    }
  }
  std::sort(lockOrder_.begin(), lockOrder_.end(), [](IndexFile *a, IndexFile *b) {
    const platform::FileIdentity &left = a->file().identity();
    const platform::FileIdentity &right = b->file().identity();
    return left.volume != right.volume ? left.volume < right.volume : left.index < right.index;
  });
}

int Table::openIndex(const char *name, IndexFile *&index) noexcept {
  index = nullptr;
  if (name == nullptr || name[0] == '\0') return context_.fail(kErrParameter);
  // What is pending belongs to the records that the index is compared with.
  int status = leaveRecord();
  if (status == kOk) status = flush();
  if (status != kOk) return status;
  status = base::guarded(kErrMemory, [&] {
    const base::String path = platform::nativePath(withDefaultExtension(name, "CDX").c_str());
    return addIndex(path.c_str(), index);
  });
  if (status == kErrMemory && context_.errorCode() == 0) context_.fail(kErrMemory, name);
  return status;
}

int Table::createIndex(const char *name, const TagDefinition *tags, std::size_t count,
                       Existing existing, IndexFile *&index) noexcept {
  index = nullptr;
  int status = leaveRecord();
  if (status == kOk) status = flush();
  if (status != kOk) return status;
  status = base::guarded(kErrMemory, [&] {
    const bool own = name == nullptr || name[0] == '\0';
    const base::String path =
        platform::nativePath(own ? companionName(this->path().c_str(), "CDX").c_str()
                                 : withDefaultExtension(name, "CDX").c_str());
    if (existing == Existing::kReplaced || !platform::pathExists(path.c_str())) {
      return writeIndex(path.c_str(), tags, count, index);
    }
    TagDefinitions definitions;
    const int opened = addIndex(path.c_str(), index);
    if (opened != kOk) return opened;
    if (index->layout() == IndexLayout::kSingleTag) {
      index = nullptr;
      return context_.fail(kErrParameter, path.c_str(), "Index file has room for one tag only");
    }
    definitions.addTagsOf(*index);
    for (std::size_t i = 0; i < count; ++i) definitions.add(tags[i]);
    return writeIndex(path.c_str(), definitions.data(), definitions.size(), index);
  });
  if (status == kErrMemory && context_.errorCode() == 0) context_.fail(kErrMemory, name);
  return status;
}

// Waits for the programs that write to the table or have the file open, as the lock attempts say.
// Nothing is held meanwhile: they may have to write before they close it.
int Table::writeIndex(const char *path, const TagDefinition *tags, std::size_t count,
                      IndexFile *&index) {
  platform::FileIdentity identity;
  const bool exists = platform::identifyPath(path, identity) == platform::IoStatus::kOk;
  // Nobody but the caller could close another handle: waiting for that would never end.
  if (exists && hasOtherIndexAt(*this, identity)) return kLocked;
  LockWait wait(context_);
  for (;;) {
    int status = kOk;
    {
      const OneAttempt once(context_);
      status = tryWriteIndex(path, tags, count, index);
    }
    if (status != kLocked || !wait.again()) return status;
  }
}

// Nobody writes records while their keys are collected.
int Table::tryWriteIndex(const char *path, const TagDefinition *tags, std::size_t count,
                         IndexFile *&index) {
  RangeLock records;
  RangeLock behind;
  int status = lockForReading(records, behind);
  if (status != kOk) return status;
  platform::FileIdentity identity;
  const bool exists = platform::identifyPath(path, identity) == platform::IoStatus::kOk;
  IndexFile *const replaced = exists ? openIndexAt(identity) : nullptr;
  if (replaced != nullptr) {
    if (selected_ != nullptr && &selected_->index() == replaced) selected_ = nullptr;
    replaced->file().close();
  }
  status = IndexBuilder(*this).build(path, tags, count);
  if (replaced != nullptr) {
    // Also when nothing was replaced.
    const int reopened = replaced->reopen();
    indexesChanged();
    if (status == kOk) status = reopened;
    index = status == kOk ? replaced : nullptr;
  } else if (status == kOk) {
    status = addIndex(path, index);
  }
  return status == kOk ? becomeProduction(*index) : status;
}

// The header tells other programs to open the index with the table. It also moves the places where
// records are locked, so that nobody may be at work meanwhile.
int Table::becomeProduction(IndexFile &index) {
  if (file_.mode() != OpenMode::kExclusive || readOnlyReason_ != nullptr) return kOk;
  const base::String own = platform::nativePath(companionName(path().c_str(), "CDX").c_str());
  platform::FileIdentity identity;
  if (platform::identifyPath(own.c_str(), identity) != platform::IoStatus::kOk ||
      identity != index.file().identity()) {
    return kOk;
  }
  header_.indexFlags |= 1;
  const unsigned char flags = header_.indexFlags;
  production_ = &index;
  return file_.write(28, &flags, 1);
}

int Table::rebuildIndexes() noexcept {
  const base::String selected(selected_ != nullptr ? selected_->name() : "");
  selected_ = nullptr;
  int result = kOk;
  for (const base::Owned<IndexFile> &index : indexes_) {
    int status = base::guarded(kErrMemory, [&] { return rebuildIndex(*index); });
    if (status == kErrMemory && context_.errorCode() == 0) context_.fail(kErrMemory);
    if (result == kOk) result = status;
  }
  indexesChanged();
  if (!selected.empty()) selected_ = findTag(selected.c_str());
  return result;
}

int Table::rebuildIndex(IndexFile &index) {
  TagDefinitions definitions;
  definitions.addTagsOf(index);
  if (definitions.size() == 0) return kOk;
  const base::String path = index.path();
  index.file().close();
  const int status = IndexBuilder(*this).build(path.c_str(), definitions.data(), definitions.size(),
                                               index.layout());
  const int reopened = index.reopen();
  return status != kOk ? status : reopened;
}

int Table::closeIndex(IndexFile *index) noexcept {
  for (auto place = indexes_.begin(); place != indexes_.end(); ++place) {
    if (place->get() != index) continue;
    if (selected_ != nullptr && &selected_->index() == index) selected_ = nullptr;
    int status = leaveRecord();
    if (status == kOk) status = flush();
    const int closed = index->file().close();
    indexes_.erase(place);
    indexesChanged();
    return status != kOk ? status : closed;
  }
  return context_.fail(kErrParameter);
}

Tag *Table::findTag(const char *name) const noexcept {
  const unsigned char *upper = platform::upperCaseMap();
  for (const base::Owned<IndexFile> &index : indexes_) {
    for (const base::Owned<Tag> &tag : index->tags()) {
      const char *a = tag->name();
      const char *b = name;
      while (*a != '\0' &&
             static_cast<unsigned char>(*a) == upper[static_cast<unsigned char>(*b)]) {
        ++a;
        ++b;
      }
      if (*a == '\0' && *b == '\0') return tag.get();
    }
  }
  return nullptr;
}

int Table::seek(std::string_view text) noexcept {
  const int status = leaveRecord();
  if (status != kOk) return status;
  return selected_ == nullptr ? kNoTag : seekKey(selected_->keyOf(text));
}

int Table::seek(double number) noexcept {
  const int status = leaveRecord();
  if (status != kOk) return status;
  return selected_ == nullptr ? kNoTag : seekKey(selected_->keyOf(number));
}

int Table::seekKey(const SeekKey &key) noexcept {
  if (selected_->problem() != kOk) {
    return context_.fail(selected_->problem(), selected_->index().path().c_str());
  }
  if (key.sought == SoughtKey::kNone) return -1;
  std::uint32_t record = 0;
  const int status = selected_->seek(key, record);
  return arrive(status, record);
}

// To the record that a tag gave.
int Table::arrive(int status, std::uint32_t record) noexcept {
  if (status == kEndOfFile) return moveToEnd();
  if (status != kOk && status != kNextGreater && status != kBeginningOfFile) return status;
  // Within a scan too: the tag may be ahead of what was known of the table.
  if (record > count_ && file_.othersMayWrite()) {
    const int counted = refreshCount();
    if (counted != kOk) return counted;
  }
  if (record < 1 || record > count_) {
    return context_.fail(kErrUnexpectedInformation, selected_->index().path().c_str());
  }
  defer(record);
  bof_ = status == kBeginningOfFile;
  return status;
}

int Table::skipInOrder(std::int64_t count) noexcept {
  std::uint32_t record = 0;
  int status = kOk;
  if (eof_) {
    if (count > 0) return kEndOfFile;
    status = selected_->last(record);
    ++count;
    if (status == kEndOfFile) {
      bof_ = true;
      return kBeginningOfFile;
    }
  } else if (!selected_->isAt(recordNumber_)) {
    status = selected_->seekCurrentRecord(record);
    // What follows the place of a record that is not in the tag is one step on already.
    if (status == kNextGreater && count > 0) --count;
    if (status == kEndOfFile && count < 0) {
      status = selected_->last(record);
      ++count;
    }
    if (status == kNextGreater) status = kOk;
  }
  for (; count > 0 && status == kOk; --count) status = selected_->next(record);
  for (; count < 0 && status == kOk; ++count) status = selected_->previous(record);
  return arrive(status, record);
}

// ---- Position

int Table::refreshCount() noexcept {
  unsigned char bytes[4];
  int status = file_.read(4, bytes, sizeof bytes);
  std::uint64_t length = 0;
  if (status == kOk) status = file_.length(length);
  if (status != kOk) return status;
  std::uint32_t count = readLittle32(bytes);
  const std::uint64_t data = length > header_.headerLength ? length - header_.headerLength : 0;
  const std::uint64_t whole = data / header_.recordLength;
  if (whole < count) count = static_cast<std::uint32_t>(whole);
  count_ = count < INT32_MAX ? count : INT32_MAX;
  return kOk;
}

std::uint32_t Table::recordCount() noexcept {
  if (rereads()) refreshCount();
  return count_;
}

void Table::beginScan() noexcept {
  cache_.forget();
  scanning_ = true;
}

void Table::endScan() noexcept {
  scanning_ = false;
  if (file_.othersMayWrite()) cache_.forget();
}

int Table::lockForReading(RangeLock &records, RangeLock &behind) noexcept {
  const int status = records.acquire(file_, kLockBase, kFileLockSize, platform::LockKind::kShared);
  if (status != kOk) return status;
  const std::uint64_t end = kLockBase + kFileLockSize;
  return behind.acquire(file_, end, kPresenceByte - end, platform::LockKind::kShared);
}

void Table::forgetMemoTexts() noexcept {
  if (!memoTouched_) return;
  for (MemoText &memo : memoTexts_) memo.loaded = memo.changed = false;
  memoTouched_ = false;
}

void Table::blankRecord() noexcept {
  forgetMemoTexts();
  std::memcpy(record_, blank_, header_.recordLength);
  loadedFrom_ = 0;
  changed_ = false;
  deferred_ = false;
  loadFailure_ = kOk;
}

int Table::readStored(std::uint32_t number) noexcept {
  return rereads() ? file_.read(cache_.offsetOf(number), spare_, header_.recordLength)
                   : cache_.read(number, count_, spare_);
}

int Table::load(std::uint32_t number) noexcept {
  const int status = readStored(number);
  if (status != kOk) return status;
  defer(number);
  deferred_ = false;
  std::swap(record_, spare_);
  return kOk;
}

void Table::defer(std::uint32_t number) noexcept {
  forgetMemoTexts();
  recordNumber_ = number;
  loadedFrom_ = number;
  changed_ = false;
  bof_ = eof_ = false;
  deferred_ = true;
  loadFailure_ = kOk;
}

void Table::loadDeferred() noexcept {
  deferred_ = false;
  loadFailure_ = readStored(recordNumber_);
  if (loadFailure_ == kOk) {
    std::swap(record_, spare_);
  } else {
    std::memcpy(record_, blank_, header_.recordLength);
  }
}

int Table::settleChange() noexcept {
  if (!changed_ || appending_ || eof_ || recordNumber_ == 0) return kOk;
  if (readOnlyReason_ != nullptr) {
    changed_ = false;  // it never can be written: reported once, then the table moves on
    return refuseWriting();
  }
  return writeCurrent();
}

// Back to the record that the append began at.
int Table::abandonAppend() noexcept {
  appending_ = false;
  changed_ = false;
  recordNumber_ = appendedFrom_;
  if (!eof_) return load(recordNumber_);
  blankRecord();
  return kOk;
}

int Table::leaveRecord() noexcept { return appending_ ? abandonAppend() : settleChange(); }

int Table::moveToEnd() noexcept {
  blankRecord();
  recordNumber_ = count_ + 1;
  eof_ = true;
  bof_ = count_ == 0;
  return kEndOfFile;
}

int Table::top() noexcept {
  int status = leaveRecord();
  if (status == kOk && rereads()) status = refreshCount();
  if (status != kOk) return status;
  if (count_ == 0) return moveToEnd();
  if (selected_ == nullptr) return load(1);
  std::uint32_t record = 0;
  status = selected_->first(record);
  status = arrive(status, record);
  if (status == kEndOfFile) bof_ = true;  // nothing is in the tag
  return status;
}

int Table::bottom() noexcept {
  int status = leaveRecord();
  if (status == kOk && rereads()) status = refreshCount();
  if (status != kOk) return status;
  if (count_ == 0) return moveToEnd();
  if (selected_ == nullptr) return load(count_);
  std::uint32_t record = 0;
  status = selected_->last(record);
  status = arrive(status, record);
  if (status == kEndOfFile) bof_ = true;  // nothing is in the tag
  return status;
}

int Table::go(std::int64_t number) noexcept {
  int status = leaveRecord();
  if (status == kOk && number > count_ && rereads()) status = refreshCount();
  if (status != kOk) return status;
  if (number < 1 || number > count_) return context_.fail(kErrParameter, path().c_str());
  return load(static_cast<std::uint32_t>(number));
}

int Table::skip(std::int64_t count) noexcept {
  int status = leaveRecord();
  if (status != kOk) return status;
  if (count == 0) return eof_ ? kEndOfFile : kOk;
  if (selected_ != nullptr) return skipInOrder(count);
  const std::int64_t target = recordNumber_ + count;
  if (count > 0) {
    if (target > count_ && rereads()) status = refreshCount();
    if (status != kOk) return status;
    return target > count_ ? moveToEnd() : load(static_cast<std::uint32_t>(target));
  }
  if (target >= 1) return load(static_cast<std::uint32_t>(target));
  if (count_ > 0) {
    status = load(1);
    if (status != kOk) return status;
  } else {
    moveToEnd();
  }
  bof_ = true;
  return kBeginningOfFile;
}

// ---- The current record

const Field *Table::findField(const char *name) const noexcept {
  const Field *field = names_.find(fields_, name);
  if (field == nullptr && context_.settings.unknownFieldIsError) {
    context_.fail(kErrFieldName, name);
  }
  return field;
}

void Table::setDeleted(bool deleted) noexcept {
  const char mark = deleted ? '*' : ' ';
  if (record()[0] != mark) changeRecord()[0] = mark;
}

int Table::memoText(const Field &field, std::string_view &text) noexcept {
  MemoText &memo = memoTexts_[static_cast<std::size_t>(field.memoNumber)];
  if (!memo.loaded) {
    const std::uint32_t block = readMemoReference(memoReference(field), field.width);
    const int status = memo_->read(block, memo);
    if (status != kOk) {
      text = {};
      return status;
    }
    memo.loaded = true;
    memoTouched_ = true;
  }
  text = memo.text();
  return kOk;
}

int Table::assignMemo(const Field &field, std::string_view text) noexcept {
  MemoText &memo = memoTexts_[static_cast<std::size_t>(field.memoNumber)];
  if (!memo.assign(text)) return context_.fail(kErrMemory);
  memoTouched_ = true;
  changed_ = true;
  return kOk;
}

// Turns the memo references of the buffer into texts of their own, so that writing the buffer
// elsewhere does not make two records share a block.
int Table::detachMemoTexts() noexcept {
  if (memo_ == nullptr) return kOk;
  for (const Field &field : fields_) {
    if (!field.isMemo()) continue;
    std::string_view text;
    const int status = memoText(field, text);
    if (status != kOk) return status;
  }
  for (const Field &field : fields_) {
    if (!field.isMemo()) continue;
    MemoText &memo = memoTexts_[static_cast<std::size_t>(field.memoNumber)];
    memo.changed = true;
    memoTouched_ = true;
    writeMemoReference(memoReference(field), field.width, 0);
  }
  return kOk;
}

int Table::refuseWriting() noexcept {
  return context_.fail(kErrWriting, path().c_str(), "Attempt to write to a read-only file");
}

int Table::writeRecord(std::int64_t number) noexcept {
  if (number < 1) return context_.fail(kErrParameter, path().c_str());
  int status = kOk;
  if (number > count_ && rereads()) status = refreshCount();
  if (status != kOk) return status;
  if (number > count_) return context_.fail(kErrParameter, path().c_str());
  if (readOnlyReason_ != nullptr) return refuseWriting();
  if (deferred_) loadDeferred();
  if (loadFailure_ != kOk) return context_.fail(loadFailure_, path().c_str());

  const auto target = static_cast<std::uint32_t>(number);
  if (loadedFrom_ != target) status = detachMemoTexts();
  if (status == kOk) status = Change(*this).update(target);
  if (status != kOk) return status;
  appending_ = false;
  changed_ = false;
  recordNumber_ = target;
  loadedFrom_ = target;
  bof_ = eof_ = false;
  return kOk;
}

int Table::appendStart() noexcept {
  if (appending_) return kOk;
  int status = leaveRecord();
  if (status != kOk) return status;
  if (eof_) {
    blankRecord();
  } else {
    if (deferred_) loadDeferred();
    status = loadFailure_ == kOk ? detachMemoTexts() : loadFailure_;
    if (status != kOk) return status;
  }
  record_[0] = ' ';
  appendedFrom_ = recordNumber_;
  recordNumber_ = 0;
  loadedFrom_ = 0;
  appending_ = true;
  return kOk;
}

int Table::append() noexcept {
  if (!appending_) return context_.fail(kErrParameter, path().c_str());
  if (readOnlyReason_ != nullptr) return refuseWriting();
  std::uint32_t number = 0;
  const int status = Change(*this).append(number);
  if (status != kOk) return status;
  appending_ = false;
  changed_ = false;
  recordNumber_ = number;
  loadedFrom_ = number;
  bof_ = eof_ = false;
  return kOk;
}

int Table::appendBlank() noexcept {
  const int status = leaveRecord();
  if (status != kOk) return status;
  appendedFrom_ = recordNumber_;
  const bool wasAtEnd = eof_;
  blankRecord();
  recordNumber_ = 0;
  appending_ = true;
  const int appended = append();
  if (appended != kOk) {
    appending_ = false;
    recordNumber_ = appendedFrom_;
    if (!wasAtEnd && load(appendedFrom_) != kOk) moveToEnd();
  }
  return appended;
}

int Table::pack() noexcept {
  int status = leaveRecord();
  if (status == kOk) status = flush();
  if (status != kOk) return status;
  if (readOnlyReason_ != nullptr) return refuseWriting();
  // Nobody but the caller could close another handle: waiting for that would never end.
  if (isOpenTwice(*this)) return kLocked;
  status = base::guarded(kErrMemory, [this] { return Packer(*this).run(); });
  if (status == kErrMemory && context_.errorCode() == 0) context_.fail(kErrMemory, path().c_str());
  return status != kOk ? status : top();
}

// ---- Writing what is pending

int Table::writeCount(std::uint32_t count) noexcept {
  // Date and count lie side by side: bytes 1 to 7.
  unsigned char bytes[7];
  stampDate(bytes);
  writeLittle32(bytes + 3, count);
  const int status = file_.write(1, bytes, sizeof bytes);
  if (status == kOk) updateDateDue_ = false;
  return status;
}

void Table::stampDate(unsigned char *bytes) noexcept {
  const platform::Date date = platform::today();
  bytes[0] = static_cast<unsigned char>(date.year - 1900);
  bytes[1] = static_cast<unsigned char>(date.month);
  bytes[2] = static_cast<unsigned char>(date.day);
}

int Table::writeUpdateDate() noexcept {
  unsigned char bytes[3];
  stampDate(bytes);
  const int status = file_.write(1, bytes, sizeof bytes);
  if (status == kOk) updateDateDue_ = false;
  return status;
}

platform::Date Table::lastUpdate() noexcept {
  // Writers disagree about years from 2000 on: 100 and more, or the last two digits.
  constexpr int kFirstYearOfTables = 80;
  unsigned char bytes[3];
  if (file_.read(1, bytes, sizeof bytes) != kOk) return {0, 0, 0};
  if (bytes[1] < 1 || bytes[1] > 12 || bytes[2] < 1 || bytes[2] > 31) return {0, 0, 0};
  return {bytes[0] + (bytes[0] < kFirstYearOfTables ? 2000 : 1900), bytes[1], bytes[2]};
}

int Table::flushTail() noexcept {
  std::uint32_t last = 0;
  const int status = cache_.writeTail(last);
  return status == kOk && last != 0 ? writeCount(last) : status;
}

int Table::flush() noexcept {
  int status = settleChange();
  if (status == kOk) status = flushTail();
  for (IndexFile *index : lockOrder_) {
    if (status == kOk) status = index->change().settle(count_);
  }
  return status == kOk && updateDateDue_ ? writeUpdateDate() : status;
}

}  // namespace zk::engine
