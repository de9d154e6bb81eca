#include "sqlite.h"

#include "measure.h"

namespace zk::bench {

Database::Database(const std::string &path, int pageSize, Locking locking, Journal journal) {
  sqlite3 *handle = nullptr;
  const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
  const int status = sqlite3_open_v2(path.c_str(), &handle, flags, nullptr);
  handle_.reset(handle);
  require(status == SQLITE_OK, "SQLite cannot open its file");
  execute("PRAGMA page_size=" + std::to_string(pageSize));
  if (journal == Journal::kNone) execute("PRAGMA journal_mode=OFF");
  execute("PRAGMA synchronous=OFF");
  execute(locking == Locking::kOnce ? "PRAGMA locking_mode=EXCLUSIVE"
                                    : "PRAGMA locking_mode=NORMAL");
  execute("PRAGMA mmap_size=4000000000");
}

void Database::execute(const std::string &sql) {
  const int status = sqlite3_exec(handle_.get(), sql.c_str(), nullptr, nullptr, nullptr);
  require(status == SQLITE_OK, sqlite3_errmsg(handle_.get()));
}

Database::Statement Database::prepare(const std::string &sql) {
  sqlite3_stmt *statement = nullptr;
  const int status = sqlite3_prepare_v2(handle_.get(), sql.c_str(), -1, &statement, nullptr);
  require(status == SQLITE_OK, sqlite3_errmsg(handle_.get()));
  return Statement(statement);
}

double Database::number(const std::string &sql) {
  const Statement statement = prepare(sql);
  require(sqlite3_step(statement.get()) == SQLITE_ROW, "SQLite has no such row");
  return sqlite3_column_double(statement.get(), 0);
}

void Database::close() {
  require(sqlite3_close(handle_.get()) == SQLITE_OK, "SQLite cannot close its file");
  (void)handle_.release();
}

}  // namespace zk::bench
