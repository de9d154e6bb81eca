// Damaged and odd files: a documented code or a sensible answer, never a crash or a hang, and no
// damage to what is still good.
#include <algorithm>
#include <cstdlib>
#include <random>

#include "tests/indexed_table.h"
#include "tests/processes.h"
#include "tests/support.h"

namespace {

using support::appendRecord;
using support::big;
using support::bigAt;
using support::fieldText;
using support::little;
using support::openTable;
using support::patchFile;
using support::readFile;
using support::writeFile;

constexpr int kCreating = -20;
constexpr int kOpening = -60;
constexpr int kReading = -70;
constexpr int kWriting = -120;
constexpr int kNotATable = -200;

constexpr std::size_t kBlockSize = 64;
constexpr std::size_t kFirstBlock = 512 / kBlockSize;

// The largest block that was asked for: a number in a damaged file must not decide it.
std::size_t largestRequest = 0;

void *measuredAllocate(std::size_t size) {
  largestRequest = std::max(largestRequest, size);
  return std::malloc(size);
}
void *measuredReallocate(void *block, std::size_t size) {
  largestRequest = std::max(largestRequest, size);
  return std::realloc(block, size);
}

class Damaged : public support::TableTest {
 protected:
  static void SetUpTestSuite() {
    zk_MemoryManager_set(measuredAllocate, measuredReallocate, std::calloc, std::free);
  }
  void SetUp() override { largestRequest = 0; }
  void TearDown() override { EXPECT_LT(largestRequest, 2u << 20); }

  const std::string file_ = path("T.DBF");
  const std::string memoFile_ = path("T.FPT");

  void expectRefusal(int code, const std::string &file) {
    EXPECT_EQ(openTable(file_), -1);
    EXPECT_EQ(zk_DbError_code(), code);
    EXPECT_EQ(zk_DbError_file(), file);
    EXPECT_EQ(zk_Db_closeAll(), 0);
  }
};

// ---- The table file

TEST_F(Damaged, AFileThatEndsInItsHeader) {
  const std::string whole =
      support::tableBytes(0x03, {{"PART", 'C', 8}, {"QTY", 'N', 6, 2}}, {" nail      1.50"});
  const std::size_t header = support::headerLength(0x03, 2);
  for (std::size_t length = 0; length < header; ++length) {
    SCOPED_TRACE(length);
    writeFile(file_, whole.substr(0, length));
    expectRefusal(kNotATable, file_);
  }
  for (std::size_t length = header; length <= whole.size(); ++length) {
    SCOPED_TRACE(length);
    writeFile(file_, whole.substr(0, length));
    const int32_t table = openTable(file_);
    const int32_t count = length < whole.size() - 1 ? 0 : 1;
    ASSERT_GE(table, 0);
    EXPECT_EQ(zk_Db_getRecordCount(table), count) << "whole records only";
    appendRecord(table, {{"PART", "bolt"}});
    EXPECT_EQ(zk_Db_getRecordNo(table), count + 1);
    EXPECT_EQ(zk_Db_closeDb(table), 0);
    EXPECT_EQ(bytesOf("T.DBF").size(), header + 15u * static_cast<unsigned>(count + 1) + 1);
  }
}

TEST_F(Damaged, HeadersThatDoNotAddUp) {
  const std::vector<support::FileField> fields = {{"PART", 'C', 8}, {"QTY", 'N', 6, 2}};
  const std::string whole =
      support::tableBytes(0x03, fields, {" nail      1.50", " bolt      2.50"});
  constexpr int kRefused = -1;
  struct Case {
    const char *what;
    std::size_t offset;
    std::string bytes;
    int32_t count;  // or refused
  };
  const Case cases[] = {
      {"count 0", 4, little(0, 4), 0},
      {"count 1", 4, little(1, 4), 1},
      {"count beyond the file", 4, little(3, 4), 2},
      {"count with a high bit", 4, little(0x80000001, 4), 2},
      {"largest count", 4, little(0xFFFFFFFF, 4), 2},
      {"header length 0", 8, little(0, 2), kRefused},
      {"header length 32", 8, little(32, 2), kRefused},
      {"header of one byte more", 8, little(33, 2), kRefused},
      {"header without the last field", 8, little(65, 2), kRefused},
      {"header without its end", 8, little(96, 2), kRefused},
      {"header into the records", 8, little(100, 2), 1},
      {"header to the file's end", 8, little(whole.size(), 2), 0},
      {"header beyond the file", 8, little(whole.size() + 1, 2), kRefused},
      {"largest header length", 8, little(0xFFFF, 2), kRefused},
      {"record length 0", 10, little(0, 2), kRefused},
      {"record length 1", 10, little(1, 2), kRefused},
      {"record too short", 10, little(14, 2), kRefused},
      {"record too long", 10, little(16, 2), kRefused},
      {"largest record length", 10, little(0xFFFF, 2), kRefused},
      {"no end mark", 96, "X", kRefused},
      {"end mark after no field", 32, "\x0D", kRefused},
      {"end mark after one field", 64, "\x0D", kRefused},
      {"field of width 0", 32 + 16, little(0, 1), kRefused},
      {"wide field", 32 + 16, little(0xFFFF, 2), kRefused},
      {"another type", 32 + 11, "\x01", 2},
      {"no name", 32, std::string(11, '\0'), 2},
      {"two of one name", 64, std::string("PART\0\0\0\0\0\0\0", 11), 2},
      {"name without an end", 32, std::string(11, 'N'), 2},
      {"version 0", 0, little(0, 1), 2},
      {"impossible date", 1, "\xFF\xFF\xFF", 2},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.what);
    writeFile(file_, whole);
    patchFile(file_, c.offset, c.bytes);
    if (c.count == kRefused) {
      expectRefusal(kNotATable, file_);
      continue;
    }
    const int32_t table = openTable(file_);
    ASSERT_GE(table, 0) << zk_DbError_code();
    EXPECT_EQ(zk_Db_getRecordCount(table), c.count);
    EXPECT_EQ(zk_Db_botRec(table, -1), c.count == 0 ? 3 : 0);
    support::Cursor rows(zk_Db_readTable(table, "T", nullptr));
    EXPECT_EQ(zk_DbCursor_length(rows.get()), static_cast<std::uint32_t>(c.count));
    EXPECT_EQ(zk_Db_closeDb(table), 0);
  }

  // Widths whose sum wraps round to the record length.
  std::vector<support::FileField> wide(1, {"F", 'C', 14});
  for (int i = 0; i < 2; ++i) wide.push_back({"W", 'C', 0x8000});
  writeFile(file_, support::tableBytes(0x03, wide, {}));
  patchFile(file_, 10, little(15, 2));
  expectRefusal(kNotATable, file_);
}

TEST_F(Damaged, ThingsThatAreNoFiles) {
  const auto removeAll = [this] {
    for (const std::string &name : files()) support::fs::remove(path(name));
  };
  using Make = void (*)(const std::string &path);
  const Make makers[] = {
      [](const std::string &name) { support::fs::create_directory(name); },
      [](const std::string &name) {
        // A careless opener would wait for the pipe's other end.
        if (!processes::makeNamedPipe(name)) support::fs::create_directory(name);
      },
  };
  for (const Make make : makers) {
    make(file_);
    for (int mode : {0, 1, 2}) {
      EXPECT_EQ(openTable(file_, mode), -1);
      EXPECT_EQ(zk_DbError_code(), kOpening);
    }
    EXPECT_EQ(support::createTable(file_, "A C 5"), -1);
    EXPECT_EQ(zk_DbError_code(), kCreating);
    EXPECT_EQ(files(), std::vector<std::string>{"T.DBF"});
    removeAll();

    // In the place of the memo file: nothing is created, nothing opened.
    make(memoFile_);
    EXPECT_EQ(zk_Db_closeDb(support::createTable(file_, "A C 5")), 0) << "needs no memo file";
    const std::string plain = bytesOf("T.DBF");
    EXPECT_EQ(support::createTable(file_, "A C 5, M M"), -1);
    EXPECT_EQ(bytesOf("T.DBF"), plain) << "the old table stays";
    EXPECT_EQ(files(), (std::vector<std::string>{"T.DBF", "T.FPT"}));
    writeFile(file_, support::tableBytes(0xF5, {{"M", 'M', 10}}, {}));
    expectRefusal(kOpening, memoFile_);
    removeAll();

    // In the way of packing.
    const int32_t table = support::createTable(file_, "A C 5, M M");
    appendRecord(table, {{"A", "one"}, {"M", "text"}});
    for (const char *inTheWay : {"T.DBF.zknew", "T.FPT.zknew"}) {
      make(path(inTheWay));
      const std::string before = bytesOf("T.DBF");
      const bool stays = support::fs::is_directory(path(inTheWay));
      EXPECT_EQ(zk_Db_packDb(table), std::string(inTheWay) == "T.FPT.zknew" && !stays
                                         ? 0  // what was left there is cleared away
                                         : kCreating);
      EXPECT_EQ(bytesOf("T.DBF"), before);
      EXPECT_EQ(fieldText(table, "M"), "text");
      support::fs::remove(path(inTheWay));
    }
    EXPECT_EQ(zk_Db_packDb(table), 0);
    EXPECT_EQ(zk_Db_closeDb(table), 0);
    removeAll();
  }
  EXPECT_EQ(openTable(path("nowhere/T.DBF")), -1);
  EXPECT_EQ(zk_DbError_code(), kOpening);
  EXPECT_EQ(support::createTable(path("nowhere/T.DBF"), "A C 5"), -1);
  EXPECT_EQ(zk_DbError_code(), kCreating);
}

// ---- The memo file

class DamagedMemo : public Damaged {
 protected:
  // Three records; their memos take the blocks 8 and 9, 10, and 11.
  void makeTable() {
    const int32_t table = support::createTable(file_, "PART C 4, NOTE M");
    ASSERT_GE(table, 0);
    for (std::size_t i = 0; i < 3; ++i) appendRecord(table, {{"PART", "p"}, {"NOTE", kNotes[i]}});
    ASSERT_EQ(zk_Db_closeDb(table), 0);
    ASSERT_EQ(readFile(file_).substr(referenceAt(3), 10), "        11");
  }
  static std::uint64_t referenceAt(int number) {
    return support::headerLength(0xF5, 2) + 15u * static_cast<unsigned>(number - 1) + 5;
  }
  static std::uint64_t blockAt(std::size_t block) { return block * kBlockSize; }

  const std::string kNotes[3] = {std::string(100, 'a'), "bb", std::string(50, 'c')};
};

TEST_F(DamagedMemo, ReferencesAndLengths) {
  const std::string kFailed = "(failed)";
  struct Case {
    const char *what;
    bool inTable;  // else in the memo file
    std::uint64_t offset;
    std::string bytes;
    std::string read;  // of record 3
    int pack;
  };
  const std::uint64_t reference = referenceAt(3);
  const std::uint64_t last = blockAt(11);
  const Case cases[] = {
      {"blank", true, reference, std::string(10, ' '), "", 0},
      {"zero", true, reference, "0000000000", "", 0},
      {"zeros in front", true, reference, "0000000011", kNotes[2], 0},
      {"left-aligned", true, reference, "11        ", kNotes[2], 0},
      {"behind the file", true, reference, "        12", kFailed, kReading},
      {"far behind the file", true, reference, "4294967295", kFailed, kReading},
      {"too large for a block number", true, reference, "9999999999", kFailed, kReading},
      {"into the header", true, reference, "         1", kFailed, kReading},
      {"letters", true, reference, "abcdefghij", "", 0},
      {"negative", true, reference, "       -11", "", 0},
      {"NUL bytes", true, reference, std::string(10, '\0'), "", 0},
      {"high bytes", true, reference, std::string(10, '\xFF'), "", 0},
      {"digits, then letters", true, reference, "  11xyz   ", kNotes[2], 0},
      {"length one beyond the file", false, last + 4, big(57, 4), kFailed, kReading},
      {"length to the file's end", false, last + 4, big(56, 4), kNotes[2] + std::string(6, '\0'),
       0},
      {"largest length", false, last + 4, big(0xFFFFFFFF, 4), kFailed, kReading},
      {"length with a high bit", false, last + 4, big(0x80000000, 4), kFailed, kReading},
      {"another type", false, last, big(0, 4), kNotes[2], 0},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.what);
    makeTable();
    patchFile(c.inTable ? file_ : memoFile_, c.offset, c.bytes);
    int32_t table = openTable(file_);
    ASSERT_GE(table, 0);
    ASSERT_EQ(zk_Db_goRec(table, 3), 0);
    EXPECT_EQ(fieldText(table, "NOTE"), c.read);
    EXPECT_EQ(zk_DbError_code(), c.read == kFailed ? kReading : 0);
    support::Cursor rows(zk_Db_readTable(table, "T", nullptr));
    EXPECT_EQ(zk_DbCursor_length(rows.get()), 3u) << "the other fields can be read";

    // A pack that cannot carry a memo over changes nothing and lets others in again.
    const std::string before = bytesOf("T.DBF");
    EXPECT_EQ(zk_Db_packDb(table), c.pack);
    if (c.pack != 0) {
      EXPECT_EQ(bytesOf("T.DBF"), before);
    }
    EXPECT_EQ(files(), (std::vector<std::string>{"T.DBF", "T.FPT"}));
    const int32_t second = openTable(file_);
    EXPECT_GE(second, 0);
    zk_Db_closeDb(second);

    // The record can be given a new memo; the others keep theirs.
    ASSERT_EQ(zk_Db_goRec(table, 3), 0);
    support::assign(table, {{"NOTE", "new"}});
    EXPECT_EQ(zk_Db_closeDb(table), 0);
    table = openTable(file_);
    EXPECT_EQ(fieldText(table, "NOTE"), kNotes[0]);
    ASSERT_EQ(zk_Db_nextRec(table, -1), 0);
    EXPECT_EQ(fieldText(table, "NOTE"), kNotes[1]);
    ASSERT_EQ(zk_Db_nextRec(table, -1), 0);
    EXPECT_EQ(fieldText(table, "NOTE"), "new");
    EXPECT_EQ(zk_Db_packDb(table), 0) << "and all is well again";
    EXPECT_EQ(zk_Db_closeDb(table), 0);
  }
}

// A length that reaches over other memos does not make their blocks the record's own.
TEST_F(DamagedMemo, ALengthClaimsNoBlocks) {
  makeTable();
  patchFile(memoFile_, blockAt(8) + 4, big(0xFFFFFFFF, 4));
  const int32_t table = openTable(file_);
  support::assign(table, {{"NOTE", std::string(150, 'n')}});
  for (int number : {2, 3}) {
    ASSERT_EQ(zk_Db_goRec(table, number), 0);
    EXPECT_EQ(fieldText(table, "NOTE"), kNotes[number - 1]);
  }
  ASSERT_EQ(zk_Db_goRec(table, 1), 0);
  EXPECT_EQ(fieldText(table, "NOTE"), std::string(150, 'n'));
}

TEST_F(DamagedMemo, HeaderOfTheMemoFile) {
  for (std::size_t length = 0; length < 8; ++length) {
    makeTable();
    writeFile(memoFile_, bytesOf("T.FPT").substr(0, length));
    expectRefusal(kNotATable, memoFile_);
  }
  makeTable();
  patchFile(memoFile_, 6, big(0, 2));
  expectRefusal(kNotATable, memoFile_);
  support::fs::remove(memoFile_);
  expectRefusal(kOpening, memoFile_);

  // Next free blocks that cannot be, and files that end too soon.
  struct Case {
    const char *what;
    std::size_t length;
    std::uint32_t nextFree;
  };
  const std::size_t whole = blockAt(12);
  const Case cases[] = {
      {"nothing behind the number", 8, 12},
      {"no blocks", 512, 12},
      {"the last block is cut", whole - 60, 12},
      {"next free 0", whole, 0},
      {"in the header", whole, 1},
      {"in a memo", whole, kFirstBlock},
      {"the last memo", whole, 11},
      {"a little behind", whole, 13},
      {"far behind", whole, 0x00FFFFFF},
      {"largest", whole, 0xFFFFFFFF},
      {"high bit", whole, 0x80000000},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.what);
    makeTable();
    std::string bytes = bytesOf("T.FPT").substr(0, c.length);
    bytes.replace(0, 4, big(c.nextFree, 4));
    writeFile(memoFile_, bytes);
    const int32_t table = openTable(file_);
    ASSERT_GE(table, 0);
    appendRecord(table, {{"PART", "p"}, {"NOTE", "the new memo"}});
    appendRecord(table, {{"PART", "p"}, {"NOTE", "another"}});
    EXPECT_EQ(zk_Db_goRec(table, 4), 0);
    EXPECT_EQ(fieldText(table, "NOTE"), "the new memo");
    EXPECT_EQ(zk_Db_nextRec(table, -1), 0);
    EXPECT_EQ(fieldText(table, "NOTE"), "another");
    if (c.length == whole) {
      for (int number = 1; number <= 3; ++number) {
        ASSERT_EQ(zk_Db_goRec(table, number), 0);
        EXPECT_EQ(fieldText(table, "NOTE"), kNotes[number - 1]) << number;
      }
    }
    EXPECT_EQ(zk_Db_closeDb(table), 0);
    EXPECT_LT(sizeOf("T.FPT"), 4096u);
    EXPECT_EQ(bigAt(bytesOf("T.FPT"), 0, 4) * kBlockSize, sizeOf("T.FPT")) << "mended";
  }
}

TEST_F(DamagedMemo, RecordsThatShareBlocks) {
  struct Case {
    const char *what;
    const char *reference;  // of record 3
    std::string read;
  };
  // Block 9 is in the middle of the first memo: its bytes there are taken for type and length.
  const Case cases[] = {
      {"one memo", "         8", kNotes[0]},
      {"overlapping", "         9", "inner"},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.what);
    makeTable();
    patchFile(file_, referenceAt(3), c.reference);
    std::string first = kNotes[0];
    if (c.read == "inner") {
      const std::string inner = big(1, 4) + big(5, 4) + "inner";
      patchFile(memoFile_, blockAt(9), inner);
      first.replace(kBlockSize - 8, inner.size(), inner);
    }
    const int32_t table = openTable(file_);
    ASSERT_EQ(fieldText(table, "NOTE"), first);
    ASSERT_EQ(zk_Db_goRec(table, 3), 0);
    ASSERT_EQ(fieldText(table, "NOTE"), c.read);
    EXPECT_EQ(zk_Db_packDb(table), 0) << "gives each its own";
    ASSERT_EQ(zk_Db_goRec(table, 3), 0);
    EXPECT_EQ(fieldText(table, "NOTE"), c.read);
    support::assign(table, {{"NOTE", "mine"}});
    EXPECT_EQ(zk_Db_topRec(table, -1), 0);
    EXPECT_EQ(fieldText(table, "NOTE"), first);
    EXPECT_EQ(zk_Db_closeDb(table), 0);
  }
}

// A memo field that is too narrow for a block number must not get half of it.
TEST_F(DamagedMemo, NarrowMemoFields) {
  makeTable();
  const std::string bytes =
      support::tableBytes(0xF5, {{"NOTE", 'M', 1}, {"NONE", 'M', 0}}, {" 8", "  "});
  writeFile(file_, bytes);
  const int32_t table = openTable(file_);
  ASSERT_GE(table, 0);
  EXPECT_EQ(fieldText(table, "NOTE"), kNotes[0]);
  EXPECT_EQ(fieldText(table, "NONE"), "");
  for (const char *field : {"NOTE", "NONE"}) {
    ASSERT_EQ(zk_Db_goRec(table, 2), 0);
    support::assign(table, {{field, "needs a block of two digits"}});
    EXPECT_EQ(zk_Db_flush(table), kWriting) << field;
    EXPECT_EQ(zk_Db_closeDb(table), kWriting) << "the change is dropped";
    EXPECT_EQ(readFile(file_).substr(4), bytes.substr(4));
    EXPECT_EQ(openTable(file_), table);
  }
}

// ---- Anything at all

class Flips : public Damaged {
 protected:
  static constexpr int kRecords = 24;

  void makeOriginal(unsigned version) {
    const std::vector<support::FileField> fields =
        support::isNewerVersion(version)
            ? std::vector<support::FileField>{{"C", 'C', 9}, {"I", 'I', 4}, {"T", 'T', 8},
                                              {"Y", 'Y', 8}, {"B", 'B', 8}, {"M", 'M', 4}}
            : std::vector<support::FileField>{{"C", 'C', 9}, {"N", 'N', 8, 2}, {"D", 'D', 8},
                                              {"L", 'L', 1}, {"G", 'G', 10},   {"M", 'M', 10}};
    writeFile(file_, support::tableBytes(version, fields, {}));
    std::string memo = big(8, 4) + big(kBlockSize, 4);
    memo.resize(512);
    writeFile(memoFile_, memo);
    const int32_t table = openTable(file_);
    ASSERT_GE(table, 0);
    for (int i = 0; i < kRecords; ++i) {
      appendRecord(table, {{"C", std::to_string(i)},
                           {"M", std::string(static_cast<std::size_t>(i) * 11, 'm')}});
    }
    ASSERT_EQ(zk_Db_closeDb(table), 0);
    table_ = bytesOf("T.DBF");
    memo_ = bytesOf("T.FPT");
  }

  void flip(std::string &bytes, int count, std::size_t within) {
    for (int i = 0; i < count; ++i) {
      static constexpr unsigned char kOdd[] = {0x00, 0x01, 0x0D, 0x1A, ' ',
                                               '*',  '9',  0x7F, 0x80, 0xFF};
      char &byte = bytes[random_() % std::min(within, bytes.size())];
      byte = static_cast<char>(random_() % 3 == 0 ? random_() : kOdd[random_() % sizeof kOdd]);
    }
  }

  // 0, end or beginning of file, or a code that has a text.
  static void expectDocumented(int status) {
    EXPECT_TRUE(status == 0 || status == 3 || status == 4 ||
                (status < 0 && zk_DbError_codeText(status)[0] != '\0'))
        << status;
  }

  static void readEverything(int32_t table) {
    ZkDbInfo info;
    ASSERT_EQ(zk_Db_getInfo(table, &info), 1);
    int status = zk_Db_topRec(table, -1);
    for (int32_t seen = 0; status == 0; status = zk_Db_nextRec(table, -1)) {
      ASSERT_LE(++seen, info.recordCount);
      support::List record(zk_Db_readRec(table, nullptr));
      ASSERT_EQ(zk_DbFldList_length(record.get()), static_cast<std::uint32_t>(info.fieldCount));
      for (zk_DbFldList_start(record.get()); !zk_DbFldList_eol(record.get());
           zk_DbFldList_next(record.get())) {
        const char *name = zk_DbFldList_getCurrName(record.get());
        zk_Db_getFldStr(table, name);
        zk_Db_getFldDouble(table, name);
        zk_Db_getFldInt(table, name);
      }
    }
    expectDocumented(status);
    support::Cursor rows(zk_Db_readTable(table, "T", nullptr));
  }

  static void changeEverything(int32_t table) {
    int status = zk_Db_topRec(table, -1);
    for (int field = 1; ZkField *const handle = zk_Db_field(table, field); ++field) {
      DbFldNode *node = zk_DbFldNode_fromFld(handle);
      ASSERT_NE(node, nullptr);
      zk_Db_assignFldStr(table, node->name, "12345678901234567890");
      zk_DbFldNode_destroy(node);
    }
    expectDocumented(zk_Db_flush(table));
    expectDocumented(status = zk_Db_appendStart(table));
    if (status == 0) expectDocumented(zk_Db_append(table));
    zk_Db_topRec(table, -1);
    zk_Db_delRec(table);
    expectDocumented(zk_Db_flush(table));
  }

  std::mt19937 random_{20240601};
  std::string table_, memo_;
};

TEST_F(Flips, HarmNobody) {
  constexpr int kRounds = 1500;
  for (const unsigned version : {0xF5u, 0x30u}) {
    makeOriginal(version);
    const std::size_t header = support::littleAt(table_, 8, 2);
    int opened = 0;
    for (int round = 0; round < kRounds; ++round) {
      SCOPED_TRACE(testing::Message() << "version " << version << ", round " << round);
      std::string table = table_;
      std::string memo = memo_;
      // In the fields' descriptions, anywhere in the table, in the memo file's numbers.
      if (round % 3 != 0) flip(table, 1 + round % 2, round % 3 == 1 ? header : table.size());
      if (round % 3 != 1) flip(memo, 1 + round % 5, round % 2 == 0 ? 16 : memo.size());
      if (round % 7 == 0) table.resize(random_() % table.size());
      if (round % 11 == 0) memo.resize(random_() % memo.size());
      writeFile(file_, table);
      writeFile(memoFile_, memo);
      const int32_t id = openTable(file_, round % 3);
      if (id < 0) {
        expectDocumented(zk_DbError_code());
        EXPECT_NE(zk_DbError_code(), 0);
        continue;
      }
      ++opened;
      readEverything(id);
      changeEverything(id);
      if (round % 10 < 2) expectDocumented(zk_Db_packDb(id));  // waits for the disk
      expectDocumented(zk_Db_closeDb(id));
      ASSERT_LT(sizeOf("T.DBF") + sizeOf("T.FPT"), 4u << 20);
      ASSERT_EQ(files(), (std::vector<std::string>{"T.DBF", "T.FPT"}));
      if (HasFatalFailure()) return;
    }
    EXPECT_GT(opened, kRounds / 4) << "else nothing much was tested";
  }
}

// ---- Indexes

class FlippedIndexes : public Flips {
 protected:
  using Records = indexed::Records;
  static constexpr int kKeys = 60;

  void SetUp() override {
    Flips::SetUp();
    zk_Db_closeDb(support::createTable(file_, indexed::kFields));
    const int32_t table = openTable(file_, 2);
    for (int i = 0; i < kKeys; ++i) {
      records_.push_back(newRecord());
      ASSERT_EQ(indexed::append(table, records_.back()), 0);
    }
    ASSERT_EQ(indexed::createTags(table, "", {"TEXT", "QTY", "LIVE", "CODE"}), 0);
    // So that there are free pages, and pages that were split.
    for (int32_t i = 1; i <= kKeys; i += 2) {
      const auto at = static_cast<std::size_t>(i - 1);
      records_[at] = newRecord();
      ASSERT_EQ(indexed::change(table, i, records_[at]), 0);
    }
    ASSERT_EQ(zk_Db_closeDb(table), 0);
    for (const std::string &name : files()) original_.push_back(bytesOf(name));
  }
  void TearDown() override {
    processes::goOnWithin(0);
    Flips::TearDown();
  }

  indexed::Record newRecord() {
    const auto n = static_cast<int>(random_() % 100'000);
    return {"c" + std::to_string(n), n, std::string(random_() % 180, 'x') + std::to_string(n), "",
            false};
  }

  // The table's original files and a damaged index.
  void putInPlace(const std::string &index) {
    const std::vector<std::string> names = {"T.CDX", "T.DBF", "T.FPT"};
    for (std::size_t i = 0; i < names.size(); ++i) writeFile(path(names[i]), original_[i]);
    writeFile(path("T.CDX"), index);
  }

  static bool isStatus(int status) {
    return status == 0 || status == 2 || status == 3 || status == 4 ||
           (status < 0 && zk_DbError_codeText(status)[0] != '\0');
  }

  // Everything that reads.
  void use(int32_t table) {
    ZkTagFacts facts;
    for (int32_t i = 1; zk_Tag_getInfo(table, i, &facts) != 0 && i < 100; ++i) {
      const int32_t tag = facts.tagNumber;
      for (const bool forward : {true, false}) {
        int status = (forward ? zk_Db_topRec : zk_Db_botRec)(table, tag);
        int steps = 0;
        for (; status == 0 && steps < 10'000; ++steps) {
          const int32_t number = zk_Db_getRecordNo(table);
          ASSERT_TRUE(number >= 1 && number <= kKeys) << number;
          status = (forward ? zk_Db_nextRec : zk_Db_prevRec)(table, tag);
        }
        ASSERT_LT(steps, 10'000) << "goes in a circle";
        ASSERT_TRUE(isStatus(status)) << status;
      }
      for (int k = 0; k < 5; ++k) {
        const indexed::Record &sought = records_[random_() % records_.size()];
        int status = zk_Db_seekStr(sought.text.c_str(), table, tag);
        ASSERT_TRUE(isStatus(status) || status == -1) << status;
        status = zk_Db_seekDouble(sought.quantity, table, tag);
        ASSERT_TRUE(isStatus(status) || status == -1) << status;
      }
      const int32_t keys = zk_Tag_keyCount(table, i);
      ASSERT_TRUE(keys >= 0 || isStatus(keys)) << keys;
    }
    for (const char *condition : {"QTY > 50000 .AND. QTY < 60000", "CODE = 'c1'"}) {
      const support::Cursor rows(zk_Db_query(table, condition, "T", nullptr));
      ASSERT_TRUE(rows != nullptr || isStatus(zk_DbError_code()));
    }
  }

  // Everything that writes; `records` becomes what the table has to hold.
  void change(int32_t table, Records &records) {
    for (int k = 0; k < 4; ++k) {
      const indexed::Record added = newRecord();
      int status = indexed::append(table, added);
      ASSERT_TRUE(isStatus(status)) << status;
      if (status == 0) records.push_back(added);

      const std::size_t at = random_() % records.size();
      const auto number = static_cast<int32_t>(at + 1);
      indexed::Record next = newRecord();
      if (k % 2 == 0) {
        next = records[at];
        next.deleted = !next.deleted;
      }
      status = zk_Db_goRec(table, number);
      ASSERT_TRUE(isStatus(status)) << status;
      if (status != 0) continue;
      indexed::assign(table, next);
      (next.deleted ? zk_Db_delRec : zk_Db_undelRec)(table);
      status = zk_Db_flush(table);
      ASSERT_TRUE(isStatus(status)) << status;
      if (status == 0) records[at] = next;
      // What cannot be written is put back, so that the position can be left.
      if (status != 0) {
        indexed::assign(table, records[at]);
        (records[at].deleted ? zk_Db_delRec : zk_Db_undelRec)(table);
        ASSERT_EQ(zk_Db_flush(table), 0);
      }
    }
  }

  indexed::Records records_;
  std::vector<std::string> original_;
};

TEST_F(FlippedIndexes, HarmNobody) {
  constexpr int kRounds = 800;
  int repaired = 0;
  int appended = 0;
  for (int round = 0; round < kRounds; ++round) {
    SCOPED_TRACE(round);
    processes::goOnWithin(20);
    std::string index = original_[0];
    // In the headers, in the heads of pages, anywhere.
    for (int i = 0; i <= round % 3; ++i) {
      const std::size_t page = random_() % (index.size() / 512) * 512;
      std::string part = index.substr(page, round % 2 == 0 ? 24 : 512);
      flip(part, 1 + round % 2, part.size());
      index.replace(page, part.size(), part);
    }
    if (round % 5 == 0) flip(index, 1, 4096);
    if (round % 7 == 0) index.resize(random_() % index.size());
    putInPlace(index);

    Records records = records_;
    const int32_t table = openTable(file_, round % 3);
    ASSERT_GE(table, 0) << "the table can be opened in any case";
    use(table);
    if (!HasFailure() && zk_Db_readOnlyReason(table)[0] == '\0') {
      change(table, records);
      appended += records.size() > records_.size() ? 1 : 0;
      if (!HasFailure() && round % 4 == 0) {
        const int status = indexed::createTags(table, "", {"CODE"});
        ASSERT_TRUE(isStatus(status)) << status;
      }
    }
    if (HasFailure()) return;
    const int closed = zk_Db_closeDb(table);
    ASSERT_TRUE(isStatus(closed)) << closed;
    ASSERT_LT(sizeOf("T.CDX"), 1u << 20);

    // The records are what they have to be, and the index is mended where its definitions are
    // known.
    const int left = zk_Db_check(file_.c_str(), nullptr, 1, nullptr, nullptr);
    ASSERT_TRUE(left >= 0 || isStatus(left)) << left;
    const int32_t again = openTable(file_);
    Records found;
    ASSERT_EQ(indexed::readAll(again, found), 3);
    ASSERT_TRUE(found == records);
    ZkTagFacts facts;
    for (int32_t i = 1; left == 0 && zk_Tag_getInfo(again, i, &facts) != 0; ++i) {
      const bool known =
          std::any_of(std::begin(indexed::kTags), std::end(indexed::kTags), [&](const auto &tag) {
            return std::string(facts.name) == tag.name &&
                   std::string(facts.expression) == tag.expression &&
                   facts.filter == std::string(tag.filter != nullptr ? tag.filter : "") &&
                   facts.descending == 0;
          });
      if (!known) continue;
      ASSERT_EQ(indexed::judge(again, facts.name, records), "right");
      ++repaired;
    }
    ASSERT_EQ(zk_Db_closeDb(again), 0);
  }
  EXPECT_GT(repaired, kRounds) << "else nothing much was tested";
  EXPECT_GT(appended, kRounds / 10);
}

}  // namespace
