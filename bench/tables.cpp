// Appending records and walking them, against SQLite doing the same.
#include <unistd.h>

#include "measure.h"
#include "sqlite.h"
#include "works.h"
#include "writing.h"
#include "zk/db.h"

namespace zk::bench {
namespace {

constexpr std::size_t kFilePerRecord = 200;  // bytes, amply

// ---- Appending ----------------------------------------------------------------------------------

double tableLength(const std::string &path) {
  const int32_t id = zk_Db_openDb(path.c_str());
  const int32_t count = zk_Db_getRecordCount(id);
  zk_Db_closeDb(id);
  return count;
}

double databaseLength(const std::string &path) {
  return Database(path).number("SELECT count(*) FROM piping");
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
    writeTable(path, setup.records, mode);
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
    writeDatabase(path, setup.records);
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
  writeInputs(table, database, setup.records);
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
