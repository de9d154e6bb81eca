// A cursor made with nothing but the allocations and copies that it takes, and freed again: the
// yardstick for the library's cursors, and what SQLite's rows are put into.
#pragma once

#include <cstddef>

#include "records.h"
#include "zk/dbfld.h"

namespace zk::bench {

char *copied(const char *text, std::size_t length);

DbCursor *newBareCursor();
DbFldList *newBareFields();
void appendBareField(DbFldList *fields, const FieldLayout &layout, const char *text,
                     std::size_t length);
// Hands the fields over.
void appendBareRecord(DbCursor *cursor, DbFldList *fields, const char *tableName);
void destroyBareCursor(DbCursor *cursor);

}  // namespace zk::bench
