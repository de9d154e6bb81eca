#include "engine/FilePair.h"

#include <utility>

#include "engine/FileNames.h"
#include "platform/Path.h"

namespace zk::engine {
namespace {

using platform::IoStatus;

constexpr char kNewSuffix[] = ".zknew";
constexpr char kOldSuffix[] = ".zkold";

base::String newNameOf(const base::String &path) { return path + kNewSuffix; }

// Whether the new memo file belongs to the table in place.
bool isInterrupted(const base::String &newTable, const base::String &newMemo) {
  return platform::pathExists(newMemo.c_str()) && !platform::pathExists(newTable.c_str());
}

}  // namespace

FilePair::~FilePair() {
  // Where open files can be removed they are still ours then; once closed, another program may
  // have begun to write files of these names.
  if (platform::hasShareModes()) closeFiles();
  if (begun_ && !tableInPlace_) {
    // The memo file first: alone it would count as belonging to the table in place.
    if (!newMemoPath_.empty()) platform::removeFile(newMemoPath_.c_str());
    platform::removeFile(newTablePath_.c_str());
  }
  closeFiles();
}

void FilePair::closeFiles() noexcept {
  table_.close();
  memo_.file().close();
}

void FilePair::setPaths(const char *path) {
  tablePath_ = platform::finalPath(path);
  newTablePath_ = newNameOf(tablePath_);
  asideName_ = tablePath_ + kOldSuffix;
  platform::settleReplacement(tablePath_.c_str(), asideName_.c_str());
  // Beside the name that was given, as opening looks for it: that may be a link.
  memoPath_ = platform::finalPath(platform::nativePath(companionName(path, "FPT").c_str()).c_str());
}

int FilePair::beginNew(const char *path, bool withMemo) {
  setPaths(path);
  if (platform::pathExists(tablePath_.c_str())) {
    const int status = holdExisting(withMemo);
    if (status != kOk) return status;
  }
  return createFiles(withMemo);
}

int FilePair::beginReplacing(const char *path, bool withMemo) {
  setPaths(path);
  replacing_ = true;
  return createFiles(withMemo);
}

// Keeps everybody out of the table that is to be replaced, until it is.
int FilePair::holdExisting(bool withMemo) {
  replacing_ = true;
  if (context_.settings.refuseOverwrite) return refused(kErrCreating, tablePath_);
  const int status = existing_.open(context_, tablePath_.c_str(), OpenMode::kExclusive, true);
  if (status != kOk || existing_.readOnly()) return refused(kErrCreating, tablePath_);
  const int completed = completeInterrupted(existing_, memoPath_.c_str());
  if (completed != kOk || !withMemo || !platform::pathExists(memoPath_.c_str())) return completed;
  File memo;  // what cannot be written might not be replaced either
  const int opened = memo.open(context_, memoPath_.c_str(), OpenMode::kShared, false);
  return opened != kOk || memo.readOnly() ? refused(kErrCreating, memoPath_) : kOk;
}

int FilePair::createFiles(bool withMemo) {
  const int status = table_.create(context_, newTablePath_.c_str());
  if (status != kOk) return status;
  begun_ = true;
  if (!replacing_ && platform::pathExists(tablePath_.c_str())) {
    return refused(kErrCreating, tablePath_);  // another program was faster
  }
  // What an earlier attempt left behind must not outlive this one.
  base::String newMemoPath = newNameOf(memoPath_);
  platform::removeFile(newMemoPath.c_str());
  if (!withMemo) return kOk;
  newMemoPath_.swap(newMemoPath);
  return memo_.file().create(context_, newMemoPath_.c_str());
}

int FilePair::rename() noexcept {
  // The memo file of a table that was not there goes first: alone it means nothing.
  if (!replacing_) {
    const int status = renameMemo();
    if (status != kOk) return status;
  }
  if (platform::replaceFile(newTablePath_.c_str(), tablePath_.c_str()) != IoStatus::kOk) {
    return refused(kErrRenaming, tablePath_);
  }
  tableInPlace_ = true;
  return replacing_ ? renameMemo() : kOk;
}

// The same with the table open, so that nobody comes in between.
int FilePair::renameOpen(const File &liveTable) noexcept {
  if (platform::replaceOpenFile(table_.handle(), newTablePath_.c_str(), liveTable.handle(),
                                tablePath_.c_str(), asideName_.c_str()) != IoStatus::kOk) {
    return refused(kErrRenaming, tablePath_);
  }
  tableInPlace_ = true;
  return renameMemo();
}

int FilePair::renameMemo() noexcept {
  if (newMemoPath_.empty() ||
      platform::replaceFile(newMemoPath_.c_str(), memoPath_.c_str()) == IoStatus::kOk) {
    return kOk;
  }
  return refused(kErrRenaming, memoPath_);
}

int FilePair::putInPlace() noexcept {
  if (platform::hasShareModes()) {
    // Open files cannot be renamed there.
    existing_.close();
    closeFiles();
  }
  return rename();
}

int FilePair::replace(File &liveTable, Memo *liveMemo) {
  int status = table_.sync();
  if (status == kOk && liveMemo != nullptr) status = memo_.file().sync();
  if (status != kOk) return status;

  if (platform::hasShareModes()) {
    // The memo files can be closed, as nobody else has the table.
    memo_.file().close();
    if (liveMemo != nullptr) liveMemo->file().close();
    status = renameOpen(liveTable);
    if (tableInPlace_) {
      table_.setPath(std::move(tablePath_));
      liveTable.takeOver(table_);
    }
    if (liveMemo != nullptr) {
      const int opened = liveMemo->open(context_, memoPath_.c_str(), liveTable.mode());
      if (status == kOk) status = opened;
    }
    return status;
  }

  platform::copyAttributes(liveTable.handle(), table_.handle());
  if (liveMemo != nullptr) {
    platform::copyAttributes(liveMemo->file().handle(), memo_.file().handle());
  }
  status = rename();
  if (!tableInPlace_) return status;
  // From here on the new files are the table, even when the memo file kept its new name: the next
  // opener gives it the right one.
  table_.setPath(std::move(tablePath_));  // must not fail from here on
  liveTable.takeOver(table_);
  if (liveMemo != nullptr) {
    memo_.file().setPath(std::move(memoPath_));
    liveMemo->file().takeOver(memo_.file());
  }
  return status;
}

void FilePair::settle(const char *path) {
  platform::settleReplacement(path, (base::String(path) + kOldSuffix).c_str());
}

int FilePair::completeInterrupted(File &table, const char *memoPath) {
  const base::String memo = platform::finalPath(memoPath);
  const base::String newMemo = newNameOf(memo);
  const base::String newTable = newNameOf(platform::finalPath(table.path().c_str()));
  if (!isInterrupted(newTable, newMemo)) return kOk;
  if (table.readOnly()) return table.context().fail(kErrOpening, memoPath);
  RangeLock lock;
  const int status = lock.acquire(table, kAppendLockByte, 1);
  if (status != kOk) return status;
  if (!isInterrupted(newTable, newMemo)) return kOk;  // another opener was faster
  if (platform::replaceFile(newMemo.c_str(), memo.c_str()) != IoStatus::kOk) {
    return table.context().fail(kErrRenaming, memoPath);
  }
  return kOk;
}

}  // namespace zk::engine
