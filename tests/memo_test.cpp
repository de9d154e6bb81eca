#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/support.h"
#include "zk_baselib.h"

namespace {

using namespace support;
using Texts = std::vector<std::string>;

constexpr std::size_t kMemoHeader = 512;
constexpr std::size_t kPrefix = 8;  // of each memo: type and length

// A text of that length that no shifted or foreign text equals.
std::string textOf(std::size_t length, unsigned seed = 0) {
  std::string text(length, '\0');
  for (std::size_t i = 0; i < length; ++i) {
    text[i] = static_cast<char>('a' + (i * 7 + i / 26 + seed) % 26);
  }
  return text;
}

class MemoTest : public TableTest {
 protected:
  // A table with the fields ID (N 4), M and M2 (memos) in T.DBF and T.FPT.
  int32_t createMemos() const { return createTable(path("T.DBF"), "ID N 4, M M, M2 M"); }

  // A table of a memo field M behind ID (C 2), and a memo file with that block size; both by hand.
  void writeMemoTable(unsigned blockSize, const std::vector<std::string> &memos,
                      bool binaryReferences = false, const std::string &name = "t.dbf",
                      const std::string &memoName = "t.fpt") const {
    const std::size_t first = (kMemoHeader + blockSize - 1) / blockSize;
    std::string memoFile(first * blockSize, '\0');
    std::vector<std::string> records;
    for (std::size_t i = 0; i < memos.size(); ++i) {
      const std::size_t block = memos[i].empty() ? 0 : memoFile.size() / blockSize;
      if (block != 0) memoFile += big(1, 4) + big(memos[i].size(), 4) + memos[i];
      memoFile.resize((memoFile.size() + blockSize - 1) / blockSize * blockSize);
      const std::string digits = block != 0 ? std::to_string(block) : "";
      records.push_back(
          " " + std::to_string(10 + i) +
          (binaryReferences ? little(block, 4) : std::string(10 - digits.size(), ' ') + digits));
    }
    memoFile.replace(0, 8, big(memoFile.size() / blockSize, 4) + big(blockSize, 4));
    writeFile(path(memoName), memoFile);
    const unsigned width = binaryReferences ? 4 : 10;
    writeFile(path(name), tableBytes(binaryReferences ? 0x30 : 0xF5,
                                     {{"ID", 'C', 2}, {"M", 'M', width}}, records));
  }

  // The texts of M in record order.
  static Texts memosOf(int32_t table) {
    Texts result;
    for (int s = zk_Db_topRec(table, -1); s == 0; s = zk_Db_nextRec(table, -1)) {
      result.push_back(fieldText(table, "M"));
    }
    return result;
  }
};

void setMemo(int32_t table, const std::string &text) { assign(table, {{"M", text}}); }

// Checks a memo file from outside: every reference of the table leads to a block of its own inside
// the file, and none reaches into another's or past the next free block.
void expectSoundMemoFile(const std::string &table, const std::string &memo) {
  const std::size_t blockSize = bigAt(memo, 6, 2);
  std::vector<std::pair<std::size_t, std::size_t>> spans;
  const std::size_t fields = (littleAt(table, 8, 2) - 33) / 32;
  const std::size_t start = littleAt(table, 8, 2);
  const std::size_t length = littleAt(table, 10, 2);
  for (std::size_t record = 0; record < littleAt(table, 4, 4); ++record) {
    std::size_t offset = start + record * length + 1;
    for (std::size_t field = 1; field <= fields; ++field) {
      const std::size_t width = littleAt(table, 32 * field + 16, 1);
      if (table[32 * field + 11] == 'M') {
        std::string digits = table.substr(offset, width);
        digits.erase(0, digits.find_first_not_of(' '));
        if (!digits.empty()) {
          const std::size_t at = std::stoul(digits) * blockSize;
          ASSERT_GE(at, kMemoHeader);
          ASSERT_LE(at + kPrefix, memo.size());
          const std::size_t size = kPrefix + bigAt(memo, at + 4, 4);
          spans.emplace_back(at, at + (size + blockSize - 1) / blockSize * blockSize);
        }
      }
      offset += width;
    }
  }
  std::sort(spans.begin(), spans.end());
  std::size_t end = kMemoHeader;
  for (const auto &[from, to] : spans) {
    EXPECT_GE(from, end) << "two memos share a block";
    end = to;
  }
  EXPECT_LE(end, memo.size());
  EXPECT_GE(bigAt(memo, 0, 4) * blockSize, end) << "the next free block is in use";
}

// ---- Reading and writing

TEST_F(MemoTest, LengthsAroundBlockEdges) {
  for (const unsigned blockSize : {1u, 33u, 64u, 512u, 16384u}) {
    SCOPED_TRACE(blockSize);
    std::vector<std::size_t> lengths = {1, 2, 7, 503, 504, 505, 511, 512, 513, 70000};
    for (const std::size_t blocks : {1u, 2u, 5u}) {
      for (int around = -1; around <= 1; ++around) {
        const auto length = static_cast<std::int64_t>(blocks * blockSize) + around;
        if (length > static_cast<std::int64_t>(kPrefix)) lengths.push_back(length - kPrefix);
        if (length > 0) lengths.push_back(static_cast<std::size_t>(length));
      }
    }
    writeMemoTable(blockSize, {"first", ""});
    int32_t table = openTable(path("t.dbf"));
    ZkDbInfo info;
    ASSERT_EQ(zk_Db_getInfo(table, &info), 1);
    EXPECT_EQ(info.memoBlockSize, static_cast<int32_t>(blockSize));
    Texts expected = {"first", ""};
    for (const std::size_t length : lengths) {
      expected.push_back(textOf(length, static_cast<unsigned>(expected.size())));
      appendRecord(table, {{"ID", "x"}, {"M", expected.back()}});
    }
    EXPECT_EQ(memosOf(table), expected);
    zk_Db_closeDb(table);
    table = openTable(path("t.dbf"), 2);
    EXPECT_EQ(memosOf(table), expected);
    zk_Db_closeDb(table);
    expectSoundMemoFile(bytesOf("t.dbf"), bytesOf("t.fpt"));
  }
}

TEST_F(MemoTest, TheFieldOperations) {
  const int32_t table = createMemos();
  appendRecord(table, {{"ID", "1"}});
  EXPECT_EQ(fieldText(table, "M"), "") << "a new record has no memo";
  EXPECT_EQ(sizeOf("T.FPT"), kMemoHeader);

  EXPECT_EQ(zk_Db_assignFldStr(table, "M", "  text  "), 0);
  EXPECT_EQ(sizeOf("T.FPT"), kMemoHeader) << "written with the record, not before";
  EXPECT_EQ(zk_Db_getFldLength(table, "M"), 8);
  EXPECT_EQ(trimmed(table, "M"), "  text");
  EXPECT_EQ(fieldText(table, "M2"), "");
  char buffer[8] = "???????";
  EXPECT_EQ(zk_Db_cpyFldN(table, "M", buffer, 5), 5);
  EXPECT_STREQ(buffer, "  tex");
  EXPECT_EQ(zk_Db_assignFldDouble(table, "M2", -1.5), 0);
  EXPECT_EQ(zk_Db_assignFldInt(table, "M2", 42), 0);
  EXPECT_EQ(zk_Db_getFldInt(table, "M2"), 42);
  EXPECT_EQ(zk_Db_getFldDouble(table, "M2"), 42.0);

  const List made(zk_Db_readRec(table, nullptr));
  EXPECT_STREQ(zk_DbFldList_getFldVal(made.get(), "M"), "  text");
  const List stored(zk_DbFldList_create("M2", "by list", "M", " again ", (char *)nullptr));
  EXPECT_EQ(zk_Db_modRec(table, stored.get()), 0);
  EXPECT_EQ(zk_Db_nextRec(table, -1), 3);
  EXPECT_EQ(zk_Db_getFldLength(table, "M"), 0) << "nothing at end of file";
  const Cursor all(zk_Db_readTable(table, "T", stored.get()));
  DbFldList *const row = zk_DbCursor_getNthFldList(all.get(), 0);
  EXPECT_STREQ(zk_DbFldList_getFldVal(row, "M2"), "by list");
  EXPECT_STREQ(zk_DbFldList_getFldVal(row, "M"), " again");

  // A field's own text may be given back to it.
  zk_Db_topRec(table, -1);
  const std::string before = bytesOf("T.FPT");
  EXPECT_EQ(zk_Db_assignFldStr(table, "M2", zk_Db_getFldStr(table, "M2")), 0);
  EXPECT_EQ(zk_Db_flush(table), 0);
  EXPECT_EQ(bytesOf("T.FPT"), before);
}

TEST_F(MemoTest, AnyBytesAndAnyLength) {
  std::string all;
  for (int byte = 0; byte < 256; ++byte) all += static_cast<char>(byte);
  const Texts kTexts = {all,
                        std::string(3, '\0'),
                        all + all,
                        std::string(600, ' '),
                        std::string(1, '\x1A'),
                        textOf(65535),
                        textOf(65536),
                        textOf(3000000)};
  int32_t table = createMemos();
  for (const std::string &text : kTexts) appendRecord(table, {{"M", text}});
  EXPECT_EQ(memosOf(table), kTexts);
  zk_Db_closeDb(table);
  table = openTable(path("T.DBF"));
  EXPECT_EQ(memosOf(table), kTexts);
}

// Steps of one memo's life: whether the file grows, and what the field then gives.
TEST_F(MemoTest, LongerTextsMoveAndOthersStay) {
  const int32_t table = createMemos();
  appendRecord(table, {{"ID", "1"}, {"M", textOf(100)}});
  appendRecord(table, {{"ID", "2"}, {"M", "neighbour"}});
  const struct {
    std::size_t length;
    bool grows;
  } kSteps[] = {
      {100, false},  // unchanged
      {50, false},   // shorter, one block less
      {56, false},   // all of the one block that is left
      {57, true},    // one byte more
      {120, false},  // both blocks full
      {121, true},  {0, false}, {5, false}, {1000, true}, {999, false}, {1000, false},
  };
  for (const auto &step : kSteps) {
    SCOPED_TRACE(step.length);
    const auto before = sizeOf("T.FPT");
    zk_Db_goRec(table, 1);
    setMemo(table, textOf(step.length, 3));
    EXPECT_EQ(zk_Db_nextRec(table, -1), 0);
    EXPECT_EQ(fieldText(table, "M"), "neighbour");
    EXPECT_EQ(sizeOf("T.FPT") > before, step.grows);
    zk_Db_goRec(table, 1);
    EXPECT_EQ(fieldText(table, "M"), textOf(step.length, 3));
    expectSoundMemoFile(bytesOf("T.DBF"), bytesOf("T.FPT"));
  }
}

TEST_F(MemoTest, EmptyTextTakesNoBlock) {
  const int32_t table = createMemos();
  appendRecord(table, {{"ID", "1"}, {"M", ""}});
  setMemo(table, "some text");
  setMemo(table, "");
  zk_Db_closeDb(table);
  EXPECT_EQ(sizeOf("T.FPT"), kMemoHeader);
  EXPECT_EQ(bytesOf("T.DBF").substr(headerLength(0xF5, 3) + 5, 20), std::string(20, ' '));
}

TEST_F(MemoTest, ReferencesOfFourBytes) {
  writeMemoTable(64, {"one", "", textOf(200)}, true);
  int32_t table = openTable(path("t.dbf"));
  EXPECT_EQ(memosOf(table), (Texts{"one", "", textOf(200)}));
  zk_Db_goRec(table, 2);
  setMemo(table, "two");
  appendRecord(table, {{"M", "four"}});
  appendRecord(table, {});
  zk_Db_goRec(table, 1);
  zk_Db_delRec(table);
  EXPECT_EQ(zk_Db_packDb(table), 0);
  const Texts expected = {"two", textOf(200), "four", ""};
  EXPECT_EQ(memosOf(table), expected);
  zk_Db_closeDb(table);
  const std::string bytes = bytesOf("t.dbf");
  EXPECT_EQ(littleAt(bytes, headerLength(0x30, 2) + 3, 4), 8u) << "the first block";
  EXPECT_EQ(littleAt(bytes, headerLength(0x30, 2) + 3 * 7 + 3, 4), 0u);
  table = openTable(path("t.dbf"));
  EXPECT_EQ(memosOf(table), expected);
}

// ---- No two records share a block

TEST_F(MemoTest, AppendedCopiesHaveBlocksOfTheirOwn) {
  for (const int mode : {0, 2}) {
    SCOPED_TRACE(mode);
    zk_Db_closeDb(createMemos());
    const int32_t table = openTable(path("T.DBF"), mode);
    appendRecord(table, {{"ID", "1"}, {"M", "shared?"}, {"M2", textOf(100)}});
    EXPECT_EQ(zk_Db_appendStart(table), 0);
    EXPECT_EQ(fieldText(table, "M"), "shared?");
    EXPECT_EQ(zk_Db_append(table), 0);
    EXPECT_EQ(zk_Db_appendStart(table), 0);
    setMemo(table, "changed between");
    EXPECT_EQ(zk_Db_append(table), 0);
    zk_Db_goRec(table, 2);
    setMemo(table, "SECOND!");
    EXPECT_EQ(memosOf(table), (Texts{"shared?", "SECOND!", "changed between"}));
    for (int i = 1; i <= 3; ++i) {
      zk_Db_goRec(table, i);
      EXPECT_EQ(fieldText(table, "M2"), textOf(100));
    }
    // One that is abandoned leaves the record that it began at alone.
    zk_Db_goRec(table, 1);
    zk_Db_appendStart(table);
    setMemo(table, "never");
    EXPECT_EQ(zk_Db_goRec(table, 99), -930);
    EXPECT_EQ(fieldText(table, "M"), "shared?");
    zk_Db_closeDb(table);
    expectSoundMemoFile(bytesOf("T.DBF"), bytesOf("T.FPT"));
  }
}

TEST_F(MemoTest, BufferWrittenToAnotherRecord) {
  const int32_t table = createMemos();
  appendRecord(table, {{"ID", "1"}, {"M", "one"}});
  appendRecord(table, {{"ID", "2"}, {"M", "two"}});
  appendRecord(table, {{"ID", "3"}});
  ZkTable *handle = zk_DbRef_sel(table);
  zk_Db_goRec(table, 1);
  EXPECT_EQ(zk_d4write(handle, 2), 0);  // with its memo unread
  EXPECT_EQ(fieldText(table, "M"), "one");
  setMemo(table, "ONE");
  EXPECT_EQ(zk_d4write(handle, 3), 0);  // with a changed one
  EXPECT_EQ(memosOf(table), (Texts{"one", "one", "ONE"}));
  zk_Db_goRec(table, 2);
  setMemo(table, "2");
  EXPECT_EQ(memosOf(table), (Texts{"one", "2", "ONE"}));
  expectSoundMemoFile(bytesOf("T.DBF"), bytesOf("T.FPT"));

  // Refused ones change nothing and lose nothing.
  zk_Db_goRec(table, 1);
  EXPECT_EQ(zk_d4write(handle, 9), -930);
  EXPECT_EQ(zk_d4write(handle, 1), 0);
  EXPECT_EQ(memosOf(table), (Texts{"one", "2", "ONE"}));
}

// ---- Packing

TEST_F(MemoTest, PackCompactsTheMemoFile) {
  for (const int mode : {0, 2}) {
    for (const unsigned blockSize : {1u, 33u, 64u, 16384u}) {
      SCOPED_TRACE(std::to_string(blockSize) + " in mode " + std::to_string(mode));
      writeMemoTable(blockSize, {textOf(20), textOf(5000), "", textOf(100)});
      const int32_t table = openTable(path("t.dbf"), mode);
      zk_Db_goRec(table, 4);
      setMemo(table, textOf(40000));
      zk_Db_flush(table);
      setMemo(table, textOf(3, 9));
      zk_Db_goRec(table, 2);
      zk_Db_delRec(table);
      EXPECT_EQ(zk_Db_packDb(table), 0);
      EXPECT_EQ(memosOf(table), (Texts{textOf(20), "", textOf(3, 9)}));
      const auto blocks = [blockSize](std::size_t size) {
        return (size + blockSize - 1) / blockSize;
      };
      EXPECT_EQ(sizeOf("t.fpt"),
                (blocks(kMemoHeader) + blocks(kPrefix + 20) + blocks(kPrefix + 3)) * blockSize);
      appendRecord(table, {{"M", "after"}});
      zk_Db_goRec(table, 1);
      setMemo(table, textOf(6000));
      EXPECT_EQ(memosOf(table), (Texts{textOf(6000), "", textOf(3, 9), "after"}));
      zk_Db_closeDb(table);
      EXPECT_EQ(files(), (Texts{"t.dbf", "t.fpt"}));
      expectSoundMemoFile(bytesOf("t.dbf"), bytesOf("t.fpt"));
      EXPECT_EQ(bigAt(bytesOf("t.fpt"), 6, 2), blockSize);
    }
  }
}

TEST_F(MemoTest, PackKeepsTheTypeOfABlock) {
  writeMemoTable(64, {"picture", "text"});
  patchFile(path("t.fpt"), kMemoHeader, std::string(4, '\0'));
  const int32_t table = openTable(path("t.dbf"));
  EXPECT_EQ(zk_Db_packDb(table), 0);
  EXPECT_EQ(memosOf(table), (Texts{"picture", "text"}));
  EXPECT_EQ(bigAt(bytesOf("t.fpt"), kMemoHeader, 4), 0u);
  EXPECT_EQ(bigAt(bytesOf("t.fpt"), kMemoHeader + 64, 4), 1u);
}

// ---- The memo file beside the table

TEST_F(MemoTest, MissingMemoFileIsNamed) {
  writeMemoTable(64, {"one"});
  fs::remove(path("t.fpt"));
  EXPECT_EQ(openTable(path("t.dbf")), -1);
  EXPECT_EQ(zk_DbError_code(), -60);
  EXPECT_EQ(fs::path(zk_DbError_file()).filename(), "t.fpt");
  EXPECT_EQ(files(), (Texts{"t.dbf"}));
}

TEST_F(MemoTest, ExtensionsOfAnyCase) {
  const struct {
    const char *table, *memo;
  } kCases[] = {{"t.dbf", "t.fpt"},
                {"T.DBF", "T.FPT"},
                {"t.dbf", "T.FPT"},
                {"T.DBF", "t.Fpt"},
                {"t.v1.tab", "t.v1.fpt"}};
  for (const auto &c : kCases) {
    SCOPED_TRACE(std::string(c.table) + ' ' + c.memo);
    writeMemoTable(64, {"one"}, false, c.table, c.memo);
    const int32_t table = openTable(path(c.table));
    ASSERT_GE(table, 0);
    appendRecord(table, {{"M", "two"}});
    EXPECT_EQ(zk_Db_packDb(table), 0);
    EXPECT_EQ(memosOf(table), (Texts{"one", "two"}));
    zk_Db_closeDb(table);
    Texts both = {c.table, c.memo};
    std::sort(both.begin(), both.end());
    EXPECT_EQ(files(), both);
    for (const char *name : {c.table, c.memo}) fs::remove(path(name));
  }
  // New ones follow the table's own spelling.
  for (const auto &[table, memo] :
       {std::pair("A.DBF", "A.FPT"), std::pair("b.dbf", "b.fpt"), std::pair("c", "c.FPT")}) {
    zk_Db_closeDb(createTable(path(table), "M M"));
    EXPECT_TRUE(fs::exists(path(memo))) << memo;
  }
}

TEST_F(MemoTest, ReadOnlyMemoFileRefusesChanges) {
  writeMemoTable(64, {"one"});
  fs::permissions(path("t.fpt"),
                  fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                  fs::perm_options::remove);
  const int32_t table = openTable(path("t.dbf"));
  EXPECT_EQ(memosOf(table), (Texts{"one"}));
  EXPECT_STRNE(zk_Db_readOnlyReason(table), "");
  zk_Db_goRec(table, 1);
  setMemo(table, "two");
  EXPECT_EQ(zk_Db_nextRec(table, -1), -120);
  EXPECT_EQ(zk_Db_getRecordNo(table), 1);
  zk_Db_closeDb(table);
  fs::permissions(path("t.fpt"), fs::perms::owner_write, fs::perm_options::add);
}

TEST_F(MemoTest, CreatingReplacesBothFiles) {
  zk_Db_closeDb(createMemos());
  int32_t table = openTable(path("T.DBF"));
  appendRecord(table, {{"M", textOf(1000)}});
  zk_Db_closeDb(table);
  table = createMemos();
  ASSERT_GE(table, 0);
  EXPECT_EQ(zk_Db_getRecordCount(table), 0);
  EXPECT_EQ(sizeOf("T.FPT"), kMemoHeader);
  EXPECT_EQ(files(), (Texts{"T.DBF", "T.FPT"}));
}

// ---- A replacement of the two files that was killed half-way

TEST_F(MemoTest, InterruptedReplacementIsCompleted) {
  // The table in place is the new one already: its memo file still has the new name.
  writeMemoTable(64, {"old", "gone"}, false, "T.DBF", "T.FPT");
  fs::rename(path("T.FPT"), path("old"));
  writeMemoTable(64, {"new"}, false, "T.DBF", "T.FPT.zknew");
  fs::rename(path("old"), path("T.FPT"));
  const int32_t table = openTable(path("T.DBF"));
  ASSERT_GE(table, 0);
  EXPECT_EQ(memosOf(table), (Texts{"new"}));
  EXPECT_EQ(files(), (Texts{"T.DBF", "T.FPT"}));
}

TEST_F(MemoTest, ReplacementThatHadNotBegunIsIgnored) {
  writeMemoTable(64, {"new"}, false, "T.DBF.zknew", "T.FPT.zknew");
  writeMemoTable(64, {"old", "kept"}, false, "T.DBF", "T.FPT");
  int32_t table = openTable(path("T.DBF"));
  ASSERT_GE(table, 0);
  EXPECT_EQ(memosOf(table), (Texts{"old", "kept"}));
  EXPECT_EQ(zk_Db_packDb(table), 0) << "what was left behind does not stand in the way";
  EXPECT_EQ(memosOf(table), (Texts{"old", "kept"}));
  zk_Db_closeDb(table);
  EXPECT_EQ(files(), (Texts{"T.DBF", "T.FPT"}));
}

TEST_F(MemoTest, InterruptedReplacementOfAReadOnlyTableIsReported) {
  writeMemoTable(64, {"new"}, false, "T.DBF", "T.FPT.zknew");
  writeFile(path("T.FPT"), "stale");
  fs::permissions(path("T.DBF"),
                  fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                  fs::perm_options::remove);
  EXPECT_EQ(openTable(path("T.DBF")), -1) << "the memo file in place is not the table's";
  EXPECT_EQ(zk_DbError_code(), -60);
  fs::permissions(path("T.DBF"), fs::perms::owner_write, fs::perm_options::add);
  EXPECT_EQ(memosOf(openTable(path("T.DBF"))), (Texts{"new"}));
}

TEST_F(MemoTest, CreatingOverAnInterruptedReplacement) {
  writeMemoTable(64, {"new"}, false, "T.DBF", "T.FPT.zknew");
  writeFile(path("T.FPT"), "stale");
  const int32_t table = createMemos();
  ASSERT_GE(table, 0);
  appendRecord(table, {{"M", "mine"}});
  EXPECT_EQ(memosOf(table), (Texts{"mine"}));
  zk_Db_closeDb(table);
  EXPECT_EQ(files(), (Texts{"T.DBF", "T.FPT"}));
}

}  // namespace
