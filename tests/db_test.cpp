#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <clocale>
#include <cstring>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "tests/support.h"
#include "zk_baselib.h"

namespace {

using namespace support;
using Texts = std::vector<std::string>;

// Before any test has opened a table.
const int kFirstCloseAll = zk_Db_closeAll();
ZkContext *const kFirstContext = zk_Db_context();

constexpr char kParts[] = "PART C 8, QTY N 7 2, WHEN D, OK L";

class DbTest : public TableTest {
 protected:
  // A table of `count` records with the parts P1, P2, ... and quantities 1, 2, ...; on its top.
  int32_t parts(int count, const std::string &name = "PARTS.DBF") {
    const int32_t table = createTable(path(name), kParts);
    for (int i = 1; i <= count; ++i) {
      appendRecord(table, {{"PART", 'P' + std::to_string(i)}});
      zk_Db_assignFldInt(table, "QTY", i);
    }
    zk_Db_topRec(table, -1);
    return table;
  }
  // The deletion byte and PART of a record as the file has it.
  std::string onDisk(int record, const std::string &name = "PARTS.DBF") const {
    constexpr std::size_t kRecordLength = 1 + 8 + 7 + 8 + 1;
    return bytesOf(name).substr(headerLength(3, 4) + (record - 1) * kRecordLength, 9);
  }
};

// The parts of the records of a table in record order.
Texts allParts(int32_t table) {
  Texts result;
  for (int s = zk_Db_topRec(table, -1); s == 0; s = zk_Db_nextRec(table, -1)) {
    result.push_back(trimmed(table, "PART"));
  }
  return result;
}

// ---- Opening, closing, ids

TEST_F(DbTest, IdsAreOneMoreThanTheLargest) {
  EXPECT_EQ(openTable(path("none")), -1);
  EXPECT_EQ(zk_DbError_code(), -60);
  for (const char *name : {"a", "b", "c"}) ASSERT_GE(createTable(path(name), kParts), 0);
  EXPECT_EQ(zk_Db_closeAll(), 0);

  EXPECT_EQ(openTable(path("a")), 0);
  EXPECT_EQ(openTable(path("b")), 1);
  EXPECT_EQ(openTable(path("c")), 2);
  EXPECT_NE(zk_DbRef_sel(1), nullptr);
  EXPECT_EQ(zk_Db_closeDb(1), 0);
  EXPECT_EQ(zk_DbRef_sel(1), nullptr);
  EXPECT_EQ(zk_Db_closeDb(1), 1);
  EXPECT_EQ(openTable(path("b")), 3);
  EXPECT_EQ(openTable(path("none")), -1);
  EXPECT_EQ(zk_Db_closeDb(3), 0);
  EXPECT_EQ(openTable(path("b")), 3);
  EXPECT_EQ(zk_DbRefNode_find(3)->table, zk_DbRef_sel(3));
  EXPECT_EQ(zk_Db_closeAll(), 0);
  EXPECT_EQ(zk_DbRefNode_find(3), nullptr);
  EXPECT_EQ(openTable(path("c")), 0);
}

TEST_F(DbTest, EntriesOfTheTableRegistry) {
  const int32_t table = parts(1);
  ZkTable *const handle = zk_DbRef_sel(table);
  const int32_t second = zk_DbRef_add(handle);
  EXPECT_EQ(second, table + 1);
  EXPECT_EQ(zk_DbRef_sel(second), handle);
  EXPECT_EQ(zk_Db_getRecordCount(table), 1);
  EXPECT_EQ(zk_DbRef_del(table), 1);
  EXPECT_EQ(zk_Db_getRecordCount(table), 0);
  EXPECT_EQ(zk_DbRef_del(table), 0);
  EXPECT_EQ(zk_Db_getRecordCount(second), 1) << "the table itself stays open";
  const int32_t third = zk_DbRef_add(handle);
  EXPECT_EQ(zk_Db_closeDb(second), 0);
  EXPECT_EQ(zk_DbRef_sel(third), nullptr) << "closing leaves no id of the table behind";
  EXPECT_EQ(zk_Db_eof(third), 1);
}

TEST_F(DbTest, NothingToCloseBeforeTheFirstOpen) {
  EXPECT_EQ(kFirstCloseAll, 1);
  EXPECT_EQ(kFirstContext, nullptr);
  EXPECT_NE(zk_Db_context(), nullptr);
  EXPECT_EQ(zk_Db_rendx(), -1);
}

TEST_F(DbTest, UnknownIdGivesTheFailureResult) {
  const int32_t open = parts(1);
  char text[16] = "abc";
  ZkDbInfo info;
  for (const int32_t id : {-1, open + 1, INT_MAX, INT_MIN}) {
    SCOPED_TRACE(id);
    EXPECT_EQ(zk_Db_topRec(id, -1), 1);
    EXPECT_EQ(zk_Db_nextRec(id, -1), 1);
    EXPECT_EQ(zk_Db_seekStr("x", id, 0), 1);
    EXPECT_EQ(zk_Db_eof(id), 1);
    EXPECT_EQ(zk_Db_bof(id), 1);
    EXPECT_EQ(zk_Db_deleted(id), 1);
    EXPECT_EQ(zk_Db_delRec(id), 1);
    EXPECT_EQ(zk_Db_packDb(id), 1);
    EXPECT_EQ(zk_Db_getRecordCount(id), 0);
    EXPECT_EQ(zk_Db_getRecordNo(id), 0);
    EXPECT_EQ(zk_Db_appRec(id), 1);
    EXPECT_EQ(zk_Db_append(id), 1);
    EXPECT_EQ(zk_Db_writeRec(id), 1);
    EXPECT_EQ(zk_Db_modRec(id, nullptr), 1);
    EXPECT_EQ(zk_Db_assignFldStr(id, "PART", "x"), 1);
    EXPECT_STREQ(zk_Db_getFldStr(id, "PART"), "");
    EXPECT_EQ(zk_Db_getFldDouble(id, "QTY"), 0.0);
    EXPECT_EQ(zk_Db_getFldInt(id, "QTY"), 0);
    EXPECT_EQ(zk_Db_padVal(text, id, "PART"), 1);
    EXPECT_STREQ(text, "abc");
    EXPECT_EQ(zk_Db_readRec(id, nullptr), nullptr);
    EXPECT_EQ(zk_Db_struct(id), nullptr);
    EXPECT_EQ(zk_Db_readTable(id, "T", nullptr), nullptr);
    EXPECT_EQ(zk_Db_query(id, "", "T", nullptr), nullptr);
    EXPECT_EQ(zk_Db_closeDb(id), 1);
    EXPECT_EQ(zk_Db_getInfo(id, &info), 0);
    EXPECT_STREQ(zk_Db_getFileName(id), "");
    EXPECT_EQ(zk_Db_goRec(id, 1), 1);
    EXPECT_EQ(zk_Db_getFldLength(id, "PART"), -1);
    EXPECT_EQ(zk_Db_flush(id), 1);
    EXPECT_EQ(zk_Db_field(id, 1), nullptr);
    char buffer[4] = "old";
    EXPECT_EQ(zk_Db_cpyFldN(id, "PART", buffer, 3), 0);
    EXPECT_STREQ(buffer, "");
  }
  EXPECT_EQ(zk_Db_getRecordCount(open), 1);
}

TEST_F(DbTest, OpenModeIsForOneOpenOnly) {
  zk_Db_closeDb(parts(1));
  for (const int mode : {-1, 3, 100}) EXPECT_EQ(openTable(path("parts"), mode), -1) << mode;
  EXPECT_EQ(openTable(path("none"), 2), -1);
  // Two shared handles of one program go together, an exclusive one with nobody.
  const int32_t first = zk_Db_openDb(path("parts").c_str());
  const int32_t second = zk_Db_openDb(path("parts").c_str());
  ASSERT_EQ(first, 0);
  ASSERT_EQ(second, 1);
  EXPECT_EQ(openTable(path("parts"), 2), -1);
  EXPECT_EQ(zk_DbError_code(), -60);
  appendRecord(first, {{"PART", "NEW"}});
  EXPECT_EQ(zk_Db_getRecordCount(second), 2);
  EXPECT_EQ(zk_Db_botRec(second, -1), 0);
  EXPECT_EQ(trimmed(second, "PART"), "NEW");
}

TEST_F(DbTest, CreatingReplacesOnlyWhatNobodyHasOpen) {
  const int32_t open = parts(2);
  EXPECT_EQ(createTable(path("PARTS.DBF"), "OTHER C 5"), -1);
  EXPECT_EQ(zk_DbError_code(), -20);
  EXPECT_EQ(allParts(open), (Texts{"P1", "P2"}));
  zk_Db_closeDb(open);

  const std::string before = bytesOf("PARTS.DBF");
  EXPECT_EQ(createTable(path("PARTS.DBF"), "A C 5, A C 5"), -1);
  EXPECT_EQ(zk_Db_createDb(path("PARTS.DBF").c_str(), nullptr), -1);
  EXPECT_EQ(createTable(path("nowhere/PARTS.DBF"), kParts), -1);
  EXPECT_EQ(bytesOf("PARTS.DBF"), before);

  const int32_t replaced = createTable(path("parts"), "OTHER C 5");
  ASSERT_GE(replaced, 0);
  EXPECT_EQ(zk_Db_getRecordCount(replaced), 0);
  EXPECT_EQ(fieldText(replaced, "OTHER"), "     ");
  EXPECT_EQ(files(), (Texts{"PARTS.DBF"}));
}

TEST_F(DbTest, StaleHandlesCountAsNull) {
  const int32_t table = parts(1);
  ZkTable *handle = zk_DbRef_sel(table);
  ZkField *field = zk_Db_field(table, 1);
  ASSERT_NE(field, nullptr);
  EXPECT_EQ(zk_Db_field(table, 0), nullptr);
  EXPECT_EQ(zk_Db_field(table, 5), nullptr);
  DbFldNode *node = zk_DbFldNode_fromFld(field);
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(zk_Db_updFld(handle, node), 0);
  EXPECT_EQ(zk_d4write(handle, 1), 0);
  zk_Db_closeDb(table);

  EXPECT_EQ(zk_Db_updFld(handle, node), 1);
  EXPECT_EQ(zk_d4write(handle, 1), 1);
  EXPECT_EQ(zk_Db_readCurrRec(handle, nullptr), nullptr);
  EXPECT_EQ(zk_DbFldNode_fromFld(field), nullptr);
  EXPECT_EQ(zk_DbRef_add(handle), -1);
  EXPECT_EQ(zk_Cb_init(reinterpret_cast<ZkContext *>(node)), 0);
  EXPECT_EQ(zk_Cb_init(zk_Db_context()), 1);
  zk_DbFldNode_destroy(node);
}

// ---- Position

TEST_F(DbTest, PositionsAndStatuses) {
  struct Step {
    const char *name;
    int (*move)(int32_t);
  };
  const Step kTop = {"top", [](int32_t t) { return zk_Db_topRec(t, -1); }};
  const Step kBottom = {"bottom", [](int32_t t) { return zk_Db_botRec(t, 5); }};
  const Step kNext = {"next", [](int32_t t) { return zk_Db_nextRec(t, 0); }};
  const Step kPrev = {"prev", [](int32_t t) { return zk_Db_prevRec(t, 100); }};
  const Step kGo2 = {"go 2", [](int32_t t) { return zk_Db_goRec(t, 2); }};
  const Step kGo4 = {"go 4", [](int32_t t) { return zk_Db_goRec(t, 4); }};
  const Step kGo0 = {"go 0", [](int32_t t) { return zk_Db_goRec(t, 0); }};
  const struct {
    int records;
    Step step;
    int status, number, eof, bof;
  } kWalk[] = {
      {3, kTop, 0, 1, 0, 0},  {3, kPrev, 4, 1, 0, 1},   {3, kPrev, 4, 1, 0, 1},
      {3, kNext, 0, 2, 0, 0}, {3, kGo4, -930, 2, 0, 0}, {3, kNext, 0, 3, 0, 0},
      {3, kNext, 3, 4, 1, 0}, {3, kNext, 3, 4, 1, 0},   {3, kGo0, -930, 4, 1, 0},
      {3, kPrev, 0, 3, 0, 0}, {3, kGo2, 0, 2, 0, 0},    {3, kBottom, 0, 3, 0, 0},
      {0, kTop, 3, 1, 1, 1},  {0, kBottom, 3, 1, 1, 1}, {0, kNext, 3, 1, 1, 1},
      {0, kPrev, 4, 1, 1, 1}, {0, kGo2, -930, 1, 1, 1},
  };
  parts(3, "three");
  parts(0, "none");
  zk_Db_closeAll();
  for (const int mode : {0, 1, 2}) {
    const int32_t three = openTable(path("three"), mode);
    const int32_t none = openTable(path("none"), mode);
    for (const auto &c : kWalk) {
      SCOPED_TRACE(std::string(c.step.name) + " of " + std::to_string(c.records));
      const int32_t table = c.records == 3 ? three : none;
      EXPECT_EQ(c.step.move(table), c.status);
      EXPECT_EQ(zk_Db_getRecordNo(table), c.number);
      EXPECT_EQ(zk_Db_eof(table) != 0, c.eof != 0);
      EXPECT_EQ(zk_Db_bof(table) != 0, c.bof != 0);
      EXPECT_EQ(trimmed(table, "PART"), c.eof ? "" : 'P' + std::to_string(c.number));
    }
    zk_Db_closeAll();
  }
}

// ---- Changes and when they are written

struct Operation {
  const char *name;
  int (*run)(int32_t table);
  int status;
};

int destroyed(DbCursor *cursor) { return zk_DbCursor_destroy(cursor); }

// Everything before which a changed record is written.
const Operation kFlushing[] = {
    {"top", [](int32_t t) { return zk_Db_topRec(t, -1); }, 0},
    {"bottom", [](int32_t t) { return zk_Db_botRec(t, -1); }, 0},
    {"next", [](int32_t t) { return zk_Db_nextRec(t, -1); }, 0},
    {"prev", [](int32_t t) { return zk_Db_prevRec(t, -1); }, 0},
    {"go", [](int32_t t) { return zk_Db_goRec(t, 3); }, 0},
    {"go nowhere", [](int32_t t) { return zk_Db_goRec(t, 99); }, -930},
    {"seek text", [](int32_t t) { return zk_Db_seekStr("P1", t, 0); }, 80},
    {"seek number", [](int32_t t) { return zk_Db_seekDouble(1, t, 0); }, 80},
    {"append blank", [](int32_t t) { return zk_Db_appRec(t); }, 0},
    {"append start", [](int32_t t) { return zk_Db_appendStart(t); }, 0},
    {"pack", [](int32_t t) { return zk_Db_packDb(t); }, 0},
    {"read table", [](int32_t t) { return destroyed(zk_Db_readTable(t, "T", nullptr)); }, 1},
    {"query", [](int32_t t) { return destroyed(zk_Db_query(t, "", "T", nullptr)); }, 1},
    {"write", [](int32_t t) { return zk_Db_writeRec(t); }, 0},
    {"flush", [](int32_t t) { return zk_Db_flush(t); }, 0},
    {"close", [](int32_t t) { return zk_Db_closeDb(t); }, 0},
    {"close all", [](int32_t) { return zk_Db_closeAll(); }, 0},
};

TEST_F(DbTest, ChangesAreWrittenBeforeTheRecordIsLeft) {
  for (const Operation &operation : kFlushing) {
    SCOPED_TRACE(operation.name);
    const int32_t table = parts(3);
    zk_Db_goRec(table, 2);
    EXPECT_EQ(zk_Db_assignFldStr(table, "PART", "CHANGED"), 0);
    EXPECT_EQ(onDisk(2), " P2      ");
    EXPECT_EQ(operation.run(table), operation.status);
    EXPECT_EQ(onDisk(2), " CHANGED ");
    zk_Db_closeAll();
  }
}

TEST_F(DbTest, ReadingDoesNotWriteTheChange) {
  const int32_t table = parts(2);
  zk_Db_assignFldStr(table, "PART", "CHANGED");
  zk_Db_delRec(table);
  EXPECT_EQ(trimmed(table, "PART"), "CHANGED");
  EXPECT_NE(zk_Db_deleted(table), 0);
  zk_DbFldList_destroy(zk_Db_struct(table));
  zk_Db_getRecordCount(table);
  zk_Db_eof(table);
  EXPECT_EQ(onDisk(1), " P1      ");
  zk_Db_undelRec(table);
  zk_Db_nextRec(table, -1);
  zk_Db_delRec(table);
  zk_Db_topRec(table, -1);
  EXPECT_EQ(onDisk(1), " CHANGED ");
  EXPECT_EQ(onDisk(2), "*P2      ");
}

TEST_F(DbTest, NothingIsWrittenAtEndOfFile) {
  const int32_t table = parts(2);
  const std::string before = bytesOf("PARTS.DBF");
  for (const Operation &operation : kFlushing) {
    if (std::string(operation.name).starts_with("append")) continue;
    if (std::string(operation.name).starts_with("close")) break;
    SCOPED_TRACE(operation.name);
    zk_Db_botRec(table, -1);
    EXPECT_EQ(zk_Db_nextRec(table, -1), 3);
    EXPECT_EQ(zk_Db_assignFldStr(table, "PART", "LOST"), 0);
    zk_Db_delRec(table);
    operation.run(table);
    EXPECT_EQ(allParts(table), (Texts{"P1", "P2"}));
  }
  zk_Db_closeDb(table);
  EXPECT_EQ(bytesOf("PARTS.DBF"), before);
}

TEST_F(DbTest, ReadOnlyFileRefusesChanges) {
  zk_Db_closeDb(parts(2));
  const std::string before = bytesOf("PARTS.DBF");
  fs::permissions(path("PARTS.DBF"),
                  fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                  fs::perm_options::remove);
  const int32_t table = openTable(path("PARTS.DBF"));
  ASSERT_GE(table, 0);
  ZkDbInfo info;
  ASSERT_EQ(zk_Db_getInfo(table, &info), 1);
  EXPECT_EQ(info.readOnly, 1);
  EXPECT_STRNE(zk_Db_readOnlyReason(table), "");

  for (const Operation &operation : kFlushing) {
    const std::string name = operation.name;
    if (name.starts_with("close")) break;
    SCOPED_TRACE(name);
    EXPECT_EQ(zk_Db_goRec(table, 2), 0);
    zk_Db_assignFldStr(table, "PART", "X");
    const int status = operation.run(table);
    EXPECT_EQ(status, name == "read table" || name == "query" || name == "write" ? 0 : -120);
    EXPECT_EQ(zk_DbError_code(), -120);
    EXPECT_EQ(zk_Db_getRecordNo(table), 2) << "the position stays";
    zk_Db_topRec(table, -1);  // may report the change once more
  }
  zk_Db_goRec(table, 2);
  EXPECT_EQ(zk_Db_appRec(table), -120);
  EXPECT_STREQ(zk_DbError_text(), "Attempt to write to a read-only file");
  EXPECT_EQ(trimmed(table, "PART"), "P2");
  EXPECT_EQ(zk_d4write(zk_DbRef_sel(table), 1), -120);
  EXPECT_EQ(zk_Db_packDb(table), -120);
  zk_Db_delRec(table);
  EXPECT_EQ(zk_Db_closeDb(table), -120) << "a close reports what it drops";
  EXPECT_EQ(zk_Db_closeDb(table), 1) << "and closes all the same";
  EXPECT_EQ(createTable(path("PARTS.DBF"), kParts), -1);
  EXPECT_EQ(bytesOf("PARTS.DBF"), before);
  fs::permissions(path("PARTS.DBF"), fs::perms::owner_write, fs::perm_options::add);
}

// ---- Appending and writing

TEST_F(DbTest, AppendBegunAndCompleted) {
  const int32_t table = parts(2);
  EXPECT_EQ(zk_Db_append(table), -930);
  zk_Db_delRec(table);
  EXPECT_EQ(zk_Db_appendStart(table), 0);
  EXPECT_EQ(zk_Db_getRecordNo(table), 0);
  EXPECT_EQ(zk_Db_deleted(table), 0) << "the new record is not deleted";
  EXPECT_EQ(trimmed(table, "PART"), "P1") << "the buffer keeps its values";
  EXPECT_EQ(zk_Db_assignFldStr(table, "PART", "NEW"), 0);
  EXPECT_EQ(zk_Db_appendStart(table), 0) << "begun already";
  EXPECT_EQ(zk_Db_getRecordCount(table), 2);
  EXPECT_EQ(zk_Db_append(table), 0);
  EXPECT_EQ(zk_Db_getRecordNo(table), 3);
  EXPECT_EQ(zk_Db_getRecordCount(table), 3);
  EXPECT_EQ(zk_Db_getFldDouble(table, "QTY"), 1.0);
  EXPECT_EQ(zk_Db_append(table), -930) << "each append needs a start of its own";

  EXPECT_EQ(zk_Db_nextRec(table, -1), 3);
  EXPECT_EQ(zk_Db_appendStart(table), 0);
  EXPECT_EQ(fieldText(table, "PART"), "        ");
  EXPECT_EQ(zk_Db_append(table), 0);
  EXPECT_EQ(allParts(table), (Texts{"P1", "P2", "NEW", ""}));
  EXPECT_EQ(onDisk(1), "*P1      ");
}

TEST_F(DbTest, LeavingAbandonsTheAppend) {
  for (const Operation &operation : kFlushing) {
    const std::string name = operation.name;
    if (name == "append start" || name == "write" || name == "flush") continue;
    SCOPED_TRACE(name);
    const int32_t table = parts(3);
    zk_Db_goRec(table, 2);
    zk_Db_delRec(table);
    EXPECT_EQ(zk_Db_appendStart(table), 0);
    EXPECT_EQ(zk_Db_assignFldStr(table, "PART", "NEVER"), 0);
    EXPECT_EQ(operation.run(table), operation.status);
    if (!name.starts_with("close")) {
      EXPECT_NE(trimmed(table, "PART"), "NEVER");
      EXPECT_NE(zk_Db_getRecordNo(table), 0);
      if (operation.status < 0) {
        EXPECT_NE(zk_Db_deleted(table), 0) << "record 2 is deleted";
      }
      EXPECT_EQ(zk_Db_append(table), -930);
    }
    zk_Db_closeAll();
    const int32_t again = openTable(path("PARTS.DBF"));
    for (const std::string &part : allParts(again)) EXPECT_NE(part, "NEVER");
    EXPECT_EQ(zk_Db_getRecordCount(again), name == "pack" ? 2 : name == "append blank" ? 4 : 3);
    zk_Db_closeAll();
  }
}

TEST_F(DbTest, AppendsFromTheEndMoveOnFromThere) {
  const int32_t table = parts(2);
  zk_Db_botRec(table, -1);
  zk_Db_nextRec(table, -1);
  zk_Db_appendStart(table);
  zk_Db_assignFldStr(table, "PART", "NEVER");
  EXPECT_EQ(zk_Db_goRec(table, 77), -930);
  EXPECT_NE(zk_Db_eof(table), 0);
  EXPECT_EQ(fieldText(table, "PART"), "        ") << "the record behind the last is blank";
  EXPECT_EQ(zk_Db_getRecordNo(table), 3);
  EXPECT_EQ(zk_Db_prevRec(table, -1), 0);
  EXPECT_EQ(trimmed(table, "PART"), "P2");
}

TEST_F(DbTest, AppendBlankInEveryMode) {
  zk_Db_closeDb(parts(0));
  int expected = 0;
  for (const int mode : {0, 1, 2}) {
    SCOPED_TRACE(mode);
    const int32_t table = openTable(path("PARTS.DBF"), mode);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(zk_Db_appRec(table), 0);
      EXPECT_EQ(zk_Db_getRecordNo(table), ++expected);
      EXPECT_EQ(fieldText(table, "WHEN"), "        ");
      zk_Db_assignFldInt(table, "QTY", expected);
    }
    // A record of the tail that is not in the file yet is read and changed like any other.
    EXPECT_EQ(zk_Db_goRec(table, expected - 1), 0);
    EXPECT_EQ(zk_Db_getFldInt(table, "QTY"), expected - 1);
    zk_Db_assignFldStr(table, "PART", "MID");
    EXPECT_EQ(zk_Db_botRec(table, -1), 0);
    EXPECT_EQ(zk_Db_prevRec(table, -1), 0);
    EXPECT_EQ(trimmed(table, "PART"), "MID");
    EXPECT_EQ(zk_Db_closeDb(table), 0);
    EXPECT_EQ(littleAt(bytesOf("PARTS.DBF"), 4, 4), static_cast<unsigned>(expected));
    EXPECT_EQ(onDisk(expected - 1), " MID     ");
    EXPECT_EQ(bytesOf("PARTS.DBF").back(), '\x1A');
  }
}

TEST_F(DbTest, WritingTheBufferToAnotherRecord) {
  const int32_t table = parts(3);
  ZkTable *handle = zk_DbRef_sel(table);
  zk_Db_assignFldStr(table, "PART", "COPY");
  for (const int32_t outside : {0, -1, 4, INT_MAX, INT_MIN}) {
    EXPECT_EQ(zk_d4write(handle, outside), -930) << outside;
    EXPECT_EQ(zk_Db_getRecordNo(table), 1);
  }
  EXPECT_EQ(zk_d4write(handle, 3), 0);
  EXPECT_EQ(zk_Db_getRecordNo(table), 3);
  EXPECT_EQ(allParts(table), (Texts{"P1", "P2", "COPY"}));

  // From behind the last record, too: the buffer becomes a record like any other.
  zk_Db_nextRec(table, -1);
  zk_Db_assignFldStr(table, "PART", "LATE");
  EXPECT_EQ(zk_d4write(handle, 2), 0);
  EXPECT_EQ(zk_Db_eof(table), 0);
  EXPECT_EQ(allParts(table), (Texts{"P1", "LATE", "COPY"}));
}

TEST_F(DbTest, ModRecStoresWhatItCan) {
  const struct {
    const char *name;
    std::vector<std::pair<const char *, const char *>> nodes;  // a null value: node without one
    int status;
    const char *record;  // PART, QTY, WHEN, OK
  } kCases[] = {
      {"all", {{"PART", "NEW"}, {"QTY", "1.5"}}, 0, "NEW        1.5020240131T"},
      {"unknown name", {{"NOPE", "1"}, {"PART", "NEW"}}, 1, "NEW        1.0020240131T"},
      {"no value", {{"PART", nullptr}, {"QTY", "2"}}, 1, "OLD        2.0020240131T"},
      {"names in any case", {{"part", "NEW"}, {"Qty  ", "3"}}, 0, "NEW        3.0020240131T"},
      {"logical takes the number's byte", {{"OK", "84"}}, 0, "OLD        1.0020240131T"},
      {"so a letter is lost", {{"OK", "T"}}, 0, "OLD        1.0020240131"},
      {"number that is none", {{"QTY", "x"}}, 0, "OLD        0.0020240131T"},
      {"number too wide", {{"QTY", "12345678"}}, 0, "OLD     *******20240131T"},
      {"text is cut", {{"PART", "123456789"}}, 0, "12345678   1.0020240131T"},
      {"impossible date", {{"WHEN", "20239999"}}, 0, "OLD        1.0020239999T"},
      {"empty values", {{"PART", ""}, {"WHEN", ""}}, 0, "           1.00        T"},
  };
  for (const auto &c : kCases) {
    SCOPED_TRACE(c.name);
    const int32_t table = parts(1);
    zk_Db_assignFldStr(table, "PART", "OLD");
    zk_Db_assignFldStr(table, "WHEN", "20240131");
    zk_Db_assignFldStr(table, "OK", "T");
    zk_Db_writeRec(table);
    const List list(zk_DbFldList_create(static_cast<const char *>(nullptr)));
    for (const auto &[name, value] : c.nodes) {
      zk_DbFldList_insEnd(list.get(), name, value, 0, 0, 'C');
    }
    EXPECT_EQ(zk_Db_modRec(table, list.get()), c.status);
    std::string expected = c.record;
    expected.resize(24, '\0');
    EXPECT_EQ(bytesOf("PARTS.DBF").substr(headerLength(3, 4) + 1, 24), expected);
    zk_Db_closeAll();
  }
}

TEST_F(DbTest, ModRecOfNothingWritesNothing) {
  const int32_t table = parts(1);
  zk_Db_assignFldStr(table, "PART", "PENDING");
  EXPECT_EQ(zk_Db_modRec(table, nullptr), 0);
  EXPECT_EQ(onDisk(1), " P1      ");
  const List empty = fieldList("");
  EXPECT_EQ(zk_Db_modRec(table, empty.get()), 0);
  EXPECT_EQ(onDisk(1), " PENDING ");
  const List list = fieldList("PART C 8");
  void *const node = std::exchange(list->first->data, nullptr);
  EXPECT_EQ(zk_Db_modRec(table, list.get()), 1);
  list->first->data = node;
}

// ---- Deleting and packing

TEST_F(DbTest, PackRemovesWhatIsMarked) {
  const struct {
    const char *marks;  // deletion byte of each record; anything but a blank counts
    Texts left;
  } kCases[] = {
      {"    ", {"P1", "P2", "P3", "P4"}},
      {"*  *", {"P2", "P3"}},
      {" ** ", {"P1", "P4"}},
      {"x  D", {"P2", "P3"}},
      {"****", {}},
  };
  for (const int mode : {0, 1, 2}) {
    for (const auto &c : kCases) {
      SCOPED_TRACE(std::string(c.marks) + " in mode " + std::to_string(mode));
      zk_Db_closeDb(parts(4));
      for (std::size_t i = 0; i < 4; ++i) {
        patchFile(path("PARTS.DBF"), headerLength(3, 4) + i * 25, std::string(1, c.marks[i]));
      }
      const int32_t table = openTable(path("PARTS.DBF"), mode);
      EXPECT_EQ(zk_Db_deleted(table) != 0, c.marks[0] != ' ');
      EXPECT_EQ(zk_Db_packDb(table), 0);
      const auto left = static_cast<int32_t>(c.left.size());
      EXPECT_EQ(zk_Db_getRecordCount(table), left);
      EXPECT_EQ(zk_Db_getRecordNo(table), 1);
      EXPECT_EQ(zk_Db_eof(table) != 0, left == 0);
      EXPECT_EQ(allParts(table), c.left);
      EXPECT_EQ(sizeOf("PARTS.DBF"), headerLength(3, 4) + 25 * c.left.size() + 1);

      appendRecord(table, {{"PART", "AFTER"}});
      EXPECT_EQ(zk_Db_getRecordNo(table), left + 1);
      EXPECT_EQ(zk_Db_packDb(table), 0);
      EXPECT_EQ(zk_Db_closeDb(table), 0);
      EXPECT_EQ(files(), (Texts{"PARTS.DBF"})) << "nothing is left beside the table";
      const int32_t again = openTable(path("PARTS.DBF"));
      EXPECT_EQ(zk_Db_getRecordCount(again), left + 1);
      zk_Db_closeAll();
    }
  }
}

TEST_F(DbTest, RecallTakesAnyMarkAway) {
  zk_Db_closeDb(parts(1));
  patchFile(path("PARTS.DBF"), headerLength(3, 4), "\x01");
  const int32_t table = openTable(path("PARTS.DBF"));
  EXPECT_NE(zk_Db_deleted(table), 0);
  EXPECT_EQ(zk_Db_undelRec(table), 0);
  EXPECT_EQ(zk_Db_deleted(table), 0);
  EXPECT_EQ(zk_Db_flush(table), 0);
  EXPECT_EQ(onDisk(1), " P1      ");
}

TEST_F(DbTest, PackReportsItsProgress) {
  struct Seen {
    int calls = 0;
    std::int64_t done = -1, total = -1;
    bool ordered = true;
  } seen;
  const auto note = [](const char *stage, int64_t done, int64_t total, void *user) {
    auto &log = *static_cast<Seen *>(user);
    log.ordered = log.ordered && done >= log.done && done <= total;
    EXPECT_STREQ(stage, "Packing");
    ++log.calls;
    log.done = done;
    log.total = total;
  };
  const int32_t table = createTable(path("wide"), "A C 60000");
  for (int i = 0; i < 40; ++i) zk_Db_appRec(table);
  zk_Db_delRec(table);
  zk_Db_setProgress(note, &seen);
  EXPECT_EQ(zk_Db_packDb(table), 0);
  EXPECT_GT(seen.calls, 1);
  EXPECT_EQ(seen.done, 40);
  EXPECT_EQ(seen.total, 40);
  EXPECT_TRUE(seen.ordered);
  zk_Db_setProgress(nullptr, nullptr);
  const int calls = seen.calls;
  EXPECT_EQ(zk_Db_packDb(table), 0);
  EXPECT_EQ(seen.calls, calls);
}

// ---- Field values

TEST_F(DbTest, NumbersIntoFields) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const struct {
    const char *type;
    double value;
    const char *text;
  } kCases[] = {
      {"N 7 2", 1.5, "   1.50"},
      {"N 7 2", -1.5, "  -1.50"},
      {"N 7 2", 0, "   0.00"},
      {"N 7 2", -0.0, "   0.00"},
      {"N 7 2", -0.001, "   0.00"},
      {"N 7 2", 0.005, "   0.01"},  // the double is a little more than the half
      {"N 7 2", 1.005, "   1.00"},  // and here a little less
      {"N 7 2", 0.125, "   0.12"},  // a tie goes to the even digit
      {"N 7 2", 9999.99, "9999.99"},
      {"N 7 2", 12345.67, "12345.7"},  // decimals go first
      {"N 7 2", 123456.7, " 123457"},
      {"N 7 2", 9999999, "9999999"},
      {"N 7 2", 9999999.6, "*******"},  // would round up to eight digits
      {"N 7 2", -999999, "-999999"},
      {"N 7 2", -1000000, "*******"},
      {"N 7 2", 1e300, "*******"},
      {"N 7 2", kNan, "*******"},
      {"N 7 2", kInfinity, "*******"},
      {"N 7 2", -kInfinity, "*******"},
      {"N 1", 9, "9"},
      {"N 1", 9.5, "*"},
      {"N 1", -1, "*"},
      {"F 20 10", 1.0 / 3, "        0.3333333333"},
      {"N 20", 1e15, "    1000000000000000"},
      {"N 20 3", 1e-20, "               0.000"},
      {"N 30", 1e22, "       10000000000000000000000"},
      {"C 6", 42.9, "    43"},
      {"D", 20240131, "20240131"},
      {"L", 1, "1"},
  };
  for (const auto &c : kCases) {
    SCOPED_TRACE(std::string(c.type) + ' ' + std::to_string(c.value));
    const int32_t table = createTable(path("t"), std::string("F ") + c.type);
    zk_Db_appRec(table);
    EXPECT_EQ(zk_Db_assignFldDouble(table, "F", c.value), 0);
    EXPECT_EQ(fieldText(table, "F"), c.text);
    if (c.text[0] == '*') {
      EXPECT_EQ(zk_Db_getFldDouble(table, "F"), 0.0);
      EXPECT_EQ(zk_Db_getFldInt(table, "F"), 0);
    }
    zk_Db_closeDb(table);
  }
}

TEST_F(DbTest, IntegersIntoFields) {
  const int32_t table = createTable(path("t"), "WIDE N 11, NARROW N 4 2");
  zk_Db_appRec(table);
  const struct {
    int32_t value;
    const char *wide, *narrow;
  } kCases[] = {
      {0, "          0", "0.00"},       {-7, "         -7", "-7.0"},
      {12, "         12", "12.0"},      {1234, "       1234", "1234"},
      {INT_MAX, " 2147483647", "****"}, {INT_MIN, "-2147483648", "****"},
  };
  for (const auto &c : kCases) {
    EXPECT_EQ(zk_Db_assignFldInt(table, "WIDE", c.value), 0);
    EXPECT_EQ(zk_Db_assignFldInt(table, "NARROW", c.value), 0);
    EXPECT_EQ(fieldText(table, "WIDE"), c.wide);
    EXPECT_EQ(fieldText(table, "NARROW"), c.narrow);
    EXPECT_EQ(zk_Db_getFldInt(table, "WIDE"), c.value);
  }
  EXPECT_EQ(zk_Db_assignFldInt(table, "NONE", 1), 1);
  EXPECT_EQ(zk_Db_assignFldDouble(table, "NONE", 1), 1);
}

// The numbers that a text begins with, through fields and through the plain conversions.
TEST_F(DbTest, NumbersFromText) {
  const struct {
    const char *text;
    double real;
    int32_t integer;
  } kCases[] = {
      {"", 0, 0},
      {".", 0, 0},
      {"-", 0, 0},
      {"********", 0, 0},
      {"0.00**", 0, 0},
      {"abc", 0, 0},
      {"nan", 0, 0},
      {"inf", 0, 0},
      {"0x10", 0, 0},
      {"   42   ", 42, 42},
      {"-1.75", -1.75, -1},
      {"+8", 8, 8},
      {"+-8", 0, 0},
      {".5", 0.5, 0},
      {"5.", 5, 5},
      {"1,5", 1, 1},
      {"12abc", 12, 12},
      {"1.2.3", 1.2, 1},
      {"1e3", 1000, 1},
      {"1e", 1, 1},
      {"1 2", 1, 1},
      {"\t7", 7, 7},
      {"2147483647", 2147483647, INT_MAX},
      {"2147483648", 2147483648.0, INT_MAX},
      {"-2147483648", -2147483648.0, INT_MIN},
      {"-99999999999", -99999999999.0, INT_MIN},
      {"0.1", 0.1, 0},
      {"123456789.123456789", 123456789.123456789, 123456789},
      {"1e-400", 0, 1},
  };
  const int32_t table = createTable(path("t"), "F C 20");
  zk_Db_appRec(table);
  for (const auto &c : kCases) {
    SCOPED_TRACE(c.text);
    const auto length = static_cast<int32_t>(std::string(c.text).size());
    zk_Db_assignFldStr(table, "F", c.text);
    EXPECT_EQ(zk_Db_getFldDouble(table, "F"), c.real);
    EXPECT_EQ(zk_Db_getFldInt(table, "F"), c.integer);
    EXPECT_EQ(zk_c4atod(c.text, length), c.real);
    EXPECT_EQ(zk_c4atoi(c.text, length), c.integer);
    EXPECT_EQ(zk_c4atol(c.text, length + 10), c.integer) << "a NUL ends the text earlier";
  }
  EXPECT_EQ(zk_c4atod("123456", 3), 123.0);
  EXPECT_EQ(zk_c4atod("1.55", 3), 1.5);
  EXPECT_EQ(zk_c4atoi("123456", 1), 1);
  EXPECT_EQ(zk_c4atoi("123456", 0), 0);
  EXPECT_EQ(zk_c4atol("123456", -1), 0);
}

TEST_F(DbTest, TextsIntoFields) {
  const int32_t table = createTable(path("t"), "C C 5, N N 5 1, D D, L L");
  zk_Db_appRec(table);
  using std::string_literals::operator""s;
  const struct {
    const char *field;
    std::string given;
    std::string stored;
  } kCases[] = {
      {"C", "ab", "ab   "},      {"C", "abcdefg", "abcde"},
      {"C", " ab", " ab  "},     {"C", "", "     "},
      {"C", "a\0b"s, "a\0b  "s}, {"C", "\xFF\x80", "\xFF\x80   "},
      {"N", "1", "1    "},       {"N", "text", "text "},
      {"D", "2024", "2024    "}, {"D", "00000000", "00000000"},
      {"L", "?", "?"},           {"L", "TRUE", "T"},
  };
  for (const auto &c : kCases) {
    SCOPED_TRACE(c.field + (' ' + c.given));
    const auto length = static_cast<int32_t>(c.given.size());
    EXPECT_EQ(zk_Db_assignFldStrN(table, c.field, c.given.data(), length), 0);
    EXPECT_EQ(fieldText(table, c.field), c.stored);
    if (c.given.find('\0') != std::string::npos) continue;
    zk_Db_assignFldStr(table, c.field, "");
    EXPECT_EQ(zk_Db_assignFldStr(table, c.field, c.given.c_str()), 0);
    EXPECT_EQ(fieldText(table, c.field), c.stored);
  }
  EXPECT_EQ(zk_Db_assignFldStrN(table, "C", "abc", -1), 0);
  EXPECT_EQ(fieldText(table, "C"), "     ");
  EXPECT_EQ(zk_Db_assignFldStr(table, "NONE", "x"), 1);
  EXPECT_EQ(zk_Db_assignFldStrN(table, "C", nullptr, 3), 1);
}

TEST_F(DbTest, TextsOutOfFields) {
  const int32_t table = createTable(path("t"), "C C 6, BIG C 600");
  zk_Db_appRec(table);
  zk_Db_assignFldStr(table, "C", " ab");
  EXPECT_EQ(trimmed(table, "C"), " ab");
  EXPECT_EQ(zk_Db_getFldLength(table, "C"), 6);
  EXPECT_EQ(zk_Db_getFldLength(table, "NONE"), -1);

  const struct {
    int32_t size;
    const char *text;
  } kCopies[] = {{-1, ""},     {0, ""},       {1, " "},     {3, " ab"},
                 {5, " ab  "}, {6, " ab   "}, {9, " ab   "}};
  for (const auto &c : kCopies) {
    SCOPED_TRACE(c.size);
    char buffer[12] = "??????????";
    EXPECT_EQ(zk_Db_cpyFldN(table, "C", buffer, c.size), static_cast<int32_t>(std::strlen(c.text)));
    EXPECT_STREQ(buffer, c.text);
  }

  const std::string big = std::string(599, 'x') + 'y';
  zk_Db_assignFldStr(table, "BIG", big.c_str());
  EXPECT_EQ(trimmed(table, "BIG"), std::string(511, 'x'));
  EXPECT_EQ(fieldText(table, "BIG"), big);
  // The static result may be the name of the field that is asked for next.
  zk_Db_assignFldStr(table, "C", "BIG");
  EXPECT_STREQ(zk_Db_getFldStr(table, zk_Db_getFldStr(table, "C")), std::string(511, 'x').c_str());
}

TEST_F(DbTest, PadVal) {
  const int32_t table = createTable(path("t"), "C C 4");
  const struct {
    const char *field, *given, *padded;
    int status;
  } kCases[] = {
      {"C", "", "    ", 0},         {"C", "ab", "ab  ", 0}, {"C", "abcd", "abcd", 0},
      {"C", "abcdef", "abcdef", 0}, {"X", "ab", "ab", 1},
  };
  for (const auto &c : kCases) {
    char text[8] = {};
    std::copy_n(c.given, std::strlen(c.given), text);
    EXPECT_EQ(zk_Db_padVal(text, table, c.field), c.status);
    EXPECT_STREQ(text, c.padded);
  }
}

TEST_F(DbTest, FieldNames) {
  const int32_t table =
      createTable(path("t"), "name C 1, A C 1, AB C 1, LONGFIELDNAME C 1, A_1 C 1");
  const struct {
    const char *name;
    bool found;
  } kCases[] = {
      {"NAME", true},
      {"Name", true},
      {"name   ", true},
      {" NAME", false},
      {"NAM", false},
      {"NAMEX", false},
      {"A", true},
      {"A B", false},
      {"", false},
      {"   ", false},
      {"LONGFIELDN", true},
      {"longfieldn  ", true},
      {"LONGFIELDNA", false},
      {"a_1", true},
      {"LONGFIELDNAME", false},
  };
  for (const auto &c : kCases) {
    EXPECT_EQ(zk_Db_getFldLength(table, c.name), c.found ? 1 : -1) << '[' << c.name << ']';
  }
  EXPECT_EQ(zk_Db_getFldLength(table, ("NAME" + std::string(252, ' ')).c_str()), 1);
  EXPECT_EQ(zk_DbError_code(), 0) << "an unknown name is no engine error";
}

// ---- Whole records

// "NAME:type:width:prec:[value]" of every node.
Texts describe(const DbFldList *list) {
  Texts result;
  if (list == nullptr) return {"(null)"};
  for (const LnkNode *element = list->first; element != nullptr; element = element->next) {
    const auto *node = static_cast<const DbFldNode *>(element->data);
    result.push_back(std::string(node->name) + ':' + node->type + ':' +
                     std::to_string(node->width) + ':' + std::to_string(node->prec) + ":[" +
                     (node->value != nullptr ? node->value : "(null)") + ']');
  }
  return result;
}

TEST_F(DbTest, ReadingARecordInPlaceAndAnew) {
  const int32_t table = parts(1);
  zk_Db_assignFldStr(table, "PART", " P 1");
  ZkTable *handle = zk_DbRef_sel(table);

  const List made(zk_Db_readRec(table, nullptr));
  const Texts expected = {"PART:C:8:0:[ P 1]", "QTY:N:7:2:[1.00]", "WHEN:D:8:0:[]", "OK:L:1:0:[]"};
  EXPECT_EQ(describe(made.get()), expected);
  EXPECT_NE(zk_DbFldList_eol(made.get()), 0) << "a list made here has no current node";
  EXPECT_EQ(describe(List(zk_Db_struct(table)).get()), expected);

  const List empty = fieldList("");
  EXPECT_EQ(zk_Db_readCurrRec(handle, empty.get()), empty.get());
  EXPECT_EQ(describe(empty.get()), expected);

  // In place, leading blanks of numbers stay; unknown names become empty texts.
  const List given = fieldList("qty C 3 1, NONE N 9 4, PART C 1, PART C 2");
  zk_DbFldList_start(given.get());
  zk_DbFldList_modCurrVal(given.get(), "old");
  EXPECT_EQ(zk_Db_readCurrRec(handle, given.get()), given.get());
  EXPECT_EQ(describe(given.get()), (Texts{"qty:N:7:2:[   1.00]", "NONE:C:1:0:[]",
                                          "PART:C:8:0:[ P 1]", "PART:C:8:0:[ P 1]"}));
  EXPECT_STREQ(zk_DbFldList_getCurrName(given.get()), "qty") << "the position stays";
}

TEST_F(DbTest, ReadingAWholeTable) {
  const int32_t table = parts(3);
  zk_Db_goRec(table, 2);
  zk_Db_assignFldStr(table, "PART", "PENDING");
  zk_Db_delRec(table);
  const Cursor all(zk_Db_readTable(table, "Stock", nullptr));
  ASSERT_EQ(zk_DbCursor_length(all.get()), 3u);
  EXPECT_NE(zk_Db_eof(table), 0);
  EXPECT_EQ(zk_Db_getRecordNo(table), 4);
  EXPECT_NE(zk_DbCursor_eol(all.get()), 0);
  EXPECT_STREQ(zk_DbCursor_getNthTblName(all.get(), 2), "Stock");
  EXPECT_EQ(describe(zk_DbCursor_getNthFldList(all.get(), 1)),
            (Texts{"PART:C:8:0:[PENDING]", "QTY:N:7:2:[2.00]", "WHEN:D:8:0:[]", "OK:L:1:0:[]"}));

  const List fields = fieldList("QTY C, NONE C");
  const Cursor some(zk_Db_readTable(table, "Stock", fields.get()));
  ASSERT_EQ(zk_DbCursor_length(some.get()), 3u);
  EXPECT_EQ(describe(zk_DbCursor_getNthFldList(some.get(), 2)),
            (Texts{"QTY:N:7:2:[   3.00]", "NONE:C:1:0:[]"}));
  EXPECT_EQ(describe(fields.get()), (Texts{"QTY:C:0:0:[(null)]", "NONE:C:0:0:[(null)]"}))
      << "the template stays as it was";

  EXPECT_EQ(zk_Db_readTable(parts(0, "none"), "Stock", nullptr), nullptr);
}

TEST_F(DbTest, ThousandsOfRecordsReadTheSameInEveryMode) {
  constexpr int kCount = 12000;  // more than any buffer holds
  int32_t table = createTable(path("many"), "ID N 8, PAD C 40");
  zk_Db_closeDb(table);
  table = openTable(path("many"), 2);
  for (int i = 1; i <= kCount; ++i) {
    ASSERT_EQ(zk_Db_appendStart(table), 0);
    zk_Db_assignFldInt(table, "ID", i);
    ASSERT_EQ(zk_Db_append(table), 0);
  }
  EXPECT_EQ(zk_Db_closeDb(table), 0);
  for (const int mode : {0, 1, 2}) {
    SCOPED_TRACE(mode);
    table = openTable(path("many"), mode);
    int wrong = 0;
    int expected = 0;
    for (int s = zk_Db_topRec(table, -1); s == 0; s = zk_Db_nextRec(table, -1)) {
      wrong += zk_Db_getFldInt(table, "ID") != ++expected;
      if (expected % 1000 != 0) continue;
      // What changes in the middle of a walk shows at once.
      zk_Db_assignFldStr(table, "PAD", "seen");
      zk_Db_nextRec(table, -1);
      zk_Db_prevRec(table, -1);
      wrong += trimmed(table, "PAD") != "seen";
      zk_Db_assignFldStr(table, "PAD", "again");
    }
    EXPECT_EQ(expected, kCount);
    for (int s = zk_Db_botRec(table, -1); s == 0; s = zk_Db_prevRec(table, -1), --expected) {
      wrong += zk_Db_getFldInt(table, "ID") != expected;
      wrong += (trimmed(table, "PAD") == "again") != (expected % 1000 == 0);
    }
    EXPECT_EQ(expected, 0);
    for (int i = 1; i < kCount; i += 997) {
      EXPECT_EQ(zk_Db_goRec(table, i), 0);
      wrong += zk_Db_getFldInt(table, "ID") != i;
    }
    EXPECT_EQ(wrong, 0);
    zk_Db_closeDb(table);
  }
}

// ---- Index functions that have nothing to work on

TEST_F(DbTest, IndexFunctionsGiveTheirFailures) {
  const int32_t table = parts(1);
  EXPECT_EQ(zk_Db_openNdx(table, path("PARTS.CDX").c_str()), -1);
  EXPECT_EQ(zk_Db_openNdx(table + 1, "x"), -1);
  EXPECT_EQ(zk_Db_createNdx(table + 1, "x", "PART", 0), -1);
  // The id of an index that could not be made is not kept.
  const struct {
    const char *tagInfo;
    int code;
  } kWrong[] = {{"PART, NOBODY", -490}, {"UPPER(PART", -450}, {"PART+1", -460}, {" , ", 0}};
  for (const auto &wrong : kWrong) {
    EXPECT_EQ(zk_Db_createNdx(table, path("x").c_str(), wrong.tagInfo, 0), 100);
    EXPECT_EQ(zk_DbError_code(), wrong.code) << wrong.tagInfo;
    EXPECT_EQ(zk_Db_closeNdx(100), 1);
    EXPECT_EQ(zk_DbTagRef_selNdx(100), nullptr);
    EXPECT_EQ(zk_Cb_i4create(zk_DbRef_sel(table), path("x").c_str(), wrong.tagInfo, 100, 0),
              nullptr);
    EXPECT_EQ(zk_Cb_createNdx(path("PARTS").c_str(), wrong.tagInfo, 0), 0);
  }
  EXPECT_EQ(zk_Cb_createNdx(path("NOBODY").c_str(), "PART", 0), 0);
  EXPECT_EQ(zk_Cb_i4create(zk_DbRef_sel(table), nullptr, "PART", 100, 0), nullptr);
  EXPECT_EQ(zk_DbTagRef_sel(zk_DbRef_sel(table), 100), nullptr);
  EXPECT_EQ(zk_Cb_findTag(zk_DbRef_sel(table), "TAG000"), nullptr);
  EXPECT_EQ(files(), (Texts{"PARTS.DBF"}));
}

// ---- Queries

TEST_F(DbTest, QueriesGiveTheRecordsThatMatch) {
  const int32_t table = parts(12);
  zk_Db_goRec(table, 3);
  zk_Db_delRec(table);
  const struct {
    const char *condition;
    int code;
    Texts parts;
  } kCases[] = {
      {"PART = 'P1'", 0, {"P1", "P10", "P11", "P12"}},
      {"qty >= 11 .or. Part = 'P3 '", 0, {"P3", "P11", "P12"}},
      {"DELETED()", 0, {"P3"}},
      {".NOT. DELETED() .AND. QTY < 5", 0, {"P1", "P2", "P4"}},
      {"PARTS->QTY = 7", 0, {"P7"}},
      {"RECNO() > 12", 0, {}},
      {"NOBODY = 1", -490, {}},
      {"OTHER->QTY = 1", -420, {}},
      {"QTY", -950, {}},
      {"QTY / (QTY - 5) > 0", -440, {}},
      {"(QTY = 1", -450, {}},
  };
  for (const auto &c : kCases) {
    SCOPED_TRACE(c.condition);
    const Cursor found(zk_Db_query(table, c.condition, "T", nullptr));
    EXPECT_EQ(zk_DbError_code(), c.code);
    Texts got;
    for (zk_DbCursor_start(found.get()); !zk_DbCursor_eol(found.get());
         zk_DbCursor_next(found.get())) {
      EXPECT_STREQ(zk_DbCursor_getCurrTblName(found.get()), "T");
      got.push_back(zk_DbFldList_getFldVal(zk_DbCursor_getCurrFldList(found.get()), "PART"));
    }
    EXPECT_EQ(got, c.parts);
    EXPECT_EQ(found == nullptr, c.parts.empty());
  }
  for (const char *all : {static_cast<const char *>(nullptr), "", "  ", ".T."}) {
    const Cursor found(zk_Db_query(table, all, nullptr, nullptr));
    EXPECT_EQ(zk_DbCursor_length(found.get()), 12u);
  }
  const List fields(zk_DbFldList_create("qty", nullptr, static_cast<char *>(nullptr)));
  const Cursor found(zk_Db_query(table, "PART = 'P7'", "T", fields.get()));
  ASSERT_EQ(zk_DbCursor_length(found.get()), 1u);
  EXPECT_EQ(zk_DbFldList_length(zk_DbCursor_getNthFldList(found.get(), 0)), 1u);
}

TEST_F(DbTest, TagIds) {
  const int32_t table = parts(0);
  EXPECT_EQ(zk_DbTagRef_add(table, nullptr), 100);
  EXPECT_EQ(zk_DbTagRef_add(table + 1, nullptr), 200);
  EXPECT_EQ(zk_DbTagRef_add(table, nullptr), 300);
  EXPECT_EQ(zk_DbTagRef_del(250), 1);
  EXPECT_EQ(zk_DbTagRef_add(table, nullptr), 400) << "the largest counts, not the gap";
  const struct {
    int32_t tagId;
    int found;
  } kCases[] = {
      {99, 0},  {0, 0},   {-1, 0},  {-100, 0}, {100, 1},     {199, 1},
      {200, 0}, {250, 0}, {399, 1}, {499, 1},  {INT_MAX, 0}, {INT_MIN, 0},
  };
  for (const auto &c : kCases) EXPECT_EQ(zk_DbTagRef_update(c.tagId, nullptr), c.found) << c.tagId;
  EXPECT_EQ(zk_DbRef_delTags(table + 1), 0);
  EXPECT_EQ(zk_Db_closeDb(table), 0);
  EXPECT_EQ(zk_DbRef_delTags(table), 0) << "closing the table removed its tags";
  EXPECT_EQ(zk_DbTagRef_add(0, nullptr), 100);
  EXPECT_EQ(zk_Db_closeAll(), 0);
  EXPECT_EQ(zk_DbTagRef_del(100), 0);
}

TEST_F(DbTest, TagInfoIsSplitAtCommasAndBlanks) {
  const struct {
    const char *text;
    Texts expressions;
  } kCases[] = {
      {"PART", {"PART"}},
      {"PART, QTY", {"PART", "QTY"}},
      {" ,, PART ,  ,UPPER(NAME),", {"PART", "UPPER(NAME)"}},
      {"STR(QTY,7,2)", {"STR(QTY", "7", "2)"}},
      {"A\tB", {"A\tB"}},
  };
  for (const auto &c : kCases) {
    SCOPED_TRACE(c.text);
    StrList *list = zk_Cb_parseTagInfo(c.text);
    ASSERT_NE(list, nullptr);
    EXPECT_NE(zk_StrList_eol(list), 0);
    Texts found;
    for (zk_StrList_start(list); !zk_StrList_eol(list); zk_StrList_next(list)) {
      found.push_back(zk_StrList_getCurr(list));
    }
    EXPECT_EQ(found, c.expressions);
    zk_StrList_destroy(list);
  }
  for (const char *nothing : {"", " ", ", ,"}) EXPECT_EQ(zk_Cb_parseTagInfo(nothing), nullptr);
}

// ---- Errors and settings

TEST_F(DbTest, LastErrorNamesCodeTextAndFile) {
  writeFile(path("noise.dbf"), "this is no table, but it is long enough for a header");
  EXPECT_EQ(openTable(path("noise.dbf")), -1);
  EXPECT_EQ(zk_DbError_code(), -200);
  EXPECT_STREQ(zk_DbError_text(), "File is not a Data File");
  EXPECT_NE(std::string(zk_DbError_file()).find("noise.dbf"), std::string::npos);

  const int32_t table = parts(1);
  EXPECT_EQ(zk_DbError_code(), 0) << "an operation that succeeds clears it";
  EXPECT_STREQ(zk_DbError_text(), "");
  EXPECT_STREQ(zk_DbError_file(), "");
  EXPECT_EQ(zk_Db_goRec(table, 9), -930);
  EXPECT_STREQ(zk_DbError_text(), "Unexpected Parameter");
  EXPECT_NE(std::string(zk_DbError_file()).find("PARTS.DBF"), std::string::npos);
  zk_Db_nextRec(table, -1);
  EXPECT_EQ(zk_Db_nextRec(table, -1), 3);
  EXPECT_EQ(zk_DbError_code(), 0) << "end of file is no error";
  zk_Db_goRec(table, 9);
  zk_Db_eof(table + 1);
  EXPECT_EQ(zk_DbError_code(), 0);
  EXPECT_STREQ(zk_DbError_codeText(-60), "Opening File");
  EXPECT_STREQ(zk_DbError_codeText(-820), "Error In Report Output");
  EXPECT_STREQ(zk_DbError_codeText(-61), "");
  EXPECT_STREQ(zk_DbError_codeText(0), "");
}

TEST_F(DbTest, ErrorBoxesGoToThePresenter) {
  Texts shown;
  const auto present = [](const char *title, const char *text, void *user) {
    static_cast<Texts *>(user)->push_back(std::string(title) + '|' + text);
  };
  zk_Host_setMessagePresenter(present, &shown);
  EXPECT_EQ(openTable(path("none.dbf")), -1);
  EXPECT_TRUE(shown.empty()) << "off until they are asked for";
  EXPECT_EQ(zk_Db_setErrorBoxes(1), 0);
  EXPECT_EQ(openTable(path("none.dbf")), -1);
  EXPECT_EQ(zk_Db_setErrorBoxes(0), 1);
  EXPECT_EQ(openTable(path("none.dbf")), -1);
  zk_Host_setMessagePresenter(nullptr, nullptr);
  ASSERT_EQ(shown.size(), 1u);
  for (const char *part :
       {"TABLE ENGINE ERROR|", "Error #: -60", "Opening File", "File Name:", "none.dbf"}) {
    EXPECT_NE(shown[0].find(part), std::string::npos) << part << " in " << shown[0];
  }
  zk_Db_setErrorBoxes(1);
  EXPECT_EQ(zk_Cb_init(zk_Db_context()), 1);
  EXPECT_EQ(zk_Db_setErrorBoxes(0), 0) << "initialising the context switches them off";
}

TEST_F(DbTest, LockAttempts) {
  EXPECT_EQ(zk_Db_getLockAttempts(), -1);
  EXPECT_EQ(zk_Db_setLockAttempts(3), -1);
  EXPECT_EQ(zk_Db_getLockAttempts(), 3);
  zk_Db_closeAll();
  EXPECT_EQ(zk_Db_setLockAttempts(-1), 3) << "closing everything keeps the setting";
}

TEST_F(DbTest, TableFacts) {
  writeFile(path("t.dbf"), tableBytes(0x03, {{"A", 'C', 5}, {"B", 'N', 4, 1}}, {" abcde 1.5"}));
  patchFile(path("t.dbf"), 29, "\x03");
  const int32_t table = openTable(path("t"));
  ZkDbInfo info;
  ASSERT_EQ(zk_Db_getInfo(table, &info), 1);
  EXPECT_EQ(info.version, 0x03);
  EXPECT_EQ(info.codePage, 0x03);
  EXPECT_EQ(info.updateYear, 2020);
  EXPECT_EQ(info.updateMonth, 1);
  EXPECT_EQ(info.updateDay, 31);
  EXPECT_EQ(info.recordCount, 1);
  EXPECT_EQ(info.recordLength, 10);
  EXPECT_EQ(info.headerLength, 97);
  EXPECT_EQ(info.fieldCount, 2);
  EXPECT_EQ(info.readOnly, 0);
  EXPECT_EQ(info.memoBlockSize, 0);
  EXPECT_STREQ(zk_Db_readOnlyReason(table), "");
  EXPECT_EQ(zk_Str_cmpi(fs::path(zk_Db_getFileName(table)).filename().string().c_str(), "t.dbf"), 0)
      << "found in any spelling; which one it is depends on the system";
  zk_Db_closeDb(table);

  patchFile(path("t.dbf"), 1, std::string("\x63\x0D\x01", 3));  // the 13th month
  ASSERT_EQ(zk_Db_getInfo(openTable(path("t")), &info), 1);
  EXPECT_EQ(info.updateYear, 0);
  EXPECT_EQ(info.updateMonth, 0);
  EXPECT_EQ(info.updateDay, 0);
}

// ---- The world around

TEST_F(DbTest, PathsOfAnySpelling) {
  fs::create_directory(folder_ / "Data");
  zk_Db_closeDb(parts(1, "Data/Stock.dbf"));
  const std::string folder = folder_.string();
  const std::string drive = fs::path(folder).root_name().string();
  std::vector<std::string> spellings = {
      folder + "/Data/Stock.dbf",   folder + "/Data/Stock",      folder + "/data/STOCK",
      folder + "\\DATA\\stock.DBF", folder + "\\data/stock.Dbf",
  };
  if (drive.empty()) {
    ASSERT_EQ(zk_Host_setDriveDirectory('q', folder.c_str()), 1);
    spellings.push_back("C:" + folder + "/Data/Stock.dbf");  // every other drive is "/"
    spellings.push_back("Q:\\data\\stock");
    spellings.push_back("q:/DATA/STOCK.DBF");
  }
  for (const std::string &spelling : spellings) {
    SCOPED_TRACE(spelling);
    const int32_t table = zk_Db_openDb(spelling.c_str());
    EXPECT_EQ(trimmed(table, "PART"), "P1");
    zk_Db_closeDb(table);
  }
  EXPECT_EQ(zk_Db_openDb((folder + "/Data/Stock.tab").c_str()), -1);
  zk_Host_setDriveDirectory('q', nullptr);
  EXPECT_EQ(zk_Db_openDb("Q:\\data\\stock"), -1);
  EXPECT_EQ(zk_Host_setDriveDirectory('1', "/"), 0);
  EXPECT_EQ(zk_Host_setDriveDirectory('q', std::string(256, 'x').c_str()), 0);

  // A new table: the directory as the disk spells it, the file as given.
  zk_Db_closeDb(parts(1, "data/New.Tab"));
  EXPECT_TRUE(fs::exists(folder_ / "Data" / "New.Tab"));
  fs::create_directory(folder_ / "Dots.v1");
  zk_Db_closeDb(parts(1, "Dots.v1/x"));
  EXPECT_TRUE(fs::exists(folder_ / "Dots.v1" / "x.DBF")) << "a dot in a folder is no extension";
}

TEST_F(DbTest, LocaleDoesNotMatter) {
  const char *found = nullptr;
  for (const char *name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "fr_FR.UTF-8", "fr_FR.utf8",
                           "de-DE", "German_Germany.1252"}) {
    if (std::setlocale(LC_ALL, name) != nullptr && *std::localeconv()->decimal_point == ',') {
      found = name;
      break;
    }
  }
  if (found == nullptr) GTEST_SKIP() << "no locale with a decimal comma is installed";
  const int32_t table = parts(1);
  zk_Db_assignFldDouble(table, "QTY", 1234.5);
  EXPECT_EQ(fieldText(table, "QTY"), "1234.50");
  EXPECT_EQ(zk_Db_getFldDouble(table, "QTY"), 1234.5);
  EXPECT_EQ(zk_c4atod("1.5", 3), 1.5);
  std::setlocale(LC_ALL, "C");
}

TEST(Angles, DegreesAndRadians) {
  EXPECT_DOUBLE_EQ(zk_Cnv_dtor(180), 3.141592653589793);
  EXPECT_DOUBLE_EQ(zk_Cnv_rtod(3.141592653589793), 180);
  EXPECT_DOUBLE_EQ(zk_Cnv_rtod(zk_Cnv_dtor(-12.5)), -12.5);
}

}  // namespace
