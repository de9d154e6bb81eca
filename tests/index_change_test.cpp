// Indexes kept up to date: after every kind of change each tag must give the order that is worked
// out from the records, in both directions, and find what is sought.
#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "tests/support.h"

namespace {

using namespace support;

struct Record {
  std::string name;
  std::string text;
  int quantity = 0;
  std::string day;
  bool deleted = false;
};

// A tag, which records it takes, and their keys as texts that sort as they must.
struct TagCase {
  const char *name;
  const char *expression;
  const char *filter;
  bool descending;
  std::function<bool(const Record &)> included;
  std::function<std::string(const Record &)> key;
};

bool always(const Record &) { return true; }
std::string padded(const std::string &text, std::size_t width) {
  return text + std::string(width - text.size(), ' ');
}
std::string nameOf(const Record &r) { return padded(r.name, 12); }
std::string textOf(const Record &r) { return padded(r.text, 240); }
std::string dayOf(const Record &r) { return padded(r.day, 8); }
std::string quantityOf(const Record &r) { return std::to_string(r.quantity + 5000000); }

const TagCase kTags[] = {
    {"NAME", "NAME", nullptr, false, always, nameOf},
    {"NAMEDOWN", "NAME", nullptr, true, always, nameOf},
    {"TEXT", "TEXT", nullptr, false, always, textOf},
    {"QTY", "QTY", nullptr, false, always, quantityOf},
    {"DAY", "DAY", nullptr, true, always, dayOf},
    {"LIVE", "NAME", ".NOT. DELETED()", false, [](const Record &r) { return !r.deleted; }, nameOf},
    {"FEW", "DAY", "QTY > 500", false, [](const Record &r) { return r.quantity > 500; }, dayOf},
    {"BIG", "IIF(QTY>0,'Y','N')", nullptr, false, always,
     [](const Record &r) { return std::string(r.quantity > 0 ? "Y" : "N"); }},
};

class IndexChangeTest : public TableTest {
 protected:
  void makeTable() {
    fs::remove(path("T.CDX"));
    const int32_t made = createTable(path("T.DBF"), "NAME C 12, TEXT C 240, QTY N 8 0, DAY D");
    zk_Db_closeDb(made);
    records_.clear();
  }

  void createTags(int32_t table, const char *file) {
    std::vector<ZkTagInfo> tags;
    for (const TagCase &tag : kTags) {
      tags.push_back({const_cast<char *>(tag.name), const_cast<char *>(tag.expression),
                      const_cast<char *>(tag.filter), 0, tag.descending});
    }
    ASSERT_EQ(zk_Tag_create(table, file, tags.data(), static_cast<int32_t>(tags.size())), 0)
        << zk_DbError_text() << zk_DbError_file();
  }

  Record randomRecord() {
    Record record;
    const std::size_t length = random_() % 9;
    for (std::size_t k = 0; k < length; ++k) record.name += "ABC\xE9"[random_() % 4];
    // Long keys with and without much in common, and short ones.
    if (random_() % 3 != 0) {
      record.text = std::string(random_() % 200, 'x');
      while (record.text.size() < 236 && random_() % 8 != 0) {
        record.text += std::to_string(random_() % 1000);
      }
    }
    record.quantity = static_cast<int>(random_() % 3001) - 1000;
    if (random_() % 5 != 0) record.day = "202401" + std::to_string(10 + random_() % 20);
    return record;
  }

  void assign(int32_t table, const Record &record) {
    zk_Db_assignFldStr(table, "NAME", record.name.c_str());
    zk_Db_assignFldStr(table, "TEXT", record.text.c_str());
    zk_Db_assignFldInt(table, "QTY", record.quantity);
    zk_Db_assignFldStr(table, "DAY", padded(record.day, 8).c_str());
  }

  void append(int32_t table) {
    const Record record = randomRecord();
    ASSERT_EQ(zk_Db_appendStart(table), 0);
    assign(table, record);
    ASSERT_EQ(zk_Db_append(table), 0) << zk_DbError_text();
    records_.push_back(record);
    ASSERT_EQ(zk_Db_getRecordNo(table), static_cast<int32_t>(records_.size()));
  }

  void change(int32_t table) {
    const std::size_t i = random_() % records_.size();
    ASSERT_EQ(zk_Db_goRec(table, static_cast<int32_t>(i + 1)), 0);
    Record &record = records_[i];
    switch (random_() % 4) {
      case 0:
        record.deleted = !record.deleted;
        (record.deleted ? zk_Db_delRec : zk_Db_undelRec)(table);
        break;
      case 1:
        record.quantity = static_cast<int>(random_() % 3001) - 1000;
        zk_Db_assignFldInt(table, "QTY", record.quantity);
        break;
      default: {
        const bool deleted = record.deleted;
        record = randomRecord();
        record.deleted = deleted;
        assign(table, record);
      }
    }
    ASSERT_EQ(zk_Db_flush(table), 0) << zk_DbError_text();
  }

  void pack(int32_t table) {
    ASSERT_EQ(zk_Db_packDb(table), 0) << zk_DbError_text();
    std::erase_if(records_, [](const Record &r) { return r.deleted; });
  }

  // Records as the tag must give them: number and key.
  std::vector<std::pair<std::string, int>> ordered(const TagCase &tag) const {
    std::vector<std::pair<std::string, int>> entries;
    for (std::size_t i = 0; i < records_.size(); ++i) {
      if (tag.included(records_[i])) {
        entries.emplace_back(tag.key(records_[i]), static_cast<int>(i + 1));
      }
    }
    std::sort(entries.begin(), entries.end(), [](const auto &a, const auto &b) {
      const int order = a.first.compare(b.first);  // bytes as unsigned
      return order != 0 ? order < 0 : a.second < b.second;
    });
    if (tag.descending) std::reverse(entries.begin(), entries.end());
    return entries;
  }

  static std::vector<int> walk(int32_t table, int status, int (*step)(int32_t, int32_t),
                               int32_t tag) {
    std::vector<int> numbers;
    for (; status == 0 && numbers.size() < 100000; status = step(table, tag)) {
      numbers.push_back(zk_Db_getRecordNo(table));
    }
    return numbers;
  }

  void verify(int32_t table) {
    for (const TagCase &tag : kTags) {
      SCOPED_TRACE(tag.name);
      const int32_t number = zk_Tag_find(table, tag.name);
      ASSERT_GE(number, 0);
      const auto entries = ordered(tag);
      std::vector<int> expected;
      for (const auto &entry : entries) expected.push_back(entry.second);
      ASSERT_EQ(walk(table, zk_Db_topRec(table, number), zk_Db_nextRec, number), expected);
      std::reverse(expected.begin(), expected.end());
      ASSERT_EQ(walk(table, zk_Db_botRec(table, number), zk_Db_prevRec, number), expected);
      for (int i = 0; i < 10 && !entries.empty(); ++i) {
        const std::string &key = entries[random_() % entries.size()].first;
        const auto first = std::find_if(entries.begin(), entries.end(),
                                        [&](const auto &entry) { return entry.first == key; });
        const bool numeric = std::string(tag.name) == "QTY";
        ASSERT_EQ(numeric ? zk_Db_seekDouble(std::stoi(key) - 5000000, table, number)
                          : zk_Db_seekStr(key.c_str(), table, number),
                  0);
        ASSERT_EQ(zk_Db_getRecordNo(table), first->second) << key;
      }
    }
  }

  std::mt19937 random_{1};
  std::vector<Record> records_;
};

TEST_F(IndexChangeTest, EveryTagFollowsRandomChanges) {
  struct Case {
    int mode;
    const char *file;
  } const cases[] = {{0, "other"}, {1, "other"}, {2, "other"}, {2, nullptr}};
  for (const Case &c : cases) {
    SCOPED_TRACE(c.mode);
    makeTable();
    int32_t table = openTable(path("T.DBF"), c.mode);
    const std::string file = c.file != nullptr ? path(c.file) : "";
    createTags(table, file.c_str());
    for (int round = 0; round < 12; ++round) {
      SCOPED_TRACE(round);
      for (int i = 0; i < 150; ++i) {
        random_() % 3 == 0 || records_.empty() ? append(table) : change(table);
        if (HasFatalFailure()) return;
      }
      if (round % 5 == 4) pack(table);
      if (round % 3 == 2) {
        ASSERT_EQ(zk_Db_closeDb(table), 0);
        table = openTable(path("T.DBF"), c.mode);
        if (c.file != nullptr) {
          ASSERT_GE(zk_Db_openNdx(table, file.c_str()), 100);
        }
      }
      verify(table);
      if (HasFatalFailure()) return;
    }
    zk_Db_closeAll();
  }
}

// ---- Refusals

ZkTagInfo tagOf(const char *name, const char *expression, int unique = 0) {
  return {const_cast<char *>(name), const_cast<char *>(expression), nullptr, unique, 0};
}

class IndexRefusalTest : public TableTest {
 protected:
  // Two records, A 1 and B 2, with a unique tag last.
  int32_t makeTable(int mode, const char *indexFile) {
    zk_Db_closeDb(createTable(path("T.DBF"), "CODE C 4, QTY N 4 0"));
    const int32_t table = openTable(path("T.DBF"), mode);
    appendRecord(table, {{"CODE", "A"}, {"QTY", "   1"}});
    appendRecord(table, {{"CODE", "B"}, {"QTY", "   2"}});
    const ZkTagInfo tags[] = {tagOf("INVERSE", "1/QTY"), tagOf("CODE", "CODE", 1)};
    EXPECT_EQ(zk_Tag_create(table, indexFile, tags, 2), 0) << zk_DbError_text();
    return table;
  }

  int append(int32_t table, const char *code, const char *quantity) {
    EXPECT_EQ(zk_Db_appendStart(table), 0);
    zk_Db_assignFldStr(table, "CODE", code);
    zk_Db_assignFldStr(table, "QTY", quantity);
    return zk_Db_append(table);
  }

  int seek(int32_t table, const char *tag, const char *key) {
    return zk_Db_seekStr(key, table, zk_Tag_find(table, tag));
  }
};

TEST_F(IndexRefusalTest, NothingIsWrittenByAChangeThatATagRefuses) {
  const int32_t table = makeTable(0, path("X").c_str());
  const std::string records = readFile(path("T.DBF"));
  const std::string index = readFile(path("X.CDX"));
  EXPECT_EQ(append(table, "A", "   3"), -340);
  EXPECT_STREQ(zk_DbError_file(), "CODE");
  EXPECT_EQ(append(table, "C", "   0"), -440) << "1/0 is no key";
  zk_Db_goRec(table, 2);
  zk_Db_assignFldStr(table, "CODE", "A");
  EXPECT_EQ(zk_Db_topRec(table, -1), -340) << "leaving the changed record writes it";
  EXPECT_EQ(zk_Db_getRecordNo(table), 2) << "the position stays";
  zk_Db_assignFldStr(table, "CODE", "B");
  zk_Db_assignFldInt(table, "QTY", 0);
  EXPECT_EQ(zk_Db_flush(table), -440);
  EXPECT_EQ(readFile(path("T.DBF")), records);
  EXPECT_EQ(readFile(path("X.CDX")), index);
  zk_Db_assignFldInt(table, "QTY", 7);
  EXPECT_EQ(zk_Db_flush(table), 0) << "its own key is no other record's";
  EXPECT_EQ(append(table, "C", "   3"), 0);
  EXPECT_EQ(seek(table, "CODE", "C"), 0);
  EXPECT_EQ(zk_Db_getRecordNo(table), 3);
}

TEST_F(IndexRefusalTest, AnIndexThatDoesNotMatchIsNotUsedAnyMore) {
  int32_t table = makeTable(0, path("X").c_str());
  // Another program changed a key and knows nothing of the index.
  patchFile(path("T.DBF"), headerLength(3, 2) + 1, "Z");
  zk_Db_goRec(table, 1);
  zk_Db_assignFldStr(table, "CODE", "C");
  EXPECT_EQ(zk_Db_flush(table), -910);
  EXPECT_EQ(readFile(path("T.DBF")).substr(headerLength(3, 2) + 1, 1), "Z") << "nor was it written";
  zk_Db_assignFldStr(table, "CODE", "Z");
  EXPECT_EQ(zk_Db_flush(table), 0) << "what concerns no key can be written";
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(seek(table, "CODE", "B"), -310);
    EXPECT_EQ(seek(table, "INVERSE", "1"), -310);
    EXPECT_EQ(zk_Db_topRec(table, zk_Tag_find(table, "CODE")), -310);
    EXPECT_EQ(append(table, "D", "   3"), -310);
    EXPECT_STREQ(zk_DbError_text(), "Index is behind its table");
    EXPECT_EQ(zk_Db_topRec(table, -1), 0) << "records can be read";
    zk_Db_closeAll();
    table = openTable(path("T.DBF"));
    EXPECT_GE(zk_Db_openNdx(table, path("X").c_str()), 100);
  }
  const ZkTagInfo tag = tagOf("CODE", "CODE");
  EXPECT_EQ(zk_Tag_create(table, path("X").c_str(), &tag, 1), 0) << "written anew it is right";
  EXPECT_EQ(seek(table, "CODE", "Z"), 0);
}

TEST_F(IndexRefusalTest, RecordsThatCameWithoutTheIndexAreNoticed) {
  int32_t table = makeTable(0, path("X").c_str());
  zk_Db_closeAll();
  table = openTable(path("T.DBF"));
  appendRecord(table, {{"CODE", "C"}, {"QTY", "   3"}});
  EXPECT_EQ(zk_Db_flush(table), 0);
  EXPECT_GE(zk_Db_openNdx(table, path("X").c_str()), 100);
  EXPECT_EQ(seek(table, "CODE", "A"), -310);
  zk_Db_closeAll();
  // A writer of another kind that keeps indexes says so by the update counter.
  patchFile(path("X.CDX"), 8, big(77, 4));
  table = openTable(path("T.DBF"));
  EXPECT_GE(zk_Db_openNdx(table, path("X").c_str()), 100);
  EXPECT_EQ(seek(table, "CODE", "A"), 0);
}

TEST_F(IndexRefusalTest, UniqueTagsOfOtherProgramsLackRecords) {
  int32_t table = makeTable(2, nullptr);
  zk_Db_closeAll();
  // A second A that the tag leaves out, as other programs do.
  std::string bytes = readFile(path("T.DBF"));
  bytes.insert(bytes.size() - 1, " A      3");
  bytes[4] = 3;
  writeFile(path("T.DBF"), bytes);
  patchFile(path("T.CDX"), 64, std::string(16, '\0'));
  table = openTable(path("T.DBF"));
  const ZkTagInfo plain = tagOf("INVERSE", "QTY");
  EXPECT_EQ(zk_Tag_create(table, nullptr, &plain, 1), 0) << "rewriting keeps that so";
  EXPECT_EQ(zk_Db_goRec(table, 3), 0);
  zk_Db_assignFldStr(table, "CODE", "C");
  EXPECT_EQ(zk_Db_flush(table), 0) << zk_DbError_text();
  EXPECT_EQ(seek(table, "CODE", "A"), 0);
  EXPECT_EQ(zk_Db_getRecordNo(table), 1);
  EXPECT_EQ(seek(table, "CODE", "C"), 0);
  EXPECT_EQ(zk_Db_getRecordNo(table), 3);
}

// ---- Files

TEST_F(IndexRefusalTest, WhichFileBecomesTheProductionIndex) {
  const struct {
    int mode;
    const char *file;
    bool production;
  } cases[] = {{2, "T", true}, {2, "", true}, {2, "t.cdx", true}, {2, "X", false}, {0, "T", false}};
  for (const auto &c : cases) {
    SCOPED_TRACE(std::string(c.file) + std::to_string(c.mode));
    for (const char *name : {"T.CDX", "t.cdx"}) fs::remove(path(name));
    makeTable(c.mode, c.file[0] != '\0' ? path(c.file).c_str() : "");
    zk_Db_closeAll();
    EXPECT_EQ(readFile(path("T.DBF"))[28], c.production ? 1 : 0);
    EXPECT_EQ(zk_Tag_count(openTable(path("T.DBF"))), c.production ? 2 : 0);
    zk_Db_closeAll();
  }
}

TEST_F(IndexRefusalTest, AReadOnlyIndexFileIsNotReplaced) {
  int32_t table = makeTable(0, path("X").c_str());
  zk_Db_closeAll();
  ASSERT_EQ(zk_File_setReadOnlyAccess(path("X.CDX").c_str()), 1);
  table = openTable(path("T.DBF"));
  const ZkTagInfo tag = tagOf("CODE", "CODE");
  EXPECT_EQ(zk_Tag_create(table, path("X").c_str(), &tag, 1), -20);
  EXPECT_STREQ(zk_Db_readOnlyReason(table), "an index file is read-only");
  EXPECT_EQ(zk_Tag_count(table), 2);
}

TEST_F(IndexRefusalTest, IndexFilesById) {
  const int32_t table = makeTable(2, nullptr);
  // The production index is open: an id for it; closing takes the id away, not the index.
  EXPECT_EQ(zk_Db_openNdx(table, path("T").c_str()), 100);
  EXPECT_EQ(zk_Db_closeNdx(150), 0);
  EXPECT_EQ(zk_Db_closeNdx(150), 1);
  EXPECT_EQ(zk_Tag_count(table), 2);
  EXPECT_EQ(zk_Db_createNdx(table, path("N").c_str(), "CODE, QTY", 0), 100);
  EXPECT_EQ(zk_Tag_count(table), 4);
  EXPECT_EQ(zk_Db_seekDouble(2, table, 101), 0) << "TAG001";
  EXPECT_EQ(zk_Db_getRecordNo(table), 2);
  // Creating it again replaces the tags.
  EXPECT_EQ(zk_Db_createNdx(table, path("N").c_str(), "QTY", 0), 200);
  EXPECT_EQ(zk_Tag_count(table), 3);
  EXPECT_EQ(zk_Db_createNdx(table, path("N").c_str(), "NOTHING", 0), 300);
  EXPECT_EQ(zk_DbError_code(), -490);
  EXPECT_EQ(zk_Tag_count(table), 3) << "what was there stays";
  EXPECT_EQ(zk_Db_seekDouble(2, table, 200), 0);
  EXPECT_EQ(zk_Db_closeNdx(200), 0);
  EXPECT_EQ(zk_Tag_count(table), 2);
  EXPECT_EQ(zk_Db_seekDouble(2, table, 200), 80);
  zk_Db_closeAll();

  EXPECT_EQ(zk_Cb_createNdx(path("T").c_str(), "CODE", 0), 1);
  const int32_t again = openTable(path("T.DBF"));
  EXPECT_EQ(zk_Tag_count(again), 1);
  EXPECT_EQ(zk_Db_seekStr("B", again, 0), 0);
}

}  // namespace
