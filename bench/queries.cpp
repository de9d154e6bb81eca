// Queries for a thousandth of the records into a cursor, against SQLite.
#include <cstdlib>
#include <cstring>

#include "barecursor.h"
#include "indexworks.h"
#include "sqlite.h"
#include "zk/db.h"

namespace zk::bench {
namespace {

constexpr const char *kTableName = "ITEMS";

// Of the lines a twelfth, of the quantities 12 out of 1000.
constexpr const char *kCondition = "LINE = '24\"-CW-' .AND. QUANTITY < 12";
constexpr const char *kRows = "LINE >= '24\"-CW-' AND LINE < '24\"-CW.' AND QUANTITY < 12";

bool matches(const Record &record) {
  return std::strncmp(record.line, "24\"-CW-", 7) == 0 && record.quantity < 12;
}

// The sum of the numbers, each the second field of its record.
double sumOfNumbers(const DbCursor *cursor) {
  double sum = 0;
  for (const LnkNode *row = cursor->first; row != nullptr; row = row->next) {
    const DbFldList *fields = static_cast<const DbCursorNode *>(row->data)->fldList;
    sum += std::atof(static_cast<const DbFldNode *>(fields->first->next->data)->value);
  }
  return sum;
}

DbFldList *fieldsOfRow(sqlite3_stmt *statement, const std::vector<FieldLayout> &layouts) {
  DbFldList *fields = newBareFields();
  int column = 0;
  for (const FieldLayout &layout : layouts) {
    const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(statement, column));
    const int length = sqlite3_column_bytes(statement, column++);
    appendBareField(fields, layout, text, static_cast<std::size_t>(length));
  }
  return fields;
}

// The rows in the structure that the library's cursors have.
Work queryingDatabase(const std::string &path, const char *index) {
  return [path, index](Stopwatch &watch) {
    readThrough(path);
    Database database(path);
    const auto statement =
        database.prepare(std::string("SELECT * FROM piping ") + index + " WHERE " + kRows);
    const std::vector<FieldLayout> layouts = fieldsOf(Keys::kYes);
    watch.start();
    DbCursor *cursor = newBareCursor();
    while (sqlite3_step(statement.get()) == SQLITE_ROW) {
      appendBareRecord(cursor, fieldsOfRow(statement.get(), layouts), kTableName);
    }
    sqlite3_reset(statement.get());
    watch.stop();
    const double sum = sumOfNumbers(cursor);
    watch.start();
    destroyBareCursor(cursor);
    watch.stop();
    return sum;
  };
}

}  // namespace

double expectedOfQuery(const IndexInputs &inputs) {
  double sum = 0;
  for (const Record &record : inputs.records) sum += matches(record) ? record.number : 0;
  return sum;
}

Work queryingTable(const Inputs &inputs, Access access) {
  return [inputs, access](Stopwatch &watch) {
    const std::string *index = access == Access::kTag ? &inputs->quantities : nullptr;
    const int32_t id = openTable(*inputs, kExclusive, index);
    watch.start();
    DbCursor *cursor = zk_Db_query(id, kCondition, kTableName, nullptr);
    watch.stop();
    require(cursor != nullptr, "cannot query the table");
    const double sum = sumOfNumbers(cursor);
    watch.start();
    zk_DbCursor_destroy(cursor);
    watch.stop();
    return sum;
  };
}

void addQueries(const Inputs &inputs, Report &report) {
  const double expected = expectedOfQuery(*inputs);
  addBenchmark("query/zk", queryingTable(inputs, Access::kScan), expected);
  addBenchmark("query/sqlite", queryingDatabase(inputs->plainDatabase, "NOT INDEXED"), expected);
  addBenchmark("query_tag/zk", queryingTable(inputs, Access::kTag), expected);
  addBenchmark("query_tag/sqlite",
               queryingDatabase(inputs->quantityDatabase, "INDEXED BY quantity"), expected);

  const std::string work = "query " + withCommas(inputs->records.size()) + " records by two fields";
  report.add({work, "query/zk", "query/sqlite", "SQLite", 0.8});
  report.add({work + ", one with a tag", "query_tag/zk", "query_tag/sqlite", "SQLite", 1.0});
}

}  // namespace zk::bench
