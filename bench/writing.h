// How records get into a table of this library and into one of SQLite.
#pragma once

#include <sqlite3.h>

#include <span>
#include <string>

#include "records.h"
#include "sqlite.h"
#include "works.h"

namespace zk::bench {

// Assigns every field of a new record by name; 0 when all is well.
int appendRecord(int32_t id, const Record &record, Keys keys);

// The statement that insertRecord runs.
std::string insertStatement(Keys keys);
void insertRecord(sqlite3_stmt *statement, const Record &record, Keys keys);

// Each creates the file, fills it and closes it.
void writeTable(const std::string &path, std::span<const Record> records, int mode,
                Keys keys = Keys::kNo);
void writeDatabase(const std::string &path, std::span<const Record> records, Keys keys = Keys::kNo,
                   int pageSize = kLargePages);

// Has the system write the file now, not in the background of the measurements.
void settle(const std::string &path);

// Writes records to a table and a database, for the works that read them.
void writeInputs(const std::string &table, const std::string &database,
                 std::span<const Record> records);

}  // namespace zk::bench
