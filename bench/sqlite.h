// SQLite set up for the work of one program on one file: no journal, no waiting for the disk, no
// locks given back, no mutexes, the file mapped for reading, the page size that measured best.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>

namespace zk::bench {

class Database {
 public:
  explicit Database(const std::string &path);

  void execute(const std::string &sql);

  struct Finalizer {
    void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
  };
  using Statement = std::unique_ptr<sqlite3_stmt, Finalizer>;
  Statement prepare(const std::string &sql);

  // Throws unless everything could be written.
  void close();

 private:
  struct Closer {
    void operator()(sqlite3 *handle) const { sqlite3_close(handle); }
  };
  std::unique_ptr<sqlite3, Closer> handle_;
};

}  // namespace zk::bench
