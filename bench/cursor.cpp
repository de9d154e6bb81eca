// Reading a table into a cursor and destroying it, against nothing but the allocations, copies and
// frees that such a cursor takes.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <numeric>

#include "barecursor.h"
#include "measure.h"
#include "sqlite.h"
#include "works.h"
#include "writing.h"
#include "zk/db.h"

namespace zk::bench {
namespace {

constexpr const char *kTableName = "PIPING";
constexpr std::size_t kHeapPerRecord = 2500;  // bytes, amply

// ---- The texts that the cursor holds ------------------------------------------------------------

struct Texts {
  std::string bytes;             // one text behind the other
  std::vector<uint8_t> lengths;  // kFieldCount for each record
};

std::string fixed(double value, int decimals) {
  char text[40];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

std::array<std::string, kFieldCount> textsOf(const Record &record) {
  return {record.tag,
          record.line,
          fixed(record.weight, 2),
          fixed(record.x, 3),
          fixed(record.y, 3),
          fixed(record.z, 3),
          record.installed,
          std::to_string(record.quantity),
          record.insulated ? "T" : "F",
          record.description};
}

std::shared_ptr<Texts> textsOf(const Setup &setup, std::size_t count) {
  auto texts = std::make_shared<Texts>();
  for (std::size_t index = 0; index < count; ++index) {
    for (const std::string &text : textsOf(setup.records[index])) {
      texts->bytes += text;
      texts->lengths.push_back(static_cast<uint8_t>(text.size()));
    }
  }
  return texts;
}

// The number of fields and the bytes of their values, which every way to a cursor has to meet.
double checksum(double fields, double bytes) { return 1000 * fields + bytes; }

double checksum(const DbCursor *cursor) {
  double fields = 0;
  double bytes = 0;
  for (const LnkNode *row = cursor->first; row != nullptr; row = row->next) {
    const auto *record = static_cast<const DbCursorNode *>(row->data);
    for (const LnkNode *node = record->fldList->first; node != nullptr; node = node->next) {
      fields += 1;
      bytes += static_cast<double>(std::strlen(static_cast<DbFldNode *>(node->data)->value));
    }
  }
  return checksum(fields, bytes);
}

// ---- The works ----------------------------------------------------------------------------------

DbCursor *bareCursor(const Texts &texts) {
  DbCursor *cursor = newBareCursor();
  const char *text = texts.bytes.data();
  for (std::size_t index = 0; index < texts.lengths.size();) {
    DbFldList *fields = newBareFields();
    for (const FieldLayout &layout : kFields) {
      const std::size_t length = texts.lengths[index++];
      appendBareField(fields, layout, text, length);
      text += length;
    }
    appendBareRecord(cursor, fields, kTableName);
  }
  return cursor;
}

Work bareWork(const std::shared_ptr<const Texts> &texts) {
  return [texts](Stopwatch &watch) {
    touch(texts->bytes.data(), texts->bytes.size());
    growHeap(texts->lengths.size() / kFieldCount * kHeapPerRecord);
    watch.start();
    DbCursor *cursor = bareCursor(*texts);
    watch.stop();
    const double result = checksum(cursor);
    watch.start();
    destroyBareCursor(cursor);
    watch.stop();
    return result;
  };
}

Work readingTable(const std::string &path, int mode) {
  return [path, mode](Stopwatch &watch) {
    const int32_t id = zk_Db_openDbEx(path.c_str(), mode);
    require(id >= 0, "cannot open the table");
    growHeap(static_cast<std::size_t>(zk_Db_getRecordCount(id)) * kHeapPerRecord);
    watch.start();
    DbCursor *cursor = zk_Db_readTable(id, kTableName, nullptr);
    watch.stop();
    require(cursor != nullptr, "cannot read the table");
    const double result = checksum(cursor);
    watch.start();
    zk_DbCursor_destroy(cursor);
    watch.stop();
    return result;
  };
}

// Every column of every row as a text in a block of its own. Numbers get SQLite's own form, so the
// check is the length of the first column.
Work readingDatabase(const std::string &path, std::size_t count) {
  return [path, count](Stopwatch &watch) {
    Database database(path);
    const auto statement = database.prepare("SELECT * FROM piping");
    std::vector<char *> values;
    values.reserve(count * kFieldCount);
    growHeap(count * kHeapPerRecord);
    watch.start();
    while (sqlite3_step(statement.get()) == SQLITE_ROW) {
      for (int column = 0; column < kFieldCount; ++column) {
        const void *text = sqlite3_column_text(statement.get(), column);
        const int length = sqlite3_column_bytes(statement.get(), column);
        values.push_back(copied(static_cast<const char *>(text), static_cast<std::size_t>(length)));
      }
    }
    watch.stop();
    double bytes = 0;
    for (std::size_t index = 0; index < values.size(); index += kFieldCount) {
      bytes += static_cast<double>(std::strlen(values[index]));
    }
    const double result = checksum(static_cast<double>(values.size()), bytes);
    watch.start();
    for (char *value : values) std::free(value);
    watch.stop();
    return result;
  };
}

}  // namespace

void addCursors(const Setup &setup, Report &report) {
  const std::size_t count = setup.records.size() / 5;
  const std::shared_ptr<const Texts> texts = textsOf(setup, count);
  const double fields = static_cast<double>(texts->lengths.size());
  const double expected = checksum(fields, static_cast<double>(texts->bytes.size()));
  double firstColumn = 0;
  for (std::size_t index = 0; index < texts->lengths.size(); index += kFieldCount) {
    firstColumn += texts->lengths[index];
  }

  const std::string table = setup.path("CURSOR.DBF");
  const std::string database = setup.path("cursor.sqlite");
  writeInputs(table, database, std::span(setup.records).first(count));
  addBenchmark("cursor/zk", readingTable(table, kExclusive), expected);
  addBenchmark("cursor/zk_shared", readingTable(table, kShared), expected, kFewRepetitions);
  addBenchmark("cursor/bare", bareWork(texts), expected);
  addBenchmark("cursor/sqlite", readingDatabase(database, count), checksum(fields, firstColumn));

  const std::string work = "read " + withCommas(count) + " records into a cursor, destroy it";
  report.add({work, "cursor/zk", "cursor/bare", "bare allocations", 1.4});
  report.add({work + ", shared", "cursor/zk_shared", "cursor/bare", "bare allocations", 0});
  report.add({work, "cursor/zk", "cursor/sqlite", "SQLite, columns copied", 0});
}

}  // namespace zk::bench
