// Index files, read: order, seeks, positions, damage. The files are made by the engine's builder;
// what the order must be is worked out from the records.
#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "base/Memory.h"
#include "engine/Context.h"
#include "engine/IndexBuilder.h"
#include "engine/Table.h"
#include "tests/support.h"

namespace {

using namespace support;
using zk::engine::IndexBuilder;
using zk::engine::TagDefinition;

constexpr int kFound = 0;
constexpr int kNextGreater = 2;
constexpr int kEndOfFile = 3;
constexpr int kBeginningOfFile = 4;

struct Record {
  int number;
  std::string name;
  int quantity;
  std::string day;
};

// A tag and the order that it must give.
struct TagCase {
  TagDefinition definition;
  std::function<bool(const Record &)> included;
  std::function<bool(const Record &, const Record &)> before;  // by key alone
};

bool always(const Record &) { return true; }
bool byName(const Record &a, const Record &b) { return a.name < b.name; }
bool byQuantity(const Record &a, const Record &b) { return a.quantity < b.quantity; }
bool byDay(const Record &a, const Record &b) { return a.day < b.day; }

const TagCase kTags[] = {
    {{"NAME", "NAME", "", false, false}, always, byName},
    {{"NAMEDOWN", "name", "", false, true}, always, byName},
    {{"QTY", "QTY", "", false, false}, always, byQuantity},
    {{"QTYDOWN", "QTY", "", false, true}, always, byQuantity},
    {{"DAY", "DAY", "", false, false}, always, byDay},
    {{"FEW", "NAME", "QTY > 0 .AND. .NOT. DELETED()", false, false},
     [](const Record &r) { return r.quantity > 0; },
     byName},
    {{"NONE", "NAME", "QTY > 99999", false, false}, [](const Record &) { return false; }, byName},
};

class IndexReadTest : public TableTest {
 protected:
  // A table with a production index of all the tags.
  int32_t makeTable(int count, unsigned seed) {
    std::mt19937 random(seed);
    const int32_t made = createTable(path("T.DBF"), "NAME C 12, QTY N 8 0, DAY D");
    zk_Db_closeDb(made);
    const int32_t filled = openTable(path("T.DBF"), 2);
    for (int i = 1; i <= count; ++i) {
      Record record = {i, "", static_cast<int>(random() % 2001) - 1000, ""};
      const std::size_t length = random() % 7;
      for (std::size_t k = 0; k < length; ++k)
        record.name += static_cast<char>("ABC\xE9"[random() % 4]);
      if (random() % 5 != 0) record.day = "202401" + std::to_string(10 + random() % 20);
      appendRecord(filled, {{"NAME", record.name}, {"DAY", record.day}});
      zk_Db_assignFldInt(filled, "QTY", record.quantity);
      records_.push_back(record);
    }
    zk_Db_closeDb(filled);
    buildIndex();
    return openTable(path("T.DBF"));
  }

  void buildIndex() {
    zk::engine::Context context;
    context.settings.showErrorBoxes = false;
    context.settings.openMode = 2;
    zk::engine::Table *table = zk::engine::Table::open(context, path("T.DBF").c_str());
    ASSERT_NE(table, nullptr);
    std::vector<TagDefinition> definitions;
    for (const TagCase &tag : kTags) definitions.push_back(tag.definition);
    IndexBuilder builder(*table);
    ASSERT_EQ(builder.build(path("T.CDX").c_str(), definitions.data(), definitions.size()), 0)
        << context.errorText();
    table->close();
    patchFile(path("T.DBF"), 28, std::string(1, '\1'));
  }

  // The record numbers in the order of a tag.
  std::vector<int> ordered(const TagCase &tag) const {
    std::vector<Record> kept;
    std::copy_if(records_.begin(), records_.end(), std::back_inserter(kept), tag.included);
    std::stable_sort(kept.begin(), kept.end(), tag.before);  // equal keys by record number
    if (tag.definition.descending) std::reverse(kept.begin(), kept.end());
    std::vector<int> numbers;
    for (const Record &record : kept) numbers.push_back(record.number);
    return numbers;
  }

  std::vector<Record> records_;
};

std::vector<int> walk(int32_t table, int status, int (*step)(int32_t, int32_t), int32_t tag) {
  std::vector<int> numbers;
  for (; status == 0 && numbers.size() < 100000; status = step(table, tag)) {
    numbers.push_back(zk_Db_getRecordNo(table));
  }
  return numbers;
}

TEST_F(IndexReadTest, WalksInTheOrderOfEveryTag) {
  const int32_t table = makeTable(3000, 1);
  EXPECT_STREQ(zk_Db_readOnlyReason(table), "");
  EXPECT_EQ(zk_Tag_count(table), static_cast<int32_t>(std::size(kTags)));
  EXPECT_EQ(zk_Tag_find(table, "nobody"), -1);
  for (const TagCase &tag : kTags) {
    SCOPED_TRACE(tag.definition.name);
    const int32_t number = zk_Tag_find(table, tag.definition.name);
    ASSERT_GE(number, 0);
    std::vector<int> expected = ordered(tag);
    const int empty = expected.empty() ? kEndOfFile : kFound;
    EXPECT_EQ(zk_Db_topRec(table, number), empty);
    EXPECT_EQ(walk(table, zk_Db_topRec(table, number), zk_Db_nextRec, number), expected);
    EXPECT_EQ(zk_Db_eof(table), 1);
    std::reverse(expected.begin(), expected.end());
    EXPECT_EQ(walk(table, zk_Db_botRec(table, number), zk_Db_prevRec, number), expected);
    EXPECT_EQ(zk_Db_bof(table), 1);
  }
}

TEST_F(IndexReadTest, GoesOnFromAnyRecord) {
  const int32_t table = makeTable(600, 2);
  std::mt19937 random(7);
  for (const TagCase &tag : kTags) {
    SCOPED_TRACE(tag.definition.name);
    const int32_t number = zk_Tag_find(table, tag.definition.name);
    const std::vector<int> order = ordered(tag);
    for (int i = 0; i < 300; ++i) {
      const int record = 1 + static_cast<int>(random() % records_.size());
      const auto place = std::find(order.begin(), order.end(), record);
      if (place == order.end()) continue;
      SCOPED_TRACE(record);
      ASSERT_EQ(zk_Db_goRec(table, record), 0);
      if (random() % 2 == 0) {
        const bool last = place + 1 == order.end();
        ASSERT_EQ(zk_Db_nextRec(table, number), last ? kEndOfFile : kFound);
        ASSERT_EQ(zk_Db_getRecordNo(table), last ? 601 : *(place + 1));
        if (last) {
          ASSERT_EQ(zk_Db_prevRec(table, number), kFound);
          ASSERT_EQ(zk_Db_getRecordNo(table), record);
        }
      } else {
        const bool first = place == order.begin();
        ASSERT_EQ(zk_Db_prevRec(table, number), first ? kBeginningOfFile : kFound);
        ASSERT_EQ(zk_Db_getRecordNo(table), first ? record : *(place - 1));
      }
    }
  }
}

// What a seek must give: the first record in the tag's order that is not before the key.
struct Sought {
  int status;
  int record;
};

TEST_F(IndexReadTest, SeeksAgreeWithTheRecords) {
  const int32_t table = makeTable(1500, 3);
  std::mt19937 random(11);
  for (const TagCase &tag : kTags) {
    const int32_t number = zk_Tag_find(table, tag.definition.name);
    const std::vector<int> order = ordered(tag);
    const bool texts = std::string(tag.definition.expression) == "NAME" ||
                       std::string(tag.definition.expression) == "name";
    if (std::string(tag.definition.name) == "DAY") continue;
    for (int i = 0; i < 400; ++i) {
      std::string text;
      const int quantity = static_cast<int>(random() % 2201) - 1100;
      for (std::size_t k = random() % 5; texts && k > 0; --k) text += "ABCD\xE9"[random() % 5];
      SCOPED_TRACE(std::string(tag.definition.name) + " " +
                   (texts ? text : std::to_string(quantity)));
      // -1, 0, 1 as the record lies before, at or behind the key in the file's order.
      const auto compare = [&](int record) {
        const Record &r = records_[static_cast<std::size_t>(record) - 1];
        if (!texts) return (r.quantity > quantity) - (r.quantity < quantity);
        std::string padded = r.name;
        padded.resize(12, ' ');
        const int c = padded.compare(0, text.size(), text);
        return (c > 0) - (c < 0);
      };
      Sought expected = {kEndOfFile, 1501};
      for (const int record : order) {
        const int c = tag.definition.descending ? -compare(record) : compare(record);
        if (c < 0) continue;
        expected = {c == 0 ? kFound : kNextGreater, record};
        break;
      }
      const int status = texts ? zk_Db_seekStr(text.c_str(), table, number)
                               : zk_Db_seekDouble(quantity, table, number);
      ASSERT_EQ(status, expected.status);
      ASSERT_EQ(zk_Db_getRecordNo(table), expected.record);
    }
  }
  EXPECT_EQ(zk_Db_seekDouble(1, table, zk_Tag_find(table, "NAME")), -1);
  EXPECT_EQ(zk_Db_seekStr("A", table, -1), 80);
  EXPECT_EQ(zk_Db_seekStr("20240115", table, zk_Tag_find(table, "DAY")), kFound);
  EXPECT_STREQ(zk_Db_getFldStr(table, "DAY"), "20240115");
}

TEST_F(IndexReadTest, FurtherIndexFilesOfAReadOnlyTable) {
  makeTable(50, 4);
  zk_Db_closeAll();
  fs::rename(path("T.CDX"), path("other.cdx"));
  int32_t table = openTable(path("T.DBF"));
  EXPECT_GE(zk_Db_openNdx(table, path("other").c_str()), 100);
  zk_Db_closeAll();

  ASSERT_EQ(zk_File_setReadOnlyAccess(path("T.DBF").c_str()), 1);
  table = openTable(path("T.DBF"));
  EXPECT_EQ(zk_Tag_count(table), 0);
  EXPECT_EQ(zk_Db_openNdx(table, path("none").c_str()), -1);
  EXPECT_EQ(zk_DbError_code(), -60);
  EXPECT_EQ(zk_Db_openNdx(table, path("T.DBF").c_str()), -1);
  EXPECT_EQ(zk_DbError_code(), -310);
  const int32_t index = zk_Db_openNdx(table, path("other").c_str());
  ASSERT_EQ(index, 100);
  EXPECT_NE(zk_DbTagRef_selNdx(199), nullptr);
  EXPECT_NE(zk_Cb_findTag(zk_DbRef_sel(table), "name"), nullptr);
  const int32_t tag = zk_Tag_find(table, "NAME");
  EXPECT_EQ(walk(table, zk_Db_topRec(table, tag), zk_Db_nextRec, tag), ordered(kTags[0]));
  EXPECT_EQ(zk_Db_closeNdx(150), 0);
  EXPECT_EQ(zk_Db_closeNdx(100), 1);
  EXPECT_EQ(zk_Tag_count(table), 0);
  EXPECT_EQ(zk_Db_topRec(table, tag), 0) << "record order again";
  EXPECT_EQ(zk_Db_getRecordNo(table), 1);
}

// Such a tag can be walked; its keys would read a table that may be closed by then.
TEST_F(IndexReadTest, KeysOfAnotherTableAreNotEvaluated) {
  zk_Db_closeDb(makeTable(20, 6));
  const std::string bytes = bytesOf("T.CDX");
  std::size_t pool = 512;
  while (bytes.compare(pool, 5, "NAME", 5) != 0) pool += 512;
  patchFile(path("T.CDX"), pool, std::string("O->NAME", 8));
  patchFile(path("T.CDX"), pool - 2, little(8, 2));
  const int32_t other = createTable(path("O.DBF"), "NAME C 12");
  const int32_t table = openTable(path("T.DBF"));
  int32_t tag = -1;
  ZkTagFacts facts;
  for (int32_t i = 1; zk_Tag_getInfo(table, i, &facts) == 1; ++i) {
    if (facts.problem == 0) continue;
    EXPECT_EQ(facts.problem, -420);
    EXPECT_STREQ(facts.expression, "O->NAME");
    tag = facts.tagNumber;
  }
  ASSERT_GE(tag, 0);
  EXPECT_EQ(walk(table, zk_Db_topRec(table, tag), zk_Db_nextRec, tag).size(), 20u);
  EXPECT_EQ(zk_Db_closeDb(other), 0);
  EXPECT_EQ(zk_Db_seekStr("A", table, tag), -420);
  EXPECT_EQ(zk_Db_goRec(table, 5), 0);
  EXPECT_EQ(zk_Db_nextRec(table, tag), -420) << "where record 5 stands cannot be found";
}

// A damaged index gives an error or an answer; it never faults, hangs or keeps the records away.
TEST_F(IndexReadTest, DamagedIndexes) {
  zk_Db_closeDb(makeTable(400, 5));
  const std::string whole = bytesOf("T.CDX");
  std::mt19937 random(13);
  for (int round = 0; round < 600; ++round) {
    SCOPED_TRACE(round);
    std::string bytes = whole;
    const int flips = 1 + static_cast<int>(random() % 4);
    for (int i = 0; i < flips; ++i) {
      // Half of them where the structure is: headers and the beginnings of pages.
      std::size_t at = random() % bytes.size();
      if (random() % 2 == 0) at = at / 512 * 512 + random() % 24;
      bytes[at] = static_cast<char>(random() % 4 == 0 ? 0xFF : random());
    }
    if (round % 10 == 0) bytes.resize(random() % bytes.size());
    writeFile(path("T.CDX"), bytes);

    const int32_t table = openTable(path("T.DBF"));
    ASSERT_GE(table, 0) << "the records stay readable";
    ASSERT_EQ(zk_Db_getRecordCount(table), 400);
    const int32_t tags = std::min(zk_Tag_count(table), 20);
    for (int32_t i = 0; i < tags; ++i) {
      ZkTagFacts facts;
      ASSERT_EQ(zk_Tag_getInfo(table, i + 1, &facts), 1);
      const int32_t tag = zk_Tag_find(table, facts.name);
      int steps = 0;
      for (int s = zk_Db_topRec(table, tag); s == 0; s = zk_Db_nextRec(table, tag)) {
        ASSERT_LT(++steps, 20000) << "goes in a circle";
      }
      steps = 0;
      for (int s = zk_Db_botRec(table, tag); s == 0; s = zk_Db_prevRec(table, tag)) {
        ASSERT_LT(++steps, 20000) << "goes in a circle";
      }
      zk_Db_seekStr("B", table, tag);
      zk_Db_seekDouble(17, table, tag);
      zk_Db_goRec(table, 200);
      zk_Db_nextRec(table, tag);
    }
    zk_Db_closeDb(table);
  }
}

}  // namespace
