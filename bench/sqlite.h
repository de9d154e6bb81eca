// SQLite set up for speed: no waiting for the disk, no mutexes, the file mapped for reading. What
// is left to choose is the page size, of which large ones measured best for walks and small ones
// for access to single rows, whether other programs may use the file meanwhile, and whether a
// program that dies in the middle of a transaction leaves a file that is whole (the rollback
// journal, as it is by default).
#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>

namespace zk::bench {

inline constexpr int kLargePages = 32768;
inline constexpr int kSmallPages = 4096;

enum class Locking { kOnce, kEachTime };
enum class Journal { kNone, kRollback };

class Database {
 public:
  // The page size counts when the file is new.
  explicit Database(const std::string &path, int pageSize = kLargePages,
                    Locking locking = Locking::kOnce, Journal journal = Journal::kNone);

  void execute(const std::string &sql);

  struct Finalizer {
    void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
  };
  using Statement = std::unique_ptr<sqlite3_stmt, Finalizer>;
  Statement prepare(const std::string &sql);

  // The first column of the statement's only row.
  double number(const std::string &sql);

  // Throws unless everything could be written.
  void close();

 private:
  struct Closer {
    void operator()(sqlite3 *handle) const { sqlite3_close(handle); }
  };
  std::unique_ptr<sqlite3, Closer> handle_;
};

}  // namespace zk::bench
