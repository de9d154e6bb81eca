// Creating tags, seeking, walking in their order and appending with them open, against SQLite.
#include <unistd.h>

#include <filesystem>

#include "indexworks.h"
#include "sqlite.h"
#include "writing.h"
#include "zk/db.h"
#include "zk/extras.h"

namespace zk::bench {
namespace {

constexpr std::size_t kIndexPerRecord = 120;  // bytes of files while a tag is created
constexpr std::size_t kSortingHeap = std::size_t{128} << 20;  // bytes, amply
constexpr std::size_t kFilePerAppend = 2000;
constexpr std::size_t kCacheHeap = std::size_t{48} << 20;  // bytes, for either side's pages

double count(std::span<const Record> records) { return static_cast<double>(records.size()); }

// A fresh copy to be changed.
std::string copyOf(const std::string &path, const char *name) {
  const std::string copy = std::filesystem::path(path).replace_filename(name);
  std::filesystem::copy_file(path, copy, std::filesystem::copy_options::overwrite_existing);
  return copy;
}

// ---- Creating

void prepareToCreate(const IndexInputs &inputs, const std::string &path) {
  growHeap(kSortingHeap);
  growPageCache(path, inputs.records.size() * kIndexPerRecord);
}

Work creatingIndex(const Inputs &inputs, const char *column) {
  return [inputs, column](Stopwatch &watch) {
    const std::string copy = copyOf(inputs->plainDatabase, "new.sqlite");
    const std::string name(column);
    Database database(copy);
    prepareToCreate(*inputs, inputs->path("room"));
    watch.start();
    database.execute("CREATE INDEX created ON piping (" + name + ")");
    watch.stop();
    const double keys =
        database.number("SELECT count(" + name + ") FROM piping INDEXED BY created");
    database.close();
    unlink(copy.c_str());
    return keys;
  };
}

// ---- Seeking

void prepareToSeek(const IndexInputs &inputs) {
  touch(inputs.sought->data(), inputs.sought->size() * sizeof(Sought));
  growHeap(kCacheHeap);
}

// SQLite looks into the index alone for the record's number, and into the table as well for a
// field.
Work seekingInIndex(const Inputs &inputs, Locking locking, Reading reading) {
  return [inputs, locking, reading](Stopwatch &watch) {
    prepareToSeek(*inputs);
    readThrough(inputs->keysDatabase);
    Database database(inputs->keysDatabase, kSmallPages, locking);
    const std::string column = reading == Reading::kPosition ? "rowid" : "QUANTITY";
    const auto statement = database.prepare("SELECT " + column + " FROM piping WHERE CODE = ?");
    double sum = 0;
    watch.start();
    for (const Sought &sought : *inputs->sought) {
      sqlite3_bind_text(statement.get(), 1, sought.code, -1, SQLITE_STATIC);
      require(sqlite3_step(statement.get()) == SQLITE_ROW, "SQLite cannot find a key");
      sum += sqlite3_column_int(statement.get(), 0);
      sqlite3_reset(statement.get());
    }
    watch.stop();
    return sum;
  };
}

// ---- Walking

// The index has all that is asked for.
Work walkingIndex(const Inputs &inputs) {
  return [inputs](Stopwatch &watch) {
    growHeap(kCacheHeap);
    readThrough(inputs->codeDatabase);
    Database database(inputs->codeDatabase);
    const auto statement = database.prepare("SELECT rowid FROM piping ORDER BY CODE");
    double rows = 0;
    watch.start();
    while (sqlite3_step(statement.get()) == SQLITE_ROW) rows += 1;
    watch.stop();
    return rows;
  };
}

// ---- Appending

void prepareToAppend(const IndexInputs &inputs) {
  touch(inputs.additional.data(), inputs.additional.size_bytes());
  growPageCache(inputs.path("room"), inputs.additional.size() * kFilePerAppend);
  growHeap(kCacheHeap);
}

Work insertingWithIndexes(const Inputs &inputs, Journal journal) {
  return [inputs, journal](Stopwatch &watch) {
    const std::string copy = copyOf(inputs->keysDatabase, "appended.sqlite");
    prepareToAppend(*inputs);
    Database database(copy, kSmallPages, Locking::kEachTime, journal);
    auto insertion = database.prepare(insertStatement(Keys::kYes));
    watch.start();
    for (const Record &record : inputs->additional) {
      insertRecord(insertion.get(), record, Keys::kYes);
    }
    watch.stop();
    insertion.reset();
    const std::string first = std::to_string(inputs->additional.front().number);
    const double found = database.number("SELECT count(*) FROM piping WHERE NUMBER >= " + first);
    database.close();
    unlink(copy.c_str());
    return found;
  };
}

}  // namespace

Work creatingTag(const Inputs &inputs, const char *name) {
  return [inputs, name](Stopwatch &watch) {
    const std::string path = inputs->path("NEW.CDX");
    const int32_t id = openTable(*inputs, kExclusive, nullptr);
    prepareToCreate(*inputs, path);
    watch.start();
    createTag(id, path, name);
    watch.stop();
    const double keys = zk_Tag_keyCount(id, 1);
    zk_Db_closeDb(id);
    unlink(path.c_str());
    return keys;
  };
}

double expectedOfSeeks(const IndexInputs &inputs, Reading reading) {
  double sum = 0;
  for (const Sought &sought : *inputs.sought) {
    sum += reading == Reading::kPosition ? sought.number : sought.quantity;
  }
  return sum;
}

Work seekingInTag(const Inputs &inputs, int mode, Reading reading) {
  return [inputs, mode, reading](Stopwatch &watch) {
    prepareToSeek(*inputs);
    const int32_t id = openTable(*inputs, mode, &inputs->keys);
    const int32_t tag = tagNumber(id, kTextTag);
    double sum = 0;
    watch.start();
    for (const Sought &sought : *inputs->sought) {
      require(zk_Db_seekStr(sought.code, id, tag) == 0, "cannot find a key");
      sum +=
          reading == Reading::kPosition ? zk_Db_getRecordNo(id) : zk_Db_getFldInt(id, "QUANTITY");
    }
    watch.stop();
    return sum;
  };
}

Work walkingInOrder(const Inputs &inputs) {
  return [inputs](Stopwatch &watch) {
    growHeap(kCacheHeap);
    const int32_t id = openTable(*inputs, kExclusive, &inputs->keys);
    const int32_t tag = tagNumber(id, kTextTag);
    double records = 0;
    watch.start();
    for (int status = zk_Db_topRec(id, tag); status == 0; status = zk_Db_nextRec(id, tag)) {
      records += 1;
    }
    watch.stop();
    return records;
  };
}

Work appendingWithTags(const Inputs &inputs) {
  return [inputs](Stopwatch &watch) {
    const std::string table = copyOf(inputs->table, "APPENDED.DBF");
    const std::string index = copyOf(inputs->keys, "APPENDED.CDX");
    prepareToAppend(*inputs);
    const int32_t id = openTable(table, kShared, &index);
    watch.start();
    for (const Record &record : inputs->additional) {
      require(appendRecord(id, record, Keys::kYes) == 0, "cannot append");
    }
    watch.stop();
    double found = 0;
    const int32_t code = tagNumber(id, kTextTag);
    const int32_t number = tagNumber(id, kNumberTag);
    for (const Record &record : inputs->additional) {
      const bool inBoth = zk_Db_seekStr(record.code, id, code) == 0 &&
                          zk_Db_seekDouble(record.number, id, number) == 0;
      found += inBoth ? 1 : 0;
    }
    zk_Db_closeDb(id);
    unlink(table.c_str());
    unlink(index.c_str());
    return found;
  };
}

void addIndexes(const Setup &setup, Report &report) {
  const Inputs inputs = makeIndexInputs(setup, "indexes", setup.records.size(), true);
  const double records = count(inputs->records);

  addBenchmark("tag_text/zk", creatingTag(inputs, kTextTag), records);
  addBenchmark("tag_text/sqlite", creatingIndex(inputs, kTextTag), records);
  addBenchmark("tag_number/zk", creatingTag(inputs, kNumberTag), records);
  addBenchmark("tag_number/sqlite", creatingIndex(inputs, kNumberTag), records);
  const std::string create = "create a tag of " + withCommas(inputs->records.size()) + " ";
  report.add({create + "random texts", "tag_text/zk", "tag_text/sqlite", "SQLite", 0.35});
  report.add({create + "ascending numbers", "tag_number/zk", "tag_number/sqlite", "SQLite", 0.4});

  const std::string seeks = withCommas(inputs->sought->size()) + " seeks";
  for (const auto &[name, reading] :
       {std::pair("seek", Reading::kPosition), std::pair("seek_read", Reading::kField)}) {
    const bool limited = reading == Reading::kPosition;
    const double expected = expectedOfSeeks(*inputs, reading);
    const std::string one(name);
    const std::string work = limited ? seeks : seeks + " reading one number";
    addBenchmark(one + "/zk", seekingInTag(inputs, kExclusive, reading), expected);
    addBenchmark(one + "/sqlite", seekingInIndex(inputs, Locking::kOnce, reading), expected);
    addBenchmark(one + "/zk_shared", seekingInTag(inputs, kShared, reading), expected);
    addBenchmark(one + "/sqlite_shared", seekingInIndex(inputs, Locking::kEachTime, reading),
                 expected);
    report.add({work, one + "/zk", one + "/sqlite", "SQLite", limited ? 0.5 : 0});
    report.add({work + ", shared", one + "/zk_shared", one + "/sqlite_shared", "SQLite, shared",
                limited ? 0.35 : 0});
  }

  addBenchmark("walk_tag/zk", walkingInOrder(inputs), records);
  addBenchmark("walk_tag/sqlite", walkingIndex(inputs), records);
  report.add({"walk " + withCommas(inputs->records.size()) + " records in a tag's order",
              "walk_tag/zk", "walk_tag/sqlite", "SQLite", 1.5});

  addQueries(inputs, report);

  const double additional = count(inputs->additional);
  addBenchmark("append_tags/zk_shared", appendingWithTags(inputs), additional);
  const std::string appending =
      "append " + withCommas(inputs->additional.size()) + " records with two tags, shared";
  addBenchmark("append_tags/sqlite_shared", insertingWithIndexes(inputs, Journal::kRollback),
               additional);
  report.add(
      {appending, "append_tags/zk_shared", "append_tags/sqlite_shared", "SQLite, shared", 0.6});
  addBenchmark("append_tags/sqlite_unsafe", insertingWithIndexes(inputs, Journal::kNone),
               additional);
  report.add({appending, "append_tags/zk_shared", "append_tags/sqlite_unsafe",
              "SQLite, shared, no journal", 0});
}

}  // namespace zk::bench
