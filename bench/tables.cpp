// Appending records and walking them, against SQLite doing the same.
#include <fcntl.h>
#include <unistd.h>

#include "measure.h"
#include "sqlite.h"
#include "works.h"
#include "zk/db.h"
#include "zk/extras.h"

namespace zk::bench {
namespace {

constexpr std::size_t kFilePerRecord = 200;  // bytes, amply

// ---- Appending ----------------------------------------------------------------------------------

void createTable(const std::string &path) {
  DbFldList *fields = zk_DbFldList_create(nullptr);
  for (const FieldLayout &field : kFields) {
    zk_DbFldList_insEnd(fields, field.name, nullptr, field.width, field.decimals, field.type);
  }
  const int32_t id = zk_Db_createDb(path.c_str(), fields);
  zk_DbFldList_destroy(fields);
  require(id >= 0 && zk_Db_closeDb(id) == 0, "cannot create the table");
}

int appendRecord(int32_t id, const Record &record) {
  return zk_Db_appendStart(id) | zk_Db_assignFldStr(id, "TAG", record.tag) |
         zk_Db_assignFldStr(id, "LINE", record.line) |
         zk_Db_assignFldDouble(id, "WEIGHT", record.weight) |
         zk_Db_assignFldDouble(id, "X", record.x) | zk_Db_assignFldDouble(id, "Y", record.y) |
         zk_Db_assignFldDouble(id, "Z", record.z) |
         zk_Db_assignFldStr(id, "INSTALLED", record.installed) |
         zk_Db_assignFldInt(id, "QUANTITY", record.quantity) |
         zk_Db_assignFldStr(id, "INSULATED", record.insulated ? "T" : "F") |
         zk_Db_assignFldStr(id, "DESCRIPT", record.description) | zk_Db_append(id);
}

void bindText(sqlite3_stmt *statement, int column, const char *text) {
  sqlite3_bind_text(statement, column, text, -1, SQLITE_STATIC);
}

void insertRecord(sqlite3_stmt *statement, const Record &record) {
  bindText(statement, 1, record.tag);
  bindText(statement, 2, record.line);
  sqlite3_bind_double(statement, 3, record.weight);
  sqlite3_bind_double(statement, 4, record.x);
  sqlite3_bind_double(statement, 5, record.y);
  sqlite3_bind_double(statement, 6, record.z);
  bindText(statement, 7, record.installed);
  sqlite3_bind_int(statement, 8, record.quantity);
  sqlite3_bind_int(statement, 9, record.insulated ? 1 : 0);
  bindText(statement, 10, record.description);
  require(sqlite3_step(statement) == SQLITE_DONE, "SQLite cannot insert");
  sqlite3_reset(statement);
}

std::string createStatement() {
  std::string sql;
  for (const FieldLayout &field : kFields) {
    sql += sql.empty() ? "CREATE TABLE piping (" : ", ";
    sql += std::string(field.name) + " " + field.sqlType;
  }
  return sql + ")";
}

void writeTable(const Setup &setup, const std::string &path, std::size_t count, int mode) {
  createTable(path);
  const int32_t id = zk_Db_openDbEx(path.c_str(), mode);
  require(id >= 0, "cannot open the table");
  for (std::size_t index = 0; index < count; ++index) {
    require(appendRecord(id, setup.records[index]) == 0, "cannot append");
  }
  const int flushed = zk_Db_flush(id);
  require(zk_Db_closeDb(id) == 0 && flushed == 0, "cannot write the table");
}

void writeDatabase(const Setup &setup, const std::string &path, std::size_t count) {
  Database database(path);
  database.execute(createStatement());
  database.execute("BEGIN");
  auto insertion = database.prepare("INSERT INTO piping VALUES (?,?,?,?,?,?,?,?,?,?)");
  for (std::size_t index = 0; index < count; ++index) {
    insertRecord(insertion.get(), setup.records[index]);
  }
  database.execute("COMMIT");
  insertion.reset();
  database.close();
}

// Has the system write the file now, not in the background of the measurements.
void settle(const std::string &path) {
  const int file = ::open(path.c_str(), O_RDONLY);
  require(file >= 0 && fsync(file) == 0, "cannot settle the input");
  ::close(file);
}

double tableLength(const std::string &path) {
  const int32_t id = zk_Db_openDb(path.c_str());
  const int32_t count = zk_Db_getRecordCount(id);
  zk_Db_closeDb(id);
  return count;
}

double databaseLength(const std::string &path) {
  Database database(path);
  const auto statement = database.prepare("SELECT count(*) FROM piping");
  require(sqlite3_step(statement.get()) == SQLITE_ROW, "SQLite cannot count");
  return sqlite3_column_double(statement.get(), 0);
}

void prepareToWrite(const Setup &setup, const std::string &path) {
  touch(setup.records.data(), setup.records.size() * sizeof(Record));
  growPageCache(path, setup.records.size() * kFilePerRecord);
}

Work appending(const Setup &setup, int mode) {
  return [&setup, mode](Stopwatch &watch) {
    const std::string path = setup.path("APPEND.DBF");
    prepareToWrite(setup, path);
    watch.start();
    writeTable(setup, path, setup.records.size(), mode);
    watch.stop();
    const double length = tableLength(path);
    unlink(path.c_str());
    return length;
  };
}

Work inserting(const Setup &setup) {
  return [&setup](Stopwatch &watch) {
    const std::string path = setup.path("append.sqlite");
    prepareToWrite(setup, path);
    watch.start();
    writeDatabase(setup, path, setup.records.size());
    watch.stop();
    const double length = databaseLength(path);
    unlink(path.c_str());
    return length;
  };
}

// ---- Walking ------------------------------------------------------------------------------------

// What a walk sums up: for a text its first and third bytes.
double weigh(const char *text) { return text[0] + text[2]; }

template <typename Read>
double sumTable(int32_t id, Read read) {
  double sum = 0;
  for (int status = zk_Db_topRec(id, -1); status == 0; status = zk_Db_nextRec(id, -1)) {
    sum += read(id);
  }
  return sum;
}

template <typename Read>
double sumColumn(sqlite3_stmt *statement, Read read) {
  double sum = 0;
  while (sqlite3_step(statement) == SQLITE_ROW) sum += read(statement);
  sqlite3_reset(statement);
  return sum;
}

template <typename Read>
Work walkingTable(const std::string &path, int mode, Read read) {
  return [path, mode, read](Stopwatch &watch) {
    const int32_t id = zk_Db_openDbEx(path.c_str(), mode);
    require(id >= 0, "cannot open the table");
    watch.start();
    const double sum = sumTable(id, read);
    watch.stop();
    return sum;
  };
}

template <typename Read>
Work walkingColumn(const std::string &path, const char *column, Read read) {
  return [path, column, read](Stopwatch &watch) {
    Database database(path);
    const auto statement = database.prepare(std::string("SELECT ") + column + " FROM piping");
    watch.start();
    const double sum = sumColumn(statement.get(), read);
    watch.stop();
    return sum;
  };
}

double readTag(int32_t id) { return weigh(zk_Db_getFldStr(id, "TAG")); }
double readX(int32_t id) { return zk_Db_getFldDouble(id, "X"); }

double readTextColumn(sqlite3_stmt *statement) {
  return weigh(reinterpret_cast<const char *>(sqlite3_column_text(statement, 0)));
}
double readNumberColumn(sqlite3_stmt *statement) { return sqlite3_column_double(statement, 0); }

}  // namespace

void writeInputs(const Setup &setup, const std::string &table, const std::string &database,
                 std::size_t count) {
  const double expected = static_cast<double>(count);
  const auto writeBoth = [&](Stopwatch &) {
    writeTable(setup, table, count, kExclusive);
    writeDatabase(setup, database, count);
    settle(table);
    settle(database);
    return expected;
  };
  measureInChild(writeBoth, expected);
}

void addAppending(const Setup &setup, Report &report) {
  const double count = static_cast<double>(setup.records.size());
  addBenchmark("append/zk", appending(setup, kExclusive), count);
  addBenchmark("append/zk_shared", appending(setup, kShared), count, kFewRepetitions);
  addBenchmark("append/sqlite", inserting(setup), count);

  const std::string work = "append " + withCommas(setup.records.size()) + " records of ten fields";
  report.add({work, "append/zk", "append/sqlite", "SQLite", 0.5});
  report.add({work + ", shared", "append/zk_shared", "append/sqlite", "SQLite", 0});
}

void addWalking(const Setup &setup, Report &report) {
  double tags = 0;
  double coordinates = 0;
  for (const Record &record : setup.records) {
    tags += weigh(record.tag);
    coordinates += record.x;
  }
  const std::string table = setup.path("PIPING.DBF");
  const std::string database = setup.path("piping.sqlite");
  writeInputs(setup, table, database, setup.records.size());
  addBenchmark("walk_text/zk", walkingTable(table, kExclusive, readTag), tags);
  addBenchmark("walk_text/zk_shared", walkingTable(table, kShared, readTag), tags, kFewRepetitions);
  addBenchmark("walk_text/sqlite", walkingColumn(database, "TAG", readTextColumn), tags);
  addBenchmark("walk_number/zk", walkingTable(table, kExclusive, readX), coordinates);
  addBenchmark("walk_number/zk_shared", walkingTable(table, kShared, readX), coordinates,
               kFewRepetitions);
  addBenchmark("walk_number/sqlite", walkingColumn(database, "X", readNumberColumn), coordinates);

  const std::string work = "walk " + withCommas(setup.records.size()) + " records reading one ";
  for (const std::string kind : {"text", "number"}) {
    const std::string name = "walk_" + kind;
    report.add({work + kind, name + "/zk", name + "/sqlite", "SQLite", 1.0});
    report.add({work + kind + ", shared", name + "/zk_shared", name + "/sqlite", "SQLite", 0});
  }
}

}  // namespace zk::bench
