#include "writing.h"

#include <fcntl.h>
#include <unistd.h>

#include "measure.h"
#include "zk/db.h"
#include "zk/extras.h"

namespace zk::bench {
namespace {

void createTable(const std::string &path, Keys keys) {
  DbFldList *fields = zk_DbFldList_create(nullptr);
  for (const FieldLayout &field : fieldsOf(keys)) {
    zk_DbFldList_insEnd(fields, field.name, nullptr, field.width, field.decimals, field.type);
  }
  const int32_t id = zk_Db_createDb(path.c_str(), fields);
  zk_DbFldList_destroy(fields);
  require(id >= 0 && zk_Db_closeDb(id) == 0, "cannot create the table");
}

std::string createStatement(Keys keys) {
  std::string sql;
  for (const FieldLayout &field : fieldsOf(keys)) {
    sql += sql.empty() ? "CREATE TABLE piping (" : ", ";
    sql += std::string(field.name) + " " + field.sqlType;
  }
  return sql + ")";
}

void bindText(sqlite3_stmt *statement, int column, const char *text) {
  sqlite3_bind_text(statement, column, text, -1, SQLITE_STATIC);
}

}  // namespace

int appendRecord(int32_t id, const Record &record, Keys keys) {
  int status = zk_Db_appendStart(id);
  if (keys == Keys::kYes) {
    status |= zk_Db_assignFldStr(id, "CODE", record.code) |
              zk_Db_assignFldInt(id, "NUMBER", record.number);
  }
  return status | zk_Db_assignFldStr(id, "TAG", record.tag) |
         zk_Db_assignFldStr(id, "LINE", record.line) |
         zk_Db_assignFldDouble(id, "WEIGHT", record.weight) |
         zk_Db_assignFldDouble(id, "X", record.x) | zk_Db_assignFldDouble(id, "Y", record.y) |
         zk_Db_assignFldDouble(id, "Z", record.z) |
         zk_Db_assignFldStr(id, "INSTALLED", record.installed) |
         zk_Db_assignFldInt(id, "QUANTITY", record.quantity) |
         zk_Db_assignFldStr(id, "INSULATED", record.insulated ? "T" : "F") |
         zk_Db_assignFldStr(id, "DESCRIPT", record.description) | zk_Db_append(id);
}

std::string insertStatement(Keys keys) {
  std::string sql = "INSERT INTO piping VALUES (?";
  for (std::size_t field = 1; field < fieldsOf(keys).size(); ++field) sql += ",?";
  return sql + ")";
}

void insertRecord(sqlite3_stmt *statement, const Record &record, Keys keys) {
  int column = 0;
  if (keys == Keys::kYes) {
    bindText(statement, ++column, record.code);
    sqlite3_bind_int(statement, ++column, record.number);
  }
  bindText(statement, ++column, record.tag);
  bindText(statement, ++column, record.line);
  sqlite3_bind_double(statement, ++column, record.weight);
  sqlite3_bind_double(statement, ++column, record.x);
  sqlite3_bind_double(statement, ++column, record.y);
  sqlite3_bind_double(statement, ++column, record.z);
  bindText(statement, ++column, record.installed);
  sqlite3_bind_int(statement, ++column, record.quantity);
  sqlite3_bind_int(statement, ++column, record.insulated ? 1 : 0);
  bindText(statement, ++column, record.description);
  require(sqlite3_step(statement) == SQLITE_DONE, "SQLite cannot insert");
  sqlite3_reset(statement);
}

void writeTable(const std::string &path, std::span<const Record> records, int mode, Keys keys) {
  createTable(path, keys);
  const int32_t id = zk_Db_openDbEx(path.c_str(), mode);
  require(id >= 0, "cannot open the table");
  for (const Record &record : records) {
    require(appendRecord(id, record, keys) == 0, "cannot append");
  }
  const int flushed = zk_Db_flush(id);
  require(zk_Db_closeDb(id) == 0 && flushed == 0, "cannot write the table");
}

void writeDatabase(const std::string &path, std::span<const Record> records, Keys keys,
                   int pageSize) {
  Database database(path, pageSize);
  database.execute(createStatement(keys));
  database.execute("BEGIN");
  auto insertion = database.prepare(insertStatement(keys));
  for (const Record &record : records) insertRecord(insertion.get(), record, keys);
  database.execute("COMMIT");
  insertion.reset();
  database.close();
}

void settle(const std::string &path) {
  const int file = ::open(path.c_str(), O_RDONLY);
  require(file >= 0 && fsync(file) == 0, "cannot settle the input");
  ::close(file);
}

void writeInputs(const std::string &table, const std::string &database,
                 std::span<const Record> records) {
  const auto writeBoth = [&](Stopwatch &) {
    writeTable(table, records, kExclusive);
    writeDatabase(database, records);
    settle(table);
    settle(database);
    return 0.0;
  };
  measureInChild(writeBoth, 0);
}

}  // namespace zk::bench
