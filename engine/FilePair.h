// A table and its memo file, written anew beside the old ones and put in their place so that a kill
// leaves the old pair or the new one.
//
// Two files cannot be renamed at once. The new ones are called like the old ones with ".zknew"
// behind, and the table's exists whenever the memo's does. Renaming the new table is the moment
// that counts: a new memo file whose table is gone belongs to the table in place, and the next
// opener finishes the job.
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

  // Creates the new files for the table at `path` (native). -20 when another program does so.
  int begin(const char *path, bool withMemo);
  File &table() noexcept { return table_; }
  Memo &memo() noexcept { return memo_; }

  // For a new table: replaces a file that nobody has open (-20 otherwise), or just appears.
  int putInPlaceOfUnopened();

  // For a table that is open here and nowhere else: replaces its files; afterwards `liveTable` and
  // `liveMemo` (null without memos) are the new ones in the old one's mode.
  int replace(File &liveTable, Memo *liveMemo);

  // Finishes a replacement that died after its table was in place. To be called before the memo
  // file of `table` is opened.
  static int completeInterrupted(File &table, const char *memoPath);

 private:
  int rename() noexcept;
  void closeFiles() noexcept;
  int refused(int code, const base::String &path) noexcept {
    return context_.fail(code, path.c_str());
  }

  Context &context_;
  base::String tablePath_, newTablePath_;
  base::String memoPath_, newMemoPath_;  // empty without memos
  File table_;
  Memo memo_;
  bool begun_ = false;
  bool tableInPlace_ = false;
};

}  // namespace zk::engine
