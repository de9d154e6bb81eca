// A table and its memo file, written anew beside the old ones and put in their place so that a kill
// leaves the old pair or the new one.
//
// Two files cannot be renamed at once. The new ones are called like the old ones with ".zknew"
// behind, and the table's exists whenever the memo's does. Renaming the new table is the moment
// that counts: a new memo file whose table is gone belongs to the table in place, and the next
// opener finishes the job. Whoever replaces a table keeps every other opener out meanwhile, so that
// only one program at a time deals with these files.
#pragma once

#include "base/Memory.h"
#include "engine/File.h"
#include "engine/Memo.h"

namespace zk::engine {

class FilePair {
 public:
  explicit FilePair(Context &context) noexcept : context_(context) {}
  // Removes what was not put in place.
  ~FilePair();
  FilePair(const FilePair &) = delete;
  FilePair &operator=(const FilePair &) = delete;

  // Both create the new files for the table at `path` (native); -20 when another program does so.
  // For a new table: one that is in place is kept from everybody until it is replaced (-20 when
  // somebody has it open).
  int beginNew(const char *path, bool withMemo);
  // For a table that is open here and nowhere else, nor can be opened.
  int beginReplacing(const char *path, bool withMemo);
  File &table() noexcept { return table_; }
  Memo &memo() noexcept { return memo_; }

  // After beginNew.
  int putInPlace() noexcept;
  // After beginReplacing: `liveTable` and `liveMemo` (null without memos) become the new ones, held
  // exclusively: File::settleIntoMode lets other programs in again.
  int replace(File &liveTable, Memo *liveMemo);
  // Whether the new table is the table now, whatever became of its memo file.
  bool tableInPlace() const noexcept { return tableInPlace_; }

  // To be called before a table is opened: a replacement can be in the midst of it.
  static void settle(const char *path);
  // Finishes a replacement that died after its table was in place. To be called before the memo
  // file of `table` is opened.
  static int completeInterrupted(File &table, const char *memoPath);

 private:
  void setPaths(const char *path);
  int holdExisting(bool withMemo);
  int createFiles(bool withMemo);
  int rename() noexcept;
  int renameOpen(const File &liveTable) noexcept;
  int renameMemo() noexcept;
  void closeFiles() noexcept;
  int refused(int code, const base::String &path) noexcept {
    return context_.fail(code, path.c_str());
  }

  Context &context_;
  base::String tablePath_, newTablePath_, asideName_;
  base::String memoPath_;
  base::String newMemoPath_;  // empty without memos
  File existing_;             // the table that a new one replaces
  File table_;
  Memo memo_;
  bool replacing_ = false;
  bool begun_ = false;
  bool tableInPlace_ = false;
};

}  // namespace zk::engine
