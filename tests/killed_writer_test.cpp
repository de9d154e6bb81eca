// Programs killed at random moments while they write: what they acknowledged is there afterwards,
// whole, and the table works.
#include <chrono>
#include <map>
#include <random>
#include <set>

#include "tests/processes.h"
#include "tests/support.h"

namespace {

using processes::Arguments;
using processes::Milliseconds;
using processes::Process;
using std::chrono::steady_clock;
using support::assign;
using support::fieldText;
using support::openTable;
using support::trimmed;

constexpr char kFields[] = "ROUND N 4, SEQ N 8, VER N 8, TEXT C 30, NOTE M";

struct Key {
  int round, seq, version;
};

std::string textOf(const Key &key) {
  return std::to_string(key.round) + "/" + std::to_string(key.seq) + "/" +
         std::to_string(key.version);
}

// Short ones take one block of the memo file, long ones many.
std::string noteOf(const Key &key, bool longNotes) {
  const std::string text = textOf(key) + ",";
  std::string note = text;
  const int repeats = longNotes ? key.seq * 31 % 400 : 2;
  for (int i = 0; i < repeats; ++i) note += text;
  return note;
}

void assignKey(int32_t table, const Key &key) {
  zk_Db_assignFldInt(table, "ROUND", key.round);
  zk_Db_assignFldInt(table, "SEQ", key.seq);
  zk_Db_assignFldInt(table, "VER", key.version);
  zk_Db_assignFldStr(table, "TEXT", textOf(key).c_str());
}

void assignNote(int32_t table, const Key &key, bool longNotes) {
  zk_Db_assignFldStr(table, "NOTE", noteOf(key, longNotes).c_str());
}

Key keyOf(int32_t table) {
  return {zk_Db_getFldInt(table, "ROUND"), zk_Db_getFldInt(table, "SEQ"),
          zk_Db_getFldInt(table, "VER")};
}

// ---- The writers: each says what it has done after every call that returned

int appendAll(int32_t table, int round, bool notes, int flushEvery) {
  for (int seq = 1;; ++seq) {
    const Key key = {round, seq, 0};
    if (zk_Db_appendStart(table) != 0) return 1;
    assignKey(table, key);
    zk_Db_assignFldStr(table, "NOTE", notes ? noteOf(key, true).c_str() : "");
    if (zk_Db_append(table) != 0) return 1;
    if (flushEvery > 1 && seq % flushEvery != 0) continue;
    if (flushEvery > 1 && zk_Db_flush(table) != 0) return 1;
    processes::say(std::to_string(seq));
  }
}

int appender(const Arguments &arguments) {
  const int32_t table = openTable(arguments[0], std::stoi(arguments[1]));
  processes::say("ready");
  return appendAll(table, std::stoi(arguments[2]), arguments[3] == "notes",
                   std::stoi(arguments[4]));
}
const processes::Role appenderRole("appender", appender);

int updater(const Arguments &arguments) {
  const int32_t table = openTable(arguments[0]);
  const int32_t count = zk_Db_getRecordCount(table);
  processes::say("ready");
  for (int32_t number = 1;; number = number % count + 1) {
    if (zk_Db_goRec(table, number) != 0) return 1;
    Key key = keyOf(table);
    ++key.version;
    assignKey(table, key);
    assignNote(table, key, false);
    if (zk_Db_flush(table) != 0) return 1;
    processes::say(std::to_string(number) + " " + std::to_string(key.version));
  }
}
const processes::Role updaterRole("updater", updater);

// Puts a copy of the first record at the end, deletes it and packs.
int packer(const Arguments &arguments) {
  const int32_t table = openTable(arguments[0]);
  if (zk_Db_packDb(table) != 0) return 1;  // the program before may have died between the two
  processes::say("ready");
  for (;;) {
    if (zk_Db_topRec(table, -1) != 0 || zk_Db_appendStart(table) != 0) return 1;
    if (zk_Db_append(table) != 0 || zk_Db_topRec(table, -1) != 0) return 1;
    if (zk_Db_delRec(table) != 0 || zk_Db_packDb(table) != 0) return 1;
    processes::say("packed");
  }
}
const processes::Role packerRole("packer", packer);

// ---- The tests

class KilledWriter : public support::TableTest {
 protected:
  // Starts the writer, lets it work for a moment and kills it: what it said.
  std::vector<std::string> runAndKill(const char *role, const Arguments &arguments) {
    Process writer(role, arguments);
    EXPECT_EQ(writer.line().value_or("(none)"), "ready");
    const auto end = steady_clock::now() + std::chrono::microseconds(moment_(random_));
    std::vector<std::string> said;
    for (auto now = steady_clock::now(); now < end; now = steady_clock::now()) {
      const auto left = std::chrono::duration_cast<Milliseconds>(end - now);
      if (auto line = writer.line(left)) said.push_back(*line);
    }
    writer.kill();
    while (auto line = writer.line()) said.push_back(*line);
    return said;
  }

  void makeTable(int records, bool longNotes) {
    const int32_t table = support::createTable(file_, kFields);
    ASSERT_GE(table, 0);
    for (int seq = 1; seq <= records; ++seq) {
      const Key key = {0, seq, 0};
      ASSERT_EQ(zk_Db_appendStart(table), 0);
      assignKey(table, key);
      assignNote(table, key, longNotes);
      ASSERT_EQ(zk_Db_append(table), 0);
    }
    ASSERT_EQ(zk_Db_closeDb(table), 0);
  }

  // The header's count and the file's length agree once a record has been appended.
  void expectAnOrderlyTable() {
    const int32_t table = openTable(file_);
    ASSERT_GE(table, 0) << zk_DbError_text() << " " << zk_DbError_file();
    const int32_t count = zk_Db_getRecordCount(table);
    ASSERT_EQ(zk_Db_appRec(table), 0);
    EXPECT_EQ(zk_Db_getRecordNo(table), count + 1);
    ZkDbInfo info;
    ASSERT_EQ(zk_Db_getInfo(table, &info), 1);
    ASSERT_EQ(zk_Db_delRec(table), 0);
    EXPECT_EQ(zk_Db_closeDb(table), 0);
    const std::string bytes = bytesOf("T.DBF");
    EXPECT_EQ(support::littleAt(bytes, 4, 4), static_cast<std::uint64_t>(count) + 1);
    EXPECT_EQ(bytes.size(),
              static_cast<std::size_t>(info.headerLength + (count + 1) * info.recordLength + 1));
    EXPECT_EQ(bytes.back(), '\x1A');
  }

  const std::string file_ = path("T.DBF");
  std::mt19937 random_{std::random_device{}()};
  std::uniform_int_distribution<int> moment_{500, 90'000};  // microseconds
};

TEST_F(KilledWriter, WhatWasAppendedStays) {
  for (const char *notes : {"plain", "notes"}) {
    SCOPED_TRACE(notes);
    makeTable(0, true);
    std::map<int, int> acknowledged;  // by round
    for (int round = 1; round <= 10; ++round) {
      const auto said = runAndKill("appender", {file_, "0", std::to_string(round), notes, "1"});
      acknowledged[round] = said.empty() ? 0 : std::stoi(said.back());
    }
    std::map<int, int> found;
    const int32_t table = openTable(file_);
    for (int status = zk_Db_topRec(table, -1); status == 0; status = zk_Db_nextRec(table, -1)) {
      const Key key = keyOf(table);
      ASSERT_EQ(key.seq, ++found[key.round]) << "in order, none lost, none twice";
      ASSERT_EQ(trimmed(table, "TEXT"), textOf(key));
      ASSERT_EQ(fieldText(table, "NOTE"), std::string(notes) == "notes" ? noteOf(key, true) : "");
    }
    int total = 0;
    for (const auto &[round, last] : acknowledged) {
      total += last;
      // The last append can have happened without its acknowledgement.
      EXPECT_TRUE(found[round] == last || found[round] == last + 1)
          << found[round] << " of " << last << " in round " << round;
    }
    EXPECT_GT(total, 0);
    EXPECT_EQ(zk_Db_closeDb(table), 0);
    expectAnOrderlyTable();
  }
}

TEST_F(KilledWriter, RecordsAreOldOrNew) {
  constexpr int kRecords = 40;
  makeTable(kRecords, false);
  std::map<int, int> acknowledged;
  for (int round = 0; round < 10; ++round) {
    for (const std::string &line : runAndKill("updater", {file_})) {
      acknowledged[std::stoi(line)] = std::stoi(line.substr(line.find(' ')));
    }
    const int32_t table = openTable(file_);
    ASSERT_EQ(zk_Db_getRecordCount(table), kRecords);
    int ahead = 0;
    for (int number = 1; number <= kRecords; ++number) {
      ASSERT_EQ(zk_Db_goRec(table, number), 0);
      const Key key = keyOf(table);
      EXPECT_EQ(key.seq, number);
      EXPECT_EQ(trimmed(table, "TEXT"), textOf(key));
      // A memo in its old place is rewritten just before its record.
      const Key next = {key.round, key.seq, key.version + 1};
      const std::string note = fieldText(table, "NOTE");
      EXPECT_TRUE(note == noteOf(key, false) || note == noteOf(next, false)) << note;
      EXPECT_GE(key.version, acknowledged[number]);
      ahead += key.version != acknowledged[number] || note != noteOf(key, false) ? 1 : 0;
      acknowledged[number] = key.version;
    }
    EXPECT_LE(ahead, 1) << "only the change that was interrupted";
    // Put the memo of the interrupted change right, so that the next round starts clean.
    for (int number = 1; number <= kRecords; ++number) {
      ASSERT_EQ(zk_Db_goRec(table, number), 0);
      assignNote(table, keyOf(table), false);
    }
    EXPECT_EQ(zk_Db_closeDb(table), 0);
  }
  expectAnOrderlyTable();
}

TEST_F(KilledWriter, PackingLeavesTheOldTableOrTheNew) {
  constexpr int kRecords = 30;
  makeTable(kRecords, true);
  int packs = 0;
  for (int round = 0; round < 20; ++round) {
    packs += static_cast<int>(runAndKill("packer", {file_}).size());
    const int32_t table = openTable(file_);
    ASSERT_GE(table, 0) << zk_DbError_text() << " " << zk_DbError_file();
    std::multiset<int> live;
    for (int status = zk_Db_topRec(table, -1); status == 0; status = zk_Db_nextRec(table, -1)) {
      const Key key = keyOf(table);
      ASSERT_EQ(trimmed(table, "TEXT"), textOf(key));
      ASSERT_EQ(fieldText(table, "NOTE"), noteOf(key, true));
      if (!zk_Db_deleted(table)) live.insert(key.seq);
    }
    const std::set<int> different(live.begin(), live.end());
    ASSERT_EQ(different.size(), static_cast<std::size_t>(kRecords));
    // Killed between the append and the deletion it leaves both copies: the old one goes.
    EXPECT_LE(live.size(), static_cast<std::size_t>(kRecords + 1));
    if (live.size() > kRecords) {
      ASSERT_EQ(zk_Db_topRec(table, -1), 0);
      ASSERT_EQ(zk_Db_delRec(table), 0);
    }
    EXPECT_EQ(zk_Db_closeDb(table), 0);
  }
  EXPECT_GT(packs, 0);
  const int32_t table = openTable(file_);
  EXPECT_EQ(zk_Db_packDb(table), 0);
  EXPECT_EQ(zk_Db_getRecordCount(table), kRecords);
  EXPECT_EQ(zk_Db_closeDb(table), 0);
  EXPECT_EQ(files(), (std::vector<std::string>{"T.DBF", "T.FPT"})) << "nothing is left behind";
  expectAnOrderlyTable();
}

// The states between the steps of a replacement, which a kill hits too rarely to rely on.
TEST_F(KilledWriter, EveryStageOfAReplacement) {
  constexpr int kRecords = 12;
  struct Pair {
    std::string table, memo;
  };
  const auto files = [this] { return Pair{bytesOf("T.DBF"), bytesOf("T.FPT")}; };
  makeTable(kRecords, true);
  int32_t table = openTable(file_);
  ASSERT_EQ(zk_Db_delRec(table), 0);
  ASSERT_EQ(zk_Db_flush(table), 0);
  const Pair before = files();
  ASSERT_EQ(zk_Db_packDb(table), 0);
  ASSERT_EQ(zk_Db_closeDb(table), 0);
  const Pair after = files();
  ASSERT_NE(before.memo, after.memo);

  struct Stage {
    const char *what;
    const Pair &inPlace;
    const std::string *memoInPlace, *newTable, *newMemo;
    int records;
  };
  const std::string none;
  const std::string part = after.table.substr(0, 100);
  const Stage stages[] = {
      {"the new table has begun", before, &before.memo, &part, nullptr, kRecords},
      {"the new memo file has begun", before, &before.memo, &part, &none, kRecords},
      {"both are finished", before, &before.memo, &after.table, &after.memo, kRecords},
      {"the table is in place", after, &before.memo, nullptr, &after.memo, kRecords - 1},
      {"both are in place", after, &after.memo, nullptr, nullptr, kRecords - 1},
  };
  for (const Stage &stage : stages) {
    for (const int mode : {0, 1, 2}) {
      SCOPED_TRACE(testing::Message() << stage.what << ", opened in mode " << mode);
      support::writeFile(file_, stage.inPlace.table);
      support::writeFile(path("T.FPT"), *stage.memoInPlace);
      if (stage.newTable != nullptr) support::writeFile(file_ + ".zknew", *stage.newTable);
      if (stage.newMemo != nullptr) support::writeFile(path("T.FPT.zknew"), *stage.newMemo);
      table = openTable(file_, mode);
      ASSERT_GE(table, 0) << zk_DbError_text();
      EXPECT_EQ(zk_Db_getRecordCount(table), stage.records);
      for (int status = zk_Db_topRec(table, -1); status == 0; status = zk_Db_nextRec(table, -1)) {
        EXPECT_EQ(fieldText(table, "NOTE"), noteOf(keyOf(table), true));
      }
      EXPECT_EQ(zk_Db_packDb(table), 0);
      EXPECT_EQ(zk_Db_getRecordCount(table), kRecords - 1);
      EXPECT_EQ(fieldText(table, "NOTE"), noteOf(keyOf(table), true));
      EXPECT_EQ(zk_Db_closeDb(table), 0);
      EXPECT_EQ(TableTest::files(), (std::vector<std::string>{"T.DBF", "T.FPT"}));
    }
  }
  // A table that cannot be written is not read with a memo file that is not its own.
  support::writeFile(path("T.FPT"), before.memo);
  support::writeFile(path("T.FPT.zknew"), after.memo);
  support::fs::permissions(file_, support::fs::perms::owner_read);
  EXPECT_EQ(openTable(file_), -1);
  EXPECT_EQ(zk_DbError_code(), -60);
}

TEST_F(KilledWriter, AnExclusiveWriterLosesTheEndAtMost) {
  for (int round = 1; round <= 6; ++round) {
    makeTable(0, true);
    const auto said = runAndKill("appender", {file_, "2", std::to_string(round), "notes", "50"});
    const int32_t flushed = said.empty() ? 0 : std::stoi(said.back());
    const int32_t table = openTable(file_);
    ASSERT_GE(table, 0);
    EXPECT_GE(zk_Db_getRecordCount(table), flushed);
    int seq = 0;
    for (int status = zk_Db_topRec(table, -1); status == 0; status = zk_Db_nextRec(table, -1)) {
      const Key key = {round, ++seq, 0};
      ASSERT_EQ(trimmed(table, "TEXT"), textOf(key));
      ASSERT_EQ(fieldText(table, "NOTE"), noteOf(key, true));
    }
    EXPECT_EQ(seq, zk_Db_getRecordCount(table));
    EXPECT_EQ(zk_Db_closeDb(table), 0);
    expectAnOrderlyTable();
  }
}

}  // namespace
