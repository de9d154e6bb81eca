// Locating: the records that match, one call at a time, against the same records picked from a walk
// by the test itself; and everything that may happen between two calls.
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "tests/support.h"

namespace {

using namespace support;
using Numbers = std::vector<int>;

constexpr int kEndOfFile = 3;
constexpr int kRecordOrder = -1;

// The allocator cannot be taken out again: it is told how many requests are granted; below 0: all.
int granted = -1;
bool refuses() { return granted >= 0 && granted-- == 0; }
void *allocate(std::size_t size) { return refuses() ? nullptr : std::malloc(size); }
void *reallocate(void *block, std::size_t size) {
  return refuses() ? nullptr : std::realloc(block, size);
}
void *allocateZeroed(std::size_t count, std::size_t size) {
  return refuses() ? nullptr : std::calloc(count, size);
}

class LocateTest : public TableTest {
 protected:
  static constexpr int kRecords = 900;

  // ID counts from 1; GROUP is dense for one half of the table and rare in the other; CODE puts the
  // records into another order.
  int32_t makeTable(const char *name = "T.DBF", int mode = 2) {
    zk_Db_closeDb(createTable(path(name), "ID N 6 0, GROUP N 4 0, CODE C 8, NOTE M"));
    const int32_t table = openTable(path(name), 2);
    for (int i = 1; i <= kRecords; ++i) {
      appendRecord(table, {{"ID", std::to_string(i)},
                           {"GROUP", std::to_string(groupOf(i))},
                           {"CODE", codeOf(i)},
                           {"NOTE", i % 50 == 0 ? "tenth of fifty" : ""}});
      if (i % 7 == 0) zk_Db_delRec(table);
    }
    char code[] = "CODE", down[] = "DOWN", few[] = "FEW", filter[] = "ID > 450";
    const ZkTagInfo tags[] = {
        {code, code, nullptr, 0, 0}, {down, code, nullptr, 0, 1}, {few, code, filter, 0, 0}};
    EXPECT_EQ(zk_Tag_create(table, "", tags, 3), 0) << zk_DbError_text();
    if (mode == 2) return table;
    zk_Db_closeDb(table);
    return openTable(path(name), mode);
  }

  int32_t makeLimits(const char *low) {
    const int32_t limits = createTable(path("LIMITS.DBF"), "LOW N 6 0");
    appendRecord(limits, {{"LOW", low}});
    return limits;
  }

  static int groupOf(int i) { return i < 450 ? i % 3 : i % 100; }
  static std::string codeOf(int i) {
    return std::string(1, static_cast<char>('A' + i * 7 % 26)) + std::to_string(i * 37 % 1000);
  }

  static int id(int32_t table) { return zk_Db_getFldInt(table, "ID"); }

  static Numbers located(int32_t table, int32_t tag, const char *condition) {
    Numbers ids;
    int status = zk_Db_locate(table, tag, condition);
    for (; status == 0; status = zk_Db_locateNext(table)) ids.push_back(id(table));
    EXPECT_EQ(status, kEndOfFile) << zk_DbError_text();
    EXPECT_NE(zk_Db_eof(table), 0);
    EXPECT_EQ(zk_DbError_code(), 0);
    return ids;
  }

  static Numbers walked(int32_t table, int32_t tag, const std::function<bool(int)> &matches) {
    Numbers ids;
    for (int status = zk_Db_topRec(table, tag); status == 0; status = zk_Db_nextRec(table, tag)) {
      if (matches(id(table))) ids.push_back(id(table));
    }
    return ids;
  }
};

TEST_F(LocateTest, FindsWhatAWalkFinds) {
  const struct {
    const char *condition;
    std::function<bool(int)> matches;
  } kCases[] = {
      {"GROUP = 1", [](int i) { return groupOf(i) == 1; }},
      {"ID = 1 .OR. ID = 900", [](int i) { return i == 1 || i == 900; }},
      {"ID >= 16 .AND. ID <= 18", [](int i) { return i >= 16 && i <= 18; }},
      {"DELETED() .AND. CODE = 'C'", [](int i) { return i % 7 == 0 && codeOf(i)[0] == 'C'; }},
      {"'fifty' $ NOTE", [](int i) { return i % 50 == 0; }},
      {"ID < 0", [](int) { return false; }},
      {" ", [](int) { return true; }},
      {nullptr, [](int) { return true; }},
  };
  zk_Db_closeDb(makeTable());
  for (const int mode : {0, 1, 2}) {
    const int32_t table = openTable(path("T"), mode);
    // A number without a tag is record order.
    for (const int32_t tag : {kRecordOrder, zk_Tag_find(table, "CODE"), zk_Tag_find(table, "DOWN"),
                              zk_Tag_find(table, "FEW"), 77}) {
      for (const auto &c : kCases) {
        SCOPED_TRACE(testing::Message() << "mode " << mode << ", tag " << tag << ": "
                                        << (c.condition != nullptr ? c.condition : "(null)"));
        EXPECT_EQ(located(table, tag, c.condition), walked(table, tag, c.matches));
      }
    }
    zk_Db_closeDb(table);
  }
}

TEST_F(LocateTest, GoesOnFromWhereverTheTableIs) {
  const int32_t table = makeTable("T.DBF", 0);
  const int32_t code = zk_Tag_find(table, "CODE");
  const Numbers all = walked(table, code, [](int i) { return groupOf(i) == 1; });

  // Other moves in other orders, a query, an index file closed: the order stays the search's own.
  EXPECT_EQ(zk_Db_locate(table, code, "GROUP = 1"), 0);
  const Cursor some(zk_Db_query(table, "ID < 10", "", nullptr));
  EXPECT_EQ(zk_Db_prevRec(table, kRecordOrder), 0);
  EXPECT_EQ(zk_Db_goRec(table, all[100]), 0);
  EXPECT_EQ(zk_Db_nextRec(table, zk_Tag_find(table, "DOWN")), 0);
  EXPECT_EQ(zk_Db_goRec(table, all[100]), 0);
  for (std::size_t i = 101; i < all.size(); ++i) {
    ASSERT_EQ(zk_Db_locateNext(table), 0);
    EXPECT_EQ(id(table), all[i]);
  }
  EXPECT_EQ(zk_Db_locateNext(table), kEndOfFile);
  EXPECT_EQ(zk_Db_locateNext(table), kEndOfFile) << "nothing comes behind the end";

  // The record that was found gets another key: on from there. What is pending is written.
  EXPECT_EQ(zk_Db_locate(table, code, "GROUP = 1"), 0);
  const int first = id(table);
  zk_Db_assignFldStr(table, "CODE", "ZZZ");
  EXPECT_EQ(zk_Db_locateNext(table), kEndOfFile);
  EXPECT_EQ(zk_Db_goRec(table, first), 0);
  EXPECT_EQ(trimmed(table, "CODE"), "ZZZ");
  zk_Db_assignFldStr(table, "CODE", "");
  EXPECT_EQ(zk_Db_locateNext(table), 0);
  EXPECT_EQ(id(table), all[1]);

  // A begun append is given up: the search goes on from the record before it.
  EXPECT_EQ(zk_Db_appendStart(table), 0);
  EXPECT_EQ(zk_Db_locateNext(table), 0);
  EXPECT_EQ(id(table), all[2]);
  EXPECT_EQ(zk_Db_getRecordCount(table), kRecords);
}

TEST_F(LocateTest, LivesThroughIndexesThatComeAndGo) {
  const int32_t table = makeTable();
  EXPECT_EQ(zk_Db_createNdx(table, path("OTHER").c_str(), "1000-ID", 0), 100);
  EXPECT_EQ(zk_Db_locate(table, 100, "GROUP = 1"), 0);
  EXPECT_EQ(id(table), 801);
  // Packing writes the indexes anew.
  EXPECT_EQ(zk_Db_packDb(table), 0);
  EXPECT_EQ(zk_Db_botRec(table, kRecordOrder), 0);
  EXPECT_EQ(zk_Db_locateNext(table), 0);
  EXPECT_EQ(id(table), 801) << "behind the last record, by this tag's order";
  // Without its tag the order is that of the records.
  EXPECT_EQ(zk_Db_closeNdx(100), 0);
  EXPECT_EQ(zk_Db_topRec(table, kRecordOrder), 0);
  EXPECT_EQ(zk_Db_locateNext(table), 0);
  EXPECT_EQ(id(table), 4);
}

TEST_F(LocateTest, ErrorsTellWhatIsWrong) {
  const int32_t table = makeTable();
  EXPECT_EQ(zk_Db_locateNext(table), -930) << "nothing was begun";
  EXPECT_EQ(zk_Db_locate(table + 1, kRecordOrder, "ID = 1"), 1);
  EXPECT_EQ(zk_Db_locateNext(table + 1), 1);
  const struct {
    const char *condition;
    int code;
  } kWrong[] = {{"ID", -950}, {"ID = ", -410}, {"NOBODY = 1", -490}, {"X->ID = 1", -420}};
  for (const auto &wrong : kWrong) {
    EXPECT_EQ(zk_Db_locate(table, kRecordOrder, "ID = 2"), 0);
    EXPECT_EQ(zk_Db_locate(table, kRecordOrder, wrong.condition), wrong.code) << wrong.condition;
    EXPECT_EQ(zk_DbError_code(), wrong.code);
    EXPECT_STREQ(zk_DbError_file(), wrong.condition);
    EXPECT_EQ(id(table), 2) << "the position stays";
    EXPECT_EQ(zk_Db_locateNext(table), -930) << "the search before is over";
  }
  // A record for which the condition has no value can be passed over.
  EXPECT_EQ(zk_Db_locate(table, kRecordOrder, "1/(ID-100) > 0.9"), -440);
  EXPECT_EQ(id(table), 100);
  EXPECT_EQ(zk_Db_locateNext(table), 0);
  EXPECT_EQ(id(table), 101);
}

TEST_F(LocateTest, ConditionsOnAnotherTableMissItWhenItIsClosed) {
  const int32_t table = makeTable();
  int32_t limits = makeLimits("100");
  EXPECT_EQ(zk_Db_locate(table, kRecordOrder, "ID > LIMITS->LOW"), 0);
  EXPECT_EQ(id(table), 101);
  zk_Db_assignFldInt(limits, "LOW", 200);
  EXPECT_EQ(zk_Db_locateNext(table), 0);
  EXPECT_EQ(id(table), 201);
  zk_Db_closeDb(limits);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(zk_Db_locateNext(table), -420);
    EXPECT_EQ(id(table), 201);
  }
  limits = openTable(path("LIMITS"));
  EXPECT_EQ(zk_Db_locateNext(table), 0);
  EXPECT_EQ(id(table), 202);
}

TEST_F(LocateTest, RefusedMemoryIsAnErrorLikeOthers) {
  zk_MemoryManager_set(allocate, reallocate, allocateZeroed, std::free);
  const int32_t table = makeTable("T.DBF", 0);
  makeLimits("60");
  const char *const condition = "'fifty' $ NOTE .OR. UPPER(CODE) = 'ZZZ' .OR. ID = LIMITS->LOW";
  for (const bool next : {false, true}) {
    bool refused = true;
    for (int n = 0; refused; ++n) {
      ASSERT_LT(n, 1000);
      if (next) {
        ASSERT_EQ(zk_Db_locate(table, kRecordOrder, condition), 0);
      }
      granted = n;
      const int status =
          next ? zk_Db_locateNext(table) : zk_Db_locate(table, kRecordOrder, condition);
      refused = granted < 0;
      granted = -1;
      EXPECT_EQ(status, refused ? -920 : 0) << "request " << n;
      EXPECT_EQ(zk_DbError_code(), status);
    }
    EXPECT_EQ(id(table), next ? 60 : 50);
  }
}

TEST_F(LocateTest, SeesWhatOthersChangeMeanwhile) {
  const int32_t table = makeTable("T.DBF", 0);
  const int32_t other = openTable(path("T"), 0);
  const auto change = [other](int record, int group) {
    EXPECT_EQ(zk_Db_goRec(other, record), 0);
    zk_Db_assignFldInt(other, "GROUP", group);
    EXPECT_EQ(zk_Db_flush(other), 0) << "nothing is locked between two calls";
  };
  // Many records are passed before each of these, so that blocks are read.
  change(300, 4711);
  EXPECT_EQ(zk_Db_locate(table, kRecordOrder, "GROUP = 4711"), 0);
  EXPECT_EQ(id(table), 300);
  change(301, 4711);
  change(302, 4711);
  change(600, 4711);
  EXPECT_EQ(zk_Db_locateNext(table), 0);
  change(302, 0);
  EXPECT_EQ(id(table), 301);
  EXPECT_EQ(zk_Db_locateNext(table), 0);
  EXPECT_EQ(id(table), 600);
  appendRecord(other, {{"ID", "901"}, {"GROUP", "4711"}});
  EXPECT_EQ(zk_Db_locateNext(table), 0);
  EXPECT_EQ(id(table), 901);
  EXPECT_EQ(zk_Db_locateNext(table), kEndOfFile);
  EXPECT_EQ(zk_Db_getRecordNo(table), 902);
}

}  // namespace
